// Fuzz target of the decimal functions: every function on any valid 37-byte
// decimal (and a second one for the power), in any rounding mode, returns a
// known code and a valid result within a time limit: no series runs away,
// whatever the digits, exponent, sign and flags.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bcd_func.h"

namespace {

// Far above what any call takes, even under the sanitizers on a busy machine.
constexpr auto kLimit = std::chrono::seconds(2);

void zb_fuzz_check(ZEL_RETCODE rc, const ZEL_BCD_T &r, std::chrono::steady_clock::time_point t0,
                   const char *what) {
    if (std::chrono::steady_clock::now() - t0 > kLimit) {
        std::fprintf(stderr, "%s took too long\n", what);
        std::abort();
    }
    switch (rc) {
        case sOKAY:
        case sPRECISIONLOSS:
        case sUNDERFLOW:
        case eRANGE:
        case eDIVBY0:
        case eNOTANUMBER:
        case eNOMEMORY:  // an operand that carries that flag
            break;
        default:
            std::abort();
    }
    if (rc >= 0 && r.prec > 32) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2 * sizeof(ZEL_BCD_T) + 9) return 0;
    ZEL_BCD_T x, y, r;
    std::memcpy(&x, data, sizeof x);
    std::memcpy(&y, data + sizeof x, sizeof y);
    const uint8_t *rest = data + 2 * sizeof x;
    auto mode = static_cast<ZEL_BCD_ROUNDING_MODE>(rest[0] % 6);
    int64_t n;
    std::memcpy(&n, rest + 1, sizeof n);
    if (zel_bcdValidate(&x) != sOKAY || zel_bcdValidate(&y) != sOKAY) return 0;
    using Unary = ZEL_RETCODE (*)(const ZEL_BCD_T *, ZEL_BCD_ROUNDING_MODE, ZEL_BCD_T *);
    static const struct {
        const char *name;
        Unary f;
    } kFns[] = {{"ln", zel_bcdLog},    {"log10", zel_bcdLog10}, {"exp", zel_bcdExp},
                {"sqrt", zel_bcdSqrt}, {"sin", zel_bcdSin},     {"cos", zel_bcdCos},
                {"tan", zel_bcdTan},   {"csc", zel_bcdCsc},     {"sec", zel_bcdSec},
                {"cot", zel_bcdCot}};
    for (const auto &f : kFns) {
        auto t0 = std::chrono::steady_clock::now();
        zb_fuzz_check(f.f(&x, mode, &r), r, t0, f.name);
    }
    auto t0 = std::chrono::steady_clock::now();
    zb_fuzz_check(zel_bcdPow(&x, &y, mode, &r), r, t0, "pow");
    t0 = std::chrono::steady_clock::now();
    zb_fuzz_check(zel_bcdPowInt64(&x, n, mode, &r), r, t0, "powint64");
    t0 = std::chrono::steady_clock::now();
    zb_fuzz_check(zel_bcdPowUInt64(&x, static_cast<uint64_t>(n), mode, &r), r, t0, "powuint64");
    ZEL_NUMERIC_T rec;
    std::memset(&rec, 0, sizeof rec);
    (void)zel_bcdToNumericStruct(&x, static_cast<uint8_t>(rest[0] % 34),
                                 static_cast<uint8_t>(rest[1] % 34), mode, &rec);
    return 0;
}
