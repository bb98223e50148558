// Tests of the text conversions: the three scanners state by state, every
// conversion from text with its codes and boundaries (numbers against glibc
// and Python vectors), size-only calls, texts without a terminator, and the
// escape clause rewriter.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "bcd.h"
#include "convert_text.h"
#include "convert_text_internal.h"
#include "error.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_stack.h"
#include "vectors.h"

namespace {

using zel::detail::CNV_SYM_ANY;
using zel::detail::CNV_SYM_DIGIT;
using zel::detail::CNV_SYM_END;

constexpr uint8_t kFill = 0xA5;

// The source text sits in a heap block of exactly tSrcLen bytes, so that a
// read past it is caught by the address sanitizer.
struct Source {
    explicit Source(std::string_view text, bool terminated = true)
        : bytes(text.begin(), text.end()) {
        if (terminated) bytes.push_back('\0');
    }
    std::vector<char> bytes;
};

struct Result {
    ZEL_RETCODE rc;
    CNVCB cb;
    uint8_t out[40];
};

CNVCB MakeCb(const Source &src, void *dst, size_t dstLen) {
    CNVCB cb{};
    cb.pvSrc = src.bytes.empty() ? nullptr : src.bytes.data();
    cb.tSrcLen = src.bytes.size();
    cb.pvDst = dst;
    cb.tDstLen = dstLen;
    cb.tSize = 999;
    cb.date_format = ZEL_YYYYMMDD;
    cb.date_sep = '-';
    cb.time_format = ZEL_HHMMSSFFFF;
    return cb;
}

Result Convert(B_CNVFCN fcn, std::string_view text, bool terminated = true,
               ZEL_DATE_FORMAT fmt = ZEL_YYYYMMDD, char sep = '-') {
    Source src(text, terminated);
    Result r;
    std::memset(r.out, kFill, sizeof r.out);
    r.cb = MakeCb(src, r.out, sizeof r.out);
    r.cb.date_format = fmt;
    r.cb.date_sep = sep;
    r.rc = fcn(&r.cb);
    return r;
}

// "code size bytes": the code, tSize and the bytes written up to the first
// untouched one.
std::string Brief(const Result &r) {
    const char *msg = nullptr, *name = "?";
    (void)zelErrorCodeDef(r.rc, &msg, &name);
    std::string s = std::string(name) + " " + std::to_string(r.cb.tSize) + " ";
    char two[3];
    for (size_t i = 0; i < sizeof r.out && r.out[i] != kFill; ++i) {
        std::snprintf(two, sizeof two, "%02x", r.out[i]);
        s += two;
    }
    return s;
}

bool Untouched(const Result &r) {
    for (uint8_t b : r.out)
        if (b != kFill) return false;
    return true;
}

template <typename T>
T As(const Result &r) {
    T v;
    std::memcpy(&v, r.out, sizeof v);
    return v;
}

std::string Unescape(const std::string &s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 1 < s.size()) {
            char c = s[++i];
            out += c == 't' ? '\t' : c == 'n' ? '\n' : c;
        } else {
            out += s[i];
        }
    }
    return out;
}

ZEL_RETCODE CodeOf(const std::string &name) {
    if (name == "OK") return sOKAY;
    if (name == "TRUNCATE") return sTRUNCATE;
    if (name == "RANGE") return eRANGE;
    if (name == "MISMATCH") return eTYPEMISMATCH;
    return eINVLITERAL;
}

std::string Escapes(const char *in, ZEL_RETCODE expect = sOKAY) {
    char out[256];
    std::memset(out, '#', sizeof out);
    size_t len = 12345;
    EXPECT_EQ(b_convertEscapesToSQL(in, out, sizeof out, &len), expect) << in;
    if (expect < 0) {
        EXPECT_EQ(len, 12345u);
        EXPECT_EQ(out[0], '#') << "output written on failure";
        return "";
    }
    EXPECT_EQ(len, std::strlen(out));
    return out;
}

// ---- The scanners.

struct TableCase {
    std::span<const B_ACTION *const> states;
    size_t count;
};

// Every state ends with a catch-all, names states that exist, and from any
// character (the end included) reaches a consuming row or a stop in fewer
// steps than there are states: the scan can neither loop nor pass the end.
TEST(ConvertScannerTables, EveryStateIsWellFormed) {
    for (const TableCase &t : {TableCase{zel::detail::cnv_textNumStates(), 5},
                               TableCase{zel::detail::cnv_textDateStates(), 24},
                               TableCase{zel::detail::cnv_textEscStates(), 59}}) {
        ASSERT_EQ(t.states.size(), t.count);
        const int n = int(t.count);
        for (int s = 0; s < n; ++s) {
            const B_ACTION *a = t.states[size_t(s)];
            while (a->symbol != CNV_SYM_ANY) ++a;
            for (int ch = -1; ch < 256; ++ch) {
                const bool atEnd = ch < 0;
                const char c = char(atEnd ? 0 : ch);
                int state = s;
                int steps = 0;
                for (;; ++steps) {
                    ASSERT_LT(steps, n) << "state " << s << " loops on " << ch;
                    const B_ACTION *row = t.states[size_t(state)];
                    for (;; ++row) {
                        if (row->symbol == CNV_SYM_ANY) break;
                        if (row->symbol == CNV_SYM_END && atEnd) break;
                        if (row->symbol == CNV_SYM_DIGIT && !atEnd && c >= '0' && c <= '9') break;
                        if (row->symbol > CNV_SYM_ANY && !atEnd && row->symbol == c) break;
                    }
                    ASSERT_LT(row->state, n == 59 ? n : n + 1);
                    if (row->state < 0 || row->state >= n) break;
                    if (row->shift && !atEnd) break;
                    state = row->state;
                }
            }
        }
    }
}

struct NumCase {
    const char *text;
    ZEL_RETCODE rc;
    int32_t sign = 0, mag = 0, scale = 0, expt = 0;
};

TEST(ConvertNumberSyntax, CountsAndRules) {
    // clang-format off
    const NumCase cases[] = {
        {"0", sOKAY, 1, 1, 0, 0},
        {" \t\n-12.345E+07", sOKAY, -1, 2, 3, 7},  // leading blanks, tab, newline
        {"+.5e-3", sOKAY, 1, 0, 1, -3},
        {"007", sOKAY, 1, 3, 0, 0},  // leading zeros count as digits
        {"+", sOKAY, 1, 0, 0, 0},  // a lone sign passes
        {"-", sOKAY, -1, 0, 0, 0},                {".", sOKAY, 1, 0, 0, 0},
        {"5.", sOKAY, 1, 1, 0, 0},
        {"1e+", sOKAY, 1, 1, 0, 0},  // a sign after e is enough
        {"1E5", sOKAY, 1, 1, 0, 5},               {"1e308", sOKAY, 1, 1, 0, 308},
        {"1e-308", sOKAY, 1, 1, 0, -308},
        {"", eINVLITERAL},  // state 0 has no row for the end
        {" ", eINVLITERAL},                       {"12 ", eINVLITERAL},  // no trailing blanks
        {"1e", eINVLITERAL},                      {"1.5e", eINVLITERAL},
        {"e5", eINVLITERAL},                      {"1-", eINVLITERAL},
        {"--1", eINVLITERAL},                     {"1.2.3", eINVLITERAL},
        {"1e5.5", eINVLITERAL},                   {"\r1", eINVLITERAL},
        {"1x1e400", eINVLITERAL},  // stops at x: the exponent is never read
        {"1e309", eRANGE},                        {"1e-309", eRANGE},
        {"1e400x", eRANGE},  // the exponent is judged before the syntax
        {"1e-400x", eRANGE},  // its sign is only applied at the end, but 400 is out either way
        {"1e99999999999999999999", eRANGE}
    };
    // clang-format on
    for (const NumCase &c : cases) {
        int32_t sign = 7, mag = 7, scale = 7, expt = 7;
        ASSERT_EQ(convert_parseNumber(c.text, &sign, &mag, &scale, &expt), c.rc) << c.text;
        if (c.rc != sOKAY) {
            EXPECT_EQ(sign + mag + scale + expt, 28) << "written on failure: " << c.text;
            continue;
        }
        EXPECT_EQ(sign, c.sign) << c.text;
        EXPECT_EQ(mag, c.mag) << c.text;
        EXPECT_EQ(scale, c.scale) << c.text;
        EXPECT_EQ(expt, c.expt) << c.text;
    }
    EXPECT_EQ(convert_parseNumber("12", nullptr, nullptr, nullptr, nullptr), sOKAY);
    EXPECT_EQ(convert_parseNumber(nullptr, nullptr, nullptr, nullptr, nullptr), eINVNULLARG);
}

// ---- Numbers against the oracle vectors, terminated and not.

// The conversion of each type the vectors name, and the size of its result.
struct TypeRow {
    const char *name;
    B_CNVFCN fcn;
    size_t size;
};
const TypeRow kTypes[] = {{"int8", cnv_stringToInt8, 1},
                          {"uint8", cnv_stringToUInt8, 1},
                          {"int16", cnv_stringToInt16, 2},
                          {"uint16", cnv_stringToUInt16, 2},
                          {"int32", cnv_stringToInt32, 4},
                          {"uint32", cnv_stringToUInt32, 4},
                          {"int64", cnv_stringToInt64, 8},
                          {"uint64", cnv_stringToUInt64, 8},
                          {"rowid", cnv_stringToRowid, 8},
                          {"boolean", cnv_stringToBoolean, 1},
                          {"float", cnv_stringToFloat, 4},
                          {"double", cnv_stringToDouble, 8},
                          {"decimal", cnv_stringToDecimal, sizeof(ZEL_BCD_T)}};
const TypeRow &TypeOf(const std::string &name) {
    for (const TypeRow &t : kTypes)
        if (name == t.name) return t;
    ADD_FAILURE() << name;
    return kTypes[0];
}

std::string ValueText(const std::string &type, const Result &r) {
    if (type == "int8") return std::to_string(As<int8_t>(r));
    if (type == "uint8" || type == "boolean") return std::to_string(As<uint8_t>(r));
    if (type == "int16") return std::to_string(As<int16_t>(r));
    if (type == "uint16") return std::to_string(As<uint16_t>(r));
    if (type == "int32") return std::to_string(As<int32_t>(r));
    if (type == "uint32") return std::to_string(As<uint32_t>(r));
    if (type == "int64") return std::to_string(As<int64_t>(r));
    if (type == "uint64" || type == "rowid") return std::to_string(As<uint64_t>(r));
    char buf[400];
    if (type == "float" || type == "double") {
        std::snprintf(
            buf, sizeof buf, "%llx",
            static_cast<unsigned long long>(type == "float" ? As<uint32_t>(r) : As<uint64_t>(r)));
        return buf;
    }
    const ZEL_BCD_T b = As<ZEL_BCD_T>(r);
    uint32_t n = 0;
    EXPECT_EQ(zel_bcdToStringWithScale(&b, 255, ZEL_FALSE, buf, sizeof buf, &n), sOKAY);
    std::string s = buf;
    if (s.find('.') != std::string::npos) {
        s.erase(s.find_last_not_of('0') + 1);
        if (s.back() == '.') s.pop_back();
    }
    return s;
}

TEST(ConvertNumberText, MatchesOracleVectors) {
    const auto rows = vectors_read("good-convert-text.txt", '|');
    for (const VectorRow &row : rows) {
        const std::string &type = row[0], &code = row[1], &value = row[2];
        const std::string text = Unescape(row[3]);
        const ZEL_RETCODE want = CodeOf(code);
        for (bool terminated : {true, false}) {
            Result r = Convert(TypeOf(type).fcn, text, terminated);
            ASSERT_EQ(r.rc, want) << type << " [" << text << "] terminated " << terminated;
            if (want < 0) {
                EXPECT_TRUE(Untouched(r)) << type << " [" << text << "]";
                continue;
            }
            EXPECT_EQ(ValueText(type, r), value) << type << " [" << text << "]";
            EXPECT_EQ(r.cb.tSize, TypeOf(type).size) << type;
        }
    }
    EXPECT_GT(rows.size(), 5000u);
}

// What the vectors leave out: {type, text, code, the value as the oracle
// test prints it}; a failure writes nothing, a success nothing past the
// type's size. More than 18 characters of integer part are converted alone,
// blanks in front; no exponent without a fraction; the written exponent
// counts; a row id takes no fraction.
TEST(ConvertNumberText, Examples) {
    // clang-format off
    const std::tuple<const char *, const char *, ZEL_RETCODE, const char *> cases[] = {
        {"int32", " 42", sOKAY, "42"}, {"int32", "42 ", eINVLITERAL, ""},
        {"uint8", "300", eRANGE, ""}, {"int8", "1e2", eINVLITERAL, ""},
        {"int64", "  -1234567890123456789.99e-30", sTRUNCATE, "-1234567890123456789"},
        {"uint64", "-1.5", eRANGE, ""},
        {"uint64", "18446744073709551615.5", sTRUNCATE, "18446744073709551615"},
        {"uint64", "018446744073709551615", eRANGE, ""}, {"float", "1000e-40", eRANGE, ""},
        {"double", "-2.5", sOKAY, "c004000000000000"}, {"rowid", "5.5", eTYPEMISMATCH, ""},
        {"rowid", "12345678901234567890", eRANGE, ""}, {"rowid", "five", eINVLITERAL, ""},
        {"boolean", "True", sOKAY, "1"}, {"boolean", "no", sOKAY, "0"},
        {"boolean", "FaLsE", sOKAY, "0"}, {"boolean", "0.25", sOKAY, "1"},
        {"boolean", " yes", eINVLITERAL, ""}};
    // clang-format on
    for (const auto &[type, text, rc, value] : cases) {
        const Result r = Convert(TypeOf(type).fcn, text);
        ASSERT_EQ(r.rc, rc) << type << " [" << text << "]";
        if (std::string(type) == "boolean") {
            EXPECT_EQ(r.cb.tSize, 1u) << text;  // failures too
        }
        if (rc < 0) {
            EXPECT_TRUE(Untouched(r)) << type << " [" << text << "]";
            continue;
        }
        EXPECT_EQ(ValueText(type, r), value) << type << " [" << text << "]";
        EXPECT_EQ(r.cb.tSize, TypeOf(type).size) << type;
        EXPECT_EQ(r.out[TypeOf(type).size], kFill) << type << " [" << text << "]";
    }
    EXPECT_EQ(b_convertAsciiToDouble("2.5xyz"), 2.5);
    EXPECT_EQ(b_convertAsciiToDouble("xyz"), 0.0);
}

// ---- Binary.

TEST(ConvertBinaryText, HexPairs) {
    // {text, "code size bytes"}; the text is checked before anything is written.
    const std::pair<const char *, const char *> cases[] = {{"0xAB", "sOKAY 1 ab"},
                                                           {"abCD", "sOKAY 2 abcd"},
                                                           {"0X0100", "sOKAY 2 0100"},
                                                           {"", "sOKAY 0 "},
                                                           {"0x", "sOKAY 0 "},
                                                           {"0xABC", "eINVBINLITERAL 999 "},  // odd
                                                           {"ABGD", "eINVBINLITERAL 999 "},
                                                           {"0x 1", "eINVBINLITERAL 999 "}};
    for (auto [text, want] : cases)
        EXPECT_EQ(Brief(Convert(cnv_stringToBinary, text)), want) << text;
    EXPECT_EQ(Convert(cnv_stringToBinary, "0xAB").cb.offset, 1u);
    EXPECT_EQ(Convert(cnv_stringToBinary, "ABCD", false).rc, eINVBINLITERAL);  // no terminator
    // A terminator inside the text ends the work early.
    const char embedded[] = "AB\0CDE";
    Source src(std::string_view(embedded, 6));
    uint8_t out[4] = {kFill, kFill, kFill, kFill};
    CNVCB cb = MakeCb(src, out, sizeof out);
    EXPECT_EQ(cnv_stringToBinary(&cb), sOKAY);
    EXPECT_EQ(cb.tSize, 1u);
    EXPECT_EQ(out[0], 0xAB);
    EXPECT_EQ(out[1], kFill);
}

TEST(ConvertBinaryText, CutToTheRoomAndSizeOnly) {
    Source src("0x01020304");
    uint8_t out[8];
    std::memset(out, kFill, sizeof out);
    CNVCB cb = MakeCb(src, out, 3);
    cb.offset = 5;
    EXPECT_EQ(cnv_stringToBinary(&cb), sTRUNCATE);
    EXPECT_EQ(cb.tSize, 3u);
    EXPECT_EQ(cb.offset, 8u);
    EXPECT_EQ(out[2], 0x03);
    EXPECT_EQ(out[3], kFill);
    cb = MakeCb(src, nullptr, 0);
    EXPECT_EQ(cnv_stringToBinary(&cb), sOKAY);
    EXPECT_EQ(cb.tSize, 4u);
    EXPECT_EQ(cb.offset, 0u);
}

// ---- Dates and times.

TEST(ConvertDateText, FormsOrdersAndCodes) {
    // {text, format, separator, "code size bytes"}; 4 March 2021 is day
    // 737853 (Python: date(2021, 3, 4).toordinal()), 0x000B423D.
    const std::string march4 = "sOKAY 4 3d420b00", bad = "eINVLITERAL 4 ";
    const std::tuple<const char *, ZEL_DATE_FORMAT, char, std::string> cases[] = {
        {"2021-03-04", ZEL_YYYYMMDD, '-', march4},
        {"'2021-3-4'", ZEL_YYYYMMDD, '-', march4},
        {"date '2021-03-04'", ZEL_YYYYMMDD, '-', march4},
        {"DATE'2021-03-04'", ZEL_YYYYMMDD, '-', march4},
        {"@'2021-03-04'", ZEL_YYYYMMDD, '-', march4},
        {"  \"2021-03-04\"", ZEL_YYYYMMDD, '-', march4},
        {"timestamp '2021-03-04'", ZEL_YYYYMMDD, '-', march4},
        {"TimeStamp  '2021-03-04 10", ZEL_YYYYMMDD, '-', march4},
        {"2021-03-04x", ZEL_YYYYMMDD, '-', march4},
        {"2021-03-04 10:00:00", ZEL_YYYYMMDD, '-', march4},
        {"2021-4-03", ZEL_YYYYMMDD, '-', "sOKAY 4 5b420b00"},   // day 737883
        {"9999-12-31", ZEL_YYYYMMDD, '-', "sOKAY 4 dbb93700"},  // day 3652059
        // Refused, nothing written.
        {"2021-3-", ZEL_YYYYMMDD, '-', bad},
        {"21-03-04xx", ZEL_YYYYMMDD, '-', bad},
        {"date 2021-03-04", ZEL_YYYYMMDD, '-', bad},
        {"dates '2021-03-04'", ZEL_YYYYMMDD, '-', bad},
        {"x2021-03-04", ZEL_YYYYMMDD, '-', bad},
        {"2021/03/04", ZEL_YYYYMMDD, '-', bad},
        {"2021-003-04", ZEL_YYYYMMDD, '-', bad},
        {"'2021-03-'", ZEL_YYYYMMDD, '-', bad},
        {"@ 2021-03-04", ZEL_YYYYMMDD, '-', bad},
        {"tims '2021-03-04'", ZEL_YYYYMMDD, '-', bad},
        {"timestamp '2021-03-04 10:00:00'", ZEL_YYYYMMDD, '-', bad},  // past the 25 of a literal
        {"2021-13-04", ZEL_YYYYMMDD, '-', "eBASE_INVDATE 4 "},
        {"0000-01-04", ZEL_YYYYMMDD, '-', "eBASE_INVDATE 4 "},
        {"2021-01-00", ZEL_YYYYMMDD, '-', "eBASE_INVDATE 4 "},
        // Other orders are rewritten.
        {"03/04/2021", ZEL_MMDDYYYY, '/', march4},
        {"04.03.2021", ZEL_DDMMYYYY, '.', march4},
        {"03/04/2021 10:00:00", ZEL_MMDDYYYY, '/', march4},  // the time is cut
        {"2021/03/04", ZEL_YYYYMMDD, '/', march4},
        {"03-04-2021", ZEL_MMDDYYYY, '/', bad},
        {"03/04/2021x10", ZEL_MMDDYYYY, '/', bad},
        {"03/04/2021", ZEL_DATE_FORMAT(9), '/', "eINVDATEFMT 4 "},
        // Lengths: 8 to 25 characters.
        {"2021-3-4", ZEL_YYYYMMDD, '-', march4},
        {"202-3-4", ZEL_YYYYMMDD, '-', bad},
        {"2021-03-04               ", ZEL_YYYYMMDD, '-', march4},
        {"2021-03-04                ", ZEL_YYYYMMDD, '-', bad}};
    for (const auto &[text, fmt, sep, want] : cases)
        EXPECT_EQ(Brief(Convert(cnv_stringToDate, text, true, fmt, sep)), want) << text;
}

TEST(ConvertTimeText, PassesToTheDateModule) {
    // {conversion, text, "code size bytes"}, host order: 10 h is 360000000
    // units (0x15752A00), 9 h 324000000 (0x134FD900); a zone follows the UTC
    // time; 2021-03-04 00:30 +01:00 is day 737852 (0x000B423C) at 23:30 UTC
    // (846000000, 0x326CEF80).
    const std::tuple<B_CNVFCN, const char *, const char *> cases[] = {
        {cnv_stringToTime, "10:00:00.5", "sOKAY 4 052a7515"},
        {cnv_stringToTime, "25:00:00", "eINVLITERAL 4 "},
        {cnv_stringToTimeTZ, "10:00:00+01:00", "sOKAY 8 00d94f133c00"},
        {cnv_stringToTimestamp, "2021-03-04 10:00:00", "sOKAY 8 3d420b00002a7515"},
        {cnv_stringToTimestampTZ, "2021-03-04 00:30:00+01:00", "sOKAY 12 3c420b0080ef6c323c00"}};
    for (auto [fcn, text, want] : cases)
        EXPECT_EQ(Brief(Convert(fcn, text)).substr(0, std::strlen(want)), want) << text;
    EXPECT_EQ(Convert(cnv_stringToTimeTZ, "10:00:00").rc, eRANGE);  // no zone
    Result r = Convert(cnv_stringToTimestamp, "04/03/2021 10:00:00", true, ZEL_DDMMYYYY, '/');
    EXPECT_EQ(As<ZEL_PACKED_TIMESTAMP_T>(r).date, 737853u);
    EXPECT_LT(Convert(cnv_stringToTimestampTZ, "2021-03-04 00:30:00").rc, 0);
}

// ---- Decimal and UUID.

TEST(ConvertDecimalText, CodesOfTheDecimalModule) {
    Result r = Convert(cnv_stringToDecimal, "abc");
    EXPECT_EQ(r.rc, eINVLITERAL);  // eRANGE of the parser becomes eINVLITERAL
    EXPECT_EQ(r.cb.tSize, 999u);
    EXPECT_TRUE(Untouched(r));
    EXPECT_EQ(Convert(cnv_stringToDecimal, std::string(33, '9')).rc, eINVLITERAL);
    r = Convert(cnv_stringToDecimal, "0." + std::string(33, '1'));
    EXPECT_EQ(r.rc, sPRECISIONLOSS);
    EXPECT_EQ(r.cb.tSize, 999u);  // a warning leaves tSize unset
    EXPECT_EQ(ValueText("decimal", r), "0." + std::string(32, '1'));
}

TEST(ConvertUuidText, ParsedOrRefused) {
    EXPECT_EQ(Brief(Convert(cnv_stringToUuid, "{00112233-4455-6677-8899-aabbccddeeff}")),
              "sOKAY 16 00112233445566778899aabbccddeeff");
    EXPECT_EQ(Brief(Convert(cnv_stringToUuid, "00112233-4455-6677-8899-aabbccddeef")),
              "eINVLITERAL 16 ");
}

// ---- The frame.

TEST(ConvertTextFrame, SizeOnlyCalls) {
    // clang-format off
    struct {
        B_CNVFCN fcn;
        const char *text;
        size_t size;
    } cases[] = {{cnv_stringToBoolean, "1", 1}, {cnv_stringToInt8, "1", 1},
        {cnv_stringToUInt8, "1", 1}, {cnv_stringToInt16, "1", 2}, {cnv_stringToUInt16, "1", 2},
        {cnv_stringToInt32, "1", 4}, {cnv_stringToUInt32, "1", 4}, {cnv_stringToInt64, "1", 8},
        {cnv_stringToUInt64, "1", 8}, {cnv_stringToFloat, "1", 4}, {cnv_stringToDouble, "1", 8},
        {cnv_stringToDecimal, "junk", 37}, {cnv_stringToDate, "2021-03-04", 4},
        {cnv_stringToTime, "10:00:00", 4}, {cnv_stringToTimeTZ, "10:00:00+00:00", 8},
        {cnv_stringToTimestamp, "2021-03-04 10:00:00", 8},
        {cnv_stringToTimestampTZ, "2021-03-04 10:00:00+00:00", 12}, {cnv_stringToRowid, "1", 8},
        {cnv_stringToUuid, "junk", 16}, {cnv_stringToBinary, "0x0102", 2}};
    // clang-format on
    for (const auto &c : cases) {
        Source src(c.text);
        CNVCB cb = MakeCb(src, nullptr, 0);
        EXPECT_EQ(c.fcn(&cb), sOKAY) << c.text;
        EXPECT_EQ(cb.tSize, c.size) << c.text;
    }
    // The numbers still check their text.
    Source bad("x");
    CNVCB cb = MakeCb(bad, nullptr, 0);
    EXPECT_EQ(cnv_stringToInt32(&cb), eINVLITERAL);
}

TEST(ConvertTextFrame, NullAndEmptySources) {
    for (B_CNVFCN fcn :
         {cnv_stringToBoolean, cnv_stringToBinary, cnv_stringToInt32, cnv_stringToUInt64,
          cnv_stringToDouble, cnv_stringToDecimal, cnv_stringToDate, cnv_stringToTime,
          cnv_stringToTimestampTZ, cnv_stringToRowid, cnv_stringToUuid}) {
        EXPECT_EQ(fcn(nullptr), eINVNULLARG);
        uint8_t out[40];
        CNVCB cb{};
        cb.pvDst = out;
        cb.tDstLen = sizeof out;
        cb.tSrcLen = 4;
        EXPECT_EQ(fcn(&cb), eINVNULLARG);
        cb.tSrcLen = 0;  // no text at all is an empty text
        EXPECT_LT(fcn(&cb), 0);
    }
}

class ConvertLongText : public TaggedTest {};

// A text without a terminator is copied: short ones on the stack, long ones
// to the conversion's tag (none: eNOMEMORY), a sub tag or a stack tag. Every
// conversion that reads such a text gives what the terminated text gives, or
// eNOMEMORY with the destination untouched, and the tag gets its bytes back.
TEST_F(ConvertLongText, EveryCopyUnderFailingAllocations) {
    const std::string text = std::string(300, ' ') + "17";
    const Source src(text, false);
    int32_t v = 0;
    CNVCB none = MakeCb(src, &v, sizeof v);
    EXPECT_EQ(cnv_stringToInt32(&none), eNOMEMORY);
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    for (B_CNVFCN fcn :
         {cnv_stringToBoolean, cnv_stringToInt8, cnv_stringToUInt8, cnv_stringToInt16,
          cnv_stringToUInt16, cnv_stringToInt32, cnv_stringToUInt32, cnv_stringToInt64,
          cnv_stringToUInt64, cnv_stringToRowid, cnv_stringToFloat, cnv_stringToDouble,
          cnv_stringToDecimal}) {
        const Result want = Convert(fcn, fcn == cnv_stringToBoolean ? "17" : text);
        ASSERT_EQ(want.rc, sOKAY);
        for (const convTag tag : {convTag{CONV_TAG_TYPE_SUB, {.sub = sub}},
                                  convTag{CONV_TAG_TYPE_STACK, {.stack = stack}}}) {
            const Source in(fcn == cnv_stringToBoolean ? std::string(200, '0') + "17" : text,
                            false);
            EXPECT_EQ(oom_check(master, {sub},
                                [&] {
                                    Result r;
                                    std::memset(r.out, kFill, sizeof r.out);
                                    r.cb = MakeCb(in, r.out, sizeof r.out);
                                    r.cb.tag = tag;
                                    const ZEL_RETCODE rc = fcn(&r.cb);
                                    if (rc == sOKAY) {
                                        EXPECT_EQ(std::memcmp(r.out, want.out, sizeof r.out), 0);
                                    } else {
                                        EXPECT_TRUE(Untouched(r));
                                    }
                                    return rc;
                                },
                                {}, {stack}),
                      1);
        }
    }
    b_tag_stackDestroy(stack);
}

// ---- Escape clauses.

TEST(ConvertEscapes, Clauses) {
    EXPECT_EQ(Escapes("{d '2021-01-02'}"), "@'2021-01-02'");
    EXPECT_EQ(Escapes("{fn now()}"), " now()");
    EXPECT_EQ(Escapes("select {t '10:00:00'}, {ts \"2021-01-02 10:00\"}"),
              "select @'10:00:00', @\"2021-01-02 10:00\"");
    EXPECT_EQ(Escapes("{ d\n'x' }"), "@'x' ");
    EXPECT_EQ(Escapes("{oj a left join b on x}"), " a left join b on x");
    EXPECT_EQ(Escapes("{call p(?, '}')}"), "call p(?, '}')");  // quotes hide a brace
    EXPECT_EQ(Escapes("like 'a!%' {escape '!'}"), "like 'a!%' escape '!'");
    EXPECT_EQ(Escapes("{escape'!' }"), "escape'!' ");
    EXPECT_EQ(Escapes("{fn a*b*)c}"), " a*b*)c");  // a broken "*)--" is flushed
    EXPECT_EQ(Escapes("{fn x*)-}"), " x*)-");
    EXPECT_EQ(Escapes("{fn x*)--"), " x");  // "*)--" ends a brace clause too
}

TEST(ConvertEscapes, VendorForm) {
    EXPECT_EQ(Escapes("select --(*vendor(Microsoft),product(ODBC) fn now() *)-- from t"),
              "select  now()  from t");
    EXPECT_EQ(Escapes("--(* VENDOR ( v ) , Product ( p ) d '2021-01-02' *)--"), "@'2021-01-02' ");
    EXPECT_EQ(Escapes("--(*vendor(v),product(p) fn x}"), " x");  // a brace ends it as well
    for (const char *bad : {"--(*vendor(v) product(p) fn x*)--", "--(*vend(v),product(p)*)--",
                            "--(*vendor(v),product(p", "--(*vendor(v),product(p) x *)--", "--(*"}) {
        Escapes(bad, eESCAPE);
    }
}

TEST(ConvertEscapes, PlainTextIsCopied) {
    for (const char *same :
         {"", "select * from t", "a - b -- c", "x --( y", "'{d x}'", "\"{fn}\"", "a-", "a--",
          "a--(", "it''s", "(* not vendor *)", "c_data[2][3] struct { int a; }", "c_data stuff {x}",
          "c_data\tst{", "cc_data struct {}", "c_x {fn y}"}) {
        const std::string out = Escapes(same);
        if (std::strstr(same, "{fn y}") != nullptr) {
            EXPECT_EQ(out, "c_x  y");
        } else {
            EXPECT_EQ(out, same);
        }
    }
    EXPECT_EQ(Escapes("c_data x {d '1'}"), "c_data x @'1'");  // no "st" word: an escape
}

TEST(ConvertEscapes, Failures) {
    for (const char *bad :
         {"{x}",     "{d '2021-01-02'", "{D '2021-01-02'}", "{fn}",        "{fnx}",
          "{ojx}",   "{callx}",         "{escape x}",       "{escape '!'", "{escape '",
          "{d x}",   "'open",           "\"open",           "{",           "{fn x",
          "{fn 'x}", "{fn \"x}",        "{fn x*",           "{fn x*)",     "{fn x*)-"}) {
        Escapes(bad, eESCAPE);
    }
    char out[8];
    EXPECT_EQ(b_convertEscapesToSQL(nullptr, out, sizeof out, nullptr), eINVNULLARG);
    EXPECT_EQ(b_convertEscapesToSQL("x", nullptr, 8, nullptr), eINVNULLARG);
    const std::string huge(65535, 'a');
    std::vector<char> big(huge.size() + 1);
    EXPECT_EQ(b_convertEscapesToSQL(huge.c_str(), big.data(), big.size(), nullptr), eRANGE);
    const std::string largest(65534, 'a');
    size_t len = 0;
    EXPECT_EQ(b_convertEscapesToSQL(largest.c_str(), big.data(), big.size(), &len), sOKAY);
    EXPECT_EQ(len, largest.size());
}

TEST(ConvertEscapes, OutputIsCutToTheRoom) {
    char out[6];
    std::memset(out, '#', sizeof out);
    size_t len = 0;
    EXPECT_EQ(b_convertEscapesToSQL("{fn now()}", out, 5, &len), sTRUNCATE);
    EXPECT_EQ(len, 4u);
    EXPECT_STREQ(out, " now");
    EXPECT_EQ(out[5], '#');
    EXPECT_EQ(b_convertEscapesToSQL("{fn now()}", out, 6, &len), sTRUNCATE);
    EXPECT_STREQ(out, " now(");
    EXPECT_EQ(b_convertEscapesToSQL("abcd", out, 5, nullptr), sOKAY);  // exactly fits
    EXPECT_STREQ(out, "abcd");
    EXPECT_EQ(b_convertEscapesToSQL("abcd", out, 0, &len), sTRUNCATE);
    EXPECT_EQ(len, 0u);
}

}  // namespace
