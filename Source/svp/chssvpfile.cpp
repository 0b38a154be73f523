#include "strings/numbers.h"
#include "svp/textfile.h"

#include <skar/codes.h>
#include <skar/soundvelocity.h>
#include <skar/time.h>

#include <boost/date_time/c_time.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <limits>
#include <string>
#include <string_view>

namespace codes = skar::codes;
namespace svp = skar::svp;
using skar::strings::append;
using skar::strings::Fixed;
using skar::strings::Scanner;

namespace {

constexpr std::string_view formatName = "SoundVelocity";
constexpr Fixed degreesForm{.decimals = 7};
constexpr Fixed valueForm{.decimals = 2};

// The time of a number YYYYMMDDHHMM; 0 where its parts are no date.
double castTime(std::int64_t stamp) {
    const std::int64_t year = stamp / 100000000;
    const std::int64_t month = stamp / 1000000 % 100;
    const std::int64_t dayOfMonth = stamp / 10000 % 100;
    const std::int64_t hour = stamp / 100 % 100;
    const std::int64_t minute = stamp % 100;
    if (year < 1900 || year > 3000 || hour < 0 || hour > 23 || minute < 0 || minute > 59) return 0.0;
    const auto y = static_cast<std::int32_t>(year);
    const std::int32_t day =
        TmYMDtoJD(y, static_cast<std::int32_t>(month), static_cast<std::int32_t>(dayOfMonth));
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    if (day < 1 || day > (leap ? 366 : 365)) return 0.0;
    return TmYDStoUTCs80(y, day, static_cast<double>((hour * 60 + minute) * 60));
}

std::int64_t whole(double value) {
    // Far beyond any position, and still a number of int.
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int64_t>(std::min(std::trunc(value), most));
}

// Nothing but a positive number goes without the minus, and a second may count 60.
MORVAUString positionText(double position) {
    const double size = std::fabs(position);
    const std::int64_t degrees = whole(size);
    const double rest = (size - static_cast<double>(degrees)) * 60;
    const std::int64_t minutes = whole(rest);
    const std::int64_t seconds = whole((rest - static_cast<double>(minutes)) * 60 + 0.5);
    std::string text = position > 0 ? "" : "-";
    append(text, degrees);
    text += ':';
    append(text, minutes, 2, true);
    text += ':';
    append(text, seconds, 2, true);
    return svp::textOf(text);
}

// "202603141230", as dates stand in a header.
void appendStamp(std::string& text, std::int64_t year, std::int64_t month, std::int64_t day,
                 std::int64_t hour, std::int64_t minute) {
    append(text, year, 4);
    for (const std::int64_t part : {month, day, hour, minute})
        append(text, part, 2, true);
}

std::string castStamp(double time) {
    std::int32_t year = 0;
    std::int32_t day = 0;
    double seconds = 0.0;
    TmUTCs80toYDS(time, &year, &day, &seconds);
    // The first instant of 1981 comes as a day behind the last of 1980, which has no month.
    if (const std::int32_t days = TmYMDtoJD(year, 12, 31); day > days) {
        day -= days;
        ++year;
    }
    std::int32_t month = 0;
    std::int32_t dayOfMonth = 0;
    TmYJDtoMD(year, day, &month, &dayOfMonth);
    const double hours = std::trunc(seconds / 3600);
    const double minutes = std::trunc((seconds - hours * 3600) / 60);
    std::string text;
    appendStamp(text, year, month, dayOfMonth, static_cast<std::int64_t>(hours),
                static_cast<std::int64_t>(minutes));
    return text;
}

std::string stampOfNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    boost::date_time::c_time::localtime(&now, &local);
    std::string text;
    appendStamp(text, local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min);
    return text;
}

} // namespace

long CHSSvpFile::SectionHeader::readFrom(const char* text, std::size_t /*size*/) {
    if (text == nullptr) return -1;
    Scanner fields{std::string_view(text)};
    SectionHeader header;
    std::string word;
    std::string name;
    std::int64_t stamp = 0;
    std::int32_t count = 0;
    const bool complete = fields.word(word) && fields.word(name) && fields.number(header.version) &&
                          fields.word(word) && fields.word(word) && fields.number(header.latitude) &&
                          fields.number(header.longitude) && fields.word(word) && fields.whole(stamp) &&
                          fields.word(word) && fields.word(word) && fields.word(word) &&
                          fields.whole(count) && fields.word(word);
    if (!complete || name != formatName) return -1;
    header.time = castTime(stamp);
    header.records = static_cast<std::uint32_t>(count);
    *this = header;
    return 0;
}

void CHSSvpFile::ParseHeader(char* line, double& version, double& time, MORVAUString& latitude,
                             MORVAUString& longitude, int& records) {
    SectionHeader header;
    if (header.readFrom(line, 0) != 0) {
        version = 0.0;
        return;
    }
    version = header.getVersion();
    time = header.getTime();
    latitude = positionText(header.getLatitude());
    longitude = positionText(header.getLongitude());
    records = static_cast<int>(header.getNumRecords());
}

void CHSSvpFile::GenerateHeader(MORVAUString& out, double time, double latitude, double longitude,
                                int records) {
    const std::string cast = castStamp(time);
    std::string text = "( " + std::string(formatName) + " 1.01 1 " + stampOfNow() + ' ';
    append(text, latitude, degreesForm);
    text += ' ';
    append(text, longitude, degreesForm);
    text += " -1 " + cast + ' ' + cast + " SVPEDITOR N ";
    append(text, std::int64_t{records});
    text += " )\n";
    out = svp::textOf(text);
}

void CHSSvpFile::UpdateHeader(MORVAUString& header, double latitude, double longitude, int records) {
    constexpr std::size_t latitudeField = 5;
    constexpr std::size_t longitudeField = 6;
    constexpr std::size_t recordsField = 12;
    const std::string line = svp::bytesOf(header);
    Scanner scanner(line);
    std::array<std::string, 14> fields;
    if (!std::all_of(fields.begin(), fields.end(),
                     [&scanner](std::string& field) { return scanner.word(field); }))
        return;
    for (const std::size_t field : {latitudeField, longitudeField, recordsField})
        fields[field].clear();
    append(fields[latitudeField], latitude, degreesForm);
    append(fields[longitudeField], longitude, degreesForm);
    append(fields[recordsField], std::int64_t{records});
    std::string text;
    for (const std::string& field : fields)
        text += (text.empty() ? "" : " ") + field;
    header = svp::textOf(text + '\n');
}

int CHSSvpFile::ReadInData() {
    sections.clear();
    version = 0.0;
    return svp::readLines(fileName, [this](svp::TextLines& lines) {
        while (lines.next()) {
            if (lines.line().starts_with('(')) {
                SvpSections& section = sections.emplace();
                section.headerText = svp::textOf(std::string(lines.line()) + '\n');
                int stated = 0;
                ParseHeader(lines.terminated(), version, section.time, section.latitude, section.longitude,
                            stated);
                continue;
            }
            Scanner numbers(lines.line());
            SvpValues value;
            if (!sections.isEmpty() && numbers.number(value.depth) && numbers.number(value.velocity))
                sections.last()->values.append(value);
        }
        return codes::success;
    });
}

int CHSSvpFile::UpdateDataFile() {
    return svp::saveText(fileName, [this](svp::TextOutput& output) {
        for (SvpSections& section : sections) {
            if (section.status == isRemoved) continue;
            const auto live = std::count_if(section.values.begin(), section.values.end(),
                                            [](const SvpValues& value) { return value.status != isRemoved; });
            if (live == 0) continue;
            const double latitude = section.GetLatitude();
            const double longitude = section.GetLongitude();
            if (section.headerText.isEmpty())
                GenerateHeader(section.headerText, section.time, latitude, longitude, 0);
            std::string header = svp::bytesOf(section.headerText);
            // A line that was not understood goes back as it came.
            if (SectionHeader().readFrom(header.c_str(), header.size()) == 0) {
                UpdateHeader(section.headerText, latitude, longitude, static_cast<int>(live));
                header = svp::bytesOf(section.headerText);
            }
            output.text() += header;
            if (!header.ends_with('\n')) output.text() += '\n';
            for (const SvpValues& value : section.values) {
                if (value.status == isRemoved) continue;
                append(output.text(), value.depth, valueForm);
                output.text() += "   ";
                append(output.text(), value.velocity, valueForm);
                output.text() += '\n';
                if (!output.step()) return false;
            }
        }
        return true;
    });
}
