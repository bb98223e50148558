/*
 * list.h - a doubly linked list of caller-owned pointers with one cursor.
 * The list owns its nodes (taken from its sub tag) and never the items they
 * point at. One thread at a time.
 */
#ifndef LIST_H
#define LIST_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_LL_NODE_S {
    struct B_LL_NODE_S *next;
    struct B_LL_NODE_S *prev;
    const void *ptr;
} B_LL_NODE;

typedef struct B_LL_S {
    B_LL_NODE *head;
    B_LL_NODE *tail;
    B_LL_NODE *cur; /* the cursor; null when it is on no node */
    B_TAG_SUB subTag;
    uint32_t count;
} B_LL_T;

/* Called on each item by the iterators; a negative code stops the walk. */
typedef ZEL_RETCODE (*B_LL_ITERATE_FCN)(void *item, void *ctx);

/* An empty list whose nodes will come from `subTag`. */
void b_llInit(B_LL_T *ll, B_TAG_SUB subTag);
/* Frees every node from the head on and clears `subTag`; the items stay. */
void b_llTerm(B_LL_T *ll);
uint32_t b_llGetNodeCount(const B_LL_T *ll);
/* Link `ptr` in a fresh cleared node at the head or the tail; eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_llAddHead(B_LL_T *ll, const void *ptr);
ZEL_NODISCARD ZEL_RETCODE b_llAddTail(B_LL_T *ll, const void *ptr);
/* The item at an end, null when empty; the cursor does not move. */
void *b_llGetHead(const B_LL_T *ll);
void *b_llGetTail(const B_LL_T *ll);
/* Put the cursor on an end and return its item, null when empty. */
void *b_llFirst(B_LL_T *ll);
void *b_llLast(B_LL_T *ll);
/* Move the cursor one step and return its item. Past an end, or with no
 * cursor, the cursor is cleared and null is returned. */
void *b_llNext(B_LL_T *ll);
void *b_llPrev(B_LL_T *ll);
/* Unlink and free the node at an end; its item, or null when empty. */
void *b_llDeleteHead(B_LL_T *ll);
void *b_llDeleteTail(B_LL_T *ll);
/* Unlink and free the first node from the head holding the address `ptr`;
 * returns `ptr`, or null when it is not in the list.
 * A cursor on the removed node is cleared. */
void *b_llRemove(B_LL_T *ll, const void *ptr);
/* fcn(item, ctx) from the head (or the tail) on; returns the first negative
 * code of fcn, else sOKAY. fcn must not change the list. */
ZEL_NODISCARD ZEL_RETCODE b_llIterate(const B_LL_T *ll, B_LL_ITERATE_FCN fcn, void *ctx);
ZEL_NODISCARD ZEL_RETCODE b_llIterateBackward(const B_LL_T *ll, B_LL_ITERATE_FCN fcn, void *ctx);

ZEL_EXTERN_C_END

#endif /* LIST_H */
