// The external sort on descriptors and records made of arbitrary bytes.
// b_sortStart must accept exactly what a reference check of the rules
// accepts; accepted, the records are stored (floating NaNs and decimals made
// valid so that every key has a total order), sorted in 1 to 4 pages a
// cache so that both files spill, and read back: the output must be a
// permutation of the input in which no neighbours are out of order by a
// reference comparator written apart from the library's. Every byte is back.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bcd.h"
#include "fuzz_tags.h"
#include "sort.h"

namespace {

struct Reader {
    const uint8_t *p;
    size_t n;
    uint8_t byte() {
        if (n == 0) return 0;
        --n;
        return *p++;
    }
};

const SORTCOL_TYPE kTypes[] = {
    SORT_TYPE_BYTES,  SORT_TYPE_CHAR,      SORT_TYPE_INT8,        SORT_TYPE_UINT8, SORT_TYPE_INT16,
    SORT_TYPE_UINT16, SORT_TYPE_INT32,     SORT_TYPE_UINT32,      SORT_TYPE_INT64, SORT_TYPE_UINT64,
    SORT_TYPE_FLOAT,  SORT_TYPE_DOUBLE,    SORT_TYPE_ROWID,       SORT_TYPE_DATE,  SORT_TYPE_TIME,
    SORT_TYPE_TIMETZ, SORT_TYPE_TIMESTAMP, SORT_TYPE_TIMESTAMPTZ, SORT_TYPE_BCD,   SORT_TYPE_UUID,
    SORT_TYPE_NOVAL,  SORT_TYPE_WCHAR,     SORTCOL_TYPE(77)};
constexpr size_t kKnownTypes = 21;  // the rows with a compare or NOVAL

bool accepted(const std::vector<SORTDESCR> &f) {
    uint64_t size = 0;
    uint32_t keys = 0, maxkey = 0;
    for (size_t i = 0; i < f.size(); ++i) {
        size = std::max<uint64_t>(size, uint64_t{f[i].offset} + f[i].len);
        if (std::find(kTypes, kTypes + kKnownTypes, f[i].type) == kTypes + kKnownTypes)
            return false;
        if (f[i].keyno > f.size()) return false;
        if (f[i].keyno && f[i].type == SORT_TYPE_NOVAL) return false;  // no compare given here
        if (f[i].keyno) keys++, maxkey = std::max(maxkey, f[i].keyno);
        for (size_t j = 0; j < f.size(); ++j) {
            if (i == j) continue;
            if (f[i].keyno && f[i].keyno == f[j].keyno) return false;
            if (f[i].len && f[j].offset >= f[i].offset && f[j].offset < f[i].offset + f[i].len) {
                return false;
            }
        }
    }
    return maxkey <= keys && size > 0;
}

template <class T>
int ord(T a, T b) {
    return a < b ? -1 : (a > b ? 1 : 0);
}

template <class T>
T load(const uint8_t *p, uint32_t len) {
    T v{};
    std::memcpy(&v, p, std::min<size_t>(len, sizeof v));
    return v;
}

// The compare of one key by its type, written from the rules, not the code.
int refKey(const SORTDESCR &f, const uint8_t *a, const uint8_t *b, bool wideInt8) {
    const uint32_t n = f.len;
    switch (f.type) {
        case SORT_TYPE_BYTES: {
            if (n < 4) return 0;
            const uint32_t la = std::min(load<uint32_t>(a, 4), n - 4);
            const uint32_t lb = std::min(load<uint32_t>(b, 4), n - 4);
            for (uint32_t i = 0; i < std::min(la, lb); ++i)
                if (a[4 + i] != b[4 + i]) return ord(a[4 + i], b[4 + i]);
            return ord(la, lb);
        }
        case SORT_TYPE_CHAR:
            for (uint32_t i = 0; i < n; ++i) {
                if (a[i] != b[i]) return ord(a[i], b[i]);
                if (a[i] == 0) break;
            }
            return 0;
        case SORT_TYPE_INT8:
            return wideInt8 ? -ord(load<int8_t>(a, n), load<int8_t>(b, n))
                            : ord(load<int8_t>(a, n), load<int8_t>(b, n));
        case SORT_TYPE_UINT8:
            return ord(load<uint8_t>(a, n), load<uint8_t>(b, n));
        case SORT_TYPE_INT16:
            return ord(load<int16_t>(a, n), load<int16_t>(b, n));
        case SORT_TYPE_UINT16:
            return ord(load<uint16_t>(a, n), load<uint16_t>(b, n));
        case SORT_TYPE_INT32:
            return ord(load<int32_t>(a, n), load<int32_t>(b, n));
        case SORT_TYPE_INT64:
            return ord(load<int64_t>(a, n), load<int64_t>(b, n));
        case SORT_TYPE_UINT64:
        case SORT_TYPE_ROWID:
            return ord(load<uint64_t>(a, n), load<uint64_t>(b, n));
        case SORT_TYPE_FLOAT:
            return ord(load<float>(a, n), load<float>(b, n));
        case SORT_TYPE_DOUBLE:
            return ord(load<double>(a, n), load<double>(b, n));
        case SORT_TYPE_TIMETZ:
        case SORT_TYPE_UINT32:
        case SORT_TYPE_DATE:
        case SORT_TYPE_TIME:
            return ord(load<uint32_t>(a, n), load<uint32_t>(b, n));
        case SORT_TYPE_TIMESTAMP:
        case SORT_TYPE_TIMESTAMPTZ: {
            const uint64_t x = load<uint64_t>(a, n), y = load<uint64_t>(b, n);
            const int c = ord(uint32_t(x), uint32_t(y));
            return c != 0 ? c : ord(uint32_t(x >> 32), uint32_t(y >> 32));
        }
        case SORT_TYPE_BCD: {
            const auto x = load<ZEL_BCD_T>(a, n), y = load<ZEL_BCD_T>(b, n);
            return zel_bcdCompare(&x, &y);
        }
        case SORT_TYPE_UUID: {
            const int c = std::memcmp(a, b, n);
            return c < 0 ? -1 : c > 0;
        }
        default:
            return 0;
    }
}

ZEL_COMPARE reversedInt8(const void *a, const void *b, uint32_t len) {
    if (len == 0) return ZEL_EQ;
    const int8_t x = *static_cast<const int8_t *>(a), y = *static_cast<const int8_t *>(b);
    return x > y ? ZEL_LT : (x < y ? ZEL_GT : ZEL_EQ);
}

// Floating fields without NaN, decimals built from an integer: a total order.
void tame(const std::vector<SORTDESCR> &fields, uint8_t *rec) {
    for (const SORTDESCR &f : fields) {
        uint8_t *p = rec + f.offset;
        if (f.type == SORT_TYPE_FLOAT && f.len >= 4) {
            float v;
            std::memcpy(&v, p, 4);
            if (std::isnan(v)) std::memset(p, 0, 4);
        } else if (f.type == SORT_TYPE_DOUBLE && f.len >= 8) {
            double v;
            std::memcpy(&v, p, 8);
            if (std::isnan(v)) std::memset(p, 0, 8);
        } else if (f.type == SORT_TYPE_BCD && f.len > 0) {
            ZEL_BCD_T v;
            (void)zel_bcdFromInt32(int32_t(p[0]) - 128, &v);
            std::memcpy(p, &v, std::min<size_t>(f.len, sizeof v));
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const std::string dir = [] {
        std::string t = (std::filesystem::temp_directory_path() / "zelsort_fuzz_XXXXXX").string();
        check(mkdtemp(t.data()) != nullptr);
        return t;
    }();
    if (size < 2) return 0;
    B_TAG_SUB sub = fuzzTag();
    const int64_t start = fuzzUsed(sub);
    Reader r{data, size};
    const uint32_t nf = 1 + r.byte() % 5;
    const uint8_t flags = r.byte();
    std::vector<SORTDESCR> fields;
    for (uint32_t i = 0; i < nf; ++i) {
        const uint8_t t = r.byte(), k = r.byte(), l = r.byte(), o = r.byte();
        fields.push_back({nullptr, nullptr, uint32_t(k % (nf + 2)), uint32_t(l % 40),
                          uint32_t(o % 80), char(t & 0x80),
                          kTypes[t % (sizeof kTypes / sizeof kTypes[0])]});
    }
    uint32_t counter = 0;
    const bool wide = flags & 1;
    const B_SORTATTR env[2] = {{"wide compare", reversedInt8, nullptr},
                               {nullptr, nullptr, &counter}};
    B_SORT_T s;
    check(b_sortInit(&s, wide ? env : env + 1, 1 + (flags >> 1) % 4, dir.c_str(), sub) == sOKAY);
    const ZEL_RETCODE rc = b_sortStart(&s, nf, fields.data());
    check(rc == (accepted(fields) ? sOKAY : eINVFCNARG));
    if (rc == sOKAY) {
        const uint32_t rs = s.recSize;
        std::vector<std::vector<uint8_t>> in;
        while (r.n > 0 && in.size() < 2000) {
            std::vector<uint8_t> rec(rs);
            for (uint32_t i = 0; i < rs; ++i) rec[i] = r.byte();
            tame(fields, rec.data());
            check(b_sortStore(&s, rec.data()) == sOKAY);
            in.push_back(rec);
        }
        check(b_sortComplete(&s) == sOKAY);
        std::vector<SORTDESCR> keys(s.numkeyfields);
        for (const SORTDESCR &f : fields)
            if (f.keyno) keys[f.keyno - 1] = f;
        std::vector<std::vector<uint8_t>> out;
        std::vector<uint8_t> buf(size_t{rs} * 7);
        uint32_t n = 0;
        ZEL_RETCODE rr;
        while ((rr = b_sortRead(&s, 7, buf.data(), &n)) == sOKAY) {
            for (uint32_t i = 0; i < n; ++i)
                out.emplace_back(buf.begin() + long(i) * rs, buf.begin() + long(i + 1) * rs);
        }
        check(rr == sNODATA && out.size() == in.size());
        for (size_t i = 1; i < out.size(); ++i) {
            int c = 0;
            for (const SORTDESCR &k : keys) {
                c = refKey(k, &out[i - 1][k.offset], &out[i][k.offset], wide);
                if (k.desc) c = -c;
                if (c != 0) break;
            }
            check(c <= 0);
        }
        std::sort(in.begin(), in.end());
        std::sort(out.begin(), out.end());
        check(in == out);
    } else {
        check(s.state == SORT_ERROR);
    }
    b_sortTerm(&s);
    check(fuzzUsed(sub) == start);
    return 0;
}
