/*
 * bitmap.h - a fixed-size bitmap in 32-bit chunks from a sub tag. Bits
 * outside the size are ignored: setting them does nothing and they read as
 * clear. One thread at a time.
 */
#ifndef BITMAP_H
#define BITMAP_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

typedef uint32_t CHUNK;

typedef struct B_BITMAP__S {
    CHUNK *data;        /* bit b is data[b >> 5] & (1 << (b & 31)) */
    uint64_t size;      /* bits */
    uint64_t numChunks; /* (size + 31) / 32 */
    B_TAG_SUB subTag;
} B_BITMAP_T;

typedef enum ZEL_BIT_OP_E { ZEL_SET_BIT = 0, ZEL_CLR_BIT = 1, ZEL_NEG_BIT = 2 } ZEL_BIT_OP;

/* A bitmap of `initialSize` clear bits (0 gives an empty one); eNOMEMORY.
 * The bitmap is written only on success. */
ZEL_NODISCARD ZEL_RETCODE b_bmInit(B_BITMAP_T *bm, uint64_t initialSize, B_TAG_SUB subTag);
/* Frees the chunks and leaves an empty bitmap. */
void b_bmTerm(B_BITMAP_T *bm);
/* Applies `op` to `bit` and returns its state before; for a bit at or past
 * `size` nothing happens and the result is ZEL_FALSE. */
ZEL_BOOL_T setOrClearBit(B_BITMAP_T *bm, ZEL_BIT_OP op, uint64_t bit);
/* setOrClearBit with ZEL_SET_BIT, ZEL_CLR_BIT and ZEL_NEG_BIT. */
ZEL_BOOL_T b_bmSetBit(B_BITMAP_T *bm, uint64_t bit);
ZEL_BOOL_T b_bmClearBit(B_BITMAP_T *bm, uint64_t bit);
ZEL_BOOL_T b_bmNegateBit(B_BITMAP_T *bm, uint64_t bit);
/* The state of `bit`; ZEL_FALSE at or past `size`. */
ZEL_BOOL_T b_bmTestBit(const B_BITMAP_T *bm, uint64_t bit);
/* The number of set bits. */
uint64_t b_bmCount(const B_BITMAP_T *bm);

ZEL_EXTERN_C_END

#endif /* BITMAP_H */
