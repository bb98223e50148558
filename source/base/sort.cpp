/*
 * sort.cpp - the external sort: records in a paged record file, their
 * numbers in a paged index file, and an iterative three-way quicksort that
 * permutes only the 16-byte index slots: a record number and a key prefix.
 *
 * The one idea is that nothing is merged: both files are paged through a
 * block cache of `maxentries` pages, which keeps the working set in memory
 * and spills the rest. Every page goes back to its cache as clean, and its
 * own `modified` flag tells the zapper whether to write it; so every page
 * that nobody holds can be evicted, and memory stays at the caches' size
 * whatever the number of records. A file is created only when its first
 * page is written, so a sort that fits in the caches touches no disk.
 *
 * Page in memory (SORT_PAGE), on file only `data`, `len` bytes at len x id:
 *   OFFSET  SIZE        MEANING
 *   0       4           modified: written by the zapper when set
 *   4       4           filler
 *   8       len         slots of `size` bytes; index pages 255 x 16 = 4080
 *   8+len   3           slack of the allocation (len + 11 bytes)
 */
#include "sort.h"

#include <cstddef>
#include <cstring>

#include "bcd.h"
#include "datetime.h"
#include "path.h"
#include "psp.h"
#include "tag_sub.h"

static_assert(offsetof(SORT_PAGE, data) == 8, "8 bytes of header before the page's bytes");
static_assert(sizeof(SORT_INDEX) == 8);

namespace {

constexpr uint32_t kIndexSlot = 16;  // the record number, then the key prefix
constexpr uint32_t kIndexPerPage = 255;
constexpr uint32_t kPageGrain = 4096;
constexpr uint32_t kPageReserved = 4;  // a page holds (len - 4) / size slots
constexpr uint32_t kPageExtra = 11;    // allocated past the page's length
constexpr uint32_t kListGrowth = 20;
constexpr uint64_t kNoPage = ~uint64_t{0};
static_assert(kIndexPerPage * kIndexSlot == kPageGrain - 16 &&
                  kIndexPerPage == (kPageGrain - kPageReserved) / kIndexSlot,
              "an index page uses 4080 bytes of 4096");

// Loads of a field: the type's width, through memcpy; a field shorter than
// its type reads as if zero-filled, never past its end.
template <class T>
T sortLoad(const void *p, uint32_t len) {
    T v{};
    std::memcpy(&v, p, len < sizeof v ? len : sizeof v);
    return v;
}

template <class T>
ZEL_COMPARE sortOrder(T x, T y) {
    return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);  // NaN: neither, so equal
}

inline ZEL_COMPARE sortSign(int c) {
    return c < 0 ? ZEL_LT : (c > 0 ? ZEL_GT : ZEL_EQ);
}

template <class T>
ZEL_COMPARE sortNumCmp(const void *a, const void *b, uint32_t len) {
    return sortOrder(sortLoad<T>(a, len), sortLoad<T>(b, len));
}

// A 32-bit length, capped by the field's room after it, then the bytes
// unsigned; a shorter operand first. A field without room for the length
// holds no bytes.
ZEL_COMPARE binCmp(const void *a, const void *b, uint32_t len) {
    if (len < 4) return ZEL_EQ;
    const uint32_t cap = len - 4;
    uint32_t la = sortLoad<uint32_t>(a, 4), lb = sortLoad<uint32_t>(b, 4);
    la = la < cap ? la : cap;
    lb = lb < cap ? lb : cap;
    const int c = std::memcmp(static_cast<const unsigned char *>(a) + 4,
                              static_cast<const unsigned char *>(b) + 4, la < lb ? la : lb);
    return c != 0 ? sortSign(c) : sortOrder(la, lb);
}

ZEL_COMPARE charCmp(const void *a, const void *b, uint32_t len) {
    return sortSign(std::strncmp(static_cast<const char *>(a), static_cast<const char *>(b), len));
}

ZEL_COMPARE timetzCmp(const void *a, const void *b, uint32_t len) {
    const auto x = sortLoad<ZEL_PACKED_TIMETZ_T>(a, len);
    const auto y = sortLoad<ZEL_PACKED_TIMETZ_T>(b, len);
    return dt_timetzCompare(&x, &y);
}

// The first 32-bit word, then the second, unsigned.
ZEL_COMPARE tsCmp(const void *a, const void *b, uint32_t len) {
    struct Words {
        uint32_t w[2];
    };
    const Words x = sortLoad<Words>(a, len), y = sortLoad<Words>(b, len);
    return x.w[0] != y.w[0] ? sortOrder(x.w[0], y.w[0]) : sortOrder(x.w[1], y.w[1]);
}

ZEL_COMPARE decimalCmp(const void *a, const void *b, uint32_t len) {
    const auto x = sortLoad<ZEL_BCD_T>(a, len);
    const auto y = sortLoad<ZEL_BCD_T>(b, len);
    return zel_bcdCompare(&x, &y);
}

ZEL_COMPARE uuidCmp(const void *a, const void *b, uint32_t len) {
    return sortSign(std::memcmp(a, b, len));
}

struct SORT_TYPE_DESCR {
    SORTCOL_TYPE type;
    STRCMPFUNCTION cmpFcn;
};

// In this order: the rows are stored in the key descriptors, and the compare
// choice tests rows 1 and 2.
constexpr SORT_TYPE_DESCR sortTypeTable[] = {
    {SORT_TYPE_BYTES, binCmp},
    {SORT_TYPE_CHAR, charCmp},
    {SORT_TYPE_INT8, sortNumCmp<int8_t>},
    {SORT_TYPE_UINT8, sortNumCmp<uint8_t>},
    {SORT_TYPE_INT16, sortNumCmp<int16_t>},
    {SORT_TYPE_UINT16, sortNumCmp<uint16_t>},
    {SORT_TYPE_INT32, sortNumCmp<int32_t>},
    {SORT_TYPE_UINT32, sortNumCmp<uint32_t>},
    {SORT_TYPE_INT64, sortNumCmp<int64_t>},
    {SORT_TYPE_UINT64, sortNumCmp<uint64_t>},
    {SORT_TYPE_FLOAT, sortNumCmp<float>},
    {SORT_TYPE_DOUBLE, sortNumCmp<double>},
    {SORT_TYPE_ROWID, sortNumCmp<uint64_t>},
    {SORT_TYPE_DATE, sortNumCmp<uint32_t>},
    {SORT_TYPE_TIME, sortNumCmp<uint32_t>},
    {SORT_TYPE_TIMETZ, timetzCmp},
    {SORT_TYPE_TIMESTAMP, tsCmp},
    {SORT_TYPE_TIMESTAMPTZ, tsCmp},
    {SORT_TYPE_BCD, decimalCmp},
    {SORT_TYPE_UUID, uuidCmp},
    {SORT_TYPE_NOVAL, nullptr},
};
constexpr uint32_t kRowChar = 1;
constexpr uint32_t kRowInt8 = 2;
constexpr uint32_t kTypeRows = sizeof sortTypeTable / sizeof sortTypeTable[0];
static_assert(kTypeRows == 21 && sortTypeTable[kRowChar].type == SORT_TYPE_CHAR &&
              sortTypeTable[kRowInt8].type == SORT_TYPE_INT8 &&
              sortTypeTable[20].type == SORT_TYPE_NOVAL);

int32_t sortTypeRow(SORTCOL_TYPE type) {
    for (uint32_t i = 0; i < kTypeRows; ++i)
        if (sortTypeTable[i].type == type) return static_cast<int32_t>(i);
    return -1;
}

// ---- Pages and their files.

ZEL_RETCODE sortLoader(B_CACHE_ID id, void **data, void *ctx) {
    auto *f = static_cast<SORT_TEMP_FILE *>(ctx);
    const size_t bytes = size_t{f->len} + kPageExtra;
    void *p = nullptr;
    if (id >= f->maxid) {  // not on file yet
        ZEL_CHECK(b_tag_subAllocZero(f->subTag, bytes, &p));
        *data = p;
        return sOKAY;
    }
    if (!f->fh_open) return eFILEIO;
    ZEL_CHECK(b_tag_subAlloc(f->subTag, bytes, &p));
    auto *page = static_cast<SORT_PAGE *>(p);
    page->modified = ZEL_FALSE;
    uint32_t got = 0;
    ZEL_RETCODE rc =
        psp_fileSeekRead(f->fh, PSP_FILE_OFFSET{f->len} * id, page->data, f->len, &got);
    if (rc == sOKAY && got != f->len) rc = eFILEIO;  // a short read
    f->loads++;
    if (rc != sOKAY) {
        b_tag_subFree(f->subTag, p);
        return rc;
    }
    *data = p;
    return sOKAY;
}

ZEL_RETCODE sortZapper(B_CACHE_ID id, void *data, ZEL_BOOL_T free_mem, void *ctx) {
    auto *f = static_cast<SORT_TEMP_FILE *>(ctx);
    auto *page = static_cast<SORT_PAGE *>(data);
    if (page->modified) {
        if (!f->fh_open) {
            ZEL_CHECK(psp_fileOpen(f->name, PSP_FILE_UPDATE, &f->fh));
            f->fh_open = ZEL_TRUE;
        }
        ZEL_CHECK(psp_fileSeekWrite(f->fh, PSP_FILE_OFFSET{f->len} * id, page->data, f->len));
        page->modified = ZEL_FALSE;
        f->writes++;
        if (id >= f->maxid) f->maxid = id + 1;
    }
    if (free_mem) b_tag_subFree(f->subTag, data);
    return sOKAY;
}

void sortTerminator(B_CACHE_ID, void *data, void *ctx) {
    b_tag_subFree(static_cast<SORT_TEMP_FILE *>(ctx)->subTag, data);
}

ZEL_RETCODE sortCacheInit(B_SORT_T *s, CACHE_INFO *ci, SORT_TEMP_FILE *f, uint32_t maxentries) {
    return b_cacheInit(&ci->cache, maxentries, sortLoader, sortZapper, sortTerminator, ZEL_TRUE, f,
                       s->subTag);
}

void sortCleanupTempFile(SORT_TEMP_FILE *f) {
    if (f->fh_open) {
        (void)psp_fileClose(f->fh);
        (void)psp_fileRemove(f->name);
        f->fh_open = ZEL_FALSE;
    }
    b_tag_subFreeCanBeNull(f->subTag, f->name);
    f->name = nullptr;
}

ZEL_RETCODE sortSetupTempFile(B_SORT_T *s, SORT_TEMP_FILE *f, uint32_t *counter, const char *dir) {
    f->fh = PSP_FILE_INVALID;
    f->fh_open = ZEL_FALSE;
    f->subTag = s->subTag;
    f->maxid = 0;
    ZEL_CHECK(b_fileCreateTmpName(counter, "zelsort", nullptr, dir, s->subTag, &f->name));
    (void)psp_fileRemove(f->name);  // a leftover of an earlier process goes
    return sOKAY;
}

inline SLOT_INFO sortNoSlot() {
    return SLOT_INFO{kNoPage, nullptr, nullptr};
}

// Gives the page back to its cache as clean: its own `modified` tells the
// zapper whether to write it, so that every unheld page can be evicted.
void sortRelease(CACHE_INFO *ci, SLOT_INFO *si) {
    if (si->page == kNoPage) return;
    b_cacheReleaseEntry(&ci->cache, si->handle, ZEL_FALSE);
    *si = sortNoSlot();
}

// The address of slot `id`, holding its page in `si` (and releasing the
// page `si` held before, if another).
ZEL_RETCODE sortGetSlot(CACHE_INFO *ci, SLOT_INFO *si, SORT_INDEX id, unsigned char **out) {
    const uint64_t page = id / ci->perPage;
    if (page != si->page) {
        sortRelease(ci, si);
        void *data = nullptr;
        B_CACHE_HANDLE h = nullptr;
        ZEL_CHECK(b_cacheGetEntry(&ci->cache, page, &data, &h));
        *si = SLOT_INFO{page, h, static_cast<SORT_PAGE *>(data)};
    }
    *out = si->entry->data + (id % ci->perPage) * ci->size;
    return sOKAY;
}

// ---- The key prefix.
//
// Each index slot carries, after the record number, the first 8 bytes of an
// image of the record's keys whose unsigned big-endian order is the keys'
// order by the type table: integers with the sign bit flipped, unsigned
// numbers, dates and times as they are, the time word of a time with zone,
// uuid bytes, the bytes of a char up to its NUL and of a byte string up to
// its length, then zeros; a descending key complemented. Two prefixes that
// differ decide a compare without the records; equal ones fall back to them,
// unless every key lies wholly in the prefix. The image stops at a key it
// cannot order this way (floating, decimal, a caller's compare). Records
// with equal keys come out in no guaranteed order, so the ties the prefix
// settles differently from the records change nothing one may rely on.

struct SortPrefix {
    unsigned char b[8] = {};
    uint32_t used = 0;
    bool exact = true;  // every key wholly in the prefix
};

template <class U>
void sortPrefixPut(SortPrefix *px, U v, uint32_t width) {
    for (uint32_t i = 0; i < width && px->used < 8; ++i)
        px->b[px->used++] = static_cast<unsigned char>(v >> (8 * (width - 1 - i)));
}

// Appends the image of one key; false when the image must stop here.
bool sortPrefixKey(const B_SORT_T *s, const SORT_KEY_DESCR &k, const unsigned char *rec,
                   SortPrefix *px) {
    if (k.pCmpFcn != nullptr || k.pGCmpFcn != nullptr) return false;
    if (k.index == kRowChar && s->pStrncmp != nullptr) return false;
    if (k.index == kRowInt8 && s->pWStrncmp != nullptr) return false;
    const unsigned char *p = rec != nullptr ? rec + k.offset : nullptr;
    const uint32_t start = px->used, room = 8 - px->used;
    uint32_t width = 0;
    bool whole = true;
    switch (sortTypeTable[k.index].type) {
        case SORT_TYPE_INT8:
            width = 1;
            break;
        case SORT_TYPE_INT16:
            width = 2;
            break;
        case SORT_TYPE_INT32:
            width = 4;
            break;
        case SORT_TYPE_INT64:
            width = 8;
            break;
        case SORT_TYPE_UINT8:
            width = 1;
            break;
        case SORT_TYPE_UINT16:
            width = 2;
            break;
        case SORT_TYPE_UINT32:
        case SORT_TYPE_DATE:
        case SORT_TYPE_TIME:
        case SORT_TYPE_TIMETZ:
            width = 4;
            break;
        case SORT_TYPE_UINT64:
        case SORT_TYPE_ROWID:
        case SORT_TYPE_TIMESTAMP:
        case SORT_TYPE_TIMESTAMPTZ:
            width = 8;
            break;
        case SORT_TYPE_UUID:
        case SORT_TYPE_CHAR:
            width = k.len;
            break;
        case SORT_TYPE_BYTES:
            width = k.len < 4 ? 0 : k.len - 4;
            whole = false;  // equal bytes of unequal lengths differ
            break;
        default:
            return false;  // floating, decimal, no value
    }
    if (width > room) whole = false;
    if (p != nullptr) {
        switch (sortTypeTable[k.index].type) {
            case SORT_TYPE_INT8:
                sortPrefixPut(px, uint8_t(sortLoad<int8_t>(p, k.len) ^ 0x80), 1);
                break;
            case SORT_TYPE_INT16:
                sortPrefixPut(px, uint16_t(sortLoad<int16_t>(p, k.len) ^ 0x8000), 2);
                break;
            case SORT_TYPE_INT32:
                sortPrefixPut(px, uint32_t(sortLoad<int32_t>(p, k.len)) ^ 0x80000000u, 4);
                break;
            case SORT_TYPE_INT64:
                sortPrefixPut(px, uint64_t(sortLoad<int64_t>(p, k.len)) ^ (uint64_t{1} << 63), 8);
                break;
            case SORT_TYPE_UINT8:
                sortPrefixPut(px, sortLoad<uint8_t>(p, k.len), 1);
                break;
            case SORT_TYPE_UINT16:
                sortPrefixPut(px, sortLoad<uint16_t>(p, k.len), 2);
                break;
            case SORT_TYPE_UINT32:
            case SORT_TYPE_DATE:
            case SORT_TYPE_TIME:
            case SORT_TYPE_TIMETZ:
                sortPrefixPut(px, sortLoad<uint32_t>(p, k.len), 4);
                break;
            case SORT_TYPE_UINT64:
            case SORT_TYPE_ROWID:
                sortPrefixPut(px, sortLoad<uint64_t>(p, k.len), 8);
                break;
            case SORT_TYPE_TIMESTAMP:
            case SORT_TYPE_TIMESTAMPTZ: {
                const uint64_t v = sortLoad<uint64_t>(p, k.len);  // first word, then second
                sortPrefixPut(px, uint32_t(v), 4);
                sortPrefixPut(px, uint32_t(v >> 32), 4);
                break;
            }
            case SORT_TYPE_UUID:
                for (uint32_t i = 0; i < width && px->used < 8; ++i) px->b[px->used++] = p[i];
                break;
            case SORT_TYPE_CHAR: {
                bool ended = false;
                for (uint32_t i = 0; i < width && px->used < 8; ++i) {
                    ended = ended || p[i] == 0;
                    px->b[px->used++] = ended ? 0 : p[i];
                }
                break;
            }
            default: {                 // bytes: the length capped by the room, then the bytes
                if (k.len < 4) break;  // no room for the length: no bytes
                uint32_t n = sortLoad<uint32_t>(p, 4);
                if (n > width) n = width;
                for (uint32_t i = 0; i < width && px->used < 8; ++i)
                    px->b[px->used++] = i < n ? p[4 + i] : 0;
                break;
            }
        }
        if (k.desc) {
            for (uint32_t i = start; i < px->used; ++i)
                px->b[i] = static_cast<unsigned char>(~px->b[i]);
        }
    } else {
        px->used = width > room ? 8 : start + width;
    }
    return whole;
}

// The prefix of `rec`; with rec null only whether prefixes decide ties.
SortPrefix sortPrefixOf(const B_SORT_T *s, const unsigned char *rec) {
    SortPrefix px;
    for (uint32_t k = 0; k < s->numkeyfields; ++k) {
        if (px.used == 8 || !sortPrefixKey(s, s->keyinfo[k], rec, &px)) {
            px.exact = false;
            break;
        }
    }
    return px;
}

inline uint64_t sortPrefixValue(const unsigned char *slot) {
    uint64_t v = 0;
    for (int i = 0; i < 8; ++i) v = v << 8 | slot[8 + i];
    return v;
}

// ---- The quicksort.

int sortCompare(const B_SORT_T *s, const unsigned char *a, const unsigned char *b) {
    for (uint32_t k = 0; k < s->numkeyfields; ++k) {
        const SORT_KEY_DESCR &kd = s->keyinfo[k];
        const void *x = a + kd.offset;
        const void *y = b + kd.offset;
        int r;
        if (kd.pCmpFcn != nullptr) {
            r = kd.pCmpFcn(x, kd.len, y, kd.len);
        } else if (kd.pGCmpFcn != nullptr) {
            r = kd.pGCmpFcn(x, y, kd.ctxt);
        } else if (kd.index == kRowChar && s->pStrncmp != nullptr) {
            r = s->pStrncmp(x, y, kd.len);
        } else if (kd.index == kRowInt8 && s->pWStrncmp != nullptr) {
            // Kept: the test is on row 2, which is INT8, so an INT8 key goes
            // through the caller's wide compare when one was given.
            r = s->pWStrncmp(x, y, kd.len);
        } else {
            r = sortTypeTable[kd.index].cmpFcn(x, y, kd.len);
        }
        if (r != 0) {
            r = r < 0 ? -1 : 1;
            return kd.desc ? -r : r;
        }
    }
    return 0;
}

ZEL_RETCODE sortPush(B_SORT_T *s, SORT_INDEX lo, SORT_INDEX hi) {
    if (s->list_next == s->list_len) {
        void *p = nullptr;
        const size_t len = s->list_len;
        ZEL_CHECK(b_tag_subReallocAny(s->subTag, s->list, len * sizeof(SORT_LIST),
                                      (len + kListGrowth) * sizeof(SORT_LIST), &p));
        s->list = static_cast<SORT_LIST *>(p);
        s->list_len += kListGrowth;
    }
    s->list[s->list_next++] = SORT_LIST{lo, hi};
    return sOKAY;
}

inline SORT_INDEX sortLoadIndex(const unsigned char *p) {
    SORT_INDEX v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline void sortSwapIndex(unsigned char *a, unsigned char *b) {
    unsigned char t[kIndexSlot];
    std::memcpy(t, a, kIndexSlot);
    std::memcpy(a, b, kIndexSlot);
    std::memcpy(b, t, kIndexSlot);
}

// The slots a partition holds: the pivot's record page for the whole pass,
// slot i in the index and its record, and the slot it is swapped with.
struct SortSlots {
    SLOT_INFO pivot = sortNoSlot(), index = sortNoSlot(), record = sortNoSlot(),
              other = sortNoSlot();
};

void sortReleaseAll(B_SORT_T *s, SortSlots *h) {
    sortRelease(&s->rcache, &h->pivot);
    sortRelease(&s->rcache, &h->record);
    sortRelease(&s->icache, &h->index);
    sortRelease(&s->icache, &h->other);
}

// One three-way partition of index slots lo..hi around the record that slot
// (lo + hi) / 2 refers to, the prefixes deciding where they differ (and,
// when `exact`, where they are equal); pushes the parts left to sort.
ZEL_RETCODE sortPartition(B_SORT_T *s, SortSlots *h, int64_t lo, int64_t hi, bool exact) {
    unsigned char *p = nullptr, *q = nullptr, *pivot = nullptr, *rec = nullptr;
    ZEL_CHECK(sortGetSlot(&s->icache, &h->index, static_cast<SORT_INDEX>((lo + hi) >> 1), &p));
    const SORT_INDEX pivotNo = sortLoadIndex(p);
    const uint64_t pivotPrefix = sortPrefixValue(p);
    ZEL_CHECK(sortGetSlot(&s->rcache, &h->pivot, pivotNo, &pivot));
    int64_t i = lo, lt = lo, gt = hi;
    while (i <= gt) {
        ZEL_CHECK(sortGetSlot(&s->icache, &h->index, static_cast<SORT_INDEX>(i), &p));
        const uint64_t prefix = sortPrefixValue(p);
        int c;
        if (prefix != pivotPrefix) {
            c = prefix < pivotPrefix ? -1 : 1;
        } else if (exact || sortLoadIndex(p) == pivotNo) {
            c = 0;
        } else {
            ZEL_CHECK(sortGetSlot(&s->rcache, &h->record, sortLoadIndex(p), &rec));
            c = sortCompare(s, rec, pivot);
        }
        if (c > 0) {
            if (i != gt) {
                ZEL_CHECK(sortGetSlot(&s->icache, &h->other, static_cast<SORT_INDEX>(gt), &q));
                sortSwapIndex(p, q);
                h->index.entry->modified = h->other.entry->modified = ZEL_TRUE;
            }
            gt--;
        } else if (c < 0) {
            if (i != lt) {
                ZEL_CHECK(sortGetSlot(&s->icache, &h->other, static_cast<SORT_INDEX>(lt), &q));
                sortSwapIndex(p, q);
                h->index.entry->modified = h->other.entry->modified = ZEL_TRUE;
            }
            lt++;
            i++;
        } else {
            i++;
        }
    }
    sortRelease(&s->rcache, &h->pivot);
    // The larger part goes on the stack first and the smaller is sorted
    // next, so the stack stays within log2 of the records; the parts are
    // disjoint, so the order they are sorted in changes nothing else.
    const bool left = lt > lo + 1, right = hi > gt + 1;
    const bool leftFirst = left && right && (lt - lo) >= (hi - gt);
    if (leftFirst) ZEL_CHECK(sortPush(s, SORT_INDEX(lo), SORT_INDEX(lt - 1)));
    if (right) ZEL_CHECK(sortPush(s, SORT_INDEX(gt + 1), SORT_INDEX(hi)));
    if (left && !leftFirst) ZEL_CHECK(sortPush(s, SORT_INDEX(lo), SORT_INDEX(lt - 1)));
    return sOKAY;
}

ZEL_RETCODE sortFail(B_SORT_T *s, ZEL_RETCODE rc) {
    s->state = SORT_ERROR;
    return rc;
}

// The checks of b_sortStart on the descriptors: the record size in *recSize
// and the key count in *keys, or eINVFCNARG.
ZEL_RETCODE sortValidate(uint32_t nofields, const SORTDESCR *descr, uint64_t *recSize,
                         uint32_t *keys) {
    uint64_t size = 0;
    uint32_t numkeys = 0, maxkey = 0;
    for (uint32_t i = 0; i < nofields; ++i) {
        const SORTDESCR &f = descr[i];
        const uint64_t end = uint64_t{f.offset} + f.len;
        if (end > size) size = end;
        if (sortTypeRow(f.type) < 0) return eINVFCNARG;
        if (f.keyno != 0) {
            if (f.keyno > nofields) return eINVFCNARG;
            if (f.type == SORT_TYPE_NOVAL && f.pCmpFcn == nullptr) return eINVFCNARG;
            numkeys++;
            if (f.keyno > maxkey) maxkey = f.keyno;
        }
        for (uint32_t j = 0; j < i; ++j) {
            const SORTDESCR &g = descr[j];
            if (f.keyno != 0 && f.keyno == g.keyno) return eINVFCNARG;
            if (f.len != 0 && g.offset >= f.offset && g.offset - f.offset < f.len)
                return eINVFCNARG;
            if (g.len != 0 && f.offset >= g.offset && f.offset - g.offset < g.len)
                return eINVFCNARG;
        }
    }
    if (maxkey > numkeys || numkeys > UINT16_MAX) return eINVFCNARG;
    // A record of no bytes, or one whose page length would wrap.
    if (size == 0 || size > UINT32_MAX - 2 * kPageGrain) return eINVFCNARG;
    *recSize = size;
    *keys = numkeys;
    return sOKAY;
}

}  // namespace

extern "C" {

ZEL_RETCODE b_sortInit(B_SORT_T *sort, const B_SORTATTR *env, uint32_t maxentries,
                       const char *pszTmpDir, B_TAG_SUB subTag) {
    if (sort == nullptr || env == nullptr || subTag == nullptr) return eINVNULLARG;
    STRCMPFUNCTION narrow = nullptr, wide = nullptr;
    const B_SORTATTR *e = env;
    for (; e->attrName != nullptr; ++e) {
        (std::strcmp(e->attrName, "char compare") == 0 ? narrow : wide) = e->attrValue;
    }
    uint32_t *counter = e->puFileNo;
    if (counter == nullptr) return eINVNULLARG;

    B_SORT_T *s = sort;
    std::memset(s, 0, sizeof *s);
    s->subTag = subTag;
    s->state = SORT_COMPLETED;
    s->pStrncmp = narrow;
    s->pWStrncmp = wide;
    s->recFile.subTag = s->indFile.subTag = subTag;
    ZEL_RETCODE rc = sortCacheInit(s, &s->rcache, &s->recFile, maxentries);
    if (rc != sOKAY) return rc;
    if ((rc = sortCacheInit(s, &s->icache, &s->indFile, maxentries)) == sOKAY &&
        (rc = sortSetupTempFile(s, &s->recFile, counter, pszTmpDir)) == sOKAY &&
        (rc = sortSetupTempFile(s, &s->indFile, counter, pszTmpDir)) == sOKAY) {
        return sOKAY;
    }
    b_sortTerm(s);
    return rc;
}

ZEL_RETCODE b_sortStart(B_SORT_T *sort, uint32_t nofields, const SORTDESCR *descr) {
    if (sort == nullptr || (nofields > 0 && descr == nullptr)) return eINVNULLARG;
    B_SORT_T *s = sort;
    if (s->state == SORT_STARTED) return eINVFCNSEQ;
    uint64_t recSize = 0;
    uint32_t keys = 0;
    ZEL_RETCODE rc;
    if ((rc = sortValidate(nofields, descr, &recSize, &keys)) != sOKAY) return sortFail(s, rc);

    SORT_KEY_DESCR *keyinfo = nullptr;
    if (keys > 0 && b_tag_subAllocClear(s->subTag, keys * sizeof *keyinfo, &keyinfo) != sOKAY) {
        return sortFail(s, eNOMEMORY);
    }
    for (uint32_t i = 0; i < nofields; ++i) {
        const SORTDESCR &f = descr[i];
        if (f.keyno == 0) continue;
        SORT_KEY_DESCR &k = keyinfo[f.keyno - 1];
        if (f.pCmpFcn != nullptr && f.ctxt != nullptr) {
            // Given as a GCMPFUNCTION (sort.h); through void (*)() back to its type.
            k.pGCmpFcn = reinterpret_cast<GCMPFUNCTION>(reinterpret_cast<void (*)()>(f.pCmpFcn));
        } else {
            k.pCmpFcn = f.pCmpFcn;
        }
        k.ctxt = f.ctxt;
        k.len = f.len;
        k.offset = f.offset;
        k.desc = f.desc != 0 ? ZEL_TRUE : ZEL_FALSE;
        k.index = static_cast<uint32_t>(sortTypeRow(f.type));
    }
    b_tag_subFreeCanBeNull(s->subTag, s->keyinfo);
    s->keyinfo = keyinfo;
    s->numkeyfields = static_cast<uint16_t>(keys);

    // The pages of an earlier sort go, unwritten: a bigger record would
    // overflow them, and what is on file is overwritten from page 0 on.
    const uint32_t maxentries = s->rcache.cache.maxentries;
    b_cacheTerm(&s->rcache.cache, ZEL_FALSE);
    b_cacheTerm(&s->icache.cache, ZEL_FALSE);
    s->recFile.maxid = s->indFile.maxid = 0;
    s->recFile.loads = s->recFile.writes = s->indFile.loads = s->indFile.writes = 0;
    if ((rc = sortCacheInit(s, &s->rcache, &s->recFile, maxentries)) != sOKAY ||
        (rc = sortCacheInit(s, &s->icache, &s->indFile, maxentries)) != sOKAY) {
        return sortFail(s, rc);
    }

    s->icache.size = kIndexSlot;
    s->icache.perPage = kIndexPerPage;
    s->indFile.len = kPageGrain;
    s->recSize = static_cast<uint32_t>(recSize);
    s->rcache.size = static_cast<uint32_t>((recSize + 7) & ~uint64_t{7});
    const uint64_t len =
        (s->rcache.size + kPageReserved + kPageGrain - 1) / kPageGrain * kPageGrain;
    s->recFile.len = static_cast<uint32_t>(len);
    s->rcache.perPage = static_cast<uint32_t>((len - kPageReserved) / s->rcache.size);

    s->state = SORT_STARTED;
    s->nextSlot = s->nextToRead = 0;
    s->list_next = 0;
    return sOKAY;
}

ZEL_RETCODE b_sortStore(B_SORT_T *sort, const void *sortrec) {
    if (sort == nullptr || sortrec == nullptr) return eINVNULLARG;
    B_SORT_T *s = sort;
    if (s->state != SORT_STARTED) return eINVFCNSEQ;
    SLOT_INFO si = sortNoSlot();
    unsigned char *p = nullptr;
    ZEL_RETCODE rc = sortGetSlot(&s->rcache, &si, s->nextSlot, &p);
    if (rc != sOKAY) return sortFail(s, rc);
    si.entry->modified = ZEL_TRUE;
    std::memcpy(p, sortrec, s->recSize);
    sortRelease(&s->rcache, &si);
    if ((rc = sortGetSlot(&s->icache, &si, s->nextSlot, &p)) != sOKAY) return sortFail(s, rc);
    si.entry->modified = ZEL_TRUE;
    std::memcpy(p, &s->nextSlot, sizeof(SORT_INDEX));
    std::memcpy(p + sizeof(SORT_INDEX),
                sortPrefixOf(s, static_cast<const unsigned char *>(sortrec)).b, 8);
    sortRelease(&s->icache, &si);
    s->nextSlot++;
    return sOKAY;
}

ZEL_RETCODE b_sortComplete(B_SORT_T *sort) {
    if (sort == nullptr) return eINVNULLARG;
    B_SORT_T *s = sort;
    if (s->state != SORT_STARTED) return eINVFCNSEQ;
    if (s->nextSlot < 2) {
        s->state = SORT_COMPLETED;
        return sOKAY;
    }
    s->list_next = 0;
    ZEL_RETCODE rc = sortPush(s, 0, s->nextSlot - 1);
    SortSlots held;
    const bool exact = sortPrefixOf(s, nullptr).exact;
    while (rc == sOKAY && s->list_next > 0) {
        const SORT_LIST r = s->list[--s->list_next];
        rc = sortPartition(s, &held, static_cast<int64_t>(r.lo), static_cast<int64_t>(r.hi), exact);
    }
    sortReleaseAll(s, &held);
    if (rc != sOKAY) return sortFail(s, rc);
    s->state = SORT_COMPLETED;
    return sOKAY;
}

ZEL_RETCODE b_sortRead(B_SORT_T *sort, uint32_t norows, void *rowbuf, uint32_t *actualrows) {
    if (sort == nullptr) return eINVNULLARG;
    B_SORT_T *s = sort;
    if (norows == 0 || s->nextToRead >= s->nextSlot) {
        if (actualrows != nullptr) *actualrows = 0;
        return sNODATA;
    }
    if (rowbuf == nullptr) return eINVNULLARG;
    SLOT_INFO index = sortNoSlot(), record = sortNoSlot();
    auto *out = static_cast<unsigned char *>(rowbuf);
    uint32_t n = 0;
    ZEL_RETCODE rc = sOKAY;
    for (; n < norows && s->nextToRead < s->nextSlot; ++n) {
        unsigned char *p = nullptr, *rec = nullptr;
        if ((rc = sortGetSlot(&s->icache, &index, s->nextToRead, &p)) != sOKAY ||
            (rc = sortGetSlot(&s->rcache, &record, sortLoadIndex(p), &rec)) != sOKAY) {
            break;
        }
        std::memcpy(out + size_t{n} * s->recSize, rec, s->recSize);
        s->nextToRead++;
    }
    sortRelease(&s->icache, &index);
    sortRelease(&s->rcache, &record);
    if (rc != sOKAY) return sortFail(s, rc);
    if (actualrows != nullptr) *actualrows = n;
    return sOKAY;
}

void b_sortTerm(B_SORT_T *sort) {
    if (sort == nullptr || sort->subTag == nullptr) return;
    B_SORT_T *s = sort;
    b_cacheTerm(&s->rcache.cache, ZEL_FALSE);
    b_cacheTerm(&s->icache.cache, ZEL_FALSE);
    sortCleanupTempFile(&s->recFile);
    sortCleanupTempFile(&s->indFile);
    b_tag_subFreeCanBeNull(s->subTag, s->keyinfo);
    b_tag_subFreeCanBeNull(s->subTag, s->list);
    s->keyinfo = nullptr;
    s->list = nullptr;
    s->list_len = s->list_next = 0;
    s->subTag = nullptr;
}

}  // extern "C"
