// The command-line processor: the usage against hand-built golden files, the
// error and version texts, the shared options, every kind of row valid and
// invalid, the two forms of a long option's value, clusters, the walk, and
// failing output streams. Standard output and error are captured with dup2.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "cmdline.h"
#include "file_fixture.h"

namespace {

// A command line that owns its texts; element 0 is the tool.
struct Line {
    std::vector<std::string> words;
    std::vector<char *> argv;
    Line(std::initializer_list<std::string> w) : words(w) { Point(); }
    explicit Line(std::vector<std::string> w) : words(std::move(w)) { Point(); }
    Line(const Line &o) : words(o.words) { Point(); }  // argv points at its own words
    Line &operator=(const Line &) = delete;
    void Point() {
        for (std::string &s : words) argv.push_back(s.data());
        argv.push_back(nullptr);
    }
    int32_t argc() const { return int32_t(words.size()); }
};

struct Outcome {
    ZEL_RETCODE rc;
    Bytes out;
    Bytes err;
};

struct Setup {
    const ZEL_CMD_DEFAULTS *defaults = nullptr;
    ZEL_CMDLINE_STATUS *status = nullptr;
    const char *banner = nullptr;
    const char *description = nullptr;
};

Outcome Init(ZEL_CMDLINE *cmd, Line &line, const ZEL_CMDLINE_OPT *opts, const Setup &s = {}) {
    FdCapture out(1), err(2);
    const ZEL_RETCODE rc = zel_cmdlineInitEx(cmd, s.banner, line.argc(), line.argv.data(),
                                             s.description, opts, s.defaults, s.status);
    return Outcome{rc, out.Text(), err.Text()};
}

using Walk = std::vector<std::pair<std::string, std::string>>;

// The tool's walk: each row's long name (or short text) and its argument.
Walk WalkLong(ZEL_CMDLINE *cmd) {
    Walk w;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(cmd, &arg)) != nullptr;)
        w.emplace_back(name, arg != nullptr ? arg : "(null)");
    return w;
}

std::string Error(const std::string &message) {
    return "error: " + message + "\n";
}

const ZEL_CMD_DEFAULTS kAllShared{0, 0};

// Every kind of row, for the parsing tests.
const ZEL_CMDLINE_OPT kTable[] = {
    {"a", "append", nullptr, "Append"},   {"b", nullptr, nullptr, "Bare"},
    {"n", "count", "i:N", "Count"},       {"s", "sep", "s:SEP", "Separator"},
    {"c", "char", "c:C", "Character"},    {"", "verbose", nullptr, "Long only"},
    {"f", nullptr, "#:FILE", "The file"},  // a positional whose letter is an option's
    {"o", nullptr, "?:OUT", "Output"},    {"m", nullptr, "*:MORE", "More"},
    {nullptr, nullptr, nullptr, nullptr},
};

// Two positionals and no more.
const ZEL_CMDLINE_OPT kPair[] = {
    {"f", nullptr, "#:FILE", nullptr},
    {"o", nullptr, "?:OUT", nullptr},
    {nullptr, nullptr, nullptr, nullptr},
};

// A kind that is none of the known ones makes no option and no positional.
const ZEL_CMDLINE_OPT kOdd[] = {{"x", "odd", "x:ODD", "Odd"},
                                {"y", "short", "#", "Short"},
                                {nullptr, nullptr, nullptr, nullptr}};

// A * row stays, so a # row after it is never reached.
const ZEL_CMDLINE_OPT kStarFirst[] = {{"m", nullptr, "*:MORE", nullptr},
                                      {"l", nullptr, "#:LAST", nullptr},
                                      {nullptr, nullptr, nullptr, nullptr}};

// ---- The usage, byte for byte.

// Every part of the layout: banner, a name after a "/", the nested synopsis,
// description, all shared rows (the key text wraps over seven lines), long,
// short-only and long-only rows, a left column of exactly 26 and one past it,
// a piece of exactly 54 ending in a blank, a piece with no blank (hard break),
// and the rows that are never shown ("embed", a null desc).
const ZEL_CMDLINE_OPT kFull[] = {
    {"a", "append", nullptr, "Append to the destination"},
    {"n", "count", "i:N", "Number of rows to copy"},
    {"s", nullptr, "s:SEP", "Field separator"},
    {"", "mode", "c:M",
     "A description long enough to wrap across more than one line of the usage text, so that "
     "the breaking rule shows."},
    {"", "exactly-twenty-six", "s:X", "Fits the column"},
    {"v", "a-very-long-option-name", "s:VALUE", "Left column longer than 26"},
    {"x", "embed", nullptr, "Never shown"},
    {"z", "secret", nullptr, nullptr},
    {"S", nullptr, "#:SRC", "The source database"},
    {"D", nullptr, "?:DST", "The destination"},
    {"M", nullptr, "*:MORE",
     "Files:/one/two/three/four/five/six/seven/eight/nine/ten/eleven/twelve"},
    {nullptr, nullptr, nullptr, nullptr},
};

// The synopsis wraps twice: before a piece (its blank dropped) and before
// the closing brackets; no defaults, no description.
const ZEL_CMDLINE_OPT kWrap[] = {
    {"f", "force", nullptr, "Force"},
    {"1", nullptr, "#:FIRST-ARGUMENT", nullptr},
    {"2", nullptr, "#:SECOND-ARGUMENT", nullptr},
    {"3", nullptr, "?:THIRD-ARGUMENT", nullptr},
    {"4", nullptr, "?:FOURTH-ARGUMENT", nullptr},
    {"5", nullptr, "?:FIFTH-ARGUMENT", nullptr},
    {"6", nullptr, "*:REST-OF-THEM-AND-SOME-MORE-X", nullptr},
    {nullptr, nullptr, nullptr, nullptr},
};

TEST(CmdlineUsage, MatchesTheGoldenFiles) {
    ZEL_CMDLINE cmd;
    Line full{"/usr/local/bin/zelcopy", "-a", "--help", "--bogus"};
    const Outcome u =
        Init(&cmd, full, kFull, {&kAllShared, nullptr, "zelcopy 1.0\n", "Copy a database."});
    EXPECT_EQ(u.rc, sCMD_USAGE);
    EXPECT_EQ(u.out, fixture_readFile(ZELBASE_TEST_DATA "/good-cmdline-usage-full.txt"));
    EXPECT_EQ(u.err, "");

    Line wrap{"wraptool", "-h"};
    const Outcome w = Init(&cmd, wrap, kWrap);
    EXPECT_EQ(w.rc, sCMD_USAGE);
    EXPECT_EQ(w.out, fixture_readFile(ZELBASE_TEST_DATA "/good-cmdline-usage-wrap.txt"));
}

TEST(CmdlineUsage, SharedRowsFollowTheDefaults) {
    ZEL_CMDLINE cmd;
    const ZEL_CMD_DEFAULTS none{1, 1};
    Line line{"t", "--help"};
    const Outcome o = Init(&cmd, line, kTable, {&none});
    EXPECT_NE(o.out.find("\n      --version              Display the version information\n"),
              std::string::npos);
    EXPECT_NE(o.out.find("\n  -q, --quiet "), std::string::npos);
    EXPECT_EQ(o.out.find("--key"), std::string::npos);
    EXPECT_EQ(o.out.find("--docroot"), std::string::npos);
    // Without defaults only -h; an empty table, no name at all.
    const ZEL_CMDLINE_OPT empty[] = {{nullptr, nullptr, nullptr, nullptr}};
    Line bare{"", "-h"};
    const Outcome e = Init(&cmd, bare, empty);
    EXPECT_EQ(e.out.substr(0, 23), "Usage:\n\n   [OPTION]...\n");
    EXPECT_EQ(e.out.find("--version"), std::string::npos);
}

// ---- Errors and the version report.

TEST(CmdlineErrors, EachMessageWordForWord) {
    const char *more = " ('--help' for more information)";
    struct Case {
        Line line;
        std::string message;
        const ZEL_CMDLINE_OPT *opts = kTable;
    };
    const std::vector<Case> cases = {
        {{"t", "--bogus=1"}, "Unknown option '--bogus'" + std::string(more)},
        {{"t", "--"}, "Unknown option '--'" + std::string(more)},  // kept
        {{"t", "-"}, "Unknown option '-'" + std::string(more)},
        {{"t", "-z"}, "Unknown option '-z'" + std::string(more)},
        {{"t", "x", "-ab", "-n5", "7"}, "Unknown option '-5'" + std::string(more)},  // kept
        {{"t", "--help=x"}, "Unknown option '--help'" + std::string(more)},
        {{"t", "x", "y", "z"}, "Stray argument 'z'" + std::string(more), kPair},
        {{"t"}, "Missing argument 'FILE'" + std::string(more)},
        {{"t", "x", "-n"}, "option flag '-n' takes an argument"},
        {{"t", "x", "--count"}, "option flag '--count' takes an argument"},
        {{"t", "x", "--append=1"}, "option flag '--append' does not take any arguments"},
        {{"t", "x", "--count=1x"}, "argument for option '--count' is of wrong type"},
        {{"t", "x", "-c", "ab"}, "argument for option '-c' is of wrong type"},
        // kept: a leading "*", ":", "=" or "|" of the text shows as "-"
        {{"t", "x", "y", "=z"}, "Stray argument '-z'" + std::string(more), kPair},
        {{"t", "--|x"}, "Unknown option '---x'" + std::string(more)},
        {{"t", "x", "y", "*z"}, "Stray argument '-z'" + std::string(more), kPair},
        {{"t", "--odd", "v"}, "Unknown option '--odd'" + std::string(more), kOdd},
        {{"t"}, "Missing argument ''" + std::string(more), kOdd},
        // The row of FILE hands back "f", but -f is still unknown.
        {{"t", "-f", "in"}, "Unknown option '-f'" + std::string(more)},
        {{"t", "a", "b"}, "Missing argument 'LAST'" + std::string(more), kStarFirst},
    };
    for (Case c : cases) {
        const std::string &message = c.message;
        ZEL_CMDLINE cmd;
        const Outcome o = Init(&cmd, c.line, c.opts, {nullptr, nullptr, "BANNER\n"});
        EXPECT_EQ(o.rc, eBASE_COMMAND) << message;
        EXPECT_EQ(o.err, Error(message));
        EXPECT_EQ(o.out, "BANNER\n") << message;
    }
}

TEST(CmdlineErrors, MessageIsCutAt360Bytes) {
    ZEL_CMDLINE cmd;
    Line line{"t", "x", "y", std::string(1000, 'w')};
    const Outcome o = Init(&cmd, line, kPair);
    EXPECT_EQ(o.rc, eBASE_COMMAND);
    ASSERT_EQ(o.err.size(), 7 + 359 + 1u);
    EXPECT_EQ(o.err.substr(0, 23), "error: Stray argument '");
}

TEST(CmdlineErrors, QuietClearsTheBannerOfLaterOutput) {
    ZEL_CMDLINE cmd;
    ZEL_CMDLINE_STATUS st;
    Line quiet{"t", "-q", "--bogus"};
    Outcome o = Init(&cmd, quiet, kTable, {&kAllShared, &st, "BANNER\n"});
    EXPECT_EQ(o.rc, eBASE_COMMAND);
    EXPECT_EQ(o.out, "");
    Line loud{"t", "--bogus", "-q"};
    o = Init(&cmd, loud, kTable, {&kAllShared, &st, "BANNER\n"});
    EXPECT_EQ(o.out, "BANNER\n");
    // A valid line prints the banner as given, without a line feed added.
    Line ok{"t", "x"};
    o = Init(&cmd, ok, kTable, {&kAllShared, &st, "no line feed"});
    EXPECT_EQ(o.rc, sOKAY);
    EXPECT_EQ(o.out, "no line feed");
    Line okQuiet{"t", "--quiet", "x"};
    o = Init(&cmd, okQuiet, kTable, {&kAllShared, &st, "BANNER\n"});
    EXPECT_EQ(o.rc, sOKAY);
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(st.quiet, ZEL_TRUE);
}

TEST(CmdlineVersion, ReportStopsTheLine) {
    ZEL_CMDLINE cmd;
    Line line{"t", "--version", "--bogus", "-h"};
    const Outcome o = Init(&cmd, line, kTable, {&kAllShared, nullptr, "B\n"});
    EXPECT_EQ(o.rc, sCMD_VERSION);
    EXPECT_EQ(o.out, std::string("B\n") + ZEL_PRODUCT_NAME + " (" + ZEL_PLATFORM_NAME + "-" +
                         std::to_string(sizeof(void *) * 8) + ") " + ZEL_PRODUCT_VERSION + "\n" +
                         ZEL_PRODUCT_NOTICE + "\n");
    EXPECT_EQ(o.err, "");
    // Without defaults --version is no shared option.
    Line plain{"t", "x", "--version"};
    EXPECT_EQ(Init(&cmd, plain, kTable).rc, eBASE_COMMAND);
}

// Output that cannot be written: the stream's code, except for the version.
TEST(CmdlineErrors, FailingStandardOutput) {
    ZEL_CMDLINE cmd;
    auto full = [] { return open("/dev/full", O_WRONLY); };
    auto init = [&](Line line, const char *banner, const ZEL_CMD_DEFAULTS *defaults = nullptr) {
        return zel_cmdlineInitEx(&cmd, banner, line.argc(), line.argv.data(), nullptr, kTable,
                                 defaults, nullptr);
    };
    const Line bad{"t", "--bogus"};
    {
        FdRedirect out(1, full());
        EXPECT_LT(init({"t", "-h"}, nullptr), 0);
        EXPECT_EQ(init({"t", "--version"}, nullptr, &kAllShared), sCMD_VERSION);  // kept
        EXPECT_LT(init({"t", "x"}, "BANNER"), 0);
        EXPECT_EQ(init({"t", "x"}, nullptr), sOKAY);
        // The banner fails, the message still goes out; the banner's code.
        FdCapture err(2);
        const ZEL_RETCODE rc = init(bad, "BANNER");
        EXPECT_TRUE(rc < 0 && rc != eBASE_COMMAND) << rc;
        EXPECT_EQ(err.Text(), Error("Unknown option '--bogus' ('--help' for more information)"));
    }
    FdRedirect err(2, full());
    const ZEL_RETCODE rc = init(bad, nullptr);
    EXPECT_TRUE(rc < 0 && rc != eBASE_COMMAND) << rc;
}

// ---- Parsing and the walk.

TEST(CmdlineWalk, ItemsInLineOrder) {
    ZEL_CMDLINE cmd;
    // kept: -ab x gives a x and then b; the rest of a cluster is no argument.
    const std::vector<std::pair<Line, Walk>> cases = {
        {{"t", "-bn", "5", "in"}, {{"b", "(null)"}, {"count", "5"}, {"f", "in"}}},
        {{"t", "-nb", "5", "in"}, {{"count", "5"}, {"b", "(null)"}, {"f", "in"}}},
        {{"t", "-nsb", "1", "-x", "in"},
         {{"count", "1"}, {"sep", "-x"}, {"b", "(null)"}, {"f", "in"}}},
        {{"t", "in", "--count=-12", "--count", "7"},
         {{"f", "in"}, {"count", "-12"}, {"count", "7"}}},
        {{"t", "--sep=", "in"}, {{"sep", ""}, {"f", "in"}}},
        {{"t", "--sep", "", "in"}, {{"sep", ""}, {"f", "in"}}},
        {{"t", "--sep=a=b", "in"}, {{"sep", "a=b"}, {"f", "in"}}},
        {{"t", "in", "out", "m1", "m2", "m3"},
         {{"f", "in"}, {"o", "out"}, {"m", "m1"}, {"m", "m2"}, {"m", "m3"}}},
        {{"t", "--verbose", "in", "-c", "x", "--char=y", "--append"},
         {{"verbose", "(null)"}, {"f", "in"}, {"char", "x"}, {"char", "y"}, {"append", "(null)"}}},
    };
    for (auto [line, expected] : cases) {
        const Outcome o = Init(&cmd, line, kTable);
        ASSERT_EQ(o.rc, sOKAY) << o.err;
        EXPECT_EQ(WalkLong(&cmd), expected) << line.words[1];
        EXPECT_EQ(zel_cmdlineNextLongOption(&cmd, nullptr), nullptr);  // stays at the end
    }
}

TEST(CmdlineWalk, EveryKindValidAndInvalid) {
    struct Case {
        const char *opt;
        const char *value;
        bool ok;
    };
    const Case cases[] = {
        {"count", "0", true},        {"count", "-12", true}, {"count", "007", true},
        {"count", "", false},        {"count", "-", false},  {"count", "1x", false},
        {"count", "+1", false},      {"count", " 1", false}, {"count", "1.5", false},
        {"sep", "", true},           {"sep", "-x y", true},  {"char", "x", true},
        {"char", "-", true},         {"char", "", false},    {"char", "xy", false},
        {"char", "\xc3\xa9", false},  // one character, two bytes
    };
    for (const Case &c : cases) {
        for (bool joined : {true, false}) {
            ZEL_CMDLINE cmd;
            Line line = joined ? Line{"t", "in", std::string("--") + c.opt + "=" + c.value}
                               : Line{"t", "in", std::string("--") + c.opt, c.value};
            const Outcome o = Init(&cmd, line, kTable);
            EXPECT_EQ(o.rc, c.ok ? sOKAY : eBASE_COMMAND) << c.opt << " " << c.value;
            if (c.ok) {
                EXPECT_EQ(WalkLong(&cmd), (Walk{{"f", "in"}, {c.opt, c.value}}));
            }
        }
    }
}

TEST(CmdlineWalk, SharedOptionsAreLeftOut) {
    ZEL_CMDLINE cmd;
    ZEL_CMDLINE_STATUS st{ZEL_TRUE, "stale", "stale"};
    Line line{"t", "--key", "K1", "in", "--docroot=/db", "-qb", "--key=K2"};
    ASSERT_EQ(Init(&cmd, line, kTable, {&kAllShared, &st}).rc, sOKAY);
    EXPECT_EQ(st.quiet, ZEL_TRUE);
    EXPECT_STREQ(st.enc_key, "K2");
    EXPECT_STREQ(st.docroot, "/db");
    EXPECT_EQ(WalkLong(&cmd), (Walk{{"f", "in"}, {"b", "(null)"}}));
    // kept: with a null status the values are passed over, yet consumed.
    ASSERT_EQ(Init(&cmd, line, kTable, {&kAllShared}).rc, sOKAY);
    EXPECT_EQ(WalkLong(&cmd), (Walk{{"f", "in"}, {"b", "(null)"}}));
    // Status is cleared first; without defaults these are the tool's own.
    Line none{"t", "in"};
    ASSERT_EQ(Init(&cmd, none, kTable, {&kAllShared, &st}).rc, sOKAY);
    EXPECT_EQ(st.quiet, ZEL_FALSE);
    EXPECT_EQ(st.enc_key, nullptr);
    Line key{"t", "in", "--key", "K"};
    EXPECT_EQ(Init(&cmd, key, kTable).rc, eBASE_COMMAND);
    const ZEL_CMD_DEFAULTS noKey{1, 0};
    EXPECT_EQ(Init(&cmd, key, kTable, {&noKey}).rc, eBASE_COMMAND);
    Line keyEnd{"t", "in", "--docroot"};
    EXPECT_EQ(Init(&cmd, keyEnd, kTable, {&kAllShared}).err,
              Error("option flag '--docroot' takes an argument"));
    // kept: -h before the tool's own rows, even one with the letter h.
    const ZEL_CMDLINE_OPT withH[] = {{"h", "host", "s:HOST", "Host"},
                                     {nullptr, nullptr, nullptr, nullptr}};
    Line h{"t", "-h", "x"};
    EXPECT_EQ(Init(&cmd, h, withH).rc, sCMD_USAGE);
}

TEST(CmdlineWalk, EveryRowOfALongNameIsTaken) {
    // The scan does not stop at a match: both rows take a value, the last
    // row is the item.
    const ZEL_CMDLINE_OPT dup[] = {{"x", "dup", "s:A", nullptr},
                                   {"y", "dup", "s:B", nullptr},
                                   {"p", nullptr, "?:P", nullptr},
                                   {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    Line line{"t", "--dup", "1", "2", "3"};
    ASSERT_EQ(Init(&cmd, line, dup).rc, sOKAY);
    EXPECT_EQ(WalkLong(&cmd), (Walk{{"dup", "2"}, {"p", "3"}}));
}

TEST(CmdlineWalk, ShortWalkStopsAtALongOnlyRow) {
    ZEL_CMDLINE cmd;
    Line line{"t", "-a", "--verbose", "in"};
    ASSERT_EQ(Init(&cmd, line, kTable).rc, sOKAY);
    const char *arg = "untouched";
    EXPECT_EQ(zel_cmdlineNextShortOption(&cmd, &arg), 'a');
    EXPECT_EQ(arg, nullptr);
    EXPECT_EQ(zel_cmdlineNextShortOption(&cmd, &arg), '\0');  // --verbose has no letter
    EXPECT_EQ(zel_cmdlineNextShortOption(&cmd, &arg), 'f');
    EXPECT_STREQ(arg, "in");
    arg = "untouched";
    EXPECT_EQ(zel_cmdlineNextShortOption(&cmd, &arg), '\0');
    EXPECT_STREQ(arg, "untouched");
}

TEST(CmdlineInit, NullArgumentsAndNullElements) {
    ZEL_CMDLINE cmd;
    Line line{"t", "in"};
    EXPECT_EQ(zel_cmdlineInit(nullptr, line.argc(), line.argv.data(), nullptr, kTable),
              eINVNULLARG);
    EXPECT_EQ(zel_cmdlineInit(&cmd, line.argc(), line.argv.data(), nullptr, nullptr), eINVNULLARG);
    EXPECT_EQ(zel_cmdlineInit(&cmd, 2, nullptr, nullptr, kTable), eINVNULLARG);
    // The line ends at a null element; no elements at all is a valid empty line.
    std::vector<char *> argv = {line.argv[0], line.argv[1], nullptr, line.argv[1]};
    ASSERT_EQ(zel_cmdlineInit(&cmd, 4, argv.data(), nullptr, kTable), sOKAY);
    EXPECT_EQ(WalkLong(&cmd), (Walk{{"f", "in"}}));
    const ZEL_CMDLINE_OPT empty[] = {{nullptr, nullptr, nullptr, nullptr}};
    EXPECT_EQ(zel_cmdlineInit(&cmd, 0, nullptr, nullptr, empty), sOKAY);
    EXPECT_EQ(zel_cmdlineNextLongOption(&cmd, nullptr), nullptr);
}

TEST(CmdlineInit, ThousandArguments) {
    std::vector<std::string> words = {"t", "in", "out"};
    size_t items = 2;
    for (int i = 0; words.size() < 1001; ++i) {
        words.push_back(i % 3 == 0 ? "-ab" : i % 3 == 1 ? "--count=" + std::to_string(i) : "m");
        items += i % 3 == 0 ? 2 : 1;
    }
    Line line(words);
    ZEL_CMDLINE cmd;
    ASSERT_EQ(zel_cmdlineInit(&cmd, line.argc(), line.argv.data(), nullptr, kTable), sOKAY);
    EXPECT_EQ(WalkLong(&cmd).size(), items);
}

}  // namespace
