// The "Files, streams and the log" section of `zelbase demo`: a UTF-16 file
// written through the file layer and read back as UTF-8, a character source
// with a rewind point, numbers and strings through the buffered streams in
// both byte orders, and a log file with its stamped lines.
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "buffstream.h"
#include "file.h"
#include "input.h"
#include "log.h"
#include "tag_sub.h"
#include "zelbase_cmds.h"

int zb_demo_file(FILE *out);

namespace {

void zb_demoFileHex(FILE *out, const uint8_t *p, size_t n) {
    for (size_t i = 0; i < n; ++i) std::fprintf(out, " %02x", p[i]);
    std::fprintf(out, "\n");
}

std::vector<uint8_t> zb_demoFileBytes(const std::string &path) {
    std::vector<uint8_t> bytes;
    if (FILE *f = std::fopen(path.c_str(), "rb")) {
        for (int c; (c = std::fgetc(f)) != EOF;) bytes.push_back(uint8_t(c));
        std::fclose(f);
    }
    return bytes;
}

int zb_demoFileUtf16(FILE *out, const std::string &path, B_TAG_SUB sub) {
    // The mark goes out as raw bytes; the text through the UTF-16 writer.
    B_FILE_T f;
    if (b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_WRITE) != sOKAY) return 1;
    const char *text = "h\xC3\xA9llo \xF0\x9F\x98\x80\nline two\n";
    bool ok = b_fileWrite(&f, "\xFF\xFE", 2) == sOKAY;
    f.fmode = B_FILE_MODE_UTF16;
    ok = ok && b_filePuts(&f, text) >= 0 && b_fileSync(&f) == sOKAY;
    b_fileClose(&f);
    if (!ok) return 1;
    const std::vector<uint8_t> bytes = zb_demoFileBytes(path);
    std::fprintf(out,
                 "a UTF-16 file written from UTF-8 text (units in host order, pairs high "
                 "half first):\n  %-7s %-44s %s\n",
                 "offset", "bytes", "meaning");
    std::fprintf(out, "  %-7d %-44s %s\n", 0, "ff fe", "byte order mark, written raw");
    const struct {
        size_t at, n;
        const char *meaning;
    } rows[] = {{2, 2, "h"},
                {4, 2, "\xC3\xA9 U+00E9"},
                {14, 4, "U+1F600 as a surrogate pair"},
                {18, 2, "line feed"}};
    for (const auto &r : rows) {
        if (r.at + r.n > bytes.size()) return 1;
        char hex[16];
        std::snprintf(hex, sizeof hex, r.n == 2 ? "%02x %02x" : "%02x %02x %02x %02x", bytes[r.at],
                      bytes[r.at + 1], r.n == 4 ? bytes[r.at + 2] : 0,
                      r.n == 4 ? bytes[r.at + 3] : 0);
        std::fprintf(out, "  %-7zu %-44s %s\n", r.at, hex, r.meaning);
    }
    if (b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_READ) != sOKAY) return 1;
    std::fprintf(out,
                 "read back: mode %s, bom_off %u; lines as UTF-8 (the mark reads as ef bb bf):\n",
                 f.fmode == B_FILE_MODE_UTF16 ? "UTF-16" : "UTF-8", f.bom_off);
    char *buf = nullptr;
    size_t len = 0;
    while (b_fileGetLine(&f, &buf, &len, sub) != nullptr) {
        std::fprintf(out, "  ");
        zb_demoFileHex(out, reinterpret_cast<uint8_t *>(buf), std::strlen(buf));
    }
    b_tag_subFreeCanBeNull(sub, buf);
    const ZEL_RETCODE rc = b_fgetState(&f);
    b_fileClose(&f);
    return rc == sOKAY ? 0 : 1;
}

int zb_demoFileInput(FILE *out) {
    B_INPUT_T in;
    const char *src = "SELECT 1";
    b_inputInitFromMemory(&in, src, std::strlen(src), nullptr);
    std::string first, again;
    B_CHAR ch;
    B_REWIND_POINT point;
    for (int i = 0; i < 7; ++i) {
        if (i == 6) in.createRewindPointFcn(&in, &point);
        if (in.readFcn(&in, &ch) != sOKAY) return 1;
        first += char(ch);
    }
    if (in.rewindFcn(&in, &point) != sOKAY) return 1;
    while (in.readFcn(&in, &ch) == sOKAY && ch != 0) again += char(ch);
    std::fprintf(out,
                 "a character source over \"%s\": read \"%s\", rewound to offset %zu, read "
                 "\"%s\", then character 0 at the end\n",
                 src, first.c_str(), point.mem.pos, again.c_str());
    b_inputClose(&in);
    return 0;
}

struct ZbDemoSink {
    std::vector<uint8_t> bytes;
    static ZEL_RETCODE write(void *ctx, const void *b, uint32_t n) {
        auto *s = static_cast<ZbDemoSink *>(ctx);
        s->bytes.insert(s->bytes.end(), static_cast<const uint8_t *>(b),
                        static_cast<const uint8_t *>(b) + n);
        return sOKAY;
    }
    size_t pos = 0;
    static ZEL_RETCODE read(void *ctx, void *dest, uint32_t size, uint32_t *got, uint32_t) {
        auto *s = static_cast<ZbDemoSink *>(ctx);
        const size_t n = std::min<size_t>(size, s->bytes.size() - s->pos);
        std::memcpy(dest, s->bytes.data() + s->pos, n);
        s->pos += n;
        *got = uint32_t(n);
        return sOKAY;
    }
};

int zb_demoFileStreams(FILE *out, B_TAG_SUB sub) {
    std::fprintf(out,
                 "buffered streams: int32 0x01020304, string \"abc\" with length, a null "
                 "string\n");
    for (int16_t swap : {0, 1}) {
        ZbDemoSink sink;
        B_OUTPUT_BUFFEREDSTREAM_T w;
        if (b_outputBuffInit(&w, ZbDemoSink::write, &sink, swap, sub) != sOKAY) return 1;
        const bool ok = b_outputBuffPutInt32(&w, 0x01020304) == sOKAY &&
                        b_outputBuffPutStringWithLength(&w, "abc") == sOKAY &&
                        b_outputBuffPutStringWithLength(&w, nullptr) == sOKAY &&
                        b_outputBuffFlush(&w) == sOKAY;
        b_outputBuffTerm(&w);
        if (!ok) return 1;
        std::fprintf(out, "  byteswap %d:", swap);
        zb_demoFileHex(out, sink.bytes.data(), sink.bytes.size());
        B_INPUT_BUFFEREDSTREAM_T r;
        if (b_inputBuffInit(&r, ZbDemoSink::read, &sink, swap, sub) != sOKAY) return 1;
        int32_t v = 0;
        char *s = nullptr;
        char *null = reinterpret_cast<char *>(&v);  // set to null by the read
        const bool back = b_inputBuffGetInt32(&r, &v) == sOKAY &&
                          b_inputBuffGetString(&r, sub, &s) == sOKAY &&
                          b_inputBuffGetString(&r, sub, &null) == sOKAY;
        b_inputBuffTerm(&r);
        if (!back) return 1;
        std::fprintf(out, "    read back: 0x%08x, \"%s\", %s\n", unsigned(v), s,
                     null == nullptr ? "null" : "not null");
        b_tag_subFree(sub, s);
    }
    return 0;
}

int zb_demoFileLog(FILE *out, const std::string &path, B_TAG_SUB sub) {
    B_LOG_T log;
    if (b_logInit(&log, B_LOG_LEVEL_NONE, B_LOG_LEVEL_INFO, path.c_str(), ZEL_FALSE) != sOKAY)
        return 1;
    (void)b_logMessage(&log, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_DDL, "catalogue loaded: %d tables",
                       2);
    (void)b_logMessage(&log, B_LOG_LEVEL_MESG, B_LOG_CATEGORY_DDL, "above the file's level");
    (void)b_logMessageWithHeader(&log, B_LOG_LEVEL_WARNING, B_LOG_CATEGORY_DDL, "warning",
                                 "db.json", 12, 7, "unknown key \"%s\"", "colour");
    LOG_CHUNK chunk;
    b_logChunkInit(&chunk, sub);
    bool ok = b_logChunkAdd(&chunk, "columns:") == sOKAY;
    for (const char *c : {"id", "name", "city"})
        ok = ok && b_logChunkAdd(&chunk, " %s", c) == sOKAY;
    ok = ok && b_logChunkAdd(&chunk, " (100%%%% %s)", "kept") == sOKAY;
    (void)b_logChunkWrite(&log, &chunk, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_DDL);
    b_logChunkTerm(&chunk);
    b_logTerm(&log);
    if (!ok) return 1;
    const std::vector<uint8_t> bytes = zb_demoFileBytes(path);
    std::fprintf(out, "a log file (level info; a message of level mesg is filtered):\n");
    std::string line;
    for (uint8_t b : bytes) {
        if (b != '\n') {
            line += char(b);
            continue;
        }
        std::fprintf(out, "  %s\n", line.c_str());
        line.clear();
    }
    return 0;
}

}  // namespace

int zb_demo_file(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    char dir[] = "/tmp/zelbase-demo-XXXXXX";
    if (mkdtemp(dir) == nullptr) return 1;
    const std::string text = std::string(dir) + "/utf16.txt";
    const std::string log = std::string(dir) + "/demo.log";
    int failed = zb_demoFileUtf16(out, text, tags.sub);
    failed |= zb_demoFileInput(out);
    failed |= zb_demoFileStreams(out, tags.sub);
    failed |= zb_demoFileLog(out, log, tags.sub);
    unlink(text.c_str());
    unlink(log.c_str());
    rmdir(dir);
    return failed;
}
