/*
 * bcd_func.h - logarithm, exponential, powers, square root and trigonometry
 * on ZEL_BCD_T, and the numeric record ZEL_NUMERIC_T (zelbcdtypes.h).
 *
 * Every function computes in the 40-digit work form of bcd.h and reduces its
 * result once, under the caller's rounding mode, to 32 digits. Results may be
 * the same record as an operand. Nothing here allocates; all is pure.
 *
 * Codes: sOKAY for an exact result; sPRECISIONLOSS for a rounded one, the
 * normal outcome of a series or an inexact constant (ln 2, pi, e...);
 * eNOTANUMBER for the logarithm of a number at or below 0, the square root of
 * a negative number and a fractional power of a negative number; eDIVBY0 for
 * zero to a negative power or a zero denominator; eRANGE for a result of more
 * than 32 integer digits (a zero is stored). An operand with error flags
 * gives a zero carrying them, and their code.
 */
#ifndef BCD_FUNC_H
#define BCD_FUNC_H

#include <stdint.h>

#include "bcd.h"
#include "zelbcdtypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* ---- Work level: 40 digits, every step cut (not rounded). The result may be
 * the operand. An operand with error flags gives an error zero. */

/* Natural logarithm. At or below 0: a zero with flags exactly
 * ZEL_BCD_FLAG_NAN. */
void zel_bcdWorkLog(const WORK_BCD *x, WORK_BCD *res);
/* e to the power x; more than 40 integer digits give ZEL_BCD_FLAG_OVERFLOW. */
void zel_bcdWorkExp(const WORK_BCD *x, WORK_BCD *res);
/* Sine and cosine in radians; a magnitude of 2 pi or more is reduced once. */
void zel_bcdWorkSin(const WORK_BCD *x, WORK_BCD *res);
void zel_bcdWorkCos(const WORK_BCD *x, WORK_BCD *res);

/* ---- Functions of one decimal: res = f(x). */

ZEL_NODISCARD ZEL_RETCODE zel_bcdLog(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                     ZEL_BCD_T *res);
/* The natural logarithm times 1 / ln 10, so log10(10) is 1 only by rounding. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdLog10(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                       ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdExp(const ZEL_BCD_T *bcd, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                     ZEL_BCD_T *res);
/* exp(0.5 * ln x): even sqrt(4) is 2 only through rounding (sPRECISIONLOSS). */
ZEL_NODISCARD ZEL_RETCODE zel_bcdSqrt(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                      ZEL_BCD_T *res);
/* pi to 32 digits under the mode (sPRECISIONLOSS). */
ZEL_NODISCARD ZEL_RETCODE zel_bcdPi(ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);
/* Trigonometry in radians. A zero denominator gives eDIVBY0. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdSin(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                     ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdCos(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                     ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdTan(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                     ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdCsc(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                     ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdSec(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                     ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdCot(const ZEL_BCD_T *x, ZEL_BCD_ROUNDING_MODE rounding_mode,
                                     ZEL_BCD_T *res);

/* ---- Powers: res = x ^ y. */

/* A y with a fraction goes through exp(y * ln x) and needs x > 0 (a negative x
 * gives eNOTANUMBER); an integer y goes through repeated squaring, a negative
 * one on the reciprocal of x. 0 ^ 0 is 1; 0 to a negative power is eDIVBY0. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdPow(const ZEL_BCD_T *x, const ZEL_BCD_T *y,
                                     ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);
/* Integer exponents by repeated squaring; the 32-bit forms widen. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdPowInt32(const ZEL_BCD_T *x, int32_t y,
                                          ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdPowInt64(const ZEL_BCD_T *x, int64_t y,
                                          ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdPowUInt32(const ZEL_BCD_T *x, uint32_t y,
                                           ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdPowUInt64(const ZEL_BCD_T *x, uint64_t y,
                                           ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);

/* ---- The numeric record. */

/* The decimal of `pVal`'s integer and sign with `scale` digits behind the
 * point (the record's own precision and scale are not read). A zero is the
 * canonical zero. eRANGE for a `prec` or `scale` of 33 or more, nothing
 * written, and for an integer of more than 32 digits, with an error zero in
 * `res`. The rounding mode is taken for the record's form; the integer is
 * exact or out of range. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdFromNumericStruct(const ZEL_NUMERIC_T *pVal, uint8_t prec,
                                                   uint8_t scale,
                                                   ZEL_BCD_ROUNDING_MODE rounding_mode,
                                                   ZEL_BCD_T *res);
/* `b` shaped to `prec` digits with `scale` of them in the fraction (fraction
 * digits cut, as zel_bcdAdjust does), then stored in `pVal`: precision the
 * digits kept, scale, sign and the integer's bytes. Bytes of `val` past the
 * integer are left as they were (zero writes none). sPRECISIONLOSS when
 * fraction digits were cut. eRANGE for a `scale` of 33 or more or a `prec`
 * above 32, or when the integer digits do not fit; an operand with error
 * flags returns their code; `pVal` is untouched on any error. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdToNumericStruct(const ZEL_BCD_T *b, uint8_t prec, uint8_t scale,
                                                 ZEL_BCD_ROUNDING_MODE rounding_mode,
                                                 ZEL_NUMERIC_T *pVal);
/* The record as a double. Only the first 8 bytes of `val` count, and 10 to a
 * positive scale is computed in 32 bits (so it wraps from a scale of 10 on,
 * and a scale of 32 or more divides by 0): both kept as stored data was read
 * this way. A sign of 0 negates. */
double b_getDoubleFromNumeric(const ZEL_NUMERIC_T *pNumStr);

ZEL_EXTERN_C_END

#endif /* BCD_FUNC_H */
