// Key/value strings: the grammar and its gluing quirks against a table of
// maps, the getters' codes in their order, the multipliers, "%f" numbers
// against Python (test/data/gen_keyvalue.py), a random model of the last key
// winning, the splitter, and every allocating function under allocation
// failures.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "keyvalue.h"
#include "vectors.h"
#include "oom.h"
#include "psp.h"
#include "tag_fixture.h"

namespace {

// The map as text: "key=e1,e2;..." in tree order, a quoted element in '',
// a null one as "~".
std::string dump(const B_KEYVALUE_T &kv) {
    std::string out;
    for (const B_AVL_NODE_T *n = b_avlFirst(&kv.avl); n != nullptr; n = b_avlNext(n)) {
        const B_KV *p = reinterpret_cast<const B_KV *>(n);
        out += out.empty() ? "" : ";";
        out += std::string(p->key) + "=";
        for (uint32_t i = 0; i < p->num_elems; ++i) {
            const B_KV_ELEM &e = p->elems[i];
            out += i > 0 ? "," : "";
            out += e.data == nullptr ? "~"
                                     : (e.needs_quotes ? "'" + std::string(e.data) + "'" : e.data);
        }
    }
    return out;
}

class KeyValueTest : public TaggedTest {
  protected:
    // Parses `s` (case-blind unless `use_case`), returns the code and leaves
    // the map in kv; TearDown frees it.
    ZEL_RETCODE parse(const char *s, bool use_case = false) {
        b_keyvalueTerm(&kv);
        return b_keyvalueInit(&kv, s, use_case ? ZEL_TRUE : ZEL_FALSE, sub);
    }
    void TearDown() override {
        b_keyvalueTerm(&kv);
        TaggedTest::TearDown();
    }
    B_KEYVALUE_T kv{};
};

struct GrammarCase {
    const char *text;
    ZEL_RETCODE rc;
    const char *map;
};

TEST_F(KeyValueTest, GrammarAndGluing) {
    // clang-format off
    const GrammarCase cases[] = {
        {"", sOKAY, ""}, {";;;", sOKAY, ""}, {";a=1;;b=2;", sOKAY, "a=1;b=2"},
        {"a=1;a=2", sOKAY, "a=2"},
        {"Key=1;key=2", sOKAY, "key=2"},  // one key under the case-blind compare
        {"a='x y'", sOKAY, "a='x y'"}, {"a=\"x y\"", sOKAY, "a='x y'"},
        // Kept: blanks between glued tokens vanish.
        {"a=x y", sOKAY, "a=xy"}, {"a=-5", sOKAY, "a=-5"}, {"a=+5", sOKAY, "a=5"},
        {"a=foo-bar", sOKAY, "a=foo-bar"}, {"a=foo+bar", sOKAY, "a=foo+bar"},
        // Kept: a number replaces the text before it.
        {"a=foo-5", sOKAY, "a=5"}, {"a=5-3", sOKAY, "a=-3"}, {"a=x--5", sOKAY, "a=-5"},
        {"a=007", sOKAY, "a=7"}, {"a=18446744073709551615", sOKAY, "a=18446744073709551615"},
        // Kept: floats by "%f".
        {"a=1.5", sOKAY, "a=1.500000"}, {"a=10K", sOKAY, "a=10K"},
        {"a=/tmp/x,b;", sOKAY, "a=/tmp/x,b"}, {"a=b=c", sOKAY, "a=b=c"},
        {"a=!#%&()*/<=>?@[\\]^`{|}~.", sOKAY, "a=!#%&()*/<=>?@[\\]^`{|}~."},
        {"a='x'y", sOKAY, "a='xy'"}, {"a=y'x'", sOKAY, "a='x'"}, {"a=''", sOKAY, "a=''"},
        {"'my key'=v", sOKAY, "my key=v"}, {"a:b=1", sOKAY, "a:b=1"},
        // Empty elements: null before a comma, "" alone, refused last in a list.
        {"k=", sOKAY, "k="}, {"k=;j=1", sOKAY, "j=1;k="}, {"k=,a", sOKAY, "k=~,a"},
        {"k=a,,b", sOKAY, "k=a,~,b"}, {"k=a,''", sOKAY, "k=a,''"}, {"k=a,", eINVKEYVALUE, ""},
        {"k=,", eINVKEYVALUE, ""}, {"k=a,;", eINVKEYVALUE, ""},
        // The grammar refused; the pairs before the fault stay.
        {"a", eINVKEYVALUE, ""}, {"a;b=1", eINVKEYVALUE, ""}, {"a=1;b", eINVKEYVALUE, "a=1"},
        {"=a", eINVKEYVALUE, ""}, {"1=a", eINVKEYVALUE, ""}, {"a=:", eINVKEYVALUE, ""},
        {"a=$", eINVKEYVALUE, ""}, {"a=-x", eINVKEYVALUE, ""}, {"a=--5", eINVKEYVALUE, ""},
        {"a=-", eINVKEYVALUE, ""}, {"a=+;b=1", eINVKEYVALUE, ""}, {"a=x'41'", eINVKEYVALUE, ""},
        {"a=1;b=12345678901234567.8", eINVKEYVALUE, "a=1"},  // a decimal token
        {"a='open", eINVKEYVALUE, ""}, {"a=\xc3\xa9", eINVKEYVALUE, ""},
    };
    // clang-format on
    for (const GrammarCase &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(parse(c.text), c.rc);
        EXPECT_EQ(dump(kv), c.map);
    }
    // Under strcmp the two spellings are two keys.
    EXPECT_EQ(parse("Key=1;key=2", true), sOKAY);
    EXPECT_EQ(dump(kv), "Key=1;key=2");
}

TEST_F(KeyValueTest, NullStringIsAnEmptyMap) {
    ASSERT_EQ(parse(nullptr), sOKAY);
    char buf[8];
    int64_t i = 0;
    char *s = nullptr;
    EXPECT_EQ(b_keyvalueGetValue(&kv, "a", buf, sizeof buf), sNOTFOUND);
    EXPECT_EQ(b_keyvalueGetValueString(&kv, "a", sub, &s), sNOTFOUND);
    EXPECT_EQ(b_keyvalueGetInt64Value(&kv, "a", &i), sNOTFOUND);
    EXPECT_EQ(b_keyvalueGetValueList(&kv, "a", nullptr, sub, nullptr), sNOTFOUND);
    EXPECT_EQ(b_keyvalueInit(nullptr, "a=1", ZEL_FALSE, sub), eINVNULLARG);
    EXPECT_EQ(b_keyvalueGetValue(&kv, nullptr, buf, sizeof buf), eINVNULLARG);
}

TEST_F(KeyValueTest, GetValueCodesInOrder) {
    ASSERT_EQ(parse("l=1,2;e=;v=abc"), sOKAY);
    char buf[8];
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(b_keyvalueGetValue(&kv, "none", nullptr, 0), sNOTFOUND);
    EXPECT_EQ(b_keyvalueGetValue(&kv, "l", nullptr, 0), eVALUEISLIST);
    EXPECT_EQ(b_keyvalueGetValue(&kv, "v", nullptr, 8), sKVNOVALUE);  // null buffer
    EXPECT_EQ(b_keyvalueGetValue(&kv, "e", buf, 0), sKVNOVALUE);      // empty before truncation
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(b_keyvalueGetValue(&kv, "v", buf, 0), sTRUNCATE);  // nothing written
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(b_keyvalueGetValue(&kv, "v", buf, 3), sTRUNCATE);
    EXPECT_STREQ(buf, "ab");
    EXPECT_EQ(b_keyvalueGetValue(&kv, "v", buf, 4), sOKAY);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(b_keyvalueGetValue(&kv, "e", buf, sizeof buf), sKVNOVALUE);
    EXPECT_STREQ(buf, "");

    // Kept: the string getter clears its output on an empty value.
    char *s = buf;
    EXPECT_EQ(b_keyvalueGetValueString(&kv, "e", sub, &s), sKVNOVALUE);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(b_keyvalueGetValueString(&kv, "l", sub, &s), eVALUEISLIST);
    EXPECT_EQ(b_keyvalueGetValueString(&kv, "e", sub, nullptr), sOKAY);  // only the key
    ASSERT_EQ(b_keyvalueGetValueString(&kv, "v", sub, &s), sOKAY);
    EXPECT_STREQ(s, "abc");
    b_tag_subFree(sub, s);
}

TEST_F(KeyValueTest, NumbersAndMultipliers) {
    ASSERT_EQ(parse("a=10K;b=10Kb;c=2m;d=3g;e=1t;f=1p;g='5k\nx';h=70000;i=-1;j=1,2;"
                    "k=-32768;l=32768;m=4294967296;n=-2147483649;o=;p=x;q=1.5K;r=k"),
              sOKAY);
    int32_t i32 = 0;
    EXPECT_EQ(b_keyvalueGetIntValue(&kv, "a", &i32), sOKAY);
    EXPECT_EQ(i32, 10000);  // decimal multipliers
    EXPECT_EQ(b_keyvalueGetIntValue(&kv, "b", &i32), eRANGE);
    char buf[16];
    EXPECT_EQ(b_keyvalueGetValue(&kv, "b", buf, sizeof buf), sOKAY);
    EXPECT_STREQ(buf, "10Kb");
    const struct {
        const char *key;
        uint64_t want;
    } scaled[] = {{"c", 2000000},          {"d", 3000000000}, {"e", 1000000000000},
                  {"f", 1000000000000000}, {"g", 5000},       {"r", 0}};
    for (const auto &s : scaled) {
        uint64_t u = 1;
        EXPECT_EQ(b_keyvalueGetUInt64Value(&kv, s.key, &u), sOKAY) << s.key;
        EXPECT_EQ(u, s.want) << s.key;
    }
    uint16_t u16 = 0;
    int16_t i16 = 0;
    uint32_t u32 = 0;
    int64_t i64 = 0;
    EXPECT_EQ(b_keyvalueGetUInt16Value(&kv, "h", &u16), eRANGE);
    EXPECT_EQ(b_keyvalueGetUInt16Value(&kv, "i", &u16), eRANGE);
    EXPECT_EQ(b_keyvalueGetIntValue(&kv, "j", &i32), eVALUEISLIST);
    EXPECT_EQ(b_keyvalueGetInt16Value(&kv, "k", &i16), sOKAY);
    EXPECT_EQ(i16, -32768);
    EXPECT_EQ(b_keyvalueGetInt16Value(&kv, "l", &i16), eRANGE);
    EXPECT_EQ(b_keyvalueGetUIntValue(&kv, "m", &u32), eRANGE);
    EXPECT_EQ(b_keyvalueGetIntValue(&kv, "n", &i32), eRANGE);
    EXPECT_EQ(b_keyvalueGetInt64Value(&kv, "o", &i64), sKVNOVALUE);
    EXPECT_EQ(b_keyvalueGetUInt16Value(&kv, "o", &u16), sKVNOVALUE);
    EXPECT_EQ(b_keyvalueGetInt64Value(&kv, "p", &i64), eINVLITERAL);
    EXPECT_EQ(b_keyvalueGetInt64Value(&kv, "p", nullptr), sOKAY);     // only the key
    EXPECT_EQ(b_keyvalueGetInt64Value(&kv, "q", &i64), eINVLITERAL);  // "1.500000000"
    EXPECT_EQ(i64, 0);

    // The suffix text in a buffer of any length.
    const std::string longText = "a=" + std::string(200, '0') + "7k";
    ASSERT_EQ(parse(longText.c_str()), sOKAY);
    EXPECT_EQ(b_keyvalueGetInt64Value(&kv, "a", &i64), sOKAY);
    EXPECT_EQ(i64, 7000);
}

TEST_F(KeyValueTest, Booleans) {
    ASSERT_EQ(parse("a=maybe;b=ON;c=n;d=offoffoffoff;e=1;f=;g=Yes,no"), sOKAY);
    ZEL_BOOL_T b = ZEL_FALSE;
    EXPECT_EQ(b_keyvalueGetValueBoolean(&kv, "a", &b), eINVOPTIONVALUE);
    EXPECT_EQ(b_keyvalueGetValueBoolean(&kv, "b", &b), sOKAY);
    EXPECT_EQ(b, ZEL_TRUE);
    EXPECT_EQ(b_keyvalueGetValueBoolean(&kv, "c", &b), sOKAY);
    EXPECT_EQ(b, ZEL_FALSE);
    EXPECT_EQ(b_keyvalueGetValueBoolean(&kv, "d", &b), eINVOPTIONVALUE);  // cut to 9, tried
    EXPECT_EQ(b_keyvalueGetValueBoolean(&kv, "e", &b), sOKAY);
    EXPECT_EQ(b, ZEL_TRUE);
    EXPECT_EQ(b_keyvalueGetValueBoolean(&kv, "f", &b), sKVNOVALUE);
    EXPECT_EQ(b_keyvalueGetValueBoolean(&kv, "g", &b), eVALUEISLIST);
    EXPECT_EQ(b_keyvalueGetValueBoolean(&kv, "z", &b), sNOTFOUND);
    for (const char *w : {"yes", "Y", "on", "TRUE", "1", "n", "No", "OFF", "false", "0"})
        EXPECT_EQ(b_keyvalueGetBooleanFromString(w, nullptr), sOKAY) << w;
    EXPECT_EQ(b_keyvalueGetBooleanFromString("", &b), eINVOPTIONVALUE);
    EXPECT_EQ(b_keyvalueGetBooleanFromString(nullptr, &b), eINVNULLARG);
}

TEST_F(KeyValueTest, ListsAndIteration) {
    ASSERT_EQ(parse("b=1,2;a=,x;c=z"), sOKAY);
    uint32_t n = 0;
    char **list = nullptr;
    ASSERT_EQ(b_keyvalueGetValueList(&kv, "a", &n, sub, &list), sOKAY);
    ASSERT_EQ(n, 2u);
    EXPECT_STREQ(list[0], "");  // the null element
    EXPECT_STREQ(list[1], "x");
    for (uint32_t i = 0; i < n; ++i) b_tag_subFree(sub, list[i]);
    b_tag_subFree(sub, list);
    ASSERT_EQ(b_keyvalueGetValueList(&kv, "c", &n, sub, nullptr), sOKAY);
    EXPECT_EQ(n, 1u);

    std::vector<std::string> seen;
    auto collect = [](void *ctx, const char *key) -> ZEL_RETCODE {
        auto *v = static_cast<std::vector<std::string> *>(ctx);
        v->push_back(key);
        return v->size() == 2 ? eFAIL : sOKAY;
    };
    EXPECT_EQ(b_keyvalueIterate(&kv, &seen, collect), eFAIL);  // stops at the first non-zero
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "b"}));
    auto withCmp = [](void *ctx, B_KEYVALUE_CMP cmp, const char *key) -> ZEL_RETCODE {
        *static_cast<int *>(ctx) += cmp(key, "B") == 0;
        return sOKAY;
    };
    int matches = 0;
    EXPECT_EQ(b_keyvalueIterateKeys(&kv, &matches, withCmp), sOKAY);
    EXPECT_EQ(matches, 1);  // "b" is "B" without regard to case
}

TEST_F(KeyValueTest, FixedFormAgreesWithPython) {
    const auto rows = vectors_read("good-keyvalue-fixed.txt", '\t', false);
    for (const VectorRow &row : rows) {
        const std::string text = "a=" + row[0];
        ASSERT_EQ(parse(text.c_str()), sOKAY) << text;
        EXPECT_EQ(dump(kv), "a=" + row[1]) << text;
    }
    EXPECT_GT(rows.size(), 300u);
}

// Random strings of pairs over a few keys in random case, against a model in
// which the last spelling of a key wins.
TEST_F(KeyValueTest, LastKeyWinsModel) {
    std::mt19937 rng(24);
    const char *keys[] = {"alpha", "beta", "gamma", "delta", "pack_file_size"};
    for (int round = 0; round < 300; ++round) {
        std::map<std::string, std::pair<std::string, std::string>> model;  // folded -> key, value
        std::string text;
        for (int i = rng() % 8; i > 0; --i) {
            std::string key = keys[rng() % 5];
            for (char &c : key)
                if (rng() % 2 && c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
            std::string value, shown;
            for (int e = 1 + rng() % 3; e > 0; --e) {
                const std::string word =
                    std::to_string(1 + rng() % 999) + "x" + std::to_string(rng());
                value += (value.empty() ? "" : ",") + word;
                shown += (shown.empty() ? "" : ",") + word;
            }
            text += std::string(rng() % 3, ';') + key + "=" + value + ";";
            std::string folded = key;
            for (char &c : folded)
                if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
            model[folded] = {key, shown};
        }
        ASSERT_EQ(parse(text.c_str()), sOKAY) << text;
        std::string want;
        for (const auto &[folded, kvp] : model)
            want += (want.empty() ? "" : ";") + kvp.first + "=" + kvp.second;
        EXPECT_EQ(dump(kv), want) << text;
    }
}

TEST_F(KeyValueTest, Tokenize) {
    // clang-format off
    const struct {
        const char *input;
        bool trim;
        std::vector<std::string> words;
    } cases[] = {
        {"a, b ,c", false, {"a", " b ", "c"}}, {"a, b ,\t c", true, {"a", "b", "c"}},
        {" , ,", true, {}}, {"", false, {}}, {",,one,,", false, {"one"}},
    };
    // clang-format on
    for (const auto &c : cases) {
        std::string input = c.input;
        char **words = reinterpret_cast<char **>(1);
        uint32_t n = 99;
        ASSERT_EQ(b_tokenize(input.data(), ",", &words, &n, c.trim ? ZEL_TRUE : ZEL_FALSE, sub),
                  sOKAY);
        std::vector<std::string> got(words, words + n);
        EXPECT_EQ(got, c.words) << c.input;
        if (c.words.empty()) {
            EXPECT_EQ(words, nullptr);
        }
        b_tag_subFreeCanBeNull(sub, words);
    }
    char **words = nullptr;
    uint32_t n = 0;
    EXPECT_EQ(b_tokenize(nullptr, ",", &words, &n, ZEL_FALSE, sub), eINVNULLARG);
}

TEST_F(KeyValueTest, EveryAllocationFailure) {
    // 25 pairs, a value past the stack scratch and a token past the lexer's
    // first buffer.
    std::string text;
    for (int i = 0; i < 25; ++i) text += "key" + std::to_string(i) + "=v" + std::to_string(i) + ";";
    text += "long=" + std::string(700, 'x') + ",'" + std::string(100, 'y') +
            "';n=" + std::string(100, '0') + "5k";
    oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        B_KEYVALUE_T m;
        const ZEL_RETCODE rc = b_keyvalueInit(&m, text.c_str(), ZEL_FALSE, sub);
        if (rc == sOKAY) {
            EXPECT_EQ(b_avlCount(&m.avl), 27u);
        }
        b_keyvalueTerm(&m);  // valid after a failure too
        return rc;
    });
    ASSERT_EQ(parse(text.c_str()), sOKAY);
    oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        char *s = nullptr;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_keyvalueGetValueString(&kv, "key7", sub, &s));
        EXPECT_STREQ(s, "v7");
        b_tag_subFree(sub, s);
        return rc;
    });
    oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        uint32_t n = 7;
        char **list = nullptr;
        ZEL_RETCODE rc = b_keyvalueGetValueList(&kv, "long", &n, sub, &list);
        if (rc < 0) {
            EXPECT_EQ(n, 7u);
            return rc;
        }
        EXPECT_EQ(n, 2u);
        for (uint32_t i = 0; i < n; ++i) b_tag_subFree(sub, list[i]);
        b_tag_subFree(sub, list);
        return rc;
    });
    oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        int64_t v = 0;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_keyvalueGetInt64Value(&kv, "n", &v));
        EXPECT_EQ(v, 5000);
        return rc;
    });
    std::string words;
    for (int i = 0; i < 40; ++i) words += " w" + std::to_string(i) + " ,";
    oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        std::string input = words;
        char **list = nullptr;
        uint32_t n = 0;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_tokenize(input.data(), ",", &list, &n, ZEL_TRUE, sub));
        EXPECT_EQ(n, 40u);
        EXPECT_STREQ(list[39], "w39");
        b_tag_subFree(sub, list);
        return rc;
    });
}

}  // namespace
