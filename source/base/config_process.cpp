/*
 * config_process.cpp - one option of a key/value map into a record.
 *
 * Every option goes the same way, by its row of the keyword table
 * (config_internal.h): read with the getter of its type, map the code, hand
 * the value to the option's own setter, which checks and stores (or, with a
 * null record, only checks). A settings record then takes the user's text
 * rather than the value. A key without a value takes the option's default
 * from the option catalogue, so each default stands in one place for the
 * processing. Short texts are read into a local buffer: a configuration
 * takes no memory for a number or a word.
 */
#include "config_process.h"

#include <cinttypes>
#include <cstring>

#include "config_internal.h"
#include "format.h"
#include "options.h"
#include "psp.h"
#include "tag_sub.h"

using namespace zel::detail;

namespace {

// A text of the map: in the local buffer when it fits (every word and
// number does), else a copy from the sub tag, freed with the reader.
class CfgTextValue {
  public:
    explicit CfgTextValue(B_TAG_SUB subTag) : subTag_(subTag) {}
    ~CfgTextValue() {
        if (heap_ != nullptr) b_tag_subFree(subTag_, heap_);
    }
    CfgTextValue(const CfgTextValue &) = delete;
    CfgTextValue &operator=(const CfgTextValue &) = delete;

    ZEL_RETCODE read(const B_KEYVALUE_T *kv, const char *key) {
        const ZEL_RETCODE rc = b_keyvalueGetValue(kv, key, buf_, sizeof buf_);
        if (rc != sTRUNCATE) return rc;
        return b_keyvalueGetValueString(kv, key, subTag_, &heap_);
    }
    const char *text() const { return heap_ != nullptr ? heap_ : buf_; }

  private:
    char buf_[128];
    char *heap_ = nullptr;
    B_TAG_SUB subTag_;
};

// The option's value out of the map, by the getter of its type.
ZEL_RETCODE cfg_read(const CfgOption &o, const B_KEYVALUE_T *kv, const char *name,
                     CfgTextValue &text, B_TAG_SUB subTag, CfgValue *v) {
    ZEL_RETCODE rc = eINVOPTION;
    switch (o.read) {
        case kCfgBool: {
            ZEL_BOOL_T b = ZEL_FALSE;
            rc = b_keyvalueGetValueBoolean(kv, name, &b);
            v->i = b;
            break;
        }
        case kCfgInt16: {
            int16_t n = 0;
            rc = b_keyvalueGetInt16Value(kv, name, &n);
            v->i = n;
            break;
        }
        case kCfgInt32: {
            int32_t n = 0;
            rc = b_keyvalueGetIntValue(kv, name, &n);
            v->i = n;
            break;
        }
        case kCfgUInt32: {
            uint32_t n = 0;
            rc = b_keyvalueGetUIntValue(kv, name, &n);
            v->u = n;
            break;
        }
        case kCfgUInt64:
            rc = b_keyvalueGetUInt64Value(kv, name, &v->u);
            break;
        case kCfgWord:
        case kCfgLog:
            rc = text.read(kv, name);
            v->text = text.text();
            break;
        case kCfgOwned:
            rc = b_keyvalueGetValueString(kv, name, subTag, &v->owned);
            break;
    }
    return rc;
}

// The option's default, as the option catalogue states it.
ZEL_RETCODE cfg_default(const CfgOption &o, CfgValue *v) {
    const char *text = b_optionGetInfo(o.opt)->defaultText;
    switch (o.read) {
        case kCfgBool: {
            ZEL_BOOL_T b = ZEL_FALSE;
            const ZEL_RETCODE rc = b_keyvalueGetBooleanFromString(text, &b);
            v->i = b;
            return rc;
        }
        case kCfgInt16:
        case kCfgInt32:
            return psp_stratoi64(text, &v->i);
        case kCfgUInt32:
        case kCfgUInt64:
            return psp_stratoui64(text, &v->u);
        case kCfgWord:
        case kCfgLog:
            v->text = text;
            return sOKAY;
        case kCfgOwned:
            v->owned = nullptr;
            return sOKAY;
    }
    return eINVOPTION;
}

ZEL_RETCODE cfg_map(ZEL_RETCODE rc, const CfgOption &o, bool settings) {
    if (rc == eVALUEISLIST && o.opt == ZEL_OPT_DATEFMT) return eINVDATEFMT;
    if (rc == eVALUEISLIST || rc == eRANGE || (settings && rc == eINVSTRING))
        return eINVOPTIONVALUE;
    return rc;
}

// The row of `key` when it is an option of `scope`.
ZEL_RETCODE cfg_find(const void *rec, const B_KEYVALUE_T *kv, const ZEL_CONFIG_OPT_KEY *key,
                     CfgScope scope, const CfgOption **o) {
    if (rec == nullptr || kv == nullptr || key == nullptr) return eINVNULLARG;
    if (cfg_scope(key->value) != scope) return eINVOPTION;  // the common answer, at once
    *o = cfg_option(key);
    return *o != nullptr ? sOKAY : eINVOPTION;
}

ZEL_RETCODE cfg_processConfig(void *config, CfgScope scope, const B_KEYVALUE_T *kv,
                              const ZEL_CONFIG_OPT_KEY *key, B_TAG_SUB subTag) {
    const CfgOption *o = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cfg_find(config, kv, key, scope, &o));
    CfgTextValue text(subTag);
    CfgValue v;
    rc = cfg_read(*o, kv, key->name, text, subTag, &v);
    if (rc == sKVNOVALUE) {
        if (o->read == kCfgLog) {
            v.text = nullptr;  // kept: the log's parser answers for an empty value
            rc = sOKAY;
        } else {
            rc = cfg_default(*o, &v);
        }
    }
    if (rc != sOKAY) return cfg_map(rc, *o, false);
    rc = o->set(config, v, subTag);
    if (rc < 0 && o->read == kCfgOwned) b_tag_subFreeCanBeNull(subTag, v.owned);  // not taken
    return cfg_map(rc, *o, false);
}

ZEL_RETCODE cfg_processSettings(void *settings, CfgScope scope, const B_KEYVALUE_T *kv,
                                const ZEL_CONFIG_OPT_KEY *key, B_TAG_SUB subTag) {
    const CfgOption *o = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cfg_find(settings, kv, key, scope, &o));
    char **field = cfg_settingsText(settings, *o);
    CfgTextValue text(subTag);
    CfgValue v;
    rc = cfg_read(*o, kv, key->name, text, subTag, &v);
    if (rc == sKVNOVALUE) {
        b_tag_subFreeCanBeNull(subTag, *field);
        *field = nullptr;
        return sOKAY;
    }
    if (rc != sOKAY) return cfg_map(rc, *o, true);
    rc = o->set(nullptr, v, subTag);  // the check alone
    // The text as the user wrote it: read again for a number, copied from
    // the reader for a word; the owned kind has it already.
    if (rc >= 0 && (o->read == kCfgWord || o->read == kCfgLog)) {
        rc = b_tag_subCopyString(subTag, v.text, &v.owned);
    } else if (rc >= 0 && o->read != kCfgOwned) {
        rc = b_keyvalueGetValueString(kv, key->name, subTag, &v.owned);
    }
    if (rc < 0) {
        if (o->read == kCfgOwned) b_tag_subFreeCanBeNull(subTag, v.owned);
        return cfg_map(rc, *o, true);
    }
    b_tag_subFreeCanBeNull(subTag, *field);
    *field = v.owned;
    return sOKAY;
}

}  // namespace

ZEL_RETCODE b_optionProcessGSVConfigKeyValue(ZEL_GSV_CONFIGURATION *config, const B_KEYVALUE_T *kv,
                                             const ZEL_CONFIG_OPT_KEY *key, B_TAG_SUB subTag) {
    return cfg_processConfig(config, kCfgServer, kv, key, subTag);
}

ZEL_RETCODE b_optionProcessDbHandleConfigKeyValue(ZEL_DB_CONFIGURATION *config,
                                                  const B_KEYVALUE_T *kv,
                                                  const ZEL_CONFIG_OPT_KEY *key, B_TAG_SUB subTag) {
    return cfg_processConfig(config, kCfgDb, kv, key, subTag);
}

ZEL_RETCODE b_optionProcessDbHandleSettingKeyValue(ZEL_DB_SETTINGS *settings,
                                                   const B_KEYVALUE_T *kv,
                                                   const ZEL_CONFIG_OPT_KEY *key,
                                                   B_TAG_SUB subTag) {
    return cfg_processSettings(settings, kCfgDb, kv, key, subTag);
}

ZEL_RETCODE b_optionProcessDbGSVConfigKeyValue(ZEL_DB_GSV_CONFIGURATION *config,
                                               const B_KEYVALUE_T *kv,
                                               const ZEL_CONFIG_OPT_KEY *key, B_TAG_SUB subTag) {
    return cfg_processConfig(config, kCfgDbGsv, kv, key, subTag);
}

ZEL_RETCODE b_optionProcessDbGSVSettingKeyValue(ZEL_DB_GSV_SETTINGS *settings,
                                                const B_KEYVALUE_T *kv,
                                                const ZEL_CONFIG_OPT_KEY *key, B_TAG_SUB subTag) {
    return cfg_processSettings(settings, kCfgDbGsv, kv, key, subTag);
}

ZEL_RETCODE b_optionProcessSQLConfigKeyValue(ZEL_SQL_OPTIONS *config, const B_KEYVALUE_T *kv,
                                             const ZEL_CONFIG_OPT_KEY *key, B_TAG_SUB subTag) {
    return cfg_processConfig(config, kCfgSql, kv, key, subTag);
}

ZEL_RETCODE b_optionProcessSQLSettingKeyValue(ZEL_SQL_SETTINGS *settings, const B_KEYVALUE_T *kv,
                                              const ZEL_CONFIG_OPT_KEY *key, B_TAG_SUB subTag) {
    return cfg_processSettings(settings, kCfgSql, kv, key, subTag);
}

ZEL_RETCODE b_optionGetDbGsvConfigOptString(const B_KEYVALUE_T *kv, const ZEL_CONFIG_OPT_KEY *key,
                                            B_TAG_SUB subTag, char **optString) {
    if (kv == nullptr || key == nullptr || subTag == nullptr || optString == nullptr)
        return eINVNULLARG;
    const CfgOption *o = cfg_option(key);
    if (o == nullptr || (cfg_scope(o->opt) != kCfgDbGsv && o->opt != ZEL_OPT_OBJ_COMPRESS_METHOD))
        return eINVOPTION;
    CfgTextValue text(subTag);
    CfgValue v;
    ZEL_RETCODE rc = cfg_read(*o, kv, key->name, text, subTag, &v);
    if (rc != sOKAY) return cfg_map(rc, *o, false);
    ZEL_CHECK(rc = cfg_map(o->set(nullptr, v, subTag), *o, false));
    const char *name = key->name;
    switch (o->read) {
        case kCfgWord:
            return b_makeStr(subTag, optString, "%s=%s", name, v.text);
        case kCfgBool:
            return b_makeStr(subTag, optString, "%s=%d", name, v.i != 0 ? 1 : 0);
        case kCfgInt32:
            return b_makeStr(subTag, optString, "%s=%d", name, static_cast<int>(v.i));
        case kCfgUInt32:
            return b_makeStr(subTag, optString, "%s=%u", name, static_cast<unsigned>(v.u));
        case kCfgUInt64:
            return b_makeStr(subTag, optString, "%s=%" PRIu64, name, v.u);
        default:
            break;
    }
    return eINVOPTION;
}
