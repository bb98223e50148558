/*
 * bcd.h - exact decimal arithmetic on ZEL_BCD_T (zelbcdtypes.h).
 *
 * Arithmetic runs in a 40-digit work form (80 digits inside an addition or a
 * multiplication) and is reduced to 32 digits once, at the end, under the
 * rounding mode the caller passes. Results may be the same record as an
 * operand. Nothing here allocates; every function is pure on its arguments.
 *
 * Codes of the arithmetic: sOKAY for an exact result; sPRECISIONLOSS when the
 * result was rounded (it is stored); eRANGE for more than 32 integer digits
 * (a zero is stored); eDIVBY0; eNOTANUMBER. The flags of both operands are
 * ORed into every result, so a code once earned stays with the value.
 */
#ifndef BCD_H
#define BCD_H

#include <stdint.h>

#include "stream_types.h"
#include "zelbcdtypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* The work forms, for the decimal functions built on this module. They share
 * the header of ZEL_BCD_T, so a ZEL_BCD_T operand is read through a WORK_BCD
 * view (zel_bcdAsWork) without a copy; nothing past `prec` is read. */
typedef struct WORK_BCD_S {
    uint8_t prec;
    int8_t exp;
    uint8_t flags;
    int8_t sign;
    uint8_t data[41];
} WORK_BCD;

typedef struct DWORK_BCD_S {
    uint8_t prec;
    int8_t exp;
    uint8_t flags;
    int8_t sign;
    uint8_t data[81];
} DWORK_BCD;

static inline const WORK_BCD *zel_bcdAsWork(const ZEL_BCD_T *bcd) {
    return (const WORK_BCD *)(const void *)bcd;
}

/* ---- Work level: exact to 40 digits, cut (not rounded) beyond them. The
 * result may alias an operand. Error bits in an operand give an error zero. */
void zel_bcdWorkAdd(const WORK_BCD *l, const WORK_BCD *r, WORK_BCD *res);
void zel_bcdWorkSub(const WORK_BCD *l, const WORK_BCD *r, WORK_BCD *res);
void zel_bcdWorkMult(const WORK_BCD *l, const WORK_BCD *r, WORK_BCD *res);
/* l times the 40-digit reciprocal of r (Newton's iteration). */
void zel_bcdWorkDiv(const WORK_BCD *l, const WORK_BCD *r, WORK_BCD *res);
/* 1 / bcd; a zero operand gives a zero with flag ZEL_BCD_FLAG_DIVBY0. */
void zel_bcdWorkReciprocal(const WORK_BCD *bcd, WORK_BCD *res);
/* Strips fraction zeros and leading zeros; too many integer digits give a
 * zero with ZEL_BCD_FLAG_OVERFLOW. */
void zel_bcdNormalizeWork(WORK_BCD *w);
/* Order of the magnitudes |l| and |r|, place by place; signs and flags are
 * not looked at. */
ZEL_COMPARE zel_bcdWorkCompareMagnitude(const WORK_BCD *l, const WORK_BCD *r);
/* Reduces a work value to 32 digits under `rounding_mode` and stores it. The
 * code follows from the flags; ZEL_BCD_FLAG_NOMEMORY leaves `result` alone. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdAssignResult(const WORK_BCD *work,
                                              ZEL_BCD_ROUNDING_MODE rounding_mode,
                                              ZEL_BCD_T *result);
/* The code of a set of flags, first match wins: eNOMEMORY, eDIVBY0,
 * eNOTANUMBER, eRANGE, sPRECISIONLOSS, sUNDERFLOW, sOKAY. */
ZEL_RETCODE zel_bcdRetcode(uint8_t flags);

/* ---- Arithmetic on two decimals: res = l op r. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdAdd(const ZEL_BCD_T *l, const ZEL_BCD_T *r,
                                     ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdSub(const ZEL_BCD_T *l, const ZEL_BCD_T *r,
                                     ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdMult(const ZEL_BCD_T *l, const ZEL_BCD_T *r,
                                      ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);
/* Division is a multiplication by a 40-digit reciprocal, so a quotient may
 * differ from the correctly rounded one in the last place. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdDiv(const ZEL_BCD_T *l, const ZEL_BCD_T *r,
                                     ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);
ZEL_NODISCARD ZEL_RETCODE zel_bcdReciprocal(const ZEL_BCD_T *bcd,
                                            ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *res);

/* ---- Arithmetic with a native number. The 32-bit forms widen; the integer
 * forms convert exactly; the Double forms convert through zel_bcdFromDouble
 * and return its code when that is not sOKAY. `s` receives the result. */
#define ZEL_BCD_DECLARE_NATIVE_OPS(N, T)                                                          \
    ZEL_NODISCARD ZEL_RETCODE zel_bcdAdd##N(const ZEL_BCD_T *l, T r,                              \
                                            ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *s);   \
    ZEL_NODISCARD ZEL_RETCODE zel_bcdSub##N(const ZEL_BCD_T *l, T r,                              \
                                            ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *s);   \
    ZEL_NODISCARD ZEL_RETCODE zel_bcdMult##N(const ZEL_BCD_T *l, T r,                             \
                                             ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *s);  \
    ZEL_NODISCARD ZEL_RETCODE zel_bcdDivBy##N(const ZEL_BCD_T *l, T r,                            \
                                              ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *s); \
    ZEL_NODISCARD ZEL_RETCODE zel_bcdSubFrom##N(                                                  \
        T l, const ZEL_BCD_T *r, ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *s);              \
    ZEL_NODISCARD ZEL_RETCODE zel_bcdDiv##N(T l, const ZEL_BCD_T *r,                              \
                                            ZEL_BCD_ROUNDING_MODE rounding_mode, ZEL_BCD_T *s);

ZEL_BCD_DECLARE_NATIVE_OPS(Int32, int32_t)
ZEL_BCD_DECLARE_NATIVE_OPS(UInt32, uint32_t)
ZEL_BCD_DECLARE_NATIVE_OPS(Int64, int64_t)
ZEL_BCD_DECLARE_NATIVE_OPS(UInt64, uint64_t)
ZEL_BCD_DECLARE_NATIVE_OPS(Double, double)

/* ---- Sign, rounding to integers, comparison. */

/* Error bits in `operand` return their code, nothing written. Otherwise a
 * normalised copy (when the records differ) with the sign negated; in place
 * there is no normalising, so a zero can take the sign -1. Returns the code of
 * the result's flags. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdChgSign(const ZEL_BCD_T *operand, ZEL_BCD_T *result);
/* Largest integer not above / smallest not below the operand. A fraction of
 * stored zeros (as after zel_bcdUnpack) counts as a fraction for the step away
 * from zero. Error bits return their code; else the code of the flags. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdFloor(const ZEL_BCD_T *operand, ZEL_BCD_T *result);
ZEL_NODISCARD ZEL_RETCODE zel_bcdCeiling(const ZEL_BCD_T *operand, ZEL_BCD_T *result);
/* Rounds half away from zero to an integer, with two set rules: a magnitude
 * below 0.1 gives 1 with the operand's sign, and a 9 rounded up becomes the
 * digit value 10 (zel_bcdValidate finds it). */
ZEL_NODISCARD ZEL_RETCODE zel_bcdRound(const ZEL_BCD_T *operand, ZEL_BCD_T *result);
/* 0 when prec is 0, else the sign. */
int16_t zel_bcdSign(const ZEL_BCD_T *bcd);
/* ZEL_TRUE when data[0] to data[prec] are all 0. */
ZEL_BOOL_T zel_bcdIsZero(const ZEL_BCD_T *bcd);
/* Numeric order; zeros of either sign with prec 0 are equal. */
ZEL_COMPARE zel_bcdCompare(const ZEL_BCD_T *left, const ZEL_BCD_T *right);
uint8_t zel_bcdMaxprec(void);
uint8_t zel_bcdMaxscale(void);
/* eINVALID when prec is above 32 or a digit in data[0..prec] is above 9;
 * exp, flags and sign are not looked at. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdValidate(const ZEL_BCD_T *bcd);
/* Copies the header and the digits, clears the rest of `dest`. */
void zel_bcdCopy(const ZEL_BCD_T *src, ZEL_BCD_T *dest);
/* In place: leading zeros out (or a carry in data[0] taken in, cut at 32
 * digits), bytes past prec cleared; trailing zeros stay. A record with no
 * non-zero digit becomes the canonical zero, flags and all. */
void zel_bcdNormalize(ZEL_BCD_T *bcd);

/* ---- Stored form. */

/* Reshapes `bcd` in place to exactly `prec` digits with `scale` of them in the
 * fraction, leading zeros included (the record is left unnormalised: its
 * digits are what zel_bcdPack writes). Fraction digits are cut, not rounded:
 * sPRECISIONLOSS; integer digits cut off the top: eRANGE. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdAdjust(ZEL_BCD_T *bcd, uint8_t prec, uint8_t scale);
/* Writes (prec / 2) + 1 bytes to `p`: the sign nibble (4 for a positive number
 * or zero, 0 for a negative one), then `prec` digit nibbles, nines'
 * complemented when negative, so that two numbers of one prec and scale sort
 * by memcmp. eRANGE for a scale above 32 or a prec above 32, nothing written;
 * otherwise the code of zel_bcdAdjust, with the bytes written in any case. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdPack(const ZEL_BCD_T *bcdu, ZEL_PACKED_BCD_T *p, uint8_t prec,
                                      uint8_t scale);
/* Reads (prec / 2) + 1 bytes. Leading zero digits are dropped, trailing zeros
 * kept. eRANGE for the limits of zel_bcdPack; eINVBCD for a digit nibble above
 * 9, with `bcdu` untouched. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdUnpack(const ZEL_PACKED_BCD_T *p, ZEL_BCD_T *bcdu, uint8_t prec,
                                        uint8_t scale);

/* ---- Text. */

/* Parses [blanks][sign][blanks]digits[.digits][blanks][e[sign]digits][blanks].
 * Fraction digits past 32 are cut: sPRECISIONLOSS. Too many integer digits,
 * and text that is no number, give eRANGE; what was parsed up to the fault
 * stays in `bcd`. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdFromString(const char *str, ZEL_BCD_T *bcd);
/* Emits the number through `fcn`: `scale` fraction digits (255: all of them),
 * cut, never rounded; with `use_exponent` as d.ddde+nnn. Returns the first
 * failure of `fcn`. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdFormatWithScale(const ZEL_BCD_T *b, uint8_t scale,
                                                 ZEL_BOOL_T use_exponent, ZEL_OUTPUT_FCN fcn,
                                                 B_OUTPUT_CTX ctx);
/* The text into `str` of `len` bytes, terminated. With a null `str` or a `len`
 * of 0 and a non-null `bytesOut`, stores the size needed (terminator included)
 * and returns sOKAY. A text that did not fit gives sUNDERFLOW; `bytesOut` (may
 * be null) gets the bytes stored, terminator included. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdToStringWithScale(const ZEL_BCD_T *b, uint8_t scale,
                                                   ZEL_BOOL_T use_exponent, char *str, uint32_t len,
                                                   uint32_t *bytesOut);
/* zel_bcdToStringWithScale with all digits. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdToString(const ZEL_BCD_T *b, ZEL_BOOL_T use_exp, char *str,
                                          uint32_t len, uint32_t *bytesOut);

/* ---- Native numbers in: exact, always sOKAY. */
ZEL_RETCODE zel_bcdFromInt8(int8_t v, ZEL_BCD_T *bcd);
ZEL_RETCODE zel_bcdFromInt16(int16_t v, ZEL_BCD_T *bcd);
ZEL_RETCODE zel_bcdFromInt32(int32_t v, ZEL_BCD_T *bcd);
ZEL_RETCODE zel_bcdFromInt64(int64_t v, ZEL_BCD_T *bcd);
ZEL_RETCODE zel_bcdFromUInt8(uint8_t v, ZEL_BCD_T *bcd);
ZEL_RETCODE zel_bcdFromUInt16(uint16_t v, ZEL_BCD_T *bcd);
ZEL_RETCODE zel_bcdFromUInt32(uint32_t v, ZEL_BCD_T *bcd);
ZEL_RETCODE zel_bcdFromUInt64(uint64_t v, ZEL_BCD_T *bcd);
/* Through text with 15 significant digits. eRANGE for a value that isn't
 * finite or has more than 32 integer digits; sPRECISIONLOSS for a magnitude so
 * small that its digits pass 32 places. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdFromDouble(double dv, ZEL_BCD_T *bcd);
ZEL_NODISCARD ZEL_RETCODE zel_bcdFromFloat(float fv, ZEL_BCD_T *bcd);

/* ---- Native numbers out. The fraction is cut: sPRECISIONLOSS. A value out
 * of range gives eRANGE; the (narrowed) value is stored whatever the outcome.
 * The unsigned forms give 0 and eRANGE for any negative value. */
ZEL_NODISCARD ZEL_RETCODE zel_bcdToInt8(const ZEL_BCD_T *b, int8_t *val);
ZEL_NODISCARD ZEL_RETCODE zel_bcdToInt16(const ZEL_BCD_T *b, int16_t *val);
ZEL_NODISCARD ZEL_RETCODE zel_bcdToInt32(const ZEL_BCD_T *b, int32_t *val);
ZEL_NODISCARD ZEL_RETCODE zel_bcdToInt64(const ZEL_BCD_T *b, int64_t *val);
ZEL_NODISCARD ZEL_RETCODE zel_bcdToUInt8(const ZEL_BCD_T *b, uint8_t *val);
ZEL_NODISCARD ZEL_RETCODE zel_bcdToUInt16(const ZEL_BCD_T *b, uint16_t *val);
ZEL_NODISCARD ZEL_RETCODE zel_bcdToUInt32(const ZEL_BCD_T *b, uint32_t *val);
ZEL_NODISCARD ZEL_RETCODE zel_bcdToUInt64(const ZEL_BCD_T *b, uint64_t *val);
/* The nearest double is stored in any case; eRANGE when it does not convert
 * back to the same decimal (more than about 15 significant digits). */
ZEL_NODISCARD ZEL_RETCODE zel_bcdToDouble(const ZEL_BCD_T *b, double *val);
ZEL_NODISCARD ZEL_RETCODE zel_bcdToFloat(const ZEL_BCD_T *b, float *val);

ZEL_EXTERN_C_END

#endif /* BCD_H */
