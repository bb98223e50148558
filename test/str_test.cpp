// Growing text: appends across the 256-byte steps, the terminator that is
// added but not counted, and a failed growth that leaves the text usable.
#include <gtest/gtest.h>

#include <string>

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

TEST(StrOutOfMemory, FailedGrowthKeepsTheText) {
    SeededTags tags(16);
    B_STR_T s;
    b_strInit(&s, tags.sub);
    ASSERT_EQ(b_strAppend(&s, "start"), sOKAY);
    tags.Fill(B_PAGE_SIZE);
    std::string big(6000, 'z');
    ZEL_RETCODE rc;
    int failures = 0;
    while ((rc = b_strAppend(&s, big.c_str())) != sOKAY) {
        ASSERT_EQ(rc, eNOMEMORY);
        EXPECT_EQ(s.size, 256u);
        EXPECT_STREQ(b_strString(&s), "start");
        ++failures;
        ASSERT_TRUE(tags.Release());
    }
    EXPECT_GT(failures, 0);
    EXPECT_EQ(std::string(b_strString(&s)), "start" + big);
    b_strTerm(&s);
}

}  // namespace
