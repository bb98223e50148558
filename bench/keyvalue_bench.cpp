// A connection's option string of 25 pairs (numbers, multipliers, booleans,
// words, paths, a quoted text and a list), parsed and then read with the 25
// typed getters a caller would use, map freed: b_keyvalueInit over the
// key/value lexer against the splitter a user would write instead, which
// cuts the string with std::string_view at ";" and "=" into a case-blind
// std::map and reads numbers with std::from_chars (and the multiplier
// suffix), booleans by a case-blind compare, texts by copying them out. The
// peer knows nothing of quotes, lists or gluing: it is the floor.
#include <benchmark/benchmark.h>
#include <strings.h>

#include <charconv>
#include <cstring>
#include <map>
#include <string>
#include <string_view>

#include "keyvalue.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

enum Kind { kText, kBool, kU32, kU64, kI32, kI16 };

struct Pair {
    const char *key;
    const char *value;
    Kind kind;
};

constexpr Pair kPairs[] = {
    {"cache_size", "20000", kU32},
    {"autocommit", "on", kBool},
    {"db_size", "20G", kU64},
    {"DateFormat", "'YYYY-MM-DD'", kText},
    {"debugmode", "0", kI32},
    {"defaultopenmode", "SHARED", kText},
    {"distinctcachesize", "10K", kU32},
    {"docroot", "/var/lib/zel/docs", kText},
    {"durability", "durable", kText},
    {"idindex_cache_size", "65536000", kU32},
    {"ignoreimporterrors", "false", kBool},
    {"item_format", "compact", kText},
    {"locale", "en_US", kText},
    {"logfile", "/var/log/zel/server.log", kText},
    {"logerrlevel", "info", kText},
    {"obj_compress_min_size", "4096", kU32},
    {"optimizeparameters", "yes", kBool},
    {"pack_file_size", "2048M", kU64},
    {"procs_dir", "/opt/zel/procs", kText},
    {"readonly", "0", kBool},
    {"slotspercachenode", "64", kU32},
    {"time_zone", "60", kI16},
    {"timeout", "30", kI32},
    {"tos", "16", kI32},
    {"vacuum_percentage", "20", kU32},
};
static_assert(std::size(kPairs) == 25);

std::string optionString() {
    std::string s;
    for (const Pair &p : kPairs) s += std::string(p.key) + "=" + p.value + ";";
    return s;
}

// ---- zelbase.

void BM_KeyValue(benchmark::State &state) {
    const std::string text = optionString();
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY || b_tag_subCreate(master, &sub) != sOKAY)
        return state.SkipWithError("no tags");
    char buf[64];
    for (auto _ : state) {
        B_KEYVALUE_T kv;
        if (b_keyvalueInit(&kv, text.c_str(), ZEL_FALSE, sub) != sOKAY)
            return state.SkipWithError("parse failed");
        uint64_t sum = 0;
        for (const Pair &p : kPairs) {
            ZEL_RETCODE rc = sOKAY;
            switch (p.kind) {
                case kText:
                    rc = b_keyvalueGetValue(&kv, p.key, buf, sizeof buf);
                    sum += static_cast<uint8_t>(buf[0]);
                    break;
                case kBool: {
                    ZEL_BOOL_T b;
                    rc = b_keyvalueGetValueBoolean(&kv, p.key, &b);
                    sum += b;
                    break;
                }
                case kU32: {
                    uint32_t v;
                    rc = b_keyvalueGetUIntValue(&kv, p.key, &v);
                    sum += v;
                    break;
                }
                case kU64: {
                    uint64_t v;
                    rc = b_keyvalueGetUInt64Value(&kv, p.key, &v);
                    sum += v;
                    break;
                }
                case kI32: {
                    int32_t v;
                    rc = b_keyvalueGetIntValue(&kv, p.key, &v);
                    sum += static_cast<uint64_t>(v);
                    break;
                }
                case kI16: {
                    int16_t v;
                    rc = b_keyvalueGetInt16Value(&kv, p.key, &v);
                    sum += static_cast<uint64_t>(v);
                    break;
                }
            }
            if (rc != sOKAY) return state.SkipWithError(p.key);
        }
        benchmark::DoNotOptimize(sum);
        b_keyvalueTerm(&kv);
    }
    state.SetItemsProcessed(state.iterations() * 25);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}
BENCHMARK(BM_KeyValue);

// ---- The splitter a user would write.

struct CaseLess {
    bool operator()(std::string_view a, std::string_view b) const {
        const int c = strncasecmp(a.data(), b.data(), std::min(a.size(), b.size()));
        return c != 0 ? c < 0 : a.size() < b.size();
    }
};
using ViewMap = std::map<std::string_view, std::string_view, CaseLess>;

ViewMap split(std::string_view s) {
    ViewMap m;
    while (!s.empty()) {
        const size_t end = std::min(s.find(';'), s.size());
        const std::string_view pair = s.substr(0, end);
        const size_t eq = pair.find('=');
        if (eq != std::string_view::npos) {
            std::string_view v = pair.substr(eq + 1);
            if (v.size() >= 2 && v.front() == '\'' && v.back() == '\'')
                v = v.substr(1, v.size() - 2);
            m.insert_or_assign(pair.substr(0, eq), v);
        }
        s.remove_prefix(std::min(end + 1, s.size()));
    }
    return m;
}

template <class T>
bool number(std::string_view v, T *out) {
    uint64_t scale = 1;
    if (!v.empty()) {
        switch (v.back() | 0x20) {
            case 'k':
                scale = 1000;
                break;
            case 'm':
                scale = 1000000;
                break;
            case 'g':
                scale = 1000000000;
                break;
        }
        if (scale != 1) v.remove_suffix(1);
    }
    T x{};
    const auto r = std::from_chars(v.data(), v.data() + v.size(), x);
    if (r.ec != std::errc() || r.ptr != v.data() + v.size()) return false;
    *out = static_cast<T>(x * static_cast<T>(scale));
    return true;
}

bool boolean(std::string_view v, bool *out) {
    for (const char *w : {"yes", "y", "on", "true", "1", "n", "no", "off", "false", "0"}) {
        if (v.size() == std::strlen(w) && strncasecmp(v.data(), w, v.size()) == 0) {
            *out = w[0] == 'y' || w[0] == 't' || w[0] == '1' || (w[0] == 'o' && w[1] == 'n');
            return true;
        }
    }
    return false;
}

void BM_StdMapSplitter(benchmark::State &state) {
    const std::string text = optionString();
    char buf[64];
    for (auto _ : state) {
        const ViewMap m = split(text);
        uint64_t sum = 0;
        for (const Pair &p : kPairs) {
            const auto it = m.find(p.key);
            if (it == m.end()) return state.SkipWithError(p.key);
            const std::string_view v = it->second;
            bool ok = true;
            switch (p.kind) {
                case kText: {
                    const size_t n = std::min(v.size(), sizeof buf - 1);
                    std::memcpy(buf, v.data(), n);
                    buf[n] = '\0';
                    sum += static_cast<uint8_t>(buf[0]);
                    break;
                }
                case kBool: {
                    bool b = false;
                    ok = boolean(v, &b);
                    sum += b;
                    break;
                }
                case kU32: {
                    uint32_t x = 0;
                    ok = number(v, &x);
                    sum += x;
                    break;
                }
                case kU64: {
                    uint64_t x = 0;
                    ok = number(v, &x);
                    sum += x;
                    break;
                }
                case kI32: {
                    int32_t x = 0;
                    ok = number(v, &x);
                    sum += static_cast<uint64_t>(x);
                    break;
                }
                case kI16: {
                    int16_t x = 0;
                    ok = number(v, &x);
                    sum += static_cast<uint64_t>(x);
                    break;
                }
            }
            if (!ok) return state.SkipWithError(p.key);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * 25);
}
BENCHMARK(BM_StdMapSplitter);

}  // namespace

BENCHMARK_MAIN();
