#include "import/lineimport.h"

#include "commands/command.h"
#include "families.h"
#include "import/georeference.h"
#include "import/lineattributes.h"
#include "import/linecasts.h"
#include "import/lineimage.h"
#include "import/lineswath.h"
#include "openset.h"

#include <skar/time.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <numbers>

namespace skar::tool {

using import::FileSource;
using import::Micros;
using import::RawData;
using import::Series;

namespace {

// Where a sensor's records come from in the readers' model.
enum class From {
    positions,
    fishPositions,
    scalars,
    soundSpeeds,
    depths,
    placedDepths,
    ranges,
    uncertainties,
    images
};
struct ImportSensor {
    const char* name;
    From from;
    import::ScalarKind kind;
};
constexpr std::array<ImportSensor, 17> sensorTable{{
    {"Navigation", From::positions, {}},
    {"Gyro", From::scalars, import::ScalarKind::gyro},
    {"Heave", From::scalars, import::ScalarKind::heave},
    {"Pitch", From::scalars, import::ScalarKind::pitch},
    {"Roll", From::scalars, import::ScalarKind::roll},
    {"SSSNavigation", From::fishPositions, {}},
    {"SSSGyro", From::scalars, import::ScalarKind::fishGyro},
    {"SSSCableOut", From::scalars, import::ScalarKind::cableOut},
    {"SSSSensorHeight", From::scalars, import::ScalarKind::fishHeight},
    {"SSSSensorDepth", From::scalars, import::ScalarKind::fishDepth},
    {"ObservedDepths", From::depths, {}},
    {"ProcessedDepths", From::placedDepths, {}},
    {"SLRange", From::ranges, {}},
    {"TPE", From::uncertainties, {}},
    {"SSP", From::soundSpeeds, {}},
    {"SSSSideScan", From::images, {}},
    {"Tide", From::scalars, import::ScalarKind::tide},
}};
constexpr auto sensorNames = [] {
    std::array<const char*, sensorTable.size() + attributeNames.size() + 1> names{};
    for (std::size_t i = 0; i < sensorTable.size(); ++i)
        names[i] = sensorTable[i].name;
    std::ranges::copy(attributeNames, names.begin() + sensorTable.size());
    names.back() = castFileName;
    return names;
}();

const ImportSensor& sensorOf(const Family& family) {
    return *std::ranges::find_if(sensorTable,
                                 [&](const ImportSensor& row) { return &family == findFamily(row.name); });
}

// Times are kept as milliseconds from the minute nearest to the first record, positions as 1e-9 rad from the
// first one, both in 31 bits; the minute and the rounding are taken off.
constexpr Micros longestSpan = Micros{2'147'400} * import::microsPerSecond;
constexpr double widestReach = 2.147;

class WatchedSource : public import::ByteSource {
public:
    WatchedSource(ByteSource& source, const std::function<void(std::uint64_t)>& watch)
        : source_(source), watch_(watch) {}
    std::uint64_t size() const override { return source_.size(); }
    std::size_t read(std::uint64_t offset, std::span<std::byte> into) override {
        if (watch_) watch_(offset);
        return source_.read(offset, into);
    }

private:
    ByteSource& source_;
    const std::function<void(std::uint64_t)>& watch_;
};

bool withinReach(const import::PositionFix& first, const import::PositionFix& fix) {
    return std::abs(fix.latitude - first.latitude) <= widestReach &&
           std::abs(import::nearestTurn(first.longitude, fix.longitude) - first.longitude) <= widestReach;
}

template <typename Record>
void describe(const import::Series<Record>& series, PlannedSegment& segment) {
    segment.records = series.records.size();
    segment.first = series.records.front().time;
    segment.last = series.records.back().time;
    segment.origin = series.origin;
    segment.stepsBack = series.stepsBack;
}

// Hands on the series that a sensor is made of.
template <typename Take>
auto withSeries(const RawData& data, const ImportSensor& sensor, Take take) {
    switch (sensor.from) {
    case From::positions:
        return take(data.navigation);
    case From::fishPositions:
        return take(data.fishNavigation);
    case From::images:
        return take(data.imagePings);
    case From::soundSpeeds:
        return take(data.soundSpeeds);
    case From::depths:
    case From::placedDepths:
        return take(data.depthPings);
    case From::ranges:
        return take(data.rangePings);
    case From::uncertainties:
        return take(data.uncertainPings);
    case From::scalars:
        break;
    }
    return take(data[sensor.kind]);
}

// Null for what is no track.
auto trackOf(const ImportSensor& sensor) -> Series<import::PositionFix> RawData::* {
    switch (sensor.from) {
    case From::positions:
        return &RawData::navigation;
    case From::fishPositions:
        return &RawData::fishNavigation;
    default:
        return nullptr;
    }
}

// Takes the pings off whose beams have no place on the earth.
void keepPlaced(PlannedSegment& segment) {
    const RawData& data = segment.file->data;
    std::uint64_t placed = 0;
    for (const import::PingPlace& ping : data.depthPings.records) {
        if (!placedShip(data, ping)) continue;
        if (placed == 0) segment.first = ping.time;
        segment.last = ping.time;
        ++placed;
    }
    segment.unplaced = segment.records - placed;
    segment.records = placed;
    segment.origin += ", with position and heading";
}

void refuseOverlap(const std::vector<PlannedSegment>& segments) {
    for (std::size_t i = 1; i < segments.size(); ++i) {
        const PlannedSegment& before = segments[i - 1];
        const PlannedSegment& after = segments[i];
        if (after.first >= before.last) continue;
        throw ToolError(fmt::format("{}: {} (to {}) and {} (from {}) overlap in time; import the sensor from "
                                    "one of them with --sensors, "
                                    "or give --allow-overlap",
                                    before.family->name, printable(before.file->name),
                                    import::utcText(before.last), printable(after.file->name),
                                    import::utcText(after.first)));
    }
}

void refuseWideSpan(const std::vector<PlannedSegment>& segments) {
    const Micros first = segments.front().first;
    const auto latest = std::ranges::max_element(segments, {}, &PlannedSegment::last);
    if (latest->last - first <= longestSpan) return;
    throw ToolError(fmt::format(
        "{}: the times reach from {} ({}) to {} ({}), further than the 24 days that a "
        "sensor can hold; import a part with --from and --to, or the files into separate lines, or mend a "
        "wrong "
        "date",
        segments.front().family->name, import::utcText(first), printable(segments.front().file->name),
        import::utcText(latest->last), printable(latest->file->name)));
}

[[noreturn]] void refuseEmpty(std::span<const RawFile> files, std::span<const std::string> wanted) {
    std::vector<std::string> names(wanted.begin(), wanted.end());
    if (names.empty()) names.assign(sensorNames.begin(), sensorNames.end());
    std::string causes;
    for (std::size_t i = 0; i < import::problemKinds; ++i) {
        const auto kind = static_cast<import::ProblemKind>(i);
        std::uint64_t count = 0;
        for (const RawFile& file : files)
            count += file.data.problems[kind].count;
        if (count != 0) causes += fmt::format("; {} x {}", count, import::meaning(kind).text);
    }
    throw ToolError(fmt::format("{}: no records of a sensor that can be imported ({}){}",
                                files.size() == 1 ? printable(files.front().path) : "the files",
                                fmt::join(names, ", "), causes));
}

} // namespace

RawFile readRawFile(const std::string& path, const std::function<void(std::uint64_t)>& watch) {
    try {
        import::FileSource file(path);
        WatchedSource source(file, watch);
        RawFile raw{path, std::filesystem::path(path).filename().string(), {}, nullptr};
        const import::RawFormat* format = import::detectFormat(source, raw.name);
        if (format == nullptr) {
            std::string known;
            for (const import::RawFormat& row : import::formats())
                known += (known.empty() ? "" : ", ") + std::string(row.name);
            throw ToolError(fmt::format("{}: not a raw file of a known format ({})", printable(path), known));
        }
        raw.data = format->read(source);
        raw.data.format = format->name;
        raw.format = format;
        return raw;
    } catch (const import::ImportError& error) {
        const std::string text = error.what();
        throw ToolError(printable(text.starts_with(path) ? text : path + ": " + text));
    }
}

FileSource reopened(const RawFile& file) {
    try {
        return FileSource(file.path);
    } catch (const import::ImportError& error) {
        throw ToolError(printable(error.what()));
    }
}

double StoreClock::seconds(Micros time) {
    const Micros day = time - ((time % import::microsPerDay) + import::microsPerDay) % import::microsPerDay;
    if (day != day_) {
        const import::CalendarDay date = import::calendarDay(day);
        dayStart_ = TmYDStoUTCs80(date.year, TmYMDtoJD(date.year, date.month, date.day), 0.0);
        day_ = day;
    }
    return dayStart_ + static_cast<double>(time - day) / 1e6;
}

std::optional<Micros> microsOf(double seconds) {
    std::int32_t year = 0;
    std::int32_t day = 0;
    double ofDay = 0.0;
    TmUTCs80toYDS(seconds, &year, &day, &ofDay);
    const auto start = import::midnight(year, 1, 1);
    if (!start) return std::nullopt;
    return *start + (day - 1) * import::microsPerDay + static_cast<Micros>(std::llround(ofDay * 1e6));
}

std::span<const char* const> importSensors() {
    return sensorNames;
}

std::vector<const Family*> ImportPlan::families() const {
    std::vector<const Family*> all;
    for (const PlannedSegment& segment : segments) {
        if (all.empty() || all.back() != segment.family) all.push_back(segment.family);
    }
    return all;
}

std::uint64_t ImportPlan::records() const {
    std::uint64_t count = 0;
    for (const PlannedSegment& segment : segments)
        count += segment.records;
    return count;
}

bool ImportPlan::anyLoss() const {
    return std::ranges::any_of(segments, [](const PlannedSegment& segment) {
        return segment.outOfReach != 0 || segment.averaged != 0;
    });
}

ImportPlan planImport(std::span<const RawFile> files, std::span<const std::string> wanted, bool mayOverlap) {
    ImportPlan plan;
    for (const ImportSensor& sensor : sensorTable) {
        const Family* family = findFamily(sensor.name);
        if (!wanted.empty() && std::ranges::find(wanted, sensor.name) == wanted.end()) continue;
        std::vector<PlannedSegment> segments;
        for (const RawFile& file : files) {
            PlannedSegment segment;
            segment.family = family;
            segment.file = &file;
            withSeries(file.data, sensor, [&](const auto& series) {
                if (!series.records.empty()) describe(series, segment);
            });
            if (sensor.from == From::placedDepths && segment.records != 0) keepPlaced(segment);
            if (sensor.from == From::images) {
                segment.averaged = static_cast<std::uint64_t>(
                    std::ranges::count_if(file.data.imagePings.records, [](const import::PingPlace& ping) {
                        return ping.samples > SideScanWriter::mostSamples;
                    }));
            }
            if (segment.records != 0) segments.push_back(segment);
        }
        if (segments.empty()) continue;
        std::ranges::stable_sort(segments, {}, &PlannedSegment::first);
        for (std::size_t i = 0; i < segments.size(); ++i)
            segments[i].number = static_cast<std::uint32_t>(i + 1);
        if (!mayOverlap) refuseOverlap(segments);
        refuseWideSpan(segments);
        if (const auto track = trackOf(sensor)) {
            const auto first = (segments.front().file->data.*track).records.front();
            for (PlannedSegment& segment : segments) {
                for (const auto& fix : (segment.file->data.*track).records) {
                    if (!withinReach(first, fix))
                        ++segment.outOfReach;
                    else if (std::abs(import::nearestTurn(first.longitude, fix.longitude)) > std::numbers::pi)
                        plan.acrossDateLine = true;
                }
                segment.records -= segment.outOfReach;
            }
        }
        plan.segments.insert(plan.segments.end(), segments.begin(), segments.end());
    }
    plan.attributes = planAttributes(files, wanted);
    plan.casts = planCasts(files, wanted);
    // What only describes the raw files makes no line, unless it is asked for.
    const bool asked = std::ranges::any_of(
        attributeNames, [&](const char* name) { return std::ranges::find(wanted, name) != wanted.end(); });
    if (plan.segments.empty() && plan.casts.casts.empty() && (plan.attributes.empty() || !asked))
        refuseEmpty(files, wanted);
    return plan;
}

namespace {

using Ticks = std::function<void(std::uint64_t every)>;

void writeSensor(const LinePath& line, const Family& family, std::span<const PlannedSegment> segments,
                 const Ticks& tick) {
    const ImportSensor& sensor = sensorOf(family);
    StoreClock clock;
    OpenSet set(line, family, L"create");
    set.begin();
    const import::PositionFix* first = nullptr;
    for (const PlannedSegment& segment : segments) {
        if (segment.family != &family) continue;
        set.beginSegment(segment.file->name);
        const auto write = [&](Micros time, std::array<double, maxQuantities> values, std::uint32_t status) {
            set.write({clock.seconds(time), values, status});
            tick(65536);
        };
        const auto ofPing = [&] { tick(64); };
        const RawData& data = segment.file->data;
        switch (sensor.from) {
        case From::positions:
        case From::fishPositions:
            for (const import::PositionFix& fix : (data.*trackOf(sensor)).records) {
                if (first == nullptr) first = &fix;
                if (!withinReach(*first, fix)) continue;
                const double longitude = import::nearestTurn(first->longitude, fix.longitude);
                write(fix.time, {fix.latitude, longitude, fix.accuracy}, 0);
            }
            break;
        case From::scalars:
            for (const import::TimedValue& record : data[sensor.kind].records)
                write(record.time, {record.value}, 0);
            break;
        case From::soundSpeeds:
            for (const import::SoundSpeed& record : data.soundSpeeds.records)
                write(record.time, {record.speed, record.depth}, record.status);
            break;
        case From::depths:
            writeDepths(set, *segment.file, clock, ofPing);
            break;
        case From::placedDepths:
            if (first == nullptr) first = &data.navigation.records.front();
            writePlacedDepths(set, *segment.file, *first, clock, ofPing);
            break;
        case From::ranges:
            writeRanges(set, *segment.file, clock, ofPing);
            break;
        case From::uncertainties:
            writeUncertainties(set, *segment.file, clock, ofPing);
            break;
        case From::images:
            break;
        }
        set.endSegment();
    }
    set.finish();
}

void writeImagery(const LinePath& line, const Family& family, std::span<const PlannedSegment> segments,
                  const Ticks& tick) {
    StoreClock clock;
    SideScanWriter writer(line);
    for (const PlannedSegment& segment : segments) {
        if (segment.family != &family) continue;
        writer.beginSegment(segment.file->name);
        writeImages(writer, *segment.file, clock, [&] { tick(64); });
        writer.endSegment();
    }
    writer.finish();
}

} // namespace

void writeImport(const LinePath& line, const ImportPlan& plan,
                 const std::function<void(std::uint64_t)>& watch) {
    std::uint64_t done = 0;
    const auto tick = [&](std::uint64_t every) {
        if (++done % every == 0 && watch) watch(done);
    };
    for (const Family* family : plan.families()) {
        if (sensorOf(*family).from == From::images)
            writeImagery(line, *family, plan.segments, tick);
        else
            writeSensor(line, *family, plan.segments, tick);
    }
}

} // namespace skar::tool
