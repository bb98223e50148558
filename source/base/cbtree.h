/*
 * cbtree.h - an ordered index of caller entries that may grow beyond memory.
 *
 * A B-tree whose nodes are numbered and refer to their children by number, so
 * that any node can leave memory: at most `max_cached_nodes` nodes are held,
 * and the one used longest ago is written to a temporary file through the
 * caller's zap function and read back through its load function when next
 * needed. Entries are add-only; the whole tree can be cleared. No lock, and
 * reads move the cursor and the cache: one thread at a time per tree.
 *
 * Ownership. An added entry belongs to the tree until it is disposed of: the
 * tree calls zapfcn(userctx, buffer, size, data) to write an entry's bytes and
 * dispose of it when its node leaves memory, and zapfcn(userctx, null, 0,
 * data) to dispose of it without writing (a node evicted unchanged, Clear,
 * Term). loadfcn makes a new entry from its bytes when a node comes back, so
 * a pointer returned by a find or a walk is valid only until the next call on
 * the tree.
 *
 * The walk. b_cbtFirst and b_cbtNext step through the leftmost leaf and on to
 * the first entry above it; at the first child the walk would have to enter
 * it ends (see b_cbtNext). A tree of one node walks completely.
 *
 * A tree that lost entries (a failed write whose entries could not be
 * rebuilt) finds nothing, refuses adds with eFILEIO, and is usable again
 * after b_cbtClear.
 */
#ifndef CBTREE_H
#define CBTREE_H

#include <stdint.h>

#include "btree_types.h"
#include "pool.h"
#include "psptypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* A node number; B_CBTREE_NO_ID is no node. */
typedef uint32_t B_CBTREE_ID;
#define B_CBTREE_NO_ID ((B_CBTREE_ID)0xFFFFFFFFu)

/* An entry and the child holding what sorts below it. */
typedef struct B_CBTREE_SLOT_S {
    B_CBTREE_ID child;
    const void *data;
} B_CBTREE_SLOT;

/* A node in memory: entries slots[0..used-1].data, children
 * slots[0..used].child (all B_CBTREE_NO_ID in a leaf). The array has
 * `slots` + 1 records. */
typedef struct b_cbtree_node_ {
    struct b_cbtree_node_ *older; /* age list, towards `oldest` */
    struct b_cbtree_node_ *newer; /* towards `newest` */
    B_CBTREE_SLOT *slots;
    B_CBTREE_ID id;
    uint32_t used;
    uint32_t modified; /* differs from its image in the file (or has none) */
} B_CBTREE_NODE;

/* One level of the cursor, by number, so that it survives eviction. */
typedef struct B_CBTREE_PATH_S {
    B_CBTREE_ID node;
    uint32_t slot;
} B_CBTREE_PATH;

/* A released node number, waiting to be given out again. */
typedef struct B_CBTREE_UNUSED_ID_S {
    B_CBTREE_ID id;
    struct B_CBTREE_UNUSED_ID_S *next;
} B_CBTREE_UNUSED_ID;

/* Orders `lookup` (new data, or a search object the function knows)
 * relative to the stored `data`: exactly ZEL_LT, ZEL_EQ or ZEL_GT. */
typedef ZEL_COMPARE (*B_CBT_COMPARE)(void *userctx, const void *lookup, const void *data);
/* Makes an entry from the `size` bytes its zap function wrote; sOKAY with
 * *data set (not null), or a failure code. */
typedef ZEL_RETCODE (*B_CBT_LOADER)(void *userctx, const uint8_t *buffer, uint32_t size,
                                    const void **data);
/* Writes the entry's bytes to `buffer` (`size` bytes, the tree's entry size)
 * when it isn't null, then disposes of the entry. */
typedef void (*B_CBT_ZAPPER)(void *userctx, uint8_t *buffer, uint32_t size, const void *data);

typedef struct B_CBTREE_S {
    void *userctx;                 /* handed to the three callbacks */
    char *filename;                /* the node file; from subTag */
    uint8_t *nodebuff;             /* one node's file image, `nodesize` bytes */
    B_BTREE_T cached_nodes;        /* nodes in memory, by id */
    B_POOL_T node_pool;            /* B_CBTREE_NODE records */
    B_POOL_T slot_pool;            /* slot arrays */
    B_POOL_T unused_pool;          /* B_CBTREE_UNUSED_ID records */
    B_CBTREE_PATH *path;           /* the cursor, from the root down; `pathsize` levels */
    B_CBTREE_UNUSED_ID *unusedIds; /* released numbers, last released first */
    B_CBT_COMPARE cmpfcn;
    B_CBT_LOADER loadfcn;
    B_CBT_ZAPPER zapfcn;
    B_TAG_SUB subTag;
    ZEL_BOOL_T fh_open;
    PSP_FILE_T fh;
    uint32_t max_cached_nodes;
    uint32_t slotsize; /* bytes of one entry in the file */
    uint32_t nodesize; /* bytes of one node image: slots * (slotsize + 4) + 8 */
    uint64_t count;    /* entries in the tree */
    uint32_t slots;    /* a node splits when it reaches this many entries */
    uint32_t pathsize;
    uint32_t pathlevel;    /* the cursor's level; 0xFFFFFFFF before the root */
    uint32_t file_no;      /* counter of the temporary name */
    B_CBTREE_ID root;      /* B_CBTREE_NO_ID: empty after a failed Clear, or lost */
    B_CBTREE_ID nextId;    /* the next number never given out */
    B_CBTREE_NODE *oldest; /* age list of the nodes that may be evicted */
    B_CBTREE_NODE *newest;
    /* Statistics since init. */
    uint64_t loads;     /* node images read */
    uint64_t writes;    /* node images written */
    uint64_t evictions; /* nodes that left memory, written or not */
    /* A direct-mapped shortcut into cached_nodes: slot id & idmask holds the
     * node of that number when it is in memory and was last to claim the
     * slot, else another node or null. */
    B_CBTREE_NODE **idmap;
    uint32_t idmask;
} B_CBTREE_T;

/* An empty tree: a root node in memory, no file yet. `slots` >= 2 entries a
 * node (a node holds at most slots - 1 between calls), `entrysize` bytes an
 * entry in the file, `cachednodes` >= 1 nodes in memory. The node file is
 * named by b_fileCreateTmpName in `pszTmpDir` (null: the root directory) and
 * created at the first eviction. eINVNULLARG (cbtree, subTag or a callback
 * null); eINVARG (slots < 2, cachednodes 0, or a node image of 4 GB or more);
 * eNOMEMORY. On failure *cbtree is as it was. */
ZEL_NODISCARD ZEL_RETCODE b_cbtInit(B_CBTREE_T *cbtree, B_TAG_SUB subTag, void *userctx,
                                    B_CBT_COMPARE cmpfcn, B_CBT_LOADER loadfcn, B_CBT_ZAPPER zapfcn,
                                    uint32_t cachednodes, uint32_t slots, uint32_t entrysize,
                                    const char *pszTmpDir);
/* Disposes of every entry in memory (zapfcn with a null buffer), gives every
 * node back, empties, closes and removes the file, frees the name and the
 * buffer. A record cleared to zeros is left alone. */
void b_cbtTerm(B_CBTREE_T *cbtree);
/* Disposes of every entry in memory, forgets every node and number, empties
 * the file and makes a new root: an empty tree. sOKAY; eNOMEMORY when the
 * root cannot be had (the tree is then empty and the next add makes it). */
ZEL_NODISCARD ZEL_RETCODE b_cbtClear(B_CBTREE_T *cbtree);
/* Inserts `data`, which the tree then owns. sOKAY; eINVNULLARG (data null);
 * eDUPLICATE (an equal entry is there); eNOMEMORY; eFILEIO (a node image
 * that is short or not sound, or a lost tree); the file's and loadfcn's
 * codes. On failure the entries are as they were. */
ZEL_NODISCARD ZEL_RETCODE b_cbtAdd(B_CBTREE_T *cbtree, const void *data);
/* The equal entry, or null: for a miss and for any failure alike. */
void *b_cbtFind(B_CBTREE_T *cbtree, const void *lookup);
/* The least entry, or null (empty, or a failure). */
void *b_cbtFirst(B_CBTREE_T *cbtree);
/* The entry after the cursor, or null: at the end, at the first child the
 * walk would have to enter, or on a failure. */
void *b_cbtNext(B_CBTREE_T *cbtree);
/* Entries in the tree. */
uint64_t b_cbtCount(const B_CBTREE_T *cbtree);

ZEL_EXTERN_C_END

#endif /* CBTREE_H */
