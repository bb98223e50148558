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

/* One row of a table-driven scanner. A state is a list of rows tried in
 * order; the first whose symbol matches the next character fires its rule
 * (0: none), consumes the character when `shift` is 1 and moves to `state`.
 * The symbols 0, 1 and 2 stand for the end of the text, any digit and
 * anything; every list ends with a row of symbol 2. */
typedef struct B_ACTION_S {
    char symbol;
    int16_t ruleno;
    int16_t shift;
    int16_t state;
} B_ACTION;

/* Checks the syntax of a number: [blanks][sign]digits[.digits][e[sign]digits]
 * with blanks, tabs and newlines in front only; a lone sign or point passes.
 * Out (each may be null, written only on sOKAY): the sign (1 or -1), the count
 * of integer digits, of fraction digits, and the signed exponent.
 * eRANGE for an exponent outside -308 to 308 (tested before the syntax),
 * eINVLITERAL for bad syntax, eINVNULLARG for a null text. */
ZEL_NODISCARD ZEL_RETCODE convert_parseNumber(const char *szNum, int32_t *sign, int32_t *mag,
                                              int32_t *scale, int32_t *expt);

/* The conversions from text. The source is pvSrc with tSrcLen bytes, its
 * terminator included (a text with none within tSrcLen is taken whole). A
 * null pvDst asks for tSize alone where the result has a fixed size; the
 * numbers, booleans, dates and times still check the text then. Codes:
 * eINVLITERAL, eRANGE, eTYPEMISMATCH (row id with a fraction),
 * eINVBINLITERAL, sTRUNCATE (fraction dropped, binary cut), eINVNULLARG for
 * a null control block; the date and decimal modules' codes pass through. */
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

/* Copies the terminated text pszIn to pszOut, rewriting escape clauses into
 * plain SQL: {d '...'} and {t|ts '...'} into @'...', {fn ...} and
 * {oj ...} into " ...", {call ...} into "call ...", {escape 'c'} into
 * "escape 'c'", also in the --(*vendor(v),product(p) ... *)-- form; quoted
 * text and a "c_data[..] st... {" structure are copied as they stand. The
 * output is never longer than the input and its terminator; with less room
 * than that (tOutLen) it is cut to tOutLen - 1 characters with sTRUNCATE.
 * *ptResLen (may be null) gets the output's strlen. eESCAPE for a broken
 * clause or quote, eRANGE for a text of 65535 bytes or more, eINVNULLARG.
 * On failure pszOut and *ptResLen are untouched. */
ZEL_NODISCARD ZEL_RETCODE b_convertEscapesToSQL(const char *pszIn, char *pszOut, size_t tOutLen,
                                                size_t *ptResLen);

/* The double at the start of `str` with no checking: 0 for no number. */
double b_convertAsciiToDouble(const char *str);

ZEL_EXTERN_C_END

#endif /* CONVERT_TEXT_H */
