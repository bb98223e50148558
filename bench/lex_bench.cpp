// The lexer over a 10 MB SQL script (DDL, inserts with strings, numbers and
// binary literals, queries with comments), every token read, used and freed:
// token strings from the sub tag, and from a stack tag as the loaders use it.
// The peer is a flex scanner of the same tokens doing the same work for its
// caller (bench/lex_flex.l). The reserved-word lookup runs over identifiers
// of the script, a third of them reserved, against a gperf table of the same
// 288 words (bench/lex_gperf.gperf). Both peers are generated at build time
// when flex and gperf are found.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "lex.h"
#include "tag_master_psp.h"
#include "tag_stack.h"
#include "tag_sub.h"

#ifdef ZELBASE_HAVE_FLEX
#include "lex_flex.h"
#endif
#ifdef ZELBASE_HAVE_GPERF
extern "C" const char *lexpeer_reserved(const char *str, size_t len);
#endif

namespace {

const char *const kNames[] = {
    "customer_id", "order_date",         "name",        "balance",     "created_at", "Price",
    "qty",         "status_code",        "description", "t1",          "a",          "b",
    "region",      "warehouse_location", "sku",         "total_amount"};

std::string makeScript(size_t bytes) {
    std::mt19937 rng(16);
    std::string s;
    s.reserve(bytes + 4096);
    char buf[512];
    auto r = [&] { return static_cast<unsigned>(rng()); };
    auto name = [&] { return kNames[r() % std::size(kNames)]; };
    while (s.size() < bytes) {
        switch (r() % 8) {
            case 0:
                std::snprintf(
                    buf, sizeof buf,
                    "-- table %u\nCREATE TABLE t%u (id INTEGER NOT NULL PRIMARY KEY, %s "
                    "VARCHAR(40), %s DECIMAL(12,2), %s TIMESTAMP DEFAULT CURRENT_TIMESTAMP);\n",
                    r() % 1000, r() % 1000, name(), name(), name());
                break;
            case 1:
            case 2:
            case 3:
                std::snprintf(
                    buf, sizeof buf,
                    "INSERT INTO orders (%s, %s, %s, %s) VALUES (%u, 'O''Brien and Sons %u', "
                    "%u.%02u, X'%08X'), (%u, 'line\\n%u', %.3e, 0x%04X);\n",
                    name(), name(), name(), name(), r() % 100000, r() % 100, r() % 10000, r() % 100,
                    r(), r() % 100000, r() % 1000, static_cast<double>(r()) / 7.0, r() % 65536);
                break;
            case 4:
            case 5:
                std::snprintf(buf, sizeof buf,
                              "SELECT a.%s, b.%s, COUNT(*) AS n /* grouped */ FROM orders a JOIN "
                              "items b ON a.id = b.order_id\n  WHERE a.%s >= %u.5 AND b.%s <> 'x' "
                              "GROUP BY a.%s ORDER BY n DESC;\n",
                              name(), name(), name(), r() % 1000, name(), name());
                break;
            case 6:
                std::snprintf(
                    buf, sizeof buf,
                    "UPDATE stock SET %s = %s - %u, %s = 'moved' WHERE sku = %u; -- done\n", name(),
                    name(), r() % 10, name(), r());
                break;
            default:
                std::snprintf(buf, sizeof buf,
                              "DELETE FROM log WHERE created_at < '2024-%02u-%02u' OR level IN (1, "
                              "2, 3);\n",
                              1 + r() % 12, 1 + r() % 28);
                break;
        }
        s += buf;
    }
    return s;
}

const std::string &script() {
    static const std::string s = makeScript(10 << 20);
    return s;
}

struct Tags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    B_TAG_STACK stack = nullptr;
    Tags() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
            b_tag_subCreate(master, &sub) != sOKAY ||
            b_tag_stackCreate(master, 65536, 65536, &stack) != sOKAY) {
            std::abort();
        }
    }
    ~Tags() {
        b_tag_stackDestroy(stack);
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
};

// Reads every token of the script; a checksum of the values like the peer's.
uint64_t lexAll(B_LEX_T *lex, const std::string &text, B_TAG_STACK stack, uint64_t *tokens) {
    if (b_lexStart(lex, text.c_str(), nullptr, 1, stack) != sOKAY) std::abort();
    uint64_t sum = 0, n = 0;
    B_TOKEN t;
    for (;;) {
        const B_TOKTYPE type = b_lexGet(lex, &t);
        if (type == tokEOS) break;
        ++n;
        switch (type) {
            case tokIDENTIFIER:
                sum += static_cast<unsigned char>(t.v.id[0]);
                break;
            case tokINTEGER:
                sum += t.v.iv;
                break;
            case tokDOUBLE:
                sum += static_cast<uint64_t>(t.v.dv);
                break;
            case tokSTRING:
                sum += std::strlen(t.v.str);
                break;
            case tokBINARY:
                sum += t.v.bv[0];
                break;
            case tokERROR:
            case tokDECIMAL:
                std::abort();
            default:
                sum += static_cast<uint64_t>(type);
        }
        b_lexTokenFree(lex, &t);
    }
    *tokens = n;
    return sum;
}

void lexScript(benchmark::State &state, bool useStack) {
    Tags tags;
    B_LEX_T lex;
    if (b_lexInit(&lex, "sql", ZEL_TRUE, ZEL_FALSE, tags.sub) != sOKAY) std::abort();
    const std::string &text = script();
    uint64_t tokens = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(lexAll(&lex, text, useStack ? tags.stack : nullptr, &tokens));
    }
    b_lexTerm(&lex);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.counters["tokens"] = static_cast<double>(tokens);
}

void BM_LexSqlScript(benchmark::State &state) {
    lexScript(state, false);
}
BENCHMARK(BM_LexSqlScript)->Unit(benchmark::kMillisecond);

void BM_LexSqlScriptStackTag(benchmark::State &state) {
    lexScript(state, true);
}
BENCHMARK(BM_LexSqlScriptStackTag)->Unit(benchmark::kMillisecond);

#ifdef ZELBASE_HAVE_FLEX
void BM_FlexSqlScript(benchmark::State &state) {
    const std::string &text = script();
    uint64_t tokens = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(lexpeer_scanAll(text.data(), text.size(), &tokens));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
    state.counters["tokens"] = static_cast<double>(tokens);
}
BENCHMARK(BM_FlexSqlScript)->Unit(benchmark::kMillisecond);
#endif

// ---- Reserved words.

std::vector<std::string> lookupWords() {
    std::mt19937 rng(288);
    std::vector<std::string> words;
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY || b_tag_subCreate(master, &sub) != sOKAY)
        std::abort();
    B_LEX_T lex;
    if (b_lexInit(&lex, "sql", ZEL_TRUE, ZEL_FALSE, sub) != sOKAY) std::abort();
    const std::string text = makeScript(1 << 16);
    if (b_lexStart(&lex, text.c_str(), nullptr, 0, nullptr) != sOKAY) std::abort();
    B_TOKEN t;
    int reserved = 0;
    while (b_lexGet(&lex, &t) != tokEOS && words.size() < 4096) {
        if (t.type == tokIDENTIFIER) {
            // The text as written, in its own case; as many names as keywords.
            const bool isReserved = b_lexSQLReserved(t.v.id) == ZEL_TRUE;
            if (!isReserved || reserved * 2 < static_cast<int>(words.size())) {
                words.emplace_back(b_lexGetTokString(&lex));
                reserved += isReserved ? 1 : 0;
            }
        }
        b_lexTokenFree(&lex, &t);
    }
    b_lexTerm(&lex);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
    return words;
}

const std::vector<std::string> &words() {
    static const std::vector<std::string> w = lookupWords();
    return w;
}

void BM_LexReserved(benchmark::State &state) {
    const std::vector<std::string> &w = words();
    for (auto _ : state) {
        int found = 0;
        for (const std::string &s : w) found += b_lexSQLReserved(s.c_str());
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * w.size()));
}
BENCHMARK(BM_LexReserved);

#ifdef ZELBASE_HAVE_GPERF
void BM_GperfReserved(benchmark::State &state) {
    const std::vector<std::string> &w = words();
    for (auto _ : state) {
        int found = 0;
        for (const std::string &s : w) found += lexpeer_reserved(s.c_str(), s.size()) != nullptr;
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * w.size()));
}
BENCHMARK(BM_GperfReserved);
#endif

}  // namespace

BENCHMARK_MAIN();
