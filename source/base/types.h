/*
 * types.h - the type descriptors: one constant ZEL_TYPE_INFO row per column
 * type, with its texts and the twelve operations through which the catalogue
 * and the row formats handle a column without switching on its type, and the
 * lookups of the size table. Records are in types_types.h.
 *
 * Common to the operations: `pi` is the column's type record; a value's `vt`
 * holds the number itself or a pointer to data allocated on the tag given.
 * Arrays (`pi->elems` not 0) exist for the boolean, integer and floating
 * types. Failures: eRANGE, eBADDATALEN, eINVUTF, eSTRTOOLONG, eINVBCD,
 * eDBCORRUPTED and eEOD for damaged or short packed bytes, eNOMEMORY; the
 * warning sTRUNCATE. On a failure the out value is left as it was and
 * nothing stays allocated. Compiles as C11 and as C++20.
 */
#ifndef TYPES_H
#define TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "types_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* ---- Lookups. */

/* b_typeGetInfoEx(type, 0). */
const ZEL_TYPE_INFO *b_typeGetInfo(ZEL_TYPE type);
/* The descriptor row of a column type, null for a type without one.
 * `unicode_enabled` has no effect; the wide text types and their UTF-8 forms
 * share one row. */
const ZEL_TYPE_INFO *b_typeGetInfoEx(ZEL_TYPE type, int unicode_enabled);
/* Bytes of one element, from the size table; 0 for a type not in it. */
size_t b_typeGetLength(ZEL_TYPE type);
/* The enumerator as text; "" for a type not in the size table. */
const char *b_typeGetStr(ZEL_TYPE type);
/* Characters to show `elts` elements (0: a scalar): 0 for a type not in the
 * table, 34 for ZEL_BCD, else (displaySize + 1) * elts + 7 for an array. */
uint32_t b_typeDisplaySize(ZEL_TYPE type, uint32_t elts);
/* Digits of precision: 0 for a type not in the table, 32 for ZEL_BCD. */
int16_t b_typePrecision(ZEL_TYPE type);

/* A column type record outside any catalogue, for a value converted, packed
 * or printed on its own: `elems` elements of a scalar type (0 for one),
 * `length` characters of a text type (4 bytes a character and the
 * terminator in the row) or bytes of a binary one (2 more for a variable
 * binary's length word); a decimal's precision and scale, a time's digits and
 * a collation are left 0 for the caller. eINVARG for a type without a
 * descriptor row, eRANGE when the row length would pass 65535 bytes. */
ZEL_NODISCARD ZEL_RETCODE b_typeStandaloneColumn(ZEL_TYPE type, uint16_t elems, uint16_t length,
                                                 SCH_TYPE_INFO_T *pi);
/* The reads of a column type record that the descriptors need; the catalogue
 * exports them with the rest of its accessors. Decimal precision, or the
 * fraction digits of a time type; else 0. */
uint8_t sch_type_prec(SCH_TYPE_INFO_C pi);
uint8_t sch_type_scale(SCH_TYPE_INFO_C pi);
/* Declared length of a character or binary type (not large objects), the
 * precision of a decimal, else 0. */
uint16_t sch_type_length(SCH_TYPE_INFO_C pi);
/* Collation handle (the `locale` of the catalogue's psp_collate_t) of a
 * character type, null otherwise. */
void *sch_type_locale(SCH_TYPE_INFO_C pi);

/* Input function over a STRING_INPUT_CTX: the next byte of the text, or eEOD
 * at its terminator. */
ZEL_NODISCARD ZEL_RETCODE stringInputFcn(B_INPUT_CTX ctx, uint32_t *pCh);

/* ---- The rows. */

extern const ZEL_TYPE_INFO bool_type_info;
extern const ZEL_TYPE_INFO int8_type_info;
extern const ZEL_TYPE_INFO uint8_type_info;
extern const ZEL_TYPE_INFO int16_type_info;
extern const ZEL_TYPE_INFO uint16_type_info;
extern const ZEL_TYPE_INFO int32_type_info;
extern const ZEL_TYPE_INFO uint32_type_info;
extern const ZEL_TYPE_INFO int64_type_info;
extern const ZEL_TYPE_INFO uint64_type_info;
extern const ZEL_TYPE_INFO float_type_info;
extern const ZEL_TYPE_INFO double_type_info;
extern const ZEL_TYPE_INFO decimal_type_info;
extern const ZEL_TYPE_INFO date_type_info;
extern const ZEL_TYPE_INFO time_type_info;
extern const ZEL_TYPE_INFO timetz_type_info;
extern const ZEL_TYPE_INFO timestamp_type_info;
extern const ZEL_TYPE_INFO timestamptz_type_info;
extern const ZEL_TYPE_INFO rowid_type_info;
extern const ZEL_TYPE_INFO uuid_type_info;
extern const ZEL_TYPE_INFO binary_type_info;
extern const ZEL_TYPE_INFO varbinary_type_info;
extern const ZEL_TYPE_INFO blob_type_info;
extern const ZEL_TYPE_INFO utf8_type_info;
extern const ZEL_TYPE_INFO varutf8_type_info;
extern const ZEL_TYPE_INFO wchar_utf8_type_info;
extern const ZEL_TYPE_INFO varwchar_utf8_type_info;
extern const ZEL_TYPE_INFO clob_type_info;
extern const ZEL_TYPE_INFO wclob_utf8_type_info;

/* ---- The operations, one set per family T, as the rows hold them.
 *
 * tostring(pi, val, elem, flags, fcn, ctx): the value (the element `elem` of
 *   an array, eRANGE past `elems`) as text through `fcn`.
 * fromstring(pi, value, elem, flags, subTag, input): parses `input` into
 *   `value` (an array column gets a fresh cleared array with element `elem`).
 * cmp(pi, limit, col1, col2): ZEL_LT, ZEL_EQ or ZEL_GT; a null value first;
 *   `limit` bounds text and binary compares when not 0.
 * hash(pi, col, hashctx): feeds the value's bytes, numbers high byte first.
 * schema_copy(pi, dst, src, maxExtraBytes, subTag): `dst` becomes an owned
 *   copy; at most `maxExtraBytes` bytes of pointer data (0: none, status
 *   vsNOVAL), sTRUNCATE when cut.
 * schema_copy_to_buff(pi, dst, size, src): native bytes into `dst` (null:
 *   measure); *size (null: unbounded) is the room in, the bytes out.
 * schema_copy_from_buff(pi, dst, buff, size, subTag): a value from native
 *   bytes; schema_assign_from_buff borrows them instead.
 * schema_pack(pi, col, encoder) / schema_unpack(pi, col, subTag, decoder):
 *   the stored bytes; unpack_to_buff writes the native form at `colData` and
 *   sets *hasValue to 1 when it is not null.
 * schema_free(col, subTag): zel_valueFree. */
#define B_TYPE_DECLARE_VALUE_OPS(T)                                                              \
    ZEL_NODISCARD ZEL_RETCODE b_type_schema_copy_##T(SCH_TYPE_INFO_C pi, ZEL_VALUE *dst,         \
                                                     const ZEL_VALUE *src, size_t maxExtraBytes, \
                                                     B_TAG_SUB subTag);                          \
    ZEL_NODISCARD ZEL_RETCODE b_type_schema_copy_from_buff_##T(                                  \
        SCH_TYPE_INFO_C pi, ZEL_VALUE *dst, const void *buff, size_t size, B_TAG_SUB subTag);    \
    ZEL_NODISCARD ZEL_RETCODE b_type_schema_assign_from_buff_##T(                                \
        SCH_TYPE_INFO_C pi, ZEL_VALUE *dst, const void *buff, size_t size);                      \
    void b_type_schema_free_##T(ZEL_VALUE *col, B_TAG_SUB subTag);

#define B_TYPE_DECLARE_OPS(T)                                                                     \
    B_TYPE_DECLARE_VALUE_OPS(T)                                                                   \
    ZEL_NODISCARD ZEL_RETCODE b_type_tostring_##T(SCH_TYPE_INFO_C pi, const ZEL_VALUE *val,       \
                                                  uint32_t elem, uint32_t flags,                  \
                                                  ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);          \
    ZEL_NODISCARD ZEL_RETCODE b_type_fromstring_##T(SCH_TYPE_INFO_C pi, ZEL_VALUE *value,         \
                                                    uint32_t elem, uint32_t flags,                \
                                                    B_TAG_SUB subTag, const char *input);         \
    ZEL_COMPARE b_type_cmp_##T(SCH_TYPE_INFO_C pi, size_t limit, const ZEL_VALUE *col1,           \
                               const ZEL_VALUE *col2);                                            \
    ZEL_NODISCARD ZEL_RETCODE b_type_hash_##T(SCH_TYPE_INFO_C pi, const ZEL_VALUE *col,           \
                                              B_HASHCTX *hashctx);                                \
    ZEL_NODISCARD ZEL_RETCODE b_type_schema_copy_to_buff_##T(SCH_TYPE_INFO_C pi, void *dst,       \
                                                             size_t *size, const ZEL_VALUE *src); \
    ZEL_NODISCARD ZEL_RETCODE b_type_schema_pack_##T(SCH_TYPE_INFO_C pi, const ZEL_VALUE *col,    \
                                                     const B_ENCODER_T *encoder);                 \
    ZEL_NODISCARD ZEL_RETCODE b_type_schema_unpack_##T(                                           \
        SCH_TYPE_INFO_C pi, ZEL_VALUE *col, B_TAG_SUB subTag, const B_DECODER_T *decoder);        \
    ZEL_NODISCARD ZEL_RETCODE b_type_schema_unpack_to_buff_##T(                                   \
        SCH_TYPE_INFO_C pi, void *colData, uint8_t *hasValue, const B_DECODER_T *decoder);

B_TYPE_DECLARE_OPS(bool)
B_TYPE_DECLARE_OPS(int8)
B_TYPE_DECLARE_OPS(uint8)
B_TYPE_DECLARE_OPS(int16)
B_TYPE_DECLARE_OPS(uint16)
B_TYPE_DECLARE_OPS(int32)
B_TYPE_DECLARE_OPS(uint32)
B_TYPE_DECLARE_OPS(int64)
B_TYPE_DECLARE_OPS(uint64)
B_TYPE_DECLARE_OPS(float)
B_TYPE_DECLARE_OPS(double)
B_TYPE_DECLARE_OPS(bcd)
B_TYPE_DECLARE_OPS(date)
B_TYPE_DECLARE_OPS(time)
B_TYPE_DECLARE_OPS(timetz)
B_TYPE_DECLARE_OPS(timestamp)
B_TYPE_DECLARE_OPS(timestamptz)
B_TYPE_DECLARE_OPS(uuid)
B_TYPE_DECLARE_OPS(binary)
B_TYPE_DECLARE_OPS(varbinary)
B_TYPE_DECLARE_OPS(utf8)
B_TYPE_DECLARE_VALUE_OPS(blob)
B_TYPE_DECLARE_VALUE_OPS(clob)

ZEL_EXTERN_C_END

#endif /* TYPES_H */
