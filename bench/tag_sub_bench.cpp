// Sub tag allocation against the allocators a user would pick instead: glibc
// malloc/free and, where it is installed, mimalloc. Two patterns, each at
// several sizes so that a size where the tag falls behind shows: small blocks
// of mixed sizes (16 to 2032 bytes) with 1k to 1M blocks live at the peak,
// and page runs of 4 KiB to 600 KiB, 16 to 1024 of them. In both, a batch is
// allocated (each buffer touched once) and then freed in a random order; the
// time is per block, allocation and release together.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <numeric>
#include <random>
#include <vector>

#ifdef ZELBASE_HAVE_MIMALLOC
#include <dlfcn.h>
#endif

#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

struct Pattern {
    std::vector<size_t> sizes;
    std::vector<size_t> free_order;
};

Pattern make_pattern(size_t count, size_t lo, size_t hi, uint32_t seed) {
    std::mt19937 rng(seed);
    Pattern p;
    std::uniform_int_distribution<size_t> size(lo, hi);
    for (size_t i = 0; i < count; i++) p.sizes.push_back(size(rng));
    p.free_order.resize(count);
    std::iota(p.free_order.begin(), p.free_order.end(), size_t{0});
    std::shuffle(p.free_order.begin(), p.free_order.end(), rng);
    return p;
}

// One pattern per size, shared by the three contenders.
const Pattern &small_pattern(size_t count) {
    static std::map<size_t, Pattern> patterns;
    auto it = patterns.find(count);
    if (it == patterns.end()) it = patterns.emplace(count, make_pattern(count, 16, 2032, 1)).first;
    return it->second;
}

const Pattern &run_pattern(size_t count) {
    static std::map<size_t, Pattern> patterns;
    auto it = patterns.find(count);
    if (it == patterns.end())
        it = patterns.emplace(count, make_pattern(count, 4096, 600 * 1024, 2)).first;
    return it->second;
}

#ifdef ZELBASE_HAVE_MIMALLOC
// mimalloc is opened at run time, so that linking it does not replace malloc
// for the glibc peer; its functions are called through pointers.
struct Mimalloc {
    void *(*malloc)(size_t) = nullptr;
    void (*free)(void *) = nullptr;
};

const Mimalloc &mimalloc() {
    static const Mimalloc m = [] {
        Mimalloc r;
        if (void *lib = dlopen(ZELBASE_MIMALLOC_LIB, RTLD_NOW | RTLD_LOCAL)) {
            r.malloc = reinterpret_cast<void *(*)(size_t)>(dlsym(lib, "mi_malloc"));
            r.free = reinterpret_cast<void (*)(void *)>(dlsym(lib, "mi_free"));
        }
        return r;
    }();
    return m;
}
#endif

// Allocates the batch (touching each buffer once), then frees it in the
// pattern's order. One batch runs untimed first, so that every contender is
// measured in its steady state, not on memory the system hands out fresh.
template <typename Alloc, typename Free>
void run_batches(benchmark::State &state, const Pattern &p, Alloc alloc, Free release) {
    std::vector<void *> held(p.sizes.size());
    auto batch = [&] {
        for (size_t i = 0; i < p.sizes.size(); i++) {
            held[i] = alloc(p.sizes[i]);
            static_cast<char *>(held[i])[0] = 1;
        }
        benchmark::ClobberMemory();
        for (size_t i : p.free_order) release(held[i]);
    };
    batch();
    for (auto _ : state) batch();
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * p.sizes.size()));
}

struct SubTag {
    SubTag() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
            b_tag_subCreate(master, &sub) != sOKAY) {
            std::abort();
        }
    }
    ~SubTag() {
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    void *alloc(size_t n) {
        void *p = nullptr;
        if (b_tag_subAlloc(sub, n, &p) != sOKAY) std::abort();
        return p;
    }
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
};

template <const Pattern &(*Make)(size_t)>
void sub_tag(benchmark::State &state) {
    SubTag tag;
    run_batches(
        state, Make(static_cast<size_t>(state.range(0))), [&](size_t n) { return tag.alloc(n); },
        [&](void *p) { b_tag_subFree(tag.sub, p); });
}

template <const Pattern &(*Make)(size_t)>
void glibc(benchmark::State &state) {
    run_batches(
        state, Make(static_cast<size_t>(state.range(0))), [](size_t n) { return std::malloc(n); },
        [](void *p) { std::free(p); });
}

#ifdef ZELBASE_HAVE_MIMALLOC
template <const Pattern &(*Make)(size_t)>
void mi(benchmark::State &state) {
    const Mimalloc &m = mimalloc();
    if (m.malloc == nullptr || m.free == nullptr) {
        state.SkipWithError("mimalloc could not be opened");
        return;
    }
    run_batches(
        state, Make(static_cast<size_t>(state.range(0))), [&](size_t n) { return m.malloc(n); },
        [&](void *p) { m.free(p); });
}
#endif

// Live blocks at the peak: 1k to 1M.
void small_sizes(benchmark::internal::Benchmark *b) {
    for (int64_t n : {1 << 10, 1 << 12, 1 << 15, 1 << 18, 1 << 19, 1 << 20}) b->Arg(n);
}
// Page runs held at the peak.
void run_counts(benchmark::internal::Benchmark *b) {
    for (int64_t n : {16, 64, 256, 1024}) b->Arg(n);
}

void BM_SmallChurn_SubTag(benchmark::State &s) {
    sub_tag<small_pattern>(s);
}
void BM_SmallChurn_Glibc(benchmark::State &s) {
    glibc<small_pattern>(s);
}
void BM_PageRuns_SubTag(benchmark::State &s) {
    sub_tag<run_pattern>(s);
}
void BM_PageRuns_Glibc(benchmark::State &s) {
    glibc<run_pattern>(s);
}
BENCHMARK(BM_SmallChurn_SubTag)->Apply(small_sizes);
BENCHMARK(BM_SmallChurn_Glibc)->Apply(small_sizes);
#ifdef ZELBASE_HAVE_MIMALLOC
void BM_SmallChurn_Mimalloc(benchmark::State &s) {
    mi<small_pattern>(s);
}
void BM_PageRuns_Mimalloc(benchmark::State &s) {
    mi<run_pattern>(s);
}
BENCHMARK(BM_SmallChurn_Mimalloc)->Apply(small_sizes);
#endif
BENCHMARK(BM_PageRuns_SubTag)->Apply(run_counts);
BENCHMARK(BM_PageRuns_Glibc)->Apply(run_counts);
#ifdef ZELBASE_HAVE_MIMALLOC
BENCHMARK(BM_PageRuns_Mimalloc)->Apply(run_counts);
#endif

}  // namespace

BENCHMARK_MAIN();
