// Growing text: appends across the 256-byte steps, the terminator that is
// added but not counted, and a failed growth that leaves the text usable.
#include <gtest/gtest.h>

#include <string>

#include "oom.h"
#include "str.h"
#include "tag_fixture.h"

namespace {

using StrAppend = TaggedTest;

TEST_F(StrAppend, GrowsInStepsOf256) {
    B_STR_T s;
    b_strInit(&s, sub);
    EXPECT_EQ(b_strString(&s), nullptr);  // nothing stored yet
    std::string model;
    for (int i = 0; i < 60; ++i) {
        std::string piece(static_cast<size_t>(i % 13 + 1), static_cast<char>('a' + i % 26));
        ASSERT_EQ(b_strAppend(&s, piece.c_str()), sOKAY);
        model += piece;
        EXPECT_EQ(s.size, (model.size() + 255) / 256 * 256);
    }
    EXPECT_EQ(b_strSize(&s), model.size());
    EXPECT_EQ(b_strChar(&s, 5), model[5]);
    EXPECT_EQ(b_strChar(&s, model.size()), 0);
    EXPECT_EQ(b_strChar(&s, model.size() + 100), 0);
    b_strTerm(&s);
}

TEST_F(StrAppend, StringTerminatesWithoutCounting) {
    B_STR_T s;
    b_strInit(&s, sub);
    std::string text(256, 'x');  // exactly one step: the terminator needs another
    ASSERT_EQ(b_strAppend(&s, text.c_str()), sOKAY);
    EXPECT_EQ(s.size, 256u);
    const char *a = b_strString(&s);
    const char *b = b_strString(&s);
    EXPECT_EQ(a, b);
    EXPECT_EQ(std::string(a), text);
    EXPECT_EQ(s.size, 512u);
    EXPECT_EQ(b_strSize(&s), 256u);
    b_strReset(&s);
    ASSERT_EQ(b_strAppend(&s, "ab"), sOKAY);
    EXPECT_STREQ(b_strString(&s), "ab");
    b_strTerm(&s);
    EXPECT_EQ(s.buffer, nullptr);
}

TEST_F(StrAppend, FailedGrowthKeepsTheText) {
    const std::string big(6000, 'z');
    EXPECT_EQ(oom_check(master, {sub},
                        [&] {
                            B_STR_T s;
                            b_strInit(&s, sub);
                            ZEL_RETCODE rc = b_strAppend(&s, "start");
                            if (rc == sOKAY) {
                                rc = b_strAppend(&s, big.c_str());
                                EXPECT_EQ(b_strString(&s), rc == sOKAY ? "start" + big : "start");
                                EXPECT_EQ(s.size, rc == sOKAY ? 6144u : 256u);
                            }
                            b_strTerm(&s);
                            return rc;
                        }),
              2);
}

}  // namespace
