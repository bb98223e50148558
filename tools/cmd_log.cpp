// `zelbase log [--file F] [--stderr-level L] [--file-level L] [--category C]
// [--level L] TEXT...` sends one message through a log: to standard error
// when its level passes the standard error threshold, and appended with a
// UTC stamp to F when one is given and the level passes the file threshold.
// The message has level L (default info) and category C (default all); a
// message that passes nowhere is reported as filtered.
#include <cstdio>
#include <cstring>
#include <string>

#include "log.h"
#include "zelbase_cmds.h"

int zb_cmd_log(int argc, char **argv);

int zb_cmd_log(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"f", "file", "s:F", "Append the message, with a UTC stamp, to the file F"},
        {"", "stderr-level", "s:L", "The threshold of standard error (default: info)"},
        {"", "file-level", "s:L", "The threshold of the file (default: all)"},
        {"c", "category", "s:C", "The message's category: none, ddl or all (the default)"},
        {"l", "level", "s:L", "The message's level (default: info)"},
        {"T", nullptr, "*:TEXT", "The message; several words make one text"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Sends one message through a log: to standard error when its "
                              "level passes the\nstandard error threshold, and to the file when "
                              "one is given and the level\npasses the file threshold. Levels: "
                              "error, warning, info, mesg, all.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *file = nullptr;
    const char *stderrLevel = "info";
    const char *fileLevel = "all";
    const char *category = "all";
    const char *level = "info";
    std::string text;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        if (opt == "file") {
            file = arg;
        } else if (opt == "stderr-level") {
            stderrLevel = arg;
        } else if (opt == "file-level") {
            fileLevel = arg;
        } else if (opt == "category") {
            category = arg;
        } else if (opt == "level") {
            level = arg;
        } else {
            if (!text.empty()) text += ' ';
            text += arg;
        }
    }
    if (text.empty())
        return zb_usageError("Missing argument 'TEXT' ('--help' for more information)");
    B_LOG_LEVEL se, fl, msg;
    B_LOG_CATEGORY cat;
    if (b_logGetLevel(stderrLevel, &se) != sOKAY || b_logGetLevel(fileLevel, &fl) != sOKAY ||
        b_logGetLevel(level, &msg) != sOKAY ||
        b_logGetCategoryFromString(category, &cat) != sOKAY) {
        return zb_usageError("Unknown level or category ('--help' for more information)");
    }
    B_LOG_T log;
    const ZEL_RETCODE rc = b_logInit(&log, se, fl, file, ZEL_FALSE);
    if (rc != sOKAY) return zb_exitCode(rc, argv[0]);
    const int32_t written = b_logMessage(&log, msg, cat, "%s", text.c_str());
    const ZEL_RETCODE flushed = b_logFlush(&log);
    b_logTerm(&log);
    if (written == 0) std::printf("filtered: level %s, category %s\n", level, category);
    return zb_exitCode(flushed, argv[0]);
}
