/*
 * psp.h - the platform support layer: the one place where the library meets
 * the operating system (Linux: POSIX threads, file descriptors, the C
 * library). Every function may be called from any thread at the same time.
 * Functions returning ZEL_RETCODE return sOKAY on success.
 */
#ifndef PSP_H
#define PSP_H

#include <stddef.h>
#include <stdint.h>

#include "psptypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* ---- Memory: only large blocks and huge buffers of the tags come from here. */

/* Memory of `size` bytes, no alignment promised. The failure code is handed on
 * unchanged by the tags. */
ZEL_NODISCARD ZEL_RETCODE psp_memAlloc(size_t size, void **pBuf);
void psp_memFree(void *buf, size_t size);
/* As psp_memAlloc, aligned to 4096 bytes. */
ZEL_NODISCARD ZEL_RETCODE psp_memAlignAlloc(size_t size, void **pBuf);
void psp_memAlignFree(void *buf, size_t size);

/* ---- Threads. */

ZEL_NODISCARD ZEL_RETCODE psp_threadMutexInit(PSP_THREAD_MUTEX_T *mutex);
void psp_threadMutexTerm(PSP_THREAD_MUTEX_T *mutex);
/* Not recursive: no caller takes a lock it holds. */
void psp_threadMutexEnter(PSP_THREAD_MUTEX_T *mutex);
void psp_threadMutexExit(PSP_THREAD_MUTEX_T *mutex);

ZEL_NODISCARD ZEL_RETCODE psp_threadEventInit(PSP_THREAD_EVENT_T *event);
void psp_threadEventTerm(PSP_THREAD_EVENT_T *event);
/* Arms the event: a following wait blocks until a resume. */
void psp_threadEventStart(PSP_THREAD_EVENT_T *event);
/* Sets the event: the waiter, present or later, goes on. */
void psp_threadEventResume(PSP_THREAD_EVENT_T *event);
/* Blocks until resumed. `timeout` in milliseconds, PSP_WAIT_FOREVER for no
 * limit. sOKAY; sTIMEOUT when the time ran out; ePSP_DEADLOCK when the wait
 * cannot be done. */
ZEL_NODISCARD ZEL_RETCODE psp_threadEventWait(PSP_THREAD_EVENT_T *event, uint32_t timeout);

/* Starts `fcn(arg)` on a new thread. `stack_size` 0 and `priority` 0 mean the
 * platform's defaults; `name` names the thread (cut to what the OS keeps). */
ZEL_NODISCARD ZEL_RETCODE psp_threadBegin(psp_thread_t *thread, PSP_THREAD_FCN fcn,
                                          size_t stack_size, void *arg, int32_t priority,
                                          const char *name);
/* Waits for the thread's end; its result is then in thread->rc. */
ZEL_RETCODE psp_threadJoin(psp_thread_t *thread);

/* ---- Files. Offsets are PSP_FILE_OFFSET, transfer lengths 32-bit. */

/* sOKAY; sFILE_CONSOLE when `name` denotes the console ("CON", "/dev/tty");
 * eFILEACCESS, eFILEEXIST, eFILENOENTRY by the failure. */
ZEL_NODISCARD ZEL_RETCODE psp_fileOpen(const char *name, PSP_FILE_OPEN_MODE mode,
                                       PSP_FILE_T *pFile);
ZEL_RETCODE psp_fileClose(PSP_FILE_T file);
/* sOKAY, or sFILE_CONSOLE when the stream is a terminal. */
ZEL_NODISCARD ZEL_RETCODE psp_fileGetStdin(PSP_FILE_T *pFile);
ZEL_NODISCARD ZEL_RETCODE psp_fileGetStdout(PSP_FILE_T *pFile);
ZEL_NODISCARD ZEL_RETCODE psp_fileGetStderr(PSP_FILE_T *pFile);
ZEL_NODISCARD ZEL_RETCODE psp_fileLength(PSP_FILE_T file, PSP_FILE_OFFSET *pLength);
/* At the end of the file: sOKAY with a short or zero count. */
ZEL_NODISCARD ZEL_RETCODE psp_fileRead(PSP_FILE_T file, void *buf, uint32_t wanted,
                                       uint32_t *pRead);
/* All bytes or a failure. */
ZEL_NODISCARD ZEL_RETCODE psp_fileWrite(PSP_FILE_T file, const void *buf, uint32_t bytes);
ZEL_NODISCARD ZEL_RETCODE psp_fileConsoleRead(PSP_FILE_T file, void *buf, uint32_t wanted,
                                              uint32_t *pRead);
ZEL_NODISCARD ZEL_RETCODE psp_fileConsoleWrite(PSP_FILE_T file, const void *buf,
                                               uint32_t bytes);
/* `origin` 0 is the start of the file, 1 the current position, 2 the end.
 * `pPosition` may be null. */
ZEL_NODISCARD ZEL_RETCODE psp_fileSeek(PSP_FILE_T file, PSP_FILE_OFFSET offset, int32_t origin,
                                       PSP_FILE_OFFSET *pPosition);
/* Positioned transfers; they leave no position for others to depend on. */
ZEL_NODISCARD ZEL_RETCODE psp_fileSeekRead(PSP_FILE_T file, PSP_FILE_OFFSET offset, void *buf,
                                           uint32_t wanted, uint32_t *pRead);
ZEL_NODISCARD ZEL_RETCODE psp_fileSeekWrite(PSP_FILE_T file, PSP_FILE_OFFSET offset,
                                            const void *buf, uint32_t bytes);
ZEL_NODISCARD ZEL_RETCODE psp_fileSetSize(PSP_FILE_T file, PSP_FILE_OFFSET size);
ZEL_NODISCARD ZEL_RETCODE psp_fileSync(PSP_FILE_T file);
ZEL_RETCODE psp_fileRemove(const char *name);
ZEL_NODISCARD ZEL_RETCODE psp_fileIsATTY(PSP_FILE_T file, ZEL_BOOL_T *pIsTTY);
ZEL_NODISCARD ZEL_RETCODE psp_fileSetEcho(PSP_FILE_T file, ZEL_BOOL_T on);
/* An exclusive advisory lock on the whole file, not waiting (see psp.cpp for
 * the mechanism). sOKAY; eFILEACCESS when another holder has it;
 * eNOTIMPLEMENTED when the file system cannot lock. */
ZEL_NODISCARD ZEL_RETCODE psp_fileLock(PSP_FILE_T file);
ZEL_RETCODE psp_fileUnlock(PSP_FILE_T file);

/* ---- Directories. */

/* sOKAY for a directory; eFILENOENTRY when absent; else as psp_fileOpen. */
ZEL_NODISCARD ZEL_RETCODE psp_fileIsDir(const char *path);
/* The current directory; *pDir may point into `cd`. */
ZEL_NODISCARD ZEL_RETCODE psp_fileCurrDir(PSP_FILE_CURR_DIR_T *cd, const char **pDir);
ZEL_NODISCARD ZEL_RETCODE psp_fileDirOpen(PSP_FILE_DIR_T *dir, const char *path);
/* sOKAY with the next entry's name, or with null after the last. */
ZEL_NODISCARD ZEL_RETCODE psp_fileDirNext(PSP_FILE_DIR_T *dir, const char **pName);
void psp_fileDirClose(PSP_FILE_DIR_T *dir);
ZEL_RETCODE psp_fileDirCreate(const char *path);
ZEL_RETCODE psp_fileDirRemove(const char *path);

/* ---- Time and environment. */

/* Nanoseconds since 1970-01-01 00:00:00 UTC. */
uint64_t psp_timeUTCNanoSecs(void);
/* Nanoseconds of a monotonic clock, for intervals. */
uint64_t psp_timeMeasureNanoSecs(void);
uint64_t psp_envProcesID(void);
/* A new 64-bit value of high entropy; `previous` is 0 at first. */
uint64_t psp_envSeed(uint64_t previous);

/* ---- Collation. */

ZEL_NODISCARD ZEL_RETCODE psp_collateInit(psp_collate_t *collate, const char *locale_name);
void psp_collateTerm(psp_collate_t *collate);
/* Negative, zero or positive; takes the `locale` field of a psp_collate_t. */
int psp_collateStrcmp(void *locale, const char *a, const char *b);
/* Non-zero when the two collations sort alike. */
int psp_collateCompare(const psp_collate_t *a, const psp_collate_t *b);

/* ---- Mathematics. */

double psp_mathDoubleAbs(double x);
double psp_mathDoubleCeil(double x);
double psp_mathDoubleFloor(double x);
double psp_mathDoubleLog10(double x);
double psp_mathDoubleSqrt(double x);
double psp_mathDoublePow(double base, double exponent);
float psp_mathFloatCeil(float x);
float psp_mathFloatFloor(float x);
/* Non-zero when the value is of that kind; the sign is written to `pSign`
 * unless it is null. */
int psp_mathDoubleIsNan(PSP_MATH_SIGN *pSign, double x);
int psp_mathDoubleIsInf(PSP_MATH_SIGN *pSign, double x);
int psp_mathFloatIsNan(PSP_MATH_SIGN *pSign, float x);
int psp_mathFloatIsInf(PSP_MATH_SIGN *pSign, float x);
int psp_mathDoubleIsFinite(double x);

/* ---- Strings. */

int psp_strcmp(const char *a, const char *b);
int psp_strncmp(const char *a, const char *b, size_t n);
/* 0 when equal but for ASCII letter case. */
int psp_strcasecmp(const char *a, const char *b);
/* Copies and always leaves a terminating zero within `dst_size`; returns dst. */
char *psp_strncpyZ(char *dst, const char *src, size_t dst_size);
/* Upper-cases ASCII letters in place; returns s. */
char *psp_strupr(char *s);
/* Reentrant token splitting; all state lives in *pContext. */
char *psp_strtok(char *s, const char *delimiters, char **pContext);
/* A failure (eINVLITERAL, eRANGE) for text that is no number or out of range. */
ZEL_NODISCARD ZEL_RETCODE psp_stratoi64(const char *s, int64_t *pValue);
ZEL_NODISCARD ZEL_RETCODE psp_stratoui64(const char *s, uint64_t *pValue);
/* A double, with no error report. */
double psp_stratof(const char *s);
/* Exact conversion of a text that the conversion engine has already checked.
 * The digit counts are hints and may be ignored; `reserved` is 0. */
ZEL_NODISCARD ZEL_RETCODE psp_strToDouble(const char *s, double *pValue,
                                          int32_t magnitude_digits, int32_t decimal_digits,
                                          int32_t reserved);
ZEL_NODISCARD ZEL_RETCODE psp_strToFloat(const char *s, float *pValue, int32_t magnitude_digits,
                                         int32_t decimal_digits, int32_t reserved);

ZEL_EXTERN_C_END

#endif /* PSP_H */
