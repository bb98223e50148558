// `zelbase embed hash FILE...` prints each file's embedder hash;
// `zelbase embed verify FILE HASH` checks a file against a hash;
// `zelbase embed extract STREAM NAME [--namespace NS] [--hash H]` unpacks an
// LZ stream (as `zelbase lz compress` writes it), cut into the embedder's
// 4096-byte pieces, into the file NS + NAME, and verifies it when a hash is
// given.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "embed.h"
#include "zelbase_cmds.h"

int zb_cmd_embed(int argc, char **argv);

namespace {

bool zb_embed_hashArg(const char *text, uint32_t *hash) {
    char *end = nullptr;
    errno = 0;
    const unsigned long v = std::strtoul(text, &end, 0);
    if (errno != 0 || end == text || *end != '\0' || v > UINT32_MAX) return false;
    *hash = static_cast<uint32_t>(v);
    return true;
}

}  // namespace

int zb_cmd_embed(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"s", "namespace", "s:NS", "extract: the name space put before NAME"},
        {"H", "hash", "s:H", "extract: verify the file against this hash"},
        {"A", nullptr, "#:hash|verify|extract", "The action"},
        {"W", nullptr, "*:ARGS", "hash: FILE...; verify: FILE HASH; extract: STREAM NAME"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The file embedder. The hash starts at 1 and takes each byte b but "
                              "carriage\nreturns as ((b * 2) XOR hash) * 1220703125, in 32 bits.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *op = nullptr, *ns = nullptr, *hashText = nullptr, *arg = nullptr;
    std::vector<const char *> args;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "namespace") == 0) {
            ns = arg;
        } else if (std::strcmp(name, "hash") == 0) {
            hashText = arg;
        } else if (std::strcmp(name, "A") == 0) {
            op = arg;
        } else {
            args.push_back(arg);
        }
    }
    ZbTags tags;
    if (!tags.ok()) return zb_exitCode(eNOMEMORY, argv[0]);
    if (std::strcmp(op, "hash") == 0) {
        if (args.empty()) return zb_usageError("hash needs one or more files");
        for (const char *file : args) {
            std::string data;
            if (!zb_readFile(file, &data)) {
                std::fprintf(stderr, "zelbase embed: cannot read %s\n", file);
                return 1;
            }
            std::printf("0x%08X  %s\n",
                        b_embed_fileHash(B_EMBED_HASH_INIT, data.data(), data.size()), file);
        }
        return 0;
    }
    uint32_t hash = 0;
    if (std::strcmp(op, "verify") == 0) {
        if (args.size() != 2 || !zb_embed_hashArg(args[1], &hash))
            return zb_usageError("verify needs a file and a hash (decimal or 0x hex)");
        const ZEL_RETCODE rc =
            b_embed_file(args[0], nullptr, 0, hash, EMBED_VERIFY, nullptr, 0, tags.sub);
        if (rc == sOKAY) std::printf("%s: matches 0x%08X\n", args[0], hash);
        return zb_exitCode(rc, argv[0]);
    }
    if (std::strcmp(op, "extract") != 0)
        return zb_usageError("Unknown action '%s': hash, verify or extract", op);
    if (args.size() != 2) return zb_usageError("extract needs a stream file and a name");
    if (hashText != nullptr && !zb_embed_hashArg(hashText, &hash))
        return zb_usageError("Not a hash: '%s'", hashText);
    std::string stream;
    if (!zb_readFile(args[0], &stream) || stream.size() > UINT32_MAX) {
        std::fprintf(stderr, "zelbase embed: cannot read %s\n", args[0]);
        return 1;
    }
    std::vector<const uint8_t *> pieces;
    for (size_t off = 0; off < stream.size(); off += B_EMBED_PIECE)
        pieces.push_back(reinterpret_cast<const uint8_t *>(stream.data()) + off);
    ZEL_RETCODE rc = b_embed_file(args[1], pieces.data(), uint32_t(stream.size()), 0, EMBED_CREATE,
                                  ns, 0, tags.sub);
    if (rc != sOKAY) return zb_exitCode(rc, argv[0]);
    const std::string target = std::string(ns != nullptr ? ns : "") + args[1];
    std::error_code ec;
    if (!std::filesystem::exists(target, ec)) {
        // The embedder removes what it could not finish and says nothing.
        std::fprintf(stderr, "zelbase embed: no file was made: the stream did not unpack into %s\n",
                     target.c_str());
        return 1;
    }
    std::printf("%s: %ju bytes from %zu stream bytes in %zu piece%s\n", target.c_str(),
                static_cast<uintmax_t>(std::filesystem::file_size(target, ec)), stream.size(),
                pieces.size(), pieces.size() == 1 ? "" : "s");
    if (hashText != nullptr) {
        rc = b_embed_file(args[1], nullptr, 0, hash, EMBED_VERIFY, ns, 0, tags.sub);
        if (rc == sOKAY) std::printf("%s: matches 0x%08X\n", target.c_str(), hash);
    }
    return zb_exitCode(rc, argv[0]);
}
