/*
 * mapa.cpp - B_MAPA_T: a key/value map on the intrusive AVL tree.
 *
 * An entry is one 32-byte item, the tree's link first, then key and value,
 * so the tree needs no memory of its own and a position is just the item's
 * address. The AVL tree steps between neighbours by its threads without the
 * tree head and searches without writing, which is what lets every reading
 * function take a const map: readers share it freely while no one writes.
 * Released items wait on a free list of up to 1000 for the next insert.
 */
#include "mapa.h"

#include <cstddef>

#include "map_internal.h"

static_assert(offsetof(B_MAPA_ITEM, node) == 0, "the tree's link comes first");
static_assert(sizeof(B_MAPA_ITEM) == 32 && offsetof(B_MAPA_ITEM, key) == 16);

using namespace zel::detail;

namespace {

inline B_MAPA_ITEM *mapa_item(const B_AVL_NODE_T *node) {
    return reinterpret_cast<B_MAPA_ITEM *>(const_cast<B_AVL_NODE_T *>(node));
}

ZEL_COMPARE mapa_unsigned(const B_AVL_NODE_T *a, const B_AVL_NODE_T *b, void *) {
    return map_keyOrder(mapa_item(a)->key, mapa_item(b)->key);
}

// The tree's ctx is the map itself, for the caller's function and ctx.
ZEL_COMPARE mapa_custom(const B_AVL_NODE_T *a, const B_AVL_NODE_T *b, void *ctx) {
    const auto *m = static_cast<const B_MAPA_T *>(ctx);
    return map_callerOrder(m->cmpFcn, mapa_item(a)->key, mapa_item(b)->key, m->ctx);
}

inline MapAvail mapa_avail(B_MAPA_T *m) {
    return MapAvail{&m->avail, &m->availCount};
}

// A lookup item: the tree's searches read only its key.
inline B_MAPA_ITEM mapa_lookup(B_MAP_KEY key) {
    B_MAPA_ITEM item{};
    item.key = key;
    return item;
}

// The entry an operation found: key, value and position out, sOKAY; null is
// sNOTFOUND and touches nothing.
ZEL_RETCODE mapa_report(const B_AVL_NODE_T *found, B_MAP_KEY *key, B_MAP_VALUE *value,
                        B_MAPA_POS *pos) {
    if (found == nullptr) return sNOTFOUND;
    B_MAPA_ITEM *item = mapa_item(found);
    if (key != nullptr) *key = item->key;
    if (value != nullptr) *value = item->value;
    if (pos != nullptr) pos->node = item;
    return sOKAY;
}

// Takes a removed item out: value (and key) out, the item released.
ZEL_RETCODE mapa_remove(B_MAPA_T *m, B_AVL_NODE_T *removed, B_MAP_KEY *key, B_MAP_VALUE *value) {
    const ZEL_RETCODE rc = mapa_report(removed, key, value, nullptr);
    if (removed != nullptr) map_itemGive(mapa_avail(m), m->tag, removed);
    return rc;
}

ZEL_RETCODE mapa_findOr(const B_MAPA_T *m,
                        B_AVL_NODE_T *(*find)(const B_AVL_T *, const B_AVL_NODE_T *),
                        B_MAP_KEY *key, B_MAP_VALUE *value, B_MAPA_POS *pos) {
    const B_MAPA_ITEM lookup = mapa_lookup(*key);
    return mapa_report(find(&m->avl, &lookup.node), key, value, pos);
}

// Every item in order, each handed to `release` after the walk has left it
// (the threads step forward only, never back into a released item).
template <class Release>
void mapa_releaseAll(B_MAPA_T *m, Release &&release) {
    for (B_AVL_NODE_T *n = b_avlFirst(&m->avl); n != nullptr;) {
        B_AVL_NODE_T *next = b_avlNext(n);
        release(n);
        n = next;
    }
    b_avlInit(&m->avl, m->avl.cmpfcn, m->avl.ctx);
}

}  // namespace

extern "C" {

void b_mapaInit(B_MAPA_T *mapa, B_MAP_KEY_COMPARE cmpFcn, const void *ctx, B_TAG_SUB tag) {
    mapa->tag = tag;
    b_avlInit(&mapa->avl, cmpFcn != nullptr ? mapa_custom : mapa_unsigned, mapa);
    mapa->cmpFcn = cmpFcn;
    mapa->ctx = ctx;
    mapa->avail = nullptr;
    mapa->availCount = 0;
}

void b_mapaTerm(B_MAPA_T *mapa) {
    const auto free = [mapa](void *item) { b_tag_subFree(mapa->tag, item); };
    mapa_releaseAll(mapa, free);
    mapa_avail(mapa).drain(free);
    b_avlTerm(&mapa->avl);
}

ZEL_RETCODE b_mapaSet(B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE value) {
    return b_mapaSetEx(mapa, key, value, nullptr);
}

ZEL_RETCODE b_mapaSetEx(B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE value, B_MAP_VALUE *old) {
    const B_MAPA_ITEM lookup = mapa_lookup(key);
    if (B_AVL_NODE_T *found = b_avlFind(&mapa->avl, &lookup.node)) {
        B_MAPA_ITEM *item = mapa_item(found);
        if (old != nullptr) *old = item->value;
        item->value = value;
        return sOKAY;
    }
    void *p = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = map_itemTake(mapa_avail(mapa), mapa->tag, sizeof(B_MAPA_ITEM), &p));
    auto *item = static_cast<B_MAPA_ITEM *>(p);
    item->key = key;
    item->value = value;
    if ((rc = b_avlAdd(&mapa->avl, &item->node)) < 0) {
        map_itemGive(mapa_avail(mapa), mapa->tag, item);
        return rc;
    }
    if (old != nullptr) *old = 0;
    return sOKAY;
}

ZEL_RETCODE b_mapaFind(const B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE *value) {
    return b_mapaFindEx(mapa, key, value, nullptr);
}

ZEL_RETCODE b_mapaFindEx(const B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE *value, B_MAPA_POS *pos) {
    const B_MAPA_ITEM lookup = mapa_lookup(key);
    return mapa_report(b_avlFind(&mapa->avl, &lookup.node), nullptr, value, pos);
}

ZEL_RETCODE b_mapaFindOrNext(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return mapa_findOr(mapa, b_avlFindOrNext, key, value, nullptr);
}

ZEL_RETCODE b_mapaFindOrNextEx(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value,
                               B_MAPA_POS *pos) {
    return mapa_findOr(mapa, b_avlFindOrNext, key, value, pos);
}

ZEL_RETCODE b_mapaFindOrPrev(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return mapa_findOr(mapa, b_avlFindOrPrev, key, value, nullptr);
}

ZEL_RETCODE b_mapaFindOrPrevEx(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value,
                               B_MAPA_POS *pos) {
    return mapa_findOr(mapa, b_avlFindOrPrev, key, value, pos);
}

ZEL_RETCODE b_mapaDelete(B_MAPA_T *mapa, B_MAP_KEY key) {
    return b_mapaDeleteEx(mapa, key, nullptr);
}

ZEL_RETCODE b_mapaDeleteEx(B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE *value) {
    const B_MAPA_ITEM lookup = mapa_lookup(key);
    return mapa_remove(mapa, b_avlDelete(&mapa->avl, &lookup.node), nullptr, value);
}

ZEL_RETCODE b_mapaDeleteFirst(B_MAPA_T *mapa) {
    return b_mapaDeleteFirstEx(mapa, nullptr, nullptr);
}

ZEL_RETCODE b_mapaDeleteFirstEx(B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return mapa_remove(mapa, b_avlDeleteFirst(&mapa->avl), key, value);
}

void b_mapaDeleteAll(B_MAPA_T *mapa) {
    mapa_releaseAll(mapa, [mapa](void *item) { map_itemGive(mapa_avail(mapa), mapa->tag, item); });
}

ZEL_RETCODE b_mapaFirst(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return mapa_report(b_avlFirst(&mapa->avl), key, value, nullptr);
}

ZEL_RETCODE b_mapaFirstEx(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value,
                          B_MAPA_POS *pos) {
    return mapa_report(b_avlFirst(&mapa->avl), key, value, pos);
}

ZEL_RETCODE b_mapaLast(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return mapa_report(b_avlLast(&mapa->avl), key, value, nullptr);
}

ZEL_RETCODE b_mapaLastEx(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value,
                         B_MAPA_POS *pos) {
    return mapa_report(b_avlLast(&mapa->avl), key, value, pos);
}

ZEL_RETCODE b_mapaNext(const B_MAPA_T *, const B_MAPA_POS *curr, B_MAP_KEY *key, B_MAP_VALUE *value,
                       B_MAPA_POS *pos) {
    if (curr->node == nullptr) return sNOTFOUND;
    return mapa_report(b_avlNext(&curr->node->node), key, value, pos);
}

ZEL_RETCODE b_mapaPrev(const B_MAPA_T *, const B_MAPA_POS *curr, B_MAP_KEY *key, B_MAP_VALUE *value,
                       B_MAPA_POS *pos) {
    if (curr->node == nullptr) return sNOTFOUND;
    return mapa_report(b_avlPrev(&curr->node->node), key, value, pos);
}

uint64_t b_mapaCount(const B_MAPA_T *mapa) {
    return b_avlCount(&mapa->avl);
}

ZEL_RETCODE b_mapaIterate(const B_MAPA_T *mapa, B_MAP_ITERATE fcn) {
    for (const B_AVL_NODE_T *n = b_avlFirst(&mapa->avl); n != nullptr; n = b_avlNext(n)) {
        const B_MAPA_ITEM *item = mapa_item(n);
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = fcn(mapa->ctx, item->key, item->value));
    }
    return sOKAY;
}

}  // extern "C"
