/*
 * config_process.h - one option of a parsed key/value string into a
 * configuration or settings record of its scope. A caller walks the keys of
 * its map, finds each one's keyword (b_optionGetKey) and hands it to the
 * function of each scope in turn: a key of another scope gives eINVOPTION.
 *
 * The value is read with the key/value getter of its type (the multiplier
 * suffixes of numbers, the boolean words), checked by the option's bounds and
 * stored; the check order is parse, range, store. Codes:
 * - sNOTFOUND when `kv` does not hold the key: nothing to do;
 * - a key without a value ("cache_size="): the configuration goes back to the
 *   option's default, the setting to null; kept: an empty "logcategory",
 *   "logerrlevel" or "logfilelevel" reaches the log's parser as null, whose
 *   code (eNOTFOUND) stands;
 * - eVALUEISLIST and eRANGE become eINVOPTIONVALUE ("dateformat" gives
 *   eINVDATEFMT for a list), in the settings form eINVSTRING too; any other
 *   code of the getter or the setter stands (eINVLITERAL for
 *   "cache_size=abc", eSQL_CACHESIZE, eBADWILDALL, eNOTIMPLEMENTED...);
 * - eINVNULLARG, eNOMEMORY.
 * On failure the record is unchanged. A settings function keeps the user's
 * text ("2K", not 2000) and frees the former one. Texts come from `subTag`.
 */
#ifndef CONFIG_PROCESS_H
#define CONFIG_PROCESS_H

#include "keyvalue.h"
#include "options_types.h"

ZEL_EXTERN_C_BEGIN

ZEL_NODISCARD ZEL_RETCODE b_optionProcessGSVConfigKeyValue(ZEL_GSV_CONFIGURATION *config,
                                                           const B_KEYVALUE_T *kv,
                                                           const ZEL_CONFIG_OPT_KEY *key,
                                                           B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionProcessDbHandleConfigKeyValue(ZEL_DB_CONFIGURATION *config,
                                                                const B_KEYVALUE_T *kv,
                                                                const ZEL_CONFIG_OPT_KEY *key,
                                                                B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionProcessDbHandleSettingKeyValue(ZEL_DB_SETTINGS *settings,
                                                                 const B_KEYVALUE_T *kv,
                                                                 const ZEL_CONFIG_OPT_KEY *key,
                                                                 B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionProcessDbGSVConfigKeyValue(ZEL_DB_GSV_CONFIGURATION *config,
                                                             const B_KEYVALUE_T *kv,
                                                             const ZEL_CONFIG_OPT_KEY *key,
                                                             B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionProcessDbGSVSettingKeyValue(ZEL_DB_GSV_SETTINGS *settings,
                                                              const B_KEYVALUE_T *kv,
                                                              const ZEL_CONFIG_OPT_KEY *key,
                                                              B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionProcessSQLConfigKeyValue(ZEL_SQL_OPTIONS *config,
                                                           const B_KEYVALUE_T *kv,
                                                           const ZEL_CONFIG_OPT_KEY *key,
                                                           B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionProcessSQLSettingKeyValue(ZEL_SQL_SETTINGS *settings,
                                                            const B_KEYVALUE_T *kv,
                                                            const ZEL_CONFIG_OPT_KEY *key,
                                                            B_TAG_SUB subTag);

/* One option of the database in the server (and "obj_compress_method") out
 * of `kv`, checked as above, as a new string on `subTag` in *optString:
 * "name=%s" for "obj_compress_method", "durability" and "storage" (the word
 * as given), "name=%u" for the sizes (the option's value, "pack_file_size"
 * included), "name=%lu" for "db_size", "name=%d" for "drop" and
 * "rebuild_idindex" (1 or 0) and "timeout". eINVOPTION for any other key;
 * sNOTFOUND and sKVNOVALUE with no string; the codes above. */
ZEL_NODISCARD ZEL_RETCODE b_optionGetDbGsvConfigOptString(const B_KEYVALUE_T *kv,
                                                          const ZEL_CONFIG_OPT_KEY *key,
                                                          B_TAG_SUB subTag, char **optString);

ZEL_EXTERN_C_END

#endif /* CONFIG_PROCESS_H */
