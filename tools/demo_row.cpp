// The row and node section of `zelbase demo`: one customer row of the sample
// catalogue in its compact and expanded stored forms, read back, kept compact
// and converted; then an index node of two entries of the by_since key.
#include <cstdio>
#include <string>
#include <vector>

#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "node.h"
#include "row.h"
#include "schema.h"
#include "schema_build.h"
#include "schema_ops.h"
#include "value.h"
#include "zelbase_cmds.h"

int zb_demo_row(FILE *out);

namespace {

std::vector<uint8_t> zb_demo_row_pack(const ZEL_ROW &row, bool expanded, B_TAG_SUB sub,
                                      ZEL_RETCODE *rc) {
    B_BUFFER_T b;
    b_bufferInit(&b, sub);
    B_ENCODER_T e;
    b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &b, sub);
    *rc = expanded ? row_pack_expanded(&row, &e) : row_pack_compact(&row, &e);
    std::vector<uint8_t> bytes(b.data.bin, b.data.bin + b.len);
    b_bufferTerm(&b);
    return bytes;
}

int zb_demo_row_node(FILE *out, SCH_TBL_INFO_C cust, B_TAG_SUB sub) {
    SCH_KEY_INFO_C ki = nullptr;
    for (auto k = sch_iterate_keys_active(cust, nullptr, ZEL_FORWARD); k;
         k = sch_iterate_keys_active(cust, k, ZEL_FORWARD))
        if (std::string(sch_key_name(k)) == "by_since") ki = k;
    if (!ki) return 1;
    // An empty node read from its one byte, then given two entries.
    uint8_t empty[1] = {0};
    B_BUFFER_T in;
    b_bufferInitStatic(&in, empty, 1, 1);
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, sub);
    ZEL_NODE node{};
    if (node_unpack_compact_index(&node, ki, &d, sub) != sOKAY) return 1;
    node.used = 2;
    node.slotData->children[0] = 100;
    node.slotData->children[1] = 101;
    node.slotData->children[2] = 102;
    node.slotData->ids[0] = 17;
    node.slotData->ids[1] = 18;
    const char *since[] = {"2024-02-29", nullptr}, *names[] = {"Ann", "Bob"};
    int failed = 0;
    for (uint32_t i = 0; i < 2; ++i) {
        uint8_t *entry = node.slotData->node_data + size_t{node.slotItemLen} * i;
        ZEL_VALUE vals[2];
        zel_valueInit(&vals[0]);
        zel_valueInit(&vals[1]);
        SCH_COL_INFO_C sinceCol = sch_elem_col(sch_key_elem_c(ki, 0));
        SCH_COL_INFO_C nameCol = sch_elem_col(sch_key_elem_c(ki, 1));
        if (since[i])
            failed |=
                sch_type_info(sch_col_type_c(sinceCol))
                    ->fromstring(sch_col_type_c(sinceCol), &vals[0], 0, 0, sub, since[i]) != sOKAY;
        else
            zel_valueSetNull(&vals[0]);
        failed |= sch_type_info(sch_col_type_c(nameCol))
                      ->fromstring(sch_col_type_c(nameCol), &vals[1], 0, 0, sub, names[i]) != sOKAY;
        failed |= sch_key_copy_to_buff_fcn(ki, entry, vals) != sOKAY;
        sch_key_free_fcn(ki, vals, sub);
    }
    B_BUFFER_T b;
    b_bufferInit(&b, sub);
    B_ENCODER_T e;
    b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &b, sub);
    failed |= node_pack_compact(&node, &e) != sOKAY;
    const std::vector<uint8_t> bytes(b.data.bin, b.data.bin + b.len);
    b_bufferTerm(&b);
    node_free(&node);
    std::fprintf(out,
                 "\nAn index node of customer.by_since (since, name), two entries, the second "
                 "with a null date that takes no bytes; compact, %zu bytes:\n",
                 bytes.size());
    zb_node_table_of(out, &node, bytes, false, sub);
    return failed;
}

}  // namespace

int zb_demo_row(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    int64_t start = 0, cur = 0;
    b_tag_subMemUsage(sub, &start, nullptr, nullptr);
    SCH_INFO sch = nullptr;
    if (zb_row_catalog(sub, &sch) != sOKAY) return 1;
    SCH_TBL_INFO cust = sch_find_table_by_name(sch, "customer", nullptr);
    int failed = 0;
    ZEL_ROW row;
    std::string err;
    if (zb_row_from_text(
            cust,
            {"id=5", "name=Ann", "vip=true", "since=2024-02-29", "balance=12.50", "photo=present"},
            sub, &row, &err) != sOKAY) {
        std::fprintf(out, "building the row failed: %s\n", err.c_str());
        sch_destroy(sch);
        return 1;
    }
    row.avls[0] = ZEL_AVL{0, 40, 41};  // its neighbours in by_name
    ZEL_RETCODE rc;
    const std::vector<uint8_t> compact = zb_demo_row_pack(row, false, sub, &rc);
    failed |= rc != sOKAY;
    std::fprintf(out,
                 "A customer row: id 5, name Ann, vip, since 2024-02-29, balance 12.50, a photo; "
                 "email null. Compact, %zu bytes: only the columns with a value, in runs of "
                 "ids:\n",
                 compact.size());
    zb_row_table_of(out, cust, compact, false, sub);
    const std::vector<uint8_t> expanded = zb_demo_row_pack(row, true, sub, &rc);
    failed |= rc != sOKAY;
    std::fprintf(out, "\nThe same row expanded, %zu bytes: the row buffer's image\n",
                 expanded.size());
    zb_row_table_of(out, cust, expanded, true, sub);

    // Kept compact in a pooled buffer, then converted back to a row buffer.
    DB_INSTANCE dbi{};
    b_poolInit(&dbi.bufferPool, sub, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    dbi.row_format = ZEL_ROW_FORMAT_COMPACT;
    row.dbi = &dbi;
    failed |= row_convert(&row, ZEL_ROW_FORMAT_COMPACT) != sOKAY;
    const size_t kept = row.data.c.buffer ? row.data.c.buffer->len : 0;
    failed |= row_convert(&row, ZEL_ROW_FORMAT_BUFFER) != sOKAY;
    const std::vector<uint8_t> again = zb_demo_row_pack(row, false, sub, &rc);
    std::fprintf(out, "\nKept compact (%zu bytes in a pooled buffer) and converted back: %s\n",
                 kept, again == compact ? "the same stream" : "a different stream!");
    failed |= again != compact;
    row_free(&row);
    b_poolTerm(&dbi.bufferPool);

    failed |= zb_demo_row_node(out, cust, sub);
    sch_destroy(sch);
    b_tag_subMemUsage(sub, &cur, nullptr, nullptr);
    if (cur != start) {
        std::fprintf(out, "memory not given back: %lld bytes\n",
                     static_cast<long long>(cur - start));
        failed = 1;
    }
    return failed;
}
