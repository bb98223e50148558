// B_MAPA_T beyond the shared model test (map_test.cpp): positions held by
// the caller, a caller's compare that returns any int, the free list's cap
// and every allocation failing.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>

#include "map_model.h"
#include "mapa.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

class MapaTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        b_mapaInit(&mapa, nullptr, nullptr, sub);
    }
    void TearDown() override {
        b_mapaTerm(&mapa);
        TaggedTest::TearDown();
    }
    B_MAPA_T mapa{};
};

TEST_F(MapaTest, PositionsStepBothWays) {
    for (B_MAP_KEY k : {10, 20, 30}) ASSERT_EQ(b_mapaSet(&mapa, k, k + 1), sOKAY);
    B_MAPA_POS pos{};
    B_MAP_KEY k = 0;
    B_MAP_VALUE v = 0;
    EXPECT_EQ(b_mapaNext(&mapa, &pos, &k, &v, &pos), sNOTFOUND);  // on no entry
    ASSERT_EQ(b_mapaFindEx(&mapa, 20, &v, &pos), sOKAY);
    B_MAPA_POS first = pos;
    ASSERT_EQ(b_mapaPrev(&mapa, &first, &k, &v, &first), sOKAY);  // curr and pos one record
    EXPECT_EQ(k, 10u);
    EXPECT_EQ(v, 11u);
    EXPECT_EQ(b_mapaPrev(&mapa, &first, &k, &v, &first), sNOTFOUND);
    EXPECT_EQ(first.node->key, 10u);  // untouched at the end
    ASSERT_EQ(b_mapaNext(&mapa, &pos, &k, nullptr, &pos), sOKAY);
    EXPECT_EQ(k, 30u);
    ASSERT_EQ(b_mapaLastEx(&mapa, &k, &v, &pos), sOKAY);
    EXPECT_EQ(k, 30u);
    k = 25;
    ASSERT_EQ(b_mapaFindOrPrevEx(&mapa, &k, &v, &pos), sOKAY);
    EXPECT_EQ(k, 20u);
    // A position survives inserts and deletes of other entries.
    ASSERT_EQ(b_mapaSet(&mapa, 21, 0), sOKAY);
    ASSERT_EQ(b_mapaDelete(&mapa, 30), sOKAY);
    ASSERT_EQ(b_mapaNext(&mapa, &pos, &k, &v, &pos), sOKAY);
    EXPECT_EQ(k, 21u);
    EXPECT_EQ(b_mapaNext(&mapa, &pos, &k, &v, &pos), sNOTFOUND);
}

// A compare that answers with any int (here a difference) still orders the
// tree: the map takes the sign.
ZEL_COMPARE mapa_difference(B_MAP_KEY a, B_MAP_KEY b, const void *) {
    return static_cast<ZEL_COMPARE>(static_cast<int>(a) - static_cast<int>(b));
}

TEST_F(MapaTest, CallerCompareIsTakenBySign) {
    B_MAPA_T m;
    b_mapaInit(&m, mapa_difference, nullptr, sub);
    std::map<B_MAP_KEY, B_MAP_VALUE> want;
    for (B_MAP_KEY i = 0; i < 2000; ++i) {
        const B_MAP_KEY k = (i * 7919) % 1000;
        ASSERT_EQ(b_mapaSet(&m, k, i), sOKAY);
        want[k] = i;
    }
    MapCollect c;
    m.ctx = &c;
    ASSERT_EQ(b_mapaIterate(&m, MapCollect::fcn), sOKAY);
    EXPECT_EQ(c.seen, MapSeen(want.begin(), want.end()));
    EXPECT_EQ(b_mapaCount(&m), 1000u);
    b_mapaTerm(&m);
}

TEST_F(MapaTest, FreeListKeepsAThousand) {
    for (B_MAP_KEY k = 0; k < 1200; ++k) ASSERT_EQ(b_mapaSet(&mapa, k, k), sOKAY);
    for (B_MAP_KEY k = 0; k < 600; ++k) ASSERT_EQ(b_mapaDelete(&mapa, k), sOKAY);
    EXPECT_EQ(mapa.availCount, 600u);
    b_mapaDeleteAll(&mapa);
    EXPECT_EQ(mapa.availCount, B_MAP_AVAIL_MAX);
    EXPECT_EQ(b_mapaCount(&mapa), 0u);
    const int64_t held = fixture_subBytes(sub);
    for (B_MAP_KEY k = 0; k < 1000; ++k) ASSERT_EQ(b_mapaSet(&mapa, k, k), sOKAY);
    EXPECT_EQ(fixture_subBytes(sub), held);
}

TEST_F(MapaTest, EveryAllocationFailing) {
    oom_check(master, {sub}, [&] {
        B_MAPA_T m;
        b_mapaInit(&m, nullptr, nullptr, sub);
        ZEL_RETCODE rc = sOKAY;
        uint64_t added = 0;
        for (B_MAP_KEY k = 0; k < 100 && rc >= 0; ++k) {
            const B_MAP_KEY key = (k * 37) % 100;
            if ((rc = b_mapaSet(&m, key, k)) < 0) break;
            ++added;
            if (k % 10 == 9) {  // some items go to the free list and come back
                EXPECT_EQ(b_mapaDelete(&m, key), sOKAY);
                --added;
            }
        }
        EXPECT_EQ(b_mapaCount(&m), added);
        b_mapaTerm(&m);
        return rc;
    });
}

}  // namespace
