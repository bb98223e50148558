/*
 * tag_stack.h - the stack tag: a bump allocator on a master tag. Allocation
 * raises a top pointer through a chain of page runs; freeing any buffer drops
 * it and everything allocated after it, so any saved address is a mark to roll
 * back to. Pages go back to the master only at destroy; blocks above the top
 * stay chained for reuse. No lock: one thread at a time.
 * `pBuf` arguments are the address of the caller's pointer variable; they are
 * written only on success. Buffers are 8-byte aligned.
 */
#ifndef TAG_STACK_H
#define TAG_STACK_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

typedef struct STACK_BLOCK_S STACK_BLOCK_T;

/* The 32 bytes at the start of every block. */
typedef struct STACK_BLOCK_HEADER_S {
    STACK_BLOCK_T *next; /* chain of blocks, kept for reuse after a rollback */
    STACK_BLOCK_T *prev;
    /* Bytes allocated below this block when it was entered; -48 in the first
     * block, whose header is 48 bytes longer, so that one formula fits all. */
    int64_t prev_allocated;
    uint8_t *max; /* end of the block */
} STACK_BLOCK_HEADER_T;

/* A run of pages from the master. */
struct STACK_BLOCK_S {
    STACK_BLOCK_HEADER_T header;
    uint8_t payload[];
};

/* The tag lives at the start of its first block; B_TAG_STACK points at it. */
typedef struct B_TAG_STACK_S {
    STACK_BLOCK_HEADER_T header; /* makes the tag itself the first block */
    B_TAG_MASTER tag_master;     /* source of pages */
    uint16_t increment_pages;    /* pages of a further block */
    STACK_BLOCK_T *current;      /* block of the top */
    int64_t max_allocated;       /* peak of bytes allocated */
    uint8_t *current_top;        /* next free byte */
    uint8_t *current_max;        /* current's max */
    uint8_t payload[];
} B_TAG_STACK_T;

/* Sizes in bytes, each rounded up to pages and capped at 153 pages. The first
 * block holds the tag itself. sOKAY or the master's failure. */
ZEL_NODISCARD ZEL_RETCODE b_tag_stackCreate(B_TAG_MASTER tag_master, size_t size_initial,
                                            size_t size_increment, B_TAG_STACK *pTag_stack);
/* Gives every block back to the master; the handle dies with the first. */
void b_tag_stackDestroy(B_TAG_STACK tag_stack);

/* `size` bytes rounded up to 8, uncleared. eNOMEMORY when the request does not
 * fit behind the header of the next block (a retained block is not replaced
 * by a larger one); the master's failure codes unchanged. */
ZEL_NODISCARD ZEL_RETCODE b_tag_stackAlloc(B_TAG_STACK tag_stack, size_t size, void *pBuf);
/* As b_tag_stackAlloc, then zeroes `size` bytes. */
ZEL_NODISCARD ZEL_RETCODE b_tag_stackAllocClear(B_TAG_STACK tag_stack, size_t size, void *pBuf);
/* As b_tag_stackAlloc, then copies `size` bytes from `src`. */
ZEL_NODISCARD ZEL_RETCODE b_tag_stackAllocCopy(B_TAG_STACK tag_stack, const void *src, size_t size,
                                               void *pBuf);
/* `size` 0 stores null and returns sOKAY; else as b_tag_stackAlloc. */
ZEL_NODISCARD ZEL_RETCODE b_tag_stackAllocOrSetNull(B_TAG_STACK tag_stack, size_t size, void *pBuf);
/* A copy of the terminated string `src`, terminator included. */
ZEL_NODISCARD ZEL_RETCODE b_tag_stackCopyString(B_TAG_STACK tag_stack, const char *src, void *pBuf);
/* Drops everything allocated after `old_buf` and allocates `new_size` at
 * `old_buf`'s place. If that no longer fits, the buffer moves to the next
 * block and the old block's tail from `old_buf` on is copied over. On failure
 * the top stays at `old_buf`: the bytes are there but no longer allocated.
 * A null `old_buf` allocates. */
ZEL_NODISCARD ZEL_RETCODE b_tag_stackRealloc(B_TAG_STACK tag_stack, void *old_buf, size_t new_size,
                                             void *pBuf);
/* As b_tag_stackRealloc, then zeroes bytes `old_size` to `new_size` when
 * growing. */
ZEL_NODISCARD ZEL_RETCODE b_tag_stackReallocClear(B_TAG_STACK tag_stack, void *old_buf,
                                                  size_t old_size, size_t new_size, void *pBuf);
/* Drops `buf` and everything allocated after it. Any address inside a block
 * of the tag is accepted, so a saved position works as a mark. An address the
 * tag does not hold leaves it unchanged. */
void b_tag_stackFree(B_TAG_STACK tag_stack, void *buf);
/* Back to the start of the first block; no page goes back to the master. */
void b_tag_stackFreeAll(B_TAG_STACK tag_stack);
/* Bytes allocated now and at the peak (alignment included, the unused ends
 * of left blocks excluded). */
void b_tag_stackMemUsage(B_TAG_STACK tag_stack, int64_t *pCurrent, int64_t *pMaximum);

ZEL_EXTERN_C_END

#endif /* TAG_STACK_H */
