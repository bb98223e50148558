// Versioned cache against what a user would write instead: one
// std::unordered_map of objects per drawer, an undo log per savepoint (the
// old value, logged on an object's first write under that savepoint) and a
// commit that sorts the dirty keys by (-drawerType, drawer, id). 100,000
// objects of 32 bytes over 4 drawers. Measured: repeated reads of one id,
// random reads, a transaction of 10,000 writes with 3 savepoints and a
// rollback to the last, and the commit of 10,000 modified objects, also with
// 1,000 held modified objects in front of them (each round of the cache's
// commit starts again from the front and steps over them).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tag_master_psp.h"
#include "tag_sub.h"
#include "vcache.h"

namespace {

constexpr int kDrawers = 4;
constexpr uint64_t kPerDrawer = 25000;
constexpr size_t kWrites = 10000;
constexpr size_t kHeld = 1000;
const ZEL_DRAWER_TYPE kTypes[kDrawers] = {ZEL_DRAWER_TABLE, ZEL_DRAWER_BTREE, ZEL_DRAWER_HASH,
                                          ZEL_DRAWER_BLOB};

struct Obj {
    uint64_t w[4];
};
using Key = std::pair<int, uint64_t>;  // drawer, id

uint64_t g_sink = 0;

ZEL_RETCODE commitSink(const void *, uint64_t id, void *obj, const void *) {
    g_sink += id + static_cast<Obj *>(obj)->w[0];
    return sOKAY;
}
ZEL_RETCODE fullOk(uint32_t, const void *) {
    return sOKAY;
}

// Random keys: probes for reads; a transaction in four segments of 2,500
// writes, each rewriting half of the objects the one before wrote.
struct Keys {
    std::vector<Key> probe, txn, commit, held;
    Keys() {
        std::mt19937_64 rng(7);
        auto any = [&] { return Key{static_cast<int>(rng() % kDrawers), 1 + rng() % kPerDrawer}; };
        for (int i = 0; i < 1 << 20; ++i) probe.push_back(any());
        const size_t seg = kWrites / 4;
        for (size_t s = 0; s < 4; ++s) {
            for (size_t i = 0; i < seg; ++i) {
                txn.push_back(s > 0 && i % 2 == 0 ? txn[(s - 1) * seg + i] : any());
            }
        }
        // Distinct keys for the commits; the held ones sort first (the table
        // drawer, lowest ids) and are not among the others.
        std::vector<char> used(kDrawers * (kPerDrawer + 1), 0);
        for (uint64_t id = 1; id <= kHeld; ++id) {
            held.push_back({0, id});
            used[id] = 1;
        }
        while (commit.size() < kWrites) {
            const Key k = any();
            char &u = used[k.first * (kPerDrawer + 1) + k.second];
            if (!u) commit.push_back(k);
            u = 1;
        }
    }
};
const Keys &keys() {
    static const Keys k;
    return k;
}

// ---------------------------------------------------------------- the cache

struct Cache {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    B_VCACHE_T c{};
    ZEL_DRAWER_INFO drawers[kDrawers];
    B_VSUBCACHE_T subs[kDrawers]{};
    std::vector<B_VCACHE_ITEM_HANDLE> holds;
    int names[3] = {1, 2, 3};

    Cache() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) std::abort();
        if (b_tag_subCreate(master, &sub) != sOKAY) std::abort();
        if (b_vcacheInit(&c, 200000, sizeof(Obj), nullptr, nullptr, nullptr, fullOk, commitSink,
                         nullptr, sub) != sOKAY)
            std::abort();
        for (int d = 0; d < kDrawers; ++d) {
            drawers[d] = {kTypes[d], ZEL_FALSE};
            if (b_vcacheAddSubcache(&c, &drawers[d], &subs[d]) != sOKAY) std::abort();
        }
        for (int d = 0; d < kDrawers; ++d) {
            for (uint64_t id = 1; id <= kPerDrawer; ++id) load(Key{d, id});
        }
    }
    ~Cache() {
        b_vcacheTerm(&c);
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    void load(const Key &k) {
        Obj *o = nullptr;
        B_VCACHE_ITEM_HANDLE h = nullptr;
        if (b_vcacheAdd(&subs[k.first], k.second, ZEL_FALSE, &o, &h) != sOKAY) std::abort();
        *o = Obj{{k.second, 0, 0, 0}};
        b_vcacheRelease(h);
    }
    uint64_t read(const Key &k) {
        Obj *o = nullptr;
        B_VCACHE_ITEM_HANDLE h = nullptr;
        if (b_vcacheFindVersion(&subs[k.first], k.second, ZEL_FALSE, 0, nullptr, &o, &h) != sOKAY)
            std::abort();
        const uint64_t v = o->w[0];
        b_vcacheRelease(h);
        return v;
    }
    void write(const Key &k, uint64_t v) {
        Obj *o = nullptr;
        B_VCACHE_ITEM_HANDLE h = nullptr;
        if (b_vcacheFindVersion(&subs[k.first], k.second, ZEL_TRUE, 0, nullptr, &o, &h) != sOKAY)
            std::abort();
        o->w[1] = v;
        if (b_vcacheWrite(h) != sOKAY) std::abort();
    }
    void hold(const Key &k) {
        Obj *o = nullptr;
        B_VCACHE_ITEM_HANDLE h = nullptr;
        if (b_vcacheFindVersion(&subs[k.first], k.second, ZEL_TRUE, 0, nullptr, &o, &h) != sOKAY)
            std::abort();
        holds.push_back(h);
    }
    void mark(int i) {
        if (b_vcacheSetMark(&c, &names[i]) != sOKAY) std::abort();
    }
    void rollback(int i) {
        if (b_vcacheRollback(&c, &names[i]) != sOKAY) std::abort();
    }
    void commit() {
        if (b_vcacheCommit(B_VCACHE_FORWARD, &c) != sOKAY) std::abort();
    }
    // After a rollback the entries first written since the mark are gone:
    // the engine would load them again.
    void reload(const std::vector<Key> &ks) {
        for (const Key &k : ks) {
            Obj *o = nullptr;
            B_VCACHE_ITEM_HANDLE h = nullptr;
            if (b_vcacheFindVersion(&subs[k.first], k.second, ZEL_FALSE, 0, nullptr, &o, &h) ==
                sOKAY) {
                b_vcacheRelease(h);
            } else {
                load(k);
            }
        }
    }
};

// ---------------------------------------------------------------- the peer

struct PeerObj {
    Obj o;
    uint64_t logged;  // the savepoint serial under which the old value was logged
    bool dirty;
};

struct Peer {
    std::unordered_map<uint64_t, PeerObj> maps[kDrawers];
    std::vector<std::vector<std::tuple<int, uint64_t, PeerObj>>> undo{1};
    std::vector<uint64_t> serial{1};
    uint64_t nextSerial = 2;
    std::vector<Key> dirty;
    std::vector<bool> held = std::vector<bool>(kDrawers * (kPerDrawer + 1), false);

    Peer() {
        for (int d = 0; d < kDrawers; ++d) {
            maps[d].reserve(kPerDrawer);
            for (uint64_t id = 1; id <= kPerDrawer; ++id)
                maps[d].emplace(id, PeerObj{Obj{{id, 0, 0, 0}}, 0, false});
        }
    }
    uint64_t read(const Key &k) { return maps[k.first].find(k.second)->second.o.w[0]; }
    void write(const Key &k, uint64_t v) {
        PeerObj &p = maps[k.first].find(k.second)->second;
        if (p.logged != serial.back()) {
            undo.back().emplace_back(k.first, k.second, p);
            p.logged = serial.back();
        }
        if (!p.dirty) {
            p.dirty = true;
            dirty.push_back(k);
        }
        p.o.w[1] = v;
    }
    void mark() {
        undo.emplace_back();
        serial.push_back(nextSerial++);
    }
    // Back to savepoint i (1-based), which stays.
    void rollback(size_t i) {
        while (undo.size() > i) {
            for (auto it = undo.back().rbegin(); it != undo.back().rend(); ++it)
                maps[std::get<0>(*it)].find(std::get<1>(*it))->second = std::get<2>(*it);
            if (undo.size() == i + 1) break;
            undo.pop_back();
            serial.pop_back();
        }
        undo.back().clear();
        serial.back() = nextSerial++;
    }
    void commit() {
        std::sort(dirty.begin(), dirty.end(), [](const Key &x, const Key &y) {
            return std::make_tuple(-kTypes[x.first], x.first, x.second) <
                   std::make_tuple(-kTypes[y.first], y.first, y.second);
        });
        size_t kept = 0;
        for (const Key &k : dirty) {
            PeerObj &p = maps[k.first].find(k.second)->second;
            if (!p.dirty) continue;  // a rollback cleaned it
            if (held[k.first * (kPerDrawer + 1) + k.second]) {
                dirty[kept++] = k;
                continue;
            }
            commitSink(nullptr, k.second, &p.o, nullptr);
            p.dirty = false;
        }
        dirty.resize(kept);
        undo.assign(1, {});
        serial.assign(1, nextSerial++);
    }
};

// ---------------------------------------------------------------- reads

template <class T>
T &fixture() {
    static T t;
    return t;
}

// The same id again and again: the cache answers from its lookaside. The
// clobber keeps the compiler from hoisting the peer's find out of the loop.
template <class T>
void readSameId(benchmark::State &state) {
    T &t = fixture<T>();
    const Key k{2, 12345};
    for (auto _ : state) {
        benchmark::DoNotOptimize(t.read(k));
        benchmark::ClobberMemory();
    }
}
// Random ids. With range(0) 0 the reads are independent, and the processor
// overlaps their cache misses; with 1 each probe waits for the read before
// it, as when the next object to read depends on this one.
template <class T>
void readRandom(benchmark::State &state) {
    T &t = fixture<T>();
    const std::vector<Key> &probe = keys().probe;
    const bool chained = state.range(0) != 0;
    size_t i = 0;
    uint64_t v = 0;
    for (auto _ : state) {
        v = t.read(probe[i & (probe.size() - 1)]);
        benchmark::DoNotOptimize(v);
        i += chained ? 1 + (v == ~uint64_t{0}) : 1;
    }
}
void BM_ReadSameId_Vcache(benchmark::State &state) {
    readSameId<Cache>(state);
}
void BM_ReadSameId_Peer(benchmark::State &state) {
    readSameId<Peer>(state);
}
void BM_ReadRandom_Vcache(benchmark::State &state) {
    readRandom<Cache>(state);
}
void BM_ReadRandom_Peer(benchmark::State &state) {
    readRandom<Peer>(state);
}

// ---------------------------------------------------------------- transactions

// 2,500 writes, savepoint 1, 2,500, savepoint 2, 2,500, savepoint 3, 2,500,
// rollback to savepoint 3.
template <class W, class M, class R>
void transaction(W write, M mark, R rollback) {
    const std::vector<Key> &txn = keys().txn;
    const size_t seg = txn.size() / 4;
    for (size_t i = 0; i < txn.size(); ++i) {
        if (i != 0 && i % seg == 0) mark(static_cast<int>(i / seg) - 1);
        write(txn[i], i);
    }
    rollback(2);
}

void BM_Transaction_Vcache(benchmark::State &state) {
    Cache &c = fixture<Cache>();
    for (auto _ : state) {
        transaction([&](const Key &k, uint64_t v) { c.write(k, v); }, [&](int i) { c.mark(i); },
                    [&](int i) { c.rollback(i); });
        state.PauseTiming();
        c.commit();
        c.reload(keys().txn);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kWrites);
}
void BM_Transaction_Peer(benchmark::State &state) {
    Peer &p = fixture<Peer>();
    for (auto _ : state) {
        transaction([&](const Key &k, uint64_t v) { p.write(k, v); }, [&](int) { p.mark(); },
                    [&](int i) { p.rollback(static_cast<size_t>(i) + 1); });
        state.PauseTiming();
        p.commit();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kWrites);
}

// ---------------------------------------------------------------- commits

void BM_Commit_Vcache(benchmark::State &state) {
    Cache &c = fixture<Cache>();
    const bool held = state.range(0) != 0;
    if (held)
        for (const Key &k : keys().held) c.hold(k);
    for (auto _ : state) {
        state.PauseTiming();
        for (const Key &k : keys().commit) c.write(k, 1);
        state.ResumeTiming();
        c.commit();
    }
    state.SetItemsProcessed(state.iterations() * kWrites);
    for (B_VCACHE_ITEM_HANDLE h : c.holds) (void)b_vcacheWrite(h);
    c.holds.clear();
    c.commit();
}
void BM_Commit_Peer(benchmark::State &state) {
    Peer &p = fixture<Peer>();
    const bool held = state.range(0) != 0;
    if (held) {
        for (const Key &k : keys().held) {
            p.write(k, 1);
            p.held[k.first * (kPerDrawer + 1) + k.second] = true;
        }
    }
    for (auto _ : state) {
        state.PauseTiming();
        for (const Key &k : keys().commit) p.write(k, 1);
        state.ResumeTiming();
        p.commit();
    }
    state.SetItemsProcessed(state.iterations() * kWrites);
    std::fill(p.held.begin(), p.held.end(), false);
    p.commit();
}

BENCHMARK(BM_ReadSameId_Vcache);
BENCHMARK(BM_ReadSameId_Peer);
BENCHMARK(BM_ReadRandom_Vcache)->Arg(0)->Arg(1);
BENCHMARK(BM_ReadRandom_Peer)->Arg(0)->Arg(1);
BENCHMARK(BM_Transaction_Vcache)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Transaction_Peer)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Commit_Vcache)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Commit_Peer)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
