// Tests of the ASCII classes against <ctype.h> in the C locale, over every
// char value (signed and unsigned) plus EOF and values past a byte.
#include <gtest/gtest.h>

#include <cctype>
#include <clocale>

#include "ascii.h"

namespace {

bool Ascii(int c) {
    return c >= 0 && c < 128;
}

TEST(AsciiClass, MatchesCLocaleInsideAsciiAndNothingOutside) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
    for (int c = -300; c < 400; c++) {
        const bool in = Ascii(c);  // <ctype.h> is asked only about ASCII
        EXPECT_EQ(b_isdigit(c) != 0, in && std::isdigit(c) != 0) << c;
        EXPECT_EQ(b_isxdigit(c) != 0, in && std::isxdigit(c) != 0) << c;
        EXPECT_EQ(b_isalnum(c) != 0, in && std::isalnum(c) != 0) << c;
        EXPECT_EQ(b_isalpha(c) != 0, in && std::isalpha(c) != 0) << c;
        EXPECT_EQ(b_islower(c) != 0, in && std::islower(c) != 0) << c;
        EXPECT_EQ(b_isupper(c) != 0, in && std::isupper(c) != 0) << c;
        EXPECT_EQ(b_tolower(c), in ? std::tolower(c) : c) << c;
        EXPECT_EQ(b_toupper(c), in ? std::toupper(c) : c) << c;
        // The blank class takes every value below 33, a superset of the six
        // blanks of <ctype.h>.
        EXPECT_EQ(b_isspace(c) != 0, c < 33) << c;
        if (in && std::isspace(c) != 0) {
            EXPECT_TRUE(b_isspace(c)) << c;
        }
    }
    EXPECT_EQ(b_isspace(-1), ZEL_TRUE);
    EXPECT_EQ(b_isspace(0), ZEL_TRUE);
    EXPECT_EQ(b_isspace(127), ZEL_FALSE);
}

}  // namespace
