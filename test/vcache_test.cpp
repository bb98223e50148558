// Versioned cache: random operations against the model of vcache_model.h
// (chains of (mark, payload), the mark stack, the age list, the counts, the
// commit order against a sort, the re-entrance of fullfcn), the edge cases one
// by one, the deliberate oddities that stay, the guards against hangs and
// dangling pointers, and out of memory at every allocation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "oom.h"
#include "tag_fixture.h"
#include "vcache.h"
#include "vcache_model.h"

namespace {

// ---------------------------------------------------------------- the model

class VcacheModel : public TaggedTest {};

// 5 seeds of 10,000 random operations, the whole cache compared after each.
TEST_F(VcacheModel, RandomOperations) {
    const uint32_t limits[5] = {24, 24, 12, 40, 1};
    for (uint32_t seed = 1; seed <= 5; ++seed) {
        VcHarness h(sub, limits[seed - 1]);
        ASSERT_EQ(h.initCode(), sOKAY);
        std::mt19937 rng(seed);
        for (int i = 0; i < 10000; ++i) {
            const uint32_t r = rng();
            const std::string failure =
                h.step(static_cast<uint8_t>(r), static_cast<uint8_t>(r >> 8),
                       static_cast<uint8_t>(r >> 16), static_cast<uint8_t>(r >> 24));
            ASSERT_EQ(failure, "") << "seed " << seed << ", operation " << i;
        }
        EXPECT_EQ(h.term(), 0) << "objects left alive, seed " << seed;
    }
}

// ---------------------------------------------------------------- a small cache

struct Counts {
    int live = 0;
    int full = 0;
    int failConvertAt = 0, converts = 0;
    std::vector<std::pair<const void *, uint64_t>> committed;
    std::vector<const void *> visibleAsked;
};

ZEL_RETCODE cstrU64(void *obj, const void *src, const void *ctx) {
    *static_cast<uint64_t *>(obj) = src != nullptr ? *static_cast<const uint64_t *>(src) : 0;
    const_cast<Counts *>(static_cast<const Counts *>(ctx))->live++;
    return sOKAY;
}
void dstrU64(void *, const void *ctx) {
    const_cast<Counts *>(static_cast<const Counts *>(ctx))->live--;
}
ZEL_RETCODE fullCount(uint32_t, const void *ctx) {
    const_cast<Counts *>(static_cast<const Counts *>(ctx))->full++;
    return sOKAY;
}
ZEL_RETCODE commitRecord(const void *di, uint64_t id, void *, const void *ctx) {
    const_cast<Counts *>(static_cast<const Counts *>(ctx))->committed.emplace_back(di, id);
    return sOKAY;
}

class Vcache : public TaggedTest {
  protected:
    void make(uint32_t max_entries) {
        ASSERT_EQ(b_vcacheInit(&c, max_entries, sizeof(uint64_t), cstrU64, dstrU64, nullptr,
                               fullCount, commitRecord, &n, sub),
                  sOKAY);
        ASSERT_EQ(b_vcacheAddSubcache(&c, &dA, &A), sOKAY);
        ASSERT_EQ(b_vcacheAddSubcache(&c, &dB, &B), sOKAY);
    }
    void TearDown() override {
        if (c.subTag != nullptr) b_vcacheTerm(&c);
        EXPECT_EQ(n.live, 0) << "objects left alive";
        TaggedTest::TearDown();
    }
    // Held entry `id`, its object in *obj.
    B_VCACHE_ITEM_HANDLE get(B_VSUBCACHE_T *s, uint64_t id, bool w, uint64_t **obj,
                             ZEL_RETCODE want = sOKAY) {
        B_VCACHE_ITEM_HANDLE h = nullptr;
        EXPECT_EQ(b_vcacheFindVersion(s, id, w ? ZEL_TRUE : ZEL_FALSE, 0, nullptr, obj, &h), want)
            << "id " << id;
        return h;
    }
    B_VCACHE_ITEM_HANDLE add(B_VSUBCACHE_T *s, uint64_t id, bool w, uint64_t **obj) {
        B_VCACHE_ITEM_HANDLE h = nullptr;
        EXPECT_EQ(b_vcacheAdd(s, id, w ? ZEL_TRUE : ZEL_FALSE, obj, &h), sOKAY) << "id " << id;
        return h;
    }
    // Adds id with payload p, written and released: modified 2.
    void written(B_VSUBCACHE_T *s, uint64_t id, uint64_t p) {
        uint64_t *o = nullptr;
        B_VCACHE_ITEM_HANDLE h = add(s, id, true, &o);
        *o = p;
        ASSERT_EQ(b_vcacheWrite(h), sOKAY);
    }
    // Finds id for writing, sets p, writes.
    void rewrite(B_VSUBCACHE_T *s, uint64_t id, uint64_t p) {
        uint64_t *o = nullptr;
        B_VCACHE_ITEM_HANDLE h = get(s, id, true, &o);
        ASSERT_NE(h, nullptr);
        *o = p;
        ASSERT_EQ(b_vcacheWrite(h), sOKAY);
    }
    uint64_t payload(B_VSUBCACHE_T *s, uint64_t id) {
        uint64_t *o = nullptr;
        B_VCACHE_ITEM_HANDLE h = get(s, id, false, &o);
        const uint64_t p = h != nullptr ? *o : ~uint64_t{0};
        b_vcacheRelease(h);
        return p;
    }
    bool present(B_VSUBCACHE_T *s, uint64_t id) {
        B_VCACHE_ENTRY_T key{};
        key.id = id;
        return b_btFind(&s->btree, &key) != nullptr;
    }

    Counts n;
    B_VCACHE_T c{};
    ZEL_DRAWER_INFO dA{ZEL_DRAWER_TABLE, ZEL_FALSE}, dB{ZEL_DRAWER_BTREE, ZEL_FALSE};
    B_VSUBCACHE_T A{}, B{};
    int a = 1, b = 2;  // mark names
};

// ---------------------------------------------------------------- edge cases

// Two images under one target become one; the object a holder of the newer
// image has stays valid, with the newer contents.
TEST_F(Vcache, ReleaseMarkFoldsTwoImagesIntoOne) {
    make(10);
    written(&A, 7, 11);
    ASSERT_EQ(b_vcacheSetMark(&c, &a), sOKAY);
    uint64_t *o = nullptr;
    B_VCACHE_ITEM_HANDLE h = get(&A, 7, true, &o);
    *o = 22;
    ASSERT_EQ(b_vcacheReleaseMark(&c, &a), sOKAY);
    EXPECT_EQ(h->curr_version->obj, o);
    EXPECT_EQ(h->curr_version->older, nullptr);
    EXPECT_EQ(h->curr_version->mark, &c.default_mark);
    EXPECT_EQ(*o, 22u);
    EXPECT_EQ(c.curr_mark, &c.default_mark);
    EXPECT_EQ(n.live, 1);
    ASSERT_EQ(b_vcacheWrite(h), sOKAY);
}

TEST_F(Vcache, CommitLeavesAHeldEntryModifiedAndFoldsTheMarks) {
    make(10);
    written(&A, 1, 1);
    ASSERT_EQ(b_vcacheSetMark(&c, &a), sOKAY);
    uint64_t *o = nullptr;
    B_VCACHE_ITEM_HANDLE h = add(&A, 2, true, &o);
    *o = 2;
    ASSERT_EQ(b_vcacheCommit(B_VCACHE_FORWARD, &c), sOKAY);
    ASSERT_EQ(n.committed.size(), 1u);
    EXPECT_EQ(b_vcacheGetModifiedCount(&c), 1u);
    EXPECT_EQ(c.curr_mark, &c.default_mark);
    EXPECT_EQ(h->curr_version->mark, &c.default_mark);  // not the freed mark
    // Released and committed again, under ASan in that preset.
    ASSERT_EQ(b_vcacheWrite(h), sOKAY);
    ASSERT_EQ(b_vcacheCommit(B_VCACHE_FORWARD, &c), sOKAY);
    ASSERT_EQ(n.committed.size(), 2u);
    EXPECT_EQ(n.committed[1].second, 2u);
    EXPECT_EQ(payload(&A, 2), 2u);
    EXPECT_EQ(b_vcacheGetModifiedCount(&c) + c.num_modified, 0u);
}

TEST_F(Vcache, LimitsOfOneAndOfZero) {
    make(1);
    uint64_t *o = nullptr;
    b_vcacheRelease(add(&A, 1, false, &o));
    b_vcacheRelease(add(&A, 2, false, &o));  // evicts 1
    EXPECT_EQ(n.full, 0);
    B_VCACHE_ITEM_HANDLE h = add(&A, 3, false, &o);
    b_vcacheRelease(add(&A, 4, false, &o));  // 1 held: 100 > 80
    EXPECT_EQ(n.full, 1);
    b_vcacheRelease(h);
    EXPECT_EQ(c.num_entries, 2u);  // a target, not a bound
    b_vcacheTerm(&c);
    make(0);
    EXPECT_EQ(c.max_entries, 1000u);
}

// ---------------------------------------------------------------- commit

TEST_F(Vcache, CommitOrderAndAddListBothWays) {
    make(20);
    ZEL_DRAWER_INFO dR{ZEL_DRAWER_RTREE, ZEL_FALSE};
    B_VSUBCACHE_T R{};
    ASSERT_EQ(b_vcacheAddSubcache(&c, &dR, &R), sOKAY);
    for (uint64_t id : {5, 1, 3}) {
        written(&A, id, id);
        written(&B, id, id);
        written(&R, id, id);
    }
    ASSERT_EQ(b_vcacheCommit(B_VCACHE_BACKWARD, &c), sOKAY);
    // Backwards: B-tree drawer (0) first, then table (4), then R-tree (5).
    const std::vector<std::pair<const void *, uint64_t>> want = {
        {&dB, 5}, {&dB, 3}, {&dB, 1}, {&dA, 5}, {&dA, 3}, {&dA, 1}, {&dR, 5}, {&dR, 3}, {&dR, 1}};
    EXPECT_EQ(n.committed, want);
    EXPECT_TRUE(dA.add_list && dB.add_list && dR.add_list);
    // Kept: committed entries go to the old end, the last committed oldest.
    EXPECT_EQ(c.oldest->subcache, &R);
    EXPECT_EQ(c.oldest->id, 1u);
    b_vcacheRemoveSubcache(&c, &R);
    EXPECT_EQ(R.cache, nullptr);
    EXPECT_EQ(c.num_entries, 6u);
}

// A drawer whose type changes under modified entries breaks the order; past a
// held entry the commit's delete then misses, and the commit ends.
TEST_F(Vcache, CommitEndsWithASystemErrorWhenTheOrderBroke) {
    make(20);
    uint64_t *o = nullptr;
    B_VCACHE_ITEM_HANDLE held[3];
    for (uint64_t id = 1; id <= 3; ++id) held[id - 1] = add(&A, id, true, &o);  // first in order
    written(&B, 1, 1);
    dB.drawerType = ZEL_DRAWER_RTREE;
    EXPECT_EQ(b_vcacheCommit(B_VCACHE_FORWARD, &c), eSYS_ERROR);
    dB.drawerType = ZEL_DRAWER_BTREE;
    for (B_VCACHE_ITEM_HANDLE h : held) ASSERT_EQ(b_vcacheWrite(h), sOKAY);
    // Nothing held in front: every entry leaves from the end, order or not.
    dA.drawerType = ZEL_DRAWER_BTREE;
    EXPECT_EQ(b_vcacheCommit(B_VCACHE_FORWARD, &c), sOKAY);
    EXPECT_EQ(b_vcacheGetModifiedCount(&c), 0u);
}

// An entry in btModified whose image has no mark would be found at every
// restart; the commit steps over it. Made by hand: no call leaves one.
TEST_F(Vcache, CommitStepsOverAModifiedImageWithoutAMark) {
    make(20);
    written(&A, 1, 1);
    written(&A, 2, 2);
    uint64_t *o = nullptr;
    B_VCACHE_ITEM_HANDLE h = get(&A, 1, false, &o);
    B_VCACHE_VERSION_T *v = h->curr_version;
    (v->prev_in_mark != nullptr ? v->prev_in_mark->next_in_mark : c.default_mark.versions) =
        v->next_in_mark;
    if (v->next_in_mark != nullptr) v->next_in_mark->prev_in_mark = v->prev_in_mark;
    v->mark = nullptr;
    v->prev_in_mark = nullptr;
    v->next_in_mark = nullptr;
    b_vcacheRelease(h);
    EXPECT_EQ(b_vcacheCommit(B_VCACHE_FORWARD, &c), sOKAY);
    ASSERT_EQ(n.committed.size(), 1u);
    EXPECT_EQ(n.committed[0].second, 2u);
    EXPECT_EQ(b_vcacheGetModifiedCount(&c), 1u);
}

// ---------------------------------------------------------------- holds and marks

// An unconfirmed entry with an older image: every image goes, none is left
// pointing at the freed entry.
TEST_F(Vcache, ReleaseOfAnUnconfirmedEntryDiscardsEveryImage) {
    make(10);
    uint64_t *o = nullptr;
    B_VCACHE_ITEM_HANDLE h1 = add(&A, 7, true, &o);
    ASSERT_EQ(b_vcacheSetMark(&c, &a), sOKAY);
    B_VCACHE_ITEM_HANDLE h2 = get(&A, 7, true, &o);
    EXPECT_EQ(h2->curr_version->older->mark, &c.default_mark);
    b_vcacheRelease(h1);
    b_vcacheRelease(h2);
    EXPECT_FALSE(present(&A, 7));
    EXPECT_EQ(n.live, 0);
    EXPECT_EQ(c.default_mark.versions, nullptr);
    EXPECT_EQ(c.curr_mark->versions, nullptr);
    EXPECT_EQ(b_vcacheRollback(&c, nullptr), sOKAY);
}

TEST_F(Vcache, MarkNamesMustNotBeNull) {
    make(10);
    ASSERT_EQ(b_vcacheSetMark(&c, &a), sOKAY);
    EXPECT_EQ(b_vcacheUpdateMarkCtx(&c, nullptr, &b), eINVNULLARG);
    EXPECT_EQ(b_vcacheUpdateMarkCtx(&c, &a, nullptr), eINVNULLARG);
    EXPECT_EQ(b_vcacheReleaseMark(&c, nullptr), eINVNULLARG);
    EXPECT_EQ(b_vcacheSetMark(&c, nullptr), eINVNULLARG);
    EXPECT_EQ(c.default_mark.markCtx, nullptr);
    EXPECT_EQ(b_vcacheUpdateMarkCtx(&c, &b, &a), sOKAY);  // not found
    EXPECT_EQ(b_vcacheReleaseMark(&c, &b), sOKAY);
    EXPECT_EQ(b_vcacheUpdateMarkCtx(&c, &a, &b), sOKAY);
    EXPECT_EQ(c.curr_mark->markCtx, &b);
}

// An image under no mark is never visible to a version find, and the
// visibility function is never asked about one.
TEST_F(Vcache, FindVersionSeesMarkedImagesOnly) {
    make(10);
    static Counts *seen;
    seen = &n;
    auto vis = [](const void *ctx, uint64_t version) {
        seen->visibleAsked.push_back(ctx);
        return ctx != nullptr && *static_cast<const int *>(ctx) <= static_cast<int>(version)
                   ? ZEL_TRUE
                   : ZEL_FALSE;
    };
    uint64_t *o = nullptr;
    b_vcacheRelease(add(&A, 7, false, &o));
    B_VCACHE_ITEM_HANDLE h = nullptr;
    EXPECT_EQ(b_vcacheFindVersion(&A, 7, ZEL_FALSE, 5, vis, &o, &h), sNOTFOUND);
    EXPECT_TRUE(n.visibleAsked.empty());
    // Images under a (1), b (2), a again (1): visible at 1 are the newest
    // and, the run broken by b, not the oldest.
    ASSERT_EQ(b_vcacheSetMark(&c, &a), sOKAY);
    rewrite(&A, 7, 10);
    ASSERT_EQ(b_vcacheSetMark(&c, &b), sOKAY);
    rewrite(&A, 7, 20);
    int a2 = 1;
    ASSERT_EQ(b_vcacheSetMark(&c, &a2), sOKAY);
    rewrite(&A, 7, 30);
    ASSERT_EQ(b_vcacheFindVersion(&A, 7, ZEL_FALSE, 1, vis, &o, &h), sOKAY);
    EXPECT_EQ(*o, 30u);
    b_vcacheRelease(h);
    ASSERT_EQ(b_vcacheFindVersion(&A, 7, ZEL_FALSE, 2, vis, &o, &h), sOKAY);
    EXPECT_EQ(*o, 10u);
    b_vcacheRelease(h);
    // For writing, the image found is handed back, not the copy made for
    // the new mark.
    int a3 = 3;
    ASSERT_EQ(b_vcacheSetMark(&c, &a3), sOKAY);
    ASSERT_EQ(b_vcacheFindVersion(&A, 7, ZEL_TRUE, 2, vis, &o, &h), sOKAY);
    EXPECT_EQ(*o, 10u);
    EXPECT_EQ(*static_cast<uint64_t *>(h->curr_version->obj), 30u);
    ASSERT_EQ(b_vcacheWrite(h), sOKAY);
}

TEST_F(Vcache, HoldsStopAtTheirCountersLimit) {
    make(10);
    uint64_t *o = nullptr;
    B_VCACHE_ITEM_HANDLE h = add(&A, 1, false, &o);
    h->hold_count = INT16_MAX;
    B_VCACHE_ITEM_HANDLE h2 = nullptr;
    EXPECT_EQ(b_vcacheFindVersion(&A, 1, ZEL_FALSE, 0, nullptr, &o, &h2), eRANGE);
    h->hold_count = 1;
    b_vcacheRelease(h);
    b_vcacheRelease(h);  // no hold: ignored
    EXPECT_EQ(b_vcacheWrite(h), eINVARG);
    EXPECT_EQ(c.num_held, 0u);
}

// ---------------------------------------------------------------- kept on purpose

TEST_F(Vcache, LimitTestsAreUnsigned32Bit) {
    make(2);
    // (held + modified) * 100 wraps to 4: no fullfcn.
    c.num_held = 42949673;
    uint64_t *o = nullptr;
    b_vcacheRelease(add(&A, 1, false, &o));
    EXPECT_EQ(n.full, 0);
    c.num_held = 0;
    // num_modified above num_entries after a clear: the difference wraps and
    // the eviction goes on, where a signed one would stop.
    for (uint64_t id = 10; id < 13; ++id) written(&B, id, id);
    b_vcacheClearSubcache(&B);
    EXPECT_EQ(c.num_modified, 3u);
    for (uint64_t id = 2; id < 5; ++id) b_vcacheRelease(add(&A, id, false, &o));
    EXPECT_EQ(c.num_entries, 2u);
    EXPECT_FALSE(present(&A, 2));
    EXPECT_TRUE(present(&A, 3));
}

// A find answered from `last` leaves the tree's cursor where a delete put it.
TEST_F(Vcache, AHitOnLastLeavesTheCursor) {
    make(10);
    uint64_t *o = nullptr;
    for (uint64_t id = 1; id <= 5; ++id) b_vcacheRelease(add(&A, id, false, &o));
    B_VCACHE_ITEM_HANDLE h2 = get(&A, 2, true, &o);
    b_vcacheRelease(get(&A, 4, false, &o));
    b_vcacheRelease(h2);  // unconfirmed: 2 goes, the tree keeps 3 for Next
    b_vcacheRelease(get(&A, 4, false, &o));
    B_VCACHE_ITEM_HANDLE h = nullptr;
    ASSERT_EQ(b_vcacheNext(&A, ZEL_FORWARD, ZEL_FALSE, &o, &h), sOKAY);
    EXPECT_EQ(h->id, 3u);
    EXPECT_EQ(A.last, h);
    b_vcacheRelease(h);
    ASSERT_EQ(b_vcacheNext(&A, ZEL_FORWARD, ZEL_FALSE, &o, &h), sOKAY);
    EXPECT_EQ(h->id, 4u);
    b_vcacheRelease(h);
    ASSERT_EQ(b_vcacheFindOr(&A, 6, ZEL_REVERSE, ZEL_FALSE, &o, &h), sOKAY);
    EXPECT_EQ(h->id, 5u);
    b_vcacheRelease(h);
    EXPECT_EQ(b_vcacheFindOr(&A, 6, ZEL_FORWARD, ZEL_FALSE, &o, &h), sNOTFOUND);
}

// ---------------------------------------------------------------- arguments and the end

TEST_F(Vcache, NullArguments) {
    auto noFull = static_cast<B_VCACHE_FULL>(nullptr);
    auto noCommit = static_cast<B_VCACHE_COMMIT>(nullptr);
    EXPECT_EQ(b_vcacheInit(&c, 0, 8, nullptr, nullptr, nullptr, noFull, commitRecord, &n, sub),
              eINVNULLARG);
    EXPECT_EQ(b_vcacheInit(&c, 0, 8, nullptr, nullptr, nullptr, fullCount, noCommit, &n, sub),
              eINVNULLARG);
    EXPECT_EQ(
        b_vcacheInit(&c, 0, 8, nullptr, nullptr, nullptr, fullCount, commitRecord, &n, nullptr),
        eINVNULLARG);
    make(10);
    uint64_t *o = nullptr;
    B_VCACHE_ITEM_HANDLE h = nullptr;
    B_VSUBCACHE_T loose{};
    const ZEL_RETCODE codes[] = {
        b_vcacheAdd(nullptr, 1, ZEL_FALSE, &o, &h),
        b_vcacheAdd(&A, 1, ZEL_FALSE, nullptr, &h),
        b_vcacheAdd(&A, 1, ZEL_FALSE, &o, nullptr),
        b_vcacheAdd(&loose, 1, ZEL_FALSE, &o, &h),
        b_vcacheFindVersion(&A, 1, ZEL_FALSE, 0, nullptr, nullptr, &h),
        b_vcacheFindOr(&A, 1, ZEL_FORWARD, ZEL_FALSE, &o, nullptr),
        b_vcacheNext(nullptr, ZEL_FORWARD, ZEL_FALSE, &o, &h),
        b_vcacheConvertSubcache(nullptr),
        b_vcacheCommit(B_VCACHE_FORWARD, nullptr),
        b_vcacheSetMark(nullptr, &a),
        b_vcacheUpdateMarkCtx(nullptr, &a, &b),
        b_vcacheReleaseMark(nullptr, &a),
        b_vcacheRollback(nullptr, nullptr),
        b_vcacheWrite(nullptr),
        b_vcacheAddSubcache(&c, nullptr, &loose),
        b_vcacheAddSubcache(nullptr, &dA, &loose),
    };
    for (size_t i = 0; i < std::size(codes); ++i) EXPECT_EQ(codes[i], eINVNULLARG) << "case " << i;
    EXPECT_EQ(b_vcacheAddSubcache(&c, &dA, &A), eDUPLICATE);
    b_vcacheRelease(nullptr);
    b_vcacheDiscard(nullptr);
    b_vcacheClearSubcache(nullptr);
    b_vcacheRemoveSubcache(&c, &loose);
    EXPECT_EQ(b_vcacheGetModifiedCount(nullptr), 0u);
    written(&A, 1, 1);
    EXPECT_EQ(b_vcacheAdd(&A, 1, ZEL_FALSE, &o, &h), eDUPLICATE);
}

// ---------------------------------------------------------------- out of memory

// Every byte of a record still the 0x5a it was filled with.
template <class T>
bool untouched(const T &t) {
    const auto *p = reinterpret_cast<const uint8_t *>(&t);
    return std::all_of(p, p + sizeof t, [](uint8_t x) { return x == 0x5a; });
}

TEST_F(Vcache, OutOfMemoryInInitAndAddSubcache) {
    oom_check(master, {sub}, [&] {
        B_VCACHE_T t;
        std::memset(&t, 0x5a, sizeof t);
        const ZEL_RETCODE rc =
            b_vcacheInit(&t, 0, 8, nullptr, nullptr, nullptr, fullCount, commitRecord, &n, sub);
        if (rc == sOKAY) b_vcacheTerm(&t);
        EXPECT_TRUE(rc == sOKAY || untouched(t));
        return rc;
    });
    make(10);
    oom_check(master, {sub}, [&] {
        B_VSUBCACHE_T s;
        std::memset(&s, 0x5a, sizeof s);
        const ZEL_RETCODE rc = b_vcacheAddSubcache(&c, &dA, &s);
        if (rc == sOKAY) b_vcacheRemoveSubcache(&c, &s);
        EXPECT_TRUE(rc == sOKAY || untouched(s));
        EXPECT_EQ(b_avlCount(&c.avlSubcaches), 2u);
        return rc;
    });
}

// Adds (enough to split both kinds of tree), finds for writing (copies under
// marks) and marks, with each allocation failing in turn: every failure
// leaves the cache equal to the model.
TEST_F(VcacheModel, OutOfMemoryLeavesTheModelsState) {
    const int runs = oom_check(master, {sub}, [&] {
        VcHarness h(sub, 200);
        if (h.initCode() != sOKAY) return h.initCode();
        h.allowNoMemory = true;
        std::string failure;
        auto step = [&](std::string f) {
            failure = f;
            return f.empty() && h.lastCode() != eNOMEMORY;
        };
        bool go = true;
        for (uint64_t id = 0; id < 40 && go; ++id) go = step(h.add(0, id, ZEL_TRUE));
        for (size_t i = 0; i < 40 && go; ++i) go = step(h.end(0, 1));
        go = go && step(h.setMark(0));
        for (uint64_t id = 0; id < 40 && go; id += 3) go = step(h.find(0, id, ZEL_TRUE, 0));
        go = go && step(h.setMark(1));
        for (uint64_t id = 0; id < 8 && go; ++id)
            go = step(h.add(1, id, id % 2 ? ZEL_TRUE : ZEL_FALSE));
        for (uint64_t id = 1; id < 40 && go; id += 3) go = step(h.find(0, id, ZEL_TRUE, 0));
        EXPECT_EQ(failure, "");
        const ZEL_RETCODE rc = h.lastCode();
        EXPECT_EQ(h.term(), 0);
        return rc == eNOMEMORY ? eNOMEMORY : sOKAY;
    });
    EXPECT_GT(runs, 10);
}

}  // namespace
