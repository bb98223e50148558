// UUID: creation bits, the text in both forms, and the parser's rules on
// blanks, braces, dashes and group sizes. Vectors in good-uuid.txt come from
// Python's uuid module (bytes in RFC 4122 order, canonical text).
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "uuid.h"
#include "vectors.h"

namespace {

std::string hex(const ZEL_UUID_T &u) {
    static const char digits[] = "0123456789abcdef";
    std::string s;
    const auto *p = reinterpret_cast<const uint8_t *>(&u);
    for (int i = 0; i < 16; ++i) {
        s += digits[p[i] >> 4];
        s += digits[p[i] & 15];
    }
    return s;
}

std::string text(const ZEL_UUID_T &u, ZEL_BOOL_T braces) {
    char buf[64];
    EXPECT_EQ(zel_uuidToString(&u, buf, sizeof buf, braces), sOKAY);
    return buf;
}

TEST(UuidCreate, VersionFourAndTheVariantBits) {
    for (int i = 0; i < 50; ++i) {
        ZEL_UUID_T u;
        ASSERT_EQ(zel_uuidCreate(&u), sOKAY);
        std::string t = text(u, ZEL_FALSE);
        EXPECT_EQ(t[14], '4') << t;
        EXPECT_NE(std::string("89ab").find(t[19]), std::string::npos) << t;
        // The record is in RFC order: byte 6 carries the version nibble.
        EXPECT_EQ(reinterpret_cast<const uint8_t *>(&u)[6] >> 4, 4);
    }
    EXPECT_EQ(zel_uuidCreate(nullptr), eINVNULLARG);
}

TEST(UuidText, OracleVectors) {
    const auto rows = vectors_read("good-uuid.txt", '|');
    for (const VectorRow &row : rows) {
        const std::string &input = row[0], &bytes = row[1], &canon = row[2];
        ZEL_UUID_T u;
        ASSERT_EQ(zel_uuidFromString(input.c_str(), &u), sOKAY) << input;
        EXPECT_EQ(hex(u), bytes) << input;
        EXPECT_EQ(text(u, ZEL_FALSE), canon);
        EXPECT_EQ(text(u, ZEL_TRUE), "{" + canon + "}");
    }
    EXPECT_EQ(rows.size(), 160u);
}

TEST(UuidText, SizesAndTruncation) {
    ZEL_UUID_T u;
    ASSERT_EQ(zel_uuidFromString("12345678-1234-1234-1234-123456789012", &u), sOKAY);
    EXPECT_EQ(zel_uuidStrLen(&u, ZEL_FALSE), 37u);
    EXPECT_EQ(zel_uuidStrLen(&u, ZEL_TRUE), 39u);
    EXPECT_EQ(zel_uuidStrLen(nullptr, ZEL_TRUE), SIZE_MAX);
    char buf[39];
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(zel_uuidToString(&u, buf, 36, ZEL_FALSE), sTRUNCATE);
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(zel_uuidToString(&u, buf, 38, ZEL_TRUE), sTRUNCATE);
    EXPECT_EQ(zel_uuidToString(&u, buf, 39, ZEL_TRUE), sOKAY);
    EXPECT_STREQ(buf, "{12345678-1234-1234-1234-123456789012}");
}

TEST(UuidParse, AcceptedForms) {
    // Capitals, braces and blanks anywhere are in the vectors; these hold the
    // same digits as the canonical form below.
    const char *canon = "0a1b2c3d-4e5f-6a7b-8c9d-aebfc0d1e2f3";
    for (const char *s : {
             "0a1b{2c3d-4e5f-6a7b-8c9d-aebfc0d1e2f3}",  // "{" at any place
             "{0a1b2c3d-4e5f-6a7b-8c9d-aebfc0d1}e2f3",  // digits after "}"
         }) {
        ZEL_UUID_T u;
        ASSERT_EQ(zel_uuidFromString(s, &u), sOKAY) << s;
        EXPECT_EQ(text(u, ZEL_FALSE), canon) << s;
    }
}

TEST(UuidParse, RefusedForms) {
    for (const char *s : {
             "",
             "{12345678-1234-1234-1234-123456789012",     // no "}"
             "12345678-1234-1234-1234-123456789012}",     // "}" without "{"
             "{{12345678-1234-1234-1234-123456789012}}",  // a second pair
             "{12345678-1234-1234-1234-123456789012}}",
             "12345678-123-1234-1234-123456789012",    // group of 3
             "12345678-1234-1234-1234-1234567890123",  // thirteen digits
             "12345678-1234-1234-1234-12345678901",
             "123456789-234-1234-1234-123456789012",   // digits in the wrong groups
             "12345678-1234-1234-1234123456789012",    // three dashes
             "12345678-1234-1234-1234-1234-56789012",  // five dashes
             "12345678123412341234123456789012",       // no dashes
             "12345678-1234-1234-1234-12345678901g",
             "12345678-1234-1234-1234-12345678901\n",  // only blank and tab skip
             "urn:uuid:12345678-1234-1234-1234-123456789012",
         }) {
        ZEL_UUID_T u;
        std::memset(&u, 0xAB, sizeof u);
        EXPECT_EQ(zel_uuidFromString(s, &u), ePSP_INVUUID) << s;
        EXPECT_EQ(reinterpret_cast<const uint8_t *>(&u)[0], 0xAB) << s;  // untouched
    }
    ZEL_UUID_T u;
    EXPECT_EQ(zel_uuidFromString(nullptr, &u), ePSP_INVUUID);
}

}  // namespace
