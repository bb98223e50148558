/*
 * ptrstack.h - a stack of caller-owned pointers that can also be searched
 * from the top with the caller's comparison. Nodes come from a sub tag; the
 * items are never owned. One thread at a time.
 */
#ifndef PTRSTACK_H
#define PTRSTACK_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* ZEL_EQ when `item` is the one that `lookup` describes. */
typedef ZEL_COMPARE (*B_STACK_COMPARE)(const void *lookup, const void *item, void *ctx);

typedef struct B_STACK_NODE_S {
    void *data;
    struct B_STACK_NODE_S *next; /* towards the bottom */
} B_STACK_NODE;

typedef struct B_STACK_S {
    void *ctx;
    B_STACK_COMPARE cmpfcn;
    B_TAG_SUB subTag;
    uint64_t count;
    B_STACK_NODE *top;
    B_STACK_NODE *bottom;
} B_STACK_T;

/* An empty stack; `cmpfcn` (may be null if no find is used) gets `ctx`. */
void b_stackInit(B_STACK_T *stack, B_STACK_COMPARE cmpfcn, void *ctx, B_TAG_SUB subTag);
/* eNOMEMORY when no node can be had. */
ZEL_NODISCARD ZEL_RETCODE b_stackPush(B_STACK_T *stack, void *item);
/* Takes the top item into *pItem (pItem may be null); sNODATA when empty. */
ZEL_NODISCARD ZEL_RETCODE b_stackPop(B_STACK_T *stack, void **pItem);
/* The top item, null when empty. */
void *b_stackTop(const B_STACK_T *stack);
/* The first item from the top for which cmpfcn(lookup, item, ctx) is ZEL_EQ,
 * into *pItem (may be null); sNOTFOUND when there is none. */
ZEL_NODISCARD ZEL_RETCODE b_stackFind(const B_STACK_T *stack, const void *lookup, void **pItem);
/* As b_stackFind, and the item's node is taken out and freed. */
ZEL_NODISCARD ZEL_RETCODE b_stackFindAndDeleteEx(B_STACK_T *stack, const void *lookup,
                                                 void **pItem);
ZEL_NODISCARD ZEL_RETCODE b_stackFindAndDelete(B_STACK_T *stack, const void *lookup);
uint64_t b_stackCount(const B_STACK_T *stack);
/* Unlinks all nodes without freeing them: pop what must be given back to the
 * tag before calling it. */
void b_stackTerm(B_STACK_T *stack);

ZEL_EXTERN_C_END

#endif /* PTRSTACK_H */
