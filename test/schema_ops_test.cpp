// Column and key values through the type descriptors: into row and key
// buffers and back, comparisons with nulls, hashing, printing.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "oom.h"
#include "schema_fixture.h"
#include "schema_ops.h"
#include "value.h"

namespace {

ZEL_RETCODE ops_collect(B_OUTPUT_CTX ctx, uint32_t ch) {
    static_cast<std::string *>(ctx)->push_back(static_cast<char>(ch));
    return sOKAY;
}

class SchemaOps : public SchemaTest {
  protected:
    void SetUp() override {
        SchemaTest::SetUp();
        ASSERT_EQ(fx_addTable(sch, 1, "t",
                              {{"id", ZEL_INT32, 0, 0, true},
                               {"name", ZEL_CHAR, 17},
                               {"bin", ZEL_BINARY, 2},
                               {"b", ZEL_BLOB}},
                              1, 0, &ti),
                  sOKAY);
        ASSERT_EQ(
            fx_addKey(ti, 0, "k", ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_HASH, {1, 0}, true, &ki),
            sOKAY);
        ASSERT_EQ(sch_tbl_finalize(ti, ZEL_TRUE), sOKAY);
        id = sch_get_col_by_index(ti, 0);
        name = sch_get_col_by_index(ti, 1);
    }
    SCH_TBL_INFO ti = nullptr;
    SCH_KEY_INFO ki = nullptr;
    SCH_COL_INFO id = nullptr, name = nullptr;
};

TEST_F(SchemaOps, RowBufferRoundTrip) {
    std::vector<uint8_t> row(sch_tbl_byte_len(ti), 0xEE);
    ZEL_VALUE v, s, n, back;
    zel_valueInit(&v);
    zel_valueInit(&s);
    zel_valueSetInt32(&v, 42);
    ASSERT_EQ(zel_valueSetString(&s, "abc"), sOKAY);
    zel_valueInitAndSetNull(&n);
    ASSERT_EQ(sch_col_copy_to_buff_fcn(id, row.data(), &v), sOKAY);
    ASSERT_EQ(sch_col_copy_to_buff_fcn(name, row.data(), &s), sOKAY);
    EXPECT_EQ(row[sch_col_has_value_offset(name)], 1);
    zel_valueInit(&back);
    ASSERT_EQ(sch_col_copy_from_buff_fcn(name, &back, row.data(), sub), sOKAY);
    EXPECT_STREQ(back.vt.cv, "abc");
    EXPECT_EQ(sch_col_cmp_fcn(name, &back, &s), ZEL_EQ);
    sch_col_free_fcn(name, &back, sub);
    EXPECT_EQ(back.status, vsNOVAL);
    ASSERT_EQ(sch_col_assign_from_buff_fcn(id, &back, row.data()), sOKAY);
    EXPECT_EQ(back.vt.i32v, 42);
    // A null zeroes the bytes and its has-value byte.
    ASSERT_EQ(sch_col_copy_to_buff_fcn(name, row.data(), &n), sOKAY);
    EXPECT_EQ(row[sch_col_has_value_offset(name)], 0);
    EXPECT_EQ(row[sch_col_offset(name)], 0);
    ASSERT_EQ(sch_col_assign_from_buff_fcn(name, &back, row.data()), sOKAY);
    EXPECT_EQ(back.status, vsNULL);
    EXPECT_EQ(sch_col_cmp_buff_fcn(name, &s, nullptr), ZEL_GT);
    EXPECT_EQ(sch_col_cmp_fcn(name, &n, &s), ZEL_LT);
    EXPECT_EQ(sch_col_cmp_fcn(name, &n, &n), ZEL_EQ);
}

TEST_F(SchemaOps, KeyBufferAndHash) {
    ZEL_VALUE vals[2], copy[2];
    zel_valueInit(&vals[0]);
    zel_valueInit(&vals[1]);
    ASSERT_EQ(zel_valueSetString(&vals[0], "key"), sOKAY);
    zel_valueSetInt32(&vals[1], 7);
    std::vector<uint8_t> buff(sch_key_byte_len(ki), 0);
    ASSERT_EQ(sch_key_copy_to_buff_fcn(ki, buff.data(), vals), sOKAY);
    B_HASHCTX h1, h2;
    b_hashFcnStart(&h1);
    b_hashFcnStart(&h2);
    ASSERT_EQ(sch_key_hash_fcn(ki, vals, &h1), sOKAY);
    ASSERT_EQ(sch_key_hash_from_buff_fcn(ki, buff.data(), &h2), sOKAY);
    EXPECT_EQ(b_hashFcnFinish(&h1), b_hashFcnFinish(&h2));
    zel_valueInit(&copy[0]);
    zel_valueInit(&copy[1]);
    ASSERT_EQ(sch_key_copy_fcn(ki, copy, vals, sub), sOKAY);
    EXPECT_EQ(sch_key_cmp_fcn(ki, copy, vals), ZEL_EQ);
    zel_valueSetInt32(&copy[1], 8);
    EXPECT_EQ(sch_key_cmp_fcn(ki, vals, copy), ZEL_LT);
    sch_key_free_fcn(ki, copy, sub);
}

// A key copy that fails on its second or third element gives back the
// elements it copied before: nothing leaks.
TEST_F(SchemaTest, KeyCopyUnderFailingAllocations) {
    SCH_TBL_INFO t = nullptr;
    SCH_KEY_INFO k = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "k",
                          {{"a", ZEL_CHAR, 41}, {"b", ZEL_BINARY, 3}, {"c", ZEL_BCD, 9}}, 1, 0, &t),
              sOKAY);
    ASSERT_EQ(fx_addKey(t, 0, "k", ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_BTREE, {0, 1, 2}, true, &k),
              sOKAY);
    ASSERT_EQ(sch_tbl_finalize(t, ZEL_TRUE), sOKAY);
    static const uint8_t bytes[3] = {1, 2, 3};
    static const ZEL_BCD_T dec{};
    ZEL_VALUE src[3];
    for (ZEL_VALUE &v : src) zel_valueInit(&v);
    ASSERT_EQ(zel_valueSetString(&src[0], "abc"), sOKAY);
    ASSERT_EQ(zel_valueSetBinary(&src[1], bytes, 3), sOKAY);
    ASSERT_EQ(zel_valueSetBCD(&src[2], &dec), sOKAY);
    EXPECT_EQ(oom_check(master, {sub},
                        [&] {
                            ZEL_VALUE dst[3];
                            for (ZEL_VALUE &v : dst) zel_valueInit(&v);
                            const ZEL_RETCODE rc = sch_key_copy_fcn(k, dst, src, sub);
                            if (rc == sOKAY) {
                                EXPECT_EQ(sch_key_cmp_fcn(k, dst, src), ZEL_EQ);
                                sch_key_free_fcn(k, dst, sub);
                            }
                            return rc;
                        }),
              3);
}

TEST_F(SchemaOps, KeyItemsBorrowedAtTheirOwnOffsets) {
    // Key k is (name, id): name at 0 with its has-value byte after the data,
    // id aligned after name; neither at its column's row offset.
    ZEL_VALUE vals[2], back;
    zel_valueInit(&vals[0]);
    zel_valueInit(&vals[1]);
    ASSERT_EQ(zel_valueSetString(&vals[0], "key"), sOKAY);
    zel_valueSetInt32(&vals[1], 7);
    std::vector<uint8_t> buff(sch_key_byte_len(ki), 0);
    ASSERT_EQ(sch_key_copy_to_buff_fcn(ki, buff.data(), vals), sOKAY);
    zel_valueInit(&back);
    ASSERT_EQ(sch_elem_assign_from_buff_fcn(sch_key_elem_c(ki, 1), &back, buff.data()), sOKAY);
    EXPECT_EQ(back.vt.i32v, 7);
    ASSERT_EQ(sch_elem_assign_from_buff_fcn(sch_key_elem_c(ki, 0), &back, buff.data()), sOKAY);
    EXPECT_STREQ(back.vt.cv, "key");
    // A zero has-value byte is a null; the raw form reads the bytes anyway.
    buff[sch_elem_has_value_offset(sch_key_elem_c(ki, 0))] = 0;
    ASSERT_EQ(sch_elem_assign_from_buff_fcn(sch_key_elem_c(ki, 0), &back, buff.data()), sOKAY);
    EXPECT_EQ(back.status, vsNULL);
    ASSERT_EQ(sch_col_assign_from_buff_raw_fcn(name, &back, buff.data(), 0), sOKAY);
    EXPECT_STREQ(back.vt.cv, "key");
    EXPECT_EQ(sch_elem_assign_from_buff_fcn(nullptr, &back, buff.data()), eINVNULLARG);
}

TEST_F(SchemaOps, TextForms) {
    ZEL_VALUE v, n;
    zel_valueInit(&v);
    zel_valueInitAndSetNull(&n);
    std::string out;
    ASSERT_EQ(sch_col_tostring_fcn(name, &n, 0, 0, ops_collect, &out), sOKAY);
    EXPECT_EQ(out, "<ZEL NULL>");
    out.clear();
    zel_valueSetInt32(&v, -5);
    ASSERT_EQ(sch_col_tostring_fcn(id, &v, 0, 0, ops_collect, &out), sOKAY);
    EXPECT_EQ(out, "-5");
    SCH_FORMAT f = SCH_BINARY_FORMAT;
    ASSERT_EQ(sch_col_tostring_type_fcn(id, &v, 0, &f), sOKAY);
    EXPECT_EQ(f, SCH_NATIVE_FORMAT);
    ASSERT_EQ(sch_col_tostring_type_fcn(sch_get_col_by_index(ti, 2), &n, 0, &f), sOKAY);
    EXPECT_EQ(f, SCH_BINARY_FORMAT);
    ASSERT_EQ(zel_valueSetString(&v, "tab\there"), sOKAY);
    ASSERT_EQ(sch_col_tostring_type_fcn(name, &v, 0, &f), sOKAY);
    EXPECT_EQ(f, SCH_UTF8_BINARY_FORMAT);
    EXPECT_EQ(sch_col_tostring_type_fcn(name, nullptr, 0, &f), eINVNULLARG);
    v.status = vsERROR;
    EXPECT_EQ(sch_col_tostring_type_fcn(name, &v, 0, &f), eINVARG);
    EXPECT_STREQ(sch_type_ddl_text(sch_col_type_c(id)), "int32");
    EXPECT_STREQ(sch_type_sql_text(sch_col_type_c(id)), "INTEGER");
    EXPECT_STREQ(sch_type_text(sch_col_type_c(name)), "ZEL_CHAR");
}

}  // namespace
