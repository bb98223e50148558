/*
 * tag_internal.h - the records behind the master and sub tag handles, shared
 * only by the three tag modules (master, sub, stack). Callers use the handles
 * of tag_types.h and the functions of tag_master_psp.h, tag_sub.h and
 * tag_stack.h.
 *
 * Large block (634880 bytes, 155 pages; page 0 is the header page):
 *
 *   OFFSET  SIZE  MEANING (B_LARGE_BLOCK_HEADER_T)
 *        0    16  avl_node: link in the master's large_pages
 *       16     8  malloc_pointer: the platform's address, null in a seed
 *       24     4  num_blocks: data pages, at most 154
 *       32    24  size_lookup: search key for free_pages
 *       56  3744  sizes[156]: boundary tags, one per page, then an end entry
 *     3800   176  (first block only) the rest of B_MASTER_BLOCK_HEADER_T
 *
 * Page of small blocks (SUB_BLOCK_T), header forms by bitmap words:
 *
 *   OFFSET  SIZE  MEANING
 *        0     4  layout_index: row of sub_block_layout; 4096 marks a huge buffer
 *        4     4  offset_in_large_block (huge buffer: size requested, 32 bits)
 *        8     8  next: next page of the class; all ones when off the list
 *       16  8..32 used: 1 to 4 bitmap words, bit set = slot taken
 *
 * The sub tag's own page is a page of class 9 (368-byte slots) whose slot 0
 * holds the rest of TAG_SUB_HEADER_T (offsets 24 to 327), so the handle is
 * the page's address and costs no separate allocation.
 */
#ifndef TAG_INTERNAL_H
#define TAG_INTERNAL_H

#include <stddef.h>
#include <stdint.h>

#include "avl.h"
#include "psptypes.h"
#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* Data pages of a large block from the platform or a big enough seed. */
#define B_LARGE_BLOCK_PAGES 154
/* What one large block costs: the header page and 154 data pages. */
#define B_LARGE_BLOCK_BYTES (155 * B_PAGE_SIZE)
/* layout_index of a huge buffer's header. */
#define B_TAG_SUB_HUGE_MARK 4096
#define B_TAG_SUB_CLASSES 16

typedef struct B_4K_BLOCK_S {
    uint8_t bytes[B_PAGE_SIZE];
} B_4K_BLOCK_T;

typedef struct B_LARGE_BLOCK_S {
    B_4K_BLOCK_T first_block;                 /* the header page, never dealt out */
    B_4K_BLOCK_T blocks[B_LARGE_BLOCK_PAGES]; /* data pages */
} B_LARGE_BLOCK_T;

/* Boundary tag of one page: a run of n pages holds +n in its first and last
 * entry when free, -n when allocated. */
typedef struct B_AVL_SIZE_S {
    B_AVL_NODE_T avl; /* link in free_pages while this entry starts a free run */
    int16_t size;
} B_AVL_SIZE_T;

typedef struct B_LARGE_BLOCK_HEADER_S {
    B_AVL_NODE_T avl_node; /* first: the node address is the block address */
    void *malloc_pointer;
    uint32_t num_blocks;
    B_AVL_SIZE_T size_lookup;
    B_AVL_SIZE_T sizes[B_LARGE_BLOCK_PAGES + 2];
} B_LARGE_BLOCK_HEADER_T;

typedef struct B_MASTER_BLOCK_HEADER_S {
    B_LARGE_BLOCK_HEADER_T header;
    uint8_t *user_buf_rest; /* null on platform memory; never null again in a seed */
    size_t user_buf_rest_size;
    B_LARGE_BLOCK_T *new_large_block; /* the block being carved */
    B_AVL_SIZE_T *new_min_sizesP;     /* first never-used entry of that block */
    B_AVL_SIZE_T *new_max_sizesP;     /* its end entry */
    B_AVL_SIZE_T *min_size_lookup;    /* size_lookup of the lowest block */
    ZEL_BOOL_T use_mutex;             /* declared only: the mutex is always taken */
    PSP_THREAD_MUTEX_T mutex;
    B_AVL_T large_pages;         /* all large blocks, by address */
    B_AVL_T free_pages;          /* all free runs, by size, then entry address */
    int64_t cur_pages_allocated; /* pages held by callers, plus the first header page */
    /* Pages ever carved, header pages included: a high-water mark of the heap,
     * not of cur_pages_allocated. */
    int64_t max_pages_allocated;
    /* Fault injection (test and debug builds): allocations still to go before
     * the armed one fails, 0 when none is armed; and whether it fired. */
    uint64_t fault_countdown;
    ZEL_BOOL_T fault_given;
} B_MASTER_BLOCK_HEADER_T;

typedef union SUB_BLOCK_S SUB_BLOCK_T;

/* Header forms, named after the block size that needs that many bitmap words. */
typedef struct BLOCK_HEADER_64_S {
    uint32_t layout_index;
    uint32_t offset_in_large_block; /* declared; not written */
    SUB_BLOCK_T *next;
    uint64_t used[1];
} BLOCK_HEADER_64_T;

typedef struct BLOCK_HEADER_32_S {
    uint32_t layout_index;
    uint32_t offset_in_large_block;
    SUB_BLOCK_T *next;
    uint64_t used[2];
} BLOCK_HEADER_32_T;

typedef struct BLOCK_HEADER_24_S {
    uint32_t layout_index;
    uint32_t offset_in_large_block;
    SUB_BLOCK_T *next;
    uint64_t used[3];
} BLOCK_HEADER_24_T;

typedef struct BLOCK_HEADER_16_S {
    uint32_t layout_index;
    uint32_t offset_in_large_block;
    SUB_BLOCK_T *next;
    uint64_t used[4];
} BLOCK_HEADER_16_T;

/* The 8 bytes before a huge buffer, at the start of its platform memory. */
typedef struct BLOCK_HEADER_HUGE_S {
    uint32_t layout_index; /* B_TAG_SUB_HUGE_MARK */
    uint32_t size;         /* bytes from the platform; low 32 bits only */
} BLOCK_HEADER_HUGE_T;

typedef struct TAG_SUB_HEADER_S {
    BLOCK_HEADER_64_T header64; /* the tag's page is a page of class 9 */
    int64_t cur_size_allocated; /* all routes; small blocks by class size */
    int64_t max_size_allocated;
    int64_t large_size_allocated;
    int64_t huge_size_allocated; /* the 8 header bytes excluded */
    int64_t huge_num_allocated;
    uint64_t num_pages[B_TAG_SUB_CLASSES]; /* pages ever taken per class */
    B_TAG_MASTER tag_master;
    SUB_BLOCK_T *free[B_TAG_SUB_CLASSES]; /* pages that may have a free slot */
} TAG_SUB_HEADER_T;

union SUB_BLOCK_S {
    B_4K_BLOCK_T page;
    BLOCK_HEADER_64_T header64;
    BLOCK_HEADER_32_T header32;
    BLOCK_HEADER_24_T header24;
    BLOCK_HEADER_16_T header16;
    BLOCK_HEADER_HUGE_T huge;
    TAG_SUB_HEADER_T tag;
};

/* One size class. */
typedef struct SUB_BLOCK_LAYOUT_S {
    uint32_t size;            /* bytes of a block */
    uint32_t offset;          /* header bytes before the first block */
    uint32_t elements;        /* blocks per page */
    uint32_t rest;            /* bytes left at the page's end */
    uint32_t used_size_array; /* words of `used` */
    uint64_t last_used_mask;  /* bits past `elements` in the last word, taken for good */
} SUB_BLOCK_LAYOUT;

/* Resizes the page run at `block` (a page-route buffer) to `new_pages`, all
 * under the master's mutex, the copy included. Grows in place into a free run
 * right after it, else moves (the only case where *pBlock differs from
 * `block`); shrinking frees the tail. *pPage_increment gets the change in
 * pages. sOKAY, or the failure of a fresh run, the old run then intact. */
ZEL_NODISCARD ZEL_RETCODE tag_masterReallocPages(B_TAG_MASTER tag_master, void *block,
                                                 uint16_t new_pages, int16_t *pPage_increment,
                                                 void **pBlock);

/* b_tag_masterAllocPages without the fault point: for the tags' own page
 * requests, whose caller's request was already counted. */
ZEL_NODISCARD ZEL_RETCODE tag_masterAllocPagesUncounted(B_TAG_MASTER tag_master, uint16_t size,
                                                        ZEL_BOOL_T clear, void **pBlock);

/* Test and debug builds: ZEL_TRUE when this allocation through `tag_master` is
 * the one armed by b_tag_masterFailAllocation. Each public allocating entry of
 * the master, sub and stack tags asks once, so one request is one fault point. */
ZEL_BOOL_T tag_masterFault(B_TAG_MASTER tag_master);

ZEL_EXTERN_C_END

#if !defined(NDEBUG) || defined(ZEL_TAG_FAULTS)
#define B_TAG_FAULTS 1
#define B_TAG_FAULT(tag_master) (tag_masterFault(tag_master) == ZEL_TRUE)
#else
#define B_TAG_FAULTS 0
#define B_TAG_FAULT(tag_master) ((void)(tag_master), false)
#endif

/* Under AddressSanitizer, memory a tag holds but no caller owns (free slots,
 * free page runs) is poisoned, so that a use after free or an overrun into a
 * neighbour is reported as it would be for the C heap. */
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define B_TAG_POISON(addr, size) ASAN_POISON_MEMORY_REGION((addr), (size))
#define B_TAG_UNPOISON(addr, size) ASAN_UNPOISON_MEMORY_REGION((addr), (size))
#else
#define B_TAG_POISON(addr, size) ((void)(addr), (void)(size))
#define B_TAG_UNPOISON(addr, size) ((void)(addr), (void)(size))
#endif

#ifdef __cplusplus
static_assert(sizeof(B_4K_BLOCK_T) == 4096);
static_assert(sizeof(B_LARGE_BLOCK_T) == B_LARGE_BLOCK_BYTES && B_LARGE_BLOCK_BYTES == 634880);
static_assert(sizeof(B_AVL_SIZE_T) == 24);
static_assert(offsetof(B_LARGE_BLOCK_HEADER_T, avl_node) == 0);
static_assert(offsetof(B_LARGE_BLOCK_HEADER_T, size_lookup) == 32);
static_assert(offsetof(B_LARGE_BLOCK_HEADER_T, sizes) == 56);
static_assert(sizeof(B_LARGE_BLOCK_HEADER_T) == 3800);
static_assert(sizeof(B_MASTER_BLOCK_HEADER_T) <= sizeof(B_4K_BLOCK_T));
static_assert(sizeof(BLOCK_HEADER_64_T) == 24 && sizeof(BLOCK_HEADER_32_T) == 32 &&
              sizeof(BLOCK_HEADER_24_T) == 40 && sizeof(BLOCK_HEADER_16_T) == 48);
static_assert(offsetof(BLOCK_HEADER_64_T, used) == 16 && offsetof(BLOCK_HEADER_16_T, used) == 16);
static_assert(sizeof(BLOCK_HEADER_HUGE_T) == 8);
static_assert(offsetof(TAG_SUB_HEADER_T, cur_size_allocated) == 24);
static_assert(offsetof(TAG_SUB_HEADER_T, num_pages) == 64);
static_assert(offsetof(TAG_SUB_HEADER_T, tag_master) == 192);
static_assert(offsetof(TAG_SUB_HEADER_T, free) == 200);
/* The header is the page header plus slot 0 of class 9. */
static_assert(sizeof(TAG_SUB_HEADER_T) == 328 && sizeof(TAG_SUB_HEADER_T) <= 24 + 368);
static_assert(sizeof(SUB_BLOCK_T) == 4096);
#endif

#endif /* TAG_INTERNAL_H */
