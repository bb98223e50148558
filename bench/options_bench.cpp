// The option keyword lookup: every one of the 62 names, in a shuffled order
// and as written by users (in lower case, and in upper case), through
// b_optionGetKey over the keyword table (a binary search by psp_strcasecmp,
// then a scan on a miss, which "gsvtype" takes). The peers: std::lower_bound
// with the C library's strcasecmp over the same names sorted as they fold,
// and a gperf perfect hash of the 62 names (bench/options_gperf.gperf,
// generated at build time when gperf is found) as the floor.
#include <benchmark/benchmark.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "options.h"

#ifdef ZELBASE_HAVE_GPERF
extern "C" const char *optpeer_keyword(const char *str, size_t len);
#endif

namespace {

std::vector<std::string> lookups(bool upper) {
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    std::vector<std::string> out;
    for (uint32_t i = 0; i < n; ++i) {
        std::string s = keys[i].name;
        if (upper)
            for (char &c : s)
                if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
        out.push_back(s);
    }
    std::shuffle(out.begin(), out.end(), std::mt19937(62));
    return out;
}

void BM_OptionGetKey(benchmark::State &state) {
    const std::vector<std::string> names = lookups(state.range(0) != 0);
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    for (auto _ : state) {
        int found = 0;
        for (const std::string &s : names) {
            const ZEL_CONFIG_OPT_KEY *k = nullptr;
            found += b_optionGetKey(s.c_str(), keys, n, &k) == sOKAY;
            benchmark::DoNotOptimize(k);
        }
        if (found != 62) state.SkipWithError("not all found");
    }
    state.SetItemsProcessed(state.iterations() * 62);
}
BENCHMARK(BM_OptionGetKey)->Arg(0)->Arg(1)->ArgName("upper");

void BM_StdLowerBound(benchmark::State &state) {
    const std::vector<std::string> names = lookups(state.range(0) != 0);
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    std::vector<const char *> sorted;
    for (uint32_t i = 0; i < n; ++i) sorted.push_back(keys[i].name);
    auto less = [](const char *a, const char *b) { return strcasecmp(a, b) < 0; };
    std::sort(sorted.begin(), sorted.end(), less);
    for (auto _ : state) {
        int found = 0;
        for (const std::string &s : names) {
            auto it = std::lower_bound(sorted.begin(), sorted.end(), s.c_str(), less);
            found += it != sorted.end() && strcasecmp(*it, s.c_str()) == 0;
            benchmark::DoNotOptimize(it);
        }
        if (found != 62) state.SkipWithError("not all found");
    }
    state.SetItemsProcessed(state.iterations() * 62);
}
BENCHMARK(BM_StdLowerBound)->Arg(0)->Arg(1)->ArgName("upper");

#ifdef ZELBASE_HAVE_GPERF
void BM_Gperf(benchmark::State &state) {
    const std::vector<std::string> names = lookups(state.range(0) != 0);
    for (auto _ : state) {
        int found = 0;
        for (const std::string &s : names) {
            const char *k = optpeer_keyword(s.c_str(), s.size());
            found += k != nullptr;
            benchmark::DoNotOptimize(k);
        }
        if (found != 62) state.SkipWithError("not all found");
    }
    state.SetItemsProcessed(state.iterations() * 62);
}
BENCHMARK(BM_Gperf)->Arg(0)->Arg(1)->ArgName("upper");
#endif

}  // namespace

BENCHMARK_MAIN();
