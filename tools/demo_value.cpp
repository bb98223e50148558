// The value section of `zelbase demo`: a handful of typed values, how they
// compare (the exact-type rules, widening through the getters, NaN), and a
// deep copy that outlives its source with the tag's bytes back at the start.
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "bcd.h"
#include "datetime.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "types_types.h"
#include "value.h"
#include "zelbase_cmds.h"

int zb_demo_value(FILE *out);

namespace {

const char *zb_value_typeName(ZEL_TYPE t) {
    const B_TYPE_INFO *row = zel::detail::typeInfoFind(t);
    return row != nullptr ? row->str : "?";
}

const char *zb_value_cmpText(ZEL_COMPARE c) {
    return c == ZEL_LT ? "less" : (c == ZEL_GT ? "greater" : "equal");
}

// A readable form of the few types the demo shows.
void zb_value_show(FILE *out, const char *label, const ZEL_VALUE &v) {
    char text[64] = "";
    switch (v.type) {
        case ZEL_INT8:
        case ZEL_INT16:
        case ZEL_INT32:
        case ZEL_INT64: {
            int64_t i = 0;
            if (zel_valueGetInt64(&v, &i) == sOKAY) std::snprintf(text, sizeof text, "%" PRId64, i);
            break;
        }
        case ZEL_UINT64: {
            uint64_t u = 0;
            if (zel_valueGetUInt64(&v, &u) == sOKAY)
                std::snprintf(text, sizeof text, "%" PRIu64, u);
            break;
        }
        case ZEL_DOUBLE:
            std::snprintf(text, sizeof text, "%g", v.vt.dv);
            break;
        case ZEL_BCD:
            if (zel_bcdToString(v.vt.bcd, ZEL_FALSE, text, sizeof text, nullptr) < 0)
                std::snprintf(text, sizeof text, "?");
            break;
        case ZEL_DATE:
            if (zel_dateToString(v.vt.dtv, ZEL_YYYYMMDD, '-', text, sizeof text, nullptr) < 0)
                std::snprintf(text, sizeof text, "?");
            break;
        case ZEL_CHAR:
            std::snprintf(text, sizeof text, "\"%s\"", v.vt.cv);
            break;
        default:
            break;
    }
    size_t bytes = 0;
    if (zel_valueToBuffer(&v, nullptr, 0, &bytes) < 0) bytes = 0;
    std::fprintf(out, "  %-8s %-14s len %2zu  native bytes %2zu  %s\n", label,
                 zb_value_typeName(v.type), v.len, bytes, text);
}

int64_t zb_value_bytes(B_TAG_SUB sub) {
    int64_t cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    return cur;
}

}  // namespace

int zb_demo_value(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    const int64_t start = zb_value_bytes(sub);
    int failures = 0;

    std::fprintf(out, "Typed values: one record, a status, a type and a payload\n");
    ZEL_VALUE i32, i64, big, small, nan, dec1, dec2, day, name;
    zel_valueSetInt32(&i32, 5);
    zel_valueSetInt64(&i64, 5);
    zel_valueSetUInt64(&big, 9223372036854775808ull);
    zel_valueSetInt8(&small, -1);
    zel_valueSetDouble(&nan, std::nan(""));
    ZEL_BCD_T b1, b2;
    failures += zel_bcdFromString("1.50", &b1) != sOKAY;
    failures += zel_bcdFromString("1.5", &b2) != sOKAY;
    zel_valueInit(&dec1);
    zel_valueInit(&dec2);
    failures += zel_valueSetBCD(&dec1, &b1) != sOKAY;  // no tag: borrows b1
    failures += zel_valueSetBCD(&dec2, &b2) != sOKAY;
    zel_valueSetDate(&day, 739000);
    zel_valueInit(&name);
    name.tag.type = VAL_TAG_TYPE_SUB;  // the text is copied into the sub tag
    name.tag.tag.sub = sub;
    failures += zel_valueSetString(&name, "zelbase") != sOKAY;
    if (failures != 0) return 1;

    zb_value_show(out, "i32", i32);
    zb_value_show(out, "i64", i64);
    zb_value_show(out, "big", big);
    zb_value_show(out, "small", small);
    zb_value_show(out, "nan", nan);
    zb_value_show(out, "dec1", dec1);
    zb_value_show(out, "dec2", dec2);
    zb_value_show(out, "day", day);
    zb_value_show(out, "name", name);

    std::fprintf(out, "Comparisons\n");
    std::fprintf(out, "  i32 == i64 as records: %s (the types differ)\n",
                 zel_valueEqual(&i32, &i64) ? "yes" : "no");
    int64_t a = 0, b = 0;
    if (zel_valueGetInt64(&i32, &a) == sOKAY && zel_valueGetInt64(&i64, &b) == sOKAY)
        std::fprintf(out, "  widened through zel_valueGetInt64: %" PRId64 " vs %" PRId64 ", %s\n",
                     a, b, a == b ? "equal" : "different");
    ZEL_COMPARE c = ZEL_EQ;
    std::fprintf(
        out, "  i32 against native int64 5: %s\n",
        zel_valueCompareToInt64(&i32, 5, &c) == eTYPEMISMATCH ? "eTYPEMISMATCH" : "compared");
    std::fprintf(out, "  big as int64: %s; small (int8 -1) as uint64: ",
                 zel_valueGetInt64(&big, &a) == eRANGE ? "eRANGE" : "fits");
    uint64_t u = 0;
    if (zel_valueGetUInt64(&small, &u) == sOKAY) std::fprintf(out, "%" PRIu64 "\n", u);
    if (zel_valueCompareToDouble(&nan, 1.0, &c) == sOKAY)
        std::fprintf(out, "  nan against 1.0: %s; nan == nan: %s\n", zb_value_cmpText(c),
                     zel_valueEqual(&nan, &nan) ? "yes" : "no");
    std::fprintf(out, "  dec1 == dec2: %s (decimals compare by value)\n",
                 zel_valueEqual(&dec1, &dec2) ? "yes" : "no");
    ZEL_VALUE stamp;
    zel_valueSetTimestamp(&stamp, {739000, 36000000});
    if (zel_valueDateTimeCompare(&day, &stamp, &c) == sOKAY)
        std::fprintf(out, "  day against a time stamp of that day: %s (dates compare by day)\n",
                     zb_value_cmpText(c));

    std::fprintf(out, "Deep copy\n");
    ZEL_VALUE copy;
    zel_valueInit(&copy);
    if (zel_valueCopyEx(&copy, &name, 5, sub) != sOKAY) return 1;
    zel_valueFree(&name, sub);
    std::fprintf(out,
                 "  copy of name cut to 5 bytes, after the source was freed: \"%s\", len %zu\n",
                 copy.vt.cv, copy.len);
    zel_valueFree(&copy, sub);
    const int64_t end = zb_value_bytes(sub);
    std::fprintf(out, "  sub tag bytes in use: %" PRId64 " at the start, %" PRId64 " now\n", start,
                 end);
    return end == start ? 0 : 1;
}
