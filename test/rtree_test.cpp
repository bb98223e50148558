// R-tree tests: random operations against a brute-force list of boxes, the
// tree validated after every step; the cursor both ways; nearest neighbours
// as distance multisets; the kept wrap of 32-bit squares; allocation
// failures at every point of a whole life of a tree.
#include "rtree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <tuple>
#include <vector>

#include "oom.h"
#include "tag_fixture.h"

namespace {

struct Box {
    std::vector<int32_t> b;  // lows then highs
    uint64_t val;
    bool operator<(const Box &o) const { return std::tie(b, val) < std::tie(o.b, o.val); }
    bool operator==(const Box &o) const { return b == o.b && val == o.val; }
};

B_RTREE_VAL valOf(Box &x) {
    return {x.val, x.b.data()};
}

bool overlaps(const std::vector<int32_t> &a, const std::vector<int32_t> &b, uint32_t d) {
    for (uint32_t i = 0; i < d; ++i)
        if (a[i] > b[d + i] || b[i] > a[d + i]) return false;
    return true;
}
bool contains(const std::vector<int32_t> &outer, const std::vector<int32_t> &c, uint32_t d) {
    for (uint32_t i = 0; i < d; ++i)
        if (c[i] < outer[i] || c[d + i] > outer[d + i]) return false;
    return true;
}
uint64_t distance(const std::vector<int32_t> &p, const std::vector<int32_t> &b, uint32_t d) {
    uint64_t s = 0;
    for (uint32_t i = 0; i < d; ++i) {
        int64_t diff = p[i] < b[i] ? b[i] - p[i] : (p[i] > b[d + i] ? p[i] - b[d + i] : 0);
        s += static_cast<uint64_t>(diff * diff);  // coordinates within +-20000: no wrap
    }
    return s;
}

Box randomBox(std::mt19937 &rng, uint32_t d, uint64_t val) {
    Box x{std::vector<int32_t>(2 * d), val};
    std::uniform_int_distribution<int32_t> pos(-20000, 19000), ext(0, 1000);
    for (uint32_t i = 0; i < d; ++i) {
        x.b[i] = pos(rng);
        x.b[d + i] = x.b[i] + (rng() % 4 == 0 ? 0 : ext(rng));
    }
    return x;
}

// Every box the cursor gives for `c`, First/Next or Last/Prev.
std::vector<Box> walk(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *c, bool reverse) {
    std::vector<Box> out;
    Box x{std::vector<int32_t>(2 * rt->dim), 0};
    B_RTREE_VAL v = valOf(x);
    ZEL_RETCODE rc = reverse ? b_rtLastCriteria(rt, c, &v) : b_rtFirstCriteria(rt, c, &v);
    while (rc == sOKAY) {
        x.val = v.val;
        out.push_back(x);
        rc = reverse ? b_rtPrevCriteria(rt, c, &v) : b_rtNextCriteria(rt, c, &v);
    }
    EXPECT_EQ(rc, sNOTFOUND);
    return out;
}

std::multiset<Box> asSet(const std::vector<Box> &v) {
    return {v.begin(), v.end()};
}

ZEL_RETCODE add(B_RTREE_T *rt, Box x) {
    B_RTREE_VAL v = valOf(x);
    return b_rtAdd(rt, &v);
}

// The k nearest boxes to `p`, their count in *found; nothing is written
// past the k asked for.
std::vector<Box> nearest(B_RTREE_T *rt, int32_t *p, uint32_t k, uint32_t *found) {
    std::vector<Box> res(k + 1, Box{std::vector<int32_t>(2 * rt->dim), 0});
    std::vector<B_RTREE_VAL> out;
    for (Box &x : res) out.push_back(valOf(x));
    out[k].val = 0xDEAD;
    ZEL_KNN_CRITERIA kc{p, k};
    EXPECT_EQ(b_rtFindNearestNeighbors(rt, &kc, found, out.data()), sOKAY);
    EXPECT_EQ(out[k].val, 0xDEADu);
    for (uint32_t i = 0; i < k; ++i) res[i].val = out[i].val;
    res.pop_back();
    return res;
}

// A tree of `dim` dimensions, terminated at the end.
class RtreeTest : public TaggedTest {
  protected:
    void init(uint32_t dim = 2) {
        ASSERT_EQ(b_rtInit(&rt, 0, dim, nullptr, sub), sOKAY);
        inited = true;
    }
    void TearDown() override {
        if (inited) b_rtTerm(&rt);
        TaggedTest::TearDown();
    }
    B_RTREE_T rt{};
    bool inited = false;
};

TEST_F(RtreeTest, RandomOperationsAgainstBruteForce) {
    for (uint32_t d : {2u, 3u}) {
        for (uint32_t seed = 1; seed <= 5; ++seed) {
            std::mt19937 rng(seed * 7919 + d);
            B_RTREE_T rt;
            ASSERT_EQ(b_rtInit(&rt, 0, d, nullptr, sub), sOKAY);
            std::vector<Box> model;
            for (int op = 0; op < 5000; ++op) {
                const uint32_t kind = rng() % 10;
                if (kind < 6 || model.empty()) {
                    Box x = randomBox(rng, d, rng() % 50);
                    B_RTREE_VAL v = valOf(x);
                    ASSERT_EQ(b_rtAdd(&rt, &v), sOKAY);
                    model.push_back(x);
                } else if (kind < 9) {
                    const size_t i = rng() % model.size();
                    B_RTREE_VAL v = valOf(model[i]);
                    ASSERT_EQ(b_rtDelete(&rt, &v), sOKAY);
                    model.erase(model.begin() + static_cast<long>(i));
                } else {
                    Box x = randomBox(rng, d, 1000);  // values above 999 are never stored
                    B_RTREE_VAL v = valOf(x);
                    ASSERT_EQ(b_rtDelete(&rt, &v), sNOTFOUND);
                }
                ASSERT_EQ(b_rtValidate(&rt), sOKAY) << "seed " << seed << " op " << op;
                if (op % 500 != 499) continue;
                uint64_t n = 0;
                ASSERT_EQ(b_rtCount(&rt, &n), sOKAY);
                ASSERT_EQ(n, model.size());
                Box q = randomBox(rng, d, 0);
                for (int i = 0; i < 2 * int(d); ++i) q.b[i] /= 2;  // near the middle
                for (ZEL_SPATIAL_CODE code : {ZEL_ALL, ZEL_OVERLAP, ZEL_CONTAINS}) {
                    ZEL_SPATIAL_CRITERIA c{valOf(q), code, ZEL_FALSE};
                    std::multiset<Box> want;
                    for (const Box &x : model) {
                        if (code == ZEL_ALL || (code == ZEL_OVERLAP && overlaps(x.b, q.b, d)) ||
                            (code == ZEL_CONTAINS && contains(x.b, q.b, d))) {
                            want.insert(x);
                        }
                    }
                    const std::vector<Box> fwd = walk(&rt, &c, false);
                    std::vector<Box> back = walk(&rt, &c, true);
                    ASSERT_EQ(asSet(fwd), want) << "code " << code;
                    std::reverse(back.begin(), back.end());
                    ASSERT_EQ(back, fwd) << "Last/Prev is First/Next reversed";
                }
                for (uint32_t k : {1u, 10u, 40u}) {
                    std::vector<int32_t> p(q.b.begin(), q.b.begin() + d);
                    uint32_t found = 99;
                    const std::vector<Box> res = nearest(&rt, p.data(), k, &found);
                    std::vector<uint64_t> all, got;
                    for (const Box &x : model) all.push_back(distance(p, x.b, d));
                    std::sort(all.begin(), all.end());
                    all.resize(std::min<size_t>(k, all.size()));
                    ASSERT_EQ(found, all.size());
                    for (uint32_t i = 0; i < found; ++i) got.push_back(distance(p, res[i].b, d));
                    ASSERT_EQ(got, all) << "nearest first, the same distances";
                }
            }
            b_rtTerm(&rt);
        }
    }
}

TEST_F(RtreeTest, CursorTurnsBackAndInvalidates) {
    init();
    std::vector<Box> boxes;
    std::mt19937 rng(5);
    for (uint64_t i = 0; i < 200; ++i) {
        boxes.push_back(randomBox(rng, 2, i));
        ASSERT_EQ(add(&rt, boxes.back()), sOKAY);
    }
    const std::vector<Box> order = walk(&rt, nullptr, false);
    ASSERT_EQ(order.size(), 200u);
    Box x{std::vector<int32_t>(4), 0};
    B_RTREE_VAL v = valOf(x);
    ASSERT_EQ(b_rtFirstCriteria(&rt, nullptr, &v), sOKAY);
    for (int i = 1; i <= 100; ++i) ASSERT_EQ(b_rtNextCriteria(&rt, nullptr, &v), sOKAY);
    EXPECT_EQ(v.val, order[100].val);
    ASSERT_EQ(b_rtPrevCriteria(&rt, nullptr, &v), sOKAY);
    EXPECT_EQ(v.val, order[99].val);
    ASSERT_EQ(b_rtNextCriteria(&rt, nullptr, &v), sOKAY);
    EXPECT_EQ(v.val, order[100].val);
    // Past the end the cursor waits there; a step back gives the last box.
    while (b_rtNextCriteria(&rt, nullptr, &v) == sOKAY) {
    }
    EXPECT_EQ(b_rtNextCriteria(&rt, nullptr, &v), sNOTFOUND);
    ASSERT_EQ(b_rtPrevCriteria(&rt, nullptr, &v), sOKAY);
    EXPECT_EQ(v.val, order.back().val);
    // An add invalidates the cursor.
    ASSERT_EQ(add(&rt, boxes[0]), sOKAY);
    EXPECT_EQ(b_rtNextCriteria(&rt, nullptr, &v), sNOTFOUND);
    EXPECT_EQ(b_rtPrevCriteria(&rt, nullptr, &v), sNOTFOUND);
}

TEST_F(RtreeTest, EmptyOneBoxAndArguments) {
    EXPECT_EQ(b_rtInit(&rt, 0, 0, nullptr, sub), eINVARG);
    EXPECT_EQ(b_rtInit(&rt, 0, 21, nullptr, sub), eINVARG);
    EXPECT_EQ(b_rtInit(nullptr, 0, 2, nullptr, sub), eINVNULLARG);
    init();
    Box x{{1, 2, 3, 4}, 7};
    B_RTREE_VAL v = valOf(x);
    Box out{std::vector<int32_t>(4), 0};
    B_RTREE_VAL o = valOf(out);
    EXPECT_EQ(b_rtFirstCriteria(&rt, nullptr, &o), sNOTFOUND);
    EXPECT_EQ(b_rtLastCriteria(&rt, nullptr, &o), sNOTFOUND);
    int32_t p[2] = {0, 0};
    ZEL_KNN_CRITERIA kc{p, 3};
    B_RTREE_VAL three[3] = {o, o, o};
    uint32_t found = 9;
    EXPECT_EQ(b_rtFindNearestNeighbors(&rt, &kc, &found, three), sOKAY);
    EXPECT_EQ(found, 0u);
    EXPECT_EQ(b_rtFindNearestNeighbors(&rt, nullptr, &found, three), eINVNULLARG);
    three[2].boundary = nullptr;
    EXPECT_EQ(b_rtFindNearestNeighbors(&rt, &kc, &found, three), eINVNULLARG);

    ASSERT_EQ(b_rtAdd(&rt, &v), sOKAY);
    Box twin{{1, 2, 3, 4}, 8}, other{{1, 2, 3, 4}, 9};  // same box, another value: distinct
    B_RTREE_VAL t = valOf(twin), w = valOf(other);
    ASSERT_EQ(b_rtAdd(&rt, &t), sOKAY);
    EXPECT_EQ(b_rtDelete(&rt, &w), sNOTFOUND);
    EXPECT_EQ(b_rtDelete(&rt, &t), sOKAY);
    kc.numNeighbors = 0;  // nothing asked: nothing found
    found = 9;
    EXPECT_EQ(b_rtFindNearestNeighbors(&rt, &kc, &found, &o), sOKAY);
    EXPECT_EQ(found, 0u);
    EXPECT_EQ(b_rtDelete(&rt, &v), sOKAY);
    uint64_t n = 1;
    EXPECT_EQ(b_rtCount(&rt, &n), sOKAY);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(rt.root->used, 0u);
    EXPECT_EQ(b_rtValidate(&rt), sOKAY);

    // A low above its high could never be deleted.
    EXPECT_EQ(add(&rt, Box{{5, 0, 4, 1}, 1}), eINVARG);
    EXPECT_EQ(b_rtAdd(&rt, nullptr), eINVNULLARG);
    EXPECT_EQ(b_rtDelete(nullptr, &v), eINVNULLARG);
    EXPECT_EQ(b_rtCount(&rt, nullptr), eINVNULLARG);
    EXPECT_EQ(b_rtValidate(nullptr), eINVNULLARG);
}

TEST_F(RtreeTest, ValidateReportsABrokenCoverage) {
    init();
    std::mt19937 rng(3);
    for (uint64_t i = 0; i < 40; ++i) ASSERT_EQ(add(&rt, randomBox(rng, 2, i)), sOKAY);
    ASSERT_GT(rt.root->level, 0);
    rt.root->boundary[0]--;  // branch 0's low no longer its child's coverage
    EXPECT_EQ(b_rtValidate(&rt), eINVVARINT);
    rt.root->boundary[0]++;
    rt.count++;
    EXPECT_EQ(b_rtValidate(&rt), eINVVARINT);
    rt.count--;
    EXPECT_EQ(b_rtValidate(&rt), sOKAY);
}

TEST_F(RtreeTest, SplitOf33GivesTwoNodesOfAtLeastTen) {
    init();
    for (int32_t i = 0; i < 33; ++i) {
        ASSERT_EQ(add(&rt, Box{{i * 10, 0, i * 10 + 5, 5}, uint64_t(i)}), sOKAY);
        EXPECT_EQ(rt.root->level, i < 32 ? 0 : 1);
    }
    ASSERT_EQ(rt.root->used, 2u);
    EXPECT_GE(rt.root->children[0]->used, 10u);
    EXPECT_GE(rt.root->children[1]->used, 10u);
    EXPECT_EQ(rt.root->children[0]->used + rt.root->children[1]->used, 33u);
    // Separation along x: the box with the least high seeds group 0, which
    // stays in the node that split.
    EXPECT_EQ(rt.root->children[0]->boundary[0], 0);
    EXPECT_EQ(b_rtValidate(&rt), sOKAY);
}

TEST(RtreeConstants, UnitSphereVolumes) {
    EXPECT_EQ(UnitSphereVolumes[0], 0.0);
    EXPECT_EQ(UnitSphereVolumes[1], 2.0);
    EXPECT_DOUBLE_EQ(UnitSphereVolumes[2], 3.14159265358979323846);
    EXPECT_NEAR(UnitSphereVolumes[3], 4.18879, 1e-5);
    EXPECT_NEAR(UnitSphereVolumes[5], 5.26379, 1e-5);     // 8 pi^2 / 15
    EXPECT_NEAR(UnitSphereVolumes[20], 0.0258069, 1e-7);  // pi^10 / 10!
}

// Squares are taken in 32 bits and sign-extended: from (0,0), 70000^2 wraps to
// 605032704 and 50000^2 to a negative square, which the 64-bit sum makes huge:
// 1000 (1e6) < 70000 (605032704) < 46000 (2116000000) < 50000.
TEST_F(RtreeTest, KeptWrapOfThe32BitSquares) {
    init();
    for (int32_t x : {1000, 46000, 70000, 50000})
        ASSERT_EQ(add(&rt, Box{{x, 0, x, 0}, uint64_t(x)}), sOKAY);
    int32_t origin[2] = {0, 0};
    uint32_t found = 0;
    std::vector<Box> res = nearest(&rt, origin, 4, &found);
    ASSERT_EQ(found, 4u);
    std::vector<uint64_t> vals;
    for (const Box &b : res) vals.push_back(b.val);
    EXPECT_EQ(vals, (std::vector<uint64_t>{1000, 70000, 46000, 50000}));
    res = nearest(&rt, origin, 2, &found);  // at most numNeighbors written
    EXPECT_EQ(found, 2u);
}

// A whole life under every failing allocation: init, adds with splits,
// searches, nearest neighbours, deletes with reinsertion, term. A failed
// add or delete leaves the tree sound and as it was.
TEST_F(RtreeTest, EveryAllocationFailing) {
    std::mt19937 rng(11);
    std::vector<Box> boxes;
    for (uint64_t i = 0; i < 400; ++i) boxes.push_back(randomBox(rng, 2, i));
    const int runs = oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        B_RTREE_T rt;
        ZEL_RETCODE rc = b_rtInit(&rt, 0, 2, nullptr, sub);
        if (rc != sOKAY) return rc;
        std::vector<Box> in;
        auto fail = [&](ZEL_RETCODE r) {
            uint64_t n = 0;
            EXPECT_EQ(b_rtValidate(&rt), sOKAY);
            EXPECT_EQ(b_rtCount(&rt, &n), sOKAY);
            EXPECT_EQ(n, in.size());
            EXPECT_EQ(asSet(walk(&rt, nullptr, false)), asSet(in));
            b_rtTerm(&rt);
            return r;
        };
        for (Box &x : boxes) {
            if ((rc = add(&rt, x)) != sOKAY) return fail(rc);
            in.push_back(x);
        }
        Box q{{-5000, -5000, 5000, 5000}, 0};
        ZEL_SPATIAL_CRITERIA c{valOf(q), ZEL_OVERLAP, ZEL_FALSE};
        Box o{std::vector<int32_t>(4), 0};
        B_RTREE_VAL ov = valOf(o);
        rc = b_rtFirstCriteria(&rt, &c, &ov);
        if (rc < 0) return fail(rc);
        std::vector<Box> res(20, Box{std::vector<int32_t>(4), 0});
        std::vector<B_RTREE_VAL> out;
        for (Box &x : res) out.push_back(valOf(x));
        int32_t p[2] = {0, 0};
        ZEL_KNN_CRITERIA kc{p, 20};
        uint32_t found = 77;
        if ((rc = b_rtFindNearestNeighbors(&rt, &kc, &found, out.data())) != sOKAY) {
            EXPECT_EQ(found, 77u);
            return fail(rc);
        }
        for (size_t i = 0; i < boxes.size(); i += 2) {
            B_RTREE_VAL v = valOf(boxes[i]);
            if ((rc = b_rtDelete(&rt, &v)) != sOKAY) return fail(rc);
            in.erase(std::find(in.begin(), in.end(), boxes[i]));
        }
        return fail(sOKAY);
    });
    EXPECT_GT(runs, 10);
}

}  // namespace
