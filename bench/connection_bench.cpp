// Connection strings, a cold path: parse and free 10,000 strings of the
// shapes the engine sees. The peer is liburiparser (uriParseSingleUriA), which
// then has the host, port and first path segment taken out as the parse here
// takes them (host and name copied, port read), on the same strings: those
// with a scheme, which are URIs to it. The forms without a scheme ("mydb",
// "mydb@host:1234,30,5,1") are measured alone.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "connection.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

#ifdef ZELBASE_HAVE_URIPARSER
#include <uriparser/Uri.h>
#endif

namespace {

std::vector<std::string> makeUris(bool withScheme) {
    std::mt19937 rng(27);
    std::vector<std::string> out;
    char buf[128];
    for (int i = 0; i < 10000; ++i) {
        const unsigned n = static_cast<unsigned>(rng() % 1000), port = 1 + rng() % 65535;
        switch (withScheme ? rng() % 6 : 6 + rng() % 3) {
            case 0:
                std::snprintf(buf, sizeof buf, "gsv-tcp://db%u.example.com:%u/sales%u", n, port, n);
                break;
            case 1:
                std::snprintf(buf, sizeof buf, "gsv-tcp://[fe80::%x]:%u/x%u", n, port, n);
                break;
            case 2:
                std::snprintf(buf, sizeof buf, "gsv-tcp://host%u/mydb", n);
                break;
            case 3:
                std::snprintf(buf, sizeof buf, "gsv-shm://shm%u/db%u", n, n);
                break;
            case 4:
                std::snprintf(buf, sizeof buf, "gsv://name%u/db", n);
                break;
            case 5:
                std::snprintf(buf, sizeof buf, "gsv-tcp://10.0.%u.%u:%u/inventory", n % 256, n / 4,
                              port);
                break;
            case 6:
                std::snprintf(buf, sizeof buf, "mydb%u", n);
                break;
            case 7:
                std::snprintf(buf, sizeof buf, "mydb%u@host%u:%u", n, n, port);
                break;
            default:
                std::snprintf(buf, sizeof buf, "mydb%u@host%u:%u,30,5,1", n, n, port);
                break;
        }
        out.emplace_back(buf);
    }
    return out;
}

void parseAll(benchmark::State &state, const std::vector<std::string> &uris) {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY || b_tag_subCreate(master, &sub) != sOKAY)
        state.SkipWithError("no tags");
    for (auto _ : state) {
        for (const std::string &u : uris) {
            TX_CONN_CTX *ctx = nullptr;
            if (tl_parseConnectionUri(u.c_str(), sub, nullptr, &ctx) != sOKAY) std::abort();
            benchmark::DoNotOptimize(ctx->info[0].info.tcp.port);
            tl_freeConnectionInfo(ctx);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * uris.size()));
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

void BM_ConnParse(benchmark::State &state) {
    static const std::vector<std::string> uris = makeUris(true);
    parseAll(state, uris);
}
BENCHMARK(BM_ConnParse);

void BM_ConnParseNoScheme(benchmark::State &state) {
    static const std::vector<std::string> uris = makeUris(false);
    parseAll(state, uris);
}
BENCHMARK(BM_ConnParseNoScheme);

#ifdef ZELBASE_HAVE_URIPARSER
char *copyRange(const UriTextRangeA &r) {
    const size_t n = r.first != nullptr ? static_cast<size_t>(r.afterLast - r.first) : 0;
    auto *s = static_cast<char *>(std::malloc(n + 1));
    if (n > 0) std::memcpy(s, r.first, n);
    s[n] = '\0';
    return s;
}

void BM_Uriparser(benchmark::State &state) {
    static const std::vector<std::string> uris = makeUris(true);
    for (auto _ : state) {
        for (const std::string &u : uris) {
            UriUriA uri;
            const char *errorPos = nullptr;
            if (uriParseSingleUriA(&uri, u.c_str(), &errorPos) != URI_SUCCESS) std::abort();
            char *host = copyRange(uri.hostText);
            unsigned long port = 0;
            for (const char *p = uri.portText.first; p != nullptr && p < uri.portText.afterLast;
                 ++p)
                port = port * 10 + static_cast<unsigned long>(*p - '0');
            char *name = uri.pathHead != nullptr ? copyRange(uri.pathHead->text) : nullptr;
            benchmark::DoNotOptimize(port);
            benchmark::DoNotOptimize(host);
            std::free(host);
            std::free(name);
            uriFreeUriMembersA(&uri);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * uris.size()));
}
BENCHMARK(BM_Uriparser);
#endif

}  // namespace

BENCHMARK_MAIN();
