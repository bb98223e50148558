// Threaded AVL tree: random operations against a std::set model, with the
// shape, balance and threads decoded from the tag bits and checked after
// every step, plus the corner cases of deletion and lookup.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <string>
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

// Decodes the tags independently of the library: leaf flag in bit 0 of
// `left`, balance + 1 in bits 0-1 of `right`.
struct Decoded {
    B_AVL_NODE_T *left, *right;
    bool leftChild, rightChild;
    int balance;
};

Decoded decode(const B_AVL_NODE_T *n) {
    const bool leaf = (n->left & 1) != 0;
    const int balance = static_cast<int>(n->right & 3) - 1;
    return {reinterpret_cast<B_AVL_NODE_T *>(n->left & ~uintptr_t{1}),
            reinterpret_cast<B_AVL_NODE_T *>(n->right & ~uintptr_t{3}), !leaf || balance < 0,
            !leaf || balance > 0, balance};
}

class Checker {
  public:
    // Empty string when the tree is sound and holds exactly the model's keys
    // in the records items[key].
    std::string check(const B_AVL_T &avl, const std::set<uint64_t> &model, const Item *items) {
        order_.clear();
        error_.clear();
        if (avl.root != nullptr) height(avl.root, 0);
        if (!error_.empty()) return error_;
        if (avl.count != order_.size()) return "count differs from the nodes reachable";
        if (model.size() != order_.size()) return "tree and model differ in size";
        size_t i = 0;
        for (uint64_t key : model) {
            if (order_[i] != &items[key].link) return "wrong record at " + std::to_string(key);
            ++i;
        }
        for (i = 0; i < order_.size(); ++i) {
            const Decoded d = decode(order_[i]);
            const B_AVL_NODE_T *prev = i > 0 ? order_[i - 1] : nullptr;
            const B_AVL_NODE_T *next = i + 1 < order_.size() ? order_[i + 1] : nullptr;
            if (!d.leftChild && d.left != prev) return "bad predecessor thread";
            if (!d.rightChild && d.right != next) return "bad successor thread";
        }
        const B_AVL_NODE_T *n = b_avlFirst(&avl);
        for (i = 0; i < order_.size(); ++i, n = b_avlNext(n)) {
            if (n != order_[i]) return "forward walk differs";
        }
        if (n != nullptr) return "forward walk too long";
        n = b_avlLast(&avl);
        for (i = order_.size(); i-- > 0; n = b_avlPrev(n)) {
            if (n != order_[i]) return "reverse walk differs";
        }
        if (n != nullptr) return "reverse walk too long";
        return {};
    }

  private:
    int height(const B_AVL_NODE_T *n, int depth) {
        if (depth > 64) {
            error_ = "cycle or runaway depth";
            return 0;
        }
        if ((n->right & 3) == 3) error_ = "balance bits 3";
        const Decoded d = decode(n);
        if ((d.leftChild && d.left == nullptr) || (d.rightChild && d.right == nullptr)) {
            error_ = "child pointer is null";
            return 0;
        }
        const int hl = d.leftChild ? height(d.left, depth + 1) : 0;
        if (!order_.empty() && reinterpret_cast<const Item *>(order_.back())->key >=
                                   reinterpret_cast<const Item *>(n)->key) {
            error_ = "keys out of order";
        }
        order_.push_back(n);
        const int hr = d.rightChild ? height(d.right, depth + 1) : 0;
        if (hr - hl != d.balance && error_.empty()) error_ = "balance does not match heights";
        return 1 + (hl > hr ? hl : hr);
    }

    std::vector<const B_AVL_NODE_T *> order_;
    std::string error_;
};

struct Harness {
    explicit Harness(size_t keys) : items(keys) {
        for (size_t i = 0; i < keys; ++i) items[i].key = i;
        b_avlInit(&avl, itemCompare, nullptr);
    }
    // A separate lookup record whose link fields hold a pattern that a
    // search must leave alone.
    Item lookup(uint64_t key) {
        Item l;
        std::memset(&l.link, 0xA5, sizeof l.link);
        l.key = key;
        return l;
    }
    std::string check() { return checker.check(avl, model, items.data()); }
    B_AVL_NODE_T *expect(std::set<uint64_t>::const_iterator it) {
        return it == model.end() ? nullptr : &items[*it].link;
    }

    std::vector<Item> items;
    std::set<uint64_t> model;
    B_AVL_T avl;
    Checker checker;
};

// One random operation, checked against the model. `grow` biases towards
// inserting. Returns a description of the first mismatch, or "".
std::string randomStep(Harness &h, std::mt19937_64 &rng, bool grow) {
    const uint64_t key = rng() % h.items.size();
    const unsigned op = rng() % 10;
    Item look = h.lookup(key);
    const B_AVL_NODE_T linkBefore = look.link;
    auto it = h.model.find(key);
    const bool present = it != h.model.end();
    B_AVL_NODE_T *want = present ? &h.items[key].link : nullptr;
    B_AVL_NODE_T *got = nullptr;
    if (op < (grow ? 6u : 3u)) {
        if (present) {
            const uint64_t count = h.avl.count;
            if (b_avlAdd(&h.avl, &look.link) != eDUPLICATE) return "duplicate accepted";
            if (h.avl.count != count) return "count raised by a duplicate";
            return {};
        }
        if (b_avlAdd(&h.avl, &h.items[key].link) != sOKAY) return "add failed";
        h.model.insert(key);
        return {};
    }
    switch (op) {
        case 3:
            got = b_avlFind(&h.avl, &look.link);
            break;
        case 4:
            got = b_avlFindOrNext(&h.avl, &look.link);
            want = h.expect(h.model.lower_bound(key));
            break;
        case 5: {
            got = b_avlFindOrPrev(&h.avl, &look.link);
            auto ub = h.model.upper_bound(key);
            want = ub == h.model.begin() ? nullptr : h.expect(std::prev(ub));
            break;
        }
        case 6:
        case 7:
            if (op == 6 || !present) {
                B_AVL_NODE_T *next = &look.link;  // must be overwritten
                got = b_avlDeleteAndGetNext(&h.avl, &look.link, &next);
                B_AVL_NODE_T *wantNext = present ? h.expect(std::next(it)) : nullptr;
                if (next != wantNext) return "wrong next from delete";
            } else {
                got = b_avlDelete(&h.avl, &look.link);
            }
            if (present) h.model.erase(key);
            break;
        default:
            if (rng() & 1) {
                want = h.expect(h.model.begin());
                got = b_avlDeleteFirst(&h.avl);
                if (!h.model.empty()) h.model.erase(h.model.begin());
            } else {
                want = h.model.empty() ? nullptr : h.expect(std::prev(h.model.end()));
                got = b_avlDeleteLast(&h.avl);
                if (!h.model.empty()) h.model.erase(std::prev(h.model.end()));
            }
            break;
    }
    if (got != want) return "op " + std::to_string(op) + " on key " + std::to_string(key);
    if (std::memcmp(&linkBefore, &look.link, sizeof linkBefore) != 0) return "lookup touched";
    return {};
}

TEST(AvlRandom, MatchesModelWithInvariantsAfterEveryStep) {
    for (uint64_t seed : {1u, 2u, 3u, 77u, 20261122u}) {
        Harness h(600);
        std::mt19937_64 rng(seed);
        for (int step = 0; step < 15000; ++step) {
            const bool grow = (step / 1500) % 2 == 0;
            std::string err = randomStep(h, rng, grow);
            if (err.empty()) err = h.check();
            ASSERT_EQ(err, "") << "seed " << seed << " step " << step;
        }
    }
}

TEST(AvlRandom, SortedInsertAndDrainFromEitherEnd) {
    const size_t n = 2000;
    for (int pattern = 0; pattern < 4; ++pattern) {
        Harness h(n);
        for (size_t i = 0; i < n; ++i) {
            const uint64_t key = pattern % 2 == 0 ? i : n - 1 - i;
            ASSERT_EQ(b_avlAdd(&h.avl, &h.items[key].link), sOKAY);
            h.model.insert(key);
        }
        ASSERT_EQ(h.check(), "");
        for (size_t i = 0; i < n; ++i) {
            B_AVL_NODE_T *got = pattern < 2 ? b_avlDeleteFirst(&h.avl) : b_avlDeleteLast(&h.avl);
            const uint64_t key = pattern < 2 ? i : n - 1 - i;
            ASSERT_EQ(got, &h.items[key].link);
            h.model.erase(key);
            if (i % 97 == 0) {
                ASSERT_EQ(h.check(), "");
            }
        }
        EXPECT_EQ(h.avl.root, nullptr);
        EXPECT_EQ(b_avlCount(&h.avl), 0u);
    }
}

// What the random model leaves out: the tag bits of a lone node, and an
// empty tree's answers.
TEST(AvlEdge, SingleNodeHasNullThreadsAndLeavesAnEmptyTree) {
    Harness h(1);
    ASSERT_EQ(b_avlAdd(&h.avl, &h.items[0].link), sOKAY);
    // Leaf flag 1 on a null predecessor; balance 0 stored as 1 on a null successor.
    EXPECT_EQ(h.items[0].link.left, uintptr_t{1});
    EXPECT_EQ(h.items[0].link.right, uintptr_t{1});
    Item l = h.lookup(0);
    EXPECT_EQ(b_avlDelete(&h.avl, &l.link), &h.items[0].link);
    EXPECT_EQ(h.avl.root, nullptr);
    EXPECT_EQ(b_avlFirst(&h.avl), nullptr);
    EXPECT_EQ(b_avlLast(&h.avl), nullptr);
    EXPECT_EQ(b_avlFindOrNext(&h.avl, &l.link), nullptr);
    b_avlTerm(&h.avl);
    EXPECT_EQ(h.avl.cmpfcn, nullptr);
}

TEST(AvlDelete, RightChildWithoutLeftChildReplacesTheNode) {
    // 2 with children 1 and 3, and 4 under 3: deleting 2 takes its successor
    // 3, which is its own right child, and 3 keeps 4 as its right child.
    Harness h(5);
    for (uint64_t key : {2, 1, 3, 4}) {
        ASSERT_EQ(b_avlAdd(&h.avl, &h.items[key].link), sOKAY);
        h.model.insert(key);
    }
    const uintptr_t rightBefore = h.items[3].link.right & ~uintptr_t{3};
    Item l = h.lookup(2);
    EXPECT_EQ(b_avlDelete(&h.avl, &l.link), &h.items[2].link);
    h.model.erase(2);
    EXPECT_EQ(h.avl.root, &h.items[3].link);
    EXPECT_EQ(h.items[3].link.right & ~uintptr_t{3}, rightBefore);
    EXPECT_EQ(rightBefore, reinterpret_cast<uintptr_t>(&h.items[4].link));
    EXPECT_EQ(h.check(), "");
}

// Lookups by a bare address that the comparison never dereferences, as an
// owner of address ranges does.
struct Range {
    B_AVL_NODE_T link;
    uintptr_t base, size;
};

ZEL_COMPARE rangeCompare(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *ctx) {
    const Range *r = reinterpret_cast<const Range *>(node);
    const uintptr_t a = *static_cast<bool *>(ctx) ? reinterpret_cast<uintptr_t>(lookup)
                                                  : reinterpret_cast<const Range *>(lookup)->base;
    return a < r->base ? ZEL_LT : (a >= r->base + r->size ? ZEL_GT : ZEL_EQ);
}

TEST(AvlLookup, ByRawAddressNeverDereferenced) {
    std::vector<Range> ranges(64);
    bool byAddress = false;
    B_AVL_T avl;
    b_avlInit(&avl, rangeCompare, &byAddress);
    for (size_t i = 0; i < ranges.size(); ++i) {
        ranges[i].base = 0x100000 + i * 0x1000;
        ranges[i].size = 0x800;
        ASSERT_EQ(b_avlAdd(&avl, &ranges[i].link), sOKAY);
    }
    byAddress = true;
    for (size_t i = 0; i < ranges.size(); ++i) {
        const auto *inside = reinterpret_cast<const B_AVL_NODE_T *>(ranges[i].base + 0x7ff);
        const auto *gap = reinterpret_cast<const B_AVL_NODE_T *>(ranges[i].base + 0x803);
        EXPECT_EQ(b_avlFind(&avl, inside), &ranges[i].link);
        EXPECT_EQ(b_avlFind(&avl, gap), nullptr);
        EXPECT_EQ(b_avlFindOrPrev(&avl, gap), &ranges[i].link);
        EXPECT_EQ(b_avlFindOrNext(&avl, gap),
                  i + 1 < ranges.size() ? &ranges[i + 1].link : nullptr);
    }
    const auto *third = reinterpret_cast<const B_AVL_NODE_T *>(ranges[3].base + 1);
    EXPECT_EQ(b_avlDelete(&avl, third), &ranges[3].link);
    EXPECT_EQ(b_avlCount(&avl), ranges.size() - 1);
}

}  // namespace
