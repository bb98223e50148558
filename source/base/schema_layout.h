/*
 * schema_layout.h - the in-memory buffer forms of rows, keys, reference sort
 * buffers and hash buckets: byte lengths and alignments by type, the offsets
 * computed once while a table is finalised, and the multiplier variants that
 * recompute a layout for fewer bytes per UTF-8 character.
 */
#ifndef SCHEMA_LAYOUT_H
#define SCHEMA_LAYOUT_H

#include "align.h"
#include "schema_types.h"

ZEL_EXTERN_C_BEGIN

/* Entries of a hash bucket, and the sizes derived from it. */
#define SCH_BUCKET_ENTRIES 31
#define SCH_BUCKET_LEN (SCH_BUCKET_ENTRIES * 40)
#define SCH_BUCKET_ID_LEN (SCH_BUCKET_ENTRIES * 8)
/* Row buffer prefix: bytes per AVL key, per reference, per column status. */
#define SCH_ROW_AVL_BYTES 24
#define SCH_ROW_REF_BYTES 8
#define SCH_ROW_STATUS_BYTES 4

/* Alignment of a column type in a buffer; B_ALN_CHAR for an unknown type. */
B_ALIGN_TYPE sch_type_align(ZEL_TYPE type);
/* Sets pi->byte_len from the type, elems and declared length. eBADCAT for a
 * type without a row form or a length of 65536 or more; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE sch_type_calc_byte_len(SCH_TYPE_INFO pi);

/* Column offsets, has-value offsets and byte_len of a table (its named
 * columns in index order, large objects taking no room); the codes of
 * sch_type_calc_byte_len. */
ZEL_NODISCARD ZEL_RETCODE sch_tbl_calc_offsets(SCH_TBL_INFO ti);
/* Element offsets, has-value offsets and byte_len of a key buffer. eBADCAT
 * for an element without a column. */
ZEL_NODISCARD ZEL_RETCODE sch_key_finalize_offsets(SCH_KEY_INFO ki);
/* Sort column offsets and sort_byte_len of a reference (no final rounding).
 * eBADCAT for a sort element without a column. */
ZEL_NODISCARD ZEL_RETCODE sch_ref_calc_sort_offsets(SCH_REF_INFO ri);

/* The row buffer description of a table, from its counts and byte_len. */
void sch_tbl_generate_buffer_info(SCH_TBL_INFO ti);
/* Copies it out; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE sch_tbl_get_buffer_info(SCH_TBL_INFO_C ti, ZEL_ROW_BUFFER_INFO *info);
/* The bucket description of a hash key, from its byte_len. */
void sch_bucket_generate_buffer_info(SCH_KEY_INFO ki);
ZEL_NODISCARD ZEL_RETCODE sch_bucket_get_buffer_info(SCH_KEY_INFO_C ki,
                                                     ZEL_BUCKET_BUFFER_INFO *info);

/* ---- Layouts for `multiplier` bytes per UTF-8 character. A multiplier of
 * 4, or the table "_sys_files", gives the stored values. Otherwise each
 * call walks the active columns (or the key's elements) again: for setup,
 * not per row. Large objects take part in the walk, aligned to 8; nullable
 * columns are only counted, after all columns; the 65536 limit is not
 * checked. */

/* Offset of the column; its length goes to *col_length (mandatory, not
 * written on the stored path nor when the column is not reached, in which
 * case the last offset is given). */
uint32_t sch_col_offset_with_mult(SCH_COL_INFO_C ci, uint32_t multiplier, uint32_t *col_length);
/* The same over the key's elements; `col_length` may be null. */
uint32_t sch_elem_offset_with_mult(SCH_ELEM_INFO_C ei, uint32_t multiplier, uint32_t *col_length);
/* Byte length of a row: the aligned sum of lengths and nullable count. */
uint32_t sch_tbl_byte_len_ex(SCH_TBL_INFO_C ti, uint32_t multiplier);
/* Byte length of a key buffer; 0 without elements. */
uint32_t sch_key_byte_len_with_mult(SCH_KEY_INFO_C ki, uint32_t multiplier);
/* Where the row's has-value bytes begin: the sum of the lengths. */
ZEL_HAS_VALUE_OFFSET sch_tbl_has_value_offset_with_mult(SCH_TBL_INFO_C ti, uint32_t multiplier);
/* The key's sum of lengths, plus the count of elements in front of `ei`
 * when `ei` has a stored has-value offset. */
ZEL_HAS_VALUE_OFFSET sch_elem_has_value_offset_with_mult(SCH_ELEM_INFO_C ei, uint32_t multiplier);

ZEL_EXTERN_C_END

#endif /* SCHEMA_LAYOUT_H */
