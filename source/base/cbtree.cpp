/*
 * cbtree.cpp - the cached B-tree: numbered nodes, an age list, and eviction
 * to a node file.
 *
 * The one idea: nothing refers to a node by address across a step that may
 * evict. Children and the cursor's path hold numbers, and each step looks its
 * node up by number (b_cbtAccessNode), which reads it back from the file when
 * it has left memory. The nodes a split is working on are pinned by taking
 * them off the age list, the only place eviction looks; so the cache may pass
 * `max_cached_nodes` by two during a split (the node, a new sibling, and the
 * parent or a second new child).
 *
 * Node image, at id * nodesize in the file (host byte order; the file lives
 * and dies with the tree):
 *   OFFSET          SIZE              MEANING
 *   0               4                 used
 *   4               4 * (used + 1)    children in order, 0xFFFFFFFF in a leaf
 *   8 + 4 * used    slotsize * used   entries, as zapfcn wrote them
 *   then            to nodesize       whatever nodebuff held before; never read
 * nodesize = slots * (slotsize + 4) + 8 holds `slots` entries. A node holds
 * at most slots - 1 between calls, except one whose split failed after the
 * entry below it had gone in: it keeps `slots` until an add passing through
 * splits it first. An image with more is a damaged file (eFILEIO).
 *
 * A split takes what it needs (the new nodes, the parent) before it moves
 * anything, one level at a time, so that a failure at the leaf leaves the
 * entries as they were and a failure higher up leaves one full node.
 *
 * Numbers are looked up in cached_nodes, a B-tree by id; a direct-mapped
 * array in front of it (slot id & idmask) answers most lookups with one load,
 * which halves the time of a descent that never leaves memory.
 */
#include "cbtree.h"

#include <cstddef>
#include <cstring>

#include "btree.h"
#include "cbtree_internal.h"
#include "path.h"
#include "psp.h"
#include "tag_sub.h"

static_assert(sizeof(B_CBTREE_SLOT) == 16 && offsetof(B_CBTREE_SLOT, child) == 0 &&
                  offsetof(B_CBTREE_SLOT, data) == 8,
              "an entry and the child to its right are 16 contiguous bytes");
static_assert(sizeof(B_CBTREE_PATH) == 8);
static_assert(sizeof(B_CBTREE_ID) == 4, "a child is 4 bytes in the image");

namespace {

constexpr B_CBTREE_ID kNoId = B_CBTREE_NO_ID;
constexpr uint32_t kNoLevel = 0xFFFFFFFFu;
// Levels of path beyond the tree's height. The path grows by one level with
// each root split, so a descent that runs off it is a node file that loops.
constexpr uint32_t kPathSpare = 4;
constexpr uint32_t kCachedNodesSlots = 32;
constexpr size_t kSlot = sizeof(B_CBTREE_SLOT);

inline uint32_t cbt_load32(const uint8_t *p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

inline void cbt_store32(uint8_t *p, uint32_t v) {
    std::memcpy(p, &v, 4);
}

inline uint64_t cbt_offset(const B_CBTREE_T *t, B_CBTREE_ID id) {
    return uint64_t{t->nodesize} * id;
}

// The entries of an image of `used` entries start after the children.
inline size_t cbt_entriesAt(uint32_t used) {
    return 8 + size_t{4} * used;
}

// cached_nodes holds pointers to the nodes' `id` fields, so that a lookup
// is a pointer to a bare number.
ZEL_COMPARE b_cbtIdCompare(const void *a, const void *b, const void *) {
    const uint32_t x = *static_cast<const uint32_t *>(a);
    const uint32_t y = *static_cast<const uint32_t *>(b);
    return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
}

inline B_CBTREE_NODE *cbt_nodeOfId(void *id) {
    return reinterpret_cast<B_CBTREE_NODE *>(static_cast<char *>(id) - offsetof(B_CBTREE_NODE, id));
}

// The shortcut map has a slot per node the cache holds, within these bounds.
constexpr uint32_t kIdMapMin = 16;
constexpr uint32_t kIdMapMax = 65536;

uint32_t cbt_idMapSize(uint32_t cachednodes) {
    uint32_t n = kIdMapMin;
    while (n < cachednodes && n < kIdMapMax) n <<= 1;
    return n;
}

// Into cached_nodes, and the node's slot of the shortcut map.
ZEL_RETCODE cbt_cacheAdd(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    if (b_btAdd(&t->cached_nodes, &n->id) != sOKAY) return eNOMEMORY;
    t->idmap[n->id & t->idmask] = n;
    return sOKAY;
}

void cbt_cacheRemove(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    (void)b_btDelete(&t->cached_nodes, &n->id);  // cannot fail: the path is as deep as the tree
    if (t->idmap[n->id & t->idmask] == n) t->idmap[n->id & t->idmask] = nullptr;
}

// The node of number `id` in memory, or null.
B_CBTREE_NODE *cbt_cacheFind(B_CBTREE_T *t, B_CBTREE_ID id) {
    B_CBTREE_NODE **slot = &t->idmap[id & t->idmask];
    if (*slot != nullptr && (*slot)->id == id) return *slot;
    void *hit = b_btFind(&t->cached_nodes, &id);
    if (hit == nullptr) return nullptr;
    *slot = cbt_nodeOfId(hit);
    return *slot;
}

inline bool cbt_full(const B_CBTREE_T *t) {
    return t->cached_nodes.count >= t->max_cached_nodes;
}

// ---------------------------------------------------------------- age list

inline bool cbt_listed(const B_CBTREE_T *t, const B_CBTREE_NODE *n) {
    return n->older != nullptr || n->newer != nullptr || t->oldest == n;
}

void cbt_unlink(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    if (!cbt_listed(t, n)) return;
    if (n->older != nullptr) {
        n->older->newer = n->newer;
    } else {
        t->oldest = n->newer;
    }
    if (n->newer != nullptr) {
        n->newer->older = n->older;
    } else {
        t->newest = n->older;
    }
    n->older = n->newer = nullptr;
}

void cbt_linkNewest(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    n->older = t->newest;
    n->newer = nullptr;
    if (t->newest != nullptr) {
        t->newest->newer = n;
    } else {
        t->oldest = n;
    }
    t->newest = n;
}

void cbt_linkOldest(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    n->newer = t->oldest;
    n->older = nullptr;
    if (t->oldest != nullptr) {
        t->oldest->older = n;
    } else {
        t->newest = n;
    }
    t->oldest = n;
}

// A pinned node is off the list, out of eviction's reach.
inline void cbt_pin(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    cbt_unlink(t, n);
}

inline void cbt_unpin(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    if (n != nullptr && !cbt_listed(t, n)) cbt_linkNewest(t, n);
}

// ---------------------------------------------------------------- node memory

void cbt_freeNode(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    b_poolPut(&t->slot_pool, n->slots);
    b_poolPut(&t->node_pool, n);
}

void cbt_dispose(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    for (uint32_t i = 0; i < n->used; ++i) t->zapfcn(t->userctx, nullptr, 0, n->slots[i].data);
}

// Out of the cache and the list, memory back to the pools; the entries must
// have been disposed of.
void cbt_drop(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    cbt_unlink(t, n);
    cbt_cacheRemove(t, n);
    cbt_freeNode(t, n);
}

// Every node and every released number back; the file is left alone.
void cbt_releaseAll(B_CBTREE_T *t) {
    for (void *p; (p = b_btDeleteFirst(&t->cached_nodes)) != nullptr;) {
        B_CBTREE_NODE *n = cbt_nodeOfId(p);
        cbt_dispose(t, n);
        cbt_freeNode(t, n);
    }
    if (t->idmap != nullptr) std::memset(t->idmap, 0, (size_t{t->idmask} + 1) * sizeof *t->idmap);
    t->oldest = t->newest = nullptr;
    while (B_CBTREE_UNUSED_ID *u = t->unusedIds) {
        t->unusedIds = u->next;
        b_poolPut(&t->unused_pool, u);
    }
}

// ---------------------------------------------------------------- images

// Writes the node's image to nodebuff, handing each entry to zapfcn, which
// disposes of it.
void cbt_fillImage(B_CBTREE_T *t, const B_CBTREE_NODE *n) {
    uint8_t *b = t->nodebuff;
    cbt_store32(b, n->used);
    for (uint32_t i = 0; i <= n->used; ++i) cbt_store32(b + 4 + 4 * size_t{i}, n->slots[i].child);
    uint8_t *e = b + cbt_entriesAt(n->used);
    for (uint32_t i = 0; i < n->used; ++i) {
        t->zapfcn(t->userctx, e + size_t{i} * t->slotsize, t->slotsize, n->slots[i].data);
    }
}

// loadfcn on the entry at `at`; a status or a null entry counts as eFILEIO.
ZEL_RETCODE cbt_loadEntry(B_CBTREE_T *t, const uint8_t *at, const void **data) {
    const void *d = nullptr;
    const ZEL_RETCODE rc = t->loadfcn(t->userctx, at, t->slotsize, &d);
    if (rc < 0) return rc;
    if (rc != sOKAY || d == nullptr) return eFILEIO;
    *data = d;
    return sOKAY;
}

// After a failed write the entries are gone to zapfcn: they come back from
// the image still in nodebuff. Should that fail too, the entries are lost:
// the node keeps those rebuilt, is never written again, and the tree finds
// nothing more until it is cleared.
void cbt_rebuild(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    const uint8_t *e = t->nodebuff + cbt_entriesAt(n->used);
    for (uint32_t i = 0; i < n->used; ++i) {
        if (cbt_loadEntry(t, e + size_t{i} * t->slotsize, &n->slots[i].data) != sOKAY) {
            n->used = i;
            n->modified = 0;
            t->root = kNoId;  // lost; `count` stays, which tells it from an empty tree
            t->pathlevel = kNoLevel;
            return;
        }
    }
}

// Reads node `id` into `n`: the image must be whole, hold at most `slots`
// entries, and name only numbers given out, all children or none.
ZEL_RETCODE cbt_readImage(B_CBTREE_T *t, B_CBTREE_ID id, B_CBTREE_NODE *n) {
    uint32_t got = 0;
    ZEL_CHECK(psp_fileSeekRead(t->fh, cbt_offset(t, id), t->nodebuff, t->nodesize, &got));
    if (got != t->nodesize) return eFILEIO;
    const uint8_t *b = t->nodebuff;
    const uint32_t used = cbt_load32(b);
    if (used > t->slots) return eFILEIO;
    const bool leaf = cbt_load32(b + 4) == kNoId;
    for (uint32_t i = 0; i <= used; ++i) {
        const B_CBTREE_ID c = cbt_load32(b + 4 + 4 * size_t{i});
        if ((c == kNoId) != leaf || (c != kNoId && c >= t->nextId)) return eFILEIO;
        n->slots[i].child = c;
    }
    const uint8_t *e = b + cbt_entriesAt(used);
    for (uint32_t i = 0; i < used; ++i) {
        const ZEL_RETCODE rc = cbt_loadEntry(t, e + size_t{i} * t->slotsize, &n->slots[i].data);
        if (rc != sOKAY) {
            n->used = i;
            cbt_dispose(t, n);
            return rc;
        }
    }
    n->id = id;
    n->used = used;
    n->modified = 0;
    return sOKAY;
}

// ---------------------------------------------------------------- path

// Room for one more level of path (a root split makes the tree one deeper).
ZEL_RETCODE cbt_pathGrow(B_CBTREE_T *t) {
    void *grown = nullptr;
    ZEL_CHECK(b_tag_subAllocOrRealloc(t->subTag, t->path,
                                      (size_t{t->pathsize} + 1) * sizeof(B_CBTREE_PATH), &grown));
    t->path = static_cast<B_CBTREE_PATH *>(grown);
    t->pathsize++;
    return sOKAY;
}

// Opens entry `slot` of `n` for `data`, with `brother` as the child to its
// right: the (entry, child) pairs from there move one place up.
void cbt_insert(B_CBTREE_NODE *n, uint32_t slot, const void *data, B_CBTREE_ID brother) {
    uint8_t *b = reinterpret_cast<uint8_t *>(n->slots);
    std::memmove(b + kSlot * slot + kSlot + 8, b + kSlot * slot + 8, kSlot * (n->used - slot));
    n->slots[slot].data = data;
    n->slots[slot + 1].child = brother;
    n->used++;
    n->modified = 1;
}

// ---------------------------------------------------------------- split

// The nodes one level of a split works on, all pinned.
struct CbtSplit {
    B_CBTREE_NODE *node;
    B_CBTREE_NODE *left;    // the root's new left child
    B_CBTREE_NODE *right;   // the new sibling or right child
    B_CBTREE_NODE *parent;  // null at the root
};

void cbt_unpinSplit(B_CBTREE_T *t, const CbtSplit &s) {
    cbt_unpin(t, s.node);
    cbt_unpin(t, s.left);
    cbt_unpin(t, s.right);
}

// Takes and pins what splitting the node at path level `level` needs: a new
// sibling and the parent, or at the root two new children and a path level.
// Nothing in the tree changes on failure.
ZEL_RETCODE cbt_prepareSplit(B_CBTREE_T *t, uint32_t level, CbtSplit *s) {
    *s = CbtSplit{};
    ZEL_CHECK(zel::detail::b_cbtAccessNode(t, t->path[level].node, &s->node));
    cbt_pin(t, s->node);
    ZEL_RETCODE rc;
    if (level == 0) {
        rc = zel::detail::b_cbtCreateNode(t, &s->left);
        if (rc == sOKAY) cbt_pin(t, s->left);
        if (rc == sOKAY) rc = zel::detail::b_cbtCreateNode(t, &s->right);
        if (rc == sOKAY) cbt_pin(t, s->right);
        if (rc == sOKAY) rc = cbt_pathGrow(t);
    } else {
        rc = zel::detail::b_cbtCreateNode(t, &s->right);
        if (rc == sOKAY) cbt_pin(t, s->right);
        if (rc == sOKAY) rc = zel::detail::b_cbtAccessNode(t, t->path[level - 1].node, &s->parent);
        if (rc == sOKAY) cbt_pin(t, s->parent);
        if (rc == sOKAY && t->path[level - 1].slot > s->parent->used) rc = eFILEIO;
    }
    if (rc != sOKAY) {
        if (s->left != nullptr) zel::detail::b_cbtReleaseNode(t, s->left);
        if (s->right != nullptr) zel::detail::b_cbtReleaseNode(t, s->right);
        cbt_unpin(t, s->node);
        cbt_unpin(t, s->parent);
        return rc;
    }
    return sOKAY;
}

// Splits the node (used entries, half = used / 2): entries above half go to
// the new right node; the root keeps the middle entry over two new children,
// any other node keeps the lower half and the middle goes up. Unpins the
// node and the new ones; `*up` is the entry to put in the parent.
void cbt_commitSplit(B_CBTREE_T *t, const CbtSplit &s, const void **up) {
    B_CBTREE_NODE *n = s.node;
    const uint32_t used = n->used;
    const uint32_t half = used >> 1;
    // Entries half + 1 .. used - 1 with children half + 1 .. used.
    std::memcpy(s.right->slots, n->slots + half + 1, kSlot * (used - half));
    s.right->used = used - half - 1;
    s.right->modified = 1;
    *up = n->slots[half].data;
    if (s.parent == nullptr) {
        std::memcpy(s.left->slots, n->slots, kSlot * (half + 1));
        s.left->used = half;
        s.left->modified = 1;
        n->slots[0].data = *up;
        n->slots[0].child = s.left->id;
        n->slots[1].child = s.right->id;
        n->used = 1;  // the root keeps its number
    } else {
        n->used = half;
    }
    n->modified = 1;
    cbt_unpinSplit(t, s);
}

}  // namespace

namespace zel::detail {

// ---------------------------------------------------------------- internal steps

ZEL_RETCODE b_cbtGetNode(B_CBTREE_T *t, B_CBTREE_NODE **out) {
    B_CBTREE_NODE *n = nullptr;
    if (b_poolGetMem(&t->node_pool, sizeof *n, B_POOL_ALLOC_CLEAR, nullptr, &n) != sOKAY) {
        return eNOMEMORY;
    }
    if (b_poolGetMem(&t->slot_pool, (size_t{t->slots} + 1) * kSlot, B_POOL_ALLOC, nullptr,
                     &n->slots) != sOKAY) {
        b_poolPut(&t->node_pool, n);
        return eNOMEMORY;
    }
    n->slots[0].child = kNoId;
    *out = n;
    return sOKAY;
}

ZEL_RETCODE b_cbtEvictOldestNode(B_CBTREE_T *t) {
    B_CBTREE_NODE *n = t->oldest;
    if (n == nullptr) return sOKAY;  // all in memory are pinned: the cache runs over
    cbt_unlink(t, n);
    if (n->modified) {
        if (!t->fh_open) {
            ZEL_RETCODE rc = psp_fileOpen(t->filename, PSP_FILE_UPDATE, &t->fh);
            if (rc != sOKAY) {
                if (rc > 0) {  // a terminal is no node file
                    (void)psp_fileClose(t->fh);
                    rc = eFILEOPEN;
                }
                t->fh = PSP_FILE_INVALID;
                cbt_linkOldest(t, n);
                return rc;
            }
            t->fh_open = ZEL_TRUE;
        }
        cbt_fillImage(t, n);
        const ZEL_RETCODE rc =
            psp_fileSeekWrite(t->fh, cbt_offset(t, n->id), t->nodebuff, t->nodesize);
        if (rc != sOKAY) {
            cbt_rebuild(t, n);
            cbt_linkOldest(t, n);
            return rc < 0 ? rc : eFILEIO;
        }
        t->writes++;
    } else {
        cbt_dispose(t, n);  // kept: a clean node is never rewritten, the file has it
    }
    cbt_cacheRemove(t, n);
    cbt_freeNode(t, n);
    t->evictions++;
    return sOKAY;
}

// Evicts until there is room for one more node, or only pinned nodes are left.
ZEL_RETCODE b_cbtMakeRoom(B_CBTREE_T *t) {
    while (cbt_full(t) && t->oldest != nullptr) ZEL_CHECK(b_cbtEvictOldestNode(t));
    return sOKAY;
}

ZEL_RETCODE b_cbtCreateNode(B_CBTREE_T *t, B_CBTREE_NODE **out) {
    const B_CBTREE_ID id = t->unusedIds != nullptr ? t->unusedIds->id : t->nextId;
    if (id == kNoId) return eNOMEMORY;  // every number is out
    ZEL_CHECK(b_cbtMakeRoom(t));
    B_CBTREE_NODE *n = nullptr;
    ZEL_CHECK(b_cbtGetNode(t, &n));
    n->id = id;
    n->modified = 1;  // it has no image yet
    if (cbt_cacheAdd(t, n) != sOKAY) {
        cbt_freeNode(t, n);
        return eNOMEMORY;
    }
    if (B_CBTREE_UNUSED_ID *u = t->unusedIds; u != nullptr) {
        t->unusedIds = u->next;
        b_poolPut(&t->unused_pool, u);
    } else {
        t->nextId++;
    }
    cbt_linkNewest(t, n);
    *out = n;
    return sOKAY;
}

void b_cbtReleaseNode(B_CBTREE_T *t, B_CBTREE_NODE *n) {
    const B_CBTREE_ID id = n->id;
    cbt_dispose(t, n);
    cbt_drop(t, n);
    // Kept: released numbers are given out again last released first. When
    // the record cannot be had, the number is simply lost.
    B_CBTREE_UNUSED_ID *u = nullptr;
    if (b_poolGetMem(&t->unused_pool, sizeof *u, B_POOL_ALLOC, nullptr, &u) == sOKAY) {
        u->id = id;
        u->next = t->unusedIds;
        t->unusedIds = u;
    }
}

ZEL_RETCODE b_cbtAccessNode(B_CBTREE_T *t, B_CBTREE_ID id, B_CBTREE_NODE **pnode) {
    if (B_CBTREE_NODE *n = cbt_cacheFind(t, id); n != nullptr) {
        if (n != t->newest && cbt_listed(t, n)) {
            cbt_unlink(t, n);
            cbt_linkNewest(t, n);
        }
        *pnode = n;
        return sOKAY;
    }
    if (id >= t->nextId || !t->fh_open) return eFILEIO;  // it can have no image
    ZEL_CHECK(b_cbtMakeRoom(t));
    B_CBTREE_NODE *n = nullptr;
    ZEL_CHECK(b_cbtGetNode(t, &n));
    ZEL_RETCODE rc = cbt_readImage(t, id, n);
    if (rc == sOKAY && cbt_cacheAdd(t, n) != sOKAY) {
        cbt_dispose(t, n);
        rc = eNOMEMORY;
    }
    if (rc != sOKAY) {
        cbt_freeNode(t, n);
        return rc;
    }
    cbt_linkNewest(t, n);
    t->loads++;
    *pnode = n;
    return sOKAY;
}

B_CBTREE_PATH *b_cbtGetPathNode(B_CBTREE_T *t, uint32_t inc) {
    const uint32_t level = t->pathlevel + inc;  // from kNoLevel, 1 gives level 0
    if (level >= t->pathsize) return nullptr;
    t->pathlevel = level;
    return &t->path[level];
}

ZEL_RETCODE b_cbtLocate(B_CBTREE_T *t, const void *loc, const void **data, bool *full) {
    t->pathlevel = kNoLevel;
    for (B_CBTREE_ID id = t->root; id != kNoId;) {
        B_CBTREE_PATH *p = b_cbtGetPathNode(t, 1);
        if (p == nullptr) return eFILEIO;  // deeper than the tree: the file loops
        p->node = id;
        p->slot = 0;
        B_CBTREE_NODE *n = nullptr;
        ZEL_CHECK(b_cbtAccessNode(t, id, &n));
        if (full != nullptr && n->used >= t->slots) {
            *full = true;
            return sNOTFOUND;
        }
        const B_CBTREE_SLOT *s = n->slots;
        if (n->used == 0) {
            // An empty node with a child (a split with two slots leaves one)
            // holds its entries below: only an empty leaf has nothing.
            id = s[0].child;
            continue;
        }
        int64_t low = 0;
        int64_t high = int64_t{n->used} - 1;
        uint32_t mid = 0;
        ZEL_COMPARE c = ZEL_EQ;
        while (low <= high) {
            mid = static_cast<uint32_t>((low + high) / 2);
            c = t->cmpfcn(t->userctx, loc, s[mid].data);
            if (c == ZEL_EQ) {
                p->slot = mid;
                *data = s[mid].data;
                return sOKAY;
            }
            if (c == ZEL_LT) {
                high = int64_t{mid} - 1;
            } else {
                low = int64_t{mid} + 1;  // anything but ZEL_LT counts as above
            }
        }
        p->slot = c == ZEL_LT ? mid : mid + 1;
        id = s[p->slot].child;
    }
    return sNOTFOUND;
}

ZEL_RETCODE b_cbtExpandNode(B_CBTREE_T *t, B_CBTREE_ID brother, const void *data) {
    uint32_t level = t->pathlevel;
    B_CBTREE_NODE *n = nullptr;
    ZEL_CHECK(b_cbtAccessNode(t, t->path[level].node, &n));
    if (t->path[level].slot > n->used) return eFILEIO;
    if (data != nullptr && n->used + 1 < t->slots) {
        cbt_insert(n, t->path[level].slot, data, brother);
        return sOKAY;
    }
    // The node splits when it reaches `slots` entries: what the split needs
    // is had before the entry goes in. Null data: a node left full splits.
    CbtSplit s;
    ZEL_CHECK(cbt_prepareSplit(t, level, &s));
    if (data != nullptr) cbt_insert(s.node, t->path[level].slot, data, brother);
    for (;;) {
        const void *up = nullptr;
        cbt_commitSplit(t, s, &up);
        B_CBTREE_NODE *parent = s.parent;
        if (parent == nullptr) return sOKAY;
        level--;
        cbt_insert(parent, t->path[level].slot, up, s.right->id);
        // The entry is in: from here a failure leaves the parent full, for a
        // later add to split, and the add stands.
        if (parent->used < t->slots || cbt_prepareSplit(t, level, &s) != sOKAY) {
            cbt_unpin(t, parent);
            return sOKAY;
        }
    }
}

void *b_cbtGetLeftMost(B_CBTREE_T *t) {
    for (;;) {
        B_CBTREE_PATH *p = &t->path[t->pathlevel];
        p->slot = 0;
        B_CBTREE_NODE *n = nullptr;
        if (b_cbtAccessNode(t, p->node, &n) != sOKAY) return nullptr;
        const B_CBTREE_ID child = n->slots[0].child;
        if (child == kNoId) return n->used != 0 ? const_cast<void *>(n->slots[0].data) : nullptr;
        p = b_cbtGetPathNode(t, 1);
        if (p == nullptr) return nullptr;
        p->node = child;
    }
}

}  // namespace zel::detail

using namespace zel::detail;

extern "C" {

ZEL_RETCODE b_cbtInit(B_CBTREE_T *cbtree, B_TAG_SUB subTag, void *userctx, B_CBT_COMPARE cmpfcn,
                      B_CBT_LOADER loadfcn, B_CBT_ZAPPER zapfcn, uint32_t cachednodes,
                      uint32_t slots, uint32_t entrysize, const char *pszTmpDir) {
    if (cbtree == nullptr || subTag == nullptr || cmpfcn == nullptr || loadfcn == nullptr ||
        zapfcn == nullptr) {
        return eINVNULLARG;
    }
    const uint64_t nodesize = uint64_t{slots} * (uint64_t{entrysize} + 4) + 8;
    if (slots < 2 || cachednodes == 0 || nodesize > UINT32_MAX) return eINVARG;
    // The temporary name carries the address of the record's counter, which
    // is what keeps two trees' names apart: the record is built in place, and
    // put back as it was on failure.
    B_CBTREE_T saved;
    std::memcpy(&saved, cbtree, sizeof saved);
    B_CBTREE_T *t = cbtree;
    std::memset(t, 0, sizeof *t);
    t->userctx = userctx;
    b_poolInit(&t->node_pool, subTag, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    b_poolInit(&t->slot_pool, subTag, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    b_poolInit(&t->unused_pool, subTag, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    t->cmpfcn = cmpfcn;
    t->loadfcn = loadfcn;
    t->zapfcn = zapfcn;
    t->subTag = subTag;
    t->fh = PSP_FILE_INVALID;
    t->max_cached_nodes = cachednodes;
    t->slotsize = entrysize;
    t->nodesize = static_cast<uint32_t>(nodesize);
    t->slots = slots;
    t->pathlevel = kNoLevel;
    t->root = kNoId;
    ZEL_RETCODE rc = b_tag_subAllocZero(subTag, nodesize, &t->nodebuff);
    if (rc == sOKAY) {
        rc = b_fileCreateTmpName(&t->file_no, "cbtree", nullptr, pszTmpDir, subTag, &t->filename);
    }
    if (rc == sOKAY)
        rc = b_btInit(&t->cached_nodes, b_cbtIdCompare, kCachedNodesSlots, nullptr, subTag);
    if (rc == sOKAY) {
        rc = b_tag_subAlloc(subTag, (1 + kPathSpare) * sizeof(B_CBTREE_PATH), &t->path);
        if (rc == sOKAY) t->pathsize = 1 + kPathSpare;
    }
    if (rc == sOKAY) {
        const uint32_t entries = cbt_idMapSize(cachednodes);
        rc = b_tag_subAllocZero(subTag, entries * sizeof *t->idmap, &t->idmap);
        if (rc == sOKAY) t->idmask = entries - 1;
    }
    B_CBTREE_NODE *root = nullptr;
    if (rc == sOKAY) rc = b_cbtCreateNode(t, &root);
    if (rc != sOKAY) {
        b_cbtTerm(t);
        std::memcpy(cbtree, &saved, sizeof saved);
        return rc < 0 ? rc : eNOMEMORY;
    }
    t->root = root->id;
    return sOKAY;
}

void b_cbtTerm(B_CBTREE_T *cbtree) {
    if (cbtree == nullptr || cbtree->subTag == nullptr) return;
    B_CBTREE_T *t = cbtree;
    // Nodes, slot arrays and number records go back before the pools end.
    cbt_releaseAll(t);
    if (t->cached_nodes.subTag != nullptr) b_btTerm(&t->cached_nodes);
    b_poolTerm(&t->node_pool);
    b_poolTerm(&t->slot_pool);
    b_poolTerm(&t->unused_pool);
    b_tag_subFreeCanBeNull(t->subTag, t->path);
    b_tag_subFreeCanBeNull(t->subTag, t->idmap);
    if (t->fh_open) {
        (void)psp_fileSetSize(t->fh, 0);
        (void)psp_fileClose(t->fh);
        (void)psp_fileRemove(t->filename);
    }
    b_tag_subFreeCanBeNull(t->subTag, t->filename);
    b_tag_subFreeCanBeNull(t->subTag, t->nodebuff);
    std::memset(t, 0, sizeof *t);
}

ZEL_RETCODE b_cbtClear(B_CBTREE_T *cbtree) {
    B_CBTREE_T *t = cbtree;
    cbt_releaseAll(t);
    // Every number is free again, and the file starts over.
    t->nextId = 0;
    t->count = 0;
    t->root = kNoId;
    t->pathlevel = kNoLevel;
    if (t->fh_open) (void)psp_fileSetSize(t->fh, 0);
    B_CBTREE_NODE *root = nullptr;
    ZEL_CHECK(b_cbtCreateNode(t, &root));
    t->root = root->id;
    return sOKAY;
}

ZEL_RETCODE b_cbtAdd(B_CBTREE_T *cbtree, const void *data) {
    if (cbtree == nullptr || data == nullptr) return eINVNULLARG;
    B_CBTREE_T *t = cbtree;
    if (t->root == kNoId) {
        if (t->count != 0) return eFILEIO;  // lost
        B_CBTREE_NODE *root = nullptr;
        ZEL_CHECK(b_cbtCreateNode(t, &root));
        t->root = root->id;
    }
    for (;;) {
        const void *found = nullptr;
        bool full = false;
        const ZEL_RETCODE rc = b_cbtLocate(t, data, &found, &full);
        if (rc < 0) return rc;
        if (rc == sOKAY) return eDUPLICATE;
        if (!full) break;
        // A node left full by a failed split is split before anything
        // passes through it.
        ZEL_CHECK(b_cbtExpandNode(t, kNoId, nullptr));
    }
    ZEL_CHECK(b_cbtExpandNode(t, kNoId, data));
    t->count++;
    return sOKAY;
}

void *b_cbtFind(B_CBTREE_T *cbtree, const void *lookup) {
    const void *data = nullptr;
    if (b_cbtLocate(cbtree, lookup, &data, nullptr) != sOKAY) return nullptr;
    return const_cast<void *>(data);
}

void *b_cbtFirst(B_CBTREE_T *cbtree) {
    B_CBTREE_T *t = cbtree;
    t->pathlevel = kNoLevel;
    if (t->root == kNoId) return nullptr;
    B_CBTREE_PATH *p = b_cbtGetPathNode(t, 1);
    p->node = t->root;
    p->slot = 0;
    B_CBTREE_NODE *n = nullptr;
    if (b_cbtAccessNode(t, t->root, &n) != sOKAY) return nullptr;
    if (n->used == 0 && n->slots[0].child == kNoId) return nullptr;
    return b_cbtGetLeftMost(t);
}

void *b_cbtNext(B_CBTREE_T *cbtree) {
    B_CBTREE_T *t = cbtree;
    if (t->pathlevel >= t->pathsize) return nullptr;
    B_CBTREE_PATH *p = &t->path[t->pathlevel];
    B_CBTREE_NODE *n = nullptr;
    if (b_cbtAccessNode(t, p->node, &n) != sOKAY) return nullptr;
    if (p->slot < n->used) {
        p->slot++;
        const B_CBTREE_ID child = n->slots[p->slot].child;
        if (child != kNoId) {
            B_CBTREE_PATH *q = b_cbtGetPathNode(t, 1);
            if (q == nullptr) return nullptr;
            q->node = child;
            q->slot = 0;
            // Kept: the test stands reversed, so a walk ends at the first
            // child it must enter (and stays ended); only a failed access
            // goes on down.
            if (b_cbtAccessNode(t, child, &n) == sOKAY) {
                t->pathlevel = kNoLevel;
                return nullptr;
            }
            return b_cbtGetLeftMost(t);
        }
    }
    // Up while the level is at its end; else the entry at the slot.
    for (;;) {
        p = &t->path[t->pathlevel];
        if (b_cbtAccessNode(t, p->node, &n) != sOKAY) return nullptr;
        if (p->slot < n->used) return const_cast<void *>(n->slots[p->slot].data);
        if (t->pathlevel == 0) return nullptr;
        t->pathlevel--;
    }
}

uint64_t b_cbtCount(const B_CBTREE_T *cbtree) {
    return cbtree->count;
}

}  // extern "C"
