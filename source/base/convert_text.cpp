/*
 * convert_text.cpp - the conversions whose source is text, and the escape
 * clause rewriter. Three scanners share one shape: a table of states, each a
 * list of B_ACTION rows tried in order, run by one loop that fires a rule per
 * row. The number table only checks syntax and counts digits; the values
 * come from the platform's exact converters, so a text is looked at twice
 * but every number is correctly rounded. Decimals, times, zones and UUIDs go
 * to their own modules; the date table takes the stricter literal forms that
 * a SQL text carries.
 */
#include "convert_text.h"

#include <cstring>
#include <limits>
#include <span>
#include <string_view>
#include <type_traits>

#include "bcd.h"
#include "convert_text_internal.h"
#include "datetime.h"
#include "psp.h"
#include "tag_ref_internal.h"
#include "uuid.h"

using zel::detail::CNV_SYM_ANY;
using zel::detail::CNV_SYM_DIGIT;
using zel::detail::CNV_SYM_END;

namespace {

constexpr char END = CNV_SYM_END;
constexpr char DIG = CNV_SYM_DIGIT;
constexpr char ANY = CNV_SYM_ANY;

// ---- The scanner.

constexpr bool cnv_textIsDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool cnv_textMatches(char symbol, char c, bool atEnd) {
    switch (symbol) {
        case END:
            return atEnd;
        case DIG:
            return !atEnd && cnv_textIsDigit(c);
        case ANY:
            return true;
        default:
            return !atEnd && c == symbol;
    }
}

/* Row choice made once: for each state and each byte (index 256 for the end
 * of the text), the position of the first row that matches, found by trying
 * the rows in order at compile time. The scan then costs one load a
 * character whatever the length of a state's list. */
constexpr int CNV_DENSE_END = 256;

template <size_t N>
struct CnvDense {
    uint8_t row[N][CNV_DENSE_END + 1];
};

template <size_t N>
constexpr CnvDense<N> cnv_textDense(const B_ACTION *const (&table)[N]) {
    CnvDense<N> d{};
    for (size_t s = 0; s < N; ++s) {
        for (int k = 0; k <= CNV_DENSE_END; ++k) {
            const bool atEnd = k == CNV_DENSE_END;
            const char c = atEnd ? '\0' : char(k);
            int r = 0;
            while (!cnv_textMatches(table[s][r].symbol, c, atEnd)) ++r;
            d.row[s][k] = uint8_t(r);
        }
    }
    return d;
}

/* Runs `table` over `text` from `state` until the state leaves 0..N-1.
 * `rule(ruleno, c)` fires for every row with a rule. The end of the text is
 * seen as the character 0 and is never consumed. */
template <size_t N, typename Rule>
void cnv_textRun(const B_ACTION *const (&table)[N], const CnvDense<N> &dense, std::string_view text,
                 int state, Rule &&rule) {
    size_t pos = 0;
    while (state >= 0 && state < int(N)) {
        const bool atEnd = pos >= text.size();
        const char c = atEnd ? '\0' : text[pos];
        const uint8_t *rows = dense.row[state];
        const uint8_t r = rows[atEnd ? CNV_DENSE_END : int(static_cast<unsigned char>(c))];
        const B_ACTION &a = table[state][r];
        if (a.state == state && a.shift != 0 && !atEnd) {
            // A row that consumes and stays (a run of digits, a quoted text):
            // take the whole run while the same row keeps matching.
            do {
                if (a.ruleno != 0) rule(a.ruleno, text[pos]);
                ++pos;
            } while (pos < text.size() && rows[static_cast<unsigned char>(text[pos])] == r);
            continue;
        }
        if (a.ruleno != 0) rule(a.ruleno, c);
        if (a.shift != 0 && !atEnd) ++pos;
        state = a.state;
    }
}

// ---- Number syntax. Rows are symbol, rule, shift, next state.

constexpr int CNV_NUM_STOP = 5;
constexpr B_ACTION cnv_textNum0[] = {{'+', 0, 1, 1},  {'-', 1, 1, 1}, {DIG, 0, 0, 1},
                                     {'.', 0, 1, 2},  {' ', 0, 1, 0}, {'\t', 0, 1, 0},
                                     {'\n', 0, 1, 0}, {ANY, 2, 0, 5}};
constexpr B_ACTION cnv_textNum1[] = {{DIG, 3, 1, 1}, {'.', 0, 1, 2}, {'e', 0, 1, 3},
                                     {'E', 0, 1, 3}, {END, 0, 0, 5}, {ANY, 2, 0, 5}};
constexpr B_ACTION cnv_textNum2[] = {
    {DIG, 4, 1, 2}, {'e', 0, 1, 3}, {'E', 0, 1, 3}, {END, 0, 0, 5}, {ANY, 2, 0, 5}};
constexpr B_ACTION cnv_textNum3[] = {
    {'+', 0, 1, 4}, {'-', 5, 1, 4}, {DIG, 0, 0, 4}, {ANY, 2, 0, 5}};
constexpr B_ACTION cnv_textNum4[] = {{DIG, 6, 1, 4}, {END, 7, 0, 5}, {ANY, 2, 0, 5}};
constexpr const B_ACTION *numStateTable[CNV_NUM_STOP] = {cnv_textNum0, cnv_textNum1, cnv_textNum2,
                                                         cnv_textNum3, cnv_textNum4};
constexpr auto cnv_textNumDense = cnv_textDense(numStateTable);

enum : int16_t {
    CNV_NUM_NEGATIVE = 1,
    CNV_NUM_BAD = 2,
    CNV_NUM_MAG = 3,
    CNV_NUM_SCALE = 4,
    CNV_NUM_EXP_NEGATIVE = 5,
    CNV_NUM_EXP_DIGIT = 6,
    CNV_NUM_EXP_SIGN = 7
};

constexpr int32_t CNV_EXP_MAX = 308;
constexpr int32_t CNV_FLOAT_EXP_MAX = 38;
/* Digit counts and the exponent stop growing here: far beyond every limit
 * that is tested, and no overflow on endless texts. */
constexpr int32_t CNV_COUNT_CAP = 1000000;

struct CnvNumber {
    int32_t sign = 1;
    int32_t mag = 0;
    int32_t scale = 0;
    int32_t expt = 0;
};

ZEL_RETCODE cnv_textParseNumber(std::string_view text, CnvNumber *out) {
    CnvNumber n;
    int32_t exptSign = 1;
    bool bad = false;
    cnv_textRun(numStateTable, cnv_textNumDense, text, 0, [&](int16_t rule, char c) {
        switch (rule) {
            case CNV_NUM_NEGATIVE:
                n.sign = -1;
                break;
            case CNV_NUM_BAD:
                bad = true;
                break;
            case CNV_NUM_MAG:
                if (n.mag < CNV_COUNT_CAP) ++n.mag;
                break;
            case CNV_NUM_SCALE:
                if (n.scale < CNV_COUNT_CAP) ++n.scale;
                break;
            case CNV_NUM_EXP_NEGATIVE:
                exptSign = -1;
                break;
            case CNV_NUM_EXP_DIGIT:
                if (n.expt < CNV_COUNT_CAP) n.expt = n.expt * 10 + (c - '0');
                break;
            case CNV_NUM_EXP_SIGN:
                n.expt *= exptSign;
                break;
            default:
                break;
        }
    });
    // The exponent is judged first, so a bad text with a huge exponent is eRANGE.
    if (n.expt < -CNV_EXP_MAX || n.expt > CNV_EXP_MAX) return eRANGE;
    if (bad) return eINVLITERAL;
    *out = n;
    return sOKAY;
}

// ---- Date literals.

constexpr int CNV_DATE_STOP = 24;
enum : int16_t { CNV_DATE_BAD = 1, CNV_DATE_YEAR = 2, CNV_DATE_MONTH = 3, CNV_DATE_DAY = 4 };

constexpr B_ACTION cnv_textDate0[] = {
    {DIG, 0, 0, 13}, {'d', 0, 1, 1},   {'D', 0, 1, 1},  {'t', 0, 1, 4},  {'T', 0, 1, 4},
    {' ', 0, 1, 0},  {'\'', 0, 1, 13}, {'"', 0, 1, 13}, {'@', 0, 1, 12}, {ANY, 1, 0, 24}};
// The words "date" and "timestamp", in either case.
constexpr B_ACTION cnv_textDate1[] = {{'a', 0, 1, 2}, {'A', 0, 1, 2}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate2[] = {{'t', 0, 1, 3}, {'T', 0, 1, 3}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate3[] = {{'e', 0, 1, 12}, {'E', 0, 1, 12}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate4[] = {{'i', 0, 1, 5}, {'I', 0, 1, 5}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate5[] = {{'m', 0, 1, 6}, {'M', 0, 1, 6}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate6[] = {{'e', 0, 1, 7}, {'E', 0, 1, 7}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate7[] = {{'s', 0, 1, 8}, {'S', 0, 1, 8}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate8[] = {{'t', 0, 1, 9}, {'T', 0, 1, 9}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate9[] = {{'a', 0, 1, 10}, {'A', 0, 1, 10}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate10[] = {{'m', 0, 1, 11}, {'M', 0, 1, 11}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate11[] = {{'p', 0, 1, 12}, {'P', 0, 1, 12}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate12[] = {
    {' ', 0, 1, 12}, {'\'', 0, 1, 13}, {'"', 0, 1, 13}, {ANY, 1, 0, 24}};
// Four digits of the year.
constexpr B_ACTION cnv_textDate13[] = {{DIG, 2, 1, 14}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate14[] = {{DIG, 2, 1, 15}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate15[] = {{DIG, 2, 1, 16}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate16[] = {{DIG, 2, 1, 17}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate17[] = {{'-', 0, 1, 18}, {ANY, 1, 0, 24}};
// One or two digits of the month, then of the day.
constexpr B_ACTION cnv_textDate18[] = {{DIG, 3, 1, 19}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate19[] = {{DIG, 3, 1, 20}, {'-', 0, 1, 21}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate20[] = {{'-', 0, 1, 21}, {ANY, 1, 0, 24}};
constexpr B_ACTION cnv_textDate21[] = {{DIG, 4, 1, 22}, {ANY, 1, 0, 24}};
// What stands after the day is not looked at.
constexpr B_ACTION cnv_textDate22[] = {
    {DIG, 4, 1, 23}, {'\'', 0, 1, 24}, {'"', 0, 1, 24}, {ANY, 0, 0, 24}};
constexpr B_ACTION cnv_textDate23[] = {{'\'', 0, 1, 24}, {'"', 0, 1, 24}, {ANY, 0, 0, 24}};
constexpr const B_ACTION *dateStateTable[CNV_DATE_STOP] = {
    cnv_textDate0,  cnv_textDate1,  cnv_textDate2,  cnv_textDate3,  cnv_textDate4,  cnv_textDate5,
    cnv_textDate6,  cnv_textDate7,  cnv_textDate8,  cnv_textDate9,  cnv_textDate10, cnv_textDate11,
    cnv_textDate12, cnv_textDate13, cnv_textDate14, cnv_textDate15, cnv_textDate16, cnv_textDate17,
    cnv_textDate18, cnv_textDate19, cnv_textDate20, cnv_textDate21, cnv_textDate22, cnv_textDate23};
constexpr auto cnv_textDateDense = cnv_textDense(dateStateTable);

// ---- Escape clauses. A negative state stops. Every state that can meet the
// end of the text has a row for it (or a catch-all that stops or hands the
// end back to state 0), so the scan never runs past the terminator.

constexpr int CNV_ESC_STATES = 59;
enum : int16_t {
    CNV_ESC_HOLD = 1,   // push the character on the hold buffer
    CNV_ESC_COPY = 2,   // copy the character to the output
    CNV_ESC_FLUSH = 3,  // flush the hold buffer to the output
    CNV_ESC_FAIL = 4,   // stop with eESCAPE
    CNV_ESC_AT = 5,     // write '@'
    CNV_ESC_DROP = 6    // empty the hold buffer
};

// Plain text.
constexpr B_ACTION cnv_textEsc0[] = {{'\'', 2, 1, 40}, {'"', 2, 1, 39}, {'-', 1, 1, 1},
                                     {'{', 0, 1, 22},  {'c', 2, 1, 41}, {END, 2, 0, -1},
                                     {ANY, 2, 1, 0}};
// "--(*" opens a vendor clause; a sequence that breaks off is flushed.
constexpr B_ACTION cnv_textEsc1[] = {{'-', 1, 1, 2}, {ANY, 3, 0, 0}};
constexpr B_ACTION cnv_textEsc2[] = {{'(', 1, 1, 3}, {ANY, 3, 0, 0}};
constexpr B_ACTION cnv_textEsc3[] = {{'*', 6, 1, 4}, {ANY, 3, 0, 0}};
// vendor( name ) , product( name ), dropped, blanks allowed between.
constexpr B_ACTION cnv_textEsc4[] = {{' ', 0, 1, 4},  {'\t', 0, 1, 4}, {'\r', 0, 1, 4},
                                     {'\n', 0, 1, 4}, {'v', 0, 1, 5},  {'V', 0, 1, 5},
                                     {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc5[] = {{'e', 0, 1, 6}, {'E', 0, 1, 6}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc6[] = {{'n', 0, 1, 7}, {'N', 0, 1, 7}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc7[] = {{'d', 0, 1, 8}, {'D', 0, 1, 8}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc8[] = {{'o', 0, 1, 9}, {'O', 0, 1, 9}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc9[] = {{'r', 0, 1, 10}, {'R', 0, 1, 10}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc10[] = {{' ', 0, 1, 10},  {'\t', 0, 1, 10}, {'\r', 0, 1, 10},
                                      {'\n', 0, 1, 10}, {'(', 0, 1, 11},  {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc11[] = {{')', 0, 1, 12}, {END, 4, 0, -1}, {ANY, 0, 1, 11}};
constexpr B_ACTION cnv_textEsc12[] = {{' ', 0, 1, 12},  {'\t', 0, 1, 12}, {'\r', 0, 1, 12},
                                      {'\n', 0, 1, 12}, {',', 0, 1, 13},  {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc13[] = {{' ', 0, 1, 13},  {'\t', 0, 1, 13}, {'\r', 0, 1, 13},
                                      {'\n', 0, 1, 13}, {'p', 0, 1, 14},  {'P', 0, 1, 14},
                                      {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc14[] = {{'r', 0, 1, 15}, {'R', 0, 1, 15}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc15[] = {{'o', 0, 1, 16}, {'O', 0, 1, 16}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc16[] = {{'d', 0, 1, 17}, {'D', 0, 1, 17}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc17[] = {{'u', 0, 1, 18}, {'U', 0, 1, 18}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc18[] = {{'c', 0, 1, 19}, {'C', 0, 1, 19}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc19[] = {{'t', 0, 1, 20}, {'T', 0, 1, 20}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc20[] = {{' ', 0, 1, 20},  {'\t', 0, 1, 20}, {'\r', 0, 1, 20},
                                      {'\n', 0, 1, 20}, {'(', 0, 1, 21},  {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc21[] = {{')', 0, 1, 22}, {END, 4, 0, -1}, {ANY, 0, 1, 21}};
// The clause: its keyword, in small letters only.
constexpr B_ACTION cnv_textEsc22[] = {{' ', 0, 1, 22},  {'\t', 0, 1, 22}, {'\r', 0, 1, 22},
                                      {'\n', 0, 1, 22}, {'d', 5, 1, 23},  {'t', 5, 1, 24},
                                      {'f', 0, 1, 25},  {'o', 0, 1, 27},  {'c', 2, 1, 28},
                                      {'e', 2, 1, 32},  {ANY, 4, 0, -1}};
// d, t, ts: blanks, then the quoted literal.
constexpr B_ACTION cnv_textEsc23[] = {{' ', 0, 1, 23},  {'\t', 0, 1, 23}, {'\r', 0, 1, 23},
                                      {'\n', 0, 1, 23}, {'\'', 2, 1, 56}, {'"', 2, 1, 57},
                                      {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc24[] = {{'s', 0, 1, 23},  {' ', 0, 1, 23},  {'\t', 0, 1, 23},
                                      {'\r', 0, 1, 23}, {'\n', 0, 1, 23}, {'\'', 2, 1, 56},
                                      {'"', 2, 1, 57},  {ANY, 4, 0, -1}};
// fn, oj and call end in state 26, which copies the blank after the keyword.
constexpr B_ACTION cnv_textEsc25[] = {{'n', 0, 1, 26}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc26[] = {
    {' ', 2, 1, 33}, {'\t', 2, 1, 33}, {'\r', 2, 1, 33}, {'\n', 2, 1, 33}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc27[] = {{'j', 0, 1, 26}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc28[] = {{'a', 2, 1, 29}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc29[] = {{'l', 2, 1, 30}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc30[] = {{'l', 2, 1, 26}, {ANY, 4, 0, -1}};
// escape: the letters in 32, 38, 31, 51, 52, then blanks, 'c' in 53 to 55.
constexpr B_ACTION cnv_textEsc31[] = {{'a', 2, 1, 51}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc32[] = {{'s', 2, 1, 38}, {ANY, 4, 0, -1}};
// The rest of the clause, up to "}" or "*)--".
constexpr B_ACTION cnv_textEsc33[] = {{'}', 0, 1, 0},  {'*', 1, 1, 34}, {'\'', 2, 1, 37},
                                      {'"', 2, 1, 58}, {END, 4, 0, -1}, {ANY, 2, 1, 33}};
constexpr B_ACTION cnv_textEsc34[] = {{')', 1, 1, 35}, {END, 4, 0, -1}, {ANY, 3, 0, 33}};
constexpr B_ACTION cnv_textEsc35[] = {{'-', 1, 1, 36}, {END, 4, 0, -1}, {ANY, 3, 0, 33}};
constexpr B_ACTION cnv_textEsc36[] = {{'-', 6, 1, 0}, {END, 4, 0, -1}, {ANY, 3, 0, 33}};
constexpr B_ACTION cnv_textEsc37[] = {{'\'', 2, 1, 33}, {END, 4, 0, -1}, {ANY, 2, 1, 37}};
constexpr B_ACTION cnv_textEsc38[] = {{'c', 2, 1, 31}, {ANY, 4, 0, -1}};
// Quoted plain text.
constexpr B_ACTION cnv_textEsc39[] = {{'"', 2, 1, 0}, {END, 4, 0, -1}, {ANY, 2, 1, 39}};
constexpr B_ACTION cnv_textEsc40[] = {{'\'', 2, 1, 0}, {END, 4, 0, -1}, {ANY, 2, 1, 40}};
// c_data[..] st... { : the brace of a structure is copied as it stands.
constexpr B_ACTION cnv_textEsc41[] = {{'_', 2, 1, 42}, {ANY, 0, 0, 0}};
constexpr B_ACTION cnv_textEsc42[] = {{'d', 2, 1, 43}, {ANY, 0, 0, 0}};
constexpr B_ACTION cnv_textEsc43[] = {{'a', 2, 1, 44}, {ANY, 0, 0, 0}};
constexpr B_ACTION cnv_textEsc44[] = {{'t', 2, 1, 45}, {ANY, 0, 0, 0}};
constexpr B_ACTION cnv_textEsc45[] = {{'a', 2, 1, 46}, {ANY, 0, 0, 0}};
constexpr B_ACTION cnv_textEsc46[] = {{'[', 2, 1, 47},  {' ', 2, 1, 48},  {'\t', 2, 1, 48},
                                      {'\r', 2, 1, 48}, {'\n', 2, 1, 48}, {ANY, 0, 0, 0}};
constexpr B_ACTION cnv_textEsc47[] = {
    {']', 2, 1, 46}, {'\'', 0, 0, 0}, {'"', 0, 0, 0}, {END, 0, 0, 0}, {ANY, 2, 1, 47}};
constexpr B_ACTION cnv_textEsc48[] = {{' ', 2, 1, 48},  {'\t', 2, 1, 48}, {'\r', 2, 1, 48},
                                      {'\n', 2, 1, 48}, {'s', 2, 1, 49},  {ANY, 0, 0, 0}};
constexpr B_ACTION cnv_textEsc49[] = {{'t', 2, 1, 50}, {ANY, 0, 0, 0}};
constexpr B_ACTION cnv_textEsc50[] = {{'{', 2, 1, 0}, {'\'', 0, 0, 0}, {'"', 0, 0, 0},
                                      {'-', 0, 0, 0}, {'}', 0, 0, 0},  {';', 0, 0, 0},
                                      {END, 0, 0, 0}, {ANY, 2, 1, 50}};
constexpr B_ACTION cnv_textEsc51[] = {{'p', 2, 1, 52}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc52[] = {{'e', 2, 1, 53}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc53[] = {{' ', 2, 1, 53},  {'\t', 2, 1, 53}, {'\r', 2, 1, 53},
                                      {'\n', 2, 1, 53}, {'\'', 2, 1, 54}, {ANY, 4, 0, -1}};
constexpr B_ACTION cnv_textEsc54[] = {{END, 4, 0, -1}, {ANY, 2, 1, 55}};
constexpr B_ACTION cnv_textEsc55[] = {{'\'', 2, 1, 33}, {ANY, 4, 0, -1}};
// The literal of d, t, ts, in single or double quotes; then quotes in the rest.
constexpr B_ACTION cnv_textEsc56[] = {{'\'', 2, 1, 33}, {END, 4, 0, -1}, {ANY, 2, 1, 56}};
constexpr B_ACTION cnv_textEsc57[] = {{'"', 2, 1, 33}, {END, 4, 0, -1}, {ANY, 2, 1, 57}};
constexpr B_ACTION cnv_textEsc58[] = {{'"', 2, 1, 33}, {END, 4, 0, -1}, {ANY, 2, 1, 58}};

constexpr const B_ACTION *EscStateTable[CNV_ESC_STATES] = {
    cnv_textEsc0,  cnv_textEsc1,  cnv_textEsc2,  cnv_textEsc3,  cnv_textEsc4,  cnv_textEsc5,
    cnv_textEsc6,  cnv_textEsc7,  cnv_textEsc8,  cnv_textEsc9,  cnv_textEsc10, cnv_textEsc11,
    cnv_textEsc12, cnv_textEsc13, cnv_textEsc14, cnv_textEsc15, cnv_textEsc16, cnv_textEsc17,
    cnv_textEsc18, cnv_textEsc19, cnv_textEsc20, cnv_textEsc21, cnv_textEsc22, cnv_textEsc23,
    cnv_textEsc24, cnv_textEsc25, cnv_textEsc26, cnv_textEsc27, cnv_textEsc28, cnv_textEsc29,
    cnv_textEsc30, cnv_textEsc31, cnv_textEsc32, cnv_textEsc33, cnv_textEsc34, cnv_textEsc35,
    cnv_textEsc36, cnv_textEsc37, cnv_textEsc38, cnv_textEsc39, cnv_textEsc40, cnv_textEsc41,
    cnv_textEsc42, cnv_textEsc43, cnv_textEsc44, cnv_textEsc45, cnv_textEsc46, cnv_textEsc47,
    cnv_textEsc48, cnv_textEsc49, cnv_textEsc50, cnv_textEsc51, cnv_textEsc52, cnv_textEsc53,
    cnv_textEsc54, cnv_textEsc55, cnv_textEsc56, cnv_textEsc57, cnv_textEsc58};
constexpr auto cnv_textEscDense = cnv_textDense(EscStateTable);

// ---- The source text of a control block, terminated. A text whose
// terminator lies within tSrcLen is used in place; one without is copied, to
// a local buffer when short, else to the conversion's tag.
class CnvText {
  public:
    CnvText() = default;
    CnvText(const CnvText &) = delete;
    CnvText &operator=(const CnvText &) = delete;
    ~CnvText() { tag_.release(heap_); }

    ZEL_RETCODE init(const CNVCB *cb) {
        if (cb->pvSrc == nullptr) return cb->tSrcLen == 0 ? sOKAY : eINVNULLARG;
        const char *src = static_cast<const char *>(cb->pvSrc);
        const void *nul = cb->tSrcLen == 0 ? nullptr : std::memchr(src, 0, cb->tSrcLen);
        if (nul != nullptr) {
            str_ = src;
            len_ = size_t(static_cast<const char *>(nul) - src);
            return sOKAY;
        }
        len_ = cb->tSrcLen;
        char *copy = local_;
        if (len_ >= sizeof local_) {
            // The control block's tag; none at all gives eNOMEMORY.
            tag_ = cb->tag.type == CONV_TAG_TYPE_SUB     ? zel::detail::TagRef(cb->tag.u.sub)
                   : cb->tag.type == CONV_TAG_TYPE_STACK ? zel::detail::TagRef(cb->tag.u.stack)
                                                         : zel::detail::TagRef();
            ZEL_CHECK(tag_.alloc(len_ + 1, &heap_));
            copy = heap_;
        }
        std::memcpy(copy, src, len_);
        copy[len_] = '\0';
        str_ = copy;
        return sOKAY;
    }

    const char *str() const { return str_; }
    size_t len() const { return len_; }
    std::string_view view() const { return {str_, len_}; }

  private:
    const char *str_ = "";
    size_t len_ = 0;
    char *heap_ = nullptr;
    zel::detail::TagRef tag_;
    char local_[128];
};

/* Prepares a conversion: the control block, its text and its number. */
ZEL_RETCODE cnv_textOpen(const CNVCB *cb, CnvText *text) {
    if (cb == nullptr) return eINVNULLARG;
    return text->init(cb);
}

template <typename T>
void cnv_textStore(CNVCB *cb, const T &v) {
    if (cb->pvDst != nullptr) std::memcpy(cb->pvDst, &v, sizeof v);
}

/* Opens the text, sizes the result as one T, parses it with `parse` (text,
 * out value; a code) and stores it. */
template <typename T, typename Parse>
ZEL_RETCODE cnv_textParseInto(CNVCB *cb, Parse parse) {
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textOpen(cb, &text));
    cb->tSize = sizeof(T);
    T v;
    ZEL_CHECK(rc = parse(text.str(), &v));
    cnv_textStore(cb, v);
    return sOKAY;
}

/* The integer part alone of a number text that has a fraction: the sign and
 * the digits before the point, blanks in front left out. At most a sign and
 * 20 digits reach here. */
void cnv_textIntegerPart(std::string_view text, char *buf, size_t size) {
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n')) ++i;
    size_t n = 0;
    while (i < text.size() && text[i] != '.' && n + 1 < size) buf[n++] = text[i++];
    buf[n] = '\0';
}

constexpr double CNV_TWO_POW_63 = 9223372036854775808.0;
constexpr double CNV_TWO_POW_64 = 18446744073709551616.0;

/* Text into a 64-bit integer: sOKAY, or sTRUNCATE when a fraction was
 * dropped. Integer parts of more than 18 digits go through the integer
 * converter on their own, shorter ones through the double. */
ZEL_RETCODE cnv_textNumberForInt64(const CnvText &text, int64_t *pv) {
    // Plain integers of up to 18 digits, the common case, in one pass: the
    // value and code that the syntax table and psp_stratoi64 give them.
    const std::string_view s = text.view();
    const size_t first = !s.empty() && s[0] == '-' ? 1 : 0;
    if (s.size() > first && s.size() - first <= 18) {
        uint64_t acc = 0;
        size_t i = first;
        for (; i < s.size(); ++i) {
            const unsigned d = unsigned(static_cast<unsigned char>(s[i])) - '0';
            if (d > 9) break;
            acc = acc * 10 + d;
        }
        if (i == s.size()) {
            *pv = first != 0 ? -int64_t(acc) : int64_t(acc);
            return sOKAY;
        }
    }
    CnvNumber n;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textParseNumber(text.view(), &n));
    if (n.mag > 19) return eRANGE;
    if (n.scale == 0) return psp_stratoi64(text.str(), pv);
    const int32_t width = n.mag + (n.sign < 0 ? 1 : 0);
    if (width > 18) {
        char part[24];
        cnv_textIntegerPart(text.view(), part, sizeof part);
        ZEL_CHECK(rc = psp_stratoi64(part, pv));
        return sTRUNCATE;
    }
    double d;
    ZEL_CHECK(rc = psp_strToDouble(text.str(), &d, n.mag, n.scale, 0));
    d = d < 0 ? psp_mathDoubleCeil(d) : psp_mathDoubleFloor(d);
    // An exponent can carry a short integer part past 64 bits.
    if (!(d >= -CNV_TWO_POW_63 && d < CNV_TWO_POW_63)) return eRANGE;
    *pv = int64_t(d);
    return sTRUNCATE;
}

template <typename T>
ZEL_RETCODE cnv_textToNarrow(CNVCB *cb) {
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textOpen(cb, &text));
    cb->tSize = sizeof(T);
    int64_t v;
    ZEL_CHECK(rc = cnv_textNumberForInt64(text, &v));
    if constexpr (std::is_signed_v<T>) {
        if (v < std::numeric_limits<T>::min() || v > std::numeric_limits<T>::max()) return eRANGE;
    } else {
        // Judged as an unsigned 64-bit number, so a negative text is out of range.
        if (uint64_t(v) > std::numeric_limits<T>::max()) return eRANGE;
    }
    cnv_textStore(cb, T(v));
    return rc;
}

template <typename T>
ZEL_RETCODE cnv_textToFloating(CNVCB *cb, int32_t exptMax) {
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textOpen(cb, &text));
    cb->tSize = sizeof(T);
    CnvNumber n;
    ZEL_CHECK(rc = cnv_textParseNumber(text.view(), &n));
    if (n.expt < -exptMax || n.expt > exptMax) return eRANGE;
    T v;
    if constexpr (std::is_same_v<T, float>) {
        ZEL_CHECK(rc = psp_strToFloat(text.str(), &v, n.mag, n.scale, 0));
    } else {
        ZEL_CHECK(rc = psp_strToDouble(text.str(), &v, n.mag, n.scale, 0));
    }
    cnv_textStore(cb, v);
    return rc;
}

int cnv_textHexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

/* Reorders a date written in date_format with date_sep into "Y-M-D", the
 * text after a blank in the third piece left out when the text is longer
 * than a date. */
ZEL_RETCODE cnv_textDateRewrite(std::string_view text, ZEL_DATE_FORMAT fmt, char sep, char *buf,
                                size_t size) {
    const size_t p1 = text.find(sep);
    if (p1 == std::string_view::npos) return eINVLITERAL;
    const size_t p2 = text.find(sep, p1 + 1);
    if (p2 == std::string_view::npos) return eINVLITERAL;
    std::string_view a = text.substr(0, p1);
    std::string_view b = text.substr(p1 + 1, p2 - p1 - 1);
    std::string_view c = text.substr(p2 + 1);
    if (text.size() > 10) {
        const size_t blank = c.find(' ');
        if (blank == std::string_view::npos) return eINVLITERAL;
        c = c.substr(0, blank);
    }
    std::string_view y, m, d;
    switch (fmt) {
        case ZEL_MMDDYYYY:
            y = c, m = a, d = b;
            break;
        case ZEL_DDMMYYYY:
            y = c, m = b, d = a;
            break;
        case ZEL_YYYYMMDD:
            y = a, m = b, d = c;
            break;
        default:
            return eINVDATEFMT;
    }
    size_t n = 0;
    auto put = [&](std::string_view piece) {
        for (char ch : piece) {
            if (n + 1 < size) buf[n++] = ch;
        }
    };
    put(y);
    put("-");
    put(m);
    put("-");
    put(d);
    buf[n] = '\0';
    return sOKAY;
}

// ---- Escape rewriting: one pass that writes only when `out` is not null.

constexpr size_t CNV_ESC_TEXT_MAX = 65534;  // positions count in 16 bits

struct CnvEscSink {
    char *out = nullptr;  // null for a dry run
    size_t room = 0;      // bytes of out; what passes it is counted, not written
    size_t pos = 0;       // bytes produced, the terminator included
    char hold[8];
    size_t held = 0;
    ZEL_RETCODE rc = sOKAY;

    void put(char c) {
        if (pos < room) out[pos] = c;
        ++pos;
    }
};

ZEL_RETCODE cnv_textEscapes(std::string_view text, CnvEscSink *sink) {
    cnv_textRun(EscStateTable, cnv_textEscDense, text, 0, [sink](int16_t rule, char c) {
        switch (rule) {
            case CNV_ESC_HOLD:
                if (sink->held < sizeof sink->hold) sink->hold[sink->held++] = c;
                break;
            case CNV_ESC_COPY:
                sink->put(c);
                break;
            case CNV_ESC_FLUSH:
                for (size_t i = 0; i < sink->held; ++i) sink->put(sink->hold[i]);
                sink->held = 0;
                break;
            case CNV_ESC_FAIL:
                sink->rc = eESCAPE;
                break;
            case CNV_ESC_AT:
                sink->put('@');
                break;
            case CNV_ESC_DROP:
                sink->held = 0;
                break;
            default:
                break;
        }
    });
    return sink->rc;
}

}  // namespace

namespace zel::detail {

std::span<const B_ACTION *const> cnv_textNumStates() {
    return numStateTable;
}
std::span<const B_ACTION *const> cnv_textDateStates() {
    return dateStateTable;
}
std::span<const B_ACTION *const> cnv_textEscStates() {
    return EscStateTable;
}

}  // namespace zel::detail

ZEL_RETCODE convert_parseNumber(const char *szNum, int32_t *sign, int32_t *mag, int32_t *scale,
                                int32_t *expt) {
    if (szNum == nullptr) return eINVNULLARG;
    CnvNumber n;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textParseNumber(szNum, &n));
    if (sign != nullptr) *sign = n.sign;
    if (mag != nullptr) *mag = n.mag;
    if (scale != nullptr) *scale = n.scale;
    if (expt != nullptr) *expt = n.expt;
    return sOKAY;
}

ZEL_RETCODE cnv_stringToBoolean(CNVCB *cb) {
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textOpen(cb, &text));
    cb->tSize = 1;
    CnvNumber n;
    rc = cnv_textParseNumber(text.view(), &n);
    uint8_t b;
    if (rc == sOKAY) {
        if (n.scale == 0) {
            int64_t v;
            ZEL_CHECK(rc = psp_stratoi64(text.str(), &v));
            b = v != 0;
        } else {
            // A fraction is judged by its value: "0.0" is false, "0.5" true.
            double d;
            ZEL_CHECK(rc = psp_strToDouble(text.str(), &d, n.mag, n.scale, 0));
            b = d != 0.0;
        }
    } else if (rc == eINVLITERAL) {
        if (psp_strcasecmp(text.str(), "TRUE") == 0 || psp_strcasecmp(text.str(), "YES") == 0) {
            b = 1;
        } else if (psp_strcasecmp(text.str(), "FALSE") == 0 ||
                   psp_strcasecmp(text.str(), "NO") == 0) {
            b = 0;
        } else {
            return eINVLITERAL;
        }
        rc = sOKAY;
    } else {
        return rc;
    }
    cnv_textStore(cb, b);
    return rc;
}

ZEL_RETCODE cnv_stringToBinary(CNVCB *cb) {
    if (cb == nullptr) return eINVNULLARG;
    if (cb->pvSrc == nullptr && cb->tSrcLen != 0) return eINVNULLARG;
    // The length holds the terminator: an even one means an odd digit count.
    if (cb->tSrcLen % 2 == 0) return eINVBINLITERAL;
    const char *src = static_cast<const char *>(cb->pvSrc);
    size_t count = (cb->tSrcLen - 1) / 2;
    if (count > 0 && src[0] == '0' && (src[1] == 'x' || src[1] == 'X')) {
        --count;
        src += 2;
    }
    if (cb->pvDst == nullptr) {
        cb->tSize = count;
        return sOKAY;
    }
    ZEL_RETCODE rc = sOKAY;
    if (count > cb->tDstLen) {
        count = cb->tDstLen;
        rc = sTRUNCATE;
    }
    // Check the pairs first, so that a bad text leaves the destination alone.
    size_t done = 0;
    for (; done < count; ++done) {
        const char hi = src[2 * done], lo = src[2 * done + 1];
        if (hi == '\0' || lo == '\0') break;  // a terminator ends the work early
        if (cnv_textHexValue(hi) < 0 || cnv_textHexValue(lo) < 0) return eINVBINLITERAL;
    }
    auto *dst = static_cast<uint8_t *>(cb->pvDst);
    for (size_t i = 0; i < done; ++i) {
        dst[i] = uint8_t(cnv_textHexValue(src[2 * i]) << 4 | cnv_textHexValue(src[2 * i + 1]));
    }
    cb->offset += done;
    cb->tSize = done;
    return rc;
}

ZEL_RETCODE cnv_stringToInt8(CNVCB *cb) {
    return cnv_textToNarrow<int8_t>(cb);
}
ZEL_RETCODE cnv_stringToUInt8(CNVCB *cb) {
    return cnv_textToNarrow<uint8_t>(cb);
}
ZEL_RETCODE cnv_stringToInt16(CNVCB *cb) {
    return cnv_textToNarrow<int16_t>(cb);
}
ZEL_RETCODE cnv_stringToUInt16(CNVCB *cb) {
    return cnv_textToNarrow<uint16_t>(cb);
}
ZEL_RETCODE cnv_stringToInt32(CNVCB *cb) {
    return cnv_textToNarrow<int32_t>(cb);
}
ZEL_RETCODE cnv_stringToUInt32(CNVCB *cb) {
    return cnv_textToNarrow<uint32_t>(cb);
}

ZEL_RETCODE cnv_stringToInt64(CNVCB *cb) {
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textOpen(cb, &text));
    cb->tSize = sizeof(int64_t);
    int64_t v;
    ZEL_CHECK(rc = cnv_textNumberForInt64(text, &v));
    cnv_textStore(cb, v);
    return rc;
}

ZEL_RETCODE cnv_stringToUInt64(CNVCB *cb) {
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textOpen(cb, &text));
    cb->tSize = sizeof(uint64_t);
    CnvNumber n;
    ZEL_CHECK(rc = cnv_textParseNumber(text.view(), &n));
    if (n.mag > 20) return eRANGE;
    uint64_t v;
    if (n.scale > 0) {
        if (n.mag > 18) {
            char part[24];
            cnv_textIntegerPart(text.view(), part, sizeof part);
            ZEL_CHECK(rc = psp_stratoui64(part, &v));
        } else {
            double d;
            ZEL_CHECK(rc = psp_strToDouble(text.str(), &d, n.mag, n.scale, 0));
            d = d < 0 ? psp_mathDoubleCeil(d) : psp_mathDoubleFloor(d);
            if (d < 0 || !(d < CNV_TWO_POW_64)) return eRANGE;  // -0.5 gives 0, not eRANGE
            v = uint64_t(d);
        }
        rc = sTRUNCATE;
    } else {
        if (n.sign < 0) return eRANGE;
        ZEL_CHECK(rc = psp_stratoui64(text.str(), &v));
    }
    cnv_textStore(cb, v);
    return rc;
}

ZEL_RETCODE cnv_stringToFloat(CNVCB *cb) {
    return cnv_textToFloating<float>(cb, CNV_FLOAT_EXP_MAX);
}

ZEL_RETCODE cnv_stringToDouble(CNVCB *cb) {
    return cnv_textToFloating<double>(cb, CNV_EXP_MAX);
}

ZEL_RETCODE cnv_stringToDecimal(CNVCB *cb) {
    if (cb == nullptr) return eINVNULLARG;
    if (cb->pvDst == nullptr) {
        cb->tSize = sizeof(ZEL_BCD_T);
        return sOKAY;
    }
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = text.init(cb));
    ZEL_BCD_T b;
    rc = zel_bcdFromString(text.str(), &b);
    if (rc == eRANGE) return eINVLITERAL;
    if (rc < 0) return rc;
    // sPRECISIONLOSS keeps the cut value but leaves tSize alone.
    std::memcpy(cb->pvDst, &b, sizeof b);
    if (rc == sOKAY) cb->tSize = sizeof(ZEL_BCD_T);
    return rc;
}

ZEL_RETCODE cnv_stringToDate(CNVCB *cb) {
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textOpen(cb, &text));
    cb->tSize = sizeof(ZEL_PACKED_DATE_T);
    if (text.len() < 8 || text.len() > 25) return eINVLITERAL;
    char buf[25];
    std::string_view view = text.view();
    if (cb->date_format != ZEL_YYYYMMDD || cb->date_sep != '-') {
        ZEL_CHECK(rc = cnv_textDateRewrite(view, cb->date_format, cb->date_sep, buf, sizeof buf));
        view = buf;
    }
    uint16_t year = 0, month = 0, day = 0;
    bool bad = false;
    cnv_textRun(dateStateTable, cnv_textDateDense, view, 0, [&](int16_t rule, char c) {
        const auto digit = uint16_t(c - '0');
        switch (rule) {
            case CNV_DATE_BAD:
                bad = true;
                break;
            case CNV_DATE_YEAR:
                year = uint16_t(year * 10 + digit);
                break;
            case CNV_DATE_MONTH:
                month = uint16_t(month * 10 + digit);
                break;
            case CNV_DATE_DAY:
                day = uint16_t(day * 10 + digit);
                break;
            default:
                break;
        }
    });
    if (bad) return eINVLITERAL;
    const ZEL_DATE_T cd{year, month, day};
    ZEL_PACKED_DATE_T dt;
    ZEL_CHECK(rc = zel_datePack(&cd, &dt));
    cnv_textStore(cb, dt);
    return sOKAY;
}

ZEL_RETCODE cnv_stringToTime(CNVCB *cb) {
    return cnv_textParseInto<ZEL_PACKED_TIME_T>(cb, zel_timeFromString);
}

ZEL_RETCODE cnv_stringToTimeTZ(CNVCB *cb) {
    return cnv_textParseInto<ZEL_PACKED_TIMETZ_T>(cb, dt_timetzFromString);
}

ZEL_RETCODE cnv_stringToTimestamp(CNVCB *cb) {
    return cnv_textParseInto<ZEL_PACKED_TIMESTAMP_T>(
        cb, [cb](const char *s, ZEL_PACKED_TIMESTAMP_T *v) {
            return dt_timestampFromString(s, cb->date_format, v);
        });
}

ZEL_RETCODE cnv_stringToTimestampTZ(CNVCB *cb) {
    return cnv_textParseInto<ZEL_PACKED_TIMESTAMPTZ_T>(
        cb, [cb](const char *s, ZEL_PACKED_TIMESTAMPTZ_T *v) {
            return dt_timestamptzFromString(s, cb->date_format, v);
        });
}

ZEL_RETCODE cnv_stringToRowid(CNVCB *cb) {
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textOpen(cb, &text));
    cb->tSize = sizeof(ZEL_ROWID_T);
    CnvNumber n;
    ZEL_CHECK(rc = cnv_textParseNumber(text.view(), &n));
    if (n.mag > 19) return eRANGE;
    if (n.scale > 0) return eTYPEMISMATCH;
    int64_t v;
    ZEL_CHECK(rc = psp_stratoi64(text.str(), &v));
    cnv_textStore(cb, ZEL_ROWID_T(v));
    return sOKAY;
}

ZEL_RETCODE cnv_stringToUuid(CNVCB *cb) {
    if (cb == nullptr) return eINVNULLARG;
    cb->tSize = sizeof(ZEL_UUID_T);
    if (cb->pvDst == nullptr) return sOKAY;
    CnvText text;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = text.init(cb));
    ZEL_UUID_T u;
    if (zel_uuidFromString(text.str(), &u) != sOKAY) return eINVLITERAL;
    cnv_textStore(cb, u);
    return sOKAY;
}

ZEL_RETCODE b_convertEscapesToSQL(const char *pszIn, char *pszOut, size_t tOutLen,
                                  size_t *ptResLen) {
    if (pszIn == nullptr || pszOut == nullptr) return eINVNULLARG;
    const std::string_view text(pszIn);
    if (text.size() > CNV_ESC_TEXT_MAX) return eRANGE;
    // A dry run first: a broken clause then leaves the output untouched, and
    // the size is known before anything is written.
    CnvEscSink dry;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_textEscapes(text, &dry));
    size_t len = dry.pos - 1;
    if (tOutLen == 0) {
        if (ptResLen != nullptr) *ptResLen = 0;
        return sTRUNCATE;
    }
    if (dry.pos > tOutLen) {
        rc = sTRUNCATE;
        len = tOutLen - 1;
    }
    CnvEscSink sink;
    sink.out = pszOut;
    sink.room = tOutLen;
    (void)cnv_textEscapes(text, &sink);  // the dry run has passed
    pszOut[len] = '\0';
    if (ptResLen != nullptr) *ptResLen = len;
    return rc;
}

double b_convertAsciiToDouble(const char *str) {
    return psp_stratof(str);
}
