/*
 * embed.h - files carried in memory by a tool: an array of 4096-byte pieces
 * holding an LZ stream (lz.h) becomes a file again under a name space, is
 * removed again, or a file on disk is checked against a hash of its bytes.
 * No state; one call at a time per file.
 */
#ifndef EMBED_H
#define EMBED_H

#include <stddef.h>
#include <stdint.h>

#include "file_types.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

#define B_EMBED_PIECE 4096 /* bytes of every piece but the last */
#define B_EMBED_CACHE 256  /* output gathered before a write */
#define B_EMBED_HASH_INIT 1u

typedef enum B_EMBED_COMMAND_E {
    EMBED_CREATE = 0, /* unpack the pieces into the file */
    EMBED_DELETE = 1, /* remove the file and its name space's directory */
    EMBED_VERIFY = 2  /* compare the file's hash with the one given */
} B_EMBED_COMMAND;

/* The state of one output file. */
typedef struct EMBED_INFO_S {
    const char *filename;
    B_FILE_T file;
    char cache[B_EMBED_CACHE];
    uint32_t off; /* bytes in cache */
} EMBED_INFO;

/* The embedder's options: "gsv", a text. */
typedef enum EMBED_OPTS_E { EMBED_GSV = 0 } EMBED_OPTS;

typedef struct EMBED_PARAMS_S {
    char *gsv; /* from the option string's tag; null when empty */
} EMBED_PARAMS;

/* Works on the file `nameSpace` + `fileName` (nameSpace may be null). The
 * name space's directory is the part before its last "/" or "\\"; with
 * `xflags` 0 EMBED_CREATE makes that directory (one level, an existing one
 * is fine) and EMBED_DELETE removes it when empty, and the separator is then
 * "/" in the name used.
 * EMBED_CREATE: `content` holds ceil(size / 4096) pieces of an LZ stream of
 * `size` bytes in all; the file is written from it. A stream that cannot be
 * unpacked or written leaves no file and still gives sOKAY. EMBED_DELETE:
 * removes the file; sOKAY whatever happened. EMBED_VERIFY: sOKAY when the
 * file hashes (b_embed_fileHash) to `hash`, eEMBED_CONTENT_MISMATCH when not,
 * eEMBED_FILE_NOT_FOUND without the file, a read failure as it came.
 * eEMBED_UNKNOWN_COMMAND; eINVNULLARG for a null fileName or subTag, or null
 * content with a size; eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_embed_file(const char *fileName, const uint8_t *const *content,
                                       uint32_t size, uint32_t hash, B_EMBED_COMMAND command,
                                       const char *nameSpace, uint32_t xflags, B_TAG_SUB subTag);

/* Carries `hash` over `size` bytes: for each byte b but 13 (carriage return),
 * hash = ((b * 2) XOR hash) * 1220703125, in 32 bits. A file's hash starts at
 * B_EMBED_HASH_INIT, so a text hashes the same with either line end. */
uint32_t b_embed_fileHash(uint32_t hash, const void *data, size_t size);

/* Parses `optString` (key=value;...) and copies the value of "gsv" to
 * params->gsv, a text from `subTag` that the caller frees (null for an empty
 * value). Without the key params is untouched. The key/value codes:
 * eINVKEYVALUE, eVALUEISLIST, eNOMEMORY, eINVNULLARG (also for null params);
 * on failure params is untouched. */
ZEL_NODISCARD ZEL_RETCODE b_embed_fileGetOpts(const char *optString, EMBED_PARAMS *params,
                                              B_TAG_SUB subTag);

ZEL_EXTERN_C_END

#endif /* EMBED_H */
