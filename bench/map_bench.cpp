// The four maps against the maps a user would pick instead: std::map,
// absl::btree_map and std::unordered_map, each of uint64_t to uint64_t.
// Dense keys (0 .. 2^20 - 1, inserted and looked up in two shuffled orders)
// suit MAPB and UINTMAP (array of 2^20); sparse keys (2^20 random 64-bit)
// are the general case, left out for MAPB, which would spend a block a key.
// Insert builds the map from empty (tear-down untimed), Find looks every key
// up, Scan walks all in order (the unordered map in its own order), Erase
// deletes every key. The counter bytes_per_key is what the map holds after
// the inserts: tag bytes for ours, bytes asked of the allocator for the
// peers (malloc adds its own per-allocation header on top).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#ifdef ZELBASE_HAVE_ABSL
#include <absl/container/btree_map.h>
#endif

#include "map.h"
#include "mapa.h"
#include "mapb.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "uintmap.h"

namespace {

constexpr size_t kKeys = size_t{1} << 20;

struct Keys {
    std::vector<uint64_t> insert, probe;
};

Keys makeKeys(bool dense) {
    Keys k;
    k.insert.resize(kKeys);
    std::iota(k.insert.begin(), k.insert.end(), uint64_t{0});
    if (!dense) {
        for (uint64_t &x : k.insert) x = x * 0x9E3779B97F4A7C15u + 12345;  // distinct, spread
    }
    std::mt19937_64 rng(42);
    std::shuffle(k.insert.begin(), k.insert.end(), rng);
    k.probe = k.insert;
    std::shuffle(k.probe.begin(), k.probe.end(), rng);
    return k;
}

const Keys &keys(bool dense) {
    static const Keys d = makeKeys(true), s = makeKeys(false);
    return dense ? d : s;
}

// ---------------------------------------------------------------- ours

// A master and sub tag per benchmark, reporting the sub tag's bytes.
struct Tags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    Tags() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) std::abort();
        if (b_tag_subCreate(master, &sub) != sOKAY) std::abort();
    }
    ~Tags() {
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    int64_t bytes() const {
        int64_t cur = 0, peak = 0;
        b_tag_subMemUsage(sub, &cur, &peak, nullptr);
        return cur;
    }
};

void need(ZEL_RETCODE rc) {
    if (rc < 0) std::abort();
}

struct Map {
    Tags tags;
    B_MAP_T m{};
    void init() { need(b_mapInit(&m, 0, nullptr, nullptr, tags.sub)); }
    void term() { b_mapTerm(&m); }
    void set(uint64_t k) { need(b_mapSet(&m, k, k)); }
    uint64_t find(uint64_t k) {
        B_MAP_VALUE v = 0;
        need(b_mapFind(&m, k, &v));
        return v;
    }
    uint64_t scan() {
        uint64_t sum = 0;
        B_MAP_KEY k;
        B_MAP_VALUE v;
        for (ZEL_RETCODE rc = b_mapFirst(&m, &k, &v); rc == sOKAY; rc = b_mapNext(&m, &k, &v))
            sum += v;
        return sum;
    }
    void erase(uint64_t k) { need(b_mapDelete(&m, k, nullptr)); }
    int64_t bytes() const { return tags.bytes(); }
};

// MAPA and MAPB have the same shape of API: one body over their functions.
template <class T, class Pos, auto init_, auto term_, auto set_, auto find_, auto first_,
          auto next_, auto erase_>
struct Ordered {
    Tags tags;
    T m{};
    void init() { init_(&m, tags.sub); }
    void term() { term_(&m); }
    void set(uint64_t k) { need(set_(&m, k, k)); }
    uint64_t find(uint64_t k) {
        B_MAP_VALUE v = 0;
        need(find_(&m, k, &v));
        return v;
    }
    uint64_t scan() {
        uint64_t sum = 0;
        B_MAP_KEY k;
        B_MAP_VALUE v;
        Pos pos;
        for (ZEL_RETCODE rc = first_(&m, &k, &v, &pos); rc == sOKAY;
             rc = next_(&m, &pos, &k, &v, &pos))
            sum += v;
        return sum;
    }
    void erase(uint64_t k) { need(erase_(&m, k)); }
    int64_t bytes() const { return tags.bytes(); }
};

using Mapa = Ordered<B_MAPA_T, B_MAPA_POS,
                     [](B_MAPA_T *m, B_TAG_SUB sub) { b_mapaInit(m, nullptr, nullptr, sub); },
                     b_mapaTerm, b_mapaSet, b_mapaFind, b_mapaFirstEx, b_mapaNext, b_mapaDelete>;
using Mapb =
    Ordered<B_MAPB_T, B_MAPB_POS, [](B_MAPB_T *m, B_TAG_SUB sub) { b_mapbInit(m, nullptr, sub); },
            b_mapbTerm, b_mapbSet, b_mapbFind, b_mapbFirstEx, b_mapbNext, b_mapbDelete>;

// Every dense key in the array.
struct Uintmap {
    Tags tags;
    B_UINTMAP_T m{};
    void init() { need(b_uintmapInitEx(&m, 0, kKeys, nullptr, nullptr, tags.sub)); }
    void term() { b_uintmapTerm(&m); }
    void set(uint64_t k) { need(b_uintmapSet(&m, k, k)); }
    uint64_t find(uint64_t k) {
        B_MAP_VALUE v = 0;
        need(b_uintmapFind(&m, k, &v));
        return v;
    }
    uint64_t scan() {
        uint64_t sum = 0;
        B_MAP_KEY k;
        B_MAP_VALUE v;
        for (ZEL_RETCODE rc = b_uintmapFirst(&m, &k, &v); rc == sOKAY;
             rc = b_uintmapNext(&m, &k, &v))
            sum += v;
        return sum;
    }
    void erase(uint64_t k) { need(b_uintmapDelete(&m, k, nullptr)); }
    int64_t bytes() const { return tags.bytes(); }
};

// ---------------------------------------------------------------- peers

int64_t g_peerBytes = 0;  // bytes the peers' allocators hold

template <class T>
struct Counting {
    using value_type = T;
    Counting() = default;
    template <class U>
    Counting(const Counting<U> &) {}
    T *allocate(size_t n) {
        g_peerBytes += int64_t(n * sizeof(T));
        return std::allocator<T>().allocate(n);
    }
    void deallocate(T *p, size_t n) {
        g_peerBytes -= int64_t(n * sizeof(T));
        std::allocator<T>().deallocate(p, n);
    }
    template <class U>
    bool operator==(const Counting<U> &) const {
        return true;
    }
};

template <class M>
struct Peer {
    M m;
    void init() {}
    void term() { M().swap(m); }
    void set(uint64_t k) { m[k] = k; }
    uint64_t find(uint64_t k) { return m.find(k)->second; }
    uint64_t scan() {
        uint64_t sum = 0;
        for (const auto &e : m) sum += e.second;
        return sum;
    }
    void erase(uint64_t k) { m.erase(k); }
    int64_t bytes() const { return g_peerBytes; }
};

using Pair = std::pair<const uint64_t, uint64_t>;
using StdMap = Peer<std::map<uint64_t, uint64_t, std::less<>, Counting<Pair>>>;
using StdUnordered = Peer<
    std::unordered_map<uint64_t, uint64_t, std::hash<uint64_t>, std::equal_to<>, Counting<Pair>>>;
#ifdef ZELBASE_HAVE_ABSL
using AbslMap = Peer<absl::btree_map<uint64_t, uint64_t, std::less<>, Counting<Pair>>>;
#endif

// ---------------------------------------------------------------- runs

template <class M>
void fill(M &m, bool dense) {
    m.init();
    for (uint64_t k : keys(dense).insert) m.set(k);
}

template <class M>
void BM_Insert(benchmark::State &state, bool dense) {
    M m;
    for (auto _ : state) {
        fill(m, dense);
        state.PauseTiming();
        state.counters["bytes_per_key"] = double(m.bytes()) / double(kKeys);
        m.term();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(int64_t(state.iterations() * kKeys));
}

template <class M>
void BM_Find(benchmark::State &state, bool dense) {
    M m;
    fill(m, dense);
    for (auto _ : state) {
        uint64_t sum = 0;
        for (uint64_t k : keys(dense).probe) sum += m.find(k);
        benchmark::DoNotOptimize(sum);
    }
    m.term();
    state.SetItemsProcessed(int64_t(state.iterations() * kKeys));
}

template <class M>
void BM_Scan(benchmark::State &state, bool dense) {
    M m;
    fill(m, dense);
    for (auto _ : state) benchmark::DoNotOptimize(m.scan());
    m.term();
    state.SetItemsProcessed(int64_t(state.iterations() * kKeys));
}

template <class M>
void BM_Erase(benchmark::State &state, bool dense) {
    M m;
    for (auto _ : state) {
        state.PauseTiming();
        fill(m, dense);
        state.ResumeTiming();
        for (uint64_t k : keys(dense).probe) m.erase(k);
        state.PauseTiming();
        m.term();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(int64_t(state.iterations() * kKeys));
}

// Registers the four runs of map M under "Op/label", so that the output
// lists each operation of one key set for all maps together.
template <class M>
void add(int op, const char *label, bool dense) {
    static void (*const runs[])(benchmark::State &, bool) = {BM_Insert<M>, BM_Find<M>, BM_Scan<M>,
                                                             BM_Erase<M>};
    static const char *const names[] = {"Insert/", "Find/", "Scan/", "Erase/"};
    benchmark::RegisterBenchmark((std::string(names[op]) + label).c_str(), runs[op], dense)
        ->Unit(benchmark::kMillisecond);
}

const int registered = [] {
    for (int op = 0; op < 4; ++op) {
        add<Mapb>(op, "dense/Mapb", true);
        add<Uintmap>(op, "dense/Uintmap", true);
        add<Map>(op, "dense/Map", true);
        add<Mapa>(op, "dense/Mapa", true);
        add<StdMap>(op, "dense/StdMap", true);
        add<StdUnordered>(op, "dense/StdUnordered", true);
#ifdef ZELBASE_HAVE_ABSL
        add<AbslMap>(op, "dense/AbslMap", true);
#endif
    }
    for (int op = 0; op < 4; ++op) {
        add<Map>(op, "sparse/Map", false);
        add<Mapa>(op, "sparse/Mapa", false);
        add<StdMap>(op, "sparse/StdMap", false);
        add<StdUnordered>(op, "sparse/StdUnordered", false);
#ifdef ZELBASE_HAVE_ABSL
        add<AbslMap>(op, "sparse/AbslMap", false);
#endif
    }
    return 0;
}();

}  // namespace

BENCHMARK_MAIN();
