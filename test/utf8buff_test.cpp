// Counting output: storing while there is room, counting always, and the
// terminator that always gets the byte held back for it.
#include <gtest/gtest.h>

#include <cstring>

#include "utf8buff.h"

namespace {

void offer(ZEL_OUTPUT_BUFF *info, const char *text) {
    for (const char *p = text; *p; ++p) EXPECT_EQ(b_emitCharAsUtf8(info, uint8_t(*p)), sOKAY);
}

TEST(OutputBuffCounting, TruncatesAndStillTerminates) {
    char buf[3] = {'x', 'x', 'x'};
    ZEL_OUTPUT_BUFF info;
    b_utf8BuffInit(&info, buf, sizeof buf);
    EXPECT_EQ(info.size, 2u);
    offer(&info, "abcd");
    EXPECT_TRUE(info.done);
    b_utf8BuffTerm(&info);
    EXPECT_EQ(std::memcmp(buf, "ab", 3), 0);
    EXPECT_EQ(info.used_elems, 3u);
    EXPECT_EQ(info.needed_elems, 5u);  // four letters and the terminator
    EXPECT_FALSE(info.done);
}

TEST(OutputBuffCounting, NullBufferMeasures) {
    ZEL_OUTPUT_BUFF info;
    b_utf8BuffInit(&info, nullptr, 100);
    EXPECT_EQ(info.size, 0u);
    offer(&info, "hello");
    b_utf8BuffTerm(&info);
    EXPECT_EQ(info.needed_elems, 6u);
    EXPECT_EQ(info.used_elems, 0u);

    char one[1] = {'x'};  // room for nothing, not even the terminator
    b_utf8BuffInit(&info, one, 0);
    offer(&info, "hi");
    b_utf8BuffTerm(&info);
    EXPECT_EQ(one[0], 'x');
    EXPECT_EQ(info.needed_elems, 3u);
}

TEST(OutputBuffCounting, ExactFit) {
    char buf[6];
    ZEL_OUTPUT_BUFF info;
    b_utf8BuffInit(&info, buf, sizeof buf);
    offer(&info, "hello");
    EXPECT_FALSE(info.done);
    b_utf8BuffTerm(&info);
    EXPECT_STREQ(buf, "hello");
    EXPECT_EQ(info.needed_elems, info.used_elems);
}

}  // namespace
