// map_model.h - the four maps behind one interface, and a std::map model of
// each with its cursor rules, shared by the map tests and the differential
// fuzz target. Each operation runs on the map and on the model and returns
// "" when the two agree, else what differed.
//
// Cursors: B_MAP_T steps from the B-tree's cursor (a delete saves the
// successor; an insert or a miss leaves no position); B_MAPA_T and B_MAPB_T
// from a position the adapter holds (a MAPB position lives as long as its
// block); B_UINTMAP_T from `curr` through the array, then the map's cursor.
// The descending kinds order by the caller's compare (a > b first): the
// adapter hands the map ~k for model key k, so the model stays ascending.
#ifndef MAP_MODEL_H
#define MAP_MODEL_H

#include <algorithm>
#include <bit>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "btree_internal.h"
#include "map.h"
#include "mapa.h"
#include "mapb.h"
#include "uintmap.h"

enum class MapKind { kMap, kMapDesc, kMapa, kMapaDesc, kMapb, kUintmap };

inline ZEL_COMPARE map_descending(B_MAP_KEY a, B_MAP_KEY b, const void *) {
    return a > b ? ZEL_LT : (a < b ? ZEL_GT : ZEL_EQ);
}

using MapSeen = std::vector<std::pair<uint64_t, uint64_t>>;

// Collects up to `stop` entries, then fails with eFAIL (no stop: all).
struct MapCollect {
    MapSeen seen;
    size_t stop = SIZE_MAX;
    static ZEL_RETCODE fcn(const void *ctx, B_MAP_KEY k, B_MAP_VALUE v) {
        auto *c = static_cast<MapCollect *>(const_cast<void *>(ctx));
        if (c->seen.size() == c->stop) return eFAIL;
        c->seen.emplace_back(k, v);
        return sOKAY;
    }
};

// One map of any kind. Keys are the model's; `x` turns them into the map's.
class MapUnderTest {
  public:
    MapUnderTest(MapKind kind, B_TAG_SUB sub, uint32_t arraySize = 5) : kind_(kind) {
        const bool desc = kind == MapKind::kMapDesc || kind == MapKind::kMapaDesc;
        flip_ = desc ? ~uint64_t{0} : 0;
        B_MAP_KEY_COMPARE cmp = desc ? map_descending : nullptr;
        switch (kind) {
            case MapKind::kMap:
            case MapKind::kMapDesc:
                rc_ = b_mapInit(&map_, 0, cmp, &collect_, sub);
                break;
            case MapKind::kMapa:
            case MapKind::kMapaDesc:
                b_mapaInit(&mapa_, cmp, &collect_, sub);
                break;
            case MapKind::kMapb:
                b_mapbInit(&mapb_, &collect_, sub);
                break;
            case MapKind::kUintmap:
                rc_ = b_uintmapInitEx(&uint_, 0, arraySize, nullptr, nullptr, sub);
                break;
        }
    }
    ~MapUnderTest() {
        if (rc_ < 0) return;
        if (isMap()) b_mapTerm(&map_);
        if (isMapa()) b_mapaTerm(&mapa_);
        if (isMapb()) b_mapbTerm(&mapb_);
        if (isUint()) b_uintmapTerm(&uint_);
    }
    MapUnderTest(const MapUnderTest &) = delete;
    MapUnderTest &operator=(const MapUnderTest &) = delete;

    ZEL_RETCODE initCode() const { return rc_; }
    MapKind kind() const { return kind_; }
    bool isMap() const { return kind_ == MapKind::kMap || kind_ == MapKind::kMapDesc; }
    bool isMapa() const { return kind_ == MapKind::kMapa || kind_ == MapKind::kMapaDesc; }
    bool isMapb() const { return kind_ == MapKind::kMapb; }
    bool isUint() const { return kind_ == MapKind::kUintmap; }
    bool positioned() const { return isMapa() || isMapb(); }  // SetEx, Last, held positions
    uint32_t arraySize() const { return uint_.arraySize; }
    B_MAP_T *map() { return &map_; }
    B_MAPA_T *mapa() { return &mapa_; }
    B_MAPB_T *mapb() { return &mapb_; }
    B_UINTMAP_T *uintmap() { return &uint_; }

    ZEL_RETCODE set(uint64_t k, uint64_t v, uint64_t *old) {
        if (isMap()) return b_mapSet(&map_, x(k), v);
        if (isMapa()) return b_mapaSetEx(&mapa_, x(k), v, old);
        if (isMapb()) return b_mapbSetEx(&mapb_, k, v, old);
        return b_uintmapSet(&uint_, k, v);
    }
    ZEL_RETCODE find(uint64_t k, uint64_t *v) {
        if (isMap()) return b_mapFind(&map_, x(k), v);
        if (isMapa()) return b_mapaFindEx(&mapa_, x(k), v, &apos_);
        if (isMapb()) return b_mapbFindEx(&mapb_, k, v, &bpos_);
        return b_uintmapFind(&uint_, k, v);
    }
    // Find or next (prev) in the model's order; not for the uintmap.
    ZEL_RETCODE findOr(bool next, uint64_t *k, uint64_t *v) {
        const bool up = next;  // the map's order is the model's
        B_MAP_KEY key = x(*k);
        ZEL_RETCODE rc;
        if (isMap()) {
            rc = up ? b_mapFindOrNext(&map_, &key, v) : b_mapFindOrPrev(&map_, &key, v);
        } else if (isMapa()) {
            rc = up ? b_mapaFindOrNextEx(&mapa_, &key, v, &apos_)
                    : b_mapaFindOrPrevEx(&mapa_, &key, v, &apos_);
        } else {
            rc = up ? b_mapbFindOrNextEx(&mapb_, &key, v, &bpos_)
                    : b_mapbFindOrPrevEx(&mapb_, &key, v, &bpos_);
        }
        *k = x(key);
        return rc;
    }
    ZEL_RETCODE del(uint64_t k, uint64_t *v) {
        if (isMap()) return b_mapDelete(&map_, x(k), v);
        if (isMapa()) {
            if (apos_.node != nullptr && apos_.node->key == x(k)) apos_.node = nullptr;
            return b_mapaDeleteEx(&mapa_, x(k), v);
        }
        if (isMapb()) {
            dropBlock(k);
            return b_mapbDeleteEx(&mapb_, k, v);
        }
        return b_uintmapDelete(&uint_, k, v);
    }
    ZEL_RETCODE delFirst(uint64_t *k, uint64_t *v) {
        B_MAP_KEY key = 0;
        ZEL_RETCODE rc;
        if (isMap()) {
            rc = b_mapDeleteFirst(&map_, &key, v);
        } else if (isMapa()) {
            if (apos_.node != nullptr && b_mapaFirst(&mapa_, &key, nullptr) == sOKAY &&
                apos_.node->key == key) {
                apos_.node = nullptr;
            }
            rc = b_mapaDeleteFirstEx(&mapa_, &key, v);
        } else if (isMapb()) {
            if (b_mapbFirst(&mapb_, &key, nullptr) == sOKAY) dropBlock(key);
            rc = b_mapbDeleteFirstEx(&mapb_, &key, v);
        } else {
            rc = b_uintmapDeleteFirst(&uint_, &key, v);
        }
        *k = x(key);
        return rc;
    }
    ZEL_RETCODE delAll() {
        apos_.node = nullptr;
        bpos_.node = nullptr;
        if (isMap()) return b_mapDeleteAll(&map_);
        if (isMapa()) b_mapaDeleteAll(&mapa_);
        if (isMapb()) b_mapbDeleteAll(&mapb_);
        if (isUint()) return b_uintmapDeleteAll(&uint_);
        return sOKAY;
    }
    // First or last in the model's order (last: MAPA and MAPB only).
    ZEL_RETCODE end(bool first, uint64_t *k, uint64_t *v) {
        const bool low = first;
        B_MAP_KEY key = 0;
        ZEL_RETCODE rc;
        if (isMap()) {
            rc = b_mapFirst(&map_, &key, v);
        } else if (isMapa()) {
            rc = low ? b_mapaFirstEx(&mapa_, &key, v, &apos_)
                     : b_mapaLastEx(&mapa_, &key, v, &apos_);
        } else if (isMapb()) {
            rc = low ? b_mapbFirstEx(&mapb_, &key, v, &bpos_)
                     : b_mapbLastEx(&mapb_, &key, v, &bpos_);
        } else {
            rc = b_uintmapFirst(&uint_, &key, v);
        }
        *k = x(key);
        return rc;
    }
    // Next or prev in the model's order (prev: not for the uintmap).
    ZEL_RETCODE step(bool forward, uint64_t *k, uint64_t *v) {
        const bool up = forward;
        B_MAP_KEY key = 0;
        ZEL_RETCODE rc;
        if (isMap()) {
            rc = up ? b_mapNext(&map_, &key, v) : b_mapPrev(&map_, &key, v);
        } else if (isMapa()) {
            rc = up ? b_mapaNext(&mapa_, &apos_, &key, v, &apos_)
                    : b_mapaPrev(&mapa_, &apos_, &key, v, &apos_);
        } else if (isMapb()) {
            rc = up ? b_mapbNext(&mapb_, &bpos_, &key, v, &bpos_)
                    : b_mapbPrev(&mapb_, &bpos_, &key, v, &bpos_);
        } else {
            rc = b_uintmapNext(&uint_, &key, v);
        }
        *k = x(key);
        return rc;
    }
    uint64_t count() {
        uint32_t n = 0;
        if (isMap()) return b_mapCount(&map_, &n) == sOKAY ? n : UINT64_MAX;
        if (isMapa()) return b_mapaCount(&mapa_);
        if (isMapb()) return b_mapbCount(&mapb_);
        return b_uintmapCount(&uint_, &n) == sOKAY ? n : UINT64_MAX;
    }
    // The entries in the map's order, up to `stop` (then eFAIL); not for the
    // uintmap. Keys in the model's terms.
    ZEL_RETCODE iterate(size_t stop, MapSeen *seen) {
        collect_ = MapCollect{};
        collect_.stop = stop;
        ZEL_RETCODE rc = eNOTIMPLEMENTED;
        if (isMap()) rc = b_mapIterate(&map_, MapCollect::fcn);
        if (isMapa()) rc = b_mapaIterate(&mapa_, MapCollect::fcn);
        if (isMapb()) rc = b_mapbIterate(&mapb_, MapCollect::fcn);
        for (auto &e : collect_.seen) e.first = x(e.first);
        *seen = collect_.seen;
        return rc;
    }

    // The entries and the invariants of the map's store, read without
    // moving any cursor, against the model's entries.
    std::string check(const std::map<uint64_t, uint64_t> &want) {
        MapSeen got;  // in the map's order, which is the model's
        std::string err;
        if (isUint()) {
            for (uint32_t i = 0; i < uint_.arraySize; ++i) {
                if (uint_.array[i].inuse) got.emplace_back(i, uint_.array[i].value);
            }
        }
        if (isMap() || isUint()) {
            B_MAP_T *m = isMap() ? &map_ : &uint_.map;
            const auto r = zel::detail::bt_check(&m->bt);
            if (r.error != nullptr) err += r.error;
            inOrder(&m->bt.root, &got);
            err += avail(m->avail, m->availCount);
        }
        if (isMapa()) {
            for (const B_AVL_NODE_T *n = b_avlFirst(&mapa_.avl); n != nullptr; n = b_avlNext(n)) {
                const auto *item = reinterpret_cast<const B_MAPA_ITEM *>(n);
                got.emplace_back(x(item->key), item->value);
            }
            err += avail(mapa_.avail, mapa_.availCount);
        }
        if (isMapb()) {
            uint64_t keys = 0;
            for (const B_AVL_NODE_T *n = b_avlFirst(&mapb_.avl); n != nullptr; n = b_avlNext(n)) {
                const auto *b = reinterpret_cast<const B_MAPB_ITEM *>(n);
                if (b->start % 64 != 0 || b->used_bitmap == 0) err += " bad block";
                keys += uint64_t(std::popcount(b->used_bitmap));
                for (unsigned i = 0; i < 64; ++i) {
                    if (b->used_bitmap >> i & 1) got.emplace_back(b->start + i, b->values[i]);
                }
            }
            if (keys != mapb_.count) err += " count is not the bits set";
            err += avail(mapb_.avail, mapb_.availCount);
        }
        const auto same = [](const std::pair<uint64_t, uint64_t> &a,
                             const std::pair<const uint64_t, uint64_t> &b) {
            return a.first == b.first && a.second == b.second;
        };
        if (!std::equal(got.begin(), got.end(), want.begin(), want.end(), same)) {
            err += " entries differ from the model";
        }
        return err;
    }

  private:
    uint64_t x(uint64_t k) const { return k ^ flip_; }
    void inOrder(const B_BTREE_NODE *n, MapSeen *out) const {
        for (uint32_t i = 0; i <= n->used; ++i) {
            if (n->slots[i].child != nullptr) inOrder(n->slots[i].child, out);
            if (i == n->used) break;
            const auto *item = static_cast<const B_MAP_ITEM *>(n->slots[i].data);
            out->emplace_back(x(item->key), item->value);
        }
    }
    static std::string avail(const B_MAP_ITEM_LIST *list, uint32_t count) {
        uint32_t n = 0;
        for (; list != nullptr; list = list->next) ++n;
        if (n != count) return " free list length differs";
        return n > B_MAP_AVAIL_MAX ? " free list past its cap" : "";
    }
    // Forgets the held MAPB position when deleting `k` empties its block.
    void dropBlock(uint64_t k) {
        const B_MAPB_ITEM *b = bpos_.node;
        if (b != nullptr && b->start == (k & ~uint64_t{63}) &&
            b->used_bitmap == uint64_t{1} << (k & 63)) {
            bpos_.node = nullptr;
        }
    }

    MapKind kind_;
    uint64_t flip_ = 0;
    ZEL_RETCODE rc_ = sOKAY;
    B_MAP_T map_{};
    B_MAPA_T mapa_{};
    B_MAPB_T mapb_{};
    B_UINTMAP_T uint_{};
    B_MAPA_POS apos_{};
    B_MAPB_POS bpos_{};
    MapCollect collect_;
};

// The model of one map: its entries and the rules of its cursor.
class MapModel {
  public:
    using Key = std::optional<uint64_t>;

    explicit MapModel(const MapUnderTest &t)
        : arraySize_(t.isUint() ? t.arraySize() : 0),
          tree_(t.isMap()),
          uint_(t.isUint()),
          mapb_(t.isMapb()) {}
    const std::map<uint64_t, uint64_t> &entries() const { return m_; }

    std::string set(MapUnderTest &t, uint64_t k, uint64_t v) {
        const auto it = m_.find(k);
        const Key had = it != m_.end() ? Key(it->second) : std::nullopt;
        uint64_t old = ~uint64_t{0};
        const ZEL_RETCODE rc = t.set(k, v, &old);
        m_[k] = v;
        // The tree's find before the insert puts the cursor on a hit.
        if (treeMoves(k)) place(had ? Key(k) : std::nullopt, kUnknown);
        std::string r = code("set", rc, sOKAY);
        if (t.positioned() && old != had.value_or(0)) r += " old value " + std::to_string(old);
        return r;
    }
    std::string find(MapUnderTest &t, uint64_t k) {
        uint64_t v = 0;
        const ZEL_RETCODE rc = t.find(k, &v);
        const Key want = m_.count(k) ? Key(k) : std::nullopt;
        if (want && uint_) region_ = k < arraySize_ ? kInArray : kInMap;
        if (treeMoves(k) || want) place(want, kUnknown);
        return entry("find", rc, k, v, want);
    }
    std::string findOr(MapUnderTest &t, uint64_t k, bool next) {
        uint64_t key = k, v = 0;
        const ZEL_RETCODE rc = t.findOr(next, &key, &v);
        const Key want = m_.count(k) ? Key(k) : (next ? after(k) : before(k));
        if (tree_ || want) place(want, next ? kEnd : kOff);
        return entry(next ? "find or next" : "find or prev", rc, key, v, want);
    }
    std::string del(MapUnderTest &t, uint64_t k) {
        uint64_t v = 0;
        const ZEL_RETCODE rc = t.del(k, &v);
        const auto it = m_.find(k);
        const bool hit = it != m_.end();
        const uint64_t want = hit ? it->second : 0;
        if (hit) m_.erase(it);
        if (treeMoves(k)) {
            // A delete saves the successor; a miss leaves no position, but
            // a successor saved before stays.
            if (hit) pending_ = after(k);
            cur_ = hit ? kEnd : kUnknown;
        } else if (!uint_ && hit && cur_ == kAt && gone(*at_)) {
            cur_ = kOff;
        }
        return code("delete", rc, hit ? sOKAY : sNOTFOUND) + value(hit, v, want);
    }
    std::string delFirst(MapUnderTest &t) {
        uint64_t k = 0, v = 0;
        const ZEL_RETCODE rc = t.delFirst(&k, &v);
        const Key want = m_.empty() ? std::nullopt : Key(m_.begin()->first);
        const uint64_t wantValue = want ? m_.begin()->second : 0;
        if (want) m_.erase(m_.begin());
        // The tree's delete-first: the cursor on none, a saved successor
        // forgotten when it is the entry taken.
        if (treeMoves(want.value_or(arraySize_))) {
            if (pending_ == want) pending_.reset();
            cur_ = kOff;
        } else if (!tree_ && !uint_ && cur_ == kAt && gone(*at_)) {
            cur_ = kOff;
        }
        return entry("delete first", rc, k, v, want, wantValue);
    }
    std::string delAll(MapUnderTest &t) {
        const ZEL_RETCODE rc = t.delAll();
        // Deliberately stale in the uintmap: the count goes on counting the
        // array's former entries.
        for (const auto &e : m_) stale_ += e.first < arraySize_ ? 1 : 0;
        m_.clear();
        cur_ = kOff;
        pending_.reset();
        region_ = kNowhere;
        return code("delete all", rc, sOKAY);
    }
    std::string end(MapUnderTest &t, bool first) {
        uint64_t k = 0, v = 0;
        const ZEL_RETCODE rc = t.end(first, &k, &v);
        const Key want =
            m_.empty() ? std::nullopt : Key(first ? m_.begin()->first : m_.rbegin()->first);
        if (uint_) region_ = want && *want < arraySize_ ? kInArray : kInMap;
        if (tree_ || uint_ || want) place(want, kEnd);
        return entry(first ? "first" : "last", rc, k, v, want);
    }
    std::string step(MapUnderTest &t, bool forward) {
        uint64_t k = 0, v = 0;
        const ZEL_RETCODE rc = t.step(forward, &k, &v);
        const char *what = forward ? "next" : "prev";
        if (uint_ && region_ != kInMap) {
            // Through the array; past its end the map's first entry.
            const Key want = region_ == kNowhere ? least() : after(*at_);
            region_ = want && *want < arraySize_ ? kInArray : kInMap;
            place(want, kEnd);
            return entry(what, rc, k, v, want);
        }
        if (!tree_ && !uint_) {  // a held position
            const Key want = cur_ != kAt ? std::nullopt : (forward ? after(*at_) : before(*at_));
            if (want) place(want, kUnknown);
            return entry(what, rc, k, v, want);
        }
        // The B-tree's cursor.
        if (cur_ == kUnknown && !pending_) {
            if (rc == sNOTFOUND) return "";
            return m_.count(k) ? "" : std::string("stepped off the map to ") + std::to_string(k);
        }
        Key want;
        if (pending_) {
            want = forward ? pending_ : before(*pending_);
        } else if (cur_ == kAt) {
            want = forward ? after(*at_) : before(*at_);
        } else if (cur_ == kEnd && !forward && !m_.empty()) {
            want = m_.rbegin()->first;
        }
        // Next past the end stays after the last entry; Prev before the
        // first leaves the cursor on none.
        const Cur otherwise = !forward || cur_ == kOff ? kOff : kEnd;
        place(rc == sOKAY ? Key(k) : std::nullopt, otherwise);
        return entry(what, rc, k, v, want);
    }
    std::string count(MapUnderTest &t) const {
        const uint64_t got = t.count();
        const uint64_t want = m_.size() + stale_;
        if (got == want) return "";
        return "count " + std::to_string(got) + ", expected " + std::to_string(want);
    }
    // A full walk, or one whose callback fails at entry `stop`.
    std::string iterate(MapUnderTest &t, size_t stop) {
        MapSeen seen;
        const ZEL_RETCODE rc = t.iterate(stop, &seen);
        MapSeen want(m_.begin(), m_.end());
        const bool stopped = stop < want.size();
        if (tree_) place(stopped ? Key(want[stop].first) : std::nullopt, kEnd);
        if (stopped) want.resize(stop);
        std::string r = code("iterate", rc, stopped ? eFAIL : sOKAY);
        return seen == want ? r : r + " iterate saw other entries";
    }

  private:
    // The cursor: on `at_`; after the last entry; on no entry; or undefined.
    enum Cur { kAt, kEnd, kOff, kUnknown };
    // Where a uintmap's cursor is: its array, its map, or nothing.
    enum Region { kInArray, kInMap, kNowhere };

    // Whether an operation on `k` moves the B-tree cursor that steps use.
    bool treeMoves(uint64_t k) const {
        return tree_ || (uint_ && k >= arraySize_ && region_ == kInMap);
    }
    // Whether a held position on `k` is gone: its entry (MAPA), its block
    // (MAPB).
    bool gone(uint64_t k) const {
        if (!mapb_) return m_.count(k) == 0;
        const uint64_t start = k & ~uint64_t{63};
        auto it = m_.lower_bound(start);
        return it == m_.end() || it->first > start + 63;
    }
    static std::string code(const char *what, ZEL_RETCODE got, ZEL_RETCODE want) {
        if (got == want) return "";
        return std::string(what) + " code " + std::to_string(got) + ", expected " +
               std::to_string(want);
    }
    static std::string value(bool check, uint64_t got, uint64_t want) {
        if (!check || got == want) return "";
        return " value " + std::to_string(got) + ", expected " + std::to_string(want);
    }
    std::string entry(const char *what, ZEL_RETCODE rc, uint64_t k, uint64_t v, Key want) {
        return entry(what, rc, k, v, want, want ? m_.at(*want) : 0);
    }
    static std::string entry(const char *what, ZEL_RETCODE rc, uint64_t k, uint64_t v, Key want,
                             uint64_t wantValue) {
        std::string r = code(what, rc, want ? sOKAY : sNOTFOUND);
        if (!r.empty() || !want) return r;
        if (k != *want) {
            return std::string(what) + " gave " + std::to_string(k) + ", expected " +
                   std::to_string(*want);
        }
        return value(true, v, wantValue);
    }
    Key least() const { return m_.empty() ? std::nullopt : Key(m_.begin()->first); }
    Key after(uint64_t k) const {
        auto it = m_.upper_bound(k);
        return it == m_.end() ? std::nullopt : Key(it->first);
    }
    Key before(uint64_t k) const {
        auto it = m_.lower_bound(k);
        return it == m_.begin() ? std::nullopt : Key(std::prev(it)->first);
    }
    void place(Key k, Cur otherwise) {
        at_ = k;
        cur_ = k ? kAt : otherwise;
        pending_.reset();
    }

    uint64_t arraySize_;
    bool tree_, uint_, mapb_;
    std::map<uint64_t, uint64_t> m_;
    Cur cur_ = kOff;
    Key at_;
    Key pending_;
    Region region_ = kNowhere;
    uint64_t stale_ = 0;
};

// A key for random operations from random bits `r`: mostly dense small keys,
// some around the uintmap's array end and at block and word edges, a few
// anywhere.
inline uint64_t map_modelKey(uint64_t r, uint32_t arraySize) {
    static constexpr uint64_t kEdges[] = {
        0,     1,          62,         63,         64,
        65,    127,        128,        1ull << 63, ~0ull >> 1,
        ~0ull, ~0ull - 63, ~0ull - 64, 1ull << 32, (1ull << 32) - 1};
    const uint64_t pick = r >> 8;
    switch (r % 10) {
        case 0:
            return kEdges[pick % (sizeof kEdges / sizeof kEdges[0])];
        case 1:
            return arraySize - 2 + pick % 4;
        case 2:
            return pick * 0x9E3779B97F4A7C15u;
        default:
            return pick % 512;
    }
}

// One operation picked by `code` on key `k` (value `v`), for the random test
// and the fuzz target; "" when map and model agree.
inline std::string map_modelStep(MapUnderTest &t, MapModel &m, unsigned code, uint64_t k,
                                 uint64_t v) {
    const bool full = !t.isUint();  // find-or, prev and iterate
    switch (code % 16) {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4:
            return m.set(t, k, v);
        case 5:
        case 6:
            return m.find(t, k);
        case 7:
        case 8:
            return m.del(t, k);
        case 9:
            return m.delFirst(t);
        case 10:
            return full ? m.findOr(t, k, k % 2 == 0) : m.count(t);
        case 11:
            return m.end(t, !t.positioned() || k % 2 == 0);
        case 12:
        case 13:
            return m.step(t, !full || k % 3 != 0);
        case 14:
            return full && k % 4 == 0 ? m.iterate(t, v % 8 == 0 ? size_t(v % 64) : SIZE_MAX)
                                      : m.count(t);
        default:
            return v % 64 == 0 ? m.delAll(t) : m.count(t);
    }
}

#endif
