/*
 * schema_ops.h - values of catalogue columns and keys handled through the
 * operations of each column's type descriptor: compare, hash, copy into and
 * out of row and key buffers, pack, free and print. A buffer argument is the
 * start of a row (column forms) or key buffer (key forms); each item is
 * written at its offset, with 1 or 0 in its has-value byte when it has one.
 * None of these know a type by name: they dispatch through type_info.
 */
#ifndef SCHEMA_OPS_H
#define SCHEMA_OPS_H

#include "coder_types.h"
#include "hash.h"
#include "schema_types.h"
#include "stream_types.h"

ZEL_EXTERN_C_BEGIN

/* ---- Texts of a type's descriptor; null without one. */
const char *sch_type_ddl_text(SCH_TYPE_INFO_C pi);
const char *sch_type_sql_text(SCH_TYPE_INFO_C pi);
/* The enumerator as text ("ZEL_INT32"). */
const char *sch_type_text(SCH_TYPE_INFO_C pi);

/* ---- Columns. */

/* A null (status vsNULL, or a null pointer) sorts before a value, two nulls
 * are equal; else the type's compare. */
ZEL_COMPARE sch_col_cmp_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *v1, const ZEL_VALUE *v2);
/* The second operand is the column's bytes in a buffer; null means null. */
ZEL_COMPARE sch_col_cmp_buff_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *v1, const void *colData);
/* dst becomes an owned copy from `subTag`. */
ZEL_NODISCARD ZEL_RETCODE sch_col_copy_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *dst, const ZEL_VALUE *src,
                                           size_t maxExtraBytes, B_TAG_SUB subTag);
/* Writes the value into the row buffer `row` at the column's offset; a null
 * zeroes the bytes. Large objects write no data. A status other than vsOKAY
 * or vsNULL writes nothing. */
ZEL_NODISCARD ZEL_RETCODE sch_col_copy_to_buff_fcn(SCH_COL_INFO_C ci, void *row,
                                                   const ZEL_VALUE *src);
/* The native bytes of the value into `dst` of *size bytes (null dst:
 * measure); *size gets the bytes. */
ZEL_NODISCARD ZEL_RETCODE sch_col_copy_to_str_fcn(SCH_COL_INFO_C ci, void *dst, size_t *size,
                                                  const ZEL_VALUE *src);
/* A value from the row buffer: copied from `subTag`, or borrowing the
 * buffer's bytes. A zero has-value byte gives a null. */
ZEL_NODISCARD ZEL_RETCODE sch_col_copy_from_buff_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *dst,
                                                     const void *row, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE sch_col_assign_from_buff_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *dst,
                                                       const void *row);
/* The stored bytes of the value through `encoder`. */
ZEL_NODISCARD ZEL_RETCODE sch_col_pack_buffer_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *val,
                                                  const B_ENCODER_T *encoder);
/* Frees what a copy took from `subTag`; the status becomes vsNOVAL. */
void sch_col_free_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *val, B_TAG_SUB subTag);
/* How the value must be printed: SCH_BINARY_FORMAT for binary types,
 * SCH_UTF8_BINARY_FORMAT for text with a byte outside 0x20..0xFE, else
 * SCH_NATIVE_FORMAT. eINVNULLARG, eRANGE for `elem` past an array's
 * elements, eINVARG for a status other than vsOKAY or vsNULL. */
ZEL_NODISCARD ZEL_RETCODE sch_col_tostring_type_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *val,
                                                    uint32_t elem, SCH_FORMAT *pformat);
/* The value as text through `fcn`; a null prints "<ZEL NULL>". */
ZEL_NODISCARD ZEL_RETCODE sch_col_tostring_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *val,
                                               uint32_t elem, uint32_t flags, ZEL_OUTPUT_FCN fcn,
                                               B_OUTPUT_CTX ctx);

/* ---- Keys: `vals` holds one value per element, in element order. */

/* The first difference decides. */
ZEL_COMPARE sch_key_cmp_fcn(SCH_KEY_INFO_C ki, const ZEL_VALUE *a, const ZEL_VALUE *b);
/* Hashes the elements whose status is vsOKAY. */
ZEL_NODISCARD ZEL_RETCODE sch_key_hash_fcn(SCH_KEY_INFO_C ki, const ZEL_VALUE *vals,
                                           B_HASHCTX *hashctx);
/* The same from a key buffer; elements with a zero has-value byte are
 * skipped. */
ZEL_NODISCARD ZEL_RETCODE sch_key_hash_from_buff_fcn(SCH_KEY_INFO_C ki, const void *buff,
                                                     B_HASHCTX *hashctx);
/* Copies every element; on failure frees what it copied. */
ZEL_NODISCARD ZEL_RETCODE sch_key_copy_fcn(SCH_KEY_INFO_C ki, ZEL_VALUE *dst, const ZEL_VALUE *src,
                                           B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE sch_key_copy_to_buff_fcn(SCH_KEY_INFO_C ki, void *buff,
                                                   const ZEL_VALUE *vals);
void sch_key_free_fcn(SCH_KEY_INFO_C ki, ZEL_VALUE *vals, B_TAG_SUB subTag);
/* The sort columns' values into a reference's sort buffer. */
ZEL_NODISCARD ZEL_RETCODE sch_ref_copy_sort_cols_to_buff_fcn(SCH_REF_INFO_C ri, void *buff,
                                                             const ZEL_VALUE *vals);

/* ---- One item of a key or sort buffer as a value that borrows the buffer's
 * bytes (no allocation): the item's own offsets, not its column's row
 * offsets. A zero has-value byte gives a null. The raw form reads the bytes
 * at buff + ptr and never looks at a has-value byte. eINVNULLARG,
 * eNOTIMPLEMENTED for a type without the operation, and its codes. */
ZEL_NODISCARD ZEL_RETCODE sch_elem_assign_from_buff_fcn(SCH_ELEM_INFO_C ei, ZEL_VALUE *dst,
                                                        const void *keyBuff);
ZEL_NODISCARD ZEL_RETCODE sch_sort_assign_from_buff_fcn(SCH_SORT_INFO_C si, ZEL_VALUE *dst,
                                                        const void *sortBuff);
ZEL_NODISCARD ZEL_RETCODE sch_col_assign_from_buff_raw_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *dst,
                                                           const void *buff, uint32_t ptr);

ZEL_EXTERN_C_END

#endif /* SCHEMA_OPS_H */
