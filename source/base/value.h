/*
 * value.h - the zel_value family: initialisers, setters, getters, comparisons,
 * copies and release of the tagged value ZEL_VALUE (see value_types.h).
 * Inline types never allocate. Setters of pointer types copy into the tag
 * named in the record, or borrow the caller's pointer when it names none; the
 * record does not remember which, so the functions that copy deeply or free
 * are handed the tag again by the caller. No state, no lock.
 */
#ifndef VALUE_H
#define VALUE_H

#include "value_types.h"

ZEL_EXTERN_C_BEGIN

/* ---- Initialisers. Each clears the whole record (the tag becomes
 * VAL_TAG_TYPE_NONE); a null record is ignored. */

/* vsNOVAL, ZEL_NOVAL. */
void zel_valueInit(ZEL_VALUE *pVal);
/* vsNULL, ZEL_NOVAL. */
void zel_valueInitAndSetNull(ZEL_VALUE *pVal);
/* vsNOVAL with the given type. */
void zel_valueInitWithType(ZEL_VALUE *pVal, ZEL_TYPE type);
void zel_valueInitWithStatusAndType(ZEL_VALUE *pVal, VAL_STATUS valStatus, ZEL_TYPE type);

/* ---- Setters of inline types: status vsOKAY, len and elts 0, the payload,
 * and the tag cleared to VAL_TAG_TYPE_NONE. A null record is ignored. */

void zel_valueSetBoolean(ZEL_VALUE *pVal, ZEL_BOOL_T bv);
void zel_valueSetInt8(ZEL_VALUE *pVal, int8_t v);
void zel_valueSetUInt8(ZEL_VALUE *pVal, uint8_t v);
void zel_valueSetInt16(ZEL_VALUE *pVal, int16_t v);
void zel_valueSetUInt16(ZEL_VALUE *pVal, uint16_t v);
void zel_valueSetInt32(ZEL_VALUE *pVal, int32_t v);
void zel_valueSetUInt32(ZEL_VALUE *pVal, uint32_t v);
void zel_valueSetInt64(ZEL_VALUE *pVal, int64_t v);
void zel_valueSetUInt64(ZEL_VALUE *pVal, uint64_t v);
void zel_valueSetFloat(ZEL_VALUE *pVal, float v);
void zel_valueSetDouble(ZEL_VALUE *pVal, double v);
void zel_valueSetDate(ZEL_VALUE *pVal, ZEL_PACKED_DATE_T v);
void zel_valueSetTime(ZEL_VALUE *pVal, ZEL_PACKED_TIME_T v);
void zel_valueSetTimeTZ(ZEL_VALUE *pVal, ZEL_PACKED_TIMETZ_T v);
void zel_valueSetTimestamp(ZEL_VALUE *pVal, ZEL_PACKED_TIMESTAMP_T v);
void zel_valueSetRowId(ZEL_VALUE *pVal, ZEL_ROWID_T ridv);
/* Marker types of the query layer; the number goes to i16v (u16v for a
 * result column). */
void zel_valueSetParamRef(ZEL_VALUE *pVal, int16_t val);
void zel_valueSetOuterRef(ZEL_VALUE *pVal, int16_t val);
void zel_valueSetColRef(ZEL_VALUE *pVal, int16_t val);
void zel_valueSetProcVar(ZEL_VALUE *pVal, int16_t val);
void zel_valueSetResultCol(ZEL_VALUE *pVal, uint16_t val);

/* ---- Setters of pointer types. They copy through the record's tag (sub or
 * stack), or keep the caller's pointer with VAL_TAG_TYPE_NONE; the tag is not
 * touched. status vsOKAY, elts 0. A null record or data pointer gives
 * eINVNULLARG, an unknown tag type eINVARG, a failed allocation eNOMEMORY;
 * on any failure the record stays as it was. */

/* 37 bytes; ZEL_BCD, len 0. */
ZEL_NODISCARD ZEL_RETCODE zel_valueSetBCD(ZEL_VALUE *pVal, const ZEL_BCD_T *bcd);
/* 12 bytes; ZEL_TIMESTAMPTZ, len 0. */
ZEL_NODISCARD ZEL_RETCODE zel_valueSetTimestampTZ(ZEL_VALUE *pVal,
                                                  const ZEL_PACKED_TIMESTAMPTZ_T *tszv);
/* 16 bytes; ZEL_UUID, len 0. */
ZEL_NODISCARD ZEL_RETCODE zel_valueSetUuid(ZEL_VALUE *pVal, const ZEL_UUID_T *uuid);
/* The text with its zero; ZEL_CHAR, len strlen + 1. */
ZEL_NODISCARD ZEL_RETCODE zel_valueSetString(ZEL_VALUE *pVal, const char *str);
/* `buflen` bytes (`buf` may be null only when buflen is 0); ZEL_BINARY. */
ZEL_NODISCARD ZEL_RETCODE zel_valueSetBinary(ZEL_VALUE *pVal, const void *buf, size_t buflen);

/* ---- Other setters; a null record is ignored. */

/* An error value: vsERROR, vt.err = err, type ZEL_ZERODIV for eDIVBY0 and
 * ZEL_NOVAL otherwise; len and elts 0; the tag stays. */
void zel_valueSetError(ZEL_VALUE *pVal, ZEL_RETCODE err);
/* Status vsNULL; the type and everything else stay. */
void zel_valueSetNull(ZEL_VALUE *pVal);
/* Type ZEL_NOVAL and status vsNOVAL; nothing else changes. */
void zel_valueSetNoVal(ZEL_VALUE *pVal);

/* ---- Getters. eINVNULLARG for a null record or result pointer, eINVARGTYPE
 * for a type the getter does not take. The status is not looked at. */

/* The eight integer types, signed ones sign-extended; eRANGE for a
 * ZEL_UINT64 above INT64_MAX. */
ZEL_NODISCARD ZEL_RETCODE zel_valueGetInt64(const ZEL_VALUE *pVal, int64_t *pi64v);
/* The integers, ZEL_ROWID, ZEL_FLOAT and ZEL_DOUBLE. Integers are
 * zero-extended from their bit pattern (ZEL_INT8 -1 gives 255); floats are
 * truncated, negative ones to their two's complement. No error for any
 * number: NaN gives 0 and out-of-range floats saturate. */
ZEL_NODISCARD ZEL_RETCODE zel_valueGetUInt64(const ZEL_VALUE *pVal, uint64_t *pu64v);
/* The eight integer types only, zero-extended as above. */
ZEL_NODISCARD ZEL_RETCODE zel_valueGetSizeT(const ZEL_VALUE *pVal, size_t *ptSize);
/* Integers (ZEL_UINT64 as unsigned), floats, ZEL_BCD (the decimal's code is
 * returned: eRANGE when the double does not give the decimal back), and
 * ZEL_DATE and ZEL_TIME as their packed number. */
ZEL_NODISCARD ZEL_RETCODE zel_valueGetDouble(const ZEL_VALUE *pVal, double *pdv);
/* -1, 0 or 1 of an integer, float or decimal; a NaN has sign 1. */
ZEL_NODISCARD ZEL_RETCODE zel_valueGetSign(const ZEL_VALUE *pVal, int16_t *psSign);
/* True for an integer, float or decimal whose double is 0.0; false for every
 * other type (ZEL_BOOL included) and for a null record. */
ZEL_BOOL_T zel_valueIsZero(const ZEL_VALUE *pVal);
/* Negates in place: signed integers wrap at their width, floats flip the
 * sign bit, decimals change sign, a boolean's low byte is inverted, unsigned
 * integers move to the next wider signed type (ZEL_UINT64 above 2^63 sets
 * vsDATALOSS instead). Other types and a null record are left alone. */
void zel_valueChangeSign(ZEL_VALUE *pVal);

/* ---- Comparison with a native number, the value on the left. The type must
 * be exactly the one of the number, else eTYPEMISMATCH. A null pCmp returns
 * sOKAY and stores nothing. For floats a NaN on either side gives ZEL_EQ. */

ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToInt8(const ZEL_VALUE *pVal, int8_t v,
                                                 ZEL_COMPARE *pCmp);
ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToUInt8(const ZEL_VALUE *pVal, uint8_t v,
                                                  ZEL_COMPARE *pCmp);
ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToInt16(const ZEL_VALUE *pVal, int16_t v,
                                                  ZEL_COMPARE *pCmp);
ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToUInt16(const ZEL_VALUE *pVal, uint16_t v,
                                                   ZEL_COMPARE *pCmp);
ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToInt32(const ZEL_VALUE *pVal, int32_t v,
                                                  ZEL_COMPARE *pCmp);
ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToUInt32(const ZEL_VALUE *pVal, uint32_t v,
                                                   ZEL_COMPARE *pCmp);
ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToInt64(const ZEL_VALUE *pVal, int64_t v,
                                                  ZEL_COMPARE *pCmp);
ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToUInt64(const ZEL_VALUE *pVal, uint64_t v,
                                                   ZEL_COMPARE *pCmp);
ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToFloat(const ZEL_VALUE *pVal, float v,
                                                  ZEL_COMPARE *pCmp);
ZEL_NODISCARD ZEL_RETCODE zel_valueCompareToDouble(const ZEL_VALUE *pVal, double v,
                                                   ZEL_COMPARE *pCmp);

/* Whether two values are equal: status, type, elts and len first, then the
 * payload by type. Wide text and marker types equal on those four fields
 * alone; time zones are not compared. Null records are equal only to each
 * other. */
ZEL_BOOL_T zel_valueEqual(const ZEL_VALUE *v1, const ZEL_VALUE *v2);
/* Orders dates, times and time stamps of different types by their packed
 * words (a time against a time stamp's time, a date against its date);
 * pairs that do not compare give ZEL_EQ. Always sOKAY; pCmp may be null. */
ZEL_NODISCARD ZEL_RETCODE zel_valueDateTimeCompare(const ZEL_VALUE *lv, const ZEL_VALUE *rv,
                                                   ZEL_COMPARE *pCmp);

/* ---- Copies. */

/* Shallow: type, status, elts and vt; the destination keeps its len and tag.
 * eINVNULLARG for a null argument. */
ZEL_NODISCARD ZEL_RETCODE zel_valueCopy(ZEL_VALUE *pDstVal, const ZEL_VALUE *pSrcVal);
/* Deep copy into `subTag` (a null tag shares the source's pointers). Text is
 * cut to maxLen - 1 characters when maxLen is below the source's len. A
 * failed allocation of scalar data leaves dval.vt as it was and still returns
 * sOKAY; one of an element array returns eNOMEMORY. eINVNULLARG for a null
 * dval or sval. The copy's tag is left alone. */
ZEL_NODISCARD ZEL_RETCODE zel_valueCopyEx(ZEL_VALUE *dval, const ZEL_VALUE *sval, size_t maxLen,
                                          B_TAG_SUB subTag);
/* As zel_valueCopyEx over a stack tag. */
ZEL_NODISCARD ZEL_RETCODE zel_valueCopyStackEx(ZEL_VALUE *dval, const ZEL_VALUE *sval,
                                               size_t maxLen, B_TAG_STACK stackTag);
/* Bytes of a value's data: strlen + 1 of narrow and UTF-8 text, len of binary
 * and large objects, 37 for a decimal, 16 for a UUID, 0 otherwise. eINVARG
 * for a vsNOVAL or vsNULL value, eINVNULLARG for a null record; `len` may be
 * null. */
ZEL_NODISCARD ZEL_RETCODE zel_valueLength(const ZEL_VALUE *pVal, size_t *len);
/* Writes the native bytes of the value into `buffer` (null: only the length
 * is reported) and the length to outLen (may be null). A NULL value writes
 * nothing and reports SIZE_MAX. Text is copied with its zero within maxLen
 * (sTRUNCATE when cut, length = strlen written); binary copies exactly maxLen
 * bytes and reports len (sTRUNCATE when maxLen < len). A fixed-size type
 * whose bytes do not fit maxLen is cut likewise, with sTRUNCATE. eINVARGTYPE
 * for other types, eINVNULLARG for a null record or pointer payload. */
ZEL_NODISCARD ZEL_RETCODE zel_valueToBuffer(const ZEL_VALUE *pVal, void *buffer, size_t maxLen,
                                            size_t *outLen);

/* ---- Release of data a setter or deep copy took from `subTag` (stack form:
 * `tag`). Narrow and UTF-8 text and large objects are freed when len is not
 * 0, decimals, UUIDs and binary when the pointer is set, arrays when elts is
 * not 0; time stamps with zone and wide text are left to the tag. A null
 * record is ignored. */
void zel_valueFree(ZEL_VALUE *pValue, B_TAG_SUB subTag);
void zel_valueFreeStack(ZEL_VALUE *pValue, B_TAG_STACK tag);

ZEL_EXTERN_C_END

#endif /* VALUE_H */
