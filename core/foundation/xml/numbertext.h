#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Numbers in the text files of the store, with the point as the decimal sign whatever the locale of the
// process.
namespace skar::xml {

// The number at the start of a text, behind white space: sign, digits, point, exponent, or "inf" and "nan". 0
// without one; beyond the range of a double the infinity or zero of its sign.
double numberOf(std::string_view text) noexcept;

// The whole number at the start of a text, behind white space, 0 without one. Beyond the range the nearest
// end.
std::int64_t wholeNumberOf(std::string_view text) noexcept;
std::int32_t integerOf(std::string_view text) noexcept;

// With a fixed number of decimals, rounded to even at a tie of the stored value, as "%.6f" gives it.
std::string fixedText(double value, int decimals = 6);

} // namespace skar::xml
