#include "xml/numbertext.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using skar::xml::fixedText;
using skar::xml::integerOf;
using skar::xml::numberOf;
using skar::xml::wholeNumberOf;

TEST(NumberText, TheLongestNumberAtTheStartCounts) {
    EXPECT_EQ(numberOf("12.5 m"), 12.5);
    EXPECT_EQ(numberOf(" \t\n-0.25e1x"), -2.5);
    EXPECT_EQ(numberOf("+3"), 3.0);
    EXPECT_EQ(numberOf(".5"), 0.5);
    EXPECT_EQ(numberOf("1,5"), 1.0);
    EXPECT_EQ(integerOf("  42abc"), 42);
    EXPECT_EQ(integerOf("-7.9"), -7);
    EXPECT_EQ(integerOf("+8"), 8);
}

TEST(NumberText, WithoutANumberItIsZero) {
    for (const char* text : {"", " ", "abc", "+", "-", "+-1", "++1", ".", "e5"}) {
        EXPECT_EQ(numberOf(text), 0.0) << text;
        EXPECT_EQ(integerOf(text), 0) << text;
    }
}

TEST(NumberText, BeyondTheRangeIsTheEndOfIt) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(numberOf("1e999"), infinity);
    EXPECT_EQ(numberOf("-1e999"), -infinity);
    EXPECT_EQ(numberOf(std::string(400, '9')), infinity);
    EXPECT_EQ(numberOf("1e-999"), 0.0);
    EXPECT_TRUE(std::signbit(numberOf("-1e-999")));
    EXPECT_EQ(numberOf("0." + std::string(400, '0') + "1"), 0.0);
    EXPECT_EQ(numberOf("inf"), infinity);
    EXPECT_TRUE(std::isnan(numberOf("nan")));
    EXPECT_EQ(integerOf("99999999999"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(integerOf("-99999999999999999999"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(wholeNumberOf("4294967295"), 4294967295);
    EXPECT_EQ(wholeNumberOf("99999999999999999999"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(wholeNumberOf("-99999999999999999999"), std::numeric_limits<std::int64_t>::min());
}

TEST(NumberText, HasSixDecimalsWhateverTheMagnitude) {
    EXPECT_EQ(fixedText(0.0), "0.000000");
    EXPECT_EQ(fixedText(-1.5), "-1.500000");
    EXPECT_EQ(fixedText(1e-9), "0.000000");
    EXPECT_EQ(fixedText(123456789.123456789), "123456789.123457");
    EXPECT_EQ(fixedText(1e22), "10000000000000000000000.000000");
    EXPECT_EQ(fixedText(std::numeric_limits<double>::max()).size(), 309u + 7u);
    EXPECT_EQ(fixedText(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(fixedText(2.5, 2), "2.50");
    EXPECT_EQ(fixedText(0.125, 2), "0.12");
}

} // namespace
