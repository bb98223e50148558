/*
 * file_types.h - the records of the byte and text transport: the text-aware
 * file B_FILE_T with its 4096-byte window, the character source B_INPUT_T
 * with rewind points (over memory or a B_FILE_T), and the buffered binary
 * streams over a caller's read or write function. The operations are in
 * file.h, input.h and buffstream.h. Every record serves one thread at a time.
 */
#ifndef FILE_TYPES_H
#define FILE_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "psptypes.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* ---- B_FILE_T */

typedef uint64_t B_FILE_OFFSET;

#define B_FILE_WINDOW 4096
#define B_FILE_PUSHBACK 20

/* The open flags: the same values as the PSP_FILE_OPEN_MODE of those names. */
typedef enum B_FILE_FLAGS_E {
    B_FILE_FLAGS_READ = 0,        /* must exist */
    B_FILE_FLAGS_WRITE = 577,     /* created if absent, truncated */
    B_FILE_FLAGS_WRITE_NEW = 193, /* must not exist */
    B_FILE_FLAGS_APPEND = 1089    /* created if absent, appended to */
} B_FILE_FLAGS;

typedef enum B_FILE_SEEK_E {
    B_FILE_SEEK_SET = 0, /* from 0 */
    B_FILE_SEEK_CUR = 1, /* from off */
    B_FILE_SEEK_END = 2  /* from size */
} B_FILE_SEEK_T;

typedef enum B_FILE_MODE_E {
    B_FILE_MODE_UNKNOWN = 0,
    B_FILE_MODE_UTF8 = 1, /* bytes as they stand */
    B_FILE_MODE_UTF16 = 2 /* 16-bit units on the file, UTF-8 to the caller */
} B_FILE_MODE;

typedef enum B_FILE_TYPE_E {
    B_FILE_TYPE_CLOSED = 1,
    B_FILE_TYPE_STDIN = 2,
    B_FILE_TYPE_STDOUT = 3,
    B_FILE_TYPE_STDERR = 4,
    B_FILE_TYPE_NORMAL = 5
} B_FILE_TYPE_T;

/* The window over the file. `buff[0]` stands for file position `buff_off`;
 * `bytes` of it are valid. */
typedef struct B_FILE_CACHE_S {
    PSP_FILE_T fileHandle;    /* the open file, -1 when closed */
    PSP_FILE_OFFSET buff_off; /* file position of buff[0] */
    PSP_FILE_OFFSET off;      /* logical position */
    PSP_FILE_OFFSET size;     /* file length as known */
    size_t bytes;             /* valid bytes in buff */
    uint32_t modified;        /* buff has unwritten bytes */
    ZEL_RETCODE rc;           /* the first failure; sticky until close */
    ZEL_BOOL_T isConsole;     /* transfers go through the console calls */
    ZEL_BOOL_T writeOnly;     /* a write mode: the window is never read into */
    ZEL_BOOL_T sizeKnown;     /* opened by name for reading: reads stop at size */
    /* b_fileGetc takes the bytes from off up to here straight from buff: set
     * by a read in UTF-8 mode with nothing pushed back, 0 after anything that
     * moves the window, pushes back, seeks or fails. */
    PSP_FILE_OFFSET getEnd;
    char buff[B_FILE_WINDOW];
} B_FILE_CACHE_T;

typedef struct B_FILE_S {
    B_FILE_CACHE_T fileCache;
    B_FILE_MODE fmode;
    B_FILE_TYPE_T fileType;
    uint8_t swap;                     /* UTF-16 of the other byte order */
    uint32_t bom_off;                 /* length of the byte order mark found; recorded only */
    int32_t pbstack[B_FILE_PUSHBACK]; /* b_fileUngetc and the rest of a character */
    uint32_t pboff;                   /* entries in pbstack */
    int32_t count;                    /* bytes of the current print */
    uint32_t val;                     /* code point being assembled from UTF-8 output */
    uint8_t bytesleft;                /* continuation bytes still expected */
} B_FILE_T;

/* ---- B_INPUT_T: a character source with rewind points. */

typedef uint32_t B_CHAR;

#define B_INPUT_FILE_BLOCK 1024

typedef struct B_FILE_INPUT_S {
    B_FILE_T *pFile;
    B_FILE_OFFSET pos;                  /* next position to give */
    B_FILE_OFFSET size;                 /* the end: character 0 from here on */
    B_FILE_OFFSET startingPos;          /* where a null rewind point goes */
    uint32_t filled;                    /* the first block has been read */
    uint8_t buffer[B_INPUT_FILE_BLOCK]; /* the block of pos: buffer[pos % 1024] */
} B_FILE_INPUT;

typedef struct B_MEM_INPUT_S {
    const uint8_t *buffer;
    size_t pos;
    size_t size;
} B_MEM_INPUT;

typedef struct B_FILE_REWIND_POINT_S {
    B_FILE_OFFSET pos;
} B_FILE_REWIND_POINT;

typedef struct B_MEM_REWIND_POINT_S {
    size_t pos;
} B_MEM_REWIND_POINT;

typedef union B_REWIND_POINT_U {
    B_FILE_REWIND_POINT file;
    B_MEM_REWIND_POINT mem;
} B_REWIND_POINT;

struct B_INPUT_S;

/* The next character into *ch; character 0 and sOKAY at the end. */
typedef ZEL_RETCODE (*B_READ_FCN)(struct B_INPUT_S *obj, B_CHAR *ch);
/* Back to `point`; a null point is the start. */
typedef ZEL_RETCODE (*B_REWIND_FCN)(struct B_INPUT_S *obj, const B_REWIND_POINT *point);
/* The present position into *point. */
typedef void (*B_CREATE_REWIND_POINT_FCN)(struct B_INPUT_S *obj, B_REWIND_POINT *point);

typedef struct B_INPUT_S {
    union B_INPUT_U {
        B_FILE_INPUT file;
        B_MEM_INPUT mem;
    } u;
    B_READ_FCN readFcn;
    B_REWIND_FCN rewindFcn;
    B_CREATE_REWIND_POINT_FCN createRewindPointFcn;
    B_TAG_SUB subTag;
} B_INPUT_T;

/* ---- Buffered binary streams. */

/* Reads up to `size` bytes into `dest`, the count into *pBytesRead; `flags` is
 * passed as 0. Must fail at the end of the input rather than deliver 0 bytes
 * (a 0-byte sOKAY read is taken as eEOF). */
typedef ZEL_RETCODE (*B_BUFFREADFCN)(void *dataCB, void *dest, uint32_t size, uint32_t *pBytesRead,
                                     uint32_t flags);
/* Writes all `size` bytes or fails. */
typedef ZEL_RETCODE (*B_BUFFWRITEFCN)(void *dataCB, const void *bytes, uint32_t size);

#define B_BUFFSTREAM_SIZE 4096
#define B_OUTPUTBUFF_MAX 32768
#define B_OUTPUTBUFF_STEP 1024
/* The length of a null string with length. */
#define B_BUFFSTREAM_NULL_STRING 0xFFFFFFFFu

typedef struct B_INPUT_BUFFEREDSTREAM_S {
    B_BUFFREADFCN readFcn;
    void *dataCB;
    uint8_t *buf; /* owned, `size` bytes */
    uint32_t size;
    uint32_t len;     /* bytes the last read gave */
    uint32_t pos;     /* next byte to hand out */
    int16_t byteswap; /* numbers with their bytes reversed */
    B_TAG_SUB subTag;
} B_INPUT_BUFFEREDSTREAM_T;

typedef struct B_OUTPUT_BUFFEREDSTREAM_S {
    B_BUFFWRITEFCN writeFcn;
    void *dataCB;
    uint8_t *buf; /* owned, `size` bytes */
    uint32_t max; /* the size up to which buf grows before a write */
    uint32_t size;
    uint32_t pos; /* bytes gathered */
    int16_t byteswap;
    B_TAG_SUB subTag;
} B_OUTPUT_BUFFEREDSTREAM_T;

ZEL_EXTERN_C_END

#endif /* FILE_TYPES_H */
