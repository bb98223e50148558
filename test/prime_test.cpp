// Tests of the next-prime search against trial division (oracle file from
// test/data/gen_containers.py), the small cases, memory given back and
// running out of memory.
#include <gtest/gtest.h>

#include "oom.h"
#include "prime.h"
#include "tag_fixture.h"
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

// From 0 on, so the small cases (3 to 5 have a sieve limit of 2: the list is
// {2} and the odd candidate stands) are the oracle's too.
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

// The sieve and the list of primes: either failing leaves nothing behind.
TEST_F(PrimeNext, UnderFailingAllocations) {
    EXPECT_EQ(oom_check(master, {sub},
                        [&] {
                            uint64_t p = 77;
                            const ZEL_RETCODE rc = b_primeNextGreaterOrEqual(1000000007, &p, sub);
                            EXPECT_EQ(p, rc == sOKAY ? 1000000007u : 77u);
                            return rc;
                        }),
              2);
}

}  // namespace
