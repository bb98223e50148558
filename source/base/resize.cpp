/*
 * resize.cpp - the size statistic. Sums of sizes and of their squares give
 * mean and variance by integer arithmetic. When the sum of sizes passes
 * 1e9 the sums are saved as a mark; when it passes 2e9 the mark is
 * subtracted and the result becomes the next mark, so the sums describe a
 * sliding window and never overflow (sizes are capped at 1e8).
 */
#include "resize.h"

#include <cmath>

namespace {

constexpr uint32_t kResizeMaxSize = 100000000;
constexpr int32_t kResizeSaveAt = 1000000000;
constexpr int32_t kResizeSlideAt = 2000000000;

}  // namespace

void b_resizeInit(B_RESIZE_T *res, double times_standard_deviation) {
    *res = B_RESIZE_T{};
    res->times_standard_deviation = times_standard_deviation;
}

uint32_t b_resizeNext(B_RESIZE_T *res, uint32_t size) {
    const uint32_t recorded = size < kResizeMaxSize ? size : kResizeMaxSize;
    const uint64_t square = static_cast<uint64_t>(recorded) * recorded;  // at most 1e16

    res->n++;
    res->sum += static_cast<int32_t>(recorded);
    res->sq_sum += square;
    if (res->sum > kResizeSaveAt) {
        if (res->saved_n == 0) {
            res->saved_n = res->n;
            res->saved_sum = res->sum;
            res->saved_sq_sum = res->sq_sum;
        } else if (res->sum > kResizeSlideAt) {
            res->n -= res->saved_n;
            res->sum -= res->saved_sum;
            res->sq_sum -= res->saved_sq_sum;
            res->saved_n = res->n;
            res->saved_sum = res->sum;
            res->saved_sq_sum = res->sq_sum;
        }
    }

    const uint64_t mean = static_cast<uint64_t>(res->sum) / static_cast<uint64_t>(res->n);
    const uint64_t variance = res->sq_sum / static_cast<uint64_t>(res->n) - mean * mean;
    const double deviation = std::floor(std::sqrt(static_cast<double>(variance)));
    const double proposed = static_cast<double>(mean) + deviation * res->times_standard_deviation;
    // A factor that is negative, huge or not a number must not leave uint32.
    const uint32_t limit = !(proposed > 0)            ? 0
                           : proposed >= 4294967295.0 ? UINT32_MAX
                                                      : static_cast<uint32_t>(proposed);

    if (limit > recorded && limit > res->prev_limit) {
        if (recorded < res->prev_limit) return res->prev_limit;
        res->prev_limit = recorded;
        return recorded;
    }
    res->prev_limit = limit;
    return limit;
}
