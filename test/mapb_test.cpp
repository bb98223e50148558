// B_MAPB_T beyond the shared model test (map_test.cpp), which holds the
// block edges, positions across blocks and find-or scans: a block leaving the
// tree, the pages of blocks (bytes a key, pages given back) and every
// allocation failing.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>

#include "avl.h"
#include "map_model.h"
#include "mapb.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

class MapbTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        b_mapbInit(&mapb, nullptr, sub);
    }
    void TearDown() override {
        b_mapbTerm(&mapb);
        TaggedTest::TearDown();
    }
    void set(std::initializer_list<B_MAP_KEY> keys) {
        for (B_MAP_KEY k : keys) ASSERT_EQ(b_mapbSet(&mapb, k, k * 10), sOKAY);
    }
    B_MAPB_T mapb{};
};

TEST_F(MapbTest, LastKeyOfABlockTakesTheBlockOut) {
    set({3, 5, 130});
    ASSERT_EQ(b_avlCount(&mapb.avl), 2u);
    ASSERT_EQ(b_mapbDelete(&mapb, 3), sOKAY);
    EXPECT_EQ(b_avlCount(&mapb.avl), 2u);
    B_MAP_VALUE v = 0;
    ASSERT_EQ(b_mapbDeleteEx(&mapb, 5, &v), sOKAY);
    EXPECT_EQ(v, 50u);
    EXPECT_EQ(b_avlCount(&mapb.avl), 1u);  // block 0 left the tree
    EXPECT_EQ(mapb.availCount, 1u);
    EXPECT_EQ(b_mapbDelete(&mapb, 5), sNOTFOUND);
    EXPECT_EQ(b_mapbDelete(&mapb, 131), sNOTFOUND);  // block there, bit clear
    EXPECT_EQ(b_mapbCount(&mapb), 1u);
}

// Full blocks, seven to a page: 4096 / (7 * 64) = 9.14 bytes a key. Deleting
// gives pages back once the free list holds its thousand blocks.
TEST_F(MapbTest, DenseKeysTakeNineBytesEach) {
    constexpr B_MAP_KEY kKeys = 64 * 7 * 1000;
    for (B_MAP_KEY k = 0; k < kKeys; ++k) ASSERT_EQ(b_mapbSet(&mapb, k, k), sOKAY);
    const int64_t bytes = fixture_subBytes(sub) - start;
    EXPECT_EQ(bytes, 1000 * B_PAGE_SIZE);
    EXPECT_NEAR(double(bytes) / double(kKeys), 9.14, 0.01);
    for (B_MAP_KEY k = 0; k < kKeys; ++k) ASSERT_EQ(b_mapbDelete(&mapb, k), sOKAY);
    EXPECT_EQ(mapb.availCount, B_MAP_AVAIL_MAX);
    // The 6000 blocks beyond the list went back to their pages, and those
    // pages to the tag: what stays is the pages of the 1000 kept, 143.
    EXPECT_EQ(fixture_subBytes(sub) - start, 143 * B_PAGE_SIZE);
    b_mapbDeleteAll(&mapb);
    set({1, 100000});  // from the free list: no page taken
    EXPECT_EQ(fixture_subBytes(sub) - start, 143 * B_PAGE_SIZE);
}

// Blocks freed in any order return to their pages, and the pages to the tag
// when their last block comes back (the fixture checks that every byte does).
TEST_F(MapbTest, PagesOfBlocksComeBack) {
    std::map<B_MAP_KEY, B_MAP_VALUE> want;
    for (B_MAP_KEY i = 0; i < 5000; ++i) {
        const B_MAP_KEY k = (i * 2654435761u) % 400000;  // about one key a block
        ASSERT_EQ(b_mapbSet(&mapb, k, i), sOKAY);
        want[k] = i;
    }
    for (B_MAP_KEY i = 0; i < 5000; i += 2) {
        const B_MAP_KEY k = (i * 2654435761u) % 400000;
        if (want.erase(k)) {
            ASSERT_EQ(b_mapbDelete(&mapb, k), sOKAY);
        }
    }
    for (B_MAP_KEY i = 0; i < 3000; ++i) {
        ASSERT_EQ(b_mapbSet(&mapb, i * 64 + 1, i), sOKAY);
        want[i * 64 + 1] = i;
    }
    MapUnderTest probe(MapKind::kMapb, sub);  // for its checker only
    *probe.mapb() = mapb;
    EXPECT_EQ(probe.check(want), "");
    b_mapbInit(probe.mapb(), nullptr, sub);
}

TEST_F(MapbTest, EveryAllocationFailing) {
    oom_check(master, {sub}, [&] {
        B_MAPB_T m;
        b_mapbInit(&m, nullptr, sub);
        ZEL_RETCODE rc = sOKAY;
        uint64_t added = 0;
        for (B_MAP_KEY k = 0; k < 40; ++k) {
            const B_MAP_KEY key = (k * 37) % 40 * 64 + k % 3;  // a new block most times
            if ((rc = b_mapbSet(&m, key, k)) < 0) break;
            ++added;
            if (k % 10 == 9) {
                EXPECT_EQ(b_mapbDelete(&m, key), sOKAY);
                --added;
            }
        }
        EXPECT_EQ(b_mapbCount(&m), added);
        b_mapbTerm(&m);
        return rc;
    });
}

}  // namespace
