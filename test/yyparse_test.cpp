// Tests of the parser driver over the calculator and the parentheses
// grammars (grammar/*.y, tables made by scripts/yacc-tables): reductions of
// valid input against bison's parser of the same grammar, hand traces of
// errors and recovery, the value and growth rules, failures and memory.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "oom.h"
#include "parens_tab.h"
#include "tag_fixture.h"
#include "vectors.h"
#include "yyparse.h"
#include "yyparse_calc.h"

namespace {

class YyParse : public TaggedTest {};

// Valid streams: bison's parser, built from the same grammar with each
// action logging its rule, gives the reductions (test/data/gen_yacc_vectors.py).
TEST_F(YyParse, ReductionsOfValidInputMatchBison) {
    int streams = 0;
    for (const VectorRow &v : vectors_read("good-yacc-calc.txt", '|')) {
        CalcRun run(v[0]);
        run.toksize = 8 << (streams % 3);  // 8, 16 and 32 bytes
        run.setup(sub, streams % 4);
        ASSERT_EQ(run.parse(), sOKAY) << v[0];
        EXPECT_EQ(calc_rules_text(run.rules), v[1].substr(v[1].find_first_not_of(' '))) << v[0];
        b_yyterm(&run.pd);
        ++streams;
    }
    EXPECT_EQ(streams, 600);
}

struct Trace {
    const char *tokens;
    const char *rules;
    ZEL_RETCODE rc;
};

// Derived by hand from the tables of grammar/calc.y (rules numbered as there:
// 1 list: empty, 2 list expr ';', 3 list error ';', 9 expr: NUM). After an
// error the parser shifts `error` with errflag 3; each token shifted lowers it
// by one, and an accept before it is back at 0 is eBASE_SYNTAX.
constexpr Trace kTraces[] = {
    // '+' meets ';': pop to state 1, shift error, shift ';' (errflag 2),
    // reduce 3, accept with errflag 2.
    {"NUM + ;", "1 9 3", eBASE_SYNTAX},
    // ... then NUM and ';' shifted: errflag 0 at the accept.
    {"NUM + ; NUM ;", "1 9 3 9 2", sOKAY},
    // The error at the first token: '+' dropped in the error state.
    {"+ ; NUM ;", "1 3 9 2", sOKAY},
    {"NUM ; + ;", "1 9 2 3", eBASE_SYNTAX},
    // Errors with errflag 2 recover again without a report.
    {"; ; ;", "1 3 3 3", eBASE_SYNTAX},
    // The end of input in the error state, with errflag 3.
    {"NUM", "1 9", eBASE_SYNTAX},
    {"( NUM", "1 9", eBASE_SYNTAX},
    {"", "1", sOKAY},
    {"- NUM * NUM + NUM ;", "1 9 10 9 6 9 4 2", sOKAY},
};

TEST_F(YyParse, HandTracesOfErrorsAndRecovery) {
    for (const Trace &t : kTraces) {
        CalcRun run(t.tokens);
        run.setup(sub);
        run.pd.yysyntaxerr = CalcRun::report;
        EXPECT_EQ(run.parse(), t.rc) << t.tokens;
        EXPECT_EQ(calc_rules_text(run.rules), t.rules) << t.tokens;
        // Every error here is recovered from: state 1 shifts `error`.
        EXPECT_EQ(run.reports, 0) << t.tokens;
        b_yyterm(&run.pd);
    }
}

TEST_F(YyParse, EvaluatesAndReportsEachStatement) {
    CalcRun run("2 * ( 3 + 4 ) ; 10 - 2 - 3 ; 2 + 3 * 4 ; - 2 * 3 ;");
    run.setup(sub);
    EXPECT_EQ(run.parse(), sOKAY);
    EXPECT_EQ(run.statements, (std::vector<uint64_t>{14, 5, 14, uint64_t(-6)}));
    b_yyterm(&run.pd);
}

// A parser context that counts the reports of a failed recovery.
struct ParensRun {
    std::string text;
    size_t next = 0;
    int reports = 0;
    std::vector<int> rules;
    std::vector<uint8_t> emptyDefaults;  // first byte of yyval at each empty rule
    B_YYPDATA pd{};

    static int16_t lex(B_PYYCONTEXT ctx, B_PYYSTYPE lval) {
        auto *r = static_cast<ParensRun *>(ctx);
        if (r->next >= r->text.size()) return -7;  // negative: the end of input
        const size_t pos = ++r->next;
        if (r->pd.yytoksize != 0) std::memset(lval, int(pos), r->pd.yytoksize);
        return parens_yychar[uint8_t(r->text[pos - 1])];
    }
    static ZEL_RETCODE act(B_PYYCONTEXT ctx, B_PYYSTYPE, int16_t rule, B_PYYSTYPE val) {
        auto *r = static_cast<ParensRun *>(ctx);
        r->rules.push_back(rule);
        if (rule == 1 && r->pd.yytoksize != 0)
            r->emptyDefaults.push_back(*static_cast<uint8_t *>(val));
        return sOKAY;  // the value stays the default
    }
    static void report(B_PYYCONTEXT ctx) { ++static_cast<ParensRun *>(ctx)->reports; }

    ParensRun(B_TAG_SUB sub, size_t toksize, int32_t maxdepth) {
        pd.yytoksize = toksize;
        pd.yyctx = this;
        pd.yytab = &parens_tables;
        pd.yylex = lex;
        pd.yyacts = act;
        pd.yysyntaxerr = report;
        pd.yysubtag = sub;
        pd.yymaxdepth = maxdepth;
    }
    ZEL_RETCODE parse(const std::string &t) {
        text = t;
        next = 0;
        rules.clear();
        emptyDefaults.clear();
        return b_yyparse(&pd);
    }
};

TEST_F(YyParse, WithoutErrorRulesTheReportComesOnce) {
    ParensRun run(sub, 8, 150);
    // ')' after the empty s: state 1 has no error shift, nor has state 0.
    EXPECT_EQ(run.parse(")"), eBASE_SYNTAX);
    EXPECT_EQ(run.reports, 1);
    EXPECT_EQ(calc_rules_text(run.rules), "1");
    // No report either when nothing goes wrong or when there is no handler.
    EXPECT_EQ(run.parse("(()())"), sOKAY);
    EXPECT_EQ(run.reports, 1);
    run.pd.yysyntaxerr = nullptr;
    EXPECT_EQ(run.parse("(("), eBASE_SYNTAX);
    EXPECT_EQ(run.reports, 1);
    b_yyterm(&run.pd);
}

// "(())" with values equal to the token's position (bytes 1, 2, 3, 4):
//   ( ( shifted at depths 1, 2; ')' at 3: s -> empty at depth 2 reads slot 3,
//   never written (0); ')' shifted at depth 4; ')' at 4: s -> empty reads
//   slot 5 (0); rule 2 pops to depth 1 and its default is slot 2 (the second
//   '(': 2); ')' shifted at depth 3; the end: s -> empty at depth 3 reads
//   slot 4, which still holds the first ')' (3).
TEST_F(YyParse, DefaultValueIsTheSlotAboveAlsoForEmptyRules) {
    for (size_t toksize : {8, 12, 16, 32}) {
        ParensRun run(sub, toksize, 150);
        EXPECT_EQ(run.parse("(())"), sOKAY);
        EXPECT_EQ(calc_rules_text(run.rules), "1 1 2 1 2");
        EXPECT_EQ(run.emptyDefaults, (std::vector<uint8_t>{0, 0, 3}));
        // A later parse starts from cleared blocks again.
        EXPECT_EQ(run.parse("()"), sOKAY);
        EXPECT_EQ(run.emptyDefaults, (std::vector<uint8_t>{0, 0}));
        b_yyterm(&run.pd);
    }
}

TEST_F(YyParse, StacksGrowByFiveFromTheFirstPush) {
    // Start 1: the first push (depth 0) reaches yymaxdepth - 1 and grows to 6;
    // start 0 grows to 5. The empty input pushes to depth 1 only.
    for (int32_t start : {0, 1}) {
        CalcRun run("");
        run.setup(sub, start);
        EXPECT_EQ(run.parse(), sOKAY);
        EXPECT_EQ(run.pd.yymaxdepth, start + 5);
        b_yyterm(&run.pd);
    }
    // k '(' then k ')': the deepest push is at depth k + 3 (k parentheses,
    // the empty s, a ')' and the second empty s); a push at depth d grows
    // while d >= yymaxdepth - 1, so from 1 the end value is 1 + 5 * (d / 5 + 1).
    for (int k : {1, 2, 7, 10, 100, 1000}) {
        ParensRun run(sub, 16, 1);
        EXPECT_EQ(run.parse(std::string(size_t(k), '(') + std::string(size_t(k), ')')), sOKAY);
        const int32_t d = k + 3;
        EXPECT_EQ(run.pd.yymaxdepth, 1 + 5 * (d / 5 + 1)) << k;
        b_yyterm(&run.pd);
    }
}

// A default-only state reduces before any lex call (list -> empty in state
// 0); any negative token is the end of input.
TEST_F(YyParse, DefaultOnlyStateAndNegativeEndToken) {
    CalcRun run("NUM ;");
    run.endToken = -1;
    run.setup(sub);
    EXPECT_EQ(run.parse(), sOKAY);
    EXPECT_EQ(run.lexCallsAtFirstReduce, 0);
    EXPECT_EQ(calc_rules_text(run.rules), "1 9 2");
    run.endToken = INT16_MIN;
    EXPECT_EQ(run.parse(), sOKAY);
    b_yyterm(&run.pd);
}

TEST_F(YyParse, ActionCodeComesBackUnchanged) {
    for (ZEL_RETCODE code : {eFAIL, eNOMEMORY, sNOTFOUND, sTIMEOUT}) {
        CalcRun run("NUM + NUM ; NUM ;");
        run.failRule = 4;
        run.failCode = code;
        run.setup(sub);
        EXPECT_EQ(run.parse(), code);
        EXPECT_EQ(calc_rules_text(run.rules), "1 9 9 4");
        b_yyterm(&run.pd);
    }
}

TEST_F(YyParse, TermNullsTheBlocksAndZeroSizedValuesTakeOneByte) {
    ParensRun run(sub, 0, 3);
    EXPECT_EQ(run.parse("(()"), eBASE_SYNTAX);
    EXPECT_EQ(run.parse("()()"), sOKAY);
    ASSERT_NE(run.pd.yyval, nullptr);
    b_yyterm(&run.pd);
    EXPECT_EQ(run.pd.yys, nullptr);
    EXPECT_EQ(run.pd.yyv, nullptr);
    EXPECT_EQ(run.pd.yyval, nullptr);
    EXPECT_EQ(run.pd.yylval, nullptr);
    b_yyterm(&run.pd);  // a second term does nothing
}

TEST_F(YyParse, OutOfMemoryAtTheFirstBlocksAndAtGrowth) {
    // The first blocks: any of the four failing leaves none allocated.
    const int first = oom_check(master, {sub}, [&] {
        CalcRun run("NUM + NUM ;");
        run.setup(sub);
        const ZEL_RETCODE rc = run.parse();
        if (rc == sOKAY) {
            EXPECT_EQ(run.statements, (std::vector<uint64_t>{3}));
        } else {
            EXPECT_EQ(run.pd.yys, nullptr);
        }
        b_yyterm(&run.pd);
        return rc;
    });
    EXPECT_EQ(first, 4);
    // Growth: 300 nested parentheses from yymaxdepth 1 move the blocks
    // several times; a failure keeps the stacks and yymaxdepth as they were.
    const std::string deep = std::string(300, '(') + std::string(300, ')');
    const int growth = oom_check(master, {sub}, [&] {
        ParensRun run(sub, 32, 1);
        const ZEL_RETCODE rc = run.parse(deep);
        if (rc == eNOMEMORY && run.pd.yys != nullptr) {
            EXPECT_EQ((run.pd.yymaxdepth - 1) % 5, 0);
            EXPECT_LT(run.pd.yymaxdepth, 1 + 5 * (303 / 5 + 1));
        }
        b_yyterm(&run.pd);
        return rc;
    });
    EXPECT_GT(growth, 4);
}

}  // namespace
