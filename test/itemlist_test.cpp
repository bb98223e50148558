// Tests of item lists: random appends, reads and releases against a
// std::vector, the chunk borders, release and term, and every allocation of
// the appends failing in turn.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "itemlist.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

// num size curr pool subTag chunks, pointers as 0 or 1.
std::string facts(const B_ITEM_LIST &l) {
    return std::to_string(l.num) + " " + std::to_string(l.size) + " " +
           std::to_string(l.curr != nullptr) + " " + std::to_string(l.pool != nullptr) + " " +
           std::to_string(l.subTag != nullptr) + " " + std::to_string(b_avlCount(&l.avlChunks));
}

class ItemListTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        b_poolInit(&pool, sub, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
        ASSERT_EQ(b_itemListInit(&list, &pool, sub), sOKAY);
    }
    void TearDown() override {
        b_itemListTerm(&list);
        b_poolTerm(&pool);
        TaggedTest::TearDown();
    }

    // Item n: every field from n, a buffer from the pool on every third.
    B_ITEM item(uint32_t n, bool withBuffer) {
        B_ITEM it{};
        it.drawerType = static_cast<ZEL_DRAWER_TYPE>(n % 6);
        it.drawerId = n * 3;
        it.slot = uint64_t{n} << 20 | 7;
        it.version = ~uint64_t{n};
        it.state = static_cast<B_ITEM_STATE>(n % 5);
        it.format = n % 2 ? ZEL_ITEM_FORMAT_COMPACT : ZEL_ITEM_FORMAT_EXPANDED;
        if (withBuffer && n % 3 == 0) {
            EXPECT_EQ(
                b_poolGetMem(&pool, sizeof(B_BUFFER_T), B_POOL_ALLOC_CLEAR, nullptr, &it.buffer),
                sOKAY);
        }
        return it;
    }

    B_ITEM *get(uint32_t id) {
        B_ITEM *p = nullptr;
        EXPECT_EQ(b_itemListGetItem(&list, id, &p), sOKAY) << id;
        return p;
    }

    B_POOL_T pool{};
    B_ITEM_LIST list{};
};

TEST_F(ItemListTest, RandomAppendsReadsAndReleasesMatchAVector) {
    std::vector<B_ITEM> model;
    std::mt19937 rng(7);
    size_t chunks = 0;
    for (int step = 0; step < 4000; ++step) {
        const uint32_t op = rng() % 100;
        if (op < 70) {
            const B_ITEM it = item(static_cast<uint32_t>(model.size()) + step, true);
            ASSERT_EQ(b_itemListAddItem(&list, &it), sOKAY);
            model.push_back(it);
        } else if (op < 98) {
            if (model.empty()) continue;
            const uint32_t id = rng() % model.size();
            B_ITEM *p = get(id);
            ASSERT_NE(p, nullptr);
            ASSERT_EQ(std::memcmp(p, &model[id], sizeof *p), 0) << id;
        } else {
            uint32_t held = pool.count;
            for (const B_ITEM &it : model) held += it.buffer != nullptr;
            b_itemListRelease(&list);
            model.clear();
            EXPECT_EQ(list.size, 100u);
            EXPECT_EQ(b_avlCount(&list.avlChunks), 1u);
            EXPECT_EQ(pool.count, held);
        }
        // Chunks: as many as the items need, and one kept over a release.
        chunks = std::max<size_t>(op >= 98 ? std::min<size_t>(chunks, 1) : chunks,
                                  (model.size() + 99) / 100);
        ASSERT_EQ(list.num, model.size());
        ASSERT_EQ(list.size, chunks * 100);
    }
    for (uint32_t n = 0; n < 450; ++n) {
        const B_ITEM it = item(n, true);
        ASSERT_EQ(b_itemListAddItem(&list, &it), sOKAY);
        model.push_back(it);
    }
    for (uint32_t id = 0; id < model.size(); ++id) {  // up across chunk borders, then down
        ASSERT_EQ(std::memcmp(get(id), &model[id], sizeof(B_ITEM)), 0) << id;
    }
    for (uint32_t id = static_cast<uint32_t>(model.size()); id-- > 0;) {
        ASSERT_EQ(std::memcmp(get(id), &model[id], sizeof(B_ITEM)), 0) << id;
    }
    B_ITEM *p = nullptr;
    EXPECT_EQ(b_itemListGetItem(&list, list.num, &p), sNOTFOUND);
    EXPECT_EQ(p, nullptr);
}

// The chunk borders and the release are the random test's; here the empty
// release, the kept chunk reused, the codes and term.
TEST_F(ItemListTest, EmptyReleaseCodesAndTerm) {
    b_itemListRelease(&list);  // empty: nothing to keep
    EXPECT_EQ(list.curr, nullptr);
    EXPECT_EQ(list.size, 0u);
    const B_ITEM it = item(5, false);
    for (int i = 0; i < 150; ++i) ASSERT_EQ(b_itemListAddItem(&list, &it), sOKAY);
    b_itemListRelease(&list);
    ASSERT_EQ(b_itemListAddItem(&list, &it), sOKAY);  // into the kept chunk
    EXPECT_EQ(list.size, 100u);
    EXPECT_EQ(get(0)->drawerId, 15u);
    B_ITEM *p = nullptr;
    EXPECT_EQ(b_itemListGetItem(&list, 1, &p), sNOTFOUND);
    EXPECT_EQ(b_itemListGetItem(&list, UINT32_MAX, &p), sNOTFOUND);
    EXPECT_EQ(b_itemListGetItem(nullptr, 0, &p), eINVNULLARG);
    EXPECT_EQ(b_itemListGetItem(&list, 0, nullptr), eINVNULLARG);
    EXPECT_EQ(b_itemListAddItem(&list, nullptr), eINVNULLARG);
    EXPECT_EQ(p, nullptr);
    // Fill no memory to reach the end: the counts are set as a full list's.
    const uint32_t num = list.num, size = list.size;
    list.num = list.size = UINT32_MAX / 100 * 100;
    EXPECT_EQ(b_itemListAddItem(&list, &it), eRANGE);
    list.num = num;
    list.size = size;
    b_itemListTerm(&list);
    EXPECT_EQ(facts(list), "0 0 0 0 0 0");
    EXPECT_EQ(b_itemListInit(&list, nullptr, sub), eINVNULLARG);
    EXPECT_EQ(b_itemListInit(&list, &pool, nullptr), eINVNULLARG);
    ASSERT_EQ(b_itemListInit(&list, &pool, sub), sOKAY);
}

TEST_F(ItemListTest, EveryAllocationOfAppendsFailingLeavesTheList) {
    const int runs = oom_check(master, {sub}, [&] {
        B_ITEM_LIST l;
        EXPECT_EQ(b_itemListInit(&l, &pool, sub), sOKAY);
        ZEL_RETCODE rc = sOKAY;
        uint32_t added = 0;
        for (uint32_t n = 0; n < 350 && rc == sOKAY; ++n) {
            const B_ITEM it = item(n, false);
            rc = b_itemListAddItem(&l, &it);
            if (rc == sOKAY) added++;
        }
        EXPECT_EQ(l.num, added);
        for (uint32_t id = 0; id < added; ++id) {
            B_ITEM *p = nullptr;
            EXPECT_EQ(b_itemListGetItem(&l, id, &p), sOKAY);
            if (p != nullptr) {
                EXPECT_EQ(p->drawerId, id * 3);
            }
        }
        b_itemListTerm(&l);
        return rc;
    });
    EXPECT_EQ(runs, 4);  // one chunk per 100 items
}

}  // namespace
