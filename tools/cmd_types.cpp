// `zelbase types` lists every column type with the texts of its descriptor
// row (enumerator, DDL word, SQL word, C field type), the bytes of one element
// ("var" for a variable length) and its alignment in an external record.
#include <cstdio>
#include <cstring>

#include "align.h"
#include "types.h"
#include "zelbase_cmds.h"

int zb_cmd_types(int argc, char **argv);

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

}  // namespace

int zb_cmd_types(int argc, char **argv) {
    (void)argv;
    if (argc != 0) {
        std::fprintf(stderr, "usage: zelbase types   (lists every column type)\n");
        return 2;
    }
    std::printf("%-18s %5s  %-14s %-11s %-15s %-23s %4s  %s\n", "type", "code", "row enum", "ddl",
                "sql", "C field", "size", "alignment");
    for (ZEL_TYPE t : zb_types_all) {
        const ZEL_TYPE_INFO *row = b_typeGetInfo(t);
        if (row == nullptr) continue;
        // The UTF-8 forms of the wide text types have no row in the size table.
        const char *name = t == ZEL_WCHAR_UTF8      ? "ZEL_WCHAR_UTF8"
                           : t == ZEL_WVARCHAR_UTF8 ? "ZEL_WVARCHAR_UTF8"
                           : t == ZEL_WCLOB_UTF8    ? "ZEL_WCLOB_UTF8"
                                                    : b_typeGetStr(t);
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
