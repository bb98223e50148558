/*
 * prime.cpp - the next prime by trial division against a sieved list. A
 * sieve of Atkin over the odd numbers up to limit = sqrt(4/3 of num) lists
 * every prime that can divide a composite between num and the next prime
 * (which lies below 4/3 of num); candidates num | 1, num | 1 + 2, ... are
 * then tried against the list until one has no divisor in it.
 */
#include "prime.h"

#include <cmath>

#include "bitmap.h"
#include "tag_sub.h"

namespace {

constexpr uint64_t kPrimeLargest64 = 18446744073709551557ULL;  // 2^64 - 59

// floor(sqrt(v)) exactly, for v below 2^66.
uint64_t b_primeIsqrt(unsigned __int128 v) {
    auto r = static_cast<uint64_t>(std::sqrt(static_cast<double>(v)));
    while (static_cast<unsigned __int128>(r) * r > v) r--;
    while (static_cast<unsigned __int128>(r + 1) * (r + 1) <= v) r++;
    return r;
}

// Odd numbers only: bit i stands for 2i + 1.
void b_primeToggle(B_BITMAP_T *bm, uint64_t n) {
    (void)b_bmNegateBit(bm, n >> 1);
}

void b_primeSieve(B_BITMAP_T *bm, uint64_t limit) {
    const uint64_t r = b_primeIsqrt(limit);
    for (uint64_t x = 1; x <= r; x++) {
        const uint64_t xx3 = 3 * x * x;
        for (uint64_t y = 1; y <= r; y++) {
            const uint64_t yy = y * y;
            if (xx3 < limit - yy) {
                uint64_t n = xx3 + yy;
                if (n <= limit && n % 12 == 7) b_primeToggle(bm, n);
                n = xx3 + x * x + yy;
                if (n <= limit && (n % 12 == 1 || n % 12 == 5)) b_primeToggle(bm, n);
            }
            // Past the limit the bitmap refuses the bit.
            if (x > y && (xx3 - yy) % 12 == 11) b_primeToggle(bm, xx3 - yy);
        }
    }
    for (uint64_t p = 5; p <= r; p += 2) {
        if (!b_bmTestBit(bm, p >> 1)) continue;
        const uint64_t pp = p * p;
        for (uint64_t k = pp; k <= limit; k += 2 * pp) (void)b_bmClearBit(bm, k >> 1);
    }
    (void)b_bmSetBit(bm, 3 >> 1);
}

}  // namespace

ZEL_RETCODE b_primeNextGreaterOrEqual(uint64_t num, uint64_t *pPrimeNumber, B_TAG_SUB subTag) {
    ZEL_RETCODE rc;
    if (num <= 2) {
        *pPrimeNumber = 2;
        return sOKAY;
    }
    if (num > kPrimeLargest64) return eRANGE;

    // (num + 2) / 3 * 4 passes 64 bits near the top of the range.
    const uint64_t limit = b_primeIsqrt(static_cast<unsigned __int128>((num + 2) / 3) * 4);
    B_BITMAP_T bm;
    ZEL_CHECK(rc = b_bmInit(&bm, (limit + 1) >> 1, subTag));
    b_primeSieve(&bm, limit);

    // For num 3 to 5 the limit is 2 and 3 falls outside the bitmap: the list
    // is {2} alone, and the first odd candidate (3, 5, 5) stands.
    const uint64_t count = 1 + b_bmCount(&bm);
    uint64_t *primes = nullptr;
    rc = b_tag_subAlloc(subTag, count * sizeof(uint64_t), &primes);
    if (rc < 0) {
        b_bmTerm(&bm);
        return rc;
    }
    uint64_t n = 0;
    primes[n++] = 2;
    for (uint64_t w = 0; w < bm.numChunks; w++) {
        for (CHUNK bits = bm.data[w]; bits != 0; bits &= bits - 1) {
            primes[n++] = 2 * (w * 32 + static_cast<uint64_t>(__builtin_ctz(bits))) + 1;
        }
    }
    b_bmTerm(&bm);

    // Every listed prime is below the first candidate (the limit is about
    // sqrt(num)), so a divisor above sqrt(candidate) implies one below it and
    // the scan may stop there.
    uint64_t candidate = num | 1;
    for (;;) {
        bool divided = false;
        for (uint64_t i = 1; i < n; i++) {
            const uint64_t p = primes[i];
            if (static_cast<unsigned __int128>(p) * p > candidate) break;
            if (candidate % p == 0) {
                divided = true;
                break;
            }
        }
        if (!divided) break;
        candidate += 2;
    }
    b_tag_subFree(subTag, primes);
    *pPrimeNumber = candidate;
    return sOKAY;
}
