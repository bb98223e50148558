// `zelbase decimal A OP B [--round MODE] [--precision P --scale S]`: computes
// A OP B exactly in decimal and prints the result, its status by name and the
// stored (packed) bytes in hex.
#include <cstdio>
#include <cstring>
#include <string>
#include <strings.h>

#include "bcd.h"
#include "error.h"
#include "zelbase_cmds.h"

int zb_cmd_decimal(int argc, char **argv);

namespace {

const char *const kModeNames[] = {"NEAREST_TIES_TO_EVEN", "NEAREST_TIES_AWAY_FROM_ZERO", "UP",
                                  "DOWN", "TOWARDS_ZERO"};

int zb_decimal_usage() {
    std::fprintf(stderr,
                 "usage: zelbase decimal A OP B [--round MODE] [--precision P --scale S]\n"
                 "  OP    + - x / (or add sub mul div; * works when quoted)\n"
                 "  MODE  NEAREST_TIES_TO_EVEN (default), NEAREST_TIES_AWAY_FROM_ZERO, UP,\n"
                 "        DOWN, TOWARDS_ZERO\n"
                 "  P, S  precision and scale of the packed form (default: the result's)\n");
    return 2;
}

std::string zb_decimal_status(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return std::to_string(rc);
}

bool zb_decimal_number(const char *s, int lo, int hi, int *out) {
    char *end = nullptr;
    long v = std::strtol(s, &end, 10);
    if (end == s || *end != '\0' || v < lo || v > hi) return false;
    *out = static_cast<int>(v);
    return true;
}

std::string zb_decimal_text(const ZEL_BCD_T &b) {
    char buf[128];
    if (zel_bcdToString(&b, ZEL_FALSE, buf, sizeof buf, nullptr) < 0) return "?";
    return buf;
}

}  // namespace

int zb_cmd_decimal(int argc, char **argv) {
    if (argc < 3) return zb_decimal_usage();
    int mode = ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, prec = -1, scale = -1;
    for (int i = 3; i < argc; ++i) {
        const char *opt = argv[i];
        if (i + 1 >= argc) return zb_decimal_usage();
        const char *val = argv[++i];
        if (std::strcmp(opt, "--round") == 0) {
            mode = -1;
            for (int m = 0; m < 5; ++m)
                if (strcasecmp(val, kModeNames[m]) == 0) mode = m;
            if (mode < 0) return zb_decimal_usage();
        } else if (std::strcmp(opt, "--precision") == 0) {
            if (!zb_decimal_number(val, 1, 32, &prec)) return zb_decimal_usage();
        } else if (std::strcmp(opt, "--scale") == 0) {
            if (!zb_decimal_number(val, 0, 32, &scale)) return zb_decimal_usage();
        } else {
            return zb_decimal_usage();
        }
    }
    if ((prec < 0) != (scale < 0)) return zb_decimal_usage();

    std::string op = argv[1];
    using BinOp =
        ZEL_RETCODE (*)(const ZEL_BCD_T *, const ZEL_BCD_T *, ZEL_BCD_ROUNDING_MODE, ZEL_BCD_T *);
    BinOp fcn = nullptr;
    if (op == "+" || op == "add") fcn = zel_bcdAdd;
    if (op == "-" || op == "sub") fcn = zel_bcdSub;
    if (op == "x" || op == "*" || op == "mul") fcn = zel_bcdMult;
    if (op == "/" || op == "div") fcn = zel_bcdDiv;
    if (fcn == nullptr) return zb_decimal_usage();

    ZEL_BCD_T a, b, r;
    for (int k = 0; k < 2; ++k) {
        const char *text = argv[k == 0 ? 0 : 2];
        ZEL_RETCODE rc = zel_bcdFromString(text, k == 0 ? &a : &b);
        if (rc < 0) {
            std::fprintf(stderr,
                         "zelbase decimal: \"%s\" is not a decimal of at most 32 digits (%s)\n",
                         text, zb_decimal_status(rc).c_str());
            return 1;
        }
        if (rc != sOKAY)
            std::printf("operand \"%s\" read as %s (%s)\n", text,
                        zb_decimal_text(k == 0 ? a : b).c_str(), zb_decimal_status(rc).c_str());
    }

    ZEL_RETCODE rc = fcn(&a, &b, static_cast<ZEL_BCD_ROUNDING_MODE>(mode), &r);
    std::printf("%s %s %s = %s\n", zb_decimal_text(a).c_str(), op.c_str(),
                zb_decimal_text(b).c_str(), zb_decimal_text(r).c_str());
    char etext[64];
    if (zel_bcdToString(&r, ZEL_TRUE, etext, sizeof etext, nullptr) >= 0)
        std::printf("exponent form: %s\n", etext);
    std::printf("rounding:      %s\n", kModeNames[mode]);
    std::printf("status:        %s\n", zb_decimal_status(rc).c_str());

    if (prec < 0) {
        // The result's own shape: its integer digits and its scale.
        scale = r.prec - r.exp > 0 ? r.prec - r.exp : 0;
        int ints = r.exp > 0 ? r.exp : 0;
        prec = ints + scale > 0 ? ints + scale : 1;
        if (prec > 32) prec = 32;
    }
    ZEL_PACKED_BCD_T p[17];
    ZEL_RETCODE prc = zel_bcdPack(&r, p, static_cast<uint8_t>(prec), static_cast<uint8_t>(scale));
    std::printf("packed(%d,%d):  ", prec, scale);
    if (prc >= 0 || prc == eRANGE) {
        for (int i = 0; i <= prec / 2; ++i) std::printf("%02x%s", p[i], i < prec / 2 ? " " : "");
    }
    std::printf("  (%s)\n", zb_decimal_status(prc).c_str());
    return rc < 0 ? 1 : 0;
}
