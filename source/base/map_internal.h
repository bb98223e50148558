/*
 * map_internal.h - what the map modules share inside the library: key order,
 * the free list of released items and the lock of the lockable maps.
 */
#ifndef MAP_INTERNAL_H
#define MAP_INTERNAL_H

#include "map_types.h"
#include "psp.h"
#include "tag_sub.h"

namespace zel::detail {

inline ZEL_COMPARE map_keyOrder(B_MAP_KEY a, B_MAP_KEY b) {
    return a < b ? ZEL_LT : (a > b ? ZEL_GT : ZEL_EQ);
}

// The caller's order, held to exactly -1, 0, 1: the AVL tree adds the result
// to its balances.
inline ZEL_COMPARE map_callerOrder(B_MAP_KEY_COMPARE fcn, B_MAP_KEY a, B_MAP_KEY b,
                                   const void *ctx) {
    const int c = fcn(a, b, ctx);
    return c < 0 ? ZEL_LT : (c > 0 ? ZEL_GT : ZEL_EQ);
}

// The free list of released items, whose first word is the link. An item is
// kept while the list is below B_MAP_AVAIL_MAX, the head is reused first.
struct MapAvail {
    B_MAP_ITEM_LIST **head;
    uint32_t *count;

    void *pop() const {
        B_MAP_ITEM_LIST *item = *head;
        if (item != nullptr) {
            *head = item->next;
            --*count;
        }
        return item;
    }
    bool push(void *item) const {
        if (*count >= B_MAP_AVAIL_MAX) return false;
        auto *link = static_cast<B_MAP_ITEM_LIST *>(item);
        link->next = *head;
        *head = link;
        ++*count;
        return true;
    }
    // Hands every kept item to `release`; the list is empty afterwards.
    template <class Release>
    void drain(Release &&release) const {
        while (void *item = pop()) release(item);
    }
};

// An item of `size` bytes: off the free list, else from the tag.
inline ZEL_RETCODE map_itemTake(const MapAvail &avail, B_TAG_SUB sub, size_t size, void **item) {
    void *p = avail.pop();
    if (p == nullptr) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_tag_subAlloc(sub, size, &p));
    }
    *item = p;
    return sOKAY;
}

// A released item: onto the free list, or back to the tag when it is full.
inline void map_itemGive(const MapAvail &avail, B_TAG_SUB sub, void *item) {
    if (!avail.push(item)) b_tag_subFree(sub, item);
}

// Holds a map's mutex for one call when the map was made with the lock flag.
// M has `use_mutex` and `mutex`.
template <class M>
class MapLock {
  public:
    explicit MapLock(M *m) : m_(m->use_mutex ? m : nullptr) {
        if (m_ != nullptr) psp_threadMutexEnter(&m_->mutex);
    }
    ~MapLock() {
        if (m_ != nullptr) psp_threadMutexExit(&m_->mutex);
    }
    MapLock(const MapLock &) = delete;
    MapLock &operator=(const MapLock &) = delete;

  private:
    M *m_;
};

}  // namespace zel::detail

#endif /* MAP_INTERNAL_H */
