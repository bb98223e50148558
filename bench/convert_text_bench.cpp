// Text into int64 and double through the conversion functions, against the
// peers a caller would pick instead: std::from_chars and strtoll / strtod.
// Each iteration converts a fixed set of 1024 texts of mixed lengths.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "convert_text.h"

namespace {

std::vector<std::string> IntegerTexts() {
    std::mt19937_64 rng(7);
    std::vector<std::string> out;
    for (int i = 0; i < 1024; ++i) {
        const int digits = 1 + int(rng() % 19);
        uint64_t v = rng() % 1000000000000000000ull;
        std::string s = std::to_string(v).substr(0, size_t(digits));
        if (rng() & 1) s = "-" + s;
        out.push_back(s);
    }
    return out;
}

std::vector<std::string> DoubleTexts() {
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> mant(-1000.0, 1000.0);
    std::vector<std::string> out;
    for (int i = 0; i < 1024; ++i) {
        char buf[40];
        const double v = mant(rng) * std::pow(10.0, double(int(rng() % 40) - 20));
        std::snprintf(buf, sizeof buf, (i & 1) ? "%.17g" : "%.6g", v);
        out.push_back(buf);
    }
    return out;
}

template <typename T>
void RunCnv(benchmark::State &state, const std::vector<std::string> &texts, B_CNVFCN fcn) {
    T v{};
    CNVCB cb{};
    cb.pvDst = &v;
    cb.tDstLen = sizeof v;
    for (auto _ : state) {
        for (const std::string &t : texts) {
            cb.pvSrc = t.c_str();
            cb.tSrcLen = t.size() + 1;
            benchmark::DoNotOptimize(fcn(&cb));
            benchmark::DoNotOptimize(v);
        }
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(texts.size()));
}

void BM_Int64_Cnv(benchmark::State &state) {
    RunCnv<int64_t>(state, IntegerTexts(), cnv_stringToInt64);
}
void BM_Int64_FromChars(benchmark::State &state) {
    const auto texts = IntegerTexts();
    for (auto _ : state) {
        for (const std::string &t : texts) {
            int64_t v = 0;
            benchmark::DoNotOptimize(std::from_chars(t.data(), t.data() + t.size(), v));
            benchmark::DoNotOptimize(v);
        }
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(texts.size()));
}
void BM_Int64_Strtoll(benchmark::State &state) {
    const auto texts = IntegerTexts();
    for (auto _ : state) {
        for (const std::string &t : texts) {
            char *end;
            benchmark::DoNotOptimize(std::strtoll(t.c_str(), &end, 10));
        }
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(texts.size()));
}

void BM_Double_Cnv(benchmark::State &state) {
    RunCnv<double>(state, DoubleTexts(), cnv_stringToDouble);
}
void BM_Double_FromChars(benchmark::State &state) {
    const auto texts = DoubleTexts();
    for (auto _ : state) {
        for (const std::string &t : texts) {
            double v = 0;
            benchmark::DoNotOptimize(std::from_chars(t.data(), t.data() + t.size(), v));
            benchmark::DoNotOptimize(v);
        }
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(texts.size()));
}
void BM_Double_Strtod(benchmark::State &state) {
    const auto texts = DoubleTexts();
    for (auto _ : state) {
        for (const std::string &t : texts) {
            char *end;
            benchmark::DoNotOptimize(std::strtod(t.c_str(), &end));
        }
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(texts.size()));
}

}  // namespace

BENCHMARK(BM_Int64_Cnv);
BENCHMARK(BM_Int64_FromChars);
BENCHMARK(BM_Int64_Strtoll);
BENCHMARK(BM_Double_Cnv);
BENCHMARK(BM_Double_FromChars);
BENCHMARK(BM_Double_Strtod);

BENCHMARK_MAIN();
