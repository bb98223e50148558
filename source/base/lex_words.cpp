/*
 * lex_words.cpp - the 288 SQL reserved words and their lookup.
 *
 * The one idea: the table is in the order psp_strcasecmp compares in (a
 * lower-case fold), which the compiler checks, so a binary search with it
 * finds every word in any letter case; the search begins within the words of
 * the first two letters, from a table built at compile time.
 */
#include "lex_words.h"

#include <array>
#include <cstdint>
#include <iterator>

#include "psp.h"

namespace {

// Sorted under a lower-case fold, the order of psp_strcasecmp: "_" and "-"
// come before the letters ("CHAR_LENGTH" before "CHARACTER").
// clang-format off
constexpr const char *sql_reserved_words[] = {
    "ABS", "ALL", "ALLOCATE", "ALTER", "AND", "ANY", "ARE", "ARRAY", "AS", "ASENSITIVE",
    "ASYMMETRIC", "AT", "ATOMIC", "AUTHORIZATION", "AVG", "BEGIN", "BETWEEN", "BIGINT", "BINARY",
    "BLOB", "BOOLEAN", "BOTH", "BY", "CALL", "CALLED", "CARDINALITY", "CASCADED", "CASE", "CAST",
    "CEIL", "CEILING", "CHAR", "CHAR_LENGTH", "CHARACTER", "CHARACTER_LENGTH", "CHECK", "CLOB",
    "CLOSE", "COALESCE", "COLLATE", "COLLECT", "COLUMN", "COMMIT", "CONDITION", "CONNECT",
    "CONSTRAINT", "CONVERT", "CORR", "CORRESPONDING", "COUNT", "COVAR_POP", "COVAR_SAMP", "CREATE",
    "CROSS", "CUBE", "CUME_DIST", "CURRENT", "CURRENT_DATE", "CURRENT_DEFAULT_TRANSFORM_GROUP",
    "CURRENT_PATH", "CURRENT_ROLE", "CURRENT_TIME", "CURRENT_TIMESTAMP",
    "CURRENT_TRANSFORM_GROUP_FOR_TYPE", "CURRENT_USER", "CURSOR", "DATE", "DAY", "DEALLOCATE",
    "DEC", "DECIMAL", "DECLARE", "DEFAULT", "DELETE", "DENSE_RANK", "DEREF", "DESCRIBE",
    "DETERMINISTIC", "DISCONNECT", "DISTINCT", "DOUBLE", "DROP", "DYNAMIC", "EACH", "ELEMENT",
    "ELSE", "END", "END-EXEC", "ESCAPE", "EVERY", "EXCEPT", "EXEC", "EXECUTE", "EXISTS", "EXP",
    "EXTERNAL", "EXTRACT", "FALSE", "FETCH", "FILTER", "FLOAT", "FLOOR", "FOR", "FOREIGN", "FREE",
    "FROM", "FULL", "FUNCTION", "FUSION", "GET", "GLOBAL", "GRANT", "GROUP", "GROUPING", "HAVING",
    "HOLD", "HOUR", "IDENTITY", "IN", "INDICATOR", "INNER", "INOUT", "INSENSITIVE", "INSERT", "INT",
    "INTEGER", "INTERSECT", "INTERSECTION", "INTERVAL", "INTO", "IS", "JOIN", "LANGUAGE", "LARGE",
    "LATERAL", "LEADING", "LEFT", "LIKE", "LN", "LOCAL", "LOCALTIME", "LOCALTIMESTAMP", "LOWER",
    "MATCH", "MAX", "MEMBER", "MERGE", "METHOD", "MIN", "MINUTE", "MOD", "MODIFIES", "MODULE",
    "MONTH", "MULTISET", "NATIONAL", "NATURAL", "NCHAR", "NCLOB", "NEW", "NO", "NONE", "NORMALIZE",
    "NOT", "NULL", "NULLIF", "NUMERIC", "OCTET_LENGTH", "OF", "OLD", "ON", "ONLY", "OPEN", "OR",
    "ORDER", "OUT", "OUTER", "OVER", "OVERLAPS", "OVERLAY", "PARAMETER", "PARTITION",
    "PERCENT_RANK", "PERCENTILE_CONT", "PERCENTILE_DISC", "POSITION", "POWER", "PRECISION",
    "PREPARE", "PRIMARY", "PROCEDURE", "RANGE", "READ", "READS", "REAL", "RECURSIVE", "REF",
    "REFERENCES", "REFERENCING", "REGR_AVGX", "REGR_AVGY", "REGR_COUNT", "REGR_INTERCEPT",
    "REGR_R2", "REGR_SLOPE", "REGR_SXX", "REGR_SXY", "REGR_SYY", "RELEASE", "RESULT", "RETURN",
    "RETURNS", "REVOKE", "RIGHT", "ROLLBACK", "ROLLUP", "ROW", "ROW_NUMBER", "ROWS", "SAVEPOINT",
    "SCOPE", "SCROLL", "SEARCH", "SECOND", "SELECT", "SENSITIVE", "SESSION_USER", "SET", "SIMILAR",
    "SMALLINT", "SOME", "SPECIFIC", "SPECIFICTYPE", "SQL", "SQLEXCEPTION", "SQLSTATE", "SQLWARNING",
    "SQRT", "START", "STATIC", "STDDEV_POP", "STDDEV_SAMP", "SUBMULTISET", "SUBSTRING", "SUM",
    "SYMMETRIC", "SYSTEM", "SYSTEM_USER", "TABLE", "TABLESAMPLE", "THEN", "TIME", "TIMESTAMP",
    "TIMEZONE_HOUR", "TIMEZONE_MINUTE", "TO", "TRAILING", "TRANSACTION", "TRANSLATE", "TRANSLATION",
    "TREAT", "TRIGGER", "TRIM", "TRUE", "UESCAPE", "UNION", "UNIQUE", "UNKNOWN", "UNNEST", "UPDATE",
    "UPPER", "USER", "USING", "VALUE", "VALUES", "VAR_POP", "VAR_SAMP", "VARCHAR", "VARYING",
    "WHEN", "WHENEVER", "WHERE", "WIDTH_BUCKET", "WINDOW", "WITH", "WITHIN", "WITHOUT", "YEAR"
};
// clang-format on
constexpr int kReservedCount = static_cast<int>(std::size(sql_reserved_words));
static_assert(kReservedCount == 288);

constexpr int lex_foldLower(char c) {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
}

constexpr int lex_foldCompare(const char *a, const char *b) {
    for (;; ++a, ++b) {
        const int ca = lex_foldLower(*a), cb = lex_foldLower(*b);
        if (ca != cb || ca == 0) return ca - cb;
    }
}

constexpr bool lex_reservedSorted() {
    for (int i = 1; i < kReservedCount; ++i) {
        if (lex_foldCompare(sql_reserved_words[i - 1], sql_reserved_words[i]) >= 0) return false;
    }
    return true;
}
static_assert(lex_reservedSorted(), "the binary search needs the lower-case fold order");

// The search starts inside the words of the first two letters: for a pair
// of letters at places p and q in the alphabet, [start[k], start[k + 1]) with
// k = 26p + q. Every word begins with two letters, and the fold order keeps
// the words of a pair together.
constexpr int lex_letterPlace(char c) {
    const int l = lex_foldLower(c) - 'a';
    return l >= 0 && l < 26 ? l : -1;
}

struct LexPairRanges {
    std::array<int16_t, 26 * 26 + 1> start{};
};
constexpr LexPairRanges kPairRanges = [] {
    LexPairRanges r{};
    int i = 0;
    for (int k = 0; k < 26 * 26; ++k) {
        r.start[k] = static_cast<int16_t>(i);
        while (i < kReservedCount && lex_letterPlace(sql_reserved_words[i][0]) * 26 +
                                             lex_letterPlace(sql_reserved_words[i][1]) ==
                                         k) {
            ++i;
        }
    }
    r.start[26 * 26] = static_cast<int16_t>(i);
    return r;
}();
static_assert(kPairRanges.start[26 * 26] == kReservedCount,
              "every reserved word begins with two letters");

}  // namespace

ZEL_BOOL_T b_lexSQLReserved(const char *id) {
    if (id == nullptr) return ZEL_FALSE;
    // A binary search with psp_strcasecmp, begun within the words of the
    // first two letters: the same answer as over all 288, in a few steps.
    const int p = lex_letterPlace(id[0]);
    const int q = p >= 0 ? lex_letterPlace(id[1]) : -1;
    if (q < 0) return ZEL_FALSE;
    int lo = kPairRanges.start[p * 26 + q];
    int hi = kPairRanges.start[p * 26 + q + 1] - 1;
    while (lo <= hi) {
        const int mid = (lo + hi) / 2;
        // The first two letters are equal under the fold: compare the rest.
        const int cmp = psp_strcasecmp(id + 2, sql_reserved_words[mid] + 2);
        if (cmp == 0) return ZEL_TRUE;
        if (cmp < 0) {
            hi = mid - 1;
        } else {
            lo = mid + 1;
        }
    }
    return ZEL_FALSE;
}
