// The item-zero formats: the fresh record worked by hand, the model vectors
// of gen_bucket.py, the kept oddities (roots never shrunk, numAvls set when
// growing fails), counts past the input, allocation failures.
#include <gtest/gtest.h>

#include <cstring>

#include "iz.h"
#include "object_fixture.h"
#include "oom.h"

namespace {

using IzTest = TaggedTest;

}  // namespace

TEST_F(IzTest, FreshRecordByHand) {
    ZEL_ITEM_ZERO iz;
    std::memset(&iz, 0xA5, sizeof iz);
    iz_init(&iz, sub);
    EXPECT_EQ(iz.subTag, sub);
    EXPECT_EQ(iz.avlRoots, nullptr);
    // next 01, total 00, encType 00, two keys of 16 zeros, numAvls 00.
    const Bytes compact = of_pack(iz_pack_compact, iz, sub);
    EXPECT_EQ(rf_hex(compact),
              rf_hex(Bytes{0x01, 0x00, 0x00}) + " " + rf_hex(Bytes(32, 0)) + " 00");
    // Expanded: next 1 in 8 bytes, then 46 zero bytes to the end of numAvls.
    Bytes img(54, 0);
    img[0] = 1;
    EXPECT_EQ(rf_hex(of_pack(iz_pack_expanded, iz, sub)), rf_hex(img));
    ZEL_ITEM_ZERO back;
    iz_init(&back, sub);
    back.next = 9;
    ASSERT_EQ(of_unpack(iz_unpack_expanded, &back, img, sub), sOKAY);
    EXPECT_EQ(back.next, 1u);
    iz_free(&back);
}

TEST_F(IzTest, RootsGrowAndAreNeverShrunk) {
    ZEL_ITEM_ZERO iz;
    iz_init(&iz, sub);
    Bytes three = {1, 0, 0};
    three.resize(35, 0);
    three.insert(three.end(), {3, 10, 11, 12});
    Bytes one(three.begin(), three.begin() + 35);
    one.insert(one.end(), {1, 20});
    ASSERT_EQ(of_unpack(iz_unpack_compact, &iz, three, sub), sOKAY);
    ASSERT_EQ(iz.numAvls, 3);
    const ZEL_SLOT *roots = iz.avlRoots;
    EXPECT_EQ(roots[2], 12u);
    // A smaller count read into the same record keeps the larger array.
    ASSERT_EQ(of_unpack(iz_unpack_compact, &iz, one, sub), sOKAY);
    EXPECT_EQ(iz.numAvls, 1);
    EXPECT_EQ(iz.avlRoots, roots);
    EXPECT_EQ(roots[0], 20u);
    EXPECT_EQ(roots[2], 12u);
    EXPECT_EQ(rf_hex(of_pack(iz_pack_compact, iz, sub)), rf_hex(one));
    // Kept: when growing fails, numAvls takes the stored count all the same.
    iz_free(&iz);
    EXPECT_EQ(iz.numAvls, 0);
    ASSERT_EQ(b_tag_masterFailAllocation(master, 1), sOKAY);
    EXPECT_EQ(of_unpack(iz_unpack_compact, &iz, three, sub), eNOMEMORY);
    ASSERT_EQ(b_tag_masterFailAllocation(master, 0), sOKAY);
    EXPECT_EQ(iz.numAvls, 3);
    EXPECT_EQ(iz.avlRoots, nullptr);
    iz_free(&iz);
}

TEST_F(IzTest, ModelVectors) {
    const auto vectors = rf_vectors("good-iz.txt");
    ASSERT_GE(vectors.size(), 30u);
    for (const auto &v : vectors) {
        ASSERT_EQ(v.size(), 8u);
        ZEL_ITEM_ZERO iz;
        iz_init(&iz, sub);
        iz.next = std::stoull(v[0]);
        iz.total = std::stoull(v[1]);
        iz.encType = static_cast<ZEL_ENC_TYPE>(std::stoul(v[2]));
        const Bytes db = rf_bytes(v[3]), dr = rf_bytes(v[4]);
        std::memcpy(iz.dbKey, db.data(), 16);
        std::memcpy(iz.drawerKey, dr.data(), 16);
        std::vector<ZEL_SLOT> roots;
        if (!v[5].empty())
            for (const std::string &r : rf_split(v[5], ',')) roots.push_back(std::stoull(r));
        iz.numAvls = static_cast<ZEL_KEY_INDEX>(roots.size());
        iz.avlRoots = roots.data();
        EXPECT_EQ(rf_hex(of_pack(iz_pack_compact, iz, sub)), rf_hex(rf_bytes(v[6])));
        EXPECT_EQ(rf_hex(of_pack(iz_pack_expanded, iz, sub)), rf_hex(rf_bytes(v[7])));
        for (bool expanded : {false, true}) {
            ZEL_ITEM_ZERO back;
            iz_init(&back, sub);
            ASSERT_EQ(expanded ? of_unpack(iz_unpack_expanded, &back, rf_bytes(v[7]), sub)
                               : of_unpack(iz_unpack_compact, &back, rf_bytes(v[6]), sub),
                      sOKAY);
            EXPECT_EQ(back.total, iz.total);
            EXPECT_EQ(back.encType, iz.encType);
            EXPECT_EQ(0, std::memcmp(back.drawerKey, iz.drawerKey, 16));
            ASSERT_EQ(back.numAvls, iz.numAvls);
            for (size_t k = 0; k < roots.size(); ++k) EXPECT_EQ(back.avlRoots[k], roots[k]);
            iz_free(&back);
        }
    }
}

TEST_F(IzTest, CountsAreBounded) {
    ZEL_ITEM_ZERO iz;
    iz_init(&iz, sub);
    Bytes head = {7, 0, 0};
    head.resize(35, 0);
    // 5 roots announced, 2 bytes there: refused before growing, the record
    // as it was.
    Bytes cut = head;
    cut.insert(cut.end(), {5, 1, 2});
    ASSERT_EQ(b_tag_masterFailAllocation(master, 1), sOKAY);
    EXPECT_EQ(of_unpack(iz_unpack_compact, &iz, cut, sub), eEOD);
    Bytes img(54 + 39, 0);
    img[52] = 5;
    EXPECT_EQ(of_unpack(iz_unpack_expanded, &iz, img, sub), eEOD);
    EXPECT_EQ(b_tag_masterFailureGiven(master), ZEL_FALSE);
    ASSERT_EQ(b_tag_masterFailAllocation(master, 0), sOKAY);
    EXPECT_EQ(iz.next, 1u);
    EXPECT_EQ(iz.numAvls, 0);
    // An encryption type past the enumeration's span.
    // 0x80000000 in the 5-byte form: 0x80000000 - 0x8204080 = 0x77DFBF80.
    Bytes enc(7 + 33, 0);
    const uint8_t encHead[] = {1, 0, 0xE8, 0x77, 0xDF, 0xBF, 0x80};
    std::memcpy(enc.data(), encHead, sizeof encHead);
    EXPECT_EQ(of_unpack(iz_unpack_compact, &iz, enc, sub), eDBCORRUPTED);
    std::memset(img.data() + 16, 0xFF, 4);
    img[52] = 0;
    EXPECT_EQ(of_unpack(iz_unpack_expanded, &iz, img, sub), eDBCORRUPTED);
    img[19] = 0x7F;
    EXPECT_EQ(of_unpack(iz_unpack_expanded, &iz, img, sub), sOKAY);
    EXPECT_EQ(static_cast<uint32_t>(iz.encType), 0x7FFFFFFFu);
    for (size_t n = 0; n < 54; n += 5)
        EXPECT_NE(of_unpack(iz_unpack_expanded, &iz, Bytes(img.begin(), img.begin() + n), sub),
                  sOKAY);
    EXPECT_EQ(of_pack_no_bulk(iz_pack_expanded, iz, sub), eNOTIMPLEMENTED);
    iz.numAvls = 2;  // with no roots
    of_pack(iz_pack_compact, iz, sub, eINVNULLARG);
    iz.numAvls = 0;
    iz_free(&iz);
}

TEST_F(IzTest, OutOfMemory) {
    ZEL_SLOT roots[40];
    for (ZEL_SLOT k = 0; k < 40; ++k) roots[k] = k * 1000003;
    ZEL_ITEM_ZERO iz;
    iz_init(&iz, sub);
    iz.numAvls = 40;
    iz.avlRoots = roots;
    for (bool expanded : {false, true}) {
        const Bytes in = of_pack(expanded ? iz_pack_expanded : iz_pack_compact, iz, sub);
        oom_check(master, {sub}, [&]() {
            ZEL_ITEM_ZERO back;
            iz_init(&back, sub);
            const ZEL_RETCODE rc = expanded ? of_unpack(iz_unpack_expanded, &back, in, sub)
                                            : of_unpack(iz_unpack_compact, &back, in, sub);
            if (rc == sOKAY)
                EXPECT_EQ(
                    rf_hex(of_pack_static(expanded ? iz_pack_expanded : iz_pack_compact, back)),
                    rf_hex(in));
            else
                EXPECT_EQ(back.avlRoots, nullptr);
            iz_free(&back);
            return rc;
        });
    }
}
