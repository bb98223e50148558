// Base64 encoding and decoding: the library's coder against a
// straightforward table-driven block coder written here (three bytes to four
// characters and back, straight into an array). The library is measured
// twice: as most callers use it, a whole input into a B_BUFFER_T (reused, so
// that its growth is not measured), and as a stream, a character at a time
// through an output function of the caller's.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <string>

#include "base64.h"
#include "buffer.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::array<uint8_t, 256> kValue = [] {
    std::array<uint8_t, 256> t{};
    t.fill(0xFF);
    for (uint8_t i = 0; i < 64; ++i) t[static_cast<uint8_t>(kAlphabet[i])] = i;
    return t;
}();

size_t baselineEncode(const uint8_t *in, size_t n, char *out) {
    char *o = out;
    size_t i = 0;
    for (; i + 3 <= n; i += 3) {
        uint32_t v = uint32_t(in[i]) << 16 | uint32_t(in[i + 1]) << 8 | in[i + 2];
        *o++ = kAlphabet[v >> 18];
        *o++ = kAlphabet[v >> 12 & 63];
        *o++ = kAlphabet[v >> 6 & 63];
        *o++ = kAlphabet[v & 63];
    }
    if (n - i == 1) {
        uint32_t v = uint32_t(in[i]) << 16;
        *o++ = kAlphabet[v >> 18];
        *o++ = kAlphabet[v >> 12 & 63];
        *o++ = '=';
        *o++ = '=';
    } else if (n - i == 2) {
        uint32_t v = uint32_t(in[i]) << 16 | uint32_t(in[i + 1]) << 8;
        *o++ = kAlphabet[v >> 18];
        *o++ = kAlphabet[v >> 12 & 63];
        *o++ = kAlphabet[v >> 6 & 63];
        *o++ = '=';
    }
    return static_cast<size_t>(o - out);
}

// Bytes written, or SIZE_MAX for a bad text.
size_t baselineDecode(const char *in, size_t n, uint8_t *out) {
    if (n % 4 != 0) return SIZE_MAX;
    uint8_t *o = out;
    for (size_t i = 0; i < n; i += 4) {
        uint32_t a = kValue[uint8_t(in[i])], b = kValue[uint8_t(in[i + 1])];
        uint32_t c = kValue[uint8_t(in[i + 2])], d = kValue[uint8_t(in[i + 3])];
        if (i + 4 == n && in[i + 3] == '=') {
            if ((a | b) > 63) return SIZE_MAX;
            *o++ = uint8_t(a << 2 | b >> 4);
            if (in[i + 2] != '=') {
                if (c > 63) return SIZE_MAX;
                *o++ = uint8_t(b << 4 | c >> 2);
            }
            break;
        }
        if ((a | b | c | d) > 63) return SIZE_MAX;
        uint32_t v = a << 18 | b << 12 | c << 6 | d;
        *o++ = uint8_t(v >> 16);
        *o++ = uint8_t(v >> 8);
        *o++ = uint8_t(v);
    }
    return static_cast<size_t>(o - out);
}

// The argument's count of random bytes plus one: not whole groups, so the
// library's text is the standard one.
const std::string &input(const benchmark::State &state) {
    static std::map<int64_t, std::string> all;
    auto it = all.find(state.range(0));
    if (it == all.end()) {
        std::mt19937 rng(3);
        std::string r(static_cast<size_t>(state.range(0)) + 1, '\0');
        for (char &c : r) c = static_cast<char>(rng());
        it = all.emplace(state.range(0), std::move(r)).first;
    }
    return it->second;
}

// 1 KiB to 1 MiB.
void sizes(benchmark::internal::Benchmark *b) {
    for (int64_t n : {1 << 10, 1 << 15, 1 << 20}) b->Arg(n);
}

struct Sink {
    char *at;
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t ch) {
        *static_cast<Sink *>(ctx)->at++ = static_cast<char>(ch);
        return sOKAY;
    }
};

// A master and sub tag for the buffer the library writes into.
struct Tags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    Tags() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
            b_tag_subCreate(master, &sub) != sOKAY)
            std::abort();
    }
    ~Tags() {
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
};

void BM_Base64EncodeToBuffer(benchmark::State &state) {
    const std::string &in = input(state);
    Tags tags;
    B_BUFFER_T out;
    b_bufferInit(&out, tags.sub);
    for (auto _ : state) {
        b_bufferReset(&out);
        if (b_base64EncodeToBuffer(in.data(), in.size(), &out) != sOKAY)
            state.SkipWithError("encode");
        benchmark::DoNotOptimize(out.data.ptr);
    }
    b_bufferTerm(&out);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.size()));
}

void BM_Base64EncodeLibrary(benchmark::State &state) {
    const std::string &in = input(state);
    std::string out(in.size() * 2, '\0');
    for (auto _ : state) {
        Sink sink{out.data()};
        B_BASE64 b64;
        b_base64EncodeStart(&b64, &Sink::put, &sink);
        for (char c : in) (void)b_base64EncodeByte(&b64, static_cast<uint8_t>(c));
        (void)b_base64EncodeEnd(&b64);
        benchmark::DoNotOptimize(sink.at);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.size()));
}

void BM_Base64EncodeBaseline(benchmark::State &state) {
    const std::string &in = input(state);
    std::string out(in.size() * 2, '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(
            baselineEncode(reinterpret_cast<const uint8_t *>(in.data()), in.size(), out.data()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.size()));
}

std::string encoded(const benchmark::State &state) {
    const std::string &in = input(state);
    std::string out(in.size() * 2, '\0');
    out.resize(baselineEncode(reinterpret_cast<const uint8_t *>(in.data()), in.size(), out.data()));
    return out;
}

void BM_Base64DecodeToBuffer(benchmark::State &state) {
    const std::string text = encoded(state);
    Tags tags;
    B_BUFFER_T out;
    b_bufferInit(&out, tags.sub);
    for (auto _ : state) {
        b_bufferReset(&out);
        B_BASE64 b64;
        b_base64DecodeStart(&b64, b_bufferEmitByte, &out);
        if (b_base64DecodeChars(&b64, text.data(), text.size()) != sOKAY ||
            b_base64DecodeEnd(&b64) != sOKAY)
            state.SkipWithError("decode");
        benchmark::DoNotOptimize(out.data.ptr);
    }
    b_bufferTerm(&out);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_Base64DecodeLibrary(benchmark::State &state) {
    const std::string text = encoded(state);
    std::string out(text.size(), '\0');
    for (auto _ : state) {
        Sink sink{out.data()};
        B_BASE64 b64;
        b_base64DecodeStart(&b64, &Sink::put, &sink);
        for (char c : text) (void)b_base64DecodeChar(&b64, static_cast<uint8_t>(c));
        benchmark::DoNotOptimize(b_base64DecodeEnd(&b64));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_Base64DecodeBaseline(benchmark::State &state) {
    const std::string text = encoded(state);
    std::string out(text.size(), '\0');
    for (auto _ : state)
        benchmark::DoNotOptimize(
            baselineDecode(text.data(), text.size(), reinterpret_cast<uint8_t *>(out.data())));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

}  // namespace

BENCHMARK(BM_Base64EncodeToBuffer)->Apply(sizes);
BENCHMARK(BM_Base64EncodeLibrary)->Apply(sizes);
BENCHMARK(BM_Base64EncodeBaseline)->Apply(sizes);
BENCHMARK(BM_Base64DecodeToBuffer)->Apply(sizes);
BENCHMARK(BM_Base64DecodeLibrary)->Apply(sizes);
BENCHMARK(BM_Base64DecodeBaseline)->Apply(sizes);

BENCHMARK_MAIN();
