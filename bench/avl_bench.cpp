// Threaded AVL tree against std::set: insert, find and erase of 1k to 1M
// keys in random order, so that a size where the tree falls behind shows
// (small trees live in the cache, where the cost of a level is its compare;
// large ones are bound by the memory of the path). The peers are
// std::set<uint64_t> and, as the like-for-like case, std::set of the same
// record ordered by its key. Times are per key.
//
// Every pass takes a fresh random order, from a cycle of at least 256k
// operations: a small tree searched in the same order pass after pass lets
// the branch predictor learn the whole sequence of turns, which no real
// caller's lookups would offer. BM_*FindSameOrder keeps that case, one order
// for every pass, for comparison.
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
    return static_cast<ZEL_COMPARE>((a > b) - (a < b));
}

// Distinct random keys; orders of them for inserting and erasing, as many as
// make 256k operations (one at least); and a stream of as many lookups, each
// key once per cycle of it.
constexpr size_t kCycle = size_t{1} << 18;

struct Keys {
    std::vector<uint64_t> keys;
    std::vector<std::vector<uint64_t>> orders;
    std::vector<uint64_t> probes;
    explicit Keys(size_t n) : keys(n) {
        std::mt19937_64 rng(42);
        for (size_t i = 0; i < n; ++i) keys[i] = i * 2654435761u;  // spread out
        std::shuffle(keys.begin(), keys.end(), rng);
        const size_t passes = std::max<size_t>(1, kCycle / n);
        for (size_t p = 0; p < passes; ++p) {
            orders.push_back(keys);
            std::shuffle(orders.back().begin(), orders.back().end(), rng);
        }
        for (size_t p = 0; p < passes; ++p) {
            std::vector<uint64_t> order = keys;
            std::shuffle(order.begin(), order.end(), rng);
            probes.insert(probes.end(), order.begin(), order.end());
        }
    }
    const std::vector<uint64_t> &order(size_t pass) const { return orders[pass % orders.size()]; }
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
// one by one would have them: each pass writes its order's keys into them.
struct AvlFixture {
    const Keys &k;
    std::vector<Item> items;
    B_AVL_T avl;
    explicit AvlFixture(size_t n) : k(keys(n)), items(n) { b_avlInit(&avl, itemCompare, nullptr); }
    void fill(size_t pass) {
        const std::vector<uint64_t> &order = k.order(pass);
        b_avlInit(&avl, itemCompare, nullptr);
        for (size_t i = 0; i < items.size(); ++i) {
            items[i].key = order[i];
            if (b_avlAdd(&avl, &items[i].link) != sOKAY) std::abort();
        }
    }
};

void perKey(benchmark::State &state, size_t keysPerPass) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * keysPerPass));
}

void BM_AvlInsert(benchmark::State &state) {
    AvlFixture f(count(state));
    size_t pass = 0;
    for (auto _ : state) {
        f.fill(pass++);
        benchmark::DoNotOptimize(f.avl.root);
    }
    perKey(state, count(state));
}

void BM_AvlFind(benchmark::State &state) {
    AvlFixture f(count(state));
    f.fill(0);
    Item lookup{};
    for (auto _ : state) {
        for (uint64_t k : f.k.probes) {
            lookup.key = k;
            benchmark::DoNotOptimize(b_avlFind(&f.avl, &lookup.link));
        }
    }
    perKey(state, f.k.probes.size());
}

void BM_AvlFindSameOrder(benchmark::State &state) {
    AvlFixture f(count(state));
    f.fill(0);
    Item lookup{};
    for (auto _ : state) {
        for (uint64_t k : f.k.keys) {
            lookup.key = k;
            benchmark::DoNotOptimize(b_avlFind(&f.avl, &lookup.link));
        }
    }
    perKey(state, count(state));
}

void BM_AvlErase(benchmark::State &state) {
    AvlFixture f(count(state));
    Item lookup{};
    size_t pass = 0;
    for (auto _ : state) {
        state.PauseTiming();
        f.fill(pass);
        state.ResumeTiming();
        for (uint64_t k : f.k.order(pass + 1)) {
            lookup.key = k;
            benchmark::DoNotOptimize(b_avlDelete(&f.avl, &lookup.link));
        }
        ++pass;
    }
    perKey(state, count(state));
}

// The same operations on a std::set; make() builds an element from a key.
template <class Set, class Make>
void setInsert(benchmark::State &state, Make make) {
    const Keys &k = keys(count(state));
    size_t pass = 0;
    for (auto _ : state) {
        Set s;
        for (uint64_t key : k.order(pass++)) s.insert(make(key));
        benchmark::DoNotOptimize(s.size());
        state.PauseTiming();  // freeing the nodes is not part of inserting
        s.clear();
        state.ResumeTiming();
    }
    perKey(state, count(state));
}

template <class Set, class Make>
void setFind(benchmark::State &state, Make make) {
    const Keys &k = keys(count(state));
    Set s;
    for (uint64_t key : k.order(0)) s.insert(make(key));
    for (auto _ : state) {
        for (uint64_t key : k.probes) benchmark::DoNotOptimize(s.find(make(key)));
    }
    perKey(state, k.probes.size());
}

template <class Set, class Make>
void setFindSameOrder(benchmark::State &state, Make make) {
    const Keys &k = keys(count(state));
    Set s;
    for (uint64_t key : k.order(0)) s.insert(make(key));
    for (auto _ : state) {
        for (uint64_t key : k.keys) benchmark::DoNotOptimize(s.find(make(key)));
    }
    perKey(state, count(state));
}

template <class Set, class Make>
void setErase(benchmark::State &state, Make make) {
    const Keys &k = keys(count(state));
    size_t pass = 0;
    for (auto _ : state) {
        state.PauseTiming();
        Set s;
        for (uint64_t key : k.order(pass)) s.insert(make(key));
        state.ResumeTiming();
        for (uint64_t key : k.order(pass + 1)) s.erase(make(key));
        benchmark::DoNotOptimize(s.size());
        ++pass;
    }
    perKey(state, count(state));
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
void BM_SetU64FindSameOrder(benchmark::State &s) {
    setFindSameOrder<U64Set>(s, makeU64);
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
BENCHMARK(BM_AvlFindSameOrder)->Apply(sizes);
BENCHMARK(BM_SetU64FindSameOrder)->Apply(sizes);
BENCHMARK(BM_AvlErase)->Apply(sizes);
BENCHMARK(BM_SetU64Erase)->Apply(sizes);
BENCHMARK(BM_SetItemErase)->Apply(sizes);

BENCHMARK_MAIN();
