// The lexer: numbers against Python's float, '%.*f' and decimal
// (test/data/gen_lex.py), strings and escapes, identifiers, binary and
// Unicode literals, comments, lines and columns, putback, token frees on both
// tags, capture, rewind points, and out of memory.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bcd.h"
#include "input.h"
#include "lex.h"
#include "vectors.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_stack.h"

namespace {

struct Mode {
    bool sql = true;
    bool dqIdent = false;
    const char *name = "sql";
};
constexpr Mode kSql{};
constexpr Mode kSqlDq{true, true, "sql"};
constexpr Mode kOther{false, false, "other"};
constexpr Mode kKeyValue{false, false, "key/value"};

std::string hex(const uint8_t *p, size_t n) {
    std::string s;
    char two[3];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(two, sizeof two, "%02X", p[i]);
        s += two;
    }
    return s;
}

std::string bcdText(const ZEL_BCD_T *b) {
    char text[80];
    EXPECT_EQ(zel_bcdToString(b, ZEL_FALSE, text, sizeof text, nullptr), sOKAY);
    return text;
}

// One token as text: "ID:ABC", "INT:7", "DBL:0x1p+0", "DEC:1.5", "STR:it's",
// "BIN:1F", "ERR:text", the punctuation itself, or "EOS".
std::string describe(const B_TOKEN &t) {
    switch (t.type) {
        case tokIDENTIFIER:
            EXPECT_EQ(t.len, std::strlen(t.v.id) + 1);
            return "ID:" + std::string(t.v.id);
        case tokINTEGER:
            return "INT:" + std::to_string(t.v.iv);
        case tokDOUBLE: {
            char text[40];
            std::snprintf(text, sizeof text, "%a", t.v.dv);
            return "DBL:" + std::string(text);
        }
        case tokDECIMAL:
            return "DEC:" + bcdText(t.v.bcd);
        case tokSTRING:
            return "STR:" + std::string(t.v.str);
        case tokBINARY:
            return "BIN:" + hex(t.v.bv, t.len);
        case tokERROR:
            return "ERR:" + std::string(t.v.str);
        case tokEOS:
            return "EOS";
        default:
            EXPECT_EQ(t.v.tok, static_cast<B_CHAR>(t.type));
            return std::string(1, static_cast<char>(t.type));
    }
}

class Lex : public TaggedTest {
  protected:
    void open(const std::string &text, Mode m = kSql, B_TAG_STACK stack = nullptr,
              uint32_t lineno = 1) {
        b_lexTerm(&lex);
        ASSERT_EQ(b_lexInit(&lex, m.name, m.sql ? ZEL_TRUE : ZEL_FALSE,
                            m.dqIdent ? ZEL_TRUE : ZEL_FALSE, sub),
                  sOKAY);
        source = text;
        ASSERT_EQ(b_lexStart(&lex, source.c_str(), "file.sql", lineno, stack), sOKAY);
    }
    void TearDown() override {
        b_lexTerm(&lex);
        TaggedTest::TearDown();
    }
    // The tokens up to and with the end, as text.
    std::vector<std::string> all() {
        std::vector<std::string> out;
        for (int i = 0; i < 1000; ++i) {
            B_TOKEN t;
            b_lexGet(&lex, &t);
            out.push_back(describe(t));
            if (whole) {
                out.back() += "@" + std::to_string(t.line) + ":" + std::to_string(t.pos) + "|" +
                              b_lexGetTokString(&lex) + "|" +
                              std::to_string(b_lexGetCharacterNumber(&lex));
            }
            b_lexTokenFree(&lex, &t);
            if (t.type == tokEOS) break;
        }
        return out;
    }
    std::vector<std::string> lexAll(const std::string &text, Mode m = kSql) {
        b_lexTerm(&lex);
        open(text, m);
        return all();
    }
    B_LEX_T lex{};
    std::string source;
    bool whole = false;  // all() adds line, column, tokbuf and charno
};

using Tokens = std::vector<std::string>;
const std::string MISSING = "ERR:" B_LEX_ERR_NO_QUOTE;

// ---- Numbers.

TEST_F(Lex, NumbersAgreeWithPythonFloatAndDecimal) {
    // text, type, token buffer, characters consumed, value
    const auto vectors = vectors_read("good-lex-numbers.txt", '\t', false);
    ASSERT_GT(vectors.size(), 400u);
    for (const VectorRow &row : vectors) {
        const struct {
            std::string text, type, tokbuf, value;
            size_t consumed;
        } v{row[0], row[1], row[2], row[4], std::stoul(row[3])};
        b_lexTerm(&lex);
        open(v.text);
        B_TOKEN t;
        const B_TOKTYPE type = b_lexGet(&lex, &t);
        SCOPED_TRACE(v.text);
        EXPECT_EQ(b_lexGetTokString(&lex), v.tokbuf);
        EXPECT_EQ(b_lexGetCharacterNumber(&lex), v.consumed);
        if (v.type == "INTEGER") {
            ASSERT_EQ(type, tokINTEGER);
            EXPECT_EQ(t.v.iv, std::stoull(v.value));
        } else if (v.type == "DOUBLE") {
            ASSERT_EQ(type, tokDOUBLE);
            EXPECT_EQ(t.v.dv, std::strtod(v.value.c_str(), nullptr));
        } else if (v.type == "DECIMAL") {
            ASSERT_EQ(type, tokDECIMAL);
            ZEL_BCD_T want;
            ASSERT_GE(zel_bcdFromString(v.value.c_str(), &want), 0);
            EXPECT_EQ(zel_bcdCompare(t.v.bcd, &want), ZEL_EQ) << bcdText(t.v.bcd);
        } else {
            ASSERT_EQ(type, tokERROR);
            EXPECT_STREQ(t.v.str, v.value.c_str());
        }
        b_lexTokenFree(&lex, &t);
    }
}

// The single numbers at 2^64, past it and past the decimal's digits are the
// vectors'; here what follows a number.
TEST_F(Lex, NumbersAndWhatFollowsThem) {
    EXPECT_EQ(lexAll("007 1e5 .5 ."),
              (Tokens{"INT:7", "DBL:0x1.86ap+16", "DBL:0x1p-1", ".", "EOS"}));
    // A sign is a token of its own, but repeats after an exponent letter.
    EXPECT_EQ(lexAll("-1 1e5-3"), (Tokens{"-", "INT:1", "DBL:0x1.86ap+16", "EOS"}));
    // A second point ends the number; ".2" is the next one.
    EXPECT_EQ(lexAll("1..2"), (Tokens{"DBL:0x1p+0", "DBL:0x1.999999999999ap-3", "EOS"}));
}

// ---- Strings.

struct StringCase {
    const char *text;
    Tokens want;
};

TEST_F(Lex, StringsEscapesAndLiterals) {
    // clang-format off
    const StringCase cases[] = {
        {"'it''s'", {"STR:it's", "EOS"}}, {"''", {"STR:", "EOS"}},
        {R"('a\nb\tc\\d\'e\"f\?')", {"STR:a\nb\tc\\d'e\"f?", "EOS"}},
        {R"('\a\b\f\r\v')", {"STR:\a\b\f\r\v", "EOS"}},
        // octal: up to three digits in all
        {R"('\101\1010')", {"STR:AA0", "EOS"}},
        {R"('\400')", {"ERR:Unicode characters are not supported", MISSING, "EOS"}},
        // \x adds its digits in tens, with 'a' counting 0: f=5, f=5 gives 55.
        {R"('\xff')", {"STR:7", "EOS"}}, {R"('\x10')", {"STR:\n", "EOS"}},
        {R"('\x41z')", {"STR:)z", "EOS"}},  // 4*10+1 = 41 = ')'
        // and saturates: no wrap to a small value
        {R"('\x9999999999999999999999')", {"ERR:invalid escape sequence", MISSING, "EOS"}},
        {R"('\x300')", {"ERR:Unicode characters are not supported", MISSING, "EOS"}},
        {R"('\u00e9')", {"STR:\xE9", "EOS"}}, {R"('\U000000e9')", {"STR:\xE9", "EOS"}},
        {R"('\u0100')", {"ERR:Unicode characters are not supported", MISSING, "EOS"}},
        {R"('\u00g')", {"ERR:invalid escape sequence", "ID:G", MISSING, "EOS"}},
        {R"('\U00110000')", {"ERR:invalid escape sequence", MISSING, "EOS"}},
        // anything else keeps its backslash
        {R"('\q\/')", {"STR:\\q\\/", "EOS"}}, {"'open", {MISSING, "EOS"}},
        {R"('a\)", {MISSING, "EOS"}}, {"\"dq\"\"x\"", {"STR:dq\"x", "EOS"}},
        {"'line\nbreak'", {"STR:line\nbreak", "EOS"}},
        // Unicode literals
        {R"(U&'caf\00e9')", {"STR:caf\xC3\xA9", "EOS"}},
        {R"(u&'\+01F600 \\ ''')", {"STR:\xF0\x9F\x98\x80 \\ '", "EOS"}},
        {R"(U&'\0100')", {"STR:\xC4\x80", "EOS"}},
        {R"(U&'\+110000')", {"ERR:invalid escape sequence", MISSING, "EOS"}},
        {R"(U&'\x')", {"ERR:invalid escape sequence", "ERR:bad binary literal", "EOS"}},
        {"U&'open", {MISSING, "EOS"}},
        {"U&x", {"ERR:Invalid Unicode literal sequence", "ID:X", "EOS"}},
        {"U & 'a'", {"ID:U", "&", "STR:a", "EOS"}},
        // binary literals
        {"0x1F X'1f' x''", {"BIN:1F", "BIN:1F", "BIN:", "EOS"}},
        {"x'ABC'", {"ERR:bad binary literal", MISSING, "EOS"}},
        {"X'AB", {"ERR:bad binary literal", "EOS"}}, {"0xABCDEFg", {"BIN:ABCDEF", "ID:G", "EOS"}},
        {"0x1", {"ERR:bad binary literal", "EOS"}}, {"0X", {"BIN:", "EOS"}},
        {"X 'a'", {"ID:X", "STR:a", "EOS"}},
    };
    // clang-format on
    for (const StringCase &c : cases) EXPECT_EQ(lexAll(c.text), c.want) << c.text;
    // \xA is 0: the string holds one zero byte.
    open(R"('\xA')");
    B_TOKEN t;
    ASSERT_EQ(b_lexGet(&lex, &t), tokSTRING);
    EXPECT_EQ(t.v.str[0], '\0');
    EXPECT_EQ(lex.tokpos, 1u);
    b_lexTokenFree(&lex, &t);
}

// ---- Identifiers.

TEST_F(Lex, Identifiers) {
    open("abc");
    B_TOKEN t;
    ASSERT_EQ(b_lexGet(&lex, &t), tokIDENTIFIER);
    EXPECT_STREQ(t.v.id, "ABC");
    EXPECT_EQ(t.len, 4u);
    EXPECT_STREQ(b_lexGetTokString(&lex), "abc");
    b_lexTokenFree(&lex, &t);
    EXPECT_EQ(t.v.id, nullptr);

    EXPECT_EQ(lexAll("_a$1 a.b"), (Tokens{"ID:_A$1", "ID:A", ".", "ID:B", "EOS"}));
    EXPECT_EQ(lexAll("\"Mixed\" x", kSqlDq), (Tokens{"ID:Mixed", "ID:X", "EOS"}));
    // Quoted identifiers stop at the first non-identifier character; the rest
    // (and the closing quote) stay unread.
    EXPECT_EQ(lexAll("\"a b\"", kSqlDq), (Tokens{"ID:a", "ID:B", "ID:", "EOS"}));
    EXPECT_EQ(lexAll("\"\"", kSqlDq), (Tokens{"ID:", "EOS"}));
    // Other identifiers: paths in one piece, no upper-casing.
    EXPECT_EQ(lexAll("a=/tmp/x.y,c:\\d", kOther),
              (Tokens{"ID:a", "=", "/", "ID:tmp/x.y", ",", "ID:c:\\d", "EOS"}));
}

// ---- Punctuation, comments, lines.

TEST_F(Lex, Punctuation) {
    const std::string punct = "!#%&()*+,-/:;<=>?@[\\]^`{|}~$";
    Tokens want;
    std::string text;
    for (char c : punct) {
        text += c;
        text += ' ';
        want.push_back(std::string(1, c));
    }
    want.push_back("EOS");
    EXPECT_EQ(lexAll(text), want);
    EXPECT_EQ(lexAll("\x7F\xC3\xA9"),
              (Tokens{"ERR:unsupported character", "ERR:unsupported character",
                      "ERR:unsupported character", "EOS"}));
}

TEST_F(Lex, Comments) {
    // A "--" comment ends at the end of the input too: no hang.
    EXPECT_EQ(lexAll("SELECT 1 -- x"), (Tokens{"ID:SELECT", "INT:1", "EOS"}));
    EXPECT_EQ(lexAll("a--x\nb/*c\n*/d/**/e/*/f*/g"),
              (Tokens{"ID:A", "ID:B", "ID:D", "ID:E", "ID:G", "EOS"}));
    EXPECT_EQ(lexAll("a /* never closed"), (Tokens{"ID:A", "EOS"}));
    EXPECT_EQ(lexAll("a - -b/ *"), (Tokens{"ID:A", "-", "-", "ID:B", "/", "*", "EOS"}));
    // The key/value lexer has no comments.
    EXPECT_EQ(lexAll("a--b/*c*/", kKeyValue),
              (Tokens{"ID:a", "-", "-", "ID:b/", "*", "ID:c", "*", "/", "EOS"}));
}

TEST_F(Lex, EmptyInputEndsAtOnceAndForEver) {
    EXPECT_EQ(lexAll(""), (Tokens{"EOS"}));
    for (int i = 0; i < 3; ++i) {
        B_TOKEN t;
        EXPECT_EQ(b_lexGet(&lex, &t), tokEOS);
        EXPECT_EQ(t.v.tok, 0u);
    }
}

TEST_F(Lex, LinesAndColumns) {
    open("a\n  bc 12\n\n'x\ny' z", kSql, nullptr, 10);
    struct Where {
        uint32_t line;
        size_t pos;
    };
    const Where want[] = {{10, 0}, {11, 2}, {11, 5}, {13, 0}, {14, 3}, {14, 4}};
    for (const Where &w : want) {
        B_TOKEN t;
        b_lexGet(&lex, &t);
        EXPECT_EQ(t.line, w.line) << describe(t);
        EXPECT_EQ(t.pos, w.pos) << describe(t);
        b_lexTokenFree(&lex, &t);
    }
    EXPECT_EQ(b_lexGetLineNumber(&lex), 14u);
    EXPECT_STREQ(b_lexGetFileName(&lex), "file.sql");
}

TEST_F(Lex, LineCountingOffStaysOff) {
    // The number gives back the newline after it; with line 0 that must not
    // lower the line number below 0.
    open("12\n34\n", kSql, nullptr, 0);
    EXPECT_EQ(all(), (Tokens{"INT:12", "INT:34", "EOS"}));
    EXPECT_EQ(b_lexGetLineNumber(&lex), 0u);
    EXPECT_EQ(b_lexGetCharacterNumber(&lex), 7u);  // six characters and the end
}

// A source that is not memory: the lexer goes through readFcn.
struct SlowSource {
    B_INPUT_T in;
    const char *text;
    size_t pos;
    bool failAtEnd;
};

ZEL_RETCODE slowRead(B_INPUT_T *obj, B_CHAR *ch) {
    auto *s = reinterpret_cast<SlowSource *>(obj);
    if (s->text[s->pos] == '\0') {
        *ch = 0;
        return s->failAtEnd ? eBADREAD : sOKAY;
    }
    *ch = static_cast<uint8_t>(s->text[s->pos++]);
    return sOKAY;
}

TEST_F(Lex, ReadFunctionGivesTheSameTokensAsMemory) {
    const char *text =
        "select x'1F', \"q\", u&'\\00e9', 12.5e3 -- c\n/* d */ \tname_1, 'it''s' 0x0a;\n"
        "007 0 1234567890123456789 12345678901234567890 .5 1. X Xa U u2 'a\nb' '' \"\"\"\" "
        "'tab\there' 'esc\\n' $x a$b _1 99e 18446744073709551616";
    // The memory source goes the quick way where it can; the same tokens at
    // the same places with the same text.
    whole = true;
    const Tokens want = lexAll(text);
    for (bool fail : {false, true}) {
        b_lexTerm(&lex);
        ASSERT_EQ(b_lexInit(&lex, "sql", ZEL_TRUE, ZEL_FALSE, sub), sOKAY);
        SlowSource s{{}, text, 0, fail};
        s.in.readFcn = slowRead;
        ASSERT_EQ(b_lexInitInput(&lex, &s.in, nullptr, 1, nullptr), sOKAY);
        EXPECT_EQ(all(), want);
        // Not a lexer over its local_input: no rewind points.
        B_LEX_REWIND_POINT rp;
        EXPECT_EQ(b_lexCreateRewindPoint(&lex, &rp), eINVFCNSEQ);
        EXPECT_EQ(b_lexRewind(&lex, &rp), eINVFCNSEQ);
    }
}

// ---- Putback, frees, rewind.

TEST_F(Lex, PutbackOneLevel) {
    open("a b");
    B_TOKEN t, u;
    ASSERT_EQ(b_lexGet(&lex, &t), tokIDENTIFIER);
    ASSERT_EQ(b_lexPutback(&lex, &t), sOKAY);
    EXPECT_EQ(b_lexPutback(&lex, &t), eINVFCNSEQ);
    ASSERT_EQ(b_lexGet(&lex, &u), tokIDENTIFIER);
    EXPECT_EQ(u.v.id, t.v.id);  // the same token, handed back
    b_lexTokenFree(&lex, &u);
    ASSERT_EQ(b_lexGet(&lex, &t), tokIDENTIFIER);
    EXPECT_STREQ(t.v.id, "B");
    // A token left put back is freed with the lexer.
    ASSERT_EQ(b_lexPutback(&lex, &t), sOKAY);
    EXPECT_EQ(b_lexPutback(nullptr, &t), eINVNULLARG);
}

TEST_F(Lex, StackTagTokensFreeByRewinding) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    int64_t before = 0, peak = 0;
    b_tag_stackMemUsage(stack, &before, &peak);
    open("abc 'str' x'00ff' 1234567890.1234567", kSql, stack);
    int64_t named = 0;
    b_tag_stackMemUsage(stack, &named, &peak);
    EXPECT_GT(named, before);  // the file name
    const int64_t subBefore = fixture_subBytes(sub);
    B_TOKEN toks[4];
    for (B_TOKEN &t : toks) b_lexGet(&lex, &t);
    EXPECT_EQ(toks[3].type, tokDECIMAL);
    EXPECT_EQ(fixture_subBytes(sub), subBefore);  // nothing from the sub tag
    // Freeing the first drops the others with it.
    b_lexTokenFree(&lex, &toks[0]);
    int64_t now = 0;
    b_tag_stackMemUsage(stack, &now, &peak);
    EXPECT_EQ(now, named);
    b_lexTerm(&lex);
    b_tag_stackDestroy(stack);
}

TEST_F(Lex, RewindPoints) {
    open("a\nb c");
    B_TOKEN t;
    ASSERT_EQ(b_lexGet(&lex, &t), tokIDENTIFIER);
    b_lexTokenFree(&lex, &t);
    B_LEX_REWIND_POINT rp;
    ASSERT_EQ(b_lexCreateRewindPoint(&lex, &rp), sOKAY);
    const Tokens rest = all();
    EXPECT_EQ(rest, (Tokens{"ID:B", "ID:C", "EOS"}));
    ASSERT_EQ(b_lexRewind(&lex, &rp), sOKAY);
    EXPECT_EQ(b_lexGetLineNumber(&lex), 1u);
    ASSERT_EQ(b_lexGet(&lex, &t), tokIDENTIFIER);
    EXPECT_EQ(t.line, 2u);
    EXPECT_EQ(t.pos, 0u);
    b_lexTokenFree(&lex, &t);
    EXPECT_EQ(b_lexRewind(nullptr, &rp), eINVNULLARG);
    EXPECT_EQ(b_lexCreateRewindPoint(&lex, nullptr), eINVNULLARG);
}

TEST_F(Lex, NotInitialised) {
    B_LEX_T raw{};
    B_TOKEN t;
    EXPECT_EQ(b_lexGet(&raw, &t), tokERROR);
    EXPECT_STREQ(t.v.str, B_LEX_ERR_NOT_INITIALISED);
    EXPECT_EQ(b_lexGet(&raw, nullptr), tokERROR);
    EXPECT_EQ(b_lexInit(&raw, "x", ZEL_TRUE, ZEL_FALSE, nullptr), eINVNULLARG);
    EXPECT_EQ(b_lexStart(&raw, "x", nullptr, 1, nullptr), eINVFCNSEQ);
    b_lexTerm(&raw);
    b_lexTerm(nullptr);
}

// ---- Capture.

TEST_F(Lex, CaptureOfAnExpression) {
    // The capture starts with the token just read; SELECT and FROM are left
    // out, commas count only inside parentheses, white space and comments are
    // one blank, and a string's quote is doubled.
    open("SELECT a +\tf(b,\n c) /* x */ , 'it''s' || \"q\" FROM t;");
    B_TOKEN t;
    ASSERT_EQ(b_lexGet(&lex, &t), tokIDENTIFIER);
    b_lexTokenFree(&lex, &t);
    ASSERT_EQ(b_lexGet(&lex, &t), tokIDENTIFIER);
    b_lexTokenFree(&lex, &t);
    ASSERT_EQ(b_lexExprSaveBegin(&lex), sOKAY);
    while (b_lexGet(&lex, &t) != tokEOS) b_lexTokenFree(&lex, &t);
    char *text = nullptr;
    ASSERT_EQ(b_lexExprGet(&lex, &text), sOKAY);
    EXPECT_STREQ(text, "a + f(b, c) 'it''s' || \"q\" t");
    EXPECT_STREQ(b_lexGetTokString(&lex), "");
    b_tag_subFree(sub, text);
    EXPECT_EQ(b_lexExprGet(&lex, &text), eINVFCNSEQ);  // capture is off
    open("  ");                                        // nothing captured: null
    ASSERT_EQ(b_lexExprSaveBegin(&lex), sOKAY);
    EXPECT_EQ(b_lexGet(&lex, &t), tokEOS);
    text = reinterpret_cast<char *>(1);
    ASSERT_EQ(b_lexExprGet(&lex, &text), sOKAY);
    EXPECT_EQ(text, nullptr);
}

TEST_F(Lex, CaptureRereadsAsTheSameTokens) {
    const char *expr = "f('a''b\\\\c', x'0A', 1.5e3, 007) + \"Q\"";
    open(std::string("(") + expr);
    B_TOKEN t;
    ASSERT_EQ(b_lexGet(&lex, &t), tokLPAR);
    ASSERT_EQ(b_lexExprSaveBegin(&lex), sOKAY);
    Tokens read;
    while (b_lexGet(&lex, &t) != tokEOS) {
        read.push_back(describe(t));
        b_lexTokenFree(&lex, &t);
    }
    char *text = nullptr;
    ASSERT_EQ(b_lexExprGet(&lex, &text), sOKAY);
    const std::string captured = text;
    b_tag_subFree(sub, text);
    read.insert(read.begin(), "(");
    read.push_back("EOS");
    EXPECT_EQ(lexAll(captured), read) << captured;
}

// ---- Long tokens and memory.

TEST_F(Lex, LongTokensPassThePageRunLimit) {
    // 700,000 bytes: past the 626,688 bytes a page run can grow to in place.
    const std::string name(700000, 'n');
    const std::string text = name + " '" + name + "'";
    open(text);
    B_TOKEN t;
    ASSERT_EQ(b_lexGet(&lex, &t), tokIDENTIFIER);
    EXPECT_EQ(t.len, name.size() + 1);
    EXPECT_EQ(std::string(t.v.id), std::string(name.size(), 'N'));
    b_lexTokenFree(&lex, &t);
    ASSERT_EQ(b_lexGet(&lex, &t), tokSTRING);
    EXPECT_EQ(std::string(t.v.str), name);
    b_lexTokenFree(&lex, &t);
}

TEST_F(Lex, OutOfMemoryGivesAnErrorTokenNeverATruncatedOne) {
    const std::string longName(300, 'q');
    const std::string text =
        "abc " + longName + " '" + longName + "' x'00ff' 1234567890.1234567 " + "u&'\\00e9' 42";
    const Tokens want = lexAll(text);
    b_lexTerm(&lex);
    // Init, start with a file name, every token, then a capture.
    const int faults = oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        B_LEX_T l;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_lexInit(&l, "sql", ZEL_TRUE, ZEL_FALSE, sub));
        if ((rc = b_lexStart(&l, text.c_str(), "name.sql", 1, nullptr)) != sOKAY) {
            EXPECT_EQ(b_lexGetFileName(&l), nullptr);
            b_lexTerm(&l);
            return rc;
        }
        Tokens got;
        B_TOKEN t;
        bool firstSaved = false;
        do {
            b_lexGet(&l, &t);
            got.push_back(describe(t));
            b_lexTokenFree(&l, &t);
            if (!firstSaved) {
                firstSaved = true;
                if ((rc = b_lexExprSaveBegin(&l)) != sOKAY) {
                    b_lexTerm(&l);
                    return rc;
                }
            }
        } while (t.type != tokEOS);
        char *captured = nullptr;
        rc = b_lexExprGet(&l, &captured);
        const bool nomem = l.nomem == ZEL_TRUE;
        b_lexTerm(&l);
        if (rc == sOKAY) {
            EXPECT_NE(captured, nullptr);
            b_tag_subFree(sub, captured);
        }
        if (nomem) {
            // Each token is exact, or the error of memory.
            EXPECT_EQ(got.size(), want.size());
            for (size_t i = 0; i < got.size() && i < want.size(); ++i) {
                if (got[i] != want[i]) {
                    EXPECT_EQ(got[i], "ERR:" B_LEX_ERR_NOMEM);
                }
            }
            EXPECT_EQ(rc, eNOMEMORY);
            return eNOMEMORY;
        }
        EXPECT_EQ(got, want);
        return rc;
    });
    EXPECT_GT(faults, 8);
}

}  // namespace
