// `zelbase decimal`: exact decimal arithmetic and functions, and the numeric
// record of the client interface.
//   zelbase decimal A OP B            A + sub x / pow B
//   zelbase decimal FN X              ln log10 exp sqrt sin cos tan csc sec cot
//   zelbase decimal pi
//   zelbase decimal numeric X --precision P --scale S
//   zelbase decimal numeric --bytes HEX...
// Results print with their status by name and their stored (packed) bytes;
// the numeric record prints as an annotated table of its 19 bytes.
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <strings.h>
#include <vector>

#include "bcd.h"
#include "bcd_func.h"
#include "error.h"
#include "zelbase_cmds.h"

int zb_cmd_decimal(int argc, char **argv);

namespace {

const char *const kModeNames[] = {"NEAREST_TIES_TO_EVEN", "NEAREST_TIES_AWAY_FROM_ZERO", "UP",
                                  "DOWN", "TOWARDS_ZERO"};

constexpr const char *kDescription =
    "Exact decimal arithmetic and functions, with the status and the packed bytes\n"
    "of the result; the numeric record of the client interface as an annotated\n"
    "table of its 19 bytes.\n"
    "\n"
    "  zelbase decimal A OP B       OP: + sub x / pow (or add mul div; * quoted)\n"
    "  zelbase decimal FN X         FN: ln log10 exp sqrt sin cos tan csc sec cot\n"
    "  zelbase decimal pi\n"
    "  zelbase decimal numeric X --precision P --scale S\n"
    "  zelbase decimal numeric --bytes HEX...\n"
    "\n"
    "A negative number is written with a leading blank (' -5'), and subtraction as\n"
    "sub: an element that starts with '-' is an option.";

const ZEL_CMDLINE_OPT kOptions[] = {
    {"r", "round", "s:MODE",
     "NEAREST_TIES_TO_EVEN (the default), NEAREST_TIES_AWAY_FROM_ZERO, UP, DOWN or "
     "TOWARDS_ZERO"},
    {"p", "precision", "i:P",
     "Precision of the packed form (default: the result's), or of the numeric record"},
    {"s", "scale", "i:S", "Scale of the packed form, or of the numeric record"},
    {"b", "bytes", nullptr,
     "numeric: read the record from HEX: precision, scale, sign, then val, least "
     "significant byte first (missing bytes are 0)"},
    {"W", nullptr, "*:WORDS", "A OP B, FN X, pi, or numeric with X or HEX..."},
    {nullptr, nullptr, nullptr, nullptr}};

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

using BinOp = ZEL_RETCODE (*)(const ZEL_BCD_T *, const ZEL_BCD_T *, ZEL_BCD_ROUNDING_MODE,
                              ZEL_BCD_T *);
using UnOp = ZEL_RETCODE (*)(const ZEL_BCD_T *, ZEL_BCD_ROUNDING_MODE, ZEL_BCD_T *);

struct ZbBinary {
    const char *names[3];
    BinOp fcn;
};

const ZbBinary kBinary[] = {
    {{"+", "add", nullptr}, zel_bcdAdd}, {{"-", "sub", nullptr}, zel_bcdSub},
    {{"x", "*", "mul"}, zel_bcdMult},    {{"/", "div", nullptr}, zel_bcdDiv},
    {{"pow", "^", nullptr}, zel_bcdPow},
};

struct ZbUnary {
    const char *name;
    UnOp fcn;
};

const ZbUnary kUnary[] = {{"ln", zel_bcdLog},    {"log10", zel_bcdLog10}, {"exp", zel_bcdExp},
                          {"sqrt", zel_bcdSqrt}, {"sin", zel_bcdSin},     {"cos", zel_bcdCos},
                          {"tan", zel_bcdTan},   {"csc", zel_bcdCsc},     {"sec", zel_bcdSec},
                          {"cot", zel_bcdCot}};

struct ZbOptions {
    int mode = ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN;
    int prec = -1;
    int scale = -1;
    bool bytes = false;
};

// The options from the walk into `o`, the words into `words`; an exit code
// for a bad value, else kZbGoOn.
int zb_decimal_walk(ZEL_CMDLINE *cmd, ZbOptions *o, std::vector<const char *> *words) {
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        if (opt == "round") {
            o->mode = -1;
            for (int m = 0; m < 5; ++m)
                if (strcasecmp(arg, kModeNames[m]) == 0) o->mode = m;
            if (o->mode < 0) return zb_usageError("Unknown rounding mode '%s'", arg);
        } else if (opt == "precision") {
            if (!zb_decimal_number(arg, 1, 32, &o->prec))
                return zb_usageError("A precision is 1 to 32, not %s", arg);
        } else if (opt == "scale") {
            if (!zb_decimal_number(arg, 0, 32, &o->scale))
                return zb_usageError("A scale is 0 to 32, not %s", arg);
        } else if (opt == "bytes") {
            o->bytes = true;
        } else {
            words->push_back(arg);
        }
    }
    return kZbGoOn;
}

// Parses an operand; false (with a message) when it is no decimal.
bool zb_decimal_operand(const char *text, ZEL_BCD_T *b) {
    ZEL_RETCODE rc = zel_bcdFromString(text, b);
    if (rc < 0) {
        std::fprintf(stderr, "zelbase decimal: \"%s\" is not a decimal of at most 32 digits (%s)\n",
                     text, zb_decimal_status(rc).c_str());
        return false;
    }
    if (rc != sOKAY)
        std::printf("operand \"%s\" read as %s (%s)\n", text, zb_decimal_text(*b).c_str(),
                    zb_decimal_status(rc).c_str());
    return true;
}

// The result, its exponent form, mode, status and packed bytes.
int zb_decimal_report(const std::string &label, const ZEL_BCD_T &r, ZEL_RETCODE rc,
                      const ZbOptions &o) {
    std::printf("%s = %s\n", label.c_str(), zb_decimal_text(r).c_str());
    char etext[64];
    if (zel_bcdToString(&r, ZEL_TRUE, etext, sizeof etext, nullptr) >= 0)
        std::printf("exponent form: %s\n", etext);
    std::printf("rounding:      %s\n", kModeNames[o.mode]);
    std::printf("status:        %s\n", zb_decimal_status(rc).c_str());
    int prec = o.prec, scale = o.scale;
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

std::string zb_decimal_hex(const uint8_t *p, int n) {
    std::string s;
    char two[4];
    for (int i = 0; i < n; ++i) {
        std::snprintf(two, sizeof two, i ? " %02x" : "%02x", p[i]);
        s += two;
    }
    return s;
}

// The 19 bytes of a numeric record, one row per field; the integer's bytes
// and the ones past it apart.
void zb_decimal_numeric_table(const ZEL_NUMERIC_T &n) {
    unsigned __int128 v = 0;
    int used = 0;
    for (int i = ZEL_NUMERIC_VAL_BYTES - 1; i >= 0; --i) {
        v = (v << 8) | n.val[i];
        if (used == 0 && n.val[i] != 0) used = i + 1;
    }
    char digits[48];
    int k = sizeof digits - 1;
    digits[k] = '\0';
    do {
        digits[--k] = static_cast<char>('0' + static_cast<int>(v % 10));
        v /= 10;
    } while (v != 0);
    const auto *raw = reinterpret_cast<const uint8_t *>(&n);
    std::printf("%-7s %-48s %s\n", "offset", "bytes", "meaning");
    std::printf("%-7d %-48s precision: %u (digits)\n", 0, zb_decimal_hex(raw, 1).c_str(),
                n.precision);
    std::printf("%-7d %-48s scale: %d (digits behind the point)\n", 1,
                zb_decimal_hex(raw + 1, 1).c_str(), n.scale);
    std::printf("%-7d %-48s sign: %u, %s\n", 2, zb_decimal_hex(raw + 2, 1).c_str(), n.sign,
                n.sign == 1 ? "positive" : "negative");
    int shown = used == 0 ? 1 : used;
    std::string range = used <= 1 ? "3" : "3.." + std::to_string(2 + shown);
    std::printf("%-7s %-48s val: %s, least significant byte first\n", range.c_str(),
                zb_decimal_hex(n.val, shown).c_str(), digits + k);
    if (shown < ZEL_NUMERIC_VAL_BYTES) {
        range = std::to_string(3 + shown) + "..18";
        std::printf("%-7s %-48s val: the rest, left as they were\n", range.c_str(),
                    zb_decimal_hex(n.val + shown, ZEL_NUMERIC_VAL_BYTES - shown).c_str());
    }
}

// words[0] is "numeric".
int zb_decimal_numeric(const std::vector<const char *> &words, const ZbOptions &o) {
    auto mode = static_cast<ZEL_BCD_ROUNDING_MODE>(o.mode);
    ZEL_NUMERIC_T n;
    std::memset(&n, 0, sizeof n);
    if (o.bytes) {
        std::string hex;
        for (size_t w = 1; w < words.size(); ++w)
            for (const char *c = words[w]; *c != '\0'; ++c)
                if (*c != ' ' && *c != ':') hex += *c;
        if (hex.size() % 2 != 0 || hex.size() < 6 || hex.size() > 38)
            return zb_usageError("The record is 3 to 19 bytes in hex, not %zu digits", hex.size());
        auto *raw = reinterpret_cast<uint8_t *>(&n);
        for (size_t i = 0; i < hex.size(); i += 2) {
            if (!std::isxdigit(static_cast<unsigned char>(hex[i])) ||
                !std::isxdigit(static_cast<unsigned char>(hex[i + 1])))
                return zb_usageError("Not hex: '%s'", hex.c_str());
            raw[i / 2] = static_cast<uint8_t>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16));
        }
        zb_decimal_numeric_table(n);
        ZEL_BCD_T r;
        ZEL_RETCODE rc =
            zel_bcdFromNumericStruct(&n, n.precision, static_cast<uint8_t>(n.scale), mode, &r);
        std::printf("decimal:       %s (%s)\n", rc < 0 ? "-" : zb_decimal_text(r).c_str(),
                    zb_decimal_status(rc).c_str());
        std::printf("as double:     %.17g (only the first 8 bytes of val count)\n",
                    b_getDoubleFromNumeric(&n));
        return rc < 0 ? 1 : 0;
    }
    if (words.size() != 2 || o.prec < 0 || o.scale < 0)
        return zb_usageError("numeric takes one X with --precision and --scale");
    ZEL_BCD_T x;
    if (!zb_decimal_operand(words[1], &x)) return 1;
    ZEL_RETCODE rc = zel_bcdToNumericStruct(&x, static_cast<uint8_t>(o.prec),
                                            static_cast<uint8_t>(o.scale), mode, &n);
    std::printf("numeric(%d,%d) of %s: %s\n", o.prec, o.scale, zb_decimal_text(x).c_str(),
                zb_decimal_status(rc).c_str());
    if (rc < 0) return 1;
    zb_decimal_numeric_table(n);
    return 0;
}

}  // namespace

int zb_cmd_decimal(int argc, char **argv) {
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv, kDescription, kOptions); code != kZbGoOn)
        return code;
    ZbOptions o;
    std::vector<const char *> words;
    if (int code = zb_decimal_walk(&cmd, &o, &words); code != kZbGoOn) return code;
    if (words.empty())
        return zb_usageError("Missing argument 'WORDS' ('--help' for more information)");
    if (std::strcmp(words[0], "numeric") == 0) return zb_decimal_numeric(words, o);
    if (o.bytes) return zb_usageError("--bytes is for numeric only");
    if ((o.prec < 0) != (o.scale < 0)) return zb_usageError("--precision and --scale go together");
    ZEL_BCD_T a, b, r;
    if (std::strcmp(words[0], "pi") == 0) {
        if (words.size() != 1) return zb_usageError("pi takes no operand");
        ZEL_RETCODE rc = zel_bcdPi(static_cast<ZEL_BCD_ROUNDING_MODE>(o.mode), &r);
        return zb_decimal_report("pi", r, rc, o);
    }
    for (const ZbUnary &u : kUnary) {
        if (std::strcmp(words[0], u.name) != 0) continue;
        if (words.size() != 2) return zb_usageError("%s takes one operand", u.name);
        if (!zb_decimal_operand(words[1], &a)) return 1;
        ZEL_RETCODE rc = u.fcn(&a, static_cast<ZEL_BCD_ROUNDING_MODE>(o.mode), &r);
        return zb_decimal_report(std::string(u.name) + "(" + zb_decimal_text(a) + ")", r, rc, o);
    }
    if (words.size() != 3)
        return zb_usageError("Not A OP B, FN X, pi or numeric ('--help' for more information)");
    BinOp fcn = nullptr;
    for (const ZbBinary &op : kBinary)
        for (const char *name : op.names)
            if (name != nullptr && std::strcmp(words[1], name) == 0) fcn = op.fcn;
    if (fcn == nullptr) return zb_usageError("Unknown operator '%s'", words[1]);
    if (!zb_decimal_operand(words[0], &a) || !zb_decimal_operand(words[2], &b)) return 1;
    ZEL_RETCODE rc = fcn(&a, &b, static_cast<ZEL_BCD_ROUNDING_MODE>(o.mode), &r);
    return zb_decimal_report(zb_decimal_text(a) + " " + words[1] + " " + zb_decimal_text(b), r, rc,
                             o);
}
