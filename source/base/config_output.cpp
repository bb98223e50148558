/*
 * config_output.cpp - configurations and settings back to text.
 *
 * An option's value is found by its row of the keyword table
 * (config_internal.h): its field in the configuration of its scope, rendered
 * by the option catalogue into a small buffer, or its text in the settings.
 * A string of many options is written straight into the caller's buffer,
 * item by item, with no string of its own per option; once an item does not
 * fit, the rest is only counted, so that one call both fills what it can and
 * tells the size the whole string needs.
 */
#include "config_output.h"

#include <cstring>

#include "config_internal.h"
#include "lex.h"
#include "options.h"
#include "options_internal.h"
#include "tag_sub.h"

using namespace zel::detail;

namespace {

// The records of one form, by CfgScope; the server's handle apart.
struct CfgRecords {
    const ZEL_GSV *gsv;
    const void *rec[5];
};

// The value text of an option in the configurations: sOKAY with out->text
// null for a server option (not read here) but "gsvtype"; sNOTFOUND without
// the record.
ZEL_RETCODE cfg_configValue(const ZEL_CONFIG_OPT_KEY *key, const CfgOption *o, const CfgRecords &r,
                            B_TAG_SUB subTag, OptText *out) {
    if (o == nullptr) return eINVOPTION;
    out->text = nullptr;
    out->len = 0;
    const CfgScope scope = cfg_scope(o->opt);
    if (scope == kCfgServer) {
        if (o->opt != ZEL_OPT_GSV_TYPE) return sOKAY;
        if (r.gsv == nullptr) return sNOTFOUND;
        return opt_valueText(key, &r.gsv->type, subTag, out);
    }
    const void *rec = r.rec[scope];
    if (rec == nullptr) return sNOTFOUND;
    return opt_valueText(key, static_cast<const char *>(rec) + o->confOffset, subTag, out);
}

// The same in the settings: the text itself, sNOTFOUND when it is null.
ZEL_RETCODE cfg_settingValue(const ZEL_CONFIG_OPT_KEY *, const CfgOption *o, const CfgRecords &r,
                             B_TAG_SUB, OptText *out) {
    if (o == nullptr) return eINVOPTION;
    out->text = nullptr;
    out->len = 0;
    const CfgScope scope = cfg_scope(o->opt);
    if (scope == kCfgServer) return sOKAY;
    const void *rec = r.rec[scope];
    if (rec == nullptr) return sNOTFOUND;
    const char *text = cfg_settingsText(rec, *o);
    if (text == nullptr) return sNOTFOUND;
    out->text = text;
    out->len = std::strlen(text);
    return sOKAY;
}

// The value of a keyword, by its row (null: eINVOPTION).
using CfgValueFcn = ZEL_RETCODE (*)(const ZEL_CONFIG_OPT_KEY *, const CfgOption *,
                                    const CfgRecords &, B_TAG_SUB, OptText *);

// Items into the caller's buffer while they fit, ";" between them; every
// item counted.
class CfgWriter {
  public:
    CfgWriter(char *out, size_t size) : out_(size > 0 ? out : nullptr), size_(size) {
        if (out_ != nullptr) out_[0] = '\0';
    }
    void add(const char *name, const char *text, size_t len) {
        const size_t nameLen = name != nullptr ? std::strlen(name) : 0;
        const size_t item = (count_ > 0 ? 1 : 0) + (name != nullptr ? nameLen + 1 : 0) + len;
        ++count_;
        need_ += item;
        if (out_ == nullptr || full_) return;
        if (used_ + item + 1 > size_) {
            full_ = true;
            return;
        }
        char *p = out_ + used_;
        if (count_ > 1) *p++ = ';';
        if (name != nullptr) {
            std::memcpy(p, name, nameLen);
            p += nameLen;
            *p++ = '=';
        }
        std::memcpy(p, text, len);
        p[len] = '\0';
        used_ += item;
    }
    ZEL_RETCODE finish(size_t *bytesOut) const {
        *bytesOut = need_ + 1;
        return full_ ? sTRUNCATE : sOKAY;
    }
    void clear() {
        if (out_ != nullptr) out_[0] = '\0';
    }

  private:
    char *out_;
    size_t size_;
    size_t used_ = 0;  // bytes in the buffer, without the terminator
    size_t need_ = 0;  // bytes of the whole string, without the terminator
    size_t count_ = 0;
    bool full_ = false;
};

bool cfg_masked(const ZEL_CONFIG_OPT_KEY *key, uint32_t mask) {
    return mask != 0 && (static_cast<uint32_t>(key->value) & ZEL_OPT_SCOPE_MASK) != mask;
}

ZEL_RETCODE cfg_walkAll(CfgWriter &w, bool settings, uint32_t mask, const CfgRecords &r,
                        B_TAG_SUB subTag, CfgValueFcn value) {
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    for (uint32_t i = 0; i < n; ++i) {
        const ZEL_CONFIG_OPT_KEY *key = &keys[i];
        const CfgOption *o = cfg_optionAt(i);
        if (cfg_masked(key, mask) || o == nullptr) continue;  // reserved: no record
        OptText t;
        const ZEL_RETCODE rc = value(key, o, r, subTag, &t);
        if (rc == sNOTFOUND) {
            if (settings) w.add(key->name, "", 0);  // unset: written empty
            continue;
        }
        if (rc != sOKAY) return rc;
        if (t.text != nullptr) w.add(key->name, t.text, t.len);
    }
    return sOKAY;
}

ZEL_RETCODE cfg_walkNamed(CfgWriter &w, bool settings, const char *keywords, uint32_t mask,
                          const CfgRecords &r, B_TAG_SUB subTag, B_TAG_STACK stackTag,
                          CfgValueFcn value) {
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    const bool names = settings || mask != 0;
    B_LEX_T lex;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_lexInit(&lex, "parseKeywords", ZEL_FALSE, ZEL_FALSE, subTag));
    rc = b_lexStart(&lex, keywords, nullptr, 0, stackTag);
    while (rc == sOKAY) {
        B_TOKEN tok{};
        const B_TOKTYPE type = b_lexGet(&lex, &tok);
        if (type == tokEOS) break;
        if (type == tokSEMI) continue;
        const ZEL_CONFIG_OPT_KEY *key = nullptr;
        if (type == tokIDENTIFIER) {
            rc = b_optionGetKey(tok.v.id, keys, n, &key);
        } else {
            rc = lex.nomem != ZEL_FALSE ? eNOMEMORY : eSYNTAX;
        }
        b_lexTokenFree(&lex, &tok);
        if (rc != sOKAY || cfg_masked(key, mask)) continue;
        OptText t;
        rc = value(key, cfg_option(key), r, subTag, &t);
        if (rc == sOKAY && t.text != nullptr) w.add(names ? key->name : nullptr, t.text, t.len);
    }
    b_lexTerm(&lex);
    return rc;
}

ZEL_RETCODE cfg_walk(bool settings, const char *keywords, uint32_t mask, const CfgRecords &r,
                     size_t bytesIn, B_TAG_SUB subTag, B_TAG_STACK stackTag, char *optString,
                     size_t *bytesOut) {
    if (subTag == nullptr || bytesOut == nullptr) return eINVNULLARG;
    const CfgValueFcn value = settings ? cfg_settingValue : cfg_configValue;
    CfgWriter w(optString, bytesIn);
    const ZEL_RETCODE rc = keywords == nullptr ? cfg_walkAll(w, settings, mask, r, subTag, value)
                                               : cfg_walkNamed(w, settings, keywords, mask, r,
                                                               subTag, stackTag, value);
    if (rc != sOKAY) {
        w.clear();
        return rc;
    }
    return w.finish(bytesOut);
}

// One value alone into the buffer; `unsetIsEmpty`: sNOTFOUND gives "".
ZEL_RETCODE cfg_one(const char *keyword, const CfgRecords &r, bool unsetIsEmpty, size_t bytesIn,
                    B_TAG_SUB subTag, char *optString, size_t *bytesOut, CfgValueFcn value) {
    if (keyword == nullptr || subTag == nullptr || bytesOut == nullptr) return eINVNULLARG;
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    const ZEL_CONFIG_OPT_KEY *key = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_optionGetKey(keyword, keys, n, &key));
    OptText t;
    rc = value(key, cfg_option(key), r, subTag, &t);
    if (rc == sNOTFOUND && unsetIsEmpty) rc = sOKAY;
    if (rc != sOKAY) return rc;
    CfgWriter w(optString, bytesIn);
    w.add(nullptr, t.text != nullptr ? t.text : "", t.len);
    return w.finish(bytesOut);
}

// The value as a new string; null for none.
ZEL_RETCODE cfg_newString(const ZEL_CONFIG_OPT_KEY *okp, const CfgRecords &r, B_TAG_SUB subTag,
                          char **strValue, CfgValueFcn value) {
    if (okp == nullptr || subTag == nullptr || strValue == nullptr) return eINVNULLARG;
    OptText t;
    ZEL_RETCODE rc = value(okp, cfg_option(okp), r, subTag, &t);
    if (rc != sOKAY) return rc;
    if (t.text == nullptr) {
        *strValue = nullptr;
        return sOKAY;
    }
    void *p = nullptr;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, t.len + 1, &p));
    std::memcpy(p, t.text, t.len);
    static_cast<char *>(p)[t.len] = '\0';
    *strValue = static_cast<char *>(p);
    return sOKAY;
}

CfgRecords cfg_records(const ZEL_GSV *gsv, const void *db, const void *dbGsv, const void *sql) {
    CfgRecords r{gsv, {}};
    r.rec[kCfgDb] = db;
    r.rec[kCfgDbGsv] = dbGsv;
    r.rec[kCfgSql] = sql;
    return r;
}

}  // namespace

ZEL_RETCODE b_optionConfigurationIntoString(const ZEL_CONFIG_OPT_KEY *okp, const ZEL_GSV *gsv,
                                            const ZEL_DB_CONFIGURATION *dbValues,
                                            const ZEL_DB_GSV_CONFIGURATION *dbGSVValues,
                                            const ZEL_SQL_OPTIONS *sqlValues, B_TAG_SUB subTag,
                                            char **strValue) {
    return cfg_newString(okp, cfg_records(gsv, dbValues, dbGSVValues, sqlValues), subTag, strValue,
                         cfg_configValue);
}

ZEL_RETCODE b_optionSettingsIntoString(const ZEL_CONFIG_OPT_KEY *okp, const ZEL_GSV *gsv,
                                       const ZEL_DB_SETTINGS *dbValues,
                                       const ZEL_DB_GSV_SETTINGS *dbGSVValues,
                                       const ZEL_SQL_SETTINGS *sqlValues, B_TAG_SUB subTag,
                                       char **strValue) {
    return cfg_newString(okp, cfg_records(gsv, dbValues, dbGSVValues, sqlValues), subTag, strValue,
                         cfg_settingValue);
}

ZEL_RETCODE b_optionAppendToString(const char *optName, const char *str, char *optString,
                                   size_t bytesIn, size_t *bytesOut) {
    if (str == nullptr) return eINVNULLARG;
    const size_t item = (optName != nullptr ? std::strlen(optName) + 1 : 0) + std::strlen(str);
    if (optString == nullptr || bytesIn == 0) {
        if (bytesOut == nullptr) return eINVNULLARG;
        *bytesOut += item + 1;  // the terminator, or the separator of a later item
        return sOKAY;
    }
    const size_t have = strnlen(optString, bytesIn);
    const size_t total = have + (have > 0 ? 1 : 0) + item;
    if (bytesOut != nullptr) *bytesOut = total + 1;  // also when it does not fit
    if (total + 1 > bytesIn) return sTRUNCATE;
    char *p = optString + have;
    if (have > 0) *p++ = ';';
    if (optName != nullptr) {
        const size_t n = std::strlen(optName);
        std::memcpy(p, optName, n);
        p += n;
        *p++ = '=';
    }
    std::memcpy(p, str, std::strlen(str) + 1);
    return sOKAY;
}

ZEL_RETCODE b_optionGetConfigurationValuesIntoString(
    const char *keywords, uint32_t optionmask, const ZEL_GSV *gsv, const ZEL_SQL_OPTIONS *sqlValues,
    const ZEL_DB_CONFIGURATION *dbValues, const ZEL_DB_GSV_CONFIGURATION *dbGSVValues,
    size_t bytesIn, B_TAG_SUB subTag, B_TAG_STACK stackTag, char *optString, size_t *bytesOut) {
    return cfg_walk(false, keywords, optionmask, cfg_records(gsv, dbValues, dbGSVValues, sqlValues),
                    bytesIn, subTag, stackTag, optString, bytesOut);
}

ZEL_RETCODE b_optionGetSettingsIntoString(const char *keywords, uint32_t optionmask,
                                          const ZEL_GSV *gsv, const ZEL_SQL_SETTINGS *sqlValues,
                                          const ZEL_DB_SETTINGS *dbValues,
                                          const ZEL_DB_GSV_SETTINGS *dbGSVValues, size_t bytesIn,
                                          B_TAG_SUB subTag, B_TAG_STACK stackTag, char *optString,
                                          size_t *bytesOut) {
    return cfg_walk(true, keywords, optionmask, cfg_records(gsv, dbValues, dbGSVValues, sqlValues),
                    bytesIn, subTag, stackTag, optString, bytesOut);
}

ZEL_RETCODE b_optionGetConfigurationValueIntoString(const char *keyword, const ZEL_GSV *gsv,
                                                    const ZEL_SQL_OPTIONS *sqlValues,
                                                    const ZEL_DB_CONFIGURATION *dbValues,
                                                    const ZEL_DB_GSV_CONFIGURATION *dbGSVValues,
                                                    size_t bytesIn, B_TAG_SUB subTag,
                                                    char *optString, size_t *bytesOut) {
    return cfg_one(keyword, cfg_records(gsv, dbValues, dbGSVValues, sqlValues), false, bytesIn,
                   subTag, optString, bytesOut, cfg_configValue);
}

ZEL_RETCODE b_optionGetSettingIntoString(const char *keyword, const ZEL_GSV *gsv,
                                         const ZEL_SQL_SETTINGS *sqlValues,
                                         const ZEL_DB_SETTINGS *dbValues,
                                         const ZEL_DB_GSV_SETTINGS *dbGSVValues, size_t bytesIn,
                                         B_TAG_SUB subTag, char *optString, size_t *bytesOut) {
    return cfg_one(keyword, cfg_records(gsv, dbValues, dbGSVValues, sqlValues), true, bytesIn,
                   subTag, optString, bytesOut, cfg_settingValue);
}
