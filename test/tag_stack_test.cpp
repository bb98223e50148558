// Tests of the stack tag: bump allocation, rollback by address across blocks,
// reuse of retained blocks, realloc, accounting and the master's pages.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tag_master_psp.h"
#include "tag_stack.h"

namespace {

// Payload of a one-page first block (the tag takes 80 bytes) and of a further
// one-page block (32 bytes of header).
constexpr size_t kFirstPayload = 4096 - 80;
constexpr size_t kNextPayload = 4096 - 32;

class StackTag : public ::testing::Test {
  protected:
    // A tag of one-page blocks unless a test makes another.
    void SetUp() override {
        ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
        b_tag_masterMemUsage(master, &masterStart, &masterPeak);
        Create(4096, 4096);
    }
    void TearDown() override {
        if (stack != nullptr) b_tag_stackDestroy(stack);
        int64_t cur, peak;
        b_tag_masterMemUsage(master, &cur, &peak);
        EXPECT_EQ(cur, masterStart);  // every page back to the master
        b_tag_masterDestroy(master);
    }
    void Create(size_t initial, size_t increment) {
        if (stack != nullptr) b_tag_stackDestroy(stack);
        ASSERT_EQ(b_tag_stackCreate(master, initial, increment, &stack), sOKAY);
    }
    uint8_t *Alloc(size_t size) {
        uint8_t *p = nullptr;
        EXPECT_EQ(b_tag_stackAlloc(stack, size, &p), sOKAY);
        return p;
    }
    int64_t Used() {
        int64_t cur, peak;
        b_tag_stackMemUsage(stack, &cur, &peak);
        return cur;
    }
    // "current peak"
    std::string Usage() {
        int64_t cur = -1, peak = -1;
        b_tag_stackMemUsage(stack, &cur, &peak);
        return std::to_string(cur) + " " + std::to_string(peak);
    }
    int64_t MasterPages() {
        int64_t cur, peak;
        b_tag_masterMemUsage(master, &cur, &peak);
        return cur / 4096;
    }

    B_TAG_MASTER master = nullptr;
    B_TAG_STACK stack = nullptr;
    int64_t masterStart = 0, masterPeak = 0;
};

TEST_F(StackTag, OneByteAdvancesTheTopByEightAndTheBlockEndFits) {
    EXPECT_EQ(Usage(), "0 0");  // a fresh tag uses nothing but its page
    EXPECT_EQ(MasterPages(), masterStart / 4096 + 1);
    uint8_t *a = Alloc(1);
    uint8_t *b = Alloc(1);
    EXPECT_EQ(b - a, 8);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(a) % 8, 0u);
    EXPECT_EQ(Used(), 16);
    b_tag_stackFreeAll(stack);
    // A buffer ending at the block's end fits it.
    int64_t pages = MasterPages();
    a = Alloc(kFirstPayload);
    EXPECT_EQ(a, stack->payload);
    EXPECT_EQ(stack->current_top, stack->current_max);
    EXPECT_EQ(MasterPages(), pages);  // no new block yet
    b = Alloc(8);
    EXPECT_EQ(MasterPages(), pages + 1);
    EXPECT_NE(stack->current, reinterpret_cast<STACK_BLOCK_T *>(stack));
    EXPECT_EQ(b, stack->current->payload);
    EXPECT_EQ(Used(), static_cast<int64_t>(kFirstPayload + 8));
}

TEST_F(StackTag, FreeDropsEverythingAfterAcrossBlocks) {
    std::vector<uint8_t *> bufs;
    std::vector<int64_t> before;
    for (int i = 0; i < 12; ++i) {  // 1000 bytes: four per block, three blocks
        before.push_back(Used());
        bufs.push_back(Alloc(1000));
    }
    EXPECT_EQ(Used(), 12000);
    int64_t pages = MasterPages();

    b_tag_stackFree(stack, bufs[2]);  // back into the first block
    EXPECT_EQ(stack->current, reinterpret_cast<STACK_BLOCK_T *>(stack));
    EXPECT_EQ(Used(), before[2]);

    // The same sizes walk into the retained blocks by `next`: same places, no
    // call to the master.
    for (int i = 2; i < 12; ++i) EXPECT_EQ(Alloc(1000), bufs[i]) << i;
    EXPECT_EQ(MasterPages(), pages);
    EXPECT_EQ(Used(), 12000);

    b_tag_stackFree(stack, bufs[0]);
    EXPECT_EQ(Usage(), "0 12000");
}

TEST_F(StackTag, SavedPositionIsAMark) {
    Alloc(24);
    uint8_t *mark = Alloc(0);  // zero bytes: the top itself
    for (int i = 0; i < 20; ++i) Alloc(500);
    b_tag_stackFree(stack, mark);
    EXPECT_EQ(Used(), 24);
    EXPECT_EQ(Alloc(8), mark);
    b_tag_stackFreeAll(stack);
    EXPECT_EQ(Used(), 0);
    EXPECT_EQ(Alloc(8), stack->payload);
}

TEST_F(StackTag, LargeRequestAfterRollbackOverSmallBlockFails) {
    Alloc(kFirstPayload);
    Alloc(100);  // retains a one-page second block
    b_tag_stackFreeAll(stack);
    Alloc(kFirstPayload);
    int64_t pages = MasterPages(), used = Used();
    void *p = &p;
    // Deliberately not served by a larger block: the retained one is too small.
    EXPECT_EQ(b_tag_stackAlloc(stack, kNextPayload + 1, &p), eNOMEMORY);
    EXPECT_EQ(p, &p);
    EXPECT_EQ(MasterPages(), pages);
    EXPECT_EQ(Used(), used);
    EXPECT_EQ(b_tag_stackAlloc(stack, kNextPayload, &p), sOKAY);  // exactly fits
    // On a fresh tail a large request gets its own run: (10000 + 4127) / 4096
    // = 3 pages.
    pages = MasterPages();
    std::memset(Alloc(10000), 0x5a, 10000);
    EXPECT_EQ(MasterPages(), pages + 3);
}

TEST_F(StackTag, ReallocInPlaceKeepsPointerAndDropsLater) {
    uint8_t *a = Alloc(16);
    std::memset(a, 0x11, 16);
    Alloc(64);
    uint8_t *r = nullptr;
    ASSERT_EQ(b_tag_stackRealloc(stack, a, 40, &r), sOKAY);
    EXPECT_EQ(r, a);
    EXPECT_EQ(Used(), 40);
    EXPECT_EQ(r[15], 0x11);

    ASSERT_EQ(b_tag_stackReallocClear(stack, r, 16, 100, &r), sOKAY);
    EXPECT_EQ(r, a);
    EXPECT_EQ(r[15], 0x11);
    for (int i = 16; i < 100; ++i) ASSERT_EQ(r[i], 0) << i;
}

TEST_F(StackTag, ReallocMovingCopiesTheOldTail) {
    Alloc(kFirstPayload - 16);
    uint8_t *a = Alloc(16);  // the last 16 bytes of the first block
    for (int i = 0; i < 16; ++i) a[i] = static_cast<uint8_t>(i + 1);
    uint8_t *r = nullptr;
    ASSERT_EQ(b_tag_stackRealloc(stack, a, 100, &r), sOKAY);
    EXPECT_NE(r, a);
    EXPECT_EQ(r, stack->current->payload);
    for (int i = 0; i < 16; ++i) ASSERT_EQ(r[i], i + 1);
    // Bytes before the old buffer plus 104 rounded up.
    EXPECT_EQ(Used(), static_cast<int64_t>(kFirstPayload - 16 + 104));
}

TEST_F(StackTag, FailedReallocLeavesTopAtOldBuffer) {
    Alloc(kFirstPayload - 16);
    uint8_t *a = Alloc(16);
    Alloc(100);  // second block, one page, now retained
    uint8_t *r = a;
    void *out = &out;
    EXPECT_EQ(b_tag_stackRealloc(stack, r, 8000, &out), eNOMEMORY);
    EXPECT_EQ(out, &out);
    EXPECT_EQ(Used(), static_cast<int64_t>(kFirstPayload - 16));
    EXPECT_EQ(Alloc(8), a);  // the old buffer is no longer allocated
}

TEST_F(StackTag, VariantsClearCopyAndNull) {
    uint8_t *a = Alloc(64);
    std::memset(a, 0xee, 64);
    b_tag_stackFree(stack, a);
    uint8_t *c = nullptr;
    ASSERT_EQ(b_tag_stackAllocClear(stack, 64, &c), sOKAY);
    ASSERT_EQ(c, a);
    for (int i = 0; i < 64; ++i) ASSERT_EQ(c[i], 0);

    char *s = nullptr;
    ASSERT_EQ(b_tag_stackCopyString(stack, "rollback", &s), sOKAY);
    EXPECT_STREQ(s, "rollback");
    void *n = &n;
    ASSERT_EQ(b_tag_stackAllocOrSetNull(stack, 0, &n), sOKAY);
    EXPECT_EQ(n, nullptr);
    const uint8_t src[3] = {1, 2, 3};
    uint8_t *d = nullptr;
    ASSERT_EQ(b_tag_stackAllocCopy(stack, src, 3, &d), sOKAY);
    EXPECT_EQ(std::memcmp(d, src, 3), 0);
}

TEST_F(StackTag, SizesCapAtOneLargeBlock) {
    Create(SIZE_MAX, SIZE_MAX);  // both capped at 153 pages
    EXPECT_EQ(stack->increment_pages, 153);
    EXPECT_EQ(stack->header.max - reinterpret_cast<uint8_t *>(stack), 153 * 4096);
    void *p = &p;
    EXPECT_EQ(b_tag_stackAlloc(stack, SIZE_MAX, &p), eNOMEMORY);
    EXPECT_EQ(p, &p);
}

// Random allocations, frees and reallocs against a model: a stack of live
// buffers, each filled with its own byte. Usage is the sum of the rounded
// lengths of the live buffers, whatever blocks they lie in.
TEST_F(StackTag, RandomOperationsMatchModel) {
    Create(4096, 8192);
    struct Live {
        uint8_t *p;
        size_t size;
        uint8_t fill;
    };
    std::vector<Live> live;
    std::mt19937 rng(7);
    auto rounded = [](size_t n) { return static_cast<int64_t>((n + 7) & ~size_t{7}); };
    auto check = [&] {
        int64_t sum = 0;
        for (const Live &l : live) {
            sum += rounded(l.size);
            for (size_t i = 0; i < l.size; ++i) ASSERT_EQ(l.p[i], l.fill);
        }
        ASSERT_EQ(Used(), sum);
    };
    auto pickSize = [&] { return rng() % 8 == 0 ? rng() % 12000 : rng() % 600; };
    for (int step = 0; step < 3000; ++step) {
        uint32_t op = rng() % 10;
        uint8_t fill = static_cast<uint8_t>(step);
        if (op < 6) {
            size_t size = pickSize();
            uint8_t *p = nullptr;
            ZEL_RETCODE rc = b_tag_stackAlloc(stack, size, &p);
            ASSERT_TRUE(rc == sOKAY || rc == eNOMEMORY);
            if (rc == sOKAY) {
                std::memset(p, fill, size);
                live.push_back({p, size, fill});
            }
        } else if (op < 8 && !live.empty()) {
            size_t i = rng() % live.size();
            b_tag_stackFree(stack, live[i].p);
            live.resize(i);
        } else if (!live.empty()) {
            size_t i = rng() % live.size();
            Live old = live[i];
            live.resize(i);
            size_t size = pickSize();
            uint8_t *p = nullptr;
            ZEL_RETCODE rc = b_tag_stackRealloc(stack, old.p, size, &p);
            ASSERT_TRUE(rc == sOKAY || rc == eNOMEMORY);
            if (rc == sOKAY) {
                size_t keep = std::min(size, old.size);
                for (size_t k = 0; k < keep; ++k) ASSERT_EQ(p[k], old.fill);
                std::memset(p, fill, size);
                live.push_back({p, size, fill});
            }
        }
        check();
        if (HasFatalFailure()) return;
    }
}

// A seeded master runs out of pages: every failure is eNOMEMORY and the tag
// gives all pages back; growing the seed makes the sequence succeed.
TEST(StackTagOutOfMemory, SeededMasterFailsCleanlyUntilBigEnough) {
    bool done = false;
    for (size_t pages = 3; pages < 40 && !done; ++pages) {
        std::vector<uint8_t> seed((pages + 1) * 4096);
        B_TAG_MASTER master = nullptr;
        ASSERT_EQ(b_tag_masterCreate(seed.data(), seed.size(), &master), sOKAY);
        int64_t start, peak;
        b_tag_masterMemUsage(master, &start, &peak);
        B_TAG_STACK stack = nullptr;
        ZEL_RETCODE rc = b_tag_stackCreate(master, 4096, 4096, &stack);
        if (rc == sOKAY) {
            for (int i = 0; i < 20 && rc == sOKAY; ++i) {
                void *p = &p;
                rc = b_tag_stackAlloc(stack, 2000, &p);
                if (rc != sOKAY) {
                    EXPECT_EQ(p, &p);
                }
            }
            b_tag_stackDestroy(stack);
        }
        EXPECT_TRUE(rc == sOKAY || rc == eNOMEMORY) << rc;
        int64_t cur;
        b_tag_masterMemUsage(master, &cur, &peak);
        EXPECT_EQ(cur, start);
        b_tag_masterDestroy(master);
        done = rc == sOKAY;
    }
    EXPECT_TRUE(done);
}

}  // namespace
