#pragma once

#include <skar/sensor.h>

#include <cmath>
#include <cstdint>

// The scale codings of the store: a physical value to a stored word and back. Rounding is half away from
// zero.
//
// An encoder gives false for a value that has no 64-bit result (NaN, infinity, beyond 2^63) and sets the word
// to 0; a result wider than the word keeps its low 32 bits. A record with such a value is refused by its
// family; an extent that never widened is stored as the word stands.
namespace skar::fileio {

// The low 32 bits of a number cut toward zero.
inline bool lowWord(double value, std::uint32_t& word) noexcept {
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!(value >= -limit && value < limit)) [[unlikely]] {
        word = 0;
        return false;
    }
    word = static_cast<std::uint32_t>(static_cast<std::int64_t>(value));
    return true;
}

inline bool roundToWord(double value, std::uint32_t& word) noexcept {
    return lowWord(value < 0.0 ? value - 0.5 : value + 0.5, word);
}

// Steps of 0.001, saturating beyond two million: metres, and the millis coding of the simple sensors.
inline bool TELD_EncodeMeters(double value, std::uint32_t& word) noexcept {
    constexpr double most = 2000000.0;
    if (value >= -most && value <= most) [[likely]] {
        const double scaled = value * 1000.0;
        word = static_cast<std::uint32_t>(static_cast<std::int32_t>(scaled + std::copysign(0.5, scaled)));
        return true;
    }
    word = value > most ? 0x7FFFFFFF : value < -most ? 0x80000000 : 0;
    return !std::isnan(value);
}
inline double TELD_DecodeMeters(std::int32_t value) noexcept {
    return value / 1000.0;
}

// Steps of 1e-7 without a clamp: radians, and the fine coding of the simple sensors.
inline bool TELD_EncodeRadians(double value, std::uint32_t& word) noexcept {
    return roundToWord(value * 1e7, word);
}
inline double TELD_DecodeRadians(std::int32_t value) noexcept {
    return value / 1e7;
}

// Steps of 1e-6.
inline bool TELD_EncodeSeconds(double seconds, std::uint32_t& word) noexcept {
    return roundToWord(seconds * 1e6, word);
}
inline double TELD_DecodeSeconds(std::int32_t value) noexcept {
    return value / 1e6;
}

// The reference minute of a file, from the time of its first record in seconds.
inline bool TELD_EncodeRefTime(double seconds, std::uint32_t& word) noexcept {
    return roundToWord(seconds / 60.0, word);
}
inline double TELD_DecodeRefTime(std::int32_t minutes) noexcept {
    return minutes * 60.0;
}

// Ticks of the clock from the reference minute.
inline bool TELD_EncodeTime(double seconds, std::int32_t referenceTime, std::int32_t clockAccuracy,
                            std::uint32_t& word) noexcept {
    return roundToWord((seconds - referenceTime * 60.0) * clockAccuracy, word);
}
inline double TELD_DecodeTime(std::int32_t value, std::int32_t referenceTime,
                              std::int32_t clockAccuracy) noexcept {
    return static_cast<double>(value) / clockAccuracy + referenceTime * 60.0;
}

// The reference position of a file, steps of 1e-7.
inline bool TELD_EncodeRefPosition(double position, std::uint32_t& word) noexcept {
    return roundToWord(position / 1e-7, word);
}

// Steps of scale * 1e-9 from the reference position.
inline bool TELD_EncodePosition(double position, std::int32_t reference, std::int32_t scale,
                                std::uint32_t& word) noexcept {
    return roundToWord((position - reference * 1e-7) / (scale * 1e-9), word);
}
inline double TELD_DecodePosition(std::int32_t value, std::int32_t reference, std::int32_t scale) noexcept {
    return static_cast<double>(value) * scale * 1e-9 + reference * 1e-7;
}

// Steps of scale * 1e-9 from a profile's position. The product of value and scale is one of 32 bits.
inline bool TELD_EncodeDepthPosition(double position, double reference, std::int32_t scale,
                                     std::uint32_t& word) noexcept {
    return roundToWord((position - reference) / (scale * 1e-9), word);
}
inline double TELD_DecodeDepthPosition(double reference, std::int32_t value, std::int32_t scale) noexcept {
    const std::uint32_t product = static_cast<std::uint32_t>(value) * static_cast<std::uint32_t>(scale);
    return static_cast<std::int32_t>(product) * 1e-9 + reference;
}

// Ticks of a clock from a profile's time.
inline bool TELD_EncodeDepthTime(double seconds, double reference, std::int32_t scale,
                                 std::uint32_t& word) noexcept {
    return roundToWord((seconds - reference) * scale, word);
}
inline double TELD_DecodeDepthTime(double reference, std::int32_t scale, std::int32_t value) noexcept {
    return static_cast<double>(value) / scale + reference;
}

// The value codings that a handle carries: steps of 0.001 and, for the fine sensors, of 1e-7.
inline std::int32_t encodeMillis(double value) noexcept {
    std::uint32_t word = 0;
    TELD_EncodeMeters(value, word);
    return static_cast<std::int32_t>(word);
}
inline std::int32_t encodeFine(double value) noexcept {
    std::uint32_t word = 0;
    TELD_EncodeRadians(value, word);
    return static_cast<std::int32_t>(word);
}

} // namespace skar::fileio
