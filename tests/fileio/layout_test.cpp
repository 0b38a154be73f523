#include "fileio/coding.h"
#include "fileio/layout.h"
#include "support/store.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>

using namespace skar::fileio;
using skar::tests::Bytes;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double twoTo63 = 9223372036854775808.0;

// The word of a coding, as signed; nothing for a value that is refused.
template <class Encode, class... More>
std::optional<std::int32_t> word(Encode encode, double value, More... more) {
    std::uint32_t result = 0xEEEEEEEE;
    const bool coded = encode(value, more..., result);
    EXPECT_TRUE(coded || result == 0) << "a refused value has the word 0";
    return coded ? std::optional(static_cast<std::int32_t>(result)) : std::nullopt;
}

} // namespace

TEST(Rounding, IsHalfAwayFromZero) {
    for (const auto& [value, expected] : {std::pair{0.5, 1},
                                          {-0.5, -1},
                                          {1.5, 2},
                                          {-1.5, -2},
                                          {2.5, 3},
                                          {-2.5, -3},
                                          {0.4, 0},
                                          {-0.4, 0},
                                          {0.0, 0},
                                          {-0.0, 0}})
        EXPECT_EQ(word(roundToWord, value), expected) << value;
}

TEST(Rounding, TakesTheLow32BitsOfThe64BitResult) {
    EXPECT_EQ(word(roundToWord, 4294967296.0), 0);
    EXPECT_EQ(word(roundToWord, 4294967297.0), 1);
    EXPECT_EQ(word(roundToWord, 2147483648.0), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(word(roundToWord, -2147483649.0), 2147483647);
    EXPECT_EQ(word(roundToWord, std::nextafter(twoTo63, 0.0)), -1024);
    EXPECT_EQ(word(roundToWord, -twoTo63), 0);
}

TEST(Rounding, RefusesAValueWithoutA64BitResult) {
    for (const double value : {infinity, -infinity, notANumber, twoTo63, -1.1 * twoTo63, 1e300, -1e300})
        EXPECT_EQ(word(roundToWord, value), std::nullopt) << value;
}

TEST(MetersCoding, SaturatesBeyondTwoMillionOnly) {
    EXPECT_EQ(word(TELD_EncodeMeters, 2000000.0), 2000000000);
    EXPECT_EQ(word(TELD_EncodeMeters, -2000000.0), -2000000000);
    EXPECT_EQ(word(TELD_EncodeMeters, std::nextafter(2000000.0, 3e6)), 2147483647);
    EXPECT_EQ(word(TELD_EncodeMeters, std::nextafter(-2000000.0, -3e6)),
              std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(word(TELD_EncodeMeters, infinity), 2147483647);
    EXPECT_EQ(word(TELD_EncodeMeters, -infinity), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(word(TELD_EncodeMeters, notANumber), std::nullopt);
    EXPECT_EQ(word(TELD_EncodeMeters, -0.0005), -1);
    EXPECT_EQ(word(TELD_EncodeMeters, 0.0005), 1);
    EXPECT_EQ(TELD_DecodeMeters(-1250), -1.25);
    EXPECT_EQ(TELD_DecodeMeters(2147483647), 2147483.647);
}

TEST(RadiansCoding, IsFineAndWraps) {
    EXPECT_EQ(word(TELD_EncodeRadians, 3.1415927), 31415927);
    EXPECT_EQ(word(TELD_EncodeRadians, -0.00000005), -1);
    EXPECT_EQ(word(TELD_EncodeRadians, 214.7483648), std::numeric_limits<std::int32_t>::min()) << "no clamp";
    EXPECT_EQ(word(TELD_EncodeRadians, infinity), std::nullopt);
    EXPECT_EQ(TELD_DecodeRadians(31415927), 3.1415927);
}

TEST(TimeCoding, CountsTicksFromTheReferenceMinute) {
    EXPECT_EQ(word(TELD_EncodeRefTime, 90.0), 2);
    EXPECT_EQ(word(TELD_EncodeRefTime, 89.9), 1);
    EXPECT_EQ(word(TELD_EncodeRefTime, -30.0), -1);
    EXPECT_EQ(word(TELD_EncodeTime, 61.25, 1, 1000), 1250);
    EXPECT_EQ(word(TELD_EncodeTime, 59.9995, 1, 1000), -1) << "half a tick before the reference";
    EXPECT_EQ(word(TELD_EncodeTime, 1e300, 1, 1000), std::nullopt);
    EXPECT_EQ(word(TELD_EncodeTime, notANumber, 1, 1000), std::nullopt);
    EXPECT_EQ(word(TELD_EncodeTime, 0.0, std::numeric_limits<std::int32_t>::min(), 1), 0)
        << "60 * 2^31 has no low bits";
    EXPECT_EQ(TELD_DecodeTime(1250, 1, 1000), 61.25);
    EXPECT_TRUE(std::isinf(TELD_DecodeTime(1, 0, 0))) << "a clock of zero does not crash";
}

TEST(PositionCoding, CountsStepsFromTheReference) {
    EXPECT_EQ(word(TELD_EncodeRefPosition, 0.76), 7600000);
    EXPECT_EQ(word(TELD_EncodePosition, 0.760000001, 7600000, 1), 1);
    EXPECT_EQ(word(TELD_EncodePosition, 0.0, 0, 0), std::nullopt) << "a scale of zero has no steps";
    EXPECT_EQ(word(TELD_EncodePosition, 1.0, 0, 0), std::nullopt);
    EXPECT_NEAR(TELD_DecodePosition(1, 7600000, 1), 0.760000001, 1e-15);
}

namespace {

struct Sample {
    std::uint32_t status = 0;
    double time = 0;
    std::int32_t count = 0;
    double values[3] = {};
};
constexpr auto sample = layout<Sample>(
    field<Unsigned>("status", &Sample::status), field<Time>("time", &Sample::time),
    field<Signed>("count", &Sample::count, "no count"), element<Meters>("depth", &Sample::values, 1));
static_assert(sample.size == 16);
static_assert(sample.offsetOf("status") == 0);
static_assert(sample.offsetOf("time") == 4);
static_assert(sample.offsetOf("depth") == 12);

_TELD_Sensor scaleOf(std::int32_t minutes) {
    _TELD_Sensor scale{};
    scale.referenceTime = minutes;
    scale.clockAccuracy = 1000;
    return scale;
}

} // namespace

TEST(Layout, EncodesItsWordsInOrderAndDecodesThemBack) {
    const _TELD_Sensor scale = scaleOf(1);
    const Sample given{0x80000001, 60.5, -7, {9, 1.25, 9}};
    std::string bytes(sample.size, '\xEE');
    ASSERT_TRUE(sample.encode(scale, given, bytes.data()));
    EXPECT_TRUE(same(
        Bytes().word("status", 0x80000001u).word("time", 500).word("count", -7).word("depth", 1250), bytes));
    Sample read;
    sample.decode(scale, bytes.data(), read);
    EXPECT_EQ(read.status, given.status);
    EXPECT_EQ(read.time, given.time);
    EXPECT_EQ(read.count, given.count);
    EXPECT_EQ(read.values[1], 1.25);
    EXPECT_EQ(read.values[0], 0.0) << "the neighbours are left alone";
    const auto pages = sample.pages();
    EXPECT_STREQ(pages[2].name, "count");
    EXPECT_STREQ(pages[2].complaint, "no count");
    EXPECT_STREQ(pages[2].wordType, "int");
    EXPECT_EQ(pages[0].complaint, nullptr);
}

TEST(Layout, TellsThatAValueHasNoCodingAndStillPutsEveryWord) {
    const _TELD_Sensor scale = scaleOf(0);
    std::string bytes(sample.size, '\xEE');
    EXPECT_FALSE(sample.encode(scale, {3, notANumber, 5, {0, 2, 0}}, bytes.data()));
    EXPECT_TRUE(same(Bytes{3, 0, 5, 2000}, bytes));
}

TEST(Layout, ReadsWordsThatStandAtAnyAddress) {
    const _TELD_Sensor scale = scaleOf(0);
    const std::string bytes = "x" + Bytes{3, 1000, 5, 2000}.string();
    Sample read;
    sample.decode(scale, bytes.data() + 1, read);
    EXPECT_EQ(read.status, 3u);
    EXPECT_EQ(read.values[1], 2.0);
}

TEST(Layout, AWordThatWasReadIsWrittenAsItWas) {
    constexpr unsigned seed = 99;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const _TELD_Sensor scale = scaleOf(17532000);
    for (int i = 0; i < 20000; ++i) {
        // Within two million metres, beyond which a value saturates.
        const auto depth = static_cast<std::int32_t>(random() % 4000000001u - 2000000000u);
        const Bytes given{static_cast<std::int64_t>(random()), static_cast<std::int64_t>(random()),
                          static_cast<std::int64_t>(random()), depth};
        Sample read;
        sample.decode(scale, given.string().data(), read);
        std::string bytes(sample.size, '\0');
        ASSERT_TRUE(sample.encode(scale, read, bytes.data()));
        ASSERT_TRUE(same(given, bytes));
    }
}
