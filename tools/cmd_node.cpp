// `zelbase node decode --key T.K|--ref T.R|--blob T.C [--expanded] HEX`
// prints an index node of key K, a join node of reference R or a blob node of
// large-object column C (tables of the sample catalogue) as an annotated
// table of its stored bytes, then what the library reads from them.
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "buffer.h"
#include "decoder.h"
#include "error.h"
#include "node.h"
#include "schema.h"
#include "schema_build.h"
#include "schema_ops.h"
#include "value.h"
#include "zelbase_cmds.h"

int zb_cmd_node(int argc, char **argv);

namespace {

// n pairs of column id and packed value, over a key's elements or a
// reference's sort columns.
template <class Next>
bool zb_node_pairs(ZbAnnot &a, Next next) {
    uint32_t n;
    if (!a.count("    values", &n)) return false;
    for (uint32_t k = 0; k < n; ++k) {
        uint16_t id;
        if (b_decoderDecodeUint16(&a.dec, &id) != sOKAY) return a.fail("column id");
        SCH_COL_INFO_C ci = next(id);
        if (!ci) {
            a.line("    column id %u: not in this key (the library says eRANGE)", id);
            return false;
        }
        a.line("    column id %u", id);
        if (!a.value(ci, "     ")) return false;
    }
    return true;
}

SCH_COL_INFO_C zb_node_elem_col(SCH_KEY_INFO_C ki, uint16_t id) {
    for (ZEL_COL_INDEX e = 0; e < sch_key_num_elems(ki); ++e)
        if (sch_elem_col_index(sch_key_elem_c(ki, e)) == id)
            return sch_elem_col(sch_key_elem_c(ki, e));
    return nullptr;
}

SCH_COL_INFO_C zb_node_sort_col(SCH_REF_INFO_C ri, uint16_t id) {
    for (ZEL_COL_INDEX s = 0; s < sch_ref_num_sort_cols(ri); ++s)
        if (sch_col_ndx(sch_ref_sort_col(ri, s)) == id) return sch_ref_sort_col(ri, s);
    return nullptr;
}

// The key's elements in a raw key buffer of an expanded index node.
void zb_node_raw_key(ZbAnnot &a, SCH_KEY_INFO_C ki, size_t entryStart) {
    const uint8_t *buff = a.bytes.data() + entryStart;
    for (ZEL_COL_INDEX e = 0; e < sch_key_num_elems(ki); ++e) {
        SCH_ELEM_INFO_C ei = sch_key_elem_c(ki, e);
        SCH_COL_INFO_C ci = sch_elem_col(ei);
        a.mark = entryStart + sch_elem_offset(ei);
        a.buf.pos = a.mark + sch_col_byte_len(ci);
        ZEL_VALUE v;
        zel_valueInit(&v);
        std::string text = "?";
        if (sch_elem_assign_from_buff_fcn(ei, &v, buff) == sOKAY) text = zb_row_value_text(ci, &v);
        a.line("    %s = %s", sch_col_name(ci), text.c_str());
    }
    a.mark = entryStart + sch_key_has_value_offset(ki);
    a.buf.pos = entryStart + sch_key_byte_len(ki);
    if (a.pos() > a.mark) a.line("    has-value bytes; padding");
}

}  // namespace

void zb_node_table_of(FILE *out, const ZEL_NODE *kind, const std::vector<uint8_t> &bytes,
                      bool expanded, B_TAG_SUB sub) {
    ZbAnnot a(out, bytes, sub);
    uint16_t used = 0;
    if (expanded) {
        if (b_decoderDecodeBytesBulk(&a.dec, 2, &used, nullptr) != sOKAY)
            return (void)a.fail("used");
        a.line("entries: %u (2 bytes, host order)", used);
    } else {
        if (b_decoderDecodeUint16(&a.dec, &used) != sOKAY) return (void)a.fail("used");
        a.line("entries: %u", used);
        if (used == 0) return;
    }
    if (used > ZEL_NODE_MAX_ENTRIES) return (void)a.line("!! more than 33 entries: damaged");
    for (uint32_t c = 0; c <= used + used; ++c) {
        uint64_t slot;
        const ZEL_RETCODE rc = expanded ? b_decoderDecodeBytesBulk(&a.dec, 8, &slot, nullptr)
                                        : b_decoderDecodeUint64(&a.dec, &slot);
        if (rc != sOKAY) return (void)a.fail("slot");
        if (c <= used)
            a.line("child %u: slot %" PRIu64, c, slot);
        else
            a.line("id %u: slot %" PRIu64, c - used - 1, slot);
    }
    for (uint32_t i = 0; i < used; ++i) {
        if (kind->type == ZEL_BLOB_NODE) {
            uint64_t slot, seq;
            const bool ok = expanded
                                ? b_decoderDecodeBytesBulk(&a.dec, 8, &slot, nullptr) == sOKAY &&
                                      b_decoderDecodeBytesBulk(&a.dec, 8, &seq, nullptr) == sOKAY
                                : b_decoderDecodeUint64(&a.dec, &slot) == sOKAY &&
                                      b_decoderDecodeUint64(&a.dec, &seq) == sOKAY;
            if (!ok) return (void)a.fail("blob entry");
            a.line("entry %u: chunk slot %" PRIu64 ", sequence %" PRIu64, i, slot, seq);
        } else if (kind->type == ZEL_JOIN_NODE) {
            uint64_t slot;
            if (b_decoderDecodeUint64(&a.dec, &slot) != sOKAY) return (void)a.fail("member slot");
            a.line("entry %u: member slot %" PRIu64, i, slot);
            SCH_REF_INFO_C ri = kind->ptr.ri;
            if (sch_ref_num_sort_cols(ri) &&
                !zb_node_pairs(a, [ri](uint16_t id) { return zb_node_sort_col(ri, id); }))
                return;
        } else if (expanded) {
            const size_t start = a.pos();
            if (bytes.size() < start + sch_key_byte_len(kind->ptr.ki))
                return (void)a.fail("key buffer");
            a.line("entry %u: key buffer of %u bytes", i, sch_key_byte_len(kind->ptr.ki));
            zb_node_raw_key(a, kind->ptr.ki, start);
        } else {
            a.line("entry %u", i);
            SCH_KEY_INFO_C ki = kind->ptr.ki;
            if (!zb_node_pairs(a, [ki](uint16_t id) { return zb_node_elem_col(ki, id); })) return;
        }
    }
    if (a.pos() < bytes.size())
        a.line("(not read: %zu bytes after the node)", bytes.size() - a.pos());
}

int zb_cmd_node(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"k", "key", "s:T.K", "An index node of key K of table T"},
        {"r", "ref", "s:T.R", "A join node of reference R of table T"},
        {"b", "blob", "s:T.C", "A blob node of large-object column C of table T"},
        {"e", "expanded", nullptr, "The expanded stored form instead of the compact one"},
        {"c", "catalog", "s:F", "A JSON catalogue to read instead of the built-in sample one"},
        {"A", nullptr, "#:decode", "The action"},
        {"H", nullptr, "*:HEX", "The node's bytes in hex; blanks, ':' and ',' allowed"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(
            &cmd, argc, argv,
            "Prints an index, join or blob node of the built-in sample catalogue as an\n"
            "annotated table of its stored bytes, then what the library reads from them.\n"
            "Keys, references and large-object columns of the sample catalogue:\n"
            "  --key customer.customer_pk, customer.by_since, orders.orders_pk\n"
            "  --ref orders.orders_customer      --blob customer.photo",
            opts);
        code != kZbGoOn)
        return code;
    std::string opt;
    const char *name = nullptr, *catalog = nullptr;
    bool expanded = false;
    std::vector<char *> hex;
    const char *arg = nullptr;
    for (const char *row; (row = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (!std::strcmp(row, "expanded")) {
            expanded = true;
        } else if (!std::strcmp(row, "catalog")) {
            catalog = arg;
        } else if (!std::strcmp(row, "A")) {
            if (std::strcmp(arg, "decode") != 0)
                return zb_usageError("Unknown action '%s': decode", arg);
        } else if (!std::strcmp(row, "H")) {
            hex.push_back(const_cast<char *>(arg));
        } else {
            opt = std::string("--") + row;
            name = arg;
        }
    }
    if (name == nullptr) return zb_usageError("One of --key, --ref or --blob is needed");
    std::vector<uint8_t> bytes;
    const char *dot = name ? std::strchr(name, '.') : nullptr;
    if (!dot) return zb_usageError("Not TABLE.NAME: '%s'", name);
    if (!zb_row_parse_hex(static_cast<int>(hex.size()), hex.data(), &bytes))
        return zb_usageError("Not bytes in hex ('--help' for more information)");
    const ZbTags tags;
    if (!tags.ok()) return 1;
    SCH_INFO sch = nullptr;
    if (zb_catalog_open(catalog, tags, &sch) != sOKAY) return 1;
    const std::string table(name, dot), item(dot + 1);
    SCH_TBL_INFO ti = sch_find_table_by_name(sch, table.c_str(), nullptr);
    ZEL_NODE node{};
    if (ti && opt == "--key") {
        for (auto ki = sch_iterate_keys_active(ti, nullptr, ZEL_FORWARD); ki;
             ki = sch_iterate_keys_active(ti, ki, ZEL_FORWARD))
            if (item == sch_key_name(ki) && sch_key_method(ki) != ZEL_KEY_METHOD_AVL) {
                node.type = ZEL_INDEX_NODE;
                node.ptr.ki = ki;
            }
    } else if (ti && opt == "--ref") {
        for (auto ri = sch_iterate_refs(ti, nullptr, ZEL_FORWARD); ri;
             ri = sch_iterate_refs(ti, ri, ZEL_FORWARD))
            if (item == sch_ref_name(ri)) {
                node.type = ZEL_JOIN_NODE;
                node.ptr.ri = ri;
            }
    } else if (ti) {
        SCH_COL_INFO ci = sch_find_col_by_name(ti, item.c_str());
        if (ci && sch_col_is_lob(ci)) {
            node.type = ZEL_BLOB_NODE;
            node.ptr.ci = ci;
        }
    }
    int status = 0;
    if (!node.ptr.ki) {
        status = zb_usageError("No such item in the catalogue: '%s'", name);
    } else {
        std::printf("%s %s node of %s, %zu bytes:\n", expanded ? "expanded" : "compact",
                    node.type == ZEL_INDEX_NODE  ? "index"
                    : node.type == ZEL_JOIN_NODE ? "join"
                                                 : "blob",
                    name, bytes.size());
        zb_node_table_of(stdout, &node, bytes, expanded, tags.sub);
        B_BUFFER_T in;
        b_bufferInitStatic(&in, bytes.data(), bytes.size(), bytes.size());
        B_DECODER_T d;
        b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, tags.sub);
        ZEL_RETCODE rc;
        if (node.type == ZEL_INDEX_NODE)
            rc = expanded ? node_unpack_expanded_index(&node, node.ptr.ki, &d, tags.sub)
                          : node_unpack_compact_index(&node, node.ptr.ki, &d, tags.sub);
        else if (node.type == ZEL_JOIN_NODE)
            rc = expanded ? node_unpack_expanded_join(&node, node.ptr.ri, &d, tags.sub)
                          : node_unpack_compact_join(&node, node.ptr.ri, &d, tags.sub);
        else
            rc = expanded ? node_unpack_expanded_blob(&node, node.ptr.ci, &d, tags.sub)
                          : node_unpack_compact_blob(&node, node.ptr.ci, &d, tags.sub);
        std::printf("the library reads: %s", zelErrorString(rc));
        if (rc == sOKAY) std::printf(", %u entries of %u bytes", node.used, node.slotItemLen);
        std::printf("\n");
        node_free(&node);
        if (rc != sOKAY) status = 1;
    }
    sch_destroy(sch);
    return status;
}
