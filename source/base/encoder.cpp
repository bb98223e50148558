/*
 * encoder.cpp - the pack side of the stored streams. Every element type is
 * one of three scalar shapes (unsigned varint, signed varint, big-endian
 * IEEE bytes); one overload per shape serves the scalars and, through one
 * template, the ten array forms. The varint forms are inlined from
 * vint_internal.h, so a value costs its comparisons and its byte calls.
 */
#include "encoder.h"

#include <bit>
#include <cstring>

#include "buffer.h"
#include "vint_internal.h"

using namespace zel::detail;

namespace {

static_assert(sizeof(float) == 4 && sizeof(double) == 8);

ZEL_RETCODE b_encoderUnsigned(const B_ENCODER_T *encoder, uint64_t val) {
    return b_vintEncode(val, encoder->fcn, encoder->ctx);
}

ZEL_RETCODE b_encoderSigned(const B_ENCODER_T *encoder, int64_t val) {
    return b_vintEncode(b_vintToUnsigned(val), encoder->fcn, encoder->ctx);
}

// The IEEE bits of `bits`, most significant byte first.
template <class U>
ZEL_RETCODE b_encoderBigEndian(const B_ENCODER_T *encoder, U bits) {
    uint8_t bytes[sizeof bits];
    for (size_t i = 0; i < sizeof bits; ++i)
        bytes[i] = static_cast<uint8_t>(bits >> (8 * (sizeof bits - 1 - i)));
    return b_encoderEncodeBytes(encoder, bytes, sizeof bytes);
}

ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, uint8_t v) {
    return b_encoderUnsigned(e, v);
}
ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, uint16_t v) {
    return b_encoderUnsigned(e, v);
}
ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, uint32_t v) {
    return b_encoderUnsigned(e, v);
}
ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, uint64_t v) {
    return b_encoderUnsigned(e, v);
}
ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, int8_t v) {
    return b_encoderSigned(e, v);
}
ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, int16_t v) {
    return b_encoderSigned(e, v);
}
ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, int32_t v) {
    return b_encoderSigned(e, v);
}
ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, int64_t v) {
    return b_encoderSigned(e, v);
}
ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, float v) {
    return b_encoderBigEndian(e, std::bit_cast<uint32_t>(v));
}
ZEL_RETCODE b_encoderScalar(const B_ENCODER_T *e, double v) {
    return b_encoderBigEndian(e, std::bit_cast<uint64_t>(v));
}

template <class T>
ZEL_RETCODE b_encoderArray(const B_ENCODER_T *encoder, size_t size, const T *values) {
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_encoderUnsigned(encoder, 1));     // groups
    B_STREAM_CHECK(rc = b_encoderUnsigned(encoder, size));  // cardinality
    B_STREAM_CHECK(rc = b_encoderUnsigned(encoder, 0));     // num_nulls
    for (size_t i = 0; i < size; ++i) B_STREAM_CHECK(rc = b_encoderScalar(encoder, values[i]));
    return sOKAY;
}

}  // namespace

void b_encoderInit(B_ENCODER_T *encoder, ZEL_OUTPUT_FCN fcn, B_BULK_OUTPUT_FCN bulk_fcn,
                   B_OUTPUT_CTX ctx, B_TAG_SUB subTag) {
    encoder->fcn = fcn;
    encoder->bulk_fcn = bulk_fcn;
    encoder->ctx = ctx;
    encoder->subTag = subTag;
}

void b_encoderTerm(B_ENCODER_T *encoder) {
    b_encoderInit(encoder, nullptr, nullptr, nullptr, nullptr);
}

void b_encoderReset(B_ENCODER_T *encoder) {
    b_bufferReset(static_cast<B_BUFFER_T *>(encoder->ctx));
}

B_OUTPUT_CTX b_encoderGetCtx(const B_ENCODER_T *encoder) {
    return encoder->ctx;
}

ZEL_RETCODE b_encoderEncodeBytes(const B_ENCODER_T *encoder, const void *data, size_t size) {
    if (size == 0) return sOKAY;
    if (uint8_t *room = b_vintRoom(encoder->fcn, encoder->ctx, size)) {
        std::memcpy(room, data, size);
        return sOKAY;
    }
    const auto *p = static_cast<const uint8_t *>(data);
    for (size_t i = 0; i < size; ++i) {
        ZEL_RETCODE rc = encoder->fcn(encoder->ctx, p[i]);
        if (rc != sOKAY) return rc;
    }
    return sOKAY;
}

ZEL_RETCODE b_encoderEncodeBytesBulk(const B_ENCODER_T *encoder, const void *data, size_t size) {
    if (encoder->bulk_fcn == nullptr) return eNOTIMPLEMENTED;
    return encoder->bulk_fcn(encoder->ctx, data, size);
}

ZEL_RETCODE b_encoderEncodeString(const B_ENCODER_T *encoder, const char *str) {
    const size_t len = std::strlen(str);
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_encoderUnsigned(encoder, len));
    return b_encoderEncodeBytes(encoder, str, len);
}

ZEL_RETCODE b_encoderEncodeSlot(const B_ENCODER_T *encoder, ZEL_SLOT val) {
    return b_encoderUnsigned(encoder, val);
}

// One scalar and one array entry point per element type.
#define B_ENCODER_TYPE(Name, T)                                                       \
    ZEL_RETCODE b_encoderEncode##Name(const B_ENCODER_T *encoder, T val) {            \
        return b_encoderScalar(encoder, val);                                         \
    }                                                                                 \
    ZEL_RETCODE b_encoderEncode##Name##Array(const B_ENCODER_T *encoder, size_t size, \
                                             const T *values) {                       \
        return b_encoderArray(encoder, size, values);                                 \
    }
B_ENCODER_TYPE(Uint8, uint8_t)
B_ENCODER_TYPE(Uint16, uint16_t)
B_ENCODER_TYPE(Uint32, uint32_t)
B_ENCODER_TYPE(Uint64, uint64_t)
B_ENCODER_TYPE(Int8, int8_t)
B_ENCODER_TYPE(Int16, int16_t)
B_ENCODER_TYPE(Int32, int32_t)
B_ENCODER_TYPE(Int64, int64_t)
B_ENCODER_TYPE(Float, float)
B_ENCODER_TYPE(Double, double)
#undef B_ENCODER_TYPE
