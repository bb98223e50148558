/*
 * mapb.cpp - B_MAPB_T: a key/value map for dense keys, 64 keys a node.
 *
 * The block of key k starts at k with its low six bits cleared and holds k's
 * value at index k & 63, present when that bit of its bitmap is set. Blocks
 * sit in an AVL tree by `start`; a block in the tree is never empty, so a
 * step to the next key looks at most at the rest of this block and the first
 * bit of the next. The reading functions write nothing, so readers share it.
 *
 * A block is 544 bytes, which the tag would serve from its 672-byte class. So
 * blocks come from pages the map takes from its tag, seven a page (9.1 bytes
 * a key when full): a freed block returns to its page, found by masking its
 * address, and a page goes back to the tag when its last block does. Released
 * blocks first wait on the map's free list of up to 1000, as for every map.
 *
 * Page of blocks (a one-page run of the tag, so page-aligned):
 *   OFFSET        SIZE  MEANING
 *   0             32    B_MAPB_SLAB_S: list links, free blocks, live and cut counts
 *   32            256   unused
 *   288 + 544*i   544   block i, i = 0..6, cut in order, reused from the free chain
 */
#include "mapb.h"

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstring>

#include "map_internal.h"

using zel::detail::MapAvail;

// A page of blocks, linked into the map's list while it has room.
struct B_MAPB_SLAB_S {
    B_MAPB_SLAB_S *prev;
    B_MAPB_SLAB_S *next;
    B_MAP_ITEM_LIST *free; /* blocks given back */
    uint32_t live;         /* blocks out: in the tree or on the map's free list */
    uint32_t carved;       /* blocks cut from the page so far */
};

namespace {

using Slab = B_MAPB_SLAB_S;
constexpr size_t kBlock = sizeof(B_MAPB_ITEM);
constexpr uint32_t kSlabBlocks = (B_PAGE_SIZE - sizeof(Slab)) / kBlock;
constexpr size_t kFirstBlock = B_PAGE_SIZE - kSlabBlocks * kBlock;

static_assert(kBlock == 544 && offsetof(B_MAPB_ITEM, start) == 16 &&
                  offsetof(B_MAPB_ITEM, used_bitmap) == 24 && offsetof(B_MAPB_ITEM, values) == 32,
              "a block is its link, start, bitmap and 64 values");
static_assert(sizeof(Slab) == 32 && kSlabBlocks == B_MAPB_PAGE_BLOCKS && kFirstBlock == 288);
static_assert(B_PAGE_SIZE > B_TAG_SUB_SMALL_MAX, "a page is a page run: page-aligned");

constexpr B_MAP_KEY kLowBits = 63;

// ---------------------------------------------------------------- pages

Slab *mapb_slabOf(const void *block) {
    return reinterpret_cast<Slab *>(reinterpret_cast<uintptr_t>(block) &
                                    ~uintptr_t{B_PAGE_SIZE - 1});
}

bool mapb_slabHasRoom(const Slab *s) {
    return s->free != nullptr || s->carved < kSlabBlocks;
}

void mapb_slabUnlink(B_MAPB_T *m, Slab *s) {
    (s->prev != nullptr ? s->prev->next : m->partial) = s->next;
    if (s->next != nullptr) s->next->prev = s->prev;
}

void mapb_slabLink(B_MAPB_T *m, Slab *s) {
    s->prev = nullptr;
    s->next = m->partial;
    if (m->partial != nullptr) m->partial->prev = s;
    m->partial = s;
}

// A block from the first page with room, or from a new page.
ZEL_RETCODE mapb_blockCut(B_MAPB_T *m, void **out) {
    Slab *s = m->partial;
    if (s == nullptr) {
        void *page = nullptr;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_tag_subAlloc(m->subTag, B_PAGE_SIZE, &page));
        assert((reinterpret_cast<uintptr_t>(page) & (B_PAGE_SIZE - 1)) == 0);
        s = static_cast<Slab *>(page);
        std::memset(static_cast<void *>(s), 0, sizeof *s);
        mapb_slabLink(m, s);
    }
    void *block;
    if (s->free != nullptr) {
        block = s->free;
        s->free = s->free->next;
    } else {
        block = reinterpret_cast<uint8_t *>(s) + kFirstBlock + s->carved * kBlock;
        s->carved++;
    }
    s->live++;
    if (!mapb_slabHasRoom(s)) mapb_slabUnlink(m, s);
    *out = block;
    return sOKAY;
}

// A block back to its page; the page back to the tag when it was the last.
void mapb_blockFree(B_MAPB_T *m, void *block) {
    Slab *s = mapb_slabOf(block);
    const bool listed = mapb_slabHasRoom(s);
    auto *link = static_cast<B_MAP_ITEM_LIST *>(block);
    link->next = s->free;
    s->free = link;
    s->live--;
    if (s->live == 0) {
        if (listed) mapb_slabUnlink(m, s);
        b_tag_subFree(m->subTag, s);
    } else if (!listed) {
        mapb_slabLink(m, s);
    }
}

inline MapAvail mapb_avail(B_MAPB_T *m) {
    return MapAvail{&m->avail, &m->availCount};
}

ZEL_RETCODE mapb_blockTake(B_MAPB_T *m, B_MAPB_ITEM **out) {
    void *block = mapb_avail(m).pop();
    if (block == nullptr) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = mapb_blockCut(m, &block));
    }
    *out = static_cast<B_MAPB_ITEM *>(block);
    return sOKAY;
}

void mapb_blockGive(B_MAPB_T *m, B_MAPB_ITEM *block) {
    if (!mapb_avail(m).push(block)) mapb_blockFree(m, block);
}

// ---------------------------------------------------------------- tree

inline B_MAPB_ITEM *mapb_block(const B_AVL_NODE_T *node) {
    return reinterpret_cast<B_MAPB_ITEM *>(const_cast<B_AVL_NODE_T *>(node));
}

// What a search compares: a lookup carries only the link and the start.
struct MapbLookup {
    B_AVL_NODE_T node;
    B_MAP_KEY start;
};
static_assert(offsetof(MapbLookup, start) == offsetof(B_MAPB_ITEM, start));

inline B_MAP_KEY mapb_startOf(const B_AVL_NODE_T *node) {
    B_MAP_KEY start;
    std::memcpy(&start, reinterpret_cast<const uint8_t *>(node) + offsetof(B_MAPB_ITEM, start),
                sizeof start);
    return start;
}

ZEL_COMPARE mapb_compare(const B_AVL_NODE_T *a, const B_AVL_NODE_T *b, void *) {
    return zel::detail::map_keyOrder(mapb_startOf(a), mapb_startOf(b));
}

inline MapbLookup mapb_lookup(B_MAP_KEY key) {
    return MapbLookup{{0, 0}, key & ~kLowBits};
}

inline B_MAPB_ITEM *mapb_find(const B_MAPB_T *m, B_MAP_KEY key) {
    const MapbLookup lookup = mapb_lookup(key);
    return mapb_block(b_avlFind(&m->avl, &lookup.node));
}

inline uint64_t mapb_bit(unsigned offset) {
    return uint64_t{1} << offset;
}

// The lowest set bit at `from` or above, the highest at `from` or below;
// -1 when there is none.
inline int mapb_firstFrom(uint64_t bitmap, unsigned from) {
    const uint64_t rest = bitmap & (~uint64_t{0} << from);
    return rest == 0 ? -1 : std::countr_zero(rest);
}
inline int mapb_lastFrom(uint64_t bitmap, unsigned from) {
    const uint64_t rest = bitmap & (~uint64_t{0} >> (63 - from));
    return rest == 0 ? -1 : 63 - std::countl_zero(rest);
}

// Key `offset` of `block` found: key, value and position out. A null block
// is sNOTFOUND and touches nothing.
ZEL_RETCODE mapb_report(const B_MAPB_ITEM *block, int offset, B_MAP_KEY *key, B_MAP_VALUE *value,
                        B_MAPB_POS *pos) {
    if (block == nullptr) return sNOTFOUND;
    if (key != nullptr) *key = block->start + static_cast<B_MAP_KEY>(offset);
    if (value != nullptr) *value = block->values[offset];
    if (pos != nullptr) {
        pos->node = const_cast<B_MAPB_ITEM *>(block);
        pos->offset = static_cast<uint8_t>(offset);
    }
    return sOKAY;
}

// The lowest or highest key of a block of the tree (never empty), or of null.
ZEL_RETCODE mapb_reportFirst(const B_AVL_NODE_T *node, B_MAP_KEY *key, B_MAP_VALUE *value,
                             B_MAPB_POS *pos) {
    const B_MAPB_ITEM *b = mapb_block(node);
    return mapb_report(b, b == nullptr ? 0 : std::countr_zero(b->used_bitmap), key, value, pos);
}
ZEL_RETCODE mapb_reportLast(const B_AVL_NODE_T *node, B_MAP_KEY *key, B_MAP_VALUE *value,
                            B_MAPB_POS *pos) {
    const B_MAPB_ITEM *b = mapb_block(node);
    return mapb_report(b, b == nullptr ? 0 : 63 - std::countl_zero(b->used_bitmap), key, value,
                       pos);
}

// One walking direction: the tree search for the block at or beyond, the
// neighbour, the scan within a block from a bit, and the block's edge.
struct MapbWay {
    B_AVL_NODE_T *(*findOr)(const B_AVL_T *, const B_AVL_NODE_T *);
    B_AVL_NODE_T *(*step)(const B_AVL_NODE_T *);
    int (*scan)(uint64_t, unsigned);
    unsigned edge;  // the bit a neighbouring block is scanned from
    ZEL_RETCODE (*reportEdge)(const B_AVL_NODE_T *, B_MAP_KEY *, B_MAP_VALUE *, B_MAPB_POS *);
};
constexpr MapbWay kUp{b_avlFindOrNext, b_avlNext, mapb_firstFrom, 0, mapb_reportFirst};
constexpr MapbWay kDown{b_avlFindOrPrev, b_avlPrev, mapb_lastFrom, 63, mapb_reportLast};

// Find or next (prev): the key's own block from the key's bit on, any other
// block from its edge; with no bit there, the neighbour's first (last) key.
ZEL_RETCODE mapb_findOr(const B_MAPB_T *m, const MapbWay &way, B_MAP_KEY *key, B_MAP_VALUE *value,
                        B_MAPB_POS *pos) {
    const MapbLookup lookup = mapb_lookup(*key);
    const B_MAPB_ITEM *b = mapb_block(way.findOr(&m->avl, &lookup.node));
    if (b == nullptr) return sNOTFOUND;
    const unsigned from = b->start == lookup.start ? unsigned(*key & kLowBits) : way.edge;
    const int bit = way.scan(b->used_bitmap, from);
    if (bit >= 0) return mapb_report(b, bit, key, value, pos);
    return way.reportEdge(way.step(&b->node), key, value, pos);
}

// Next or prev from a position: the offset moves one place, into the
// neighbouring block past either end; the nearest bit from there, else the
// neighbour's edge (one step: blocks in the tree are never empty).
ZEL_RETCODE mapb_move(const B_MAPB_POS *curr, const MapbWay &way, int delta, B_MAP_KEY *key,
                      B_MAP_VALUE *value, B_MAPB_POS *pos) {
    const B_MAPB_ITEM *b = curr->node;
    if (b == nullptr) return sNOTFOUND;
    const int offset = int{curr->offset} + delta;
    if (offset < 0 || offset > 63) return way.reportEdge(way.step(&b->node), key, value, pos);
    const int bit = way.scan(b->used_bitmap, static_cast<unsigned>(offset));
    if (bit >= 0) return mapb_report(b, bit, key, value, pos);
    return way.reportEdge(way.step(&b->node), key, value, pos);
}

// Clears key `offset` of a block of the tree; an emptied block leaves it.
void mapb_clear(B_MAPB_T *m, B_MAPB_ITEM *b, int offset) {
    b->used_bitmap &= ~mapb_bit(static_cast<unsigned>(offset));
    m->count--;
    if (b->used_bitmap == 0) {
        (void)b_avlDelete(&m->avl, &b->node);
        mapb_blockGive(m, b);
    }
}

// Every block in order, each handed to `release` after the walk has left it.
template <class Release>
void mapb_releaseAll(B_MAPB_T *m, Release &&release) {
    for (B_AVL_NODE_T *n = b_avlFirst(&m->avl); n != nullptr;) {
        B_AVL_NODE_T *next = b_avlNext(n);
        release(mapb_block(n));
        n = next;
    }
    b_avlInit(&m->avl, mapb_compare, nullptr);
    m->count = 0;
}

}  // namespace

extern "C" {

void b_mapbInit(B_MAPB_T *mapb, const void *ctx, B_TAG_SUB tag) {
    mapb->subTag = tag;
    b_avlInit(&mapb->avl, mapb_compare, nullptr);
    mapb->ctx = ctx;
    mapb->avail = nullptr;
    mapb->availCount = 0;
    mapb->count = 0;
    mapb->partial = nullptr;
}

void b_mapbTerm(B_MAPB_T *mapb) {
    const auto free = [mapb](void *block) { mapb_blockFree(mapb, block); };
    mapb_releaseAll(mapb, free);
    mapb_avail(mapb).drain(free);
    assert(mapb->partial == nullptr);  // every page went back with its last block
    b_avlTerm(&mapb->avl);
}

ZEL_RETCODE b_mapbSet(B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE value) {
    return b_mapbSetEx(mapb, key, value, nullptr);
}

ZEL_RETCODE b_mapbSetEx(B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE value, B_MAP_VALUE *old) {
    const auto offset = static_cast<unsigned>(key & kLowBits);
    const uint64_t bit = mapb_bit(offset);
    B_MAP_VALUE was = 0;
    if (B_MAPB_ITEM *b = mapb_find(mapb, key)) {
        if ((b->used_bitmap & bit) != 0) {
            was = b->values[offset];
        } else {
            b->used_bitmap |= bit;
            mapb->count++;
        }
        b->values[offset] = value;
    } else {
        // A new block: only this key's value is defined.
        B_MAPB_ITEM *nb = nullptr;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = mapb_blockTake(mapb, &nb));
        nb->start = key & ~kLowBits;
        nb->used_bitmap = bit;
        nb->values[offset] = value;
        if ((rc = b_avlAdd(&mapb->avl, &nb->node)) < 0) {
            mapb_blockGive(mapb, nb);
            return rc;
        }
        mapb->count++;
    }
    if (old != nullptr) *old = was;
    return sOKAY;
}

ZEL_RETCODE b_mapbFind(const B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE *value) {
    return b_mapbFindEx(mapb, key, value, nullptr);
}

ZEL_RETCODE b_mapbFindEx(const B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE *value, B_MAPB_POS *pos) {
    const B_MAPB_ITEM *b = mapb_find(mapb, key);
    const auto offset = static_cast<int>(key & kLowBits);
    if (b == nullptr || (b->used_bitmap & mapb_bit(unsigned(offset))) == 0) return sNOTFOUND;
    return mapb_report(b, offset, nullptr, value, pos);
}

ZEL_RETCODE b_mapbFindOrNext(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return mapb_findOr(mapb, kUp, key, value, nullptr);
}

ZEL_RETCODE b_mapbFindOrNextEx(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value,
                               B_MAPB_POS *pos) {
    return mapb_findOr(mapb, kUp, key, value, pos);
}

ZEL_RETCODE b_mapbFindOrPrev(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return mapb_findOr(mapb, kDown, key, value, nullptr);
}

ZEL_RETCODE b_mapbFindOrPrevEx(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value,
                               B_MAPB_POS *pos) {
    return mapb_findOr(mapb, kDown, key, value, pos);
}

ZEL_RETCODE b_mapbDelete(B_MAPB_T *mapb, B_MAP_KEY key) {
    return b_mapbDeleteEx(mapb, key, nullptr);
}

ZEL_RETCODE b_mapbDeleteEx(B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE *value) {
    B_MAPB_ITEM *b = mapb_find(mapb, key);
    const auto offset = static_cast<int>(key & kLowBits);
    if (b == nullptr || (b->used_bitmap & mapb_bit(unsigned(offset))) == 0) return sNOTFOUND;
    if (value != nullptr) *value = b->values[offset];
    mapb_clear(mapb, b, offset);
    return sOKAY;
}

ZEL_RETCODE b_mapbDeleteFirst(B_MAPB_T *mapb) {
    return b_mapbDeleteFirstEx(mapb, nullptr, nullptr);
}

ZEL_RETCODE b_mapbDeleteFirstEx(B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value) {
    B_MAPB_ITEM *b = mapb_block(b_avlFirst(&mapb->avl));
    if (b == nullptr) return sNOTFOUND;
    const int offset = std::countr_zero(b->used_bitmap);
    (void)mapb_report(b, offset, key, value, nullptr);
    mapb_clear(mapb, b, offset);
    return sOKAY;
}

void b_mapbDeleteAll(B_MAPB_T *mapb) {
    mapb_releaseAll(mapb, [mapb](B_MAPB_ITEM *b) { mapb_blockGive(mapb, b); });
}

ZEL_RETCODE b_mapbFirst(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return mapb_reportFirst(b_avlFirst(&mapb->avl), key, value, nullptr);
}

ZEL_RETCODE b_mapbFirstEx(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value,
                          B_MAPB_POS *pos) {
    return mapb_reportFirst(b_avlFirst(&mapb->avl), key, value, pos);
}

ZEL_RETCODE b_mapbLast(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value) {
    return mapb_reportLast(b_avlLast(&mapb->avl), key, value, nullptr);
}

ZEL_RETCODE b_mapbLastEx(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value,
                         B_MAPB_POS *pos) {
    return mapb_reportLast(b_avlLast(&mapb->avl), key, value, pos);
}

ZEL_RETCODE b_mapbNext(const B_MAPB_T *, const B_MAPB_POS *curr, B_MAP_KEY *key, B_MAP_VALUE *value,
                       B_MAPB_POS *pos) {
    return mapb_move(curr, kUp, +1, key, value, pos);
}

ZEL_RETCODE b_mapbPrev(const B_MAPB_T *, const B_MAPB_POS *curr, B_MAP_KEY *key, B_MAP_VALUE *value,
                       B_MAPB_POS *pos) {
    return mapb_move(curr, kDown, -1, key, value, pos);
}

uint64_t b_mapbCount(const B_MAPB_T *mapb) {
    return mapb->count;
}

ZEL_RETCODE b_mapbIterate(const B_MAPB_T *mapb, B_MAP_ITERATE fcn) {
    for (const B_AVL_NODE_T *n = b_avlFirst(&mapb->avl); n != nullptr; n = b_avlNext(n)) {
        const B_MAPB_ITEM *b = mapb_block(n);
        for (uint64_t bits = b->used_bitmap; bits != 0; bits &= bits - 1) {
            const int offset = std::countr_zero(bits);
            ZEL_RETCODE rc;
            ZEL_CHECK(rc = fcn(mapb->ctx, b->start + B_MAP_KEY(offset), b->values[offset]));
        }
    }
    return sOKAY;
}

}  // extern "C"
