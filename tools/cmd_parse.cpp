// `zelbase parse GRAMMAR TEXT` runs the parser driver over one of the built-in
// grammars (calc: statements of arithmetic ended by ';'; parens: balanced
// parentheses), `zelbase parse --tables T.json TOKENS` over the JSON tables
// of any grammar (scripts/yacc-tables --json), and prints each shift, goto and
// reduction with the rule's text and the state stack, then the value of each
// calculator statement and the code. The driver reports only reductions; the
// shifts and gotos between two of them are read off the state stack, each
// state's entering symbol being yychk[state].
#include <algorithm>
#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "calc_tab.h"
#include "error.h"
#include "file.h"
#include "input.h"
#include "json.h"
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
    size_t nterminals;
    const char *const *nnames;
    size_t nnonterminals;
    const char *const *rules;
    bool evaluate;
    bool words;     // a word that names a terminal is that terminal
    size_t states;  // entries of yypact
};

const ZbGrammar kGrammars[] = {
    {"calc", &calc_tables, calc_yychar, CALC_NCHARS, CALC_UNK, CALC_NUM, calc_yytname,
     std::size(calc_yytname), calc_yynname, std::size(calc_yynname), calc_yyrule, true, false,
     std::size(calc_yypact)},
    {"parens", &parens_tables, parens_yychar, PARENS_NCHARS, PARENS_UNK, -1, parens_yytname,
     std::size(parens_yytname), parens_yynname, std::size(parens_yynname), parens_yyrule, false,
     false, std::size(parens_yypact)},
};

struct ZbParse {
    const ZbGrammar *g;
    const char *text;
    size_t pos;
    size_t plain;  // up to here characters go through the map: a word that named nothing
    B_YYPDATA pd;
    std::vector<int16_t> known;  // the states already shown
    std::vector<uint64_t> results;
    FILE *out;
    bool trace;           // every event, or only the rule numbers
    std::string reduced;  // the rule numbers, without trace
    int recovered;        // reductions of the calculator's error rule
    // Reductions since the last token, and the stack's depth then (at most):
    // tables that reduce on and on without input are stopped.
    size_t sinceLex, lexDepth, depth;
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
    p->lexDepth = ++p->depth;
    p->sinceLex = 0;
    const char *s = p->text;
    while (s[p->pos] == ' ' || s[p->pos] == '\t' || s[p->pos] == '\n') ++p->pos;
    const unsigned char c = static_cast<unsigned char>(s[p->pos]);
    if (c == 0) return 0;
    uint64_t v = 0;
    std::memcpy(lval, &v, sizeof v);
    if (p->g->number >= 0 && c >= '0' && c <= '9') {
        while (s[p->pos] >= '0' && s[p->pos] <= '9') v = v * 10 + uint64_t(s[p->pos++] - '0');
        std::memcpy(lval, &v, sizeof v);
        return p->g->number;
    }
    auto inWord = [](char k) {
        return std::isalnum(static_cast<unsigned char>(k)) || k == '_' || k == '$';
    };
    if (p->g->words && p->pos >= p->plain && inWord(s[p->pos])) {
        size_t end = p->pos;
        while (inWord(s[end])) ++end;
        for (size_t t = 0; t < p->g->nterminals; ++t) {
            const char *name = p->g->tnames[t];
            if (std::strlen(name) == end - p->pos &&
                std::memcmp(name, s + p->pos, end - p->pos) == 0) {
                p->pos = end;
                return int16_t(t);
            }
        }
        p->plain = end;
    }
    ++p->pos;
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

const char *zb_parse_name(const char *const *names, size_t n, int32_t i) {
    return i >= 0 && size_t(i) < n ? names[i] : "?";
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
            what += zb_parse_name(p->g->nnames, p->g->nnonterminals, -int32_t(sym));
        } else {
            what = "shift ";
            what += zb_parse_name(p->g->tnames, p->g->nterminals, sym);
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
    if (++p->sinceLex > (p->lexDepth + 2) * (p->g->states + 1)) return eINVALID;
    p->depth = depth + 1 - size_t(len);
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

// Runs `text` through `g`, printing every event to `out`, or only the rule
// numbers; 0 when accepted without error, 1 otherwise.
int zb_parse_with(FILE *out, const ZbGrammar *g, const char *text, bool trace) {
    ZbTags tags;
    if (!tags.ok()) return 1;
    ZbParse p{g, text, 0, 0, B_YYPDATA{}, {}, {}, out, trace, {}, 0, 0, 0, 0};
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

// ---- Tables read from the JSON of scripts/yacc-tables --json.

enum ZbArray {
    kZbExca,
    kZbAct,
    kZbPact,
    kZbPgo,
    kZbR1,
    kZbR2,
    kZbChk,
    kZbDef,
    kZbCharmap,
    kZbArrays
};
const char *const kZbArrayKeys[kZbArrays] = {"yyexca", "yyact", "yypact", "yypgo",  "yyr1",
                                             "yyr2",   "yychk", "yydef",  "charmap"};
const char *const kZbNameKeys[] = {"terminals", "nonterminals", "rules"};

// The numbers in arrays from the tag (yyr1 and yyr2 unsigned, the rest signed,
// all 16 bits), the names in std containers.
struct ZbJsonTables {
    B_TAG_SUB sub;
    uint16_t *arr[kZbArrays] = {};
    size_t len[kZbArrays] = {};
    bool have[kZbArrays] = {};
    int64_t errcode = INT64_MIN, last = INT64_MIN;
    std::vector<std::string> names[3];
    bool haveNames[3] = {};
    std::vector<const char *> ptrs[3];
    B_YYTABLES tables{};
    explicit ZbJsonTables(B_TAG_SUB s) : sub(s) {}
    ~ZbJsonTables() {
        for (uint16_t *a : arr) b_tag_subFreeCanBeNull(sub, a);
    }
    const int16_t *s16(ZbArray k) const { return reinterpret_cast<const int16_t *>(arr[k]); }
};

// Reads what is left of the open arrays and objects down to `depth` open ones.
ZEL_RETCODE zb_tables_skip(B_JSON_T *j, size_t depth) {
    ZEL_RETCODE rc = sOKAY;
    while (rc == sOKAY && j->stack.pos > depth)
        rc = j->stack.array[j->stack.pos - 1] == jvOBJECT ? b_jsonNextPair(j, nullptr, nullptr)
                                                          : b_jsonNextValue(j, nullptr, nullptr);
    return rc;
}

// The elements of the open array: numbers into t->arr[k], or strings into
// t->names[k]. *bad when one is of the wrong type or out of range.
ZEL_RETCODE zb_tables_array(B_JSON_T *j, ZbJsonTables *t, int k, bool numbers, bool *bad) {
    const size_t depth = j->stack.pos - 1;
    const bool isUnsigned = numbers && (k == kZbR1 || k == kZbR2);
    size_t cap = 0;
    ZEL_RETCODE rc;
    for (;;) {
        B_JSON_VAL v{};
        ZEL_CHECK(rc = b_jsonNextValue(j, nullptr, &v));
        if (v.type == jvEND) return sOKAY;
        if (v.type == jvSTRING && !numbers) {
            t->names[k].emplace_back(v.v.str);
            b_tag_subFree(t->sub, v.v.str);
            continue;
        }
        if (v.type == jvSTRING) b_tag_subFree(t->sub, v.v.str);
        const int64_t lo = isUnsigned ? 0 : INT16_MIN, hi = isUnsigned ? UINT16_MAX : INT16_MAX;
        if (!numbers || v.type != jvNUMBER || v.v.num < lo || v.v.num > hi) {
            *bad = true;
            return zb_tables_skip(j, depth);
        }
        if (t->len[k] == cap) {
            const size_t grown = cap == 0 ? 64 : cap * 2;
            ZEL_CHECK(rc = b_tag_subReallocAny(t->sub, t->arr[k], cap * sizeof(uint16_t),
                                               grown * sizeof(uint16_t), &t->arr[k]));
            cap = grown;
        }
        t->arr[k][t->len[k]++] = uint16_t(v.v.num);
    }
}

template <size_t N>
int zb_tables_find(const char *const (&keys)[N], const char *name) {
    for (size_t i = 0; i < N; ++i)
        if (std::strcmp(keys[i], name) == 0) return int(i);
    return -1;
}

// Reads the object of keys. A message in *why for keys that are repeated or
// of the wrong type; keys it does not use ("rhs") are read over.
ZEL_RETCODE zb_tables_read(B_JSON_T *j, ZbJsonTables *t, std::string *why) {
    B_JSON_VALTYPE type;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_jsonNextValue(j, &type, nullptr));
    if (type != jvOBJECT) return *why = "the tables are not a JSON object", sOKAY;
    for (;;) {
        B_JSON_PAIR pair{};
        ZEL_CHECK(rc = b_jsonNextPair(j, &type, &pair));
        if (type == jvEND) return sOKAY;
        const std::string name = pair.name;
        const int64_t num = pair.value.v.num;
        b_jsonFreePair(j, &pair);
        const int a = zb_tables_find(kZbArrayKeys, name.c_str());
        const int n = zb_tables_find(kZbNameKeys, name.c_str());
        int64_t *scalar = name == "yyerrcode" ? &t->errcode : name == "yylast" ? &t->last : nullptr;
        bool bad = false, *seen = a >= 0 ? &t->have[a] : n >= 0 ? &t->haveNames[n] : nullptr;
        if (seen != nullptr) {
            bad = *seen || type != jvARRAY;
            *seen = true;
            if (!bad) ZEL_CHECK(rc = zb_tables_array(j, t, a >= 0 ? a : n, a >= 0, &bad));
        } else if (scalar != nullptr) {
            bad = *scalar != INT64_MIN || type != jvNUMBER || num < INT16_MIN || num > INT16_MAX;
            *scalar = num;
        }
        if (type == jvARRAY || type == jvOBJECT) ZEL_CHECK(rc = zb_tables_skip(j, 1));
        if (bad) return *why = "'" + name + "' is repeated, or of the wrong type or range", sOKAY;
    }
}

bool zb_tables_within(const ZbJsonTables &t, ZbArray k, int64_t lo, int64_t hi, int64_t also) {
    for (size_t i = 0; i < t.len[k]; ++i) {
        const int64_t v = k == kZbR1 ? t.arr[k][i] : t.s16(k)[i];
        if ((v < lo || v >= hi) && v != also) return false;
    }
    return true;
}

// The driver pops a rule's length without looking: every stack it can build is
// a path from state 0 over shift and goto edges, and each reduction it can
// reach must find that many states above state 0 on every path into its
// state. The shift edges come from the states reached; a goto edge only from
// a state that a reduction exposes, as the driver takes it. Repeated until no
// edge is added.
const char *zb_tables_depths(const ZbJsonTables &t) {
    const size_t states = t.len[kZbPact];
    const int16_t *act = t.s16(kZbAct), *chk = t.s16(kZbChk), *def = t.s16(kZbDef);
    std::vector<std::vector<int>> pred(states);
    std::set<std::pair<int, int>> edges;
    std::vector<bool> live(states, false), shifted(states, false);
    live[0] = true;
    bool added = true;
    auto edge = [&](int from, int to) {
        if (edges.insert({from, to}).second)
            pred[size_t(to)].push_back(from), live[size_t(to)] = true, added = true;
    };
    while (added) {
        added = false;
        for (size_t s = 0; s < states; ++s) {
            if (!live[s]) continue;
            const int32_t base = t.s16(kZbPact)[s];
            if (!shifted[s] && base > -1000)
                for (int32_t n = base < 0 ? 0 : base; n < t.last; ++n)
                    if (chk[act[n]] == n - base) edge(int(s), act[n]);
            shifted[s] = true;
            std::vector<int32_t> rules;  // what the state can reduce
            if (def[s] > 0) rules.push_back(def[s]);
            for (size_t i = 0; def[s] == -2 && i < t.len[kZbExca]; i += 2) {
                if (t.s16(kZbExca)[i] != -1 || size_t(t.s16(kZbExca)[i + 1]) != s) continue;
                for (i += 2; t.s16(kZbExca)[i] >= 0; i += 2) rules.push_back(t.s16(kZbExca)[i + 1]);
                rules.push_back(t.s16(kZbExca)[i + 1]);
                break;
            }
            for (int32_t r : rules) {
                if (r <= 0) continue;
                const size_t k = t.arr[kZbR2][r];
                const int32_t nt = t.arr[kZbR1][r], pgo = t.s16(kZbPgo)[nt];
                if (k > states) return "a rule is longer than any path of states";
                std::vector<bool> level(states, false), next(states);
                level[s] = true;
                for (size_t j = 0; j < k; ++j) {
                    if (level[0]) return "a rule pops past state 0";
                    std::fill(next.begin(), next.end(), false);
                    for (size_t q = 0; q < states; ++q)
                        if (level[q])
                            for (int p : pred[q]) next[size_t(p)] = true;
                    level.swap(next);
                }
                for (size_t p = 0; p < states; ++p) {
                    if (!level[p]) continue;
                    const int32_t g = pgo + int32_t(p) + 1;
                    edge(int(p), g < t.last && chk[act[g]] == -nt ? act[g] : act[pgo]);
                }
            }
        }
    }
    return nullptr;
}

// What the driver takes on trust, checked: every index it makes from the
// tables falls inside them. nullptr when they hold, else what is wrong.
const char *zb_tables_check(ZbJsonTables *t) {
    for (bool h : t->have)
        if (!h) return "a table is missing (yyexca ... yydef, charmap)";
    for (bool h : t->haveNames)
        if (!h) return "'terminals', 'nonterminals' or 'rules' is missing";
    if (t->errcode == INT64_MIN || t->last == INT64_MIN)
        return "'yyerrcode' or 'yylast' is missing";
    const size_t states = t->len[kZbPact], rules = t->len[kZbR1];
    if (states == 0 || t->len[kZbChk] != states || t->len[kZbDef] != states)
        return "'yypact', 'yychk' and 'yydef' are not of one length, states >= 1";
    if (t->last < 1 || size_t(t->last) != t->len[kZbAct])
        return "'yylast' is not the length of 'yyact'";
    if (rules == 0 || t->len[kZbR2] != rules || t->names[2].size() != rules)
        return "'yyr1', 'yyr2' and 'rules' are not of one length, rules >= 1";
    if (t->len[kZbPgo] != t->names[1].size()) return "'yypgo' and 'nonterminals' differ in length";
    if (!zb_tables_within(*t, kZbAct, 0, int64_t(states), 0)) return "'yyact' names no state";
    if (!zb_tables_within(*t, kZbPgo, 0, t->last, 0)) return "'yypgo' points outside 'yyact'";
    if (!zb_tables_within(*t, kZbR1, 0, int64_t(t->len[kZbPgo]), 0))
        return "'yyr1' names no nonterminal";
    if (!zb_tables_within(*t, kZbDef, 0, int64_t(rules), -2)) return "'yydef' names no rule";
    // yyexca: rows of -1, state, then (token >= 0, action) pairs, closed by (-2, action);
    // an action is a rule, or negative to accept.
    const int16_t *x = t->s16(kZbExca);
    const size_t n = t->len[kZbExca];
    std::vector<bool> row(states, false);
    for (size_t i = 0; i < n;) {
        if (i + 1 >= n || x[i] != -1 || x[i + 1] < 0 || size_t(x[i + 1]) >= states)
            return "'yyexca' is not rows of -1, state";
        row[size_t(x[i + 1])] = true;
        for (i += 2; i + 1 < n && x[i] >= 0; i += 2)
            if (x[i + 1] >= int64_t(rules)) return "'yyexca' names no rule";
        if (i + 1 >= n || x[i] != -2 || x[i + 1] >= int64_t(rules))
            return "'yyexca' has a row without its closing -2";
        i += 2;
    }
    // After an error the driver drops the look-ahead and tries the state again:
    // a state that neither shifts nor reduces would never read another token.
    for (size_t s = 0; s < states; ++s) {
        if (t->s16(kZbDef)[s] == -2 && !row[s])
            return "a state with yydef -2 has no row in 'yyexca'";
        if (t->s16(kZbPact)[s] <= -1000 && t->s16(kZbDef)[s] == 0)
            return "a state has neither a shift nor a rule";
    }
    if (const char *w = zb_tables_depths(*t)) return w;
    for (size_t k = 0; k < 3; ++k)
        for (const std::string &s : t->names[k]) t->ptrs[k].push_back(s.c_str());
    t->tables = B_YYTABLES{int16_t(t->errcode), int16_t(t->last), x,
                           t->s16(kZbAct),      t->s16(kZbPact),  t->s16(kZbPgo),
                           t->arr[kZbR1],       t->arr[kZbR2],    t->s16(kZbChk),
                           t->s16(kZbDef)};
    return nullptr;
}

// Loads the tables at `path` and runs `text` through them, traced.
int zb_parse_tables(const char *tool, const char *path, const char *text) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    ZbJsonTables t(tags.sub);
    std::string why;
    B_FILE_T file;
    b_fileInit(&file);
    ZEL_RETCODE rc = b_fileOpen(&file, path, B_FILE_FLAGS_READ);
    if (rc == sOKAY) {
        B_INPUT_T in;
        b_inputInitFromFile(&in, &file, tags.sub);
        B_JSON_T j;
        if ((rc = b_jsonInit(&j, &in, tags.sub, nullptr)) == sOKAY) {
            rc = zb_tables_read(&j, &t, &why);
            b_jsonTerm(&j);
        }
        b_fileClose(&file);
    }
    if (rc != sOKAY) return zb_exitCode(rc, tool);
    if (why.empty()) {
        if (const char *w = zb_tables_check(&t)) why = w;
    }
    if (!why.empty()) return zb_usageError("%s: %s", path, why.c_str());
    const size_t nt = t.names[0].size();
    int16_t unknown = int16_t(nt);  // a token no state shifts, when there is no $unk
    for (size_t k = 0; k < nt && k < size_t(INT16_MAX); ++k)
        if (t.names[0][k] == "$unk") unknown = int16_t(k);
    const ZbGrammar g{path,
                      &t.tables,
                      t.s16(kZbCharmap),
                      int(t.len[kZbCharmap]),
                      unknown,
                      -1,
                      t.ptrs[0].data(),
                      nt,
                      t.ptrs[1].data(),
                      t.ptrs[1].size(),
                      t.ptrs[2].data(),
                      false,
                      true,
                      t.len[kZbPact]};
    return zb_parse_with(stdout, &g, text, true);
}

}  // namespace

int zb_parse_run(FILE *out, const char *grammar, const char *text, bool trace) {
    for (const ZbGrammar &k : kGrammars)
        if (std::strcmp(k.name, grammar) == 0) return zb_parse_with(out, &k, text, trace);
    return zb_usageError("Unknown grammar '%s': calc or parens", grammar);
}

int zb_cmd_parse(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"t", "tables", "s:FILE",
         "Tables of any grammar as scripts/yacc-tables --json writes them; the one "
         "positional is then the tokens: a word of letters, digits, '_' or '$' that "
         "names one of its \"terminals\" is that terminal, any other character goes "
         "through its \"charmap\" (calc: 'NUM*(NUM+NUM);'). The rules carry no "
         "actions: no values"},
        {"G", nullptr, "#:calc|parens",
         "calc: numbers, + - * / ( ) and unary minus, statements ended by ';'; parens: "
         "balanced parentheses; the tokens with --tables"},
        {"T", nullptr, "?:TEXT", "The text to parse (none with --tables)"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code =
            zb_cmdline(&cmd, argc, argv,
                       "Runs the parser driver over a built-in grammar, or over --tables, "
                       "and prints each\nshift, goto and reduction with the state stack, then the "
                       "values and the code.\nA text that starts with '-' is written "
                       "with a leading blank (' -1;'): an\nelement that starts with '-' "
                       "is an option.",
                       opts);
        code != kZbGoOn)
        return code;
    const char *tables = nullptr, *grammar = nullptr, *text = nullptr, *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;)
        (std::strcmp(name, "tables") == 0 ? tables
         : std::strcmp(name, "G") == 0    ? grammar
                                          : text) = arg;
    if (tables != nullptr) {
        if (text != nullptr) return zb_usageError("With --tables, only the tokens follow");
        return zb_parse_tables(argv[0], tables, grammar);
    }
    if (text == nullptr) return zb_usageError("No text to parse");
    return zb_parse_run(stdout, grammar, text, true);
}
