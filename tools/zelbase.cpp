// zelbase - the command-line tool of the zelbase library. `zelbase demo` walks
// through what the library can do; the other subcommands expose single
// facilities (return codes, UUIDs, base64, decimals, dates) for scripts and
// for people poking at stored data.
#include <cstdio>
#include <cstring>
#include <string>

#include "zelbase_cmds.h"

namespace {

struct DemoSection {
    const char *title;
    zb_demo_fcn fcn;
};

constexpr DemoSection kDemoSections[] = {
    {"Memory tags", zb_demo_tags},
    {"Stack tags and pools", zb_demo_stack},
    {"Return codes and error objects", zb_demo_error},
    {"Text: UUID, base64 and UTF-8", zb_demo_text},
    {"Lists, arrays, hash, primes and random numbers", zb_demo_containers},
    {"Exact decimals", zb_demo_bcd},
    {"Decimal functions and the numeric record", zb_demo_bcd_func},
    {"Dates, times and zones", zb_demo_datetime},
    {"Typed values", zb_demo_value},
    {"Variable integers and the stream encoder", zb_demo_varint},
    {"Conversions", zb_demo_convert},
    {"Text parsers of the conversions", zb_demo_convert_text},
    {"Type descriptors and stored bytes", zb_demo_types},
    {"A catalogue of two related tables", zb_demo_schema},
    {"The JSON catalogue", zb_demo_schema_load},
    {"Files, streams and the log", zb_demo_file},
    {"Paths and the document root", zb_demo_path},
    {"Rows and index nodes as stored", zb_demo_row},
    {"Buckets, chunks, item zero and R-tree nodes as stored", zb_demo_bucket},
    {"Stored objects, plain and with LZMA", zb_demo_dbobj},
    {"Connection strings", zb_demo_uri},
    {"Queue and thread pool", zb_demo_queue},
    {"Lexer and JSON reader", zb_demo_lex},
    {"Parser driver", zb_demo_yyparse},
    {"Command line", zb_demo_cmdline},
    {"Key/value strings and options", zb_demo_keyvalue},
    {"Configurations and settings", zb_demo_config},
    {"Ordered index and block cache", zb_demo_btree},
    {"Versioned cache", zb_demo_vcache},
    {"Maps of 64-bit keys", zb_demo_map},
    {"Spatial index", zb_demo_rtree},
    {"External sort", zb_demo_sort},
    {"Spilling B-tree and item lists", zb_demo_cbtree},
    {"LZ compression and embedded files", zb_demo_lz},
    {"The road of a row, from text to store and back", zb_demo_road},
};

int zb_cmd_demo(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {{nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv, "Walk through what the library can do.", opts);
        code != kZbGoOn)
        return code;
    int failures = 0;
    for (const DemoSection &s : kDemoSections) {
        std::printf("== %s ==\n", s.title);
        if (s.fcn(stdout) != 0) {
            std::printf("!! %s failed\n", s.title);
            ++failures;
        }
        std::printf("\n");
    }
    return failures == 0 ? 0 : 1;
}

struct Command {
    const char *name;
    const char *args;
    const char *help;
    zb_cmd_fcn fcn;
};

constexpr Command kCommands[] = {
    {"demo", "", "walk through what the library can do", zb_cmd_demo},
    {"error", "CODE|NAME | --list [GROUP]", "name, code, group, SQLSTATE and message of a code",
     zb_cmd_error},
    {"uuid", "[--braces]", "print a new UUID", zb_cmd_uuid},
    {"base64", "encode|decode", "base64 from standard input to standard output", zb_cmd_base64},
    {"date", "[--format=F] [--zone=+HH:MM] [TEXT]",
     "today, or a date, time or timestamp with its day number, weekday and week", zb_cmd_date},
    {"decimal", "A OP B | FN X | pi | numeric ...",
     "exact decimal arithmetic and functions, status, packed and numeric bytes", zb_cmd_decimal},
    {"varint", "encode N... | decode HEX...", "the stored forms of variable integers",
     zb_cmd_varint},
    {"convert", "--to TYPE [--from TYPE] [--bytes] VALUE", "convert a value between types",
     zb_cmd_convert},
    {"types", "[TYPE TEXT...]", "every type with its names, size and alignment; stored bytes",
     zb_cmd_types},
    {"row", "encode|decode --table T ...", "a row of the sample catalogue as stored, annotated",
     zb_cmd_row},
    {"node", "decode --key|--ref|--blob T.X",
     "an index, join or blob node of the sample catalogue as stored", zb_cmd_node},
    {"lzma", "compress|decompress|trace FILE", "the LZMA coder of stored objects over a file",
     zb_cmd_lzma},
    {"lz", "compress|decompress|trace [--limit N] [FILE]",
     "the LZ coder over a file; trace: the codes with their widths", zb_cmd_lz},
    {"embed", "hash FILE... | verify FILE HASH | extract STREAM NAME [--namespace NS] [--hash H]",
     "the file embedder: a file's hash, a check against one, an LZ stream unpacked to a file",
     zb_cmd_embed},
    {"dbobj", "wrap [--lzma] [--expanded] [--min N] [--raw] FILE | unwrap FILE",
     "wrap a file's bytes as a stored object, or unwrap one", zb_cmd_dbobj},
    {"file", "info|cat PATH", "how a text file reads: mode, byte order mark, lines in hex; or cat",
     zb_cmd_file},
    {"log", "[--file F] [--*-level L] [--category C] TEXT",
     "send a message through a log to standard error and a stamped file", zb_cmd_log},
    {"path", "split|full|match|scan|tmpname ...",
     "split, complete and match paths; scan a directory; temporary names", zb_cmd_path},
    {"docroot", "lock DIR [--marker M] [--hold S]", "lock a document root and hold it",
     zb_cmd_docroot},
    {"uri", "URI... | --compare A B", "parse connection strings; compare two", zb_cmd_uri},
    {"bucket", "decode --key T.K [--expanded] HEX",
     "a bucket of a hash key of the sample catalogue as stored", zb_cmd_bucket},
    {"chunk", "decode [--expanded] HEX", "a chunk of a large object as stored", zb_cmd_chunk},
    {"iz", "decode [--expanded] HEX", "a drawer's item zero as stored", zb_cmd_iz},
    {"rtree",
     "decode --key T.K [--expanded] HEX | [--dim D] [--random N] [--seed S] [--window BOX] "
     "[--knn P,K] [--dump]",
     "an R-tree node of a spatial key of the sample catalogue as stored; or a random R-tree "
     "level by level, windows and nearest neighbours against brute force",
     zb_cmd_rtree_any},
    {"threads", "[--threads N] [--jobs M] [--work-us U] [--close-early]",
     "run jobs on a thread pool: jobs per worker, wall time, results", zb_cmd_threads},
    {"lex", "[--other] [--dq-ident] [--keyvalue] [TEXT]",
     "the tokens of a text; --reserved WORD... looks up reserved words", zb_cmd_lex},
    {"json", "[FILE]", "the events of the pull JSON reader; the code and place of a failure",
     zb_cmd_json},
    {"parse", "calc|parens TEXT", "run the parser driver: shifts, reductions and states",
     zb_cmd_parse},
    {"catalog", "FILE [--json] [--narrow]",
     "load a JSON catalogue and print what was built, or write it back canonical", zb_cmd_catalog},
    {"cmdline", "ARGS...", "parse ARGS against a sample table with every kind of row",
     zb_cmd_cmdline},
    {"btree", "[--slots N] [--seed S] [--add N] [--delete M]",
     "a random B-tree level by level, with the checker's verdict", zb_cmd_btree},
    {"vcache", "[--max N] [SCRIPT|-]",
     "a script on a versioned cache: entries, savepoints, commit order", zb_cmd_vcache},
    {"map", "[--kind mapb|uintmap] [--array-size N] KEY[=VALUE]...",
     "where keys land in a block map or an array map", zb_cmd_map},
    {"sort", "--field TYPE[:LEN][:desc]... [--max-pages N] [--stats] [FILE]",
     "sort |-separated lines with the external sort; geometry, page traffic, memory", zb_cmd_sort},
    {"kv", "[--case] STRING", "a key/value option string: keys, elements, every typed getter",
     zb_cmd_kv},
    {"road", "[--rows N] [--catalog FILE] [--table T] [--seed S] [--narrow] [--print N]",
     "the road of generated rows from text to store and back: time and bytes of each stage",
     zb_cmd_road},
    {"options", "[--scope S] [--words]",
     "the option keywords: scope, serial, class, kind, default, bounds; word tables",
     zb_cmd_options},
    {"config", "[--scope S] [--settings] 'k=v;...'",
     "process an option string into the records of a scope: codes, and the options written back",
     zb_cmd_config},
    {"cbtree", "[--slots N] [--cache M] [--count K] [--dump]",
     "a cached B-tree spilling to its node file: loads, writes, the file annotated", zb_cmd_cbtree},
};

// What the tool is, and its commands, for its usage.
std::string zb_description() {
    std::string d =
        "The command-line tool of the zelbase library; `zelbase COMMAND --help` tells\n"
        "a command's options.\n\nCommands:";
    for (const Command &c : kCommands)
        d += std::string("\n  ") + c.name + (c.args[0] != '\0' ? " " : "") + c.args + "\n      " +
             c.help;
    return d;
}

// Runs a command on its part of the line, argv[0] becoming "zelbase NAME".
int zb_run(const Command &c, int argc, char **argv) {
    std::string name = std::string("zelbase ") + c.name;
    argv[0] = name.data();
    return c.fcn(argc, argv);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc >= 2) {
        for (const Command &c : kCommands)
            if (std::strcmp(argv[1], c.name) == 0) return zb_run(c, argc - 1, argv + 1);
    }
    // No command first: the tool's own line, for the usage, the version and
    // the errors.
    static char tool[] = "zelbase";
    argv[0] = tool;
    const ZEL_CMDLINE_OPT opts[] = {{"C", nullptr, "#:COMMAND", nullptr},
                                    {"A", nullptr, "*:ARGS", nullptr},
                                    {nullptr, nullptr, nullptr, nullptr}};
    const ZEL_CMD_DEFAULTS defaults{1, 1};  // -q and --version; no key, no document root
    const std::string description = zb_description();
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv, description.c_str(), opts, &defaults);
        code != kZbGoOn)
        return code;
    // A command after the shared options, or a name that is none.
    const char *command = nullptr;
    (void)zel_cmdlineNextLongOption(&cmd, &command);
    for (const Command &c : kCommands) {
        if (std::strcmp(command, c.name) == 0) return zb_run(c, argc - int(cmd.ii), argv + cmd.ii);
    }
    return zb_usageError("Unknown command '%s' ('--help' for more information)", command);
}
