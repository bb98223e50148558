/*
 * dbobj_types.h - the records of the stored objects as the engine holds them
 * decoded: a row (ZEL_ROW) in one of its in-memory formats, a B-tree node
 * (ZEL_NODE) of an index, a reference or a blob directory, a hash key's
 * bucket (ZEL_BUCKET), a large object's chunk (ZEL_CHUNK), a drawer's item
 * zero (ZEL_ITEM_ZERO), a spatial key's node (ZEL_RTREE_NODE), the record
 * that holds any of them (ZEL_DB_OBJ), and the minimal database instance
 * (DB_INSTANCE) that the row formats consult for their buffer pool and
 * configured format; and the vocabulary of the wrapping every stored object
 * gets (dbobj.h): the compression methods, the one-byte object header and the
 * record through which the engine deciphers what it read. The formats that
 * read and write them (row.h, node.h, bucket.h, chunk.h, iz.h, rtree_node.h)
 * include this header, so none of them needs another's. Compiles as C11 and
 * as C++20.
 */
#ifndef DBOBJ_TYPES_H
#define DBOBJ_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "buffer.h"
#include "error.h"
#include "pool.h"
#include "schema_types.h"
#include "value_types.h"
#include "zelrowidtypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* ---- Formats and methods; the numbers are configuration values. */

/* Which member of ZEL_ROW.data is live. */
typedef enum ZEL_ROW_FORMAT_E {
    ZEL_ROW_FORMAT_BUFFER = 1,              /* a row buffer laid out by the catalogue */
    ZEL_ROW_FORMAT_VALUE = 2,               /* declared; no format implements it */
    ZEL_ROW_FORMAT_COMPACT = 3,             /* the packed stream kept in a B_BUFFER_T */
    ZEL_ROW_FORMAT_FORCE_INT32 = 0x7FFFFFFF /* another value is refused with a code */
} ZEL_ROW_FORMAT;

/* How an object's body is stored; the low four bits of its header. The last
 * enumerator makes the type span 32 bits, so that another value (refused with
 * a code) is representable in C++ too. */
typedef enum ZEL_COMPRESS_METHOD_E {
    ZEL_COMPRESS_NONE = 1,
    ZEL_COMPRESS_LZMA = 2,
    ZEL_COMPRESS_METHOD_FORCE_INT32 = 0x7FFFFFFF
} ZEL_COMPRESS_METHOD;

/* The header of a stored object: a compression method or'ed with an item
 * format (ZEL_ITEM_FORMAT_COMPACT 16, ZEL_ITEM_FORMAT_EXPANDED 32). */
typedef enum ZEL_OBJ_FORMAT_E {
    OBJ_COMPACT_NONE = 17,
    OBJ_COMPACT_LZMA = 18,
    OBJ_EXPANDED_NONE = 33,
    OBJ_EXPANDED_LZMA = 34,
    ZEL_OBJ_FORMAT_FORCE_INT32 = 0x7FFFFFFF /* as above */
} ZEL_OBJ_FORMAT;

/* Deciphers `length` bytes at `bytes` in place; `data` is the record's. */
typedef ZEL_RETCODE (*ZEL_DECRYPT_FCN)(void *data, uint8_t *bytes, size_t length);

/* The engine's cipher of stored objects, as far as reading needs it. The
 * cipher itself and the enciphering on the way out are the engine's. */
typedef struct ZEL_ENCRYPT_S {
    void *data;
    ZEL_DECRYPT_FCN decFcn;
} ZEL_ENCRYPT_T;
typedef const struct ZEL_ENCRYPT_S *ZEL_ENCRYPT_C;

/* ---- The database instance, as far as the object formats need it. */

typedef struct DB_INSTANCE_S {
    B_POOL_T bufferPool;       /* B_BUFFER_T records of rows kept compact */
    ZEL_ROW_FORMAT row_format; /* what row_unpack_compact produces */
} DB_INSTANCE;

/* ---- Rows. */

/* A row's links in one AVL key, kept in the row rather than in index nodes.
 *
 * OFFSET SIZE MEANING
 *      0    2 flags
 *      2    6 (padding)
 *      8    8 left: slot of the left neighbour
 *     16    8 right: slot of the right neighbour */
typedef struct ZEL_AVL_S {
    uint16_t flags;
    ZEL_SLOT left;
    ZEL_SLOT right;
} ZEL_AVL;

/* The owner row's slot for one reference; 0: no owner. */
typedef struct ZEL_JOIN_S {
    ZEL_SLOT owner;
} ZEL_JOIN;

typedef struct ZEL_ROW_DATA_BUFFER_S {
    uint8_t *col_data;      /* the column data inside row_data */
    VAL_STATUS *col_status; /* one status per active column, inside row_data */
} ZEL_ROW_DATA_BUFFER;

typedef struct ZEL_ROW_DATA_VALUE_S {
    ZEL_VALUE *col_values;
} ZEL_ROW_DATA_VALUE;

typedef struct ZEL_ROW_DATA_COMPACT_S {
    B_BUFFER_T *buffer; /* the packed stream; from the instance's pool or subTag */
} ZEL_ROW_DATA_COMPACT;

/* A row of a table in memory. In ZEL_ROW_FORMAT_BUFFER, row_data holds
 * data_len bytes laid out by the table's ZEL_ROW_BUFFER_INFO: the ZEL_AVL
 * records (avls), the ZEL_JOIN records (joins), the column statuses by
 * active index and the column data, each null when its count is 0. In
 * ZEL_ROW_FORMAT_COMPACT only data.c is usable. */
typedef struct ZEL_ROW_S {
    ZEL_ROW_FORMAT format;
    ZEL_ROWID_T rowid; /* not stored in the stream */
    B_TAG_SUB subTag;  /* owns row_data */
    SCH_TBL_INFO_C ti;
    ZEL_AVL *avls;
    ZEL_JOIN *joins;
    union {
        ZEL_ROW_DATA_BUFFER b;
        ZEL_ROW_DATA_VALUE v;
        ZEL_ROW_DATA_COMPACT c;
    } data;
    uint8_t *row_data;
    size_t data_len;
    ZEL_ERR *hErr;    /* where failures are reported; may be null */
    DB_INSTANCE *dbi; /* may be null */
} ZEL_ROW;

/* ---- Index nodes. */

/* Entries and children of one node. */
#define ZEL_NODE_MAX_ENTRIES 33
#define ZEL_NODE_MAX_CHILDREN (ZEL_NODE_MAX_ENTRIES + 1)

typedef enum ZEL_NODE_TYPE_E {
    ZEL_INDEX_NODE = 0, /* of a key: entries are key buffers */
    ZEL_JOIN_NODE = 1,  /* of a reference: a member slot and its sort buffer */
    ZEL_BLOB_NODE = 2   /* of a large-object column: the directory of its chunks */
} ZEL_NODE_TYPE;

typedef uint64_t ZEL_CHUNK_SEQ;

/* An entry of a blob node. */
typedef struct ZEL_BLOB_NODE_DATA_S {
    ZEL_SLOT slot;
    ZEL_CHUNK_SEQ seq;
} ZEL_BLOB_NODE_DATA;

/* The content of a node, one allocation: the fixed part, then
 * ZEL_NODE_MAX_ENTRIES entries of slotItemLen bytes at node_data.
 *
 * OFFSET SIZE MEANING
 *      0  272 children: 34 slots
 *    272  264 ids: 33 slots
 *    536    - node_data: entry i at 536 + i * slotItemLen */
typedef struct ZEL_NODE_SLOT_DATA_S {
    ZEL_SLOT children[ZEL_NODE_MAX_CHILDREN];
    ZEL_SLOT ids[ZEL_NODE_MAX_ENTRIES];
    uint8_t node_data[];
} ZEL_NODE_SLOT_DATA;

typedef struct ZEL_NODE_S {
    B_TAG_SUB subTag;     /* owns slotData */
    ZEL_SLOT slot;        /* the node's own slot */
    uint16_t slotItemLen; /* bytes per entry in node_data */
    union {
        SCH_KEY_INFO_C ki; /* ZEL_INDEX_NODE */
        SCH_REF_INFO_C ri; /* ZEL_JOIN_NODE */
        SCH_COL_INFO_C ci; /* ZEL_BLOB_NODE */
    } ptr;
    ZEL_NODE_SLOT_DATA *slotData;
    ZEL_NODE_TYPE type;
    uint16_t used; /* entries in use */
} ZEL_NODE;

/* ---- Buckets of a hash key. */

#define ZEL_BUCKET_ENTRIES 31

/* One entry of a bucket: a key and the slots of the rows holding it. In a
 * stored expanded image the two pointers are zeros, rebuilt on loading.
 *
 * OFFSET SIZE MEANING
 *      0    8 data: this entry's key buffer, inside bucket_data
 *      8    8 ids: this entry's slots, inside bucket_data
 *     16    4 numIds: slots in use
 *     20    4 maxIds: room in ids
 *     24    4 hashIsValid
 *     28    4 (padding, zero when stored)
 *     32    8 hashValue */
typedef struct ZEL_BUCKET_ENTRY_S {
    uint8_t *data;
    ZEL_SLOT *ids;
    uint32_t numIds;
    uint32_t maxIds;
    ZEL_BOOL_T hashIsValid;
    uint32_t padding;
    uint64_t hashValue;
} ZEL_BUCKET_ENTRY;

/* A bucket: one allocation, bucket_data, of three regions sized by the key's
 * ZEL_BUCKET_BUFFER_INFO: the 31 entry records (bucket_len bytes), the 31 key
 * buffers (data_len bytes, key_byte_len each) and the slots (the rest). Entry
 * i's ids follow the maxIds of the entries below it. The first numEntries
 * entries are in use. */
typedef struct ZEL_BUCKET_S {
    B_TAG_SUB subTag; /* owns bucket_data */
    SCH_KEY_INFO_C ki;
    uint32_t depth;
    uint32_t numEntries;
    size_t bucket_data_len;
    uint8_t *bucket_data;
    ZEL_BUCKET_ENTRY *entries; /* at bucket_data */
    uint8_t *key_data;         /* bucket_len bytes on */
    ZEL_SLOT *slots;           /* data_len bytes further */
} ZEL_BUCKET;

/* ---- Chunks of a large object. */

/* One piece of a large object's content. */
typedef struct ZEL_CHUNK_S {
    B_TAG_SUB subTag; /* owns bytes */
    ZEL_SLOT owner;
    ZEL_CHUNK_SEQ seq;
    uint32_t len;
    ZEL_BOOL_T unicode; /* not stored */
    uint8_t *bytes;
} ZEL_CHUNK;

/* ---- Item zero: a drawer's own bookkeeping, in its slot 0. */

#define ZEL_ITEM_ZERO_KEY_LEN 16

typedef struct ZEL_ITEM_ZERO_S {
    B_TAG_SUB subTag;    /* owns avlRoots */
    ZEL_BOOL_T modified; /* not stored */
    ZEL_SLOT next;       /* the next slot to give out */
    ZEL_SLOT total;
    ZEL_ENC_TYPE encType;
    uint8_t dbKey[ZEL_ITEM_ZERO_KEY_LEN];     /* copied, never interpreted */
    uint8_t drawerKey[ZEL_ITEM_ZERO_KEY_LEN]; /* likewise */
    ZEL_KEY_INDEX numAvls;
    ZEL_SLOT *avlRoots; /* one root per AVL key; never shrunk */
} ZEL_ITEM_ZERO;

/* ---- Stored nodes of a spatial key. */

#define ZEL_RTREE_MAX_ENTRIES 32

typedef double ZEL_RTREE_BOUNDARY;

/* The content of an R-tree node, one allocation: 32 ids, then 32 boundaries
 * of 2 * dim values each, the lows of every dimension, then the highs.
 *
 * OFFSET SIZE MEANING
 *      0  256 ids: 32 slots
 *    256    - boundary: entry i at 256 + i * 16 * dim */
typedef struct ZEL_RTREE_SLOT_DATA_S {
    ZEL_SLOT ids[ZEL_RTREE_MAX_ENTRIES];
    ZEL_RTREE_BOUNDARY boundary[];
} ZEL_RTREE_SLOT_DATA;

typedef struct ZEL_RTREE_NODE_S {
    uint16_t used; /* entries in use */
    uint16_t level;
    uint16_t dim;     /* not stored: half the element count of the key's column */
    ZEL_SLOT slot;    /* the node's own slot */
    B_TAG_SUB subTag; /* owns slotData */
    SCH_KEY_INFO_C ki;
    ZEL_RTREE_SLOT_DATA *slotData;
} ZEL_RTREE_NODE;

/* ---- Any decoded object, as the engine and its cache hold it. */

typedef enum ZEL_DB_OBJ_TYPE_E {
    ZEL_DB_ROW_OBJ = 0,
    ZEL_DB_NODE_OBJ = 1,
    ZEL_DB_BUCKET_OBJ = 2,
    ZEL_DB_CHUNK_OBJ = 3,
    ZEL_DB_IZ_OBJ = 4,
    ZEL_DB_RTREE_OBJ = 5,
    ZEL_DB_UNKNOWN_OBJ = 6
} ZEL_DB_OBJ_TYPE;

/* The state of a cached object; the numbers are the engine's. */
typedef enum ZEL_DB_OBJ_STATUS_E {
    ZEL_DB_OBJ_STATUS_UNKNOWN = 0,
    ZEL_DB_OBJ_STATUS_CLEAN = 129,
    ZEL_DB_OBJ_STATUS_NOTFOUND_CLEAN = 5,
    ZEL_DB_OBJ_STATUS_INSERTED_DIRTY = 146,
    ZEL_DB_OBJ_STATUS_UPDATED_DIRTY = 162,
    ZEL_DB_OBJ_STATUS_DELETED_DIRTY = 66,
    ZEL_DB_OBJ_STATUS_INSERTED_DELETED = 81
} ZEL_DB_OBJ_STATUS;

typedef struct ZEL_DB_OBJ_S {
    union {
        ZEL_ROW row;
        ZEL_NODE node;
        ZEL_BUCKET bucket;
        ZEL_CHUNK chunk;
        ZEL_ITEM_ZERO iz;
        ZEL_RTREE_NODE rtree;
    } obj;
    ZEL_DB_OBJ_TYPE type; /* which member of obj is live */
    ZEL_DB_OBJ_STATUS status;
} ZEL_DB_OBJ;

ZEL_EXTERN_C_END

#endif /* DBOBJ_TYPES_H */
