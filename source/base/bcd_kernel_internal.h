// bcd_kernel_internal.h - what the decimal record functions (bcd.cpp) and the
// arithmetic kernels (bcd_kernel.cpp) share: the limits, an operand as the
// arithmetic reads it, and the kernels' entry points that the record side and
// the tests need. C++ only.
#ifndef BCD_KERNEL_INTERNAL_H
#define BCD_KERNEL_INTERNAL_H

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "bcd.h"

namespace zel::detail {

constexpr int kMaxPrec = 32;  // digits of a ZEL_BCD_T
constexpr int kWorkPrec = 40;
constexpr int kDWorkPrec = 80;
constexpr uint8_t kFlagLoss = ZEL_BCD_FLAG_PRECISION_LOSS;
constexpr uint8_t kFlagOverflow = ZEL_BCD_FLAG_OVERFLOW;
constexpr uint8_t kFlagErrors = ZEL_BCD_FLAG_ERRORS;

// An operand as the arithmetic sees it: header widened, sign +1 or -1, prec
// clamped to what the record can hold.
struct BcdOp {
    int prec;
    int exp;
    uint8_t flags;
    int sign;
    const uint8_t *d;
};

template <typename R>
BcdOp zel_bcd_op(const R &r, int maxprec) {
    return BcdOp{std::min<int>(r.prec, maxprec), r.exp, r.flags, r.sign < 0 ? -1 : 1, r.data};
}

inline BcdOp zel_bcd_op32(const ZEL_BCD_T *b) {
    return zel_bcd_op(*b, kMaxPrec);
}

// Digit at place q (weight 10^q): index exp - q, 0 outside data[0..prec].
inline int zel_bcd_get_digit(const BcdOp &o, int q) {
    int i = o.exp - q;
    return (i >= 0 && i <= o.prec) ? o.d[i] : 0;
}

template <typename W>
void zel_bcd_set_zero(W &w, uint8_t flags) {
    std::memset(&w, 0, sizeof w);
    w.sign = 1;
    w.flags = flags;
}

// Magnitude comparison, place by place from the larger exp to the larger scale.
int zel_bcd_ucompare(const BcdOp &l, const BcdOp &r);

// A sum or difference as zel_bcdAdd or zel_bcdSub stores it, always by the
// frame of digits: the register path for short operands must agree with it.
ZEL_RETCODE zel_bcd_add_by_frame(const ZEL_BCD_T *l, const ZEL_BCD_T *r, bool subtract,
                                 ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);

// The three ways to a quotient, which must agree digit for digit: on the
// fixed grid of six limbs, with Newton's iteration on general limbs, and with
// the iteration done by the digit operations themselves. Each returns false,
// writing nothing, where it does not apply (the grid and the general limbs
// cover well-formed operands only); otherwise the rounded quotient and its
// code, as zel_bcdDiv would store them.
enum class BcdDivPath { kGrid, kLimbs, kDigits };
bool zel_bcd_div_by(BcdDivPath path, const ZEL_BCD_T *l, const ZEL_BCD_T *r,
                    ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res, ZEL_RETCODE *rc);

}  // namespace zel::detail

#endif
