/*
 * vcache.cpp - the versioned object cache.
 *
 * An entry is one object with a chain of images (versions), newest first.
 * Each modified image also sits in the list of the mark (savepoint) it was
 * written under, so that the work of a rollback or a fold is the length of
 * one mark's list, never a walk of the cache. The one idea: an image is
 * copied only when a newer mark writes an object that an older mark wrote,
 * so a transaction without savepoints modifies objects in place, and the
 * clean image is given up at the first write (a rollback of that write
 * removes the entry, and the caller loads it again).
 *
 * Clean entries live in an age list, newest first, from which unheld ones
 * are evicted once the cache reaches max_entries; modified entries leave it
 * for btModified, ordered for the commit, and are never evicted.
 */
#include "vcache.h"

#include <cstddef>
#include <cstring>

#include "btree.h"
#include "tag_sub.h"

static_assert(offsetof(B_VSUBCACHE_T, avlSubcachesNode) == 0,
              "the AVL node is the subcache's address");
static_assert(offsetof(ZEL_DRAWER_INFO, drawerType) == 0 &&
                  offsetof(ZEL_DRAWER_INFO, add_list) == 4 && sizeof(ZEL_DRAWER_INFO) == 8,
              "the head of the engine's drawer record");

namespace {

constexpr uint32_t kDefaultMaxEntries = 1000;
constexpr uint32_t kTreeSlots = 32;
// Path levels of the deepest tree of 32 slots that a 32-bit count allows (a
// tree of depth 9 holds over 2 * 17^8 entries), sized at init so that no
// search of a tree ever needs memory.
constexpr uint32_t kTreePath = 10;
constexpr int16_t kMaxHolds = INT16_MAX;

// ---------------------------------------------------------------- orders

ZEL_COMPARE vcache_cmp(uint64_t a, uint64_t b) {
    return a < b ? ZEL_LT : (a > b ? ZEL_GT : ZEL_EQ);
}

// A subcache's tree: id ascending. The lookup may be an entry with only
// `id` set.
ZEL_COMPARE vcacheIdCompare(const void *a, const void *b, const void *) {
    return vcache_cmp(static_cast<const B_VCACHE_ENTRY_T *>(a)->id,
                      static_cast<const B_VCACHE_ENTRY_T *>(b)->id);
}

ZEL_DRAWER_INFO *vcache_drawer(const B_VCACHE_ENTRY_T *e) {
    return static_cast<ZEL_DRAWER_INFO *>(const_cast<void *>(e->subcache->userdata));
}

// btModified: drawerType high first, then the subcache's address, then id.
ZEL_COMPARE vcacheCompare(const void *a, const void *b, const void *) {
    const auto *x = static_cast<const B_VCACHE_ENTRY_T *>(a);
    const auto *y = static_cast<const B_VCACHE_ENTRY_T *>(b);
    const int dx = vcache_drawer(x)->drawerType, dy = vcache_drawer(y)->drawerType;
    if (dx != dy) return dx > dy ? ZEL_LT : ZEL_GT;
    if (x->subcache != y->subcache) {
        return vcache_cmp(reinterpret_cast<uintptr_t>(x->subcache),
                          reinterpret_cast<uintptr_t>(y->subcache));
    }
    return vcache_cmp(x->id, y->id);
}

ZEL_COMPARE vcache_subcacheCmp(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *) {
    return vcache_cmp(reinterpret_cast<uintptr_t>(lookup), reinterpret_cast<uintptr_t>(node));
}

// A tree of entries whose path will never grow: b_btInit and the path, or
// nothing held.
ZEL_RETCODE vcache_treeInit(B_BTREE_T *bt, B_BT_COMPARE cmp, B_TAG_SUB subTag) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_btInit(bt, cmp, kTreeSlots, nullptr, subTag));
    if (bt->pathsize < kTreePath) {
        void *path = nullptr;
        if (b_tag_subAllocOrReallocClear(subTag, bt->path, bt->pathsize * sizeof(B_BTREE_PATH),
                                         kTreePath * sizeof(B_BTREE_PATH), &path) != sOKAY) {
            b_btTerm(bt);
            return eNOMEMORY;
        }
        bt->path = static_cast<B_BTREE_PATH *>(path);
        bt->pathsize = kTreePath;
    }
    return sOKAY;
}

// ---------------------------------------------------------------- lists

void vcache_ageUnlink(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    (e->newer != nullptr ? e->newer->older : c->newest) = e->older;
    (e->older != nullptr ? e->older->newer : c->oldest) = e->newer;
    e->newer = e->older = nullptr;
}

void vcache_agePushNewest(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    e->newer = nullptr;
    e->older = c->newest;
    (c->newest != nullptr ? c->newest->newer : c->oldest) = e;
    c->newest = e;
}

void vcache_agePushOldest(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    e->older = nullptr;
    e->newer = c->oldest;
    (c->oldest != nullptr ? c->oldest->older : c->newest) = e;
    c->oldest = e;
}

// moveEntryToMRU
void vcache_touch(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    if (e->modified != 0 || c->newest == e) return;
    vcache_ageUnlink(c, e);
    vcache_agePushNewest(c, e);
}

// addToVersionList
void vcache_markLink(B_VCACHE_MARK_T *m, B_VCACHE_VERSION_T *v) {
    v->mark = m;
    v->prev_in_mark = nullptr;
    v->next_in_mark = m->versions;
    if (m->versions != nullptr) m->versions->prev_in_mark = v;
    m->versions = v;
}

void vcache_markUnlink(B_VCACHE_VERSION_T *v) {
    (v->prev_in_mark != nullptr ? v->prev_in_mark->next_in_mark : v->mark->versions) =
        v->next_in_mark;
    if (v->next_in_mark != nullptr) v->next_in_mark->prev_in_mark = v->prev_in_mark;
    v->mark = nullptr;
    v->next_in_mark = v->prev_in_mark = nullptr;
}

// ---------------------------------------------------------------- giving back

void vcache_releaseObj(B_VCACHE_T *c, void *obj) {
    if (c->dstrfcn != nullptr) c->dstrfcn(obj, c->user_ctx);
    b_poolPut(&c->objPool, obj);
}

void vcache_discardVersion(B_VCACHE_T *c, B_VCACHE_VERSION_T *v) {
    if (v->mark != nullptr) vcache_markUnlink(v);
    vcache_releaseObj(c, v->obj);
    b_poolPut(&c->verPool, v);
}

// Every image and the entry itself.
void vcache_freeEntry(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    for (B_VCACHE_VERSION_T *v = e->curr_version; v != nullptr;) {
        B_VCACHE_VERSION_T *older = v->older;
        vcache_discardVersion(c, v);
        v = older;
    }
    b_poolPut(&c->entryPool, e);
}

// Out of its subcache and freed; the caller has taken it out of the age list
// or btModified. A holder's count goes with it, so that num_held stays the
// number of held entries.
void vcache_discardEntry(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    B_VSUBCACHE_T *sc = e->subcache;
    if (sc->last == e) sc->last = nullptr;
    (void)b_btDelete(&sc->btree, e);
    if (e->hold_count != 0) c->num_held--;
    vcache_freeEntry(c, e);
    c->num_entries--;
}

void vcache_clearEntry(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    if (e->modified != 0) {
        (void)b_btDelete(&c->btModified, e);
    } else {
        vcache_ageUnlink(c, e);
    }
    vcache_discardEntry(c, e);
}

// ---------------------------------------------------------------- taking

// A new entry with one clean image: everything comes back on a failure.
ZEL_RETCODE vcache_allocEntry(B_VCACHE_T *c, B_VCACHE_ENTRY_T **pe) {
    B_VCACHE_ENTRY_T *e = nullptr;
    B_VCACHE_VERSION_T *v = nullptr;
    void *obj = nullptr;
    if (b_poolGetMem(&c->entryPool, sizeof *e, B_POOL_ALLOC_CLEAR, nullptr, &e) != sOKAY) {
        return eNOMEMORY;
    }
    if (b_poolGetMem(&c->verPool, sizeof *v, B_POOL_ALLOC_CLEAR, nullptr, &v) != sOKAY) {
        b_poolPut(&c->entryPool, e);
        return eNOMEMORY;
    }
    ZEL_RETCODE rc = b_poolGetMem(&c->objPool, c->obj_size, B_POOL_ALLOC, nullptr, &obj);
    if (rc == sOKAY && c->cstrfcn != nullptr) {
        rc = c->cstrfcn(obj, nullptr, c->user_ctx);
        if (rc != sOKAY) b_poolPut(&c->objPool, obj);
    }
    if (rc != sOKAY) {
        b_poolPut(&c->verPool, v);
        b_poolPut(&c->entryPool, e);
        return rc;
    }
    v->obj = obj;
    v->entry = e;
    e->curr_version = v;
    e->cache = c;
    *pe = e;
    return sOKAY;
}

// makeNewVersion: a copy of the current image at the head of the chain.
ZEL_RETCODE vcache_newVersion(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    B_VCACHE_VERSION_T *curr = e->curr_version, *v = nullptr;
    void *obj = nullptr;
    if (b_poolGetMem(&c->verPool, sizeof *v, B_POOL_ALLOC_CLEAR, nullptr, &v) != sOKAY) {
        return eNOMEMORY;
    }
    // Without a constructor the copy is the bytes of the image.
    const B_POOL_ALLOC_OPT mode = c->cstrfcn != nullptr ? B_POOL_ALLOC_CLEAR : B_POOL_ALLOC_COPY;
    ZEL_RETCODE rc = b_poolGetMem(&c->objPool, c->obj_size, mode, curr->obj, &obj);
    if (rc == sOKAY && c->cstrfcn != nullptr) {
        rc = c->cstrfcn(obj, curr->obj, c->user_ctx);
        if (rc != sOKAY) b_poolPut(&c->objPool, obj);
    }
    if (rc != sOKAY) {
        b_poolPut(&c->verPool, v);
        return rc;
    }
    v->obj = obj;
    v->entry = e;
    v->older = curr;
    curr->newer = v;
    e->curr_version = v;
    return sOKAY;
}

// The entry's current image becomes the image under the current mark. On a
// failure nothing has changed.
ZEL_RETCODE vcache_markModified(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    if (e->curr_version->mark == c->curr_mark) return sOKAY;  // rewritten in place
    ZEL_RETCODE rc;
    if (e->modified != 0) {
        ZEL_CHECK(rc = vcache_newVersion(c, e));
    } else {
        // The add comes first, so that its failure leaves the entry clean.
        ZEL_CHECK(rc = b_btAdd(&c->btModified, e));
        c->num_modified++;
        e->modified = 1;
        vcache_ageUnlink(c, e);
        // Kept: the first modification makes no copy, so the clean image is
        // given up and a rollback of it removes the entry.
    }
    vcache_markLink(c->curr_mark, e->curr_version);
    return sOKAY;
}

// ensureCacheSpace: evicts the oldest clean entries nobody holds while the
// cache is at its limit and holds enough unmodified entries.
void vcache_makeRoom(B_VCACHE_T *c) {
    while (c->num_entries >= c->max_entries) {
        // Kept: 32-bit unsigned, so a num_modified above num_entries (after
        // b_vcacheClearSubcache) never stops the eviction here.
        if (c->num_entries - c->num_modified < (c->max_entries >> 1)) return;
        B_VCACHE_ENTRY_T *e = c->oldest;
        while (e != nullptr && (e->hold_count != 0 || e->curr_version->mark != nullptr)) {
            e = e->newer;
        }
        if (e == nullptr) return;
        vcache_ageUnlink(c, e);
        vcache_discardEntry(c, e);
    }
}

// What every find does once it has the entry: mark it or touch it, then hold
// it. `image` is the version to hand back, or null for the current one.
ZEL_RETCODE vcache_hold(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e, ZEL_BOOL_T for_write,
                        const B_VCACHE_VERSION_T *image, void *pobj,
                        B_VCACHE_ITEM_HANDLE *phandle) {
    if (e->hold_count >= kMaxHolds) return eRANGE;
    if (for_write) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = vcache_markModified(c, e));
    } else {
        vcache_touch(c, e);
    }
    if (e->hold_count++ == 0) c->num_held++;
    void *obj = (image != nullptr ? image : e->curr_version)->obj;
    std::memcpy(pobj, &obj, sizeof obj);
    *phandle = e;
    return sOKAY;
}

ZEL_RETCODE vcache_args(const B_VSUBCACHE_T *sc, const void *pobj, const void *phandle) {
    return sc == nullptr || pobj == nullptr || phandle == nullptr || sc->cache == nullptr
               ? eINVNULLARG
               : sOKAY;
}

// The tree's search, on a stack entry with only `id` set.
B_VCACHE_ENTRY_T *vcache_search(B_VSUBCACHE_T *sc, uint64_t id,
                                void *(*find)(B_BTREE_T *, const void *)) {
    B_VCACHE_ENTRY_T key{};
    key.id = id;
    auto *e = static_cast<B_VCACHE_ENTRY_T *>(find(&sc->btree, &key));
    if (e != nullptr) sc->last = e;
    return e;
}

// vcacheFindEntry, vcacheFindOrNextEntry, vcacheFindOrPrevEntry: `last`
// first, without touching the tree (whose cursor stays where it was).
B_VCACHE_ENTRY_T *vcache_lookup(B_VSUBCACHE_T *sc, uint64_t id,
                                void *(*find)(B_BTREE_T *, const void *)) {
    if (sc->last != nullptr && sc->last->id == id) return sc->last;  // kept: cursor untouched
    return vcache_search(sc, id, find);
}

// The oldest image of the first unbroken run that fcn calls visible,
// counted from the newest, or null. An image under no mark is clean and
// never visible.
const B_VCACHE_VERSION_T *vcache_visible(const B_VCACHE_ENTRY_T *e, uint64_t version,
                                         B_VCACHE_FIND_VERSION fcn) {
    const B_VCACHE_VERSION_T *image = nullptr;
    for (const B_VCACHE_VERSION_T *v = e->curr_version; v != nullptr; v = v->older) {
        if (v->mark != nullptr && fcn(v->mark->markCtx, version)) {
            image = v;
        } else if (image != nullptr) {
            break;
        }
    }
    return image;
}

// ---------------------------------------------------------------- marks

// Folds mark `m`, already off the stack, into `target` (the mark below it),
// then frees it. An image whose next older image is under the target
// supersedes it: the older version keeps its place and takes the newer
// object, so that the object pointer a holder has stays valid.
void vcache_foldMark(B_VCACHE_T *c, B_VCACHE_MARK_T *m, B_VCACHE_MARK_T *target) {
    while (B_VCACHE_VERSION_T *v = m->versions) {
        vcache_markUnlink(v);
        B_VCACHE_VERSION_T *o = v->older;
        if (o == nullptr || o->mark != target) {
            vcache_markLink(target, v);
            continue;
        }
        vcache_releaseObj(c, o->obj);
        o->obj = v->obj;
        B_VCACHE_ENTRY_T *e = v->entry;
        if (e->curr_version == v) {
            e->curr_version = o;
            o->newer = nullptr;
        } else {
            v->newer->older = o;
            o->newer = v->newer;
        }
        b_poolPut(&c->verPool, v);
    }
    b_tag_subFree(c->subTag, m);
}

// The topmost mark named ctx, and the one above it.
B_VCACHE_MARK_T *vcache_findMark(B_VCACHE_T *c, const void *ctx, B_VCACHE_MARK_T **above) {
    B_VCACHE_MARK_T *up = nullptr;
    for (B_VCACHE_MARK_T *m = c->curr_mark; m != nullptr; up = m, m = m->older) {
        if (m->markCtx == ctx) {
            if (above != nullptr) *above = up;
            return m;
        }
    }
    return nullptr;
}

// Undoes one image of the top mark, which is its entry's current one (the
// marks above were undone first): the next older image becomes current, or
// the entry, left with none, is thrown away.
void vcache_undoVersion(B_VCACHE_T *c, B_VCACHE_VERSION_T *v) {
    B_VCACHE_ENTRY_T *e = v->entry;
    vcache_markUnlink(v);
    e->curr_version = v->older;
    if (v->older != nullptr) v->older->newer = nullptr;
    vcache_releaseObj(c, v->obj);
    b_poolPut(&c->verPool, v);
    if (e->curr_version == nullptr) {
        c->num_modified--;
        (void)b_btDelete(&c->btModified, e);
        vcache_discardEntry(c, e);
    }
}

// commitVersion: the current image becomes the clean one.
void vcache_commitVersion(B_VCACHE_T *c, B_VCACHE_ENTRY_T *e) {
    B_VCACHE_VERSION_T *v = e->curr_version;
    for (B_VCACHE_VERSION_T *o = v->older; o != nullptr;) {
        B_VCACHE_VERSION_T *next = o->older;
        vcache_discardVersion(c, o);
        o = next;
    }
    v->older = nullptr;
    vcache_markUnlink(v);
    c->num_modified--;
    e->modified = 0;
}

// A commit reaches, for each entry, the entry, its image and the object, one
// through the next. The three entries after the cursor are fetched ahead,
// each a stage further along that chain, so that the loads overlap; the
// cursor is free to move, since each round starts again from the end.
void vcache_prefetchAhead(B_BTREE_T *mod, bool back) {
    void *(*step)(B_BTREE_T *) = back ? b_btPrev : b_btNext;
    const auto *n1 = static_cast<const B_VCACHE_ENTRY_T *>(step(mod));
    if (n1 == nullptr) return;
    __builtin_prefetch(n1->curr_version->obj);
    const auto *n2 = static_cast<const B_VCACHE_ENTRY_T *>(step(mod));
    if (n2 == nullptr) return;
    __builtin_prefetch(n2->curr_version);
    if (const void *n3 = step(mod)) __builtin_prefetch(n3);
}

}  // namespace

extern "C" {

ZEL_RETCODE b_vcacheInit(B_VCACHE_T *cache, uint32_t max_entries, size_t obj_size,
                         B_VCACHE_CSTR cstrfcn, B_VCACHE_DSTR dstrfcn, B_VCACHE_CONVERT convertfcn,
                         B_VCACHE_FULL fullfcn, B_VCACHE_COMMIT commitfcn, const void *user_ctx,
                         B_TAG_SUB subTag) {
    if (cache == nullptr || fullfcn == nullptr || commitfcn == nullptr || subTag == nullptr) {
        return eINVNULLARG;
    }
    B_VCACHE_T c{};
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = vcache_treeInit(&c.btModified, vcacheCompare, subTag));
    c.max_entries = max_entries != 0 ? max_entries : kDefaultMaxEntries;
    c.obj_size = obj_size;
    c.subTag = subTag;
    c.convertfcn = convertfcn;
    c.cstrfcn = cstrfcn;
    c.dstrfcn = dstrfcn;
    c.fullfcn = fullfcn;
    c.commitfcn = commitfcn;
    c.user_ctx = user_ctx;
    b_poolInit(&c.entryPool, subTag, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    b_poolInit(&c.verPool, subTag, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    b_poolInit(&c.objPool, subTag, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    b_avlInit(&c.avlSubcaches, vcache_subcacheCmp, nullptr);
    // The tree's path holds no pointer into the record yet: it may move.
    *cache = c;
    cache->curr_mark = &cache->default_mark;
    return sOKAY;
}

void b_vcacheTerm(B_VCACHE_T *cache) {
    if (cache == nullptr || cache->subTag == nullptr) return;
    for (B_VCACHE_ENTRY_T *e = cache->oldest; e != nullptr;) {
        B_VCACHE_ENTRY_T *newer = e->newer;
        vcache_freeEntry(cache, e);
        e = newer;
    }
    // Modified entries too, every image through dstrfcn: a cache owns what
    // its pools gave out. The walk reads the tree's structure, not its order.
    for (void *p = b_btFirst(&cache->btModified); p != nullptr; p = b_btNext(&cache->btModified)) {
        vcache_freeEntry(cache, static_cast<B_VCACHE_ENTRY_T *>(p));
    }
    while (cache->curr_mark != &cache->default_mark) {
        B_VCACHE_MARK_T *m = cache->curr_mark;
        cache->curr_mark = m->older;
        b_tag_subFree(cache->subTag, m);
    }
    while (B_AVL_NODE_T *n = b_avlDeleteFirst(&cache->avlSubcaches)) {
        auto *sc = reinterpret_cast<B_VSUBCACHE_T *>(n);
        b_btTerm(&sc->btree);
        sc->cache = nullptr;
        sc->userdata = nullptr;
        sc->last = nullptr;
    }
    b_btTerm(&cache->btModified);
    b_poolTerm(&cache->entryPool);
    b_poolTerm(&cache->verPool);
    b_poolTerm(&cache->objPool);
    std::memset(cache, 0, sizeof *cache);
}

ZEL_RETCODE b_vcacheAddSubcache(B_VCACHE_T *cache, const void *userdata, B_VSUBCACHE_T *subcache) {
    if (cache == nullptr || userdata == nullptr || subcache == nullptr) return eINVNULLARG;
    if (b_avlFind(&cache->avlSubcaches, &subcache->avlSubcachesNode) != nullptr) return eDUPLICATE;
    B_BTREE_T bt;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = vcache_treeInit(&bt, vcacheIdCompare, cache->subTag));
    subcache->cache = cache;
    subcache->userdata = userdata;
    subcache->last = nullptr;
    subcache->btree = bt;
    return b_avlAdd(&cache->avlSubcaches, &subcache->avlSubcachesNode);  // cannot fail: not found
}

void b_vcacheRemoveSubcache(B_VCACHE_T *cache, B_VSUBCACHE_T *subcache) {
    if (cache == nullptr || subcache == nullptr || subcache->cache != cache) return;
    b_vcacheClearSubcache(subcache);
    (void)b_avlDelete(&cache->avlSubcaches, &subcache->avlSubcachesNode);
    b_btTerm(&subcache->btree);
    subcache->cache = nullptr;
    subcache->userdata = nullptr;
    subcache->last = nullptr;
}

void b_vcacheClearSubcache(B_VSUBCACHE_T *subcache) {
    if (subcache == nullptr || subcache->cache == nullptr) return;
    // Kept: num_modified is not lowered here, as b_vcacheDiscard lowers it;
    // b_vcacheGetModifiedCount reads the tree.
    while (void *p = b_btFirst(&subcache->btree)) {
        vcache_clearEntry(subcache->cache, static_cast<B_VCACHE_ENTRY_T *>(p));
    }
}

ZEL_RETCODE b_vcacheConvertSubcache(B_VSUBCACHE_T *subcache) {
    if (subcache == nullptr || subcache->cache == nullptr) return eINVNULLARG;
    const B_VCACHE_CONVERT fcn = subcache->cache->convertfcn;
    if (fcn == nullptr) return sOKAY;
    for (void *p = b_btFirst(&subcache->btree); p != nullptr; p = b_btNext(&subcache->btree)) {
        if (fcn(static_cast<B_VCACHE_ENTRY_T *>(p)->curr_version->obj, nullptr) != sOKAY) break;
    }
    return sOKAY;  // kept: sOKAY after a failure too, which callers rely on
}

ZEL_RETCODE b_vcacheAdd(B_VSUBCACHE_T *subcache, uint64_t id, ZEL_BOOL_T for_write, void *pobj,
                        B_VCACHE_ITEM_HANDLE *phandle) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = vcache_args(subcache, pobj, phandle));
    B_VCACHE_T *c = subcache->cache;
    // Kept: 32-bit unsigned arithmetic, as the limit has always been tested.
    if ((c->num_held + c->num_modified) * 100u / c->max_entries > 80u) {
        rc = c->fullfcn(c->num_modified, c->user_ctx);
        if (rc != sOKAY) return rc;
        // fullfcn may have committed: nothing read before it is used after.
    }
    vcache_makeRoom(c);
    B_VCACHE_ENTRY_T *e = nullptr;
    ZEL_CHECK(rc = vcache_allocEntry(c, &e));
    e->subcache = subcache;
    e->id = id;
    if ((rc = b_btAdd(&subcache->btree, e)) != sOKAY) {
        vcache_freeEntry(c, e);
        return rc;
    }
    subcache->last = e;
    vcache_agePushNewest(c, e);
    c->num_entries++;
    return vcache_hold(c, e, for_write, nullptr, pobj, phandle);
}

ZEL_RETCODE b_vcacheFindVersion(B_VSUBCACHE_T *subcache, uint64_t id, ZEL_BOOL_T for_write,
                                uint64_t version, B_VCACHE_FIND_VERSION fcn, void *pobj,
                                B_VCACHE_ITEM_HANDLE *phandle) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = vcache_args(subcache, pobj, phandle));
    B_VCACHE_ENTRY_T *e = vcache_lookup(subcache, id, b_btFind);
    if (e == nullptr) return sNOTFOUND;
    const B_VCACHE_VERSION_T *image = nullptr;
    if (version != 0 && fcn != nullptr && (image = vcache_visible(e, version, fcn)) == nullptr) {
        return sNOTFOUND;
    }
    return vcache_hold(subcache->cache, e, for_write, image, pobj, phandle);
}

ZEL_RETCODE b_vcacheFindOr(B_VSUBCACHE_T *subcache, uint64_t id, ZEL_DIRECTION dir,
                           ZEL_BOOL_T for_write, void *pobj, B_VCACHE_ITEM_HANDLE *phandle) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = vcache_args(subcache, pobj, phandle));
    B_VCACHE_ENTRY_T *e =
        vcache_lookup(subcache, id, dir == ZEL_FORWARD ? b_btFindOrNext : b_btFindOrPrev);
    if (e == nullptr) return sNOTFOUND;
    return vcache_hold(subcache->cache, e, for_write, nullptr, pobj, phandle);
}

ZEL_RETCODE b_vcacheNext(B_VSUBCACHE_T *subcache, ZEL_DIRECTION dir, ZEL_BOOL_T for_write,
                         void *pobj, B_VCACHE_ITEM_HANDLE *phandle) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = vcache_args(subcache, pobj, phandle));
    void *p = dir == ZEL_FORWARD ? b_btNext(&subcache->btree) : b_btPrev(&subcache->btree);
    if (p == nullptr) return sNOTFOUND;
    auto *e = static_cast<B_VCACHE_ENTRY_T *>(p);
    subcache->last = e;
    return vcache_hold(subcache->cache, e, for_write, nullptr, pobj, phandle);
}

void b_vcacheRelease(B_VCACHE_ITEM_HANDLE handle) {
    if (handle == nullptr || handle->hold_count <= 0) return;
    B_VCACHE_T *c = handle->cache;
    if (--handle->hold_count != 0) return;
    c->num_held--;
    if (handle->modified == 1) {
        // Fetched for writing and never confirmed: no image of it can be
        // trusted, so every one goes, not only the current.
        c->num_modified--;
        vcache_clearEntry(c, handle);
    }
}

ZEL_RETCODE b_vcacheWrite(B_VCACHE_ITEM_HANDLE handle) {
    if (handle == nullptr) return eINVNULLARG;
    if (handle->hold_count <= 0) return eINVARG;
    if (--handle->hold_count == 0) handle->cache->num_held--;
    if (handle->modified == 1) handle->modified = 2;
    return sOKAY;
}

void b_vcacheDiscard(B_VCACHE_ITEM_HANDLE handle) {
    if (handle == nullptr || handle->hold_count <= 0) return;
    B_VCACHE_T *c = handle->cache;
    if (--handle->hold_count != 0) return;
    c->num_held--;
    if (handle->modified >= 1) {
        c->num_modified--;
        vcache_clearEntry(c, handle);
    }
}

ZEL_RETCODE b_vcacheSetMark(B_VCACHE_T *cache, const void *markCtx) {
    if (cache == nullptr || markCtx == nullptr) return eINVNULLARG;
    B_VCACHE_MARK_T *m = nullptr;
    if (b_tag_subAllocClear(cache->subTag, sizeof *m, &m) != sOKAY) return eNOMEMORY;
    m->markCtx = markCtx;
    m->older = cache->curr_mark;
    cache->curr_mark = m;
    return sOKAY;
}

ZEL_RETCODE b_vcacheUpdateMarkCtx(B_VCACHE_T *cache, const void *oldMarkCtx,
                                  const void *newMarkCtx) {
    // A null name would reach the bottom mark, whose name must stay null.
    if (cache == nullptr || oldMarkCtx == nullptr || newMarkCtx == nullptr) return eINVNULLARG;
    if (B_VCACHE_MARK_T *m = vcache_findMark(cache, oldMarkCtx, nullptr)) m->markCtx = newMarkCtx;
    return sOKAY;
}

ZEL_RETCODE b_vcacheReleaseMark(B_VCACHE_T *cache, const void *markCtx) {
    if (cache == nullptr || markCtx == nullptr) return eINVNULLARG;
    B_VCACHE_MARK_T *above = nullptr;
    B_VCACHE_MARK_T *m = vcache_findMark(cache, markCtx, &above);
    if (m == nullptr) return sOKAY;
    (above != nullptr ? above->older : cache->curr_mark) = m->older;
    vcache_foldMark(cache, m, m->older);  // never the bottom mark: its name is null
    return sOKAY;
}

ZEL_RETCODE b_vcacheRollback(B_VCACHE_T *cache, const void *markCtx) {
    if (cache == nullptr) return eINVNULLARG;
    B_VCACHE_MARK_T *target = &cache->default_mark;
    if (markCtx != nullptr && (target = vcache_findMark(cache, markCtx, nullptr)) == nullptr) {
        return sNOTFOUND;
    }
    for (;;) {
        B_VCACHE_MARK_T *m = cache->curr_mark;
        while (m->versions != nullptr) vcache_undoVersion(cache, m->versions);
        if (m == target) return sOKAY;
        cache->curr_mark = m->older;
        b_tag_subFree(cache->subTag, m);
    }
}

ZEL_RETCODE b_vcacheCommit(B_VCACHE_DIRECTION dir, B_VCACHE_T *cache) {
    if (cache == nullptr) return eINVNULLARG;
    const bool back = dir == B_VCACHE_BACKWARD;
    B_BTREE_T *mod = &cache->btModified;
    const ZEL_DRAWER_INFO *seen = nullptr;
    for (;;) {
        // Each round starts again from the end: the delete moved the cursor.
        // Held entries stay modified, and an entry whose image has no mark
        // is stepped over, lest it be found again and again.
        auto *e = static_cast<B_VCACHE_ENTRY_T *>(back ? b_btLast(mod) : b_btFirst(mod));
        bool atEnd = true;
        while (e != nullptr && (e->hold_count > 0 || e->curr_version->mark == nullptr)) {
            e = static_cast<B_VCACHE_ENTRY_T *>(back ? b_btPrev(mod) : b_btNext(mod));
            atEnd = false;
        }
        if (e == nullptr) break;
        vcache_prefetchAhead(mod, back);
        ZEL_DRAWER_INFO *di = vcache_drawer(e);
        if (di != seen) {
            di->add_list = ZEL_TRUE;
            seen = di;
        }
        ZEL_RETCODE rc = cache->commitfcn(di, e->id, e->curr_version->obj, cache->user_ctx);
        if (rc != sOKAY) return rc;
        // At the end the entry goes without a search; past held ones the
        // search fails only if the order broke under the tree.
        void *gone =
            atEnd ? (back ? b_btDeleteLast(mod) : b_btDeleteFirst(mod)) : b_btDelete(mod, e);
        if (gone != e) return eSYS_ERROR;
        vcache_commitVersion(cache, e);
        if (cache->num_entries > cache->max_entries) {
            vcache_discardEntry(cache, e);
        } else {
            // Kept: committed entries go to the old end, first to be evicted.
            vcache_agePushOldest(cache, e);
        }
    }
    // Every mark folds into the bottom one, so that the images of held
    // entries keep a live mark.
    while (cache->curr_mark != &cache->default_mark) {
        B_VCACHE_MARK_T *m = cache->curr_mark;
        cache->curr_mark = m->older;
        vcache_foldMark(cache, m, m->older);
    }
    return sOKAY;
}

uint32_t b_vcacheGetModifiedCount(const B_VCACHE_T *cache) {
    return cache != nullptr ? b_btCount(&cache->btModified) : 0;
}

}  // extern "C"
