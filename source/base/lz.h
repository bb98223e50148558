/*
 * lz.h - a streaming dictionary compressor with codes of 9 to 15 bits, and
 * whole-buffer wrappers. Input comes in chunks of any size, split anywhere;
 * output leaves one byte at a time through a callback, so one coder serves
 * memory and files. One record holds a whole stream's state: the compressor
 * allocates nothing, the decompressor only its string stack.
 *
 * The stream: codes packed most significant bit first, no header, no length,
 * no end code; the last byte is padded with zero bits. Codes 0 to 255 are
 * bytes, B_LZ_BUMP_CODE widens the codes by one bit, B_LZ_FLUSH_CODE forgets
 * the table; strings take codes from B_LZ_FIRST_CODE.
 *
 * A damaged stream is not detected: it decodes to whatever the table holds.
 * One thread at a time per record.
 */
#ifndef LZ_H
#define LZ_H

#include <stdint.h>

#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

#define B_LZ_DICT_SIZE 35023 /* a prime above the 32510 strings a table holds */
#define B_LZ_BUMP_CODE 256
#define B_LZ_FLUSH_CODE 257
#define B_LZ_FIRST_CODE 258
#define B_LZ_MIN_BITS 9
#define B_LZ_MAX_BITS 15
#define B_LZ_MAX_CODE 32768  /* next_code reaching this flushes the table */
#define B_LZ_STACK_MAX 32768 /* the decoder's string stack: a longer string is a loop */
#define B_LZ_OUTPUT_STEP 512 /* growth of the wrappers' output */

/* One slot: in compression a hash slot (value 0xFFFF when free), in
 * decompression the entry of code `index`, whose value then holds the code
 * of its parent's parent (0xFFFF when unknown), a shortcut of the walk. */
typedef struct DICT_ENTRY_S {
    uint16_t value;   /* the code of this string */
    uint16_t parent;  /* the code of the string without its last byte */
    uint8_t byte_val; /* that last byte */
} DICT_ENTRY;

typedef enum LZOPERATION_E { LZBEGIN = 0, LZBYTE = 1, LZEND = 2 } LZOPERATION;
typedef enum LZTYPE_E { LZCOMPRESSION = 0, LZDECOMPRESSION = 1 } LZTYPE;

/* The receiver of a stream's output: LZBEGIN once from b_lzInit, LZBYTE per
 * byte (`byte` is 0 otherwise), LZEND from b_lzFinish. A failure is returned
 * by the call that made it. */
typedef ZEL_RETCODE (*LZOUTPUTFUNCTION)(void *userData, LZOPERATION op, uint8_t byte);

typedef struct B_LZ_S {
    LZOUTPUTFUNCTION outputFcn; /* null: the context is unset */
    void *userData;
    uint8_t *stack; /* decompression: string reversal area, from subTag */
    DICT_ENTRY dict[B_LZ_DICT_SIZE];
    LZTYPE type; /* set by the first chunk */
    uint32_t stack_size;
    uint32_t stack_offset;
    uint16_t next_code;
    uint16_t next_bump_code; /* compression: the last code of this width */
    uint16_t string_code;    /* current string (compression), previous code (decompression) */
    uint16_t temp;           /* decompression: the code being assembled */
    int16_t started;         /* a chunk was seen */
    int16_t initialized;     /* decompression: the next code follows a flush */
    uint8_t rack;            /* the byte being filled or drained */
    uint8_t bitsleft;        /* free bits of rack (compression), valid bits (decompression) */
    uint8_t count;           /* decompression: bits still missing in temp */
    uint8_t current_code_bits;
    uint8_t byte_val;  /* the last input byte */
    uint8_t prev_byte; /* decompression: first byte of the last string */
    B_TAG_SUB subTag;  /* allocator of stack */
} B_LZ_T;

/* The rest of a chunk in hand. */
typedef struct LZINPUT_S {
    const uint8_t *data;
    uint32_t size;
} LZINPUT;

/* The wrappers' output: `off` bytes written of `size` allocated. */
typedef struct LZINFO_S {
    void *data;
    uint32_t off;
    uint32_t size;
    B_TAG_SUB subTag;
} LZINFO;

/* Clears `ctx`, calls outputFcn(userData, LZBEGIN, 0), and on its success
 * stores the three arguments. sOKAY also when LZBEGIN fails: the context then
 * stays unset, and the chunk and finish calls answer eINVFCNSEQ. eINVNULLARG
 * for a null ctx or outputFcn. `subTag` is needed only to decompress. */
ZEL_NODISCARD ZEL_RETCODE b_lzInit(B_LZ_T *ctx, void *userData, LZOUTPUTFUNCTION outputFcn,
                                   B_TAG_SUB subTag);
/* Compresses `size` bytes; the first non-empty chunk fixes the direction.
 * eINVFCNSEQ for an unset or decompressing context; the first failure of
 * outputFcn, after which the stream is unusable. */
ZEL_NODISCARD ZEL_RETCODE b_lzCompressChunk(B_LZ_T *ctx, const void *data, uint32_t size);
/* Decompresses `size` stream bytes, split anywhere (a code may straddle two
 * chunks). The first non-empty chunk takes the string stack, B_LZ_STACK_MAX
 * bytes from subTag, which b_lzFinish or b_lzTerm frees. eINVFCNSEQ for an
 * unset or compressing context; eINVNULLARG without a subTag; the tag's code
 * for the stack; eDBCORRUPTED for a string that loops through the table
 * (only a damaged stream makes one; a sound string has at most 32512 bytes);
 * a failure of outputFcn. */
ZEL_NODISCARD ZEL_RETCODE b_lzDecompressChunk(B_LZ_T *ctx, const void *data, uint32_t size);
/* Compression: writes the last code and the padded last byte. Then LZEND,
 * whose result is returned; a failure of the last bytes is returned instead,
 * without LZEND. The context is ended (b_lzTerm) in every case; a further
 * stream needs b_lzInit. eINVFCNSEQ for an unset context. */
ZEL_NODISCARD ZEL_RETCODE b_lzFinish(B_LZ_T *ctx);
/* Frees the stack and clears the context; abandons a stream. */
void b_lzTerm(B_LZ_T *ctx);

/* A whole buffer in one call. *dst_buffer gets a buffer from `subTag` that
 * the caller frees, *dst_size its bytes used (the buffer is not trimmed);
 * empty input gives null and 0. eINVNULLARG for a null subTag or out, or a
 * null source with a size; eRANGE for output of 4 GiB or more; the codes of
 * the chunk calls; the tag's code. On failure the outs are untouched.
 * The context stands on the caller's stack: allow 512 KiB of stack. */
ZEL_NODISCARD ZEL_RETCODE b_lzCompress(const void *src_buffer, uint32_t src_size, B_TAG_SUB subTag,
                                       void **dst_buffer, uint32_t *dst_size);
ZEL_NODISCARD ZEL_RETCODE b_lzDecompress(const void *src_buffer, uint32_t src_size,
                                         B_TAG_SUB subTag, void **dst_buffer, uint32_t *dst_size);

ZEL_EXTERN_C_END

#endif /* LZ_H */
