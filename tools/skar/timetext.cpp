#include "timetext.h"

#include <skar/time.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace skar::tool {

namespace {

constexpr double secondsPerDay = 86400.0;

// Takes digits off the front of text; nothing when there are not that many.
std::optional<int> takeNumber(std::string_view& text, std::size_t digits) {
    int number = 0;
    if (text.size() < digits) return std::nullopt;
    const char* const end = text.data() + digits;
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < 0 || text.front() == '-') return std::nullopt;
    text.remove_prefix(digits);
    return number;
}

bool take(std::string_view& text, char expected) {
    if (text.empty() || text.front() != expected) return false;
    text.remove_prefix(1);
    return true;
}

struct TimeOfDay {
    int hours = 0;
    int minutes = 0;
    double seconds = 0.0;
};

// hh:mm, hh:mm:ss or hh:mm:ss.fff
std::optional<TimeOfDay> takeTimeOfDay(std::string_view& text) {
    TimeOfDay time;
    const auto hours = takeNumber(text, 2);
    if (!hours || !take(text, ':')) return std::nullopt;
    const auto minutes = takeNumber(text, 2);
    if (!minutes) return std::nullopt;
    time.hours = *hours;
    time.minutes = *minutes;
    if (take(text, ':')) {
        const std::size_t length = std::min(text.find_first_not_of("0123456789."), text.size());
        const auto [stop, error] = std::from_chars(text.data(), text.data() + length, time.seconds);
        if (error != std::errc() || stop != text.data() + length || length < 2) return std::nullopt;
        text.remove_prefix(length);
    }
    if (time.hours > 23 || time.minutes > 59 || time.seconds >= 61.0) return std::nullopt;
    return time;
}

bool isDate(int year, int month, int day) {
    constexpr int longest[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1900 || month < 1 || month > 12 || day < 1 || day > longest[month - 1]) return false;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month != 2 || day < 29 || leap;
}

} // namespace

void UtcWriter::setDay(double seconds) {
    std::int32_t year = -1;
    std::int32_t dayOfYear = -1;
    TmUTCs80toYDS(seconds, &year, &dayOfYear, &secondsOfDay_);
    valid_ = year > 0;
    if (!valid_) return;
    std::int32_t month = 0;
    std::int32_t day = 0;
    TmYJDtoMD(year, dayOfYear, &month, &day);
    // Ahead of a leap second the conversion counts it some seconds too early; the day's start is sure.
    dayStart_ = TmYDStoUTCs80(year, dayOfYear, 0.0);
    secondsOfDay_ = seconds - dayStart_;
    year_ = year;
    month_ = month;
    day_ = day;
}

void UtcWriter::append(fmt::memory_buffer& out, double seconds) {
    if (!std::isfinite(seconds)) return;
    // The last second of a day is looked up every time: a leap second may follow it.
    const bool sameDay = valid_ && seconds >= dayStart_ && seconds < dayStart_ + secondsPerDay - 1.0;
    if (sameDay) {
        secondsOfDay_ = seconds - dayStart_;
    } else {
        setDay(seconds);
        const double toMidnight = secondsPerDay - secondsOfDay_;
        if (valid_ && toMidnight > 0.0 && toMidnight <= 0.0005) setDay(seconds + 0.001);
    }
    if (!valid_) return;

    auto milliseconds = static_cast<long long>(std::floor(secondsOfDay_ * 1000.0 + 0.5));
    int leapSecond = 0;
    if (milliseconds >= 86400000) {
        leapSecond = 1;
        milliseconds -= 1000;
    }
    const auto minutes = static_cast<int>(milliseconds / 60000);
    const auto withinMinute = static_cast<int>(milliseconds % 60000);
    fmt::format_to(std::back_inserter(out), "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", year_, month_, day_,
                   minutes / 60, minutes % 60, withinMinute / 1000 + leapSecond, withinMinute % 1000);
}

std::string UtcWriter::text(double seconds) {
    fmt::memory_buffer buffer;
    append(buffer, seconds);
    return fmt::to_string(buffer);
}

std::optional<double> parseTime(const std::string& text) {
    double seconds = 0.0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error == std::errc() && stop == text.data() + text.size() && std::isfinite(seconds)) return seconds;

    std::string_view rest = text;
    const auto year = takeNumber(rest, 4);
    if (!year || !take(rest, '-')) return std::nullopt;
    const auto month = takeNumber(rest, 2);
    if (!month || !take(rest, '-')) return std::nullopt;
    const auto day = takeNumber(rest, 2);
    if (!day || !isDate(*year, *month, *day)) return std::nullopt;
    TimeOfDay time;
    if (take(rest, 'T') || take(rest, ' ')) {
        const auto timeOfDay = takeTimeOfDay(rest);
        if (!timeOfDay) return std::nullopt;
        time = *timeOfDay;
    }
    take(rest, 'Z');
    if (!rest.empty()) return std::nullopt;
    return TmYDStoUTCs80(*year, TmYMDtoJD(*year, *month, *day),
                         (time.hours * 60 + time.minutes) * 60 + time.seconds);
}

} // namespace skar::tool
