// `zelbase parse GRAMMAR TEXT` runs the parser driver over one of the built-in
// grammars (calc: statements of arithmetic ended by ';'; parens: balanced
// parentheses) and prints each shift, goto and reduction with the rule's text
// and the state stack, then the value of each calculator statement and the
// code. The driver reports only reductions; the shifts and gotos between two
// of them are read off the state stack, each state's entering symbol being
// yychk[state].
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "calc_tab.h"
#include "error.h"
#include "parens_tab.h"
#include "yyparse.h"
#include "zelbase_cmds.h"

int zb_cmd_parse(int argc, char **argv);

namespace {

struct ZbGrammar {
    const char *name;
    const B_YYTABLES *tables;
    const int16_t *charmap;
    int nchars;
    int16_t unknown;
    int16_t number;  // the terminal of a number, or -1 when the grammar has none
    const char *const *tnames;
    const char *const *nnames;
    const char *const *rules;
    bool evaluate;
};

const ZbGrammar kGrammars[] = {
    {"calc", &calc_tables, calc_yychar, CALC_NCHARS, CALC_UNK, CALC_NUM, calc_yytname, calc_yynname,
     calc_yyrule, true},
    {"parens", &parens_tables, parens_yychar, PARENS_NCHARS, PARENS_UNK, -1, parens_yytname,
     parens_yynname, parens_yyrule, false},
};

struct ZbParse {
    const ZbGrammar *g;
    const char *text;
    size_t pos;
    B_YYPDATA pd;
    std::vector<int16_t> known;  // the states already shown
    std::vector<uint64_t> results;
    FILE *out;
    bool trace;           // every event, or only the rule numbers
    std::string reduced;  // the rule numbers, without trace
    int recovered;        // reductions of the calculator's error rule
};

std::string zb_parse_stack(const int16_t *s, size_t n) {
    std::string t;
    for (size_t i = 0; i < n; ++i) {
        if (i != 0) t += ' ';
        t += std::to_string(s[i]);
    }
    return t;
}

int16_t zb_parse_lex(B_PYYCONTEXT ctx, B_PYYSTYPE lval) {
    auto *p = static_cast<ZbParse *>(ctx);
    const char *s = p->text;
    while (s[p->pos] == ' ' || s[p->pos] == '\t' || s[p->pos] == '\n') ++p->pos;
    const unsigned char c = static_cast<unsigned char>(s[p->pos]);
    if (c == 0) return 0;
    uint64_t v = 0;
    if (p->g->number >= 0 && c >= '0' && c <= '9') {
        while (s[p->pos] >= '0' && s[p->pos] <= '9') v = v * 10 + uint64_t(s[p->pos++] - '0');
        std::memcpy(lval, &v, sizeof v);
        return p->g->number;
    }
    ++p->pos;
    std::memcpy(lval, &v, sizeof v);
    return c < p->g->nchars ? p->g->charmap[c] : p->g->unknown;
}

// Signed division of two's-complement values; x / 0 is 0 and the one
// overflowing quotient wraps, as the other operations do.
uint64_t zb_parse_divide(uint64_t a, uint64_t b) {
    if (b == 0) return 0;
    if (b == ~uint64_t{0}) return 0 - a;
    return uint64_t(int64_t(a) / int64_t(b));
}

std::string zb_parse_equals(uint64_t v) {
    std::string s = " = ";
    s += std::to_string(int64_t(v));
    return s;
}

uint64_t zb_parse_value(const uint8_t *slot) {
    uint64_t v;
    std::memcpy(&v, slot, sizeof v);
    return v;
}

// The states pushed since the last event: shifts of terminals and gotos.
void zb_parse_catchUp(ZbParse *p, size_t depth) {
    const int16_t *s = p->pd.yys;
    size_t i = 0;
    while (i < p->known.size() && i <= depth && p->known[i] == s[i]) ++i;
    for (; i <= depth; ++i) {
        const int16_t sym = p->pd.yytab->yychk[s[i]];
        std::string what;
        if (i == 0) {
            what = "start";
        } else if (sym < 0) {
            what = "goto ";
            what += p->g->nnames[-sym];
        } else {
            what = "shift ";
            what += p->g->tnames[sym];
            if (sym == p->g->number) {
                what += ' ';
                what += std::to_string(zb_parse_value(p->pd.yyv + i * sizeof(uint64_t)));
            }
        }
        std::fprintf(p->out, "  %-34s -> %-4d stack %s\n", what.c_str(), s[i],
                     zb_parse_stack(s, i + 1).c_str());
    }
}

ZEL_RETCODE zb_parse_act(B_PYYCONTEXT ctx, B_PYYSTYPE top, int16_t rule, B_PYYSTYPE val) {
    auto *p = static_cast<ZbParse *>(ctx);
    const auto *t = static_cast<const uint8_t *>(top);
    const size_t depth = size_t(t - p->pd.yyv) / sizeof(uint64_t);
    if (p->trace) zb_parse_catchUp(p, depth);
    const int len = p->pd.yytab->yyr2[rule];
    auto at = [&](int k) { return zb_parse_value(t - sizeof(uint64_t) * size_t(len - k)); };
    uint64_t v = 0;
    std::string note;
    if (p->g->evaluate) {
        switch (rule) {
            case 2:
                v = at(2);
                p->results.push_back(v);
                note = zb_parse_equals(v);
                break;
            case 3:
                ++p->recovered;
                note = " (recovered)";
                break;
            case 4:
                v = at(1) + at(3);
                break;
            case 5:
                v = at(1) - at(3);
                break;
            case 6:
                v = at(1) * at(3);
                break;
            case 7:
                v = zb_parse_divide(at(1), at(3));
                break;
            case 8:
                v = at(2);
                break;
            case 9:
                v = at(1);
                break;
            case 10:
                v = 0 - at(2);
                break;
            default:
                break;
        }
        if (rule >= 4) note = zb_parse_equals(v);
    }
    std::memcpy(val, &v, sizeof v);
    if (!p->trace) {
        if (!p->reduced.empty()) p->reduced += ' ';
        p->reduced += std::to_string(rule);
        return sOKAY;
    }
    char label[96];
    std::snprintf(label, sizeof label, "reduce %d: %s%s", rule, p->g->rules[rule], note.c_str());
    std::fprintf(p->out, "  %-42s stack %s\n", label, zb_parse_stack(p->pd.yys, depth + 1).c_str());
    p->known.assign(p->pd.yys, p->pd.yys + depth + 1 - size_t(len));
    return sOKAY;
}

const char *zb_parse_code(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return "?";
}

}  // namespace

// Runs `text` through the named grammar, printing every event to `out`, or
// only the rule numbers; 0 when accepted without error, 1 otherwise.
int zb_parse_run(FILE *out, const char *grammar, const char *text, bool trace) {
    const ZbGrammar *g = nullptr;
    for (const ZbGrammar &k : kGrammars)
        if (std::strcmp(k.name, grammar) == 0) g = &k;
    if (g == nullptr) return zb_usageError("Unknown grammar '%s': calc or parens", grammar);
    ZbTags tags;
    if (!tags.ok()) return 1;
    ZbParse p{g, text, 0, B_YYPDATA{}, {}, {}, out, trace, {}, 0};
    p.pd.yytoksize = sizeof(uint64_t);
    p.pd.yyctx = &p;
    p.pd.yytab = g->tables;
    p.pd.yylex = zb_parse_lex;
    p.pd.yyacts = zb_parse_act;
    p.pd.yysubtag = tags.sub;
    p.pd.yymaxdepth = 1;
    const ZEL_RETCODE rc = b_yyparse(&p.pd);
    if (!trace) {
        std::fprintf(out, "reductions: %s\nstatements:", p.reduced.c_str());
        for (uint64_t v : p.results) std::fprintf(out, " %" PRId64, int64_t(v));
        std::fprintf(out, "; errors recovered: %d\n", p.recovered);
    } else {
        for (uint64_t v : p.results) std::fprintf(out, "%" PRId64 "\n", int64_t(v));
    }
    std::fprintf(out, "%s (stacks grew to %d entries)\n", zb_parse_code(rc), p.pd.yymaxdepth);
    b_yyterm(&p.pd);
    return rc == sOKAY ? 0 : 1;
}

int zb_cmd_parse(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"G", nullptr, "#:calc|parens",
         "calc: numbers, + - * / ( ) and unary minus, statements ended by ';'; parens: "
         "balanced parentheses"},
        {"T", nullptr, "#:TEXT", "The text to parse"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Runs the parser driver over a built-in grammar and prints each "
                              "shift, goto\nand reduction with the state stack, then the "
                              "values and the code.\nA text that starts with '-' is written "
                              "with a leading blank (' -1;'): an\nelement that starts with '-' "
                              "is an option.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *grammar = nullptr, *text = nullptr;
    (void)zel_cmdlineNextLongOption(&cmd, &grammar);
    (void)zel_cmdlineNextLongOption(&cmd, &text);
    return zb_parse_run(stdout, grammar, text, true);
}
