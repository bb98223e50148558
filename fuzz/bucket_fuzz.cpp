// Buckets of the hash keys of object_catalog.h read from arbitrary bytes.
// The first byte picks the key (nullable elements, none, or a 5-byte key)
// and the form; the rest is the bucket. A bucket that reads is written
// again: an expanded image gives back the input with its pointers and
// padding zeroed; a compact stream whose ids fit the room a reader gives
// them reads again, and writing it twice more gives the first writing back
// (the writer's sense of null flips each nullable element on every pass).
// A failed bucket holds nothing, and the tag's usage comes back.
#include <cstring>

#include "bucket.h"
#include "object_catalog.h"
#include "object_fuzz.h"

namespace {

const ObjectCatalog &catalog() {
    static const ObjectCatalog cat = [] {
        ObjectCatalog c;
        check(oc_build(fuzzTag(), &c) == sOKAY);
        return c;
    }();
    return cat;
}

ZEL_RETCODE unpack(ZEL_BUCKET *b, SCH_KEY_INFO_C ki, bool expanded, const uint8_t *data,
                   size_t size) {
    FuzzSource src(data, size, fuzzTag());
    return expanded ? bucket_unpack_expanded(b, ki, &src.dec, fuzzTag())
                    : bucket_unpack_compact(b, ki, &src.dec, fuzzTag());
}

// Whether a compact reader's room (the larger of the ids and 31) holds the
// ids of the entries in use, each entry without ids taking room for one.
bool fits(const ZEL_BUCKET &b) {
    uint64_t total = 0, running = 0;
    for (uint32_t i = 0; i < b.numEntries; ++i) total += b.entries[i].numIds;
    const uint64_t room = total > ZEL_BUCKET_ENTRIES ? total : ZEL_BUCKET_ENTRIES;
    for (uint32_t i = 0; i < b.numEntries; ++i) {
        const uint32_t n = b.entries[i].numIds;
        if (running + n > room) return false;
        running += n ? n : 1;
    }
    return true;
}

// pack(unpack(bytes)) in *out.
bool again(SCH_KEY_INFO_C ki, const std::vector<uint8_t> &bytes, std::vector<uint8_t> *out) {
    ZEL_BUCKET b{};
    check(unpack(&b, ki, false, bytes.data(), bytes.size()) == sOKAY);
    const bool ok = fuzzPack(bucket_pack_compact, b, fuzzTag(), out);
    bucket_free(&b);
    return ok;
}

void one(const uint8_t *data, size_t size) {
    if (size == 0) return;
    const ObjectCatalog &cat = catalog();
    SCH_KEY_INFO_C keys[] = {cat.byName, cat.byIds, cat.five};
    SCH_KEY_INFO_C ki = keys[(data[0] & 3) % 3];
    const bool expanded = (data[0] & 4) != 0;
    ZEL_BUCKET b{};
    if (unpack(&b, ki, expanded, data + 1, size - 1) != sOKAY) {
        check(b.bucket_data == nullptr);
        return;
    }
    check(b.numEntries <= ZEL_BUCKET_ENTRIES);
    std::vector<uint8_t> once, twice, thrice;
    if (expanded) {
        check(fuzzPack(bucket_pack_expanded, b, fuzzTag(), &once));
        check(once.size() == 16 + b.bucket_data_len && once.size() <= size - 1);
        std::vector<uint8_t> in(data + 1, data + 1 + once.size());
        for (uint32_t i = 0; i < ZEL_BUCKET_ENTRIES; ++i) {
            uint8_t *rec = in.data() + 16 + i * sizeof(ZEL_BUCKET_ENTRY);
            std::memset(rec, 0, 16);
            std::memset(rec + offsetof(ZEL_BUCKET_ENTRY, padding), 0, 4);
        }
        check(in == once);
        ZEL_BUCKET back{};
        check(unpack(&back, ki, true, once.data(), once.size()) == sOKAY);
        check(fuzzPack(bucket_pack_expanded, back, fuzzTag(), &twice) && twice == once);
        bucket_free(&back);
    } else if (fuzzPack(bucket_pack_compact, b, fuzzTag(), &once) && fits(b)) {
        check(again(ki, once, &twice));
        check(again(ki, twice, &thrice));
        check(thrice == once);
    }
    bucket_free(&b);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    catalog();  // built once, before the usage is taken
    const int64_t start = fuzzUsed(fuzzTag());
    one(data, size);
    check(fuzzUsed(fuzzTag()) == start);
    return 0;
}
