/*
 * hash.cpp - the table hash. hash ^= hashNumbers[byte][offset & 7] per byte,
 * so a byte's position counts modulo 8 and two equal bytes 8 positions apart
 * cancel: that is the function, and stored buckets rely on it. The bulk
 * path takes 8 bytes per step once the offset is a multiple of 8.
 *
 * The table is fixed at compile time: its first four values are given, the
 * rest are splitmix64 outputs from a fixed state with between 24 and 40 bits
 * set, taken in order. Changing any of it orphans every stored hash bucket.
 */
#include "hash.h"

#include <array>
#include <bit>
#include <cstring>

namespace {

using b_hashTable = std::array<std::array<uint64_t, 8>, 256>;

constexpr uint64_t kHashFirst[4] = {0x9A93CC4203A11319, 0x62881F6F8EAB3DFC, 0x9FEED761AC89A737,
                                    0x192DCF230304D346};
constexpr uint64_t kHashGeneratorState = 0x7A656C6261736521;  // "zelbase!"

constexpr uint64_t b_hashSplitmix(uint64_t &state) {
    uint64_t z = (state += 0x9E3779B97F4A7C15);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
}

constexpr b_hashTable b_hashMakeTable() {
    b_hashTable t{};
    uint64_t state = kHashGeneratorState;
    for (unsigned i = 0; i < 2048; i++) {
        uint64_t v;
        if (i < 4) {
            v = kHashFirst[i];
        } else {
            do {
                v = b_hashSplitmix(state);
            } while (std::popcount(v) < 24 || std::popcount(v) > 40);
        }
        t[i / 8][i % 8] = v;
    }
    return t;
}

// hashNumbers[byte][position & 7]
constexpr b_hashTable hashNumbers = b_hashMakeTable();
static_assert(hashNumbers[0][0] == 0x9A93CC4203A11319 && hashNumbers[0][3] == 0x192DCF230304D346);

}  // namespace

void b_hashFcnStart(B_HASHCTX *ctx) {
    ctx->hash = 0;
    ctx->offset = 0;
}

void b_hashFcnEmit(B_HASHCTX *ctx, uint8_t ch) {
    ctx->hash ^= hashNumbers[ch][ctx->offset & 7];
    ctx->offset++;
}

void b_hashFcnEmitBuffer(B_HASHCTX *ctx, const void *data, size_t len) {
    const auto *p = static_cast<const uint8_t *>(data);
    const uint8_t *const end = p + len;
    uint64_t h = ctx->hash;
    uint32_t offset = ctx->offset;
    while (p != end && (offset & 7) != 0) h ^= hashNumbers[*p++][offset++ & 7];
    // Two accumulators let the eight loads of a step overlap.
    uint64_t a = 0;
    uint64_t b = 0;
    for (; end - p >= 8; p += 8) {
        a ^= hashNumbers[p[0]][0] ^ hashNumbers[p[1]][1] ^ hashNumbers[p[2]][2] ^
             hashNumbers[p[3]][3];
        b ^= hashNumbers[p[4]][4] ^ hashNumbers[p[5]][5] ^ hashNumbers[p[6]][6] ^
             hashNumbers[p[7]][7];
        offset += 8;
    }
    h ^= a ^ b;
    while (p != end) h ^= hashNumbers[*p++][offset++ & 7];
    ctx->hash = h;
    ctx->offset = offset;
}

uint64_t b_hashFcnFinish(const B_HASHCTX *ctx) {
    return ctx->hash;
}
