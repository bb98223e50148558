// The stored-object section of `zelbase demo`: a packed row of
// T(c0 INT32 not null, c1 VARCHAR(10), c2 INT32) wrapped plain and with LZMA,
// then a page of 300 such rows, with the packets the coder chose, and both
// unwrapped again. The rows are packed by hand here, byte for byte the
// compact row stream: no AVL keys (00), no joins (00), a group of one column
// from id 0 (01 00) holding c0 through the signed mapping, c1 null and so
// left out, a group of one from id 2 (01 02) holding c2, the closing 00.
#include <cstdio>
#include <cstring>
#include <string>

#include "buffer.h"
#include "dbobj.h"
#include "lzma.h"
#include "vint.h"
#include "zelbase_cmds.h"

int zb_demo_dbobj(FILE *out);

namespace {

ZEL_RETCODE zb_demoDbobjRow(B_BUFFER_T *page, int32_t c0, int32_t c2) {
    const uint8_t head[] = {0x00, 0x00, 0x01, 0x00};
    const uint8_t group2[] = {0x01, 0x02};
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_bufferEmitBytesBulk(page, head, sizeof head));
    ZEL_CHECK(rc = b_vintEncodeUIntmax(b_vintConvertToUnsigned(c0), b_bufferEmitByte, page));
    ZEL_CHECK(rc = b_bufferEmitBytesBulk(page, group2, sizeof group2));
    ZEL_CHECK(rc = b_vintEncodeUIntmax(b_vintConvertToUnsigned(c2), b_bufferEmitByte, page));
    return b_bufferEmitByte(page, 0);
}

struct ZbPackets {
    unsigned long count[4] = {0, 0, 0, 0};
};

void zb_demoDbobjCount(void *ctx, const LZMA_PACKET *p) {
    static_cast<ZbPackets *>(ctx)->count[p->type]++;
}

// Wraps `page` both ways, prints the tables (or sizes only) and the packets,
// and checks that both unwrap to the page.
int zb_demoDbobjWrap(FILE *out, B_LZMA_T *lzma, B_TAG_SUB sub, const B_BUFFER_T *page,
                     bool tables) {
    int fail = 0;
    for (ZEL_COMPRESS_METHOD method : {ZEL_COMPRESS_NONE, ZEL_COMPRESS_LZMA}) {
        B_BUFFER_T stored, back, coded;
        b_bufferInit(&stored, sub);
        b_bufferInit(&back, sub);
        b_bufferInit(&coded, sub);
        ZbPackets packets;
        ZEL_ITEM_FORMAT format = ZEL_ITEM_FORMAT_EXPANDED;
        bool ok =
            dbobj_compress(lzma, method, 0, ZEL_ITEM_FORMAT_COMPACT, page, &stored) == sOKAY &&
            b_lzmaTrace(lzma, page, &coded, zb_demoDbobjCount, &packets) == sOKAY &&
            dbobj_convert_in(&back, &stored, nullptr, &format, lzma) == sOKAY &&
            format == ZEL_ITEM_FORMAT_COMPACT && back.len >= page->len &&
            std::memcmp(back.data.bin, page->data.bin, page->len) == 0;
        if (ok) {
            const bool lzma_used = method == ZEL_COMPRESS_LZMA;
            std::fprintf(out, "%s: %zu bytes stored for %zu%s\n", lzma_used ? "with LZMA" : "plain",
                         stored.len, page->len, lzma_used ? "" : " (unwrapped with its padding)");
            if (tables)
                zb_dbobj_table(out, stored.data.bin, stored.len, lzma_used ? coded.len : page->len);
            if (lzma_used) {
                std::fprintf(out, "  packets: %lu literals, %lu matches, %lu repeats\n",
                             packets.count[LZMA_LIT_PACKET], packets.count[LZMA_MATCH_PACKET],
                             packets.count[LZMA_LONGREP_PACKET]);
            }
        } else {
            std::fprintf(out, "  %s wrapping FAILED\n",
                         method == ZEL_COMPRESS_LZMA ? "LZMA" : "plain");
            fail = 1;
        }
        b_bufferTerm(&coded);
        b_bufferTerm(&back);
        b_bufferTerm(&stored);
    }
    return fail;
}

}  // namespace

int zb_demo_dbobj(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    B_LZMA_T *lzma = nullptr;
    if (b_tag_subAlloc(sub, sizeof *lzma, &lzma) != sOKAY) return 1;
    if (b_lzmaInit(lzma, sub) != sOKAY) {
        b_tag_subFree(sub, lzma);
        return 1;
    }
    B_BUFFER_T page;
    b_bufferInit(&page, sub);
    int fail = 1;
    if (zb_demoDbobjRow(&page, 5, -1) == sOKAY) {
        std::fprintf(out, "the row c0=5, c1 null, c2=-1, packed:");
        for (size_t i = 0; i < page.len; i++) std::fprintf(out, " %02x", page.data.bin[i]);
        std::fprintf(out, "\n");
        fail = zb_demoDbobjWrap(out, lzma, sub, &page, true);
        std::fprintf(out, "(a stream this short grows under LZMA and is stored grown)\n\n");
    }
    b_bufferReset(&page);
    bool rows = true;
    for (int32_t i = 1; i <= 300 && rows; i++) rows = zb_demoDbobjRow(&page, i, -7 * i) == sOKAY;
    if (rows && fail == 0) {
        std::fprintf(out, "a page of 300 rows, c0 = 1..300, c1 null, c2 = -7 * c0:\n");
        fail = zb_demoDbobjWrap(out, lzma, sub, &page, false);
    }
    b_bufferTerm(&page);
    b_lzmaTerm(lzma);
    b_tag_subFree(sub, lzma);
    return rows ? fail : 1;
}
