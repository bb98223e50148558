/*
 * buffstream.h - the buffered binary streams: a reader over a caller's read
 * function and a writer over a caller's write function, for numbers, bytes
 * and strings. Numbers are in host byte order when `byteswap` is 0 and with
 * their bytes reversed when it is set. A string with length is a uint32
 * length in that order, then the bytes with no terminator; the length
 * 0xFFFFFFFF stands for a null string and is followed by nothing. The
 * callbacks' codes are handed on. One thread at a time.
 */
#ifndef BUFFSTREAM_H
#define BUFFSTREAM_H

#include <stddef.h>
#include <stdint.h>

#include "file_types.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* ---- Reading. A Get refills by one readFcn whenever the buffer is used up
 * and loops until it has its bytes; a read that gives 0 bytes with sOKAY
 * ends it with eEOF. A null destination skips the bytes. On a failure the
 * destination of a number or string is untouched. */

/* A cleared buffer of 4096 bytes from `subTag`; the tag's code. */
ZEL_NODISCARD ZEL_RETCODE b_inputBuffInit(B_INPUT_BUFFEREDSTREAM_T *inStream, B_BUFFREADFCN readFcn,
                                          void *dataCB, int16_t byteswap, B_TAG_SUB subTag);
/* Frees the buffer. */
void b_inputBuffTerm(B_INPUT_BUFFEREDSTREAM_T *inStream);
/* Drops what is buffered; the next Get reads afresh. */
void b_inputBuffReset(B_INPUT_BUFFEREDSTREAM_T *inStream);
ZEL_NODISCARD ZEL_RETCODE b_inputBuffGetChar(B_INPUT_BUFFEREDSTREAM_T *inStream, char *c);
ZEL_NODISCARD ZEL_RETCODE b_inputBuffGetInt16(B_INPUT_BUFFEREDSTREAM_T *inStream, int16_t *value);
ZEL_NODISCARD ZEL_RETCODE b_inputBuffGetInt32(B_INPUT_BUFFEREDSTREAM_T *inStream, int32_t *value);
ZEL_NODISCARD ZEL_RETCODE b_inputBuffGetInt64(B_INPUT_BUFFEREDSTREAM_T *inStream, int64_t *value);
ZEL_NODISCARD ZEL_RETCODE b_inputBuffGetFloat32(B_INPUT_BUFFEREDSTREAM_T *inStream, float *value);
ZEL_NODISCARD ZEL_RETCODE b_inputBuffGetFloat64(B_INPUT_BUFFEREDSTREAM_T *inStream, double *value);
/* `size` bytes into `data`, as they stand. */
ZEL_NODISCARD ZEL_RETCODE b_inputBuffGetBytes(B_INPUT_BUFFEREDSTREAM_T *inStream, void *data,
                                              uint32_t size);
/* A string with length into `str` of `size` bytes: at most size - 1 bytes and
 * a terminator (nothing at all when size is 0); a null string gives "". Bytes
 * that do not fit are skipped and give eTX_TRUNCATED (or the skip's code). */
ZEL_NODISCARD ZEL_RETCODE b_inputBuffGetStringWithLength(B_INPUT_BUFFEREDSTREAM_T *inStream,
                                                         char *str, uint32_t size);
/* A string with length into a fresh text of length + 1 bytes from `subTag`,
 * in *str (the caller frees it); a null string gives null. A null `str` skips
 * the string. The tag's code, or the read's (the text is then freed). */
ZEL_NODISCARD ZEL_RETCODE b_inputBuffGetString(B_INPUT_BUFFEREDSTREAM_T *inStream, B_TAG_SUB subTag,
                                               char **str);

/* ---- Writing. Bytes gather in the buffer, which grows by 1024 bytes up to
 * 32768 before the first write; a buffer that cannot grow is no failure (the
 * stream writes more often instead). The codes are writeFcn's. */

/* A buffer of 4096 bytes from `subTag`; the tag's code. */
ZEL_NODISCARD ZEL_RETCODE b_outputBuffInit(B_OUTPUT_BUFFEREDSTREAM_T *outStream,
                                           B_BUFFWRITEFCN writeFcn, void *dataCB, int16_t byteswap,
                                           B_TAG_SUB subTag);
/* Frees the buffer without writing it: flush first. */
void b_outputBuffTerm(B_OUTPUT_BUFFEREDSTREAM_T *outStream);
/* Writes what is gathered. */
ZEL_NODISCARD ZEL_RETCODE b_outputBuffFlush(B_OUTPUT_BUFFEREDSTREAM_T *outStream);
ZEL_NODISCARD ZEL_RETCODE b_outputBuffPutChar(B_OUTPUT_BUFFEREDSTREAM_T *outStream, char c);
ZEL_NODISCARD ZEL_RETCODE b_outputBuffPutInt16(B_OUTPUT_BUFFEREDSTREAM_T *outStream, int16_t value);
ZEL_NODISCARD ZEL_RETCODE b_outputBuffPutInt32(B_OUTPUT_BUFFEREDSTREAM_T *outStream, int32_t value);
ZEL_NODISCARD ZEL_RETCODE b_outputBuffPutInt64(B_OUTPUT_BUFFEREDSTREAM_T *outStream, int64_t value);
ZEL_NODISCARD ZEL_RETCODE b_outputBuffPutFloat32(B_OUTPUT_BUFFEREDSTREAM_T *outStream, float value);
ZEL_NODISCARD ZEL_RETCODE b_outputBuffPutFloat64(B_OUTPUT_BUFFEREDSTREAM_T *outStream,
                                                 double value);
ZEL_NODISCARD ZEL_RETCODE b_outputBuffPutBytes(B_OUTPUT_BUFFEREDSTREAM_T *outStream,
                                               const void *data, uint32_t size);
/* The bytes of `str` up to its terminator, without length or terminator. */
ZEL_NODISCARD ZEL_RETCODE b_outputBuffPutString(B_OUTPUT_BUFFEREDSTREAM_T *outStream,
                                                const char *str);
/* A string with length; null writes 0xFFFFFFFF and no bytes. eRANGE for a
 * text of 0xFFFFFFFF bytes or more. */
ZEL_NODISCARD ZEL_RETCODE b_outputBuffPutStringWithLength(B_OUTPUT_BUFFEREDSTREAM_T *outStream,
                                                          const char *str);
/* Flushes, then hands `data` to writeFcn without copying; nothing for size 0. */
ZEL_NODISCARD ZEL_RETCODE b_outputBuffSendDirect(B_OUTPUT_BUFFEREDSTREAM_T *outStream,
                                                 const void *data, uint32_t size);

ZEL_EXTERN_C_END

#endif /* BUFFSTREAM_H */
