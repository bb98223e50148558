/*
 * avl.cpp - intrusive, threaded AVL tree.
 *
 * A node is two tagged words and nothing else. Bit 0 of `left` is the leaf
 * flag (set when at least one side has no child), bits 0-1 of `right` hold the
 * balance plus one. Leaf flag and balance together say which pointer is a
 * child and which a thread to the in-order neighbour:
 *
 *   leaf  balance   left holds          right holds
 *   0     any       child               child
 *   1     0         predecessor thread  successor thread
 *   1     -1        child               successor thread
 *   1     +1        predecessor thread  child
 *
 * Threads make stepping a few loads with no parent links; an operation that
 * changes the tree records its path in a fixed array on its own stack, so the
 * tree never allocates (the memory tags are built on it).
 *
 * B_AVL_NODE_T, at the head of the caller's record:
 *   OFFSET  SIZE  MEANING
 *   0       8     left:  child or predecessor thread | leaf flag (bit 0)
 *   8       8     right: child or successor thread | balance + 1 (bits 0-1)
 */
#include "avl.h"

#include "avl_internal.h"

#include <cassert>
#include <cstddef>
#include <cstdint>

namespace zel::detail {
// The search of avl_internal.h, with the tree's own comparison function.
ZEL_COMPARE AvlCallCompare::operator()(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node) const {
    return avl->cmpfcn(lookup, node, avl->ctx);
}
}  // namespace zel::detail

using namespace zel::detail;

namespace {

static_assert(sizeof(B_AVL_NODE_T) == 16 && sizeof(void *) == 8, "a node is two pointers");
static_assert(offsetof(B_AVL_NODE_T, left) == 0 && offsetof(B_AVL_NODE_T, right) == 8);
static_assert(alignof(B_AVL_NODE_T) >= 4, "two tag bits need 4-byte alignment");

inline uintptr_t avl_word(const B_AVL_NODE_T *node) {
    return reinterpret_cast<uintptr_t>(node);
}
inline int avl_nodeBalance(const B_AVL_NODE_T *node) {
    return static_cast<int>(node->right & AVL_BALANCE) - 1;
}

// Each setter changes one part and keeps the tags of the others.
inline void avl_nodeSetLeft(B_AVL_NODE_T *node, const B_AVL_NODE_T *to) {
    node->left = avl_word(to) | (node->left & AVL_LEAF);
}
inline void avl_nodeSetRight(B_AVL_NODE_T *node, const B_AVL_NODE_T *to) {
    node->right = avl_word(to) | (node->right & AVL_BALANCE);
}
inline void avl_nodeSetLeaf(B_AVL_NODE_T *node, bool leaf) {
    node->left = (node->left & ~AVL_LEAF) | (leaf ? AVL_LEAF : 0);
}
inline void avl_nodeSetBalance(B_AVL_NODE_T *node, int balance) {
    node->right = (node->right & ~AVL_BALANCE) | static_cast<uintptr_t>(balance + 1);
}

// Direction-indexed forms: dir < 0 is the left side, dir > 0 the right.
inline B_AVL_NODE_T *avl_nodeChild(const B_AVL_NODE_T *node, int dir) {
    return dir < 0 ? avl_nodeLeft(node) : avl_nodeRight(node);
}
inline B_AVL_NODE_T *avl_nodeThread(const B_AVL_NODE_T *node, int dir) {
    return dir < 0 ? avl_nodePrev(node) : avl_nodeNext(node);
}
inline void avl_nodeSetSide(B_AVL_NODE_T *node, int dir, const B_AVL_NODE_T *to) {
    if (dir < 0) {
        avl_nodeSetLeft(node, to);
    } else {
        avl_nodeSetRight(node, to);
    }
}

// Descends to the node with no left child (forward) or no right child (reverse).
inline B_AVL_NODE_T *avl_adjacentDown(B_AVL_NODE_T *node, int dir) {
    for (;;) {
        B_AVL_NODE_T *child = avl_nodeChild(node, -dir);
        if (child == nullptr) return node;
        node = child;
    }
}

inline B_AVL_NODE_T *avl_adjacent(const B_AVL_NODE_T *node, int dir) {
    B_AVL_NODE_T *thread = avl_nodeThread(node, dir);
    if (thread != nullptr) return thread;
    B_AVL_NODE_T *child = avl_nodeChild(node, dir);
    return child != nullptr ? avl_adjacentDown(child, dir) : nullptr;
}

inline ZEL_RETCODE avl_locate(const B_AVL_T *avl, AVL_STACK *stack, B_AVL_NODE_T **found,
                              B_AVL_NODE_T **next, B_AVL_NODE_T **prev,
                              const B_AVL_NODE_T *lookup) {
    return avl_locateWith(avl, stack, found, next, prev, lookup, AvlCallCompare{avl});
}

// Hangs `node` (a child, a thread or null) in the place of stack entry
// `level`. The parent's balance is not touched, so its other side is read by
// the balance it had before the change.
void avl_updateParent(B_AVL_T *avl, AVL_STACK *stack, unsigned level, B_AVL_NODE_T *node,
                      bool leaf) {
    if (level == 0) {
        avl->root = node;
        return;
    }
    B_AVL_NODE_T *parent = stack->node[level - 1];
    const int dir = stack->pos[level - 1];
    const bool otherHasChild = avl_nodeChild(parent, -dir) != nullptr;
    avl_nodeSetSide(parent, dir, node);
    avl_nodeSetLeaf(parent, (leaf || node == nullptr) ? true : !otherHasChild);
}

// For dir forward X's left child Y rises over X; reverse is the mirror. Only
// the pointers move; tags of the written fields stay.
void avl_rotateNodesSingle(int dir, B_AVL_NODE_T *x, B_AVL_NODE_T *y) {
    B_AVL_NODE_T *inner = avl_nodeChild(y, dir);
    avl_nodeSetSide(x, -dir, inner != nullptr ? inner : y);
    avl_nodeSetSide(y, dir, x);
}

// Restores balance at X, whose stored balance (+1 or -1) shows the side that
// is now two levels taller. `done` (delete only) is set when the subtree kept
// its height.
B_AVL_NODE_T *avl_rotate(B_AVL_NODE_T *x, bool *done) {
    const int dir = avl_nodeBalance(x) > 0 ? ZEL_REVERSE : ZEL_FORWARD;
    B_AVL_NODE_T *y = avl_nodeChild(x, -dir);
    const int yb = avl_nodeBalance(y);
    const int childDir = yb < 1 ? ZEL_FORWARD : ZEL_REVERSE;
    if (childDir != dir && yb != 0) {
        B_AVL_NODE_T *z = avl_nodeChild(y, dir);
        const int zb = avl_nodeBalance(z);
        const bool zleaf = avl_nodeLeaf(z);
        avl_rotateNodesSingle(-dir, y, z);
        avl_rotateNodesSingle(dir, x, z);
        if (zb == 0) {
            avl_nodeSetBalance(x, 0);
            avl_nodeSetBalance(y, 0);
        } else if (zb == dir) {
            avl_nodeSetBalance(x, 0);
            avl_nodeSetBalance(y, -zb);
            avl_nodeSetLeaf(y, zleaf);
        } else {
            avl_nodeSetBalance(y, 0);
            avl_nodeSetBalance(x, -zb);
            avl_nodeSetLeaf(x, zleaf);
        }
        avl_nodeSetBalance(z, 0);
        avl_nodeSetLeaf(z, false);
        return z;
    }
    avl_rotateNodesSingle(dir, x, y);
    if (yb == 0) {
        avl_nodeSetBalance(x, -dir);
        avl_nodeSetBalance(y, dir);
        if (done != nullptr) *done = true;
    } else {
        avl_nodeSetBalance(x, 0);
        avl_nodeSetBalance(y, 0);
    }
    avl_nodeSetLeaf(y, false);
    return y;
}

void avl_rebalanceOnInsert(B_AVL_T *avl, AVL_STACK *stack) {
    for (unsigned i = stack->level; i-- > 0;) {
        B_AVL_NODE_T *node = stack->node[i];
        const int balance = avl_nodeBalance(node) + stack->pos[i];
        if (balance == 0) {
            avl_nodeSetBalance(node, 0);
            return;
        }
        if (balance == 2 || balance == -2) {
            avl_updateParent(avl, stack, i, avl_rotate(node, nullptr), false);
            return;
        }
        avl_nodeSetBalance(node, balance);
    }
}

void avl_rebalanceOnDelete(B_AVL_T *avl, AVL_STACK *stack) {
    for (unsigned i = stack->level; i-- > 0;) {
        B_AVL_NODE_T *node = stack->node[i];
        const int balance = avl_nodeBalance(node) - stack->pos[i];
        if (balance == 1 || balance == -1) {
            avl_nodeSetBalance(node, balance);
            return;
        }
        if (balance == 0) {
            avl_nodeSetBalance(node, 0);
            continue;
        }
        bool done = false;
        avl_updateParent(avl, stack, i, avl_rotate(node, &done), false);
        if (done) return;
    }
}

}  // namespace

namespace zel::detail {

void avl_insertLocated(B_AVL_T *avl, AVL_STACK *stack, B_AVL_NODE_T *value, B_AVL_NODE_T *next,
                       B_AVL_NODE_T *prev) {
    assert((avl_word(value) & AVL_BALANCE) == 0 && "nodes need 4-byte alignment");
    const unsigned level = stack->level;
    stack->node[level] = value;
    stack->pos[level] = 0;
    value->left = avl_word(prev) | AVL_LEAF;
    value->right = avl_word(next) | 1;  // balance 0
    avl_updateParent(avl, stack, level, value, false);
    avl_rebalanceOnInsert(avl, stack);
    avl->count++;
}

}  // namespace zel::detail

namespace {

// The node has at most one child. A single child takes its place and
// inherits the node's thread on the far side; with none, the parent's side
// becomes the node's thread on that side.
void avl_deleteLeafNode(B_AVL_T *avl, AVL_STACK *stack) {
    const unsigned level = stack->level;
    B_AVL_NODE_T *node = stack->node[level];
    const int balance = avl_nodeBalance(node);
    if (balance != 0) {
        B_AVL_NODE_T *child = avl_nodeChild(node, balance);
        avl_nodeSetSide(child, -balance, avl_nodeThread(node, -balance));
        avl_updateParent(avl, stack, level, child, false);
    } else if (level == 0) {
        avl_updateParent(avl, stack, 0, nullptr, true);
    } else {
        avl_updateParent(avl, stack, level, avl_nodeThread(node, stack->pos[level - 1]), true);
    }
}

// Re-aim the one thread that pointed at the deleted node to its replacement:
// the last node of the deleted node's left subtree when the replacement is its
// successor, the first node of its right subtree when it is its predecessor.
void avl_updateSuccessor(B_AVL_NODE_T *left, const B_AVL_NODE_T *repl) {
    avl_nodeSetRight(avl_adjacentDown(left, ZEL_REVERSE), repl);
}
void avl_updatePredecessor(B_AVL_NODE_T *right, const B_AVL_NODE_T *repl) {
    avl_nodeSetLeft(avl_adjacentDown(right, ZEL_FORWARD), repl);
}

// Pushes the path from the node at `level` to its neighbour on side `dir`
// (the first node of the right subtree for forward) and returns its level.
unsigned avl_adjacentDownWithStack(AVL_STACK *stack, unsigned level, int dir) {
    B_AVL_NODE_T *node = stack->node[level];
    stack->pos[level] = static_cast<int8_t>(dir);
    node = avl_nodeChild(node, dir);
    for (;;) {
        ++level;
        stack->node[level] = node;
        B_AVL_NODE_T *child = avl_nodeChild(node, -dir);
        if (child == nullptr) {
            stack->pos[level] = 0;
            return level;
        }
        stack->pos[level] = static_cast<int8_t>(-dir);
        node = child;
    }
}

// Unhooks the in-order neighbour R on side `dir` of the node at the stack's
// level and puts it in that node's place. dir +1 is the successor, -1 the
// predecessor; the comments speak of the successor.
void avl_removeNeighbour(B_AVL_T *avl, AVL_STACK *stack, int dir) {
    const unsigned level = stack->level;
    B_AVL_NODE_T *node = stack->node[level];
    // Both sides are children, so the raw words are safe to take before
    // the node's tags change below.
    B_AVL_NODE_T *nodeLeft = avl_ptr(node->left, AVL_LEAF);
    B_AVL_NODE_T *nodeRight = avl_ptr(node->right, AVL_BALANCE);
    const unsigned rlevel = avl_adjacentDownWithStack(stack, level, dir);
    B_AVL_NODE_T *repl = stack->node[rlevel];
    B_AVL_NODE_T *parent = stack->node[rlevel - 1];

    // R's right child, if any, takes R's place; else the place becomes a
    // thread: R's own successor thread when R hangs off the deleted node,
    // otherwise a thread to R, which becomes the predecessor of its parent.
    B_AVL_NODE_T *far = avl_nodeChild(repl, dir);
    if (far != nullptr) {
        avl_updateParent(avl, stack, rlevel, far, false);
    } else {
        avl_updateParent(avl, stack, rlevel, parent == node ? avl_nodeThread(repl, dir) : repl,
                         true);
    }

    if (dir > 0) {
        avl_updateSuccessor(nodeLeft, repl);
    } else {
        avl_updatePredecessor(nodeRight, repl);
    }

    // R takes the node's children and balance; it is a leaf only when it was
    // the node's own child with nothing on its far side.
    const bool leaf = parent == node && far == nullptr;
    repl->left = (node->left & ~AVL_LEAF) | (leaf ? AVL_LEAF : 0);
    repl->right = node->right;

    stack->node[level] = repl;
    stack->level = static_cast<uint16_t>(rlevel);
    avl_updateParent(avl, stack, level, repl, false);
}

void avl_removeSuccessor(B_AVL_T *avl, AVL_STACK *stack) {
    avl_removeNeighbour(avl, stack, ZEL_FORWARD);
}
void avl_removePredecessor(B_AVL_T *avl, AVL_STACK *stack) {
    avl_removeNeighbour(avl, stack, ZEL_REVERSE);
}

// Both children present: the replacement comes from the taller side, from
// the right on a tie.
void avl_deleteInteriorNode(B_AVL_T *avl, AVL_STACK *stack) {
    if (avl_nodeBalance(stack->node[stack->level]) < 0) {
        avl_removePredecessor(avl, stack);
    } else {
        avl_removeSuccessor(avl, stack);
    }
}

}  // namespace

namespace zel::detail {

B_AVL_NODE_T *avl_deleteCurrent(B_AVL_T *avl, AVL_STACK *stack) {
    B_AVL_NODE_T *node = stack->node[stack->level];
    if (avl_nodeLeaf(node)) {
        avl_deleteLeafNode(avl, stack);
    } else {
        avl_deleteInteriorNode(avl, stack);
    }
    avl_rebalanceOnDelete(avl, stack);
    avl->count--;
    return node;
}

void avl_pathToNext(AVL_STACK *stack, const B_AVL_NODE_T *next) {
    unsigned level = stack->level;
    while (stack->node[--level] != next) {
    }
    stack->pos[level] = 0;
    stack->level = static_cast<uint16_t>(level);
}

}  // namespace zel::detail

namespace {

// Removes the first (forward) or last (reverse) node.
B_AVL_NODE_T *avl_deleteEnd(B_AVL_T *avl, int dir) {
    B_AVL_NODE_T *node = avl->root;
    if (node == nullptr) return nullptr;
    AVL_STACK stack;
    unsigned level = 0;
    for (;;) {
        stack.node[level] = node;
        B_AVL_NODE_T *child = avl_nodeChild(node, -dir);
        if (child == nullptr) break;
        stack.pos[level] = static_cast<int8_t>(-dir);
        level++;
        node = child;
    }
    stack.pos[level] = 0;
    stack.level = static_cast<uint16_t>(level);
    return avl_deleteCurrent(avl, &stack);
}

}  // namespace

extern "C" {

void b_avlInit(B_AVL_T *avl, B_AVL_COMPARE cmpfcn, void *ctx) {
    avl->root = nullptr;
    avl->cmpfcn = cmpfcn;
    avl->ctx = ctx;
    avl->count = 0;
}

void b_avlTerm(B_AVL_T *avl) {
    avl->root = nullptr;
    avl->cmpfcn = nullptr;
    avl->ctx = nullptr;
    avl->count = 0;
}

ZEL_RETCODE b_avlAdd(B_AVL_T *avl, B_AVL_NODE_T *value) {
    return avl_addWith(avl, value, AvlCallCompare{avl});
}

B_AVL_NODE_T *b_avlFind(const B_AVL_T *avl, const B_AVL_NODE_T *lookup) {
    B_AVL_NODE_T *found, *next, *prev;
    (void)avl_locate(avl, nullptr, &found, &next, &prev, lookup);
    return found;
}

B_AVL_NODE_T *b_avlFindOrNext(const B_AVL_T *avl, const B_AVL_NODE_T *lookup) {
    B_AVL_NODE_T *found, *next, *prev;
    return avl_locate(avl, nullptr, &found, &next, &prev, lookup) == sOKAY ? found : next;
}

B_AVL_NODE_T *b_avlFindOrPrev(const B_AVL_T *avl, const B_AVL_NODE_T *lookup) {
    B_AVL_NODE_T *found, *next, *prev;
    return avl_locate(avl, nullptr, &found, &next, &prev, lookup) == sOKAY ? found : prev;
}

B_AVL_NODE_T *b_avlFirst(const B_AVL_T *avl) {
    return avl->root != nullptr ? avl_adjacentDown(avl->root, ZEL_FORWARD) : nullptr;
}

B_AVL_NODE_T *b_avlLast(const B_AVL_T *avl) {
    return avl->root != nullptr ? avl_adjacentDown(avl->root, ZEL_REVERSE) : nullptr;
}

B_AVL_NODE_T *b_avlNext(const B_AVL_NODE_T *node) {
    return avl_adjacent(node, ZEL_FORWARD);
}

B_AVL_NODE_T *b_avlPrev(const B_AVL_NODE_T *node) {
    return avl_adjacent(node, ZEL_REVERSE);
}

B_AVL_NODE_T *b_avlDelete(B_AVL_T *avl, const B_AVL_NODE_T *lookup) {
    AVL_STACK stack;
    B_AVL_NODE_T *found, *next, *prev;
    if (avl_locate(avl, &stack, &found, &next, &prev, lookup) != sOKAY) return nullptr;
    return avl_deleteCurrent(avl, &stack);
}

B_AVL_NODE_T *b_avlDeleteFindOrNext(B_AVL_T *avl, const B_AVL_NODE_T *lookup) {
    return avl_deleteFindOrNextWith(avl, lookup, AvlCallCompare{avl});
}

B_AVL_NODE_T *b_avlDeleteAndGetNext(B_AVL_T *avl, const B_AVL_NODE_T *lookup,
                                    B_AVL_NODE_T **pnext) {
    AVL_STACK stack;
    B_AVL_NODE_T *found, *next, *prev;
    if (avl_locate(avl, &stack, &found, &next, &prev, lookup) != sOKAY) {
        *pnext = nullptr;
        return nullptr;
    }
    *pnext = avl_adjacent(found, ZEL_FORWARD);
    return avl_deleteCurrent(avl, &stack);
}

B_AVL_NODE_T *b_avlDeleteFirst(B_AVL_T *avl) {
    return avl_deleteEnd(avl, ZEL_FORWARD);
}

B_AVL_NODE_T *b_avlDeleteLast(B_AVL_T *avl) {
    return avl_deleteEnd(avl, ZEL_REVERSE);
}

uint64_t b_avlCount(const B_AVL_T *avl) {
    return avl->count;
}

}  // extern "C"
