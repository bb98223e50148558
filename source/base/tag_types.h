/*
 * tag_types.h - the handles of the memory tags and the usage report row,
 * shared by the master, sub and stack tags and by everyone who allocates.
 * The records behind the handles are private to the tag modules.
 */
#ifndef TAG_TYPES_H
#define TAG_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* A master tag: the first large block of its memory. */
typedef struct B_LARGE_BLOCK_S *B_TAG_MASTER;
/* A sub tag: the address of its first page. */
typedef union SUB_BLOCK_S *B_TAG_SUB;
/* A stack tag: the address of its first block. */
typedef struct B_TAG_STACK_S *B_TAG_STACK;

#define B_PAGE_SIZE 4096
/* Largest block of the small route and of the page route. */
#define B_TAG_SUB_SMALL_MAX 2032
#define B_TAG_SUB_PAGES_MAX 626688
/* Rows of a b_tag_subMemUsage report: 16 classes, the page route, huge. */
#define B_TAG_SUB_REPORT_ROWS 18

typedef struct B_TAG_SUB_REPORT_S {
    size_t size;
    uint64_t size_headers;
    uint64_t size_rest;
    uint64_t size_in_use;
    uint64_t size_available;
} B_TAG_SUB_REPORT_T;

ZEL_EXTERN_C_END

#endif /* TAG_TYPES_H */
