// Rows of the fixed catalogue of row_catalog.h (retired columns, an AVL hole,
// a dropped reference, a blob, rowid and reference columns) read from
// arbitrary bytes. The first byte picks the table and the form; the rest is
// the stream. A row that reads is written again, that stream must read too,
// and writing its row gives the same bytes again; a kept compact row is
// converted both ways. Nothing is read past the input, and the tag's usage
// comes back to where it started.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_tags.h"
#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "row.h"
#include "row_catalog.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

struct Fixed {
    B_TAG_SUB sub = nullptr;
    RowCatalog cat;
    DB_INSTANCE dbi{};
    Fixed() {
        B_TAG_MASTER master = nullptr;
        check(b_tag_masterCreate(nullptr, 0, &master) == sOKAY);
        check(b_tag_subCreate(master, &sub) == sOKAY);
        check(rc_build(sub, &cat) == sOKAY);
        b_poolInit(&dbi.bufferPool, sub, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
        psp_poolSetMaxPooled(&dbi.bufferPool, 0);
        dbi.row_format = ZEL_ROW_FORMAT_COMPACT;
    }
};

ZEL_RETCODE unpack(ZEL_ROW *row, SCH_TBL_INFO_C ti, const uint8_t *data, size_t size, bool expanded,
                   DB_INSTANCE *dbi, B_TAG_SUB sub) {
    B_BUFFER_T in;
    b_bufferInitStatic(&in, const_cast<uint8_t *>(data), size, size);
    B_DECODER_T dec;
    b_decoderInit(&dec, b_bufferInputByte, b_bufferInputBytesBulk, &in, sub);
    return expanded ? row_unpack_expanded(row, &dec, 7, ti, sub, nullptr, dbi)
                    : row_unpack_compact(row, &dec, 7, ti, sub, nullptr, dbi);
}

// The row's stream in `out`; false when a value cannot be written.
bool pack(const ZEL_ROW &row, bool expanded, B_TAG_SUB sub, std::vector<uint8_t> *out) {
    B_BUFFER_T buf;
    b_bufferInit(&buf, sub);
    B_ENCODER_T enc;
    b_encoderInit(&enc, b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, sub);
    const ZEL_RETCODE rc = expanded ? row_pack_expanded(&row, &enc) : row_pack_compact(&row, &enc);
    out->assign(buf.data.bin, buf.data.bin + buf.len);
    b_bufferTerm(&buf);
    return rc == sOKAY;
}

void one(Fixed &f, const uint8_t *data, size_t size) {
    if (size == 0) return;
    const uint8_t mode = data[0];
    SCH_TBL_INFO_C tables[] = {f.cat.item, f.cat.item, f.cat.owner, f.cat.bare};
    SCH_TBL_INFO_C ti = tables[mode & 3];
    const bool expanded = (mode & 4) != 0;
    // A stored length may ask for any size: stay under the fuzzer's limit.
    if (expanded && size >= 9) {
        uint64_t len;
        std::memcpy(&len, data + 1, sizeof len);
        if (len > (1u << 20)) return;
    }
    ZEL_ROW row;
    const ZEL_RETCODE rc = unpack(&row, ti, data + 1, size - 1, expanded, nullptr, f.sub);
    if (rc != sOKAY) {
        check(row.row_data == nullptr);
        return;
    }
    std::vector<uint8_t> once, twice;
    if (pack(row, expanded, f.sub, &once)) {
        if (expanded) check(std::memcmp(once.data(), data + 1, once.size()) == 0);
        ZEL_ROW back;
        check(unpack(&back, ti, once.data(), once.size(), expanded, nullptr, f.sub) == sOKAY);
        check(pack(back, expanded, f.sub, &twice) && twice == once);
        row_free(&back);
        if (!expanded) {
            // Kept compact, then converted both ways.
            check(unpack(&back, ti, once.data(), once.size(), false, &f.dbi, f.sub) == sOKAY);
            check(back.format == ZEL_ROW_FORMAT_COMPACT);
            check(row_convert(&back, ZEL_ROW_FORMAT_BUFFER) == sOKAY);
            check(pack(back, false, f.sub, &twice) && twice == once);
            check(row_convert(&back, ZEL_ROW_FORMAT_COMPACT) == sOKAY);
            check(pack(back, false, f.sub, &twice) && twice == once);
            row_free(&back);
        }
    }
    row_free(&row);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static Fixed f;
    int64_t start = 0, end = 0;
    b_tag_subMemUsage(f.sub, &start, nullptr, nullptr);
    one(f, data, size);
    b_tag_subMemUsage(f.sub, &end, nullptr, nullptr);
    check(end == start);
    return 0;
}
