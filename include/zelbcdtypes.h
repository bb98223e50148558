/*
 * zelbcdtypes.h - the exact decimal of the engine: up to 32 digits, one digit
 * per byte, with a decimal exponent and sticky status flags. The record is
 * copied raw into value buffers, so its 37-byte layout is fixed.
 * Compiles as C11 and as C++20.
 */
#ifndef ZELBCDTYPES_H
#define ZELBCDTYPES_H

#include <stdint.h>

#include "zeltypes.h"

/* Most digits a decimal holds, and most of them in the fraction. */
#define ZEL_BCD_MAX_PREC 32
#define ZEL_BCD_MAX_SCALE 32

/* Status bits of ZEL_BCD_T.flags. They are ORed from the operands into every
 * result, so a lost digit stays visible through a whole computation. */
#define ZEL_BCD_FLAG_PRECISION_LOSS 0x01 /* digits were lost: sPRECISIONLOSS */
#define ZEL_BCD_FLAG_OVERFLOW 0x02       /* too many integer digits: eRANGE */
#define ZEL_BCD_FLAG_DIVBY0 0x04         /* division by zero: eDIVBY0 */
#define ZEL_BCD_FLAG_UNDERFLOW 0x08      /* sUNDERFLOW */
#define ZEL_BCD_FLAG_NOMEMORY 0x10       /* eNOMEMORY */
#define ZEL_BCD_FLAG_NAN 0x20            /* not a number: eNOTANUMBER */
/* An operand with any of these makes every operation yield an error zero. */
#define ZEL_BCD_FLAG_ERRORS 0x26

/* The value is 0.d1d2...dn times ten to `exp`, n = `prec`.
 *
 * OFFSET SIZE MEANING
 *      0    1 prec: digits held, 0 to 32; 0 means zero
 *      1    1 exp: decimal exponent; a positive exp counts the integer digits
 *      2    1 flags: ZEL_BCD_FLAG_* bits
 *      3    1 sign: +1 or -1
 *      4    1 data[0]: spill slot for a carry out of the top, 0 when normalised
 *      5   32 data[1..32]: digits 0 to 9, most significant first; 0 past prec
 *
 * 1.5 is prec 2, exp 1, digits 1 5; 0.012 is prec 2, exp -1, digits 1 2; 100 is
 * prec 3, exp 3, digits 1 0 0. The canonical zero is all zero with sign +1. */
typedef struct ZEL_BCD_S {
    uint8_t prec;
    int8_t exp;
    uint8_t flags;
    int8_t sign;
    uint8_t data[ZEL_BCD_MAX_PREC + 1];
} ZEL_BCD_T;

/* How a result is reduced to 32 digits. Every arithmetic call takes one; a
 * value outside the table behaves as ZEL_BCD_ROUND_TOWARDS_ZERO. */
typedef enum ZEL_BCD_ROUNDING_MODE_E {
    ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN = 0,
    ZEL_BCD_ROUND_NEAREST_TIES_AWAY_FROM_ZERO = 1,
    ZEL_BCD_ROUND_UP = 2,   /* towards plus infinity */
    ZEL_BCD_ROUND_DOWN = 3, /* towards minus infinity */
    ZEL_BCD_ROUND_TOWARDS_ZERO = 4,
    /* Not a mode: makes every 32-bit value a valid value of the type, so that
     * a mode outside the table is well defined in C++ as well. */
    ZEL_BCD_ROUND_FORCE_INT32 = 0x7FFFFFFF
} ZEL_BCD_ROUNDING_MODE;

/* One byte of the stored form: a sign nibble, then a digit per nibble. */
typedef uint8_t ZEL_PACKED_BCD_T;

/* Bytes of the integer of a ZEL_NUMERIC_T. */
#define ZEL_NUMERIC_VAL_BYTES 16

/* The numeric record of the engine's client interface: a 128-bit unsigned
 * integer with the decimal point removed, its scale and sign.
 *
 * OFFSET SIZE MEANING
 *      0    1 precision: digits of the number
 *      1    1 scale: digits of the integer behind the decimal point
 *      2    1 sign: 1 for a positive number (or zero), any other value negative
 *      3   16 val: the integer, least significant byte first
 *
 * 123.45 is precision 5, scale 2, sign 1, val 0x39 0x30 0 ... (12345). */
typedef struct ZEL_NUMERIC_S {
    uint8_t precision;
    int8_t scale;
    uint8_t sign;
    uint8_t val[ZEL_NUMERIC_VAL_BYTES];
} ZEL_NUMERIC_T;

#endif /* ZELBCDTYPES_H */
