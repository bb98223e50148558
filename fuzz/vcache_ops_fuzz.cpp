// The versioned cache driven by arbitrary bytes: the first byte sets
// max_entries (1 to 40), each following group of four is an operation and
// its arguments, run on the cache and on the model of the tests, which then
// compares the whole cache (chains, marks, age list, both kinds of tree,
// counts, commit order). At the end the cache is ended and every object and
// byte must be back.
#include <cstdint>
#include <cstdio>
#include <string>

#include "../test/vcache_model.h"
#include "fuzz_tags.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    B_TAG_SUB sub = fuzzTag();
    const int64_t before = fuzzUsed(sub);
    {
        VcHarness h(sub, 1 + data[0] % 40);
        check(h.initCode() == sOKAY);
        for (size_t i = 1; i + 4 <= size; i += 4) {
            const std::string failure = h.step(data[i], data[i + 1], data[i + 2], data[i + 3]);
            if (!failure.empty()) std::fprintf(stderr, "step %zu: %s\n", i / 4, failure.c_str());
            check(failure.empty());
        }
        check(h.term() == 0);
    }
    check(fuzzUsed(sub) == before);
    return 0;
}
