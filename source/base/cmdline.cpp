/*
 * cmdline.cpp - the command-line processor of the engine's tools.
 *
 * One parser serves both passes. It hands out one item at a time (a table
 * row and its argument) from the state in ZEL_CMDLINE: the element at hand,
 * the next element to take, the place in a cluster of short options and the
 * table row of the next positional. Init runs it over the whole line with the
 * shared options live, so that every user error, the usage and the version
 * are found before the tool does anything; it then rewinds the state, and the
 * tool's walk runs the same parser again, which now passes the shared options
 * over. The layouts of the usage, the errors and the version report are
 * fixed texts that scripts and people read: every column below is
 * deliberate.
 */
#include "cmdline.h"

#include <cstring>

#include "file.h"
#include "format.h"

/* The version report names the embedding product; the build supplies these. */
#ifndef ZEL_PRODUCT_NAME
#define ZEL_PRODUCT_NAME "zelbase"
#endif
#ifndef ZEL_PLATFORM_NAME
#define ZEL_PLATFORM_NAME "linux"
#endif
#ifndef ZEL_PRODUCT_VERSION
#define ZEL_PRODUCT_VERSION "0.0.0"
#endif
#ifndef ZEL_PRODUCT_NOTICE
#define ZEL_PRODUCT_NOTICE ""
#endif

namespace {

constexpr size_t kMessageSize = 360; /* an error message, terminator included */
constexpr size_t kSynopsisWidth = 78;
constexpr size_t kLeftWidth = 26;
constexpr size_t kPieceWidth = 54;

constexpr const char kMsgMissing[] = "Missing argument '%s' ('--help' for more information)";
constexpr const char kMsgStray[] = "Stray argument '%s' ('--help' for more information)";
constexpr const char kMsgNoArgs[] = "option flag '%s' does not take any arguments";
constexpr const char kMsgUnknownLong[] = "Unknown option '--%s' ('--help' for more information)";
constexpr const char kMsgUnknownShort[] = "Unknown option '-%s' ('--help' for more information)";
constexpr const char kMsgUnknown[] = "Unknown option '%s' ('--help' for more information)";
constexpr const char kMsgTakesArg[] = "option flag '%s' takes an argument";
constexpr const char kMsgWrongType[] = "argument for option '%s' is of wrong type";

constexpr const char kFixedLines[] =
    "Short options can be combined into one string starting with a single '-'.\n"
    "Mandatory arguments to long options are mandatory for short options too.\n"
    "Long option arguments can also be specified in a separate argument.\n\n";

constexpr const char kKeyText[] =
    "Specify the encryption key for the database ([algorithm:]passcode. The valid algorithms "
    "are xor, aes128, aes192 and aes256. The aes algorithms are only available for packages "
    "that have strong encryption support. If an algorithm is not specified, the default is "
    "aes128 for strong encryption packages and xor otherwise.";

/* A row handed out by the parser, with its argument (null for none). */
struct CmdItem {
    uint32_t row;
    const char *arg;
};

char cmd_kind(const ZEL_CMDLINE_OPT &o) {
    return o.arg != nullptr ? o.arg[0] : '\0';
}

/* The option scans see only rows without an argument or of kind i, s or c:
 * a positional whose hand-back letter is "f" must not swallow -f. */
bool cmd_isOption(const ZEL_CMDLINE_OPT &o) {
    const char k = cmd_kind(o);
    return o.arg == nullptr || k == 'i' || k == 's' || k == 'c';
}

bool cmd_isPositional(const ZEL_CMDLINE_OPT &o) {
    const char k = cmd_kind(o);
    return o.arg != nullptr && (k == '#' || k == '?' || k == '*');
}

/* The name shown for a descriptor: past the kind and the separator, neither
 * of which is looked at; a descriptor shorter than two characters has none. */
const char *cmd_argName(const ZEL_CMDLINE_OPT &o) {
    if (o.arg[0] == '\0') return o.arg;
    return o.arg[1] == '\0' ? o.arg + 1 : o.arg + 2;
}

/* The value test of an option's argument by its row's kind. */
bool cmd_validOptargData(char kind, const char *value) {
    switch (kind) {
        case 'i':
            if (*value == '-') ++value;
            if (*value == '\0') return false;  // at least one digit
            for (; *value != '\0'; ++value)
                if (*value < '0' || *value > '9') return false;
            return true;
        case 's':
            return true;
        case 'c':
            return value[0] != '\0' && value[1] == '\0';  // exactly one byte
        default:
            return false;
    }
}

/* ---- Output through B_FILE_T. */

void cmd_putn(B_FILE_T *f, const char *s, size_t n) {
    for (size_t i = 0; i < n; ++i) (void)b_filePutc(f, static_cast<uint8_t>(s[i]));
}

void cmd_repeat(B_FILE_T *f, char c, size_t n) {
    for (size_t i = 0; i < n; ++i) (void)b_filePutc(f, c);
}

/* Flushes and closes a standard stream; the first failure it kept. */
ZEL_RETCODE cmd_finish(B_FILE_T *f) {
    const ZEL_RETCODE rc = b_fileFlush(f);
    b_fileClose(f);
    return rc;
}

/* The banner as given, no line feed added. */
ZEL_RETCODE cmd_printBanner(const char *banner) {
    B_FILE_T out;
    ZEL_CHECK(b_fileOpenStdout(&out));
    (void)b_filePuts(&out, banner);
    return cmd_finish(&out);
}

/* The one error path: the banner on standard output, "error: " and the
 * message on standard error, both flushed. `text` is the option text, `len`
 * bytes of it. eBASE_COMMAND, or the first failure of the streams. */
ZEL_RETCODE cmd_usageErr(const ZEL_CMDLINE *cmd, const char *format, const char *text, size_t len) {
    char opt[kMessageSize];
    if (len >= sizeof opt) len = sizeof opt - 1;
    std::memcpy(opt, text, len);
    opt[len] = '\0';
    /* kept: a leading "*", ":", "=" or "|" is shown as "-" */
    if (len > 0 && std::strchr("*:=|", opt[0]) != nullptr) opt[0] = '-';
    char message[kMessageSize];
    if (b_snprintf(message, sizeof message, format, opt) < 0) message[0] = '\0';
    /* The message goes out even when the banner could not. */
    const ZEL_RETCODE out = cmd->banner != nullptr ? cmd_printBanner(cmd->banner) : sOKAY;
    B_FILE_T err;
    ZEL_CHECK(b_fileOpenStderr(&err));
    (void)b_filePuts(&err, "error: ");
    (void)b_filePuts(&err, message);
    (void)b_filePutc(&err, '\n');
    ZEL_CHECK(cmd_finish(&err));
    return out < 0 ? out : eBASE_COMMAND;
}

ZEL_RETCODE cmd_usageErr(const ZEL_CMDLINE *cmd, const char *format, const char *text) {
    return cmd_usageErr(cmd, format, text, std::strlen(text));
}

/* ---- The usage. */

/* The synopsis, kept within 78 columns: a piece that would pass them starts
 * a new line indented to the column after the tool's name, its leading blank
 * dropped. The first piece on a line is never moved. */
struct CmdSynopsis {
    B_FILE_T *f;
    size_t indent;
    size_t col;
    bool pieceOnLine;
};

/* Makes room for a piece of `len` columns; true when a new line was begun. */
bool cmd_synopsisRoom(CmdSynopsis *s, size_t len) {
    if (!s->pieceOnLine || s->col + len <= kSynopsisWidth) return false;
    (void)b_filePutc(s->f, '\n');
    cmd_repeat(s->f, ' ', s->indent);
    s->col = s->indent;
    return true;
}

void cmd_synopsisPiece(CmdSynopsis *s, const char *pre, const char *name, const char *post) {
    const size_t pre_len = std::strlen(pre), name_len = std::strlen(name);
    const size_t post_len = std::strlen(post);
    size_t len = pre_len + name_len + post_len;
    if (cmd_synopsisRoom(s, len) && pre[0] == ' ') {
        ++pre;
        --len;
    }
    (void)b_filePuts(s->f, pre);
    (void)b_filePuts(s->f, name);
    (void)b_filePuts(s->f, post);
    s->col += len;
    s->pieceOnLine = true;
}

/* One description: two blanks, the left column padded to 26, a blank and a
 * piece of at most 54 columns; continuation lines have an empty left column
 * and are indented 2 more. A piece that is not the end of the text breaks
 * after the last character at or below a blank among its 54, and that
 * character is printed (deliberate: the layout tools are compared with). A
 * left column past 26 stands on its own line first. The left column comes in
 * parts (pointer and length) so that no name is cut. */
struct CmdText {
    const char *p;
    size_t n;
};

void cmd_printDescription(B_FILE_T *f, const CmdText *left, size_t parts, const char *desc) {
    size_t left_len = 0;
    for (size_t i = 0; i < parts; ++i) left_len += left[i].n;
    if (left_len > kLeftWidth) {
        (void)b_filePuts(f, "  ");
        for (size_t i = 0; i < parts; ++i) cmd_putn(f, left[i].p, left[i].n);
        (void)b_filePutc(f, '\n');
        parts = 0;
        left_len = 0;
    }
    const auto *p = reinterpret_cast<const unsigned char *>(desc);
    size_t rest = std::strlen(desc);
    bool first = true;
    do {
        (void)b_filePuts(f, "  ");
        if (first) {
            for (size_t i = 0; i < parts; ++i) cmd_putn(f, left[i].p, left[i].n);
            cmd_repeat(f, ' ', kLeftWidth - left_len + 1);
        } else {
            cmd_repeat(f, ' ', kLeftWidth + 1 + 2);
        }
        size_t n = rest;
        if (rest > kPieceWidth) {
            n = kPieceWidth;  // no blank among the 54: a hard break
            for (size_t i = kPieceWidth; i > 0; --i) {
                if (p[i - 1] <= 0x20) {
                    n = i;
                    break;
                }
            }
        }
        cmd_putn(f, reinterpret_cast<const char *>(p), n);
        (void)b_filePutc(f, '\n');
        p += n;
        rest -= n;
        first = false;
    } while (rest > 0);
}

void cmd_printShared(B_FILE_T *f, const char *left, const char *desc) {
    const CmdText part{left, std::strlen(left)};
    cmd_printDescription(f, &part, 1, desc);
}

/* A table row: a positional shows its name; an option "-x", ", " or four
 * blanks, "--long", then "=NAME" after a long form or " NAME" after a bare
 * short one. */
void cmd_printRow(B_FILE_T *f, const ZEL_CMDLINE_OPT &o) {
    CmdText left[7];  // "-", x, ", ", "--", long, "=", NAME at most
    size_t parts = 0;
    auto add = [&](const char *p, size_t n) { left[parts++] = CmdText{p, n}; };
    if (cmd_isPositional(o)) {
        add(cmd_argName(o), std::strlen(cmd_argName(o)));
    } else {
        if (o.optShort[0] != '\0') {
            add("-", 1);
            add(o.optShort, 1);
            if (o.optLong != nullptr) add(", ", 2);
        } else {
            add("    ", 4);
        }
        if (o.optLong != nullptr) {
            add("--", 2);
            add(o.optLong, std::strlen(o.optLong));
        }
        if (o.arg != nullptr) {
            add(o.optLong != nullptr ? "=" : " ", 1);
            add(cmd_argName(o), std::strlen(cmd_argName(o)));
        }
    }
    cmd_printDescription(f, left, parts, o.desc);
}

ZEL_RETCODE cmd_usage(const ZEL_CMDLINE *cmd) {
    B_FILE_T out;
    ZEL_CHECK(b_fileOpenStdout(&out));
    if (cmd->banner != nullptr) (void)b_filePuts(&out, cmd->banner);
    const char *tool = cmd->argc > 0 && cmd->argv[0] != nullptr ? cmd->argv[0] : "";
    const char *slash = std::strrchr(tool, '/');
    if (slash != nullptr) tool = slash + 1;
    (void)b_filePuts(&out, "Usage:\n\n  ");
    (void)b_filePuts(&out, tool);
    (void)b_filePutc(&out, ' ');

    const size_t indent = 2 + std::strlen(tool) + 1;
    CmdSynopsis syn{&out, indent, indent, false};
    cmd_synopsisPiece(&syn, "[OPTION]...", "", "");
    size_t optional = 0;
    for (const ZEL_CMDLINE_OPT *o = cmd->opts; o->optShort != nullptr; ++o) {
        if (!cmd_isPositional(*o)) continue;
        switch (cmd_kind(*o)) {
            case '*':
                cmd_synopsisPiece(&syn, " [", cmd_argName(*o), "]...");
                break;
            case '#':
                cmd_synopsisPiece(&syn, " ", cmd_argName(*o), "");
                break;
            default:
                cmd_synopsisPiece(&syn, " [", cmd_argName(*o), "");
                ++optional;
                break;
        }
    }
    /* One "]" per optional argument, so that they nest; one piece. */
    if (optional > 0) {
        (void)cmd_synopsisRoom(&syn, optional);
        cmd_repeat(&out, ']', optional);
    }
    (void)b_filePuts(&out, "\n\n");
    if (cmd->description != nullptr) {
        (void)b_filePuts(&out, cmd->description);
        (void)b_filePuts(&out, "\n\n");
    }
    (void)b_filePuts(&out, kFixedLines);

    cmd_printShared(&out, "-h, --help", "Display this usage information");
    if (const ZEL_CMD_DEFAULTS *d = cmd->defaults; d != nullptr) {
        cmd_printShared(&out, "    --version", "Display the version information");
        cmd_printShared(&out, "-q, --quiet", "Quiet mode. No information will be displayed.");
        if (d->no_encryption == 0) cmd_printShared(&out, "    --key=key", kKeyText);
        if (d->no_docroot == 0)
            cmd_printShared(&out, "    --docroot=path",
                            "Document root under which to place the database");
    }
    for (const ZEL_CMDLINE_OPT *o = cmd->opts; o->optShort != nullptr; ++o) {
        if (o->desc == nullptr) continue;
        /* deliberate: "embed" is the embedder's hidden option, never shown */
        if (o->optLong != nullptr && std::strcmp(o->optLong, "embed") == 0) continue;
        cmd_printRow(&out, *o);
    }
    (void)b_filePutc(&out, '\n');
    ZEL_CHECK(cmd_finish(&out));
    return sCMD_USAGE;
}

/* "NAME (PLATFORM-BITS) VERSION", then the notice. */
ZEL_RETCODE cmd_printVersion(const ZEL_CMDLINE *cmd) {
    B_FILE_T out;
    ZEL_CHECK(b_fileOpenStdout(&out));
    if (cmd->banner != nullptr) (void)b_filePuts(&out, cmd->banner);
    (void)b_filePrintf(&out, "%s (%s-%u) %s\n", ZEL_PRODUCT_NAME, ZEL_PLATFORM_NAME,
                       static_cast<unsigned>(sizeof(void *) * 8), ZEL_PRODUCT_VERSION);
    (void)b_filePuts(&out, ZEL_PRODUCT_NOTICE);
    (void)b_filePutc(&out, '\n');
    return cmd_finish(&out);
}

/* ---- The parser. */

/* --key and --docroot: "--WORD VALUE" or "--WORD=VALUE". With a null `dest`
 * the value is passed over, though a separate one is still consumed.
 * sNOTFOUND when `name` is not this option. */
ZEL_RETCODE cmd_sharedValue(ZEL_CMDLINE *cmd, const char *name, const char *word,
                            const char **dest) {
    const size_t n = std::strlen(word);
    if (std::strncmp(name, word, n) != 0) return sNOTFOUND;
    const char *value;
    if (name[n] == '=') {
        value = name + n + 1;
    } else if (name[n] == '\0') {
        if (cmd->ii_next >= static_cast<uint32_t>(cmd->argc))
            return cmd_usageErr(cmd, kMsgTakesArg, cmd->argv[cmd->ii]);
        value = cmd->argv[cmd->ii_next++];
    } else {
        return sNOTFOUND;
    }
    if (dest != nullptr) *dest = value;
    return sOKAY;
}

/* The shared options, for a short letter (`name` "") or a long name (`letter`
 * 0, `name` the element past "--"). sNOTFOUND when it is none of them. */
ZEL_RETCODE cmd_parseDefaultOption(ZEL_CMDLINE *cmd, ZEL_CMDLINE_STATUS *status, char letter,
                                   const char *name) {
    /* kept: -h is tested first, before the tool's own rows */
    if (letter == 'h' || std::strcmp(name, "help") == 0) return cmd_usage(cmd);
    const ZEL_CMD_DEFAULTS *d = cmd->defaults;
    if (d == nullptr) return sNOTFOUND;
    if (letter == 'q' || std::strcmp(name, "quiet") == 0) {
        if (status != nullptr) status->quiet = ZEL_TRUE;
        cmd->banner = nullptr;  // kept: -q silences the banner of any later output
        return sOKAY;
    }
    if (std::strcmp(name, "version") == 0) {
        /* kept: the answer is sCMD_VERSION whatever the report's own result */
        (void)cmd_printVersion(cmd);
        return sCMD_VERSION;
    }
    ZEL_RETCODE rc = sNOTFOUND;
    if (d->no_encryption == 0)
        rc = cmd_sharedValue(cmd, name, "key", status != nullptr ? &status->enc_key : nullptr);
    if (rc == sNOTFOUND && d->no_docroot == 0)
        rc = cmd_sharedValue(cmd, name, "docroot", status != nullptr ? &status->docroot : nullptr);
    return rc;
}

/* The argument of an option row: none, or the next element. `opt` is the
 * option as typed ("-x" or "--name"). */
ZEL_RETCODE cmd_parseNextOptionArgument(ZEL_CMDLINE *cmd, uint32_t row, const char *opt,
                                        size_t opt_len, CmdItem *item) {
    const ZEL_CMDLINE_OPT &o = cmd->opts[row];
    const char *value = nullptr;
    if (o.arg != nullptr) {
        /* kept: the next element whatever it looks like; the rest of a
         * cluster is never the argument, so -ab x gives a x and then b */
        if (cmd->ii_next >= static_cast<uint32_t>(cmd->argc))
            return cmd_usageErr(cmd, kMsgTakesArg, opt, opt_len);
        value = cmd->argv[cmd->ii_next++];
        if (!cmd_validOptargData(o.arg[0], value))
            return cmd_usageErr(cmd, kMsgWrongType, opt, opt_len);
    }
    *item = CmdItem{row, value};
    return sOKAY;
}

/* A positional: the next row of kind #, ? or * from argument_ind_next; a #
 * or ? row is used up, a * row stays. */
ZEL_RETCODE cmd_parseNextArgument(ZEL_CMDLINE *cmd, const char *element, CmdItem *item) {
    for (uint32_t i = cmd->argument_ind_next; cmd->opts[i].optShort != nullptr; ++i) {
        if (!cmd_isPositional(cmd->opts[i])) continue;  // rows with a null arg too
        cmd->argument_ind_next = cmd_kind(cmd->opts[i]) == '*' ? i : i + 1;
        *item = CmdItem{i, element};
        return sOKAY;
    }
    return cmd_usageErr(cmd, kMsgStray, element);
}

/* "--name", "--name VALUE" or "--name=VALUE". Every row of that long name is
 * taken: the scan does not stop at a match. */
ZEL_RETCODE cmd_parseNextLongOption(ZEL_CMDLINE *cmd, ZEL_CMDLINE_STATUS *status, CmdItem *item) {
    const char *element = cmd->argv[cmd->ii];
    const char *name = element + 2;
    ZEL_RETCODE rc = cmd_parseDefaultOption(cmd, status, '\0', name);
    if (rc == sOKAY) return sIGNORE;
    if (rc != sNOTFOUND) return rc;
    const char *eq = std::strchr(name, '=');
    const size_t name_len = eq != nullptr ? size_t(eq - name) : std::strlen(name);
    const size_t opt_len = 2 + name_len;
    bool matched = false;
    /* kept: a bare "--" is an unknown option, not the end of the options */
    for (uint32_t i = 0; name_len > 0 && cmd->opts[i].optShort != nullptr; ++i) {
        const ZEL_CMDLINE_OPT &o = cmd->opts[i];
        if (!cmd_isOption(o) || o.optLong == nullptr || std::strlen(o.optLong) != name_len ||
            std::memcmp(o.optLong, name, name_len) != 0)
            continue;
        matched = true;
        if (eq == nullptr) {
            ZEL_CHECK(rc = cmd_parseNextOptionArgument(cmd, i, element, opt_len, item));
        } else if (o.arg == nullptr) {
            return cmd_usageErr(cmd, kMsgNoArgs, element, opt_len);
        } else if (!cmd_validOptargData(o.arg[0], eq + 1)) {
            return cmd_usageErr(cmd, kMsgWrongType, element, opt_len);
        } else {
            *item = CmdItem{i, eq + 1};
        }
    }
    if (!matched) return cmd_usageErr(cmd, kMsgUnknownLong, name, name_len);
    return sOKAY;
}

/* One letter of a cluster. */
ZEL_RETCODE cmd_parseNextShortOption(ZEL_CMDLINE *cmd, ZEL_CMDLINE_STATUS *status, char letter,
                                     CmdItem *item) {
    ZEL_RETCODE rc = cmd_parseDefaultOption(cmd, status, letter, "");
    if (rc != sNOTFOUND) return rc == sOKAY ? sIGNORE : rc;
    const char opt[2] = {'-', letter};
    bool matched = false;
    for (uint32_t i = 0; cmd->opts[i].optShort != nullptr; ++i) {
        const ZEL_CMDLINE_OPT &o = cmd->opts[i];
        if (!cmd_isOption(o) || o.optShort[0] != letter) continue;
        matched = true;
        ZEL_CHECK(rc = cmd_parseNextOptionArgument(cmd, i, opt, sizeof opt, item));
    }
    if (!matched) return cmd_usageErr(cmd, kMsgUnknownShort, &letter, 1);
    return sOKAY;
}

/* One step: an item (sOKAY), a shared option passed (sIGNORE), the end
 * (sNOTFOUND), or what the usage, version or an error returned. */
ZEL_RETCODE cmd_parseStep(ZEL_CMDLINE *cmd, ZEL_CMDLINE_STATUS *status, CmdItem *item) {
    if (cmd->kk != 0) {
        const char c = cmd->argv[cmd->ii][cmd->kk];
        if (c != '\0') {
            ++cmd->kk;
            return cmd_parseNextShortOption(cmd, status, c, item);
        }
        cmd->kk = 0;
    }
    if (cmd->ii_next >= static_cast<uint32_t>(cmd->argc)) return sNOTFOUND;
    cmd->ii = cmd->ii_next++;
    const char *element = cmd->argv[cmd->ii];
    if (element[0] != '-') return cmd_parseNextArgument(cmd, element, item);
    if (element[1] == '-') return cmd_parseNextLongOption(cmd, status, item);
    if (element[1] != '\0') {
        cmd->kk = 2;
        return cmd_parseNextShortOption(cmd, status, element[1], item);
    }
    return cmd_usageErr(cmd, kMsgUnknown, element);
}

ZEL_RETCODE cmd_parseNextOptionOrArgument(ZEL_CMDLINE *cmd, ZEL_CMDLINE_STATUS *status,
                                          CmdItem *item) {
    ZEL_RETCODE rc;
    while ((rc = cmd_parseStep(cmd, status, item)) == sIGNORE) {
    }
    return rc;
}

void cmd_rewind(ZEL_CMDLINE *cmd) {
    cmd->ii = 0;
    cmd->ii_next = 1;
    cmd->kk = 0;
    cmd->argument_ind_next = 0;
}

}  // namespace

ZEL_RETCODE zel_cmdlineInit(ZEL_CMDLINE *cmd, int32_t argc, char **argv, const char *description,
                            const ZEL_CMDLINE_OPT *opts) {
    return zel_cmdlineInitEx(cmd, nullptr, argc, argv, description, opts, nullptr, nullptr);
}

ZEL_RETCODE zel_cmdlineInitEx(ZEL_CMDLINE *cmd, const char *banner, int32_t argc, char **argv,
                              const char *description, const ZEL_CMDLINE_OPT *opts,
                              const ZEL_CMD_DEFAULTS *defaults, ZEL_CMDLINE_STATUS *status) {
    if (cmd == nullptr || opts == nullptr || (argc > 0 && argv == nullptr)) return eINVNULLARG;
    /* The line ends at a null element, as argv[argc] does. */
    int32_t n = 0;
    while (n < argc && argv[n] != nullptr) ++n;
    cmd_rewind(cmd);
    cmd->opts = opts;
    cmd->argc = n;
    cmd->argv = argv;
    cmd->banner = banner;
    cmd->description = description;
    cmd->defaults = defaults;
    if (status != nullptr) *status = ZEL_CMDLINE_STATUS{ZEL_FALSE, nullptr, nullptr};

    CmdItem item;
    ZEL_RETCODE rc;
    while ((rc = cmd_parseNextOptionOrArgument(cmd, status, &item)) == sOKAY) {
    }
    if (rc != sNOTFOUND) return rc;
    for (uint32_t i = cmd->argument_ind_next; opts[i].optShort != nullptr; ++i) {
        if (cmd_isPositional(opts[i]) && cmd_kind(opts[i]) == '#')
            return cmd_usageErr(cmd, kMsgMissing, cmd_argName(opts[i]));
    }
    cmd_rewind(cmd);
    return cmd->banner != nullptr ? cmd_printBanner(cmd->banner) : sOKAY;
}

char zel_cmdlineNextShortOption(ZEL_CMDLINE *cmd, const char **pArg) {
    CmdItem item;
    if (cmd == nullptr || cmd->opts == nullptr ||
        cmd_parseNextOptionOrArgument(cmd, nullptr, &item) != sOKAY)
        return '\0';
    if (pArg != nullptr) *pArg = item.arg;
    return cmd->opts[item.row].optShort[0];
}

const char *zel_cmdlineNextLongOption(ZEL_CMDLINE *cmd, const char **pArg) {
    CmdItem item;
    if (cmd == nullptr || cmd->opts == nullptr ||
        cmd_parseNextOptionOrArgument(cmd, nullptr, &item) != sOKAY)
        return nullptr;
    if (pArg != nullptr) *pArg = item.arg;
    const ZEL_CMDLINE_OPT &o = cmd->opts[item.row];
    return o.optLong != nullptr ? o.optLong : o.optShort;
}
