/*
 * convert_text.h - the conversions whose source is text: number syntax,
 * boolean words, hexadecimal binary, date and time literals, and the
 * rewriting of escape clauses into plain SQL. Every cnv_stringTo<Type> is a
 * B_CNVFCN of the conversion engine; a null pvDst asks only for tSize.
 */
#ifndef CONVERT_TEXT_H
#define CONVERT_TEXT_H

#include "convert_types.h"

ZEL_EXTERN_C_BEGIN

ZEL_NODISCARD ZEL_RETCODE cnv_stringToBoolean(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToBinary(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToInt8(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToUInt8(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToInt16(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToUInt16(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToInt32(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToUInt32(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToInt64(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToUInt64(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToFloat(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToDouble(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToDecimal(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToDate(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToTime(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToTimeTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToTimestamp(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToTimestampTZ(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToRowid(CNVCB *cb);
ZEL_NODISCARD ZEL_RETCODE cnv_stringToUuid(CNVCB *cb);

ZEL_EXTERN_C_END

#endif /* CONVERT_TEXT_H */
