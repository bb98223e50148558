/*
 * map.h - B_MAP_T, a map from a 64-bit key to a 64-bit value on the B-tree
 * (nodes of 32 entries), in unsigned key order or the caller's. Optionally
 * locked: with B_MAP_FLAG_MUTEX every call holds the map's mutex from start
 * to end, and any thread may call it.
 *
 * The cursor is the tree's: First, a find that hits and FindOrNext/Prev put
 * it on the entry they return, and Next and Prev step from there. Deleting
 * the entry the cursor is on is allowed in a walk (Next then gives its
 * successor); a Set that inserts leaves the cursor no position to step from.
 * The lock does not keep a cursor between calls: with several threads, each
 * walk is only as good as the caller's own serialisation.
 *
 * Codes, for every function but Term: eINVNULLARG for a null map (or a null
 * in/out key or count pointer); sNOTFOUND for no such entry. Out pointers of
 * values and of keys that are only written may be null. The map must not be
 * moved or copied after init (the tree's cursor points into it).
 */
#ifndef MAP_H
#define MAP_H

#include "btree_types.h"
#include "map_types.h"
#include "psptypes.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_MAP_ITEM_S {
    B_MAP_KEY key;
    B_MAP_VALUE value;
} B_MAP_ITEM;

typedef struct B_MAP_S {
    ZEL_BOOL_T use_mutex;     /* B_MAP_FLAG_MUTEX was given */
    PSP_THREAD_MUTEX_T mutex; /* initialised only with use_mutex */
    B_TAG_SUB subTag;
    B_BTREE_T bt;             /* of B_MAP_ITEM pointers */
    B_MAP_KEY_COMPARE cmpFcn; /* null: unsigned order */
    const void *ctx;          /* for cmpFcn and the Iterate callback */
    B_MAP_ITEM_LIST *avail;   /* released items */
    uint32_t availCount;
} B_MAP_T;

/* An empty map on `tag`. flags: 0 or B_MAP_FLAG_MUTEX (other bits eINVARG).
 * cmpFcn null for unsigned order. eINVNULLARG (map or tag); eNOMEMORY;
 * ePSP_MUTEX_FAILURE. Nothing is held on failure. */
ZEL_NODISCARD ZEL_RETCODE b_mapInit(B_MAP_T *map, uint32_t flags, B_MAP_KEY_COMPARE cmpFcn,
                                    const void *ctx, B_TAG_SUB tag);
/* Frees every item, the free list, the tree and the mutex. Null is ignored. */
void b_mapTerm(B_MAP_T *map);
/* Inserts or overwrites. eNOMEMORY leaves the map as it was. */
ZEL_NODISCARD ZEL_RETCODE b_mapSet(B_MAP_T *map, B_MAP_KEY key, B_MAP_VALUE value);
ZEL_NODISCARD ZEL_RETCODE b_mapFind(B_MAP_T *map, B_MAP_KEY key, B_MAP_VALUE *value);
/* The entry of *key, else the next above (the previous below); *key becomes
 * the key found. */
ZEL_NODISCARD ZEL_RETCODE b_mapFindOrNext(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapFindOrPrev(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value);
/* Removes the entry; its value to *value. */
ZEL_NODISCARD ZEL_RETCODE b_mapDelete(B_MAP_T *map, B_MAP_KEY key, B_MAP_VALUE *value);
/* Removes the lowest entry. */
ZEL_NODISCARD ZEL_RETCODE b_mapDeleteFirst(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value);
/* Removes every entry; the items go to the free list (up to 1000). */
ZEL_NODISCARD ZEL_RETCODE b_mapDeleteAll(B_MAP_T *map);
/* The lowest entry, the cursor on it. */
ZEL_NODISCARD ZEL_RETCODE b_mapFirst(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value);
/* The entry after or before the cursor; sNOTFOUND at an end. */
ZEL_NODISCARD ZEL_RETCODE b_mapNext(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapPrev(B_MAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapCount(B_MAP_T *map, uint32_t *count);
/* fcn(ctx, key, value) on each entry in order, under the lock: fcn must not
 * call the map. The first negative code of fcn ends the walk and is
 * returned; else sOKAY. eINVNULLARG for a null fcn. */
ZEL_NODISCARD ZEL_RETCODE b_mapIterate(B_MAP_T *map, B_MAP_ITERATE fcn);

ZEL_EXTERN_C_END

#endif /* MAP_H */
