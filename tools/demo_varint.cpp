// The varint section of `zelbase demo`: where the forms change length, then
// a small record packed field by field through a B_ENCODER_T into a growing
// buffer, with the bytes of each field, and read back through a B_DECODER_T.
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "vint.h"
#include "zelbase_cmds.h"

int zb_demo_varint(FILE *out);

namespace {

void zb_demoVarintBytes(FILE *out, const B_BUFFER_T *buffer, size_t from) {
    for (size_t i = from; i < buffer->len; ++i) std::fprintf(out, " %02x", buffer->data.bin[i]);
    std::fprintf(out, "\n");
}

int zb_demoVarintForms(FILE *out, B_BUFFER_T *buffer) {
    static const uint64_t values[] = {0,        127,      128,     16511,      16512,
                                      0x20407F, 0x204080, 1000000, UINT32_MAX, UINT64_MAX};
    std::fprintf(out, "variable integers (the first byte tells the length):\n");
    for (uint64_t v : values) {
        const size_t from = buffer->len;
        if (b_vintEncodeUIntmax(v, b_bufferEmitByte, buffer) != sOKAY) return 1;
        std::fprintf(out, "  %20" PRIu64 " ->", v);
        zb_demoVarintBytes(out, buffer, from);
    }
    std::fprintf(out, "  signed: -1 -> %" PRIu64 ", 1 -> %" PRIu64 ", -2 -> %" PRIu64 "\n",
                 uint64_t{b_vintConvertToUnsigned(-1)}, uint64_t{b_vintConvertToUnsigned(1)},
                 uint64_t{b_vintConvertToUnsigned(-2)});
    return 0;
}

int zb_demoVarintRecord(FILE *out, B_BUFFER_T *buffer, B_TAG_SUB sub) {
    B_ENCODER_T e;
    b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, buffer, sub);
    b_encoderReset(&e);
    const int32_t readings[] = {-3, 0, 250};
    std::fprintf(out, "a record packed field by field:\n");
    size_t from = 0;
    auto field = [&](const char *what, ZEL_RETCODE rc) {
        if (rc != sOKAY) return false;
        std::fprintf(out, "  %-28s", what);
        zb_demoVarintBytes(out, buffer, from);
        from = buffer->len;
        return true;
    };
    if (!field("uint32 id 4711", b_encoderEncodeUint32(&e, 4711)) ||
        !field("int16 delta -300", b_encoderEncodeInt16(&e, -300)) ||
        !field("double 0.1 (big-endian)", b_encoderEncodeDouble(&e, 0.1)) ||
        !field("string \"Basel\"", b_encoderEncodeString(&e, "Basel")) ||
        !field("int32 array {-3, 0, 250}", b_encoderEncodeInt32Array(&e, 3, readings)))
        return 1;
    std::fprintf(out, "  %zu bytes in all\n", buffer->len);

    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, buffer, sub);
    uint32_t id;
    int16_t delta;
    double ratio;
    char *city = nullptr;
    int32_t back[3];
    if (b_decoderSeek(&d, 0) != sOKAY || b_decoderDecodeUint32(&d, &id) != sOKAY ||
        b_decoderDecodeInt16(&d, &delta) != sOKAY || b_decoderDecodeDouble(&d, &ratio) != sOKAY ||
        b_decoderDecodeString(&d, &city, nullptr, sub) != sOKAY)
        return 1;
    const bool ok = b_decoderDecodeInt32ArrayBuffer(&d, 3, back) == sOKAY &&
                    std::memcmp(back, readings, sizeof back) == 0 && buffer->pos == buffer->len;
    std::fprintf(out, "read back: %" PRIu32 ", %d, %g, \"%s\", {%d, %d, %d}%s\n", id, delta, ratio,
                 city, back[0], back[1], back[2], ok ? "" : " (MISMATCH)");
    b_tag_subFree(sub, city);
    // A first byte that begins no form.
    uint8_t bad[] = {0xFB};
    B_BUFFER_T view;
    b_bufferInitStatic(&view, bad, 0, 0);
    b_bufferSetStatic(&view, bad, sizeof bad);
    b_decoderInit(&d, b_bufferInputByte, nullptr, &view, sub);
    std::fprintf(out, "the byte fb as a varint: %s\n",
                 b_decoderDecodeUint32(&d, &id) == eINVVARINT ? "eINVVARINT" : "accepted?!");
    return ok ? 0 : 1;
}

}  // namespace

int zb_demo_varint(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    B_BUFFER_T buffer;
    b_bufferInit(&buffer, sub);
    int fail = zb_demoVarintForms(out, &buffer);
    if (fail == 0) fail = zb_demoVarintRecord(out, &buffer, sub);
    b_bufferTerm(&buffer);
    return fail;
}
