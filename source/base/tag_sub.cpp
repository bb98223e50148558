/*
 * tag_sub.cpp - the sub tag: one owner's allocator on a master tag, by three
 * routes. Up to 2032 bytes, a block of one of 16 size classes, cut from pages
 * whose header holds a bitmap of taken slots; up to 626688 bytes, a run of
 * pages from the master; above, a huge buffer from the platform behind an
 * 8-byte header.
 *
 * The one idea: a free needs no size, because the pointer tells its route. A
 * page-aligned pointer is a page run; otherwise the word at the start of its
 * page says either "huge" (4096) or the size class, and the slot follows from
 * the offset in the page. The small route takes no lock and touches one list
 * head, one bitmap word and two counters.
 */
#include "tag_sub.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstring>

#include "psp.h"
#include "tag_internal.h"
#include "tag_master_psp.h"

namespace {

constexpr uintptr_t kPageMask = B_PAGE_SIZE - 1;
constexpr size_t kHugeHeader = sizeof(BLOCK_HEADER_HUGE_T);
/* `next` of a page that was found full and taken off its class list. */
SUB_BLOCK_T *const kOffList = reinterpret_cast<SUB_BLOCK_T *>(~uintptr_t{0});

constexpr SUB_BLOCK_LAYOUT sub_block_layout[B_TAG_SUB_CLASSES] = {
    {16, 48, 253, 0, 4, 0xE000000000000000},   {24, 40, 169, 0, 3, 0xFFFFFE0000000000},
    {32, 32, 127, 0, 2, 0x8000000000000000},   {48, 32, 84, 32, 2, 0xFFFFFFFFFFF00000},
    {64, 24, 63, 40, 1, 0x8000000000000000},   {96, 24, 42, 40, 1, 0xFFFFFC0000000000},
    {128, 24, 31, 104, 1, 0xFFFFFFFF80000000}, {176, 24, 23, 24, 1, 0xFFFFFFFFFF800000},
    {240, 24, 16, 232, 1, 0xFFFFFFFFFFFF0000}, {368, 24, 11, 24, 1, 0xFFFFFFFFFFFFF800},
    {496, 24, 8, 104, 1, 0xFFFFFFFFFFFFFF00},  {672, 24, 6, 40, 1, 0xFFFFFFFFFFFFFFC0},
    {800, 24, 5, 72, 1, 0xFFFFFFFFFFFFFFE0},   {1008, 24, 4, 40, 1, 0xFFFFFFFFFFFFFFF0},
    {1344, 24, 3, 40, 1, 0xFFFFFFFFFFFFFFF8},  {2032, 24, 2, 8, 1, 0xFFFFFFFFFFFFFFFC},
};

/* Every row fills its page exactly, its header has room for its bitmap, and
 * its mask marks exactly the bits past `elements`. */
constexpr bool tag_subLayoutConsistent() {
    for (const SUB_BLOCK_LAYOUT &l : sub_block_layout) {
        if (l.offset + l.elements * l.size + l.rest != B_PAGE_SIZE) return false;
        if (l.used_size_array != (l.elements + 63) / 64) return false;
        if (l.offset < 16 + 8 * l.used_size_array || l.offset % 8 != 0) return false;
        if (l.last_used_mask != ~uint64_t{0} << (l.elements % 64)) return false;
    }
    return true;
}
static_assert(tag_subLayoutConsistent());

/* Per class, ceil(2^32 / size): the slot of a block is its offset times this,
 * shifted down by 32, which spares the free path a division. */
constexpr std::array<uint64_t, B_TAG_SUB_CLASSES> kSlotReciprocal = [] {
    std::array<uint64_t, B_TAG_SUB_CLASSES> table{};
    for (size_t i = 0; i < table.size(); i++) {
        table[i] = ((uint64_t{1} << 32) + sub_block_layout[i].size - 1) / sub_block_layout[i].size;
    }
    return table;
}();

constexpr uint64_t tag_subSlotOf(uint64_t offset_in_data, uint32_t index) {
    return (offset_in_data * kSlotReciprocal[index]) >> 32;
}

constexpr bool tag_subReciprocalsExact() {
    for (uint32_t i = 0; i < B_TAG_SUB_CLASSES; i++) {
        for (uint64_t x = 0; x < B_PAGE_SIZE; x++) {
            if (tag_subSlotOf(x, i) != x / sub_block_layout[i].size) return false;
        }
    }
    return true;
}
static_assert(tag_subReciprocalsExact());

/* The tag's own page is a page of this class; its header fills slot 0. */
constexpr uint32_t kTagClass = 9;
static_assert(sizeof(TAG_SUB_HEADER_T) <=
              sub_block_layout[kTagClass].offset + sub_block_layout[kTagClass].size);
constexpr uint64_t kTagPageUsed = sub_block_layout[kTagClass].last_used_mask | 1;
static_assert(kTagPageUsed == 0xFFFFFFFFFFFFF801);

/* Entry i: the smallest class holding 8 * i bytes. */
constexpr std::array<int8_t, 255> size_index = [] {
    std::array<int8_t, 255> table{};
    for (size_t i = 0; i < table.size(); i++) {
        int8_t row = 0;
        while (sub_block_layout[row].size < 8 * i) row++;
        table[i] = row;
    }
    return table;
}();
static_assert(size_index[0] == 0 && size_index[2] == 0 && size_index[3] == 1);
static_assert(size_index[(B_TAG_SUB_SMALL_MAX + 7) / 8] == 15);

int tag_subClassOf(size_t size) {
    return size_index[(size + 7) / 8];
}

/* Lowest zero bit of `*word`, set and returned plus `base`; -1 when full. */
int find_free_in_bitmap_64(uint64_t *word, int base) {
    const uint64_t bits = *word;
    if (bits == ~uint64_t{0}) return -1;
    const int bit = std::countr_one(bits);
    *word = bits | (uint64_t{1} << bit);
    return base + bit;
}

template <int Words>
int find_free_in_bitmap_n(uint64_t *used) {
    for (int i = 0; i < Words; i++) {
        if (used[i] != ~uint64_t{0}) return find_free_in_bitmap_64(&used[i], 64 * i);
    }
    return -1;
}

int find_free_in_bitmap_1(uint64_t *used) {
    return find_free_in_bitmap_n<1>(used);
}
int find_free_in_bitmap_2(uint64_t *used) {
    return find_free_in_bitmap_n<2>(used);
}
int find_free_in_bitmap_3(uint64_t *used) {
    return find_free_in_bitmap_n<3>(used);
}
int find_free_in_bitmap_4(uint64_t *used) {
    return find_free_in_bitmap_n<4>(used);
}

/* By `used_size_array`: the four scans, chosen by a switch rather than a table
 * of pointers, so that each is inlined into the allocation path. */
inline int find_free_in_bitmap_func(uint32_t used_size_array, uint64_t *used) {
    switch (used_size_array) {
        case 1:
            return find_free_in_bitmap_1(used);
        case 2:
            return find_free_in_bitmap_2(used);
        case 3:
            return find_free_in_bitmap_3(used);
        default:
            return find_free_in_bitmap_4(used);
    }
}

TAG_SUB_HEADER_T *tag_subHeader(B_TAG_SUB tag_sub) {
    return &tag_sub->tag;
}

uint64_t *tag_subUsed(SUB_BLOCK_T *page) {
    return page->header16.used;
}

SUB_BLOCK_T *tag_subPageOf(const void *buf) {
    return reinterpret_cast<SUB_BLOCK_T *>(reinterpret_cast<uintptr_t>(buf) & ~kPageMask);
}

bool tag_subIsPageRun(const void *buf) {
    return (reinterpret_cast<uintptr_t>(buf) & kPageMask) == 0;
}

void tag_subCount(TAG_SUB_HEADER_T *header, int64_t delta) {
    header->cur_size_allocated += delta;
    if (header->cur_size_allocated > header->max_size_allocated) {
        header->max_size_allocated = header->cur_size_allocated;
    }
}

/* The fault point of one public request (test and debug builds). */
bool tag_subFault(B_TAG_SUB tag_sub) {
    return B_TAG_FAULT(tag_subHeader(tag_sub)->tag_master);
}

void tag_subStore(void *pBuf, void *value) {
    *static_cast<void **>(pBuf) = value;
}

/* After a block is taken from `page`, the head of its class list: starts
 * loading the header of the page after it, which the class turns to once
 * this one is full. With many blocks live the pages lie far apart, and a
 * header not asked for a whole page's worth of requests ahead would be
 * waited for on the spot. */
inline void tag_subPrefetchNext(const SUB_BLOCK_T *page) {
    __builtin_prefetch(page->header64.next);
}

/* A fresh page for class `index`, the only entry of its list. */
[[gnu::noinline]] ZEL_RETCODE tag_subNewPage(TAG_SUB_HEADER_T *header, int index,
                                             SUB_BLOCK_T **pPage) {
    const SUB_BLOCK_LAYOUT &layout = sub_block_layout[index];
    void *memory;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = tag_masterAllocPagesUncounted(header->tag_master, 1, ZEL_FALSE, &memory));
    auto *page = static_cast<SUB_BLOCK_T *>(memory);
    header->num_pages[index]++;
    header->free[index] = page;
    std::memset(page, 0, sizeof(BLOCK_HEADER_16_T));
    tag_subUsed(page)[layout.used_size_array - 1] = layout.last_used_mask;
    page->header64.layout_index = static_cast<uint32_t>(index);
    B_TAG_POISON(page->page.bytes + layout.offset, B_PAGE_SIZE - layout.offset);
    *pPage = page;
    return sOKAY;
}

/* The page and huge routes, out of line. */
[[gnu::noinline]] ZEL_RETCODE tag_subAllocLarge(TAG_SUB_HEADER_T *header, size_t size, bool clear,
                                                void *pBuf) {
    ZEL_RETCODE rc;
    void *result;
    if (size <= B_TAG_SUB_PAGES_MAX) {
        const auto pages = static_cast<uint16_t>((size + kPageMask) / B_PAGE_SIZE);
        ZEL_CHECK(rc = tag_masterAllocPagesUncounted(header->tag_master, pages,
                                                     clear ? ZEL_TRUE : ZEL_FALSE, &result));
        const int64_t bytes = int64_t{pages} * B_PAGE_SIZE;
        header->large_size_allocated += bytes;
        tag_subCount(header, bytes);
    } else {
        if (size > SIZE_MAX - (kHugeHeader + kPageMask)) return eNOMEMORY;
        const size_t bytes = (size + kHugeHeader + kPageMask) & ~kPageMask;
        void *memory;
        ZEL_CHECK(rc = psp_memAlignAlloc(bytes, &memory));
        auto *huge = static_cast<BLOCK_HEADER_HUGE_T *>(memory);
        huge->layout_index = B_TAG_SUB_HUGE_MARK;
        /* Deliberately 32 bits: from 4 GiB on, the size, its accounting and
         * its release use the low 32 bits only. */
        huge->size = static_cast<uint32_t>(bytes);
        const int64_t counted = int64_t{huge->size} - int64_t{kHugeHeader};
        header->huge_size_allocated += counted;
        header->huge_num_allocated++;
        tag_subCount(header, counted);
        /* `clear` is deliberately not acted on here: callers zero huge
         * buffers themselves. */
        result = static_cast<uint8_t *>(memory) + kHugeHeader;
    }
    tag_subStore(pBuf, result);
    return sOKAY;
}

/* The small route in line: the head page of the class and its bitmap. */
inline ZEL_RETCODE tag_subAlloc(B_TAG_SUB tag_sub, size_t size, bool clear, void *pBuf) {
    TAG_SUB_HEADER_T *header = tag_subHeader(tag_sub);
    if (size > B_TAG_SUB_SMALL_MAX) return tag_subAllocLarge(header, size, clear, pBuf);
    const int index = tag_subClassOf(size);
    const SUB_BLOCK_LAYOUT &layout = sub_block_layout[index];
    SUB_BLOCK_T *page = header->free[index];
    int slot = -1;
    while (page != nullptr) {
        slot = find_free_in_bitmap_func(layout.used_size_array, tag_subUsed(page));
        if (slot >= 0) break;
        header->free[index] = page->header64.next;
        page->header64.next = kOffList;
        page = header->free[index];
    }
    if (page == nullptr) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = tag_subNewPage(header, index, &page));
        slot = find_free_in_bitmap_func(layout.used_size_array, tag_subUsed(page));
    }
    tag_subPrefetchNext(page);
    void *result = page->page.bytes + layout.offset + static_cast<size_t>(slot) * layout.size;
    B_TAG_UNPOISON(result, layout.size);
    tag_subCount(header, layout.size);
    if (clear) std::memset(result, 0, layout.size);
    tag_subStore(pBuf, result);
    return sOKAY;
}

/* A small block back to its page; `poison` false only for the tag's own slot,
 * which still holds the list heads that destroy is about to read. */
void tag_subFreeSmall(TAG_SUB_HEADER_T *header, void *buf, bool poison) {
    SUB_BLOCK_T *page = tag_subPageOf(buf);
    const uint32_t index = page->header64.layout_index;
    const SUB_BLOCK_LAYOUT &layout = sub_block_layout[index];
    const size_t slot = tag_subSlotOf(
        static_cast<size_t>(static_cast<uint8_t *>(buf) - page->page.bytes) - layout.offset, index);
    if (poison) {
#ifndef NDEBUG
        std::memset(page->page.bytes + layout.offset + slot * layout.size, 0xaa, layout.size);
#endif
        B_TAG_POISON(page->page.bytes + layout.offset + slot * layout.size, layout.size);
    }
    tag_subUsed(page)[slot / 64] &= ~(uint64_t{1} << (slot % 64));
    header->cur_size_allocated -= layout.size;
    if (page->header64.next == kOffList) {
        page->header64.next = header->free[index];
        header->free[index] = page;
    }
}

void tag_subFree(B_TAG_SUB tag_sub, void *buf) {
    TAG_SUB_HEADER_T *header = tag_subHeader(tag_sub);
    if (tag_subIsPageRun(buf)) {
        int16_t increment;
        b_tag_masterFreePages(header->tag_master, buf, &increment);
        const int64_t bytes = int64_t{increment} * B_PAGE_SIZE;
        header->large_size_allocated += bytes;
        header->cur_size_allocated += bytes;
        return;
    }
    SUB_BLOCK_T *page = tag_subPageOf(buf);
    if (page->header64.layout_index == B_TAG_SUB_HUGE_MARK) {
        const uint32_t bytes = page->huge.size;
        psp_memAlignFree(page, bytes);
        const int64_t counted = int64_t{bytes} - int64_t{kHugeHeader};
        header->huge_size_allocated -= counted;
        header->cur_size_allocated -= counted;
        header->huge_num_allocated--;
        return;
    }
    tag_subFreeSmall(header, buf, true);
}

/* Allocates, copies `copy` bytes, frees; on a failed allocation the old
 * buffer stands. */
ZEL_RETCODE tag_subReallocByAllocAndFree(B_TAG_SUB tag_sub, void *old_buf, size_t new_size,
                                         size_t copy, void *pBuf) {
    void *buf;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = tag_subAlloc(tag_sub, new_size, false, &buf));
    std::memcpy(buf, old_buf, copy);
    tag_subFree(tag_sub, old_buf);
    tag_subStore(pBuf, buf);
    return sOKAY;
}

ZEL_RETCODE tag_subRealloc(B_TAG_SUB tag_sub, void *old_buf, size_t new_size, void *pBuf) {
    TAG_SUB_HEADER_T *header = tag_subHeader(tag_sub);
    if (tag_subIsPageRun(old_buf)) {
        if (new_size > B_TAG_SUB_PAGES_MAX) return eREALLOCMEMORY;
        if (new_size <= B_TAG_SUB_SMALL_MAX) {
            return tag_subReallocByAllocAndFree(tag_sub, old_buf, new_size, new_size, pBuf);
        }
        const auto pages = static_cast<uint16_t>((new_size + kPageMask) / B_PAGE_SIZE);
        int16_t increment;
        void *buf;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc =
                      tag_masterReallocPages(header->tag_master, old_buf, pages, &increment, &buf));
        const int64_t bytes = int64_t{increment} * B_PAGE_SIZE;
        header->large_size_allocated += bytes;
        tag_subCount(header, bytes);
        tag_subStore(pBuf, buf);
        return sOKAY;
    }
    const uint32_t index = tag_subPageOf(old_buf)->header64.layout_index;
    if (index == B_TAG_SUB_HUGE_MARK) return eREALLOCMEMORY;
    const size_t old_size = sub_block_layout[index].size;
    size_t copy;
    if (new_size <= B_TAG_SUB_SMALL_MAX) {
        if (static_cast<uint32_t>(tag_subClassOf(new_size)) == index) {
            tag_subStore(pBuf, old_buf);
            return sOKAY;
        }
        copy = std::min(new_size, old_size);
    } else if (new_size <= B_TAG_SUB_PAGES_MAX) {
        copy = old_size;
    } else {
        /* Deliberately `new_size`: this copy reads past the old block, as the
         * allocator always has; kept so that nothing built on it changes. */
        copy = new_size;
    }
    return tag_subReallocByAllocAndFree(tag_sub, old_buf, new_size, copy, pBuf);
}

/* As tag_subRealloc, except that a small block asked to become huge gives
 * only its own bytes to the copy. For callers that overwrite or clear what
 * lies past the bytes they had, the result is the same without reading past
 * the old block; the kept rule of tag_subRealloc stands for its own callers. */
ZEL_RETCODE tag_subReallocInBounds(B_TAG_SUB tag_sub, void *old_buf, size_t new_size, void *pBuf) {
    if (new_size > B_TAG_SUB_PAGES_MAX && !tag_subIsPageRun(old_buf)) {
        const uint32_t index = tag_subPageOf(old_buf)->header64.layout_index;
        if (index != B_TAG_SUB_HUGE_MARK) {
            return tag_subReallocByAllocAndFree(tag_sub, old_buf, new_size,
                                                sub_block_layout[index].size, pBuf);
        }
    }
    return tag_subRealloc(tag_sub, old_buf, new_size, pBuf);
}

}  // namespace

extern "C" {

ZEL_RETCODE b_tag_subCreate(B_TAG_MASTER tag_master, B_TAG_SUB *pTag_sub) {
    void *memory;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_masterAllocPages(tag_master, 1, ZEL_FALSE, &memory));  // counted
    auto *page = static_cast<SUB_BLOCK_T *>(memory);
    TAG_SUB_HEADER_T *header = &page->tag;
    std::memset(header, 0, sizeof(*header));
    header->num_pages[kTagClass] = 1;
    header->tag_master = tag_master;
    header->free[kTagClass] = page;
    header->header64.layout_index = kTagClass;
    header->header64.used[0] = kTagPageUsed;
    const SUB_BLOCK_LAYOUT &layout = sub_block_layout[kTagClass];
    B_TAG_POISON(page->page.bytes + layout.offset + layout.size,
                 B_PAGE_SIZE - layout.offset - layout.size);
    tag_subCount(header, layout.size);
    *pTag_sub = page;
    return sOKAY;
}

void b_tag_subDestroy(B_TAG_SUB tag_sub) {
    TAG_SUB_HEADER_T *header = tag_subHeader(tag_sub);
    const SUB_BLOCK_LAYOUT &layout = sub_block_layout[kTagClass];
    /* Puts the tag's page back on its list if it had been found full. */
    tag_subFreeSmall(header, tag_sub->page.bytes + layout.offset, false);
    /* The list heads die with the first page. */
    SUB_BLOCK_T *lists[B_TAG_SUB_CLASSES];
    std::memcpy(lists, header->free, sizeof(lists));
    const B_TAG_MASTER tag_master = header->tag_master;
    for (SUB_BLOCK_T *page : lists) {
        while (page != nullptr) {
            SUB_BLOCK_T *next = page->header64.next;
            int16_t increment;
            b_tag_masterFreePages(tag_master, page, &increment);
            page = next;
        }
    }
}

ZEL_RETCODE b_tag_subAlloc(B_TAG_SUB tag_sub, size_t size, void *pBuf) {
    if (tag_subFault(tag_sub)) return eNOMEMORY;
    return tag_subAlloc(tag_sub, size, false, pBuf);
}

ZEL_RETCODE b_tag_subAllocClear(B_TAG_SUB tag_sub, size_t size, void *pBuf) {
    if (tag_subFault(tag_sub)) return eNOMEMORY;
    return tag_subAlloc(tag_sub, size, true, pBuf);
}

ZEL_RETCODE b_tag_subAllocZero(B_TAG_SUB tag_sub, size_t size, void *pBuf) {
    void *buf;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAllocClear(tag_sub, size, &buf));
    if (size > B_TAG_SUB_PAGES_MAX) std::memset(buf, 0, size);  // huge buffers come uncleared
    tag_subStore(pBuf, buf);
    return sOKAY;
}

ZEL_RETCODE b_tag_subAllocCopy(B_TAG_SUB tag_sub, const void *src, size_t size, void *pBuf) {
    if (tag_subFault(tag_sub)) return eNOMEMORY;
    void *buf;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = tag_subAlloc(tag_sub, size, false, &buf));
    if (size != 0) std::memcpy(buf, src, size);
    tag_subStore(pBuf, buf);
    return sOKAY;
}

ZEL_RETCODE b_tag_subCopyString(B_TAG_SUB tag_sub, const char *src, void *pBuf) {
    return b_tag_subAllocCopy(tag_sub, src, std::strlen(src) + 1, pBuf);
}

ZEL_RETCODE b_tag_subAllocOrSetNull(B_TAG_SUB tag_sub, size_t size, void *pBuf) {
    if (size == 0) {
        tag_subStore(pBuf, nullptr);
        return sOKAY;
    }
    return b_tag_subAlloc(tag_sub, size, pBuf);
}

ZEL_RETCODE b_tag_subRealloc(B_TAG_SUB tag_sub, void *old_buf, size_t new_size, void *pBuf) {
    if (old_buf == nullptr) return eINVNULLARG;
    if (tag_subFault(tag_sub)) return eNOMEMORY;
    return tag_subRealloc(tag_sub, old_buf, new_size, pBuf);
}

ZEL_RETCODE b_tag_subAllocOrRealloc(B_TAG_SUB tag_sub, void *old_buf, size_t size, void *pBuf) {
    if (old_buf == nullptr) return b_tag_subAlloc(tag_sub, size, pBuf);
    return b_tag_subRealloc(tag_sub, old_buf, size, pBuf);
}

ZEL_RETCODE b_tag_subAllocOrReallocInBounds(B_TAG_SUB tag_sub, void *old_buf, size_t size,
                                            void *pBuf) {
    if (old_buf == nullptr) return b_tag_subAlloc(tag_sub, size, pBuf);
    if (tag_subFault(tag_sub)) return eNOMEMORY;
    return tag_subReallocInBounds(tag_sub, old_buf, size, pBuf);
}

ZEL_RETCODE b_tag_subReallocAny(B_TAG_SUB tag_sub, void *old_buf, size_t old_len, size_t new_size,
                                void *pBuf) {
    if (old_buf == nullptr) return b_tag_subAlloc(tag_sub, new_size, pBuf);
    ZEL_RETCODE rc;
    // A huge size is never asked of b_tag_subRealloc: from a small block it
    // would copy new_size bytes, past the old block's end (its kept rule).
    if (new_size <= B_TAG_SUB_PAGES_MAX) {
        rc = b_tag_subRealloc(tag_sub, old_buf, new_size, pBuf);
        if (rc != eREALLOCMEMORY) return rc;
    } else if (tag_subFault(tag_sub)) {
        return eNOMEMORY;
    }
    // A huge buffer holds whole pages: a size that still fits stays in place.
    const SUB_BLOCK_T *page = tag_subPageOf(old_buf);
    if (!tag_subIsPageRun(old_buf) && page->header64.layout_index == B_TAG_SUB_HUGE_MARK) {
        if (new_size <= page->huge.size - kHugeHeader) {
            tag_subStore(pBuf, old_buf);
            return sOKAY;
        }
    }
    // A move takes an eighth more than asked, so that a buffer growing in
    // small steps moves a logarithmic number of times, not once per step.
    const size_t room = new_size <= SIZE_MAX / 9 * 8 ? new_size + new_size / 8 : new_size;
    void *buf;
    ZEL_CHECK(rc = b_tag_subAlloc(tag_sub, room, &buf));
    std::memcpy(buf, old_buf, std::min(old_len, new_size));
    tag_subFree(tag_sub, old_buf);
    tag_subStore(pBuf, buf);
    return sOKAY;
}

ZEL_RETCODE b_tag_subAllocOrReallocClear(B_TAG_SUB tag_sub, void *old_buf, size_t old_size,
                                         size_t new_size, void *pBuf) {
    void *buf;
    ZEL_RETCODE rc;
    // Everything past old_size is cleared below, so the copy need not read
    // past the old block.
    ZEL_CHECK(rc = b_tag_subAllocOrReallocInBounds(tag_sub, old_buf, new_size, &buf));
    if (new_size > old_size) {
        std::memset(static_cast<uint8_t *>(buf) + old_size, 0, new_size - old_size);
    }
    tag_subStore(pBuf, buf);
    return sOKAY;
}

ZEL_RETCODE b_tag_subReallocClear(B_TAG_SUB tag_sub, void *old_buf, size_t old_size,
                                  size_t new_size, void *pBuf) {
    if (old_buf == nullptr) return eINVNULLARG;
    return b_tag_subAllocOrReallocClear(tag_sub, old_buf, old_size, new_size, pBuf);
}

ZEL_RETCODE b_tag_subReallocCopyString(B_TAG_SUB tag_sub, void *old_str, const char *src,
                                       void *pBuf) {
    if (tag_subFault(tag_sub)) return eNOMEMORY;
    const size_t size = std::strlen(src) + 1;
    void *buf;
    ZEL_RETCODE rc;
    if (old_str == nullptr) {
        ZEL_CHECK(rc = tag_subAlloc(tag_sub, size, true, &buf));
    } else {
        ZEL_CHECK(rc = tag_subRealloc(tag_sub, old_str, size, &buf));
    }
    std::memcpy(buf, src, size);
    tag_subStore(pBuf, buf);
    return sOKAY;
}

void b_tag_subFree(B_TAG_SUB tag_sub, void *buf) {
    assert(buf != nullptr);
    tag_subFree(tag_sub, buf);
}

void b_tag_subFreeCanBeNull(B_TAG_SUB tag_sub, void *buf) {
    if (buf != nullptr) tag_subFree(tag_sub, buf);
}

size_t b_tag_subElements(B_TAG_SUB, size_t size_of_one_element, size_t number_of_elements) {
    if (size_of_one_element == 0) return number_of_elements;
    const size_t total = size_of_one_element * number_of_elements;
    const size_t held = total <= B_TAG_SUB_SMALL_MAX ? sub_block_layout[tag_subClassOf(total)].size
                                                     : (total + kPageMask) & ~kPageMask;
    return held / size_of_one_element;
}

void b_tag_subMemUsage(B_TAG_SUB tag_sub, int64_t *pCurrent, int64_t *pMaximum,
                       B_TAG_SUB_REPORT_T *report) {
    TAG_SUB_HEADER_T *header = tag_subHeader(tag_sub);
    if (pCurrent != nullptr) *pCurrent = header->cur_size_allocated;
    if (pMaximum != nullptr) *pMaximum = header->max_size_allocated;
    if (report == nullptr) return;
    for (int i = 0; i < B_TAG_SUB_CLASSES; i++) {
        const SUB_BLOCK_LAYOUT &layout = sub_block_layout[i];
        uint64_t available = 0;
        for (SUB_BLOCK_T *page = header->free[i]; page != nullptr; page = page->header64.next) {
            const uint64_t *used = tag_subUsed(page);
            for (uint32_t w = 0; w < layout.used_size_array; w++) {
                /* The masked bits past `elements` count as taken. */
                available += static_cast<uint64_t>(std::popcount(~used[w]));
            }
        }
        const uint64_t pages = header->num_pages[i];
        report[i].size = layout.size;
        report[i].size_headers = uint64_t{layout.offset} * pages;
        report[i].size_rest = uint64_t{layout.rest} * pages;
        report[i].size_in_use = (uint64_t{layout.elements} * pages - available) * layout.size;
        report[i].size_available = available * layout.size;
    }
    B_TAG_SUB_REPORT_T &runs = report[B_TAG_SUB_CLASSES];
    runs = B_TAG_SUB_REPORT_T{B_PAGE_SIZE, 0, 0,
                              static_cast<uint64_t>(header->large_size_allocated), 0};
    B_TAG_SUB_REPORT_T &huge = report[B_TAG_SUB_CLASSES + 1];
    huge = B_TAG_SUB_REPORT_T{B_PAGE_SIZE, static_cast<uint64_t>(header->huge_num_allocated) * 8, 0,
                              static_cast<uint64_t>(header->huge_size_allocated), 0};
}

}  // extern "C"
