/*
 * decoder.cpp - the unpack side of the stored streams. Each element type
 * reads one of three scalar shapes and checks its range where the target is
 * narrower than 64 bits; one overload per type serves the scalar entry
 * point and, through one template, the array forms. Results go to a local
 * first and reach the caller's target only when the whole value was read.
 */
#include "decoder.h"

#include <bit>
#include <cstring>
#include <limits>

#include "buffer.h"
#include "tag_sub.h"
#include "vint_internal.h"

using namespace zel::detail;

namespace {

ZEL_RETCODE b_decoderUnsigned(const B_DECODER_T *decoder, uint64_t *val) {
    return b_vintDecode(decoder->fcn, decoder->ctx, val);
}

// Narrow unsigned targets: a larger stored value means a damaged object.
template <class T>
ZEL_RETCODE b_decoderNarrowUnsigned(const B_DECODER_T *decoder, T *val) {
    uint64_t v;
    ZEL_RETCODE rc = b_decoderUnsigned(decoder, &v);
    if (rc != sOKAY) return rc;
    if (v > std::numeric_limits<T>::max()) return eDBCORRUPTED;
    *val = static_cast<T>(v);
    return sOKAY;
}

template <class T>
ZEL_RETCODE b_decoderNarrowSigned(const B_DECODER_T *decoder, T *val) {
    uint64_t u;
    ZEL_RETCODE rc = b_decoderUnsigned(decoder, &u);
    if (rc != sOKAY) return rc;
    const int64_t v = b_vintToSigned(u);
    if (v < std::numeric_limits<T>::min() || v > std::numeric_limits<T>::max()) return eDBCORRUPTED;
    *val = static_cast<T>(v);
    return sOKAY;
}

// Big-endian IEEE bytes into the host's order.
template <class F, class U>
ZEL_RETCODE b_decoderBigEndian(const B_DECODER_T *decoder, F *val) {
    uint8_t bytes[sizeof(U)];
    ZEL_RETCODE rc = b_decoderDecodeBytes(decoder, bytes, sizeof bytes);
    if (rc != sOKAY) return rc;
    U bits = 0;
    for (uint8_t b : bytes) bits = static_cast<U>(bits << 8 | b);
    *val = std::bit_cast<F>(bits);
    return sOKAY;
}

ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, uint8_t *v) {
    return b_decoderNarrowUnsigned(d, v);
}
ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, uint16_t *v) {
    return b_decoderNarrowUnsigned(d, v);
}
ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, uint32_t *v) {
    return b_decoderNarrowUnsigned(d, v);
}
ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, uint64_t *v) {
    return b_decoderUnsigned(d, v);
}
ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, int8_t *v) {
    return b_decoderNarrowSigned(d, v);
}
ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, int16_t *v) {
    return b_decoderNarrowSigned(d, v);
}
ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, int32_t *v) {
    return b_decoderNarrowSigned(d, v);
}
ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, int64_t *v) {
    uint64_t u;
    ZEL_RETCODE rc = b_decoderUnsigned(d, &u);
    if (rc == sOKAY) *v = b_vintToSigned(u);
    return rc;
}
ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, float *v) {
    return b_decoderBigEndian<float, uint32_t>(d, v);
}
ZEL_RETCODE b_decoderScalar(const B_DECODER_T *d, double *v) {
    return b_decoderBigEndian<double, uint64_t>(d, v);
}

// The group layout into val[0..size). The stored counts are checked against
// size, so a damaged object cannot write past the caller's array.
template <class T>
ZEL_RETCODE b_decoderArrayInto(const B_DECODER_T *decoder, size_t size, T *val) {
    ZEL_RETCODE rc;
    uint64_t groups;
    B_STREAM_CHECK(rc = b_decoderUnsigned(decoder, &groups));
    size_t pos = 0;  // may run past size through num_nulls; saturates
    for (uint64_t g = 0; g < groups; ++g) {
        uint64_t cardinality, nulls;
        B_STREAM_CHECK(rc = b_decoderUnsigned(decoder, &cardinality));
        B_STREAM_CHECK(rc = b_decoderUnsigned(decoder, &nulls));
        if (cardinality != 0 && (pos > size || cardinality > size - pos)) return eDBCORRUPTED;
        for (uint64_t i = 0; i < cardinality; ++i) {
            T v;
            B_STREAM_CHECK(rc = b_decoderScalar(decoder, &v));
            val[pos++] = v;
        }
        pos = nulls > SIZE_MAX - pos ? SIZE_MAX : pos + nulls;
    }
    return sOKAY;
}

template <class T>
ZEL_RETCODE b_decoderArray(const B_DECODER_T *decoder, size_t size, T **pval, B_TAG_SUB subTag) {
    if (size > SIZE_MAX / sizeof(T)) return eNOMEMORY;
    T *array;
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_tag_subAlloc(subTag, size * sizeof(T), &array));
    if ((rc = b_decoderArrayInto(decoder, size, array)) != sOKAY) {
        b_tag_subFree(subTag, array);
        return rc;
    }
    *pval = array;
    return sOKAY;
}

}  // namespace

void b_decoderInit(B_DECODER_T *decoder, ZEL_INPUT_FCN fcn, B_BULK_INPUT_FCN bulk_fcn,
                   B_INPUT_CTX ctx, B_TAG_SUB subTag) {
    decoder->fcn = fcn;
    decoder->bulk_fcn = bulk_fcn;
    decoder->ctx = ctx;
    decoder->subTag = subTag;
}

void b_decoderTerm(B_DECODER_T *decoder) {
    b_decoderInit(decoder, nullptr, nullptr, nullptr, nullptr);
}

B_INPUT_CTX b_decoderGetCtx(const B_DECODER_T *decoder) {
    return decoder->ctx;
}

ZEL_RETCODE b_decoderSeek(const B_DECODER_T *decoder, size_t newPos) {
    return b_bufferSeek(static_cast<B_BUFFER_T *>(decoder->ctx), newPos);
}

size_t b_decoderBytesLeft(const B_DECODER_T *decoder) {
    const auto *buffer = static_cast<const B_BUFFER_T *>(decoder->ctx);
    return buffer->pos < buffer->len ? buffer->len - buffer->pos : 0;
}

ZEL_RETCODE b_decoderDecodeBytes(const B_DECODER_T *decoder, void *data, size_t size) {
    if (size == 0) return sOKAY;
    if (const uint8_t *avail = b_vintAvail(decoder->fcn, decoder->ctx, size)) {
        std::memcpy(data, avail, size);
        return sOKAY;
    }
    auto *p = static_cast<uint8_t *>(data);
    for (size_t i = 0; i < size; ++i) {
        uint32_t byte;
        ZEL_RETCODE rc = decoder->fcn(decoder->ctx, &byte);
        if (rc != sOKAY) return rc;
        p[i] = static_cast<uint8_t>(byte);
    }
    return sOKAY;
}

ZEL_RETCODE b_decoderDecodeBytesBulk(const B_DECODER_T *decoder, size_t bytesRequested, void *data,
                                     size_t *bytesRead) {
    if (decoder->bulk_fcn == nullptr) return eNOTIMPLEMENTED;
    return decoder->bulk_fcn(decoder->ctx, bytesRequested, data, bytesRead);
}

ZEL_RETCODE b_decoderDecodeSlot(const B_DECODER_T *decoder, ZEL_SLOT *val) {
    return b_decoderScalar(decoder, val);
}

ZEL_RETCODE b_decoderDecodeSize_t(const B_DECODER_T *decoder, size_t *val) {
    uint64_t v;
    ZEL_RETCODE rc = b_decoderUnsigned(decoder, &v);
    if (rc == sOKAY) *val = v;
    return rc;
}

ZEL_RETCODE b_decoderDecodeString(const B_DECODER_T *decoder, char **pstr, size_t *plen,
                                  B_TAG_SUB subTag) {
    ZEL_RETCODE rc;
    uint64_t len;
    B_STREAM_CHECK(rc = b_decoderUnsigned(decoder, &len));
    if (len == SIZE_MAX) return eNOMEMORY;  // no room for the terminator
    char *str;
    B_STREAM_CHECK(rc = b_tag_subAlloc(subTag, len + 1, &str));
    if ((rc = b_decoderDecodeBytes(decoder, str, len)) != sOKAY) {
        b_tag_subFree(subTag, str);
        return rc;
    }
    str[len] = '\0';
    *pstr = str;
    if (plen != nullptr) *plen = len + 1;
    return sOKAY;
}

ZEL_RETCODE b_decoderDecodeStringToBuff(const B_DECODER_T *decoder, char *str, size_t *plen) {
    ZEL_RETCODE rc;
    uint64_t len;
    B_STREAM_CHECK(rc = b_decoderUnsigned(decoder, &len));
    if (len >= *plen) return eDBCORRUPTED;  // it and its terminator must fit
    B_STREAM_CHECK(rc = b_decoderDecodeBytes(decoder, str, len));
    str[len] = '\0';
    *plen = len + 1;
    return sOKAY;
}

// One scalar, one allocating array and one array-into-buffer entry point
// per element type.
#define B_DECODER_TYPE(Name, T)                                                                 \
    ZEL_RETCODE b_decoderDecode##Name(const B_DECODER_T *decoder, T *val) {                     \
        return b_decoderScalar(decoder, val);                                                   \
    }                                                                                           \
    ZEL_RETCODE b_decoderDecode##Name##Array(const B_DECODER_T *decoder, size_t size, T **pval, \
                                             B_TAG_SUB subTag) {                                \
        return b_decoderArray(decoder, size, pval, subTag);                                     \
    }                                                                                           \
    ZEL_RETCODE b_decoderDecode##Name##ArrayBuffer(const B_DECODER_T *decoder, size_t size,     \
                                                   T *val) {                                    \
        return b_decoderArrayInto(decoder, size, val);                                          \
    }
B_DECODER_TYPE(Uint8, uint8_t)
B_DECODER_TYPE(Uint16, uint16_t)
B_DECODER_TYPE(Uint32, uint32_t)
B_DECODER_TYPE(Uint64, uint64_t)
B_DECODER_TYPE(Int8, int8_t)
B_DECODER_TYPE(Int16, int16_t)
B_DECODER_TYPE(Int32, int32_t)
B_DECODER_TYPE(Int64, int64_t)
B_DECODER_TYPE(Float, float)
B_DECODER_TYPE(Double, double)
#undef B_DECODER_TYPE
