// Tests of the bit length against Python's int.bit_length (oracle file) and
// of the byte swaps against the compiler's byte-reversal builtins.
#include <gtest/gtest.h>

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
    EXPECT_EQ(b_bitFirstSet(0), 0u);
    EXPECT_EQ(b_bitFirstSet(1), 1u);
    EXPECT_EQ(b_bitFirstSet(0x80000000u), 32u);
}

uint16_t Bswap16(uint16_t x) {
    return __builtin_bswap16(x);
}
uint32_t Bswap32(uint32_t x) {
    return __builtin_bswap32(x);
}
uint64_t Bswap64(uint64_t x) {
    return __builtin_bswap64(x);
}

template <typename T, typename U>
T Swapped(T v, U (*builtin)(U)) {
    U bits;
    std::memcpy(&bits, &v, sizeof bits);
    bits = builtin(bits);
    std::memcpy(&v, &bits, sizeof bits);
    return v;
}

template <typename T>
bool SameBytes(T a, T b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(ByteSwap, MatchesBuiltinsForEveryWidth) {
    std::mt19937_64 rng(17);
    for (int i = 0; i < 1000; i++) {
        const uint64_t r = rng();
        uint16_t u16 = static_cast<uint16_t>(r);
        int16_t i16 = static_cast<int16_t>(r);
        uint32_t u32 = static_cast<uint32_t>(r);
        int32_t i32 = static_cast<int32_t>(r >> 7);
        uint64_t u64 = r;
        int64_t i64 = static_cast<int64_t>(r * 3);
        float f;
        double d;
        std::memcpy(&f, &u32, sizeof f);
        std::memcpy(&d, &u64, sizeof d);
        const auto w16 = Swapped<uint16_t, uint16_t>(u16, Bswap16);
        const auto v16 = Swapped<int16_t, uint16_t>(i16, Bswap16);
        const auto w32 = Swapped<uint32_t, uint32_t>(u32, Bswap32);
        const auto v32 = Swapped<int32_t, uint32_t>(i32, Bswap32);
        const auto w64 = Swapped<uint64_t, uint64_t>(u64, Bswap64);
        const auto v64 = Swapped<int64_t, uint64_t>(i64, Bswap64);
        const auto wf = Swapped<float, uint32_t>(f, Bswap32);
        const auto wd = Swapped<double, uint64_t>(d, Bswap64);
        b_swaporderUInt16(&u16);
        b_swaporderInt16(&i16);
        b_swaporderUInt32(&u32);
        b_swaporderInt32(&i32);
        b_swaporderUInt64(&u64);
        b_swaporderInt64(&i64);
        b_swaporderFloat(&f);
        b_swaporderDouble(&d);
        ASSERT_EQ(u16, w16);
        ASSERT_EQ(i16, v16);
        ASSERT_EQ(u32, w32);
        ASSERT_EQ(i32, v32);
        ASSERT_EQ(u64, w64);
        ASSERT_EQ(i64, v64);
        ASSERT_TRUE(SameBytes(f, wf));  // NaN patterns included: bytes, not values
        ASSERT_TRUE(SameBytes(d, wd));
    }
    // Hand-worked: 0x0102030405060708 reversed.
    uint64_t v = 0x0102030405060708;
    b_swaporderUInt64(&v);
    EXPECT_EQ(v, 0x0807060504030201u);
}

}  // namespace
