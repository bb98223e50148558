// The "Spilling B-tree and item lists" section of `zelbase demo`: a cached
// B-tree of four slots that keeps two nodes in memory takes 30 keys, the rest
// going to its node file, with what that cost and its short walk; then an
// item list of 250 items in chunks of 100, where items 99 and 100 part, and a
// release that keeps one chunk.
#include <cinttypes>
#include <cstdio>

#include "itemlist.h"
#include "zelbase_cmds.h"

int zb_demo_cbtree(FILE *out);

namespace {

int zb_demo_cbtree_items(FILE *out, B_TAG_SUB sub) {
    B_POOL_T pool;
    b_poolInit(&pool, sub, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    B_ITEM_LIST list;
    if (b_itemListInit(&list, &pool, sub) != sOKAY) return 1;
    int failed = 0;
    for (uint32_t n = 0; n < 250 && failed == 0; ++n) {
        B_ITEM it{};
        it.drawerType = ZEL_DRAWER_TABLE;
        it.drawerId = 7;
        it.slot = 1000 + n;
        it.version = 42;
        it.state = B_ITEM_EVICT_UPDATE;
        it.format = ZEL_ITEM_FORMAT_COMPACT;
        if (n % 50 == 0) {  // a few with packed bytes, in buffers from the pool
            failed |= b_poolGetMem(&pool, sizeof(B_BUFFER_T), B_POOL_ALLOC_CLEAR, nullptr,
                                   &it.buffer) != sOKAY;
        }
        failed |= b_itemListAddItem(&list, &it) != sOKAY;
    }
    std::fprintf(out,
                 "Item list: %" PRIu32 " items of %zu bytes in chunks of %d; %" PRIu32
                 " places in %" PRIu64 " chunks\n",
                 list.num, sizeof(B_ITEM), B_ITEM_CHUNK_ITEMS, list.size,
                 b_avlCount(&list.avlChunks));
    for (uint32_t id : {99u, 100u, 249u}) {
        B_ITEM *it = nullptr;
        failed |= b_itemListGetItem(&list, id, &it) != sOKAY;
        if (it == nullptr) continue;
        std::fprintf(out,
                     "  item %-3" PRIu32 " chunk %" PRIu32 ", place %2" PRIu32 ": drawer %" PRIu32
                     ", slot %" PRIu64 "\n",
                     id, list.curr->id, id % B_ITEM_CHUNK_ITEMS, it->drawerId, it->slot);
    }
    B_ITEM *none = nullptr;
    std::fprintf(
        out, "  item 250: %s\n",
        b_itemListGetItem(&list, 250, &none) == sNOTFOUND ? "not found (past num)" : "found?");
    b_itemListRelease(&list);
    std::fprintf(out,
                 "  released: %" PRIu32 " items, %" PRIu32 " places kept in %" PRIu64
                 " chunk; %" PRIu32 " buffers back in the pool\n",
                 list.num, list.size, b_avlCount(&list.avlChunks), pool.count);
    b_itemListTerm(&list);
    b_poolTerm(&pool);
    return failed;
}

}  // namespace

int zb_demo_cbtree(FILE *out) {
    std::fprintf(out,
                 "A B-tree that keeps two of its nodes in memory; the others wait in its "
                 "node file.\nA node splits when it reaches its 4 slots; a walk ends at the "
                 "first child it must enter.\n");
    int failed = zb_cbtree_run(out, 4, 2, 30, false);
    const ZbTags tags;
    if (!tags.ok()) return 1;
    failed |= zb_demo_cbtree_items(out, tags.sub);
    return failed;
}
