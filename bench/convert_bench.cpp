// Conversions between text and numbers: the engine's functions on a control
// block (the path every value conversion ends in) against what a user would
// pick instead in the same binary - std::from_chars / std::to_chars for
// integers, strtod / std::to_chars(general, 15) / snprintf("%.15G") for
// doubles - and the whole value conversion with its allocation. Inputs are
// 1024 random numbers of mixed lengths, the same for every contender.
#include <benchmark/benchmark.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "convert.h"
#include "convert_text.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "value.h"

namespace {

constexpr size_t kCount = 1024;  // a power of two

struct Inputs {
    std::vector<int64_t> ints;
    std::vector<double> doubles;
    std::vector<std::string> intText;
    std::vector<std::string> doubleText;
};

const Inputs &inputs() {
    static const Inputs in = [] {
        Inputs r;
        std::mt19937_64 rng(20261122);
        for (size_t i = 0; i < kCount; ++i) {
            const int digits = 1 + static_cast<int>(rng() % 18);
            int64_t v = static_cast<int64_t>(rng() % 1000000000000000000ULL);
            int64_t mod = 1;
            for (int d = 0; d < digits; ++d) mod *= 10;
            v %= mod;
            if (rng() & 1) v = -v;
            r.ints.push_back(v);
            r.intText.push_back(std::to_string(v));
            const double d = (static_cast<double>(rng() >> 11) / 9007199254740992.0 - 0.5) *
                             std::pow(10.0, static_cast<int>(rng() % 40) - 20);
            r.doubles.push_back(d);
            char buf[64];
            std::snprintf(buf, sizeof buf, "%.15G", d);
            r.doubleText.push_back(buf);
        }
        return r;
    }();
    return in;
}

void BM_TextToInt64_Engine(benchmark::State &state) {
    const Inputs &in = inputs();
    size_t i = 0;
    int64_t out = 0;
    CNVCB cb{};
    cb.pvDst = &out;
    cb.tDstLen = sizeof out;
    for (auto _ : state) {
        const std::string &s = in.intText[i++ & (kCount - 1)];
        cb.pvSrc = s.c_str();
        cb.tSrcLen = s.size() + 1;
        benchmark::DoNotOptimize(cnv_stringToInt64(&cb));
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_TextToInt64_Engine);

void BM_TextToInt64_FromChars(benchmark::State &state) {
    const Inputs &in = inputs();
    size_t i = 0;
    int64_t out = 0;
    for (auto _ : state) {
        const std::string &s = in.intText[i++ & (kCount - 1)];
        benchmark::DoNotOptimize(std::from_chars(s.data(), s.data() + s.size(), out));
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_TextToInt64_FromChars);

void BM_TextToDouble_Engine(benchmark::State &state) {
    const Inputs &in = inputs();
    size_t i = 0;
    double out = 0;
    CNVCB cb{};
    cb.pvDst = &out;
    cb.tDstLen = sizeof out;
    for (auto _ : state) {
        const std::string &s = in.doubleText[i++ & (kCount - 1)];
        cb.pvSrc = s.c_str();
        cb.tSrcLen = s.size() + 1;
        benchmark::DoNotOptimize(cnv_stringToDouble(&cb));
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_TextToDouble_Engine);

void BM_TextToDouble_Strtod(benchmark::State &state) {
    const Inputs &in = inputs();
    size_t i = 0;
    for (auto _ : state) {
        const std::string &s = in.doubleText[i++ & (kCount - 1)];
        benchmark::DoNotOptimize(std::strtod(s.c_str(), nullptr));
    }
}
BENCHMARK(BM_TextToDouble_Strtod);

void BM_TextToDouble_FromChars(benchmark::State &state) {
    const Inputs &in = inputs();
    size_t i = 0;
    double out = 0;
    for (auto _ : state) {
        const std::string &s = in.doubleText[i++ & (kCount - 1)];
        benchmark::DoNotOptimize(std::from_chars(s.data(), s.data() + s.size(), out));
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_TextToDouble_FromChars);

void BM_Int64ToText_Engine(benchmark::State &state) {
    const Inputs &in = inputs();
    size_t i = 0;
    char buf[32];
    CNVCB cb{};
    cb.pvDst = buf;
    cb.tDstLen = sizeof buf;
    for (auto _ : state) {
        cb.pvSrc = &in.ints[i++ & (kCount - 1)];
        benchmark::DoNotOptimize(cnv_int64ToStringTrunc(&cb));
        benchmark::DoNotOptimize(buf);
    }
}
BENCHMARK(BM_Int64ToText_Engine);

void BM_Int64ToText_ToChars(benchmark::State &state) {
    const Inputs &in = inputs();
    size_t i = 0;
    char buf[32];
    for (auto _ : state) {
        auto r = std::to_chars(buf, buf + sizeof buf - 1, in.ints[i++ & (kCount - 1)]);
        *r.ptr = '\0';
        benchmark::DoNotOptimize(buf);
    }
}
BENCHMARK(BM_Int64ToText_ToChars);

// Doubles to text by kind (the argument): 0 prices (two decimals, below a
// million), 1 full 53-bit mantissas scaled by 1e-20 to 1e20 (the mix above),
// 2 any bits (the whole range, subnormals included).
const std::vector<double> &doublesOfKind(int64_t kind) {
    static const std::array<std::vector<double>, 3> kinds = [] {
        std::array<std::vector<double>, 3> k;
        std::mt19937_64 rng(7);
        for (size_t i = 0; i < kCount; ++i) {
            k[0].push_back(static_cast<double>(rng() % 100000000) / 100);
            k[1].push_back(inputs().doubles[i]);
            double d;
            do {
                const uint64_t bits = rng();
                std::memcpy(&d, &bits, sizeof d);
            } while (!std::isfinite(d));
            k[2].push_back(d);
        }
        return k;
    }();
    return kinds[kind];
}

void doubleKinds(benchmark::internal::Benchmark *b) {
    b->DenseRange(0, 2);
}

void BM_DoubleToText_Engine(benchmark::State &state) {
    const std::vector<double> &in = doublesOfKind(state.range(0));
    size_t i = 0;
    char buf[32];
    CNVCB cb{};
    cb.pvDst = buf;
    cb.tDstLen = sizeof buf;
    for (auto _ : state) {
        cb.pvSrc = &in[i++ & (kCount - 1)];
        benchmark::DoNotOptimize(cnv_doubleToStringTrunc(&cb));
        benchmark::DoNotOptimize(buf);
    }
}
BENCHMARK(BM_DoubleToText_Engine)->Apply(doubleKinds);

// The peer: the same text but for the case of the exponent's "e".
void BM_DoubleToText_ToChars(benchmark::State &state) {
    const std::vector<double> &in = doublesOfKind(state.range(0));
    size_t i = 0;
    char buf[32];
    for (auto _ : state) {
        auto r = std::to_chars(buf, buf + sizeof buf - 1, in[i++ & (kCount - 1)],
                               std::chars_format::general, 15);
        *r.ptr = '\0';
        benchmark::DoNotOptimize(buf);
    }
}
BENCHMARK(BM_DoubleToText_ToChars)->Apply(doubleKinds);

void BM_DoubleToText_Snprintf(benchmark::State &state) {
    const std::vector<double> &in = doublesOfKind(state.range(0));
    size_t i = 0;
    char buf[32];
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::snprintf(buf, sizeof buf, "%.15G", in[i++ & (kCount - 1)]));
        benchmark::DoNotOptimize(buf);
    }
}
BENCHMARK(BM_DoubleToText_Snprintf)->Apply(doubleKinds);

// The whole value path: look the pair up, size, allocate, convert, free.
void BM_ValueTextToInt64(benchmark::State &state) {
    const Inputs &in = inputs();
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
        b_tag_subCreate(master, &sub) != sOKAY) {
        state.SkipWithError("no tag");
        return;
    }
    size_t i = 0;
    for (auto _ : state) {
        ZEL_VALUE s, d;
        zel_valueInit(&s);
        const std::string &t = in.intText[i++ & (kCount - 1)];
        if (zel_valueSetString(&s, t.c_str()) != sOKAY) break;
        benchmark::DoNotOptimize(
            zel_valueConvert(&d, &s, ZEL_INT64, 0, ZEL_YYYYMMDD, '-', ZEL_HHMMSS, 0, sub));
        benchmark::DoNotOptimize(d.vt.i64v);
    }
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}
BENCHMARK(BM_ValueTextToInt64);

void BM_ValueInt64ToText(benchmark::State &state) {
    const Inputs &in = inputs();
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
        b_tag_subCreate(master, &sub) != sOKAY) {
        state.SkipWithError("no tag");
        return;
    }
    size_t i = 0;
    for (auto _ : state) {
        ZEL_VALUE s, d;
        zel_valueSetInt64(&s, in.ints[i++ & (kCount - 1)]);
        const ZEL_RETCODE rc =
            zel_valueConvert(&d, &s, ZEL_CHAR, 32, ZEL_YYYYMMDD, '-', ZEL_HHMMSS, 0, sub);
        benchmark::DoNotOptimize(rc);
        if (rc >= 0) zel_valueFree(&d, sub);
    }
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}
BENCHMARK(BM_ValueInt64ToText);

}  // namespace

BENCHMARK_MAIN();
