// `zelbase kv STRING` parses a key/value option string and prints every key in
// tree order with its elements (null, or the text with whether it was
// quoted), then what each typed getter makes of the key: its code and value.
// `--case` compares keys by byte. The exit code is 1 when the string broke
// the grammar (the pairs before the fault are printed all the same).
#include <cinttypes>
#include <cstdio>
#include <string>

#include "error.h"
#include "keyvalue.h"
#include "zelbase_cmds.h"

int zb_cmd_kv(int argc, char **argv);

std::string zb_kv_code(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return std::to_string(rc);
}

namespace {

// A text in double quotes, bytes outside printable ASCII as \xNN.
std::string zb_kv_quoted(const char *s) {
    std::string out = "\"";
    char hex[8];
    for (; *s != '\0'; ++s) {
        const auto c = static_cast<unsigned char>(*s);
        if (c < 32 || c > 126 || c == '"' || c == '\\') {
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            out += hex;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

void zb_kv_line(FILE *out, const char *getter, ZEL_RETCODE rc, const std::string &value) {
    std::fprintf(out, "    %-8s %-16s %s\n", getter, zb_kv_code(rc).c_str(),
                 rc == sOKAY || rc == sTRUNCATE ? value.c_str() : "");
}

template <class T, class Getter>
void zb_kv_number(FILE *out, const B_KEYVALUE_T *kv, const char *key, const char *name,
                  Getter get) {
    T v{};
    const ZEL_RETCODE rc = get(kv, key, &v);
    zb_kv_line(out, name, rc, std::to_string(v));
}

}  // namespace

void zb_kv_print(FILE *out, const B_KEYVALUE_T *kv, B_TAG_SUB sub) {
    for (const B_AVL_NODE_T *n = b_avlFirst(&kv->avl); n != nullptr; n = b_avlNext(n)) {
        const B_KV *p = reinterpret_cast<const B_KV *>(n);
        std::fprintf(out, "%s: %u element%s\n", zb_kv_quoted(p->key).c_str(), p->num_elems,
                     p->num_elems == 1 ? "" : "s");
        for (uint32_t i = 0; i < p->num_elems; ++i) {
            const B_KV_ELEM &e = p->elems[i];
            if (e.data == nullptr) {
                std::fprintf(out, "  [%u] null\n", i);
            } else {
                std::fprintf(out, "  [%u] %s%s\n", i, zb_kv_quoted(e.data).c_str(),
                             e.needs_quotes ? "  needs_quotes" : "");
            }
        }
        char buf[64];
        ZEL_RETCODE rc = b_keyvalueGetValue(kv, p->key, buf, sizeof buf);
        zb_kv_line(out, "value", rc, zb_kv_quoted(buf));
        char *s = nullptr;
        rc = b_keyvalueGetValueString(kv, p->key, sub, &s);
        zb_kv_line(out, "string", rc, rc == sOKAY ? zb_kv_quoted(s) : "");
        if (rc == sOKAY) b_tag_subFree(sub, s);
        ZEL_BOOL_T b = ZEL_FALSE;
        rc = b_keyvalueGetValueBoolean(kv, p->key, &b);
        zb_kv_line(out, "boolean", rc, b ? "true" : "false");
        zb_kv_number<int64_t>(out, kv, p->key, "int64", b_keyvalueGetInt64Value);
        zb_kv_number<uint64_t>(out, kv, p->key, "uint64", b_keyvalueGetUInt64Value);
        zb_kv_number<int32_t>(out, kv, p->key, "int", b_keyvalueGetIntValue);
        zb_kv_number<uint32_t>(out, kv, p->key, "uint", b_keyvalueGetUIntValue);
        zb_kv_number<int16_t>(out, kv, p->key, "int16", b_keyvalueGetInt16Value);
        zb_kv_number<uint16_t>(out, kv, p->key, "uint16", b_keyvalueGetUInt16Value);
        uint32_t count = 0;
        char **list = nullptr;
        rc = b_keyvalueGetValueList(kv, p->key, &count, sub, &list);
        std::string items;
        for (uint32_t i = 0; rc == sOKAY && i < count; ++i) {
            items += (i > 0 ? ", " : "") + zb_kv_quoted(list[i]);
            b_tag_subFree(sub, list[i]);
        }
        if (rc == sOKAY) b_tag_subFree(sub, list);
        zb_kv_line(out, "list", rc, items);
    }
}

int zb_cmd_kv(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"c", "case", nullptr, "Compare keys by byte rather than without regard to case"},
        {"S", nullptr, "#:STRING", "The option string, as key=value;key2=v1,v2"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Parse a key/value option string: every key with its elements, "
                              "then each typed\ngetter's code and value.",
                              opts);
        code != kZbGoOn)
        return code;
    bool useCase = false;
    const char *text = nullptr;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::string(name) == "case") useCase = true;
        if (std::string(name) == "S") text = arg;
    }
    ZbTags tags;
    if (!tags.ok()) return zb_exitCode(eNOMEMORY, argv[0]);
    B_KEYVALUE_T kv;
    const ZEL_RETCODE rc = b_keyvalueInit(&kv, text, useCase ? ZEL_TRUE : ZEL_FALSE, tags.sub);
    std::printf("parse: %s, %" PRIu64 " key%s\n", zb_kv_code(rc).c_str(), b_avlCount(&kv.avl),
                b_avlCount(&kv.avl) == 1 ? "" : "s");
    zb_kv_print(stdout, &kv, tags.sub);
    b_keyvalueTerm(&kv);
    return rc < 0 ? zb_exitCode(rc, argv[0]) : 0;
}
