/*
 * tag_stack.cpp - the stack tag, a bump allocator with marks by address.
 *
 * Memory is a doubly linked chain of page runs from the master. The top is a
 * pointer into the current block; allocating adds to it, freeing stores an
 * earlier address into it. Each block remembers how many bytes were allocated
 * below it when it was entered, so usage is one subtraction away at any time.
 * Rolling back never returns pages: the blocks above stay chained and the
 * next overflow walks into them again without asking the master.
 *
 * Block layout (every block; the first block is the tag itself):
 *   OFFSET SIZE MEANING
 *   0      8    next      following block or null
 *   8      8    prev      preceding block or null
 *   16     8    prev_allocated  bytes allocated below (-48 in the first block)
 *   24     8    max       end of the block
 *   32     ...  payload   of a further block
 * First block only:
 *   32     8    tag_master
 *   40     2    increment_pages (6 bytes padding follow)
 *   48     8    current
 *   56     8    max_allocated
 *   64     8    current_top
 *   72     8    current_max
 *   80     ...  payload
 */
#include "tag_stack.h"

#include <cstddef>
#include <cstring>

#include "tag_internal.h"
#include "tag_master_psp.h"

static_assert(sizeof(STACK_BLOCK_HEADER_T) == 32);
static_assert(offsetof(STACK_BLOCK_HEADER_T, next) == 0);
static_assert(offsetof(STACK_BLOCK_HEADER_T, prev) == 8);
static_assert(offsetof(STACK_BLOCK_HEADER_T, prev_allocated) == 16);
static_assert(offsetof(STACK_BLOCK_HEADER_T, max) == 24);
static_assert(offsetof(STACK_BLOCK_T, payload) == 32);
static_assert(offsetof(B_TAG_STACK_T, tag_master) == 32);
static_assert(offsetof(B_TAG_STACK_T, increment_pages) == 40);
static_assert(offsetof(B_TAG_STACK_T, current) == 48);
static_assert(offsetof(B_TAG_STACK_T, max_allocated) == 56);
static_assert(offsetof(B_TAG_STACK_T, current_top) == 64);
static_assert(offsetof(B_TAG_STACK_T, current_max) == 72);
// The first block's header is 48 bytes longer: hence prev_allocated -48 there.
static_assert(offsetof(B_TAG_STACK_T, payload) == offsetof(STACK_BLOCK_T, payload) + 48);

namespace {

constexpr size_t b_tag_stack_block_header = sizeof(STACK_BLOCK_HEADER_T);
// A run never spans large blocks; 153 pages is what any large block holds.
constexpr size_t b_tag_stack_max_pages = 153;

uint8_t *b_tag_stack_base(STACK_BLOCK_T *block) {
    return reinterpret_cast<uint8_t *>(block) + b_tag_stack_block_header;
}

// Bytes allocated up to `top` in `block`.
int64_t b_tag_stack_used(STACK_BLOCK_T *block, const uint8_t *top) {
    return block->header.prev_allocated + (top - b_tag_stack_base(block));
}

void b_tag_stack_store(void *pBuf, void *value) {
    std::memcpy(pBuf, &value, sizeof value);
}

size_t b_tag_stack_pages(size_t size) {
    size_t pages = size / B_PAGE_SIZE + (size % B_PAGE_SIZE != 0);
    return pages < b_tag_stack_max_pages ? pages : b_tag_stack_max_pages;
}

STACK_BLOCK_T *b_tag_stack_first(B_TAG_STACK tag) {
    return reinterpret_cast<STACK_BLOCK_T *>(tag);
}

// The block holding `p` at or below the current one, or null.
STACK_BLOCK_T *b_tag_stack_find(B_TAG_STACK tag, const uint8_t *p) {
    for (STACK_BLOCK_T *b = tag->current; b != nullptr; b = b->header.prev) {
        if (p >= reinterpret_cast<uint8_t *>(b) && p <= b->header.max) return b;
    }
    return nullptr;
}

// Rolls the top back to `p`; false when no block at or below current holds it.
bool b_tag_stack_rollback(B_TAG_STACK tag, uint8_t *p) {
    if (p >= reinterpret_cast<uint8_t *>(tag->current) && p <= tag->current_max) {
        tag->current_top = p;
        return true;
    }
    STACK_BLOCK_T *block = b_tag_stack_find(tag, p);
    if (block == nullptr) return false;
    tag->current = block;
    tag->current_max = block->header.max;
    tag->current_top = p;
    return true;
}

// The slow path: the request does not fit behind the top of the current block.
ZEL_RETCODE b_tag_stack_next_block(B_TAG_STACK tag, size_t size, size_t len, uint8_t **pPlace) {
    STACK_BLOCK_T *cur = tag->current;
    STACK_BLOCK_T *next = cur->header.next;
    if (next == nullptr) {
        size_t pages = tag->increment_pages;
        if (pages == 0 || size > pages * B_PAGE_SIZE - b_tag_stack_block_header) {
            // (size + 4127) / 4096 without overflow: the header's 32 bytes included.
            if (size > SIZE_MAX - (B_PAGE_SIZE + b_tag_stack_block_header)) return eNOMEMORY;
            pages = (size + B_PAGE_SIZE + b_tag_stack_block_header - 1) / B_PAGE_SIZE;
            if (pages > UINT16_MAX) return eNOMEMORY;
        }
        void *run = nullptr;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = tag_masterAllocPagesUncounted(tag->tag_master, static_cast<uint16_t>(pages),
                                                     ZEL_FALSE, &run));
        next = static_cast<STACK_BLOCK_T *>(run);
        next->header.next = nullptr;
        next->header.prev = cur;
        next->header.max = static_cast<uint8_t *>(run) + pages * B_PAGE_SIZE;
        cur->header.next = next;
    }
    next->header.prev_allocated = b_tag_stack_used(cur, tag->current_top);
    // Deliberate: a retained block that is too small is neither skipped nor
    // replaced, so a large request after a rollback over small blocks fails.
    if (len > static_cast<size_t>(next->header.max - b_tag_stack_base(next))) return eNOMEMORY;
    tag->current = next;
    tag->current_max = next->header.max;
    *pPlace = b_tag_stack_base(next);
    return sOKAY;
}

void b_tag_stack_bump(B_TAG_STACK tag, uint8_t *place, size_t len) {
    tag->current_top = place + len;
    int64_t used = b_tag_stack_used(tag->current, tag->current_top);
    if (used > tag->max_allocated) tag->max_allocated = used;
}

// Out of line so that the common path needs no saved registers.
[[gnu::noinline]] ZEL_RETCODE b_tag_stack_alloc_slow(B_TAG_STACK tag, size_t size, void *pBuf) {
    if (size > SIZE_MAX - 7) return eNOMEMORY;
    size_t len = (size + 7) & ~static_cast<size_t>(7);
    uint8_t *place = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_stack_next_block(tag, size, len, &place));
    b_tag_stack_bump(tag, place, len);
    b_tag_stack_store(pBuf, place);
    return sOKAY;
}

// The common path: round up to 8, add and compare.
inline ZEL_RETCODE b_tag_stack_alloc(B_TAG_STACK tag, size_t size, void *pBuf) {
    uint8_t *place = tag->current_top;
    size_t len = (size + 7) & ~static_cast<size_t>(7);
    if (size <= SIZE_MAX - 7 && len <= static_cast<size_t>(tag->current_max - place)) {
        b_tag_stack_bump(tag, place, len);
        b_tag_stack_store(pBuf, place);
        return sOKAY;
    }
    return b_tag_stack_alloc_slow(tag, size, pBuf);
}

}  // namespace

extern "C" {

ZEL_RETCODE b_tag_stackCreate(B_TAG_MASTER tag_master, size_t size_initial, size_t size_increment,
                              B_TAG_STACK *pTag_stack) {
    // The first block must at least hold the tag.
    size_t pages = b_tag_stack_pages(size_initial);
    if (pages == 0) pages = 1;
    void *run = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(
        rc = b_tag_masterAllocPages(tag_master, static_cast<uint16_t>(pages), ZEL_FALSE, &run));
    B_TAG_STACK tag = static_cast<B_TAG_STACK>(run);
    tag->header.next = nullptr;
    tag->header.prev = nullptr;
    tag->header.prev_allocated =
        -static_cast<int64_t>(offsetof(B_TAG_STACK_T, payload) - offsetof(STACK_BLOCK_T, payload));
    tag->header.max = static_cast<uint8_t *>(run) + pages * B_PAGE_SIZE;
    tag->tag_master = tag_master;
    tag->increment_pages = static_cast<uint16_t>(b_tag_stack_pages(size_increment));
    tag->current = b_tag_stack_first(tag);
    tag->max_allocated = 0;
    tag->current_top = tag->payload;
    tag->current_max = tag->header.max;
    *pTag_stack = tag;
    return sOKAY;
}

void b_tag_stackDestroy(B_TAG_STACK tag_stack) {
    B_TAG_MASTER master = tag_stack->tag_master;
    STACK_BLOCK_T *block = b_tag_stack_first(tag_stack);
    while (block != nullptr) {
        STACK_BLOCK_T *next = block->header.next;
        int16_t pages = 0;
        b_tag_masterFreePages(master, block, &pages);
        block = next;
    }
}

ZEL_RETCODE b_tag_stackAlloc(B_TAG_STACK tag_stack, size_t size, void *pBuf) {
    if (B_TAG_FAULT(tag_stack->tag_master)) return eNOMEMORY;
    return b_tag_stack_alloc(tag_stack, size, pBuf);
}

ZEL_RETCODE b_tag_stackAllocClear(B_TAG_STACK tag_stack, size_t size, void *pBuf) {
    if (B_TAG_FAULT(tag_stack->tag_master)) return eNOMEMORY;
    uint8_t *place;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_stack_alloc(tag_stack, size, &place));
    std::memset(place, 0, size);
    b_tag_stack_store(pBuf, place);
    return sOKAY;
}

ZEL_RETCODE b_tag_stackAllocCopy(B_TAG_STACK tag_stack, const void *src, size_t size, void *pBuf) {
    if (B_TAG_FAULT(tag_stack->tag_master)) return eNOMEMORY;
    uint8_t *place;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_stack_alloc(tag_stack, size, &place));
    if (size != 0) std::memcpy(place, src, size);
    b_tag_stack_store(pBuf, place);
    return sOKAY;
}

ZEL_RETCODE b_tag_stackAllocOrSetNull(B_TAG_STACK tag_stack, size_t size, void *pBuf) {
    if (size == 0) {
        b_tag_stack_store(pBuf, nullptr);
        return sOKAY;
    }
    return b_tag_stackAlloc(tag_stack, size, pBuf);
}

ZEL_RETCODE b_tag_stackCopyString(B_TAG_STACK tag_stack, const char *src, void *pBuf) {
    return b_tag_stackAllocCopy(tag_stack, src, std::strlen(src) + 1, pBuf);
}

ZEL_RETCODE b_tag_stackRealloc(B_TAG_STACK tag_stack, void *old_buf, size_t new_size, void *pBuf) {
    uint8_t *old = static_cast<uint8_t *>(old_buf);
    if (old == nullptr || !b_tag_stack_rollback(tag_stack, old)) {
        return b_tag_stackAlloc(tag_stack, new_size, pBuf);
    }
    if (B_TAG_FAULT(tag_stack->tag_master)) return eNOMEMORY;  // the top stays at old_buf
    STACK_BLOCK_T *old_block = tag_stack->current;
    uint8_t *place;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_stack_alloc(tag_stack, new_size, &place));
    // Moved on: the tail of the old block is at most new_size, since it did not fit.
    if (place != old) std::memcpy(place, old, static_cast<size_t>(old_block->header.max - old));
    b_tag_stack_store(pBuf, place);
    return sOKAY;
}

ZEL_RETCODE b_tag_stackReallocClear(B_TAG_STACK tag_stack, void *old_buf, size_t old_size,
                                    size_t new_size, void *pBuf) {
    uint8_t *place;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_stackRealloc(tag_stack, old_buf, new_size, &place));
    if (new_size > old_size) std::memset(place + old_size, 0, new_size - old_size);
    b_tag_stack_store(pBuf, place);
    return sOKAY;
}

void b_tag_stackFree(B_TAG_STACK tag_stack, void *buf) {
    (void)b_tag_stack_rollback(tag_stack, static_cast<uint8_t *>(buf));
}

void b_tag_stackFreeAll(B_TAG_STACK tag_stack) {
    tag_stack->current = b_tag_stack_first(tag_stack);
    tag_stack->current_max = tag_stack->header.max;
    tag_stack->current_top = tag_stack->payload;
}

void b_tag_stackMemUsage(B_TAG_STACK tag_stack, int64_t *pCurrent, int64_t *pMaximum) {
    *pCurrent = b_tag_stack_used(tag_stack->current, tag_stack->current_top);
    *pMaximum = tag_stack->max_allocated;
}

}  // extern "C"
