/*
 * align.cpp - offset alignment by value kind. Every boundary is a power of
 * two, so rounding up is an add and a mask.
 */
#include "align.h"

#include <algorithm>
#include <bit>

extern "C" constexpr uint32_t alignData[B_ALN_COUNT] = {1, 2, 4, 4, 4, 8, 8};
static_assert(std::ranges::all_of(alignData, [](uint32_t a) { return std::has_single_bit(a); }));

uint32_t b_align(uint32_t offset, B_ALIGN_TYPE type) {
    const uint32_t mask = alignData[type] - 1;
    return (offset + mask) & ~mask;
}

size_t b_alignBufferSize(size_t size) {
    return (size + 7) & ~static_cast<size_t>(7);
}
