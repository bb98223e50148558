// Index, join and blob nodes of the fixed catalogue of row_catalog.h read
// from arbitrary bytes. The first byte picks the kind and the form; the rest
// is the node. A node that reads is written again, that form must read too,
// and writing it gives the same bytes again. Nothing is read past the input,
// a node that fails holds nothing, and the tag's usage comes back to where
// it started.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_tags.h"
#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "node.h"
#include "row_catalog.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

struct Fixed {
    B_TAG_SUB sub = nullptr;
    RowCatalog cat;
    Fixed() {
        B_TAG_MASTER master = nullptr;
        check(b_tag_masterCreate(nullptr, 0, &master) == sOKAY);
        check(b_tag_subCreate(master, &sub) == sOKAY);
        check(rc_build(sub, &cat) == sOKAY);
    }
};

ZEL_RETCODE unpack(const Fixed &f, ZEL_NODE *node, int kind, bool expanded, const uint8_t *data,
                   size_t size) {
    B_BUFFER_T in;
    b_bufferInitStatic(&in, const_cast<uint8_t *>(data), size, size);
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, f.sub);
    switch (kind) {
        case 0:
            return expanded ? node_unpack_expanded_index(node, f.cat.byCode, &d, f.sub)
                            : node_unpack_compact_index(node, f.cat.byCode, &d, f.sub);
        case 1:
            return expanded ? node_unpack_expanded_join(node, f.cat.itemOwner, &d, f.sub)
                            : node_unpack_compact_join(node, f.cat.itemOwner, &d, f.sub);
        default:
            return expanded ? node_unpack_expanded_blob(node, f.cat.photo, &d, f.sub)
                            : node_unpack_compact_blob(node, f.cat.photo, &d, f.sub);
    }
}

bool pack(const Fixed &f, const ZEL_NODE &node, bool expanded, std::vector<uint8_t> *out) {
    B_BUFFER_T buf;
    b_bufferInit(&buf, f.sub);
    B_ENCODER_T enc;
    b_encoderInit(&enc, b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, f.sub);
    const ZEL_RETCODE rc =
        expanded ? node_pack_expanded(&node, &enc) : node_pack_compact(&node, &enc);
    out->assign(buf.data.bin, buf.data.bin + buf.len);
    b_bufferTerm(&buf);
    return rc == sOKAY;
}

void one(const Fixed &f, const uint8_t *data, size_t size) {
    if (size == 0) return;
    const int kind = data[0] % 3;
    const bool expanded = (data[0] & 4) != 0;
    ZEL_NODE node{};
    if (unpack(f, &node, kind, expanded, data + 1, size - 1) != sOKAY) {
        check(node.slotData == nullptr);
        return;
    }
    check(node.used <= ZEL_NODE_MAX_ENTRIES);
    std::vector<uint8_t> once, twice;
    if (pack(f, node, expanded, &once)) {
        // Raw forms give back their own input.
        if (expanded && kind != 1) check(std::memcmp(once.data(), data + 1, once.size()) == 0);
        ZEL_NODE back{};
        check(unpack(f, &back, kind, expanded, once.data(), once.size()) == sOKAY);
        check(pack(f, back, expanded, &twice) && twice == once);
        node_free(&back);
    }
    node_free(&node);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Fixed f;
    int64_t start = 0, end = 0;
    b_tag_subMemUsage(f.sub, &start, nullptr, nullptr);
    one(f, data, size);
    b_tag_subMemUsage(f.sub, &end, nullptr, nullptr);
    check(end == start);
    return 0;
}
