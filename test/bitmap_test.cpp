// Tests of the bitmap: random operations against a std::vector<bool>
// model, bits past the size, and the set-bit count against the popcounts of
// the oracle file.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "bitmap.h"
#include "oom.h"
#include "tag_fixture.h"
#include "vectors.h"

namespace {

using BitmapTest = TaggedTest;

TEST_F(BitmapTest, MatchesVectorBoolModel) {
    std::mt19937 rng(3);
    for (uint64_t size : {0u, 1u, 31u, 32u, 33u, 1000u}) {
        B_BITMAP_T bm;
        ASSERT_EQ(b_bmInit(&bm, size, sub), sOKAY);
        EXPECT_EQ(bm.numChunks, (size + 31) / 32);
        std::vector<bool> model(size);
        for (int step = 0; step < 3000; step++) {
            const uint64_t bit = rng() % (size + 40);  // some past the end
            const bool inside = bit < size;
            const bool was = inside && model[bit];
            ZEL_BOOL_T got = ZEL_FALSE;
            switch (rng() % 4) {
                case 0:
                    got = b_bmSetBit(&bm, bit);
                    if (inside) model[bit] = true;
                    break;
                case 1:
                    got = b_bmClearBit(&bm, bit);
                    if (inside) model[bit] = false;
                    break;
                case 2:
                    got = b_bmNegateBit(&bm, bit);
                    if (inside) model[bit] = !model[bit];
                    break;
                case 3:
                    got = b_bmTestBit(&bm, bit);
                    break;
            }
            ASSERT_EQ(got, was ? ZEL_TRUE : ZEL_FALSE) << "bit " << bit;
        }
        uint64_t set = 0;
        for (uint64_t i = 0; i < size; i++) {
            EXPECT_EQ(b_bmTestBit(&bm, i), model[i] ? ZEL_TRUE : ZEL_FALSE);
            set += model[i];
        }
        EXPECT_EQ(b_bmCount(&bm), set);
        b_bmTerm(&bm);
    }
}

TEST_F(BitmapTest, WordIsBitOver32MaskIsLowFiveBits) {
    B_BITMAP_T bm;
    ASSERT_EQ(b_bmInit(&bm, 70, sub), sOKAY);
    EXPECT_EQ(setOrClearBit(&bm, ZEL_SET_BIT, 37), ZEL_FALSE);
    EXPECT_EQ(bm.data[1], 1u << 5);  // 37 = 32 + 5
    EXPECT_EQ(setOrClearBit(&bm, ZEL_SET_BIT, 37), ZEL_TRUE);
    EXPECT_EQ(setOrClearBit(&bm, ZEL_SET_BIT, 70), ZEL_FALSE);  // past the size
    EXPECT_EQ(bm.data[2], 0u);
    b_bmTerm(&bm);
}

TEST_F(BitmapTest, EqualsPopcountOfOracleValues) {
    const auto rows = vectors_read("good-bitlength.txt");
    ASSERT_GT(rows.size(), 500u);
    B_BITMAP_T bm;
    ASSERT_EQ(b_bmInit(&bm, 64, sub), sOKAY);
    for (const auto &row : rows) {
        const uint64_t value = std::stoull(row[0], nullptr, 16);
        for (unsigned i = 0; i < 64; i++) {
            (void)setOrClearBit(&bm, (value >> i) & 1 ? ZEL_SET_BIT : ZEL_CLR_BIT, i);
        }
        EXPECT_EQ(b_bmCount(&bm), std::stoull(row[2])) << row[0];
    }
    b_bmTerm(&bm);
}

TEST_F(BitmapTest, FailedAllocationLeavesTheRecord) {
    EXPECT_GT(oom_check(master, {sub},
                        [&] {
                            B_BITMAP_T bm{};
                            bm.size = 12345;
                            const ZEL_RETCODE rc = b_bmInit(&bm, 64 * B_PAGE_SIZE * 8, sub);
                            if (rc == sOKAY) {
                                EXPECT_EQ(bm.size, 64u * B_PAGE_SIZE * 8);
                                b_bmTerm(&bm);
                            } else {
                                EXPECT_EQ(bm.size, 12345u);
                                EXPECT_EQ(bm.data, nullptr);
                            }
                            return rc;
                        }),
              0);
}

}  // namespace
