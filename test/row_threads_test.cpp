// Four threads pack and read rows and nodes of one shared, finished
// catalogue, each with its own sub tag on one master: the formats write
// nothing into the catalogue, so every thread gets the bytes a lone thread
// gets.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "../fuzz/row_catalog.h"
#include "node.h"
#include "row_fixture.h"
#include "tag_master_psp.h"

namespace {

// One thread's work: rows with values of its own, packed both ways, read
// back, kept compact and converted; an index node likewise. Returns the
// concatenated bytes, or a text starting with "!" on a failure.
std::string rt_work(B_TAG_MASTER master, const RowCatalog *cat, int seed) {
    B_TAG_SUB sub = nullptr;
    if (b_tag_subCreate(master, &sub) != sOKAY) return "!sub";
    int64_t start = 0, cur = 0;
    b_tag_subMemUsage(sub, &start, nullptr, nullptr);
    std::string out;
    DB_INSTANCE dbi{};
    b_poolInit(&dbi.bufferPool, sub, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    dbi.row_format = ZEL_ROW_FORMAT_COMPACT;
    for (int i = 0; i < 200 && out.empty(); ++i) {
        const std::string n = std::to_string((seed * 1000 + i) % 3000);
        ZEL_ROW row, back;
        if (rf_empty(&row, cat->item, sub, i) != sOKAY || rf_set(&row, "id", n.c_str(), sub) ||
            rf_set(&row, "code", ("c" + n).c_str(), sub) || rf_set(&row, "price", "1.25", sub))
            out = "!fill";
        const Bytes packed = out.empty() ? rf_pack_static(row) : Bytes{};
        const Bytes img = out.empty() ? rf_pack_static(row, true) : Bytes{};
        if (out.empty() && rf_unpack(&back, cat->item, packed, sub) == sOKAY) {
            if (rf_text(back, "code") != "c" + n || rf_pack_static(back) != packed) out = "!back";
            row_free(&back);
        }
        if (out.empty() && rf_unpack(&back, cat->item, img, sub, true) == sOKAY) {
            if (rf_pack_static(back, true) != img) out = "!image";
            row_free(&back);
        }
        if (out.empty() && rf_unpack(&back, cat->item, packed, sub, false, &dbi) == sOKAY) {
            if (row_convert(&back, ZEL_ROW_FORMAT_BUFFER) != sOKAY ||
                rf_pack_static(back) != packed)
                out = "!convert";
            row_free(&back);
        }
        row_free(&row);
        if (!out.empty()) break;
        ZEL_NODE node{};
        RfSource empty({0x00}, sub);
        if (node_unpack_compact_index(&node, cat->byCode, &empty.dec, sub) != sOKAY) {
            out = "!node";
            break;
        }
        node.used = 1;
        node.slotData->ids[0] = static_cast<ZEL_SLOT>(i);
        RfStaticSink s;
        if (node_pack_compact(&node, &s.enc) != sOKAY) out = "!pack node";
        node_free(&node);
        RfSource src(s.bytes(), sub);
        if (out.empty() && node_unpack_compact_index(&node, cat->byCode, &src.dec, sub) == sOKAY) {
            if (node.slotData->ids[0] != static_cast<ZEL_SLOT>(i)) out = "!node back";
            node_free(&node);
        }
    }
    b_poolTerm(&dbi.bufferPool);
    b_tag_subMemUsage(sub, &cur, nullptr, nullptr);
    b_tag_subDestroy(sub);
    if (out.empty() && cur != start) out = "!leak";
    return out.empty() ? "ok" : out;
}

}  // namespace

TEST(RowThreads, SharedCatalogue) {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
    RowCatalog cat;
    ASSERT_EQ(rc_build(sub, &cat), sOKAY);
    std::string results[4];
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t]() { results[t] = rt_work(master, &cat, t); });
    for (auto &th : threads) th.join();
    for (const std::string &r : results) EXPECT_EQ(r, "ok");
    sch_destroy(cat.sch);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}
