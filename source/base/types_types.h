/*
 * types_types.h - sizes, precisions and display widths of the value types.
 * One row per ZEL_TYPE, found by a linear search on the type: the table is
 * small, and a type missing from it has length 0. C code reaches the rows
 * through the b_type lookups; C++ code may read the constexpr table directly.
 * Compiles as C11 and as C++20.
 */
#ifndef TYPES_TYPES_H
#define TYPES_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "value_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* One row of the size table. */
typedef struct B_TYPE_INFO_S {
    ZEL_TYPE type;
    const char *str;      /* the enumerator as text */
    int16_t prec;         /* digits of precision */
    uint16_t displaySize; /* characters to display */
    size_t len;           /* bytes of one element; 0 for variable lengths */
} B_TYPE_INFO;

#define B_TYPE_INFO_ROWS 37

ZEL_EXTERN_C_END

#ifdef __cplusplus
namespace zel::detail {

inline constexpr B_TYPE_INFO typeInfo[B_TYPE_INFO_ROWS] = {
    {ZEL_NOVAL, "ZEL_NOVAL", 0, 0, 0},
    {ZEL_ROWID, "ZEL_ROWID", 19, 20, 8},
    {ZEL_CHAR, "ZEL_CHAR", 0, 0, 0},
    {ZEL_VARCHAR, "ZEL_VARCHAR", 0, 0, 0},
    {ZEL_BINARY, "ZEL_BINARY", 0, 0, 0},
    {ZEL_VARBINARY, "ZEL_VARBINARY", 0, 0, 0},
    {ZEL_CLOB, "ZEL_CLOB", 0, 0, 0},
    {ZEL_WCHAR, "ZEL_WCHAR", 0, 0, 0},
    {ZEL_WVARCHAR, "ZEL_WVARCHAR", 0, 0, 0},
    {ZEL_WCLOB, "ZEL_WCLOB", 0, 0, 0},
    {ZEL_BLOB, "ZEL_BLOB", 0, 0, 0},
    {ZEL_INT8, "ZEL_INT8", 3, 4, 1},
    {ZEL_BOOL, "ZEL_BOOL", 1, 6, 4},
    {ZEL_UINT8, "ZEL_UINT8", 3, 4, 1},
    {ZEL_INT16, "ZEL_INT16", 5, 6, 2},
    {ZEL_UINT16, "ZEL_UINT16", 5, 6, 2},
    {ZEL_INT32, "ZEL_INT32", 10, 11, 4},
    {ZEL_UINT32, "ZEL_UINT32", 10, 11, 4},
    {ZEL_INT64, "ZEL_INT64", 19, 20, 8},
    {ZEL_UINT64, "ZEL_UINT64", 19, 20, 8},
    {ZEL_FLOAT, "ZEL_FLOAT", 7, 14, 4},
    {ZEL_DOUBLE, "ZEL_DOUBLE", 15, 24, 8},
    {ZEL_DATE, "ZEL_DATE", 10, 10, 4},
    {ZEL_TIME, "ZEL_TIME", 8, 13, 4},
    {ZEL_TIMETZ, "ZEL_TIMETZ", 8, 21, 8},
    {ZEL_TIMESTAMP, "ZEL_TIMESTAMP", 24, 24, 8},
    {ZEL_TIMESTAMPTZ, "ZEL_TIMESTAMPTZ", 24, 31, 12},
    {ZEL_BCD, "ZEL_BCD", 0, 0, 37},
    {ZEL_UUID, "ZEL_UUID", 36, 40, 16},
    {ZEL_PARAMREF, "ZEL_PARAMREF", 0, 0, 2},
    {ZEL_PROCVAR, "ZEL_PROCVAR", 0, 0, 2},
    {ZEL_GLOBALVAR, "ZEL_GLOBALVAR", 0, 0, 2},
    {ZEL_COLREF, "ZEL_COLREF", 0, 0, 2},
    {ZEL_ZERODIV, "ZEL_ZERODIV", 0, 0, 0},
    {ZEL_RESULTCOL, "ZEL_RESULTCOL", 0, 0, 0},
    {ZEL_DEFAULT, "ZEL_DEFAULT", 0, 0, 0},
    {ZEL_ZELVALUE, "ZEL_ZELVALUE", 0, 0, sizeof(ZEL_VALUE)},
};

/* Index of a type's row, or -1 when the table has none. */
constexpr int typeInfoIndex(ZEL_TYPE type) {
    for (int i = 0; i < B_TYPE_INFO_ROWS; ++i)
        if (typeInfo[i].type == type) return i;
    return -1;
}

/* The row of a type, or null when the table has none. */
constexpr const B_TYPE_INFO *typeInfoFind(ZEL_TYPE type) {
    const int i = typeInfoIndex(type);
    return i < 0 ? nullptr : &typeInfo[i];
}

/* Bytes of one element of a type; 0 for a type missing from the table. */
constexpr size_t typeInfoLength(ZEL_TYPE type) {
    const int i = typeInfoIndex(type);
    return i < 0 ? 0 : typeInfo[i].len;
}

static_assert(sizeof(ZEL_VALUE) == 48, "a ZEL_ZELVALUE element is 48 bytes");
static_assert(typeInfoLength(ZEL_BCD) == sizeof(ZEL_BCD_T));
static_assert(typeInfoLength(ZEL_UUID) == sizeof(ZEL_UUID_T));
static_assert(typeInfoLength(ZEL_TIMESTAMPTZ) == sizeof(ZEL_PACKED_TIMESTAMPTZ_T));
static_assert(typeInfoLength(ZEL_TIMETZ) == sizeof(ZEL_PACKED_TIMETZ_T));
static_assert(typeInfoLength(ZEL_TIMESTAMP) == sizeof(ZEL_PACKED_TIMESTAMP_T));
static_assert(typeInfoLength(ZEL_WCLOB_UTF8) == 0, "missing rows have length 0");

}  // namespace zel::detail
#endif

#endif /* TYPES_TYPES_H */
