// The "Configurations and settings" section of `zelbase demo`: one option
// string processed into the configurations (typed values) and into the
// settings (the user's texts) of every scope, both written back as option
// strings, and the database initialiser's kept oddity with the
// bytes_per_utf8_char setting.
#include <cstdio>
#include <string>

#include "config.h"
#include "config_output.h"
#include "config_process.h"
#include "options.h"
#include "zelbase_cmds.h"

int zb_demo_config(FILE *out);

namespace {

constexpr const char *kZbDemoOptions =
    "cache_size=2K; dateformat=dd/mm/yyyy; durability=Unsafe; pack_file_size=10485761; "
    "autocommit=on; wildall=*; time_zone=900; gsvtype=server";

// The code of `key` through the function of its scope in either form.
ZEL_RETCODE zb_demoConfigProcess(const B_KEYVALUE_T *kv, const ZEL_CONFIG_OPT_KEY *key,
                                 bool settings, ZEL_DB_CONFIGURATION *db, ZEL_DB_SETTINGS *dbS,
                                 ZEL_DB_GSV_CONFIGURATION *dbGsv, ZEL_DB_GSV_SETTINGS *dbGsvS,
                                 ZEL_SQL_OPTIONS *sql, ZEL_SQL_SETTINGS *sqlS,
                                 ZEL_GSV_CONFIGURATION *gsv, B_TAG_SUB sub) {
    switch (static_cast<uint32_t>(key->value) & ZEL_OPT_SCOPE_MASK) {
        case ZEL_OPT_SCOPE_DB:
            return settings ? b_optionProcessDbHandleSettingKeyValue(dbS, kv, key, sub)
                            : b_optionProcessDbHandleConfigKeyValue(db, kv, key, sub);
        case ZEL_OPT_SCOPE_DB_GSV:
            return settings ? b_optionProcessDbGSVSettingKeyValue(dbGsvS, kv, key, sub)
                            : b_optionProcessDbGSVConfigKeyValue(dbGsv, kv, key, sub);
        case ZEL_OPT_SCOPE_SQL:
            return settings ? b_optionProcessSQLSettingKeyValue(sqlS, kv, key, sub)
                            : b_optionProcessSQLConfigKeyValue(sql, kv, key, sub);
        case ZEL_OPT_SCOPE_GSV:
            return settings ? eINVOPTION : b_optionProcessGSVConfigKeyValue(gsv, kv, key, sub);
        default:
            return eINVOPTION;
    }
}

}  // namespace

int zb_demo_config(FILE *out) {
    ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    ZEL_GSV_CONFIGURATION gsv;
    ZEL_DB_CONFIGURATION db;
    ZEL_DB_GSV_CONFIGURATION dbGsv;
    ZEL_SQL_OPTIONS sql{};
    ZEL_DB_SETTINGS dbS{};
    ZEL_DB_GSV_SETTINGS dbGsvS{};
    ZEL_SQL_SETTINGS sqlS{};
    if (b_optionInitializeGSV(&gsv) != sOKAY ||
        b_optionInitializeDbHandle(&db, nullptr, sub) != sOKAY ||
        b_optionInitializeDbGSV(&dbGsv) != sOKAY ||
        b_configInitializeSQL(&sql, &sqlS, sub) != sOKAY)
        return 1;
    B_KEYVALUE_T kv;
    if (b_keyvalueInit(&kv, kZbDemoOptions, ZEL_FALSE, sub) != sOKAY) return 1;
    std::fprintf(out, "The string: %s\n\n  %-16s %-16s %s\n", kZbDemoOptions, "key",
                 "configuration", "settings");
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    for (const B_AVL_NODE_T *node = b_avlFirst(&kv.avl); node != nullptr; node = b_avlNext(node)) {
        const char *name = reinterpret_cast<const B_KV *>(node)->key;
        const ZEL_CONFIG_OPT_KEY *key = nullptr;
        if (b_optionGetKey(name, keys, n, &key) != sOKAY) return 1;
        const ZEL_RETCODE c = zb_demoConfigProcess(&kv, key, false, &db, &dbS, &dbGsv, &dbGsvS,
                                                   &sql, &sqlS, &gsv, sub);
        const ZEL_RETCODE s = zb_demoConfigProcess(&kv, key, true, &db, &dbS, &dbGsv, &dbGsvS, &sql,
                                                   &sqlS, &gsv, sub);
        std::fprintf(out, "  %-16s %-16s %s\n", name, zb_kv_code(c).c_str(),
                     (static_cast<uint32_t>(key->value) & ZEL_OPT_SCOPE_MASK) == ZEL_OPT_SCOPE_GSV
                         ? "(the server has no settings)"
                         : zb_kv_code(s).c_str());
    }
    b_keyvalueTerm(&kv);

    // Written back: the configuration with every option, the settings with
    // what was set (the user's text, "2K"); the server's type from its handle.
    const ZEL_GSV handle = {{nullptr, sub}, gsv.type};
    char buf[2048];
    size_t need = 0;
    const char *keywords =
        "gsvtype cache_size time_zone dateformat autocommit wildall durability pack_file_size";
    int rc = 0;
    if (b_optionGetConfigurationValuesIntoString(keywords, ZEL_OPT_SCOPE_SQL, &handle, &sql, &db,
                                                 &dbGsv, sizeof buf, sub, nullptr, buf,
                                                 &need) != sOKAY)
        rc = 1;
    std::fprintf(out,
                 "\nWritten back, the configuration of those keys (SQL, database, database in "
                 "the server,\nserver):\n  %s\n",
                 buf);
    for (uint32_t mask : {ZEL_OPT_SCOPE_DB, ZEL_OPT_SCOPE_DB_GSV, ZEL_OPT_SCOPE_GSV}) {
        if (b_optionGetConfigurationValuesIntoString(keywords, mask, &handle, &sql, &db, &dbGsv,
                                                     sizeof buf, sub, nullptr, buf, &need) != sOKAY)
            rc = 1;
        std::fprintf(out, "  %s\n", buf);
    }
    std::fprintf(out,
                 "(kept: pack_file_size is held as a sixteenth, 10485761 reads back "
                 "10485760)\n");
    std::fprintf(out, "\nWritten back, the settings of every scope (unset ones empty):\n");
    for (uint32_t mask : {ZEL_OPT_SCOPE_SQL, ZEL_OPT_SCOPE_DB, ZEL_OPT_SCOPE_DB_GSV}) {
        if (b_optionGetSettingsIntoString(nullptr, mask, &handle, &sqlS, &dbS, &dbGsvS, sizeof buf,
                                          sub, nullptr, buf, &need) != sOKAY)
            rc = 1;
        std::fprintf(out, "  %s\n", buf);
    }

    // Kept: the initialiser hands this setting to the compression method.
    std::fprintf(out,
                 "\nKept: b_optionInitializeDbHandle applies the bytes_per_utf8_char setting "
                 "through\nb_configSetObjCompressMethod:\n");
    for (const char *setting : {"NONE", "LZMA", "2"}) {
        ZEL_DB_SETTINGS one{};
        one.bytes_per_utf8_char = const_cast<char *>(setting);
        ZEL_DB_CONFIGURATION c;
        const ZEL_RETCODE r = b_optionInitializeDbHandle(&c, &one, sub);
        std::fprintf(out, "  bytes_per_utf8_char=\"%s\" -> %-16s", setting, zb_kv_code(r).c_str());
        if (r == sOKAY)
            std::fprintf(out, "obj_compress_method=%s, bytes_per_utf8_char=%u",
                         b_optionGetObjCompressMethodString(c.obj_compress_method),
                         c.bytes_per_utf8_char);
        std::fprintf(out, "\n");
        b_optionCleanDbHandleConfig(&c, sub);
    }
    b_optionCleanGSVConfig(&gsv, sub);
    b_optionCleanDbHandleConfig(&db, sub);
    b_optionFreeDbHandleSettings(&dbS, sub);
    b_optionFreeDbGSVSettings(&dbGsvS, sub);
    b_optionFreeSQLSettings(&sqlS, sub);
    return rc;
}
