// The JSON reader over a 5 MB catalogue-shaped document (tables of columns
// with their types, keys and defaults, as the catalogue loader reads them):
// a full pull walk that takes every name and string as the caller's copy and
// frees it, with tokens from a stack tag as the loader runs it, and from the
// sub tag. The peers parse the same text with callbacks that copy and free
// each name and string too: yajl with comments allowed (the reader accepts
// comments), and RapidJSON's SAX Reader with comments allowed.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "input.h"
#include "json.h"
#include "tag_master_psp.h"
#include "tag_stack.h"
#include "tag_sub.h"

#ifdef ZELBASE_HAVE_YAJL
#include <yajl/yajl_parse.h>
#endif
#ifdef ZELBASE_HAVE_RAPIDJSON
#include <rapidjson/reader.h>
#endif

namespace {

std::string makeCatalogue(size_t bytes) {
    std::string s =
        "{\"database\": {\"catver\": 1, \"dbver\": 3, \"name\": \"inventory\", \"locale\": "
        "\"en_US\", \"encryption\": \"none\", \"maxdrawers\": 4096, \"nextdrawer\": 12,\n"
        " /* tables follow */ \"maxtabs\": 65535, \"nexttab\": 2000, \"tables\": [\n";
    const char *types[] = {"int32", "varchar", "decimal", "timestamp", "double", "uuid", "bool"};
    char buf[512];
    for (int t = 1; s.size() < bytes; ++t) {
        if (t > 1) s += ",\n";
        std::snprintf(buf, sizeof buf,
                      "  {\"tabid\": %d, \"dwrid\": -1, \"type\": \"standard\", \"name\": "
                      "\"table_%d\", \"maxrows\": 0, \"nocols\": 12, \"nextcol\": 12, \"maxcols\": "
                      "64, \"nokeys\": 2, \"nextkey\": 2, \"maxkeys\": 8, \"columns\": [\n",
                      t, t);
        s += buf;
        for (int c = 0; c < 12; ++c) {
            if (c > 0) s += ",\n";
            std::snprintf(buf, sizeof buf,
                          "    {\"colid\": %d, \"name\": \"column_%d_of_%d\", \"usage\": %d, "
                          "\"width\": 12, \"type\": {\"data_type\": \"%s\", \"length\": %d, "
                          "\"scale\": 2}, \"defValue\": \"%d.5\", \"defNull\": %s}",
                          c, c, t, c * 3, types[c % 7], 4 + c * 4, c, c % 2 ? "true" : "false");
            s += buf;
        }
        std::snprintf(
            buf, sizeof buf,
            "\n  ], \"keys\": [{\"keyid\": 0, \"name\": \"pk_%d\", \"type\": \"primary\", "
            "\"method\": \"btree\", \"restrict\": false, \"refcount\": 0, \"nocols\": 1, "
            "\"cols\": [{\"colid\": \"0\", \"order\": \"asc\"}]}, {\"keyid\": 1, "
            "\"type\": \"nonunique\", \"method\": \"hash\", \"nocols\": 2, \"cols\": "
            "[{\"colid\": \"1\", \"order\": \"desc\"}, {\"colid\": \"2\", \"order\": "
            "\"asc\"}]}]}",
            t);
        s += buf;
    }
    return s + "\n]}}\n";
}

const std::string &catalogue() {
    static const std::string s = makeCatalogue(5 << 20);
    return s;
}

struct Totals {
    uint64_t events = 0, sum = 0;
};

// The pull walk of the open value `v`.
void walkInside(B_JSON_T *j, const B_JSON_VAL &v, Totals *t) {
    ++t->events;
    if (v.type == jvARRAY) {
        for (;;) {
            B_JSON_VAL e;
            if (b_jsonNextValue(j, nullptr, &e) != sOKAY) std::abort();
            if (e.type == jvEND) break;
            walkInside(j, e, t);
            if (e.type == jvSTRING) b_tag_subFree(j->subTag, e.v.str);
        }
    } else if (v.type == jvOBJECT) {
        for (;;) {
            B_JSON_PAIR p;
            if (b_jsonNextPair(j, nullptr, &p) != sOKAY) std::abort();
            if (p.value.type == jvEND) break;
            t->sum += static_cast<unsigned char>(p.name[0]);
            walkInside(j, p.value, t);
            b_jsonFreePair(j, &p);
        }
    } else if (v.type == jvSTRING) {
        t->sum += static_cast<unsigned char>(v.v.str[0]);
    } else if (v.type == jvNUMBER) {
        t->sum += static_cast<uint64_t>(v.v.num);
    } else if (v.type == jvDOUBLE) {
        t->sum += static_cast<uint64_t>(v.v.dbl);
    }
}

void readCatalogue(benchmark::State &state, bool useStack) {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    B_TAG_STACK stack = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
        b_tag_subCreate(master, &sub) != sOKAY ||
        b_tag_stackCreate(master, 50, 50, &stack) != sOKAY)
        std::abort();
    const std::string &text = catalogue();
    Totals t;
    for (auto _ : state) {
        t = Totals{};
        B_INPUT_T in;
        b_inputInitFromMemory(&in, text.data(), text.size(), sub);
        B_JSON_T j;
        if (b_jsonInit(&j, &in, sub, useStack ? stack : nullptr) != sOKAY) std::abort();
        B_JSON_VAL v;
        if (b_jsonNextValue(&j, nullptr, &v) != sOKAY) std::abort();
        walkInside(&j, v, &t);
        b_jsonTerm(&j);
        benchmark::DoNotOptimize(t.sum);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.counters["events"] = static_cast<double>(t.events);
    b_tag_stackDestroy(stack);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

void BM_JsonCatalogueStackTag(benchmark::State &state) {
    readCatalogue(state, true);
}
BENCHMARK(BM_JsonCatalogueStackTag)->Unit(benchmark::kMillisecond);

void BM_JsonCatalogue(benchmark::State &state) {
    readCatalogue(state, false);
}
BENCHMARK(BM_JsonCatalogue)->Unit(benchmark::kMillisecond);

// The copy a caller of a callback parser takes of a name or string.
void takeCopy(Totals *t, const char *s, size_t n) {
    auto *copy = static_cast<char *>(std::malloc(n + 1));
    std::memcpy(copy, s, n);
    copy[n] = '\0';
    t->sum += static_cast<unsigned char>(copy[0]) + n;
    benchmark::DoNotOptimize(copy);
    std::free(copy);
}

#ifdef ZELBASE_HAVE_YAJL
int yNull(void *ctx) {
    static_cast<Totals *>(ctx)->events++;
    return 1;
}
int yBool(void *ctx, int b) {
    static_cast<Totals *>(ctx)->events++;
    static_cast<Totals *>(ctx)->sum += static_cast<uint64_t>(b);
    return 1;
}
int yInt(void *ctx, long long v) {
    static_cast<Totals *>(ctx)->events++;
    static_cast<Totals *>(ctx)->sum += static_cast<uint64_t>(v);
    return 1;
}
int yDouble(void *ctx, double v) {
    static_cast<Totals *>(ctx)->events++;
    static_cast<Totals *>(ctx)->sum += static_cast<uint64_t>(v);
    return 1;
}
int yString(void *ctx, const unsigned char *s, size_t n) {
    static_cast<Totals *>(ctx)->events++;
    takeCopy(static_cast<Totals *>(ctx), reinterpret_cast<const char *>(s), n);
    return 1;
}
int yKey(void *ctx, const unsigned char *s, size_t n) {
    takeCopy(static_cast<Totals *>(ctx), reinterpret_cast<const char *>(s), n);
    return 1;
}
int yOpen(void *ctx) {
    static_cast<Totals *>(ctx)->events++;
    return 1;
}
int yClose(void *) {
    return 1;
}

void BM_YajlCatalogue(benchmark::State &state) {
    static const yajl_callbacks callbacks = {yNull, yBool, yInt,   yDouble, nullptr, yString,
                                             yOpen, yKey,  yClose, yOpen,   yClose};
    const std::string &text = catalogue();
    Totals t;
    for (auto _ : state) {
        t = Totals{};
        yajl_handle h = yajl_alloc(&callbacks, nullptr, &t);
        yajl_config(h, yajl_allow_comments, 1);
        if (yajl_parse(h, reinterpret_cast<const unsigned char *>(text.data()), text.size()) !=
                yajl_status_ok ||
            yajl_complete_parse(h) != yajl_status_ok)
            std::abort();
        yajl_free(h);
        benchmark::DoNotOptimize(t.sum);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.counters["events"] = static_cast<double>(t.events);
}
BENCHMARK(BM_YajlCatalogue)->Unit(benchmark::kMillisecond);
#endif

#ifdef ZELBASE_HAVE_RAPIDJSON
struct RapidHandler : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RapidHandler> {
    Totals *t;
    explicit RapidHandler(Totals *totals) : t(totals) {}
    bool Default() {
        t->events++;
        return true;
    }
    bool Bool(bool b) {
        t->sum += b;
        return Default();
    }
    bool Int(int v) { return Int64(v); }
    bool Uint(unsigned v) { return Int64(v); }
    bool Uint64(uint64_t v) { return Int64(static_cast<int64_t>(v)); }
    bool Int64(int64_t v) {
        t->sum += static_cast<uint64_t>(v);
        return Default();
    }
    bool Double(double v) {
        t->sum += static_cast<uint64_t>(v);
        return Default();
    }
    bool String(const char *s, rapidjson::SizeType n, bool) {
        takeCopy(t, s, n);
        return Default();
    }
    bool Key(const char *s, rapidjson::SizeType n, bool) {
        takeCopy(t, s, n);
        return true;
    }
    bool EndObject(rapidjson::SizeType) { return true; }
    bool EndArray(rapidjson::SizeType) { return true; }
};

void BM_RapidJsonReaderCatalogue(benchmark::State &state) {
    const std::string &text = catalogue();
    Totals t;
    for (auto _ : state) {
        t = Totals{};
        rapidjson::Reader reader;
        rapidjson::StringStream in(text.c_str());
        RapidHandler handler(&t);
        if (reader.Parse<rapidjson::kParseCommentsFlag>(in, handler).IsError()) std::abort();
        benchmark::DoNotOptimize(t.sum);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.counters["events"] = static_cast<double>(t.events);
}
BENCHMARK(BM_RapidJsonReaderCatalogue)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
