// `zelbase file info PATH` opens a file as the library reads text files and
// shows what it found: the mode its byte order mark gave, the mark's length,
// the size, the first bytes on the file as an annotated hex table, and the
// first lines as a reader gets them (UTF-8), each with its bytes in hex.
// `zelbase file cat PATH` writes the file to standard output as read: a
// UTF-16 file comes out as UTF-8.
#include <cstdio>
#include <cstring>
#include <string>

#include "file.h"
#include "log.h"
#include "tag_sub.h"
#include "zelbase_cmds.h"

int zb_cmd_file(int argc, char **argv);

namespace {

constexpr int kInfoLines = 5;
constexpr size_t kHexPerRow = 16;
constexpr size_t kLineHexMax = 32;

int zb_file_fail(ZEL_RETCODE rc) {
    return zb_exitCode(rc, "zelbase file");
}

const char *zb_file_modeName(const B_FILE_T *f) {
    if (f->fmode != B_FILE_MODE_UTF16) return "UTF-8";
    return f->swap != 0 ? "UTF-16, the other byte order (big-endian units)" : "UTF-16, host order";
}

std::string zb_file_hex(const uint8_t *p, size_t n) {
    std::string s;
    char two[4];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(two, sizeof two, i ? " %02x" : "%02x", p[i]);
        s += two;
    }
    return s;
}

// The bytes of the file itself: the mark, then rows of 16.
void zb_file_rawTable(const B_FILE_T *f, const uint8_t *raw, size_t n) {
    std::printf("first bytes on the file\n  %-7s %-48s %s\n", "offset", "bytes", "meaning");
    size_t at = 0;
    if (f->bom_off > 0 && n >= f->bom_off) {
        std::printf("  %-7zu %-48s byte order mark (%s)\n", at,
                    zb_file_hex(raw, f->bom_off).c_str(), zb_file_modeName(f));
        at = f->bom_off;
    }
    const char *meaning = f->fmode == B_FILE_MODE_UTF16 ? "16-bit units" : "text bytes";
    for (; at < n; at += kHexPerRow) {
        const size_t k = n - at < kHexPerRow ? n - at : kHexPerRow;
        std::printf("  %-7zu %-48s %s\n", at, zb_file_hex(raw + at, k).c_str(), meaning);
    }
}

int zb_file_info(const char *path) {
    B_FILE_T f;
    ZEL_RETCODE rc = b_fileOpen(&f, path, B_FILE_FLAGS_READ);
    if (rc != sOKAY) return zb_file_fail(rc);
    std::printf("path      %s\nsize      %llu bytes\nmode      %s\nbom_off   %u%s\n", path,
                static_cast<unsigned long long>(f.fileCache.size), zb_file_modeName(&f), f.bom_off,
                f.bom_off > 0 ? " (the mark stays in what a reader sees)" : "");
    // No further than the end: a read that reaches it moves the window there,
    // and the seek back to 0 must stay inside the window to be exact.
    uint8_t raw[64];
    const size_t want = f.fileCache.size < sizeof raw ? size_t(f.fileCache.size) : sizeof raw;
    size_t n = 0;
    rc = b_fileRead(&f, raw, want, &n);
    if (rc == sOKAY) rc = b_fileSeek(&f, 0, B_FILE_SEEK_SET, nullptr);
    if (rc != sOKAY) {
        b_fileClose(&f);
        return zb_file_fail(rc);
    }
    zb_file_rawTable(&f, raw, n);
    const ZbTags tags;
    if (!tags.ok()) return 1;
    char *buf = nullptr;
    size_t len = 0;
    std::printf("first lines as read (UTF-8)\n");
    for (int i = 1; i <= kInfoLines && b_fileGetLine(&f, &buf, &len, tags.sub) != nullptr; ++i) {
        const size_t bytes = std::strlen(buf);
        std::string text(buf, bytes);
        if (!text.empty() && text.back() == '\n') text.pop_back();
        std::printf(
            "  line %d  %zu bytes  \"%s\"\n          %s%s\n", i, bytes, text.c_str(),
            zb_file_hex(reinterpret_cast<uint8_t *>(buf), bytes < kLineHexMax ? bytes : kLineHexMax)
                .c_str(),
            bytes > kLineHexMax ? " ..." : "");
    }
    rc = b_fgetState(&f);
    b_tag_subFreeCanBeNull(tags.sub, buf);
    b_fileClose(&f);
    return rc == sOKAY ? 0 : zb_file_fail(rc);
}

int zb_file_cat(const char *path) {
    B_FILE_T in, out;
    ZEL_RETCODE rc = b_fileOpen(&in, path, B_FILE_FLAGS_READ);
    if (rc != sOKAY) return zb_file_fail(rc);
    if ((rc = b_fileOpenStdout(&out)) != sOKAY) {
        b_fileClose(&in);
        return zb_file_fail(rc);
    }
    for (int32_t c; (c = b_fileGetc(&in)) >= 0;) {
        if (b_filePutc(&out, c) == 0 && b_fgetState(&out) != sOKAY) break;
    }
    rc = b_fgetState(&in);
    if (rc == sOKAY) rc = b_fileFlush(&out);
    b_fileClose(&in);
    b_fileClose(&out);
    return rc == sOKAY ? 0 : zb_file_fail(rc);
}

}  // namespace

int zb_cmd_file(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"A", nullptr, "#:info|cat",
         "info: mode, byte order mark, size, the first bytes and lines in hex; cat: the "
         "file as read, in UTF-8, to standard output"},
        {"P", nullptr, "#:PATH", "The file"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "How a text file reads through the library: a UTF-16 file "
                              "reads as UTF-8.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *action = nullptr, *path = nullptr;
    (void)zel_cmdlineNextLongOption(&cmd, &action);
    (void)zel_cmdlineNextLongOption(&cmd, &path);
    if (std::strcmp(action, "info") == 0) return zb_file_info(path);
    if (std::strcmp(action, "cat") == 0) return zb_file_cat(path);
    return zb_usageError("Unknown action '%s': info or cat", action);
}
