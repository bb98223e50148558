// The last section of `zelbase demo`: the road of one row, as the engine takes
// it, on a small catalogue kept as JSON text. The catalogue is loaded, an
// INSERT text lexed and its literals converted into the column types, the
// row packed compact and expanded and wrapped plain and with LZMA; then the
// row goes through the versioned cache (savepoint, rollback, write, commit),
// its key into a B-tree and an index node, 300 generated rows through the
// external sort, and the committed object is read back into the values. Each
// step says what it did and how long it took (road.cpp does the work).
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "buffer.h"
#include "lzma.h"
#include "psp.h"
#include "road.h"
#include "row.h"
#include "schema.h"
#include "value.h"
#include "zelbase_cmds.h"

int zb_demo_road(FILE *out);

namespace {

const char *kZbRoadInsert =
    "INSERT INTO customer (id, name, since, balance, photo)\n"
    "  VALUES (5, 'Ann O''Neil', DATE '2024-02-29', 12.50, X'89504E470D0A1A0A');";

std::string zb_demo_road_time(uint64_t ns) {
    char b[32];
    if (ns < 10000)
        std::snprintf(b, sizeof b, "%.2f us", ns / 1e3);
    else
        std::snprintf(b, sizeof b, "%.1f us", ns / 1e3);
    return b;
}

const char *zb_demo_road_kind(const ZbRoadLiteral &l) {
    static const char *const names[] = {"null",    "true",   "false",  "integer", "double",
                                        "decimal", "string", "binary", "array"};
    return names[l.kind];
}

// The time the road spent in `s` since `before`.
std::string zb_demo_road_spent(const ZbRoad &r, const ZbRoadStats &before, ZbRoadStage s) {
    return zb_demo_road_time(r.stats.ns[s] - before.ns[s]);
}

// Load, lex, convert, pack and wrap, each shown; the row stays in `row`.
int zb_demo_road_row(FILE *out, ZbRoad &r, ZEL_ROW *row) {
    const uint64_t t0 = psp_timeMeasureNanoSecs();
    ZbRoadInsert ins;
    ZEL_RETCODE rc = zb_road_lex(&r, kZbRoadInsert, &ins);
    const uint64_t t1 = psp_timeMeasureNanoSecs();
    if (rc != sOKAY) return std::fprintf(out, "lexing fails: %s\n", r.err.c_str()), 1;
    std::fprintf(out, "\n1. The text, lexed (%s):\n  %s\n  table %s, %zu columns:",
                 zb_demo_road_time(t1 - t0).c_str(), kZbRoadInsert, ins.table.c_str(),
                 ins.cols.size());
    for (size_t i = 0; i < ins.cols.size(); ++i)
        std::fprintf(out, " %s=%s", ins.cols[i].c_str(), zb_demo_road_kind(ins.values[i]));
    std::fprintf(out, "\n");

    rc = zb_road_convert(&r, ins, row);
    const uint64_t t2 = psp_timeMeasureNanoSecs();
    if (rc != sOKAY) return std::fprintf(out, "converting fails: %s\n", r.err.c_str()), 1;
    std::fprintf(out,
                 "\n2. Each literal through the conversion engine into its column's type, "
                 "then into the row buffer (%s):\n",
                 zb_demo_road_time(t2 - t1).c_str());
    for (const std::string &t : zb_road_texts(*row)) std::fprintf(out, "  %s\n", t.c_str());
    std::fprintf(out,
                 "  (the decimal 12.50 came as a double and was fitted to decimal(12,2); the "
                 "blob's bytes go to its chunks, the row only marks it there)\n");

    std::vector<uint8_t> compact, expanded, plain, lzma;
    const uint64_t t3 = psp_timeMeasureNanoSecs();
    rc = zb_road_pack(&r, *row, false, &compact);
    const uint64_t t4 = psp_timeMeasureNanoSecs();
    if (rc == sOKAY) rc = zb_road_pack(&r, *row, true, &expanded);
    const uint64_t t5 = psp_timeMeasureNanoSecs();
    if (rc != sOKAY) return std::fprintf(out, "packing fails: %s\n", r.err.c_str()), 1;
    std::fprintf(out, "\n3. Packed compact, %zu bytes (%s):\n", compact.size(),
                 zb_demo_road_time(t4 - t3).c_str());
    zb_row_table_of(out, row->ti, compact, false, r.sub);
    std::fprintf(out, "   and expanded, %zu bytes, the row buffer's image (%s):\n", expanded.size(),
                 zb_demo_road_time(t5 - t4).c_str());
    zb_row_table_of(out, row->ti, expanded, true, r.sub);

    rc = zb_road_wrap(&r, compact, ZEL_COMPRESS_NONE, 0, false, &plain);
    const uint64_t t6 = psp_timeMeasureNanoSecs();
    if (rc == sOKAY) rc = zb_road_wrap(&r, expanded, ZEL_COMPRESS_LZMA, 0, true, &lzma);
    const uint64_t t7 = psp_timeMeasureNanoSecs();
    if (rc != sOKAY) return std::fprintf(out, "wrapping fails: %s\n", r.err.c_str()), 1;
    std::fprintf(out, "\n4. Wrapped as stored objects: the compact row plain (%s):\n",
                 zb_demo_road_time(t6 - t5).c_str());
    zb_dbobj_table(out, plain.data(), plain.size(), compact.size());
    // The LZMA stream's own length, for the table.
    B_BUFFER_T src, coded;
    b_bufferInitStatic(&src, expanded.data(), expanded.size(), expanded.size());
    b_bufferInit(&coded, r.sub);
    if (b_lzmaCompress(&r.lzma, &src, &coded) == sOKAY) {
        std::fprintf(out, "   the expanded image with LZMA (%s):\n",
                     zb_demo_road_time(t7 - t6).c_str());
        zb_dbobj_table(out, lzma.data(), lzma.size(), coded.len);
    }
    b_bufferTerm(&coded);
    std::fprintf(out, "   expanded %zu bytes -> %zu stored with LZMA: ratio %.2f\n",
                 expanded.size(), lzma.size(), double(expanded.size()) / double(lzma.size()));
    return 0;
}

}  // namespace

int zb_demo_road(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    int64_t start = 0, end = 0;
    b_tag_subMemUsage(tags.sub, &start, nullptr, nullptr);
    ZbRoad r;
    uint64_t t0 = psp_timeMeasureNanoSecs();
    if (zb_road_open(&r, tags.master, tags.sub, kZbRoadDemoCatalog, true) != sOKAY) {
        std::fprintf(out, "the catalogue fails: %s\n", r.err.c_str());
        return 1;
    }
    std::fprintf(out,
                 "The catalogue \"shop\" from its JSON text, %zu bytes (%s): customer(id, name, "
                 "since, balance decimal(12,2), photo blob), keys customer_pk and by_since "
                 "(since desc, name); orders(id, customer -> customer, placed, amount)\n",
                 std::string(kZbRoadDemoCatalog).size(),
                 zb_demo_road_time(psp_timeMeasureNanoSecs() - t0).c_str());
    ZEL_ROW row{};
    int failed = zb_demo_road_row(out, r, &row);
    if (failed == 0) {
        // The rest of the road, on this one row.
        const ZbRoadStats before = r.stats;
        std::vector<std::vector<uint8_t>> stored;
        if (zb_road_run(&r, {kZbRoadInsert}, &stored) != sOKAY) {
            std::fprintf(out, "the road fails: %s\n", r.err.c_str());
            failed = 1;
        } else {
            std::fprintf(out,
                         "\n5. Into the versioned cache under a savepoint, rolled back (the entry "
                         "goes), written again and committed: the commit packed and wrapped it, "
                         "%zu bytes stored (%s)\n",
                         stored[0].size(), zb_demo_road_spent(r, before, kZbRoadCache).c_str());
            ZEL_NODE kind{};
            kind.type = ZEL_INDEX_NODE;
            kind.ptr.ki = zb_road_key(row.ti);
            std::fprintf(out,
                         "\n6. Its key (customer_pk) into a B-tree (%s), and the B-tree's "
                         "entries as an index node, packed and read back (%s), %zu bytes:\n",
                         zb_demo_road_spent(r, before, kZbRoadIndex).c_str(),
                         zb_demo_road_spent(r, before, kZbRoadNode).c_str(), r.node.size());
            zb_node_table_of(out, &kind, r.node, false, r.sub);

            // 300 generated rows: the sort must give the B-tree's order.
            std::mt19937_64 rng(35);
            std::vector<std::string> sqls;
            for (int i = 0; i < 300; ++i) sqls.push_back(zb_road_random_insert(row.ti, rng));
            const ZbRoadStats mid = r.stats;
            if (zb_road_run(&r, sqls) != sOKAY) {
                std::fprintf(out, "the road of 300 rows fails: %s\n", r.err.c_str());
                failed = 1;
            } else {
                std::fprintf(out,
                             "\n7. 300 generated rows down the same road, e.g.\n  %s\n  their "
                             "keys through the external sort (%s): 300 records in the B-tree's "
                             "order, %u pages spilled\n",
                             sqls[0].c_str(), zb_demo_road_spent(r, mid, kZbRoadSort).c_str(),
                             r.stats.spilled);
                std::fprintf(out, "  the whole road of the 300 rows, per row:");
                for (int s = 0; s < kZbRoadStages; ++s)
                    std::fprintf(out, "%s %s %s", s % 4 == 0 ? "\n   " : ",", kZbRoadStageNames[s],
                                 zb_demo_road_time((r.stats.ns[s] - mid.ns[s]) / 300).c_str());
                std::fprintf(out, "\n");
            }

            // The committed object read back.
            const uint64_t t1 = psp_timeMeasureNanoSecs();
            std::vector<uint8_t> body;
            ZEL_ITEM_FORMAT format{};
            ZEL_ROW back{};
            if (zb_road_unwrap(&r, stored[0], &body, &format) == sOKAY &&
                zb_road_unpack(&r, row.ti, body, false, &back) == sOKAY) {
                const bool same = zb_road_same(&r, row, back);
                std::fprintf(out,
                             "\n8. The stored object read back: header %u, unwrapped to %zu "
                             "bytes, unpacked (%s):\n",
                             stored[0][0], body.size(),
                             zb_demo_road_time(psp_timeMeasureNanoSecs() - t1).c_str());
                for (const std::string &t : zb_road_texts(back))
                    std::fprintf(out, "  %s\n", t.c_str());
                std::fprintf(
                    out, "  %s\n",
                    same ? "equal to what went in" : ("NOT what went in: " + r.err).c_str());
                failed |= !same;
                row_free(&back);
            } else {
                std::fprintf(out, "reading back fails: %s\n", r.err.c_str());
                failed = 1;
            }
        }
        row_free(&row);
    }
    zb_road_close(&r);
    b_tag_subMemUsage(tags.sub, &end, nullptr, nullptr);
    if (end != start) {
        std::fprintf(out, "memory not given back: %lld bytes\n",
                     static_cast<long long>(end - start));
        failed = 1;
    }
    return failed;
}
