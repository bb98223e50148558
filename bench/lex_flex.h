/* The flex peer of the lexer benchmark (lex_flex.l): scans `len` bytes of
 * SQL, the token count into *tokens; returns a checksum of the values. */
#ifndef LEX_FLEX_H
#define LEX_FLEX_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

uint64_t lexpeer_scanAll(const char *text, size_t len, uint64_t *tokens);

#ifdef __cplusplus
}
#endif

#endif
