/*
 * ptrstack.cpp - the searchable pointer stack: a singly linked chain from
 * the top, one node per push, freed by pop or by a find-and-delete. The
 * search walks from the top, so the most recent match wins.
 */
#include "ptrstack.h"

#include "tag_sub.h"

void b_stackInit(B_STACK_T *stack, B_STACK_COMPARE cmpfcn, void *ctx, B_TAG_SUB subTag) {
    stack->ctx = ctx;
    stack->cmpfcn = cmpfcn;
    stack->subTag = subTag;
    stack->count = 0;
    stack->top = nullptr;
    stack->bottom = nullptr;
}

ZEL_RETCODE b_stackPush(B_STACK_T *stack, void *item) {
    ZEL_RETCODE rc;
    B_STACK_NODE *node = nullptr;
    ZEL_CHECK(rc = b_tag_subAlloc(stack->subTag, sizeof(B_STACK_NODE), &node));
    node->data = item;
    node->next = stack->top;
    if (stack->top == nullptr) stack->bottom = node;
    stack->top = node;
    stack->count++;
    return sOKAY;
}

ZEL_RETCODE b_stackPop(B_STACK_T *stack, void **pItem) {
    B_STACK_NODE *node = stack->top;
    if (node == nullptr) return sNODATA;
    stack->top = node->next;
    if (stack->top == nullptr) stack->bottom = nullptr;
    stack->count--;
    if (pItem != nullptr) *pItem = node->data;
    b_tag_subFree(stack->subTag, node);
    return sOKAY;
}

void *b_stackTop(const B_STACK_T *stack) {
    return stack->top == nullptr ? nullptr : stack->top->data;
}

ZEL_RETCODE b_stackFind(const B_STACK_T *stack, const void *lookup, void **pItem) {
    for (B_STACK_NODE *node = stack->top; node != nullptr; node = node->next) {
        if (stack->cmpfcn(lookup, node->data, stack->ctx) == ZEL_EQ) {
            if (pItem != nullptr) *pItem = node->data;
            return sOKAY;
        }
    }
    return sNOTFOUND;
}

ZEL_RETCODE b_stackFindAndDeleteEx(B_STACK_T *stack, const void *lookup, void **pItem) {
    B_STACK_NODE **link = &stack->top;
    for (B_STACK_NODE *node = stack->top; node != nullptr; node = node->next) {
        if (stack->cmpfcn(lookup, node->data, stack->ctx) == ZEL_EQ) {
            *link = node->next;
            // Deliberately `bottom` is left as it is, even when its node goes:
            // nothing reads through it, and push resets it on an empty stack.
            stack->count--;
            if (pItem != nullptr) *pItem = node->data;
            b_tag_subFree(stack->subTag, node);
            return sOKAY;
        }
        link = &node->next;
    }
    return sNOTFOUND;
}

ZEL_RETCODE b_stackFindAndDelete(B_STACK_T *stack, const void *lookup) {
    return b_stackFindAndDeleteEx(stack, lookup, nullptr);
}

uint64_t b_stackCount(const B_STACK_T *stack) {
    return stack->count;
}

void b_stackTerm(B_STACK_T *stack) {
    // The nodes are not freed here: they are left to the tag, as the owner
    // that pushed without popping has chosen.
    stack->top = nullptr;
    stack->bottom = nullptr;
    stack->count = 0;
}
