/*
 * keyvalue.h - option strings of the form "key=value;key2=v1,v2": parsed once
 * into an ordered map of keys to lists of elements, then read through typed
 * getters. Keys compare with strcmp or, by default, without regard to ASCII
 * case; the last of two equal keys wins. b_tokenize is a small separate
 * splitter. One thread at a time per map; the tables are read-only.
 *
 * The grammar: pairs separated by any number of ";"; a pair is a key (an
 * identifier or a quoted string) "=" and elements separated by ",". An
 * element is a run of tokens glued without blanks ("a=x y" is "xy"): an
 * identifier is appended, a string replaces the text before it (and marks the
 * element quoted), a number replaces it by its "%lu" or "%f" form, a sign
 * right after an identifier and most punctuation is appended; a sign elsewhere
 * must be followed by a number. Before a comma an element without tokens is
 * null, at the end of a value it is "" (but "k=a," is refused).
 *
 * Codes shared by the getters: sNOTFOUND for an absent key; eVALUEISLIST when
 * a single value is asked of a list; sKVNOVALUE for an empty value;
 * eINVNULLARG for a null map or key. Output pointers may be null: the string
 * and 64-bit getters then only check the key.
 */
#ifndef KEYVALUE_H
#define KEYVALUE_H

#include <stddef.h>
#include <stdint.h>

#include "avl.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* One element of a value: `data` is null for an element without tokens
 * before a comma ("k=,a"). */
typedef struct B_KV_ELEM_S {
    ZEL_BOOL_T needs_quotes; /* the element came from a quoted string */
    char *data;
} B_KV_ELEM;

/* One pair. The pair, its key, its elements and their texts are one block of
 * the map's sub tag, owned by the map. */
typedef struct B_KV_S {
    B_AVL_NODE_T avlNode; /* first: the tree's link */
    char *key;
    uint32_t num_elems;
    B_KV_ELEM *elems;
} B_KV;

/* Orders two keys: negative, zero or positive. */
typedef int (*B_KEYVALUE_CMP)(const char *a, const char *b);

typedef struct B_KEYVALUE_S {
    B_TAG_SUB subTag;
    B_AVL_T avl; /* B_KV by key */
    B_KEYVALUE_CMP cmpfcn;
} B_KEYVALUE_T;

/* Called per key in tree order; a non-zero result stops the walk and is its
 * result. */
typedef ZEL_RETCODE (*B_KEYVALUE_ITERATE_KEYS)(void *ctx, B_KEYVALUE_CMP cmpfcn, const char *key);
typedef ZEL_RETCODE (*B_KEYVALUE_ITERATE)(void *ctx, const char *key);

/* Makes an empty map on `subTag` (keys compared by byte with `use_case`, else
 * without regard to ASCII case) and parses a non-null `str` into it.
 * eINVKEYVALUE when the string breaks the grammar, eNOMEMORY; on either the
 * pairs before the fault stay in the map, which b_keyvalueTerm frees as
 * always. eINVNULLARG for a null kv or subTag (the map is then unusable). */
ZEL_NODISCARD ZEL_RETCODE b_keyvalueInit(B_KEYVALUE_T *kv, const char *str, ZEL_BOOL_T use_case,
                                         B_TAG_SUB subTag);
/* Frees every pair and empties the map; the map may be parsed into again with
 * b_keyvalueInit. */
void b_keyvalueTerm(B_KEYVALUE_T *kv);

/* The single value copied into `value`, terminated. In order: sNOTFOUND,
 * eVALUEISLIST, sKVNOVALUE for a null buffer or an empty value ("" written
 * when there is room), sTRUNCATE when the value does not fit (value_len - 1
 * bytes written; nothing for value_len 0). */
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetValue(const B_KEYVALUE_T *kv, const char *key, char *value,
                                             size_t value_len);
/* The single value as a new string from `subTag`. An empty value gives
 * sKVNOVALUE and sets *value to null. eNOMEMORY. */
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetValueString(const B_KEYVALUE_T *kv, const char *key,
                                                   B_TAG_SUB subTag, char **value);
/* The single value as a boolean: its first 9 characters, cut or not, must be
 * a word of the tables below, else eINVOPTIONVALUE. sKVNOVALUE for an empty
 * value. */
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetValueBoolean(const B_KEYVALUE_T *kv, const char *key,
                                                    ZEL_BOOL_T *value);
/* "yes", "y", "on", "true", "1" and "n", "no", "off", "false", "0" in any
 * letter case; eINVOPTIONVALUE for any other word, eINVNULLARG for a null
 * one. `pval` may be null (a check). */
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetBooleanFromString(const char *str, ZEL_BOOL_T *pval);

/* The single value as a number. A last letter k, m, g, t or p (any case,
 * also before a newline) appends 3, 6, 9, 12 or 15 zeros to the text before
 * it: "2K" is 2000; such a letter anywhere else is eRANGE. The text is then
 * read strictly (psp_stratoi64, psp_stratoui64), whose code is the result:
 * eINVLITERAL, eRANGE. sKVNOVALUE for an empty value; eNOMEMORY for a long
 * text with a suffix. The 32- and 16-bit getters read through the 64-bit
 * ones (the 16-bit ones both through the signed one) and give eRANGE outside
 * their type. */
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetInt64Value(const B_KEYVALUE_T *kv, const char *key,
                                                  int64_t *value);
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetUInt64Value(const B_KEYVALUE_T *kv, const char *key,
                                                   uint64_t *value);
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetIntValue(const B_KEYVALUE_T *kv, const char *key,
                                                int32_t *value);
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetUIntValue(const B_KEYVALUE_T *kv, const char *key,
                                                 uint32_t *value);
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetInt16Value(const B_KEYVALUE_T *kv, const char *key,
                                                  int16_t *value);
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetUInt16Value(const B_KEYVALUE_T *kv, const char *key,
                                                   uint16_t *value);

/* Every element of the value, any number of them, as a new array of new
 * strings from `subTag` ("" for a null element); the caller frees each
 * string, then the array. With `pvalues` null only the count is given.
 * sNOTFOUND, eNOMEMORY (nothing held). */
ZEL_NODISCARD ZEL_RETCODE b_keyvalueGetValueList(const B_KEYVALUE_T *kv, const char *key,
                                                 uint32_t *pnum_values, B_TAG_SUB subTag,
                                                 char ***pvalues);

/* Call `fcn` with each key in tree order; the first non-zero result stops the
 * walk and is returned, else sOKAY. eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_keyvalueIterateKeys(const B_KEYVALUE_T *kv, void *ctx,
                                                B_KEYVALUE_ITERATE_KEYS fcn);
ZEL_NODISCARD ZEL_RETCODE b_keyvalueIterate(const B_KEYVALUE_T *kv, void *ctx,
                                            B_KEYVALUE_ITERATE fcn);

/* Splits `input` in place at any of the characters of `tokens` (as strtok);
 * with `trim_spaces` tabs and blanks are cut from both ends of each piece
 * (in `input`) and a piece left empty is dropped. *words gets an array from
 * `subTag` of pointers into `input` (the caller frees the array), *numwords
 * their count; with no words the array is null and the count 0. eNOMEMORY
 * (outs untouched, `input` split all the same), eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_tokenize(char *input, const char *tokens, char ***words,
                                     uint32_t *numwords, ZEL_BOOL_T trim_spaces, B_TAG_SUB subTag);

ZEL_EXTERN_C_END

#endif /* KEYVALUE_H */
