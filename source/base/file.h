/*
 * file.h - B_FILE_T, a text-aware file with one 4096-byte window and a sticky
 * failure code. A file opened for reading is checked for a byte order mark:
 * a UTF-16 file then reads as a stream of UTF-8 bytes. With `fmode` set to
 * B_FILE_MODE_UTF16 by hand, a stream of UTF-8 bytes written to it goes out
 * as 16-bit units in host order. The first platform failure is kept in
 * fileCache.rc and returned by every later operation until the file is
 * closed; the character calls hide it behind -1 and b_fgetState tells it.
 * Files are read and written in sequence: b_fileSeek moves only the logical
 * position, which is exact inside the window only. One thread at a time.
 */
#ifndef FILE_H
#define FILE_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#include "file_types.h"
#include "format.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* Zeroes the record: closed, UTF-8, fileHandle -1. */
void b_fileInit(B_FILE_T *file);
/* Opens `name` with `flags` (a B_FILE_FLAGS, or another PSP_FILE_OPEN_MODE).
 * A name that is the console reads and writes 16-bit units through the
 * console calls. B_FILE_FLAGS_READ looks for a byte order mark (EF BB BF:
 * UTF-8, bom_off 3; FF FE: UTF-16, bom_off 2; FE FF: the same with swap) and
 * leaves the mark in what a reader sees. Codes of psp_fileOpen, or of the
 * first read; the file is then closed. */
ZEL_NODISCARD ZEL_RETCODE b_fileOpen(B_FILE_T *file, const char *name, B_FILE_FLAGS flags);
/* The standard streams, as b_fileOpen without the mark check. */
ZEL_NODISCARD ZEL_RETCODE b_fileOpenStdin(B_FILE_T *file);
ZEL_NODISCARD ZEL_RETCODE b_fileOpenStdout(B_FILE_T *file);
ZEL_NODISCARD ZEL_RETCODE b_fileOpenStderr(B_FILE_T *file);
/* Flushes (a failure is dropped), closes the file (descriptors 0 to 2 stay
 * open) and leaves the record as b_fileInit does. Nothing for a closed file. */
void b_fileClose(B_FILE_T *file);
/* The sticky code: sOKAY, or the first failure. */
ZEL_RETCODE b_fgetState(const B_FILE_T *file);

/* The part of b_fileGetc out of line: pushback, UTF-16, a refill. */
int32_t b_fileGetcSlow(B_FILE_T *file);
/* The next byte of the UTF-8 stream (0 to 255), or -1 at the end or on a
 * failure. Pushed-back values come first. Inline, as getc_unlocked is: a
 * byte of the window costs a compare. (A mode set by hand on a file being
 * read takes effect at the next refill.) */
static inline int32_t b_fileGetc(B_FILE_T *file) {
    B_FILE_CACHE_T *c = &file->fileCache;
    if (c->off < c->getEnd) return (uint8_t)c->buff[c->off++ - c->buff_off];
    return b_fileGetcSlow(file);
}
/* Pushes `c` back; -1 when 20 are held, else c. */
int32_t b_fileUngetc(int32_t c, B_FILE_T *file);
/* Up to n - 1 bytes, the line feed kept if one is reached, and a terminator;
 * returns str. Null at once at the end, for n below 1 or a null str. */
char *b_fileGets(char *str, int32_t n, B_FILE_T *file);
/* A line of any length, the line feed kept; the last line may lack it. *buf
 * and *len are a buffer on `subTag` reused from call to call (null and 0 on
 * first use); they are written back as it grows, and the caller frees *buf
 * after the last call. Returns *buf, or null at the end. A memory failure also
 * gives null and is kept as the file's code (b_fgetState). */
char *b_fileGetLine(B_FILE_T *file, char **buf, size_t *len, B_TAG_SUB subTag);

/* One byte: 1, or 0 on a failure or a byte refused in UTF-16 mode. */
int32_t b_filePutc(B_FILE_T *file, int32_t c);
/* The bytes up to the terminator: their number, or -1 at the first byte that
 * fails. */
int32_t b_filePuts(B_FILE_T *file, const char *str);
/* Formatted (at most 4095 bytes, as b_vfnprintf): the byte count, or -1 when
 * the text does not format or the file has failed. */
int32_t b_fileVprintf(B_FILE_T *file, const char *format, va_list args);
int32_t b_filePrintf(B_FILE_T *file, const char *format, ...) ZEL_PRINTF_FMT(2, 3);

/* Raw bytes from the window, no pushback, no decoding. *pBytesRead (may be
 * null) gets the count; a short count with sOKAY is the end. */
ZEL_NODISCARD ZEL_RETCODE b_fileRead(B_FILE_T *file, void *buf, size_t bytes, size_t *pBytesRead);
/* As b_fileRead; eEOF on a short count. */
ZEL_NODISCARD ZEL_RETCODE b_fileReadExact(B_FILE_T *file, void *buf, size_t bytes);
/* Raw bytes into the window. */
ZEL_NODISCARD ZEL_RETCODE b_fileWrite(B_FILE_T *file, const void *buf, size_t bytes);
/* Sets the logical position relative to 0, off or size, and nothing else;
 * ePSP_FAILURE for an unknown origin; a kept failure is returned after the
 * move. *pPos (may be null) gets the position on success. */
ZEL_NODISCARD ZEL_RETCODE b_fileSeek(B_FILE_T *file, B_FILE_OFFSET pos, B_FILE_SEEK_T origin,
                                     B_FILE_OFFSET *pPos);
/* Flush and psp_fileSync; then eEOF if a UTF-8 character was left unfinished
 * in UTF-16 mode. */
ZEL_NODISCARD ZEL_RETCODE b_fileSync(B_FILE_T *file);
/* Writes what the window holds. */
ZEL_NODISCARD ZEL_RETCODE b_fileFlush(B_FILE_T *file);
ZEL_NODISCARD ZEL_RETCODE b_fileIsATTY(B_FILE_T *file, ZEL_BOOL_T *is_tty);
ZEL_NODISCARD ZEL_RETCODE b_fileSetEcho(B_FILE_T *file, ZEL_BOOL_T echo);
ZEL_BOOL_T b_fileIsopen(const B_FILE_T *file);
ZEL_BOOL_T b_fileIsStdin(const B_FILE_T *file);

ZEL_EXTERN_C_END

#endif /* FILE_H */
