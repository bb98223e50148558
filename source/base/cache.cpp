/*
 * cache.cpp - the block cache: an AVL index by id over entries that each sit
 * on one of two age lists, clean or modified.
 *
 * The one idea is that the list an entry is on says what may be done to it.
 * Room is made only from the clean list, oldest first, skipping held
 * entries; a modified entry never returns to the clean list, so it is never
 * zapped for room and is written only by a flush or at the end. Both lists
 * run from the oldest (`lru`) along `next_lru` to the newest (`mru`); a hit
 * moves its entry to the newest end of its own list.
 */
#include "cache.h"

#include <cstring>

#include "psp.h"
#include "tag_sub.h"

static_assert(offsetof(B_CACHE_ENTRY, avlNode) == 0, "the index link comes first");

namespace {

ZEL_COMPARE cache_compare(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *) {
    const B_CACHE_ID a = reinterpret_cast<const B_CACHE_ENTRY *>(lookup)->id;
    const B_CACHE_ID b = reinterpret_cast<const B_CACHE_ENTRY *>(node)->id;
    return a < b ? ZEL_LT : (a > b ? ZEL_GT : ZEL_EQ);
}

// Holds the mutex of a synchronised cache for one call.
class CacheLock {
  public:
    explicit CacheLock(B_CACHE_T *cache) : cache_(cache) {
        if (cache_->use_mutex) psp_threadMutexEnter(&cache_->mutex);
    }
    ~CacheLock() {
        if (cache_->use_mutex) psp_threadMutexExit(&cache_->mutex);
    }
    CacheLock(const CacheLock &) = delete;
    CacheLock &operator=(const CacheLock &) = delete;

  private:
    B_CACHE_T *cache_;
};

// The two ends of the list an entry with this `modified` belongs to.
struct CacheList {
    B_CACHE_ENTRY **lru;
    B_CACHE_ENTRY **mru;
};
CacheList cache_list(B_CACHE_T *cache, bool modified) {
    return modified ? CacheList{&cache->modified_lru, &cache->modified_mru}
                    : CacheList{&cache->lru, &cache->mru};
}

void cache_unlink(B_CACHE_T *cache, B_CACHE_ENTRY *e) {
    const CacheList l = cache_list(cache, e->modified);
    (e->prev_lru != nullptr ? e->prev_lru->next_lru : *l.lru) = e->next_lru;
    (e->next_lru != nullptr ? e->next_lru->prev_lru : *l.mru) = e->prev_lru;
    e->next_lru = e->prev_lru = nullptr;
}

// Puts the entry at the newest end of the list of its `modified`.
void cache_append(B_CACHE_T *cache, B_CACHE_ENTRY *e) {
    const CacheList l = cache_list(cache, e->modified);
    e->prev_lru = *l.mru;
    e->next_lru = nullptr;
    (*l.mru != nullptr ? (*l.mru)->next_lru : *l.lru) = e;
    *l.mru = e;
}

void cache_touchEntry(B_CACHE_T *cache, B_CACHE_ENTRY *e) {
    if (e->next_lru == nullptr) return;  // already the newest
    cache_unlink(cache, e);
    cache_append(cache, e);
}

// The oldest clean entry nobody holds (a negative count counts as held).
B_CACHE_ENTRY *cache_findZappable(const B_CACHE_T *cache) {
    B_CACHE_ENTRY *e = cache->lru;
    while (e != nullptr && e->hold_count != 0) e = e->next_lru;
    return e;
}

// An entry for a miss, cleared and counted: a zapped one when the cache is
// full and one can go, else a new one. The zapper's failure is returned.
ZEL_RETCODE cache_findFreeEntry(B_CACHE_T *cache, B_CACHE_ENTRY **out) {
    B_CACHE_ENTRY *e = nullptr;
    if (cache->numentries >= cache->maxentries) e = cache_findZappable(cache);
    if (e != nullptr) {
        const ZEL_RETCODE rc = cache->zapper(e->id, e->data, ZEL_TRUE, cache->ctx);
        if (rc != sOKAY) return rc;
        (void)b_avlDelete(&cache->avl, &e->avlNode);
        cache_unlink(cache, e);
        std::memset(e, 0, sizeof *e);
    } else {
        if (b_tag_subAllocClear(cache->subTag, sizeof *e, &e) != sOKAY) return eNOMEMORY;
        cache->numentries++;
    }
    *out = e;
    return sOKAY;
}

// Gives an entry that is on no list and in no index back to the tag.
void cache_freeEntry(B_CACHE_T *cache, B_CACHE_ENTRY *e) {
    b_tag_subFree(cache->subTag, e);
    cache->numentries--;
}

// Disposes of every entry of one list, oldest first.
void cache_termList(B_CACHE_T *cache, bool modified, bool flush) {
    const CacheList l = cache_list(cache, modified);
    while (*l.lru != nullptr) {
        B_CACHE_ENTRY *e = *l.lru;
        if (flush) {
            (void)cache->zapper(e->id, e->data, ZEL_TRUE, cache->ctx);  // nobody to tell
        } else if (cache->terminator != nullptr) {
            cache->terminator(e->id, e->data, cache->ctx);
        }
        (void)b_avlDelete(&cache->avl, &e->avlNode);
        cache_unlink(cache, e);
        cache_freeEntry(cache, e);
    }
}

}  // namespace

extern "C" {

ZEL_RETCODE b_cacheInit(B_CACHE_T *cache, uint32_t maxentries, B_CACHE_LOADER loader,
                        B_CACHE_ZAPPER zapper, B_CACHE_TERMINATOR terminator, ZEL_BOOL_T sync,
                        void *ctx, B_TAG_SUB subTag) {
    if (cache == nullptr || loader == nullptr || zapper == nullptr || subTag == nullptr) {
        return eINVNULLARG;
    }
    // The mutex first, in place (it must not be copied): its failure leaves
    // the rest of the record alone.
    if (sync) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = psp_threadMutexInit(&cache->mutex));
    }
    cache->numentries = 0;
    cache->maxentries = maxentries;
    cache->loader = loader;
    cache->zapper = zapper;
    cache->terminator = terminator;
    cache->subTag = subTag;
    cache->ctx = ctx;
    cache->use_mutex = sync ? ZEL_TRUE : ZEL_FALSE;
    b_avlInit(&cache->avl, cache_compare, nullptr);
    cache->lru = cache->mru = nullptr;
    cache->modified_lru = cache->modified_mru = nullptr;
    return sOKAY;
}

void b_cacheTerm(B_CACHE_T *cache, ZEL_BOOL_T flush) {
    {
        const CacheLock lock(cache);
        cache_termList(cache, false, flush);
        cache_termList(cache, true, flush);
    }
    if (cache->use_mutex) psp_threadMutexTerm(&cache->mutex);
    cache->use_mutex = ZEL_FALSE;
    b_avlTerm(&cache->avl);
}

ZEL_RETCODE b_cacheGetEntry(B_CACHE_T *cache, B_CACHE_ID id, void *pdata, B_CACHE_HANDLE *phandle) {
    if (cache == nullptr || pdata == nullptr || phandle == nullptr) return eINVNULLARG;
    const CacheLock lock(cache);
    B_CACHE_ENTRY key;
    key.id = id;
    auto *e = reinterpret_cast<B_CACHE_ENTRY *>(b_avlFind(&cache->avl, &key.avlNode));
    if (e != nullptr) {
        e->hold_count++;
        cache_touchEntry(cache, e);
    } else {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = cache_findFreeEntry(cache, &e));
        e->id = id;
        e->hold_count = 1;
        void *data = nullptr;
        rc = cache->loader(id, &data, cache->ctx);
        if (rc != sOKAY) {
            // Nothing is cached for a block that did not load.
            cache_freeEntry(cache, e);
            return rc;
        }
        e->data = data;
        cache_append(cache, e);
        (void)b_avlAdd(&cache->avl, &e->avlNode);  // cannot be there: it missed
    }
    std::memcpy(pdata, &e->data, sizeof e->data);
    *phandle = e;
    return sOKAY;
}

void b_cacheReleaseEntry(B_CACHE_T *cache, B_CACHE_HANDLE handle, ZEL_BOOL_T modified) {
    if (handle == nullptr) return;
    const CacheLock lock(cache);
    auto *e = static_cast<B_CACHE_ENTRY *>(const_cast<void *>(handle));
    if (modified && !e->modified) {
        cache_unlink(cache, e);
        e->modified = ZEL_TRUE;
        cache_append(cache, e);
    }
    e->hold_count--;
}

ZEL_RETCODE b_cacheFlush(B_CACHE_T *cache) {
    const CacheLock lock(cache);
    for (B_CACHE_ENTRY *e = cache->modified_lru; e != nullptr; e = e->next_lru) {
        const ZEL_RETCODE rc = cache->zapper(e->id, e->data, ZEL_FALSE, cache->ctx);
        if (rc != sOKAY) return rc;
    }
    return sOKAY;
}

}  // extern "C"
