/*
 * bcd.cpp - exact decimal numbers of up to 32 digits: the record side.
 *
 * A decimal keeps one digit per byte; digit i of a record sits at the place
 * exp - i, and a position outside data[0..prec] reads as 0. This module holds
 * what works on the record as it stands: sign, integer parts and comparison,
 * the packed stored form, text in and out, native numbers in and out. The
 * arithmetic (work form, rounding, Newton's reciprocals) is bcd_kernel.cpp.
 *
 * Stored form of a column of precision P and scale S, (P / 2) + 1 bytes:
 *
 * OFFSET     SIZE      MEANING
 * 0 (high)   4 bits    sign nibble: 4 for a positive number or zero, 0 for a negative one
 * 0 (low)    4 bits    digit 1
 * k (high)   4 bits    digit 2k, k = 1 .. P / 2
 * k (low)    4 bits    digit 2k + 1 (a 0 that is never complemented when P is even)
 *
 * Digits are the P digits of the number shaped to P and S by zel_bcdAdjust,
 * most significant first; a negative number stores 9 minus each digit, so two
 * numbers of one P and S sort in numeric order by memcmp.
 */
#include "bcd.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

#include "bcd_kernel_internal.h"
#include "format.h"
#include "psp.h"
#include "utf8buff.h"

static_assert(sizeof(ZEL_BCD_T) == 37, "ZEL_BCD_T is copied raw as 37 bytes");
static_assert(offsetof(ZEL_BCD_T, prec) == 0 && offsetof(ZEL_BCD_T, exp) == 1 &&
              offsetof(ZEL_BCD_T, flags) == 2 && offsetof(ZEL_BCD_T, sign) == 3 &&
              offsetof(ZEL_BCD_T, data) == 4);

using namespace zel::detail;

namespace {

// ---- ZEL_BCD_T helpers.

void zel_bcd_clear_past(ZEL_BCD_T *b) {
    if (b->prec < kMaxPrec) std::memset(b->data + b->prec + 1, 0, kMaxPrec - b->prec);
}

// Leading zeros out (or a spill digit in), trailing zeros kept; a value with
// no digit becomes the canonical zero, flags and all.
void zel_bcd_normalize(ZEL_BCD_T *b) {
    int prec = std::min<int>(b->prec, kMaxPrec);
    int k = 0;
    while (k <= prec && b->data[k] == 0) ++k;
    if (k > prec) {
        std::memset(b, 0, sizeof *b);
        b->sign = 1;
        return;
    }
    if (k == 0) {
        int np = std::min(prec + 1, kMaxPrec);
        std::memmove(b->data + 1, b->data, static_cast<size_t>(np));
        b->data[0] = 0;
        b->prec = static_cast<uint8_t>(np);
        b->exp = static_cast<int8_t>(b->exp + 1);
    } else {
        int np = prec + 1 - k;
        std::memmove(b->data + 1, b->data + k, static_cast<size_t>(np));
        b->prec = static_cast<uint8_t>(np);
        b->exp = static_cast<int8_t>(b->exp + 1 - k);
    }
    zel_bcd_clear_past(b);
}

void zel_bcd_normalized_copy(ZEL_BCD_T *dst, const ZEL_BCD_T *src) {
    if (dst != src) zel_bcdCopy(src, dst);
    zel_bcd_normalize(dst);
}

// Truncates towards zero to an integer.
void zel_bcd_floor_mag(ZEL_BCD_T *b) {
    if (b->exp < 0) {
        b->exp = 0;
        b->sign = 1;
    }
    b->prec = static_cast<uint8_t>(std::min<int>(b->exp, kMaxPrec));
    zel_bcd_normalize(b);
}

// Steps the magnitude up to the next integer when there is a fraction.
void zel_bcd_ceiling_mag(ZEL_BCD_T *b) {
    if (b->exp < 0) {
        std::memset(b->data, 0, sizeof b->data);
        b->exp = 1;
        b->data[1] = 1;
        b->prec = 1;
        zel_bcd_normalize(b);
        return;
    }
    if (b->prec > b->exp) {
        int i = b->exp;
        b->data[i]++;
        while (i > 0 && b->data[i] >= 10) {
            b->data[i] = static_cast<uint8_t>(b->data[i] - 10);
            b->data[--i]++;
        }
        b->prec = static_cast<uint8_t>(b->exp);
        zel_bcd_normalize(b);
    }
}

template <typename F>
ZEL_RETCODE zel_bcd_to_integer(const ZEL_BCD_T *operand, ZEL_BCD_T *result, F step) {
    if (operand->flags & kFlagErrors) return zel_bcdRetcode(operand->flags);
    zel_bcd_normalized_copy(result, operand);
    if (result->prec != 0) step(result);
    return zel_bcdRetcode(result->flags);
}

}  // namespace

// The native forms: 64-bit integers convert exactly, the 32-bit ones widen,
// doubles convert through text and stop on any code but sOKAY.
#define ZEL_BCD_DEFINE_NATIVE_OPS(N, T, CONV)                                                     \
    ZEL_RETCODE zel_bcdAdd##N(const ZEL_BCD_T *l, T r, ZEL_BCD_ROUNDING_MODE m, ZEL_BCD_T *s) {   \
        ZEL_BCD_T b;                                                                              \
        ZEL_RETCODE rc = CONV(r, &b);                                                             \
        return rc != sOKAY ? rc : zel_bcdAdd(l, &b, m, s);                                        \
    }                                                                                             \
    ZEL_RETCODE zel_bcdSub##N(const ZEL_BCD_T *l, T r, ZEL_BCD_ROUNDING_MODE m, ZEL_BCD_T *s) {   \
        ZEL_BCD_T b;                                                                              \
        ZEL_RETCODE rc = CONV(r, &b);                                                             \
        return rc != sOKAY ? rc : zel_bcdSub(l, &b, m, s);                                        \
    }                                                                                             \
    ZEL_RETCODE zel_bcdMult##N(const ZEL_BCD_T *l, T r, ZEL_BCD_ROUNDING_MODE m, ZEL_BCD_T *s) {  \
        ZEL_BCD_T b;                                                                              \
        ZEL_RETCODE rc = CONV(r, &b);                                                             \
        return rc != sOKAY ? rc : zel_bcdMult(l, &b, m, s);                                       \
    }                                                                                             \
    ZEL_RETCODE zel_bcdDivBy##N(const ZEL_BCD_T *l, T r, ZEL_BCD_ROUNDING_MODE m, ZEL_BCD_T *s) { \
        ZEL_BCD_T b;                                                                              \
        ZEL_RETCODE rc = CONV(r, &b);                                                             \
        return rc != sOKAY ? rc : zel_bcdDiv(l, &b, m, s);                                        \
    }                                                                                             \
    ZEL_RETCODE zel_bcdSubFrom##N(T l, const ZEL_BCD_T *r, ZEL_BCD_ROUNDING_MODE m,               \
                                  ZEL_BCD_T *s) {                                                 \
        ZEL_BCD_T b;                                                                              \
        ZEL_RETCODE rc = CONV(l, &b);                                                             \
        return rc != sOKAY ? rc : zel_bcdSub(&b, r, m, s);                                        \
    }                                                                                             \
    ZEL_RETCODE zel_bcdDiv##N(T l, const ZEL_BCD_T *r, ZEL_BCD_ROUNDING_MODE m, ZEL_BCD_T *s) {   \
        ZEL_BCD_T b;                                                                              \
        ZEL_RETCODE rc = CONV(l, &b);                                                             \
        return rc != sOKAY ? rc : zel_bcdDiv(&b, r, m, s);                                        \
    }

ZEL_BCD_DEFINE_NATIVE_OPS(Int32, int32_t, zel_bcdFromInt64)
ZEL_BCD_DEFINE_NATIVE_OPS(UInt32, uint32_t, zel_bcdFromUInt64)
ZEL_BCD_DEFINE_NATIVE_OPS(Int64, int64_t, zel_bcdFromInt64)
ZEL_BCD_DEFINE_NATIVE_OPS(UInt64, uint64_t, zel_bcdFromUInt64)
ZEL_BCD_DEFINE_NATIVE_OPS(Double, double, zel_bcdFromDouble)

// ---- Sign, integers, comparison.

ZEL_RETCODE zel_bcdChgSign(const ZEL_BCD_T *operand, ZEL_BCD_T *result) {
    if (operand->flags & kFlagErrors) return zel_bcdRetcode(operand->flags);
    if (result != operand) zel_bcd_normalized_copy(result, operand);
    // In place there is no normalising, so a zero can take the sign -1.
    result->sign = static_cast<int8_t>(result->sign < 0 ? 1 : -1);
    return zel_bcdRetcode(result->flags);
}

ZEL_RETCODE zel_bcdFloor(const ZEL_BCD_T *operand, ZEL_BCD_T *result) {
    return zel_bcd_to_integer(operand, result, [](ZEL_BCD_T *b) {
        if (b->sign >= 0)
            zel_bcd_floor_mag(b);
        else
            zel_bcd_ceiling_mag(b);
    });
}

ZEL_RETCODE zel_bcdCeiling(const ZEL_BCD_T *operand, ZEL_BCD_T *result) {
    return zel_bcd_to_integer(operand, result, [](ZEL_BCD_T *b) {
        if (b->sign < 1)
            zel_bcd_floor_mag(b);
        else
            zel_bcd_ceiling_mag(b);
    });
}

ZEL_RETCODE zel_bcdRound(const ZEL_BCD_T *operand, ZEL_BCD_T *result) {
    if (operand->flags & kFlagErrors) return zel_bcdRetcode(operand->flags);
    zel_bcd_normalized_copy(result, operand);
    if (result->exp < 0) {
        // A magnitude below 0.1 rounds to 1 with the operand's sign: a set
        // rule of this function that callers rely on, kept as it is.
        std::memset(result->data, 0, sizeof result->data);
        result->prec = 1;
        result->exp = 1;
        result->data[1] = 1;
        return zel_bcdRetcode(result->flags);
    }
    int e = std::min<int>(result->exp, kMaxPrec);
    if (result->prec > e && result->data[e + 1] > 4) {
        // No carry: a 9 becomes the digit value 10, for zel_bcdValidate to
        // find. Deliberate; stored results depend on it.
        result->prec = static_cast<uint8_t>(e);
        result->data[e]++;
    } else {
        result->prec = static_cast<uint8_t>(std::min<int>(result->prec, e));
    }
    zel_bcd_clear_past(result);
    if (result->exp == 0) zel_bcd_normalize(result);
    return zel_bcdRetcode(result->flags);
}

int16_t zel_bcdSign(const ZEL_BCD_T *bcd) {
    return bcd->prec == 0 ? 0 : bcd->sign;
}

ZEL_BOOL_T zel_bcdIsZero(const ZEL_BCD_T *bcd) {
    int prec = std::min<int>(bcd->prec, kMaxPrec);
    for (int i = 0; i <= prec; ++i)
        if (bcd->data[i] != 0) return ZEL_FALSE;
    return ZEL_TRUE;
}

ZEL_COMPARE zel_bcdCompare(const ZEL_BCD_T *left, const ZEL_BCD_T *right) {
    int ls = left->sign < 0 ? -1 : 1, rs = right->sign < 0 ? -1 : 1;
    if (ls == rs) {
        int c = zel_bcd_ucompare(zel_bcd_op32(left), zel_bcd_op32(right)) * ls;
        return static_cast<ZEL_COMPARE>(c);
    }
    auto zero = [](const ZEL_BCD_T *b) { return b->exp == 0 && b->prec == 0 && b->data[0] == 0; };
    if (zero(left) && zero(right)) return ZEL_EQ;
    return ls < 0 ? ZEL_LT : ZEL_GT;
}

uint8_t zel_bcdMaxprec(void) {
    return kMaxPrec;
}
uint8_t zel_bcdMaxscale(void) {
    return ZEL_BCD_MAX_SCALE;
}

ZEL_RETCODE zel_bcdValidate(const ZEL_BCD_T *bcd) {
    if (bcd->prec > kMaxPrec) return eINVALID;
    for (int i = 0; i <= bcd->prec; ++i)
        if (bcd->data[i] > 9) return eINVALID;
    return sOKAY;
}

void zel_bcdNormalize(ZEL_BCD_T *bcd) {
    zel_bcd_normalize(bcd);
}

void zel_bcdCopy(const ZEL_BCD_T *src, ZEL_BCD_T *dest) {
    if (src == dest) return;
    int prec = std::min<int>(src->prec, kMaxPrec);
    dest->prec = src->prec;
    dest->exp = src->exp;
    dest->flags = src->flags;
    dest->sign = src->sign;
    std::memmove(dest->data, src->data, static_cast<size_t>(prec) + 1);
    std::memset(dest->data + prec + 1, 0, static_cast<size_t>(kMaxPrec - prec));
}

// ---- Stored form.

ZEL_RETCODE zel_bcdAdjust(ZEL_BCD_T *bcd, uint8_t prec, uint8_t scale) {
    ZEL_RETCODE rc = sOKAY;
    int bprec = std::min<int>(bcd->prec, kMaxPrec);
    int ldigits = prec - scale - bcd->exp;
    int rdigits = scale - (bprec - bcd->exp);
    uint8_t flags = bcd->flags;
    if (bprec + ldigits + rdigits >= kMaxPrec + 1) {
        rc = sPRECISIONLOSS;
        flags |= kFlagLoss;
        ldigits = kMaxPrec - bprec - ldigits;
    } else if (bprec + ldigits >= kMaxPrec + 1 && rdigits < 0) {
        rc = sPRECISIONLOSS;
        flags |= kFlagLoss;
        // Drops fraction digits from the end, below zero digits if need be:
        // those are the leading zeros that the shift below brings in.
        while (bprec + ldigits > kMaxPrec && rdigits < 0) {
            --bprec;
            ++rdigits;
        }
    }
    if (ldigits < 0) {
        rc = eRANGE;
        flags |= kFlagOverflow;
    }
    if (rdigits < 0) {
        flags |= kFlagLoss;
        if (rc == sOKAY) rc = sPRECISIONLOSS;
    }
    // Each new digit j comes from old digit j - ldigits (zero outside the old
    // digits); shifting by ldigits and then cutting or padding by rdigits.
    int nprec = std::clamp(bprec + ldigits + rdigits, 0, kMaxPrec);
    uint8_t digits[kMaxPrec + 1] = {};
    int jlo = std::max(1, 1 + ldigits), jhi = std::min(nprec, bprec + ldigits);
    if (jhi >= jlo)
        std::memcpy(digits + jlo, bcd->data + (jlo - ldigits), static_cast<size_t>(jhi - jlo + 1));
    std::memcpy(bcd->data, digits, sizeof digits);
    bcd->prec = static_cast<uint8_t>(nprec);
    bcd->exp = static_cast<int8_t>(bcd->exp + ldigits);
    bcd->flags = flags;
    return rc;
}

ZEL_RETCODE zel_bcdPack(const ZEL_BCD_T *bcdu, ZEL_PACKED_BCD_T *p, uint8_t prec, uint8_t scale) {
    if (scale > kMaxPrec || prec > kMaxPrec) return eRANGE;
    ZEL_BCD_T copy;
    zel_bcd_normalized_copy(&copy, bcdu);
    ZEL_RETCODE rc = zel_bcdAdjust(&copy, prec, scale);
    // Nibble i is the sign for i = 0, digit i after it, 0 past the digits.
    bool neg = copy.sign < 0;
    uint8_t nib[kMaxPrec + 2] = {};
    nib[0] = neg ? 0 : 4;
    for (int i = 1; i <= copy.prec; ++i)
        nib[i] = static_cast<uint8_t>((neg ? 9 - copy.data[i] : copy.data[i]) & 0x0F);
    for (int k = 0; k <= prec / 2; ++k)
        p[k] = static_cast<uint8_t>(nib[2 * k] << 4 | nib[2 * k + 1]);
    return rc;
}

ZEL_RETCODE zel_bcdUnpack(const ZEL_PACKED_BCD_T *p, ZEL_BCD_T *bcdu, uint8_t prec, uint8_t scale) {
    if (scale > kMaxPrec || prec > kMaxPrec) return eRANGE;
    ZEL_BCD_T b;
    std::memset(&b, 0, sizeof b);
    b.sign = (p[0] & 0x40) ? 1 : -1;
    int n = 0;
    for (int i = 1; i <= prec; ++i) {
        int nib = (i & 1) ? (p[(i - 1) / 2] & 0x0F) : (p[i / 2] >> 4);
        if (nib > 9) return eINVBCD;
        int d = b.sign < 0 ? 9 - nib : nib;
        if (n == 0 && d == 0) continue;  // leading zeros go
        b.data[++n] = static_cast<uint8_t>(d);
    }
    b.prec = static_cast<uint8_t>(n);
    b.exp = static_cast<int8_t>(n == 0 ? 0 : n - scale);
    *bcdu = b;
    return sOKAY;
}

// ---- Text in.

namespace {

// One row of the text parser: `*` matches anything, `#` any digit.
struct ACTION {
    char symbol;
    uint8_t ruleno;
    uint8_t shift;  // 1: consume the character
    int8_t state;   // next state; -1 stops with an error, -2 with success
};

constexpr int8_t kFail = -1, kDone = -2;

constexpr ACTION s0[] = {{' ', 0, 1, 0}, {'+', 0, 1, 1}, {'-', 1, 1, 1}, {'*', 0, 0, 1}};
constexpr ACTION s1[] = {{' ', 0, 1, 1}, {'#', 3, 1, 2}, {'.', 2, 1, 3}, {'*', 0, 0, kFail}};
constexpr ACTION s2[] = {{'#', 3, 1, 2}, {'.', 2, 1, 3}, {'\0', 0, 0, kDone}, {'*', 0, 0, 4}};
constexpr ACTION s3[] = {{'#', 3, 1, 3}, {'*', 0, 0, 4}};
constexpr ACTION s4[] = {
    {' ', 0, 1, 4}, {'e', 0, 1, 5}, {'E', 0, 1, 5}, {'\0', 0, 0, kDone}, {'*', 0, 0, kFail}};
constexpr ACTION s5[] = {{'+', 0, 1, 6}, {'-', 4, 1, 6}, {'*', 0, 0, 6}};
constexpr ACTION s6[] = {{'#', 5, 1, 7}, {'*', 0, 0, kFail}};
constexpr ACTION s7[] = {{'#', 5, 1, 7}, {'*', 0, 0, 8}};
constexpr ACTION s8[] = {{' ', 0, 1, 8}, {'\0', 0, 0, kDone}, {'*', 0, 0, kFail}};

struct StateRows {
    const ACTION *rows;
    size_t count;
};

template <size_t N>
constexpr StateRows zel_bcd_rows(const ACTION (&a)[N]) {
    return StateRows{a, N};
}

constexpr StateRows StateTable[] = {zel_bcd_rows(s0), zel_bcd_rows(s1), zel_bcd_rows(s2),
                                    zel_bcd_rows(s3), zel_bcd_rows(s4), zel_bcd_rows(s5),
                                    zel_bcd_rows(s6), zel_bcd_rows(s7), zel_bcd_rows(s8)};

inline bool zel_bcd_matches(char symbol, char c) {
    if (symbol == '*') return true;
    if (symbol == '#') return c >= '0' && c <= '9';
    return symbol == c;
}

struct ParseState {
    ZEL_BCD_T *bcd;
    ZEL_RETCODE rc = sOKAY;
    uint8_t flags = 0;
    bool decimal = false;
    int next = 1;  // next free digit index
    int int_digits = 0;
    int sig_digits = 0;
    int pending_zeros = 0;
    int exp_sign = 1;
    uint32_t exp_value = 0;  // wraps like the 32-bit accumulator it is
};

void zel_bcd_mantissa_digit(ParseState &ps, int d) {
    if (!ps.decimal) {
        if (d == 0 && ps.int_digits == 0) return;  // a leading zero
        ++ps.int_digits;
    }
    if (ps.next <= kMaxPrec) {
        ps.bcd->data[ps.next++] = static_cast<uint8_t>(d);
        if (d == 0) {
            ++ps.pending_zeros;
        } else {
            ps.sig_digits += ps.pending_zeros + 1;
            ps.pending_zeros = 0;
        }
    } else if (ps.decimal) {
        ps.flags |= kFlagLoss;
        if (ps.rc == sOKAY) ps.rc = sPRECISIONLOSS;
    } else {
        ps.flags |= kFlagOverflow;
        ps.rc = eRANGE;
    }
}

}  // namespace

ZEL_RETCODE zel_bcdFromString(const char *str, ZEL_BCD_T *bcd) {
    if (str == nullptr || bcd == nullptr) return eINVNULLARG;
    std::memset(bcd, 0, sizeof *bcd);
    bcd->sign = 1;
    ParseState ps{bcd};
    int state = 0;
    const char *s = str;
    while (state >= 0) {
        char c = *s;
        if (state >= 1 && state <= 3 && c >= '0' && c <= '9') {
            // The rows of a mantissa digit, taken without the table walk.
            zel_bcd_mantissa_digit(ps, c - '0');
            ++s;
            if (state == 1) state = 2;
            continue;
        }
        const StateRows &st = StateTable[state];
        const ACTION *row = st.rows;
        while (!zel_bcd_matches(row->symbol, c)) ++row;  // the last row is '*'
        switch (row->ruleno) {
            case 1:
                bcd->sign = -1;
                break;
            case 2:
                ps.decimal = true;
                break;
            case 3:
                zel_bcd_mantissa_digit(ps, c - '0');
                break;
            case 4:
                ps.exp_sign = -1;
                break;
            case 5:
                ps.exp_value = ps.exp_value * 10u + static_cast<uint32_t>(c - '0');
                break;
            default:
                break;
        }
        if (row->shift) ++s;
        state = row->state;
    }

    int prec = std::max(ps.int_digits, ps.sig_digits);
    int32_t sexp = static_cast<int32_t>(ps.exp_value);
    if (ps.exp_sign < 0) sexp = static_cast<int32_t>(0u - ps.exp_value);
    // The sum is formed in 64 bits: a 32-bit sum could overflow. Past the
    // 32-bit range the text is out of range.
    const int64_t wide = int64_t{ps.int_digits} + sexp;
    if (wide > INT32_MAX || wide < INT32_MIN) {
        ps.flags |= kFlagOverflow;
        ps.rc = eRANGE;
    }
    // The exponent is kept in 8 bits, so a large one wraps: deliberate, as
    // texts stored with it must read back the same.
    int exp = static_cast<int8_t>(static_cast<uint8_t>(wide));
    if (ps.exp_value != 0) {
        if (exp > prec) prec = exp;
        if (exp < 0) prec -= exp;
    }
    if (prec >= kMaxPrec + 1) {
        prec = kMaxPrec;
        ps.flags |= kFlagOverflow;
        ps.rc = eRANGE;
    }
    if (prec - exp >= kMaxPrec + 1) {
        // Fraction digits past 32 places are cut, not rounded.
        prec = std::max(exp + kMaxPrec, 0);
        ps.flags |= kFlagLoss;
        if (ps.rc == sOKAY) ps.rc = sPRECISIONLOSS;
    }
    while (prec > exp && prec > 0 && bcd->data[prec] == 0) --prec;
    bcd->prec = static_cast<uint8_t>(prec);
    bcd->exp = static_cast<int8_t>(exp);
    bcd->flags = ps.flags;
    zel_bcd_clear_past(bcd);
    zel_bcd_normalize(bcd);
    if (ps.rc != sOKAY) return ps.rc;
    return state == kDone ? sOKAY : eRANGE;
}

// ---- Text out.

namespace {

struct TextShape {
    int start;
    int int_digits;
    int frac_digits;
    int exponent;
    int size;  // with the terminator
};

TextShape zel_bcd_calc_needed_size(const ZEL_BCD_T &b, uint8_t scale, bool use_exponent) {
    TextShape t{};
    if (use_exponent) {
        t.start = 1;
        t.int_digits = 1;
        t.frac_digits = scale != 255 ? scale : (b.prec == 0 ? 0 : b.prec - 1);
        t.exponent = b.prec == 0 ? 0 : b.exp - 1;
        t.size = t.frac_digits ? t.frac_digits + 8 : 7;
    } else {
        t.exponent = 0;
        t.start = b.exp < 1 ? b.exp : 1;
        t.int_digits = std::max<int>(b.exp, 1);
        t.frac_digits = scale != 255 ? scale : std::max(b.prec - b.exp, 0);
        t.size = t.frac_digits ? t.int_digits + t.frac_digits + 2 : t.int_digits + 1;
    }
    if (b.sign < 0) ++t.size;
    return t;
}

ZEL_RETCODE zel_bcd_format(const ZEL_BCD_T *src, uint8_t scale, bool use_exponent,
                           ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    ZEL_BCD_T b;
    zel_bcd_normalized_copy(&b, src);
    TextShape t = zel_bcd_calc_needed_size(b, scale, use_exponent);
    ZEL_RETCODE rc;
    if (b.sign < 0) ZEL_CHECK(rc = fcn(ctx, '-'));
    int p = t.start;
    auto digit = [&](int pos) -> uint32_t {
        return static_cast<uint32_t>('0' + ((pos >= 1 && pos <= b.prec) ? b.data[pos] : 0));
    };
    for (int i = 0; i < t.int_digits; ++i) ZEL_CHECK(rc = fcn(ctx, digit(p++)));
    if (t.frac_digits != 0) {
        ZEL_CHECK(rc = fcn(ctx, '.'));
        // Digits past the chosen scale are cut, never rounded.
        for (int i = 0; i < t.frac_digits; ++i) ZEL_CHECK(rc = fcn(ctx, digit(p++)));
    }
    if (use_exponent)
        ZEL_CHECK(rc = b_fnprintf(fcn, ctx, "e%+04hd", static_cast<short>(t.exponent)));
    return sOKAY;
}

}  // namespace

ZEL_RETCODE zel_bcdFormatWithScale(const ZEL_BCD_T *b, uint8_t scale, ZEL_BOOL_T use_exponent,
                                   ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    return zel_bcd_format(b, scale, use_exponent != ZEL_FALSE, fcn, ctx);
}

ZEL_RETCODE zel_bcdToStringWithScale(const ZEL_BCD_T *b, uint8_t scale, ZEL_BOOL_T use_exponent,
                                     char *str, uint32_t len, uint32_t *bytesOut) {
    if ((str == nullptr || len == 0) && bytesOut != nullptr) {
        ZEL_BCD_T copy;
        zel_bcd_normalized_copy(&copy, b);
        *bytesOut = static_cast<uint32_t>(
            zel_bcd_calc_needed_size(copy, scale, use_exponent != ZEL_FALSE).size);
        return sOKAY;
    }
    ZEL_OUTPUT_BUFF out;
    b_utf8BuffInit(&out, str, len);
    ZEL_RETCODE rc = zel_bcdFormatWithScale(b, scale, use_exponent, b_emitCharAsUtf8, &out);
    b_utf8BuffTerm(&out);
    if (out.needed_elems > out.size) rc = sUNDERFLOW;
    if (bytesOut != nullptr) *bytesOut = static_cast<uint32_t>(out.used_elems);
    return rc;
}

ZEL_RETCODE zel_bcdToString(const ZEL_BCD_T *b, ZEL_BOOL_T use_exp, char *str, uint32_t len,
                            uint32_t *bytesOut) {
    return zel_bcdToStringWithScale(b, 255, use_exp, str, len, bytesOut);
}

// ---- Native numbers in.

ZEL_RETCODE zel_bcdFromUInt64(uint64_t v, ZEL_BCD_T *bcd) {
    std::memset(bcd, 0, sizeof *bcd);
    bcd->sign = 1;
    uint8_t digits[20];
    int n = 0;
    for (; v != 0; v /= 10) digits[n++] = static_cast<uint8_t>(v % 10);
    for (int i = 0; i < n; ++i) bcd->data[i + 1] = digits[n - 1 - i];
    bcd->prec = static_cast<uint8_t>(n);
    bcd->exp = static_cast<int8_t>(n);
    return sOKAY;
}

ZEL_RETCODE zel_bcdFromInt64(int64_t v, ZEL_BCD_T *bcd) {
    uint64_t mag = v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
    ZEL_RETCODE rc = zel_bcdFromUInt64(mag, bcd);
    if (v < 0) bcd->sign = -1;
    return rc;
}

ZEL_RETCODE zel_bcdFromInt8(int8_t v, ZEL_BCD_T *bcd) {
    return zel_bcdFromInt64(v, bcd);
}
ZEL_RETCODE zel_bcdFromInt16(int16_t v, ZEL_BCD_T *bcd) {
    return zel_bcdFromInt64(v, bcd);
}
ZEL_RETCODE zel_bcdFromInt32(int32_t v, ZEL_BCD_T *bcd) {
    return zel_bcdFromInt64(v, bcd);
}
ZEL_RETCODE zel_bcdFromUInt8(uint8_t v, ZEL_BCD_T *bcd) {
    return zel_bcdFromUInt64(v, bcd);
}
ZEL_RETCODE zel_bcdFromUInt16(uint16_t v, ZEL_BCD_T *bcd) {
    return zel_bcdFromUInt64(v, bcd);
}
ZEL_RETCODE zel_bcdFromUInt32(uint32_t v, ZEL_BCD_T *bcd) {
    return zel_bcdFromUInt64(v, bcd);
}

ZEL_RETCODE zel_bcdFromDouble(double dv, ZEL_BCD_T *bcd) {
    if (!psp_mathDoubleIsFinite(dv)) return eRANGE;
    ZEL_RETCODE pending = sOKAY;
    int scale = 14;
    if (dv != 0.0) {
        // The logarithm's integer part, truncated towards zero, is what is
        // compared: every double below 1e32 has at most 32 integer digits.
        const int mag = static_cast<int>(psp_mathDoubleLog10(psp_mathDoubleAbs(dv)));
        if (mag > 31) return eRANGE;
        scale = 14 - mag;
        if (scale > kMaxPrec) {
            scale = kMaxPrec;
            pending = sPRECISIONLOSS;
        }
        if (scale < 0) scale = 0;
    }
    // At most 32 integer digits or 32 places, so 80 bytes always suffice.
    char text[80];
    b_snprintf(text, sizeof text, "%.*f", scale, dv);
    ZEL_RETCODE rc = zel_bcdFromString(text, bcd);
    return rc != sOKAY ? rc : pending;
}

ZEL_RETCODE zel_bcdFromFloat(float fv, ZEL_BCD_T *bcd) {
    return zel_bcdFromDouble(fv, bcd);
}

// ---- Native numbers out.

namespace {

// Accumulates the integer digits of a normalised copy against `limit`.
ZEL_RETCODE zel_bcd_to_magnitude(const ZEL_BCD_T &c, uint64_t limit, uint64_t &acc) {
    ZEL_RETCODE rc = sOKAY;
    acc = 0;
    for (int i = 1; i <= c.exp; ++i) {
        uint64_t d = (i <= c.prec) ? c.data[i] : 0;
        bool wrap = __builtin_mul_overflow(acc, 10u, &acc);
        wrap |= __builtin_add_overflow(acc, d, &acc);
        if (wrap || acc > limit) rc = eRANGE;  // sticky
    }
    if (rc == sOKAY && c.exp != c.prec) rc = sPRECISIONLOSS;
    return rc;
}

}  // namespace

ZEL_RETCODE zel_bcdToInt64(const ZEL_BCD_T *b, int64_t *val) {
    ZEL_BCD_T c;
    zel_bcd_normalized_copy(&c, b);
    if (c.exp < 1) {
        *val = 0;
        return c.data[1] != 0 ? sPRECISIONLOSS : sOKAY;
    }
    uint64_t limit = c.sign < 0 ? (1ull << 63) : (1ull << 63) - 1;
    uint64_t acc;
    ZEL_RETCODE rc = zel_bcd_to_magnitude(c, limit, acc);
    *val = static_cast<int64_t>(c.sign < 0 ? 0 - acc : acc);
    return rc;
}

ZEL_RETCODE zel_bcdToUInt64(const ZEL_BCD_T *b, uint64_t *val) {
    ZEL_BCD_T c;
    zel_bcd_normalized_copy(&c, b);
    if (c.sign < 0) {
        *val = 0;
        return eRANGE;
    }
    if (c.exp < 1) {
        *val = 0;
        return c.data[1] != 0 ? sPRECISIONLOSS : sOKAY;
    }
    uint64_t acc;
    ZEL_RETCODE rc = zel_bcd_to_magnitude(c, std::numeric_limits<uint64_t>::max(), acc);
    *val = acc;
    return rc;
}

namespace {

template <typename T, typename W, ZEL_RETCODE (*Wide)(const ZEL_BCD_T *, W *)>
ZEL_RETCODE zel_bcd_to_narrow(const ZEL_BCD_T *b, T *val) {
    W v = 0;
    ZEL_RETCODE rc = Wide(b, &v);
    *val = static_cast<T>(v);
    if (rc < 0) return rc;
    if (v < static_cast<W>(std::numeric_limits<T>::min()) ||
        v > static_cast<W>(std::numeric_limits<T>::max()))
        return eRANGE;
    return rc;
}

}  // namespace

ZEL_RETCODE zel_bcdToInt8(const ZEL_BCD_T *b, int8_t *val) {
    return zel_bcd_to_narrow<int8_t, int64_t, zel_bcdToInt64>(b, val);
}
ZEL_RETCODE zel_bcdToInt16(const ZEL_BCD_T *b, int16_t *val) {
    return zel_bcd_to_narrow<int16_t, int64_t, zel_bcdToInt64>(b, val);
}
ZEL_RETCODE zel_bcdToInt32(const ZEL_BCD_T *b, int32_t *val) {
    return zel_bcd_to_narrow<int32_t, int64_t, zel_bcdToInt64>(b, val);
}
ZEL_RETCODE zel_bcdToUInt8(const ZEL_BCD_T *b, uint8_t *val) {
    return zel_bcd_to_narrow<uint8_t, uint64_t, zel_bcdToUInt64>(b, val);
}
ZEL_RETCODE zel_bcdToUInt16(const ZEL_BCD_T *b, uint16_t *val) {
    return zel_bcd_to_narrow<uint16_t, uint64_t, zel_bcdToUInt64>(b, val);
}
ZEL_RETCODE zel_bcdToUInt32(const ZEL_BCD_T *b, uint32_t *val) {
    return zel_bcd_to_narrow<uint32_t, uint64_t, zel_bcdToUInt64>(b, val);
}

namespace {

// Through text and back: the double, then whether it converts back to the
// same decimal.
template <typename T, ZEL_RETCODE (*Back)(T, ZEL_BCD_T *)>
ZEL_RETCODE zel_bcd_to_floating(const ZEL_BCD_T *b, T *val) {
    ZEL_BCD_T c;
    zel_bcd_normalized_copy(&c, b);
    char text[256];
    ZEL_RETCODE rc = zel_bcdToString(&c, ZEL_FALSE, text, sizeof text, nullptr);
    if (rc < 0) return rc;
    T v = static_cast<T>(psp_stratof(text));
    ZEL_BCD_T back;
    std::memset(&back, 0, sizeof back);
    back.sign = 1;
    (void)Back(v, &back);
    *val = v;
    return zel_bcdCompare(&back, &c) != ZEL_EQ ? eRANGE : rc;
}

}  // namespace

ZEL_RETCODE zel_bcdToDouble(const ZEL_BCD_T *b, double *val) {
    return zel_bcd_to_floating<double, zel_bcdFromDouble>(b, val);
}

ZEL_RETCODE zel_bcdToFloat(const ZEL_BCD_T *b, float *val) {
    return zel_bcd_to_floating<float, zel_bcdFromFloat>(b, val);
}
