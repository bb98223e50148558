// convert_test.cpp - the conversion engine: the whole type matrix against a
// model of the allowed pairs, every number pair against an exact range model
// at each type's ends and one past them, number and binary text against
// glibc/Python vectors, arrays, pieces, dates with the clock read around the
// call, and value conversion under failing allocations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "bcd.h"
#include "convert.h"
#include "datetime.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_stack.h"
#include "value.h"
#include "vectors.h"

namespace {

// The rows of the engine's table, in its order.
const ZEL_TYPE kRows[ZEL_CNV_TYPES] = {
    ZEL_CHAR,      ZEL_WCHAR,       ZEL_BINARY, ZEL_BOOL,   ZEL_INT8,  ZEL_UINT8,
    ZEL_INT16,     ZEL_UINT16,      ZEL_INT32,  ZEL_UINT32, ZEL_INT64, ZEL_UINT64,
    ZEL_FLOAT,     ZEL_DOUBLE,      ZEL_BCD,    ZEL_DATE,   ZEL_TIME,  ZEL_TIMETZ,
    ZEL_TIMESTAMP, ZEL_TIMESTAMPTZ, ZEL_ROWID,  ZEL_UUID};

bool in(ZEL_TYPE t, std::initializer_list<ZEL_TYPE> l) {
    return std::find(l.begin(), l.end(), t) != l.end();
}

bool isInt(ZEL_TYPE t) {
    return in(t, {ZEL_INT8, ZEL_UINT8, ZEL_INT16, ZEL_UINT16, ZEL_INT32, ZEL_UINT32, ZEL_INT64,
                  ZEL_UINT64});
}

// The allowed destinations of each source, as the type matrix lists them
// (the wide-character row and column aside).
bool allowed(ZEL_TYPE s, ZEL_TYPE d) {
    const bool num = in(d, {ZEL_CHAR, ZEL_BINARY, ZEL_BOOL, ZEL_FLOAT, ZEL_DOUBLE}) || isInt(d);
    if (s == ZEL_CHAR) return d != ZEL_WCHAR;
    if (s == ZEL_BINARY) return (num && d != ZEL_BCD) || d == ZEL_UUID;
    if (in(s, {ZEL_BOOL, ZEL_FLOAT, ZEL_DOUBLE, ZEL_BCD})) return num || d == ZEL_BCD;
    if (s == ZEL_DATE) return in(d, {ZEL_CHAR, ZEL_DATE, ZEL_TIMESTAMP, ZEL_TIMESTAMPTZ});
    if (in(s, {ZEL_TIME, ZEL_TIMETZ}))
        return in(d, {ZEL_CHAR, ZEL_TIME, ZEL_TIMETZ, ZEL_TIMESTAMP, ZEL_TIMESTAMPTZ});
    if (in(s, {ZEL_TIMESTAMP, ZEL_TIMESTAMPTZ}))
        return in(d, {ZEL_CHAR, ZEL_DATE, ZEL_TIME, ZEL_TIMETZ, ZEL_TIMESTAMP, ZEL_TIMESTAMPTZ});
    if (s == ZEL_ROWID) return in(d, {ZEL_CHAR, ZEL_ROWID}) || isInt(d);
    if (s == ZEL_UUID) return in(d, {ZEL_CHAR, ZEL_BINARY, ZEL_UUID});
    return isInt(s) && (num || d == ZEL_BCD || d == ZEL_ROWID);
}

// Pairs some test converted; checked after all of them.
std::set<std::pair<int, int>> &exercised() {
    static std::set<std::pair<int, int>> s;
    return s;
}
void mark(ZEL_TYPE s, ZEL_TYPE d) {
    exercised().insert({s, d});
}

constexpr ZEL_DATE_FORMAT kDf = ZEL_YYYYMMDD;
constexpr ZEL_TIME_FORMAT kTf = ZEL_HHMMSSFFFF;

// Into a destination whose data memory is in place.
ZEL_RETCODE convert(const ZEL_VALUE &s, ZEL_VALUE *d, ZEL_TYPE to, size_t max = 0, int16_t tz = 0) {
    mark(s.type, to);
    return b_convertZelValue(&s, d, to, max, kDf, '-', kTf, tz, nullptr);
}
ZEL_RETCODE convertFresh(const ZEL_VALUE &s, ZEL_VALUE *d, ZEL_TYPE to) {
    zel_valueInit(d);
    return convert(s, d, to);
}
// Into a plain buffer.
ZEL_RETCODE toBuffer(const ZEL_VALUE &v, ZEL_TYPE to, void *buf, size_t size, size_t *n,
                     ZEL_DATE_FORMAT df = kDf, char sep = '-') {
    mark(v.type, to);
    return b_convertZelValueToBuffer(&v, to, df, sep, kTf, 0, buf, size, nullptr, n);
}
std::string toText(const ZEL_VALUE &v) {
    char buf[128];
    size_t n = 0;
    EXPECT_EQ(toBuffer(v, ZEL_CHAR, buf, sizeof buf, &n), sOKAY);
    EXPECT_EQ(n, std::strlen(buf) + 1);
    return buf;
}

// A frame for the piecewise functions.
CNVCB frame(const void *src, size_t srcLen, void *dst, size_t dstLen, uint32_t elems = 0) {
    CNVCB cb{};
    cb.pvSrc = src;
    cb.tSrcLen = srcLen;
    cb.uSrcNumElems = elems;
    cb.pvDst = dst;
    cb.tDstLen = dstLen;
    return cb;
}

TEST(ConvertMatrix, EveryPairIsAllowedOrRefusedAsListed) {
    for (ZEL_TYPE s : kRows) {
        for (ZEL_TYPE d : kRows) {
            if (s == ZEL_WCHAR || d == ZEL_WCHAR) continue;  // codes without functions
            CNVCODE code = 0;
            const ZEL_RETCODE rc = b_convertVerify(s, d, &code);
            EXPECT_EQ(rc, allowed(s, d) ? sOKAY : eINVCONVERT) << s << " -> " << d;
            if (rc == sOKAY) {
                EXPECT_NE(code, 0) << s << " -> " << d;
            }
        }
    }
    // Text and binary kinds fold; wide ones are refused.
    const std::tuple<ZEL_TYPE, ZEL_TYPE, ZEL_RETCODE> kinds[] = {
        {ZEL_VARCHAR, ZEL_INT32, sOKAY},       {ZEL_CLOB, ZEL_UUID, sOKAY},
        {ZEL_INT32, ZEL_WVARCHAR_UTF8, sOKAY}, {ZEL_BLOB, ZEL_UUID, sOKAY},
        {ZEL_VARBINARY, ZEL_BCD, eINVCONVERT}, {ZEL_WVARCHAR, ZEL_CHAR, eINVCONVERT},
        {ZEL_CHAR, ZEL_WCLOB, eINVCONVERT},    {ZEL_SUBQUERY, ZEL_CHAR, eINVCONVERT},
        {ZEL_WCHAR, ZEL_INT32, sOKAY}};  // the wide type has codes...
    for (auto [s, d, rc] : kinds) EXPECT_EQ(b_convertVerify(s, d, nullptr), rc) << s << " " << d;
    ZEL_VALUE s, d;
    zel_valueInit(&d);
    zel_valueInitWithStatusAndType(&s, vsOKAY, ZEL_WCHAR);
    EXPECT_EQ(convert(s, &d, ZEL_INT32), eINVCONVERT);  // ... but a conversion is refused
    EXPECT_EQ(d.type, ZEL_NOVAL);
}

// ---- Numbers: an exact model over long double and __int128.

struct NumType {
    ZEL_TYPE type;
    size_t size;
    __int128 lo, hi;  // integer range; unused for floating
    bool isSigned;
};

constexpr __int128 kU64Max = static_cast<__int128>(UINT64_MAX);
const std::vector<NumType> kNum = {
    {ZEL_BOOL, 4, 0, 1, false},
    {ZEL_INT8, 1, INT8_MIN, INT8_MAX, true},
    {ZEL_UINT8, 1, 0, UINT8_MAX, false},
    {ZEL_INT16, 2, INT16_MIN, INT16_MAX, true},
    {ZEL_UINT16, 2, 0, UINT16_MAX, false},
    {ZEL_INT32, 4, INT32_MIN, INT32_MAX, true},
    {ZEL_UINT32, 4, 0, UINT32_MAX, false},
    {ZEL_INT64, 8, INT64_MIN, INT64_MAX, true},
    {ZEL_UINT64, 8, 0, kU64Max, false},
    {ZEL_ROWID, 8, 1, kU64Max, false},
    {ZEL_FLOAT, 4, 0, 0, true},
    {ZEL_DOUBLE, 8, 0, 0, true},
};

const NumType &numType(ZEL_TYPE t) {
    for (const NumType &n : kNum)
        if (n.type == t) return n;
    return kNum[0];
}

// A source value: the exact number (or a floating one) and its record.
struct Src {
    ZEL_VALUE val;
    bool floating;
    __int128 i;
    long double f;
};

// An integer record: the low bytes of v, as the setters store them.
ZEL_VALUE intValue(ZEL_TYPE t, __int128 v) {
    ZEL_VALUE r;
    zel_valueInitWithStatusAndType(&r, vsOKAY, t);
    const uint64_t bits = t == ZEL_BOOL ? (v != 0) : static_cast<uint64_t>(v);
    std::memcpy(&r.vt, &bits, numType(t).size);
    return r;
}

__int128 readInt(const ZEL_VALUE &v, const NumType &t) {
    uint64_t u = 0;
    std::memcpy(&u, &v.vt, t.type == ZEL_BOOL ? 1 : t.size);
    const int shift = 64 - 8 * static_cast<int>(t.size);
    if (t.isSigned && shift > 0) return static_cast<int64_t>(u << shift) >> shift;
    return t.isSigned ? static_cast<__int128>(static_cast<int64_t>(u)) : u;
}

// Each type's ends, one inside them, 0, 1 and an ordinary value; floating
// sources add fractions, the ends of 2^63 and 2^64, and non-finite values.
std::vector<Src> sources(const NumType &t) {
    std::vector<Src> out;
    if (t.type != ZEL_FLOAT && t.type != ZEL_DOUBLE) {
        // 2^31 and 2^63 are the thresholds of the float and signed rules.
        for (__int128 v : {t.lo, t.hi, t.lo + 1, t.hi - 1, __int128{0}, __int128{1}, __int128{42},
                           __int128{2147483647}, __int128{2147483648}, __int128{1} << 63})
            if (v >= t.lo && v <= t.hi) out.push_back({intValue(t.type, v), false, v, 0});
        return out;
    }
    // clang-format off
    std::vector<long double> vals = {0, 1.9, -1.9, 42.5, 127.9, 128.0, -129.0, 255.0, 256.0,
        65535.5, -32768.9, 2147483647.0, 4294967296.0, 9223372036854775808.0L,
        18446744073709551616.0L, -1.0, 3e38, -3e38, 1e300, NAN, INFINITY, -INFINITY};
    // clang-format on
    if (t.type == ZEL_DOUBLE) {
        vals.push_back(18446744073709549568.0L);  // the largest double below 2^64
        vals.push_back(-9223372036854775808.0L);
        vals.push_back(-9223372036854777856.0L);  // next double below -2^63
    }
    for (long double v : vals) {
        Src s{};
        if (t.type == ZEL_FLOAT) {
            if (std::fabs(v) > FLT_MAX && std::isfinite(v)) continue;
            zel_valueSetFloat(&s.val, static_cast<float>(v));
            s.f = static_cast<float>(v);
        } else {
            zel_valueSetDouble(&s.val, static_cast<double>(v));
            s.f = static_cast<double>(v);
        }
        s.floating = true;
        out.push_back(s);
    }
    return out;
}

struct Expect {
    ZEL_RETCODE rc;
    __int128 i;
    long double f;
};

// What the engine must give for src into t.
Expect model(const NumType &from, const Src &s, const NumType &to) {
    if (to.type == ZEL_BOOL) {
        if (s.floating && !std::isfinite(s.f)) return {eRANGE, 0, 0};
        return {sOKAY, (s.floating ? s.f != 0 : s.i != 0) ? 1 : 0, 0};
    }
    if (to.type == ZEL_FLOAT || to.type == ZEL_DOUBLE) {
        const bool f32 = to.type == ZEL_FLOAT;
        if (!s.floating) {
            if (f32 && (from.type == ZEL_UINT64 || from.type == ZEL_ROWID) && s.i > 2147483647)
                return {eRANGE, 0, 0};
            const long double f = static_cast<long double>(s.i);
            return {sOKAY, 0, f32 ? (float)f : (double)f};
        }
        if (f32 && std::isfinite(s.f) && std::fabs(s.f) > FLT_MAX) return {eRANGE, 0, 0};
        return {sOKAY, 0, f32 ? (float)s.f : (double)s.f};
    }
    __int128 v = s.i;
    if (s.floating) {
        if (!std::isfinite(s.f)) return {eRANGE, 0, 0};
        const long double t = std::trunc(s.f);
        if (t >= 18446744073709551616.0L || t < -9223372036854775808.0L) return {eRANGE, 0, 0};
        if (t >= 9223372036854775808.0L && to.type != ZEL_UINT64) return {eRANGE, 0, 0};
        v = static_cast<__int128>(t);
    }
    if (v < to.lo || v > to.hi) return {eRANGE, 0, 0};
    return {sOKAY, v, 0};
}

TEST(ConvertNumbers, EveryNumberPairMatchesTheRangeModelAtTheEnds) {
    for (const NumType &from : kNum) {
        for (const Src &s : sources(from)) {
            for (const NumType &to : kNum) {
                if (!allowed(from.type, to.type)) continue;
                ZEL_VALUE d;
                const ZEL_RETCODE rc = convertFresh(s.val, &d, to.type);
                const Expect e = model(from, s, to);
                const std::string what =
                    std::to_string(from.type) + " -> " + std::to_string(to.type) + " of " +
                    (s.floating ? std::to_string((double)s.f) : std::to_string((long long)s.i));
                ASSERT_EQ(rc, e.rc) << what;
                if (rc != sOKAY) {
                    EXPECT_EQ(d.type, ZEL_NOVAL) << "header untouched on failure: " << what;
                    continue;
                }
                EXPECT_EQ(d.type, to.type);
                const long double got = to.type == ZEL_FLOAT    ? d.vt.fv
                                        : to.type == ZEL_DOUBLE ? d.vt.dv
                                                                : 0;
                if (std::isnan(e.f)) {
                    EXPECT_TRUE(std::isnan(got)) << what;
                } else if (to.type == ZEL_FLOAT || to.type == ZEL_DOUBLE) {
                    EXPECT_EQ(got, e.f) << what;
                } else {
                    EXPECT_TRUE(readInt(d, to) == e.i) << what;
                }
            }
        }
    }
}

ZEL_BCD_T bcdOf(const char *text) {
    ZEL_BCD_T b;
    EXPECT_EQ(zel_bcdFromString(text, &b), sOKAY) << text;
    return b;
}

std::string bcdText(const ZEL_BCD_T *b) {
    char buf[80];
    EXPECT_EQ(zel_bcdToString(b, ZEL_FALSE, buf, sizeof buf, nullptr), sOKAY);
    return buf;
}

ZEL_VALUE bcdValue(const ZEL_BCD_T *b) {
    ZEL_VALUE v;
    zel_valueInit(&v);
    EXPECT_EQ(zel_valueSetBCD(&v, b), sOKAY);
    return v;
}

TEST(ConvertDecimal, IntoAndOutOfDecimals) {
    ZEL_BCD_T out{};
    ZEL_VALUE s, d;
    auto intoDecimal = [&](const ZEL_VALUE &v) {
        zel_valueInit(&d);
        d.vt.bcd = &out;
        return convert(v, &d, ZEL_BCD, 37);
    };
    // Every integer type's ends into a decimal, checked as text.
    for (const NumType &t : kNum) {
        if (t.type == ZEL_FLOAT || t.type == ZEL_DOUBLE || t.type == ZEL_ROWID) continue;
        for (__int128 v : {t.lo, t.hi}) {
            ASSERT_EQ(intoDecimal(intValue(t.type, v)), sOKAY);
            EXPECT_EQ(bcdText(&out),
                      v < 0 ? "-" + std::to_string((unsigned long long)(-(v + 1)) + 1ULL)
                            : std::to_string((unsigned long long)v));
        }
    }
    for (auto [dv, f32, text] : {std::tuple{42.5, true, "42.5"},
                                 {-42.25, false, "-42.25"},
                                 {INFINITY, true, ""},
                                 {INFINITY, false, ""}}) {
        f32 ? zel_valueSetFloat(&s, static_cast<float>(dv)) : zel_valueSetDouble(&s, dv);
        ASSERT_EQ(intoDecimal(s), *text != '\0' ? sOKAY : eRANGE) << dv;
        EXPECT_EQ(*text != '\0' ? bcdText(&out) : "", text);
    }
    // Out of a decimal: the fraction is cut silently, the range is tested;
    // {decimal, into, code, the result as text}.
    // clang-format off
    const std::tuple<const char *, ZEL_TYPE, ZEL_RETCODE, const char *> outOf[] = {
        {"-129.9", ZEL_INT8, eRANGE, ""},            {"-129.9", ZEL_INT16, sOKAY, "-129"},
        {"-129.9", ZEL_UINT64, eRANGE, ""},          {"-129.9", ZEL_DOUBLE, sOKAY, "-129.9"},
        {"-129.9", ZEL_BOOL, sOKAY, "1"},            {"0", ZEL_BOOL, sOKAY, "0"},
        {"127", ZEL_INT8, sOKAY, "127"},             {"255.5", ZEL_UINT8, sOKAY, "255"},
        {"-32768", ZEL_INT16, sOKAY, "-32768"},      {"65535", ZEL_UINT16, sOKAY, "65535"},
        {"-2147483648", ZEL_INT32, sOKAY, "-2147483648"},
        {"4294967295", ZEL_UINT32, sOKAY, "4294967295"},
        {"9223372036854775807", ZEL_INT64, sOKAY, "9223372036854775807"},
        {"18446744073709551615", ZEL_UINT64, sOKAY, "18446744073709551615"},
        {"0.5", ZEL_FLOAT, sOKAY, "0.5"},            {"128", ZEL_INT8, eRANGE, ""},
        {"256", ZEL_UINT8, eRANGE, ""},              {"-32769", ZEL_INT16, eRANGE, ""},
        {"65536", ZEL_UINT16, eRANGE, ""},           {"2147483648", ZEL_INT32, eRANGE, ""},
        {"4294967296", ZEL_UINT32, eRANGE, ""},      {"9223372036854775808", ZEL_INT64, eRANGE, ""},
        {"18446744073709551616", ZEL_UINT64, eRANGE, ""}};
    // clang-format on
    ZEL_BCD_T b;
    for (auto [text, type, rc, want] : outOf) {
        b = bcdOf(text);
        ASSERT_EQ(convertFresh(bcdValue(&b), &d, type), rc) << text << " " << type;
        EXPECT_EQ(rc == sOKAY ? toText(d) : "", want) << text << " " << type;
    }
    b = bcdOf("-129.9");
    ASSERT_EQ(convertFresh(bcdValue(&b), &d, ZEL_DOUBLE), sOKAY);
    EXPECT_EQ(d.vt.dv, -129.9);
    // Decimal to decimal: the 37 bytes.
    ASSERT_EQ(intoDecimal(bcdValue(&b)), sOKAY);
    EXPECT_EQ(std::memcmp(&out, &b, 37), 0);
}

TEST(ConvertDecimal, PackedSources) {
    ZEL_BCD_T b = bcdOf("-1234.5");
    ZEL_PACKED_BCD_T packed[8] = {};
    ASSERT_EQ(zel_bcdPack(&b, packed, 7, 1), sOKAY);
    int32_t i32 = 0;
    uint16_t u16 = 0;
    ZEL_BCD_T out{};
    CNVCB cb = frame(packed, 0, &i32, 4);
    cb.prec = 7;
    cb.scale = 1;
    EXPECT_EQ(cnv_packedDecimalToInt32(&cb), sOKAY);
    EXPECT_EQ(i32, -1234);
    cb.pvDst = &u16;
    EXPECT_EQ(cnv_packedDecimalToUInt16(&cb), eRANGE);
    cb.pvDst = &out;
    cb.tDstLen = 36;
    EXPECT_EQ(cnv_packedDecimalToDecimal(&cb), eDATALOST);
    cb.tDstLen = 37;
    ASSERT_EQ(cnv_packedDecimalToDecimal(&cb), sOKAY);
    EXPECT_EQ(bcdText(&out), "-1234.5");
    packed[1] = 0xAA;  // digit nibbles above 9
    cb.pvDst = &i32;
    EXPECT_EQ(cnv_packedDecimalToInt32(&cb), eINVBCD);
}

// ---- Text out, against the generated vectors.

TEST(ConvertText, NumbersAndBytesMatchTheOracle) {
    const char *const ints[] = {"int8",  "uint8",  "int16", "uint16",
                                "int32", "uint32", "int64", "uint64"};
    const ZEL_TYPE intTypes[] = {ZEL_INT8,  ZEL_UINT8,  ZEL_INT16, ZEL_UINT16,
                                 ZEL_INT32, ZEL_UINT32, ZEL_INT64, ZEL_UINT64};
    const auto rows = vectors_read("good-convert-numtext.txt", '\t');
    for (const VectorRow &row : rows) {
        const std::string &kind = row[0], &input = row[1], &want = row[2];
        ZEL_VALUE v;
        zel_valueInit(&v);
        const std::string bytes = vectors_unhex(input);
        if (kind == "double" || kind == "float") {
            const uint64_t bits = std::stoull(input, nullptr, 16);
            kind == "double" ? zel_valueSetDouble(&v, 0) : zel_valueSetFloat(&v, 0);
            std::memcpy(&v.vt, &bits, kind == "double" ? 8 : 4);
        } else if (kind == "binary") {
            ASSERT_EQ(zel_valueSetBinary(&v, bytes.data(), bytes.size()), sOKAY);
        } else {
            const size_t k = std::find(std::begin(ints), std::end(ints), kind) - std::begin(ints);
            ASSERT_LT(k, 8u) << kind;
            v = intValue(intTypes[k], kind[0] == 'u' ? (__int128)std::stoull(input)
                                                     : (__int128)std::stoll(input));
        }
        EXPECT_EQ(toText(v), want) << kind << " " << input;
    }
    EXPECT_GT(rows.size(), 250u);
}

TEST(ConvertText, ScalarsOfEveryOtherSource) {
    ZEL_VALUE v;  // floating values: the oracle's vectors
    zel_valueSetBoolean(&v, ZEL_TRUE);
    EXPECT_EQ(toText(v), "1");
    zel_valueSetRowId(&v, UINT64_MAX);
    EXPECT_EQ(toText(v), "18446744073709551615");
    ZEL_BCD_T b = bcdOf("-0.000123");
    EXPECT_EQ(toText(bcdValue(&b)), bcdText(&b));
    ZEL_UUID_T u;
    for (int i = 0; i < 16; ++i) reinterpret_cast<uint8_t *>(&u)[i] = static_cast<uint8_t>(i * 17);
    ASSERT_EQ(zel_valueSetUuid(&v, &u), sOKAY);
    EXPECT_EQ(toText(v), "00112233-4455-6677-8899-aabbccddeeff");
    // Too short: nothing but the terminator, and the size that was needed.
    char small[4];
    size_t n = 0;
    zel_valueSetInt32(&v, -12345);
    EXPECT_EQ(toBuffer(v, ZEL_CHAR, small, sizeof small, &n), sTRUNCATE);
    EXPECT_STREQ(small, "");
    EXPECT_EQ(toBuffer(v, ZEL_CHAR, nullptr, 0, &n), sOKAY);
    EXPECT_EQ(n, 7u);
}

TEST(ConvertText, ArraysKeepWholeElementsAndCloseTheBracket) {
    int32_t elems[3] = {1, 2, 3};
    ZEL_VALUE v, d;
    zel_valueSetInt32(&v, 0);
    v.elts = 3;
    v.vt.i32a = elems;
    char buf[32];
    size_t n = 0;
    ASSERT_EQ(toBuffer(v, ZEL_CHAR, buf, sizeof buf, &n), sOKAY);
    EXPECT_STREQ(buf, "ARRAY[1,2,3]");
    EXPECT_EQ(n, 13u);
    // "ARRAY[1,2]" and its terminator take 11 bytes; the third element needs 13.
    ASSERT_EQ(toBuffer(v, ZEL_CHAR, buf, 12, &n), sTRUNCATE);
    EXPECT_STREQ(buf, "ARRAY[1,2]");
    EXPECT_EQ(n, 11u);
    double dv[2] = {NAN, -INFINITY};
    zel_valueSetDouble(&v, 0);
    v.elts = 2;
    v.vt.da = dv;
    EXPECT_EQ(toText(v), "ARRAY[NAN,-INF]");
    // Through a value, a number array goes element by element and a text
    // destination is refused.
    EXPECT_EQ(convertFresh(v, &d, ZEL_CHAR), eINVCONVERT);
}

TEST(ConvertText, TimestampLosesItsFractionButNothingMore) {
    ZEL_TIMESTAMP_T c{2021, 1, 31, 12, 34, 56, 7890};
    ZEL_PACKED_TIMESTAMP_T ts{};
    ASSERT_EQ(zel_timestampPack(&c, &ts), sOKAY);
    ZEL_VALUE v;
    zel_valueSetTimestamp(&v, ts);
    char buf[32];
    size_t n = 0;
    // {room, code, text}; "" when the text is not looked at.
    const std::tuple<size_t, ZEL_RETCODE, const char *> rooms[] = {
        {32, sOKAY, "2021-01-31 12:34:56.7890"},
        {20, sTRUNCATE, "2021-01-31 12:34:56"},
        {21, sTRUNCATE, "2021-01-31 12:34:56"},  // no lone point at the end
        {23, sTRUNCATE, "2021-01-31 12:34:56.78"},
        {10, eDATALOST, ""},
        {19, eDATALOST, ""}};
    for (auto [room, rc, text] : rooms) {
        std::memset(buf, 'x', sizeof buf);
        ASSERT_EQ(toBuffer(v, ZEL_CHAR, buf, room, &n), rc) << room;
        if (*text != '\0') {
            EXPECT_STREQ(buf, text);
        }
    }
    zel_valueSetDate(&v, ts.date);
    ASSERT_EQ(toBuffer(v, ZEL_CHAR, buf, 11, &n, ZEL_DDMMYYYY, '.'), sOKAY);
    EXPECT_STREQ(buf, "31.01.2021");
    EXPECT_EQ(toBuffer(v, ZEL_CHAR, buf, 10, &n), eDATALOST);
}

// ---- Binary sources.

TEST(ConvertBinary, HexTextByPiecesAndRawBytes) {
    const uint8_t two[2] = {1, 171};
    ZEL_VALUE v, d;
    zel_valueInit(&v);
    ASSERT_EQ(zel_valueSetBinary(&v, two, 2), sOKAY);
    EXPECT_EQ(toText(v), "0x01AB");
    // By pieces: room for one byte at a time, then sNODATA.
    char buf[6];  // (7 would take both)
    CNVCB cb = frame(two, 2, buf, sizeof buf);
    EXPECT_EQ(cnv_binaryToString(&cb), sTRUNCATE);
    EXPECT_STREQ(buf, "0x01");
    EXPECT_EQ(cnv_binaryToString(&cb), sOKAY);
    EXPECT_STREQ(buf, "0xAB");
    EXPECT_EQ(cnv_binaryToString(&cb), sNODATA);
    // Binary to a number copies raw bytes into a cleared destination.
    for (const NumType &t : kNum) {
        if (t.type == ZEL_ROWID) continue;
        const ZEL_RETCODE rc = convertFresh(v, &d, t.type);
        EXPECT_EQ(rc, t.size >= 2 && t.type != ZEL_BOOL ? sOKAY : eDATALOST) << t.type;
        if (rc == sOKAY) {
            EXPECT_EQ(readInt(d, numType(ZEL_UINT16)), 1 + 171 * 256) << t.type;
        }
    }
    ASSERT_EQ(zel_valueSetBinary(&v, two + 1, 1), sOKAY);
    ASSERT_EQ(convertFresh(v, &d, ZEL_BOOL), sOKAY);
    EXPECT_EQ(d.vt.u8v, 1);
    // Binary to binary by pieces.
    uint8_t out[1];
    cb = frame(two, 2, out, 1);
    EXPECT_EQ(cnv_memcpyTrunc(&cb), sTRUNCATE);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(cnv_memcpyTrunc(&cb), sOKAY);
    EXPECT_EQ(out[0], 171);
    EXPECT_EQ(cnv_memcpyTrunc(&cb), sNODATA);
    mark(ZEL_BINARY, ZEL_BINARY);
}

TEST(ConvertBinary, UuidsNeedSixteenBytes) {
    uint8_t bytes[17];
    for (int i = 0; i < 17; ++i) bytes[i] = static_cast<uint8_t>(i);
    ZEL_UUID_T u{}, u2{};
    ZEL_VALUE v, s, d;
    zel_valueInit(&v);
    zel_valueInit(&d);
    d.vt.uuid = &u;
    for (auto [len, rc] : {std::pair{15, eRANGE}, {17, sTRUNCATE}, {0, eRANGE}}) {
        ASSERT_EQ(zel_valueSetBinary(&v, bytes, len), sOKAY);
        EXPECT_EQ(convert(v, &d, ZEL_UUID, 16), rc) << len;
        if (rc == sTRUNCATE) {
            EXPECT_EQ(std::memcmp(&u, bytes, 16), 0);
        }
    }
    // UUID to binary asks for 17 bytes of room, though it writes 16.
    zel_valueInit(&s);
    ASSERT_EQ(zel_valueSetUuid(&s, &u), sOKAY);
    uint8_t out[17] = {};
    size_t n = 0;
    EXPECT_EQ(toBuffer(s, ZEL_BINARY, out, 16, &n), eDATALOST);
    EXPECT_EQ(toBuffer(s, ZEL_BINARY, out, 17, &n), sOKAY);
    EXPECT_EQ(n, 16u);
    EXPECT_EQ(std::memcmp(out, bytes, 16), 0);
    zel_valueInit(&d);
    d.vt.uuid = &u2;
    ASSERT_EQ(convert(s, &d, ZEL_UUID, 16), sOKAY);
    EXPECT_EQ(std::memcmp(&u2, bytes, 16), 0);
}

TEST(ConvertBinary, NumbersToBinaryAreTheirNativeBytes) {
    uint8_t out[64];
    size_t n = 0;
    for (const NumType &t : kNum) {
        for (const Src &s : sources(t)) {
            ASSERT_EQ(toBuffer(s.val, ZEL_BINARY, out, sizeof out, &n),
                      t.type == ZEL_ROWID ? eINVCONVERT : sOKAY);
            if (t.type == ZEL_ROWID) continue;
            EXPECT_EQ(n, t.type == ZEL_BOOL ? 1 : t.size);
            EXPECT_EQ(std::memcmp(out, &s.val.vt, n), 0);
        }
    }
    ZEL_BCD_T b = bcdOf("3.25");
    ASSERT_EQ(toBuffer(bcdValue(&b), ZEL_BINARY, out, 37, &n), sOKAY);
    EXPECT_EQ(std::memcmp(out, &b, 37), 0);
}

// ---- Dates and times, with the clock read around the call.

// The bytes of a date record that hold its fields, padding left out.
size_t significant(const ZEL_PACKED_TIMETZ_T &) {
    return offsetof(ZEL_PACKED_TIMETZ_T, tz) + sizeof(int16_t);
}
size_t significant(const ZEL_PACKED_TIMESTAMPTZ_T &) {
    return offsetof(ZEL_PACKED_TIMESTAMPTZ_T, tz) + sizeof(int16_t);
}
template <class T>
size_t significant(const T &) {
    return sizeof(T);
}

ZEL_PACKED_TIME_T timeOf(int h, int m, int s, int f) {
    ZEL_TIME_T c{(uint16_t)h, (uint16_t)m, (uint16_t)s, (uint16_t)f};
    ZEL_PACKED_TIME_T t = 0;
    EXPECT_EQ(zel_timePack(&c, &t), sOKAY);
    return t;
}

TEST(ConvertDates, EveryDatePairWithTheClockAround) {
    ZEL_DATE_T cd{2021, 1, 31};
    ZEL_PACKED_DATE_T date = 0;
    ASSERT_EQ(zel_datePack(&cd, &date), sOKAY);
    const ZEL_PACKED_TIME_T time = timeOf(23, 30, 0, 5), t0030 = timeOf(0, 30, 0, 5);
    const int16_t tz = 60;
    ZEL_VALUE s, d;
    ZEL_PACKED_TIMESTAMPTZ_T tstz{};
    auto conv = [&](ZEL_TYPE to) {
        zel_valueInit(&d);
        if (to == ZEL_TIMESTAMPTZ) d.vt.tszv = &tstz;
        return convert(s, &d, to, to == ZEL_TIMESTAMPTZ ? sizeof tstz : 0, tz);
    };
    // The destination's bytes after a successful conversion.
    auto expectInto = [&](ZEL_TYPE to, const auto &want) {
        ASSERT_EQ(conv(to), sOKAY) << s.type << " -> " << to;
        const void *got = to == ZEL_TIMESTAMPTZ ? static_cast<const void *>(&tstz) : &d.vt;
        EXPECT_EQ(std::memcmp(got, &want, significant(want)), 0) << s.type << " -> " << to;
    };
    auto within = [](uint32_t before, uint32_t v, uint32_t after) {
        return before <= after ? before <= v && v <= after : v >= before || v <= after;
    };
    // A date takes the time of day now: local in tz_disp, or UTC with a zone.
    zel_valueSetDate(&s, date);
    ZEL_PACKED_TIME_T t0 = 0, t1 = 0;
    ASSERT_EQ(zel_timeNow(tz, &t0), sOKAY);
    ASSERT_EQ(conv(ZEL_TIMESTAMP), sOKAY);
    ASSERT_EQ(zel_timeNow(tz, &t1), sOKAY);
    EXPECT_EQ(d.vt.tsv.date, date);
    EXPECT_TRUE(within(t0, d.vt.tsv.time, t1));
    ASSERT_EQ(zel_timeNow(0, &t0), sOKAY);
    ASSERT_EQ(conv(ZEL_TIMESTAMPTZ), sOKAY);
    ASSERT_EQ(zel_timeNow(0, &t1), sOKAY);
    EXPECT_EQ(tstz.date, date);
    EXPECT_EQ(tstz.tz, tz);
    EXPECT_TRUE(within(t0, tstz.time, t1));
    expectInto(ZEL_DATE, date);
    // A time takes today's date in tz_disp.
    zel_valueSetTime(&s, time);
    ZEL_PACKED_DATE_T d0 = 0, d1 = 0;
    ASSERT_EQ(zel_dateToday(tz, &d0), sOKAY);
    ASSERT_EQ(conv(ZEL_TIMESTAMP), sOKAY);
    ASSERT_EQ(zel_dateToday(tz, &d1), sOKAY);
    EXPECT_TRUE(d.vt.tsv.date == d0 || d.vt.tsv.date == d1);
    EXPECT_EQ(d.vt.tsv.time, time);
    ASSERT_EQ(conv(ZEL_TIMESTAMPTZ), sOKAY);
    EXPECT_EQ(tstz.time, time);
    EXPECT_EQ(tstz.tz, tz);
    expectInto(ZEL_TIMETZ, ZEL_PACKED_TIMETZ_T{time, 0});
    expectInto(ZEL_TIME, time);
    // A time with zone holds UTC; as a time it is shown in its own zone.
    zel_valueSetTimeTZ(&s, ZEL_PACKED_TIMETZ_T{time, 60});
    expectInto(ZEL_TIME, t0030);
    ASSERT_EQ(conv(ZEL_TIMESTAMPTZ), sOKAY);
    EXPECT_EQ(tstz.time, time);
    EXPECT_EQ(tstz.tz, 60);
    ASSERT_EQ(conv(ZEL_TIMESTAMP), sOKAY);
    EXPECT_EQ(d.vt.tsv.time, t0030);
    expectInto(ZEL_TIMETZ, ZEL_PACKED_TIMETZ_T{time, 60});
    zel_valueSetTimeTZ(&s, ZEL_PACKED_TIMETZ_T{time, 900});
    EXPECT_EQ(conv(ZEL_TIMESTAMPTZ), eBASE_INVTIMEZONE);
    // Timestamps: the words, or the instant in its own zone.
    zel_valueSetTimestamp(&s, ZEL_PACKED_TIMESTAMP_T{date, time});
    expectInto(ZEL_DATE, date);
    expectInto(ZEL_TIME, time);
    expectInto(ZEL_TIMETZ, ZEL_PACKED_TIMETZ_T{time, 0});
    expectInto(ZEL_TIMESTAMPTZ, ZEL_PACKED_TIMESTAMPTZ_T{date, time, 0});
    expectInto(ZEL_TIMESTAMP, ZEL_PACKED_TIMESTAMP_T{date, time});
    const ZEL_PACKED_TIMESTAMPTZ_T src{date, time, 60};
    zel_valueInit(&s);
    ASSERT_EQ(zel_valueSetTimestampTZ(&s, &src), sOKAY);
    // 23:30 UTC is 00:30 the next day at +01:00.
    expectInto(ZEL_TIMESTAMP, ZEL_PACKED_TIMESTAMP_T{date + 1, t0030});
    expectInto(ZEL_DATE, date + 1);
    expectInto(ZEL_TIME, t0030);
    expectInto(ZEL_TIMETZ, ZEL_PACKED_TIMETZ_T{time, 60});
    expectInto(ZEL_TIMESTAMPTZ, src);
    // Every source to text.
    for (int k = 0; k < 3; ++k) {
        k == 0   ? zel_valueSetTime(&s, time)
        : k == 1 ? zel_valueSetTimeTZ(&s, ZEL_PACKED_TIMETZ_T{time, 0})
                 : (void)zel_valueSetTimestampTZ(&s, &src);
        EXPECT_NE(toText(s).find("30:00.0005"), std::string::npos) << toText(s);
    }
    // A destination too short for a date value.
    zel_valueSetTimestamp(&s, ZEL_PACKED_TIMESTAMP_T{date, time});
    uint8_t small[4];
    size_t n = 0;
    EXPECT_EQ(toBuffer(s, ZEL_TIMESTAMP, small, 4, &n), eDATALOST);
    EXPECT_EQ(toBuffer(s, ZEL_DATE, small, 3, &n), eDATALOST);
}

// ---- Arrays and pieces.

class ConvertValue : public TaggedTest {};

TEST_F(ConvertValue, ArraysElementByElementWithFailuresSkipped) {
    int32_t elems[4] = {1, 300, -2, 7};
    ZEL_VALUE s, d;
    zel_valueSetInt32(&s, 0);
    s.elts = 4;
    s.vt.i32a = elems;
    auto array = [&](ZEL_TYPE to) {
        zel_valueInit(&d);
        return b_convertZelArray(&s, &d, to, sub);
    };
    auto text = [&](const ZEL_VALUE &v, int width, int precision) {
        char *t = nullptr;
        EXPECT_EQ(b_convertArrayToString(&v, &t, width, precision, sub), sOKAY);
        const std::string out = t != nullptr ? t : "";
        b_tag_subFree(sub, t);
        return out;
    };
    // The last element converts, so the code is sOKAY; 300 is skipped.
    zel_valueInit(&d);
    ASSERT_EQ(b_convertZelValue(&s, &d, ZEL_INT8, 0, kDf, '-', kTf, 0, sub), sOKAY);
    EXPECT_EQ(d.type, ZEL_INT8);
    EXPECT_EQ(d.elts, 4u);
    EXPECT_EQ(std::vector<int8_t>(d.vt.i8a, d.vt.i8a + 4), (std::vector<int8_t>{1, 0, -2, 7}));
    zel_valueFree(&d, sub);
    EXPECT_EQ(array(ZEL_UINT8), sOKAY);  // the code of the last element alone
    EXPECT_EQ(d.vt.u8a[2], 0);
    zel_valueFree(&d, sub);
    elems[3] = -1;
    EXPECT_EQ(array(ZEL_UINT8), eRANGE);
    zel_valueFree(&d, sub);
    // Booleans keep 32 bits an element.
    ASSERT_EQ(array(ZEL_BOOL), sOKAY);
    EXPECT_EQ(d.vt.ba[1], ZEL_TRUE);
    EXPECT_EQ(text(d, 0, 0), "ARRAY[true,true,true,true]");
    zel_valueFree(&d, sub);
    EXPECT_EQ(array(ZEL_CHAR), eINVCONVERT);
    // Floats as display text.
    ASSERT_EQ(array(ZEL_DOUBLE), sOKAY);
    EXPECT_EQ(text(d, 0, 2), "ARRAY[1.00,300.00,-2.00,-1.00]");
    EXPECT_EQ(text(d, 6, 1), "ARRAY[   1.0, 300.0,  -2.0,  -1.0]");
    zel_valueFree(&d, sub);
    EXPECT_EQ(text(s, 0, 0), "ARRAY[1,300,-2,-1]");
    EXPECT_EQ(b_convertArrayToString(&s, nullptr, 0, 0, sub), eINVCONVERT);
}

TEST(ConvertPieces, TheFrameCutsAtTheRoomThereIs) {
    int16_t in[3] = {1, -1, 2};
    uint16_t out[3] = {9, 9, 9};
    CNVCB cb = frame(in, 0, nullptr, 0, 3);
    EXPECT_EQ(cnv_int16ToUInt16Trunc(&cb), sOKAY);  // size only
    EXPECT_EQ(cb.tSize, 6u);
    cb.pvDst = out;
    cb.tDstLen = 6;
    EXPECT_EQ(cnv_int16ToUInt16Trunc(&cb), eRANGE);  // stops at -1, keeps what came before
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[1], 9);
    in[1] = 5;
    cb.tDstLen = 4;
    EXPECT_EQ(cnv_int16ToUInt16Trunc(&cb), sTRUNCATE);
    EXPECT_EQ(cb.tSize, 4u);
    EXPECT_EQ(out[1], 5);
    EXPECT_EQ(out[2], 9);
}

TEST(ConvertPieces, TextCopiesByPieces) {
    const char src[] = "abcdef";
    char buf[4];
    CNVCB cb = frame(src, sizeof src, nullptr, 0);
    EXPECT_EQ(cnv_strcpyTrunc(&cb), sOKAY);
    EXPECT_EQ(cb.tSize, 7u);
    cb.pvDst = buf;
    cb.tDstLen = 4;
    EXPECT_EQ(cnv_strcpyTrunc(&cb), sTRUNCATE);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(cb.tSize, 4u);
    EXPECT_EQ(cnv_strcpyTrunc(&cb), sOKAY);  // "def" and the terminator just fit
    EXPECT_STREQ(buf, "def");
    EXPECT_EQ(cnv_strcpyTrunc(&cb), sNODATA);
    // A one-character column holds no terminator.
    cb.offset = 0;
    cb.tDstLen = 1;
    buf[1] = 'z';
    EXPECT_EQ(cnv_strcpyTrunc(&cb), sOKAY);
    EXPECT_EQ(buf[0], 'a');
    EXPECT_EQ(buf[1], 'z');
}

TEST(ConvertValidate, NonFiniteKinds) {
    ZEL_FP_TYPE k = ZEL_FP_POSITIVE_NAN;
    EXPECT_TRUE(b_validateDouble(1.0, &k));
    EXPECT_FALSE(b_validateDouble(-INFINITY, &k));
    EXPECT_EQ(k, ZEL_FP_NEGATIVE_INF);
    EXPECT_FALSE(b_validateFloat(INFINITY, &k));
    EXPECT_EQ(k, ZEL_FP_POSITIVE_INF);
    EXPECT_FALSE(b_validateDouble(-NAN, &k));
    EXPECT_EQ(k, ZEL_FP_NEGATIVE_NAN);
    EXPECT_FALSE(b_validateFloat(NAN, nullptr));
}

// ---- Values: sizing, allocation, copies, and nothing left behind.

ZEL_RETCODE valueConvert(ZEL_VALUE *d, const ZEL_VALUE &s, ZEL_TYPE to, B_TAG_SUB sub,
                         size_t max = 0) {
    mark(s.type, to);
    return zel_valueConvert(d, &s, to, max, kDf, '-', kTf, 0, sub);
}

TEST_F(ConvertValue, SizesAndAllocatesTheDestination) {
    ZEL_VALUE s, d;
    zel_valueSetInt64(&s, -1234567890123);
    ASSERT_EQ(valueConvert(&d, s, ZEL_VARCHAR, sub), sOKAY);
    EXPECT_EQ(d.type, ZEL_VARCHAR);
    EXPECT_STREQ(d.vt.cv, "-1234567890123");
    EXPECT_EQ(d.len, 15u);
    zel_valueFree(&d, sub);
    ASSERT_EQ(valueConvert(&d, s, ZEL_BCD, sub), sOKAY);
    EXPECT_EQ(bcdText(d.vt.bcd), "-1234567890123");
    EXPECT_EQ(d.len, 37u);
    zel_valueFree(&d, sub);
    ASSERT_EQ(valueConvert(&d, s, ZEL_BINARY, sub), sOKAY);
    EXPECT_EQ(d.len, 8u);
    EXPECT_EQ(std::memcmp(d.vt.pv, &s.vt, 8), 0);
    zel_valueFree(&d, sub);
    // A failure leaves nothing allocated and the destination untouched.
    zel_valueSetInt32(&d, 77);
    zel_valueSetDouble(&s, INFINITY);
    EXPECT_EQ(valueConvert(&d, s, ZEL_BCD, sub), eRANGE);
    EXPECT_EQ(d.vt.i32v, 77);
    // A time stamp with zone gets its 12 bytes.
    zel_valueSetTimestamp(&s, ZEL_PACKED_TIMESTAMP_T{738000, 36000000});
    ASSERT_EQ(valueConvert(&d, s, ZEL_TIMESTAMPTZ, sub), sOKAY);
    EXPECT_EQ(d.vt.tszv->date, 738000u);
    EXPECT_EQ(d.vt.tszv->tz, 0);
    b_tag_subFree(sub, d.vt.tszv);
    // Binary to text sizes for the hex form.
    const uint8_t bytes[3] = {0xDE, 0xAD, 0x01};
    ASSERT_EQ(
        zel_valueConvertFromBuffer(&d, ZEL_CHAR, 0, bytes, ZEL_BINARY, 3, kDf, '-', kTf, 0, sub),
        sOKAY);
    EXPECT_STREQ(d.vt.cv, "0xDEAD01");
    EXPECT_EQ(d.status, vsOKAY);
    zel_valueFree(&d, sub);
    EXPECT_EQ(zel_valueConvertFromBuffer(nullptr, ZEL_CHAR, 0, bytes, ZEL_BINARY, 3, kDf, '-', kTf,
                                         0, sub),
              eINVNULLARG);
    EXPECT_EQ(
        zel_valueConvertFromBuffer(&d, ZEL_CHAR, 0, nullptr, ZEL_BINARY, 3, kDf, '-', kTf, 0, sub),
        eINVNULLARG);
}

TEST_F(ConvertValue, CopiesWhatNeedsNoConversion) {
    ZEL_VALUE s, d, q;
    zel_valueInit(&s);
    ASSERT_EQ(zel_valueSetString(&s, "7"), sOKAY);
    // One byte of text into a byte: its number.
    ASSERT_EQ(valueConvert(&d, s, ZEL_INT8, sub), sOKAY);
    EXPECT_EQ(d.type, ZEL_INT8);
    EXPECT_EQ(d.vt.i8v, 55);
    // Narrow and UTF-8 text are the same bytes: a copy that keeps its type.
    ASSERT_EQ(valueConvert(&d, s, ZEL_WVARCHAR_UTF8, sub), sOKAY);
    EXPECT_EQ(d.type, ZEL_CHAR);
    EXPECT_STREQ(d.vt.cv, "7");
    EXPECT_NE(d.vt.cv, s.vt.cv);
    zel_valueFree(&d, sub);
    zel_valueSetNull(&s);
    ASSERT_EQ(valueConvert(&d, s, ZEL_INT32, sub), sOKAY);
    EXPECT_EQ(d.status, vsNULL);
    EXPECT_EQ(d.type, ZEL_CHAR);
    // A subquery marker stops before any conversion: no value yet.
    zel_valueInitWithStatusAndType(&q, vsOKAY, ZEL_SUBQUERY);
    ASSERT_EQ(valueConvert(&d, q, ZEL_INT32, sub), sOKAY);
    EXPECT_EQ(d.status, vsNOVAL);
    EXPECT_EQ(zel_valueConvert(nullptr, &q, ZEL_INT32, 0, kDf, '-', kTf, 0, sub), eINVNULLARG);
}

// A record source and the same value as a plain buffer.
struct ConvertCase {
    ZEL_VALUE src;
    const void *buf;
    size_t bufLen;
    ZEL_TYPE to;
};

// Every way into a new value, through a sub tag and a stack tag, over pairs
// that size, allocate and convert (text, decimals, UUIDs, binary, zoned time
// stamps, copies), with allocation 1, 2, 3, ... failing: eNOMEMORY with the
// destination untouched, or what the run without faults gave.
TEST_F(ConvertValue, EveryFormUnderFailingAllocations) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    static const int64_t i64 = -1234567890123;
    static const double dbl = -0.125;
    static const uint16_t u16 = 65535;
    static const uint8_t bytes[3] = {0xDE, 0xAD, 0x01};
    static const ZEL_BCD_T dec = bcdOf("-12.345");
    static const ZEL_UUID_T uuid = {0x00112233, 0x4455, 0x6677,
                                    0x88,       0x99,   {0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff}};
    static const ZEL_PACKED_TIMESTAMP_T ts{738000, 36000000};
    std::vector<ConvertCase> cases;
    auto add = [&](auto set, const void *buf, size_t len, ZEL_TYPE to) {
        ZEL_VALUE v;
        zel_valueInit(&v);
        set(&v);
        cases.push_back({v, buf, len, to});
    };
    for (ZEL_TYPE to : {ZEL_VARCHAR, ZEL_BCD, ZEL_BINARY})
        add([](ZEL_VALUE *v) { zel_valueSetInt64(v, i64); }, &i64, 8, to);
    add([](ZEL_VALUE *v) { zel_valueSetUInt16(v, u16); }, &u16, 2, ZEL_CHAR);
    add([](ZEL_VALUE *v) { zel_valueSetDouble(v, dbl); }, &dbl, 8, ZEL_CHAR);
    add([](ZEL_VALUE *v) { zel_valueSetTimestamp(v, ts); }, &ts, 8, ZEL_TIMESTAMPTZ);
    add([](ZEL_VALUE *v) { EXPECT_EQ(zel_valueSetBinary(v, bytes, 3), sOKAY); }, bytes, 3,
        ZEL_CHAR);
    add([](ZEL_VALUE *v) { EXPECT_EQ(zel_valueSetBCD(v, &dec), sOKAY); }, &dec, 37, ZEL_CHAR);
    add([](ZEL_VALUE *v) { EXPECT_EQ(zel_valueSetUuid(v, &uuid), sOKAY); }, &uuid, 16, ZEL_CHAR);
    for (auto [text, to] : {std::pair{"12.5", ZEL_BCD},
                            {"00112233-4455-6677-8899-aabbccddeeff", ZEL_UUID},
                            {"2021-01-31 12:34:56 +01:00", ZEL_TIMESTAMPTZ},
                            {"0x01AB", ZEL_BINARY},
                            {"some text", ZEL_CHAR},
                            {"some text", ZEL_WVARCHAR_UTF8}})
        add([text = text](ZEL_VALUE *v) { EXPECT_EQ(zel_valueSetString(v, text), sOKAY); }, text,
            std::strlen(text) + 1, to);
    for (const ConvertCase &c : cases) {
        for (int form = 0; form < 4; ++form) {
            SCOPED_TRACE(testing::Message() << c.src.type << " -> " << c.to << " form " << form);
            const bool onStack = form % 2 == 1;
            auto run = [&](ZEL_VALUE *d) {
                switch (form) {
                    case 0:
                        return valueConvert(d, c.src, c.to, sub);
                    case 1:
                        return zel_valueConvertStack(d, &c.src, c.to, 0, kDf, '-', kTf, 0, stack);
                    case 2:
                        return zel_valueConvertFromBuffer(d, c.to, 0, c.buf, c.src.type, c.bufLen,
                                                          kDf, '-', kTf, 0, sub);
                    default:
                        return zel_valueConvertFromBufferStack(d, c.to, 0, c.buf, c.src.type,
                                                               c.bufLen, kDf, '-', kTf, 0, stack);
                }
            };
            auto release = [&](ZEL_VALUE *d) {
                if (d->type == ZEL_TIMESTAMPTZ) {  // left to the tag by the value
                    onStack ? b_tag_stackFree(stack, d->vt.tszv) : b_tag_subFree(sub, d->vt.tszv);
                } else {
                    onStack ? zel_valueFreeStack(d, stack) : zel_valueFree(d, sub);
                }
            };
            ZEL_VALUE want;
            zel_valueInit(&want);
            ASSERT_GE(run(&want), 0);
            auto check = [&] {
                ZEL_VALUE d;
                zel_valueSetInt32(&d, 77);
                const ZEL_VALUE before = d;
                const ZEL_RETCODE rc = run(&d);
                if (rc < 0) {
                    EXPECT_EQ(std::memcmp(&d, &before, sizeof d), 0);
                    return rc;
                }
                EXPECT_TRUE(zel_valueEqual(&d, &want));
                release(&d);
                return rc;
            };
            oom_check(master, {sub}, check, {}, {stack});
            release(&want);
        }
    }
    b_tag_stackDestroy(stack);
}

// Arrays converted element by element and printed, through both tags.
TEST_F(ConvertValue, ArraysUnderFailingAllocations) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    int32_t elems[3] = {1, -2, 300};
    ZEL_VALUE s;
    zel_valueSetInt32(&s, 0);
    s.elts = 3;
    s.vt.i32a = elems;
    for (int form = 0; form < 3; ++form) {
        auto check = [&] {
            ZEL_VALUE d;
            zel_valueInit(&d);
            char *text = nullptr;
            const ZEL_RETCODE rc = form == 0   ? b_convertZelArray(&s, &d, ZEL_INT16, sub)
                                   : form == 1 ? b_convertZelArrayStack(&s, &d, ZEL_INT16, stack)
                                               : b_convertArrayToString(&s, &text, 0, 0, sub);
            if (rc < 0) {
                EXPECT_EQ(d.type, ZEL_NOVAL);
                EXPECT_EQ(text, nullptr);
            } else if (form == 2) {
                EXPECT_STREQ(text, "ARRAY[1,-2,300]");
                b_tag_subFree(sub, text);
            } else {
                EXPECT_EQ(d.vt.i16a[2], 300);
                form == 0 ? zel_valueFree(&d, sub) : zel_valueFreeStack(&d, stack);
            }
            return rc;
        };
        EXPECT_EQ(oom_check(master, {sub}, check, {}, {stack}), 1);
    }
    b_tag_stackDestroy(stack);
}

// ---- Text sources: one ordinary value and a boundary into each type; back
// to text and in again gives the same value (fifteen digits do not give a
// double's end back: no round trip for the floating types).

TEST_F(ConvertValue, EveryTextPairConvertsAndRangesHold) {
    const std::tuple<ZEL_TYPE, const char *, const char *> cases[] = {
        // destination, a good text, one past the type's end or null
        // clang-format off
        {ZEL_BOOL, "1", nullptr},                    {ZEL_INT8, "-128", "128"},
        {ZEL_UINT8, "255", "256"},                   {ZEL_INT16, "-32768", "32768"},
        {ZEL_UINT16, "65535", "65536"},              {ZEL_INT32, "-2147483648", "2147483648"},
        {ZEL_UINT32, "4294967295", "4294967296"},
        {ZEL_INT64, "-9223372036854775808", "9223372036854775808"},
        {ZEL_UINT64, "18446744073709551615", "18446744073709551616"},
        {ZEL_FLOAT, "1.5", "1e39"},
        {ZEL_DOUBLE, "-1.7976931348623157e308", "1e309"},
        {ZEL_ROWID, "9223372036854775807", "99999999999999999999"},
        {ZEL_DATE, "2021-01-31", nullptr},           {ZEL_TIME, "12:34:56", nullptr},
        {ZEL_TIMESTAMP, "2021-01-31 12:34:56", nullptr}, {ZEL_TIMETZ, "12:34:56 +01:00", nullptr},
        {ZEL_TIMESTAMPTZ, "2021-01-31 12:34:56 +01:00", nullptr}, {ZEL_BCD, "12345.678", nullptr},
        {ZEL_UUID, "00112233-4455-6677-8899-aabbccddeeff", nullptr},
        {ZEL_BINARY, "0x01AB", nullptr},             {ZEL_CHAR, "text", nullptr}};
    // clang-format on
    auto release = [&](ZEL_VALUE *v) {
        if (v->type == ZEL_TIMESTAMPTZ) b_tag_subFree(sub, v->vt.tszv);
        zel_valueFree(v, sub);
    };
    for (const auto &[to, good, past] : cases) {
        ZEL_VALUE s, d, again;
        zel_valueInit(&s);
        ASSERT_EQ(zel_valueSetString(&s, good), sOKAY);
        ASSERT_GE(valueConvert(&d, s, to, sub, 64), 0) << good << " into " << to;
        EXPECT_EQ(d.type, to);
        if (to != ZEL_CHAR && to != ZEL_FLOAT && to != ZEL_DOUBLE) {
            char back[128];
            size_t n = 0;
            ASSERT_GE(toBuffer(d, ZEL_CHAR, back, sizeof back, &n), 0);
            ASSERT_EQ(zel_valueConvertFromBuffer(&again, to, 64, back, ZEL_CHAR,
                                                 std::strlen(back) + 1, kDf, '-', kTf, 0, sub),
                      sOKAY)
                << back;
            EXPECT_TRUE(zel_valueEqual(&d, &again)) << back;
            release(&again);
        }
        release(&d);
        if (past != nullptr) {
            ASSERT_EQ(zel_valueSetString(&s, past), sOKAY);
            zel_valueInit(&d);
            EXPECT_LT(valueConvert(&d, s, to, sub, 64), 0) << past;
        }
    }
}

// After all tests of the file, whatever their order: every allowed pair was
// converted by some test. A filtered run checks nothing.
class ConvertMatrixCoverage : public ::testing::Environment {
  public:
    void TearDown() override {
        if (::testing::GTEST_FLAG(filter) != "*") return;
        for (ZEL_TYPE s : kRows) {
            for (ZEL_TYPE d : kRows) {
                if (s == ZEL_WCHAR || d == ZEL_WCHAR || !allowed(s, d)) continue;
                EXPECT_TRUE(exercised().count({s, d}) == 1) << s << " -> " << d << " not exercised";
            }
        }
    }
};
const ::testing::Environment *const kCoverage =
    ::testing::AddGlobalTestEnvironment(new ConvertMatrixCoverage);

}  // namespace
