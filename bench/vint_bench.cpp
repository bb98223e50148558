// Variable integers: encode and decode of a realistic mix of magnitudes
// (mostly small numbers, a tail of large ones; 1k to 1M values, so that a
// size where the library falls behind shows) against a plain LEB128 codec
// written here, the library's callback path against the same format written
// straight into a raw buffer, and one form at a time to show that choosing a
// form is a few comparisons with no loop: the time per value follows the
// byte count (one callback per byte), not the value.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "vint.h"

namespace {

constexpr size_t kCount = 4096;

// 50% below 2^7, 25% below 2^14, 15% below 2^27, 7% below 2^43, 3% any.
std::vector<uint64_t> makeMix(size_t count) {
    std::mt19937_64 rng(42);
    std::vector<uint64_t> v(count);
    for (auto &x : v) {
        const int r = static_cast<int>(rng() % 100);
        const int bits = r < 50 ? 7 : r < 75 ? 14 : r < 90 ? 27 : r < 97 ? 43 : 64;
        x = bits == 64 ? rng() : rng() & ((uint64_t{1} << bits) - 1);
    }
    return v;
}

// The mix of `count` values: the benchmarks of the mix take the count as
// their argument, 1k to 1M.
const std::vector<uint64_t> &mix(size_t count = kCount) {
    static std::map<size_t, std::vector<uint64_t>> all;
    auto it = all.find(count);
    if (it == all.end()) it = all.emplace(count, makeMix(count)).first;
    return it->second;
}

const std::vector<uint64_t> &mix(const benchmark::State &state) {
    return mix(static_cast<size_t>(state.range(0)));
}

void mixCounts(benchmark::internal::Benchmark *b) {
    for (int64_t n : {1 << 10, 1 << 15, 1 << 20}) b->Arg(n);
}

// Values that all take `bytes` bytes in the nine-form format.
std::vector<uint64_t> formValues(int bytes) {
    static const uint64_t lo[] = {
        0,           0x80,          0x4080,          0x204080,         0x8204080,
        0x808204080, 0x80808204080, 0x1080808204080, 0x101080808204080};
    const uint64_t first = lo[bytes - 1];
    const uint64_t last = bytes == 9 ? UINT64_MAX : lo[bytes] - 1;
    std::mt19937_64 rng(bytes);
    std::vector<uint64_t> v(kCount);
    for (auto &x : v) x = first + rng() % (last - first + 1 == 0 ? UINT64_MAX : last - first + 1);
    return v;
}

// ---- the peer: unsigned LEB128, seven bits per byte, high bit = more.
uint8_t *leb128Encode(uint64_t v, uint8_t *p) {
    while (v >= 0x80) {
        *p++ = static_cast<uint8_t>(v | 0x80);
        v >>= 7;
    }
    *p++ = static_cast<uint8_t>(v);
    return p;
}

const uint8_t *leb128Decode(const uint8_t *p, const uint8_t *end, uint64_t *out) {
    uint64_t v = 0;
    for (int shift = 0; p < end && shift < 64; shift += 7) {
        const uint8_t b = *p++;
        v |= uint64_t{b & 0x7Fu} << shift;
        if (b < 0x80) {
            *out = v;
            return p;
        }
    }
    return nullptr;
}

// ---- the nine-form format straight in memory, no callback: the same
// comparisons, then the payload as one unaligned big-endian store (the
// buffers keep 8 bytes of slack for it).
constexpr uint8_t kFirst[] = {0x00, 0x80, 0xC0, 0xE0, 0xE8, 0xF0, 0xF8, 0xF9, 0xFA};
constexpr uint8_t kMask[] = {0x7F, 0x3F, 0x1F, 0x07, 0x07, 0x07, 0x00, 0x00, 0x00};
constexpr uint64_t kBias[] = {
    0,           0x80,          0x4080,          0x204080,         0x8204080,
    0x808204080, 0x80808204080, 0x1080808204080, 0x101080808204080};
constexpr uint64_t kMax[] = {0x7F,        0x407F,        0x20407F,        0x820407F,
                             0x80820407F, 0x8080820407F, 0x108080820407F, 0x10108080820407F,
                             UINT64_MAX};

inline uint8_t *rawEncode(uint64_t v, uint8_t *p) {
    if (v <= 0x7F) {
        *p = static_cast<uint8_t>(v);
        return p + 1;
    }
    int f = 1;
    while (v > kMax[f]) ++f;  // unrolled by the compiler: at most eight tests
    const uint64_t payload = v - kBias[f];
    const int tail = f;  // bytes after the first
    p[0] = static_cast<uint8_t>(kFirst[f] | (kMask[f] ? payload >> (8 * tail) : 0));
    const uint64_t big = __builtin_bswap64(payload << (8 * (8 - tail) & 63));
    std::memcpy(p + 1, &big, 8);
    return p + 1 + tail;
}

constexpr auto kRow = [] {
    std::array<uint8_t, 256> t{};
    for (int b = 0; b < 256; ++b)
        t[b] = b < 0x80   ? 0
               : b < 0xC0 ? 1
               : b < 0xE0 ? 2
               : b < 0xE8 ? 3
               : b < 0xF0 ? 4
               : b < 0xF8 ? 5
               : b < 0xFB ? static_cast<uint8_t>(b - 0xF8 + 6)
                          : 9;
    return t;
}();

// `p` has 8 readable bytes of slack after the last value.
inline const uint8_t *rawDecode(const uint8_t *p, uint64_t *out) {
    const uint8_t first = *p;
    if (first < 0x80) {
        *out = first;
        return p + 1;
    }
    const int f = kRow[first];  // bytes after the first
    if (f > 8) return nullptr;
    uint64_t big;
    std::memcpy(&big, p + 1, 8);
    const uint64_t tail = __builtin_bswap64(big) >> (64 - 8 * f);
    *out = ((static_cast<uint64_t>(first & kMask[f]) << (8 * f & 63)) | tail) + kBias[f];
    return p + 1 + f;
}

struct RawSink {
    uint8_t *p;
};
ZEL_RETCODE rawPut(B_OUTPUT_CTX ctx, uint32_t byte) {
    auto *s = static_cast<RawSink *>(ctx);
    *s->p++ = static_cast<uint8_t>(byte);
    return sOKAY;
}

struct RawSource {
    const uint8_t *p;
    const uint8_t *end;
};
ZEL_RETCODE rawGet(B_INPUT_CTX ctx, uint32_t *byte) {
    auto *s = static_cast<RawSource *>(ctx);
    if (s->p == s->end) return eEOD;
    *byte = *s->p++;
    return sOKAY;
}

std::vector<uint8_t> encodedMix(const std::vector<uint64_t> &values, bool leb) {
    std::vector<uint8_t> out(values.size() * 10);
    uint8_t *p = out.data();
    for (uint64_t v : values) p = leb ? leb128Encode(v, p) : rawEncode(v, p);
    out.resize(static_cast<size_t>(p - out.data()));
    return out;
}

// The raw codec must write and read exactly the library's bytes.
bool rawAgrees() {
    std::vector<uint8_t> lib(kCount * 10);
    RawSink sink{lib.data()};
    for (uint64_t v : mix())
        if (b_vintEncodeUIntmax(v, rawPut, &sink) != sOKAY) return false;
    lib.resize(static_cast<size_t>(sink.p - lib.data()));
    std::vector<uint8_t> raw = encodedMix(mix(), false);
    if (raw != lib) return false;
    raw.resize(raw.size() + 8);
    const uint8_t *p = raw.data();
    for (uint64_t v : mix()) {
        uint64_t back = 0;
        p = rawDecode(p, &back);
        if (p == nullptr || back != v) return false;
    }
    return true;
}

void finish(benchmark::State &state, size_t bytes, size_t count = kCount) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * count));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

// ---- encode of the mix
void BM_EncodeMix_Leb128(benchmark::State &state) {
    if (!rawAgrees()) {
        state.SkipWithError("the raw codec disagrees with the library");
        return;
    }
    std::vector<uint8_t> out(mix(state).size() * 10);
    size_t n = 0;
    for (auto _ : state) {
        uint8_t *p = out.data();
        for (uint64_t v : mix(state)) p = leb128Encode(v, p);
        n = static_cast<size_t>(p - out.data());
        benchmark::DoNotOptimize(out.data());
    }
    finish(state, n, mix(state).size());
}
BENCHMARK(BM_EncodeMix_Leb128)->Apply(mixCounts);

void BM_EncodeMix_RawBuffer(benchmark::State &state) {
    std::vector<uint8_t> out(mix(state).size() * 10);
    size_t n = 0;
    for (auto _ : state) {
        uint8_t *p = out.data();
        for (uint64_t v : mix(state)) p = rawEncode(v, p);
        n = static_cast<size_t>(p - out.data());
        benchmark::DoNotOptimize(out.data());
    }
    finish(state, n, mix(state).size());
}
BENCHMARK(BM_EncodeMix_RawBuffer)->Apply(mixCounts);

void BM_EncodeMix_Callback(benchmark::State &state) {
    std::vector<uint8_t> out(mix(state).size() * 10);
    size_t n = 0;
    for (auto _ : state) {
        RawSink sink{out.data()};
        for (uint64_t v : mix(state))
            benchmark::DoNotOptimize(b_vintEncodeUIntmax(v, rawPut, &sink));
        n = static_cast<size_t>(sink.p - out.data());
    }
    finish(state, n, mix(state).size());
}
BENCHMARK(BM_EncodeMix_Callback)->Apply(mixCounts);

// The way rows are written: a B_ENCODER_T over a B_BUFFER_T.
void BM_EncodeMix_EncoderBuffer(benchmark::State &state) {
    std::vector<uint8_t> store(mix(state).size() * 10 + 16);
    B_BUFFER_T buffer;
    B_ENCODER_T e;
    b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &buffer, nullptr);
    for (auto _ : state) {
        b_bufferInitStatic(&buffer, store.data(), store.size(), 0);
        for (uint64_t v : mix(state)) benchmark::DoNotOptimize(b_encoderEncodeUint64(&e, v));
    }
    finish(state, buffer.len, mix(state).size());
}
BENCHMARK(BM_EncodeMix_EncoderBuffer)->Apply(mixCounts);

// ---- decode of the mix
void BM_DecodeMix_Leb128(benchmark::State &state) {
    const std::vector<uint8_t> in = encodedMix(mix(state), true);
    for (auto _ : state) {
        const uint8_t *p = in.data();
        uint64_t v = 0, sum = 0;
        while (p != nullptr && p < in.data() + in.size()) {
            p = leb128Decode(p, in.data() + in.size(), &v);
            sum += v;
        }
        benchmark::DoNotOptimize(sum);
    }
    finish(state, in.size(), mix(state).size());
}
BENCHMARK(BM_DecodeMix_Leb128)->Apply(mixCounts);

void BM_DecodeMix_RawBuffer(benchmark::State &state) {
    std::vector<uint8_t> in = encodedMix(mix(state), false);
    const size_t len = in.size();
    in.resize(len + 8);  // slack for the 8-byte loads
    for (auto _ : state) {
        const uint8_t *p = in.data();
        uint64_t v = 0, sum = 0;
        while (p != nullptr && p < in.data() + len) {
            p = rawDecode(p, &v);
            sum += v;
        }
        benchmark::DoNotOptimize(sum);
    }
    finish(state, len, mix(state).size());
}
BENCHMARK(BM_DecodeMix_RawBuffer)->Apply(mixCounts);

void BM_DecodeMix_Callback(benchmark::State &state) {
    const std::vector<uint8_t> in = encodedMix(mix(state), false);
    for (auto _ : state) {
        RawSource src{in.data(), in.data() + in.size()};
        uintmax_t v = 0, sum = 0;
        while (b_vintDecodeUIntmax(rawGet, &src, &v) == sOKAY) sum += v;
        benchmark::DoNotOptimize(sum);
    }
    finish(state, in.size(), mix(state).size());
}
BENCHMARK(BM_DecodeMix_Callback)->Apply(mixCounts);

void BM_DecodeMix_DecoderBuffer(benchmark::State &state) {
    std::vector<uint8_t> in = encodedMix(mix(state), false);
    B_BUFFER_T buffer;
    b_bufferInitStatic(&buffer, in.data(), 0, 0);
    b_bufferSetStatic(&buffer, in.data(), in.size());
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &buffer, nullptr);
    for (auto _ : state) {
        buffer.pos = 0;
        uint64_t v = 0, sum = 0;
        while (b_decoderDecodeUint64(&d, &v) == sOKAY) sum += v;
        benchmark::DoNotOptimize(sum);
    }
    finish(state, in.size(), mix(state).size());
}
BENCHMARK(BM_DecodeMix_DecoderBuffer)->Apply(mixCounts);

// ---- one form at a time: the argument is the byte count of every value.
void BM_EncodeForm_Callback(benchmark::State &state) {
    const std::vector<uint64_t> values = formValues(static_cast<int>(state.range(0)));
    std::vector<uint8_t> out(kCount * 10);
    for (auto _ : state) {
        RawSink sink{out.data()};
        for (uint64_t v : values) benchmark::DoNotOptimize(b_vintEncodeUIntmax(v, rawPut, &sink));
    }
    finish(state, kCount * static_cast<size_t>(state.range(0)));
}
BENCHMARK(BM_EncodeForm_Callback)->DenseRange(1, 9);

void BM_EncodeForm_Leb128(benchmark::State &state) {
    const std::vector<uint64_t> values = formValues(static_cast<int>(state.range(0)));
    std::vector<uint8_t> out(kCount * 10);
    for (auto _ : state) {
        uint8_t *p = out.data();
        for (uint64_t v : values) p = leb128Encode(v, p);
        benchmark::DoNotOptimize(out.data());
    }
    finish(state, kCount * static_cast<size_t>(state.range(0)));
}
BENCHMARK(BM_EncodeForm_Leb128)->DenseRange(1, 9);

// Only the choice of form: the comparisons against the largest values.
void BM_ChooseForm(benchmark::State &state) {
    const std::vector<uint64_t> values = formValues(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        uint32_t total = 0;
        for (uint64_t v : values) total += b_vintGetEncodeInfo(v)->size;
        benchmark::DoNotOptimize(total);
    }
    finish(state, 0);
}
BENCHMARK(BM_ChooseForm)->DenseRange(1, 9, 4);

void BM_DecodeForm_Callback(benchmark::State &state) {
    const std::vector<uint8_t> in = encodedMix(formValues(static_cast<int>(state.range(0))), false);
    for (auto _ : state) {
        RawSource src{in.data(), in.data() + in.size()};
        uintmax_t v = 0, sum = 0;
        while (b_vintDecodeUIntmax(rawGet, &src, &v) == sOKAY) sum += v;
        benchmark::DoNotOptimize(sum);
    }
    finish(state, in.size());
}
BENCHMARK(BM_DecodeForm_Callback)->DenseRange(1, 9);

}  // namespace

BENCHMARK_MAIN();
