// R-tree against boost's rtree (quadratic<32,10>, the nearest design: 32
// entries a node, a split of the same kind) and against brute force: 1M
// random 2-D boxes inserted one by one, windows of about 20 results, and the
// 10 nearest boxes to random points. Times per query for the searches.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#ifdef ZELBASE_HAVE_BOOST_RTREE
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#endif

#include "rtree.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

constexpr size_t kBoxes = 1000000;
constexpr int32_t kSpace = 1000000;

struct Data {
    std::vector<int32_t> boxes;    // lows then highs, 4 per box
    std::vector<int32_t> windows;  // likewise
    std::vector<int32_t> points;   // 2 per point
    Data() : boxes(4 * kBoxes), windows(4 * 10000), points(2 * 10000) {
        std::mt19937 rng(7);
        for (size_t i = 0; i < kBoxes; ++i) {
            const int32_t x = int32_t(rng() % kSpace), y = int32_t(rng() % kSpace);
            boxes[4 * i] = x;
            boxes[4 * i + 1] = y;
            boxes[4 * i + 2] = x + int32_t(rng() % 1000);
            boxes[4 * i + 3] = y + int32_t(rng() % 1000);
        }
        for (size_t i = 0; i < 10000; ++i) {
            const int32_t x = int32_t(rng() % kSpace), y = int32_t(rng() % kSpace);
            windows[4 * i] = x;
            windows[4 * i + 1] = y;
            windows[4 * i + 2] = x + 3000;
            windows[4 * i + 3] = y + 3000;
            // Points within 46340 of their neighbours: the 32-bit squares do not wrap.
            points[2 * i] = x;
            points[2 * i + 1] = y;
        }
    }
};

const Data &data() {
    static const Data d;
    return d;
}

struct Tree {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    B_RTREE_T rt{};
    Tree() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
            b_tag_subCreate(master, &sub) != sOKAY || b_rtInit(&rt, 0, 2, nullptr, sub) != sOKAY)
            std::abort();
    }
    void fill() {
        std::vector<int32_t> &b = const_cast<std::vector<int32_t> &>(data().boxes);
        for (size_t i = 0; i < kBoxes; ++i) {
            const B_RTREE_VAL v{i, &b[4 * i]};
            if (b_rtAdd(&rt, &v) != sOKAY) std::abort();
        }
    }
    ~Tree() {
        b_rtTerm(&rt);
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
};

Tree &filled() {
    static Tree *t = [] {
        auto *x = new Tree;
        x->fill();
        return x;
    }();
    return *t;
}

void BM_ZelInsert(benchmark::State &state) {
    for (auto _ : state) {
        Tree t;
        t.fill();
        benchmark::DoNotOptimize(t.rt.count);
    }
    state.SetItemsProcessed(int64_t(state.iterations() * kBoxes));
}
BENCHMARK(BM_ZelInsert)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_ZelWindow(benchmark::State &state) {
    Tree &t = filled();
    std::vector<int32_t> w = data().windows;
    int32_t room[4];
    size_t i = 0, found = 0;
    for (auto _ : state) {
        const ZEL_SPATIAL_CRITERIA c{{0, &w[4 * (i++ % 10000)]}, ZEL_OVERLAP, ZEL_FALSE};
        B_RTREE_VAL v{0, room};
        for (ZEL_RETCODE rc = b_rtFirstCriteria(&t.rt, &c, &v); rc == sOKAY;
             rc = b_rtNextCriteria(&t.rt, &c, &v))
            ++found;
    }
    state.counters["results"] = double(found) / double(state.iterations());
}
BENCHMARK(BM_ZelWindow);

void BM_ZelKnn10(benchmark::State &state) {
    Tree &t = filled();
    const std::vector<int32_t> &p = data().points;
    int32_t room[10][4];
    B_RTREE_VAL out[10];
    for (int k = 0; k < 10; ++k) out[k] = {0, room[k]};
    size_t i = 0;
    for (auto _ : state) {
        const ZEL_KNN_CRITERIA kc{&p[2 * (i++ % 10000)], 10};
        uint32_t found = 0;
        if (b_rtFindNearestNeighbors(&t.rt, &kc, &found, out) != sOKAY) std::abort();
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(BM_ZelKnn10);

void BM_BruteWindow(benchmark::State &state) {
    const std::vector<int32_t> &b = data().boxes, &w = data().windows;
    size_t i = 0, found = 0;
    for (auto _ : state) {
        const int32_t *q = &w[4 * (i++ % 10000)];
        for (size_t k = 0; k < kBoxes; ++k) {
            const int32_t *x = &b[4 * k];
            found += x[0] <= q[2] && q[0] <= x[2] && x[1] <= q[3] && q[1] <= x[3];
        }
    }
    benchmark::DoNotOptimize(found);
}
BENCHMARK(BM_BruteWindow)->Unit(benchmark::kMicrosecond);

void BM_BruteKnn10(benchmark::State &state) {
    const std::vector<int32_t> &b = data().boxes, &p = data().points;
    std::vector<uint64_t> d(kBoxes);
    size_t i = 0;
    for (auto _ : state) {
        const int32_t *q = &p[2 * (i++ % 10000)];
        for (size_t k = 0; k < kBoxes; ++k) {
            const int32_t *x = &b[4 * k];
            const int64_t dx = q[0] < x[0] ? x[0] - q[0] : (q[0] > x[2] ? q[0] - x[2] : 0);
            const int64_t dy = q[1] < x[1] ? x[1] - q[1] : (q[1] > x[3] ? q[1] - x[3] : 0);
            d[k] = uint64_t(dx * dx + dy * dy);
        }
        std::nth_element(d.begin(), d.begin() + 9, d.end());
        benchmark::DoNotOptimize(d[9]);
    }
}
BENCHMARK(BM_BruteKnn10)->Unit(benchmark::kMicrosecond);

#ifdef ZELBASE_HAVE_BOOST_RTREE
namespace bg = boost::geometry;
namespace bgi = boost::geometry::index;
using BPoint = bg::model::point<int32_t, 2, bg::cs::cartesian>;
using BBox = bg::model::box<BPoint>;
using BValue = std::pair<BBox, uint64_t>;
using BTree = bgi::rtree<BValue, bgi::quadratic<32, 10>>;

BBox boxAt(const int32_t *x) {
    return BBox(BPoint(x[0], x[1]), BPoint(x[2], x[3]));
}

BTree &boostFilled() {
    static BTree *t = [] {
        auto *x = new BTree;
        for (size_t i = 0; i < kBoxes; ++i) x->insert({boxAt(&data().boxes[4 * i]), i});
        return x;
    }();
    return *t;
}

void BM_BoostInsert(benchmark::State &state) {
    for (auto _ : state) {
        BTree t;
        for (size_t i = 0; i < kBoxes; ++i) t.insert({boxAt(&data().boxes[4 * i]), i});
        benchmark::DoNotOptimize(t.size());
    }
    state.SetItemsProcessed(int64_t(state.iterations() * kBoxes));
}
BENCHMARK(BM_BoostInsert)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_BoostWindow(benchmark::State &state) {
    BTree &t = boostFilled();
    size_t i = 0, found = 0;
    for (auto _ : state) {
        const BBox q = boxAt(&data().windows[4 * (i++ % 10000)]);
        for (auto it = t.qbegin(bgi::intersects(q)); it != t.qend(); ++it) ++found;
    }
    state.counters["results"] = double(found) / double(state.iterations());
}
BENCHMARK(BM_BoostWindow);

void BM_BoostKnn10(benchmark::State &state) {
    BTree &t = boostFilled();
    std::vector<BValue> out;
    size_t i = 0;
    for (auto _ : state) {
        const int32_t *q = &data().points[2 * (i++ % 10000)];
        out.clear();
        t.query(bgi::nearest(BPoint(q[0], q[1]), 10), std::back_inserter(out));
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_BoostKnn10);
#endif

}  // namespace

BENCHMARK_MAIN();
