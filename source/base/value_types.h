/*
 * value_types.h - the tagged value of the library and its enumerations.
 * ZEL_VALUE carries a status, a type and a payload union that is either the
 * number itself or a pointer to the data; the pointer data belongs to the tag
 * named in the record only if a setter copied it there, and whoever frees is
 * handed the tag again. The type numbers are a stored vocabulary: the low four
 * bits are the family, 0x1000 marks large objects, 0x0800 variable-length
 * forms and 0x8000 the unsigned integers and the boolean.
 * Compiles as C11 and as C++20.
 */
#ifndef VALUE_TYPES_H
#define VALUE_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "tag_types.h"
#include "zelbcdtypes.h"
#include "zeldatetimetypes.h"
#include "zelrowidtypes.h"
#include "zeltypes.h"
#include "zeluuidtypes.h"

ZEL_EXTERN_C_BEGIN

/* Bits of a ZEL_TYPE. */
#define ZEL_TYPE_FAMILY_MASK 0x000F
#define ZEL_TYPE_VARIANT_MASK 0x0F00
#define ZEL_TYPE_VARLEN_BIT 0x0800
#define ZEL_TYPE_LOB_BIT 0x1000
#define ZEL_TYPE_UNSIGNED_BIT 0x8000
/* The family of a type, `type & 15`. */
#define ZEL_TYPE_FAMILY(t) ((int)(t)&ZEL_TYPE_FAMILY_MASK)

/* Families, the values of ZEL_TYPE_FAMILY. */
#define ZEL_FAMILY_NONE 0
#define ZEL_FAMILY_BOOL 1
#define ZEL_FAMILY_INTEGER 2
#define ZEL_FAMILY_FLOAT 3
#define ZEL_FAMILY_DATETIME 4
#define ZEL_FAMILY_DECIMAL 5
#define ZEL_FAMILY_BINARY 6
#define ZEL_FAMILY_ROWID 7
#define ZEL_FAMILY_CHAR 8
#define ZEL_FAMILY_UUID 9
#define ZEL_FAMILY_MARKER 11

/* Value and column types. Every number is fixed: they are stored in
 * catalogues and sort descriptors. */
typedef enum ZEL_TYPE_E {
    ZEL_NOVAL = 0,

    ZEL_BOOL = 32769,

    ZEL_INT8 = 2,
    ZEL_UINT8 = 32770,
    ZEL_INT16 = 258,
    ZEL_UINT16 = 33026,
    ZEL_INT32 = 514,
    ZEL_UINT32 = 33282,
    ZEL_INT64 = 770,
    ZEL_UINT64 = 33538,

    ZEL_FLOAT = 515,
    ZEL_DOUBLE = 771,

    ZEL_DATE = 260,
    ZEL_TIME = 516,
    ZEL_TIMESTAMP = 772,
    ZEL_TIMETZ = 1028,
    ZEL_TIMESTAMPTZ = 1284,

    ZEL_BCD = 5,

    ZEL_BINARY = 6,
    ZEL_VARBINARY = 2054,
    ZEL_BLOB = 4102,

    ZEL_ROWID = 7,

    ZEL_CHAR = 8,
    ZEL_WCHAR = 264,
    ZEL_WCHAR_UTF8 = 520,
    ZEL_VARCHAR = 2056,
    ZEL_WVARCHAR = 2312,
    ZEL_WVARCHAR_UTF8 = 2568,
    ZEL_CLOB = 4104,
    ZEL_WCLOB = 4360,
    ZEL_WCLOB_UTF8 = 4616,

    ZEL_UUID = 9,

    /* Marker types of the query layer (family 11). */
    ZEL_SUBQUERY = 27,
    ZEL_OUTERREF = 43,
    ZEL_PARAMREF = 59,
    ZEL_ZELVALUE = 75,
    ZEL_AUTOGEN = 91,
    ZEL_PROCVAR = 107,
    ZEL_ZERODIV = 123,
    ZEL_RESULTCOL = 139,
    ZEL_COLREF = 155,
    ZEL_DEFAULT = 171,
    ZEL_DEFAULT_AUTO = 4107,
    ZEL_DEFAULT_CURRENT = 8203,
    ZEL_DEFAULT_CURRDATE = 12299,
    ZEL_DEFAULT_CURRTIME = 16395,
    ZEL_DEFAULT_CURRTIMESTAMP = 20491,
    ZEL_GLOBALVAR = 24587
} ZEL_TYPE;

/* What a value currently is. */
typedef enum VAL_STATUS_E {
    vsNOVAL = 0, /* nothing assigned */
    vsOKAY = 1,
    vsNULL = 2,
    vsCURRENT = 3,
    vsAUTO = 4,
    vsEMPTY = 5,
    vsTRUNCATE = 6,
    vsDATALOSS = 7,
    vsERROR = 8
} VAL_STATUS;

/* Which tag a value's setters copy pointer data into. */
typedef enum VAL_TAG_TYPE_E {
    VAL_TAG_TYPE_NONE = 0, /* keep the caller's pointer */
    VAL_TAG_TYPE_STACK = 101,
    VAL_TAG_TYPE_SUB = 201
} VAL_TAG_TYPE;

typedef struct VAL_TAG_S {
    VAL_TAG_TYPE type;
    union {
        B_TAG_STACK stack;
        B_TAG_SUB sub;
    } tag;
} VAL_TAG;

/* The payload: inline numbers, or a pointer to text, bytes, a decimal, a
 * UUID, a time stamp with zone, or the element array of an array value. */
typedef union ZEL_COLUMN_U {
    /* First, and as wide as the union: `{}` in C++ and `{0}` in C set only
     * the first member, so a narrower one would leave the pointer's upper
     * bytes as they were. */
    uint64_t u64v;
    ZEL_RETCODE err;
    ZEL_BOOL_T bv;
    int8_t i8v;
    uint8_t u8v;
    int16_t i16v;
    uint16_t u16v;
    int32_t i32v;
    uint32_t u32v;
    int64_t i64v;
    ZEL_ROWID_T ridv;
    float fv;
    double dv;
    const char *cv;
    const char *wcv;
    const void *pv;
    ZEL_PACKED_DATE_T dtv;
    ZEL_PACKED_TIME_T tmv;
    ZEL_PACKED_TIMESTAMP_T tsv;
    ZEL_PACKED_TIMETZ_T tmzv;
    ZEL_PACKED_TIMESTAMPTZ_T *tszv; /* 12 bytes: does not fit inline */
    ZEL_UUID_T *uuid;
    ZEL_BCD_T *bcd;
    ZEL_BOOL_T *ba;
    int8_t *i8a;
    uint8_t *u8a;
    int16_t *i16a;
    uint16_t *u16a;
    int32_t *i32a;
    uint32_t *u32a;
    int64_t *i64a;
    uint64_t *u64a;
    float *fa;
    double *da;
} ZEL_COLUMN;

/* The tagged value. 48 bytes on a 64-bit host.
 *
 * OFFSET SIZE MEANING
 *      0    4 status: VAL_STATUS
 *      4    4 type: ZEL_TYPE, which member of vt is live
 *      8    4 elts: element count of an array value, 0 for a scalar
 *     16    8 len: bytes of pointer data (text with its zero, binary,
 *               37 or 0 for a decimal), 0 for inline types
 *     24    8 vt: payload
 *     32   16 tag: where setters copy pointer data
 */
typedef struct ZEL_VALUE_S {
    VAL_STATUS status;
    ZEL_TYPE type;
    uint32_t elts;
    size_t len;
    ZEL_COLUMN vt;
    VAL_TAG tag;
} ZEL_VALUE;

/* Packed column identifier (table index above bit 16, column index below). */
typedef uint32_t ZEL_COLUMN_ID;

typedef struct ZEL_COLUMN_VALUE_S {
    ZEL_COLUMN_ID columnId;
    ZEL_VALUE value;
} ZEL_COLUMN_VALUE;

/* Fixed sizes of the pointed-to records. */
#define ZEL_VALUE_BCD_SIZE 37
#define ZEL_VALUE_UUID_SIZE 16
#define ZEL_VALUE_TIMESTAMPTZ_SIZE 12

ZEL_EXTERN_C_END

#endif /* VALUE_TYPES_H */
