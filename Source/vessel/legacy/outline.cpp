#include "vessel/legacy/convert.h"

#include "xml/numbertext.h"

#include <array>

namespace skar::vessel::legacy {
namespace {

constexpr std::string_view blockStart = "#\tStart Shape\n";
constexpr std::string_view blockEnd = "#\tEnd Shape\n";
constexpr std::string_view partEnd = "#\t;\n";
constexpr std::string_view blanks = " \t\n";

// The next line with its line feed, or 255 characters of it: the rest is then a line of its own. Empty at the
// end.
std::string_view takeLine(std::string_view& text) {
    constexpr std::size_t longest = 255;
    const std::size_t feed = text.substr(0, longest).find('\n');
    const std::string_view line = text.substr(0, feed == std::string_view::npos ? longest : feed + 1);
    text.remove_prefix(line.size());
    return line;
}

std::string_view takeWord(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    const std::string_view word = line.substr(0, line.find_first_of(blanks));
    line.remove_prefix(word.size());
    return word;
}

bool startsWithNumber(std::string_view word) {
    if (word.starts_with('-') || word.starts_with('+')) word.remove_prefix(1);
    if (word.starts_with('.')) word.remove_prefix(1);
    return !word.empty() && word[0] >= '0' && word[0] <= '9';
}

struct Numbers {
    std::array<double, 3> values{};
    std::size_t count = 0;
};

// What stands behind the comment mark of a line, up to the first word that is no number.
Numbers numbersOf(std::string_view line) {
    Numbers numbers;
    if (!line.starts_with('#')) return numbers;
    line.remove_prefix(1);
    while (numbers.count < numbers.values.size()) {
        const std::string_view word = takeWord(line);
        if (!startsWithNumber(word)) break;
        numbers.values[numbers.count++] = xml::numberOf(word);
    }
    return numbers;
}

// Hands over the points up to the end of a part. False at the end of the block, where a part must not run on
// into the statements.
template <class Add>
bool readPoints(std::string_view& text, Add add) {
    for (;;) {
        const std::string_view line = takeLine(text);
        if (line == partEnd) return true;
        if (line.empty() || line == blockEnd) return false;
        const Numbers numbers = numbersOf(line);
        if (numbers.count >= 2) add(numbers.values[0], numbers.values[1]);
    }
}

} // namespace

std::optional<SKARVesselShape> readOutline(std::string_view text) {
    if (takeLine(text) != blockStart) return std::nullopt;
    SKARVesselShape shape;
    if (!readPoints(text, [&shape](double x, double y) { shape.addPlanViewCoord(x, y); })) return shape;
    if (!readPoints(text, [&shape](double y, double z) { shape.addProfileViewCoord(y, z); })) return shape;
    const Numbers size = numbersOf(takeLine(text));
    shape.setRP(size.values[0], size.values[1], size.values[2]);
    return shape;
}

} // namespace skar::vessel::legacy
