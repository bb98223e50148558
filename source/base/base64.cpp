/*
 * base64.cpp - the streaming base64 coder. Both directions keep a small bit
 * reservoir: the encoder shifts in 8 bits and emits while more than 6 are
 * held, the decoder shifts in 6 and emits while more than 8 are held. Those
 * strict comparisons are the coder's stored behaviour (see base64.h): they
 * leave a full group's last 6 bits, or last byte, in the reservoir.
 */
#include "base64.h"

#include <array>

namespace {

constexpr char base64_encode[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
static_assert(sizeof base64_encode == 65);

constexpr uint8_t B_BASE64_NONE = 128;

constexpr std::array<uint8_t, 256> base64_decode = [] {
    std::array<uint8_t, 256> t{};
    t.fill(B_BASE64_NONE);
    for (uint8_t i = 0; i < 64; ++i) t[static_cast<uint8_t>(base64_encode[i])] = i;
    return t;
}();

ZEL_RETCODE b_base64Emit(const B_BASE64 *b64, uint32_t sixBits) {
    return b64->fcn(b64->ctx, static_cast<uint8_t>(base64_encode[sixBits & 0x3F]));
}

}  // namespace

extern "C" {

void b_base64EncodeStart(B_BASE64 *b64, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    *b64 = B_BASE64{};
    b64->fcn = fcn;
    b64->ctx = ctx;
}

ZEL_RETCODE b_base64EncodeByte(B_BASE64 *b64, uint8_t byte) {
    b64->bits = static_cast<uint16_t>(b64->bits << 8 | byte);
    b64->numbits += 8;
    ZEL_RETCODE rc;
    // Deliberately "above 6": 6 bits left after a full group wait for the
    // next byte and are dropped at the end.
    while (b64->numbits > 6) {
        b64->numbits -= 6;
        ZEL_CHECK(rc = b_base64Emit(b64, static_cast<uint32_t>(b64->bits >> b64->numbits)));
    }
    return sOKAY;
}

ZEL_RETCODE b_base64EncodeEnd(B_BASE64 *b64) {
    ZEL_RETCODE rc;
    if (b64->numbits == 2) {
        ZEL_CHECK(rc = b_base64Emit(b64, static_cast<uint32_t>(b64->bits << 4)));
        ZEL_CHECK(rc = b64->fcn(b64->ctx, '='));
        ZEL_CHECK(rc = b64->fcn(b64->ctx, '='));
    } else if (b64->numbits == 4) {
        ZEL_CHECK(rc = b_base64Emit(b64, static_cast<uint32_t>(b64->bits << 2)));
        ZEL_CHECK(rc = b64->fcn(b64->ctx, '='));
    }
    return b64->fcn(b64->ctx, 0);
}

ZEL_RETCODE b_base64EncodeToBuffer(const void *input, size_t size, B_BUFFER_T *buff) {
    if (buff == nullptr || (input == nullptr && size != 0)) return eINVNULLARG;
    B_BASE64 b64;
    b_base64EncodeStart(&b64, b_bufferEmitChar, buff);
    const auto *p = static_cast<const uint8_t *>(input);
    ZEL_RETCODE rc;
    for (size_t i = 0; i < size; ++i) ZEL_CHECK(rc = b_base64EncodeByte(&b64, p[i]));
    return b_base64EncodeEnd(&b64);
}

void b_base64DecodeStart(B_BASE64 *b64, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    b_base64EncodeStart(b64, fcn, ctx);
}

ZEL_RETCODE b_base64DecodeChar(B_BASE64 *b64, uint32_t ch) {
    size_t at = b64->pos++;
    if (ch == '=') {
        b64->done = ZEL_TRUE;
        return at % 4 < 2 ? eRANGE : sOKAY;
    }
    if (b64->done) return eRANGE;
    uint8_t v = ch < 256 ? base64_decode[ch] : B_BASE64_NONE;
    if (v == B_BASE64_NONE) return eRANGE;
    b64->bits = static_cast<uint16_t>(b64->bits << 6 | v);
    b64->numbits += 6;
    // Deliberately "above 8": the third byte of a group waits for the next
    // character, so a text ending on a full group keeps it.
    if (b64->numbits > 8) {
        b64->numbits -= 8;
        return b64->fcn(b64->ctx, static_cast<uint8_t>(b64->bits >> b64->numbits));
    }
    return sOKAY;
}

ZEL_RETCODE b_base64DecodeEnd(B_BASE64 *b64) {
    return b64->pos % 4 != 0 ? eRANGE : sOKAY;
}

ZEL_RETCODE b_base64DecodeFcn(ZEL_INPUT_FCN infcn, B_INPUT_CTX inctx, ZEL_OUTPUT_FCN outfcn,
                              B_OUTPUT_CTX outctx) {
    B_BASE64 b64;
    b_base64DecodeStart(&b64, outfcn, outctx);
    ZEL_RETCODE rc;
    for (;;) {
        uint32_t ch = 0;
        rc = infcn(inctx, &ch);
        if (rc == eEOD) break;
        if (rc < 0) return rc;
        ZEL_CHECK(rc = b_base64DecodeChar(&b64, ch));
    }
    return b_base64DecodeEnd(&b64);
}

}  // extern "C"
