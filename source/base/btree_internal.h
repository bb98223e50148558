/*
 * btree_internal.h - the structural checker of a B_BTREE_T, for tests,
 * fuzzers and the tool: entries in order across nodes and child ranges,
 * `count` equal to the entries reachable, fill of every node within bounds,
 * every interior node with all its children and every leaf at one depth.
 * C++ only; allocates nothing.
 */
#ifndef BTREE_INTERNAL_H
#define BTREE_INTERNAL_H

#include <cstdint>

#include "btree_types.h"

namespace zel::detail {

struct BtCheckResult {
    const char *error = nullptr;  // null when the tree is sound
    uint32_t leaf_depth_min = 0;  // levels from the root (1) to a leaf
    uint32_t leaf_depth_max = 0;
    uint64_t nodes = 0;
    uint64_t entries = 0;
};

// Deeper than any tree of 2^32 entries with nodes of two children.
constexpr uint32_t kBtCheckMaxDepth = 64;

template <class Visit>
class BtChecker {
  public:
    BtChecker(const B_BTREE_T *bt, Visit &visit) : bt_(bt), visit_(visit) {}

    BtCheckResult run() {
        if (bt_->root.slots == nullptr) return fail("root has no slot array");
        if (bt_->count != 0 && bt_->root.used == 0) return fail("root is empty, count is not");
        node(&bt_->root, 1);
        if (r_.error == nullptr && r_.entries != bt_->count) fail("count differs from the entries");
        return r_;
    }

  private:
    BtCheckResult fail(const char *why) {
        if (r_.error == nullptr) r_.error = why;
        return r_;
    }

    void node(const B_BTREE_NODE *n, uint32_t depth) {
        if (r_.error != nullptr) return;
        if (depth > kBtCheckMaxDepth) {
            fail("deeper than any tree can be");
            return;
        }
        r_.nodes++;
        visit_(depth - 1, n);
        if (n->used > bt_->slots) fail("more entries than slots");
        if (n != &bt_->root && n->used < (bt_->slots >> 1)) fail("fewer entries than half");
        if (n != &bt_->root && n->used == 0) fail("non-root node without entries");
        const bool leaf = n->slots[0].child == nullptr;
        for (uint32_t i = 0; i <= n->used && r_.error == nullptr; ++i) {
            if ((n->slots[i].child == nullptr) != leaf)
                fail("a node with null and non-null children");
        }
        if (r_.error != nullptr) return;
        if (leaf) {
            if (r_.leaf_depth_min == 0 || depth < r_.leaf_depth_min) r_.leaf_depth_min = depth;
            if (depth > r_.leaf_depth_max) r_.leaf_depth_max = depth;
            if (r_.leaf_depth_min != r_.leaf_depth_max) fail("leaves at different depths");
        }
        for (uint32_t i = 0; i <= n->used && r_.error == nullptr; ++i) {
            if (!leaf) node(n->slots[i].child, depth + 1);
            if (i < n->used) entry(n->slots[i].data);
        }
    }

    void entry(const void *data) {
        if (data == nullptr) fail("null entry");
        if (last_ != nullptr && bt_->cmpfcn(last_, data, bt_->ctx) != ZEL_LT) fail("out of order");
        last_ = data;
        r_.entries++;
    }

    const B_BTREE_T *bt_;
    Visit &visit_;
    BtCheckResult r_;
    const void *last_ = nullptr;
};

// Checks `bt`, calling visit(level, node) for every node in order (level 0
// is the root).
template <class Visit>
BtCheckResult bt_check(const B_BTREE_T *bt, Visit &&visit) {
    return BtChecker<Visit>(bt, visit).run();
}

inline BtCheckResult bt_check(const B_BTREE_T *bt) {
    return bt_check(bt, [](uint32_t, const B_BTREE_NODE *) {});
}

}  // namespace zel::detail

#endif /* BTREE_INTERNAL_H */
