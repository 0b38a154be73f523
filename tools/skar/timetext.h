#pragma once

#include <fmt/format.h>

#include <optional>
#include <string>

namespace skar::tool {

// The store's time scale, as headers and help texts name it.
inline constexpr const char* timeScale = "seconds since 1980-01-01T00:00:00Z, leap seconds counted (UTCs80)";

// Writes times of the store as UTC, 2024-03-01T10:00:00.000Z; nothing for a time outside the calendar of the
// store. Keeps the day of the last time, which makes a run of times cheap.
class UtcWriter {
public:
    void append(fmt::memory_buffer& out, double seconds);
    std::string text(double seconds);

private:
    void setDay(double seconds);

    double dayStart_ = 0.0;
    bool valid_ = false;
    double secondsOfDay_ = 0.0;
    int year_ = 0;
    int month_ = 0;
    int day_ = 0;
};

// The time in the store's scale of a text that is a number of seconds or a UTC time of the form above, of
// which the time of day, the fraction and the Z may be missing. Nothing for any other text.
std::optional<double> parseTime(const std::string& text);

} // namespace skar::tool
