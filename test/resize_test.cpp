// Tests of the size statistic: hand-worked limits, the cap on sizes and the
// sliding window that keeps the sums from overflowing.
#include <gtest/gtest.h>

#include "resize.h"

namespace {

TEST(ResizeLimit, OneSizeAloneIsItsOwnLimit) {
    B_RESIZE_T r;
    b_resizeInit(&r, 3.0);
    EXPECT_EQ(b_resizeNext(&r, 4096), 4096u);
}

// Factor 2. Each row: size; mean = sum / n; variance = sq_sum / n - mean^2;
// limit = mean + 2 * floor(sqrt(variance)); result.
//   100: 100, 0,     100             -> 100 (limit not above the size)
//   300: 200, 10000, 200 + 2*100=400 -> 300 (above: rises only to the size)
//   100: 166, 9110,  166 + 2*95=356  -> 300 (size below the previous limit)
//   100: 150, 7500,  150 + 2*86=322  -> 300
//   100: 140, 6400,  140 + 2*80=300  -> 300 (not above 300: becomes the limit)
//   100: 133, 5644,  133 + 2*75=283  -> 283 (falls at once)
TEST(ResizeLimit, RisesOnlyToActualSizesAndFallsAtOnce) {
    B_RESIZE_T r;
    b_resizeInit(&r, 2.0);
    const uint32_t sizes[] = {100, 300, 100, 100, 100, 100};
    const uint32_t want[] = {100, 300, 300, 300, 300, 283};
    for (int i = 0; i < 6; i++) EXPECT_EQ(b_resizeNext(&r, sizes[i]), want[i]) << i;
    EXPECT_EQ(r.prev_limit, 283u);
}

TEST(ResizeWindow, CapsSizesAndSlidesWithoutOverflow) {
    B_RESIZE_T r;
    b_resizeInit(&r, 1.0);
    // Capped at 1e8: eleven sizes pass 1e9 and set the mark; the 21st passes
    // 2e9 and the first eleven are taken out of the sums.
    for (int i = 1; i <= 21; i++) {
        EXPECT_EQ(b_resizeNext(&r, 300000000), 100000000u) << i;
        if (i == 11) {
            EXPECT_EQ(r.saved_n, 11);
        }
    }
    EXPECT_EQ(r.n, 10);
    EXPECT_EQ(r.sum, 1000000000);
    EXPECT_EQ(r.saved_n, 10);
    for (int i = 0; i < 100000; i++)
        (void)b_resizeNext(&r, static_cast<uint32_t>(i * 7919) % 150000000);
    EXPECT_GT(r.n, 0);
    EXPECT_LE(r.sum, 2100000000);
    EXPECT_GE(r.sum, 0);
}

}  // namespace
