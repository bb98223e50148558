/*
 * mapa.h - B_MAPA_T, a map from a 64-bit key to a 64-bit value on the AVL
 * tree, in unsigned key order or the caller's, with positions that the caller
 * holds (B_MAPA_POS) instead of a cursor in the map.
 *
 * No lock. The reading functions take a const map and change nothing, so any
 * number of threads may read at once while no one writes; a writer needs the
 * map to itself. A position stays valid until its entry is deleted.
 *
 * Codes: sNOTFOUND for no such entry (out arguments then untouched). The map
 * and in/out key pointers must not be null; out pointers of values, keys that
 * are only written and positions may be null.
 */
#ifndef MAPA_H
#define MAPA_H

#include "avl.h"
#include "map_types.h"
#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_MAPA_ITEM_S {
    B_AVL_NODE_T node;
    B_MAP_KEY key;
    B_MAP_VALUE value;
} B_MAPA_ITEM;

typedef struct B_MAPA_S {
    B_TAG_SUB tag;
    B_AVL_T avl;              /* of B_MAPA_ITEM */
    B_MAP_KEY_COMPARE cmpFcn; /* null: unsigned order */
    const void *ctx;          /* for cmpFcn and the Iterate callback */
    B_MAP_ITEM_LIST *avail;   /* released items */
    uint32_t availCount;
} B_MAPA_T;

/* An entry of the map, for Next and Prev. */
typedef struct B_MAPA_POS_S {
    B_MAPA_ITEM *node;
} B_MAPA_POS;

/* An empty map on `tag`; cmpFcn null for unsigned order. Allocates nothing.
 * The map must not be moved after init (its tree's ctx is the map). */
void b_mapaInit(B_MAPA_T *mapa, B_MAP_KEY_COMPARE cmpFcn, const void *ctx, B_TAG_SUB tag);
/* Frees every item and the free list. */
void b_mapaTerm(B_MAPA_T *mapa);
/* Inserts or overwrites; Ex gives the old value, 0 for a new entry.
 * eNOMEMORY leaves the map as it was. */
ZEL_NODISCARD ZEL_RETCODE b_mapaSet(B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE value);
ZEL_NODISCARD ZEL_RETCODE b_mapaSetEx(B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE value,
                                      B_MAP_VALUE *old);
ZEL_NODISCARD ZEL_RETCODE b_mapaFind(const B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapaFindEx(const B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE *value,
                                       B_MAPA_POS *pos);
/* The entry of *key, else the next above (the previous below); *key becomes
 * the key found. */
ZEL_NODISCARD ZEL_RETCODE b_mapaFindOrNext(const B_MAPA_T *mapa, B_MAP_KEY *key,
                                           B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapaFindOrNextEx(const B_MAPA_T *mapa, B_MAP_KEY *key,
                                             B_MAP_VALUE *value, B_MAPA_POS *pos);
ZEL_NODISCARD ZEL_RETCODE b_mapaFindOrPrev(const B_MAPA_T *mapa, B_MAP_KEY *key,
                                           B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapaFindOrPrevEx(const B_MAPA_T *mapa, B_MAP_KEY *key,
                                             B_MAP_VALUE *value, B_MAPA_POS *pos);
/* Removes the entry; Ex gives its value. */
ZEL_NODISCARD ZEL_RETCODE b_mapaDelete(B_MAPA_T *mapa, B_MAP_KEY key);
ZEL_NODISCARD ZEL_RETCODE b_mapaDeleteEx(B_MAPA_T *mapa, B_MAP_KEY key, B_MAP_VALUE *value);
/* Removes the lowest entry; Ex gives its key and value. */
ZEL_NODISCARD ZEL_RETCODE b_mapaDeleteFirst(B_MAPA_T *mapa);
ZEL_NODISCARD ZEL_RETCODE b_mapaDeleteFirstEx(B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value);
/* Removes every entry; the items go to the free list (up to 1000). */
void b_mapaDeleteAll(B_MAPA_T *mapa);
/* The lowest or highest entry. */
ZEL_NODISCARD ZEL_RETCODE b_mapaFirst(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapaFirstEx(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value,
                                        B_MAPA_POS *pos);
ZEL_NODISCARD ZEL_RETCODE b_mapaLast(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value);
ZEL_NODISCARD ZEL_RETCODE b_mapaLastEx(const B_MAPA_T *mapa, B_MAP_KEY *key, B_MAP_VALUE *value,
                                       B_MAPA_POS *pos);
/* The entry after or before the one at `curr` (an entry of this map), and
 * its position; curr and pos may be the same record. sNOTFOUND at an end or
 * for a position on no entry. */
ZEL_NODISCARD ZEL_RETCODE b_mapaNext(const B_MAPA_T *mapa, const B_MAPA_POS *curr, B_MAP_KEY *key,
                                     B_MAP_VALUE *value, B_MAPA_POS *pos);
ZEL_NODISCARD ZEL_RETCODE b_mapaPrev(const B_MAPA_T *mapa, const B_MAPA_POS *curr, B_MAP_KEY *key,
                                     B_MAP_VALUE *value, B_MAPA_POS *pos);
uint64_t b_mapaCount(const B_MAPA_T *mapa);
/* fcn(ctx, key, value) on each entry in order; fcn must not change the map.
 * The first negative code of fcn ends the walk and is returned; else sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_mapaIterate(const B_MAPA_T *mapa, B_MAP_ITERATE fcn);

ZEL_EXTERN_C_END

#endif /* MAPA_H */
