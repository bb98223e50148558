/*
 * schema.h - reading the catalogue: plain accessors of every record, packed
 * identifiers, lookups by index, name, drawer and identifier, iterators, and
 * the built-in `_sys_files` table that every catalogue shares.
 * Rules shared by the families:
 * - Reads never fail: a null handle or an index past the array's bound gives
 *   null (or 0, or 65535 for an index, 0xFFFFFFFF for a drawer number).
 * - Iterators take the container, the previous item (null to start) and a
 *   direction; holes are skipped and the end is null. They keep no state,
 *   except sch_iterate_all_keys and sch_iterate_all_lob_cols, which walk a
 *   list built on first use and keep its cursor: two walks of one catalogue
 *   must not interleave, and those calls (with sch_find_key_by_name and
 *   sch_find_table_by_name) are serialised by the caller.
 * - Column reads of type, length, precision, scale and checks prefer the
 *   column's domain; default text, format and width fall back to it.
 * Builders are in schema_build.h, layouts in schema_layout.h.
 */
#ifndef SCHEMA_H
#define SCHEMA_H

#include "schema_types.h"
#include "types.h"

ZEL_EXTERN_C_BEGIN

/* ---- The built-in table, reachable without a catalogue. */
SCH_TBL_INFO sch_get_sysfiles_table(void);
SCH_COL_INFO sch_get_sysfiles_blob_col(void);
SCH_COL_INFO sch_get_sysfiles_version_col(void);

/* ---- Packed identifiers. */
ZEL_TABLE_ID sch_tbl_constant(SCH_TBL_INFO_C ti);
ZEL_COLUMN_ID sch_col_constant(SCH_COL_INFO_C ci);
ZEL_KEY_ID sch_key_constant(SCH_KEY_INFO_C ki);
ZEL_REF_ID sch_ref_constant(SCH_REF_INFO_C ri);

/* ---- The catalogue. */
const char *sch_name(SCH_INFO_C sch);
const char *sch_locale_text(SCH_INFO_C sch);
uint32_t sch_catver(SCH_INFO_C sch);
uint32_t sch_dbver(SCH_INFO_C sch);
ZEL_ENC_TYPE sch_encryption(SCH_INFO_C sch);
/* "none" ... "default"; null above ZEL_ENC_DEFAULT. */
const char *sch_encryption_text(ZEL_ENC_TYPE enc);
ZEL_DRAWER sch_max_drawer(SCH_INFO_C sch);
ZEL_DRAWER sch_num_drawers(SCH_INFO_C sch);
ZEL_DRAWER sch_next_drawer(SCH_INFO_C sch);
/* num_drawers less the five numbers 0 to 4. */
ZEL_DRAWER sch_num_user_drawers(SCH_INFO_C sch);
uint32_t sch_num_refs(SCH_INFO_C sch);
ZEL_DOM_INDEX sch_num_domains(SCH_INFO_C sch);
ZEL_DOM_INDEX sch_next_domain(SCH_INFO_C sch);
ZEL_TBL_INDEX sch_next_table(SCH_INFO_C sch);
ZEL_TBL_INDEX sch_max_table(SCH_INFO_C sch);
/* 0 for a null catalogue; the user form leaves `_sys_files` out. */
ZEL_TBL_INDEX sch_num_tables(SCH_INFO_C sch);
ZEL_TBL_INDEX sch_num_user_tables(SCH_INFO_C sch);
B_TAG_SUB sch_subtag(SCH_INFO_C sch);
/* Always 0: one catalogue per database. */
uint32_t sch_ndx(SCH_INFO_C sch);
uint32_t sch_tbl_sch_ndx(SCH_TBL_INFO_C ti);
ZEL_NODISCARD ZEL_RETCODE sch_set_catver(SCH_INFO sch, uint32_t val);
ZEL_NODISCARD ZEL_RETCODE sch_set_dbver(SCH_INFO sch, uint32_t val);
ZEL_NODISCARD ZEL_RETCODE sch_set_encryption(SCH_INFO sch, ZEL_ENC_TYPE val);
/* Sets num_refs to the sum of the tables' num_refs. */
void sch_calc_num_refs(SCH_INFO sch);
/* The numbers of the user drawers in an array from `subTag` (the caller
 * frees it); none gives 0 and null. eINVNULLARG, allocation codes. */
ZEL_NODISCARD ZEL_RETCODE sch_get_user_drawer_list(SCH_INFO_C sch, ZEL_DRAWER *pNum,
                                                   ZEL_DRAWER **ppDrawers, B_TAG_SUB subTag);

/* ---- Lookups in the catalogue. */
/* Index 0 is `_sys_files` always; at or past next_table null. */
SCH_TBL_INFO sch_table(SCH_INFO_C sch, ZEL_TBL_INDEX id);
SCH_TBL_INFO sch_find_table_by_ndx(SCH_INFO_C sch, ZEL_TBL_INDEX id);
/* Numbers 2, 3, 4 are the built-in drawers, whatever `sch` is. */
SCH_DRAWER_INFO sch_drawer(SCH_INFO_C sch, ZEL_DRAWER id);
SCH_DOMAIN_INFO sch_domain(SCH_INFO_C sch, ZEL_DOM_INDEX id);
/* The table whose row drawer has that number, scanning from index 0. */
SCH_TBL_INFO sch_find_table(SCH_INFO_C sch, ZEL_DRAWER drawerId);
/* Binary search over the user tables by name, case-blind; the sorted array
 * is built on first use (and writes each table's nameNdx). Fewer than 2
 * tables: null, nothing written. Not found: null and, when `nameNdx` is
 * given, the insertion position there. */
SCH_TBL_INFO sch_find_table_by_name(SCH_INFO sch, const char *name, ZEL_TBL_INDEX *nameNdx);
/* A table id; `ndx` (optional) gets the index, 65535 for a non-table id,
 * or when the table is missing the nearest present lower index (65535 if
 * none). */
SCH_TBL_INFO sch_find_table_by_constant(SCH_INFO_C sch, ZEL_TABLE_ID id, ZEL_TBL_INDEX *ndx);
SCH_KEY_INFO sch_find_key_by_constant(SCH_INFO_C sch, ZEL_KEY_ID id);
SCH_REF_INFO sch_find_ref_by_constant(SCH_INFO_C sch, ZEL_REF_ID id);
SCH_COL_INFO sch_find_col_by_constant(SCH_INFO_C sch, ZEL_COLUMN_ID id);
/* Over the list of all keys (built on first use), case-blind. */
SCH_KEY_INFO sch_find_key_by_name(SCH_INFO sch, const char *name);

/* ---- Iterators over the catalogue. */
SCH_TBL_INFO sch_iterate_tables(SCH_INFO_C sch, SCH_TBL_INFO_C prev, ZEL_DIRECTION dir);
/* From index 0; a null catalogue yields `_sys_files` alone. */
SCH_TBL_INFO sch_iterate_all_tables(SCH_INFO_C sch, SCH_TBL_INFO_C prev, ZEL_DIRECTION dir);
SCH_DOMAIN_INFO sch_iterate_domains(SCH_INFO_C sch, SCH_DOMAIN_INFO_C prev, ZEL_DIRECTION dir);
SCH_DRAWER_INFO sch_iterate_user_drawers(SCH_INFO_C sch, SCH_DRAWER_INFO_C prev, ZEL_DIRECTION dir);
SCH_DRAWER_INFO sch_iterate_all_drawers(SCH_INFO_C sch, SCH_DRAWER_INFO_C prev, ZEL_DIRECTION dir);
/* The three built-in drawers, without a catalogue. */
SCH_DRAWER_INFO sch_iterate_system_drawers(SCH_DRAWER_INFO_C prev, ZEL_DIRECTION dir);
SCH_KEY_INFO sch_iterate_all_keys(SCH_INFO sch, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir);
/* A null catalogue yields "data_blob" of `_sys_files` once. */
SCH_COL_INFO sch_iterate_all_lob_cols(SCH_INFO sch, SCH_COL_INFO_C prev, ZEL_DIRECTION dir);

/* ---- Tables. */
const char *sch_tbl_name(SCH_TBL_INFO_C ti);
ZEL_TBL_INDEX sch_tbl_index(SCH_TBL_INFO_C ti);
ZEL_TBL_INDEX sch_tbl_offset(SCH_TBL_INFO_C ti);
ZEL_TABLE_TYPE sch_tbl_type(SCH_TBL_INFO_C ti);
const char *sch_tbl_type_text(SCH_TBL_INFO_C ti);
ZEL_SLOT sch_tbl_max_rows(SCH_TBL_INFO_C ti);
SCH_INFO sch_tbl_schema(SCH_TBL_INFO_C ti);
const char *sch_tbl_check_str(SCH_TBL_INFO_C ti);
const char *sch_tbl_check_name(SCH_TBL_INFO_C ti);
SCH_KEY_INFO sch_tbl_primary_key(SCH_TBL_INFO_C ti);
ZEL_BOOL_T sch_tbl_circular(SCH_TBL_INFO_C ti);
uint32_t sch_tbl_byte_len(SCH_TBL_INFO_C ti);
ZEL_HAS_VALUE_OFFSET sch_tbl_has_value_offset(SCH_TBL_INFO_C ti);
ZEL_COL_INDEX sch_tbl_num_cols(SCH_TBL_INFO_C ti);
ZEL_COL_INDEX sch_tbl_next_col(SCH_TBL_INFO_C ti);
ZEL_COL_INDEX sch_tbl_max_cols(SCH_TBL_INFO_C ti);
ZEL_KEY_INDEX sch_tbl_num_keys(SCH_TBL_INFO_C ti);
ZEL_KEY_INDEX sch_tbl_next_key(SCH_TBL_INFO_C ti);
ZEL_KEY_INDEX sch_tbl_max_keys(SCH_TBL_INFO_C ti);
ZEL_KEY_INDEX sch_tbl_num_avls(SCH_TBL_INFO_C ti);
ZEL_KEY_INDEX sch_tbl_next_avl(SCH_TBL_INFO_C ti);
ZEL_KEY_INDEX sch_tbl_max_avls(SCH_TBL_INFO_C ti);
ZEL_REF_INDEX sch_tbl_num_refs(SCH_TBL_INFO_C ti);
ZEL_REF_INDEX sch_tbl_next_ref(SCH_TBL_INFO_C ti);
ZEL_REF_INDEX sch_tbl_num_owners(SCH_TBL_INFO_C ti);
ZEL_REF_INDEX sch_tbl_next_owner(SCH_TBL_INFO_C ti);
ZEL_REF_INDEX sch_tbl_max_owner(SCH_TBL_INFO_C ti);
ZEL_DRAWER sch_tbl_num_drawers(SCH_TBL_INFO_C ti);
/* The row drawer's number, 0xFFFFFFFF without one. */
ZEL_DRAWER sch_tbl_drawer(SCH_TBL_INFO_C ti);
SCH_DRAWER_INFO sch_tbl_drawer_info(SCH_TBL_INFO_C ti);
/* Entry `ndx` of the table's own drawer list (set by finalisation). */
SCH_DRAWER_INFO sch_tbl_related_drawer(SCH_TBL_INFO_C ti, ZEL_DRAWER ndx);
SCH_TRIG_INFO sch_tbl_triggers(SCH_TBL_INFO_C ti);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_max_rows(SCH_TBL_INFO ti, ZEL_SLOT val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_offset(SCH_TBL_INFO ti, ZEL_TBL_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_type(SCH_TBL_INFO ti, ZEL_TABLE_TYPE val);

/* Items of a table by index. The find forms return null for an unnamed
 * column; the get forms return what stands in the slot. */
SCH_COL_INFO sch_find_col_by_ndx(SCH_TBL_INFO_C ti, ZEL_COL_INDEX ndx);
SCH_KEY_INFO sch_find_key_by_ndx(SCH_TBL_INFO_C ti, ZEL_KEY_INDEX ndx);
SCH_REF_INFO sch_find_ref_by_ndx(SCH_TBL_INFO_C ti, ZEL_REF_INDEX ndx);
SCH_COL_INFO sch_get_col_by_index(SCH_TBL_INFO_C ti, ZEL_COL_INDEX ndx);
SCH_KEY_INFO sch_get_key_by_index(SCH_TBL_INFO_C ti, ZEL_KEY_INDEX ndx);
SCH_REF_INFO sch_get_ref_by_index(SCH_TBL_INFO_C ti, ZEL_REF_INDEX ndx);
/* Linear and case-blind over the named columns. */
SCH_COL_INFO sch_find_col_by_name(SCH_TBL_INFO_C ti, const char *name);
/* Position of column `ndx` among the active columns, 65535 if absent;
 * `ndx` itself when the table keeps no active list. */
ZEL_COL_INDEX sch_find_col_active_ndx(SCH_TBL_INFO_C ti, ZEL_COL_INDEX ndx);

SCH_COL_INFO sch_iterate_cols(SCH_TBL_INFO_C ti, SCH_COL_INFO_C prev, ZEL_DIRECTION dir);
SCH_COL_INFO sch_iterate_cols_active(SCH_TBL_INFO_C ti, SCH_COL_INFO_C prev, ZEL_DIRECTION dir);
SCH_COL_INFO sch_iterate_non_lob_cols(SCH_TBL_INFO_C ti, SCH_COL_INFO_C prev, ZEL_DIRECTION dir);
SCH_COL_INFO sch_iterate_lob_cols(SCH_TBL_INFO_C ti, SCH_COL_INFO_C prev, ZEL_DIRECTION dir);
SCH_KEY_INFO sch_iterate_keys(SCH_TBL_INFO_C ti, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir);
SCH_KEY_INFO sch_iterate_keys_active(SCH_TBL_INFO_C ti, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir);
SCH_REF_INFO sch_iterate_refs(SCH_TBL_INFO_C ti, SCH_REF_INFO_C prev, ZEL_DIRECTION dir);
/* References of other tables that point at this one. */
SCH_REF_INFO sch_iterate_ref_owners(SCH_TBL_INFO_C ti, SCH_REF_INFO_C prev, ZEL_DIRECTION dir);
SCH_DRAWER_INFO sch_iterate_table_drawers(SCH_TBL_INFO_C ti, SCH_DRAWER_INFO_C prev,
                                          ZEL_DIRECTION dir);
/* Next trigger of `event`; ZEL_TRIG_WHENEVER accepts every timing. */
SCH_TRIG_INFO sch_iterate_triggers(SCH_TBL_INFO_C ti, SCH_TRIG_INFO_C prev, ZEL_TRIG_TIMING timing,
                                   ZEL_TRIG_EVENT event);
SCH_TRIG_INFO sch_iterate_all_triggers(SCH_TBL_INFO_C ti, SCH_TRIG_INFO_C prev);

/* "TABLE_<table>", upper-cased, into buf; sTRUNCATE when it does not fit
 * (the text is cut), eINVNULLARG. The column, key and reference forms are
 * "COL_<table>_<col>", "KEY_<table>_<key>" and "REF_<ref>". */
ZEL_NODISCARD ZEL_RETCODE sch_tbl_enum_text(SCH_TBL_INFO_C ti, char *buf, size_t size);
ZEL_NODISCARD ZEL_RETCODE sch_col_enum_text(SCH_COL_INFO_C ci, char *buf, size_t size);
ZEL_NODISCARD ZEL_RETCODE sch_key_enum_text(SCH_KEY_INFO_C ki, char *buf, size_t size);
ZEL_NODISCARD ZEL_RETCODE sch_ref_enum_text(SCH_REF_INFO_C ri, char *buf, size_t size);
/* "<table>_<key>_KEY", upper-cased only when `upper` is set. */
ZEL_NODISCARD ZEL_RETCODE sch_key_data_type_text(SCH_KEY_INFO_C ki, char *buf, size_t size,
                                                 ZEL_BOOL_T upper);

/* ---- Columns. */
const char *sch_col_name(SCH_COL_INFO_C ci);
ZEL_COL_INDEX sch_col_ndx(SCH_COL_INFO_C ci);
SCH_TBL_INFO sch_col_table(SCH_COL_INFO_C ci);
ZEL_TBL_INDEX sch_col_tbl_ndx(SCH_COL_INFO_C ci);
/* The domain's type when the column has a domain, else its own. */
SCH_TYPE_INFO sch_col_type(SCH_COL_INFO ci);
SCH_TYPE_INFO_C sch_col_type_c(SCH_COL_INFO_C ci);
ZEL_TYPE sch_col_data_type(SCH_COL_INFO_C ci);
const char *sch_col_data_type_text(SCH_COL_INFO_C ci);
uint16_t sch_col_num_elems(SCH_COL_INFO_C ci);
uint16_t sch_col_byte_len(SCH_COL_INFO_C ci);
uint8_t sch_col_prec(SCH_COL_INFO_C ci);
uint8_t sch_col_scale(SCH_COL_INFO_C ci);
uint16_t sch_col_length(SCH_COL_INFO_C ci);
const char *sch_col_check_str(SCH_COL_INFO_C ci);
const char *sch_col_check_name(SCH_COL_INFO_C ci);
ZEL_BOOL_T sch_col_is_lob(SCH_COL_INFO_C ci);
/* Own value when set, else the domain's. */
const char *sch_col_defstr(SCH_COL_INFO_C ci);
const char *sch_col_format(SCH_COL_INFO_C ci);
uint16_t sch_col_width(SCH_COL_INFO_C ci);
/* Own default unless its status is vsNOVAL, else the domain's, else null. */
const ZEL_VALUE *sch_col_def(SCH_COL_INFO_C ci);
SCH_DOMAIN_INFO sch_col_domain(SCH_COL_INFO_C ci);
ZEL_BOOL_T sch_col_not_null(SCH_COL_INFO_C ci);
const char *sch_col_not_null_cname(SCH_COL_INFO_C ci);
/* Neither NOT NULL nor an element of the primary key. */
ZEL_BOOL_T sch_col_nullable(SCH_COL_INFO_C ci);
ZEL_BOOL_T sch_col_is_pkey_elem(SCH_COL_INFO_C ci);
ZEL_HAS_VALUE_OFFSET sch_col_has_value_offset(SCH_COL_INFO_C ci);
uint32_t sch_col_offset(SCH_COL_INFO_C ci);
SCH_KEY_INFO sch_col_key(SCH_COL_INFO_C ci);
ZEL_KEY_INDEX sch_col_key_ndx(SCH_COL_INFO_C ci);
SCH_DRAWER_INFO sch_col_lob_drawer(SCH_COL_INFO_C ci);
ZEL_DRAWER sch_col_lob_drawer_ndx(SCH_COL_INFO_C ci);
SCH_REF_INFO sch_col_ref(SCH_COL_INFO_C ci);
SCH_TBL_INFO sch_col_reftab(SCH_COL_INFO_C ci);
SCH_COL_INFO sch_col_refcol(SCH_COL_INFO_C ci);
uint16_t sch_col_usage(SCH_COL_INFO_C ci);
ZEL_NODISCARD ZEL_RETCODE sch_col_set_usage(SCH_COL_INFO ci, uint16_t val);
ZEL_NODISCARD ZEL_RETCODE sch_col_set_width(SCH_COL_INFO ci, uint16_t val);
/* Keys containing the column, references holding it, references sorting by
 * it. */
SCH_KEY_INFO sch_iterate_col_keys(SCH_COL_INFO_C ci, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir);
SCH_REF_INFO sch_iterate_col_refs(SCH_COL_INFO_C ci, SCH_REF_INFO_C prev, ZEL_DIRECTION dir);
SCH_REF_INFO sch_iterate_sortcol_refs(SCH_COL_INFO_C ci, SCH_REF_INFO_C prev, ZEL_DIRECTION dir);
/* Equal types, or both binary (family 6), or both character (family 8). */
ZEL_BOOL_T sch_types_compatible(ZEL_TYPE t1, ZEL_TYPE t2);

/* ---- Types. */
ZEL_TYPE sch_type_data_type(SCH_TYPE_INFO_C pi);
uint16_t sch_type_num_elems(SCH_TYPE_INFO_C pi);
uint16_t sch_type_byte_len(SCH_TYPE_INFO_C pi);
/* sch_type_prec, sch_type_scale, sch_type_length and sch_type_locale are
 * declared in types.h, beside the record they read. */
const char *sch_type_check_str(SCH_TYPE_INFO_C pi);
const char *sch_type_check_name(SCH_TYPE_INFO_C pi);
const ZEL_TYPE_INFO *sch_type_info(SCH_TYPE_INFO_C pi);
ZEL_NODISCARD ZEL_RETCODE sch_type_set_use_locale(SCH_TYPE_INFO pi, ZEL_BOOL_T val);

/* ---- Domains. */
ZEL_DOM_INDEX sch_dom_ndx(SCH_DOMAIN_INFO_C mi);
const char *sch_dom_name(SCH_DOMAIN_INFO_C mi);
SCH_TYPE_INFO sch_dom_type(SCH_DOMAIN_INFO mi);
SCH_TYPE_INFO_C sch_dom_type_c(SCH_DOMAIN_INFO_C mi);
ZEL_TYPE sch_dom_data_type(SCH_DOMAIN_INFO_C mi);
const ZEL_VALUE *sch_dom_def(SCH_DOMAIN_INFO_C mi);
const char *sch_dom_defstr(SCH_DOMAIN_INFO_C mi);
const char *sch_dom_format(SCH_DOMAIN_INFO_C mi);
uint16_t sch_dom_width(SCH_DOMAIN_INFO_C mi);
const char *sch_dom_check_str(SCH_DOMAIN_INFO_C mi);
const char *sch_dom_check_name(SCH_DOMAIN_INFO_C mi);
ZEL_NODISCARD ZEL_RETCODE sch_dom_set_width(SCH_DOMAIN_INFO mi, uint16_t val);

/* ---- Keys and their elements. */
const char *sch_key_name(SCH_KEY_INFO_C ki);
ZEL_KEY_INDEX sch_key_ndx(SCH_KEY_INFO_C ki);
SCH_TBL_INFO sch_key_table(SCH_KEY_INFO_C ki);
ZEL_TBL_INDEX sch_key_tbl_ndx(SCH_KEY_INFO_C ki);
SCH_INFO sch_key_schema(SCH_KEY_INFO_C ki);
ZEL_KEY_TYPE sch_key_type(SCH_KEY_INFO_C ki);
const char *sch_key_type_text(SCH_KEY_INFO_C ki);
ZEL_KEY_METHOD sch_key_method(SCH_KEY_INFO_C ki);
const char *sch_key_method_text(SCH_KEY_INFO_C ki);
ZEL_BOOL_T sch_key_restr(SCH_KEY_INFO_C ki);
ZEL_BOOL_T sch_key_inline(SCH_KEY_INFO_C ki);
uint32_t sch_key_refcount(SCH_KEY_INFO_C ki);
uint32_t sch_key_byte_len(SCH_KEY_INFO_C ki);
ZEL_HAS_VALUE_OFFSET sch_key_has_value_offset(SCH_KEY_INFO_C ki);
SCH_DRAWER_INFO sch_key_drawer(SCH_KEY_INFO_C ki);
ZEL_DRAWER sch_key_drawer_ndx(SCH_KEY_INFO_C ki);
ZEL_COL_INDEX sch_key_num_elems(SCH_KEY_INFO_C ki);
SCH_ELEM_INFO sch_key_elem(SCH_KEY_INFO ki, ZEL_COL_INDEX ndx);
SCH_ELEM_INFO_C sch_key_elem_c(SCH_KEY_INFO_C ki, ZEL_COL_INDEX ndx);
ZEL_KEY_INDEX sch_avl_index(SCH_KEY_INFO_C ki);
ZEL_BOOL_T sch_key_contains_col(SCH_KEY_INFO_C ki, SCH_COL_INFO_C ci);
ZEL_NODISCARD ZEL_RETCODE sch_key_set_method(SCH_KEY_INFO ki, ZEL_KEY_METHOD val);
ZEL_NODISCARD ZEL_RETCODE sch_key_set_refcount(SCH_KEY_INFO ki, uint32_t val);
ZEL_NODISCARD ZEL_RETCODE sch_key_set_restr(SCH_KEY_INFO ki, ZEL_BOOL_T val);
SCH_ELEM_INFO sch_iterate_elems(SCH_KEY_INFO ki, SCH_ELEM_INFO_C prev, ZEL_DIRECTION dir);

ZEL_COL_INDEX sch_elem_index(SCH_ELEM_INFO_C ei);
SCH_COL_INFO sch_elem_col(SCH_ELEM_INFO_C ei);
ZEL_COL_INDEX sch_elem_col_index(SCH_ELEM_INFO_C ei);
ZEL_DIRECTION sch_elem_dir(SCH_ELEM_INFO_C ei);
const char *sch_elem_dir_text(SCH_ELEM_INFO_C ei);
uint32_t sch_elem_offset(SCH_ELEM_INFO_C ei);
ZEL_HAS_VALUE_OFFSET sch_elem_has_value_offset(SCH_ELEM_INFO_C ei);
ZEL_NODISCARD ZEL_RETCODE sch_elem_set_order(SCH_ELEM_INFO ei, ZEL_DIRECTION val);

/* ---- References and their sort columns. */
const char *sch_ref_name(SCH_REF_INFO_C ri);
ZEL_REF_INDEX sch_ref_ndx(SCH_REF_INFO_C ri);
SCH_TBL_INFO sch_ref_table(SCH_REF_INFO_C ri);
ZEL_TBL_INDEX sch_ref_tbl_ndx(SCH_REF_INFO_C ri);
SCH_INFO sch_ref_schema(SCH_REF_INFO_C ri);
/* The referenced table, its index, this reference's slot in its owners. */
SCH_TBL_INFO sch_ref_owner(SCH_REF_INFO_C ri);
ZEL_TBL_INDEX sch_ref_owner_tbl_ndx(SCH_REF_INFO_C ri);
ZEL_REF_INDEX sch_ref_owner_ndx(SCH_REF_INFO_C ri);
SCH_KEY_INFO sch_ref_key(SCH_REF_INFO_C ri);
ZEL_KEY_INDEX sch_ref_key_index(SCH_REF_INFO_C ri);
SCH_DRAWER_INFO sch_ref_drawer(SCH_REF_INFO_C ri);
ZEL_DRAWER sch_ref_drawer_ndx(SCH_REF_INFO_C ri);
ZEL_REF_ACTION sch_ref_on_update(SCH_REF_INFO_C ri);
ZEL_REF_ACTION sch_ref_on_delete(SCH_REF_INFO_C ri);
const char *sch_ref_on_update_text(SCH_REF_INFO_C ri);
const char *sch_ref_on_delete_text(SCH_REF_INFO_C ri);
ZEL_COL_INDEX sch_ref_num_cols(SCH_REF_INFO_C ri);
SCH_COL_INFO sch_ref_col(SCH_REF_INFO_C ri, ZEL_COL_INDEX ndx);
ZEL_COLUMN_VALUE *sch_ref_col_vals(SCH_REF_INFO_C ri);
ZEL_COL_INDEX sch_ref_num_sort_cols(SCH_REF_INFO_C ri);
SCH_SORT_INFO sch_ref_sort(SCH_REF_INFO ri, ZEL_COL_INDEX ndx);
SCH_COL_INFO sch_ref_sort_col(SCH_REF_INFO_C ri, ZEL_COL_INDEX ndx);
uint32_t sch_ref_sort_byte_len(SCH_REF_INFO_C ri);
ZEL_BOOL_T sch_ref_requires_write_for_update(SCH_REF_INFO_C ri);
/* The name equals "<table>_<first foreign column>", ignoring case. */
ZEL_BOOL_T sch_ref_name_default(SCH_REF_INFO_C ri);
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_on_update(SCH_REF_INFO ri, ZEL_REF_ACTION val);
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_on_delete(SCH_REF_INFO ri, ZEL_REF_ACTION val);
SCH_COL_INFO sch_iterate_ref_cols(SCH_REF_INFO_C ri, SCH_COL_INFO_C prev, ZEL_DIRECTION dir);
SCH_SORT_INFO sch_iterate_sort_cols(SCH_REF_INFO ri, SCH_SORT_INFO_C prev, ZEL_DIRECTION dir);

ZEL_COL_INDEX sch_sort_index(SCH_SORT_INFO_C si);
SCH_REF_INFO sch_sort_ref(SCH_SORT_INFO_C si);
ZEL_REF_INDEX sch_sort_ref_index(SCH_SORT_INFO_C si);
ZEL_TBL_INDEX sch_sort_table_index(SCH_SORT_INFO_C si);
SCH_COL_INFO sch_sort_col(SCH_SORT_INFO_C si);
ZEL_COL_INDEX sch_sort_col_index(SCH_SORT_INFO_C si);
ZEL_DIRECTION sch_sort_dir(SCH_SORT_INFO_C si);
const char *sch_sort_dir_text(SCH_SORT_INFO_C si);
uint32_t sch_sort_offset(SCH_SORT_INFO_C si);
ZEL_HAS_VALUE_OFFSET sch_sort_has_value_offset(SCH_SORT_INFO_C si);

/* ---- Drawers. */
ZEL_DRAWER sch_drawer_id(SCH_DRAWER_INFO_C di);
ZEL_DRAWER sch_drawer_tbl_ndx(SCH_DRAWER_INFO_C di);
ZEL_DRAWER_TYPE sch_drawer_type(SCH_DRAWER_INFO_C di);
const char *sch_drawer_type_text(SCH_DRAWER_INFO_C di);
ZEL_BOOL_T sch_drawer_compact(SCH_DRAWER_INFO_C di);
ZEL_TBL_INDEX sch_drawer_src_table_id(SCH_DRAWER_INFO_C di);
ZEL_INDEX sch_drawer_src_ndx(SCH_DRAWER_INFO_C di);
/* The item served, null when the drawer is of another type. */
SCH_TBL_INFO sch_drawer_table(SCH_DRAWER_INFO_C di);
SCH_KEY_INFO sch_drawer_key(SCH_DRAWER_INFO_C di);
SCH_REF_INFO sch_drawer_ref(SCH_DRAWER_INFO_C di);
SCH_COL_INFO sch_drawer_blob_col(SCH_DRAWER_INFO_C di);
ZEL_NODISCARD ZEL_RETCODE sch_drawer_set_type(SCH_DRAWER_INFO di, ZEL_DRAWER_TYPE val);
ZEL_NODISCARD ZEL_RETCODE sch_drawer_set_source_table(SCH_DRAWER_INFO di, ZEL_TBL_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_drawer_set_source_item(SCH_DRAWER_INFO di, ZEL_INDEX val);

/* ---- Triggers. */
const char *sch_trig_name(SCH_TRIG_INFO_C trgi);
uint16_t sch_trig_sqltrig(SCH_TRIG_INFO_C trgi);
uint64_t sch_trig_crtime(SCH_TRIG_INFO_C trgi);
ZEL_TRIG_TIMING sch_trig_timing(SCH_TRIG_INFO_C trgi);
ZEL_TRIG_EVENT sch_trig_event(SCH_TRIG_INFO_C trgi);
ZEL_COL_INDEX sch_trig_num_updcols(SCH_TRIG_INFO_C trgi);
/* Column index `ndx` of the update list, 65535 past its end. */
ZEL_COL_INDEX sch_trig_updcol(SCH_TRIG_INFO_C trgi, ZEL_COL_INDEX ndx);
ZEL_TRC_INDEX sch_trig_num_colrefs(SCH_TRIG_INFO_C trgi);
SCH_TRIG_COL_INFO sch_trig_colref(SCH_TRIG_INFO trgi, ZEL_TRC_INDEX ndx);
ZEL_NODISCARD ZEL_RETCODE sch_trig_set_timing(SCH_TRIG_INFO trgi, ZEL_TRIG_TIMING val);
ZEL_NODISCARD ZEL_RETCODE sch_trig_set_event(SCH_TRIG_INFO trgi, ZEL_TRIG_EVENT val);
ZEL_NODISCARD ZEL_RETCODE sch_trig_set_num_updcols(SCH_TRIG_INFO trgi, ZEL_COL_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_trig_set_num_colrefs(SCH_TRIG_INFO trgi, ZEL_TRC_INDEX val);
/* Next column reference with `ref`; ZEL_TRIG_OLDNEW accepts all. */
SCH_TRIG_COL_INFO sch_iterate_trig_cols(SCH_TRIG_INFO trgi, SCH_TRIG_COL_INFO_C prev,
                                        ZEL_TRIG_COL_REF ref);

ZEL_COL_INDEX sch_trigcol_colid(SCH_TRIG_COL_INFO_C tci);
uint16_t sch_trigcol_varno(SCH_TRIG_COL_INFO_C tci);
ZEL_TRIG_COL_REF sch_trigcol_ref(SCH_TRIG_COL_INFO_C tci);
ZEL_VALUE *sch_trigcol_val(SCH_TRIG_COL_INFO_C tci);
ZEL_NODISCARD ZEL_RETCODE sch_trigcol_set_ndx(SCH_TRIG_COL_INFO tci, ZEL_TRC_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_trigcol_set_colid(SCH_TRIG_COL_INFO tci, ZEL_COL_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_trigcol_set_varno(SCH_TRIG_COL_INFO tci, uint16_t val);
ZEL_NODISCARD ZEL_RETCODE sch_trigcol_set_ref(SCH_TRIG_COL_INFO tci, ZEL_TRIG_COL_REF val);
ZEL_NODISCARD ZEL_RETCODE sch_trigcol_set_val(SCH_TRIG_COL_INFO tci, ZEL_VALUE *val);
/* A cleared value from `stackTag` into val (freed with the stack tag). */
ZEL_NODISCARD ZEL_RETCODE sch_trigcol_alloc_val(SCH_TRIG_COL_INFO tci, B_TAG_STACK stackTag);

/* ---- Comparing two catalogues: eUNIONCATMISMATCH at the first
 * difference. A text present only in the second catalogue is no difference;
 * one present only in the first is. */
ZEL_NODISCARD ZEL_RETCODE sch_col_union_compatible(SCH_COL_INFO_C c1, SCH_COL_INFO_C c2);
ZEL_NODISCARD ZEL_RETCODE sch_union_compatible(SCH_INFO_C s1, SCH_INFO_C s2);

/* ---- For the row formats. */

/* The table's live keys of method AVL, by avl_ndx; dropped ones are skipped. */
SCH_KEY_INFO sch_iterate_avls(SCH_TBL_INFO_C ti, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir);

ZEL_EXTERN_C_END

#endif /* SCHEMA_H */
