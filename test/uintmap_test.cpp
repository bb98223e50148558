// B_UINTMAP_T beyond the shared model test (map_test.cpp): where keys go
// (the array's edge, a size raised to 5), the cursor from the array into the
// map, the count kept over b_uintmapDeleteAll, arguments and every
// allocation failing.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "map_model.h"
#include "oom.h"
#include "tag_fixture.h"
#include "uintmap.h"

namespace {

class UintmapTest : public TaggedTest {
  protected:
    void TearDown() override {
        b_uintmapTerm(&um);
        TaggedTest::TearDown();
    }
    void init(uint32_t arraySize, uint32_t flags = 0) {
        ASSERT_EQ(b_uintmapInitEx(&um, flags, arraySize, nullptr, nullptr, sub), sOKAY);
    }
    void set(std::initializer_list<B_MAP_KEY> keys) {
        for (B_MAP_KEY k : keys) ASSERT_EQ(b_uintmapSet(&um, k, k + 100), sOKAY);
    }
    // Keys from First and Next to the end.
    std::vector<B_MAP_KEY> walk() {
        std::vector<B_MAP_KEY> keys;
        B_MAP_KEY k = 0;
        for (ZEL_RETCODE rc = b_uintmapFirst(&um, &k, nullptr); rc == sOKAY;
             rc = b_uintmapNext(&um, &k, nullptr))
            keys.push_back(k);
        return keys;
    }
    uint32_t count() {
        uint32_t n = 0;
        EXPECT_EQ(b_uintmapCount(&um, &n), sOKAY);
        return n;
    }
    B_UINTMAP_T um{};
};

// An array of 3 is one of 5: keys 0..4 in the array, 5 on in the map.
TEST_F(UintmapTest, SmallArrayIsRaisedToFive) {
    init(3);
    EXPECT_EQ(um.arraySize, 5u);
    set({4, 5, 1000, 0});
    EXPECT_TRUE(um.array[4].inuse);
    EXPECT_TRUE(um.array[0].inuse);
    EXPECT_EQ(um.count, 2u);
    EXPECT_EQ(um.map.bt.count, 2u);
    EXPECT_EQ(walk(), (std::vector<B_MAP_KEY>{0, 4, 5, 1000}));
    EXPECT_EQ(count(), 4u);
}

TEST_F(UintmapTest, ArrayEdge) {
    init(16);
    set({15, 16});
    EXPECT_TRUE(um.array[15].inuse);  // arraySize - 1: the array
    EXPECT_EQ(um.map.bt.count, 1u);   // arraySize: the map
    B_MAP_VALUE v = 0;
    ASSERT_EQ(b_uintmapFind(&um, 16, &v), sOKAY);
    EXPECT_EQ(v, 116u);
    EXPECT_EQ(um.curr, 16u);  // in the map
    ASSERT_EQ(b_uintmapFind(&um, 15, &v), sOKAY);
    EXPECT_EQ(um.curr, 15u);
    B_MAP_KEY k = 0;
    ASSERT_EQ(b_uintmapNext(&um, &k, &v), sOKAY);  // off the array's end: the map's first
    EXPECT_EQ(k, 16u);
    EXPECT_EQ(b_uintmapNext(&um, &k, &v), sNOTFOUND);
}

// Deleting the entry at the cursor, the walk goes on from there.
TEST_F(UintmapTest, WalkDeletesAsItGoes) {
    init(8);
    set({1, 3, 6, 8, 9, 20});
    std::vector<B_MAP_KEY> seen;
    B_MAP_KEY k = 0;
    for (ZEL_RETCODE rc = b_uintmapFirst(&um, &k, nullptr); rc == sOKAY;
         rc = b_uintmapNext(&um, &k, nullptr)) {
        seen.push_back(k);
        ASSERT_EQ(b_uintmapDelete(&um, k, nullptr), sOKAY);
    }
    EXPECT_EQ(seen, (std::vector<B_MAP_KEY>{1, 3, 6, 8, 9, 20}));
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(b_uintmapFirst(&um, &k, nullptr), sNOTFOUND);
}

// The count of the array survives b_uintmapDeleteAll on purpose; the cursor
// goes to all ones, from which Next gives the first entry.
TEST_F(UintmapTest, DeleteAllKeepsTheArrayCount) {
    init(10);
    set({2, 4, 6, 50});
    ASSERT_EQ(b_uintmapDeleteAll(&um), sOKAY);
    EXPECT_EQ(um.curr, B_UINTMAP_NO_POSITION);
    EXPECT_EQ(count(), 3u);  // stale: the array's three, the map's none
    EXPECT_TRUE(walk().empty());
    set({7, 60});
    EXPECT_EQ(count(), 5u);
    ASSERT_EQ(b_uintmapDelete(&um, 7, nullptr), sOKAY);
    EXPECT_EQ(count(), 4u);
    ASSERT_EQ(b_uintmapDeleteAll(&um), sOKAY);
    set({3});
    B_MAP_KEY k = 0;
    ASSERT_EQ(b_uintmapNext(&um, &k, nullptr), sOKAY);
    EXPECT_EQ(k, 3u);
    B_MAP_VALUE v = 0;
    ASSERT_EQ(b_uintmapDeleteFirst(&um, &k, &v), sOKAY);
    EXPECT_EQ(k, 3u);
    EXPECT_EQ(v, 103u);
    EXPECT_EQ(b_uintmapDeleteFirst(&um, &k, &v), sNOTFOUND);
}

TEST_F(UintmapTest, ArgumentsAreChecked) {
    EXPECT_EQ(b_uintmapInitEx(nullptr, 0, 5, nullptr, nullptr, sub), eINVNULLARG);
    EXPECT_EQ(b_uintmapInitEx(&um, 0, 5, nullptr, nullptr, nullptr), eINVNULLARG);
    EXPECT_EQ(b_uintmapInitEx(&um, 4, 5, nullptr, nullptr, sub), eINVARG);
    EXPECT_EQ(b_uintmapInitEx(&um, 0, B_UINTMAP_NO_POSITION, nullptr, nullptr, sub), eINVARG);
    B_MAP_KEY k = 0;
    B_MAP_VALUE v = 0;
    uint32_t n = 0;
    const ZEL_RETCODE codes[] = {
        b_uintmapSet(nullptr, 1, 1),     b_uintmapFind(nullptr, 1, &v),
        b_uintmapDelete(nullptr, 1, &v), b_uintmapDeleteFirst(nullptr, &k, &v),
        b_uintmapDeleteAll(nullptr),     b_uintmapFirst(nullptr, &k, &v),
        b_uintmapNext(nullptr, &k, &v),  b_uintmapCount(nullptr, &n)};
    for (const ZEL_RETCODE rc : codes) EXPECT_EQ(rc, eINVNULLARG);
    b_uintmapTerm(nullptr);
    init(5, B_MAP_FLAG_MUTEX);
    EXPECT_EQ(b_uintmapCount(&um, nullptr), eINVNULLARG);
    set({1, 9});
    EXPECT_EQ(b_uintmapFirst(&um, nullptr, nullptr), sOKAY);  // outs may be null
    EXPECT_EQ(b_uintmapNext(&um, nullptr, &v), sOKAY);
    EXPECT_EQ(v, 109u);
    EXPECT_EQ(b_uintmapFind(&um, 2, &v), sNOTFOUND);
    EXPECT_EQ(b_uintmapDelete(&um, 2, &v), sNOTFOUND);
    EXPECT_EQ(b_uintmapDelete(&um, 10, &v), sNOTFOUND);
    EXPECT_EQ(count(), 2u);
}

TEST_F(UintmapTest, EveryAllocationFailing) {
    for (const uint32_t flags : {0u, B_MAP_FLAG_MUTEX}) {
        oom_check(master, {sub}, [&] {
            B_UINTMAP_T m;
            ZEL_RETCODE rc = b_uintmapInitEx(&m, flags, 300, nullptr, nullptr, sub);
            if (rc < 0) return rc;
            uint32_t added = 0;
            for (B_MAP_KEY k = 0; k < 200; ++k) {
                if ((rc = b_uintmapSet(&m, (k * 37) % 200 * 3, k)) < 0) break;
                ++added;
            }
            uint32_t n = 0;
            EXPECT_EQ(b_uintmapCount(&m, &n), sOKAY);
            EXPECT_EQ(n, added);
            b_uintmapTerm(&m);
            return rc;
        });
    }
}

}  // namespace
