// Decimal functions against MPFR at 133 bits (40 decimal digits, the work
// form's precision) and libquadmath's __float128 (113 bits), the peers a user
// would pick for 30-odd digits. Each function runs over the same 1024 random
// arguments of 32 digits for every contender, in the domain it is used in.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bcd_func.h"

#ifdef ZELBASE_HAVE_MPFR
#include <mpfr.h>
#endif
#ifdef ZELBASE_HAVE_QUADMATH
#include <quadmath.h>
#endif

namespace {

constexpr size_t kCount = 1024;  // a power of two
constexpr ZEL_BCD_ROUNDING_MODE kMode = ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN;

// Arguments of one domain: [lo, lo + width), 32 significant digits.
struct Args {
    std::vector<ZEL_BCD_T> bcd;
    std::vector<std::string> text;
};

Args zb_bench_args(double lo, double width, uint64_t seed) {
    Args a;
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(lo, lo + width);
    for (size_t i = 0; i < kCount; ++i) {
        // 17 digits from the double and 15 more at random, in plain notation
        // (at most 32 places: a small value keeps fewer digits).
        char buf[96], digits[40], text[96];
        std::snprintf(buf, sizeof buf, "%.16e", u(rng));
        const char *e = std::strchr(buf, 'e');
        int ints = std::atoi(e + 1) + 1, nd = 0;  // integer digits, 0 or less below 1
        for (const char *p = buf; p < e; ++p)
            if (*p >= '0' && *p <= '9') digits[nd++] = *p;
        while (nd < 32) digits[nd++] = static_cast<char>('0' + rng() % 10);
        if (ints < 0) nd += ints;
        size_t n = 0;
        if (buf[0] == '-') text[n++] = '-';
        if (ints <= 0) {
            text[n++] = '0';
            text[n++] = '.';
            for (int k = ints; k < 0; ++k) text[n++] = '0';
        }
        for (int k = 0; k < nd; ++k) {
            if (k == ints && ints > 0) text[n++] = '.';
            text[n++] = digits[k];
        }
        text[n] = '\0';
        ZEL_BCD_T b;
        if (zel_bcdFromString(text, &b) < 0) std::abort();
        char out[80];
        if (zel_bcdToString(&b, ZEL_FALSE, out, sizeof out, nullptr) != sOKAY) std::abort();
        a.bcd.push_back(b);
        a.text.emplace_back(out);
    }
    return a;
}

const Args &zb_args_log() {
    static const Args a = zb_bench_args(0.001, 1000.0, 1);
    return a;
}
const Args &zb_args_exp() {
    static const Args a = zb_bench_args(-30.0, 60.0, 2);
    return a;
}
const Args &zb_args_trig() {
    static const Args a = zb_bench_args(-3.0, 6.0, 3);
    return a;
}
const Args &zb_args_big() {  // beyond 2 pi: one reduction
    static const Args a = zb_bench_args(10.0, 1000.0, 4);
    return a;
}
const Args &zb_args_base() {
    static const Args a = zb_bench_args(0.5, 20.0, 5);
    return a;
}
const Args &zb_args_power() {
    static const Args a = zb_bench_args(-5.0, 10.0, 6);
    return a;
}

using Unary = ZEL_RETCODE (*)(const ZEL_BCD_T *, ZEL_BCD_ROUNDING_MODE, ZEL_BCD_T *);

template <Unary F>
void zb_bench_bcd(benchmark::State &state, const Args &a) {
    size_t i = 0;
    ZEL_BCD_T r;
    for (auto _ : state) {
        ZEL_RETCODE rc = F(&a.bcd[i], kMode, &r);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(r);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_BcdLog(benchmark::State &s) {
    zb_bench_bcd<zel_bcdLog>(s, zb_args_log());
}
void BM_BcdLog10(benchmark::State &s) {
    zb_bench_bcd<zel_bcdLog10>(s, zb_args_log());
}
void BM_BcdExp(benchmark::State &s) {
    zb_bench_bcd<zel_bcdExp>(s, zb_args_exp());
}
void BM_BcdSqrt(benchmark::State &s) {
    zb_bench_bcd<zel_bcdSqrt>(s, zb_args_log());
}
void BM_BcdSin(benchmark::State &s) {
    zb_bench_bcd<zel_bcdSin>(s, zb_args_trig());
}
void BM_BcdCos(benchmark::State &s) {
    zb_bench_bcd<zel_bcdCos>(s, zb_args_trig());
}
void BM_BcdTan(benchmark::State &s) {
    zb_bench_bcd<zel_bcdTan>(s, zb_args_trig());
}
void BM_BcdSinBeyond2Pi(benchmark::State &s) {
    zb_bench_bcd<zel_bcdSin>(s, zb_args_big());
}

void BM_BcdPow(benchmark::State &state) {
    const Args &x = zb_args_base(), &y = zb_args_power();
    size_t i = 0;
    ZEL_BCD_T r;
    for (auto _ : state) {
        ZEL_RETCODE rc = zel_bcdPow(&x.bcd[i], &y.bcd[i], kMode, &r);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(r);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_BcdPowInt(benchmark::State &state) {
    const Args &x = zb_args_base();
    size_t i = 0;
    ZEL_BCD_T r;
    for (auto _ : state) {
        ZEL_RETCODE rc = zel_bcdPowInt32(&x.bcd[i], 17, kMode, &r);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(r);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_BcdToNumeric(benchmark::State &state) {
    const Args &x = zb_args_log();
    size_t i = 0;
    ZEL_NUMERIC_T n{};
    for (auto _ : state) {
        ZEL_RETCODE rc = zel_bcdToNumericStruct(&x.bcd[i], 32, 28, kMode, &n);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(n);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_BcdFromNumeric(benchmark::State &state) {
    const Args &x = zb_args_log();
    std::vector<ZEL_NUMERIC_T> nums(kCount);
    for (size_t k = 0; k < kCount; ++k)
        if (zel_bcdToNumericStruct(&x.bcd[k], 32, 28, kMode, &nums[k]) < 0) std::abort();
    size_t i = 0;
    ZEL_BCD_T r;
    for (auto _ : state) {
        ZEL_RETCODE rc = zel_bcdFromNumericStruct(&nums[i], 32, 28, kMode, &r);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(r);
        i = (i + 1) & (kCount - 1);
    }
}

BENCHMARK(BM_BcdLog);
BENCHMARK(BM_BcdLog10);
BENCHMARK(BM_BcdExp);
BENCHMARK(BM_BcdSqrt);
BENCHMARK(BM_BcdSin);
BENCHMARK(BM_BcdCos);
BENCHMARK(BM_BcdTan);
BENCHMARK(BM_BcdSinBeyond2Pi);
BENCHMARK(BM_BcdPow);
BENCHMARK(BM_BcdPowInt);
BENCHMARK(BM_BcdToNumeric);
BENCHMARK(BM_BcdFromNumeric);

#ifdef ZELBASE_HAVE_MPFR
// MPFR at 133 bits, the arguments read once from the same text.
constexpr mpfr_prec_t kBits = 133;

struct MpfrArgs {
    std::vector<mpfr_t> v;
    explicit MpfrArgs(const Args &a) : v(kCount) {
        for (size_t i = 0; i < kCount; ++i) {
            mpfr_init2(v[i], kBits);
            mpfr_set_str(v[i], a.text[i].c_str(), 10, MPFR_RNDN);
        }
    }
    ~MpfrArgs() {
        for (auto &x : v) mpfr_clear(x);
    }
};

using MpfrUnary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);

template <MpfrUnary F>
void zb_bench_mpfr(benchmark::State &state, const Args &a) {
    MpfrArgs x(a);
    mpfr_t r;
    mpfr_init2(r, kBits);
    size_t i = 0;
    for (auto _ : state) {
        int t = F(r, x.v[i], MPFR_RNDN);
        benchmark::DoNotOptimize(t);
        i = (i + 1) & (kCount - 1);
    }
    mpfr_clear(r);
}

void BM_MpfrLog(benchmark::State &s) {
    zb_bench_mpfr<mpfr_log>(s, zb_args_log());
}
void BM_MpfrLog10(benchmark::State &s) {
    zb_bench_mpfr<mpfr_log10>(s, zb_args_log());
}
void BM_MpfrExp(benchmark::State &s) {
    zb_bench_mpfr<mpfr_exp>(s, zb_args_exp());
}
void BM_MpfrSqrt(benchmark::State &s) {
    zb_bench_mpfr<mpfr_sqrt>(s, zb_args_log());
}
void BM_MpfrSin(benchmark::State &s) {
    zb_bench_mpfr<mpfr_sin>(s, zb_args_trig());
}
void BM_MpfrCos(benchmark::State &s) {
    zb_bench_mpfr<mpfr_cos>(s, zb_args_trig());
}
void BM_MpfrTan(benchmark::State &s) {
    zb_bench_mpfr<mpfr_tan>(s, zb_args_trig());
}
void BM_MpfrSinBeyond2Pi(benchmark::State &s) {
    zb_bench_mpfr<mpfr_sin>(s, zb_args_big());
}

void BM_MpfrPow(benchmark::State &state) {
    MpfrArgs x(zb_args_base()), y(zb_args_power());
    mpfr_t r;
    mpfr_init2(r, kBits);
    size_t i = 0;
    for (auto _ : state) {
        int t = mpfr_pow(r, x.v[i], y.v[i], MPFR_RNDN);
        benchmark::DoNotOptimize(t);
        i = (i + 1) & (kCount - 1);
    }
    mpfr_clear(r);
}

void BM_MpfrPowInt(benchmark::State &state) {
    MpfrArgs x(zb_args_base());
    mpfr_t r;
    mpfr_init2(r, kBits);
    size_t i = 0;
    for (auto _ : state) {
        int t = mpfr_pow_si(r, x.v[i], 17, MPFR_RNDN);
        benchmark::DoNotOptimize(t);
        i = (i + 1) & (kCount - 1);
    }
    mpfr_clear(r);
}

BENCHMARK(BM_MpfrLog);
BENCHMARK(BM_MpfrLog10);
BENCHMARK(BM_MpfrExp);
BENCHMARK(BM_MpfrSqrt);
BENCHMARK(BM_MpfrSin);
BENCHMARK(BM_MpfrCos);
BENCHMARK(BM_MpfrTan);
BENCHMARK(BM_MpfrSinBeyond2Pi);
BENCHMARK(BM_MpfrPow);
BENCHMARK(BM_MpfrPowInt);
#endif

#ifdef ZELBASE_HAVE_QUADMATH
std::vector<__float128> zb_quad_args(const Args &a) {
    std::vector<__float128> v;
    for (const std::string &t : a.text) v.push_back(strtoflt128(t.c_str(), nullptr));
    return v;
}

template <__float128 (*F)(__float128)>
void zb_bench_quad(benchmark::State &state, const Args &a) {
    std::vector<__float128> x = zb_quad_args(a);
    size_t i = 0;
    for (auto _ : state) {
        __float128 r = F(x[i]);
        benchmark::DoNotOptimize(r);
        i = (i + 1) & (kCount - 1);
    }
}

void BM_QuadLog(benchmark::State &s) {
    zb_bench_quad<logq>(s, zb_args_log());
}
void BM_QuadLog10(benchmark::State &s) {
    zb_bench_quad<log10q>(s, zb_args_log());
}
void BM_QuadExp(benchmark::State &s) {
    zb_bench_quad<expq>(s, zb_args_exp());
}
void BM_QuadSqrt(benchmark::State &s) {
    zb_bench_quad<sqrtq>(s, zb_args_log());
}
void BM_QuadSin(benchmark::State &s) {
    zb_bench_quad<sinq>(s, zb_args_trig());
}
void BM_QuadCos(benchmark::State &s) {
    zb_bench_quad<cosq>(s, zb_args_trig());
}
void BM_QuadTan(benchmark::State &s) {
    zb_bench_quad<tanq>(s, zb_args_trig());
}
void BM_QuadSinBeyond2Pi(benchmark::State &s) {
    zb_bench_quad<sinq>(s, zb_args_big());
}

void BM_QuadPow(benchmark::State &state) {
    std::vector<__float128> x = zb_quad_args(zb_args_base()), y = zb_quad_args(zb_args_power());
    size_t i = 0;
    for (auto _ : state) {
        __float128 r = powq(x[i], y[i]);
        benchmark::DoNotOptimize(r);
        i = (i + 1) & (kCount - 1);
    }
}

BENCHMARK(BM_QuadLog);
BENCHMARK(BM_QuadLog10);
BENCHMARK(BM_QuadExp);
BENCHMARK(BM_QuadSqrt);
BENCHMARK(BM_QuadSin);
BENCHMARK(BM_QuadCos);
BENCHMARK(BM_QuadTan);
BENCHMARK(BM_QuadSinBeyond2Pi);
BENCHMARK(BM_QuadPow);
#endif

}  // namespace

BENCHMARK_MAIN();
