// `zelbase lzma compress|decompress|trace [FILE]`: the library's LZMA coder
// over a file (standard input without one). compress and decompress write the result
// to standard output; trace compresses and prints one line per packet (where
// it starts, what it is, its distance or repeat, its length, the state it
// was coded in) and a summary.
#include <cstdio>
#include <cstring>
#include <string>

#include "buffer.h"
#include "error.h"
#include "lzma.h"
#include "zelbase_cmds.h"

int zb_cmd_lzma(int argc, char **argv);

namespace {

const char *zb_lzma_code(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return "?";
}

struct zb_lzma_counts {
    unsigned long packets[4] = {0, 0, 0, 0};
};

void zb_lzma_print(void *ctx, const LZMA_PACKET *p) {
    static const char *const names[] = {"LIT", "MATCH", "SHORTREP", "LONGREP"};
    static_cast<zb_lzma_counts *>(ctx)->packets[p->type]++;
    if (p->type == LZMA_MATCH_PACKET) {
        std::printf("%8u  %-8s distance %-6u length %-4u state %u\n", p->input_pos, names[p->type],
                    p->pos + 1, p->len, p->state);
    } else if (p->type == LZMA_LONGREP_PACKET) {
        std::printf("%8u  %-8s rep %-11u length %-4u state %u\n", p->input_pos, names[p->type],
                    p->pos, p->len, p->state);
    } else {
        std::printf("%8u  %-8s %-24s state %u\n", p->input_pos, names[p->type], "", p->state);
    }
}

}  // namespace

int zb_cmd_lzma(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"A", nullptr, "#:compress|decompress|trace",
         "compress or decompress to standard output; trace: one line per packet and a "
         "summary"},
        {"F", nullptr, "?:FILE", "The input; without it, standard input"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The library's LZMA coder over a file. trace prints where each "
                              "packet starts,\nwhat it is, its distance or repeat, its length "
                              "and the state it was coded in.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *op = nullptr, *path = nullptr;
    (void)zel_cmdlineNextLongOption(&cmd, &op);
    (void)zel_cmdlineNextLongOption(&cmd, &path);
    const bool compress = std::strcmp(op, "compress") == 0;
    const bool decompress = std::strcmp(op, "decompress") == 0;
    const bool trace = std::strcmp(op, "trace") == 0;
    if (!compress && !decompress && !trace)
        return zb_usageError("Unknown action '%s': compress, decompress or trace", op);
    std::string data;
    if (!zb_readFile(path, &data)) {
        std::fprintf(stderr, "zelbase lzma: cannot read %s\n",
                     path != nullptr ? path : "standard input");
        return 1;
    }
    ZbTags tags;
    B_LZMA_T *lzma = nullptr;
    if (!tags.ok() || b_tag_subAlloc(tags.sub, sizeof *lzma, &lzma) != sOKAY) return 1;
    ZEL_RETCODE rc = b_lzmaInit(lzma, tags.sub);
    B_BUFFER_T src, dst;
    b_bufferInitStatic(&src, data.data(), data.size(), data.size());
    b_bufferInit(&dst, tags.sub);
    zb_lzma_counts counts;
    if (rc == sOKAY) {
        if (compress) rc = b_lzmaCompress(lzma, &src, &dst);
        if (decompress) rc = b_lzmaDecompress(lzma, &src, &dst);
        if (trace) rc = b_lzmaTrace(lzma, &src, &dst, zb_lzma_print, &counts);
    }
    if (rc < 0) {
        std::fprintf(stderr, "zelbase lzma: %s failed: %s (%d)\n", op, zb_lzma_code(rc),
                     static_cast<int>(rc));
    } else if (rc != sOKAY) {
        std::fprintf(stderr, "zelbase lzma: stopped at a short repeat (%d) after %zu bytes\n",
                     static_cast<int>(rc), dst.len);
    }
    if (trace && rc == sOKAY) {
        std::printf(
            "%zu bytes in, %zu out (ratio %.3f): %lu literals, %lu matches, %lu repeats\n",
            data.size(), dst.len,
            dst.len == 0 ? 0.0 : static_cast<double>(data.size()) / static_cast<double>(dst.len),
            counts.packets[LZMA_LIT_PACKET], counts.packets[LZMA_MATCH_PACKET],
            counts.packets[LZMA_LONGREP_PACKET]);
    } else if (rc >= 0) {
        std::fwrite(dst.data.bin, 1, dst.len, stdout);
    }
    b_bufferTerm(&dst);
    b_lzmaTerm(lzma);
    b_tag_subFree(tags.sub, lzma);
    return rc == sOKAY ? 0 : 1;
}
