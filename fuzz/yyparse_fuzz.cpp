// The parser driver over the calculator's tables on arbitrary token streams.
// The first byte picks the start value of yymaxdepth; every later byte is one
// token (byte % 14: the 12 terminals, a negative token, an out-of-range
// character mapped to $unk). Each value carries the span of tokens it covers
// and its symbol; every action checks that its children are the rule's right
// side, in order, with adjacent spans (a rule with `error` covers the tokens
// that recovery dropped), and an accepted parse covers every token. The codes
// are sOKAY or eBASE_SYNTAX; every block is given back.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "calc_tab.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "yyparse.h"

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

// 12 bytes: not one of the sizes copied as fixed moves.
struct Span {
    int32_t first;   // position of the first token, from 1
    int32_t last;    // position of the last; first - 1 when empty
    int32_t symbol;  // terminal number, or -n for nonterminal n
};

struct Input {
    const uint8_t *data;
    size_t size;
    size_t pos;
    int32_t lastList;  // end of the newest list value; -1 before any
    int32_t listFirst;
};

int16_t lex(B_PYYCONTEXT ctx, B_PYYSTYPE lval) {
    auto *in = static_cast<Input *>(ctx);
    if (in->pos >= in->size) return CALC_END;
    const int k = in->data[in->pos++] % 14;
    const int32_t at = int32_t(in->pos) - 1;  // byte 0 is the depth: tokens from 1
    int16_t tok;
    if (k < 12) {
        tok = int16_t(k);
    } else if (k == 12) {
        tok = -3;  // a negative token ends the input
    } else {
        tok = calc_yychar[CALC_NCHARS - 2];  // a character not in the grammar
    }
    const Span s{at, at, tok < 0 ? 0 : tok};
    std::memcpy(lval, &s, sizeof s);
    if (tok <= 0) in->size = in->pos - 1;  // the end: what follows is not read
    return tok;
}

ZEL_RETCODE act(B_PYYCONTEXT ctx, B_PYYSTYPE top, int16_t rule, B_PYYSTYPE val) {
    auto *in = static_cast<Input *>(ctx);
    check(rule >= 1 && rule < CALC_NRULES);
    const int n = calc_yyrhsidx[rule + 1] - calc_yyrhsidx[rule];
    const auto *t = static_cast<const uint8_t *>(top);
    Span below;
    std::memcpy(&below, t - sizeof(Span) * size_t(n), sizeof below);
    int32_t end = below.last;
    bool hasError = false;
    for (int i = 0; i < n; ++i) {
        Span c;
        std::memcpy(&c, t - sizeof(Span) * size_t(n - 1 - i), sizeof c);
        const int16_t want = calc_yyrhs[calc_yyrhsidx[rule] + i];
        if (want == CALC_ERROR) {
            hasError = true;  // the error token's value is the look-ahead's
            continue;
        }
        check(c.symbol == want);
        if (!hasError) check(c.first == end + 1);
        check(c.last >= c.first - 1);
        end = c.last;
    }
    const Span r{below.last + 1, end, -int32_t(calc_yyr1[rule])};
    std::memcpy(val, &r, sizeof r);
    if (r.symbol == -1) {  // a list: it always starts with the first token
        check(r.first == 1);
        in->lastList = r.last;
    }
    return sOKAY;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    B_TAG_MASTER master;
    B_TAG_SUB sub;
    check(b_tag_masterCreate(nullptr, 0, &master) == sOKAY);
    check(b_tag_subCreate(master, &sub) == sOKAY);
    int64_t start = 0, cur = 0;
    b_tag_subMemUsage(sub, &start, nullptr, nullptr);

    Input in{data, size, 1, -1, 1};
    B_YYPDATA pd{};
    pd.yytoksize = sizeof(Span);
    pd.yyctx = &in;
    pd.yytab = &calc_tables;
    pd.yylex = lex;
    pd.yyacts = act;
    pd.yysubtag = sub;
    pd.yymaxdepth = data[0] % 12;
    for (int round = 0; round < 2; ++round) {  // the second reuses the blocks
        in.pos = 1;
        in.size = size;
        in.lastList = -1;
        const ZEL_RETCODE rc = b_yyparse(&pd);
        check(rc == sOKAY || rc == eBASE_SYNTAX);
        check((pd.yymaxdepth - data[0] % 12) % 5 == 0);
        // Accepted: the newest list covers every token before the end.
        if (rc == sOKAY) check(in.lastList == int32_t(in.size) - 1);
    }
    b_yyterm(&pd);
    b_tag_subMemUsage(sub, &cur, nullptr, nullptr);
    check(cur == start);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
    return 0;
}
