/*
 * bucket.cpp - the bucket of a hash key in its compact and expanded forms.
 *
 * The one idea: a bucket is one allocation of three regions laid out by the
 * key (31 entry records, 31 key buffers, then the ids), and every pointer in
 * it follows from the key's layout and the entries' maxIds. So the expanded
 * form stores the allocation as an image with its pointers zeroed and
 * rebuilds them on loading, and the compact form stores only the entries in
 * use, from which the reader sizes the id room again.
 *
 * Compact form, all fields varints:
 *   FIELD       PRESENT             CONTENT
 *   depth       always
 *   numEntries  always              at most 31
 *   total ids   numEntries not 0    the sum of numIds over the entries in use
 *   per entry   numEntries not 0    n, then n pairs of column id and value in
 *                                   packed form, in key order; numIds; the ids
 *
 * Expanded form, raw fields in the host's order:
 *   OFFSET  SIZE             MEANING
 *   0       4                depth
 *   4       4                numEntries
 *   8       8                bucket_data_len
 *   16      bucket_data_len  bucket_data: the 31 entry records of 40 bytes
 *                            (data and ids stored as zeros, padding zero),
 *                            the key buffers, the ids
 */
#include "bucket.h"

#include <algorithm>
#include <cstring>

#include "decoder.h"
#include "encoder.h"
#include "node_internal.h"
#include "schema_layout.h"
#include "tag_sub.h"
#include "vint_internal.h"

static_assert(sizeof(ZEL_BUCKET_ENTRY) == 40 && offsetof(ZEL_BUCKET_ENTRY, data) == 0 &&
                  offsetof(ZEL_BUCKET_ENTRY, ids) == 8 &&
                  offsetof(ZEL_BUCKET_ENTRY, numIds) == 16 &&
                  offsetof(ZEL_BUCKET_ENTRY, maxIds) == 20 &&
                  offsetof(ZEL_BUCKET_ENTRY, hashIsValid) == 24 &&
                  offsetof(ZEL_BUCKET_ENTRY, padding) == 28 &&
                  offsetof(ZEL_BUCKET_ENTRY, hashValue) == 32,
              "a stored bucket entry is the 40-byte record");
static_assert(sizeof(ZEL_BOOL_T) == 4, "hashIsValid fills 4 bytes");
static_assert(ZEL_BUCKET_ENTRIES == SCH_BUCKET_ENTRIES &&
                  SCH_BUCKET_LEN == ZEL_BUCKET_ENTRIES * sizeof(ZEL_BUCKET_ENTRY),
              "the key's layout has room for the 31 entry records");

namespace {

// The expanded header.
struct BucketHeader {
    uint32_t depth;
    uint32_t numEntries;
    uint64_t len;
};
static_assert(sizeof(BucketHeader) == 16, "the expanded header is 16 bytes");

constexpr size_t kSlot = sizeof(ZEL_SLOT);

// The key's bucket layout; eINVARG for a key that has none.
ZEL_RETCODE bucket_layout(SCH_KEY_INFO_C ki, const ZEL_BUCKET_BUFFER_INFO **pbi) {
    if (!ki) return eINVNULLARG;
    const ZEL_BUCKET_BUFFER_INFO &bi = ki->bufferInfo.bucket;
    if (bi.bucket_len != SCH_BUCKET_LEN || bi.key_byte_len != ki->byte_len ||
        bi.data_len < ZEL_BUCKET_ENTRIES * bi.key_byte_len)
        return eINVARG;
    *pbi = &bi;
    return sOKAY;
}

// Where `n` ids past `slots` begin. An unused entry's ids may start past the
// room (the room formula is kept, below): such an address is computed for
// the record and never dereferenced here.
ZEL_SLOT *bucket_ids_at(ZEL_SLOT *slots, uint64_t n) {
    return reinterpret_cast<ZEL_SLOT *>(reinterpret_cast<uintptr_t>(slots) + n * kSlot);
}

// The three regions of a bucket whose data holds the entries and the keys.
void bucket_regions(ZEL_BUCKET *bucket, const ZEL_BUCKET_BUFFER_INFO &bi) {
    uint8_t *base = bucket->bucket_data;
    bucket->entries = reinterpret_cast<ZEL_BUCKET_ENTRY *>(base);
    bucket->key_data = base + bi.bucket_len;
    bucket->slots = reinterpret_cast<ZEL_SLOT *>(base + bi.bucket_len + bi.data_len);
}

// Entry i's key buffer, and its ids after `running` ids of the entries below.
void bucket_place_entry(ZEL_BUCKET *bucket, const ZEL_BUCKET_BUFFER_INFO &bi, uint32_t i,
                        uint64_t running) {
    ZEL_BUCKET_ENTRY &e = bucket->entries[i];
    e.data = bucket->key_data + i * bi.key_byte_len;
    e.ids = bucket_ids_at(bucket->slots, running);
}

// Every pointer of the bucket, from its data and the entries' maxIds.
void bucket_place(ZEL_BUCKET *bucket, const ZEL_BUCKET_BUFFER_INFO &bi) {
    bucket_regions(bucket, bi);
    uint64_t running = 0;
    for (uint32_t i = 0; i < ZEL_BUCKET_ENTRIES; ++i) {
        bucket_place_entry(bucket, bi, i, running);
        running += bucket->entries[i].maxIds;
    }
}

// A field of entry i of an image, read as bytes (an image may hold any bits,
// also in hashIsValid).
uint32_t bucket_field(const uint8_t *image, uint32_t i, size_t offset) {
    uint32_t v;
    std::memcpy(&v, image + i * sizeof(ZEL_BUCKET_ENTRY) + offset, sizeof v);
    return v;
}

// Whether an image of `len` bytes is a bucket: its regions fit, each entry
// in use has no more ids than room and those ids lie within the id region
// (the room of the entries not in use, and of an entry's unused ids, may
// pass it, as the kept room formula allows), and every hashIsValid is a
// ZEL_BOOL_T.
bool bucket_image_fits(const uint8_t *image, size_t len, uint32_t numEntries,
                       const ZEL_BUCKET_BUFFER_INFO &bi) {
    if (numEntries > ZEL_BUCKET_ENTRIES || len < bi.bucket_len + bi.data_len) return false;
    const uint64_t room = (len - bi.bucket_len - bi.data_len) / kSlot;
    uint64_t running = 0;
    for (uint32_t i = 0; i < ZEL_BUCKET_ENTRIES; ++i) {
        if (bucket_field(image, i, offsetof(ZEL_BUCKET_ENTRY, hashIsValid)) > ZEL_TRUE)
            return false;
        if (i >= numEntries) continue;
        const uint32_t numIds = bucket_field(image, i, offsetof(ZEL_BUCKET_ENTRY, numIds));
        const uint32_t maxIds = bucket_field(image, i, offsetof(ZEL_BUCKET_ENTRY, maxIds));
        if (numIds > maxIds || running + numIds > room) return false;
        running += maxIds;
    }
    return true;
}

// One entry in use of a compact stream: its key pairs, then its ids, which
// must lie within the room of `room` ids, `running` of them taken below it
// (its room for one id, when it has none, need not).
ZEL_RETCODE bucket_unpack_entry(SCH_KEY_INFO_C ki, ZEL_BUCKET_ENTRY *e, uint64_t room,
                                uint64_t running, const B_DECODER_T *decoder) {
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = zel::detail::node_unpack_key_pairs(ki, e->data, decoder));
    uint32_t numIds;
    B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &numIds));
    // An entry without ids keeps room for one.
    e->maxIds = numIds ? numIds : 1;
    if (running + numIds > room) return eDBCORRUPTED;
    for (uint32_t k = 0; k < numIds; ++k)
        B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &e->ids[k]));
    e->numIds = numIds;
    return sOKAY;
}

// Writes the record of `bucket` before anything is read into it.
void bucket_start(ZEL_BUCKET *bucket, SCH_KEY_INFO_C ki, B_TAG_SUB subTag) {
    *bucket = ZEL_BUCKET{};
    bucket->ki = ki;
    bucket->subTag = subTag;
}

}  // namespace

ZEL_RETCODE bucket_set_offsets(ZEL_BUCKET *bucket) {
    if (!bucket || !bucket->bucket_data) return eINVNULLARG;
    const ZEL_BUCKET_BUFFER_INFO *bi;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = bucket_layout(bucket->ki, &bi));
    if (bucket->bucket_data_len < bi->bucket_len + bi->data_len) return eRANGE;
    bucket_place(bucket, *bi);
    return sOKAY;
}

void bucket_free(ZEL_BUCKET *bucket) {
    if (!bucket) return;
    if (bucket->bucket_data) b_tag_subFree(bucket->subTag, bucket->bucket_data);
    *bucket = ZEL_BUCKET{};
}

ZEL_RETCODE bucket_pack_compact(const ZEL_BUCKET *bucket, const B_ENCODER_T *encoder) {
    if (!bucket || !encoder) return eINVNULLARG;
    const ZEL_BUCKET_BUFFER_INFO *bi;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = bucket_layout(bucket->ki, &bi));
    const uint32_t n = bucket->numEntries;
    if (n > ZEL_BUCKET_ENTRIES) return eRANGE;
    if (n && !bucket->entries) return eINVNULLARG;
    uint64_t total = 0;
    for (uint32_t i = 0; i < n; ++i) {
        const ZEL_BUCKET_ENTRY &e = bucket->entries[i];
        if (e.numIds > e.maxIds) return eRANGE;
        if (!e.data || (e.numIds && !e.ids)) return eINVNULLARG;
        total += e.numIds;
    }
    B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, bucket->depth));
    B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, n));
    if (n == 0) return sOKAY;
    B_STREAM_CHECK(rc = b_encoderEncodeUint64(encoder, total));
    for (uint32_t i = 0; i < n; ++i) {
        const ZEL_BUCKET_ENTRY &e = bucket->entries[i];
        // Kept: the inverted sense of null of this writer. A nullable element
        // holding a value (has-value byte 1) is skipped; a null one is
        // written from its zeroed bytes and so reads back holding a value.
        B_STREAM_CHECK(rc = zel::detail::node_pack_key_pairs(
                           bucket->ki, e.data, zel::detail::NodePairs::unset_raw, encoder));
        B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, e.numIds));
        for (uint32_t k = 0; k < e.numIds; ++k)
            B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, e.ids[k]));
    }
    return sOKAY;
}

ZEL_RETCODE bucket_unpack_compact(ZEL_BUCKET *bucket, SCH_KEY_INFO_C ki, const B_DECODER_T *decoder,
                                  B_TAG_SUB subTag) {
    if (!bucket || !decoder || !decoder->ctx) return eINVNULLARG;
    const ZEL_BUCKET_BUFFER_INFO *bi;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = bucket_layout(ki, &bi));
    bucket_start(bucket, ki, subTag);
    uint32_t depth, n;
    B_STREAM_CHECK(rc = b_decoderSeek(decoder, 0));
    B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &depth));
    B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &n));
    if (n > ZEL_BUCKET_ENTRIES) return eDBCORRUPTED;
    uint64_t total = 0;
    if (n) {
        B_STREAM_CHECK(rc = b_decoderDecodeUint64(decoder, &total));
        // Each id takes a byte at least: a total the input cannot hold is
        // refused before the room is allocated for it.
        if (total > b_decoderBytesLeft(decoder)) return eEOD;
    }
    // Kept: the id room is the larger of the total and the key's id_len,
    // rounded to 8 bytes. It fixes bucket_data_len, and so the expanded form.
    const size_t room = b_alignBufferSize(std::max<size_t>(total * kSlot, bi->id_len));
    const size_t len = bi->bucket_len + bi->data_len + room;
    ZEL_CHECK(rc = b_tag_subAllocZero(subTag, len, &bucket->bucket_data));
    bucket->bucket_data_len = len;
    bucket_regions(bucket, *bi);
    uint64_t running = 0;
    for (uint32_t i = 0; i < ZEL_BUCKET_ENTRIES; ++i) {
        bucket_place_entry(bucket, *bi, i, running);
        ZEL_BUCKET_ENTRY *e = &bucket->entries[i];
        // Kept: hashIsValid and hashValue are not stored here: they read
        // back as 0 from the cleared allocation.
        if (i >= n) {
            e->maxIds = 1;
        } else if ((rc = bucket_unpack_entry(ki, e, room / kSlot, running, decoder)) != sOKAY) {
            bucket_free(bucket);
            return rc;
        }
        running += e->maxIds;
    }
    bucket->depth = depth;
    bucket->numEntries = n;
    return sOKAY;
}

ZEL_RETCODE bucket_pack_expanded(const ZEL_BUCKET *bucket, const B_ENCODER_T *encoder) {
    if (!bucket || !encoder || !bucket->bucket_data) return eINVNULLARG;
    const ZEL_BUCKET_BUFFER_INFO *bi;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = bucket_layout(bucket->ki, &bi));
    const uint8_t *data = bucket->bucket_data;
    const size_t len = bucket->bucket_data_len;
    if (!bucket_image_fits(data, len, bucket->numEntries, *bi)) return eRANGE;
    const BucketHeader head{bucket->depth, bucket->numEntries, len};
    B_STREAM_CHECK(rc = b_encoderEncodeBytesBulk(encoder, &head, sizeof head));
    // The entry records with their pointers and padding as zeros, so that the
    // stored bytes never depend on where the bucket lay in memory.
    uint8_t entries[SCH_BUCKET_LEN];
    std::memcpy(entries, data, sizeof entries);
    for (uint32_t i = 0; i < ZEL_BUCKET_ENTRIES; ++i) {
        uint8_t *rec = entries + i * sizeof(ZEL_BUCKET_ENTRY);
        std::memset(rec + offsetof(ZEL_BUCKET_ENTRY, data), 0, 2 * sizeof(void *));
        std::memset(rec + offsetof(ZEL_BUCKET_ENTRY, padding), 0, sizeof(uint32_t));
    }
    B_STREAM_CHECK(rc = b_encoderEncodeBytesBulk(encoder, entries, sizeof entries));
    return b_encoderEncodeBytesBulk(encoder, data + sizeof entries, len - sizeof entries);
}

ZEL_RETCODE bucket_unpack_expanded(ZEL_BUCKET *bucket, SCH_KEY_INFO_C ki,
                                   const B_DECODER_T *decoder, B_TAG_SUB subTag) {
    if (!bucket || !decoder || !decoder->ctx) return eINVNULLARG;
    const ZEL_BUCKET_BUFFER_INFO *bi;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = bucket_layout(ki, &bi));
    bucket_start(bucket, ki, subTag);
    BucketHeader head;
    B_STREAM_CHECK(rc = b_decoderSeek(decoder, 0));
    B_STREAM_CHECK(rc = b_decoderDecodeBytesBulk(decoder, sizeof head, &head, nullptr));
    // A length of 0 (no data to place the entries in) or one short of the
    // entries and keys is no bucket; one past the input fails before the
    // allocation.
    if (head.numEntries > ZEL_BUCKET_ENTRIES || head.len < bi->bucket_len + bi->data_len)
        return eDBCORRUPTED;
    if (head.len > b_decoderBytesLeft(decoder)) return eEOD;
    ZEL_CHECK(rc = b_tag_subAllocZero(subTag, head.len, &bucket->bucket_data));
    bucket->bucket_data_len = head.len;
    if ((rc = b_decoderDecodeBytesBulk(decoder, head.len, bucket->bucket_data, nullptr)) == sOKAY &&
        !bucket_image_fits(bucket->bucket_data, head.len, head.numEntries, *bi))
        rc = eDBCORRUPTED;
    if (rc != sOKAY) {
        bucket_free(bucket);
        return rc;
    }
    bucket->depth = head.depth;
    bucket->numEntries = head.numEntries;
    bucket_place(bucket, *bi);
    return sOKAY;
}
