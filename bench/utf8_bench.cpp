// UTF-8 counting and validation against a straightforward table-driven
// decoder written here: a 256-entry table of sequence lengths by lead byte,
// then the continuation bytes and the value ranges checked one by one.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <random>
#include <string>

#include "utf8.h"

namespace {

constexpr std::array<uint8_t, 256> kLen = [] {
    std::array<uint8_t, 256> t{};
    for (int b = 0; b < 256; ++b)
        t[b] = b < 0x80 ? 1 : b < 0xC2 ? 0 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : b < 0xF5 ? 4 : 0;
    return t;
}();

// Characters, or SIZE_MAX for malformed text (the same rules as the library
// when breaking: no overlongs, surrogates, U+FFFE/U+FFFF or values past U+10FFFF).
size_t baselineCount(const uint8_t *p, size_t n) {
    size_t chars = 0;
    for (size_t i = 0; i < n; ++chars) {
        uint32_t len = kLen[p[i]];
        if (len == 0 || i + len > n) return SIZE_MAX;
        uint32_t cp = len == 1 ? p[i] : p[i] & (0x7F >> len);
        for (uint32_t k = 1; k < len; ++k) {
            if ((p[i + k] & 0xC0) != 0x80) return SIZE_MAX;
            cp = cp << 6 | (p[i + k] & 0x3F);
        }
        static constexpr uint32_t kMin[5] = {0, 0, 0x80, 0x800, 0x10000};
        if (cp < kMin[len] || (cp >= 0xD800 && cp <= 0xDFFF) || cp == 0xFFFE || cp == 0xFFFF ||
            cp > 0x10FFFF)
            return SIZE_MAX;
        i += len;
    }
    return chars;
}

std::string makeText(int asciiPercent) {
    std::mt19937 rng(7);
    std::string s;
    while (s.size() < 64 * 1024) {
        uint32_t cp;
        int r = static_cast<int>(rng() % 100);
        if (r < asciiPercent) {
            cp = 0x20 + rng() % 0x5F;
        } else {
            static constexpr uint32_t kRanges[][2] = {
                {0xA0, 0x7FF}, {0x800, 0xD7FF}, {0xE000, 0xFFFD}, {0x10000, 0x10FFFF}};
            const auto &rg = kRanges[rng() % 4];
            cp = rg[0] + rng() % (rg[1] - rg[0] + 1);
        }
        uint8_t enc[4];
        uint32_t n = b_utf8_codes(cp, enc);
        s.append(reinterpret_cast<char *>(enc), n);
    }
    return s;
}

const std::string &text(int asciiPercent) {
    static const std::string ascii = makeText(100), mixed = makeText(50), wide = makeText(0);
    return asciiPercent == 100 ? ascii : asciiPercent == 50 ? mixed : wide;
}

void BM_Utf8CountLibrary(benchmark::State &state) {
    const std::string &s = text(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(b_countUTF8chars(s.data(), s.size(), PSP_UTF8_ERROR_BREAK));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * s.size()));
}

void BM_Utf8CountBaseline(benchmark::State &state) {
    const std::string &s = text(static_cast<int>(state.range(0)));
    const auto *p = reinterpret_cast<const uint8_t *>(s.data());
    if (baselineCount(p, s.size()) != b_countUTF8chars(s.data(), s.size(), PSP_UTF8_ERROR_BREAK))
        state.SkipWithError("baseline and library disagree");
    for (auto _ : state) benchmark::DoNotOptimize(baselineCount(p, s.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * s.size()));
}

// Validation through the callback form, one call per character.
ZEL_RETCODE ignore(B_OUTPUT_CTX, uint32_t) {
    return sOKAY;
}

void BM_Utf8ValidateCallback(benchmark::State &state) {
    const std::string &s = text(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(
            b_processBuff(s.data(), s.size(), ignore, nullptr, PSP_UTF8_ERROR_BREAK));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * s.size()));
}

void BM_Utf8CountBytesLibrary(benchmark::State &state) {
    const std::string &s = text(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(
            b_countUTF8bytes(s.data(), s.size(), SIZE_MAX, PSP_UTF8_ERROR_BREAK));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * s.size()));
}

}  // namespace

// The argument is the share of ASCII characters in the text, in percent.
BENCHMARK(BM_Utf8CountLibrary)->Arg(100)->Arg(50)->Arg(0);
BENCHMARK(BM_Utf8CountBaseline)->Arg(100)->Arg(50)->Arg(0);
BENCHMARK(BM_Utf8ValidateCallback)->Arg(100)->Arg(50)->Arg(0);
BENCHMARK(BM_Utf8CountBytesLibrary)->Arg(100)->Arg(50)->Arg(0);

BENCHMARK_MAIN();
