// convert_float_text_test.cpp - the text of a double ("%.15G") and of a float
// ("%.7G" of its double) out of the conversion engine, held byte for byte to
// the C library's printf over millions of numbers: random bit patterns (the
// whole range, subnormals included), decimal fractions and their neighbours,
// each power of ten and the numbers that round across it, and the ends of
// both ranges.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "convert.h"

namespace {

template <class T>
std::string engineText(T v) {
    char buf[64];
    CNVCB cb{};
    cb.pvSrc = &v;
    cb.pvDst = buf;
    cb.tDstLen = sizeof buf;
    EXPECT_EQ(sizeof v == 4 ? cnv_floatToStringTrunc(&cb) : cnv_doubleToStringTrunc(&cb), sOKAY);
    return buf;
}

// Counts the numbers whose text differs from printf's, "%.7G" of a float's
// double or "%.15G" of a double (reporting the first few).
struct Checker {
    long checked = 0, differ = 0;
    template <class T>
    void run(T v) {
        if (!std::isfinite(v)) return;
        ++checked;
        char want[64];
        std::snprintf(want, sizeof want, sizeof v == 4 ? "%.7G" : "%.15G", static_cast<double>(v));
        const std::string got = engineText(v);
        if (want != got && ++differ <= 5) ADD_FAILURE() << std::hexfloat << v << ": " << got;
    }
};

TEST(FloatTextAsPrintf, RandomBitPatterns) {
    Checker c;
    std::mt19937_64 rng(20261201);
    for (int i = 0; i < 1000000; ++i) {
        const uint64_t bits = rng();
        double d;
        std::memcpy(&d, &bits, sizeof d);
        c.run(d);
        float f;
        const auto low = static_cast<uint32_t>(bits);
        std::memcpy(&f, &low, sizeof f);
        c.run(f);
    }
    EXPECT_EQ(c.differ, 0);
    EXPECT_GT(c.checked, 1950000);
}

// Subnormals by their bits: every width of mantissa, both signs.
TEST(FloatTextAsPrintf, Subnormals) {
    Checker c;
    std::mt19937_64 rng(7);
    for (int i = 0; i < 500000; ++i) {
        const int width = 1 + i % 52;
        uint64_t bits = rng() & ((uint64_t{1} << width) - 1);
        if (bits == 0) bits = 1;
        if (i & 1) bits |= uint64_t{1} << 63;
        double d;
        std::memcpy(&d, &bits, sizeof d);
        c.run(d);
        auto fbits = static_cast<uint32_t>(bits & ((uint32_t{1} << (1 + i % 23)) - 1));
        if (fbits == 0) fbits = 1;
        float f;
        std::memcpy(&f, &fbits, sizeof f);
        c.run(f);
    }
    EXPECT_EQ(c.differ, 0);
}

// Decimal fractions as a caller writes them, and the doubles just beside
// them, where a last digit rounds one way or the other.
TEST(FloatTextAsPrintf, DecimalFractionsAndNeighbours) {
    Checker c;
    std::mt19937_64 rng(11);
    for (int i = 0; i < 250000; ++i) {
        const auto digits = static_cast<double>(rng() % 10000000000000000ull);
        const double d = digits / std::pow(10.0, static_cast<int>(rng() % 44) - 22);
        for (double x : {d, -d, std::nextafter(d, 0.0), std::nextafter(d, HUGE_VAL)}) {
            c.run(x);
            c.run(static_cast<float>(x));
        }
    }
    EXPECT_EQ(c.differ, 0);
}

// Every power of ten, and the numbers that round up across it at 7 and 15
// digits (where the form switches between fixed and exponent).
TEST(FloatTextAsPrintf, PowersOfTenAndRoundingAcross) {
    Checker c;
    for (int e = -325; e <= 308; ++e) {
        const double p = std::pow(10.0, e);
        for (double m : {1.0, 9.9999999999999995, 9.999999999999999, 9.9999995, 9.999999, 5.0, 1.5,
                         0.99999999999999995, 0.5}) {
            const double d = m * p;
            for (double x : {d, std::nextafter(d, 0.0), std::nextafter(d, HUGE_VAL)}) {
                c.run(x);
                c.run(-x);
                c.run(static_cast<float>(x));
            }
        }
    }
    EXPECT_EQ(c.differ, 0);
}

TEST(FloatTextAsPrintf, RangeEnds) {
    Checker c;
    for (double d : {0.0, -0.0, DBL_MAX, -DBL_MAX, DBL_MIN, -DBL_MIN, DBL_TRUE_MIN, -DBL_TRUE_MIN,
                     std::nextafter(DBL_MIN, 0.0), std::nextafter(DBL_MAX, 0.0), 1e15, 1e16,
                     999999999999999.0, 999999999999999.5, 0.0001, 0.00001, 123456789012345.5}) {
        c.run(d);
    }
    for (float f : {0.0f, -0.0f, FLT_MAX, -FLT_MAX, FLT_MIN, FLT_TRUE_MIN, -FLT_TRUE_MIN, 1e7f,
                    9999999.0f, 0.0001f, 0.00001f}) {
        c.run(f);
    }
    EXPECT_EQ(c.differ, 0);
    // Hand-worked: the exponent's letter is upper case, with two digits at least.
    EXPECT_EQ(engineText(1e16), "1E+16");
    EXPECT_EQ(engineText(DBL_TRUE_MIN), "4.94065645841247E-324");
    EXPECT_EQ(engineText(-0.0), "-0");
    EXPECT_EQ(engineText(0.0001), "0.0001");
    EXPECT_EQ(engineText(0.00001), "1E-05");
    EXPECT_EQ(engineText(123456789012345.5), "123456789012346");
    EXPECT_EQ(engineText(3.25f), "3.25");
    EXPECT_EQ(engineText(FLT_MAX), "3.402823E+38");
}

}  // namespace
