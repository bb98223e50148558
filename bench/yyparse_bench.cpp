// The parser driver against bison's own parser of the same grammar
// (grammar/calc.y), on the same pre-lexed tokens with the same arithmetic on
// 8-byte values: one million tokens of random statements, and one statement
// nested 5,000 parentheses deep, the driver starting from yymaxdepth 1 (its
// stacks grow by 5 visibly, by doubling underneath).
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "calc_tab.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "yyparse.h"

#ifdef ZELBASE_HAVE_BISON
extern "C" int calc_bison_num(void);
extern "C" int calc_bison_parse(const int *toks, const uint64_t *vals, size_t n);
#endif

namespace {

// Statements as characters, 'n' standing for a number.
void benchExpr(std::mt19937 &rng, int depth, std::string &out) {
    const unsigned k = rng() % 100;
    if (depth >= 6 || k < 35) {
        out += 'n';
    } else if (k < 45) {
        out += '(';
        benchExpr(rng, depth + 1, out);
        out += ')';
    } else if (k < 55) {
        out += '-';
        benchExpr(rng, depth + 1, out);
    } else {
        benchExpr(rng, depth + 1, out);
        out += "+-*/"[rng() % 4];
        benchExpr(rng, depth + 1, out);
    }
}

struct Tokens {
    std::vector<int16_t> zel;  // the driver's terminal numbers
    std::vector<int> bison;    // bison's token codes
    std::vector<uint64_t> vals;
    explicit Tokens(const std::string &text) {
        uint64_t n = 0;
        for (char c : text) {
            zel.push_back(c == 'n' ? int16_t(CALC_NUM) : calc_yychar[uint8_t(c)]);
#ifdef ZELBASE_HAVE_BISON
            bison.push_back(c == 'n' ? calc_bison_num() : c);
#endif
            vals.push_back(c == 'n' ? ++n % 97 + 1 : 0);
        }
    }
};

const Tokens &millionTokens() {
    static const Tokens t = [] {
        std::mt19937 rng(7);
        std::string text;
        while (text.size() < 1000000) {
            benchExpr(rng, 0, text);
            text += ';';
        }
        return Tokens(text);
    }();
    return t;
}

const Tokens &nested() {
    static const Tokens t(std::string(5000, '(') + "n" + std::string(5000, ')') + ";");
    return t;
}

struct Lexer {
    const Tokens *t;
    size_t pos;
    uint64_t last;  // the value of the last statement
};

int16_t benchLex(B_PYYCONTEXT ctx, B_PYYSTYPE lval) {
    auto *l = static_cast<Lexer *>(ctx);
    if (l->pos >= l->t->zel.size()) return 0;
    std::memcpy(lval, &l->t->vals[l->pos], sizeof(uint64_t));
    return l->t->zel[l->pos++];
}

inline uint64_t benchAt(const uint8_t *top, int back) {
    uint64_t v;
    std::memcpy(&v, top - 8 * back, sizeof v);
    return v;
}

// The arithmetic of grammar/calc.y's actions.
ZEL_RETCODE benchAct(B_PYYCONTEXT ctx, B_PYYSTYPE top, int16_t rule, B_PYYSTYPE val) {
    const auto *t = static_cast<const uint8_t *>(top);
    uint64_t v;
    switch (rule) {
        case 1:
            v = 0;
            break;
        case 2:
            v = benchAt(t, 1);
            static_cast<Lexer *>(ctx)->last = v;
            break;
        case 3:
            v = 0;
            break;
        case 4:
            v = benchAt(t, 2) + benchAt(t, 0);
            break;
        case 5:
            v = benchAt(t, 2) - benchAt(t, 0);
            break;
        case 6:
            v = benchAt(t, 2) * benchAt(t, 0);
            break;
        case 7:
            v = benchAt(t, 0) ? benchAt(t, 2) / benchAt(t, 0) : 0;
            break;
        case 8:
            v = benchAt(t, 1);
            break;
        case 9:
            v = benchAt(t, 0);
            break;
        case 10:
            v = 0 - benchAt(t, 0);
            break;
        default:
            return eFAIL;
    }
    std::memcpy(val, &v, sizeof v);
    return sOKAY;
}

void zelParse(benchmark::State &state, const Tokens &tokens, int32_t startDepth) {
    B_TAG_MASTER master;
    B_TAG_SUB sub;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY || b_tag_subCreate(master, &sub) != sOKAY)
        return state.SkipWithError("no tags");
    for (auto _ : state) {
        Lexer lex{&tokens, 0, 0};
        B_YYPDATA pd{};
        pd.yytoksize = 8;
        pd.yyctx = &lex;
        pd.yytab = &calc_tables;
        pd.yylex = benchLex;
        pd.yyacts = benchAct;
        pd.yysubtag = sub;
        pd.yymaxdepth = startDepth;
        if (b_yyparse(&pd) != sOKAY) state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(lex.last);
        b_yyterm(&pd);
    }
    state.SetItemsProcessed(int64_t(state.iterations() * tokens.zel.size()));
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

void BM_Million_zel(benchmark::State &state) {
    zelParse(state, millionTokens(), 150);
}
BENCHMARK(BM_Million_zel)->Name("Parse1M/zel_yyparse")->Unit(benchmark::kMillisecond);

void BM_Nest5000_zel(benchmark::State &state) {
    zelParse(state, nested(), 1);
}
BENCHMARK(BM_Nest5000_zel)->Name("Nest5000/zel_yyparse_from_1");

#ifdef ZELBASE_HAVE_BISON
void bisonParse(benchmark::State &state, const Tokens &tokens) {
    for (auto _ : state) {
        if (calc_bison_parse(tokens.bison.data(), tokens.vals.data(), tokens.bison.size()) != 0)
            state.SkipWithError("bison parse failed");
    }
    state.SetItemsProcessed(int64_t(state.iterations() * tokens.bison.size()));
}

void BM_Million_bison(benchmark::State &state) {
    bisonParse(state, millionTokens());
}
BENCHMARK(BM_Million_bison)->Name("Parse1M/bison_yyparse")->Unit(benchmark::kMillisecond);

void BM_Nest5000_bison(benchmark::State &state) {
    bisonParse(state, nested());
}
BENCHMARK(BM_Nest5000_bison)->Name("Nest5000/bison_yyparse");
#endif

}  // namespace

BENCHMARK_MAIN();
