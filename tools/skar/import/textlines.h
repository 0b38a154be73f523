#pragma once

#include "import/bytes.h"

#include <optional>
#include <string_view>
#include <vector>

// What the readers of text logs share: lines by window, and numbers that do not depend on the locale.
namespace skar::import {

struct TextLine {
    std::uint64_t offset = 0;
    std::string_view text;   // without its end; valid until the next line is asked for
    bool overlong = false;   // longer than any line of a log; the text is empty
    bool unfinished = false; // the file ends without a line end behind it
};

class TextLines {
public:
    static constexpr std::size_t longestLine = 4096;

    explicit TextLines(ByteSource& source);
    bool next(TextLine& line);

private:
    bool fill();

    ByteSource& source_;
    std::vector<char> window_;
    std::size_t position_ = 0; // within the window
    std::uint64_t start_ = 0;
    bool atEnd_ = false;
};

// A decimal number that fills the whole text, without exponent; nothing else passes.
std::optional<double> decimal(std::string_view text);
// One to nine digits and nothing else.
std::optional<int> digits(std::string_view text);

std::vector<std::string_view> fields(std::string_view text, char separator);

} // namespace skar::import
