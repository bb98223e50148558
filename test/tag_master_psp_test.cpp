// Tests of the master tag: page runs, best fit, coalescing and its sentinels,
// large blocks from the platform and from a caller's seed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "tag_check.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

constexpr size_t kPage = 4096;

struct AlignedFree {
    void operator()(uint8_t *p) const { std::free(p); }
};
using Seed = std::unique_ptr<uint8_t, AlignedFree>;

Seed seed_buffer(size_t bytes) {
    return Seed(
        static_cast<uint8_t *>(std::aligned_alloc(kPage, (bytes + kPage - 1) & ~(kPage - 1))));
}

class MasterPages : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master_), sOKAY); }
    void TearDown() override {
        EXPECT_TRUE(tag_checkMaster(master_));
        EXPECT_EQ(tag_checkMasterBytes(master_), int64_t{kPage});  // the header page only
        b_tag_masterDestroy(master_);
    }
    uint8_t *alloc(uint16_t pages) {
        void *p = nullptr;
        EXPECT_EQ(b_tag_masterAllocPages(master_, pages, ZEL_FALSE, &p), sOKAY);
        EXPECT_TRUE(tag_checkMaster(master_));
        return static_cast<uint8_t *>(p);
    }
    int16_t release(void *p) {
        int16_t increment = 0;
        b_tag_masterFreePages(master_, p, &increment);
        EXPECT_TRUE(tag_checkMaster(master_));
        return increment;
    }
    B_TAG_MASTER master_ = nullptr;
};

TEST_F(MasterPages, RunsAreCarvedInOrderAndCounted) {
    uint8_t *a = alloc(2);
    uint8_t *b = alloc(3);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(a) % kPage, 0u);
    EXPECT_EQ(b, a + 2 * kPage);
    int64_t cur = 0, max = 0;
    b_tag_masterMemUsage(master_, &cur, &max);
    EXPECT_EQ(cur, 6 * 4096);
    EXPECT_EQ(max, 6 * 4096);
    EXPECT_EQ(release(b), -3);
    EXPECT_EQ(release(a), -2);
    b_tag_masterMemUsage(master_, &cur, &max);
    EXPECT_EQ(max, 6 * 4096);  // a high-water mark of the carved heap
}

TEST_F(MasterPages, ClearZeroesTheRun) {
    uint8_t *a = alloc(3);
    std::memset(a, 0x5c, 3 * kPage);
    release(a);
    void *p = nullptr;
    ASSERT_EQ(b_tag_masterAllocPages(master_, 3, ZEL_TRUE, &p), sOKAY);
    ASSERT_EQ(p, a);  // best fit reuses the run
    for (size_t i = 0; i < 3 * kPage; i++) ASSERT_EQ(a[i], 0) << i;
    release(p);
}

// Runs a(2) b(3) c(4) d(1); freeing a and c, then b between them, leaves a
// single free run of 9 pages, which a request of 9 gets back at a's address.
TEST_F(MasterPages, NeighboursCoalesceAndAreReusedAtTheLowestAddress) {
    uint8_t *a = alloc(2);
    uint8_t *b = alloc(3);
    uint8_t *c = alloc(4);
    uint8_t *d = alloc(1);
    release(a);
    release(c);
    EXPECT_EQ(tag_checkFreeRuns(master_), 2u);
    release(b);
    EXPECT_EQ(tag_checkFreeRuns(master_), 1u);
    EXPECT_EQ(alloc(9), a);
    EXPECT_EQ(tag_checkFreeRuns(master_), 0u);
    release(a);
    release(d);
}

// The -1 written after the newest run keeps a freed run apart from the
// never-used stretch: the run stays a free run of its own, and a larger
// request is carved behind it.
TEST_F(MasterPages, NeverUsedStretchDoesNotMerge) {
    uint8_t *a = alloc(2);
    release(a);
    EXPECT_EQ(tag_checkFreeRuns(master_), 1u);
    uint8_t *b = alloc(3);
    EXPECT_EQ(b, a + 2 * kPage);
    EXPECT_EQ(alloc(2), a);
    release(a);
    release(b);
}

// Free runs of 5 and 3 pages: a request of 3 takes the exact run although the
// larger one lies at a lower address; a request of 2 then splits the 5.
TEST_F(MasterPages, BestFitPrefersTheSmallestRun) {
    uint8_t *r5 = alloc(5);
    uint8_t *keep1 = alloc(1);
    uint8_t *r3 = alloc(3);
    uint8_t *keep2 = alloc(1);
    release(r5);
    release(r3);
    EXPECT_EQ(alloc(3), r3);
    EXPECT_EQ(alloc(2), r5);
    EXPECT_EQ(alloc(3), r5 + 2 * kPage);
    for (uint8_t *p : {r5, r5 + 2 * kPage, keep1, r3, keep2}) release(p);
}

// A request wider than any large block fails, but the new block it made stays
// as the carving block (its header page counted) and the old stretch becomes
// a free run.
TEST_F(MasterPages, TooWideRequestKeepsTheBlock) {
    void *p = nullptr;
    ASSERT_EQ(b_tag_masterAllocPages(master_, 200, ZEL_FALSE, &p), eNOMEMORY);
    EXPECT_EQ(p, nullptr);
    EXPECT_TRUE(tag_checkMaster(master_));
    EXPECT_EQ(tag_checkFreeRuns(master_), 1u);
    auto *m = reinterpret_cast<B_MASTER_BLOCK_HEADER_T *>(master_);
    const int64_t first_pages = m->header.num_blocks;
    int64_t cur = 0, max = 0;
    b_tag_masterMemUsage(master_, &cur, &max);
    EXPECT_EQ(max, (1 + first_pages + 1) * 4096);
    // The next page comes from the first block's old stretch.
    uint8_t *a = alloc(1);
    EXPECT_EQ(a, reinterpret_cast<uint8_t *>(master_) + kPage);
    release(a);
}

TEST_F(MasterPages, RandomRunsAgainstAModel) {
    std::mt19937 rng(7);
    std::map<uint8_t *, uint16_t> live;  // first page -> pages
    for (int step = 0; step < 3000; step++) {
        if (live.empty() || rng() % 100 < 55) {
            const auto pages =
                static_cast<uint16_t>(rng() % 3 == 0 ? 1 + rng() % 153 : 1 + rng() % 8);
            void *p = nullptr;
            ASSERT_EQ(b_tag_masterAllocPages(master_, pages, ZEL_FALSE, &p), sOKAY);
            auto *run = static_cast<uint8_t *>(p);
            auto next = live.lower_bound(run);
            if (next != live.end()) {
                ASSERT_LE(run + pages * kPage, next->first);
            }
            if (next != live.begin()) {
                auto prev = std::prev(next);
                ASSERT_LE(prev->first + prev->second * kPage, run);
            }
            std::memset(run, static_cast<int>(pages & 0xff), kPage);
            run[pages * kPage - 1] = static_cast<uint8_t>(pages);
            live[run] = pages;
        } else {
            auto it = std::next(live.begin(), static_cast<long>(rng() % live.size()));
            ASSERT_EQ(it->first[0], static_cast<uint8_t>(it->second));
            ASSERT_EQ(it->first[it->second * kPage - 1], static_cast<uint8_t>(it->second));
            ASSERT_EQ(release(it->first), -static_cast<int16_t>(it->second));
            live.erase(it);
        }
        if (step % 50 == 0) {
            ASSERT_TRUE(tag_checkMaster(master_));
        }
    }
    for (auto &[run, pages] : live) release(run);
}

TEST(MasterSeed, TooSmallAfterAlignmentFails) {
    Seed seed = seed_buffer(3 * kPage);
    B_TAG_MASTER master = nullptr;
    EXPECT_EQ(b_tag_masterCreate(seed.get(), 8191, &master), eNOMEMORY);
    EXPECT_EQ(master, nullptr);
    // Three pages starting one byte past a boundary lose a page to alignment.
    EXPECT_EQ(b_tag_masterCreate(seed.get() + 1, 2 * kPage + 4094, &master), eNOMEMORY);
    EXPECT_EQ(b_tag_masterCreate(seed.get() + 1, 3 * kPage - 1, &master), sOKAY);
    EXPECT_EQ(reinterpret_cast<uint8_t *>(master), seed.get() + kPage);
    b_tag_masterDestroy(master);
}

// 8192 bytes: a header page and one data page, which a sub tag takes; a
// second sub tag then fails with eNOMEMORY, and the first goes on working.
TEST(MasterSeed, TwoPagesHoldOneSubTag) {
    Seed seed = seed_buffer(2 * kPage);
    B_TAG_MASTER master = nullptr;
    ASSERT_EQ(b_tag_masterCreate(seed.get(), 2 * kPage, &master), sOKAY);
    EXPECT_EQ(reinterpret_cast<B_MASTER_BLOCK_HEADER_T *>(master)->header.num_blocks, 1u);
    B_TAG_SUB sub = nullptr, other = nullptr;
    ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
    EXPECT_EQ(reinterpret_cast<uint8_t *>(sub), seed.get() + kPage);
    EXPECT_EQ(b_tag_subCreate(master, &other), eNOMEMORY);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(b_tag_subCreate(master, &other), eNOMEMORY);  // still no platform call
    void *p = nullptr;
    EXPECT_EQ(b_tag_subAlloc(sub, 300, &p), sOKAY);  // class 368 shares the tag's page
    void *q = nullptr;
    EXPECT_EQ(b_tag_subAlloc(sub, 20, &q), eNOMEMORY);  // class 24 needs a page
    EXPECT_EQ(q, nullptr);
    b_tag_subFree(sub, p);
    EXPECT_TRUE(tag_checkMaster(master));
    b_tag_subDestroy(sub);
    EXPECT_EQ(tag_checkMasterBytes(master), 4096);
    b_tag_masterDestroy(master);
}

// 2 MiB (512 pages): three full blocks of 155 pages, then a last block of the
// remaining 47 pages (46 data pages); after that every new block fails.
TEST(MasterSeed, LargeSeedIsCutIntoBlocks) {
    constexpr size_t kBytes = 2u << 20;
    Seed seed = seed_buffer(kBytes);
    B_TAG_MASTER master = nullptr;
    ASSERT_EQ(b_tag_masterCreate(seed.get(), kBytes, &master), sOKAY);
    std::vector<void *> runs;
    for (int i = 0; i < 3; i++) {
        void *p = nullptr;
        ASSERT_EQ(b_tag_masterAllocPages(master, 154, ZEL_FALSE, &p), sOKAY);
        EXPECT_EQ(p, seed.get() + (155 * i + 1) * kPage);
        runs.push_back(p);
    }
    void *p = nullptr;
    EXPECT_EQ(b_tag_masterAllocPages(master, 47, ZEL_FALSE, &p), eNOMEMORY);
    EXPECT_TRUE(tag_checkMaster(master));
    ASSERT_EQ(b_tag_masterAllocPages(master, 46, ZEL_FALSE, &p), sOKAY);
    EXPECT_EQ(p, seed.get() + (3 * 155 + 1) * kPage);
    runs.push_back(p);
    void *q = nullptr;
    EXPECT_EQ(b_tag_masterAllocPages(master, 1, ZEL_FALSE, &q), eNOMEMORY);
    EXPECT_TRUE(tag_checkMaster(master));
    for (void *r : runs) {
        int16_t increment = 0;
        b_tag_masterFreePages(master, r, &increment);
    }
    EXPECT_TRUE(tag_checkMaster(master));
    EXPECT_EQ(tag_checkMasterBytes(master), 4096);
    b_tag_masterDestroy(master);
}

}  // namespace
