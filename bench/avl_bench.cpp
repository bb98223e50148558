// Threaded AVL tree against std::set: insert, find and erase of 1M keys in
// random order. The peers are std::set<uint64_t> and, as the like-for-like
// case, std::set of the same record ordered by its key.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include "avl.h"

namespace {

constexpr size_t kKeys = 1000000;

struct Item {
    B_AVL_NODE_T link;
    uint64_t key;
};

struct ItemLess {
    bool operator()(const Item &a, const Item &b) const { return a.key < b.key; }
};

ZEL_COMPARE itemCompare(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *) {
    const uint64_t a = reinterpret_cast<const Item *>(lookup)->key;
    const uint64_t b = reinterpret_cast<const Item *>(node)->key;
    return a < b ? ZEL_LT : (a > b ? ZEL_GT : ZEL_EQ);
}

// Distinct random keys in insertion order, and the same keys shuffled again
// for lookups and erasure.
struct Keys {
    std::vector<uint64_t> insert, probe;
    Keys() : insert(kKeys), probe(kKeys) {
        std::mt19937_64 rng(42);
        std::vector<uint64_t> base(kKeys);
        std::iota(base.begin(), base.end(), 0);
        for (size_t i = 0; i < kKeys; ++i) insert[i] = base[i] * 2654435761u;  // spread out
        std::shuffle(insert.begin(), insert.end(), rng);
        probe = insert;
        std::shuffle(probe.begin(), probe.end(), rng);
    }
};

const Keys &keys() {
    static const Keys k;
    return k;
}

// The records are laid out in insertion order, as a caller allocating them
// one by one would have them.
struct AvlFixture {
    std::vector<Item> items{kKeys};
    B_AVL_T avl;
    AvlFixture() {
        for (size_t i = 0; i < kKeys; ++i) items[i].key = keys().insert[i];
        b_avlInit(&avl, itemCompare, nullptr);
    }
    void fill() {
        for (Item &it : items) {
            if (b_avlAdd(&avl, &it.link) != sOKAY) std::abort();
        }
    }
};

void BM_AvlInsert(benchmark::State &state) {
    AvlFixture f;
    for (auto _ : state) {
        b_avlInit(&f.avl, itemCompare, nullptr);
        f.fill();
        benchmark::DoNotOptimize(f.avl.root);
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_AvlFind(benchmark::State &state) {
    AvlFixture f;
    f.fill();
    Item lookup{};
    for (auto _ : state) {
        for (uint64_t k : keys().probe) {
            lookup.key = k;
            benchmark::DoNotOptimize(b_avlFind(&f.avl, &lookup.link));
        }
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_AvlErase(benchmark::State &state) {
    AvlFixture f;
    Item lookup{};
    for (auto _ : state) {
        state.PauseTiming();
        b_avlInit(&f.avl, itemCompare, nullptr);
        f.fill();
        state.ResumeTiming();
        for (uint64_t k : keys().probe) {
            lookup.key = k;
            benchmark::DoNotOptimize(b_avlDelete(&f.avl, &lookup.link));
        }
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

// The same three operations on a std::set; V is the element, make() builds
// one from a key.
template <class Set, class Make>
void setInsert(benchmark::State &state, Make make) {
    for (auto _ : state) {
        Set s;
        for (uint64_t k : keys().insert) s.insert(make(k));
        benchmark::DoNotOptimize(s.size());
        state.PauseTiming();  // freeing the nodes is not part of inserting
        s.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Set, class Make>
void setFind(benchmark::State &state, Make make) {
    Set s;
    for (uint64_t k : keys().insert) s.insert(make(k));
    for (auto _ : state) {
        for (uint64_t k : keys().probe) benchmark::DoNotOptimize(s.find(make(k)));
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Set, class Make>
void setErase(benchmark::State &state, Make make) {
    for (auto _ : state) {
        state.PauseTiming();
        Set s;
        for (uint64_t k : keys().insert) s.insert(make(k));
        state.ResumeTiming();
        for (uint64_t k : keys().probe) s.erase(make(k));
        benchmark::DoNotOptimize(s.size());
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

using U64Set = std::set<uint64_t>;
using ItemSet = std::set<Item, ItemLess>;
uint64_t makeU64(uint64_t k) {
    return k;
}
Item makeItem(uint64_t k) {
    return Item{{0, 0}, k};
}

void BM_SetU64Insert(benchmark::State &s) {
    setInsert<U64Set>(s, makeU64);
}
void BM_SetU64Find(benchmark::State &s) {
    setFind<U64Set>(s, makeU64);
}
void BM_SetU64Erase(benchmark::State &s) {
    setErase<U64Set>(s, makeU64);
}
void BM_SetItemInsert(benchmark::State &s) {
    setInsert<ItemSet>(s, makeItem);
}
void BM_SetItemFind(benchmark::State &s) {
    setFind<ItemSet>(s, makeItem);
}
void BM_SetItemErase(benchmark::State &s) {
    setErase<ItemSet>(s, makeItem);
}

}  // namespace

BENCHMARK(BM_AvlInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SetU64Insert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SetItemInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AvlFind)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SetU64Find)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SetItemFind)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AvlErase)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SetU64Erase)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SetItemErase)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
