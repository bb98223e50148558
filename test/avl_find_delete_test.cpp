// avl_find_delete_test.cpp - b_avlDeleteFindOrNext against its model: on a
// twin tree built by the same inserts, b_avlFindOrNext then b_avlDelete of
// the node it gave. Both must remove the same key (std::set's lower_bound)
// and leave trees of the same shape, node for node: the same keys in order,
// each with the same balance and leaf flag, and the same key at the root.
// Lookups past the last key, equal keys and trees emptied are among them.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <set>
#include <vector>

#include "avl.h"

namespace {

struct Item {
    B_AVL_NODE_T link;
    uint64_t key;
};

ZEL_COMPARE itemCompare(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *) {
    const uint64_t a = reinterpret_cast<const Item *>(lookup)->key;
    const uint64_t b = reinterpret_cast<const Item *>(node)->key;
    return a < b ? ZEL_LT : (a > b ? ZEL_GT : ZEL_EQ);
}

uint64_t keyOf(const B_AVL_NODE_T *n) {
    return reinterpret_cast<const Item *>(n)->key;
}

// Keys in order, each with its tag bits (leaf flag and balance).
std::vector<std::pair<uint64_t, uintptr_t>> shape(const B_AVL_T &avl) {
    std::vector<std::pair<uint64_t, uintptr_t>> out;
    for (const B_AVL_NODE_T *n = b_avlFirst(&avl); n != nullptr; n = b_avlNext(n))
        out.emplace_back(keyOf(n), (n->left & 1) | (n->right & 3) << 1);
    return out;
}

TEST(AvlDeleteFindOrNext, SameTreeAsFindOrNextThenDelete) {
    std::mt19937_64 rng(3);
    for (int trial = 0; trial < 200; ++trial) {
        const size_t n = 1 + rng() % 300;
        std::vector<Item> a(n), b(n);
        B_AVL_T ta, tb;
        b_avlInit(&ta, itemCompare, nullptr);
        b_avlInit(&tb, itemCompare, nullptr);
        std::set<uint64_t> model;
        for (size_t i = 0; i < n; ++i) {
            const uint64_t key = 2 * (rng() % 1000);  // even keys; odd lookups miss
            a[i].key = b[i].key = key;
            const ZEL_RETCODE rc = b_avlAdd(&ta, &a[i].link);
            ASSERT_EQ(b_avlAdd(&tb, &b[i].link), rc);
            if (rc == sOKAY) model.insert(key);
        }
        for (size_t step = 0; step < n + 5; ++step) {
            Item lookup{};
            lookup.key = rng() % 2100;
            const auto want = model.lower_bound(lookup.key);
            B_AVL_NODE_T *got = b_avlDeleteFindOrNext(&ta, &lookup.link);
            B_AVL_NODE_T *next = b_avlFindOrNext(&tb, &lookup.link);
            if (want == model.end()) {
                EXPECT_EQ(got, nullptr);
                EXPECT_EQ(next, nullptr);
            } else {
                ASSERT_NE(got, nullptr);
                ASSERT_NE(next, nullptr);
                EXPECT_EQ(keyOf(got), *want);
                EXPECT_EQ(b_avlDelete(&tb, next), next);
                model.erase(want);
            }
            ASSERT_EQ(b_avlCount(&ta), model.size());
            ASSERT_EQ(shape(ta), shape(tb)) << "trial " << trial << " step " << step;
            if (ta.root != nullptr) {
                ASSERT_EQ(keyOf(ta.root), keyOf(tb.root));
            }
        }
    }
}

}  // namespace
