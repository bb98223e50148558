/*
 * bcd_func.cpp - logarithm, exponential, powers, square root, trigonometry
 * and the numeric record, on exact decimals.
 *
 * Every function is a fixed sequence of work operations of bcd.h: each one
 * exact, then cut (not rounded) to 40 digits and to 40 places, and only the
 * result is rounded to 32 digits under the caller's mode. The sequence is the
 * method, and it is kept step for step: stored results depend on its digits.
 *
 * The one idea that makes it fast: inside the series every value lies below
 * 10^8, and a work value there is an integer count of 10^-40 cut to 40
 * significant digits. So the series run on that grid, six limbs of 10^8,
 * which gives the very values the digit operations give, and a division by
 * the term number n is a product with the reciprocal of n that the same
 * Newton iteration produced at compile time. A value that leaves the grid
 * (only a corrupt operand gets there) sends the work back to the digit form.
 *
 * ZEL_NUMERIC_T, 19 bytes, is described in zelbcdtypes.h.
 */
#include "bcd_func.h"
#include "bcd_func_internal.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "bcd_kernel_internal.h"

static_assert(sizeof(ZEL_NUMERIC_T) == 19, "ZEL_NUMERIC_T is a 19-byte record");
static_assert(offsetof(ZEL_NUMERIC_T, precision) == 0 && offsetof(ZEL_NUMERIC_T, scale) == 1 &&
              offsetof(ZEL_NUMERIC_T, sign) == 2 && offsetof(ZEL_NUMERIC_T, val) == 3);

namespace {

using zel::detail::kFlagErrors;
using zel::detail::kFlagLoss;
using zel::detail::kFlagOverflow;
using zel::detail::kWorkPrec;

// Steps no well-formed operand comes near (a series needs at most about 90
// terms, the narrowing of a logarithm 8 steps); they only bound the work on a
// corrupt record.
constexpr int kMaxSteps = 400;

// ---- Constants, to 40 places; the inexact ones carry flag 1, so that a
// result that uses one reports sPRECISIONLOSS.
constexpr WORK_BCD zel_bcd_constant(const char *digits, int exp, uint8_t flags) {
    WORK_BCD w{};
    int n = 0;
    for (; digits[n] != '\0'; ++n) w.data[n + 1] = static_cast<uint8_t>(digits[n] - '0');
    w.prec = static_cast<uint8_t>(n);
    w.exp = static_cast<int8_t>(exp);
    w.flags = flags;
    w.sign = 1;
    return w;
}

constexpr WORK_BCD c_0 = zel_bcd_constant("", 0, 0);
constexpr WORK_BCD c_1 = zel_bcd_constant("1", 1, 0);
constexpr WORK_BCD c_2 = zel_bcd_constant("2", 1, 0);
constexpr WORK_BCD c_1_2 = zel_bcd_constant("5", 0, 0);
constexpr WORK_BCD c_2_3 =
    zel_bcd_constant("6666666666666666666666666666666666666667", 0, kFlagLoss);
constexpr WORK_BCD c_4_3 =
    zel_bcd_constant("1333333333333333333333333333333333333333", 1, kFlagLoss);
constexpr WORK_BCD c_ln2 =
    zel_bcd_constant("6931471805599453094172321214581765680755", 0, kFlagLoss);
constexpr WORK_BCD c_ln10 =
    zel_bcd_constant("2302585092994045684017991454684364207601", 1, kFlagLoss);
constexpr WORK_BCD c_1_ln10 =
    zel_bcd_constant("4342944819032518276511289189166050822944", 0, kFlagLoss);
constexpr WORK_BCD c_pi =
    zel_bcd_constant("3141592653589793238462643383279502884197", 1, kFlagLoss);
constexpr WORK_BCD c_2pi =
    zel_bcd_constant("6283185307179586476925286766559005768394", 1, kFlagLoss);
constexpr WORK_BCD c_e = zel_bcd_constant("2718281828459045235360287471352662497757", 1, kFlagLoss);

static_assert(c_0.prec == 0 && c_0.exp == 0 && c_0.sign == 1);
static_assert(c_2_3.prec == 40 && c_4_3.prec == 40 && c_ln2.prec == 40 && c_ln10.prec == 40 &&
              c_1_ln10.prec == 40 && c_pi.prec == 40 && c_2pi.prec == 40 && c_e.prec == 40);

// ---- Small helpers of the work form.

void zel_bcd_work_zero(WORK_BCD &w, uint8_t flags) {
    zel::detail::zel_bcd_set_zero(w, flags);
}

// A normalised work copy of a decimal: leading zeros and fraction zeros out,
// so that 3.00 is the integer 3 and a leading zero never reaches a loop.
void zel_bcd_work_operand(const ZEL_BCD_T *x, WORK_BCD &w) {
    std::memset(&w, 0, sizeof w);
    std::memcpy(&w, x, sizeof *x);
    zel_bcdNormalizeWork(&w);
}

void zel_bcd_work_from_uint64(uint64_t v, WORK_BCD &w) {
    ZEL_BCD_T b;
    (void)zel_bcdFromUInt64(v, &b);  // exact, always sOKAY
    std::memset(&w, 0, sizeof w);
    std::memcpy(&w, &b, sizeof b);
}

// Integer digits only: prec cut to exp (the fraction dropped, no rounding).
void zel_bcd_work_integer_part(WORK_BCD &w) {
    int keep = std::clamp<int>(w.exp, 0, std::min<int>(w.prec, kWorkPrec));
    w.prec = static_cast<uint8_t>(keep);
    std::memset(w.data + keep + 1, 0, static_cast<size_t>(kWorkPrec - keep));
    zel_bcdNormalizeWork(&w);
}

// ---- The grid: a work value below 10^8 as the integer count of 10^-40 it
// is, in six limbs of 10^8 (limb i weighs 10^(8i - 40)), with its sign and
// flags. Cut to 40 significant digits, as every work result is.
constexpr int kLimbs = 6;
constexpr uint64_t kLimb = 100000000;
constexpr uint64_t kPow10[9] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

struct Grid {
    uint64_t w[kLimbs];
    int8_t sign;
    uint8_t flags;
};

// A reciprocal 1/n below 1 as the integer count of 10^-48 it is: its digits
// reach 10^-42 for n below 1000, so six limbs hold it exactly.
struct Recip {
    uint64_t w[kLimbs];
};

constexpr int zel_bcd_limb_digits(uint64_t v) {
    int d = 0;
    while (d < 8 && v >= kPow10[d]) ++d;
    return d;
}

constexpr bool zel_bcd_grid_is_zero(const Grid &x) {
    uint64_t any = 0;
    for (uint64_t w : x.w) any |= w;
    return any == 0;
}

constexpr Grid zel_bcd_grid_zero(uint8_t flags) {
    Grid g{};
    g.sign = 1;
    g.flags = flags;
    return g;
}

// What normalize_res keeps: 40 significant digits. Nothing lies below 10^-40
// on the grid, so only a value of 1 or more loses digits, as many as its top
// limb has, all from limb 0.
constexpr void zel_bcd_grid_cut(Grid &x) {
    uint64_t top = x.w[kLimbs - 1];
    if (top == 0) return;
    int drop = zel_bcd_limb_digits(top);
    x.w[0] = drop == 8 ? 0 : x.w[0] - x.w[0] % kPow10[drop];
}

constexpr int zel_bcd_grid_cmp(const Grid &a, const Grid &b) {
    for (int i = kLimbs - 1; i >= 0; --i)
        if (a.w[i] != b.w[i]) return a.w[i] > b.w[i] ? 1 : -1;
    return 0;
}

// a + b, or a - b with `sub`, cut. False when the sum reaches 10^8.
constexpr bool zel_bcd_grid_add(const Grid &a, const Grid &b, bool sub, Grid &r) {
    uint8_t flags = a.flags | b.flags;
    int bsign = sub ? -b.sign : b.sign;
    const Grid *big = &a, *small = &b;
    int sign = a.sign;
    bool add = a.sign == bsign;
    if (!add) {
        int c = zel_bcd_grid_cmp(a, b);
        if (c == 0) {
            r = zel_bcd_grid_zero(flags);
            return true;
        }
        if (c < 0) {
            big = &b;
            small = &a;
            sign = bsign;
        }
    }
    uint64_t carry = 0;
    Grid out{};
    for (int i = 0; i < kLimbs; ++i) {
        if (add) {
            uint64_t v = big->w[i] + small->w[i] + carry;
            carry = v >= kLimb;
            out.w[i] = v - (carry ? kLimb : 0);
        } else {
            uint64_t v = big->w[i] - small->w[i] - carry;  // wraps below 0
            carry = v >> 63;
            out.w[i] = v + (carry ? kLimb : 0);
        }
    }
    if (carry != 0) return false;
    out.sign = static_cast<int8_t>(sign);
    out.flags = flags;
    zel_bcd_grid_cut(out);
    r = out;
    return true;
}

// The columns of a product of two six-limb numbers, carried from column 0
// up; the limbs from column `first` on go to `out`, and false when anything
// is left above them.
constexpr bool zel_bcd_grid_columns(const uint64_t (&a)[kLimbs], const uint64_t (&b)[kLimbs],
                                    int first, uint64_t (&out)[kLimbs]) {
    uint64_t acc[2 * kLimbs] = {};
    for (int i = 0; i < kLimbs; ++i) {
        if (a[i] == 0) continue;
        for (int j = 0; j < kLimbs; ++j) acc[i + j] += a[i] * b[j];
    }
    uint64_t carry = 0;
    for (int k = 0; k < first; ++k) carry = (acc[k] + carry) / kLimb;
    for (int k = first; k < first + kLimbs; ++k) {
        uint64_t v = (k < 2 * kLimbs ? acc[k] : 0) + carry;
        carry = v / kLimb;
        out[k - first] = v - carry * kLimb;
    }
    for (int k = first + kLimbs; k < 2 * kLimbs; ++k) carry += acc[k];
    return carry == 0;
}

// a * b, cut: the exact product counts 10^-80, so columns 5 on are the
// product cut to 40 places. False when it reaches 10^8.
constexpr bool zel_bcd_grid_mul(const Grid &a, const Grid &b, Grid &r) {
    uint8_t flags = a.flags | b.flags;
    Grid out{};
    if (!zel_bcd_grid_columns(a.w, b.w, 5, out.w)) return false;
    if (zel_bcd_grid_is_zero(out)) {
        r = zel_bcd_grid_zero(flags);
        return true;
    }
    out.sign = static_cast<int8_t>(a.sign * b.sign);
    out.flags = flags;
    zel_bcd_grid_cut(out);
    r = out;
    return true;
}

// a times a reciprocal (of no flags), cut: the product counts 10^-88.
constexpr Grid zel_bcd_grid_mul_recip(const Grid &a, const Recip &q) {
    Grid out{};
    (void)zel_bcd_grid_columns(a.w, q.w, 6, out.w);  // below a: always fits
    if (zel_bcd_grid_is_zero(out)) return zel_bcd_grid_zero(a.flags);
    out.sign = a.sign;
    out.flags = a.flags;
    zel_bcd_grid_cut(out);
    return out;
}

// A work record onto the grid. False for what the grid does not hold: 10^8 or
// more, digits past 40 places, a digit above 9 or in the spill slot.
constexpr bool zel_bcd_grid_from(const WORK_BCD &w, Grid &g) {
    g = zel_bcd_grid_zero(w.flags);
    if (w.prec > kWorkPrec || w.data[0] != 0) return false;
    if (w.prec == 0) return true;
    int exp = w.exp;
    if (exp > 8 || exp - w.prec < -kWorkPrec) return false;
    for (int i = 1; i <= w.prec; ++i) {
        if (w.data[i] > 9) return false;
        int p = exp - i + kWorkPrec;  // place of digit i, counted in 10^-40
        g.w[p / 8] += w.data[i] * kPow10[p % 8];
    }
    g.sign = static_cast<int8_t>(w.sign < 0 ? -1 : 1);
    return true;
}

// A grid value as a normalised work record.
void zel_bcd_grid_to(const Grid &g, WORK_BCD &w) {
    uint8_t digits[8 * kLimbs];  // digit j weighs 10^(7 - j)
    for (int k = 0; k < kLimbs; ++k) {
        uint64_t v = g.w[kLimbs - 1 - k];
        for (int i = 7; i >= 0; --i) {
            digits[8 * k + i] = static_cast<uint8_t>(v % 10);
            v /= 10;
        }
    }
    int first = 0, last = 8 * kLimbs - 1;
    while (first <= last && digits[first] == 0) ++first;
    if (first > last) return zel_bcd_work_zero(w, g.flags);
    while (digits[last] == 0) --last;
    int exp = 8 - first;
    int prec = std::max(last - first + 1, exp);  // integer zeros stay
    std::memset(&w, 0, sizeof w);
    std::memcpy(w.data + 1, digits + first, static_cast<size_t>(prec));
    w.prec = static_cast<uint8_t>(prec);
    w.exp = static_cast<int8_t>(exp);
    w.sign = g.sign;
    w.flags = g.flags;
}

constexpr Grid zel_bcd_grid_constant(const WORK_BCD &w) {
    Grid g{};
    (void)zel_bcd_grid_from(w, g);
    return g;
}

// The constants the series use, in both forms.
enum ConstId { kC0, kC1, kC2, kCHalf, kC2_3, kC4_3, kCLn2, kConstCount };
constexpr WORK_BCD kWorkConst[kConstCount] = {c_0, c_1, c_2, c_1_2, c_2_3, c_4_3, c_ln2};
constexpr Grid kGridConst[kConstCount] = {
    zel_bcd_grid_constant(c_0),   zel_bcd_grid_constant(c_1),   zel_bcd_grid_constant(c_2),
    zel_bcd_grid_constant(c_1_2), zel_bcd_grid_constant(c_2_3), zel_bcd_grid_constant(c_4_3),
    zel_bcd_grid_constant(c_ln2)};
static_assert(kGridConst[kC1].w[5] == 1 && kGridConst[kCHalf].w[4] == 50000000 &&
              kGridConst[kC4_3].w[5] == 1 && kGridConst[kC4_3].w[0] == 33333330);

// ---- Reciprocals of small n, made at compile time by the Newton iteration
// of the division, step for step: the start value 100 / (m + 0.5) to six
// places for the first two digits m, then t = r * c; stop at t = 1; r + r *
// (1 - t), until r no longer moves. Every value of it lies on the grid.
constexpr unsigned kRecipCount = 128;

constexpr Recip zel_bcd_recip_of(unsigned n) {
    int rexp = n >= 100 ? 3 : n >= 10 ? 2 : 1;
    Grid c = zel_bcd_grid_zero(0);  // n / 10^rexp, in [0.1, 1)
    uint64_t cm = n * kPow10[8 - rexp];
    c.w[kLimbs - 2] = cm;
    unsigned m = rexp == 1 ? n * 10 : rexp == 2 ? n : n / 10;
    uint64_t den = 2 * static_cast<uint64_t>(m) + 1;
    uint64_t x0 = (2 * 200000000ull + den) / (2 * den);  // 10^6 * 100 / (m + 0.5)
    Grid r = zel_bcd_grid_zero(0);
    r.w[kLimbs - 1] = x0 / 1000000;
    r.w[kLimbs - 2] = (x0 % 1000000) * 100;
    Grid one = zel_bcd_grid_zero(0);
    one.w[kLimbs - 1] = 1;
    for (int step = 0; step < 256; ++step) {
        Grid t{}, u{}, t2{}, next{};
        (void)zel_bcd_grid_mul(r, c, t);
        if (zel_bcd_grid_cmp(t, one) == 0 && t.sign > 0) break;
        (void)zel_bcd_grid_add(one, t, true, u);
        (void)zel_bcd_grid_mul(r, u, t2);
        (void)zel_bcd_grid_add(r, t2, false, next);
        if (zel_bcd_grid_cmp(r, next) == 0) break;
        r = next;
    }
    // 1/n = r * 10^-rexp, counted in 10^-48: r's count times 10^(8 - rexp).
    Recip q{};
    uint64_t scale = kPow10[8 - rexp], carry = 0;
    for (int i = 0; i < kLimbs; ++i) {
        uint64_t v = r.w[i] * scale + carry;
        carry = v / kLimb;
        q.w[i] = v % kLimb;
    }
    return q;
}

struct RecipTable {
    Recip rows[kRecipCount + 1];  // row n is 1/n; row 0 unused
};

constexpr RecipTable zel_bcd_make_recips() {
    RecipTable t{};
    for (unsigned n = 1; n <= kRecipCount; ++n) t.rows[n] = zel_bcd_recip_of(n);
    return t;
}

constexpr RecipTable kRecips = zel_bcd_make_recips();
// 1/1 and 1/2 fall just short, as the iteration leaves them: 40 places of
// nines; 1/10 reaches 10^-41; 1/16 is exact.
static_assert(kRecips.rows[1].w[5] == 99999999 && kRecips.rows[1].w[1] == 99999999 &&
              kRecips.rows[1].w[0] == 0);
static_assert(kRecips.rows[2].w[5] == 49999999 && kRecips.rows[2].w[1] == 99999999);
static_assert(kRecips.rows[10].w[5] == 9999999 && kRecips.rows[10].w[0] == 90000000);
static_assert(kRecips.rows[16].w[5] == 6250000 && kRecips.rows[16].w[4] == 0);

// ---- The two arithmetics the methods run on. Each offers the same
// operations on its own values; a method is written once over either.

// The digit form: the work operations of bcd.h themselves.
struct DigitArith {
    using V = WORK_BCD;
    bool off = false;  // never: the digit form holds every value
    V from(const WORK_BCD &w) { return w; }
    V k(ConstId id) { return kWorkConst[id]; }
    void to(const V &v, WORK_BCD &w) { w = v; }
    V mul(const V &a, const V &b) {
        V r;
        zel_bcdWorkMult(&a, &b, &r);
        return r;
    }
    V add(const V &a, const V &b) {
        V r;
        zel_bcdWorkAdd(&a, &b, &r);
        return r;
    }
    V sub(const V &a, const V &b) {
        V r;
        zel_bcdWorkSub(&a, &b, &r);
        return r;
    }
    V neg(V a) {
        a.sign = static_cast<int8_t>(a.sign < 0 ? 1 : -1);
        return a;
    }
    V div_n(const V &a, unsigned n) {
        V d, r;
        zel_bcd_work_from_uint64(n, d);
        zel_bcdWorkDiv(&a, &d, &r);
        return r;
    }
    V recip(const V &a) {
        V r;
        zel_bcdWorkReciprocal(&a, &r);
        return r;
    }
    int cmp(const V &a, const V &b) { return zel_bcdWorkCompareMagnitude(&a, &b); }
    // A term that still counts: at least 10^-40 (exp -39).
    bool counts(const V &t) { return t.prec != 0 && t.exp >= -39; }
    // A trigonometric term too small to count: below 10^-41 (exp under -40).
    bool negligible(const V &t) { return t.prec == 0 || t.exp < -40; }
};

// The grid: the same values while they stay below 10^8; `off` says that one
// did not, and then nothing computed is to be used.
struct GridArith {
    using V = Grid;
    bool off = false;
    V from(const WORK_BCD &w) {
        V g{};
        if (!zel_bcd_grid_from(w, g)) off = true;
        return g;
    }
    V k(ConstId id) { return kGridConst[id]; }
    void to(const V &v, WORK_BCD &w) { zel_bcd_grid_to(v, w); }
    V mul(const V &a, const V &b) {
        V r = zel_bcd_grid_zero(0);
        if (!zel_bcd_grid_mul(a, b, r)) off = true;
        return r;
    }
    V add(const V &a, const V &b) {
        V r = zel_bcd_grid_zero(0);
        if (!zel_bcd_grid_add(a, b, false, r)) off = true;
        return r;
    }
    V sub(const V &a, const V &b) {
        V r = zel_bcd_grid_zero(0);
        if (!zel_bcd_grid_add(a, b, true, r)) off = true;
        return r;
    }
    V neg(V a) {
        a.sign = static_cast<int8_t>(-a.sign);
        return a;
    }
    V div_n(const V &a, unsigned n) {
        if (n != 0 && n <= kRecipCount) return zel_bcd_grid_mul_recip(a, kRecips.rows[n]);
        DigitArith d;  // past the table: the iteration at run time
        WORK_BCD w;
        to(a, w);
        return from(d.div_n(w, n));
    }
    V recip(const V &a) {
        WORK_BCD w, r;
        to(a, w);
        zel_bcdWorkReciprocal(&w, &r);
        return from(r);
    }
    int cmp(const V &a, const V &b) { return zel_bcd_grid_cmp(a, b); }
    // Nothing on the grid lies below 10^-40: a term counts unless it is 0.
    bool counts(const V &t) { return !zel_bcd_grid_is_zero(t); }
    bool negligible(const V &t) { return zel_bcd_grid_is_zero(t); }
};

// Runs a method on the grid, and again on digits if a value left the grid
// (or straight on digits, as the tests of the grid ask).
template <typename Method>
void zel_bcd_run(bool digits, Method &&method) {
    GridArith g;
    if (!digits) method(g);
    if (digits || g.off) {
        DigitArith d;
        method(d);
    }
}

// ---- Natural logarithm.

// From step 4 of the logarithm on: t (its exponent shifted) narrowed to
// [2/3, 4/3] with res keeping count in ln 2, then the series of ln(1 - y).
template <typename A>
void zel_bcd_log_tail(A &a, const WORK_BCD &tw, const WORK_BCD &resw, WORK_BCD &out) {
    using V = typename A::V;
    V t = a.from(tw), res = a.from(resw);
    const V two_thirds = a.k(kC2_3), four_thirds = a.k(kC4_3), ln2 = a.k(kCLn2);
    const V two = a.k(kC2), half = a.k(kCHalf), one = a.k(kC1);
    for (int i = 0; i < kMaxSteps && a.cmp(t, two_thirds) < 0; ++i) {
        t = a.mul(t, two);
        res = a.sub(res, ln2);
    }
    for (int i = 0; i < kMaxSteps && a.cmp(t, four_thirds) > 0; ++i) {
        t = a.mul(t, half);
        res = a.add(res, ln2);
    }
    V sum = a.k(kC0);
    int c = a.cmp(t, one);
    if (c != 0) {  // at exactly 1 the series is 0
        bool negate = c > 0;
        if (negate) t = a.recip(t);  // ln t = -ln(1/t), 1/t below 1
        const V y = a.sub(one, t);
        V power = y, term = y;
        unsigned n = 1;
        for (int i = 0; i < kMaxSteps && a.counts(term); ++i) {
            sum = a.sub(sum, term);
            power = a.mul(power, y);
            ++n;
            term = a.div_n(power, n);  // power / n, in this order
        }
        if (negate) sum = a.neg(sum);
    }
    res = a.add(sum, res);
    a.to(res, out);
}

void zel_bcd_work_log(const WORK_BCD &xin, WORK_BCD &res, bool digits = false) {
    WORK_BCD x = xin;
    zel_bcdNormalizeWork(&x);
    if (x.flags & kFlagErrors) return zel_bcd_work_zero(res, x.flags);
    // Deliberate: the logarithm of 0 is not a number here, not a division by
    // zero, and the zero carries exactly that flag.
    if (x.sign < 0 || x.prec == 0) return zel_bcd_work_zero(res, ZEL_BCD_FLAG_NAN);
    // Shortcuts that need no series: 1, 2 and 10.
    if (x.prec == 1 && x.exp == 1 && x.data[1] == 1) return zel_bcd_work_zero(res, 0);
    if (x.prec == 1 && x.exp == 1 && x.data[1] == 2) {
        res = c_ln2;
        res.flags |= x.flags;
        return;
    }
    if (x.prec == 2 && x.exp == 2 && x.data[1] == 1 && x.data[2] == 0) {
        res = c_ln10;
        res.flags |= x.flags;
        return;
    }
    // Powers of ten: t keeps one integer digit (exp 1) or exp -1.
    int shift = x.exp >= 2 ? x.exp - 1 : x.exp <= -2 ? x.exp + 1 : 0;
    WORK_BCD t = x, start = c_0;
    t.exp = static_cast<int8_t>(t.exp - shift);
    if (shift != 0) {
        WORK_BCD s;
        zel_bcd_work_from_uint64(static_cast<uint64_t>(shift < 0 ? -shift : shift), s);
        if (shift < 0) s.sign = -1;
        zel_bcdWorkMult(&c_ln10, &s, &start);
    }
    zel_bcd_run(digits, [&](auto &a) { zel_bcd_log_tail(a, t, start, res); });
}

// ---- Exponential.

// The series of e^f for a fraction f in [0, 1): 1 + f + f^2/2! + ...
template <typename A>
void zel_bcd_exp_series(A &a, const WORK_BCD &fw, WORK_BCD &out) {
    using V = typename A::V;
    const V f = a.from(fw);
    V sum = a.k(kC1), term = f;
    unsigned n = 2;
    for (int i = 0; i < kMaxSteps && a.counts(term); ++i) {
        sum = a.add(sum, term);
        term = a.div_n(a.mul(f, term), n);  // (f * term) / n, in this order
        ++n;
    }
    a.to(sum, out);
}

// x ^ y for a 64-bit y, by the bits of y from the top: y of 1 is x, else the
// power of y / 2 squared, times x for an odd y. An error or a zero stays
// what it is, so the work stops there. Deliberate: a power that falls below
// 10^-40 is cut to 0 with no flag, so 0.5^200 is 0 with sOKAY.
void zel_bcd_pow_uint64(const WORK_BCD &x, uint64_t y, WORK_BCD &res) {
    WORK_BCD r = x;
    for (int bit = 62 - __builtin_clzll(y); bit >= 0; --bit) {
        if ((r.flags & kFlagErrors) || r.prec == 0) break;
        WORK_BCD t;
        zel_bcdWorkMult(&r, &r, &t);
        if ((y >> bit) & 1)
            zel_bcdWorkMult(&x, &t, &r);
        else
            r = t;
    }
    res = r;
}

// work_powUInt64: error bits first; y of 0 gives 1 (0 ^ 0 too); x of 0 gives 0.
void zel_bcd_work_pow_uint64(const WORK_BCD &x, uint64_t y, WORK_BCD &res) {
    if (x.flags & kFlagErrors) return zel_bcd_work_zero(res, x.flags);
    if (y == 0) {
        res = c_1;
        res.flags = x.flags;
        return;
    }
    if (x.prec == 0) return zel_bcd_work_zero(res, x.flags);
    zel_bcd_pow_uint64(x, y, res);
}

// A work integer of fewer than 20 digits as a 64-bit number.
uint64_t zel_bcd_work_to_uint64(const WORK_BCD &w) {
    uint64_t v = 0;
    for (int i = 1; i <= w.exp && i <= w.prec; ++i) v = v * 10 + w.data[i];
    for (int i = w.prec; i < w.exp; ++i) v *= 10;
    return v;
}

// e to a positive integer n: from 20 digits on, halve n (by the division),
// recurse on the integer part, square, and multiply by e for an odd n;
// below that, e to the 64-bit number.
void zel_bcd_work_power_e(const WORK_BCD &n, WORK_BCD &res) {
    if (n.exp < 20) return zel_bcd_work_pow_uint64(c_e, zel_bcd_work_to_uint64(n), res);
    WORK_BCD half, r;
    zel_bcdWorkDiv(&n, &c_2, &half);
    zel_bcd_work_integer_part(half);
    zel_bcd_work_power_e(half, r);
    zel_bcdWorkMult(&r, &r, &res);
    if (n.prec == n.exp && (n.data[n.prec] & 1)) zel_bcdWorkMult(&res, &c_e, &res);
}

void zel_bcd_work_exp(const WORK_BCD &xin, WORK_BCD &res, bool digits = false) {
    WORK_BCD x = xin;
    zel_bcdNormalizeWork(&x);
    if (x.flags & kFlagErrors) return zel_bcd_work_zero(res, x.flags);
    WORK_BCD r = c_1, ip = x;
    if (x.exp >= 1) {
        ip.sign = 1;
        zel_bcd_work_integer_part(ip);
        zel_bcd_work_power_e(ip, r);
    }
    if (x.prec > x.exp && !(r.flags & kFlagOverflow)) {
        // The fraction, made positive: x itself, or x less its integer part.
        WORK_BCD f = x;
        if (x.exp >= 1) {
            WORK_BCD ips = ip;
            ips.sign = x.sign;
            zel_bcdWorkSub(&x, &ips, &f);
        }
        f.sign = 1;
        WORK_BCD sum;
        zel_bcd_run(digits, [&](auto &a) { zel_bcd_exp_series(a, f, sum); });
        zel_bcdWorkMult(&r, &sum, &r);
    }
    // Deliberate: only a result that fits is inverted, so e^-100 overflows in
    // e^100 and reports eRANGE rather than underflowing to 0.
    if (x.sign < 0 && x.prec != 0 && !(r.flags & kFlagOverflow)) zel_bcdWorkReciprocal(&r, &r);
    res = r;
}

// ---- Trigonometry.

// The sine (term and sum from x, n from 1) or cosine (from 1, n from 0)
// series: twice n + 1 and term times x / n, then the term negated and added.
template <typename A>
void zel_bcd_trig_series(A &a, const WORK_BCD &xw, bool cosine, WORK_BCD &out) {
    using V = typename A::V;
    const V x = a.from(xw);
    V term = cosine ? a.k(kC1) : x;
    V res = term;
    unsigned n = cosine ? 0 : 1;
    for (int i = 0; i < kMaxSteps; ++i) {
        for (int k = 0; k < 2; ++k) {
            ++n;
            term = a.mul(term, a.div_n(x, n));  // term * (x / n), in this order
        }
        if (a.negligible(term)) break;
        term = a.neg(term);
        res = a.add(res, term);
    }
    a.to(res, out);
}

// x with a magnitude of 2 pi or more reduced once: q = x / 2pi with its
// integer digits cut off, times 2pi. The sign of x stays.
void zel_bcd_work_reduce(const WORK_BCD &xin, WORK_BCD &x) {
    x = xin;
    zel_bcdNormalizeWork(&x);
    if ((x.flags & kFlagErrors) || zel_bcdWorkCompareMagnitude(&x, &c_2pi) < 0) return;
    WORK_BCD q;
    zel_bcdWorkDiv(&x, &c_2pi, &q);
    if (q.exp > 0) {
        int cut = std::min<int>(q.exp, q.prec);
        int left = q.prec - cut;
        std::memmove(q.data + 1, q.data + 1 + cut, static_cast<size_t>(left));
        std::memset(q.data + 1 + left, 0, static_cast<size_t>(kWorkPrec - left));
        q.prec = static_cast<uint8_t>(left);
        q.exp = 0;
    }
    zel_bcdWorkMult(&q, &c_2pi, &x);
}

// The series on a reduced x.
void zel_bcd_work_trig(const WORK_BCD &x, bool cosine, WORK_BCD &res, bool digits = false) {
    if (x.flags & kFlagErrors) return zel_bcd_work_zero(res, x.flags);
    zel_bcd_run(digits, [&](auto &a) { zel_bcd_trig_series(a, x, cosine, res); });
}

// ---- Powers.

// x to a decimal integer y > 0: below 20 digits through 64 bits; otherwise
// halve y (times 0.5; a fraction says y was odd), recurse on the integer
// part, square, and multiply by x for an odd y.
void zel_bcd_pow_int(const WORK_BCD &x, const WORK_BCD &y, WORK_BCD &res) {
    if (y.exp < 20) return zel_bcd_work_pow_uint64(x, zel_bcd_work_to_uint64(y), res);
    WORK_BCD half, r;
    zel_bcdWorkMult(&y, &c_1_2, &half);
    bool odd = half.prec > half.exp;
    zel_bcd_work_integer_part(half);
    zel_bcd_pow_int(x, half, r);
    zel_bcdWorkMult(&r, &r, &res);
    if (odd) zel_bcdWorkMult(&x, &res, &res);
}

// ---- Public functions: the work value, then its reduction to 32 digits.

ZEL_RETCODE zel_bcd_assign(const WORK_BCD &w, ZEL_BCD_ROUNDING_MODE mode, ZEL_BCD_T *res) {
    return zel_bcdAssignResult(&w, mode, res);
}

using WorkFn = void (*)(const WORK_BCD &, WORK_BCD &);

ZEL_RETCODE zel_bcd_unary(const ZEL_BCD_T *x, WorkFn fn, ZEL_BCD_ROUNDING_MODE mode,
                          ZEL_BCD_T *res) {
    WORK_BCD w, r;
    zel_bcd_work_operand(x, w);
    fn(w, r);
    return zel_bcd_assign(r, mode, res);
}

// Sine and cosine of one reduced x, for the quotients.
void zel_bcd_sin_cos(const ZEL_BCD_T *x, WORK_BCD &s, WORK_BCD &c) {
    WORK_BCD w, rx;
    zel_bcd_work_operand(x, w);
    zel_bcd_work_reduce(w, rx);
    zel_bcd_work_trig(rx, false, s);
    zel_bcd_work_trig(rx, true, c);
}

}  // namespace

void zel_bcdWorkLog(const WORK_BCD *x, WORK_BCD *res) {
    WORK_BCD r;
    zel_bcd_work_log(*x, r);
    *res = r;
}

void zel_bcdWorkExp(const WORK_BCD *x, WORK_BCD *res) {
    WORK_BCD r;
    zel_bcd_work_exp(*x, r);
    *res = r;
}

void zel_bcdWorkSin(const WORK_BCD *x, WORK_BCD *res) {
    WORK_BCD rx, r;
    zel_bcd_work_reduce(*x, rx);
    zel_bcd_work_trig(rx, false, r);
    *res = r;
}

void zel_bcdWorkCos(const WORK_BCD *x, WORK_BCD *res) {
    WORK_BCD rx, r;
    zel_bcd_work_reduce(*x, rx);
    zel_bcd_work_trig(rx, true, r);
    *res = r;
}

ZEL_RETCODE zel_bcdLog(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_unary(
        x, [](const WORK_BCD &w, WORK_BCD &r) { zel_bcd_work_log(w, r); }, rounding_mode, res);
}

ZEL_RETCODE zel_bcdLog10(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_unary(
        x,
        [](const WORK_BCD &w, WORK_BCD &r) {
            zel_bcd_work_log(w, r);
            zel_bcdWorkMult(&r, &c_1_ln10, &r);
        },
        rounding_mode, res);
}

ZEL_RETCODE zel_bcdExp(const ZEL_BCD_T *bcd, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_unary(
        bcd, [](const WORK_BCD &w, WORK_BCD &r) { zel_bcd_work_exp(w, r); }, rounding_mode, res);
}

ZEL_RETCODE zel_bcdSqrt(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_unary(
        x,
        [](const WORK_BCD &w, WORK_BCD &r) {
            if (w.flags & kFlagErrors) return zel_bcd_work_zero(r, w.flags);
            if (w.sign < 0 && w.prec != 0) return zel_bcd_work_zero(r, ZEL_BCD_FLAG_NAN);
            if (w.prec == 0) return zel_bcd_work_zero(r, w.flags);
            // Deliberate: the root is exp(0.5 * ln x), so even sqrt(4) is 2
            // only through the rounding of the last digits.
            WORK_BCD l;
            zel_bcd_work_log(w, l);
            zel_bcdWorkMult(&c_1_2, &l, &l);
            zel_bcd_work_exp(l, r);
        },
        rounding_mode, res);
}

ZEL_RETCODE zel_bcdPi(ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_assign(c_pi, rounding_mode, res);
}

ZEL_RETCODE zel_bcdSin(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_unary(
        x, [](const WORK_BCD &w, WORK_BCD &r) { zel_bcdWorkSin(&w, &r); }, rounding_mode, res);
}

ZEL_RETCODE zel_bcdCos(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_unary(
        x, [](const WORK_BCD &w, WORK_BCD &r) { zel_bcdWorkCos(&w, &r); }, rounding_mode, res);
}

ZEL_RETCODE zel_bcdTan(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    WORK_BCD s, c, r;
    zel_bcd_sin_cos(x, s, c);
    zel_bcdWorkDiv(&s, &c, &r);
    return zel_bcd_assign(r, rounding_mode, res);
}

ZEL_RETCODE zel_bcdCot(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    WORK_BCD s, c, r;
    zel_bcd_sin_cos(x, s, c);
    zel_bcdWorkDiv(&c, &s, &r);
    return zel_bcd_assign(r, rounding_mode, res);
}

ZEL_RETCODE zel_bcdCsc(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_unary(
        x,
        [](const WORK_BCD &w, WORK_BCD &r) {
            zel_bcdWorkSin(&w, &r);
            zel_bcdWorkReciprocal(&r, &r);
        },
        rounding_mode, res);
}

ZEL_RETCODE zel_bcdSec(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_unary(
        x,
        [](const WORK_BCD &w, WORK_BCD &r) {
            zel_bcdWorkCos(&w, &r);
            zel_bcdWorkReciprocal(&r, &r);
        },
        rounding_mode, res);
}

ZEL_RETCODE zel_bcdPow(const ZEL_BCD_T *x, const ZEL_BCD_T *y, ZEL_BCD_ROUNDING_MODE rounding_mode,
                       ZEL_BCD_T *res) {
    WORK_BCD wx, wy, r;
    zel_bcd_work_operand(x, wx);
    zel_bcd_work_operand(y, wy);
    uint8_t flags = wx.flags | wy.flags;
    bool xzero = wx.prec == 0, yneg = wy.sign < 0 && wy.prec != 0;
    if (flags & kFlagErrors) {
        zel_bcd_work_zero(r, flags);
    } else if (wy.prec != wy.exp) {  // y has a fraction
        if (wx.sign < 0 && !xzero) {
            zel_bcd_work_zero(r, ZEL_BCD_FLAG_NAN);
        } else if (xzero) {
            zel_bcd_work_zero(r, flags | (yneg ? ZEL_BCD_FLAG_DIVBY0 : 0));
        } else {
            WORK_BCD l;
            zel_bcd_work_log(wx, l);
            zel_bcdWorkMult(&wy, &l, &l);
            zel_bcd_work_exp(l, r);
        }
    } else if (wy.prec == 0) {
        r = c_1;
        r.flags = flags;
    } else if (xzero) {
        zel_bcd_work_zero(r, flags | (yneg ? ZEL_BCD_FLAG_DIVBY0 : 0));
    } else {
        if (yneg) {
            zel_bcdWorkReciprocal(&wx, &wx);
            wy.sign = 1;
        }
        zel_bcd_pow_int(wx, wy, r);
    }
    return zel_bcd_assign(r, rounding_mode, res);
}

ZEL_RETCODE zel_bcdPowInt64(const ZEL_BCD_T *x, int64_t y, ZEL_BCD_ROUNDING_MODE rounding_mode,
                            ZEL_BCD_T *res) {
    WORK_BCD w, r;
    zel_bcd_work_operand(x, w);
    if (w.flags & kFlagErrors) {
        zel_bcd_work_zero(r, w.flags);  // error bits come before y = 0
    } else if (y == 0) {
        r = c_1;
        r.flags = w.flags;
    } else if (w.prec == 0) {
        zel_bcd_work_zero(r, w.flags | (y < 0 ? ZEL_BCD_FLAG_DIVBY0 : 0));
    } else if (y < 0) {
        zel_bcdWorkReciprocal(&w, &w);
        // -y in 64 unsigned bits, so that INT64_MIN is 2^63.
        zel_bcd_work_pow_uint64(w, 0 - static_cast<uint64_t>(y), r);
    } else {
        zel_bcd_work_pow_uint64(w, static_cast<uint64_t>(y), r);
    }
    return zel_bcd_assign(r, rounding_mode, res);
}

ZEL_RETCODE zel_bcdPowInt32(const ZEL_BCD_T *x, int32_t y, ZEL_BCD_ROUNDING_MODE rounding_mode,
                            ZEL_BCD_T *res) {
    return zel_bcdPowInt64(x, y, rounding_mode, res);
}

ZEL_RETCODE zel_bcdPowUInt64(const ZEL_BCD_T *x, uint64_t y, ZEL_BCD_ROUNDING_MODE rounding_mode,
                             ZEL_BCD_T *res) {
    WORK_BCD w, r;
    zel_bcd_work_operand(x, w);
    zel_bcd_work_pow_uint64(w, y, r);
    return zel_bcd_assign(r, rounding_mode, res);
}

ZEL_RETCODE zel_bcdPowUInt32(const ZEL_BCD_T *x, uint32_t y, ZEL_BCD_ROUNDING_MODE rounding_mode,
                             ZEL_BCD_T *res) {
    return zel_bcdPowUInt64(x, y, rounding_mode, res);
}

// ---- The numeric record.

ZEL_RETCODE zel_bcdFromNumericStruct(const ZEL_NUMERIC_T *pVal, uint8_t prec, uint8_t scale,
                                     ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    (void)rounding_mode;  // every step is exact or out of range
    if (scale > ZEL_BCD_MAX_SCALE || prec > ZEL_BCD_MAX_PREC) return eRANGE;
    // The sum of byte i times 256^i, exact: a total of more than 32 digits is
    // where the running sum would overflow.
    unsigned __int128 v = 0;
    for (int i = ZEL_NUMERIC_VAL_BYTES - 1; i >= 0; --i) v = (v << 8) | pVal->val[i];
    // Digits from the low end, 16 at a time in 64 bits: v has at most 39.
    uint8_t digits[48];
    int n = 0;
    constexpr uint64_t k1e16 = 10000000000000000ull;
    for (int part = 0; part < 3 && v != 0; ++part) {
        uint64_t low = static_cast<uint64_t>(v % k1e16);
        v /= k1e16;
        for (int i = 0; i < 16; ++i, low /= 10) digits[n++] = static_cast<uint8_t>(low % 10);
    }
    while (n > 0 && digits[n - 1] == 0) --n;
    ZEL_BCD_T b;
    std::memset(&b, 0, sizeof b);
    b.sign = 1;
    if (n > ZEL_BCD_MAX_PREC) {
        b.flags = kFlagOverflow;  // the error zero
        *res = b;
        return eRANGE;
    }
    if (n == 0) {
        *res = b;  // the canonical zero, whatever the sign and scale
        return sOKAY;
    }
    for (int i = 0; i < n; ++i) b.data[i + 1] = digits[n - 1 - i];
    b.prec = static_cast<uint8_t>(n);
    b.exp = static_cast<int8_t>(n - scale);
    b.sign = static_cast<int8_t>(pVal->sign == 1 ? 1 : -1);
    *res = b;
    return sOKAY;
}

ZEL_RETCODE zel_bcdToNumericStruct(const ZEL_BCD_T *b, uint8_t prec, uint8_t scale,
                                   ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_NUMERIC_T *pVal) {
    (void)rounding_mode;  // the integer is split into bytes exactly
    if (scale > ZEL_BCD_MAX_SCALE || prec > ZEL_BCD_MAX_PREC) return eRANGE;
    if (b->flags & kFlagErrors) return zel_bcdRetcode(b->flags);
    ZEL_BCD_T c;
    zel_bcdCopy(b, &c);
    zel_bcdNormalize(&c);
    ZEL_RETCODE rc = zel_bcdAdjust(&c, prec, scale);
    if (rc < 0) return rc;
    zel_bcdNormalize(&c);
    pVal->sign = c.sign > 0 ? 1 : 0;
    pVal->precision = c.prec;
    pVal->scale = static_cast<int8_t>(c.prec - c.exp);
    // The digits as one integer, split into base-256 digits exactly, whatever
    // the mode: a quotient by 256 rounded to 32 digits would step up from
    // 2.56e31 on and leave a byte of -1.
    unsigned __int128 v = 0;
    for (int i = 1; i <= c.prec; ++i) v = v * 10 + c.data[i];
    // Deliberate: only the bytes the integer needs are written; the rest of
    // val stays as the caller had it, as stored records expect.
    for (int i = 0; v != 0; ++i, v >>= 8) pVal->val[i] = static_cast<uint8_t>(v);
    return rc;
}

double b_getDoubleFromNumeric(const ZEL_NUMERIC_T *pNumStr) {
    // Deliberate: the sum and the multiplier wrap in 64 bits, so only the
    // first 8 bytes count, and 10^scale is computed in 32 bits; stored values
    // were read this way. Unsigned types make both wraps defined.
    uint64_t sum = 0, mult = 1;
    for (int i = 0; i < ZEL_NUMERIC_VAL_BYTES; ++i) {
        sum += pNumStr->val[i] * mult;
        mult *= 256;
    }
    double d = static_cast<double>(sum);
    if (pNumStr->scale > 0) {
        uint32_t p = 1;
        for (int i = 0; i < pNumStr->scale; ++i) p *= 10;
        d /= static_cast<double>(p);
    }
    return pNumStr->sign == 0 ? -d : d;
}

void zel::detail::zel_bcdWorkFunctionDigits(BcdFn fn, const WORK_BCD *x, WORK_BCD *res) {
    WORK_BCD rx, r;
    switch (fn) {
        case BcdFn::kLog:
            zel_bcd_work_log(*x, r, true);
            break;
        case BcdFn::kExp:
            zel_bcd_work_exp(*x, r, true);
            break;
        default:
            zel_bcd_work_reduce(*x, rx);
            zel_bcd_work_trig(rx, fn == BcdFn::kCos, r, true);
            break;
    }
    *res = r;
}

bool zel::detail::zel_bcdRecipTable(unsigned n, WORK_BCD *res) {
    if (n == 0 || n > kRecipCount) return false;
    // 1/n counts 10^-48; the grid form counts 10^-40, so the digits of 1/n
    // are those of its count, placed by hand.
    const Recip &q = kRecips.rows[n];
    Grid g = zel_bcd_grid_zero(0);
    for (int i = 0; i < kLimbs; ++i) g.w[i] = q.w[i];
    zel_bcd_grid_to(g, *res);
    res->exp = static_cast<int8_t>(res->exp - 8);
    return true;
}
