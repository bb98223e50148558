// Tests of offset alignment by value kind and of buffer-size rounding.
#include <gtest/gtest.h>

#include "align.h"

namespace {

TEST(AlignOffset, RoundsUpToEachBoundary) {
    const uint32_t boundary[B_ALN_COUNT] = {1, 2, 4, 4, 4, 8, 8};
    for (int t = B_ALN_CHAR; t <= B_ALN_DOUBLE; t++) {
        const auto type = static_cast<B_ALIGN_TYPE>(t);
        EXPECT_EQ(alignData[t], boundary[t]);
        for (uint32_t off = 0; off < 40; off++) {
            const uint32_t got = b_align(off, type);
            EXPECT_EQ(got % boundary[t], 0u);
            EXPECT_LT(got - off, boundary[t]) << off;  // smallest such, never below
            if (off % boundary[t] == 0) {
                EXPECT_EQ(got, off);
            }
        }
    }
}

TEST(AlignBufferSize, RoundsUpToEight) {
    for (uint32_t n = 0; n < 300; n++) EXPECT_EQ(b_alignBufferSize(n), (n + 7) / 8 * 8) << n;
}

}  // namespace
