// The "Maps of 64-bit keys" section of `zelbase demo`: MAPB's blocks of 64
// keys (63 and 64 in two blocks, stepping across them both ways), UINTMAP's
// array raised to 5 with its walk into the map and the count it keeps over a
// delete-all, MAPA's positions held by the caller, and a locked MAP walked
// while it deletes.
#include <cinttypes>
#include <cstdio>
#include <utility>
#include <vector>

#include "map.h"
#include "mapa.h"
#include "mapb.h"
#include "uintmap.h"
#include "zelbase_cmds.h"

int zb_demo_map(FILE *out);

namespace {

int zb_demo_map_steps(FILE *out, B_TAG_SUB sub) {
    B_MAPB_T b;
    b_mapbInit(&b, nullptr, sub);
    int failed = 0;
    for (B_MAP_KEY k : {1, 63, 64, 130}) failed |= b_mapbSet(&b, k, k * 10) != sOKAY;
    B_MAPB_POS pos{};
    B_MAP_KEY k = 0;
    B_MAP_VALUE v = 0;
    failed |= b_mapbFindEx(&b, 63, &v, &pos) != sOKAY;
    std::fprintf(out, "  MAPB steps from key 63 (block 0, bit 63):");
    while (b_mapbNext(&b, &pos, &k, &v, &pos) == sOKAY)
        std::fprintf(out, " next %" PRIu64 " (block %" PRIu64 ", bit %u)", k, pos.node->start,
                     unsigned(pos.offset));
    failed |= b_mapbFindEx(&b, 64, &v, &pos) != sOKAY;
    failed |= b_mapbPrev(&b, &pos, &k, &v, &pos) != sOKAY;
    std::fprintf(out,
                 "\n    prev from key 64 (bit 0) goes to the block before, its highest"
                 " bit: %" PRIu64 "\n",
                 k);
    failed |= b_mapbDelete(&b, 130) != sOKAY;
    std::fprintf(out,
                 "    deleting 130, the last key of its block, takes the block out:"
                 " %" PRIu64 " blocks left\n",
                 b_avlCount(&b.avl));
    b_mapbTerm(&b);
    return failed;
}

int zb_demo_map_uint(FILE *out, B_TAG_SUB sub) {
    B_UINTMAP_T u;
    if (b_uintmapInitEx(&u, B_MAP_FLAG_MUTEX, 3, nullptr, nullptr, sub) != sOKAY) return 1;
    int failed = 0;
    for (B_MAP_KEY k : {4, 2, 5, 900}) failed |= b_uintmapSet(&u, k, k) != sOKAY;
    uint32_t n = 0;
    failed |= b_uintmapDeleteAll(&u) != sOKAY;
    failed |= b_uintmapCount(&u, &n) != sOKAY;
    std::fprintf(out,
                 "  UINTMAP after b_uintmapDeleteAll: count %" PRIu32
                 " (deliberately kept: the array's two), cursor 0x%08" PRIX32 "\n",
                 n, u.curr);
    failed |= b_uintmapSet(&u, 3, 33) != sOKAY;
    B_MAP_KEY k = 0;
    B_MAP_VALUE v = 0;
    failed |= b_uintmapNext(&u, &k, &v) != sOKAY;
    std::fprintf(out,
                 "    a new key 3; Next from the cursor of all ones starts over: %" PRIu64
                 "=%" PRIu64 "\n",
                 k, v);
    b_uintmapTerm(&u);
    return failed;
}

int zb_demo_map_mapa(FILE *out, B_TAG_SUB sub) {
    B_MAPA_T a;
    b_mapaInit(&a, nullptr, nullptr, sub);
    int failed = 0;
    for (B_MAP_KEY k : {30, 10, 20, 40}) failed |= b_mapaSet(&a, k, k + 1) != sOKAY;
    B_MAPA_POS pos{}, back{};
    B_MAP_KEY k = 25;
    B_MAP_VALUE v = 0;
    failed |= b_mapaFindOrNextEx(&a, &k, &v, &pos) != sOKAY;
    back = pos;
    std::fprintf(out, "  MAPA: find or next of 25 gives %" PRIu64 "; two positions held apart:", k);
    failed |= b_mapaNext(&a, &pos, &k, &v, &pos) != sOKAY;
    std::fprintf(out, " next %" PRIu64, k);
    failed |= b_mapaPrev(&a, &back, &k, &v, &back) != sOKAY;
    std::fprintf(out, ", prev %" PRIu64 "\n", k);
    b_mapaTerm(&a);
    return failed;
}

int zb_demo_map_locked(FILE *out, B_TAG_SUB sub) {
    B_MAP_T m;
    if (b_mapInit(&m, B_MAP_FLAG_MUTEX, nullptr, nullptr, sub) != sOKAY) return 1;
    int failed = 0;
    for (B_MAP_KEY k = 1; k <= 8; ++k) failed |= b_mapSet(&m, k * 100, k) != sOKAY;
    std::fprintf(out, "  MAP with its lock, a walk deleting the even keys as it goes:");
    B_MAP_KEY k = 0;
    for (ZEL_RETCODE rc = b_mapFirst(&m, &k, nullptr); rc == sOKAY;
         rc = b_mapNext(&m, &k, nullptr)) {
        std::fprintf(out, " %" PRIu64, k);
        if (k % 200 == 0) failed |= b_mapDelete(&m, k, nullptr) != sOKAY;
    }
    uint32_t n = 0;
    failed |= b_mapCount(&m, &n) != sOKAY;
    std::fprintf(out, "; %" PRIu32 " left\n", n);
    b_mapTerm(&m);
    return failed;
}

}  // namespace

int zb_demo_map(FILE *out) {
    std::fprintf(out, "`zelbase map 1 63 64 130=7` (MAPB):\n");
    int failed = zb_map_show(out, "mapb", 0, {{1, 1}, {63, 63}, {64, 64}, {130, 7}});
    std::fprintf(out, "`zelbase map --kind uintmap --array-size 3 0 4 5 1000`:\n");
    failed |= zb_map_show(out, "uintmap", 3, {{0, 0}, {4, 4}, {5, 5}, {1000, 1000}});
    const ZbTags tags;
    if (!tags.ok()) return 1;
    failed |= zb_demo_map_steps(out, tags.sub);
    failed |= zb_demo_map_uint(out, tags.sub);
    failed |= zb_demo_map_mapa(out, tags.sub);
    failed |= zb_demo_map_locked(out, tags.sub);
    return failed;
}
