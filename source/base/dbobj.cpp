/*
 * dbobj.cpp - the wrapping of stored objects. Every object the engine stores
 * goes out through dbobj_compress and comes back through dbobj_convert_in;
 * the packers of rows, nodes, buckets and chunks never see the wrapping.
 * Padding to 16 bytes serves a block cipher that deciphers the whole stored
 * buffer, header included, in one call.
 *
 * Stored form:
 *
 * OFFSET  SIZE  MEANING
 * 0       1     header: method (1 plain, 2 LZMA) or'ed with the item format
 *               (16 compact, 32 expanded), a varint of one byte
 * 1       n     plain: the packed bytes as they stand
 *               LZMA: the length varint and coded bytes of lzma.h
 * 1 + n   0-15  zeros, to a multiple of 16 of the whole
 */
#include "dbobj.h"

#include <cstring>

#include "lzma.h"
#include "vint.h"

namespace {

constexpr int dbobj_header(ZEL_COMPRESS_METHOD method, ZEL_ITEM_FORMAT format) {
    return static_cast<int>(method) | static_cast<int>(format);
}
static_assert(OBJ_COMPACT_NONE == dbobj_header(ZEL_COMPRESS_NONE, ZEL_ITEM_FORMAT_COMPACT) &&
                  OBJ_COMPACT_LZMA == dbobj_header(ZEL_COMPRESS_LZMA, ZEL_ITEM_FORMAT_COMPACT) &&
                  OBJ_EXPANDED_NONE == dbobj_header(ZEL_COMPRESS_NONE, ZEL_ITEM_FORMAT_EXPANDED) &&
                  OBJ_EXPANDED_LZMA == dbobj_header(ZEL_COMPRESS_LZMA, ZEL_ITEM_FORMAT_EXPANDED),
              "the header is the method or'ed with the item format");

constexpr size_t kBlock = 16;
constexpr uint32_t kMethodMask = 0x0F;
constexpr uint32_t kFormatMask = 0xF0;

ZEL_RETCODE dbobj_body(void *compressInfo, uint32_t method, const B_BUFFER_T *src,
                       B_BUFFER_T *dst) {
    ZEL_RETCODE rc;
    switch (method) {
        case ZEL_COMPRESS_NONE: {
            /* Appended as bytes: b_bufferCopy would turn dst into a view of a
             * borrowed src and lose the header. */
            const size_t from = src->pos < src->len ? src->pos : src->len;
            ZEL_CHECK(rc = b_bufferEmitBytesBulk(dst, src->data.bin + from, src->len - from));
            return b_bufferPad(dst, kBlock);
        }
        case ZEL_COMPRESS_LZMA:
            if (compressInfo == nullptr) return eNOTIMPLEMENTED;
            ZEL_CHECK(rc = b_lzmaCompress(static_cast<B_LZMA_T *>(compressInfo), src, dst));
            return b_bufferPad(dst, kBlock);
        default:
            return eSYS_ERROR;
    }
}

/* Gives a borrowed buffer memory of its own with the same bytes, so that it
 * can be deciphered in place. Growing drops the view (and zeroes the fresh
 * memory), hence the bytes are kept aside and copied back. */
ZEL_RETCODE dbobj_own(B_BUFFER_T *buffer) {
    if (buffer->size != 0) return sOKAY;
    const uint8_t *view = buffer->data.bin;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_bufferIncreaseSize(buffer, buffer->len));
    if (view != nullptr) std::memcpy(buffer->data.bin, view, buffer->len);
    return sOKAY;
}

ZEL_RETCODE dbobj_unwrap(B_BUFFER_T *dst, B_BUFFER_T *buffer, ZEL_ENCRYPT_C enc_in,
                         ZEL_ITEM_FORMAT *item_format, void *compress_info) {
    buffer->pos = 0;
    dst->len = 0;
    ZEL_RETCODE rc;
    if (enc_in != nullptr) {
        if (enc_in->decFcn == nullptr) return eINVNULLARG;
        ZEL_CHECK(rc = dbobj_own(buffer));
        ZEL_CHECK(rc = enc_in->decFcn(enc_in->data, buffer->data.bin, buffer->len));
    }
    uint32_t header = 0;
    ZEL_CHECK(rc = b_vintDecodeUInt32(b_bufferInputByte, buffer, &header));
    switch (header & kMethodMask) {
        case ZEL_COMPRESS_NONE:
            ZEL_CHECK(rc = b_bufferCopy(dst, buffer));
            break;
        case ZEL_COMPRESS_LZMA:
            if (compress_info == nullptr) return eNOTIMPLEMENTED;
            /* 2, a stream that holds a short repeat, is passed on as it is. */
            ZEL_CHECK(rc = b_lzmaDecompress(static_cast<B_LZMA_T *>(compress_info), buffer, dst));
            break;
        default:
            return eSYS_ERROR;
    }
    if (item_format != nullptr) *item_format = static_cast<ZEL_ITEM_FORMAT>(header & kFormatMask);
    return rc;
}

}  // namespace

extern "C" {

ZEL_RETCODE dbobj_compress(void *compressInfo, ZEL_COMPRESS_METHOD method,
                           uint32_t rowCompressMinSize, ZEL_ITEM_FORMAT itemFormat,
                           const B_BUFFER_T *src, B_BUFFER_T *dst) {
    if (src == nullptr || dst == nullptr) return eINVNULLARG;
    /* An object of exactly the threshold's length is compressed. */
    const uint32_t effective = src->len < rowCompressMinSize ? ZEL_COMPRESS_NONE : method;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_vintEncodeUIntmax(effective | static_cast<uint32_t>(itemFormat),
                                       b_bufferEmitByte, dst));
    return dbobj_body(compressInfo, effective, src, dst);
}

ZEL_RETCODE dbobj_convert_in(B_BUFFER_T *dst, B_BUFFER_T *buffer, ZEL_ENCRYPT_C enc_in,
                             ZEL_ITEM_FORMAT *item_format, void *compress_info) {
    if (dst == nullptr || buffer == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc = sOKAY;
    if (buffer->len != 0) rc = dbobj_unwrap(dst, buffer, enc_in, item_format, compress_info);
    dst->pos = 0;
    return rc;
}

}  // extern "C"
