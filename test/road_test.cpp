// The road of a row, end to end (tools/road.cpp): the random catalogues of the
// loader's generator (test/data/gen_catalogs.py), random INSERT texts for each
// of their tables, and every row from text to values, row, stored object,
// cache, index and sort and back. The road checks itself at every step (the
// values that come back, the bytes a row read back packs to, the sort's order
// against the B-tree's); here the same text must give the same stored bytes
// twice, failures must be codes, and every allocation may fail.
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "../tools/road.h"
#include "oom.h"
#include "schema.h"
#include "tag_fixture.h"

namespace {

struct Catalog {
    std::string text;
    bool unicode;
};

// The strict texts of good-catalogs.txt.
std::vector<Catalog> strictCatalogs() {
    std::ifstream in(std::string(ZELBASE_TEST_DATA) + "/good-catalogs.txt");
    std::vector<Catalog> out;
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("== strict ", 0) != 0) continue;
        Catalog c{"", line.find("unicode 1") != std::string::npos};
        while (std::getline(in, line) && line != "-- dump") c.text += line + "\n";
        out.push_back(c);
    }
    return out;
}

// The named tables of a catalogue.
std::vector<SCH_TBL_INFO> namedTables(SCH_INFO sch) {
    std::vector<SCH_TBL_INFO> out;
    for (SCH_TBL_INFO ti = sch_iterate_tables(sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_tables(sch, ti, ZEL_FORWARD))
        if (sch_tbl_name(ti)) out.push_back(ti);
    return out;
}

class Road : public TaggedTest {
  protected:
    void open(const Catalog &c) {
        ASSERT_EQ(zb_road_open(&r, master, sub, c.text.c_str(), c.unicode), sOKAY) << r.err;
        opened = true;
    }
    void TearDown() override {
        if (opened) zb_road_close(&r);
        TaggedTest::TearDown();
    }
    ZbRoad r;
    bool opened = false;
};

TEST_F(Road, RandomRowsOfRandomCatalogsComeBackAsTheyWent) {
    const std::vector<Catalog> cats = strictCatalogs();
    ASSERT_EQ(cats.size(), 16u);
    std::mt19937_64 rng(35);
    uint64_t rows = 0;
    for (size_t n = 0; n < cats.size(); ++n) {
        ZbRoad one;
        ASSERT_EQ(zb_road_open(&one, master, sub, cats[n].text.c_str(), cats[n].unicode), sOKAY)
            << n << ": " << one.err;
        one.sortPages = 1;  // one page a cache: the sort spills to its files
        for (SCH_TBL_INFO ti : namedTables(one.sch)) {
            std::vector<std::string> sqls;
            for (int i = 0; i < 400; ++i) sqls.push_back(zb_road_random_insert(ti, rng));
            std::vector<std::vector<uint8_t>> first, second;
            ASSERT_EQ(zb_road_run(&one, sqls, &first), sOKAY)
                << "catalogue " << n << " table " << sch_tbl_name(ti) << ": " << one.err;
            // The same texts, the same stored bytes.
            ASSERT_EQ(zb_road_run(&one, sqls, &second), sOKAY) << one.err;
            EXPECT_EQ(first, second) << "catalogue " << n << " table " << sch_tbl_name(ti);
            rows += sqls.size();
        }
        EXPECT_GT(one.stats.spilled, 0u) << n;
        zb_road_close(&one);
    }
    EXPECT_GE(rows, 10000u);
}

// Texts the road refuses, each with its code and no memory kept.
TEST_F(Road, BadTextsGiveTheirCodes) {
    open({kZbRoadDemoCatalog, true});
    const struct {
        const char *sql;
        ZEL_RETCODE rc;
    } cases[] = {
        {"INSERT customer VALUES (1)", eSYNTAX},
        {"INSERT INTO customer (id) VALUES (1", eSYNTAX},
        {"INSERT INTO customer (id) VALUES ('abc''", eSYNTAX},  // the lexer's error token
        {"INSERT INTO nobody (id) VALUES (1)", eNOTFOUND},
        {"INSERT INTO customer (id, nobody) VALUES (1, 2)", eNOTFOUND},
        {"INSERT INTO customer (id, id) VALUES (1, 2)", eDUPLICATE},
        {"INSERT INTO customer (id, name) VALUES (1)", eINVARG},
        {"INSERT INTO customer (id) VALUES (NULL)", eNOTNULL},
        {"INSERT INTO customer (id) VALUES (99999999999)", eRANGE},
        {"INSERT INTO customer (id) VALUES (-18446744073709551615)", eRANGE},
        {"INSERT INTO customer (since) VALUES ('2024-13-01')", eBASE_INVDATE},
        {"INSERT INTO customer (balance) VALUES (12345678901.5)", eRANGE},
        {"INSERT INTO customer (id, photo) VALUES (1, 5)", eINVCONVERT},
        {"INSERT INTO customer (id) VALUES (ARRAY[1])", eINVCONVERT},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(zb_road_run(&r, {c.sql}), c.rc) << c.sql << ": " << r.err;
        EXPECT_FALSE(r.broken) << c.sql;
    }
    // A name's text longer than the column: refused, not cut.
    EXPECT_EQ(zb_road_run(&r, {"INSERT INTO customer (id, name) VALUES (1, '" +
                               std::string(100, 'x') + "')"}),
              eSTRTOOLONG)
        << r.err;
}

// A few hundred rows with every allocation failing in turn: a code, never a
// difference, and the tag back where it was.
TEST_F(Road, EveryAllocationMayFail) {
    const std::vector<Catalog> cats = strictCatalogs();
    ASSERT_FALSE(cats.empty());
    std::mt19937_64 rng(7);
    int rows = 0, faults = 0;
    for (size_t n = 0; n < cats.size() && rows < 300; n += 2) {
        ZbRoad one;
        ASSERT_EQ(zb_road_open(&one, master, sub, cats[n].text.c_str(), cats[n].unicode), sOKAY);
        for (SCH_TBL_INFO ti : namedTables(one.sch)) {
            for (int i = 0; i < 30; ++i, ++rows) {
                const std::string sql = zb_road_random_insert(ti, rng);
                faults += oom_check(master, {sub}, [&] {
                    const ZEL_RETCODE rc = zb_road_run(&one, {sql});
                    EXPECT_FALSE(one.broken) << sql << ": " << one.err;
                    return rc;
                });
            }
        }
        zb_road_close(&one);
    }
    EXPECT_GE(rows, 300);
    EXPECT_GT(faults, rows);
}

}  // namespace
