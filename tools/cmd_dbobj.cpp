// `zelbase dbobj wrap [--lzma] [--expanded] [--min N] [--raw] [FILE]`: the
// stored object of a file's bytes, as an annotated hex table (offset, bytes,
// meaning), or with --raw the bytes themselves on standard output. --lzma
// compresses objects of at least N bytes (default 0); --expanded sets the
// item format. `zelbase dbobj unwrap [FILE]`: the packed bytes of a stored
// object on standard output (a plain one with its padding), its header on
// standard error. Without FILE, standard input is read.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "buffer.h"
#include "dbobj.h"
#include "error.h"
#include "lzma.h"
#include "vint.h"
#include "zelbase_cmds.h"

int zb_cmd_dbobj(int argc, char **argv);

namespace {

// One row of the table: at most 16 bytes shown, the rest counted.
void zb_dbobj_row(FILE *out, size_t offset, const uint8_t *p, size_t n,
                  const std::string &meaning) {
    std::string hex;
    char two[4];
    for (size_t i = 0; i < n && i < 16; i++) {
        std::snprintf(two, sizeof two, "%02x ", p[i]);
        hex += two;
    }
    if (n > 16) hex += "...";
    std::fprintf(out, "  %-7zu %-52s %s\n", offset, hex.c_str(), meaning.c_str());
}

const char *zb_dbobj_code(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return "?";
}

}  // namespace

void zb_dbobj_table(FILE *out, const uint8_t *stored, size_t len, size_t body) {
    static const char *const names[] = {"?", "plain", "LZMA"};
    const unsigned header = stored[0];
    const unsigned method = header & 0x0F;
    std::fprintf(out, "  %-7s %-52s %s\n", "offset", "bytes", "meaning");
    zb_dbobj_row(out, 0, stored, 1,
                 "header " + std::to_string(header) + ": " + (method < 3 ? names[method] : "?") +
                     ((header & 0xF0) == ZEL_ITEM_FORMAT_EXPANDED ? ", expanded" : ", compact"));
    size_t at = 1;
    if (method == ZEL_COMPRESS_LZMA) {
        B_BUFFER_T view;
        b_bufferInitStatic(&view, const_cast<uint8_t *>(stored) + 1, len - 1, len - 1);
        uintmax_t size = 0;
        if (b_vintDecodeUIntmax(b_bufferInputByte, &view, &size) == sOKAY) {
            zb_dbobj_row(out, at, stored + at, view.pos,
                         "uncompressed length " + std::to_string(size));
            at += view.pos;
            body -= view.pos;
        }
        zb_dbobj_row(out, at, stored + at, body,
                     "range coder bytes (" + std::to_string(body) + ")");
    } else {
        zb_dbobj_row(out, at, stored + at, body, "packed bytes (" + std::to_string(body) + ")");
    }
    at += body;
    if (at < len)
        zb_dbobj_row(out, at, stored + at, len - at, "padding (" + std::to_string(len - at) + ")");
    std::fprintf(out, "  %zu bytes stored\n", len);
}

int zb_cmd_dbobj(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"l", "lzma", nullptr, "wrap: compress with LZMA objects of at least N bytes"},
        {"e", "expanded", nullptr, "wrap: mark the item format expanded"},
        {"m", "min", "i:N", "wrap: the least size compressed (default 0)"},
        {"r", "raw", nullptr, "wrap: the stored bytes themselves on standard output"},
        {"A", nullptr, "#:wrap|unwrap", "The action"},
        {"F", nullptr, "?:FILE", "The input; without it, standard input"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "wrap: the stored object of a file's bytes as an annotated hex "
                              "table, or with\n--raw the bytes themselves. unwrap: the packed "
                              "bytes of a stored object on\nstandard output (a plain one with "
                              "its padding), its header on standard error.",
                              opts);
        code != kZbGoOn)
        return code;
    ZEL_COMPRESS_METHOD method = ZEL_COMPRESS_NONE;
    ZEL_ITEM_FORMAT format = ZEL_ITEM_FORMAT_COMPACT;
    unsigned long min = 0;
    bool raw = false, wrapOnly = false;
    const char *action = nullptr, *path = nullptr;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        if (opt == "A") {
            action = arg;
            continue;
        }
        if (opt == "F") {
            path = arg;
            continue;
        }
        wrapOnly = true;
        if (opt == "lzma") {
            method = ZEL_COMPRESS_LZMA;
        } else if (opt == "expanded") {
            format = ZEL_ITEM_FORMAT_EXPANDED;
        } else if (opt == "raw") {
            raw = true;
        } else {
            char *end = nullptr;
            min = std::strtoul(arg, &end, 10);
            if (arg[0] == '-' || *end != '\0' || min > UINT32_MAX)
                return zb_usageError("--min is 0 to 4294967295, not %s", arg);
        }
    }
    const bool wrap = std::strcmp(action, "wrap") == 0;
    if (!wrap && std::strcmp(action, "unwrap") != 0)
        return zb_usageError("Unknown action '%s': wrap or unwrap", action);
    if (!wrap && wrapOnly) return zb_usageError("The options are for wrap only");
    std::string data;
    if (!zb_readFile(path, &data)) {
        std::fprintf(stderr, "zelbase dbobj: cannot read %s\n",
                     path != nullptr ? path : "standard input");
        return 1;
    }
    ZbTags tags;
    B_LZMA_T *lzma = nullptr;
    if (!tags.ok() || b_tag_subAlloc(tags.sub, sizeof *lzma, &lzma) != sOKAY) return 1;
    ZEL_RETCODE rc = b_lzmaInit(lzma, tags.sub);
    B_BUFFER_T src, dst;
    b_bufferInit(&src, tags.sub);
    b_bufferSetStatic(&src, data.data(), data.size());
    b_bufferInit(&dst, tags.sub);
    ZEL_ITEM_FORMAT got = ZEL_ITEM_FORMAT_COMPACT;
    if (rc == sOKAY) {
        rc = wrap ? dbobj_compress(lzma, method, static_cast<uint32_t>(min), format, &src, &dst)
                  : dbobj_convert_in(&dst, &src, nullptr, &got, lzma);
    }
    if (rc < 0) {
        std::fprintf(stderr, "zelbase dbobj: %s failed: %s (%d)\n", action, zb_dbobj_code(rc),
                     static_cast<int>(rc));
    } else if (wrap && !raw) {
        size_t body = data.size();
        if (dst.data.bin[0] % 16 == ZEL_COMPRESS_LZMA) {
            B_BUFFER_T coded;  // the body's length: the stream compressed again
            b_bufferInit(&coded, tags.sub);
            if (b_lzmaCompress(lzma, &src, &coded) == sOKAY) body = coded.len;
            b_bufferTerm(&coded);
        }
        zb_dbobj_table(stdout, dst.data.bin, dst.len, body);
    } else {
        if (!wrap) {
            std::fprintf(stderr, "%s object, %zu bytes%s\n",
                         got == ZEL_ITEM_FORMAT_EXPANDED ? "expanded" : "compact", dst.len,
                         rc == sOKAY ? "" : " (stopped at a short repeat)");
        }
        std::fwrite(dst.data.bin, 1, dst.len, stdout);
    }
    b_bufferTerm(&dst);
    b_bufferTerm(&src);
    b_lzmaTerm(lzma);
    b_tag_subFree(tags.sub, lzma);
    return rc == sOKAY ? 0 : 1;
}
