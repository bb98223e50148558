// `zelbase road [--rows N] [--catalog FILE] [--table T] [--seed S] [--narrow]
// [--print N]` runs the road of a row (road.h) on N generated rows of each
// table of a catalogue (the demo's without --catalog) and prints, per table,
// the time of each stage and the bytes a row takes in each form; --print
// shows the first generated texts.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "road.h"
#include "schema.h"
#include "zelbase_cmds.h"

int zb_cmd_road(int argc, char **argv);

namespace {

void zb_road_report(FILE *out, const ZbRoad &r, SCH_TBL_INFO_C ti) {
    const ZbRoadStats &s = r.stats;
    const double rows = s.rows ? double(s.rows) : 1.0;
    SCH_KEY_INFO_C ki = zb_road_key(ti);
    std::fprintf(out, "table %s: %" PRIu64 " rows, indexed by %s\n", sch_tbl_name(ti), s.rows,
                 ki ? sch_key_name(ki) : "(no B-tree key: no index, node or sort)");
    std::fprintf(out, "  %-14s %12s %12s\n", "stage", "total ms", "us a row");
    uint64_t total = 0;
    for (int i = 0; i < kZbRoadStages; ++i) {
        total += s.ns[i];
        std::fprintf(out, "  %-14s %12.3f %12.3f\n", kZbRoadStageNames[i], s.ns[i] / 1e6,
                     s.ns[i] / 1e3 / rows);
    }
    std::fprintf(out, "  %-14s %12.3f %12.3f\n", "all", total / 1e6, total / 1e3 / rows);
    std::fprintf(out,
                 "  bytes a row: compact %.1f, expanded %.1f, stored plain %.1f, with LZMA %.1f, "
                 "committed %.1f\n",
                 s.compact / rows, s.expanded / rows, s.plain / rows, s.lzma / rows,
                 s.stored / rows);
    if (ki)
        std::fprintf(out, "  index node: %u entries in %" PRIu64 " bytes; sort pages spilled: %u\n",
                     s.nodeEntries, s.nodeBytes, s.spilled);
}

}  // namespace

int zb_cmd_road(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"n", "rows", "i:N", "Rows a table (default 1000)"},
        {"c", "catalog", "s:FILE", "A JSON catalogue (default: the demo's)"},
        {"t", "table", "s:T", "Only this table"},
        {"s", "seed", "i:S", "Seed of the generated rows (default 1)"},
        {"w", "narrow", nullptr, "Read wchar and wvarchar as their UTF-8 forms"},
        {"p", "print", "i:N", "Print the first N generated texts of each table"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The road of a row through the library on generated rows of each "
                              "table of a\ncatalogue: text, values, row, stored object, cache, "
                              "index, sort and back,\nwith each stage's time and the bytes a row "
                              "takes.",
                              opts);
        code != kZbGoOn)
        return code;
    long rows = 1000, seed = 1, print = 0;
    const char *catalog = nullptr, *table = nullptr;
    bool narrow = false;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "rows") == 0)
            rows = std::strtol(arg, nullptr, 10);
        else if (std::strcmp(name, "catalog") == 0)
            catalog = arg;
        else if (std::strcmp(name, "table") == 0)
            table = arg;
        else if (std::strcmp(name, "seed") == 0)
            seed = std::strtol(arg, nullptr, 10);
        else if (std::strcmp(name, "narrow") == 0)
            narrow = true;
        else if (std::strcmp(name, "print") == 0)
            print = std::strtol(arg, nullptr, 10);
    }
    if (rows < 1 || rows > 10000000) return zb_usageError("--rows must be 1 to 10000000");
    std::string json = kZbRoadDemoCatalog;
    if (catalog != nullptr) {
        json.clear();
        if (!zb_readFile(catalog, &json)) return zb_usageError("Cannot read '%s'", catalog);
    }
    const ZbTags tags;
    if (!tags.ok()) return 1;
    ZbRoad probe;
    if (zb_road_open(&probe, tags.master, tags.sub, json.c_str(), !narrow) != sOKAY) {
        std::fprintf(stderr, "zelbase road: %s\n", probe.err.c_str());
        return 1;
    }
    int status = 0, tables = 0;
    std::mt19937_64 rng(static_cast<uint64_t>(seed));
    for (SCH_TBL_INFO ti = sch_iterate_tables(probe.sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_tables(probe.sch, ti, ZEL_FORWARD)) {
        if (sch_tbl_name(ti) == nullptr || (table && zb_road_table(&probe, table) != ti)) continue;
        ++tables;
        // A road of its own for each table, for its own figures.
        ZbRoad r;
        if (zb_road_open(&r, tags.master, tags.sub, json.c_str(), !narrow) != sOKAY) return 1;
        SCH_TBL_INFO mine = zb_road_table(&r, sch_tbl_name(ti));
        std::vector<std::string> sqls;
        for (long i = 0; i < rows; ++i) sqls.push_back(zb_road_random_insert(mine, rng));
        for (long i = 0; i < print && i < rows; ++i) std::printf("%s\n", sqls[i].c_str());
        if (zb_road_run(&r, sqls) != sOKAY) {
            std::fprintf(stderr, "zelbase road: table %s: %s%s\n", sch_tbl_name(ti),
                         r.broken ? "BROKEN: " : "", r.err.c_str());
            status = 1;
        } else {
            zb_road_report(stdout, r, mine);
        }
        zb_road_close(&r);
    }
    zb_road_close(&probe);
    if (tables == 0) return zb_usageError("No table '%s' in the catalogue", table ? table : "");
    return status;
}
