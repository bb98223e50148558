// `zelbase lz compress|decompress|trace [--limit N] [FILE]`: the library's LZ
// coder over a file (standard input without one). compress and decompress
// write the result to standard output; trace compresses and prints the
// stream's codes as a table (bit offset, the bytes the code touches, width,
// code, what it stands for), then a summary.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "lz.h"
#include "zelbase_cmds.h"

int zb_cmd_lz(int argc, char **argv);

namespace {

// A string as the table shows it: printable bytes, the rest escaped, cut
// after 24.
std::string zb_lz_text(const std::string &s) {
    std::string out = "\"";
    for (size_t i = 0; i < s.size() && i < 24; ++i) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        char esc[8];
        if (c == '\n') {
            out += "\\n";
        } else if (c >= 32 && c < 127 && c != '"' && c != '\\') {
            out += static_cast<char>(c);
        } else {
            std::snprintf(esc, sizeof esc, "\\x%02x", c);
            out += esc;
        }
    }
    return out + (s.size() > 24 ? "\"..." : "\"");
}

}  // namespace

void zb_lz_trace(FILE *out, const uint8_t *stream, size_t len, size_t limit) {
    // The codes are read as the decoder reads them; the strings are spelled
    // from a table kept here, independent of the library's.
    std::vector<std::string> table;
    std::string prev;
    bool first = true;
    unsigned width = B_LZ_MIN_BITS;
    size_t codes = 0, bumps = 0, flushes = 0, spelled = 0;
    std::fprintf(out, "  %-7s %-10s %-5s %-6s %s\n", "bit", "bytes", "width", "code", "meaning");
    for (size_t bit = 0, at = width; bit + width <= len * 8; bit += at) {
        uint32_t code = 0;
        for (unsigned i = 0; i < width; ++i)
            code = code << 1 | ((stream[(bit + i) / 8] >> (7 - (bit + i) % 8)) & 1);
        std::string meaning, s;
        at = width;
        if (code == B_LZ_BUMP_CODE) {
            meaning = "bump: codes are " + std::to_string(++width) + " bits from here";
            ++bumps;
        } else if (code == B_LZ_FLUSH_CODE) {
            meaning = "flush: the table is forgotten, 9 bits again";
            width = B_LZ_MIN_BITS;
            table.clear();
            first = true;
            ++flushes;
        } else {
            const size_t index = code < 256 ? 0 : code - B_LZ_FIRST_CODE;
            if (first || code < 256) {
                s.assign(1, static_cast<char>(code & 0xFF));
            } else if (index < table.size()) {
                s = table[index];
            } else {
                s = prev + prev.substr(0, 1);  // the string being entered
            }
            if (!first) table.push_back(prev + s.substr(0, 1));
            meaning = (code < 256 ? "byte " : "string ") + zb_lz_text(s);
            if (!first)
                meaning += "  (enters " + std::to_string(B_LZ_FIRST_CODE + table.size() - 1) + ")";
            prev = s;
            first = false;
            spelled += s.size();
        }
        ++codes;
        if (codes <= limit) {
            std::string bytes;
            for (size_t b = bit / 8; b <= (bit + at - 1) / 8; ++b) {
                char two[4];
                std::snprintf(two, sizeof two, "%02x ", stream[b]);
                bytes += two;
            }
            std::fprintf(out, "  %-7zu %-10s %-5zu %-6u %s\n", bit, bytes.c_str(), at, code,
                         meaning.c_str());
        } else if (codes == limit + 1) {
            std::fprintf(out, "  ...\n");
        }
    }
    std::fprintf(out, "  %zu codes (%zu bumps, %zu flushes) spell %zu bytes; %zu stream bytes\n",
                 codes, bumps, flushes, spelled, len);
}

int zb_cmd_lz(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"n", "limit", "i:N", "trace: the codes shown (default: all)"},
        {"A", nullptr, "#:compress|decompress|trace",
         "compress or decompress to standard output; trace: the codes of the compressed "
         "stream"},
        {"F", nullptr, "?:FILE", "The input; without it, standard input"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The library's LZ coder over a file: codes of 9 to 15 bits, 256 "
                              "widens them,\n257 forgets the table, strings from 258. trace "
                              "shows each code with its width\nand the string it stands for.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *op = nullptr, *path = nullptr, *arg = nullptr;
    size_t limit = SIZE_MAX;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "limit") == 0) {
            char *end = nullptr;
            const long n = std::strtol(arg, &end, 10);
            if (*end != '\0' || n < 0) return zb_usageError("Not a count: '%s'", arg);
            limit = static_cast<size_t>(n);
        } else if (std::strcmp(name, "A") == 0) {
            op = arg;
        } else {
            path = arg;
        }
    }
    const bool compress = std::strcmp(op, "compress") == 0;
    const bool decompress = std::strcmp(op, "decompress") == 0;
    const bool trace = std::strcmp(op, "trace") == 0;
    if (!compress && !decompress && !trace)
        return zb_usageError("Unknown action '%s': compress, decompress or trace", op);
    std::string data;
    if (!zb_readFile(path, &data) || data.size() > UINT32_MAX) {
        std::fprintf(stderr, "zelbase lz: cannot read %s\n",
                     path != nullptr ? path : "standard input");
        return 1;
    }
    ZbTags tags;
    if (!tags.ok()) return zb_exitCode(eNOMEMORY, argv[0]);
    void *buf = nullptr;
    uint32_t len = 0;
    const ZEL_RETCODE rc = (decompress ? b_lzDecompress : b_lzCompress)(
        data.data(), uint32_t(data.size()), tags.sub, &buf, &len);
    if (rc != sOKAY) return zb_exitCode(rc, argv[0]);
    if (trace) {
        zb_lz_trace(stdout, static_cast<const uint8_t *>(buf), len, limit);
        std::printf("%zu bytes in, %u out (ratio %.3f)\n", data.size(), len,
                    len == 0 ? 0.0 : static_cast<double>(data.size()) / len);
    } else {
        std::fwrite(buf, 1, len, stdout);
    }
    b_tag_subFreeCanBeNull(tags.sub, buf);
    return 0;
}
