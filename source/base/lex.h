/*
 * lex.h - the one tokeniser of the library: SQL tokens, with binary, Unicode
 * and decimal literals, from a B_INPUT_T or a memory string, one B_TOKEN at a
 * time. A second buffer can capture the text of an expression while the
 * caller parses it, and a lexer over a string can rewind.
 *
 * Lexical errors are tokens (tokERROR with a constant text), not codes; after
 * one the lexer reads on from the next character. One thread at a time.
 */
#ifndef LEX_H
#define LEX_H

#include "lex_types.h"
#include "lex_words.h"

ZEL_EXTERN_C_BEGIN

/* The lexer's error texts. */
#define B_LEX_ERR_NOT_INITIALISED "must first call b_lexInit"
#define B_LEX_ERR_BAD_BINARY "bad binary literal"
#define B_LEX_ERR_BAD_UNICODE_LITERAL "Invalid Unicode literal sequence"
#define B_LEX_ERR_BAD_ESCAPE "invalid escape sequence"
#define B_LEX_ERR_NO_QUOTE "string literal missing terminal quote"
#define B_LEX_ERR_UNICODE "Unicode characters are not supported"
#define B_LEX_ERR_CHARACTER "unsupported character"
#define B_LEX_ERR_DECIMAL "decimal conversion overflow"
/* A token whose text or copy could not be allocated (and `nomem` is set). */
#define B_LEX_ERR_NOMEM "out of memory"

/* Zeroes the lexer and allocates its 65-byte tokbuf from `subTag`, which it
 * keeps. `useSQLIdentifiers`: identifiers of letters, digits, "$" and "_",
 * upper-cased in the token, and captures without SELECT, FROM, ALL and
 * DISTINCT; otherwise ":", ".", "\" and "/" continue an identifier too (a
 * path is one identifier) and nothing is upper-cased. Comments are skipped
 * unless `name` is exactly "key/value". `name` is borrowed. eINVNULLARG;
 * eNOMEMORY, with the lexer zeroed. */
ZEL_NODISCARD ZEL_RETCODE b_lexInit(B_LEX_T *lex, const char *name, ZEL_BOOL_T useSQLIdentifiers,
                                    ZEL_BOOL_T doubleQuoteAsIdentifier, B_TAG_SUB subTag);
/* Frees tokbuf, xbuf, a fileName from the sub tag and a token put back from
 * the sub tag. Null, or a second call, does nothing. */
void b_lexTerm(B_LEX_T *lex);
/* Reads the terminated `string` (borrowed, its terminator not read) through
 * local_input, then as b_lexInitInput. */
ZEL_NODISCARD ZEL_RETCODE b_lexStart(B_LEX_T *lex, const char *string, const char *fileName,
                                     uint32_t lineno, B_TAG_STACK userStackTag);
/* Reads `input` (borrowed) from now on: empties ungetch, putback, the
 * counters and the capture; `lineno` is the first line's number, 0 for no
 * line counting. A `fileName` is copied into `userStackTag` when that is
 * set, else into the sub tag; token strings come from the same tag. Clears
 * `nomem`. eINVNULLARG for a null lex or input; eNOMEMORY, with the lexer
 * reading nothing (b_lexGet gives the error token of an uninitialised one). */
ZEL_NODISCARD ZEL_RETCODE b_lexInitInput(B_LEX_T *lex, B_INPUT_T *input, const char *fileName,
                                         uint32_t lineno, B_TAG_STACK userStackTag);

/* The next token into *pTokVal; its type is also the result. A null pTokVal
 * gives tokERROR and nothing else. The token owns its identifier, string,
 * binary or decimal until b_lexTokenFree. */
B_TOKTYPE b_lexGet(B_LEX_T *lex, B_TOKEN *pTokVal);
/* Hands a token back to be read again by the next b_lexGet; the lexer owns
 * it meanwhile. One level: eINVFCNSEQ when one is waiting already (the token
 * stays the caller's). eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_lexPutback(B_LEX_T *lex, const B_TOKEN *pTokVal);
/* Releases what the token owns and clears its pointer: to the sub tag, or,
 * with a userStackTag, by dropping the stack tag back to the token's block,
 * which drops everything allocated after it too: free stack tokens last
 * first. Other types, and null arguments, are left alone. */
void b_lexTokenFree(B_LEX_T *lex, B_TOKEN *pTokVal);

/* Turns expression capture on and starts it with the present token. Every
 * token read from now on is written to the capture: words the save function
 * accepts, punctuation but ";", commas only inside parentheses, strings
 * quoted with their quotes doubled, white space and comments as one blank.
 * eINVNULLARG; eNOMEMORY for the first buffer. */
ZEL_NODISCARD ZEL_RETCODE b_lexExprSaveBegin(B_LEX_T *lex);
/* The captured text without trailing blanks, copied into the stack tag or the
 * sub tag, or null when nothing was captured; capture goes off and tokbuf is
 * emptied in any case. eNOMEMORY when the copy failed or the capture lost
 * characters (`nomem`), *pxbuf untouched. eINVNULLARG. */
ZEL_NODISCARD ZEL_RETCODE b_lexExprGet(B_LEX_T *lex, char **pxbuf);

/* The lexer's place and the input's: a lexer reading its local_input (that
 * is, started by b_lexStart) can come back to it. A token put back is no
 * part of it. eINVNULLARG; eINVFCNSEQ when the lexer does not read its
 * local_input. */
ZEL_NODISCARD ZEL_RETCODE b_lexCreateRewindPoint(B_LEX_T *lex, B_LEX_REWIND_POINT *pRewindPoint);
ZEL_NODISCARD ZEL_RETCODE b_lexRewind(B_LEX_T *lex, const B_LEX_REWIND_POINT *rewindPoint);

/* tokbuf (the present token's text), lineno, charno and fileName. */
const char *b_lexGetTokString(const B_LEX_T *lex);
uint32_t b_lexGetLineNumber(const B_LEX_T *lex);
size_t b_lexGetCharacterNumber(const B_LEX_T *lex);
const char *b_lexGetFileName(const B_LEX_T *lex);

ZEL_EXTERN_C_END

#endif /* LEX_H */
