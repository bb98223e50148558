/*
 * rtree.cpp - the in-memory R-tree: integer boxes in nodes of 32 branches,
 * chosen and split by the volumes of their bounding spheres.
 *
 * The one idea is that an insert knows its whole chain of splits before it
 * changes anything. It first walks down by rtPickBranch, recording the
 * branch taken at each level; the full nodes from the target level up are
 * the nodes that will split, and the nodes they need (one each, one more for
 * a new root) are taken from the pool before the first node is emptied. A
 * delete does the same for its reinsertions: it finds the box, works out
 * which nodes will fall below `minfill`, and fills the pool with enough
 * nodes for every split those reinsertions could cause. So add and delete
 * either fail with the tree as it was or succeed.
 *
 * Node (B_RTREE_NODE), dim D:
 *   OFFSET  SIZE        MEANING
 *   0       4           used: branches 0..used-1 are live
 *   4       4           level: 0 a leaf
 *   8       256         children[32]: null in a leaf and past used
 *   264     256         data[32]: the boxes' values in a leaf
 *   520     32 x 8 x D  boundary: branch i at 2 x D x i, lows then highs
 */
#include "rtree.h"

#include <cstddef>
#include <cstring>

#include "btree.h"
#include "psp.h"
#include "tag_sub.h"

static_assert(offsetof(B_RTREE_NODE, children) == 8 && offsetof(B_RTREE_NODE, data) == 264 &&
                  offsetof(B_RTREE_NODE, boundary) == 520,
              "the node's header is 520 bytes");

namespace {

constexpr uint32_t kBranches = B_RTREE_MAX_BRANCHES;
constexpr uint32_t kSplitCount = kBranches + 1;
constexpr uint32_t kMinFill = 10;
constexpr uint32_t kPathGrowth = 5;
constexpr uint32_t kNoLevel = 0xFFFFFFFFu;  // no cursor: Next and Prev find nothing
constexpr uint32_t kAtEnd = 0xFFFFFFFEu;    // the cursor ran off an end
constexpr uint32_t kMaxLevels = 64;         // far past any tree a 32-bit count can hold
constexpr uint32_t kPoolCap = B_POOL_DEFAULT_MAX_POOLED;

// V(n) = V(n - 2) x 2 pi / n from V(0) = 1 and V(1) = 2.
constexpr double kPi = 3.14159265358979323846;
constexpr auto rtUnitVolumes() {
    struct Table {
        double v[B_RTREE_MAX_DIM + 1];
    } t{};
    double even = 1.0, odd = 2.0;
    for (int n = 1; n <= B_RTREE_MAX_DIM; ++n) {
        if (n % 2 == 0) {
            even = even * 2.0 * kPi / n;
            t.v[n] = even;
        } else {
            if (n > 1) odd = odd * 2.0 * kPi / n;
            t.v[n] = odd;
        }
    }
    t.v[0] = 0.0;  // deliberate: the table starts at 0.0, not at the formula's 1
    return t;
}
constexpr auto kUnitVolumes = rtUnitVolumes();
static_assert(kUnitVolumes.v[2] == kPi && kUnitVolumes.v[1] == 2.0);
static_assert(kUnitVolumes.v[3] > 4.18879 && kUnitVolumes.v[3] < 4.188791);

// Wrapped 32-bit arithmetic, as the stored algorithms have always done it.
inline int32_t rtSub32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int32_t rtSquare32(int32_t a) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(a));
}

inline size_t rtBoundaryBytes(const B_RTREE_T *rt) {
    return size_t{2} * rt->dim * sizeof(B_RTREE_BOUNDARY);
}
inline size_t rtNodeBytes(uint32_t dim) {
    return offsetof(B_RTREE_NODE, boundary) +
           size_t{kBranches} * 2 * dim * sizeof(B_RTREE_BOUNDARY);
}
inline B_RTREE_BOUNDARY *rtBranchBoundary(const B_RTREE_T *rt, B_RTREE_NODE *n, uint32_t i) {
    return n->boundary + size_t{2} * rt->dim * i;
}
inline bool rtIsEmpty(const B_RTREE_T *rt, const B_RTREE_BOUNDARY *b) {
    return b[0] > b[rt->dim];
}
inline void rtCopyBoundary(const B_RTREE_T *rt, B_RTREE_BOUNDARY *to,
                           const B_RTREE_BOUNDARY *from) {
    std::memmove(to, from, rtBoundaryBytes(rt));
}

// result may be b1 or b2.
void rtCombineBoundary(const B_RTREE_T *rt, const B_RTREE_BOUNDARY *b1, const B_RTREE_BOUNDARY *b2,
                       B_RTREE_BOUNDARY *result) {
    if (rtIsEmpty(rt, b1)) return rtCopyBoundary(rt, result, b2);
    if (rtIsEmpty(rt, b2)) return rtCopyBoundary(rt, result, b1);
    const uint32_t d = rt->dim;
    for (uint32_t i = 0; i < d; ++i) {
        result[i] = b1[i] < b2[i] ? b1[i] : b2[i];
        result[d + i] = b1[d + i] > b2[d + i] ? b1[d + i] : b2[d + i];
    }
}

void rtNodeGetCoverage(const B_RTREE_T *rt, B_RTREE_NODE *node, B_RTREE_BOUNDARY *out) {
    rtCopyBoundary(rt, out, rtBranchBoundary(rt, node, 0));
    for (uint32_t i = 1; i < node->used; ++i)
        rtCombineBoundary(rt, out, rtBranchBoundary(rt, node, i), out);
}

bool rtOverlap(const B_RTREE_T *rt, const B_RTREE_BOUNDARY *a, const B_RTREE_BOUNDARY *b) {
    const uint32_t d = rt->dim;
    for (uint32_t i = 0; i < d; ++i)
        if (a[i] > b[d + i] || b[i] > a[d + i]) return false;
    return true;
}

// The criteria's box `c` lies within the branch's box `b`.
bool rtContains(const B_RTREE_T *rt, const B_RTREE_BOUNDARY *b, const B_RTREE_BOUNDARY *c) {
    const uint32_t d = rt->dim;
    for (uint32_t i = 0; i < d; ++i) {
        if (c[i] < b[i] || c[i] > b[d + i] || c[d + i] < b[i] || c[d + i] > b[d + i]) return false;
    }
    return true;
}

bool rtBranchMatchesCriteria(const B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *c,
                             const B_RTREE_BOUNDARY *b) {
    if (c == nullptr || c->code == ZEL_ALL) return true;
    if (c->code == ZEL_OVERLAP) return rtOverlap(rt, b, c->val.boundary);
    if (c->code == ZEL_CONTAINS) return rtContains(rt, b, c->val.boundary);
    return false;
}

double rtBoundarySphericalVolume(const B_RTREE_T *rt, const B_RTREE_BOUNDARY *b) {
    if (rtIsEmpty(rt, b)) return 0.0;
    const uint32_t d = rt->dim;
    double sum = 0.0;
    for (uint32_t i = 0; i < d; ++i) {
        const double half = rtSub32(b[d + i], b[i]) * 0.5;
        sum += half * half;
    }
    return psp_mathDoublePow(psp_mathDoubleSqrt(sum), d) * kUnitVolumes.v[d];
}

// The branch whose sphere grows least to take `boundary`, the smaller on a tie.
uint32_t rtPickBranch(B_RTREE_T *rt, const B_RTREE_BOUNDARY *boundary, B_RTREE_NODE *node) {
    uint32_t best = 0;
    double bestIncrease = 0.0, bestArea = 0.0;
    for (uint32_t i = 0; i < node->used; ++i) {
        // Kept: branch i is read at i x dim, half the stride it is stored at, so
        // from branch 1 on the box read straddles two branches. It only steers
        // the choice; the tree is valid whatever is chosen.
        const B_RTREE_BOUNDARY *b = node->boundary + size_t{i} * rt->dim;
        const double area = rtBoundarySphericalVolume(rt, b);
        rtCombineBoundary(rt, b, boundary, rt->tmp_boundary);
        const double increase = rtBoundarySphericalVolume(rt, rt->tmp_boundary) - area;
        if (i == 0 || increase < bestIncrease || (increase == bestIncrease && area < bestArea)) {
            best = i;
            bestIncrease = increase;
            bestArea = area;
        }
    }
    return best;
}

void rtNodeAppend(B_RTREE_T *rt, B_RTREE_NODE *node, const B_RTREE_BOUNDARY *b, B_RTREE_NODE *child,
                  uint64_t data) {
    const uint32_t i = node->used++;
    node->children[i] = child;
    node->data[i] = data;
    rtCopyBoundary(rt, rtBranchBoundary(rt, node, i), b);
}

// Closes the gap of branch i and clears the last.
void rtNodeDisconnectBranch(B_RTREE_T *rt, B_RTREE_NODE *node, uint32_t i) {
    const uint32_t n = node->used;
    const size_t bb = rtBoundaryBytes(rt);
    std::memmove(&node->children[i], &node->children[i + 1],
                 (n - i - 1) * sizeof node->children[0]);
    std::memmove(&node->data[i], &node->data[i + 1], (n - i - 1) * sizeof node->data[0]);
    std::memmove(rtBranchBoundary(rt, node, i), rtBranchBoundary(rt, node, i + 1),
                 (n - i - 1) * bb);
    node->children[n - 1] = nullptr;
    node->data[n - 1] = 0;
    std::memset(rtBranchBoundary(rt, node, n - 1), 0, bb);
    node->used = n - 1;
}

void rtNodeClear(B_RTREE_T *rt, B_RTREE_NODE *node) {
    std::memset(node, 0, rtNodeBytes(rt->dim));
    node->level = -1;
}

// ---- Nodes and their reservation.

void rtNodeConstructor(B_POOL_USERDATA userdata, void *object) {
    auto *rt = static_cast<B_RTREE_T *>(userdata);
    rtNodeClear(rt, static_cast<B_RTREE_NODE *>(object));
}

ZEL_RETCODE rtGetNode(B_RTREE_T *rt, B_RTREE_NODE **out) {
    return b_poolGetMem(&rt->node_pool, rtNodeBytes(rt->dim), B_POOL_ALLOC_CLEAR, nullptr, out) ==
                   sOKAY
               ? sOKAY
               : eNOMEMORY;
}

// Makes sure the pool holds `need` free nodes, so that taking that many
// cannot fail. On a failure the nodes made stay pooled.
ZEL_RETCODE rtPoolFill(B_RTREE_T *rt, uint32_t need) {
    if (need > kPoolCap) need = kPoolCap;
    if (rt->node_pool.count >= need) return sOKAY;
    B_RTREE_NODE *chain = nullptr;
    ZEL_RETCODE rc = sOKAY;
    for (uint32_t k = 0; k < need; ++k) {
        B_RTREE_NODE *n = nullptr;
        if ((rc = rtGetNode(rt, &n)) != sOKAY) break;
        n->children[0] = chain;  // a link while out of the pool
        chain = n;
    }
    while (chain != nullptr) {
        B_RTREE_NODE *next = chain->children[0];
        b_poolPut(&rt->node_pool, chain);
        chain = next;
    }
    return rc;
}

// The nodes one insert's chain of splits takes, held before any change.
struct RtReserve {
    B_RTREE_NODE *nodes[kMaxLevels + 1];
    uint32_t count = 0;
};

ZEL_RETCODE rtReserve(B_RTREE_T *rt, RtReserve *r, uint32_t need) {
    for (; r->count < need; r->count++) {
        B_RTREE_NODE *n = nullptr;
        if (rtGetNode(rt, &n) != sOKAY) {
            while (r->count > 0) b_poolPut(&rt->node_pool, r->nodes[--r->count]);
            return eNOMEMORY;
        }
        r->nodes[r->count] = n;
    }
    return sOKAY;
}

B_RTREE_NODE *rtTakeReserved(RtReserve *r) {
    return r->nodes[--r->count];
}

// ---- The cursor's path.

ZEL_RETCODE rtEnsurePath(B_RTREE_T *rt, uint32_t levels) {
    if (levels <= rt->pathsize) return sOKAY;
    const uint32_t size = levels + kPathGrowth - 1 - (levels - 1) % kPathGrowth;
    void *p = nullptr;
    ZEL_CHECK(b_tag_subAllocOrReallocClear(rt->subTag, rt->path,
                                           sizeof(B_RTREE_PATH) * rt->pathsize,
                                           sizeof(B_RTREE_PATH) * size, &p));
    rt->path = static_cast<B_RTREE_PATH *>(p);
    rt->pathsize = size;
    return sOKAY;
}

// ---- Split.

void rtFindGroup(B_RTREE_T *rt, uint32_t i, int32_t g) {
    B_RTREE_PARTITION *p = &rt->partition;
    B_RTREE_BOUNDARY *bounding = p->bounding + size_t{2} * rt->dim * g;
    const B_RTREE_BOUNDARY *b = rt->boundaryWorking + size_t{2} * rt->dim * i;
    p->partition[i] = g;
    p->taken[i] = ZEL_TRUE;
    if (p->count[g] == 0) {
        rtCopyBoundary(rt, bounding, b);
    } else {
        rtCombineBoundary(rt, b, bounding, bounding);
    }
    p->area[g] = rtBoundarySphericalVolume(rt, bounding);
    p->count[g]++;
}

void rtPickSeeds(B_RTREE_T *rt) {
    const uint32_t d = rt->dim;
    const B_RTREE_BOUNDARY *w = rt->boundaryWorking;
    auto low = [&](int32_t i, uint32_t k) { return w[size_t{2} * d * i + k]; };
    auto high = [&](int32_t i, uint32_t k) { return w[size_t{2} * d * i + d + k]; };
    uint32_t best = 0;
    double bestSeparation = 0.0;
    for (uint32_t k = 0; k < d; ++k) {
        int32_t gl = 0, lu = 0;
        for (int32_t i = 1; i < static_cast<int32_t>(kSplitCount); ++i) {
            if (low(i, k) > low(gl, k)) gl = i;
            if (high(i, k) < high(lu, k)) lu = i;
        }
        rt->greatestLower[k] = gl;
        rt->leastUpper[k] = lu;
        // Kept: the width of dimension k is read at 2 x dim x k + k, which is
        // the bounding box only for k = 0; further on the cells lie past it and
        // have always read as 0, so every later width counts as 1.0.
        double width = 0.0;
        if (k == 0) width = rtSub32(rt->boundingSplit[d], rt->boundingSplit[0]);
        if (width == 0.0) width = 1.0;
        rt->width[k] = width;
        const double separation = rtSub32(low(gl, k), high(lu, k)) / width;
        if (k == 0 || separation > bestSeparation) {
            best = k;
            bestSeparation = separation;
        }
    }
    if (rt->leastUpper[best] != rt->greatestLower[best]) {
        rtFindGroup(rt, static_cast<uint32_t>(rt->leastUpper[best]), 0);
        rtFindGroup(rt, static_cast<uint32_t>(rt->greatestLower[best]), 1);
    }
}

void rtPigeonhole(B_RTREE_T *rt) {
    B_RTREE_PARTITION *p = &rt->partition;
    const size_t stride = size_t{2} * rt->dim;
    for (uint32_t i = 0; i < kSplitCount; ++i) {
        if (p->taken[i]) continue;
        int32_t g;
        if (p->count[0] >= p->total - p->minfill) {
            g = 1;
        } else if (p->count[1] >= p->total - p->minfill) {
            g = 0;
        } else {
            const B_RTREE_BOUNDARY *b = rt->boundaryWorking + stride * i;
            double growth[2];
            for (int k = 0; k < 2; ++k) {
                double grown;
                if (p->count[k] == 0) {
                    grown = rtBoundarySphericalVolume(rt, b);
                } else {
                    rtCombineBoundary(rt, b, p->bounding + stride * k, rt->tmp_boundary);
                    grown = rtBoundarySphericalVolume(rt, rt->tmp_boundary);
                }
                growth[k] = grown - p->area[k];
            }
            if (growth[0] != growth[1]) {
                g = growth[0] < growth[1] ? 0 : 1;
            } else if (p->area[0] != p->area[1]) {
                g = p->area[0] < p->area[1] ? 0 : 1;
            } else {
                g = p->count[0] >= p->count[1] ? 1 : 0;
            }
        }
        rtFindGroup(rt, i, g);
    }
}

// Adds a branch to `node`; a full node splits, group 0 staying in `node` and
// group 1 going to a reserved node returned in *pnew.
bool rtNodeAddBranch(B_RTREE_T *rt, B_RTREE_NODE *node, const B_RTREE_BOUNDARY *b,
                     B_RTREE_NODE *child, uint64_t data, RtReserve *reserve, B_RTREE_NODE **pnew) {
    if (node->used < kBranches) {
        rtNodeAppend(rt, node, b, child, data);
        return false;
    }
    const size_t stride = size_t{2} * rt->dim;
    const size_t bb = rtBoundaryBytes(rt);
    // Load the 33 branches; the bounding box is of the first 32 only.
    std::memcpy(rt->childrenWorking, node->children, sizeof node->children);
    std::memcpy(rt->dataWorking, node->data, sizeof node->data);
    std::memcpy(rt->boundaryWorking, node->boundary, kBranches * bb);
    rt->childrenWorking[kBranches] = child;
    rt->dataWorking[kBranches] = data;
    std::memcpy(rt->boundaryWorking + stride * kBranches, b, bb);
    rt->BranchWorkingCount = static_cast<int32_t>(kSplitCount);
    rtNodeGetCoverage(rt, node, rt->boundingSplit);

    const int32_t level = node->level;
    rtNodeClear(rt, node);

    B_RTREE_PARTITION *p = &rt->partition;
    p->total = static_cast<int32_t>(kSplitCount);
    p->minfill = static_cast<int32_t>(rt->minfill);
    p->count[0] = p->count[1] = 0;
    p->area[0] = p->area[1] = 0.0;
    for (uint32_t i = 0; i < kSplitCount; ++i) {
        p->partition[i] = -1;
        p->taken[i] = ZEL_FALSE;
    }
    rtPickSeeds(rt);
    rtPigeonhole(rt);

    B_RTREE_NODE *other = rtTakeReserved(reserve);
    node->level = other->level = level;
    for (uint32_t i = 0; i < kSplitCount; ++i) {
        rtNodeAppend(rt, p->partition[i] == 0 ? node : other, rt->boundaryWorking + stride * i,
                     rt->childrenWorking[i], rt->dataWorking[i]);
    }
    *pnew = other;
    return true;
}

// ---- Insert.

// Inserts the branch (boundary, child, data) into a node of `level`. Every
// node the splits need is reserved first: a failure changes nothing.
ZEL_RETCODE rtAdd(B_RTREE_T *rt, const B_RTREE_BOUNDARY *boundary, B_RTREE_NODE *child,
                  uint64_t data, int32_t level) {
    B_RTREE_NODE *node = rt->root;
    if (node->level < level || node->level - level >= static_cast<int32_t>(kMaxLevels)) {
        return eSYS_ERROR;
    }
    ZEL_CHECK(rtEnsurePath(rt, static_cast<uint32_t>(node->level - level) + 1));
    rt->pathlevel = kNoLevel;  // the path now records the way down
    uint32_t k = 0;
    for (; node->level > level; ++k) {
        const uint32_t i = rtPickBranch(rt, boundary, node);
        rt->path[k] = {node, i, ZEL_FALSE};
        node = node->children[i];
        if (node == nullptr || node->level != rt->path[k].node->level - 1) return eSYS_ERROR;
    }
    rt->path[k] = {node, 0, ZEL_FALSE};

    uint32_t need = 0;
    for (uint32_t j = k + 1; j-- > 0 && rt->path[j].node->used >= kBranches;) {
        need += j == 0 ? 2 : 1;  // the root's split also takes the new root
    }
    RtReserve reserve;
    ZEL_CHECK(rtReserve(rt, &reserve, need));

    B_RTREE_NODE *sibling = nullptr;
    bool split = rtNodeAddBranch(rt, node, boundary, child, data, &reserve, &sibling);
    for (uint32_t j = k; j-- > 0;) {
        B_RTREE_NODE *parent = rt->path[j].node;
        B_RTREE_BOUNDARY *pb = rtBranchBoundary(rt, parent, rt->path[j].slot);
        if (!split) {
            rtCombineBoundary(rt, pb, boundary, pb);
            continue;
        }
        rtNodeGetCoverage(rt, rt->path[j + 1].node, pb);
        rtNodeGetCoverage(rt, sibling, rt->tmp_boundary2);
        B_RTREE_NODE *newSibling = nullptr;
        split = rtNodeAddBranch(rt, parent, rt->tmp_boundary2, sibling, 0, &reserve, &newSibling);
        sibling = newSibling;
    }
    if (split) {
        B_RTREE_NODE *root = rtTakeReserved(&reserve);
        root->level = rt->root->level + 1;
        rtNodeGetCoverage(rt, rt->root, rt->tmp_boundary2);
        rtNodeAppend(rt, root, rt->tmp_boundary2, rt->root, 0);
        rtNodeGetCoverage(rt, sibling, rt->tmp_boundary2);
        rtNodeAppend(rt, root, rt->tmp_boundary2, sibling, 0);
        rt->root = root;
    }
    while (reserve.count > 0) b_poolPut(&rt->node_pool, rtTakeReserved(&reserve));
    return sOKAY;
}

// ---- Delete.

// Finds the leaf branch equal to val (boundary byte for byte, and value),
// depth first over the branches that overlap it; path[0..depth] gets the way.
ZEL_RETCODE rtFindLeaf(B_RTREE_T *rt, B_RTREE_NODE *node, const B_RTREE_VAL *val, uint32_t depth,
                       uint32_t *leafDepth) {
    if (depth >= kMaxLevels) return eSYS_ERROR;
    ZEL_CHECK(rtEnsurePath(rt, depth + 1));
    const size_t bb = rtBoundaryBytes(rt);
    for (uint32_t i = 0; i < node->used; ++i) {
        const B_RTREE_BOUNDARY *b = rtBranchBoundary(rt, node, i);
        if (node->level == 0) {
            if (node->data[i] != val->val || std::memcmp(b, val->boundary, bb) != 0) continue;
            rt->path[depth] = {node, i, ZEL_FALSE};
            *leafDepth = depth;
            return sOKAY;
        }
        if (node->children[i] == nullptr || !rtOverlap(rt, b, val->boundary)) continue;
        rt->path[depth] = {node, i, ZEL_FALSE};
        const ZEL_RETCODE rc = rtFindLeaf(rt, node->children[i], val, depth + 1, leafDepth);
        if (rc != sNOTFOUND) return rc;
    }
    return sNOTFOUND;
}

// Nodes the reinsertions after a delete may take. r[L] branches come back at
// level L; each insert splits at most one node per level on its way up, and
// each split inserts into the level above; a root split adds a root.
uint32_t rtDeleteNeed(const uint32_t *r, uint32_t rootLevel) {
    uint32_t need = 0, carry = 0;
    for (uint32_t level = 0;; ++level) {
        const uint32_t inserts = (level <= rootLevel ? r[level] : 0) + carry;
        uint32_t splits = inserts;
        // Above the old root a new root starts with two branches: it takes
        // 31 inserts to split.
        if (level > rootLevel && inserts < kBranches - 1) splits = 0;
        if (splits == 0 && level >= rootLevel) break;
        need += splits;
        if (level >= rootLevel && splits > 0) need++;  // a new root
        carry = splits;
        if (need >= kPoolCap) return kPoolCap;
    }
    return need;
}

// Gives back a subtree that could not be reinserted; its boxes leave the count.
void rtFreeSubtree(B_RTREE_T *rt, B_RTREE_NODE *node) {
    if (node->level == 0) {
        rt->count -= node->used;
    } else {
        for (uint32_t i = 0; i < node->used; ++i) rtFreeSubtree(rt, node->children[i]);
    }
    b_poolPut(&rt->node_pool, node);
}

ZEL_RETCODE rtReinsert(B_RTREE_T *rt) {
    ZEL_RETCODE rc = sOKAY;
    for (auto *node = static_cast<B_RTREE_NODE *>(b_llDeleteHead(&rt->lNodes)); node != nullptr;
         node = static_cast<B_RTREE_NODE *>(b_llDeleteHead(&rt->lNodes))) {
        for (uint32_t i = 0; i < node->used; ++i) {
            rtCopyBoundary(rt, rt->reinsert_boundary, rtBranchBoundary(rt, node, i));
            const ZEL_RETCODE r =
                rtAdd(rt, rt->reinsert_boundary, node->children[i], node->data[i], node->level);
            if (r == sOKAY) continue;
            // Only if the reservation fell short: the branch is lost, not leaked.
            if (rc == sOKAY) rc = r;
            if (node->children[i] != nullptr) {
                rtFreeSubtree(rt, node->children[i]);
            } else {
                rt->count--;
            }
        }
        b_poolPut(&rt->node_pool, node);
    }
    return rc;
}

// ---- Search.

void rtCopyOut(const B_RTREE_T *rt, B_RTREE_NODE *leaf, uint32_t i, B_RTREE_VAL *val) {
    rtCopyBoundary(rt, val->boundary, rtBranchBoundary(rt, leaf, i));
    val->val = leaf->data[i];
}

inline bool rtSlotLive(const B_RTREE_PATH *p) {
    return p->slot < p->node->used;  // a slot stepped below 0 wraps to a huge one
}

ZEL_RETCODE rtSearch(B_RTREE_T *rt, B_RTREE_NODE *node, uint32_t pathIncr,
                     const ZEL_SPATIAL_CRITERIA *criteria, ZEL_DIRECTION dir, B_RTREE_VAL *val) {
    if (pathIncr > 0) {
        ZEL_CHECK(rtEnsurePath(rt, rt->pathlevel + 2));
        rt->pathlevel++;
        rt->path[rt->pathlevel] = {node, dir == ZEL_FORWARD ? 0 : node->used - 1,
                                   dir == ZEL_FORWARD ? ZEL_FALSE : ZEL_TRUE};
    }
    const uint32_t level = rt->pathlevel;
    while (rtSlotLive(&rt->path[level])) {
        const uint32_t i = rt->path[level].slot;
        rt->path[level].slot += static_cast<uint32_t>(static_cast<int32_t>(dir));
        if (!rtBranchMatchesCriteria(rt, criteria, rtBranchBoundary(rt, node, i))) continue;
        if (node->level == 0) {
            rtCopyOut(rt, node, i, val);
            return sOKAY;
        }
        const ZEL_RETCODE rc = rtSearch(rt, node->children[i], 1, criteria, dir, val);
        if (rc != sNOTFOUND) return rc;
        rt->pathlevel = level;
    }
    return sNOTFOUND;
}

ZEL_RETCODE rtFirstOrLast(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria, ZEL_DIRECTION dir,
                          B_RTREE_VAL *val) {
    if (rt == nullptr || val == nullptr || val->boundary == nullptr) return eINVNULLARG;
    if (criteria != nullptr && criteria->code != ZEL_ALL && criteria->val.boundary == nullptr) {
        return eINVNULLARG;
    }
    rt->pathlevel = kNoLevel;
    if (rt->root->used == 0) return sNOTFOUND;
    ZEL_CHECK(rtEnsurePath(rt, static_cast<uint32_t>(rt->root->level) + 1));
    const ZEL_RETCODE rc = rtSearch(rt, rt->root, 1, criteria, dir, val);
    if (rc == sNOTFOUND) {
        rt->pathlevel = kAtEnd;
        rt->path[0].slot_zero_used = dir == ZEL_FORWARD ? ZEL_FALSE : ZEL_TRUE;
    } else if (rc != sOKAY) {
        rt->pathlevel = kNoLevel;
    }
    return rc;
}

ZEL_RETCODE rtStep(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria, ZEL_DIRECTION dir,
                   B_RTREE_VAL *val) {
    if (rt == nullptr || val == nullptr || val->boundary == nullptr) return eINVNULLARG;
    if (criteria != nullptr && criteria->code != ZEL_ALL && criteria->val.boundary == nullptr) {
        return eINVNULLARG;
    }
    const ZEL_BOOL_T reverse = dir == ZEL_FORWARD ? ZEL_FALSE : ZEL_TRUE;
    if (rt->pathlevel == kNoLevel) return sNOTFOUND;
    if (rt->pathlevel == kAtEnd) {
        // At an end: onwards finds nothing, a step back starts over from it.
        if (rt->path[0].slot_zero_used == reverse) return sNOTFOUND;
        return rtFirstOrLast(rt, criteria, dir, val);
    }
    // A change of direction: each level's next position moves past the branch
    // it came from, the other way.
    for (uint32_t l = 0; l <= rt->pathlevel; ++l) {
        B_RTREE_PATH *p = &rt->path[l];
        if (p->slot_zero_used == reverse) continue;
        p->slot += static_cast<uint32_t>(2 * static_cast<int32_t>(dir));
        p->slot_zero_used = reverse;
    }
    ZEL_RETCODE rc = rtSearch(rt, rt->path[rt->pathlevel].node, 0, criteria, dir, val);
    while (rc == sNOTFOUND && rt->pathlevel > 0) {
        rt->pathlevel--;
        rc = rtSearch(rt, rt->path[rt->pathlevel].node, 0, criteria, dir, val);
    }
    if (rc == sNOTFOUND) {
        rt->pathlevel = kAtEnd;
        rt->path[0].slot_zero_used = reverse;
    } else if (rc != sOKAY) {
        rt->pathlevel = kNoLevel;
    }
    return rc;
}

// ---- Nearest neighbours.

uint64_t rtCalculateDistance(const B_RTREE_T *rt, const B_RTREE_BOUNDARY *point,
                             const B_RTREE_BOUNDARY *box) {
    const uint32_t d = rt->dim;
    uint64_t sum = 0;
    for (uint32_t i = 0; i < d; ++i) {
        int32_t diff = 0;
        if (point[i] < box[i]) {
            diff = rtSub32(box[i], point[i]);
        } else if (point[i] > box[d + i]) {
            diff = rtSub32(point[i], box[d + i]);
        }
        // Kept: the square is taken in 32 bits and sign-extended, so that a
        // difference past 46340 wraps; results have always come in this order.
        sum += static_cast<uint64_t>(static_cast<int64_t>(rtSquare32(diff)));
    }
    return sum;
}

ZEL_COMPARE rtNeighborCompare(const void *a, const void *b, const void *) {
    const auto *x = static_cast<const B_RTREE_NEIGHBOR_RESULT *>(a);
    const auto *y = static_cast<const B_RTREE_NEIGHBOR_RESULT *>(b);
    if (x->distance != y->distance) return x->distance < y->distance ? ZEL_LT : ZEL_GT;
    return x->node == y->node && x->offset == y->offset ? ZEL_EQ : ZEL_LT;
}

struct RtKnn {
    const B_RTREE_BOUNDARY *point;
    uint32_t numNeighbors;
};

bool rtCanPrune(B_RTREE_T *rt, const RtKnn &q, uint64_t distance) {
    if (b_btCount(&rt->btNeighbors) < q.numNeighbors) return false;
    const auto *last = static_cast<const B_RTREE_NEIGHBOR_RESULT *>(b_btLast(&rt->btNeighbors));
    return last != nullptr && distance > last->distance;
}

// First element as the pivot; recursion on the left part, a loop on the right.
void rtQuicksortKnnNodes(B_RTREE_NEIGHBOR_NODE *a, int32_t lo, int32_t hi) {
    while (lo < hi) {
        const B_RTREE_NEIGHBOR_NODE pivot = a[lo];
        int32_t store = lo;
        for (int32_t i = lo + 1; i <= hi; ++i) {
            if (a[i].distance < pivot.distance) {
                ++store;
                const B_RTREE_NEIGHBOR_NODE t = a[store];
                a[store] = a[i];
                a[i] = t;
            }
        }
        a[lo] = a[store];
        a[store] = pivot;
        rtQuicksortKnnNodes(a, lo, store - 1);
        lo = store + 1;
    }
}

ZEL_RETCODE rtKNNProcessLeaf(B_RTREE_T *rt, const RtKnn &q, B_RTREE_NODE *node) {
    for (uint32_t i = 0; i < node->used; ++i) {
        const uint64_t distance = rtCalculateDistance(rt, q.point, rtBranchBoundary(rt, node, i));
        if (rtCanPrune(rt, q, distance)) continue;
        B_RTREE_NEIGHBOR_RESULT *r = nullptr;
        if (b_btCount(&rt->btNeighbors) < q.numNeighbors) {
            if (b_poolGetMem(&rt->knn_pool, sizeof *r, B_POOL_ALLOC, nullptr, &r) != sOKAY) {
                return eNOMEMORY;
            }
        } else {
            r = static_cast<B_RTREE_NEIGHBOR_RESULT *>(b_btDeleteLast(&rt->btNeighbors));
        }
        *r = {distance, node, i};
        const ZEL_RETCODE rc = b_btAdd(&rt->btNeighbors, r);
        if (rc != sOKAY) {
            b_poolPut(&rt->knn_pool, r);
            return rc;
        }
    }
    return sOKAY;
}

ZEL_RETCODE rtKNNProcessNode(B_RTREE_T *rt, const RtKnn &q, B_RTREE_NODE *node) {
    B_RTREE_NEIGHBOR_NODE list[kBranches];
    int32_t n = 0;
    for (uint32_t i = 0; i < node->used; ++i) {
        const uint64_t distance = rtCalculateDistance(rt, q.point, rtBranchBoundary(rt, node, i));
        if (!rtCanPrune(rt, q, distance)) list[n++] = {distance, node->children[i]};
    }
    rtQuicksortKnnNodes(list, 0, n - 1);
    for (int32_t i = 0; i < n; ++i) {
        B_RTREE_NODE *child = list[i].node;
        // A failure ends the search: later children would only hide it.
        ZEL_CHECK(child->level == 0 ? rtKNNProcessLeaf(rt, q, child)
                                    : rtKNNProcessNode(rt, q, child));
    }
    return sOKAY;
}

// ---- Validation.

ZEL_RETCODE rtNodeValidate(B_RTREE_T *rt, B_RTREE_NODE *node, uint64_t *boxes) {
    if (node->used > kBranches) return eINVVARINT;
    if (node->level == 0) {
        for (uint32_t i = 0; i < kBranches; ++i)
            if (node->children[i] != nullptr) return eINVVARINT;
        *boxes += node->used;
        return sOKAY;
    }
    const size_t bb = rtBoundaryBytes(rt);
    for (uint32_t i = 0; i < kBranches; ++i) {
        B_RTREE_NODE *child = node->children[i];
        if (i >= node->used) {
            if (child != nullptr) return eINVVARINT;
            continue;
        }
        if (child == nullptr || child->level != node->level - 1) return eINVVARINT;
        rtNodeGetCoverage(rt, child, rt->tmp_boundary2);
        if (std::memcmp(rt->tmp_boundary2, rtBranchBoundary(rt, node, i), bb) != 0) {
            return eINVVARINT;
        }
        ZEL_CHECK(rtNodeValidate(rt, child, boxes));
    }
    return sOKAY;
}

void rtTermNodes(B_RTREE_T *rt, B_RTREE_NODE *node) {
    if (node->level > 0) {
        for (uint32_t i = 0; i < node->used; ++i) rtTermNodes(rt, node->children[i]);
    }
    b_poolPut(&rt->node_pool, node);
}

// Work arrays in one block: width (dim doubles), then the boundaries and the
// seed indexes (int32): reinsert, tmp, tmp2 (2 dim each), bounding (4 dim),
// boundaryWorking (66 dim), boundingSplit (2 dim), leastUpper, greatestLower.
constexpr size_t kWorkInts = 2 + 2 + 2 + 4 + 2 * kSplitCount + 2 + 1 + 1;

void rtTerm(B_RTREE_T *rt) {
    if (rt->root != nullptr) rtTermNodes(rt, rt->root);
    rt->root = nullptr;
    if (rt->btNeighbors.subTag != nullptr) {
        while (void *r = b_btDeleteFirst(&rt->btNeighbors)) b_poolPut(&rt->knn_pool, r);
        b_btTerm(&rt->btNeighbors);
    }
    for (void *n = b_llDeleteHead(&rt->lNodes); n != nullptr; n = b_llDeleteHead(&rt->lNodes)) {
        b_poolPut(&rt->node_pool, n);
    }
    b_llTerm(&rt->lNodes);
    b_poolTerm(&rt->node_pool);
    b_poolTerm(&rt->knn_pool);
    b_tag_subFreeCanBeNull(rt->subTag, rt->width);
    b_tag_subFreeCanBeNull(rt->subTag, rt->path);
    rt->width = nullptr;
    rt->path = nullptr;
    rt->pathsize = 0;
}

}  // namespace

extern "C" {

const double UnitSphereVolumes[B_RTREE_MAX_DIM + 1] = {
    kUnitVolumes.v[0],  kUnitVolumes.v[1],  kUnitVolumes.v[2],  kUnitVolumes.v[3],
    kUnitVolumes.v[4],  kUnitVolumes.v[5],  kUnitVolumes.v[6],  kUnitVolumes.v[7],
    kUnitVolumes.v[8],  kUnitVolumes.v[9],  kUnitVolumes.v[10], kUnitVolumes.v[11],
    kUnitVolumes.v[12], kUnitVolumes.v[13], kUnitVolumes.v[14], kUnitVolumes.v[15],
    kUnitVolumes.v[16], kUnitVolumes.v[17], kUnitVolumes.v[18], kUnitVolumes.v[19],
    kUnitVolumes.v[20]};

ZEL_RETCODE b_rtInit(B_RTREE_T *rtree, uint32_t flags, uint32_t dim, void *ctx, B_TAG_SUB subTag) {
    (void)flags;
    if (rtree == nullptr || subTag == nullptr) return eINVNULLARG;
    if (dim == 0 || dim > B_RTREE_MAX_DIM) return eINVARG;
    B_RTREE_T *rt = rtree;
    std::memset(rt, 0, sizeof *rt);
    rt->dim = dim;
    rt->ctx = ctx;
    rt->subTag = subTag;
    rt->minfill = kMinFill;
    rt->pathlevel = kNoLevel;
    b_llInit(&rt->lNodes, subTag);
    b_poolInit(&rt->node_pool, subTag, B_POOL_FIXED_SIZE, rtNodeConstructor, nullptr, rt);
    b_poolInit(&rt->knn_pool, subTag, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    ZEL_RETCODE rc = b_btInit(&rt->btNeighbors, rtNeighborCompare, kBranches, nullptr, subTag);
    void *work = nullptr;
    if (rc == sOKAY) {
        rc = b_tag_subAllocClear(subTag, dim * (sizeof(double) + kWorkInts * sizeof(int32_t)),
                                 &work);
    }
    if (rc == sOKAY) {
        rt->width = static_cast<double *>(work);
        B_RTREE_BOUNDARY *b = reinterpret_cast<B_RTREE_BOUNDARY *>(rt->width + dim);
        auto take = [&](size_t n) {
            B_RTREE_BOUNDARY *p = b;
            b += n * dim;
            return p;
        };
        rt->reinsert_boundary = take(2);
        rt->tmp_boundary = take(2);
        rt->tmp_boundary2 = take(2);
        rt->partition.bounding = take(4);
        rt->boundaryWorking = take(2 * kSplitCount);
        rt->boundingSplit = take(2);
        rt->leastUpper = take(1);
        rt->greatestLower = take(1);
        rc = rtGetNode(rt, &rt->root);
    }
    if (rc != sOKAY) {
        rt->root = nullptr;
        rtTerm(rt);
        return rc;
    }
    rt->root->level = 0;
    return sOKAY;
}

void b_rtTerm(B_RTREE_T *rtree) {
    if (rtree == nullptr || rtree->subTag == nullptr) return;
    rtTerm(rtree);
    rtree->subTag = nullptr;
}

ZEL_RETCODE b_rtAdd(B_RTREE_T *rt, const B_RTREE_VAL *val) {
    if (rt == nullptr || val == nullptr || val->boundary == nullptr) return eINVNULLARG;
    for (uint32_t i = 0; i < rt->dim; ++i)
        if (val->boundary[i] > val->boundary[rt->dim + i]) return eINVARG;
    rt->pathlevel = kNoLevel;
    ZEL_CHECK(rtAdd(rt, val->boundary, nullptr, val->val, 0));
    rt->count++;
    return sOKAY;
}

ZEL_RETCODE b_rtDelete(B_RTREE_T *rt, const B_RTREE_VAL *val) {
    if (rt == nullptr || val == nullptr || val->boundary == nullptr) return eINVNULLARG;
    rt->pathlevel = kNoLevel;
    uint32_t leaf = 0;
    ZEL_RETCODE rc = rtFindLeaf(rt, rt->root, val, 0, &leaf);
    if (rc != sOKAY) return rc;

    // Plan: which nodes on the way fall below minfill, and what their
    // reinsertion may take, all reserved before the first change.
    uint32_t again[kMaxLevels] = {};
    bool orphan = false;
    for (uint32_t j = leaf + 1; j-- > 1;) {
        const B_RTREE_NODE *n = rt->path[j].node;
        const uint32_t left = n->used - ((j == leaf || orphan) ? 1 : 0);
        orphan = left < rt->minfill;
        if (orphan) again[n->level] = left;
    }
    const uint32_t rootLevel = static_cast<uint32_t>(rt->root->level);
    ZEL_CHECK(rtPoolFill(rt, rtDeleteNeed(again, rootLevel)));
    ZEL_CHECK(rtEnsurePath(rt, rootLevel + 8));

    rtNodeDisconnectBranch(rt, rt->path[leaf].node, rt->path[leaf].slot);
    for (uint32_t j = leaf; j-- > 0;) {
        B_RTREE_NODE *parent = rt->path[j].node;
        B_RTREE_NODE *child = rt->path[j + 1].node;
        const uint32_t i = rt->path[j].slot;
        // An underfilled child waits for reinsertion; if the list cannot take
        // it, it stays, underfilled but sound.
        if (child->used < rt->minfill && b_llAddTail(&rt->lNodes, child) == sOKAY) {
            rtNodeDisconnectBranch(rt, parent, i);
        } else {
            rtNodeGetCoverage(rt, child, rtBranchBoundary(rt, parent, i));
        }
    }
    rt->count--;
    rc = rtReinsert(rt);
    // Kept: the root gives way to its only child once per delete, not repeatedly.
    if (rt->root->used == 1 && rt->root->level > 0) {
        B_RTREE_NODE *old = rt->root;
        rt->root = old->children[0];
        b_poolPut(&rt->node_pool, old);
    }
    rt->pathlevel = kNoLevel;
    return rc;
}

ZEL_RETCODE b_rtCount(const B_RTREE_T *rt, uint64_t *count) {
    if (rt == nullptr || count == nullptr) return eINVNULLARG;
    *count = rt->count;
    return sOKAY;
}

ZEL_RETCODE b_rtFirstCriteria(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria,
                              B_RTREE_VAL *val) {
    return rtFirstOrLast(rt, criteria, ZEL_FORWARD, val);
}

ZEL_RETCODE b_rtLastCriteria(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria,
                             B_RTREE_VAL *val) {
    return rtFirstOrLast(rt, criteria, ZEL_REVERSE, val);
}

ZEL_RETCODE b_rtNextCriteria(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria,
                             B_RTREE_VAL *val) {
    return rtStep(rt, criteria, ZEL_FORWARD, val);
}

ZEL_RETCODE b_rtPrevCriteria(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria,
                             B_RTREE_VAL *val) {
    return rtStep(rt, criteria, ZEL_REVERSE, val);
}

ZEL_RETCODE b_rtFindNearestNeighbors(B_RTREE_T *rtree, const ZEL_KNN_CRITERIA *criteria,
                                     uint32_t *numFound, B_RTREE_VAL *neighbors) {
    if (rtree == nullptr || criteria == nullptr || numFound == nullptr || neighbors == nullptr) {
        return eINVNULLARG;
    }
    if (criteria->numNeighbors == 0) {  // nothing asked, nothing found
        *numFound = 0;
        return sOKAY;
    }
    if (criteria->point == nullptr) return eINVNULLARG;
    for (uint32_t i = 0; i < criteria->numNeighbors; ++i) {
        if (neighbors[i].boundary == nullptr) return eINVNULLARG;
    }
    B_RTREE_T *rt = rtree;
    const RtKnn q{criteria->point, criteria->numNeighbors};
    ZEL_RETCODE rc = sOKAY;
    if (rt->root->used > 0) {
        rc = rt->root->level == 0 ? rtKNNProcessLeaf(rt, q, rt->root)
                                  : rtKNNProcessNode(rt, q, rt->root);
    }
    if (rc == sOKAY && b_btCount(&rt->btNeighbors) > q.numNeighbors + 1) rc = eSYS_ERROR;
    uint32_t n = 0;
    while (auto *r = static_cast<B_RTREE_NEIGHBOR_RESULT *>(b_btDeleteFirst(&rt->btNeighbors))) {
        if (rc == sOKAY && n < q.numNeighbors) {
            rtCopyOut(rt, r->node, r->offset, &neighbors[n]);
            n++;
        }
        b_poolPut(&rt->knn_pool, r);
    }
    if (rc != sOKAY) return rc;
    *numFound = n;
    return sOKAY;
}

ZEL_RETCODE b_rtValidate(B_RTREE_T *rt) {
    if (rt == nullptr || rt->root == nullptr) return eINVNULLARG;
    uint64_t boxes = 0;
    ZEL_CHECK(rtNodeValidate(rt, rt->root, &boxes));
    return boxes == rt->count ? sOKAY : eINVVARINT;
}

}  // extern "C"
