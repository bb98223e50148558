// The "Ordered index and block cache" section of `zelbase demo`: a B-tree of
// four slots grows by splits and shrinks by a fold into its root, a forward
// walk deletes as it goes, and a cache of three blocks shows which block the
// loader brings and which the zapper writes or frees.
#include <cinttypes>
#include <cstdio>
#include <string>

#include "btree.h"
#include "cache.h"
#include "zelbase_cmds.h"

int zb_demo_btree(FILE *out);

namespace {

ZEL_COMPARE zb_demo_btree_compare(const void *a, const void *b, const void *) {
    const uint64_t x = *static_cast<const uint64_t *>(a);
    const uint64_t y = *static_cast<const uint64_t *>(b);
    return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
}

uint64_t zb_demo_btree_key(const void *p) {
    return *static_cast<const uint64_t *>(p);
}

int zb_demo_btree_tree(FILE *out, B_TAG_SUB sub) {
    static const uint64_t keys[21] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9, 10,
                                      11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    B_BTREE_T bt;
    if (b_btInit(&bt, zb_demo_btree_compare, 4, nullptr, sub) != sOKAY) return 1;
    int failed = 0;
    std::fprintf(out, "B-tree, 4 slots a node, keys added in order:\n");
    for (uint64_t k = 1; k <= 5; ++k) failed |= b_btAdd(&bt, &keys[k]) != sOKAY;
    std::fprintf(out, "  1..5: the fifth over-fills the root, which splits and keeps the middle\n");
    failed |= zb_btree_print(out, &bt, true);
    for (uint64_t k = 6; k <= 20; ++k) failed |= b_btAdd(&bt, &keys[k]) != sOKAY;
    std::fprintf(out, "  1..20: each full leaf split lifts its middle key into the parent\n");
    failed |= zb_btree_print(out, &bt, true);

    std::fprintf(out, "  a forward walk deleting every even key as it passes:");
    std::string deleted;
    for (void *p = b_btFirst(&bt); p != nullptr; p = b_btNext(&bt)) {
        std::fprintf(out, " %" PRIu64, zb_demo_btree_key(p));
        if (zb_demo_btree_key(p) % 2 == 0) {
            failed |= b_btDelete(&bt, p) != p;  // b_btNext then gives the successor once
            deleted += " " + std::to_string(zb_demo_btree_key(p));
        }
    }
    std::fprintf(out, "\n    deleted%s; %" PRIu32 " entries left\n", deleted.c_str(),
                 b_btCount(&bt));
    failed |= zb_btree_print(out, &bt, true);
    for (uint64_t k : {19, 17}) failed |= b_btDelete(&bt, &keys[k]) == nullptr;
    std::fprintf(out, "  deleting 19 and 17 merges two leaves around the root's key 13:\n");
    failed |= zb_btree_print(out, &bt, true);
    for (uint64_t k : {15, 13, 11, 9}) failed |= b_btDelete(&bt, &keys[k]) == nullptr;
    std::fprintf(
        out, "  deleting 15, 13, 11 (a rotation) and 9 folds the root's two children into it:\n");
    failed |= zb_btree_print(out, &bt, true);
    b_btTerm(&bt);
    return failed;
}

// Each callback prints what it does; blocks are the ids themselves.
struct zb_demo_btree_blocks {
    FILE *out;
    uint64_t data[8];
};

ZEL_RETCODE zb_demo_btree_load(B_CACHE_ID id, void **data, void *ctx) {
    auto *b = static_cast<zb_demo_btree_blocks *>(ctx);
    std::fprintf(b->out, "      load %" PRIu64 "\n", id);
    b->data[id] = id;
    *data = &b->data[id];
    return sOKAY;
}

ZEL_RETCODE zb_demo_btree_zap(B_CACHE_ID id, void *, ZEL_BOOL_T free_mem, void *ctx) {
    auto *b = static_cast<zb_demo_btree_blocks *>(ctx);
    std::fprintf(b->out, "      %s %" PRIu64 "\n",
                 free_mem ? "zap (write if needed, free)" : "write", id);
    return sOKAY;
}

int zb_demo_btree_cache(FILE *out, B_TAG_SUB sub) {
    zb_demo_btree_blocks blocks{out, {}};
    B_CACHE_T cache;
    if (b_cacheInit(&cache, 3, zb_demo_btree_load, zb_demo_btree_zap, nullptr, ZEL_FALSE, &blocks,
                    sub) != sOKAY) {
        return 1;
    }
    int failed = 0;
    auto use = [&](B_CACHE_ID id, bool modify, const char *what) {
        std::fprintf(out, "    get %" PRIu64 "%s%s\n", id, modify ? ", modify" : "", what);
        void *data = nullptr;
        B_CACHE_HANDLE h = nullptr;
        if (b_cacheGetEntry(&cache, id, &data, &h) != sOKAY || zb_demo_btree_key(data) != id) {
            failed = 1;
            return;
        }
        b_cacheReleaseEntry(&cache, h, modify ? ZEL_TRUE : ZEL_FALSE);
    };
    std::fprintf(out, "Block cache of 3 blocks:\n");
    use(1, false, "");
    use(2, true, "  (2 moves to the modified list)");
    use(3, false, "");
    use(1, false, "  (a hit: 1 becomes the newest clean block)");
    use(4, false, "  (full: the oldest unheld clean block goes)");
    use(5, false, "  (again; 2 is modified and stays)");
    std::fprintf(out, "    flush\n");
    failed |= b_cacheFlush(&cache) != sOKAY;
    std::fprintf(out, "    end, flushing: clean blocks first, oldest first\n");
    b_cacheTerm(&cache, ZEL_TRUE);
    return failed;
}

}  // namespace

int zb_demo_btree(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    return zb_demo_btree_tree(out, tags.sub) | zb_demo_btree_cache(out, tags.sub);
}
