// The "Spatial index" section of `zelbase demo`: an R-tree of 2-D boxes
// splits its root at the 33rd box, answers a window and a nearest-neighbour
// query, shows the kept wrap of 32-bit squares, and reinserts the boxes of
// a node that a delete leaves with fewer than 10.
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "rtree.h"
#include "zelbase_cmds.h"

int zb_demo_rtree(FILE *out);

namespace {

int zb_demo_rtree_nearest(FILE *out, B_RTREE_T *rt, int32_t x, int32_t y, uint32_t k) {
    std::vector<B_RTREE_BOUNDARY> room(4 * k);
    std::vector<B_RTREE_VAL> res(k);
    for (uint32_t i = 0; i < k; ++i) res[i] = {0, &room[4 * i]};
    const int32_t p[2] = {x, y};
    const ZEL_KNN_CRITERIA kc{p, k};
    uint32_t found = 0;
    if (b_rtFindNearestNeighbors(rt, &kc, &found, res.data()) != sOKAY) return 1;
    std::fprintf(out, "  %u nearest to (%d,%d):", k, x, y);
    for (uint32_t i = 0; i < found; ++i) std::fprintf(out, " %" PRIu64, res[i].val);
    std::fprintf(out, "\n");
    return 0;
}

}  // namespace

int zb_demo_rtree(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_RTREE_T rt;
    if (b_rtInit(&rt, 0, 2, nullptr, tags.sub) != sOKAY) return 1;
    int failed = 0;
    // Boxes 10 x 10 on a grid of 8 columns, 20 apart; the value is the box's number.
    std::vector<B_RTREE_BOUNDARY> boxes;
    for (int32_t i = 0; i < 48; ++i) {
        const int32_t x = (i % 8) * 20, y = (i / 8) * 20;
        boxes.insert(boxes.end(), {x, y, x + 10, y + 10});
    }
    for (int32_t i = 0; i < 32; ++i) {
        const B_RTREE_VAL v{uint64_t(i), &boxes[4 * size_t(i)]};
        failed |= b_rtAdd(&rt, &v) != sOKAY;
    }
    std::fprintf(out,
                 "32 boxes fill the root leaf; the 33rd splits it by the widest separation,\n"
                 "each half keeping at least 10:\n");
    const B_RTREE_VAL v32{32, &boxes[4 * 32]};
    failed |= b_rtAdd(&rt, &v32) != sOKAY;
    failed |= zb_rtree_print(out, &rt, true);
    for (int32_t i = 33; i < 48; ++i) {
        const B_RTREE_VAL v{uint64_t(i), &boxes[4 * size_t(i)]};
        failed |= b_rtAdd(&rt, &v) != sOKAY;
    }
    B_RTREE_BOUNDARY window[4] = {15, 15, 45, 35}, room[4];
    const ZEL_SPATIAL_CRITERIA c{{0, window}, ZEL_OVERLAP, ZEL_FALSE};
    B_RTREE_VAL v{0, room};
    std::fprintf(out, "48 boxes; overlapping (15,15)-(45,35), first to last and back:");
    for (ZEL_RETCODE rc = b_rtFirstCriteria(&rt, &c, &v); rc == sOKAY;
         rc = b_rtNextCriteria(&rt, &c, &v))
        std::fprintf(out, " %" PRIu64, v.val);
    std::fprintf(out, " |");
    for (ZEL_RETCODE rc = b_rtLastCriteria(&rt, &c, &v); rc == sOKAY;
         rc = b_rtPrevCriteria(&rt, &c, &v))
        std::fprintf(out, " %" PRIu64, v.val);
    std::fprintf(out, "\n");
    failed |= zb_demo_rtree_nearest(out, &rt, 70, 70, 5);

    std::fprintf(out,
                 "deleting boxes 0 to 24: leaves falling under 10 branches give them back\n"
                 "for reinsertion, and the root gives way to its only child:\n");
    for (int32_t i = 0; i < 25; ++i) {
        const B_RTREE_VAL d{uint64_t(i), &boxes[4 * size_t(i)]};
        failed |= b_rtDelete(&rt, &d) != sOKAY;
    }
    failed |= zb_rtree_print(out, &rt, true);
    b_rtTerm(&rt);

    std::fprintf(out,
                 "distances are summed 32-bit squares, kept as they wrap: from (0,0) the\n"
                 "points at x = 1000, 46000, 70000, 50000 come back in this order:\n");
    if (b_rtInit(&rt, 0, 2, nullptr, tags.sub) != sOKAY) return 1;
    std::vector<B_RTREE_BOUNDARY> far;
    for (int32_t x : {1000, 46000, 70000, 50000}) far.insert(far.end(), {x, 0, x, 0});
    for (size_t i = 0; i < 4; ++i) {
        const B_RTREE_VAL p{uint64_t(far[4 * i]), &far[4 * i]};
        failed |= b_rtAdd(&rt, &p) != sOKAY;
    }
    failed |= zb_demo_rtree_nearest(out, &rt, 0, 0, 4);
    std::fprintf(out,
                 "  (70000^2 wraps to 605032704; 50000^2 to a negative square, sign-extended)\n");
    b_rtTerm(&rt);
    return failed;
}
