/*
 * vint.cpp - the variable integer's entry points and its two tables. The
 * byte format and its table are in vint.h; the forms themselves are the
 * templates of vint_internal.h, which the encoder and decoder inline too.
 */
#include "vint.h"

#include "vint_internal.h"

using namespace zel::detail;

extern "C" {

const B_ENCODE_INFO b_encoder_fcns[B_VINT_FORMS] = {
#define B_VINT_ROW(F) \
    { b_vintForms[F].size, &b_vintEncodeForm<F>, &b_vintDecodeForm<F> }
    B_VINT_ROW(0), B_VINT_ROW(1), B_VINT_ROW(2), B_VINT_ROW(3), B_VINT_ROW(4),
    B_VINT_ROW(5), B_VINT_ROW(6), B_VINT_ROW(7), B_VINT_ROW(8),
#undef B_VINT_ROW
};

constexpr uint8_t reverse_lookup[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,   // 0x00
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,   // 0x10
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,   // 0x20
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,   // 0x30
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,   // 0x40
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,   // 0x50
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,   // 0x60
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,   // 0x70
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  1,  1,  1,   // 0x80
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  1,  1,  1,   // 0x90
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  1,  1,  1,   // 0xA0
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  1,  1,  1,   // 0xB0
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,  2,  2,  2,   // 0xC0
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,  2,  2,  2,   // 0xD0
    3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 4,  4,  4,  4,   // 0xE0
    5, 5, 5, 5, 5, 5, 5, 5, 6, 7, 8, 9, 10, 11, 12, 13,  // 0xF0
};

}  // extern "C"

namespace {

// Every first byte maps to the form whose pattern it matches; the five
// bytes beyond the forms count on from 9.
consteval bool b_vintReverseConsistent() {
    for (uint32_t b = 0; b < 256; ++b) {
        uint32_t row = 9 + (b - 0xFB);
        for (uint32_t i = 0; i < B_VINT_FORMS; ++i) {
            if ((b & ~b_vintForms[i].firstMask) == b_vintForms[i].first) row = i;
        }
        if (reverse_lookup[b] != row) return false;
    }
    return true;
}
static_assert(b_vintReverseConsistent());

}  // namespace

const B_ENCODE_INFO *b_vintGetEncodeInfo(uintmax_t val) {
    return &b_encoder_fcns[b_vintFormOf(val)];
}

const B_ENCODE_INFO *b_vintGetDecodeInfo(uint32_t first) {
    if (first > 0xFF || reverse_lookup[first] >= B_VINT_FORMS) return nullptr;
    return &b_encoder_fcns[reverse_lookup[first]];
}

ZEL_RETCODE b_vintEncodeUIntmax(uintmax_t val, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    return b_vintEncode(val, fcn, ctx);
}

ZEL_RETCODE b_vintDecodeUIntmax(ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx, uintmax_t *val) {
    return b_vintDecode(fcn, ctx, val);
}

ZEL_RETCODE b_vintDecodeUInt32(ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx, uint32_t *val) {
    uintmax_t v;
    ZEL_RETCODE rc = b_vintDecode(fcn, ctx, &v);
    if (rc != sOKAY) return rc;
    if (v > UINT32_MAX) return eRANGE;
    *val = static_cast<uint32_t>(v);
    return sOKAY;
}

ZEL_RETCODE b_vintDecodeSize_t(ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx, size_t *val) {
    uintmax_t v;
    ZEL_RETCODE rc = b_vintDecode(fcn, ctx, &v);
    if (rc == sOKAY) *val = v;
    return rc;
}

uintmax_t b_vintConvertToUnsigned(intmax_t val) {
    return b_vintToUnsigned(val);
}

intmax_t b_vintConvertToSigned(uintmax_t val) {
    return b_vintToSigned(val);
}
