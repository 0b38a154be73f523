#include "import/tides.h"

#include "import/recorderlog.h"
#include "import/textlines.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace skar::import {

namespace {

// No tide rises so high; some files mark a missing level by a number of nines.
constexpr double highest = 30.0; // m

std::vector<std::string_view> columnsOf(std::string_view line) {
    std::vector<std::string_view> columns = fields(line, ',');
    for (std::string_view& column : columns) {
        if (column.size() >= 2 && column.starts_with('"') && column.ends_with('"'))
            column = column.substr(1, column.size() - 2);
    }
    return columns;
}

// Metres of the unit that the heading has in its parentheses.
std::optional<double> unitOf(std::string_view heading) {
    if (heading.ends_with("(ft)")) return 0.3048;
    if (heading.ends_with("(m)")) return 1.0;
    return std::nullopt;
}

std::optional<std::size_t> columnOf(const std::vector<std::string_view>& headings, std::string_view name) {
    const auto found = std::find_if(headings.begin(), headings.end(),
                                    [name](std::string_view heading) { return heading.starts_with(name); });
    if (found == headings.end()) return std::nullopt;
    return static_cast<std::size_t>(found - headings.begin());
}

void keep(RawData& data, std::uint64_t offset, std::optional<Micros> time, std::optional<double> level) {
    if (!time || !level) {
        data.problems.add(ProblemKind::unparsable, offset);
    } else if (std::abs(*level) > highest) {
        data.problems.add(ProblemKind::badValue, offset);
    } else {
        data[ScalarKind::tide].records.push_back({*time, *level});
    }
}

// "113225.0416667": the day, and the time of day to the nearest second, to which such numbers are printed.
std::optional<Micros> timeOfDayNumber(std::string_view text) {
    const auto number = decimal(text);
    // From 1700 to 1980, where times of surveys begin.
    constexpr double daysBefore = 102267.0;
    if (!number || *number < daysBefore || *number > 1e6) return std::nullopt;
    static const Micros start = *midnight(1980, 1, 1);
    return start + static_cast<Micros>(std::llround((*number - daysBefore) * 86400.0)) * microsPerSecond;
}

std::vector<std::string_view> wordsOf(std::string_view line) {
    std::vector<std::string_view> words = fields(line, ' ');
    std::erase_if(words, [](std::string_view word) { return word.empty(); });
    return words;
}

} // namespace

bool looksLikeTideTable(Bytes head) {
    MemorySource source(head);
    TextLines lines(source);
    TextLine line;
    if (!lines.next(line)) return false;
    const auto headings = columnsOf(line.text);
    return headings.size() >= 3 && headings[0] == "Date" && headings[1].starts_with("Time") &&
           (columnOf(headings, "Verified") || columnOf(headings, "Preliminary"));
}

RawData readTideTable(ByteSource& source) {
    RawData data;
    LeftOutCounter leftOut;
    TextLines lines(source);
    TextLine line;
    lines.next(line);
    const std::string heading(line.text);
    const auto headings = columnsOf(heading);
    std::vector<std::size_t> levels;
    for (const char* name : {"Verified", "Preliminary"}) {
        if (const auto column = columnOf(headings, name)) levels.push_back(*column);
    }
    if (levels.empty() || headings.size() < 3)
        throw ImportError("no column of verified or preliminary levels");
    const auto unit = unitOf(headings[levels.front()]);
    if (!unit || std::any_of(levels.begin(), levels.end(),
                             [&](std::size_t level) { return unitOf(headings[level]) != unit; }))
        throw ImportError("the headings do not say whether the levels are in feet or in metres");

    while (lines.next(line)) {
        if (line.text.empty() && !line.overlong) continue;
        const auto columns = columnsOf(line.text);
        if (line.overlong || columns.size() != headings.size()) {
            data.problems.add(line.unfinished ? ProblemKind::truncated : ProblemKind::unparsable,
                              line.offset);
            continue;
        }
        const auto stated = std::find_if(levels.begin(), levels.end(), [&](std::size_t level) {
            return !columns[level].empty() && columns[level] != "-";
        });
        if (stated == levels.end()) {
            data.problems.add(ProblemKind::noValue, line.offset);
            continue;
        }
        std::string date(columns[0]);
        std::replace(date.begin(), date.end(), '/', '-');
        const auto time =
            recorderTime(date + ' ' + std::string(columns[1]) + (columns[1].size() == 5 ? ":00" : ""));
        const auto level = decimal(columns[*stated]);
        keep(data, line.offset, time, level ? std::optional(*level * *unit) : std::nullopt);
    }
    data[ScalarKind::tide].origin = std::string(headings[levels.front()]);
    if (columnOf(headings, "Predicted"))
        leftOut.add("predicted levels", "only observed ones are taken",
                    data[ScalarKind::tide].records.size());
    data.leftOut = leftOut.take();
    data.conventions.emplace_back(*unit == 1.0 ? "Levels are in metres."
                                               : "Levels are in feet, turned into metres by 0.3048.");
    if (headings[1].find("GMT") == std::string_view::npos &&
        headings[1].find("UTC") == std::string_view::npos)
        data.conventions.emplace_back("The file names no time zone: its times are taken as UTC.");
    sortByTime(data);
    return data;
}

bool looksLikeTideDays(Bytes head) {
    MemorySource source(head);
    TextLines lines(source);
    TextLine line;
    if (!lines.next(line)) return false;
    const auto words = wordsOf(line.text);
    // Seven decimals, and a day between 1900 and 2100.
    return words.size() == 2 && words[0].size() >= 8 && words[0][words[0].size() - 8] == '.' &&
           decimal(words[0]).value_or(0) > 73000 && decimal(words[0]).value_or(0) < 146100 &&
           words[1].find('.') == std::string_view::npos && decimal(words[1]);
}

RawData readTideDays(ByteSource& source) {
    RawData data;
    TextLines lines(source);
    TextLine line;
    while (lines.next(line)) {
        if (line.text.empty() && !line.overlong) continue;
        const auto words = wordsOf(line.text);
        if (line.overlong || words.size() != 2) {
            data.problems.add(line.unfinished ? ProblemKind::truncated : ProblemKind::unparsable,
                              line.offset);
            continue;
        }
        const auto level = decimal(words[1]);
        keep(data, line.offset, timeOfDayNumber(words[0]),
             level ? std::optional(*level / 1000) : std::nullopt);
    }
    data[ScalarKind::tide].origin = "levels";
    data.conventions = {
        "Levels are taken as millimetres, days as counted from 1700-01-01, times as UTC and as whole "
        "seconds: the file names none of them."};
    sortByTime(data);
    return data;
}

} // namespace skar::import
