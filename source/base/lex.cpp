/*
 * lex.cpp - the lexer. A token is read in three steps: white space and
 * comments are skipped, the first character chooses the kind, and the kind's
 * reader collects the text in tokbuf and copies what the token owns into the
 * stack tag or the sub tag (one TagRef says which).
 *
 * The one idea: characters come from one place, lex_getInput, which keeps the
 * counters and the one character of look-back, and which a memory source
 * serves in place rather than through readFcn. On top of it a memory source
 * is read by the byte: the common tokens (punctuation, plain identifiers,
 * strings and integers) whole by lex_fast, the long runs of the others
 * (white space, comment bodies, identifiers, string bodies) as spans, and
 * the same counters come out as by the character. An allocation failure
 * inside a token turns that token into an error token and sets `nomem`, so
 * no caller ever sees a truncated name or string.
 */
#include "lex.h"
#include "lex_internal.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "bcd.h"
#include "input.h"
#include "psp.h"
#include "tag_ref_internal.h"
#include "tag_sub.h"
#include "utf8.h"

namespace {

using zel::detail::TagRef;

// Deliberate: tokbuf and xbuf start at 65 bytes, so that short tokens need no
// allocation after the first; past that they grow geometrically.
constexpr size_t kBufStep = 65;
constexpr B_CHAR kNoChar = B_LEX_NO_CHAR;
constexpr B_CHAR kMaxCode = 0x10FFFF;

// ---- Character classes.

enum : uint8_t {
    kSqlId = 1,    // continues an SQL identifier: letters, digits, "$", "_"
    kOtherId = 2,  // continues any other identifier: also ":", ".", "\", "/"
    kHex = 4,
    kWhite = 8,       // 1 to 32: skipped between tokens
    kStringStop = 16  // ends a plain run of a string: the end, a backslash, a newline
};

constexpr std::array<uint8_t, 256> kClass = [] {
    std::array<uint8_t, 256> t{};
    for (int c = 1; c <= 32; ++c) t[c] |= kWhite;
    t[0] |= kStringStop, t['\\'] |= kStringStop, t['\n'] |= kStringStop;
    for (int c = 0; c < 256; ++c) {
        const bool alnum =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (alnum || c == '$' || c == '_') t[c] |= kSqlId | kOtherId;
        if (c == ':' || c == '.' || c == '\\' || c == '/') t[c] |= kOtherId;
        if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'))
            t[c] |= kHex;
    }
    return t;
}();

constexpr bool lex_is(B_CHAR c, uint8_t cls) {
    return c < 256 && (kClass[c] & cls) != 0;
}
constexpr bool lex_isDigit(B_CHAR c) {
    return c >= '0' && c <= '9';
}
constexpr bool lex_isLetter(B_CHAR c) {
    return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
}
constexpr uint32_t lex_hexValue(B_CHAR c) {
    return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

ZEL_BOOL_T lex_isSQLIdentifier(B_CHAR ch) {
    return lex_is(ch, kSqlId) ? ZEL_TRUE : ZEL_FALSE;
}
ZEL_BOOL_T lex_isOtherIdentifier(B_CHAR ch) {
    return lex_is(ch, kOtherId) ? ZEL_TRUE : ZEL_FALSE;
}

// The class bit of the lexer's identifier function, or 0 for a caller's own.
uint8_t lex_identClass(const B_LEX_T *lex) {
    if (lex->identifierFcn == lex_isSQLIdentifier) return kSqlId;
    if (lex->identifierFcn == lex_isOtherIdentifier) return kOtherId;
    return 0;
}

bool lex_continuesIdentifier(const B_LEX_T *lex, uint8_t cls, B_CHAR c) {
    return cls != 0 ? lex_is(c, cls) : lex->identifierFcn(c) != ZEL_FALSE;
}

// ---- Words a capture leaves out.

// Words that a captured SQL expression leaves out, sorted.
constexpr const char *sqlIgnoreList[] = {"ALL", "DISTINCT", "FROM", "SELECT"};

ZEL_BOOL_T lex_sqlSaveExpr(const char *word) {
    for (const char *w : sqlIgnoreList) {
        if (psp_strcasecmp(word, w) == 0) return ZEL_FALSE;
    }
    return ZEL_TRUE;
}

// ---- Reading characters.

// A byte out of a memory source, as b_inputReadFromMemory gives it.
inline B_CHAR lex_readRaw(B_LEX_T *lex) {
    B_INPUT_T *in = lex->input;
    if (in->readFcn == b_inputReadFromMemory) {
        B_MEM_INPUT *m = &in->u.mem;
        return m->pos < m->size ? m->buffer[m->pos++] : 0;
    }
    B_CHAR c = 0;
    // A failed read is the end of the input to the lexer.
    if (in->readFcn(in, &c) != sOKAY) c = 0;
    return c;
}

inline void lex_countNewline(B_LEX_T *lex) {
    if (lex->lineno != 0) {
        lex->lineno++;
        lex->prevlinestart = lex->linestart;
        lex->linestart = lex->charno;
    }
}

// getInput: the character given back, or the next one of the input.
inline B_CHAR lex_getInput(B_LEX_T *lex) {
    B_CHAR c;
    if (lex->ungetch != kNoChar) {
        c = lex->ungetch;
        lex->ungetch = kNoChar;
    } else {
        c = lex_readRaw(lex);
    }
    lex->charno++;
    if (c == '\n') lex_countNewline(lex);
    return c;
}

// Gives back the character just read.
inline void lex_giveBack(B_LEX_T *lex, B_CHAR c) {
    lex->charno--;
    lex->ungetch = c;
    // Only while lines are counted: 0 would wrap and turn counting on.
    if (c == '\n' && lex->lineno != 0) {
        lex->lineno--;
        lex->linestart = lex->prevlinestart;
    }
}

// peekInput: the next character, the counters untouched: seen in place in
// a memory source, else held in ungetch. Looking before taking spares the
// give-back that would keep the next token off the in-place paths.
inline B_CHAR lex_peekInput(B_LEX_T *lex) {
    if (lex->ungetch == kNoChar) {
        if (lex->input->readFcn == b_inputReadFromMemory) {
            const B_MEM_INPUT *m = &lex->input->u.mem;
            return m->pos < m->size ? m->buffer[m->pos] : 0;
        }
        lex->ungetch = lex_readRaw(lex);
    }
    return lex->ungetch;
}

// The unread bytes of a memory source, when nothing is given back: the
// lexer takes runs of them in place.
struct LexSpan {
    const uint8_t *p;
    const uint8_t *end;
};

inline bool lex_span(B_LEX_T *lex, LexSpan *s) {
    if (lex->ungetch != kNoChar || lex->input->readFcn != b_inputReadFromMemory) return false;
    const B_MEM_INPUT *m = &lex->input->u.mem;
    s->p = m->buffer + m->pos;
    s->end = m->buffer + std::max(m->size, m->pos);
    return true;
}

// Takes `n` bytes of the span, none of them a newline.
inline void lex_spanTake(B_LEX_T *lex, size_t n) {
    lex->input->u.mem.pos += n;
    lex->charno += n;
}

// ---- Growing buffers.

// Room for `need` bytes: 65 more at first, then half again. On failure the
// buffer stands and `nomem` is set.
bool lex_grow(B_LEX_T *lex, char **buf, size_t *size, size_t used, size_t need) {
    size_t n = *size;
    while (n < need) {
        const size_t step = std::max(kBufStep, n / 2);
        if (n > SIZE_MAX - step) {
            n = need;
            break;
        }
        n += step;
    }
    void *p = *buf;
    if (b_tag_subReallocAny(lex->subTag, *buf, used, n, &p) != sOKAY) {
        lex->nomem = ZEL_TRUE;
        return false;
    }
    *buf = static_cast<char *>(p);
    *size = n;
    return true;
}

// tokbufAppend. tokbuf keeps room for its terminator, which lex_tokEnd writes.
inline void lex_tokAppend(B_LEX_T *lex, B_CHAR c) {
    if (lex->tokpos + 2 > lex->szTokbuf &&
        !lex_grow(lex, &lex->tokbuf, &lex->szTokbuf, lex->tokpos, lex->tokpos + 2)) {
        return;
    }
    lex->tokbuf[lex->tokpos++] = static_cast<char>(c);
}

void lex_tokAppendBytes(B_LEX_T *lex, const uint8_t *p, size_t n) {
    if (n == 0) return;
    if (lex->tokpos + n + 1 > lex->szTokbuf &&
        !lex_grow(lex, &lex->tokbuf, &lex->szTokbuf, lex->tokpos, lex->tokpos + n + 1)) {
        return;
    }
    std::memcpy(lex->tokbuf + lex->tokpos, p, n);
    lex->tokpos += n;
}

inline void lex_tokEnd(B_LEX_T *lex) {
    lex->tokbuf[lex->tokpos] = '\0';
}

// ---- Expression capture.

void lex_xAppend(B_LEX_T *lex, const char *s, size_t n) {
    if (lex->xpos + n + 1 > lex->szXbuf &&
        !lex_grow(lex, &lex->xbuf, &lex->szXbuf, lex->xpos, lex->xpos + n + 1)) {
        return;
    }
    std::memcpy(lex->xbuf + lex->xpos, s, n);
    lex->xpos += n;
    lex->xbuf[lex->xpos] = '\0';
    lex->exch = s[n - 1];
}

// exprPutstr: a whole word, when the save function takes it.
void lex_exprPutstr(B_LEX_T *lex, const char *s) {
    if (lex->saveExprFcn == nullptr || s[0] == '\0' || lex->saveExprFcn(s) == ZEL_FALSE) return;
    lex_xAppend(lex, s, std::strlen(s));
}

// exprPutch: one character; commas only inside parentheses, no two blanks.
void lex_exprPutch(B_LEX_T *lex, B_CHAR c) {
    if (c > 127) {
        char utf8[8] = {};
        if (b_uchar_to_utf8(c, utf8, sizeof utf8 - 1) != 0) lex_exprPutstr(lex, utf8);
        return;
    }
    if (c == ',' && lex->pcnt == 0) return;
    if (c == ' ' && lex->exch == ' ') return;
    if (c == '(') lex->pcnt++;
    if (c == ')') lex->pcnt--;
    const char ch = static_cast<char>(c);
    lex_xAppend(lex, &ch, 1);
}

// The capture of a token just read, from tokbuf. `quote` is the quote of a
// string or quoted identifier, 0 otherwise. Strings double their quote (and
// their backslashes), so that the capture reads back as the same string.
void lex_captureToken(B_LEX_T *lex, B_TOKTYPE type, char quote) {
    const char *text = lex->tokbuf;
    switch (type) {
        case tokIDENTIFIER:
            if (quote == 0) {
                lex_exprPutstr(lex, text);
                return;
            }
            [[fallthrough]];
        case tokSTRING:
            lex_exprPutch(lex, static_cast<uint8_t>(quote));
            for (size_t i = 0; i < lex->tokpos; ++i) {
                const B_CHAR c = static_cast<uint8_t>(text[i]);
                if (c == static_cast<uint8_t>(quote) || (c == '\\' && type == tokSTRING)) {
                    lex_exprPutch(lex, c);
                }
                lex_exprPutch(lex, c);
            }
            lex_exprPutch(lex, static_cast<uint8_t>(quote));
            return;
        case tokBINARY:
            lex_exprPutch(lex, 'X');
            lex_exprPutch(lex, '\'');
            for (size_t i = 0; i < lex->tokpos; ++i)
                lex_exprPutch(lex, static_cast<uint8_t>(text[i]));
            lex_exprPutch(lex, '\'');
            return;
        case tokINTEGER:
        case tokDECIMAL:
        case tokDOUBLE:
            lex_exprPutstr(lex, text);
            return;
        case tokERROR:
        case tokEOS:
        case tokSEMI:
            return;
        default:
            if (type > 0 && type < 127) lex_exprPutch(lex, static_cast<B_CHAR>(type));
            return;
    }
}

// ---- Tokens.

TagRef lex_tokenTag(const B_LEX_T *lex) {
    if (lex->userStackTag != nullptr) return TagRef(lex->userStackTag);
    return TagRef(lex->subTag);
}

B_TOKTYPE lex_error(B_TOKEN *tok, const char *text) {
    tok->v.str = const_cast<char *>(text);
    return tokERROR;
}

// A copy of tokbuf (with its terminator) into the token's tag; on failure
// `nomem` is set and b_lexGet turns the token into an error. Without `copy`
// the text stays in tokbuf only and the pointer is null.
bool lex_copyOut(B_LEX_T *lex, char **out, bool copy) {
    if (!copy) {
        *out = nullptr;
        return true;
    }
    void *p = nullptr;
    if (lex_tokenTag(lex).allocCopy(lex->tokbuf, lex->tokpos + 1, &p) != sOKAY) {
        lex->nomem = ZEL_TRUE;
        return false;
    }
    *out = static_cast<char *>(p);
    return true;
}

// The identifier in tokbuf into the token.
B_TOKTYPE lex_identifierEnd(B_LEX_T *lex, B_TOKEN *tok, char quote, bool copy, uint8_t cls) {
    lex_tokEnd(lex);
    if (!lex_copyOut(lex, &tok->v.id, copy)) return tokIDENTIFIER;
    tok->len = lex->tokpos + 1;
    if (quote == 0 && cls == kSqlId && copy) psp_strupr(tok->v.id);
    if (lex->saveexpr) lex_captureToken(lex, tokIDENTIFIER, quote);
    return tokIDENTIFIER;
}

// getIdentifier. The first character is in tokbuf already, unless quoted.
// Deliberate: a quoted identifier also stops at the first character that
// continues no identifier; unless that is the closing quote it stays unread,
// so spaces inside quotes are not supported.
B_TOKTYPE lex_identifier(B_LEX_T *lex, B_TOKEN *tok, char quote, bool copy) {
    const uint8_t cls = lex_identClass(lex);
    for (;;) {
        LexSpan s;
        if (cls != 0 && lex_span(lex, &s)) {
            const uint8_t *q = s.p;
            while (q < s.end && (kClass[*q] & cls) != 0) ++q;
            lex_tokAppendBytes(lex, s.p, static_cast<size_t>(q - s.p));
            lex_spanTake(lex, static_cast<size_t>(q - s.p));
        }
        const B_CHAR c = lex_peekInput(lex);
        if (lex_continuesIdentifier(lex, cls, c)) {
            lex_tokAppend(lex, lex_getInput(lex));
            continue;
        }
        if (quote != 0 && c == static_cast<uint8_t>(quote)) lex_getInput(lex);
        break;
    }
    return lex_identifierEnd(lex, tok, quote, copy, cls);
}

// Exactly `digits` hexadecimal digits; false, with the offending character
// given back, when one is missing.
bool lex_hexDigits(B_LEX_T *lex, int digits, B_CHAR *value) {
    B_CHAR v = 0;
    for (int i = 0; i < digits; ++i) {
        const B_CHAR c = lex_getInput(lex);
        if (!lex_is(c, kHex)) {
            lex_giveBack(lex, c);
            return false;
        }
        v = v * 16 + lex_hexValue(c);
    }
    *value = v;
    return true;
}

// One escape after a backslash: a byte into tokbuf, or an error text.
const char *lex_escape(B_LEX_T *lex) {
    static constexpr std::array<uint8_t, 128> kSimple = [] {
        std::array<uint8_t, 128> t{};
        t['"'] = '"', t['\''] = '\'', t['?'] = '?', t['\\'] = '\\';
        t['a'] = 7, t['b'] = 8, t['f'] = 12, t['n'] = 10, t['r'] = 13, t['t'] = 9, t['v'] = 11;
        return t;
    }();
    const B_CHAR c = lex_getInput(lex);
    B_CHAR value = 0;
    if (c < 128 && kSimple[c] != 0) {
        value = kSimple[c];
    } else if (c >= '0' && c <= '7') {
        value = c - '0';
        for (int i = 1; i < 3; ++i) {
            const B_CHAR d = lex_getInput(lex);
            if (d < '0' || d > '7') {
                lex_giveBack(lex, d);
                break;
            }
            value = value * 8 + (d - '0');
        }
    } else if (c == 'x' || c == 'X') {
        // Deliberate: each digit multiplies by ten, not sixteen, and adds its
        // distance from '0', 'a' or 'A' ('a' counts 0): stored strings were
        // read this way. The value saturates past the last code point.
        for (;;) {
            const B_CHAR d = lex_getInput(lex);
            if (!lex_is(d, kHex)) {
                lex_giveBack(lex, d);
                break;
            }
            const B_CHAR dist = d <= '9' ? d - '0' : (d | 0x20) - 'a';
            value = std::min<B_CHAR>(value * 10 + dist, kMaxCode + 1);
        }
    } else if (c == 'u' || c == 'U') {
        // getUnicodeEscape
        if (!lex_hexDigits(lex, c == 'u' ? 4 : 8, &value)) return B_LEX_ERR_BAD_ESCAPE;
    } else {
        // Anything else: the backslash stays and the character is read again.
        lex_tokAppend(lex, '\\');
        lex_giveBack(lex, c);
        return nullptr;
    }
    if (value > kMaxCode) return B_LEX_ERR_BAD_ESCAPE;
    if (value >= 256) return B_LEX_ERR_UNICODE;
    lex_tokAppend(lex, value);
    return nullptr;
}

// getString, after the opening quote `q`. A doubled quote is one quote.
// The string in tokbuf into the token.
B_TOKTYPE lex_stringEnd(B_LEX_T *lex, B_TOKEN *tok, B_CHAR q, bool copy) {
    lex_tokEnd(lex);
    if (!lex_copyOut(lex, &tok->v.str, copy)) return tokSTRING;
    if (lex->saveexpr) lex_captureToken(lex, tokSTRING, static_cast<char>(q));
    return tokSTRING;
}

B_TOKTYPE lex_string(B_LEX_T *lex, B_TOKEN *tok, B_CHAR q, bool copy) {
    for (;;) {
        LexSpan s;
        if (lex_span(lex, &s)) {
            const uint8_t *p = s.p;
            while (p < s.end && *p != q && *p != '\\' && *p != '\n' && *p != 0) ++p;
            lex_tokAppendBytes(lex, s.p, static_cast<size_t>(p - s.p));
            lex_spanTake(lex, static_cast<size_t>(p - s.p));
        }
        const B_CHAR c = lex_getInput(lex);
        if (c == 0) {
            lex_giveBack(lex, c);
            lex_tokEnd(lex);
            return lex_error(tok, B_LEX_ERR_NO_QUOTE);
        }
        if (c == q) {
            if (lex_peekInput(lex) == q) {
                lex_tokAppend(lex, lex_getInput(lex));
                continue;
            }
            break;
        }
        if (c == '\\') {
            const char *err = lex_escape(lex);
            if (err != nullptr) {
                lex_tokEnd(lex);
                return lex_error(tok, err);
            }
            continue;
        }
        lex_tokAppend(lex, c);
    }
    return lex_stringEnd(lex, tok, q, copy);
}

// A Unicode literal, after U&'. Characters stand for themselves; escapes
// are \\, \+XXXXXX and \XXXX, stored as UTF-8.
B_TOKTYPE lex_unicodeString(B_LEX_T *lex, B_TOKEN *tok, bool copy) {
    for (;;) {
        const B_CHAR c = lex_getInput(lex);
        if (c == 0) {
            lex_giveBack(lex, c);
            lex_tokEnd(lex);
            return lex_error(tok, B_LEX_ERR_NO_QUOTE);
        }
        if (c == '\'') {
            const B_CHAR next = lex_getInput(lex);
            if (next == '\'') {
                lex_tokAppend(lex, '\'');
                continue;
            }
            lex_giveBack(lex, next);
            break;
        }
        if (c != '\\') {
            lex_tokAppend(lex, c);
            continue;
        }
        const B_CHAR e = lex_getInput(lex);
        B_CHAR code = 0;
        bool ok;
        if (e == '\\') {
            code = '\\';
            ok = true;
        } else if (e == '+') {
            ok = lex_hexDigits(lex, 6, &code);
        } else {
            lex_giveBack(lex, e);
            ok = lex_hexDigits(lex, 4, &code);
        }
        if (!ok || code > kMaxCode) {
            lex_tokEnd(lex);
            return lex_error(tok, B_LEX_ERR_BAD_ESCAPE);
        }
        uint8_t bytes[4];
        lex_tokAppendBytes(lex, bytes, b_utf8_codes(code, bytes));
    }
    lex_tokEnd(lex);
    if (!lex_copyOut(lex, &tok->v.str, copy)) return tokSTRING;
    if (lex->saveexpr) lex_captureToken(lex, tokSTRING, '\'');
    return tokSTRING;
}

// getBinary: pairs of hexadecimal digits, kept in tokbuf as text; `quoted`
// after X', which needs its closing quote.
B_TOKTYPE lex_binary(B_LEX_T *lex, B_TOKEN *tok, bool quoted) {
    for (;;) {
        const B_CHAR hi = lex_getInput(lex);
        if (!lex_is(hi, kHex)) {
            if (!quoted || hi != '\'') {
                lex_giveBack(lex, hi);
                if (quoted) {
                    lex_tokEnd(lex);
                    return lex_error(tok, B_LEX_ERR_BAD_BINARY);
                }
            }
            break;
        }
        const B_CHAR lo = lex_getInput(lex);
        if (!lex_is(lo, kHex)) {
            lex_giveBack(lex, lo);
            lex_tokEnd(lex);
            return lex_error(tok, B_LEX_ERR_BAD_BINARY);
        }
        lex_tokAppend(lex, hi);
        lex_tokAppend(lex, lo);
    }
    lex_tokEnd(lex);
    const size_t n = lex->tokpos / 2;
    void *p = nullptr;
    if (lex_tokenTag(lex).allocOrNull(n, &p) != sOKAY) {
        lex->nomem = ZEL_TRUE;
        return tokBINARY;
    }
    auto *bytes = static_cast<uint8_t *>(p);
    for (size_t i = 0; i < n; ++i) {
        bytes[i] =
            static_cast<uint8_t>(lex_hexValue(static_cast<uint8_t>(lex->tokbuf[2 * i])) * 16 +
                                 lex_hexValue(static_cast<uint8_t>(lex->tokbuf[2 * i + 1])));
    }
    tok->v.bv = bytes;
    tok->len = n;
    if (lex->saveexpr) lex_captureToken(lex, tokBINARY, 0);
    return tokBINARY;
}

// A number; `c` is its first character, a digit or the point of ".5".
// Deliberate: a sign is never part of a number, and after an exponent letter
// "+" and "-" are taken any number of times ("1e5-3" is one token).
B_TOKTYPE lex_number(B_LEX_T *lex, B_TOKEN *tok, B_CHAR c) {
    uint64_t value = 0;
    bool overflow = false, point = false, exponent = false;
    int significant = 0;
    for (;;) {
        if (lex_isDigit(c)) {
            if (!point && !exponent) {
                overflow = overflow || __builtin_mul_overflow(value, 10u, &value) ||
                           __builtin_add_overflow(value, c - '0', &value);
            }
            if (!exponent && (significant > 0 || c != '0')) ++significant;
            if (c != '0' || lex->tokpos != 0) lex_tokAppend(lex, c);  // leading zeros left out
        } else if (c == '.' && !point) {
            point = true;
            if (lex->tokpos == 0) lex_tokAppend(lex, '0');
            lex_tokAppend(lex, c);
        } else if ((c == 'e' || c == 'E') && !exponent) {
            exponent = true;
            if (lex->tokpos == 0) lex_tokAppend(lex, '0');
            lex_tokAppend(lex, c);
        } else {  // a sign after the exponent letter
            lex_tokAppend(lex, c);
        }
        // Any other character ends the number, unread.
        const B_CHAR n = lex_peekInput(lex);
        const bool takes = lex_isDigit(n) || (n == '.' && !point) ||
                           ((n | 0x20) == 'e' && !exponent) || (exponent && (n == '+' || n == '-'));
        if (!takes) break;
        c = lex_getInput(lex);
    }
    if (lex->tokpos == 0) lex_tokAppend(lex, '0');
    lex_tokEnd(lex);
    if (!point && !exponent && !overflow) {
        tok->v.iv = value;
        if (lex->saveexpr) lex_captureToken(lex, tokINTEGER, 0);
        return tokINTEGER;
    }
    const double dv = psp_stratof(lex->tokbuf);
    B_TOKTYPE type = tokDOUBLE;
    tok->v.dv = dv;
    if (significant >= 16 && !exponent) {
        // The double keeps the value only if its 15-digit decimal equals the
        // text; otherwise the token is the exact decimal.
        ZEL_BCD_T exact, back;
        if (zel_bcdFromString(lex->tokbuf, &exact) < 0) return lex_error(tok, B_LEX_ERR_DECIMAL);
        const bool differ =
            zel_bcdFromDouble(dv, &back) < 0 || zel_bcdCompare(&exact, &back) != ZEL_EQ;
        if (differ) {
            void *p = nullptr;
            if (lex_tokenTag(lex).allocCopy(&exact, sizeof exact, &p) != sOKAY) {
                lex->nomem = ZEL_TRUE;
                tok->v.bcd = nullptr;
                return tokDECIMAL;
            }
            tok->v.bcd = static_cast<ZEL_BCD_T *>(p);
            type = tokDECIMAL;
        }
    }
    if (lex->saveexpr) lex_captureToken(lex, type, 0);
    return type;
}

// Skips white space and comments; the first character of the token, or 0.
B_CHAR lex_skip(B_LEX_T *lex) {
    for (;;) {
        LexSpan s;
        if (lex_span(lex, &s) && s.p < s.end && (kClass[*s.p] & kWhite) != 0) {
            const uint8_t *p = s.p;
            for (; p < s.end && (kClass[*p] & kWhite) != 0; ++p) {
                lex->charno++;
                if (*p == '\n') lex_countNewline(lex);
            }
            lex->input->u.mem.pos += static_cast<size_t>(p - s.p);
            if (lex->saveexpr) lex_exprPutch(lex, ' ');
        }
        const B_CHAR c = lex_getInput(lex);
        if (c != 0 && c <= 32) {
            if (lex->saveexpr) lex_exprPutch(lex, ' ');
            continue;
        }
        if (lex->skipcomments == ZEL_FALSE || (c != '-' && c != '/')) return c;
        const B_CHAR next = lex_peekInput(lex);
        if (c == '-' && next == '-') {
            // To the newline, or to the end of the input.
            lex_getInput(lex);
            for (;;) {
                if (lex_span(lex, &s)) {
                    const uint8_t *p = s.p;
                    while (p < s.end && *p != '\n' && *p != 0) ++p;
                    lex_spanTake(lex, static_cast<size_t>(p - s.p));
                }
                const B_CHAR d = lex_getInput(lex);
                if (d == '\n') break;
                if (d == 0) {
                    lex_giveBack(lex, d);
                    break;
                }
            }
        } else if (c == '/' && next == '*') {
            // Not nested; the end of the input ends it too.
            lex_getInput(lex);
            for (;;) {
                if (lex_span(lex, &s)) {
                    const uint8_t *p = s.p;
                    while (p < s.end && *p != '*' && *p != '\n' && *p != 0) ++p;
                    lex_spanTake(lex, static_cast<size_t>(p - s.p));
                }
                const B_CHAR d = lex_getInput(lex);
                if (d == 0) {
                    lex_giveBack(lex, d);
                    break;
                }
                if (d == '*' && lex_peekInput(lex) == '/') {
                    lex_getInput(lex);
                    break;
                }
            }
        } else {
            return c;
        }
        // A comment separates tokens as a blank does.
        if (lex->saveexpr) lex_exprPutch(lex, ' ');
    }
}

// The token that starts with `c`, not 0.
B_TOKTYPE lex_token(B_LEX_T *lex, B_TOKEN *tok, B_CHAR c, bool copy) {
    if ((c == 'X' || c == 'x') && lex_peekInput(lex) == '\'') {
        lex_getInput(lex);
        return lex_binary(lex, tok, true);
    }
    if ((c == 'U' || c == 'u') && lex_peekInput(lex) == '&') {
        lex_getInput(lex);
        const B_CHAR q = lex_getInput(lex);
        if (q != '\'') {
            lex_giveBack(lex, q);
            return lex_error(tok, B_LEX_ERR_BAD_UNICODE_LITERAL);
        }
        return lex_unicodeString(lex, tok, copy);
    }
    if (c == '\'') return lex_string(lex, tok, c, copy);
    if (c == '"') {
        if (lex->doubleQuoteAsIdentifier) return lex_identifier(lex, tok, '"', copy);
        return lex_string(lex, tok, c, copy);
    }
    if (lex_isLetter(c) || c == '_') {
        lex_tokAppend(lex, c);
        return lex_identifier(lex, tok, 0, copy);
    }
    if (lex_isDigit(c)) {
        if (c == '0' && (lex_peekInput(lex) | 0x20) == 'x') {
            lex_getInput(lex);
            return lex_binary(lex, tok, false);
        }
        return lex_number(lex, tok, c);
    }
    if (c == '.' && lex_isDigit(lex_peekInput(lex))) return lex_number(lex, tok, c);
    if (c >= 127) return lex_error(tok, B_LEX_ERR_CHARACTER);
    lex_tokAppend(lex, c);
    lex_tokEnd(lex);
    tok->v.tok = c;
    if (lex->saveexpr) lex_captureToken(lex, static_cast<B_TOKTYPE>(c), 0);
    return static_cast<B_TOKTYPE>(c);
}

// What a first character can open on the quick path of lex_fast.
enum : uint8_t { kFastOther, kFastPunct, kFastLetter, kFastDigit, kFastQuote };

constexpr std::array<uint8_t, 256> kFirst = [] {
    std::array<uint8_t, 256> t{};
    for (int c = 33; c < 127; ++c) t[c] = kFastPunct;
    for (int c = 'a'; c <= 'z'; ++c) t[c] = t[c - 32] = kFastLetter;
    for (int c = '0'; c <= '9'; ++c) t[c] = kFastDigit;
    t['_'] = kFastLetter;
    t['\''] = t['"'] = kFastQuote;
    // Comments, ".5" and the rest go the general way.
    t['-'] = t['/'] = t['.'] = kFastOther;
    return t;
}();

// The common tokens of a memory source, read in place: after white space, a
// punctuation character, a plain identifier, a string without escapes,
// doubled quotes or newlines, an integer of up to 19 digits. Anything else,
// and a lexer holding a character or capturing, is left to the general path
// (false), with at most the white space taken.
bool lex_fast(B_LEX_T *lex, B_TOKEN *tok, bool copy, B_TOKTYPE *type) {
    if (lex->ungetch != kNoChar || lex->saveexpr || lex->input->readFcn != b_inputReadFromMemory) {
        return false;
    }
    B_MEM_INPUT *m = &lex->input->u.mem;
    const uint8_t *const buf = m->buffer;
    const size_t size = m->size;
    const size_t white = m->pos;
    size_t at = white;
    for (; at < size && (kClass[buf[at]] & kWhite) != 0; ++at) {
        if (buf[at] == '\n' && lex->lineno != 0) {
            lex->lineno++;
            lex->prevlinestart = lex->linestart;
            lex->linestart = lex->charno + (at - white) + 1;
        }
    }
    lex->charno += at - white;
    m->pos = at;
    if (at >= size) return false;
    const uint8_t c = buf[at];
    size_t end = at + 1;  // one past the token
    switch (kFirst[c]) {
        case kFastPunct:
            lex->tokbuf[0] = static_cast<char>(c);
            lex->tokpos = 1;
            lex_tokEnd(lex);
            tok->v.tok = c;
            *type = static_cast<B_TOKTYPE>(c);
            break;
        case kFastLetter: {
            const uint8_t cls = lex_identClass(lex);
            const uint8_t next = end < size ? buf[end] : 0;
            if (cls == 0 || ((c | 0x20) == 'x' && next == '\'') ||
                ((c | 0x20) == 'u' && next == '&')) {
                return false;
            }
            while (end < size && (kClass[buf[end]] & cls) != 0) ++end;
            lex->tokpos = 0;
            lex_tokAppendBytes(lex, buf + at, end - at);
            *type = lex_identifierEnd(lex, tok, 0, copy, cls);
            break;
        }
        case kFastQuote: {
            if (c == '"' && lex->doubleQuoteAsIdentifier) return false;
            while (end < size && buf[end] != c && (kClass[buf[end]] & kStringStop) == 0) ++end;
            if (end >= size || buf[end] != c || (end + 1 < size && buf[end + 1] == c)) return false;
            lex->tokpos = 0;
            lex_tokAppendBytes(lex, buf + at + 1, end - at - 1);
            ++end;  // the closing quote
            *type = lex_stringEnd(lex, tok, c, copy);
            break;
        }
        case kFastDigit: {
            uint64_t value = 0;
            while (end - at < 19 && end < size && lex_isDigit(buf[end])) ++end;
            const uint8_t next = end < size ? buf[end] : 0;
            if (lex_isDigit(next) || next == '.' || (next | 0x20) == 'e' ||
                (c == '0' && end == at + 1 && (next | 0x20) == 'x')) {
                return false;
            }
            size_t first = at;
            while (first + 1 < end && buf[first] == '0') ++first;  // leading zeros left out
            for (size_t i = first; i < end; ++i) value = value * 10 + (buf[i] - '0');
            lex->tokpos = 0;
            lex_tokAppendBytes(lex, buf + first, end - first);
            lex_tokEnd(lex);
            tok->v.iv = value;
            *type = tokINTEGER;
            break;
        }
        default:
            return false;
    }
    tok->line = lex->lineno;
    tok->pos = lex->charno - lex->linestart;
    lex->charno += end - at;
    m->pos = end;
    return true;
}

void lex_freeFileName(B_LEX_T *lex) {
    // A name in the stack tag goes with the stack tag's own rollback.
    if (lex->fileName != nullptr && lex->userStackTag == nullptr)
        b_tag_subFree(lex->subTag, lex->fileName);
    lex->fileName = nullptr;
}

void lex_freePutback(B_LEX_T *lex) {
    // Dropping a stack tag's token here would drop the caller's later buffers.
    if (lex->userStackTag == nullptr) b_lexTokenFree(lex, &lex->putback);
    lex->putback.type = tokEOS;
}

}  // namespace

// ---- Life cycle.

ZEL_RETCODE b_lexInit(B_LEX_T *lex, const char *name, ZEL_BOOL_T useSQLIdentifiers,
                      ZEL_BOOL_T doubleQuoteAsIdentifier, B_TAG_SUB subTag) {
    if (lex == nullptr) return eINVNULLARG;
    std::memset(lex, 0, sizeof *lex);
    if (subTag == nullptr) return eINVNULLARG;
    void *buf = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, kBufStep, &buf));
    lex->tokbuf = static_cast<char *>(buf);
    lex->tokbuf[0] = '\0';
    lex->szTokbuf = kBufStep;
    lex->name = name;
    lex->ungetch = kNoChar;
    lex->subTag = subTag;
    lex->doubleQuoteAsIdentifier = doubleQuoteAsIdentifier ? ZEL_TRUE : ZEL_FALSE;
    // Deliberate: the key/value strings have no comments ("--" is two minus
    // signs there).
    lex->skipcomments =
        name != nullptr && std::strcmp(name, "key/value") == 0 ? ZEL_FALSE : ZEL_TRUE;
    if (useSQLIdentifiers) {
        lex->identifierFcn = lex_isSQLIdentifier;
        lex->saveExprFcn = lex_sqlSaveExpr;
    } else {
        lex->identifierFcn = lex_isOtherIdentifier;
    }
    return sOKAY;
}

void b_lexTerm(B_LEX_T *lex) {
    if (lex == nullptr || lex->subTag == nullptr) return;
    lex_freePutback(lex);
    lex_freeFileName(lex);
    b_tag_subFreeCanBeNull(lex->subTag, lex->tokbuf);
    b_tag_subFreeCanBeNull(lex->subTag, lex->xbuf);
    std::memset(lex, 0, sizeof *lex);
}

ZEL_RETCODE b_lexStart(B_LEX_T *lex, const char *string, const char *fileName, uint32_t lineno,
                       B_TAG_STACK userStackTag) {
    if (lex == nullptr) return eINVNULLARG;
    b_inputInitFromMemory(&lex->local_input, string, string != nullptr ? std::strlen(string) : 0,
                          lex->subTag);
    return b_lexInitInput(lex, &lex->local_input, fileName, lineno, userStackTag);
}

ZEL_RETCODE b_lexInitInput(B_LEX_T *lex, B_INPUT_T *input, const char *fileName, uint32_t lineno,
                           B_TAG_STACK userStackTag) {
    if (lex == nullptr || input == nullptr) return eINVNULLARG;
    if (lex->tokbuf == nullptr) return eINVFCNSEQ;
    lex_freePutback(lex);
    lex_freeFileName(lex);
    lex->input = nullptr;
    lex->userStackTag = userStackTag;
    if (fileName != nullptr) {
        void *copy = nullptr;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = lex_tokenTag(lex).copyString(fileName, &copy));
        lex->fileName = static_cast<char *>(copy);
    }
    lex->input = input;
    lex->ungetch = kNoChar;
    lex->lineno = lineno;
    lex->charno = lex->linestart = lex->prevlinestart = 0;
    lex->tokpos = 0;
    lex->tokbuf[0] = '\0';
    lex->saveexpr = ZEL_FALSE;
    lex->xpos = 0;
    if (lex->xbuf != nullptr) lex->xbuf[0] = '\0';
    lex->exch = '\0';
    lex->pcnt = 0;
    lex->toktype = tokEOS;
    lex->nomem = ZEL_FALSE;
    return sOKAY;
}

// ---- Tokens.

namespace {

B_TOKTYPE lex_get(B_LEX_T *lex, B_TOKEN *pTokVal, bool copy) {
    if (pTokVal == nullptr) return tokERROR;
    B_TOKEN *tok = pTokVal;
    tok->len = 0;
    tok->line = 0;
    tok->pos = 0;
    tok->v.iv = 0;
    if (lex == nullptr || lex->input == nullptr) {
        tok->type = lex_error(tok, B_LEX_ERR_NOT_INITIALISED);
        return tokERROR;
    }
    if (lex->putback.type != tokEOS) {
        *tok = lex->putback;
        lex->putback.type = tokEOS;
        lex->toktype = tok->type;
        return tok->type;
    }
    const ZEL_BOOL_T nomemBefore = lex->nomem;
    lex->nomem = ZEL_FALSE;
    B_TOKTYPE type;
    if (!lex_fast(lex, tok, copy, &type)) {
        const B_CHAR c = lex_skip(lex);
        tok->line = lex->lineno;
        tok->pos = lex->charno - 1 - lex->linestart;
        lex->tokpos = 0;
        if (c == 0) {
            lex_tokEnd(lex);
            tok->v.tok = 0;
            type = tokEOS;
        } else {
            type = lex_token(lex, tok, c, copy);
        }
    }
    if (lex->nomem) {
        // The token is short of memory: nothing of it is handed out.
        tok->type = type;
        b_lexTokenFree(lex, tok);
        tok->len = 0;
        type = lex_error(tok, B_LEX_ERR_NOMEM);
    }
    lex->nomem = nomemBefore || lex->nomem ? ZEL_TRUE : ZEL_FALSE;
    tok->type = type;
    lex->toktype = type;
    return type;
}

}  // namespace

B_TOKTYPE b_lexGet(B_LEX_T *lex, B_TOKEN *pTokVal) {
    return lex_get(lex, pTokVal, true);
}

B_TOKTYPE zel::detail::lex_getInPlace(B_LEX_T *lex, B_TOKEN *pTokVal) {
    return lex_get(lex, pTokVal, false);
}

ZEL_RETCODE b_lexPutback(B_LEX_T *lex, const B_TOKEN *pTokVal) {
    if (lex == nullptr || pTokVal == nullptr) return eINVNULLARG;
    if (lex->putback.type != tokEOS) return eINVFCNSEQ;
    lex->putback = *pTokVal;
    return sOKAY;
}

void b_lexTokenFree(B_LEX_T *lex, B_TOKEN *pTokVal) {
    if (lex == nullptr || pTokVal == nullptr) return;
    void **owned = nullptr;
    switch (pTokVal->type) {
        case tokIDENTIFIER:
            owned = reinterpret_cast<void **>(&pTokVal->v.id);
            break;
        case tokSTRING:
            owned = reinterpret_cast<void **>(&pTokVal->v.str);
            break;
        case tokBINARY:
            owned = reinterpret_cast<void **>(&pTokVal->v.bv);
            break;
        case tokDECIMAL:
            owned = reinterpret_cast<void **>(&pTokVal->v.bcd);
            break;
        default:
            return;
    }
    lex_tokenTag(lex).release(*owned);
    *owned = nullptr;
}

// ---- Capture.

ZEL_RETCODE b_lexExprSaveBegin(B_LEX_T *lex) {
    if (lex == nullptr) return eINVNULLARG;
    if (lex->tokbuf == nullptr) return eINVFCNSEQ;
    if (lex->xbuf == nullptr) {
        void *buf = nullptr;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_tag_subAlloc(lex->subTag, kBufStep, &buf));
        lex->xbuf = static_cast<char *>(buf);
        lex->szXbuf = kBufStep;
    }
    lex->xpos = 0;
    lex->xbuf[0] = '\0';
    lex->exch = '\0';
    lex->pcnt = 0;
    lex->saveexpr = ZEL_TRUE;
    // The token just read begins the expression. A quoted identifier comes
    // out unquoted here: the quote is not remembered past its token.
    lex_captureToken(lex, lex->toktype, lex->toktype == tokSTRING ? '\'' : 0);
    return sOKAY;
}

ZEL_RETCODE b_lexExprGet(B_LEX_T *lex, char **pxbuf) {
    if (lex == nullptr || pxbuf == nullptr) return eINVNULLARG;
    if (lex->saveexpr == ZEL_FALSE) return eINVFCNSEQ;
    ZEL_RETCODE rc = lex->nomem ? eNOMEMORY : sOKAY;
    char *out = nullptr;
    while (lex->xpos > 0 && lex->xbuf[lex->xpos - 1] == ' ') lex->xpos--;
    lex->xbuf[lex->xpos] = '\0';
    if (rc == sOKAY && lex->xpos > 0) {
        void *p = nullptr;
        rc = lex_tokenTag(lex).allocCopy(lex->xbuf, lex->xpos + 1, &p);
        out = static_cast<char *>(p);
    }
    lex->saveexpr = ZEL_FALSE;
    lex->tokpos = 0;
    lex->tokbuf[0] = '\0';
    if (rc != sOKAY) return rc;
    *pxbuf = out;
    return sOKAY;
}

// ---- Rewind points.

ZEL_RETCODE b_lexCreateRewindPoint(B_LEX_T *lex, B_LEX_REWIND_POINT *pRewindPoint) {
    if (lex == nullptr || pRewindPoint == nullptr) return eINVNULLARG;
    if (lex->input != &lex->local_input) return eINVFCNSEQ;
    pRewindPoint->ungetch = lex->ungetch;
    pRewindPoint->lineno = lex->lineno;
    pRewindPoint->charno = lex->charno;
    pRewindPoint->linestart = lex->linestart;
    pRewindPoint->prevlinestart = lex->prevlinestart;
    lex->local_input.createRewindPointFcn(&lex->local_input, &pRewindPoint->rewindPoint);
    return sOKAY;
}

ZEL_RETCODE b_lexRewind(B_LEX_T *lex, const B_LEX_REWIND_POINT *rewindPoint) {
    if (lex == nullptr || rewindPoint == nullptr) return eINVNULLARG;
    if (lex->input != &lex->local_input) return eINVFCNSEQ;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = lex->local_input.rewindFcn(&lex->local_input, &rewindPoint->rewindPoint));
    lex->ungetch = rewindPoint->ungetch;
    lex->lineno = rewindPoint->lineno;
    lex->charno = rewindPoint->charno;
    lex->linestart = rewindPoint->linestart;
    lex->prevlinestart = rewindPoint->prevlinestart;
    return sOKAY;
}

// ---- Accessors.

const char *b_lexGetTokString(const B_LEX_T *lex) {
    return lex != nullptr && lex->tokbuf != nullptr ? lex->tokbuf : "";
}

uint32_t b_lexGetLineNumber(const B_LEX_T *lex) {
    return lex != nullptr ? lex->lineno : 0;
}

size_t b_lexGetCharacterNumber(const B_LEX_T *lex) {
    return lex != nullptr ? lex->charno : 0;
}

const char *b_lexGetFileName(const B_LEX_T *lex) {
    return lex != nullptr ? lex->fileName : nullptr;
}
