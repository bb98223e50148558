/*
 * hash.h - the byte-wise table hash behind the hash functions of the column
 * types. Each byte xors in a table value chosen by the byte and by its
 * position modulo 8. Stored hash buckets depend on the table: it never
 * changes.
 */
#ifndef HASH_H
#define HASH_H

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_HASHCTX_S {
    uint64_t hash;
    uint32_t offset; /* bytes taken so far (only its low 3 bits matter) */
} B_HASHCTX;

/* Starts a hash: `hash` and `offset` 0. */
void b_hashFcnStart(B_HASHCTX *ctx);
/* Takes one byte. */
void b_hashFcnEmit(B_HASHCTX *ctx, uint8_t ch);
/* Takes `len` bytes, exactly as that many b_hashFcnEmit calls would. */
void b_hashFcnEmitBuffer(B_HASHCTX *ctx, const void *data, size_t len);
/* The hash of the bytes so far (0 for none); the context may go on. */
uint64_t b_hashFcnFinish(const B_HASHCTX *ctx);

ZEL_EXTERN_C_END

#endif /* HASH_H */
