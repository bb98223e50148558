/*
 * tag_master_psp.cpp - the master tag: deals out runs of 4096-byte pages from
 * large blocks of 155 pages, taken from the platform or carved from a
 * caller's buffer, and is the only allocator that threads share.
 *
 * The one idea: every page of a large block has a boundary tag in the block's
 * header page (+n at both ends of a free run of n pages, -n for an allocated
 * one, -1 as a sentinel at the ends), so that a freed run finds and merges its
 * neighbours in constant time. Free runs start with an AVL node keyed by
 * (size, address); a lookup entry placed below every tag in memory turns
 * "find or next" into best fit at the lowest address. The trees' nodes live in
 * the header pages, so the page allocator needs no memory for itself.
 */
#include "tag_master_psp.h"

#include <atomic>
#include <cassert>
#include <cstring>

#include "avl_internal.h"
#include "psp.h"
#include "tag_internal.h"

namespace {

using Master = B_MASTER_BLOCK_HEADER_T;
using BlockHeader = B_LARGE_BLOCK_HEADER_T;

constexpr uintptr_t kPageMask = B_PAGE_SIZE - 1;
/* A seed (after alignment) must hold the header page and one data page. */
constexpr size_t kMinSeedBytes = 2 * B_PAGE_SIZE;

Master *tag_masterHeader(B_TAG_MASTER tag_master) {
    return reinterpret_cast<Master *>(tag_master);
}

BlockHeader *tag_masterBlockHeader(B_LARGE_BLOCK_T *block) {
    return reinterpret_cast<BlockHeader *>(block);
}

/* The tags live in the header page, so rounding a tag's address down to the
 * page gives its large block. */
BlockHeader *tag_masterBlockOfEntry(B_AVL_SIZE_T *entry) {
    return reinterpret_cast<BlockHeader *>(reinterpret_cast<uintptr_t>(entry) & ~kPageMask);
}

void *tag_masterPageOfEntry(B_AVL_SIZE_T *entry) {
    BlockHeader *header = tag_masterBlockOfEntry(entry);
    return reinterpret_cast<uint8_t *>(header) + (entry - header->sizes) * B_PAGE_SIZE;
}

/* The counters are written under the mutex and read without it by the usage
 * calls; relaxed atomics make that torn-but-defined. */
void tag_masterAddCount(int64_t &counter, int64_t delta) {
    std::atomic_ref<int64_t> ref(counter);
    ref.store(ref.load(std::memory_order_relaxed) + delta, std::memory_order_relaxed);
}

int64_t tag_masterReadCount(int64_t &counter) {
    return std::atomic_ref<int64_t>(counter).load(std::memory_order_relaxed);
}

/* Plain address order. The lookup may be a raw page address: it is never
 * dereferenced. */
ZEL_COMPARE cmp_large_pages(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *) {
    const auto a = reinterpret_cast<uintptr_t>(lookup);
    const auto b = reinterpret_cast<uintptr_t>(node);
    return a < b ? ZEL_LT : (a > b ? ZEL_GT : ZEL_EQ);
}

/* Size as signed 16-bit, then the entry's address. */
ZEL_COMPARE cmp_free_pages(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *) {
    const auto *l = reinterpret_cast<const B_AVL_SIZE_T *>(lookup);
    const auto *n = reinterpret_cast<const B_AVL_SIZE_T *>(node);
    if (l->size != n->size) return l->size < n->size ? ZEL_LT : ZEL_GT;
    return cmp_large_pages(lookup, node, nullptr);
}

/* The two orders in line for the master's own searches (the trees keep the
 * functions above as their cmpfcn, and order the same). */
struct tag_masterLargeOrder {
    ZEL_COMPARE operator()(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node) const {
        return cmp_large_pages(lookup, node, nullptr);
    }
};
struct tag_masterFreeOrder {
    ZEL_COMPARE operator()(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node) const {
        return cmp_free_pages(lookup, node, nullptr);
    }
};

/* Writes `tag` into the first and the last entry of a run of `pages`. */
void tag_masterTagRun(B_AVL_SIZE_T *first, int pages, int16_t tag) {
    first->size = tag;
    first[pages - 1].size = tag;
}

/* Tags a run free and makes it findable. */
void tag_masterAddFreeRun(Master *master, B_AVL_SIZE_T *first, int pages) {
    tag_masterTagRun(first, pages, static_cast<int16_t>(pages));
    [[maybe_unused]] ZEL_RETCODE rc =
        zel::detail::avl_addWith(&master->free_pages, &first->avl, tag_masterFreeOrder{});
    assert(rc == sOKAY); /* entries are unique by address */
}

void tag_masterDeleteFreeRun(Master *master, B_AVL_SIZE_T *first) {
    [[maybe_unused]] B_AVL_NODE_T *node =
        zel::detail::avl_deleteWith(&master->free_pages, &first->avl, tag_masterFreeOrder{});
    assert(node == &first->avl);
}

class tag_masterLock {
  public:
    explicit tag_masterLock(Master *master) : mutex_(&master->mutex) {
        psp_threadMutexEnter(mutex_);
    }
    ~tag_masterLock() { psp_threadMutexExit(mutex_); }
    tag_masterLock(const tag_masterLock &) = delete;
    tag_masterLock &operator=(const tag_masterLock &) = delete;

  private:
    PSP_THREAD_MUTEX_T *mutex_;
};

/* A new large block. With a master, from what is left of its seed, or from
 * the platform when it has none; without one (creation), from `buf` if given,
 * whose rest is then recorded in the new block's own master header. */
ZEL_RETCODE tag_alloc_large_block(Master *master, uint8_t *buf, size_t buf_size,
                                  B_LARGE_BLOCK_T **pBlock) {
    if (master != nullptr) {
        buf = master->user_buf_rest;
        buf_size = master->user_buf_rest_size;
    } else if (buf != nullptr) {
        const uintptr_t start = (reinterpret_cast<uintptr_t>(buf) + kPageMask) & ~kPageMask;
        const size_t loss = start - reinterpret_cast<uintptr_t>(buf);
        buf_size = buf_size > loss ? (buf_size - loss) & ~kPageMask : 0;
        buf = reinterpret_cast<uint8_t *>(start);
    }

    uint8_t *memory;
    void *malloc_pointer = nullptr;
    uint32_t num_blocks;
    uint8_t *rest = nullptr;
    size_t rest_size = 0;
    if (buf != nullptr) {
        if (buf_size >= B_LARGE_BLOCK_BYTES) {
            num_blocks = B_LARGE_BLOCK_PAGES;
            rest = buf + B_LARGE_BLOCK_BYTES;
            rest_size = buf_size - B_LARGE_BLOCK_BYTES;
        } else if (buf_size < kMinSeedBytes) {
            return eNOMEMORY;
        } else {
            num_blocks = static_cast<uint32_t>(buf_size / B_PAGE_SIZE - 1);
            rest = buf + buf_size; /* used up, but never null again */
        }
        memory = buf;
    } else {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = psp_memAlloc(B_LARGE_BLOCK_BYTES, &malloc_pointer));
        const uintptr_t raw = reinterpret_cast<uintptr_t>(malloc_pointer);
        const uintptr_t start = (raw + kPageMask) & ~kPageMask;
        memory = reinterpret_cast<uint8_t *>(start);
        /* Aligning costs the last page. */
        num_blocks = start == raw ? B_LARGE_BLOCK_PAGES : B_LARGE_BLOCK_PAGES - 1;
    }

    if (buf != nullptr) {
        Master *owner = master != nullptr ? master : reinterpret_cast<Master *>(memory);
        owner->user_buf_rest = rest;
        owner->user_buf_rest_size = rest_size;
    }
    BlockHeader *header = reinterpret_cast<BlockHeader *>(memory);
    header->malloc_pointer = malloc_pointer;
    header->num_blocks = num_blocks;
    header->size_lookup.size = 0;
    header->sizes[0].size = -1;
    header->sizes[1].size = -1; /* the never-used stretch's start, until carved */
    header->sizes[num_blocks + 1].size = -1;
    *pBlock = reinterpret_cast<B_LARGE_BLOCK_T *>(memory);
    return sOKAY;
}

/* Takes `pages` from the start of the never-used stretch. */
void *tag_masterCarve(Master *master, int pages) {
    B_AVL_SIZE_T *first = master->new_min_sizesP;
    tag_masterTagRun(first, pages, static_cast<int16_t>(-pages));
    first[pages].size = -1;
    master->new_min_sizesP = first + pages;
    return tag_masterPageOfEntry(first);
}

/* Best fit among free runs, else the never-used stretch, else a new large
 * block. */
ZEL_RETCODE tag_masterTakePages(Master *master, uint16_t size, void **pBlock) {
    if (size == 0) return eINVFCNARG;
    if (size <= B_LARGE_BLOCK_PAGES) { /* larger runs exist nowhere */
        master->min_size_lookup->size = static_cast<int16_t>(size);
        B_AVL_NODE_T *node = zel::detail::avl_deleteFindOrNextWith(
            &master->free_pages, &master->min_size_lookup->avl, tag_masterFreeOrder{});
        if (node != nullptr) {
            auto *first = reinterpret_cast<B_AVL_SIZE_T *>(node);
            const int have = first->size;
            tag_masterTagRun(first, size, static_cast<int16_t>(-size));
            if (have > size) tag_masterAddFreeRun(master, first + size, have - size);
            *pBlock = tag_masterPageOfEntry(first);
            return sOKAY;
        }
        if (master->new_max_sizesP - master->new_min_sizesP >= size) {
            tag_masterAddCount(master->max_pages_allocated, size);
            *pBlock = tag_masterCarve(master, size);
            return sOKAY;
        }
    }

    B_LARGE_BLOCK_T *block;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = tag_alloc_large_block(master, nullptr, 0, &block));
    BlockHeader *header = tag_masterBlockHeader(block);
    if (reinterpret_cast<uintptr_t>(&header->size_lookup) <
        reinterpret_cast<uintptr_t>(master->min_size_lookup)) {
        master->min_size_lookup = &header->size_lookup;
    }
    const int rest = static_cast<int>(master->new_max_sizesP - master->new_min_sizesP);
    if (rest > 0) {
        tag_masterAddCount(master->max_pages_allocated, rest);
        tag_masterAddFreeRun(master, master->new_min_sizesP, rest);
    }
    rc = b_avlAdd(&master->large_pages, &header->avl_node);
    assert(rc == sOKAY);
    master->new_large_block = block;
    master->new_min_sizesP = &header->sizes[1];
    master->new_max_sizesP = &header->sizes[header->num_blocks + 1];
    if (size > header->num_blocks) {
        /* The block stays as the carving block: a further too-wide request
         * takes yet another one. */
        tag_masterAddCount(master->max_pages_allocated, 1);
        return eNOMEMORY;
    }
    tag_masterAddCount(master->max_pages_allocated, size + 1);
    *pBlock = tag_masterCarve(master, size);
    return sOKAY;
}

/* Under the mutex. Does not count the pages as held: that is the caller's. */
ZEL_RETCODE tag_masterAllocPages(Master *master, uint16_t size, void **pBlock) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = tag_masterTakePages(master, size, pBlock));
    B_TAG_UNPOISON(*pBlock, static_cast<size_t>(size) * B_PAGE_SIZE);
    return sOKAY;
}

/* Under the mutex: the large block holding `page` and the page's index. */
BlockHeader *tag_masterFindBlock(Master *master, void *page, size_t *pIndex) {
    B_AVL_NODE_T *node = zel::detail::avl_findOrPrevWith(
        &master->large_pages, reinterpret_cast<const B_AVL_NODE_T *>(page), tag_masterLargeOrder{});
    assert(node != nullptr);
    *pIndex =
        static_cast<size_t>(static_cast<uint8_t *>(page) - reinterpret_cast<uint8_t *>(node)) /
        B_PAGE_SIZE;
    return reinterpret_cast<BlockHeader *>(node);
}

/* Under the mutex: frees the run at `index` and merges it with free runs on
 * both sides. Returns the run's old size; the counters are the caller's. */
int tag_masterFreePages(Master *master, BlockHeader *header, size_t index) {
    B_AVL_SIZE_T *first = &header->sizes[index];
    const int pages = -first->size;
    B_TAG_POISON(tag_masterPageOfEntry(first), static_cast<size_t>(pages) * B_PAGE_SIZE);
    int total = pages;
    B_AVL_SIZE_T *after = first + pages;
    if (after->size > 0) {
        total += after->size;
        tag_masterDeleteFreeRun(master, after);
    }
    if (first[-1].size > 0) {
        first -= first[-1].size;
        total += first->size;
        tag_masterDeleteFreeRun(master, first);
    }
    tag_masterAddFreeRun(master, first, total);
    return pages;
}

}  // namespace

extern "C" {

ZEL_RETCODE b_tag_masterCreate(void *buf, size_t buf_size, B_TAG_MASTER *pTag_master) {
    B_LARGE_BLOCK_T *block;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = tag_alloc_large_block(nullptr, static_cast<uint8_t *>(buf), buf_size, &block));
    Master *master = reinterpret_cast<Master *>(block);
    if (buf == nullptr) {
        master->user_buf_rest = nullptr;
        master->user_buf_rest_size = 0;
    }
    master->new_large_block = block;
    master->new_min_sizesP = &master->header.sizes[1];
    master->new_max_sizesP = &master->header.sizes[master->header.num_blocks + 1];
    master->min_size_lookup = &master->header.size_lookup;
    master->use_mutex = ZEL_TRUE; /* declared only; the mutex is taken regardless */
    master->cur_pages_allocated = 1;
    master->fault_countdown = 0;
    master->fault_given = ZEL_FALSE;
    master->max_pages_allocated = 1;
    rc = psp_threadMutexInit(&master->mutex);
    if (rc < 0) {
        if (master->header.malloc_pointer != nullptr) {
            psp_memFree(master->header.malloc_pointer, B_LARGE_BLOCK_BYTES);
        }
        return rc;
    }
    b_avlInit(&master->large_pages, cmp_large_pages, nullptr);
    b_avlInit(&master->free_pages, cmp_free_pages, nullptr);
    rc = b_avlAdd(&master->large_pages, &master->header.avl_node);
    assert(rc == sOKAY);
    *pTag_master = block;
    return sOKAY;
}

void b_tag_masterDestroy(B_TAG_MASTER tag_master) {
    Master *master = tag_masterHeader(tag_master);
    psp_threadMutexTerm(&master->mutex);
    if (master->user_buf_rest != nullptr) { /* a seed is the caller's */
        B_TAG_UNPOISON(master,
                       static_cast<size_t>(master->user_buf_rest + master->user_buf_rest_size -
                                           reinterpret_cast<uint8_t *>(master)));
        return;
    }
    /* The master's own block goes in this walk, so step by links only. */
    B_AVL_NODE_T *node = b_avlFirst(&master->large_pages);
    while (node != nullptr) {
        B_AVL_NODE_T *next = b_avlNext(node);
        B_TAG_UNPOISON(node, (reinterpret_cast<BlockHeader *>(node)->num_blocks + 1) *
                                 static_cast<size_t>(B_PAGE_SIZE));
        psp_memFree(reinterpret_cast<BlockHeader *>(node)->malloc_pointer, B_LARGE_BLOCK_BYTES);
        node = next;
    }
}

ZEL_RETCODE b_tag_masterAllocPages(B_TAG_MASTER tag_master, uint16_t size, ZEL_BOOL_T clear,
                                   void **pBlock) {
    if (B_TAG_FAULT(tag_master)) return eNOMEMORY;
    return tag_masterAllocPagesUncounted(tag_master, size, clear, pBlock);
}

ZEL_RETCODE tag_masterAllocPagesUncounted(B_TAG_MASTER tag_master, uint16_t size, ZEL_BOOL_T clear,
                                          void **pBlock) {
    Master *master = tag_masterHeader(tag_master);
    void *block;
    ZEL_RETCODE rc;
    {
        tag_masterLock lock(master);
        rc = tag_masterAllocPages(master, size, &block);
        if (rc >= 0) tag_masterAddCount(master->cur_pages_allocated, size);
    }
    if (rc < 0) return rc;
    if (clear) std::memset(block, 0, static_cast<size_t>(size) * B_PAGE_SIZE);
    *pBlock = block;
    return sOKAY;
}

void b_tag_masterFreePages(B_TAG_MASTER tag_master, void *block, int16_t *pPage_increment) {
    Master *master = tag_masterHeader(tag_master);
    int pages;
    {
        tag_masterLock lock(master);
        size_t index;
        BlockHeader *header = tag_masterFindBlock(master, block, &index);
        pages = tag_masterFreePages(master, header, index);
        tag_masterAddCount(master->cur_pages_allocated, -pages);
    }
    if (pPage_increment != nullptr) *pPage_increment = static_cast<int16_t>(-pages);
}

ZEL_BOOL_T tag_masterFault(B_TAG_MASTER tag_master) {
    Master *master = tag_masterHeader(tag_master);
    uint64_t left = __atomic_load_n(&master->fault_countdown, __ATOMIC_RELAXED);
    /* A loop of compare-and-swap, so that two threads never both take the
     * last count or wrap it. */
    while (left != 0) {
        if (__atomic_compare_exchange_n(&master->fault_countdown, &left, left - 1, true,
                                        __ATOMIC_RELAXED, __ATOMIC_RELAXED)) {
            if (left != 1) return ZEL_FALSE;
            __atomic_store_n(&master->fault_given, ZEL_TRUE, __ATOMIC_RELAXED);
            return ZEL_TRUE;
        }
    }
    return ZEL_FALSE;
}

ZEL_RETCODE b_tag_masterFailAllocation(B_TAG_MASTER tag_master, uint64_t n) {
    if (!B_TAG_FAULTS) return eNOTIMPLEMENTED;
    Master *master = tag_masterHeader(tag_master);
    __atomic_store_n(&master->fault_given, ZEL_FALSE, __ATOMIC_RELAXED);
    __atomic_store_n(&master->fault_countdown, n, __ATOMIC_RELAXED);
    return sOKAY;
}

ZEL_BOOL_T b_tag_masterFailureGiven(B_TAG_MASTER tag_master) {
    return __atomic_load_n(&tag_masterHeader(tag_master)->fault_given, __ATOMIC_RELAXED);
}

void b_tag_masterMemUsage(B_TAG_MASTER tag_master, int64_t *pCurrent, int64_t *pMaximum) {
    Master *master = tag_masterHeader(tag_master);
    if (pCurrent != nullptr) {
        *pCurrent = tag_masterReadCount(master->cur_pages_allocated) * B_PAGE_SIZE;
    }
    if (pMaximum != nullptr) {
        *pMaximum = tag_masterReadCount(master->max_pages_allocated) * B_PAGE_SIZE;
    }
}

ZEL_RETCODE tag_masterReallocPages(B_TAG_MASTER tag_master, void *block, uint16_t new_pages,
                                   int16_t *pPage_increment, void **pBlock) {
    Master *master = tag_masterHeader(tag_master);
    tag_masterLock lock(master);
    size_t index;
    BlockHeader *header = tag_masterFindBlock(master, block, &index);
    B_AVL_SIZE_T *first = &header->sizes[index];
    const int old_pages = -first->size;
    const int wanted = new_pages;
    void *result = block;
    if (wanted > old_pages) {
        B_AVL_SIZE_T *after = first + old_pages;
        const int missing = wanted - old_pages;
        if (after->size >= missing) {
            const int have = after->size;
            tag_masterDeleteFreeRun(master, after);
            if (have > missing) tag_masterAddFreeRun(master, first + wanted, have - missing);
            tag_masterTagRun(first, wanted, static_cast<int16_t>(-wanted));
            B_TAG_UNPOISON(tag_masterPageOfEntry(after),
                           static_cast<size_t>(missing) * B_PAGE_SIZE);
        } else {
            /* A free run before the buffer is not looked at: moving is the
             * only other way. */
            ZEL_RETCODE rc;
            ZEL_CHECK(rc = tag_masterAllocPages(master, new_pages, &result));
            std::memcpy(result, block, static_cast<size_t>(old_pages) * B_PAGE_SIZE);
            tag_masterFreePages(master, header, index);
        }
    } else if (wanted < old_pages) {
        B_AVL_SIZE_T *tail = first + wanted;
        int tail_pages = old_pages - wanted;
        B_AVL_SIZE_T *after = first + old_pages;
        B_TAG_POISON(tag_masterPageOfEntry(tail), static_cast<size_t>(tail_pages) * B_PAGE_SIZE);
        if (after->size > 0) {
            tail_pages += after->size;
            tag_masterDeleteFreeRun(master, after);
        }
        tag_masterAddFreeRun(master, tail, tail_pages);
        tag_masterTagRun(first, wanted, static_cast<int16_t>(-wanted));
    }
    tag_masterAddCount(master->cur_pages_allocated, wanted - old_pages);
    *pPage_increment = static_cast<int16_t>(wanted - old_pages);
    *pBlock = result;
    return sOKAY;
}

}  // extern "C"
