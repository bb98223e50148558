// Maps shared between threads. B_MAPA_T and B_MAPB_T have no lock: eight
// readers use one filled map at once (finds, find-or, walks with their own
// positions, iterate, count), which ThreadSanitizer holds to reading only.
// B_MAP_T and B_UINTMAP_T made with B_MAP_FLAG_MUTEX take eight writers:
// each sets, finds and deletes keys of its own range and overwrites a shared
// range, and the map must end with exactly what the writers left.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <random>
#include <thread>
#include <vector>

#include "map.h"
#include "mapa.h"
#include "mapb.h"
#include "tag_fixture.h"
#include "uintmap.h"

namespace {

constexpr int kThreads = 8;

// ---------------------------------------------------------------- readers

// Keys 0, 3, 6, ... below kSpan, value 7 * key: dense enough for MAPB
// blocks, with gaps for find-or.
constexpr uint64_t kSpan = 30000;
constexpr uint64_t kStride = 3;

ZEL_RETCODE checkEntry(const void *, B_MAP_KEY key, B_MAP_VALUE value) {
    return value == key * 7 && key % kStride == 0 && key < kSpan ? sOKAY : eFAIL;
}

// The operations one reader needs from a map of either kind.
template <class M, class Pos>
struct Reader {
    ZEL_RETCODE (*find)(const M *, B_MAP_KEY, B_MAP_VALUE *, Pos *);
    ZEL_RETCODE (*findOrNext)(const M *, B_MAP_KEY *, B_MAP_VALUE *, Pos *);
    ZEL_RETCODE (*findOrPrev)(const M *, B_MAP_KEY *, B_MAP_VALUE *, Pos *);
    ZEL_RETCODE (*next)(const M *, const Pos *, B_MAP_KEY *, B_MAP_VALUE *, Pos *);
    ZEL_RETCODE (*prev)(const M *, const Pos *, B_MAP_KEY *, B_MAP_VALUE *, Pos *);
    uint64_t (*count)(const M *);
    ZEL_RETCODE (*iterate)(const M *, B_MAP_ITERATE);

    // Random reads by one thread; the number of wrong answers.
    int run(const M *m, uint32_t seed) const {
        std::mt19937_64 rng(seed);
        int wrong = 0;
        for (int i = 0; i < 3000; ++i) {
            const B_MAP_KEY k = rng() % (kSpan + 10);
            const bool present = k % kStride == 0 && k < kSpan;
            B_MAP_VALUE v = 0;
            Pos pos{};
            const ZEL_RETCODE rc = find(m, k, &v, &pos);
            wrong += rc != (present ? sOKAY : sNOTFOUND) || (present && v != k * 7);
            B_MAP_KEY key = k;
            const bool up = rng() % 2 == 0;
            if ((up ? findOrNext : findOrPrev)(m, &key, &v, &pos) != sOKAY) {
                wrong += !up || k <= kSpan - kStride;  // only past the last key
                continue;
            }
            const B_MAP_KEY want = up ? (k + kStride - 1) / kStride * kStride
                                      : std::min(k / kStride * kStride, kSpan - kStride);
            wrong += key != want || v != key * 7;
            // A short walk from there with the reader's own position.
            for (int s = 0; s < 20; ++s) {
                const B_MAP_KEY from = key;
                if ((up ? next : prev)(m, &pos, &key, &v, &pos) != sOKAY) break;
                wrong += key != (up ? from + kStride : from - kStride) || v != key * 7;
            }
            if (i % 500 == 0) {
                wrong += iterate(m, checkEntry) != sOKAY;
                wrong += count(m) != kSpan / kStride;
            }
        }
        return wrong;
    }
};

template <class M, class Pos>
void readTogether(const M *m, const Reader<M, Pos> &r) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] { wrong += r.run(m, uint32_t(t) + 1); });
    }
    for (std::thread &th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
}

using MapReaders = TaggedTest;

TEST_F(MapReaders, EightReadMapaAtOnce) {
    B_MAPA_T m;
    b_mapaInit(&m, nullptr, nullptr, sub);
    for (B_MAP_KEY k = 0; k < kSpan; k += kStride) ASSERT_EQ(b_mapaSet(&m, k, k * 7), sOKAY);
    readTogether(&m,
                 Reader<B_MAPA_T, B_MAPA_POS>{b_mapaFindEx, b_mapaFindOrNextEx, b_mapaFindOrPrevEx,
                                              b_mapaNext, b_mapaPrev, b_mapaCount, b_mapaIterate});
    b_mapaTerm(&m);
}

TEST_F(MapReaders, EightReadMapbAtOnce) {
    B_MAPB_T m;
    b_mapbInit(&m, nullptr, sub);
    for (B_MAP_KEY k = 0; k < kSpan; k += kStride) ASSERT_EQ(b_mapbSet(&m, k, k * 7), sOKAY);
    readTogether(&m,
                 Reader<B_MAPB_T, B_MAPB_POS>{b_mapbFindEx, b_mapbFindOrNextEx, b_mapbFindOrPrevEx,
                                              b_mapbNext, b_mapbPrev, b_mapbCount, b_mapbIterate});
    b_mapbTerm(&m);
}

// ---------------------------------------------------------------- writers

// Thread t owns keys t * kRange + i; keys below kShared are overwritten by
// all. Each writer sets its keys, reads them back, deletes the odd ones and
// leaves the even ones with value key + 1.
constexpr uint64_t kRange = 1 << 20;
constexpr uint64_t kOwn = 2000;
constexpr uint64_t kShared = 64;

template <class M>
struct Writer {
    ZEL_RETCODE (*set)(M *, B_MAP_KEY, B_MAP_VALUE);
    ZEL_RETCODE (*find)(M *, B_MAP_KEY, B_MAP_VALUE *);
    ZEL_RETCODE (*del)(M *, B_MAP_KEY, B_MAP_VALUE *);
    ZEL_RETCODE (*count)(M *, uint32_t *);

    int run(M *m, uint64_t t) const {
        std::mt19937_64 rng(t + 1);
        int wrong = 0;
        const uint64_t base = (t + 1) * kRange;
        for (uint64_t i = 0; i < kOwn; ++i) {
            wrong += set(m, base + i, base + i + 1) != sOKAY;
            wrong += set(m, rng() % kShared, t) != sOKAY;
            B_MAP_VALUE v = 0;
            wrong += find(m, base + i, &v) != sOKAY || v != base + i + 1;
            if (i % 2 == 1) wrong += del(m, base + i, &v) != sOKAY || v != base + i + 1;
            uint32_t n = 0;
            wrong += count(m, &n) != sOKAY || n == 0;
        }
        return wrong;
    }
};

template <class M>
void writeTogether(M *m, const Writer<M> &w) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] { wrong += w.run(m, uint64_t(t)); });
    }
    for (std::thread &th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
    // What the writers left: their even keys, and some of the shared ones
    // with a writer's number as value.
    uint32_t n = 0;
    ASSERT_EQ(w.count(m, &n), sOKAY);
    uint64_t shared = 0;
    for (B_MAP_KEY k = 0; k < kShared; ++k) {
        B_MAP_VALUE v = 0;
        if (w.find(m, k, &v) == sOKAY) {
            ++shared;
            EXPECT_LT(v, uint64_t(kThreads));
        }
    }
    EXPECT_EQ(n, kThreads * kOwn / 2 + shared);
    for (uint64_t t = 0; t < kThreads; ++t) {
        const uint64_t base = (t + 1) * kRange;
        for (uint64_t i = 0; i < kOwn; ++i) {
            B_MAP_VALUE v = 0;
            const ZEL_RETCODE rc = w.find(m, base + i, &v);
            EXPECT_EQ(rc, i % 2 == 0 ? sOKAY : sNOTFOUND) << base + i;
            if (rc == sOKAY) {
                EXPECT_EQ(v, base + i + 1);
            }
        }
    }
}

using MapWriters = TaggedTest;

TEST_F(MapWriters, EightWriteLockedMap) {
    B_MAP_T m;
    ASSERT_EQ(b_mapInit(&m, B_MAP_FLAG_MUTEX, nullptr, nullptr, sub), sOKAY);
    writeTogether(&m, Writer<B_MAP_T>{b_mapSet, b_mapFind, b_mapDelete, b_mapCount});
    b_mapTerm(&m);
}

TEST_F(MapWriters, EightWriteLockedUintmap) {
    B_UINTMAP_T m;
    // The shared keys and the first writer's fall in the array.
    ASSERT_EQ(b_uintmapInitEx(&m, B_MAP_FLAG_MUTEX, kRange + kOwn / 2, nullptr, nullptr, sub),
              sOKAY);
    writeTogether(
        &m, Writer<B_UINTMAP_T>{b_uintmapSet, b_uintmapFind, b_uintmapDelete, b_uintmapCount});
    b_uintmapTerm(&m);
}

}  // namespace
