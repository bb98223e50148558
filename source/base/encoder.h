/*
 * encoder.h - B_ENCODER_T, the byte sink of every pack function. Integers
 * go out as variable integers (vint.h), signed ones after the signed
 * mapping; floats and doubles as their IEEE 754 bytes, most significant
 * first; strings as a varint byte length and the bytes, no terminator.
 *
 * Numeric arrays use the group layout:
 *   FIELD        FORM                 MEANING
 *   groups       varint               number of groups (the encoder writes 1)
 *   cardinality  varint, per group    values in this group (the array size)
 *   num_nulls    varint, per group    positions skipped after them (0)
 *   values       per group            cardinality elements in scalar form
 *
 * Every operation stops at the first answer of the sink's callback other
 * than sOKAY (a status too) and returns it; bytes emitted before stay so.
 */
#ifndef ENCODER_H
#define ENCODER_H

#include <stddef.h>
#include <stdint.h>

#include "coder_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* Stores the four fields; `bulk_fcn` and `subTag` may be null. */
void b_encoderInit(B_ENCODER_T *encoder, ZEL_OUTPUT_FCN fcn, B_BULK_OUTPUT_FCN bulk_fcn,
                   B_OUTPUT_CTX ctx, B_TAG_SUB subTag);
/* Clears all four fields; the context is the caller's and stays as it is. */
void b_encoderTerm(B_ENCODER_T *encoder);
/* Empties the context, which must be a B_BUFFER_T: len and pos 0. */
void b_encoderReset(B_ENCODER_T *encoder);
B_OUTPUT_CTX b_encoderGetCtx(const B_ENCODER_T *encoder);

/* `size` raw bytes through fcn, one call each; size 0 writes nothing. */
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeBytes(const B_ENCODER_T *encoder, const void *data,
                                               size_t size);
/* `size` raw bytes in one call of bulk_fcn; eNOTIMPLEMENTED without one. */
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeBytesBulk(const B_ENCODER_T *encoder, const void *data,
                                                   size_t size);

/* Variable integer of the value: an 8-bit 200 takes two bytes. */
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeUint8(const B_ENCODER_T *encoder, uint8_t val);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeUint16(const B_ENCODER_T *encoder, uint16_t val);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeUint32(const B_ENCODER_T *encoder, uint32_t val);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeUint64(const B_ENCODER_T *encoder, uint64_t val);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeSlot(const B_ENCODER_T *encoder, ZEL_SLOT val);
/* Variable integer of the signed mapping. */
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeInt8(const B_ENCODER_T *encoder, int8_t val);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeInt16(const B_ENCODER_T *encoder, int16_t val);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeInt32(const B_ENCODER_T *encoder, int32_t val);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeInt64(const B_ENCODER_T *encoder, int64_t val);
/* 4 or 8 raw bytes, most significant first. */
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeFloat(const B_ENCODER_T *encoder, float val);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeDouble(const B_ENCODER_T *encoder, double val);
/* Varint of strlen(str), then the bytes; `str` must not be null. */
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeString(const B_ENCODER_T *encoder, const char *str);

/* The group layout with one group of `size` values (size 0: the bytes
 * 01 00 00). `values` may be null only when size is 0. */
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeUint8Array(const B_ENCODER_T *encoder, size_t size,
                                                    const uint8_t *values);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeUint16Array(const B_ENCODER_T *encoder, size_t size,
                                                     const uint16_t *values);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeUint32Array(const B_ENCODER_T *encoder, size_t size,
                                                     const uint32_t *values);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeUint64Array(const B_ENCODER_T *encoder, size_t size,
                                                     const uint64_t *values);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeInt8Array(const B_ENCODER_T *encoder, size_t size,
                                                   const int8_t *values);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeInt16Array(const B_ENCODER_T *encoder, size_t size,
                                                    const int16_t *values);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeInt32Array(const B_ENCODER_T *encoder, size_t size,
                                                    const int32_t *values);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeInt64Array(const B_ENCODER_T *encoder, size_t size,
                                                    const int64_t *values);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeFloatArray(const B_ENCODER_T *encoder, size_t size,
                                                    const float *values);
ZEL_NODISCARD ZEL_RETCODE b_encoderEncodeDoubleArray(const B_ENCODER_T *encoder, size_t size,
                                                     const double *values);

ZEL_EXTERN_C_END

#endif /* ENCODER_H */
