/*
 * chunk.cpp - a large object's chunk in its compact and expanded forms.
 *
 * The one idea: a chunk is a run of raw bytes behind a small header that
 * says whose piece it is and which; both forms hold the same fields, varints
 * in one and host-order integers in the other. The stored length is checked
 * against the input before the bytes are allocated, so a damaged length
 * costs nothing.
 *
 * Compact form:
 *   FIELD     ENCODING   CONTENT
 *   is_chunk  varint     127, read and not tested
 *   owner     varint     the owning row's slot
 *   seq       varint     the place of this piece
 *   len       varint
 *   bytes     len raw bytes
 *
 * Expanded form, host order:
 *   OFFSET  SIZE  MEANING
 *   0       2     is_chunk, 127
 *   2       8     owner
 *   10      8     seq
 *   18      4     len
 *   22      len   bytes
 */
#include "chunk.h"

#include <cstring>

#include "decoder.h"
#include "encoder.h"
#include "tag_sub.h"
#include "vint_internal.h"

namespace {

// The expanded header, packed: 22 bytes with no padding.
constexpr size_t kOwnerAt = 2, kSeqAt = 10, kLenAt = 18, kHeadLen = 22;

struct ChunkHead {
    uint16_t mark;
    ZEL_SLOT owner;
    ZEL_CHUNK_SEQ seq;
    uint32_t len;
};

// `len` bytes from subTag, read by `read`; on success they go to chunk.
template <class Read>
ZEL_RETCODE chunk_take(ZEL_CHUNK *chunk, const ChunkHead &h, B_TAG_SUB subTag,
                       const B_DECODER_T *decoder, Read read) {
    if (h.len > b_decoderBytesLeft(decoder)) return eEOD;  // before the allocation
    uint8_t *bytes = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, h.len, &bytes));
    if ((rc = read(bytes)) != sOKAY) {
        b_tag_subFree(subTag, bytes);
        return rc;
    }
    chunk->bytes = bytes;
    return sOKAY;
}

void chunk_set(ZEL_CHUNK *chunk, const ChunkHead &h, B_TAG_SUB subTag) {
    chunk->subTag = subTag;
    chunk->owner = h.owner;
    chunk->seq = h.seq;
    chunk->len = h.len;
}

ZEL_RETCODE chunk_check(const ZEL_CHUNK *chunk, const void *coder) {
    if (!chunk || !coder || (chunk->len && !chunk->bytes)) return eINVNULLARG;
    return sOKAY;
}

}  // namespace

ZEL_RETCODE chunk_pack_compact(const ZEL_CHUNK *chunk, const B_ENCODER_T *encoder) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = chunk_check(chunk, encoder));
    B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, ZEL_CHUNK_MARK));
    B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, chunk->owner));
    B_STREAM_CHECK(rc = b_encoderEncodeUint64(encoder, chunk->seq));
    B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, chunk->len));
    return b_encoderEncodeBytes(encoder, chunk->bytes, chunk->len);
}

ZEL_RETCODE chunk_pack_expanded(const ZEL_CHUNK *chunk, const B_ENCODER_T *encoder) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = chunk_check(chunk, encoder));
    uint8_t head[kHeadLen];
    const uint16_t mark = ZEL_CHUNK_MARK;
    std::memcpy(head, &mark, sizeof mark);
    std::memcpy(head + kOwnerAt, &chunk->owner, sizeof chunk->owner);
    std::memcpy(head + kSeqAt, &chunk->seq, sizeof chunk->seq);
    std::memcpy(head + kLenAt, &chunk->len, sizeof chunk->len);
    B_STREAM_CHECK(rc = b_encoderEncodeBytesBulk(encoder, head, sizeof head));
    if (chunk->len == 0) return sOKAY;
    return b_encoderEncodeBytesBulk(encoder, chunk->bytes, chunk->len);
}

ZEL_RETCODE chunk_unpack_compact(ZEL_CHUNK *chunk, const B_DECODER_T *decoder, B_TAG_SUB subTag) {
    if (!chunk || !decoder || !decoder->ctx) return eINVNULLARG;
    ChunkHead h;
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_decoderSeek(decoder, 0));
    // Kept: the marker is read and not tested; another first varint that
    // fits 16 bits reads the same.
    B_STREAM_CHECK(rc = b_decoderDecodeUint16(decoder, &h.mark));
    B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &h.owner));
    B_STREAM_CHECK(rc = b_decoderDecodeUint64(decoder, &h.seq));
    B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &h.len));
    // Kept: a compact chunk of len 0 leaves `bytes` as it was.
    if (h.len)
        ZEL_CHECK(rc = chunk_take(chunk, h, subTag, decoder, [&](uint8_t *bytes) {
                      return b_decoderDecodeBytes(decoder, bytes, h.len);
                  }));
    chunk_set(chunk, h, subTag);
    return sOKAY;
}

ZEL_RETCODE chunk_unpack_expanded(ZEL_CHUNK *chunk, const B_DECODER_T *decoder, B_TAG_SUB subTag) {
    if (!chunk || !decoder || !decoder->ctx) return eINVNULLARG;
    uint8_t head[kHeadLen];
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_decoderSeek(decoder, 0));
    B_STREAM_CHECK(rc = b_decoderDecodeBytesBulk(decoder, sizeof head, head, nullptr));
    ChunkHead h;
    std::memcpy(&h.mark, head, sizeof h.mark);
    std::memcpy(&h.owner, head + kOwnerAt, sizeof h.owner);
    std::memcpy(&h.seq, head + kSeqAt, sizeof h.seq);
    std::memcpy(&h.len, head + kLenAt, sizeof h.len);
    // Kept: unlike the compact reader, this one allocates also for len 0.
    ZEL_CHECK(rc = chunk_take(chunk, h, subTag, decoder, [&](uint8_t *bytes) {
                  return h.len ? b_decoderDecodeBytesBulk(decoder, h.len, bytes, nullptr) : sOKAY;
              }));
    chunk_set(chunk, h, subTag);
    return sOKAY;
}

void chunk_free(ZEL_CHUNK *chunk) {
    if (!chunk) return;
    if (chunk->bytes) b_tag_subFree(chunk->subTag, chunk->bytes);
    chunk->bytes = nullptr;
}
