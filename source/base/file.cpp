/*
 * file.cpp - the text-aware file: one 4096-byte window over a descriptor, and
 * a character layer on it that turns 16-bit units into UTF-8 bytes and back.
 *
 * The one idea: every transfer goes through the window, and the window makes
 * no positioned call. A read that leaves it refills it with 4096 bytes from
 * wherever the platform's position stands; a write that leaves it flushes
 * what it gathered there. So a file read or written in sequence costs one
 * platform call per 4096 bytes, and b_fileSeek, which moves only the logical
 * position `off`, is exact inside the window only. The first platform
 * failure is kept in the cache and returned by everything after it.
 *
 * Characters: in UTF-16 mode b_fileGetc makes UTF-8 of each unit, returns
 * the first byte and pushes the rest on the pushback stack; b_filePutc
 * gathers the bytes of one UTF-8 character in `val` and writes its units.
 */
#include "file.h"

#include <cstring>

#include "psp.h"
#include "tag_sub.h"
#include "utf8.h"

static_assert(int(B_FILE_FLAGS_READ) == int(PSP_FILE_READ));
static_assert(int(B_FILE_FLAGS_WRITE) == int(PSP_FILE_WRITE));
static_assert(int(B_FILE_FLAGS_WRITE_NEW) == int(PSP_FILE_WRITE_NEW));
static_assert(int(B_FILE_FLAGS_APPEND) == int(PSP_FILE_APPEND));

namespace {

constexpr uint32_t kAccessMask = 3; /* O_RDONLY, O_WRONLY, O_RDWR */
constexpr uint32_t kWriteOnly = 1;
constexpr int32_t kLoneLowSurrogate = '.';
/* b_fileGetLine: the first buffer and each growth step. */
constexpr size_t kLineStep = 100;

/* ---- The window. */

ZEL_RETCODE file_fail(B_FILE_CACHE_T *c, ZEL_RETCODE rc) {
    if (c->rc == sOKAY) c->rc = rc;
    c->getEnd = 0;
    return rc;
}

/* The offset of `off` in the window when a byte is valid there, else -1. */
inline int64_t file_inWindow(const B_FILE_CACHE_T *c) {
    const uint64_t i = c->off - c->buff_off; /* wraps when off is below */
    return i < c->bytes ? int64_t(i) : -1;
}

/* Writes what the window gathered and moves it to `off`. The bytes written
 * are the window's valid bytes, which in sequence are off - buff_off. */
ZEL_RETCODE file_flushModified(B_FILE_CACHE_T *c) {
    if (c->modified == 0) return sOKAY;
    const uint32_t n = uint32_t(c->bytes);
    ZEL_RETCODE rc = c->isConsole ? psp_fileConsoleWrite(c->fileHandle, c->buff, n)
                                  : psp_fileWrite(c->fileHandle, c->buff, n);
    c->modified = 0;
    c->buff_off = c->off;
    c->bytes = 0;
    c->getEnd = 0;
    return rc < 0 ? file_fail(c, rc) : sOKAY;
}

/* Flushes, then starts the window at `off` and fills it from the platform's
 * present position. Write modes never read; a file opened by name for
 * reading stops at its known size without asking. */
ZEL_RETCODE file_reposition(B_FILE_CACHE_T *c) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = file_flushModified(c));
    c->buff_off = c->off;
    c->bytes = 0;
    c->getEnd = 0;
    if (c->writeOnly || (c->sizeKnown && c->off >= c->size)) return sOKAY;
    uint32_t got = 0;
    rc = c->isConsole ? psp_fileConsoleRead(c->fileHandle, c->buff, B_FILE_WINDOW, &got)
                      : psp_fileRead(c->fileHandle, c->buff, B_FILE_WINDOW, &got);
    if (rc < 0) return file_fail(c, rc);
    c->bytes = got;
    return sOKAY;
}

/* Up to `n` bytes from `off`; a short count with sOKAY is the end. */
ZEL_RETCODE file_cacheRead(B_FILE_CACHE_T *c, void *dst, size_t n, size_t *pGot) {
    auto *out = static_cast<uint8_t *>(dst);
    size_t got = 0;
    ZEL_RETCODE rc = c->rc;
    while (rc == sOKAY && got < n) {
        const int64_t i = file_inWindow(c);
        if (i < 0) {
            if ((rc = file_reposition(c)) < 0 || c->bytes == 0) break;
            continue;
        }
        size_t k = c->bytes - size_t(i);
        if (k > n - got) k = n - got;
        std::memcpy(out + got, c->buff + i, k);
        c->off += k;
        got += k;
    }
    *pGot = got;
    return rc;
}

ZEL_RETCODE file_cacheWrite(B_FILE_CACHE_T *c, const void *src, size_t n) {
    const auto *in = static_cast<const uint8_t *>(src);
    ZEL_RETCODE rc = c->rc;
    while (rc == sOKAY && n > 0) {
        uint64_t i = c->off - c->buff_off;
        if (i >= B_FILE_WINDOW) {
            if ((rc = file_reposition(c)) < 0) break;
            i = 0;
        }
        size_t k = B_FILE_WINDOW - size_t(i);
        if (k > n) k = n;
        std::memcpy(c->buff + i, in, k);
        c->modified = 1;
        c->off += k;
        if (i + k > c->bytes) c->bytes = size_t(i + k);
        if (c->off > c->size) c->size = c->off;
        in += k;
        n -= k;
    }
    return rc;
}

/* ---- Characters. */

/* One 16-bit unit in host order, its bytes exchanged when `swap`. */
bool file_readUnit(B_FILE_T *file, bool swap, uint16_t *unit) {
    B_FILE_CACHE_T *c = &file->fileCache;
    uint8_t two[2];
    const int64_t i = file_inWindow(c);
    if (c->rc == sOKAY && i >= 0 && c->bytes - size_t(i) >= 2) {
        std::memcpy(two, c->buff + i, 2);
        c->off += 2;
    } else {
        size_t got = 0;
        if (file_cacheRead(c, two, 2, &got) != sOKAY || got != 2) return false;
    }
    uint16_t u;
    std::memcpy(&u, two, 2);
    *unit = swap ? uint16_t(u >> 8 | u << 8) : u;
    return true;
}

int32_t file_getcUtf16(B_FILE_T *file) {
    uint16_t unit;
    if (!file_readUnit(file, file->swap != 0, &unit)) return -1;
    if (unit >= 0xDC00 && unit <= 0xDFFF)
        return kLoneLowSurrogate; /* kept: a lone low half reads as "." */
    uint32_t cp = unit;
    if (unit >= 0xD800 && unit <= 0xDBFF) {
        uint16_t low;
        /* kept: the unit after a high half is read as it stands, neither swapped
         * nor checked to be a low half; files written so read back the same */
        if (!file_readUnit(file, false, &low)) return -1;
        cp = 0x10000 + ((uint32_t(unit) & 0x3FF) << 10) + (uint32_t(low) & 0x3FF);
    }
    uint8_t enc[4];
    const uint32_t n = b_utf8_codes(cp, enc);
    for (uint32_t k = n; k-- > 1 && file->pboff < B_FILE_PUSHBACK;)
        file->pbstack[file->pboff++] = enc[k];
    return enc[0];
}

int32_t file_getcSlow(B_FILE_T *file) {
    if (file->pboff > 0) return file->pbstack[--file->pboff];
    if (file->fmode == B_FILE_MODE_UTF16) return file_getcUtf16(file);
    uint8_t b;
    size_t got = 0;
    B_FILE_CACHE_T *c = &file->fileCache;
    if (file_cacheRead(c, &b, 1, &got) != sOKAY || got != 1) return -1;
    c->getEnd = c->buff_off + c->bytes; /* the rest of the window is plain bytes */
    return b;
}

/* Up to `room` - 1 bytes of one line into dst, terminated; the count in
 * *pCount. False when the end came before the first byte. Runs of a UTF-8
 * window are copied whole. */
bool file_getsInto(B_FILE_T *file, char *dst, size_t room, size_t *pCount) {
    const size_t max = room - 1;
    size_t k = 0;
    B_FILE_CACHE_T *c = &file->fileCache;
    while (k < max) {
        const int64_t i = file_inWindow(c);
        if (file->pboff == 0 && file->fmode != B_FILE_MODE_UTF16 && c->rc == sOKAY && i >= 0) {
            size_t avail = c->bytes - size_t(i);
            if (avail > max - k) avail = max - k;
            const char *from = c->buff + i;
            const void *lf = std::memchr(from, '\n', avail);
            const size_t take =
                lf != nullptr ? size_t(static_cast<const char *>(lf) - from) + 1 : avail;
            std::memcpy(dst + k, from, take);
            c->off += take;
            k += take;
            if (lf != nullptr) break;
            continue;
        }
        const int32_t ch = file_getcSlow(file);
        if (ch < 0) {
            if (k == 0 && max > 0) return false;
            break;
        }
        dst[k++] = char(ch);
        if (ch == '\n') break;
    }
    dst[k] = '\0';
    *pCount = k;
    return true;
}

int32_t file_putUnit(B_FILE_T *file, uint32_t unit) {
    const uint16_t u = uint16_t(unit);
    return file_cacheWrite(&file->fileCache, &u, 2) == sOKAY ? 1 : 0;
}

/* One byte of a UTF-8 stream into units: 1 when taken, 0 when refused or not
 * written. A refused byte drops the character it was part of. */
int32_t file_putcUtf16(B_FILE_T *file, uint8_t b) {
    if (file->bytesleft == 0) {
        if (b < 0x80) return file_putUnit(file, b);
        if (b < 0xC2 || b >= 0xF5) return 0;
        if (b < 0xE0) {
            file->val = b & 0x1Fu;
            file->bytesleft = 1;
        } else if (b < 0xF0) {
            file->val = b & 0x0Fu;
            file->bytesleft = 2;
        } else {
            file->val = b & 0x07u;
            file->bytesleft = 3;
        }
        return 1;
    }
    if ((b & 0xC0) != 0x80) {
        file->bytesleft = 0;
        return 0;
    }
    file->val = file->val << 6 | (b & 0x3Fu);
    if (--file->bytesleft > 0) return 1;
    if (file->val <= 0xFFFF) return file_putUnit(file, file->val);
    const uint32_t v = file->val - 0x10000;
    return file_putUnit(file, 0xD800 + (v >> 10)) != 0 ? file_putUnit(file, 0xDC00 + (v & 0x3FF))
                                                       : 0;
}

int32_t file_putc(B_FILE_T *file, uint8_t b) {
    if (file->fmode == B_FILE_MODE_UTF16) return file_putcUtf16(file, b);
    return file_cacheWrite(&file->fileCache, &b, 1) == sOKAY ? 1 : 0;
}

/* ---- Opening. */

/* After the descriptor is in place: the length, the mode, the mark. On a
 * failure the file is flushed and closed and the code returned. */
ZEL_RETCODE file_start(B_FILE_T *file, ZEL_RETCODE openRc, bool byName, uint32_t flags) {
    B_FILE_CACHE_T *c = &file->fileCache;
    c->writeOnly = (flags & kAccessMask) == kWriteOnly ? ZEL_TRUE : ZEL_FALSE;
    if (openRc == sFILE_CONSOLE) {
        c->isConsole = ZEL_TRUE;
        file->fmode = B_FILE_MODE_UTF16;
        return sOKAY;
    }
    ZEL_RETCODE rc = psp_fileLength(c->fileHandle, &c->size);
    if (rc == sFILE_CONSOLE) file->fmode = B_FILE_MODE_UTF16;
    if (rc >= 0 && c->writeOnly) file->fmode = B_FILE_MODE_UTF8;
    /* A standard-input pipe has length 0 and must still read. */
    c->sizeKnown = byName && !c->writeOnly ? ZEL_TRUE : ZEL_FALSE;
    if (rc >= 0 && byName && flags == B_FILE_FLAGS_READ) {
        /* The mark is looked at in the first window, which stays: the bytes of
         * a file shorter than a mark are not lost, and off stays 0, so a
         * reader sees the mark. */
        rc = file_reposition(c);
        if (rc >= 0) {
            const auto *b = reinterpret_cast<const uint8_t *>(c->buff);
            file->fmode = B_FILE_MODE_UTF8;
            if (c->bytes >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) {
                file->bom_off = 3;
            } else if (c->bytes >= 2 && b[0] == 0xFF && b[1] == 0xFE) {
                file->fmode = B_FILE_MODE_UTF16;
                file->bom_off = 2;
            } else if (c->bytes >= 2 && b[0] == 0xFE && b[1] == 0xFF) {
                file->fmode = B_FILE_MODE_UTF16;
                file->bom_off = 2;
                file->swap = 1;
            }
        }
    }
    if (rc < 0) {
        b_fileClose(file);
        return rc;
    }
    return sOKAY;
}

using StdGetter = ZEL_RETCODE (*)(PSP_FILE_T *);

ZEL_RETCODE file_openStd(B_FILE_T *file, StdGetter get, B_FILE_TYPE_T type, uint32_t flags) {
    b_fileInit(file);
    PSP_FILE_T h = PSP_FILE_INVALID;
    const ZEL_RETCODE rc = get(&h);
    if (rc < 0) return rc;
    file->fileCache.fileHandle = h;
    file->fileType = type;
    return file_start(file, rc, false, flags);
}

}  // namespace

void b_fileInit(B_FILE_T *file) {
    std::memset(file, 0, sizeof *file);
    file->fileCache.fileHandle = PSP_FILE_INVALID;
    file->fmode = B_FILE_MODE_UTF8;
    file->fileType = B_FILE_TYPE_CLOSED;
}

ZEL_RETCODE b_fileOpen(B_FILE_T *file, const char *name, B_FILE_FLAGS flags) {
    b_fileInit(file);
    if (name == nullptr) return eINVNULLARG;
    PSP_FILE_T h = PSP_FILE_INVALID;
    const ZEL_RETCODE rc = psp_fileOpen(name, PSP_FILE_OPEN_MODE(flags), &h);
    if (rc < 0) return rc;
    file->fileCache.fileHandle = h;
    file->fileType = B_FILE_TYPE_NORMAL;
    return file_start(file, rc, true, uint32_t(flags));
}

ZEL_RETCODE b_fileOpenStdin(B_FILE_T *file) {
    return file_openStd(file, psp_fileGetStdin, B_FILE_TYPE_STDIN, B_FILE_FLAGS_READ);
}

ZEL_RETCODE b_fileOpenStdout(B_FILE_T *file) {
    return file_openStd(file, psp_fileGetStdout, B_FILE_TYPE_STDOUT, kWriteOnly);
}

ZEL_RETCODE b_fileOpenStderr(B_FILE_T *file) {
    return file_openStd(file, psp_fileGetStderr, B_FILE_TYPE_STDERR, kWriteOnly);
}

void b_fileClose(B_FILE_T *file) {
    if (file->fileType == B_FILE_TYPE_CLOSED) return;
    (void)file_flushModified(&file->fileCache); /* kept: a flush failure at close is dropped */
    /* The standard streams stay open for the rest of the process. */
    if (file->fileType == B_FILE_TYPE_NORMAL) (void)psp_fileClose(file->fileCache.fileHandle);
    b_fileInit(file);
}

ZEL_RETCODE b_fgetState(const B_FILE_T *file) {
    return file->fileCache.rc;
}

int32_t b_fileGetcSlow(B_FILE_T *file) {
    return file_getcSlow(file);
}

int32_t b_fileUngetc(int32_t c, B_FILE_T *file) {
    if (file->pboff >= B_FILE_PUSHBACK) return -1;
    file->pbstack[file->pboff++] = c;
    file->fileCache.getEnd = 0;
    return c;
}

char *b_fileGets(char *str, int32_t n, B_FILE_T *file) {
    if (str == nullptr || n < 1) return nullptr;
    size_t count;
    return file_getsInto(file, str, size_t(n), &count) ? str : nullptr;
}

char *b_fileGetLine(B_FILE_T *file, char **buf, size_t *len, B_TAG_SUB subTag) {
    B_FILE_CACHE_T *c = &file->fileCache;
    char *line = *buf;
    size_t size = *len;
    const bool fresh = line == nullptr;
    ZEL_RETCODE rc;
    if (fresh) {
        size = b_tag_subElements(subTag, 1, kLineStep);
        if ((rc = b_tag_subAllocClear(subTag, size, &line)) < 0) {
            file_fail(c, rc);
            return nullptr;
        }
    }
    size_t have = 0;
    for (;;) {
        size_t k;
        if (!file_getsInto(file, line + have, size - have, &k)) break;
        have += k;
        /* Done at a line feed, or when the end (or a failure) stopped it short. */
        if (line[have - 1] == '\n' || have < size - 1) break;
        const size_t grown = b_tag_subElements(subTag, 1, have + kLineStep);
        char *p = nullptr;
        if ((rc = b_tag_subReallocAny(subTag, line, have + 1, grown, &p)) < 0) {
            file_fail(c, rc);
            if (fresh) {
                b_tag_subFree(subTag, line);
                return nullptr;
            }
            *buf = line;
            *len = size;
            return nullptr;
        }
        line = p;
        size = grown;
    }
    *buf = line;
    *len = size;
    return have > 0 ? line : nullptr;
}

int32_t b_filePutc(B_FILE_T *file, int32_t c) {
    return file_putc(file, uint8_t(c));
}

int32_t b_filePuts(B_FILE_T *file, const char *str) {
    const size_t n = std::strlen(str);
    const int32_t count = n > INT32_MAX ? INT32_MAX : int32_t(n);
    if (file->fmode != B_FILE_MODE_UTF16)
        return file_cacheWrite(&file->fileCache, str, n) == sOKAY ? count : -1;
    for (size_t i = 0; i < n; i++)
        if (file_putcUtf16(file, uint8_t(str[i])) == 0) return -1;
    return count;
}

int32_t b_fileVprintf(B_FILE_T *file, const char *format, va_list args) {
    char area[B_FNPRINTF_AREA];
    const int n = b_vsnprintf(area, sizeof area, format, args);
    if (n < 0 || n >= int(sizeof area)) return -1; /* as b_vfnprintf: nothing emitted */
    /* kept: the bytes' write results are not looked at; a failed write shows
     * in the file's code, which turns the count into -1 */
    file->count = n;
    if (file->fmode != B_FILE_MODE_UTF16) {
        (void)file_cacheWrite(&file->fileCache, area, size_t(n));
    } else {
        for (int i = 0; i < n; i++) (void)file_putcUtf16(file, uint8_t(area[i]));
    }
    return file->fileCache.rc == sOKAY ? file->count : -1;
}

int32_t b_filePrintf(B_FILE_T *file, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int32_t n = b_fileVprintf(file, format, args);
    va_end(args);
    return n;
}

ZEL_RETCODE b_fileRead(B_FILE_T *file, void *buf, size_t bytes, size_t *pBytesRead) {
    size_t got = 0;
    const ZEL_RETCODE rc = file_cacheRead(&file->fileCache, buf, bytes, &got);
    if (pBytesRead != nullptr) *pBytesRead = got;
    return rc;
}

ZEL_RETCODE b_fileReadExact(B_FILE_T *file, void *buf, size_t bytes) {
    size_t got = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = file_cacheRead(&file->fileCache, buf, bytes, &got));
    return got == bytes ? sOKAY : eEOF;
}

ZEL_RETCODE b_fileWrite(B_FILE_T *file, const void *buf, size_t bytes) {
    return file_cacheWrite(&file->fileCache, buf, bytes);
}

ZEL_RETCODE b_fileSeek(B_FILE_T *file, B_FILE_OFFSET pos, B_FILE_SEEK_T origin,
                       B_FILE_OFFSET *pPos) {
    B_FILE_CACHE_T *c = &file->fileCache;
    /* kept: only the logical position moves; no flush, no platform seek */
    c->getEnd = 0;
    switch (origin) {
        case B_FILE_SEEK_SET:
            c->off = pos;
            break;
        case B_FILE_SEEK_CUR:
            c->off += pos;
            break;
        case B_FILE_SEEK_END:
            c->off = c->size + pos;
            break;
        default:
            return ePSP_FAILURE;
    }
    if (c->rc != sOKAY) return c->rc;
    if (pPos != nullptr) *pPos = c->off;
    return sOKAY;
}

ZEL_RETCODE b_fileSync(B_FILE_T *file) {
    B_FILE_CACHE_T *c = &file->fileCache;
    ZEL_RETCODE rc;
    if (c->rc != sOKAY) return c->rc;
    ZEL_CHECK(rc = file_flushModified(c));
    if ((rc = psp_fileSync(c->fileHandle)) < 0) return file_fail(c, rc);
    return file->bytesleft != 0 ? eEOF : sOKAY;
}

ZEL_RETCODE b_fileFlush(B_FILE_T *file) {
    B_FILE_CACHE_T *c = &file->fileCache;
    return c->rc != sOKAY ? c->rc : file_flushModified(c);
}

ZEL_RETCODE b_fileIsATTY(B_FILE_T *file, ZEL_BOOL_T *is_tty) {
    return psp_fileIsATTY(file->fileCache.fileHandle, is_tty);
}

ZEL_RETCODE b_fileSetEcho(B_FILE_T *file, ZEL_BOOL_T echo) {
    return psp_fileSetEcho(file->fileCache.fileHandle, echo);
}

ZEL_BOOL_T b_fileIsopen(const B_FILE_T *file) {
    return file->fileType >= B_FILE_TYPE_STDIN && file->fileType <= B_FILE_TYPE_NORMAL ? ZEL_TRUE
                                                                                       : ZEL_FALSE;
}

ZEL_BOOL_T b_fileIsStdin(const B_FILE_T *file) {
    return file->fileType == B_FILE_TYPE_STDIN ? ZEL_TRUE : ZEL_FALSE;
}
