/*
 * options_types.h - the vocabulary of the configuration options: the option
 * keywords (ZEL_OPTS, whose value carries the scope), the enumerations that
 * options take, the descriptions of the options and their word tables, and
 * the records that hold options by scope, typed (configurations) or as text
 * (settings, null meaning unset). The operations on the keywords and words
 * are in options.h. Compiles as C11 and as C++20.
 */
#ifndef OPTIONS_TYPES_H
#define OPTIONS_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "connection_types.h"
#include "dbobj_types.h"
#include "log_types.h"
#include "schema_types.h"
#include "zelbcdtypes.h"
#include "zeldatetimetypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* ---- Keywords. */

/* An option's number: bits 20-23 the scope, bits 8-19 a serial number, bits
 * 0-7 a class byte that the library only carries (0, 1, 2 or 5). */
#define ZEL_OPT_SCOPE_MASK 0xF00000
#define ZEL_OPT_SERIAL_MASK 0x0FFF00
#define ZEL_OPT_CLASS_MASK 0x0000FF
#define ZEL_OPT_SCOPE_RESERVED 0x000000 /* btreeuse, cursortype: held by no record */
#define ZEL_OPT_SCOPE_GSV 0x100000      /* ZEL_GSV_CONFIGURATION */
#define ZEL_OPT_SCOPE_DB 0x200000       /* ZEL_DB_CONFIGURATION, ZEL_DB_SETTINGS */
#define ZEL_OPT_SCOPE_DB_GSV 0x300000   /* ZEL_DB_GSV_CONFIGURATION, ZEL_DB_GSV_SETTINGS */
#define ZEL_OPT_SCOPE_SQL 0x400000      /* ZEL_SQL_OPTIONS, ZEL_SQL_SETTINGS */

typedef enum ZEL_OPTS_E {
    ZEL_OPT_GSV_TYPE = 1048576,
    ZEL_OPT_DOCROOT = 1048832,
    ZEL_OPT_KEEP_ALIVE_ON = 1049088,
    ZEL_OPT_LISTEN = 1049344,
    ZEL_OPT_LOGCATEGORY = 1049600,
    ZEL_OPT_LOGERRLEVEL = 1049856,
    ZEL_OPT_LOGFILE = 1050112,
    ZEL_OPT_LOGFILELEVEL = 1050368,
    ZEL_OPT_NAME = 1050624,
    ZEL_OPT_READONLY = 1050880,
    ZEL_OPT_SHAREDMEM = 1052672,
    ZEL_OPT_TCP = 1052928,
    ZEL_OPT_TOS = 1053184,

    ZEL_OPT_BYTES_PER_UTF8_CHAR = 2107137,
    ZEL_OPT_CACHE_SIZE = 2107392,
    ZEL_OPT_DB_USERID = 2107649,
    ZEL_OPT_ERROR_FORMAT = 2109440,
    ZEL_OPT_ITEM_FORMAT = 2109696,
    ZEL_OPT_LOCALE = 2109953,
    ZEL_OPT_OBJ_COMPRESS_METHOD = 2110208,
    ZEL_OPT_OBJ_COMPRESS_MIN_SIZE = 2110464,
    ZEL_OPT_PROCS_DIR = 2110725,
    ZEL_OPT_TIMEZONE = 2110977,
    ZEL_OPT_TXTEST = 2111232,
    ZEL_OPT_UNICODE_ENABLED = 2111489,

    ZEL_OPT_DB_SIZE = 3150592,
    ZEL_OPT_DROP = 3150593,
    ZEL_OPT_DURABILITY = 3151104,
    ZEL_OPT_IDINDEX_CACHE_SIZE = 3151360,
    ZEL_OPT_IDINDEX_FLUSH_THRESHOLD = 3151616,
    ZEL_OPT_IDINDEX_FLUSH_THRESHOLD_ON_CLOSE = 3151872,
    ZEL_OPT_PACK_FILE_SIZE = 3152128,
    ZEL_OPT_PACK_WRITE_CHUNK_SIZE = 3153920,
    ZEL_OPT_REBUILD_IDINDEX = 3154177,
    ZEL_OPT_STORAGE = 3154433,
    ZEL_OPT_TIMEOUT = 3154688,
    ZEL_OPT_VACUUM_PERCENTAGE = 3154944,
    ZEL_OPT_VACUUM_READ_CHUNK_SIZE = 3155200,
    ZEL_OPT_VACUUM_WRITE_CHUNK_SIZE = 3155456,

    ZEL_OPT_AUTOCOMMIT = 4208896,
    ZEL_OPT_DATEFMT = 4210688,
    ZEL_OPT_DEBUG = 4210944,
    ZEL_OPT_DEFAULTOPENMODE = 4211202,
    ZEL_OPT_TRANSDEFAULT = 4211458,
    ZEL_OPT_DCACHESZ = 4211712,
    ZEL_OPT_GENPROCCFILE = 4211968,
    ZEL_OPT_GCACHESZ = 4212224,
    ZEL_OPT_IGNOREIMPERROR = 4212480,
    ZEL_OPT_OPTIMIZEPARAMS = 4212736,
    ZEL_OPT_THRESHOLD = 4212992,
    ZEL_OPT_OCACHESZ = 4214784,
    ZEL_OPT_RESERVEBYTES = 4215040,
    ZEL_OPT_ROUNDINGMODE = 4215298,
    ZEL_OPT_CACHESLOTS = 4215552,
    ZEL_OPT_SNAPSHOT = 4215810,
    ZEL_OPT_SORTCOST = 4216064,
    ZEL_OPT_TIMEFMT = 4216320,
    ZEL_OPT_TRANSISOLEVEL = 4216578,
    ZEL_OPT_WILDALL = 4216832,
    ZEL_OPT_WILDONE = 4217088,

    /* Reserved: keywords without a record. */
    ZEL_OPT_BTREEUSE = 549632,
    ZEL_OPT_CURSORTYPE = 549888,

    /* Without a keyword. */
    ZEL_OPT_DB_INFO_PACK = 24576,
    ZEL_OPT_DB_INFO_PACK_ID = 24832,
    ZEL_OPT_DB_INFO_IDINDEX = 25088
} ZEL_OPTS;

/* A row of the keyword table. */
typedef struct ZEL_CONFIG_OPT_KEY_S {
    const char *name;
    ZEL_OPTS value;
} ZEL_CONFIG_OPT_KEY;

/* ---- The enumerations that options take. */

typedef enum ZEL_OPEN_MODE_E {
    ZEL_OPEN_SHARED = 0,
    ZEL_OPEN_EXCLUSIVE = 1,
    ZEL_OPEN_READONLY = 2
} ZEL_OPEN_MODE;

typedef enum ZEL_TRANS_TYPE_E {
    ZEL_TRANS_ROOT_UPDATE = 34,
    ZEL_TRANS_ROOT_READ = 66,
    ZEL_TRANS_ROOT_SNAPSHOT = 130
} ZEL_TRANS_TYPE;

/* A row of the transaction words. */
typedef struct ZEL_TRANS_LIST_S {
    ZEL_TRANS_TYPE type;
    const char *str;
} ZEL_TRANS_LIST;

typedef enum ZEL_TRANS_DURABILITY_E {
    ZEL_TRANS_DURABLE = 0,
    ZEL_TRANS_CONSISTENT = 1,
    ZEL_TRANS_UNSAFE = 2
} ZEL_TRANS_DURABILITY;

typedef enum ZEL_PRIVATE_STORAGE_MEDIA_E {
    ZEL_PRIVATE_STORE_UNSPECIFIED = 0,
    ZEL_PRIVATE_STORE_ON_DISK = 65536,
    ZEL_PRIVATE_STORE_IN_MEM_VOLATILE = 131072,
    ZEL_PRIVATE_STORE_IN_MEM_LOAD = 393216,
    ZEL_PRIVATE_STORE_IN_MEM_PERSIST = 917504,
    ZEL_PRIVATE_STORE_IN_MEM_KEEP = 1179648
} ZEL_PRIVATE_STORAGE_MEDIA;

typedef enum GSV_TYPE_E {
    GSV_TYPE_EMBED = 0,
    GSV_TYPE_CLIENT = 1,
    GSV_TYPE_HYBRID = 2,
    GSV_TYPE_DEFAULT = 3
} GSV_TYPE;

typedef enum ZSQL_TRANS_LEVEL_E {
    transLevelSerializable = 0,
    transLevelReadCommitted = 1,
    transLevelReadUncommitted = 2,
    transLevelRepeatableRead = 3, /* written, never read */
    transLevelSnapshot = 4        /* written, never read */
} ZSQL_TRANS_LEVEL;

/* ---- Descriptions. */

/* What an option's value is. */
typedef enum ZEL_OPT_KIND_E {
    ZEL_OPT_KIND_RESERVED = 0,
    ZEL_OPT_KIND_BOOLEAN,
    ZEL_OPT_KIND_INT16,
    ZEL_OPT_KIND_INT32,
    ZEL_OPT_KIND_UINT32,
    ZEL_OPT_KIND_UINT64,
    ZEL_OPT_KIND_DOUBLE,
    ZEL_OPT_KIND_CHAR,
    ZEL_OPT_KIND_TEXT,
    ZEL_OPT_KIND_PATH,
    ZEL_OPT_KIND_DATE_FORMAT,
    ZEL_OPT_KIND_TIME_FORMAT,
    ZEL_OPT_KIND_WORD /* a word of the table `words` */
} ZEL_OPT_KIND;

/* The word tables. */
typedef enum ZEL_OPT_WORDS_E {
    ZEL_OPT_WORDS_NONE = 0,
    ZEL_OPT_WORDS_OPEN_MODE,  /* ZEL_OPEN_MODE */
    ZEL_OPT_WORDS_TRANS_TYPE, /* ZEL_TRANS_TYPE */
    ZEL_OPT_WORDS_DURABILITY, /* ZEL_TRANS_DURABILITY */
    ZEL_OPT_WORDS_STORAGE,    /* ZEL_PRIVATE_STORAGE_MEDIA */
    ZEL_OPT_WORDS_GSV_TYPE,   /* GSV_TYPE */
    ZEL_OPT_WORDS_ROUNDING,   /* ZEL_BCD_ROUNDING_MODE */
    ZEL_OPT_WORDS_ISO_LEVEL,  /* ZSQL_TRANS_LEVEL */
    ZEL_OPT_WORDS_SNAPSHOT,   /* ZEL_BOOL_T: automatic snapshots */
    ZEL_OPT_WORDS_ITEM_FORMAT,
    ZEL_OPT_WORDS_ROW_FORMAT,
    ZEL_OPT_WORDS_COMPRESS,
    ZEL_OPT_WORDS_LOG_LEVEL,
    ZEL_OPT_WORDS_LOG_CATEGORY,
    ZEL_OPT_WORDS_COUNT
} ZEL_OPT_WORDS;

/* How a word is used: read from input, written by the output functions. A
 * row with neither is compared and refused. */
#define ZEL_OPT_WORD_READ 1u
#define ZEL_OPT_WORD_WRITE 2u

typedef struct ZEL_OPT_WORD_S {
    const char *word;
    int32_t value;
    uint32_t use;
} ZEL_OPT_WORD;

/* An option's value domain. Bounds are inclusive; `bounds` says them, and
 * any rule that is no plain range, in words. */
typedef struct ZEL_OPT_INFO_S {
    ZEL_OPT_KIND kind;
    ZEL_OPT_WORDS words;
    const char *defaultText; /* the default as the option reads it; null: none */
    const char *bounds;      /* null: none */
    ZEL_BOOL_T hasMin;
    ZEL_BOOL_T hasMax;
    int64_t min;
    int64_t max;
} ZEL_OPT_INFO;

/* ---- The records, by scope. Strings are owned by the record. */

/* SQL options. */
typedef struct ZEL_SQL_OPTIONS_S {
    ZEL_BOOL_T autocommit;
    ZEL_BOOL_T useSnapshot;
    ZEL_DATE_FORMAT date_format;
    char date_sep; /* follows date_format: "dateformat" reads both */
    ZEL_TIME_FORMAT time_format;
    char wildAll;
    char wildOne;
    size_t reserveBytes;
    uint32_t distinctCacheSize;
    uint32_t groupByCacheSize;
    uint32_t orderByCacheSize;
    double optSortFactor;
    uint32_t cacheSlots;
    int32_t debugOpt;
    int32_t optThreshold;
    ZEL_TRANS_TYPE transDefault;
    ZEL_OPEN_MODE defaultOpenMode;
    ZEL_BOOL_T ignoreImpError;
    ZEL_BOOL_T genProcCFile;
    ZEL_BOOL_T optParams;
    ZEL_BOOL_T debugOptPlan;
    ZEL_BOOL_T debugOptTables;
    ZEL_BOOL_T debugProc;
    ZSQL_TRANS_LEVEL transIsoLevel;
    ZEL_BCD_ROUNDING_MODE roundingMode;
} ZEL_SQL_OPTIONS;

/* The SQL options as text; date_format holds the whole date format. */
typedef struct ZEL_SQL_SETTINGS_S {
    char *autocommit;
    char *useSnapshot;
    char *date_format;
    char *time_format;
    char *wildAll;
    char *wildOne;
    char *reserveBytes;
    char *distinctCacheSize;
    char *groupByCacheSize;
    char *orderByCacheSize;
    char *optSortFactor;
    char *cacheSlots;
    char *debugOpt;
    char *optThreshold;
    char *transDefault;
    char *defaultOpenMode;
    char *ignoreImpError;
    char *genProcCFile;
    char *optParams;
    char *debugOptPlan;
    char *debugOptTables;
    char *debugProc;
    char *transIsoLevel;
    char *roundingMode;
} ZEL_SQL_SETTINGS;

/* A database handle's options. */
typedef struct ZEL_DB_CONFIGURATION_S {
    char *locale;
    char *db_user_id;
    char *procs_dir;
    char *error_format;
    ZEL_ROW_FORMAT row_format;
    ZEL_ITEM_FORMAT item_format;
    uint32_t cache_size;
    int16_t time_zone; /* minutes */
    ZEL_BOOL_T unicode_enabled;
    ZEL_BOOL_T tx_test;
    ZEL_COMPRESS_METHOD obj_compress_method;
    uint32_t obj_compress_min_size;
    uint32_t bytes_per_utf8_char;
} ZEL_DB_CONFIGURATION;

typedef struct ZEL_DB_SETTINGS_S {
    char *locale;
    char *db_user_id;
    char *procs_dir;
    char *error_format;
    char *row_format;
    char *item_format;
    char *cache_size;
    char *time_zone;
    char *unicode_enabled;
    char *tx_test;
    char *obj_compress_method;
    char *obj_compress_min_size;
    char *bytes_per_utf8_char;
} ZEL_DB_SETTINGS;

/* A database's options in the file server. */
typedef struct ZEL_DB_GSV_CONFIGURATION_S {
    uint64_t db_size;
    uint32_t vacuum_percentage;
    uint32_t vacuum_read_chunk_size;
    uint32_t vacuum_write_chunk_size;
    uint32_t vacuum_wait;
    uint32_t pack_write_chunk_size;
    uint32_t pack_file_size; /* a sixteenth of the option's value */
    uint32_t idindex_flush_threshold_on_close;
    uint32_t idindex_flush_threshold;
    uint32_t idindex_cache_size;
    ZEL_PRIVATE_STORAGE_MEDIA storage_media;
    ZEL_TRANS_DURABILITY durability;
    ZEL_BOOL_T rebuild_idindex;
    ZEL_BOOL_T drop;
    uint32_t lock_timeout; /* "timeout"; 0xFFFFFFFF is -1 */
} ZEL_DB_GSV_CONFIGURATION;

typedef struct ZEL_DB_GSV_SETTINGS_S {
    char *db_size;
    char *vacuum_percentage;
    char *vacuum_read_chunk_size;
    char *vacuum_write_chunk_size;
    char *vacuum_wait;
    char *pack_write_chunk_size;
    char *pack_file_size;
    char *idindex_flush_threshold_on_close;
    char *idindex_flush_threshold;
    char *idindex_cache_size;
    char *storage_media;
    char *durability;
    char *rebuild_idindex;
    char *drop;
    char *lock_timeout;
} ZEL_DB_GSV_SETTINGS;

/* The file server's options. */
typedef struct ZEL_GSV_CONFIGURATION_S {
    ZEL_BOOL_T rd_only;
    int32_t tos;
    int32_t keepalive;
    int32_t ka_on;
    B_LOG_CATEGORY logcategory;
    B_LOG_LEVEL logerrlevel;
    B_LOG_LEVEL logfilelevel;
    char *logfile;
    char *name;
    char *docroot;
    TX_CONN_TYPE_INT transportBitmap; /* TX_TCP_INT and TX_SHM_INT */
    GSV_TYPE type;
    ZEL_BOOL_T start_listener;
} ZEL_GSV_CONFIGURATION;

ZEL_EXTERN_C_END

#endif /* OPTIONS_TYPES_H */
