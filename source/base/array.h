/*
 * array.h - a growing array of caller-owned pointers, addressed by index.
 * The slot array comes from a sub tag; the items are never owned. One thread
 * at a time.
 */
#ifndef ARRAY_H
#define ARRAY_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_ARRAY_S {
    uint32_t size;  /* slots allocated */
    uint32_t count; /* slots in use, 0 to count - 1 */
    void **arr;
    B_TAG_SUB subTag;
} B_ARRAY_T;

/* Called on each item; see b_arrFind and b_arrIterate for the codes. */
typedef ZEL_RETCODE (*B_ARR_ITERATE_FCN)(void *item, void *ctx);
/* Undoes the work of an iteration on one item after a later one failed. */
typedef void (*B_ARR_UNDO_FCN)(void *item, void *ctx);

/* An empty array with no room yet. */
void b_arrInit(B_ARRAY_T *arr, B_TAG_SUB subTag);
/* Frees the slots; the items stay with the caller. */
void b_arrTerm(B_ARRAY_T *arr);
uint32_t b_arrCount(const B_ARRAY_T *arr);
/* Appends `data`; its index into *pIndex (may be null). The room grows by 4
 * slots at a time, up to 65532 slots; eNOMEMORY beyond that or when the tag
 * has no memory. */
ZEL_NODISCARD ZEL_RETCODE b_arrAdd(B_ARRAY_T *arr, void *data, uint32_t *pIndex);
/* The index of the first slot holding the address `data`; sNOTFOUND. */
ZEL_NODISCARD ZEL_RETCODE b_arrGetIndex(const B_ARRAY_T *arr, const void *data, uint32_t *pIndex);
/* The item at `index`; sNOTFOUND for an index at or past count. */
ZEL_NODISCARD ZEL_RETCODE b_arrLookup(const B_ARRAY_T *arr, uint32_t index, void **pData);
/* Takes out the slot at `index`, moving the later ones down; sNOTFOUND. */
ZEL_NODISCARD ZEL_RETCODE b_arrRemove(B_ARRAY_T *arr, uint32_t index);
/* Empties the array and keeps its room. */
void b_arrClear(B_ARRAY_T *arr);
/* fcn(item, ctx) from index 0 on: sOKAY stops with the index in *pIndex (may
 * be null), sNOTFOUND goes on, anything else is returned at once. sNOTFOUND
 * when no item answered. */
ZEL_NODISCARD ZEL_RETCODE b_arrFind(const B_ARRAY_T *arr, B_ARR_ITERATE_FCN fcn, void *ctx,
                                    uint32_t *pIndex);
/* fcn(item, ctx) from index 0 on, stopping at the first negative code. Then,
 * if undo_fcn is not null, undo_fcn(item, ctx) runs from the failed item
 * down to item 0. Returns the failure, else sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_arrIterate(const B_ARRAY_T *arr, B_ARR_ITERATE_FCN fcn,
                                       B_ARR_UNDO_FCN undo_fcn, void *ctx);

ZEL_EXTERN_C_END

#endif /* ARRAY_H */
