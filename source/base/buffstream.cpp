/*
 * buffstream.cpp - the buffered binary streams.
 *
 * The reader hands out bytes from one buffer, refilled by a single call of
 * the caller's read function whenever it runs dry; the writer gathers bytes
 * and calls the write function only when its buffer is full or flushed.
 * Numbers take a short path when their bytes fit in what is buffered, and
 * are reversed in a register when the stream swaps. Everything else goes
 * through one copying loop per direction.
 */
#include "buffstream.h"

#include <bit>
#include <cstring>
#include <type_traits>

#include "tag_sub.h"

static_assert(std::endian::native == std::endian::little ||
              std::endian::native == std::endian::big);

namespace {

/* Reverses the bytes of a number of 1, 2, 4 or 8 bytes. */
template <class T>
T buffstream_swap(T v) {
    using U = std::conditional_t<sizeof(T) == 8, uint64_t,
                                 std::conditional_t<sizeof(T) == 4, uint32_t, uint16_t>>;
    if constexpr (sizeof(T) == 1) {
        return v;
    } else {
        U u;
        std::memcpy(&u, &v, sizeof u);
        if constexpr (sizeof(T) == 8) u = __builtin_bswap64(u);
        if constexpr (sizeof(T) == 4) u = __builtin_bswap32(u);
        if constexpr (sizeof(T) == 2) u = __builtin_bswap16(u);
        std::memcpy(&v, &u, sizeof v);
        return v;
    }
}

/* ---- Reading. */

/* `n` bytes into dst (null: skipped). */
ZEL_RETCODE buffstream_get(B_INPUT_BUFFEREDSTREAM_T *in, void *dst, size_t n) {
    auto *out = static_cast<uint8_t *>(dst);
    while (n > 0) {
        if (in->pos >= in->len) {
            uint32_t got = 0;
            const ZEL_RETCODE rc = in->readFcn(in->dataCB, in->buf, in->size, &got, 0);
            if (rc < 0) return rc;
            if (got == 0) return eEOF; /* a reader that gives nothing is at its end */
            in->len = got < in->size ? got : in->size;
            in->pos = 0;
        }
        size_t k = in->len - in->pos;
        if (k > n) k = n;
        if (out != nullptr) {
            std::memcpy(out, in->buf + in->pos, k);
            out += k;
        }
        in->pos += uint32_t(k);
        n -= k;
    }
    return sOKAY;
}

template <class T>
ZEL_RETCODE buffstream_getNumber(B_INPUT_BUFFEREDSTREAM_T *in, T *value) {
    T v;
    if (in->len - in->pos >= sizeof v) { /* pos never passes len */
        std::memcpy(&v, in->buf + in->pos, sizeof v);
        in->pos += sizeof v;
    } else {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = buffstream_get(in, &v, sizeof v));
    }
    if (value != nullptr) *value = in->byteswap != 0 ? buffstream_swap(v) : v;
    return sOKAY;
}

/* ---- Writing. */

ZEL_RETCODE buffstream_flush(B_OUTPUT_BUFFEREDSTREAM_T *out) {
    if (out->pos == 0) return sOKAY;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = out->writeFcn(out->dataCB, out->buf, out->pos));
    out->pos = 0;
    return sOKAY;
}

/* Room at pos: grow by a step while below max, else write what is there. */
ZEL_RETCODE buffstream_makeRoom(B_OUTPUT_BUFFEREDSTREAM_T *out) {
    if (out->size < out->max) {
        uint32_t grown = out->size + B_OUTPUTBUFF_STEP;
        if (grown > out->max) grown = out->max;
        uint8_t *p = nullptr;
        if (b_tag_subRealloc(out->subTag, out->buf, grown, &p) == sOKAY) {
            out->buf = p;
            out->size = grown;
            return sOKAY;
        }
        out->max = out->size; /* kept: a buffer that cannot grow is no stream failure */
    }
    return buffstream_flush(out);
}

ZEL_RETCODE buffstream_put(B_OUTPUT_BUFFEREDSTREAM_T *out, const void *src, size_t n) {
    const auto *in = static_cast<const uint8_t *>(src);
    while (n > 0) {
        if (out->pos >= out->size) {
            ZEL_RETCODE rc;
            ZEL_CHECK(rc = buffstream_makeRoom(out));
        }
        size_t k = out->size - out->pos;
        if (k > n) k = n;
        std::memcpy(out->buf + out->pos, in, k);
        out->pos += uint32_t(k);
        in += k;
        n -= k;
    }
    return sOKAY;
}

template <class T>
ZEL_RETCODE buffstream_putNumber(B_OUTPUT_BUFFEREDSTREAM_T *out, T v) {
    if (out->byteswap != 0) v = buffstream_swap(v);
    if (out->size - out->pos >= sizeof v) { /* pos never passes size */
        std::memcpy(out->buf + out->pos, &v, sizeof v);
        out->pos += sizeof v;
        return sOKAY;
    }
    return buffstream_put(out, &v, sizeof v);
}

}  // namespace

ZEL_RETCODE b_inputBuffInit(B_INPUT_BUFFEREDSTREAM_T *inStream, B_BUFFREADFCN readFcn, void *dataCB,
                            int16_t byteswap, B_TAG_SUB subTag) {
    uint8_t *buf = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAllocClear(subTag, B_BUFFSTREAM_SIZE, &buf));
    inStream->readFcn = readFcn;
    inStream->dataCB = dataCB;
    inStream->buf = buf;
    inStream->size = B_BUFFSTREAM_SIZE;
    inStream->len = 0;
    inStream->pos = 0;
    inStream->byteswap = byteswap;
    inStream->subTag = subTag;
    return sOKAY;
}

void b_inputBuffTerm(B_INPUT_BUFFEREDSTREAM_T *inStream) {
    b_tag_subFreeCanBeNull(inStream->subTag, inStream->buf);
    inStream->buf = nullptr;
    inStream->size = inStream->len = inStream->pos = 0;
}

void b_inputBuffReset(B_INPUT_BUFFEREDSTREAM_T *inStream) {
    inStream->len = inStream->pos = 0;
}

ZEL_RETCODE b_inputBuffGetChar(B_INPUT_BUFFEREDSTREAM_T *inStream, char *c) {
    return buffstream_getNumber(inStream, c);
}

ZEL_RETCODE b_inputBuffGetInt16(B_INPUT_BUFFEREDSTREAM_T *inStream, int16_t *value) {
    return buffstream_getNumber(inStream, value);
}

ZEL_RETCODE b_inputBuffGetInt32(B_INPUT_BUFFEREDSTREAM_T *inStream, int32_t *value) {
    return buffstream_getNumber(inStream, value);
}

ZEL_RETCODE b_inputBuffGetInt64(B_INPUT_BUFFEREDSTREAM_T *inStream, int64_t *value) {
    return buffstream_getNumber(inStream, value);
}

ZEL_RETCODE b_inputBuffGetFloat32(B_INPUT_BUFFEREDSTREAM_T *inStream, float *value) {
    return buffstream_getNumber(inStream, value);
}

ZEL_RETCODE b_inputBuffGetFloat64(B_INPUT_BUFFEREDSTREAM_T *inStream, double *value) {
    return buffstream_getNumber(inStream, value);
}

ZEL_RETCODE b_inputBuffGetBytes(B_INPUT_BUFFEREDSTREAM_T *inStream, void *data, uint32_t size) {
    return buffstream_get(inStream, data, size);
}

ZEL_RETCODE b_inputBuffGetStringWithLength(B_INPUT_BUFFEREDSTREAM_T *inStream, char *str,
                                           uint32_t size) {
    uint32_t len;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = buffstream_getNumber(inStream, &len));
    if (len == B_BUFFSTREAM_NULL_STRING) {
        if (str != nullptr && size > 0) str[0] = '\0';
        return sOKAY;
    }
    if (str == nullptr) return buffstream_get(inStream, nullptr, len);
    const uint32_t take = size == 0 ? 0 : (len < size - 1 ? len : size - 1);
    ZEL_CHECK(rc = buffstream_get(inStream, str, take));
    if (size > 0) str[take] = '\0';
    if (take == len) return sOKAY;
    ZEL_CHECK(rc = buffstream_get(inStream, nullptr, len - take));
    return eTX_TRUNCATED;
}

ZEL_RETCODE b_inputBuffGetString(B_INPUT_BUFFEREDSTREAM_T *inStream, B_TAG_SUB subTag, char **str) {
    uint32_t len;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = buffstream_getNumber(inStream, &len));
    if (len == B_BUFFSTREAM_NULL_STRING) {
        if (str != nullptr) *str = nullptr;
        return sOKAY;
    }
    if (str == nullptr) return buffstream_get(inStream, nullptr, len);
    char *text = nullptr;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, size_t(len) + 1, &text));
    if ((rc = buffstream_get(inStream, text, len)) < 0) {
        b_tag_subFree(subTag, text);
        return rc;
    }
    text[len] = '\0';
    *str = text;
    return sOKAY;
}

ZEL_RETCODE b_outputBuffInit(B_OUTPUT_BUFFEREDSTREAM_T *outStream, B_BUFFWRITEFCN writeFcn,
                             void *dataCB, int16_t byteswap, B_TAG_SUB subTag) {
    uint8_t *buf = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, B_BUFFSTREAM_SIZE, &buf));
    outStream->writeFcn = writeFcn;
    outStream->dataCB = dataCB;
    outStream->buf = buf;
    outStream->max = B_OUTPUTBUFF_MAX;
    outStream->size = B_BUFFSTREAM_SIZE;
    outStream->pos = 0;
    outStream->byteswap = byteswap;
    outStream->subTag = subTag;
    return sOKAY;
}

void b_outputBuffTerm(B_OUTPUT_BUFFEREDSTREAM_T *outStream) {
    b_tag_subFreeCanBeNull(outStream->subTag, outStream->buf);
    outStream->buf = nullptr;
    outStream->size = outStream->pos = 0;
}

ZEL_RETCODE b_outputBuffFlush(B_OUTPUT_BUFFEREDSTREAM_T *outStream) {
    return buffstream_flush(outStream);
}

ZEL_RETCODE b_outputBuffPutChar(B_OUTPUT_BUFFEREDSTREAM_T *outStream, char c) {
    return buffstream_putNumber(outStream, c);
}

ZEL_RETCODE b_outputBuffPutInt16(B_OUTPUT_BUFFEREDSTREAM_T *outStream, int16_t value) {
    return buffstream_putNumber(outStream, value);
}

ZEL_RETCODE b_outputBuffPutInt32(B_OUTPUT_BUFFEREDSTREAM_T *outStream, int32_t value) {
    return buffstream_putNumber(outStream, value);
}

ZEL_RETCODE b_outputBuffPutInt64(B_OUTPUT_BUFFEREDSTREAM_T *outStream, int64_t value) {
    return buffstream_putNumber(outStream, value);
}

ZEL_RETCODE b_outputBuffPutFloat32(B_OUTPUT_BUFFEREDSTREAM_T *outStream, float value) {
    return buffstream_putNumber(outStream, value);
}

ZEL_RETCODE b_outputBuffPutFloat64(B_OUTPUT_BUFFEREDSTREAM_T *outStream, double value) {
    return buffstream_putNumber(outStream, value);
}

ZEL_RETCODE b_outputBuffPutBytes(B_OUTPUT_BUFFEREDSTREAM_T *outStream, const void *data,
                                 uint32_t size) {
    return buffstream_put(outStream, data, size);
}

ZEL_RETCODE b_outputBuffPutString(B_OUTPUT_BUFFEREDSTREAM_T *outStream, const char *str) {
    return buffstream_put(outStream, str, std::strlen(str));
}

ZEL_RETCODE b_outputBuffPutStringWithLength(B_OUTPUT_BUFFEREDSTREAM_T *outStream, const char *str) {
    if (str == nullptr) return buffstream_putNumber(outStream, B_BUFFSTREAM_NULL_STRING);
    const size_t len = std::strlen(str);
    if (len >= B_BUFFSTREAM_NULL_STRING) return eRANGE;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = buffstream_putNumber(outStream, uint32_t(len)));
    return buffstream_put(outStream, str, len);
}

ZEL_RETCODE b_outputBuffSendDirect(B_OUTPUT_BUFFEREDSTREAM_T *outStream, const void *data,
                                   uint32_t size) {
    if (size == 0) return sOKAY;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = buffstream_flush(outStream));
    return outStream->writeFcn(outStream->dataCB, data, size);
}
