#include "import/rawfile.h"

#include "import/gsf.h"
#include "import/kongsbergall.h"
#include "import/kongsbergswath.h"
#include "import/nmea.h"
#include "import/recorderlog.h"
#include "import/tides.h"
#include "import/xtf.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace skar::import {

std::optional<Micros> midnight(int year, int month, int day) {
    // The store's calendar begins in 1980 and four digits end with 9999; what is outside is not a date.
    if (year < 1980 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok()) return std::nullopt;
    return std::chrono::sys_days(date).time_since_epoch().count() * microsPerDay;
}

CalendarDay calendarDay(Micros time) {
    const std::chrono::sys_time<std::chrono::microseconds> point{std::chrono::microseconds(time)};
    const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(point)};
    return {static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day()))};
}

std::string utcText(Micros time) {
    const CalendarDay date = calendarDay(time);
    const Micros ofDay = ((time % microsPerDay) + microsPerDay) % microsPerDay;
    const auto milliseconds = static_cast<int>(ofDay / 1000);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", date.year, date.month,
                  date.day, milliseconds / 3'600'000, milliseconds / 60'000 % 60, milliseconds / 1000 % 60,
                  milliseconds % 1000);
    return text.data();
}

void DepthBeam::refuseNonsense() {
    constexpr double farthest = 100'000.0;
    for (const double value : {y, x, z, depthError, positionError}) {
        if (!(std::abs(value) <= farthest)) {
            *this = {.status = status | beam::noNumber};
            return;
        }
    }
}

void RangeBeam::refuseNonsense() {
    // A beam's time is kept within 32 s of its ping's.
    constexpr double longestTravel = 200.0;
    constexpr double longestDelay = 32.0;
    if (!(travel >= 0.0 && travel <= longestTravel && std::abs(delay) <= longestDelay))
        *this = {.status = status | beam::noNumber};
}

const ProblemMeaning& meaning(ProblemKind kind) {
    static constexpr std::array<ProblemMeaning, problemKinds> table{{
        {"checksum", "checksum differs, not loaded", true},
        {"length", "length does not fit its content, not loaded", true},
        {"framing", "bytes that belong to no datagram, passed over", true},
        {"truncated", "the file ends within a datagram or line, loaded up to there", true},
        {"unparsable", "cannot be understood, not loaded", true},
        {"noDate", "no date or time in the file for it, not loaded", true},
        {"badValue", "value out of its range, not loaded", true},
        {"noFix", "position marked as no fix, not loaded", false},
        {"noValue", "field empty or marked as invalid by the instrument, not loaded", false},
        {"datedLater", "dated by the first date that follows in the file", false},
        {"clockJump", "the file's clock jumps by half a day or more", false},
    }};
    return table[static_cast<std::size_t>(kind)];
}

void Problems::add(ProblemKind kind, std::uint64_t offset, std::uint64_t bytes) {
    Problem& problem = table_[static_cast<std::size_t>(kind)];
    ++problem.count;
    problem.bytes += bytes;
    if (problem.offsets.size() < offsetsKept) problem.offsets.push_back(offset);
}

bool Problems::anyLoss() const {
    for (std::size_t i = 0; i < problemKinds; ++i) {
        if (table_[i].count != 0 && meaning(static_cast<ProblemKind>(i)).loss) return true;
    }
    return false;
}

std::uint64_t RawData::records() const {
    std::uint64_t count = navigation.records.size();
    for (const auto& series : scalars)
        count += series.records.size();
    return count + soundSpeeds.records.size() + depthPings.records.size() + rangePings.records.size() +
           uncertainPings.records.size() + fishNavigation.records.size() + imagePings.records.size();
}

void LeftOutCounter::add(std::string_view what, std::string_view reason, std::uint64_t count) {
    const auto row = std::find_if(rows_.begin(), rows_.end(), [&](const LeftOut& candidate) {
        return candidate.what == what && candidate.reason == reason;
    });
    if (row != rows_.end())
        row->count += count;
    else
        rows_.push_back({std::string(what), count, std::string(reason)});
}

namespace {

template <typename Record>
bool earlier(const Record& a, const Record& b) {
    return a.time < b.time;
}
bool earlier(const PingPlace& a, const PingPlace& b) {
    return a.time != b.time ? a.time < b.time : a.head < b.head;
}

template <typename Record>
void sortSeries(Series<Record>& series) {
    auto& records = series.records;
    for (std::size_t i = 1; i < records.size(); ++i)
        series.stepsBack += records[i].time < records[i - 1].time ? 1 : 0;
    std::stable_sort(records.begin(), records.end(),
                     [](const Record& a, const Record& b) { return earlier(a, b); });
}

bool hasExtension(const RawFormat& format, std::string extension) {
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const std::string all = std::string(" ") + format.extensions + " ";
    return !extension.empty() && all.find(" " + extension + " ") != std::string::npos;
}

template <typename Take>
void forEachSeries(RawData& data, Take take) {
    take(data.navigation);
    for (auto& series : data.scalars)
        take(series);
    take(data.soundSpeeds);
    take(data.depthPings);
    take(data.rangePings);
    take(data.uncertainPings);
    take(data.fishNavigation);
    take(data.imagePings);
    take(data.errorFigures);
}

} // namespace

void sortByTime(RawData& data) {
    forEachSeries(data, [](auto& series) { sortSeries(series); });
}

std::uint64_t keepBetween(RawData& data, Micros from, Micros to) {
    std::uint64_t dropped = 0;
    forEachSeries(data, [&](auto& series) {
        dropped += std::erase_if(series.records,
                                 [&](const auto& record) { return record.time < from || record.time > to; });
    });
    return dropped;
}

std::span<const RawFormat> formats() {
    static constexpr std::array<RawFormat, 7> table{{
        {"Kongsberg EM raw data", "all wcd", looksLikeKongsbergAll, readKongsbergAll, readKongsbergDepths,
         readKongsbergRanges, readKongsbergImage},
        {"Generic Sensor Format", "gsf", looksLikeGsf, readGsf, readGsfDepths, readGsfRanges, nullptr},
        {"XTF", "xtf", looksLikeXtf, readXtf, nullptr, nullptr, readXtfImage},
        {"semicolon text log", "", looksLikeRecorderLog, readRecorderLog, nullptr, nullptr, nullptr},
        {"tide table", "", looksLikeTideTable, readTideTable, nullptr, nullptr, nullptr},
        {"tide by day numbers", "", looksLikeTideDays, readTideDays, nullptr, nullptr, nullptr},
        {"NMEA 0183 log", "nmea nme log", looksLikeNmea, readNmea, nullptr, nullptr, nullptr},
    }};
    return table;
}

const RawFormat* detectFormat(ByteSource& source, std::string_view fileName) {
    std::vector<std::byte> head(16 * 1024);
    head.resize(source.read(0, head));
    for (const RawFormat& format : formats()) {
        if (format.matches(head)) return &format;
    }
    const std::size_t dot = fileName.find_last_of('.');
    if (dot == std::string_view::npos) return nullptr;
    for (const RawFormat& format : formats()) {
        if (hasExtension(format, std::string(fileName.substr(dot + 1)))) return &format;
    }
    return nullptr;
}

} // namespace skar::import
