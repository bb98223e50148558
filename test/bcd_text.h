// bcd_text.h - decimals from and to text for the tests of the decimal
// modules, and the short names of the codes their vector files use.
#ifndef BCD_TEXT_H
#define BCD_TEXT_H

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "bcd.h"

// `s` read as a decimal: the code must be `expect`, or any success when
// `expect` is 1.
inline ZEL_BCD_T Parse(const std::string &s, ZEL_RETCODE expect = static_cast<ZEL_RETCODE>(1)) {
    ZEL_BCD_T b;
    const ZEL_RETCODE rc = zel_bcdFromString(s.c_str(), &b);
    EXPECT_TRUE(expect == 1 ? rc >= 0 : rc == expect) << s << " gave " << rc;
    return b;
}

inline std::string Text(const ZEL_BCD_T &b, bool use_exp = false, uint8_t scale = 255) {
    char buf[400];
    uint32_t n = 0;
    EXPECT_EQ(
        zel_bcdToStringWithScale(&b, scale, use_exp ? ZEL_TRUE : ZEL_FALSE, buf, sizeof buf, &n),
        sOKAY);
    EXPECT_EQ(n, std::strlen(buf) + 1);
    return buf;
}

inline std::string CodeName(ZEL_RETCODE rc) {
    // clang-format off
    return rc == sOKAY ? "OK" : rc == sPRECISIONLOSS ? "LOSS" : rc == eRANGE ? "RANGE"
         : rc == eNOTANUMBER ? "NAN" : rc == eDIVBY0 ? "DIVBY0" : std::to_string(rc);
    // clang-format on
}

#endif
