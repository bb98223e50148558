// zelbase - the command-line tool of the zelbase library. `zelbase demo` walks
// through what the library can do; the other subcommands expose single
// facilities (return codes, UUIDs, base64, decimals, dates) for scripts and
// for people poking at stored data.
#include <cstdio>
#include <cstring>

#include "zelbase_cmds.h"

#ifndef ZELBASE_VERSION
#define ZELBASE_VERSION "0.0.0"
#endif

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
    {"Files, streams and the log", zb_demo_file},
    {"Paths and the document root", zb_demo_path},
    {"Rows and index nodes as stored", zb_demo_row},
    {"Buckets, chunks, item zero and R-tree nodes as stored", zb_demo_bucket},
    {"Stored objects, plain and with LZMA", zb_demo_dbobj},
    {"Connection strings", zb_demo_uri},
    {"Queue and thread pool", zb_demo_queue},
    {"Parser driver", zb_demo_yyparse},
};

int zb_cmd_demo(int, char **) {
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
    {"rtree", "decode --key T.K [--expanded] HEX",
     "an R-tree node of a spatial key of the sample catalogue as stored", zb_cmd_rtree},
    {"threads", "[--threads N] [--jobs M] [--work-us U] [--close-early]",
     "run jobs on a thread pool: jobs per worker, wall time, results", zb_cmd_threads},
    {"parse", "calc|parens TEXT", "run the parser driver: shifts, reductions and states",
     zb_cmd_parse},
};

void zb_usage(FILE *out) {
    std::fprintf(out, "usage: zelbase COMMAND [ARGS]\n       zelbase --help | --version\n\n");
    std::fprintf(out, "commands:\n");
    for (const Command &c : kCommands) {
        char left[64];
        std::snprintf(left, sizeof left, "%s %s", c.name, c.args);
        std::fprintf(out, "  %-34s %s\n", left, c.help);
    }
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0 ||
        std::strcmp(argv[1], "help") == 0) {
        zb_usage(stdout);
        return argc < 2 ? 2 : 0;
    }
    if (std::strcmp(argv[1], "--version") == 0) {
        std::printf("zelbase %s\n", ZELBASE_VERSION);
        return 0;
    }
    for (const Command &c : kCommands) {
        if (std::strcmp(argv[1], c.name) == 0) return c.fcn(argc - 2, argv + 2);
    }
    std::fprintf(stderr, "zelbase: unknown command \"%s\"\n\n", argv[1]);
    zb_usage(stderr);
    return 2;
}
