// Two sorts at once in one temporary directory, each on its own thread with
// its own tags and counter: their file names differ by the counter's
// address, both spill, both come out sorted, and nothing is left behind.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <thread>

#include "sort.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace fs = std::filesystem;

namespace {

struct Outcome {
    ZEL_RETCODE rc = eFAIL;
    bool sorted = false;
    uint64_t rows = 0;
    size_t filesSeen = 0;
};

void sortOnce(const std::string &dir, uint32_t seed, Outcome *out) {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) return;
    if (b_tag_subCreate(master, &sub) != sOKAY) return;
    uint32_t counter = 0;
    B_SORTATTR env[1] = {{nullptr, nullptr, &counter}};
    const SORTDESCR f[2] = {{nullptr, nullptr, 1, 8, 0, 0, SORT_TYPE_UINT64},
                            {nullptr, nullptr, 0, 8, 8, 0, SORT_TYPE_UINT64}};
    B_SORT_T s;
    ZEL_RETCODE rc = b_sortInit(&s, env, 4, dir.c_str(), sub);
    if (rc == sOKAY) {
        rc = b_sortStart(&s, 2, f);
        std::mt19937_64 rng(seed);
        for (uint64_t i = 0; rc == sOKAY && i < 20000; ++i) {
            const uint64_t rec[2] = {rng() % 5000, i};
            rc = b_sortStore(&s, rec);
        }
        if (rc == sOKAY) rc = b_sortComplete(&s);
        uint64_t rows[2 * 256], last = 0;
        uint32_t n = 0;
        bool sorted = true;
        while (rc == sOKAY && (rc = b_sortRead(&s, 256, rows, &n)) == sOKAY) {
            for (uint32_t k = 0; k < n; ++k) {
                sorted = sorted && rows[2 * k] >= last;
                last = rows[2 * k];
            }
            out->rows += n;
        }
        if (rc == sNODATA) rc = sOKAY;
        out->sorted = sorted;
        out->filesSeen = s.recFile.fh_open + s.indFile.fh_open;
        b_sortTerm(&s);
    }
    out->rc = rc;
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

TEST(SortThreads, TwoSortsInOneDirectory) {
    std::string path = (fs::temp_directory_path() / "zelsort_threads_XXXXXX").string();
    ASSERT_NE(mkdtemp(path.data()), nullptr);
    Outcome a, b;
    std::thread ta(sortOnce, path, 1u, &a), tb(sortOnce, path, 2u, &b);
    ta.join();
    tb.join();
    for (const Outcome *o : {&a, &b}) {
        EXPECT_EQ(o->rc, sOKAY);
        EXPECT_TRUE(o->sorted);
        EXPECT_EQ(o->rows, 20000u);
        EXPECT_EQ(o->filesSeen, 2u) << "both files spilled";
    }
    EXPECT_TRUE(fs::is_empty(path)) << "every file removed";
    fs::remove_all(path);
}

}  // namespace
