/*
 * btree.cpp - the in-memory B-tree of caller pointers, with its cursor.
 *
 * Entries live in every level. The one idea is the slot array: a child
 * pointer, then (entry, child) pairs, so that an entry and the child to its
 * right are one 16-byte record and inserting or removing one is a single
 * memmove. The array has room for one entry too many; an insert that fills it
 * past `slots` splits the node and pushes the middle entry up, and the root
 * stays where it is (the tree grows at the top). The cursor is the path from
 * the root: one (node, slot) per level, which every search and update leaves
 * behind, so that stepping and repeated nearby finds start from it.
 *
 * Slot array of a tree of `slots` S (B_BTREE_SLOT is 16 bytes):
 *   OFFSET     SIZE  MEANING
 *   0          8     child 0 (what sorts below entry 0)
 *   16*i + 8   8     entry i, 0 <= i <= S (entry S only while over-full)
 *   16*i + 16  8     child i + 1
 *   16*S + 24        end: S + 1 records and one further child
 *
 * Two departures from the plain algorithm keep the tree sound. A split first
 * takes every node its chain of splits will need, so that a failure leaves
 * the tree as it was. And a parent with one entry folds its two children into
 * itself only when it is the root; below the root it merges as any parent
 * does, which keeps every leaf at the same depth.
 */
#include "btree.h"

#include <cstddef>
#include <cstring>

#include "tag_sub.h"

static_assert(sizeof(B_BTREE_SLOT) == 16 && offsetof(B_BTREE_SLOT, child) == 0 &&
                  offsetof(B_BTREE_SLOT, data) == 8,
              "an entry and the child to its right are one 16-byte record");
static_assert(sizeof(B_BTREE_NODE) == 16);
static_assert(sizeof(B_BTREE_PATH) == 16);

namespace {

constexpr uint32_t kNoLevel = B_BTREE_NO_LEVEL;
constexpr uint32_t kPathGrowth = 5;    // levels added when the path is full
constexpr uint32_t kMaxSlots = 65535;  // past any useful node: an insert moves up to 1 MB
constexpr size_t kSlot = sizeof(B_BTREE_SLOT);
constexpr size_t kChild = sizeof(B_BTREE_NODE *);

size_t bt_arrayBytes(uint32_t slots) {
    return (size_t{slots} + 1) * kSlot + kChild;
}

// Byte moves within or between slot arrays, by the offsets of the table above.
inline uint8_t *bt_bytes(B_BTREE_SLOT *s) {
    return reinterpret_cast<uint8_t *>(s);
}
inline void bt_move(B_BTREE_SLOT *to, size_t to_off, B_BTREE_SLOT *from, size_t from_off,
                    size_t len) {
    std::memmove(bt_bytes(to) + to_off, bt_bytes(from) + from_off, len);
}

// Moves the pairs (entry i, child i + 1) for i >= slot one place right:
// entry `slot` and child `slot` + 1 are free afterwards.
inline void bt_openAfter(B_BTREE_NODE *n, uint32_t slot) {
    bt_move(n->slots, kSlot * slot + kSlot + kChild, n->slots, kSlot * slot + kChild,
            kSlot * (n->used - slot));
}

// Removes entry `slot` with the child to its left: what is above moves one
// place left, the last child included.
inline void bt_close(B_BTREE_NODE *n, uint32_t slot) {
    bt_move(n->slots, kSlot * slot, n->slots, kSlot * (slot + 1),
            kSlot * (n->used - 1 - slot) + kChild);
}

// Appends to `to` the entries and children of `from` from entry `first`
// (child `first` to child `from->used`).
inline void bt_appendTail(B_BTREE_NODE *to, B_BTREE_NODE *from, uint32_t first) {
    bt_move(to->slots, kSlot * to->used, from->slots, kSlot * first,
            kSlot * (from->used - first) + kChild);
}

ZEL_RETCODE bt_getNode(B_BTREE_T *bt, B_BTREE_NODE **out) {
    B_BTREE_NODE *node = nullptr;
    if (b_poolGetMem(&bt->node_pool, sizeof *node, B_POOL_ALLOC, nullptr, &node) != sOKAY) {
        return eNOMEMORY;
    }
    if (b_poolGetMem(&bt->slot_pool, bt_arrayBytes(bt->slots), B_POOL_ALLOC_CLEAR, nullptr,
                     &node->slots) != sOKAY) {
        b_poolPut(&bt->node_pool, node);
        return eNOMEMORY;
    }
    node->used = 0;
    *out = node;
    return sOKAY;
}

void bt_releaseNode(B_BTREE_T *bt, B_BTREE_NODE *node) {
    b_poolPut(&bt->slot_pool, node->slots);
    b_poolPut(&bt->node_pool, node);
}

// Nodes taken before a split, chained through child 0 of their arrays.
B_BTREE_NODE *bt_takeSpare(B_BTREE_NODE **spare) {
    B_BTREE_NODE *node = *spare;
    *spare = node->slots[0].child;
    node->slots[0].child = nullptr;
    return node;
}

void bt_releaseSpares(B_BTREE_T *bt, B_BTREE_NODE *spare) {
    while (spare != nullptr) bt_releaseNode(bt, bt_takeSpare(&spare));
}

// ---------------------------------------------------------------- path

// Makes room for `levels` path entries. The size grows, in steps of five,
// only when the allocation succeeded.
bool bt_pathReserve(B_BTREE_T *bt, uint32_t levels) {
    if (levels <= bt->pathsize) return true;
    uint32_t size = bt->pathsize;
    while (size < levels) size += kPathGrowth;
    void *grown = nullptr;
    if (b_tag_subAllocOrReallocClear(bt->subTag, bt->path, bt->pathsize * sizeof(B_BTREE_PATH),
                                     size * sizeof(B_BTREE_PATH), &grown) != sOKAY) {
        return false;
    }
    bt->path = static_cast<B_BTREE_PATH *>(grown);
    bt->pathsize = size;
    return true;
}

// The next level's entry, or null (pathlevel unchanged) when the path can't
// grow. From kNoLevel the next level is 0.
B_BTREE_PATH *bt_pathPush(B_BTREE_T *bt, B_BTREE_NODE *node) {
    const uint32_t level = bt->pathlevel + 1;
    if (!bt_pathReserve(bt, level + 1)) return nullptr;
    bt->pathlevel = level;
    B_BTREE_PATH *p = &bt->path[level];
    p->node = node;
    return p;
}

// The cursor's entry, or null when it is on no level. A slot past `used`
// (left by an update that moved entries) counts as `used`.
B_BTREE_PATH *bt_cursor(B_BTREE_T *bt, uint32_t level) {
    if (level == kNoLevel || level >= bt->pathsize) return nullptr;
    B_BTREE_PATH *p = &bt->path[level];
    if (p->slot > p->node->used) p->slot = p->node->used;
    return p;
}

inline void *bt_data(const B_BTREE_PATH *p) {
    return const_cast<void *>(p->node->slots[p->slot].data);
}

// ---------------------------------------------------------------- search

// Binary search of one node (used >= 1) for `loc`, recording the slot in `p`.
// A hit records the entry's slot; a miss the slot of the child to go down,
// marking child 0 as visited when that is the one.
bool bt_nodeSearch(const B_BTREE_T *bt, B_BTREE_PATH *p, const void *loc, B_BTREE_NODE **child) {
    const B_BTREE_SLOT *s = p->node->slots;
    // The binary search visits lines in an order it cannot know ahead: fetch
    // them all at once rather than one miss after another.
    const char *line = reinterpret_cast<const char *>(s);
    const char *end = reinterpret_cast<const char *>(s + p->node->used);
    for (; line <= end; line += 64) __builtin_prefetch(line);
    int64_t low = 0;
    int64_t high = int64_t{p->node->used} - 1;
    uint32_t mid = 0;
    ZEL_COMPARE c = ZEL_EQ;
    while (low <= high) {
        mid = static_cast<uint32_t>((low + high) / 2);
        c = bt->cmpfcn(loc, s[mid].data, bt->ctx);
        if (c == ZEL_EQ) {
            p->slot = mid;
            p->slot_zero_used = ZEL_FALSE;
            return true;
        }
        if (c == ZEL_LT) {
            high = int64_t{mid} - 1;
        } else {
            low = int64_t{mid} + 1;  // anything but ZEL_LT counts as above
        }
    }
    p->slot = c == ZEL_LT ? mid : mid + 1;
    p->slot_zero_used = (mid == 0 && c == ZEL_LT) ? ZEL_TRUE : ZEL_FALSE;
    *child = s[p->slot].child;
    return false;
}

// Whether `loc` lies within the first and last entries of a node (used >= 1):
// two compares spare the fast path of b_btFind a search of a node that cannot
// hold it, which is most of them when finds are not near each other.
bool bt_inRange(const B_BTREE_T *bt, const B_BTREE_NODE *n, const void *loc) {
    return bt->cmpfcn(loc, n->slots[0].data, bt->ctx) != ZEL_LT &&
           bt->cmpfcn(loc, n->slots[n->used - 1].data, bt->ctx) != ZEL_GT;
}

enum class BtSeek { kHit, kMiss, kNoRoom };

// Descends from the root, one path entry per node, to the equal entry (the
// cursor on it) or to the leaf slot where `loc` would go. kNoRoom when the
// path could not grow; the cursor is then on no entry.
BtSeek bt_scan(B_BTREE_T *bt, const void *loc) {
    bt->pathlevel = kNoLevel;
    B_BTREE_NODE *node = &bt->root;
    for (;;) {
        B_BTREE_PATH *p = bt_pathPush(bt, node);
        if (p == nullptr) {
            bt->pathlevel = kNoLevel;
            return BtSeek::kNoRoom;
        }
        if (node->used == 0) {  // only the root of an empty tree
            p->slot = 0;
            p->slot_zero_used = ZEL_FALSE;
            return BtSeek::kMiss;
        }
        if (bt_nodeSearch(bt, p, loc, &node)) return BtSeek::kHit;
        if (node == nullptr) return BtSeek::kMiss;
    }
}

// ---------------------------------------------------------------- cursor moves

// Down child 0 from `node` to a leaf, slot 0 and child 0 visited at every
// level; the leaf's entry 0. Null, the cursor on no entry, when the path
// can't grow.
void *bt_leftMost(B_BTREE_T *bt, B_BTREE_NODE *node) {
    for (;;) {
        B_BTREE_PATH *p = bt_pathPush(bt, node);
        if (p == nullptr) {
            bt->pathlevel = kNoLevel;
            return nullptr;
        }
        p->slot = 0;
        p->slot_zero_used = ZEL_TRUE;
        if (node->slots[0].child == nullptr) return bt_data(p);
        node = node->slots[0].child;
    }
}

// Down the last child from `node` to a leaf; the leaf's last entry.
void *bt_rightMost(B_BTREE_T *bt, B_BTREE_NODE *node) {
    for (;;) {
        B_BTREE_PATH *p = bt_pathPush(bt, node);
        if (p == nullptr) {
            bt->pathlevel = kNoLevel;
            return nullptr;
        }
        B_BTREE_NODE *child = node->slots[node->used].child;
        if (child == nullptr) {
            p->slot = node->used - 1;
            p->slot_zero_used = p->slot == 0 ? ZEL_TRUE : ZEL_FALSE;
            return bt_data(p);
        }
        p->slot = node->used;
        p->slot_zero_used = ZEL_FALSE;
        node = child;
    }
}

// Up from the cursor's level to the first level whose slot is an entry; the
// cursor moves onto it. Arriving at entry 0 from child 0 clears the visit
// mark, so that a following b_btPrev goes back down into child 0. When every
// level above is at its end, null and the cursor stays where it is.
void *bt_climbNext(B_BTREE_T *bt) {
    for (uint32_t level = bt->pathlevel; level-- > 0;) {
        B_BTREE_PATH *p = bt_cursor(bt, level);
        if (p->slot < p->node->used) {
            bt->pathlevel = level;
            p->slot_zero_used = ZEL_FALSE;
            return bt_data(p);
        }
    }
    return nullptr;
}

// The entry before the cursor's slot: the one to its left in this node,
// else the last of child 0 if not yet visited, else the same a level up.
// Null at the top, the cursor then on no entry.
void *bt_prevUp(B_BTREE_T *bt) {
    for (;;) {
        B_BTREE_PATH *p = bt_cursor(bt, bt->pathlevel);
        if (p->slot != 0) {
            p->slot--;
            if (p->slot == 0) p->slot_zero_used = ZEL_FALSE;  // on entry 0, child 0 still ahead
            return bt_data(p);
        }
        B_BTREE_NODE *child = p->node->slots[0].child;
        if (child != nullptr && !p->slot_zero_used) {
            p->slot_zero_used = ZEL_TRUE;
            return bt_rightMost(bt, child);
        }
        if (bt->pathlevel == 0) {
            bt->pathlevel = kNoLevel;
            return nullptr;
        }
        bt->pathlevel--;
    }
}

// After a miss of bt_scan: the entry at or after the leaf slot.
void *bt_missNext(B_BTREE_T *bt) {
    B_BTREE_PATH *p = &bt->path[bt->pathlevel];
    if (p->slot < p->node->used) return bt_data(p);
    return bt_climbNext(bt);
}

// ---------------------------------------------------------------- insert

// Puts `data`, with `brother` as its right child, at the cursor's slot, and
// splits upwards while a node is over-full. `spare` holds the nodes needed.
void bt_expand(B_BTREE_T *bt, const void *data, B_BTREE_NODE *spare) {
    B_BTREE_NODE *brother = nullptr;
    for (;;) {
        const B_BTREE_PATH *p = &bt->path[bt->pathlevel];
        B_BTREE_NODE *node = p->node;
        bt_openAfter(node, p->slot);
        node->slots[p->slot].data = data;
        node->slots[p->slot + 1].child = brother;
        node->used++;
        if (node->used <= bt->slots) return;

        const uint32_t n = node->used;
        const uint32_t half = n >> 1;
        B_BTREE_NODE *right = bt_takeSpare(&spare);
        bt_appendTail(right, node, half + 1);
        right->used = n - half - 1;
        if (node == &bt->root) {
            // The root keeps the middle entry over two new nodes.
            B_BTREE_NODE *left = bt_takeSpare(&spare);
            bt_move(left->slots, 0, node->slots, 0, kSlot * half + kChild);
            left->used = half;
            node->slots[0].data = node->slots[half].data;
            node->slots[0].child = left;
            node->slots[1].child = right;
            node->used = 1;
            return;
        }
        node->used = half;
        data = node->slots[half].data;
        brother = right;
        bt->pathlevel--;
    }
}

// Nodes that the split chain from the cursor's leaf will take: one per full
// node, two at the root.
uint32_t bt_splitNodes(const B_BTREE_T *bt) {
    uint32_t need = 0;
    for (uint32_t level = bt->pathlevel;; --level) {
        if (bt->path[level].node->used < bt->slots) return need;
        if (level == 0) return need + 2;
        need++;
    }
}

ZEL_RETCODE bt_add(B_BTREE_T *bt, const void *data) {
    if (data == nullptr) return eINVNULLARG;
    switch (bt_scan(bt, data)) {
        case BtSeek::kHit:
            return eDUPLICATE;
        case BtSeek::kNoRoom:
            return eNOMEMORY;
        case BtSeek::kMiss:
            break;
    }
    // Take everything the insert needs before changing anything: the nodes
    // of the split chain and, when the root splits, a path level for the
    // new depth, so that a delete never has to grow the path.
    const uint32_t need = bt_splitNodes(bt);
    const bool rootSplits = need == bt->pathlevel + 2;  // every level is full
    if (rootSplits && !bt_pathReserve(bt, bt->pathlevel + 2)) {
        return eNOMEMORY;
    }
    B_BTREE_NODE *spare = nullptr;
    for (uint32_t i = 0; i < need; ++i) {
        B_BTREE_NODE *node = nullptr;
        if (bt_getNode(bt, &node) != sOKAY) {
            bt_releaseSpares(bt, spare);
            return eNOMEMORY;
        }
        node->slots[0].child = spare;
        spare = node;
    }
    bt_expand(bt, data, spare);
    bt->count++;
    return sOKAY;
}

// ---------------------------------------------------------------- delete

// Merges `l`, the entry `tslot` of the parent and `r`. A root with that one
// entry takes all of it and the tree is one level shallower; any other
// parent keeps `l` at child `tslot` + 1 and loses the entry (the caller
// shrinks it). Returns true when the root folded.
bool bt_merge(B_BTREE_T *bt, B_BTREE_NODE *parent, uint32_t tslot, B_BTREE_NODE *l,
              B_BTREE_NODE *r) {
    l->slots[l->used].data = parent->slots[tslot].data;
    l->used++;
    bt_appendTail(l, r, 0);
    l->used += r->used;
    bt_releaseNode(bt, r);
    if (parent == &bt->root && parent->used == 1) {
        // The fold keeps all leaves at one depth only at the root: below it,
        // a one-entry parent merges as any other, or the subtree gets shallower.
        B_BTREE_SLOT *old = parent->slots;
        parent->slots = l->slots;
        parent->used = l->used;
        l->slots = old;
        bt_releaseNode(bt, l);
        return true;
    }
    parent->slots[tslot + 1].child = l;
    return false;
}

// Removes the entry at the cursor's slot of `level` with the child to its
// left, then restores the minimum fill upwards by rotation or merge.
void bt_shrink(B_BTREE_T *bt, uint32_t level) {
    const uint32_t half = bt->slots >> 1;
    for (;;) {
        B_BTREE_PATH *p = &bt->path[level];
        B_BTREE_NODE *node = p->node;
        bt_close(node, p->slot);
        node->used--;
        if (level == 0 || node->used >= half) return;

        B_BTREE_PATH *up = &bt->path[level - 1];
        B_BTREE_NODE *parent = up->node;
        const uint32_t ps = up->slot;
        B_BTREE_NODE *left = ps != 0 ? parent->slots[ps - 1].child : nullptr;
        B_BTREE_NODE *right = ps != parent->used ? parent->slots[ps + 1].child : nullptr;
        if (left != nullptr && left->used > half) {
            // Rotate right: the parent's entry comes down in front, the left
            // sibling's last entry goes up.
            up->slot = ps - 1;
            bt_move(node->slots, kSlot, node->slots, 0, kSlot * node->used + kChild);
            node->slots[0].data = parent->slots[ps - 1].data;
            node->slots[0].child = left->slots[left->used].child;
            node->used++;
            parent->slots[ps - 1].data = left->slots[left->used - 1].data;
            left->used--;
            return;
        }
        if (right != nullptr && right->used > half) {
            // Rotate left: the parent's entry comes down at the end, the right
            // sibling's first entry goes up.
            node->slots[node->used].data = parent->slots[ps].data;
            node->slots[node->used + 1].child = right->slots[0].child;
            node->used++;
            parent->slots[ps].data = right->slots[0].data;
            bt_close(right, 0);
            right->used--;
            return;
        }
        bool folded;
        if (left == nullptr) {
            folded = bt_merge(bt, parent, ps, node, right);
        } else {
            up->slot = ps - 1;
            folded = bt_merge(bt, parent, ps - 1, left, node);
        }
        if (folded) return;
        level--;
    }
}

// Removes the entry the cursor is on. An entry of an interior node is
// replaced by its successor, taken from the leaf below. Null, with nothing
// changed, when the path can't reach that leaf.
void *bt_removeAtCursor(B_BTREE_T *bt) {
    B_BTREE_PATH *p = &bt->path[bt->pathlevel];
    void *found = bt_data(p);
    B_BTREE_NODE *child = p->node->slots[p->slot + 1].child;
    if (child != nullptr) {
        const uint32_t level = bt->pathlevel;
        B_BTREE_NODE *node = p->node;
        const uint32_t slot = p->slot;
        const void *successor = bt_leftMost(bt, child);
        if (successor == nullptr) return nullptr;
        bt->path[level].slot = slot + 1;
        node->slots[slot].data = successor;
    }
    bt_shrink(bt, bt->pathlevel);
    bt->count--;
    return found;
}

void *bt_delete(B_BTREE_T *bt, const void *lookup) {
    if (bt_scan(bt, lookup) != BtSeek::kHit) return nullptr;
    void *found = bt_removeAtCursor(bt);
    if (found == nullptr) return nullptr;
    // The successor, for a walk that deleted its current entry.
    bt->next_value = bt_scan(bt, found) == BtSeek::kMiss ? bt_missNext(bt) : nullptr;
    return found;
}

// Removes the entry that bt_leftMost or bt_rightMost just reached.
void *bt_deleteEnd(B_BTREE_T *bt, void *(*reach)(B_BTREE_T *, B_BTREE_NODE *)) {
    void *found = nullptr;
    bt->pathlevel = kNoLevel;
    if (bt->root.used != 0 && reach(bt, &bt->root) != nullptr) {
        found = bt_removeAtCursor(bt);
        if (bt->next_value == found) bt->next_value = nullptr;
    }
    // No fast find from here: the node the cursor was on may be gone.
    bt->pathlevel = kNoLevel;
    return found;
}

// Post-order: children before their node.
void bt_releaseSubtree(B_BTREE_T *bt, B_BTREE_NODE *node) {
    if (node->slots[0].child != nullptr) {
        for (uint32_t i = 0; i <= node->used; ++i) bt_releaseSubtree(bt, node->slots[i].child);
    }
    bt_releaseNode(bt, node);
}

// The cursor on the first or last entry; on an empty tree on the root's
// slot 0, and null, without reading a stale entry.
void *bt_end(B_BTREE_T *bt, void *(*reach)(B_BTREE_T *, B_BTREE_NODE *)) {
    bt->next_value = nullptr;
    bt->pathlevel = kNoLevel;
    if (bt->root.used != 0) return reach(bt, &bt->root);
    B_BTREE_PATH *p = bt_pathPush(bt, &bt->root);
    if (p != nullptr) {
        p->slot = 0;
        p->slot_zero_used = ZEL_FALSE;
    }
    return nullptr;
}

// b_btNext past its common case: a saved successor, a child to go down,
// the end of a node.
void *bt_next(B_BTREE_T *bt) {
    if (bt->next_value != nullptr) {
        void *v = bt->next_value;
        bt->next_value = nullptr;
        // The delete left the cursor on v; any call since that moved it
        // (a missed delete, an add, a delete at an end) puts it back. On v,
        // whatever lies below it is still to be visited going back.
        B_BTREE_PATH *p = bt_cursor(bt, bt->pathlevel);
        if (p == nullptr || p->slot >= p->node->used || bt_data(p) != v) {
            (void)bt_scan(bt, v);
        } else {
            p->slot_zero_used = ZEL_FALSE;
        }
        return v;
    }
    B_BTREE_PATH *p = bt_cursor(bt, bt->pathlevel);
    if (p == nullptr) return nullptr;
    if (p->slot == p->node->used) return bt_climbNext(bt);
    p->slot++;
    B_BTREE_NODE *child = p->node->slots[p->slot].child;
    if (child != nullptr) return bt_leftMost(bt, child);
    if (p->slot != p->node->used) return bt_data(p);
    return bt_climbNext(bt);
}

}  // namespace

extern "C" {

ZEL_RETCODE b_btInit(B_BTREE_T *btree, B_BT_COMPARE cmpfcn, uint32_t slots, const void *ctx,
                     B_TAG_SUB subTag) {
    if (btree == nullptr || cmpfcn == nullptr || subTag == nullptr) return eINVNULLARG;
    if (slots < 2 || slots > kMaxSlots) return eINVARG;
    B_BTREE_T bt{};
    bt.ctx = ctx;
    b_poolInit(&bt.node_pool, subTag, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    b_poolInit(&bt.slot_pool, subTag, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    bt.cmpfcn = cmpfcn;
    bt.subTag = subTag;
    bt.slots = slots;
    bt.pathlevel = kNoLevel;
    if (b_poolGetMem(&bt.slot_pool, bt_arrayBytes(slots), B_POOL_ALLOC_CLEAR, nullptr,
                     &bt.root.slots) != sOKAY) {
        return eNOMEMORY;
    }
    *btree = bt;
    return sOKAY;
}

void b_btTerm(B_BTREE_T *btree) {
    if (btree->root.slots != nullptr) {
        if (btree->root.slots[0].child != nullptr) {
            for (uint32_t i = 0; i <= btree->root.used; ++i) {
                bt_releaseSubtree(btree, btree->root.slots[i].child);
            }
        }
        b_poolPut(&btree->slot_pool, btree->root.slots);
    }
    b_poolTerm(&btree->node_pool);
    b_poolTerm(&btree->slot_pool);
    b_tag_subFreeCanBeNull(btree->subTag, btree->path);
    std::memset(btree, 0, sizeof *btree);
    btree->pathlevel = kNoLevel;
}

ZEL_RETCODE b_btAdd(B_BTREE_T *btree, const void *data) {
    return bt_add(btree, data);
}

ZEL_RETCODE b_btAddMultiple(B_BTREE_T *btree, uint32_t count, const void *const *data) {
    if (count == 0) return sOKAY;
    if (data == nullptr) return eINVNULLARG;
    for (uint32_t i = 0; i < count; ++i) {
        const ZEL_RETCODE rc = bt_add(btree, data[i]);
        if (rc < 0) {
            // The deletes cannot fail: every add left the path as deep as the tree.
            void *const saved = btree->next_value;
            for (uint32_t j = i; j-- > 0;) (void)bt_delete(btree, data[j]);
            btree->next_value = saved;
            return rc;
        }
    }
    return sOKAY;
}

void *b_btDelete(B_BTREE_T *btree, const void *lookup) {
    return bt_delete(btree, lookup);
}

void *b_btDeleteFirst(B_BTREE_T *btree) {
    return bt_deleteEnd(btree, bt_leftMost);
}

void *b_btDeleteLast(B_BTREE_T *btree) {
    return bt_deleteEnd(btree, bt_rightMost);
}

void *b_btFind(B_BTREE_T *btree, const void *lookup) {
    btree->next_value = nullptr;
    // Fast path: the node the cursor is in, where nearby finds land.
    B_BTREE_PATH *p = bt_cursor(btree, btree->pathlevel);
    B_BTREE_NODE *child = nullptr;
    if (p != nullptr && p->node->used != 0 && bt_inRange(btree, p->node, lookup) &&
        bt_nodeSearch(btree, p, lookup, &child)) {
        return bt_data(p);
    }
    return bt_scan(btree, lookup) == BtSeek::kHit ? bt_data(&btree->path[btree->pathlevel])
                                                  : nullptr;
}

void *b_btFindOrNext(B_BTREE_T *btree, const void *lookup) {
    btree->next_value = nullptr;
    switch (bt_scan(btree, lookup)) {
        case BtSeek::kHit:
            return bt_data(&btree->path[btree->pathlevel]);
        case BtSeek::kMiss:
            return bt_missNext(btree);
        case BtSeek::kNoRoom:
            break;
    }
    return nullptr;
}

void *b_btFindOrPrev(B_BTREE_T *btree, const void *lookup) {
    btree->next_value = nullptr;
    switch (bt_scan(btree, lookup)) {
        case BtSeek::kHit:
            return bt_data(&btree->path[btree->pathlevel]);
        case BtSeek::kMiss:
            return bt_prevUp(btree);
        case BtSeek::kNoRoom:
            break;
    }
    return nullptr;
}

void *b_btFirst(B_BTREE_T *btree) {
    return bt_end(btree, bt_leftMost);
}

void *b_btLast(B_BTREE_T *btree) {
    return bt_end(btree, bt_rightMost);
}

void *b_btNext(B_BTREE_T *btree) {
    // Most steps go to the next entry of the same leaf.
    if (btree->next_value == nullptr && btree->pathlevel < btree->pathsize) {
        B_BTREE_PATH *p = &btree->path[btree->pathlevel];
        const uint32_t slot = p->slot + 1;
        const B_BTREE_SLOT *s = p->node->slots;
        if (slot < p->node->used && s[slot].child == nullptr) {
            p->slot = slot;
            return const_cast<void *>(s[slot].data);
        }
    }
    return bt_next(btree);
}

void *b_btPrev(B_BTREE_T *btree) {
    if (btree->next_value != nullptr) {
        void *v = btree->next_value;
        btree->next_value = nullptr;
        (void)bt_scan(btree, v);  // on v; a miss leaves the cursor just after it
    }
    B_BTREE_PATH *p = bt_cursor(btree, btree->pathlevel);
    if (p == nullptr) return nullptr;
    if (p->slot == 0) return bt_prevUp(btree);
    B_BTREE_NODE *child = p->node->slots[p->slot].child;
    if (child != nullptr) return bt_rightMost(btree, child);
    return bt_prevUp(btree);
}

uint32_t b_btCount(const B_BTREE_T *btree) {
    return btree->count;
}

}  // extern "C"
