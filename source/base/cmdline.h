/*
 * cmdline.h - the command-line processor of the engine's tools. A tool gives
 * a table of its options and positional arguments (zelcmdlinetypes.h); init
 * checks the whole line in one pass, printing the usage, the version or an
 * error in a fixed layout and handling the shared options (-h/--help, and
 * with defaults -q/--quiet, --version, --key, --docroot); the tool then walks
 * the line item by item with zel_cmdlineNextShortOption or
 * zel_cmdlineNextLongOption, the shared options left out.
 *
 * Standard output and standard error are written through B_FILE_T and
 * flushed before init returns; a tool that printed through stdio flushes it
 * first. Nothing is allocated. One thread at a time per record.
 */
#ifndef CMDLINE_H
#define CMDLINE_H

#include <stdint.h>

#include "zelcmdlinetypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* zel_cmdlineInitEx with no banner, no defaults and no status. */
ZEL_NODISCARD ZEL_RETCODE zel_cmdlineInit(ZEL_CMDLINE *cmd, int32_t argc, char **argv,
                                          const char *description, const ZEL_CMDLINE_OPT *opts);

/* Checks the line against `opts` and readies `cmd` for the walk. `argv` and
 * the texts must outlive the walk; `status` (may be null) is cleared, then
 * gets what the shared options found. Returns:
 *   sOKAY          the line is valid; the banner, if any, was printed
 *   sCMD_USAGE     -h/--help: the usage was printed
 *   sCMD_VERSION   --version: the version report was printed
 *   eBASE_COMMAND  a user error, reported as "error: ..." on standard error
 *   eINVNULLARG    a null cmd or opts, or a null argv with argc above 0
 *   the code of opening or flushing standard output or standard error.
 * A tool stops at once on anything but sOKAY; sCMD_USAGE and sCMD_VERSION
 * are no failures. */
ZEL_NODISCARD ZEL_RETCODE zel_cmdlineInitEx(ZEL_CMDLINE *cmd, const char *banner, int32_t argc,
                                            char **argv, const char *description,
                                            const ZEL_CMDLINE_OPT *opts,
                                            const ZEL_CMD_DEFAULTS *defaults,
                                            ZEL_CMDLINE_STATUS *status);

/* The next item after a successful init: the first character of its row's
 * optShort, its argument (an argv element or the text after "="; null for an
 * option without one) in *pArg (may be null). 0 at the end, and 0 as well
 * for a row with no short form (the walk goes on after it at the next call):
 * a table with such rows is walked with zel_cmdlineNextLongOption. *pArg is
 * written only when an item is found. */
char zel_cmdlineNextShortOption(ZEL_CMDLINE *cmd, const char **pArg);

/* The same, giving the row's optLong if it has one, else its optShort; null
 * at the end. */
const char *zel_cmdlineNextLongOption(ZEL_CMDLINE *cmd, const char **pArg);

ZEL_EXTERN_C_END

#endif /* CMDLINE_H */
