/*
 * rtree.h - in-memory spatial index over integer boxes of `dim` dimensions (1
 * to 20), each box carrying a 64-bit value. Insert, delete with reinsertion
 * of underfilled nodes, search by a spatial criterion with a two-way cursor,
 * and the k nearest neighbours of a point. Nodes hold 32 branches. Volumes
 * are those of bounding spheres, not of the boxes.
 *
 * A boundary is 2 x `dim` int32 values, all lows then all highs. The tree
 * copies boxes in and out; it owns its nodes and never the caller's arrays.
 * No lock: every call, reads included, uses the tree's work areas and
 * cursor, so one thread at a time per tree.
 *
 * The cursor. First and Last put it on the first or last box matching the
 * criteria; Next and Prev step from there, either way, with the criteria of
 * each call. Past an end they answer sNOTFOUND and the cursor waits at that
 * end: a step back from there gives the box at that end again. Add and
 * delete invalidate the cursor (Next and Prev then answer sNOTFOUND).
 */
#ifndef RTREE_H
#define RTREE_H

#include <stdint.h>

#include "btree_types.h"
#include "list.h"
#include "pool.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

#define B_RTREE_MAX_BRANCHES 32
#define B_RTREE_MAX_DIM 20

typedef int32_t B_RTREE_BOUNDARY;

/* A box and its value. `boundary` points to 2 x dim values (the caller's). */
typedef struct B_RTREE_VAL_S {
    uint64_t val;
    B_RTREE_BOUNDARY *boundary;
} B_RTREE_VAL;

struct b_rtree_node_;

typedef struct B_RTREE_BRANCH_S {
    B_RTREE_BOUNDARY *boundary;
    struct b_rtree_node_ *childnode;
    uint64_t data;
} B_RTREE_BRANCH;

/* level 0 is a leaf, higher is nearer the root. Branch i's boundary is at
 * boundary[2 x dim x i]; the record is allocated with room for 32 of them. */
typedef struct b_rtree_node_ {
    uint32_t used;
    int32_t level;
    struct b_rtree_node_ *children[B_RTREE_MAX_BRANCHES];
    uint64_t data[B_RTREE_MAX_BRANCHES];
    B_RTREE_BOUNDARY boundary[];
} B_RTREE_NODE;

/* One level of the cursor. `slot` is the next position to try; in this tree
 * `slot_zero_used` says the level was last stepped backwards. */
typedef struct B_RTREE_PATH_S {
    B_RTREE_NODE *node;
    uint32_t slot;
    ZEL_BOOL_T slot_zero_used;
} B_RTREE_PATH;

typedef struct B_RTREE_NEIGHBOR_NODE_S {
    uint64_t distance;
    B_RTREE_NODE *node;
} B_RTREE_NEIGHBOR_NODE;

typedef struct B_RTREE_NEIGHBOR_RESULT_S {
    uint64_t distance;
    B_RTREE_NODE *node;
    uint32_t offset; /* the branch within the leaf */
} B_RTREE_NEIGHBOR_RESULT;

/* The work area of a split of 33 branches into groups 0 and 1. */
typedef struct B_RTREE_PARTITION_S {
    int32_t partition[B_RTREE_MAX_BRANCHES + 1]; /* group per branch, -1 unassigned */
    int32_t total;
    int32_t minfill;
    ZEL_BOOL_T taken[B_RTREE_MAX_BRANCHES + 1];
    int32_t count[2];
    double area[2];
    B_RTREE_BOUNDARY *bounding; /* two boundaries, back to back */
} B_RTREE_PARTITION;

typedef enum ZEL_SPATIAL_CODE_E { ZEL_ALL = 0, ZEL_OVERLAP = 1, ZEL_CONTAINS = 2 } ZEL_SPATIAL_CODE;

/* ZEL_OVERLAP: boxes sharing a point with `val`'s box; ZEL_CONTAINS: boxes
 * that contain it. `val.val` and `useVal` are not consulted. */
typedef struct ZEL_SPATIAL_CRITERIA_S {
    B_RTREE_VAL val;
    ZEL_SPATIAL_CODE code;
    ZEL_BOOL_T useVal;
} ZEL_SPATIAL_CRITERIA;

typedef struct ZEL_KNN_CRITERIA_S {
    const B_RTREE_BOUNDARY *point; /* dim coordinates */
    uint32_t numNeighbors;
} ZEL_KNN_CRITERIA;

typedef struct B_RTREE_S {
    uint32_t dim;
    void *ctx;
    B_LL_T lNodes; /* nodes awaiting reinsertion */
    B_POOL_T node_pool;
    B_TAG_SUB subTag;
    uint32_t count;
    B_RTREE_NODE *root;
    uint32_t minfill;
    B_RTREE_BOUNDARY *reinsert_boundary;
    B_RTREE_BOUNDARY *tmp_boundary;
    B_RTREE_BOUNDARY *tmp_boundary2;
    B_RTREE_PARTITION partition;
    B_RTREE_NODE *childrenWorking[B_RTREE_MAX_BRANCHES + 1];
    uint64_t dataWorking[B_RTREE_MAX_BRANCHES + 1];
    B_RTREE_BOUNDARY *boundaryWorking; /* 33 boundaries */
    int32_t BranchWorkingCount;
    B_RTREE_BOUNDARY *boundingSplit;
    double BoundingSplitArea; /* not used */
    double *width;
    int32_t *leastUpper;
    int32_t *greatestLower;
    uint32_t pathlevel;
    uint32_t pathsize;
    B_RTREE_PATH *path;
    B_POOL_T knn_pool;
    B_BTREE_T btNeighbors;
} B_RTREE_T;

/* Volumes of the unit n-ball for n = 0 to 20 (index 0 holds 0.0). */
extern const double UnitSphereVolumes[B_RTREE_MAX_DIM + 1];

/* An empty tree of boxes of `dim` dimensions; `flags` is ignored. eINVNULLARG
 * (rtree or subTag null); eINVARG (dim 0 or above 20); eNOMEMORY, nothing
 * held. */
ZEL_NODISCARD ZEL_RETCODE b_rtInit(B_RTREE_T *rtree, uint32_t flags, uint32_t dim, void *ctx,
                                   B_TAG_SUB subTag);
/* Frees every node, the work areas and the pools. */
void b_rtTerm(B_RTREE_T *rtree);
/* Copies the box and value in. sOKAY; eINVNULLARG (rt, val or its boundary
 * null); eINVARG (a low above its high); eNOMEMORY, the tree unchanged. Equal
 * boxes with equal values may be added more than once. */
ZEL_NODISCARD ZEL_RETCODE b_rtAdd(B_RTREE_T *rt, const B_RTREE_VAL *val);
/* Removes one box equal to `val`'s byte for byte with the same value; the
 * branches of nodes left underfilled are inserted again. sOKAY; sNOTFOUND;
 * eINVNULLARG; eNOMEMORY, the tree unchanged. */
ZEL_NODISCARD ZEL_RETCODE b_rtDelete(B_RTREE_T *rt, const B_RTREE_VAL *val);
/* Boxes in the tree. eINVNULLARG for a null rt or count. */
ZEL_NODISCARD ZEL_RETCODE b_rtCount(const B_RTREE_T *rt, uint64_t *count);
/* The first, last, next or previous box matching `criteria` (null matches
 * all): sOKAY with the box copied to val->boundary and its value to
 * val->val; sNOTFOUND; eINVNULLARG; eNOMEMORY (the cursor's growth). */
ZEL_NODISCARD ZEL_RETCODE b_rtFirstCriteria(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria,
                                            B_RTREE_VAL *val);
ZEL_NODISCARD ZEL_RETCODE b_rtLastCriteria(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria,
                                           B_RTREE_VAL *val);
ZEL_NODISCARD ZEL_RETCODE b_rtNextCriteria(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria,
                                           B_RTREE_VAL *val);
ZEL_NODISCARD ZEL_RETCODE b_rtPrevCriteria(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *criteria,
                                           B_RTREE_VAL *val);
/* Up to numNeighbors boxes nearest to criteria->point, nearest first, into
 * neighbors[0..*numFound-1] (each entry's boundary must point to the caller's
 * room for 2 x dim values). The distance is the sum of the squared distances
 * to the box per dimension, each difference and square taken in 32 bits, so
 * that differences past 46340 wrap. numNeighbors 0 finds nothing. sOKAY;
 * eINVNULLARG; eNOMEMORY, *numFound and neighbors untouched. */
ZEL_NODISCARD ZEL_RETCODE b_rtFindNearestNeighbors(B_RTREE_T *rtree,
                                                   const ZEL_KNN_CRITERIA *criteria,
                                                   uint32_t *numFound, B_RTREE_VAL *neighbors);
/* Walks the tree: leaves without children, each interior branch's boundary
 * equal to its child's coverage byte for byte, children one level down, and
 * as many boxes as `count`. sOKAY; eINVNULLARG; eINVVARINT for a breach (the
 * code this check has always reported, whatever its name says). */
ZEL_NODISCARD ZEL_RETCODE b_rtValidate(B_RTREE_T *rt);

ZEL_EXTERN_C_END

#endif /* RTREE_H */
