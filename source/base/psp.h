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
/* Gives back a block of psp_memAlloc; `size` is the size it was asked with. */
void psp_memFree(void *buf, size_t size);
/* As psp_memAlloc, aligned to 4096 bytes. */
ZEL_NODISCARD ZEL_RETCODE psp_memAlignAlloc(size_t size, void **pBuf);
/* Gives back a block of psp_memAlignAlloc, with its size as asked. */
void psp_memAlignFree(void *buf, size_t size);

/* ---- Threads. */

/* sOKAY, or ePSP_MUTEX_FAILURE when the system refuses a mutex. */
ZEL_NODISCARD ZEL_RETCODE psp_threadMutexInit(PSP_THREAD_MUTEX_T *mutex);
/* Ends an unlocked mutex; nothing may wait on it. */
void psp_threadMutexTerm(PSP_THREAD_MUTEX_T *mutex);
/* Not recursive: no caller takes a lock it holds. Exit is called by the
 * holder only. */
void psp_threadMutexEnter(PSP_THREAD_MUTEX_T *mutex);
void psp_threadMutexExit(PSP_THREAD_MUTEX_T *mutex);

/* A manual-reset event, not set: a wait blocks until a resume. sOKAY;
 * ePSP_MUTEX_FAILURE or ePSP_FAILURE when the system refuses its parts. */
ZEL_NODISCARD ZEL_RETCODE psp_threadEventInit(PSP_THREAD_EVENT_T *event);
/* Ends an event that nothing waits on. */
void psp_threadEventTerm(PSP_THREAD_EVENT_T *event);
/* Arms the event: a following wait blocks until a resume. */
void psp_threadEventStart(PSP_THREAD_EVENT_T *event);
/* Sets the event: the waiter, present or later, goes on. The waiter may go on
 * before this call has returned: the event must not be ended until it has. */
void psp_threadEventResume(PSP_THREAD_EVENT_T *event);
/* Blocks until resumed. `timeout` in milliseconds, PSP_WAIT_FOREVER for no
 * limit. sOKAY; sTIMEOUT when the time ran out; ePSP_DEADLOCK when the wait
 * cannot be done. */
ZEL_NODISCARD ZEL_RETCODE psp_threadEventWait(PSP_THREAD_EVENT_T *event, uint32_t timeout);

/* Starts `fcn(arg)` on a new thread. `stack_size` 0 means the platform's
 * default (others are raised to the minimum and rounded up to a page).
 * `priority` is accepted and not applied on Linux. `name` (may be null) names
 * the thread, cut to 15 bytes. eINVNULLARG; eNOMEMORY when the system has no
 * room for another thread; ePSP_FAILURE. */
ZEL_NODISCARD ZEL_RETCODE psp_threadBegin(psp_thread_t *thread, PSP_THREAD_FCN fcn,
                                          size_t stack_size, void *arg, int32_t priority,
                                          const char *name);
/* Waits for the thread's end; its result is then in thread->rc. ePSP_DEADLOCK
 * when a thread joins itself; ePSP_FAILURE otherwise. */
ZEL_RETCODE psp_threadJoin(psp_thread_t *thread);
/* Lets another runnable thread have the processor (sched_yield). */
void psp_threadYield(void);

/* ---- Files. Offsets are PSP_FILE_OFFSET, transfer lengths 32-bit. */

/* Opens `name` with one of the PSP_FILE_OPEN_MODE values (others: eOPENMODE).
 * sOKAY; sFILE_CONSOLE, with *pFile set, when the name denotes the console:
 * "CON" (any letter case) stands for the controlling terminal /dev/tty, and
 * any name that opens a terminal is one. eFILEACCESS (no permission,
 * read-only file system), eFILEEXIST (must not exist but does), eFILENOENTRY
 * (absent, or a path part is no directory), eFILEISDIR (a directory),
 * eFILEOPEN for other failures. Descriptors are close-on-exec. */
ZEL_NODISCARD ZEL_RETCODE psp_fileOpen(const char *name, PSP_FILE_OPEN_MODE mode,
                                       PSP_FILE_T *pFile);
/* Closes the descriptor (0, 1 and 2 too); eFILEIO when the system reports a
 * failure, the descriptor being closed anyway. */
ZEL_RETCODE psp_fileClose(PSP_FILE_T file);
/* Descriptors 0, 1 and 2: sOKAY, or sFILE_CONSOLE when the stream is a
 * terminal. *pFile is written either way. */
ZEL_NODISCARD ZEL_RETCODE psp_fileGetStdin(PSP_FILE_T *pFile);
ZEL_NODISCARD ZEL_RETCODE psp_fileGetStdout(PSP_FILE_T *pFile);
ZEL_NODISCARD ZEL_RETCODE psp_fileGetStderr(PSP_FILE_T *pFile);
/* sOKAY with the length; sFILE_CONSOLE, with a length of 0, for a terminal. */
ZEL_NODISCARD ZEL_RETCODE psp_fileLength(PSP_FILE_T file, PSP_FILE_OFFSET *pLength);
/* Reads until `wanted` bytes or the end of the input (so a pipe is read until
 * it is full or closed): a short or zero count with sOKAY means the end. */
ZEL_NODISCARD ZEL_RETCODE psp_fileRead(PSP_FILE_T file, void *buf, uint32_t wanted,
                                       uint32_t *pRead);
/* All bytes or a failure: eNOSPACE, eBROKENPIPE, eFILEIO... */
ZEL_NODISCARD ZEL_RETCODE psp_fileWrite(PSP_FILE_T file, const void *buf, uint32_t bytes);
/* The console speaks UTF-16 units in host order (the console mode of the file
 * layer), the terminal UTF-8. A console read takes what one read of the
 * terminal gives (a line, as a rule; at most `wanted` / 2 - 3 bytes and 1024,
 * so that the units fit), finishes a sequence the read cut, and hands back
 * the units; bad UTF-8 becomes U+FFFD. `wanted` must be at least 8
 * (eINVARG). sOKAY with a zero count at the end of the input. */
ZEL_NODISCARD ZEL_RETCODE psp_fileConsoleRead(PSP_FILE_T file, void *buf, uint32_t wanted,
                                              uint32_t *pRead);
/* Writes `bytes` / 2 units as UTF-8 to the terminal; a lone surrogate becomes
 * U+FFFD and an odd last byte is dropped. */
ZEL_NODISCARD ZEL_RETCODE psp_fileConsoleWrite(PSP_FILE_T file, const void *buf, uint32_t bytes);
/* `origin` 0 is the start of the file, 1 the current position, 2 the end
 * (others: eINVARG); from 1 and 2 the offset is read as a signed 64-bit
 * distance. `pPosition` may be null. eRANGE for a position before the start
 * or beyond the largest offset. */
ZEL_NODISCARD ZEL_RETCODE psp_fileSeek(PSP_FILE_T file, PSP_FILE_OFFSET offset, int32_t origin,
                                       PSP_FILE_OFFSET *pPosition);
/* Positioned transfers (pread/pwrite): they leave the file position alone.
 * The read has psp_fileRead's short-count rule. */
ZEL_NODISCARD ZEL_RETCODE psp_fileSeekRead(PSP_FILE_T file, PSP_FILE_OFFSET offset, void *buf,
                                           uint32_t wanted, uint32_t *pRead);
ZEL_NODISCARD ZEL_RETCODE psp_fileSeekWrite(PSP_FILE_T file, PSP_FILE_OFFSET offset,
                                            const void *buf, uint32_t bytes);
/* Truncates or extends (with zeros). eINVARG when the file cannot be sized
 * (not open for writing, no regular file). */
ZEL_NODISCARD ZEL_RETCODE psp_fileSetSize(PSP_FILE_T file, PSP_FILE_OFFSET size);
/* Data and length are on the medium (fsync). A terminal or pipe is done. */
ZEL_NODISCARD ZEL_RETCODE psp_fileSync(PSP_FILE_T file);
/* Codes as psp_fileOpen, eFILEIO for the rest. */
ZEL_RETCODE psp_fileRemove(const char *name);
/* eINVHANDLE for a descriptor that is not open. */
ZEL_NODISCARD ZEL_RETCODE psp_fileIsATTY(PSP_FILE_T file, ZEL_BOOL_T *pIsTTY);
/* Turns terminal echo on or off; sOKAY and nothing done for a non-terminal. */
ZEL_NODISCARD ZEL_RETCODE psp_fileSetEcho(PSP_FILE_T file, ZEL_BOOL_T on);
/* An exclusive advisory lock on the whole file, not waiting. sOKAY;
 * eFILEACCESS when another holder has it; eNOTIMPLEMENTED when the file
 * system cannot lock; eINVHANDLE when the file is not open for writing.
 * Mechanism: fcntl open-file-description locks (F_OFD_SETLK), not flock.
 * They are POSIX record locks, so they mean the same on a local disk and on
 * NFS (where Linux turns flock into record locks anyway) and they see the
 * fcntl locks of other programs; yet they are owned like flock's: by this open
 * file, so a second open of the same file in this process conflicts, and
 * closing some other descriptor of the file does not drop the lock (both of
 * which classic F_SETLK gets wrong). The lock ends with psp_fileUnlock or the
 * last close of the descriptor. */
ZEL_NODISCARD ZEL_RETCODE psp_fileLock(PSP_FILE_T file);
/* Drops the lock of psp_fileLock; sOKAY also when none was held, the
 * system's code as with psp_fileOpen for a descriptor it refuses. */
ZEL_RETCODE psp_fileUnlock(PSP_FILE_T file);

/* ---- Directories. */

/* sOKAY for a directory; eFILENOENTRY when absent; eFILEEXIST when something
 * else stands at that name; else as psp_fileOpen. */
ZEL_NODISCARD ZEL_RETCODE psp_fileIsDir(const char *path);
/* The current directory; *pDir points into `cd`. eRANGE when it needs more
 * than 511 bytes. */
ZEL_NODISCARD ZEL_RETCODE psp_fileCurrDir(PSP_FILE_CURR_DIR_T *cd, const char **pDir);
/* Starts a scan of the directory `path`; codes as psp_fileIsDir. */
ZEL_NODISCARD ZEL_RETCODE psp_fileDirOpen(PSP_FILE_DIR_T *dir, const char *path);
/* sOKAY with the next entry's name, or with null after the last. "." and ".."
 * are left out. The name lives until the next call on `dir`. */
ZEL_NODISCARD ZEL_RETCODE psp_fileDirNext(PSP_FILE_DIR_T *dir, const char **pName);
/* Ends a scan; the last name given is gone. */
void psp_fileDirClose(PSP_FILE_DIR_T *dir);
/* Mode 0777 less the umask. eFILEEXIST, eFILENOENTRY, eFILEACCESS; eMKDIR. */
ZEL_RETCODE psp_fileDirCreate(const char *path);
/* Removes an empty directory; eFILEIO when it is not empty. */
ZEL_RETCODE psp_fileDirRemove(const char *path);

/* ---- Time and environment. */

/* Nanoseconds since 1970-01-01 00:00:00 UTC. */
uint64_t psp_timeUTCNanoSecs(void);
/* Nanoseconds of a monotonic clock, for intervals. */
uint64_t psp_timeMeasureNanoSecs(void);
/* This process's number. */
uint64_t psp_envProcesID(void);
/* A new 64-bit value of high entropy: the kernel's random bits (getrandom)
 * mixed with `previous` (0 at first) and the clocks. */
uint64_t psp_envSeed(uint64_t previous);

/* ---- Collation. */

/* Loads the collation of the named locale ("C" always works). eINVLOCALE for
 * an unknown locale and for "", which would mean the environment's. */
ZEL_NODISCARD ZEL_RETCODE psp_collateInit(psp_collate_t *collate, const char *locale_name);
/* Gives back a collation of psp_collateInit; its `locale` becomes null. */
void psp_collateTerm(psp_collate_t *collate);
/* Negative, zero or positive; takes the `locale` field of a psp_collate_t, a
 * null one comparing bytes. */
int psp_collateStrcmp(void *locale, const char *a, const char *b);
/* Non-zero when the two collations sort alike: same collation data by name,
 * with "C", "POSIX" and no collation (null) all alike. */
int psp_collateCompare(const psp_collate_t *a, const psp_collate_t *b);

/* ---- Mathematics: the C library's functions, whatever the process's
 * floating-point environment; no code, NaN and infinities pass through. */

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
/* Non-zero for a number that is neither NaN nor infinite. */
int psp_mathDoubleIsFinite(double x);

/* ---- Strings. */

/* Byte order, as strcmp and strncmp: negative, zero or positive. The texts
 * must not be null. */
int psp_strcmp(const char *a, const char *b);
int psp_strncmp(const char *a, const char *b, size_t n);
/* The texts must not be null. psp_strcasecmp: 0 when equal but for ASCII
 * letter case, whatever the process's locale; otherwise ordered as the texts
 * folded to lower case. */
int psp_strcasecmp(const char *a, const char *b);
/* Copies and always leaves a terminating zero within `dst_size` (nothing when
 * it is 0; a null `src` copies as ""); returns dst. */
char *psp_strncpyZ(char *dst, const char *src, size_t dst_size);
/* Upper-cases ASCII letters in place; returns s. */
char *psp_strupr(char *s);
/* Reentrant token splitting, as strtok_r; all state lives in *pContext. */
char *psp_strtok(char *s, const char *delimiters, char **pContext);
/* Strict decimal integers: blanks, an optional sign, digits, blanks and
 * nothing else. eINVLITERAL for any other text (garbage wins over size);
 * eRANGE out of range ("-0" is 0 for the unsigned form, other negatives are
 * eRANGE); eINVNULLARG. *pValue is written only on success. */
ZEL_NODISCARD ZEL_RETCODE psp_stratoi64(const char *s, int64_t *pValue);
ZEL_NODISCARD ZEL_RETCODE psp_stratoui64(const char *s, uint64_t *pValue);
/* The double at the start of `s`, with no error report: 0 when there is no
 * number, an infinity on overflow. */
double psp_stratof(const char *s);
/* Exact (correctly rounded) conversion of a text that the conversion engine
 * has already checked, independent of the process's locale. Blanks around
 * the number are allowed; anything else left over is eINVLITERAL. Overflow
 * is eRANGE, underflow a zero of the text's sign. The digit counts are not
 * needed and are ignored; `reserved` is 0. */
ZEL_NODISCARD ZEL_RETCODE psp_strToDouble(const char *s, double *pValue, int32_t magnitude_digits,
                                          int32_t decimal_digits, int32_t reserved);
/* As psp_strToDouble, rounded once to float. */
ZEL_NODISCARD ZEL_RETCODE psp_strToFloat(const char *s, float *pValue, int32_t magnitude_digits,
                                         int32_t decimal_digits, int32_t reserved);

ZEL_EXTERN_C_END

#endif /* PSP_H */
