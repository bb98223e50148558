/*
 * log_types.h - the records of the log: levels, categories, the log with its
 * two destinations, and the chunk that builds one long message in pieces.
 * The operations are in log.h.
 */
#ifndef LOG_TYPES_H
#define LOG_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "file_types.h"
#include "psptypes.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* A level is also a threshold: a message passes when its level is at or
 * below the destination's level. */
typedef enum B_LOG_LEVEL_E {
    B_LOG_LEVEL_NONE = 0,
    B_LOG_LEVEL_ERROR = 1,
    B_LOG_LEVEL_WARNING = 2,
    B_LOG_LEVEL_INFO = 3,
    B_LOG_LEVEL_MESG = 100,
    B_LOG_LEVEL_ALL = 10000
} B_LOG_LEVEL;

/* A bit mask. */
typedef enum B_LOG_CATEGORY_E {
    B_LOG_CATEGORY_NONE = 0,
    B_LOG_CATEGORY_DDL = 1,
    B_LOG_CATEGORY_ALL = 65535
} B_LOG_CATEGORY;

/* Rows of the name tables, sorted by name for a search in any letter case. */
typedef struct B_LOG_LEVEL_ENTRY_S {
    B_LOG_LEVEL level_value;
    const char *level_string;
} B_LOG_LEVEL_ENTRY;

typedef struct B_LOG_CATEGORY_ENTRY_S {
    B_LOG_CATEGORY category_value;
    const char *category_string;
} B_LOG_CATEGORY_ENTRY;

typedef struct B_LOG_S {
    B_FILE_T file_stderr;
    B_LOG_LEVEL stderrLevel;
    B_FILE_T file_log; /* the log file, or closed */
    B_LOG_LEVEL fileLevel;
    B_LOG_CATEGORY categories; /* the enabled mask */
    ZEL_BOOL_T use_mutex;      /* the lock is taken when it equals ZEL_TRUE */
    PSP_THREAD_MUTEX_T mutex;
} B_LOG_T;

typedef struct LOG_CHUNK_S {
    char *buf; /* the text so far, owned; null when empty */
    size_t len;
    B_TAG_SUB subTag;
} LOG_CHUNK;

ZEL_EXTERN_C_END

#endif /* LOG_TYPES_H */
