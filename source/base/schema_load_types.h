/*
 * schema_load_types.h - the records of the JSON catalogue loader: the walk
 * tables (one row per key of a JSON object: its name, the JSON type its value
 * must have and its handler) and the state of one load, which knows the item
 * being filled and remembers what can only be resolved once every table
 * exists (reference targets, key and reference links of columns).
 * Compiles as C11 and as C++20.
 */
#ifndef SCHEMA_LOAD_TYPES_H
#define SCHEMA_LOAD_TYPES_H

#include <stdint.h>

#include "json_types.h"
#include "schema_types.h"

ZEL_EXTERN_C_BEGIN

typedef struct SCHLOAD_S SCHLOAD;

/* The four forms of a handler, by the JSON type of its row: a number, a
 * string (the reader's copy, freed after the call), a flag, or the reader
 * itself standing inside an object or array value. */
typedef ZEL_RETCODE (*SCHLOAD_NUMBER_FCN)(SCHLOAD *sl, int64_t val);
typedef ZEL_RETCODE (*SCHLOAD_STRING_FCN)(SCHLOAD *sl, const char *val);
typedef ZEL_RETCODE (*SCHLOAD_BOOLEAN_FCN)(SCHLOAD *sl, ZEL_BOOL_T val);
typedef ZEL_RETCODE (*SCHLOAD_ARRAY_FCN)(SCHLOAD *sl, B_JSON_T *json);

typedef union SCHLOAD_FCN_U {
    SCHLOAD_NUMBER_FCN num;   /* jvNUMBER */
    SCHLOAD_STRING_FCN str;   /* jvSTRING */
    SCHLOAD_BOOLEAN_FCN flag; /* jvBOOLEAN */
    SCHLOAD_ARRAY_FCN arr;    /* jvOBJECT, jvARRAY */
} SCHLOAD_FCN;

/* One key of one JSON object. A null handler skips the value. */
typedef struct SCHLOAD_ELEM_ITEM_S {
    const char *name;
    B_JSON_VALTYPE type;
    SCHLOAD_FCN fcn;
} SCHLOAD_ELEM_ITEM;

/* A column's links, resolved at the end; each 65535 until given. */
typedef struct SCHLOAD_COL_S {
    SCH_COL_INFO ci;
    ZEL_REF_INDEX refid;
    ZEL_TBL_INDEX reftabid;
    ZEL_COL_INDEX refcolid;
    ZEL_KEY_INDEX keyid;
} SCHLOAD_COL;

/* A reference's target and foreign columns, resolved at the end. The column
 * indexes stay 32-bit until the reference's object ends, so that a number
 * past 65535 is refused rather than cut; 65535 until given. */
typedef struct SCHLOAD_REF_S {
    SCH_REF_INFO ri;
    ZEL_TBL_INDEX tabid;
    ZEL_KEY_INDEX keyid;
    ZEL_COL_INDEX num_colids;
    uint32_t *colids;
} SCHLOAD_REF;

/* A table's columns (by index, max_col of them) and references (next_ref). */
typedef struct SCHLOAD_TABLE_S {
    SCH_TBL_INFO ti;
    ZEL_COL_INDEX num_cols;
    SCHLOAD_COL *cols;
    ZEL_REF_INDEX num_refs;
    SCHLOAD_REF *refs;
} SCHLOAD_TABLE;

/* One load. The caller sets unicode_enabled and subTag; the rest is the
 * loader's. Current items are null outside their objects. */
struct SCHLOAD_S {
    ZEL_TBL_INDEX next_table;
    ZEL_TBL_INDEX max_tables;
    SCHLOAD_TABLE *tables; /* max_tables of them, by table index */
    SCHLOAD_TABLE *curr_table;
    SCHLOAD_COL *curr_col;
    SCHLOAD_REF *curr_ref;
    ZEL_TYPE type; /* the current column's type as far as known */
    SCH_INFO sch;
    SCH_DRAWER_INFO di;
    SCH_DOMAIN_INFO mi;
    SCH_TYPE_INFO pi; /* the type a type object fills */
    SCH_KEY_INFO ki;
    SCH_ELEM_INFO ei;
    ZEL_COL_INDEX index; /* position in the current list */
    ZEL_BOOL_T unicode_enabled;
    B_TAG_SUB subTag;
};

ZEL_EXTERN_C_END

#endif /* SCHEMA_LOAD_TYPES_H */
