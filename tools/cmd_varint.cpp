// `zelbase varint encode N...` prints the stored form of each number (a
// negative one through the signed mapping); `zelbase varint decode HEX...`
// reads the hex bytes as varints one after another and prints each value,
// unsigned and through the signed mapping.
#include <cctype>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "error.h"
#include "vint.h"
#include "zelbase_cmds.h"

int zb_cmd_varint(int argc, char **argv);

namespace {

std::string zb_varint_code(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return std::to_string(rc);
}

ZEL_RETCODE zb_varint_put(B_OUTPUT_CTX ctx, uint32_t byte) {
    static_cast<std::vector<uint8_t> *>(ctx)->push_back(static_cast<uint8_t>(byte));
    return sOKAY;
}

struct zb_varint_source {
    const std::vector<uint8_t> *bytes;
    size_t pos;
};

ZEL_RETCODE zb_varint_get(B_INPUT_CTX ctx, uint32_t *byte) {
    auto *s = static_cast<zb_varint_source *>(ctx);
    if (s->pos >= s->bytes->size()) return eEOD;
    *byte = (*s->bytes)[s->pos++];
    return sOKAY;
}

std::string zb_varint_hex(const uint8_t *p, size_t n) {
    std::string s;
    char two[4];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(two, sizeof two, i ? " %02x" : "%02x", p[i]);
        s += two;
    }
    return s;
}

// Decimal or 0x hex, with an optional minus sign after leading blanks; false
// on anything else.
bool zb_varint_number(const char *text, bool *negative, uint64_t *magnitude) {
    while (*text == ' ') ++text;
    *negative = text[0] == '-';
    const char *digits = text + (*negative ? 1 : 0);
    if (!std::isdigit(static_cast<unsigned char>(digits[0]))) return false;
    errno = 0;
    char *end = nullptr;
    const unsigned long long v = std::strtoull(digits, &end, 0);
    if (errno != 0 || *end != '\0') return false;
    if (*negative && v > uint64_t{1} << 63) return false;
    *magnitude = v;
    return true;
}

int zb_varint_encode(const std::vector<const char *> &values) {
    for (const char *text : values) {
        bool negative;
        uint64_t magnitude;
        if (!zb_varint_number(text, &negative, &magnitude))
            return zb_usageError("Not a 64-bit number: '%s'", text);
        uint64_t u = magnitude;
        if (negative) u = b_vintConvertToUnsigned(static_cast<intmax_t>(0 - magnitude));
        std::vector<uint8_t> bytes;
        if (ZEL_RETCODE rc = b_vintEncodeUIntmax(u, zb_varint_put, &bytes); rc != sOKAY)
            return zb_exitCode(rc, "zelbase varint");
        std::string label = text + std::strspn(text, " ");
        if (negative) label += " (signed: " + std::to_string(u) + ")";
        std::printf("%-51s %zu byte%s  %s\n", label.c_str(), bytes.size(),
                    bytes.size() == 1 ? " " : "s",
                    zb_varint_hex(bytes.data(), bytes.size()).c_str());
    }
    return 0;
}

int zb_varint_decode(const std::vector<const char *> &values) {
    std::string hex;
    for (const char *text : values) hex += text;
    std::vector<uint8_t> bytes;
    std::string digits;
    for (char c : hex) {
        if (c == ' ' || c == '\t' || c == ':') continue;
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return zb_usageError("Not hex: '%s'", hex.c_str());
        digits += c;
    }
    if (digits.empty() || digits.size() % 2 != 0)
        return zb_usageError("Bytes are pairs of hex digits: '%s'", hex.c_str());
    for (size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    zb_varint_source src{&bytes, 0};
    while (src.pos < bytes.size()) {
        const size_t start = src.pos;
        uintmax_t v;
        const ZEL_RETCODE rc = b_vintDecodeUIntmax(zb_varint_get, &src, &v);
        if (rc != sOKAY) {
            std::printf("offset %-3zu %-26s %s\n", start,
                        zb_varint_hex(&bytes[start], src.pos - start).c_str(),
                        zb_varint_code(rc).c_str());
            return 1;
        }
        std::printf("offset %-3zu %-26s %" PRIu64 "  (signed %" PRId64 ")\n", start,
                    zb_varint_hex(&bytes[start], src.pos - start).c_str(), uint64_t{v},
                    int64_t{b_vintConvertToSigned(v)});
    }
    return 0;
}

}  // namespace

int zb_cmd_varint(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"A", nullptr, "#:encode|decode", "encode numbers, or decode bytes"},
        {"V", nullptr, "*:VALUES",
         "encode: numbers, decimal or 0x hex; decode: bytes in hex, blanks and colons "
         "allowed"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The stored forms of variable integers: encode prints each "
                              "number's bytes (a\nnegative one through the signed mapping); "
                              "decode reads the bytes as varints\none after another and prints "
                              "each value, unsigned and signed.\n"
                              "A negative number is written with a leading blank (' -5'): an "
                              "element that\nstarts with '-' is an option.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *action = nullptr;
    (void)zel_cmdlineNextLongOption(&cmd, &action);  // the action comes first
    std::vector<const char *> values;
    const char *arg = nullptr;
    while (zel_cmdlineNextLongOption(&cmd, &arg) != nullptr) values.push_back(arg);
    if (values.empty())
        return zb_usageError("Missing argument 'VALUES' ('--help' for more information)");
    if (std::string(action) == "encode") return zb_varint_encode(values);
    if (std::string(action) == "decode") return zb_varint_decode(values);
    return zb_usageError("Unknown action '%s': encode or decode", action);
}
