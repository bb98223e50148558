/*
 * btree.h - ordered in-memory index of caller-owned pointers, ordered by the
 * caller's compare function, with one built-in cursor. Entries live in every
 * level. Nodes and slot arrays come from two pools on the tree's sub tag.
 *
 * The tree never owns or dereferences `data`: it only hands it to `cmpfcn`.
 * Stored pointers must not be null (null is the answer "none"). Equal entries
 * by `cmpfcn` are refused. No lock, and every call, reads included, moves the
 * cursor: one thread at a time per tree.
 *
 * The cursor. First, Last, a find that hits, FindOrNext and FindOrPrev put it
 * on the entry they return; Next and Prev step from there. Next past the end
 * returns null and stays after the last entry (a Prev then gives the last);
 * Prev before the first returns null and leaves the cursor on no entry, as
 * DeleteFirst and DeleteLast do: Next and Prev then give null until it is put
 * somewhere again. After b_btAdd, b_btAddMultiple or a find that misses, the
 * cursor is no position to step from. Deleting the current entry during a
 * walk is allowed: the delete saves the successor, which the next b_btNext
 * returns once, and from which b_btPrev steps back.
 */
#ifndef BTREE_H
#define BTREE_H

#include "btree_types.h"

ZEL_EXTERN_C_BEGIN

/* An empty tree whose nodes hold up to `slots` entries. Takes the root's slot
 * array. eINVNULLARG (btree, cmpfcn or subTag null); eINVARG (slots < 2 or
 * above 65535); eNOMEMORY, nothing held. *btree is written only on sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_btInit(B_BTREE_T *btree, B_BT_COMPARE cmpfcn, uint32_t slots,
                                   const void *ctx, B_TAG_SUB subTag);
/* Gives every node, the root's array, the pools and the path back. The data
 * pointers are the caller's and are not visited. */
void b_btTerm(B_BTREE_T *btree);
/* Inserts `data`. sOKAY; eDUPLICATE (an equal entry is there); eINVNULLARG
 * (data null); eNOMEMORY. On any failure the tree is as it was. */
ZEL_NODISCARD ZEL_RETCODE b_btAdd(B_BTREE_T *btree, const void *data);
/* Adds data[0..count-1] in order, all or nothing: on the first failure the
 * entries this call added are deleted again, last first, and the failure is
 * returned (codes as b_btAdd). count 0 is sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_btAddMultiple(B_BTREE_T *btree, uint32_t count,
                                          const void *const *data);
/* Removes the entry equal to `lookup` and returns the stored pointer, or null
 * when there is none (the tree and a saved successor stay as they were).
 * Saves the removed entry's successor for b_btNext and b_btPrev. */
void *b_btDelete(B_BTREE_T *btree, const void *lookup);
/* Remove and return the least or greatest entry; null when empty. The cursor
 * is left on no entry; a saved successor that is the entry removed is
 * forgotten. */
void *b_btDeleteFirst(B_BTREE_T *btree);
void *b_btDeleteLast(B_BTREE_T *btree);
/* The equal entry, or null. */
void *b_btFind(B_BTREE_T *btree, const void *lookup);
/* The equal entry, else the least entry above (Next) or the greatest below
 * (Prev) the lookup, else null. */
void *b_btFindOrNext(B_BTREE_T *btree, const void *lookup);
void *b_btFindOrPrev(B_BTREE_T *btree, const void *lookup);
/* The least or greatest entry, or null when empty. */
void *b_btFirst(B_BTREE_T *btree);
void *b_btLast(B_BTREE_T *btree);
/* The entry after or before the cursor, or null at the end. */
void *b_btNext(B_BTREE_T *btree);
void *b_btPrev(B_BTREE_T *btree);
/* Entries in the tree. */
uint32_t b_btCount(const B_BTREE_T *btree);

ZEL_EXTERN_C_END

#endif /* BTREE_H */
