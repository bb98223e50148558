// value_test.cpp - the tagged value: setters and getters of every type, deep
// copies that outlive their source, equality and ordering across widths and
// signs, NaN, release with the tag's accounting back to its start, and every
// allocation failing in turn.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "bcd.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_stack.h"
#include "types_types.h"
#include "value.h"

namespace {

ZEL_VALUE fresh() {
    ZEL_VALUE v;
    std::memset(&v, 0xAB, sizeof v);  // initialisers must clear everything
    zel_valueInit(&v);
    return v;
}

ZEL_VALUE subValue(B_TAG_SUB sub) {
    ZEL_VALUE v = fresh();
    v.tag.type = VAL_TAG_TYPE_SUB;
    v.tag.tag.sub = sub;
    return v;
}

// An inline value of `type` whose payload holds the bytes of `bits`.
template <class T>
ZEL_VALUE inl(ZEL_TYPE type, T bits) {
    ZEL_VALUE v = fresh();
    zel_valueInitWithStatusAndType(&v, vsOKAY, type);
    std::memcpy(&v.vt, &bits, sizeof bits);
    return v;
}

ZEL_BCD_T bcdOf(const char *text) {
    ZEL_BCD_T b;
    EXPECT_EQ(zel_bcdFromString(text, &b), sOKAY);
    return b;
}

// Same type, status and elements, and the same bytes of data.
bool sameData(const ZEL_VALUE &a, const ZEL_VALUE &b) {
    size_t n = 0;
    if (a.elts != 0) {
        n = a.elts * zel::detail::typeInfoLength(a.type);
    } else if (a.type == ZEL_TIMESTAMPTZ) {
        n = sizeof(ZEL_PACKED_TIMESTAMPTZ_T);
    } else if (zel_valueLength(&b, &n) != sOKAY) {
        return false;
    }
    return a.type == b.type && a.status == b.status && a.elts == b.elts &&
           std::memcmp(a.vt.pv, b.vt.pv, n) == 0;
}

// The header of a value: "status type elts len tagtype".
std::string hdr(int status, int type, uint32_t elts, size_t len, int tag) {
    return std::to_string(status) + " " + std::to_string(type) + " " + std::to_string(elts) + " " +
           std::to_string(len) + " " + std::to_string(tag);
}
std::string hdr(const ZEL_VALUE &v) {
    return hdr(v.status, v.type, v.elts, v.len, v.tag.type);
}

class ValueTagged : public TaggedTest {};

TEST(ValueInit, ClearsRecordAndTag) {
    ZEL_VALUE v;
    std::memset(&v, 0xAB, sizeof v);
    zel_valueInitWithStatusAndType(&v, vsCURRENT, ZEL_TIMESTAMP);
    EXPECT_EQ(hdr(v), hdr(vsCURRENT, ZEL_TIMESTAMP, 0, 0, VAL_TAG_TYPE_NONE));
    EXPECT_TRUE(v.vt.u64v == 0 && v.tag.tag.sub == nullptr);
    zel_valueInitAndSetNull(&v);
    EXPECT_EQ(hdr(v), hdr(vsNULL, ZEL_NOVAL, 0, 0, VAL_TAG_TYPE_NONE));
    zel_valueInitWithType(&v, ZEL_INT8);
    EXPECT_EQ(hdr(v), hdr(vsNOVAL, ZEL_INT8, 0, 0, VAL_TAG_TYPE_NONE));
    zel_valueInit(nullptr);  // ignored
}

#define SET(Type, ...) [](ZEL_VALUE *p) { zel_valueSet##Type(p, __VA_ARGS__); }
#define CMP(Type, x) [](auto v, auto c) { return zel_valueCompareTo##Type(v, x, c); }

TEST(ValueSet, InlineTypesReadBackAndClearTag) {
    // {setter, type, payload bits, the double of the value or NaN for eINVARGTYPE}
    using Set = void (*)(ZEL_VALUE *);
    const std::tuple<Set, ZEL_TYPE, uint64_t, double> cases[] = {
        {SET(Boolean, ZEL_TRUE), ZEL_BOOL, 1, NAN},
        {SET(Int8, -128), ZEL_INT8, 0x80, -128},
        {SET(UInt8, 255), ZEL_UINT8, 0xFF, 255},
        {SET(Int16, -32768), ZEL_INT16, 0x8000, -32768},
        {SET(UInt16, 65535), ZEL_UINT16, 0xFFFF, 65535},
        {SET(Int32, INT32_MIN), ZEL_INT32, 0x80000000, -2147483648.0},
        {SET(UInt32, UINT32_MAX), ZEL_UINT32, 0xFFFFFFFF, 4294967295.0},
        {SET(Int64, -5), ZEL_INT64, uint64_t(-5), -5},
        {SET(UInt64, UINT64_MAX), ZEL_UINT64, UINT64_MAX, 18446744073709551615.0},
        {SET(Float, 1.5f), ZEL_FLOAT, 0x3FC00000, 1.5},
        {SET(Double, -2.25), ZEL_DOUBLE, 0xC002000000000000, -2.25},
        {SET(Date, 719163), ZEL_DATE, 719163, 719163},
        {SET(Time, 863999999), ZEL_TIME, 863999999, 863999999},
        {SET(TimeTZ, {5, -60}), ZEL_TIMETZ, 0xFFC400000005, NAN},
        {SET(Timestamp, {1, 2}), ZEL_TIMESTAMP, 0x200000001, NAN},
        {SET(RowId, 42), ZEL_ROWID, 42, NAN},
        {SET(ParamRef, 3), ZEL_PARAMREF, 3, NAN},
        {SET(OuterRef, 3), ZEL_OUTERREF, 3, NAN},
        {SET(ColRef, 3), ZEL_COLREF, 3, NAN},
        {SET(ProcVar, 3), ZEL_PROCVAR, 3, NAN},
        {SET(ResultCol, 65535), ZEL_RESULTCOL, 65535, NAN}};
    for (const auto &[set, type, bits, asDouble] : cases) {
        ZEL_VALUE w = fresh();
        w.tag.type = VAL_TAG_TYPE_SUB;
        w.tag.tag.sub = reinterpret_cast<B_TAG_SUB>(&w);
        w.len = 9;
        set(&w);
        EXPECT_EQ(hdr(w), hdr(vsOKAY, type, 0, 0, VAL_TAG_TYPE_NONE));
        EXPECT_EQ(w.tag.tag.sub, nullptr);
        const size_t width = type == ZEL_TIMETZ ? 6 : zel::detail::typeInfoLength(type);
        EXPECT_EQ(std::memcmp(&w.vt, &bits, width ? width : 2), 0) << type;
        double d = 0;
        const ZEL_RETCODE rc = zel_valueGetDouble(&w, &d);
        EXPECT_EQ(rc, std::isnan(asDouble) ? eINVARGTYPE : sOKAY) << type;
        if (rc == sOKAY) {
            EXPECT_EQ(d, asDouble) << type;
        }
        set(nullptr);  // ignored
    }
}

TEST(ValueSet, ErrorNullAndNoVal) {
    ZEL_VALUE v = inl(ZEL_INT32, 7);
    zel_valueSetNull(&v);
    EXPECT_EQ(hdr(v), hdr(vsNULL, ZEL_INT32, 0, 0, VAL_TAG_TYPE_NONE));  // the type survives
    zel_valueSetNoVal(&v);
    EXPECT_EQ(hdr(v), hdr(vsNOVAL, ZEL_NOVAL, 0, 0, VAL_TAG_TYPE_NONE));
    v.tag.type = VAL_TAG_TYPE_STACK;
    zel_valueSetError(&v, eDIVBY0);
    EXPECT_EQ(hdr(v), hdr(vsERROR, ZEL_ZERODIV, 0, 0, VAL_TAG_TYPE_STACK));  // the tag stays
    EXPECT_EQ(v.vt.err, eDIVBY0);
    zel_valueSetError(&v, eRANGE);
    EXPECT_EQ(v.type, ZEL_NOVAL);
}

// Through a sub tag the setters copy (their bytes are checked under the
// allocation failures below); each sets its len, and the release follows
// the type: wide text and a zoned stamp are left to the tag, narrow text is
// freed only with a len, the binary family by its pointer.
TEST_F(ValueTagged, PointerSettersLenAndRelease) {
    ZEL_VALUE v = subValue(sub);
    char text[] = "hello";
    ASSERT_EQ(zel_valueSetString(&v, text), sOKAY);
    EXPECT_EQ(hdr(v), hdr(vsOKAY, ZEL_CHAR, 0, 6, VAL_TAG_TYPE_SUB));
    text[0] = 'J';
    EXPECT_STREQ(v.vt.cv, "hello");
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.cv, nullptr);
    EXPECT_EQ(v.len, 0u);
    const uint8_t bytes[3] = {1, 2, 3};
    ASSERT_EQ(zel_valueSetBinary(&v, bytes, 3), sOKAY);
    EXPECT_EQ(hdr(v), hdr(vsOKAY, ZEL_BINARY, 0, 3, VAL_TAG_TYPE_SUB));
    v.type = ZEL_BLOB;
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.pv, nullptr);
    const ZEL_BCD_T b = bcdOf("-12.5");
    ASSERT_EQ(zel_valueSetBCD(&v, &b), sOKAY);
    EXPECT_EQ(hdr(v), hdr(vsOKAY, ZEL_BCD, 0, 0, VAL_TAG_TYPE_SUB));
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.bcd, nullptr);
    ASSERT_EQ(zel_valueSetString(&v, "clob"), sOKAY);
    v.type = ZEL_CLOB;
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.pv, nullptr);
    const ZEL_PACKED_TIMESTAMPTZ_T tz = {738000, 36000000, 120};
    ASSERT_EQ(zel_valueSetTimestampTZ(&v, &tz), sOKAY);
    EXPECT_EQ(v.vt.tszv->tz, 120);
    for (ZEL_TYPE kept : {ZEL_TIMESTAMPTZ, ZEL_WVARCHAR}) {
        if (kept == ZEL_WVARCHAR) {
            ASSERT_EQ(zel_valueSetString(&v, "wide"), sOKAY);
        }
        v.type = kept;
        void *keep = const_cast<void *>(static_cast<const void *>(v.vt.pv));
        zel_valueFree(&v, sub);
        EXPECT_EQ(v.vt.pv, keep) << kept;
        b_tag_subFree(sub, keep);
    }
    zel_valueFree(nullptr, sub);
}

TEST(ValueSet, PointerSettersBorrowWithoutTag) {
    ZEL_VALUE v = fresh();
    const char *text = "borrowed";
    ASSERT_EQ(zel_valueSetString(&v, text), sOKAY);
    EXPECT_EQ(v.vt.cv, text);
    EXPECT_EQ(v.len, 9u);
    EXPECT_EQ(zel_valueSetString(nullptr, text), eINVNULLARG);
    EXPECT_EQ(zel_valueSetString(&v, nullptr), eINVNULLARG);
    EXPECT_EQ(zel_valueSetBinary(nullptr, text, 1), eINVNULLARG);
    EXPECT_EQ(zel_valueSetUuid(nullptr, nullptr), eINVNULLARG);
    v.tag.type = static_cast<VAL_TAG_TYPE>(7);
    const ZEL_VALUE before = v;
    EXPECT_EQ(zel_valueSetString(&v, "x"), eINVARG);
    EXPECT_EQ(std::memcmp(&v, &before, sizeof v), 0);
}

TEST_F(ValueTagged, StackTagTooSmallLeavesRecord) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    ZEL_VALUE v = fresh();
    v.tag.type = VAL_TAG_TYPE_STACK;
    v.tag.tag.stack = stack;
    ASSERT_EQ(zel_valueSetString(&v, "on the stack"), sOKAY);
    const ZEL_VALUE before = v;
    static uint8_t big[1 << 20];  // larger than any block the stack tag hands out
    EXPECT_EQ(zel_valueSetBinary(&v, big, sizeof big), eNOMEMORY);
    EXPECT_EQ(std::memcmp(&v, &before, sizeof v), 0);
    zel_valueFreeStack(&v, stack);
    int64_t now = -1, peak = 0;
    b_tag_stackMemUsage(stack, &now, &peak);
    EXPECT_EQ(now, 0);
    b_tag_stackDestroy(stack);
}

TEST(ValueGet, IntegerGettersDifferOnPurpose) {
    constexpr ZEL_RETCODE T = eINVARGTYPE, R = eRANGE, K = sOKAY;
    // {value, GetInt64 code and result, GetUInt64 code and result, GetSizeT code}
    const std::tuple<ZEL_VALUE, ZEL_RETCODE, int64_t, ZEL_RETCODE, uint64_t, ZEL_RETCODE> cases[] =
        {{inl(ZEL_UINT64, 1ull << 63), R, 0, K, 1ull << 63, K},
         {inl(ZEL_UINT64, uint64_t{INT64_MAX}), K, INT64_MAX, K, INT64_MAX, K},
         {inl(ZEL_INT8, int8_t{-1}), K, -1, K, 255, K},  // raw pattern, zero-extended
         {inl(ZEL_INT32, -2), K, -2, K, 0xFFFFFFFEu, K},
         {inl(ZEL_INT64, int64_t{-2}), K, -2, K, 0xFFFFFFFFFFFFFFFEull, K},
         {inl(ZEL_ROWID, uint64_t{77}), T, 0, K, 77, T},
         {inl(ZEL_DOUBLE, 1.8446744073709550e19), T, 0, K, 18446744073709549568ull, T},  // > 2^63
         {inl(ZEL_FLOAT, 3.9f), T, 0, K, 3, T},
         {inl(ZEL_DOUBLE, double(NAN)), T, 0, K, 0, T},
         {inl(ZEL_BOOL, ZEL_TRUE), T, 0, T, 5, T}};
    for (const auto &[v, rcI, i, rcU, u, rcS] : cases) {
        int64_t gi = 0;
        uint64_t gu = 5;
        size_t gs = 0;
        EXPECT_EQ(zel_valueGetInt64(&v, &gi), rcI) << v.type;
        if (rcI == sOKAY) {
            EXPECT_EQ(gi, i) << v.type;
        }
        EXPECT_EQ(zel_valueGetUInt64(&v, &gu), rcU) << v.type;
        EXPECT_EQ(gu, u) << v.type;  // untouched on a failure
        EXPECT_EQ(zel_valueGetSizeT(&v, &gs), rcS) << v.type;
        if (rcS == sOKAY) {
            EXPECT_EQ(gs, u) << v.type;
        }
    }
    int64_t i = 0;
    EXPECT_EQ(zel_valueGetInt64(nullptr, &i), eINVNULLARG);
    EXPECT_EQ(zel_valueGetInt64(&std::get<0>(cases[0]), nullptr), eINVNULLARG);
}

TEST(ValueGet, DoubleOfDecimalAndSigns) {
    ZEL_VALUE v = fresh();
    ZEL_BCD_T b = bcdOf("-2.5"), z = bcdOf("0");
    ASSERT_EQ(zel_valueSetBCD(&v, &b), sOKAY);
    double d = 0;
    int16_t sign = 9;
    EXPECT_EQ(zel_valueGetDouble(&v, &d), sOKAY);
    EXPECT_EQ(d, -2.5);
    EXPECT_EQ(zel_valueGetSign(&v, &sign), sOKAY);
    EXPECT_EQ(sign, -1);
    EXPECT_FALSE(zel_valueIsZero(&v));
    zel_valueChangeSign(&v);
    EXPECT_EQ(zel_valueGetDouble(&v, &d), sOKAY);
    EXPECT_EQ(d, 2.5);
    ASSERT_EQ(zel_valueSetBCD(&v, &z), sOKAY);
    EXPECT_EQ(zel_valueGetSign(&v, &sign), sOKAY);
    EXPECT_EQ(sign, 0);
    EXPECT_TRUE(zel_valueIsZero(&v));
    // {value, sign code, sign, zero}; a boolean is never zero and has no sign.
    const std::tuple<ZEL_VALUE, ZEL_RETCODE, int16_t, bool> cases[] = {
        {inl(ZEL_DOUBLE, double(NAN)), sOKAY, 1, false},
        {inl(ZEL_DOUBLE, -0.0), sOKAY, 0, true},
        {inl(ZEL_UINT32, 0u), sOKAY, 0, true},
        {inl(ZEL_BOOL, ZEL_FALSE), eINVARGTYPE, 0, false},
        {inl(ZEL_INT16, int16_t{-4}), sOKAY, -1, false},
        {inl(ZEL_UINT64, UINT64_MAX), sOKAY, 1, false}};
    for (const auto &[w, rc, s, zero] : cases) {
        sign = 9;
        EXPECT_EQ(zel_valueGetSign(&w, &sign), rc) << w.type;
        EXPECT_EQ(sign, rc == sOKAY ? s : 9) << w.type;
        EXPECT_EQ(zel_valueIsZero(&w) == ZEL_TRUE, zero) << w.type;
    }
}

TEST(ValueChangeSign, WidthsAndUnsignedPromotion) {
    // {before, type after, status after, payload after}
    const std::tuple<ZEL_VALUE, ZEL_TYPE, VAL_STATUS, int64_t> cases[] = {
        {inl(ZEL_INT8, int8_t{-128}), ZEL_INT8, vsOKAY, -128},  // the most negative stays
        {inl(ZEL_INT32, 5), ZEL_INT32, vsOKAY, -5},
        {inl(ZEL_UINT8, uint8_t{200}), ZEL_INT16, vsOKAY, -200},
        {inl(ZEL_UINT16, uint16_t{65535}), ZEL_INT32, vsOKAY, -65535},
        {inl(ZEL_UINT32, UINT32_MAX), ZEL_INT64, vsOKAY, -4294967295ll},
        {inl(ZEL_UINT64, 1ull << 63), ZEL_INT64, vsOKAY, INT64_MIN},
        {inl(ZEL_UINT64, (1ull << 63) + 1), ZEL_UINT64, vsDATALOSS, int64_t((1ull << 63) + 1)},
        {inl(ZEL_BOOL, ZEL_FALSE), ZEL_BOOL, vsOKAY, ZEL_TRUE},
        {inl(ZEL_BOOL, ZEL_TRUE), ZEL_BOOL, vsOKAY, ZEL_FALSE},
        {inl(ZEL_DATE, 10u), ZEL_DATE, vsOKAY, 10}};
    for (auto [v, type, status, after] : cases) {
        zel_valueChangeSign(&v);
        EXPECT_EQ(v.type, type);
        EXPECT_EQ(v.status, status);
        int64_t got = 0;
        const size_t width = zel::detail::typeInfoLength(type);
        std::memcpy(&got, &v.vt, width);
        if (width < 8) got = (got << (64 - 8 * width)) >> (64 - 8 * width);  // sign-extend
        EXPECT_EQ(got, type == ZEL_BOOL || type == ZEL_DATE ? after & 0xFFFFFFFF : after) << type;
    }
    ZEL_VALUE d = inl(ZEL_DOUBLE, 0.0), f = inl(ZEL_FLOAT, float(NAN));
    zel_valueChangeSign(&d);
    zel_valueChangeSign(&f);
    EXPECT_TRUE(std::signbit(d.vt.dv));
    EXPECT_TRUE(std::signbit(f.vt.fv));
    zel_valueChangeSign(nullptr);
}

TEST(ValueCompareTo, ExactTypeAndNaN) {
    using Cmp = std::function<ZEL_RETCODE(const ZEL_VALUE *, ZEL_COMPARE *)>;
    // {value, compare call, code, order}; no widening between types.
    const std::tuple<ZEL_VALUE, Cmp, ZEL_RETCODE, ZEL_COMPARE> cases[] = {
        {inl(ZEL_INT16, int16_t{7}), CMP(Int32, 7), eTYPEMISMATCH, ZEL_EQ},
        {inl(ZEL_INT16, int16_t{7}), CMP(Int16, 8), sOKAY, ZEL_LT},
        {inl(ZEL_UINT64, UINT64_MAX),  // unsigned order, not the signed pattern
         CMP(UInt64, 1), sOKAY, ZEL_GT},
        {inl(ZEL_UINT64, UINT64_MAX), CMP(Int64, 1), eTYPEMISMATCH, ZEL_EQ},
        {inl(ZEL_INT64, int64_t{-1}), CMP(Int64, 0), sOKAY, ZEL_LT},
        {inl(ZEL_UINT8, uint8_t{200}), CMP(UInt8, 100), sOKAY, ZEL_GT},
        {inl(ZEL_UINT8, uint8_t{200}), CMP(Int8, 100), eTYPEMISMATCH, ZEL_EQ},
        {inl(ZEL_INT8, int8_t{-100}), CMP(Int8, 100), sOKAY, ZEL_LT},
        {inl(ZEL_UINT16, uint16_t{1}), CMP(UInt16, 1), sOKAY, ZEL_EQ},
        {inl(ZEL_UINT32, 3000000000u), CMP(UInt32, 1), sOKAY, ZEL_GT},
        {inl(ZEL_INT32, -3), CMP(Int32, -3), sOKAY, ZEL_EQ},
        {inl(ZEL_DOUBLE, double(NAN)), CMP(Double, 1.0), sOKAY, ZEL_EQ},
        {inl(ZEL_FLOAT, 1.0f), CMP(Float, NAN), sOKAY, ZEL_EQ},
        {inl(ZEL_FLOAT, 1.0f), CMP(Float, 2.0f), sOKAY, ZEL_LT},
        {inl(ZEL_FLOAT, 1.0f), CMP(Double, 1.0), eTYPEMISMATCH, ZEL_EQ}};
    for (const auto &[v, cmp, rc, order] : cases) {
        ZEL_COMPARE c = order == ZEL_EQ ? ZEL_LT : ZEL_EQ;  // changed only on success
        EXPECT_EQ(cmp(&v, &c), rc) << v.type;
        if (rc == sOKAY) {
            EXPECT_EQ(c, order) << v.type;
        }
        EXPECT_EQ(cmp(&v, nullptr), rc) << v.type;
    }
}

TEST(ValueEqual, HeaderFieldsThenPayload) {
    auto eq = [](ZEL_VALUE a, ZEL_VALUE b) { return zel_valueEqual(&a, &b) == ZEL_TRUE; };
    EXPECT_FALSE(eq(inl(ZEL_INT32, 5), inl(ZEL_INT64, int64_t{5})));  // widths are types
    EXPECT_TRUE(eq(inl(ZEL_INT32, 5), inl(ZEL_INT32, 5)));
    EXPECT_FALSE(eq(inl(ZEL_INT32, 5), inl(ZEL_UINT32, 5)));  // signed against unsigned
    EXPECT_FALSE(eq(inl(ZEL_DOUBLE, double(NAN)), inl(ZEL_DOUBLE, double(NAN))));
    EXPECT_TRUE(eq(inl(ZEL_DOUBLE, 0.0), inl(ZEL_DOUBLE, -0.0)));
    ZEL_VALUE a = inl(ZEL_INT32, 5), b = inl(ZEL_INT32, 6);
    zel_valueSetNull(&a);
    zel_valueSetNull(&b);
    EXPECT_FALSE(eq(a, b));  // NULLs still compare payloads
    // Wide UTF-8 text is equal on status, type and len alone.
    a = fresh();
    b = fresh();
    ASSERT_EQ(zel_valueSetString(&a, "abc"), sOKAY);
    ASSERT_EQ(zel_valueSetString(&b, "xyz"), sOKAY);
    EXPECT_FALSE(eq(a, b));
    a.type = b.type = ZEL_WVARCHAR_UTF8;
    EXPECT_TRUE(eq(a, b));
    a.type = b.type = ZEL_VARCHAR;
    EXPECT_FALSE(eq(a, b));
    const ZEL_PACKED_TIMESTAMPTZ_T t1 = {700000, 100, 60}, t2 = {700000, 100, -300};
    ASSERT_EQ(zel_valueSetTimestampTZ(&a, &t1), sOKAY);
    ASSERT_EQ(zel_valueSetTimestampTZ(&b, &t2), sOKAY);
    EXPECT_TRUE(eq(a, b));  // zones are not compared
    zel_valueSetTimeTZ(&a, {100, 60});
    zel_valueSetTimeTZ(&b, {100, 0});
    EXPECT_TRUE(eq(a, b));
    ZEL_BCD_T x = bcdOf("1.50"), y = bcdOf("1.5");
    ASSERT_EQ(zel_valueSetBCD(&a, &x), sOKAY);
    ASSERT_EQ(zel_valueSetBCD(&b, &y), sOKAY);
    EXPECT_TRUE(eq(a, b));
    int32_t e1[3] = {1, 2, 3}, e2[3] = {1, 2, 4};
    a = inl(ZEL_INT32, e1);
    b = inl(ZEL_INT32, e2);
    a.elts = b.elts = 2;
    EXPECT_TRUE(eq(a, b));
    a.elts = b.elts = 3;
    EXPECT_FALSE(eq(a, b));
    EXPECT_TRUE(zel_valueEqual(nullptr, nullptr));
    EXPECT_FALSE(zel_valueEqual(&a, nullptr));
}

TEST(ValueDateTimeCompare, AcrossTypes) {
    const ZEL_VALUE d = inl(ZEL_DATE, 738000u), t = inl(ZEL_TIME, 500u),
                    ts = inl(ZEL_TIMESTAMP, ZEL_PACKED_TIMESTAMP_T{738000, 400}),
                    tz = inl(ZEL_TIMETZ, ZEL_PACKED_TIMETZ_T{600, 0});
    const std::tuple<ZEL_VALUE, ZEL_VALUE, ZEL_COMPARE> cases[] = {
        {d, ts, ZEL_EQ},  // date against the stamp's date
        {t, ts, ZEL_GT},  // time against the stamp's time
        {ts, t, ZEL_EQ},  // not a compared pair
        {ts, inl(ZEL_TIMESTAMP, ZEL_PACKED_TIMESTAMP_T{738000, 401}), ZEL_LT},
        {ts, inl(ZEL_TIMESTAMP, ZEL_PACKED_TIMESTAMP_T{737999, 900}), ZEL_GT},
        {tz, t, ZEL_GT}};
    for (const auto &[l, r, order] : cases) {
        ZEL_COMPARE c = order == ZEL_EQ ? ZEL_LT : ZEL_EQ;
        EXPECT_EQ(zel_valueDateTimeCompare(&l, &r, &c), sOKAY);
        EXPECT_EQ(c, order) << l.type << " " << r.type;
    }
    EXPECT_EQ(zel_valueDateTimeCompare(&ts, &d, nullptr), sOKAY);
}

TEST_F(ValueTagged, DeepCopiesSurviveTheSource) {
    const ZEL_BCD_T b = bcdOf("123.456");
    const ZEL_UUID_T u = {0x01020304, 0x0506, 0x0708, 9, 10, {11, 12, 13, 14, 15, 16}};
    const uint8_t bytes[4] = {9, 8, 7, 6};
    const std::function<ZEL_RETCODE(ZEL_VALUE *)> setters[] = {
        [](ZEL_VALUE *v) { return zel_valueSetString(v, "a deep copy"); },
        [&](ZEL_VALUE *v) { return zel_valueSetBinary(v, bytes, 4); },
        [&](ZEL_VALUE *v) { return zel_valueSetBCD(v, &b); },
        [&](ZEL_VALUE *v) { return zel_valueSetUuid(v, &u); },
        [](ZEL_VALUE *v) {
            zel_valueSetDouble(v, 2.5);
            return sOKAY;
        }};
    for (const auto &set : setters) {
        ZEL_VALUE src = subValue(sub), dst = fresh(), orig = fresh();
        ASSERT_EQ(set(&src), sOKAY);
        ASSERT_EQ(set(&orig), sOKAY);  // borrowed: outlives src
        ASSERT_EQ(zel_valueCopyEx(&dst, &src, 1000, sub), sOKAY);
        if (src.type != ZEL_DOUBLE) {
            EXPECT_NE(dst.vt.pv, src.vt.pv) << src.type;
        }
        zel_valueFree(&src, sub);
        size_t len = 0;
        ASSERT_EQ(zel_valueLength(&orig, &len), sOKAY);
        EXPECT_TRUE(sameData(dst, orig)) << orig.type;
        EXPECT_EQ(dst.len, len) << orig.type;  // the computed length where the source had 0
        zel_valueFree(&dst, sub);
    }
}

TEST_F(ValueTagged, DeepCopyRules) {
    ZEL_VALUE src = subValue(sub), dst = fresh();
    ASSERT_EQ(zel_valueSetString(&src, "truncate me"), sOKAY);
    ASSERT_EQ(zel_valueCopyEx(&dst, &src, 5, sub), sOKAY);
    EXPECT_STREQ(dst.vt.cv, "trun");  // maxLen - 1 characters
    EXPECT_EQ(dst.len, 5u);
    zel_valueFree(&dst, sub);
    // A null tag shares the pointer.
    ASSERT_EQ(zel_valueCopyEx(&dst, &src, 100, nullptr), sOKAY);
    EXPECT_EQ(dst.vt.cv, src.vt.cv);
    zel_valueFree(&src, sub);
    // NULL: type copied, payload and len of the destination untouched.
    dst = fresh();
    dst.len = 3;
    src = inl(ZEL_INT32, 4);
    zel_valueSetNull(&src);
    ASSERT_EQ(zel_valueCopyEx(&dst, &src, 100, sub), sOKAY);
    EXPECT_EQ(hdr(dst), hdr(vsNULL, ZEL_INT32, 0, 3, VAL_TAG_TYPE_NONE));
    // No value: a large-object marker keeps its payload.
    zel_valueInitWithType(&src, ZEL_DEFAULT_AUTO);
    src.vt.u64v = 99;
    ASSERT_EQ(zel_valueCopyEx(&dst, &src, 100, sub), sOKAY);
    EXPECT_EQ(hdr(dst), hdr(vsNOVAL, ZEL_DEFAULT_AUTO, 0, 0, VAL_TAG_TYPE_NONE));
    EXPECT_EQ(dst.vt.u64v, 99u);
    // Element arrays take the element size of the type table.
    int16_t elems[4] = {1, -2, 3, -4};
    src = inl(ZEL_INT16, elems);
    src.elts = 4;
    dst = fresh();
    ASSERT_EQ(zel_valueCopyEx(&dst, &src, 0, sub), sOKAY);
    EXPECT_NE(dst.vt.i16a, elems);
    EXPECT_TRUE(zel_valueEqual(&dst, &src));
    elems[3] = 7;
    EXPECT_FALSE(zel_valueEqual(&dst, &src));
    zel_valueFree(&dst, sub);
    EXPECT_EQ(dst.elts, 0u);
    EXPECT_EQ(dst.vt.pv, nullptr);
    EXPECT_EQ(zel_valueCopyEx(nullptr, &src, 0, sub), eINVNULLARG);
    EXPECT_EQ(zel_valueCopyStackEx(&dst, nullptr, 0, nullptr), eINVNULLARG);
}

TEST(ValueCopy, ShallowKeepsLenAndTag) {
    ZEL_VALUE a = fresh(), b = fresh();
    ASSERT_EQ(zel_valueSetString(&a, "shared"), sOKAY);
    b.len = 1;
    b.tag.type = VAL_TAG_TYPE_SUB;
    ASSERT_EQ(zel_valueCopy(&b, &a), sOKAY);
    EXPECT_EQ(b.vt.cv, a.vt.cv);
    EXPECT_EQ(hdr(b), hdr(vsOKAY, ZEL_CHAR, 0, 1, VAL_TAG_TYPE_SUB));
    EXPECT_EQ(zel_valueCopy(nullptr, &a), eINVNULLARG);
}

// The pointer setters and the deep copies, through a sub tag and a stack tag,
// with allocation 1, 2, 3, ... failing. A setter leaves the record as it was;
// the copy of an element array gives eNOMEMORY and leaves the copy as it was;
// the copy of a scalar deliberately still succeeds, its payload as it was.
TEST_F(ValueTagged, SettersAndCopiesUnderFailingAllocations) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 1 << 16, 1 << 16, &stack), sOKAY);
    static const ZEL_BCD_T b = bcdOf("-12.5");
    static const ZEL_UUID_T u = {0x12345678, 9, 10, 11, 12, {13, 14, 15, 16, 17, 18}};
    static const ZEL_PACKED_TIMESTAMPTZ_T tz = {738000, 36000000, 120};
    static const uint8_t bytes[300] = {1, 2, 3};
    static int16_t elems[4] = {1, -2, 3, -4};
    const std::function<ZEL_RETCODE(ZEL_VALUE *)> setters[] = {
        [](ZEL_VALUE *v) { return zel_valueSetString(v, "a text of some length"); },
        [](ZEL_VALUE *v) { return zel_valueSetBinary(v, bytes, sizeof bytes); },
        [](ZEL_VALUE *v) { return zel_valueSetBCD(v, &b); },
        [](ZEL_VALUE *v) { return zel_valueSetUuid(v, &u); },
        [](ZEL_VALUE *v) { return zel_valueSetTimestampTZ(v, &tz); }};
    std::vector<ZEL_VALUE> sources;
    for (const auto &set : setters) {
        sources.push_back(fresh());
        ASSERT_EQ(set(&sources.back()), sOKAY);  // borrowed
    }
    sources.push_back(sources[0]);
    sources.back().type = ZEL_CLOB;
    sources.push_back(sources[1]);
    sources.back().type = ZEL_BLOB;
    sources.push_back(inl(ZEL_INT16, elems));
    sources.back().elts = 4;
    for (const bool onStack : {false, true}) {
        auto release = [&](ZEL_VALUE *v) {
            if (v->type == ZEL_TIMESTAMPTZ) {  // left to the tag by the value
                onStack ? b_tag_stackFree(stack, v->vt.tszv) : b_tag_subFree(sub, v->vt.tszv);
            } else {
                onStack ? zel_valueFreeStack(v, stack) : zel_valueFree(v, sub);
            }
        };
        for (size_t i = 0; i < std::size(setters); ++i) {
            SCOPED_TRACE(testing::Message() << "setter " << i << (onStack ? " on the stack" : ""));
            auto set = [&] {
                ZEL_VALUE v = subValue(sub);
                if (onStack) {
                    v.tag.type = VAL_TAG_TYPE_STACK;
                    v.tag.tag.stack = stack;
                }
                const ZEL_VALUE before = v;
                const ZEL_RETCODE rc = setters[i](&v);
                if (rc != sOKAY) {
                    EXPECT_EQ(std::memcmp(&v, &before, sizeof v), 0);
                    return rc;
                }
                EXPECT_TRUE(sameData(v, sources[i]));
                EXPECT_NE(v.vt.pv, sources[i].vt.pv);
                release(&v);
                return rc;
            };
            EXPECT_EQ(oom_check(master, {sub}, set, {}, {stack}), 1);
        }
        for (const ZEL_VALUE &src : sources) {
            SCOPED_TRACE(testing::Message()
                         << "copy of " << src.type << (onStack ? " on the stack" : ""));
            auto copy = [&] {
                ZEL_VALUE d = fresh();
                const ZEL_VALUE before = d;
                const ZEL_RETCODE rc = onStack ? zel_valueCopyStackEx(&d, &src, 1000, stack)
                                               : zel_valueCopyEx(&d, &src, 1000, sub);
                if (rc != sOKAY) {
                    EXPECT_EQ(std::memcmp(&d, &before, sizeof d), 0);
                } else if (b_tag_masterFailureGiven(master) == ZEL_TRUE) {
                    EXPECT_EQ(d.vt.pv, before.vt.pv);
                } else {
                    EXPECT_TRUE(sameData(d, src));
                    if (src.type != ZEL_TIMESTAMPTZ) {  // shared, not copied
                        EXPECT_NE(d.vt.pv, src.vt.pv);
                        release(&d);
                    }
                }
                return rc;
            };
            oom_check(master, {sub}, copy, {}, {stack});
        }
    }
    b_tag_stackDestroy(stack);
}

TEST(ValueLength, ByType) {
    ZEL_VALUE v = fresh();
    size_t n = 0;
    EXPECT_EQ(zel_valueLength(&v, &n), eINVARG);
    zel_valueInitAndSetNull(&v);
    EXPECT_EQ(zel_valueLength(&v, &n), eINVARG);
    const ZEL_BCD_T b = bcdOf("1");
    const uint8_t bytes[2] = {};
    // {setter, type set after, length}
    const std::tuple<std::function<void(ZEL_VALUE *)>, ZEL_TYPE, size_t> cases[] = {
        {[](ZEL_VALUE *p) { EXPECT_EQ(zel_valueSetString(p, "four"), sOKAY); }, ZEL_CHAR, 5},
        {[](ZEL_VALUE *p) { EXPECT_EQ(zel_valueSetString(p, "four"), sOKAY); }, ZEL_WVARCHAR, 0},
        {[&](ZEL_VALUE *p) { EXPECT_EQ(zel_valueSetBCD(p, &b), sOKAY); }, ZEL_BCD, 37},
        {[&](ZEL_VALUE *p) { EXPECT_EQ(zel_valueSetBinary(p, bytes, 2), sOKAY); }, ZEL_BLOB, 2},
        {SET(Int64, 1), ZEL_INT64, 0}};
    for (const auto &[set, type, len] : cases) {
        set(&v);
        v.type = type;
        EXPECT_EQ(zel_valueLength(&v, &n), sOKAY);
        EXPECT_EQ(n, len) << type;
        EXPECT_EQ(zel_valueLength(&v, nullptr), sOKAY);
    }
}

TEST(ValueToBuffer, NativeBytes) {
    ZEL_VALUE v = fresh();
    uint8_t buf[64];
    size_t n = 0;
    // "code bytes" of a copy into `size` bytes; the bytes as text.
    auto into = [&](size_t size) {
        std::memset(buf, 0, sizeof buf);
        const ZEL_RETCODE rc = zel_valueToBuffer(&v, size ? buf : nullptr, size, &n);
        return std::to_string(rc) + " " + std::to_string(n) + " " + reinterpret_cast<char *>(buf);
    };
    zel_valueSetInt32(&v, 0x01020304);
    ASSERT_EQ(into(sizeof buf), "0 4 \x04\x03\x02\x01");
    zel_valueSetTimestamp(&v, {3, 4});
    EXPECT_EQ(into(0), "0 8 ");
    const ZEL_BCD_T b = bcdOf("9.75");
    ASSERT_EQ(zel_valueSetBCD(&v, &b), sOKAY);
    ASSERT_EQ(into(sizeof buf).substr(0, 5), "0 37 ");
    EXPECT_EQ(std::memcmp(buf, &b, 37), 0);
    ASSERT_EQ(zel_valueSetString(&v, "abcdef"), sOKAY);
    const std::string trunc = std::to_string(sTRUNCATE);
    EXPECT_EQ(into(sizeof buf), "0 6 abcdef");
    EXPECT_EQ(into(4), trunc + " 3 abc");
    EXPECT_EQ(into(6), trunc + " 5 abcde");  // no room for the zero
    EXPECT_EQ(into(0), "0 6 ");
    const uint8_t bytes[5] = {'1', '2', '3', '4', '5'};
    ASSERT_EQ(zel_valueSetBinary(&v, bytes, 5), sOKAY);
    EXPECT_EQ(into(3), trunc + " 5 123");
    zel_valueSetNull(&v);
    EXPECT_EQ(into(sizeof buf), "0 " + std::to_string(SIZE_MAX) + " ");
    n = 17;
    zel_valueInitWithStatusAndType(&v, vsOKAY, ZEL_WCHAR);
    EXPECT_EQ(into(sizeof buf), std::to_string(eINVARGTYPE) + " 17 ");
    zel_valueSetDouble(&v, 1.0);
    EXPECT_EQ(zel_valueToBuffer(&v, buf, 2, &n), sTRUNCATE);
    EXPECT_EQ(zel_valueToBuffer(nullptr, buf, 2, &n), eINVNULLARG);
}

}  // namespace
