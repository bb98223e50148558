// convert_test.cpp - the conversion engine: the whole type matrix against a
// model of the allowed pairs, every number pair against an exact range model
// at each type's ends and one past them, number and binary text against
// glibc/Python vectors, arrays, pieces, dates with the clock read around the
// call, and value conversion with the tag's accounting back to its start.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bcd.h"
#include "tag_fixture.h"
#include "convert.h"
#include "datetime.h"
#include "oom.h"
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

const std::vector<ZEL_TYPE> kInts = {ZEL_INT8,  ZEL_UINT8,  ZEL_INT16, ZEL_UINT16,
                                     ZEL_INT32, ZEL_UINT32, ZEL_INT64, ZEL_UINT64};

bool isInt(ZEL_TYPE t) {
    for (ZEL_TYPE i : kInts)
        if (i == t) return true;
    return false;
}

// The allowed destinations of each source, as the type matrix lists them
// (the wide-character row and column aside).
bool allowed(ZEL_TYPE s, ZEL_TYPE d) {
    auto in = [d](std::initializer_list<ZEL_TYPE> l) {
        for (ZEL_TYPE t : l)
            if (t == d) return true;
        return false;
    };
    const bool num = in({ZEL_CHAR, ZEL_BINARY, ZEL_BOOL, ZEL_FLOAT, ZEL_DOUBLE}) || isInt(d);
    switch (s) {
        case ZEL_CHAR:
            return d != ZEL_WCHAR;
        case ZEL_BINARY:
            return (num && d != ZEL_BCD) || d == ZEL_UUID;
        case ZEL_BOOL:
        case ZEL_FLOAT:
        case ZEL_DOUBLE:
        case ZEL_BCD:
            return num || d == ZEL_BCD;
        case ZEL_DATE:
            return in({ZEL_CHAR, ZEL_DATE, ZEL_TIMESTAMP, ZEL_TIMESTAMPTZ});
        case ZEL_TIME:
        case ZEL_TIMETZ:
            return in({ZEL_CHAR, ZEL_TIME, ZEL_TIMETZ, ZEL_TIMESTAMP, ZEL_TIMESTAMPTZ});
        case ZEL_TIMESTAMP:
        case ZEL_TIMESTAMPTZ:
            return in({ZEL_CHAR, ZEL_DATE, ZEL_TIME, ZEL_TIMETZ, ZEL_TIMESTAMP, ZEL_TIMESTAMPTZ});
        case ZEL_ROWID:
            return in({ZEL_CHAR, ZEL_ROWID}) || isInt(d);
        case ZEL_UUID:
            return in({ZEL_CHAR, ZEL_BINARY, ZEL_UUID});
        default:
            return isInt(s) && (num || d == ZEL_BCD || d == ZEL_ROWID);
    }
}

TEST(ConvertMatrix, EveryPairIsAllowedOrRefusedAsListed) {
    for (ZEL_TYPE s : kRows) {
        for (ZEL_TYPE d : kRows) {
            CNVCODE code = 0;
            const ZEL_RETCODE rc = b_convertVerify(s, d, &code);
            if (s == ZEL_WCHAR || d == ZEL_WCHAR) continue;  // codes without functions
            if (allowed(s, d)) {
                EXPECT_EQ(rc, sOKAY) << s << " -> " << d;
                EXPECT_NE(code, 0) << s << " -> " << d;
            } else {
                EXPECT_EQ(rc, eINVCONVERT) << s << " -> " << d;
            }
        }
    }
}

TEST(ConvertMatrix, TextAndBinaryKindsFoldAndWideOnesAreRefused) {
    EXPECT_EQ(b_convertVerify(ZEL_VARCHAR, ZEL_INT32, nullptr), sOKAY);
    EXPECT_EQ(b_convertVerify(ZEL_CLOB, ZEL_UUID, nullptr), sOKAY);
    EXPECT_EQ(b_convertVerify(ZEL_INT32, ZEL_WVARCHAR_UTF8, nullptr), sOKAY);
    EXPECT_EQ(b_convertVerify(ZEL_BLOB, ZEL_UUID, nullptr), sOKAY);
    EXPECT_EQ(b_convertVerify(ZEL_VARBINARY, ZEL_BCD, nullptr), eINVCONVERT);
    EXPECT_EQ(b_convertVerify(ZEL_WVARCHAR, ZEL_CHAR, nullptr), eINVCONVERT);
    EXPECT_EQ(b_convertVerify(ZEL_CHAR, ZEL_WCLOB, nullptr), eINVCONVERT);
    EXPECT_EQ(b_convertVerify(ZEL_SUBQUERY, ZEL_CHAR, nullptr), eINVCONVERT);
    // The wide type has codes, but any conversion that reaches them is refused.
    EXPECT_EQ(b_convertVerify(ZEL_WCHAR, ZEL_INT32, nullptr), sOKAY);
    ZEL_VALUE s, d;
    zel_valueInit(&d);
    zel_valueInitWithStatusAndType(&s, vsOKAY, ZEL_WCHAR);
    EXPECT_EQ(b_convertZelValue(&s, &d, ZEL_INT32, 0, ZEL_YYYYMMDD, '-', ZEL_HHMMSS, 0, nullptr),
              eINVCONVERT);
    EXPECT_EQ(d.type, ZEL_NOVAL);
}

// ---- Numbers: an exact model over long double and __int128.

struct NumType {
    ZEL_TYPE type;
    size_t size;
    __int128 lo, hi;  // integer range; unused for floating
};

constexpr __int128 kU64Max = static_cast<__int128>(UINT64_MAX);
const std::vector<NumType> kNum = {
    {ZEL_BOOL, 4, 0, 1},
    {ZEL_INT8, 1, INT8_MIN, INT8_MAX},
    {ZEL_UINT8, 1, 0, UINT8_MAX},
    {ZEL_INT16, 2, INT16_MIN, INT16_MAX},
    {ZEL_UINT16, 2, 0, UINT16_MAX},
    {ZEL_INT32, 4, INT32_MIN, INT32_MAX},
    {ZEL_UINT32, 4, 0, UINT32_MAX},
    {ZEL_INT64, 8, INT64_MIN, INT64_MAX},
    {ZEL_UINT64, 8, 0, kU64Max},
    {ZEL_ROWID, 8, 1, kU64Max},
    {ZEL_FLOAT, 4, 0, 0},
    {ZEL_DOUBLE, 8, 0, 0},
};

// A source value: the exact number (or a floating one) and its record.
struct Src {
    ZEL_VALUE val;
    bool floating;
    __int128 i;
    long double f;
};

ZEL_VALUE intValue(ZEL_TYPE t, __int128 v) {
    ZEL_VALUE r;
    zel_valueInit(&r);
    switch (t) {
        case ZEL_BOOL:
            zel_valueSetBoolean(&r, v ? ZEL_TRUE : ZEL_FALSE);
            break;
        case ZEL_INT8:
            zel_valueSetInt8(&r, static_cast<int8_t>(v));
            break;
        case ZEL_UINT8:
            zel_valueSetUInt8(&r, static_cast<uint8_t>(v));
            break;
        case ZEL_INT16:
            zel_valueSetInt16(&r, static_cast<int16_t>(v));
            break;
        case ZEL_UINT16:
            zel_valueSetUInt16(&r, static_cast<uint16_t>(v));
            break;
        case ZEL_INT32:
            zel_valueSetInt32(&r, static_cast<int32_t>(v));
            break;
        case ZEL_UINT32:
            zel_valueSetUInt32(&r, static_cast<uint32_t>(v));
            break;
        case ZEL_INT64:
            zel_valueSetInt64(&r, static_cast<int64_t>(v));
            break;
        case ZEL_UINT64:
            zel_valueSetUInt64(&r, static_cast<uint64_t>(v));
            break;
        case ZEL_ROWID:
            zel_valueSetRowId(&r, static_cast<uint64_t>(v));
            break;
        default:
            ADD_FAILURE();
    }
    return r;
}

// Each type's ends, one inside them, 0, 1 and an ordinary value; floating
// sources add fractions, the ends of 2^63 and 2^64, and non-finite values.
std::vector<Src> sources(const NumType &t) {
    std::vector<Src> out;
    if (t.type == ZEL_FLOAT || t.type == ZEL_DOUBLE) {
        const long double two64 = 18446744073709551616.0L;
        std::vector<long double> vals = {
            0,        1.9,   -1.9,    42.5,     127.9,        128.0,        -129.0,
            255.0,    256.0, 65535.5, -32768.9, 2147483647.0, 4294967296.0, 9223372036854775808.0L,
            two64,    -1.0,  3e38,    -3e38,    1e300,        NAN,          INFINITY,
            -INFINITY};
        if (t.type == ZEL_DOUBLE) {
            vals.push_back(18446744073709549568.0L);  // the largest double below 2^64
            vals.push_back(-9223372036854775808.0L);
            vals.push_back(-9223372036854777856.0L);  // next double below -2^63
        }
        for (long double v : vals) {
            Src s{};
            zel_valueInit(&s.val);
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
    for (__int128 v : {t.lo, t.hi, t.lo + 1, t.hi - 1, (__int128)0, (__int128)1, (__int128)42}) {
        if (v < t.lo || v > t.hi) continue;
        Src s{};
        s.val = intValue(t.type, v);
        s.i = v;
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
    const bool toFloat = to.type == ZEL_FLOAT || to.type == ZEL_DOUBLE;
    if (to.type == ZEL_BOOL) {
        if (s.floating && !std::isfinite(s.f)) return {eRANGE, 0, 0};
        return {sOKAY, (s.floating ? s.f != 0 : s.i != 0) ? 1 : 0, 0};
    }
    if (toFloat) {
        if (!s.floating) {
            if (to.type == ZEL_FLOAT && (from.type == ZEL_UINT64 || from.type == ZEL_ROWID) &&
                s.i > 2147483647)
                return {eRANGE, 0, 0};
            const long double f = static_cast<long double>(s.i);
            return {sOKAY, 0, to.type == ZEL_FLOAT ? (float)f : (double)f};
        }
        if (to.type == ZEL_FLOAT && std::isfinite(s.f) && std::fabs(s.f) > FLT_MAX)
            return {eRANGE, 0, 0};
        return {sOKAY, 0, to.type == ZEL_FLOAT ? (float)s.f : (double)s.f};
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

__int128 readInt(const ZEL_VALUE &v, const NumType &t) {
    uint64_t u = 0;
    std::memcpy(&u, &v.vt, t.size == 4 && t.type == ZEL_BOOL ? 1 : t.size);
    switch (t.type) {
        case ZEL_INT8:
            return v.vt.i8v;
        case ZEL_INT16:
            return v.vt.i16v;
        case ZEL_INT32:
            return v.vt.i32v;
        case ZEL_INT64:
            return v.vt.i64v;
        default:
            return u;
    }
}

constexpr ZEL_DATE_FORMAT kDf = ZEL_YYYYMMDD;
constexpr ZEL_TIME_FORMAT kTf = ZEL_HHMMSSFFFF;

ZEL_RETCODE convert(const ZEL_VALUE &s, ZEL_VALUE *d, ZEL_TYPE to, size_t max = 0) {
    zel_valueInit(d);
    return b_convertZelValue(&s, d, to, max, kDf, '-', kTf, 0, nullptr);
}

using Pair = std::pair<int, int>;
std::set<Pair> &exercised() {
    static std::set<Pair> s;
    return s;
}
void mark(ZEL_TYPE s, ZEL_TYPE d) {
    exercised().insert({s, d});
}

TEST(ConvertNumbers, EveryNumberPairMatchesTheRangeModelAtTheEnds) {
    for (const NumType &from : kNum) {
        for (const Src &s : sources(from)) {
            for (const NumType &to : kNum) {
                if (!allowed(from.type, to.type)) continue;
                mark(from.type, to.type);
                ZEL_VALUE d;
                const ZEL_RETCODE rc = convert(s.val, &d, to.type);
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
                if (to.type == ZEL_FLOAT) {
                    if (std::isnan(e.f))
                        EXPECT_TRUE(std::isnan(d.vt.fv)) << what;
                    else
                        EXPECT_EQ(d.vt.fv, (float)e.f) << what;
                } else if (to.type == ZEL_DOUBLE) {
                    if (std::isnan(e.f))
                        EXPECT_TRUE(std::isnan(d.vt.dv)) << what;
                    else
                        EXPECT_EQ(d.vt.dv, (double)e.f) << what;
                } else {
                    EXPECT_TRUE(readInt(d, to) == e.i) << what;
                }
            }
        }
    }
}

TEST(ConvertNumbers, EdgeCasesOfTheRules) {
    ZEL_VALUE s, d;
    zel_valueSetInt32(&s, 300);
    EXPECT_EQ(convert(s, &d, ZEL_UINT8), eRANGE);
    zel_valueSetInt32(&s, -1);
    EXPECT_EQ(convert(s, &d, ZEL_UINT64), eRANGE);
    zel_valueSetInt32(&s, 0);
    EXPECT_EQ(convert(s, &d, ZEL_ROWID), eRANGE);
    zel_valueSetDouble(&s, 1.9);
    ASSERT_EQ(convert(s, &d, ZEL_INT8), sOKAY);
    EXPECT_EQ(d.vt.i8v, 1);
    zel_valueSetDouble(&s, -1.9);
    ASSERT_EQ(convert(s, &d, ZEL_INT8), sOKAY);
    EXPECT_EQ(d.vt.i8v, -1);
    zel_valueSetDouble(&s, NAN);
    EXPECT_EQ(convert(s, &d, ZEL_INT64), eRANGE);
    EXPECT_EQ(convert(s, &d, ZEL_BOOL), eRANGE);
    ASSERT_EQ(convert(s, &d, ZEL_FLOAT), sOKAY);
    EXPECT_TRUE(std::isnan(d.vt.fv));
    zel_valueSetUInt64(&s, 3000000000u);
    EXPECT_EQ(convert(s, &d, ZEL_FLOAT), eRANGE);
    ASSERT_EQ(convert(s, &d, ZEL_DOUBLE), sOKAY);
    EXPECT_EQ(d.vt.dv, 3e9);
    zel_valueSetDouble(&s, 1e300);
    EXPECT_EQ(convert(s, &d, ZEL_FLOAT), eRANGE);
    zel_valueSetDouble(&s, 18446744073709549568.0);  // 2^64 - 2048
    ASSERT_EQ(convert(s, &d, ZEL_UINT64), sOKAY);
    EXPECT_EQ(d.vt.u64v, 18446744073709549568u);
    zel_valueSetDouble(&s, 18446744073709551616.0);
    EXPECT_EQ(convert(s, &d, ZEL_UINT64), eRANGE);
    zel_valueSetUInt64(&s, 1ULL << 63);
    EXPECT_EQ(convert(s, &d, ZEL_INT64), eRANGE);
    ZEL_DATE_T cd{2024, 2, 29};
    ZEL_PACKED_DATE_T dt = 0;
    ASSERT_EQ(zel_datePack(&cd, &dt), sOKAY);
    zel_valueSetDate(&s, dt);
    EXPECT_EQ(convert(s, &d, ZEL_INT32), eINVCONVERT);
    zel_valueSetFloat(&s, 1.0f);
    EXPECT_EQ(convert(s, &d, ZEL_ROWID), eINVCONVERT);
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

TEST(ConvertDecimal, IntoAndOutOfDecimals) {
    ZEL_BCD_T out{};
    ZEL_VALUE s, d;
    // Every integer type's ends into a decimal, checked as text.
    for (const NumType &t : kNum) {
        if (t.type == ZEL_FLOAT || t.type == ZEL_DOUBLE || t.type == ZEL_ROWID) continue;
        for (__int128 v : {t.lo, t.hi}) {
            s = intValue(t.type, v);
            zel_valueInit(&d);
            d.vt.bcd = &out;
            ASSERT_EQ(b_convertZelValue(&s, &d, ZEL_BCD, 37, kDf, '-', kTf, 0, nullptr), sOKAY);
            mark(t.type, ZEL_BCD);
            const std::string want =
                v < 0 ? "-" + std::to_string((unsigned long long)(-(v + 1)) + 1ULL)
                      : std::to_string((unsigned long long)v);
            EXPECT_EQ(bcdText(&out), want);
        }
    }
    for (ZEL_TYPE ft : {ZEL_FLOAT, ZEL_DOUBLE}) {
        zel_valueInit(&s);
        if (ft == ZEL_FLOAT)
            zel_valueSetFloat(&s, 42.5f);
        else
            zel_valueSetDouble(&s, -42.25);
        zel_valueInit(&d);
        d.vt.bcd = &out;
        ASSERT_EQ(b_convertZelValue(&s, &d, ZEL_BCD, 37, kDf, '-', kTf, 0, nullptr), sOKAY);
        EXPECT_EQ(bcdText(&out), ft == ZEL_FLOAT ? "42.5" : "-42.25");
        mark(ft, ZEL_BCD);
        zel_valueSetDouble(&s, INFINITY);
        EXPECT_EQ(b_convertZelValue(&s, &d, ZEL_BCD, 37, kDf, '-', kTf, 0, nullptr), eRANGE);
    }
    // Out of a decimal: the fraction is cut silently, the range is tested.
    ZEL_BCD_T b = bcdOf("-129.9");
    zel_valueInit(&s);
    ASSERT_EQ(zel_valueSetBCD(&s, &b), sOKAY);
    EXPECT_EQ(convert(s, &d, ZEL_INT8), eRANGE);
    ASSERT_EQ(convert(s, &d, ZEL_INT16), sOKAY);
    EXPECT_EQ(d.vt.i16v, -129);
    EXPECT_EQ(convert(s, &d, ZEL_UINT64), eRANGE);
    ASSERT_EQ(convert(s, &d, ZEL_DOUBLE), sOKAY);
    EXPECT_EQ(d.vt.dv, -129.9);
    ASSERT_EQ(convert(s, &d, ZEL_BOOL), sOKAY);
    EXPECT_EQ(d.vt.u8v, 1);
    const std::pair<const char *, ZEL_TYPE> ends[] = {{"127", ZEL_INT8},
                                                      {"255.5", ZEL_UINT8},
                                                      {"-32768", ZEL_INT16},
                                                      {"65535", ZEL_UINT16},
                                                      {"-2147483648", ZEL_INT32},
                                                      {"4294967295", ZEL_UINT32},
                                                      {"9223372036854775807", ZEL_INT64},
                                                      {"18446744073709551615", ZEL_UINT64},
                                                      {"0.5", ZEL_FLOAT}};
    for (auto [text, type] : ends) {
        b = bcdOf(text);
        ASSERT_EQ(zel_valueSetBCD(&s, &b), sOKAY);
        EXPECT_EQ(convert(s, &d, type), sOKAY) << text;
        mark(ZEL_BCD, type);
    }
    for (auto [text, type] : {std::pair{"128", ZEL_INT8},
                              {"256", ZEL_UINT8},
                              {"-32769", ZEL_INT16},
                              {"65536", ZEL_UINT16},
                              {"2147483648", ZEL_INT32},
                              {"4294967296", ZEL_UINT32},
                              {"9223372036854775808", ZEL_INT64},
                              {"18446744073709551616", ZEL_UINT64}}) {
        b = bcdOf(text);
        ASSERT_EQ(zel_valueSetBCD(&s, &b), sOKAY);
        EXPECT_EQ(convert(s, &d, type), eRANGE) << text;
    }
    b = bcdOf("0");
    ASSERT_EQ(zel_valueSetBCD(&s, &b), sOKAY);
    ASSERT_EQ(convert(s, &d, ZEL_BOOL), sOKAY);
    EXPECT_EQ(d.vt.u8v, 0);
    mark(ZEL_BCD, ZEL_BOOL);
    mark(ZEL_BCD, ZEL_DOUBLE);
    // Decimal to decimal and to binary: the 37 bytes.
    ZEL_BCD_T copy{};
    zel_valueInit(&d);
    d.vt.bcd = &copy;
    ASSERT_EQ(b_convertZelValue(&s, &d, ZEL_BCD, 37, kDf, '-', kTf, 0, nullptr), sOKAY);
    EXPECT_EQ(std::memcmp(&copy, &b, 37), 0);
    mark(ZEL_BCD, ZEL_BCD);
}

TEST(ConvertDecimal, PackedSources) {
    ZEL_BCD_T b = bcdOf("-1234.5");
    ZEL_PACKED_BCD_T packed[8] = {};
    ASSERT_EQ(zel_bcdPack(&b, packed, 7, 1), sOKAY);
    int32_t i32 = 0;
    CNVCB cb{};
    cb.pvSrc = packed;
    cb.prec = 7;
    cb.scale = 1;
    cb.pvDst = &i32;
    cb.tDstLen = 4;
    EXPECT_EQ(cnv_packedDecimalToInt32(&cb), sOKAY);
    EXPECT_EQ(i32, -1234);
    uint16_t u16 = 0;
    cb.pvDst = &u16;
    EXPECT_EQ(cnv_packedDecimalToUInt16(&cb), eRANGE);
    ZEL_BCD_T out{};
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

std::string toText(const ZEL_VALUE &v) {
    char buf[128];
    size_t n = 0;
    EXPECT_EQ(
        b_convertZelValueToBuffer(&v, ZEL_CHAR, kDf, '-', kTf, 0, buf, sizeof buf, nullptr, &n),
        sOKAY);
    EXPECT_EQ(n, std::strlen(buf) + 1);
    return buf;
}

TEST(ConvertText, NumbersAndBytesMatchTheOracle) {
    const auto rows = vectors_read("good-convert-numtext.txt", '\t');
    for (const VectorRow &row : rows) {
        const std::string &kind = row[0], &input = row[1], &want = row[2], &line = input;
        ZEL_VALUE v;
        zel_valueInit(&v);
        std::string bytes;
        if (kind == "double") {
            const uint64_t bits = std::stoull(input, nullptr, 16);
            double d;
            std::memcpy(&d, &bits, 8);
            zel_valueSetDouble(&v, d);
        } else if (kind == "float") {
            const uint32_t bits = static_cast<uint32_t>(std::stoul(input, nullptr, 16));
            float f;
            std::memcpy(&f, &bits, 4);
            zel_valueSetFloat(&v, f);
        } else if (kind == "binary") {
            bytes = vectors_unhex(input);
            ASSERT_EQ(zel_valueSetBinary(&v, bytes.data(), bytes.size()), sOKAY);
        } else {
            const __int128 n =
                kind[0] == 'u' ? (__int128)std::stoull(input) : (__int128)std::stoll(input);
            const ZEL_TYPE t = kind == "int8"     ? ZEL_INT8
                               : kind == "uint8"  ? ZEL_UINT8
                               : kind == "int16"  ? ZEL_INT16
                               : kind == "uint16" ? ZEL_UINT16
                               : kind == "int32"  ? ZEL_INT32
                               : kind == "uint32" ? ZEL_UINT32
                               : kind == "int64"  ? ZEL_INT64
                                                  : ZEL_UINT64;
            v = intValue(t, n);
        }
        EXPECT_EQ(toText(v), want) << line;
        mark(v.type, ZEL_CHAR);
    }
    EXPECT_GT(rows.size(), 250u);
}

TEST(ConvertText, ScalarsOfEveryOtherSource) {
    ZEL_VALUE v;
    zel_valueSetFloat(&v, 1.5f);
    EXPECT_EQ(toText(v), "1.5");
    zel_valueSetDouble(&v, 1e20);
    EXPECT_EQ(toText(v), "1E+20");
    zel_valueSetBoolean(&v, ZEL_TRUE);
    EXPECT_EQ(toText(v), "1");
    mark(ZEL_BOOL, ZEL_CHAR);
    zel_valueSetRowId(&v, UINT64_MAX);
    EXPECT_EQ(toText(v), "18446744073709551615");
    mark(ZEL_ROWID, ZEL_CHAR);
    ZEL_BCD_T b = bcdOf("-0.000123");
    ASSERT_EQ(zel_valueSetBCD(&v, &b), sOKAY);
    EXPECT_EQ(toText(v), bcdText(&b));
    mark(ZEL_BCD, ZEL_CHAR);
    ZEL_UUID_T u;
    for (int i = 0; i < 16; ++i) reinterpret_cast<uint8_t *>(&u)[i] = static_cast<uint8_t>(i * 17);
    ASSERT_EQ(zel_valueSetUuid(&v, &u), sOKAY);
    EXPECT_EQ(toText(v), "00112233-4455-6677-8899-aabbccddeeff");
    mark(ZEL_UUID, ZEL_CHAR);
    // Too short: nothing but the terminator, and the size that was needed.
    char small[4];
    size_t n = 0;
    zel_valueSetInt32(&v, -12345);
    EXPECT_EQ(
        b_convertZelValueToBuffer(&v, ZEL_CHAR, kDf, '-', kTf, 0, small, sizeof small, nullptr, &n),
        sTRUNCATE);
    EXPECT_STREQ(small, "");
    EXPECT_EQ(b_convertZelValueToBuffer(&v, ZEL_CHAR, kDf, '-', kTf, 0, nullptr, 0, nullptr, &n),
              sOKAY);
    EXPECT_EQ(n, 7u);
}

TEST(ConvertText, ArraysKeepWholeElementsAndCloseTheBracket) {
    int32_t elems[3] = {1, 2, 3};
    ZEL_VALUE v;
    zel_valueSetInt32(&v, 0);
    v.elts = 3;
    v.vt.i32a = elems;
    char buf[32];
    size_t n = 0;
    ASSERT_EQ(
        b_convertZelValueToBuffer(&v, ZEL_CHAR, kDf, '-', kTf, 0, buf, sizeof buf, nullptr, &n),
        sOKAY);
    EXPECT_STREQ(buf, "ARRAY[1,2,3]");
    EXPECT_EQ(n, 13u);
    // "ARRAY[1,2]" and its terminator take 11 bytes; the third element needs 13.
    ASSERT_EQ(b_convertZelValueToBuffer(&v, ZEL_CHAR, kDf, '-', kTf, 0, buf, 12, nullptr, &n),
              sTRUNCATE);
    EXPECT_STREQ(buf, "ARRAY[1,2]");
    EXPECT_EQ(n, 11u);
    double dv[2] = {NAN, -INFINITY};
    zel_valueSetDouble(&v, 0);
    v.elts = 2;
    v.vt.da = dv;
    EXPECT_EQ(toText(v), "ARRAY[NAN,-INF]");
    // Through a value, a number array goes element by element and a text
    // destination is refused.
    ZEL_VALUE d;
    EXPECT_EQ(convert(v, &d, ZEL_CHAR), eINVCONVERT);
}

TEST(ConvertText, TimestampLosesItsFractionButNothingMore) {
    ZEL_TIMESTAMP_T c{2021, 1, 31, 12, 34, 56, 7890};
    ZEL_PACKED_TIMESTAMP_T ts{};
    ASSERT_EQ(zel_timestampPack(&c, &ts), sOKAY);
    ZEL_VALUE v;
    zel_valueSetTimestamp(&v, ts);
    char buf[32];
    size_t n = 0;
    auto run = [&](size_t room) {
        std::memset(buf, 'x', sizeof buf);
        return b_convertZelValueToBuffer(&v, ZEL_CHAR, kDf, '-', kTf, 0, buf, room, nullptr, &n);
    };
    ASSERT_EQ(run(32), sOKAY);
    EXPECT_STREQ(buf, "2021-01-31 12:34:56.7890");
    ASSERT_EQ(run(20), sTRUNCATE);
    EXPECT_STREQ(buf, "2021-01-31 12:34:56");
    ASSERT_EQ(run(21), sTRUNCATE);  // no lone point at the end
    EXPECT_STREQ(buf, "2021-01-31 12:34:56");
    ASSERT_EQ(run(23), sTRUNCATE);
    EXPECT_STREQ(buf, "2021-01-31 12:34:56.78");
    EXPECT_EQ(run(10), eDATALOST);
    EXPECT_EQ(run(19), eDATALOST);
    mark(ZEL_TIMESTAMP, ZEL_CHAR);
    ZEL_DATE_T cd{2021, 1, 31};
    ZEL_PACKED_DATE_T dt = 0;
    ASSERT_EQ(zel_datePack(&cd, &dt), sOKAY);
    zel_valueSetDate(&v, dt);
    ASSERT_EQ(
        b_convertZelValueToBuffer(&v, ZEL_CHAR, ZEL_DDMMYYYY, '.', kTf, 0, buf, 11, nullptr, &n),
        sOKAY);
    EXPECT_STREQ(buf, "31.01.2021");
    EXPECT_EQ(b_convertZelValueToBuffer(&v, ZEL_CHAR, kDf, '-', kTf, 0, buf, 10, nullptr, &n),
              eDATALOST);
    mark(ZEL_DATE, ZEL_CHAR);
}

// ---- Binary sources.

TEST(ConvertBinary, HexTextByPiecesAndRawBytes) {
    const uint8_t two[2] = {1, 171};
    ZEL_VALUE v;
    zel_valueInit(&v);
    ASSERT_EQ(zel_valueSetBinary(&v, two, 2), sOKAY);
    EXPECT_EQ(toText(v), "0x01AB");
    // By pieces: room for one byte at a time, then sNODATA.
    CNVCB cb{};
    cb.pvSrc = two;
    cb.tSrcLen = 2;
    char buf[5];
    cb.pvDst = buf;
    cb.tDstLen = 5;
    EXPECT_EQ(cnv_binaryToString(&cb), sTRUNCATE);
    EXPECT_STREQ(buf, "0x01");
    EXPECT_EQ(cnv_binaryToString(&cb), sOKAY);
    EXPECT_STREQ(buf, "0xAB");
    EXPECT_EQ(cnv_binaryToString(&cb), sNODATA);
    // Binary to a number copies raw bytes into a cleared destination.
    ZEL_VALUE d;
    ASSERT_EQ(convert(v, &d, ZEL_INT32), sOKAY);
    EXPECT_EQ(d.vt.i32v, 1 + 171 * 256);
    ASSERT_EQ(convert(v, &d, ZEL_INT8), eDATALOST);
    for (ZEL_TYPE t : {ZEL_INT8, ZEL_UINT8, ZEL_INT16, ZEL_UINT16, ZEL_INT32, ZEL_UINT32, ZEL_INT64,
                       ZEL_UINT64, ZEL_FLOAT, ZEL_DOUBLE})
        mark(ZEL_BINARY, t);
    EXPECT_EQ(convert(v, &d, ZEL_BOOL), eDATALOST);
    ASSERT_EQ(zel_valueSetBinary(&v, two + 1, 1), sOKAY);
    ASSERT_EQ(convert(v, &d, ZEL_BOOL), sOKAY);
    EXPECT_EQ(d.vt.u8v, 1);
    mark(ZEL_BINARY, ZEL_BOOL);
    mark(ZEL_BINARY, ZEL_CHAR);
    // Binary to binary by pieces.
    uint8_t out[1];
    cb = CNVCB{};
    cb.pvSrc = two;
    cb.tSrcLen = 2;
    cb.pvDst = out;
    cb.tDstLen = 1;
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
    ZEL_UUID_T u{};
    ZEL_VALUE v, d;
    zel_valueInit(&v);
    ASSERT_EQ(zel_valueSetBinary(&v, bytes, 15), sOKAY);
    zel_valueInit(&d);
    d.vt.uuid = &u;
    EXPECT_EQ(b_convertZelValue(&v, &d, ZEL_UUID, 16, kDf, '-', kTf, 0, nullptr), eRANGE);
    ASSERT_EQ(zel_valueSetBinary(&v, bytes, 17), sOKAY);
    EXPECT_EQ(b_convertZelValue(&v, &d, ZEL_UUID, 16, kDf, '-', kTf, 0, nullptr), sTRUNCATE);
    EXPECT_EQ(std::memcmp(&u, bytes, 16), 0);
    ASSERT_EQ(zel_valueSetBinary(&v, bytes, 0), sOKAY);
    EXPECT_EQ(b_convertZelValue(&v, &d, ZEL_UUID, 16, kDf, '-', kTf, 0, nullptr), eRANGE);
    mark(ZEL_BINARY, ZEL_UUID);
    // UUID to binary asks for 17 bytes of room, though it writes 16.
    ZEL_VALUE s;
    zel_valueInit(&s);
    ASSERT_EQ(zel_valueSetUuid(&s, &u), sOKAY);
    uint8_t out[17] = {};
    size_t n = 0;
    EXPECT_EQ(b_convertZelValueToBuffer(&s, ZEL_BINARY, kDf, '-', kTf, 0, out, 16, nullptr, &n),
              eDATALOST);
    EXPECT_EQ(b_convertZelValueToBuffer(&s, ZEL_BINARY, kDf, '-', kTf, 0, out, 17, nullptr, &n),
              sOKAY);
    EXPECT_EQ(n, 16u);
    EXPECT_EQ(std::memcmp(out, bytes, 16), 0);
    ZEL_UUID_T u2{};
    zel_valueInit(&d);
    d.vt.uuid = &u2;
    ASSERT_EQ(b_convertZelValue(&s, &d, ZEL_UUID, 16, kDf, '-', kTf, 0, nullptr), sOKAY);
    EXPECT_EQ(std::memcmp(&u2, bytes, 16), 0);
    mark(ZEL_UUID, ZEL_BINARY);
    mark(ZEL_UUID, ZEL_UUID);
}

TEST(ConvertBinary, NumbersToBinaryAreTheirNativeBytes) {
    for (const NumType &t : kNum) {
        for (const Src &s : sources(t)) {
            uint8_t out[64];
            size_t n = 0;
            const size_t esz = t.type == ZEL_BOOL ? 1 : t.size;
            ASSERT_EQ(b_convertZelValueToBuffer(&s.val, ZEL_BINARY, kDf, '-', kTf, 0, out,
                                                sizeof out, nullptr, &n),
                      t.type == ZEL_ROWID ? eINVCONVERT : sOKAY);
            if (t.type == ZEL_ROWID) continue;
            EXPECT_EQ(n, esz);
            EXPECT_EQ(std::memcmp(out, &s.val.vt, esz), 0);
            mark(t.type, ZEL_BINARY);
        }
    }
    ZEL_BCD_T b = bcdOf("3.25");
    ZEL_VALUE v;
    zel_valueInit(&v);
    ASSERT_EQ(zel_valueSetBCD(&v, &b), sOKAY);
    uint8_t out[37];
    size_t n = 0;
    ASSERT_EQ(b_convertZelValueToBuffer(&v, ZEL_BINARY, kDf, '-', kTf, 0, out, 37, nullptr, &n),
              sOKAY);
    EXPECT_EQ(std::memcmp(out, &b, 37), 0);
    mark(ZEL_BCD, ZEL_BINARY);
}

// ---- Dates and times, with the clock read around the call.

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
    const ZEL_PACKED_TIME_T time = timeOf(23, 30, 0, 5);
    const int16_t tz = 60;
    ZEL_VALUE s, d;
    ZEL_PACKED_TIMESTAMPTZ_T tstz{};
    auto conv = [&](ZEL_TYPE to) {
        zel_valueInit(&d);
        if (to == ZEL_TIMESTAMPTZ) d.vt.tszv = &tstz;
        mark(s.type, to);
        const size_t room = to == ZEL_TIMESTAMPTZ ? sizeof tstz : 0;
        return b_convertZelValue(&s, &d, to, room, kDf, '-', kTf, tz, nullptr);
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
    ASSERT_EQ(conv(ZEL_DATE), sOKAY);
    EXPECT_EQ(d.vt.dtv, date);
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
    ASSERT_EQ(conv(ZEL_TIMETZ), sOKAY);
    EXPECT_EQ(d.vt.tmzv.time, time);
    EXPECT_EQ(d.vt.tmzv.tz, 0);
    ASSERT_EQ(conv(ZEL_TIME), sOKAY);
    EXPECT_EQ(d.vt.tmv, time);
    // A time with zone holds UTC; as a time it is shown in its own zone.
    zel_valueSetTimeTZ(&s, ZEL_PACKED_TIMETZ_T{time, 60});
    ASSERT_EQ(conv(ZEL_TIME), sOKAY);
    EXPECT_EQ(d.vt.tmv, timeOf(0, 30, 0, 5));
    ASSERT_EQ(conv(ZEL_TIMESTAMPTZ), sOKAY);
    EXPECT_EQ(tstz.time, time);
    EXPECT_EQ(tstz.tz, 60);
    ASSERT_EQ(conv(ZEL_TIMESTAMP), sOKAY);
    EXPECT_EQ(d.vt.tsv.time, timeOf(0, 30, 0, 5));
    ASSERT_EQ(conv(ZEL_TIMETZ), sOKAY);
    zel_valueSetTimeTZ(&s, ZEL_PACKED_TIMETZ_T{time, 900});
    EXPECT_EQ(conv(ZEL_TIMESTAMPTZ), eBASE_INVTIMEZONE);
    // Timestamps: the words, or the instant in its own zone.
    zel_valueSetTimestamp(&s, ZEL_PACKED_TIMESTAMP_T{date, time});
    ASSERT_EQ(conv(ZEL_DATE), sOKAY);
    EXPECT_EQ(d.vt.dtv, date);
    ASSERT_EQ(conv(ZEL_TIME), sOKAY);
    EXPECT_EQ(d.vt.tmv, time);
    ASSERT_EQ(conv(ZEL_TIMETZ), sOKAY);
    EXPECT_EQ(d.vt.tmzv.tz, 0);
    ASSERT_EQ(conv(ZEL_TIMESTAMPTZ), sOKAY);
    EXPECT_EQ(tstz.date, date);
    EXPECT_EQ(tstz.tz, 0);
    ASSERT_EQ(conv(ZEL_TIMESTAMP), sOKAY);
    ZEL_PACKED_TIMESTAMPTZ_T src{date, time, 60};
    zel_valueInit(&s);
    ASSERT_EQ(zel_valueSetTimestampTZ(&s, &src), sOKAY);
    ASSERT_EQ(conv(ZEL_TIMESTAMP), sOKAY);
    EXPECT_EQ(d.vt.tsv.date, date + 1);  // 23:30 UTC is 00:30 the next day at +01:00
    EXPECT_EQ(d.vt.tsv.time, timeOf(0, 30, 0, 5));
    ASSERT_EQ(conv(ZEL_DATE), sOKAY);
    EXPECT_EQ(d.vt.dtv, date + 1);
    ASSERT_EQ(conv(ZEL_TIME), sOKAY);
    ASSERT_EQ(conv(ZEL_TIMETZ), sOKAY);
    EXPECT_EQ(d.vt.tmzv.time, time);
    EXPECT_EQ(d.vt.tmzv.tz, 60);
    ZEL_PACKED_TIMESTAMPTZ_T keep = src;
    ASSERT_EQ(conv(ZEL_TIMESTAMPTZ), sOKAY);
    EXPECT_EQ(std::memcmp(&tstz, &keep, sizeof keep), 0);
    // Every source to text.
    for (ZEL_TYPE t : {ZEL_TIME, ZEL_TIMETZ, ZEL_TIMESTAMPTZ}) {
        if (t == ZEL_TIME) zel_valueSetTime(&s, time);
        if (t == ZEL_TIMETZ) zel_valueSetTimeTZ(&s, ZEL_PACKED_TIMETZ_T{time, 0});
        if (t == ZEL_TIMESTAMPTZ) {
            ASSERT_EQ(zel_valueSetTimestampTZ(&s, &src), sOKAY);
        }
        const std::string text = toText(s);
        EXPECT_NE(text.find("30:00.0005"), std::string::npos) << text;
        mark(t, ZEL_CHAR);
    }
    // A destination too short for a date value.
    zel_valueSetTimestamp(&s, ZEL_PACKED_TIMESTAMP_T{date, time});
    uint8_t small[4];
    size_t n = 0;
    EXPECT_EQ(b_convertZelValueToBuffer(&s, ZEL_TIMESTAMP, kDf, '-', kTf, 0, small, 4, nullptr, &n),
              eDATALOST);
    EXPECT_EQ(b_convertZelValueToBuffer(&s, ZEL_DATE, kDf, '-', kTf, 0, small, 3, nullptr, &n),
              eDATALOST);
}

// ---- Arrays.

TEST(ConvertArrays, ElementByElementWithFailuresSkipped) {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
    const int64_t start = fixture_subBytes(sub);
    int32_t elems[4] = {1, 300, -2, 7};
    ZEL_VALUE s, d;
    zel_valueSetInt32(&s, 0);
    s.elts = 4;
    s.vt.i32a = elems;
    zel_valueInit(&d);
    // The last element converts, so the code is sOKAY; 300 is skipped.
    ASSERT_EQ(b_convertZelValue(&s, &d, ZEL_INT8, 0, kDf, '-', kTf, 0, sub), sOKAY);
    EXPECT_EQ(d.type, ZEL_INT8);
    EXPECT_EQ(d.elts, 4u);
    EXPECT_EQ(d.vt.i8a[0], 1);
    EXPECT_EQ(d.vt.i8a[1], 0);
    EXPECT_EQ(d.vt.i8a[2], -2);
    EXPECT_EQ(d.vt.i8a[3], 7);
    zel_valueFree(&d, sub);
    // The code of the last element alone.
    zel_valueInit(&d);
    EXPECT_EQ(b_convertZelArray(&s, &d, ZEL_UINT8, sub), sOKAY);
    EXPECT_EQ(d.vt.u8a[2], 0);
    zel_valueFree(&d, sub);
    elems[3] = -1;
    zel_valueInit(&d);
    EXPECT_EQ(b_convertZelArray(&s, &d, ZEL_UINT8, sub), eRANGE);
    zel_valueFree(&d, sub);
    // Booleans keep 32 bits an element.
    zel_valueInit(&d);
    ASSERT_EQ(b_convertZelArray(&s, &d, ZEL_BOOL, sub), sOKAY);
    EXPECT_EQ(d.vt.ba[0], ZEL_TRUE);
    EXPECT_EQ(d.vt.ba[1], ZEL_TRUE);
    char *text = nullptr;
    ASSERT_EQ(b_convertArrayToString(&d, &text, 0, 0, sub), sOKAY);
    EXPECT_STREQ(text, "ARRAY[true,true,true,true]");
    b_tag_subFree(sub, text);
    zel_valueFree(&d, sub);
    zel_valueInit(&d);
    EXPECT_EQ(b_convertZelArray(&s, &d, ZEL_CHAR, sub), eINVCONVERT);
    // Floats as display text.
    zel_valueInit(&d);
    ASSERT_EQ(b_convertZelArray(&s, &d, ZEL_DOUBLE, sub), sOKAY);
    ASSERT_EQ(b_convertArrayToString(&d, &text, 0, 2, sub), sOKAY);
    EXPECT_STREQ(text, "ARRAY[1.00,300.00,-2.00,-1.00]");
    b_tag_subFree(sub, text);
    ASSERT_EQ(b_convertArrayToString(&d, &text, 6, 1, sub), sOKAY);
    EXPECT_STREQ(text, "ARRAY[   1.0, 300.0,  -2.0,  -1.0]");
    b_tag_subFree(sub, text);
    zel_valueFree(&d, sub);
    ASSERT_EQ(b_convertArrayToString(&s, &text, 0, 0, sub), sOKAY);
    EXPECT_STREQ(text, "ARRAY[1,300,-2,-1]");
    b_tag_subFree(sub, text);
    EXPECT_EQ(b_convertArrayToString(&s, nullptr, 0, 0, sub), eINVCONVERT);
    EXPECT_EQ(fixture_subBytes(sub), start);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

TEST(ConvertArrays, TheFrameCutsAtTheRoomThereIs) {
    int16_t in[3] = {1, -1, 2};
    uint16_t out[3] = {9, 9, 9};
    CNVCB cb{};
    cb.pvSrc = in;
    cb.uSrcNumElems = 3;
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

// ---- Text to text.

TEST(ConvertText, TextCopiesByPieces) {
    const char src[] = "abcdef";
    char buf[4];
    CNVCB cb{};
    cb.pvSrc = src;
    cb.tSrcLen = sizeof src;
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

// ---- Values: sizing, allocation, copies, and nothing left behind.

class ConvertValue : public TaggedTest {};

TEST_F(ConvertValue, SizesAndAllocatesTheDestination) {
    ZEL_VALUE s, d;
    zel_valueSetInt64(&s, -1234567890123);
    ASSERT_EQ(zel_valueConvert(&d, &s, ZEL_VARCHAR, 0, kDf, '-', kTf, 0, sub), sOKAY);
    EXPECT_EQ(d.type, ZEL_VARCHAR);
    EXPECT_STREQ(d.vt.cv, "-1234567890123");
    EXPECT_EQ(d.len, 15u);
    zel_valueFree(&d, sub);
    ASSERT_EQ(zel_valueConvert(&d, &s, ZEL_BCD, 0, kDf, '-', kTf, 0, sub), sOKAY);
    EXPECT_EQ(bcdText(d.vt.bcd), "-1234567890123");
    EXPECT_EQ(d.len, 37u);
    zel_valueFree(&d, sub);
    ASSERT_EQ(zel_valueConvert(&d, &s, ZEL_BINARY, 0, kDf, '-', kTf, 0, sub), sOKAY);
    EXPECT_EQ(d.len, 8u);
    EXPECT_EQ(std::memcmp(d.vt.pv, &s.vt, 8), 0);
    zel_valueFree(&d, sub);
    // A failure leaves nothing allocated and the destination untouched.
    ZEL_VALUE keep;
    zel_valueSetInt32(&keep, 77);
    d = keep;
    zel_valueSetDouble(&s, INFINITY);
    EXPECT_EQ(zel_valueConvert(&d, &s, ZEL_BCD, 0, kDf, '-', kTf, 0, sub), eRANGE);
    EXPECT_EQ(d.vt.i32v, 77);
    // A time stamp with zone gets its 12 bytes.
    ZEL_PACKED_TIMESTAMP_T ts{738000, 36000000};
    zel_valueSetTimestamp(&s, ts);
    ASSERT_EQ(zel_valueConvert(&d, &s, ZEL_TIMESTAMPTZ, 0, kDf, '-', kTf, 0, sub), sOKAY);
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
    ZEL_VALUE s, d;
    zel_valueInit(&s);
    ASSERT_EQ(zel_valueSetString(&s, "7"), sOKAY);
    // One byte of text into a byte: its number.
    ASSERT_EQ(zel_valueConvert(&d, &s, ZEL_INT8, 0, kDf, '-', kTf, 0, sub), sOKAY);
    EXPECT_EQ(d.type, ZEL_INT8);
    EXPECT_EQ(d.vt.i8v, 55);
    // Narrow and UTF-8 text are the same bytes: a copy that keeps its type.
    ASSERT_EQ(zel_valueConvert(&d, &s, ZEL_WVARCHAR_UTF8, 0, kDf, '-', kTf, 0, sub), sOKAY);
    EXPECT_EQ(d.type, ZEL_CHAR);
    EXPECT_STREQ(d.vt.cv, "7");
    EXPECT_NE(d.vt.cv, s.vt.cv);
    zel_valueFree(&d, sub);
    zel_valueSetNull(&s);
    ASSERT_EQ(zel_valueConvert(&d, &s, ZEL_INT32, 0, kDf, '-', kTf, 0, sub), sOKAY);
    EXPECT_EQ(d.status, vsNULL);
    EXPECT_EQ(d.type, ZEL_CHAR);
    ZEL_VALUE q;
    zel_valueInitWithStatusAndType(&q, vsOKAY, ZEL_SUBQUERY);
    // A subquery marker stops before any conversion: no value yet.
    ASSERT_EQ(zel_valueConvert(&d, &q, ZEL_INT32, 0, kDf, '-', kTf, 0, sub), sOKAY);
    EXPECT_EQ(d.status, vsNOVAL);
    EXPECT_EQ(zel_valueConvert(nullptr, &q, ZEL_INT32, 0, kDf, '-', kTf, 0, sub), eINVNULLARG);
}

TEST_F(ConvertValue, StackFormsUseTheStackTag) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    ZEL_VALUE s, d;
    zel_valueSetUInt16(&s, 65535);
    ASSERT_EQ(zel_valueConvertStack(&d, &s, ZEL_CHAR, 0, kDf, '-', kTf, 0, stack), sOKAY);
    EXPECT_STREQ(d.vt.cv, "65535");
    const uint32_t x = 5;
    ASSERT_EQ(zel_valueConvertFromBufferStack(&d, ZEL_DOUBLE, 0, &x, ZEL_UINT32, 4, kDf, '-', kTf,
                                              0, stack),
              sOKAY);
    EXPECT_EQ(d.vt.dv, 5.0);
    b_tag_stackDestroy(stack);
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
                        return zel_valueConvert(d, &c.src, c.to, 0, kDf, '-', kTf, 0, sub);
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
            oom_check(master, {sub},
                      [&] {
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
                      },
                      {}, {stack});
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
        EXPECT_EQ(oom_check(master, {sub},
                            [&] {
                                ZEL_VALUE d;
                                zel_valueInit(&d);
                                char *text = nullptr;
                                const ZEL_RETCODE rc =
                                    form == 0   ? b_convertZelArray(&s, &d, ZEL_INT16, sub)
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
                                    form == 0 ? zel_valueFree(&d, sub)
                                              : zel_valueFreeStack(&d, stack);
                                }
                                return rc;
                            },
                            {}, {stack}),
                  1);
    }
    b_tag_stackDestroy(stack);
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

// ---- Text sources: one ordinary value and a boundary into each type.

TEST(ConvertFromText, EveryTextPairConvertsAndRangesHold) {
    struct Case {
        ZEL_TYPE to;
        const char *good;
        const char *past;  // one past the type's end, or null
    };
    const Case cases[] = {
        {ZEL_BOOL, "1", nullptr},
        {ZEL_INT8, "-128", "128"},
        {ZEL_UINT8, "255", "256"},
        {ZEL_INT16, "-32768", "32768"},
        {ZEL_UINT16, "65535", "65536"},
        {ZEL_INT32, "-2147483648", "2147483648"},
        {ZEL_UINT32, "4294967295", "4294967296"},
        {ZEL_INT64, "-9223372036854775808", "9223372036854775808"},
        {ZEL_UINT64, "18446744073709551615", "18446744073709551616"},
        {ZEL_FLOAT, "1.5", "1e39"},
        {ZEL_DOUBLE, "-1.7976931348623157e308", "1e309"},
        {ZEL_ROWID, "9223372036854775807", "99999999999999999999"},
        {ZEL_DATE, "2021-01-31", nullptr},
        {ZEL_TIME, "12:34:56", nullptr},
        {ZEL_TIMESTAMP, "2021-01-31 12:34:56", nullptr},
        {ZEL_TIMETZ, "12:34:56 +01:00", nullptr},
        {ZEL_TIMESTAMPTZ, "2021-01-31 12:34:56 +01:00", nullptr},
        {ZEL_BCD, "12345.678", nullptr},
        {ZEL_UUID, "00112233-4455-6677-8899-aabbccddeeff", nullptr},
        {ZEL_BINARY, "0x01AB", nullptr},
        {ZEL_CHAR, "text", nullptr},
    };
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
    const int64_t start = fixture_subBytes(sub);
    for (const Case &c : cases) {
        ZEL_VALUE s, d;
        zel_valueInit(&s);
        ASSERT_EQ(zel_valueSetString(&s, c.good), sOKAY);
        zel_valueInit(&d);
        const ZEL_RETCODE rc = zel_valueConvert(&d, &s, c.to, 64, kDf, '-', kTf, 0, sub);
        EXPECT_GE(rc, 0) << c.good << " into " << c.to;
        if (rc >= 0) {
            EXPECT_EQ(d.type, c.to);
            // Fifteen digits do not give the double's end back: no round trip
            // for the floating types.
            if (c.to != ZEL_CHAR && c.to != ZEL_FLOAT && c.to != ZEL_DOUBLE) {
                // Back to text and in again gives the same value.
                char back[128];
                size_t n = 0;
                ASSERT_GE(b_convertZelValueToBuffer(&d, ZEL_CHAR, kDf, '-', kTf, 0, back,
                                                    sizeof back, nullptr, &n),
                          0);
                ZEL_VALUE again;
                ASSERT_EQ(zel_valueConvertFromBuffer(&again, c.to, 64, back, ZEL_CHAR,
                                                     std::strlen(back) + 1, kDf, '-', kTf, 0, sub),
                          sOKAY)
                    << back;
                EXPECT_TRUE(zel_valueEqual(&d, &again)) << back;
                zel_valueFree(&again, sub);
                if (c.to == ZEL_TIMESTAMPTZ) b_tag_subFree(sub, again.vt.tszv);
            }
            if (c.to == ZEL_TIMESTAMPTZ) b_tag_subFree(sub, d.vt.tszv);
            zel_valueFree(&d, sub);
        }
        mark(ZEL_CHAR, c.to);
        if (c.past != nullptr) {
            ASSERT_EQ(zel_valueSetString(&s, c.past), sOKAY);
            zel_valueInit(&d);
            EXPECT_LT(zel_valueConvert(&d, &s, c.to, 64, kDf, '-', kTf, 0, sub), 0) << c.past;
        }
    }
    EXPECT_EQ(fixture_subBytes(sub), start);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
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
