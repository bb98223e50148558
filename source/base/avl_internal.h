// avl_internal.h - the search of the AVL tree as a template over its
// comparison, for the library's own trees. C++ only.
//
// The public calls (avl.h) compare through the tree's function pointer; a
// module whose order is fixed (the master tag's page trees) instantiates the
// same search with its comparison in line, which spares an indirect call per
// level. Either way the tree is the same: the changing steps after a search
// (avl_insertLocated, avl_deleteCurrent) are shared, and the comparison must
// order exactly as the tree's cmpfcn does.
#ifndef AVL_INTERNAL_H
#define AVL_INTERNAL_H

#include <cstdint>

#include "avl.h"

namespace zel::detail {

constexpr uintptr_t AVL_LEAF = 1;     // bit 0 of `left`
constexpr uintptr_t AVL_BALANCE = 3;  // bits 0-1 of `right`: balance + 1

// Path of one changing operation, from the root down. 100 levels is beyond
// any AVL tree that fits in memory, so depth is not checked.
constexpr int AVL_STACK_DEPTH = 100;
struct AVL_STACK {
    uint16_t level;  // next free entry, or the entry of the found node
    B_AVL_NODE_T *node[AVL_STACK_DEPTH];
    int8_t pos[AVL_STACK_DEPTH];  // direction taken: -1 left, +1 right, 0 end
};

inline B_AVL_NODE_T *avl_ptr(uintptr_t word, uintptr_t tags) {
    return reinterpret_cast<B_AVL_NODE_T *>(word & ~tags);
}

inline bool avl_nodeLeaf(const B_AVL_NODE_T *node) {
    return (node->left & AVL_LEAF) != 0;
}

// Child or null, by the table of avl.cpp.
inline B_AVL_NODE_T *avl_nodeLeft(const B_AVL_NODE_T *node) {
    return (!avl_nodeLeaf(node) || (node->right & AVL_BALANCE) == 0) ? avl_ptr(node->left, AVL_LEAF)
                                                                     : nullptr;
}
inline B_AVL_NODE_T *avl_nodeRight(const B_AVL_NODE_T *node) {
    return (!avl_nodeLeaf(node) || (node->right & AVL_BALANCE) == 2)
               ? avl_ptr(node->right, AVL_BALANCE)
               : nullptr;
}
// Thread or null.
inline B_AVL_NODE_T *avl_nodePrev(const B_AVL_NODE_T *node) {
    return (avl_nodeLeaf(node) && (node->right & AVL_BALANCE) != 0) ? avl_ptr(node->left, AVL_LEAF)
                                                                    : nullptr;
}
inline B_AVL_NODE_T *avl_nodeNext(const B_AVL_NODE_T *node) {
    return (avl_nodeLeaf(node) && (node->right & AVL_BALANCE) != 2)
               ? avl_ptr(node->right, AVL_BALANCE)
               : nullptr;
}

// The comparison of the public calls: the tree's function and context.
struct AvlCallCompare {
    const B_AVL_T *avl;
    ZEL_COMPARE operator()(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node) const;
};

// Finds `lookup`, `cmp(lookup, node)` ordering it. With a stack, records the
// path; `level` ends on the found node, or one beyond the last node visited.
// On a miss, `next` and `prev` receive the neighbours of the place where the
// lookup would go.
template <class Cmp>
inline ZEL_RETCODE avl_locateWith(const B_AVL_T *avl, AVL_STACK *stack, B_AVL_NODE_T **found,
                                  B_AVL_NODE_T **next, B_AVL_NODE_T **prev,
                                  const B_AVL_NODE_T *lookup, Cmp cmp) {
    *found = *next = *prev = nullptr;
    B_AVL_NODE_T *node = avl->root;
    if (node == nullptr) {
        if (stack != nullptr) stack->level = 0;
        return sNOTFOUND;
    }
    unsigned level = 0;
    for (;;) {
        // Both ways down start loading while the comparison runs: on a tree
        // past the caches the comparison is then hidden behind the next
        // node's load, and a mispredicted turn finds the other child on its
        // way.
        __builtin_prefetch(avl_ptr(node->left, AVL_BALANCE));
        __builtin_prefetch(avl_ptr(node->right, AVL_BALANCE));
        const ZEL_COMPARE c = cmp(lookup, node);
        if (stack != nullptr) {
            stack->node[level] = node;
            stack->pos[level] = static_cast<int8_t>(c);
        }
        if (c == ZEL_EQ) {
            *found = node;
            if (stack != nullptr) stack->level = static_cast<uint16_t>(level);
            return sOKAY;
        }
        level++;
        B_AVL_NODE_T *child = c == ZEL_LT ? avl_nodeLeft(node) : avl_nodeRight(node);
        if (child == nullptr) {
            if (c == ZEL_LT) {
                *next = node;
                *prev = avl_nodePrev(node);
            } else {
                *prev = node;
                *next = avl_nodeNext(node);
            }
            if (stack != nullptr) stack->level = static_cast<uint16_t>(level);
            return sNOTFOUND;
        }
        node = child;
    }
}

// After a search that missed: links `value` in at the path's end and
// rebalances.
void avl_insertLocated(B_AVL_T *avl, AVL_STACK *stack, B_AVL_NODE_T *value, B_AVL_NODE_T *next,
                       B_AVL_NODE_T *prev);
// After a search that found: removes the node at the stack's level and
// rebalances the path above it. Returns that node.
B_AVL_NODE_T *avl_deleteCurrent(B_AVL_T *avl, AVL_STACK *stack);
// After a search that missed with a `next`: cuts the path back to `next`,
// which lies on it (the last node where the search went left), so that the
// path is the one a search for `next` itself would take.
void avl_pathToNext(AVL_STACK *stack, const B_AVL_NODE_T *next);

template <class Cmp>
inline ZEL_RETCODE avl_addWith(B_AVL_T *avl, B_AVL_NODE_T *value, Cmp cmp) {
    AVL_STACK stack;
    B_AVL_NODE_T *found, *next, *prev;
    if (avl_locateWith(avl, &stack, &found, &next, &prev, value, cmp) == sOKAY) return eDUPLICATE;
    avl_insertLocated(avl, &stack, value, next, prev);
    return sOKAY;
}

template <class Cmp>
inline B_AVL_NODE_T *avl_deleteWith(B_AVL_T *avl, const B_AVL_NODE_T *lookup, Cmp cmp) {
    AVL_STACK stack;
    B_AVL_NODE_T *found, *next, *prev;
    if (avl_locateWith(avl, &stack, &found, &next, &prev, lookup, cmp) != sOKAY) return nullptr;
    return avl_deleteCurrent(avl, &stack);
}

template <class Cmp>
inline B_AVL_NODE_T *avl_findOrPrevWith(const B_AVL_T *avl, const B_AVL_NODE_T *lookup, Cmp cmp) {
    B_AVL_NODE_T *found, *next, *prev;
    return avl_locateWith(avl, nullptr, &found, &next, &prev, lookup, cmp) == sOKAY ? found : prev;
}

template <class Cmp>
inline B_AVL_NODE_T *avl_deleteFindOrNextWith(B_AVL_T *avl, const B_AVL_NODE_T *lookup, Cmp cmp) {
    AVL_STACK stack;
    B_AVL_NODE_T *found, *next, *prev;
    if (avl_locateWith(avl, &stack, &found, &next, &prev, lookup, cmp) != sOKAY) {
        if (next == nullptr) return nullptr;
        avl_pathToNext(&stack, next);
    }
    return avl_deleteCurrent(avl, &stack);
}

}  // namespace zel::detail

#endif
