/*
 * schema_build.h - building a catalogue: create it, size its arrays, create
 * drawers, domains, tables, columns, keys and references at explicit
 * indexes, fill them through checked setters, finalise each item, and drop
 * items or destroy the whole.
 * Codes: eRANGE for an index or number out of bounds, eBADCAT for a breach
 * of the catalogue's rules, eINVNULLARG for a null handle or result pointer,
 * eNOTIMPLEMENTED for a default of a type without a parser; allocation codes
 * pass through. After a failure the catalogue is partly filled and is not
 * repaired: the caller destroys it. Counters without an array are plain
 * stores: creators do not count.
 */
#ifndef SCHEMA_BUILD_H
#define SCHEMA_BUILD_H

#include "schema_types.h"

ZEL_EXTERN_C_BEGIN

/* ---- Catalogue, sizing and counters. */

/* A fresh catalogue on `subTag`: drawers 2 to 4 and table 0 built in,
 * next_drawer 5, one table. eINVNULLARG, allocation codes. */
ZEL_NODISCARD ZEL_RETCODE sch_create(SCH_INFO *psch, B_TAG_SUB subTag);
/* Frees everything the catalogue owns, then the record; null is accepted.
 * Triggers are the caller's. */
void sch_destroy(SCH_INFO sch);

/* Grows the array at *(void **)ptr from curr_items to new_items of
 * item_size, clearing the added part. Equal: nothing; smaller: eRANGE. */
ZEL_NODISCARD ZEL_RETCODE sch_new_size_input(size_t curr_items, size_t new_items, size_t item_size,
                                             void *ptr, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE sch_set_max_drawer(SCH_INFO sch, ZEL_DRAWER val);
ZEL_NODISCARD ZEL_RETCODE sch_set_max_table(SCH_INFO sch, ZEL_TBL_INDEX val);
/* Capacity of domains and next_domain in one. */
ZEL_NODISCARD ZEL_RETCODE sch_set_next_domain(SCH_INFO sch, ZEL_DOM_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_max_cols(SCH_TBL_INFO ti, ZEL_COL_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_max_keys(SCH_TBL_INFO ti, ZEL_KEY_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_max_avls(SCH_TBL_INFO ti, ZEL_KEY_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_max_owners(SCH_TBL_INFO ti, ZEL_REF_INDEX val);
/* Capacity of refs and next_ref in one; a failed allocation deliberately
 * leaves next_ref and still returns sOKAY. */
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_next_ref(SCH_TBL_INFO ti, ZEL_REF_INDEX val);

ZEL_NODISCARD ZEL_RETCODE sch_set_num_drawers(SCH_INFO sch, ZEL_DRAWER val);
/* eRANGE above max_drawer. */
ZEL_NODISCARD ZEL_RETCODE sch_set_next_drawer(SCH_INFO sch, ZEL_DRAWER val);
ZEL_NODISCARD ZEL_RETCODE sch_set_num_domains(SCH_INFO sch, ZEL_DOM_INDEX val);
/* Also discards the by-name array when built. */
ZEL_NODISCARD ZEL_RETCODE sch_set_num_tables(SCH_INFO sch, ZEL_TBL_INDEX val);
/* eRANGE above max_table. */
ZEL_NODISCARD ZEL_RETCODE sch_set_next_table(SCH_INFO sch, ZEL_TBL_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_num_cols(SCH_TBL_INFO ti, ZEL_COL_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_next_col(SCH_TBL_INFO ti, ZEL_COL_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_num_keys(SCH_TBL_INFO ti, ZEL_KEY_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_next_key(SCH_TBL_INFO ti, ZEL_KEY_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_num_refs(SCH_TBL_INFO ti, ZEL_REF_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_num_avls(SCH_TBL_INFO ti, ZEL_KEY_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_next_avl(SCH_TBL_INFO ti, ZEL_KEY_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_num_owners(SCH_TBL_INFO ti, ZEL_REF_INDEX val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_next_owner(SCH_TBL_INFO ti, ZEL_REF_INDEX val);

/* ---- Creators: a cleared record at the index, linked to its owner, into
 * *pX. eINVNULLARG for a null pX, eBADCAT for an occupied slot; eRANGE: */
/* id above next_drawer (or past the array). */
ZEL_NODISCARD ZEL_RETCODE sch_drawer_create(SCH_INFO sch, ZEL_DRAWER drawerId,
                                            SCH_DRAWER_INFO *pdi);
/* Drawer number next_drawer, of `type` for item `src` of table `tbl`, into
 * *pdi: the array grows by 8 when full, and next_drawer and num_drawers count
 * it. eINVNULLARG, eRANGE when the numbers are spent, eNOMEMORY; on failure
 * the counts stand and *pdi is untouched. */
ZEL_NODISCARD ZEL_RETCODE sch_drawer_add(SCH_INFO sch, ZEL_DRAWER_TYPE type, ZEL_TBL_INDEX tbl,
                                         ZEL_INDEX src, SCH_DRAWER_INFO *pdi);
/* id at or above next_domain. */
ZEL_NODISCARD ZEL_RETCODE sch_dom_create(SCH_INFO sch, ZEL_DOM_INDEX id, SCH_DOMAIN_INFO *pmi);
/* id above next_table (or past the array). */
ZEL_NODISCARD ZEL_RETCODE sch_tbl_create(SCH_INFO sch, ZEL_TBL_INDEX id, SCH_TBL_INFO *pti);
/* id at or above max_col. */
ZEL_NODISCARD ZEL_RETCODE sch_col_create(SCH_TBL_INFO ti, ZEL_COL_INDEX id, SCH_COL_INFO *pci);
/* id at or above max_keys. */
ZEL_NODISCARD ZEL_RETCODE sch_key_create(SCH_TBL_INFO ti, ZEL_KEY_INDEX id, SCH_KEY_INFO *pki);
/* id at or above next_ref. */
ZEL_NODISCARD ZEL_RETCODE sch_ref_create(SCH_TBL_INFO ti, ZEL_REF_INDEX id, SCH_REF_INFO *pri);

/* ---- Texts: a copy of `val` replaces *pstr (freed after the copy); null
 * clears. `keepCase` changes nothing. */
ZEL_NODISCARD ZEL_RETCODE sch_string_input(const char *val, char **pstr, ZEL_BOOL_T keepCase,
                                           B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE sch_set_name(SCH_INFO sch, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_name(SCH_TBL_INFO ti, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_check_str(SCH_TBL_INFO ti, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_check_name(SCH_TBL_INFO ti, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_col_set_name(SCH_COL_INFO ci, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_col_set_format(SCH_COL_INFO ci, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_key_set_name(SCH_KEY_INFO ki, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_name(SCH_REF_INFO ri, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_dom_set_name(SCH_DOMAIN_INFO mi, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_dom_set_format(SCH_DOMAIN_INFO mi, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_type_set_check_str(SCH_TYPE_INFO pi, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_type_set_check_name(SCH_TYPE_INFO pi, const char *val);
/* eLOCALEMISMATCH when a different locale is set; else opens the collation
 * (its code on failure) and stores the text. Set it before the types. */
ZEL_NODISCARD ZEL_RETCODE sch_set_locale(SCH_INFO sch, const char *val);

/* ---- Types. */

/* Stores the type and its descriptor; without unicode_enabled the wide
 * character types become their UTF-8 forms. Character types take the
 * catalogue's collation. */
ZEL_NODISCARD ZEL_RETCODE sch_type_set_data_type(SCH_TYPE_INFO pi, ZEL_TYPE type,
                                                 ZEL_BOOL_T unicode_enabled);
/* Boolean, integer and floating types only, else eBADCAT. */
ZEL_NODISCARD ZEL_RETCODE sch_type_set_elems(SCH_TYPE_INFO pi, uint16_t elems);
/* Character or binary length; decimal or time precision (eRANGE above 255);
 * eBADCAT for other types and large objects. */
ZEL_NODISCARD ZEL_RETCODE sch_type_set_length(SCH_TYPE_INFO pi, uint32_t length);
/* Decimal only, else eBADCAT. */
ZEL_NODISCARD ZEL_RETCODE sch_type_set_scale(SCH_TYPE_INFO pi, uint8_t scale);

/* ---- Columns. */

/* eBADCAT when the column has a data type or the domain slot is empty. */
ZEL_NODISCARD ZEL_RETCODE sch_col_set_domain(SCH_COL_INFO ci, ZEL_DOM_INDEX id);
/* NOT NULL, with `val` (optional) as the constraint's name. */
ZEL_NODISCARD ZEL_RETCODE sch_col_set_not_null(SCH_COL_INFO ci, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_col_drop_not_null(SCH_COL_INFO ci);
/* Parses the default text for the column's type (null: a NULL default). */
ZEL_NODISCARD ZEL_RETCODE sch_col_set_default(SCH_COL_INFO ci, const char *val);
ZEL_NODISCARD ZEL_RETCODE sch_dom_set_default(SCH_DOMAIN_INFO mi, const char *val);
/* Index past the array: eRANGE; empty slot: eBADCAT. The key form takes
 * 65535 to clear; the reftab form takes 0 for `_sys_files`. */
ZEL_NODISCARD ZEL_RETCODE sch_col_set_ref(SCH_COL_INFO ci, ZEL_REF_INDEX id);
ZEL_NODISCARD ZEL_RETCODE sch_col_set_key(SCH_COL_INFO ci, ZEL_KEY_INDEX id);
ZEL_NODISCARD ZEL_RETCODE sch_col_set_reftab(SCH_COL_INFO ci, ZEL_TBL_INDEX id);
ZEL_NODISCARD ZEL_RETCODE sch_col_set_refcol(SCH_COL_INFO ci, ZEL_COL_INDEX id);
/* eRANGE at or above next_drawer; eBADCAT unless a blob drawer; links both
 * ways. */
ZEL_NODISCARD ZEL_RETCODE sch_col_set_blob_drawer(SCH_COL_INFO ci, ZEL_DRAWER id);

/* ---- Drawers of tables, keys, references: the drawer must exist, be of
 * the right type and name this item as its source, else eBADCAT. */
/* 0xFFFFFFFE and 0xFFFFFFFF change nothing. */
ZEL_NODISCARD ZEL_RETCODE sch_tbl_set_drawer(SCH_TBL_INFO ti, ZEL_DRAWER drawer);
/* 0xFFFFFFFF clears. */
ZEL_NODISCARD ZEL_RETCODE sch_key_set_drawer(SCH_KEY_INFO ki, ZEL_DRAWER drawer);
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_drawer(SCH_REF_INFO ri, ZEL_DRAWER drawer);

/* ---- Keys. */

/* A second primary key on a table: eBADCAT. */
ZEL_NODISCARD ZEL_RETCODE sch_key_set_type(SCH_KEY_INFO ki, ZEL_KEY_TYPE type);
/* Grows the elements (eRANGE to shrink). */
ZEL_NODISCARD ZEL_RETCODE sch_key_set_num_elems(SCH_KEY_INFO ki, ZEL_COL_INDEX val);
/* eBADCAT without such a column; adds the key to the column's keys. */
ZEL_NODISCARD ZEL_RETCODE sch_elem_set_col(SCH_ELEM_INFO ei, ZEL_COL_INDEX id);

/* ---- References. */

/* The referenced table (0 `_sys_files`), eBADCAT when absent; the
 * reference joins its owners (the built-in table is never written). */
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_reftab(SCH_REF_INFO ri, ZEL_TBL_INDEX id);
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_refkey(SCH_REF_INFO ri, ZEL_KEY_INDEX id);
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_num_cols(SCH_REF_INFO ri, ZEL_COL_INDEX num);
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_num_sort_cols(SCH_REF_INFO ri, ZEL_COL_INDEX num);
/* Foreign column `col` is column `id` of the reference's table. */
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_col(SCH_REF_INFO ri, ZEL_COL_INDEX col, ZEL_COL_INDEX id);
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_sort_col(SCH_REF_INFO ri, ZEL_COL_INDEX col,
                                               ZEL_COL_INDEX id);
ZEL_NODISCARD ZEL_RETCODE sch_ref_set_sort_order(SCH_REF_INFO ri, ZEL_COL_INDEX col,
                                                 ZEL_DIRECTION order);

/* ---- Triggers: records of the caller, from its tag. */
ZEL_NODISCARD ZEL_RETCODE sch_trig_allocate(const char *name, uint16_t sqltrig, uint64_t crtime,
                                            SCH_TRIG_INFO *ptrgi, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE sch_trig_alloc_updcols(SCH_TRIG_INFO trgi, ZEL_COL_INDEX num,
                                                 B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE sch_trig_alloc_colrefs(SCH_TRIG_INFO trgi, ZEL_TRC_INDEX num,
                                                 B_TAG_SUB subTag);
/* eRANGE at or above num_updcols. */
ZEL_NODISCARD ZEL_RETCODE sch_trig_set_updcol(SCH_TRIG_INFO trgi, ZEL_COL_INDEX ndx,
                                              ZEL_COL_INDEX val);
/* Into the table's list by crtime; equal times go behind. */
ZEL_NODISCARD ZEL_RETCODE sch_trig_create(SCH_TBL_INFO ti, SCH_TRIG_INFO trgi);
/* Unlinks the first of that name (case-blind), eNOTFOUND; frees nothing. */
ZEL_NODISCARD ZEL_RETCODE sch_trig_drop(SCH_TBL_INFO ti, const char *name);
/* Frees a trigger taken from `subTag` with its arrays (not its values). */
void sch_trig_free(SCH_TRIG_INFO trgi, B_TAG_SUB subTag);

/* ---- Finalisers. */
ZEL_NODISCARD ZEL_RETCODE sch_col_finalize(SCH_COL_INFO ci);
ZEL_NODISCARD ZEL_RETCODE sch_key_finalize_name(SCH_KEY_INFO ki);
ZEL_NODISCARD ZEL_RETCODE sch_key_finalize(SCH_KEY_INFO ki);
ZEL_NODISCARD ZEL_RETCODE sch_ref_finalize_name(SCH_REF_INFO ri);
ZEL_NODISCARD ZEL_RETCODE sch_ref_finalize(SCH_REF_INFO ri);
ZEL_NODISCARD ZEL_RETCODE sch_ref_finalize_locking(SCH_REF_INFO ri);
/* After all columns, keys and references: offsets, names, drawer list,
 * active columns, row buffer information. */
ZEL_NODISCARD ZEL_RETCODE sch_tbl_finalize(SCH_TBL_INFO ti, ZEL_BOOL_T unicode_enabled);

/* ---- Drops on a live catalogue. */
ZEL_NODISCARD ZEL_RETCODE sch_key_drop_fcn(SCH_KEY_INFO ki);
ZEL_NODISCARD ZEL_RETCODE sch_ref_drop(SCH_TBL_INFO ti, ZEL_REF_INDEX id);
/* freeCol false keeps the record as an unnamed column. */
ZEL_NODISCARD ZEL_RETCODE sch_tbl_col_drop(SCH_COL_INFO ci, ZEL_BOOL_T freeCol);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_drop(SCH_TBL_INFO ti);
ZEL_NODISCARD ZEL_RETCODE sch_tbl_drawers_drop(SCH_TBL_INFO ti);
/* Nothing while a column uses the domain. */
ZEL_NODISCARD ZEL_RETCODE sch_dom_drop(SCH_DOMAIN_INFO mi);

ZEL_EXTERN_C_END

#endif /* SCHEMA_BUILD_H */
