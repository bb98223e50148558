// UTF-8: the encoder's boundaries, the decoder's two behaviours on every kind
// of malformed input, and counting and copying. Well-formed and malformed
// vectors come from Python's strict UTF-8 codec (good-utf8.txt,
// bad-utf8.txt); U+FFFE and U+FFFF, which that codec accepts, are refused
// here and are listed as bad.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utf8.h"
#include "vectors.h"

namespace {

using Bytes = std::string;
constexpr auto BREAK = PSP_UTF8_ERROR_BREAK;
constexpr auto CONTINUE = PSP_UTF8_ERROR_CONTINUE;

struct Decoded {
    std::vector<uint32_t> cps;
    size_t stopAfter = SIZE_MAX;
    ZEL_RETCODE answer = sOKAY;
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t cp) {
        auto *d = static_cast<Decoded *>(ctx);
        if (d->cps.size() == d->stopAfter) return d->answer;
        d->cps.push_back(cp);
        return sOKAY;
    }
};

std::pair<ZEL_RETCODE, std::vector<uint32_t>> decode(const Bytes &b, PSP_UTF8_ERROR_BEHAVIOR eb) {
    Decoded d;
    ZEL_RETCODE rc = b_processBuff(b.data(), b.size(), &Decoded::put, &d, eb);
    return {rc, d.cps};
}

const std::vector<uint32_t> Q = {'?'};

TEST(Utf8Encode, ByteCounts) {
    EXPECT_EQ(b_utf8_codes(0x7F, nullptr), 1u);
    EXPECT_EQ(b_utf8_codes(0x80, nullptr), 2u);
    EXPECT_EQ(b_utf8_codes(0x7FF, nullptr), 2u);
    EXPECT_EQ(b_utf8_codes(0x800, nullptr), 3u);
    EXPECT_EQ(b_utf8_codes(0xD800, nullptr), 3u);  // surrogates are not tested here
    EXPECT_EQ(b_utf8_codes(0x10000, nullptr), 4u);
    EXPECT_EQ(b_utf8_codes(0x10FFFF, nullptr), 4u);
    EXPECT_EQ(b_utf8_codes(0x110000, nullptr), 0u);
    uint8_t enc[4];
    ASSERT_EQ(b_utf8_codes(0x20AC, enc), 3u);  // euro sign: E2 82 AC
    EXPECT_EQ(Bytes(reinterpret_cast<char *>(enc), 3), "\xE2\x82\xAC");
    ASSERT_EQ(b_utf8_codes(0x1F600, enc), 4u);  // F0 9F 98 80
    EXPECT_EQ(Bytes(reinterpret_cast<char *>(enc), 4), "\xF0\x9F\x98\x80");
}

TEST(Utf8Encode, UcharToUtf8ClearsTheRest) {
    char buf[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(b_uchar_to_utf8('A', buf, 4), 1u);
    EXPECT_EQ(Bytes(buf, 4), Bytes("A\0\0\0", 4));
    char two[2] = {'x', 'x'};
    EXPECT_EQ(b_uchar_to_utf8(0x20AC, two, 2), 3u);  // too big: nothing written
    EXPECT_EQ(Bytes(two, 2), "xx");
}

TEST(Utf8Decode, OracleGoodVectors) {
    const auto rows = vectors_read("good-utf8.txt");
    for (const VectorRow &row : rows) {
        const std::string &hex = row[0];
        const Bytes b = vectors_unhex(hex);
        std::vector<uint32_t> want;
        if (row[1] != "-")
            for (const std::string &cp : vectors_split(row[1], ','))
                want.push_back(static_cast<uint32_t>(std::stoul(cp, nullptr, 16)));
        for (auto eb : {BREAK, CONTINUE}) {
            auto [rc, cps] = decode(b, eb);
            EXPECT_EQ(rc, sOKAY) << hex;
            EXPECT_EQ(cps, want) << hex;
            EXPECT_EQ(b_countUTF8chars(b.data(), b.size(), eb), want.size()) << hex;
            EXPECT_EQ(b_countUTF8bytes(b.data(), b.size(), SIZE_MAX, eb), b.size());
        }
        // Copying everything re-encodes to the same bytes.
        std::vector<char> out(b.size() + 1);
        size_t chars = 0;
        EXPECT_EQ(b_copyUTF8Chars(out.data(), out.size(), b.data(), b.size(), &chars, BREAK),
                  b.size());
        EXPECT_EQ(Bytes(out.data(), b.size()), b);
        EXPECT_EQ(chars, want.size());
    }
    EXPECT_GT(rows.size(), 80u);
}

TEST(Utf8Decode, OracleBadVectors) {
    const auto rows = vectors_read("bad-utf8.txt");
    for (const VectorRow &row : rows) {
        const std::string &hex = row[0];
        const Bytes b = vectors_unhex(hex);
        EXPECT_EQ(decode(b, BREAK).first, eINVUNICODE) << hex;
        EXPECT_EQ(b_countUTF8chars(b.data(), b.size(), BREAK), 0u) << hex;
        EXPECT_EQ(b_countUTF8bytes(b.data(), b.size(), SIZE_MAX, BREAK), SIZE_MAX) << hex;
        EXPECT_EQ(b_copyUTF8Chars(nullptr, SIZE_MAX, b.data(), b.size(), nullptr, BREAK), SIZE_MAX);
        auto [rc, cps] = decode(b, CONTINUE);  // never fails, always delivers something
        EXPECT_EQ(rc, sOKAY) << hex;
        EXPECT_FALSE(cps.empty()) << hex;
    }
    EXPECT_EQ(rows.size(), 120u);
}

TEST(Utf8Decode, OverlongForms) {
    // C0 80 is zero in two bytes: refused when breaking, delivered as 0 when
    // continuing. E0 80 AF is '/' in three, F0 80 80 41 'A' in four.
    EXPECT_EQ(decode("\xC0\x80", BREAK).first, eINVUNICODE);
    EXPECT_EQ(decode("\xC0\x80", CONTINUE).second, std::vector<uint32_t>{0});
    EXPECT_EQ(decode("\xE0\x80\xAF", CONTINUE).second, std::vector<uint32_t>{'/'});
    EXPECT_EQ(decode("\xF0\x80\x81\x81", CONTINUE).second, std::vector<uint32_t>{'A'});
    EXPECT_EQ(decode("\xF0\x80\x81\x81", BREAK).first, eINVUNICODE);
}

TEST(Utf8Decode, SurrogatesAndNoncharacters) {
    for (const char *s :
         {"\xED\xA0\x80", "\xED\xBF\xBF", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xF4\x90\x80\x80"}) {
        EXPECT_EQ(decode(s, BREAK).first, eINVUNICODE) << s;
        EXPECT_EQ(decode(s, CONTINUE).second, Q) << s;  // one '?' for the sequence
    }
    // The neighbours are fine.
    EXPECT_EQ(decode("\xED\x9F\xBF\xEE\x80\x80", BREAK).second,
              (std::vector<uint32_t>{0xD7FF, 0xE000}));
}

TEST(Utf8Decode, TruncatedAndBrokenSequences) {
    // A lone E2 at the end: 0 when breaking, the '?' counts when continuing.
    EXPECT_EQ(b_countUTF8chars("ab\xE2", 3, BREAK), 0u);
    EXPECT_EQ(b_countUTF8chars("ab\xE2", 3, CONTINUE), 3u);
    // A broken sequence gives one '?', and the byte that broke it starts anew.
    EXPECT_EQ(decode("\xE2\x82"
                     "A",
                     CONTINUE)
                  .second,
              (std::vector<uint32_t>{'?', 'A'}));
    EXPECT_EQ(decode("\xE2\xC3\xA9", CONTINUE).second, (std::vector<uint32_t>{'?', 0xE9}));
    // Stray continuation bytes: one '?' each.
    EXPECT_EQ(decode("\x80\xBF", CONTINUE).second, (std::vector<uint32_t>{'?', '?'}));
    EXPECT_EQ(decode("\x80", BREAK).first, eINVUNICODE);
}

TEST(Utf8Decode, BytesF8ToFF) {
    for (int b = 0xF8; b <= 0xFF; ++b) {
        Bytes s = "a" + Bytes(1, static_cast<char>(b)) + "b";
        EXPECT_EQ(decode(s, BREAK).first, eINVUNICODE) << b;
        EXPECT_EQ(decode(s, CONTINUE).second, (std::vector<uint32_t>{'a', '?', 'b'})) << b;
    }
    // Inside an open sequence: the sequence is broken and the byte is bad.
    EXPECT_EQ(decode("\xE2\x82\xF8\xAC", CONTINUE).second, (std::vector<uint32_t>{'?', '?', '?'}));
}

TEST(Utf8Decode, CallbackEndsTheRun) {
    Decoded d;
    d.stopAfter = 2;
    d.answer = sNOTFOUND;  // "enough": success
    EXPECT_EQ(b_processBuff("abcd", 4, &Decoded::put, &d, BREAK), sOKAY);
    EXPECT_EQ(d.cps.size(), 2u);
    Decoded e;
    e.stopAfter = 1;
    e.answer = eFILEIO;
    EXPECT_EQ(b_processBuff("abcd", 4, &Decoded::put, &e, BREAK), eFILEIO);
    Decoded f;
    f.stopAfter = 0;
    f.answer = sNEEDDATA;  // counts as going on
    EXPECT_EQ(b_processBuff("ab", 2, &Decoded::put, &f, BREAK), sOKAY);
}

TEST(Utf8Count, BytesOfTheFirstCharacters) {
    const Bytes s = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";  // a é € 😀 z
    const size_t want[] = {0, 1, 3, 6, 10, 11, 11};
    for (size_t chars = 0; chars < 7; ++chars)
        EXPECT_EQ(b_countUTF8bytes(s.data(), s.size(), chars, BREAK), want[chars]) << chars;
    // The run ends when the character after them arrives; an error before
    // that is still met, one after it is not.
    EXPECT_EQ(b_countUTF8bytes("abc\xFF", 4, 2, BREAK), 2u);
    EXPECT_EQ(b_countUTF8bytes("ab\xFF", 3, 2, BREAK), SIZE_MAX);
}

TEST(Utf8Copy, WholeCharactersOnly) {
    const Bytes s =
        "a\xE2\x82\xAC"
        "b";  // a € b
    char out[8] = {};
    size_t chars = 99;
    // Room for 3: "a" fits, the euro sign does not, and "b" after it is ignored.
    EXPECT_EQ(b_copyUTF8Chars(out, 3, s.data(), s.size(), &chars, BREAK), 1u);
    EXPECT_EQ(chars, 1u);
    EXPECT_EQ(out[0], 'a');
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(b_copyUTF8Chars(out, 4, s.data(), s.size(), &chars, BREAK), 4u);
    EXPECT_EQ(chars, 2u);
    EXPECT_EQ(b_copyUTF8Chars(nullptr, SIZE_MAX, s.data(), s.size(), &chars, BREAK), 5u);
    EXPECT_EQ(chars, 3u);
    // Re-encoded: an overlong zero comes out as one byte when continuing.
    EXPECT_EQ(b_copyUTF8Chars(out, 8, "x\xC0\x80", 3, &chars, CONTINUE), 2u);
    EXPECT_EQ(Bytes(out, 2), Bytes("x\0", 2));
}

}  // namespace
