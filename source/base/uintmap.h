/*
 * uintmap.h - B_UINTMAP_T, a map from a 64-bit key to a 64-bit value that
 * keeps keys below `arraySize` in an array (a direct access) and every other
 * key in a B_MAP_T. Key order: the array's keys, then the map's order.
 * Optionally locked: with B_MAP_FLAG_MUTEX every call holds the map's own
 * mutex from start to end.
 *
 * The cursor `curr` is an array index, `arraySize` while it is in the map
 * (whose own cursor then holds the place), all ones on no entry. First and a
 * find that hits set it; Next steps from it, from the end of the array on to
 * the map's first key. Deleting the entry at the cursor and going on with
 * Next is allowed; no other change is guarded.
 *
 * Codes, for every function but Term: eINVNULLARG for a null map (or a null
 * count pointer); sNOTFOUND for no such entry. Out pointers of keys and
 * values may be null. The map must not be moved after init.
 */
#ifndef UINTMAP_H
#define UINTMAP_H

#include "map.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_UINTMAP_ENTRY_S {
    ZEL_BOOL_T inuse;
    B_MAP_VALUE value;
} B_UINTMAP_ENTRY;

/* `curr` when the cursor is on no entry. */
#define B_UINTMAP_NO_POSITION 0xFFFFFFFFu

typedef struct B_UINTMAP_S {
    uint32_t curr;      /* array index, arraySize for the map, or all ones */
    uint32_t count;     /* entries of the array (see b_uintmapDeleteAll) */
    uint32_t arraySize; /* at least 5 */
    const void *ctx;    /* for the map's cmpFcn */
    B_UINTMAP_ENTRY *array;
    B_MAP_T map; /* keys from arraySize on; without a lock of its own */
    B_TAG_SUB subTag;
    ZEL_BOOL_T use_mutex;
    PSP_THREAD_MUTEX_T mutex; /* initialised only with use_mutex */
} B_UINTMAP_T;

/* An empty map on `tag` with an array of `arraySize` keys (raised to 5).
 * flags: 0 or B_MAP_FLAG_MUTEX (other bits eINVARG); cmpFcn orders the keys
 * of the map part, null for unsigned order. eINVNULLARG (map or tag);
 * eINVARG (arraySize all ones, the cursor's mark); eNOMEMORY;
 * ePSP_MUTEX_FAILURE. Nothing is held on failure. */
ZEL_NODISCARD ZEL_RETCODE b_uintmapInitEx(B_UINTMAP_T *map, uint32_t flags, uint32_t arraySize,
                                          B_MAP_KEY_COMPARE cmpFcn, const void *ctx, B_TAG_SUB tag);
/* Frees the array, the map and the mutex. Null is ignored. */
void b_uintmapTerm(B_UINTMAP_T *map);
/* Inserts or overwrites. eNOMEMORY leaves the map as it was. */
ZEL_NODISCARD ZEL_RETCODE b_uintmapSet(B_UINTMAP_T *map, B_MAP_KEY key, B_MAP_VALUE value);
/* The cursor goes to the key found. */
ZEL_NODISCARD ZEL_RETCODE b_uintmapFind(B_UINTMAP_T *map, B_MAP_KEY key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_uintmapDelete(B_UINTMAP_T *map, B_MAP_KEY key, B_MAP_VALUE *value);
/* Removes the first entry: the array's lowest, else the map's first. */
ZEL_NODISCARD ZEL_RETCODE b_uintmapDeleteFirst(B_UINTMAP_T *map, B_MAP_KEY *key,
                                               B_MAP_VALUE *value);
/* Removes every entry and puts the cursor on none. The array's count is
 * kept: b_uintmapCount goes on counting the entries the array had. */
ZEL_NODISCARD ZEL_RETCODE b_uintmapDeleteAll(B_UINTMAP_T *map);
/* The first entry, the cursor on it. */
ZEL_NODISCARD ZEL_RETCODE b_uintmapFirst(B_UINTMAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value);
/* The entry after the cursor; with the cursor on none, the first. */
ZEL_NODISCARD ZEL_RETCODE b_uintmapNext(B_UINTMAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value);
/* `count` plus the map's count. */
ZEL_NODISCARD ZEL_RETCODE b_uintmapCount(B_UINTMAP_T *map, uint32_t *count);

ZEL_EXTERN_C_END

#endif /* UINTMAP_H */
