/*
 * decoder.h - B_DECODER_T, the byte source of every unpack function: the
 * mirror of encoder.h, whose top comment holds the stored layouts. Every
 * read takes the bytes it needs from `fcn` and no more; an answer of `fcn`
 * other than sOKAY (eEOD at the end of a buffer, or a status) stops the read
 * and is returned as it stands.
 * A value too large for its target means a damaged object: eDBCORRUPTED.
 * Targets are written only on success, except where a comment says so.
 */
#ifndef DECODER_H
#define DECODER_H

#include <stddef.h>
#include <stdint.h>

#include "coder_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* Stores the four fields; `bulk_fcn` and `subTag` may be null. */
void b_decoderInit(B_DECODER_T *decoder, ZEL_INPUT_FCN fcn, B_BULK_INPUT_FCN bulk_fcn,
                   B_INPUT_CTX ctx, B_TAG_SUB subTag);
/* Clears all four fields; the context is the caller's and stays as it is. */
void b_decoderTerm(B_DECODER_T *decoder);
B_INPUT_CTX b_decoderGetCtx(const B_DECODER_T *decoder);
/* The context must be a B_BUFFER_T: pos becomes newPos; eEOD beyond len. */
ZEL_NODISCARD ZEL_RETCODE b_decoderSeek(const B_DECODER_T *decoder, size_t newPos);
/* The context must be a B_BUFFER_T: the bytes from pos to len, 0 past it. A
 * reader bounds a stored count by it before allocating for the count. */
size_t b_decoderBytesLeft(const B_DECODER_T *decoder);

/* `size` raw bytes through fcn, each stored as it comes: on a failure the
 * bytes read before it are in `data`. Size 0 reads nothing. */
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeBytes(const B_DECODER_T *decoder, void *data, size_t size);
/* One call of bulk_fcn; eNOTIMPLEMENTED without one. `bytesRead` may be null. */
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeBytesBulk(const B_DECODER_T *decoder,
                                                   size_t bytesRequested, void *data,
                                                   size_t *bytesRead);

/* A whole varint; a value above the target's range gives eDBCORRUPTED. */
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint8(const B_DECODER_T *decoder, uint8_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint16(const B_DECODER_T *decoder, uint16_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint32(const B_DECODER_T *decoder, uint32_t *val);
/* A varint through the signed mapping; outside the target's range:
 * eDBCORRUPTED. */
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt8(const B_DECODER_T *decoder, int8_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt16(const B_DECODER_T *decoder, int16_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt32(const B_DECODER_T *decoder, int32_t *val);
/* The 64-bit reads have no range to check. */
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint64(const B_DECODER_T *decoder, uint64_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeSlot(const B_DECODER_T *decoder, ZEL_SLOT *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeSize_t(const B_DECODER_T *decoder, size_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt64(const B_DECODER_T *decoder, int64_t *val);
/* 4 or 8 bytes, most significant first, into the host's order. */
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeFloat(const B_DECODER_T *decoder, float *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeDouble(const B_DECODER_T *decoder, double *val);

/* A string: its length, an allocation of length + 1 bytes from `subTag`, the
 * bytes and a terminator. *pstr takes the allocation (the caller frees it on
 * subTag) and *plen, if plen is not null, length + 1. On any failure nothing
 * stays allocated; the tag's code when it refuses the size. */
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeString(const B_DECODER_T *decoder, char **pstr,
                                                size_t *plen, B_TAG_SUB subTag);
/* The same into the caller's `str`: *plen holds its capacity in bytes on the
 * way in and length + 1 on the way out. A stored string that does not fit
 * with its terminator gives eDBCORRUPTED before any byte of it is read.
 * On a failure of the bytes, `str` holds those read so far. */
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeStringToBuff(const B_DECODER_T *decoder, char *str,
                                                      size_t *plen);

/* Numeric arrays in the group layout (encoder.h). `...Array` allocates `size`
 * elements from `subTag` (not cleared), reads every group into them and
 * hands the array to *pval, to be freed on subTag; on a failure it frees it.
 * `...ArrayBuffer` reads into the caller's `size` elements. Each group's
 * values go to the running position, which then moves on by its num_nulls;
 * positions skipped or never reached are left as they are (groups 0 reads
 * nothing more). A group whose values would pass `size` gives eDBCORRUPTED
 * before any of them is read. On a failure, ArrayBuffer leaves the values
 * read so far in `val`. */
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint8Array(const B_DECODER_T *decoder, size_t size,
                                                    uint8_t **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint16Array(const B_DECODER_T *decoder, size_t size,
                                                     uint16_t **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint32Array(const B_DECODER_T *decoder, size_t size,
                                                     uint32_t **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint64Array(const B_DECODER_T *decoder, size_t size,
                                                     uint64_t **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt8Array(const B_DECODER_T *decoder, size_t size,
                                                   int8_t **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt16Array(const B_DECODER_T *decoder, size_t size,
                                                    int16_t **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt32Array(const B_DECODER_T *decoder, size_t size,
                                                    int32_t **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt64Array(const B_DECODER_T *decoder, size_t size,
                                                    int64_t **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeFloatArray(const B_DECODER_T *decoder, size_t size,
                                                    float **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeDoubleArray(const B_DECODER_T *decoder, size_t size,
                                                     double **pval, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint8ArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                          uint8_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint16ArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                           uint16_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint32ArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                           uint32_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeUint64ArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                           uint64_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt8ArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                         int8_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt16ArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                          int16_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt32ArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                          int32_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeInt64ArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                          int64_t *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeFloatArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                          float *val);
ZEL_NODISCARD ZEL_RETCODE b_decoderDecodeDoubleArrayBuffer(const B_DECODER_T *decoder, size_t size,
                                                           double *val);

ZEL_EXTERN_C_END

#endif /* DECODER_H */
