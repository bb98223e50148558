/*
 * list.cpp - the doubly linked pointer list. Each node holds one caller
 * pointer; the list keeps head, tail, a count and a cursor for callers that
 * walk it step by step. Removing by pointer compares addresses, and tries the
 * two ends first because queues and stacks built on the list take from there.
 */
#include "list.h"

#include "tag_sub.h"

namespace {

void *b_llItem(const B_LL_NODE *node) {
    // The list stores the caller's pointer as const; the caller owns it.
    return node == nullptr ? nullptr : const_cast<void *>(node->ptr);
}

// Unlinks `node`, frees it and returns its item.
void *b_llUnlink(B_LL_T *ll, B_LL_NODE *node) {
    if (node->prev != nullptr) {
        node->prev->next = node->next;
    } else {
        ll->head = node->next;
    }
    if (node->next != nullptr) {
        node->next->prev = node->prev;
    } else {
        ll->tail = node->prev;
    }
    if (ll->cur == node) ll->cur = nullptr;
    ll->count--;
    void *item = b_llItem(node);
    b_tag_subFree(ll->subTag, node);
    return item;
}

ZEL_RETCODE b_llNewNode(B_LL_T *ll, const void *ptr, B_LL_NODE **pNode) {
    ZEL_RETCODE rc;
    B_LL_NODE *node = nullptr;
    ZEL_CHECK(rc = b_tag_subAllocClear(ll->subTag, sizeof(B_LL_NODE), &node));
    node->ptr = ptr;
    *pNode = node;
    return sOKAY;
}

}  // namespace

void b_llInit(B_LL_T *ll, B_TAG_SUB subTag) {
    ll->head = nullptr;
    ll->tail = nullptr;
    ll->cur = nullptr;
    ll->subTag = subTag;
    ll->count = 0;
}

void b_llTerm(B_LL_T *ll) {
    while (ll->head != nullptr) b_llUnlink(ll, ll->head);
    ll->subTag = nullptr;
}

uint32_t b_llGetNodeCount(const B_LL_T *ll) {
    return ll->count;
}

ZEL_RETCODE b_llAddHead(B_LL_T *ll, const void *ptr) {
    ZEL_RETCODE rc;
    B_LL_NODE *node;
    ZEL_CHECK(rc = b_llNewNode(ll, ptr, &node));
    node->next = ll->head;
    if (ll->head != nullptr) {
        ll->head->prev = node;
    } else {
        ll->tail = node;
    }
    ll->head = node;
    ll->count++;
    return sOKAY;
}

ZEL_RETCODE b_llAddTail(B_LL_T *ll, const void *ptr) {
    ZEL_RETCODE rc;
    B_LL_NODE *node;
    ZEL_CHECK(rc = b_llNewNode(ll, ptr, &node));
    node->prev = ll->tail;
    if (ll->tail != nullptr) {
        ll->tail->next = node;
    } else {
        ll->head = node;
    }
    ll->tail = node;
    ll->count++;
    return sOKAY;
}

void *b_llGetHead(const B_LL_T *ll) {
    return b_llItem(ll->head);
}

void *b_llGetTail(const B_LL_T *ll) {
    return b_llItem(ll->tail);
}

void *b_llFirst(B_LL_T *ll) {
    ll->cur = ll->head;
    return b_llItem(ll->cur);
}

void *b_llLast(B_LL_T *ll) {
    ll->cur = ll->tail;
    return b_llItem(ll->cur);
}

void *b_llNext(B_LL_T *ll) {
    if (ll->cur != nullptr) ll->cur = ll->cur->next;
    return b_llItem(ll->cur);
}

void *b_llPrev(B_LL_T *ll) {
    if (ll->cur != nullptr) ll->cur = ll->cur->prev;
    return b_llItem(ll->cur);
}

void *b_llDeleteHead(B_LL_T *ll) {
    return ll->head == nullptr ? nullptr : b_llUnlink(ll, ll->head);
}

void *b_llDeleteTail(B_LL_T *ll) {
    return ll->tail == nullptr ? nullptr : b_llUnlink(ll, ll->tail);
}

void *b_llRemove(B_LL_T *ll, const void *ptr) {
    // A walk from the head: a match at the tail is only the first match when
    // no inner node holds the same address, so the tail cannot be taken early.
    for (B_LL_NODE *node = ll->head; node != nullptr; node = node->next) {
        if (node->ptr == ptr) return b_llUnlink(ll, node);
    }
    return nullptr;
}

ZEL_RETCODE b_llIterate(const B_LL_T *ll, B_LL_ITERATE_FCN fcn, void *ctx) {
    ZEL_RETCODE rc;
    for (const B_LL_NODE *node = ll->head; node != nullptr; node = node->next) {
        ZEL_CHECK(rc = fcn(b_llItem(node), ctx));
    }
    return sOKAY;
}

ZEL_RETCODE b_llIterateBackward(const B_LL_T *ll, B_LL_ITERATE_FCN fcn, void *ctx) {
    ZEL_RETCODE rc;
    for (const B_LL_NODE *node = ll->tail; node != nullptr; node = node->prev) {
        ZEL_CHECK(rc = fcn(b_llItem(node), ctx));
    }
    return sOKAY;
}
