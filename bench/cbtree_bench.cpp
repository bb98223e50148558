// Cached B-tree against the ordered indexes a user would pick when everything
// fits in memory: the in-memory B-tree of this library and absl::btree_set,
// inserting and finding 1M random 8-byte keys. With a cache big enough that
// nothing spills, the tree holds pointers to the keys, like the B-tree and the
// abseil set of pointers. With a cache of 1% of the nodes, entries are cells
// that go through the node file, and the counters give the loads and writes
// per operation.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#ifdef ZELBASE_HAVE_ABSL
#include <absl/container/btree_set.h>
#endif

#include "bench_keys.h"
#include "btree.h"
#include "cbtree.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

using bench::keyCompare;
using bench::keys;
using bench::kKeys;

ZEL_COMPARE btCompare(const void *a, const void *b, const void *) {
    return keyCompare(a, b);
}
ZEL_COMPARE cbtCompare(void *, const void *a, const void *b) {
    return keyCompare(a, b);
}

// Entries that stay in memory point into the key array: nothing to dispose.
ZEL_RETCODE noLoad(void *, const uint8_t *, uint32_t, const void **) {
    std::abort();  // nothing spills
}
void noZap(void *, uint8_t *buf, uint32_t, const void *) {
    if (buf != nullptr) std::abort();
}

// Entries that spill are cells on the bench's sub tag.
ZEL_RETCODE cellLoad(void *ctx, const uint8_t *buf, uint32_t, const void **data) {
    uint64_t *cell = nullptr;
    ZEL_CHECK(b_tag_subAlloc(static_cast<B_TAG_SUB>(ctx), 8, &cell));
    std::memcpy(cell, buf, 8);
    *data = cell;
    return sOKAY;
}
void cellZap(void *ctx, uint8_t *buf, uint32_t, const void *data) {
    if (buf != nullptr) std::memcpy(buf, data, 8);
    b_tag_subFree(static_cast<B_TAG_SUB>(ctx), const_cast<void *>(data));
}

const char *tmpDir() {
    const char *d = std::getenv("TMPDIR");
    return d != nullptr ? d : "/tmp";
}

struct Tags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    Tags() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) std::abort();
        if (b_tag_subCreate(master, &sub) != sOKAY) std::abort();
    }
    ~Tags() {
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
};

// ---------------------------------------------------------------- no spill

void cbtFill(B_CBTREE_T *t, B_TAG_SUB sub, uint32_t slots) {
    if (b_cbtInit(t, sub, nullptr, cbtCompare, noLoad, noZap, UINT32_MAX, slots, 8, tmpDir()) !=
        sOKAY)
        std::abort();
    for (const uint64_t &k : keys().insert) {
        if (b_cbtAdd(t, &k) != sOKAY) std::abort();
    }
}

void BM_CbtInsert(benchmark::State &state) {
    Tags tags;
    for (auto _ : state) {
        B_CBTREE_T t;
        cbtFill(&t, tags.sub, static_cast<uint32_t>(state.range(0)));
        state.PauseTiming();
        b_cbtTerm(&t);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_CbtFind(benchmark::State &state) {
    Tags tags;
    B_CBTREE_T t;
    cbtFill(&t, tags.sub, static_cast<uint32_t>(state.range(0)));
    for (auto _ : state) {
        for (const uint64_t &k : keys().probe) benchmark::DoNotOptimize(b_cbtFind(&t, &k));
    }
    b_cbtTerm(&t);
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void btFill(B_BTREE_T *bt, B_TAG_SUB sub, uint32_t slots) {
    if (b_btInit(bt, btCompare, slots, nullptr, sub) != sOKAY) std::abort();
    for (const uint64_t &k : keys().insert) {
        if (b_btAdd(bt, &k) != sOKAY) std::abort();
    }
}

// The in-memory B-tree holds up to `slots` entries a node, the cached one
// slots - 1: each is given the argument less one and the argument.
void BM_BtInsert(benchmark::State &state) {
    Tags tags;
    for (auto _ : state) {
        B_BTREE_T bt;
        btFill(&bt, tags.sub, static_cast<uint32_t>(state.range(0)) - 1);
        state.PauseTiming();
        b_btTerm(&bt);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_BtFind(benchmark::State &state) {
    Tags tags;
    B_BTREE_T bt;
    btFill(&bt, tags.sub, static_cast<uint32_t>(state.range(0)) - 1);
    for (auto _ : state) {
        for (const uint64_t &k : keys().probe) benchmark::DoNotOptimize(b_btFind(&bt, &k));
    }
    b_btTerm(&bt);
    state.SetItemsProcessed(state.iterations() * kKeys);
}

#ifdef ZELBASE_HAVE_ABSL
struct PointeeLess {
    bool operator()(const uint64_t *a, const uint64_t *b) const { return *a < *b; }
};
using AbslSet = absl::btree_set<uint64_t>;
using AbslPtrSet = absl::btree_set<const uint64_t *, PointeeLess>;

template <class Set, class Make>
void absl_insert(benchmark::State &state, Make make) {
    for (auto _ : state) {
        Set s;
        for (const uint64_t &k : keys().insert) s.insert(make(k));
        benchmark::DoNotOptimize(s.size());
        state.PauseTiming();
        s.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Set, class Make>
void absl_find(benchmark::State &state, Make make) {
    Set s;
    for (const uint64_t &k : keys().insert) s.insert(make(k));
    for (auto _ : state) {
        for (const uint64_t &k : keys().probe) benchmark::DoNotOptimize(s.find(make(k)));
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

uint64_t byValue(const uint64_t &k) {
    return k;
}
const uint64_t *byPointer(const uint64_t &k) {
    return &k;
}
void BM_AbslSetInsert(benchmark::State &s) {
    absl_insert<AbslSet>(s, byValue);
}
void BM_AbslSetFind(benchmark::State &s) {
    absl_find<AbslSet>(s, byValue);
}
void BM_AbslPtrSetInsert(benchmark::State &s) {
    absl_insert<AbslPtrSet>(s, byPointer);
}
void BM_AbslPtrSetFind(benchmark::State &s) {
    absl_find<AbslPtrSet>(s, byPointer);
}
#endif

// ---------------------------------------------------------------- spilling

// Nodes a tree of all the keys has with `slots`, from a tree that does not
// spill.
uint32_t nodesOf(uint32_t slots) {
    Tags tags;
    B_CBTREE_T t;
    cbtFill(&t, tags.sub, slots);
    const uint32_t n = t.nextId;
    b_cbtTerm(&t);
    return n;
}

void spillFill(B_CBTREE_T *t, B_TAG_SUB sub, uint32_t slots, uint32_t cache) {
    if (b_cbtInit(t, sub, sub, cbtCompare, cellLoad, cellZap, cache, slots, 8, tmpDir()) != sOKAY)
        std::abort();
    for (const uint64_t &k : keys().insert) {
        uint64_t *cell = nullptr;
        if (b_tag_subAlloc(sub, 8, &cell) != sOKAY) std::abort();
        *cell = k;
        if (b_cbtAdd(t, cell) != sOKAY) std::abort();
    }
}

void perOp(benchmark::State &state, const B_CBTREE_T &t, uint64_t loads, uint64_t writes,
           uint64_t ops) {
    state.counters["loads/op"] = double(t.loads - loads) / double(ops);
    state.counters["writes/op"] = double(t.writes - writes) / double(ops);
    state.counters["cache"] = double(t.max_cached_nodes);
    state.counters["nodes"] = double(t.nextId);
}

void BM_CbtSpillInsert(benchmark::State &state) {
    const uint32_t slots = static_cast<uint32_t>(state.range(0));
    const uint32_t cache = std::max<uint32_t>(1, nodesOf(slots) / 100);
    Tags tags;
    for (auto _ : state) {
        B_CBTREE_T t;
        spillFill(&t, tags.sub, slots, cache);
        state.PauseTiming();
        perOp(state, t, 0, 0, kKeys);
        b_cbtTerm(&t);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_CbtSpillFind(benchmark::State &state) {
    const uint32_t slots = static_cast<uint32_t>(state.range(0));
    const uint32_t cache = std::max<uint32_t>(1, nodesOf(slots) / 100);
    Tags tags;
    B_CBTREE_T t;
    spillFill(&t, tags.sub, slots, cache);
    const uint64_t loads = t.loads, writes = t.writes;
    for (auto _ : state) {
        for (const uint64_t &k : keys().probe) benchmark::DoNotOptimize(b_cbtFind(&t, &k));
    }
    perOp(state, t, loads, writes, state.iterations() * kKeys);
    b_cbtTerm(&t);
    state.SetItemsProcessed(state.iterations() * kKeys);
}

void slotArgs(benchmark::internal::Benchmark *b) {
    b->Unit(benchmark::kMillisecond)->Arg(64)->Arg(128);
}

}  // namespace

BENCHMARK(BM_CbtInsert)->Apply(slotArgs);
BENCHMARK(BM_BtInsert)->Apply(slotArgs);
BENCHMARK(BM_CbtFind)->Apply(slotArgs);
BENCHMARK(BM_BtFind)->Apply(slotArgs);
#ifdef ZELBASE_HAVE_ABSL
BENCHMARK(BM_AbslSetInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslPtrSetInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslSetFind)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AbslPtrSetFind)->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(BM_CbtSpillInsert)->Apply(slotArgs)->Iterations(1);
BENCHMARK(BM_CbtSpillFind)->Apply(slotArgs)->Iterations(1);

BENCHMARK_MAIN();
