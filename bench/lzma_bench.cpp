// LZMA of stored objects: 300 generated objects of 4 KiB (60 of each family:
// compact text rows, wide binary rows, expanded row images, prose, expanded
// index nodes), compressed and decompressed one object at a time, as the
// engine does. Peers, where installed: liblzma's raw LZMA1 at presets 0 and 1
// with the same 16 KiB dictionary, zlib at levels 1 and 6, zstd at level 1,
// lz4 at its default (acceleration 1). Each benchmark reports the family's
// compression ratio (input over output bytes) as a counter.
//
// Run:  build/release/bench/lzma_bench --benchmark_repetitions=5
//       --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "buffer.h"
#include "lzma.h"
#include "lzma_corpus.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

#ifdef ZELBASE_HAVE_LIBLZMA
#include ZELBASE_LIBLZMA_HEADER /* by its path: "lzma.h" is this library's own */
#endif
#ifdef ZELBASE_HAVE_ZLIB
#include <zlib.h>
#endif
#ifdef ZELBASE_HAVE_ZSTD
#include <zstd.h>
#endif
#ifdef ZELBASE_HAVE_LZ4
#include <lz4.h>
#endif

namespace {

using lzma_corpus::Bytes;

constexpr size_t kObjectSize = 4096;
constexpr int kPerFamily = 60;
constexpr int kMix = lzma_corpus::kFamilyCount; /* the family index of all 300 */

// Objects of one family, or all 300 for kMix.
const std::vector<Bytes> &objects(int family) {
    static const std::vector<std::vector<Bytes>> all = [] {
        std::vector<std::vector<Bytes>> sets(kMix + 1);
        for (int f = 0; f < kMix; f++) {
            for (int seed = 1; seed <= kPerFamily; seed++) {
                sets[f].push_back(lzma_corpus::object(f, static_cast<uint64_t>(seed), kObjectSize));
                sets[kMix].push_back(sets[f].back());
            }
        }
        return sets;
    }();
    return all[family];
}

// A compressor: writes `in` to `out` (capacity `cap`), returns the size or 0.
struct Coder {
    virtual ~Coder() = default;
    virtual size_t compress(const Bytes &in, uint8_t *out, size_t cap) = 0;
    virtual size_t decompress(const uint8_t *in, size_t size, uint8_t *out, size_t cap) = 0;
};

class ZelLzma final : public Coder {
  public:
    ZelLzma() {
        if (b_tag_masterCreate(nullptr, 0, &master_) != sOKAY ||
            b_tag_subCreate(master_, &sub_) != sOKAY ||
            b_tag_subAlloc(sub_, sizeof(B_LZMA_T), &lzma_) != sOKAY ||
            b_lzmaInit(lzma_, sub_) != sOKAY) {
            std::abort();
        }
        b_bufferInit(&dst_, sub_);
    }
    ~ZelLzma() override {
        b_bufferTerm(&dst_);
        b_lzmaTerm(lzma_);
        b_tag_subFree(sub_, lzma_);
        b_tag_subDestroy(sub_);
        b_tag_masterDestroy(master_);
    }
    // Into a growing buffer that keeps its memory, as a caller reusing one.
    size_t compress(const Bytes &in, uint8_t *out, size_t cap) override {
        B_BUFFER_T src;
        b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
        b_bufferReset(&dst_);
        if (b_lzmaCompress(lzma_, &src, &dst_) != sOKAY || dst_.len > cap) return 0;
        std::memcpy(out, dst_.data.bin, dst_.len);
        return dst_.len;
    }
    size_t decompress(const uint8_t *in, size_t size, uint8_t *out, size_t cap) override {
        B_BUFFER_T src, dst;
        b_bufferInitStatic(&src, const_cast<uint8_t *>(in), size, size);
        b_bufferInitStatic(&dst, out, cap, 0);
        if (b_lzmaDecompress(lzma_, &src, &dst) != sOKAY) return 0;
        return dst.len;
    }

  private:
    B_TAG_MASTER master_ = nullptr;
    B_TAG_SUB sub_ = nullptr;
    B_LZMA_T *lzma_ = nullptr;
    B_BUFFER_T dst_{};
};

#ifdef ZELBASE_HAVE_LIBLZMA
class LibLzma final : public Coder {
  public:
    explicit LibLzma(uint32_t preset) {
        lzma_lzma_preset(&opt_, preset);
        opt_.dict_size = 16384;
        filters_[0] = {LZMA_FILTER_LZMA1, &opt_};
        filters_[1] = {LZMA_VLI_UNKNOWN, nullptr};
    }
    size_t compress(const Bytes &in, uint8_t *out, size_t cap) override {
        size_t pos = 0;
        if (lzma_raw_buffer_encode(filters_, nullptr, in.data(), in.size(), out, &pos, cap) !=
            LZMA_OK)
            return 0;
        return pos;
    }
    size_t decompress(const uint8_t *in, size_t size, uint8_t *out, size_t cap) override {
        size_t in_pos = 0, out_pos = 0;
        const lzma_ret r =
            lzma_raw_buffer_decode(filters_, nullptr, in, &in_pos, size, out, &out_pos, cap);
        return r == LZMA_OK || r == LZMA_STREAM_END ? out_pos : 0;
    }

  private:
    lzma_options_lzma opt_{};
    lzma_filter filters_[2];
};
#endif

#ifdef ZELBASE_HAVE_ZLIB
class Zlib final : public Coder {
  public:
    explicit Zlib(int level) : level_(level) {}
    size_t compress(const Bytes &in, uint8_t *out, size_t cap) override {
        uLongf len = cap;
        return compress2(out, &len, in.data(), in.size(), level_) == Z_OK ? len : 0;
    }
    size_t decompress(const uint8_t *in, size_t size, uint8_t *out, size_t cap) override {
        uLongf len = cap;
        return uncompress(out, &len, in, size) == Z_OK ? len : 0;
    }

  private:
    int level_;
};
#endif

#ifdef ZELBASE_HAVE_ZSTD
class Zstd final : public Coder {
  public:
    Zstd() : cctx_(ZSTD_createCCtx()), dctx_(ZSTD_createDCtx()) {}
    ~Zstd() override {
        ZSTD_freeCCtx(cctx_);
        ZSTD_freeDCtx(dctx_);
    }
    size_t compress(const Bytes &in, uint8_t *out, size_t cap) override {
        const size_t n = ZSTD_compressCCtx(cctx_, out, cap, in.data(), in.size(), 1);
        return ZSTD_isError(n) ? 0 : n;
    }
    size_t decompress(const uint8_t *in, size_t size, uint8_t *out, size_t cap) override {
        const size_t n = ZSTD_decompressDCtx(dctx_, out, cap, in, size);
        return ZSTD_isError(n) ? 0 : n;
    }

  private:
    ZSTD_CCtx *cctx_;
    ZSTD_DCtx *dctx_;
};
#endif

#ifdef ZELBASE_HAVE_LZ4
class Lz4 final : public Coder {
  public:
    size_t compress(const Bytes &in, uint8_t *out, size_t cap) override {
        const int n = LZ4_compress_default(reinterpret_cast<const char *>(in.data()),
                                           reinterpret_cast<char *>(out),
                                           static_cast<int>(in.size()), static_cast<int>(cap));
        return n > 0 ? static_cast<size_t>(n) : 0;
    }
    size_t decompress(const uint8_t *in, size_t size, uint8_t *out, size_t cap) override {
        const int n =
            LZ4_decompress_safe(reinterpret_cast<const char *>(in), reinterpret_cast<char *>(out),
                                static_cast<int>(size), static_cast<int>(cap));
        return n > 0 ? static_cast<size_t>(n) : 0;
    }
};
#endif

constexpr size_t kCap = 2 * kObjectSize + 1024;

void BM_Compress(benchmark::State &state, Coder *coder, int family) {
    const std::vector<Bytes> &objs = objects(family);
    std::vector<uint8_t> out(kCap);
    size_t in_bytes = 0, out_bytes = 0;
    for (auto _ : state) {
        for (const Bytes &o : objs) {
            const size_t n = coder->compress(o, out.data(), out.size());
            if (n == 0) {
                state.SkipWithError("compression failed");
                return;
            }
            in_bytes += o.size();
            out_bytes += n;
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(in_bytes));
    state.counters["ratio"] = static_cast<double>(in_bytes) / static_cast<double>(out_bytes);
}

void BM_Decompress(benchmark::State &state, Coder *coder, int family) {
    const std::vector<Bytes> &objs = objects(family);
    std::vector<std::vector<uint8_t>> packed;
    for (const Bytes &o : objs) {
        std::vector<uint8_t> buf(kCap);
        buf.resize(coder->compress(o, buf.data(), buf.size()));
        packed.push_back(std::move(buf));
    }
    std::vector<uint8_t> out(kCap);
    size_t bytes = 0;
    for (auto _ : state) {
        for (size_t i = 0; i < packed.size(); i++) {
            const size_t n =
                coder->decompress(packed[i].data(), packed[i].size(), out.data(), kObjectSize);
            if (n != objs[i].size() || std::memcmp(out.data(), objs[i].data(), n) != 0) {
                state.SkipWithError("decompression gave other bytes");
                return;
            }
            bytes += n;
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

// Coders live for the whole run; benchmarks are registered per coder and family.
void lzma_registerAll() {
    struct Entry {
        const char *name;
        Coder *coder;
    };
    static std::vector<Entry> coders;
    coders.push_back({"zelbase", new ZelLzma()});
#ifdef ZELBASE_HAVE_LIBLZMA
    coders.push_back({"liblzma-0", new LibLzma(0)});
    coders.push_back({"liblzma-1", new LibLzma(1)});
#endif
#ifdef ZELBASE_HAVE_ZLIB
    coders.push_back({"zlib-1", new Zlib(1)});
    coders.push_back({"zlib-6", new Zlib(6)});
#endif
#ifdef ZELBASE_HAVE_ZSTD
    coders.push_back({"zstd-1", new Zstd()});
#endif
#ifdef ZELBASE_HAVE_LZ4
    coders.push_back({"lz4-1", new Lz4()});
#endif
    for (int f = 0; f <= kMix; f++) {
        const std::string family = f == kMix ? "mix" : lzma_corpus::kFamilies[f];
        for (const Entry &e : coders) {
            benchmark::RegisterBenchmark(("Compress/" + family + "/" + e.name).c_str(), BM_Compress,
                                         e.coder, f);
        }
        for (const Entry &e : coders) {
            benchmark::RegisterBenchmark(("Decompress/" + family + "/" + e.name).c_str(),
                                         BM_Decompress, e.coder, f);
        }
    }
}

}  // namespace

int main(int argc, char **argv) {
    lzma_registerAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
