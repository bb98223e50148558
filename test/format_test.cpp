// Formatting: the limits of each form, output through a function, and texts
// made in tag memory.
#include <gtest/gtest.h>

#include <cstdarg>
#include <string>

#include "format.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_stack.h"

namespace {

using FormatAlloc = TaggedTest;

ZEL_RETCODE exFormat(size_t *len, char *str, size_t size, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    ZEL_RETCODE rc = b_vsnprintfEx(len, str, size, fmt, args);
    va_end(args);
    return rc;
}

struct Collect {
    std::string text;
    size_t failAt = SIZE_MAX;
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t ch) {
        auto *c = static_cast<Collect *>(ctx);
        if (c->text.size() == c->failAt) return eFILEIO;
        c->text.push_back(static_cast<char>(ch));
        return sOKAY;
    }
};

TEST(FormatLimits, SnprintfExNeedsRoomForTheTerminator) {
    char buf[8];
    size_t len = 99;
    EXPECT_EQ(exFormat(&len, buf, 5, "%s", "abcde"), eRANGE);  // size == length
    EXPECT_EQ(len, 99u);
    EXPECT_EQ(exFormat(&len, buf, 6, "%s", "abcde"), sOKAY);
    EXPECT_EQ(len, 5u);
    EXPECT_STREQ(buf, "abcde");
    EXPECT_EQ(exFormat(&len, nullptr, 0, "%d-%d", 123, 45), sOKAY);  // measures
    EXPECT_EQ(len, 6u);
    EXPECT_EQ(b_snprintf(buf, sizeof buf, "%05d", 42), 5);
    EXPECT_STREQ(buf, "00042");
    EXPECT_EQ(b_sprintf(buf, "%c%c", 'o', 'k'), 2);
    EXPECT_STREQ(buf, "ok");
}

TEST(FormatLimits, FnprintfTakes4095Bytes) {
    Collect c;
    ASSERT_EQ(b_fnprintf(&Collect::put, &c, "%4095s", "x"), sOKAY);
    EXPECT_EQ(c.text.size(), 4095u);
    Collect d;
    EXPECT_EQ(b_fnprintf(&Collect::put, &d, "%4096s", "x"), eRANGE);
    EXPECT_TRUE(d.text.empty());  // nothing emitted
    EXPECT_EQ(b_fnprintf(&Collect::put, &d, "%s", ""), sOKAY);
}

TEST(FormatLimits, FirstFailureOfTheFunctionIsReturned) {
    Collect c;
    c.failAt = 3;
    EXPECT_EQ(b_fnprintf(&Collect::put, &c, "%s", "abcdef"), eFILEIO);
    EXPECT_EQ(c.text, "abc");
    Collect d;
    d.failAt = 2;
    EXPECT_EQ(b_outputString(&Collect::put, &d, "xyz"), eFILEIO);
    EXPECT_EQ(d.text, "xy");
    Collect e;
    EXPECT_EQ(b_outputString(&Collect::put, &e, "xyz"), sOKAY);
    EXPECT_EQ(e.text, "xyz");
}

TEST_F(FormatAlloc, MakeStrTakesLengthPlusOneAndAppendStrGrows) {
    char *s = nullptr;
    int64_t before = fixture_subBytes(sub);
    ASSERT_EQ(b_makeStr(sub, &s, "%s=%d", "key", 17), sOKAY);
    EXPECT_STREQ(s, "key=17");
    EXPECT_GT(fixture_subBytes(sub), before);
    b_tag_subFree(sub, s);
    // Sixteen characters take a block of 17 bytes or more: the 16-byte block
    // before a neighbour is not theirs.
    char *a = nullptr, *b = nullptr;
    ASSERT_EQ(b_makeStr(sub, &a, "%s", "fifteen chars.."), sOKAY);
    ASSERT_EQ(b_makeStr(sub, &b, "%s", "neighbour"), sOKAY);
    b_tag_subFree(sub, a);
    ASSERT_EQ(b_makeStr(sub, &a, "%s", "sixteen chars..."), sOKAY);
    EXPECT_STREQ(a, "sixteen chars...");
    EXPECT_STREQ(b, "neighbour");
    b_tag_subFree(sub, a);
    b_tag_subFree(sub, b);
    s = nullptr;
    ASSERT_EQ(b_appendStr(sub, &s, nullptr, "%s", "one"), sOKAY);  // null: length 0
    ASSERT_EQ(b_appendStr(sub, &s, s, ", %s", "two"), sOKAY);
    ASSERT_EQ(b_appendStr(sub, &s, s, ", %d", 3), sOKAY);
    EXPECT_STREQ(s, "one, two, 3");
    b_tag_subFree(sub, s);
}

// Made on a sub tag and on a stack tag: a failed allocation gives eNOMEMORY
// and leaves the result pointer as it was. Appending is deliberately sOKAY
// whatever the tag says: a failed resize leaves the text and the pointer.
TEST_F(FormatAlloc, EveryFormUnderFailingAllocations) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 8192, 8192, &stack), sOKAY);
    const std::string big(5000, 'm');
    for (int form = 0; form < 3; ++form) {
        EXPECT_EQ(
            oom_check(master, {sub},
                      [&] {
                          char *s = nullptr;
                          if (form == 1) {
                              const ZEL_RETCODE rc = b_makeStrStack(stack, &s, "%s", big.c_str());
                              EXPECT_EQ(s == nullptr ? "" : s, rc == sOKAY ? big : "");
                              if (s != nullptr) b_tag_stackFree(stack, s);
                              return rc;
                          }
                          ZEL_RETCODE rc = b_makeStr(sub, &s, "%s", form == 0 ? big.c_str() : "h");
                          EXPECT_EQ(s == nullptr ? "" : s, rc != sOKAY ? "" : form ? "h" : big);
                          if (rc != sOKAY || form == 0) {
                              if (s != nullptr) b_tag_subFree(sub, s);
                              return rc;
                          }
                          char *const before = s;
                          EXPECT_EQ(b_appendStr(sub, &s, s, "%s", big.c_str()), sOKAY);
                          if (s == before) rc = eNOMEMORY;  // not grown: nothing written
                          EXPECT_EQ(std::string(s), rc == sOKAY ? "h" + big : "h");
                          b_tag_subFree(sub, s);
                          return rc;
                      },
                      {}, {stack}),
            form == 2 ? 2 : 1);
    }
    b_tag_stackDestroy(stack);
}

}  // namespace
