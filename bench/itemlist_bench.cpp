// Item lists against std::deque, the container a user would pick for records
// appended at the end and read by number: 1M appends; reads in order and at
// random numbers of lists of 100K items (4 MB, within the last-level cache)
// and 1M (40 MB, beyond it); a list of 1000 filled and emptied again.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <deque>
#include <random>
#include <vector>

#include "itemlist.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

constexpr uint32_t kItems = 1000000;

B_ITEM itemOf(uint32_t n) {
    B_ITEM it{};
    it.drawerType = ZEL_DRAWER_TABLE;
    it.drawerId = n & 63;
    it.slot = n;
    it.version = 7;
    it.state = B_ITEM_EXIST;
    it.format = ZEL_ITEM_FORMAT_COMPACT;
    return it;
}

const std::vector<uint32_t> &randomIds() {
    static const std::vector<uint32_t> ids = [] {
        std::vector<uint32_t> v(kItems);
        std::mt19937 rng(3);
        for (uint32_t &id : v) id = rng() % kItems;
        return v;
    }();
    return ids;
}

struct List {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    B_POOL_T pool{};
    B_ITEM_LIST list{};
    List() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) std::abort();
        if (b_tag_subCreate(master, &sub) != sOKAY) std::abort();
        b_poolInit(&pool, sub, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
        if (b_itemListInit(&list, &pool, sub) != sOKAY) std::abort();
    }
    ~List() {
        b_itemListTerm(&list);
        b_poolTerm(&pool);
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    void fill(uint32_t n) {
        for (uint32_t i = 0; i < n; ++i) {
            const B_ITEM it = itemOf(i);
            if (b_itemListAddItem(&list, &it) != sOKAY) std::abort();
        }
    }
};

std::deque<B_ITEM> dequeOf(uint32_t n) {
    std::deque<B_ITEM> d;
    for (uint32_t i = 0; i < n; ++i) d.push_back(itemOf(i));
    return d;
}

void BM_ItemListAppend(benchmark::State &state) {
    for (auto _ : state) {
        {
            List l;
            l.fill(kItems);
            benchmark::DoNotOptimize(l.list.num);
            state.PauseTiming();  // the teardown is no append
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}

void BM_DequeAppend(benchmark::State &state) {
    for (auto _ : state) {
        std::deque<B_ITEM> d = dequeOf(kItems);
        benchmark::DoNotOptimize(d.size());
        state.PauseTiming();
        d.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}

template <class Ids>
void listRead(benchmark::State &state, Ids ids) {
    const uint32_t n = static_cast<uint32_t>(state.range(0));
    List l;
    l.fill(n);
    for (auto _ : state) {
        uint64_t sum = 0;
        for (uint32_t i = 0; i < n; ++i) {
            B_ITEM *it = nullptr;
            (void)b_itemListGetItem(&l.list, ids(i, n), &it);
            sum += it->slot;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * n);
}

template <class Ids>
void dequeRead(benchmark::State &state, Ids ids) {
    const uint32_t n = static_cast<uint32_t>(state.range(0));
    const std::deque<B_ITEM> d = dequeOf(n);
    for (auto _ : state) {
        uint64_t sum = 0;
        for (uint32_t i = 0; i < n; ++i) sum += d[ids(i, n)].slot;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * n);
}

uint32_t inOrder(uint32_t i, uint32_t) {
    return i;
}
uint32_t atRandom(uint32_t i, uint32_t n) {
    return randomIds()[i] % n;
}

void BM_ItemListReadInOrder(benchmark::State &s) {
    listRead(s, inOrder);
}
void BM_DequeReadInOrder(benchmark::State &s) {
    dequeRead(s, inOrder);
}
void BM_ItemListReadAtRandom(benchmark::State &s) {
    (void)randomIds();
    listRead(s, atRandom);
}
void BM_DequeReadAtRandom(benchmark::State &s) {
    (void)randomIds();
    dequeRead(s, atRandom);
}

// A transaction's list, filled with 1000 items and released, again and again.
void BM_ItemListFillRelease(benchmark::State &state) {
    List l;
    for (auto _ : state) {
        l.fill(1000);
        b_itemListRelease(&l.list);
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

void BM_DequeFillClear(benchmark::State &state) {
    std::deque<B_ITEM> d;
    for (auto _ : state) {
        for (uint32_t i = 0; i < 1000; ++i) d.push_back(itemOf(i));
        d.clear();
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

}  // namespace

BENCHMARK(BM_ItemListAppend)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DequeAppend)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ItemListReadInOrder)->Arg(100000)->Arg(kItems)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DequeReadInOrder)->Arg(100000)->Arg(kItems)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ItemListReadAtRandom)->Arg(100000)->Arg(kItems)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DequeReadAtRandom)->Arg(100000)->Arg(kItems)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ItemListFillRelease);
BENCHMARK(BM_DequeFillClear);

BENCHMARK_MAIN();
