// A handle's option string of 40 pairs of every scope (numbers with and
// without multipliers, booleans, words, formats, paths, texts): each key
// handed to all seven processing functions in turn, as a caller that does
// not know the scopes does (configuration and settings of each scope), and
// the lists of all options written back in both forms into a reused buffer.
// The yardstick is the key/value parse of the same string (b_keyvalueInit
// and Term), which any caller pays first: the aim is that processing and
// writing back cost no more than that parse.
#include <benchmark/benchmark.h>

#include <string>

#include "config.h"
#include "config_output.h"
#include "config_process.h"
#include "keyvalue.h"
#include "options.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

constexpr const char *kOptions =
    "autocommit=on;bytes_per_utf8_char=3;cache_size=20K;dateformat=DD/MM/YYYY;db_size=20G;"
    "dbuserid=admin;debugmode=0;defaultopenmode=SHARED;defaulttransaction=READ;"
    "distinctcachesize=10K;docroot=/var/lib/zel/docs;drop=no;durability=consistent;"
    "error_format=%E:%S;generateproccfile=false;groupbycachesize=12000;"
    "idindex_cache_size=64M;idindex_flush_threshold=655360;ignoreimporterrors=yes;"
    "item_format=compact;keep_alive_on=yes;listen=on;locale=en_US;logerrlevel=warning;"
    "logfile=/var/log/zel.log;name=main;obj_compress_method=LZMA;obj_compress_min_size=4K;"
    "optimizeparameters=true;orderbycachesize=10000;pack_file_size=1G;readonly=off;"
    "roundingmode=NEAREST_TIES_AWAY_FROM_ZERO;slotspercachenode=128;snapshotmode=auto;"
    "sortcostfactor=0.000062;storage=ONDISK;timeformat=HH:MM:SS;timeout=30;wildall=*";

struct Bench {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    ZEL_GSV_CONFIGURATION gsv{};
    ZEL_DB_CONFIGURATION db{};
    ZEL_DB_GSV_CONFIGURATION dbGsv{};
    ZEL_SQL_OPTIONS sql{};
    ZEL_DB_SETTINGS dbS{};
    ZEL_DB_GSV_SETTINGS dbGsvS{};
    ZEL_SQL_SETTINGS sqlS{};
    ZEL_GSV handle{{nullptr, nullptr}, GSV_TYPE_DEFAULT};
    B_KEYVALUE_T kv{};
    const ZEL_CONFIG_OPT_KEY *keys[64] = {};
    size_t numKeys = 0;
    char out[8192];

    Bench() {
        (void)b_tag_masterCreate(nullptr, 0, &master);
        (void)b_tag_subCreate(master, &sub);
        (void)b_optionInitializeGSV(&gsv);
        (void)b_optionInitializeDbHandle(&db, nullptr, sub);
        (void)b_optionInitializeDbGSV(&dbGsv);
        (void)b_configInitializeSQL(&sql, &sqlS, sub);
        (void)b_keyvalueInit(&kv, kOptions, ZEL_FALSE, sub);
        uint32_t n = 0;
        const ZEL_CONFIG_OPT_KEY *table = b_optionGetConfigTable(&n);
        for (const B_AVL_NODE_T *p = b_avlFirst(&kv.avl); p != nullptr; p = b_avlNext(p))
            (void)b_optionGetKey(reinterpret_cast<const B_KV *>(p)->key, table, n,
                                 &keys[numKeys++]);
    }
    ~Bench() {
        b_keyvalueTerm(&kv);
        b_optionCleanGSVConfig(&gsv, sub);
        b_optionCleanDbHandleConfig(&db, sub);
        b_optionFreeDbHandleSettings(&dbS, sub);
        b_optionFreeDbGSVSettings(&dbGsvS, sub);
        b_optionFreeSQLSettings(&sqlS, sub);
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }

    // Every key through the seven functions; the number that took.
    int process() {
        int ok = 0;
        for (size_t i = 0; i < numKeys; ++i) {
            const ZEL_CONFIG_OPT_KEY *k = keys[i];
            ok += b_optionProcessGSVConfigKeyValue(&gsv, &kv, k, sub) == sOKAY;
            ok += b_optionProcessDbHandleConfigKeyValue(&db, &kv, k, sub) == sOKAY;
            ok += b_optionProcessDbHandleSettingKeyValue(&dbS, &kv, k, sub) == sOKAY;
            ok += b_optionProcessDbGSVConfigKeyValue(&dbGsv, &kv, k, sub) == sOKAY;
            ok += b_optionProcessDbGSVSettingKeyValue(&dbGsvS, &kv, k, sub) == sOKAY;
            ok += b_optionProcessSQLConfigKeyValue(&sql, &kv, k, sub) == sOKAY;
            ok += b_optionProcessSQLSettingKeyValue(&sqlS, &kv, k, sub) == sOKAY;
        }
        return ok;
    }

    // Both lists of all options; their length.
    size_t list() {
        size_t a = 0, b = 0;
        (void)b_optionGetConfigurationValuesIntoString(nullptr, 0, &handle, &sql, &db, &dbGsv,
                                                       sizeof out, sub, nullptr, out, &a);
        (void)b_optionGetSettingsIntoString(nullptr, 0, &handle, &sqlS, &dbS, &dbGsvS, sizeof out,
                                            sub, nullptr, out, &b);
        return a + b;
    }
};

// 40 keys: 17 of SQL, 8 of the database, 8 of the database in the server,
// 7 of the server; the configurations take 40, the settings 33.
constexpr int kTaken = 40 + 33;

void BM_KeyValueParse(benchmark::State &state) {
    Bench b;
    for (auto _ : state) {
        B_KEYVALUE_T kv;
        (void)b_keyvalueInit(&kv, kOptions, ZEL_FALSE, b.sub);
        benchmark::DoNotOptimize(b_avlCount(&kv.avl));
        b_keyvalueTerm(&kv);
    }
    state.SetLabel("40 keys");
}
BENCHMARK(BM_KeyValueParse)->Unit(benchmark::kMicrosecond);

void BM_ProcessEveryScopeAndForm(benchmark::State &state) {
    Bench b;
    if (b.numKeys != 40) state.SkipWithError("not 40 keys");
    for (auto _ : state)
        if (b.process() != kTaken) state.SkipWithError("a key was refused");
    state.SetLabel("40 keys x 7 functions");
}
BENCHMARK(BM_ProcessEveryScopeAndForm)->Unit(benchmark::kMicrosecond);

void BM_ListAllBothForms(benchmark::State &state) {
    Bench b;
    (void)b.process();
    for (auto _ : state) benchmark::DoNotOptimize(b.list());
    state.SetLabel(std::to_string(b.list()) + " bytes");
}
BENCHMARK(BM_ListAllBothForms)->Unit(benchmark::kMicrosecond);

// What a handle pays from the string to both records and back to text.
void BM_ParseProcessList(benchmark::State &state) {
    Bench b;
    for (auto _ : state) {
        b_keyvalueTerm(&b.kv);
        (void)b_keyvalueInit(&b.kv, kOptions, ZEL_FALSE, b.sub);
        benchmark::DoNotOptimize(b.process());
        benchmark::DoNotOptimize(b.list());
    }
}
BENCHMARK(BM_ParseProcessList)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
