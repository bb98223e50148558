// The row formats: compact stream bytes worked by hand, round trips of every
// type, rows read under a later version of their table, the deliberate
// oddities of the reader and writer, and the moves between formats.
#include <gtest/gtest.h>

#include <malloc.h>

#include <cstring>
#include <string>
#include <vector>

#include "../fuzz/row_catalog.h"
#include "error.h"
#include "oom.h"
#include "row_fixture.h"
#include "schema_fixture.h"
#include "tag_fixture.h"

namespace {

// A row that gives back what it held when it is made or read again, and at
// the end.
struct Row : ZEL_ROW {
    Row() : ZEL_ROW{} {}
    Row(const Row &) = delete;
    ~Row() { row_free(this); }
    ZEL_RETCODE empty(SCH_TBL_INFO_C ti, B_TAG_SUB sub, ZEL_ROWID_T rowid = 0) {
        row_free(this);
        return rf_empty(this, ti, sub, rowid);
    }
    ZEL_RETCODE read(SCH_TBL_INFO_C ti, const Bytes &b, B_TAG_SUB sub, bool expanded = false,
                     DB_INSTANCE *dbi = nullptr, ZEL_ERR *hErr = nullptr, ZEL_ROWID_T rowid = 0) {
        row_free(this);
        return rf_unpack(this, ti, b, sub, expanded, dbi, hErr, rowid);
    }
};

class RowTest : public SchemaTest {
  protected:
    // T(c0 INT32 not null, c1 VARCHAR(10), c2 INT32)
    void MakeT() {
        ASSERT_EQ(
            fx_addTable(sch, 1, "t",
                        {{"c0", ZEL_INT32, 0, 0, true}, {"c1", ZEL_VARCHAR, 41}, {"c2", ZEL_INT32}},
                        0, 0, &t),
            sOKAY);
        ASSERT_EQ(sch_tbl_finalize(t, ZEL_TRUE), sOKAY);
    }
    SCH_TBL_INFO t = nullptr;
};

// The table that has lived: retired columns, an AVL hole, a dropped reference.
class RowLived : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        ASSERT_EQ(rc_build(sub, &cat), sOKAY);
        item = cat.item;
    }
    void TearDown() override {
        sch_destroy(cat.sch);
        TaggedTest::TearDown();
    }
    RowCatalog cat;
    SCH_TBL_INFO item = nullptr;
};

}  // namespace

TEST_F(RowTest, StoredBytesByHand) {
    MakeT();
    Row row;
    ASSERT_EQ(row.empty(t, sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "c0", "5", sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "c2", "-1", sub), sOKAY);
    // 00 no AVL keys; 00 no joins; group 01 00 (one column from id 0) with
    // c0 = 5 as the signed varint 0A; c1 is null and closes the group; group
    // 01 02 with c2 = -1 as 01; 00 ends the stream.
    const Bytes want = {0x00, 0x00, 0x01, 0x00, 0x0A, 0x01, 0x02, 0x01, 0x00};
    EXPECT_EQ(rf_hex(rf_pack(row, sub)), rf_hex(want));

    Row back;
    ASSERT_EQ(back.read(t, want, sub), sOKAY);
    EXPECT_EQ(rf_text(back, "c0"), "5");
    EXPECT_EQ(rf_text(back, "c2"), "-1");
    EXPECT_EQ(rf_status(back, sch_find_col_by_name(t, "c1")), vsNULL);

    // No stored column at all: the two counts and the end.
    ASSERT_EQ(row.empty(t, sub), sOKAY);
    EXPECT_EQ(rf_hex(rf_pack(row, sub)), "00 00 00");
}

TEST_F(RowTest, BlobIsItsPresenceMark) {
    ASSERT_EQ(
        fx_addTable(sch, 1, "d", {{"id", ZEL_INT32, 0, 0, true}, {"doc", ZEL_BLOB}}, 0, 0, &t),
        sOKAY);
    ASSERT_EQ(sch_tbl_finalize(t, ZEL_TRUE), sOKAY);
    SCH_COL_INFO doc = sch_find_col_by_name(t, "doc");
    Row row;
    ASSERT_EQ(row.empty(t, sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "id", "1", sub), sOKAY);
    // A present blob: status vsNOVAL, has-value byte 1.
    row.data.b.col_data[sch_col_has_value_offset(doc)] = 1;
    EXPECT_EQ(calc_storable_buffer(doc, &row), ZEL_FALSE);  // still vsNULL
    row.data.b.col_status[1] = vsNOVAL;
    EXPECT_EQ(calc_storable_buffer(doc, &row), ZEL_TRUE);
    // 00 00; group 02 00: id = 1 as 02, the blob as its mark 01; 00.
    const Bytes want = {0x00, 0x00, 0x02, 0x00, 0x02, 0x01, 0x00};
    EXPECT_EQ(rf_hex(rf_pack(row, sub)), rf_hex(want));
    ASSERT_EQ(row.read(t, want, sub), sOKAY);
    EXPECT_EQ(rf_status(row, doc), vsNOVAL);
    EXPECT_EQ(row.data.b.col_data[sch_col_has_value_offset(doc)], 1);
}

TEST_F(RowTest, LinksOfAvlKeysAndReferences) {
    SCH_TBL_INFO owner = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "o", {{"id", ZEL_INT64, 0, 0, true}}, 1, 0, &owner), sOKAY);
    ASSERT_EQ(fx_addKey(owner, 0, "o_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0}, true),
              sOKAY);
    ASSERT_EQ(sch_tbl_finalize(owner, ZEL_TRUE), sOKAY);
    ASSERT_EQ(
        fx_addTable(
            sch, 2, "m",
            {{"id", ZEL_INT32, 0, 0, true}, {"o", ZEL_INT64}, {"v", ZEL_INT16}, {"r", ZEL_ROWID}},
            1, 1, &t),
        sOKAY);
    ASSERT_EQ(fx_addKey(t, 0, "by_v", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_AVL, {2}, false),
              sOKAY);
    ASSERT_EQ(fx_addRef(t, 0, "m_o", 1, 0, {1}, {}, ZEL_REF_ACTION_RESTRICT), sOKAY);
    ASSERT_EQ(sch_tbl_finalize(t, ZEL_TRUE), sOKAY);
    Row row;
    ASSERT_EQ(row.empty(t, sub, 77), sOKAY);
    EXPECT_EQ(rf_status(row, sch_find_col_by_name(t, "r")), vsOKAY);  // the rowid, filled in
    ASSERT_EQ(rf_set(&row, "id", "1", sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "o", "5", sub), sOKAY);  // a reference column: never stored
    row.avls[0] = ZEL_AVL{3, 300, 5};
    row.joins[0].owner = 7;
    // 01 one AVL key: avl_ndx 00, left 300 = 80 AC (the 2-byte form of
    // 300 - 128 = 0xAC: 0x80 | 0xAC >> 8, then 0xAC), right 05, flags 03; 01 one join: ref_ndx 00,
    // owner 07; group 01 00 with id = 1 as 02 (o refers, v is null, r is a rowid); 00.
    const Bytes want = rf_bytes("010080AC050301000701000200");
    EXPECT_EQ(rf_hex(rf_pack(row, sub)), rf_hex(want));
    ASSERT_EQ(row.read(t, want, sub, false, nullptr, nullptr, 99), sOKAY);
    EXPECT_EQ(row.avls[0].left, 300u);
    EXPECT_EQ(row.avls[0].right, 5u);
    EXPECT_EQ(row.avls[0].flags, 3);
    EXPECT_EQ(row.joins[0].owner, 7u);
    EXPECT_EQ(rf_status(row, sch_find_col_by_name(t, "o")), vsNOVAL);
    EXPECT_EQ(rf_text(row, "r"), "99");
}

TEST_F(RowTest, EveryTypeRoundTrips) {
    ASSERT_EQ(fx_addTable(sch, 1, "all", fx_allTypes(), 0, 0, &t), sOKAY);
    ASSERT_EQ(sch_tbl_finalize(t, ZEL_TRUE), sOKAY);
    // clang-format off
    const std::vector<std::pair<const char *, const char *>> vals = {
        {"id", "-9000000000"}, {"flag", "true"}, {"i8", "-7"}, {"u8", "200"}, {"i16", "-300"},
        {"u16", "65535"}, {"i32", "2147483647"}, {"u32", "4000000000"},
        {"u64", "18446744073709551615"}, {"f", "1.5"}, {"d", "-2.25"}, {"amount", "-12345"},
        {"day", "2024-02-29"}, {"at", "12:34:56"}, {"attz", "12:34:56+02:00"},
        {"ts", "1999-12-31 23:59:59"}, {"tstz", "2000-01-01 00:00:00-05:30"},
        {"uid", "{00112233-4455-6677-8899-aabbccddeeff}"}, {"name", "h\xC3\xA9llo"},
        {"note", "a note"}, {"wname", "wide"}, {"wnote", "wider"}, {"bin", "01020304050607"},
        {"vbin", "0A0B"}, {"i32a", "5"}, {"da", "0.5"}};
    // clang-format on
    Row row;
    ASSERT_EQ(row.empty(t, sub), sOKAY);
    for (const auto &[name, text] : vals) ASSERT_EQ(rf_set(&row, name, text, sub), sOKAY) << name;
    const Bytes packed = rf_pack(row, sub);
    Row back;
    ASSERT_EQ(back.read(t, packed, sub), sOKAY);
    for (const auto &[name, text] : vals)
        EXPECT_EQ(rf_text(back, name), rf_text(row, name)) << name;
    EXPECT_EQ(0, std::memcmp(row.data.b.col_status, back.data.b.col_status,
                             sch_tbl_num_cols(t) * sizeof(VAL_STATUS)));
    EXPECT_EQ(rf_hex(rf_pack(back, sub)), rf_hex(packed));
}

// A row written under version 1 of a table and read under version 2, which
// dropped a column, its AVL key and its reference and added a nullable and a
// not-null column.
TEST_F(RowTest, ReadUnderALaterVersion) {
    const std::vector<ColDef> v1Cols = {
        {"a", ZEL_INT32, 0, 0, true}, {"b", ZEL_VARCHAR, 41}, {"c", ZEL_INT64}, {"o", ZEL_INT64}};
    auto build = [&](SCH_INFO s, bool v2, SCH_TBL_INFO *pti) {
        SCH_TBL_INFO owner = nullptr, ti = nullptr;
        ASSERT_EQ(fx_addTable(s, 1, "o", {{"id", ZEL_INT64, 0, 0, true}}, 1, 0, &owner), sOKAY);
        ASSERT_EQ(
            fx_addKey(owner, 0, "o_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0}, true),
            sOKAY);
        ASSERT_EQ(sch_tbl_finalize(owner, ZEL_TRUE), sOKAY);
        std::vector<ColDef> cols = v1Cols;
        if (v2) {
            cols.push_back({"d", ZEL_INT32});
            cols.push_back({"e", ZEL_INT16, 0, 0, true});
        }
        ASSERT_EQ(fx_addTable(s, 2, "t", cols, 1, 1, &ti), sOKAY);
        SCH_KEY_INFO avl = nullptr;
        ASSERT_EQ(
            fx_addKey(ti, 0, "by_c", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_AVL, {2}, false, &avl),
            sOKAY);
        ASSERT_EQ(fx_addRef(ti, 0, "t_o", 1, 0, {3}, {}, ZEL_REF_ACTION_RESTRICT), sOKAY);
        if (v2) {
            ASSERT_EQ(sch_key_drop_fcn(avl), sOKAY);
            ASSERT_EQ(sch_ref_drop(ti, 0), sOKAY);
            ASSERT_EQ(sch_tbl_col_drop(sch_get_col_by_index(ti, 1), ZEL_FALSE), sOKAY);
        }
        ASSERT_EQ(sch_tbl_finalize(ti, ZEL_TRUE), sOKAY);
        *pti = ti;
    };
    SCH_TBL_INFO t1 = nullptr, t2 = nullptr;
    build(sch, false, &t1);
    SCH_INFO sch2 = nullptr;
    ASSERT_EQ(sch_create(&sch2, sub), sOKAY);
    build(sch2, true, &t2);

    Row row;
    ASSERT_EQ(row.empty(t1, sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "a", "1", sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "b", "gone", sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "c", "3", sub), sOKAY);
    row.avls[0] = ZEL_AVL{1, 2, 3};
    row.joins[0].owner = 4;
    const Bytes v1 = rf_pack(row, sub);

    ASSERT_EQ(row.read(t2, v1, sub), sOKAY);
    EXPECT_EQ(row.avls, nullptr);   // the key's entry was read and dropped
    EXPECT_EQ(row.joins, nullptr);  // so was the reference's
    EXPECT_EQ(rf_text(row, "a"), "1");
    EXPECT_EQ(rf_text(row, "c"), "3");  // read after the retired b was thrown away
    EXPECT_EQ(rf_status(row, sch_find_col_by_name(t2, "d")), vsNULL);
    EXPECT_EQ(rf_status(row, sch_find_col_by_name(t2, "e")), vsNOVAL);
    // Written again under version 2: b and the links are gone.
    ASSERT_EQ(rf_set(&row, "e", "5", sub), sOKAY);
    // 00 00; group 01 00 a = 02; group 01 02 c = 06; group 01 05 e = 0A; 00.
    EXPECT_EQ(rf_hex(rf_pack(row, sub)), "00 00 01 00 02 01 02 06 01 05 0A 00");
    sch_destroy(sch2);
}

// Rows against the independent model of gen_row.py: the stream written from
// the values, and the values read from the stream.
TEST_F(RowTest, ModelVectors) {
    SCH_KEY_INFO ki = nullptr;
    rf_model_table(sch, &t, &ki);
    static const char *names[] = {"id", "a", "name", "s", "ok", "day", "x", "u", "b", "t"};
    const auto vectors = rf_vectors("good-row-compact.txt");
    ASSERT_GT(vectors.size(), 100u);
    for (const auto &v : vectors) {
        ASSERT_EQ(v.size(), 2u);
        const auto vals = rf_split(v[0], '|');
        ASSERT_EQ(vals.size(), 10u);
        const Bytes want = rf_bytes(v[1]);
        Row row;
        ASSERT_EQ(row.empty(t, sub), sOKAY);
        for (size_t c = 0; c < 10; ++c) {
            if (vals[c] == "NULL") continue;
            ASSERT_EQ(rf_set(&row, names[c], vals[c].c_str(), sub), sOKAY) << names[c];
        }
        EXPECT_EQ(rf_hex(rf_pack(row, sub)), rf_hex(want)) << v[0];
        ASSERT_EQ(row.read(t, want, sub), sOKAY);
        for (size_t c = 0; c < 10; ++c)
            EXPECT_EQ(rf_text(row, names[c]), vals[c] == "NULL" ? "<ZEL NULL>" : vals[c])
                << names[c] << " of " << v[0];
    }
}

TEST_F(RowTest, DroppedGroupEndsOnZeroAsSuccess) {
    MakeT();
    Row row;
    // Kept: group 01 00 holds FB, no varint; the group is dropped with its
    // code, the next count read is the 00, and the row is a success.
    ASSERT_EQ(row.read(t, {0x00, 0x00, 0x01, 0x00, 0xFB, 0x00}, sub), sOKAY);
    EXPECT_EQ(rf_status(row, sch_find_col_by_name(t, "c0")), vsNOVAL);
    // A group whose first id cannot be read is dropped the same way: 01 FB,
    // then 01 00 0A sets c0 = 5.
    ASSERT_EQ(row.read(t, {0x00, 0x00, 0x01, 0xFB, 0x01, 0x00, 0x0A, 0x00}, sub), sOKAY);
    EXPECT_EQ(rf_text(row, "c0"), "5");
    // Only a count that cannot be read fails the row, which then holds
    // nothing.
    EXPECT_EQ(row.read(t, {0x00, 0x00, 0x01, 0x00, 0x0A}, sub), eEOD);
    EXPECT_EQ(row.row_data, nullptr);
    EXPECT_EQ(row.read(t, {0x00, 0x00, 0xFC}, sub), eINVVARINT);
    EXPECT_EQ(row.read(t, {0x00}, sub), eEOD);
    EXPECT_EQ(row.read(t, {}, sub), eEOD);
}

TEST_F(RowTest, IdsTheTableNeverHadAbandonTheGroup) {
    ASSERT_EQ(fx_addTable(sch, 1, "t",
                          {{"c0", ZEL_INT32, 0, 0, true}, {"c1", ZEL_INT32}, {"c2", ZEL_INT32}}, 0,
                          0, &t),
              sOKAY);
    ASSERT_EQ(sch_tbl_col_drop(sch_get_col_by_index(t, 1), ZEL_TRUE), sOKAY);  // slot emptied
    ASSERT_EQ(sch_tbl_finalize(t, ZEL_TRUE), sOKAY);
    Row row;
    // 02 02 04: c2 = 2 is read, then id 3 (at next_col) drops the rest of
    // the group and the 00 after it ends the row.
    EXPECT_EQ(row.read(t, {0, 0, 0x02, 0x02, 0x04, 0x00}, sub), sOKAY);
    EXPECT_EQ(rf_text(row, "c2"), "2");
    // id 1 has no column record: its group stops before reading a value, so
    // the 00 that would have been its value ends the row.
    EXPECT_EQ(row.read(t, {0, 0, 0x02, 0x01, 0x00, 0x04, 0x00}, sub), sOKAY);
    EXPECT_EQ(rf_status(row, sch_find_col_by_name(t, "c2")), vsNULL);
}

TEST_F(RowLived, RetiredColumnsAreReadAndThrownAway) {
    Row row;
    // Group 01 09: the retired large object old_doc reads its mark 01; group
    // 01 01: the retired text gone reads 03 "abc"; group 01 00: id = 5.
    const Bytes in = rf_bytes("000001090101010361626301000A00");
    ASSERT_EQ(row.read(item, in, sub), sOKAY);
    EXPECT_EQ(rf_text(row, "id"), "5");
    // A retired text is held to its type's length even though the table
    // never laid it out: a length of 136 million is a damaged group, dropped
    // without asking the tag for the bytes.
    int64_t cur = 0, peak = 0;
    ASSERT_EQ(row.read(item, {0, 0, 0x01, 0x01, 0xE7, 0xFF, 0xFF, 0xFF, 0x00}, sub), sOKAY);
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    EXPECT_LT(peak, 1 << 20);
    ASSERT_EQ(row.read(item, in, sub), sOKAY);
    // Written again, the retired columns are gone.
    // 01 and the live AVL key's empty entry 01 00 00 00; 00 joins; 01 00 0A.
    EXPECT_EQ(rf_hex(rf_pack(row, sub)), "01 01 00 00 00 00 01 00 0A 00");
}

TEST_F(RowLived, AvlHoleAndDroppedReference) {
    // The live AVL key has avl_ndx 1 in a row buffer with room for one; the
    // live reference has ndx 1 in a row buffer with room for one.
    Row row;
    ASSERT_EQ(row.empty(item, sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "id", "5", sub), sOKAY);
    row.avls[0] = ZEL_AVL{1, 2, 3};
    row.joins[0].owner = 9;
    // Kept: avls[0], by running position, goes out under avl_ndx 01; joins[0]
    // goes with the first live reference, ref_ndx 01.
    const Bytes packed = rf_pack(row, sub);
    EXPECT_EQ(rf_hex(packed), "01 01 02 03 01 01 01 09 01 00 0A 00");
    // The reader places by the stored index, which is past the room: both
    // entries go to scratch.
    ASSERT_EQ(row.read(item, packed, sub), sOKAY);
    EXPECT_EQ(row.avls[0].left, 0u);
    EXPECT_EQ(row.joins[0].owner, 0u);
    EXPECT_EQ(rf_text(row, "id"), "5");
    // Entries of keys and references the table does not have are dropped.
    // 02: avl_ndx 00 (the hole) and 07 (past next_avl); 02: ref_ndx 00 (the
    // dropped one) and 03 (past next_ref); no groups.
    ASSERT_EQ(row.read(item, rf_bytes("020001010107020202020005030600"), sub), sOKAY);
    EXPECT_EQ(row.avls[0].left, 0u);
    EXPECT_EQ(row.joins[0].owner, 0u);
}

TEST_F(RowLived, ExpandedImage) {
    Row row;
    ASSERT_EQ(row.empty(item, sub, 3), sOKAY);
    ASSERT_EQ(rf_set(&row, "code", "ab", sub), sOKAY);
    row.avls[0].right = 11;
    const Bytes img = rf_pack(row, sub, true);
    ASSERT_EQ(img.size(), 8 + row.data_len);
    uint64_t len;
    std::memcpy(&len, img.data(), 8);
    EXPECT_EQ(len, item->bufferInfo.row_buffer_size);
    EXPECT_EQ(0, std::memcmp(img.data() + 8, row.row_data, row.data_len));
    Row back;
    ASSERT_EQ(back.read(item, img, sub, true), sOKAY);
    EXPECT_EQ(back.avls[0].right, 11u);
    EXPECT_EQ(rf_text(back, "code"), "ab");
    EXPECT_EQ(rf_hex(rf_pack(back, sub, true)), rf_hex(img));

    // A stored length the input cannot hold: eEOD before any allocation (a
    // fresh tag's peak stays where it was).
    Bytes lying = img;
    lying.pop_back();
    B_TAG_SUB fresh = nullptr;
    ASSERT_EQ(b_tag_subCreate(master, &fresh), sOKAY);
    int64_t cur = 0, peak0 = 0, peak1 = 0;
    b_tag_subMemUsage(fresh, &cur, &peak0, nullptr);
    EXPECT_EQ(back.read(item, lying, fresh, true), eEOD);
    EXPECT_EQ(back.row_data, nullptr);
    b_tag_subMemUsage(fresh, &cur, &peak1, nullptr);
    EXPECT_EQ(peak1, peak0);
    b_tag_subDestroy(fresh);
    // A short image gets a whole row buffer all the same, so the column
    // pointers stay inside it; length 0 too.
    const Bytes shortImg = {4, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4};
    ASSERT_EQ(back.read(item, shortImg, sub, true), sOKAY);
    EXPECT_EQ(back.data_len, 4u);
    EXPECT_EQ(rf_status(back, sch_find_col_by_name(item, "ratio")), vsNOVAL);
    EXPECT_EQ(rf_hex(rf_pack(back, sub, true)), rf_hex(shortImg));
    ASSERT_EQ(back.read(item, Bytes(8, 0), sub, true), sOKAY);
    EXPECT_NE(back.row_data, nullptr);
    ASSERT_EQ(back.read(cat.bare, Bytes(8, 0), sub, true), sOKAY);
    EXPECT_EQ(back.row_data, nullptr);
    EXPECT_EQ(back.avls, nullptr);
    EXPECT_EQ(back.data.b.col_data, nullptr);
    EXPECT_EQ(back.read(item, {1, 0, 0}, sub, true), eEOD);
    // Expanded writing needs the bulk function.
    ASSERT_EQ(row.empty(item, sub), sOKAY);
    B_BUFFER_T b;
    b_bufferInit(&b, sub);
    B_ENCODER_T noBulk;
    b_encoderInit(&noBulk, b_bufferEmitByte, nullptr, &b, sub);
    EXPECT_EQ(row_pack_expanded(&row, &noBulk), eNOTIMPLEMENTED);
    b_bufferTerm(&b);
}

TEST_F(RowLived, TableWithoutColumns) {
    Row row;
    // Only the two counts are read; the writer still closes with a zero.
    ASSERT_EQ(row.read(cat.bare, {0x00, 0x00}, sub), sOKAY);
    EXPECT_EQ(row.row_data, nullptr);
    EXPECT_EQ(rf_hex(rf_pack(row, sub)), "00 00 00");
}

namespace {

ZEL_RETCODE row_test_handler(ZEL_ERR_PTR, ZEL_RETCODE rc, void *data) {
    static_cast<std::vector<ZEL_RETCODE> *>(data)->push_back(rc);
    return rc;
}

}  // namespace

TEST_F(RowLived, KeptCompactAndConverted) {
    RfInstance inst(sub, ZEL_ROW_FORMAT_COMPACT);
    ZEL_ERR err;
    zelErrorInit(&err, sub);
    std::vector<ZEL_RETCODE> seen;
    zelErrorSetUserHandler(&err, row_test_handler, &seen);

    Row row;
    ASSERT_EQ(row.empty(item, sub, 8), sOKAY);
    row.hErr = &err;
    ASSERT_EQ(rf_set(&row, "id", "5", sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "code", "xyz", sub), sOKAY);
    const Bytes packed = rf_pack(row, sub);
    // Without an instance the record of the kept stream comes from subTag
    // and goes back there.
    ASSERT_EQ(row_convert(&row, ZEL_ROW_FORMAT_COMPACT), sOKAY);
    EXPECT_EQ(row.format, ZEL_ROW_FORMAT_COMPACT);
    EXPECT_EQ(row.row_data, nullptr);
    EXPECT_EQ(row_convert(&row, ZEL_ROW_FORMAT_COMPACT), sOKAY);
    EXPECT_EQ(rf_hex(rf_pack(row, sub)), rf_hex(packed));
    ASSERT_EQ(row_convert(&row, ZEL_ROW_FORMAT_BUFFER), sOKAY);
    EXPECT_EQ(rf_text(row, "code"), "xyz");
    EXPECT_EQ(rf_text(row, "rid"), "8");
    // With an instance, twice in a row: pooled records are initialised anew.
    row.dbi = &inst.dbi;
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(row_convert(&row, ZEL_ROW_FORMAT_COMPACT), sOKAY) << round;
        EXPECT_EQ(rf_hex(rf_pack(row, sub)), rf_hex(packed));
        ASSERT_EQ(row_convert(&row, ZEL_ROW_FORMAT_BUFFER), sOKAY) << round;
        EXPECT_EQ(rf_text(row, "id"), "5");
    }
    EXPECT_EQ(inst.dbi.bufferPool.count, 1u);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(row_convert(&row, ZEL_ROW_FORMAT_VALUE), eNOTIMPLEMENTED);
    EXPECT_EQ(row_convert(&row, static_cast<ZEL_ROW_FORMAT>(9)), eSYS_ERROR);
    EXPECT_EQ((std::vector<ZEL_RETCODE>{eNOTIMPLEMENTED, eSYS_ERROR}), seen);

    // Unpacked with a configured row_format of compact, the stream is kept.
    ASSERT_EQ(row.read(item, packed, sub, false, &inst.dbi, &err, 8), sOKAY);
    EXPECT_EQ(row.format, ZEL_ROW_FORMAT_COMPACT);
    EXPECT_EQ(rf_hex(Bytes(row.data.c.buffer->data.bin,
                           row.data.c.buffer->data.bin + row.data.c.buffer->len)),
              rf_hex(packed));
    // Kept: a kept stream copies into the sink with sOKAY even when the copy
    // fails (a static sink of 2 bytes).
    uint8_t small[2];
    B_BUFFER_T tiny;
    b_bufferInitStatic(&tiny, small, sizeof small, 0);
    B_ENCODER_T enc;
    b_encoderInit(&enc, b_bufferEmitByte, b_bufferEmitBytesBulk, &tiny, sub);
    EXPECT_EQ(row_pack_compact(&row, &enc), sOKAY);
    EXPECT_EQ(row_pack_expanded(&row, &enc), eNOTIMPLEMENTED);
    row_free(&row);
    EXPECT_EQ(row.data.c.buffer, nullptr);

    seen.clear();
    inst.dbi.row_format = ZEL_ROW_FORMAT_VALUE;
    EXPECT_EQ(row.read(item, packed, sub, false, &inst.dbi, &err), eNOTIMPLEMENTED);
    row.format = ZEL_ROW_FORMAT_VALUE;
    row.hErr = &err;
    EXPECT_EQ(rf_pack(row, sub, false, eNOTIMPLEMENTED).size(), 0u);
    EXPECT_EQ(row_convert(&row, ZEL_ROW_FORMAT_BUFFER), eSYS_ERROR);
    EXPECT_EQ((std::vector<ZEL_RETCODE>{eNOTIMPLEMENTED, eNOTIMPLEMENTED, eSYS_ERROR}), seen);
    EXPECT_EQ(zelErrorTerm(&err), sOKAY);
}

TEST_F(RowLived, FailedConversionLeavesTheRowCompact) {
    Row row;
    ASSERT_EQ(row.empty(item, sub), sOKAY);
    ASSERT_EQ(row_convert(&row, ZEL_ROW_FORMAT_COMPACT), sOKAY);
    B_BUFFER_T *kept = row.data.c.buffer;
    kept->len = 1;  // the stream cut after its first count
    EXPECT_EQ(row_convert(&row, ZEL_ROW_FORMAT_BUFFER), eEOD);
    EXPECT_EQ(row.format, ZEL_ROW_FORMAT_COMPACT);
    EXPECT_EQ(row.data.c.buffer, kept);
}

TEST(RowHuge, ClearedAboveWhatTheTagClears) {
    // Eleven text columns of 60000 bytes: a row buffer above 626688 bytes,
    // a huge buffer the tag does not clear.
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
    SCH_INFO sch = nullptr;
    ASSERT_EQ(sch_create(&sch, sub), sOKAY);
    std::vector<ColDef> cols;
    static const char *names[] = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k"};
    for (const char *n : names) cols.push_back({n, ZEL_CHAR, 60000});
    SCH_TBL_INFO t = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "wide", cols, 0, 0, &t), sOKAY);
    ASSERT_EQ(sch_tbl_finalize(t, ZEL_TRUE), sOKAY);
    ASSERT_GT(t->bufferInfo.row_buffer_size, 626688u);
    // Each row is dirtied and freed, and the next gets the same memory back:
    // the C library is told to keep such blocks on its heap (a sanitizer's
    // allocator ignores this and the test proves less there).
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    for (int round = 0; round < 3; ++round) {
        Row row;
        ASSERT_EQ(row.read(t, {0, 0, 0x01, 0x00, 0x01, 'x', 0x00}, sub), sOKAY);
        const uint8_t *data = row.data.b.col_data;
        size_t dirty = 0;
        for (size_t i = 2; i < sch_tbl_has_value_offset(t); ++i) dirty += data[i] != 0;
        EXPECT_EQ(dirty, 0u) << round;
        std::memset(row.row_data, 0xAA, row.data_len);
    }
    sch_destroy(sch);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

// Every unpacker and conversion under allocation failures: eNOMEMORY with
// nothing held, or the same result as without the failure.
TEST_F(RowLived, OutOfMemory) {
    RfInstance inst(sub, ZEL_ROW_FORMAT_COMPACT);
    psp_poolSetMaxPooled(&inst.dbi.bufferPool, 0);  // every record back to the tag
    Row row;
    ASSERT_EQ(row.empty(item, sub, 4), sOKAY);
    ASSERT_EQ(rf_set(&row, "id", "5", sub), sOKAY);
    ASSERT_EQ(rf_set(&row, "code", "xyz", sub), sOKAY);
    const Bytes packed = rf_pack(row, sub);
    const Bytes img = rf_pack(row, sub, true);
    // The retired text adds a scratch allocation: a failure there drops its
    // group with the code (kept), and the rest of the stream is read from
    // inside the text, here to its end: eEOD.
    Bytes withRetired = packed;
    withRetired.pop_back();
    withRetired.insert(withRetired.end(), {0x01, 0x01, 0x03, 'a', 'b', 'c', 0x00});
    const std::string want = rf_hex(packed);

    auto unpackOp = [&](const Bytes &in, bool expanded, DB_INSTANCE *dbi) {
        return [&, expanded, dbi]() {
            Row r;
            const ZEL_RETCODE rc = r.read(item, in, sub, expanded, dbi);
            if (rc != sOKAY) {
                EXPECT_EQ(r.row_data, nullptr);
                return rc;
            }
            if (r.format == ZEL_ROW_FORMAT_BUFFER) {
                EXPECT_EQ(rf_text(r, "code"), "xyz");
            }
            return rc;
        };
    };
    oom_check(master, {sub}, unpackOp(packed, false, nullptr));
    oom_check(master, {sub}, unpackOp(withRetired, false, nullptr), {eEOD});
    oom_check(master, {sub}, unpackOp(packed, false, &inst.dbi));
    oom_check(master, {sub}, unpackOp(img, true, nullptr));
    // Packing grows the sink.
    oom_check(master, {sub}, [&]() {
        RfSink s(sub);
        ZEL_RETCODE rc = row_pack_compact(&row, &s.enc);
        if (rc == sOKAY) rc = row_pack_expanded(&row, &s.enc);
        return rc;
    });
    // Both ways, with and without an instance; a failure leaves the row as
    // it was.
    for (DB_INSTANCE *dbi : {static_cast<DB_INSTANCE *>(nullptr), &inst.dbi}) {
        row.dbi = dbi;
        oom_check(master, {sub}, [&]() {
            ZEL_RETCODE rc = row_convert(&row, ZEL_ROW_FORMAT_COMPACT);
            if (rc != sOKAY) {
                EXPECT_EQ(row.format, ZEL_ROW_FORMAT_BUFFER);
                return rc;
            }
            EXPECT_EQ(rf_hex(rf_pack_static(row)), want);
            rc = row_convert(&row, ZEL_ROW_FORMAT_BUFFER);
            if (rc != sOKAY) {
                EXPECT_EQ(row.format, ZEL_ROW_FORMAT_COMPACT);
                EXPECT_EQ(row_convert(&row, ZEL_ROW_FORMAT_BUFFER), sOKAY);
                return rc;
            }
            EXPECT_EQ(rf_hex(rf_pack_static(row)), want);
            return rc;
        });
    }
}
