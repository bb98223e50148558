/*
 * options.h - the option catalogue: the 62 keywords of the server, database
 * and SQL options in one case-blind namespace, what each option's value is,
 * the word tables of the enumerated options in both directions, and a stored
 * option value as text. The tables are constant; every function may be
 * called from any thread.
 *
 * Codes: eINVOPTION for an unknown keyword (or one a function has no form
 * for); eINVOPTIONVALUE for a word or value outside a domain (the rounding
 * mode's writer answers eINVOPTION); eBADSNAPSHOTMODE for the snapshot words;
 * eINVNULLARG; eNOMEMORY. Outs are written only on success.
 */
#ifndef OPTIONS_H
#define OPTIONS_H

#include "options_types.h"
#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* The keyword table in its order (list-all output follows it) and, in
 * *numKeys when that is not null, its 62 rows. */
const ZEL_CONFIG_OPT_KEY *b_optionGetConfigTable(uint32_t *numKeys);
/* The row of `keyword`, in any letter case, in a table sorted as the
 * keyword table is: a binary search, then a scan of every row (the keyword
 * table has "gsvtype" out of order). eINVOPTION when absent; `okpp` may be
 * null. eINVNULLARG for a null keyword or table. */
ZEL_NODISCARD ZEL_RETCODE b_optionGetKey(const char *keyword, const ZEL_CONFIG_OPT_KEY *opt_keys,
                                         uint32_t numKeys, const ZEL_CONFIG_OPT_KEY **okpp);
/* What the option `value` takes: kind, word table, default and bounds; null
 * for a value that is no keyword's. */
const ZEL_OPT_INFO *b_optionGetInfo(ZEL_OPTS value);
/* The rows of a word table, their count in *count and the domain's name in
 * *name (each may be null); null for ZEL_OPT_WORDS_NONE and beyond the last. */
const ZEL_OPT_WORD *b_optionGetWords(ZEL_OPT_WORDS words, uint32_t *count, const char **name);

/* A word to its value, compared without regard to case; the out may be null
 * (a check), except for the server type. */
/* "manual" false, "auto" true; eBADSNAPSHOTMODE for any other word. */
ZEL_NODISCARD ZEL_RETCODE b_optionGetSnapshotModeFromString(const char *str, ZEL_BOOL_T *pval);
/* "UPDATE", "READ", "SNAPSHOT"; eINVOPTIONVALUE. */
ZEL_NODISCARD ZEL_RETCODE b_optionGetTransTypeFromString(const char *str, ZEL_TRANS_TYPE *pval);
/* "EMBED" or "SERVER", "CLIENT" or "REMOTE", "HYBRID", "DEFAULT";
 * eINVOPTIONVALUE; a null out is eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_optionGetGSVTypeFromString(const char *str, GSV_TYPE *pval);
/* Null or "" and "SERIALIZABLE", "READ_COMMITTED", "READ_UNCOMMITTED";
 * eINVOPTIONVALUE (also for the written-only "REPEATABLE_READ", "SNAPSHOT"). */
ZEL_NODISCARD ZEL_RETCODE b_optionGetTransIsoLevelFromString(const char *str,
                                                             ZSQL_TRANS_LEVEL *pval);
/* Null or "" (0) and the mode names ("NEAREST_TIES_TO_EVEN" ...);
 * eINVOPTIONVALUE. */
ZEL_NODISCARD ZEL_RETCODE b_optionGetRoundingModeFromString(const char *str,
                                                            ZEL_BCD_ROUNDING_MODE *pval);
/* "" (unspecified), "ONDISK", "INMEMORY_VOLATILE", "INMEMORY_LOAD",
 * "INMEMORY_KEEP", "INMEMORY_PERSIST"; eINVOPTIONVALUE. */
ZEL_NODISCARD ZEL_RETCODE b_storageMediaFromString(const char *str,
                                                   ZEL_PRIVATE_STORAGE_MEDIA *pval);
/* "NONE", "LZMA"; eINVOPTIONVALUE. */
ZEL_NODISCARD ZEL_RETCODE b_getObjCompressMethodFromString(const char *str,
                                                           ZEL_COMPRESS_METHOD *pval);

/* A value to a new string from `subTag`: the rounding mode's name
 * (eINVOPTION outside the table), the storage medium's word
 * (eINVOPTIONVALUE outside it). */
ZEL_NODISCARD ZEL_RETCODE b_optionRoundingModeToString(ZEL_BCD_ROUNDING_MODE mode, char **ppszStr,
                                                       B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionStorageMediaToString(ZEL_PRIVATE_STORAGE_MEDIA media,
                                                       char **strValue, B_TAG_SUB subTag);
/* "NONE" or "LZMA", a constant; any other value is written "NONE". */
const char *b_optionGetObjCompressMethodString(ZEL_COMPRESS_METHOD method);

/* The stored value of option `keyword` at `value` (a field of the option's
 * record, of that field's type) as a new string from `subTag`: "true" or
 * "false", a copy of a text ("" for null), integers in decimal ("timeout"
 * 0xFFFFFFFF as -1, "pack_file_size" times 16), "tcp" and "sharedmem" as
 * the TCP and shared memory bits of the transport bitmap, the sort cost by
 * "%G", a wild character as "'%c'", the date format (with the separator that
 * follows date_format in ZEL_SQL_OPTIONS) and the time format as their
 * format texts, and an enumeration as its written word (none:
 * eINVOPTIONVALUE, the rounding mode eINVOPTION). eINVOPTION for a reserved
 * or unknown keyword; the format texts' codes; eNOMEMORY; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_optionBufferIntoString(const char *keyword, const void *value,
                                                   char **strValue, B_TAG_SUB subTag);

ZEL_EXTERN_C_END

#endif /* OPTIONS_H */
