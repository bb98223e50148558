/*
 * types_types.h - the records of the type descriptors: the size table
 * (B_TYPE_INFO, one row per ZEL_TYPE, found by a linear search on the type: the
 * table is small, and a type missing from it has length 0), the column type
 * record that the catalogue embeds (SCH_TYPE_INFO_T), and the descriptor row
 * ZEL_TYPE_INFO with the twelve operations a row format calls through it. C
 * code reaches the size rows through the b_type lookups; C++ code may read the
 * constexpr table directly. Compiles as C11 and as C++20.
 */
#ifndef TYPES_TYPES_H
#define TYPES_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "align.h"
#include "coder_types.h"
#include "hash.h"
#include "stream_types.h"
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

/* ---- The column type record of the catalogue. */

struct SCH_INFO_S;
struct ZEL_TYPE_INFO_S;

/* Text columns: declared length, and the catalogue's collation when in use. */
typedef struct SCH_CHAR_COL_INFO_S {
    uint16_t len;
    ZEL_BOOL_T use_locale;
    void *locale; /* the `locale` of a psp_collate_t; null compares bytes */
} SCH_CHAR_COL_INFO;
typedef struct SCH_BINARY_COL_INFO_S {
    uint16_t len;
} SCH_BINARY_COL_INFO;
typedef struct SCH_TIME_COL_INFO_S {
    uint8_t prec;
} SCH_TIME_COL_INFO;
typedef struct SCH_DECIMAL_COL_INFO_S {
    uint8_t prec;
    uint8_t scale;
} SCH_DECIMAL_COL_INFO;

/* A data type, embedded in columns and domains. */
typedef struct SCH_TYPE_INFO_S {
    ZEL_TYPE type;
    uint16_t elems;    /* array elements of a boolean, integer or float column; 0: scalar */
    uint16_t byte_len; /* bytes in the row buffer */
    char *check_str;
    char *check_name;
    const struct ZEL_TYPE_INFO_S *type_info; /* the operations of `type` */
    struct SCH_INFO_S *sch;                  /* owner, for allocations */
    union {
        SCH_CHAR_COL_INFO c;
        SCH_BINARY_COL_INFO b;
        SCH_TIME_COL_INFO t;
        SCH_DECIMAL_COL_INFO d;
    } x;
} SCH_TYPE_INFO_T;
typedef SCH_TYPE_INFO_T *SCH_TYPE_INFO;
typedef const SCH_TYPE_INFO_T *SCH_TYPE_INFO_C;

/* ---- Native forms. */

/* A variable binary in a row buffer: the length, then the bytes in place.
 *
 * OFFSET SIZE MEANING
 *      0    2 len: bytes that follow, host order
 *      2  len data */
typedef struct ZEL_VARBINARY_S {
    uint16_t len;
    uint8_t data[];
} ZEL_VARBINARY_T;

/* A terminated text read a byte at a time by stringInputFcn. */
typedef struct STRING_INPUT_CTX_S {
    const char *str;
    size_t pos;
} STRING_INPUT_CTX;

/* ---- The descriptor row. */

/* Bits of the `flags` of tostring and fromstring. */
#define B_TYPE_FLAG_BASE64 0x40    /* text and binary as base64 */
#define B_TYPE_FLAG_NO_OUTPUT 0x80 /* tostring emits nothing (not bool or binary) */

typedef ZEL_RETCODE (*B_TYPE_TOSTRING_FCN)(SCH_TYPE_INFO_C pi, const ZEL_VALUE *val, uint32_t elem,
                                           uint32_t flags, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
typedef ZEL_RETCODE (*B_TYPE_FROMSTRING_FCN)(SCH_TYPE_INFO_C pi, ZEL_VALUE *value, uint32_t elem,
                                             uint32_t flags, B_TAG_SUB subTag, const char *input);
typedef ZEL_COMPARE (*B_TYPE_CMP_FCN)(SCH_TYPE_INFO_C pi, size_t limit, const ZEL_VALUE *col1,
                                      const ZEL_VALUE *col2);
typedef ZEL_RETCODE (*B_TYPE_HASH_FCN)(SCH_TYPE_INFO_C pi, const ZEL_VALUE *col,
                                       B_HASHCTX *hashctx);
typedef ZEL_RETCODE (*B_TYPE_SCHEMA_COPY_FCN)(SCH_TYPE_INFO_C pi, ZEL_VALUE *dst,
                                              const ZEL_VALUE *src, size_t maxExtraBytes,
                                              B_TAG_SUB subTag);
typedef ZEL_RETCODE (*B_TYPE_SCHEMA_COPY_TO_BUFF_FCN)(SCH_TYPE_INFO_C pi, void *dst, size_t *size,
                                                      const ZEL_VALUE *src);
typedef ZEL_RETCODE (*B_TYPE_SCHEMA_COPY_FROM_BUFF_FCN)(SCH_TYPE_INFO_C pi, ZEL_VALUE *dst,
                                                        const void *buff, size_t size,
                                                        B_TAG_SUB subTag);
typedef ZEL_RETCODE (*B_TYPE_SCHEMA_ASSIGN_FROM_BUFF_FCN)(SCH_TYPE_INFO_C pi, ZEL_VALUE *dst,
                                                          const void *buff, size_t size);
typedef ZEL_RETCODE (*B_TYPE_SCHEMA_PACK_FCN)(SCH_TYPE_INFO_C pi, const ZEL_VALUE *col,
                                              const B_ENCODER_T *encoder);
typedef ZEL_RETCODE (*B_TYPE_SCHEMA_UNPACK_FCN)(SCH_TYPE_INFO_C pi, ZEL_VALUE *col,
                                                B_TAG_SUB subTag, const B_DECODER_T *decoder);
typedef ZEL_RETCODE (*B_TYPE_SCHEMA_UNPACK_TO_BUFF_FCN)(SCH_TYPE_INFO_C pi, void *colData,
                                                        uint8_t *hasValue,
                                                        const B_DECODER_T *decoder);
typedef void (*B_TYPE_SCHEMA_FREE_FCN)(ZEL_VALUE *col, B_TAG_SUB subTag);

/* Texts and operations of one column type. The first four operations are null
 * for large objects, and free_fcn for the date and time types. */
typedef struct ZEL_TYPE_INFO_S {
    B_ALIGN_TYPE ext_align;
    const char *enum_name;
    const char *field_type_text;
    const char *ddl_type_text;
    const char *sql_type_text;
    const char *objc_field_type_text;
    const char *objc_field_array_type_text; /* null when the type has no arrays */
    B_TYPE_TOSTRING_FCN tostring;
    B_TYPE_FROMSTRING_FCN fromstring;
    B_TYPE_CMP_FCN cmp;
    B_TYPE_HASH_FCN hashfcn;
    B_TYPE_SCHEMA_COPY_FCN copy_fcn;
    B_TYPE_SCHEMA_COPY_TO_BUFF_FCN copy_to_buff_fcn;
    B_TYPE_SCHEMA_COPY_FROM_BUFF_FCN copy_from_buff_fcn;
    B_TYPE_SCHEMA_ASSIGN_FROM_BUFF_FCN assign_from_buff_fcn;
    B_TYPE_SCHEMA_PACK_FCN pack_fcn;
    B_TYPE_SCHEMA_UNPACK_FCN unpack_fcn;
    B_TYPE_SCHEMA_UNPACK_TO_BUFF_FCN unpack_to_buff_fcn;
    B_TYPE_SCHEMA_FREE_FCN free_fcn;
} ZEL_TYPE_INFO;

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
