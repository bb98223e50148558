// `zelbase row encode --table T [--expanded] COL=VALUE...` builds a row of a
// table of the built-in sample catalogue from text and prints its stored
// bytes as an annotated table; `zelbase row decode --table T [--expanded]
// HEX` prints the table of the bytes given and the row the library reads
// from them. The sample catalogue ("shop": customer and orders, with an AVL
// key, a blob, a rowid column and a reference) is also what `zelbase node`
// and the demo use.
#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "error.h"
#include "row.h"
#include "schema.h"
#include "schema_build.h"
#include "schema_ops.h"
#include "tag_sub.h"
#include "value.h"
#include "zelbase_cmds.h"

int zb_cmd_row(int argc, char **argv);

namespace {

struct ZbRowCol {
    const char *name;
    ZEL_TYPE type;
    uint32_t len;  // byte length of text, or decimal precision
    bool notNull;
    uint16_t elems = 0;  // array elements
};

ZEL_RETCODE zb_row_table(SCH_INFO sch, ZEL_TBL_INDEX id, const char *name,
                         const std::vector<ZbRowCol> &cols, SCH_TBL_INFO *pti) {
    ZEL_RETCODE rc;
    SCH_TBL_INFO ti = nullptr;
    ZEL_CHECK(rc = sch_tbl_create(sch, id, &ti));
    ZEL_CHECK(rc = sch_set_num_tables(sch, sch_num_tables(sch) + 1));
    ZEL_CHECK(rc = sch_tbl_set_name(ti, name));
    SCH_DRAWER_INFO d = nullptr;
    ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_TABLE, id, id, &d));
    ZEL_CHECK(rc = sch_tbl_set_drawer(ti, sch_drawer_id(d)));
    const auto n = static_cast<ZEL_COL_INDEX>(cols.size());
    ZEL_CHECK(rc = sch_tbl_set_max_cols(ti, n));
    ZEL_CHECK(rc = sch_tbl_set_num_cols(ti, n));
    ZEL_CHECK(rc = sch_tbl_set_next_col(ti, n));
    for (ZEL_COL_INDEX i = 0; i < n; ++i) {
        SCH_COL_INFO ci = nullptr;
        ZEL_CHECK(rc = sch_col_create(ti, i, &ci));
        ZEL_CHECK(rc = sch_col_set_name(ci, cols[i].name));
        ZEL_CHECK(rc = sch_type_set_data_type(sch_col_type(ci), cols[i].type, ZEL_TRUE));
        if (cols[i].len) ZEL_CHECK(rc = sch_type_set_length(sch_col_type(ci), cols[i].len));
        if (cols[i].type == ZEL_BCD) ZEL_CHECK(rc = sch_type_set_scale(sch_col_type(ci), 2));
        if (cols[i].notNull) ZEL_CHECK(rc = sch_col_set_not_null(ci, nullptr));
        if (cols[i].elems) ZEL_CHECK(rc = sch_type_set_elems(sch_col_type(ci), cols[i].elems));
        if (cols[i].type & ZEL_TYPE_LOB_BIT) {
            ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_BLOB, id, i, &d));
            ZEL_CHECK(rc = sch_col_set_blob_drawer(ci, sch_drawer_id(d)));
        }
        ZEL_CHECK(rc = sch_col_finalize(ci));
    }
    ZEL_CHECK(rc = sch_tbl_set_max_keys(ti, 3));
    *pti = ti;
    return sOKAY;
}

ZEL_RETCODE zb_row_key(SCH_TBL_INFO ti, ZEL_KEY_INDEX id, const char *name, ZEL_KEY_TYPE type,
                       ZEL_KEY_METHOD method, const std::vector<ZEL_COL_INDEX> &cols) {
    ZEL_RETCODE rc;
    SCH_KEY_INFO ki = nullptr;
    ZEL_CHECK(rc = sch_key_create(ti, id, &ki));
    ZEL_CHECK(rc = sch_tbl_set_num_keys(ti, sch_tbl_num_keys(ti) + 1));
    ZEL_CHECK(rc = sch_tbl_set_next_key(ti, id + 1));
    ZEL_CHECK(rc = sch_key_set_name(ki, name));
    ZEL_CHECK(rc = sch_key_set_type(ki, type));
    ZEL_CHECK(rc = sch_key_set_method(ki, method));
    if (method != ZEL_KEY_METHOD_AVL) {
        SCH_DRAWER_INFO d = nullptr;
        const ZEL_DRAWER_TYPE type = method == ZEL_KEY_METHOD_HASH    ? ZEL_DRAWER_HASH
                                     : method == ZEL_KEY_METHOD_RTREE ? ZEL_DRAWER_RTREE
                                                                      : ZEL_DRAWER_BTREE;
        ZEL_CHECK(rc = sch_drawer_add(sch_tbl_schema(ti), type, sch_tbl_index(ti), id, &d));
        ZEL_CHECK(rc = sch_key_set_drawer(ki, sch_drawer_id(d)));
    }
    ZEL_CHECK(rc = sch_key_set_num_elems(ki, static_cast<ZEL_COL_INDEX>(cols.size())));
    for (size_t i = 0; i < cols.size(); ++i) {
        ZEL_CHECK(rc = sch_elem_set_col(sch_key_elem(ki, static_cast<ZEL_COL_INDEX>(i)), cols[i]));
        SCH_COL_INFO ci = sch_get_col_by_index(ti, cols[i]);
        ZEL_CHECK(rc = sch_col_set_usage(ci, sch_col_usage(ci) | SCH_COL_USAGE_KEY));
    }
    return sch_key_finalize(ki);
}

ZEL_RETCODE zb_row_build(SCH_INFO sch) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_set_name(sch, "shop"));
    ZEL_CHECK(rc = sch_set_max_table(sch, 4));
    ZEL_CHECK(rc = sch_set_next_table(sch, 4));
    SCH_TBL_INFO cust = nullptr, ord = nullptr, site = nullptr;
    ZEL_CHECK(rc = zb_row_table(sch, 1, "customer",
                                {{"id", ZEL_INT32, 0, true},
                                 {"name", ZEL_VARCHAR, 81, false},
                                 {"email", ZEL_VARCHAR, 161, false},
                                 {"vip", ZEL_BOOL, 0, false},
                                 {"since", ZEL_DATE, 0, false},
                                 {"balance", ZEL_BCD, 12, false},
                                 {"photo", ZEL_BLOB, 0, false},
                                 {"rid", ZEL_ROWID, 0, false}},
                                &cust));
    ZEL_CHECK(
        rc = zb_row_key(cust, 0, "customer_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0}));
    ZEL_CHECK(rc = zb_row_key(cust, 1, "by_name", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_AVL, {1}));
    ZEL_CHECK(
        rc = zb_row_key(cust, 2, "by_since", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_BTREE, {4, 1}));
    ZEL_CHECK(rc = zb_row_table(sch, 2, "orders",
                                {{"id", ZEL_INT64, 0, true},
                                 {"customer", ZEL_INT32, 0, false},
                                 {"placed", ZEL_TIMESTAMP, 0, false},
                                 {"amount", ZEL_BCD, 12, false},
                                 {"note", ZEL_VARCHAR, 81, false}},
                                &ord));
    ZEL_CHECK(rc =
                  zb_row_key(ord, 0, "orders_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0}));
    // orders.customer refers to customer, its members sorted by placed.
    ZEL_CHECK(rc = sch_tbl_set_next_ref(ord, 1));
    ZEL_CHECK(rc = sch_tbl_set_num_refs(ord, 1));
    SCH_REF_INFO ri = nullptr;
    ZEL_CHECK(rc = sch_ref_create(ord, 0, &ri));
    ZEL_CHECK(rc = sch_ref_set_name(ri, "orders_customer"));
    SCH_DRAWER_INFO d = nullptr;
    ZEL_CHECK(rc = sch_drawer_add(sch, ZEL_DRAWER_REF, 2, 0, &d));
    ZEL_CHECK(rc = sch_ref_set_drawer(ri, sch_drawer_id(d)));
    ZEL_CHECK(rc = sch_ref_set_reftab(ri, 1));
    ZEL_CHECK(rc = sch_ref_set_refkey(ri, 0));
    ZEL_CHECK(rc = sch_ref_set_num_cols(ri, 1));
    ZEL_CHECK(rc = sch_ref_set_col(ri, 0, 1));
    ZEL_CHECK(rc = sch_ref_set_num_sort_cols(ri, 1));
    ZEL_CHECK(rc = sch_ref_set_sort_col(ri, 0, 2));
    ZEL_CHECK(rc = sch_ref_finalize(ri));
    ZEL_CHECK(rc = sch_ref_finalize_locking(ri));
    // site: a hash key over a nullable code and kind, and a spatial key over
    // its area, the lows (x, y) then the highs.
    ZEL_CHECK(rc = zb_row_table(sch, 3, "site",
                                {{"id", ZEL_INT32, 0, true},
                                 {"code", ZEL_VARCHAR, 9, false},
                                 {"kind", ZEL_INT16, 0, false},
                                 {"area", ZEL_INT32, 0, false, 4}},
                                &site));
    ZEL_CHECK(rc = zb_row_key(site, 0, "site_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0}));
    ZEL_CHECK(rc = zb_row_key(site, 1, "by_code", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_HASH,
                              {1, 2, 0}));
    ZEL_CHECK(
        rc = zb_row_key(site, 2, "by_area", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_RTREE, {3}));
    ZEL_CHECK(rc = sch_tbl_finalize(cust, ZEL_TRUE));
    ZEL_CHECK(rc = sch_tbl_finalize(ord, ZEL_TRUE));
    ZEL_CHECK(rc = sch_tbl_finalize(site, ZEL_TRUE));
    sch_calc_num_refs(sch);
    return sOKAY;
}

ZEL_RETCODE zb_row_put(B_OUTPUT_CTX ctx, uint32_t c) {
    static_cast<std::string *>(ctx)->push_back(static_cast<char>(c));
    return sOKAY;
}

}  // namespace

ZEL_RETCODE zb_row_catalog(B_TAG_SUB sub, SCH_INFO *psch) {
    SCH_INFO sch = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_create(&sch, sub));
    if ((rc = zb_row_build(sch)) != sOKAY) {
        sch_destroy(sch);
        return rc;
    }
    *psch = sch;
    return sOKAY;
}

std::string zb_row_hex(const uint8_t *p, size_t n) {
    std::string s;
    char two[4];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(two, sizeof two, i ? " %02X" : "%02X", p[i]);
        s += two;
    }
    return s;
}

bool zb_row_parse_hex(int argc, char **argv, std::vector<uint8_t> *out) {
    std::string digits;
    for (int i = 0; i < argc; ++i)
        for (const char *p = argv[i]; *p; ++p) {
            if (*p == ' ' || *p == ':' || *p == ',') continue;
            if (!std::isxdigit(static_cast<unsigned char>(*p))) return false;
            digits += *p;
        }
    if (digits.size() % 2) return false;
    for (size_t i = 0; i < digits.size(); i += 2)
        out->push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return true;
}

std::string zb_row_value_text(SCH_COL_INFO_C ci, const ZEL_VALUE *v) {
    std::string s;
    const uint16_t elems = sch_col_num_elems(ci);
    for (uint32_t e = 0; e < (elems ? elems : 1u); ++e) {
        if (e) s += ",";
        if (sch_col_tostring_fcn(ci, v, e, 0, zb_row_put, &s) != sOKAY) s += "?";
    }
    return s;
}

// The annotated table, one line per field: offset, bytes, meaning.
void ZbAnnot::line(const char *fmt, ...) {
    char meaning[256];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(meaning, sizeof meaning, fmt, ap);
    va_end(ap);
    std::string hex = zb_row_hex(bytes.data() + mark, pos() - mark);
    if (hex.size() > 35) hex = hex.substr(0, 32) + "...";
    std::fprintf(out, "  %6zu  %-35s  %s\n", mark, hex.c_str(), meaning);
    mark = pos();
}

ZbAnnot::ZbAnnot(FILE *o, const std::vector<uint8_t> &b, B_TAG_SUB s) : out(o), bytes(b), sub(s) {
    b_bufferInitStatic(&buf, const_cast<uint8_t *>(bytes.data()), bytes.size(), bytes.size());
    b_decoderInit(&dec, b_bufferInputByte, b_bufferInputBytesBulk, &buf, sub);
    std::fprintf(out, "  %6s  %-35s  %s\n", "offset", "bytes", "meaning");
}

// One value of column `ci` from the stream, read and printed as its type.
bool ZbAnnot::value(SCH_COL_INFO_C ci, const char *label) {
    const ZEL_TYPE_INFO *ops = sch_type_info(sch_col_type_c(ci));
    if (sch_col_data_type(ci) & ZEL_TYPE_LOB_BIT) {
        uint32_t mark1;
        if (b_decoderDecodeUint32(&dec, &mark1) != sOKAY) return fail("presence mark");
        line("%s %s: present (mark %u; its content is in chunks)", label,
             sch_col_name(ci) ? sch_col_name(ci) : "column", mark1);
        return true;
    }
    ZEL_VALUE v;
    zel_valueInit(&v);
    const ZEL_RETCODE rc = ops->unpack_fcn(sch_col_type_c(ci), &v, sub, &dec);
    if (rc != sOKAY) return fail(sch_col_name(ci) ? sch_col_name(ci) : "a retired column's value");
    line("%s %s = %s", label, sch_col_name(ci) ? sch_col_name(ci) : "column",
         zb_row_value_text(ci, &v).c_str());
    sch_col_free_fcn(ci, &v, sub);
    return true;
}

bool ZbAnnot::count(const char *what, uint32_t *n) {
    if (b_decoderDecodeUint32(&dec, n) != sOKAY) return fail(what);
    line("%s: %u", what, *n);
    return true;
}

bool ZbAnnot::fail(const char *what) {
    line("!! %s cannot be read here", what);
    return false;
}

namespace {

void zb_row_compact_table(FILE *out, SCH_TBL_INFO_C ti, const std::vector<uint8_t> &bytes,
                          B_TAG_SUB sub) {
    ZbAnnot a(out, bytes, sub);
    uint32_t n = 0;
    if (!a.count("AVL keys", &n)) return;
    for (uint32_t i = 0; i < n; ++i) {
        uint16_t ndx, flags;
        uint64_t left, right;
        if (b_decoderDecodeUint16(&a.dec, &ndx) || b_decoderDecodeUint64(&a.dec, &left) ||
            b_decoderDecodeUint64(&a.dec, &right) || b_decoderDecodeUint16(&a.dec, &flags))
            return (void)a.fail("AVL entry");
        SCH_KEY_INFO_C ki = ndx < sch_tbl_next_avl(ti) ? ti->avls[ndx] : nullptr;
        a.line("  key %u (%s): left %" PRIu64 ", right %" PRIu64 ", flags 0x%X", ndx,
               ki ? sch_key_name(ki) : "none: dropped", left, right, flags);
    }
    if (!a.count("joins with an owner", &n)) return;
    for (uint32_t i = 0; i < n; ++i) {
        uint16_t ndx;
        uint64_t owner;
        if (b_decoderDecodeUint16(&a.dec, &ndx) || b_decoderDecodeUint64(&a.dec, &owner))
            return (void)a.fail("join entry");
        SCH_REF_INFO_C ri = sch_get_ref_by_index(ti, ndx);
        a.line("  reference %u (%s): owner slot %" PRIu64, ndx,
               ri ? sch_ref_name(ri) : "none: dropped", owner);
    }
    for (;;) {
        uint32_t size;
        uint16_t first;
        if (b_decoderDecodeUint32(&a.dec, &size) != sOKAY) return (void)a.fail("group count");
        if (size == 0) {
            a.line("end");
            break;
        }
        // As the reader does: a group that cannot be read is dropped, and
        // the next count is read wherever the stream stands.
        if (b_decoderDecodeUint16(&a.dec, &first) != sOKAY) {
            a.line("group of %u columns: its first id cannot be read, the group is dropped", size);
            continue;
        }
        a.line("group of %u column%s from id %u", size, size == 1 ? "" : "s", first);
        for (uint32_t k = 0; k < size; ++k) {
            SCH_COL_INFO_C ci =
                first + k < sch_tbl_next_col(ti) ? sch_get_col_by_index(ti, first + k) : nullptr;
            if (!ci) {
                a.line("  no column %u in this table: the rest of the group is dropped", first + k);
                break;
            }
            if (!a.value(ci, sch_col_name(ci) ? "  " : "  retired")) {
                a.line("  the rest of the group is dropped");
                break;
            }
        }
    }
    if (a.pos() < bytes.size())
        a.line("(not read: %zu bytes after the end)", bytes.size() - a.pos());
}

void zb_row_expanded_table(FILE *out, SCH_TBL_INFO_C ti, const std::vector<uint8_t> &bytes,
                           B_TAG_SUB sub) {
    ZbAnnot a(out, bytes, sub);
    uint64_t len = 0;
    if (b_decoderDecodeBytesBulk(&a.dec, 8, &len, nullptr) != sOKAY)
        return (void)a.fail("data_len");
    a.line("data_len %" PRIu64 " (host order), the row buffer follows", len);
    const ZEL_ROW_BUFFER_INFO &bi = ti->bufferInfo;
    if (len < bi.row_buffer_size || bytes.size() < 8 + len)
        return (void)a.line("(not this table's layout of %zu bytes)", bi.row_buffer_size);
    const uint8_t *row = bytes.data() + 8;
    auto skip = [&](size_t to) { a.buf.pos = 8 + to; };
    uint32_t i = 0;
    for (auto ki = sch_iterate_avls(ti, nullptr, ZEL_FORWARD); ki;
         ki = sch_iterate_avls(ti, ki, ZEL_FORWARD), ++i) {
        ZEL_AVL avl;
        std::memcpy(&avl, row + bi.avl_offset + i * sizeof avl, sizeof avl);
        skip(bi.avl_offset + (i + 1) * sizeof avl);
        a.line("AVL record %u (%s): flags 0x%X, left %" PRIu64 ", right %" PRIu64, i,
               sch_key_name(ki), avl.flags, avl.left, avl.right);
    }
    for (i = 0; i < bi.num_refs; ++i) {
        ZEL_JOIN j;
        std::memcpy(&j, row + bi.ref_offset + i * sizeof j, sizeof j);
        skip(bi.ref_offset + (i + 1) * sizeof j);
        a.line("join %u: owner slot %" PRIu64, i, j.owner);
    }
    static const char *statusNames[] = {"vsNOVAL", "vsOKAY", "vsNULL"};
    std::string st;
    for (i = 0; i < bi.num_cols; ++i) {
        VAL_STATUS s;
        std::memcpy(&s, row + bi.col_status_offset + i * sizeof s, sizeof s);
        st += std::string(i ? ", " : "") + (s <= vsNULL ? statusNames[s] : "other");
    }
    skip(bi.col_data_offset);
    if (bi.num_cols) a.line("statuses by active column: %s; padding", st.c_str());
    for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD)) {
        if (sch_col_data_type(ci) & ZEL_TYPE_LOB_BIT) continue;
        a.mark = 8 + bi.col_data_offset + sch_col_offset(ci);
        skip(bi.col_data_offset + sch_col_offset(ci) + sch_col_byte_len(ci));
        ZEL_VALUE v;
        zel_valueInit(&v);
        std::string text = "?";
        if (sch_col_assign_from_buff_fcn(ci, &v, row + bi.col_data_offset) == sOKAY)
            text = zb_row_value_text(ci, &v);
        a.line("column %s: %s", sch_col_name(ci), text.c_str());
    }
    a.mark = 8 + bi.col_data_offset + sch_tbl_has_value_offset(ti);
    skip(bi.col_data_offset + sch_tbl_byte_len(ti));
    a.line("has-value bytes of the nullable columns; padding");
}

}  // namespace

void zb_row_table_of(FILE *out, SCH_TBL_INFO_C ti, const std::vector<uint8_t> &bytes, bool expanded,
                     B_TAG_SUB sub) {
    if (expanded)
        zb_row_expanded_table(out, ti, bytes, sub);
    else
        zb_row_compact_table(out, ti, bytes, sub);
}

ZEL_RETCODE zb_row_from_text(SCH_TBL_INFO_C ti, const std::vector<std::string> &assignments,
                             B_TAG_SUB sub, ZEL_ROW *row, std::string *err) {
    B_BUFFER_T in;
    uint8_t empty[3] = {0, 0, 0};
    b_bufferInitStatic(&in, empty, sizeof empty, sizeof empty);
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, sub);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = row_unpack_compact_buffer(row, &d, 1, ti, sub, nullptr, nullptr));
    for (const std::string &a : assignments) {
        const size_t eq = a.find('=');
        SCH_COL_INFO ci =
            eq == std::string::npos ? nullptr : sch_find_col_by_name(ti, a.substr(0, eq).c_str());
        if (!ci) {
            *err = "not COL=VALUE of this table: " + a;
            row_free(row);
            return eINVARG;
        }
        const VAL_STATUS was = row->data.b.col_status[sch_find_col_active_ndx(ti, sch_col_ndx(ci))];
        VAL_STATUS now = vsOKAY;
        if (sch_col_data_type(ci) & ZEL_TYPE_LOB_BIT) {
            // A large object's content lies in chunks: the row only knows
            // whether it is there.
            if (sch_col_has_value_offset(ci))
                row->data.b.col_data[sch_col_has_value_offset(ci)] = a.substr(eq + 1) != "null";
            now = vsNOVAL;
        } else {
            SCH_TYPE_INFO_C pi = sch_col_type_c(ci);
            ZEL_VALUE v;
            zel_valueInit(&v);
            rc = sch_type_info(pi)->fromstring(pi, &v, 0, 0, sub, a.c_str() + eq + 1);
            if (rc >= 0) rc = sch_col_copy_to_buff_fcn(ci, row->data.b.col_data, &v);
            sch_col_free_fcn(ci, &v, sub);
            if (rc < 0) {
                *err = "cannot read " + a + ": " + zelErrorString(rc);
                row_free(row);
                return rc;
            }
        }
        (void)was;
        row->data.b.col_status[sch_find_col_active_ndx(ti, sch_col_ndx(ci))] = now;
    }
    return sOKAY;
}

int zb_cmd_row(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"t", "table", "s:T", "The table of the sample catalogue: customer, orders or site"},
        {"c", "catalog", "s:F", "A JSON catalogue to read instead of the built-in sample one"},
        {"e", "expanded", nullptr, "The expanded stored form instead of the compact one"},
        {"A", nullptr, "#:encode|decode",
         "encode: COL=VALUE assignments to stored bytes; decode: bytes to values"},
        {"W", nullptr, "*:ARGS",
         "encode: COL=VALUE...; decode: the bytes in hex, blanks, ':' and ',' allowed"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "A row of a table of the built-in sample catalogue as stored, "
                              "compact or\nexpanded, as an annotated table of its bytes; or "
                              "stored bytes read back.\nTables: customer, orders, site.",
                              opts);
        code != kZbGoOn)
        return code;
    std::string verb;
    const char *table = nullptr, *catalog = nullptr;
    bool expanded = false;
    std::vector<std::string> rest;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "table") == 0)
            table = arg;
        else if (std::strcmp(name, "catalog") == 0)
            catalog = arg;
        else if (std::strcmp(name, "expanded") == 0)
            expanded = true;
        else if (std::strcmp(name, "A") == 0)
            verb = arg;
        else
            rest.push_back(arg);
    }
    if (verb != "encode" && verb != "decode")
        return zb_usageError("Unknown action '%s': encode or decode", verb.c_str());
    if (table == nullptr)
        return zb_usageError("Missing option '--table' ('--help' for more information)");
    const ZbTags tags;
    if (!tags.ok()) return 1;
    SCH_INFO sch = nullptr;
    if (zb_catalog_open(catalog, tags, &sch) != sOKAY) return 1;
    int status = 0;
    SCH_TBL_INFO ti = sch_find_table_by_name(sch, table, nullptr);
    ZEL_ROW row;
    if (!ti) {
        status = zb_usageError("No table '%s' in the catalogue", table);
    } else if (verb == "encode") {
        std::string err;
        if (zb_row_from_text(ti, rest, tags.sub, &row, &err) != sOKAY) {
            std::fprintf(stderr, "zelbase row: %s\n", err.c_str());
            status = 1;
        } else {
            B_BUFFER_T b;
            b_bufferInit(&b, tags.sub);
            B_ENCODER_T e;
            b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &b, tags.sub);
            const ZEL_RETCODE rc =
                expanded ? row_pack_expanded(&row, &e) : row_pack_compact(&row, &e);
            if (rc != sOKAY) {
                std::fprintf(stderr, "zelbase row: packing fails: %s\n", zelErrorString(rc));
                status = 1;
            } else {
                const std::vector<uint8_t> bytes(b.data.bin, b.data.bin + b.len);
                std::printf("%s row of %s, %zu bytes:\n", expanded ? "expanded" : "compact", table,
                            bytes.size());
                zb_row_table_of(stdout, ti, bytes, expanded, tags.sub);
                std::printf("hex: %s\n", zb_row_hex(bytes.data(), bytes.size()).c_str());
            }
            b_bufferTerm(&b);
            row_free(&row);
        }
    } else {
        std::vector<uint8_t> bytes;
        std::vector<char *> hexArgs;
        for (std::string &s : rest) hexArgs.push_back(s.data());
        if (!zb_row_parse_hex(static_cast<int>(hexArgs.size()), hexArgs.data(), &bytes)) {
            status = zb_usageError("Not bytes in hex ('--help' for more information)");
        } else {
            zb_row_table_of(stdout, ti, bytes, expanded, tags.sub);
            B_BUFFER_T in;
            b_bufferInitStatic(&in, bytes.data(), bytes.size(), bytes.size());
            B_DECODER_T d;
            b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, tags.sub);
            const ZEL_RETCODE rc =
                expanded ? row_unpack_expanded(&row, &d, 1, ti, tags.sub, nullptr, nullptr)
                         : row_unpack_compact(&row, &d, 1, ti, tags.sub, nullptr, nullptr);
            std::printf("the library reads: %s\n", zelErrorString(rc));
            if (rc == sOKAY) {
                for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
                     ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD)) {
                    ZEL_VALUE v;
                    zel_valueInit(&v);
                    std::string text = "?";
                    const VAL_STATUS s =
                        row.data.b.col_status[sch_find_col_active_ndx(ti, sch_col_ndx(ci))];
                    if (sch_col_data_type(ci) & ZEL_TYPE_LOB_BIT)
                        text = row.data.b.col_data[sch_col_has_value_offset(ci)] ? "(present)"
                                                                                 : "<ZEL NULL>";
                    else if (s == vsNOVAL)
                        text = "(no value)";
                    else if (sch_col_assign_from_buff_fcn(ci, &v, row.data.b.col_data) == sOKAY)
                        text = zb_row_value_text(ci, &v);
                    std::printf("  %-10s %s\n", sch_col_name(ci), text.c_str());
                }
                row_free(&row);
            } else {
                status = 1;
            }
        }
    }
    sch_destroy(sch);
    return status;
}
