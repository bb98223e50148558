// The command line of the zelbase subcommands: each one's table goes through
// the library's processor, and its results become exit codes here, so that
// every subcommand answers --help, reports errors and exits alike.
#include <cstdarg>
#include <cstdio>

#include "log.h"
#include "zelbase_cmds.h"

int zb_cmdline(ZEL_CMDLINE *cmd, int argc, char **argv, const char *description,
               const ZEL_CMDLINE_OPT *opts, const ZEL_CMD_DEFAULTS *defaults) {
    // The processor writes the descriptors themselves: what stdio holds goes first.
    std::fflush(stdout);
    std::fflush(stderr);
    const ZEL_RETCODE rc =
        zel_cmdlineInitEx(cmd, nullptr, argc, argv, description, opts, defaults, nullptr);
    return rc == sOKAY ? kZbGoOn : zb_exitCode(rc, argv[0]);
}

int zb_exitCode(ZEL_RETCODE rc, const char *tool, B_LOG_T *log) {
    if (rc >= 0) return 0;
    if (rc == eBASE_COMMAND) return kZbExitUsage;
    if (log != nullptr) (void)b_logFlush(log);
    std::fflush(stdout);
    std::fflush(stderr);
    b_logFinalToolMessage(rc, tool);
    return 1;
}

int zb_usageError(const char *format, ...) {
    std::fflush(stdout);
    std::fputs("error: ", stderr);
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
    std::fflush(stderr);
    return kZbExitUsage;
}

bool zb_readFile(const char *path, std::string *data) {
    FILE *in = path == nullptr ? stdin : std::fopen(path, "rb");
    if (in == nullptr) return false;
    char chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, in)) > 0) data->append(chunk, n);
    const bool ok = std::ferror(in) == 0;
    if (in != stdin) std::fclose(in);
    return ok;
}
