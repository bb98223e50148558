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

namespace {

int zb_log_usage() {
    std::fprintf(stderr,
                 "usage: zelbase log [--file F] [--stderr-level L] [--file-level L]\n"
                 "                   [--category C] [--level L] TEXT...\n"
                 "  levels: error, warning, info, mesg, all; categories: none, ddl, all\n"
                 "  defaults: standard error info, file all, message info in all categories\n");
    return 2;
}

}  // namespace

int zb_cmd_log(int argc, char **argv) {
    const char *file = nullptr;
    const char *stderrLevel = "info";
    const char *fileLevel = "all";
    const char *category = "all";
    const char *level = "info";
    std::string text;
    for (int i = 0; i < argc; ++i) {
        const char **opt = nullptr;
        if (std::strcmp(argv[i], "--file") == 0) opt = &file;
        if (std::strcmp(argv[i], "--stderr-level") == 0) opt = &stderrLevel;
        if (std::strcmp(argv[i], "--file-level") == 0) opt = &fileLevel;
        if (std::strcmp(argv[i], "--category") == 0) opt = &category;
        if (std::strcmp(argv[i], "--level") == 0) opt = &level;
        if (opt != nullptr) {
            if (++i == argc) return zb_log_usage();
            *opt = argv[i];
            continue;
        }
        if (!text.empty()) text += ' ';
        text += argv[i];
    }
    if (text.empty()) return zb_log_usage();
    B_LOG_LEVEL se, fl, msg;
    B_LOG_CATEGORY cat;
    if (b_logGetLevel(stderrLevel, &se) != sOKAY || b_logGetLevel(fileLevel, &fl) != sOKAY ||
        b_logGetLevel(level, &msg) != sOKAY ||
        b_logGetCategoryFromString(category, &cat) != sOKAY) {
        std::fprintf(stderr, "zelbase log: unknown level or category\n");
        return zb_log_usage();
    }
    B_LOG_T log;
    const ZEL_RETCODE rc = b_logInit(&log, se, fl, file, ZEL_FALSE);
    if (rc != sOKAY) {
        b_logFinalToolMessage(rc, "zelbase log");
        return 1;
    }
    const int32_t written = b_logMessage(&log, msg, cat, "%s", text.c_str());
    const ZEL_RETCODE flushed = b_logFlush(&log);
    b_logTerm(&log);
    if (written == 0) std::printf("filtered: level %s, category %s\n", level, category);
    if (flushed != sOKAY) {
        b_logFinalToolMessage(flushed, "zelbase log");
        return 1;
    }
    return 0;
}
