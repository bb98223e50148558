/*
 * ascii.cpp - locale-free character classes by range tests on the value.
 * The blank class deliberately takes in every value below 33 (controls and
 * negative values too), so a scanner skips any junk below the blank at once.
 */
#include "ascii.h"

namespace {

constexpr bool b_isInRange(int c, char lo, char hi) {
    return c >= lo && c <= hi;
}

constexpr ZEL_BOOL_T b_isBool(bool b) {
    return b ? ZEL_TRUE : ZEL_FALSE;
}

}  // namespace

ZEL_BOOL_T b_isspace(int c) {
    return b_isBool(c < 33);
}

ZEL_BOOL_T b_isdigit(int c) {
    return b_isBool(b_isInRange(c, '0', '9'));
}

ZEL_BOOL_T b_isxdigit(int c) {
    return b_isBool(b_isInRange(c, '0', '9') || b_isInRange(c, 'a', 'f') ||
                    b_isInRange(c, 'A', 'F'));
}

ZEL_BOOL_T b_isalnum(int c) {
    return b_isBool(b_isInRange(c, '0', '9') || b_isInRange(c, 'a', 'z') ||
                    b_isInRange(c, 'A', 'Z'));
}

ZEL_BOOL_T b_isalpha(int c) {
    return b_isBool(b_isInRange(c, 'a', 'z') || b_isInRange(c, 'A', 'Z'));
}

ZEL_BOOL_T b_islower(int c) {
    return b_isBool(b_isInRange(c, 'a', 'z'));
}

ZEL_BOOL_T b_isupper(int c) {
    return b_isBool(b_isInRange(c, 'A', 'Z'));
}

int b_tolower(int c) {
    return b_isInRange(c, 'A', 'Z') ? c + 32 : c;
}

int b_toupper(int c) {
    return b_isInRange(c, 'a', 'z') ? c - 32 : c;
}
