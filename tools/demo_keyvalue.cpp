// The "Key/value strings and options" section of `zelbase demo`: how the
// elements of a value are glued from tokens (the quirks kept on purpose),
// three typed look-ups, and the option keywords found in any letter case.
#include <cstdio>
#include <string>

#include "keyvalue.h"
#include "options.h"
#include "tag_sub.h"
#include "zelbase_cmds.h"

int zb_demo_keyvalue(FILE *out);

namespace {

// The elements of key "a" in `text`, or the parse's code.
std::string zb_demoKvElements(B_TAG_SUB sub, const char *text) {
    B_KEYVALUE_T kv;
    const ZEL_RETCODE rc = b_keyvalueInit(&kv, text, ZEL_FALSE, sub);
    std::string shown;
    uint32_t n = 0;
    char **list = nullptr;
    if (rc != sOKAY) {
        shown = zb_kv_code(rc);
    } else if (b_keyvalueGetValueList(&kv, "a", &n, sub, &list) == sOKAY) {
        for (uint32_t i = 0; i < n; ++i) {
            shown += (i > 0 ? ", \"" : "\"") + std::string(list[i]) + "\"";
            b_tag_subFree(sub, list[i]);
        }
        b_tag_subFree(sub, list);
    }
    b_keyvalueTerm(&kv);
    return shown;
}

}  // namespace

int zb_demo_keyvalue(FILE *out) {
    ZbTags tags;
    if (!tags.ok()) return 1;
    std::fprintf(out,
                 "Elements are glued from tokens without blanks; a number replaces the "
                 "text before it:\n");
    for (const char *text : {"a=x y", "a='x y'", "a=foo-bar", "a=foo-5", "a=5-3", "a=1.5",
                             "a=/tmp/x,b=c", "a=,z", "a=z,"}) {
        std::fprintf(out, "  %-14s -> %s\n", text, zb_demoKvElements(tags.sub, text).c_str());
    }
    const char *options = "Cache_Size=2K; autocommit=ON; paths=/var/db,'/tmp/x y'";
    B_KEYVALUE_T kv;
    if (b_keyvalueInit(&kv, options, ZEL_FALSE, tags.sub) != sOKAY) return 1;
    std::fprintf(out, "\nThree look-ups in: %s\n", options);
    uint32_t size = 0;
    ZEL_BOOL_T on = ZEL_FALSE;
    uint32_t n = 0;
    char **paths = nullptr;
    int rc = 1;
    if (b_keyvalueGetUIntValue(&kv, "cache_size", &size) == sOKAY &&
        b_keyvalueGetValueBoolean(&kv, "AUTOCOMMIT", &on) == sOKAY &&
        b_keyvalueGetValueList(&kv, "paths", &n, tags.sub, &paths) == sOKAY) {
        std::fprintf(out, "  uint    cache_size  -> %u (multipliers are decimal)\n", size);
        std::fprintf(out, "  boolean AUTOCOMMIT  -> %s\n", on ? "true" : "false");
        std::fprintf(out, "  list    paths       ->");
        for (uint32_t i = 0; i < n; ++i) {
            std::fprintf(out, " \"%s\"", paths[i]);
            b_tag_subFree(tags.sub, paths[i]);
        }
        b_tag_subFree(tags.sub, paths);
        std::fprintf(out, "\n");
        rc = 0;
    }
    b_keyvalueTerm(&kv);

    uint32_t count = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&count);
    std::fprintf(out, "\n%u option keywords, found in any case:\n", count);
    for (const char *word : {"TimeOut", "GSVTYPE", "time"}) {
        const ZEL_CONFIG_OPT_KEY *key = nullptr;
        const ZEL_RETCODE found = b_optionGetKey(word, keys, count, &key);
        if (found != sOKAY) {
            std::fprintf(out, "  %-8s -> %s\n", word, zb_kv_code(found).c_str());
        } else {
            std::fprintf(out, "  %-8s -> \"%s\" 0x%06X, default %s\n", word, key->name,
                         static_cast<unsigned>(key->value),
                         b_optionGetInfo(key->value)->defaultText);
        }
    }
    return rc;
}
