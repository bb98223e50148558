// value_test.cpp - the tagged value: setters and getters of every type, deep
// copies that outlive their source, equality and ordering across widths and
// signs, NaN, release with the tag's accounting back to its start.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <vector>
#include <limits>

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

class ValueTagged : public TaggedTest {};

}  // namespace

TEST(ValueInit, ClearsRecordAndTag) {
    ZEL_VALUE v;
    std::memset(&v, 0xAB, sizeof v);
    zel_valueInitWithStatusAndType(&v, vsCURRENT, ZEL_TIMESTAMP);
    EXPECT_EQ(v.status, vsCURRENT);
    EXPECT_EQ(v.type, ZEL_TIMESTAMP);
    EXPECT_EQ(v.elts, 0u);
    EXPECT_EQ(v.len, 0u);
    EXPECT_EQ(v.vt.u64v, 0u);
    EXPECT_EQ(v.tag.type, VAL_TAG_TYPE_NONE);
    EXPECT_EQ(v.tag.tag.sub, nullptr);
    zel_valueInitAndSetNull(&v);
    EXPECT_EQ(v.status, vsNULL);
    EXPECT_EQ(v.type, ZEL_NOVAL);
    zel_valueInitWithType(&v, ZEL_INT8);
    EXPECT_EQ(v.status, vsNOVAL);
    EXPECT_EQ(v.type, ZEL_INT8);
    zel_valueInit(nullptr);  // ignored
}

TEST(ValueTypes, NumbersAreFixed) {
    EXPECT_EQ(ZEL_TYPE_FAMILY(ZEL_UINT64), ZEL_FAMILY_INTEGER);
    EXPECT_EQ(ZEL_TYPE_FAMILY(ZEL_DEFAULT_CURRTIMESTAMP), ZEL_FAMILY_MARKER);
    EXPECT_EQ(ZEL_TYPE_FAMILY(ZEL_WCLOB_UTF8), ZEL_FAMILY_CHAR);
    EXPECT_TRUE(ZEL_BLOB & ZEL_TYPE_LOB_BIT);
    EXPECT_TRUE(ZEL_BOOL & ZEL_TYPE_UNSIGNED_BIT);
    EXPECT_EQ(zel::detail::typeInfoLength(ZEL_ZELVALUE), 48u);
    EXPECT_EQ(zel::detail::typeInfoLength(ZEL_SUBQUERY), 0u);
    int rows = 0;
    for (const B_TYPE_INFO &r : zel::detail::typeInfo) rows += r.str[0] == 'Z';
    EXPECT_EQ(rows, B_TYPE_INFO_ROWS);
}

TEST(ValueSet, InlineTypesReadBackAndClearTag) {
    ZEL_VALUE v = fresh();
    v.tag.type = VAL_TAG_TYPE_SUB;
    v.tag.tag.sub = reinterpret_cast<B_TAG_SUB>(&v);
    v.len = 9;
    zel_valueSetInt16(&v, -300);
    EXPECT_EQ(v.status, vsOKAY);
    EXPECT_EQ(v.type, ZEL_INT16);
    EXPECT_EQ(v.vt.i16v, -300);
    EXPECT_EQ(v.len, 0u);
    EXPECT_EQ(v.tag.type, VAL_TAG_TYPE_NONE);
    EXPECT_EQ(v.tag.tag.sub, nullptr);

    struct Case {
        void (*set)(ZEL_VALUE *);
        ZEL_TYPE type;
        double asDouble;
    };
    const Case cases[] = {
        {[](ZEL_VALUE *p) { zel_valueSetBoolean(p, ZEL_TRUE); }, ZEL_BOOL, NAN},
        {[](ZEL_VALUE *p) { zel_valueSetInt8(p, -128); }, ZEL_INT8, -128},
        {[](ZEL_VALUE *p) { zel_valueSetUInt8(p, 255); }, ZEL_UINT8, 255},
        {[](ZEL_VALUE *p) { zel_valueSetInt16(p, -32768); }, ZEL_INT16, -32768},
        {[](ZEL_VALUE *p) { zel_valueSetUInt16(p, 65535); }, ZEL_UINT16, 65535},
        {[](ZEL_VALUE *p) { zel_valueSetInt32(p, INT32_MIN); }, ZEL_INT32, -2147483648.0},
        {[](ZEL_VALUE *p) { zel_valueSetUInt32(p, UINT32_MAX); }, ZEL_UINT32, 4294967295.0},
        {[](ZEL_VALUE *p) { zel_valueSetInt64(p, -5); }, ZEL_INT64, -5},
        {[](ZEL_VALUE *p) { zel_valueSetUInt64(p, UINT64_MAX); }, ZEL_UINT64,
         18446744073709551615.0},
        {[](ZEL_VALUE *p) { zel_valueSetFloat(p, 1.5f); }, ZEL_FLOAT, 1.5},
        {[](ZEL_VALUE *p) { zel_valueSetDouble(p, -2.25); }, ZEL_DOUBLE, -2.25},
        {[](ZEL_VALUE *p) { zel_valueSetDate(p, 719163); }, ZEL_DATE, 719163},
        {[](ZEL_VALUE *p) { zel_valueSetTime(p, 863999999); }, ZEL_TIME, 863999999},
        {[](ZEL_VALUE *p) {
             zel_valueSetTimeTZ(p, {5, -60});
         },
         ZEL_TIMETZ, NAN},
        {[](ZEL_VALUE *p) {
             zel_valueSetTimestamp(p, {1, 2});
         },
         ZEL_TIMESTAMP, NAN},
        {[](ZEL_VALUE *p) { zel_valueSetRowId(p, 42); }, ZEL_ROWID, NAN},
        {[](ZEL_VALUE *p) { zel_valueSetParamRef(p, 3); }, ZEL_PARAMREF, NAN},
        {[](ZEL_VALUE *p) { zel_valueSetOuterRef(p, 3); }, ZEL_OUTERREF, NAN},
        {[](ZEL_VALUE *p) { zel_valueSetColRef(p, 3); }, ZEL_COLREF, NAN},
        {[](ZEL_VALUE *p) { zel_valueSetProcVar(p, 3); }, ZEL_PROCVAR, NAN},
        {[](ZEL_VALUE *p) { zel_valueSetResultCol(p, 3); }, ZEL_RESULTCOL, NAN},
    };
    for (const Case &c : cases) {
        ZEL_VALUE w = fresh();
        c.set(&w);
        EXPECT_EQ(w.type, c.type);
        EXPECT_EQ(w.status, vsOKAY);
        double d = 0;
        const ZEL_RETCODE rc = zel_valueGetDouble(&w, &d);
        if (std::isnan(c.asDouble)) {
            EXPECT_EQ(rc, eINVARGTYPE) << c.type;
        } else {
            EXPECT_EQ(rc, sOKAY) << c.type;
            EXPECT_EQ(d, c.asDouble) << c.type;
        }
        c.set(nullptr);  // ignored
    }
    ZEL_VALUE w = fresh();
    zel_valueSetTimeTZ(&w, {5, -60});
    EXPECT_EQ(w.vt.tmzv.time, 5u);
    EXPECT_EQ(w.vt.tmzv.tz, -60);
    zel_valueSetResultCol(&w, 65535);
    EXPECT_EQ(w.vt.u16v, 65535);
}

TEST(ValueSet, ErrorNullAndNoVal) {
    ZEL_VALUE v = fresh();
    zel_valueSetInt32(&v, 7);
    zel_valueSetNull(&v);
    EXPECT_EQ(v.status, vsNULL);
    EXPECT_EQ(v.type, ZEL_INT32);  // the type survives
    zel_valueSetNoVal(&v);
    EXPECT_EQ(v.status, vsNOVAL);
    EXPECT_EQ(v.type, ZEL_NOVAL);
    v.tag.type = VAL_TAG_TYPE_STACK;
    zel_valueSetError(&v, eDIVBY0);
    EXPECT_EQ(v.status, vsERROR);
    EXPECT_EQ(v.type, ZEL_ZERODIV);
    EXPECT_EQ(v.vt.err, eDIVBY0);
    EXPECT_EQ(v.tag.type, VAL_TAG_TYPE_STACK);  // the tag stays
    zel_valueSetError(&v, eRANGE);
    EXPECT_EQ(v.type, ZEL_NOVAL);
}

TEST_F(ValueTagged, PointerSettersCopyThroughSubTag) {
    ZEL_VALUE v = subValue(sub);
    char text[] = "hello";
    ASSERT_EQ(zel_valueSetString(&v, text), sOKAY);
    EXPECT_EQ(v.type, ZEL_CHAR);
    EXPECT_EQ(v.len, 6u);
    EXPECT_NE(v.vt.cv, text);
    text[0] = 'J';
    EXPECT_STREQ(v.vt.cv, "hello");
    EXPECT_EQ(v.tag.type, VAL_TAG_TYPE_SUB);
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.cv, nullptr);
    EXPECT_EQ(v.len, 0u);

    const uint8_t bytes[3] = {1, 2, 3};
    ASSERT_EQ(zel_valueSetBinary(&v, bytes, 3), sOKAY);
    EXPECT_EQ(v.type, ZEL_BINARY);
    EXPECT_EQ(v.len, 3u);
    EXPECT_EQ(std::memcmp(v.vt.pv, bytes, 3), 0);
    zel_valueFree(&v, sub);

    const ZEL_BCD_T b = bcdOf("-12.5");
    ASSERT_EQ(zel_valueSetBCD(&v, &b), sOKAY);
    EXPECT_EQ(v.type, ZEL_BCD);
    EXPECT_EQ(v.len, 0u);
    EXPECT_EQ(std::memcmp(v.vt.bcd, &b, sizeof b), 0);
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.bcd, nullptr);

    const ZEL_UUID_T u = {0x12345678, 9, 10, 11, 12, {13, 14, 15, 16, 17, 18}};
    ASSERT_EQ(zel_valueSetUuid(&v, &u), sOKAY);
    EXPECT_EQ(v.type, ZEL_UUID);
    EXPECT_EQ(std::memcmp(v.vt.uuid, &u, 16), 0);
    zel_valueFree(&v, sub);

    // Never freed by the value: the caller gives it back to the tag.
    const ZEL_PACKED_TIMESTAMPTZ_T tz = {738000, 36000000, 120};
    ASSERT_EQ(zel_valueSetTimestampTZ(&v, &tz), sOKAY);
    EXPECT_EQ(v.type, ZEL_TIMESTAMPTZ);
    EXPECT_EQ(v.vt.tszv->tz, 120);
    void *keep = v.vt.tszv;
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.tszv, keep);
    b_tag_subFree(sub, keep);
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

TEST(ValueSet, StackTagAndFailureLeavesRecord) {
    B_TAG_MASTER master = nullptr;
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    int64_t start = 0, peak = 0;
    b_tag_stackMemUsage(stack, &start, &peak);

    ZEL_VALUE v = fresh();
    v.tag.type = VAL_TAG_TYPE_STACK;
    v.tag.tag.stack = stack;
    ASSERT_EQ(zel_valueSetString(&v, "on the stack"), sOKAY);
    const ZEL_VALUE before = v;
    // Larger than any block the stack tag will hand out.
    static uint8_t big[1 << 20];
    EXPECT_EQ(zel_valueSetBinary(&v, big, sizeof big), eNOMEMORY);
    EXPECT_EQ(std::memcmp(&v, &before, sizeof v), 0);
    EXPECT_STREQ(v.vt.cv, "on the stack");

    ZEL_VALUE copy = fresh();
    ASSERT_EQ(zel_valueCopyStackEx(&copy, &v, 100, stack), sOKAY);
    EXPECT_STREQ(copy.vt.cv, "on the stack");
    EXPECT_NE(copy.vt.cv, v.vt.cv);
    zel_valueFreeStack(&copy, stack);
    zel_valueFreeStack(&v, stack);
    int64_t now = 0;
    b_tag_stackMemUsage(stack, &now, &peak);
    EXPECT_EQ(now, start);
    b_tag_stackDestroy(stack);
    b_tag_masterDestroy(master);
}

TEST(ValueGet, IntegerGettersDifferOnPurpose) {
    ZEL_VALUE v = fresh();
    int64_t i = 0;
    uint64_t u = 0;
    size_t s = 0;
    zel_valueSetUInt64(&v, 1ull << 63);
    EXPECT_EQ(zel_valueGetInt64(&v, &i), eRANGE);
    EXPECT_EQ(zel_valueGetUInt64(&v, &u), sOKAY);
    EXPECT_EQ(u, 1ull << 63);
    zel_valueSetUInt64(&v, INT64_MAX);
    EXPECT_EQ(zel_valueGetInt64(&v, &i), sOKAY);
    EXPECT_EQ(i, INT64_MAX);

    zel_valueSetInt8(&v, -1);
    EXPECT_EQ(zel_valueGetInt64(&v, &i), sOKAY);
    EXPECT_EQ(i, -1);
    EXPECT_EQ(zel_valueGetUInt64(&v, &u), sOKAY);
    EXPECT_EQ(u, 255u);  // raw pattern, zero-extended
    EXPECT_EQ(zel_valueGetSizeT(&v, &s), sOKAY);
    EXPECT_EQ(s, 255u);
    zel_valueSetInt32(&v, -2);
    EXPECT_EQ(zel_valueGetUInt64(&v, &u), sOKAY);
    EXPECT_EQ(u, 0xFFFFFFFEu);
    zel_valueSetInt64(&v, -2);
    EXPECT_EQ(zel_valueGetUInt64(&v, &u), sOKAY);
    EXPECT_EQ(u, 0xFFFFFFFFFFFFFFFEull);

    zel_valueSetRowId(&v, 77);
    EXPECT_EQ(zel_valueGetUInt64(&v, &u), sOKAY);
    EXPECT_EQ(u, 77u);
    EXPECT_EQ(zel_valueGetInt64(&v, &i), eINVARGTYPE);
    EXPECT_EQ(zel_valueGetSizeT(&v, &s), eINVARGTYPE);

    zel_valueSetDouble(&v, 1.8446744073709550e19);  // above 2^63: corrected path
    EXPECT_EQ(zel_valueGetUInt64(&v, &u), sOKAY);
    EXPECT_EQ(u, 18446744073709549568ull);
    zel_valueSetFloat(&v, 3.9f);
    EXPECT_EQ(zel_valueGetUInt64(&v, &u), sOKAY);
    EXPECT_EQ(u, 3u);
    zel_valueSetDouble(&v, NAN);
    EXPECT_EQ(zel_valueGetUInt64(&v, &u), sOKAY);
    EXPECT_EQ(u, 0u);

    u = 5;
    zel_valueSetBoolean(&v, ZEL_TRUE);
    EXPECT_EQ(zel_valueGetUInt64(&v, &u), eINVARGTYPE);
    EXPECT_EQ(u, 5u);  // untouched
    EXPECT_EQ(zel_valueGetInt64(nullptr, &i), eINVNULLARG);
    EXPECT_EQ(zel_valueGetInt64(&v, nullptr), eINVNULLARG);
}

TEST(ValueGet, DoubleOfDecimalAndSigns) {
    ZEL_VALUE v = fresh();
    ZEL_BCD_T b = bcdOf("-2.5");
    ASSERT_EQ(zel_valueSetBCD(&v, &b), sOKAY);
    double d = 0;
    EXPECT_EQ(zel_valueGetDouble(&v, &d), sOKAY);
    EXPECT_EQ(d, -2.5);
    int16_t sign = 9;
    EXPECT_EQ(zel_valueGetSign(&v, &sign), sOKAY);
    EXPECT_EQ(sign, -1);
    EXPECT_FALSE(zel_valueIsZero(&v));
    zel_valueChangeSign(&v);
    EXPECT_EQ(zel_valueGetDouble(&v, &d), sOKAY);
    EXPECT_EQ(d, 2.5);
    ZEL_BCD_T z = bcdOf("0");
    ASSERT_EQ(zel_valueSetBCD(&v, &z), sOKAY);
    EXPECT_EQ(zel_valueGetSign(&v, &sign), sOKAY);
    EXPECT_EQ(sign, 0);
    EXPECT_TRUE(zel_valueIsZero(&v));

    zel_valueSetDouble(&v, NAN);
    EXPECT_EQ(zel_valueGetSign(&v, &sign), sOKAY);
    EXPECT_EQ(sign, 1);
    zel_valueSetDouble(&v, -0.0);
    EXPECT_EQ(zel_valueGetSign(&v, &sign), sOKAY);
    EXPECT_EQ(sign, 0);
    EXPECT_TRUE(zel_valueIsZero(&v));
    zel_valueSetUInt32(&v, 0);
    EXPECT_TRUE(zel_valueIsZero(&v));
    zel_valueSetBoolean(&v, ZEL_FALSE);
    EXPECT_FALSE(zel_valueIsZero(&v));  // a boolean is never zero
    EXPECT_EQ(zel_valueGetSign(&v, &sign), eINVARGTYPE);
    zel_valueSetInt16(&v, -4);
    EXPECT_EQ(zel_valueGetSign(&v, &sign), sOKAY);
    EXPECT_EQ(sign, -1);
    zel_valueSetUInt64(&v, UINT64_MAX);
    EXPECT_EQ(zel_valueGetSign(&v, &sign), sOKAY);
    EXPECT_EQ(sign, 1);
}

TEST(ValueChangeSign, WidthsAndUnsignedPromotion) {
    ZEL_VALUE v = fresh();
    zel_valueSetInt8(&v, -128);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.vt.i8v, -128);  // the most negative number stays
    zel_valueSetInt32(&v, 5);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.vt.i32v, -5);
    zel_valueSetUInt8(&v, 200);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.type, ZEL_INT16);
    EXPECT_EQ(v.vt.i16v, -200);
    zel_valueSetUInt16(&v, 65535);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.type, ZEL_INT32);
    EXPECT_EQ(v.vt.i32v, -65535);
    zel_valueSetUInt32(&v, UINT32_MAX);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.type, ZEL_INT64);
    EXPECT_EQ(v.vt.i64v, -4294967295ll);
    zel_valueSetUInt64(&v, 1ull << 63);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.type, ZEL_INT64);
    EXPECT_EQ(v.vt.i64v, INT64_MIN);
    zel_valueSetUInt64(&v, (1ull << 63) + 1);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.type, ZEL_UINT64);
    EXPECT_EQ(v.status, vsDATALOSS);
    EXPECT_EQ(v.vt.u64v, (1ull << 63) + 1);
    zel_valueSetDouble(&v, 0.0);
    zel_valueChangeSign(&v);
    EXPECT_TRUE(std::signbit(v.vt.dv));
    zel_valueSetFloat(&v, NAN);
    zel_valueChangeSign(&v);
    EXPECT_TRUE(std::signbit(v.vt.fv));
    zel_valueSetBoolean(&v, ZEL_FALSE);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.vt.bv, ZEL_TRUE);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.vt.bv, ZEL_FALSE);
    zel_valueSetDate(&v, 10);
    zel_valueChangeSign(&v);
    EXPECT_EQ(v.vt.dtv, 10u);
    zel_valueChangeSign(nullptr);
}

TEST(ValueCompareTo, ExactTypeAndNaN) {
    ZEL_VALUE v = fresh();
    ZEL_COMPARE c = ZEL_EQ;
    zel_valueSetInt16(&v, 7);
    EXPECT_EQ(zel_valueCompareToInt32(&v, 7, &c), eTYPEMISMATCH);  // no widening
    EXPECT_EQ(zel_valueCompareToInt16(&v, 8, &c), sOKAY);
    EXPECT_EQ(c, ZEL_LT);
    EXPECT_EQ(zel_valueCompareToInt16(&v, 8, nullptr), sOKAY);
    zel_valueSetUInt64(&v, UINT64_MAX);
    EXPECT_EQ(zel_valueCompareToUInt64(&v, 1, &c), sOKAY);
    EXPECT_EQ(c, ZEL_GT);  // unsigned order, not the signed pattern
    EXPECT_EQ(zel_valueCompareToInt64(&v, 1, &c), eTYPEMISMATCH);
    zel_valueSetInt64(&v, -1);
    EXPECT_EQ(zel_valueCompareToInt64(&v, 0, &c), sOKAY);
    EXPECT_EQ(c, ZEL_LT);
    zel_valueSetUInt8(&v, 200);
    EXPECT_EQ(zel_valueCompareToUInt8(&v, 100, &c), sOKAY);
    EXPECT_EQ(c, ZEL_GT);
    EXPECT_EQ(zel_valueCompareToInt8(&v, 100, &c), eTYPEMISMATCH);
    zel_valueSetInt8(&v, -100);
    EXPECT_EQ(zel_valueCompareToInt8(&v, 100, &c), sOKAY);
    EXPECT_EQ(c, ZEL_LT);
    zel_valueSetUInt16(&v, 1);
    EXPECT_EQ(zel_valueCompareToUInt16(&v, 1, &c), sOKAY);
    EXPECT_EQ(c, ZEL_EQ);
    zel_valueSetUInt32(&v, 3000000000u);
    EXPECT_EQ(zel_valueCompareToUInt32(&v, 1, &c), sOKAY);
    EXPECT_EQ(c, ZEL_GT);
    zel_valueSetInt32(&v, -3);
    EXPECT_EQ(zel_valueCompareToInt32(&v, -3, &c), sOKAY);
    EXPECT_EQ(c, ZEL_EQ);

    zel_valueSetDouble(&v, NAN);
    c = ZEL_LT;
    EXPECT_EQ(zel_valueCompareToDouble(&v, 1.0, &c), sOKAY);
    EXPECT_EQ(c, ZEL_EQ);
    zel_valueSetFloat(&v, 1.0f);
    c = ZEL_LT;
    EXPECT_EQ(zel_valueCompareToFloat(&v, NAN, &c), sOKAY);
    EXPECT_EQ(c, ZEL_EQ);
    EXPECT_EQ(zel_valueCompareToFloat(&v, 2.0f, &c), sOKAY);
    EXPECT_EQ(c, ZEL_LT);
    EXPECT_EQ(zel_valueCompareToDouble(&v, 1.0, &c), eTYPEMISMATCH);
}

TEST(ValueEqual, HeaderFieldsThenPayload) {
    ZEL_VALUE a = fresh(), b = fresh();
    zel_valueSetInt32(&a, 5);
    zel_valueSetInt64(&b, 5);
    EXPECT_FALSE(zel_valueEqual(&a, &b));  // mixed widths are different types
    zel_valueSetInt32(&b, 5);
    EXPECT_TRUE(zel_valueEqual(&a, &b));
    zel_valueSetUInt32(&b, 5);
    EXPECT_FALSE(zel_valueEqual(&a, &b));  // signed against unsigned
    zel_valueSetDouble(&a, NAN);
    zel_valueSetDouble(&b, NAN);
    EXPECT_FALSE(zel_valueEqual(&a, &b));
    zel_valueSetDouble(&a, 0.0);
    zel_valueSetDouble(&b, -0.0);
    EXPECT_TRUE(zel_valueEqual(&a, &b));
    zel_valueSetInt32(&a, 5);
    zel_valueSetInt32(&b, 6);
    zel_valueSetNull(&a);
    zel_valueSetNull(&b);
    EXPECT_FALSE(zel_valueEqual(&a, &b));  // NULLs still compare payloads

    // Wide UTF-8 text is equal on status, type and len alone.
    a = fresh();
    b = fresh();
    ASSERT_EQ(zel_valueSetString(&a, "abc"), sOKAY);
    ASSERT_EQ(zel_valueSetString(&b, "xyz"), sOKAY);
    EXPECT_FALSE(zel_valueEqual(&a, &b));
    a.type = b.type = ZEL_WVARCHAR_UTF8;
    EXPECT_TRUE(zel_valueEqual(&a, &b));
    a.type = b.type = ZEL_VARCHAR;
    EXPECT_FALSE(zel_valueEqual(&a, &b));

    const ZEL_PACKED_TIMESTAMPTZ_T t1 = {700000, 100, 60}, t2 = {700000, 100, -300};
    ASSERT_EQ(zel_valueSetTimestampTZ(&a, &t1), sOKAY);
    ASSERT_EQ(zel_valueSetTimestampTZ(&b, &t2), sOKAY);
    EXPECT_TRUE(zel_valueEqual(&a, &b));  // zones are not compared
    zel_valueSetTimeTZ(&a, {100, 60});
    zel_valueSetTimeTZ(&b, {100, 0});
    EXPECT_TRUE(zel_valueEqual(&a, &b));

    ZEL_BCD_T x = bcdOf("1.50"), y = bcdOf("1.5");
    ASSERT_EQ(zel_valueSetBCD(&a, &x), sOKAY);
    ASSERT_EQ(zel_valueSetBCD(&b, &y), sOKAY);
    EXPECT_TRUE(zel_valueEqual(&a, &b));

    int32_t e1[3] = {1, 2, 3}, e2[3] = {1, 2, 4};
    zel_valueInitWithStatusAndType(&a, vsOKAY, ZEL_INT32);
    zel_valueInitWithStatusAndType(&b, vsOKAY, ZEL_INT32);
    a.elts = b.elts = 2;
    a.vt.i32a = e1;
    b.vt.i32a = e2;
    EXPECT_TRUE(zel_valueEqual(&a, &b));
    a.elts = b.elts = 3;
    EXPECT_FALSE(zel_valueEqual(&a, &b));
    EXPECT_TRUE(zel_valueEqual(nullptr, nullptr));
    EXPECT_FALSE(zel_valueEqual(&a, nullptr));
}

TEST(ValueDateTimeCompare, AcrossTypes) {
    ZEL_VALUE d = fresh(), t = fresh(), ts = fresh();
    zel_valueSetDate(&d, 738000);
    zel_valueSetTime(&t, 500);
    zel_valueSetTimestamp(&ts, {738000, 400});
    ZEL_COMPARE c = ZEL_LT;
    EXPECT_EQ(zel_valueDateTimeCompare(&d, &ts, &c), sOKAY);
    EXPECT_EQ(c, ZEL_EQ);  // date against the stamp's date
    EXPECT_EQ(zel_valueDateTimeCompare(&t, &ts, &c), sOKAY);
    EXPECT_EQ(c, ZEL_GT);  // time against the stamp's time
    EXPECT_EQ(zel_valueDateTimeCompare(&ts, &t, &c), sOKAY);
    EXPECT_EQ(c, ZEL_EQ);  // not a compared pair
    ZEL_VALUE ts2 = fresh();
    zel_valueSetTimestamp(&ts2, {738000, 401});
    EXPECT_EQ(zel_valueDateTimeCompare(&ts, &ts2, &c), sOKAY);
    EXPECT_EQ(c, ZEL_LT);
    zel_valueSetTimestamp(&ts2, {737999, 900});
    EXPECT_EQ(zel_valueDateTimeCompare(&ts, &ts2, &c), sOKAY);
    EXPECT_EQ(c, ZEL_GT);
    ZEL_VALUE tz = fresh();
    zel_valueSetTimeTZ(&tz, {600, 0});
    EXPECT_EQ(zel_valueDateTimeCompare(&tz, &t, &c), sOKAY);
    EXPECT_EQ(c, ZEL_GT);
    EXPECT_EQ(zel_valueDateTimeCompare(&ts, &d, nullptr), sOKAY);
}

TEST_F(ValueTagged, DeepCopiesSurviveTheSource) {
    const ZEL_BCD_T b = bcdOf("123.456");
    const ZEL_UUID_T u = {0x01020304, 0x0506, 0x0708, 9, 10, {11, 12, 13, 14, 15, 16}};
    const uint8_t bytes[4] = {9, 8, 7, 6};
    for (int kind = 0; kind < 5; ++kind) {
        ZEL_VALUE src = subValue(sub), dst = fresh();
        ZEL_RETCODE rc = sOKAY;
        switch (kind) {
            case 0:
                rc = zel_valueSetString(&src, "a deep copy");
                break;
            case 1:
                rc = zel_valueSetBinary(&src, bytes, 4);
                break;
            case 2:
                rc = zel_valueSetBCD(&src, &b);
                break;
            case 3:
                rc = zel_valueSetUuid(&src, &u);
                break;
            case 4:
                zel_valueSetDouble(&src, 2.5);
                break;
        }
        ASSERT_EQ(rc, sOKAY);
        ASSERT_EQ(zel_valueCopyEx(&dst, &src, 1000, sub), sOKAY);
        if (kind != 4) {
            EXPECT_NE(dst.vt.pv, src.vt.pv) << kind;
        }
        const ZEL_TYPE type = src.type;
        zel_valueFree(&src, sub);
        switch (kind) {
            case 0:
                EXPECT_STREQ(dst.vt.cv, "a deep copy");
                break;
            case 1:
                EXPECT_EQ(std::memcmp(dst.vt.pv, bytes, 4), 0);
                break;
            case 2:
                EXPECT_EQ(dst.len, 37u);
                EXPECT_EQ(zel_bcdCompare(dst.vt.bcd, &b), ZEL_EQ);
                break;
            case 3:
                EXPECT_EQ(dst.len, 16u);
                EXPECT_EQ(std::memcmp(dst.vt.uuid, &u, 16), 0);
                break;
            case 4:
                EXPECT_EQ(dst.vt.dv, 2.5);
                break;
        }
        EXPECT_EQ(dst.type, type);
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
    src = fresh();
    zel_valueSetInt32(&src, 4);
    zel_valueSetNull(&src);
    ASSERT_EQ(zel_valueCopyEx(&dst, &src, 100, sub), sOKAY);
    EXPECT_EQ(dst.status, vsNULL);
    EXPECT_EQ(dst.type, ZEL_INT32);
    EXPECT_EQ(dst.len, 3u);

    // No value: a large-object marker keeps its payload.
    zel_valueInitWithType(&src, ZEL_DEFAULT_AUTO);
    src.vt.u64v = 99;
    ASSERT_EQ(zel_valueCopyEx(&dst, &src, 100, sub), sOKAY);
    EXPECT_EQ(dst.status, vsNOVAL);
    EXPECT_EQ(dst.vt.u64v, 99u);
    EXPECT_EQ(dst.len, 0u);

    // Element arrays take the element size of the type table.
    int16_t elems[4] = {1, -2, 3, -4};
    zel_valueInitWithStatusAndType(&src, vsOKAY, ZEL_INT16);
    src.elts = 4;
    src.vt.i16a = elems;
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
    EXPECT_EQ(b.type, ZEL_CHAR);
    EXPECT_EQ(b.len, 1u);
    EXPECT_EQ(b.tag.type, VAL_TAG_TYPE_SUB);
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
        [](ZEL_VALUE *v) { return zel_valueSetTimestampTZ(v, &tz); },
    };
    std::vector<ZEL_VALUE> sources;
    for (const auto &set : setters) {
        sources.push_back(fresh());
        ASSERT_EQ(set(&sources.back()), sOKAY);  // borrowed
    }
    sources.push_back(sources[0]);
    sources.back().type = ZEL_CLOB;
    sources.push_back(sources[1]);
    sources.back().type = ZEL_BLOB;
    sources.push_back(fresh());
    zel_valueInitWithStatusAndType(&sources.back(), vsOKAY, ZEL_INT16);
    sources.back().elts = 4;
    sources.back().vt.i16a = elems;
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
            EXPECT_EQ(oom_check(master, {sub},
                                [&] {
                                    ZEL_VALUE v = onStack ? fresh() : subValue(sub);
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
                                },
                                {}, {stack}),
                      1);
        }
        for (const ZEL_VALUE &src : sources) {
            SCOPED_TRACE(testing::Message()
                         << "copy of type " << src.type << (onStack ? " on the stack" : ""));
            oom_check(master, {sub},
                      [&] {
                          ZEL_VALUE d = fresh();
                          const ZEL_VALUE before = d;
                          const ZEL_RETCODE rc = onStack
                                                     ? zel_valueCopyStackEx(&d, &src, 1000, stack)
                                                     : zel_valueCopyEx(&d, &src, 1000, sub);
                          if (rc != sOKAY) {
                              EXPECT_EQ(std::memcmp(&d, &before, sizeof d), 0);
                              return rc;
                          }
                          if (b_tag_masterFailureGiven(master) == ZEL_TRUE) {
                              EXPECT_EQ(d.vt.pv, before.vt.pv);
                              return rc;
                          }
                          EXPECT_TRUE(sameData(d, src));
                          if (src.type != ZEL_TIMESTAMPTZ) {  // shared, not copied
                              EXPECT_NE(d.vt.pv, src.vt.pv);
                              release(&d);
                          }
                          return rc;
                      },
                      {}, {stack});
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
    ASSERT_EQ(zel_valueSetString(&v, "four"), sOKAY);
    EXPECT_EQ(zel_valueLength(&v, &n), sOKAY);
    EXPECT_EQ(n, 5u);
    v.type = ZEL_WVARCHAR;
    EXPECT_EQ(zel_valueLength(&v, &n), sOKAY);
    EXPECT_EQ(n, 0u);
    const ZEL_BCD_T b = bcdOf("1");
    ASSERT_EQ(zel_valueSetBCD(&v, &b), sOKAY);
    EXPECT_EQ(zel_valueLength(&v, &n), sOKAY);
    EXPECT_EQ(n, 37u);
    const uint8_t bytes[2] = {};
    ASSERT_EQ(zel_valueSetBinary(&v, bytes, 2), sOKAY);
    v.type = ZEL_BLOB;
    EXPECT_EQ(zel_valueLength(&v, &n), sOKAY);
    EXPECT_EQ(n, 2u);
    zel_valueSetInt64(&v, 1);
    EXPECT_EQ(zel_valueLength(&v, nullptr), sOKAY);
    EXPECT_EQ(zel_valueLength(&v, &n), sOKAY);
    EXPECT_EQ(n, 0u);
}

TEST(ValueToBuffer, NativeBytes) {
    ZEL_VALUE v = fresh();
    uint8_t buf[64];
    size_t n = 0;
    zel_valueSetInt32(&v, 0x01020304);
    ASSERT_EQ(zel_valueToBuffer(&v, buf, sizeof buf, &n), sOKAY);
    EXPECT_EQ(n, 4u);
    int32_t back = 0;
    std::memcpy(&back, buf, 4);
    EXPECT_EQ(back, 0x01020304);
    zel_valueSetTimestamp(&v, {3, 4});
    ASSERT_EQ(zel_valueToBuffer(&v, nullptr, 0, &n), sOKAY);
    EXPECT_EQ(n, 8u);
    const ZEL_BCD_T b = bcdOf("9.75");
    ASSERT_EQ(zel_valueSetBCD(&v, &b), sOKAY);
    ASSERT_EQ(zel_valueToBuffer(&v, buf, sizeof buf, &n), sOKAY);
    EXPECT_EQ(n, 37u);
    EXPECT_EQ(std::memcmp(buf, &b, 37), 0);

    ASSERT_EQ(zel_valueSetString(&v, "abcdef"), sOKAY);
    ASSERT_EQ(zel_valueToBuffer(&v, buf, sizeof buf, &n), sOKAY);
    EXPECT_EQ(n, 6u);
    EXPECT_STREQ(reinterpret_cast<char *>(buf), "abcdef");
    EXPECT_EQ(zel_valueToBuffer(&v, buf, 4, &n), sTRUNCATE);
    EXPECT_EQ(n, 3u);
    EXPECT_STREQ(reinterpret_cast<char *>(buf), "abc");
    EXPECT_EQ(zel_valueToBuffer(&v, buf, 6, &n), sTRUNCATE);  // no room for the zero
    EXPECT_EQ(zel_valueToBuffer(&v, nullptr, 0, &n), sOKAY);
    EXPECT_EQ(n, 6u);

    const uint8_t bytes[5] = {1, 2, 3, 4, 5};
    ASSERT_EQ(zel_valueSetBinary(&v, bytes, 5), sOKAY);
    std::memset(buf, 0, sizeof buf);
    EXPECT_EQ(zel_valueToBuffer(&v, buf, 3, &n), sTRUNCATE);
    EXPECT_EQ(n, 5u);
    EXPECT_EQ(buf[2], 3);
    EXPECT_EQ(buf[3], 0);

    zel_valueSetNull(&v);
    n = 0;
    EXPECT_EQ(zel_valueToBuffer(&v, buf, sizeof buf, &n), sOKAY);
    EXPECT_EQ(n, SIZE_MAX);

    n = 17;
    zel_valueInitWithStatusAndType(&v, vsOKAY, ZEL_WCHAR);
    EXPECT_EQ(zel_valueToBuffer(&v, buf, sizeof buf, &n), eINVARGTYPE);
    EXPECT_EQ(n, 17u);
    zel_valueSetDouble(&v, 1.0);
    EXPECT_EQ(zel_valueToBuffer(&v, buf, 2, &n), sTRUNCATE);
    EXPECT_EQ(zel_valueToBuffer(nullptr, buf, 2, &n), eINVNULLARG);
}

TEST_F(ValueTagged, FreeFollowsTheTypeRules) {
    // Wide text is left to the tag; narrow text is freed only with a len.
    ZEL_VALUE v = subValue(sub);
    ASSERT_EQ(zel_valueSetString(&v, "wide"), sOKAY);
    v.type = ZEL_WVARCHAR;
    void *keep = const_cast<char *>(v.vt.cv);
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.pv, keep);
    b_tag_subFree(sub, keep);

    ASSERT_EQ(zel_valueSetString(&v, "clob"), sOKAY);
    v.type = ZEL_CLOB;
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.pv, nullptr);
    EXPECT_EQ(v.len, 0u);

    const uint8_t bytes[2] = {1, 2};
    ASSERT_EQ(zel_valueSetBinary(&v, bytes, 2), sOKAY);
    v.type = ZEL_BLOB;  // binary family: freed by its pointer
    zel_valueFree(&v, sub);
    EXPECT_EQ(v.vt.pv, nullptr);
    zel_valueFree(nullptr, sub);
}
