// Tests of the object pools: LIFO reuse, the cap, shedding of a too small
// head, constructor and destructor calls, modes, and the sub tag's accounting.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "oom.h"
#include "pool.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

struct Calls {
    int constructed = 0;
    int destroyed = 0;
};

void CountConstruct(B_POOL_USERDATA userdata, void *object) {
    static_cast<Calls *>(userdata)->constructed++;
    std::memset(object, 0xc0, 8);  // a constructor's mark in the first bytes
}

void CountDestroy(B_POOL_USERDATA userdata, void *) {
    static_cast<Calls *>(userdata)->destroyed++;
}

class Pool : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
        ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
        b_tag_subMemUsage(sub, &subStart, &subPeak, nullptr);
        b_poolInit(&pool, sub, B_POOL_FIXED_SIZE, CountConstruct, CountDestroy, &calls);
    }
    void TearDown() override {
        b_poolTerm(&pool);
        EXPECT_EQ(pool.next, nullptr);
        EXPECT_EQ(pool.count, 0u);
        EXPECT_EQ(pool.subTag, nullptr);
        EXPECT_EQ(calls.constructed, calls.destroyed);
        int64_t cur, peak;
        b_tag_subMemUsage(sub, &cur, &peak, nullptr);
        EXPECT_EQ(cur, subStart);  // every object back to the sub tag
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    uint8_t *Get(size_t sz, B_POOL_ALLOC_OPT mode = B_POOL_ALLOC, const void *data = nullptr) {
        uint8_t *p = nullptr;
        EXPECT_EQ(b_poolGetMem(&pool, sz, mode, data, &p), sOKAY);
        return p;
    }
    static size_t CreatedFor(void *object) { return (static_cast<B_POOL_HDR *>(object) - 1)->size; }

    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    int64_t subStart = 0, subPeak = 0;
    Calls calls;
    B_POOL_T pool{};
};

// "pooled constructed destroyed"
std::string counts(const B_POOL_T &pool, const Calls &calls) {
    return std::to_string(pool.count) + " " + std::to_string(calls.constructed) + " " +
           std::to_string(calls.destroyed);
}

TEST_F(Pool, ReusesLastInFirstOut) {
    EXPECT_EQ(pool.max_pooled_items, 1000u);  // the default cap
    uint8_t *a = Get(48), *b = Get(48), *c = Get(48);
    b_poolPut(&pool, a);
    b_poolPut(&pool, b);
    b_poolPut(&pool, c);
    EXPECT_EQ(pool.count, 3u);
    EXPECT_EQ(Get(48), c);
    EXPECT_EQ(Get(40), b);  // smaller still fits; its size stays 48
    EXPECT_EQ(CreatedFor(b), 48u);
    EXPECT_EQ(Get(48), a);
    EXPECT_EQ(counts(pool, calls), "0 3 0");
    b_poolPut(&pool, a);
    b_poolPut(&pool, b);
    b_poolPut(&pool, c);
}

TEST_F(Pool, PutBeyondTheCapDestroysAtOnce) {
    psp_poolSetMaxPooled(&pool, 2);
    uint8_t *a = Get(32), *b = Get(32), *c = Get(32);
    b_poolPut(&pool, a);
    b_poolPut(&pool, b);
    b_poolPut(&pool, c);
    EXPECT_EQ(counts(pool, calls), "2 3 1");
    EXPECT_EQ(Get(32), b);  // c never entered the list
    b_poolPut(&pool, b);
}

TEST_F(Pool, SetMaxToZeroEmptiesFromTheHead) {
    std::vector<uint8_t *> objs;
    for (int i = 0; i < 5; ++i) objs.push_back(Get(24));
    for (uint8_t *p : objs) b_poolPut(&pool, p);
    psp_poolSetMaxPooled(&pool, 3);
    EXPECT_EQ(counts(pool, calls), "3 5 2");
    EXPECT_EQ(Get(24), objs[2]);  // the two newest went first
    b_poolPut(&pool, objs[2]);
    psp_poolSetMaxPooled(&pool, 0);
    EXPECT_EQ(counts(pool, calls), "0 5 5");
    EXPECT_EQ(pool.next, nullptr);
    b_poolPut(&pool, Get(24));  // cap 0: destroyed at once
    EXPECT_EQ(counts(pool, calls), "0 6 6");
}

TEST_F(Pool, TooSmallHeadIsShedNotSearchedPast) {
    pool.size_info = B_POOL_VAR_SIZE;
    uint8_t *big = Get(200), *small = Get(16);
    b_poolPut(&pool, big);
    b_poolPut(&pool, small);  // head
    uint8_t *p = Get(100);
    EXPECT_NE(p, big);
    EXPECT_EQ(counts(pool, calls), "1 3 1");  // small went
    EXPECT_EQ(CreatedFor(p), 100u);
    EXPECT_EQ(Get(150), big);
    b_poolPut(&pool, p);
    b_poolPut(&pool, big);
}

TEST_F(Pool, ModesApplyAfterTheConstructor) {
    uint8_t *a = Get(16);
    EXPECT_EQ(a[0], 0xc0);  // constructor ran
    std::memset(a, 0x77, 16);
    b_poolPut(&pool, a);
    uint8_t *b = Get(16);  // reused: keeps what its last user left
    ASSERT_EQ(b, a);
    EXPECT_EQ(b[15], 0x77);
    b_poolPut(&pool, b);
    b = Get(16, B_POOL_ALLOC_CLEAR);
    for (int i = 0; i < 16; ++i) ASSERT_EQ(b[i], 0);
    const char text[] = "pooled object";
    uint8_t *c = Get(sizeof text, B_POOL_ALLOC_COPY, text);
    EXPECT_STREQ(reinterpret_cast<char *>(c), text);
    uint8_t *d = Get(32, B_POOL_ALLOC_CLEAR);  // fresh: zeroes over the constructor's mark
    for (int i = 0; i < 32; ++i) ASSERT_EQ(d[i], 0);
    EXPECT_EQ(calls.constructed, 3);
    b_poolPut(&pool, b);
    b_poolPut(&pool, c);
    b_poolPut(&pool, d);
    b_poolPut(&pool, nullptr);  // ignored
    EXPECT_EQ(pool.count, 3u);
}

TEST_F(Pool, LargeObjectsComeFromPages) {
    uint8_t *p = Get(5000);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 4096, 16u);  // page route, header first
    std::memset(p, 1, 5000);
    b_poolPut(&pool, p);
    EXPECT_EQ(Get(5000), p);
    b_poolPut(&pool, p);
}

// Each mode, small and page-sized, fresh and past a shed head, with
// allocation 1, 2, 3, ... failing: eNOMEMORY with the out argument untouched,
// and the pool, terminated, gives everything back.
TEST_F(Pool, GetUnderFailingAllocations) {
    const std::string data(5000, 'p');
    for (const size_t sz : {size_t{16}, size_t{5000}}) {
        for (const B_POOL_ALLOC_OPT mode : {B_POOL_ALLOC, B_POOL_ALLOC_CLEAR, B_POOL_ALLOC_COPY}) {
            EXPECT_EQ(
                oom_check(master, {sub},
                          [&] {
                              B_POOL_T local;
                              b_poolInit(&local, sub, B_POOL_VAR_SIZE, nullptr, nullptr, nullptr);
                              void *small = nullptr, *p = &p;
                              ZEL_RETCODE rc =
                                  b_poolGetMem(&local, 8, B_POOL_ALLOC, nullptr, &small);
                              if (rc == sOKAY) {
                                  b_poolPut(&local, small);  // a head too small, shed on the way
                                  rc = b_poolGetMem(&local, sz, mode, data.data(), &p);
                                  EXPECT_EQ(p == &p, rc != sOKAY);
                              }
                              if (rc == sOKAY) {
                                  if (mode == B_POOL_ALLOC_COPY) {
                                      EXPECT_EQ(std::memcmp(p, data.data(), sz), 0);
                                  }
                                  b_poolPut(&local, p);
                              }
                              b_poolTerm(&local);
                              return rc;
                          }),
                2);
        }
    }
    void *q = &q;
    EXPECT_EQ(b_poolGetMem(&pool, SIZE_MAX - 8, B_POOL_ALLOC, nullptr, &q), eNOMEMORY);
    EXPECT_EQ(q, &q);
}

}  // namespace
