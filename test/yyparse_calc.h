// yyparse_calc.h - the calculator grammar run through b_yyparse for the
// tests: a lexer over a list of token names, actions that log each rule and
// evaluate, values of any size of at least 8 bytes (an unsigned number in the first 8,
// so that arithmetic wraps).
#ifndef YYPARSE_CALC_H
#define YYPARSE_CALC_H

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "calc_tab.h"
#include "yyparse.h"

// "NUM", "+", "(", ...: the terminal of a token name; -1 when unknown.
inline int16_t calc_token(const std::string &name) {
    if (name == "NUM") return CALC_NUM;
    if (name.size() == 1 && uint8_t(name[0]) < CALC_NCHARS) return calc_yychar[uint8_t(name[0])];
    return -1;
}

struct CalcRun {
    std::vector<int16_t> toks;
    std::vector<uint64_t> vals;
    size_t next = 0;
    int lexCalls = 0;
    int reports = 0;  // calls of the syntax error handler
    int lexCallsAtFirstReduce = -1;
    std::vector<int> rules;
    std::vector<uint64_t> statements;  // the value of each statement, in order
    int failRule = 0;                  // an action of this rule returns failCode
    ZEL_RETCODE failCode = sOKAY;
    int16_t endToken = CALC_END;  // what the lexer returns past the end
    size_t toksize = 8;
    B_YYPDATA pd{};

    // Tokens as names separated by blanks; NUM takes the values 1, 2, 3, ...
    // in order unless a number is written instead ("2 * ( 3 + 4 ) ;").
    explicit CalcRun(const std::string &text) {
        std::istringstream in(text);
        std::string w;
        uint64_t n = 0;
        while (in >> w) {
            if (w[0] >= '0' && w[0] <= '9') {
                toks.push_back(CALC_NUM);
                vals.push_back(std::stoull(w));
            } else {
                toks.push_back(calc_token(w));
                vals.push_back(w == "NUM" ? ++n : 0);
            }
        }
    }

    static int16_t lex(B_PYYCONTEXT ctx, B_PYYSTYPE lval) {
        auto *r = static_cast<CalcRun *>(ctx);
        ++r->lexCalls;
        if (r->next >= r->toks.size()) return r->endToken;
        const uint64_t v = r->vals[r->next];
        std::memcpy(lval, &v, sizeof v);
        return r->toks[r->next++];
    }

    static void report(B_PYYCONTEXT ctx) { ++static_cast<CalcRun *>(ctx)->reports; }

    static uint64_t at(B_PYYSTYPE top, size_t toksize, int back) {
        uint64_t v;
        std::memcpy(&v, static_cast<uint8_t *>(top) - ptrdiff_t(toksize) * back, sizeof v);
        return v;
    }

    static ZEL_RETCODE act(B_PYYCONTEXT ctx, B_PYYSTYPE top, int16_t rule, B_PYYSTYPE val) {
        auto *r = static_cast<CalcRun *>(ctx);
        if (r->lexCallsAtFirstReduce < 0) r->lexCallsAtFirstReduce = r->lexCalls;
        r->rules.push_back(rule);
        if (rule == r->failRule) return r->failCode;
        const size_t ts = r->toksize;
        uint64_t v = 0;  // unsigned: random input may overflow
        switch (rule) {
            case 2:
                v = at(top, ts, 1);
                r->statements.push_back(v);
                break;
            case 4:
                v = at(top, ts, 2) + at(top, ts, 0);
                break;
            case 5:
                v = at(top, ts, 2) - at(top, ts, 0);
                break;
            case 6:
                v = at(top, ts, 2) * at(top, ts, 0);
                break;
            case 7:
                v = at(top, ts, 0) ? at(top, ts, 2) / at(top, ts, 0) : 0;
                break;
            case 8:
                v = at(top, ts, 1);
                break;
            case 9:
                v = at(top, ts, 0);
                break;
            case 10:
                v = -at(top, ts, 0);
                break;
            default:
                break;
        }
        std::memcpy(val, &v, sizeof v);
        return sOKAY;
    }

    // Fills the parser for `sub`; the caller may change fields before parse().
    void setup(B_TAG_SUB sub, int32_t maxdepth = 150) {
        pd = B_YYPDATA{};
        pd.yytoksize = toksize;
        pd.yyctx = this;
        pd.yytab = &calc_tables;
        pd.yylex = lex;
        pd.yyacts = act;
        pd.yysubtag = sub;
        pd.yymaxdepth = maxdepth;
    }

    ZEL_RETCODE parse() {
        next = 0;
        lexCalls = 0;
        lexCallsAtFirstReduce = -1;
        rules.clear();
        statements.clear();
        return b_yyparse(&pd);
    }
};

inline std::string calc_rules_text(const std::vector<int> &rules) {
    std::string s;
    for (int r : rules) s += (s.empty() ? "" : " ") + std::to_string(r);
    return s;
}

#endif
