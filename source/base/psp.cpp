/*
 * psp.cpp - the platform support layer on Linux: POSIX threads, file
 * descriptors and the C library. It is the only module that calls the
 * operating system or the C heap; everything above it sees plain ZEL_RETCODE
 * values and the records of psptypes.h. Each function is a thin wrapper whose
 * one job is to fold errno into the library's codes (one table, psp_errTable)
 * and to leave out arguments untouched on failure. Nothing here keeps state
 * between calls: every function may run on any thread at any time.
 */
#include "psp.h"

#include <errno.h>
#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <math.h>
#include <pthread.h>
#include <sched.h>
#include <stdlib.h>
#include <string.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <charconv>
#include <climits>
#include <cstdint>
#include <limits>
#include <system_error>

#include "psp_utf8_internal.h"

namespace {

constexpr size_t psp_kPageSize = 4096;
constexpr uint64_t psp_kNanosPerSec = 1000000000ull;
constexpr uint64_t psp_kMaxOffset = static_cast<uint64_t>(std::numeric_limits<off_t>::max());

/* errno values and the codes they become. A call names its own code for
 * whatever is not listed (eFILEOPEN for opening, eFILEIO for transfers). */
struct PspErrMap {
    int err;
    ZEL_RETCODE rc;
};
constexpr PspErrMap psp_errTable[] = {
    {EACCES, eFILEACCESS},  {EPERM, eFILEACCESS},    {EROFS, eFILEACCESS}, {EEXIST, eFILEEXIST},
    {ENOENT, eFILENOENTRY}, {ENOTDIR, eFILENOENTRY}, {EISDIR, eFILEISDIR}, {ETXTBSY, eFILEINUSE},
    {EBUSY, eFILEINUSE},    {ENOSPC, eNOSPACE},      {EDQUOT, eNOSPACE},   {EPIPE, eBROKENPIPE},
    {ENOMEM, eNOMEMORY},    {EBADF, eINVHANDLE},     {EFBIG, eRANGE},
};

ZEL_RETCODE psp_errToRc(int err, ZEL_RETCODE fallback) {
    for (const PspErrMap &m : psp_errTable) {
        if (m.err == err) return m.rc;
    }
    return fallback;
}

inline bool psp_isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

inline char psp_asciiUpper(char c) {
    return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c;
}

inline char psp_asciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
}

uint64_t psp_clockNanos(clockid_t clock) {
    struct timespec ts;
    clock_gettime(clock, &ts);
    return uint64_t(ts.tv_sec) * psp_kNanosPerSec + uint64_t(ts.tv_nsec);
}

// ---- Threads.

struct PspThreadStart {
    PSP_THREAD_FCN fcn;
    void *arg;
    char name[16];  // the kernel keeps 15 bytes and the terminator; "" for none
};

/* The thread names itself before the caller's function runs, so that the
 * function always sees its name. Its ZEL_RETCODE travels back to the joiner
 * as the pthread result. */
void *psp_threadTrampoline(void *p) {
    PspThreadStart start = *static_cast<PspThreadStart *>(p);
    free(p);
    if (start.name[0] != '\0') pthread_setname_np(pthread_self(), start.name);
    ZEL_RETCODE rc = start.fcn(start.arg);
    return reinterpret_cast<void *>(static_cast<intptr_t>(rc));
}

// ---- Files.

/* Reads until `wanted` bytes or the end of the input: a short count means the end. */
ZEL_RETCODE psp_readFull(PSP_FILE_T file, void *buf, uint32_t wanted, bool positioned,
                         uint64_t offset, uint32_t *pRead) {
    uint32_t done = 0;
    while (done < wanted) {
        char *at = static_cast<char *>(buf) + done;
        ssize_t n = positioned ? pread(file, at, wanted - done, off_t(offset + done))
                               : read(file, at, wanted - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return psp_errToRc(errno, eFILEIO);
        }
        if (n == 0) break;
        done += uint32_t(n);
    }
    *pRead = done;
    return sOKAY;
}

ZEL_RETCODE psp_writeFull(PSP_FILE_T file, const void *buf, uint32_t bytes, bool positioned,
                          uint64_t offset) {
    uint32_t done = 0;
    while (done < bytes) {
        const char *at = static_cast<const char *>(buf) + done;
        ssize_t n = positioned ? pwrite(file, at, bytes - done, off_t(offset + done))
                               : write(file, at, bytes - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return psp_errToRc(errno, eFILEIO);
        }
        if (n == 0) return eFILEIO;
        done += uint32_t(n);
    }
    return sOKAY;
}

ZEL_RETCODE psp_isModeKnown(PSP_FILE_OPEN_MODE mode) {
    constexpr PSP_FILE_OPEN_MODE known[] = {
        PSP_FILE_READ,  PSP_FILE_UPDATE,    PSP_FILE_UPDATE_EXISTING, PSP_FILE_UPDATE_NEW,
        PSP_FILE_WRITE, PSP_FILE_WRITE_NEW, PSP_FILE_APPEND};
    for (PSP_FILE_OPEN_MODE m : known) {
        if (m == mode) return sOKAY;
    }
    return eOPENMODE;
}

/* The flag values are the kernel's own, so the mode goes to open(2) as it is. */
static_assert(PSP_FILE_READ == O_RDONLY);
static_assert(PSP_FILE_UPDATE == (O_RDWR | O_CREAT));
static_assert(PSP_FILE_UPDATE_EXISTING == O_RDWR);
static_assert(PSP_FILE_UPDATE_NEW == (O_RDWR | O_CREAT | O_EXCL));
static_assert(PSP_FILE_WRITE == (O_WRONLY | O_CREAT | O_TRUNC));
static_assert(PSP_FILE_WRITE_NEW == (O_WRONLY | O_CREAT | O_EXCL));
static_assert(PSP_FILE_APPEND == (O_WRONLY | O_CREAT | O_APPEND));

ZEL_RETCODE psp_consoleCode(PSP_FILE_T file) {
    return isatty(file) ? sFILE_CONSOLE : sOKAY;
}

// ---- The console's UTF-16 units (host order) against the terminal's UTF-8.

constexpr uint32_t psp_kReplacement = 0xFFFD;

size_t psp_utf8Put(uint32_t cp, unsigned char *out) {
    return zel::detail::psp_utf8Encode(cp, out);
}

/* Continuation bytes that a lead byte asks for, or -1 when it cannot lead. */
int psp_utf8Trail(unsigned char lead) {
    if (lead < 0x80) return 0;
    if (lead >= 0xC2 && lead <= 0xDF) return 1;
    if (lead >= 0xE0 && lead <= 0xEF) return 2;
    if (lead >= 0xF0 && lead <= 0xF4) return 3;
    return -1;
}

/* Whether `b` may follow `lead` as its first continuation byte; this shuts
 * out overlong forms, surrogates and code points above 0x10FFFF. */
bool psp_utf8SecondOk(unsigned char lead, unsigned char b) {
    switch (lead) {
        case 0xE0:
            return b >= 0xA0 && b <= 0xBF;
        case 0xED:
            return b >= 0x80 && b <= 0x9F;
        case 0xF0:
            return b >= 0x90 && b <= 0xBF;
        case 0xF4:
            return b >= 0x80 && b <= 0x8F;
        default:
            return b >= 0x80 && b <= 0xBF;
    }
}

/* Decodes one code point from in[0..len): the bytes taken (at least one) and
 * the code point, U+FFFD for a bad or cut sequence. */
size_t psp_utf8Take(const unsigned char *in, size_t len, uint32_t *pCp) {
    int trail = psp_utf8Trail(in[0]);
    if (trail <= 0) {
        *pCp = trail == 0 ? in[0] : psp_kReplacement;
        return 1;
    }
    uint32_t cp = in[0] & (0x3F >> trail);
    for (int i = 1; i <= trail; ++i) {
        bool ok =
            size_t(i) < len && (i == 1 ? psp_utf8SecondOk(in[0], in[1]) : (in[i] & 0xC0) == 0x80);
        if (!ok) {
            *pCp = psp_kReplacement;
            return size_t(i);
        }
        cp = (cp << 6) | (in[i] & 0x3F);
    }
    *pCp = cp;
    return size_t(trail) + 1;
}

/* Bytes still missing from a sequence that begins well at in[start] and is
 * cut by the end of the input; 0 when the input ends on a whole sequence. */
size_t psp_utf8Missing(const unsigned char *in, size_t len) {
    size_t start = len;
    for (size_t back = 0; back < 4 && start > 0; ++back) {
        --start;
        if ((in[start] & 0xC0) != 0x80) break;
    }
    if (start == len) return 0;
    int trail = psp_utf8Trail(in[start]);
    size_t have = len - start - 1;
    if (trail <= 0 || size_t(trail) <= have) return 0;
    if (have >= 1 && !psp_utf8SecondOk(in[start], in[start + 1])) return 0;
    return size_t(trail) - have;
}

}  // namespace

// ---- Memory.

ZEL_RETCODE psp_memAlloc(size_t size, void **pBuf) {
    void *p = malloc(size == 0 ? 1 : size);
    if (p == nullptr) return eNOMEMORY;
    *pBuf = p;
    return sOKAY;
}

void psp_memFree(void *buf, size_t /*size*/) {
    free(buf);
}

ZEL_RETCODE psp_memAlignAlloc(size_t size, void **pBuf) {
    void *p = nullptr;
    if (posix_memalign(&p, psp_kPageSize, size == 0 ? 1 : size) != 0) return eNOMEMORY;
    *pBuf = p;
    return sOKAY;
}

void psp_memAlignFree(void *buf, size_t /*size*/) {
    free(buf);
}

// ---- Mutexes.

ZEL_RETCODE psp_threadMutexInit(PSP_THREAD_MUTEX_T *mutex) {
    if (pthread_mutex_init(&mutex->m, nullptr) != 0) return ePSP_MUTEX_FAILURE;
    return sOKAY;
}

void psp_threadMutexTerm(PSP_THREAD_MUTEX_T *mutex) {
    pthread_mutex_destroy(&mutex->m);
}

void psp_threadMutexEnter(PSP_THREAD_MUTEX_T *mutex) {
    pthread_mutex_lock(&mutex->m);
}

void psp_threadMutexExit(PSP_THREAD_MUTEX_T *mutex) {
    pthread_mutex_unlock(&mutex->m);
}

// ---- Events.

ZEL_RETCODE psp_threadEventInit(PSP_THREAD_EVENT_T *event) {
    /* An error-checking mutex turns a wait by the thread that holds the
     * event's mutex into ePSP_DEADLOCK instead of a hang. */
    pthread_mutexattr_t ma;
    if (pthread_mutexattr_init(&ma) != 0) return ePSP_MUTEX_FAILURE;
    pthread_mutexattr_settype(&ma, PTHREAD_MUTEX_ERRORCHECK);
    int err = pthread_mutex_init(&event->m, &ma);
    pthread_mutexattr_destroy(&ma);
    if (err != 0) return ePSP_MUTEX_FAILURE;

    /* Timeouts run on the monotonic clock, so that setting the wall clock
     * neither stretches nor cuts a wait. */
    pthread_condattr_t ca;
    err = pthread_condattr_init(&ca);
    if (err == 0) {
        err = pthread_condattr_setclock(&ca, CLOCK_MONOTONIC);
        if (err == 0) err = pthread_cond_init(&event->c, &ca);
        pthread_condattr_destroy(&ca);
    }
    if (err != 0) {
        pthread_mutex_destroy(&event->m);
        return ePSP_FAILURE;
    }
    event->flag = 0;
    return sOKAY;
}

void psp_threadEventTerm(PSP_THREAD_EVENT_T *event) {
    pthread_cond_destroy(&event->c);
    pthread_mutex_destroy(&event->m);
}

void psp_threadEventStart(PSP_THREAD_EVENT_T *event) {
    pthread_mutex_lock(&event->m);
    event->flag = 0;
    pthread_mutex_unlock(&event->m);
}

void psp_threadEventResume(PSP_THREAD_EVENT_T *event) {
    pthread_mutex_lock(&event->m);
    event->flag = 1;
    // Woken after the unlock, the waiter does not run straight into a held
    // mutex and sleep again; the flag, set under it, is what the wait tests.
    pthread_mutex_unlock(&event->m);
    pthread_cond_broadcast(&event->c);
}

ZEL_RETCODE psp_threadEventWait(PSP_THREAD_EVENT_T *event, uint32_t timeout) {
    struct timespec until;
    if (timeout != PSP_WAIT_FOREVER) {
        uint64_t at = psp_clockNanos(CLOCK_MONOTONIC) + uint64_t(timeout) * 1000000ull;
        until.tv_sec = time_t(at / psp_kNanosPerSec);
        until.tv_nsec = long(at % psp_kNanosPerSec);
    }
    if (pthread_mutex_lock(&event->m) != 0) return ePSP_DEADLOCK;
    ZEL_RETCODE rc = sOKAY;
    while (event->flag == 0) {
        int err = timeout == PSP_WAIT_FOREVER
                      ? pthread_cond_wait(&event->c, &event->m)
                      : pthread_cond_timedwait(&event->c, &event->m, &until);
        if (err == ETIMEDOUT) {
            rc = event->flag != 0 ? sOKAY : sTIMEOUT;
            break;
        }
        if (err != 0) {
            rc = ePSP_DEADLOCK;
            break;
        }
    }
    pthread_mutex_unlock(&event->m);
    return rc;
}

// ---- Threads.

ZEL_RETCODE psp_threadBegin(psp_thread_t *thread, PSP_THREAD_FCN fcn, size_t stack_size, void *arg,
                            int32_t /*priority*/, const char *name) {
    /* `priority` is accepted and not applied: under Linux's default scheduler
     * an unprivileged thread has no priority of its own to set. */
    if (thread == nullptr || fcn == nullptr) return eINVNULLARG;
    pthread_attr_t attr;
    if (pthread_attr_init(&attr) != 0) return ePSP_FAILURE;
    if (stack_size != 0) {
        size_t want =
            stack_size < size_t(PTHREAD_STACK_MIN) ? size_t(PTHREAD_STACK_MIN) : stack_size;
        want = (want + psp_kPageSize - 1) & ~(psp_kPageSize - 1);
        if (pthread_attr_setstacksize(&attr, want) != 0) {
            pthread_attr_destroy(&attr);
            return eINVARG;
        }
    }
    auto *start = static_cast<PspThreadStart *>(malloc(sizeof(PspThreadStart)));
    if (start == nullptr) {
        pthread_attr_destroy(&attr);
        return eNOMEMORY;
    }
    start->fcn = fcn;
    start->arg = arg;
    psp_strncpyZ(start->name, name, sizeof start->name);
    pthread_t id;
    int err = pthread_create(&id, &attr, psp_threadTrampoline, start);
    pthread_attr_destroy(&attr);
    if (err != 0) {
        free(start);
        return err == EAGAIN ? eNOMEMORY : ePSP_FAILURE;
    }
    thread->id = id;
    thread->rc = sOKAY;
    return sOKAY;
}

ZEL_RETCODE psp_threadJoin(psp_thread_t *thread) {
    void *result = nullptr;
    int err = pthread_join(thread->id, &result);
    if (err != 0) return err == EDEADLK ? ePSP_DEADLOCK : ePSP_FAILURE;
    if (result == PTHREAD_CANCELED) return ePSP_FAILURE;
    thread->rc = static_cast<ZEL_RETCODE>(reinterpret_cast<intptr_t>(result));
    return sOKAY;
}

void psp_threadYield(void) {
    sched_yield();
}

// ---- Files.

ZEL_RETCODE psp_fileOpen(const char *name, PSP_FILE_OPEN_MODE mode, PSP_FILE_T *pFile) {
    if (name == nullptr || pFile == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = psp_isModeKnown(mode));
    int flags = int(mode) | O_CLOEXEC | O_NOCTTY;
    if (psp_strcasecmp(name, "CON") == 0) {
        /* The controlling terminal; creating or truncating it means nothing. */
        name = "/dev/tty";
        flags &= ~(O_CREAT | O_EXCL | O_TRUNC);
    }
    int fd;
    do {
        fd = open(name, flags, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return psp_errToRc(errno, eFILEOPEN);

    /* Linux opens a directory for reading; no caller can use one as a file. */
    struct stat st;
    rc = fstat(fd, &st) != 0 ? psp_errToRc(errno, eFILEOPEN)
                             : (S_ISDIR(st.st_mode) ? eFILEISDIR : sOKAY);
    if (rc != sOKAY) {
        close(fd);
        return rc;
    }
    *pFile = fd;
    return psp_consoleCode(fd);
}

ZEL_RETCODE psp_fileClose(PSP_FILE_T file) {
    /* No retry on EINTR: Linux has released the descriptor either way. */
    if (close(file) != 0 && errno != EINTR) return psp_errToRc(errno, eFILEIO);
    return sOKAY;
}

ZEL_RETCODE psp_fileGetStdin(PSP_FILE_T *pFile) {
    *pFile = STDIN_FILENO;
    return psp_consoleCode(STDIN_FILENO);
}

ZEL_RETCODE psp_fileGetStdout(PSP_FILE_T *pFile) {
    *pFile = STDOUT_FILENO;
    return psp_consoleCode(STDOUT_FILENO);
}

ZEL_RETCODE psp_fileGetStderr(PSP_FILE_T *pFile) {
    *pFile = STDERR_FILENO;
    return psp_consoleCode(STDERR_FILENO);
}

ZEL_RETCODE psp_fileLength(PSP_FILE_T file, PSP_FILE_OFFSET *pLength) {
    struct stat st;
    if (fstat(file, &st) != 0) return psp_errToRc(errno, eFILEIO);
    if (S_ISCHR(st.st_mode) && isatty(file)) {
        *pLength = 0;
        return sFILE_CONSOLE;
    }
    *pLength = PSP_FILE_OFFSET(st.st_size);
    return sOKAY;
}

ZEL_RETCODE psp_fileRead(PSP_FILE_T file, void *buf, uint32_t wanted, uint32_t *pRead) {
    return psp_readFull(file, buf, wanted, false, 0, pRead);
}

ZEL_RETCODE psp_fileWrite(PSP_FILE_T file, const void *buf, uint32_t bytes) {
    return psp_writeFull(file, buf, bytes, false, 0);
}

ZEL_RETCODE psp_fileConsoleRead(PSP_FILE_T file, void *buf, uint32_t wanted, uint32_t *pRead) {
    /* A code point gives at most one unit per byte read, so 2 * bytes fit;
     * three bytes are kept back to finish a sequence that the read cut. */
    constexpr size_t kChunk = 1024;
    if (wanted < 8) return eINVARG;
    unsigned char in[kChunk + 3];
    size_t room = wanted / 2 - 3;
    size_t ask = room < kChunk ? room : kChunk;
    ssize_t n;
    do {
        n = read(file, in, ask);
    } while (n < 0 && errno == EINTR);
    if (n < 0) return psp_errToRc(errno, eFILEIO);
    size_t len = size_t(n);
    for (size_t missing = len ? psp_utf8Missing(in, len) : 0; missing > 0;) {
        ssize_t m = read(file, in + len, missing);
        if (m < 0 && errno == EINTR) continue;
        if (m <= 0) break;
        len += size_t(m);
        missing -= size_t(m);
    }
    auto *out = static_cast<unsigned char *>(buf);
    size_t units = 0;
    for (size_t i = 0; i < len;) {
        uint32_t cp;
        i += psp_utf8Take(in + i, len - i, &cp);
        uint16_t u[2];
        size_t nu = 1;
        if (cp >= 0x10000) {
            u[0] = uint16_t(0xD800 | ((cp - 0x10000) >> 10));
            u[1] = uint16_t(0xDC00 | ((cp - 0x10000) & 0x3FF));
            nu = 2;
        } else {
            u[0] = uint16_t(cp);
        }
        memcpy(out + units * 2, u, nu * 2);
        units += nu;
    }
    *pRead = uint32_t(units * 2);
    return sOKAY;
}

ZEL_RETCODE psp_fileConsoleWrite(PSP_FILE_T file, const void *buf, uint32_t bytes) {
    const auto *in = static_cast<const unsigned char *>(buf);
    size_t units = bytes / 2;  // a trailing odd byte is half a unit and is dropped
    unsigned char out[1024 + 4];
    size_t len = 0;
    ZEL_RETCODE rc;
    for (size_t i = 0; i < units; ++i) {
        uint16_t u;
        memcpy(&u, in + i * 2, 2);
        uint32_t cp = u;
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units) {
            uint16_t lo;
            memcpy(&lo, in + (i + 1) * 2, 2);
            if (lo >= 0xDC00 && lo <= 0xDFFF) {
                cp = 0x10000 + ((uint32_t(u) & 0x3FF) << 10) + (lo & 0x3FF);
                ++i;
            }
        }
        if (cp >= 0xD800 && cp <= 0xDFFF) cp = psp_kReplacement;
        len += psp_utf8Put(cp, out + len);
        if (len >= 1024) {
            ZEL_CHECK(rc = psp_writeFull(file, out, uint32_t(len), false, 0));
            len = 0;
        }
    }
    return psp_writeFull(file, out, uint32_t(len), false, 0);
}

ZEL_RETCODE psp_fileSeek(PSP_FILE_T file, PSP_FILE_OFFSET offset, int32_t origin,
                         PSP_FILE_OFFSET *pPosition) {
    constexpr int whence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (origin < 0 || origin > 2) return eINVARG;
    if (origin == 0 && offset > psp_kMaxOffset) return eRANGE;
    /* From the current position or the end, the offset is a signed distance. */
    off_t pos = lseek(file, static_cast<off_t>(offset), whence[origin]);
    if (pos < 0) return errno == EINVAL ? eRANGE : psp_errToRc(errno, eFILEIO);
    if (pPosition != nullptr) *pPosition = PSP_FILE_OFFSET(pos);
    return sOKAY;
}

ZEL_RETCODE psp_fileSeekRead(PSP_FILE_T file, PSP_FILE_OFFSET offset, void *buf, uint32_t wanted,
                             uint32_t *pRead) {
    if (offset > psp_kMaxOffset - wanted) return eRANGE;
    return psp_readFull(file, buf, wanted, true, offset, pRead);
}

ZEL_RETCODE psp_fileSeekWrite(PSP_FILE_T file, PSP_FILE_OFFSET offset, const void *buf,
                              uint32_t bytes) {
    if (offset > psp_kMaxOffset - bytes) return eRANGE;
    return psp_writeFull(file, buf, bytes, true, offset);
}

ZEL_RETCODE psp_fileSetSize(PSP_FILE_T file, PSP_FILE_OFFSET size) {
    if (size > psp_kMaxOffset) return eRANGE;
    while (ftruncate(file, off_t(size)) != 0) {
        if (errno != EINTR) return errno == EINVAL ? eINVARG : psp_errToRc(errno, eFILEIO);
    }
    return sOKAY;
}

ZEL_RETCODE psp_fileSync(PSP_FILE_T file) {
    /* fsync rather than fdatasync: a grown file's length must be durable too.
     * A terminal or pipe has nothing to sync (EINVAL) and counts as done. */
    if (fsync(file) != 0 && errno != EINVAL && errno != EROFS) return psp_errToRc(errno, eFILEIO);
    return sOKAY;
}

ZEL_RETCODE psp_fileRemove(const char *name) {
    if (name == nullptr) return eINVNULLARG;
    if (unlink(name) != 0) return psp_errToRc(errno, eFILEIO);
    return sOKAY;
}

ZEL_RETCODE psp_fileIsATTY(PSP_FILE_T file, ZEL_BOOL_T *pIsTTY) {
    if (isatty(file)) {
        *pIsTTY = ZEL_TRUE;
        return sOKAY;
    }
    if (errno == EBADF) return eINVHANDLE;
    *pIsTTY = ZEL_FALSE;
    return sOKAY;
}

ZEL_RETCODE psp_fileSetEcho(PSP_FILE_T file, ZEL_BOOL_T on) {
    struct termios t;
    if (tcgetattr(file, &t) != 0) {
        /* Not a terminal: there is no echo to switch, e.g. a password piped in. */
        return errno == ENOTTY ? sOKAY : psp_errToRc(errno, eFILEIO);
    }
    if (on) {
        t.c_lflag |= ECHO;
    } else {
        t.c_lflag &= ~tcflag_t(ECHO);
    }
    if (tcsetattr(file, TCSANOW, &t) != 0) return psp_errToRc(errno, eFILEIO);
    return sOKAY;
}

ZEL_RETCODE psp_fileLock(PSP_FILE_T file) {
    struct flock fl;
    memset(&fl, 0, sizeof fl);
    fl.l_type = F_WRLCK;
    fl.l_whence = SEEK_SET;  // l_start 0 and l_len 0: the whole file, however long
    if (fcntl(file, F_OFD_SETLK, &fl) == 0) return sOKAY;
    switch (errno) {
        case EAGAIN:
        case EACCES:
            return eFILEACCESS;
        case ENOLCK:
        case EOPNOTSUPP:
        case ENOSYS:
        case EINVAL:
            return eNOTIMPLEMENTED;
        default:
            return psp_errToRc(errno, eFILEIO);
    }
}

ZEL_RETCODE psp_fileUnlock(PSP_FILE_T file) {
    struct flock fl;
    memset(&fl, 0, sizeof fl);
    fl.l_type = F_UNLCK;
    fl.l_whence = SEEK_SET;
    if (fcntl(file, F_OFD_SETLK, &fl) != 0) return psp_errToRc(errno, eFILEIO);
    return sOKAY;
}

// ---- Directories.

ZEL_RETCODE psp_fileIsDir(const char *path) {
    if (path == nullptr) return eINVNULLARG;
    struct stat st;
    if (stat(path, &st) != 0) return psp_errToRc(errno, eFILEOPEN);
    /* Something other than a directory stands at that name. */
    return S_ISDIR(st.st_mode) ? sOKAY : eFILEEXIST;
}

ZEL_RETCODE psp_fileCurrDir(PSP_FILE_CURR_DIR_T *cd, const char **pDir) {
    if (getcwd(cd->dir, sizeof cd->dir) == nullptr) {
        return errno == ERANGE ? eRANGE : psp_errToRc(errno, eFILEIO);
    }
    *pDir = cd->dir;
    return sOKAY;
}

ZEL_RETCODE psp_fileDirOpen(PSP_FILE_DIR_T *dir, const char *path) {
    if (dir == nullptr || path == nullptr) return eINVNULLARG;
    DIR *d = opendir(path);
    if (d == nullptr) return psp_errToRc(errno, eFILEOPEN);
    dir->ent = d;
    return sOKAY;
}

ZEL_RETCODE psp_fileDirNext(PSP_FILE_DIR_T *dir, const char **pName) {
    for (;;) {
        errno = 0;
        struct dirent *e = readdir(dir->ent);  // safe: each scan has its own DIR
        if (e == nullptr) {
            if (errno != 0) return psp_errToRc(errno, eFILEIO);
            *pName = nullptr;
            return sOKAY;
        }
        /* "." and ".." are no entries a caller walks into. */
        const char *n = e->d_name;
        if (n[0] == '.' && (n[1] == '\0' || (n[1] == '.' && n[2] == '\0'))) continue;
        *pName = n;
        return sOKAY;
    }
}

void psp_fileDirClose(PSP_FILE_DIR_T *dir) {
    if (dir->ent != nullptr) closedir(dir->ent);
    dir->ent = nullptr;
}

ZEL_RETCODE psp_fileDirCreate(const char *path) {
    if (path == nullptr) return eINVNULLARG;
    if (mkdir(path, 0777) != 0) return psp_errToRc(errno, eMKDIR);
    return sOKAY;
}

ZEL_RETCODE psp_fileDirRemove(const char *path) {
    if (path == nullptr) return eINVNULLARG;
    if (rmdir(path) != 0) return psp_errToRc(errno, eFILEIO);
    return sOKAY;
}

// ---- Time and environment.

uint64_t psp_timeUTCNanoSecs(void) {
    return psp_clockNanos(CLOCK_REALTIME);
}

uint64_t psp_timeMeasureNanoSecs(void) {
    return psp_clockNanos(CLOCK_MONOTONIC);
}

uint64_t psp_envProcesID(void) {
    return uint64_t(getpid());
}

uint64_t psp_envSeed(uint64_t previous) {
    /* The kernel's random bits, mixed with the previous seed and both clocks:
     * the result stays unpredictable even where getrandom is missing. */
    uint64_t r = 0;
    ssize_t got;
    do {
        got = getrandom(&r, sizeof r, 0);
    } while (got < 0 && errno == EINTR);
    uint64_t z = previous ^ psp_clockNanos(CLOCK_REALTIME) ^
                 (psp_clockNanos(CLOCK_MONOTONIC) << 17) ^ (uint64_t(getpid()) << 40);
    z ^= reinterpret_cast<uintptr_t>(&r);  // the stack address adds what ASLR adds
    /* splitmix64's finaliser spreads every input bit over the whole word. */
    z += 0x9E3779B97F4A7C15ull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    z ^= z >> 31;
    return r ^ z;
}

// ---- Collation.

ZEL_RETCODE psp_collateInit(psp_collate_t *collate, const char *locale_name) {
    if (collate == nullptr || locale_name == nullptr) return eINVNULLARG;
    /* "" would mean the environment's locale; the library reads no environment. */
    if (locale_name[0] == '\0') return eINVLOCALE;
    /* newlocale need not set errno when a locale is merely unknown: clear it,
     * so that a stale ENOMEM of an earlier call is not taken for this one. */
    errno = 0;
    locale_t loc = newlocale(LC_COLLATE_MASK, locale_name, locale_t(0));
    if (loc == locale_t(0)) return errno == ENOMEM ? eNOMEMORY : eINVLOCALE;
    collate->locale = loc;
    return sOKAY;
}

void psp_collateTerm(psp_collate_t *collate) {
    if (collate->locale != nullptr) freelocale(static_cast<locale_t>(collate->locale));
    collate->locale = nullptr;
}

int psp_collateStrcmp(void *locale, const char *a, const char *b) {
    if (locale == nullptr) return strcmp(a, b);
    return strcoll_l(a, b, static_cast<locale_t>(locale));
}

int psp_collateCompare(const psp_collate_t *a, const psp_collate_t *b) {
    /* Two collations sort alike when they load the same collation data, which
     * glibc names; "C" and "POSIX" are one and the same, as is no collation. */
    auto name = [](const psp_collate_t *c) -> const char * {
        if (c == nullptr || c->locale == nullptr) return "C";
        const char *n =
            nl_langinfo_l(_NL_LOCALE_NAME(LC_COLLATE), static_cast<locale_t>(c->locale));
        if (n == nullptr || strcmp(n, "POSIX") == 0) return "C";
        return n;
    };
    return strcmp(name(a), name(b)) == 0;
}

// ---- Mathematics.

double psp_mathDoubleAbs(double x) {
    return fabs(x);
}
double psp_mathDoubleCeil(double x) {
    return ceil(x);
}
double psp_mathDoubleFloor(double x) {
    return floor(x);
}
double psp_mathDoubleLog10(double x) {
    return log10(x);
}
double psp_mathDoubleSqrt(double x) {
    return sqrt(x);
}
double psp_mathDoublePow(double base, double exponent) {
    return pow(base, exponent);
}
float psp_mathFloatCeil(float x) {
    return ceilf(x);
}
float psp_mathFloatFloor(float x) {
    return floorf(x);
}

int psp_mathDoubleIsNan(PSP_MATH_SIGN *pSign, double x) {
    if (!isnan(x)) return 0;
    if (pSign != nullptr) *pSign = signbit(x) ? PSP_MATH_SIGN_NEGATIVE : PSP_MATH_SIGN_POSITIVE;
    return 1;
}

int psp_mathDoubleIsInf(PSP_MATH_SIGN *pSign, double x) {
    if (!isinf(x)) return 0;
    if (pSign != nullptr) *pSign = signbit(x) ? PSP_MATH_SIGN_NEGATIVE : PSP_MATH_SIGN_POSITIVE;
    return 1;
}

int psp_mathFloatIsNan(PSP_MATH_SIGN *pSign, float x) {
    if (!isnan(x)) return 0;
    if (pSign != nullptr) *pSign = signbit(x) ? PSP_MATH_SIGN_NEGATIVE : PSP_MATH_SIGN_POSITIVE;
    return 1;
}

int psp_mathFloatIsInf(PSP_MATH_SIGN *pSign, float x) {
    if (!isinf(x)) return 0;
    if (pSign != nullptr) *pSign = signbit(x) ? PSP_MATH_SIGN_NEGATIVE : PSP_MATH_SIGN_POSITIVE;
    return 1;
}

int psp_mathDoubleIsFinite(double x) {
    return isfinite(x) ? 1 : 0;
}

// ---- Strings.

int psp_strcmp(const char *a, const char *b) {
    return strcmp(a, b);
}

int psp_strncmp(const char *a, const char *b, size_t n) {
    return strncmp(a, b, n);
}

int psp_strcasecmp(const char *a, const char *b) {
    /* ASCII only, whatever locale the host process has set. Folded to lower
     * case, as the C library folds: '_' then sorts before the letters, and
     * the sorted word tables searched with it are in order only so. */
    for (;; ++a, ++b) {
        int ca = static_cast<unsigned char>(psp_asciiLower(*a));
        int cb = static_cast<unsigned char>(psp_asciiLower(*b));
        if (ca != cb || ca == 0) return ca - cb;
    }
}

char *psp_strncpyZ(char *dst, const char *src, size_t dst_size) {
    if (dst_size == 0) return dst;
    size_t n = 0;
    if (src != nullptr) {
        while (n + 1 < dst_size && src[n] != '\0') ++n;
        memcpy(dst, src, n);
    }
    dst[n] = '\0';
    return dst;
}

char *psp_strupr(char *s) {
    for (char *p = s; *p != '\0'; ++p) *p = psp_asciiUpper(*p);
    return s;
}

char *psp_strtok(char *s, const char *delimiters, char **pContext) {
    char *p = s != nullptr ? s : *pContext;
    if (p == nullptr) return nullptr;
    p += strspn(p, delimiters);
    if (*p == '\0') {
        *pContext = p;
        return nullptr;
    }
    char *end = p + strcspn(p, delimiters);
    if (*end != '\0') *end++ = '\0';
    *pContext = end;
    return p;
}

namespace {

/* Parses [blanks][sign]digits[blanks] into a magnitude and a sign. eINVLITERAL
 * when the text is anything else, eRANGE when the magnitude passes 2^64 - 1. */
ZEL_RETCODE psp_parseInteger(const char *s, bool *pNegative, uint64_t *pMagnitude) {
    if (s == nullptr) return eINVNULLARG;
    while (psp_isBlank(*s)) ++s;
    bool negative = *s == '-';
    if (*s == '-' || *s == '+') ++s;
    if (*s < '0' || *s > '9') return eINVLITERAL;
    uint64_t v = 0;
    bool over = false;
    for (; *s >= '0' && *s <= '9'; ++s) {
        unsigned digit = unsigned(*s - '0');
        if (v > (UINT64_MAX - digit) / 10) over = true;
        v = v * 10 + digit;
    }
    while (psp_isBlank(*s)) ++s;
    if (*s != '\0') return eINVLITERAL;
    if (over) return eRANGE;
    *pNegative = negative;
    *pMagnitude = v;
    return sOKAY;
}

/* Where a text that from_chars calls out of range lies: above (true) or below
 * (false) the representable range, judged by its decimal exponent. */
bool psp_isOverflow(const char *first, const char *last) {
    long point = -1, lead = -1, digits = 0;
    const char *p = first;
    if (p < last && (*p == '-' || *p == '+')) ++p;
    for (; p < last && ((*p >= '0' && *p <= '9') || *p == '.'); ++p) {
        if (*p == '.') {
            point = digits;
            continue;
        }
        if (lead < 0 && *p != '0') lead = digits;
        ++digits;
    }
    if (point < 0) point = digits;
    long exp = 0;
    if (p < last && (*p == 'e' || *p == 'E')) {
        ++p;
        bool neg = p < last && *p == '-';
        if (p < last && (*p == '-' || *p == '+')) ++p;
        for (; p < last && *p >= '0' && *p <= '9'; ++p) {
            if (exp < 100000) exp = exp * 10 + (*p - '0');
        }
        if (neg) exp = -exp;
    }
    return lead >= 0 && point - lead + exp > 0;
}

/* Converts the number at the start of `s` (after blanks and an optional sign)
 * correctly rounded and independent of the host's locale. `*pEnd` is where the
 * number stops. Overflow gives eRANGE and an infinity in *pValue; underflow
 * gives a zero of the text's sign and sOKAY. */
template <typename T>
ZEL_RETCODE psp_parseFloat(const char *s, T *pValue, const char **pEnd) {
    const char *p = s;
    while (psp_isBlank(*p)) ++p;
    bool negative = *p == '-';
    if (*p == '+') {
        ++p;  // from_chars takes a minus only
        if (*p == '-') return eINVLITERAL;
    }
    const char *last = p + strlen(p);
    T v{};
    std::from_chars_result r = std::from_chars(p, last, v, std::chars_format::general);
    if (r.ec == std::errc::invalid_argument) return eINVLITERAL;
    *pEnd = r.ptr;
    if (r.ec == std::errc::result_out_of_range) {
        bool over = psp_isOverflow(p, r.ptr);
        T mag = over ? std::numeric_limits<T>::infinity() : T(0);
        *pValue = negative ? -mag : mag;
        return over ? eRANGE : sOKAY;
    }
    *pValue = v;
    return sOKAY;
}

template <typename T>
ZEL_RETCODE psp_strToFloating(const char *s, T *pValue) {
    if (s == nullptr || pValue == nullptr) return eINVNULLARG;
    T v;
    const char *end = nullptr;
    ZEL_RETCODE rc = psp_parseFloat(s, &v, &end);
    if (rc == eINVLITERAL) return rc;
    while (psp_isBlank(*end)) ++end;
    if (*end != '\0') return eINVLITERAL;
    if (rc != sOKAY) return rc;
    *pValue = v;
    return sOKAY;
}

}  // namespace

ZEL_RETCODE psp_stratoi64(const char *s, int64_t *pValue) {
    bool negative;
    uint64_t mag;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = psp_parseInteger(s, &negative, &mag));
    constexpr uint64_t kMaxPositive = uint64_t(INT64_MAX);
    if (mag > kMaxPositive + (negative ? 1 : 0)) return eRANGE;
    /* Negating in unsigned arithmetic reaches INT64_MIN without overflow. */
    *pValue = negative ? int64_t(0 - mag) : int64_t(mag);
    return sOKAY;
}

ZEL_RETCODE psp_stratoui64(const char *s, uint64_t *pValue) {
    bool negative;
    uint64_t mag;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = psp_parseInteger(s, &negative, &mag));
    if (negative && mag != 0) return eRANGE;
    *pValue = mag;
    return sOKAY;
}

double psp_stratof(const char *s) {
    if (s == nullptr) return 0.0;
    double v = 0.0;
    const char *end = nullptr;
    return psp_parseFloat(s, &v, &end) == eINVLITERAL ? 0.0 : v;
}

ZEL_RETCODE psp_strToDouble(const char *s, double *pValue, int32_t /*magnitude_digits*/,
                            int32_t /*decimal_digits*/, int32_t /*reserved*/) {
    return psp_strToFloating(s, pValue);
}

ZEL_RETCODE psp_strToFloat(const char *s, float *pValue, int32_t /*magnitude_digits*/,
                           int32_t /*decimal_digits*/, int32_t /*reserved*/) {
    return psp_strToFloating(s, pValue);
}
