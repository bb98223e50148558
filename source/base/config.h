/*
 * config.h - the records that hold options, by scope: a configuration holds
 * the typed values in force (defaults included), settings hold as text only
 * what a user set (null: unset), so that they can be copied and applied to a
 * new handle. Here: the initialisers, the setters of every option, and copy,
 * clean and free. Key/value processing is in config_process.h, the text
 * output in config_output.h.
 *
 * Setters, b_configSet<Option>(config, value): check the value by the
 * option's domain and store it; a null `config` only checks. On failure the
 * field is unchanged. The codes: eINVOPTIONVALUE for a number or word outside
 * the domain, unless a group below names another. b_configSet<Option>FromString
 * (config, text) reads the text first: booleans by the key/value words ("yes",
 * "off", ...), words by the option's word table, unsigned numbers by
 * psp_stratoui64 and signed ones by psp_stratoi64 (eINVLITERAL; eRANGE beyond
 * the field's integer type), no multiplier suffix; eINVNULLARG for a null
 * text where null is no word.
 *
 * Ownership: texts held by a record come from the sub tag the caller passes
 * to every function that stores, copies or frees them; it must be the same
 * tag for one record throughout.
 */
#ifndef CONFIG_H
#define CONFIG_H

#include "options_types.h"
#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* ---- Initialisers.
 *
 * The defaults, then each non-null setting through its ...FromString setter
 * (texts copied first where the setter takes ownership); the first failure
 * ends it with that code, the fields before it set, the configuration's
 * texts owned (clean it). eINVNULLARG. */

/* SQL: autocommit, date, time, the three cache sizes, slots, wild characters,
 * sort cost, threshold, debug, transaction default, open mode, reserve bytes,
 * the three booleans, isolation, rounding, and last snapshot mode. `settings`
 * must not be null. debugOptPlan, debugOptTables and debugProc are left as
 * they were. */
ZEL_NODISCARD ZEL_RETCODE b_configInitializeSQL(ZEL_SQL_OPTIONS *config,
                                                const ZEL_SQL_SETTINGS *settings, B_TAG_SUB subTag);
/* A database handle, the settings (may be null) in the order of the record.
 * Kept: the bytes_per_utf8_char setting goes to b_configSetObjCompressMethod,
 * so it must be a compression word and changes the compression method. */
ZEL_NODISCARD ZEL_RETCODE b_optionInitializeDbHandle(ZEL_DB_CONFIGURATION *config,
                                                     const ZEL_DB_SETTINGS *settings,
                                                     B_TAG_SUB subTag);
/* The defaults alone. */
ZEL_NODISCARD ZEL_RETCODE b_optionInitializeDbGSV(ZEL_DB_GSV_CONFIGURATION *config);
ZEL_NODISCARD ZEL_RETCODE b_optionInitializeGSV(ZEL_GSV_CONFIGURATION *config);

/* ---- SQL options. */

/* Booleans, stored as given. */
ZEL_NODISCARD ZEL_RETCODE b_configSetAutocommit(ZEL_SQL_OPTIONS *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetAutocommitFromString(ZEL_SQL_OPTIONS *config,
                                                          const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetGenProcCFile(ZEL_SQL_OPTIONS *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetGenProcCFileFromString(ZEL_SQL_OPTIONS *config,
                                                            const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetOptimizeParameters(ZEL_SQL_OPTIONS *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetOptimizeParametersFromString(ZEL_SQL_OPTIONS *config,
                                                                  const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetIgnoreImpError(ZEL_SQL_OPTIONS *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetIgnoreImpErrorFromString(ZEL_SQL_OPTIONS *config,
                                                              const char *text);
/* Automatic snapshots (useSnapshot): "manual" or "auto", else
 * eBADSNAPSHOTMODE. */
ZEL_NODISCARD ZEL_RETCODE b_configSetSnapshotMode(ZEL_SQL_OPTIONS *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetSnapshotModeFromString(ZEL_SQL_OPTIONS *config,
                                                            const char *text);
/* The date format and its separator ('-', '/' or '.'): eINVDATEFMT,
 * eINVDATESEP; the text is a format such as "YYYY/MM/DD". */
ZEL_NODISCARD ZEL_RETCODE b_configSetDateFormat(ZEL_SQL_OPTIONS *config, ZEL_DATE_FORMAT format,
                                                char sep);
ZEL_NODISCARD ZEL_RETCODE b_configSetDateFormatFromString(ZEL_SQL_OPTIONS *config,
                                                          const char *text);
/* Formats 1 to 7, by name "HH" to "HH:MM:SS.FFFF": eINVTIMEFMT. */
ZEL_NODISCARD ZEL_RETCODE b_configSetTimeFormat(ZEL_SQL_OPTIONS *config, ZEL_TIME_FORMAT format);
ZEL_NODISCARD ZEL_RETCODE b_configSetTimeFormatFromString(ZEL_SQL_OPTIONS *config,
                                                          const char *text);
/* '*' or '%' (eBADWILDALL); '.', '_' or '?' (eBADWILDONE). The text is the
 * one character. */
ZEL_NODISCARD ZEL_RETCODE b_configSetWildAll(ZEL_SQL_OPTIONS *config, char value);
ZEL_NODISCARD ZEL_RETCODE b_configSetWildAllFromString(ZEL_SQL_OPTIONS *config, const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetWildOne(ZEL_SQL_OPTIONS *config, char value);
ZEL_NODISCARD ZEL_RETCODE b_configSetWildOneFromString(ZEL_SQL_OPTIONS *config, const char *text);
/* Any size. */
ZEL_NODISCARD ZEL_RETCODE b_configSetReserveBytes(ZEL_SQL_OPTIONS *config, size_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetReserveBytesFromString(ZEL_SQL_OPTIONS *config,
                                                            const char *text);
/* At least 100, else eSQL_CACHESIZE. */
ZEL_NODISCARD ZEL_RETCODE b_configSetDistinctCacheSize(ZEL_SQL_OPTIONS *config, uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetDistinctCacheSizeFromString(ZEL_SQL_OPTIONS *config,
                                                                 const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetGroupByCacheSize(ZEL_SQL_OPTIONS *config, uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetGroupByCacheSizeFromString(ZEL_SQL_OPTIONS *config,
                                                                const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetOrderByCacheSize(ZEL_SQL_OPTIONS *config, uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetOrderByCacheSizeFromString(ZEL_SQL_OPTIONS *config,
                                                                const char *text);
/* 0 to 1, else eSQL_SORTCOST. The text is read by psp_stratof: kept, a result
 * of 0 from a non-empty text (even "0") is eINVSTRING, while "" stores 0. */
ZEL_NODISCARD ZEL_RETCODE b_configSetSortCost(ZEL_SQL_OPTIONS *config, double value);
ZEL_NODISCARD ZEL_RETCODE b_configSetSortCostFromString(ZEL_SQL_OPTIONS *config, const char *text);
/* 5 to 1023. */
ZEL_NODISCARD ZEL_RETCODE b_configSetSlotsPerCacheNode(ZEL_SQL_OPTIONS *config, uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetSlotsPerCacheNodeFromString(ZEL_SQL_OPTIONS *config,
                                                                 const char *text);
/* Any number. */
ZEL_NODISCARD ZEL_RETCODE b_configSetDebugMode(ZEL_SQL_OPTIONS *config, int32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetDebugModeFromString(ZEL_SQL_OPTIONS *config, const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetOptThreshold(ZEL_SQL_OPTIONS *config, int32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetOptThresholdFromString(ZEL_SQL_OPTIONS *config,
                                                            const char *text);
/* Words: "UPDATE", "READ", "SNAPSHOT"; "SHARED" (or "READWRITE"), "EXCLUSIVE",
 * "READONLY"; "SERIALIZABLE", "READ_COMMITTED", "READ_UNCOMMITTED" (the
 * value setter also takes transLevelRepeatableRead and transLevelSnapshot,
 * which are written but not read); the rounding modes by name. */
ZEL_NODISCARD ZEL_RETCODE b_configSetTransDefault(ZEL_SQL_OPTIONS *config, ZEL_TRANS_TYPE value);
ZEL_NODISCARD ZEL_RETCODE b_configSetTransDefaultFromString(ZEL_SQL_OPTIONS *config,
                                                            const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetDefaultOpenMode(ZEL_SQL_OPTIONS *config, ZEL_OPEN_MODE value);
ZEL_NODISCARD ZEL_RETCODE b_configSetDefaultOpenModeFromString(ZEL_SQL_OPTIONS *config,
                                                               const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetTransIsoLevel(ZEL_SQL_OPTIONS *config, ZSQL_TRANS_LEVEL value);
ZEL_NODISCARD ZEL_RETCODE b_configSetTransIsoLevelFromString(ZEL_SQL_OPTIONS *config,
                                                             const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetRoundingMode(ZEL_SQL_OPTIONS *config,
                                                  ZEL_BCD_ROUNDING_MODE value);
ZEL_NODISCARD ZEL_RETCODE b_configSetRoundingModeFromString(ZEL_SQL_OPTIONS *config,
                                                            const char *text);

/* ---- Database handle options. */

/* Minutes, -840 to 840, else eRANGE. Kept: the text form gives eRANGE only
 * beyond 16 bits and ignores (sOKAY, nothing stored) a 16-bit value outside
 * -840 to 840. */
ZEL_NODISCARD ZEL_RETCODE b_configSetTimeZone(ZEL_DB_CONFIGURATION *config, int32_t minutes);
ZEL_NODISCARD ZEL_RETCODE b_configSetTimeZoneFromString(ZEL_DB_CONFIGURATION *config,
                                                        const char *text);
/* True is eNOTIMPLEMENTED. */
ZEL_NODISCARD ZEL_RETCODE b_configSetUnicodeEnabled(ZEL_DB_CONFIGURATION *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetUnicodeEnabledFromString(ZEL_DB_CONFIGURATION *config,
                                                              const char *text);
/* At least 100. */
ZEL_NODISCARD ZEL_RETCODE b_configSetCacheSize(ZEL_DB_CONFIGURATION *config, uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetCacheSizeFromString(ZEL_DB_CONFIGURATION *config,
                                                         const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetTxTest(ZEL_DB_CONFIGURATION *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetTxTestFromString(ZEL_DB_CONFIGURATION *config,
                                                      const char *text);
/* Kept: the words are "value" and "compact"; "buffer", the default, is
 * refused by name and taken only as a value. */
ZEL_NODISCARD ZEL_RETCODE b_configSetRowFormat(ZEL_DB_CONFIGURATION *config, ZEL_ROW_FORMAT value);
ZEL_NODISCARD ZEL_RETCODE b_configSetRowFormatFromString(ZEL_DB_CONFIGURATION *config,
                                                         const char *text);
/* "compact" or "expanded"; "NONE" or "LZMA". */
ZEL_NODISCARD ZEL_RETCODE b_configSetItemFormat(ZEL_DB_CONFIGURATION *config, const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetObjCompressMethod(ZEL_DB_CONFIGURATION *config,
                                                       const char *text);
/* At least 160. */
ZEL_NODISCARD ZEL_RETCODE b_configSetObjCompressMinSize(ZEL_DB_CONFIGURATION *config,
                                                        uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetObjCompressMinSizeFromString(ZEL_DB_CONFIGURATION *config,
                                                                  const char *text);
/* 1 to 4; no text form. */
ZEL_NODISCARD ZEL_RETCODE b_configSetBytesPerUTF8Char(ZEL_DB_CONFIGURATION *config, uint32_t value);
/* Take ownership of the text (null clears) and free the former one; never
 * fail. With a null config nothing is taken. */
ZEL_NODISCARD ZEL_RETCODE b_configSetLocale(ZEL_DB_CONFIGURATION *config, char *locale,
                                            B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_configSetDbUserId(ZEL_DB_CONFIGURATION *config, char *db_user_id,
                                              B_TAG_SUB subTag);
/* As the two above once the text passes: at most 4095 bytes (eSTRTOOLONG),
 * every '%' followed by one of A C D E F I L N S T t (eINVSTRING). On failure
 * the text stays the caller's. */
ZEL_NODISCARD ZEL_RETCODE b_configSetErrorFormat(ZEL_DB_CONFIGURATION *config, char *error_format,
                                                 B_TAG_SUB subTag);
/* Null or "" clears. Otherwise the absolute form of the path (b_fullpath;
 * eNOMEMORY when it cannot be made) must be a directory (psp_fileIsDir's
 * code), and the configuration keeps that absolute form on `subTag`. */
ZEL_NODISCARD ZEL_RETCODE b_configSetProcsDir(ZEL_DB_CONFIGURATION *config, const char *procs_dir,
                                              B_TAG_SUB subTag);

/* ---- Settings of a database handle (as the database in the server's
 * below): the value is checked as the configuration's setter checks it and
 * stored as text ("%d", "%u", "%lu", "true" or "false") on `subTag`, the
 * former text freed; with `clear` the setting goes back to null. A null
 * `settings` only checks. eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_settingsSetTimeZone(ZEL_DB_SETTINGS *settings, int32_t minutes,
                                                ZEL_BOOL_T clear, B_TAG_SUB subTag);
/* A copy of the text as given, once it names a directory; null or "" clears. */
ZEL_NODISCARD ZEL_RETCODE b_settingsSetProcsDir(ZEL_DB_SETTINGS *settings, const char *procs_dir,
                                                B_TAG_SUB subTag);

/* ---- Options of a database in the file server. */

/* At least -1 (held as 0xFFFFFFFF). */
ZEL_NODISCARD ZEL_RETCODE b_configSetTimeout(ZEL_DB_GSV_CONFIGURATION *config, int32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetDurability(ZEL_DB_GSV_CONFIGURATION *config,
                                                ZEL_TRANS_DURABILITY value);
ZEL_NODISCARD ZEL_RETCODE b_configSetRebuildIdIndex(ZEL_DB_GSV_CONFIGURATION *config,
                                                    ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetDrop(ZEL_DB_GSV_CONFIGURATION *config, ZEL_BOOL_T value);
/* Sizes: any value, but the percentage (0 to 100), the id index cache (at
 * least 10) and the pack file size (10485760 to 2147483648, held as a
 * sixteenth: kept, the output multiplies by 16). */
ZEL_NODISCARD ZEL_RETCODE b_configSetPackWriteChunkSize(ZEL_DB_GSV_CONFIGURATION *config,
                                                        uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetPackFileSize(ZEL_DB_GSV_CONFIGURATION *config, uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetDbSize(ZEL_DB_GSV_CONFIGURATION *config, uint64_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetVacuumPercentage(ZEL_DB_GSV_CONFIGURATION *config,
                                                      uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetVacuumReadChunkSize(ZEL_DB_GSV_CONFIGURATION *config,
                                                         uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetVacuumWriteChunkSize(ZEL_DB_GSV_CONFIGURATION *config,
                                                          uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetIdindexFlushOnClose(ZEL_DB_GSV_CONFIGURATION *config,
                                                         uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetIdindexFlushThreshold(ZEL_DB_GSV_CONFIGURATION *config,
                                                           uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetIdindexCacheSize(ZEL_DB_GSV_CONFIGURATION *config,
                                                      uint32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetStorageMedia(ZEL_DB_GSV_CONFIGURATION *config,
                                                  ZEL_PRIVATE_STORAGE_MEDIA value);

/* Settings; as the settings of a database handle. */
ZEL_NODISCARD ZEL_RETCODE b_settingsSetTimeout(ZEL_DB_GSV_SETTINGS *settings, int32_t value,
                                               ZEL_BOOL_T clear, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetRebuildIdIndex(ZEL_DB_GSV_SETTINGS *settings,
                                                      ZEL_BOOL_T value, ZEL_BOOL_T clear,
                                                      B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetDrop(ZEL_DB_GSV_SETTINGS *settings, ZEL_BOOL_T value,
                                            ZEL_BOOL_T clear, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetPackWriteChunkSize(ZEL_DB_GSV_SETTINGS *settings,
                                                          uint32_t value, ZEL_BOOL_T clear,
                                                          B_TAG_SUB subTag);
/* Kept: refuses only values below 10485760. */
ZEL_NODISCARD ZEL_RETCODE b_settingsSetPackFileSize(ZEL_DB_GSV_SETTINGS *settings, uint32_t value,
                                                    ZEL_BOOL_T clear, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetDbSize(ZEL_DB_GSV_SETTINGS *settings, uint64_t value,
                                              ZEL_BOOL_T clear, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetVacuumPercentage(ZEL_DB_GSV_SETTINGS *settings,
                                                        uint32_t value, ZEL_BOOL_T clear,
                                                        B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetVacuumReadChunkSize(ZEL_DB_GSV_SETTINGS *settings,
                                                           uint32_t value, ZEL_BOOL_T clear,
                                                           B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetVacuumWriteChunkSize(ZEL_DB_GSV_SETTINGS *settings,
                                                            uint32_t value, ZEL_BOOL_T clear,
                                                            B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetIdindexFlushOnClose(ZEL_DB_GSV_SETTINGS *settings,
                                                           uint32_t value, ZEL_BOOL_T clear,
                                                           B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetIdindexFlushThreshold(ZEL_DB_GSV_SETTINGS *settings,
                                                             uint32_t value, ZEL_BOOL_T clear,
                                                             B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetIdindexCacheSize(ZEL_DB_GSV_SETTINGS *settings,
                                                        uint32_t value, ZEL_BOOL_T clear,
                                                        B_TAG_SUB subTag);
/* Words, kept as given once they read ("durable", "consistent", "unsafe"; ""
 * or "ONDISK", "INMEMORY_VOLATILE"...); no `clear`: a null text clears. */
ZEL_NODISCARD ZEL_RETCODE b_settingsSetDurability(ZEL_DB_GSV_SETTINGS *settings, const char *text,
                                                  B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_settingsSetStorageMediaFromString(ZEL_DB_GSV_SETTINGS *settings,
                                                              const char *text, B_TAG_SUB subTag);

/* ---- File server options. */

/* Take ownership, as b_configSetLocale; the text forms store a copy (null
 * clears; eNOMEMORY). */
ZEL_NODISCARD ZEL_RETCODE b_configSetDocroot(ZEL_GSV_CONFIGURATION *config, char *docroot,
                                             B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_configSetDocrootFromString(ZEL_GSV_CONFIGURATION *config,
                                                       const char *text, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_configSetName(ZEL_GSV_CONFIGURATION *config, char *name,
                                          B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_configSetNameFromString(ZEL_GSV_CONFIGURATION *config, const char *text,
                                                    B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_configSetLogFile(ZEL_GSV_CONFIGURATION *config, char *logfile,
                                             B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_configSetLogFileFromString(ZEL_GSV_CONFIGURATION *config,
                                                       const char *text, B_TAG_SUB subTag);
/* Levels and categories of the log: values with a name (B_LOG_LEVEL_NONE
 * included); the texts are read by the log (b_logGetLevel,
 * b_logGetCategoryFromString) and its codes stand: eNOTFOUND, also for a
 * null text. */
ZEL_NODISCARD ZEL_RETCODE b_configSetStderrLogLevel(ZEL_GSV_CONFIGURATION *config,
                                                    B_LOG_LEVEL value);
ZEL_NODISCARD ZEL_RETCODE b_configSetStderrLogLevelFromString(ZEL_GSV_CONFIGURATION *config,
                                                              const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetLogfileLogLevel(ZEL_GSV_CONFIGURATION *config,
                                                     B_LOG_LEVEL value);
ZEL_NODISCARD ZEL_RETCODE b_configSetLogfileLogLevelFromString(ZEL_GSV_CONFIGURATION *config,
                                                               const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetLogCategory(ZEL_GSV_CONFIGURATION *config,
                                                 B_LOG_CATEGORY value);
ZEL_NODISCARD ZEL_RETCODE b_configSetLogCategoryFromString(ZEL_GSV_CONFIGURATION *config,
                                                           const char *text);
/* 0 to 255. */
ZEL_NODISCARD ZEL_RETCODE b_configSetTOS(ZEL_GSV_CONFIGURATION *config, int32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetTOSFromString(ZEL_GSV_CONFIGURATION *config, const char *text);
/* Kept: ka_on gets 1 for any value but 0. The text is a boolean word. */
ZEL_NODISCARD ZEL_RETCODE b_configSetKeepAliveOn(ZEL_GSV_CONFIGURATION *config, int32_t value);
ZEL_NODISCARD ZEL_RETCODE b_configSetKeepAliveOnFromString(ZEL_GSV_CONFIGURATION *config,
                                                           const char *text);
/* Booleans: start_listener, rd_only as given; TCP and shared memory set or
 * clear TX_TCP_INT and TX_SHM_INT of transportBitmap. */
ZEL_NODISCARD ZEL_RETCODE b_configSetListen(ZEL_GSV_CONFIGURATION *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetListenFromString(ZEL_GSV_CONFIGURATION *config,
                                                      const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetReadonly(ZEL_GSV_CONFIGURATION *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetReadonlyFromString(ZEL_GSV_CONFIGURATION *config,
                                                        const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetTCP(ZEL_GSV_CONFIGURATION *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetTCPFromString(ZEL_GSV_CONFIGURATION *config, const char *text);
ZEL_NODISCARD ZEL_RETCODE b_configSetSharedMemory(ZEL_GSV_CONFIGURATION *config, ZEL_BOOL_T value);
ZEL_NODISCARD ZEL_RETCODE b_configSetSharedMemoryFromString(ZEL_GSV_CONFIGURATION *config,
                                                            const char *text);
/* "EMBED" (or "SERVER"), "CLIENT" (or "REMOTE"), "HYBRID", "DEFAULT". */
ZEL_NODISCARD ZEL_RETCODE b_configSetGSVType(ZEL_GSV_CONFIGURATION *config, GSV_TYPE value);
ZEL_NODISCARD ZEL_RETCODE b_configSetGSVTypeFromString(ZEL_GSV_CONFIGURATION *config,
                                                       const char *text);

/* ---- Copy, clean and free.
 *
 * A copy writes every field of `dst` (its former texts are not freed: an
 * empty or cleaned record), with new texts on `subTag`. eNOMEMORY with what
 * was copied freed and `dst` untouched; eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_optionCopyDbHandleConfig(ZEL_DB_CONFIGURATION *dst,
                                                     const ZEL_DB_CONFIGURATION *src,
                                                     B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionCopyDbHandleSettings(ZEL_DB_SETTINGS *dst,
                                                       const ZEL_DB_SETTINGS *src,
                                                       B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionCopyGSVConfig(ZEL_GSV_CONFIGURATION *dst,
                                                const ZEL_GSV_CONFIGURATION *src, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionCopyDbGSVConfig(ZEL_DB_GSV_CONFIGURATION *dst,
                                                  const ZEL_DB_GSV_CONFIGURATION *src,
                                                  B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionCopyDbGSVSettings(ZEL_DB_GSV_SETTINGS *dst,
                                                    const ZEL_DB_GSV_SETTINGS *src,
                                                    B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionCopySQLConfig(ZEL_SQL_OPTIONS *dst, const ZEL_SQL_OPTIONS *src,
                                                B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_optionCopySQLSettings(ZEL_SQL_SETTINGS *dst,
                                                  const ZEL_SQL_SETTINGS *src, B_TAG_SUB subTag);
/* Frees the texts of `dst` first, then copies; on failure `dst` stays
 * cleared (all null). */
ZEL_NODISCARD ZEL_RETCODE b_optionClearAndCopyDbGSVSettings(ZEL_DB_GSV_SETTINGS *dst,
                                                            const ZEL_DB_GSV_SETTINGS *src,
                                                            B_TAG_SUB subTag);
/* Free every text of the record and leave it null; a null record is left
 * alone. */
void b_optionFreeDbHandleSettings(ZEL_DB_SETTINGS *settings, B_TAG_SUB subTag);
void b_optionFreeDbGSVSettings(ZEL_DB_GSV_SETTINGS *settings, B_TAG_SUB subTag);
void b_optionFreeSQLSettings(ZEL_SQL_SETTINGS *settings, B_TAG_SUB subTag);
void b_optionCleanDbHandleConfig(ZEL_DB_CONFIGURATION *config, B_TAG_SUB subTag);
void b_optionCleanGSVConfig(ZEL_GSV_CONFIGURATION *config, B_TAG_SUB subTag);

ZEL_EXTERN_C_END

#endif /* CONFIG_H */
