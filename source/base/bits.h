/*
 * bits.h - the highest set bit of a word, and byte reversal of numbers in
 * place (for images written on a host of the other byte order).
 */
#ifndef BITS_H
#define BITS_H

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* The position of the highest set bit counting from 1 (the bit length):
 * 0 for 0, 1 for 1, 32 for 0x80000000. */
uint32_t b_bitFirstSet(uint32_t value);
/* The same for 64 bits: up to 64. */
uint32_t b_bitFirstSet64(uint64_t value);

/* Reverse the bytes of *value, whatever the host's order. */
void b_swaporderUInt16(uint16_t *value);
void b_swaporderInt16(int16_t *value);
void b_swaporderUInt32(uint32_t *value);
void b_swaporderInt32(int32_t *value);
void b_swaporderUInt64(uint64_t *value);
void b_swaporderInt64(int64_t *value);
void b_swaporderFloat(float *value);
void b_swaporderDouble(double *value);

ZEL_EXTERN_C_END

#endif /* BITS_H */
