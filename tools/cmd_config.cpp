// `zelbase config [--scope S] [--settings] 'k=v;...'` processes an option
// string into default records: each key with the code its scope's function
// gives, then the list of all options of the scope (or of every scope) as the
// output writes it, and the same one a line with the values off their default
// marked "*". --settings takes the settings records, whose list shows what
// was set. The server's configuration, which the list does not read, is
// shown field by field.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "config.h"
#include "config_internal.h"
#include "config_output.h"
#include "config_process.h"
#include "options.h"
#include "zelbase_cmds.h"

int zb_cmd_config(int argc, char **argv);

namespace {

struct ZbRecords {
    ZEL_GSV_CONFIGURATION gsv{};
    ZEL_DB_CONFIGURATION db{};
    ZEL_DB_GSV_CONFIGURATION dbGsv{};
    ZEL_SQL_OPTIONS sql{};
    ZEL_DB_SETTINGS dbS{};
    ZEL_DB_GSV_SETTINGS dbGsvS{};
    ZEL_SQL_SETTINGS sqlS{};
    ZEL_GSV handle{{nullptr, nullptr}, GSV_TYPE_DEFAULT};
    B_TAG_SUB sub;

    explicit ZbRecords(B_TAG_SUB s) : sub(s) {
        (void)b_optionInitializeGSV(&gsv);
        (void)b_optionInitializeDbHandle(&db, nullptr, sub);
        (void)b_optionInitializeDbGSV(&dbGsv);
        (void)b_configInitializeSQL(&sql, &sqlS, sub);
    }
    ~ZbRecords() {
        b_optionCleanGSVConfig(&gsv, sub);
        b_optionCleanDbHandleConfig(&db, sub);
        b_optionFreeDbHandleSettings(&dbS, sub);
        b_optionFreeDbGSVSettings(&dbGsvS, sub);
        b_optionFreeSQLSettings(&sqlS, sub);
    }
    ZbRecords(const ZbRecords &) = delete;
    ZbRecords &operator=(const ZbRecords &) = delete;

    // The function of `scope` (its scope bits) in the chosen form.
    ZEL_RETCODE process(uint32_t scope, bool settings, const B_KEYVALUE_T *kv,
                        const ZEL_CONFIG_OPT_KEY *key) {
        switch (scope) {
            case ZEL_OPT_SCOPE_GSV:
                return b_optionProcessGSVConfigKeyValue(&gsv, kv, key, sub);
            case ZEL_OPT_SCOPE_DB:
                return settings ? b_optionProcessDbHandleSettingKeyValue(&dbS, kv, key, sub)
                                : b_optionProcessDbHandleConfigKeyValue(&db, kv, key, sub);
            case ZEL_OPT_SCOPE_DB_GSV:
                return settings ? b_optionProcessDbGSVSettingKeyValue(&dbGsvS, kv, key, sub)
                                : b_optionProcessDbGSVConfigKeyValue(&dbGsv, kv, key, sub);
            case ZEL_OPT_SCOPE_SQL:
                return settings ? b_optionProcessSQLSettingKeyValue(&sqlS, kv, key, sub)
                                : b_optionProcessSQLConfigKeyValue(&sql, kv, key, sub);
            default:
                return eINVOPTION;
        }
    }

    // One option's value as the output writes it; the server's from its field.
    std::string value(const ZEL_CONFIG_OPT_KEY *key, bool settings) {
        char *s = nullptr;
        ZEL_RETCODE rc;
        if ((static_cast<uint32_t>(key->value) & ZEL_OPT_SCOPE_MASK) == ZEL_OPT_SCOPE_GSV) {
            const char *field =
                reinterpret_cast<const char *>(&gsv) + zel::detail::cfg_option(key)->confOffset;
            rc = b_optionBufferIntoString(key->name, field, &s, sub);
        } else if (settings) {
            rc = b_optionSettingsIntoString(key, &handle, &dbS, &dbGsvS, &sqlS, sub, &s);
        } else {
            rc = b_optionConfigurationIntoString(key, &handle, &db, &dbGsv, &sql, sub, &s);
        }
        if (rc != sOKAY || s == nullptr) return rc == sNOTFOUND ? "" : zb_kv_code(rc);
        std::string out = s;
        b_tag_subFree(sub, s);
        return out;
    }

    // The list of all options of `mask` in the chosen form.
    std::string list(uint32_t mask, bool settings) {
        handle.type = gsv.type;
        size_t need = 0;
        ZEL_RETCODE rc =
            settings
                ? b_optionGetSettingsIntoString(nullptr, mask, &handle, &sqlS, &dbS, &dbGsvS, 0,
                                                sub, nullptr, nullptr, &need)
                : b_optionGetConfigurationValuesIntoString(nullptr, mask, &handle, &sql, &db,
                                                           &dbGsv, 0, sub, nullptr, nullptr, &need);
        if (rc != sOKAY) return zb_kv_code(rc);
        std::vector<char> buf(need);
        rc = settings ? b_optionGetSettingsIntoString(nullptr, mask, &handle, &sqlS, &dbS, &dbGsvS,
                                                      need, sub, nullptr, buf.data(), &need)
                      : b_optionGetConfigurationValuesIntoString(nullptr, mask, &handle, &sql, &db,
                                                                 &dbGsv, need, sub, nullptr,
                                                                 buf.data(), &need);
        return rc == sOKAY ? buf.data() : zb_kv_code(rc);
    }
};

struct ZbScope {
    const char *name;
    uint32_t bits;
};
constexpr ZbScope kZbConfigScopes[] = {{"server", ZEL_OPT_SCOPE_GSV},
                                       {"db", ZEL_OPT_SCOPE_DB},
                                       {"dbgsv", ZEL_OPT_SCOPE_DB_GSV},
                                       {"sql", ZEL_OPT_SCOPE_SQL}};

const char *zb_config_scopeName(uint32_t bits) {
    for (const ZbScope &s : kZbConfigScopes)
        if (s.bits == bits) return s.name;
    return "reserved";
}

// Processes the string into default records (`scope` the scope bits, or -1
// for each key's own) and prints each key's code, the list of all options
// and each value, "*" off its default; the parse's or the first key's
// failure.
ZEL_RETCODE zb_config_show(FILE *out, const char *text, int scope, bool settings, B_TAG_SUB sub) {
    B_KEYVALUE_T kv;
    ZEL_RETCODE first = b_keyvalueInit(&kv, text, ZEL_FALSE, sub);
    if (first != sOKAY)
        std::fprintf(out, "parse: %s (the keys before it stand)\n", zb_kv_code(first).c_str());
    ZbRecords rec(sub), defaults(sub);
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    for (const B_AVL_NODE_T *node = b_avlFirst(&kv.avl); node != nullptr; node = b_avlNext(node)) {
        const char *name = reinterpret_cast<const B_KV *>(node)->key;
        const ZEL_CONFIG_OPT_KEY *key = nullptr;
        ZEL_RETCODE rc = b_optionGetKey(name, keys, n, &key);
        uint32_t bits = 0;
        if (rc == sOKAY) {
            bits = static_cast<uint32_t>(key->value) & ZEL_OPT_SCOPE_MASK;
            rc = rec.process(scope >= 0 ? static_cast<uint32_t>(scope) : bits, settings, &kv, key);
        }
        std::fprintf(out, "%-34s %-8s %s\n", name, key != nullptr ? zb_config_scopeName(bits) : "",
                     zb_kv_code(rc).c_str());
        if (rc < 0 && first >= 0) first = rc;
    }
    b_keyvalueTerm(&kv);
    const uint32_t mask = scope >= 0 ? static_cast<uint32_t>(scope) : 0;
    std::fprintf(out, "\n%s list: %s\n", settings ? "settings" : "configuration",
                 rec.list(mask, settings).c_str());
    for (uint32_t i = 0; i < n; ++i) {
        const uint32_t bits = static_cast<uint32_t>(keys[i].value) & ZEL_OPT_SCOPE_MASK;
        if ((mask != 0 && bits != mask) || bits == ZEL_OPT_SCOPE_RESERVED) continue;
        if (settings && bits == ZEL_OPT_SCOPE_GSV && scope < 0) continue;  // no server settings
        const bool server = bits == ZEL_OPT_SCOPE_GSV;
        const std::string now = rec.value(&keys[i], settings && !server);
        const std::string was = defaults.value(&keys[i], settings && !server);
        std::fprintf(out, "%c %s=%s%s\n", now != was ? '*' : ' ', keys[i].name, now.c_str(),
                     server && keys[i].value != ZEL_OPT_GSV_TYPE ? "   (not in the list)" : "");
    }
    return first;
}

}  // namespace

int zb_cmd_config(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"s", "scope", "s:SCOPE", "Only the options of SCOPE: server, db, dbgsv, sql"},
        {"S", "settings", nullptr, "Into the settings records (text, null when unset)"},
        {"T", nullptr, "#:STRING", "The option string, as key=value;key2=value2"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Process an option string into default records: each key's code, "
                              "then the list\nof all options with the values off their default "
                              "marked \"*\".",
                              opts);
        code != kZbGoOn)
        return code;
    int scope = -1;
    bool settings = false;
    const char *text = nullptr;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string n = name;
        if (n == "settings") settings = true;
        if (n == "T") text = arg;
        if (n != "scope") continue;
        for (const ZbScope &s : kZbConfigScopes)
            if (std::strcmp(arg, s.name) == 0) scope = static_cast<int>(s.bits);
        if (scope < 0) return zb_usageError("Unknown scope '%s'", arg);
    }
    if (settings && scope == ZEL_OPT_SCOPE_GSV)
        return zb_usageError("The server has a configuration only, no settings");
    ZbTags tags;
    if (!tags.ok()) return zb_exitCode(eNOMEMORY, argv[0]);
    const ZEL_RETCODE rc = zb_config_show(stdout, text, scope, settings, tags.sub);
    return rc < 0 ? zb_exitCode(rc, argv[0]) : 0;
}
