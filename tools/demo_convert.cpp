// The conversion section of `zelbase demo`: text becomes a decimal, a date, a
// time stamp with zone and a double, and each goes back to text; then one
// number through a few types, showing where a conversion refuses or cuts.
#include <cstdio>
#include <cstring>

#include "convert.h"
#include "error.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "value.h"
#include "zelbase_cmds.h"

int zb_demo_convert(FILE *out);

namespace {

const char *zb_democnv_status(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return "?";
}

void zb_democnv_free(ZEL_VALUE *v, B_TAG_SUB sub) {
    if (v->type == ZEL_TIMESTAMPTZ && v->vt.tszv != nullptr) {
        b_tag_subFree(sub, v->vt.tszv);
        v->vt.tszv = nullptr;
    }
    zel_valueFree(v, sub);
}

// Text to `type` and back to text; false when the round trip breaks.
bool zb_democnv_round(FILE *out, B_TAG_SUB sub, const char *label, const char *text, ZEL_TYPE type,
                      int16_t tz) {
    ZEL_VALUE v, back;
    zel_valueInit(&v);
    zel_valueInit(&back);
    ZEL_RETCODE rc = zel_valueConvertFromBuffer(&v, type, 0, text, ZEL_CHAR, std::strlen(text) + 1,
                                                ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, tz, sub);
    if (rc < 0) {
        std::fprintf(out, "  %-22s %-30s -> %s\n", label, text, zb_democnv_status(rc));
        return false;
    }
    rc = zel_valueConvert(&back, &v, ZEL_VARCHAR, 0, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, tz, sub);
    const bool ok = rc >= 0;
    std::fprintf(out, "  %-22s %-30s -> %s (%s)\n", label, text, ok ? back.vt.cv : "?",
                 zb_democnv_status(rc));
    zb_democnv_free(&back, sub);
    zb_democnv_free(&v, sub);
    return ok;
}

}  // namespace

int zb_demo_convert(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    bool ok = true;
    std::fprintf(out, "Conversions: text into a type and back to text\n");
    ok &= zb_democnv_round(out, sub, "decimal", "-12345.678900", ZEL_BCD, 0);
    ok &= zb_democnv_round(out, sub, "date", "2026-11-22", ZEL_DATE, 0);
    ok &= zb_democnv_round(out, sub, "timestamp with zone", "2026-11-22 21:30:00.2500 +01:00",
                           ZEL_TIMESTAMPTZ, 60);
    ok &= zb_democnv_round(out, sub, "double (15 digits)", "3.14159265358979323846", ZEL_DOUBLE, 0);
    ok &= zb_democnv_round(out, sub, "binary", "0xCAFE01", ZEL_BINARY, 0);

    std::fprintf(out, "One number through the types (300.75 as a double):\n");
    ZEL_VALUE d;
    zel_valueInit(&d);
    zel_valueSetDouble(&d, 300.75);
    const ZEL_TYPE targets[] = {ZEL_INT16, ZEL_UINT8, ZEL_BOOL, ZEL_FLOAT, ZEL_BCD, ZEL_DATE};
    const char *names[] = {"INT16", "UINT8", "BOOL", "FLOAT", "BCD", "DATE"};
    for (size_t i = 0; i < sizeof targets / sizeof targets[0]; ++i) {
        ZEL_VALUE r, text;
        zel_valueInit(&r);
        zel_valueInit(&text);
        const ZEL_RETCODE rc =
            zel_valueConvert(&r, &d, targets[i], 0, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, 0, sub);
        if (rc >= 0 && zel_valueConvert(&text, &r, ZEL_VARCHAR, 0, ZEL_YYYYMMDD, '-',
                                        ZEL_HHMMSSFFFF, 0, sub) >= 0) {
            std::fprintf(out, "  %-6s %-10s (%s)\n", names[i], text.vt.cv, zb_democnv_status(rc));
        } else {
            std::fprintf(out, "  %-6s %-10s (%s)\n", names[i], "-", zb_democnv_status(rc));
        }
        zb_democnv_free(&text, sub);
        zb_democnv_free(&r, sub);
    }
    int32_t elems[4] = {1, 20, 300, -4};
    ZEL_VALUE arr;
    zel_valueInit(&arr);
    zel_valueSetInt32(&arr, 0);
    arr.elts = 4;
    arr.vt.i32a = elems;
    char buf[16];
    size_t n = 0;
    const ZEL_RETCODE rc = b_convertZelValueToBuffer(
        &arr, ZEL_CHAR, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, 0, buf, sizeof buf, nullptr, &n);
    std::fprintf(out, "An INT32 array into 16 bytes of text: %s (%s: whole elements only)\n", buf,
                 zb_democnv_status(rc));
    return ok ? 0 : 1;
}
