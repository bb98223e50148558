// The bucket formats: bytes worked by hand, the model vectors of
// gen_bucket.py in both forms, the kept oddities (the writer's inverted sense
// of null, the room formula, hash fields not stored), the stored image free
// of addresses, every bound on counts and room, random round trips and
// allocation failures.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "bucket.h"
#include "object_fixture.h"
#include "oom.h"

namespace {

using BucketTest = ObjectTest;

constexpr size_t kHead = 16;  // depth, numEntries, bucket_data_len

// Element k of `ki` in the key buffer `buff` from text; "NULL" leaves it
// null (zeroed, has-value byte 0).
void bk_put(SCH_KEY_INFO_C ki, ZEL_COL_INDEX k, uint8_t *buff, const std::string &text,
            B_TAG_SUB sub) {
    SCH_ELEM_INFO_C ei = sch_key_elem_c(ki, k);
    SCH_COL_INFO ci = sch_elem_col(ei);
    const uint32_t hvo = sch_elem_has_value_offset(ei);
    std::memset(buff + sch_elem_offset(ei), 0, sch_col_byte_len(ci));
    if (hvo) buff[hvo] = 0;
    if (text == "NULL") return;
    SCH_TYPE_INFO_C pi = sch_col_type_c(ci);
    ZEL_VALUE v;
    zel_valueInit(&v);
    ASSERT_EQ(sch_type_info(pi)->fromstring(pi, &v, 0, 0, sub, text.c_str()), sOKAY) << text;
    size_t size = sch_col_byte_len(ci);
    ASSERT_EQ(sch_type_info(pi)->copy_to_buff_fcn(pi, buff + sch_elem_offset(ei), &size, &v),
              sOKAY);
    if (hvo) buff[hvo] = 1;
    sch_col_free_fcn(ci, &v, sub);
}

// Element k as text, "<ZEL NULL>" for a null.
std::string bk_text(SCH_KEY_INFO_C ki, ZEL_COL_INDEX k, const uint8_t *buff) {
    SCH_ELEM_INFO_C ei = sch_key_elem_c(ki, k);
    ZEL_VALUE v;
    zel_valueInit(&v);
    if (sch_elem_assign_from_buff_fcn(ei, &v, buff) != sOKAY) return "?";
    std::string out;
    auto put = [](B_OUTPUT_CTX ctx, uint32_t c) -> ZEL_RETCODE {
        static_cast<std::string *>(ctx)->push_back(static_cast<char>(c));
        return sOKAY;
    };
    if (sch_col_tostring_fcn(sch_elem_col(ei), &v, 0, 0, put, &out) != sOKAY) return "?";
    return out;
}

// A bucket of `ki` as the engine would make one: entries in use with room
// for `maxIds`, the others for one id, all zero, in one allocation.
void bk_make(ZEL_BUCKET *b, SCH_KEY_INFO_C ki, const std::vector<uint32_t> &maxIds, B_TAG_SUB sub) {
    *b = ZEL_BUCKET{};
    ZEL_BUCKET_BUFFER_INFO bi;
    ASSERT_EQ(sch_bucket_get_buffer_info(ki, &bi), sOKAY);
    size_t ids = ZEL_BUCKET_ENTRIES - maxIds.size();
    for (uint32_t m : maxIds) ids += m;
    b->ki = ki;
    b->subTag = sub;
    b->bucket_data_len = bi.bucket_len + bi.data_len + 8 * ids;
    ASSERT_EQ(b_tag_subAllocZero(sub, b->bucket_data_len, &b->bucket_data), sOKAY);
    auto *entries = reinterpret_cast<ZEL_BUCKET_ENTRY *>(b->bucket_data);
    for (uint32_t i = 0; i < ZEL_BUCKET_ENTRIES; ++i)
        entries[i].maxIds = i < maxIds.size() ? maxIds[i] : 1;
    b->numEntries = static_cast<uint32_t>(maxIds.size());
    ASSERT_EQ(bucket_set_offsets(b), sOKAY);
}

// A vector's entries: key texts and ids.
struct BkEntry {
    std::vector<std::string> key;
    std::vector<uint64_t> ids;
};

std::vector<BkEntry> bk_entries(const std::string &text) {
    std::vector<BkEntry> out;
    if (text.empty()) return out;
    for (const std::string &e : rf_split(text, ';')) {
        const auto parts = rf_split(e, '/');
        BkEntry be{rf_split(parts[0], ','), {}};
        if (!parts[1].empty())
            for (const std::string &id : rf_split(parts[1], ',')) be.ids.push_back(std::stoull(id));
        out.push_back(be);
    }
    return out;
}

uint32_t bk_field(const Bytes &img, uint32_t i, size_t offset) {
    uint32_t v;
    std::memcpy(&v, img.data() + kHead + i * sizeof(ZEL_BUCKET_ENTRY) + offset, sizeof v);
    return v;
}

void bk_set_field(Bytes *img, uint32_t i, size_t offset, uint32_t v) {
    std::memcpy(img->data() + kHead + i * sizeof(ZEL_BUCKET_ENTRY) + offset, &v, sizeof v);
}

}  // namespace

TEST_F(BucketTest, EmptyBucketByHand) {
    ZEL_BUCKET b{};
    ASSERT_EQ(sch_key_byte_len(cat.five), 5u);
    ASSERT_EQ(of_unpack(bucket_unpack_compact, &b, cat.five, {0x03, 0x00}, sub), sOKAY);
    // 31 entry records of 40 bytes (1240), 31 keys of 5 bytes (155, rounded
    // to 160), and an id room of the larger of 0 x 8 and 248: 1648.
    EXPECT_EQ(b.bucket_data_len, 1648u);
    EXPECT_EQ(b.depth, 3u);
    EXPECT_EQ(b.numEntries, 0u);
    EXPECT_EQ(b.key_data, b.bucket_data + 1240);
    EXPECT_EQ(reinterpret_cast<uint8_t *>(b.slots), b.bucket_data + 1400);
    for (uint32_t i = 0; i < ZEL_BUCKET_ENTRIES; ++i) {
        EXPECT_EQ(b.entries[i].maxIds, 1u);
        EXPECT_EQ(b.entries[i].data, b.key_data + 5 * i);
        EXPECT_EQ(b.entries[i].ids, b.slots + i);
    }
    EXPECT_EQ(rf_hex(of_pack(bucket_pack_compact, b, sub)), "03 00");
    // Expanded: depth 3, no entries, the length 1648 = 0x670, then the image
    // whose first record holds only maxIds 1 (at 20).
    const Bytes img = of_pack(bucket_pack_expanded, b, sub);
    ASSERT_EQ(img.size(), kHead + 1648);
    EXPECT_EQ(rf_hex(Bytes(img.begin(), img.begin() + 56)),
              "03 00 00 00 00 00 00 00 70 06 00 00 00 00 00 00 "
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 "
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    bucket_free(&b);
    EXPECT_EQ(b.bucket_data, nullptr);
    EXPECT_EQ(b.ki, nullptr);
    ASSERT_EQ(of_unpack(bucket_unpack_expanded, &b, cat.five, img, sub), sOKAY);
    EXPECT_EQ(b.entries[30].ids, b.slots + 30);
    EXPECT_EQ(rf_hex(of_pack(bucket_pack_compact, b, sub)), "03 00");
    bucket_free(&b);
}

TEST_F(BucketTest, WriterSkipsHeldValuesAndWritesNulls) {
    SCH_KEY_INFO ki = cat.byName;  // (name, qty) nullable, id not null
    ZEL_BUCKET b{};
    bk_make(&b, ki, {2}, sub);
    ZEL_BUCKET_ENTRY &e = b.entries[0];
    bk_put(ki, 0, e.data, "ab", sub);
    bk_put(ki, 1, e.data, "NULL", sub);
    bk_put(ki, 2, e.data, "300", sub);
    e.numIds = 2;
    e.ids[0] = 7;
    e.ids[1] = 300;
    // depth 00, one entry 01, two ids in all 02; then the entry: 02 pairs,
    // kept: name holds "ab" and is skipped, qty is null and goes out from
    // its zeroed bytes (column 02, svar 0 = 00); id, not nullable, column
    // 00, svar 600 - 128 = 0x1D8 as 81 D8; two ids, 07 and 300 - 128 = 0xAC
    // as 80 AC.
    const Bytes once = of_pack(bucket_pack_compact, b, sub);
    EXPECT_EQ(rf_hex(once), "00 01 02 02 02 00 00 81 D8 02 07 80 AC");
    bucket_free(&b);
    ASSERT_EQ(of_unpack(bucket_unpack_compact, &b, ki, once, sub), sOKAY);
    // Read back the other way round: name null, qty 0 with has-value 1.
    EXPECT_EQ(bk_text(ki, 0, b.entries[0].data), "<ZEL NULL>");
    EXPECT_EQ(bk_text(ki, 1, b.entries[0].data), "0");
    EXPECT_EQ(b.entries[0].data[sch_elem_has_value_offset(sch_key_elem_c(ki, 1))], 1);
    EXPECT_EQ(bk_text(ki, 2, b.entries[0].data), "300");
    EXPECT_EQ(b.entries[0].maxIds, 2u);
    EXPECT_EQ(b.entries[0].ids[1], 300u);
    // And written again: the null name as an empty text (01 00), qty skipped.
    EXPECT_EQ(rf_hex(of_pack(bucket_pack_compact, b, sub)),
              "00 01 02 02 01 00 00 81 D8 02 07 80 AC");
    bucket_free(&b);
}

// by_name against the model: the writer from the values, the reader with the
// inverted sense.
TEST_F(BucketTest, ModelVectorsCompact) {
    SCH_KEY_INFO ki = cat.byName;
    const auto vectors = rf_vectors("good-bucket-compact.txt");
    ASSERT_GE(vectors.size(), 50u);
    for (const auto &v : vectors) {
        ASSERT_EQ(v.size(), 4u);
        const auto entries = bk_entries(v[1]);
        const Bytes want = rf_bytes(v[2]);
        ZEL_BUCKET b{};
        std::vector<uint32_t> room;
        for (const BkEntry &e : entries)
            room.push_back(std::max<uint32_t>(1, static_cast<uint32_t>(e.ids.size())));
        bk_make(&b, ki, room, sub);
        b.depth = static_cast<uint32_t>(std::stoul(v[0]));
        for (size_t i = 0; i < entries.size(); ++i) {
            ZEL_BUCKET_ENTRY &e = b.entries[i];
            for (ZEL_COL_INDEX k = 0; k < 3; ++k) bk_put(ki, k, e.data, entries[i].key[k], sub);
            e.numIds = static_cast<uint32_t>(entries[i].ids.size());
            std::copy(entries[i].ids.begin(), entries[i].ids.end(), e.ids);
        }
        EXPECT_EQ(rf_hex(of_pack(bucket_pack_compact, b, sub)), rf_hex(want));
        bucket_free(&b);
        // Kept: the room a reader sizes by the total ids alone may not hold
        // the ids of a bucket with entries that have none.
        if (v[3] == "corrupt") {
            EXPECT_EQ(of_unpack(bucket_unpack_compact, &b, ki, want, sub), eDBCORRUPTED) << v[2];
            continue;
        }
        ASSERT_EQ(of_unpack(bucket_unpack_compact, &b, ki, want, sub), sOKAY) << v[2];
        ASSERT_EQ(b.numEntries, entries.size());
        EXPECT_EQ(b.depth, std::stoul(v[0]));
        for (size_t i = 0; i < entries.size(); ++i) {
            const ZEL_BUCKET_ENTRY &e = b.entries[i];
            for (ZEL_COL_INDEX k = 0; k < 2; ++k)
                EXPECT_EQ(bk_text(ki, k, e.data),
                          entries[i].key[k] == "NULL" ? (k ? "0" : "") : "<ZEL NULL>");
            EXPECT_EQ(bk_text(ki, 2, e.data), entries[i].key[2]);
            ASSERT_EQ(e.numIds, entries[i].ids.size());
            for (size_t k = 0; k < e.numIds; ++k) EXPECT_EQ(e.ids[k], entries[i].ids[k]);
        }
        bucket_free(&b);
    }
}

// by_ids against the model: the expanded image of a bucket read from its
// compact form, with its hash fields, and back.
TEST_F(BucketTest, ModelVectorsExpanded) {
    SCH_KEY_INFO ki = cat.byIds;
    const auto vectors = rf_vectors("good-bucket-expanded.txt");
    ASSERT_GE(vectors.size(), 30u);
    for (const auto &v : vectors) {
        ASSERT_EQ(v.size(), 5u);
        const auto entries = bk_entries(v[1]);
        const auto hashes = v[2].empty() ? std::vector<std::string>{} : rf_split(v[2], ';');
        const Bytes compact = rf_bytes(v[3]), img = rf_bytes(v[4]);
        ZEL_BUCKET b{};
        ASSERT_EQ(of_unpack(bucket_unpack_compact, &b, ki, compact, sub), sOKAY);
        for (size_t i = 0; i < entries.size(); ++i) {
            EXPECT_EQ(bk_text(ki, 0, b.entries[i].data), entries[i].key[0]);
            EXPECT_EQ(bk_text(ki, 1, b.entries[i].data), entries[i].key[1]);
            EXPECT_EQ(b.entries[i].hashIsValid, ZEL_FALSE);  // kept: not stored compact
            const auto h = rf_split(hashes[i], ':');
            b.entries[i].hashIsValid = h[0] == "1" ? ZEL_TRUE : ZEL_FALSE;
            b.entries[i].hashValue = std::stoull(h[1]);
        }
        EXPECT_EQ(rf_hex(of_pack(bucket_pack_expanded, b, sub)), rf_hex(img));
        bucket_free(&b);
        ASSERT_EQ(of_unpack(bucket_unpack_expanded, &b, ki, img, sub), sOKAY);
        for (size_t i = 0; i < entries.size(); ++i)
            EXPECT_EQ(b.entries[i].hashValue, std::stoull(rf_split(hashes[i], ':')[1]));
        EXPECT_EQ(rf_hex(of_pack(bucket_pack_compact, b, sub)), rf_hex(compact));
        EXPECT_EQ(rf_hex(of_pack(bucket_pack_expanded, b, sub)), rf_hex(img));
        bucket_free(&b);
    }
}

TEST_F(BucketTest, StoredImageHoldsNoAddresses) {
    ZEL_BUCKET b{};
    bk_make(&b, cat.byIds, {1, 1}, sub);
    b.entries[1].padding = 0xDEADBEEF;
    b.entries[1].hashIsValid = ZEL_TRUE;
    const Bytes img = of_pack(bucket_pack_expanded, b, sub);
    for (uint32_t i = 0; i < ZEL_BUCKET_ENTRIES; ++i) {
        for (size_t at = 0; at < 16; at += 4) EXPECT_EQ(bk_field(img, i, at), 0u) << i;
        EXPECT_EQ(bk_field(img, i, offsetof(ZEL_BUCKET_ENTRY, padding)), 0u) << i;
    }
    EXPECT_EQ(bk_field(img, 1, offsetof(ZEL_BUCKET_ENTRY, hashIsValid)), 1u);
    EXPECT_EQ(b.entries[1].padding, 0xDEADBEEFu);  // the record is left as it was
    bucket_free(&b);
}

TEST_F(BucketTest, CountsAndRoomAreBounded) {
    ZEL_BUCKET b{};
    auto compact = [&](SCH_KEY_INFO_C ki, const Bytes &bytes) {
        const ZEL_RETCODE rc = of_unpack(bucket_unpack_compact, &b, ki, bytes, sub);
        if (rc != sOKAY) {
            EXPECT_EQ(b.bucket_data, nullptr);
        }
        return rc;
    };
    EXPECT_EQ(compact(cat.five, {0x00, 0x20}), eDBCORRUPTED);  // 32 entries
    // One entry with no pairs and 40 ids, of a total of 1: the room is 31.
    EXPECT_EQ(compact(cat.five, {0x00, 0x01, 0x01, 0x00, 0x28}), eDBCORRUPTED);
    // 31 ids fit the room of 31 exactly.
    Bytes fits = {0x00, 0x01, 0x1F, 0x00, 0x1F};
    fits.resize(fits.size() + 31, 0x05);
    EXPECT_EQ(compact(cat.five, fits), sOKAY);
    EXPECT_EQ(b.entries[0].ids[30], 5u);
    bucket_free(&b);
    // 127 ids announced with 2 bytes left: refused before allocating.
    EXPECT_EQ(compact(cat.five, {0x00, 0x01, 0x7F, 0x00, 0x00}), eEOD);
    // Column 3 (x) is no element of by_ids.
    EXPECT_EQ(compact(cat.byIds, {0x00, 0x01, 0x00, 0x01, 0x03, 0x00, 0x00}), eRANGE);
    EXPECT_EQ(compact(cat.notHash, {0x00, 0x00}), eINVARG);
    EXPECT_EQ(compact(nullptr, {0x00, 0x00}), eINVNULLARG);
    const Bytes good = {0x00, 0x01, 0x02, 0x02, 0x02, 0x00, 0x00,
                        0x81, 0xD8, 0x02, 0x07, 0x80, 0xAC};
    for (size_t n = 0; n < good.size(); ++n)
        EXPECT_NE(compact(cat.byName, Bytes(good.begin(), good.begin() + n)), sOKAY) << n;

    // Writers.
    bk_make(&b, cat.five, {}, sub);
    b.numEntries = 32;
    of_pack(bucket_pack_compact, b, sub, eRANGE);
    of_pack(bucket_pack_expanded, b, sub, eRANGE);
    b.numEntries = 1;
    b.entries[0].numIds = 2;  // room for 1
    of_pack(bucket_pack_compact, b, sub, eRANGE);
    of_pack(bucket_pack_expanded, b, sub, eRANGE);
    b.entries[0].numIds = 0;
    EXPECT_EQ(of_pack_no_bulk(bucket_pack_expanded, b, sub), eNOTIMPLEMENTED);
    const Bytes img = of_pack(bucket_pack_expanded, b, sub);
    bucket_free(&b);

    // Expanded images that cannot be a bucket.
    auto expanded = [&](const Bytes &bytes) {
        const ZEL_RETCODE rc = of_unpack(bucket_unpack_expanded, &b, cat.five, bytes, sub);
        if (rc != sOKAY) {
            EXPECT_EQ(b.bucket_data, nullptr);
        }
        bucket_free(&b);
        return rc;
    };
    ASSERT_EQ(expanded(img), sOKAY);
    auto with = [&](size_t at, uint64_t v, size_t size) {
        Bytes c = img;
        std::memcpy(c.data() + at, &v, size);
        return c;
    };
    EXPECT_EQ(expanded(with(4, 32, 4)), eDBCORRUPTED);    // 32 entries
    EXPECT_EQ(expanded(with(8, 0, 8)), eDBCORRUPTED);     // no data
    EXPECT_EQ(expanded(with(8, 1399, 8)), eDBCORRUPTED);  // short of entries and keys
    EXPECT_EQ(expanded(with(8, 1649, 8)), eEOD);          // past the input
    Bytes c = img;
    bk_set_field(&c, 0, offsetof(ZEL_BUCKET_ENTRY, numIds), 2);  // room for 1
    EXPECT_EQ(expanded(c), eDBCORRUPTED);
    bk_set_field(&c, 0, offsetof(ZEL_BUCKET_ENTRY, maxIds), 32);
    bk_set_field(&c, 0, offsetof(ZEL_BUCKET_ENTRY, numIds), 32);  // past the 31 of the room
    EXPECT_EQ(expanded(c), eDBCORRUPTED);
    bk_set_field(&c, 0, offsetof(ZEL_BUCKET_ENTRY, numIds), 31);
    EXPECT_EQ(expanded(c), sOKAY);
    bk_set_field(&c, 7, offsetof(ZEL_BUCKET_ENTRY, hashIsValid), 2);  // no ZEL_BOOL_T
    EXPECT_EQ(expanded(c), eDBCORRUPTED);
    for (size_t n = 0; n < img.size(); n += 97)
        EXPECT_NE(expanded(Bytes(img.begin(), img.begin() + n)), sOKAY) << n;

    EXPECT_EQ(bucket_set_offsets(nullptr), eINVNULLARG);
    bk_make(&b, cat.five, {}, sub);
    b.bucket_data_len = 1399;
    EXPECT_EQ(bucket_set_offsets(&b), eRANGE);
    b.bucket_data_len = 1648;
    bucket_free(&b);
}

// A room past the page runs comes as a huge buffer, which the tag does not
// clear: the reader clears it all the same.
TEST_F(BucketTest, HugeRoomIsCleared) {
    // One entry with no pairs and one id, of a stored total of 80000: a room
    // of 640000 bytes. The input holds that many bytes after the total.
    Bytes in = {0x00, 0x01, 0xC0, 0xF8, 0x00, 0x00, 0x01, 0x2A};  // 80000 - 0x4080 = 0xF800
    in.resize(in.size() + 80000, 0xEE);
    ZEL_BUCKET b{};
    ASSERT_EQ(of_unpack(bucket_unpack_compact, &b, cat.five, in, sub), sOKAY);
    ASSERT_EQ(b.bucket_data_len, 1400u + 640000);
    EXPECT_EQ(b.slots[0], 42u);
    size_t dirty = 0;
    for (size_t k = 1400 + 8; k < b.bucket_data_len; ++k) dirty += b.bucket_data[k] != 0;
    EXPECT_EQ(dirty, 0u);
    bucket_free(&b);
}

// Random buckets: the expanded image and the compact form of a key without
// nullable elements read back what they wrote; with nullable elements the
// compact form flips each has-value byte, so writing twice comes back.
TEST_F(BucketTest, RandomBucketsRoundTrip) {
    std::mt19937_64 rng(25);
    for (int round = 0; round < 40; ++round) {
        SCH_KEY_INFO ki = round % 2 ? cat.byName : cat.byIds;
        std::vector<uint32_t> room(rng() % 32);
        for (uint32_t &r : room) r = 1 + static_cast<uint32_t>(rng() % 3 ? rng() % 3 : rng() % 50);
        ZEL_BUCKET b{};
        bk_make(&b, ki, room, sub);
        b.depth = static_cast<uint32_t>(rng() % 100);
        for (uint32_t i = 0; i < b.numEntries; ++i) {
            ZEL_BUCKET_ENTRY &e = b.entries[i];
            e.numIds = e.maxIds;  // no entry without ids: the compact room holds them
            for (uint32_t k = 0; k < e.numIds; ++k) e.ids[k] = rng() >> (rng() % 64);
            const std::string n = std::to_string(static_cast<int32_t>(rng()) / 3);
            if (ki == cat.byIds) {
                bk_put(ki, 0, e.data, n, sub);
                bk_put(ki, 1, e.data, std::to_string(static_cast<int64_t>(rng())), sub);
            } else {
                bk_put(ki, 0, e.data, rng() % 3 ? "k" + n.substr(0, 6) : "NULL", sub);
                bk_put(ki, 1, e.data,
                       rng() % 3 ? std::to_string(static_cast<int>(rng() % 60000) - 30000) : "NULL",
                       sub);
                bk_put(ki, 2, e.data, n, sub);
            }
        }
        const Bytes img = of_pack(bucket_pack_expanded, b, sub);
        ZEL_BUCKET back{};
        ASSERT_EQ(of_unpack(bucket_unpack_expanded, &back, ki, img, sub), sOKAY);
        EXPECT_EQ(rf_hex(of_pack(bucket_pack_expanded, back, sub)), rf_hex(img));
        for (uint32_t i = 0; i < b.numEntries; ++i)
            EXPECT_EQ(0,
                      std::memcmp(back.entries[i].data, b.entries[i].data, sch_key_byte_len(ki)));
        bucket_free(&back);

        const Bytes once = of_pack(bucket_pack_compact, b, sub);
        Bytes again = once;
        for (int pass = 0; pass < (ki == cat.byIds ? 1 : 2); ++pass) {
            ASSERT_EQ(of_unpack(bucket_unpack_compact, &back, ki, again, sub), sOKAY);
            EXPECT_EQ(back.numEntries, b.numEntries);
            again = of_pack(bucket_pack_compact, back, sub);
            bucket_free(&back);
        }
        EXPECT_EQ(rf_hex(again), rf_hex(once)) << round;
        bucket_free(&b);
    }
}

TEST_F(BucketTest, OutOfMemory) {
    const auto vectors = rf_vectors("good-bucket-expanded.txt");
    ASSERT_GT(vectors.size(), 3u);
    const Bytes compact = rf_bytes(vectors[3][3]), img = rf_bytes(vectors[3][4]);
    for (bool expanded : {false, true}) {
        const Bytes &in = expanded ? img : compact;
        oom_check(master, {sub}, [&]() {
            ZEL_BUCKET b{};
            const ZEL_RETCODE rc = expanded
                                       ? of_unpack(bucket_unpack_expanded, &b, cat.byIds, in, sub)
                                       : of_unpack(bucket_unpack_compact, &b, cat.byIds, in, sub);
            if (rc == sOKAY) {
                EXPECT_EQ(rf_hex(of_pack_static(
                              expanded ? bucket_pack_expanded : bucket_pack_compact, b)),
                          rf_hex(in));
                bucket_free(&b);
            }
            EXPECT_EQ(b.bucket_data, nullptr);
            return rc;
        });
    }
}
