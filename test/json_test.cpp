// The JSON reader: walks checked against Python's json module
// (test/data/gen_json.py), the relaxed syntax and the behaviours kept on
// purpose, outs untouched on failure, deep nesting, a file source, and a
// catalogue-shaped document under every allocation failure.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "file.h"
#include "file_fixture.h"
#include "input.h"
#include "json.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_stack.h"
#include "vectors.h"

namespace {

using Events = std::vector<std::string>;

std::string hex(const char *s) {
    std::string out;
    char two[3];
    for (; *s != '\0'; ++s) {
        std::snprintf(two, sizeof two, "%02x", static_cast<uint8_t>(*s));
        out += two;
    }
    return out;
}

std::string doubleEvent(double d) {
    char buf[48];
    std::snprintf(buf, sizeof buf, "D%a", d);
    return buf;
}

std::string event(const B_JSON_VAL &v) {
    switch (v.type) {
        case jvSTRING:
            return "S" + hex(v.v.str);
        case jvNUMBER:
            return "N" + std::to_string(v.v.num);
        case jvDOUBLE:
            return doubleEvent(v.v.dbl);
        case jvBOOLEAN:
            return v.v.flag ? "T" : "F";
        case jvNULL:
            return "Z";
        case jvARRAY:
            return "[";
        case jvOBJECT:
            return "{";
        default:
            return "?";
    }
}

// The events of the value `v` just read, and of everything inside it.
ZEL_RETCODE walkInside(B_JSON_T *j, const B_JSON_VAL &v, Events *ev) {
    ev->push_back(event(v));
    ZEL_RETCODE rc;
    if (v.type == jvARRAY) {
        for (;;) {
            B_JSON_VAL e;
            ZEL_CHECK(rc = b_jsonNextValue(j, nullptr, &e));
            if (e.type == jvEND) break;
            rc = walkInside(j, e, ev);
            if (e.type == jvSTRING) b_tag_subFree(j->subTag, e.v.str);
            ZEL_CHECK(rc);
        }
        ev->push_back("]");
    } else if (v.type == jvOBJECT) {
        for (;;) {
            B_JSON_PAIR p;
            ZEL_CHECK(rc = b_jsonNextPair(j, nullptr, &p));
            if (p.value.type == jvEND) {
                EXPECT_EQ(p.name, nullptr);
                break;
            }
            ev->push_back("K" + hex(p.name));
            rc = walkInside(j, p.value, ev);
            b_jsonFreePair(j, &p);
            EXPECT_EQ(p.name, nullptr);
            ZEL_CHECK(rc);
        }
        ev->push_back("}");
    }
    return sOKAY;
}

// One complete value from the reader.
ZEL_RETCODE walk(B_JSON_T *j, Events *ev) {
    B_JSON_VAL v;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_jsonNextValue(j, nullptr, &v));
    rc = walkInside(j, v, ev);
    if (v.type == jvSTRING) b_tag_subFree(j->subTag, v.v.str);
    return rc;
}

class Json : public TaggedTest {
  protected:
    // The walk of `text`, or the code of its failure as "rc=<code>".
    Events read(const std::string &text, B_TAG_STACK stack = nullptr) {
        B_INPUT_T in;
        b_inputInitFromMemory(&in, text.data(), text.size(), sub);
        B_JSON_T j;
        EXPECT_EQ(b_jsonInit(&j, &in, sub, stack), sOKAY);
        Events ev;
        const ZEL_RETCODE rc = walk(&j, &ev);
        b_jsonTerm(&j);
        if (rc != sOKAY) ev.push_back("rc=" + std::to_string(rc));
        return ev;
    }
};

const std::string SYNTAX = "rc=" + std::to_string(eSYNTAX);

TEST_F(Json, WalksAgreeWithPythonJson) {
    // A document, then its events, one a line.
    const auto lines = vectors_read("good-json-walks.txt", '\n', false);
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    for (size_t i = 0; i + 1 < lines.size(); i += 2) {
        const std::string &doc = lines[i][0];
        Events want;
        std::istringstream words(lines[i + 1][0]);
        for (std::string w; words >> w;) {
            // Python writes 0x1.5e00000000000p+9 where printf writes 0x1.5ep+9.
            want.push_back(w[0] == 'D' ? doubleEvent(std::strtod(w.c_str() + 1, nullptr)) : w);
        }
        EXPECT_EQ(read(doc), want) << doc;
        EXPECT_EQ(read(doc, stack), want) << doc;
    }
    EXPECT_EQ(lines.size(), 400u);
    b_tag_stackDestroy(stack);
}

struct Case {
    const char *text;
    Events want;
};

TEST_F(Json, RelaxedSyntaxAndWhatIsKept) {
    // clang-format off
    const Case cases[] = {
        {"", {SYNTAX}}, {"[1 2,3]", {"[", "N1", "N2", "N3", "]"}}, {"[1,,2]", {"[", "N1", SYNTAX}},
        {"{\"a\":1,,\"b\":2}", {"{", "K61", "N1", "K62", "N2", "}"}},
        {"{a:1}", {"{", "K41", "N1", "}"}},  // names from the identifier path
        {"-1.5", {SYNTAX}},
        {"[-1, +2, 1.5, 1e2]", {"[", "N-1", "N2", doubleEvent(1.5), doubleEvent(100), "]"}},
        {"[1234567890.1234567]", {"[", SYNTAX}},  // a decimal token
        {"[x'00', 0x1F]", {"[", SYNTAX}}, {"[1, -- note\n 2 /* more */]", {"[", "N1", "N2", "]"}},
        {R"(["\/", "\u00e9"])", {"[", "S5c2f", "Se9", "]"}}, {R"(["\u0100"])", {"[", SYNTAX}},
        {"[true, FALSE, Null, abc]", {"[", "T", "F", "Z", "S414243", "]"}},
        // Kept: one comma skipped in arrays; in objects only after the "}" test.
        {"[,1,]", {"[", "N1", "]"}}, {"{\"a\":1,}", {"{", "K61", "N1", SYNTAX}},
        {"{,\"a\":1}", {"{", "K61", "N1", "}"}},
        {"[1] trailing ] garbage", {"[", "N1", "]"}},  // the top level is not closed
        // Kept: a sign only before an integer; an integer taken as signed.
        {"[- 1.5]", {"[", SYNTAX}}, {"[18446744073709551615]", {"[", "N-1", "]"}},
        {"[-9223372036854775808, -18446744073709551615]",
        {"[", "N-9223372036854775808", "N1", "]"}}, {"[}", {"[", SYNTAX}}, {"{]", {"{", SYNTAX}},
        {"{\"a\" 1}", {"{", SYNTAX}}, {"{1:2}", {"{", SYNTAX}}, {",1", {SYNTAX}},
        {"{\"a\":,1}", {"{", SYNTAX}}, {"['single']", {"[", "S73696e676c65", "]"}},
        {"[\"open", {"[", SYNTAX}}, {"[1", {"[", "N1", SYNTAX}},
    };
    // clang-format on
    for (const Case &c : cases) EXPECT_EQ(read(c.text), c.want) << c.text;
}

TEST_F(Json, PairsAndValuesOnTheWrongSide) {
    const std::string text = "[{\"a\":\"x\"}]";
    B_INPUT_T in;
    b_inputInitFromMemory(&in, text.data(), text.size(), sub);
    B_JSON_T j;
    ASSERT_EQ(b_jsonInit(&j, &in, sub, nullptr), sOKAY);
    B_JSON_PAIR pair;
    std::memset(&pair, 0x5A, sizeof pair);
    const B_JSON_PAIR before = pair;
    B_JSON_VALTYPE type = jvNOVAL;
    EXPECT_EQ(b_jsonNextPair(&j, &type, &pair), eSYNTAX);  // nothing is open
    B_JSON_VAL v;
    ASSERT_EQ(b_jsonNextValue(&j, &type, &v), sOKAY);
    EXPECT_EQ(type, jvARRAY);
    EXPECT_EQ(b_jsonNextPair(&j, &type, &pair), eSYNTAX);  // an array is open
    EXPECT_EQ(std::memcmp(&pair, &before, sizeof pair), 0);
    EXPECT_EQ(type, jvARRAY);
    ASSERT_EQ(b_jsonNextValue(&j, nullptr, nullptr), sOKAY);  // the object, no outs
    ASSERT_EQ(b_jsonNextPair(&j, &type, nullptr), sOKAY);     // the pair, no copies
    EXPECT_EQ(type, jvSTRING);
    EXPECT_EQ(b_jsonNextValue(&j, &type, &v), eSYNTAX);  // "}" is no value
    EXPECT_EQ(type, jvSTRING);
    b_jsonTerm(&j);
    b_jsonTerm(&j);
    EXPECT_EQ(b_jsonNextValue(nullptr, &type, &v), eINVNULLARG);
    EXPECT_EQ(b_jsonInit(&j, nullptr, sub, nullptr), eINVNULLARG);
}

TEST_F(Json, DeepNesting) {
    const int depth = 100000;
    const std::string text = std::string(depth, '[') + std::string(depth, ']');
    B_INPUT_T in;
    b_inputInitFromMemory(&in, text.data(), text.size(), sub);
    B_JSON_T j;
    ASSERT_EQ(b_jsonInit(&j, &in, sub, nullptr), sOKAY);
    B_JSON_VALTYPE type;
    for (int i = 0; i < depth; ++i) ASSERT_EQ(b_jsonNextValue(&j, &type, nullptr), sOKAY);
    EXPECT_EQ(j.stack.pos, static_cast<size_t>(depth));
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(b_jsonNextValue(&j, &type, nullptr), sOKAY);
        ASSERT_EQ(type, jvEND);
    }
    b_jsonTerm(&j);
}

// A document shaped like a catalogue, `tables` tables of `cols` columns.
std::string catalogue(int tables, int cols) {
    std::string s =
        "{\"database\": {\"catver\": 1, \"dbver\": 3, \"name\": \"demo\", "
        "\"locale\": \"en_US\", \"maxtabs\": 100, \"nexttab\": 10, \"tables\": [\n";
    for (int t = 1; t <= tables; ++t) {
        s += "  {\"tabid\": " + std::to_string(t) + ", \"name\": \"table_" + std::to_string(t) +
             "\", \"type\": \"standard\", \"maxcols\": 64, \"columns\": [\n";
        for (int c = 0; c < cols; ++c) {
            s += "    {\"colid\": " + std::to_string(c) + ", \"name\": \"column_with_a_long_name_" +
                 std::to_string(c) +
                 "\", \"not_null\": \"\", \"type\": {\"data_type\": \"varchar\", \"length\": 40},"
                 " \"defValue\": \"it's \\\"quoted\\\"\", \"defNull\": false},\n";
        }
        s += "  ], \"keys\": [{\"keyid\": 0, \"type\": \"primary\", \"cols\": [{\"colid\": \"0\", "
             "\"order\": \"asc\"}]}]},\n";
    }
    return s + "]}}";
}

TEST_F(Json, FileSourceReadsAsMemory) {
    const std::string text = catalogue(4, 12);  // several 1024-byte blocks
    ASSERT_GT(text.size(), 4096u);
    const Events want = read(text);
    ASSERT_EQ(want.back(), "}");
    ScratchDir dir;
    const std::string path = dir.path("catalogue.json");
    fixture_writeFile(path, text);
    B_FILE_T file;
    b_fileInit(&file);
    ASSERT_EQ(b_fileOpen(&file, path.c_str(), B_FILE_FLAGS_READ), sOKAY);
    B_INPUT_T in;
    b_inputInitFromFile(&in, &file, sub);
    B_JSON_T j;
    ASSERT_EQ(b_jsonInit(&j, &in, sub, nullptr), sOKAY);
    Events got;
    EXPECT_EQ(walk(&j, &got), sOKAY);
    EXPECT_EQ(got, want);
    b_jsonTerm(&j);
    b_fileClose(&file);
}

TEST_F(Json, OutOfMemoryEndsInNoMemoryOrTheExactWalk) {
    // Long names pass the lexer's first 65 bytes; a deep array grows the stack.
    std::string text = catalogue(2, 3);
    text.insert(text.size() - 2, ", \"" + std::string(200, 'n') + "\": [" + std::string(25, '[') +
                                     std::string(25, ']') + "]");
    const Events want = read(text);
    ASSERT_EQ(want.back(), "}");
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    for (B_TAG_STACK st : {static_cast<B_TAG_STACK>(nullptr), stack}) {
        const int faults = oom_check(master, {sub},
                                     [&]() -> ZEL_RETCODE {
                                         B_INPUT_T in;
                                         b_inputInitFromMemory(&in, text.data(), text.size(), sub);
                                         B_JSON_T j;
                                         ZEL_RETCODE rc;
                                         ZEL_CHECK(rc = b_jsonInit(&j, &in, sub, st));
                                         Events got;
                                         rc = walk(&j, &got);
                                         b_jsonTerm(&j);
                                         if (rc == sOKAY) {
                                             EXPECT_EQ(got, want);
                                         }
                                         return rc;
                                     },
                                     {}, {stack});
        EXPECT_GT(faults, 20);
    }
    b_tag_stackDestroy(stack);
}

}  // namespace
