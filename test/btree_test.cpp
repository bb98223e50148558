// B-tree: random operations against the std::set model with the structural
// checker after every step and the cursor checked as an iterator, the split
// and fold shapes as literals, and every failure path (duplicates, bad
// arguments, a path that cannot grow, out of memory at every allocation).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "btree.h"
#include "btree_model.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

const BtModel &table() {
    static const BtModel m(1024);
    return m;
}
const void *P(uint64_t k) {
    return table().ptr(k);
}
int64_t K(const void *p) {
    return BtModel::key(p);
}

// Compact picture of the tree: "{3}({1,2}{4})".
std::string shape(const B_BTREE_NODE *n) {
    std::string s = "{";
    for (uint32_t i = 0; i < n->used; ++i)
        s += (i ? "," : "") + std::to_string(K(n->slots[i].data));
    s += "}";
    if (n->slots[0].child != nullptr) {
        s += "(";
        for (uint32_t i = 0; i <= n->used; ++i) s += shape(n->slots[i].child);
        s += ")";
    }
    return s;
}

class BtTest : public TaggedTest {
  protected:
    void init(uint32_t slots) {
        ASSERT_EQ(b_btInit(&bt, BtModel::compare, slots, nullptr, sub), sOKAY);
    }
    void TearDown() override {
        b_btTerm(&bt);
        TaggedTest::TearDown();
    }
    // Frees the cursor's path, as if it had never grown.
    void forgetPath() {
        b_tag_subFreeCanBeNull(sub, bt.path);
        bt.path = nullptr;
        bt.pathsize = 0;
        bt.pathlevel = B_BTREE_NO_LEVEL;
    }
    // Keys 0, 2, 4, ... added in a shuffled order.
    std::set<uint64_t> fill(uint64_t n, uint32_t seed) {
        std::vector<uint64_t> order(n);
        for (uint64_t i = 0; i < n; ++i) order[i] = i * 2;
        std::shuffle(order.begin(), order.end(), std::mt19937(seed));
        for (uint64_t k : order) EXPECT_EQ(b_btAdd(&bt, P(k)), sOKAY);
        return {order.begin(), order.end()};
    }
    B_BTREE_T bt{};
};

// ---------------------------------------------------------------- model

// One random operation: adds (single and multiple, duplicates planted now
// and then), deletes (present keys mostly, first and last), finds (half of
// them near the cursor, for the fast path), runs of Next and Prev (across
// entry 0 of upper nodes both ways), and a forward walk that deletes about a
// third of what it visits (the successor once, Prev the predecessor).
std::string randomStep(B_BTREE_T *bt, BtModel &m, std::mt19937_64 &rng, uint64_t space) {
    const auto key = [&] { return rng() % space; };
    const int op = static_cast<int>(rng() % 100);
    if (op < (m.set().size() < space / 2 ? 30 : 18)) return m.add(bt, key());
    if (op < 34) {
        std::vector<uint64_t> ks;
        for (uint64_t n = 1 + rng() % 8; n > 0; --n) {
            uint64_t k = key();
            if (rng() % 24 != 0) {
                while (m.set().count(k)) k = (k + 1) % space;  // mostly fresh
            }
            ks.push_back(k);
        }
        return m.addMultiple(bt, ks);
    }
    if (op < 50) {
        uint64_t k = key();
        if (!m.set().empty() && rng() % 4 != 0) {
            auto it = m.set().lower_bound(k);
            k = it == m.set().end() ? *m.set().begin() : *it;
        }
        return m.del(bt, k);
    }
    if (op < 58) return m.deleteEnd(bt, op < 54);
    if (op < 66) {
        uint64_t k = key();
        if (m.at() >= 0 && rng() % 2)
            k = (static_cast<uint64_t>(m.at()) + rng() % 5 + space - 2) % space;
        return m.find(bt, k);
    }
    if (op < 78) return m.findOr(bt, key(), op < 72);
    if (op < 84) return m.end(bt, op < 81);
    if (op < 99) {
        std::string r;
        for (int n = 1 + static_cast<int>(rng() % 6); n > 0 && r.empty(); --n) {
            r = m.step(bt, op < 92);
        }
        return r;
    }
    std::string r = m.end(bt, true);
    while (r.empty() && m.at() >= 0) {
        if (rng() % 3 == 0) r = m.del(bt, static_cast<uint64_t>(m.at()));
        if (r.empty() && m.at() >= 0) r = m.step(bt, true);
    }
    return r;
}

class BtRandom : public BtTest, public ::testing::WithParamInterface<uint32_t> {};

TEST_P(BtRandom, OperationsMatchTheModel) {
    const uint32_t slots = GetParam();
    // Small nodes meet every rebalancing case within a few hundred keys (a
    // one-entry parent below the root among them, which merges rather than
    // folds); large ones need more keys to grow a third level.
    const uint64_t space = slots >= 32 ? 1024 : 400;
    for (uint32_t seed = 1; seed <= 5; ++seed) {
        init(slots);
        BtModel m(space);
        std::mt19937_64 rng(seed * 7919 + slots);
        for (int i = 0; i < 20000; ++i) {
            const std::string step = randomStep(&bt, m, rng, space);
            const std::string check = m.check(&bt);
            ASSERT_EQ(step + check, "") << "slots " << slots << " seed " << seed << " step " << i;
        }
        b_btTerm(&bt);
    }
}

INSTANTIATE_TEST_SUITE_P(Slots, BtRandom, ::testing::Values(2u, 3u, 4u, 5u, 32u));

// ---------------------------------------------------------------- shapes

// Three slots split two left, one right; four split 2 + 2 and fold back
// into the root.
TEST_F(BtTest, SplitsAndFoldIntoTheRoot) {
    init(3);
    for (uint64_t k = 1; k <= 4; ++k) ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
    EXPECT_EQ(shape(&bt.root), "{3}({1,2}{4})");
    b_btTerm(&bt);
    init(4);
    for (uint64_t k = 1; k <= 5; ++k) ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
    EXPECT_EQ(shape(&bt.root), "{3}({1,2}{4,5})");
    ASSERT_EQ(b_btDelete(&bt, P(1)), P(1));
    EXPECT_EQ(shape(&bt.root), "{2,3,4,5}");
}

// ---------------------------------------------------------------- cursor

TEST_F(BtTest, EmptyTreeGivesNullWithoutReadingStaleEntries) {
    init(4);
    ASSERT_EQ(b_btAdd(&bt, P(7)), sOKAY);
    ASSERT_EQ(b_btDelete(&bt, P(7)), P(7));
    ASSERT_EQ(bt.root.slots[0].data, P(7));  // stale, must not come back
    EXPECT_EQ(b_btFirst(&bt), nullptr);
    EXPECT_EQ(bt.pathlevel, 0u);
    using Walk = void *(*)(B_BTREE_T *);
    for (Walk w :
         {b_btNext, b_btLast, b_btPrev, b_btDeleteFirst, b_btNext, b_btPrev, b_btDeleteLast})
        EXPECT_EQ(w(&bt), nullptr);
    EXPECT_EQ(bt.pathlevel, B_BTREE_NO_LEVEL);
    using Find = void *(*)(B_BTREE_T *, const void *);
    for (Find f : {b_btFind, b_btFindOrNext, b_btFindOrPrev}) EXPECT_EQ(f(&bt, P(7)), nullptr);
    EXPECT_EQ(b_btCount(&bt), 0u);
}

TEST_F(BtTest, SavedSuccessorOnWhichAnAddLeftTheCursor) {
    // Deleting 0 folds {6} over {0},{255} into the root {6,255} and saves 6;
    // adding 0 splits the root again and leaves the cursor on 6 at slot 0 of
    // the new root, with child 0 marked visited by the search. Next gives 6
    // from there, and Prev must still go down to 0.
    init(2);
    for (uint64_t k : {255, 0, 6}) ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
    ASSERT_EQ(b_btDelete(&bt, P(0)), P(0));
    ASSERT_EQ(b_btAdd(&bt, P(0)), sOKAY);
    EXPECT_EQ(b_btNext(&bt), P(6));
    EXPECT_EQ(b_btPrev(&bt), P(0));
}

// ---------------------------------------------------------------- failures

TEST_F(BtTest, DuplicatesAndBadArgumentsChangeNothing) {
    const struct {
        B_BTREE_T *bt;
        B_BT_COMPARE cmp;
        uint32_t slots;
        B_TAG_SUB sub;
        ZEL_RETCODE rc;
    } inits[] = {{&bt, BtModel::compare, 1, sub, eINVARG},
                 {&bt, BtModel::compare, 0, sub, eINVARG},
                 {&bt, BtModel::compare, 65536, sub, eINVARG},
                 {&bt, nullptr, 4, sub, eINVNULLARG},
                 {&bt, BtModel::compare, 4, nullptr, eINVNULLARG},
                 {nullptr, BtModel::compare, 4, sub, eINVNULLARG}};
    for (const auto &i : inits) EXPECT_EQ(b_btInit(i.bt, i.cmp, i.slots, nullptr, i.sub), i.rc);
    init(4);
    const std::set<uint64_t> model = fill(20, 2);
    const uint64_t same = 10;  // another pointer, equal by the compare
    EXPECT_EQ(b_btAdd(&bt, &same), eDUPLICATE);
    EXPECT_EQ(b_btAdd(&bt, nullptr), eINVNULLARG);
    const void *withDup[] = {P(1), P(3), P(20), P(5)};
    EXPECT_EQ(b_btAddMultiple(&bt, 4, withDup), eDUPLICATE);
    const void *withNull[] = {P(1), nullptr};
    EXPECT_EQ(b_btAddMultiple(&bt, 2, withNull), eINVNULLARG);
    EXPECT_EQ(b_btAddMultiple(&bt, 0, nullptr), sOKAY);
    EXPECT_EQ(b_btAddMultiple(&bt, 1, nullptr), eINVNULLARG);
    EXPECT_EQ(b_btDelete(&bt, P(3)), nullptr);
    EXPECT_EQ(BtModel::check(&bt, model), "");
}

TEST_F(BtTest, PathThatCannotGrowGivesNullAndChangesNothing) {
    init(2);
    const std::set<uint64_t> model = fill(500, 3);
    forgetPath();
    ASSERT_EQ(b_tag_masterFailAllocation(master, 1), sOKAY);
    EXPECT_EQ(b_btFind(&bt, P(10)), nullptr);
    EXPECT_TRUE(b_tag_masterFailureGiven(master));
    EXPECT_EQ(bt.pathsize, 0u);
    ASSERT_EQ(b_tag_masterFailAllocation(master, 1), sOKAY);
    EXPECT_EQ(b_btAdd(&bt, P(11)), eNOMEMORY);
    ASSERT_EQ(b_tag_masterFailAllocation(master, 1), sOKAY);
    EXPECT_EQ(b_btDelete(&bt, P(10)), nullptr);
    for (auto f : {b_btFirst, b_btLast, b_btDeleteFirst, b_btDeleteLast}) {
        ASSERT_EQ(b_tag_masterFailAllocation(master, 1), sOKAY);
        EXPECT_EQ(f(&bt), nullptr);
        EXPECT_EQ(b_btNext(&bt), nullptr);
    }
    ASSERT_EQ(b_tag_masterFailAllocation(master, 0), sOKAY);
    EXPECT_EQ(bt.pathsize, 0u);
    EXPECT_EQ(BtModel::check(&bt, model), "");
    EXPECT_EQ(b_btFind(&bt, P(10)), P(10));
}

TEST_F(BtTest, OutOfMemoryInInitAndGrowthOfThePath) {
    oom_check(master, {sub}, [&] {
        B_BTREE_T t;
        std::memset(&t, 0x5a, sizeof t);
        const ZEL_RETCODE rc = b_btInit(&t, BtModel::compare, 8, nullptr, sub);
        if (rc == sOKAY) {
            b_btTerm(&t);
        } else {
            const auto *bytes = reinterpret_cast<const uint8_t *>(&t);
            EXPECT_TRUE(std::all_of(bytes, bytes + sizeof t, [](uint8_t b) { return b == 0x5a; }));
        }
        return rc;
    });
    init(3);
    const std::set<uint64_t> model = fill(300, 4);
    using Reach = void *(*)(B_BTREE_T *, const void *);
    const Reach ops[] = {
        b_btFind,
        b_btFindOrNext,
        [](B_BTREE_T *t, const void *) { return b_btFirst(t); },
        [](B_BTREE_T *t, const void *) { return b_btLast(t); },
    };
    for (Reach op : ops) {
        forgetPath();
        const int runs = oom_check(master, {sub}, [&] {
            void *got = op(&bt, P(100));
            if (got == nullptr) return eNOMEMORY;
            EXPECT_EQ(BtModel::check(&bt, model), "");
            forgetPath();
            return sOKAY;
        });
        EXPECT_GT(runs, 0);
    }
}

// Every allocation of a build by b_btAdd or b_btAddMultiple failing in turn:
// each failure leaves the tree equal to the model of what succeeded.
TEST_F(BtTest, OutOfMemoryInAddKeepsTheTreeEqualToTheModel) {
    for (bool multiple : {false, true}) {
        for (uint32_t slots : {2u, 4u}) {
            const int runs = oom_check(master, {sub}, [&] {
                B_BTREE_T t;
                ZEL_RETCODE rc;
                ZEL_CHECK(rc = b_btInit(&t, BtModel::compare, slots, nullptr, sub));
                std::set<uint64_t> model;
                std::mt19937 rng(slots);
                for (int round = 0; round < 12 && rc == sOKAY; ++round) {
                    std::vector<const void *> batch;
                    for (int i = 0; i < 6; ++i) {
                        const uint64_t k = rng() % 1000;
                        if (!model.count(k) &&
                            std::find(batch.begin(), batch.end(), P(k)) == batch.end()) {
                            batch.push_back(P(k));
                        }
                    }
                    if (multiple) {
                        rc = b_btAddMultiple(&t, static_cast<uint32_t>(batch.size()), batch.data());
                        if (rc == sOKAY) {
                            for (const void *p : batch) model.insert(K(p));
                        }
                    } else {
                        for (const void *p : batch) {
                            if ((rc = b_btAdd(&t, p)) != sOKAY) break;
                            model.insert(K(p));
                        }
                    }
                    EXPECT_EQ(BtModel::check(&t, model), "");
                }
                b_btTerm(&t);
                return rc;
            });
            EXPECT_GT(runs, 20);
        }
    }
}

}  // namespace
