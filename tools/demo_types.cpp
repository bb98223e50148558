// Demo section on the type descriptors: a few columns, each value parsed from
// text, packed to its stored bytes, unpacked again and printed, all through
// the column's descriptor row and never a switch on the type.
#include <cstdio>
#include <vector>

#include "tag_master_psp.h"
#include "tag_sub.h"
#include "types.h"
#include "zelbase_cmds.h"

int zb_demo_types(FILE *out);

namespace {

struct zb_types_bytes {
    std::vector<uint8_t> b;
    size_t pos = 0;
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t c) {
        static_cast<zb_types_bytes *>(ctx)->b.push_back(static_cast<uint8_t>(c));
        return sOKAY;
    }
    static ZEL_RETCODE putBulk(B_OUTPUT_CTX ctx, const void *p, size_t n) {
        auto *s = static_cast<zb_types_bytes *>(ctx);
        s->b.insert(s->b.end(), static_cast<const uint8_t *>(p),
                    static_cast<const uint8_t *>(p) + n);
        return sOKAY;
    }
    static ZEL_RETCODE get(B_INPUT_CTX ctx, uint32_t *c) {
        auto *s = static_cast<zb_types_bytes *>(ctx);
        if (s->pos >= s->b.size()) return eEOD;
        *c = s->b[s->pos++];
        return sOKAY;
    }
};

ZEL_RETCODE zb_types_print(B_OUTPUT_CTX ctx, uint32_t c) {
    std::fputc(static_cast<int>(c), static_cast<FILE *>(ctx));
    return sOKAY;
}

}  // namespace

int zb_demo_types(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    struct {
        ZEL_TYPE type;
        const char *text;
    } const cols[] = {{ZEL_INT8, "-1"},
                      {ZEL_UINT8, "200"},
                      {ZEL_INT32, "-987654"},
                      {ZEL_FLOAT, "1"},
                      {ZEL_DATE, "2024-02-29"},
                      {ZEL_TIMESTAMP, "1970-01-01 12:00:00"},
                      {ZEL_BCD, "-123.45"},
                      {ZEL_UUID, "{00112233-4455-6677-8899-aabbccddeeff}"},
                      {ZEL_VARCHAR, "h\xC3\xA9llo"}};
    std::fprintf(out, "Type descriptors: text -> value -> stored bytes -> value -> text\n");
    int failed = 0;
    for (const auto &c : cols) {
        SCH_TYPE_INFO_T pi{};
        if (b_typeStandaloneColumn(c.type, 0, 10, &pi) != sOKAY) return 1;
        if (c.type == ZEL_BCD) {
            pi.x.d.prec = 5;
            pi.x.d.scale = 2;
        }
        const ZEL_TYPE_INFO *row = pi.type_info;
        ZEL_VALUE v{}, back{};
        zb_types_bytes bytes;
        B_ENCODER_T e{zb_types_bytes::put, zb_types_bytes::putBulk, &bytes, sub};
        B_DECODER_T d{zb_types_bytes::get, nullptr, &bytes, sub};
        if (row->fromstring(&pi, &v, 0, 0, sub, c.text) < 0 ||
            row->pack_fcn(&pi, &v, &e) != sOKAY || row->unpack_fcn(&pi, &back, sub, &d) != sOKAY) {
            std::fprintf(out, "  %-14s failed\n", row->enum_name);
            failed = 1;
            continue;
        }
        std::fprintf(out, "  %-13s %-8s %-26s ->", row->enum_name, row->sql_type_text, c.text);
        for (uint8_t b : bytes.b) std::fprintf(out, " %02X", b);
        std::fprintf(out, "  -> ");
        if (row->tostring(&pi, &back, 0, 0, zb_types_print, out) != sOKAY) failed = 1;
        std::fprintf(out, "%s\n", row->cmp(&pi, 0, &v, &back) == ZEL_EQ ? "" : "  (differs)");
        for (ZEL_VALUE *x : {&v, &back}) {
            if (row->free_fcn != nullptr) row->free_fcn(x, sub);
        }
    }
    return failed;
}
