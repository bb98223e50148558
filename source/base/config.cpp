/*
 * config.cpp - the records of the options: defaults, a setter for every
 * option, copy, clean and free, and the table of the option keywords that the
 * key/value processing and the output work from.
 *
 * The one idea: a setter is one of a few shapes (a boolean, a number within
 * bounds, a word of a table, a text the record takes), each written once as a
 * macro with its text form and, where one exists, its settings form, so that
 * about 120 functions share a handful of checks. The settings setters check a
 * value through the configuration setter with a null record, which checks
 * only, and keep the text.
 *
 * Kept, as callers depend on them: the database initialiser hands the
 * bytes_per_utf8_char setting to the compression method's setter;
 * pack_file_size is held as a sixteenth; the time zone's text form ignores a
 * 16-bit value outside -840 to 840; the sort cost's text form refuses a
 * result of 0; ka_on is 1 for any value but 0; the SQL and database caches
 * answer different codes; "buffer" is no row format word.
 */
#include "config.h"

#include <charconv>
#include <cinttypes>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>
#include <type_traits>
#include <utility>

#include "config_internal.h"
#include "datetime.h"
#include "keyvalue.h"
#include "log.h"
#include "options.h"
#include "options_internal.h"
#include "path.h"
#include "psp.h"
#include "tag_sub.h"

using namespace zel::detail;

namespace {

// ---- Defaults.

constexpr ZEL_SQL_OPTIONS kSqlDefaults = [] {
    ZEL_SQL_OPTIONS c{};
    c.autocommit = ZEL_FALSE;
    c.useSnapshot = ZEL_FALSE;
    c.date_format = ZEL_YYYYMMDD;
    c.date_sep = '-';
    c.time_format = ZEL_HHMMSSFFFF;
    c.wildAll = '%';
    c.wildOne = '_';
    c.reserveBytes = 0;
    c.distinctCacheSize = 10000;
    c.groupByCacheSize = 10000;
    c.orderByCacheSize = 10000;
    c.optSortFactor = 6.2e-5;
    c.cacheSlots = 64;
    c.debugOpt = 0;
    c.optThreshold = 0;
    c.transDefault = ZEL_TRANS_ROOT_UPDATE;
    c.defaultOpenMode = ZEL_OPEN_SHARED;
    c.ignoreImpError = ZEL_FALSE;
    c.genProcCFile = ZEL_FALSE;
    c.optParams = ZEL_TRUE;
    c.transIsoLevel = transLevelSerializable;
    c.roundingMode = ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN;
    return c;
}();

constexpr ZEL_DB_CONFIGURATION kDbDefaults = [] {
    ZEL_DB_CONFIGURATION c{};
    c.row_format = ZEL_ROW_FORMAT_BUFFER;
    c.item_format = ZEL_ITEM_FORMAT_COMPACT;
    c.cache_size = 20000;
    c.time_zone = 0;
    c.unicode_enabled = ZEL_FALSE;
    c.tx_test = ZEL_FALSE;
    c.obj_compress_method = ZEL_COMPRESS_LZMA;
    c.obj_compress_min_size = 4096;
    c.bytes_per_utf8_char = 4;
    return c;
}();

constexpr ZEL_DB_GSV_CONFIGURATION kDbGsvDefaults = [] {
    ZEL_DB_GSV_CONFIGURATION c{};
    c.db_size = 21474836480u;
    c.vacuum_percentage = 20;
    c.vacuum_read_chunk_size = 655360;
    c.vacuum_write_chunk_size = 65536;
    c.vacuum_wait = 3600000;
    c.pack_write_chunk_size = 131072;
    c.pack_file_size = 134217728;  // 2147483648 / 16
    c.idindex_flush_threshold_on_close = 163840;
    c.idindex_flush_threshold = 655360;
    c.idindex_cache_size = 65536000;
    c.storage_media = ZEL_PRIVATE_STORE_UNSPECIFIED;
    c.durability = ZEL_TRANS_DURABLE;
    c.rebuild_idindex = ZEL_FALSE;
    c.drop = ZEL_FALSE;
    c.lock_timeout = 10;
    return c;
}();

constexpr ZEL_GSV_CONFIGURATION kGsvDefaults = [] {
    ZEL_GSV_CONFIGURATION c{};
    c.logcategory = B_LOG_CATEGORY_ALL;
    c.logerrlevel = B_LOG_LEVEL_INFO;
    c.logfilelevel = B_LOG_LEVEL_INFO;
    c.transportBitmap = static_cast<TX_CONN_TYPE_INT>(TX_TCP_INT | TX_SHM_INT);
    c.type = GSV_TYPE_DEFAULT;
    return c;
}();

// ---- Reading texts.

ZEL_BOOL_T cfg_bool(int64_t v) {
    return v != 0 ? ZEL_TRUE : ZEL_FALSE;
}

ZEL_RETCODE cfg_readBool(const char *text, ZEL_BOOL_T *v) {
    return b_keyvalueGetBooleanFromString(text, v);
}

// A whole number of type T, strictly, without a multiplier; eRANGE outside T.
template <class T>
ZEL_RETCODE cfg_readNumber(const char *text, T *v) {
    ZEL_RETCODE rc;
    if constexpr (std::is_unsigned_v<T>) {
        uint64_t u = 0;
        ZEL_CHECK(rc = psp_stratoui64(text, &u));
        if (!std::in_range<T>(u)) return eRANGE;
        *v = static_cast<T>(u);
    } else {
        int64_t i = 0;
        ZEL_CHECK(rc = psp_stratoi64(text, &i));
        if (!std::in_range<T>(i)) return eRANGE;
        *v = static_cast<T>(i);
    }
    return sOKAY;
}

// A text of one character.
template <ZEL_RETCODE kBad>
ZEL_RETCODE cfg_readChar(const char *text, char *v) {
    if (text == nullptr) return eINVNULLARG;
    if (text[0] == '\0' || text[1] != '\0') return kBad;
    *v = text[0];
    return sOKAY;
}

template <class T>
bool cfg_within(T v, int64_t lo, uint64_t hi) {
    return std::cmp_less_equal(lo, v) && std::cmp_less_equal(v, hi);
}

// A value of a word table's domain, whether read, written or refused by name.
bool cfg_inDomain(ZEL_OPT_WORDS words, int32_t v) {
    uint32_t n = 0;
    const ZEL_OPT_WORD *rows = b_optionGetWords(words, &n, nullptr);
    for (uint32_t i = 0; i < n; ++i)
        if (rows[i].value == v) return true;
    return false;
}

// ---- Texts of the records.

// Frees the former text unless it is the new one.
void cfg_take(char **field, char *text, B_TAG_SUB subTag) {
    if (*field != nullptr && *field != text) b_tag_subFree(subTag, *field);
    *field = text;
}

// A copy of `text` (null: null) in *field, the former freed; a null field is
// a check only. eNOMEMORY with the field as it was.
ZEL_RETCODE cfg_store(char **field, const char *text, B_TAG_SUB subTag) {
    if (field == nullptr) return sOKAY;
    char *copy = nullptr;
    ZEL_RETCODE rc;
    if (text != nullptr) ZEL_CHECK(rc = b_tag_subCopyString(subTag, text, &copy));
    cfg_take(field, copy, subTag);
    return sOKAY;
}

// A setting's text: "true"/"false", or the number in decimal.
struct CfgNumberText {
    char buf[24];
    template <class T>
    explicit CfgNumberText(T v) {
        if constexpr (std::is_same_v<T, ZEL_BOOL_T>) {
            std::memcpy(buf, v != 0 ? "true" : "false", v != 0 ? 5 : 6);
        } else {
            *std::to_chars(buf, buf + sizeof buf - 1, v).ptr = '\0';
        }
    }
};

// A record whose fields are all texts, as an array of them.
template <class Rec>
constexpr size_t kTexts = sizeof(Rec) / sizeof(char *);

template <class Rec>
char **cfg_text(Rec *rec, size_t i) {
    return reinterpret_cast<char **>(reinterpret_cast<char *>(rec) + i * sizeof(char *));
}
template <class Rec>
const char *cfg_text(const Rec *rec, size_t i) {
    return *reinterpret_cast<char *const *>(reinterpret_cast<const char *>(rec) +
                                            i * sizeof(char *));
}

static_assert(kTexts<ZEL_SQL_SETTINGS> == 24 && sizeof(ZEL_SQL_SETTINGS) == 24 * sizeof(char *));
static_assert(kTexts<ZEL_DB_SETTINGS> == 13 && sizeof(ZEL_DB_SETTINGS) == 13 * sizeof(char *));
static_assert(kTexts<ZEL_DB_GSV_SETTINGS> == 15 &&
              sizeof(ZEL_DB_GSV_SETTINGS) == 15 * sizeof(char *));

// The text fields of the configurations that have any.
constexpr char *ZEL_DB_CONFIGURATION::*kDbConfigTexts[] = {
    &ZEL_DB_CONFIGURATION::locale, &ZEL_DB_CONFIGURATION::db_user_id,
    &ZEL_DB_CONFIGURATION::procs_dir, &ZEL_DB_CONFIGURATION::error_format};
constexpr char *ZEL_GSV_CONFIGURATION::*kGsvConfigTexts[] = {
    &ZEL_GSV_CONFIGURATION::logfile, &ZEL_GSV_CONFIGURATION::name, &ZEL_GSV_CONFIGURATION::docroot};

// `src` into `dst` with new texts: those of an all-text record, or the
// listed fields. eNOMEMORY with the copies freed and dst untouched.
template <class Rec, size_t N>
ZEL_RETCODE cfg_copy(Rec *dst, const Rec *src, B_TAG_SUB subTag, char *Rec::*const (&fields)[N]) {
    if (dst == nullptr || src == nullptr || subTag == nullptr) return eINVNULLARG;
    Rec copy = *src;
    for (size_t i = 0; i < N; ++i) {
        copy.*fields[i] = nullptr;
        const ZEL_RETCODE rc = cfg_store(&(copy.*fields[i]), src->*fields[i], subTag);
        if (rc < 0) {
            for (size_t j = 0; j < i; ++j) b_tag_subFreeCanBeNull(subTag, copy.*fields[j]);
            return rc;
        }
    }
    *dst = copy;
    return sOKAY;
}

template <class Rec>
ZEL_RETCODE cfg_copySettings(Rec *dst, const Rec *src, B_TAG_SUB subTag) {
    if (dst == nullptr || src == nullptr || subTag == nullptr) return eINVNULLARG;
    Rec copy{};
    for (size_t i = 0; i < kTexts<Rec>; ++i) {
        const ZEL_RETCODE rc = cfg_store(cfg_text(&copy, i), cfg_text(src, i), subTag);
        if (rc < 0) {
            for (size_t j = 0; j < i; ++j) b_tag_subFreeCanBeNull(subTag, *cfg_text(&copy, j));
            return rc;
        }
    }
    *dst = copy;
    return sOKAY;
}

template <class Rec>
void cfg_freeSettings(Rec *rec, B_TAG_SUB subTag) {
    if (rec == nullptr) return;
    for (size_t i = 0; i < kTexts<Rec>; ++i) cfg_take(cfg_text(rec, i), nullptr, subTag);
}

template <class Rec, size_t N>
void cfg_clean(Rec *rec, B_TAG_SUB subTag, char *Rec::*const (&fields)[N]) {
    if (rec == nullptr) return;
    for (char *Rec::*f : fields) cfg_take(&(rec->*f), nullptr, subTag);
}

// ---- Checks of the setters written by hand.

// Every '%' followed by one of the codes of an error line.
ZEL_RETCODE cfg_checkErrorFormat(const char *text) {
    if (text == nullptr) return sOKAY;
    constexpr size_t kMax = 4095;
    constexpr const char *kCodes = "ACDEFILNSTt";
    size_t n = 0;
    for (const char *p = text; *p != '\0'; ++p, ++n) {
        if (n == kMax) return eSTRTOOLONG;
        if (*p != '%') continue;
        if (p[1] == '\0' || std::strchr(kCodes, p[1]) == nullptr) return eINVSTRING;
        ++p, ++n;
    }
    return sOKAY;
}

// The absolute form of a directory, in *full from the sub tag. An empty or
// null path is no directory at all: eINVNULLARG, which the setters never let
// through (they clear instead).
ZEL_RETCODE _validateProcsDir(const char *path, B_TAG_SUB subTag, char **full) {
    if (path == nullptr || path[0] == '\0') return eINVNULLARG;
    char *abs = b_fullpath(path, subTag);
    if (abs == nullptr) return eNOMEMORY;
    const ZEL_RETCODE rc = psp_fileIsDir(abs);
    if (rc != sOKAY) {
        b_tag_subFree(subTag, abs);
        return rc;
    }
    *full = abs;
    return sOKAY;
}

ZEL_RETCODE cfg_checkPackFileSetting(ZEL_DB_GSV_CONFIGURATION *, uint32_t value) {
    return value < 10485760u ? eINVOPTIONVALUE : sOKAY;  // kept: no upper bound here
}

}  // namespace

// ---- The setters, by shape.

// A boolean, held as ZEL_TRUE or ZEL_FALSE.
#define CFG_BOOL(Rec, Name, field)                                 \
    ZEL_RETCODE b_configSet##Name(Rec *config, ZEL_BOOL_T value) { \
        if (config != nullptr) config->field = cfg_bool(value);    \
        return sOKAY;                                              \
    }

// A number within [lo, hi], else `err`.
#define CFG_RANGE(Rec, Name, T, field, lo, hi, err)       \
    ZEL_RETCODE b_configSet##Name(Rec *config, T value) { \
        if (!cfg_within(value, lo, hi)) return err;       \
        if (config != nullptr) config->field = value;     \
        return sOKAY;                                     \
    }

// A value of a word table's domain.
#define CFG_DOMAIN(Rec, Name, T, field, words)                                         \
    ZEL_RETCODE b_configSet##Name(Rec *config, T value) {                              \
        if (!cfg_inDomain(words, static_cast<int32_t>(value))) return eINVOPTIONVALUE; \
        if (config != nullptr) config->field = value;                                  \
        return sOKAY;                                                                  \
    }

// The text form of a setter: `read` turns the text into its value.
#define CFG_TEXT(Rec, Name, T, read)                                           \
    ZEL_RETCODE b_configSet##Name##FromString(Rec *config, const char *text) { \
        T v{};                                                                 \
        ZEL_RETCODE rc;                                                        \
        ZEL_CHECK(rc = read(text, &v));                                        \
        return b_configSet##Name(config, v);                                   \
    }

// A word of a table, in both forms.
#define CFG_WORD(Rec, Name, T, field, words)                                   \
    CFG_DOMAIN(Rec, Name, T, field, words)                                     \
    ZEL_RETCODE b_configSet##Name##FromString(Rec *config, const char *text) { \
        int32_t v = 0;                                                         \
        ZEL_RETCODE rc;                                                        \
        ZEL_CHECK(rc = opt_wordToValue(words, text, &v));                      \
        return b_configSet##Name(config, static_cast<T>(v));                   \
    }

// A text the record takes; with the text form, a copy of the text.
#define CFG_OWNED(Rec, Name, field)                                            \
    ZEL_RETCODE b_configSet##Name(Rec *config, char *text, B_TAG_SUB subTag) { \
        if (config != nullptr) cfg_take(&config->field, text, subTag);         \
        return sOKAY;                                                          \
    }
#define CFG_OWNED_COPY(Rec, Name, field)                                                         \
    CFG_OWNED(Rec, Name, field)                                                                  \
    ZEL_RETCODE b_configSet##Name##FromString(Rec *config, const char *text, B_TAG_SUB subTag) { \
        return cfg_store(config != nullptr ? &config->field : nullptr, text, subTag);            \
    }

// A settings value: checked by the configuration's setter, kept as text.
#define SET_VALUE(Rec, Name, T, field, check)                                                     \
    ZEL_RETCODE b_settingsSet##Name(Rec *settings, T value, ZEL_BOOL_T clear, B_TAG_SUB subTag) { \
        char **f = settings != nullptr ? &settings->field : nullptr;                              \
        if (clear) return cfg_store(f, nullptr, subTag);                                          \
        ZEL_RETCODE rc;                                                                           \
        ZEL_CHECK(rc = check(nullptr, value));                                                    \
        return cfg_store(f, CfgNumberText(value).buf, subTag);                                    \
    }

// A settings word, kept as given once `check` reads it; null clears.
#define SET_WORD(Rec, Name, field, check)                                                 \
    ZEL_RETCODE b_settingsSet##Name(Rec *settings, const char *text, B_TAG_SUB subTag) {  \
        ZEL_RETCODE rc;                                                                   \
        if (text != nullptr) ZEL_CHECK(rc = check(text, nullptr));                        \
        return cfg_store(settings != nullptr ? &settings->field : nullptr, text, subTag); \
    }

constexpr uint64_t kU32 = UINT32_MAX;
constexpr uint64_t kU64 = UINT64_MAX;

// ---- SQL.

CFG_BOOL(ZEL_SQL_OPTIONS, Autocommit, autocommit)
CFG_TEXT(ZEL_SQL_OPTIONS, Autocommit, ZEL_BOOL_T, cfg_readBool)
CFG_BOOL(ZEL_SQL_OPTIONS, GenProcCFile, genProcCFile)
CFG_TEXT(ZEL_SQL_OPTIONS, GenProcCFile, ZEL_BOOL_T, cfg_readBool)
CFG_BOOL(ZEL_SQL_OPTIONS, OptimizeParameters, optParams)
CFG_TEXT(ZEL_SQL_OPTIONS, OptimizeParameters, ZEL_BOOL_T, cfg_readBool)
CFG_BOOL(ZEL_SQL_OPTIONS, IgnoreImpError, ignoreImpError)
CFG_TEXT(ZEL_SQL_OPTIONS, IgnoreImpError, ZEL_BOOL_T, cfg_readBool)
CFG_BOOL(ZEL_SQL_OPTIONS, SnapshotMode, useSnapshot)
CFG_TEXT(ZEL_SQL_OPTIONS, SnapshotMode, ZEL_BOOL_T, b_optionGetSnapshotModeFromString)

ZEL_RETCODE b_configSetDateFormat(ZEL_SQL_OPTIONS *config, ZEL_DATE_FORMAT format, char sep) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_dateValidateFormat(format));
    ZEL_CHECK(rc = zel_dateValidateSeparator(sep));
    if (config != nullptr) {
        config->date_format = format;
        config->date_sep = sep;
    }
    return sOKAY;
}

ZEL_RETCODE b_configSetDateFormatFromString(ZEL_SQL_OPTIONS *config, const char *text) {
    ZEL_DATE_FORMAT format = ZEL_YYYYMMDD;
    char sep = '-';
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_dateParseFormatString(text, &format, &sep));
    return b_configSetDateFormat(config, format, sep);
}

ZEL_RETCODE b_configSetTimeFormat(ZEL_SQL_OPTIONS *config, ZEL_TIME_FORMAT format) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_timeValidateFormat(format));
    if (config != nullptr) config->time_format = format;
    return sOKAY;
}
CFG_TEXT(ZEL_SQL_OPTIONS, TimeFormat, ZEL_TIME_FORMAT, zel_timeParseFormatString)

ZEL_RETCODE b_configSetWildAll(ZEL_SQL_OPTIONS *config, char value) {
    if (value != '*' && value != '%') return eBADWILDALL;
    if (config != nullptr) config->wildAll = value;
    return sOKAY;
}
CFG_TEXT(ZEL_SQL_OPTIONS, WildAll, char, cfg_readChar<eBADWILDALL>)

ZEL_RETCODE b_configSetWildOne(ZEL_SQL_OPTIONS *config, char value) {
    if (value != '.' && value != '_' && value != '?') return eBADWILDONE;
    if (config != nullptr) config->wildOne = value;
    return sOKAY;
}
CFG_TEXT(ZEL_SQL_OPTIONS, WildOne, char, cfg_readChar<eBADWILDONE>)

CFG_RANGE(ZEL_SQL_OPTIONS, ReserveBytes, size_t, reserveBytes, 0, kU64, eINVOPTIONVALUE)
CFG_TEXT(ZEL_SQL_OPTIONS, ReserveBytes, size_t, cfg_readNumber<size_t>)
CFG_RANGE(ZEL_SQL_OPTIONS, DistinctCacheSize, uint32_t, distinctCacheSize, 100, kU32,
          eSQL_CACHESIZE)
CFG_TEXT(ZEL_SQL_OPTIONS, DistinctCacheSize, uint32_t, cfg_readNumber<uint32_t>)
CFG_RANGE(ZEL_SQL_OPTIONS, GroupByCacheSize, uint32_t, groupByCacheSize, 100, kU32, eSQL_CACHESIZE)
CFG_TEXT(ZEL_SQL_OPTIONS, GroupByCacheSize, uint32_t, cfg_readNumber<uint32_t>)
CFG_RANGE(ZEL_SQL_OPTIONS, OrderByCacheSize, uint32_t, orderByCacheSize, 100, kU32, eSQL_CACHESIZE)
CFG_TEXT(ZEL_SQL_OPTIONS, OrderByCacheSize, uint32_t, cfg_readNumber<uint32_t>)

ZEL_RETCODE b_configSetSortCost(ZEL_SQL_OPTIONS *config, double value) {
    if (!(value >= 0 && value <= 1)) return eSQL_SORTCOST;
    if (config != nullptr) config->optSortFactor = value;
    return sOKAY;
}

ZEL_RETCODE b_configSetSortCostFromString(ZEL_SQL_OPTIONS *config, const char *text) {
    if (text == nullptr) return eINVNULLARG;
    const double v = psp_stratof(text);
    // Kept: 0 is taken for a text that is no number, "0" included.
    if (v == 0 && text[0] != '\0') return eINVSTRING;
    return b_configSetSortCost(config, v);
}

CFG_RANGE(ZEL_SQL_OPTIONS, SlotsPerCacheNode, uint32_t, cacheSlots, 5, 1023, eINVOPTIONVALUE)
CFG_TEXT(ZEL_SQL_OPTIONS, SlotsPerCacheNode, uint32_t, cfg_readNumber<uint32_t>)
CFG_RANGE(ZEL_SQL_OPTIONS, DebugMode, int32_t, debugOpt, INT32_MIN, INT32_MAX, eINVOPTIONVALUE)
CFG_TEXT(ZEL_SQL_OPTIONS, DebugMode, int32_t, cfg_readNumber<int32_t>)
CFG_RANGE(ZEL_SQL_OPTIONS, OptThreshold, int32_t, optThreshold, INT32_MIN, INT32_MAX,
          eINVOPTIONVALUE)
CFG_TEXT(ZEL_SQL_OPTIONS, OptThreshold, int32_t, cfg_readNumber<int32_t>)
CFG_WORD(ZEL_SQL_OPTIONS, TransDefault, ZEL_TRANS_TYPE, transDefault, ZEL_OPT_WORDS_TRANS_TYPE)
CFG_WORD(ZEL_SQL_OPTIONS, DefaultOpenMode, ZEL_OPEN_MODE, defaultOpenMode, ZEL_OPT_WORDS_OPEN_MODE)
CFG_WORD(ZEL_SQL_OPTIONS, TransIsoLevel, ZSQL_TRANS_LEVEL, transIsoLevel, ZEL_OPT_WORDS_ISO_LEVEL)
CFG_WORD(ZEL_SQL_OPTIONS, RoundingMode, ZEL_BCD_ROUNDING_MODE, roundingMode, ZEL_OPT_WORDS_ROUNDING)

// ---- Database handle.

ZEL_RETCODE b_configSetTimeZone(ZEL_DB_CONFIGURATION *config, int32_t minutes) {
    if (minutes < -840 || minutes > 840) return eRANGE;
    if (config != nullptr) config->time_zone = static_cast<int16_t>(minutes);
    return sOKAY;
}

ZEL_RETCODE b_configSetTimeZoneFromString(ZEL_DB_CONFIGURATION *config, const char *text) {
    int16_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cfg_readNumber(text, &v));
    if (v < -840 || v > 840) return sOKAY;  // kept: ignored, not refused
    return b_configSetTimeZone(config, v);
}

ZEL_RETCODE b_configSetUnicodeEnabled(ZEL_DB_CONFIGURATION *config, ZEL_BOOL_T value) {
    if (value != ZEL_FALSE) return eNOTIMPLEMENTED;
    if (config != nullptr) config->unicode_enabled = ZEL_FALSE;
    return sOKAY;
}
CFG_TEXT(ZEL_DB_CONFIGURATION, UnicodeEnabled, ZEL_BOOL_T, cfg_readBool)

// Kept: the database's cache answers eINVOPTIONVALUE, the SQL caches
// eSQL_CACHESIZE.
CFG_RANGE(ZEL_DB_CONFIGURATION, CacheSize, uint32_t, cache_size, 100, kU32, eINVOPTIONVALUE)
CFG_TEXT(ZEL_DB_CONFIGURATION, CacheSize, uint32_t, cfg_readNumber<uint32_t>)
CFG_BOOL(ZEL_DB_CONFIGURATION, TxTest, tx_test)
CFG_TEXT(ZEL_DB_CONFIGURATION, TxTest, ZEL_BOOL_T, cfg_readBool)
CFG_WORD(ZEL_DB_CONFIGURATION, RowFormat, ZEL_ROW_FORMAT, row_format, ZEL_OPT_WORDS_ROW_FORMAT)

ZEL_RETCODE b_configSetItemFormat(ZEL_DB_CONFIGURATION *config, const char *text) {
    int32_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = opt_wordToValue(ZEL_OPT_WORDS_ITEM_FORMAT, text, &v));
    if (config != nullptr) config->item_format = static_cast<ZEL_ITEM_FORMAT>(v);
    return sOKAY;
}

ZEL_RETCODE b_configSetObjCompressMethod(ZEL_DB_CONFIGURATION *config, const char *text) {
    ZEL_COMPRESS_METHOD v = ZEL_COMPRESS_LZMA;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_getObjCompressMethodFromString(text, &v));
    if (config != nullptr) config->obj_compress_method = v;
    return sOKAY;
}

CFG_RANGE(ZEL_DB_CONFIGURATION, ObjCompressMinSize, uint32_t, obj_compress_min_size, 160, kU32,
          eINVOPTIONVALUE)
CFG_TEXT(ZEL_DB_CONFIGURATION, ObjCompressMinSize, uint32_t, cfg_readNumber<uint32_t>)
CFG_RANGE(ZEL_DB_CONFIGURATION, BytesPerUTF8Char, uint32_t, bytes_per_utf8_char, 1, 4,
          eINVOPTIONVALUE)
CFG_OWNED(ZEL_DB_CONFIGURATION, Locale, locale)
CFG_OWNED(ZEL_DB_CONFIGURATION, DbUserId, db_user_id)

ZEL_RETCODE b_configSetErrorFormat(ZEL_DB_CONFIGURATION *config, char *error_format,
                                   B_TAG_SUB subTag) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cfg_checkErrorFormat(error_format));
    if (config != nullptr) cfg_take(&config->error_format, error_format, subTag);
    return sOKAY;
}

ZEL_RETCODE b_configSetProcsDir(ZEL_DB_CONFIGURATION *config, const char *procs_dir,
                                B_TAG_SUB subTag) {
    char **field = config != nullptr ? &config->procs_dir : nullptr;
    if (procs_dir == nullptr || procs_dir[0] == '\0') return cfg_store(field, nullptr, subTag);
    char *full = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = _validateProcsDir(procs_dir, subTag, &full));
    if (field == nullptr) {
        b_tag_subFree(subTag, full);
    } else {
        cfg_take(field, full, subTag);
    }
    return sOKAY;
}

SET_VALUE(ZEL_DB_SETTINGS, TimeZone, int32_t, time_zone, b_configSetTimeZone)

ZEL_RETCODE b_settingsSetProcsDir(ZEL_DB_SETTINGS *settings, const char *procs_dir,
                                  B_TAG_SUB subTag) {
    char **field = settings != nullptr ? &settings->procs_dir : nullptr;
    if (procs_dir == nullptr || procs_dir[0] == '\0') return cfg_store(field, nullptr, subTag);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_configSetProcsDir(nullptr, procs_dir, subTag));
    return cfg_store(field, procs_dir, subTag);
}

// ---- Database in the file server.

ZEL_RETCODE b_configSetTimeout(ZEL_DB_GSV_CONFIGURATION *config, int32_t value) {
    if (value < -1) return eINVOPTIONVALUE;
    if (config != nullptr) config->lock_timeout = static_cast<uint32_t>(value);  // -1: all ones
    return sOKAY;
}

CFG_DOMAIN(ZEL_DB_GSV_CONFIGURATION, Durability, ZEL_TRANS_DURABILITY, durability,
           ZEL_OPT_WORDS_DURABILITY)
CFG_BOOL(ZEL_DB_GSV_CONFIGURATION, RebuildIdIndex, rebuild_idindex)
CFG_BOOL(ZEL_DB_GSV_CONFIGURATION, Drop, drop)
CFG_RANGE(ZEL_DB_GSV_CONFIGURATION, PackWriteChunkSize, uint32_t, pack_write_chunk_size, 0, kU32,
          eINVOPTIONVALUE)

ZEL_RETCODE b_configSetPackFileSize(ZEL_DB_GSV_CONFIGURATION *config, uint32_t value) {
    if (value < 10485760u || value > 2147483648u) return eINVOPTIONVALUE;
    if (config != nullptr) config->pack_file_size = value / 16;  // kept: a sixteenth
    return sOKAY;
}

CFG_RANGE(ZEL_DB_GSV_CONFIGURATION, DbSize, uint64_t, db_size, 0, kU64, eINVOPTIONVALUE)
CFG_RANGE(ZEL_DB_GSV_CONFIGURATION, VacuumPercentage, uint32_t, vacuum_percentage, 0, 100,
          eINVOPTIONVALUE)
CFG_RANGE(ZEL_DB_GSV_CONFIGURATION, VacuumReadChunkSize, uint32_t, vacuum_read_chunk_size, 0, kU32,
          eINVOPTIONVALUE)
CFG_RANGE(ZEL_DB_GSV_CONFIGURATION, VacuumWriteChunkSize, uint32_t, vacuum_write_chunk_size, 0,
          kU32, eINVOPTIONVALUE)
CFG_RANGE(ZEL_DB_GSV_CONFIGURATION, IdindexFlushOnClose, uint32_t, idindex_flush_threshold_on_close,
          0, kU32, eINVOPTIONVALUE)
CFG_RANGE(ZEL_DB_GSV_CONFIGURATION, IdindexFlushThreshold, uint32_t, idindex_flush_threshold, 0,
          kU32, eINVOPTIONVALUE)
CFG_RANGE(ZEL_DB_GSV_CONFIGURATION, IdindexCacheSize, uint32_t, idindex_cache_size, 10, kU32,
          eINVOPTIONVALUE)
CFG_DOMAIN(ZEL_DB_GSV_CONFIGURATION, StorageMedia, ZEL_PRIVATE_STORAGE_MEDIA, storage_media,
           ZEL_OPT_WORDS_STORAGE)

SET_VALUE(ZEL_DB_GSV_SETTINGS, Timeout, int32_t, lock_timeout, b_configSetTimeout)
SET_VALUE(ZEL_DB_GSV_SETTINGS, RebuildIdIndex, ZEL_BOOL_T, rebuild_idindex,
          b_configSetRebuildIdIndex)
SET_VALUE(ZEL_DB_GSV_SETTINGS, Drop, ZEL_BOOL_T, drop, b_configSetDrop)
SET_VALUE(ZEL_DB_GSV_SETTINGS, PackWriteChunkSize, uint32_t, pack_write_chunk_size,
          b_configSetPackWriteChunkSize)
SET_VALUE(ZEL_DB_GSV_SETTINGS, PackFileSize, uint32_t, pack_file_size, cfg_checkPackFileSetting)
SET_VALUE(ZEL_DB_GSV_SETTINGS, DbSize, uint64_t, db_size, b_configSetDbSize)
SET_VALUE(ZEL_DB_GSV_SETTINGS, VacuumPercentage, uint32_t, vacuum_percentage,
          b_configSetVacuumPercentage)
SET_VALUE(ZEL_DB_GSV_SETTINGS, VacuumReadChunkSize, uint32_t, vacuum_read_chunk_size,
          b_configSetVacuumReadChunkSize)
SET_VALUE(ZEL_DB_GSV_SETTINGS, VacuumWriteChunkSize, uint32_t, vacuum_write_chunk_size,
          b_configSetVacuumWriteChunkSize)
SET_VALUE(ZEL_DB_GSV_SETTINGS, IdindexFlushOnClose, uint32_t, idindex_flush_threshold_on_close,
          b_configSetIdindexFlushOnClose)
SET_VALUE(ZEL_DB_GSV_SETTINGS, IdindexFlushThreshold, uint32_t, idindex_flush_threshold,
          b_configSetIdindexFlushThreshold)
SET_VALUE(ZEL_DB_GSV_SETTINGS, IdindexCacheSize, uint32_t, idindex_cache_size,
          b_configSetIdindexCacheSize)
SET_WORD(ZEL_DB_GSV_SETTINGS, Durability, durability, _getDurabilityFromString)
SET_WORD(ZEL_DB_GSV_SETTINGS, StorageMediaFromString, storage_media, b_storageMediaFromString)

// ---- File server.

CFG_OWNED_COPY(ZEL_GSV_CONFIGURATION, Docroot, docroot)
CFG_OWNED_COPY(ZEL_GSV_CONFIGURATION, Name, name)
CFG_OWNED_COPY(ZEL_GSV_CONFIGURATION, LogFile, logfile)
CFG_DOMAIN(ZEL_GSV_CONFIGURATION, StderrLogLevel, B_LOG_LEVEL, logerrlevel, ZEL_OPT_WORDS_LOG_LEVEL)
CFG_TEXT(ZEL_GSV_CONFIGURATION, StderrLogLevel, B_LOG_LEVEL, b_logGetLevel)
CFG_DOMAIN(ZEL_GSV_CONFIGURATION, LogfileLogLevel, B_LOG_LEVEL, logfilelevel,
           ZEL_OPT_WORDS_LOG_LEVEL)
CFG_TEXT(ZEL_GSV_CONFIGURATION, LogfileLogLevel, B_LOG_LEVEL, b_logGetLevel)
CFG_DOMAIN(ZEL_GSV_CONFIGURATION, LogCategory, B_LOG_CATEGORY, logcategory,
           ZEL_OPT_WORDS_LOG_CATEGORY)
CFG_TEXT(ZEL_GSV_CONFIGURATION, LogCategory, B_LOG_CATEGORY, b_logGetCategoryFromString)
CFG_RANGE(ZEL_GSV_CONFIGURATION, TOS, int32_t, tos, 0, 255, eINVOPTIONVALUE)
CFG_TEXT(ZEL_GSV_CONFIGURATION, TOS, int32_t, cfg_readNumber<int32_t>)

ZEL_RETCODE b_configSetKeepAliveOn(ZEL_GSV_CONFIGURATION *config, int32_t value) {
    if (config != nullptr) config->ka_on = value != 0 ? 1 : 0;  // kept: 1 for any value but 0
    return sOKAY;
}
CFG_TEXT(ZEL_GSV_CONFIGURATION, KeepAliveOn, ZEL_BOOL_T, cfg_readBool)

CFG_BOOL(ZEL_GSV_CONFIGURATION, Listen, start_listener)
CFG_TEXT(ZEL_GSV_CONFIGURATION, Listen, ZEL_BOOL_T, cfg_readBool)
CFG_BOOL(ZEL_GSV_CONFIGURATION, Readonly, rd_only)
CFG_TEXT(ZEL_GSV_CONFIGURATION, Readonly, ZEL_BOOL_T, cfg_readBool)

namespace {

void cfg_transport(ZEL_GSV_CONFIGURATION *config, int32_t bit, ZEL_BOOL_T on) {
    if (config == nullptr) return;
    const int32_t bits =
        on != ZEL_FALSE ? config->transportBitmap | bit : config->transportBitmap & ~bit;
    config->transportBitmap = static_cast<TX_CONN_TYPE_INT>(bits);
}

}  // namespace

ZEL_RETCODE b_configSetTCP(ZEL_GSV_CONFIGURATION *config, ZEL_BOOL_T value) {
    cfg_transport(config, TX_TCP_INT, value);
    return sOKAY;
}
CFG_TEXT(ZEL_GSV_CONFIGURATION, TCP, ZEL_BOOL_T, cfg_readBool)

ZEL_RETCODE b_configSetSharedMemory(ZEL_GSV_CONFIGURATION *config, ZEL_BOOL_T value) {
    cfg_transport(config, TX_SHM_INT, value);
    return sOKAY;
}
CFG_TEXT(ZEL_GSV_CONFIGURATION, SharedMemory, ZEL_BOOL_T, cfg_readBool)
CFG_WORD(ZEL_GSV_CONFIGURATION, GSVType, GSV_TYPE, type, ZEL_OPT_WORDS_GSV_TYPE)

// ---- Initialisers.

namespace {

// Applies a non-null setting through a text setter.
template <class Rec>
ZEL_RETCODE cfg_apply(Rec *config, const char *text, ZEL_RETCODE (*set)(Rec *, const char *)) {
    return text != nullptr ? set(config, text) : sOKAY;
}

// Applies a non-null setting through a setter that takes a copy of it.
ZEL_RETCODE cfg_applyOwned(ZEL_DB_CONFIGURATION *config, const char *text, B_TAG_SUB subTag,
                           ZEL_RETCODE (*set)(ZEL_DB_CONFIGURATION *, char *, B_TAG_SUB)) {
    if (text == nullptr) return sOKAY;
    char *copy = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subCopyString(subTag, text, &copy));
    rc = set(config, copy, subTag);
    if (rc < 0) b_tag_subFree(subTag, copy);
    return rc;
}

}  // namespace

ZEL_RETCODE b_configInitializeSQL(ZEL_SQL_OPTIONS *config, const ZEL_SQL_SETTINGS *settings,
                                  B_TAG_SUB subTag) {
    (void)subTag;  // the SQL options hold no text
    if (config == nullptr || settings == nullptr) return eINVNULLARG;
    const ZEL_BOOL_T plan = config->debugOptPlan, tables = config->debugOptTables,
                     proc = config->debugProc;
    *config = kSqlDefaults;
    config->debugOptPlan = plan;
    config->debugOptTables = tables;
    config->debugProc = proc;
    const ZEL_SQL_SETTINGS &s = *settings;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cfg_apply(config, s.autocommit, b_configSetAutocommitFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.date_format, b_configSetDateFormatFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.time_format, b_configSetTimeFormatFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.distinctCacheSize, b_configSetDistinctCacheSizeFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.groupByCacheSize, b_configSetGroupByCacheSizeFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.orderByCacheSize, b_configSetOrderByCacheSizeFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.cacheSlots, b_configSetSlotsPerCacheNodeFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.wildAll, b_configSetWildAllFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.wildOne, b_configSetWildOneFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.optSortFactor, b_configSetSortCostFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.optThreshold, b_configSetOptThresholdFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.debugOpt, b_configSetDebugModeFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.transDefault, b_configSetTransDefaultFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.defaultOpenMode, b_configSetDefaultOpenModeFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.reserveBytes, b_configSetReserveBytesFromString));
    // The three booleans in the order of the record.
    ZEL_CHECK(rc = cfg_apply(config, s.ignoreImpError, b_configSetIgnoreImpErrorFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.genProcCFile, b_configSetGenProcCFileFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.optParams, b_configSetOptimizeParametersFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.transIsoLevel, b_configSetTransIsoLevelFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.roundingMode, b_configSetRoundingModeFromString));
    return cfg_apply(config, s.useSnapshot, b_configSetSnapshotModeFromString);
}

ZEL_RETCODE b_optionInitializeDbHandle(ZEL_DB_CONFIGURATION *config,
                                       const ZEL_DB_SETTINGS *settings, B_TAG_SUB subTag) {
    if (config == nullptr) return eINVNULLARG;
    *config = kDbDefaults;
    if (settings == nullptr) return sOKAY;
    if (subTag == nullptr) return eINVNULLARG;
    const ZEL_DB_SETTINGS &s = *settings;
    ZEL_RETCODE rc;
    // The locale is copied as the other texts are: the setter takes what it
    // is given.
    ZEL_CHECK(rc = cfg_applyOwned(config, s.locale, subTag, b_configSetLocale));
    ZEL_CHECK(rc = cfg_applyOwned(config, s.db_user_id, subTag, b_configSetDbUserId));
    if (s.procs_dir != nullptr) ZEL_CHECK(rc = b_configSetProcsDir(config, s.procs_dir, subTag));
    ZEL_CHECK(rc = cfg_applyOwned(config, s.error_format, subTag, b_configSetErrorFormat));
    ZEL_CHECK(rc = cfg_apply(config, s.row_format, b_configSetRowFormatFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.item_format, b_configSetItemFormat));
    ZEL_CHECK(rc = cfg_apply(config, s.cache_size, b_configSetCacheSizeFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.time_zone, b_configSetTimeZoneFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.unicode_enabled, b_configSetUnicodeEnabledFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.tx_test, b_configSetTxTestFromString));
    ZEL_CHECK(rc = cfg_apply(config, s.obj_compress_method, b_configSetObjCompressMethod));
    ZEL_CHECK(
        rc = cfg_apply(config, s.obj_compress_min_size, b_configSetObjCompressMinSizeFromString));
    // Kept: this setting goes to the compression method's setter.
    return cfg_apply(config, s.bytes_per_utf8_char, b_configSetObjCompressMethod);
}

ZEL_RETCODE b_optionInitializeDbGSV(ZEL_DB_GSV_CONFIGURATION *config) {
    if (config == nullptr) return eINVNULLARG;
    *config = kDbGsvDefaults;
    return sOKAY;
}

ZEL_RETCODE b_optionInitializeGSV(ZEL_GSV_CONFIGURATION *config) {
    if (config == nullptr) return eINVNULLARG;
    *config = kGsvDefaults;
    return sOKAY;
}

// ---- Copy, clean and free.

ZEL_RETCODE b_optionCopyDbHandleConfig(ZEL_DB_CONFIGURATION *dst, const ZEL_DB_CONFIGURATION *src,
                                       B_TAG_SUB subTag) {
    return cfg_copy(dst, src, subTag, kDbConfigTexts);
}

ZEL_RETCODE b_optionCopyDbHandleSettings(ZEL_DB_SETTINGS *dst, const ZEL_DB_SETTINGS *src,
                                         B_TAG_SUB subTag) {
    return cfg_copySettings(dst, src, subTag);
}

ZEL_RETCODE b_optionCopyGSVConfig(ZEL_GSV_CONFIGURATION *dst, const ZEL_GSV_CONFIGURATION *src,
                                  B_TAG_SUB subTag) {
    return cfg_copy(dst, src, subTag, kGsvConfigTexts);
}

ZEL_RETCODE b_optionCopyDbGSVConfig(ZEL_DB_GSV_CONFIGURATION *dst,
                                    const ZEL_DB_GSV_CONFIGURATION *src, B_TAG_SUB subTag) {
    if (dst == nullptr || src == nullptr || subTag == nullptr) return eINVNULLARG;
    *dst = *src;  // no texts
    return sOKAY;
}

ZEL_RETCODE b_optionCopyDbGSVSettings(ZEL_DB_GSV_SETTINGS *dst, const ZEL_DB_GSV_SETTINGS *src,
                                      B_TAG_SUB subTag) {
    return cfg_copySettings(dst, src, subTag);
}

ZEL_RETCODE b_optionCopySQLConfig(ZEL_SQL_OPTIONS *dst, const ZEL_SQL_OPTIONS *src,
                                  B_TAG_SUB subTag) {
    if (dst == nullptr || src == nullptr || subTag == nullptr) return eINVNULLARG;
    *dst = *src;  // no texts
    return sOKAY;
}

ZEL_RETCODE b_optionCopySQLSettings(ZEL_SQL_SETTINGS *dst, const ZEL_SQL_SETTINGS *src,
                                    B_TAG_SUB subTag) {
    return cfg_copySettings(dst, src, subTag);
}

ZEL_RETCODE b_optionClearAndCopyDbGSVSettings(ZEL_DB_GSV_SETTINGS *dst,
                                              const ZEL_DB_GSV_SETTINGS *src, B_TAG_SUB subTag) {
    if (dst == nullptr || src == nullptr || subTag == nullptr) return eINVNULLARG;
    if (dst == src) return sOKAY;
    cfg_freeSettings(dst, subTag);
    return cfg_copySettings(dst, src, subTag);
}

void b_optionFreeDbHandleSettings(ZEL_DB_SETTINGS *settings, B_TAG_SUB subTag) {
    cfg_freeSettings(settings, subTag);
}

void b_optionFreeDbGSVSettings(ZEL_DB_GSV_SETTINGS *settings, B_TAG_SUB subTag) {
    cfg_freeSettings(settings, subTag);
}

void b_optionFreeSQLSettings(ZEL_SQL_SETTINGS *settings, B_TAG_SUB subTag) {
    cfg_freeSettings(settings, subTag);
}

void b_optionCleanDbHandleConfig(ZEL_DB_CONFIGURATION *config, B_TAG_SUB subTag) {
    cfg_clean(config, subTag, kDbConfigTexts);
}

void b_optionCleanGSVConfig(ZEL_GSV_CONFIGURATION *config, B_TAG_SUB subTag) {
    cfg_clean(config, subTag, kGsvConfigTexts);
}

// ---- The table of the option keywords.

namespace {

// The text forms the processing needs that have no public name.
ZEL_RETCODE cfg_setDurabilityText(ZEL_DB_GSV_CONFIGURATION *config, const char *text) {
    ZEL_TRANS_DURABILITY v = ZEL_TRANS_DURABLE;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = _getDurabilityFromString(text, &v));
    return b_configSetDurability(config, v);
}

ZEL_RETCODE cfg_setStorageText(ZEL_DB_GSV_CONFIGURATION *config, const char *text) {
    ZEL_PRIVATE_STORAGE_MEDIA v = ZEL_PRIVATE_STORE_UNSPECIFIED;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_storageMediaFromString(text, &v));
    return b_configSetStorageMedia(config, v);
}

// A setter called with a CfgValue: the member that its argument's type reads.
template <class>
struct CfgSig;
template <class Rec, class T>
struct CfgSig<ZEL_RETCODE (*)(Rec *, T)> {
    using R = Rec;
    using A = T;
    static constexpr bool kTag = false;
};
template <class Rec, class T>
struct CfgSig<ZEL_RETCODE (*)(Rec *, T, B_TAG_SUB)> {
    using R = Rec;
    using A = T;
    static constexpr bool kTag = true;
};

template <auto F>
ZEL_RETCODE cfg_call(void *config, const CfgValue &v, B_TAG_SUB subTag) {
    using S = CfgSig<decltype(F)>;
    using A = typename S::A;
    auto *rec = static_cast<typename S::R *>(config);
    if constexpr (std::is_same_v<A, char *>) {
        return F(rec, v.owned, subTag);
    } else if constexpr (S::kTag) {
        return F(rec, v.text, subTag);
    } else if constexpr (std::is_same_v<A, const char *>) {
        return F(rec, v.text);
    } else if constexpr (std::is_unsigned_v<A>) {
        return F(rec, static_cast<A>(v.u));
    } else {
        return F(rec, static_cast<A>(v.i));
    }
}

#define CFG_ROW(opt, read, Conf, field, Set, setField, fn) \
    { opt, read, offsetof(Conf, field), offsetof(Set, setField), cfg_call<fn> }
#define CFG_SQL(opt, read, field, fn) \
    CFG_ROW(opt, read, ZEL_SQL_OPTIONS, field, ZEL_SQL_SETTINGS, field, fn)
#define CFG_DB(opt, read, field, fn) \
    CFG_ROW(opt, read, ZEL_DB_CONFIGURATION, field, ZEL_DB_SETTINGS, field, fn)
#define CFG_DBGSV(opt, read, field, fn) \
    CFG_ROW(opt, read, ZEL_DB_GSV_CONFIGURATION, field, ZEL_DB_GSV_SETTINGS, field, fn)
#define CFG_GSV(opt, read, field, fn) \
    { opt, read, offsetof(ZEL_GSV_CONFIGURATION, field), -1, cfg_call<fn> }
#define CFG_RESERVED(opt) \
    { opt, kCfgWord, -1, -1, nullptr }

// In the order of the keyword table, row for row.
constexpr CfgOption kOptions[] = {
    CFG_SQL(ZEL_OPT_AUTOCOMMIT, kCfgBool, autocommit, b_configSetAutocommit),
    CFG_RESERVED(ZEL_OPT_BTREEUSE),
    CFG_DB(ZEL_OPT_BYTES_PER_UTF8_CHAR, kCfgUInt32, bytes_per_utf8_char,
           b_configSetBytesPerUTF8Char),
    CFG_DB(ZEL_OPT_CACHE_SIZE, kCfgUInt32, cache_size, b_configSetCacheSize),
    CFG_RESERVED(ZEL_OPT_CURSORTYPE),
    CFG_SQL(ZEL_OPT_DATEFMT, kCfgWord, date_format, b_configSetDateFormatFromString),
    CFG_DBGSV(ZEL_OPT_DB_SIZE, kCfgUInt64, db_size, b_configSetDbSize),
    CFG_DB(ZEL_OPT_DB_USERID, kCfgOwned, db_user_id, b_configSetDbUserId),
    CFG_SQL(ZEL_OPT_DEBUG, kCfgInt32, debugOpt, b_configSetDebugMode),
    CFG_SQL(ZEL_OPT_DEFAULTOPENMODE, kCfgWord, defaultOpenMode,
            b_configSetDefaultOpenModeFromString),
    CFG_SQL(ZEL_OPT_TRANSDEFAULT, kCfgWord, transDefault, b_configSetTransDefaultFromString),
    CFG_SQL(ZEL_OPT_DCACHESZ, kCfgUInt32, distinctCacheSize, b_configSetDistinctCacheSize),
    CFG_GSV(ZEL_OPT_DOCROOT, kCfgOwned, docroot, b_configSetDocroot),
    CFG_DBGSV(ZEL_OPT_DROP, kCfgBool, drop, b_configSetDrop),
    CFG_DBGSV(ZEL_OPT_DURABILITY, kCfgWord, durability, cfg_setDurabilityText),
    CFG_DB(ZEL_OPT_ERROR_FORMAT, kCfgOwned, error_format, b_configSetErrorFormat),
    CFG_SQL(ZEL_OPT_GENPROCCFILE, kCfgBool, genProcCFile, b_configSetGenProcCFile),
    CFG_SQL(ZEL_OPT_GCACHESZ, kCfgUInt32, groupByCacheSize, b_configSetGroupByCacheSize),
    CFG_DBGSV(ZEL_OPT_IDINDEX_CACHE_SIZE, kCfgUInt32, idindex_cache_size,
              b_configSetIdindexCacheSize),
    CFG_DBGSV(ZEL_OPT_IDINDEX_FLUSH_THRESHOLD, kCfgUInt32, idindex_flush_threshold,
              b_configSetIdindexFlushThreshold),
    CFG_DBGSV(ZEL_OPT_IDINDEX_FLUSH_THRESHOLD_ON_CLOSE, kCfgUInt32,
              idindex_flush_threshold_on_close, b_configSetIdindexFlushOnClose),
    CFG_SQL(ZEL_OPT_IGNOREIMPERROR, kCfgBool, ignoreImpError, b_configSetIgnoreImpError),
    CFG_DB(ZEL_OPT_ITEM_FORMAT, kCfgWord, item_format, b_configSetItemFormat),
    CFG_GSV(ZEL_OPT_KEEP_ALIVE_ON, kCfgBool, ka_on, b_configSetKeepAliveOn),
    CFG_GSV(ZEL_OPT_LISTEN, kCfgBool, start_listener, b_configSetListen),
    CFG_DB(ZEL_OPT_LOCALE, kCfgOwned, locale, b_configSetLocale),
    CFG_GSV(ZEL_OPT_LOGCATEGORY, kCfgLog, logcategory, b_configSetLogCategoryFromString),
    CFG_GSV(ZEL_OPT_LOGERRLEVEL, kCfgLog, logerrlevel, b_configSetStderrLogLevelFromString),
    CFG_GSV(ZEL_OPT_LOGFILE, kCfgOwned, logfile, b_configSetLogFile),
    CFG_GSV(ZEL_OPT_LOGFILELEVEL, kCfgLog, logfilelevel, b_configSetLogfileLogLevelFromString),
    CFG_GSV(ZEL_OPT_NAME, kCfgOwned, name, b_configSetName),
    CFG_DB(ZEL_OPT_OBJ_COMPRESS_METHOD, kCfgWord, obj_compress_method,
           b_configSetObjCompressMethod),
    CFG_DB(ZEL_OPT_OBJ_COMPRESS_MIN_SIZE, kCfgUInt32, obj_compress_min_size,
           b_configSetObjCompressMinSize),
    CFG_SQL(ZEL_OPT_OPTIMIZEPARAMS, kCfgBool, optParams, b_configSetOptimizeParameters),
    CFG_SQL(ZEL_OPT_THRESHOLD, kCfgInt32, optThreshold, b_configSetOptThreshold),
    CFG_SQL(ZEL_OPT_OCACHESZ, kCfgUInt32, orderByCacheSize, b_configSetOrderByCacheSize),
    CFG_DBGSV(ZEL_OPT_PACK_FILE_SIZE, kCfgUInt32, pack_file_size, b_configSetPackFileSize),
    CFG_DBGSV(ZEL_OPT_PACK_WRITE_CHUNK_SIZE, kCfgUInt32, pack_write_chunk_size,
              b_configSetPackWriteChunkSize),
    CFG_DB(ZEL_OPT_PROCS_DIR, kCfgWord, procs_dir, b_configSetProcsDir),
    CFG_GSV(ZEL_OPT_READONLY, kCfgBool, rd_only, b_configSetReadonly),
    CFG_DBGSV(ZEL_OPT_REBUILD_IDINDEX, kCfgBool, rebuild_idindex, b_configSetRebuildIdIndex),
    CFG_SQL(ZEL_OPT_RESERVEBYTES, kCfgUInt64, reserveBytes, b_configSetReserveBytes),
    CFG_SQL(ZEL_OPT_ROUNDINGMODE, kCfgWord, roundingMode, b_configSetRoundingModeFromString),
    CFG_GSV(ZEL_OPT_SHAREDMEM, kCfgBool, transportBitmap, b_configSetSharedMemory),
    CFG_SQL(ZEL_OPT_CACHESLOTS, kCfgUInt32, cacheSlots, b_configSetSlotsPerCacheNode),
    CFG_SQL(ZEL_OPT_SNAPSHOT, kCfgWord, useSnapshot, b_configSetSnapshotModeFromString),
    CFG_SQL(ZEL_OPT_SORTCOST, kCfgWord, optSortFactor, b_configSetSortCostFromString),
    CFG_DBGSV(ZEL_OPT_STORAGE, kCfgWord, storage_media, cfg_setStorageText),
    CFG_GSV(ZEL_OPT_TCP, kCfgBool, transportBitmap, b_configSetTCP),
    CFG_GSV(ZEL_OPT_GSV_TYPE, kCfgWord, type, b_configSetGSVTypeFromString),
    CFG_DB(ZEL_OPT_TIMEZONE, kCfgInt16, time_zone, b_configSetTimeZone),
    CFG_SQL(ZEL_OPT_TIMEFMT, kCfgWord, time_format, b_configSetTimeFormatFromString),
    CFG_DBGSV(ZEL_OPT_TIMEOUT, kCfgInt32, lock_timeout, b_configSetTimeout),
    CFG_GSV(ZEL_OPT_TOS, kCfgInt32, tos, b_configSetTOS),
    CFG_SQL(ZEL_OPT_TRANSISOLEVEL, kCfgWord, transIsoLevel, b_configSetTransIsoLevelFromString),
    CFG_DB(ZEL_OPT_TXTEST, kCfgBool, tx_test, b_configSetTxTest),
    CFG_DB(ZEL_OPT_UNICODE_ENABLED, kCfgBool, unicode_enabled, b_configSetUnicodeEnabled),
    CFG_DBGSV(ZEL_OPT_VACUUM_PERCENTAGE, kCfgUInt32, vacuum_percentage,
              b_configSetVacuumPercentage),
    CFG_DBGSV(ZEL_OPT_VACUUM_READ_CHUNK_SIZE, kCfgUInt32, vacuum_read_chunk_size,
              b_configSetVacuumReadChunkSize),
    CFG_DBGSV(ZEL_OPT_VACUUM_WRITE_CHUNK_SIZE, kCfgUInt32, vacuum_write_chunk_size,
              b_configSetVacuumWriteChunkSize),
    CFG_SQL(ZEL_OPT_WILDALL, kCfgWord, wildAll, b_configSetWildAllFromString),
    CFG_SQL(ZEL_OPT_WILDONE, kCfgWord, wildOne, b_configSetWildOneFromString),
};
static_assert(std::size(kOptions) == 62);

// Every option of a scope is in its records, and a reserved one in none.
constexpr bool cfg_tableHolds() {
    for (const CfgOption &o : kOptions) {
        const bool reserved = cfg_scope(o.opt) == kCfgReserved;
        // A reserved row is the one without a field (CFG_RESERVED); its setter's
        // address is not compared here, which a sanitised build cannot fold.
        if (reserved != (o.confOffset < 0)) return false;
        if (!reserved && (o.setOffset < 0) != (cfg_scope(o.opt) == kCfgServer)) return false;
    }
    return true;
}
static_assert(cfg_tableHolds());

}  // namespace

const CfgOption *zel::detail::cfg_option(const ZEL_CONFIG_OPT_KEY *key) {
    if (key == nullptr) return nullptr;
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *table = b_optionGetConfigTable(&n);
    const CfgOption *found = nullptr;
    if (key >= table && key < table + n && kOptions[key - table].opt == key->value) {
        found = &kOptions[key - table];
    } else {
        for (const CfgOption &o : kOptions)
            if (o.opt == key->value) found = &o;
    }
    return found != nullptr && found->set != nullptr ? found : nullptr;
}

const CfgOption *zel::detail::cfg_optionAt(uint32_t index) {
    return index < std::size(kOptions) && kOptions[index].set != nullptr ? &kOptions[index]
                                                                         : nullptr;
}
