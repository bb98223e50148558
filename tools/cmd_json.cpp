// `zelbase json [FILE]`: the events of the pull JSON reader over a file
// (read through the file layer, as the catalogue loader reads one) or, without
// one, standard input, one a line and indented by depth; on failure the code and
// the number of the character the reader had come to.
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>

#include "error.h"
#include "file.h"
#include "input.h"
#include "json.h"
#include "lex.h"
#include "zelbase_cmds.h"

int zb_cmd_json(int argc, char **argv);

namespace {

// The shortest text that reads back as the same double.
std::string zb_json_double(double d) {
    char buf[64];
    return std::string(buf, std::to_chars(buf, buf + sizeof buf, d).ptr);
}

void zb_json_indent(FILE *out, int depth) {
    std::fprintf(out, "%*s", depth * 2, "");
}

// The rest of one value after it was read: the value itself, and for an
// array or object everything in it.
ZEL_RETCODE zb_json_inside(FILE *out, B_JSON_T *j, const B_JSON_VAL &v, int depth) {
    ZEL_RETCODE rc;
    switch (v.type) {
        case jvSTRING:
            std::fprintf(out, "string \"%s\"\n", v.v.str);
            return sOKAY;
        case jvNUMBER:
            std::fprintf(out, "number %lld\n", static_cast<long long>(v.v.num));
            return sOKAY;
        case jvDOUBLE:
            std::fprintf(out, "double %s\n", zb_json_double(v.v.dbl).c_str());
            return sOKAY;
        case jvBOOLEAN:
            std::fprintf(out, "%s\n", v.v.flag ? "true" : "false");
            return sOKAY;
        case jvNULL:
            std::fprintf(out, "null\n");
            return sOKAY;
        case jvARRAY:
            std::fprintf(out, "array [\n");
            for (;;) {
                B_JSON_VAL e;
                ZEL_CHECK(rc = b_jsonNextValue(j, nullptr, &e));
                if (e.type == jvEND) break;
                zb_json_indent(out, depth + 1);
                rc = zb_json_inside(out, j, e, depth + 1);
                if (e.type == jvSTRING) b_tag_subFree(j->subTag, e.v.str);
                ZEL_CHECK(rc);
            }
            zb_json_indent(out, depth);
            std::fprintf(out, "]\n");
            return sOKAY;
        case jvOBJECT:
            std::fprintf(out, "object {\n");
            for (;;) {
                B_JSON_PAIR p;
                ZEL_CHECK(rc = b_jsonNextPair(j, nullptr, &p));
                if (p.value.type == jvEND) break;
                zb_json_indent(out, depth + 1);
                std::fprintf(out, "\"%s\": ", p.name);
                rc = zb_json_inside(out, j, p.value, depth + 1);
                b_jsonFreePair(j, &p);
                ZEL_CHECK(rc);
            }
            zb_json_indent(out, depth);
            std::fprintf(out, "}\n");
            return sOKAY;
        default:
            return eSYNTAX;
    }
}

}  // namespace

ZEL_RETCODE zb_json_walk(FILE *out, B_JSON_T *j) {
    B_JSON_VAL v;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_jsonNextValue(j, nullptr, &v));
    rc = zb_json_inside(out, j, v, 0);
    if (v.type == jvSTRING) b_tag_subFree(j->subTag, v.v.str);
    return rc;
}

int zb_cmd_json(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"F", nullptr, "?:FILE", "The JSON file (none: standard input)"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The events of the pull JSON reader, one a line, indented by "
                              "depth; on failure\nthe code and the number of the character the "
                              "reader had come to.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *path = nullptr;
    (void)zel_cmdlineNextLongOption(&cmd, &path);  // the one positional, if any
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_FILE_T file;
    b_fileInit(&file);
    B_INPUT_T in;
    std::string text;
    if (path == nullptr || std::strcmp(path, "-") == 0) {
        if (!zb_readFile(nullptr, &text)) {
            std::fprintf(stderr, "zelbase json: cannot read standard input\n");
            return 1;
        }
        b_inputInitFromMemory(&in, text.data(), text.size(), tags.sub);
    } else {
        const ZEL_RETCODE rc = b_fileOpen(&file, path, B_FILE_FLAGS_READ);
        if (rc != sOKAY) return zb_exitCode(rc, argv[0]);
        b_inputInitFromFile(&in, &file, tags.sub);
    }
    B_JSON_T j;
    ZEL_RETCODE rc = b_jsonInit(&j, &in, tags.sub, nullptr);
    size_t at = 0;
    if (rc == sOKAY) {
        rc = zb_json_walk(stdout, &j);
        at = b_lexGetCharacterNumber(&j.lex);
        b_jsonTerm(&j);
    }
    if (b_fileIsopen(&file)) b_fileClose(&file);
    if (rc != sOKAY) {
        const char *name = nullptr;
        (void)zelErrorCodeDef(rc, nullptr, &name);
        std::printf("%s at character %zu\n", name != nullptr ? name : "?", at);
        return 1;
    }
    return 0;
}
