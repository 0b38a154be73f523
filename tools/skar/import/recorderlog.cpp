#include "import/recorderlog.h"

#include "import/textlines.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace skar::import {

std::optional<Micros> recorderTime(std::string_view text) {
    if (text.size() < 19 || text[4] != '-' || text[7] != '-' || text[10] != ' ' || text[13] != ':' ||
        text[16] != ':' || (text.size() > 19 && text[19] != '.'))
        return std::nullopt;
    const auto part = [&](std::size_t at, std::size_t count) { return digits(text.substr(at, count)); };
    const auto year = part(0, 4);
    const auto month = part(5, 2);
    const auto day = part(8, 2);
    const auto hour = part(11, 2);
    const auto minute = part(14, 2);
    const auto second = decimal(text.substr(17));
    if (!year || !month || !day || !hour || !minute || !second || *hour > 23 || *minute > 59 ||
        !(*second >= 0.0 && *second < 61.0))
        return std::nullopt;
    const auto begin = midnight(*year, *month, *day);
    if (!begin) return std::nullopt;
    return *begin + (Micros{*hour} * 3600 + Micros{*minute} * 60) * microsPerSecond +
           static_cast<Micros>(std::llround(*second * 1e6));
}

namespace {

constexpr std::string_view timeColumn = "Timestamp";
constexpr char separator = ';';

// The columns of a heading line that are taken in; -1 for one that is not there.
struct Columns {
    int latitude = -1;
    int longitude = -1;
    int status = -1;
    std::size_t count = 0;
};
struct ColumnName {
    std::string_view name;
    int Columns::*column;
};
constexpr std::array<ColumnName, 3> columnNames{{
    {"Latitude", &Columns::latitude},
    {"Longitude", &Columns::longitude},
    {"Status", &Columns::status},
}};

} // namespace

bool looksLikeRecorderLog(Bytes head) {
    MemorySource source(head);
    TextLines lines(source);
    TextLine line;
    if (!lines.next(line)) return false;
    return line.text.starts_with(timeColumn) && line.text.substr(timeColumn.size()).starts_with(separator);
}

RawData readRecorderLog(ByteSource& source) {
    RawData data;
    LeftOutCounter leftOut;
    TextLines lines(source);
    TextLine line;
    Columns columns;
    std::vector<std::string> others;
    if (lines.next(line)) {
        const auto names = fields(line.text, separator);
        columns.count = names.size();
        if (names.front() != timeColumn) throw ImportError("the first column is not \"Timestamp\"");
        for (std::size_t i = 1; i < names.size(); ++i) {
            const auto known = std::find_if(columnNames.begin(), columnNames.end(),
                                            [&](const ColumnName& row) { return row.name == names[i]; });
            if (known != columnNames.end())
                columns.*known->column = static_cast<int>(i);
            else
                others.emplace_back(names[i]);
        }
    }
    const bool positions = columns.latitude > 0 && columns.longitude > 0;
    std::uint64_t sound = 0;
    while (lines.next(line)) {
        if (line.text.empty() && !line.overlong) continue;
        const auto problem = [&](ProblemKind kind) { data.problems.add(kind, line.offset); };
        const auto values = fields(line.text, separator);
        if (line.unfinished && values.size() < columns.count) {
            problem(ProblemKind::truncated);
            continue;
        }
        const auto time = line.overlong ? std::nullopt : recorderTime(values.front());
        if (!time || values.size() != columns.count) {
            problem(ProblemKind::unparsable);
            continue;
        }
        ++sound;
        data.index.push_back({line.offset, *time, 0, static_cast<std::uint32_t>(line.text.size())});
        if (!positions) continue;
        const auto value = [&](int column) { return values[static_cast<std::size_t>(column)]; };
        if (columns.status > 0 && value(columns.status).starts_with('-')) {
            problem(ProblemKind::noFix);
            continue;
        }
        if (value(columns.latitude).empty() || value(columns.longitude).empty()) {
            problem(ProblemKind::noValue);
            continue;
        }
        const auto latitude = decimal(value(columns.latitude));
        const auto longitude = decimal(value(columns.longitude));
        if (!latitude || !longitude)
            problem(ProblemKind::unparsable);
        else if (std::abs(*latitude) > 90.0 || std::abs(*longitude) > 180.0)
            problem(ProblemKind::badValue);
        else
            data.navigation.records.push_back(
                {*time, radiansFromDegrees(*latitude), radiansFromDegrees(*longitude), 0.0});
    }
    for (const std::string& name : others)
        leftOut.add("column " + name, "column not carried over", sound);
    if (columns.status > 0) leftOut.add("column Status", "read only to leave out what is no fix", sound);
    if (!data.navigation.records.empty()) data.navigation.origin = "Latitude, Longitude";
    if (!data.navigation.records.empty())
        data.conventions = {"Times are taken as UTC: the file names no time zone.",
                            "Positions carry no accuracy."};
    data.leftOut = leftOut.take();
    sortByTime(data);
    return data;
}

} // namespace skar::import
