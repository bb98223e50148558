// `zelbase lex [--other] [--dq-ident] [--keyvalue] [TEXT]`: the tokens of a
// text (without one, of standard input), one a line: line:column, type, value, the
// token's text as read (tokbuf) and, for an identifier, whether it is a
// reserved word. `--other` reads identifiers the non-SQL way (paths in one
// piece, no upper-casing), `--dq-ident` takes double quotes as quoted
// identifiers, `--keyvalue` is the lexer of the key/value strings (other
// identifiers, no comments). `zelbase lex --reserved WORD...` looks words up.
// The exit code is 1 when a token was a lexical error.
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bcd.h"
#include "lex.h"
#include "zelbase_cmds.h"

int zb_cmd_lex(int argc, char **argv);

namespace {

const char *zb_lex_typeName(B_TOKTYPE t) {
    switch (t) {
        case tokERROR:
            return "ERROR";
        case tokEOS:
            return "EOS";
        case tokIDENTIFIER:
            return "IDENTIFIER";
        case tokINTEGER:
            return "INTEGER";
        case tokDECIMAL:
            return "DECIMAL";
        case tokDOUBLE:
            return "DOUBLE";
        case tokSTRING:
            return "STRING";
        case tokBINARY:
            return "BINARY";
        default:
            return "PUNCT";
    }
}

// Printable ASCII as it is, the rest as \xNN, in double quotes.
std::string zb_lex_quoted(const char *s, size_t n) {
    std::string out = "\"";
    char hex[8];
    for (size_t i = 0; i < n; ++i) {
        const auto c = static_cast<unsigned char>(s[i]);
        if (c < 32 || c > 126 || c == '"' || c == '\\') {
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            out += hex;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

}  // namespace

std::string zb_lex_token(const B_LEX_T *lex, const B_TOKEN &t) {
    char buf[96];
    std::string value;
    switch (t.type) {
        case tokIDENTIFIER:
            value = t.v.id;
            break;
        case tokSTRING:
            value = zb_lex_quoted(t.v.str, std::strlen(t.v.str));
            break;
        case tokINTEGER:
            std::snprintf(buf, sizeof buf, "%" PRIu64, t.v.iv);
            value = buf;
            break;
        case tokDOUBLE:
            value = std::string(buf, std::to_chars(buf, buf + sizeof buf, t.v.dv).ptr);
            break;
        case tokDECIMAL:
            if (zel_bcdToString(t.v.bcd, ZEL_FALSE, buf, sizeof buf, nullptr) != sOKAY)
                buf[0] = '\0';
            value = buf;
            break;
        case tokBINARY:
            value = "x'";
            for (size_t i = 0; i < t.len; ++i) {
                std::snprintf(buf, sizeof buf, "%02X", t.v.bv[i]);
                value += buf;
            }
            value += "' (" + std::to_string(t.len) + (t.len == 1 ? " byte)" : " bytes)");
            break;
        case tokERROR:
            value = t.v.str;
            break;
        case tokEOS:
            break;
        default:
            value = std::string(1, static_cast<char>(t.type));
    }
    std::snprintf(buf, sizeof buf, "%u:%-4zu %-10s ", t.line, t.pos, zb_lex_typeName(t.type));
    std::string line = buf + value;
    const char *text = b_lexGetTokString(lex);
    if (t.type != tokEOS && t.type != tokERROR) {
        line += "  tokbuf " + zb_lex_quoted(text, std::strlen(text));
    }
    if (t.type == tokIDENTIFIER && b_lexSQLReserved(t.v.id)) line += "  reserved";
    return line;
}

int zb_cmd_lex(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"o", "other", nullptr,
         "Identifiers the other way: ':', '.', '\\' and '/' continue one (a path is one "
         "identifier), no upper-casing"},
        {"d", "dq-ident", nullptr, "Double quotes open quoted identifiers rather than strings"},
        {"k", "keyvalue", nullptr,
         "The lexer of the key/value strings: other identifiers, no comments"},
        {"r", "reserved", nullptr, "Look the words up among the 288 SQL reserved words"},
        {"T", nullptr, "*:TEXT", "The text (none: standard input); with --reserved, the words"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The tokens of a text, one a line: line:column, type, value, the "
                              "text as read\n(tokbuf) and, for an identifier, whether it is a "
                              "reserved word.",
                              opts);
        code != kZbGoOn)
        return code;
    bool other = false, dqIdent = false, keyvalue = false, reserved = false;
    std::vector<const char *> texts;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "other") == 0) {
            other = true;
        } else if (std::strcmp(name, "dq-ident") == 0) {
            dqIdent = true;
        } else if (std::strcmp(name, "keyvalue") == 0) {
            keyvalue = true;
        } else if (std::strcmp(name, "reserved") == 0) {
            reserved = true;
        } else {
            texts.push_back(arg);
        }
    }
    if (reserved) {
        if (texts.empty()) return zb_usageError("--reserved takes the words to look up");
        for (const char *w : texts)
            std::printf("%-34s %s\n", w, b_lexSQLReserved(w) ? "reserved" : "not reserved");
        return 0;
    }
    if (texts.size() > 1) return zb_usageError("One text, or none for standard input");
    const char *text = texts.empty() ? "-" : texts[0];
    std::string source;
    if (std::strcmp(text, "-") == 0) {
        if (!zb_readFile(nullptr, &source)) {
            std::fprintf(stderr, "zelbase lex: cannot read standard input\n");
            return 1;
        }
    } else {
        source = text;
    }
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_LEX_T lex;
    const bool sql = !(other || keyvalue);
    if (b_lexInit(&lex, keyvalue ? "key/value" : "zelbase", sql ? ZEL_TRUE : ZEL_FALSE,
                  dqIdent ? ZEL_TRUE : ZEL_FALSE, tags.sub) != sOKAY ||
        b_lexStart(&lex, source.c_str(), nullptr, 1, nullptr) != sOKAY) {
        b_lexTerm(&lex);
        return 1;
    }
    int errors = 0;
    for (;;) {
        B_TOKEN t;
        const B_TOKTYPE type = b_lexGet(&lex, &t);
        std::printf("%s\n", zb_lex_token(&lex, t).c_str());
        b_lexTokenFree(&lex, &t);
        if (type == tokERROR) ++errors;
        if (type == tokEOS) break;
    }
    b_lexTerm(&lex);
    return errors == 0 ? 0 : 1;
}
