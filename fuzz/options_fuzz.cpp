// Options over any bytes: the input as a key/value string, every one of the
// 62 keywords through all seven processing functions (and the database in
// the server's option string) on default records, where a function answers
// eINVOPTION exactly for a key of another scope; then the lists of all
// options in both forms, and the input as a list of keywords; the records
// copied (the copy lists as the original does), cleaned and freed. Every
// input gives all memory back.
#include <cstdint>
#include <cstring>
#include <string>

#include "config.h"
#include "config_output.h"
#include "config_process.h"
#include "fuzz_tags.h"
#include "options.h"

namespace {

struct Records {
    ZEL_GSV_CONFIGURATION gsv{};
    ZEL_DB_CONFIGURATION db{};
    ZEL_DB_GSV_CONFIGURATION dbGsv{};
    ZEL_SQL_OPTIONS sql{};
    ZEL_DB_SETTINGS dbS{};
    ZEL_DB_GSV_SETTINGS dbGsvS{};
    ZEL_SQL_SETTINGS sqlS{};
    ZEL_GSV handle{{nullptr, nullptr}, GSV_TYPE_CLIENT};

    void release(B_TAG_SUB sub) {
        b_optionCleanGSVConfig(&gsv, sub);
        b_optionCleanDbHandleConfig(&db, sub);
        b_optionFreeDbHandleSettings(&dbS, sub);
        b_optionFreeDbGSVSettings(&dbGsvS, sub);
        b_optionFreeSQLSettings(&sqlS, sub);
    }
};

// Both lists of all options; the code of the configuration's.
std::string lists(const Records &r, const char *keywords, B_TAG_SUB sub) {
    static char buf[1 << 16];
    size_t n = 0;
    const ZEL_RETCODE rc = b_optionGetConfigurationValuesIntoString(
        keywords, 0, &r.handle, &r.sql, &r.db, &r.dbGsv, sizeof buf, sub, nullptr, buf, &n);
    check(rc >= 0 || keywords != nullptr);
    check(rc != sOKAY || n == std::strlen(buf) + 1);
    std::string out = rc == sOKAY ? buf : std::to_string(rc);
    const ZEL_RETCODE rs = b_optionGetSettingsIntoString(
        keywords, 0, &r.handle, &r.sqlS, &r.dbS, &r.dbGsvS, sizeof buf, sub, nullptr, buf, &n);
    check(rs >= 0 || keywords != nullptr);
    return out + "\n" + (rs == sOKAY ? buf : std::to_string(rs));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    B_TAG_SUB sub = fuzzTag();
    const int64_t before = fuzzUsed(sub);
    const std::string text(reinterpret_cast<const char *>(data), size);

    B_KEYVALUE_T kv;
    const ZEL_RETCODE parsed = b_keyvalueInit(&kv, text.c_str(), ZEL_FALSE, sub);
    check(parsed == sOKAY || parsed == eINVKEYVALUE);
    Records r;
    check(b_optionInitializeGSV(&r.gsv) == sOKAY);
    check(b_optionInitializeDbHandle(&r.db, nullptr, sub) == sOKAY);
    check(b_optionInitializeDbGSV(&r.dbGsv) == sOKAY);
    check(b_configInitializeSQL(&r.sql, &r.sqlS, sub) == sOKAY);

    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    for (uint32_t i = 0; i < n; ++i) {
        const ZEL_CONFIG_OPT_KEY *k = &keys[i];
        const uint32_t scope = static_cast<uint32_t>(k->value) & ZEL_OPT_SCOPE_MASK;
        auto mine = [&](ZEL_RETCODE rc, uint32_t of) {
            check((rc == eINVOPTION) == (scope != of));
        };
        mine(b_optionProcessGSVConfigKeyValue(&r.gsv, &kv, k, sub), ZEL_OPT_SCOPE_GSV);
        mine(b_optionProcessDbHandleConfigKeyValue(&r.db, &kv, k, sub), ZEL_OPT_SCOPE_DB);
        mine(b_optionProcessDbHandleSettingKeyValue(&r.dbS, &kv, k, sub), ZEL_OPT_SCOPE_DB);
        mine(b_optionProcessDbGSVConfigKeyValue(&r.dbGsv, &kv, k, sub), ZEL_OPT_SCOPE_DB_GSV);
        mine(b_optionProcessDbGSVSettingKeyValue(&r.dbGsvS, &kv, k, sub), ZEL_OPT_SCOPE_DB_GSV);
        mine(b_optionProcessSQLConfigKeyValue(&r.sql, &kv, k, sub), ZEL_OPT_SCOPE_SQL);
        mine(b_optionProcessSQLSettingKeyValue(&r.sqlS, &kv, k, sub), ZEL_OPT_SCOPE_SQL);
        char *s = nullptr;
        if (b_optionGetDbGsvConfigOptString(&kv, k, sub, &s) == sOKAY) {
            check(std::strncmp(s, k->name, std::strlen(k->name)) == 0);
            b_tag_subFree(sub, s);
        }
    }
    b_keyvalueTerm(&kv);

    const std::string all = lists(r, nullptr, sub);
    (void)lists(r, text.c_str(), sub);

    Records c;
    check(b_optionCopyGSVConfig(&c.gsv, &r.gsv, sub) == sOKAY);
    check(b_optionCopyDbHandleConfig(&c.db, &r.db, sub) == sOKAY);
    check(b_optionCopyDbGSVConfig(&c.dbGsv, &r.dbGsv, sub) == sOKAY);
    check(b_optionCopySQLConfig(&c.sql, &r.sql, sub) == sOKAY);
    check(b_optionCopyDbHandleSettings(&c.dbS, &r.dbS, sub) == sOKAY);
    check(b_optionClearAndCopyDbGSVSettings(&c.dbGsvS, &r.dbGsvS, sub) == sOKAY);
    check(b_optionCopySQLSettings(&c.sqlS, &r.sqlS, sub) == sOKAY);
    check(lists(c, nullptr, sub) == all);
    c.release(sub);
    r.release(sub);
    check(fuzzUsed(sub) == before);
    return 0;
}
