// The text-aware file and the buffered writer against what a user would
// write with glibc instead: getc_unlocked and getline on a FILE, fprintf,
// iconv for UTF-16, and a memcpy into a buffer with a bounds check for the
// stream numbers. The files live in a scratch directory, in the page cache
// after the first pass, so the figures are the layers' own costs.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <iconv.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "buffstream.h"
#include "file.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

// The scratch files, made once.
struct Files {
    std::string dir, text, utf16, sink = "/dev/null";
    size_t textBytes = 0, utf16Bytes = 0;
    Files() {
        char tmpl[] = "/tmp/zelbase-bench-XXXXXX";
        dir = mkdtemp(tmpl);
        text = dir + "/lines.txt";
        utf16 = dir + "/utf16.txt";
        std::mt19937 rng(5);
        std::string t, u = "\xFF\xFE";
        while (t.size() < (4 << 20)) {
            const size_t n = 20 + rng() % 80;  // lines of 20 to 99 bytes
            for (size_t i = 0; i < n; i++) t += char('a' + rng() % 26);
            t += '\n';
        }
        // Mostly ASCII text with some Latin, CJK and an emoji now and then.
        std::string utf8;
        while (u.size() < (4 << 20)) {
            const unsigned r = rng() % 100;
            const uint32_t cp = r < 80   ? 0x20 + rng() % 0x5F
                                : r < 90 ? 0xC0 + rng() % 0x40
                                : r < 98 ? 0x4E00 + rng() % 0x1000
                                : r < 99 ? 0x1F600 + rng() % 0x40
                                         : '\n';
            if (cp >= 0x10000) {
                const uint32_t v = cp - 0x10000;
                const uint16_t pair[2] = {uint16_t(0xD800 + (v >> 10)),
                                          uint16_t(0xDC00 + (v & 0x3FF))};
                u.append(reinterpret_cast<const char *>(pair), 4);
            } else {
                const uint16_t unit = uint16_t(cp);
                u.append(reinterpret_cast<const char *>(&unit), 2);
            }
        }
        write(text, t);
        write(utf16, u);
        textBytes = t.size();
        utf16Bytes = u.size();
    }
    ~Files() {
        unlink(text.c_str());
        unlink(utf16.c_str());
        rmdir(dir.c_str());
    }
    static void write(const std::string &path, const std::string &bytes) {
        FILE *f = std::fopen(path.c_str(), "wb");
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
    }
};

Files &files() {
    static Files f;
    return f;
}

void BM_Getc_File(benchmark::State &state) {
    for (auto _ : state) {
        B_FILE_T f;
        if (b_fileOpen(&f, files().text.c_str(), B_FILE_FLAGS_READ) != sOKAY)
            state.SkipWithError("open");
        uint32_t sum = 0;
        for (int32_t c; (c = b_fileGetc(&f)) >= 0;) sum += uint32_t(c);
        benchmark::DoNotOptimize(sum);
        b_fileClose(&f);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(files().textBytes));
}
BENCHMARK(BM_Getc_File);

void BM_Getc_Glibc(benchmark::State &state) {
    for (auto _ : state) {
        FILE *f = std::fopen(files().text.c_str(), "rb");
        uint32_t sum = 0;
        for (int c; (c = getc_unlocked(f)) != EOF;) sum += uint32_t(c);
        benchmark::DoNotOptimize(sum);
        std::fclose(f);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(files().textBytes));
}
BENCHMARK(BM_Getc_Glibc);

void BM_GetLine_File(benchmark::State &state) {
    B_TAG_MASTER master;
    B_TAG_SUB sub;
    (void)b_tag_masterCreate(nullptr, 0, &master);
    (void)b_tag_subCreate(master, &sub);
    for (auto _ : state) {
        B_FILE_T f;
        if (b_fileOpen(&f, files().text.c_str(), B_FILE_FLAGS_READ) != sOKAY)
            state.SkipWithError("open");
        char *buf = nullptr;
        size_t len = 0, lines = 0;
        while (b_fileGetLine(&f, &buf, &len, sub) != nullptr) lines++;
        benchmark::DoNotOptimize(lines);
        b_tag_subFree(sub, buf);
        b_fileClose(&f);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(files().textBytes));
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}
BENCHMARK(BM_GetLine_File);

void BM_GetLine_Glibc(benchmark::State &state) {
    for (auto _ : state) {
        FILE *f = std::fopen(files().text.c_str(), "rb");
        char *buf = nullptr;
        size_t cap = 0, lines = 0;
        while (getline(&buf, &cap, f) > 0) lines++;
        benchmark::DoNotOptimize(lines);
        free(buf);
        std::fclose(f);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(files().textBytes));
}
BENCHMARK(BM_GetLine_Glibc);

constexpr int kPrints = 10000;

void BM_Printf_File(benchmark::State &state) {
    B_FILE_T f;
    if (b_fileOpen(&f, files().sink.c_str(), B_FILE_FLAGS_WRITE) != sOKAY)
        state.SkipWithError("open");
    for (auto _ : state) {
        for (int i = 0; i < kPrints; i++)
            b_filePrintf(&f, "row %d: %s = %.3f\n", i, "value", i * 0.5);
    }
    b_fileClose(&f);
    state.SetItemsProcessed(int64_t(state.iterations()) * kPrints);
}
BENCHMARK(BM_Printf_File);

void BM_Printf_Glibc(benchmark::State &state) {
    FILE *f = std::fopen(files().sink.c_str(), "wb");
    for (auto _ : state) {
        for (int i = 0; i < kPrints; i++)
            std::fprintf(f, "row %d: %s = %.3f\n", i, "value", i * 0.5);
    }
    std::fclose(f);
    state.SetItemsProcessed(int64_t(state.iterations()) * kPrints);
}
BENCHMARK(BM_Printf_Glibc);

// UTF-16 to UTF-8: the file layer line by line, iconv over the whole file.
void BM_Utf16Read_File(benchmark::State &state) {
    B_TAG_MASTER master;
    B_TAG_SUB sub;
    (void)b_tag_masterCreate(nullptr, 0, &master);
    (void)b_tag_subCreate(master, &sub);
    for (auto _ : state) {
        B_FILE_T f;
        if (b_fileOpen(&f, files().utf16.c_str(), B_FILE_FLAGS_READ) != sOKAY)
            state.SkipWithError("open");
        char *buf = nullptr;
        size_t len = 0, out = 0;
        while (b_fileGetLine(&f, &buf, &len, sub) != nullptr) out += std::strlen(buf);
        benchmark::DoNotOptimize(out);
        b_tag_subFree(sub, buf);
        b_fileClose(&f);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(files().utf16Bytes));
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}
BENCHMARK(BM_Utf16Read_File);

void BM_Utf16Read_Iconv(benchmark::State &state) {
    std::vector<char> in(files().utf16Bytes), out(files().utf16Bytes * 2);
    for (auto _ : state) {
        const int fd = open(files().utf16.c_str(), O_RDONLY);
        size_t got = 0;
        for (ssize_t n; (n = read(fd, in.data() + got, in.size() - got)) > 0;) got += size_t(n);
        close(fd);
        iconv_t cd = iconv_open("UTF-8", "UTF-16LE");
        char *ip = in.data(), *op = out.data();
        size_t il = got, ol = out.size();
        iconv(cd, &ip, &il, &op, &ol);
        iconv_close(cd);
        benchmark::DoNotOptimize(op);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(files().utf16Bytes));
}
BENCHMARK(BM_Utf16Read_Iconv);

ZEL_RETCODE discard(void *, const void *bytes, uint32_t) {
    benchmark::DoNotOptimize(bytes);
    return sOKAY;
}

constexpr int kPuts = 100000;

void BM_PutInt32_Stream(benchmark::State &state) {
    B_TAG_MASTER master;
    B_TAG_SUB sub;
    (void)b_tag_masterCreate(nullptr, 0, &master);
    (void)b_tag_subCreate(master, &sub);
    B_OUTPUT_BUFFEREDSTREAM_T out;
    (void)b_outputBuffInit(&out, discard, nullptr, 0, sub);
    for (auto _ : state) {
        for (int i = 0; i < kPuts; i++) (void)b_outputBuffPutInt32(&out, i);
    }
    (void)b_outputBuffFlush(&out);
    b_outputBuffTerm(&out);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
    state.SetItemsProcessed(int64_t(state.iterations()) * kPuts);
}
BENCHMARK(BM_PutInt32_Stream);

// The peer: what one writes by hand, a buffer, a bounds check, memcpy, and
// the same write function when the buffer is full.
struct HandWriter {
    uint8_t buf[32768];
    uint32_t pos = 0;
    ZEL_RETCODE (*write)(void *, const void *, uint32_t) = discard;
};

[[gnu::noinline]] ZEL_RETCODE handPutInt32(HandWriter *w, int32_t v) {
    if (sizeof w->buf - w->pos < sizeof v) {
        ZEL_RETCODE rc = w->write(nullptr, w->buf, w->pos);
        if (rc != sOKAY) return rc;
        w->pos = 0;
    }
    std::memcpy(w->buf + w->pos, &v, sizeof v);
    w->pos += sizeof v;
    return sOKAY;
}

void BM_PutInt32_Memcpy(benchmark::State &state) {
    static HandWriter w;
    for (auto _ : state) {
        for (int i = 0; i < kPuts; i++) (void)handPutInt32(&w, i);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPuts);
}
BENCHMARK(BM_PutInt32_Memcpy);

}  // namespace

BENCHMARK_MAIN();
