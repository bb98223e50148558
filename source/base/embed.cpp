/*
 * embed.cpp - files carried by a tool as arrays of LZ pieces: unpacked to
 * disk, removed, or checked against a hash.
 *
 * The one idea: the decompressor's receiver is the file itself. Opening it
 * is the stream's LZBEGIN, so a file exists from b_lzInit on, even for an
 * empty stream; bytes gather in a small cache on their way to the file's
 * window; closing is LZEND. Any failure along the way removes the file, so
 * what a caller finds is either the whole file or none.
 */
#include "embed.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "file.h"
#include "keyvalue.h"
#include "lz.h"
#include "psp.h"
#include "tag_sub.h"

namespace {

constexpr uint32_t kHashMultiplier = 1220703125u; /* 5^13 */
constexpr uint8_t kCarriageReturn = 13;

/* The option names, by EMBED_OPTS. */
constexpr const char *embed_optNames[] = {"gsv"};
static_assert(std::size(embed_optNames) == EMBED_GSV + 1);

/* The receiver of embed_file: the stream's bytes into info->filename. */
ZEL_RETCODE embed_writeByte(void *userData, LZOPERATION op, uint8_t byte) {
    auto *info = static_cast<EMBED_INFO *>(userData);
    ZEL_RETCODE rc = sOKAY;
    switch (op) {
        case LZBEGIN:
            return b_fileOpen(&info->file, info->filename, B_FILE_FLAGS_WRITE);
        case LZBYTE:
            info->cache[info->off++] = static_cast<char>(byte);
            if (info->off < B_EMBED_CACHE) return sOKAY;
            info->off = 0;
            return b_fileWrite(&info->file, info->cache, B_EMBED_CACHE);
        case LZEND:
            if (info->off > 0) rc = b_fileWrite(&info->file, info->cache, info->off);
            info->off = 0;
            /* Flushed here, as closing drops the failure of its own flush. */
            if (rc == sOKAY) rc = b_fileFlush(&info->file);
            b_fileClose(&info->file);
            return rc;
    }
    return sOKAY;
}

/* Unpacks the pieces into `name`. A context of over 200 KiB comes from the
 * tag rather than the caller's stack. */
ZEL_RETCODE embed_file(const char *name, const uint8_t *const *content, uint32_t size,
                       B_TAG_SUB subTag) {
    B_LZ_T *lz;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, sizeof *lz, &lz));
    EMBED_INFO info;
    std::memset(&info, 0, sizeof info);
    info.filename = name;
    b_fileInit(&info.file);
    /* The file opens here, at LZBEGIN. Kept: with size 0 it is then closed
     * by the finish, an empty file. A file that will not open leaves the
     * context unset: every call below answers eINVFCNSEQ, and the name is
     * removed. */
    rc = b_lzInit(lz, &info, embed_writeByte, subTag);
    for (uint32_t off = 0; rc >= 0 && off < size; off += B_EMBED_PIECE) {
        rc = b_lzDecompressChunk(lz, content[off / B_EMBED_PIECE],
                                 std::min<uint32_t>(B_EMBED_PIECE, size - off));
    }
    /* Finished even after a failure, so that the file is closed before it
     * is removed. */
    const ZEL_RETCODE finished = b_lzFinish(lz);
    b_tag_subFree(subTag, lz);
    /* Kept: a stream that fails to unpack leaves no file, and no error. */
    if (rc < 0 || finished < 0) (void)psp_fileRemove(name);
    return sOKAY;
}

ZEL_RETCODE embed_verifyFile(const char *name, uint32_t hash) {
    B_FILE_T file;
    b_fileInit(&file);
    ZEL_RETCODE rc = b_fileOpen(&file, name, B_FILE_FLAGS_READ);
    if (rc == eFILENOENTRY) return eEMBED_FILE_NOT_FOUND;
    ZEL_CHECK(rc);
    uint32_t h = B_EMBED_HASH_INIT;
    char buf[B_FILE_WINDOW];
    for (;;) {
        size_t got = 0;
        rc = b_fileRead(&file, buf, sizeof buf, &got);
        if (rc < 0) {
            b_fileClose(&file);
            return rc;
        }
        if (got == 0) break;
        h = b_embed_fileHash(h, buf, got);
    }
    b_fileClose(&file);
    return h == hash ? sOKAY : eEMBED_CONTENT_MISMATCH;
}

/* Cuts the name at the name space's separator for `fcn` (whose result is not
 * looked at), then puts a "/" back, whichever separator stood there. */
void embed_onDirectory(char *name, size_t marker, ZEL_RETCODE (*fcn)(const char *)) {
    name[marker] = '\0';
    (void)fcn(name);
    /* Kept: "\\" comes back as "/". */
    name[marker] = '/';
}

}  // namespace

extern "C" {

uint32_t b_embed_fileHash(uint32_t hash, const void *data, size_t size) {
    const auto *p = static_cast<const uint8_t *>(data);
    for (size_t i = 0; i < size; ++i) {
        if (p[i] != kCarriageReturn) hash = ((uint32_t{p[i]} * 2) ^ hash) * kHashMultiplier;
    }
    return hash;
}

ZEL_RETCODE b_embed_file(const char *fileName, const uint8_t *const *content, uint32_t size,
                         uint32_t hash, B_EMBED_COMMAND command, const char *nameSpace,
                         uint32_t xflags, B_TAG_SUB subTag) {
    if (fileName == nullptr || subTag == nullptr || (content == nullptr && size > 0))
        return eINVNULLARG;
    /* The name space's directory ends at its last separator; 0 means none
     * (a name space without one is a plain prefix). */
    const size_t ns_len = nameSpace != nullptr ? std::strlen(nameSpace) : 0;
    size_t marker = 0;
    for (size_t i = 0; i < ns_len; ++i) {
        if (nameSpace[i] == '/' || nameSpace[i] == '\\') marker = i;
    }
    /* One allocation for the whole name: a short name could name another
     * file, which a delete would then remove. */
    const size_t file_len = std::strlen(fileName);
    char *name;
    if (b_tag_subAlloc(subTag, ns_len + file_len + 1, &name) != sOKAY) return eNOMEMORY;
    if (ns_len > 0) std::memcpy(name, nameSpace, ns_len);
    std::memcpy(name + ns_len, fileName, file_len + 1);

    const bool directory = marker != 0 && xflags == 0;
    ZEL_RETCODE rc;
    switch (command) {
        case EMBED_CREATE:
            if (directory) embed_onDirectory(name, marker, psp_fileDirCreate);
            rc = embed_file(name, content, size, subTag);
            break;
        case EMBED_DELETE:
            /* Kept: whatever the removals say, the delete succeeds. */
            (void)psp_fileRemove(name);
            if (directory) embed_onDirectory(name, marker, psp_fileDirRemove);
            rc = sOKAY;
            break;
        case EMBED_VERIFY:
            rc = embed_verifyFile(name, hash);
            break;
        default:
            rc = eEMBED_UNKNOWN_COMMAND;
            break;
    }
    b_tag_subFree(subTag, name);
    return rc;
}

ZEL_RETCODE b_embed_fileGetOpts(const char *optString, EMBED_PARAMS *params, B_TAG_SUB subTag) {
    if (params == nullptr) return eINVNULLARG;
    B_KEYVALUE_T kv;
    ZEL_RETCODE rc = b_keyvalueInit(&kv, optString, ZEL_FALSE, subTag);
    char *gsv = nullptr;
    if (rc >= 0) rc = b_keyvalueGetValueString(&kv, embed_optNames[EMBED_GSV], subTag, &gsv);
    b_keyvalueTerm(&kv);
    if (rc < 0) return rc;
    /* An absent key is no error; an empty value stores null. */
    if (rc != sNOTFOUND) params->gsv = gsv;
    return sOKAY;
}

}  // extern "C"
