#include <skar/time.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
constexpr double infinity = std::numeric_limits<double>::infinity();
const double noNumber = std::nan("");

struct Yds {
    std::int32_t year = 77;
    std::int32_t day = 77;
    double seconds = 77.0;
    bool operator==(const Yds&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Yds& t) {
    return out << t.year << ' ' << t.day << ' ' << t.seconds;
}
const Yds refused{-1, -1, -1.0};

Yds plus(std::int32_t year, std::int32_t day, double seconds, double delta) {
    Yds t;
    TmYDSplusS(year, day, seconds, delta, &t.year, &t.day, &t.seconds);
    return t;
}
Yds from80(double time) {
    Yds t;
    TmUTCs80toYDS(time, &t.year, &t.day, &t.seconds);
    return t;
}
Yds from70(double time) {
    Yds t;
    TmUTCs70toYDS(time, &t.year, &t.day, &t.seconds);
    return t;
}

struct Hmsx {
    std::int32_t hours = 77;
    std::int32_t minutes = 77;
    std::int32_t seconds = 77;
    double fraction = 77.0;
};
Hmsx split(double seconds) {
    Hmsx t;
    TmStoHMSX(seconds, &t.hours, &t.minutes, &t.seconds, &t.fraction);
    return t;
}

TEST(TmHMSX, AddsUpHoursMinutesSecondsAndFraction) {
    EXPECT_EQ(3661.5, TmHMSXtoS(1, 1, 1, 0.5));
    EXPECT_EQ(-3600.0, TmHMSXtoS(-1, 0, 0, 0.0));
    EXPECT_EQ(2147483647.0 * 3661, TmHMSXtoS(most, most, most, 0.0));
}

TEST(TmHMSX, SplitsTowardZero) {
    const Hmsx t = split(3661.5);
    EXPECT_EQ(1, t.hours);
    EXPECT_EQ(1, t.minutes);
    EXPECT_EQ(1, t.seconds);
    EXPECT_EQ(0.5, t.fraction);
    const Hmsx negative = split(-3661.5);
    EXPECT_EQ(-1, negative.hours);
    EXPECT_EQ(-1, negative.minutes);
    EXPECT_EQ(-1, negative.seconds);
    EXPECT_EQ(-0.5, negative.fraction);
    const Hmsx lastOfDay = split(86399.75);
    EXPECT_EQ(23, lastOfDay.hours);
    EXPECT_EQ(59, lastOfDay.minutes);
    EXPECT_EQ(59, lastOfDay.seconds);
    EXPECT_EQ(0.75, lastOfDay.fraction);
}

TEST(TmHMSX, WhatDoesNotFitBecomesTheEndOfTheRange) {
    EXPECT_EQ(most, split(1e300).hours);
    EXPECT_EQ(least, split(-infinity).hours);
    EXPECT_EQ(0, split(noNumber).hours);
    EXPECT_EQ(0, split(noNumber).seconds);
    TmStoHMSX(1.0, nullptr, nullptr, nullptr, nullptr);
}

TEST(TmYMDtoJD, FollowsTheCalendar) {
    EXPECT_EQ(61, TmYMDtoJD(2000, 3, 1));
    EXPECT_EQ(60, TmYMDtoJD(1900, 3, 1));
    EXPECT_EQ(1, TmYMDtoJD(2001, 1, 1));
    EXPECT_EQ(366, TmYMDtoJD(2000, 12, 31));
    EXPECT_EQ(365, TmYMDtoJD(2001, 12, 31));
}

TEST(TmYMDtoJD, ADayBeyondItsMonthCountsOn) {
    EXPECT_EQ(62, TmYMDtoJD(2001, 2, 31));
}

TEST(TmYMDtoJD, MonthsAndDaysOutOfRangeGiveZero) {
    for (const std::int32_t bad : {0, 13, -1, least, most}) {
        EXPECT_EQ(0, TmYMDtoJD(2001, bad, 1)) << bad;
    }
    for (const std::int32_t bad : {0, 32, -1, least, most}) {
        EXPECT_EQ(0, TmYMDtoJD(2001, 1, bad)) << bad;
    }
}

TEST(TmYJDtoMD, FollowsTheCalendar) {
    std::int32_t month = 0;
    std::int32_t day = 0;
    TmYJDtoMD(2000, 60, &month, &day);
    EXPECT_EQ(2, month);
    EXPECT_EQ(29, day);
    TmYJDtoMD(2001, 60, &month, &day);
    EXPECT_EQ(3, month);
    EXPECT_EQ(1, day);
}

TEST(TmYJDtoMD, EveryDayOfAYearComesBack) {
    constexpr int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (const int year : {1900, 1999, 2000, 2004, 2100}) {
        const bool leap = year == 2000 || year == 2004;
        int dayOfYear = 0;
        for (int m = 1; m <= 12; ++m) {
            for (int d = 1; d <= lengths[m - 1] + (leap && m == 2 ? 1 : 0); ++d) {
                ++dayOfYear;
                std::int32_t month = 0;
                std::int32_t day = 0;
                TmYJDtoMD(year, dayOfYear, &month, &day);
                ASSERT_EQ(m, month) << year << ' ' << dayOfYear;
                ASSERT_EQ(d, day) << year << ' ' << dayOfYear;
                ASSERT_EQ(dayOfYear, TmYMDtoJD(year, m, d));
            }
        }
    }
}

TEST(TmYJDtoMD, TakesAnyNumbersAndNullOutputs) {
    std::int32_t month = 0;
    TmYJDtoMD(most, most, &month, nullptr);
    EXPECT_EQ(70294064, month);
    TmYJDtoMD(least, least, nullptr, nullptr);
}

TEST(TmGetTAIUTCOffset, FollowsTheTableAndItsGaps) {
    EXPECT_EQ(19, TmGetTAIUTCOffset(1970, 1));
    EXPECT_EQ(33, TmGetTAIUTCOffset(2007, 1));
    EXPECT_EQ(34, TmGetTAIUTCOffset(2010, 100));
    EXPECT_EQ(35, TmGetTAIUTCOffset(2030, 1));
    EXPECT_EQ(34, TmGetTAIUTCOffset(2012, 182));
    EXPECT_EQ(35, TmGetTAIUTCOffset(2012, 183));
}

TEST(TmGetTAIUTCOffset, EveryRowStartsOnItsDay) {
    constexpr int rows[][3] = {{1981, 182, 20}, {1982, 182, 21}, {1983, 182, 22}, {1985, 182, 23},
                               {1988, 1, 24},   {1990, 1, 25},   {1991, 1, 26},   {1992, 1, 27},
                               {1993, 182, 28}, {1994, 182, 29}, {1996, 1, 30},   {1997, 1, 31},
                               {1999, 1, 32},   {2006, 1, 33},   {2009, 1, 34},   {2012, 183, 35}};
    for (const auto& [year, day, offset] : rows) {
        EXPECT_EQ(offset, TmGetTAIUTCOffset(year, day)) << year;
        EXPECT_EQ(offset - 1, TmGetTAIUTCOffset(day == 1 ? year - 1 : year, day == 1 ? 366 : day - 1))
            << year;
    }
    EXPECT_EQ(33, TmGetTAIUTCOffset(2006, 182));
    EXPECT_EQ(34, TmGetTAIUTCOffset(2009, 182));
    EXPECT_EQ(35, TmGetTAIUTCOffset(2013, 1));
}

TEST(TmGetTAIUTCOffset, ExtremeDatesStayWithinTheTable) {
    EXPECT_EQ(19, TmGetTAIUTCOffset(least, least));
    EXPECT_EQ(35, TmGetTAIUTCOffset(most, most));
    EXPECT_EQ(19, TmGetTAIUTCOffset(1950, 366));
    // A year before 1980 keeps its day, so a day far beyond the year is looked up as of 1980.
    EXPECT_EQ(20, TmGetTAIUTCOffset(1950, 1182));
}

TEST(TmYDSminusYDS, GivesTheSecondsFromTheFirstToTheSecond) {
    EXPECT_EQ(31622400.0, TmYDSminusYDS(1980, 1, 0.0, 1981, 1, 0.0));
    EXPECT_EQ(-31622400.0, TmYDSminusYDS(1981, 1, 0.0, 1980, 1, 0.0));
    EXPECT_EQ(-86399.5, TmYDSminusYDS(2001, 3, 0.0, 2001, 2, 0.5));
    EXPECT_EQ(3155673600.0, TmYDSminusYDS(1900, 1, 0.0, 2000, 1, 0.0));
}

TEST(TmYDSminusYDS, ExtremeYearsTakeNoTime) {
    // 400 years of the calendar have 146097 days.
    EXPECT_EQ(146097 * 86400.0 * 10000000, TmYDSminusYDS(-2000000000, 1, 0.0, 2000000000, 1, 0.0));
    EXPECT_LT(TmYDSminusYDS(most, most, 0.0, least, least, 0.0), -1e17);
}

TEST(TmYDSplusS, CountsForwardFromTheFirstDay) {
    EXPECT_EQ((Yds{1980, 1, 86399.5}), plus(1980, 1, 0.0, 86399.5));
    EXPECT_EQ((Yds{1980, 2, 0.0}), plus(1980, 1, 86400.0, 0.0));
    EXPECT_EQ((Yds{1981, 1, 1.0}), plus(1980, 1, 0.0, 366 * 86400.0 + 1));
}

TEST(TmYDSplusS, ALaterStartDayLeavesTheSecondsShort) {
    EXPECT_EQ((Yds{2000, 10, -777500.0}), plus(2000, 10, 0.0, 100.0));
}

TEST(TmYDSplusS, NewYearsMidnightStaysInTheOldYear) {
    EXPECT_EQ((Yds{1980, 367, 0.0}), plus(1980, 1, 0.0, 366 * 86400.0));
    EXPECT_EQ((Yds{1981, 366, 0.0}), plus(1981, 1, 0.0, 365 * 86400.0));
}

TEST(TmYDSplusS, ANegativeDeltaCountsBackFromTheStartOfTheYear) {
    EXPECT_EQ((Yds{1979, 365, 86399.0}), plus(1980, 1, 0.0, -1.0));
    EXPECT_EQ((Yds{1979, 365, 0.0}), plus(1980, 1, 0.0, -86400.0));
    EXPECT_EQ((Yds{1979, 364, 86399.5}), plus(1980, 1, 0.0, -86400.5));
    EXPECT_EQ((Yds{1980, 366, 0.0}), plus(1981, 1, 0.0, -86400.0));
    EXPECT_EQ((Yds{1979, 1, 0.0}), plus(1980, 1, 0.0, -365 * 86400.0));
    EXPECT_EQ((Yds{1978, 365, 86399.0}), plus(1980, 1, 0.0, -365 * 86400.0 - 1));
}

TEST(TmYDSplusS, ANegativeDeltaIgnoresDayAndSeconds) {
    EXPECT_EQ(plus(1980, 1, 0.0, -1.0), plus(1980, 200, 5000.0, -1.0));
}

TEST(TmYDSplusS, RefusesWhatIsOutOfRange) {
    EXPECT_EQ(refused, plus(1899, 1, 0.0, 0.0));
    EXPECT_EQ(refused, plus(3001, 1, 0.0, 0.0));
    EXPECT_EQ(refused, plus(2000, 0, 0.0, 0.0));
    EXPECT_EQ(refused, plus(2000, 367, 0.0, 0.0));
    EXPECT_EQ(refused, plus(2000, 1, -0.001, 0.0));
    EXPECT_EQ(refused, plus(3000, 1, 0.0, 366 * 86400.0));
    EXPECT_EQ(refused, plus(1900, 1, 0.0, -1.0));
    EXPECT_EQ(refused, plus(1901, 1, 0.0, -366 * 86400.0));
    EXPECT_EQ((Yds{1900, 1, 0.0}), plus(1901, 1, 0.0, -365 * 86400.0));
    EXPECT_EQ((Yds{3000, 365, 0.0}), plus(3000, 1, 0.0, 364 * 86400.0));
}

TEST(TmYDSplusS, RefusesWhatIsNoNumberOrEndless) {
    for (const double bad : {noNumber, infinity, 1e300}) {
        EXPECT_EQ(refused, plus(2000, 1, bad, 0.0)) << bad;
        EXPECT_EQ(refused, plus(2000, 1, 0.0, bad)) << bad;
        EXPECT_EQ(refused, plus(2000, 1, 0.0, -bad)) << bad;
    }
}

TEST(TmYDSplusS, ANullOutputIsRefusedInTheOthers) {
    Yds t;
    TmYDSplusS(2000, 1, 0.0, 1.0, nullptr, &t.day, &t.seconds);
    EXPECT_EQ((Yds{77, -1, -1.0}), t);
    t = {};
    TmYDSplusS(2000, 1, 0.0, 1.0, &t.year, &t.day, nullptr);
    EXPECT_EQ((Yds{-1, -1, 77.0}), t);
    TmYDSplusS(2000, 1, 0.0, 1.0, nullptr, nullptr, nullptr);
}

TEST(TmUTCs, TheEpochsAreTenYearsApart) {
    EXPECT_EQ(315532800.0, TmUTCs80toUTCs70(0.0));
    EXPECT_EQ(TmYDStoUTCs70(1980, 1, 0.0), TmUTCs80toUTCs70(TmYDStoUTCs80(1980, 1, 0.0)));
}

TEST(TmUTCs, CountsHoldTheLeapSecondsSinceTheEpoch) {
    EXPECT_EQ(631152000.0 + 13, TmYDStoUTCs80(2000, 1, 0.0));
    EXPECT_EQ(946684800.0 + 13, TmYDStoUTCs70(2000, 1, 0.0));
    EXPECT_EQ(1479686400.0 + 16 + 0.25, TmYDStoUTCs80(2026, 325, 0.25));
    EXPECT_EQ(0.0, TmYDStoUTCs80(1980, 1, 0.0));
    EXPECT_EQ(0.0, TmYDStoUTCs70(1970, 1, 0.0));
    EXPECT_EQ(-1.0, TmYDStoUTCs70(1969, 365, 86399.0));
}

TEST(TmUTCs, CountsComeBackAsDates) {
    EXPECT_EQ((Yds{2000, 1, 0.0}), from80(631152013.0));
    EXPECT_EQ((Yds{2000, 1, 0.5}), from70(946684813.5));
    EXPECT_EQ((Yds{2026, 325, 0.25}), from80(1479686416.25));
    EXPECT_EQ((Yds{1969, 365, 86399.0}), from70(-1.0));
}

TEST(TmUTCs, ATimeWithinALeapSecondFallsInTheDayBefore) {
    // The offset grows at the start of 1 July 1981, which is the count 47260801.
    EXPECT_EQ(47260801.0, TmYDStoUTCs80(1981, 182, 0.0));
    EXPECT_EQ((Yds{1981, 182, 0.0}), from80(47260801.0));
    EXPECT_EQ((Yds{1981, 181, 86399.5}), from80(47260800.5));
    EXPECT_EQ((Yds{1981, 181, 86399.5}), from80(47260799.5));
}

TEST(TmUTCs, NewYearsMidnightBeforeTheFirstLeapSecondIsADayOfTheOldYear) {
    EXPECT_EQ((Yds{1980, 367, 0.0}), from80(366 * 86400.0));
    EXPECT_EQ((Yds{1970, 366, 0.0}), from70(365 * 86400.0));
    EXPECT_EQ((Yds{1981, 1, 1.0}), from80(366 * 86400.0 + 1));
}

TEST(TmUTCs, CountsThatLeadOutOfTheCalendarAreRefused) {
    for (const double bad : {noNumber, infinity, -infinity, 1e300, -1e300, 1e11}) {
        EXPECT_EQ(refused, from80(bad)) << bad;
        EXPECT_EQ(refused, from70(bad)) << bad;
    }
}

TEST(TmUTCs, ANullOutputLeavesTheOthersAlone) {
    Yds t;
    TmUTCs80toYDS(1.0, nullptr, &t.day, &t.seconds);
    TmUTCs70toYDS(1.0, &t.year, nullptr, &t.seconds);
    TmUTCs80toYDS(1.0, &t.year, &t.day, nullptr);
    EXPECT_EQ(Yds{}, t);
}

TEST(TmUTCs, DatesGoThereAndBack) {
    constexpr unsigned seed = 20260117;
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> years(1970, 2999);
    std::uniform_int_distribution<int> days(1, 365);
    std::uniform_int_distribution<int> milliseconds(1000, 86398999);
    for (int i = 0; i < 20000; ++i) {
        const Yds t{years(random), days(random), milliseconds(random) / 1000.0};
        const Yds back = from80(TmYDStoUTCs80(t.year, t.day, t.seconds));
        ASSERT_EQ(t.year, back.year) << "seed " << seed << ", date " << t;
        ASSERT_EQ(t.day, back.day) << "seed " << seed << ", date " << t;
        ASSERT_NEAR(t.seconds, back.seconds, 1e-4) << "seed " << seed << ", date " << t;
    }
}

} // namespace
