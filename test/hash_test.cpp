// Tests of the table hash against vectors recomputed from its definition by
// test/data/gen_containers.py, plus the properties that stored buckets rely
// on: 0 for nothing, position modulo 8, and the bulk path equal to the
// byte-by-byte one at every starting offset.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "hash.h"
#include "vectors.h"

namespace {

uint64_t HashBytes(const std::vector<uint8_t> &bytes) {
    B_HASHCTX ctx;
    b_hashFcnStart(&ctx);
    for (uint8_t b : bytes) b_hashFcnEmit(&ctx, b);
    EXPECT_EQ(ctx.offset, bytes.size());
    return b_hashFcnFinish(&ctx);
}

TEST(TableHash, MatchesOracleVectors) {
    const auto rows = vectors_read("good-tablehash.txt");
    ASSERT_GT(rows.size(), 60u);
    for (const auto &row : rows) {
        const std::string text = vectors_unhex(row[0]);
        const std::vector<uint8_t> bytes(text.begin(), text.end());
        const uint64_t want = std::stoull(row[1], nullptr, 16);
        EXPECT_EQ(HashBytes(bytes), want) << row[0];
        B_HASHCTX ctx;
        b_hashFcnStart(&ctx);
        b_hashFcnEmitBuffer(&ctx, bytes.data(), bytes.size());
        EXPECT_EQ(b_hashFcnFinish(&ctx), want) << row[0];
    }
}

TEST(TableHash, EmptyIsZeroAndEqualBytesEightApartCancel) {
    EXPECT_EQ(HashBytes({}), 0u);
    // One byte 0 at position 0 is the first table value.
    EXPECT_EQ(HashBytes({0}), 0x9A93CC4203A11319u);
    EXPECT_EQ(HashBytes({'q', 1, 2, 3, 4, 5, 6, 7, 'q'}), HashBytes({0, 1, 2, 3, 4, 5, 6, 7, 0}));
    EXPECT_NE(HashBytes({'a', 'b'}), HashBytes({'b', 'a'}));
}

// Every table value is reachable as the hash of one byte after a prefix of
// zeros xor the hash of the prefix: all 2048 must differ and be well mixed.
TEST(TableHash, TableValuesAreDistinctAndMixed) {
    std::set<uint64_t> seen;
    for (unsigned pos = 0; pos < 8; pos++) {
        std::vector<uint8_t> prefix(pos, 0);
        const uint64_t base = HashBytes(prefix);
        for (unsigned b = 0; b < 256; b++) {
            prefix.push_back(static_cast<uint8_t>(b));
            const uint64_t v = HashBytes(prefix) ^ base;
            prefix.pop_back();
            seen.insert(v);
            EXPECT_GE(__builtin_popcountll(v), 24) << b << "@" << pos;
            EXPECT_LE(__builtin_popcountll(v), 40) << b << "@" << pos;
        }
    }
    EXPECT_EQ(seen.size(), 2048u);
}

TEST(TableHashBulk, EqualsByteByByteFromAnyOffset) {
    std::mt19937 rng(23);
    std::vector<uint8_t> data(200);
    for (auto &b : data) b = static_cast<uint8_t>(rng());
    for (size_t head = 0; head < 10; head++) {
        for (size_t len = 0; len < 40; len++) {
            B_HASHCTX bulk, single;
            b_hashFcnStart(&bulk);
            b_hashFcnStart(&single);
            for (size_t i = 0; i < head; i++) {
                b_hashFcnEmit(&bulk, data[i]);
                b_hashFcnEmit(&single, data[i]);
            }
            b_hashFcnEmitBuffer(&bulk, data.data() + head, len);
            for (size_t i = 0; i < len; i++) b_hashFcnEmit(&single, data[head + i]);
            ASSERT_EQ(bulk.hash, single.hash) << head << "+" << len;
            ASSERT_EQ(bulk.offset, single.offset);
        }
    }
}

}  // namespace
