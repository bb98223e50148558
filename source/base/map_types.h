/*
 * map_types.h - what the four maps from a 64-bit key to a 64-bit value share:
 * the key and value types, the callbacks, the lock flag and the link of a
 * free list. The maps are in map.h (on the B-tree, lockable), mapa.h (on the
 * AVL tree, positions held by the caller), mapb.h (64 neighbouring keys a
 * node, for dense keys) and uintmap.h (an array for small keys, then a map).
 */
#ifndef MAP_TYPES_H
#define MAP_TYPES_H

#include <stdint.h>

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef uint64_t B_MAP_KEY;
typedef uint64_t B_MAP_VALUE;

/* Init flag of B_MAP_T and B_UINTMAP_T: one mutex held around each call. */
#define B_MAP_FLAG_MUTEX 1u
/* Released items a map keeps for reuse; further ones go back to the tag. */
#define B_MAP_AVAIL_MAX 1000u

/* Orders key `a` relative to key `b`: ZEL_LT, ZEL_EQ or ZEL_GT (a negative
 * or positive int is taken as ZEL_LT or ZEL_GT). */
typedef ZEL_COMPARE (*B_MAP_KEY_COMPARE)(B_MAP_KEY a, B_MAP_KEY b, const void *ctx);
/* Called by the Iterate functions with the map's ctx on each entry in key
 * order; a negative code ends the walk and is returned. */
typedef ZEL_RETCODE (*B_MAP_ITERATE)(const void *ctx, B_MAP_KEY key, B_MAP_VALUE value);

/* A released item on a map's free list: its first word is the link. */
typedef struct B_MAP_ITEM_LIST_S {
    struct B_MAP_ITEM_LIST_S *next;
} B_MAP_ITEM_LIST;

ZEL_EXTERN_C_END

#endif /* MAP_TYPES_H */
