// LZ coder over 1 MiB of text and 1 MiB of binary, against zlib at levels 1
// and 6 (when installed). Ours is measured through the whole-buffer wrappers
// and through the chunk calls with a receiver that only counts bytes (the
// coder's own cost); zlib's through compress2 and uncompress into a buffer
// of the right size. Each benchmark reports its ratio (input over output).
//
// The inputs are the LZMA benchmark's generated families (test/lzma_corpus.h):
// "prose", sentences of common English words, and "binary", wide rows as
// stored: varint ids, random 64-bit values, scaled prices, small counters.
//
// Run:  build/release/bench/lz_bench --benchmark_repetitions=5
//       --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "lz.h"
#include "lzma_corpus.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

#ifdef ZELBASE_HAVE_ZLIB
#include <zlib.h>
#endif

namespace {

using Bytes = std::string;
constexpr size_t kSize = 1u << 20;

Bytes to_bytes(const lzma_corpus::Bytes &v) {
    return Bytes(v.begin(), v.end());
}

// The LZMA benchmark's corpus, one 1 MiB object of a family.
const Bytes &input(int which) {
    static const Bytes text = to_bytes(lzma_corpus::object(3, 1, kSize));
    static const Bytes binary = to_bytes(lzma_corpus::object(1, 1, kSize));
    return which == 0 ? text : binary;
}

const char *label(int which) {
    return which == 0 ? "text" : "binary";
}

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

Bytes lz_packed(int which) {
    Tags t;
    void *buf = nullptr;
    uint32_t len = 0;
    if (b_lzCompress(input(which).data(), kSize, t.sub, &buf, &len) != sOKAY) std::abort();
    Bytes out(static_cast<const char *>(buf), len);
    b_tag_subFree(t.sub, buf);
    return out;
}

ZEL_RETCODE count_bytes(void *user, LZOPERATION op, uint8_t) {
    if (op == LZBYTE) ++*static_cast<uint64_t *>(user);
    return sOKAY;
}

void report(benchmark::State &state, int which, size_t packed) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
    state.counters["ratio"] = static_cast<double>(kSize) / static_cast<double>(packed);
    state.SetLabel(label(which));
}

void BM_LzCompress(benchmark::State &state) {
    const int which = static_cast<int>(state.range(0));
    const Bytes &in = input(which);
    Tags t;
    uint32_t len = 0;
    for (auto _ : state) {
        void *buf = nullptr;
        if (b_lzCompress(in.data(), kSize, t.sub, &buf, &len) != sOKAY) std::abort();
        b_tag_subFree(t.sub, buf);
    }
    report(state, which, len);
}

// The chunk calls with a counting receiver: `decode` picks the direction.
void lz_counted(benchmark::State &state, bool decode) {
    const int which = static_cast<int>(state.range(0));
    const Bytes packed = lz_packed(which);
    const Bytes &in = decode ? packed : input(which);
    Tags t;
    B_LZ_T *ctx;
    if (b_tag_subAlloc(t.sub, sizeof *ctx, &ctx) != sOKAY) std::abort();
    uint64_t count = 0;
    for (auto _ : state) {
        count = 0;
        if (b_lzInit(ctx, &count, count_bytes, t.sub) != sOKAY) std::abort();
        const ZEL_RETCODE rc = decode ? b_lzDecompressChunk(ctx, in.data(), uint32_t(in.size()))
                                      : b_lzCompressChunk(ctx, in.data(), uint32_t(in.size()));
        if (rc != sOKAY || b_lzFinish(ctx) != sOKAY) std::abort();
    }
    if (count != (decode ? kSize : packed.size())) std::abort();
    b_tag_subFree(t.sub, ctx);
    report(state, which, packed.size());
}

void BM_LzCompressCounted(benchmark::State &state) {
    lz_counted(state, false);
}
void BM_LzDecompressCounted(benchmark::State &state) {
    lz_counted(state, true);
}

void BM_LzDecompress(benchmark::State &state) {
    const int which = static_cast<int>(state.range(0));
    const Bytes packed = lz_packed(which);
    Tags t;
    for (auto _ : state) {
        void *buf = nullptr;
        uint32_t len = 0;
        if (b_lzDecompress(packed.data(), uint32_t(packed.size()), t.sub, &buf, &len) != sOKAY ||
            len != kSize)
            std::abort();
        b_tag_subFree(t.sub, buf);
    }
    report(state, which, packed.size());
}

BENCHMARK(BM_LzCompress)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LzCompressCounted)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LzDecompress)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LzDecompressCounted)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

#ifdef ZELBASE_HAVE_ZLIB
// Args: input, level.
void BM_ZlibCompress(benchmark::State &state) {
    const int which = static_cast<int>(state.range(0));
    const Bytes &in = input(which);
    std::vector<Bytef> out(compressBound(kSize));
    uLongf len = 0;
    for (auto _ : state) {
        len = out.size();
        if (compress2(out.data(), &len, reinterpret_cast<const Bytef *>(in.data()), kSize,
                      static_cast<int>(state.range(1))) != Z_OK)
            std::abort();
    }
    report(state, which, len);
}

void BM_ZlibInflate(benchmark::State &state) {
    const int which = static_cast<int>(state.range(0));
    const Bytes &in = input(which);
    std::vector<Bytef> packed(compressBound(kSize)), out(kSize);
    uLongf plen = packed.size();
    if (compress2(packed.data(), &plen, reinterpret_cast<const Bytef *>(in.data()), kSize,
                  static_cast<int>(state.range(1))) != Z_OK)
        std::abort();
    for (auto _ : state) {
        uLongf len = out.size();
        if (uncompress(out.data(), &len, packed.data(), plen) != Z_OK || len != kSize) std::abort();
    }
    report(state, which, plen);
}

BENCHMARK(BM_ZlibCompress)->ArgsProduct({{0, 1}, {1, 6}})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibInflate)->ArgsProduct({{0, 1}, {1, 6}})->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
