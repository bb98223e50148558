/*
 * itemlist.cpp - item lists: 40-byte records in chunks of 100, chunk n
 * holding items 100n .. 100n + 99, found through an AVL tree by chunk
 * number. The one idea is `curr`, the chunk last touched: appends and
 * in-order reads stay in it and consult the tree only at a chunk border.
 * Releasing keeps the first chunk, so that a list filled and emptied again
 * and again goes to the allocator only when it outgrows 100 items.
 *
 * B_ITEM, five words:
 *   OFFSET  SIZE  MEANING
 *   0       4     drawerType
 *   4       4     drawerId
 *   8       8     slot
 *   16      8     version
 *   24      4     state
 *   28      4     format
 *   32      8     buffer
 */
#include "itemlist.h"

#include <cstddef>
#include <cstring>

#include "tag_sub.h"

static_assert(sizeof(B_ITEM) == 40, "an item is five words");
static_assert(offsetof(B_ITEM, drawerType) == 0 && offsetof(B_ITEM, drawerId) == 4 &&
              offsetof(B_ITEM, slot) == 8 && offsetof(B_ITEM, version) == 16 &&
              offsetof(B_ITEM, state) == 24 && offsetof(B_ITEM, format) == 28 &&
              offsetof(B_ITEM, buffer) == 32);
static_assert(offsetof(B_ITEM_CHUNK, node) == 0, "the AVL link comes first");
static_assert(sizeof(B_DRAWER_UPDATES) == 16);

namespace {

constexpr uint32_t kChunk = B_ITEM_CHUNK_ITEMS;
// The most places chunks can hold without `size` wrapping.
constexpr uint32_t kMaxSize = UINT32_MAX / kChunk * kChunk;

ZEL_COMPARE itemChunkCompare(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *) {
    const uint32_t a = reinterpret_cast<const B_ITEM_CHUNK *>(lookup)->id;
    const uint32_t b = reinterpret_cast<const B_ITEM_CHUNK *>(node)->id;
    return a < b ? ZEL_LT : (a > b ? ZEL_GT : ZEL_EQ);
}

// The chunk numbered `id` from the tree, which becomes `curr`; callers try
// `curr` first. A walk crossing into the next or previous chunk takes the
// neighbour of `curr` in the tree, a step or two instead of a search from the
// root through chunks all over memory.
B_ITEM_CHUNK *b_itemListChunk(B_ITEM_LIST *list, uint32_t id) {
    B_AVL_NODE_T *n = nullptr;
    if (list->curr != nullptr && id == list->curr->id + 1) {
        n = b_avlNext(&list->curr->node);
    } else if (list->curr != nullptr && id + 1 == list->curr->id) {
        n = b_avlPrev(&list->curr->node);
    }
    if (n == nullptr || reinterpret_cast<B_ITEM_CHUNK *>(n)->id != id) {
        B_ITEM_CHUNK lookup;
        lookup.id = id;
        n = b_avlFind(&list->avlChunks, &lookup.node);
    }
    auto *c = reinterpret_cast<B_ITEM_CHUNK *>(n);
    if (c != nullptr) list->curr = c;
    return c;
}

// b_itemListGetItem past `curr`, kept out of line so that the common case
// needs no stack frame.
[[gnu::noinline]] ZEL_RETCODE b_itemListGetFromTree(B_ITEM_LIST *list, uint32_t id,
                                                    B_ITEM **pItem) {
    B_ITEM_CHUNK *c = b_itemListChunk(list, id / kChunk);
    if (c == nullptr) return sNOTFOUND;
    *pItem = &c->items[id % kChunk];
    return sOKAY;
}

// Every buffer of the chunk back to the pool, the fields cleared.
void b_itemListClearChunk(B_ITEM_LIST *list, B_ITEM_CHUNK *c) {
    for (B_ITEM &item : c->items) {
        if (item.buffer != nullptr) {
            b_poolPut(list->pool, item.buffer);
            item.buffer = nullptr;
        }
    }
}

void b_itemListFreeChunk(B_ITEM_LIST *list, B_ITEM_CHUNK *c) {
    b_itemListClearChunk(list, c);
    b_tag_subFree(list->subTag, c);
    list->size -= kChunk;
}

}  // namespace

extern "C" {

ZEL_RETCODE b_itemListInit(B_ITEM_LIST *list, B_POOL_T *pool, B_TAG_SUB subTag) {
    if (list == nullptr || pool == nullptr || subTag == nullptr) return eINVNULLARG;
    std::memset(list, 0, sizeof *list);
    b_avlInit(&list->avlChunks, itemChunkCompare, nullptr);
    list->pool = pool;
    list->subTag = subTag;
    return sOKAY;
}

ZEL_RETCODE b_itemListAddItem(B_ITEM_LIST *list, const B_ITEM *item) {
    if (list == nullptr || item == nullptr) return eINVNULLARG;
    B_ITEM_CHUNK *c;
    if (list->num == list->size) {
        if (list->size == kMaxSize) return eRANGE;  // `num` would wrap
        ZEL_CHECK(b_tag_subAllocZero(list->subTag, sizeof *c, &c));
        c->id = list->size / kChunk;
        if (const ZEL_RETCODE rc = b_avlAdd(&list->avlChunks, &c->node); rc != sOKAY) {
            b_tag_subFree(list->subTag, c);
            return rc;
        }
        list->size += kChunk;
        list->curr = c;
    } else {
        c = list->curr;
        if (c == nullptr || c->id != list->num / kChunk) {
            c = b_itemListChunk(list, list->num / kChunk);
            if (c == nullptr) return eFAIL;  // a chunk below `size` is always there
        }
    }
    c->items[list->num % kChunk] = *item;
    list->num++;
    return sOKAY;
}

ZEL_RETCODE b_itemListGetItem(B_ITEM_LIST *list, uint32_t id, B_ITEM **pItem) {
    if (list == nullptr || pItem == nullptr) return eINVNULLARG;
    if (id >= list->num) return sNOTFOUND;
    if (B_ITEM_CHUNK *c = list->curr; c != nullptr) {
        const uint32_t place = id - c->id * kChunk;  // wraps past 100 below the chunk
        if (place < kChunk) {
            *pItem = &c->items[place];
            return sOKAY;
        }
    }
    return b_itemListGetFromTree(list, id, pItem);
}

void b_itemListRelease(B_ITEM_LIST *list) {
    while (b_avlCount(&list->avlChunks) > 1) {
        b_itemListFreeChunk(list,
                            reinterpret_cast<B_ITEM_CHUNK *>(b_avlDeleteLast(&list->avlChunks)));
    }
    list->curr = reinterpret_cast<B_ITEM_CHUNK *>(b_avlFirst(&list->avlChunks));
    if (list->curr != nullptr) b_itemListClearChunk(list, list->curr);
    list->num = 0;
}

void b_itemListTerm(B_ITEM_LIST *list) {
    if (list->subTag == nullptr) return;
    while (B_AVL_NODE_T *n = b_avlDeleteFirst(&list->avlChunks)) {
        b_itemListFreeChunk(list, reinterpret_cast<B_ITEM_CHUNK *>(n));
    }
    b_avlTerm(&list->avlChunks);
    list->curr = nullptr;
    list->subTag = nullptr;
    list->pool = nullptr;
    list->num = 0;
    list->size = 0;
}

}  // extern "C"
