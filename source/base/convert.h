/*
 * convert.h - the conversion engine: any storable value into any other type
 * that the type matrix allows. A pair of types selects a code from a 22 by 22
 * table, and the code selects one B_CNVFCN; each function works on one CNVCB,
 * converts a whole array at once, and with a null pvDst only reports the size
 * of its result in tSize. The text-source functions are in convert_text.h.
 */
#ifndef CONVERT_H
#define CONVERT_H

#include <stddef.h>
#include <stdint.h>

#include "convert_types.h"
#include "tag_types.h"
#include "value_types.h"
#include "zeldatetimetypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* The kind of a floating value that is not a finite number. */
typedef enum ZEL_FP_TYPE_E {
    ZEL_FP_POSITIVE_NAN = 1,
    ZEL_FP_NEGATIVE_NAN = 2,
    ZEL_FP_POSITIVE_INF = 3,
    ZEL_FP_NEGATIVE_INF = 4
} ZEL_FP_TYPE;

/* Rows of the type table (the indexes of the code table). */
#define ZEL_CNV_TYPES 22

/* sOKAY when typeSrc converts to typeDst (the private code goes to pCnvCode
 * when it is not null), else eINVCONVERT. Text, varying text and large-object
 * types count as ZEL_CHAR, the binary ones as ZEL_BINARY. */
ZEL_NODISCARD ZEL_RETCODE b_convertVerify(ZEL_TYPE typeSrc, ZEL_TYPE typeDst, CNVCODE *pCnvCode);

/* Converts pSrcVal into pDstVal, whose data memory must already be in place
 * (the record's pointer for text, binary, decimal, UUID and time stamps with
 * zone; the payload itself for the inline types), taking at most uDstMaxLen
 * bytes. Number arrays go through b_convertZelArray. On a code >= 0 the
 * destination gets dstType, the source's status and elts, and len = bytes of
 * the result. eINVNULLARG, eINVCONVERT, eRANGE, eDATALOST, eINVBCD, the text
 * parsers' codes; sTRUNCATE, sNODATA. A failure leaves the header as it was.
 * The Stack form allocates (arrays only) from a stack tag. */
ZEL_NODISCARD ZEL_RETCODE b_convertZelValue(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal,
                                            ZEL_TYPE dstType, size_t uDstMaxLen,
                                            ZEL_DATE_FORMAT date_format, char date_sep,
                                            ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                            B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_convertZelValueStack(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal,
                                                 ZEL_TYPE dstType, size_t uDstMaxLen,
                                                 ZEL_DATE_FORMAT date_format, char date_sep,
                                                 ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                                 B_TAG_STACK stackTag);

/* As b_convertZelValue with a plain buffer of srcLen bytes (a scalar) as the
 * source; the tag that is not null is used. eINVNULLARG for a null source with
 * srcLen above 0 or a null destination. The destination's status becomes
 * vsOKAY. */
ZEL_NODISCARD ZEL_RETCODE convertBufferToZelValue(const void *pSrcVal, ZEL_TYPE srcType,
                                                  size_t srcLen, ZEL_VALUE *pDstVal,
                                                  ZEL_TYPE dstType, size_t uDstMaxLen,
                                                  ZEL_DATE_FORMAT date_format, char date_sep,
                                                  ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                                  B_TAG_SUB subTag, B_TAG_STACK stackTag);

/* Converts pSrcVal (scalar or array) into the plain buffer pvDstBuf of bytesIn
 * bytes; a null pvDstBuf only measures. pBytesOut, if not null, gets the bytes
 * of the result on a code >= 0. pnOffset is accepted and not used: a read
 * always starts at 0. Nothing is allocated. */
ZEL_NODISCARD ZEL_RETCODE b_convertZelValueToBuffer(const ZEL_VALUE *pSrcVal, ZEL_TYPE dstType,
                                                    ZEL_DATE_FORMAT date_format, char date_sep,
                                                    ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                                    void *pvDstBuf, size_t bytesIn,
                                                    size_t *pnOffset, size_t *pBytesOut);

/* Converts an array value element by element into a fresh array of dstType
 * (boolean, integer or floating, else eINVCONVERT) allocated from the tag and
 * owned by the caller. An element that fails is skipped and left as the
 * allocation had it; the code is that of the last element. eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_convertZelArray(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal,
                                            ZEL_TYPE dstType, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE b_convertZelArrayStack(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal,
                                                 ZEL_TYPE dstType, B_TAG_STACK stackTag);

/* The array value as display text "ARRAY[e1,e2,...]", allocated from subTag
 * into *ppString (the caller frees it). Floats print with `precision` digits
 * after the point, right-aligned in `width` when that is not 0. eINVCONVERT
 * for a null ppString, a scalar, or an element type without a format;
 * eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_convertArrayToString(const ZEL_VALUE *pVal, char **ppString, int width,
                                                 int precision, B_TAG_SUB subTag);

/* ZEL_TRUE for a finite number; otherwise ZEL_FALSE, with *fpType (if not
 * null) telling NaN or infinity and its sign. */
ZEL_BOOL_T b_validateFloat(float fv, ZEL_FP_TYPE *fpType);
ZEL_BOOL_T b_validateDouble(double dv, ZEL_FP_TYPE *fpType);

/* Converts sVal into dVal of dstType, sizing and allocating dVal's data from
 * the tag (the caller frees it with zel_valueFree / zel_valueFreeStack).
 * A NULL or unassigned source, the same type, or narrow and UTF-8 text of
 * either kind give a deep copy that keeps the source's type. A one-byte text
 * into ZEL_INT8 with a maximum of 0 gives the number of that byte. Codes as
 * b_convertZelValue, and eNOMEMORY; dVal is written only on sOKAY and
 * sTRUNCATE, and nothing is left allocated on a failure. */
ZEL_NODISCARD ZEL_RETCODE zel_valueConvert(ZEL_VALUE *dVal, const ZEL_VALUE *sVal, ZEL_TYPE dstType,
                                           size_t uDstMaxLen, ZEL_DATE_FORMAT date_format,
                                           char date_sep, ZEL_TIME_FORMAT time_format,
                                           int16_t tz_disp, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE zel_valueConvertStack(ZEL_VALUE *dVal, const ZEL_VALUE *sVal,
                                                ZEL_TYPE dstType, size_t uDstMaxLen,
                                                ZEL_DATE_FORMAT date_format, char date_sep,
                                                ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                                B_TAG_STACK stackTag);
/* As zel_valueConvert with a plain buffer of srcLen bytes of srcType as the
 * source. eINVNULLARG for a null pDstVal, or a null pSrcVal with srcLen > 0. */
ZEL_NODISCARD ZEL_RETCODE zel_valueConvertFromBuffer(ZEL_VALUE *pDstVal, ZEL_TYPE dstType,
                                                     size_t dstMaxLen, const void *pSrcVal,
                                                     ZEL_TYPE srcType, size_t srcLen,
                                                     ZEL_DATE_FORMAT date_format, char date_sep,
                                                     ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                                     B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE zel_valueConvertFromBufferStack(
    ZEL_VALUE *pDstVal, ZEL_TYPE dstType, size_t dstMaxLen, const void *pSrcVal, ZEL_TYPE srcType,
    size_t srcLen, ZEL_DATE_FORMAT date_format, char date_sep, ZEL_TIME_FORMAT time_format,
    int16_t tz_disp, B_TAG_STACK stackTag);

/* ---- The conversion functions. Each takes one CNVCB; a null pvDst only sets
 * tSize. The number sources (and ZEL_BOOL through the uint8 ones, ZEL_ROWID
 * through the uint64 ones) convert arrays of uSrcNumElems elements and end in
 * Trunc: cnv_<source>To<Destination>Trunc for the sources int8, uint8, int16,
 * uint16, int32, uint32, int64, uint64, float, double, decimal and the
 * destinations String, Binary, Boolean, Int8 ... UInt64, Float, Double,
 * Decimal, and Rowid for the integer sources. */
#define ZEL_CNV_DECLARE_NUMERIC(S)                                \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToStringTrunc(CNVCB *cb);  \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToBinaryTrunc(CNVCB *cb);  \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToBooleanTrunc(CNVCB *cb); \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToInt8Trunc(CNVCB *cb);    \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToUInt8Trunc(CNVCB *cb);   \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToInt16Trunc(CNVCB *cb);   \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToUInt16Trunc(CNVCB *cb);  \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToInt32Trunc(CNVCB *cb);   \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToUInt32Trunc(CNVCB *cb);  \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToInt64Trunc(CNVCB *cb);   \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToUInt64Trunc(CNVCB *cb);  \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToFloatTrunc(CNVCB *cb);   \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToDoubleTrunc(CNVCB *cb);  \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToDecimalTrunc(CNVCB *cb);
#define ZEL_CNV_DECLARE_INTEGER(S) \
    ZEL_CNV_DECLARE_NUMERIC(S)     \
    ZEL_NODISCARD ZEL_RETCODE cnv_##S##ToRowidTrunc(CNVCB *cb);

ZEL_CNV_DECLARE_INTEGER(int8)
ZEL_CNV_DECLARE_INTEGER(uint8)
ZEL_CNV_DECLARE_INTEGER(int16)
ZEL_CNV_DECLARE_INTEGER(uint16)
ZEL_CNV_DECLARE_INTEGER(int32)
ZEL_CNV_DECLARE_INTEGER(uint32)
ZEL_CNV_DECLARE_INTEGER(int64)
ZEL_CNV_DECLARE_INTEGER(uint64)
ZEL_CNV_DECLARE_NUMERIC(float)
ZEL_CNV_DECLARE_NUMERIC(double)
ZEL_CNV_DECLARE_NUMERIC(decimal)

/* Text to text, by pieces through `offset`: a one-byte destination takes one
 * byte and no terminator. sTRUNCATE, sNODATA. */
ZEL_NODISCARD ZEL_RETCODE cnv_strcpyTrunc(CNVCB *cb);
/* Binary to "0x" and two capital hex digits a byte, by pieces. */
ZEL_NODISCARD ZEL_RETCODE cnv_binaryToString(CNVCB *cb);
/* Binary to binary, by pieces. */
ZEL_NODISCARD ZEL_RETCODE cnv_memcpyTrunc(CNVCB *cb);
/* Binary bytes copied raw to the start of a cleared number; eDATALOST when
 * they are more than the destination takes. */
ZEL_NODISCARD ZEL_RETCODE cnv_memcpy(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_binaryToBoolean(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_binaryToUuid(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_uuidToBinary(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_uuidToString(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_uuidToUuid(CNVCB *cb);

/* Dates and times: eDATALOST for a destination below the result's size. */
ZEL_NODISCARD ZEL_RETCODE cnv_dateToString(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_dateToDate(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_dateToTimestamp(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_dateToTimestampTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeToString(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeToTime(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeToTimeTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeToTimestamp(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeToTimestampTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeTZToString(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeTZToTime(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeTZToTimeTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeTZToTimestamp(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timeTZToTimestampTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampToString(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampToDate(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampToTime(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampToTimeTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampToTimestamp(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampToTimestampTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampTZToString(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampTZToDate(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampTZToTime(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampTZToTimeTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampTZToTimestamp(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_timestampTZToTimestampTZ(CNVCB *cb);

/* Sources in the packed stored decimal form, with prec and scale from the
 * control block; a bad packed form gives eINVBCD. Scalars only. */
ZEL_NODISCARD ZEL_RETCODE cnv_packedDecimalToInt16(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_packedDecimalToUInt16(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_packedDecimalToInt32(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_packedDecimalToUInt32(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_packedDecimalToInt64(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_packedDecimalToUInt64(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_packedDecimalToFloat(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_packedDecimalToDouble(CNVCB *cb);
/* eDATALOST for a tDstLen below 37. */
ZEL_NODISCARD ZEL_RETCODE cnv_packedDecimalToDecimal(CNVCB *cb);

ZEL_EXTERN_C_END

#endif /* CONVERT_H */
