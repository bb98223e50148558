// The chunk formats: bytes worked by hand, the model vectors of
// gen_bucket.py, the kept oddities (the marker not tested, len 0 compact
// and expanded), lengths past the input, allocation failures.
#include <gtest/gtest.h>

#include <cstring>

#include "chunk.h"
#include "object_fixture.h"
#include "oom.h"

namespace {

using ChunkTest = TaggedTest;

ZEL_CHUNK ck_of(ZEL_SLOT owner, ZEL_CHUNK_SEQ seq, Bytes &bytes) {
    ZEL_CHUNK c{};
    c.owner = owner;
    c.seq = seq;
    c.len = static_cast<uint32_t>(bytes.size());
    c.bytes = bytes.data();
    return c;
}

}  // namespace

TEST_F(ChunkTest, ChunkByHand) {
    Bytes abc = {'a', 'b', 'c'};
    const ZEL_CHUNK c = ck_of(5, 2, abc);
    // The marker 127 (7F), owner 05, seq 02, len 03, the bytes.
    const Bytes compact = of_pack(chunk_pack_compact, c, sub);
    EXPECT_EQ(rf_hex(compact), "7F 05 02 03 61 62 63");
    // Expanded: 7F 00, then owner and seq in 8 bytes and len in 4, host order.
    const Bytes img = of_pack(chunk_pack_expanded, c, sub);
    EXPECT_EQ(rf_hex(img),
              "7F 00 05 00 00 00 00 00 00 00 02 00 00 00 00 00 00 00 03 00 00 00 "
              "61 62 63");
    for (bool expanded : {false, true}) {
        ZEL_CHUNK back{};
        back.unicode = ZEL_TRUE;
        ASSERT_EQ(expanded ? of_unpack(chunk_unpack_expanded, &back, img, sub)
                           : of_unpack(chunk_unpack_compact, &back, compact, sub),
                  sOKAY);
        EXPECT_EQ(back.owner, 5u);
        EXPECT_EQ(back.seq, 2u);
        ASSERT_EQ(back.len, 3u);
        EXPECT_EQ(0, std::memcmp(back.bytes, "abc", 3));
        EXPECT_EQ(back.unicode, ZEL_TRUE);  // not stored, left alone
        EXPECT_EQ(back.subTag, sub);
        chunk_free(&back);
        EXPECT_EQ(back.bytes, nullptr);
    }
    // Kept: the marker is not tested.
    ZEL_CHUNK back{};
    ASSERT_EQ(of_unpack(chunk_unpack_compact, &back, {0x00, 0x05, 0x02, 0x03, 'a', 'b', 'c'}, sub),
              sOKAY);
    EXPECT_EQ(back.len, 3u);
    chunk_free(&back);
}

TEST_F(ChunkTest, EmptyChunk) {
    Bytes none;
    const ZEL_CHUNK c = ck_of(5, 2, none);
    // Five fields with no bytes after the length.
    EXPECT_EQ(rf_hex(of_pack(chunk_pack_compact, c, sub)), "7F 05 02 00");
    const Bytes img = of_pack(chunk_pack_expanded, c, sub);
    EXPECT_EQ(img.size(), 22u);
    // Kept: compact leaves `bytes` as it was, expanded allocates anyway.
    uint8_t mine[1] = {9};
    ZEL_CHUNK back{};
    back.bytes = mine;
    ASSERT_EQ(of_unpack(chunk_unpack_compact, &back, {0x7F, 0x05, 0x02, 0x00}, sub), sOKAY);
    EXPECT_EQ(back.bytes, mine);
    EXPECT_EQ(back.len, 0u);
    back.bytes = nullptr;
    ASSERT_EQ(of_unpack(chunk_unpack_expanded, &back, img, sub), sOKAY);
    EXPECT_NE(back.bytes, nullptr);
    chunk_free(&back);
}

TEST_F(ChunkTest, ModelVectors) {
    const auto vectors = rf_vectors("good-chunk.txt");
    ASSERT_GE(vectors.size(), 30u);
    for (const auto &v : vectors) {
        ASSERT_EQ(v.size(), 5u);
        Bytes data = rf_bytes(v[2]);
        const ZEL_CHUNK c = ck_of(std::stoull(v[0]), std::stoull(v[1]), data);
        EXPECT_EQ(rf_hex(of_pack(chunk_pack_compact, c, sub)), rf_hex(rf_bytes(v[3])));
        EXPECT_EQ(rf_hex(of_pack(chunk_pack_expanded, c, sub)), rf_hex(rf_bytes(v[4])));
        for (bool expanded : {false, true}) {
            ZEL_CHUNK back{};
            ASSERT_EQ(expanded ? of_unpack(chunk_unpack_expanded, &back, rf_bytes(v[4]), sub)
                               : of_unpack(chunk_unpack_compact, &back, rf_bytes(v[3]), sub),
                      sOKAY);
            EXPECT_EQ(back.owner, c.owner);
            EXPECT_EQ(back.seq, c.seq);
            ASSERT_EQ(back.len, c.len);
            EXPECT_TRUE(c.len == 0 || std::memcmp(back.bytes, c.bytes, c.len) == 0);
            chunk_free(&back);
        }
    }
}

TEST_F(ChunkTest, LengthsAreBounded) {
    ZEL_CHUNK back{};
    // 4 bytes announced, 3 there: refused before anything is allocated (the
    // armed fault never fires).
    ASSERT_EQ(b_tag_masterFailAllocation(master, 1), sOKAY);
    EXPECT_EQ(of_unpack(chunk_unpack_compact, &back, {0x7F, 0x05, 0x02, 0x04, 1, 2, 3}, sub), eEOD);
    Bytes img = {0x7F, 0, 5, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(of_unpack(chunk_unpack_expanded, &back, img, sub), eEOD);
    EXPECT_EQ(b_tag_masterFailureGiven(master), ZEL_FALSE);
    ASSERT_EQ(b_tag_masterFailAllocation(master, 0), sOKAY);
    // Cut short anywhere: a failure, and the chunk as it was.
    const Bytes good = {0x7F, 0x05, 0x02, 0x03, 'a', 'b', 'c'};
    for (size_t n = 0; n < good.size(); ++n) {
        EXPECT_NE(
            of_unpack(chunk_unpack_compact, &back, Bytes(good.begin(), good.begin() + n), sub),
            sOKAY);
        EXPECT_EQ(back.len, 0u);
        EXPECT_EQ(back.bytes, nullptr);
    }
    Bytes abc = {'a', 'b', 'c'};
    ZEL_CHUNK c = ck_of(1, 1, abc);
    EXPECT_EQ(of_pack_no_bulk(chunk_pack_expanded, c, sub), eNOTIMPLEMENTED);
    c.bytes = nullptr;
    of_pack(chunk_pack_compact, c, sub, eINVNULLARG);
    EXPECT_EQ(chunk_unpack_compact(nullptr, nullptr, sub), eINVNULLARG);
}

TEST_F(ChunkTest, OutOfMemory) {
    Bytes data(3000, 0x5A);
    const ZEL_CHUNK c = ck_of(77, 3, data);
    for (bool expanded : {false, true}) {
        const Bytes in = of_pack(expanded ? chunk_pack_expanded : chunk_pack_compact, c, sub);
        oom_check(master, {sub}, [&]() {
            ZEL_CHUNK back{};
            const ZEL_RETCODE rc = expanded ? of_unpack(chunk_unpack_expanded, &back, in, sub)
                                            : of_unpack(chunk_unpack_compact, &back, in, sub);
            if (rc == sOKAY) {
                EXPECT_EQ(rf_hex(of_pack_static(expanded ? chunk_pack_expanded : chunk_pack_compact,
                                                back)),
                          rf_hex(in));
                chunk_free(&back);
            } else {
                EXPECT_EQ(back.len, 0u);
            }
            EXPECT_EQ(back.bytes, nullptr);
            return rc;
        });
    }
}
