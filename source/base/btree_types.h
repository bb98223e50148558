/*
 * btree_types.h - the records of the in-memory B-tree, for the containers
 * that embed a B_BTREE_T by value (maps, R-tree, versioned cache, cached
 * B-tree). The functions are in btree.h.
 */
#ifndef BTREE_TYPES_H
#define BTREE_TYPES_H

#include <stdint.h>

#include "pool.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

struct B_BTREE_NODE_S;

/* One entry and the child that holds what sorts below it. */
typedef struct B_BTREE_SLOT_S {
    struct B_BTREE_NODE_S *child;
    const void *data;
} B_BTREE_SLOT;

/* A node with `used` entries has entries slots[0..used-1].data and children
 * slots[0..used].child; a leaf's children are all null. The array holds
 * `slots` + 1 full records and one further child pointer, room for the
 * moment a node holds one entry too many before it splits. */
typedef struct B_BTREE_NODE_S {
    B_BTREE_SLOT *slots;
    uint32_t used;
} B_BTREE_NODE;

/* One level of the cursor: the node, the slot the cursor is at, and whether
 * the cursor has been through child 0 already (no second visit going back). */
typedef struct B_BTREE_PATH_S {
    B_BTREE_NODE *node;
    uint32_t slot;
    ZEL_BOOL_T slot_zero_used;
} B_BTREE_PATH;

/* Orders `a` (a lookup or new data, of any shape the function knows) relative
 * to `b` (a stored entry); returns exactly ZEL_LT, ZEL_EQ or ZEL_GT. */
typedef ZEL_COMPARE (*B_BT_COMPARE)(const void *a, const void *b, const void *ctx);

typedef enum B_BTREE_ON_NOT_FOUND_E {
    BT_RETURN_NONE = 0,
    BT_RETURN_NEXT = 1,
    BT_RETURN_PREV = 2
} B_BTREE_ON_NOT_FOUND;

/* `pathlevel` at this value: the cursor is before the root, on no entry. */
#define B_BTREE_NO_LEVEL 0xFFFFFFFFu

typedef struct B_BTREE_S {
    const void *ctx;    /* handed to every compare */
    B_POOL_T node_pool; /* B_BTREE_NODE records */
    B_POOL_T slot_pool; /* slot arrays */
    B_BTREE_PATH *path; /* the cursor, from the root down; from subTag */
    B_BT_COMPARE cmpfcn;
    B_TAG_SUB subTag;
    uint32_t count;     /* entries in the tree */
    uint32_t slots;     /* node capacity, fixed at init */
    uint32_t pathsize;  /* allocated entries of `path` */
    uint32_t pathlevel; /* the cursor's level, or B_BTREE_NO_LEVEL */
    B_BTREE_NODE root;  /* embedded; its array is from slot_pool */
    void *next_value;   /* the successor saved by a delete */
} B_BTREE_T;

ZEL_EXTERN_C_END

#endif /* BTREE_TYPES_H */
