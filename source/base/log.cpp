/*
 * log.cpp - the log: a filter by category and level in front of two files.
 *
 * A message that passes is formatted once, on the stack (in 1024 bytes, or
 * in at most 65536 when it is longer), and the text goes by b_filePuts to
 * each chosen file: to standard error as it stands, to the log file behind a
 * "[UTC time] " stamp. Nothing is flushed per message; the files' windows
 * gather the lines. The name tables are sorted as psp_strcasecmp orders
 * them, which the compiler checks, so that a name in any letter case is
 * found by binary search.
 */
#include "log.h"

#include <cstring>
#include <string_view>

#include "datetime.h"
#include "error.h"
#include "file.h"
#include "psp.h"
#include "tag_sub.h"

namespace {

constexpr B_LOG_LEVEL_ENTRY levelTable[] = {
    {B_LOG_LEVEL_ALL, "all"},   {B_LOG_LEVEL_ERROR, "error"},     {B_LOG_LEVEL_INFO, "info"},
    {B_LOG_LEVEL_MESG, "mesg"}, {B_LOG_LEVEL_WARNING, "warning"},
};

constexpr B_LOG_CATEGORY_ENTRY categoryTable[] = {
    {B_LOG_CATEGORY_ALL, "all"},
    {B_LOG_CATEGORY_DDL, "ddl"},
    {B_LOG_CATEGORY_NONE, "none"},
};

/* Strictly ascending in lower case, the order psp_strcasecmp gives. */
template <class Row, size_t N>
constexpr bool log_tableSorted(const Row (&rows)[N], const char *Row::*name) {
    auto lower = [](std::string_view s) {
        for (char c : s)
            if (c >= 'A' && c <= 'Z') return false;
        return true;
    };
    for (size_t i = 0; i < N; i++) {
        if (!lower(rows[i].*name)) return false;
        if (i > 0 && !(std::string_view(rows[i - 1].*name) < std::string_view(rows[i].*name)))
            return false;
    }
    return true;
}
static_assert(log_tableSorted(levelTable, &B_LOG_LEVEL_ENTRY::level_string));
static_assert(log_tableSorted(categoryTable, &B_LOG_CATEGORY_ENTRY::category_string));

template <class Row, size_t N>
const Row *log_lookup(const Row (&rows)[N], const char *Row::*name, const char *text) {
    size_t lo = 0, hi = N;
    while (lo < hi) {
        const size_t mid = (lo + hi) / 2;
        const int c = psp_strcasecmp(text, rows[mid].*name);
        if (c == 0) return &rows[mid];
        if (c < 0) {
            hi = mid;
        } else {
            lo = mid + 1;
        }
    }
    return nullptr;
}

// A null name is no name of the tables: eNOTFOUND, as the option code,
// which hands an empty log option over as null, expects.
ZEL_RETCODE log_lookupLevel(const char *text, B_LOG_LEVEL *level) {
    if (text == nullptr) return eNOTFOUND;
    const B_LOG_LEVEL_ENTRY *row = log_lookup(levelTable, &B_LOG_LEVEL_ENTRY::level_string, text);
    if (row == nullptr) return eNOTFOUND;
    *level = row->level_value;
    return sOKAY;
}

ZEL_RETCODE log_lookupCategory(const char *text, B_LOG_CATEGORY *category) {
    if (text == nullptr) return eNOTFOUND;
    const B_LOG_CATEGORY_ENTRY *row =
        log_lookup(categoryTable, &B_LOG_CATEGORY_ENTRY::category_string, text);
    if (row == nullptr) return eNOTFOUND;
    *category = row->category_value;
    return sOKAY;
}

/* The lock of the design; as use_mutex is never stored, it is not taken. */
void log_lock(B_LOG_T *log) {
    if (log->use_mutex == ZEL_TRUE) psp_threadMutexEnter(&log->mutex);
}

void log_unlock(B_LOG_T *log) {
    if (log->use_mutex == ZEL_TRUE) psp_threadMutexExit(&log->mutex);
}

/* Where one message goes. */
struct LogTargets {
    bool toStderr;
    bool toFile;
};

LogTargets log_targets(const B_LOG_T *log, B_LOG_LEVEL level) {
    return {level <= log->stderrLevel, b_fileIsopen(&log->file_log) && level <= log->fileLevel};
}

/* The stamp "[YYYY-MM-DD HH:MM:SS.FFFF] " before a line of the log file. */
constexpr size_t kStampArea = 28;

int32_t log_str(B_FILE_T *file, bool logTime, const char *text) {
    if (logTime) {
        char stamp[1 + kStampArea + 2];
        stamp[0] = '[';
        if (zel_timestampNowAsString(0, stamp + 1, kStampArea) < 0) return -1;
        const size_t n = std::strlen(stamp);
        std::memcpy(stamp + n, "] ", 3);
        if (b_filePuts(file, stamp) < 0) return -1;
    }
    return b_filePuts(file, text);
}

void log_emit(B_LOG_T *log, LogTargets t, bool logTime, const char *text) {
    if (t.toStderr) (void)log_str(&log->file_stderr, false, text);
    if (t.toFile) (void)log_str(&log->file_log, logTime, text);
}

constexpr size_t kSmallText = 1024;
constexpr size_t kLargeText = B_SPRINTF_LIMIT;

/* A text over 1023 bytes: formatted again into the large area, cut at 65535
 * bytes. Out of line, so that short messages do not reserve its stack. */
[[gnu::noinline]] void log_printLarge(B_LOG_T *log, LogTargets t, bool logTime, const char *format,
                                      va_list args) {
    char text[kLargeText];
    if (b_vsnprintf(text, sizeof text, format, args) < 0) return;
    log_emit(log, t, logTime, text);
}

void log_printV(B_LOG_T *log, LogTargets t, bool logTime, const char *format, va_list args) {
    char text[kSmallText];
    const int n = b_vsnprintf(text, sizeof text, format, args);
    if (n < 0) return;
    if (size_t(n) < sizeof text) {
        log_emit(log, t, logTime, text);
    } else {
        log_printLarge(log, t, logTime, format, args);
    }
}

void log_print(B_LOG_T *log, LogTargets t, bool logTime, const char *format, ...)
    ZEL_PRINTF_FMT(4, 5);
void log_print(B_LOG_T *log, LogTargets t, bool logTime, const char *format, ...) {
    va_list args;
    va_start(args, format);
    log_printV(log, t, logTime, format, args);
    va_end(args);
}

void log_header(B_LOG_T *log, LogTargets t, const char *prefix, const char *fileName, int32_t line,
                int32_t column) {
    if (fileName != nullptr && prefix != nullptr) {
        log_print(log, t, true, "%s:%d:%d: %s: ", fileName, line, column, prefix);
    } else if (fileName != nullptr) {
        log_print(log, t, true, "%s:%d:%d: ", fileName, line, column);
    } else if (prefix != nullptr) {
        log_print(log, t, true, "%s: ", prefix);
    } else {
        log_emit(log, t, true, "*** ");
    }
}

/* A chunk's text as its own format with no arguments: "%%" becomes "%",
 * any other "%" sequence stays as it is. In place: the text only shrinks. */
void log_unescapePercent(char *text) {
    char *out = text;
    for (const char *in = text; *in != '\0'; in++) {
        *out++ = *in;
        if (in[0] == '%' && in[1] == '%') in++;
    }
    *out = '\0';
}

/* The chunk's text moved to `size` bytes. The tag's realloc of a small block
 * straight to a huge size copies the new size out of the old block, past its
 * end; that jump goes by a fresh buffer here, copying only the text. */
ZEL_RETCODE log_chunkGrow(LOG_CHUNK *chunk, size_t size, char **p) {
    const size_t held = chunk->buf != nullptr ? chunk->len + 1 : 0;
    if (held == 0 || held > B_TAG_SUB_SMALL_MAX || size <= B_TAG_SUB_PAGES_MAX)
        return b_tag_subReallocAny(chunk->subTag, chunk->buf, held, size, p);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(chunk->subTag, size, p));
    std::memcpy(*p, chunk->buf, held);
    b_tag_subFree(chunk->subTag, chunk->buf);
    return sOKAY;
}

int32_t log_chunkSend(B_LOG_T *log, LOG_CHUNK *chunk, B_LOG_LEVEL level, B_LOG_CATEGORY category,
                      bool header, const char *prefix, const char *fileName, int32_t line,
                      int32_t column) {
    if (chunk->buf == nullptr) return 0;
    log_unescapePercent(chunk->buf);
    const int32_t r = header ? b_logMessageWithHeader(log, level, category, prefix, fileName, line,
                                                      column, "%s", chunk->buf)
                             : b_logMessage(log, level, category, "%s", chunk->buf);
    b_tag_subFree(chunk->subTag, chunk->buf);
    chunk->buf = nullptr;
    chunk->len = 0;
    return r;
}

}  // namespace

ZEL_RETCODE b_logInit(B_LOG_T *log, B_LOG_LEVEL stderrLevel, B_LOG_LEVEL fileLevel,
                      const char *logFileName, ZEL_BOOL_T use_mutex) {
    std::memset(log, 0, sizeof *log);
    ZEL_RETCODE rc;
    if (use_mutex != ZEL_FALSE) ZEL_CHECK(rc = psp_threadMutexInit(&log->mutex));
    rc = b_fileOpenStderr(&log->file_stderr);
    if (rc >= 0 && logFileName != nullptr && logFileName[0] != '\0') {
        rc = b_fileOpen(&log->file_log, logFileName, B_FILE_FLAGS_APPEND);
    } else {
        b_fileInit(&log->file_log);
    }
    if (rc < 0) {
        if (use_mutex != ZEL_FALSE) psp_threadMutexTerm(&log->mutex);
        return rc;
    }
    log->stderrLevel = stderrLevel;
    log->fileLevel = fileLevel;
    log->categories = B_LOG_CATEGORY_ALL;
    /* kept: use_mutex is not stored, so the lock is never taken; a log is
     * used from one thread or under its caller's lock */
    return sOKAY;
}

void b_logTerm(B_LOG_T *log) {
    if (b_fileIsopen(&log->file_log)) b_fileClose(&log->file_log);
    (void)b_fileFlush(&log->file_stderr);
    if (log->use_mutex == ZEL_TRUE) psp_threadMutexTerm(&log->mutex);
}

void b_logSetFileLevel(B_LOG_T *log, B_LOG_LEVEL level) {
    log_lock(log);
    log->fileLevel = level;
    log_unlock(log);
}

B_LOG_LEVEL b_logGetFileLevel(B_LOG_T *log) {
    log_lock(log);
    const B_LOG_LEVEL level = log->fileLevel;
    log_unlock(log);
    return level;
}

void b_logSetStderrLevel(B_LOG_T *log, B_LOG_LEVEL level) {
    log_lock(log);
    log->stderrLevel = level;
    log_unlock(log);
}

B_LOG_LEVEL b_logGetStderrLevel(B_LOG_T *log) {
    log_lock(log);
    const B_LOG_LEVEL level = log->stderrLevel;
    log_unlock(log);
    return level;
}

ZEL_RETCODE b_logSetFileLevelString(B_LOG_T *log, const char *level) {
    B_LOG_LEVEL value;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = log_lookupLevel(level, &value));
    b_logSetFileLevel(log, value);
    return sOKAY;
}

ZEL_RETCODE b_logSetStderrLevelString(B_LOG_T *log, const char *level) {
    B_LOG_LEVEL value;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = log_lookupLevel(level, &value));
    b_logSetStderrLevel(log, value);
    return sOKAY;
}

ZEL_RETCODE b_logGetLevel(const char *levelString, B_LOG_LEVEL *plevelValue) {
    return log_lookupLevel(levelString, plevelValue);
}

ZEL_RETCODE b_logGetCategoryFromString(const char *categoryString, B_LOG_CATEGORY *pcategoryValue) {
    return log_lookupCategory(categoryString, pcategoryValue);
}

void b_logCategoryEnable(B_LOG_T *log, B_LOG_CATEGORY category) {
    log_lock(log);
    /* deliberate: the first enable narrows an all-categories log to that one */
    log->categories = log->categories == B_LOG_CATEGORY_ALL
                          ? category
                          : B_LOG_CATEGORY(log->categories | category);
    log_unlock(log);
}

ZEL_RETCODE b_logCategoryEnableString(B_LOG_T *log, const char *category) {
    B_LOG_CATEGORY value;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = log_lookupCategory(category, &value));
    b_logCategoryEnable(log, value);
    return sOKAY;
}

void b_logCategoryDisable(B_LOG_T *log, B_LOG_CATEGORY category) {
    log_lock(log);
    log->categories = B_LOG_CATEGORY(log->categories & ~category);
    log_unlock(log);
}

ZEL_RETCODE b_logCategoryDisableString(B_LOG_T *log, const char *category) {
    B_LOG_CATEGORY value;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = log_lookupCategory(category, &value));
    b_logCategoryDisable(log, value);
    return sOKAY;
}

void b_logSetCategory(B_LOG_T *log, B_LOG_CATEGORY categories) {
    log_lock(log);
    log->categories = categories;
    log_unlock(log);
}

B_LOG_CATEGORY b_logGetCategory(B_LOG_T *log) {
    log_lock(log);
    const B_LOG_CATEGORY categories = log->categories;
    log_unlock(log);
    return categories;
}

int32_t b_logMessage(B_LOG_T *log, B_LOG_LEVEL level, B_LOG_CATEGORY category, const char *format,
                     ...) {
    if ((category & log->categories) == 0) return 0;
    const LogTargets t = log_targets(log, level);
    if (!t.toStderr && !t.toFile) return 0;
    log_lock(log);
    va_list args;
    va_start(args, format);
    log_printV(log, t, true, format, args);
    va_end(args);
    log_emit(log, t, false, "\n"); /* kept: no flush per message */
    log_unlock(log);
    return 1;
}

int32_t b_logMessageWithHeader(B_LOG_T *log, B_LOG_LEVEL level, B_LOG_CATEGORY category,
                               const char *prefix, const char *fileName, int32_t line,
                               int32_t column, const char *format, ...) {
    if ((category & log->categories) == 0) return 0;
    const LogTargets t = log_targets(log, level);
    if (!t.toStderr && !t.toFile) return 0;
    log_lock(log);
    log_header(log, t, prefix, fileName, line, column);
    va_list args;
    va_start(args, format);
    log_printV(log, t, false, format, args);
    va_end(args);
    log_emit(log, t, false, "\n");
    log_unlock(log);
    return 1;
}

ZEL_RETCODE b_logFlush(B_LOG_T *log) {
    log_lock(log);
    ZEL_RETCODE rc = b_fileFlush(&log->file_stderr);
    if (b_fileIsopen(&log->file_log)) {
        const ZEL_RETCODE rcFile = b_fileFlush(&log->file_log);
        if (rc == sOKAY) rc = rcFile;
    }
    log_unlock(log);
    return rc;
}

void b_logChunkInit(LOG_CHUNK *chunk, B_TAG_SUB subTag) {
    chunk->buf = nullptr;
    chunk->len = 0;
    chunk->subTag = subTag;
}

ZEL_RETCODE b_logChunkAdd(LOG_CHUNK *chunk, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int n = b_vsnprintf(nullptr, 0, format, args);
    ZEL_RETCODE rc = n < 0 ? eNOMEMORY : sOKAY;
    char *p = nullptr;
    if (rc == sOKAY) rc = log_chunkGrow(chunk, chunk->len + size_t(n) + 1, &p);
    if (rc == sOKAY) {
        (void)b_vsnprintf(p + chunk->len, size_t(n) + 1, format, args);
        chunk->buf = p;
        chunk->len += size_t(n);
    }
    va_end(args);
    return rc;
}

int32_t b_logChunkWrite(B_LOG_T *log, LOG_CHUNK *chunk, B_LOG_LEVEL level,
                        B_LOG_CATEGORY category) {
    return log_chunkSend(log, chunk, level, category, false, nullptr, nullptr, 0, 0);
}

int32_t b_logChunkWriteWithHeader(B_LOG_T *log, LOG_CHUNK *chunk, B_LOG_LEVEL level,
                                  B_LOG_CATEGORY category, const char *prefix, const char *fileName,
                                  int32_t line, int32_t column) {
    return log_chunkSend(log, chunk, level, category, true, prefix, fileName, line, column);
}

void b_logChunkTerm(LOG_CHUNK *chunk) {
    if (chunk->buf != nullptr) b_tag_subFree(chunk->subTag, chunk->buf);
    chunk->buf = nullptr;
    chunk->len = 0;
    chunk->subTag = nullptr;
}

void b_logFinalToolMessage(ZEL_RETCODE rc_value, const char *tool) {
    if (rc_value == sOKAY) return;
    const char *message = nullptr;
    const char *name = nullptr;
    const ZEL_RETCODE lookup = zelErrorCodeDef(rc_value, &message, &name);
    if (lookup < 0 && zelErrorCodeDef(lookup, &message, &name) < 0) return;
    B_FILE_T err;
    if (b_fileOpenStderr(&err) < 0) return;
    if (tool == nullptr) tool = "";
    const char *slash = std::strrchr(tool, '/');
    (void)b_filePrintf(&err, "%s: error: %s: %s\n", slash != nullptr ? slash + 1 : tool, name,
                       message);
    b_fileClose(&err); /* flushes; descriptor 2 stays open */
}
