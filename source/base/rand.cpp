/*
 * rand.cpp - MT19937 by its published definition: 624 words of state, a
 * refresh of all of them at once (b_randGenerateNumbers) and a tempering of
 * each word as it is handed out (b_randGetNext). Seeding fills the state by
 * the published recurrence and refreshes it at once.
 */
#include "rand.h"

#include "tag_sub.h"

namespace {

constexpr uint32_t kRandN = B_RAND_STATE_WORDS;
constexpr uint32_t kRandM = 397;
constexpr uint32_t kRandMatrixA = 0x9908B0DF;
constexpr uint32_t kRandUpper = 0x80000000;
constexpr uint32_t kRandLower = 0x7FFFFFFF;
constexpr uint32_t kRandDefaultSeed = 0x8DF1337C;

uint32_t b_randTwist(uint32_t upper, uint32_t lower, uint32_t far) {
    const uint32_t y = (upper & kRandUpper) | (lower & kRandLower);
    return far ^ (y >> 1) ^ ((y & 1) ? kRandMatrixA : 0);
}

void b_randGenerateNumbers(B_RAND rand) {
    uint32_t *mt = rand->MT;
    uint32_t i = 0;
    for (; i < kRandN - kRandM; i++) mt[i] = b_randTwist(mt[i], mt[i + 1], mt[i + kRandM]);
    for (; i < kRandN - 1; i++) mt[i] = b_randTwist(mt[i], mt[i + 1], mt[i + kRandM - kRandN]);
    mt[kRandN - 1] = b_randTwist(mt[kRandN - 1], mt[0], mt[kRandM - 1]);
    rand->curr = mt;
}

uint32_t b_randGetNext(B_RAND rand) {
    if (rand->curr == rand->end) b_randGenerateNumbers(rand);
    uint32_t y = *rand->curr++;
    y ^= y >> 11;
    y ^= (y << 7) & 0x9D2C5680;
    y ^= (y << 15) & 0xEFC60000;
    y ^= y >> 18;
    return y;
}

void b_randSeed(B_RAND rand, uint32_t seed) {
    uint32_t *mt = rand->MT;
    mt[0] = seed;
    for (uint32_t i = 1; i < kRandN; i++) mt[i] = (mt[i - 1] ^ (mt[i - 1] >> 30)) * 1812433253 + i;
    mt[kRandN] = 0;
    rand->end = mt + kRandN;
    b_randGenerateNumbers(rand);
}

}  // namespace

ZEL_RETCODE b_randCreate(B_RAND *pRand, uint32_t seed, B_TAG_SUB subTag) {
    ZEL_RETCODE rc;
    B_RAND rand = nullptr;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, sizeof(B_RAND_CTX), &rand));
    rand->subTag = subTag;
    b_randSeed(rand, seed == 0 ? kRandDefaultSeed : seed);
    *pRand = rand;
    return sOKAY;
}

void b_randDestroy(B_RAND rand) {
    if (rand != nullptr) b_tag_subFree(rand->subTag, rand);
}

int32_t b_randGet(B_RAND rand) {
    return static_cast<int32_t>(b_randGetNext(rand) & 0x7FFFFFFF);
}

uint32_t b_randGetUInt32(B_RAND rand) {
    return b_randGetNext(rand);
}

uint64_t b_randGetUInt64(B_RAND rand) {
    const uint64_t high = b_randGetNext(rand);
    return (high << 32) | b_randGetNext(rand);
}

double b_randGetDouble(B_RAND rand) {
    return b_randGetNext(rand) * 2.3283064365386963e-10;
}

// Deliberately no replacement of 0 here, unlike b_randCreate: callers that
// reseed rely on the zero seed's own stream.
void b_randResetSeed(B_RAND rand, uint32_t seed) {
    b_randSeed(rand, seed);
}
