// Two threads load one catalogue text at once, each with its own sub tag on
// one master (the loaders' stack tags take their pages from it too): each
// gets the catalogue one load alone gets, and gives back all it took. The
// loads share the text and the master's mutex, nothing else.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "catalog_dump.h"
#include "schema_build.h"
#include "schema_load.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

// The first catalogue of the model's set, whatever its form.
std::string firstCatalog() {
    std::ifstream f(std::string(ZELBASE_TEST_DATA) + "/good-catalogs.txt");
    std::string line, text;
    while (std::getline(f, line) && line.rfind("== strict 0 ", 0) != 0) {
    }
    while (std::getline(f, line) && line != "-- dump") text += line + "\n";
    return text;
}

// Loads `text` `rounds` times on a fresh sub tag of `master`: the last
// load's dump, empty after a failure or memory not given back.
std::vector<std::string> loadOften(B_TAG_MASTER master, const std::string &text, int rounds) {
    B_TAG_SUB sub = nullptr;
    if (b_tag_subCreate(master, &sub) != sOKAY) return {};
    int64_t start = 0, cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &start, &peak, nullptr);
    std::vector<std::string> dump;
    for (int i = 0; i < rounds; ++i) {
        SCH_INFO sch = nullptr;
        if (sch_read_database_schema_buffer(&sch, text.c_str(), ZEL_FALSE, sub, master) != sOKAY) {
            dump.clear();
            break;
        }
        dump = cd_dump(sch);
        sch_destroy(sch);
    }
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    if (cur != start) dump.clear();
    b_tag_subDestroy(sub);
    return dump;
}

TEST(SchemaLoadThreads, TwoLoadsOfOneTextOnOneMaster) {
    const std::string text = firstCatalog();
    ASSERT_FALSE(text.empty());
    B_TAG_MASTER master = nullptr;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    const std::vector<std::string> alone = loadOften(master, text, 1);
    ASSERT_FALSE(alone.empty());
    std::vector<std::string> results[2];
    std::thread a([&] { results[0] = loadOften(master, text, 40); });
    std::thread b([&] { results[1] = loadOften(master, text, 40); });
    a.join();
    b.join();
    EXPECT_EQ(results[0], alone);
    EXPECT_EQ(results[1], alone);
    b_tag_masterDestroy(master);
}

}  // namespace
