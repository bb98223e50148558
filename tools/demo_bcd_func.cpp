// The decimal functions' section of `zelbase demo`: constants and functions
// to 32 digits beside double's 17, interest compounded both ways, the method
// showing through (sqrt(4) under two modes), and the numeric record's bytes.
#include <cmath>
#include <cstdio>

#include "bcd_func.h"
#include "zelbase_cmds.h"

int zb_demo_bcd_func(FILE *out);

namespace {

constexpr ZEL_BCD_ROUNDING_MODE kMode = ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN;

const char *zb_func_text(const ZEL_BCD_T &b, char *buf, uint32_t len) {
    if (zel_bcdToString(&b, ZEL_FALSE, buf, len, nullptr) < 0) return "?";
    return buf;
}

struct Row {
    const char *label;
    const char *arg;
    double darg;
    ZEL_RETCODE (*fcn)(const ZEL_BCD_T *, ZEL_BCD_ROUNDING_MODE, ZEL_BCD_T *);
    double (*dfcn)(double);
};

double zb_func_dexp(double x) {
    return std::exp(x);
}
double zb_func_dlog(double x) {
    return std::log(x);
}
double zb_func_dsqrt(double x) {
    return std::sqrt(x);
}
double zb_func_dsin(double x) {
    return std::sin(x);
}

const Row kRows[] = {
    {"e = exp(1)", "1", 1.0, zel_bcdExp, zb_func_dexp},
    {"ln 2", "2", 2.0, zel_bcdLog, zb_func_dlog},
    {"sqrt 2", "2", 2.0, zel_bcdSqrt, zb_func_dsqrt},
    {"sin 1", "1", 1.0, zel_bcdSin, zb_func_dsin},
};

}  // namespace

int zb_demo_bcd_func(FILE *out) {
    char b1[80], b2[80];
    std::fprintf(out, "Decimal functions: 32 digits in decimal, 17 in double\n");
    std::fprintf(out, "  %-12s %-36s %s\n", "", "decimal", "double");
    ZEL_BCD_T x, r;
    if (zel_bcdPi(kMode, &r) != sPRECISIONLOSS) return 1;
    std::fprintf(out, "  %-12s %-36s %.17g\n", "pi", zb_func_text(r, b1, sizeof b1), M_PI);
    for (const Row &row : kRows) {
        if (zel_bcdFromString(row.arg, &x) != sOKAY || row.fcn(&x, kMode, &r) < 0) return 1;
        std::fprintf(out, "  %-12s %-36s %.17g\n", row.label, zb_func_text(r, b1, sizeof b1),
                     row.dfcn(row.darg));
    }

    // 1000 at 5% a year for 10 years: monthly, (1 + 0.05/12)^120, through an
    // integer power; continuously, e^0.5, through the exponential.
    ZEL_BCD_T capital, rate, monthly, growth, t;
    if (zel_bcdFromString("1000", &capital) != sOKAY || zel_bcdFromString("0.05", &rate) != sOKAY ||
        zel_bcdDivByInt32(&rate, 12, kMode, &monthly) < 0 ||
        zel_bcdAddInt32(&monthly, 1, kMode, &t) < 0 || zel_bcdPowInt32(&t, 120, kMode, &t) < 0 ||
        zel_bcdMult(&capital, &t, kMode, &growth) < 0)
        return 1;
    std::fprintf(out, "  1000 at 5%% for 10 years, monthly:      %s\n",
                 zb_func_text(growth, b1, sizeof b1));
    if (zel_bcdFromString("0.5", &x) != sOKAY || zel_bcdExp(&x, kMode, &t) < 0 ||
        zel_bcdMult(&capital, &t, kMode, &growth) < 0)
        return 1;
    std::fprintf(out, "  1000 at 5%% for 10 years, continuously: %s\n",
                 zb_func_text(growth, b1, sizeof b1));

    // The method shows: sqrt is exp(0.5 ln x), so even sqrt(4) is 2 only
    // through rounding; cut towards zero it stays below.
    if (zel_bcdFromString("4", &x) != sOKAY) return 1;
    ZEL_RETCODE rc1 = zel_bcdSqrt(&x, kMode, &r);
    ZEL_RETCODE rc2 = zel_bcdSqrt(&x, ZEL_BCD_ROUND_TOWARDS_ZERO, &t);
    if (rc1 != sPRECISIONLOSS || rc2 != sPRECISIONLOSS) return 1;
    std::fprintf(out, "  sqrt 4, to nearest: %s; towards zero: %s (both sPRECISIONLOSS)\n",
                 zb_func_text(r, b1, sizeof b1), zb_func_text(t, b2, sizeof b2));

    // The numeric record of the client interface: 123.45 as (10, 4).
    ZEL_NUMERIC_T n{};
    if (zel_bcdFromString("123.45", &x) != sOKAY ||
        zel_bcdToNumericStruct(&x, 10, 4, kMode, &n) != sOKAY)
        return 1;
    std::fprintf(out, "  123.45 as a numeric(10,4) record: precision %u, scale %d, sign %u, val",
                 n.precision, n.scale, n.sign);
    for (int i = 0; i < 4; ++i) std::fprintf(out, " %02x", n.val[i]);
    std::fprintf(out, " ... (1234500, least significant byte first)\n");
    if (zel_bcdFromNumericStruct(&n, n.precision, static_cast<uint8_t>(n.scale), kMode, &r) !=
        sOKAY)
        return 1;
    std::fprintf(out, "  and back: %s; as a double: %.17g\n", zb_func_text(r, b1, sizeof b1),
                 b_getDoubleFromNumeric(&n));
    return 0;
}
