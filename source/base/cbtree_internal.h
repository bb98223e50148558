/*
 * cbtree_internal.h - the internal steps of the cached B-tree, and a
 * structural checker over them for tests, fuzzers and the tool. C++ only;
 * allocates nothing.
 *
 * The checker goes through the tree by node number as the tree itself does,
 * so it loads and evicts like any reader: a node pointer is good only until
 * the next step, and entries reach the caller one at a time, in order, while
 * they are valid.
 */
#ifndef CBTREE_INTERNAL_H
#define CBTREE_INTERNAL_H

#include <cstdint>

#include "cbtree.h"

namespace zel::detail {

// A node record and slot array from the pools: used 0, child 0 none.
ZEL_RETCODE b_cbtGetNode(B_CBTREE_T *t, B_CBTREE_NODE **out);
// A new node, modified, in the cache and at the new end of the age list,
// numbered by the last released number or the next one; evicts first when
// the cache is full. eNOMEMORY; an eviction's code.
ZEL_RETCODE b_cbtCreateNode(B_CBTREE_T *t, B_CBTREE_NODE **out);
// Disposes of the node's entries, drops it and puts its number on the list
// of released numbers (lost when that record cannot be had).
void b_cbtReleaseNode(B_CBTREE_T *t, B_CBTREE_NODE *n);
// The node numbered `id`: from the cache (moved to the new end of the age
// list unless pinned) or read back from the file. eFILEIO (no image, short
// or unsound); eNOMEMORY; the file's or loadfcn's code.
ZEL_RETCODE b_cbtAccessNode(B_CBTREE_T *t, B_CBTREE_ID id, B_CBTREE_NODE **pnode);
// Writes (if modified) and drops the oldest node of the age list; sOKAY with
// nothing done when the list is empty. On failure the node stays, oldest.
ZEL_RETCODE b_cbtEvictOldestNode(B_CBTREE_T *t);
// Evicts until the cache has room or holds only pinned nodes.
ZEL_RETCODE b_cbtMakeRoom(B_CBTREE_T *t);
// Moves the cursor `inc` levels down; null (cursor unchanged) past the path.
B_CBTREE_PATH *b_cbtGetPathNode(B_CBTREE_T *t, uint32_t inc);
// Descends from the root for `loc`: sOKAY with *data (the cursor on it), or
// sNOTFOUND with the cursor at the leaf slot where it would go. With `full`
// not null, stops at a node holding `slots` entries, setting *full.
ZEL_RETCODE b_cbtLocate(B_CBTREE_T *t, const void *loc, const void **data, bool *full);
// Puts `data` with `brother` to its right at the cursor's slot and splits
// upwards; null data splits the full node at the cursor.
ZEL_RETCODE b_cbtExpandNode(B_CBTREE_T *t, B_CBTREE_ID brother, const void *data);
// Down child 0 from the node at the cursor; the leaf's first entry or null.
void *b_cbtGetLeftMost(B_CBTREE_T *t);

struct CbtCheckResult {
    const char *error = nullptr;  // null when the tree is sound
    uint32_t depth = 0;           // levels from the root to the leaves
    uint64_t nodes = 0;
    uint64_t entries = 0;
    uint64_t full = 0;  // nodes left holding `slots` entries by a failed split
};

template <class VisitNode, class VisitEntry>
class CbtChecker {
  public:
    CbtChecker(B_CBTREE_T *t, VisitNode &vn, VisitEntry &ve) : t_(t), vn_(vn), ve_(ve) {}

    CbtCheckResult run() {
        if (t_->root == B_CBTREE_NO_ID) {
            if (t_->count != 0) fail("the tree lost its entries");
            return r_;
        }
        node(t_->root, 0);
        if (r_.error == nullptr && r_.entries != t_->count) fail("count differs from the entries");
        return r_;
    }

  private:
    void fail(const char *why) {
        if (r_.error == nullptr) r_.error = why;
    }

    B_CBTREE_NODE *get(B_CBTREE_ID id) {
        B_CBTREE_NODE *n = nullptr;
        if (b_cbtAccessNode(t_, id, &n) != sOKAY) fail("a node cannot be read");
        return n;
    }

    void node(B_CBTREE_ID id, uint32_t level) {
        if (r_.error != nullptr) return;
        if (level >= t_->pathsize) return fail("deeper than the path: the nodes loop");
        B_CBTREE_NODE *n = get(id);
        if (n == nullptr) return;
        r_.nodes++;
        vn_(level, static_cast<const B_CBTREE_NODE *>(n));
        const uint32_t used = n->used;
        if (used > t_->slots) return fail("more entries than slots");
        if (used == t_->slots) r_.full++;
        const bool leaf = n->slots[0].child == B_CBTREE_NO_ID;
        for (uint32_t i = 0; i <= used; ++i) {
            if ((n->slots[i].child == B_CBTREE_NO_ID) != leaf) {
                return fail("a node with and without children");
            }
        }
        if (leaf) {
            if (r_.depth == 0) r_.depth = level + 1;
            if (r_.depth != level + 1) return fail("leaves at different depths");
        }
        for (uint32_t i = 0; i <= used && r_.error == nullptr; ++i) {
            if (!leaf) {
                if ((n = get(id)) == nullptr) return;
                node(n->slots[i].child, level + 1);
            }
            if (i < used && r_.error == nullptr) {
                if ((n = get(id)) == nullptr) return;
                ve_(level, static_cast<const B_CBTREE_NODE *>(n), n->slots[i].data);
                r_.entries++;
            }
        }
    }

    B_CBTREE_T *t_;
    VisitNode &vn_;
    VisitEntry &ve_;
    CbtCheckResult r_;
};

// Checks `t`, calling visitNode(level, node) for each node as it is reached
// (level 0 is the root) and visitEntry(level, node, data) for each entry in
// order.
template <class VisitNode, class VisitEntry>
CbtCheckResult cbt_check(B_CBTREE_T *t, VisitNode &&visitNode, VisitEntry &&visitEntry) {
    return CbtChecker<VisitNode, VisitEntry>(t, visitNode, visitEntry).run();
}

}  // namespace zel::detail

#endif /* CBTREE_INTERNAL_H */
