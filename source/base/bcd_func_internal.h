// bcd_func_internal.h - hooks of the decimal functions for their tests: the
// methods run on the digit form alone, and the compile-time reciprocals.
#ifndef BCD_FUNC_INTERNAL_H
#define BCD_FUNC_INTERNAL_H

#include "bcd.h"

namespace zel::detail {

enum class BcdFn { kLog, kExp, kSin, kCos };

// The work function `fn` computed with the digit operations only, never on the
// grid; the fast path must give the very same value and flags.
void zel_bcdWorkFunctionDigits(BcdFn fn, const WORK_BCD *x, WORK_BCD *res);

// The table's reciprocal 1/n as a work record (n from 1 to 128); false past it.
bool zel_bcdRecipTable(unsigned n, WORK_BCD *res);

}  // namespace zel::detail

#endif
