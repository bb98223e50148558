// row_catalog.h - the fixed catalogue under the row and node fuzzers and the
// tests that read rows of a table that has lived: built through the setters,
// with a retired column of each kind (a text and a large object), a hole in
// the AVL keys and a dropped reference, a blob, a rowid and a reference
// column, every family of type, and one index key, reference and blob column
// for the three kinds of node. No test framework: the fuzzers include it too.
#ifndef ROW_CATALOG_H
#define ROW_CATALOG_H

#include <cstdint>

#include "schema.h"
#include "schema_build.h"

struct RcCol {
    const char *name;
    ZEL_TYPE type;
    uint32_t len;    // declared length, or decimal precision
    uint16_t elems;  // array elements
    bool notNull;
};

// What the tests and fuzzers reach for.
struct RowCatalog {
    SCH_INFO sch = nullptr;
    SCH_TBL_INFO owner = nullptr;      // owner(id INT64 primary key, name VARCHAR(20))
    SCH_TBL_INFO item = nullptr;       // the table that has lived; columns below
    SCH_TBL_INFO bare = nullptr;       // no columns, keys or references
    SCH_KEY_INFO byCode = nullptr;     // item (code, qty): both nullable
    SCH_REF_INFO itemOwner = nullptr;  // item.owner_id -> owner, sorted by (placed, price)
    SCH_COL_INFO photo = nullptr;      // item's blob
};

// Columns of `item`; "gone" and "old_doc" are retired before finalising.
inline constexpr RcCol kRcItemCols[] = {
    {"id", ZEL_INT32, 0, 0, true},        {"gone", ZEL_VARCHAR, 11, 0, false},
    {"qty", ZEL_INT16, 0, 0, false},      {"price", ZEL_BCD, 10, 0, false},
    {"photo", ZEL_BLOB, 0, 0, false},     {"rid", ZEL_ROWID, 0, 0, false},
    {"owner_id", ZEL_INT64, 0, 0, false}, {"placed", ZEL_TIMESTAMP, 0, 0, false},
    {"code", ZEL_CHAR, 37, 0, false},     {"old_doc", ZEL_CLOB, 0, 0, false},
    {"ratio", ZEL_DOUBLE, 0, 0, false},   {"flags", ZEL_INT32, 0, 3, false},
    {"tag", ZEL_UUID, 0, 0, false},       {"vb", ZEL_VARBINARY, 6, 0, false},
    {"ok", ZEL_BOOL, 0, 0, false},        {"at", ZEL_TIMESTAMPTZ, 0, 0, false},
    {"f", ZEL_FLOAT, 0, 0, false},        {"u8", ZEL_UINT8, 0, 0, false},
    {"day", ZEL_DATE, 0, 0, false},       {"bin", ZEL_BINARY, 3, 0, false},
};
inline constexpr ZEL_COL_INDEX kRcItemColCount = sizeof kRcItemCols / sizeof kRcItemCols[0];

inline ZEL_RETCODE rc_table(SCH_INFO sch, ZEL_TBL_INDEX id, const char *name, const RcCol *cols,
                            ZEL_COL_INDEX n, ZEL_KEY_INDEX maxKeys, ZEL_REF_INDEX maxRefs,
                            SCH_TBL_INFO *pti) {
    ZEL_RETCODE rc;
    SCH_TBL_INFO ti = nullptr;
    ZEL_CHECK(rc = sch_tbl_create(sch, id, &ti));
    ZEL_CHECK(rc = sch_set_num_tables(sch, sch_num_tables(sch) + 1));
    ZEL_CHECK(rc = sch_tbl_set_name(ti, name));
    SCH_DRAWER_INFO d = nullptr;
    ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_TABLE, id, id, &d));
    ZEL_CHECK(rc = sch_tbl_set_drawer(ti, sch_drawer_id(d)));
    if (n) {
        ZEL_CHECK(rc = sch_tbl_set_max_cols(ti, n));
        ZEL_CHECK(rc = sch_tbl_set_num_cols(ti, n));
        ZEL_CHECK(rc = sch_tbl_set_next_col(ti, n));
    }
    for (ZEL_COL_INDEX i = 0; i < n; ++i) {
        SCH_COL_INFO ci = nullptr;
        ZEL_CHECK(rc = sch_col_create(ti, i, &ci));
        ZEL_CHECK(rc = sch_col_set_name(ci, cols[i].name));
        ZEL_CHECK(rc = sch_type_set_data_type(sch_col_type(ci), cols[i].type, ZEL_TRUE));
        if (cols[i].len) ZEL_CHECK(rc = sch_type_set_length(sch_col_type(ci), cols[i].len));
        if (cols[i].type == ZEL_BCD) ZEL_CHECK(rc = sch_type_set_scale(sch_col_type(ci), 2));
        if (cols[i].elems) ZEL_CHECK(rc = sch_type_set_elems(sch_col_type(ci), cols[i].elems));
        if (cols[i].notNull) ZEL_CHECK(rc = sch_col_set_not_null(ci, nullptr));
        if (cols[i].type & ZEL_TYPE_LOB_BIT) {
            ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_BLOB, id, i, &d));
            ZEL_CHECK(rc = sch_col_set_blob_drawer(ci, sch_drawer_id(d)));
        }
        ZEL_CHECK(rc = sch_col_finalize(ci));
    }
    if (maxKeys) ZEL_CHECK(rc = sch_tbl_set_max_keys(ti, maxKeys));
    if (maxRefs) ZEL_CHECK(rc = sch_tbl_set_next_ref(ti, maxRefs));
    *pti = ti;
    return sOKAY;
}

inline ZEL_RETCODE rc_key(SCH_TBL_INFO ti, ZEL_KEY_INDEX id, const char *name, ZEL_KEY_TYPE type,
                          ZEL_KEY_METHOD method, const ZEL_COL_INDEX *cols, ZEL_COL_INDEX n,
                          SCH_KEY_INFO *pki) {
    ZEL_RETCODE rc;
    SCH_KEY_INFO ki = nullptr;
    ZEL_CHECK(rc = sch_key_create(ti, id, &ki));
    ZEL_CHECK(rc = sch_tbl_set_num_keys(ti, sch_tbl_num_keys(ti) + 1));
    if (id >= sch_tbl_next_key(ti)) ZEL_CHECK(rc = sch_tbl_set_next_key(ti, id + 1));
    ZEL_CHECK(rc = sch_key_set_name(ki, name));
    ZEL_CHECK(rc = sch_key_set_type(ki, type));
    ZEL_CHECK(rc = sch_key_set_method(ki, method));
    if (method != ZEL_KEY_METHOD_AVL) {
        SCH_DRAWER_INFO d = nullptr;
        ZEL_CHECK(
            rc = sch_drawer_add(sch_tbl_schema(ti), ZEL_DRAWER_BTREE, sch_tbl_index(ti), id, &d));
        ZEL_CHECK(rc = sch_key_set_drawer(ki, sch_drawer_id(d)));
    }
    ZEL_CHECK(rc = sch_key_set_num_elems(ki, n));
    for (ZEL_COL_INDEX i = 0; i < n; ++i) {
        ZEL_CHECK(rc = sch_elem_set_col(sch_key_elem(ki, i), cols[i]));
        SCH_COL_INFO ci = sch_get_col_by_index(ti, cols[i]);
        ZEL_CHECK(rc = sch_col_set_usage(ci, sch_col_usage(ci) | SCH_COL_USAGE_KEY));
    }
    ZEL_CHECK(rc = sch_key_finalize(ki));
    if (pki) *pki = ki;
    return sOKAY;
}

inline ZEL_RETCODE rc_ref(SCH_TBL_INFO ti, ZEL_REF_INDEX id, const char *name, ZEL_TBL_INDEX target,
                          ZEL_COL_INDEX col, const ZEL_COL_INDEX *sorts, ZEL_COL_INDEX nSorts,
                          SCH_REF_INFO *pri) {
    ZEL_RETCODE rc;
    SCH_REF_INFO ri = nullptr;
    ZEL_CHECK(rc = sch_ref_create(ti, id, &ri));
    ZEL_CHECK(rc = sch_tbl_set_num_refs(ti, sch_tbl_num_refs(ti) + 1));
    ZEL_CHECK(rc = sch_ref_set_name(ri, name));
    SCH_DRAWER_INFO d = nullptr;
    ZEL_CHECK(rc = sch_drawer_add(sch_tbl_schema(ti), ZEL_DRAWER_REF, sch_tbl_index(ti), id, &d));
    ZEL_CHECK(rc = sch_ref_set_drawer(ri, sch_drawer_id(d)));
    ZEL_CHECK(rc = sch_ref_set_reftab(ri, target));
    ZEL_CHECK(rc = sch_ref_set_refkey(ri, 0));
    ZEL_CHECK(rc = sch_ref_set_num_cols(ri, 1));
    ZEL_CHECK(rc = sch_ref_set_col(ri, 0, col));
    SCH_COL_INFO ci = sch_get_col_by_index(ti, col);
    ZEL_CHECK(rc = sch_col_set_usage(ci, sch_col_usage(ci) | SCH_COL_USAGE_REF));
    ZEL_CHECK(rc = sch_col_set_reftab(ci, target));
    ZEL_CHECK(rc = sch_ref_set_num_sort_cols(ri, nSorts));
    for (ZEL_COL_INDEX i = 0; i < nSorts; ++i) {
        ZEL_CHECK(rc = sch_ref_set_sort_col(ri, i, sorts[i]));
        SCH_COL_INFO si = sch_get_col_by_index(ti, sorts[i]);
        ZEL_CHECK(rc = sch_col_set_usage(si, sch_col_usage(si) | SCH_COL_USAGE_SORT));
    }
    ZEL_CHECK(rc = sch_ref_finalize(ri));
    ZEL_CHECK(rc = sch_ref_finalize_locking(ri));
    if (pri) *pri = ri;
    return sOKAY;
}

// Builds the catalogue on `sub`; on a failure the caller destroys cat->sch.
inline ZEL_RETCODE rc_build(B_TAG_SUB sub, RowCatalog *cat) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_create(&cat->sch, sub));
    SCH_INFO sch = cat->sch;
    ZEL_CHECK(rc = sch_set_name(sch, "lived"));
    ZEL_CHECK(rc = sch_set_max_table(sch, 4));
    ZEL_CHECK(rc = sch_set_next_table(sch, 4));
    static constexpr RcCol ownerCols[] = {{"id", ZEL_INT64, 0, 0, true},
                                          {"name", ZEL_VARCHAR, 81, 0, false}};
    static constexpr ZEL_COL_INDEX pk[] = {0};
    ZEL_CHECK(rc = rc_table(sch, 1, "owner", ownerCols, 2, 1, 0, &cat->owner));
    ZEL_CHECK(rc = rc_key(cat->owner, 0, "owner_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, pk,
                          1, nullptr));
    ZEL_CHECK(rc = sch_tbl_finalize(cat->owner, ZEL_TRUE));

    SCH_TBL_INFO item = nullptr;
    ZEL_CHECK(rc = rc_table(sch, 2, "item", kRcItemCols, kRcItemColCount, 4, 2, &item));
    cat->item = item;
    static constexpr ZEL_COL_INDEX byQty[] = {2}, byPlaced[] = {7}, byCode[] = {8, 2};
    static constexpr ZEL_COL_INDEX sorts[] = {7, 3};
    ZEL_CHECK(rc = rc_key(item, 0, "item_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, pk, 1,
                          nullptr));
    SCH_KEY_INFO avlGone = nullptr;
    ZEL_CHECK(rc = rc_key(item, 1, "by_qty", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_AVL, byQty, 1,
                          &avlGone));
    ZEL_CHECK(rc = rc_key(item, 2, "by_placed", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_AVL,
                          byPlaced, 1, nullptr));
    ZEL_CHECK(rc = rc_key(item, 3, "by_code", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_BTREE, byCode,
                          2, &cat->byCode));
    ZEL_CHECK(rc = rc_ref(item, 0, "item_first_owner", 1, 6, nullptr, 0, nullptr));
    ZEL_CHECK(rc = rc_ref(item, 1, "item_owner", 1, 6, sorts, 2, &cat->itemOwner));
    // The table's history: a text and a large object retired, the first
    // AVL key and the first reference dropped.
    ZEL_CHECK(rc = sch_key_drop_fcn(avlGone));
    ZEL_CHECK(rc = sch_ref_drop(item, 0));
    ZEL_CHECK(rc = sch_tbl_col_drop(sch_get_col_by_index(item, 1), ZEL_FALSE));
    ZEL_CHECK(rc = sch_tbl_col_drop(sch_get_col_by_index(item, 9), ZEL_FALSE));
    ZEL_CHECK(rc = sch_tbl_finalize(item, ZEL_TRUE));
    cat->photo = sch_get_col_by_index(item, 4);

    ZEL_CHECK(rc = rc_table(sch, 3, "bare", nullptr, 0, 0, 0, &cat->bare));
    ZEL_CHECK(rc = sch_tbl_finalize(cat->bare, ZEL_TRUE));
    sch_calc_num_refs(sch);
    return sOKAY;
}

#endif
