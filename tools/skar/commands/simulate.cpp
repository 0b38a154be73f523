#include "commands/simulate.h"

#include "commands/output.h"
#include "families.h"
#include "openset.h"
#include "progress.h"
#include "sensoroutput.h"
#include "simulate/imagery.h"
#include "simulate/voyage.h"
#include "timetext.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <optional>
#include <vector>

namespace skar::tool {

namespace {

constexpr std::uint64_t mostRecords = 100'000'000;
// Times are kept as milliseconds from the first record's minute in 31 bits.
constexpr double longestDuration = 2'147'400.0;
constexpr double longestSingleLine = 20'000.0;
constexpr double usualLineLength = 10'000.0;

struct Options {
    std::string line;
    std::uint64_t seed = 1;
    std::string start = "2024-06-01T08:00:00Z";
    std::optional<double> duration;
    std::optional<std::uint64_t> records;
    std::optional<double> rate;
    double positionRate = 1.0;
    std::optional<std::uint32_t> lines;
    std::optional<std::uint32_t> segments;
    double spacing = 200.0;
    double speed = 4.0;
    double heading = 30.0;
    double latitude = 58.0;
    double longitude = 10.5;
    double waveHeight = 1.0;
    double wavePeriod = 7.5;
    std::optional<std::uint64_t> pings;
    double pingRate = 2.0;
    std::uint32_t beams = 256;
    double openingAngle = 120.0;
    double depth = 30.0;
    double outliers = 0.002;
    std::vector<std::string> sensors = {"series"};
    bool force = false;
};

double radians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}

[[noreturn]] void usage(const std::string& text) {
    throw ToolError(text, exitUsage);
}

// Everything that is known before the first record is written.
struct Plan {
    Voyage voyage;
    double motionRate = 0.0;
    std::uint64_t motionRecords = 0;
    std::uint64_t pings = 0;
    double positionRate = 0.0;
    std::uint32_t segments = 1;
    std::vector<const Family*> sensors;

    double stepOf(const Family& family) const {
        switch (paceOf(family)) {
        case Pace::motion:
            return 1.0 / motionRate;
        case Pace::position:
            return 1.0 / positionRate;
        case Pace::ping:
            return 1.0 / voyage.swath.pingRate;
        case Pace::slow:
            break;
        }
        return slowStep;
    }
    std::uint64_t recordsOf(const Family& family) const {
        if (paceOf(family) == Pace::motion) return motionRecords;
        if (paceOf(family) == Pace::ping) return pings;
        // The slow sensors reach to the end, so that there is something to interpolate towards.
        const double count = voyage.duration / stepOf(family);
        return std::max<std::uint64_t>(1, paceOf(family) == Pace::slow
                                              ? static_cast<std::uint64_t>(std::ceil(count)) + 1
                                              : static_cast<std::uint64_t>(std::llround(count)));
    }
};

// Names that stand for several sensors.
struct Group {
    const char* name;
    std::vector<const char*> sensors;
};

const std::vector<Group>& groups() {
    static const std::vector<Group> table = {
        {"series", {"Navigation", "Gyro", "Heave", "Pitch", "Roll", "Tide"}},
        {"swath", {"ObservedDepths", "ProcessedDepths", "SLRange", "TPE", "SSP"}},
        {"sidescan",
         {"SSSNavigation", "SSSGyro", "SSSCableOut", "SSSSensorHeight", "SSSSensorDepth", "SSSSideScan"}},
    };
    return table;
}

void addSensors(std::vector<const Family*>& sensors, const std::string& name) {
    if (name == "all") {
        for (const Family& family : families()) {
            if (isSimulated(family)) sensors.push_back(&family);
        }
        return;
    }
    const auto group = std::ranges::find(groups(), name, &Group::name);
    if (group != groups().end()) {
        for (const char* each : group->sensors)
            sensors.push_back(findFamily(each));
        return;
    }
    const Family* const family = findFamily(name);
    if (family == nullptr || !isSimulated(*family)) {
        std::string known = "all";
        for (const Group& row : groups())
            known += fmt::format(", {}", row.name);
        for (const Family& row : families()) {
            if (isSimulated(row)) known += fmt::format(", {}", row.name);
        }
        usage(fmt::format("--sensors {}: no such sensor; known are {}", printable(name), known));
    }
    sensors.push_back(family);
}

Plan makePlan(const Options& options) {
    Plan plan;
    for (const std::string& name : options.sensors)
        addSensors(plan.sensors, name);
    std::ranges::sort(plan.sensors);
    plan.sensors.erase(std::unique(plan.sensors.begin(), plan.sensors.end()), plan.sensors.end());

    constexpr double usualRate = 10.0;
    constexpr double fastRate = 100.0;
    const bool many = options.records && static_cast<double>(*options.records) / usualRate > longestDuration;
    plan.motionRate = options.rate.value_or(many ? fastRate : usualRate);
    plan.positionRate = options.positionRate;

    Voyage& voyage = plan.voyage;
    constexpr double usualDuration = 3600.0;
    if (options.records)
        voyage.duration = static_cast<double>(*options.records) / plan.motionRate;
    else if (options.pings)
        voyage.duration = static_cast<double>(*options.pings) / options.pingRate;
    else
        voyage.duration = options.duration.value_or(usualDuration);
    if (voyage.duration > longestDuration) {
        usage(fmt::format("a line of {:.0f} s is longer than the store can time, {:.0f} s; raise --rate",
                          voyage.duration, longestDuration));
    }
    plan.motionRecords =
        options.records.value_or(static_cast<std::uint64_t>(std::llround(voyage.duration * plan.motionRate)));
    plan.motionRecords = std::max<std::uint64_t>(plan.motionRecords, 1);
    plan.pings = options.pings.value_or(std::max<std::uint64_t>(
        1, static_cast<std::uint64_t>(std::llround(voyage.duration * options.pingRate))));
    voyage.swath = {options.pingRate, options.beams, radians(options.openingAngle), options.depth,
                    options.outliers};
    for (const Family* family : plan.sensors) {
        const std::uint64_t records = plan.recordsOf(*family);
        if (records > mostRecords)
            usage(fmt::format("{} would have more than {} records", family->name, mostRecords));
        if (family->hasItems() && records * options.beams > mostRecords)
            usage(
                fmt::format("{} would have more than {} {}s", family->name, mostRecords, family->items.item));
    }

    const std::optional<double> start = parseTime(options.start);
    if (!start)
        usage(fmt::format("--start {}: not a time; give UTC as 2024-06-01T08:00:00Z or {}",
                          printable(options.start), timeScale));
    voyage.seed = options.seed;
    voyage.start = *start;
    voyage.latitude = radians(options.latitude);
    voyage.longitude = radians(options.longitude);
    voyage.heading = radians(options.heading);
    voyage.speed = options.speed;
    voyage.spacing = options.spacing;
    voyage.waveHeight = options.waveHeight;
    voyage.wavePeriod = options.wavePeriod;
    const bool longWay = voyage.distance() > longestSingleLine;
    voyage.lines = options.lines.value_or(
        longWay ? static_cast<std::uint32_t>(std::ceil(voyage.distance() / usualLineLength)) : 1);
    if (voyage.lineLength() <= 0.0) {
        usage(
            fmt::format("the turns between {} lines {} m apart are longer than the {:.0f} m that are sailed",
                        voyage.lines, voyage.spacing, voyage.distance()));
    }
    plan.segments = options.segments.value_or(voyage.lines);
    return plan;
}

std::string sourceName(std::uint32_t segment, double begin) {
    std::string utc = UtcWriter().text(begin);
    std::erase_if(utc, [](char c) { return c == '-' || c == ':'; });
    return fmt::format("{:04}_{}.sim", segment + 1, utc.substr(0, utc.find('.')));
}

struct Written {
    const Family* family = nullptr;
    std::uint64_t records = 0;
    std::uint32_t segments = 0;
    double rate = 0.0;
    std::uint64_t items = 0;
};

// Calls `write` with the time of every record, between the ends of its segment.
template <class Set, class Write>
Written writeSegments(const Plan& plan, const Family& family, Set& set, Write write) {
    const Voyage& voyage = plan.voyage;
    const double step = plan.stepOf(family);
    const double segmentLength = voyage.duration / plan.segments;
    Written written{&family, plan.recordsOf(family), 0, 1.0 / step};
    double segmentEnd = 0.0;
    for (std::uint64_t i = 0; i < written.records; ++i) {
        const double elapsed = static_cast<double>(i) * step;
        if (i == 0 || elapsed >= segmentEnd) {
            // The last segment takes what lies at or beyond the end of the voyage.
            const auto segment = static_cast<std::uint32_t>(
                std::min(std::floor(elapsed / segmentLength), plan.segments - 1.0));
            const bool last = segment == plan.segments - 1;
            segmentEnd = last ? 2.0 * voyage.duration + 2.0 * slowStep : (segment + 1.0) * segmentLength;
            if (i != 0) set.endSegment();
            set.beginSegment(sourceName(segment, voyage.start + segment * segmentLength));
            ++written.segments;
        }
        write(voyage.start + elapsed);
    }
    set.endSegment();
    set.finish();
    return written;
}

Written writeImagery(const LinePath& line, const Plan& plan, const Family& family,
                     const std::function<void(std::uint64_t)>& tick) {
    SideScanWriter set(line);
    SideScanSonar sonar(plan.voyage);
    return writeSegments(plan, family, set, [&](double time) {
        set.write(sonar.ping(time));
        tick(64);
    });
}

Written writeSensor(const LinePath& line, const Plan& plan, const Family& family, Progress& progress,
                    std::uint64_t& done) {
    const auto tick = [&](std::uint64_t every) {
        if (++done % every == 0) progress.show(done);
    };
    if (family.kind == &sideScanKind) return writeImagery(line, plan, family, tick);
    const std::unique_ptr<Source> source = makeSource(family, plan.voyage, plan.stepOf(family));
    OpenSet set(line, family, L"create");
    set.begin();
    Record record;
    Record item;
    std::uint64_t items = 0;
    Written written = writeSegments(plan, family, set, [&](double time) {
        record.time = time;
        source->next(time, record);
        set.write(record);
        if (family.hasItems()) {
            item.time = time;
            for (std::uint32_t beam = 0; beam < record.numItems; ++beam) {
                source->item(beam, item);
                set.writeItem(item);
            }
            set.endItems();
            items += record.numItems;
        }
        tick(family.hasItems() ? 64 : 65536);
    });
    written.items = items;
    return written;
}

constexpr const char* conventions =
    "heave positive up, pitch positive bow up, roll positive port side up, heading clockwise from north";

void printText(const LinePath& line, const Plan& plan, const std::vector<Written>& sets, bool madeRoot) {
    if (madeRoot) fmt::print("Made the root directory {}\n", printable(line.root()));
    fmt::print("Line    {}\n", printable(line.native.string()));
    fmt::print("Seed    {}\n", plan.voyage.seed);
    UtcWriter utc;
    fmt::print("Time    {} to {}\n", utc.text(plan.voyage.start),
               utc.text(plan.voyage.start + plan.voyage.duration));
    fmt::print("Track   {} survey line{} of {:.0f} m at {} m/s\n", plan.voyage.lines,
               plan.voyage.lines == 1 ? "" : "s", plan.voyage.lineLength(), plan.voyage.speed);
    fmt::print("Signs   {}\n\n", conventions);
    std::vector<Table::Column> columns = {
        {"SENSOR"}, {"RECORDS", Align::right}, {"SEGMENTS", Align::right}, {"RATE [Hz]", Align::right}};
    if (std::ranges::any_of(sets, [](const Written& set) { return set.items > 0; }))
        columns.push_back({"BEAMS", Align::right});
    Table table(columns);
    for (const Written& set : sets) {
        std::vector<std::string> cells = {set.family->name, fmt::to_string(set.records),
                                          fmt::to_string(set.segments), fmt::format("{:.4g}", set.rate)};
        if (set.items > 0) cells.push_back(fmt::to_string(set.items));
        table.add(std::move(cells));
    }
    table.print();
}

Json toJson(const LinePath& line, const Plan& plan, const std::vector<Written>& sets, bool madeRoot) {
    UtcWriter utc;
    const double end = plan.voyage.start + plan.voyage.duration;
    Json json = {{"line", line.native.string()},     {"madeRoot", madeRoot},
                 {"seed", plan.voyage.seed},         {"startUtc", utc.text(plan.voyage.start)},
                 {"endUtc", utc.text(end)},          {"start", plan.voyage.start},
                 {"duration", plan.voyage.duration}, {"timeScale", timeScale},
                 {"surveyLines", plan.voyage.lines}, {"surveyLineLength", plan.voyage.lineLength()},
                 {"conventions", conventions},       {"sensors", Json::array()}};
    for (const Written& set : sets) {
        json["sensors"].push_back({{"sensor", set.family->name},
                                   {"records", set.records},
                                   {"segments", set.segments},
                                   {"rate", set.rate}});
        if (set.items > 0) json["sensors"].back()["beams"] = set.items;
    }
    return json;
}

int run(const Options& options, const Common& common) {
    const Plan plan = makePlan(options);
    const LinePath line = linePath(options.line);
    if (!options.force) refuseOverwriting(line, plan.sensors);
    const bool madeRoot = makeLine(line, true);

    std::uint64_t total = 0;
    for (const Family* family : plan.sensors)
        total += plan.recordsOf(*family);
    Progress progress(common, total);
    std::uint64_t done = 0;
    std::vector<Written> sets;
    for (const Family* family : plan.sensors) {
        progress.setLabel(fmt::format("writing {}", family->name));
        sets.push_back(writeSensor(line, plan, *family, progress, done));
    }
    progress.wipe();

    if (common.json)
        printJson(toJson(line, plan, sets, madeRoot));
    else
        printText(line, plan, sets, madeRoot);
    return exitSuccess;
}

} // namespace

Run declareSimulate(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("LINE", options->line, "Directory of the line: <root>/<project>/<vessel>/<day>/<line>")
        ->required();
    app.add_option("--seed", options->seed, "Same seed and options, same files")->capture_default_str();
    app.add_option("--start", options->start, "Time of the first record, UTC or seconds of the store")
        ->capture_default_str()
        ->type_name("TIME");
    CLI::Option* const duration =
        app.add_option("--duration", options->duration, "Length of the line in seconds (default 3600)")
            ->check(CLI::Range(1.0, longestDuration))
            ->type_name("SECONDS");
    app.add_option("--records", options->records, "Records of each motion sensor, instead of --duration")
        ->check(CLI::Range(std::uint64_t(1), mostRecords))
        ->type_name("N")
        ->excludes(duration);
    app.add_option(
           "--rate", options->rate,
           "Samples per second of heading, heave, pitch and roll (default 10; 100 when --records needs it)")
        ->check(CLI::Range(0.001, 1000.0))
        ->type_name("HZ");
    app.add_option("--nav-rate", options->positionRate, "Samples per second of positions")
        ->check(CLI::Range(0.001, 1000.0))
        ->capture_default_str()
        ->type_name("HZ");
    app.add_option("--pings", options->pings, "Pings of the echo sounder, instead of --duration or --records")
        ->check(CLI::Range(std::uint64_t(1), mostRecords))
        ->type_name("N")
        ->excludes("--duration", "--records");
    app.add_option("--ping-rate", options->pingRate, "Pings per second")
        ->check(CLI::Range(0.01, 100.0))
        ->capture_default_str()
        ->type_name("HZ");
    app.add_option("--beams", options->beams, "Beams of a ping")
        ->check(CLI::Range(std::uint32_t(1), std::uint32_t(65535)))
        ->capture_default_str()
        ->type_name("N");
    app.add_option("--swath-angle", options->openingAngle, "Opening angle of the swath in degrees")
        ->check(CLI::Range(1.0, 150.0))
        ->capture_default_str()
        ->type_name("DEGREES");
    app.add_option("--depth", options->depth, "Depth of the sea floor at the start in metres")
        ->check(CLI::Range(2.0, 8000.0))
        ->capture_default_str()
        ->type_name("METRES");
    app.add_option("--outliers", options->outliers, "Share of false beams; they are written as rejected")
        ->check(CLI::Range(0.0, 0.5))
        ->capture_default_str()
        ->type_name("SHARE");
    app.add_option("--lines", options->lines,
                   "Parallel survey lines joined by turns (default 1, or lines of about 10 km on a long way)")
        ->check(CLI::Range(std::uint32_t(1), std::uint32_t(100'000)))
        ->type_name("N");
    app.add_option("--segments", options->segments,
                   "Line segments of equal time (default one per survey line)")
        ->check(CLI::Range(std::uint32_t(1), std::uint32_t(100'000)))
        ->type_name("N");
    app.add_option("--spacing", options->spacing, "Distance of the survey lines in metres")
        ->check(CLI::Range(1.0, 10'000.0))
        ->capture_default_str()
        ->type_name("METRES");
    app.add_option("--speed", options->speed, "Speed in metres per second")
        ->check(CLI::Range(0.1, 30.0))
        ->capture_default_str()
        ->type_name("M/S");
    app.add_option("--heading", options->heading, "Direction of the first survey line in degrees from north")
        ->check(CLI::Range(0.0, 360.0))
        ->capture_default_str()
        ->type_name("DEGREES");
    app.add_option("--latitude", options->latitude, "Latitude of the start in degrees")
        ->check(CLI::Range(-80.0, 80.0))
        ->capture_default_str()
        ->type_name("DEGREES");
    app.add_option("--longitude", options->longitude, "Longitude of the start in degrees")
        ->check(CLI::Range(-180.0, 180.0))
        ->capture_default_str()
        ->type_name("DEGREES");
    app.add_option("--wave-height", options->waveHeight, "Significant wave height in metres")
        ->check(CLI::Range(0.0, 15.0))
        ->capture_default_str()
        ->type_name("METRES");
    app.add_option("--wave-period", options->wavePeriod, "Peak period of the waves in seconds")
        ->check(CLI::Range(2.0, 25.0))
        ->capture_default_str()
        ->type_name("SECONDS");
    app.add_option("--sensors", options->sensors,
                   "Sensors to write, separated by commas; series, swath and all stand for several")
        ->delimiter(',')
        ->capture_default_str()
        ->type_name("LIST");
    app.add_flag("--force", options->force, "Write over sensors that are in the line already");
    app.footer(
        "Makes the directories of the line where they are missing, and the root too if its parent exists.\n"
        "Tide, draft, cable and sound speed are sampled once a minute. The swath is that of a multibeam "
        "echo\n"
        "sounder over a sloping floor with sand waves and a wreck; its rays are straight.\n"
        "Example:  skar simulate store/project/vessel/2024-153/0001 --lines 4 --duration 7200");
    return [options](const Common& common) { return run(*options, common); };
}

} // namespace skar::tool
