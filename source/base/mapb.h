/*
 * mapb.h - B_MAPB_T, a map from a 64-bit key to a 64-bit value for dense
 * keys: 64 neighbouring keys share one AVL node (a block), with a bitmap of
 * the keys present, so one tree search serves 64 keys and a full block costs
 * about 9 bytes a key. Unsigned key order only. Positions (B_MAPB_POS) are
 * held by the caller.
 *
 * No lock. The reading functions take a const map and change nothing, so any
 * number of threads may read at once while no one writes; a writer needs the
 * map to itself. A position is valid until its block leaves the map, which
 * happens when the block's last key is deleted.
 *
 * Codes: sNOTFOUND for no such entry (out arguments then untouched). The map
 * and in/out key pointers must not be null; out pointers of values, keys that
 * are only written and positions may be null.
 */
#ifndef MAPB_H
#define MAPB_H

#include "avl.h"
#include "map_types.h"
#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* Keys start .. start + 63; bit i of used_bitmap says that key start + i is
 * present, with its value in values[i] (the others hold nothing defined). */
typedef struct B_MAPB_ITEM_S {
    B_AVL_NODE_T node;
    B_MAP_KEY start; /* a multiple of 64 */
    uint64_t used_bitmap;
    B_MAP_VALUE values[64];
} B_MAPB_ITEM;

/* Blocks come from pages of the map's tag, this many to a page, packed at
 * the page's end. */
#define B_MAPB_PAGE_BLOCKS 7

struct B_MAPB_SLAB_S;

typedef struct B_MAPB_S {
    B_TAG_SUB subTag;
    B_AVL_T avl;            /* of B_MAPB_ITEM, by start */
    const void *ctx;        /* for the Iterate callback */
    B_MAP_ITEM_LIST *avail; /* released blocks */
    uint32_t availCount;
    uint64_t count;                /* keys present */
    struct B_MAPB_SLAB_S *partial; /* pages of blocks with room (private) */
} B_MAPB_T;

/* A key of the map: its block and its bit. */
typedef struct B_MAPB_POS_S {
    B_MAPB_ITEM *node;
    uint8_t offset;
} B_MAPB_POS;

/* An empty map on `tag`. Allocates nothing. */
void b_mapbInit(B_MAPB_T *mapb, const void *ctx, B_TAG_SUB tag);
/* Frees every block and the free list. */
void b_mapbTerm(B_MAPB_T *mapb);
/* Inserts or overwrites; Ex gives the old value, 0 for a new key.
 * eNOMEMORY leaves the map as it was. */
ZEL_NODISCARD ZEL_RETCODE b_mapbSet(B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE value);
ZEL_NODISCARD ZEL_RETCODE b_mapbSetEx(B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE value,
                                      B_MAP_VALUE *old);
ZEL_NODISCARD ZEL_RETCODE b_mapbFind(const B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapbFindEx(const B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE *value,
                                       B_MAPB_POS *pos);
/* The entry of *key, else the next above (the previous below); *key becomes
 * the key found. */
ZEL_NODISCARD ZEL_RETCODE b_mapbFindOrNext(const B_MAPB_T *mapb, B_MAP_KEY *key,
                                           B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapbFindOrNextEx(const B_MAPB_T *mapb, B_MAP_KEY *key,
                                             B_MAP_VALUE *value, B_MAPB_POS *pos);
ZEL_NODISCARD ZEL_RETCODE b_mapbFindOrPrev(const B_MAPB_T *mapb, B_MAP_KEY *key,
                                           B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapbFindOrPrevEx(const B_MAPB_T *mapb, B_MAP_KEY *key,
                                             B_MAP_VALUE *value, B_MAPB_POS *pos);
/* Removes the key; Ex gives its value. A block left empty leaves the map. */
ZEL_NODISCARD ZEL_RETCODE b_mapbDelete(B_MAPB_T *mapb, B_MAP_KEY key);
ZEL_NODISCARD ZEL_RETCODE b_mapbDeleteEx(B_MAPB_T *mapb, B_MAP_KEY key, B_MAP_VALUE *value);
/* Removes the lowest key; Ex gives key and value. */
ZEL_NODISCARD ZEL_RETCODE b_mapbDeleteFirst(B_MAPB_T *mapb);
ZEL_NODISCARD ZEL_RETCODE b_mapbDeleteFirstEx(B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value);
/* Removes every key; the blocks go to the free list (up to 1000). */
void b_mapbDeleteAll(B_MAPB_T *mapb);
/* The lowest or highest key. */
ZEL_NODISCARD ZEL_RETCODE b_mapbFirst(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapbFirstEx(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value,
                                        B_MAPB_POS *pos);
ZEL_NODISCARD ZEL_RETCODE b_mapbLast(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapbLastEx(const B_MAPB_T *mapb, B_MAP_KEY *key, B_MAP_VALUE *value,
                                       B_MAPB_POS *pos);
/* The key after or before the position `curr` (whose block must be in the
 * map; its own bit need not be set), and its position; curr and pos may be
 * the same record. sNOTFOUND at an end or for a position on no block. */
ZEL_NODISCARD ZEL_RETCODE b_mapbNext(const B_MAPB_T *mapb, const B_MAPB_POS *curr, B_MAP_KEY *key,
                                     B_MAP_VALUE *value, B_MAPB_POS *pos);
ZEL_NODISCARD ZEL_RETCODE b_mapbPrev(const B_MAPB_T *mapb, const B_MAPB_POS *curr, B_MAP_KEY *key,
                                     B_MAP_VALUE *value, B_MAPB_POS *pos);
uint64_t b_mapbCount(const B_MAPB_T *mapb);
/* fcn(ctx, key, value) on each key in order; fcn must not change the map.
 * The first negative code of fcn ends the walk and is returned; else sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_mapbIterate(const B_MAPB_T *mapb, B_MAP_ITERATE fcn);

ZEL_EXTERN_C_END

#endif /* MAPB_H */
