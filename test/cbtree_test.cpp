// Tests of the cached B-tree: random adds against std::set for several node
// sizes and caches; the hand-worked shape of a small tree and its short walk;
// eviction, and its counters against a model of the age list; damaged node
// files; a failed write; and every allocation failing in turn.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "cbtree.h"
#include "cbtree_internal.h"
#include "file_fixture.h"
#include "oom.h"
#include "psp.h"
#include "tag_fixture.h"

using zel::detail::CbtCheckResult;

namespace {

// Entries are 8-byte cells holding a key, on their own sub tag; in the file
// an entry is the key's 8 bytes. The counters see every callback.
struct Cells {
    B_TAG_SUB sub = nullptr;
    int64_t live = 0;
    uint64_t loaded = 0, written = 0, disposed = 0;
    bool failLoads = false;

    static uint64_t key(const void *p) { return *static_cast<const uint64_t *>(p); }
    static ZEL_COMPARE compare(void *, const void *a, const void *b) {
        const uint64_t x = key(a), y = key(b);
        return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
    }
    static ZEL_RETCODE load(void *ctx, const uint8_t *buf, uint32_t size, const void **data) {
        auto *c = static_cast<Cells *>(ctx);
        EXPECT_EQ(size, 8u);
        if (c->failLoads) return eNOMEMORY;
        uint64_t *cell = nullptr;
        ZEL_CHECK(b_tag_subAlloc(c->sub, 8, &cell));
        std::memcpy(cell, buf, 8);
        c->live++;
        c->loaded++;
        *data = cell;
        return sOKAY;
    }
    static void zap(void *ctx, uint8_t *buf, uint32_t size, const void *data) {
        auto *c = static_cast<Cells *>(ctx);
        if (buf != nullptr) {
            EXPECT_EQ(size, 8u);
            std::memcpy(buf, data, 8);
            c->written++;
        } else {
            c->disposed++;
        }
        c->drop(data);
    }
    const void *make(uint64_t k) {
        uint64_t *cell = nullptr;
        if (b_tag_subAlloc(sub, 8, &cell) != sOKAY) return nullptr;
        *cell = k;
        live++;
        return cell;
    }
    void drop(const void *p) {
        b_tag_subFree(sub, const_cast<void *>(p));
        live--;
    }
};

// RLIMIT_FSIZE at `bytes` (SIGXFSZ ignored), so that a write past it fails
// with EFBIG, until lift() or the end of the scope.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(uint64_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved_);
        old_ = signal(SIGXFSZ, SIG_IGN);
        rlimit r = saved_;
        r.rlim_cur = bytes;
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &r), 0);
    }
    ~FileSizeLimit() { lift(); }
    void lift() {
        if (lifted_) return;
        lifted_ = true;
        setrlimit(RLIMIT_FSIZE, &saved_);
        signal(SIGXFSZ, old_);
    }

  private:
    rlimit saved_{};
    sighandler_t old_ = nullptr;
    bool lifted_ = false;
};

class CbtTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        ASSERT_EQ(b_tag_subCreate(master, &cells.sub), sOKAY);
        cellsStart = fixture_subBytes(cells.sub);
        dir = scratch.path("");
        dir.pop_back();
    }
    void TearDown() override {
        term();
        EXPECT_EQ(cells.live, 0) << "entries not disposed of";
        EXPECT_EQ(fixture_subBytes(cells.sub), cellsStart);
        b_tag_subDestroy(cells.sub);
        TaggedTest::TearDown();
    }

    ZEL_RETCODE initTree(B_CBTREE_T *tree, uint32_t slots, uint32_t cache) {
        return b_cbtInit(tree, sub, &cells, Cells::compare, Cells::load, Cells::zap, cache, slots,
                         8, dir.c_str());
    }
    void init(uint32_t slots, uint32_t cache) {
        term();
        ASSERT_EQ(initTree(&t, slots, cache), sOKAY);
        inited = true;
    }
    void term() {
        if (inited) b_cbtTerm(&t);
        inited = false;
    }
    ZEL_RETCODE addTo(B_CBTREE_T *tree, uint64_t k) {
        const void *p = cells.make(k);
        if (p == nullptr) return eNOMEMORY;
        const ZEL_RETCODE rc = b_cbtAdd(tree, p);
        if (rc != sOKAY) cells.drop(p);
        return rc;
    }
    ZEL_RETCODE add(uint64_t k) { return addTo(&t, k); }
    void *find(uint64_t k) { return b_cbtFind(&t, &k); }

    // The structural check, the entries in order against the model, and the
    // bookkeeping between calls: every node in memory on the age list, the
    // cache at most two over, the entries alive those in memory.
    std::string check(B_CBTREE_T *tree, const std::set<uint64_t> &model,
                      CbtCheckResult *out = nullptr) {
        std::vector<uint64_t> keys;
        const CbtCheckResult r = zel::detail::cbt_check(
            tree, [](uint32_t, const B_CBTREE_NODE *) {},
            [&](uint32_t, const B_CBTREE_NODE *, const void *d) { keys.push_back(Cells::key(d)); });
        if (out != nullptr) *out = r;
        if (r.error != nullptr) return r.error;
        if (!std::equal(keys.begin(), keys.end(), model.begin(), model.end())) {
            return "entries differ from the model";
        }
        uint64_t listed = 0, inMemory = 0;
        std::set<const B_CBTREE_NODE *> nodes;
        for (const B_CBTREE_NODE *n = tree->oldest; n != nullptr; n = n->newer) {
            listed++;
            inMemory += n->used;
            nodes.insert(n);
        }
        if (listed != tree->cached_nodes.count) return "a node in memory is off the age list";
        for (uint32_t i = 0; i <= tree->idmask; ++i) {
            const B_CBTREE_NODE *n = tree->idmap[i];
            if (n != nullptr && (nodes.count(n) == 0 || (n->id & tree->idmask) != i)) {
                return "the shortcut map holds a node not in memory";
            }
        }
        if (listed > tree->max_cached_nodes + 2) return "the cache runs over by more than two";
        if (static_cast<int64_t>(inMemory) != cells.live) return "entries alive are not in memory";
        return "";
    }
    std::string check(const std::set<uint64_t> &model, CbtCheckResult *out = nullptr) {
        return check(&t, model, out);
    }

    // Each level's nodes as "{k,k} {k}". A node's entries come after its
    // visit and before its next sibling's: they go in the level's last braces.
    std::vector<std::string> levels() {
        std::vector<std::string> out;
        (void)zel::detail::cbt_check(
            &t,
            [&](uint32_t level, const B_CBTREE_NODE *) {
                if (out.size() <= level) out.resize(level + 1);
                out[level] += out[level].empty() ? "{}" : " {}";
            },
            [&](uint32_t level, const B_CBTREE_NODE *, const void *d) {
                std::string &s = out[level];
                s.pop_back();
                if (s.back() != '{') s += ",";
                s += std::to_string(Cells::key(d)) + "}";
            });
        return out;
    }

    std::vector<uint64_t> walk(size_t max = 100000) {
        std::vector<uint64_t> keys;
        for (void *p = b_cbtFirst(&t); p != nullptr && keys.size() < max; p = b_cbtNext(&t)) {
            keys.push_back(Cells::key(p));
        }
        return keys;
    }

    Bytes fileBytes() { return fixture_readFile(t.filename); }

    Cells cells;
    int64_t cellsStart = 0;
    ScratchDir scratch;
    std::string dir;
    B_CBTREE_T t{};
    bool inited = false;
};

// ---------------------------------------------------------------- against a model

class CbtModelTest : public CbtTest,
                     public ::testing::WithParamInterface<std::tuple<uint32_t, uint32_t>> {};

TEST_P(CbtModelTest, RandomAddsMatchAStdSet) {
    const auto [slots, cache] = GetParam();
    init(slots, cache);
    std::set<uint64_t> model;
    std::mt19937_64 rng(slots * 1000 + cache);
    const uint64_t n = slots == 64 ? 4000 : 700;
    for (uint64_t i = 0; i < n; ++i) {
        const uint64_t k = rng() % (2 * n);
        ASSERT_EQ(add(k), model.insert(k).second ? sOKAY : eDUPLICATE) << k;
        ASSERT_EQ(b_cbtCount(&t), model.size());
        if (i % 97 == 0) {
            ASSERT_EQ(check(model), "") << "after " << i << " adds";
        }
    }
    CbtCheckResult r;
    ASSERT_EQ(check(model, &r), "");
    EXPECT_EQ(r.full, 0u);
    for (uint64_t k = 0; k < 2 * n; ++k) {
        void *p = find(k);
        if (model.count(k) != 0) {
            ASSERT_NE(p, nullptr) << k;
            EXPECT_EQ(Cells::key(p), k);
        } else {
            EXPECT_EQ(p, nullptr) << k;
        }
    }
    // The walk: the leftmost leaf and the entry above it, in order.
    uint32_t firstLeaf = UINT32_MAX;
    (void)zel::detail::cbt_check(
        &t,
        [&](uint32_t, const B_CBTREE_NODE *node) {
            if (firstLeaf == UINT32_MAX && node->slots[0].child == B_CBTREE_NO_ID) {
                firstLeaf = node->used;
            }
        },
        [](uint32_t, const B_CBTREE_NODE *, const void *) {});
    const std::vector<uint64_t> walked = walk();
    EXPECT_EQ(walked.size(), r.nodes == 1 ? model.size() : firstLeaf + 1);
    EXPECT_TRUE(std::equal(walked.begin(), walked.end(), model.begin()));
}

INSTANTIATE_TEST_SUITE_P(SlotsAndCaches, CbtModelTest,
                         ::testing::Combine(::testing::Values(2u, 3u, 4u, 64u),
                                            ::testing::Values(1u, 2u, 1000u)));

// With two slots a split leaves an empty node: its child 0 still holds
// entries, and a search goes down into it.
TEST_F(CbtTest, TwoSlotsKeepEveryKeyThoughSplitsLeaveEmptyNodes) {
    for (uint32_t cache : {1000u, 1u}) {
        init(2, cache);
        ASSERT_EQ(add(1), sOKAY);
        ASSERT_EQ(add(2), sOKAY);
        // Two entries split the root: 1 left, 2 kept, nothing right.
        EXPECT_EQ(levels(), (std::vector<std::string>{"{2}", "{1} {}"}));
        std::set<uint64_t> model{1, 2};
        for (uint64_t k = 300; k > 2; --k) {  // descending, then ascending
            ASSERT_EQ(add(k), sOKAY);
            model.insert(k);
        }
        for (uint64_t k = 301; k <= 600; ++k) {
            ASSERT_EQ(add(k), sOKAY);
            model.insert(k);
        }
        ASSERT_EQ(check(model), "");
        for (uint64_t k : model) ASSERT_NE(find(k), nullptr) << k;
    }
}

// ---------------------------------------------------------------- shape and walk

// Slots 4, keys 1..10 in order. A node splits on reaching 4 entries, half 2:
// [1,2,3,4] -> [1,2] 3 [4]; 5, 6, 7 fill the right leaf, which splits
// [4,5,6,7] -> [4,5] 6 [7]; 8, 9, 10 likewise -> [7,8] 9 [10].
TEST_F(CbtTest, FourSlotsAndKeysOneToTenGiveRootThreeSixNine) {
    for (uint32_t cache : {1000u, 1u}) {
        init(4, cache);
        for (uint64_t k = 1; k <= 10; ++k) ASSERT_EQ(add(k), sOKAY);
        EXPECT_EQ(levels(), (std::vector<std::string>{"{3,6,9}", "{1,2} {4,5} {7,8} {10}"}));
        // The walk ends at the first child it would have to enter: the
        // leftmost leaf, the root's first entry, then null, and stays ended.
        EXPECT_EQ(walk(), (std::vector<uint64_t>{1, 2, 3}));
        EXPECT_EQ(b_cbtNext(&t), nullptr);
        EXPECT_EQ(b_cbtNext(&t), nullptr);
    }
}

TEST_F(CbtTest, ATreeOfOneNodeWalksCompletely) {
    init(64, 1);
    EXPECT_EQ(b_cbtFirst(&t), nullptr);
    EXPECT_EQ(b_cbtNext(&t), nullptr);
    EXPECT_EQ(find(1), nullptr);
    for (uint64_t k : {5, 3, 9, 1, 7}) ASSERT_EQ(add(k), sOKAY);
    EXPECT_EQ(walk(), (std::vector<uint64_t>{1, 3, 5, 7, 9}));
    EXPECT_EQ(b_cbtNext(&t), nullptr);
    EXPECT_EQ(b_cbtNext(&t), nullptr);
}

// ---------------------------------------------------------------- eviction

TEST_F(CbtTest, ANodeEvictedCleanIsDisposedOfAndNeverWritten) {
    init(4, 1);
    std::vector<uint64_t> keys(40);
    for (uint64_t i = 0; i < keys.size(); ++i) keys[i] = (i * 17) % 40;
    for (uint64_t k : keys) ASSERT_EQ(add(k), sOKAY);
    for (uint64_t k : keys) ASSERT_NE(find(k), nullptr);  // every node clean from here
    const uint64_t writes = t.writes, written = cells.written, disposed = cells.disposed;
    const uint64_t evictions = t.evictions;
    const Bytes before = fileBytes();
    for (uint64_t k : keys) ASSERT_NE(find(k), nullptr);
    EXPECT_EQ(t.writes, writes);
    EXPECT_EQ(cells.written, written);
    EXPECT_GT(cells.disposed, disposed);
    EXPECT_GT(t.evictions, evictions);
    EXPECT_EQ(fileBytes(), before);
}

// Finds against a model of the age list: a node used moves to the new end;
// one brought in first evicts from the old end while the cache is full,
// writing those modified. Each find's path comes from the tree's shape.
TEST_F(CbtTest, LoadsAndWritesFollowTheAgeList) {
    for (uint32_t cache : {1u, 2u, 3u, 5u}) {
        init(3, cache);
        std::mt19937_64 rng(cache);
        std::set<uint64_t> model;
        while (model.size() < 200) {
            const uint64_t k = rng() % 100000;
            if (model.insert(k).second) {
                ASSERT_EQ(add(k), sOKAY);
            }
        }
        std::map<uint64_t, std::vector<B_CBTREE_ID>> paths;
        std::vector<B_CBTREE_ID> stack;
        (void)zel::detail::cbt_check(
            &t,
            [&](uint32_t level, const B_CBTREE_NODE *n) {
                stack.resize(level + 1);
                stack[level] = n->id;
            },
            [&](uint32_t level, const B_CBTREE_NODE *, const void *d) {
                paths[Cells::key(d)].assign(stack.begin(), stack.begin() + level + 1);
            });
        ASSERT_EQ(paths.size(), model.size());
        std::deque<std::pair<B_CBTREE_ID, bool>> age;  // oldest first, modified
        for (const B_CBTREE_NODE *n = t.oldest; n != nullptr; n = n->newer) {
            age.emplace_back(n->id, n->modified != 0);
        }
        uint64_t loads = t.loads, writes = t.writes, evictions = t.evictions;
        const std::vector<uint64_t> keys(model.begin(), model.end());
        for (int i = 0; i < 500; ++i) {
            const uint64_t k = keys[rng() % keys.size()];
            for (B_CBTREE_ID id : paths[k]) {
                auto it = std::find_if(age.begin(), age.end(),
                                       [&](const auto &e) { return e.first == id; });
                if (it != age.end()) {
                    const auto e = *it;
                    age.erase(it);
                    age.push_back(e);
                    continue;
                }
                while (age.size() >= cache) {
                    writes += age.front().second ? 1 : 0;
                    evictions++;
                    age.pop_front();
                }
                loads++;
                age.emplace_back(id, false);
            }
            ASSERT_NE(find(k), nullptr);
            ASSERT_EQ(t.loads, loads) << "cache " << cache << ", find " << i;
            ASSERT_EQ(t.writes, writes) << "cache " << cache << ", find " << i;
            ASSERT_EQ(t.evictions, evictions) << "cache " << cache << ", find " << i;
        }
    }
}

TEST_F(CbtTest, ReleasedNumbersAreReusedLastReleasedFirst) {
    init(4, 10);
    B_CBTREE_NODE *n[6] = {};
    for (int i = 0; i < 3; ++i) ASSERT_EQ(zel::detail::b_cbtCreateNode(&t, &n[i]), sOKAY);
    EXPECT_EQ(n[0]->id, 1u);  // the root is 0
    EXPECT_EQ(n[2]->id, 3u);
    zel::detail::b_cbtReleaseNode(&t, n[1]);
    zel::detail::b_cbtReleaseNode(&t, n[2]);
    for (int i = 3; i < 6; ++i) ASSERT_EQ(zel::detail::b_cbtCreateNode(&t, &n[i]), sOKAY);
    EXPECT_EQ(n[3]->id, 3u);
    EXPECT_EQ(n[4]->id, 2u);
    EXPECT_EQ(n[5]->id, 4u);
    for (int i : {0, 3, 4, 5}) zel::detail::b_cbtReleaseNode(&t, n[i]);
}

TEST_F(CbtTest, ClearEmptiesTheTreeAndTheFile) {
    init(3, 2);
    std::set<uint64_t> model;
    for (uint64_t k = 0; k < 100; ++k) ASSERT_EQ(add(k * 7 % 101), sOKAY);
    ASSERT_EQ(t.fh_open, ZEL_TRUE);
    const std::string name = t.filename;
    EXPECT_NE(name.find("/cbtree_"), std::string::npos);
    EXPECT_GT(fileBytes().size(), 0u);
    ASSERT_EQ(b_cbtClear(&t), sOKAY);
    EXPECT_EQ(b_cbtCount(&t), 0u);
    EXPECT_EQ(cells.live, 0);
    EXPECT_EQ(t.nextId, 1u);
    EXPECT_EQ(t.root, 0u);
    EXPECT_EQ(fileBytes().size(), 0u);
    EXPECT_EQ(b_cbtFirst(&t), nullptr);
    EXPECT_EQ(find(7), nullptr);
    for (uint64_t k = 0; k < 50; ++k) {
        ASSERT_EQ(add(k), sOKAY);
        model.insert(k);
    }
    EXPECT_EQ(check(model), "");
    term();
    EXPECT_FALSE(std::filesystem::exists(name)) << "the node file outlives the tree";
}

// ---------------------------------------------------------------- bad files and failures

// The root's image (node 0, written when a leaf last took its place in a
// cache of one) is damaged in the file; every way down then fails cleanly.
TEST_F(CbtTest, ADamagedNodeImageIsAFileError) {
    struct Damage {
        const char *what;
        uint32_t offset;  // in the root's image; UINT32_MAX truncates the file
        uint32_t value;
    };
    const Damage cases[] = {
        {"more entries than slots", 0, 5},
        {"a child never given out", 4, 1000},
        {"a leaf's child in an interior node", 4, B_CBTREE_NO_ID},
        {"a child that is the node itself", 4, 0},
        {"a short image", UINT32_MAX, 0},
    };
    for (const Damage &d : cases) {
        SCOPED_TRACE(d.what);
        init(4, 1);
        for (uint64_t k = 10; k <= 400; k += 10) ASSERT_EQ(add(k), sOKAY);
        ASSERT_NE(find(400), nullptr);  // the cache holds the rightmost leaf
        ASSERT_NE(t.newest->id, t.root);
        PSP_FILE_T fh;
        ASSERT_EQ(psp_fileOpen(t.filename, PSP_FILE_UPDATE_EXISTING, &fh), sOKAY);
        if (d.offset == UINT32_MAX) {
            ASSERT_EQ(psp_fileSetSize(fh, 3), sOKAY);
        } else {
            ASSERT_EQ(psp_fileSeekWrite(fh, d.offset, &d.value, 4), sOKAY);
        }
        (void)psp_fileClose(fh);
        EXPECT_EQ(find(5), nullptr);
        EXPECT_EQ(find(200), nullptr);
        EXPECT_EQ(add(5), eFILEIO);
        EXPECT_EQ(b_cbtFirst(&t), nullptr);
        EXPECT_EQ(b_cbtCount(&t), 40u);
    }
}

// A write that fails after zapfcn took the entries: they are made again
// from the image, and once the file can grow the tree is whole.
TEST_F(CbtTest, AFailedWriteRebuildsTheEntriesFromTheImage) {
    init(4, 1);
    std::set<uint64_t> model;
    for (uint64_t k = 0; k < 60; k += 2) {
        ASSERT_EQ(add(k), sOKAY);
        model.insert(k);
    }
    FileSizeLimit limit(uint64_t{t.nextId} * t.nodesize);
    int failures = 0;
    for (uint64_t k = 1; k < 60; k += 2) {
        const ZEL_RETCODE rc = add(k);
        if (rc == sOKAY) {
            model.insert(k);
        } else {
            EXPECT_EQ(rc, eRANGE);  // EFBIG
            failures++;
        }
    }
    EXPECT_GT(failures, 0);
    const uint64_t loaded = cells.loaded;
    EXPECT_EQ(find(0), nullptr);  // the node that cannot be written blocks the cache
    EXPECT_GT(cells.loaded, loaded) << "the entries were not rebuilt";
    limit.lift();
    EXPECT_EQ(check(model), "");
    for (uint64_t k : model) ASSERT_NE(find(k), nullptr) << k;
    EXPECT_EQ(add(1001), sOKAY);
}

// When the rebuild fails too, the entries are gone: the tree finds nothing
// and refuses adds until it is cleared.
TEST_F(CbtTest, EntriesThatCannotBeRebuiltLoseTheTreeUntilItIsCleared) {
    init(4, 1);
    for (uint64_t k = 0; k < 60; k += 2) ASSERT_EQ(add(k), sOKAY);
    FileSizeLimit limit(uint64_t{t.nextId} * t.nodesize);
    ZEL_RETCODE rc = sOKAY;
    for (uint64_t k = 1; k < 60 && rc == sOKAY; k += 2) rc = add(k);
    ASSERT_EQ(rc, eRANGE);
    cells.failLoads = true;
    EXPECT_EQ(find(0), nullptr);
    EXPECT_EQ(t.root, B_CBTREE_NO_ID);
    cells.failLoads = false;
    limit.lift();
    EXPECT_EQ(find(0), nullptr);
    EXPECT_EQ(b_cbtFirst(&t), nullptr);
    EXPECT_EQ(add(1), eFILEIO);
    EXPECT_STREQ(zel::detail::cbt_check(
                     &t, [](uint32_t, const B_CBTREE_NODE *) {},
                     [](uint32_t, const B_CBTREE_NODE *, const void *) {})
                     .error,
                 "the tree lost its entries");
    ASSERT_EQ(b_cbtClear(&t), sOKAY);
    std::set<uint64_t> model;
    for (uint64_t k = 0; k < 30; ++k) {
        ASSERT_EQ(add(k), sOKAY);
        model.insert(k);
    }
    EXPECT_EQ(check(model), "");
}

TEST_F(CbtTest, AMissingDirectoryFailsTheFirstEvictionAndNothingElse) {
    ASSERT_EQ(b_cbtInit(&t, sub, &cells, Cells::compare, Cells::load, Cells::zap, 1, 3, 8,
                        scratch.path("absent").c_str()),
              sOKAY);
    inited = true;
    // The root's split pins all it works on, so the cache runs over rather
    // than evict; the next split must make room, and cannot.
    for (uint64_t k = 1; k <= 4; ++k) ASSERT_EQ(add(k), sOKAY);
    EXPECT_EQ(t.cached_nodes.count, 3u);
    EXPECT_EQ(add(5), eFILENOENTRY);
    EXPECT_EQ(check({1, 2, 3, 4}), "");
}

// ---------------------------------------------------------------- arguments, memory

TEST_F(CbtTest, InitRefusesBadArgumentsAndLeavesTheRecord) {
    struct Case {
        uint32_t slots, cache, entrysize;
        ZEL_RETCODE rc;
    };
    const Case cases[] = {
        {1, 1, 8, eINVARG},
        {2, 0, 8, eINVARG},
        {0x20000000, 1, 4, eINVARG},  // 2^29 * 8 + 8 bytes a node
        {0x3FFFFFFF, 1, 0, eINVARG},  // 2^32 + 4
    };
    B_CBTREE_T x;
    const auto untouched = [&] {
        const auto *b = reinterpret_cast<const uint8_t *>(&x);
        return std::all_of(b, b + sizeof x, [](uint8_t v) { return v == 0x5a; });
    };
    for (const Case &c : cases) {
        std::memset(&x, 0x5a, sizeof x);
        EXPECT_EQ(b_cbtInit(&x, sub, &cells, Cells::compare, Cells::load, Cells::zap, c.cache,
                            c.slots, c.entrysize, dir.c_str()),
                  c.rc);
        EXPECT_TRUE(untouched());
    }
    std::memset(&x, 0x5a, sizeof x);
    EXPECT_EQ(
        b_cbtInit(&x, nullptr, &cells, Cells::compare, Cells::load, Cells::zap, 1, 4, 8, nullptr),
        eINVNULLARG);
    EXPECT_EQ(b_cbtInit(&x, sub, &cells, nullptr, Cells::load, Cells::zap, 1, 4, 8, nullptr),
              eINVNULLARG);
    EXPECT_EQ(b_cbtInit(&x, sub, &cells, Cells::compare, nullptr, Cells::zap, 1, 4, 8, nullptr),
              eINVNULLARG);
    EXPECT_EQ(b_cbtInit(&x, sub, &cells, Cells::compare, Cells::load, nullptr, 1, 4, 8, nullptr),
              eINVNULLARG);
    EXPECT_TRUE(untouched());
    init(4, 1);
    EXPECT_EQ(b_cbtAdd(&t, nullptr), eINVNULLARG);
    EXPECT_EQ(b_cbtAdd(nullptr, &x), eINVNULLARG);
}

TEST_F(CbtTest, InitUnderFailingAllocationsLeavesTheRecordAsItWas) {
    const int runs = oom_check(master, {sub}, [&] {
        B_CBTREE_T x;
        std::memset(&x, 0x5a, sizeof x);
        const ZEL_RETCODE rc = initTree(&x, 4, 2);
        if (rc == sOKAY) {
            b_cbtTerm(&x);
        } else {
            const auto *b = reinterpret_cast<const uint8_t *>(&x);
            EXPECT_TRUE(std::all_of(b, b + sizeof x, [](uint8_t v) { return v == 0x5a; }));
        }
        return rc;
    });
    EXPECT_GT(runs, 0);
}

// Whole lives of trees under every allocation failing in turn: a failed add
// leaves the entries as they were, and the adds after it go on.
TEST_F(CbtTest, EveryAllocationOfAddsFailingLeavesTheEntriesAsTheyWere) {
    const std::pair<uint32_t, uint32_t> shapes[] = {{3, 1}, {4, 2}, {2, 3}};
    uint64_t leftFull = 0;  // nodes a failed split left full, split by a later add
    for (const auto &shape : shapes) {
        const uint32_t slots = shape.first, cache = shape.second;
        SCOPED_TRACE("slots " + std::to_string(slots) + ", cache " + std::to_string(cache));
        const int runs = oom_check(master, {sub, cells.sub}, [&] {
            B_CBTREE_T x;
            ZEL_RETCODE rc = initTree(&x, slots, cache);
            if (rc != sOKAY) return rc;
            std::set<uint64_t> model;
            std::mt19937 rng(slots);
            ZEL_RETCODE failed = sOKAY;
            for (int i = 0; i < 40; ++i) {
                const uint64_t k = rng() % 1000;
                rc = addTo(&x, k);
                if (rc == sOKAY) {
                    EXPECT_TRUE(model.insert(k).second);
                } else if (rc != eDUPLICATE) {
                    EXPECT_EQ(rc, eNOMEMORY);
                    failed = rc;
                }
            }
            // Once the fault has fired no other comes, so the check can load.
            if (b_tag_masterFailureGiven(master)) {
                CbtCheckResult r;
                EXPECT_EQ(check(&x, model, &r), "");
                leftFull += r.full;
            }
            b_cbtTerm(&x);
            return failed;
        });
        EXPECT_GT(runs, 0);
    }
    EXPECT_GT(leftFull, 0u);
}

TEST_F(CbtTest, EveryAllocationOfFindsFailingGivesNullAndNothingElse) {
    init(3, 2);
    std::set<uint64_t> model;
    for (uint64_t k = 0; k < 100; ++k) {
        ASSERT_EQ(add(k * 37 % 100), sOKAY);
        model.insert(k);
    }
    const int runs = oom_check(master, {sub}, [&] {
        ZEL_RETCODE rc = sOKAY;
        for (uint64_t k = 0; k < 100; k += 7) {
            void *p = find(k);
            if (p == nullptr) {
                rc = eNOMEMORY;
            } else {
                EXPECT_EQ(Cells::key(p), k);
            }
        }
        if (b_tag_masterFailureGiven(master)) {
            EXPECT_EQ(check(model), "");
        }
        return rc;
    });
    EXPECT_GT(runs, 0);
}

}  // namespace
