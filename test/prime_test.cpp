// Tests of the next-prime search against trial division (oracle file from
// test/data/gen_containers.py), the small cases, memory given back and
// running out of memory.
#include <gtest/gtest.h>

#include "tag_fixture.h"
#include "prime.h"
#include "vectors.h"

namespace {

class PrimeNext : public TaggedTest {
  protected:
    uint64_t Next(uint64_t num) {
        uint64_t p = 0;
        EXPECT_EQ(b_primeNextGreaterOrEqual(num, &p, sub), sOKAY) << num;
        return p;
    }
};

TEST_F(PrimeNext, SmallCases) {
    EXPECT_EQ(Next(0), 2u);
    EXPECT_EQ(Next(1), 2u);
    EXPECT_EQ(Next(2), 2u);
    // 3 to 5 have a sieve limit of 2: the list is {2} and the odd candidate stands.
    EXPECT_EQ(Next(3), 3u);
    EXPECT_EQ(Next(4), 5u);
    EXPECT_EQ(Next(5), 5u);
    EXPECT_EQ(Next(6), 7u);
    EXPECT_EQ(Next(7), 7u);
    EXPECT_EQ(Next(8), 11u);
}

TEST_F(PrimeNext, MatchesTrialDivision) {
    const auto rows = vectors_read("good-nextprime.txt");
    ASSERT_GT(rows.size(), 4000u);
    for (const auto &row : rows) {
        EXPECT_EQ(Next(std::stoull(row[0])), std::stoull(row[1])) << row[0];
    }
}

TEST_F(PrimeNext, TopOfTheRange) {
    // 2^64 - 59 is the largest 64-bit prime; nothing lies above it.
    uint64_t p = 77;
    EXPECT_EQ(b_primeNextGreaterOrEqual(18446744073709551558u, &p, sub), eRANGE);
    EXPECT_EQ(p, 77u);
}

TEST(PrimeOutOfMemory, FailsCleanlyUntilThereIsRoom) {
    // The sieve (about 2.3 KB) and the list of primes (about 31 KB) both take
    // page runs: fill with single pages so that each release frees one.
    SeededTags tags(64);
    tags.Fill(B_PAGE_SIZE);
    int failures = 0;
    for (;;) {
        const int64_t before = fixture_subBytes(tags.sub);
        uint64_t p = 77;
        const ZEL_RETCODE rc = b_primeNextGreaterOrEqual(1000000007, &p, tags.sub);
        EXPECT_EQ(fixture_subBytes(tags.sub), before);
        if (rc == sOKAY) {
            EXPECT_EQ(p, 1000000007u);
            break;
        }
        ASSERT_EQ(rc, eNOMEMORY);
        EXPECT_EQ(p, 77u);
        ASSERT_TRUE(tags.Release());
        failures++;
    }
    EXPECT_GT(failures, 0);
}

}  // namespace
