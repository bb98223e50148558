// B-tree against the ordered sets a user would pick instead: insert, random
// find, a full scan and erase of 1M random keys. The tree holds pointers to
// the keys and compares through its callback; the peers are std::set and
// absl::btree_set of the keys themselves (inline) and, like for like, an
// absl::btree_set of the same pointers ordered by the keys they point to.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <set>
#include <vector>

#ifdef ZELBASE_HAVE_ABSL
#include <absl/container/btree_set.h>
#endif

#include "bench_keys.h"
#include "btree.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

using bench::keys;
using bench::kKeys;

ZEL_COMPARE keyCompare(const void *a, const void *b, const void *) {
    return bench::keyCompare(a, b);
}

// A tree on its own tags, `slots` from the benchmark's argument.
struct BtFixture {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    B_BTREE_T bt{};
    uint32_t slots;
    explicit BtFixture(uint32_t s) : slots(s) {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) std::abort();
        if (b_tag_subCreate(master, &sub) != sOKAY) std::abort();
    }
    ~BtFixture() {
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    void fill() {
        if (b_btInit(&bt, keyCompare, slots, nullptr, sub) != sOKAY) std::abort();
        for (const uint64_t &k : keys().insert) {
            if (b_btAdd(&bt, &k) != sOKAY) std::abort();
        }
    }
};

void BM_BtInsert(benchmark::State &state) {
    BtFixture f(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) {
        f.fill();
        state.PauseTiming();
        b_btTerm(&f.bt);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_BtFind(benchmark::State &state) {
    BtFixture f(static_cast<uint32_t>(state.range(0)));
    f.fill();
    for (auto _ : state) {
        for (const uint64_t &k : keys().probe) benchmark::DoNotOptimize(b_btFind(&f.bt, &k));
    }
    b_btTerm(&f.bt);
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_BtScan(benchmark::State &state) {
    BtFixture f(static_cast<uint32_t>(state.range(0)));
    f.fill();
    for (auto _ : state) {
        uint64_t sum = 0;
        for (void *p = b_btFirst(&f.bt); p != nullptr; p = b_btNext(&f.bt)) {
            sum += *static_cast<const uint64_t *>(p);
        }
        benchmark::DoNotOptimize(sum);
    }
    b_btTerm(&f.bt);
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_BtErase(benchmark::State &state) {
    BtFixture f(static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        f.fill();
        state.ResumeTiming();
        for (const uint64_t &k : keys().probe) benchmark::DoNotOptimize(b_btDelete(&f.bt, &k));
        state.PauseTiming();
        b_btTerm(&f.bt);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

// The peers. V is the element; make() builds one from a key's address, value()
// reads the key back from an element.
template <class Set, class Make>
Set build(Make make) {
    Set s;
    for (const uint64_t &k : keys().insert) s.insert(make(k));
    return s;
}

template <class Set, class Make>
void setInsert(benchmark::State &state, Make make) {
    for (auto _ : state) {
        Set s = build<Set>(make);
        benchmark::DoNotOptimize(s.size());
        state.PauseTiming();  // freeing the nodes is not part of inserting
        s.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Set, class Make>
void setFind(benchmark::State &state, Make make) {
    const Set s = build<Set>(make);
    for (auto _ : state) {
        for (const uint64_t &k : keys().probe) benchmark::DoNotOptimize(s.find(make(k)));
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Set, class Make, class Value>
void setScan(benchmark::State &state, Make make, Value value) {
    const Set s = build<Set>(make);
    for (auto _ : state) {
        uint64_t sum = 0;
        for (const auto &e : s) sum += value(e);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Set, class Make>
void setErase(benchmark::State &state, Make make) {
    for (auto _ : state) {
        state.PauseTiming();
        Set s = build<Set>(make);
        state.ResumeTiming();
        for (const uint64_t &k : keys().probe) s.erase(make(k));
        benchmark::DoNotOptimize(s.size());
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

uint64_t byValue(const uint64_t &k) {
    return k;
}
const uint64_t *byPointer(const uint64_t &k) {
    return &k;
}
uint64_t valueOf(uint64_t k) {
    return k;
}
uint64_t pointee(const uint64_t *p) {
    return *p;
}
struct PointeeLess {
    bool operator()(const uint64_t *a, const uint64_t *b) const { return *a < *b; }
};

using StdSet = std::set<uint64_t>;
void BM_StdSetInsert(benchmark::State &s) {
    setInsert<StdSet>(s, byValue);
}
void BM_StdSetFind(benchmark::State &s) {
    setFind<StdSet>(s, byValue);
}
void BM_StdSetScan(benchmark::State &s) {
    setScan<StdSet>(s, byValue, valueOf);
}
void BM_StdSetErase(benchmark::State &s) {
    setErase<StdSet>(s, byValue);
}

#ifdef ZELBASE_HAVE_ABSL
using AbslSet = absl::btree_set<uint64_t>;
using AbslPtrSet = absl::btree_set<const uint64_t *, PointeeLess>;
void BM_AbslSetInsert(benchmark::State &s) {
    setInsert<AbslSet>(s, byValue);
}
void BM_AbslSetFind(benchmark::State &s) {
    setFind<AbslSet>(s, byValue);
}
void BM_AbslSetScan(benchmark::State &s) {
    setScan<AbslSet>(s, byValue, valueOf);
}
void BM_AbslSetErase(benchmark::State &s) {
    setErase<AbslSet>(s, byValue);
}
void BM_AbslPtrSetInsert(benchmark::State &s) {
    setInsert<AbslPtrSet>(s, byPointer);
}
void BM_AbslPtrSetFind(benchmark::State &s) {
    setFind<AbslPtrSet>(s, byPointer);
}
void BM_AbslPtrSetScan(benchmark::State &s) {
    setScan<AbslPtrSet>(s, byPointer, pointee);
}
void BM_AbslPtrSetErase(benchmark::State &s) {
    setErase<AbslPtrSet>(s, byPointer);
}
#endif

void slotArgs(benchmark::internal::Benchmark *b) {
    b->Unit(benchmark::kMillisecond)->Arg(28)->Arg(60)->Arg(124);
}

}  // namespace

BENCHMARK(BM_BtInsert)->Apply(slotArgs);
BENCHMARK(BM_StdSetInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BtFind)->Apply(slotArgs);
BENCHMARK(BM_StdSetFind)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BtScan)->Apply(slotArgs);
BENCHMARK(BM_StdSetScan)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BtErase)->Apply(slotArgs);
BENCHMARK(BM_StdSetErase)->Unit(benchmark::kMillisecond);
#ifdef ZELBASE_HAVE_ABSL
BENCHMARK(BM_AbslSetInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslPtrSetInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslSetFind)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslPtrSetFind)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslSetScan)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslPtrSetScan)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslSetErase)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslPtrSetErase)->Unit(benchmark::kMillisecond);
#endif

BENCHMARK_MAIN();
