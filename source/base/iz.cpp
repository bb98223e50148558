/*
 * iz.cpp - item zero in its compact and expanded forms.
 *
 * The one idea: item zero is a fixed header and one array, the roots of the
 * table's AVL keys, whose length the header gives; the record is read again
 * and again into the same memory, so the array grows to the largest count it
 * has seen and is never given back until iz_free.
 *
 * Compact form:
 *   FIELD      ENCODING         CONTENT
 *   next       varint           the next slot to give out
 *   total      varint
 *   encType    varint
 *   dbKey      16 raw bytes
 *   drawerKey  16 raw bytes
 *   numAvls    varint
 *   avlRoots   numAvls varints
 *
 * Expanded form, host order:
 *   OFFSET  SIZE          MEANING
 *   0       8             next
 *   8       8             total
 *   16      4             encType
 *   20      16            dbKey
 *   36      16            drawerKey
 *   52      2             numAvls
 *   54      8 per root    avlRoots
 */
#include "iz.h"

#include <cstring>

#include "decoder.h"
#include "encoder.h"
#include "tag_sub.h"
#include "vint_internal.h"

static_assert(sizeof(ZEL_ENC_TYPE) == 4, "encType is stored in 4 bytes");
static_assert(sizeof(ZEL_KEY_INDEX) == 2, "numAvls is stored in 2 bytes");

namespace {

constexpr size_t kKeyLen = ZEL_ITEM_ZERO_KEY_LEN;
constexpr size_t kEncAt = 16, kDbKeyAt = 20, kDrawerKeyAt = 36, kCountAt = 52, kHeadLen = 54;

// The fixed fields, as read before any of them goes to the record.
struct IzHead {
    ZEL_SLOT next;
    ZEL_SLOT total;
    uint32_t encType;
    uint8_t dbKey[kKeyLen];
    uint8_t drawerKey[kKeyLen];
    uint16_t count;
};

ZEL_RETCODE iz_check(const ZEL_ITEM_ZERO *iz, const void *coder) {
    if (!iz || !coder || (iz->numAvls && !iz->avlRoots)) return eINVNULLARG;
    return sOKAY;
}

// The fixed fields into the record, then room for the roots. Kept: the
// array is never shrunk, and numAvls takes the stored count even when
// growing fails.
ZEL_RETCODE iz_take(ZEL_ITEM_ZERO *iz, const IzHead &h, B_TAG_SUB subTag) {
    // Stored types past the enumeration's 32-bit span cannot be held.
    if (h.encType > 0x7FFFFFFFu) return eDBCORRUPTED;
    iz->subTag = subTag;
    iz->next = h.next;
    iz->total = h.total;
    iz->encType = static_cast<ZEL_ENC_TYPE>(h.encType);
    std::memcpy(iz->dbKey, h.dbKey, kKeyLen);
    std::memcpy(iz->drawerKey, h.drawerKey, kKeyLen);
    const size_t have = iz->avlRoots ? iz->numAvls : 0;
    ZEL_RETCODE rc = sOKAY;
    if (h.count > have)
        rc = b_tag_subAllocOrReallocClear(subTag, iz->avlRoots, have * sizeof(ZEL_SLOT),
                                          h.count * sizeof(ZEL_SLOT), &iz->avlRoots);
    iz->numAvls = h.count;
    return rc;
}

}  // namespace

void iz_init(ZEL_ITEM_ZERO *iz, B_TAG_SUB subTag) {
    if (!iz) return;
    *iz = ZEL_ITEM_ZERO{};
    iz->subTag = subTag;
    iz->next = 1;
}

ZEL_RETCODE iz_pack_compact(const ZEL_ITEM_ZERO *iz, const B_ENCODER_T *encoder) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = iz_check(iz, encoder));
    B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, iz->next));
    B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, iz->total));
    B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, static_cast<uint32_t>(iz->encType)));
    B_STREAM_CHECK(rc = b_encoderEncodeBytes(encoder, iz->dbKey, kKeyLen));
    B_STREAM_CHECK(rc = b_encoderEncodeBytes(encoder, iz->drawerKey, kKeyLen));
    B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, iz->numAvls));
    for (uint32_t k = 0; k < iz->numAvls; ++k)
        B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, iz->avlRoots[k]));
    return sOKAY;
}

ZEL_RETCODE iz_pack_expanded(const ZEL_ITEM_ZERO *iz, const B_ENCODER_T *encoder) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = iz_check(iz, encoder));
    uint8_t head[kHeadLen];
    const uint32_t enc = static_cast<uint32_t>(iz->encType);
    std::memcpy(head, &iz->next, sizeof iz->next);
    std::memcpy(head + sizeof iz->next, &iz->total, sizeof iz->total);
    std::memcpy(head + kEncAt, &enc, sizeof enc);
    std::memcpy(head + kDbKeyAt, iz->dbKey, kKeyLen);
    std::memcpy(head + kDrawerKeyAt, iz->drawerKey, kKeyLen);
    std::memcpy(head + kCountAt, &iz->numAvls, sizeof iz->numAvls);
    B_STREAM_CHECK(rc = b_encoderEncodeBytesBulk(encoder, head, sizeof head));
    if (iz->numAvls == 0) return sOKAY;
    return b_encoderEncodeBytesBulk(encoder, iz->avlRoots, iz->numAvls * sizeof(ZEL_SLOT));
}

ZEL_RETCODE iz_unpack_compact(ZEL_ITEM_ZERO *iz, const B_DECODER_T *decoder, B_TAG_SUB subTag) {
    if (!iz || !decoder || !decoder->ctx) return eINVNULLARG;
    IzHead h;
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_decoderSeek(decoder, 0));
    B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &h.next));
    B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &h.total));
    B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &h.encType));
    B_STREAM_CHECK(rc = b_decoderDecodeBytes(decoder, h.dbKey, kKeyLen));
    B_STREAM_CHECK(rc = b_decoderDecodeBytes(decoder, h.drawerKey, kKeyLen));
    B_STREAM_CHECK(rc = b_decoderDecodeUint16(decoder, &h.count));
    // A root takes a byte at least: a count the input cannot hold fails
    // before the array grows for it.
    if (h.count > b_decoderBytesLeft(decoder)) return eEOD;
    B_STREAM_CHECK(rc = iz_take(iz, h, subTag));
    for (uint32_t k = 0; k < h.count; ++k)
        B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &iz->avlRoots[k]));
    return sOKAY;
}

ZEL_RETCODE iz_unpack_expanded(ZEL_ITEM_ZERO *iz, const B_DECODER_T *decoder, B_TAG_SUB subTag) {
    if (!iz || !decoder || !decoder->ctx) return eINVNULLARG;
    uint8_t head[kHeadLen];
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_decoderSeek(decoder, 0));
    B_STREAM_CHECK(rc = b_decoderDecodeBytesBulk(decoder, sizeof head, head, nullptr));
    IzHead h;
    std::memcpy(&h.next, head, sizeof h.next);
    std::memcpy(&h.total, head + sizeof h.next, sizeof h.total);
    std::memcpy(&h.encType, head + kEncAt, sizeof h.encType);
    std::memcpy(h.dbKey, head + kDbKeyAt, kKeyLen);
    std::memcpy(h.drawerKey, head + kDrawerKeyAt, kKeyLen);
    std::memcpy(&h.count, head + kCountAt, sizeof h.count);
    const size_t bytes = h.count * sizeof(ZEL_SLOT);
    if (bytes > b_decoderBytesLeft(decoder)) return eEOD;  // before the array grows
    B_STREAM_CHECK(rc = iz_take(iz, h, subTag));
    if (bytes == 0) return sOKAY;
    return b_decoderDecodeBytesBulk(decoder, bytes, iz->avlRoots, nullptr);
}

void iz_free(ZEL_ITEM_ZERO *iz) {
    if (!iz) return;
    if (iz->avlRoots) b_tag_subFree(iz->subTag, iz->avlRoots);
    iz->avlRoots = nullptr;
    iz->numAvls = 0;
}
