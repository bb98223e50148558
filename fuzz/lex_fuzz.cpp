// The lexer over any bytes, in four configurations (SQL identifiers with
// double quotes as strings or as identifiers, other identifiers with
// comments, the key/value lexer without), with token strings from the sub tag
// or from a stack tag, up to a cap of tokens. Every token holds to its type's
// invariants; a token put back comes out again the same; a rewind to the
// start reads the same tokens again; the canonical print of the tokens before
// the first error reads back as the same tokens; and all memory comes back.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bcd.h"
#include "input.h"
#include "lex.h"
#include "tag_master_psp.h"
#include "tag_stack.h"
#include "tag_sub.h"

namespace {

constexpr int kTokenCap = 2000;

void checkAt(bool ok, int line) {
    if (!ok) {
        std::fprintf(stderr, "lex_fuzz: check failed at line %d\n", line);
        std::abort();
    }
}
#define check(ok) checkAt((ok), __LINE__)

struct Tags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    B_TAG_STACK stack = nullptr;
};

Tags &fuzzTags() {
    static Tags tags = [] {
        Tags t;
        check(b_tag_masterCreate(nullptr, 0, &t.master) == sOKAY);
        check(b_tag_subCreate(t.master, &t.sub) == sOKAY);
        check(b_tag_stackCreate(t.master, 8192, 65536, &t.stack) == sOKAY);
        return t;
    }();
    return tags;
}

int64_t used(B_TAG_SUB sub) {
    int64_t cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    return cur;
}

int64_t used(B_TAG_STACK stack) {
    int64_t cur = 0, peak = 0;
    b_tag_stackMemUsage(stack, &cur, &peak);
    return cur;
}

struct Config {
    const char *name;
    bool sql, dqIdent;
};
constexpr Config kConfigs[] = {{"sql", true, false},
                               {"sql", true, true},
                               {"other", false, false},
                               {"key/value", false, false}};

const char *const kErrors[] = {
    B_LEX_ERR_NOT_INITIALISED, B_LEX_ERR_BAD_BINARY, B_LEX_ERR_BAD_UNICODE_LITERAL,
    B_LEX_ERR_BAD_ESCAPE,      B_LEX_ERR_NO_QUOTE,   B_LEX_ERR_UNICODE,
    B_LEX_ERR_CHARACTER,       B_LEX_ERR_DECIMAL,    B_LEX_ERR_NOMEM};

bool isIdentChar(uint8_t c, bool sql) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
    if (c == '$' || c == '_') return true;
    return !sql && (c == ':' || c == '.' || c == '\\' || c == '/');
}

std::string bcdPlain(const ZEL_BCD_T *b) {
    char text[80];
    check(zel_bcdToString(b, ZEL_FALSE, text, sizeof text, nullptr) == sOKAY);
    return text;
}

// The token's identity, for comparing two readings.
std::string describe(const B_TOKEN &t) {
    char buf[64];
    switch (t.type) {
        case tokIDENTIFIER:
            return "I" + std::string(t.v.id);
        case tokSTRING:
            return "S" + std::string(t.v.str);
        case tokBINARY:
            return "B" + std::string(reinterpret_cast<const char *>(t.v.bv), t.len);
        case tokDECIMAL:
            return "D" + bcdPlain(t.v.bcd);
        case tokINTEGER:
            return "N" + std::to_string(t.v.iv);
        case tokDOUBLE:
            std::snprintf(buf, sizeof buf, "F%a", t.v.dv);
            return buf;
        case tokERROR:
            return "E" + std::string(t.v.str);
        default:
            return "P" + std::to_string(t.type);
    }
}

void checkToken(const B_LEX_T &lex, const B_TOKEN &t, const Config &c) {
    switch (t.type) {
        case tokIDENTIFIER: {
            const size_t n = std::strlen(t.v.id);
            check(t.len == n + 1);
            for (size_t i = 0; i < n; ++i) {
                const auto ch = static_cast<uint8_t>(t.v.id[i]);
                check(isIdentChar(ch, c.sql));
                if (c.sql && !c.dqIdent) check(!(ch >= 'a' && ch <= 'z'));
            }
            break;
        }
        case tokBINARY:
            check(t.len * 2 == std::strlen(b_lexGetTokString(&lex)));
            check((t.len == 0) == (t.v.bv == nullptr));
            break;
        case tokDECIMAL:
            check(t.v.bcd != nullptr && zel_bcdValidate(t.v.bcd) >= 0);
            break;
        case tokSTRING:
            check(t.v.str != nullptr);
            break;
        case tokERROR: {
            bool known = false;
            for (const char *e : kErrors)
                known = known || t.v.str == e || std::strcmp(t.v.str, e) == 0;
            check(known);
            break;
        }
        case tokINTEGER:
        case tokDOUBLE:
        case tokEOS:
            break;
        default:
            // Punctuation: printable ASCII that opens no other token.
            check(t.type > 32 && t.type < 127 && t.v.tok == static_cast<B_CHAR>(t.type));
            check(!isIdentChar(static_cast<uint8_t>(t.type), true) || t.type == '$');
            check(t.type != '\'' && t.type != '"');
    }
    if (t.type != tokIDENTIFIER && t.type != tokBINARY) check(t.len == 0);
}

// A text that reads back as the same token, or false for an error token.
bool canonical(const B_TOKEN &t, const char *tokbuf, const Config &c, std::string *out) {
    char buf[64];
    switch (t.type) {
        case tokIDENTIFIER:
            if (c.dqIdent) {
                *out += '"' + std::string(t.v.id) + '"';
            } else {
                *out += t.v.id;
            }
            break;
        case tokSTRING:
            *out += '\'';
            for (const char *p = t.v.str; *p != '\0'; ++p) {
                if (*p == '\'' || *p == '\\') *out += *p;
                *out += *p;
            }
            *out += '\'';
            break;
        case tokBINARY:
            *out += "X'";
            for (size_t i = 0; i < t.len; ++i) {
                std::snprintf(buf, sizeof buf, "%02x", t.v.bv[i]);
                *out += buf;
            }
            *out += '\'';
            break;
        case tokINTEGER:
            *out += std::to_string(t.v.iv);
            break;
        case tokDOUBLE: {
            if (t.v.dv == __builtin_inf()) {
                *out += "1e999";
                break;
            }
            const auto r =
                std::to_chars(buf, buf + sizeof buf, t.v.dv, std::chars_format::scientific);
            *out += std::string(buf, r.ptr);
            break;
        }
        case tokDECIMAL: {
            // A point, at least 16 significant digits and no exponent, so that
            // it is read the decimal way again. A decimal that lost digits past
            // its 32 places (down to 0, maybe) can only come from its own text.
            ZEL_BCD_T whole;
            if (zel_bcdFromString(tokbuf, &whole) != sOKAY) {
                *out += tokbuf;
                break;
            }
            std::string d = bcdPlain(t.v.bcd);
            if (d.find('.') == std::string::npos) d += '.';
            int significant = 0;
            for (char ch : d) {
                if ((ch >= '1' && ch <= '9') || (ch == '0' && significant > 0)) ++significant;
            }
            while (significant++ < 16) d += '0';
            *out += d;
            break;
        }
        case tokERROR:
            return false;
        case tokEOS:
            return true;
        default:
            *out += static_cast<char>(t.type);
    }
    *out += ' ';
    return true;
}

// A source that is no memory source, over the same bytes: the lexer reads it
// through readFcn, the general way, which must agree with the quick one.
struct ByteSource {
    B_INPUT_T in;
    const uint8_t *data;
    size_t size, pos;
};

ZEL_RETCODE byteRead(B_INPUT_T *obj, B_CHAR *ch) {
    auto *s = reinterpret_cast<ByteSource *>(obj);
    *ch = s->pos < s->size ? s->data[s->pos++] : 0;
    return sOKAY;
}

// Reads up to the end or the cap; the descriptions (with the place and text
// of each token when `places`), and the canonical print of the tokens before
// the first error.
std::vector<std::string> readAll(B_LEX_T *lex, const Config &c, std::string *print, size_t *printed,
                                 bool places = false) {
    std::vector<std::string> seen;
    bool printing = true;
    for (int i = 0; i < kTokenCap; ++i) {
        B_TOKEN t;
        const B_TOKTYPE type = b_lexGet(lex, &t);
        check(type == t.type);
        checkToken(*lex, t, c);
        if (i % 7 == 3 && type != tokEOS) {  // a put-back end is none
            check(b_lexPutback(lex, &t) == sOKAY);
            B_TOKEN again;
            check(b_lexGet(lex, &again) == type);
            check(again.len == t.len && again.line == t.line && again.pos == t.pos &&
                  again.v.iv == t.v.iv);
        }
        seen.push_back(describe(t));
        if (places) {
            seen.back() += "@" + std::to_string(t.line) + ":" + std::to_string(t.pos) + "|" +
                           b_lexGetTokString(lex) + "|" +
                           std::to_string(b_lexGetCharacterNumber(lex));
        }
        if (printing && print != nullptr) printing = canonical(t, b_lexGetTokString(lex), c, print);
        if (printing) *printed = seen.size();
        b_lexTokenFree(lex, &t);
        if (type == tokEOS) break;
    }
    return seen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    Tags &tags = fuzzTags();
    const Config &c = kConfigs[data[0] & 3];
    B_TAG_STACK stack = (data[0] & 4) != 0 ? tags.stack : nullptr;
    const int64_t subBefore = used(tags.sub), stackBefore = used(tags.stack);

    B_LEX_T lex;
    check(b_lexInit(&lex, c.name, c.sql ? ZEL_TRUE : ZEL_FALSE, c.dqIdent ? ZEL_TRUE : ZEL_FALSE,
                    tags.sub) == sOKAY);
    b_inputInitFromMemory(&lex.local_input, data + 1, size - 1, tags.sub);
    check(b_lexInitInput(&lex, &lex.local_input, "fuzz", 1, stack) == sOKAY);
    B_LEX_REWIND_POINT start;
    check(b_lexCreateRewindPoint(&lex, &start) == sOKAY);
    std::string print;
    size_t printed = 0, ignored = 0;
    const std::vector<std::string> first = readAll(&lex, c, &print, &printed);
    check(b_lexRewind(&lex, &start) == sOKAY);
    const std::vector<std::string> placed = readAll(&lex, c, nullptr, &ignored, true);
    check(placed.size() == first.size());
    for (size_t i = 0; i < first.size(); ++i) check(placed[i].rfind(first[i] + "@", 0) == 0);

    // Through readFcn: the same tokens at the same places.
    ByteSource bytes{{}, data + 1, size - 1, 0};
    bytes.in.readFcn = byteRead;
    check(b_lexInitInput(&lex, &bytes.in, nullptr, 1, stack) == sOKAY);
    check(readAll(&lex, c, nullptr, &ignored, true) == placed);

    check(b_lexStart(&lex, print.c_str(), nullptr, 1, stack) == sOKAY);
    std::vector<std::string> again = readAll(&lex, c, nullptr, &ignored);
    std::vector<std::string> want(first.begin(), first.begin() + static_cast<ptrdiff_t>(printed));
    if (printed < static_cast<size_t>(kTokenCap) && (want.empty() || want.back() != "P0")) {
        want.push_back("P0");
    }
    if (again != want) {
        std::fprintf(stderr, "print: [%s]\n", print.c_str());
        for (size_t i = 0; i < std::max(again.size(), want.size()); ++i) {
            std::fprintf(stderr, "%zu: [%s] [%s]\n", i, i < want.size() ? want[i].c_str() : "-",
                         i < again.size() ? again[i].c_str() : "-");
        }
    }
    check(again == want);

    b_lexTerm(&lex);
    if (stack != nullptr) b_tag_stackFreeAll(stack);
    check(used(tags.sub) == subBefore && used(tags.stack) == stackBefore);
    return 0;
}
