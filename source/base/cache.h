/*
 * cache.h - a small cache of caller-defined blocks keyed by a 64-bit id. The
 * caller gives a loader, which produces a block, and a zapper, which writes
 * a block back when it needs it and frees it when told to. The cache keeps
 * an index by id and two age lists, one of clean and one of modified blocks.
 * A clean block that nobody holds may be zapped to make room; a modified one
 * is written only by b_cacheFlush or at the end, and so the cache may hold
 * more than `maxentries` blocks when all are held or modified.
 *
 * Callbacks answer sOKAY or a failure; any other answer is handed back as
 * the result of the call that ran them.
 *
 * Threads: a cache made with `sync` holds one mutex for the whole of every
 * call but init, callbacks and the cache's allocations from `subTag`
 * included. A loader, zapper or terminator therefore must not call the
 * cache (the mutex is not recursive), and `subTag` must serve no other
 * thread meanwhile. A block itself is not guarded: a hold only keeps it from
 * being zapped. Without `sync`, one thread at a time.
 */
#ifndef CACHE_H
#define CACHE_H

#include <stdint.h>

#include "avl.h"
#include "psptypes.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef uint64_t B_CACHE_ID;
/* The entry of a held block, as b_cacheGetEntry gave it. */
typedef const void *B_CACHE_HANDLE;

typedef struct _cache_entry {
    B_AVL_NODE_T avlNode; /* first: the index by id */
    B_CACHE_ID id;
    int32_t hold_count; /* holders; anything but 0 keeps the block */
    ZEL_BOOL_T modified;
    void *data;
    struct _cache_entry *next_lru; /* towards the newer end of its list */
    struct _cache_entry *prev_lru;
} B_CACHE_ENTRY;

/* Produces the block of `id`, storing its address in *data. */
typedef ZEL_RETCODE (*B_CACHE_LOADER)(B_CACHE_ID id, void **data, void *ctx);
/* Writes the block if it needs it, and frees it when free_mem is ZEL_TRUE. */
typedef ZEL_RETCODE (*B_CACHE_ZAPPER)(B_CACHE_ID id, void *data, ZEL_BOOL_T free_mem, void *ctx);
/* Disposes of a block without writing it. */
typedef void (*B_CACHE_TERMINATOR)(B_CACHE_ID id, void *data, void *ctx);

typedef struct B_CACHE_S {
    uint32_t numentries; /* entries allocated */
    uint32_t maxentries; /* above this, a miss zaps an unheld clean block */
    B_CACHE_LOADER loader;
    B_CACHE_ZAPPER zapper;
    B_CACHE_TERMINATOR terminator; /* may be null */
    B_TAG_SUB subTag;
    void *ctx; /* handed to every callback */
    ZEL_BOOL_T use_mutex;
    PSP_THREAD_MUTEX_T mutex;
    B_AVL_T avl;              /* entries by id */
    B_CACHE_ENTRY *lru, *mru; /* oldest and newest clean entries */
    B_CACHE_ENTRY *modified_lru, *modified_mru;
} B_CACHE_T;

/* An empty cache. `terminator` may be null. With `sync` ZEL_TRUE the calls
 * are serialised by a mutex, whose failure to initialise is returned.
 * eINVNULLARG (cache, loader, zapper or subTag null). */
ZEL_NODISCARD ZEL_RETCODE b_cacheInit(B_CACHE_T *cache, uint32_t maxentries, B_CACHE_LOADER loader,
                                      B_CACHE_ZAPPER zapper, B_CACHE_TERMINATOR terminator,
                                      ZEL_BOOL_T sync, void *ctx, B_TAG_SUB subTag);
/* Disposes of every block, clean ones first, oldest first in each list: with
 * `flush` the zapper writes and frees each (its answers ignored); without,
 * the terminator, if any, disposes of it unwritten. Frees the entries, held
 * or not, and ends the mutex. */
void b_cacheTerm(B_CACHE_T *cache, ZEL_BOOL_T flush);
/* The block of `id`, held: *(void **)pdata gets its address and *phandle the
 * handle to release it with. A miss loads it, first zapping the oldest
 * unheld clean block when `maxentries` are there. sOKAY; eINVNULLARG; the
 * zapper's or loader's failure (nothing cached for `id`); eNOMEMORY. Out
 * arguments are written only on sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_cacheGetEntry(B_CACHE_T *cache, B_CACHE_ID id, void *pdata,
                                          B_CACHE_HANDLE *phandle);
/* Gives up one hold. `modified` ZEL_TRUE marks the block modified for good:
 * it moves to the modified list and stays there. A null handle does nothing. */
void b_cacheReleaseEntry(B_CACHE_T *cache, B_CACHE_HANDLE handle, ZEL_BOOL_T modified);
/* Writes every modified block, oldest first, without freeing it; the blocks
 * stay modified. sOKAY, or the zapper's first failure, which ends the walk. */
ZEL_NODISCARD ZEL_RETCODE b_cacheFlush(B_CACHE_T *cache);

ZEL_EXTERN_C_END

#endif /* CACHE_H */
