/*
 * psp.cpp - the platform support layer on Linux: POSIX threads, file
 * descriptors and the C library. It is the only module that calls the
 * operating system or the C heap; everything above it sees plain ZEL_RETCODE
 * values and the records of psptypes.h. Each function is a thin wrapper whose
 * one job is to fold errno into the library's codes and to keep out arguments
 * untouched on failure.
 */
#include "psp.h"

#include <pthread.h>
#include <stdlib.h>

namespace {

constexpr size_t psp_kPageSize = 4096;

}  // namespace

/* ---- Memory. */

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

/* ---- Mutexes. */

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
