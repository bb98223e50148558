// Chunks and item zero read from arbitrary bytes. The first byte picks the
// kind and the form; the rest is the object. An object that reads is written
// again: an expanded image gives back the input (a chunk's marker aside),
// and a compact one reads again to the same fields and the same bytes. An
// item zero is read a second time into the same record, as drawers are. A
// failed chunk is as it was, and the tag's usage comes back.
#include <cstring>

#include "chunk.h"
#include "iz.h"
#include "object_fuzz.h"

namespace {

template <class Obj>
ZEL_RETCODE unpack(ZEL_RETCODE (*fn)(Obj *, const B_DECODER_T *, B_TAG_SUB), Obj *obj,
                   const uint8_t *data, size_t size) {
    FuzzSource src(data, size, fuzzTag());
    return fn(obj, &src.dec, fuzzTag());
}

void chunk(bool expanded, const uint8_t *data, size_t size) {
    auto read = expanded ? chunk_unpack_expanded : chunk_unpack_compact;
    auto write = expanded ? chunk_pack_expanded : chunk_pack_compact;
    ZEL_CHUNK c{};
    if (unpack(read, &c, data, size) != sOKAY) {
        check(c.bytes == nullptr && c.len == 0);
        return;
    }
    std::vector<uint8_t> once, twice;
    check(fuzzPack(write, c, fuzzTag(), &once));
    check(once.size() <= size);
    if (expanded)
        check(once.size() >= 2 && std::memcmp(once.data() + 2, data + 2, once.size() - 2) == 0);
    ZEL_CHUNK back{};
    check(unpack(read, &back, once.data(), once.size()) == sOKAY);
    check(back.owner == c.owner && back.seq == c.seq && back.len == c.len);
    check(fuzzPack(write, back, fuzzTag(), &twice) && twice == once);
    chunk_free(&back);
    chunk_free(&c);
}

void iz(bool expanded, const uint8_t *data, size_t size) {
    auto read = expanded ? iz_unpack_expanded : iz_unpack_compact;
    auto write = expanded ? iz_pack_expanded : iz_pack_compact;
    ZEL_ITEM_ZERO z;
    iz_init(&z, fuzzTag());
    if (unpack(read, &z, data, size) == sOKAY) {
        std::vector<uint8_t> once, twice;
        check(fuzzPack(write, z, fuzzTag(), &once));
        if (expanded)
            check(once.size() <= size && std::memcmp(once.data(), data, once.size()) == 0);
        check(unpack(read, &z, once.data(), once.size()) == sOKAY);
        check(fuzzPack(write, z, fuzzTag(), &twice) && twice == once);
    }
    iz_free(&z);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const int64_t start = fuzzUsed(fuzzTag());
    if (size > 0) {
        if (data[0] & 1)
            iz((data[0] & 2) != 0, data + 1, size - 1);
        else
            chunk((data[0] & 2) != 0, data + 1, size - 1);
    }
    check(fuzzUsed(fuzzTag()) == start);
    return 0;
}
