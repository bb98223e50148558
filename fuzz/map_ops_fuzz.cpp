// The four maps (and MAP and MAPA on a descending caller's order) driven by
// arbitrary bytes, side by side, each against its std::map model of
// test/map_model.h. The first byte sets the uintmap's array size (5 to 68),
// each following group of four bytes is an operation, a key and a value.
// Every result and cursor step must agree with the model, and every store
// is checked after every sixteenth operation and at the end; then all are torn
// down and every byte must be back.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "../test/map_model.h"
#include "fuzz_tags.h"

namespace {

void agree(const std::string &failure, MapKind kind) {
    if (failure.empty()) return;
    std::fprintf(stderr, "kind %d: %s\n", int(kind), failure.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    B_TAG_SUB sub = fuzzTag();
    const int64_t start = fuzzUsed(sub);
    const uint32_t arraySize = 5 + data[0] % 64;
    {
        constexpr MapKind kKinds[] = {MapKind::kMap,      MapKind::kMapDesc, MapKind::kMapa,
                                      MapKind::kMapaDesc, MapKind::kMapb,    MapKind::kUintmap};
        std::unique_ptr<MapUnderTest> maps[6];
        std::unique_ptr<MapModel> models[6];
        for (int i = 0; i < 6; ++i) {
            maps[i] = std::make_unique<MapUnderTest>(kKinds[i], sub, arraySize);
            check(maps[i]->initCode() == sOKAY);
            models[i] = std::make_unique<MapModel>(*maps[i]);
        }
        for (size_t p = 1; p + 3 < size; p += 4) {
            // Key bits: the second and third bytes spread over a word.
            const uint64_t r =
                uint64_t(data[p + 1]) | uint64_t(data[p + 2]) << 8 | uint64_t(data[p + 2]) << 40;
            const uint64_t key = map_modelKey(r, arraySize);
            for (int i = 0; i < 6; ++i) {
                agree(map_modelStep(*maps[i], *models[i], data[p], key, data[p + 3]), kKinds[i]);
                if (p % 64 == 1) agree(maps[i]->check(models[i]->entries()), kKinds[i]);
            }
        }
        for (int i = 0; i < 6; ++i) {
            agree(maps[i]->check(models[i]->entries()), kKinds[i]);
            agree(models[i]->count(*maps[i]), kKinds[i]);
        }
    }
    check(fuzzUsed(sub) == start);
    return 0;
}
