// config_internal.h - what the parts of the configuration code share: one row
// per option keyword, telling where the option lives in its configuration and
// its settings, how the key/value processing reads it and which setter checks
// and stores it. C++ only.
#ifndef CONFIG_INTERNAL_H
#define CONFIG_INTERNAL_H

#include <cstdint>

#include "config.h"

namespace zel::detail {

// The scope of an option: its scope bits shifted down.
enum CfgScope : uint8_t {
    kCfgReserved = 0,
    kCfgServer = 1,
    kCfgDb = 2,
    kCfgDbGsv = 3,
    kCfgSql = 4
};

constexpr CfgScope cfg_scope(ZEL_OPTS opt) {
    return static_cast<CfgScope>((static_cast<uint32_t>(opt) & ZEL_OPT_SCOPE_MASK) >> 20);
}

// How the processing reads a value out of a key/value map.
enum CfgRead : uint8_t {
    kCfgBool,    // b_keyvalueGetValueBoolean
    kCfgInt16,   // b_keyvalueGetInt16Value
    kCfgInt32,   // b_keyvalueGetIntValue
    kCfgUInt32,  // b_keyvalueGetUIntValue
    kCfgUInt64,  // b_keyvalueGetUInt64Value
    kCfgWord,    // the text, which the setter reads (and copies where it keeps it)
    kCfgLog,     // as kCfgWord, but an empty value reaches the setter as null
    kCfgOwned    // a new text, which the configuration takes
};

// A value on its way to a setter; the member used follows the CfgRead.
struct CfgValue {
    int64_t i = 0;               // kCfgBool and the signed numbers
    uint64_t u = 0;              // the unsigned numbers
    const char *text = nullptr;  // kCfgWord, kCfgLog
    char *owned = nullptr;       // kCfgOwned
};

// The option's setter: checks the value and, with a configuration, stores
// it; a null configuration only checks (an owned text is then not taken).
using CfgSet = ZEL_RETCODE (*)(void *config, const CfgValue &value, B_TAG_SUB subTag);

struct CfgOption {
    ZEL_OPTS opt;
    CfgRead read;
    int16_t confOffset;  // the field in the scope's configuration
    int16_t setOffset;   // the text in the scope's settings; -1: the server has none
    CfgSet set;
};

// The row of an option keyword; null for a reserved keyword or a key that is
// none of the table's.
const CfgOption *cfg_option(const ZEL_CONFIG_OPT_KEY *key);
// The same by the keyword's place in the table.
const CfgOption *cfg_optionAt(uint32_t index);

// The text of a settings field.
inline char **cfg_settingsText(void *settings, const CfgOption &o) {
    return reinterpret_cast<char **>(static_cast<char *>(settings) + o.setOffset);
}
inline const char *cfg_settingsText(const void *settings, const CfgOption &o) {
    return *reinterpret_cast<char *const *>(static_cast<const char *>(settings) + o.setOffset);
}

}  // namespace zel::detail

#endif
