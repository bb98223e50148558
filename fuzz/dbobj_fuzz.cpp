// Stored-object unwrapping on arbitrary bytes, plain and through an XOR
// cipher, with one LZMA context on a master seeded with 64 MiB: a code,
// never a crash or a read past the input, dst's pos at 0, the caller's bytes
// untouched when the buffer is borrowed. Then the bytes as an object wrapped
// at thresholds 0 and 4096: a multiple of 16 that unwraps to them (a plain
// object with its padding after). Every allocation comes back.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "buffer.h"
#include "dbobj.h"
#include "lzma.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

ZEL_RETCODE xorFcn(void *data, uint8_t *bytes, size_t length) {
    for (size_t i = 0; i < length; i++) bytes[i] ^= *static_cast<uint8_t *>(data);
    return sOKAY;
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

void unwrap(Fixture &f, const std::vector<uint8_t> &input, ZEL_ENCRYPT_C cipher) {
    std::vector<uint8_t> copy = input;
    B_BUFFER_T buf, dst;
    b_bufferInit(&buf, f.sub);
    b_bufferSetStatic(&buf, copy.data(), copy.size());
    b_bufferInit(&dst, f.sub);
    auto fmt = static_cast<ZEL_ITEM_FORMAT>(7);
    const ZEL_RETCODE rc = dbobj_convert_in(&dst, &buf, cipher, &fmt, f.lzma);
    check(dst.pos == 0 && copy == input);
    if (rc < 0 || copy.empty()) check(fmt == 7);
    if (rc >= 0 && !copy.empty()) check((fmt & ~0xF0) == 0);
    b_bufferTerm(&dst);
    b_bufferTerm(&buf);
}

void roundTrip(Fixture &f, const uint8_t *data, size_t size, uint32_t threshold) {
    B_BUFFER_T src, stored, back;
    b_bufferInitStatic(&src, const_cast<uint8_t *>(data), size, size);
    b_bufferInit(&stored, f.sub);
    b_bufferInit(&back, f.sub);
    check(dbobj_compress(f.lzma, ZEL_COMPRESS_LZMA, threshold, ZEL_ITEM_FORMAT_EXPANDED, &src,
                         &stored) == sOKAY);
    check(stored.len % 16 == 0);
    if (size < threshold) check(stored.len == (size + 1 + 15) / 16 * 16);
    ZEL_ITEM_FORMAT fmt = ZEL_ITEM_FORMAT_COMPACT;
    check(dbobj_convert_in(&back, &stored, nullptr, &fmt, f.lzma) == sOKAY);
    check(fmt == ZEL_ITEM_FORMAT_EXPANDED && back.len >= size);
    check(size == 0 || std::memcmp(back.data.bin, data, size) == 0);
    b_bufferTerm(&stored);
    b_bufferTerm(&back);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static Fixture f;
    const int64_t before = f.used();
    const std::vector<uint8_t> input(data, data + size);
    // The last byte: an enciphered padded object ends in its key.
    uint8_t key = size == 0 ? 0 : data[size - 1];
    const ZEL_ENCRYPT_T cipher = {&key, xorFcn};
    unwrap(f, input, nullptr);
    unwrap(f, input, &cipher);
    roundTrip(f, data, size, 0);
    roundTrip(f, data, size, 4096);
    check(f.used() == before);
    return 0;
}
