// Tests of the bit length against Python's int.bit_length (oracle file) and
// of the byte swaps against the bytes reversed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "bits.h"
#include "vectors.h"

namespace {

TEST(BitFirstSet, MatchesBitLengthOfOracleValues) {
    const auto rows = vectors_read("good-bitlength.txt");
    ASSERT_GT(rows.size(), 500u);
    for (const auto &row : rows) {
        const uint64_t value = std::stoull(row[0], nullptr, 16);
        const uint32_t length = static_cast<uint32_t>(std::stoul(row[1]));
        EXPECT_EQ(b_bitFirstSet64(value), length) << row[0];
        if (value <= UINT32_MAX) {
            EXPECT_EQ(b_bitFirstSet(static_cast<uint32_t>(value)), length);
        }
    }
}

// Random values of every width against their bytes reversed by hand.
template <typename T>
void expectSwapped(void (*swap)(T *), std::mt19937_64 &rng) {
    for (int i = 0; i < 1000; i++) {
        const uint64_t r = rng();
        T v, want;
        std::memcpy(&v, &r, sizeof v);  // NaN patterns included: bytes, not values
        std::reverse_copy(reinterpret_cast<const uint8_t *>(&v),
                          reinterpret_cast<const uint8_t *>(&v) + sizeof v,
                          reinterpret_cast<uint8_t *>(&want));
        swap(&v);
        ASSERT_EQ(std::memcmp(&v, &want, sizeof v), 0) << sizeof v;
    }
}

TEST(ByteSwap, EveryWidthReversesItsBytes) {
    std::mt19937_64 rng(17);
    expectSwapped(b_swaporderUInt16, rng);
    expectSwapped(b_swaporderInt16, rng);
    expectSwapped(b_swaporderUInt32, rng);
    expectSwapped(b_swaporderInt32, rng);
    expectSwapped(b_swaporderUInt64, rng);
    expectSwapped(b_swaporderInt64, rng);
    expectSwapped(b_swaporderFloat, rng);
    expectSwapped(b_swaporderDouble, rng);
    // Hand-worked: 0x0102030405060708 reversed.
    uint64_t v = 0x0102030405060708;
    b_swaporderUInt64(&v);
    EXPECT_EQ(v, 0x0807060504030201u);
}

}  // namespace
