#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Numbers as the text files of the store hold them: with a point, whatever the locale of the process.
namespace skar::strings {

// The longest decimal number (sign, digits with a point, exponent) that the text begins with behind white
// space; 0 without one. Beyond the range of a double it is infinite, or 0 where it is too small.
double toNumber(std::string_view text);

// Walks over a text as scanf does: each step skips white space and takes the longest piece that fits.
class Scanner {
public:
    explicit Scanner(std::string_view line) : rest(line) {}

    // A run of characters other than white space.
    bool word(std::string& value);
    // A decimal number; one beyond the range of a double is refused.
    bool number(double& value);
    // A whole number; one beyond the range becomes the nearest end of it.
    bool whole(std::int64_t& value);
    bool whole(std::int32_t& value);
    // That very character, without white space before it.
    bool literal(char character);
    // Whether nothing but white space is left.
    bool atEnd();

private:
    void skipSpace();
    std::string_view rest;
};

// How a number is printed: decimals behind the point, the width it fills at least, a sign before positive
// ones, and zeros instead of blanks.
struct Fixed {
    int decimals = 6;
    int width = 0;
    bool plus = false;
    bool zeros = false;
};
// Appends what printf's %f prints in the C locale.
void append(std::string& text, double value, Fixed form);
// Appends what printf's %*lld prints, with zeros instead of blanks in the manner of %0*lld.
void append(std::string& text, std::int64_t value, int width = 0, bool zeros = false);

} // namespace skar::strings
