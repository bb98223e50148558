// Row layout tests. The oracle is the C compiler: each table below is one
// X-macro list that expands both into column definitions built through the
// setters and into a C struct with the same members in the same order, whose
// offsetof and sizeof must equal the computed offsets and byte_len.
//
// The stored layout is a C struct when: every column that has a place in the
// row is a member of its in-memory form (booleans as int32_t, dates and times
// as uint32_t, time stamps and zoned times as two or three uint32_t, UUIDs as
// four uint32_t, decimals as char[37], text and binary as byte arrays, a
// variable binary as a uint16_t length followed by its bytes), large objects
// have no member, and each nullable column adds a trailing uint8_t has-value
// member, in column order, after all the data. Tables with no columns, and
// the multiplier variants, are not struct-like and are checked against
// hand-worked numbers instead.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

#include "schema_fixture.h"

namespace {

// Struct members of a column by kind; has-value members by nullability.
#define MEMBER(kind, name, zt, ct, dim, len, elems, nul) MEMBER_##kind(name, ct, dim)
#define MEMBER_MEM(name, ct, dim) ct name dim;
#define MEMBER_VB(name, ct, dim) \
    uint16_t name;               \
    uint8_t name##_data dim;
#define MEMBER_LOB(name, ct, dim)
#define HVBYTE(kind, name, zt, ct, dim, len, elems, nul) HV_##nul(name)
#define HV_NUL(name) uint8_t hv_##name;
#define HV_NN(name)
#define HV_PK(name)
#define NOTNULL_NUL false
#define NOTNULL_NN true
#define NOTNULL_PK false
#define COLDEF(kind, name, zt, ct, dim, len, elems, nul) {#name, zt, len, elems, NOTNULL_##nul},
#define CHECK(kind, name, zt, ct, dim, len, elems, nul)    \
    {                                                      \
        SCH_COL_INFO ci = sch_find_col_by_name(ti, #name); \
        ASSERT_NE(ci, nullptr);                            \
        CHECK_PTR_##kind(name);                            \
        CHECK_HV_##nul(name);                              \
    }
#define CHECK_PTR_MEM(name) EXPECT_EQ(sch_col_offset(ci), offsetof(Row, name)) << #name
#define CHECK_PTR_VB(name) CHECK_PTR_MEM(name)
#define CHECK_PTR_LOB(name) EXPECT_EQ(sch_col_offset(ci), 0u) << #name
#define CHECK_HV_NUL(name) \
    EXPECT_EQ(sch_col_has_value_offset(ci), offsetof(Row, hv_##name)) << #name
#define CHECK_HV_NN(name) EXPECT_EQ(sch_col_has_value_offset(ci), 0u) << #name
#define CHECK_HV_PK(name) CHECK_HV_NN(name)

// Two nullable columns: ptr 0 and 8, has-value 16 and 17, byte_len 24.
#define TBL_SMALL(C)                           \
    C(MEM, a, ZEL_INT16, int16_t, , 0, 0, NUL) \
    C(MEM, b, ZEL_INT64, int64_t, , 0, 0, NUL)

#define TBL_WIDE(C)                                         \
    C(MEM, id, ZEL_INT64, int64_t, , 0, 0, PK)              \
    C(MEM, flag, ZEL_BOOL, int32_t, , 0, 0, NUL)            \
    C(MEM, flags, ZEL_BOOL, int32_t, [3], 0, 3, NN)         \
    C(MEM, i8, ZEL_INT8, int8_t, , 0, 0, NUL)               \
    C(LOB, photo, ZEL_BLOB, void, , 0, 0, NUL)              \
    C(MEM, u16, ZEL_UINT16, uint16_t, , 0, 0, NUL)          \
    C(MEM, amount, ZEL_BCD, char, [37], 12, 0, NN)          \
    C(MEM, i32, ZEL_INT32, int32_t, , 0, 0, NUL)            \
    C(MEM, f, ZEL_FLOAT, float, , 0, 0, NUL)                \
    C(MEM, u8s, ZEL_UINT8, uint8_t, [5], 0, 5, NUL)         \
    C(MEM, d, ZEL_DOUBLE, double, , 0, 0, NUL)              \
    C(MEM, day, ZEL_DATE, uint32_t, , 0, 0, NN)             \
    C(MEM, at, ZEL_TIME, uint32_t, , 0, 0, NUL)             \
    C(MEM, name, ZEL_CHAR, char, [41], 41, 0, NN)           \
    C(MEM, attz, ZEL_TIMETZ, uint32_t, [2], 0, 0, NUL)      \
    C(MEM, ts, ZEL_TIMESTAMP, uint32_t, [2], 0, 0, NUL)     \
    C(LOB, text, ZEL_CLOB, void, , 0, 0, NN)                \
    C(MEM, tstz, ZEL_TIMESTAMPTZ, uint32_t, [3], 0, 0, NUL) \
    C(MEM, note, ZEL_VARCHAR, char, [13], 13, 0, NUL)       \
    C(MEM, rid, ZEL_ROWID, uint64_t, , 0, 0, NUL)           \
    C(MEM, bin, ZEL_BINARY, uint8_t, [3], 3, 0, NUL)        \
    C(MEM, uid, ZEL_UUID, uint32_t, [4], 0, 0, NUL)         \
    C(MEM, u64s, ZEL_UINT64, uint64_t, [2], 0, 2, NN)       \
    C(MEM, wname, ZEL_WCHAR, char, [9], 9, 0, NUL)          \
    C(VB, vbin, ZEL_VARBINARY, uint8_t, [7], 7, 0, NUL)     \
    C(MEM, tail, ZEL_CHAR, char, [3], 3, 0, NUL)            \
    C(MEM, wv, ZEL_WVARCHAR, char, [5], 5, 0, NN)           \
    C(MEM, i16s, ZEL_INT16, int16_t, [3], 0, 3, NUL)        \
    C(LOB, wtext, ZEL_WCLOB, void, , 0, 0, NUL)

// Only NOT NULL columns: no has-value bytes at all.
#define TBL_STRICT(C)                         \
    C(MEM, c, ZEL_INT8, int8_t, , 0, 0, NN)   \
    C(MEM, x, ZEL_DOUBLE, double, , 0, 0, NN) \
    C(MEM, s, ZEL_CHAR, char, [3], 3, 0, NN)

struct RowSmall {
    TBL_SMALL(MEMBER)
    TBL_SMALL(HVBYTE)
};
struct RowWide {
    TBL_WIDE(MEMBER)
    TBL_WIDE(HVBYTE)
};
struct RowStrict {
    TBL_STRICT(MEMBER)
};

// The key over (u16, name, d, id) of the wide table: id is a primary key
// element and name NOT NULL, so only u16 and d have has-value bytes.
struct KeyWide {
    uint16_t u16;
    char name[41];
    double d;
    int64_t id;
    uint8_t hv_u16;
    uint8_t hv_d;
};

class SchemaLayout : public SchemaTest {
  protected:
    SCH_TBL_INFO build(ZEL_TBL_INDEX id, const char *name, const std::vector<ColDef> &cols,
                       const std::vector<ZEL_COL_INDEX> &pk = {}) {
        SCH_TBL_INFO ti = nullptr;
        EXPECT_EQ(fx_addTable(sch, id, name, cols, pk.empty() ? 0 : 1, 0, &ti), sOKAY);
        if (!pk.empty()) {
            EXPECT_EQ(fx_addKey(ti, 0, "pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, pk, true),
                      sOKAY);
        }
        EXPECT_EQ(sch_tbl_finalize(ti, ZEL_TRUE), sOKAY);
        return ti;
    }
};

TEST_F(SchemaLayout, SmallTableIsAStruct) {
    using Row = RowSmall;
    SCH_TBL_INFO ti = build(1, "small", {TBL_SMALL(COLDEF)});
    TBL_SMALL(CHECK)
    EXPECT_EQ(sch_tbl_byte_len(ti), sizeof(Row));
    EXPECT_EQ(sch_tbl_has_value_offset(ti), offsetof(Row, hv_a));
    // Hand-worked: int16 at 0, int64 at 8, has-value 16 and 17, 18 -> 24.
    EXPECT_EQ(sizeof(Row), 24u);
    EXPECT_EQ(offsetof(Row, hv_b), 17u);
}

TEST_F(SchemaLayout, EveryTypeIsAStruct) {
    using Row = RowWide;
    SCH_TBL_INFO ti = build(1, "wide", {TBL_WIDE(COLDEF)}, {0});
    TBL_WIDE(CHECK)
    EXPECT_EQ(sch_tbl_byte_len(ti), sizeof(Row));
    EXPECT_EQ(sch_tbl_has_value_offset(ti), offsetof(Row, hv_flag));

    SCH_KEY_INFO ki = nullptr;
    ASSERT_EQ(sch_tbl_set_max_keys(ti, 2), sOKAY);
    ASSERT_EQ(fx_addKey(ti, 1, "k", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_BTREE, {5, 13, 10, 0},
                        true, &ki),
              sOKAY);
    EXPECT_EQ(sch_elem_offset(sch_key_elem_c(ki, 0)), offsetof(KeyWide, u16));
    EXPECT_EQ(sch_elem_offset(sch_key_elem_c(ki, 1)), offsetof(KeyWide, name));
    EXPECT_EQ(sch_elem_offset(sch_key_elem_c(ki, 2)), offsetof(KeyWide, d));
    EXPECT_EQ(sch_elem_offset(sch_key_elem_c(ki, 3)), offsetof(KeyWide, id));
    EXPECT_EQ(sch_elem_has_value_offset(sch_key_elem_c(ki, 0)), offsetof(KeyWide, hv_u16));
    EXPECT_EQ(sch_elem_has_value_offset(sch_key_elem_c(ki, 1)), 0u);
    EXPECT_EQ(sch_elem_has_value_offset(sch_key_elem_c(ki, 2)), offsetof(KeyWide, hv_d));
    EXPECT_EQ(sch_elem_has_value_offset(sch_key_elem_c(ki, 3)), 0u);
    EXPECT_EQ(sch_key_has_value_offset(ki), offsetof(KeyWide, hv_u16));
    EXPECT_EQ(sch_key_byte_len(ki), sizeof(KeyWide));
    // The multiplier 4 is the stored layout.
    EXPECT_EQ(sch_tbl_byte_len_ex(ti, 4), sizeof(Row));
    EXPECT_EQ(sch_key_byte_len_with_mult(ki, 4), sizeof(KeyWide));
}

TEST_F(SchemaLayout, NotNullOnlyIsAStruct) {
    using Row = RowStrict;
    SCH_TBL_INFO ti = build(1, "strict", {TBL_STRICT(COLDEF)});
    TBL_STRICT(CHECK)
    EXPECT_EQ(sch_tbl_byte_len(ti), sizeof(Row));
}

TEST_F(SchemaLayout, RowBufferInformation) {
    // No columns, no keys, no references: everything 0.
    SCH_TBL_INFO t0 = build(1, "empty", {});
    ZEL_ROW_BUFFER_INFO b;
    ASSERT_EQ(sch_tbl_get_buffer_info(t0, &b), sOKAY);
    EXPECT_EQ(b.col_data_offset, 0u);
    EXPECT_EQ(b.row_buffer_size, 0u);
    // One column: status at 0, 4 bytes round up to data at 8; two: also 8.
    SCH_TBL_INFO t1 = build(2, "one", {{"a", ZEL_INT32}});
    ASSERT_EQ(sch_tbl_get_buffer_info(t1, &b), sOKAY);
    EXPECT_EQ(b.col_status_offset, 0u);
    EXPECT_EQ(b.col_data_offset, 8u);
    EXPECT_EQ(b.row_buffer_size, 8u + 8u);  // int32 + has-value byte -> 8
    SCH_TBL_INFO t2 = build(3, "two", {{"a", ZEL_INT32}, {"b", ZEL_INT32}});
    ASSERT_EQ(sch_tbl_get_buffer_info(t2, &b), sOKAY);
    EXPECT_EQ(b.col_data_offset, 8u);
    // Two AVL keys and a reference: 48 + 8 + 4 * 3 = 68 -> 72.
    SCH_TBL_INFO t3 = nullptr;
    ASSERT_EQ(fx_addTable(sch, 4, "avl", {{"a", ZEL_INT32}, {"b", ZEL_INT32}, {"c", ZEL_INT32}}, 2,
                          1, &t3),
              sOKAY);
    ASSERT_EQ(fx_addKey(t3, 0, "k0", ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_AVL, {0}, false), sOKAY);
    ASSERT_EQ(fx_addKey(t3, 1, "k1", ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_AVL, {1}, false), sOKAY);
    ASSERT_EQ(fx_addRef(t3, 0, "r", 2, 0, {2}, {}, ZEL_REF_ACTION_NOVAL), eBADCAT);  // no key
    ASSERT_EQ(sch_tbl_finalize(t3, ZEL_TRUE), sOKAY);
    ASSERT_EQ(sch_tbl_get_buffer_info(t3, &b), sOKAY);
    EXPECT_EQ(b.ref_offset, 48u);
    EXPECT_EQ(b.col_status_offset, 56u);
    EXPECT_EQ(b.col_data_offset, 72u);
    EXPECT_EQ(b.num_avls, 2);
}

TEST_F(SchemaLayout, LengthLimits) {
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t", {{"v", ZEL_VARBINARY, 65534}}, 0, 0, &ti), sOKAY);
    EXPECT_EQ(sch_tbl_finalize(ti, ZEL_TRUE), eBADCAT);  // 65534 + 2 = 65536
    SCH_TYPE_INFO pi = sch_col_type(sch_get_col_by_index(ti, 0));
    ASSERT_EQ(sch_type_set_length(pi, 65533), sOKAY);
    EXPECT_EQ(sch_tbl_finalize(ti, ZEL_TRUE), sOKAY);
    for (ZEL_TYPE t : {ZEL_INT32, ZEL_BOOL}) {
        ASSERT_EQ(sch_type_set_data_type(pi, t, ZEL_TRUE), sOKAY);
        ASSERT_EQ(sch_type_set_elems(pi, 16384), sOKAY);
        EXPECT_EQ(sch_type_calc_byte_len(pi), eBADCAT);
        ASSERT_EQ(sch_type_set_elems(pi, 16383), sOKAY);
        EXPECT_EQ(sch_type_calc_byte_len(pi), sOKAY);
        EXPECT_EQ(sch_type_byte_len(pi), 65532);
    }
    pi->type = ZEL_PARAMREF;
    EXPECT_EQ(sch_type_calc_byte_len(pi), eBADCAT);
}

TEST_F(SchemaLayout, HashBucket) {
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t", {{"c", ZEL_CHAR, 4}}, 1, 0, &ti), sOKAY);
    SCH_KEY_INFO ki = nullptr;
    ASSERT_EQ(fx_addKey(ti, 0, "h", ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_HASH, {0}, true, &ki),
              sOKAY);
    // Column lengths are known once the table is finalised, which lays the
    // key out again.
    ASSERT_EQ(sch_tbl_finalize(ti, ZEL_TRUE), sOKAY);
    ZEL_BUCKET_BUFFER_INFO b;
    ASSERT_EQ(sch_bucket_get_buffer_info(ki, &b), sOKAY);
    EXPECT_EQ(b.key_byte_len, 5u);  // 4 bytes and a has-value byte
    EXPECT_EQ(b.data_len, 160u);    // 31 * 5 = 155 -> 160
    EXPECT_EQ(b.bucket_len, 1240u);
    EXPECT_EQ(b.id_len, 248u);
    EXPECT_EQ(b.buffer_len, 1648u);
}

TEST_F(SchemaLayout, Multipliers) {
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t",
                          {{"c", ZEL_CHAR, 41}, {"i", ZEL_INT32, 0, 0, true}, {"b", ZEL_BLOB}}, 1,
                          0, &ti),
              sOKAY);
    SCH_KEY_INFO ki = nullptr;
    ASSERT_EQ(fx_addKey(ti, 0, "k", ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_BTREE, {1, 0}, true, &ki),
              sOKAY);
    ASSERT_EQ(sch_tbl_finalize(ti, ZEL_TRUE), sOKAY);
    SCH_COL_INFO c = sch_get_col_by_index(ti, 0), i = sch_get_col_by_index(ti, 1);
    uint32_t len = 99;
    // ((41 - 1) / 4) * 1 + 1 = 11 bytes; * 2 + 1 = 21.
    EXPECT_EQ(sch_col_offset_with_mult(c, 1, &len), 0u);
    EXPECT_EQ(len, 11u);
    EXPECT_EQ(sch_col_offset_with_mult(c, 2, &len), 0u);
    EXPECT_EQ(len, 21u);
    // Stored: multiplier 4 leaves the length alone.
    len = 99;
    EXPECT_EQ(sch_col_offset_with_mult(i, 4, &len), 44u);
    EXPECT_EQ(len, 99u);
    EXPECT_EQ(sch_col_offset_with_mult(i, 1, &len), 12u);  // 11 aligned to 4
    EXPECT_EQ(len, 4u);
    // Walk: c 0+11, i 12+4 = 16, blob aligned to 8 -> 16; 2 nullable: 18 ->
    // widest int64 -> 24.
    EXPECT_EQ(sch_tbl_has_value_offset_with_mult(ti, 1), 16u);
    EXPECT_EQ(sch_tbl_byte_len_ex(ti, 1), 24u);
    // Key (i, c): i 0+4, c 4+11 = 15; c nullable: +1 -> 16.
    EXPECT_EQ(sch_key_byte_len_with_mult(ki, 1), 16u);
    EXPECT_EQ(sch_elem_offset_with_mult(sch_key_elem_c(ki, 1), 1, &len), 4u);
    EXPECT_EQ(len, 11u);
    EXPECT_EQ(sch_elem_has_value_offset_with_mult(sch_key_elem_c(ki, 1), 1), 16u);  // 15 + 1
    EXPECT_EQ(sch_elem_has_value_offset_with_mult(sch_key_elem_c(ki, 0), 1), 15u);  // no byte
    // _sys_files keeps its stored values under any multiplier.
    SCH_TBL_INFO sys = sch_get_sysfiles_table();
    EXPECT_EQ(sch_tbl_byte_len_ex(sys, 1), 64528u);
    EXPECT_EQ(sch_col_offset_with_mult(sch_get_sysfiles_version_col(), 1, &len), 64512u);
    EXPECT_EQ(sch_key_byte_len_with_mult(sch_tbl_primary_key(sys), 2), 1024u);
}

}  // namespace
