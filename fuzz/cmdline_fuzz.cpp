// The command-line processor on arbitrary lines. The first byte picks the
// shared options (none, all, or some), a status or none, a banner or none;
// the rest, split at NUL bytes, is argv after the tool's name. Init may
// answer only sOKAY, sCMD_USAGE, sCMD_VERSION or eBASE_COMMAND (standard
// output and error go to /dev/null: the target adds -close_fd_mask=3). After
// sOKAY the walk must hand out arguments in argv order and end; and a line
// rebuilt from the walk (every option written out with its value as a
// separate element) must be valid and walk the same.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "cmdline.h"
#include "fuzz_tags.h"

namespace {

// Every kind of row, with a long-only row and a short-only one.
const ZEL_CMDLINE_OPT kTable[] = {
    {"a", "all", nullptr, "All"},     {"b", nullptr, nullptr, "Bare"},
    {"n", "count", "i:N", "Count"},   {"s", "sep", "s:S", "Separator"},
    {"c", "char", "c:C", "Char"},     {"", "verbose", nullptr, "Verbose"},
    {"", "level", "i:L", "Level"},    {"x", nullptr, "s:X", "Short only"},
    {"f", nullptr, "#:FILE", "File"}, {"o", nullptr, "?:OUT", "Out"},
    {"m", nullptr, "*:MORE", "More"}, {nullptr, nullptr, nullptr, nullptr},
};

const ZEL_CMD_DEFAULTS kDefaults[] = {{0, 0}, {1, 1}, {0, 1}};

struct Item {
    const ZEL_CMDLINE_OPT *row;
    const char *arg;
};

const ZEL_CMDLINE_OPT *fuzz_row(const char *name) {
    for (const ZEL_CMDLINE_OPT *o = kTable; o->optShort != nullptr; ++o) {
        if ((o->optLong != nullptr && std::strcmp(o->optLong, name) == 0) ||
            (o->optLong == nullptr && std::strcmp(o->optShort, name) == 0))
            return o;
    }
    return nullptr;
}

std::vector<Item> fuzz_walk(ZEL_CMDLINE *cmd, size_t limit) {
    std::vector<Item> items;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(cmd, &arg)) != nullptr;) {
        const ZEL_CMDLINE_OPT *row = fuzz_row(name);
        check(row != nullptr);
        check((row->arg == nullptr) == (arg == nullptr));
        items.push_back(Item{row, arg});
        check(items.size() <= limit);
    }
    return items;
}

ZEL_RETCODE fuzz_init(ZEL_CMDLINE *cmd, std::vector<char *> &argv, uint8_t mode) {
    const ZEL_CMD_DEFAULTS *defaults = (mode & 3) == 3 ? nullptr : &kDefaults[mode & 3];
    ZEL_CMDLINE_STATUS status;
    return zel_cmdlineInitEx(cmd, (mode & 8) != 0 ? "banner\n" : nullptr,
                             static_cast<int32_t>(argv.size()), argv.data(), "Fuzzed.", kTable,
                             defaults, (mode & 4) != 0 ? &status : nullptr);
}

}  // namespace

// Standard output and error to /dev/null, unless the caller chose otherwise.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    static std::vector<char *> args;
    static char mask[] = "-close_fd_mask=3";
    args.assign(*argv, *argv + *argc);
    for (char *a : args)
        if (std::strncmp(a, "-close_fd_mask=", 15) == 0) return 0;
    args.insert(args.begin() + 1, mask);
    args.push_back(nullptr);
    *argc = static_cast<int>(args.size() - 1);
    *argv = args.data();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    const uint8_t mode = data[0];
    std::vector<std::string> words = {"fuzz"};
    std::string cur;
    for (size_t i = 1; i < size; ++i) {
        if (data[i] == 0) {
            words.push_back(cur);
            cur.clear();
        } else {
            cur.push_back(static_cast<char>(data[i]));
        }
    }
    if (size > 1) words.push_back(cur);
    std::vector<char *> argv;
    for (std::string &w : words) argv.push_back(w.data());

    ZEL_CMDLINE cmd;
    const ZEL_RETCODE rc = fuzz_init(&cmd, argv, mode);
    check(rc == sOKAY || rc == sCMD_USAGE || rc == sCMD_VERSION || rc == eBASE_COMMAND);
    if (rc != sOKAY) return 0;

    // Each item's argument lies in argv, after the previous one.
    const std::vector<Item> walk = fuzz_walk(&cmd, size + 1);
    size_t last_elem = 0, last_off = 0;
    for (const Item &it : walk) {
        if (it.arg == nullptr) continue;
        size_t e = 1;
        while (e < argv.size() && !(it.arg >= argv[e] && it.arg <= argv[e] + words[e].size())) ++e;
        check(e < argv.size());
        const size_t off = size_t(it.arg - argv[e]);
        check(e > last_elem || (e == last_elem && off > last_off));
        last_elem = e;
        last_off = off;
    }

    // The line rebuilt from the walk walks the same.
    std::vector<std::string> again = {"fuzz"};
    bool longForm = (mode & 16) != 0;
    for (const Item &it : walk) {
        const char kind = it.row->arg != nullptr ? it.row->arg[0] : '\0';
        if (kind == '#' || kind == '?' || kind == '*') {
            again.push_back(it.arg);
            continue;
        }
        if (it.row->optLong != nullptr && (longForm || it.row->optShort[0] == '\0'))
            again.push_back(std::string("--") + it.row->optLong);
        else
            again.push_back(std::string("-") + it.row->optShort[0]);
        if (it.arg != nullptr) again.push_back(it.arg);
        longForm = !longForm;
    }
    std::vector<char *> argv2;
    for (std::string &w : again) argv2.push_back(w.data());
    ZEL_CMDLINE cmd2;
    check(fuzz_init(&cmd2, argv2, mode) == sOKAY);
    const std::vector<Item> walk2 = fuzz_walk(&cmd2, again.size());
    check(walk2.size() == walk.size());
    for (size_t i = 0; i < walk.size(); ++i) {
        check(walk2[i].row == walk[i].row);
        check((walk[i].arg == nullptr) == (walk2[i].arg == nullptr));
        if (walk[i].arg != nullptr) check(std::strcmp(walk[i].arg, walk2[i].arg) == 0);
    }
    return 0;
}
