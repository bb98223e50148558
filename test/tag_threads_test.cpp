// Several owners on one master tag: the master's mutex is the only lock, so
// this runs under ThreadSanitizer in CI.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "tag_check.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

constexpr int64_t kTagBytes = 368;  // the tag's own header slot

void fill(void *p, size_t n, uint32_t seed) {
    for (size_t i = 0; i < n; i++) static_cast<uint8_t *>(p)[i] = static_cast<uint8_t>(seed + i);
}

bool check(const void *p, size_t n, uint32_t seed) {
    for (size_t i = 0; i < n; i++)
        if (static_cast<const uint8_t *>(p)[i] != static_cast<uint8_t>(seed + i)) return false;
    return true;
}

// Four threads, each with its own sub tag on one master, churn small blocks
// and page runs; the master's mutex is the only lock.
TEST(SubTagThreads, FourOwnersOnOneMaster) {
    B_TAG_MASTER master = nullptr;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    std::vector<int> failures(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++) {
        threads.emplace_back([master, t, &failures] {
            B_TAG_SUB sub = nullptr;
            if (b_tag_subCreate(master, &sub) != sOKAY) {
                failures[t]++;
                return;
            }
            std::mt19937 rng(100 + t);
            std::vector<std::pair<void *, std::pair<size_t, uint32_t>>> live;
            for (uint32_t step = 0; step < 20000; step++) {
                if (live.empty() || rng() % 2 == 0) {
                    const size_t n = rng() % 20 == 0 ? 2033 + rng() % 40000 : rng() % 2033;
                    void *p = nullptr;
                    if (b_tag_subAlloc(sub, n, &p) != sOKAY) {
                        failures[t]++;
                        continue;
                    }
                    fill(p, std::min<size_t>(n, 64), step);
                    live.push_back({p, {n, step}});
                } else {
                    const size_t i = rng() % live.size();
                    auto [p, info] = live[i];
                    if (!check(p, std::min<size_t>(info.first, 64), info.second)) failures[t]++;
                    b_tag_subFree(sub, p);
                    live[i] = live.back();
                    live.pop_back();
                }
            }
            for (auto &[p, info] : live) b_tag_subFree(sub, p);
            int64_t cur = 0, max = 0;
            b_tag_subMemUsage(sub, &cur, &max, nullptr);
            if (cur != kTagBytes) failures[t]++;
            b_tag_subDestroy(sub);
        });
    }
    for (auto &th : threads) th.join();
    for (int t = 0; t < 4; t++) EXPECT_EQ(failures[t], 0) << t;
    EXPECT_TRUE(tag_checkMaster(master));
    EXPECT_EQ(tag_checkMasterBytes(master), 4096);
    b_tag_masterDestroy(master);
}

}  // namespace
