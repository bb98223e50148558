/*
 * pool.h - object pools: a free list of released objects of one record type
 * over a sub tag, so that construction and tag traffic are paid once per
 * object rather than once per use. Reuse is last in, first out; the list is
 * capped (1000 after init). No lock: one thread at a time.
 */
#ifndef POOL_H
#define POOL_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* The 16 bytes before each object. */
typedef struct _b_pool_hdr {
    struct _b_pool_hdr *next; /* free list link while pooled */
    size_t size;              /* bytes asked for at creation */
} B_POOL_HDR;

/* Kept by the pool, which treats both alike. */
typedef enum B_POOL_SIZE_INFO_E { B_POOL_FIXED_SIZE = 100, B_POOL_VAR_SIZE = 101 } B_POOL_SIZE_INFO;

/* What b_poolGetMem does to the object it hands out. */
typedef enum B_POOL_ALLOC_OPT_E {
    B_POOL_ALLOC = 200,       /* nothing */
    B_POOL_ALLOC_CLEAR = 201, /* zeroes the bytes asked for */
    B_POOL_ALLOC_COPY = 202   /* copies the bytes asked for from `data` */
} B_POOL_ALLOC_OPT;

typedef void *B_POOL_USERDATA;
/* Runs once, when an object is created. */
typedef void (*B_POOL_CONSTRUCTOR)(B_POOL_USERDATA userdata, void *object);
/* Runs once, when an object is destroyed. */
typedef void (*B_POOL_DESTRUCTOR)(B_POOL_USERDATA userdata, void *object);

typedef struct B_POOL_S {
    B_POOL_HDR *next;               /* free list head */
    B_TAG_SUB subTag;               /* allocator */
    uint32_t count;                 /* objects on the free list */
    uint32_t max_pooled_items;      /* cap of the free list */
    B_POOL_SIZE_INFO size_info;     /* B_POOL_FIXED_SIZE or B_POOL_VAR_SIZE */
    B_POOL_CONSTRUCTOR constructor; /* may be null */
    B_POOL_DESTRUCTOR destructor;   /* may be null */
    B_POOL_USERDATA userdata;       /* passed to both */
} B_POOL_T;

#define B_POOL_DEFAULT_MAX_POOLED 1000

/* An empty pool on `subTag` with the cap at 1000. Cannot fail. */
void b_poolInit(B_POOL_T *pool, B_TAG_SUB subTag, B_POOL_SIZE_INFO size_info,
                B_POOL_CONSTRUCTOR constructor, B_POOL_DESTRUCTOR destructor,
                B_POOL_USERDATA userdata);
/* An object of at least `sz` bytes in *res (res: address of the caller's
 * pointer). Only the head of the free list is looked at: a head too small is
 * destroyed and a fresh object made. `mode` B_POOL_ALLOC_CLEAR zeroes `sz` bytes,
 * B_POOL_ALLOC_COPY copies `sz` bytes from `data`, after any constructor; a
 * reused object otherwise keeps what its last user left. eNOMEMORY for any
 * allocation failure. */
ZEL_NODISCARD ZEL_RETCODE b_poolGetMem(B_POOL_T *pool, size_t sz, B_POOL_ALLOC_OPT mode,
                                       const void *data, void *res);
/* Gives an object of this pool back: pooled at the head of the list, or
 * destroyed when the list is at its cap. Null is ignored. */
void b_poolPut(B_POOL_T *pool, void *ptr);
/* Sets the cap and destroys the surplus from the head of the list. The psp_
 * prefix is deliberate: it is this function's established name, though it is
 * no platform call. */
void psp_poolSetMaxPooled(B_POOL_T *pool, uint32_t max_items);
/* Destroys every pooled object and clears the record. Objects out in callers'
 * hands are not known to the pool; they are the callers' to give back before. */
void b_poolTerm(B_POOL_T *pool);

ZEL_EXTERN_C_END

#endif /* POOL_H */
