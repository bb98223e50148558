// Maps: each of the four (and the two on a caller's order) driven by random
// operations against the std::map model of map_model.h, its store checked
// after every step; then B_MAP_T's own contract: arguments, the free list's
// cap and every allocation failing (the cursor, the caller's order and the
// iteration are the model's).
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "map.h"
#include "map_model.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

// ---------------------------------------------------------------- model

class MapModelTest : public TaggedTest, public ::testing::WithParamInterface<MapKind> {};

TEST_P(MapModelTest, RandomOperationsAgreeWithStdMap) {
    for (const uint32_t seed : {1u, 2u, 3u}) {
        const uint32_t arraySize = seed == 3 ? 64 : 3;  // 3 is raised to 5
        MapUnderTest t(GetParam(), sub, arraySize);
        ASSERT_EQ(t.initCode(), sOKAY);
        MapModel m(t);
        std::mt19937_64 rng(seed);
        for (int i = 0; i < 20000; ++i) {
            const uint64_t code = rng(), key = rng(), value = rng() % 100000;
            ASSERT_EQ(map_modelStep(t, m, unsigned(code), map_modelKey(key, arraySize), value), "")
                << "seed " << seed << ", step " << i;
            if (i % 16 == 0) {
                ASSERT_EQ(t.check(m.entries()), "") << "seed " << seed << ", step " << i;
            }
        }
        ASSERT_EQ(t.check(m.entries()), "");
        ASSERT_EQ(m.count(t), "");
    }
}

std::string map_kindName(const ::testing::TestParamInfo<MapKind> &info) {
    static const char *const names[] = {"Map",  "MapDescending", "Mapa", "MapaDescending",
                                        "Mapb", "Uintmap"};
    return names[int(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Kinds, MapModelTest,
                         ::testing::Values(MapKind::kMap, MapKind::kMapDesc, MapKind::kMapa,
                                           MapKind::kMapaDesc, MapKind::kMapb, MapKind::kUintmap),
                         map_kindName);

// ---------------------------------------------------------------- B_MAP_T

class MapTest : public TaggedTest {
  protected:
    void TearDown() override {
        b_mapTerm(&map);
        TaggedTest::TearDown();
    }
    B_MAP_T map{};
};

TEST_F(MapTest, ArgumentsAreChecked) {
    EXPECT_EQ(b_mapInit(nullptr, 0, nullptr, nullptr, sub), eINVNULLARG);
    EXPECT_EQ(b_mapInit(&map, 0, nullptr, nullptr, nullptr), eINVNULLARG);
    EXPECT_EQ(b_mapInit(&map, 2, nullptr, nullptr, sub), eINVARG);
    B_MAP_KEY k = 0;
    B_MAP_VALUE v = 0;
    uint32_t n = 0;
    const ZEL_RETCODE codes[] = {
        b_mapSet(nullptr, 1, 1),          b_mapFind(nullptr, 1, &v),
        b_mapFindOrNext(nullptr, &k, &v), b_mapFindOrPrev(nullptr, &k, &v),
        b_mapDelete(nullptr, 1, &v),      b_mapDeleteFirst(nullptr, &k, &v),
        b_mapDeleteAll(nullptr),          b_mapFirst(nullptr, &k, &v),
        b_mapNext(nullptr, &k, &v),       b_mapPrev(nullptr, &k, &v),
        b_mapCount(nullptr, &n),          b_mapIterate(nullptr, MapCollect::fcn)};
    for (const ZEL_RETCODE rc : codes) EXPECT_EQ(rc, eINVNULLARG);
    b_mapTerm(nullptr);
    ASSERT_EQ(b_mapInit(&map, B_MAP_FLAG_MUTEX, nullptr, nullptr, sub), sOKAY);
    EXPECT_EQ(b_mapFindOrNext(&map, nullptr, &v), eINVNULLARG);
    EXPECT_EQ(b_mapCount(&map, nullptr), eINVNULLARG);
    EXPECT_EQ(b_mapIterate(&map, nullptr), eINVNULLARG);
    // Null value pointers are allowed.
    ASSERT_EQ(b_mapSet(&map, 7, 70), sOKAY);
    EXPECT_EQ(b_mapFind(&map, 7, nullptr), sOKAY);
    EXPECT_EQ(b_mapDelete(&map, 7, nullptr), sOKAY);
    EXPECT_EQ(b_mapFind(&map, 7, nullptr), sNOTFOUND);
}

// Released items wait on the free list up to 1000; reuse takes no memory.
TEST_F(MapTest, FreeListKeepsAThousand) {
    ASSERT_EQ(b_mapInit(&map, 0, nullptr, nullptr, sub), sOKAY);
    for (B_MAP_KEY k = 0; k < 1500; ++k) ASSERT_EQ(b_mapSet(&map, k, k), sOKAY);
    ASSERT_EQ(b_mapDeleteAll(&map), sOKAY);
    EXPECT_EQ(map.availCount, B_MAP_AVAIL_MAX);
    const int64_t held = fixture_subBytes(sub);
    for (B_MAP_KEY k = 0; k < 1000; ++k) ASSERT_EQ(b_mapSet(&map, k + 5000, k), sOKAY);
    EXPECT_EQ(map.availCount, 0u);
    EXPECT_LE(fixture_subBytes(sub), held);  // items reused; the tree's nodes are pooled
}

TEST_F(MapTest, EveryAllocationFailing) {
    for (const uint32_t flags : {0u, B_MAP_FLAG_MUTEX}) {
        oom_check(master, {sub}, [&] {
            B_MAP_T m;
            ZEL_RETCODE rc = b_mapInit(&m, flags, nullptr, nullptr, sub);
            if (rc < 0) return rc;
            std::map<B_MAP_KEY, B_MAP_VALUE> want;
            for (B_MAP_KEY k = 0; k < 300 && rc >= 0; ++k) {
                const B_MAP_KEY key = (k * 37) % 300;
                if ((rc = b_mapSet(&m, key, k)) >= 0) want[key] = k;
            }
            // A failed set leaves every earlier entry, and nothing else.
            uint32_t n = 0;
            EXPECT_EQ(b_mapCount(&m, &n), sOKAY);
            EXPECT_EQ(n, want.size());
            for (const auto &[key, value] : want) {
                B_MAP_VALUE v = 0;
                EXPECT_EQ(b_mapFind(&m, key, &v), sOKAY);
                EXPECT_EQ(v, value);
            }
            b_mapTerm(&m);
            return rc;
        });
    }
}

}  // namespace
