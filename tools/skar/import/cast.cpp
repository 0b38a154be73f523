#include "import/cast.h"

#include "import/textlines.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>

namespace skar::import {

namespace {

using Lines = std::span<const std::string_view>;
using Columns = std::vector<std::string_view>;

constexpr std::string_view blanks = " \t\r\v\f";

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

Columns words(std::string_view text) {
    Columns all;
    for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
        all.push_back(text.substr(0, text.find_first_of(blanks)));
        text.remove_prefix(all.back().size());
    }
    return all;
}

Columns trimmedFields(std::string_view text, char separator) {
    Columns all = fields(text, separator);
    for (std::string_view& each : all)
        each = trimmed(each);
    return all;
}

bool startsWith(std::string_view text, std::string_view start) {
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(),
                      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

// The text behind the first label and separator that a line begins with.
std::string_view valueOf(Lines lines, std::string_view label, char separator) {
    for (const std::string_view line : lines) {
        const std::string_view text = trimmed(line);
        if (!startsWith(text, label)) continue;
        const std::string_view rest = trimmed(text.substr(label.size()));
        if (rest.starts_with(separator)) return trimmed(rest.substr(1));
    }
    return {};
}

// The whole numbers in a text, whatever stands between them.
std::vector<int> numbersIn(std::string_view text) {
    std::vector<int> all;
    while (!text.empty()) {
        const std::size_t first = text.find_first_of("0123456789");
        if (first == std::string_view::npos) break;
        text.remove_prefix(first);
        const std::size_t length = std::min(text.find_first_not_of("0123456789"), text.size());
        all.push_back(digits(text.substr(0, length)).value_or(-1));
        text.remove_prefix(length);
    }
    return all;
}

enum class DateOrder { yearFirst, dayFirst, monthFirst };

int fullYear(int year) {
    return year >= 0 && year < 80 ? 2000 + year : year >= 80 && year < 100 ? 1900 + year : year;
}

// A date with its time of day behind it, or of a text of its own.
std::optional<Micros> timeOf(std::string_view date, std::string_view timeOfDay, DateOrder order) {
    std::vector<int> parts = numbersIn(date);
    if (!timeOfDay.empty()) {
        if (parts.size() < 3) return std::nullopt;
        parts.resize(3);
        const std::vector<int> more = numbersIn(timeOfDay);
        parts.insert(parts.end(), more.begin(), more.end());
    }
    if (parts.size() < 5) return std::nullopt;
    const int second = parts.size() > 5 ? parts[5] : 0;
    const int year = fullYear(order == DateOrder::yearFirst ? parts[0] : parts[2]);
    const int month = order == DateOrder::monthFirst ? parts[0] : parts[1];
    const int day = order == DateOrder::yearFirst  ? parts[2]
                    : order == DateOrder::dayFirst ? parts[0]
                                                   : parts[1];
    const auto start = midnight(year, month, day);
    if (!start || parts[3] < 0 || parts[3] > 23 || parts[4] < 0 || parts[4] > 59 || second < 0 || second > 60)
        return std::nullopt;
    return *start + (Micros{parts[3]} * 3600 + Micros{parts[4]} * 60 + second) * microsPerSecond;
}

// "21 11.8374S": degrees, and minutes with a hemisphere behind them.
std::optional<double> degreesAndMinutes(std::string_view text) {
    const Columns parts = words(text);
    if (parts.size() != 2 || parts[1].size() < 2) return std::nullopt;
    const auto degrees = decimal(parts[0]);
    const auto minutes = decimal(parts[1].substr(0, parts[1].size() - 1));
    const char hemisphere = static_cast<char>(std::toupper(static_cast<unsigned char>(parts[1].back())));
    if (!degrees || !minutes || std::string_view("NSEW").find(hemisphere) == std::string_view::npos)
        return std::nullopt;
    const double value = *degrees + *minutes / 60;
    return hemisphere == 'S' || hemisphere == 'W' ? -value : value;
}

// "3024.6128000,N": degrees and minutes in one number.
std::optional<double> packedMinutes(std::string_view text) {
    const Columns parts = trimmedFields(text, ',');
    const auto packed = parts.size() == 2 ? decimal(parts[0]) : std::nullopt;
    if (!packed || parts[1].size() != 1) return std::nullopt;
    const double degrees = std::trunc(*packed / 100);
    const double value = degrees + (*packed - degrees * 100) / 60;
    return parts[1] == "S" || parts[1] == "W" ? -value : value;
}

void takePosition(Cast& cast, std::optional<double> latitude, std::optional<double> longitude) {
    if (!latitude || !longitude || std::abs(*latitude) > 90 || std::abs(*longitude) > 360) return;
    cast.latitude = latitude;
    cast.longitude = longitude;
}

void takeSample(CastFile& file, Cast& cast, const Columns& columns, std::size_t depth, std::size_t speed) {
    const std::size_t most = std::max(depth, speed);
    const auto depthValue = columns.size() > most ? decimal(columns[depth]) : std::nullopt;
    const auto speedValue = columns.size() > most ? decimal(columns[speed]) : std::nullopt;
    if (!depthValue || !speedValue || std::abs(*depthValue) > 20000 || std::abs(*speedValue) > 20000) {
        ++file.unparsable;
        return;
    }
    cast.samples.push_back({*depthValue, *speedValue});
}

// The column whose heading begins with the name; throws without one.
std::size_t columnOf(const Columns& headings, std::string_view name) {
    const auto found = std::find_if(headings.begin(), headings.end(),
                                    [name](std::string_view heading) { return startsWith(heading, name); });
    if (found == headings.end()) throw ImportError("no column \"" + std::string(name) + "\"");
    return static_cast<std::size_t>(found - headings.begin());
}

// Where the first line that begins so stands; the number of lines without one.
std::size_t lineOf(Lines lines, std::string_view start) {
    return static_cast<std::size_t>(
        std::find_if(lines.begin(), lines.end(),
                     [start](std::string_view line) { return startsWith(trimmed(line), start); }) -
        lines.begin());
}

Cast& addCast(CastFile& file, std::optional<Micros> time) {
    if (!time) throw ImportError("no date and time of the cast");
    file.casts.emplace_back();
    file.casts.back().time = *time;
    return file.casts.back();
}

constexpr const char* takenAsUtc = "The file names no time zone: its times are taken as UTC.";
constexpr const char* noPosition = "The file holds no position.";

// Probe exports.

constexpr std::size_t probeValueColumn = 17;

bool isProbeExport(Lines lines) {
    const std::size_t heading = lineOf(lines, "Depth (m)");
    if (lineOf(lines, "Date of") == lines.size()) return false;
    // A layout whose first value stands one line further down is read by the library itself.
    if (heading + 1 < lines.size()) {
        const Columns first = words(lines[heading + 1]);
        return first.size() >= 2 && decimal(first[0]) && decimal(first[1]);
    }
    return lineOf(lines, "// Data Fields") != lines.size();
}

std::string_view probeValue(Lines lines, std::string_view label) {
    const std::size_t at = lineOf(lines, label);
    if (at == lines.size()) return {};
    const std::size_t colon = lines[at].find(':');
    return trimmed(lines[at].substr(std::min(std::max(colon + 1, probeValueColumn), lines[at].size())));
}

void readProbeExport(Lines lines, CastFile& file) {
    const std::string_view date = probeValue(lines, "Date of");
    const std::string_view timeOfDay = probeValue(lines, "Time of");
    // Either order is found; a month beyond 12 settles it.
    const std::vector<int> parts = numbersIn(date);
    const bool dayFirst = parts.size() == 3 && parts[0] > 12;
    const bool settled = parts.size() == 3 && (parts[0] > 12 || parts[1] > 12);
    Cast& cast =
        addCast(file, timeOf(date, timeOfDay, dayFirst ? DateOrder::dayFirst : DateOrder::monthFirst));
    if (!settled)
        file.assumptions.emplace_back("The date " + std::string(date) + " is taken as month/day/year.");
    file.assumptions.emplace_back(takenAsUtc);
    takePosition(cast, degreesAndMinutes(probeValue(lines, "Latitude")),
                 degreesAndMinutes(probeValue(lines, "Longitude")));
    if (!cast.latitude) file.assumptions.emplace_back(noPosition);

    std::size_t at = lineOf(lines, "Depth (m)");
    std::size_t depth = 0;
    std::size_t speed = 1;
    if (at != lines.size()) {
        // "Depth (m) - Temperature (C) - Sound Velocity (m/s)": as many columns as there are dashes and one.
        const auto dashes = std::count(lines[at].begin(), lines[at].end(), '-');
        speed = dashes > 0 ? static_cast<std::size_t>(dashes) : 1;
    } else {
        for (std::size_t i = lineOf(lines, "// Data Fields"); i < lines.size(); ++i) {
            if (!startsWith(lines[i], "Field")) continue;
            const auto number = digits(trimmed(lines[i].substr(5, lines[i].find(':') - 5)));
            const std::string_view name = probeValue(lines.subspan(i, 1), "Field");
            if (!number || *number < 1) continue;
            if (startsWith(name, "Depth")) depth = static_cast<std::size_t>(*number - 1);
            if (startsWith(name, "Sound Velocity")) speed = static_cast<std::size_t>(*number - 1);
        }
        for (at = lineOf(lines, "// Data Fields") + 1; at < lines.size() && trimmed(lines[at]) != "// Data";
             ++at) {
        }
    }
    for (++at; at < lines.size(); ++at)
        if (!trimmed(lines[at]).empty()) takeSample(file, cast, words(lines[at]), depth, speed);
}

// Comma-separated values below lines of "% key,value".

bool isPercentTable(Lines lines) {
    return !lines.empty() && lines[0].starts_with("% ") && lineOf(lines, "% Cast time (UTC)") != lines.size();
}

void readPercentTable(Lines lines, CastFile& file) {
    Cast& cast = addCast(file, timeOf(valueOf(lines, "% Cast time (UTC)", ','), {}, DateOrder::yearFirst));
    takePosition(cast, decimal(valueOf(lines, "% Start latitude", ',')),
                 decimal(valueOf(lines, "% Start longitude", ',')));
    file.assumptions.emplace_back("The position is that of the start of the cast.");
    std::size_t at = 0;
    while (at < lines.size() && (lines[at].starts_with('%') || trimmed(lines[at]).empty()))
        ++at;
    if (at == lines.size()) throw ImportError("no headings");
    const Columns headings = trimmedFields(lines[at], ',');
    const std::size_t depth = columnOf(headings, "Depth");
    const std::size_t speed = columnOf(headings, "Sound velocity");
    for (++at; at < lines.size(); ++at)
        if (!trimmed(lines[at]).empty()) takeSample(file, cast, trimmedFields(lines[at], ','), depth, speed);
}

// "[cast header]" and "[data]".

bool isCastHeader(Lines lines) {
    return !lines.empty() && startsWith(trimmed(lines[0]), "[cast header]");
}

void readCastHeader(Lines lines, CastFile& file) {
    const std::size_t start = lineOf(lines, "[data]");
    if (start + 1 >= lines.size()) throw ImportError("no data");
    const Columns headings = trimmedFields(lines[start + 1], ',');
    const std::size_t depth = columnOf(headings, "depth");
    const std::size_t speed = columnOf(headings, "sv");
    Cast& cast = addCast(file, timeOf(valueOf(lines.first(start), "date", '='),
                                      valueOf(lines.first(start), "time", '='), DateOrder::monthFirst));
    file.assumptions.emplace_back("The date of the header is taken as month/day/year.");
    file.assumptions.emplace_back(takenAsUtc);
    file.assumptions.emplace_back(noPosition);
    for (std::size_t at = start + 2; at < lines.size(); ++at)
        if (!trimmed(lines[at]).empty()) takeSample(file, cast, trimmedFields(lines[at], ','), depth, speed);
}

// "[HEADER]", "[COLUMNS]" and "[DATA]".

bool isSectioned(Lines lines) {
    return !lines.empty() && trimmed(lines[0]) == "[HEADER]" && lineOf(lines, "[DATA]") != lines.size();
}

void readSectioned(Lines lines, CastFile& file) {
    const std::size_t start = lineOf(lines, "[DATA]");
    if (start + 2 >= lines.size()) throw ImportError("no data");
    Cast& cast = addCast(file, timeOf(valueOf(lines, "DataStartTime", '='), {}, DateOrder::yearFirst));
    file.assumptions.emplace_back(takenAsUtc);
    takePosition(cast, decimal(valueOf(lines, "Latitude", '=')), decimal(valueOf(lines, "Longitude", '=')));
    const Columns headings = trimmedFields(lines[start + 1], '\t');
    const std::size_t depth = columnOf(headings, "Depth");
    const std::size_t speed = columnOf(headings, "Sound Velocity");
    for (std::size_t at = start + 3; at < lines.size(); ++at)
        if (!trimmed(lines[at]).empty()) takeSample(file, cast, trimmedFields(lines[at], '\t'), depth, speed);
}

// "key : value" lines, then a table whose pressure is in metres.

bool isLoggerTable(Lines lines) {
    const std::size_t at = lineOf(lines, "Date / Time");
    return at != lines.size() && lines[at].find("SOUND VELOCITY") != std::string_view::npos;
}

void readLoggerTable(Lines lines, CastFile& file) {
    const std::size_t start = lineOf(lines, "Date / Time");
    const Columns headings = trimmedFields(lines[start], '\t');
    const std::size_t speed = columnOf(headings, "SOUND VELOCITY");
    const std::size_t depth = columnOf(headings, "PRESSURE;M");
    Cast& cast = addCast(file, timeOf(valueOf(lines, "Time Stamp", ':'), {}, DateOrder::dayFirst));
    file.assumptions.emplace_back("Dates are taken as day/month/year.");
    file.assumptions.emplace_back("Pressure, which the file gives in metres, is taken as the depth.");
    file.assumptions.emplace_back(takenAsUtc);
    file.assumptions.emplace_back(noPosition);
    for (std::size_t at = start + 1; at < lines.size(); ++at)
        if (!trimmed(lines[at]).empty()) takeSample(file, cast, trimmedFields(lines[at], '\t'), depth, speed);
}

// Header lines with '*' and '#' that name the columns.

bool isNamedColumns(Lines lines) {
    return !lines.empty() && lines[0].starts_with("* ") && lineOf(lines, "# name 0 =") != lines.size();
}

std::optional<int> monthOf(std::string_view name) {
    constexpr std::array<std::string_view, 12> names = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (std::size_t i = 0; i < names.size(); ++i)
        if (startsWith(name, names[i])) return static_cast<int>(i + 1);
    return std::nullopt;
}

// Depth below a pressure in dbar, by the formula of the UNESCO technical papers in marine science, number 44.
double depthOfPressure(double pressure, double latitude) {
    const double sine = std::sin(radiansFromDegrees(latitude));
    const double x = sine * sine;
    const double gravity = 9.780318 * (1.0 + (5.2788e-3 + 2.36e-5 * x) * x) + 1.092e-6 * pressure;
    return (((-1.82e-15 * pressure + 2.279e-10) * pressure - 2.2512e-5) * pressure + 9.72659) * pressure /
           gravity;
}

void readNamedColumns(Lines lines, CastFile& file) {
    constexpr double middleLatitude = 45.0;
    std::optional<std::size_t> depth;
    std::optional<std::size_t> pressure;
    std::optional<std::size_t> speed;
    for (const std::string_view line : lines) {
        if (!startsWith(line, "# name ")) continue;
        const std::size_t equals = line.find('=');
        const auto number = digits(trimmed(line.substr(7, std::min(equals, line.size()) - 7)));
        const std::string_view name =
            equals == std::string_view::npos ? line : trimmed(line.substr(equals + 1));
        if (!number) continue;
        if (!depth && startsWith(name, "dep")) depth = static_cast<std::size_t>(*number);
        if (!pressure && startsWith(name, "pr")) pressure = static_cast<std::size_t>(*number);
        if (!speed && startsWith(name, "sv")) speed = static_cast<std::size_t>(*number);
    }
    if ((!depth && !pressure) || !speed)
        throw ImportError("no column of depth or pressure, or of sound velocity");
    // "Jul 11 2013 18:33:00"
    const Columns start = words(valueOf(lines, "# start_time", '='));
    const auto month = start.size() >= 4 ? monthOf(start[0]) : std::nullopt;
    std::optional<Micros> time;
    if (month)
        time = timeOf(std::string(start[2]) + '-' + std::to_string(*month) + '-' + std::string(start[1]),
                      start[3], DateOrder::yearFirst);
    Cast& cast = addCast(file, time);
    file.assumptions.emplace_back(takenAsUtc);
    file.assumptions.emplace_back(noPosition);
    for (const std::string_view line : lines)
        if (!line.starts_with('*') && !line.starts_with('#') && !trimmed(line).empty())
            takeSample(file, cast, words(line), depth ? *depth : *pressure, *speed);
    if (depth) return;
    file.assumptions.emplace_back(
        "The file has pressure in dbar: depths are calculated for a latitude of 45 degrees.");
    for (CastSample& sample : cast.samples)
        sample.depth = depthOfPressure(sample.depth, middleLatitude);
}

// Lines of month-day-year, time, speed, depth and more, without any heading.

bool isDatedTable(Lines lines) {
    if (lines.empty()) return false;
    const Columns first = trimmedFields(lines[0], ',');
    return first.size() >= 4 && numbersIn(first[0]).size() == 3 && first[0].find('-') < 3 &&
           first[1].find(':') != std::string_view::npos && decimal(first[2]) && decimal(first[3]);
}

void readDatedTable(Lines lines, CastFile& file) {
    const Columns first = trimmedFields(lines[0], ',');
    Cast& cast = addCast(file, timeOf(first[0], first[1], DateOrder::monthFirst));
    file.assumptions.emplace_back(
        "The columns have no headings: they are taken as date (month-day-year), time, sound "
        "speed in m/s and depth in m.");
    file.assumptions.emplace_back(takenAsUtc);
    file.assumptions.emplace_back(noPosition);
    for (const std::string_view line : lines)
        if (!trimmed(line).empty()) takeSample(file, cast, trimmedFields(line, ','), 3, 2);
}

// "$AAS10,id,count,hhmmss,dd,mm,yyyy,depth,speed,,,,", then "depth,speed,,,,".

bool isSentence(Lines lines) {
    return !lines.empty() && lines[0].starts_with("$AAS10,");
}

void readSentence(Lines lines, CastFile& file) {
    const Columns head = trimmedFields(lines[0], ',');
    if (head.size() < 9 || head[3].size() != 6) throw ImportError("the heading is too short");
    const std::string time = std::string(head[3].substr(0, 2)) + ':' + std::string(head[3].substr(2, 2)) +
                             ':' + std::string(head[3].substr(4));
    const std::string date = std::string(head[6]) + '-' + std::string(head[5]) + '-' + std::string(head[4]);
    Cast& cast = addCast(file, timeOf(date, time, DateOrder::yearFirst));
    file.assumptions.emplace_back(takenAsUtc);
    file.assumptions.emplace_back(noPosition);
    takeSample(file, cast, head, 7, 8);
    for (const std::string_view line : lines.subspan(1))
        if (!trimmed(line).empty() && !line.starts_with('\\'))
            takeSample(file, cast, trimmedFields(line, ','), 0, 1);
}

// "CALC,..." with a table that ends in zeros and the position behind it.

bool isCalculated(Lines lines) {
    return !lines.empty() && lines[0].starts_with("CALC,") &&
           lineOf(lines, "DEPTH (M) VELOCITY") != lines.size();
}

void readCalculated(Lines lines, CastFile& file) {
    const Columns head = trimmedFields(lines[0], ',');
    if (std::find(head.begin(), head.end(), "meters") == head.end())
        throw ImportError("depths are not in metres");
    const Lines tail = lines.subspan(std::min(lineOf(lines, "*** NAV"), lines.size()));
    const std::string_view time = valueOf(tail, "Time [hh:mm:ss.ss]", ':');
    const std::string_view date = valueOf(tail, "Date [dd/mm/yyyy]", ':');
    Cast& cast = addCast(file, timeOf(date, time, DateOrder::dayFirst));
    file.assumptions.emplace_back(takenAsUtc);
    takePosition(cast, packedMinutes(valueOf(tail, "LAT ( ddmm.mmmmmmm,N)", ':')),
                 packedMinutes(valueOf(tail, "LON (dddmm.mmmmmmm,E)", ':')));
    for (std::size_t at = lineOf(lines, "DEPTH (M) VELOCITY") + 1; at < lines.size(); ++at) {
        const Columns columns = words(lines[at]);
        const bool end = columns.size() >= 2 && decimal(columns[0]) == 0.0 && decimal(columns[1]) == 0.0;
        if (end || lines[at].starts_with("***")) break;
        if (!columns.empty()) takeSample(file, cast, columns, 0, 1);
    }
}

} // namespace

std::span<const CastFormat> castFormats() {
    static constexpr std::array<CastFormat, 9> table{{
        {"probe export", isProbeExport, readProbeExport},
        {"table below % lines", isPercentTable, readPercentTable},
        {"cast header and data", isCastHeader, readCastHeader},
        {"header, columns and data", isSectioned, readSectioned},
        {"logger table", isLoggerTable, readLoggerTable},
        {"table with named columns", isNamedColumns, readNamedColumns},
        {"profiler sentence", isSentence, readSentence},
        {"calculated profile", isCalculated, readCalculated},
        {"dated table without headings", isDatedTable, readDatedTable},
    }};
    return table;
}

std::optional<CastFile> readCastFile(ByteSource& source) {
    if (source.size() > longestCastFile) return std::nullopt;
    std::string content(static_cast<std::size_t>(source.size()), '\0');
    content.resize(source.read(0, std::as_writable_bytes(std::span(content))));
    std::vector<std::string_view> lines;
    std::uint64_t overlong = 0;
    for (std::string_view rest = content; !rest.empty();) {
        if (lines.size() == mostCastLines) return std::nullopt;
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        while (line.ends_with('\r'))
            line.remove_suffix(1);
        const bool readable = line.size() <= TextLines::longestLine;
        overlong += readable ? 0 : 1;
        lines.push_back(readable ? line : std::string_view());
    }
    while (!lines.empty() && trimmed(lines.back()).empty())
        lines.pop_back();
    for (const CastFormat& format : castFormats()) {
        if (!format.matches(lines)) continue;
        CastFile file;
        file.format = format.name;
        file.unparsable = overlong;
        format.read(lines, file);
        return file;
    }
    return std::nullopt;
}

bool isInWater(const CastSample& sample) {
    constexpr double slowest = 1400.0;
    constexpr double fastest = 2000.0;
    return sample.depth >= 0 && sample.speed >= slowest && sample.speed <= fastest;
}

WayDown wayDown(const Cast& cast) {
    WayDown way;
    for (const CastSample& sample : cast.samples) {
        if (!isInWater(sample)) {
            ++way.outOfRange;
        } else if (!way.samples.empty() && sample.depth <= way.samples.back().depth) {
            ++way.notDeeper;
        } else {
            way.samples.push_back(sample);
        }
    }
    return way;
}

} // namespace skar::import
