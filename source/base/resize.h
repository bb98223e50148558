/*
 * resize.h - a moving statistic of the sizes a reusable buffer was asked
 * for, proposing how large the buffer should stay: the mean plus a chosen
 * number of standard deviations, falling at once and rising only as far as
 * actual sizes go.
 */
#ifndef RESIZE_H
#define RESIZE_H

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_RESIZE_S {
    int32_t n;
    int32_t sum;
    uint64_t sq_sum;
    int32_t saved_n; /* the sums at the start of the window, 0 when none */
    int32_t saved_sum;
    uint64_t saved_sq_sum;
    uint32_t prev_limit;
    double times_standard_deviation;
} B_RESIZE_T;

/* Clears the record and keeps the factor of the standard deviation. */
void b_resizeInit(B_RESIZE_T *res, double times_standard_deviation);
/* Records `size` (capped at 100000000) and returns the proposed limit. */
uint32_t b_resizeNext(B_RESIZE_T *res, uint32_t size);

ZEL_EXTERN_C_END

#endif /* RESIZE_H */
