/*
 * json.h - a pull reader of JSON: the caller asks for the next value, or the
 * next name/value pair of the open object, and walks the nesting itself;
 * there is no tree. It reads through the lexer, so the JSON is relaxed:
 * comments, unquoted names (upper-cased, as SQL identifiers), optional commas
 * in arrays. After a jvOBJECT, call b_jsonNextPair until jvEND; after a
 * jvARRAY, b_jsonNextValue until jvEND. What follows the first complete value
 * is not looked at. One thread at a time.
 *
 * Codes: eSYNTAX for every format error (nothing tells where; after it the
 * position is undefined and the caller terms the reader); eNOMEMORY; and
 * eINVNULLARG. On failure the out arguments are untouched.
 */
#ifndef JSON_H
#define JSON_H

#include "json_types.h"

ZEL_EXTERN_C_BEGIN

/* A reader of `input` (borrowed) under the lexer name "json", SQL identifiers
 * on, double quotes as strings, no line counting; token strings come from
 * `stackTag` when it is set. Strings handed out come from `subTag`. On
 * failure nothing is held. */
ZEL_NODISCARD ZEL_RETCODE b_jsonInit(B_JSON_T *json, B_INPUT_T *input, B_TAG_SUB subTag,
                                     B_TAG_STACK stackTag);
/* The next value into *val and its type into *type (each may be null). An
 * array or object met is opened by this call. A jvSTRING is a copy from the
 * reader's subTag that the caller frees with the tag; with `val` null no copy
 * is made. Numbers are 64-bit integers taken as signed, with an optional sign
 * before them; a sign before anything else is eSYNTAX. */
ZEL_NODISCARD ZEL_RETCODE b_jsonNextValue(B_JSON_T *obj, B_JSON_VALTYPE *type, B_JSON_VAL *val);
/* The next name and value of the open object (each out may be null): jvEND,
 * with a null name, when the object closes. eSYNTAX when no object is the
 * innermost open item. The caller frees the pair with b_jsonFreePair. */
ZEL_NODISCARD ZEL_RETCODE b_jsonNextPair(B_JSON_T *obj, B_JSON_VALTYPE *type, B_JSON_PAIR *pair);
/* Frees the name, and the value's string if it is one, and clears them. */
void b_jsonFreePair(B_JSON_T *obj, B_JSON_PAIR *pair);
/* Terminates the lexer, frees the stack, clears the record. */
void b_jsonTerm(B_JSON_T *json);

ZEL_EXTERN_C_END

#endif /* JSON_H */
