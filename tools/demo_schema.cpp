// The catalogue section of `zelbase demo`: two related tables built through
// the setters, finalised, and printed with their columns, types, offsets,
// keys, the reference between them and the row buffer sizes.
#include <cinttypes>
#include <cstdio>

#include "schema.h"
#include "schema_build.h"
#include "schema_layout.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "zelbase_cmds.h"

int zb_demo_schema(FILE *out);

namespace {

struct ZbSchemaCol {
    const char *name;
    ZEL_TYPE type;
    uint32_t len;
    bool notNull;
};

ZEL_RETCODE zb_schema_table(SCH_INFO sch, ZEL_TBL_INDEX id, const char *name,
                            const ZbSchemaCol *cols, ZEL_COL_INDEX n, SCH_TBL_INFO *pti) {
    ZEL_RETCODE rc;
    SCH_TBL_INFO ti = nullptr;
    ZEL_CHECK(rc = sch_tbl_create(sch, id, &ti));
    ZEL_CHECK(rc = sch_set_num_tables(sch, sch_num_tables(sch) + 1));
    ZEL_CHECK(rc = sch_tbl_set_name(ti, name));
    SCH_DRAWER_INFO d = nullptr;
    ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_TABLE, id, id, &d));
    ZEL_CHECK(rc = sch_tbl_set_drawer(ti, sch_drawer_id(d)));
    ZEL_CHECK(rc = sch_tbl_set_max_cols(ti, n));
    ZEL_CHECK(rc = sch_tbl_set_num_cols(ti, n));
    ZEL_CHECK(rc = sch_tbl_set_next_col(ti, n));
    for (ZEL_COL_INDEX i = 0; i < n; ++i) {
        SCH_COL_INFO ci = nullptr;
        ZEL_CHECK(rc = sch_col_create(ti, i, &ci));
        ZEL_CHECK(rc = sch_col_set_name(ci, cols[i].name));
        ZEL_CHECK(rc = sch_type_set_data_type(sch_col_type(ci), cols[i].type, ZEL_TRUE));
        if (cols[i].len) ZEL_CHECK(rc = sch_type_set_length(sch_col_type(ci), cols[i].len));
        if (cols[i].notNull) ZEL_CHECK(rc = sch_col_set_not_null(ci, nullptr));
        ZEL_CHECK(rc = sch_col_finalize(ci));
    }
    ZEL_CHECK(rc = sch_tbl_set_max_keys(ti, 1));
    ZEL_CHECK(rc = sch_tbl_set_next_key(ti, 1));
    ZEL_CHECK(rc = sch_tbl_set_num_keys(ti, 1));
    SCH_KEY_INFO ki = nullptr;
    ZEL_CHECK(rc = sch_key_create(ti, 0, &ki));
    ZEL_CHECK(rc = sch_key_set_type(ki, ZEL_KEY_TYPE_PRIMARY));
    ZEL_CHECK(rc = sch_key_set_method(ki, ZEL_KEY_METHOD_BTREE));
    ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_BTREE, id, 0, &d));
    ZEL_CHECK(rc = sch_key_set_drawer(ki, sch_drawer_id(d)));
    ZEL_CHECK(rc = sch_key_set_num_elems(ki, 1));
    ZEL_CHECK(rc = sch_elem_set_col(sch_key_elem(ki, 0), 0));
    ZEL_CHECK(rc = sch_key_finalize(ki));
    *pti = ti;
    return sOKAY;
}

ZEL_RETCODE zb_schema_build(SCH_INFO sch, SCH_TBL_INFO *pCust, SCH_TBL_INFO *pOrd) {
    static const ZbSchemaCol custCols[] = {{"id", ZEL_INT32, 0, true},
                                           {"name", ZEL_VARCHAR, 41, true},
                                           {"vip", ZEL_BOOL, 0, false},
                                           {"since", ZEL_DATE, 0, false}};
    static const ZbSchemaCol ordCols[] = {{"id", ZEL_INT64, 0, true},
                                          {"customer", ZEL_INT32, 0, true},
                                          {"amount", ZEL_BCD, 12, false},
                                          {"placed", ZEL_TIMESTAMP, 0, false},
                                          {"code", ZEL_CHAR, 9, false}};
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_set_name(sch, "shop"));
    ZEL_CHECK(rc = sch_set_max_table(sch, 3));
    ZEL_CHECK(rc = sch_set_next_table(sch, 3));
    ZEL_CHECK(rc = zb_schema_table(sch, 1, "customer", custCols, 4, pCust));
    ZEL_CHECK(rc = zb_schema_table(sch, 2, "orders", ordCols, 5, pOrd));
    ZEL_CHECK(rc = sch_col_set_default(sch_find_col_by_name(*pCust, "vip"), "false"));
    ZEL_CHECK(rc = sch_col_set_default(sch_find_col_by_name(*pOrd, "placed"), "current_timestamp"));

    // orders.customer refers to the primary key of customer.
    SCH_TBL_INFO ord = *pOrd;
    ZEL_CHECK(rc = sch_tbl_set_next_ref(ord, 1));
    ZEL_CHECK(rc = sch_tbl_set_num_refs(ord, 1));
    SCH_REF_INFO ri = nullptr;
    ZEL_CHECK(rc = sch_ref_create(ord, 0, &ri));
    SCH_DRAWER_INFO d = nullptr;
    ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_REF, 2, 0, &d));
    ZEL_CHECK(rc = sch_ref_set_drawer(ri, sch_drawer_id(d)));
    ZEL_CHECK(rc = sch_ref_set_on_delete(ri, ZEL_REF_ACTION_CASCADE));
    ZEL_CHECK(rc = sch_ref_set_reftab(ri, 1));
    ZEL_CHECK(rc = sch_ref_set_refkey(ri, 0));
    ZEL_CHECK(rc = sch_ref_set_num_cols(ri, 1));
    ZEL_CHECK(rc = sch_ref_set_col(ri, 0, 1));
    ZEL_CHECK(rc = sch_ref_set_num_sort_cols(ri, 1));
    ZEL_CHECK(rc = sch_ref_set_sort_col(ri, 0, 3));
    ZEL_CHECK(rc = sch_ref_set_sort_order(ri, 0, ZEL_REVERSE));
    ZEL_CHECK(rc = sch_ref_finalize(ri));
    ZEL_CHECK(rc = sch_ref_finalize_locking(ri));
    ZEL_CHECK(rc = sch_tbl_finalize(*pCust, ZEL_TRUE));
    ZEL_CHECK(rc = sch_tbl_finalize(ord, ZEL_TRUE));
    sch_calc_num_refs(sch);
    return sOKAY;
}

void zb_schema_print(FILE *out, SCH_TBL_INFO ti) {
    std::fprintf(out, "  table %u \"%s\" (drawer %u), %u bytes of column data\n", sch_tbl_index(ti),
                 sch_tbl_name(ti), sch_tbl_drawer(ti), sch_tbl_byte_len(ti));
    std::fprintf(out, "    %-10s %-10s %6s %6s %9s  %s\n", "column", "type", "bytes", "offset",
                 "has-value", "default");
    for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD)) {
        char hv[16] = "-";
        if (sch_col_has_value_offset(ci))
            std::snprintf(hv, sizeof hv, "%u", sch_col_has_value_offset(ci));
        std::fprintf(out, "    %-10s %-10s %6u %6u %9s  %s\n", sch_col_name(ci),
                     sch_col_data_type_text(ci), sch_col_byte_len(ci), sch_col_offset(ci), hv,
                     sch_col_defstr(ci) ? sch_col_defstr(ci) : "");
    }
    for (auto ki = sch_iterate_keys_active(ti, nullptr, ZEL_FORWARD); ki;
         ki = sch_iterate_keys_active(ti, ki, ZEL_FORWARD))
        std::fprintf(out, "    key \"%s\": %s %s on %s, %u-byte key buffer, drawer %u\n",
                     sch_key_name(ki), sch_key_type_text(ki), sch_key_method_text(ki),
                     sch_col_name(sch_elem_col(sch_key_elem_c(ki, 0))), sch_key_byte_len(ki),
                     sch_key_drawer_ndx(ki));
    for (auto ri = sch_iterate_refs(ti, nullptr, ZEL_FORWARD); ri;
         ri = sch_iterate_refs(ti, ri, ZEL_FORWARD))
        std::fprintf(
            out, "    reference \"%s\": %s -> %s.%s, on delete %s, members sorted by %s %s\n",
            sch_ref_name(ri), sch_col_name(sch_ref_col(ri, 0)), sch_tbl_name(sch_ref_owner(ri)),
            sch_key_name(sch_ref_key(ri)), sch_ref_on_delete_text(ri),
            sch_col_name(sch_ref_sort_col(ri, 0)), sch_sort_dir_text(sch_ref_sort(ri, 0)));
    ZEL_ROW_BUFFER_INFO b{};
    if (sch_tbl_get_buffer_info(ti, &b) == sOKAY)
        std::fprintf(out,
                     "    row buffer: %zu bytes = %zu of links, %zu of status (padded to %zu), "
                     "%zu of data\n",
                     b.row_buffer_size, b.col_status_offset, b.num_cols * size_t{4},
                     b.col_data_offset, b.col_data_size);
}

}  // namespace

int zb_demo_schema(FILE *out) {
    std::fprintf(out, "Catalogue: two related tables built through the setters\n");
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    int64_t start = 0, cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &start, &peak, nullptr);
    SCH_INFO sch = nullptr;
    SCH_TBL_INFO cust = nullptr, ord = nullptr;
    ZEL_RETCODE rc = sch_create(&sch, sub);
    if (rc == sOKAY) rc = zb_schema_build(sch, &cust, &ord);
    if (rc == sOKAY) {
        std::fprintf(out, "catalogue \"%s\": %u user tables, %u drawers in use, %u reference\n",
                     sch_name(sch), sch_num_user_tables(sch), sch_num_drawers(sch),
                     sch_num_refs(sch));
        for (auto ti = sch_iterate_all_tables(sch, nullptr, ZEL_FORWARD); ti;
             ti = sch_iterate_all_tables(sch, ti, ZEL_FORWARD))
            zb_schema_print(out, ti);
        SCH_TBL_INFO found = sch_find_table_by_name(sch, "ORDERS", nullptr);
        std::fprintf(out,
                     "lookup by name \"ORDERS\" (any case): table %u; column id 0x%" PRIX32
                     " is %s.%s\n",
                     sch_tbl_index(found), sch_col_constant(sch_find_col_by_name(ord, "amount")),
                     sch_tbl_name(ord), "amount");
    } else {
        std::fprintf(out, "building the catalogue failed: %d\n", static_cast<int>(rc));
    }
    sch_destroy(sch);
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    std::fprintf(
        out, "catalogue destroyed: %" PRId64 " bytes of it left on its tag (peak %" PRId64 ")\n",
        cur - start, peak - start);
    return rc == sOKAY && cur == start ? 0 : 1;
}
