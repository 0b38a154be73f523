#include "strings/numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace skar::strings {

namespace {

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// What is too large or too small for a double leads with a digit far to the left or to the right of the
// point.
bool isLarge(std::string_view number) {
    std::int64_t places = 0;
    bool point = false;
    bool leading = true;
    std::size_t at = 0;
    for (; at < number.size() && number[at] != 'e' && number[at] != 'E'; ++at) {
        if (number[at] == '.') {
            point = true;
            continue;
        }
        leading = leading && number[at] == '0';
        if (!leading && !point) ++places;
        if (leading && point) --places;
    }
    if (leading) return false;
    std::int64_t exponent = 0;
    if (at < number.size()) {
        const bool negative = number[++at] == '-';
        if (negative || number[at] == '+') ++at;
        for (; at < number.size(); ++at)
            exponent = std::min<std::int64_t>(exponent * 10 + (number[at] - '0'), std::int64_t{1} << 40);
        if (negative) exponent = -exponent;
    }
    return places + exponent > 0;
}

// Takes the number that the text begins with; false and nothing taken without one.
bool takeNumber(std::string_view& text, double& value) {
    const bool signedText = !text.empty() && (text[0] == '-' || text[0] == '+');
    const std::string_view digits = text.substr(signedText ? 1 : 0);
    const bool starts = !digits.empty() &&
                        (isDigit(digits[0]) || (digits[0] == '.' && digits.size() > 1 && isDigit(digits[1])));
    if (!starts) return false;
    double magnitude = 0.0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
    if (error == std::errc::result_out_of_range) {
        const std::string_view number(digits.data(), static_cast<std::size_t>(end - digits.data()));
        magnitude = isLarge(number) ? std::numeric_limits<double>::infinity() : 0.0;
    }
    value = text[0] == '-' ? -magnitude : magnitude;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

void appendPadded(std::string& text, bool negative, bool plus, std::string_view digits, int width,
                  bool zeros) {
    const std::size_t sign = negative || plus ? 1 : 0;
    const std::size_t wanted = static_cast<std::size_t>(std::max(width, 0));
    const std::size_t fill = wanted > sign + digits.size() ? wanted - sign - digits.size() : 0;
    if (!zeros) text.append(fill, ' ');
    if (sign != 0) text.push_back(negative ? '-' : '+');
    if (zeros) text.append(fill, '0');
    text.append(digits);
}

} // namespace

double toNumber(std::string_view text) {
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    double value = 0.0;
    takeNumber(text, value);
    return value;
}

void Scanner::skipSpace() {
    while (!rest.empty() && isSpace(rest.front()))
        rest.remove_prefix(1);
}

bool Scanner::word(std::string& value) {
    skipSpace();
    std::size_t length = 0;
    while (length < rest.size() && !isSpace(rest[length]))
        ++length;
    value.assign(rest.substr(0, length));
    rest.remove_prefix(length);
    return length != 0;
}

bool Scanner::number(double& value) {
    skipSpace();
    std::string_view after = rest;
    double taken = 0.0;
    if (!takeNumber(after, taken) || !std::isfinite(taken)) return false;
    rest = after;
    value = taken;
    return true;
}

bool Scanner::whole(std::int64_t& value) {
    skipSpace();
    const bool plus = !rest.empty() && rest[0] == '+';
    const std::string_view digits = rest.substr(plus ? 1 : 0);
    if (plus && !digits.empty() && digits[0] == '-') return false;
    std::int64_t taken = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), taken);
    if (error == std::errc::invalid_argument) return false;
    if (error == std::errc::result_out_of_range) {
        using Limits = std::numeric_limits<std::int64_t>;
        taken = digits[0] == '-' ? Limits::min() : Limits::max();
    }
    value = taken;
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return true;
}

bool Scanner::whole(std::int32_t& value) {
    std::int64_t wide = 0;
    if (!whole(wide)) return false;
    using Limits = std::numeric_limits<std::int32_t>;
    value = static_cast<std::int32_t>(std::clamp<std::int64_t>(wide, Limits::min(), Limits::max()));
    return true;
}

bool Scanner::literal(char character) {
    if (rest.empty() || rest.front() != character) return false;
    rest.remove_prefix(1);
    return true;
}

bool Scanner::atEnd() {
    skipSpace();
    return rest.empty();
}

void append(std::string& text, double value, Fixed form) {
    // The largest double has 309 digits before the point.
    std::array<char, 400> digits;
    const int decimals = std::clamp(form.decimals, 0, 60);
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), std::fabs(value),
                                            std::chars_format::fixed, decimals);
    static_cast<void>(error);
    appendPadded(text, std::signbit(value), form.plus,
                 {digits.data(), static_cast<std::size_t>(end - digits.data())}, form.width,
                 form.zeros && std::isfinite(value));
}

void append(std::string& text, std::int64_t value, int width, bool zeros) {
    std::array<char, 24> digits;
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    static_cast<void>(error);
    const std::size_t skipped = value < 0 ? 1 : 0;
    appendPadded(text, value < 0, false,
                 {digits.data() + skipped, static_cast<std::size_t>(end - digits.data()) - skipped}, width,
                 zeros);
}

} // namespace skar::strings
