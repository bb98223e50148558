/*
 * rand.h - the Mersenne Twister MT19937 random generator. A given seed gives
 * the published MT19937 stream of that seed. One thread at a time.
 */
#ifndef RAND_H
#define RAND_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

#define B_RAND_STATE_WORDS 624

typedef struct B_RAND_CTX_S {
    uint32_t *curr; /* next state word to temper */
    uint32_t *end;  /* MT + B_RAND_STATE_WORDS: a refresh is due */
    B_TAG_SUB subTag;
    uint32_t MT[B_RAND_STATE_WORDS + 1];
} B_RAND_CTX;

typedef B_RAND_CTX *B_RAND;

/* A generator seeded with `seed`, where 0 stands for 0x8DF1337C, allocated
 * from `subTag`; eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_randCreate(B_RAND *pRand, uint32_t seed, B_TAG_SUB subTag);
/* Frees the generator; null is allowed. */
void b_randDestroy(B_RAND rand);
/* The next value with the top bit cleared: 0 to 0x7FFFFFFF. */
int32_t b_randGet(B_RAND rand);
/* The next value. */
uint32_t b_randGetUInt32(B_RAND rand);
/* Two values: the first in the high half, the second in the low half. */
uint64_t b_randGetUInt64(B_RAND rand);
/* The next value times 2^-32: from 0 to below 1. */
double b_randGetDouble(B_RAND rand);
/* Seeds again with `seed` as it is: here 0 stays 0. */
void b_randResetSeed(B_RAND rand, uint32_t seed);

ZEL_EXTERN_C_END

#endif /* RAND_H */
