/*
 * prime.h - the smallest prime at or above a number, for sizing hash tables.
 */
#ifndef PRIME_H
#define PRIME_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* The smallest prime >= num into *pPrimeNumber (2 for num up to 2). The
 * work memory (about sqrt(num) / 16 bytes of sieve plus a list of the primes
 * below about sqrt(num)) comes from `subTag` and is given back; eNOMEMORY.
 * For num above 18446744073709551557, the largest prime below 2^64, eRANGE. */
ZEL_NODISCARD ZEL_RETCODE b_primeNextGreaterOrEqual(uint64_t num, uint64_t *pPrimeNumber,
                                                    B_TAG_SUB subTag);

ZEL_EXTERN_C_END

#endif /* PRIME_H */
