// External sort of 32-byte records with three keys (int32 descending, char 8,
// uint64). In memory (caches big enough for every page) against std::sort
// over the record numbers with the same three-key compare; with bounded
// memory against GNU sort (LC_ALL=C --parallel=1) given the same -S as the
// bytes the two caches may hold, over a text file of the same keys. Each
// run sorts and reads everything back.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "sort.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

struct Rec {
    int32_t a;     // key 2, descending
    char b[8];     // key 1
    uint8_t c[8];  // key 3, a uint64 at offset 12
    uint32_t no;   // record number
    uint8_t pad[8];
};
static_assert(sizeof(Rec) == 32);

const SORTDESCR kFields[5] = {{nullptr, nullptr, 2, 4, 0, 1, SORT_TYPE_INT32},
                              {nullptr, nullptr, 1, 8, 4, 0, SORT_TYPE_CHAR},
                              {nullptr, nullptr, 3, 8, 12, 0, SORT_TYPE_UINT64},
                              {nullptr, nullptr, 0, 4, 20, 0, SORT_TYPE_UINT32},
                              {nullptr, nullptr, 0, 8, 24, 0, SORT_TYPE_BYTES}};

const std::vector<Rec> &records(size_t n) {
    static std::vector<Rec> all;
    if (all.size() < n) {
        std::mt19937_64 rng(3);
        all.resize(n);
        for (size_t i = 0; i < n; ++i) {
            Rec &r = all[i];
            std::memset(&r, 0, sizeof r);
            r.a = int32_t(rng() % 100);
            for (int k = 0; k < 7; ++k) r.b[k] = char('a' + rng() % 26);
            const uint64_t c = rng();
            std::memcpy(r.c, &c, 8);
            r.no = uint32_t(i);
        }
    }
    return all;
}

int recCompare(const Rec &x, const Rec &y) {
    const int c = std::strncmp(x.b, y.b, 8);
    if (c != 0) return c;
    if (x.a != y.a) return x.a > y.a ? -1 : 1;  // descending
    uint64_t xc, yc;
    std::memcpy(&xc, x.c, 8);
    std::memcpy(&yc, y.c, 8);
    return xc < yc ? -1 : (xc > yc ? 1 : 0);
}

// Sorts n records with `pages` pages a cache and reads them all back.
void zelSort(size_t n, uint32_t pages, int64_t *peak) {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY || b_tag_subCreate(master, &sub) != sOKAY)
        std::abort();
    uint32_t counter = 0;
    const B_SORTATTR env[1] = {{nullptr, nullptr, &counter}};
    const std::string tmp = std::filesystem::temp_directory_path().string();
    B_SORT_T s;
    if (b_sortInit(&s, env, pages, tmp.c_str(), sub) != sOKAY ||
        b_sortStart(&s, 5, kFields) != sOKAY)
        std::abort();
    const std::vector<Rec> &r = records(n);
    for (size_t i = 0; i < n; ++i)
        if (b_sortStore(&s, &r[i]) != sOKAY) std::abort();
    if (b_sortComplete(&s) != sOKAY) std::abort();
    std::vector<Rec> out(4096);
    uint32_t got = 0;
    uint64_t sum = 0;
    while (b_sortRead(&s, 4096, out.data(), &got) == sOKAY) sum += got;
    if (sum != n) std::abort();
    b_sortTerm(&s);
    int64_t cur = 0;
    b_tag_subMemUsage(sub, &cur, peak, nullptr);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

void BM_ZelSortInMemory(benchmark::State &state) {
    const size_t n = size_t(state.range(0));
    records(n);
    int64_t peak = 0;
    // Every page of both files fits: 127 records a record page, 511 an index page.
    const uint32_t pages = uint32_t(n / 127 + n / 511 + 16);
    for (auto _ : state) zelSort(n, pages, &peak);
    state.counters["peak_MB"] = double(peak) / 1048576.0;
}
BENCHMARK(BM_ZelSortInMemory)
    ->Arg(1 << 20)
    ->Arg(1 << 22)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

void BM_StdSortOfRecordNumbers(benchmark::State &state) {
    const size_t n = size_t(state.range(0));
    const std::vector<Rec> &r = records(n);
    for (auto _ : state) {
        // As the external sort does: the records stored once, their numbers sorted.
        std::vector<Rec> stored(r.begin(), r.begin() + long(n));
        std::vector<uint32_t> idx(n);
        std::iota(idx.begin(), idx.end(), 0u);
        std::sort(idx.begin(), idx.end(),
                  [&](uint32_t x, uint32_t y) { return recCompare(stored[x], stored[y]) < 0; });
        std::vector<Rec> out(4096);
        for (size_t i = 0; i < n; i += 4096) {
            const size_t m = std::min<size_t>(4096, n - i);
            for (size_t k = 0; k < m; ++k) out[k] = stored[idx[i + k]];
            benchmark::DoNotOptimize(out.data());
        }
    }
}
BENCHMARK(BM_StdSortOfRecordNumbers)
    ->Arg(1 << 20)
    ->Arg(1 << 22)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

// Bounded: `pages` a cache; a page takes 8 KiB of the tag (4096 bytes and
// the 8-byte header round up to two 4 KiB pages).
void BM_ZelSortBounded(benchmark::State &state) {
    const size_t n = size_t(state.range(0));
    const uint32_t pages = uint32_t(state.range(1));
    records(n);
    int64_t peak = 0;
    for (auto _ : state) zelSort(n, pages, &peak);
    state.counters["peak_MB"] = double(peak) / 1048576.0;
}
BENCHMARK(BM_ZelSortBounded)
    ->Args({1 << 20, 1024})
    ->Args({1 << 20, 256})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

// GNU sort over lines of the same keys (the char key, the int32 as a
// descending fixed-width number, the uint64, and the record number), -S
// the same bytes as the bounded sort's two caches.
void BM_GnuSortBounded(benchmark::State &state) {
    const size_t n = size_t(state.range(0));
    const int64_t bytes = state.range(1) * 2 * 8192;
    const std::string dir = std::filesystem::temp_directory_path().string();
    const std::string in = dir + "/zelsort_bench_in.txt", out = dir + "/zelsort_bench_out.txt";
    {
        FILE *f = std::fopen(in.c_str(), "w");
        if (f == nullptr) std::abort();
        for (const Rec &r : records(n)) {
            uint64_t c;
            std::memcpy(&c, r.c, 8);
            std::fprintf(f, "%.8s|%03d|%020llu|%u\n", r.b, 99 - r.a, (unsigned long long)c, r.no);
        }
        std::fclose(f);
    }
    const std::string cmd = "LC_ALL=C sort --parallel=1 -S " + std::to_string(bytes) + "b -T " +
                            dir + " -o " + out + " " + in;
    for (auto _ : state) {
        if (std::system(cmd.c_str()) != 0) {
            state.SkipWithError("GNU sort failed");
            break;
        }
    }
    std::filesystem::remove(in);
    std::filesystem::remove(out);
    state.counters["S_MB"] = double(bytes) / 1048576.0;
}
BENCHMARK(BM_GnuSortBounded)
    ->Args({1 << 20, 1024})
    ->Args({1 << 20, 256})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
