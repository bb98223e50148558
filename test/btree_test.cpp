// B-tree: random operations against a std::set model with the structural
// checker after every step, the cursor modelled as an iterator, the split and
// fold shapes as literals, and every failure path (duplicates, bad arguments,
// a path that cannot grow, out of memory at every allocation).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "btree.h"
#include "btree_internal.h"
#include "oom.h"
#include "tag_fixture.h"

using zel::detail::bt_check;

namespace {

// Entries are pointers into one array of keys: key k is at &keys[k].
constexpr uint64_t kKeySpace = 4096;
const std::vector<uint64_t> &keys() {
    static const std::vector<uint64_t> k = [] {
        std::vector<uint64_t> v(kKeySpace);
        for (uint64_t i = 0; i < kKeySpace; ++i) v[i] = i;
        return v;
    }();
    return k;
}
const void *P(uint64_t k) {
    return &keys()[k];
}
int64_t K(const void *p) {
    return p == nullptr ? -1 : static_cast<int64_t>(*static_cast<const uint64_t *>(p));
}

ZEL_COMPARE keyCompare(const void *a, const void *b, const void *) {
    const uint64_t x = *static_cast<const uint64_t *>(a);
    const uint64_t y = *static_cast<const uint64_t *>(b);
    return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
}

// Entries in order, by a walk of the nodes that leaves the cursor alone.
void inOrder(const B_BTREE_NODE *n, std::vector<int64_t> &out) {
    for (uint32_t i = 0; i <= n->used; ++i) {
        if (n->slots[i].child != nullptr) inOrder(n->slots[i].child, out);
        if (i < n->used) out.push_back(K(n->slots[i].data));
    }
}

::testing::AssertionResult sound(const B_BTREE_T &bt, const std::set<uint64_t> &model) {
    const auto r = bt_check(&bt);
    if (r.error != nullptr) return ::testing::AssertionFailure() << r.error;
    std::vector<int64_t> got;
    inOrder(&bt.root, got);
    if (got != std::vector<int64_t>(model.begin(), model.end())) {
        return ::testing::AssertionFailure() << "entries differ from the model";
    }
    if (b_btCount(&bt) != model.size()) return ::testing::AssertionFailure() << "count";
    return ::testing::AssertionSuccess();
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
    void init(uint32_t slots) { ASSERT_EQ(b_btInit(&bt, keyCompare, slots, nullptr, sub), sOKAY); }
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
    B_BTREE_T bt{};
};

// ---------------------------------------------------------------- model

// The cursor as the model sees it. kAt: on `at`. kEnd: after the last entry
// (Next null, Prev the last). kOff: on no entry (both null). kUnknown: after
// an add or a missed find or delete, where only soundness is checked.
enum class Cur { kAt, kEnd, kOff, kUnknown };

class BtModelRun {
  public:
    BtModelRun(B_BTREE_T *bt, uint32_t seed, uint64_t space) : bt_(bt), rng_(seed), space_(space) {}

    void step() {
        const int op = static_cast<int>(rng_() % 100);
        const bool grow = model_.size() < space_ / 2;
        if (op < (grow ? 30 : 18)) return add();
        if (op < 34) return addMultiple();
        if (op < 50) return del();
        if (op < 54) return deleteEnd(true);
        if (op < 58) return deleteEnd(false);
        if (op < 66) return find();
        if (op < 72) return findOr(true);
        if (op < 78) return findOr(false);
        if (op < 81) return end(true);
        if (op < 84) return end(false);
        if (op < 92) return step(true);
        if (op < 99) return step(false);
        return scanDeleting();
    }
    const std::set<uint64_t> &model() const { return model_; }

  private:
    uint64_t key() { return rng_() % space_; }
    void at(const void *p, Cur otherwise) {
        if (p != nullptr) {
            cur_ = Cur::kAt;
            at_ = static_cast<uint64_t>(K(p));
        } else {
            cur_ = otherwise;
        }
    }

    void add() {
        const uint64_t k = key();
        const bool fresh = model_.insert(k).second;
        ASSERT_EQ(b_btAdd(bt_, P(k)), fresh ? sOKAY : eDUPLICATE);
        cur_ = Cur::kUnknown;
    }
    // A few new keys, now and then with a duplicate planted: of an entry, or
    // of an earlier key of the same array. All or nothing.
    void addMultiple() {
        std::vector<const void *> arr;
        std::set<uint64_t> added;
        const uint32_t n = 1 + rng_() % 8;
        for (uint32_t i = 0; i < n; ++i) {
            uint64_t k = key();
            if (model_.count(k) || added.count(k)) continue;
            added.insert(k);
            arr.push_back(P(k));
        }
        bool dup = false;
        if (!arr.empty() && rng_() % 3 == 0) {
            const size_t at = rng_() % (arr.size() + 1);
            const void *d =
                (rng_() % 2 || model_.empty()) ? arr[rng_() % arr.size()] : P(*model_.begin());
            arr.insert(arr.begin() + static_cast<ptrdiff_t>(at), d);
            dup = true;
        }
        ASSERT_EQ(b_btAddMultiple(bt_, static_cast<uint32_t>(arr.size()), arr.data()),
                  dup ? eDUPLICATE : sOKAY);
        if (!dup) model_.insert(added.begin(), added.end());
        cur_ = Cur::kUnknown;
    }
    void del() {
        // Mostly present keys, so that the tree also shrinks.
        uint64_t k = key();
        if (!model_.empty() && rng_() % 4 != 0) {
            auto it = model_.lower_bound(k);
            k = it == model_.end() ? *model_.begin() : *it;
        }
        const bool present = model_.erase(k) != 0;
        ASSERT_EQ(K(b_btDelete(bt_, P(k))), present ? static_cast<int64_t>(k) : -1);
        if (!present) {
            cur_ = Cur::kUnknown;
            return;
        }
        auto next = model_.upper_bound(k);
        pending_.reset();
        cur_ = Cur::kEnd;
        if (next != model_.end()) pending_ = *next;
    }
    void deleteEnd(bool first) {
        const int64_t want =
            model_.empty() ? -1 : static_cast<int64_t>(first ? *model_.begin() : *model_.rbegin());
        ASSERT_EQ(K(first ? b_btDeleteFirst(bt_) : b_btDeleteLast(bt_)), want);
        ASSERT_EQ(bt_->pathlevel, B_BTREE_NO_LEVEL);
        if (want >= 0) model_.erase(static_cast<uint64_t>(want));
        if (pending_ && static_cast<int64_t>(*pending_) == want) pending_.reset();
        cur_ = Cur::kOff;
    }
    void find() {
        // Half of the finds near the cursor, for the fast path.
        uint64_t k = key();
        if (cur_ == Cur::kAt && rng_() % 2) k = (at_ + rng_() % 5 + space_ - 2) % space_;
        const bool present = model_.count(k) != 0;
        ASSERT_EQ(K(b_btFind(bt_, P(k))), present ? static_cast<int64_t>(k) : -1);
        pending_.reset();
        at(present ? P(k) : nullptr, Cur::kUnknown);
    }
    void findOr(bool next) {
        const uint64_t k = key();
        int64_t want = -1;
        if (next) {
            auto it = model_.lower_bound(k);
            if (it != model_.end()) want = static_cast<int64_t>(*it);
        } else {
            auto it = model_.upper_bound(k);
            if (it != model_.begin()) want = static_cast<int64_t>(*--it);
        }
        void *got = next ? b_btFindOrNext(bt_, P(k)) : b_btFindOrPrev(bt_, P(k));
        ASSERT_EQ(K(got), want);
        pending_.reset();
        at(got, next ? Cur::kEnd : Cur::kOff);
    }
    void end(bool first) {
        const int64_t want =
            model_.empty() ? -1 : static_cast<int64_t>(first ? *model_.begin() : *model_.rbegin());
        void *got = first ? b_btFirst(bt_) : b_btLast(bt_);
        ASSERT_EQ(K(got), want);
        if (want < 0) {
            ASSERT_EQ(bt_->pathlevel, 0u);
        }
        pending_.reset();
        at(got, Cur::kEnd);
    }
    // A run of Next or Prev calls, each checked against the iterator.
    void step(bool forward) {
        for (int n = 1 + static_cast<int>(rng_() % 6); n > 0; --n) {
            if (forward ? !next() : !prev()) return;
        }
    }
    int64_t expectNext() {
        if (pending_) return static_cast<int64_t>(*pending_);
        if (cur_ != Cur::kAt) return -1;
        auto it = model_.upper_bound(at_);
        return it == model_.end() ? -1 : static_cast<int64_t>(*it);
    }
    int64_t expectPrev() {
        uint64_t from = at_;
        if (pending_) {
            from = *pending_;
        } else if (cur_ == Cur::kEnd) {
            return model_.empty() ? -1 : static_cast<int64_t>(*model_.rbegin());
        } else if (cur_ != Cur::kAt) {
            return -1;
        }
        auto it = model_.lower_bound(from);
        return it == model_.begin() ? -1 : static_cast<int64_t>(*--it);
    }
    bool next() {
        const int64_t got = K(b_btNext(bt_));
        if (cur_ == Cur::kUnknown && !pending_) {
            EXPECT_TRUE(got == -1 || model_.count(static_cast<uint64_t>(got)));
            return false;
        }
        const int64_t want = expectNext();
        EXPECT_EQ(got, want);
        pending_.reset();
        if (got >= 0) {
            cur_ = Cur::kAt;
            at_ = static_cast<uint64_t>(got);
        } else if (cur_ == Cur::kAt) {
            cur_ = Cur::kEnd;
        }
        return got == want;
    }
    bool prev() {
        const int64_t got = K(b_btPrev(bt_));
        if (cur_ == Cur::kUnknown && !pending_) {
            EXPECT_TRUE(got == -1 || model_.count(static_cast<uint64_t>(got)));
            return false;
        }
        const int64_t want = expectPrev();
        EXPECT_EQ(got, want);
        pending_.reset();
        if (got >= 0) {
            cur_ = Cur::kAt;
            at_ = static_cast<uint64_t>(got);
        } else {
            cur_ = Cur::kOff;
        }
        return got == want;
    }
    // A forward walk from the first entry that deletes about a third of what
    // it visits (the current entry) and must still visit everything once.
    void scanDeleting() {
        std::vector<uint64_t> want(model_.begin(), model_.end());
        std::vector<uint64_t> seen;
        for (void *p = b_btFirst(bt_); p != nullptr; p = b_btNext(bt_)) {
            seen.push_back(static_cast<uint64_t>(K(p)));
            if (rng_() % 3 == 0) {
                ASSERT_EQ(b_btDelete(bt_, p), p);
                model_.erase(static_cast<uint64_t>(K(p)));
            }
            if (seen.size() > want.size()) break;
        }
        ASSERT_EQ(seen, want);
        pending_.reset();
        cur_ = Cur::kEnd;
    }

    B_BTREE_T *bt_;
    std::mt19937_64 rng_;
    uint64_t space_;
    std::set<uint64_t> model_;
    Cur cur_ = Cur::kOff;
    uint64_t at_ = 0;
    std::optional<uint64_t> pending_;
};

class BtModel : public BtTest, public ::testing::WithParamInterface<uint32_t> {};

TEST_P(BtModel, RandomOperationsMatchSet) {
    const uint32_t slots = GetParam();
    // Small nodes meet every rebalancing case within a few hundred keys;
    // large ones need more keys to grow a third level.
    const uint64_t space = slots >= 32 ? 4096 : 400;
    for (uint32_t seed = 1; seed <= 5; ++seed) {
        init(slots);
        BtModelRun run(&bt, seed * 7919 + slots, space);
        for (int i = 0; i < 20000; ++i) {
            run.step();
            if (HasFailure()) FAIL() << "slots " << slots << " seed " << seed << " step " << i;
            ASSERT_TRUE(sound(bt, run.model()))
                << "slots " << slots << " seed " << seed << " step " << i;
        }
        b_btTerm(&bt);
    }
}

INSTANTIATE_TEST_SUITE_P(Slots, BtModel, ::testing::Values(2u, 3u, 4u, 5u, 32u));

// ---------------------------------------------------------------- shapes

TEST_F(BtTest, SplitOfThreeSlotsKeepsTwoLeftAndOneRight) {
    init(3);
    for (uint64_t k = 1; k <= 4; ++k) ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
    EXPECT_EQ(shape(&bt.root), "{3}({1,2}{4})");
}

TEST_F(BtTest, SplitOfFourSlotsAndFoldIntoTheRoot) {
    init(4);
    for (uint64_t k = 1; k <= 5; ++k) ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
    EXPECT_EQ(shape(&bt.root), "{3}({1,2}{4,5})");
    ASSERT_EQ(b_btDelete(&bt, P(1)), P(1));
    EXPECT_EQ(shape(&bt.root), "{2,3,4,5}");
}

TEST_F(BtTest, OneEntryParentBelowTheRootMergesAndKeepsLeavesLevel) {
    // Three levels of nodes with one entry, then a delete in the leftmost
    // leaf: the parent below the root has one entry and must not fold.
    init(2);
    for (uint64_t k = 1; k <= 15; ++k) ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
    std::set<uint64_t> model;
    for (uint64_t k = 1; k <= 15; ++k) model.insert(k);
    for (uint64_t k : {1, 2, 3, 5, 8, 13, 14}) {
        ASSERT_EQ(b_btDelete(&bt, P(k)), P(k));
        model.erase(k);
        ASSERT_TRUE(sound(bt, model)) << "after deleting " << k << ": " << shape(&bt.root);
    }
}

// ---------------------------------------------------------------- cursor

TEST_F(BtTest, EmptyTreeGivesNullWithoutReadingStaleEntries) {
    init(4);
    ASSERT_EQ(b_btAdd(&bt, P(7)), sOKAY);
    ASSERT_EQ(b_btDelete(&bt, P(7)), P(7));
    ASSERT_EQ(bt.root.slots[0].data, P(7));  // stale, must not come back
    EXPECT_EQ(b_btFirst(&bt), nullptr);
    EXPECT_EQ(bt.pathlevel, 0u);
    EXPECT_EQ(b_btNext(&bt), nullptr);
    EXPECT_EQ(b_btLast(&bt), nullptr);
    EXPECT_EQ(b_btPrev(&bt), nullptr);
    EXPECT_EQ(b_btDeleteFirst(&bt), nullptr);
    EXPECT_EQ(bt.pathlevel, B_BTREE_NO_LEVEL);
    EXPECT_EQ(b_btNext(&bt), nullptr);
    EXPECT_EQ(b_btPrev(&bt), nullptr);
    EXPECT_EQ(b_btDeleteLast(&bt), nullptr);
    EXPECT_EQ(b_btFind(&bt, P(7)), nullptr);
    EXPECT_EQ(b_btFindOrNext(&bt, P(7)), nullptr);
    EXPECT_EQ(b_btFindOrPrev(&bt, P(7)), nullptr);
    EXPECT_EQ(b_btCount(&bt), 0u);
}

TEST_F(BtTest, DeleteDuringScanGivesTheSuccessorOnceAndPrevThePredecessor) {
    for (uint32_t slots : {2u, 3u, 4u, 32u}) {
        init(slots);
        for (uint64_t k = 0; k < 200; ++k) ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
        for (uint64_t k : {0u, 1u, 50u, 99u, 150u, 197u, 199u}) {
            ASSERT_EQ(b_btFind(&bt, P(k)), P(k));
            ASSERT_EQ(b_btDelete(&bt, P(k)), P(k));
            EXPECT_EQ(K(b_btNext(&bt)), k == 199 ? -1 : static_cast<int64_t>(k + 1)) << k;
            EXPECT_EQ(K(b_btNext(&bt)), k >= 198 ? -1 : static_cast<int64_t>(k + 2)) << k;
            ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
            ASSERT_EQ(b_btDelete(&bt, P(k)), P(k));
            EXPECT_EQ(K(b_btPrev(&bt)), static_cast<int64_t>(k) - 1) << k;
            ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
        }
        b_btTerm(&bt);
    }
}

TEST_F(BtTest, AlternatingNextAndPrevAcrossEntryZeroOfUpperNodes) {
    // Next climbs from the last entry of child 0 to entry 0 of the node
    // above; Prev from there must come back down into child 0.
    for (uint32_t slots : {2u, 3u, 4u, 5u}) {
        init(slots);
        for (uint64_t k = 0; k < 300; ++k) ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
        ASSERT_EQ(b_btFirst(&bt), P(0));
        for (uint64_t k = 1; k < 300; ++k) {
            ASSERT_EQ(b_btNext(&bt), P(k));
            ASSERT_EQ(b_btPrev(&bt), P(k - 1)) << "slots " << slots;
            ASSERT_EQ(b_btNext(&bt), P(k));
        }
        EXPECT_EQ(b_btNext(&bt), nullptr);
        EXPECT_EQ(b_btPrev(&bt), P(299));  // after the end, Prev gives the last
        for (uint64_t k = 299; k-- > 0;) {
            ASSERT_EQ(b_btPrev(&bt), P(k));
            ASSERT_EQ(b_btNext(&bt), P(k + 1)) << "slots " << slots;
            ASSERT_EQ(b_btPrev(&bt), P(k));
        }
        EXPECT_EQ(b_btPrev(&bt), nullptr);
        EXPECT_EQ(b_btNext(&bt), nullptr);  // on no entry until placed again
        b_btTerm(&bt);
    }
}

// ---------------------------------------------------------------- failures

TEST_F(BtTest, DuplicatesAndBadArgumentsChangeNothing) {
    EXPECT_EQ(b_btInit(&bt, keyCompare, 1, nullptr, sub), eINVARG);
    EXPECT_EQ(b_btInit(&bt, keyCompare, 0, nullptr, sub), eINVARG);
    EXPECT_EQ(b_btInit(&bt, keyCompare, 65536, nullptr, sub), eINVARG);
    EXPECT_EQ(b_btInit(&bt, nullptr, 4, nullptr, sub), eINVNULLARG);
    EXPECT_EQ(b_btInit(&bt, keyCompare, 4, nullptr, nullptr), eINVNULLARG);
    EXPECT_EQ(b_btInit(nullptr, keyCompare, 4, nullptr, sub), eINVNULLARG);
    init(4);
    std::set<uint64_t> model;
    for (uint64_t k = 0; k < 40; k += 2) {
        ASSERT_EQ(b_btAdd(&bt, P(k)), sOKAY);
        model.insert(k);
    }
    const uint64_t same = 10;  // another pointer, equal by the compare
    EXPECT_EQ(b_btAdd(&bt, &same), eDUPLICATE);
    EXPECT_EQ(b_btAdd(&bt, nullptr), eINVNULLARG);
    const void *withDup[] = {P(1), P(3), P(20), P(5)};
    EXPECT_EQ(b_btAddMultiple(&bt, 4, withDup), eDUPLICATE);
    const void *withNull[] = {P(1), nullptr};
    EXPECT_EQ(b_btAddMultiple(&bt, 2, withNull), eINVNULLARG);
    EXPECT_EQ(b_btAddMultiple(&bt, 0, nullptr), sOKAY);
    EXPECT_EQ(b_btAddMultiple(&bt, 1, nullptr), eINVNULLARG);
    EXPECT_TRUE(sound(bt, model));
    EXPECT_EQ(b_btDelete(&bt, P(3)), nullptr);
    EXPECT_TRUE(sound(bt, model));
}

// The tree built by adding `n` keys in a shuffled order, and its model.
std::set<uint64_t> fill(B_BTREE_T *bt, uint64_t n, uint32_t seed) {
    std::vector<uint64_t> order(n);
    for (uint64_t i = 0; i < n; ++i) order[i] = i * 2;
    std::shuffle(order.begin(), order.end(), std::mt19937(seed));
    for (uint64_t k : order) EXPECT_EQ(b_btAdd(bt, P(k)), sOKAY);
    return {order.begin(), order.end()};
}

TEST_F(BtTest, PathThatCannotGrowGivesNullAndChangesNothing) {
    init(2);
    const std::set<uint64_t> model = fill(&bt, 500, 3);
    forgetPath();  // as if it had never grown; then fail its growth
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
    EXPECT_TRUE(sound(bt, model));
    EXPECT_EQ(b_btFind(&bt, P(10)), P(10));
}

TEST_F(BtTest, OutOfMemoryInInitAndGrowthOfThePath) {
    oom_check(master, {sub}, [&] {
        B_BTREE_T t;
        std::memset(&t, 0x5a, sizeof t);
        const ZEL_RETCODE rc = b_btInit(&t, keyCompare, 8, nullptr, sub);
        if (rc == sOKAY) {
            b_btTerm(&t);
        } else {
            const auto *bytes = reinterpret_cast<const uint8_t *>(&t);
            EXPECT_TRUE(std::all_of(bytes, bytes + sizeof t, [](uint8_t b) { return b == 0x5a; }));
        }
        return rc;
    });
    init(3);
    const std::set<uint64_t> model = fill(&bt, 300, 4);
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
            EXPECT_TRUE(sound(bt, model));
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
                ZEL_CHECK(rc = b_btInit(&t, keyCompare, slots, nullptr, sub));
                std::set<uint64_t> model;
                std::mt19937 rng(slots);
                for (int round = 0; round < 12 && rc == sOKAY; ++round) {
                    std::vector<const void *> batch;
                    for (int i = 0; i < 6; ++i) batch.push_back(P(rng() % 1000));
                    std::sort(batch.begin(), batch.end());
                    batch.erase(std::unique(batch.begin(), batch.end()), batch.end());
                    std::erase_if(batch, [&](const void *p) { return model.count(K(p)); });
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
                    EXPECT_TRUE(sound(t, model));
                }
                b_btTerm(&t);
                return rc;
            });
            EXPECT_GT(runs, 20);
        }
    }
}

}  // namespace
