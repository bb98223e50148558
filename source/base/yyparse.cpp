/*
 * yyparse.cpp - the LALR(1) driver over AT&T yacc tables.
 *
 * The one idea: the tables say everything. A state's yypact entry is the
 * base of its row in the packed yyact, and yychk confirms that the entry
 * found really belongs to the state's row (it names the symbol that enters
 * the target state); anything else falls to the state's default, yydef, or,
 * for states with several reductions, to its row of yyexca. A reduction pops
 * the rule's length and finds the goto state the same way through yypgo.
 *
 * Values travel by copy: the look-ahead's value goes to yyval on a shift and
 * yyval onto the value stack on each push. The copy is a fixed-size move for
 * values of 8, 16 and 32 bytes, memcpy otherwise.
 */
#include "yyparse.h"

#include <bit>
#include <cstring>

#include "tag_sub.h"

namespace {

constexpr int32_t kYyFlag = -1000;  // yypact: the state has only its default
constexpr int32_t kYyGrowth = 5;
constexpr uint64_t kYyMinEntries = 8;

// Entries the stack blocks hold for a given yymaxdepth. yymaxdepth moves by
// 5, which callers see, but the memory beneath it doubles, so deep input
// costs a logarithmic number of moves. A function of yymaxdepth alone, so no
// field is needed to remember it.
inline uint64_t b_yyEntries(int32_t maxdepth) {
    const uint64_t m = uint64_t(maxdepth < 0 ? 0 : maxdepth);
    return std::bit_ceil(m < kYyMinEntries ? kYyMinEntries : m);
}

// Bytes of the value stack: a block of 0 bytes is never asked for, so a
// value size of 0 still gets 1 byte. false when the size overflows.
inline bool b_yyValueBytes(uint64_t entries, size_t toksize, size_t *bytes) {
    if (toksize != 0 && entries > SIZE_MAX / toksize) return false;
    const size_t n = size_t(entries) * toksize;
    *bytes = n == 0 ? 1 : n;
    return true;
}

// The four blocks: allocated cleared at the first parse (all or none), and
// cleared again at every later one.
ZEL_RETCODE b_yyOpen(B_YYPDATA *pd) {
    const size_t valBytes = pd->yytoksize == 0 ? 1 : pd->yytoksize;
    if (pd->yys != nullptr) {
        const uint64_t entries = b_yyEntries(pd->yymaxdepth);
        size_t stackBytes = 0;
        (void)b_yyValueBytes(entries, pd->yytoksize, &stackBytes);
        std::memset(pd->yys, 0, size_t(entries) * sizeof(int16_t));
        std::memset(pd->yyv, 0, stackBytes);
        std::memset(pd->yyval, 0, valBytes);
        std::memset(pd->yylval, 0, valBytes);
        return sOKAY;
    }
    if (pd->yymaxdepth < 0) pd->yymaxdepth = 0;
    const uint64_t entries = b_yyEntries(pd->yymaxdepth);
    size_t stackBytes = 0;
    if (!b_yyValueBytes(entries, pd->yytoksize, &stackBytes)) return eNOMEMORY;
    B_TAG_SUB sub = pd->yysubtag;
    int16_t *s = nullptr;
    uint8_t *v = nullptr;
    void *val = nullptr, *lval = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAllocZero(sub, size_t(entries) * sizeof(int16_t), &s));
    ZEL_CHECK_GOTO(rc, b_tag_subAllocZero(sub, stackBytes, &v), fail);
    ZEL_CHECK_GOTO(rc, b_tag_subAllocZero(sub, valBytes, &val), fail);
    ZEL_CHECK_GOTO(rc, b_tag_subAllocZero(sub, valBytes, &lval), fail);
    pd->yys = s;
    pd->yyv = v;
    pd->yyval = val;
    pd->yylval = lval;
    return sOKAY;
fail:
    if (val != nullptr) b_tag_subFree(sub, val);
    if (v != nullptr) b_tag_subFree(sub, v);
    b_tag_subFree(sub, s);
    return rc;
}

// Both stacks grow by 5 entries. On failure both stand as they were (one of
// them may have more room underneath, which does no harm).
ZEL_RETCODE b_yyGrow(B_YYPDATA *pd) {
    if (pd->yymaxdepth > INT32_MAX - kYyGrowth) return eNOMEMORY;
    const int32_t next = pd->yymaxdepth + kYyGrowth;
    const uint64_t have = b_yyEntries(pd->yymaxdepth), want = b_yyEntries(next);
    if (want > have) {
        size_t haveBytes = 0, wantBytes = 0;
        if (!b_yyValueBytes(want, pd->yytoksize, &wantBytes)) return eNOMEMORY;
        (void)b_yyValueBytes(have, pd->yytoksize, &haveBytes);
        ZEL_RETCODE rc;
        void *s = pd->yys;
        ZEL_CHECK(rc = b_tag_subReallocAny(pd->yysubtag, s, size_t(have) * sizeof(int16_t),
                                           size_t(want) * sizeof(int16_t), &s));
        pd->yys = static_cast<int16_t *>(s);
        std::memset(pd->yys + have, 0, size_t(want - have) * sizeof(int16_t));
        if (pd->yytoksize != 0) {
            void *v = pd->yyv;
            ZEL_CHECK(rc = b_tag_subReallocAny(pd->yysubtag, v, haveBytes, wantBytes, &v));
            pd->yyv = static_cast<uint8_t *>(v);
            std::memset(pd->yyv + haveBytes, 0, wantBytes - haveBytes);
        }
    }
    pd->yymaxdepth = next;  // deliberate: the visible capacity moves by 5, as callers expect
    return sOKAY;
}

// Copies one value: N bytes, or the run-time size when N is 0.
template <size_t N>
inline void b_yyCopy(void *dst, const void *src, size_t size) {
    if constexpr (N != 0) {
        (void)size;
        std::memcpy(dst, src, N);
    } else {
        std::memcpy(dst, src, size);
    }
}

// The next token; a negative one is the end of input.
inline int32_t b_yyLex(const B_YYPDATA *pd, void *yylval) {
    const int16_t next = pd->yylex(pd->yyctx, yylval);
    return next < 0 ? 0 : next;
}

template <size_t N>
ZEL_RETCODE b_yyRun(B_YYPDATA *pd) {
    const B_YYTABLES *t = pd->yytab;
    const int16_t *const yyact = t->yyact;
    const int16_t *const yypact = t->yypact;
    const int16_t *const yychk = t->yychk;
    const int32_t yylast = t->yylast;
    const int32_t yyerrcode = t->yyerrcode;
    const size_t ts = N != 0 ? N : pd->yytoksize;
    B_PYYCONTEXT const ctx = pd->yyctx;
    void *const yyval = pd->yyval;
    void *const yylval = pd->yylval;

    int16_t *yys = pd->yys;
    uint8_t *yyv = pd->yyv;
    int32_t state = 0, errflag = 0, depth = -1;
    int32_t tok = -1;  // the look-ahead; -1: none
    int32_t limit = pd->yymaxdepth - 1;

    for (;;) {
        // 1. Push. Growth comes one entry early: the empty rule's default
        // value is read from the slot above the top.
        if (++depth >= limit) [[unlikely]] {
            ZEL_RETCODE rc;
            if ((rc = b_yyGrow(pd)) != sOKAY) return rc;
            yys = pd->yys;
            yyv = pd->yyv;
            limit = pd->yymaxdepth - 1;
        }
        yys[depth] = int16_t(state);
        b_yyCopy<N>(yyv + size_t(depth) * ts, yyval, ts);

        for (;;) {
            // 2. Shift test.
            int32_t n = yypact[state];
            if (n > kYyFlag) {
                if (tok < 0) tok = b_yyLex(pd, yylval);
                n += tok;
                if (n >= 0 && n < yylast && yychk[yyact[n]] == tok) {
                    b_yyCopy<N>(yyval, yylval, ts);
                    tok = -1;
                    if (errflag > 0) --errflag;
                    state = yyact[n];
                    break;
                }
            }

            // 3. Default, or the state's row of exceptions.
            int32_t rule = t->yydef[state];
            if (rule == -2) {
                if (tok < 0) tok = b_yyLex(pd, yylval);
                const int16_t *x = t->yyexca;
                while (x[0] != -1 || x[1] != state) x += 2;
                do {
                    x += 2;
                } while (x[0] >= 0 && x[0] != tok);
                rule = x[1];
                // deliberate: an accept after an error is eBASE_SYNTAX until
                // three tokens were shifted since (the error token's shift
                // does not count)
                if (rule < 0) return errflag == 0 ? sOKAY : eBASE_SYNTAX;
            }

            if (rule == 0) [[unlikely]] {
                // 6. Error. Right after a recovery the look-ahead is dropped
                // and the same state tries again.
                if (errflag == 3) {
                    if (tok == 0) return eBASE_SYNTAX;
                    tok = -1;
                    continue;
                }
                for (;; --depth) {
                    if (depth < 0) {
                        // deliberate: called only when recovery has emptied
                        // the stack, not at each error
                        if (pd->yysyntaxerr != nullptr) pd->yysyntaxerr(ctx);
                        return eBASE_SYNTAX;
                    }
                    const int32_t e = yypact[yys[depth]] + yyerrcode;
                    if (e >= 0 && e < yylast && yychk[yyact[e]] == yyerrcode) {
                        state = yyact[e];
                        break;
                    }
                }
                errflag = 3;
                b_yyCopy<N>(yyval, yylval, ts);
                break;
            }

            // 5. Reduce.
            uint8_t *const top = yyv + size_t(depth) * ts;
            depth -= t->yyr2[rule];
            // deliberate: the default value is the slot just above the new
            // top, also for an empty rule, whose slot may hold an old value
            b_yyCopy<N>(yyval, yyv + size_t(depth + 1) * ts, ts);
            const int32_t nt = t->yyr1[rule];
            const int32_t g = t->yypgo[nt] + yys[depth] + 1;
            state = (g < yylast && yychk[yyact[g]] == -nt) ? yyact[g] : yyact[t->yypgo[nt]];
            const ZEL_RETCODE rc = pd->yyacts(ctx, top, int16_t(rule), yyval);
            if (rc != sOKAY) [[unlikely]]
                return rc;  // statuses too, unchanged
            break;
        }
    }
}

}  // namespace

ZEL_RETCODE b_yyparse(B_YYPDATA *yypd) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_yyOpen(yypd));
    switch (yypd->yytoksize) {
        case 8:
            return b_yyRun<8>(yypd);
        case 16:
            return b_yyRun<16>(yypd);
        case 32:
            return b_yyRun<32>(yypd);
        default:
            return b_yyRun<0>(yypd);
    }
}

void b_yyterm(B_YYPDATA *yypd) {
    B_TAG_SUB sub = yypd->yysubtag;
    b_tag_subFreeCanBeNull(sub, yypd->yyval);
    b_tag_subFreeCanBeNull(sub, yypd->yylval);
    b_tag_subFreeCanBeNull(sub, yypd->yyv);
    b_tag_subFreeCanBeNull(sub, yypd->yys);
    yypd->yyval = nullptr;
    yypd->yylval = nullptr;
    yypd->yyv = nullptr;
    yypd->yys = nullptr;
}
