// Decimal arithmetic against GCC's _Decimal128 (the type a user would pick
// instead; in C++ it is spelled float __attribute__((mode(TD)))) and against
// plain __int128 coefficients as a floor. Operands are random decimals of a
// given number of digits (the argument: 4 to 32, from prices and quantities
// to the full width) with a random scale, the same values for every
// contender.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bcd.h"

namespace {

typedef float Dec128 __attribute__((mode(TD)));

constexpr size_t kCount = 1024;  // a power of two
constexpr ZEL_BCD_ROUNDING_MODE kMode = ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN;

struct Operands {
    std::vector<ZEL_BCD_T> bcd;
    std::vector<Dec128> dec;
    std::vector<__int128> coef;
    std::vector<std::string> text;
    std::vector<int> scale;
};

Operands zb_bench_make(int width) {
    Operands o;
    std::mt19937_64 rng(42);
    for (size_t i = 0; i < kCount; ++i) {
        int digits = width;
        int scale = static_cast<int>(rng() % (digits + 1));
        std::string d(1, static_cast<char>('1' + rng() % 9));
        for (int k = 1; k < digits; ++k) d += static_cast<char>('0' + rng() % 10);
        bool neg = rng() & 1;
        __int128 c = 0;
        for (char ch : d) c = c * 10 + (ch - '0');
        std::string t;
        if (neg) t.push_back('-');
        for (int k = 0; k < digits; ++k) {
            if (k == digits - scale) t.push_back('.');
            t.push_back(d[static_cast<size_t>(k)]);
        }
        ZEL_BCD_T b;
        if (zel_bcdFromString(t.c_str(), &b) != sOKAY) std::abort();
        // The coefficient in two exact halves, then the scale by exact powers of ten.
        Dec128 v = static_cast<Dec128>(static_cast<long long>(c / 10000000000000000)) *
                       static_cast<Dec128>(10000000000000000ll) +
                   static_cast<Dec128>(static_cast<long long>(c % 10000000000000000));
        for (int k = 0; k < scale; ++k) v /= 10;
        if (neg) {
            v = -v;
            c = -c;
        }
        o.bcd.push_back(b);
        o.dec.push_back(v);
        o.coef.push_back(c);
        o.text.push_back(t);
        o.scale.push_back(scale);
    }
    return o;
}

// The operands of `state`'s digit count.
const Operands &zb_bench_operands(const benchmark::State &state) {
    static std::map<int64_t, Operands> all;
    auto it = all.find(state.range(0));
    if (it == all.end())
        it = all.emplace(state.range(0), zb_bench_make(static_cast<int>(state.range(0)))).first;
    return it->second;
}

template <ZEL_RETCODE (*Op)(const ZEL_BCD_T *, const ZEL_BCD_T *, ZEL_BCD_ROUNDING_MODE,
                            ZEL_BCD_T *)>
void BM_Bcd(benchmark::State &state) {
    const Operands &o = zb_bench_operands(state);
    size_t i = 0;
    ZEL_BCD_T r;
    for (auto _ : state) {
        ZEL_RETCODE rc = Op(&o.bcd[i], &o.bcd[(i + 1) & (kCount - 1)], kMode, &r);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(r);
        i = (i + 1) & (kCount - 1);
    }
}

template <typename T, typename F>
void zb_bench_pairs(benchmark::State &state, const std::vector<T> &v, F f) {
    size_t i = 0;
    for (auto _ : state) {
        auto r = f(v[i], v[(i + 1) & (kCount - 1)]);
        benchmark::DoNotOptimize(r);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_BcdAdd(benchmark::State &s) {
    BM_Bcd<zel_bcdAdd>(s);
}
void BM_BcdSub(benchmark::State &s) {
    BM_Bcd<zel_bcdSub>(s);
}
void BM_BcdMult(benchmark::State &s) {
    BM_Bcd<zel_bcdMult>(s);
}
void BM_BcdDiv(benchmark::State &s) {
    BM_Bcd<zel_bcdDiv>(s);
}
void BM_BcdCompare(benchmark::State &s) {
    zb_bench_pairs(s, zb_bench_operands(s).bcd,
                   [](const ZEL_BCD_T &a, const ZEL_BCD_T &b) { return zel_bcdCompare(&a, &b); });
}

void BM_Dec128Add(benchmark::State &s) {
    zb_bench_pairs(s, zb_bench_operands(s).dec, [](Dec128 a, Dec128 b) { return a + b; });
}
void BM_Dec128Sub(benchmark::State &s) {
    zb_bench_pairs(s, zb_bench_operands(s).dec, [](Dec128 a, Dec128 b) { return a - b; });
}
void BM_Dec128Mult(benchmark::State &s) {
    zb_bench_pairs(s, zb_bench_operands(s).dec, [](Dec128 a, Dec128 b) { return a * b; });
}
void BM_Dec128Div(benchmark::State &s) {
    zb_bench_pairs(s, zb_bench_operands(s).dec, [](Dec128 a, Dec128 b) { return a / b; });
}
void BM_Dec128Compare(benchmark::State &s) {
    zb_bench_pairs(s, zb_bench_operands(s).dec,
                   [](Dec128 a, Dec128 b) { return (a > b) - (a < b); });
}

void BM_Int128Add(benchmark::State &s) {
    zb_bench_pairs(s, zb_bench_operands(s).coef, [](__int128 a, __int128 b) { return a + b; });
}
void BM_Int128Mult(benchmark::State &s) {
    zb_bench_pairs(s, zb_bench_operands(s).coef, [](__int128 a, __int128 b) {
        return static_cast<__int128>(static_cast<unsigned __int128>(a) *
                                     static_cast<unsigned __int128>(b));
    });
}
void BM_Int128Div(benchmark::State &s) {
    zb_bench_pairs(s, zb_bench_operands(s).coef, [](__int128 a, __int128 b) { return a / b; });
}

void BM_BcdFromString(benchmark::State &state) {
    const Operands &o = zb_bench_operands(state);
    size_t i = 0;
    ZEL_BCD_T b;
    for (auto _ : state) {
        ZEL_RETCODE rc = zel_bcdFromString(o.text[i].c_str(), &b);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(b);
        i = (i + 1) & (kCount - 1);
    }
}

// The floor: digits into an __int128 coefficient and a scale.
void BM_Int128FromString(benchmark::State &state) {
    const Operands &o = zb_bench_operands(state);
    size_t i = 0;
    for (auto _ : state) {
        const char *p = o.text[i].c_str();
        bool neg = *p == '-';
        if (neg) ++p;
        __int128 c = 0;
        int scale = -1;
        for (; *p; ++p) {
            if (*p == '.') {
                scale = 0;
                continue;
            }
            c = c * 10 + (*p - '0');
            if (scale >= 0) ++scale;
        }
        benchmark::DoNotOptimize(c);
        benchmark::DoNotOptimize(scale);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_DoubleFromString(benchmark::State &state) {
    const Operands &o = zb_bench_operands(state);
    size_t i = 0;
    for (auto _ : state) {
        double d = std::strtod(o.text[i].c_str(), nullptr);
        benchmark::DoNotOptimize(d);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_BcdToString(benchmark::State &state) {
    const Operands &o = zb_bench_operands(state);
    size_t i = 0;
    char buf[80];
    for (auto _ : state) {
        ZEL_RETCODE rc = zel_bcdToString(&o.bcd[i], ZEL_FALSE, buf, sizeof buf, nullptr);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(buf);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_DoubleToString(benchmark::State &state) {
    const Operands &o = zb_bench_operands(state);
    std::vector<double> d;
    for (const std::string &t : o.text) d.push_back(std::strtod(t.c_str(), nullptr));
    size_t i = 0;
    char buf[80];
    for (auto _ : state) {
        int n = std::snprintf(buf, sizeof buf, "%.17g", d[i]);
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(buf);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_BcdPack(benchmark::State &state) {
    const Operands &o = zb_bench_operands(state);
    size_t i = 0;
    ZEL_PACKED_BCD_T p[17];
    for (auto _ : state) {
        ZEL_RETCODE rc = zel_bcdPack(&o.bcd[i], p, 32, static_cast<uint8_t>(o.scale[i]));
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(p);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_BcdUnpack(benchmark::State &state) {
    const Operands &o = zb_bench_operands(state);
    std::vector<std::array<ZEL_PACKED_BCD_T, 17>> packed(kCount);
    for (size_t k = 0; k < kCount; ++k)
        if (zel_bcdPack(&o.bcd[k], packed[k].data(), 32, static_cast<uint8_t>(o.scale[k])) < 0)
            std::abort();
    size_t i = 0;
    ZEL_BCD_T b;
    for (auto _ : state) {
        ZEL_RETCODE rc = zel_bcdUnpack(packed[i].data(), &b, 32, static_cast<uint8_t>(o.scale[i]));
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(b);
        i = (i + 1) & (kCount - 1);
    }
}

// Storing an __int128 coefficient big-endian with its sign bit flipped, which
// also sorts by memcmp: the floor for the stored form.
void BM_Int128Pack(benchmark::State &state) {
    const Operands &o = zb_bench_operands(state);
    size_t i = 0;
    unsigned char p[16];
    for (auto _ : state) {
        unsigned __int128 u =
            static_cast<unsigned __int128>(o.coef[i]) ^ (static_cast<unsigned __int128>(1) << 127);
        uint64_t hi = __builtin_bswap64(static_cast<uint64_t>(u >> 64));
        uint64_t lo = __builtin_bswap64(static_cast<uint64_t>(u));
        std::memcpy(p, &hi, 8);
        std::memcpy(p + 8, &lo, 8);
        benchmark::DoNotOptimize(p);
        i = (i + 1) & (kCount - 1);
    }
}

// 4 to 32 digits per operand.
void zb_bench_digits(benchmark::internal::Benchmark *b) {
    for (int64_t d : {4, 8, 12, 16, 20, 24, 32}) b->Arg(d);
}

BENCHMARK(BM_BcdAdd)->Apply(zb_bench_digits);
BENCHMARK(BM_Dec128Add)->Apply(zb_bench_digits);
BENCHMARK(BM_Int128Add)->Apply(zb_bench_digits);
BENCHMARK(BM_BcdSub)->Apply(zb_bench_digits);
BENCHMARK(BM_Dec128Sub)->Apply(zb_bench_digits);
BENCHMARK(BM_BcdCompare)->Apply(zb_bench_digits);
BENCHMARK(BM_Dec128Compare)->Apply(zb_bench_digits);
BENCHMARK(BM_BcdMult)->Apply(zb_bench_digits);
BENCHMARK(BM_Dec128Mult)->Apply(zb_bench_digits);
BENCHMARK(BM_Int128Mult)->Apply(zb_bench_digits);
BENCHMARK(BM_BcdDiv)->Apply(zb_bench_digits);
BENCHMARK(BM_Dec128Div)->Apply(zb_bench_digits);
BENCHMARK(BM_Int128Div)->Apply(zb_bench_digits);
BENCHMARK(BM_BcdFromString)->Apply(zb_bench_digits);
BENCHMARK(BM_DoubleFromString)->Apply(zb_bench_digits);
BENCHMARK(BM_Int128FromString)->Apply(zb_bench_digits);
BENCHMARK(BM_BcdToString)->Apply(zb_bench_digits);
BENCHMARK(BM_DoubleToString)->Apply(zb_bench_digits);
BENCHMARK(BM_BcdPack)->Apply(zb_bench_digits);
BENCHMARK(BM_BcdUnpack)->Apply(zb_bench_digits);
BENCHMARK(BM_Int128Pack)->Apply(zb_bench_digits);

}  // namespace

BENCHMARK_MAIN();
