// `zelbase options [--scope S] [--words]` lists the option keywords in table
// order: the number with its scope, serial and class decoded, what the value
// is, its default and bounds. `--scope` keeps one scope (server, db, dbgsv,
// sql, reserved); `--words` adds the word tables (of the options listed, with --scope), each
// word with its value and whether it is read, written or refused.
#include <cstdio>
#include <string>

#include "options.h"
#include "zelbase_cmds.h"

int zb_cmd_options(int argc, char **argv);

namespace {

struct ZbScope {
    const char *name;
    int bits;
};

constexpr ZbScope kZbScopes[] = {{"reserved", ZEL_OPT_SCOPE_RESERVED},
                                 {"server", ZEL_OPT_SCOPE_GSV},
                                 {"db", ZEL_OPT_SCOPE_DB},
                                 {"dbgsv", ZEL_OPT_SCOPE_DB_GSV},
                                 {"sql", ZEL_OPT_SCOPE_SQL}};

const char *zb_options_scope(int bits) {
    for (const ZbScope &s : kZbScopes)
        if (s.bits == bits) return s.name;
    return "?";
}

const char *zb_options_kind(const ZEL_OPT_INFO *info) {
    static constexpr const char *kNames[] = {
        "reserved", "boolean", "int16", "int32",       "uint32",      "uint64", "double",
        "char",     "text",    "path",  "date format", "time format", "word"};
    const char *name = kNames[info->kind];
    if (info->kind != ZEL_OPT_KIND_WORD) return name;
    const char *words = nullptr;
    (void)b_optionGetWords(info->words, nullptr, &words);
    return words;
}

void zb_options_words(ZEL_OPT_WORDS words) {
    uint32_t n = 0;
    const char *name = nullptr;
    const ZEL_OPT_WORD *rows = b_optionGetWords(words, &n, &name);
    std::printf("%s:\n", name);
    for (uint32_t i = 0; i < n; ++i) {
        const uint32_t use = rows[i].use;
        const char *how = use == (ZEL_OPT_WORD_READ | ZEL_OPT_WORD_WRITE) ? "read, written"
                          : use == ZEL_OPT_WORD_READ                      ? "read only"
                          : use == ZEL_OPT_WORD_WRITE                     ? "written only"
                                                                          : "compared, refused";
        std::printf("  %-30s %8d  %s\n", ("\"" + std::string(rows[i].word) + "\"").c_str(),
                    rows[i].value, how);
    }
}

}  // namespace

int zb_cmd_options(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"s", "scope", "s:SCOPE", "Only the options of SCOPE: server, db, dbgsv, sql, reserved"},
        {"w", "words", nullptr, "Also the word tables of the options listed"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The option keywords in table order: number, scope, serial and "
                              "class, the kind\nof value, default and bounds.",
                              opts);
        code != kZbGoOn)
        return code;
    int scope = -1;
    bool words = false;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::string(name) == "words") words = true;
        if (std::string(name) != "scope") continue;
        for (const ZbScope &s : kZbScopes)
            if (std::string(arg) == s.name) scope = s.bits;
        if (scope < 0) return zb_usageError("Unknown scope '%s'", arg);
    }
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    bool used[ZEL_OPT_WORDS_COUNT] = {};
    std::printf("%-3s %-33s %-8s %-8s %6s %5s  %-13s %-22s %s\n", "#", "name", "value", "scope",
                "serial", "class", "kind", "default", "bounds");  // serial and class in hex
    for (uint32_t i = 0; i < n; ++i) {
        const int v = keys[i].value;
        if (scope >= 0 && (v & ZEL_OPT_SCOPE_MASK) != scope) continue;
        const ZEL_OPT_INFO *info = b_optionGetInfo(keys[i].value);
        used[info->words] = true;
        const std::string def =
            info->defaultText == nullptr ? "none" : "\"" + std::string(info->defaultText) + "\"";
        std::printf("%-3u %-33s 0x%06X %-8s %6.3X %5.2X  %-13s %-22s %s\n", i, keys[i].name, v,
                    zb_options_scope(v & ZEL_OPT_SCOPE_MASK), (v & ZEL_OPT_SERIAL_MASK) >> 8,
                    v & ZEL_OPT_CLASS_MASK, zb_options_kind(info), def.c_str(),
                    info->bounds != nullptr ? info->bounds : "");
    }
    if (words) {
        for (int w = ZEL_OPT_WORDS_NONE + 1; w < ZEL_OPT_WORDS_COUNT; ++w) {
            if (scope >= 0 && !used[w]) continue;  // all of them without --scope
            std::printf("\n");
            zb_options_words(static_cast<ZEL_OPT_WORDS>(w));
        }
    }
    return 0;
}
