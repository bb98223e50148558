/*
 * base64.cpp - the streaming base64 coder. Both directions keep a small bit
 * reservoir: the encoder shifts in 8 bits and emits while more than 6 are
 * held, the decoder shifts in 6 and emits while more than 8 are held. Those
 * strict comparisons are the coder's stored behaviour (see base64.h): they
 * leave a full group's last 6 bits, or last byte, in the reservoir.
 *
 * The run forms take whole groups at once where the reservoir is at a group's
 * edge: three bytes (four characters) give the characters (bytes) that the
 * single steps would, the held piece carried from group to group, and the
 * record ends as the steps would leave it. Into a B_BUFFER_T with room the
 * output goes straight to memory; any other case takes the single steps.
 */
#include "base64.h"

#include <array>
#include <cstring>

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

// The bytes a B_BUFFER_T written through b_bufferEmitChar or b_bufferEmitByte
// can take without growing, and where; 0 for any other output.
size_t b_base64Room(const B_BASE64 *b64, uint8_t **at) {
    if (b64->fcn != b_bufferEmitChar && b64->fcn != b_bufferEmitByte) return 0;
    auto *buffer = static_cast<B_BUFFER_T *>(b64->ctx);
    if (buffer->len >= buffer->size) return 0;  // full, or a borrowed view
    *at = buffer->data.bin + buffer->len;
    return buffer->size - buffer->len;
}

void b_base64Claimed(const B_BASE64 *b64, size_t n) {
    static_cast<B_BUFFER_T *>(b64->ctx)->len += n;
}

// Whole groups of three bytes into a buffer with room: with 6 bits held (or
// none, at the start) each group gives 4 (3) characters and holds its last
// 6 bits, exactly as three single steps. Returns the bytes taken.
size_t b_base64EncodeGroups(B_BASE64 *b64, const uint8_t *p, size_t size) {
    uint8_t *out = nullptr;
    const size_t room = b_base64Room(b64, &out);
    if (room < 4 || (b64->numbits != 0 && b64->numbits != 6)) return 0;
    size_t groups = size / 3;
    // The first group may give only 3 characters; counting 4 keeps it simple.
    if (groups > room / 4) groups = room / 4;
    if (groups == 0) return 0;
    uint8_t *o = out;
    uint32_t held = b64->bits & 0x3F;
    if (b64->numbits == 6) *o++ = static_cast<uint8_t>(base64_encode[held]);
    for (size_t g = 0; g < groups; ++g, p += 3) {
        const uint32_t v = uint32_t{p[0]} << 16 | uint32_t{p[1]} << 8 | p[2];
        if (g != 0) *o++ = static_cast<uint8_t>(base64_encode[held]);
        o[0] = static_cast<uint8_t>(base64_encode[v >> 18]);
        o[1] = static_cast<uint8_t>(base64_encode[v >> 12 & 0x3F]);
        o[2] = static_cast<uint8_t>(base64_encode[v >> 6 & 0x3F]);
        o += 3;
        held = v & 0x3F;
        b64->bits = static_cast<uint16_t>(v);
    }
    b64->numbits = 6;
    b_base64Claimed(b64, static_cast<size_t>(o - out));
    return groups * 3;
}

// Whole groups of four alphabet characters into a buffer with room: with a
// byte held (or none) each group gives 3 (2) bytes and holds its last, exactly
// as four single steps. Stops before a group with a "=" or a character
// outside the alphabet, which the single steps then take. Returns the
// characters taken.
size_t b_base64DecodeGroups(B_BASE64 *b64, const uint8_t *p, size_t size) {
    uint8_t *out = nullptr;
    const size_t room = b_base64Room(b64, &out);
    if (room < 3 || b64->done || (b64->numbits != 0 && b64->numbits != 8)) return 0;
    size_t groups = size / 4;
    if (groups > room / 3) groups = room / 3;
    uint8_t *o = out;
    bool holding = b64->numbits == 8;
    uint32_t bits = b64->bits;
    size_t g = 0;
    for (; g < groups; ++g, p += 4) {
        const uint32_t a = base64_decode[p[0]], b = base64_decode[p[1]];
        const uint32_t c = base64_decode[p[2]], d = base64_decode[p[3]];
        if ((a | b | c | d) >= 64) break;
        const uint32_t v = a << 18 | b << 12 | c << 6 | d;
        if (holding) *o++ = static_cast<uint8_t>(bits);
        o[0] = static_cast<uint8_t>(v >> 16);
        o[1] = static_cast<uint8_t>(v >> 8);
        o += 2;
        holding = true;
        bits = v;
    }
    if (g == 0) return 0;
    b64->bits = static_cast<uint16_t>(bits);
    b64->numbits = 8;
    b64->pos += 4 * g;
    b_base64Claimed(b64, static_cast<size_t>(o - out));
    return 4 * g;
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

ZEL_RETCODE b_base64EncodeBytes(B_BASE64 *b64, const void *bytes, size_t size) {
    const auto *p = static_cast<const uint8_t *>(bytes);
    ZEL_RETCODE rc;
    while (size != 0) {
        const size_t taken = b_base64EncodeGroups(b64, p, size);
        if (taken != 0) {
            p += taken;
            size -= taken;
            continue;
        }
        // One single step: it grows the buffer, or serves any other output.
        ZEL_CHECK(rc = b_base64EncodeByte(b64, *p++));
        --size;
    }
    return sOKAY;
}

ZEL_RETCODE b_base64EncodeToBuffer(const void *input, size_t size, B_BUFFER_T *buff) {
    if (buff == nullptr || (input == nullptr && size != 0)) return eINVNULLARG;
    B_BASE64 b64;
    b_base64EncodeStart(&b64, b_bufferEmitChar, buff);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_base64EncodeBytes(&b64, input, size));
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

ZEL_RETCODE b_base64DecodeChars(B_BASE64 *b64, const char *text, size_t size) {
    const auto *p = reinterpret_cast<const uint8_t *>(text);
    ZEL_RETCODE rc;
    while (size != 0) {
        const size_t taken = b_base64DecodeGroups(b64, p, size);
        if (taken != 0) {
            p += taken;
            size -= taken;
            continue;
        }
        ZEL_CHECK(rc = b_base64DecodeChar(b64, *p++));
        --size;
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
