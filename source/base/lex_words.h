/*
 * lex_words.h - the SQL reserved words of the lexer. Compiles as C11 and as
 * C++20; lex.h includes it.
 */
#ifndef LEX_WORDS_H
#define LEX_WORDS_H

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* Whether `id` is one of the 288 SQL reserved words, in any letter case.
 * Null is none. No state. */
ZEL_BOOL_T b_lexSQLReserved(const char *id);

ZEL_EXTERN_C_END

#endif /* LEX_WORDS_H */
