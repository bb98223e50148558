// The return code tables: group ranges, row order, SQLSTATE classes and the
// rows whose texts are fixed by the engine's users.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "rettables.h"

namespace {

struct GroupRow {
    const char *name;
    int32_t first;
    int32_t last;
    int32_t count;
};

// clang-format off
constexpr GroupRow kGroups[] = {
    {"status moka", 29000, 29000, 1}, {"status", 10000, 10043, 44},
    {"ok", 0, 0, 1},                  {"fail", -1, -1, 1},
    {"general", -10000, -10111, 112}, {"base", -11000, -11004, 5},
    {"core", -12000, -12090, 91},     {"gsv", -13000, -13032, 33},
    {"psp", -14000, -14008, 9},       {"ddl", -14500, -14562, 63},
    {"sql", -15000, -15174, 175},     {"mirroring", -16000, -16002, 3},
    {"moka", -17000, -17024, 25},     {"tx", -18000, -18009, 10},
    {"system", -20000, -20010, 11},   {"http", -21000, -21006, 7},
    {"q/a", -29000, -29026, 27},      {"embed", -30000, -30003, 4}
};
// clang-format on

struct TellingRow {
    const char *name;
    int32_t code;
    const char *sqlstate;  // null: none
    const char *descr;
};

// The rows whose texts callers and stored logs depend on, word for word.
constexpr TellingRow kTelling[] = {
    {"sOKAY", 0, nullptr, "Normal, successful return"},
    {"eFAIL", -1, nullptr, "General failure"},
    {"sNOTFOUND", 10000, "02000", "Requested item not found"},
    {"sDUPLICATE", 10001, "23000", "Duplicate unique key value"},
    {"sTIMEOUT", 10002, "HYT00", "Request timed out"},
    {"sIGNORE", 10006, "RX001", "Error can be ignored"},
    {"sOKAYWITHINFO", 10007, "00001", "Successful return with info"},
    {"sNEEDDATA", 10008, "01000", "Function requires data to be supplied"},
    {"sNODATA", 10009, "02000", "No data is available"},
    {"sENDOFCURSOR", 10010, "02000", "Reached the end of the cursor collection"},
    {"sEOF", 10011, nullptr, "Reached the end of the file or input string"},
    {"sTRUNCATE", 10012, "01004", "Result is truncated"},
    {"sCMD_USAGE", 10023, nullptr, "command usage option"},
    {"sCMD_VERSION", 10024, nullptr, "command version option"},
    {"sNULLVAL", 10025, nullptr, "The specified column is NULL"},
    {"sPRECISIONLOSS", 10031, "22000", "Lost precision for BCD calculation"},
    {"sKVNOVALUE", 10036, nullptr, "The key/value pair does not have a value"},
    {"sOPTIONIGNORED", 10037, nullptr, "The option key is valid, but is ignored for a remote GSV"},
    {"sBASE_QUEUE_CLOSED", 10039, nullptr, "No more messages and the queue is closed"},
    {"sBASE_QUEUE_EMPTY", 10040, nullptr, "Timed out. Queue is empty, try again later"},
    {"sFILE_CONSOLE", 10041, nullptr,
     "The file is a Windows Console. Use psp_fileConsoleRead and psp_fileConsoleWrite"},
    {"sINDETERMINATE", 10042, nullptr, "The comparison result is indeterminate"},
    {"sBASE_DONE", 10043, nullptr, "Parsing done"},
    {"eNOMEMORY", -10000, "HY001", "Out of memory"},
    {"eREALLOCMEMORY", -10001, "HY001", "Reallocation of huge memory buffers not supported"},
    {"eDUPLICATE", -10015, "40002", "Attempt to insert a duplicate value as a unique/primary key"},
    {"eNOTIMPLEMENTED", -10022, "HYC00", "Function/feature not implemented"},
    {"eINVNULLARG", -10024, "HY009", "Function argument cannot be NULL"},
    {"eNOTFOUND", -10055, nullptr, "Not found"},
    {"eFILEACCESS", -10032, nullptr, "Unable to open file due to access restrictions"},
    {"eFILEEXIST", -10033, nullptr, "Unable to create file due to an already existing file"},
    {"eFILENOENTRY", -10034, nullptr, "Unable to open file since it does not exist"},
    {"ePSP_FAILURE", -14000, nullptr, "General failure in the PSP library"},
    {"ePSP_DEADLOCK", -14008, nullptr, "Mutex deadlock in the PSP library"},
    {"eSYS_BADERRCODE", -20000, "RX000", "Invalid zel RETCODE value"},
    {"eSYS_ERRACTIVE", -20001, nullptr,
     "Error function call not allowed when another error is active"},
    {"eSYS_NOSQLSTATE", -20010, "RX998", "Unexpected empty SQL state"},
    {"eEMBED_FILE_NOT_FOUND", -30000, nullptr, "File not found by the embedder"},
};

std::string Str(const char *s) {
    return s == nullptr ? "<null>" : s;
}

// The eighteen groups by name and range; walking them in order walks the
// rows in order, one code at a time.
TEST(RetcodeTables, RowsFollowTheFixedGroupsWithoutGaps) {
    ASSERT_EQ(no_zel_errgroups, 18);
    ASSERT_EQ(no_zel_errors, 622);
    int row = 0;
    for (int i = 0; i < no_zel_errgroups; ++i) {
        const ZEL_ERRGROUP &g = zel_errgroups[i];
        EXPECT_EQ(
            Str(g.name) + " " + std::to_string(g.firstcode) + " " + std::to_string(g.lastcode),
            Str(kGroups[i].name) + " " + std::to_string(kGroups[i].first) + " " +
                std::to_string(kGroups[i].last));
        const int step = g.firstcode >= 0 ? 1 : -1;
        for (int32_t code = g.firstcode, n = 0; n < kGroups[i].count; code += step, ++n, ++row) {
            ASSERT_LT(row, no_zel_errors);
            EXPECT_EQ(zel_errors[row].code, code) << "row " << row << " in " << g.name;
        }
    }
    EXPECT_EQ(row, no_zel_errors);
}

// Unique names and codes, signed by kind; messages are short sentences: a
// capital letter and no full stop (the two command-line statuses are lower
// case as they have always been).
TEST(RetcodeTables, NamesUniqueAndMessagesShortSentences) {
    std::set<std::string> names;
    std::set<int32_t> codes;
    for (int i = 0; i < no_zel_errors; ++i) {
        const ZEL_ERRDEFN &e = zel_errors[i];
        EXPECT_TRUE(names.insert(e.name).second) << e.name;
        EXPECT_TRUE(codes.insert(e.code).second) << e.name;
        EXPECT_EQ(e.name[0], e.code >= 0 ? 's' : 'e') << e.name;
        const size_t len = std::strlen(e.descr);
        ASSERT_GT(len, 0u) << e.name;
        EXPECT_TRUE(e.descr[len - 1] != '.' && len <= 90u) << e.name;
        EXPECT_TRUE(std::isupper(static_cast<unsigned char>(e.descr[0])) || e.code == sCMD_USAGE ||
                    e.code == sCMD_VERSION)
            << e.name;
    }
}

// Every state is five digits or capitals; "42000" is the most common and
// "0A000" the next; the engine's own class "RX" holds exactly these rows.
TEST(RetcodeTables, SqlstateClasses) {
    std::map<std::string, int> by_state;
    std::map<std::string, std::string> rx;
    for (int i = 0; i < no_zel_errors; ++i) {
        const char *s = zel_errors[i].sqlstate;
        ++by_state[Str(s)];
        if (s == nullptr) continue;
        ASSERT_EQ(std::strlen(s), 5u) << zel_errors[i].name;
        for (int k = 0; k < 5; ++k)
            EXPECT_TRUE(std::isdigit(s[k]) || std::isupper(s[k])) << zel_errors[i].name;
        if (std::strncmp(s, "RX", 2) == 0) rx[zel_errors[i].name] = s;
    }
    EXPECT_EQ(by_state["<null>"], 280);
    EXPECT_EQ(by_state["42000"], 140);
    EXPECT_EQ(by_state["0A000"], 18);
    for (const auto &[state, n] : by_state)
        if (state != "<null>" && state != "42000" && state != "0A000") {
            EXPECT_LT(n, 18) << state;
        }
    EXPECT_EQ(rx, (std::map<std::string, std::string>{{"eSYS_BADERRCODE", "RX000"},
                                                      {"sIGNORE", "RX001"},
                                                      {"sIMPROWERROR", "RX002"},
                                                      {"eSYS_NOSQLSTATE", "RX998"},
                                                      {"eSQL_ZELERROR", "RX999"}}));
}

TEST(RetcodeTables, TellingRowsWordForWord) {
    std::map<std::string, std::string> by_name;
    for (int i = 0; i < no_zel_errors; ++i) {
        const ZEL_ERRDEFN &e = zel_errors[i];
        by_name[e.name] = std::to_string(e.code) + " " + Str(e.sqlstate) + " " + e.descr;
    }
    for (const TellingRow &t : kTelling)
        EXPECT_EQ(by_name[t.name], std::to_string(t.code) + " " + Str(t.sqlstate) + " " + t.descr);
}

}  // namespace
