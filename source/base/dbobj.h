/*
 * dbobj.h - the wrapping of every stored object, whatever its kind: a
 * one-byte header (compression method or'ed with item format), the packed
 * bytes as they stand or LZMA-compressed, and zeros up to a multiple of 16.
 * These functions see only buffers, never what is inside. A B_LZMA_T (lzma.h)
 * is passed where LZMA is used; it serves one thread at a time.
 */
#ifndef DBOBJ_H
#define DBOBJ_H

#include <stdint.h>

#include "buffer.h"
#include "dbobj_types.h"
#include "schema_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* Wraps src's packed bytes and appends the stored object to dst. An object of
 * fewer than rowCompressMinSize bytes (src's len) is stored plain, any other
 * with `method`. Plain: the header, src's bytes from its pos to its len, the
 * padding. LZMA: the header, the LZMA stream of src's bytes 0 to len (its
 * length varint and coded bytes), the padding; compressInfo is a B_LZMA_T.
 * There is no fallback: an object that grows under compression is stored
 * grown. eNOTIMPLEMENTED for LZMA without compressInfo and eSYS_ERROR for an
 * unknown method, both with the header already appended; eRANGE for a source
 * of 4 GiB or more; the buffer's code when dst cannot grow. */
ZEL_NODISCARD ZEL_RETCODE dbobj_compress(void *compressInfo, ZEL_COMPRESS_METHOD method,
                                         uint32_t rowCompressMinSize, ZEL_ITEM_FORMAT itemFormat,
                                         const B_BUFFER_T *src, B_BUFFER_T *dst);

/* Unwraps the stored object in `buffer` into dst (from its start) and stores
 * the item format in *item_format (when not null); dst's pos is 0 on return.
 * An empty buffer: sOKAY with nothing else done. With enc_in, the whole
 * buffer is first deciphered in place; a borrowed buffer gets memory of its
 * own for that (from its tag), so the caller's bytes stay as they were. A
 * plain object keeps its padding in dst, and from a borrowed buffer dst
 * becomes a view of the same bytes. An LZMA object gives what b_lzmaDecompress
 * gives: sOKAY (a cut stream yields a shorter result) or 2 for a stream
 * holding a short repeat; compress_info is a B_LZMA_T. Failures: eEOD,
 * eINVVARINT or eRANGE from the header, eNOTIMPLEMENTED for LZMA without
 * compress_info, eSYS_ERROR for an unknown method, eINVNULLARG for a null
 * buffer or a cipher without decFcn, what decFcn answers, the decoder's and
 * the buffer's codes; dst's contents are then undefined and the buffer may
 * have been deciphered. */
ZEL_NODISCARD ZEL_RETCODE dbobj_convert_in(B_BUFFER_T *dst, B_BUFFER_T *buffer,
                                           ZEL_ENCRYPT_C enc_in, ZEL_ITEM_FORMAT *item_format,
                                           void *compress_info);

ZEL_EXTERN_C_END

#endif /* DBOBJ_H */
