// Block cache against the LRU a user would write instead: std::unordered_map
// of ids to positions in a std::list, with and without a std::mutex. Both
// hold 1024 blocks and serve a Zipf-distributed stream over 4096 ids, so most
// requests hit; a miss evicts the least recently used block and loads.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <mutex>
#include <numeric>
#include <random>
#include <unordered_map>
#include <vector>

#include "cache.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

constexpr uint32_t kEntries = 1024;
constexpr uint32_t kIds = 4096;
constexpr size_t kRequests = 1 << 20;

// Ids drawn with probability proportional to 1 / rank, the ranks scattered
// over the ids.
const std::vector<uint64_t> &requests() {
    static const std::vector<uint64_t> r = [] {
        std::vector<double> cdf(kIds);
        double sum = 0;
        for (uint32_t i = 0; i < kIds; ++i) cdf[i] = sum += 1.0 / (i + 1);
        std::vector<uint64_t> rank(kIds);
        std::iota(rank.begin(), rank.end(), uint64_t{0});
        std::mt19937_64 rng(7);
        std::shuffle(rank.begin(), rank.end(), rng);
        std::uniform_real_distribution<double> u(0, sum);
        std::vector<uint64_t> out(kRequests);
        for (uint64_t &id : out) {
            const size_t i =
                static_cast<size_t>(std::lower_bound(cdf.begin(), cdf.end(), u(rng)) - cdf.begin());
            id = rank[std::min<size_t>(i, kIds - 1)];
        }
        return out;
    }();
    return r;
}

// The blocks themselves: one word per id, loaded by pointing at it.
uint64_t g_blocks[kIds];

ZEL_RETCODE load(B_CACHE_ID id, void **data, void *) {
    g_blocks[id] = id;
    *data = &g_blocks[id];
    return sOKAY;
}
ZEL_RETCODE zap(B_CACHE_ID, void *, ZEL_BOOL_T, void *) {
    return sOKAY;
}

void cacheRun(benchmark::State &state, bool sync) {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) std::abort();
    if (b_tag_subCreate(master, &sub) != sOKAY) std::abort();
    B_CACHE_T cache;
    if (b_cacheInit(&cache, kEntries, load, zap, nullptr, sync ? ZEL_TRUE : ZEL_FALSE, nullptr,
                    sub) != sOKAY) {
        std::abort();
    }
    uint64_t sum = 0;
    for (auto _ : state) {
        for (uint64_t id : requests()) {
            uint64_t *block = nullptr;
            B_CACHE_HANDLE h = nullptr;
            if (b_cacheGetEntry(&cache, id, &block, &h) != sOKAY) std::abort();
            sum += *block;
            b_cacheReleaseEntry(&cache, h, ZEL_FALSE);
        }
    }
    benchmark::DoNotOptimize(sum);
    b_cacheTerm(&cache, ZEL_FALSE);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
    state.SetItemsProcessed(state.iterations() * kRequests);
}

void BM_Cache(benchmark::State &state) {
    cacheRun(state, false);
}
void BM_CacheSync(benchmark::State &state) {
    cacheRun(state, true);
}

// The usual LRU: the list front is the newest, the map finds an id's node.
class Lru {
  public:
    uint64_t *get(uint64_t id) {
        auto it = index_.find(id);
        if (it != index_.end()) {
            order_.splice(order_.begin(), order_, it->second);
            return it->second->second;
        }
        if (index_.size() >= kEntries) {
            index_.erase(order_.back().first);
            order_.pop_back();
        }
        void *data = nullptr;
        (void)load(id, &data, nullptr);
        order_.emplace_front(id, static_cast<uint64_t *>(data));
        index_.emplace(id, order_.begin());
        return order_.front().second;
    }

  private:
    std::list<std::pair<uint64_t, uint64_t *>> order_;
    std::unordered_map<uint64_t, std::list<std::pair<uint64_t, uint64_t *>>::iterator> index_;
};

void lruRun(benchmark::State &state, bool sync) {
    Lru lru;
    std::mutex mutex;
    uint64_t sum = 0;
    for (auto _ : state) {
        for (uint64_t id : requests()) {
            if (sync) {
                const std::lock_guard<std::mutex> lock(mutex);
                sum += *lru.get(id);
            } else {
                sum += *lru.get(id);
            }
        }
    }
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations() * kRequests);
}

void BM_Lru(benchmark::State &state) {
    lruRun(state, false);
}
void BM_LruMutex(benchmark::State &state) {
    lruRun(state, true);
}

}  // namespace

BENCHMARK(BM_Cache)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lru)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CacheSync)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LruMutex)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
