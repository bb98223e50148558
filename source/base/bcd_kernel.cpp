/*
 * bcd_kernel.cpp - the arithmetic of the exact decimals: sums, products,
 * reciprocals and quotients in the 40-digit work form, and the one reduction
 * to 32 digits.
 *
 * Every operation computes its exact result (up to 80 digits, on the stack),
 * cuts it to 40 digits without rounding, and only the final step,
 * zel_bcdAssignResult, rounds to 32 digits under the caller's mode. Since
 * only the exact value matters, sums are formed eight digits to a word and
 * products in limbs of 10^8. Division multiplies by a reciprocal found by
 * Newton's iteration in the 40-digit form, run on limbs with the very values
 * the digit operations would give: on a fixed grid of six limbs where the
 * values stay, on general limbs where they do not, on digits for the rest.
 * The public functions round most results straight from their exact digits,
 * with the outcome of the cut and the reduction, and leave the rest to those
 * two; sums of operands within 15 places are added in one register of digit
 * bytes instead. The record side (text, native numbers, the packed form) is
 * bcd.cpp.
 */
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "bcd_kernel_internal.h"

static_assert(offsetof(WORK_BCD, data) == offsetof(ZEL_BCD_T, data) &&
                  offsetof(DWORK_BCD, data) == offsetof(ZEL_BCD_T, data),
              "a ZEL_BCD_T is read through a WORK_BCD view");
static_assert(sizeof(WORK_BCD) == 45 && sizeof(DWORK_BCD) == 85);

using namespace zel::detail;

namespace zel::detail {

// Magnitude comparison, place by place from the larger exp to the larger scale.
int zel_bcd_ucompare(const BcdOp &l, const BcdOp &r) {
    if (l.d == r.d && l.prec == r.prec && l.exp == r.exp) return 0;
    // Both normalised: the exponent decides, else the digits in order.
    if (l.prec > 0 && r.prec > 0 && l.d[0] == 0 && r.d[0] == 0 && l.d[1] != 0 && r.d[1] != 0) {
        if (l.exp != r.exp) return l.exp > r.exp ? 1 : -1;
        int n = std::min(l.prec, r.prec);
        int c = std::memcmp(l.d + 1, r.d + 1, static_cast<size_t>(n));
        if (c != 0) return c > 0 ? 1 : -1;
        for (int i = n + 1; i <= l.prec; ++i)
            if (l.d[i] != 0) return 1;
        for (int i = n + 1; i <= r.prec; ++i)
            if (r.d[i] != 0) return -1;
        return 0;
    }
    int hi = std::max(l.exp, r.exp);
    int lo = -std::max(l.prec - l.exp, r.prec - r.exp);
    for (int q = hi; q >= lo; --q) {
        int a = zel_bcd_get_digit(l, q), b = zel_bcd_get_digit(r, q);
        if (a != b) return a > b ? 1 : -1;
    }
    return 0;
}

}  // namespace zel::detail

namespace {

// The 80-digit form of a sum or product, before it is cut to 40 digits:
// digits d[0..prec] (d[0] the spill slot) with a header.
struct WideDigits {
    const uint8_t *d;
    int prec;
    int exp;
    int sign;
    uint8_t flags;
};

// From the 80-digit form to the 40-digit one: the digits past 40 are cut with
// no rounding and no flag, deliberately: only the final reduction rounds.
void zel_bcd_normalize_res(const WideDigits &w, WORK_BCD &res) {
    int prec = w.prec, exp = w.exp;
    while (prec > exp && prec > 0 && w.d[prec] == 0) --prec;
    int k = 0;
    while (k <= prec && w.d[k] == 0) ++k;
    if (k > prec) return zel_bcd_set_zero(res, w.flags);
    int np = std::min(prec + 1 - k, kWorkPrec);
    int ne = exp + 1 - k;
    if (np - ne > kWorkPrec) np = ne >= -kWorkPrec ? ne + kWorkPrec : 0;
    if (ne > np) return zel_bcd_set_zero(res, w.flags | kFlagOverflow);
    if (np <= 0) return zel_bcd_set_zero(res, w.flags);
    std::memset(res.data, 0, sizeof res.data);
    std::memcpy(res.data + 1, w.d + k, static_cast<size_t>(np));
    res.prec = static_cast<uint8_t>(np);
    res.exp = static_cast<int8_t>(ne);
    res.sign = static_cast<int8_t>(w.sign);
    res.flags = w.flags;
}

// ---- Addition and subtraction, eight digits at a time. A frame of places
// holds both operands: exp the larger exp, scale the larger scale, so at most
// 80 digits. Each operand is laid into a zeroed array so that the frame ends
// on a multiple of eight bytes, and words of eight digits are added with the
// decimal carry done in binary: every byte is biased by 246, so that a digit
// sum of 10 or more carries out of its byte, and the bias is taken back from
// the bytes that did not carry.
constexpr int kFrameBytes = 88;
constexpr uint64_t kLowBytes = 0x0001010101010101ull;  // bytes 0 to 6

struct Frame {
    // a has room for reading 32 digits from any place of the frame
    alignas(16) uint8_t a[kFrameBytes + 40];
    alignas(16) uint8_t b[kFrameBytes];
    int off;  // frame position j is at a[off + j]
    int exp;
    int prec;
    int sign;
    uint8_t flags;
};

// Puts the digits d[0..prec] at `at` in a zeroed frame. The frame is cleared
// in whole vectors, which beats a string store for so few bytes.
void zel_bcd_frame_place(uint8_t *frame, int at, const BcdOp &o) {
    typedef uint8_t V16 __attribute__((vector_size(16)));
    static_assert(kFrameBytes % 16 == 8);
    for (int i = 0; i + 16 <= kFrameBytes; i += 16) {
        const V16 zero = {};
        std::memcpy(frame + i, &zero, 16);
    }
    std::memset(frame + kFrameBytes - 8, 0, 8);
    std::memcpy(frame + at, o.d, static_cast<size_t>(o.prec) + 1);
}

// False when the frame passes 80 digits (only a corrupt header gets there).
bool zel_bcd_frame(const BcdOp &l, const BcdOp &r, Frame &f) {
    f.exp = std::max(l.exp, r.exp);
    f.prec = f.exp + std::max(l.prec - l.exp, r.prec - r.exp);
    if (f.prec > kDWorkPrec || f.exp > 100 || f.exp < -100) return false;
    f.off = (8 - (f.prec + 1) % 8) % 8;
    zel_bcd_frame_place(f.a, f.off + (f.exp - l.exp), l);
    std::memset(f.a + kFrameBytes, 0, 40);
    zel_bcd_frame_place(f.b, f.off + (f.exp - r.exp), r);
    return true;
}

inline uint64_t zel_bcd_load_word(const uint8_t *p) {
    uint64_t x;
    std::memcpy(&x, p, 8);
    return __builtin_bswap64(x);  // least significant digit in the low byte
}

inline void zel_bcd_store_word(uint8_t *p, uint64_t x) {
    x = __builtin_bswap64(x);
    std::memcpy(p, &x, 8);
}

// f.a = f.a + f.b over the frame; the last carry lands in position 0.
void zel_bcd_add_frame(Frame &f) {
    uint64_t carry = 0;
    for (int k = f.off + f.prec + 1 - 8; k >= 0; k -= 8) {
        uint64_t x = zel_bcd_load_word(f.a + k) + 0xF6F6F6F6F6F6F6F6ull;
        uint64_t y = zel_bcd_load_word(f.b + k), s;
        bool c1 = __builtin_add_overflow(x, y, &s);
        bool c2 = __builtin_add_overflow(s, carry, &s);
        uint64_t carries = s ^ x ^ y;  // bit 8i: carry into byte i
        uint64_t kept = (~carries >> 8) & kLowBytes;
        carry = c1 | c2;
        if (!carry) kept |= 1ull << 56;
        zel_bcd_store_word(f.a + k, s - kept * 246);
    }
}

// f.a = f.a - f.b over the frame, f.a not the smaller.
void zel_bcd_sub_frame(Frame &f) {
    uint64_t borrow = 0;
    for (int k = f.off + f.prec + 1 - 8; k >= 0; k -= 8) {
        uint64_t x = zel_bcd_load_word(f.a + k), y = zel_bcd_load_word(f.b + k), s;
        bool b1 = __builtin_sub_overflow(x, y, &s);
        bool b2 = __builtin_sub_overflow(s, borrow, &s);
        uint64_t borrows = s ^ x ^ y;  // bit 8i: borrow into byte i
        uint64_t lent = (borrows >> 8) & kLowBytes;
        borrow = b1 | b2;
        if (borrow) lent |= 1ull << 56;
        zel_bcd_store_word(f.a + k, s - lent * 246);
    }
}

// The exact sum or difference in f.a. False when the result is already in
// `res`: an error zero, a zero of equal magnitudes, or a frame overflow.
bool zel_bcd_sum_frame(const BcdOp &l, const BcdOp &r, bool subtract, Frame &f, WORK_BCD &res) {
    f.flags = l.flags | r.flags;
    if (f.flags & kFlagErrors) {
        zel_bcd_set_zero(res, f.flags);
        return false;
    }
    f.sign = l.sign;
    const BcdOp *big = &l, *small = &r;
    bool add = (l.sign == r.sign) != subtract;
    if (!add) {
        // Magnitudes differ in sign: subtract the smaller from the larger.
        int c = zel_bcd_ucompare(l, r);
        if (c == 0) {
            zel_bcd_set_zero(res, f.flags);
            return false;
        }
        if (c < 0) {
            std::swap(big, small);
            f.sign = -f.sign;
        }
    }
    if (!zel_bcd_frame(*big, *small, f)) {
        zel_bcd_set_zero(res, f.flags | kFlagOverflow);
        return false;
    }
    if (add)
        zel_bcd_add_frame(f);
    else
        zel_bcd_sub_frame(f);
    return true;
}

inline WideDigits zel_bcd_frame_digits(const Frame &f) {
    return WideDigits{f.a + f.off, f.prec, f.exp, f.sign, f.flags};
}

void zel_bcd_work_add(const BcdOp &l, const BcdOp &r, bool subtract, WORK_BCD &res) {
    Frame f;
    if (zel_bcd_sum_frame(l, r, subtract, f, res))
        zel_bcd_normalize_res(zel_bcd_frame_digits(f), res);
}

// ---- Multiplication in limbs of eight digits. The exact product does not
// depend on how it is formed; the digits it yields are those of schoolbook.

// Eight digit bytes of a word, the first in the low byte, to their value.
constexpr uint64_t zel_bcd_word_value(uint64_t x) {
    x = (x * 10 + (x >> 8)) & 0x00FF00FF00FF00FFull;
    x = (x * 100 + (x >> 16)) & 0x0000FFFF0000FFFFull;
    return (x * 10000 + (x >> 32)) & 0xFFFFFFFFull;
}

// Eight digits, most significant first, to their value (digits 0 to 9).
inline uint64_t zel_bcd_eight_digits(const uint8_t *p) {
    uint64_t x;
    std::memcpy(&x, p, 8);
    return zel_bcd_word_value(x);
}

// Per r of 1 to 8: the first r bytes of a word, and the inverse of 5^(8 - r)
// modulo 2^64, by which a multiple of 10^(8 - r) is divided exactly after a
// shift by 8 - r.
struct TopLimb {
    uint64_t mask;
    uint64_t inverse;
};
constexpr std::array<TopLimb, 9> kTopLimb = [] {
    std::array<TopLimb, 9> t{};
    for (int r = 1; r <= 8; ++r) {
        uint64_t five = 1;
        for (int i = 0; i < 8 - r; ++i) five *= 5;
        uint64_t inv = five;  // Newton's iteration: each step doubles the good bits
        for (int i = 0; i < 6; ++i) inv *= 2 - five * inv;
        t[r] = TopLimb{r == 8 ? ~uint64_t{0} : (uint64_t{1} << (8 * r)) - 1, inv};
    }
    return t;
}();
static_assert(kTopLimb[5].inverse * 125 == 1 && kTopLimb[8].inverse == 1);

// n digits (1 to 40) to limbs of 10^8, least significant first. The digits
// are read in place, eight to a word: the lower limbs end on the last digit,
// the top one takes the first n mod 8 (or 8) digits from the start, read as a
// multiple of a power of ten and divided exactly. Nothing is copied first: a
// word read over bytes just copied would wait for the copy.
int zel_bcd_to_limbs(const uint8_t *d, int n, uint64_t *limbs) {
    const int nl = (n + 7) / 8;
    for (int k = 0; k < nl - 1; ++k) limbs[k] = zel_bcd_eight_digits(d + n - 8 * (k + 1));
    const int r = n - 8 * (nl - 1);
    uint64_t x;
    std::memcpy(&x, d, 8);  // d[0..7] lie within the record whatever n is
    const uint64_t v = zel_bcd_word_value(x & kTopLimb[r].mask);
    limbs[nl - 1] = (v >> (8 - r)) * kTopLimb[r].inverse;
    return nl;
}

// A value below 10^8 to eight digit bytes, most significant first: halves,
// quarters and single digits split in parallel lanes of one word.
inline void zel_bcd_limb_digits(uint32_t v, uint8_t *out) {
    uint64_t x = (v / 10000) | (static_cast<uint64_t>(v % 10000) << 32);
    uint64_t q = ((x * 5243) >> 19) & 0x0000007F0000007Full;  // lane / 100
    x = q | ((x - q * 100) << 16);
    q = ((x * 103) >> 10) & 0x000F000F000F000Full;  // lane / 10
    x = q | ((x - q * 10) << 8);
    std::memcpy(out, &x, 8);
}

constexpr int kProductBytes = 8 + 80 + 32;

// The exact product's digits into `digits`, as `out` describes them, with 32
// zero bytes after them. False when `res` holds the result already: an error
// zero, a zero, an exponent out of range.
bool zel_bcd_product(const BcdOp &l, const BcdOp &r, uint8_t (&digits)[kProductBytes],
                     WideDigits &out, WORK_BCD &res) {
    uint8_t flags = l.flags | r.flags;
    if ((flags & kFlagErrors) || l.prec == 0 || r.prec == 0) {
        zel_bcd_set_zero(res, flags);
        return false;
    }
    int exp = l.exp + r.exp;
    if (exp > 100 || exp < -100) {
        zel_bcd_set_zero(res, flags | kFlagOverflow);
        return false;
    }
    uint64_t a[5], b[5], acc[10] = {};
    int na = zel_bcd_to_limbs(l.d + 1, l.prec, a);
    int nb = zel_bcd_to_limbs(r.d + 1, r.prec, b);
    for (int i = 0; i < na; ++i)
        for (int j = 0; j < nb; ++j) acc[i + j] += a[i] * b[j];
    int n = na + nb;
    uint64_t carry = 0;
    for (int k = 0; k < n; ++k) {
        uint64_t v = acc[k] + carry;
        carry = v / 100000000u;
        zel_bcd_limb_digits(static_cast<uint32_t>(v % 100000000u), digits + 8 + (n - 1 - k) * 8);
    }
    std::memset(digits + 8 + 8 * n, 0, 32);
    // The product has l.prec + r.prec digits; position 0 is the empty spill slot.
    int prec = l.prec + r.prec;
    uint8_t *d = digits + 8 + n * 8 - prec - 1;
    d[0] = 0;
    out = WideDigits{d, prec, exp, l.sign * r.sign, flags};
    return true;
}

void zel_bcd_work_mult(const BcdOp &l, const BcdOp &r, WORK_BCD &res) {
    alignas(8) uint8_t digits[kProductBytes];
    WideDigits wide;
    if (zel_bcd_product(l, r, digits, wide, res)) zel_bcd_normalize_res(wide, res);
}

// Start values of Newton's iteration: row n - 10 holds 100 / (n + 0.5) to six
// places, trailing zeros dropped, for the first two digits n of the divisor.
struct X0_LOOKUP {
    uint8_t prec;
    int8_t exp;
    uint8_t data[7];
};

constexpr X0_LOOKUP zel_bcd_x0_row(int n) {
    // 10^8 / (n + 0.5) = 2 * 10^8 / (2n + 1), rounded to an integer of 7 digits.
    uint64_t den = 2 * static_cast<uint64_t>(n) + 1;
    uint64_t v = (2 * 200000000ull + den) / (2 * den);
    X0_LOOKUP row{7, 1, {}};
    for (int i = 6; i >= 0; --i) {
        row.data[i] = static_cast<uint8_t>(v % 10);
        v /= 10;
    }
    while (row.prec > 1 && row.data[row.prec - 1] == 0) --row.prec;
    return row;
}

struct X0Table {
    X0_LOOKUP rows[90];
};

constexpr X0Table zel_bcd_make_x0() {
    X0Table t{};
    for (int n = 10; n < 100; ++n) t.rows[n - 10] = zel_bcd_x0_row(n);
    return t;
}

constexpr X0Table x0_start = zel_bcd_make_x0();
static_assert(x0_start.rows[0].prec == 6 && x0_start.rows[0].data[0] == 9 &&
              x0_start.rows[0].data[5] == 1);
static_assert(x0_start.rows[1].prec == 7 && x0_start.rows[1].data[6] == 2);
static_assert(x0_start.rows[2].prec == 1 && x0_start.rows[2].data[0] == 8);
static_assert(x0_start.rows[89].prec == 7 && x0_start.rows[89].data[0] == 1 &&
              x0_start.rows[89].data[3] == 5 && x0_start.rows[89].data[6] == 5);

// Iterations that a well-formed operand never comes near (it needs about
// eight); they only keep a corrupt record from looping for ever.
constexpr int kMaxNewtonSteps = 256;

// ---- Newton's iteration. Every step is a work operation: exact, then cut to
// 40 digits and 40 places. The values of the iteration stay magnitudes near 1,
// so the steps are done on integers in limbs of 10^8 with a power of ten,
// which gives the very values the digit operations give; the digit form is
// the fallback for operands that the limbs do not cover.

// A magnitude: sum of w[i] * 10^(8i + exp); n limbs, 0 for zero. The
// exponent stays a multiple of 8, so that aligning two values moves whole
// limbs and cutting digits off clears them in place.
constexpr int kMaxLimbs = 14;

struct Limbs {
    uint64_t w[kMaxLimbs];
    int n;
    int exp;
};

constexpr uint64_t kLimb = 100000000;

// Decimal digits of a limb value from 1 to 10^8 - 1: 1 to 8.
constexpr int zel_bcd_limb_width(uint64_t v) {
    return 1 + (v >= 10) + (v >= 100) + (v >= 1000) + (v >= 10000) + (v >= 100000) +
           (v >= 1000000) + (v >= 10000000);
}
static_assert(zel_bcd_limb_width(1) == 1 && zel_bcd_limb_width(99999999) == 8 &&
              zel_bcd_limb_width(10000000) == 8 && zel_bcd_limb_width(9999999) == 7);
void zel_bcd_lim_trim(Limbs &x) {
    while (x.n > 0 && x.w[x.n - 1] == 0) --x.n;
}

int zel_bcd_lim_digits(const Limbs &x) {
    if (x.n == 0) return 0;
    return 8 * (x.n - 1) + zel_bcd_limb_width(x.w[x.n - 1]);
}

// Digits d[0..n-1] of an integer times 10^e to limbs with a multiple of 8
// as exponent (zeros appended as needed).
void zel_bcd_lim_from_digits(const uint8_t *d, int n, int e, Limbs &x) {
    int pad = ((e % 8) + 8) % 8;
    int total = n + pad;
    int nl = (total + 7) / 8;
    alignas(8) uint8_t buf[64] = {};
    std::memcpy(buf + (nl * 8 - total), d, static_cast<size_t>(n));
    for (int k = 0; k < nl; ++k) x.w[k] = zel_bcd_eight_digits(buf + (nl - 1 - k) * 8);
    x.n = nl;
    x.exp = e - pad;
    zel_bcd_lim_trim(x);
}

// The r lowest digits of a limb (r from 0 to 7), by a multiplication with a
// rounded-up reciprocal, which is exact for values below 2^32.
inline uint64_t zel_bcd_lim_low_digits(uint64_t v, int r) {
    static constexpr uint64_t kPow[8] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000};
    static constexpr uint64_t kInv[8] = {
        0,
        ~0ull / 10 + 1,
        ~0ull / 100 + 1,
        ~0ull / 1000 + 1,
        ~0ull / 10000 + 1,
        ~0ull / 100000 + 1,
        ~0ull / 1000000 + 1,
        ~0ull / 10000000 + 1,
    };
    uint64_t q = static_cast<uint64_t>((static_cast<unsigned __int128>(v) * kInv[r]) >> 64);
    return r == 0 ? 0 : v - q * kPow[r];
}

// What normalize_res keeps: 40 significant digits, nothing below 10^-40.
// The digits below are cleared (truncation) and whole zero limbs dropped.
// y may be x.
void zel_bcd_lim_cut40_into(const Limbs &x, Limbs &y) {
    int n = x.n, exp = x.exp, q = 0, r = 0;
    if (n > 0) {
        int p = std::max(exp + zel_bcd_lim_digits(x) - kWorkPrec, -kWorkPrec);
        if (p > exp) {
            q = (p - exp) / 8;
            r = (p - exp) % 8;
        }
    }
    if (q >= n) {
        y.n = 0;
        y.exp = exp;
        return;
    }
    for (int i = 0; i + q < n; ++i) y.w[i] = x.w[i + q];
    y.w[0] -= zel_bcd_lim_low_digits(y.w[0], r);
    y.n = n - q;
    y.exp = exp + 8 * q;
    zel_bcd_lim_trim(y);
}

void zel_bcd_lim_cut40(Limbs &x) {
    zel_bcd_lim_cut40_into(x, x);
}

// r = a * b, column by column with the carry, so no accumulator is cleared.
void zel_bcd_lim_mul(const Limbs &a, const Limbs &b, Limbs &r) {
    r.exp = a.exp + b.exp;
    if (a.n == 0 || b.n == 0) {
        r.n = 0;
        return;
    }
    uint64_t carry = 0;
    r.n = a.n + b.n;
    for (int k = 0; k < r.n - 1; ++k) {
        uint64_t v = carry;
        int lo = std::max(0, k - b.n + 1), hi = std::min(k, a.n - 1);
        for (int i = lo; i <= hi; ++i) v += a.w[i] * b.w[k - i];
        r.w[k] = v % kLimb;
        carry = v / kLimb;
    }
    r.w[r.n - 1] = carry;
    zel_bcd_lim_trim(r);
}

// Limb of x at position pos (in units of 10^8), 0 outside.
inline uint64_t zel_bcd_lim_at(const Limbs &x, int pos) {
    int i = pos - x.exp / 8;
    return (i >= 0 && i < x.n) ? x.w[i] : 0;
}

int zel_bcd_lim_cmp(const Limbs &a, const Limbs &b) {
    if (a.n == 0 || b.n == 0) return (a.n != 0) - (b.n != 0);
    int ta = a.exp / 8 + a.n, tb = b.exp / 8 + b.n;  // top limbs are not 0
    if (ta != tb) return ta > tb ? 1 : -1;
    int lo = std::min(a.exp, b.exp) / 8;
    for (int pos = ta - 1; pos >= lo; --pos) {
        uint64_t x = zel_bcd_lim_at(a, pos), y = zel_bcd_lim_at(b, pos);
        if (x != y) return x > y ? 1 : -1;
    }
    return 0;
}

// r = a + b or a - b (a not the smaller). False if it would not fit.
bool zel_bcd_lim_addsub(const Limbs &a, const Limbs &b, bool sub, Limbs &r) {
    int lo = b.n ? std::min(a.exp, b.exp) / 8 : a.exp / 8;
    int hi = std::max(a.exp / 8 + a.n, b.n ? b.exp / 8 + b.n : lo);
    if (hi - lo > kMaxLimbs - 1) return false;
    int64_t carry = 0;
    r.exp = lo * 8;
    r.n = hi - lo;
    for (int pos = lo; pos < hi; ++pos) {
        int64_t bv = static_cast<int64_t>(zel_bcd_lim_at(b, pos));
        int64_t v = static_cast<int64_t>(zel_bcd_lim_at(a, pos)) + carry + (sub ? -bv : bv);
        carry = v < 0 ? -1 : (v >= static_cast<int64_t>(kLimb) ? 1 : 0);
        r.w[pos - lo] = static_cast<uint64_t>(v - carry * static_cast<int64_t>(kLimb));
    }
    if (carry > 0) r.w[r.n++] = 1;
    zel_bcd_lim_trim(r);
    return true;
}

void zel_bcd_lim_copy(const Limbs &src, Limbs &dst) {
    dst.n = src.n;
    dst.exp = src.exp;
    for (int i = 0; i < src.n; ++i) dst.w[i] = src.w[i];
}

// Newton's iteration on limbs. False, with `res` as it was, when the operand
// is outside what the limbs cover (flags other than a lost digit, a digit
// above 9, or a step whose sign would turn).
bool zel_bcd_newton_limbs(const WORK_BCD &copy, WORK_BCD &res) {
    if (copy.flags & ~kFlagLoss) return false;
    for (int i = 1; i <= copy.prec; ++i)
        if (copy.data[i] > 9) return false;
    Limbs c, r0, one;
    zel_bcd_lim_from_digits(copy.data + 1, copy.prec, -copy.prec, c);
    zel_bcd_lim_from_digits(res.data + 1, res.prec, res.exp - res.prec, r0);
    one.w[0] = 1;
    one.n = 1;
    one.exp = 0;
    bool assigned = false;
    // Buffers change roles instead of being copied: r the iterate, last the
    // exact sum it was cut from, u and ex the next ones.
    Limbs buf[4];
    Limbs *r = &buf[0], *last = &buf[1], *u = &buf[2], *ex = &buf[3];
    zel_bcd_lim_copy(r0, *r);
    for (int step = 0; step < kMaxNewtonSteps; ++step) {
        Limbs t, d, t2;
        zel_bcd_lim_mul(*r, c, t);
        zel_bcd_lim_cut40(t);
        int above = zel_bcd_lim_cmp(t, one);
        if (above == 0) break;  // t is exactly 1
        // d = |1 - t|; `above` holds the sign of t - 1
        if (!zel_bcd_lim_addsub(above < 0 ? one : t, above < 0 ? t : one, true, d)) return false;
        zel_bcd_lim_cut40(d);
        zel_bcd_lim_mul(*r, d, t2);
        zel_bcd_lim_cut40(t2);
        if (above > 0 && zel_bcd_lim_cmp(*r, t2) <= 0) return false;
        if (!zel_bcd_lim_addsub(*r, t2, above > 0, *ex)) return false;
        zel_bcd_lim_cut40_into(*ex, *u);
        if (zel_bcd_lim_cmp(*r, *u) == 0) break;
        std::swap(r, u);
        // The digit form strips zeros before it cuts, so a cut can leave one
        // at the end: the record is made from the exact sum, as it would be.
        std::swap(last, ex);
        assigned = true;
    }
    // Back to digits, as the last work operation would have left them.
    const Limbs &out = assigned ? *last : *r;
    alignas(8) uint8_t digits[8 + kMaxLimbs * 8];
    for (int k = 0; k < out.n; ++k)
        zel_bcd_limb_digits(static_cast<uint32_t>(out.w[k]), digits + 8 + (out.n - 1 - k) * 8);
    int prec = out.n * 8;
    uint8_t *d = digits + 7;
    d[0] = 0;
    uint8_t flags = assigned ? copy.flags : res.flags;
    zel_bcd_normalize_res(WideDigits{d, prec, out.exp + prec, copy.sign, flags}, res);
    return true;
}

// ---- The same iteration on a fixed grid. Every value of the iteration that
// has been cut holds no digit below 10^-40 and, for a well-formed operand,
// stays below 10^8: six limbs of 10^8, limb i weighing 10^(8i - 40). With the
// sizes known, the loops unroll and nothing is trimmed or aligned; a value
// that leaves the grid sends the work back to the general limbs.
constexpr int kFixLimbs = 6;

struct Fix {
    uint64_t w[kFixLimbs];
};

// What normalize_res keeps of a value on the grid: 40 significant digits.
// Digits below 10^-40 are never on the grid, so only a value of 1 or more
// loses digits, as many as its top limb has, and all from limb 0.
inline void zel_bcd_fix_cut(Fix &x) {
    uint64_t v = x.w[kFixLimbs - 1];
    if (v == 0) return;
    if (v < 10) {  // the usual case: one integer digit
        x.w[0] -= x.w[0] % 10;
        return;
    }
    int drop = zel_bcd_limb_width(v);
    x.w[0] = drop == 8 ? 0 : x.w[0] - zel_bcd_lim_low_digits(x.w[0], drop);
}

inline int zel_bcd_fix_cmp(const Fix &a, const Fix &b) {
    for (int i = kFixLimbs - 1; i >= 0; --i)
        if (a.w[i] != b.w[i]) return a.w[i] > b.w[i] ? 1 : -1;
    return 0;
}

// The limbs [lo, hi) of x outside which all are 0 (an empty span for 0).
inline void zel_bcd_fix_span(const Fix &x, int &lo, int &hi) {
    lo = 0;
    while (lo < kFixLimbs && x.w[lo] == 0) ++lo;
    hi = kFixLimbs;
    while (hi > lo && x.w[hi - 1] == 0) --hi;
}

// r = cut(a * b), b with non-zero limbs only in [lo, hi). False when the
// product reaches 10^8.
inline bool zel_bcd_fix_mul_cut(const Fix &a, const Fix &b, int lo, int hi, Fix &r) {
    uint64_t acc[2 * kFixLimbs] = {};
#pragma GCC unroll 6
    for (int j = 0; j < kFixLimbs; ++j) {
        if (j < lo || j >= hi) continue;
        uint64_t bj = static_cast<uint32_t>(b.w[j]);  // limbs are below 2^32
#pragma GCC unroll 6
        for (int i = 0; i < kFixLimbs; ++i) acc[i + j] += static_cast<uint32_t>(a.w[i]) * bj;
    }
    // Columns below 10^-40 (0 to 4) only pass their carry on.
    uint64_t carry = 0;
    for (int k = 0; k < 5; ++k) carry = (acc[k] + carry) / kLimb;
    for (int k = 5; k < 5 + kFixLimbs; ++k) {
        uint64_t v = acc[k] + carry;
        carry = v / kLimb;
        r.w[k - 5] = v - carry * kLimb;
    }
    if ((acc[11] + carry) != 0) return false;
    zel_bcd_fix_cut(r);
    return true;
}

// r = a + b or a - b (a not the smaller). False on a carry out of the grid.
inline bool zel_bcd_fix_addsub(const Fix &a, const Fix &b, bool sub, Fix &r) {
    uint64_t carry = 0;
    if (sub) {
        for (int i = 0; i < kFixLimbs; ++i) {
            uint64_t v = a.w[i] - b.w[i] - carry;  // wraps below 0
            carry = v >> 63;
            r.w[i] = v + (carry ? kLimb : 0);
        }
    } else {
        for (int i = 0; i < kFixLimbs; ++i) {
            uint64_t v = a.w[i] + b.w[i] + carry;
            carry = v >= kLimb;
            r.w[i] = v - (carry ? kLimb : 0);
        }
    }
    return carry == 0;
}

// The start values of x0_start on the grid. Every row has one integer digit.
struct X0FixTable {
    Fix rows[90];
};

constexpr X0FixTable zel_bcd_make_x0_fix() {
    X0FixTable t{};
    for (int k = 0; k < 90; ++k) {
        const X0_LOOKUP &row = x0_start.rows[k];
        uint64_t frac = 0, place = 10000000;  // digit 2 weighs 10^-1
        for (int i = 1; i < row.prec; ++i, place /= 10) frac += row.data[i] * place;
        t.rows[k].w[kFixLimbs - 1] = row.data[0];
        t.rows[k].w[kFixLimbs - 2] = frac;
    }
    return t;
}

constexpr bool zel_bcd_x0_one_integer_digit() {
    for (const X0_LOOKUP &row : x0_start.rows)
        if (row.exp != 1) return false;
    return true;
}
static_assert(zel_bcd_x0_one_integer_digit());

constexpr X0FixTable x0_fix = zel_bcd_make_x0_fix();

// The magnitude 0.d1d2...dn of a work record onto the grid, read in place
// (the record holds zeros past prec, as zel_bcd_recip_start leaves it). False
// for a digit above 9.
bool zel_bcd_fix_from_work(const WORK_BCD &x, Fix &c) {
    static_assert(sizeof x.data == 1 + 8 * (kFixLimbs - 1));
    uint64_t above9 = 0;
    c.w[kFixLimbs - 1] = 0;
    for (int k = 0; k < kFixLimbs - 1; ++k) {
        uint64_t word;
        std::memcpy(&word, x.data + 1 + 8 * k, 8);
        above9 |= word + 0x7676767676767676ull;  // a byte above 9 sets its top bit
        c.w[kFixLimbs - 2 - k] = zel_bcd_eight_digits(x.data + 1 + 8 * k);
    }
    return (above9 & 0x8080808080808080ull) == 0;
}

// Newton's iteration on the grid from row `row` of x0_start, step for step
// what zel_bcd_newton_limbs does. False when a value leaves the grid. `out`
// is the exact sum the last iterate was cut from (the start value when no
// step was taken, as `assigned` says).
bool zel_bcd_newton_fix_run(const WORK_BCD &copy, int row, Fix &out, bool &assigned) {
    if (copy.flags & ~kFlagLoss) return false;
    Fix c, one = {{0, 0, 0, 0, 0, 1}};
    if (!zel_bcd_fix_from_work(copy, c)) return false;
    int clo, chi;
    zel_bcd_fix_span(c, clo, chi);
    Fix buf[4];
    Fix *r = &buf[0], *last = &buf[1], *u = &buf[2], *ex = &buf[3];
    *r = x0_fix.rows[row];
    assigned = false;
    for (int step = 0; step < kMaxNewtonSteps; ++step) {
        Fix t, d, t2;
        if (!zel_bcd_fix_mul_cut(*r, c, clo, chi, t)) return false;
        int above = zel_bcd_fix_cmp(t, one);
        if (above == 0) break;  // t is exactly 1
        // d = |1 - t|; `above` holds the sign of t - 1
        zel_bcd_fix_addsub(above < 0 ? one : t, above < 0 ? t : one, true, d);
        zel_bcd_fix_cut(d);
        int dlo, dhi;
        zel_bcd_fix_span(d, dlo, dhi);
        if (!zel_bcd_fix_mul_cut(*r, d, dlo, dhi, t2)) return false;
        if (above > 0 && zel_bcd_fix_cmp(*r, t2) <= 0) return false;
        if (!zel_bcd_fix_addsub(*r, t2, above > 0, *ex)) return false;
        *u = *ex;
        zel_bcd_fix_cut(*u);
        if (zel_bcd_fix_cmp(*r, *u) == 0) break;
        std::swap(r, u);
        // The record is made from the exact sum, as zel_bcd_newton_limbs does.
        std::swap(last, ex);
        assigned = true;
    }
    out = assigned ? *last : *r;
    return true;
}

// Newton's iteration on the grid into the 40-digit form. False, with `res`
// as it was, when a value leaves the grid.
bool zel_bcd_newton_fix(const WORK_BCD &copy, int row, WORK_BCD &res) {
    Fix out;
    bool assigned;
    if (!zel_bcd_newton_fix_run(copy, row, out, assigned)) return false;
    alignas(8) uint8_t digits[8 + 8 * kFixLimbs];
    for (int k = 0; k < kFixLimbs; ++k)
        zel_bcd_limb_digits(static_cast<uint32_t>(out.w[k]), digits + 8 + (kFixLimbs - 1 - k) * 8);
    uint8_t *dg = digits + 7;
    dg[0] = 0;
    uint8_t flags = assigned ? copy.flags : res.flags;
    zel_bcd_normalize_res(WideDigits{dg, 8 * kFixLimbs, 8, copy.sign, flags}, res);
    return true;
}

void zel_bcd_newton_digits(const WORK_BCD &copy, WORK_BCD &res) {
    static constexpr WORK_BCD one = {1, 1, 0, 1, {0, 1}};
    const BcdOp cop = zel_bcd_op(copy, kWorkPrec);
    for (int step = 0; step < kMaxNewtonSteps && (res.flags & ~kFlagLoss) == 0; ++step) {
        WORK_BCD t, u;
        zel_bcd_work_mult(zel_bcd_op(res, kWorkPrec), cop, t);
        if (t.prec == 1 && t.exp == 1 && t.data[1] == 1) break;
        zel_bcd_work_add(zel_bcd_op(one, kWorkPrec), zel_bcd_op(t, kWorkPrec), true, u);
        zel_bcd_work_mult(zel_bcd_op(res, kWorkPrec), zel_bcd_op(u, kWorkPrec), t);
        zel_bcd_work_add(zel_bcd_op(res, kWorkPrec), zel_bcd_op(t, kWorkPrec), false, u);
        if (zel_bcd_ucompare(zel_bcd_op(res, kWorkPrec), zel_bcd_op(u, kWorkPrec)) == 0) break;
        res = u;
    }
}

// The operand of a reciprocal as a magnitude in [0.1, 1) (`copy`, its
// exponent in `rexp`) and the start value of the iteration in `res`. False
// when `res` already holds the result: an error zero or a division by zero.
bool zel_bcd_recip_start(const BcdOp &x, WORK_BCD &copy, WORK_BCD &res, int &rexp, int &row) {
    if (x.flags & kFlagErrors) {
        zel_bcd_set_zero(res, x.flags);
        return false;
    }
    zel_bcd_set_zero(copy, x.flags);
    std::memcpy(copy.data, x.d, static_cast<size_t>(x.prec) + 1);
    copy.prec = static_cast<uint8_t>(x.prec);
    copy.exp = static_cast<int8_t>(std::clamp(x.exp, -100, 100));
    copy.sign = static_cast<int8_t>(x.sign);
    zel_bcdNormalizeWork(&copy);
    if (copy.prec == 0) {
        zel_bcd_set_zero(res, ZEL_BCD_FLAG_DIVBY0);
        return false;
    }
    rexp = copy.exp;
    copy.exp = 0;  // magnitude now in [0.1, 1)
    int n = copy.data[1] * 10 + (copy.prec > 1 ? copy.data[2] : 0);
    row = std::clamp(n, 10, 99) - 10;
    const X0_LOOKUP &start = x0_start.rows[row];
    zel_bcd_set_zero(res, 0);
    res.prec = start.prec;
    res.exp = start.exp;
    res.sign = copy.sign;
    std::memcpy(res.data + 1, start.data, start.prec);
    return true;
}

void zel_bcd_work_reciprocal(const BcdOp &x, WORK_BCD &res) {
    WORK_BCD copy;
    int rexp, row;
    if (!zel_bcd_recip_start(x, copy, res, rexp, row)) return;
    if (!zel_bcd_newton_fix(copy, row, res) && !zel_bcd_newton_limbs(copy, res))
        zel_bcd_newton_digits(copy, res);
    res.exp = static_cast<int8_t>(res.exp - rexp);
}

void zel_bcd_work_div(const BcdOp &l, const BcdOp &r, WORK_BCD &res) {
    uint8_t flags = l.flags | r.flags;
    if (flags & kFlagErrors) return zel_bcd_set_zero(res, flags);
    WORK_BCD recip;
    zel_bcd_work_reciprocal(r, recip);
    zel_bcd_work_mult(l, zel_bcd_op(recip, kWorkPrec), res);
}

// zel_bcd_work_div with the reciprocal left on the grid: its 40 digits are
// the grid value cut, and the product with them is exact however it is
// formed, so the digit form of the reciprocal is skipped. kDivDigits: the
// exact quotient's digits are in `dg`, as `out` describes them; kDivRecord:
// the result is in `res`; kDivGeneral, with nothing written, for what only the
// general way covers: flags other than a lost digit, a zero or malformed
// dividend, values off the grid.
enum DivFix { kDivGeneral, kDivRecord, kDivDigits };
constexpr int kDivDigitBytes = 8 + 8 * (5 + kFixLimbs) + 32;

DivFix zel_bcd_div_fix(const BcdOp &l, const BcdOp &r, uint8_t (&dg)[kDivDigitBytes],
                       WideDigits &out, WORK_BCD &res) {
    if (((l.flags | r.flags) & ~kFlagLoss) || l.prec == 0 || l.exp > l.prec) return kDivGeneral;
    uint64_t a[5];
    int na = zel_bcd_to_limbs(l.d + 1, l.prec, a);
    for (int i = 0; i < na; ++i)
        if (a[i] >= kLimb) return kDivGeneral;  // a digit above 9
    WORK_BCD copy, start;
    int rexp, row;
    Fix q;
    bool assigned;
    if (!zel_bcd_recip_start(r, copy, start, rexp, row) ||
        !zel_bcd_newton_fix_run(copy, row, q, assigned))
        return kDivGeneral;
    // The reciprocal's record: its digits count from the first non-zero one
    // to the last (fraction zeros stripped, then cut to 40), its exponent
    // the count of integer digits, less rexp.
    int top = kFixLimbs - 1, low = 0;
    while (top > 0 && q.w[top] == 0) --top;
    while (low < top && q.w[low] == 0) ++low;
    uint64_t v = q.w[top];
    if (v == 0) return kDivGeneral;
    int digits = 8 * top + zel_bcd_limb_width(v);
    int zeros = 8 * low;
    for (uint64_t z = q.w[low]; z % 10 == 0; z /= 10) ++zeros;
    int rcp_prec = std::min(digits - std::min(zeros, kWorkPrec), kWorkPrec);
    int rcp_exp = digits - kWorkPrec - rexp;
    if (rcp_exp < -128 || rcp_exp > 127) return kDivGeneral;
    int exp = l.exp + rcp_exp;
    if (exp > 100 || exp < -100) return kDivGeneral;
    uint8_t flags = l.flags | (assigned ? copy.flags : start.flags);
    // The product's digits do not reach its units: its integer part does not fit.
    if (exp > l.prec + rcp_prec) {
        zel_bcd_set_zero(res, flags | kFlagOverflow);
        return kDivRecord;
    }
    zel_bcd_fix_cut(q);
    uint64_t acc[5 + kFixLimbs] = {};
    for (int i = 0; i < na; ++i)
        for (int j = 0; j < kFixLimbs; ++j) acc[i + j] += a[i] * q.w[j];
    int n = na + kFixLimbs;
    uint64_t carry = 0;
    for (int k = 0; k < n; ++k) {
        uint64_t x = acc[k] + carry;
        carry = x / kLimb;
        zel_bcd_limb_digits(static_cast<uint32_t>(x - carry * kLimb), dg + 8 + (n - 1 - k) * 8);
    }
    dg[7] = 0;
    std::memset(dg + 8 + 8 * n, 0, 32);  // read past the digits by zel_bcd_store_wide
    // The digits are those of l times q, an integer, times 10^(l.exp - l.prec - 40 - rexp).
    out = WideDigits{dg + 7, 8 * n, 8 * n + l.exp - l.prec - kWorkPrec - rexp, l.sign * copy.sign,
                     flags};
    return kDivDigits;
}

}  // namespace

// ---- Work level.

ZEL_RETCODE zel_bcdRetcode(uint8_t flags) {
    struct FlagCode {
        uint8_t bit;
        ZEL_RETCODE rc;
    };
    static constexpr FlagCode kCodes[] = {
        {ZEL_BCD_FLAG_NOMEMORY, eNOMEMORY},
        {ZEL_BCD_FLAG_DIVBY0, eDIVBY0},
        {ZEL_BCD_FLAG_NAN, eNOTANUMBER},
        {ZEL_BCD_FLAG_OVERFLOW, eRANGE},
        {ZEL_BCD_FLAG_PRECISION_LOSS, sPRECISIONLOSS},
        {ZEL_BCD_FLAG_UNDERFLOW, sUNDERFLOW},
    };
    for (const FlagCode &c : kCodes)
        if (flags & c.bit) return c.rc;
    return sOKAY;
}

void zel_bcdNormalizeWork(WORK_BCD *w) {
    int prec = std::min<int>(w->prec, kWorkPrec), exp = w->exp;
    while (prec > exp && prec > 0 && w->data[prec] == 0) --prec;
    int k = 0;
    while (k <= prec && w->data[k] == 0) ++k;
    if (k > prec) return zel_bcd_set_zero(*w, w->flags);
    if (k != 1) {
        int np = std::min(prec + 1 - k, kWorkPrec);
        std::memmove(w->data + 1, w->data + k, static_cast<size_t>(np));
        w->data[0] = 0;
        prec = np;
        exp = exp + 1 - k;
    }
    if (prec < kWorkPrec) std::memset(w->data + prec + 1, 0, static_cast<size_t>(kWorkPrec - prec));
    if (exp > prec || exp > kWorkPrec) return zel_bcd_set_zero(*w, w->flags | kFlagOverflow);
    w->prec = static_cast<uint8_t>(prec);
    w->exp = static_cast<int8_t>(exp);
}

namespace {

// Whether dropping digits steps the kept ones up by one in their last place:
// `next` is the first digit dropped, `more` says that a non-zero digit follows
// it, `odd` that the last kept digit is odd.
inline bool zel_bcd_rounds_up(ZEL_BCD_ROUNDING_MODE rounding_mode, int next, bool more, bool odd,
                              int sign) {
    switch (static_cast<int>(rounding_mode)) {
        case ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN:
            return next > 5 || (next == 5 && (more || odd));
        case ZEL_BCD_ROUND_NEAREST_TIES_AWAY_FROM_ZERO:
            return next >= 5;
        case ZEL_BCD_ROUND_UP:
            return sign > 0;
        case ZEL_BCD_ROUND_DOWN:
            return sign < 0;
        default:
            return false;
    }
}

// zel_bcdAssignResult on a work record that may be used up.
ZEL_RETCODE zel_bcd_assign(WORK_BCD &w, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *result) {
    // Past prec the digits are 0 once normalised, so 33 bytes copy as they are.
    bool clean = !(w.flags & kFlagErrors);
    while (!(w.flags & kFlagErrors)) {
        zel_bcdNormalizeWork(&w);
        if (w.prec == 0) {
            w.sign = 1;
            w.exp = 0;
            break;
        }
        if (w.exp > kMaxPrec) {
            zel_bcd_set_zero(w, w.flags | kFlagOverflow);
            break;
        }
        int n = std::min<int>(w.prec, kMaxPrec);
        if (n - w.exp >= kMaxPrec + 1) n = w.exp + kMaxPrec;
        if (n == w.prec) break;
        w.flags |= kFlagLoss;
        int next;
        if (n < 0) {
            // Below half of 10^-32: the digits all go and the nearest modes
            // keep zero, while a directed mode steps to 10^-32.
            std::memset(w.data, 0, sizeof w.data);
            w.prec = 0;
            w.exp = -kMaxPrec;
            n = 0;
            next = 0;
        } else {
            next = w.data[n + 1];
        }
        bool inc = zel_bcd_rounds_up(rounding_mode, next, w.prec - n > 1, w.data[n] & 1, w.sign);
        w.prec = static_cast<uint8_t>(n);
        std::memset(w.data + n + 1, 0, static_cast<size_t>(kWorkPrec - n));
        if (inc) {
            int i = n;
            w.data[i]++;
            while (i > 0 && w.data[i] >= 10) {
                w.data[i] = static_cast<uint8_t>(w.data[i] - 10);
                w.data[--i]++;
            }
            zel_bcdNormalizeWork(&w);
        }
    }
    if (w.flags & ZEL_BCD_FLAG_NOMEMORY) return eNOMEMORY;
    if (clean) {
        std::memcpy(result->data, w.data, sizeof result->data);
    } else {
        std::memset(result->data, 0, sizeof result->data);
        if (w.prec != 0)
            std::memcpy(result->data, w.data,
                        static_cast<size_t>(std::min<int>(w.prec, kMaxPrec)) + 1);
    }
    result->prec = w.prec;
    result->exp = w.exp;
    result->flags = w.flags;
    result->sign = w.sign;
    return zel_bcdRetcode(w.flags);
}

// Exact digits w.d[0..w.prec] rounded to 32 straight into `res`, with the
// very outcome of zel_bcd_normalize_res then zel_bcd_assign: the cut to 40
// digits and 40 places, the fraction zeros it bares, the reduction. False,
// with `res` not to be trusted, for the rare rest (a zero, a carry out of the
// top in rounding, tiny or huge values, flag 16), which takes the general
// way. The 32 bytes past w.d[w.prec] must be readable.
bool zel_bcd_store_wide(const WideDigits &w, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res,
                        ZEL_RETCODE &rc) {
    const uint8_t *d = w.d;
    int prec = w.prec, exp = w.exp;
    while (prec > exp && prec > 0 && d[prec] == 0) --prec;
    int k = 0;
    while (k <= prec && d[k] == 0) ++k;
    if (k > prec || (w.flags & ZEL_BCD_FLAG_NOMEMORY)) return false;
    d += k - 1;  // the digits are d[1..np]
    int np = prec + 1 - k, ne = exp + 1 - k;
    // The cut to 40 digits and 40 places, and the fraction zeros it bares.
    int len = std::min(np, kWorkPrec);
    if (len - ne > kWorkPrec) len = ne + kWorkPrec;
    int n = std::min(len, kMaxPrec);
    if (n - ne > kMaxPrec) n = ne + kMaxPrec;
    if (ne > np || ne > kMaxPrec || n < 1) return false;
    while (len > ne && d[len] == 0) --len;
    n = std::min(n, len);
    // The kept digits go to the result as two vectors, the bytes past n masked.
    typedef uint8_t V16 __attribute__((vector_size(16)));
    const V16 idx0 = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    const V16 idx1 = idx0 + 16;
    const V16 count = V16{} + static_cast<uint8_t>(n);
    V16 lo, hi;
    std::memcpy(&lo, d + 1, 16);
    std::memcpy(&hi, d + 17, 16);
    lo &= reinterpret_cast<V16>(idx0 < count);
    hi &= reinterpret_cast<V16>(idx1 < count);
    uint8_t *out = res->data;
    out[0] = 0;
    std::memcpy(out + 1, &lo, 16);
    std::memcpy(out + 17, &hi, 16);
    uint8_t flags = w.flags;
    if (n < len) {
        flags |= kFlagLoss;
        if (zel_bcd_rounds_up(rounding_mode, d[n + 1], len - n > 1, d[n] & 1, w.sign)) {
            int i = n;
            while (out[i] == 9) out[i--] = 0;
            ++out[i];
        }
        while (n > ne && out[n] == 0) --n;
    }
    if (out[0] != 0) return false;
    res->prec = static_cast<uint8_t>(n);
    res->exp = static_cast<int8_t>(ne);
    res->flags = flags;
    res->sign = static_cast<int8_t>(w.sign);
    rc = zel_bcdRetcode(flags);
    return true;
}

// ---- Short sums in one register. Prices and quantities have a few digits,
// and staging them in the frame costs more than their sum: when the places of
// both operands span at most 15 digits, each is shifted into place within a
// 128-bit word of digit bytes (the last digit in the low byte) and the words
// are added as the frame adds them. No such sum rounds, and no conversion to
// binary and back stands in the way: the result's digits are the word's.
using U128 = unsigned __int128;
constexpr int kShortSpan = 15;  // and the carry in the top byte
constexpr U128 kBytes(uint64_t b) {
    return (U128{b} << 64) | b;
}

inline U128 zel_bcd_bswap128(U128 x) {  // not every compiler has the builtin
    return (U128{__builtin_bswap64(static_cast<uint64_t>(x))} << 64) |
           __builtin_bswap64(static_cast<uint64_t>(x >> 64));
}

// The digits data[0..prec] of a short operand in place, the digit of 10^-scale
// in the low byte; false for a byte above 9 or a used spill slot, whose sums
// the frame alone defines.
inline bool zel_bcd_short_word(const ZEL_BCD_T *b, int scale, U128 &w) {
    U128 x;
    std::memcpy(&x, b->data, 16);
    if (b->prec < 15) x &= (U128{1} << (8 * (b->prec + 1))) - 1;
    if (((x | (x + kBytes(0x7676767676767676ull))) & kBytes(0x8080808080808080ull)) != 0 ||
        (x & 0xFF) != 0)
        return false;
    w = zel_bcd_bswap128(x) >> (8 * (kShortSpan - b->exp - scale));
    return true;
}

// a + b or a - b (a not the smaller) over digit bytes, the decimal carry done
// in binary as in the frame; no carry leaves the top byte.
inline U128 zel_bcd_short_sum(U128 a, U128 b, bool sub) {
    constexpr U128 kLow = kBytes(0x0101010101010101ull) >> 8;  // bytes 0 to 14
    if (sub) {
        U128 s = a - b, lent = ((s ^ a ^ b) >> 8) & kLow;
        return s - lent * 246;
    }
    U128 x = a + kBytes(0xF6F6F6F6F6F6F6F6ull), s = x + b;
    U128 kept = ((~(s ^ x ^ b) >> 8) & kLow) | (U128{1} << 120);
    return s - kept * 246;
}

// The sum of short operands straight into `res`; false, nothing written, for
// any other (wider, a scale outside 0 to 32, flagged in error or out of
// memory), which the frame takes.
bool zel_bcd_add_short(const ZEL_BCD_T *l, const ZEL_BCD_T *r, bool subtract, ZEL_BCD_T *res,
                       ZEL_RETCODE &rc) {
    const uint8_t flags = l->flags | r->flags;
    const int scale = std::max(l->prec - l->exp, r->prec - r->exp);
    if (std::min(l->prec - l->exp, r->prec - r->exp) < 0 || scale > kMaxPrec ||
        std::max(l->exp, r->exp) + scale > kShortSpan ||
        (flags & (kFlagErrors | ZEL_BCD_FLAG_NOMEMORY)))
        return false;
    U128 a, b;
    if (!zel_bcd_short_word(l, scale, a) || !zel_bcd_short_word(r, scale, b)) return false;
    // Signs as the frame reads them: anything below 0 is minus. The words
    // compare as the numbers do.
    const int lsign = l->sign < 0 ? -1 : 1, rsign = (r->sign < 0) != subtract ? -1 : 1;
    const bool swap = lsign != rsign && a < b;
    const U128 sum = zel_bcd_short_sum(swap ? b : a, swap ? a : b, lsign != rsign);
    if (sum == 0) {
        zel_bcd_set_zero(*res, flags);
        rc = zel_bcdRetcode(flags);
        return true;
    }
    const uint64_t hi = static_cast<uint64_t>(sum >> 64), lo = static_cast<uint64_t>(sum);
    const int lead = (hi ? __builtin_clzll(hi) : 64 + __builtin_clzll(lo)) / 8;
    const int trail = (lo ? __builtin_ctzll(lo) : 64 + __builtin_ctzll(hi)) / 8;
    const int top = 16 - lead;  // digits up to the highest non-zero one
    // Fraction zeros go; the digits, first in the low byte, are zero past them.
    const U128 digits = zel_bcd_bswap128(sum) >> (8 * lead);
    uint8_t *out = res->data;
    const U128 zero = 0;
    out[0] = 0;
    std::memcpy(out + 1, &digits, 16);
    std::memcpy(out + 17, &zero, 16);
    res->prec = static_cast<uint8_t>(top - std::min(trail, scale));
    res->exp = static_cast<int8_t>(top - scale);
    res->flags = flags;
    res->sign = static_cast<int8_t>(swap ? rsign : lsign);
    rc = zel_bcdRetcode(flags);
    return true;
}

// A sum of two decimals by the frame, rounded straight from it when it can be.
ZEL_RETCODE zel_bcd_add_frame32(const ZEL_BCD_T *l, const ZEL_BCD_T *r, bool subtract,
                                ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    WORK_BCD w;
    Frame f;
    if (!zel_bcd_sum_frame(zel_bcd_op32(l), zel_bcd_op32(r), subtract, f, w))
        return zel_bcd_assign(w, rounding_mode, res);
    // The operands are in the frame, so `res` may be one of them.
    ZEL_RETCODE rc;
    if (zel_bcd_store_wide(zel_bcd_frame_digits(f), rounding_mode, res, rc)) return rc;
    zel_bcd_normalize_res(zel_bcd_frame_digits(f), w);
    return zel_bcd_assign(w, rounding_mode, res);
}

ZEL_RETCODE zel_bcd_add32(const ZEL_BCD_T *l, const ZEL_BCD_T *r, bool subtract,
                          ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    ZEL_RETCODE rc;
    if (zel_bcd_add_short(l, r, subtract, res, rc)) return rc;
    return zel_bcd_add_frame32(l, r, subtract, rounding_mode, res);
}

}  // namespace

ZEL_RETCODE zel_bcdAssignResult(const WORK_BCD *work, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                ZEL_BCD_T *result) {
    WORK_BCD w;
    std::memcpy(&w, work, sizeof w);
    return zel_bcd_assign(w, rounding_mode, result);
}

void zel_bcdWorkAdd(const WORK_BCD *l, const WORK_BCD *r, WORK_BCD *res) {
    zel_bcd_work_add(zel_bcd_op(*l, kWorkPrec), zel_bcd_op(*r, kWorkPrec), false, *res);
}

void zel_bcdWorkSub(const WORK_BCD *l, const WORK_BCD *r, WORK_BCD *res) {
    zel_bcd_work_add(zel_bcd_op(*l, kWorkPrec), zel_bcd_op(*r, kWorkPrec), true, *res);
}

void zel_bcdWorkMult(const WORK_BCD *l, const WORK_BCD *r, WORK_BCD *res) {
    zel_bcd_work_mult(zel_bcd_op(*l, kWorkPrec), zel_bcd_op(*r, kWorkPrec), *res);
}

void zel_bcdWorkDiv(const WORK_BCD *l, const WORK_BCD *r, WORK_BCD *res) {
    zel_bcd_work_div(zel_bcd_op(*l, kWorkPrec), zel_bcd_op(*r, kWorkPrec), *res);
}

void zel_bcdWorkReciprocal(const WORK_BCD *bcd, WORK_BCD *res) {
    zel_bcd_work_reciprocal(zel_bcd_op(*bcd, kWorkPrec), *res);
}

ZEL_COMPARE zel_bcdWorkCompareMagnitude(const WORK_BCD *l, const WORK_BCD *r) {
    return static_cast<ZEL_COMPARE>(
        zel_bcd_ucompare(zel_bcd_op(*l, kWorkPrec), zel_bcd_op(*r, kWorkPrec)));
}

// ---- Arithmetic.

ZEL_RETCODE zel_bcdAdd(const ZEL_BCD_T *l, const ZEL_BCD_T *r, ZEL_BCD_ROUNDING_MODE rounding_mode,
                       ZEL_BCD_T *res) {
    return zel_bcd_add32(l, r, false, rounding_mode, res);
}

ZEL_RETCODE zel_bcdSub(const ZEL_BCD_T *l, const ZEL_BCD_T *r, ZEL_BCD_ROUNDING_MODE rounding_mode,
                       ZEL_BCD_T *res) {
    return zel_bcd_add32(l, r, true, rounding_mode, res);
}

ZEL_RETCODE zel_bcdMult(const ZEL_BCD_T *l, const ZEL_BCD_T *r, ZEL_BCD_ROUNDING_MODE rounding_mode,
                        ZEL_BCD_T *res) {
    WORK_BCD w;
    alignas(8) uint8_t digits[kProductBytes];
    WideDigits wide;
    if (zel_bcd_product(zel_bcd_op32(l), zel_bcd_op32(r), digits, wide, w)) {
        // The operands have been read, so `res` may be one of them.
        ZEL_RETCODE rc;
        if (zel_bcd_store_wide(wide, rounding_mode, res, rc)) return rc;
        zel_bcd_normalize_res(wide, w);
    }
    return zel_bcd_assign(w, rounding_mode, res);
}

ZEL_RETCODE zel_bcdDiv(const ZEL_BCD_T *l, const ZEL_BCD_T *r, ZEL_BCD_ROUNDING_MODE rounding_mode,
                       ZEL_BCD_T *res) {
    WORK_BCD w;
    const BcdOp lo = zel_bcd_op32(l), ro = zel_bcd_op32(r);
    alignas(8) uint8_t digits[kDivDigitBytes];
    WideDigits wide;
    ZEL_RETCODE rc;
    switch (zel_bcd_div_fix(lo, ro, digits, wide, w)) {
        case kDivDigits:
            // The operands have been read, so `res` may be one of them.
            if (zel_bcd_store_wide(wide, rounding_mode, res, rc)) return rc;
            zel_bcd_normalize_res(wide, w);
            break;
        case kDivRecord:
            break;
        default:
            zel_bcd_work_div(lo, ro, w);
            break;
    }
    return zel_bcd_assign(w, rounding_mode, res);
}

ZEL_RETCODE zel_bcdReciprocal(const ZEL_BCD_T *bcd, ZEL_BCD_ROUNDING_MODE rounding_mode,
                              ZEL_BCD_T *res) {
    WORK_BCD w;
    zel_bcd_work_reciprocal(zel_bcd_op32(bcd), w);
    return zel_bcd_assign(w, rounding_mode, res);
}

namespace zel::detail {

ZEL_RETCODE zel_bcd_add_by_frame(const ZEL_BCD_T *l, const ZEL_BCD_T *r, bool subtract,
                                 ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res) {
    return zel_bcd_add_frame32(l, r, subtract, rounding_mode, res);
}

bool zel_bcd_div_by(BcdDivPath path, const ZEL_BCD_T *l, const ZEL_BCD_T *r,
                    ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res, ZEL_RETCODE *rc) {
    const BcdOp lo = zel_bcd_op32(l), ro = zel_bcd_op32(r);
    WORK_BCD w;
    if (path == BcdDivPath::kGrid) {
        alignas(8) uint8_t digits[kDivDigitBytes];
        WideDigits wide;
        switch (zel_bcd_div_fix(lo, ro, digits, wide, w)) {
            case kDivDigits:
                if (zel_bcd_store_wide(wide, rounding_mode, res, *rc)) return true;
                zel_bcd_normalize_res(wide, w);
                break;
            case kDivRecord:
                break;
            default:
                return false;
        }
        *rc = zel_bcd_assign(w, rounding_mode, res);
        return true;
    }
    if ((lo.flags | ro.flags) & kFlagErrors) return false;
    WORK_BCD copy, recip;
    int rexp, row;
    if (!zel_bcd_recip_start(ro, copy, recip, rexp, row)) return false;
    if (path == BcdDivPath::kLimbs) {
        if (!zel_bcd_newton_limbs(copy, recip)) return false;
    } else {
        zel_bcd_newton_digits(copy, recip);
    }
    recip.exp = static_cast<int8_t>(recip.exp - rexp);
    zel_bcd_work_mult(lo, zel_bcd_op(recip, kWorkPrec), w);
    *rc = zel_bcd_assign(w, rounding_mode, res);
    return true;
}

}  // namespace zel::detail
