/*
 * log.h - the log of a process: messages filtered by level and category,
 * written to standard error and, when a file name is given, appended to a
 * log file. A line in the file reads "[YYYY-MM-DD HH:MM:SS.FFFF] " (the UTC
 * time), an optional position header, the text and a line feed; standard
 * error gets the same without the stamp. Lines are gathered in the files'
 * windows and go out on b_logFlush, b_logTerm or a full window.
 *
 * The log takes no lock (see b_logInit): use it from one thread, or under
 * the caller's own lock.
 */
#ifndef LOG_H
#define LOG_H

#include <stdint.h>

#include "format.h"
#include "log_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* Opens standard error and, for a non-empty `logFileName`, the log file for
 * appending; all categories enabled. With `use_mutex` the mutex is made, but
 * the field use_mutex stays 0, so the lock is never taken. The code of the
 * mutex or of an open. */
ZEL_NODISCARD ZEL_RETCODE b_logInit(B_LOG_T *log, B_LOG_LEVEL stderrLevel, B_LOG_LEVEL fileLevel,
                                    const char *logFileName, ZEL_BOOL_T use_mutex);
/* Closes the log file, flushes standard error. */
void b_logTerm(B_LOG_T *log);

void b_logSetFileLevel(B_LOG_T *log, B_LOG_LEVEL level);
B_LOG_LEVEL b_logGetFileLevel(B_LOG_T *log);
void b_logSetStderrLevel(B_LOG_T *log, B_LOG_LEVEL level);
B_LOG_LEVEL b_logGetStderrLevel(B_LOG_T *log);
/* By name, in any letter case ("all", "error", "info", "mesg", "warning");
 * eNOTFOUND for another name and for null (an empty log option reaches the
 * parser as null). */
ZEL_NODISCARD ZEL_RETCODE b_logSetFileLevelString(B_LOG_T *log, const char *level);
ZEL_NODISCARD ZEL_RETCODE b_logSetStderrLevelString(B_LOG_T *log, const char *level);
ZEL_NODISCARD ZEL_RETCODE b_logGetLevel(const char *levelString, B_LOG_LEVEL *plevelValue);
/* "all", "ddl", "none" in any letter case; eNOTFOUND, also for null. */
ZEL_NODISCARD ZEL_RETCODE b_logGetCategoryFromString(const char *categoryString,
                                                     B_LOG_CATEGORY *pcategoryValue);

/* Adds to the mask; while the mask is B_LOG_CATEGORY_ALL the first enable
 * makes it just `category`. */
void b_logCategoryEnable(B_LOG_T *log, B_LOG_CATEGORY category);
ZEL_NODISCARD ZEL_RETCODE b_logCategoryEnableString(B_LOG_T *log, const char *category);
void b_logCategoryDisable(B_LOG_T *log, B_LOG_CATEGORY category);
ZEL_NODISCARD ZEL_RETCODE b_logCategoryDisableString(B_LOG_T *log, const char *category);
void b_logSetCategory(B_LOG_T *log, B_LOG_CATEGORY categories);
B_LOG_CATEGORY b_logGetCategory(B_LOG_T *log);

/* One line: 1, or 0 when the category or the levels filter it out. Texts of
 * more than 65535 bytes are cut there. */
int32_t b_logMessage(B_LOG_T *log, B_LOG_LEVEL level, B_LOG_CATEGORY category, const char *format,
                     ...) ZEL_PRINTF_FMT(4, 5);
/* A line with a position header: "file:line:column: prefix: ", without the
 * prefix part for a null prefix, "prefix: " for a null file name, "*** "
 * with neither. */
int32_t b_logMessageWithHeader(B_LOG_T *log, B_LOG_LEVEL level, B_LOG_CATEGORY category,
                               const char *prefix, const char *fileName, int32_t line,
                               int32_t column, const char *format, ...) ZEL_PRINTF_FMT(8, 9);
/* Flushes both files; the first failure. */
ZEL_NODISCARD ZEL_RETCODE b_logFlush(B_LOG_T *log);

/* ---- Chunks: a long message in pieces, private to its writer. */

void b_logChunkInit(LOG_CHUNK *chunk, B_TAG_SUB subTag);
/* Appends formatted text. eNOMEMORY when the text does not format, else the
 * tag's code; the chunk then stands. */
ZEL_NODISCARD ZEL_RETCODE b_logChunkAdd(LOG_CHUNK *chunk, const char *format, ...)
    ZEL_PRINTF_FMT(2, 3);
/* Sends the text as one message, then frees it and empties the chunk;
 * nothing for an empty chunk. In the text "%%" stands for "%", and other "%"
 * sequences are written as they stand. As b_logMessage returns. */
int32_t b_logChunkWrite(B_LOG_T *log, LOG_CHUNK *chunk, B_LOG_LEVEL level, B_LOG_CATEGORY category);
int32_t b_logChunkWriteWithHeader(B_LOG_T *log, LOG_CHUNK *chunk, B_LOG_LEVEL level,
                                  B_LOG_CATEGORY category, const char *prefix, const char *fileName,
                                  int32_t line, int32_t column);
/* Frees the text; subTag null. */
void b_logChunkTerm(LOG_CHUNK *chunk);

/* The end-of-run report of a command-line tool: for a code other than 0,
 * "tool: error: NAME: message" on standard error, with the tool's name after
 * its last "/", flushed at once. An unknown code reports the lookup's own
 * failure. */
void b_logFinalToolMessage(ZEL_RETCODE rc_value, const char *tool);

ZEL_EXTERN_C_END

#endif /* LOG_H */
