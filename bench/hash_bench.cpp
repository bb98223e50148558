// The table hash against what a user would pick instead: a straightforward
// byte-at-a-time FNV-1a written here, and std::hash<std::string_view>. Both
// the library's per-byte entry (as the column hash functions feed it) and
// its bulk entry are measured, over short keys and long values.
#include <benchmark/benchmark.h>

#include <functional>
#include <random>
#include <string>
#include <string_view>

#include "hash.h"

namespace {

std::string Input(size_t len) {
    std::mt19937 rng(static_cast<uint32_t>(len));
    std::string s(len, '\0');
    for (auto &c : s) c = static_cast<char>('a' + rng() % 26);
    return s;
}

uint64_t Fnv1a(std::string_view s) {
    uint64_t h = 0xCBF29CE484222325;
    for (unsigned char c : s) h = (h ^ c) * 0x100000001B3;
    return h;
}

void BM_TableHashPerByte(benchmark::State &state) {
    const std::string s = Input(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        B_HASHCTX ctx;
        b_hashFcnStart(&ctx);
        for (unsigned char c : s) b_hashFcnEmit(&ctx, c);
        benchmark::DoNotOptimize(b_hashFcnFinish(&ctx));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void BM_TableHashBulk(benchmark::State &state) {
    const std::string s = Input(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        B_HASHCTX ctx;
        b_hashFcnStart(&ctx);
        b_hashFcnEmitBuffer(&ctx, s.data(), s.size());
        benchmark::DoNotOptimize(b_hashFcnFinish(&ctx));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void BM_Fnv1aBaseline(benchmark::State &state) {
    const std::string s = Input(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(Fnv1a(s));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void BM_StdHashStringView(benchmark::State &state) {
    const std::string s = Input(static_cast<size_t>(state.range(0)));
    const std::hash<std::string_view> hasher;
    for (auto _ : state) {
        benchmark::DoNotOptimize(hasher(std::string_view(s)));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

}  // namespace

BENCHMARK(BM_TableHashPerByte)->Arg(8)->Arg(32)->Arg(1024);
BENCHMARK(BM_TableHashBulk)->Arg(8)->Arg(32)->Arg(1024);
BENCHMARK(BM_Fnv1aBaseline)->Arg(8)->Arg(32)->Arg(1024);
BENCHMARK(BM_StdHashStringView)->Arg(8)->Arg(32)->Arg(1024);

BENCHMARK_MAIN();
