/*
 * bits.cpp - bit length and byte reversal. The bit length is what a 4-bit
 * lookup after a binary choice of the group would give; <bit> reaches it in
 * one instruction. Swaps go through the unsigned type of the same width, so
 * floats are reversed as their IEEE bytes without a numeric conversion.
 */
#include "bits.h"

#include <bit>
#include <cstring>

namespace {

template <typename T, typename U>
void b_swaporderAs(T *value) {
    static_assert(sizeof(T) == sizeof(U));
    U bits;
    std::memcpy(&bits, value, sizeof bits);
    if constexpr (sizeof(U) == 2) {
        bits = __builtin_bswap16(bits);
    } else if constexpr (sizeof(U) == 4) {
        bits = __builtin_bswap32(bits);
    } else {
        bits = __builtin_bswap64(bits);
    }
    std::memcpy(value, &bits, sizeof bits);
}

}  // namespace

uint32_t b_bitFirstSet(uint32_t value) {
    return static_cast<uint32_t>(std::bit_width(value));
}

uint32_t b_bitFirstSet64(uint64_t value) {
    return static_cast<uint32_t>(std::bit_width(value));
}

void b_swaporderUInt16(uint16_t *value) {
    b_swaporderAs<uint16_t, uint16_t>(value);
}
void b_swaporderInt16(int16_t *value) {
    b_swaporderAs<int16_t, uint16_t>(value);
}
void b_swaporderUInt32(uint32_t *value) {
    b_swaporderAs<uint32_t, uint32_t>(value);
}
void b_swaporderInt32(int32_t *value) {
    b_swaporderAs<int32_t, uint32_t>(value);
}
void b_swaporderUInt64(uint64_t *value) {
    b_swaporderAs<uint64_t, uint64_t>(value);
}
void b_swaporderInt64(int64_t *value) {
    b_swaporderAs<int64_t, uint64_t>(value);
}
void b_swaporderFloat(float *value) {
    b_swaporderAs<float, uint32_t>(value);
}
void b_swaporderDouble(double *value) {
    b_swaporderAs<double, uint64_t>(value);
}
