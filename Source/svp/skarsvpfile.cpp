#include "platform/file.h"
#include "strings/numbers.h"
#include "svp/textfile.h"

#include <skar/codes.h>
#include <skar/soundvelocity.h>
#include <skar/time.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace codes = skar::codes;
namespace svp = skar::svp;
using skar::strings::append;

namespace {

constexpr std::string_view versionMark = "[SVP_VERSION_2]";
constexpr std::string_view sectionMark = "Section";
constexpr std::size_t longestLine = 254;
constexpr double slowest = 1400.0;
constexpr double fastest = 2000.0;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The digits at the start of the text, at most `most` of them; taken off it.
std::string_view takeDigits(std::string_view& text, std::size_t most) {
    std::size_t count = 0;
    while (count < most && count < text.size() && isDigit(text[count]))
        ++count;
    const std::string_view digits = text.substr(0, count);
    text.remove_prefix(count);
    return digits;
}

bool take(std::string_view& text, char character) {
    if (text.empty() || text.front() != character) return false;
    text.remove_prefix(1);
    return true;
}

std::int32_t number(std::string_view digits) {
    std::int32_t value = 0;
    for (const char digit : digits)
        value = value * 10 + (digit - '0');
    return value;
}

// "2026-045": year and day of the year.
bool parseDate(std::string_view text, std::int32_t& year, std::int32_t& day) {
    const std::string_view years = takeDigits(text, 4);
    if (years.size() != 4 || !take(text, '-')) return false;
    const std::string_view days = takeDigits(text, 3);
    if (days.empty() || !text.empty()) return false;
    year = number(years);
    day = number(days);
    return true;
}

// "12:30" or "12:30:59", the second colon being optional.
bool parseTime(std::string_view text, std::int32_t& seconds) {
    const std::string_view hour = takeDigits(text, 2);
    if (hour.empty() || !take(text, ':')) return false;
    const std::string_view minute = takeDigits(text, 2);
    if (minute.size() != 2) return false;
    take(text, ':');
    const std::string_view second = takeDigits(text, 2);
    if (second.size() == 1 || !text.empty()) return false;
    seconds = (number(hour) * 60 + number(minute)) * 60 + number(second);
    return true;
}

// A sign, digits and a point with digits behind it, no exponent; a point wants a digit behind it.
std::string_view takeDecimal(std::string_view& text) {
    const std::string_view before = text;
    if (!take(text, '-')) take(text, '+');
    bool digits = !takeDigits(text, text.size()).empty();
    if (take(text, '.')) digits = !takeDigits(text, text.size()).empty();
    return digits ? before.substr(0, before.size() - text.size()) : std::string_view();
}

std::size_t skip(std::string_view& text, std::string_view blanks) {
    const std::size_t count = std::min(text.find_first_not_of(blanks), text.size());
    text.remove_prefix(count);
    return count;
}

std::vector<std::string_view> tokensOf(std::string_view line) {
    std::vector<std::string_view> tokens;
    skip(line, " \t");
    while (!line.empty()) {
        tokens.push_back(line.substr(0, line.find_first_of(" \t")));
        line.remove_prefix(tokens.back().size());
        skip(line, " \t");
    }
    return tokens;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

int parseHeader(std::string_view line, SvpFile::SvpSections& section) {
    const std::vector<std::string_view> tokens = tokensOf(line);
    std::int32_t year = 0;
    std::int32_t day = 0;
    std::int32_t seconds = 0;
    if (tokens.size() < 3 || !parseDate(tokens[1], year, day) || !parseTime(tokens[2], seconds))
        return codes::svpNoValidSection;
    section.time = TmYDStoUTCs80(year, day, seconds);
    const bool hasPosition = tokens.size() == 5;
    section.latitude = svp::textOf(hasPosition ? tokens[3] : "00:00:00.00");
    section.longitude = svp::textOf(hasPosition ? tokens[4] : "000:00:00.00");
    return codes::success;
}

bool parseValue(std::string_view line, SvpFile::SvpValues& value) {
    skip(line, "\t ");
    const std::string_view depth = takeDecimal(line);
    if (depth.empty() || skip(line, " \t") == 0) return false;
    const std::string_view velocity = takeDecimal(line);
    skip(line, " ");
    if (velocity.empty() || !line.empty()) return false;
    value.depth = skar::strings::toNumber(depth);
    value.velocity = skar::strings::toNumber(velocity);
    return true;
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// What may stand in the second line: one line of its own that is not taken for a section.
bool fitsSecondLine(std::string_view name) {
    return !contains(name, sectionMark) && name.size() <= longestLine &&
           name.find_first_of(std::string_view("\n\0", 2)) == std::string_view::npos;
}

std::string secondLine(const MORVAUString& sourceFile, const MORVAUString& fileName) {
    const std::string name = svp::bytesOf(sourceFile.isEmpty() ? fileName : sourceFile);
    if (fitsSecondLine(name)) return name;
    const std::string last = name.substr(name.find_last_of("/\\") + 1);
    return fitsSecondLine(last) ? last : "source";
}

// A position is one word of the section's line, or it would shift the others.
std::string positionWord(const MORVAUString& text, const char* none) {
    const std::string word = svp::bytesOf(text);
    const bool fits =
        !word.empty() && word.find_first_of(std::string_view(" \t\r\n\0", 5)) == std::string::npos;
    return fits && word.size() <= 100 ? word : none;
}

bool appendHeader(std::string& text, const SvpFile::SvpSections& section) {
    std::int32_t year = 0;
    std::int32_t day = 0;
    double seconds = 0.0;
    TmUTCs80toYDS(section.time, &year, &day, &seconds);
    if (year < 0) {
        svp::notSaved(L"The time of a section is no date.");
        return false;
    }
    const auto whole = static_cast<std::int64_t>(std::trunc(seconds));
    text += sectionMark;
    text += ' ';
    append(text, std::int64_t{year});
    text += '-';
    append(text, std::int64_t{day}, 3, true);
    text += ' ';
    append(text, whole / 3600, 2, true);
    text += ':';
    append(text, whole / 60 % 60, 2, true);
    text += ':';
    append(text, whole % 60, 2, true);
    text += ' ' + positionWord(section.latitude, "00:00:0.00") + ' ' +
            positionWord(section.longitude, "000:00:0.00") + '\n';
    return true;
}

} // namespace

int SkarSvpFile::ParseSectionHeader(const char* line, SvpSections& section) {
    return line == nullptr ? codes::svpNoValidSection : parseHeader(line, section);
}

bool SkarSvpFile::ParseSection(const char* line, SvpValues& value) {
    return line != nullptr && parseValue(line, value);
}

int SkarSvpFile::ReadInData() {
    sections.clear();
    std::FILE* stream = skar::platform::openFile(fileName.getTerminatedBuffer(), "rb");
    if (stream == nullptr) return codes::svpOpen;
    const int result = ReadSvpFile(stream);
    std::fclose(stream);
    return result;
}

int SkarSvpFile::ReadSvpFile(std::FILE* stream) {
    sections.clear();
    sourceFile = MORVAUString();
    version = 1;
    if (stream == nullptr) return codes::failed;
    const auto lines = std::make_unique<svp::TextLines>(stream);
    if (!lines->next()) return codes::failed;
    if (lines->line().starts_with(versionMark)) {
        version = 2;
        if (!lines->next()) return codes::failed;
    }
    const std::string_view second = trimmed(lines->line());
    if (version == 2 && !contains(second, sectionMark)) {
        sourceFile = svp::textOf(second);
    } else {
        // The mark, read again, is neither a section nor a value.
        lines->rewind();
    }

    double previous = -1.0;
    while (lines->next()) {
        const std::string_view line = lines->line();
        if (contains(line, sectionMark)) {
            SvpSections section;
            const int result = parseHeader(line, section);
            if (result != codes::success) return result;
            sections.append(std::move(section));
            previous = -1.0;
            continue;
        }
        SvpValues value;
        if (!parseValue(line, value)) continue;
        if (sections.isEmpty()) return codes::svpNoValidSection;
        if (value.depth < 0.0 || value.depth <= previous || value.velocity < slowest ||
            value.velocity > fastest)
            continue;
        sections.last()->values.append(value);
        previous = value.depth;
    }
    if (lines->failed()) return codes::failed;
    return sections.isEmpty() ? codes::svpNoValidSection : codes::success;
}

int SkarSvpFile::UpdateDataFile() {
    return svp::saveText(fileName, [this](svp::TextOutput& output) {
        output.text() += std::string(versionMark) + '\n' + secondLine(sourceFile, fileName) + '\n';
        for (const SvpSections& section : sections) {
            if (section.status == isRemoved) continue;
            bool headed = false;
            for (const SvpValues& value : section.values) {
                if (value.status == isRemoved) continue;
                std::string& text = output.text();
                if (!headed && !appendHeader(text, section)) return false;
                headed = true;
                text += "  ";
                append(text, value.depth, {.decimals = 6});
                text += ' ';
                append(text, value.velocity, {.decimals = 6});
                text += '\n';
                if (!output.step()) return false;
            }
        }
        return true;
    });
}
