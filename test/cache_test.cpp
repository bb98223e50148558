// Block cache: random gets, releases and flushes replayed against a small
// model of its rules (which id is zapped for room, which callbacks run in
// which order), with failing loaders and zappers, caches of no room among
// them; one trace worked by hand; bad arguments and allocation failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "cache.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

// The callbacks write what they were asked into `trace`: "L5" load of 5,
// "Z5+" zap with free, "W5" zap without free (a write), "T5" terminator.
// Loads of an id in `failLoad` and zaps of one in `failZap` fail.
struct Callbacks {
    std::vector<std::string> trace;
    std::vector<uint64_t> failLoad, failZap;
    std::map<uint64_t, int> live;  // blocks loaded and not yet freed, by id
    std::vector<uint64_t> blocks = std::vector<uint64_t>(1024);

    static bool in(const std::vector<uint64_t> &v, uint64_t id) {
        return std::find(v.begin(), v.end(), id) != v.end();
    }
    static ZEL_RETCODE load(B_CACHE_ID id, void **data, void *ctx) {
        auto *c = static_cast<Callbacks *>(ctx);
        c->trace.push_back("L" + std::to_string(id));
        if (in(c->failLoad, id)) return eFILEACCESS;
        c->blocks[id] = id;
        *data = &c->blocks[id];
        c->live[id]++;
        return sOKAY;
    }
    static ZEL_RETCODE zap(B_CACHE_ID id, void *data, ZEL_BOOL_T free_mem, void *ctx) {
        auto *c = static_cast<Callbacks *>(ctx);
        EXPECT_EQ(data, &c->blocks[id]);
        c->trace.push_back((free_mem ? "Z" : "W") + std::to_string(id) + (free_mem ? "+" : ""));
        if (in(c->failZap, id)) return eFILEIO;
        if (free_mem && --c->live[id] == 0) c->live.erase(id);
        return sOKAY;
    }
    static void term(B_CACHE_ID id, void *, void *ctx) {
        auto *c = static_cast<Callbacks *>(ctx);
        c->trace.push_back("T" + std::to_string(id));
        if (--c->live[id] == 0) c->live.erase(id);
    }
};

// The rules, kept apart from the code: two lists oldest first, an index of
// holds and marks, and the expected callbacks.
class CacheModel {
  public:
    CacheModel(uint32_t max, Callbacks *cb) : max_(max), cb_(cb) {}

    // The result of a get, writing the expected callbacks to `trace`.
    ZEL_RETCODE get(uint64_t id, std::vector<std::string> &trace) {
        auto it = entries_.find(id);
        if (it != entries_.end()) {
            it->second.hold++;
            auto &list = it->second.modified ? modified_ : clean_;
            list.remove(id);
            list.push_back(id);
            return sOKAY;
        }
        if (entries_.size() >= max_) {
            for (uint64_t c : clean_) {
                if (entries_[c].hold != 0) continue;
                trace.push_back("Z" + std::to_string(c) + "+");
                if (Callbacks::in(cb_->failZap, c)) return eFILEIO;
                clean_.remove(c);
                entries_.erase(c);
                break;
            }
        }
        trace.push_back("L" + std::to_string(id));
        if (Callbacks::in(cb_->failLoad, id)) return eFILEACCESS;
        entries_[id] = {1, false};
        clean_.push_back(id);
        return sOKAY;
    }
    void release(uint64_t id, bool modified) {
        Entry &e = entries_[id];
        if (modified && !e.modified) {
            clean_.remove(id);
            modified_.push_back(id);
            e.modified = true;
        }
        e.hold--;
    }
    ZEL_RETCODE flush(std::vector<std::string> &trace) {
        for (uint64_t id : modified_) {
            trace.push_back("W" + std::to_string(id));
            if (Callbacks::in(cb_->failZap, id)) return eFILEIO;
        }
        return sOKAY;
    }
    void term(bool flush, std::vector<std::string> &trace) {
        for (auto *list : {&clean_, &modified_}) {
            for (uint64_t id : *list)
                trace.push_back((flush ? "Z" : "T") + std::to_string(id) + (flush ? "+" : ""));
        }
    }
    size_t size() const { return entries_.size(); }
    bool modified(uint64_t id) const { return entries_.at(id).modified; }

  private:
    struct Entry {
        int hold;
        bool modified;
    };
    uint32_t max_;
    Callbacks *cb_;
    std::map<uint64_t, Entry> entries_;
    std::list<uint64_t> clean_, modified_;
};

class CacheTest : public TaggedTest {
  protected:
    void init(uint32_t max, bool sync = false) {
        ASSERT_EQ(b_cacheInit(&cache, max, Callbacks::load, Callbacks::zap, Callbacks::term,
                              sync ? ZEL_TRUE : ZEL_FALSE, &cb, sub),
                  sOKAY);
    }
    B_CACHE_HANDLE get(uint64_t id) {
        void *data = nullptr;
        B_CACHE_HANDLE h = nullptr;
        EXPECT_EQ(b_cacheGetEntry(&cache, id, &data, &h), sOKAY);
        EXPECT_EQ(data, &cb.blocks[id]);
        return h;
    }
    Callbacks cb;
    B_CACHE_T cache{};
};

TEST_F(CacheTest, RandomUseFollowsTheModel) {
    for (uint32_t seed = 1; seed <= 6; ++seed) {
        const uint32_t max = seed % 3 == 0 ? 0 : 4 + seed;
        init(max, seed % 2 == 0);
        std::mt19937 rng(seed);
        CacheModel model(max, &cb);
        std::vector<std::pair<uint64_t, B_CACHE_HANDLE>> held;
        std::vector<std::string> want;
        for (int step = 0; step < 3000; ++step) {
            // Now and then a load or zap starts or stops failing.
            if (rng() % 50 == 0) cb.failLoad = {rng() % 24};
            if (rng() % 50 == 0) cb.failZap = {rng() % 24};
            if (rng() % 40 == 0) cb.failLoad.clear(), cb.failZap.clear();
            const uint32_t op = rng() % 10;
            if (op < 5 || held.empty()) {
                const uint64_t id = rng() % 24;
                void *data = nullptr;
                B_CACHE_HANDLE h = nullptr;
                const ZEL_RETCODE rc = b_cacheGetEntry(&cache, id, &data, &h);
                ASSERT_EQ(rc, model.get(id, want)) << "step " << step;
                if (rc == sOKAY) {
                    ASSERT_EQ(data, &cb.blocks[id]);
                    held.emplace_back(id, h);
                } else {
                    ASSERT_EQ(h, nullptr);
                }
            } else if (op < 9) {
                const size_t i = rng() % held.size();
                const bool modified = rng() % 3 == 0;
                b_cacheReleaseEntry(&cache, held[i].second, modified ? ZEL_TRUE : ZEL_FALSE);
                model.release(held[i].first, modified);
                held.erase(held.begin() + static_cast<ptrdiff_t>(i));
            } else {
                ASSERT_EQ(b_cacheFlush(&cache), model.flush(want));
            }
            ASSERT_EQ(cb.trace, want) << "step " << step;
            cb.trace.clear();
            want.clear();
            ASSERT_EQ(cache.numentries, model.size()) << "step " << step;
            ASSERT_EQ(cb.live.size(), model.size()) << "blocks alive";
        }
        cb.failLoad.clear();
        cb.failZap.clear();
        const bool flush = seed % 2 == 1;
        model.term(flush, want);
        b_cacheTerm(&cache, flush ? ZEL_TRUE : ZEL_FALSE);
        ASSERT_EQ(cb.trace, want);
        EXPECT_TRUE(cb.live.empty());
        cb.trace.clear();
    }
}

// A held clean block is passed over for a newer unheld one; a modified one
// is never zapped for room; term with flush zaps clean then modified.
TEST_F(CacheTest, HeldCleanBlockIsPassedOverForANewerUnheldOne) {
    init(3);
    B_CACHE_HANDLE old = get(1);
    b_cacheReleaseEntry(&cache, get(2), ZEL_FALSE);
    B_CACHE_HANDLE m = get(3);
    b_cacheReleaseEntry(&cache, m, ZEL_TRUE);  // modified: never zapped for room
    b_cacheReleaseEntry(&cache, get(4), ZEL_FALSE);
    EXPECT_EQ(cb.trace, (std::vector<std::string>{"L1", "L2", "L3", "Z2+", "L4"}));
    b_cacheReleaseEntry(&cache, old, ZEL_FALSE);
    b_cacheTerm(&cache, ZEL_TRUE);
    EXPECT_EQ(cb.trace,
              (std::vector<std::string>{"L1", "L2", "L3", "Z2+", "L4", "Z1+", "Z4+", "Z3+"}));
}

TEST_F(CacheTest, FailedLoadKeepsNothingAndBadArgumentsAreRefused) {
    init(4);
    cb.failLoad = {5};
    void *data = &cb;
    B_CACHE_HANDLE h = &cb;
    EXPECT_EQ(b_cacheGetEntry(&cache, 5, &data, &h), eFILEACCESS);
    EXPECT_EQ(data, &cb);
    EXPECT_EQ(h, &cb);
    EXPECT_EQ(cache.numentries, 0u);
    EXPECT_EQ(b_cacheGetEntry(&cache, 5, nullptr, &h), eINVNULLARG);
    EXPECT_EQ(b_cacheGetEntry(&cache, 5, &data, nullptr), eINVNULLARG);
    B_CACHE_T other;
    EXPECT_EQ(b_cacheInit(&other, 1, nullptr, Callbacks::zap, nullptr, ZEL_FALSE, &cb, sub),
              eINVNULLARG);
    EXPECT_EQ(b_cacheInit(&other, 1, Callbacks::load, nullptr, nullptr, ZEL_FALSE, &cb, sub),
              eINVNULLARG);
    EXPECT_EQ(
        b_cacheInit(&other, 1, Callbacks::load, Callbacks::zap, nullptr, ZEL_FALSE, &cb, nullptr),
        eINVNULLARG);
    b_cacheTerm(&cache, ZEL_FALSE);
}

TEST_F(CacheTest, OutOfMemoryInGetEntryLoadsNothing) {
    const int runs = oom_check(master, {sub}, [&] {
        B_CACHE_T c;
        ZEL_RETCODE rc;
        ZEL_CHECK(
            rc = b_cacheInit(&c, 3, Callbacks::load, Callbacks::zap, nullptr, ZEL_TRUE, &cb, sub));
        cb.trace.clear();
        size_t loads = 0;
        for (uint64_t id = 0; id < 6 && rc == sOKAY; ++id) {
            void *data = nullptr;
            B_CACHE_HANDLE h = nullptr;
            rc = b_cacheGetEntry(&c, id, &data, &h);
            if (rc == sOKAY) {
                loads++;
                b_cacheReleaseEntry(&c, h, ZEL_FALSE);
            } else {
                EXPECT_EQ(data, nullptr);
                EXPECT_EQ(h, nullptr);
            }
        }
        // A failed allocation comes before the loader: no load without an entry.
        EXPECT_EQ(std::count_if(cb.trace.begin(), cb.trace.end(),
                                [](const std::string &s) { return s[0] == 'L'; }),
                  static_cast<ptrdiff_t>(loads));
        b_cacheTerm(&c, ZEL_TRUE);
        EXPECT_TRUE(cb.live.empty());
        return rc;
    });
    EXPECT_GT(runs, 0);
}

}  // namespace
