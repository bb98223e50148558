/*
 * bitmap.cpp - the chunked bitmap. Every operation is one word and one mask;
 * bits at or past the size are refused quietly, which lets a sieve or a map
 * of free slots run off its end without a check of its own.
 */
#include "bitmap.h"

#include <bit>
#include <cstring>

#include "tag_sub.h"

namespace {

constexpr unsigned kBmChunkBits = 32;

}  // namespace

ZEL_RETCODE b_bmInit(B_BITMAP_T *bm, uint64_t initialSize, B_TAG_SUB subTag) {
    ZEL_RETCODE rc;
    const uint64_t numChunks = initialSize / kBmChunkBits + (initialSize % kBmChunkBits != 0);
    CHUNK *data = nullptr;
    if (numChunks != 0) {
        if (numChunks > SIZE_MAX / sizeof(CHUNK)) return eNOMEMORY;
        const size_t bytes = static_cast<size_t>(numChunks) * sizeof(CHUNK);
        // Plain alloc and clear: the tag leaves huge buffers uncleared.
        ZEL_CHECK(rc = b_tag_subAlloc(subTag, bytes, &data));
        std::memset(data, 0, bytes);
    }
    bm->data = data;
    bm->size = initialSize;
    bm->numChunks = numChunks;
    bm->subTag = subTag;
    return sOKAY;
}

void b_bmTerm(B_BITMAP_T *bm) {
    b_tag_subFreeCanBeNull(bm->subTag, bm->data);
    bm->data = nullptr;
    bm->size = 0;
    bm->numChunks = 0;
}

ZEL_BOOL_T setOrClearBit(B_BITMAP_T *bm, ZEL_BIT_OP op, uint64_t bit) {
    if (bit >= bm->size) return ZEL_FALSE;
    CHUNK &word = bm->data[bit >> 5];
    const CHUNK mask = CHUNK{1} << (bit & 31);
    const ZEL_BOOL_T before = (word & mask) != 0 ? ZEL_TRUE : ZEL_FALSE;
    switch (op) {
        case ZEL_SET_BIT:
            word |= mask;
            break;
        case ZEL_CLR_BIT:
            word &= ~mask;
            break;
        case ZEL_NEG_BIT:
            word ^= mask;
            break;
    }
    return before;
}

ZEL_BOOL_T b_bmSetBit(B_BITMAP_T *bm, uint64_t bit) {
    return setOrClearBit(bm, ZEL_SET_BIT, bit);
}

ZEL_BOOL_T b_bmClearBit(B_BITMAP_T *bm, uint64_t bit) {
    return setOrClearBit(bm, ZEL_CLR_BIT, bit);
}

ZEL_BOOL_T b_bmNegateBit(B_BITMAP_T *bm, uint64_t bit) {
    return setOrClearBit(bm, ZEL_NEG_BIT, bit);
}

ZEL_BOOL_T b_bmTestBit(const B_BITMAP_T *bm, uint64_t bit) {
    if (bit >= bm->size) return ZEL_FALSE;
    return (bm->data[bit >> 5] >> (bit & 31)) & 1 ? ZEL_TRUE : ZEL_FALSE;
}

uint64_t b_bmCount(const B_BITMAP_T *bm) {
    uint64_t n = 0;
    for (uint64_t i = 0; i < bm->numChunks; i++)
        n += static_cast<uint64_t>(std::popcount(bm->data[i]));
    return n;
}
