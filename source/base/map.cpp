/*
 * map.cpp - B_MAP_T: a key/value map on the B-tree of caller pointers.
 *
 * Each entry is a 16-byte B_MAP_ITEM from the map's tag, and the tree holds
 * pointers to the items, ordered through a compare that reads their keys; a
 * lookup is a B_MAP_ITEM on the stack. So the tree's cursor, its fast path for
 * nearby finds and its successor saved by a delete serve the map as they are.
 * Released items wait on a free list of up to 1000 for the next insert. With
 * the lock flag every public call holds the map's mutex throughout.
 */
#include "map.h"

#include <cstddef>
#include <cstring>

#include "btree.h"
#include "map_internal.h"

static_assert(sizeof(B_MAP_ITEM) == 16 && offsetof(B_MAP_ITEM, value) == 8);
static_assert(sizeof(B_MAP_ITEM_LIST) <= sizeof(B_MAP_ITEM), "a released item holds the link");

using namespace zel::detail;

namespace {

constexpr uint32_t kMapSlots = 32;  // entries a tree node holds

using MapGuard = MapLock<B_MAP_T>;

inline B_MAP_KEY map_keyOf(const void *item) {
    return static_cast<const B_MAP_ITEM *>(item)->key;
}

ZEL_COMPARE map_unsigned(const void *a, const void *b, const void *) {
    return map_keyOrder(map_keyOf(a), map_keyOf(b));
}

// The tree's ctx is the map itself, for the caller's function and ctx.
ZEL_COMPARE map_custom(const void *a, const void *b, const void *ctx) {
    const auto *m = static_cast<const B_MAP_T *>(ctx);
    return map_callerOrder(m->cmpFcn, map_keyOf(a), map_keyOf(b), m->ctx);
}

inline MapAvail map_avail(B_MAP_T *m) {
    return MapAvail{&m->avail, &m->availCount};
}

inline void map_release(B_MAP_T *m, B_MAP_ITEM *item) {
    map_itemGive(map_avail(m), m->subTag, item);
}

// The entry an operation found: key and value out, sOKAY; null is sNOTFOUND.
ZEL_RETCODE map_report(const void *found, B_MAP_KEY *key, B_MAP_VALUE *value) {
    if (found == nullptr) return sNOTFOUND;
    const auto *item = static_cast<const B_MAP_ITEM *>(found);
    if (key != nullptr) *key = item->key;
    if (value != nullptr) *value = item->value;
    return sOKAY;
}

ZEL_RETCODE map_set(B_MAP_T *m, B_MAP_KEY key, B_MAP_VALUE value) {
    const B_MAP_ITEM lookup{key, 0};
    if (auto *item = static_cast<B_MAP_ITEM *>(b_btFind(&m->bt, &lookup))) {
        item->value = value;
        return sOKAY;
    }
    void *p = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = map_itemTake(map_avail(m), m->subTag, sizeof(B_MAP_ITEM), &p));
    auto *item = static_cast<B_MAP_ITEM *>(p);
    item->key = key;
    item->value = value;
    if ((rc = b_btAdd(&m->bt, item)) < 0) map_release(m, item);
    return rc;
}

// A find of the tree (FindOrNext, FindOrPrev) with *key as the lookup.
ZEL_RETCODE map_findOr(B_MAP_T *m, void *(*find)(B_BTREE_T *, const void *), B_MAP_KEY *key,
                       B_MAP_VALUE *value) {
    if (m == nullptr || key == nullptr) return eINVNULLARG;
    const MapGuard lock(m);
    const B_MAP_ITEM lookup{*key, 0};
    return map_report(find(&m->bt, &lookup), key, value);
}

// A move of the cursor (First, Next, Prev).
ZEL_RETCODE map_step(B_MAP_T *m, void *(*step)(B_BTREE_T *), B_MAP_KEY *key, B_MAP_VALUE *value) {
    if (m == nullptr) return eINVNULLARG;
    const MapGuard lock(m);
    return map_report(step(&m->bt), key, value);
}

}  // namespace

extern "C" {

ZEL_RETCODE b_mapInit(B_MAP_T *map, uint32_t flags, B_MAP_KEY_COMPARE cmpFcn, const void *ctx,
                      B_TAG_SUB tag) {
    if (map == nullptr || tag == nullptr) return eINVNULLARG;
    if ((flags & ~B_MAP_FLAG_MUTEX) != 0) return eINVARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_btInit(&map->bt, cmpFcn != nullptr ? map_custom : map_unsigned, kMapSlots, map,
                            tag));
    map->use_mutex = (flags & B_MAP_FLAG_MUTEX) != 0 ? ZEL_TRUE : ZEL_FALSE;
    if (map->use_mutex && (rc = psp_threadMutexInit(&map->mutex)) < 0) {
        b_btTerm(&map->bt);
        return rc;
    }
    map->subTag = tag;
    map->cmpFcn = cmpFcn;
    map->ctx = ctx;
    map->avail = nullptr;
    map->availCount = 0;
    return sOKAY;
}

void b_mapTerm(B_MAP_T *map) {
    if (map == nullptr || map->subTag == nullptr) return;
    // The walk frees each item after the tree has stepped past it; stepping
    // never compares, so the tree does not read the items it has left.
    for (void *item = b_btFirst(&map->bt); item != nullptr;) {
        void *next = b_btNext(&map->bt);
        b_tag_subFree(map->subTag, item);
        item = next;
    }
    b_btTerm(&map->bt);
    map_avail(map).drain([map](void *item) { b_tag_subFree(map->subTag, item); });
    if (map->use_mutex) psp_threadMutexTerm(&map->mutex);
    std::memset(static_cast<void *>(map), 0, sizeof *map);
}

ZEL_RETCODE b_mapSet(B_MAP_T *map, B_MAP_KEY key, B_MAP_VALUE value) {
    if (map == nullptr) return eINVNULLARG;
    const MapGuard lock(map);
    return map_set(map, key, value);
}

ZEL_RETCODE b_mapFind(B_MAP_T *map, B_MAP_KEY key, B_MAP_VALUE *value) {
    if (map == nullptr) return eINVNULLARG;
    const MapGuard lock(map);
    const B_MAP_ITEM lookup{key, 0};
    return map_report(b_btFind(&map->bt, &lookup), nullptr, value);
}

ZEL_RETCODE b_mapFindOrNext(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return map_findOr(map, b_btFindOrNext, key, value);
}

ZEL_RETCODE b_mapFindOrPrev(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return map_findOr(map, b_btFindOrPrev, key, value);
}

ZEL_RETCODE b_mapDelete(B_MAP_T *map, B_MAP_KEY key, B_MAP_VALUE *value) {
    if (map == nullptr) return eINVNULLARG;
    const MapGuard lock(map);
    const B_MAP_ITEM lookup{key, 0};
    auto *item = static_cast<B_MAP_ITEM *>(b_btDelete(&map->bt, &lookup));
    const ZEL_RETCODE rc = map_report(item, nullptr, value);
    if (item != nullptr) map_release(map, item);
    return rc;
}

ZEL_RETCODE b_mapDeleteFirst(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value) {
    if (map == nullptr) return eINVNULLARG;
    const MapGuard lock(map);
    auto *item = static_cast<B_MAP_ITEM *>(b_btDeleteFirst(&map->bt));
    const ZEL_RETCODE rc = map_report(item, key, value);
    if (item != nullptr) map_release(map, item);
    return rc;
}

ZEL_RETCODE b_mapDeleteAll(B_MAP_T *map) {
    if (map == nullptr) return eINVNULLARG;
    const MapGuard lock(map);
    // Deleting from the front needs no allocation: the cursor's path is as
    // deep as the tree already.
    while (auto *item = static_cast<B_MAP_ITEM *>(b_btDeleteFirst(&map->bt))) {
        map_release(map, item);
    }
    return sOKAY;
}

ZEL_RETCODE b_mapFirst(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return map_step(map, b_btFirst, key, value);
}

ZEL_RETCODE b_mapNext(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return map_step(map, b_btNext, key, value);
}

ZEL_RETCODE b_mapPrev(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return map_step(map, b_btPrev, key, value);
}

ZEL_RETCODE b_mapCount(B_MAP_T *map, uint32_t *count) {
    if (map == nullptr || count == nullptr) return eINVNULLARG;
    const MapGuard lock(map);
    *count = b_btCount(&map->bt);
    return sOKAY;
}

ZEL_RETCODE b_mapIterate(B_MAP_T *map, B_MAP_ITERATE fcn) {
    if (map == nullptr || fcn == nullptr) return eINVNULLARG;
    const MapGuard lock(map);
    for (void *p = b_btFirst(&map->bt); p != nullptr; p = b_btNext(&map->bt)) {
        const auto *item = static_cast<const B_MAP_ITEM *>(p);
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = fcn(map->ctx, item->key, item->value));
    }
    return sOKAY;
}

}  // extern "C"
