// Tests of the exact decimal: vectors from Python's decimal module
// (test/data/gen_bcd.py), hand-worked stored bytes, the packed form's order and
// round-trip properties, and the edge cases the arithmetic keeps on purpose.
#include "bcd.h"
#include "bcd_kernel_internal.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "bcd_text.h"
#include "vectors.h"

namespace {

using BinOp = ZEL_RETCODE (*)(const ZEL_BCD_T *, const ZEL_BCD_T *, ZEL_BCD_ROUNDING_MODE,
                              ZEL_BCD_T *);

BinOp OpByName(const std::string &op) {
    if (op == "add") return zel_bcdAdd;
    if (op == "sub") return zel_bcdSub;
    if (op == "mul") return zel_bcdMult;
    return zel_bcdDiv;
}

// A random decimal of 1 to 32 digits and a scale of 0 to 32.
ZEL_BCD_T RandomBcd(std::mt19937_64 &rng, int maxdigits = 32) {
    std::uniform_int_distribution<int> nd(1, maxdigits), dig(0, 9), sc(0, 32);
    int n = nd(rng), scale = std::min(sc(rng), n);
    std::string s = (rng() & 1) ? "-" : "";
    for (int i = 0; i < n; ++i) {
        if (i == n - scale) s += '.';
        s += static_cast<char>('0' + dig(rng));
    }
    ZEL_BCD_T b;
    EXPECT_GE(zel_bcdFromString(s.c_str(), &b), 0);
    return b;
}

// Quotients of the first file within one unit in the last place; those of
// the second, from a model of the reciprocal method, digit for digit.
TEST(BcdOracle, ArithmeticMatchesDecimalModule) {
    for (const bool exactDiv : {false, true}) {
        const auto rows = vectors_read(exactDiv ? "good-bcd-divmethod.txt" : "good-bcd-arith.txt");
        ASSERT_GT(rows.size(), exactDiv ? 400u : 2000u);
        for (const VectorRow &row : rows) {
            const std::string &op = row[0], &a = row[2], &b = row[3], &want = row[4],
                              &code = row[5];
            const std::string line = a + " " + op + " " + b;
            ZEL_BCD_T l = Parse(a), r = Parse(b), res;
            const ZEL_RETCODE rc =
                OpByName(op)(&l, &r, static_cast<ZEL_BCD_ROUNDING_MODE>(std::stoi(row[1])), &res);
            if (op != "div" || exactDiv) {
                EXPECT_EQ(Text(res), want) << line;
                EXPECT_EQ(CodeName(rc), code) << line;
                continue;
            }
            ZEL_BCD_T w = Parse(want), diff, ulp;
            ASSERT_GE(zel_bcdSub(&res, &w, ZEL_BCD_ROUND_TOWARDS_ZERO, &diff), 0) << line;
            int q = w.prec == 0 ? -32 : std::max(w.exp - 32, -32);
            std::string u =
                q >= 0 ? "1" + std::string(q, '0') : "0." + std::string(-q - 1, '0') + "1";
            ulp = Parse(u);
            diff.sign = 1;
            EXPECT_NE(zel_bcdCompare(&diff, &ulp), ZEL_GT) << line << " got " << Text(res);
            EXPECT_EQ(rc == eRANGE, code == "RANGE") << line;
        }
    }
}

// Plain text of up to 40 digits to a work record, and back.
WORK_BCD WorkFromText(const std::string &text) {
    WORK_BCD w{};
    w.sign = text[0] == '-' ? -1 : 1;
    std::string digits;
    int intdigits = -1;
    for (char c : text) {
        if (c == '.') intdigits = static_cast<int>(digits.size());
        if (c >= '0' && c <= '9') digits += c;
    }
    if (intdigits < 0) intdigits = static_cast<int>(digits.size());
    size_t lead = digits.find_first_not_of('0');
    digits = digits.substr(lead);
    intdigits -= static_cast<int>(lead);
    w.prec = static_cast<uint8_t>(digits.size());
    w.exp = static_cast<int8_t>(intdigits);
    for (size_t i = 0; i < digits.size(); ++i)
        w.data[i + 1] = static_cast<uint8_t>(digits[i] - '0');
    return w;
}

std::string WorkText(const WORK_BCD &w) {
    std::string s = w.sign < 0 ? "-" : "";
    if (w.exp <= 0) s += "0." + std::string(-w.exp, '0');
    for (int i = 1; i <= w.prec; ++i) {
        s += static_cast<char>('0' + w.data[i]);
        if (i == w.exp && i < w.prec) s += '.';
    }
    for (int i = w.prec; i < w.exp; ++i) s += '0';
    return s;
}

TEST(BcdDivide, WorkReciprocalOfFortyDigits) {
    for (const VectorRow &row : vectors_read("good-bcd-workrcp.txt")) {
        const std::string &x = row[1], &want = row[2], &line = x;
        WORK_BCD w = WorkFromText(x), r;
        ASSERT_EQ(WorkText(w), x);
        zel_bcdWorkReciprocal(&w, &r);
        EXPECT_EQ(WorkText(r), want) << line;
        EXPECT_EQ(r.flags, 0) << line;
        zel_bcdWorkReciprocal(&w, &w);  // in place
        EXPECT_EQ(WorkText(w), want) << line;
    }
}

TEST(BcdOracle, TextMatchesDecimalModule) {
    for (const VectorRow &row : vectors_read("good-bcd-text.txt", '|')) {
        const std::string &text = row[0], &want = row[1], &code = row[2], &line = text;
        ZEL_BCD_T b;
        ZEL_RETCODE rc = zel_bcdFromString(text.c_str(), &b);
        EXPECT_EQ(CodeName(rc), code) << line;
        EXPECT_EQ(Text(b), want) << line;
    }
}

TEST(BcdAdd, OverflowOfTheIntegerPartGivesStoredZero) {
    // 10^31 + 9 * 10^31 = 10^32: 33 integer digits.
    ZEL_BCD_T a = Parse("1" + std::string(31, '0')), b = Parse("9" + std::string(31, '0')), r;
    EXPECT_EQ(zel_bcdAdd(&a, &b, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), eRANGE);
    EXPECT_EQ(r.prec, 0);
    EXPECT_EQ(r.flags & ZEL_BCD_FLAG_OVERFLOW, ZEL_BCD_FLAG_OVERFLOW);
    // The error bit travels: any later operation gives the error zero.
    ZEL_BCD_T one = Parse("1"), r2;
    EXPECT_EQ(zel_bcdMult(&r, &one, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r2), eRANGE);
}

TEST(BcdAdd, ResultMayAliasAnOperand) {
    ZEL_BCD_T a = Parse("1.25"), b = Parse("-0.5");
    ASSERT_EQ(zel_bcdAdd(&a, &b, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &a), sOKAY);
    EXPECT_EQ(Text(a), "0.75");
    ASSERT_EQ(zel_bcdMult(&a, &a, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &a), sOKAY);
    EXPECT_EQ(Text(a), "0.5625");
    ASSERT_EQ(zel_bcdSub(&a, &a, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &a), sOKAY);
    EXPECT_EQ(Text(a), "0");
}

TEST(BcdRounding, HalfInTheLastPlaceByMode) {
    // 1.000...01 (32 digits) plus 5 in the 33rd digit: exactly half a unit.
    const std::string base = "1." + std::string(30, '0') + "1";
    ZEL_BCD_T a = Parse(base), half = Parse("0." + std::string(31, '0') + "5"), r;
    const std::string even = "1." + std::string(30, '0') + "2";  // 1 is odd: up
    const std::string cut = base;
    struct Case {
        ZEL_BCD_ROUNDING_MODE mode;
        std::string pos, neg;
    } cases[] = {
        {ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, even, "-" + even},
        {ZEL_BCD_ROUND_NEAREST_TIES_AWAY_FROM_ZERO, even, "-" + even},
        {ZEL_BCD_ROUND_UP, even, "-" + cut},
        {ZEL_BCD_ROUND_DOWN, cut, "-" + even},
        {ZEL_BCD_ROUND_TOWARDS_ZERO, cut, "-" + cut},
        {static_cast<ZEL_BCD_ROUNDING_MODE>(9), cut, "-" + cut},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(zel_bcdAdd(&a, &half, c.mode, &r), sPRECISIONLOSS);
        EXPECT_EQ(Text(r), c.pos) << c.mode;
        ZEL_BCD_T na, nh;
        ASSERT_EQ(zel_bcdChgSign(&a, &na), sOKAY);
        ASSERT_EQ(zel_bcdChgSign(&half, &nh), sOKAY);
        EXPECT_EQ(zel_bcdAdd(&na, &nh, c.mode, &r), sPRECISIONLOSS);
        EXPECT_EQ(Text(r), c.neg) << c.mode;
    }
    // Ties to even keeps an even last digit.
    ZEL_BCD_T b = Parse("1." + std::string(30, '0') + "2");
    EXPECT_EQ(zel_bcdAdd(&b, &half, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), sPRECISIONLOSS);
    EXPECT_EQ(Text(r), "1." + std::string(30, '0') + "2");
}

TEST(BcdRounding, TinyResultsBelowTheLastPlace) {
    // 10^-20 * 10^-15 = 10^-35: no digit survives 32 places.
    ZEL_BCD_T a = Parse("0." + std::string(19, '0') + "1"), b = Parse("1e-15"), r;
    EXPECT_EQ(zel_bcdMult(&a, &b, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), sPRECISIONLOSS);
    EXPECT_EQ(Text(r), "0");
    EXPECT_EQ(zel_bcdMult(&a, &b, ZEL_BCD_ROUND_UP, &r), sPRECISIONLOSS);
    EXPECT_EQ(Text(r), "0." + std::string(31, '0') + "1");
    // Below 10^-40 the work form drops the value without a flag.
    ZEL_BCD_T c = Parse("0." + std::string(24, '0') + "1");
    EXPECT_EQ(zel_bcdMult(&c, &c, ZEL_BCD_ROUND_UP, &r), sOKAY);
    EXPECT_EQ(Text(r), "0");
}

TEST(BcdDivide, ReciprocalMethod) {
    ZEL_BCD_T one = Parse("1"), three = Parse("3"), zero = Parse("0"), r;
    EXPECT_EQ(zel_bcdDiv(&one, &three, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), sPRECISIONLOSS);
    EXPECT_EQ(r.prec, 32);
    EXPECT_EQ(r.exp, 0);
    EXPECT_EQ(Text(r), "0." + std::string(32, '3'));
    EXPECT_EQ(zel_bcdDiv(&one, &zero, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), eDIVBY0);
    EXPECT_EQ(r.prec, 0);
    EXPECT_EQ(zel_bcdReciprocal(&zero, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), eDIVBY0);
    ZEL_BCD_T four = Parse("4");
    // Newton's iteration stops at 0.2499...9 (40 digits), one unit short in
    // the 40th digit, so even 1/4 comes back rounded.
    EXPECT_EQ(zel_bcdReciprocal(&four, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), sPRECISIONLOSS);
    EXPECT_EQ(Text(r), "0.25");
    EXPECT_EQ(zel_bcdReciprocal(&four, ZEL_BCD_ROUND_TOWARDS_ZERO, &r), sPRECISIONLOSS);
    EXPECT_EQ(Text(r), "0.24" + std::string(30, '9'));
    // The division goes through the reciprocal, so 6 / 3 is only near 2.
    ZEL_BCD_T six = Parse("6");
    EXPECT_EQ(zel_bcdDiv(&six, &three, ZEL_BCD_ROUND_TOWARDS_ZERO, &r), sPRECISIONLOSS);
    EXPECT_EQ(Text(r), "1." + std::string(31, '9'));
    EXPECT_EQ(zel_bcdDivInt32(100, &four, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), sPRECISIONLOSS);
    EXPECT_EQ(Text(r), "25");
    EXPECT_EQ(zel_bcdDivByInt64(&one, 0, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), eDIVBY0);
}

// An exact reciprocal keeps only its significant digits: 1 / 6.4e-13 is held as
// the digits 15625 with exp 13, so the product's digits stop short of its units,
// which reads as an integer part that does not fit: a stored zero and eRANGE,
// though 4.6875e13 would fit. With the divisor 0.0064 the digits reach the units.
TEST(BcdDivide, ExactReciprocalShortOfTheUnits) {
    ZEL_BCD_T thirty = Parse("30"), small = Parse("0.00000000000064"), r;
    EXPECT_EQ(zel_bcdDiv(&thirty, &small, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), eRANGE);
    EXPECT_EQ(r.prec, 0);
    EXPECT_EQ(r.flags, ZEL_BCD_FLAG_OVERFLOW);
    ZEL_BCD_T larger = Parse("0.0064");
    EXPECT_EQ(zel_bcdDiv(&thirty, &larger, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN, &r), sOKAY);
    EXPECT_EQ(Text(r), "4687.5");
}

// The public sum, product and quotient take shorter ways than the work
// functions (rounded straight from their exact digits, a reciprocal never
// written as digits); they must store what the work result reduced by
// zel_bcdAssignResult stores.
void ExpectSameAsWorkThenAssign(BinOp op,
                                void (*work)(const WORK_BCD *, const WORK_BCD *, WORK_BCD *)) {
    std::mt19937_64 rng(7);
    for (int i = 0; i < 3000; ++i) {
        ZEL_BCD_T l = RandomBcd(rng), r = RandomBcd(rng), got, want;
        if (i % 5 == 0) r = l;                                              // equal magnitudes
        if (i % 7 == 0) r.data[r.prec] = static_cast<uint8_t>(rng() % 10);  // close values
        auto mode = static_cast<ZEL_BCD_ROUNDING_MODE>(i % 6);
        WORK_BCD w;
        work(zel_bcdAsWork(&l), zel_bcdAsWork(&r), &w);
        ZEL_RETCODE want_rc = zel_bcdAssignResult(&w, mode, &want);
        ASSERT_EQ(op(&l, &r, mode, &got), want_rc) << Text(l) << " " << Text(r);
        ASSERT_EQ(std::memcmp(&got, &want, sizeof got), 0) << Text(l) << " " << Text(r);
    }
}

TEST(BcdArithmetic, SameAsWorkResultThenReduction) {
    ExpectSameAsWorkThenAssign(zel_bcdAdd, zel_bcdWorkAdd);
    ExpectSameAsWorkThenAssign(zel_bcdSub, zel_bcdWorkSub);
    ExpectSameAsWorkThenAssign(zel_bcdMult, zel_bcdWorkMult);
    ExpectSameAsWorkThenAssign(zel_bcdDiv, zel_bcdWorkDiv);
}

// The grid, the general limbs and the digit iteration store the same quotient
// wherever each applies (the fuzzer bcd_div_fuzz drives this further).
TEST(BcdDivide, ThreePathsAgreeDigitForDigit) {
    std::mt19937_64 rng(11);
    int applied[3] = {};
    using zel::detail::BcdDivPath;
    for (int i = 0; i < 3000; ++i) {
        ZEL_BCD_T a = RandomBcd(rng), b = RandomBcd(rng), want;
        const auto mode = static_cast<ZEL_BCD_ROUNDING_MODE>(i % 5);
        const ZEL_RETCODE want_rc = zel_bcdDiv(&a, &b, mode, &want);
        int k = 0;
        for (BcdDivPath path : {BcdDivPath::kGrid, BcdDivPath::kLimbs, BcdDivPath::kDigits}) {
            ZEL_BCD_T got;
            ZEL_RETCODE rc = sOKAY;
            if (zel::detail::zel_bcd_div_by(path, &a, &b, mode, &got, &rc)) {
                ++applied[k];
                ASSERT_EQ(rc, want_rc) << Text(a) << " / " << Text(b) << " path " << k;
                ASSERT_EQ(Text(got), Text(want)) << Text(a) << " / " << Text(b) << " path " << k;
            }
            ++k;
        }
    }
    EXPECT_GT(applied[0], 2500);
    EXPECT_GT(applied[1], 2500);
    EXPECT_GT(applied[2], 2500);
}

// A record for the sum paths: from text of 1 to 38 digits (rounded past 32)
// and a scale of up to 40, or raw bytes about the short sums' limits: 0 to 32
// digits, any exponent that keeps a scale of -2 to 34, often all nines, now
// and then a used spill slot, a byte above 9, a negative zero or any flag bit.
ZEL_BCD_T SumOperand(std::mt19937_64 &rng) {
    ZEL_BCD_T b{};
    if (rng() % 3 == 0) {
        int n = 1 + static_cast<int>(rng() % 38), scale = static_cast<int>(rng() % 41);
        std::string digits;
        for (int i = 0; i < n; ++i) digits += static_cast<char>('0' + rng() % 10);
        if (scale >= n)
            digits = "0." + std::string(static_cast<size_t>(scale - n), '0') + digits;
        else if (scale > 0)
            digits.insert(static_cast<size_t>(n - scale), ".");
        // More than 32 integer digits are refused: the record stays as it is.
        (void)zel_bcdFromString(((rng() & 1 ? "-" : "") + digits).c_str(), &b);
        return b;
    }
    const int prec = static_cast<int>(rng() % (rng() & 1 ? 17 : 33));
    b.prec = static_cast<uint8_t>(prec);
    b.exp = static_cast<int8_t>(prec - static_cast<int>(rng() % 37) + 2);
    b.sign = static_cast<int8_t>(rng() & 1 ? -1 : 1);
    for (int i = 1; i <= prec; ++i) b.data[i] = static_cast<uint8_t>(rng() % 10);
    if (prec > 0 && rng() % 4 != 0 && b.data[1] == 0) b.data[1] = 1;
    const uint64_t odd = rng() % 64;
    if (odd >= 48) std::memset(b.data + 1, 9, static_cast<size_t>(prec));  // carries to the top
    if (odd == 0) b.data[0] = static_cast<uint8_t>(rng() % 10);
    if (odd == 1 && prec > 0) b.data[1 + rng() % static_cast<uint64_t>(prec)] = 10 + rng() % 246;
    if (odd == 2) b.sign = static_cast<int8_t>(rng());
    if (odd == 3) b.flags = static_cast<uint8_t>(1u << (rng() % 8));
    if (odd >= 4 && odd < 8)  // bytes past prec, never read
        for (int i = prec + 1; i <= 32; ++i) b.data[i] = static_cast<uint8_t>(rng() % 12);
    return b;
}

// The register sums of short operands store every byte and code the frame does.
TEST(BcdAdd, ShortSumsAsTheFrame) {
    std::mt19937_64 rng(17);
    // A fixed count, not a time: the same pairs on any machine.
    constexpr long runs = 300000;
    long short_ones = 0;
    for (long run = 0; run < runs; ++run) {
        ZEL_BCD_T a = SumOperand(rng), b = rng() % 8 == 0 ? a : SumOperand(rng);
        if (rng() % 16 == 0) b.sign = static_cast<int8_t>(-a.sign);  // equal magnitudes
        const bool sub = rng() & 1;
        const auto mode = static_cast<ZEL_BCD_ROUNDING_MODE>(rng() % 6);
        ZEL_BCD_T got, want;
        std::memset(&got, 0xA5, sizeof got);
        std::memcpy(&want, &got, sizeof got);
        const ZEL_RETCODE rc = (sub ? zel_bcdSub : zel_bcdAdd)(&a, &b, mode, &got);
        const ZEL_RETCODE want_rc = zel::detail::zel_bcd_add_by_frame(&a, &b, sub, mode, &want);
        short_ones += a.prec <= 15 && b.prec <= 15;
        ASSERT_EQ(rc, want_rc) << Text(a) << (sub ? " - " : " + ") << Text(b);
        ASSERT_EQ(std::memcmp(&got, &want, sizeof got), 0)
            << Text(a) << (sub ? " - " : " + ") << Text(b) << " = " << Text(want);
    }
    EXPECT_GT(short_ones, runs / 3);
}

TEST(BcdText, EdgeCases) {
    const std::string z19(19, '0');
    // {text, code, the value read}; "" when only the code is looked at.
    const std::tuple<std::string, ZEL_RETCODE, std::string> cases[] = {
        // 33 fraction digits: the last is dropped.
        {"0." + std::string(32, '1') + "9", sPRECISIONLOSS, "0." + std::string(32, '1')},
        {"12x", eRANGE, "12"},
        {"", eRANGE, "0"},
        {"   ", eRANGE, ""},
        {".", sOKAY, "0"},
        {" - 1.50 e+2 ", sOKAY, "-150"},
        // The exponent is kept in 8 bits: 1e250 wraps to 10^-6, deliberately.
        {"1e250", sOKAY, "0.000001"},
        // A negative exponent first widens the digit count by -exp, so even an
        // exact 1e-20 reports a cut (the value itself is exact).
        {"1e-20", sPRECISIONLOSS, "0." + z19 + "1"},
        {"1" + std::string(33, '0'), eRANGE, ""},
        {"1.5e-32", eRANGE, ""},  // the digit count widens by -exp to 33
        {"1e", eRANGE, ""},
        {"1.2.3", eRANGE, ""},
        // An exponent that would carry the digit count past 32 bits; the sum
        // is never formed in 32 bits.
        {"11111111111e2147483639", eRANGE, ""}};
    for (const auto &[text, rc, want] : cases) {
        ZEL_BCD_T b = Parse(text, rc);
        EXPECT_EQ(want.empty() ? "" : Text(b), want) << text;
    }
    ZEL_BCD_T b = Parse("-0");
    EXPECT_EQ(b.sign, 1);
    EXPECT_EQ(b.prec, 0);
    EXPECT_EQ(zel_bcdFromString(nullptr, &b), eINVNULLARG);
}

TEST(BcdText, Printing) {
    // {value, with exponent, scale, text}
    const std::tuple<const char *, bool, uint8_t, const char *> cases[] = {
        {"0.00123", false, 255, "0.00123"},
        {"0.00123", true, 255, "1.23e-003"},
        {"0", false, 255, "0"},
        {"0", true, 255, "0e+000"},
        {"-123.456", false, 2, "-123.45"},  // cut, not rounded
        {"-123.456", false, 5, "-123.45600"},
        {"-123.456", false, 0, "-123"},
        {"-123.456", true, 1, "-1.2e+002"}};
    for (auto [in, e, scale, want] : cases) EXPECT_EQ(Text(Parse(in), e, scale), want) << in;
    ZEL_BCD_T b = Parse("-123.456");
    // Measuring, then a buffer one byte short.
    uint32_t need = 0, used = 0;
    ASSERT_EQ(zel_bcdToString(&b, ZEL_FALSE, nullptr, 0, &need), sOKAY);
    EXPECT_EQ(need, 9u);
    char buf[16];
    EXPECT_EQ(zel_bcdToString(&b, ZEL_FALSE, buf, need - 1, &used), sUNDERFLOW);
    EXPECT_EQ(std::string(buf), "-123.45");
    EXPECT_EQ(zel_bcdToString(&b, ZEL_FALSE, buf, need, &used), sOKAY);
    EXPECT_EQ(used, need);
    // The first failure of the output function stops the work.
    int calls = 0;
    auto fail_third = [](B_OUTPUT_CTX ctx, uint32_t) -> ZEL_RETCODE {
        return ++*static_cast<int *>(ctx) == 3 ? eNOSPACE : sOKAY;
    };
    EXPECT_EQ(zel_bcdFormatWithScale(&b, 255, ZEL_FALSE, fail_third, &calls), eNOSPACE);
    EXPECT_EQ(calls, 3);
}

TEST(BcdText, RandomRoundTrip) {
    std::mt19937_64 rng(11);
    for (int i = 0; i < 2000; ++i) {
        ZEL_BCD_T b = RandomBcd(rng);
        for (bool e : {false, true}) {
            ZEL_BCD_T back = Parse(Text(b, e));
            EXPECT_EQ(zel_bcdCompare(&b, &back), ZEL_EQ) << Text(b, e);
            EXPECT_EQ(std::memcmp(&b, &back, sizeof b), 0) << Text(b, e);
        }
    }
}

TEST(BcdPack, HandWorkedBytes) {
    ZEL_PACKED_BCD_T p[17];
    // {value, prec, scale, code, bytes}
    const std::tuple<const char *, uint8_t, uint8_t, ZEL_RETCODE, const char *> cases[] = {
        // digits 0 1 5, complemented 9 8 4, sign nibble 0, pad 0.
        {"-1.5", 3, 1, sOKAY, "\x09\x84"},
        // sign nibble 4, digits 0 0, then the pad nibble.
        {"0", 2, 0, sOKAY, "\x40\x00"},
        // digits 0 1 2 3 4 5
        {"123.45", 6, 2, sOKAY, "\x40\x12\x34\x50"},
        {"12345", 3, 0, eRANGE, ""},         // the top digits do not fit
        {"1.25", 3, 1, sPRECISIONLOSS, ""},  // the fraction is cut
        {"1.25", 33, 1, eRANGE, ""},
        {"1.25", 10, 33, eRANGE, ""}};
    ZEL_BCD_T b;
    for (auto [in, prec, scale, rc, bytes] : cases) {
        b = Parse(in);
        ASSERT_EQ(zel_bcdPack(&b, p, prec, scale), rc) << in;
        EXPECT_EQ(rc == sOKAY ? std::memcmp(p, bytes, prec / 2 + 1) : 0, 0) << in;
    }
    // Unpack keeps trailing zeros and drops leading ones.
    ASSERT_EQ(
        zel_bcdUnpack(reinterpret_cast<const ZEL_PACKED_BCD_T *>("\x40\x12\x34\x50"), &b, 6, 2),
        sOKAY);
    EXPECT_EQ(b.prec, 5);
    EXPECT_EQ(b.exp, 3);
    // A digit nibble above 9 is corrupt.
    ZEL_BCD_T keep = b;
    EXPECT_EQ(zel_bcdUnpack(reinterpret_cast<const ZEL_PACKED_BCD_T *>("\x4A\x00"), &b, 2, 0),
              eINVBCD);
    EXPECT_EQ(std::memcmp(&b, &keep, sizeof b), 0);
}

TEST(BcdPack, ByteOrderIsNumericOrder) {
    std::mt19937_64 rng(3);
    std::uniform_int_distribution<int> pd(1, 32);
    for (int i = 0; i < 3000; ++i) {
        int prec = pd(rng), scale = std::uniform_int_distribution<int>(0, prec)(rng);
        auto fit = [&](ZEL_BCD_T b) {
            // Shape to the column so that pack loses nothing.
            ZEL_PACKED_BCD_T p[17];
            (void)zel_bcdPack(&b, p, static_cast<uint8_t>(prec), static_cast<uint8_t>(scale));
            EXPECT_EQ(zel_bcdUnpack(p, &b, static_cast<uint8_t>(prec), static_cast<uint8_t>(scale)),
                      sOKAY);
            return b;
        };
        ZEL_BCD_T a = fit(RandomBcd(rng)), b = fit(RandomBcd(rng));
        if (rng() % 8 == 0) b = a;
        ZEL_PACKED_BCD_T pa[17], pb[17];
        ASSERT_EQ(zel_bcdPack(&a, pa, static_cast<uint8_t>(prec), static_cast<uint8_t>(scale)),
                  sOKAY);
        ASSERT_EQ(zel_bcdPack(&b, pb, static_cast<uint8_t>(prec), static_cast<uint8_t>(scale)),
                  sOKAY);
        int m = std::memcmp(pa, pb, prec / 2 + 1);
        int c = zel_bcdCompare(&a, &b);
        EXPECT_EQ((m > 0) - (m < 0), c) << Text(a) << " vs " << Text(b);
    }
}

TEST(BcdPack, PackThenUnpackIsIdentity) {
    std::mt19937_64 rng(5);
    for (uint8_t prec = 1; prec <= 32; ++prec) {
        for (uint8_t scale = 0; scale <= prec; ++scale) {
            for (int k = 0; k < 12; ++k) {
                // A value with at most prec - scale integer digits and scale places.
                std::string s = (rng() & 1) ? "-" : "";
                for (int i = 0; i < prec; ++i) {
                    if (i == prec - scale) s += '.';
                    s += static_cast<char>('0' + rng() % 10);
                }
                ZEL_BCD_T b = Parse(s), back;
                ZEL_PACKED_BCD_T p[17], p2[17];
                ASSERT_EQ(zel_bcdPack(&b, p, prec, scale), sOKAY) << s;
                ASSERT_EQ(zel_bcdUnpack(p, &back, prec, scale), sOKAY);
                EXPECT_EQ(zel_bcdCompare(&b, &back), ZEL_EQ) << s;
                ASSERT_EQ(zel_bcdPack(&back, p2, prec, scale), sOKAY);
                EXPECT_EQ(std::memcmp(p, p2, prec / 2 + 1), 0) << s;
            }
        }
    }
}

TEST(BcdAdjust, ReshapesWithoutNormalising) {
    ZEL_BCD_T b = Parse("1.5");
    ASSERT_EQ(zel_bcdAdjust(&b, 5, 2), sOKAY);  // 001.50
    EXPECT_EQ(b.prec, 5);
    EXPECT_EQ(b.exp, 3);
    EXPECT_EQ(std::memcmp(b.data + 1, "\0\0\1\5\0", 5), 0);
    b = Parse("0.001");
    EXPECT_EQ(zel_bcdAdjust(&b, 1, 0), sPRECISIONLOSS);
    EXPECT_EQ(b.flags & ZEL_BCD_FLAG_PRECISION_LOSS, 1);
}

TEST(BcdInteger, FloorCeilingRound) {
    struct Case {
        const char *in, *floor, *ceiling, *round;
    } cases[] = {
        {"2.5", "2", "3", "3"},     {"-2.5", "-3", "-2", "-3"}, {"0.5", "0", "1", "1"},
        {"-0.5", "-1", "0", "-1"},  {"7", "7", "7", "7"},       {"0.04", "0", "1", "1"},
        {"-0.04", "-1", "0", "-1"}, {"19.4", "19", "20", "19"}, {"0", "0", "0", "0"},
    };
    for (const Case &c : cases) {
        ZEL_BCD_T b = Parse(c.in), r;
        ASSERT_GE(zel_bcdFloor(&b, &r), 0);
        EXPECT_EQ(Text(r), c.floor) << c.in;
        ASSERT_GE(zel_bcdCeiling(&b, &r), 0);
        EXPECT_EQ(Text(r), c.ceiling) << c.in;
        ASSERT_GE(zel_bcdRound(&b, &r), 0);
        EXPECT_EQ(Text(r), c.round) << c.in;
        ASSERT_GE(zel_bcdFloor(&b, &b), 0);  // in place
        EXPECT_EQ(Text(b), c.floor) << c.in;
    }
    // Round leaves a digit value of 10 behind a 9, deliberately.
    ZEL_BCD_T b = Parse("9.5"), r;
    ASSERT_EQ(zel_bcdRound(&b, &r), sOKAY);
    EXPECT_EQ(r.data[1], 10);
    EXPECT_EQ(zel_bcdValidate(&r), eINVALID);
    // Stored fraction zeros count as a fraction for the step up.
    ZEL_PACKED_BCD_T p[4];
    b = Parse("2");
    ASSERT_EQ(zel_bcdPack(&b, p, 3, 2), sOKAY);
    ASSERT_EQ(zel_bcdUnpack(p, &b, 3, 2), sOKAY);
    ASSERT_EQ(zel_bcdCeiling(&b, &r), sOKAY);
    EXPECT_EQ(Text(r), "3");
}

// The code and the value stored, as text.
template <class T>
std::string Native(ZEL_RETCODE (*to)(const ZEL_BCD_T *, T *), const char *in) {
    const ZEL_BCD_T b = Parse(in);
    T v{};
    const ZEL_RETCODE rc = to(&b, &v);
    return CodeName(rc) + " " + std::to_string(v);
}

TEST(BcdInteger, ToAndFromNativeIntegers) {
    EXPECT_EQ(Native(zel_bcdToInt32, "1.5"), "LOSS 1");
    EXPECT_EQ(Native(zel_bcdToInt32, "-0.5"), "LOSS 0");
    EXPECT_EQ(Native(zel_bcdToUInt8, "-0.5"), "RANGE 0");
    EXPECT_EQ(Native(zel_bcdToUInt8, "255"), "OK 255");
    EXPECT_EQ(Native(zel_bcdToUInt8, "300"), "RANGE 44");  // narrowed and stored all the same
    EXPECT_EQ(Native(zel_bcdToInt64, "-9223372036854775808"), "OK -9223372036854775808");
    EXPECT_EQ(Native(zel_bcdToInt64, "9223372036854775808").substr(0, 5), "RANGE");
    EXPECT_EQ(Native(zel_bcdToUInt64, "18446744073709551615"), "OK 18446744073709551615");
    EXPECT_EQ(Native(zel_bcdToUInt64, "18446744073709551616").substr(0, 5), "RANGE");
    ZEL_BCD_T b;
    int64_t i64;
    std::mt19937_64 rng(9);
    for (int i = 0; i < 1000; ++i) {
        int64_t v = static_cast<int64_t>(rng()) >> (rng() % 64);
        ASSERT_EQ(zel_bcdFromInt64(v, &b), sOKAY);
        EXPECT_EQ(Text(b), std::to_string(v));
        ASSERT_EQ(zel_bcdToInt64(&b, &i64), sOKAY);
        EXPECT_EQ(i64, v);
    }
    ASSERT_EQ(zel_bcdFromUInt64(100, &b), sOKAY);
    EXPECT_EQ(b.prec, 3);  // integer zeros stay
    EXPECT_EQ(b.exp, 3);
}

TEST(BcdFloating, ThroughText) {
    ZEL_BCD_T b;
    for (auto [d, rc, want] : {std::tuple{0.1, sOKAY, "0.1"},
                               {-1234.5678, sOKAY, "-1234.5678"},
                               {0.0, sOKAY, "0"},
                               {1e40, eRANGE, ""},
                               {1.0 / 0.0, eRANGE, ""},
                               {1e-25, sPRECISIONLOSS, ""}}) {
        ASSERT_EQ(zel_bcdFromDouble(d, &b), rc) << d;
        EXPECT_EQ(rc == sOKAY ? Text(b) : "", want);
    }
    double d;
    b = Parse("2.75");
    EXPECT_EQ(zel_bcdToDouble(&b, &d), sOKAY);
    EXPECT_EQ(d, 2.75);
    b = Parse("1.2345678901234567890123");
    EXPECT_EQ(zel_bcdToDouble(&b, &d), eRANGE);
    EXPECT_DOUBLE_EQ(d, 1.2345678901234567);
    float f;
    b = Parse("0.5");
    EXPECT_EQ(zel_bcdToFloat(&b, &f), sOKAY);
    EXPECT_EQ(f, 0.5f);
}

// Every double below 1e32 has at most 32 integer digits and is taken; the
// logarithm's truncated integer part decides, so the whole top decade fits.
TEST(BcdFloating, TopDecadeFromPython) {
    int n = 0;
    for (const VectorRow &row : vectors_read("good-bcd-fromdouble.txt")) {
        const double d = std::strtod(row[0].c_str(), nullptr);
        const std::string &want = row[1], &line = row[0];
        ZEL_BCD_T b;
        if (want == "RANGE") {
            EXPECT_EQ(zel_bcdFromDouble(d, &b), eRANGE) << line;
            continue;
        }
        ASSERT_EQ(zel_bcdFromDouble(d, &b), sOKAY) << line;
        EXPECT_EQ(Text(b), want) << line;
        ++n;
    }
    EXPECT_GT(n, 200);
    // 2^104 has 32 digits and survives the round trip through a double.
    ZEL_BCD_T p = Parse("20282409603651670423947251286016");
    double d = 0;
    EXPECT_EQ(zel_bcdToDouble(&p, &d), sOKAY);
    EXPECT_EQ(d, 0x1p104);
}

TEST(BcdCompare, SignsZerosAndUnnormalised) {
    ZEL_BCD_T a = Parse("1.50"), b = Parse("1.5"), z = Parse("0"), nz = z;
    EXPECT_EQ(zel_bcdCompare(&a, &b), ZEL_EQ);
    nz.sign = -1;
    EXPECT_EQ(zel_bcdCompare(&z, &nz), ZEL_EQ);
    ZEL_BCD_T m = Parse("-3"), p = Parse("2");
    EXPECT_EQ(zel_bcdCompare(&m, &p), ZEL_LT);
    EXPECT_EQ(zel_bcdCompare(&p, &m), ZEL_GT);
    ZEL_BCD_T m2 = Parse("-2");
    EXPECT_EQ(zel_bcdCompare(&m, &m2), ZEL_LT);
    // An adjusted record (leading zeros) still compares by value.
    ZEL_BCD_T adj = b;
    ASSERT_EQ(zel_bcdAdjust(&adj, 6, 3), sOKAY);
    EXPECT_EQ(zel_bcdCompare(&adj, &b), ZEL_EQ);
    EXPECT_EQ(zel_bcdSign(&z), 0);
    EXPECT_EQ(zel_bcdSign(&m), -1);
    EXPECT_TRUE(zel_bcdIsZero(&z));
    // ChgSign in place does not normalise: zero can become negative.
    ASSERT_EQ(zel_bcdChgSign(&z, &z), sOKAY);
    EXPECT_EQ(z.sign, -1);
}

TEST(BcdRobustness, CorruptRecordsGiveCodesNotCrashes) {
    std::mt19937_64 rng(13);
    for (int i = 0; i < 3000; ++i) {
        ZEL_BCD_T a, b, r;
        auto *pa = reinterpret_cast<uint8_t *>(&a);
        auto *pb = reinterpret_cast<uint8_t *>(&b);
        for (size_t k = 0; k < sizeof a; ++k) {
            pa[k] = static_cast<uint8_t>(rng());
            pb[k] = static_cast<uint8_t>(rng() % 12);
        }
        a.flags = 0;
        (void)zel_bcdAdd(&a, &b, ZEL_BCD_ROUND_UP, &r);
        (void)zel_bcdSub(&b, &a, ZEL_BCD_ROUND_UP, &r);
        (void)zel_bcdMult(&a, &b, ZEL_BCD_ROUND_UP, &r);
        (void)zel_bcdDiv(&b, &a, ZEL_BCD_ROUND_UP, &r);
        (void)zel_bcdCompare(&a, &b);
        char buf[600];
        (void)zel_bcdToString(&a, ZEL_FALSE, buf, sizeof buf, nullptr);
        ZEL_PACKED_BCD_T p[17];
        (void)zel_bcdPack(&b, p, 31, 7);
        int64_t v;
        (void)zel_bcdToInt64(&a, &v);
        (void)zel_bcdRound(&a, &r);
        (void)zel_bcdAdjust(&a, static_cast<uint8_t>(rng()), static_cast<uint8_t>(rng()));
    }
}

}  // namespace
