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

namespace {

// Stored by position, then byte: hashNumbers[byte][pos] is kHashByPos[pos][byte],
// so a lookup is one scaled-index load with the position as a displacement.
using b_hashTable = std::array<std::array<uint64_t, 256>, 8>;

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
        t[i % 8][i / 8] = v;
    }
    return t;
}

constexpr b_hashTable kHashByPos = b_hashMakeTable();
static_assert(kHashByPos[0][0] == 0x9A93CC4203A11319 && kHashByPos[3][0] == 0x192DCF230304D346);

// hashNumbers[byte][position & 7], the table the hash is defined by.
constexpr uint64_t b_hashNumber(unsigned byte, unsigned position) {
    return kHashByPos[position & 7][byte];
}

}  // namespace

void b_hashFcnStart(B_HASHCTX *ctx) {
    ctx->hash = 0;
    ctx->offset = 0;
}

void b_hashFcnEmit(B_HASHCTX *ctx, uint8_t ch) {
    ctx->hash ^= b_hashNumber(ch, ctx->offset);
    ctx->offset++;
}

void b_hashFcnEmitBuffer(B_HASHCTX *ctx, const void *data, size_t len) {
    const auto *p = static_cast<const uint8_t *>(data);
    const uint8_t *const end = p + len;
    uint64_t h = ctx->hash;
    uint32_t offset = ctx->offset;
    while (p != end && (offset & 7) != 0) h ^= b_hashNumber(*p++, offset++);
    // Eight bytes per step; two accumulators let the table loads overlap.
    uint64_t a = 0;
    uint64_t b = 0;
    for (; end - p >= 8; p += 8) {
        a ^= kHashByPos[0][p[0]] ^ kHashByPos[1][p[1]] ^ kHashByPos[2][p[2]] ^ kHashByPos[3][p[3]];
        b ^= kHashByPos[4][p[4]] ^ kHashByPos[5][p[5]] ^ kHashByPos[6][p[6]] ^ kHashByPos[7][p[7]];
        offset += 8;
    }
    h ^= a ^ b;
    while (p != end) h ^= b_hashNumber(*p++, offset++);
    ctx->hash = h;
    ctx->offset = offset;
}

uint64_t b_hashFcnFinish(const B_HASHCTX *ctx) {
    return ctx->hash;
}
