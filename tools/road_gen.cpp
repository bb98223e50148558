// The random rows of the road (road.h): an INSERT text for a table of any
// catalogue, every column the road can fill given a value in its range,
// written in each literal form the lexer reads (signs, exponents, typed and
// Unicode literals, doubled quotes, escapes, binary and array literals).
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "road.h"
#include "schema.h"
#include "types.h"
#include "value_types.h"

namespace {

template <class T>
T road_pick(std::mt19937_64 &rng, T lo, T hi) {
    return std::uniform_int_distribution<T>(lo, hi)(rng);
}

bool road_chance(std::mt19937_64 &rng, int percent) {
    return road_pick(rng, 0, 99) < percent;
}

// A signed or unsigned integer of `bits`, small and large alike.
std::string road_random_int(std::mt19937_64 &rng, int bits, bool isSigned) {
    const int width = road_pick(rng, 1, isSigned ? bits - 1 : bits);
    uint64_t v = rng() & (width == 64 ? ~uint64_t{0} : (uint64_t{1} << width) - 1);
    std::string s;
    if (isSigned && road_chance(rng, 40)) {
        s = "-";
        if (road_chance(rng, 5)) v = uint64_t{1} << (bits - 1);  // the least value
    } else if (road_chance(rng, 5)) {
        s = "+";
    }
    return s + std::to_string(v);
}

std::string road_fmt(const char *f, double v) {
    char b[64];
    std::snprintf(b, sizeof b, f, v);
    return b;
}

// A float or double in exponent form, so that the lexer reads a double.
std::string road_random_float(std::mt19937_64 &rng, bool isFloat) {
    const double mant = std::uniform_real_distribution<double>(1.0, 10.0)(rng);
    double v = std::ldexp(mant, road_pick(rng, -40, 40));
    if (road_chance(rng, 5)) v = 0;
    if (isFloat) v = static_cast<float>(v);
    const std::string s = road_fmt(isFloat ? "%.9e" : "%.17e", v);
    return road_chance(rng, 30) ? "-" + s : s;
}

std::string road_digits(std::mt19937_64 &rng, int n) {
    std::string s;
    for (int i = 0; i < n; ++i) s += static_cast<char>('0' + road_pick(rng, 0, 9));
    return s;
}

std::string road_random_decimal(std::mt19937_64 &rng, int prec, int scale) {
    const int whole = road_pick(rng, 0, std::max(0, prec - scale));
    const int frac = road_pick(rng, 0, scale);
    std::string s = whole ? road_digits(rng, whole) : "0";
    if (frac) s += "." + road_digits(rng, frac);
    if (road_chance(rng, 20)) return "'" + std::string(road_chance(rng, 50) ? "-" : "") + s + "'";
    return road_chance(rng, 40) ? "-" + s : s;
}

std::string road_random_date(std::mt19937_64 &rng) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const int y = road_pick(rng, 1, 9999), m = road_pick(rng, 1, 12);
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    const int d = road_pick(rng, 1, days[m - 1] + (m == 2 && leap ? 1 : 0));
    char b[16];
    std::snprintf(b, sizeof b, "%04d-%02d-%02d", y, m, d);
    return b;
}

std::string road_random_time(std::mt19937_64 &rng) {
    char b[32];
    std::snprintf(b, sizeof b, "%02d:%02d:%02d", road_pick(rng, 0, 23), road_pick(rng, 0, 59),
                  road_pick(rng, 0, 59));
    std::string s = b;
    if (road_chance(rng, 70)) s += "." + road_digits(rng, road_pick(rng, 1, 4));
    return s;
}

std::string road_random_zone(std::mt19937_64 &rng) {
    const int q = road_pick(rng, -48, 56);  // quarter hours, -12:00 to +14:00
    char b[16];
    std::snprintf(b, sizeof b, "%s%c%02d:%02d", road_chance(rng, 50) ? " " : "", q < 0 ? '-' : '+',
                  std::abs(q) / 4, std::abs(q) % 4 * 15);
    return b;
}

std::string road_random_uuid(std::mt19937_64 &rng) {
    std::string s;
    static const char hex[] = "0123456789abcdef";
    for (int i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20) s += '-';
        s += hex[road_pick(rng, 0, 15)];
    }
    return road_chance(rng, 30) ? "{" + s + "}" : s;
}

std::string road_random_binary(std::mt19937_64 &rng, size_t n) {
    std::string s = road_chance(rng, 50) ? "X'" : "x'";
    char b[4];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(b, sizeof b, road_chance(rng, 50) ? "%02X" : "%02x",
                      road_pick<unsigned>(rng, 0, 255));
        s += b;
    }
    return s + "'";
}

// Text of at most `chars` characters: quotes doubled, a backslash escaped,
// now and then a character past ASCII, written through a Unicode literal.
std::string road_random_text(std::mt19937_64 &rng, size_t chars) {
    static const char plain[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 '\\,;()-";
    static const uint32_t wide[] = {0xE9, 0xDF, 0x20AC, 0x4E2D, 0x1D11E};
    const size_t n = road_pick<size_t>(rng, 0, chars);
    const bool unicode = road_chance(rng, 20);
    std::string s = unicode ? "U&'" : "'";
    for (size_t i = 0; i < n; ++i) {
        if (unicode && road_chance(rng, 30)) {
            const uint32_t c = wide[road_pick<size_t>(rng, 0, 4)];
            char b[16];
            std::snprintf(b, sizeof b, c > 0xFFFF ? "\\+%06X" : "\\%04X", c);
            s += b;
            continue;
        }
        const char c = plain[road_pick<size_t>(rng, 0, sizeof plain - 2)];
        if (c == '\'')
            s += "''";
        else if (c == '\\')
            s += "\\\\";
        else
            s += c;
    }
    return s + "'";
}

// A literal for one value of column `ci`, empty when the road cannot fill
// the type (UTF-16 text, which the conversion engine has no functions for).
std::string road_random_value(SCH_COL_INFO_C ci, std::mt19937_64 &rng, bool scalar) {
    const ZEL_TYPE t = sch_col_data_type(ci);
    SCH_TYPE_INFO_C pi = sch_col_type_c(ci);
    if (!scalar && sch_col_num_elems(ci)) {
        std::string s = "ARRAY[";
        const int n = road_chance(rng, 10) ? road_pick(rng, 0, int{sch_col_num_elems(ci)})
                                           : sch_col_num_elems(ci);
        for (int i = 0; i < n; ++i) s += (i ? ", " : "") + road_random_value(ci, rng, true);
        return s + "]";
    }
    if (t & ZEL_TYPE_LOB_BIT) {
        if (t == ZEL_WCLOB) return "";
        return road_chance(rng, 50) ? road_random_binary(rng, road_pick(rng, 0, 8))
                                    : road_random_text(rng, 8);
    }
    switch (t) {
        case ZEL_BOOL:
            return road_chance(rng, 10) ? (road_chance(rng, 50) ? "1" : "0")
                                        : (road_chance(rng, 50) ? "TRUE" : "false");
        case ZEL_INT8:
            return road_random_int(rng, 8, true);
        case ZEL_UINT8:
            return road_random_int(rng, 8, false);
        case ZEL_INT16:
            return road_random_int(rng, 16, true);
        case ZEL_UINT16:
            return road_random_int(rng, 16, false);
        case ZEL_INT32:
            return road_random_int(rng, 32, true);
        case ZEL_UINT32:
            return road_random_int(rng, 32, false);
        case ZEL_INT64:
            return road_random_int(rng, 64, true);
        case ZEL_UINT64:
            return road_random_int(rng, 64, false);
        case ZEL_FLOAT:
            return road_random_float(rng, true);
        case ZEL_DOUBLE:
            return road_random_float(rng, false);
        case ZEL_BCD:
            return road_random_decimal(rng, sch_type_prec(pi), sch_type_scale(pi));
        case ZEL_DATE:
            return (road_chance(rng, 50) ? "DATE '" : "'") + road_random_date(rng) + "'";
        case ZEL_TIME:
            return (road_chance(rng, 50) ? "TIME '" : "'") + road_random_time(rng) + "'";
        case ZEL_TIMETZ:
            return "'" + road_random_time(rng) + road_random_zone(rng) + "'";
        case ZEL_TIMESTAMP:
            return (road_chance(rng, 50) ? "TIMESTAMP '" : "'") + road_random_date(rng) + " " +
                   road_random_time(rng) + "'";
        case ZEL_TIMESTAMPTZ:
            return "'" + road_random_date(rng) + " " + road_random_time(rng) +
                   road_random_zone(rng) + "'";
        case ZEL_UUID:
            return "'" + road_random_uuid(rng) + "'";
        case ZEL_CHAR:
        case ZEL_VARCHAR:
        case ZEL_WCHAR_UTF8:
        case ZEL_WVARCHAR_UTF8:
            // At most four bytes a character, and the terminator.
            return road_random_text(rng, (sch_col_byte_len(ci) - 1u) / 4u);
        case ZEL_BINARY:
            return road_random_binary(rng, sch_type_length(pi));
        case ZEL_VARBINARY:
            return road_random_binary(rng, road_pick<size_t>(rng, 0, sch_type_length(pi)));
        default:
            return "";
    }
}

// A name as the lexer reads it back: bare when it is a plain identifier,
// else in double quotes.
std::string road_quote(const char *name) {
    bool plain = name[0] != '\0' && !std::isdigit(static_cast<unsigned char>(name[0]));
    for (const char *p = name; *p; ++p)
        plain = plain && (std::isalnum(static_cast<unsigned char>(*p)) || *p == '_' || *p == '$');
    return plain ? name : "\"" + std::string(name) + "\"";
}

}  // namespace

std::string zb_road_random_insert(SCH_TBL_INFO_C ti, std::mt19937_64 &rng) {
    std::vector<std::pair<std::string, std::string>> cols;
    for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD)) {
        // Rowids are the engine's and references come from their joins:
        // neither is stored in the row's stream.
        if (sch_col_data_type(ci) == ZEL_ROWID || sch_col_ref(ci) != nullptr) continue;
        const bool nullable = !sch_col_not_null(ci);
        if (nullable && road_chance(rng, 8)) continue;
        std::string v =
            nullable && road_chance(rng, 12) ? "NULL" : road_random_value(ci, rng, false);
        if (!v.empty()) cols.emplace_back(road_quote(sch_col_name(ci)), v);
    }
    std::shuffle(cols.begin(), cols.end(), rng);
    std::string names, values;
    for (const auto &[n, v] : cols) {
        names += (names.empty() ? "" : ", ") + n;
        values += (values.empty() ? "" : ", ") + v;
    }
    return "INSERT INTO " + road_quote(sch_tbl_name(ti)) + " (" + names + ") VALUES (" + values +
           ");";
}
