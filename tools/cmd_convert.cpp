// `zelbase convert --to TYPE [--from TYPE] [--tz MINUTES] [--bytes] VALUE`:
// reads VALUE as text (or as a value of --from, itself read from the text),
// converts it to TYPE through the conversion engine and prints the result as
// text, the status by name and, with --bytes, its stored bytes (packed through
// the type descriptors) and its native bytes in hex.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <strings.h>
#include <vector>

#include "convert.h"
#include "error.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "value.h"
#include "zelbase_cmds.h"

int zb_cmd_convert(int argc, char **argv);

namespace {

struct ZbConvertType {
    const char *name;
    ZEL_TYPE type;
};

const ZbConvertType kTypes[] = {
    {"CHAR", ZEL_CHAR},     {"VARCHAR", ZEL_VARCHAR},     {"CLOB", ZEL_CLOB},
    {"BINARY", ZEL_BINARY}, {"VARBINARY", ZEL_VARBINARY}, {"BLOB", ZEL_BLOB},
    {"BOOL", ZEL_BOOL},     {"INT8", ZEL_INT8},           {"UINT8", ZEL_UINT8},
    {"INT16", ZEL_INT16},   {"UINT16", ZEL_UINT16},       {"INT32", ZEL_INT32},
    {"UINT32", ZEL_UINT32}, {"INT64", ZEL_INT64},         {"UINT64", ZEL_UINT64},
    {"FLOAT", ZEL_FLOAT},   {"DOUBLE", ZEL_DOUBLE},       {"BCD", ZEL_BCD},
    {"DECIMAL", ZEL_BCD},   {"DATE", ZEL_DATE},           {"TIME", ZEL_TIME},
    {"TIMETZ", ZEL_TIMETZ}, {"TIMESTAMP", ZEL_TIMESTAMP}, {"TIMESTAMPTZ", ZEL_TIMESTAMPTZ},
    {"ROWID", ZEL_ROWID},   {"UUID", ZEL_UUID},
};

bool zb_convert_type(const char *s, ZEL_TYPE *out) {
    if (strncasecmp(s, "ZEL_", 4) == 0) s += 4;
    for (const ZbConvertType &t : kTypes) {
        if (strcasecmp(s, t.name) == 0) {
            *out = t.type;
            return true;
        }
    }
    return false;
}

std::string zb_convert_status(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return std::to_string(rc);
}

// The value as text, through the engine itself.
std::string zb_convert_text(const ZEL_VALUE &v, int16_t tz) {
    if (v.status == vsNULL) return "NULL";
    size_t n = 0;
    if (b_convertZelValueToBuffer(&v, ZEL_CHAR, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, tz, nullptr, 0,
                                  nullptr, &n) < 0)
        return "?";
    std::vector<char> buf(n + 1);
    if (b_convertZelValueToBuffer(&v, ZEL_CHAR, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, tz, buf.data(),
                                  buf.size(), nullptr, &n) < 0)
        return "?";
    return buf.data();
}

std::string zb_convert_bytes(const ZEL_VALUE &v) {
    size_t n = 0;
    if (zel_valueToBuffer(&v, nullptr, 0, &n) < 0) return "?";
    std::vector<unsigned char> buf(n + 1);
    if (zel_valueToBuffer(&v, buf.data(), n, &n) < 0) return "?";
    std::string out;
    char hex[3];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(hex, sizeof hex, "%02X", buf[i]);
        out += hex;
    }
    return out;
}

// Gives a converted value's memory back; a time stamp with zone is not
// released by zel_valueFree.
void zb_convert_free(ZEL_VALUE *v, B_TAG_SUB sub) {
    if (v->status != vsNOVAL && v->type == ZEL_TIMESTAMPTZ && v->vt.tszv != nullptr) {
        b_tag_subFree(sub, v->vt.tszv);
        v->vt.tszv = nullptr;
    }
    zel_valueFree(v, sub);
}

}  // namespace

int zb_cmd_convert(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"t", "to", "s:TYPE", "The type to convert to (mandatory)"},
        {"f", "from", "s:TYPE", "The type VALUE is read as first (default: CHAR)"},
        {"z", "tz", "i:MINUTES", "The time zone of the conversion, -840 to 840 (default: 0)"},
        {"b", "bytes", nullptr, "Print the result's stored bytes and native bytes in hex"},
        {"V", nullptr, "#:VALUE", "The value as text"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(
            &cmd, argc, argv,
            "Converts a value between types through the conversion engine and prints the\n"
            "result as text with its status by name.\n"
            "TYPE is one of CHAR VARCHAR CLOB BINARY VARBINARY BLOB BOOL INT8 UINT8 INT16\n"
            "UINT16 INT32 UINT32 INT64 UINT64 FLOAT DOUBLE BCD DATE TIME TIMETZ TIMESTAMP\n"
            "TIMESTAMPTZ ROWID UUID, in any letter case, a ZEL_ prefix allowed.\n"
            "A negative number is written with a leading blank (' -5'): an element that\n"
            "starts with '-' is an option.",
            opts);
        code != kZbGoOn)
        return code;
    ZEL_TYPE to = ZEL_NOVAL, from = ZEL_CHAR;
    const char *fromName = "CHAR";
    bool haveTo = false, bytes = false;
    long tz = 0;
    const char *value = nullptr;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        if (opt == "to") {
            if (!zb_convert_type(arg, &to)) return zb_usageError("Unknown type '%s'", arg);
            haveTo = true;
        } else if (opt == "from") {
            fromName = arg;
            if (!zb_convert_type(fromName, &from)) return zb_usageError("Unknown type '%s'", arg);
        } else if (opt == "tz") {
            tz = std::strtol(arg, nullptr, 10);
            if (tz < -840 || tz > 840) return zb_usageError("A zone is -840 to 840 minutes");
        } else if (opt == "bytes") {
            bytes = true;
        } else {
            value = arg;
        }
    }
    if (!haveTo) return zb_usageError("Missing option '--to' ('--help' for more information)");

    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    const auto tzd = static_cast<int16_t>(tz);
    ZEL_VALUE src, dst;
    zel_valueInit(&src);
    zel_valueInit(&dst);
    ZEL_RETCODE rc =
        zel_valueConvertFromBuffer(&src, from, 0, value, ZEL_CHAR, std::strlen(value) + 1,
                                   ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, tzd, sub);
    int exitCode = 0;
    if (rc < 0) {
        std::printf("reading %s as %s: %s\n", value, fromName, zb_convert_status(rc).c_str());
        exitCode = 1;
    } else {
        rc = zel_valueConvert(&dst, &src, to, 0, ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, tzd, sub);
        if (rc < 0) {
            std::printf("status: %s\n", zb_convert_status(rc).c_str());
            exitCode = 1;
        } else {
            std::printf("value:  %s\n", zb_convert_text(dst, tzd).c_str());
            std::printf("status: %s\n", zb_convert_status(rc).c_str());
            if (bytes) {
                std::string hex;
                const std::string text = zb_convert_text(dst, tzd);
                if (zb_types_value_hex(&dst, text.c_str(), &hex) == 0) {
                    std::printf("stored: %s\n", hex.c_str());
                }
                std::printf("native: %s\n", zb_convert_bytes(dst).c_str());
            }
        }
    }
    zb_convert_free(&dst, sub);
    zb_convert_free(&src, sub);
    return exitCode;
}
