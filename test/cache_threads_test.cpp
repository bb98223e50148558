// Block cache shared by eight threads: gets, releases (some modified) and
// flushes of one synchronised cache of 64 ids and room for 16. Every block
// is its own allocation carrying its id, so a block zapped while held, freed
// twice or handed out for the wrong id shows, and ThreadSanitizer sees any
// access outside the cache's mutex.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <random>
#include <thread>
#include <vector>

#include "cache.h"
#include "tag_fixture.h"

namespace {

struct Block {
    uint64_t id;
    uint64_t writes;  // touched only by the cache's callbacks, under its mutex
};

struct Counts {
    std::atomic<int64_t> loads{0}, zapsFreeing{0}, writes{0};
};

ZEL_RETCODE load(B_CACHE_ID id, void **data, void *ctx) {
    static_cast<Counts *>(ctx)->loads++;
    *data = new Block{id, 0};
    return sOKAY;
}

ZEL_RETCODE zap(B_CACHE_ID id, void *data, ZEL_BOOL_T free_mem, void *ctx) {
    auto *c = static_cast<Counts *>(ctx);
    auto *b = static_cast<Block *>(data);
    if (b->id != id) return eFAIL;
    b->writes++;
    c->writes++;
    if (free_mem) {
        c->zapsFreeing++;
        delete b;
    }
    return sOKAY;
}

using CacheThreads = TaggedTest;

TEST_F(CacheThreads, EightThreadsShareOneCache) {
    Counts counts;
    B_CACHE_T cache;
    ASSERT_EQ(b_cacheInit(&cache, 16, load, zap, nullptr, ZEL_TRUE, &counts, sub), sOKAY);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 rng(t + 1);
            B_CACHE_HANDLE held[3] = {};
            for (int i = 0; i < 20000; ++i) {
                const uint32_t slot = rng() % 3;
                if (held[slot] != nullptr) {
                    b_cacheReleaseEntry(&cache, held[slot], rng() % 4 == 0 ? ZEL_TRUE : ZEL_FALSE);
                    held[slot] = nullptr;
                    continue;
                }
                if (rng() % 50 == 0 && b_cacheFlush(&cache) != sOKAY) failures++;
                const uint64_t id = rng() % 64;
                Block *b = nullptr;
                if (b_cacheGetEntry(&cache, id, &b, &held[slot]) != sOKAY || b->id != id) {
                    failures++;
                }
            }
            for (B_CACHE_HANDLE h : held) b_cacheReleaseEntry(&cache, h, ZEL_FALSE);
        });
    }
    for (std::thread &th : threads) th.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(counts.loads - counts.zapsFreeing, int64_t{cache.numentries});
    EXPECT_GE(cache.numentries, 16u);
    EXPECT_LE(cache.numentries, 64u);
    b_cacheTerm(&cache, ZEL_TRUE);
    EXPECT_EQ(counts.loads, counts.zapsFreeing);
}

}  // namespace
