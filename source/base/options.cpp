/*
 * options.cpp - the option catalogue. One constant table describes every
 * keyword: its name and number, what its value is (kind, word table,
 * default, bounds) and how its stored field reads back as text; the keyword
 * table handed to callers is derived from it at compile time, and the
 * compiler checks that the numbers are distinct and the names in order. The
 * word tables list each word once with what it is used for (read, written,
 * or compared and refused), so one table serves both directions.
 *
 * Kept, as stored settings and callers rely on them: "gsvtype" sits out of
 * order after "tcp" (searched through an index in name order); "READWRITE",
 * "SERVER" and "REMOTE" are read as aliases and never written; the isolation
 * levels REPEATABLE_READ and SNAPSHOT are written but not read; "buffer" is
 * compared as a row format and refused; a compression method other than LZMA
 * writes "NONE"; "btreeuse" and "cursortype" are keywords of no record.
 */
#include "options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "datetime.h"
#include "options_internal.h"
#include "psp.h"
#include "tag_sub.h"

namespace {

// ---- Word tables.

constexpr uint32_t kR = ZEL_OPT_WORD_READ;
constexpr uint32_t kW = ZEL_OPT_WORD_WRITE;
constexpr uint32_t kRW = kR | kW;

constexpr ZEL_OPT_WORD kOpenModeWords[] = {
    {"SHARED", ZEL_OPEN_SHARED, kRW},
    {"READWRITE", ZEL_OPEN_SHARED, kR},  // kept: an alias, never written
    {"EXCLUSIVE", ZEL_OPEN_EXCLUSIVE, kRW},
    {"READONLY", ZEL_OPEN_READONLY, kRW}};

constexpr ZEL_TRANS_LIST trList[] = {{ZEL_TRANS_ROOT_UPDATE, "UPDATE"},
                                     {ZEL_TRANS_ROOT_READ, "READ"},
                                     {ZEL_TRANS_ROOT_SNAPSHOT, "SNAPSHOT"}};
constexpr auto kTransWords = [] {
    std::array<ZEL_OPT_WORD, std::size(trList)> t{};
    for (size_t i = 0; i < t.size(); ++i) t[i] = {trList[i].str, trList[i].type, kRW};
    return t;
}();

constexpr ZEL_OPT_WORD kDurabilityWords[] = {{"DURABLE", ZEL_TRANS_DURABLE, kRW},
                                             {"CONSISTENT", ZEL_TRANS_CONSISTENT, kRW},
                                             {"UNSAFE", ZEL_TRANS_UNSAFE, kRW}};

constexpr ZEL_OPT_WORD kStorageWords[] = {
    {"", ZEL_PRIVATE_STORE_UNSPECIFIED, kRW},
    {"ONDISK", ZEL_PRIVATE_STORE_ON_DISK, kRW},
    {"INMEMORY_VOLATILE", ZEL_PRIVATE_STORE_IN_MEM_VOLATILE, kRW},
    {"INMEMORY_LOAD", ZEL_PRIVATE_STORE_IN_MEM_LOAD, kRW},
    {"INMEMORY_KEEP", ZEL_PRIVATE_STORE_IN_MEM_KEEP, kRW},
    {"INMEMORY_PERSIST", ZEL_PRIVATE_STORE_IN_MEM_PERSIST, kRW}};

constexpr ZEL_OPT_WORD kGsvTypeWords[] = {
    {"EMBED", GSV_TYPE_EMBED, kRW},   {"SERVER", GSV_TYPE_EMBED, kR},   // kept: alias
    {"CLIENT", GSV_TYPE_CLIENT, kRW}, {"REMOTE", GSV_TYPE_CLIENT, kR},  // kept: alias
    {"HYBRID", GSV_TYPE_HYBRID, kRW}, {"DEFAULT", GSV_TYPE_DEFAULT, kRW}};

constexpr ZEL_OPT_WORD kRoundingWords[] = {
    {"NEAREST_TIES_TO_EVEN", ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, kRW},
    {"NEAREST_TIES_AWAY_FROM_ZERO", ZEL_BCD_ROUND_NEAREST_TIES_AWAY_FROM_ZERO, kRW},
    {"UP", ZEL_BCD_ROUND_UP, kRW},
    {"DOWN", ZEL_BCD_ROUND_DOWN, kRW},
    {"TOWARDS_ZERO", ZEL_BCD_ROUND_TOWARDS_ZERO, kRW},
    {"", ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, kR}};

constexpr ZEL_OPT_WORD kIsoLevelWords[] = {
    {"SERIALIZABLE", transLevelSerializable, kRW},
    {"READ_COMMITTED", transLevelReadCommitted, kRW},
    {"READ_UNCOMMITTED", transLevelReadUncommitted, kRW},
    {"REPEATABLE_READ", transLevelRepeatableRead, kW},  // kept: written, not read
    {"SNAPSHOT", transLevelSnapshot, kW},               // kept: written, not read
    {"", transLevelSerializable, kR}};

constexpr ZEL_OPT_WORD kSnapshotWords[] = {{"MANUAL", ZEL_FALSE, kRW}, {"AUTO", ZEL_TRUE, kRW}};

constexpr ZEL_OPT_WORD kItemFormatWords[] = {{"COMPACT", ZEL_ITEM_FORMAT_COMPACT, kRW},
                                             {"EXPANDED", ZEL_ITEM_FORMAT_EXPANDED, kRW}};

constexpr ZEL_OPT_WORD kRowFormatWords[] = {
    {"buffer", ZEL_ROW_FORMAT_BUFFER, 0},  // kept: compared and refused; the default only
    {"value", ZEL_ROW_FORMAT_VALUE, kR},
    {"compact", ZEL_ROW_FORMAT_COMPACT, kR}};

constexpr ZEL_OPT_WORD kCompressWords[] = {{"NONE", ZEL_COMPRESS_NONE, kRW},
                                           {"LZMA", ZEL_COMPRESS_LZMA, kRW}};

// Read as the log reads them (b_logGetLevel, b_logGetCategoryFromString).
constexpr ZEL_OPT_WORD kLogLevelWords[] = {
    {"none", B_LOG_LEVEL_NONE, kW},        {"error", B_LOG_LEVEL_ERROR, kRW},
    {"warning", B_LOG_LEVEL_WARNING, kRW}, {"info", B_LOG_LEVEL_INFO, kRW},
    {"mesg", B_LOG_LEVEL_MESG, kRW},       {"all", B_LOG_LEVEL_ALL, kRW}};

constexpr ZEL_OPT_WORD kLogCategoryWords[] = {{"none", B_LOG_CATEGORY_NONE, kRW},
                                              {"ddl", B_LOG_CATEGORY_DDL, kRW},
                                              {"all", B_LOG_CATEGORY_ALL, kRW}};

struct OptDomain {
    const char *name;
    std::span<const ZEL_OPT_WORD> words;
    ZEL_RETCODE badWord;     // a word that is not read
    ZEL_RETCODE noWord;      // a value that has no written word
    const char *otherValue;  // written for a value without a word; null: none
    bool nullIsEmpty;        // a null word reads as ""
};

constexpr OptDomain kDomains[ZEL_OPT_WORDS_COUNT] = {
    {nullptr, {}, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
    {"open mode", kOpenModeWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
    {"transaction", kTransWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
    {"durability", kDurabilityWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
    {"storage", kStorageWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
    {"server type", kGsvTypeWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
    {"rounding", kRoundingWords, eINVOPTIONVALUE, eINVOPTION, nullptr, true},
    {"isolation", kIsoLevelWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, true},
    {"snapshot mode", kSnapshotWords, eBADSNAPSHOTMODE, eINVOPTIONVALUE, nullptr, false},
    {"item format", kItemFormatWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
    {"row format", kRowFormatWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
    // Kept: any other method is written "NONE".
    {"compression", kCompressWords, eINVOPTIONVALUE, eINVOPTIONVALUE, "NONE", false},
    {"log level", kLogLevelWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
    {"log category", kLogCategoryWords, eINVOPTIONVALUE, eINVOPTIONVALUE, nullptr, false},
};

const OptDomain *opt_domain(ZEL_OPT_WORDS words) {
    if (words <= ZEL_OPT_WORDS_NONE || words >= ZEL_OPT_WORDS_COUNT) return nullptr;
    return &kDomains[words];
}

// ---- The keyword table.

// How a stored field reads back as text.
enum OptForm : uint8_t {
    kFormNone,      // reserved: no record holds it
    kFormBool,      // ZEL_BOOL_T or int32: "true" for non-zero
    kFormText,      // char *, null as ""
    kFormInt32,     // "%d"
    kFormInt16,     // "%d"
    kFormUInt32,    // "%lu"
    kFormUInt64,    // "%lu" (uint64_t, size_t)
    kFormTimeout,   // uint32: 0xFFFFFFFF as "-1", else "%lu"
    kFormPackFile,  // uint32 held as a sixteenth
    kFormTcp,       // transport bitmap: TX_TCP_INT
    kFormShm,       // transport bitmap: TX_SHM_INT
    kFormDouble,    // "%G"
    kFormChar,      // "'%c'"
    kFormDate,      // ZEL_DATE_FORMAT followed by date_sep
    kFormTime,      // ZEL_TIME_FORMAT
    kFormWord       // an enumeration (int32): its written word
};

struct OptRow {
    ZEL_CONFIG_OPT_KEY key;
    ZEL_OPT_INFO info;
    OptForm form;
};

constexpr int64_t kNone = INT64_MIN;

constexpr OptRow opt(const char *name, ZEL_OPTS value, ZEL_OPT_KIND kind, OptForm form,
                     const char *def, const char *bounds = nullptr, int64_t min = kNone,
                     int64_t max = kNone) {
    return {{name, value},
            {kind, ZEL_OPT_WORDS_NONE, def, bounds, min != kNone ? ZEL_TRUE : ZEL_FALSE,
             max != kNone ? ZEL_TRUE : ZEL_FALSE, min != kNone ? min : 0, max != kNone ? max : 0},
            form};
}

constexpr OptRow word(const char *name, ZEL_OPTS value, ZEL_OPT_WORDS words, const char *def) {
    OptRow r = opt(name, value, ZEL_OPT_KIND_WORD, kFormWord, def);
    r.info.words = words;
    return r;
}

constexpr OptRow boolean(const char *name, ZEL_OPTS value, const char *def,
                         OptForm form = kFormBool, const char *bounds = nullptr) {
    return opt(name, value, ZEL_OPT_KIND_BOOLEAN, form, def, bounds);
}

constexpr OptRow u32(const char *name, ZEL_OPTS value, const char *def,
                     const char *bounds = nullptr, int64_t min = kNone, int64_t max = kNone) {
    return opt(name, value, ZEL_OPT_KIND_UINT32, kFormUInt32, def, bounds, min, max);
}

constexpr OptRow reserved(const char *name, ZEL_OPTS value) {
    return opt(name, value, ZEL_OPT_KIND_RESERVED, kFormNone, nullptr, "no record holds it");
}

// Sorted by name under the lower-case fold but for "gsvtype" (row 49), which
// stands where it always stood: kept, list-all output follows this order.
constexpr OptRow kRows[] = {
    boolean("autocommit", ZEL_OPT_AUTOCOMMIT, "false"),
    reserved("btreeuse", ZEL_OPT_BTREEUSE),
    u32("bytes_per_utf8_char", ZEL_OPT_BYTES_PER_UTF8_CHAR, "4", "1 to 4", 1, 4),
    u32("cache_size", ZEL_OPT_CACHE_SIZE, "20000", "at least 100", 100),
    reserved("cursortype", ZEL_OPT_CURSORTYPE),
    opt("dateformat", ZEL_OPT_DATEFMT, ZEL_OPT_KIND_DATE_FORMAT, kFormDate, "YYYY-MM-DD",
        "a date format; separator '-', '/' or '.'"),
    opt("db_size", ZEL_OPT_DB_SIZE, ZEL_OPT_KIND_UINT64, kFormUInt64, "21474836480"),
    opt("dbuserid", ZEL_OPT_DB_USERID, ZEL_OPT_KIND_TEXT, kFormText, nullptr),
    opt("debugmode", ZEL_OPT_DEBUG, ZEL_OPT_KIND_INT32, kFormInt32, "0"),
    word("defaultopenmode", ZEL_OPT_DEFAULTOPENMODE, ZEL_OPT_WORDS_OPEN_MODE, "SHARED"),
    word("defaulttransaction", ZEL_OPT_TRANSDEFAULT, ZEL_OPT_WORDS_TRANS_TYPE, "UPDATE"),
    u32("distinctcachesize", ZEL_OPT_DCACHESZ, "10000", "at least 100", 100),
    opt("docroot", ZEL_OPT_DOCROOT, ZEL_OPT_KIND_PATH, kFormText, nullptr),
    boolean("drop", ZEL_OPT_DROP, "false"),
    word("durability", ZEL_OPT_DURABILITY, ZEL_OPT_WORDS_DURABILITY, "durable"),
    opt("error_format", ZEL_OPT_ERROR_FORMAT, ZEL_OPT_KIND_TEXT, kFormText, nullptr,
        "'%' before A C D E F I L N S T t only; at most 4095 bytes"),
    boolean("generateproccfile", ZEL_OPT_GENPROCCFILE, "false"),
    u32("groupbycachesize", ZEL_OPT_GCACHESZ, "10000", "at least 100", 100),
    u32("idindex_cache_size", ZEL_OPT_IDINDEX_CACHE_SIZE, "65536000", "at least 10", 10),
    u32("idindex_flush_threshold", ZEL_OPT_IDINDEX_FLUSH_THRESHOLD, "655360"),
    u32("idindex_flush_threshold_on_close", ZEL_OPT_IDINDEX_FLUSH_THRESHOLD_ON_CLOSE, "163840"),
    boolean("ignoreimporterrors", ZEL_OPT_IGNOREIMPERROR, "false"),
    word("item_format", ZEL_OPT_ITEM_FORMAT, ZEL_OPT_WORDS_ITEM_FORMAT, "compact"),
    boolean("keep_alive_on", ZEL_OPT_KEEP_ALIVE_ON, "false"),
    boolean("listen", ZEL_OPT_LISTEN, "false"),
    opt("locale", ZEL_OPT_LOCALE, ZEL_OPT_KIND_TEXT, kFormText, nullptr),
    word("logcategory", ZEL_OPT_LOGCATEGORY, ZEL_OPT_WORDS_LOG_CATEGORY, "all"),
    word("logerrlevel", ZEL_OPT_LOGERRLEVEL, ZEL_OPT_WORDS_LOG_LEVEL, "info"),
    opt("logfile", ZEL_OPT_LOGFILE, ZEL_OPT_KIND_PATH, kFormText, nullptr),
    word("logfilelevel", ZEL_OPT_LOGFILELEVEL, ZEL_OPT_WORDS_LOG_LEVEL, "info"),
    opt("name", ZEL_OPT_NAME, ZEL_OPT_KIND_TEXT, kFormText, nullptr),
    word("obj_compress_method", ZEL_OPT_OBJ_COMPRESS_METHOD, ZEL_OPT_WORDS_COMPRESS, "LZMA"),
    u32("obj_compress_min_size", ZEL_OPT_OBJ_COMPRESS_MIN_SIZE, "4096", "at least 160", 160),
    boolean("optimizeparameters", ZEL_OPT_OPTIMIZEPARAMS, "true"),
    opt("optthreshold", ZEL_OPT_THRESHOLD, ZEL_OPT_KIND_INT32, kFormInt32, "0"),
    u32("orderbycachesize", ZEL_OPT_OCACHESZ, "10000", "at least 100", 100),
    opt("pack_file_size", ZEL_OPT_PACK_FILE_SIZE, ZEL_OPT_KIND_UINT32, kFormPackFile, "2147483648",
        "10485760 to 2147483648", 10485760, 2147483648),
    u32("pack_write_chunk_size", ZEL_OPT_PACK_WRITE_CHUNK_SIZE, "131072"),
    opt("procs_dir", ZEL_OPT_PROCS_DIR, ZEL_OPT_KIND_PATH, kFormText, nullptr,
        "must be a directory"),
    boolean("readonly", ZEL_OPT_READONLY, "false"),
    boolean("rebuild_idindex", ZEL_OPT_REBUILD_IDINDEX, "false"),
    opt("reservebytes", ZEL_OPT_RESERVEBYTES, ZEL_OPT_KIND_UINT64, kFormUInt64, "0"),
    word("roundingmode", ZEL_OPT_ROUNDINGMODE, ZEL_OPT_WORDS_ROUNDING, "NEAREST_TIES_TO_EVEN"),
    boolean("sharedmem", ZEL_OPT_SHAREDMEM, "true", kFormShm),
    u32("slotspercachenode", ZEL_OPT_CACHESLOTS, "64", "5 to 1023", 5, 1023),
    word("snapshotmode", ZEL_OPT_SNAPSHOT, ZEL_OPT_WORDS_SNAPSHOT, "manual"),
    opt("sortcostfactor", ZEL_OPT_SORTCOST, ZEL_OPT_KIND_DOUBLE, kFormDouble, "6.2e-5", "0 to 1", 0,
        1),
    word("storage", ZEL_OPT_STORAGE, ZEL_OPT_WORDS_STORAGE, ""),
    boolean("tcp", ZEL_OPT_TCP, "true", kFormTcp),
    word("gsvtype", ZEL_OPT_GSV_TYPE, ZEL_OPT_WORDS_GSV_TYPE, "DEFAULT"),
    opt("time_zone", ZEL_OPT_TIMEZONE, ZEL_OPT_KIND_INT16, kFormInt16, "0", "-840 to 840 minutes",
        -840, 840),
    opt("timeformat", ZEL_OPT_TIMEFMT, ZEL_OPT_KIND_TIME_FORMAT, kFormTime, "HH:MM:SS.FFFF",
        "formats 1 to 7", 1, 7),
    opt("timeout", ZEL_OPT_TIMEOUT, ZEL_OPT_KIND_INT32, kFormTimeout, "10", "at least -1", -1),
    opt("tos", ZEL_OPT_TOS, ZEL_OPT_KIND_INT32, kFormInt32, "0", "0 to 255", 0, 255),
    word("transactionisolevel", ZEL_OPT_TRANSISOLEVEL, ZEL_OPT_WORDS_ISO_LEVEL, "SERIALIZABLE"),
    boolean("txtest", ZEL_OPT_TXTEST, "false"),
    boolean("unicode_enabled", ZEL_OPT_UNICODE_ENABLED, "false", kFormBool,
            "true is not implemented"),
    u32("vacuum_percentage", ZEL_OPT_VACUUM_PERCENTAGE, "20", "0 to 100", 0, 100),
    u32("vacuum_read_chunk_size", ZEL_OPT_VACUUM_READ_CHUNK_SIZE, "655360"),
    u32("vacuum_write_chunk_size", ZEL_OPT_VACUUM_WRITE_CHUNK_SIZE, "65536"),
    opt("wildall", ZEL_OPT_WILDALL, ZEL_OPT_KIND_CHAR, kFormChar, "%", "'*' or '%'"),
    opt("wildone", ZEL_OPT_WILDONE, ZEL_OPT_KIND_CHAR, kFormChar, "_", "'.', '_' or '?'"),
};

constexpr size_t kNumKeys = std::size(kRows);
static_assert(kNumKeys == 62);

constexpr auto zel_config_opts = [] {
    std::array<ZEL_CONFIG_OPT_KEY, kNumKeys> t{};
    for (size_t i = 0; i < kNumKeys; ++i) t[i] = kRows[i].key;
    return t;
}();

constexpr int opt_compareFolded(std::string_view a, std::string_view b) {
    for (size_t i = 0;; ++i) {
        const int ca = i < a.size() ? (a[i] >= 'A' && a[i] <= 'Z' ? a[i] + 32 : a[i]) : 0;
        const int cb = i < b.size() ? (b[i] >= 'A' && b[i] <= 'Z' ? b[i] + 32 : b[i]) : 0;
        if (ca != cb || ca == 0) return ca - cb;
    }
}

// The table's facts, held by the compiler: distinct numbers, a word table
// for every word, and ascending names (under the fold psp_strcasecmp uses)
// once "gsvtype" is set aside.
constexpr bool opt_tableHolds() {
    const char *last = "";
    for (size_t i = 0; i < kNumKeys; ++i) {
        for (size_t j = 0; j < i; ++j)
            if (kRows[j].key.value == kRows[i].key.value) return false;
        if ((kRows[i].info.kind == ZEL_OPT_KIND_WORD) != (kRows[i].info.words != 0)) return false;
        if (i == 49) continue;
        if (opt_compareFolded(last, kRows[i].key.name) >= 0) return false;
        last = kRows[i].key.name;
    }
    return std::string_view(kRows[49].key.name) == "gsvtype";
}
static_assert(opt_tableHolds());

const OptRow *opt_row(ZEL_OPTS value) {
    for (const OptRow &r : kRows)
        if (r.key.value == value) return &r;
    return nullptr;
}

// ---- The search.

// A binary search by psp_strcasecmp, then, on a miss, a scan of every row:
// deliberate, for a caller's table with a row out of order as the built-in
// one has ("gsvtype").
const ZEL_CONFIG_OPT_KEY *opt_search(const char *keyword, const ZEL_CONFIG_OPT_KEY *keys,
                                     uint32_t n) {
    uint32_t lo = 0, hi = n;
    while (lo < hi) {
        const uint32_t mid = lo + (hi - lo) / 2;
        const int c = psp_strcasecmp(keyword, keys[mid].name);
        if (c == 0) return &keys[mid];
        if (c < 0) {
            hi = mid;
        } else {
            lo = mid + 1;
        }
    }
    for (uint32_t i = 0; i < n; ++i)
        if (psp_strcasecmp(keyword, keys[i].name) == 0) return &keys[i];
    return nullptr;
}

constexpr size_t kLongestName = [] {
    size_t longest = 0;
    for (const OptRow &r : kRows) longest = std::max(longest, std::string_view(r.key.name).size());
    return longest;
}();

// The built-in rows in the order of their names, "gsvtype" included, so that
// its binary search finds every name without the scan.
constexpr auto kByName = [] {
    std::array<uint8_t, kNumKeys> t{};
    for (size_t i = 0; i < kNumKeys; ++i) t[i] = static_cast<uint8_t>(i);
    std::sort(t.begin(), t.end(), [](uint8_t a, uint8_t b) {
        return std::string_view(kRows[a].key.name) < std::string_view(kRows[b].key.name);
    });
    return t;
}();

// For each first character, the range of kByName that starts with it: the
// binary search begins inside it.
struct OptRange {
    uint8_t lo, hi;
};
constexpr auto kByFirst = [] {
    std::array<OptRange, 256> t{};
    for (size_t i = kNumKeys; i-- > 0;) {
        OptRange &r = t[static_cast<uint8_t>(kRows[kByName[i]].key.name[0])];
        if (r.hi == 0) r.hi = static_cast<uint8_t>(i + 1);
        r.lo = static_cast<uint8_t>(i);
    }
    return t;
}();

// strcmp's order, in line: the texts differ early as a rule.
int opt_strcmp(const char *a, const char *b) {
    while (*a == *b && *a != '\0') ++a, ++b;
    return static_cast<uint8_t>(*a) - static_cast<uint8_t>(*b);
}

constexpr bool opt_namesLowerCase() {
    for (const OptRow &r : kRows)
        for (const char *c = r.key.name; *c != '\0'; ++c)
            if (*c >= 'A' && *c <= 'Z') return false;
    return true;
}
// So a keyword folded once compares with the built-in names by strcmp, in
// the order psp_strcasecmp gives.
static_assert(opt_namesLowerCase());

// ---- Text out.

ZEL_RETCODE opt_copy(const char *text, size_t n, B_TAG_SUB subTag, char **out) {
    void *p = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, n + 1, &p));
    std::memcpy(p, text, n);
    static_cast<char *>(p)[n] = '\0';
    *out = static_cast<char *>(p);
    return sOKAY;
}

ZEL_RETCODE opt_copyString(const char *text, B_TAG_SUB subTag, char **out) {
    return opt_copy(text, std::strlen(text), subTag, out);
}

// "%G" with the C locale's bytes: six significant digits, trailing zeros
// dropped, an upper-case exponent of at least two digits, "INF", "NAN".
size_t opt_formatG(double v, char *out, size_t size) {
    char *end = std::to_chars(out, out + size, v, std::chars_format::general, 6).ptr;
    for (char *c = out; c < end; ++c)
        if (*c >= 'a' && *c <= 'z') *c = static_cast<char>(*c - 32);
    return static_cast<size_t>(end - out);
}

template <class T>
T opt_read(const void *p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

static_assert(sizeof(size_t) == sizeof(uint64_t), "reservebytes reads as 64 bits");
static_assert(sizeof(ZEL_BOOL_T) == sizeof(int32_t) && sizeof(TX_CONN_TYPE_INT) == sizeof(int32_t));

}  // namespace

// ---- Word tables for the option code.

ZEL_RETCODE zel::detail::opt_wordToValue(ZEL_OPT_WORDS words, const char *word, int32_t *value) {
    const OptDomain *d = opt_domain(words);
    if (d == nullptr) return eINVOPTION;
    if (word == nullptr) {
        if (!d->nullIsEmpty) return eINVNULLARG;
        word = "";
    }
    for (const ZEL_OPT_WORD &w : d->words) {
        if (psp_strcasecmp(word, w.word) != 0) continue;
        if ((w.use & kR) == 0) break;  // compared and refused
        if (value != nullptr) *value = w.value;
        return sOKAY;
    }
    return d->badWord;
}

const char *zel::detail::opt_valueToWord(ZEL_OPT_WORDS words, int32_t value) {
    const OptDomain *d = opt_domain(words);
    if (d == nullptr) return nullptr;
    for (const ZEL_OPT_WORD &w : d->words)
        if ((w.use & kW) != 0 && w.value == value) return w.word;
    return d->otherValue;
}

namespace {

using zel::detail::opt_valueToWord;
using zel::detail::opt_wordToValue;

// A word to an enumeration of 32 bits.
template <class T>
ZEL_RETCODE opt_fromWord(ZEL_OPT_WORDS words, const char *str, T *pval) {
    static_assert(sizeof(T) == sizeof(int32_t));
    int32_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = opt_wordToValue(words, str, &v));
    if (pval != nullptr) *pval = static_cast<T>(v);
    return sOKAY;
}

}  // namespace

ZEL_RETCODE zel::detail::_getDurabilityFromString(const char *str, ZEL_TRANS_DURABILITY *pval) {
    return opt_fromWord(ZEL_OPT_WORDS_DURABILITY, str, pval);
}

ZEL_RETCODE zel::detail::_getOpenModeFromString(const char *str, ZEL_OPEN_MODE *pval) {
    return opt_fromWord(ZEL_OPT_WORDS_OPEN_MODE, str, pval);
}

// ---- Keywords.

const ZEL_CONFIG_OPT_KEY *b_optionGetConfigTable(uint32_t *numKeys) {
    if (numKeys != nullptr) *numKeys = static_cast<uint32_t>(kNumKeys);
    return zel_config_opts.data();
}

ZEL_RETCODE b_optionGetKey(const char *keyword, const ZEL_CONFIG_OPT_KEY *opt_keys,
                           uint32_t numKeys, const ZEL_CONFIG_OPT_KEY **okpp) {
    if (keyword == nullptr || opt_keys == nullptr) return eINVNULLARG;
    const ZEL_CONFIG_OPT_KEY *found = nullptr;
    if (opt_keys == zel_config_opts.data() && numKeys == kNumKeys) {
        // The built-in table: the keyword folded once, then a binary search
        // by plain compares over the rows in name order, which finds them all.
        char folded[kLongestName + 1];
        size_t n = 0;
        for (; keyword[n] != '\0' && n < kLongestName; ++n) {
            const char c = keyword[n];
            folded[n] = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        }
        if (keyword[n] != '\0') return eINVOPTION;  // longer than any name
        folded[n] = '\0';
        const OptRange range = kByFirst[static_cast<uint8_t>(folded[0])];
        uint32_t lo = range.lo, hi = range.hi;
        while (lo < hi && found == nullptr) {
            const uint32_t mid = lo + (hi - lo) / 2;
            const ZEL_CONFIG_OPT_KEY *k = &opt_keys[kByName[mid]];
            const int c = opt_strcmp(folded + 1, k->name + 1);
            if (c == 0) {
                found = k;
            } else if (c < 0) {
                hi = mid;
            } else {
                lo = mid + 1;
            }
        }
    } else {
        found = opt_search(keyword, opt_keys, numKeys);
    }
    if (found == nullptr) return eINVOPTION;
    if (okpp != nullptr) *okpp = found;
    return sOKAY;
}

const ZEL_OPT_INFO *b_optionGetInfo(ZEL_OPTS value) {
    const OptRow *r = opt_row(value);
    return r != nullptr ? &r->info : nullptr;
}

const ZEL_OPT_WORD *b_optionGetWords(ZEL_OPT_WORDS words, uint32_t *count, const char **name) {
    const OptDomain *d = opt_domain(words);
    if (d == nullptr) return nullptr;
    if (count != nullptr) *count = static_cast<uint32_t>(d->words.size());
    if (name != nullptr) *name = d->name;
    return d->words.data();
}

// ---- Words to values.

ZEL_RETCODE b_optionGetSnapshotModeFromString(const char *str, ZEL_BOOL_T *pval) {
    return opt_fromWord(ZEL_OPT_WORDS_SNAPSHOT, str, pval);
}

ZEL_RETCODE b_optionGetTransTypeFromString(const char *str, ZEL_TRANS_TYPE *pval) {
    return opt_fromWord(ZEL_OPT_WORDS_TRANS_TYPE, str, pval);
}

ZEL_RETCODE b_optionGetGSVTypeFromString(const char *str, GSV_TYPE *pval) {
    if (pval == nullptr) return eINVNULLARG;
    return opt_fromWord(ZEL_OPT_WORDS_GSV_TYPE, str, pval);
}

ZEL_RETCODE b_optionGetTransIsoLevelFromString(const char *str, ZSQL_TRANS_LEVEL *pval) {
    return opt_fromWord(ZEL_OPT_WORDS_ISO_LEVEL, str, pval);
}

ZEL_RETCODE b_optionGetRoundingModeFromString(const char *str, ZEL_BCD_ROUNDING_MODE *pval) {
    return opt_fromWord(ZEL_OPT_WORDS_ROUNDING, str, pval);
}

ZEL_RETCODE b_storageMediaFromString(const char *str, ZEL_PRIVATE_STORAGE_MEDIA *pval) {
    return opt_fromWord(ZEL_OPT_WORDS_STORAGE, str, pval);
}

ZEL_RETCODE b_getObjCompressMethodFromString(const char *str, ZEL_COMPRESS_METHOD *pval) {
    return opt_fromWord(ZEL_OPT_WORDS_COMPRESS, str, pval);
}

// ---- Values to words.

ZEL_RETCODE b_optionRoundingModeToString(ZEL_BCD_ROUNDING_MODE mode, char **ppszStr,
                                         B_TAG_SUB subTag) {
    if (ppszStr == nullptr || subTag == nullptr) return eINVNULLARG;
    const char *w = opt_valueToWord(ZEL_OPT_WORDS_ROUNDING, mode);
    if (w == nullptr) return eINVOPTION;
    return opt_copyString(w, subTag, ppszStr);
}

ZEL_RETCODE b_optionStorageMediaToString(ZEL_PRIVATE_STORAGE_MEDIA media, char **strValue,
                                         B_TAG_SUB subTag) {
    if (strValue == nullptr || subTag == nullptr) return eINVNULLARG;
    const char *w = opt_valueToWord(ZEL_OPT_WORDS_STORAGE, media);
    if (w == nullptr) return eINVOPTIONVALUE;
    return opt_copyString(w, subTag, strValue);
}

const char *b_optionGetObjCompressMethodString(ZEL_COMPRESS_METHOD method) {
    return opt_valueToWord(ZEL_OPT_WORDS_COMPRESS, method);
}

// ---- Stored values as text.

ZEL_RETCODE zel::detail::opt_valueText(const ZEL_CONFIG_OPT_KEY *key, const void *value,
                                       B_TAG_SUB subTag, OptText *out) {
    const bool builtIn = key >= zel_config_opts.data() && key < zel_config_opts.data() + kNumKeys;
    const OptRow *found = builtIn ? &kRows[key - zel_config_opts.data()] : opt_row(key->value);
    if (found == nullptr) return eINVOPTION;
    const OptRow &row = *found;
    auto word = [out](const char *w) {
        out->text = w;
        out->len = std::strlen(w);
        return sOKAY;
    };
    auto number = [out](auto v) {
        out->len = static_cast<size_t>(std::to_chars(out->buf, out->buf + sizeof out->buf, v).ptr -
                                       out->buf);
        out->text = out->buf;
        return sOKAY;
    };
    switch (row.form) {
        case kFormBool:
            return word(opt_read<int32_t>(value) != 0 ? "true" : "false");
        case kFormText: {
            const char *text = opt_read<const char *>(value);
            return word(text != nullptr ? text : "");
        }
        case kFormInt32:
            return number(opt_read<int32_t>(value));
        case kFormInt16:
            return number(opt_read<int16_t>(value));
        case kFormUInt32:
            return number(opt_read<uint32_t>(value));
        case kFormUInt64:
            return number(opt_read<uint64_t>(value));
        case kFormTimeout: {
            const uint32_t v = opt_read<uint32_t>(value);
            return v == UINT32_MAX ? word("-1") : number(v);
        }
        case kFormPackFile:
            return number(uint64_t{opt_read<uint32_t>(value)} * 16);
        case kFormTcp:
        case kFormShm: {
            const int32_t bit = row.form == kFormTcp ? TX_TCP_INT : TX_SHM_INT;
            return word((opt_read<int32_t>(value) & bit) != 0 ? "true" : "false");
        }
        case kFormDouble:
            out->len = opt_formatG(opt_read<double>(value), out->buf, sizeof out->buf);
            out->text = out->buf;
            return sOKAY;
        case kFormChar:
            out->buf[0] = '\'';
            out->buf[1] = opt_read<char>(value);
            out->buf[2] = '\'';
            out->text = out->buf;
            out->len = 3;
            return sOKAY;
        case kFormDate:
        case kFormTime: {
            // Made by the date code on the tag, then held in the buffer.
            char *made = nullptr;
            ZEL_RETCODE rc;
            if (row.form == kFormDate) {
                // The separator is the field after date_format in ZEL_SQL_OPTIONS.
                constexpr size_t kSep =
                    offsetof(ZEL_SQL_OPTIONS, date_sep) - offsetof(ZEL_SQL_OPTIONS, date_format);
                const char sep = opt_read<char>(static_cast<const char *>(value) + kSep);
                ZEL_CHECK(rc = zel_dateCreateFormatString(opt_read<ZEL_DATE_FORMAT>(value), sep,
                                                          subTag, &made));
            } else {
                ZEL_CHECK(rc = zel_timeCreateFormatString(opt_read<ZEL_TIME_FORMAT>(value), subTag,
                                                          &made));
            }
            out->len = std::min(std::strlen(made), sizeof out->buf - 1);
            std::memcpy(out->buf, made, out->len);
            out->buf[out->len] = '\0';
            out->text = out->buf;
            b_tag_subFree(subTag, made);
            return sOKAY;
        }
        case kFormWord: {
            const char *w = opt_valueToWord(row.info.words, opt_read<int32_t>(value));
            if (w == nullptr) return kDomains[row.info.words].noWord;
            return word(w);
        }
        case kFormNone:
            break;
    }
    return eINVOPTION;
}

ZEL_RETCODE b_optionBufferIntoString(const char *keyword, const void *value, char **strValue,
                                     B_TAG_SUB subTag) {
    if (keyword == nullptr || value == nullptr || strValue == nullptr || subTag == nullptr)
        return eINVNULLARG;
    const ZEL_CONFIG_OPT_KEY *key = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_optionGetKey(keyword, zel_config_opts.data(), kNumKeys, &key));
    zel::detail::OptText text;
    ZEL_CHECK(rc = zel::detail::opt_valueText(key, value, subTag, &text));
    return opt_copy(text.text, text.len, subTag, strValue);
}
