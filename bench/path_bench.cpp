// Name patterns of the directory scan against glibc's fnmatch with
// FNM_CASEFOLD, over names like those of a database directory, with patterns
// that mean the same in both ("#" written as "[0-9A-F]" for fnmatch). Then
// the pathological pattern "*a*a*a*a*a*a*a*a*b" against runs of "a" of
// growing length: b_pathMatch stays linear in the name.
#include <benchmark/benchmark.h>
#include <fnmatch.h>

#include <random>
#include <string>
#include <vector>

#include "path.h"

namespace {

const std::vector<std::string> &names() {
    static const std::vector<std::string> v = [] {
        std::mt19937 rng(9);
        std::vector<std::string> out;
        char buf[96];
        for (int i = 0; i < 1000; ++i) {
            switch (rng() % 5) {
                case 0:
                    std::snprintf(buf, sizeof buf, "DB%02X%02u.DAT",
                                  static_cast<unsigned>(rng() % 256),
                                  static_cast<unsigned>(rng() % 100));
                    break;
                case 1:
                    std::snprintf(buf, sizeof buf, "sort_0x7ffd%08x_%010u_%03u.tmp",
                                  static_cast<unsigned>(rng()),
                                  static_cast<unsigned>(rng() % 100000),
                                  static_cast<unsigned>(rng() % 1000));
                    break;
                case 2:
                    std::snprintf(buf, sizeof buf, "drawer_%u.idx",
                                  static_cast<unsigned>(rng() % 500));
                    break;
                case 3:
                    std::snprintf(buf, sizeof buf, "gsv_%04u.log",
                                  static_cast<unsigned>(rng() % 10000));
                    break;
                default:
                    std::snprintf(buf, sizeof buf, "catalogue-%u.json",
                                  static_cast<unsigned>(rng() % 50));
                    break;
            }
            out.emplace_back(buf);
        }
        return out;
    }();
    return v;
}

struct Pattern {
    const char *ours;
    const char *fnm;
};
constexpr Pattern kPatterns[] = {
    {"*.tmp", "*.tmp"},
    {"db##??.dat", "db[0-9A-F][0-9A-F]??.dat"},
    {"sort_*_*_0*.TMP", "sort_*_*_0*.TMP"},
    {"gsv_????.log", "gsv_????.log"},
};

void BM_PathMatch(benchmark::State &state) {
    const Pattern &p = kPatterns[state.range(0)];
    const auto &v = names();
    size_t hits = 0;
    for (auto _ : state) {
        for (const std::string &n : v) hits += b_pathMatch(n.c_str(), p.ours) ? 1 : 0;
    }
    benchmark::DoNotOptimize(hits);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * v.size()));
    state.SetLabel(p.ours);
}

void BM_Fnmatch(benchmark::State &state) {
    const Pattern &p = kPatterns[state.range(0)];
    const auto &v = names();
    size_t hits = 0;
    for (auto _ : state) {
        for (const std::string &n : v) hits += fnmatch(p.fnm, n.c_str(), FNM_CASEFOLD) == 0 ? 1 : 0;
    }
    benchmark::DoNotOptimize(hits);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * v.size()));
    state.SetLabel(p.fnm);
}

constexpr const char *kPathological = "*a*a*a*a*a*a*a*a*b";

void BM_PathMatchPathological(benchmark::State &state) {
    const std::string name(static_cast<size_t>(state.range(0)), 'a');
    for (auto _ : state) benchmark::DoNotOptimize(b_pathMatch(name.c_str(), kPathological));
    state.SetComplexityN(state.range(0));
}

void BM_FnmatchPathological(benchmark::State &state) {
    const std::string name(static_cast<size_t>(state.range(0)), 'a');
    for (auto _ : state)
        benchmark::DoNotOptimize(fnmatch(kPathological, name.c_str(), FNM_CASEFOLD));
    state.SetComplexityN(state.range(0));
}

}  // namespace

BENCHMARK(BM_PathMatch)->DenseRange(0, 3);
BENCHMARK(BM_Fnmatch)->DenseRange(0, 3);
BENCHMARK(BM_PathMatchPathological)->RangeMultiplier(2)->Range(25, 1600)->Complexity();
BENCHMARK(BM_FnmatchPathological)->RangeMultiplier(2)->Range(25, 1600)->Complexity();

BENCHMARK_MAIN();
