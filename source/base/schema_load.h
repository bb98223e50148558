/*
 * schema_load.h - a database's catalogue from its JSON text: the loader walks
 * the text with the pull JSON reader and builds the catalogue through the
 * sch_ setters as it reads, key by key, in the order the text gives; what
 * points forward (reference targets, a column's key and reference) is
 * remembered and linked once all tables exist. Also the words of the drawer
 * types and item formats.
 *
 * Codes of the loads: eSYNTAX for a text that is no JSON object at its very
 * start; eBADCAT for nearly every defect inside it (the walk folds every
 * code into it, allocation failures included), except eNOTIMPLEMENTED (a
 * default of a type that has no parser) and eLOCALEMISMATCH, passed through;
 * eRANGE and eBADCAT from the final linking (a column's "refid", "r_tabid",
 * "r_colid" or "keyid" past its bound gives eRANGE); eINVNULLARG; allocation
 * codes of the setup (the catalogue record, the stack tag, the reader). On
 * success *psch is a finished catalogue from `subTag`, which the caller
 * destroys with sch_destroy; on failure nothing is held and *psch is
 * untouched. A load uses only its own state and tags: loads may run on
 * several threads at once, each with its own sub tag, on one master tag.
 */
#ifndef SCHEMA_LOAD_H
#define SCHEMA_LOAD_H

#include "file_types.h"
#include "schema_load_types.h"

ZEL_EXTERN_C_BEGIN

/* Loads the NUL-terminated text `buffer` (the input's length counts the
 * terminator). `unicode_enabled` false narrows "wchar" and "wvarchar" to
 * their UTF-8 forms. Token strings come from a stack tag on `masterTag`. */
ZEL_NODISCARD ZEL_RETCODE sch_read_database_schema_buffer(SCH_INFO *psch, const char *buffer,
                                                          ZEL_BOOL_T unicode_enabled,
                                                          B_TAG_SUB subTag, B_TAG_MASTER masterTag);
/* Loads the rest of the open file from its position; a file already in error
 * returns its code. The file's position moves past the part read. */
ZEL_NODISCARD ZEL_RETCODE sch_read_database_schema_file(SCH_INFO *psch, B_FILE_T *pFile,
                                                        ZEL_BOOL_T unicode_enabled,
                                                        B_TAG_SUB subTag, B_TAG_MASTER masterTag);
/* The common part over any input: `pschload` has unicode_enabled and subTag
 * set by the caller; the loader clears and uses the rest. */
ZEL_NODISCARD ZEL_RETCODE sch_read_database_schema(SCH_INFO *psch, SCHLOAD *pschload,
                                                   B_INPUT_T *obj, B_TAG_MASTER masterTag);

/* The catalogue's word of a drawer type ("table", "btree", ...) or an item
 * format ("compact", "expanded"); null when unknown. */
const char *sch_get_drawer_type_string(ZEL_DRAWER_TYPE type);
const char *sch_get_item_format_string(ZEL_ITEM_FORMAT format);

ZEL_EXTERN_C_END

#endif /* SCHEMA_LOAD_H */
