/*
 * psptypes.h - the records of the platform support layer that callers embed
 * by value, and its enumerations. Everything else about the platform stays
 * behind the psp_ functions of psp.h.
 */
#ifndef PSPTYPES_H
#define PSPTYPES_H

#include <dirent.h>
#include <pthread.h>
#include <stdint.h>

#include "zeltypes.h"

typedef struct PSP_THREAD_MUTEX_S {
    pthread_mutex_t m;
} PSP_THREAD_MUTEX_T;

/* A settable event on which one thread waits. */
typedef struct PSP_THREAD_EVENT_S {
    pthread_cond_t c;
    pthread_mutex_t m;
    int16_t flag;
} PSP_THREAD_EVENT_T;

/* A started thread and, after psp_threadJoin, its result. */
typedef struct psp_thread_s {
    pthread_t id;
    ZEL_RETCODE rc;
} psp_thread_t;

/* The function a thread runs; its result lands in psp_thread_t.rc. */
typedef ZEL_RETCODE (*PSP_THREAD_FCN)(void *arg);

typedef int32_t PSP_FILE_T;
typedef uint64_t PSP_FILE_OFFSET;

#define PSP_FILE_INVALID ((PSP_FILE_T)-1)

typedef struct PSP_FILE_CURR_DIR_S {
    char dir[512];
} PSP_FILE_CURR_DIR_T;

typedef struct PSP_FILE_DIR_S {
    DIR *ent;
} PSP_FILE_DIR_T;

typedef struct psp_collate_s {
    void *locale;
} psp_collate_t;

/* The operating system's own open flags (O_RDONLY, O_RDWR|O_CREAT, ...). */
typedef enum PSP_FILE_OPEN_MODE_E {
    PSP_FILE_READ = 0,            /* read only; must exist */
    PSP_FILE_UPDATE = 66,         /* read and write; created if absent */
    PSP_FILE_UPDATE_EXISTING = 2, /* read and write; must exist */
    PSP_FILE_UPDATE_NEW = 194,    /* read and write; must not exist */
    PSP_FILE_WRITE = 577,         /* write only; created if absent, truncated */
    PSP_FILE_WRITE_NEW = 193,     /* write only; must not exist */
    PSP_FILE_APPEND = 1089        /* write only; created if absent, appended to */
} PSP_FILE_OPEN_MODE;

typedef enum PSP_MATH_SIGN_E {
    PSP_MATH_SIGN_NEGATIVE = 0,
    PSP_MATH_SIGN_POSITIVE = 1
} PSP_MATH_SIGN;

/* psp_threadEventWait: wait without end. */
#define PSP_WAIT_FOREVER UINT32_MAX

#endif /* PSPTYPES_H */
