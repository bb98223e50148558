/*
 * pool.cpp - object pools over a sub tag.
 *
 * Every object carries a B_POOL_HDR just before it; while the object is
 * pooled the header links it into a singly linked free list, and its `size`
 * keeps what it was created for. Getting pops the head, putting pushes it,
 * so both are constant time and the most recently used object, the one most
 * likely still in cache, is handed out next.
 *
 *   OFFSET SIZE MEANING (of an object's allocation)
 *   0      8    next  free list link
 *   8      8    size  bytes asked for at creation
 *   16     size the object
 */
#include "pool.h"

#include <cstddef>
#include <cstring>

#include "tag_sub.h"

static_assert(sizeof(B_POOL_HDR) == 16);
static_assert(offsetof(B_POOL_HDR, next) == 0);
static_assert(offsetof(B_POOL_HDR, size) == 8);

namespace {

B_POOL_HDR *b_pool_header(void *object) {
    return static_cast<B_POOL_HDR *>(object) - 1;
}

void b_pool_destroy(B_POOL_T *pool, B_POOL_HDR *hdr) {
    if (pool->destructor != nullptr) pool->destructor(pool->userdata, hdr + 1);
    b_tag_subFree(pool->subTag, hdr);
}

B_POOL_HDR *b_pool_pop(B_POOL_T *pool) {
    B_POOL_HDR *hdr = pool->next;
    pool->next = hdr->next;
    pool->count--;
    return hdr;
}

}  // namespace

extern "C" {

void b_poolInit(B_POOL_T *pool, B_TAG_SUB subTag, B_POOL_SIZE_INFO size_info,
                B_POOL_CONSTRUCTOR constructor, B_POOL_DESTRUCTOR destructor,
                B_POOL_USERDATA userdata) {
    pool->next = nullptr;
    pool->subTag = subTag;
    pool->count = 0;
    pool->max_pooled_items = B_POOL_DEFAULT_MAX_POOLED;
    pool->size_info = size_info;
    pool->constructor = constructor;
    pool->destructor = destructor;
    pool->userdata = userdata;
}

ZEL_RETCODE b_poolGetMem(B_POOL_T *pool, size_t sz, B_POOL_ALLOC_OPT mode, const void *data,
                         void *res) {
    B_POOL_HDR *hdr = nullptr;
    if (pool->next != nullptr) {
        hdr = b_pool_pop(pool);
        // Only the head is looked at, never the rest of the list: a
        // variable-size pool sheds its small objects as it meets them.
        if (hdr->size < sz) {
            b_pool_destroy(pool, hdr);
            hdr = nullptr;
        }
    }
    if (hdr == nullptr) {
        if (sz > SIZE_MAX - sizeof(B_POOL_HDR)) return eNOMEMORY;
        void *mem = nullptr;
        if (b_tag_subAlloc(pool->subTag, sz + sizeof(B_POOL_HDR), &mem) < 0) return eNOMEMORY;
        hdr = static_cast<B_POOL_HDR *>(mem);
        hdr->size = sz;
        if (pool->constructor != nullptr) pool->constructor(pool->userdata, hdr + 1);
    }
    void *object = hdr + 1;
    if (mode == B_POOL_ALLOC_CLEAR) {
        std::memset(object, 0, sz);
    } else if (mode == B_POOL_ALLOC_COPY && sz != 0) {
        std::memcpy(object, data, sz);
    }
    std::memcpy(res, &object, sizeof object);
    return sOKAY;
}

void b_poolPut(B_POOL_T *pool, void *ptr) {
    if (ptr == nullptr) return;
    B_POOL_HDR *hdr = b_pool_header(ptr);
    if (pool->count >= pool->max_pooled_items) {
        b_pool_destroy(pool, hdr);
        return;
    }
    hdr->next = pool->next;
    pool->next = hdr;
    pool->count++;
}

void psp_poolSetMaxPooled(B_POOL_T *pool, uint32_t max_items) {
    pool->max_pooled_items = max_items;
    while (pool->count > max_items) b_pool_destroy(pool, b_pool_pop(pool));
}

void b_poolTerm(B_POOL_T *pool) {
    while (pool->next != nullptr) b_pool_destroy(pool, b_pool_pop(pool));
    std::memset(pool, 0, sizeof *pool);
}

}  // extern "C"
