// schema_fixture.h - building catalogues through the setters for the tests
// of the catalogue modules: tables from column lists, keys, references and
// their drawers, with every step checked.
#ifndef SCHEMA_FIXTURE_H
#define SCHEMA_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "schema.h"
#include "tag_fixture.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "schema_build.h"
#include "schema_layout.h"

struct ColDef {
    const char *name;
    ZEL_TYPE type;
    uint32_t len = 0;    // declared length, or decimal precision
    uint16_t elems = 0;  // array elements
    bool notNull = false;
};

// A table with a row drawer and the columns given (blob drawers for large
// objects); keys and references have room for `maxKeys` and `maxRefs`.
inline ZEL_RETCODE fx_addTable(SCH_INFO sch, ZEL_TBL_INDEX id, const char *name,
                               const std::vector<ColDef> &cols, ZEL_KEY_INDEX maxKeys,
                               ZEL_REF_INDEX maxRefs, SCH_TBL_INFO *pti) {
    ZEL_RETCODE rc;
    if (id >= sch_max_table(sch)) ZEL_CHECK(rc = sch_set_max_table(sch, id + 4));
    if (id >= sch_next_table(sch)) ZEL_CHECK(rc = sch_set_next_table(sch, id + 1));
    SCH_TBL_INFO ti = nullptr;
    ZEL_CHECK(rc = sch_tbl_create(sch, id, &ti));
    ZEL_CHECK(rc = sch_set_num_tables(sch, sch_num_tables(sch) + 1));
    ZEL_CHECK(rc = sch_tbl_set_name(ti, name));
    SCH_DRAWER_INFO di = nullptr;
    ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_TABLE, id, id, &di));
    ZEL_CHECK(rc = sch_tbl_set_drawer(ti, sch_drawer_id(di)));
    const auto n = static_cast<ZEL_COL_INDEX>(cols.size());
    ZEL_CHECK(rc = sch_tbl_set_max_cols(ti, n));
    ZEL_CHECK(rc = sch_tbl_set_num_cols(ti, n));
    ZEL_CHECK(rc = sch_tbl_set_next_col(ti, n));
    for (ZEL_COL_INDEX i = 0; i < n; ++i) {
        const ColDef &d = cols[i];
        SCH_COL_INFO ci = nullptr;
        ZEL_CHECK(rc = sch_col_create(ti, i, &ci));
        ZEL_CHECK(rc = sch_col_set_name(ci, d.name));
        ZEL_CHECK(rc = sch_type_set_data_type(sch_col_type(ci), d.type, ZEL_TRUE));
        if (d.len) ZEL_CHECK(rc = sch_type_set_length(sch_col_type(ci), d.len));
        if (d.elems) ZEL_CHECK(rc = sch_type_set_elems(sch_col_type(ci), d.elems));
        if (d.notNull) ZEL_CHECK(rc = sch_col_set_not_null(ci, nullptr));
        if (d.type & ZEL_TYPE_LOB_BIT) {
            SCH_DRAWER_INFO bd = nullptr;
            ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_BLOB, id, i, &bd));
            ZEL_CHECK(rc = sch_col_set_blob_drawer(ci, sch_drawer_id(bd)));
        }
        ZEL_CHECK(rc = sch_col_finalize(ci));
    }
    if (maxKeys) ZEL_CHECK(rc = sch_tbl_set_max_keys(ti, maxKeys));
    if (maxRefs) ZEL_CHECK(rc = sch_tbl_set_next_ref(ti, maxRefs));
    *pti = ti;
    return sOKAY;
}

// Key `id` over the columns given; `name` null makes an inline key.
inline ZEL_RETCODE fx_addKey(SCH_TBL_INFO ti, ZEL_KEY_INDEX id, const char *name, ZEL_KEY_TYPE type,
                             ZEL_KEY_METHOD method, const std::vector<ZEL_COL_INDEX> &cols,
                             bool drawer, SCH_KEY_INFO *pki = nullptr) {
    ZEL_RETCODE rc;
    SCH_KEY_INFO ki = nullptr;
    ZEL_CHECK(rc = sch_key_create(ti, id, &ki));
    ZEL_CHECK(rc = sch_tbl_set_num_keys(ti, sch_tbl_num_keys(ti) + 1));
    ZEL_CHECK(rc = sch_tbl_set_next_key(ti, std::max<ZEL_KEY_INDEX>(sch_tbl_next_key(ti), id + 1)));
    if (name) ZEL_CHECK(rc = sch_key_set_name(ki, name));
    ZEL_CHECK(rc = sch_key_set_type(ki, type));
    ZEL_CHECK(rc = sch_key_set_method(ki, method));
    if (drawer) {
        SCH_DRAWER_INFO di = nullptr;
        const ZEL_DRAWER_TYPE dt = method == ZEL_KEY_METHOD_HASH    ? ZEL_DRAWER_HASH
                                   : method == ZEL_KEY_METHOD_RTREE ? ZEL_DRAWER_RTREE
                                                                    : ZEL_DRAWER_BTREE;
        ZEL_CHECK(rc = sch_drawer_add(sch_tbl_schema(ti), dt, sch_tbl_index(ti), id, &di));
        ZEL_CHECK(rc = sch_key_set_drawer(ki, sch_drawer_id(di)));
    }
    ZEL_CHECK(rc = sch_key_set_num_elems(ki, static_cast<ZEL_COL_INDEX>(cols.size())));
    for (size_t i = 0; i < cols.size(); ++i)
        ZEL_CHECK(rc = sch_elem_set_col(sch_key_elem(ki, static_cast<ZEL_COL_INDEX>(i)), cols[i]));
    for (ZEL_COL_INDEX c : cols) {
        SCH_COL_INFO ci = sch_get_col_by_index(ti, c);
        ZEL_CHECK(rc = sch_col_set_usage(ci, sch_col_usage(ci) | SCH_COL_USAGE_KEY));
    }
    ZEL_CHECK(rc = sch_key_finalize(ki));
    if (pki) *pki = ki;
    return sOKAY;
}

// Reference `id` of `ti` to key `keyid` of table `target`, over foreign
// columns `cols` and sort columns `sorts`.
inline ZEL_RETCODE fx_addRef(SCH_TBL_INFO ti, ZEL_REF_INDEX id, const char *name,
                             ZEL_TBL_INDEX target, ZEL_KEY_INDEX keyid,
                             const std::vector<ZEL_COL_INDEX> &cols,
                             const std::vector<ZEL_COL_INDEX> &sorts, ZEL_REF_ACTION onUpdate,
                             SCH_REF_INFO *pri = nullptr) {
    ZEL_RETCODE rc;
    SCH_REF_INFO ri = nullptr;
    ZEL_CHECK(rc = sch_ref_create(ti, id, &ri));
    ZEL_CHECK(rc = sch_tbl_set_num_refs(ti, sch_tbl_num_refs(ti) + 1));
    if (name) ZEL_CHECK(rc = sch_ref_set_name(ri, name));
    SCH_DRAWER_INFO di = nullptr;
    ZEL_CHECK(rc = sch_drawer_add(sch_tbl_schema(ti), ZEL_DRAWER_REF, sch_tbl_index(ti), id, &di));
    ZEL_CHECK(rc = sch_ref_set_drawer(ri, sch_drawer_id(di)));
    ZEL_CHECK(rc = sch_ref_set_on_update(ri, onUpdate));
    ZEL_CHECK(rc = sch_ref_set_reftab(ri, target));
    ZEL_CHECK(rc = sch_ref_set_refkey(ri, keyid));
    ZEL_CHECK(rc = sch_ref_set_num_cols(ri, static_cast<ZEL_COL_INDEX>(cols.size())));
    for (size_t i = 0; i < cols.size(); ++i) {
        ZEL_CHECK(rc = sch_ref_set_col(ri, static_cast<ZEL_COL_INDEX>(i), cols[i]));
        SCH_COL_INFO ci = sch_get_col_by_index(ti, cols[i]);
        ZEL_CHECK(rc = sch_col_set_usage(ci, sch_col_usage(ci) | SCH_COL_USAGE_REF));
        ZEL_CHECK(rc = sch_col_set_reftab(ci, target));
    }
    ZEL_CHECK(rc = sch_ref_set_num_sort_cols(ri, static_cast<ZEL_COL_INDEX>(sorts.size())));
    for (size_t i = 0; i < sorts.size(); ++i) {
        ZEL_CHECK(rc = sch_ref_set_sort_col(ri, static_cast<ZEL_COL_INDEX>(i), sorts[i]));
        SCH_COL_INFO ci = sch_get_col_by_index(ti, sorts[i]);
        ZEL_CHECK(rc = sch_col_set_usage(ci, sch_col_usage(ci) | SCH_COL_USAGE_SORT));
    }
    ZEL_CHECK(rc = sch_ref_finalize(ri));
    ZEL_CHECK(rc = sch_ref_finalize_locking(ri));
    if (pri) *pri = ri;
    return sOKAY;
}

// Every column type once, nullable and not.
inline std::vector<ColDef> fx_allTypes() {
    // clang-format off
    return {
        {"id", ZEL_INT64, 0, 0, true}, {"flag", ZEL_BOOL}, {"i8", ZEL_INT8},
        {"u8", ZEL_UINT8, 0, 0, true}, {"i16", ZEL_INT16}, {"u16", ZEL_UINT16}, {"i32", ZEL_INT32},
        {"u32", ZEL_UINT32}, {"u64", ZEL_UINT64}, {"f", ZEL_FLOAT}, {"d", ZEL_DOUBLE},
        {"amount", ZEL_BCD, 12}, {"day", ZEL_DATE}, {"at", ZEL_TIME}, {"attz", ZEL_TIMETZ},
        {"ts", ZEL_TIMESTAMP}, {"tstz", ZEL_TIMESTAMPTZ}, {"rid", ZEL_ROWID}, {"uid", ZEL_UUID},
        {"name", ZEL_CHAR, 41, 0, true}, {"note", ZEL_VARCHAR, 81}, {"wname", ZEL_WCHAR, 21},
        {"wnote", ZEL_WVARCHAR, 33}, {"bin", ZEL_BINARY, 7}, {"vbin", ZEL_VARBINARY, 9},
        {"photo", ZEL_BLOB}, {"text", ZEL_CLOB}, {"wtext", ZEL_WCLOB}, {"i32a", ZEL_INT32, 0, 3},
        {"da", ZEL_DOUBLE, 0, 2},
    };
    // clang-format on
}

// The tags and a catalogue, destroyed at the end; the test gives back every
// byte it took.
class SchemaTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        ASSERT_EQ(sch_create(&sch, sub), sOKAY);
    }
    void TearDown() override {
        sch_destroy(sch);
        TaggedTest::TearDown();
    }
    SCH_INFO sch = nullptr;
    int64_t peak = 0;
};

#endif
