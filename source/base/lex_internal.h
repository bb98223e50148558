// lex_internal.h - the lexer for the library's own readers. C++ only.
#ifndef LEX_INTERNAL_H
#define LEX_INTERNAL_H

#include "lex_types.h"

namespace zel::detail {

// As b_lexGet, but an identifier or string is not copied: its text stays in
// tokbuf (tokpos bytes, an identifier in the case it was written) until the
// next token, and the token's pointer is null. For a reader that copies the
// text where it wants it. Binary literals and decimals are allocated as ever.
B_TOKTYPE lex_getInPlace(B_LEX_T *lex, B_TOKEN *pTokVal);

}  // namespace zel::detail

#endif
