// The LZ coder on arbitrary bytes. The first byte gives a number of cuts (0 to
// 7), the next two bytes per cut their offsets; the rest is the input. As a
// stream: decoded in one chunk and in the cut chunks, the codes, byte counts
// and bytes (by hash) agree, and the decoder gives sOKAY or eDBCORRUPTED,
// never a crash or a read past the input. As data: compressed in the cut
// chunks it is the wrapper's stream, which decompresses to the data. Every
// allocation comes back.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz_tags.h"
#include "lz.h"

namespace {

struct Digest {
    uint64_t count = 0;
    uint64_t hash = 1469598103934665603u;   // FNV-1a
    std::vector<uint8_t> *bytes = nullptr;  // kept when not null
    static ZEL_RETCODE put(void *user, LZOPERATION op, uint8_t byte) {
        auto *d = static_cast<Digest *>(user);
        if (op != LZBYTE) return sOKAY;
        d->count++;
        d->hash = (d->hash ^ byte) * 1099511628211u;
        if (d->bytes != nullptr) d->bytes->push_back(byte);
        return sOKAY;
    }
};

// Runs the input through one context in the chunks that `cuts` mark.
ZEL_RETCODE run(B_LZ_T *ctx, bool compress, const uint8_t *data, size_t size,
                const std::vector<size_t> &cuts, Digest *out) {
    check(b_lzInit(ctx, out, Digest::put, fuzzTag()) == sOKAY);
    size_t at = 0;
    ZEL_RETCODE rc = sOKAY;
    for (size_t i = 0; i <= cuts.size() && rc == sOKAY; ++i) {
        const size_t end = i < cuts.size() ? cuts[i] : size;
        rc = compress ? b_lzCompressChunk(ctx, data + at, uint32_t(end - at))
                      : b_lzDecompressChunk(ctx, data + at, uint32_t(end - at));
        at = end;
    }
    if (rc == sOKAY) return b_lzFinish(ctx);
    b_lzTerm(ctx);
    return rc;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    B_TAG_SUB sub = fuzzTag();
    const int64_t before = fuzzUsed(sub);
    if (size == 0) return 0;
    const size_t ncuts = data[0] % 8;
    if (size < 1 + 2 * ncuts) return 0;
    // An exact copy, so that a read past the input is a read past a heap block.
    const std::vector<uint8_t> in(data + 1 + 2 * ncuts, data + size);
    std::vector<size_t> cuts;
    for (size_t i = 0; i < ncuts; ++i) {
        const size_t at =
            in.empty() ? 0 : (data[1 + 2 * i] << 8 | data[2 + 2 * i]) % (in.size() + 1);
        cuts.push_back(at);
    }
    std::sort(cuts.begin(), cuts.end());

    B_LZ_T *ctx = nullptr;
    check(b_tag_subAlloc(sub, sizeof *ctx, &ctx) == sOKAY);
    Digest whole, split;
    const ZEL_RETCODE rc = run(ctx, false, in.data(), in.size(), {}, &whole);
    check(rc == sOKAY || rc == eDBCORRUPTED);
    check(run(ctx, false, in.data(), in.size(), cuts, &split) == rc);
    check(whole.count == split.count && whole.hash == split.hash);

    std::vector<uint8_t> packed;
    Digest chunked;
    chunked.bytes = &packed;
    check(run(ctx, true, in.data(), in.size(), cuts, &chunked) == sOKAY);
    b_tag_subFree(sub, ctx);
    void *buf = nullptr, *back = nullptr;
    uint32_t len = 0, back_len = 0;
    check(b_lzCompress(in.data(), uint32_t(in.size()), sub, &buf, &len) == sOKAY);
    check(len == packed.size() && (len == 0 || std::memcmp(buf, packed.data(), len) == 0));
    check(b_lzDecompress(buf, len, sub, &back, &back_len) == sOKAY);
    check(back_len == in.size() && (back_len == 0 || std::memcmp(back, in.data(), back_len) == 0));
    b_tag_subFreeCanBeNull(sub, buf);
    b_tag_subFreeCanBeNull(sub, back);
    check(fuzzUsed(sub) == before);
    return 0;
}
