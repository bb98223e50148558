// Two parsers at once over the one constant table of the calculator: the
// driver keeps no state of its own, so each thread, with its own B_YYPDATA
// and sub tag on a shared master, makes exactly the reductions it makes alone.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tag_master_psp.h"
#include "tag_sub.h"
#include "vectors.h"
#include "yyparse_calc.h"

namespace {

struct Vector {
    std::string tokens;
    std::string rules;
};

std::vector<Vector> loadVectors() {
    std::vector<Vector> out;
    for (const VectorRow &v : vectors_read("good-yacc-calc.txt", '|'))
        out.push_back({v[0], v[1].substr(v[1].find_first_not_of(' '))});
    return out;
}

TEST(YyParseThreads, TwoThreadsParseAtOnceWithSharedTables) {
    const std::vector<Vector> vectors = loadVectors();
    ASSERT_EQ(vectors.size(), 600u);
    B_TAG_MASTER master;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    int mismatches[2] = {0, 0};
    auto work = [&](int id) {
        B_TAG_SUB sub;
        ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
        int64_t start = 0, cur = 0;
        b_tag_subMemUsage(sub, &start, nullptr, nullptr);
        for (int round = 0; round < 5; ++round) {
            // One B_YYPDATA per thread, reused: each starts the other end of
            // the list so that the two run different inputs.
            for (size_t i = 0; i < vectors.size(); ++i) {
                const Vector &v = vectors[id == 0 ? i : vectors.size() - 1 - i];
                CalcRun run(v.tokens);
                run.toksize = id == 0 ? 8 : 24;
                run.setup(sub, 1);
                if (run.parse() != sOKAY || calc_rules_text(run.rules) != v.rules) ++mismatches[id];
                b_yyterm(&run.pd);
            }
        }
        b_tag_subMemUsage(sub, &cur, nullptr, nullptr);
        b_tag_subDestroy(sub);
        EXPECT_EQ(cur, start);
    };
    std::thread a(work, 0), b(work, 1);
    a.join();
    b.join();
    EXPECT_EQ(mismatches[0], 0);
    EXPECT_EQ(mismatches[1], 0);
    b_tag_masterDestroy(master);
}

}  // namespace
