// The road of a row (tools/road.cpp) with the catalogue and the row text from
// the fuzzer: the bytes up to the first NUL are the JSON catalogue and the
// rest the INSERT text; without a NUL the whole input is the text, over the
// demo's catalogue. Whatever the input, the road ends in a code, never in a
// difference between what went in and what came back (its own checks), and
// every byte of the tag comes back. The master is seeded with 64 MiB, as the
// catalogue loader's target does: a count near 2^32 must end in a code.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "../tools/road.h"
#include "fuzz_tags.h"

// A catalogue may ask for billions of drawers: a huge block comes from the
// platform, not the seeded master, so the allocator is bounded here and a
// request past it ends in eNOMEMORY, as the catalogue loader's target does.
extern "C" const char *__asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=64";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > 65536) return 0;
    FuzzSeededTags &t = fuzzSeededTags();
    const int64_t before = fuzzUsed(t.sub);
    const char *text = reinterpret_cast<const char *>(data);
    const void *nul = std::memchr(data, 0, size);
    std::string catalog = kZbRoadDemoCatalog, sql(text, size);
    if (nul != nullptr) {
        const size_t at = static_cast<size_t>(static_cast<const uint8_t *>(nul) - data);
        catalog.assign(text, at);
        sql.assign(text + at + 1, size - at - 1);
        // The text ends at its first NUL, as a C string does.
        sql.resize(std::strlen(sql.c_str()));
    }
    {
        ZbRoad r;
        if (zb_road_open(&r, t.master, t.sub, catalog.c_str(), size > 0 && (data[0] & 1)) ==
            sOKAY) {
            (void)zb_road_run(&r, {sql});
            if (r.broken) std::fprintf(stderr, "road_fuzz: %s\n", r.err.c_str());
            check(!r.broken);
            zb_road_close(&r);
        }
    }
    check(fuzzUsed(t.sub) == before);
    return 0;
}
