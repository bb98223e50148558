// Catalogue benchmarks: finalising a catalogue of 1,000 tables of 20
// columns (offsets, key names, drawer lists, row buffers), and finding tables
// and columns by name, against the std::unordered_map<std::string, ...> a
// caller would otherwise keep beside the catalogue. The catalogue's searches
// ignore letter case and need no second structure; the maps compare exactly.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

#include "schema.h"
#include "schema_build.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

constexpr ZEL_TBL_INDEX kTables = 1000;
constexpr ZEL_COL_INDEX kCols = 20;

constexpr ZEL_TYPE kTypes[] = {ZEL_INT64, ZEL_VARCHAR, ZEL_INT32, ZEL_BCD,   ZEL_DOUBLE,
                               ZEL_DATE,  ZEL_CHAR,    ZEL_BOOL,  ZEL_INT16, ZEL_TIMESTAMP};

std::string bench_tableName(int i) {
    char b[32];
    std::snprintf(b, sizeof b, "table_%04d", (i * 7919) % kTables);
    return b;
}
std::string bench_colName(int i) {
    char b[32];
    std::snprintf(b, sizeof b, "column_%02d_value", i);
    return b;
}

// A catalogue of kTables tables with a primary key each, built once.
struct BenchCatalogue {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    SCH_INFO sch = nullptr;
    std::vector<std::string> tableNames, colNames;

    BenchCatalogue() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
            b_tag_subCreate(master, &sub) != sOKAY || sch_create(&sch, sub) != sOKAY ||
            build() != sOKAY)
            std::abort();
    }
    ~BenchCatalogue() {
        sch_destroy(sch);
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    ZEL_RETCODE build() {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = sch_set_max_table(sch, kTables + 1));
        ZEL_CHECK(rc = sch_set_next_table(sch, kTables + 1));
        ZEL_CHECK(rc = sch_set_max_drawer(sch, 5 + 2 * kTables));
        for (int c = 0; c < kCols; ++c) colNames.push_back(bench_colName(c));
        for (ZEL_TBL_INDEX t = 1; t <= kTables; ++t) {
            tableNames.push_back(bench_tableName(t));
            SCH_TBL_INFO ti = nullptr;
            ZEL_CHECK(rc = sch_tbl_create(sch, t, &ti));
            ZEL_CHECK(rc = sch_set_num_tables(sch, t + 1));
            ZEL_CHECK(rc = sch_tbl_set_name(ti, tableNames.back().c_str()));
            ZEL_CHECK(rc = sch_tbl_set_max_cols(ti, kCols));
            ZEL_CHECK(rc = sch_tbl_set_num_cols(ti, kCols));
            ZEL_CHECK(rc = sch_tbl_set_next_col(ti, kCols));
            for (ZEL_COL_INDEX c = 0; c < kCols; ++c) {
                SCH_COL_INFO ci = nullptr;
                ZEL_CHECK(rc = sch_col_create(ti, c, &ci));
                ZEL_CHECK(rc = sch_col_set_name(ci, colNames[c].c_str()));
                const ZEL_TYPE type = kTypes[(t + c) % 10];
                ZEL_CHECK(rc = sch_type_set_data_type(sch_col_type(ci), type, ZEL_TRUE));
                if (type == ZEL_VARCHAR || type == ZEL_CHAR)
                    ZEL_CHECK(rc = sch_type_set_length(sch_col_type(ci), 41));
                if (c % 3 == 0) ZEL_CHECK(rc = sch_col_set_not_null(ci, nullptr));
            }
            SCH_DRAWER_INFO di = nullptr;
            const ZEL_DRAWER d = 5 + 2 * (t - 1);
            ZEL_CHECK(rc = sch_set_next_drawer(sch, d + 2));
            ZEL_CHECK(rc = sch_drawer_create(sch, d, &di));
            ZEL_CHECK(rc = sch_drawer_set_type(di, ZEL_DRAWER_TABLE));
            ZEL_CHECK(rc = sch_drawer_set_source_table(di, t));
            ZEL_CHECK(rc = sch_drawer_set_source_item(di, t));
            ZEL_CHECK(rc = sch_tbl_set_drawer(ti, d));
            ZEL_CHECK(rc = sch_drawer_create(sch, d + 1, &di));
            ZEL_CHECK(rc = sch_drawer_set_type(di, ZEL_DRAWER_BTREE));
            ZEL_CHECK(rc = sch_drawer_set_source_table(di, t));
            ZEL_CHECK(rc = sch_drawer_set_source_item(di, 0));
            ZEL_CHECK(rc = sch_tbl_set_max_keys(ti, 1));
            ZEL_CHECK(rc = sch_tbl_set_next_key(ti, 1));
            ZEL_CHECK(rc = sch_tbl_set_num_keys(ti, 1));
            SCH_KEY_INFO ki = nullptr;
            ZEL_CHECK(rc = sch_key_create(ti, 0, &ki));
            ZEL_CHECK(rc = sch_key_set_type(ki, ZEL_KEY_TYPE_PRIMARY));
            ZEL_CHECK(rc = sch_key_set_method(ki, ZEL_KEY_METHOD_BTREE));
            ZEL_CHECK(rc = sch_key_set_drawer(ki, d + 1));
            ZEL_CHECK(rc = sch_key_set_num_elems(ki, 2));
            ZEL_CHECK(rc = sch_elem_set_col(sch_key_elem(ki, 0), 0));
            ZEL_CHECK(rc = sch_elem_set_col(sch_key_elem(ki, 1), 3));
            ZEL_CHECK(rc = sch_key_finalize(ki));
        }
        return sOKAY;
    }
};

BenchCatalogue &bench_catalogue() {
    static BenchCatalogue c;
    return c;
}

void BM_FinalizeCatalogue(benchmark::State &state) {
    BenchCatalogue &c = bench_catalogue();
    for (auto _ : state) {
        for (auto ti = sch_iterate_tables(c.sch, nullptr, ZEL_FORWARD); ti;
             ti = sch_iterate_tables(c.sch, ti, ZEL_FORWARD))
            if (sch_tbl_finalize(ti, ZEL_TRUE) != sOKAY) state.SkipWithError("finalize");
    }
    state.SetItemsProcessed(state.iterations() * kTables);
    state.SetLabel("tables");
}
BENCHMARK(BM_FinalizeCatalogue)->Unit(benchmark::kMillisecond);

void BM_TableByName_Catalogue(benchmark::State &state) {
    BenchCatalogue &c = bench_catalogue();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(sch_find_table_by_name(c.sch, c.tableNames[i].c_str(), nullptr));
        i = i + 1 == c.tableNames.size() ? 0 : i + 1;
    }
}
BENCHMARK(BM_TableByName_Catalogue);

void BM_TableByName_UnorderedMap(benchmark::State &state) {
    BenchCatalogue &c = bench_catalogue();
    std::unordered_map<std::string, SCH_TBL_INFO> map;
    for (auto ti = sch_iterate_tables(c.sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_tables(c.sch, ti, ZEL_FORWARD))
        map.emplace(sch_tbl_name(ti), ti);
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.find(c.tableNames[i]));
        i = i + 1 == c.tableNames.size() ? 0 : i + 1;
    }
}
BENCHMARK(BM_TableByName_UnorderedMap);

void BM_ColByName_Catalogue(benchmark::State &state) {
    BenchCatalogue &c = bench_catalogue();
    SCH_TBL_INFO ti = sch_table(c.sch, 500);
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(sch_find_col_by_name(ti, c.colNames[i].c_str()));
        i = i + 1 == c.colNames.size() ? 0 : i + 1;
    }
}
BENCHMARK(BM_ColByName_Catalogue);

void BM_ColByName_UnorderedMap(benchmark::State &state) {
    BenchCatalogue &c = bench_catalogue();
    SCH_TBL_INFO ti = sch_table(c.sch, 500);
    std::unordered_map<std::string, SCH_COL_INFO> map;
    for (auto ci = sch_iterate_cols(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols(ti, ci, ZEL_FORWARD))
        map.emplace(sch_col_name(ci), ci);
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.find(c.colNames[i]));
        i = i + 1 == c.colNames.size() ? 0 : i + 1;
    }
}
BENCHMARK(BM_ColByName_UnorderedMap);

}  // namespace

BENCHMARK_MAIN();
