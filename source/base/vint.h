/*
 * vint.h - the stored variable integer: an unsigned 64-bit value in one of
 * nine forms of 1 to 9 bytes, chosen by the value alone and told apart by
 * the first byte. Each form is biased by the sum of the ranges below it, so
 * a value has exactly one encoding and encoded byte strings sort as their
 * values. Signed values go through a mapping onto the unsigned ones.
 *
 * The payload is the value less the form's bias, big-endian: its high bits
 * in the low bits of the first byte (where the form has any), the rest in
 * the following bytes, most significant first.
 *
 *   FORM OFFSET SIZE MEANING
 *   1    0      1    0x00-0x7F  value (7 bits), bias 0, up to 0x7F
 *   2    0      1    0x80-0xBF  10 + payload bits 13..8
 *        1      1    payload bits 7..0; bias 0x80, up to 0x407F
 *   3    0      1    0xC0-0xDF  110 + payload bits 20..16
 *        1      2    payload bits 15..0; bias 0x4080, up to 0x20407F
 *   4    0      1    0xE0-0xE7  11100 + payload bits 26..24
 *        1      3    payload bits 23..0; bias 0x204080, up to 0x820407F
 *   5    0      1    0xE8-0xEF  11101 + payload bits 34..32
 *        1      4    payload bits 31..0; bias 0x8204080, up to 0x80820407F
 *   6    0      1    0xF0-0xF7  11110 + payload bits 42..40
 *        1      5    payload bits 39..0; bias 0x808204080, up to 0x8080820407F
 *   7    0      1    0xF8
 *        1      6    payload (48 bits); bias 0x80808204080, up to 0x108080820407F
 *   8    0      1    0xF9
 *        1      7    payload (56 bits); bias 0x1080808204080, up to 0x10108080820407F
 *   9    0      1    0xFA
 *        1      8    payload (64 bits); bias 0x101080808204080, up to 2^64-1
 *   -    0      1    0xFB-0xFF  no form: eINVVARINT
 *
 * A 9-byte payload above 0xFEFEF7F7F7DFBF7F wraps past 2^64 when the bias is
 * added; the decoder lets it wrap silently and so accepts those bytes.
 */
#ifndef VINT_H
#define VINT_H

#include <stddef.h>
#include <stdint.h>

#include "stream_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* Number of forms, and the size of the longest. */
#define B_VINT_FORMS 9
#define B_VINT_MAX_BYTES 9

/* Writes the whole form of `val` through `fcn`. */
typedef ZEL_RETCODE (*B_VINT_ENCODE_FCN)(uintmax_t val, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
/* Reads the rest of a form whose `first` byte has already been read. */
typedef ZEL_RETCODE (*B_VINT_DECODE_FCN)(uint32_t first, ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx,
                                         uintmax_t *val);

/* One row per form, shortest first. */
typedef struct B_ENCODE_INFO_S {
    uint32_t size; /* total bytes, 1 to 9 */
    B_VINT_ENCODE_FCN encode_fcn;
    B_VINT_DECODE_FCN decode_fcn;
} B_ENCODE_INFO;

extern const B_ENCODE_INFO b_encoder_fcns[B_VINT_FORMS];
/* First byte to row of b_encoder_fcns: 0-8 for the forms, 9-13 for the
 * invalid first bytes 0xFB-0xFF (beyond the table). */
extern const uint8_t reverse_lookup[256];

/* The row of the form of `val`: at most eight comparisons, no loop. */
const B_ENCODE_INFO *b_vintGetEncodeInfo(uintmax_t val);
/* The row of the form that `first` begins, or null for 0xFB and above. */
const B_ENCODE_INFO *b_vintGetDecodeInfo(uint32_t first);

/* Writes `val` in its form, one byte per call of `fcn`, and stops at the
 * first failure of fcn, which it returns; bytes already emitted stay so. */
ZEL_NODISCARD ZEL_RETCODE b_vintEncodeUIntmax(uintmax_t val, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
/* Reads one value. eINVVARINT for a first byte of 0xFB or above (nothing
 * more is read); any other answer of `fcn` but sOKAY (eEOD at the end of a
 * buffer) is returned as it stands. *val is written only on success. */
ZEL_NODISCARD ZEL_RETCODE b_vintDecodeUIntmax(ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx, uintmax_t *val);
/* As b_vintDecodeUIntmax; a value above 0xFFFFFFFF gives eRANGE after the
 * whole value is read, and *val is left alone. */
ZEL_NODISCARD ZEL_RETCODE b_vintDecodeUInt32(ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx, uint32_t *val);
ZEL_NODISCARD ZEL_RETCODE b_vintDecodeSize_t(ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx, size_t *val);

/* The signed mapping: v >= 0 is 2v, v < 0 is the complement of 2v, so that
 * -1 is 1, 1 is 2, -2 is 3 and INTMAX_MIN is UINTMAX_MAX. */
uintmax_t b_vintConvertToUnsigned(intmax_t val);
/* Its inverse: even u is u >> 1, odd u the complement of u >> 1. */
intmax_t b_vintConvertToSigned(uintmax_t val);

ZEL_EXTERN_C_END

#endif /* VINT_H */
