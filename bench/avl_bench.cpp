// Threaded AVL tree against std::set: insert, find and erase of 1k to 1M
// keys in random order, so that a size where the tree falls behind shows
// (small trees live in the cache, where the cost of a level is its compare;
// large ones are bound by the memory of the path). The peers are
// std::set<uint64_t> and, as the like-for-like case, std::set of the same
// record ordered by its key. Times are per key.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include "avl.h"

namespace {

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
    explicit Keys(size_t n) : insert(n), probe(n) {
        std::mt19937_64 rng(42);
        for (size_t i = 0; i < n; ++i) insert[i] = i * 2654435761u;  // spread out
        std::shuffle(insert.begin(), insert.end(), rng);
        probe = insert;
        std::shuffle(probe.begin(), probe.end(), rng);
    }
};

const Keys &keys(size_t n) {
    static std::map<size_t, Keys> all;
    auto it = all.find(n);
    if (it == all.end()) it = all.emplace(n, Keys(n)).first;
    return it->second;
}

size_t count(const benchmark::State &state) {
    return static_cast<size_t>(state.range(0));
}

// The records are laid out in insertion order, as a caller allocating them
// one by one would have them.
struct AvlFixture {
    const Keys &k;
    std::vector<Item> items;
    B_AVL_T avl;
    explicit AvlFixture(size_t n) : k(keys(n)), items(n) {
        for (size_t i = 0; i < n; ++i) items[i].key = k.insert[i];
        b_avlInit(&avl, itemCompare, nullptr);
    }
    void fill() {
        for (Item &it : items) {
            if (b_avlAdd(&avl, &it.link) != sOKAY) std::abort();
        }
    }
};

void BM_AvlInsert(benchmark::State &state) {
    AvlFixture f(count(state));
    for (auto _ : state) {
        b_avlInit(&f.avl, itemCompare, nullptr);
        f.fill();
        benchmark::DoNotOptimize(f.avl.root);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * count(state)));
}

void BM_AvlFind(benchmark::State &state) {
    AvlFixture f(count(state));
    f.fill();
    Item lookup{};
    for (auto _ : state) {
        for (uint64_t k : f.k.probe) {
            lookup.key = k;
            benchmark::DoNotOptimize(b_avlFind(&f.avl, &lookup.link));
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * count(state)));
}

void BM_AvlErase(benchmark::State &state) {
    AvlFixture f(count(state));
    Item lookup{};
    for (auto _ : state) {
        state.PauseTiming();
        b_avlInit(&f.avl, itemCompare, nullptr);
        f.fill();
        state.ResumeTiming();
        for (uint64_t k : f.k.probe) {
            lookup.key = k;
            benchmark::DoNotOptimize(b_avlDelete(&f.avl, &lookup.link));
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * count(state)));
}

// The same three operations on a std::set; make() builds an element from a
// key.
template <class Set, class Make>
void setInsert(benchmark::State &state, Make make) {
    const Keys &k = keys(count(state));
    for (auto _ : state) {
        Set s;
        for (uint64_t key : k.insert) s.insert(make(key));
        benchmark::DoNotOptimize(s.size());
        state.PauseTiming();  // freeing the nodes is not part of inserting
        s.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * count(state)));
}

template <class Set, class Make>
void setFind(benchmark::State &state, Make make) {
    const Keys &k = keys(count(state));
    Set s;
    for (uint64_t key : k.insert) s.insert(make(key));
    for (auto _ : state) {
        for (uint64_t key : k.probe) benchmark::DoNotOptimize(s.find(make(key)));
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * count(state)));
}

template <class Set, class Make>
void setErase(benchmark::State &state, Make make) {
    const Keys &k = keys(count(state));
    for (auto _ : state) {
        state.PauseTiming();
        Set s;
        for (uint64_t key : k.insert) s.insert(make(key));
        state.ResumeTiming();
        for (uint64_t key : k.probe) s.erase(make(key));
        benchmark::DoNotOptimize(s.size());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * count(state)));
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

// 1k to 1M keys.
void sizes(benchmark::internal::Benchmark *b) {
    for (int64_t n : {1 << 10, 1 << 12, 1 << 15, 1 << 18, 1 << 20}) b->Arg(n);
    b->Unit(benchmark::kMicrosecond);
}

}  // namespace

BENCHMARK(BM_AvlInsert)->Apply(sizes);
BENCHMARK(BM_SetU64Insert)->Apply(sizes);
BENCHMARK(BM_SetItemInsert)->Apply(sizes);
BENCHMARK(BM_AvlFind)->Apply(sizes);
BENCHMARK(BM_SetU64Find)->Apply(sizes);
BENCHMARK(BM_SetItemFind)->Apply(sizes);
BENCHMARK(BM_AvlErase)->Apply(sizes);
BENCHMARK(BM_SetU64Erase)->Apply(sizes);
BENCHMARK(BM_SetItemErase)->Apply(sizes);

BENCHMARK_MAIN();
