/*
 * config_output.h - configurations and settings back to text: one option's
 * value, a key/value string of several ("name=value;name2=value2") that the
 * processing reads back, and the one routine that appends to a caller's
 * buffer.
 *
 * The records of the scopes are each optional; an option whose record is
 * not given has no value (sNOTFOUND). The server's configuration is not read
 * here: its options give a null text with sOKAY, but "gsvtype", which comes
 * from the server's handle (a ZEL_GSV). Settings are copied as they stand; a
 * null one has no value. The reserved keywords "btreeuse" and "cursortype"
 * belong to no record: eINVOPTION, and the list of all options passes them
 * over.
 */
#ifndef CONFIG_OUTPUT_H
#define CONFIG_OUTPUT_H

#include "gsv_types.h"
#include "options_types.h"
#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* One option's value as a new string on `subTag` in *strValue, as
 * b_optionBufferIntoString writes it ("true", "20000", "'%'", "YYYY-MM-DD",
 * "DURABLE", "" for a null text); *strValue null with sOKAY for a key of the
 * server but "gsvtype". sNOTFOUND when the record is not given (for
 * "gsvtype": `gsv`); eINVOPTIONVALUE for a stored enumeration without a
 * word; eINVOPTION; eINVNULLARG; eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_optionConfigurationIntoString(
    const ZEL_CONFIG_OPT_KEY *okp, const ZEL_GSV *gsv, const ZEL_DB_CONFIGURATION *dbValues,
    const ZEL_DB_GSV_CONFIGURATION *dbGSVValues, const ZEL_SQL_OPTIONS *sqlValues, B_TAG_SUB subTag,
    char **strValue);
/* A copy of the setting; sNOTFOUND when the record is not given or the
 * setting is null; *strValue null with sOKAY for any key of the server
 * (`gsv` is not read). */
ZEL_NODISCARD ZEL_RETCODE b_optionSettingsIntoString(const ZEL_CONFIG_OPT_KEY *okp,
                                                     const ZEL_GSV *gsv,
                                                     const ZEL_DB_SETTINGS *dbValues,
                                                     const ZEL_DB_GSV_SETTINGS *dbGSVValues,
                                                     const ZEL_SQL_SETTINGS *sqlValues,
                                                     B_TAG_SUB subTag, char **strValue);

/* Appends one item, "optName=str" or, with a null name, "str" alone.
 * With a buffer (`optString` not null, `bytesIn` not 0): the item is the
 * first when the buffer holds "", else it follows a ";"; *bytesOut (may be
 * null) gets the length of the whole text with its terminator, also when it
 * does not fit, which gives sTRUNCATE and leaves the buffer as it was.
 * Without a buffer it only counts: *bytesOut grows by the item and one byte
 * (the terminator of the first, the separator of each later one), so that
 * a caller starting from 0 measures first; eINVNULLARG for a null bytesOut
 * then. A null `str` is eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_optionAppendToString(const char *optName, const char *str,
                                                 char *optString, size_t bytesIn, size_t *bytesOut);

/* The values of several options as one string into the caller's buffer
 * (`optString` of `bytesIn` bytes, or null and 0 to measure), *bytesOut the
 * bytes the whole string needs with its terminator; sTRUNCATE when it does
 * not fit, the buffer holding the items before the first that did not.
 * - `keywords` null: every option in the order of the keyword table, as
 *   "name=value" items. An `optionmask` other than 0 keeps the options of
 *   that scope (ZEL_OPT_SCOPE_SQL...). An option without a value is passed
 *   over; in the settings form an unset one (sNOTFOUND) is written with the
 *   empty value, "name=".
 * - `keywords`: the options named, identifiers separated by blanks or ";"
 *   (eSYNTAX for anything else, eINVOPTION for an unknown name), each
 *   written in its turn, options of another scope than a non-zero mask
 *   skipped. The configuration form with mask 0 writes the values alone,
 *   otherwise "name=value". Any code of a value other than sOKAY, sNOTFOUND
 *   included, ends the walk and is the result.
 * Items are separated by ";" (also after an empty first value). Token texts
 * come from `stackTag` when it is given, else from `subTag`. On failure the
 * buffer holds "" and *bytesOut is untouched. eINVNULLARG; eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_optionGetConfigurationValuesIntoString(
    const char *keywords, uint32_t optionmask, const ZEL_GSV *gsv, const ZEL_SQL_OPTIONS *sqlValues,
    const ZEL_DB_CONFIGURATION *dbValues, const ZEL_DB_GSV_CONFIGURATION *dbGSVValues,
    size_t bytesIn, B_TAG_SUB subTag, B_TAG_STACK stackTag, char *optString, size_t *bytesOut);
ZEL_NODISCARD ZEL_RETCODE b_optionGetSettingsIntoString(
    const char *keywords, uint32_t optionmask, const ZEL_GSV *gsv,
    const ZEL_SQL_SETTINGS *sqlValues, const ZEL_DB_SETTINGS *dbValues,
    const ZEL_DB_GSV_SETTINGS *dbGSVValues, size_t bytesIn, B_TAG_SUB subTag, B_TAG_STACK stackTag,
    char *optString, size_t *bytesOut);

/* One option's value alone, into the buffer as above; a server key without a
 * value gives "". sNOTFOUND when the record is not given. eINVOPTION for an
 * unknown keyword. */
ZEL_NODISCARD ZEL_RETCODE b_optionGetConfigurationValueIntoString(
    const char *keyword, const ZEL_GSV *gsv, const ZEL_SQL_OPTIONS *sqlValues,
    const ZEL_DB_CONFIGURATION *dbValues, const ZEL_DB_GSV_CONFIGURATION *dbGSVValues,
    size_t bytesIn, B_TAG_SUB subTag, char *optString, size_t *bytesOut);
/* An unset setting, or one whose record is not given, gives "". */
ZEL_NODISCARD ZEL_RETCODE b_optionGetSettingIntoString(const char *keyword, const ZEL_GSV *gsv,
                                                       const ZEL_SQL_SETTINGS *sqlValues,
                                                       const ZEL_DB_SETTINGS *dbValues,
                                                       const ZEL_DB_GSV_SETTINGS *dbGSVValues,
                                                       size_t bytesIn, B_TAG_SUB subTag,
                                                       char *optString, size_t *bytesOut);

ZEL_EXTERN_C_END

#endif /* CONFIG_OUTPUT_H */
