// zelbase_cmds.h - the subcommands and demo sections of the zelbase tool.
// Each module that the tool shows off adds a `zb_demo_<module>` section (run
// in order by `zelbase demo`) and, where it has one, a `zb_cmd_<name>`
// subcommand; both are listed in the tables of zelbase.cpp.
#ifndef ZELBASE_CMDS_H
#define ZELBASE_CMDS_H

#include <cstdio>
#include <string>

#include "tag_master_psp.h"
#include "tag_sub.h"
#include "value_types.h"

// A master tag on platform memory with one sub tag, for a subcommand or demo
// section; both are destroyed with it, after everything allocated was freed.
struct ZbTags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    ZbTags() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) master = nullptr;
        if (master != nullptr && b_tag_subCreate(master, &sub) != sOKAY) sub = nullptr;
    }
    ~ZbTags() {
        if (sub != nullptr) b_tag_subDestroy(sub);
        if (master != nullptr) b_tag_masterDestroy(master);
    }
    ZbTags(const ZbTags &) = delete;
    ZbTags &operator=(const ZbTags &) = delete;
    bool ok() const { return sub != nullptr; }
};

// A demo section prints to `out` and returns 0, or non-zero on a failure.
using zb_demo_fcn = int (*)(FILE *out);
// A subcommand gets the arguments after its name and returns the exit code.
using zb_cmd_fcn = int (*)(int argc, char **argv);

int zb_demo_tags(FILE *out);
int zb_demo_stack(FILE *out);
int zb_demo_error(FILE *out);
int zb_demo_text(FILE *out);
int zb_demo_containers(FILE *out);
int zb_demo_datetime(FILE *out);
int zb_demo_value(FILE *out);
int zb_demo_bcd(FILE *out);
int zb_demo_varint(FILE *out);
int zb_demo_convert(FILE *out);
int zb_demo_convert_text(FILE *out);
int zb_demo_types(FILE *out);
int zb_demo_schema(FILE *out);
int zb_demo_file(FILE *out);
int zb_demo_path(FILE *out);
int zb_demo_uri(FILE *out);
int zb_demo_lex(FILE *out);

int zb_cmd_error(int argc, char **argv);
int zb_cmd_uuid(int argc, char **argv);
int zb_cmd_base64(int argc, char **argv);
int zb_cmd_date(int argc, char **argv);
int zb_cmd_decimal(int argc, char **argv);
int zb_cmd_varint(int argc, char **argv);
int zb_cmd_convert(int argc, char **argv);
int zb_cmd_types(int argc, char **argv);
int zb_cmd_file(int argc, char **argv);
int zb_cmd_log(int argc, char **argv);
int zb_cmd_path(int argc, char **argv);
int zb_cmd_docroot(int argc, char **argv);
int zb_cmd_uri(int argc, char **argv);
int zb_cmd_lex(int argc, char **argv);
int zb_cmd_json(int argc, char **argv);

// The stored bytes of `v` as hex pairs, packed through its type descriptor in a
// column just wide enough for `text` (the value's text form); 0 or a code.
int zb_types_value_hex(const ZEL_VALUE *v, const char *text, std::string *hex);

// One transport entry of a parsed connection string, every field, on one line.
std::string zb_uri_entry(const struct TX_CONN_INFO_S *e);

// One token on one line: line:column, type, value, tokbuf, and "reserved"
// for a reserved identifier.
std::string zb_lex_token(const struct B_LEX_S *lex, const struct B_TOKEN_S &t);

// The pull walk of one JSON value, its events one a line indented by depth;
// the reader's code.
ZEL_RETCODE zb_json_walk(FILE *out, struct B_JSON_S *j);

#endif
