// Tests of the catalogue: the built-in table, identifiers, lookups and
// iterators over catalogues built through the setters, the setters' codes,
// default parsing, finalisation, drops and teardown.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "oom.h"
#include "schema_fixture.h"
#include "schema_words.h"
#include "tag_fixture.h"
#include "tag_stack.h"
#include "types.h"

namespace {

// What an iterator walks from the start, through `get`.
template <class Get, class Next>
auto walked(Next next, Get get) {
    std::vector<decltype(get(next(nullptr)))> out;
    for (auto x = next(nullptr); x; x = next(x)) out.push_back(get(x));
    return out;
}
const auto kId = [](SCH_DRAWER_INFO d) { return sch_drawer_id(d); };

// Numbers as one text, blank-separated.
template <class... T>
std::string facts(T... values) {
    std::string s;
    ((s += (s.empty() ? "" : " ") + std::to_string(static_cast<long long>(values))), ...);
    return s;
}

TEST(SchemaSysFiles, ConstantsStandAsStored) {
    SCH_TBL_INFO ti = sch_get_sysfiles_table();
    EXPECT_STREQ(sch_tbl_name(ti), "_sys_files");
    EXPECT_EQ(sch_tbl_schema(ti), nullptr);
    EXPECT_EQ(sch_tbl_type(ti), ZEL_TABLE_STANDARD);
    // cols max keys refs drawers has-value length
    EXPECT_EQ(facts(sch_tbl_num_cols(ti), sch_tbl_max_cols(ti), sch_tbl_num_keys(ti),
                    sch_tbl_num_refs(ti), sch_tbl_num_drawers(ti), sch_tbl_has_value_offset(ti),
                    sch_tbl_byte_len(ti)),
              "5 5 1 0 3 64520 64528");
    // name: type not-null length offset has-value key
    const std::string rows[] = {"name: " + facts(ZEL_CHAR, 1, 1024, 0, 0, 0),
                                "data: " + facts(ZEL_CHAR, 0, 63480, 1024, 64520, 65535),
                                "data_len: " + facts(ZEL_UINT64, 1, 8, 64504, 0, 65535),
                                "version: " + facts(ZEL_UINT64, 1, 8, 64512, 0, 65535),
                                "data_blob: " + facts(ZEL_BLOB, 0, 0, 0, 64521, 65535)};
    for (ZEL_COL_INDEX i = 0; i < 5; ++i) {
        SCH_COL_INFO ci = sch_find_col_by_ndx(ti, i);
        ASSERT_NE(ci, nullptr);
        EXPECT_EQ(
            sch_col_name(ci) + (": " + facts(sch_col_data_type(ci), sch_col_not_null(ci) != 0,
                                             sch_col_byte_len(ci), sch_col_offset(ci),
                                             sch_col_has_value_offset(ci), sch_col_key_ndx(ci))),
            rows[i]);
    }
    EXPECT_EQ(sch_type_info(sch_col_type_c(sch_find_col_by_ndx(ti, 0))), &utf8_type_info);
    // The blob column keeps the character large-object descriptor.
    EXPECT_EQ(sch_type_info(sch_col_type_c(sch_get_sysfiles_blob_col())), &clob_type_info);
    EXPECT_EQ(sch_col_usage(sch_find_col_by_ndx(ti, 0)), 1);
    EXPECT_STREQ(sch_col_name(sch_get_sysfiles_version_col()), "version");

    SCH_KEY_INFO ki = sch_tbl_primary_key(ti);
    ASSERT_EQ(ki, sch_find_key_by_ndx(ti, 0));
    EXPECT_STREQ(sch_key_name(ki), "name");
    // type method length has-value inline drawer
    EXPECT_EQ(facts(sch_key_type(ki), sch_key_method(ki), sch_key_byte_len(ki),
                    sch_key_has_value_offset(ki), sch_key_inline(ki) != 0, sch_key_drawer_ndx(ki)),
              facts(ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, 1024, 1024, 1, 3));
    EXPECT_EQ(sch_elem_col(sch_key_elem_c(ki, 0)), sch_find_col_by_ndx(ti, 0));

    // Drawers 2, 3, 4 in the table's order; the blob drawer's source is 3.
    const ZEL_DRAWER_TYPE types[] = {ZEL_DRAWER_TABLE, ZEL_DRAWER_BTREE, ZEL_DRAWER_BLOB};
    for (ZEL_DRAWER i = 0; i < 3; ++i) {
        SCH_DRAWER_INFO di = sch_tbl_related_drawer(ti, i);
        EXPECT_EQ(facts(sch_drawer_id(di), sch_drawer_tbl_ndx(di), sch_drawer_type(di),
                        sch_drawer_compact(di) != 0),
                  facts(i + 2, i, types[i], 0));
        EXPECT_EQ(sch_drawer(nullptr, i + 2), di);
    }
    EXPECT_EQ(sch_drawer_src_ndx(sch_drawer(nullptr, 4)), 3);
    EXPECT_EQ(sch_drawer_blob_col(sch_drawer(nullptr, 4)), sch_get_sysfiles_blob_col());

    ZEL_ROW_BUFFER_INFO b;
    ASSERT_EQ(sch_tbl_get_buffer_info(ti, &b), sOKAY);
    // offset, size, buffer (kept: not 24 + 64528), columns
    EXPECT_EQ(facts(b.col_data_offset, b.col_data_size, b.row_buffer_size, b.num_cols),
              "24 64528 65452 5");
}

TEST(SchemaSysFiles, ReachableWithoutCatalogue) {
    EXPECT_EQ(sch_table(nullptr, 0), sch_get_sysfiles_table());
    EXPECT_EQ(sch_iterate_all_tables(nullptr, nullptr, ZEL_FORWARD), sch_get_sysfiles_table());
    EXPECT_EQ(sch_iterate_all_tables(nullptr, sch_get_sysfiles_table(), ZEL_FORWARD), nullptr);
    SCH_COL_INFO c = sch_iterate_all_lob_cols(nullptr, nullptr, ZEL_FORWARD);
    EXPECT_EQ(c, sch_get_sysfiles_blob_col());
    EXPECT_EQ(sch_iterate_all_lob_cols(nullptr, c, ZEL_FORWARD), nullptr);
    EXPECT_EQ(sch_num_tables(nullptr), 0);
    EXPECT_EQ(sch_num_user_tables(nullptr), 0);
    // Reverse: a null or index-1 predecessor gives the built-in table.
    SCH_TBL_INFO_S fake{};
    fake.ndx = 1;
    EXPECT_EQ(sch_iterate_all_tables(nullptr, nullptr, ZEL_REVERSE), sch_get_sysfiles_table());
    EXPECT_EQ(sch_iterate_all_tables(nullptr, &fake, ZEL_REVERSE), sch_get_sysfiles_table());
    // The system drawers both ways.
    EXPECT_EQ(walked([](auto d) { return sch_iterate_system_drawers(d, ZEL_FORWARD); }, kId),
              (std::vector<ZEL_DRAWER>{2, 3, 4}));
    EXPECT_EQ(walked([](auto d) { return sch_iterate_system_drawers(d, ZEL_REVERSE); }, kId),
              (std::vector<ZEL_DRAWER>{4, 3, 2}));
}

TEST(SchemaIdentifiers, PackedForms) {
    SCH_TBL_INFO_S t{};
    t.ndx = 3;
    SCH_COL_INFO_S c{};
    c.table = &t;
    c.ndx = 5;
    SCH_KEY_INFO_S k{};
    k.table = &t;
    k.ndx = 2;
    SCH_REF_INFO_S r{};
    r.table = &t;
    r.ndx = 1;
    // 3 << 17 = 0x60000.
    EXPECT_EQ(sch_col_constant(&c), 0x60005u);
    EXPECT_EQ(sch_key_constant(&k), 0x68002u);
    EXPECT_EQ(sch_ref_constant(&r), 0x78001u);
    EXPECT_EQ(sch_tbl_constant(&t), 0x10003u);
    EXPECT_EQ(sch_tbl_constant(sch_get_sysfiles_table()), 0x10000u);
    EXPECT_EQ(sch_find_key_by_constant(nullptr, 0x8000),
              sch_tbl_primary_key(sch_table(nullptr, 0)));
}

TEST_F(SchemaTest, EmptyCatalogue) {
    EXPECT_EQ(facts(sch_num_tables(sch), sch_num_user_tables(sch), sch_next_drawer(sch),
                    sch_num_user_drawers(sch)),
              "1 0 5 0");
    ZEL_TBL_INDEX pos = 77;
    EXPECT_EQ(sch_find_table_by_name(sch, "_sys_files", &pos), nullptr);
    EXPECT_EQ(pos, 77);  // fewer than two tables: nothing written
    ZEL_DRAWER n = 9;
    ZEL_DRAWER *list = reinterpret_cast<ZEL_DRAWER *>(1);
    ASSERT_EQ(sch_get_user_drawer_list(sch, &n, &list, sub), sOKAY);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(walked([&](auto d) { return sch_iterate_all_drawers(sch, d, ZEL_FORWARD); }, kId),
              (std::vector<ZEL_DRAWER>{2, 3, 4}));
    EXPECT_EQ(sch_iterate_tables(sch, nullptr, ZEL_FORWARD), nullptr);
    EXPECT_EQ(sch_table(sch, 1), nullptr);
}

// customer(1), orders(2), all_types(3) with keys, a reference and drawers,
// every table finalised.
ZEL_RETCODE buildShop(SCH_INFO sch, SCH_TBL_INFO *cust, SCH_TBL_INFO *ord, SCH_TBL_INFO *all,
                      SCH_REF_INFO *ref) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = fx_addTable(sch, 1, "customer",
                               {{"id", ZEL_INT64, 0, 0, true},
                                {"name", ZEL_CHAR, 41, 0, true},
                                {"email", ZEL_VARCHAR, 81},
                                {"photo", ZEL_BLOB},
                                {"city", ZEL_WCHAR, 21}},
                               3, 0, cust));
    ZEL_CHECK(rc = fx_addKey(*cust, 0, "customer_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE,
                             {0}, true));
    ZEL_CHECK(
        rc = fx_addKey(*cust, 1, nullptr, ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_HASH, {1, 2}, true));
    ZEL_CHECK(rc = fx_addKey(*cust, 2, "by_city", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_AVL, {4},
                             false));
    ZEL_CHECK(rc = fx_addTable(sch, 2, "orders",
                               {{"id", ZEL_INT64},
                                {"cust", ZEL_INT64, 0, 0, true},
                                {"amount", ZEL_BCD, 12},
                                {"placed", ZEL_TIMESTAMP},
                                {"note", ZEL_CLOB}},
                               1, 1, ord));
    if (sch_tbl_next_ref(*ord) != 1) return eNOMEMORY;  // a failed growth is swallowed
    ZEL_CHECK(rc = fx_addKey(*ord, 0, "orders_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0},
                             true));
    ZEL_CHECK(rc = fx_addRef(*ord, 0, nullptr, 1, 0, {1}, {3}, ZEL_REF_ACTION_CASCADE, ref));
    ZEL_CHECK(rc = fx_addTable(sch, 3, "all_types", fx_allTypes(), 1, 0, all));
    ZEL_CHECK(
        rc = fx_addKey(*all, 0, nullptr, ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0}, true));
    for (SCH_TBL_INFO ti : {*cust, *ord, *all}) ZEL_CHECK(rc = sch_tbl_finalize(ti, ZEL_TRUE));
    sch_calc_num_refs(sch);
    return sOKAY;
}

class SchemaShop : public SchemaTest {
  protected:
    void SetUp() override {
        SchemaTest::SetUp();
        ASSERT_EQ(buildShop(sch, &cust, &ord, &all, &ref), sOKAY);
    }
    SCH_TBL_INFO cust = nullptr, ord = nullptr, all = nullptr;
    SCH_REF_INFO ref = nullptr;
};

TEST_F(SchemaShop, TablesWalkBack) {
    auto name = [](SCH_TBL_INFO t) { return std::string(sch_tbl_name(t)); };
    EXPECT_EQ(walked([&](auto t) { return sch_iterate_all_tables(sch, t, ZEL_FORWARD); }, name),
              (std::vector<std::string>{"_sys_files", "customer", "orders", "all_types"}));
    EXPECT_EQ(walked([&](auto t) { return sch_iterate_all_tables(sch, t, ZEL_REVERSE); }, name),
              (std::vector<std::string>{"all_types", "orders", "customer", "_sys_files"}));
    EXPECT_EQ(sch_num_user_tables(sch), 3);
    EXPECT_EQ(sch_num_refs(sch), 1u);
    EXPECT_EQ(sch_find_table(sch, sch_tbl_drawer(ord)), ord);
    EXPECT_EQ(sch_find_table(sch, 2), sch_get_sysfiles_table());
    ZEL_DRAWER n = 0;
    ZEL_DRAWER *list = nullptr;
    ASSERT_EQ(sch_get_user_drawer_list(sch, &n, &list, sub), sOKAY);
    EXPECT_EQ(n, sch_num_user_drawers(sch));
    for (ZEL_DRAWER i = 0; i < n; ++i) EXPECT_EQ(list[i], 5 + i);
    b_tag_subFree(sub, list);
}

TEST_F(SchemaShop, FindTableByName) {
    EXPECT_EQ(sch_find_table_by_name(sch, "ORDERS", nullptr), ord);
    EXPECT_EQ(sch_find_table_by_name(sch, "customer", nullptr), cust);
    // Sorted: all_types, customer, orders.
    EXPECT_EQ(cust->nameNdx, 1);
    ZEL_TBL_INDEX pos = 0;
    EXPECT_EQ(sch_find_table_by_name(sch, "books", &pos), nullptr);
    EXPECT_EQ(pos, 1);
    EXPECT_EQ(sch_find_table_by_name(sch, "zebra", &pos), nullptr);
    EXPECT_EQ(pos, 3);
    // Discarded when the count changes, rebuilt on the next search.
    ASSERT_EQ(sch_set_num_tables(sch, sch_num_tables(sch)), sOKAY);
    EXPECT_EQ(sch->tablesByName, nullptr);
    EXPECT_EQ(sch_find_table_by_name(sch, "all_types", nullptr), all);
}

TEST_F(SchemaShop, FindByConstant) {
    ZEL_TBL_INDEX ndx = 0;
    EXPECT_EQ(sch_find_table_by_constant(sch, sch_tbl_constant(ord), &ndx), ord);
    EXPECT_EQ(ndx, 2);
    EXPECT_EQ(sch_find_table_by_constant(sch, 0x10000, &ndx), sch_get_sysfiles_table());
    EXPECT_EQ(ndx, 0);
    EXPECT_EQ(sch_find_table_by_constant(sch, 0x10009, &ndx), nullptr);
    EXPECT_EQ(ndx, 3);  // nearest present lower table
    EXPECT_EQ(sch_find_table_by_constant(sch, 0x8000, &ndx), nullptr);
    EXPECT_EQ(ndx, 65535);
    for (auto t = sch_iterate_tables(sch, nullptr, ZEL_FORWARD); t;
         t = sch_iterate_tables(sch, t, ZEL_FORWARD)) {
        for (auto c = sch_iterate_cols(t, nullptr, ZEL_FORWARD); c;
             c = sch_iterate_cols(t, c, ZEL_FORWARD))
            EXPECT_EQ(sch_find_col_by_constant(sch, sch_col_constant(c)), c);
        for (auto k = sch_iterate_keys(t, nullptr, ZEL_FORWARD); k;
             k = sch_iterate_keys(t, k, ZEL_FORWARD)) {
            EXPECT_EQ(sch_find_key_by_constant(sch, sch_key_constant(k)), k);
            EXPECT_EQ(sch_find_col_by_constant(sch, sch_key_constant(k)), nullptr);
        }
    }
    EXPECT_EQ(sch_find_ref_by_constant(sch, sch_ref_constant(ref)), ref);
    EXPECT_EQ(sch_find_key_by_constant(sch, sch_ref_constant(ref)), nullptr);
}

TEST_F(SchemaShop, ColumnsKeysAndLists) {
    EXPECT_EQ(sch_find_col_by_name(cust, "EMAIL"), sch_get_col_by_index(cust, 2));
    EXPECT_EQ(sch_find_col_by_name(cust, "nothing"), nullptr);
    const auto col = [](SCH_COL_INFO c) { return std::string(sch_col_name(c)); };
    EXPECT_EQ(walked([&](auto c) { return sch_iterate_lob_cols(all, c, ZEL_FORWARD); }, col),
              (std::vector<std::string>{"photo", "text", "wtext"}));
    EXPECT_EQ(walked([&](auto c) { return sch_iterate_non_lob_cols(cust, c, ZEL_REVERSE); }, col),
              (std::vector<std::string>{"city", "email", "name", "id"}));

    SCH_KEY_INFO uk = sch_find_key_by_ndx(cust, 1);
    EXPECT_STREQ(sch_key_name(uk), "name_email");
    EXPECT_TRUE(sch_key_inline(uk));
    EXPECT_FALSE(sch_key_inline(sch_find_key_by_ndx(cust, 0)));
    EXPECT_EQ(sch_iterate_col_keys(sch_get_col_by_index(cust, 2), nullptr, ZEL_FORWARD), uk);
    EXPECT_TRUE(sch_key_contains_col(uk, sch_get_col_by_index(cust, 1)));
    EXPECT_STREQ(sch_key_method_text(uk), "hash");
    EXPECT_STREQ(sch_key_type_text(uk), "unique");
    // A wide element marks the AVL key's table list; the hash bucket is laid
    // out: key name(41) + email(81) + 1 has-value byte = 123; 31*123 = 3813
    // rounded to 3816.
    ZEL_BUCKET_BUFFER_INFO bb;
    ASSERT_EQ(sch_bucket_get_buffer_info(uk, &bb), sOKAY);
    EXPECT_EQ(bb.key_byte_len, 123u);
    EXPECT_EQ(bb.data_len, 3816u);
    EXPECT_EQ(bb.buffer_len, 3816u + 1488u);
    SCH_KEY_INFO avl = sch_find_key_by_ndx(cust, 2);
    EXPECT_EQ(sch_avl_index(avl), 0);
    EXPECT_EQ(sch_tbl_num_avls(cust), 1);
    // Row drawer compact: customer has a wide column.
    EXPECT_TRUE(sch_drawer_compact(sch_tbl_drawer_info(cust)));
    EXPECT_FALSE(sch_drawer_compact(sch_tbl_drawer_info(ord)));

    // All keys: _sys_files's first, then in table and key order.
    EXPECT_EQ(walked([&](auto k) { return sch_iterate_all_keys(sch, k, ZEL_FORWARD); },
                     [](SCH_KEY_INFO k) { return std::string(sch_key_name(k)); }),
              (std::vector<std::string>{"name", "customer_pk", "name_email", "by_city", "orders_pk",
                                        "id"}));
    EXPECT_EQ(sch_find_key_by_name(sch, "BY_CITY"), avl);
    EXPECT_EQ(walked([&](auto c) { return sch_iterate_all_lob_cols(sch, c, ZEL_FORWARD); }, col),
              (std::vector<std::string>{"data_blob", "photo", "note", "photo", "text", "wtext"}));
}

TEST_F(SchemaShop, ReferenceAndOwners) {
    EXPECT_STREQ(sch_ref_name(ref), "orders_cust");
    EXPECT_TRUE(sch_ref_name_default(ref));
    EXPECT_EQ(sch_ref_owner(ref), cust);
    EXPECT_EQ(sch_ref_key(ref), sch_tbl_primary_key(cust));
    EXPECT_EQ(sch_iterate_ref_owners(cust, nullptr, ZEL_FORWARD), ref);
    EXPECT_EQ(sch_iterate_ref_owners(cust, ref, ZEL_FORWARD), nullptr);
    SCH_COL_INFO fc = sch_get_col_by_index(ord, 1);
    EXPECT_EQ(sch_col_ref(fc), ref);
    EXPECT_EQ(sch_iterate_col_refs(fc, nullptr, ZEL_FORWARD), ref);
    EXPECT_EQ(sch_iterate_sortcol_refs(sch_get_col_by_index(ord, 3), nullptr, ZEL_FORWARD), ref);
    EXPECT_EQ(sch_ref_col_vals(ref)[0].columnId, sch_col_constant(fc));
    // CASCADE with the first foreign column not in a key and not sorted.
    EXPECT_FALSE(sch_ref_requires_write_for_update(ref));
    EXPECT_STREQ(sch_ref_on_update_text(ref), "cascade");
    // Sort buffer: placed(8, align 4) at 0, has-value byte at 8; length 9.
    EXPECT_EQ(sch_ref_sort_byte_len(ref), 9u);
    EXPECT_EQ(sch_sort_has_value_offset(sch_ref_sort(ref, 0)), 8u);
    // Drawer list: table, key, reference, blob.
    EXPECT_EQ(walked([&](auto d) { return sch_iterate_table_drawers(ord, d, ZEL_FORWARD); },
                     sch_drawer_type),
              (std::vector<ZEL_DRAWER_TYPE>{ZEL_DRAWER_TABLE, ZEL_DRAWER_BTREE, ZEL_DRAWER_REF,
                                            ZEL_DRAWER_BLOB}));
    char buf[64];
    EXPECT_EQ(sch_ref_enum_text(ref, buf, sizeof buf), sOKAY);
    EXPECT_STREQ(buf, "REF_ORDERS_CUST");
    EXPECT_EQ(sch_col_enum_text(fc, buf, sizeof buf), sOKAY);
    EXPECT_STREQ(buf, "COL_ORDERS_CUST");
    EXPECT_EQ(sch_key_data_type_text(sch_tbl_primary_key(ord), buf, sizeof buf, ZEL_FALSE), sOKAY);
    EXPECT_STREQ(buf, "orders_orders_pk_KEY");
    EXPECT_EQ(sch_tbl_enum_text(ord, buf, 5), sTRUNCATE);
    EXPECT_STREQ(buf, "TABL");
}

TEST_F(SchemaShop, DropsGiveBackMemory) {
    EXPECT_EQ(sch_union_compatible(sch, sch), sOKAY);
    EXPECT_EQ(sch_col_union_compatible(sch_get_col_by_index(cust, 0), sch_get_col_by_index(ord, 0)),
              eUNIONCATMISMATCH);
    SCH_COL_INFO fc = sch_get_col_by_index(ord, 1);
    ASSERT_EQ(sch_ref_drop(ord, 0), sOKAY);
    EXPECT_EQ(sch_col_ref(fc), nullptr);
    EXPECT_EQ(sch_col_usage(fc) & SCH_COL_USAGE_REF, 0);
    EXPECT_EQ(sch_tbl_num_owners(cust), 0);
    EXPECT_EQ(sch_ref_drop(ord, 0), sOKAY);  // empty slot
    EXPECT_EQ(sch_ref_drop(ord, 1), eRANGE);
    ASSERT_EQ(sch_key_drop_fcn(sch_find_key_by_ndx(cust, 1)), sOKAY);
    EXPECT_EQ(sch_find_key_by_ndx(cust, 1), nullptr);
    EXPECT_EQ(sch_iterate_col_keys(sch_get_col_by_index(cust, 2), nullptr, ZEL_FORWARD), nullptr);
    SCH_KEY_INFO avl = sch_find_key_by_ndx(cust, 2);
    ASSERT_EQ(sch_key_drop_fcn(avl), sOKAY);
    EXPECT_EQ(sch_find_key_by_ndx(cust, 2), avl);  // the record stays
    EXPECT_EQ(sch_tbl_num_avls(cust), 0);
    ASSERT_EQ(sch_tbl_col_drop(sch_get_col_by_index(cust, 2), ZEL_FALSE), sOKAY);
    EXPECT_EQ(sch_find_col_by_ndx(cust, 2), nullptr);
    EXPECT_NE(sch_get_col_by_index(cust, 2), nullptr);
    ASSERT_EQ(sch_tbl_drop(all), sOKAY);
    EXPECT_EQ(sch_table(sch, 3), nullptr);
    EXPECT_EQ(sch_tbl_drawers_drop(ord), sOKAY);
}

TEST_F(SchemaShop, AvlKeysAndActivePositions) {
    SCH_KEY_INFO avl = sch_find_key_by_ndx(cust, 2);
    EXPECT_EQ(sch_iterate_avls(cust, nullptr, ZEL_FORWARD), avl);
    EXPECT_EQ(sch_iterate_avls(cust, nullptr, ZEL_REVERSE), avl);
    EXPECT_EQ(sch_iterate_avls(cust, avl, ZEL_FORWARD), nullptr);
    EXPECT_EQ(sch_iterate_avls(ord, nullptr, ZEL_FORWARD), nullptr);
    ASSERT_EQ(sch_key_drop_fcn(avl), sOKAY);
    EXPECT_EQ(sch_iterate_avls(cust, nullptr, ZEL_FORWARD), nullptr);
    // Two retired columns: the inverse array answers as the scan of
    // active_ndx does, for every id and one past them.
    ASSERT_EQ(sch_tbl_col_drop(sch_get_col_by_index(cust, 1), ZEL_FALSE), sOKAY);
    ASSERT_EQ(sch_tbl_col_drop(sch_get_col_by_index(cust, 3), ZEL_TRUE), sOKAY);
    ASSERT_EQ(sch_tbl_finalize(cust, ZEL_TRUE), sOKAY);
    const ZEL_COL_INDEX want[] = {0, 65535, 1, 65535, 2, 65535};
    for (ZEL_COL_INDEX id = 0; id < 6; ++id) EXPECT_EQ(sch_find_col_active_ndx(cust, id), want[id]);
}

TEST_F(SchemaTest, SizingAndCounters) {
    EXPECT_EQ(sch_set_max_table(sch, 0), eRANGE);  // arrays never shrink
    SCH_TBL_INFO *before = sch->tables;
    EXPECT_EQ(sch_set_max_table(sch, 1), sOKAY);
    EXPECT_EQ(sch->tables, before);
    EXPECT_EQ(sch_set_next_table(sch, 2), eRANGE);
    ASSERT_EQ(sch_set_max_table(sch, 4), sOKAY);
    EXPECT_EQ(sch_set_next_table(sch, 2), sOKAY);
    SCH_TBL_INFO ti = nullptr;
    EXPECT_EQ(sch_tbl_create(sch, 3, &ti), eRANGE);
    EXPECT_EQ(sch_tbl_create(sch, 2, &ti), sOKAY);  // equal to next_table passes
    EXPECT_EQ(sch_tbl_create(sch, 2, &ti), eBADCAT);
    EXPECT_EQ(sch_tbl_create(sch, 1, nullptr), eINVNULLARG);
    EXPECT_EQ(sch_tbl_create(sch, 0, &ti), eBADCAT);
    ASSERT_EQ(sch_set_next_domain(sch, 2), sOKAY);
    SCH_DOMAIN_INFO mi = nullptr;
    EXPECT_EQ(sch_dom_create(sch, 2, &mi), eRANGE);  // equal to next_domain fails
    EXPECT_EQ(sch_dom_create(sch, 1, &mi), sOKAY);
    EXPECT_EQ(sch_set_next_drawer(sch, 6), eRANGE);
    SCH_DRAWER_INFO di = nullptr;
    EXPECT_EQ(sch_drawer_create(sch, 3, &di), eBADCAT);
    ASSERT_EQ(sch_tbl_set_max_cols(ti, 2), sOKAY);
    SCH_COL_INFO ci = nullptr;
    EXPECT_EQ(sch_col_create(ti, 2, &ci), eRANGE);
    SCH_KEY_INFO ki = nullptr;
    EXPECT_EQ(sch_key_create(ti, 0, &ki), eRANGE);
    SCH_REF_INFO ri = nullptr;
    EXPECT_EQ(sch_ref_create(ti, 0, &ri), eRANGE);
    EXPECT_EQ(sch_tbl_set_max_cols(ti, 1), eRANGE);
}

// Drawers added at the next number: counted, the array grown by 8 when full,
// nothing counted or written when refused.
TEST_F(SchemaTest, DrawerAddTakesTheNextNumber) {
    SCH_DRAWER_INFO di = nullptr;
    EXPECT_EQ(sch_drawer_add(sch, ZEL_DRAWER_TABLE, 1, 1, nullptr), eINVNULLARG);
    EXPECT_EQ(sch_drawer_add(nullptr, ZEL_DRAWER_TABLE, 1, 1, &di), eINVNULLARG);
    const ZEL_DRAWER first = sch_next_drawer(sch), num = sch_num_drawers(sch);
    for (ZEL_DRAWER i = 0; i < 10; ++i) {
        ASSERT_EQ(sch_drawer_add(sch, ZEL_DRAWER_BLOB, 2, i, &di), sOKAY);
        EXPECT_EQ(sch_drawer_id(di), first + i);
        EXPECT_EQ(sch_drawer_src_table_id(di), 2u);
        EXPECT_EQ(sch_drawer_src_ndx(di), i);
        EXPECT_EQ(sch_drawer_type(di), ZEL_DRAWER_BLOB);
        EXPECT_EQ(sch_drawer(sch, first + i), di);
    }
    EXPECT_EQ(sch_next_drawer(sch), first + 10);
    EXPECT_EQ(sch_num_drawers(sch), num + 10);
    EXPECT_GE(sch_max_drawer(sch), first + 10);
    // A slot taken out of turn is refused, and the counts stand.
    SCH_DRAWER_INFO taken = nullptr;
    ASSERT_EQ(sch_drawer_create(sch, first + 10, &taken), sOKAY);
    di = nullptr;
    EXPECT_EQ(sch_drawer_add(sch, ZEL_DRAWER_REF, 1, 0, &di), eBADCAT);
    EXPECT_EQ(di, nullptr);
    EXPECT_EQ(sch_next_drawer(sch), first + 10);
    EXPECT_EQ(sch_num_drawers(sch), num + 10);
}

TEST_F(SchemaTest, TypeSetters) {
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t", {{"a", ZEL_INT32}}, 0, 0, &ti), sOKAY);
    SCH_TYPE_INFO pi = sch_col_type(sch_get_col_by_index(ti, 0));
    EXPECT_EQ(sch_type_set_elems(pi, 4), sOKAY);
    EXPECT_EQ(sch_type_set_length(pi, 4), eBADCAT);
    EXPECT_EQ(sch_type_set_scale(pi, 4), eBADCAT);
    ASSERT_EQ(sch_type_set_data_type(pi, ZEL_BCD, ZEL_TRUE), sOKAY);
    EXPECT_EQ(sch_type_set_length(pi, 256), eRANGE);
    EXPECT_EQ(sch_type_set_length(pi, 20), sOKAY);
    EXPECT_EQ(sch_type_set_scale(pi, 4), sOKAY);
    EXPECT_EQ(facts(sch_type_prec(pi), sch_type_scale(pi), sch_type_length(pi)), "20 4 20");
    EXPECT_EQ(sch_type_set_elems(pi, 2), eBADCAT);
    ASSERT_EQ(sch_type_set_data_type(pi, ZEL_DATE, ZEL_TRUE), sOKAY);
    EXPECT_EQ(sch_type_set_length(pi, 3), eBADCAT);
    ASSERT_EQ(sch_type_set_data_type(pi, ZEL_TIME, ZEL_TRUE), sOKAY);
    EXPECT_EQ(sch_type_set_length(pi, 3), sOKAY);
    ASSERT_EQ(sch_type_set_data_type(pi, ZEL_CLOB, ZEL_TRUE), sOKAY);
    EXPECT_EQ(sch_type_set_length(pi, 3), eBADCAT);
    // Without unicode the wide types narrow; the descriptor is the same row.
    ASSERT_EQ(sch_type_set_data_type(pi, ZEL_WCHAR, ZEL_FALSE), sOKAY);
    EXPECT_EQ(sch_type_data_type(pi), ZEL_WCHAR_UTF8);
    EXPECT_EQ(sch_type_info(pi), &wchar_utf8_type_info);
    ASSERT_EQ(sch_type_set_data_type(pi, ZEL_WCLOB, ZEL_FALSE), sOKAY);
    EXPECT_EQ(sch_type_data_type(pi), ZEL_WCLOB);
    EXPECT_EQ(sch_type_set_check_str(pi, "a > 0"), sOKAY);
    EXPECT_STREQ(sch_type_check_str(pi), "a > 0");
}

TEST_F(SchemaTest, ColumnSetterCodes) {
    SCH_TBL_INFO ti = nullptr, t2 = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t", {{"a", ZEL_INT32}, {"b", ZEL_BLOB}}, 2, 1, &ti), sOKAY);
    ASSERT_EQ(fx_addTable(sch, 2, "u", {{"x", ZEL_INT32}}, 0, 0, &t2), sOKAY);
    SCH_COL_INFO a = sch_get_col_by_index(ti, 0);
    EXPECT_EQ(sch_col_set_ref(a, 1), eRANGE);
    EXPECT_EQ(sch_col_set_ref(a, 0), eBADCAT);
    EXPECT_EQ(sch_col_set_key(a, 0), eRANGE);  // next_key still 0
    EXPECT_EQ(sch_col_set_key(a, 65535), sOKAY);
    EXPECT_EQ(sch_col_set_reftab(a, 9), eRANGE);
    EXPECT_EQ(sch_col_set_refcol(a, 0), eBADCAT);  // no reftab yet
    EXPECT_EQ(sch_col_set_reftab(a, 0), sOKAY);
    EXPECT_EQ(sch_col_reftab(a), sch_get_sysfiles_table());
    EXPECT_EQ(sch_col_set_reftab(a, 2), sOKAY);
    EXPECT_EQ(sch_col_set_refcol(a, 1), eRANGE);
    EXPECT_EQ(sch_col_set_refcol(a, 0), sOKAY);
    EXPECT_EQ(sch_col_set_blob_drawer(a, 99), eRANGE);
    EXPECT_EQ(sch_col_set_blob_drawer(a, sch_tbl_drawer(ti)), eBADCAT);
    EXPECT_EQ(sch_col_set_domain(a, 0), eBADCAT);  // has a type
    EXPECT_EQ(sch_tbl_set_drawer(ti, 0xFFFFFFFE), sOKAY);
    EXPECT_EQ(sch_tbl_set_drawer(ti, sch_tbl_drawer(t2)), eBADCAT);
    EXPECT_EQ(sch_col_set_not_null(a, "nn_a"), sOKAY);
    EXPECT_STREQ(sch_col_not_null_cname(a), "nn_a");
    EXPECT_EQ(sch_col_drop_not_null(a), sOKAY);
    EXPECT_EQ(sch_col_not_null_cname(a), nullptr);
    // Finalising a column: a blob needs its drawer, others must have none.
    SCH_COL_INFO b = sch_get_col_by_index(ti, 1);
    SCH_DRAWER_INFO keep = b->drawer;
    // One column a drawer: a second would free it twice.
    EXPECT_EQ(sch_col_set_blob_drawer(a, keep->ndx), eBADCAT);
    EXPECT_EQ(sch_col_set_blob_drawer(b, keep->ndx), sOKAY);
    b->drawer = nullptr;
    EXPECT_EQ(sch_col_finalize(b), eBADCAT);
    b->drawer = keep;
    SCH_KEY_INFO k0 = nullptr, k1 = nullptr;
    ASSERT_EQ(fx_addKey(ti, 0, "k0", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0}, true, &k0),
              sOKAY);
    ASSERT_EQ(sch_key_create(ti, 1, &k1), sOKAY);
    EXPECT_EQ(sch_key_set_type(k1, ZEL_KEY_TYPE_PRIMARY), eBADCAT);  // second primary
    EXPECT_EQ(sch_tbl_primary_key(ti), k0);
    EXPECT_EQ(sch_key_set_drawer(k1, sch_key_drawer_ndx(k0)), eBADCAT);  // not its source
    ASSERT_EQ(sch_key_set_num_elems(k1, 1), sOKAY);
    EXPECT_EQ(sch_elem_set_col(sch_key_elem(k1, 0), 5), eBADCAT);
    EXPECT_EQ(sch_key_finalize(k1), eBADCAT);  // last element without column
    SCH_REF_INFO ri = nullptr;
    ASSERT_EQ(sch_ref_create(ti, 0, &ri), sOKAY);
    ASSERT_EQ(sch_ref_set_num_cols(ri, 1), sOKAY);
    EXPECT_EQ(sch_ref_set_col(ri, 0, 0), eBADCAT);  // no reftab
    EXPECT_EQ(sch_ref_set_reftab(ri, 7), eBADCAT);
    ASSERT_EQ(sch_ref_set_reftab(ri, 2), sOKAY);
    EXPECT_EQ(sch_ref_set_refkey(ri, 0), eBADCAT);  // u has no key
    EXPECT_EQ(sch_ref_set_col(ri, 1, 0), eBADCAT);
    EXPECT_EQ(sch_ref_set_col(ri, 0, 0), sOKAY);
    ASSERT_EQ(sch_ref_set_num_sort_cols(ri, 1), sOKAY);
    EXPECT_EQ(sch_ref_set_sort_col(ri, 0, 2), eBADCAT);
    EXPECT_EQ(sch_ref_set_sort_order(ri, 1, ZEL_REVERSE), eBADCAT);
    EXPECT_EQ(sch_ref_finalize(ri), eBADCAT);  // sort column missing
    EXPECT_EQ(sch_ref_set_drawer(ri, sch_tbl_drawer(ti)), eBADCAT);
    // Locking by on_update.
    ri->on_update = ZEL_REF_ACTION_SET_NULL;
    ASSERT_EQ(sch_ref_finalize_locking(ri), sOKAY);
    EXPECT_TRUE(sch_ref_requires_write_for_update(ri));
    ri->on_update = ZEL_REF_ACTION_RESTRICT;
    ASSERT_EQ(sch_ref_finalize_locking(ri), sOKAY);
    EXPECT_FALSE(sch_ref_requires_write_for_update(ri));
    ri->on_update = ZEL_REF_ACTION_CASCADE;
    a->usage = SCH_COL_USAGE_KEY;
    ASSERT_EQ(sch_ref_finalize_locking(ri), sOKAY);
    EXPECT_TRUE(sch_ref_requires_write_for_update(ri));
}

TEST_F(SchemaTest, LocaleBeforeTypes) {
    ASSERT_EQ(sch_set_locale(sch, "C"), sOKAY);
    EXPECT_EQ(sch_set_locale(sch, "C"), sOKAY);
    EXPECT_EQ(sch_set_locale(sch, "POSIX"), eLOCALEMISMATCH);
    EXPECT_STREQ(sch_locale_text(sch), "C");
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t", {{"s", ZEL_CHAR, 9}}, 0, 0, &ti), sOKAY);
    SCH_TYPE_INFO_C pi = sch_col_type_c(sch_get_col_by_index(ti, 0));
    EXPECT_TRUE(pi->x.c.use_locale);
    EXPECT_EQ(sch_type_locale(pi), sch->locale.locale);
}

struct DefaultCase {
    ZEL_TYPE type;
    const char *text;
    ZEL_RETCODE rc;
};

TEST_F(SchemaTest, DefaultsByType) {
    // clang-format off
    const DefaultCase cases[] = {
        {ZEL_BOOL, "TRUE", sOKAY},              {ZEL_BOOL, "yes", eBADCAT},
        {ZEL_INT8, "128", eBADCAT},             {ZEL_INT8, "-128", sOKAY},
        {ZEL_UINT8, "256", eBADCAT},            {ZEL_UINT16, "65535", sOKAY},
        {ZEL_INT32, "12x", eBADCAT},            {ZEL_INT64, "12x", eINVLITERAL},
        {ZEL_UINT64, "-5", eRANGE},             {ZEL_FLOAT, "1e39", eBADCAT},
        {ZEL_FLOAT, "2.5", sOKAY},              {ZEL_DOUBLE, "1e300", sOKAY},
        {ZEL_BCD, "12.50", sOKAY},              {ZEL_BCD, "1.2.3", eBADCAT},
        {ZEL_DATE, "current_DATE", sOKAY},      {ZEL_DATE, "2021-01-31", sOKAY},
        {ZEL_TIME, "Current_Time", sOKAY},
        {ZEL_TIMESTAMPTZ, "current_timestamp", sOKAY},
        {ZEL_TIMESTAMPTZ, "2021-01-31 10:00:00+01:00", sOKAY},
        {ZEL_ROWID, "auto", sOKAY},             {ZEL_ROWID, "1", eBADCAT},
        {ZEL_UUID, "auto", sOKAY},
        {ZEL_UUID, "{12345678-1234-1234-1234-123456789abc}", sOKAY},
        {ZEL_VARCHAR, "hello", sOKAY},          {ZEL_BINARY, "ABc", eBADCAT},
        {ZEL_BINARY, "ABcd", sOKAY},            {ZEL_BINARY, "", sOKAY},
        {ZEL_BINARY, "zz", eBADCAT},            {ZEL_WCLOB_UTF8, "x", eNOTIMPLEMENTED}
    };
    // clang-format on
    ASSERT_EQ(sch_set_max_table(sch, 2), sOKAY);
    ASSERT_EQ(sch_set_next_table(sch, 2), sOKAY);
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(sch_tbl_create(sch, 1, &ti), sOKAY);
    ASSERT_EQ(sch_tbl_set_max_cols(ti, 1), sOKAY);
    SCH_COL_INFO ci = nullptr;
    ASSERT_EQ(sch_col_create(ti, 0, &ci), sOKAY);
    for (const auto &c : cases) {
        ci->type.type = c.type;
        EXPECT_EQ(sch_col_set_default(ci, c.text), c.rc) << c.type << " " << c.text;
    }
    ci->type.type = ZEL_BINARY;
    ASSERT_EQ(sch_col_set_default(ci, "ABcd"), sOKAY);
    const ZEL_VALUE *v = sch_col_def(ci);
    ASSERT_EQ(v->len, 2u);
    EXPECT_EQ(static_cast<const uint8_t *>(v->vt.pv)[1], 0xCD);
    EXPECT_STREQ(sch_col_defstr(ci), "ABcd");
    ci->type.type = ZEL_UUID;
    ASSERT_EQ(sch_col_set_default(ci, "auto"), sOKAY);
    EXPECT_EQ(sch_col_def(ci)->type, ZEL_DEFAULT_AUTO);
    ASSERT_EQ(sch_col_set_default(ci, nullptr), sOKAY);
    EXPECT_EQ(sch_col_def(ci)->status, vsNULL);
    EXPECT_EQ(sch_col_defstr(ci), nullptr);
    // A row id's "auto" leaves no value, so the domain's default shows.
    ASSERT_EQ(sch_set_next_domain(sch, 1), sOKAY);
    SCH_DOMAIN_INFO mi = nullptr;
    ASSERT_EQ(sch_dom_create(sch, 0, &mi), sOKAY);
    ASSERT_EQ(sch_type_set_data_type(sch_dom_type(mi), ZEL_WCLOB_UTF8, ZEL_TRUE), sOKAY);
    EXPECT_EQ(sch_dom_set_default(mi, "text"), sOKAY);  // domains take it
    ASSERT_EQ(sch_type_set_data_type(sch_dom_type(mi), ZEL_ROWID, ZEL_TRUE), sOKAY);
    ASSERT_EQ(sch_dom_set_default(mi, "auto"), sOKAY);
    ci->type.type = ZEL_NOVAL;
    ASSERT_EQ(sch_col_set_domain(ci, 0), sOKAY);
    ASSERT_EQ(sch_col_set_default(ci, "auto"), sOKAY);
    EXPECT_EQ(sch_col_def(ci), sch_dom_def(mi));
    EXPECT_EQ(sch_col_data_type(ci), ZEL_ROWID);
    ASSERT_EQ(sch_dom_set_width(mi, 12), sOKAY);
    EXPECT_EQ(sch_col_width(ci), 12);
}

TEST_F(SchemaTest, Triggers) {
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t", {{"a", ZEL_INT32}}, 0, 0, &ti), sOKAY);
    std::vector<SCH_TRIG_INFO> made;
    const uint64_t times[] = {30, 10, 20, 10};
    const char *names[] = {"c", "a", "b", "a2"};
    for (int i = 0; i < 4; ++i) {
        SCH_TRIG_INFO t = nullptr;
        ASSERT_EQ(sch_trig_allocate(names[i], 1, times[i], &t, sub), sOKAY);
        ASSERT_EQ(sch_trig_set_event(t, i == 2 ? ZEL_TRIG_DELETE : ZEL_TRIG_INSERT), sOKAY);
        ASSERT_EQ(sch_trig_set_timing(t, i == 1 ? ZEL_TRIG_AFTER : ZEL_TRIG_BEFORE), sOKAY);
        ASSERT_EQ(sch_trig_create(ti, t), sOKAY);
        made.push_back(t);
    }
    std::string order;
    for (auto t = sch_iterate_all_triggers(ti, nullptr); t; t = sch_iterate_all_triggers(ti, t))
        order += std::string(sch_trig_name(t)) + " ";
    EXPECT_EQ(order, "a a2 b c ");  // by crtime, equal ones behind
    order.clear();
    for (auto t = sch_iterate_triggers(ti, nullptr, ZEL_TRIG_BEFORE, ZEL_TRIG_INSERT); t;
         t = sch_iterate_triggers(ti, t, ZEL_TRIG_BEFORE, ZEL_TRIG_INSERT))
        order += std::string(sch_trig_name(t)) + " ";
    EXPECT_EQ(order, "a2 c ");
    SCH_TRIG_INFO t0 = made[0];
    ASSERT_EQ(sch_trig_alloc_updcols(t0, 2, sub), sOKAY);
    EXPECT_EQ(sch_trig_set_updcol(t0, 2, 0), eRANGE);
    EXPECT_EQ(sch_trig_set_updcol(t0, 1, 7), sOKAY);
    EXPECT_EQ(sch_trig_updcol(t0, 1), 7);
    ASSERT_EQ(sch_trig_alloc_colrefs(t0, 3, sub), sOKAY);
    ASSERT_EQ(sch_trigcol_set_ref(sch_trig_colref(t0, 1), ZEL_TRIG_NEW), sOKAY);
    EXPECT_EQ(sch_iterate_trig_cols(t0, nullptr, ZEL_TRIG_NEW), sch_trig_colref(t0, 1));
    EXPECT_EQ(sch_iterate_trig_cols(t0, sch_trig_colref(t0, 1), ZEL_TRIG_NEW), nullptr);
    EXPECT_EQ(sch_trig_drop(ti, "B"), sOKAY);
    EXPECT_EQ(sch_trig_drop(ti, "b"), eNOTFOUND);
    for (auto t : made) sch_trig_free(t, sub);
    ti->triggers = nullptr;
}

TEST_F(SchemaTest, KeyNamesAndDrawerRoom) {
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t", {{"a", ZEL_INT32}, {"b", ZEL_INT16}}, 1, 0, &ti), sOKAY);
    SCH_KEY_INFO ki = nullptr;
    ASSERT_EQ(
        fx_addKey(ti, 0, nullptr, ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_BTREE, {0, 1}, false, &ki),
        sOKAY);
    EXPECT_STREQ(sch_key_name(ki), "a_b");
    EXPECT_TRUE(sch_key_inline(ki));
    ASSERT_EQ(sch_tbl_finalize(ti, ZEL_FALSE), sOKAY);
    // No blob, no reference, a key without drawer: one spare slot.
    EXPECT_EQ(sch_tbl_num_drawers(ti), 1u);
    EXPECT_EQ(sch_tbl_related_drawer(ti, 1), nullptr);
}

// Everything a catalogue allocates: the shop, texts, defaults of every type,
// a domain, the lookups that build arrays, a trigger with a value on a stack
// tag. Texts being replaced keep their old value when the copy fails.
ZEL_RETCODE buildEverything(SCH_INFO sch, B_TAG_STACK stack, SCH_TRIG_INFO *trig) {
    // clang-format off
    static const char *const defaults[] = {"7", "TRUE", "-7", "7", "-7", "7", "-7", "7", "7",
        "2.5", "1e300", "12.50", "2021-01-31", "10:00:00", "10:00:00+01:00",
        "2021-01-31 10:00:00", "2021-01-31 10:00:00+01:00", "auto",
        "{12345678-1234-1234-1234-123456789abc}", "x", "hello", "w", "wide", "ABcd", "ABcd",
        "ABcd", "text", "wtext", "7", "2.5"};
    // clang-format on
    ZEL_RETCODE rc;
    SCH_TBL_INFO cust = nullptr, ord = nullptr, all = nullptr;
    SCH_REF_INFO ref = nullptr;
    const B_TAG_SUB tag = sch_subtag(sch);
    ZEL_CHECK(rc = sch_set_locale(sch, "C"));
    ZEL_CHECK(rc = sch_set_name(sch, "shop"));
    ZEL_CHECK(rc = buildShop(sch, &cust, &ord, &all, &ref));
    if ((rc = sch_tbl_set_name(ord, "orders2")) < 0) {
        EXPECT_STREQ(sch_tbl_name(ord), "orders");
        return rc;
    }
    SCH_COL_INFO amount = sch_get_col_by_index(ord, 2);
    ZEL_CHECK(rc = sch_tbl_set_check_str(ord, "amount > 0"));
    ZEL_CHECK(rc = sch_tbl_set_check_name(ord, "positive"));
    ZEL_CHECK(rc = sch_col_set_format(amount, "0.00"));
    ZEL_CHECK(rc = sch_type_set_check_str(sch_col_type(amount), "amount < 1000"));
    ZEL_CHECK(rc = sch_type_set_check_name(sch_col_type(amount), "small"));
    ZEL_CHECK(rc = sch_col_set_not_null(amount, "nn_amount"));
    ZEL_CHECK(rc = sch_key_set_name(sch_tbl_primary_key(ord), "pk"));
    ZEL_CHECK(rc = sch_ref_set_name(ref, "orders_of"));
    EXPECT_EQ(std::size(defaults), size_t{sch_tbl_num_cols(all)});
    for (ZEL_COL_INDEX i = 0; i < sch_tbl_num_cols(all); ++i)
        ZEL_CHECK(rc = sch_col_set_default(sch_get_col_by_index(all, i), defaults[i]));
    SCH_DOMAIN_INFO mi = nullptr;
    ZEL_CHECK(rc = sch_set_next_domain(sch, 1));
    ZEL_CHECK(rc = sch_dom_create(sch, 0, &mi));
    ZEL_CHECK(rc = sch_dom_set_name(mi, "money"));
    ZEL_CHECK(rc = sch_dom_set_format(mi, "0.00"));
    ZEL_CHECK(rc = sch_type_set_data_type(sch_dom_type(mi), ZEL_BCD, ZEL_TRUE));
    ZEL_CHECK(rc = sch_dom_set_default(mi, "1.5"));
    // The by-name array: a failure to build it reads as "not found".
    if (sch_find_table_by_name(sch, "customer", nullptr) != cust) return eNOMEMORY;
    ZEL_DRAWER n = 0, *list = nullptr;
    ZEL_CHECK(rc = sch_get_user_drawer_list(sch, &n, &list, tag));
    b_tag_subFree(tag, list);
    ZEL_CHECK(rc = sch_trig_allocate("audit", 1, 10, trig, tag));
    ZEL_CHECK(rc = sch_trig_alloc_updcols(*trig, 2, tag));
    ZEL_CHECK(rc = sch_trig_alloc_colrefs(*trig, 2, tag));
    SCH_TRIG_COL_INFO tci = sch_trig_colref(*trig, 1);
    ZEL_CHECK(rc = sch_trigcol_alloc_val(tci, stack));
    b_tag_stackFree(stack, tci->val);
    ZEL_CHECK(rc = sch_trig_create(ord, *trig));
    return sOKAY;
}

// With allocation 1, 2, 3, ... failing every step gives eNOMEMORY, creators
// leave their result alone, and the catalogue destroyed (the trigger after
// it) gives back every byte.
TEST_F(SchemaTest, EverythingUnderFailingAllocations) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    const int faults = oom_check(master, {sub},
                                 [&] {
                                     SCH_INFO s = nullptr;
                                     ZEL_RETCODE rc = sch_create(&s, sub);
                                     if (rc != sOKAY) {
                                         EXPECT_EQ(s, nullptr);
                                         return rc;
                                     }
                                     SCH_TRIG_INFO trig = nullptr;
                                     rc = buildEverything(s, stack, &trig);
                                     sch_destroy(s);
                                     if (trig != nullptr) sch_trig_free(trig, sub);
                                     return rc;
                                 },
                                 {}, {stack});
    EXPECT_GT(faults, 200);
    b_tag_stackDestroy(stack);
}

// A failed growth of the references is deliberately swallowed: the count
// stays and the call still succeeds.
TEST_F(SchemaTest, FailedReferenceArrayKeepsCount) {
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t", {{"x", ZEL_INT32}}, 0, 0, &ti), sOKAY);
    ASSERT_EQ(b_tag_masterFailAllocation(master, 1), sOKAY);
    EXPECT_EQ(sch_tbl_set_next_ref(ti, 6), sOKAY);
    EXPECT_EQ(b_tag_masterFailureGiven(master), ZEL_TRUE);
    EXPECT_EQ(sch_tbl_next_ref(ti), 0);
    ASSERT_EQ(b_tag_masterFailAllocation(master, 0), sOKAY);
}

TEST_F(SchemaTest, UnionCompatibility) {
    SCH_INFO other = nullptr;
    ASSERT_EQ(sch_create(&other, sub), sOKAY);
    SCH_TBL_INFO a = nullptr, b = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t", {{"x", ZEL_INT32}, {"y", ZEL_CHAR, 9}}, 0, 0, &a), sOKAY);
    ASSERT_EQ(fx_addTable(other, 1, "T", {{"X", ZEL_INT32}, {"y", ZEL_CHAR, 9}}, 0, 0, &b), sOKAY);
    EXPECT_EQ(sch_union_compatible(sch, other), sOKAY);  // names ignore case
    // A text only in the second catalogue is no difference; only in the
    // first, it is.
    ASSERT_EQ(sch_type_set_check_str(sch_col_type(sch_get_col_by_index(b, 0)), "x > 0"), sOKAY);
    EXPECT_EQ(sch_union_compatible(sch, other), sOKAY);
    EXPECT_EQ(sch_union_compatible(other, sch), eUNIONCATMISMATCH);
    ASSERT_EQ(sch_col_set_width(sch_get_col_by_index(a, 1), 3), sOKAY);
    EXPECT_EQ(sch_union_compatible(sch, other), eUNIONCATMISMATCH);
    sch_destroy(other);
}

}  // namespace
