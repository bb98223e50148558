/*
 * schema_types.h - the records of the catalogue: a database's tables,
 * columns, keys, references, domains, drawers and triggers, with the index
 * and identifier types that tie them together and the computed buffer
 * layouts of rows and hash buckets. Every record is reached through a handle
 * (a pointer) and has a read-only twin ending in _C. A catalogue owns all it
 * reaches, from its one sub tag; table 0 (`_sys_files`) and drawers 2 to 4
 * are constants compiled into the library and shared by every catalogue.
 * Compiles as C11 and as C++20.
 */
#ifndef SCHEMA_TYPES_H
#define SCHEMA_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "list.h"
#include "psptypes.h"
#include "tag_types.h"
#include "types_types.h"
#include "value_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* ---- Indexes and identifiers. */

typedef uint16_t ZEL_INDEX;
typedef ZEL_INDEX ZEL_COL_INDEX;
typedef ZEL_INDEX ZEL_KEY_INDEX;
typedef ZEL_INDEX ZEL_REF_INDEX;
typedef ZEL_INDEX ZEL_TBL_INDEX;
typedef ZEL_INDEX ZEL_DOM_INDEX;
typedef ZEL_INDEX ZEL_TRC_INDEX;
typedef uint32_t ZEL_DRAWER;
typedef uint32_t ZEL_TABLE_ID;
/* ZEL_COLUMN_ID is in value_types.h. */
typedef uint32_t ZEL_KEY_ID;
typedef uint32_t ZEL_REF_ID;
typedef uint32_t ZEL_HAS_VALUE_OFFSET; /* 0: the item has no has-value byte */
typedef uint8_t ZEL_HAS_VALUE_T;       /* 1 a value, 0 null */

#define ZEL_NO_INDEX ((ZEL_INDEX)65535)
#define ZEL_NO_DRAWER ((ZEL_DRAWER)0xFFFFFFFFu)
/* Accepted by sch_tbl_set_drawer as "no drawer", as is ZEL_NO_DRAWER. */
#define ZEL_NO_DRAWER_ALT ((ZEL_DRAWER)0xFFFFFFFEu)

/* Packed identifiers: bits 16,15 the kind, bits 0-14 the item, 17 up the
 * table (a table id keeps its own index in the low bits). */
#define ZEL_ID_KIND_MASK 0x18000u
#define ZEL_ID_KIND_COLUMN 0x00000u
#define ZEL_ID_KIND_KEY 0x08000u
#define ZEL_ID_KIND_TABLE 0x10000u
#define ZEL_ID_KIND_REF 0x18000u
#define ZEL_ID_ITEM_MASK 0x7FFFu
#define ZEL_ID_TABLE_SHIFT 17

/* Bits of SCH_COL_INFO.usage. */
#define SCH_COL_USAGE_KEY 0x1
#define SCH_COL_USAGE_REF 0x2
#define SCH_COL_USAGE_SORT 0x4

/* Drawer numbers of the built-in table; user drawers start at 5. */
#define SCH_SYS_TABLE_DRAWER 2
#define SCH_SYS_KEY_DRAWER 3
#define SCH_SYS_BLOB_DRAWER 4
#define SCH_FIRST_USER_DRAWER 5

/* ---- Enumerations; the numbers are stored. */

typedef enum ZEL_DRAWER_TYPE_E {
    ZEL_DRAWER_BTREE = 0,
    ZEL_DRAWER_HASH = 1,
    ZEL_DRAWER_REF = 2,
    ZEL_DRAWER_BLOB = 3,
    ZEL_DRAWER_TABLE = 4,
    ZEL_DRAWER_RTREE = 5
} ZEL_DRAWER_TYPE;

typedef enum ZEL_KEY_TYPE_E {
    ZEL_KEY_TYPE_NOVAL = 0,
    ZEL_KEY_TYPE_NONUNIQUE = 1,
    ZEL_KEY_TYPE_UNIQUE = 2,
    ZEL_KEY_TYPE_PRIMARY = 3
} ZEL_KEY_TYPE;

typedef enum ZEL_KEY_METHOD_E {
    ZEL_KEY_METHOD_NOVAL = 0,
    ZEL_KEY_METHOD_ROWID = 1,
    ZEL_KEY_METHOD_BTREE = 2,
    ZEL_KEY_METHOD_HASH = 3,
    ZEL_KEY_METHOD_AVL = 4,
    ZEL_KEY_METHOD_RTREE = 5,
    ZEL_KEY_METHOD_MONO = 6,
    ZEL_KEY_METHOD_VIRTUAL = 7
} ZEL_KEY_METHOD;

typedef enum ZEL_REF_ACTION_E {
    ZEL_REF_ACTION_NOVAL = 0,
    ZEL_REF_ACTION_RESTRICT = 1,
    ZEL_REF_ACTION_CASCADE = 2,
    ZEL_REF_ACTION_SET_NULL = 3
} ZEL_REF_ACTION;

typedef enum ZEL_TABLE_TYPE_E {
    ZEL_TABLE_STANDARD = 0,
    ZEL_TABLE_CIRCULAR = 1,
    ZEL_TABLE_VIRTUAL = 2,
    ZEL_TABLE_TEMPORARY = 3
} ZEL_TABLE_TYPE;

typedef enum ZEL_TRIG_COL_REF_E {
    ZEL_TRIG_OLDNEW = 0,
    ZEL_TRIG_OLD = 1,
    ZEL_TRIG_NEW = 2
} ZEL_TRIG_COL_REF;

typedef enum ZEL_TRIG_TIMING_E {
    ZEL_TRIG_WHENEVER = 0,
    ZEL_TRIG_BEFORE = 1,
    ZEL_TRIG_AFTER = 2
} ZEL_TRIG_TIMING;

typedef enum ZEL_TRIG_EVENT_E {
    ZEL_TRIG_INSERT = 0,
    ZEL_TRIG_DELETE = 1,
    ZEL_TRIG_UPDATE = 2
} ZEL_TRIG_EVENT;

typedef enum SCH_FORMAT_E {
    SCH_NATIVE_FORMAT = 0,
    SCH_BINARY_FORMAT = 1,
    SCH_UTF8_BINARY_FORMAT = 2
} SCH_FORMAT;

typedef enum ZEL_ENC_TYPE_E {
    ZEL_ENC_NONE = 0,
    ZEL_ENC_XOR = 1,
    ZEL_ENC_AES128 = 2,
    ZEL_ENC_AES192 = 3,
    ZEL_ENC_AES256 = 4,
    ZEL_ENC_DEFAULT = 5,
    /* Spans 32 bits, so that any type a drawer's item zero stores (up to
     * this value) is representable in C++ too. */
    ZEL_ENC_TYPE_FORCE_INT32 = 0x7FFFFFFF
} ZEL_ENC_TYPE;

/* Stored forms of index items. */
typedef enum ZEL_ITEM_FORMAT_E {
    ZEL_ITEM_FORMAT_COMPACT = 16,
    ZEL_ITEM_FORMAT_EXPANDED = 32,
    /* Spans 32 bits, so that any format a stored header names (its high
     * four bits) is representable in C++ too. */
    ZEL_ITEM_FORMAT_FORCE_INT32 = 0x7FFFFFFF
} ZEL_ITEM_FORMAT;

/* ---- Computed layouts. */

/* A row buffer: 24 bytes per AVL key, 8 per reference, 4 of status per
 * active column, padding to 8, then the column data. */
typedef struct ZEL_ROW_BUFFER_INFO_S {
    size_t avl_offset;
    size_t ref_offset;
    size_t col_status_offset;
    size_t col_data_offset;
    size_t col_data_size;
    size_t row_buffer_size;
    ZEL_INDEX num_avls;
    ZEL_INDEX num_refs;
    ZEL_INDEX num_cols;
} ZEL_ROW_BUFFER_INFO;

/* A hash bucket of 31 entries. */
typedef struct ZEL_BUCKET_BUFFER_INFO_S {
    size_t bucket_len;
    size_t data_len;
    size_t id_len;
    size_t key_byte_len;
    size_t buffer_len;
} ZEL_BUCKET_BUFFER_INFO;

/* ---- Records and their handles. */

/* The embedded data type (SCH_TYPE_INFO_T, with its SCH_TYPE_INFO and
 * SCH_TYPE_INFO_C handles) and the ZEL_TYPE_INFO operations it points at are
 * declared with the type descriptors in types_types.h. */

typedef struct SCH_INFO_S *SCH_INFO;
typedef const struct SCH_INFO_S *SCH_INFO_C;
typedef struct SCH_TBL_INFO_S *SCH_TBL_INFO;
typedef const struct SCH_TBL_INFO_S *SCH_TBL_INFO_C;
typedef struct SCH_COL_INFO_S *SCH_COL_INFO;
typedef const struct SCH_COL_INFO_S *SCH_COL_INFO_C;
typedef struct SCH_KEY_INFO_S *SCH_KEY_INFO;
typedef const struct SCH_KEY_INFO_S *SCH_KEY_INFO_C;
typedef struct SCH_REF_INFO_S *SCH_REF_INFO;
typedef const struct SCH_REF_INFO_S *SCH_REF_INFO_C;
typedef struct SCH_ELEM_INFO_S *SCH_ELEM_INFO;
typedef const struct SCH_ELEM_INFO_S *SCH_ELEM_INFO_C;
typedef struct SCH_SORT_INFO_S *SCH_SORT_INFO;
typedef const struct SCH_SORT_INFO_S *SCH_SORT_INFO_C;
typedef struct SCH_DOMAIN_INFO_S *SCH_DOMAIN_INFO;
typedef const struct SCH_DOMAIN_INFO_S *SCH_DOMAIN_INFO_C;
typedef struct SCH_DRAWER_INFO_S *SCH_DRAWER_INFO;
typedef const struct SCH_DRAWER_INFO_S *SCH_DRAWER_INFO_C;
typedef struct SCH_TRIG_INFO_S *SCH_TRIG_INFO;
typedef const struct SCH_TRIG_INFO_S *SCH_TRIG_INFO_C;
typedef struct SCH_TRIG_COL_INFO_S *SCH_TRIG_COL_INFO;
typedef const struct SCH_TRIG_COL_INFO_S *SCH_TRIG_COL_INFO_C;

struct SCH_DRAWER_INFO_S {
    ZEL_DRAWER ndx;     /* number in the catalogue */
    ZEL_DRAWER tbl_ndx; /* position in the table's drawers */
    SCH_INFO_C sch;
    ZEL_DRAWER_TYPE type;
    union {
        SCH_TBL_INFO ti;
        SCH_KEY_INFO ki;
        SCH_REF_INFO ri;
        SCH_COL_INFO ci;
    } obj;
    ZEL_BOOL_T compact;
    ZEL_TBL_INDEX src_tblid;
    ZEL_INDEX src_id;
};

struct SCH_DOMAIN_INFO_S {
    ZEL_DOM_INDEX ndx;
    SCH_INFO sch;
    char *name;
    ZEL_VALUE def;
    char *defstr;
    uint16_t width;
    char *format;
    SCH_TYPE_INFO_T type;
};

struct SCH_ELEM_INFO_S {
    ZEL_COL_INDEX ndx;
    SCH_KEY_INFO key;
    SCH_COL_INFO col;
    ZEL_DIRECTION dir;
    uint32_t ptr;
    ZEL_HAS_VALUE_OFFSET has_value_off;
};

struct SCH_SORT_INFO_S {
    ZEL_COL_INDEX ndx;
    SCH_REF_INFO ref;
    SCH_COL_INFO col;
    ZEL_DIRECTION order;
    uint32_t ptr;
    ZEL_HAS_VALUE_OFFSET has_value_off;
};

struct SCH_COL_INFO_S {
    ZEL_COL_INDEX ndx;
    SCH_TBL_INFO table;
    char *name; /* null: a dropped, inactive column */
    ZEL_BOOL_T not_null;
    char *not_null_cname;
    SCH_TYPE_INFO_T type; /* unused when domain is set */
    SCH_DOMAIN_INFO domain;
    ZEL_VALUE def;
    char *defstr;
    uint16_t width;
    char *format;
    ZEL_KEY_INDEX keyid;
    SCH_KEY_INFO key;
    uint16_t usage; /* SCH_COL_USAGE_ bits */
    SCH_DRAWER_INFO drawer;
    SCH_REF_INFO ref;
    SCH_TBL_INFO reftab;
    SCH_COL_INFO refcol;
    ZEL_KEY_INDEX num_keys;
    SCH_KEY_INFO *keys;
    ZEL_REF_INDEX num_refs;
    SCH_REF_INFO *refs;
    ZEL_REF_INDEX num_sortrefs;
    SCH_REF_INFO *sortrefs;
    uint32_t ptr;
    ZEL_HAS_VALUE_OFFSET has_value_off;
    uint32_t nameNdx;
};

struct SCH_KEY_INFO_S {
    ZEL_KEY_INDEX ndx;
    SCH_TBL_INFO table;
    char *name;
    ZEL_KEY_TYPE type;
    ZEL_KEY_METHOD method;
    ZEL_BOOL_T restr;
    SCH_DRAWER_INFO drawer;
    ZEL_COL_INDEX num_elems;
    struct SCH_ELEM_INFO_S *elems;
    uint32_t refcount;
    uint32_t byte_len;
    ZEL_HAS_VALUE_OFFSET has_value_off;
    union {
        ZEL_BUCKET_BUFFER_INFO bucket;
    } bufferInfo;
    ZEL_BOOL_T inline_key;
    char *type_text;
    ZEL_KEY_INDEX avl_ndx;
};

struct SCH_REF_INFO_S {
    ZEL_REF_INDEX ndx;
    ZEL_REF_INDEX owner_ndx;
    SCH_TBL_INFO table;
    char *name;
    SCH_TBL_INFO reftab;
    SCH_KEY_INFO refkey;
    SCH_DRAWER_INFO drawer;
    ZEL_REF_ACTION on_update;
    ZEL_REF_ACTION on_delete;
    ZEL_COL_INDEX num_cols;
    SCH_COL_INFO *cols;
    ZEL_COL_INDEX num_sort_cols;
    struct SCH_SORT_INFO_S *sort_cols;
    uint32_t sort_byte_len;
    ZEL_BOOL_T requires_write;
    ZEL_COLUMN_VALUE *ref_col_vals;
};

struct SCH_TRIG_COL_INFO_S {
    ZEL_TRC_INDEX ndx;
    ZEL_COL_INDEX colid;
    uint16_t varno;
    ZEL_TRIG_COL_REF ref;
    ZEL_VALUE *val;
};

struct SCH_TRIG_INFO_S {
    SCH_TRIG_INFO next;
    char *name;
    uint16_t sqltrig;
    uint64_t crtime; /* creation time, the sort key of the list */
    ZEL_TRIG_TIMING timing;
    ZEL_TRIG_EVENT event;
    ZEL_COL_INDEX num_updcols;
    ZEL_COL_INDEX *updcols;
    ZEL_TRC_INDEX num_colrefs;
    struct SCH_TRIG_COL_INFO_S *colrefs;
};

struct SCH_TBL_INFO_S {
    ZEL_TBL_INDEX ndx;
    SCH_INFO sch; /* null in the built-in table */
    char *name;
    char *check_str;
    char *check_name;
    ZEL_TABLE_TYPE type;
    ZEL_SLOT max_rows;
    SCH_DRAWER_INFO drawer;
    ZEL_COL_INDEX num_cols;
    ZEL_COL_INDEX next_col;
    ZEL_COL_INDEX max_col;
    SCH_COL_INFO *cols;
    ZEL_COL_INDEX *active_ndx;
    ZEL_KEY_INDEX max_keys;
    ZEL_KEY_INDEX num_keys;
    ZEL_KEY_INDEX next_key;
    SCH_KEY_INFO *keys;
    SCH_KEY_INFO pkey;
    ZEL_REF_INDEX num_refs;
    ZEL_REF_INDEX next_ref;
    SCH_REF_INFO *refs;
    ZEL_KEY_INDEX num_avls;
    ZEL_KEY_INDEX max_avls;
    ZEL_KEY_INDEX next_avl;
    SCH_KEY_INFO *avls;
    ZEL_DRAWER num_drawers;
    SCH_DRAWER_INFO *drawers;
    ZEL_REF_INDEX num_owns;
    ZEL_REF_INDEX max_owns;
    ZEL_REF_INDEX next_own;
    SCH_REF_INFO *owners;
    ZEL_HAS_VALUE_OFFSET has_value_off;
    uint32_t byte_len;
    ZEL_ROW_BUFFER_INFO bufferInfo;
    ZEL_TBL_INDEX nameNdx;
    ZEL_TBL_INDEX offset;
    SCH_TRIG_INFO triggers;
    /* The inverse of active_ndx, built with it: by column index, the
     * position among the active columns, 65535 for a retired one. */
    ZEL_COL_INDEX *active_pos;
    ZEL_COL_INDEX num_active_pos; /* entries in active_pos */
};

struct SCH_INFO_S {
    char *name;
    ZEL_BOOL_T use_locale;
    char *locale_text;
    psp_collate_t locale;
    uint32_t catver;
    uint32_t dbver;
    ZEL_ENC_TYPE encryption;
    ZEL_DRAWER max_drawer;
    ZEL_DRAWER num_drawers;
    ZEL_DRAWER next_drawer;
    ZEL_DOM_INDEX num_domains;
    ZEL_DOM_INDEX next_domain;
    ZEL_TBL_INDEX max_table;
    ZEL_TBL_INDEX num_tables;
    ZEL_TBL_INDEX next_table;
    uint32_t num_columns;
    uint32_t num_refs;
    SCH_DRAWER_INFO *drawers;
    SCH_DOMAIN_INFO *domains;
    SCH_TBL_INFO *tables;
    SCH_TBL_INFO *tablesByName;
    B_LL_T llBlobCols;
    ZEL_BOOL_T haveBlobs;
    B_LL_T llKeys;
    ZEL_BOOL_T haveKeys;
    B_TAG_SUB subTag;
    ZEL_TBL_INDEX num_tablesByName; /* entries in tablesByName once built */
};

ZEL_EXTERN_C_END

#endif /* SCHEMA_TYPES_H */
