#include "xml/numbertext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <system_error>

namespace skar::xml {
namespace {

// Without the white space in front and a plus sign, which from_chars does not take.
std::string_view startOfNumber(std::string_view text) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+') {
        text.remove_prefix(1);
    }
    return text;
}

// Whether a decimal number that does not fit a double is too small, not too large for it.
bool isTiny(std::string_view number) noexcept {
    const std::size_t exponent = number.find_first_of("eE");
    if (exponent != std::string_view::npos) {
        return number.substr(exponent + 1).starts_with('-');
    }
    return number.find_first_of("123456789") > std::min(number.find('.'), number.size());
}

} // namespace

double numberOf(std::string_view text) noexcept {
    text = startOfNumber(text);
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        const std::string_view number(text.data(), static_cast<std::size_t>(end - text.data()));
        value = isTiny(number) ? 0.0 : std::numeric_limits<double>::infinity();
        return number.starts_with('-') ? -value : value;
    }
    return error == std::errc() ? value : 0.0;
}

std::int64_t wholeNumberOf(std::string_view text) noexcept {
    using Limits = std::numeric_limits<std::int64_t>;
    text = startOfNumber(text);
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        return text.starts_with('-') ? Limits::min() : Limits::max();
    }
    return error == std::errc() ? value : 0;
}

std::int32_t integerOf(std::string_view text) noexcept {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(wholeNumberOf(text), Limits::min(), Limits::max()));
}

std::string fixedText(double value, int decimals) {
    std::array<char, 512> digits;
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                            std::chars_format::fixed, std::min(decimals, 100));
    return error == std::errc() ? std::string(digits.data(), end) : std::string();
}

} // namespace skar::xml
