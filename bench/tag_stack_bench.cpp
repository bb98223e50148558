// Stack tag and object pool against what a user would pick instead: a burst of
// allocations dropped at once (stack tag rollback, glibc malloc/free, and
// std::pmr::monotonic_buffer_resource with release), and get/put of one
// record type (pool, malloc/free).
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <memory_resource>

#include "pool.h"
#include "tag_master_psp.h"
#include "tag_stack.h"
#include "tag_sub.h"

namespace {

constexpr int kBurst = 64;

// Mixed sizes from 8 to 256 bytes, the same for every peer.
constexpr std::array<size_t, kBurst> kSizes = [] {
    std::array<size_t, kBurst> s{};
    uint32_t x = 12345;
    for (size_t &v : s) {
        x = x * 1103515245u + 12345u;
        v = 8 + (x >> 16) % 249;
    }
    return s;
}();

void BM_StackTagBurst(benchmark::State &state) {
    B_TAG_MASTER master = nullptr;
    B_TAG_STACK stack = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
        b_tag_stackCreate(master, 8192, 8192, &stack) != sOKAY) {
        state.SkipWithError("no tag");
        return;
    }
    for (auto _ : state) {
        void *mark = nullptr;
        (void)b_tag_stackAlloc(stack, 0, &mark);
        for (size_t size : kSizes) {
            char *p = nullptr;
            if (b_tag_stackAlloc(stack, size, &p) != sOKAY) std::abort();
            p[0] = 1;
            benchmark::DoNotOptimize(p);
        }
        b_tag_stackFree(stack, mark);
    }
    state.SetItemsProcessed(state.iterations() * kBurst);
    b_tag_stackDestroy(stack);
    b_tag_masterDestroy(master);
}
BENCHMARK(BM_StackTagBurst);

void BM_MallocFreeBurst(benchmark::State &state) {
    std::array<char *, kBurst> ptrs{};
    for (auto _ : state) {
        for (int i = 0; i < kBurst; ++i) {
            ptrs[i] = static_cast<char *>(std::malloc(kSizes[i]));
            ptrs[i][0] = 1;
            benchmark::DoNotOptimize(ptrs[i]);
        }
        for (int i = kBurst - 1; i >= 0; --i) std::free(ptrs[i]);
    }
    state.SetItemsProcessed(state.iterations() * kBurst);
}
BENCHMARK(BM_MallocFreeBurst);

void BM_PmrMonotonicBurst(benchmark::State &state) {
    alignas(16) static char buffer[32768];
    std::pmr::monotonic_buffer_resource res(buffer, sizeof buffer,
                                            std::pmr::null_memory_resource());
    for (auto _ : state) {
        for (size_t size : kSizes) {
            char *p = static_cast<char *>(res.allocate(size, 8));
            p[0] = 1;
            benchmark::DoNotOptimize(p);
        }
        res.release();
    }
    state.SetItemsProcessed(state.iterations() * kBurst);
}
BENCHMARK(BM_PmrMonotonicBurst);

constexpr int kObjects = 16;
constexpr size_t kObjectSize = 96;

void BM_PoolGetPut(benchmark::State &state) {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
        b_tag_subCreate(master, &sub) != sOKAY) {
        state.SkipWithError("no tag");
        return;
    }
    B_POOL_T pool;
    b_poolInit(&pool, sub, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    std::array<char *, kObjects> ptrs{};
    for (auto _ : state) {
        for (char *&p : ptrs) {
            if (b_poolGetMem(&pool, kObjectSize, B_POOL_ALLOC, nullptr, &p) != sOKAY) std::abort();
            p[0] = 1;
            benchmark::DoNotOptimize(p);
        }
        for (char *p : ptrs) b_poolPut(&pool, p);
    }
    state.SetItemsProcessed(state.iterations() * kObjects);
    b_poolTerm(&pool);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}
BENCHMARK(BM_PoolGetPut);

void BM_MallocFreeObjects(benchmark::State &state) {
    std::array<char *, kObjects> ptrs{};
    for (auto _ : state) {
        for (char *&p : ptrs) {
            p = static_cast<char *>(std::malloc(kObjectSize));
            p[0] = 1;
            benchmark::DoNotOptimize(p);
        }
        for (char *p : ptrs) std::free(p);
    }
    state.SetItemsProcessed(state.iterations() * kObjects);
}
BENCHMARK(BM_MallocFreeObjects);

}  // namespace

BENCHMARK_MAIN();
