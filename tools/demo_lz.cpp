// The LZ and embedder section of `zelbase demo`: a short text compressed, the
// first codes of its stream, the stream cut into the embedder's pieces and
// extracted to a file under a name space in the temporary directory, the
// file verified by its hash (and refused with another), then deleted with
// its directory.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "embed.h"
#include "error.h"
#include "lz.h"
#include "path.h"
#include "zelbase_cmds.h"

int zb_demo_lz(FILE *out);

namespace {

const char *zb_demoLzCode(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return "?";
}

}  // namespace

int zb_demo_lz(FILE *out) {
    ZbTags tags;
    if (!tags.ok()) return 1;
    std::string text;
    for (int i = 0; i < 40; ++i)
        text += "row " + std::to_string(i % 7) + ": to be or not to be, that is the row\r\n";
    void *stream = nullptr;
    uint32_t len = 0;
    if (b_lzCompress(text.data(), uint32_t(text.size()), tags.sub, &stream, &len) != sOKAY)
        return 1;
    std::fprintf(out, "%zu bytes of text compress to %u (ratio %.2f); the first codes:\n",
                 text.size(), len, static_cast<double>(text.size()) / len);
    zb_lz_trace(out, static_cast<const uint8_t *>(stream), len, 14);

    // Embedded as pieces of 4096 bytes, extracted under <tmp>/ns/.
    std::vector<const uint8_t *> pieces;
    for (uint32_t off = 0; off < len; off += B_EMBED_PIECE)
        pieces.push_back(static_cast<const uint8_t *>(stream) + off);
    uint32_t counter = 0;
    char *tmp = nullptr;
    int fail = 0;
    if (b_fileCreateTmpName(&counter, "zbdemo", "d", "/tmp", tags.sub, &tmp) != sOKAY) {
        b_tag_subFree(tags.sub, stream);
        return 1;
    }
    const std::string ns = std::string(tmp) + "/";
    b_tag_subFree(tags.sub, tmp);
    const uint32_t hash = b_embed_fileHash(B_EMBED_HASH_INIT, text.data(), text.size());
    ZEL_RETCODE rc =
        b_embed_file("readme.txt", pieces.data(), len, 0, EMBED_CREATE, ns.c_str(), 0, tags.sub);
    std::error_code ec;
    const std::string path = ns + "readme.txt";
    const bool made = std::filesystem::exists(path, ec);
    std::fprintf(out, "extract to %s: %s, %s (%ju bytes)\n", path.c_str(), zb_demoLzCode(rc),
                 made ? "made" : "NOT made",
                 static_cast<uintmax_t>(made ? std::filesystem::file_size(path, ec) : 0));
    fail |= rc != sOKAY || !made;
    rc = b_embed_file("readme.txt", nullptr, 0, hash, EMBED_VERIFY, ns.c_str(), 0, tags.sub);
    std::fprintf(out, "verify against 0x%08X (carriage returns not counted): %s\n", hash,
                 zb_demoLzCode(rc));
    fail |= rc != sOKAY;
    rc = b_embed_file("readme.txt", nullptr, 0, hash ^ 1, EMBED_VERIFY, ns.c_str(), 0, tags.sub);
    std::fprintf(out, "verify against 0x%08X: %s\n", hash ^ 1, zb_demoLzCode(rc));
    fail |= rc != eEMBED_CONTENT_MISMATCH;
    rc = b_embed_file("readme.txt", nullptr, 0, 0, EMBED_DELETE, ns.c_str(), 0, tags.sub);
    const bool gone = !std::filesystem::exists(ns, ec);
    std::fprintf(out, "delete: %s, the file and its directory %s\n", zb_demoLzCode(rc),
                 gone ? "are gone" : "REMAIN");
    fail |= rc != sOKAY || !gone;
    b_tag_subFree(tags.sub, stream);
    return fail;
}
