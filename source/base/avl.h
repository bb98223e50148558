/*
 * avl.h - intrusive, threaded, height-balanced search tree.
 *
 * The caller embeds a B_AVL_NODE_T as the first member of its record, owns all
 * storage and supplies the ordering; the tree allocates nothing, which is what
 * lets the memory tags themselves be built on it. A node is two words: balance
 * and a leaf flag live in the pointers' low bits, and leaf nodes keep threads
 * to their in-order neighbours, so stepping needs neither parent links nor the
 * tree head. Nodes must be aligned to at least 4 bytes.
 */
#ifndef AVL_H
#define AVL_H

#include <stdint.h>

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* `left`: child or predecessor thread, bit 0 the leaf flag.
 * `right`: child or successor thread, bits 0-1 the balance plus 1. */
typedef struct B_AVL_NODE_S {
    uintptr_t left;
    uintptr_t right;
} B_AVL_NODE_T;

/* Orders `lookup` relative to `node`; returns exactly ZEL_LT, ZEL_EQ or ZEL_GT
 * (the result is added to balances). A search never touches the lookup's link
 * fields, so the lookup need only carry what the comparison reads. */
typedef ZEL_COMPARE (*B_AVL_COMPARE)(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node,
                                     void *ctx);

typedef struct B_AVL_S {
    B_AVL_NODE_T *root;
    B_AVL_COMPARE cmpfcn;
    void *ctx;
    uint64_t count;
} B_AVL_T;

/* b_avlFirst / b_avlLast and b_avlNext / b_avlPrev, so that a caller can pick
 * its walking direction once. */
typedef B_AVL_NODE_T *(*AVL_FCN)(const B_AVL_T *avl);
typedef B_AVL_NODE_T *(*AVL_NODE_FCN)(const B_AVL_NODE_T *node);

void b_avlInit(B_AVL_T *avl, B_AVL_COMPARE cmpfcn, void *ctx);
/* Forgets all nodes without visiting them; they are the caller's. */
void b_avlTerm(B_AVL_T *avl);
/* sOKAY, or eDUPLICATE when an equal node is present (tree unchanged). */
ZEL_NODISCARD ZEL_RETCODE b_avlAdd(B_AVL_T *avl, B_AVL_NODE_T *value);
/* The equal node, or null. */
B_AVL_NODE_T *b_avlFind(const B_AVL_T *avl, const B_AVL_NODE_T *lookup);
/* The equal node, else the least node above the lookup, else null. */
B_AVL_NODE_T *b_avlFindOrNext(const B_AVL_T *avl, const B_AVL_NODE_T *lookup);
/* As b_avlFindOrNext, and the node found is removed from the tree, in one
 * descent (the tree ends as b_avlDelete of that node would leave it). */
B_AVL_NODE_T *b_avlDeleteFindOrNext(B_AVL_T *avl, const B_AVL_NODE_T *lookup);
/* The equal node, else the greatest node below the lookup, else null. */
B_AVL_NODE_T *b_avlFindOrPrev(const B_AVL_T *avl, const B_AVL_NODE_T *lookup);
B_AVL_NODE_T *b_avlFirst(const B_AVL_T *avl);
B_AVL_NODE_T *b_avlLast(const B_AVL_T *avl);
/* In-order neighbours, or null at the ends; need no tree head. */
B_AVL_NODE_T *b_avlNext(const B_AVL_NODE_T *node);
B_AVL_NODE_T *b_avlPrev(const B_AVL_NODE_T *node);
/* Removes and returns the tree's node equal to `lookup` (never the lookup
 * itself), or null. */
B_AVL_NODE_T *b_avlDelete(B_AVL_T *avl, const B_AVL_NODE_T *lookup);
/* As b_avlDelete; *pnext gets the removed node's successor. When nothing is
 * found, the result and *pnext are both null. */
B_AVL_NODE_T *b_avlDeleteAndGetNext(B_AVL_T *avl, const B_AVL_NODE_T *lookup, B_AVL_NODE_T **pnext);
B_AVL_NODE_T *b_avlDeleteFirst(B_AVL_T *avl);
B_AVL_NODE_T *b_avlDeleteLast(B_AVL_T *avl);
uint64_t b_avlCount(const B_AVL_T *avl);

ZEL_EXTERN_C_END

#endif /* AVL_H */
