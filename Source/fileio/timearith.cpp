#include <skar/time.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

namespace {

constexpr double secondsPerDay = 86400.0;
constexpr double seconds1970to1980 = 315532800.0;
constexpr std::int32_t firstYear = 1900;
constexpr std::int32_t lastYear = 3000;

constexpr bool isLeap(std::int32_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

constexpr std::int32_t daysIn(std::int32_t year) {
    return isLeap(year) ? 366 : 365;
}

constexpr std::int64_t floorDivide(std::int64_t value, std::int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

// Leap years before the start of a year, counted from year 1; negative ahead of that.
constexpr std::int64_t leapYearsBefore(std::int64_t year) {
    return floorDivide(year - 1, 4) - floorDivide(year - 1, 100) + floorDivide(year - 1, 400);
}

std::int32_t toInt(double value) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<std::int32_t>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

template <class T>
void put(T* target, T value) {
    if (target != nullptr) {
        *target = value;
    }
}

// Keys are year * 1000 + day of the year. Some rows end long before the next one starts, and 182 is the last
// day of June in leap years and the first of July in others: the search relies on the former, existing data
// on the latter.
struct OffsetRow {
    std::int32_t start;
    std::int32_t end;
    std::int32_t seconds;
};
constexpr OffsetRow taiMinusUtc[] = {
    {1980001, 1981182, 19}, {1981182, 1982182, 20}, {1982182, 1983182, 21}, {1983182, 1985182, 22},
    {1985182, 1988001, 23}, {1988001, 1990001, 24}, {1990001, 1991001, 25}, {1991001, 1992001, 26},
    {1992001, 1993182, 27}, {1993182, 1994182, 28}, {1994182, 1996001, 29}, {1996001, 1997001, 30},
    {1997001, 1999001, 31}, {1999001, 2006001, 32}, {2006001, 2006182, 33}, {2009001, 2009182, 34},
    {2012183, 2013001, 35},
};

constexpr std::int32_t taiUtcOffset(std::int32_t year, std::int32_t day) {
    const std::int64_t key = std::int64_t{std::max(year, 1980)} * 1000 + day;
    if (key <= std::begin(taiMinusUtc)->start) {
        return std::begin(taiMinusUtc)->seconds;
    }
    if (key >= std::rbegin(taiMinusUtc)->end) {
        return std::rbegin(taiMinusUtc)->seconds;
    }
    std::size_t low = 0;
    std::size_t high = std::size(taiMinusUtc);
    std::size_t middle = high / 2;
    while (low < middle) {
        if (taiMinusUtc[middle].start > key) {
            high = middle;
        } else if (key < taiMinusUtc[middle].end) {
            break;
        } else {
            low = middle;
        }
        middle = (low + high) / 2;
    }
    return taiMinusUtc[middle].seconds;
}

double sinceEpoch(std::int32_t epoch, std::int32_t year, std::int32_t day, double seconds) {
    return TmYDSminusYDS(epoch, 1, 0.0, year, day, seconds) +
           (taiUtcOffset(year, day) - taiUtcOffset(epoch, 1));
}

void fromEpoch(std::int32_t epoch, double time, std::int32_t* year, std::int32_t* day, double* seconds) {
    if (year == nullptr || day == nullptr || seconds == nullptr) {
        return;
    }
    TmYDSplusS(epoch, 1, 0.0, time, year, day, seconds);
    if (*year < 0) {
        return;
    }
    const std::int32_t atEpoch = taiUtcOffset(epoch, 1);
    const std::int32_t then = taiUtcOffset(*year, *day);
    *seconds += atEpoch - then;
    if (*seconds < 0.0) {
        TmYDSplusS(epoch, 1, 0.0, atEpoch + time - then, year, day, seconds);
    }
}

struct CalendarTime {
    std::int32_t year = -1;
    std::int32_t day = -1;
    double seconds = -1.0;
};

CalendarTime countForward(std::int32_t year, std::int32_t day, double total) {
    // The start day counts in the days but not in the total: callers rely on day 1, where it does not show.
    double days = total / secondsPerDay + day - 1;
    while (days > daysIn(year)) {
        days -= daysIn(year);
        total -= daysIn(year) * secondsPerDay;
        if (++year > lastYear) {
            return {};
        }
    }
    const double whole = std::trunc(days);
    return {year, static_cast<std::int32_t>(whole) + 1, total - whole * secondsPerDay};
}

// Counts from the start of the year after `year`.
CalendarTime countBack(std::int32_t year, double total) {
    double days = total / secondsPerDay;
    while (year >= firstYear && days > daysIn(year)) {
        days -= daysIn(year);
        total -= daysIn(year) * secondsPerDay;
        --year;
    }
    if (year < firstYear) {
        return {};
    }
    const double whole = std::trunc(days);
    const std::int32_t day = daysIn(year) - static_cast<std::int32_t>(whole);
    if (days == whole) {
        return {year, day + 1, 0.0};
    }
    return {year, day, (whole + 1) * secondsPerDay - total};
}

} // namespace

double TmHMSXtoS(std::int32_t hours, std::int32_t minutes, std::int32_t seconds, double fraction) {
    return static_cast<double>((std::int64_t{hours} * 60 + minutes) * 60 + seconds) + fraction;
}

void TmStoHMSX(double seconds, std::int32_t* hours, std::int32_t* minutes, std::int32_t* wholeSeconds,
               double* fraction) {
    const std::int32_t h = toInt(seconds / 3600);
    const std::int32_t m = toInt((seconds - h * 3600.0) / 60);
    const std::int32_t s = toInt(seconds - (h * 60.0 + m) * 60.0);
    put(hours, h);
    put(minutes, m);
    put(wholeSeconds, s);
    put(fraction, seconds - std::trunc(seconds));
}

double TmYDSminusYDS(std::int32_t year1, std::int32_t day1, double seconds1, std::int32_t year2,
                     std::int32_t day2, double seconds2) {
    if (year1 > year2) {
        return -TmYDSminusYDS(year2, day2, seconds2, year1, day1, seconds1);
    }
    const std::int64_t years = std::int64_t{year2} - year1;
    const std::int64_t days =
        std::int64_t{day2} - day1 + 365 * years + leapYearsBefore(year2) - leapYearsBefore(year1);
    return static_cast<double>(days) * secondsPerDay + (seconds2 - seconds1);
}

void TmYDSplusS(std::int32_t year, std::int32_t day, double seconds, double delta, std::int32_t* resultYear,
                std::int32_t* resultDay, double* resultSeconds) {
    CalendarTime result;
    const bool allOutputs = resultYear != nullptr && resultDay != nullptr && resultSeconds != nullptr;
    const bool inRange = year >= firstYear && year <= lastYear && day >= 1 && day <= 366;
    if (allOutputs && inRange && seconds >= 0.0) {
        if (delta >= 0.0) {
            result = countForward(year, day, seconds + delta);
        } else if (delta < 0.0) {
            result = countBack(year - 1, -delta);
        }
    }
    put(resultYear, result.year);
    put(resultDay, result.day);
    put(resultSeconds, result.seconds);
}

void TmYJDtoMD(std::int32_t year, std::int32_t dayOfYear, std::int32_t* month, std::int32_t* dayOfMonth) {
    const int leap = isLeap(year) ? 1 : 0;
    const std::int64_t day = std::int64_t{dayOfYear} + (dayOfYear > 59 + leap ? 2 - leap : 0);
    const std::int64_t m = ((day + 91) * 100) / 3055;
    put(dayOfMonth, static_cast<std::int32_t>(day + 91 - (m * 3055) / 100));
    put(month, static_cast<std::int32_t>(m - 2));
}

std::int32_t TmYMDtoJD(std::int32_t year, std::int32_t month, std::int32_t day) {
    if (month < 1 || month > 12 || day < 1 || day > 31) {
        return 0;
    }
    const std::int32_t leap = 1 - (year % 4 + 3) / 4 + (year % 100 + 99) / 100 - (year % 400 + 399) / 400;
    return (3055 * (month + 2)) / 100 - ((month + 10) / 13) * 2 - 91 + (leap * (month + 10)) / 13 + day;
}

double TmUTCs80toUTCs70(double seconds) {
    return seconds + seconds1970to1980;
}

std::int32_t TmGetTAIUTCOffset(std::int32_t year, std::int32_t day) {
    return taiUtcOffset(year, day);
}

void TmUTCs70toYDS(double utcSeconds, std::int32_t* year, std::int32_t* day, double* seconds) {
    fromEpoch(1970, utcSeconds, year, day, seconds);
}

void TmUTCs80toYDS(double utcSeconds, std::int32_t* year, std::int32_t* day, double* seconds) {
    fromEpoch(1980, utcSeconds, year, day, seconds);
}

double TmYDStoUTCs70(std::int32_t year, std::int32_t day, double seconds) {
    return sinceEpoch(1970, year, day, seconds);
}

double TmYDStoUTCs80(std::int32_t year, std::int32_t day, double seconds) {
    return sinceEpoch(1980, year, day, seconds);
}
