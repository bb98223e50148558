// `zelbase types` lists every column type with the texts of its descriptor
// row (enumerator, DDL word, SQL word, C field type), the bytes of one element
// ("var" for a variable length) and its alignment in an external record.
// `zelbase types TYPE TEXT...` reads each text into a value of TYPE (named by
// enumerator, DDL or SQL word) and prints its stored bytes and the value read
// back from them, all through the type's descriptor row.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "align.h"
#include "bcd.h"
#include "error.h"
#include "psp.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "types.h"
#include "zelbase_cmds.h"

int zb_cmd_types(int argc, char **argv);
int zb_types_packed_hex(const SCH_TYPE_INFO_T *pi, const ZEL_VALUE *v, std::string *hex);

namespace {

constexpr ZEL_TYPE zb_types_all[] = {
    ZEL_BOOL,       ZEL_INT8,       ZEL_UINT8,     ZEL_INT16,         ZEL_UINT16,      ZEL_INT32,
    ZEL_UINT32,     ZEL_INT64,      ZEL_UINT64,    ZEL_FLOAT,         ZEL_DOUBLE,      ZEL_BCD,
    ZEL_DATE,       ZEL_TIME,       ZEL_TIMETZ,    ZEL_TIMESTAMP,     ZEL_TIMESTAMPTZ, ZEL_ROWID,
    ZEL_UUID,       ZEL_BINARY,     ZEL_VARBINARY, ZEL_BLOB,          ZEL_CHAR,        ZEL_VARCHAR,
    ZEL_WCHAR,      ZEL_WCHAR_UTF8, ZEL_WVARCHAR,  ZEL_WVARCHAR_UTF8, ZEL_CLOB,        ZEL_WCLOB,
    ZEL_WCLOB_UTF8,
};

constexpr const char *zb_types_align_names[B_ALN_COUNT] = {
    "B_ALN_CHAR",  "B_ALN_INT16", "B_ALN_WCHAR", "B_ALN_INT32",
    "B_ALN_FLOAT", "B_ALN_INT64", "B_ALN_DOUBLE"};

const char *zb_types_name(ZEL_TYPE t) {
    // The UTF-8 forms of the wide text types have no row in the size table.
    return t == ZEL_WCHAR_UTF8      ? "ZEL_WCHAR_UTF8"
           : t == ZEL_WVARCHAR_UTF8 ? "ZEL_WVARCHAR_UTF8"
           : t == ZEL_WCLOB_UTF8    ? "ZEL_WCLOB_UTF8"
                                    : b_typeGetStr(t);
}

bool zb_types_find(const char *word, ZEL_TYPE *type) {
    for (ZEL_TYPE t : zb_types_all) {
        const ZEL_TYPE_INFO *row = b_typeGetInfo(t);
        if (row->tostring == nullptr) continue;  // large objects have no stored bytes here
        if (psp_strcasecmp(word, zb_types_name(t)) == 0 ||
            psp_strcasecmp(word, row->ddl_type_text) == 0 ||
            psp_strcasecmp(word, row->sql_type_text) == 0) {
            *type = t;
            return true;
        }
    }
    return false;
}

ZEL_RETCODE zb_types_put(B_OUTPUT_CTX ctx, uint32_t c) {
    static_cast<std::string *>(ctx)->push_back(static_cast<char>(c));
    return sOKAY;
}
ZEL_RETCODE zb_types_put_bulk(B_OUTPUT_CTX ctx, const void *p, size_t n) {
    static_cast<std::string *>(ctx)->append(static_cast<const char *>(p), n);
    return sOKAY;
}

struct zb_types_source {
    std::string bytes;
    size_t pos = 0;
    static ZEL_RETCODE get(B_INPUT_CTX ctx, uint32_t *c) {
        auto *s = static_cast<zb_types_source *>(ctx);
        if (s->pos >= s->bytes.size()) return eEOD;
        *c = static_cast<uint8_t>(s->bytes[s->pos++]);
        return sOKAY;
    }
};

// A column just wide enough for `text`: its length for text and binary, the
// digits of the number for a decimal.
SCH_TYPE_INFO_T zb_types_column(ZEL_TYPE t, const char *text) {
    SCH_TYPE_INFO_T pi{};
    const size_t n = std::strlen(text);
    const size_t cap = ZEL_TYPE_FAMILY(t) == ZEL_FAMILY_CHAR ? 16000 : 65000;
    if (b_typeStandaloneColumn(t, 0, static_cast<uint16_t>(n < cap ? n : cap), &pi) != sOKAY) {
        pi.type = t;  // no descriptor row: the caller reports it
    }
    if (t == ZEL_BCD) {
        ZEL_BCD_T b{};
        if (zel_bcdFromString(text, &b) >= 0) {
            const int scale = b.prec > b.exp ? b.prec - b.exp : 0;
            const int prec = (b.exp > 0 ? b.exp : 0) + scale;
            pi.x.d.prec = static_cast<uint8_t>(prec == 0 ? 1 : prec > 32 ? 32 : prec);
            pi.x.d.scale = static_cast<uint8_t>(scale > pi.x.d.prec ? pi.x.d.prec : scale);
        }
    }
    return pi;
}

std::string zb_types_code(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return std::to_string(rc);
}

int zb_types_pack_texts(ZEL_TYPE t, const std::vector<const char *> &inputs) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    int status = 0;
    for (const char *input : inputs) {
        const SCH_TYPE_INFO_T pi = zb_types_column(t, input);
        const ZEL_TYPE_INFO *row = pi.type_info;
        ZEL_VALUE v{}, back{};
        std::string hex;
        ZEL_RETCODE rc = row->fromstring(&pi, &v, 0, 0, sub, input);
        if (rc < 0) {
            std::printf("%s: refused, %s\n", input, zb_types_code(rc).c_str());
            status = 1;
            continue;
        }
        std::string text;
        zb_types_source src;
        B_ENCODER_T e{zb_types_put, zb_types_put_bulk, &src.bytes, sub};
        B_DECODER_T d{zb_types_source::get, nullptr, &src, sub};
        rc = row->pack_fcn(&pi, &v, &e);
        if (rc == sOKAY) rc = row->unpack_fcn(&pi, &back, sub, &d);
        if (rc == sOKAY) rc = row->tostring(&pi, &back, 0, 0, zb_types_put, &text);
        if (zb_types_packed_hex(&pi, &v, &hex) != 0 || rc != sOKAY) {
            std::printf("%s: failed, %s\n", input, zb_types_code(rc).c_str());
            status = 1;
        } else {
            std::printf("%s -> %s -> %s\n", input, hex.c_str(), text.c_str());
        }
        for (ZEL_VALUE *x : {&v, &back}) {
            if (row->free_fcn != nullptr)
                row->free_fcn(x, sub);
            else if (t == ZEL_TIMESTAMPTZ)
                b_tag_subFree(sub, const_cast<void *>(x->vt.pv));
        }
    }
    return status;
}

}  // namespace

// The stored bytes of `v` in the column `pi`, as upper-case hex pairs joined
// by blanks; 0, or the pack's failure code.
int zb_types_packed_hex(const SCH_TYPE_INFO_T *pi, const ZEL_VALUE *v, std::string *hex) {
    std::string bytes;
    B_ENCODER_T e{zb_types_put, zb_types_put_bulk, &bytes, nullptr};
    const ZEL_RETCODE rc = pi->type_info->pack_fcn(pi, v, &e);
    if (rc != sOKAY) return rc;
    hex->clear();
    char two[4];
    for (unsigned char c : bytes) {
        std::snprintf(two, sizeof two, "%s%02X", hex->empty() ? "" : " ", c);
        *hex += two;
    }
    return 0;
}

int zb_types_value_hex(const ZEL_VALUE *v, const char *text, std::string *hex) {
    const SCH_TYPE_INFO_T pi = zb_types_column(v->type, text);
    if (pi.type_info == nullptr || pi.type_info->pack_fcn == nullptr) return eNOTIMPLEMENTED;
    return zb_types_packed_hex(&pi, v, hex);
}

int zb_cmd_types(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"T", nullptr, "?:TYPE", "A column type, by enumerator, DDL word or SQL word"},
        {"X", nullptr, "*:TEXT", "Values of TYPE as text"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(
            &cmd, argc, argv,
            "Without arguments, every column type with its descriptor's texts, the bytes of\n"
            "one element and its alignment; with TYPE and TEXT..., each text read into a\n"
            "value of TYPE, its stored bytes, and the value read back from them.\n"
            "A negative number is written with a leading blank (' -5'): an element that\n"
            "starts with '-' is an option.",
            opts);
        code != kZbGoOn)
        return code;
    const char *type = nullptr;
    std::vector<const char *> texts;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "T") == 0)
            type = arg;
        else
            texts.push_back(arg);
    }
    if (type != nullptr) {
        if (texts.empty())
            return zb_usageError("Missing argument 'TEXT' ('--help' for more information)");
        ZEL_TYPE t = ZEL_NOVAL;
        if (!zb_types_find(type, &t)) return zb_usageError("No column type '%s'", type);
        return zb_types_pack_texts(t, texts);
    }
    std::printf("%-18s %5s  %-14s %-11s %-15s %-23s %4s  %s\n", "type", "code", "row enum", "ddl",
                "sql", "C field", "size", "alignment");
    for (ZEL_TYPE t : zb_types_all) {
        const ZEL_TYPE_INFO *row = b_typeGetInfo(t);
        if (row == nullptr) continue;
        const char *name = zb_types_name(t);
        char size[24];
        const size_t len = b_typeGetLength(t);
        if (len == 0)
            std::snprintf(size, sizeof size, "var");
        else
            std::snprintf(size, sizeof size, "%zu", len);
        std::printf("%-18s %5d  %-14s %-11s %-15s %-23s %4s  %u (%s)\n", name, static_cast<int>(t),
                    row->enum_name, row->ddl_type_text, row->sql_type_text, row->field_type_text,
                    size, alignData[row->ext_align], zb_types_align_names[row->ext_align]);
    }
    return 0;
}
