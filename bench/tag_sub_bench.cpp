// Sub tag allocation against the allocators a user would pick instead: glibc
// malloc/free and, where it is installed, mimalloc. Two patterns: small blocks
// of mixed sizes (16 to 2032 bytes), and page runs of 4 KiB to 600 KiB; in
// both, a batch is allocated and then freed in a random order.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
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

const Pattern &small_pattern() {
    static const Pattern p = make_pattern(1000, 16, 2032, 1);
    return p;
}

const Pattern &run_pattern() {
    static const Pattern p = make_pattern(64, 4096, 600 * 1024, 2);
    return p;
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
// pattern's order.
template <typename Alloc, typename Free>
void run_batches(benchmark::State &state, const Pattern &p, Alloc alloc, Free release) {
    std::vector<void *> held(p.sizes.size());
    for (auto _ : state) {
        for (size_t i = 0; i < p.sizes.size(); i++) {
            held[i] = alloc(p.sizes[i]);
            static_cast<char *>(held[i])[0] = 1;
        }
        benchmark::ClobberMemory();
        for (size_t i : p.free_order) release(held[i]);
    }
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

void BM_SmallChurn_SubTag(benchmark::State &state) {
    SubTag tag;
    run_batches(
        state, small_pattern(), [&](size_t n) { return tag.alloc(n); },
        [&](void *p) { b_tag_subFree(tag.sub, p); });
}
BENCHMARK(BM_SmallChurn_SubTag);

void BM_SmallChurn_GlibcMalloc(benchmark::State &state) {
    run_batches(
        state, small_pattern(), [](size_t n) { return std::malloc(n); },
        [](void *p) { std::free(p); });
}
BENCHMARK(BM_SmallChurn_GlibcMalloc);

#ifdef ZELBASE_HAVE_MIMALLOC
void BM_SmallChurn_Mimalloc(benchmark::State &state) {
    const Mimalloc &mi = mimalloc();
    if (mi.malloc == nullptr || mi.free == nullptr) {
        state.SkipWithError("mimalloc could not be opened");
        return;
    }
    run_batches(
        state, small_pattern(), [&](size_t n) { return mi.malloc(n); },
        [&](void *p) { mi.free(p); });
}
BENCHMARK(BM_SmallChurn_Mimalloc);
#endif

void BM_PageRuns_SubTag(benchmark::State &state) {
    SubTag tag;
    run_batches(
        state, run_pattern(), [&](size_t n) { return tag.alloc(n); },
        [&](void *p) { b_tag_subFree(tag.sub, p); });
}
BENCHMARK(BM_PageRuns_SubTag);

void BM_PageRuns_GlibcMalloc(benchmark::State &state) {
    run_batches(
        state, run_pattern(), [](size_t n) { return std::malloc(n); },
        [](void *p) { std::free(p); });
}
BENCHMARK(BM_PageRuns_GlibcMalloc);

#ifdef ZELBASE_HAVE_MIMALLOC
void BM_PageRuns_Mimalloc(benchmark::State &state) {
    const Mimalloc &mi = mimalloc();
    if (mi.malloc == nullptr || mi.free == nullptr) {
        state.SkipWithError("mimalloc could not be opened");
        return;
    }
    run_batches(
        state, run_pattern(), [&](size_t n) { return mi.malloc(n); }, [&](void *p) { mi.free(p); });
}
BENCHMARK(BM_PageRuns_Mimalloc);
#endif

}  // namespace

BENCHMARK_MAIN();
