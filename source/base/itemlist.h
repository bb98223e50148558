/*
 * itemlist.h - item lists: the records of a transaction's update list, kept
 * in the order they were added, in chunks of 100 found by number, with access
 * by running number. Each item carries a stored object's place (drawer and
 * slot), version and state, and its packed bytes in a buffer that the list
 * owns once the item is added and gives back to the list's pool.
 *
 * Also the records the engine builds its batches and update counts from.
 * No lock: one thread at a time per list.
 */
#ifndef ITEMLIST_H
#define ITEMLIST_H

#include <stdint.h>

#include "avl.h"
#include "buffer.h"
#include "pool.h"
#include "schema_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* A transaction's number. */
typedef uint64_t TX_TRANSID;

typedef enum B_ITEM_STATE_E {
    B_ITEM_EXIST = 0,
    B_ITEM_DELETED = 1,
    B_ITEM_EVICT_DELETE = 2,
    B_ITEM_EVICT_UPDATE = 3,
    B_ITEM_EVICT_INSERT = 4
} B_ITEM_STATE;

/* Five words: copied as a whole. */
typedef struct B_ITEM_S {
    ZEL_DRAWER_TYPE drawerType;
    ZEL_DRAWER drawerId;
    ZEL_SLOT slot;
    TX_TRANSID version;
    B_ITEM_STATE state;
    ZEL_ITEM_FORMAT format;
    B_BUFFER_T *buffer; /* from the list's pool; the list's once added; may be null */
} B_ITEM;

#define B_ITEM_CHUNK_ITEMS 100

typedef struct B_ITEM_CHUNK_S {
    B_AVL_NODE_T node;
    uint32_t id; /* items id * 100 .. id * 100 + 99 */
    B_ITEM items[B_ITEM_CHUNK_ITEMS];
} B_ITEM_CHUNK;

typedef struct B_ITEM_LIST_S {
    uint32_t num;       /* items */
    uint32_t size;      /* places in the chunks held */
    B_AVL_T avlChunks;  /* chunks by id */
    B_ITEM_CHUNK *curr; /* the chunk last touched */
    B_POOL_T *pool;     /* where the items' buffers go back */
    B_TAG_SUB subTag;   /* of the chunks */
} B_ITEM_LIST;

/* A batch of up to 63 items of one drawer. */
#define B_ITEMS_MAX 63
typedef struct B_ITEMS_S {
    ZEL_DRAWER_TYPE drawerType;
    ZEL_DRAWER drawerId;
    uint32_t count;
    B_ITEM items[B_ITEMS_MAX];
} B_ITEMS;

/* The slots of up to 63 objects of one drawer, with one version and buffer. */
typedef struct B_FIRST_ITEM_S {
    ZEL_DRAWER drawerId;
    ZEL_SLOT slots[B_ITEMS_MAX];
    uint32_t count;
    uint32_t which;
    TX_TRANSID version;
    B_BUFFER_T *buffer;
} B_FIRST_ITEM;

/* What a transaction did to one drawer. */
typedef struct B_DRAWER_UPDATES_S {
    ZEL_DRAWER drawerId;
    uint32_t num_inserts;
    uint32_t num_updates;
    uint32_t num_deletes;
} B_DRAWER_UPDATES;

typedef struct B_DRAWER_UPDATE_LIST_S {
    uint32_t num;            /* records in use */
    uint32_t size;           /* records allocated */
    B_DRAWER_UPDATES *array; /* from subTag */
    B_TAG_SUB subTag;
} B_DRAWER_UPDATE_LIST;

/* An empty list whose chunks come from `subTag` and whose items' buffers go
 * back to `pool`. eINVNULLARG for any null argument. */
ZEL_NODISCARD ZEL_RETCODE b_itemListInit(B_ITEM_LIST *list, B_POOL_T *pool, B_TAG_SUB subTag);
/* Copies `*item` into place `num`, the list taking its buffer. sOKAY;
 * eINVNULLARG; eRANGE when the list holds all it can number; eNOMEMORY, the
 * list and the buffer as they were. */
ZEL_NODISCARD ZEL_RETCODE b_itemListAddItem(B_ITEM_LIST *list, const B_ITEM *item);
/* The item numbered `id` (from 0) in *pItem, valid until the list is
 * released. sOKAY; sNOTFOUND for an id at or above `num`; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_itemListGetItem(B_ITEM_LIST *list, uint32_t id, B_ITEM **pItem);
/* Back to empty, keeping the first chunk: every buffer goes back to the pool
 * and every other chunk is freed. */
void b_itemListRelease(B_ITEM_LIST *list);
/* Gives back every buffer and chunk and clears the record. */
void b_itemListTerm(B_ITEM_LIST *list);

ZEL_EXTERN_C_END

#endif /* ITEMLIST_H */
