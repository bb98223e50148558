// The LZMA coder on arbitrary bytes, with one context on a master seeded with
// 64 MiB. As a stream: decompression gives a code, never a crash or a read
// past the input, reserves no more than the stream can fill, and whatever it
// decoded compresses and decompresses back to itself. As an object: the bytes
// compress and decompress to themselves. Every allocation comes back.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "buffer.h"
#include "lzma.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

struct Fixture {
    std::vector<uint8_t> seed = std::vector<uint8_t>(64u << 20);
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    B_LZMA_T *lzma = nullptr;
    Fixture() {
        check(b_tag_masterCreate(seed.data(), seed.size(), &master) == sOKAY);
        check(b_tag_subCreate(master, &sub) == sOKAY);
        check(b_tag_subAlloc(sub, sizeof *lzma, &lzma) == sOKAY);
        check(b_lzmaInit(lzma, sub) == sOKAY);
    }
    int64_t used() const {
        int64_t cur = 0;
        b_tag_subMemUsage(sub, &cur, nullptr, nullptr);
        return cur;
    }
};

// Packs `size` bytes and unpacks them again: the same bytes come back.
void roundTrip(Fixture &f, const uint8_t *data, size_t size) {
    B_BUFFER_T src, packed, back;
    b_bufferInitStatic(&src, const_cast<uint8_t *>(data), size, size);
    b_bufferInit(&packed, f.sub);
    b_bufferInit(&back, f.sub);
    check(b_lzmaCompress(f.lzma, &src, &packed) == sOKAY);
    check(b_lzmaDecompress(f.lzma, &packed, &back) == sOKAY);
    check(back.len == size && (size == 0 || std::memcmp(back.data.bin, data, size) == 0));
    b_bufferTerm(&packed);
    b_bufferTerm(&back);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static Fixture f;
    const int64_t before = f.used();
    // An exact copy, so that a read past the input is a read past a heap block.
    std::vector<uint8_t> copy(data, data + size);
    B_BUFFER_T src, dst;
    b_bufferInitStatic(&src, copy.data(), copy.size(), copy.size());
    b_bufferInit(&dst, f.sub);
    dst.len = 7;  // left as it is on a failure
    const ZEL_RETCODE rc = b_lzmaDecompress(f.lzma, &src, &dst);
    if (rc < 0) {
        check(rc == eEOD || rc == eINVVARINT || rc == eDBCORRUPTED || rc == eNOMEMORY);
        check(dst.len == 7);
    } else {
        check(rc == sOKAY || rc == 2);
        check(dst.size <= 12600 * size + 24576 + 512);
        roundTrip(f, dst.data.bin, dst.len);
    }
    b_bufferTerm(&dst);
    roundTrip(f, data, size);
    check(f.used() == before);
    return 0;
}
