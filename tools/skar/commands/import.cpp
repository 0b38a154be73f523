#include "commands/import.h"

#include "commands/output.h"
#include "families.h"
#include "import/lineattributes.h"
#include "import/linecasts.h"
#include "import/lineimport.h"
#include "import/linevessel.h"
#include "progress.h"
#include "sensoroutput.h"
#include "timetext.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace skar::tool {

namespace {

struct Options {
    std::vector<std::string> files;
    std::string line;
    std::vector<std::string> sensors;
    std::string from;
    std::string to;
    bool force = false;
    bool allowOverlap = false;
};

constexpr const char* units =
    "angles in radians, latitude north and longitude east positive, heave in metres, "
    "heading clockwise from north; the auxiliary value of Navigation is the accuracy "
    "in metres, 0 where the file states none; errors in metres and radians, "
    "no number where the file states none";

// What is to be said of the import as a whole.
std::vector<std::string> remarks(const ImportPlan& plan) {
    std::vector<std::string> all;
    if (plan.acrossDateLine)
        all.emplace_back("The track crosses the date line: longitudes go on beyond 180 degrees.");
    std::set<std::string> signs;
    for (const PlannedSegment& segment : plan.segments) {
        if (segment.family == findFamily("Heave")) signs.insert(segment.file->data.heaveSign);
    }
    if (signs.size() > 1) all.emplace_back("The files do not agree in the sign of heave.");
    return all;
}

// A problem of a file, or of the plan with it, in one form for both outputs.
struct Finding {
    std::string kind;
    std::string text;
    std::uint64_t count = 0;
    std::uint64_t bytes = 0;
    std::vector<std::uint64_t> offsets;
    bool loss = false;
};

std::vector<Finding> findings(const RawFile& file, const ImportPlan& plan) {
    std::vector<Finding> all;
    for (std::size_t i = 0; i < import::problemKinds; ++i) {
        const auto kind = static_cast<import::ProblemKind>(i);
        const import::Problem& problem = file.data.problems[kind];
        if (problem.count == 0) continue;
        const import::ProblemMeaning& meaning = import::meaning(kind);
        all.push_back(
            {meaning.key, meaning.text, problem.count, problem.bytes, problem.offsets, meaning.loss});
    }
    for (const PlannedSegment& segment : plan.segments) {
        if (segment.file != &file || segment.outOfReach == 0) continue;
        all.push_back({"outOfReach",
                       "more than 123 degrees off the first position, not loaded",
                       segment.outOfReach,
                       0,
                       {},
                       true});
    }
    for (const PlannedSegment& segment : plan.segments) {
        if (segment.file != &file || segment.unplaced == 0) continue;
        all.push_back({"unplaced",
                       "pings that the positions do not reach or without heading, not in ProcessedDepths",
                       segment.unplaced,
                       0,
                       {},
                       false});
    }
    for (const PlannedSegment& segment : plan.segments) {
        if (segment.file != &file || segment.averaged == 0) continue;
        all.push_back({"averaged",
                       "pings of more than 6000 samples a side, neighbours averaged",
                       segment.averaged,
                       0,
                       {},
                       true});
    }
    return all;
}

std::string timeText(import::Micros time) {
    return time == import::RawRecord::untimed ? "-" : import::utcText(time);
}

std::string namesOf(const std::vector<const RawFile*>& files) {
    std::string names;
    for (const RawFile* file : files)
        names += (names.empty() ? "" : ", ") + printable(file->name);
    return names;
}

std::string vesselText(const ImportedVessel& vessel) {
    const std::string file = printable(vessel.file.string());
    if (!vessel.isNew) return fmt::format("Vessel file {}: was there, left as it is", file);
    return fmt::format("Vessel file {}: new, {} entries from the installation parameters of {}", file,
                       vessel.entries, printable(vessel.origin));
}

Json vesselJson(const std::optional<ImportedVessel>& vessel) {
    if (!vessel) return nullptr;
    return {{"file", vessel->file.string()},
            {"new", vessel->isNew},
            {"entries", vessel->entries},
            {"of", vessel->origin}};
}

void printText(const LinePath& line, const std::vector<RawFile>& files, const ImportPlan& plan,
               const std::vector<std::string>& said, const std::optional<ImportedVessel>& vessel) {
    fmt::print("Line    {}\n", printable(line.native.string()));
    fmt::print("Times   {}\n", "UTC; kept as " + std::string(timeScale));
    fmt::print("Units   {}\n\n", units);
    Table table({{"SENSOR"},
                 {"SEGMENT", Align::right},
                 {"RECORDS", Align::right},
                 {"FIRST"},
                 {"LAST"},
                 {"STEPS BACK", Align::right},
                 {"FILE"},
                 {"FROM"}});
    for (const PlannedSegment& segment : plan.segments) {
        table.add({segment.family->name, fmt::to_string(segment.number), fmt::to_string(segment.records),
                   import::utcText(segment.first), import::utcText(segment.last),
                   fmt::to_string(segment.stepsBack), printable(segment.file->name), segment.origin});
    }
    for (const PlannedAttributes& planned : plan.attributes) {
        table.add({planned.name, "", fmt::to_string(planned.records), timeText(planned.first),
                   timeText(planned.last), "", namesOf(planned.files), planned.origin});
    }
    if (!plan.casts.casts.empty()) {
        table.add({castFileName, "", fmt::to_string(plan.casts.casts.size()),
                   import::utcText(plan.casts.casts.front().time),
                   import::utcText(plan.casts.casts.back().time), "", namesOf(plan.casts.files),
                   fmt::format("casts of {} values", plan.casts.values)});
    }
    table.print();
    for (const std::string& text : said)
        fmt::print("\n{}\n", text);
    if (vessel) fmt::print("\n{}\n", vesselText(*vessel));
    for (const RawFile& file : files) {
        fmt::print("\n{}: {}\n", printable(file.name), file.data.format);
        for (const Finding& finding : findings(file, plan)) {
            std::string where;
            if (finding.bytes != 0) where += fmt::format("; {} bytes", finding.bytes);
            if (!finding.offsets.empty())
                where += fmt::format("; first at byte {}", fmt::join(finding.offsets, ", "));
            fmt::print("  {}  {} x {}{}\n", finding.loss ? "LOST" : "note", finding.count, finding.text,
                       where);
        }
        for (const import::LeftOut& left : file.data.leftOut)
            fmt::print("  left  {} x {}: {}\n", left.count, printable(left.what), left.reason);
        for (const std::string& text : file.data.conventions)
            fmt::print("  {}\n", text);
    }
}

Json toJson(const LinePath& line, const std::vector<RawFile>& files, const ImportPlan& plan,
            const std::vector<std::string>& said, const std::optional<ImportedVessel>& vessel, bool lost) {
    Json json = {{"line", line.native.string()},
                 {"timeScale", timeScale},
                 {"units", units},
                 {"lost", lost},
                 {"remarks", said},
                 {"segments", Json::array()},
                 {"attributeFiles", Json::array()},
                 {"vesselFile", vesselJson(vessel)},
                 {"files", Json::array()}};
    StoreClock clock;
    for (const PlannedSegment& segment : plan.segments) {
        json["segments"].push_back({{"sensor", segment.family->name},
                                    {"segment", segment.number},
                                    {"file", segment.file->name},
                                    {"records", segment.records},
                                    {"firstUtc", import::utcText(segment.first)},
                                    {"lastUtc", import::utcText(segment.last)},
                                    {"first", clock.seconds(segment.first)},
                                    {"last", clock.seconds(segment.last)},
                                    {"stepsBack", segment.stepsBack},
                                    {"from", segment.origin}});
    }
    for (const PlannedAttributes& planned : plan.attributes) {
        Json row = {{"file", planned.name}, {"records", planned.records}, {"of", Json::array()}};
        for (const RawFile* file : planned.files)
            row["of"].push_back(file->name);
        if (planned.first != import::RawRecord::untimed) {
            row["firstUtc"] = import::utcText(planned.first);
            row["lastUtc"] = import::utcText(planned.last);
        }
        row["from"] = planned.origin;
        json["attributeFiles"].push_back(std::move(row));
    }
    if (!plan.casts.casts.empty()) {
        Json row = {{"file", castFileName},
                    {"casts", plan.casts.casts.size()},
                    {"values", plan.casts.values},
                    {"firstUtc", import::utcText(plan.casts.casts.front().time)},
                    {"lastUtc", import::utcText(plan.casts.casts.back().time)},
                    {"of", Json::array()}};
        for (const RawFile* file : plan.casts.files)
            row["of"].push_back(file->name);
        json["soundVelocityFile"] = std::move(row);
    }
    for (const RawFile& file : files) {
        Json row = {{"file", file.path},
                    {"format", file.data.format},
                    {"heaveSign", file.data.heaveSign},
                    {"problems", Json::array()},
                    {"leftOut", Json::array()},
                    {"conventions", file.data.conventions}};
        for (const Finding& finding : findings(file, plan)) {
            row["problems"].push_back({{"kind", finding.kind},
                                       {"text", finding.text},
                                       {"count", finding.count},
                                       {"bytes", finding.bytes},
                                       {"offsets", finding.offsets},
                                       {"loss", finding.loss}});
        }
        for (const import::LeftOut& left : file.data.leftOut)
            row["leftOut"].push_back({{"what", left.what}, {"count", left.count}, {"reason", left.reason}});
        json["files"].push_back(std::move(row));
    }
    return json;
}

std::optional<import::Micros> timeOption(const std::string& text, const char* name) {
    if (text.empty()) return std::nullopt;
    const auto seconds = parseTime(text);
    const auto time = seconds ? microsOf(*seconds) : std::nullopt;
    if (!time)
        throw ToolError(fmt::format("{}: {} is no time such as 2024-06-01T08:00:00Z", name, printable(text)),
                        exitUsage);
    return time;
}

// Takes the records outside of the wanted times off, which is no loss.
void cut(std::vector<RawFile>& files, const Options& options) {
    const auto from = timeOption(options.from, "--from");
    const auto to = timeOption(options.to, "--to");
    if (!from && !to) return;
    for (RawFile& file : files) {
        const std::uint64_t dropped =
            keepBetween(file.data, from.value_or(std::numeric_limits<import::Micros>::min()),
                        to.value_or(std::numeric_limits<import::Micros>::max()));
        if (dropped != 0) file.data.leftOut.push_back({"records", dropped, "outside of --from and --to"});
    }
}

std::vector<RawFile> readFiles(const Options& options, const Common& common) {
    std::uint64_t total = 0;
    for (const std::string& path : options.files) {
        std::error_code ignored;
        const std::uintmax_t size = std::filesystem::file_size(path, ignored);
        total += ignored ? 0 : size;
    }
    Progress progress(common, total);
    std::uint64_t before = 0;
    std::vector<RawFile> files;
    for (const std::string& path : options.files) {
        progress.setLabel("reading " + printable(std::filesystem::path(path).filename().string()));
        std::uint64_t size = 0;
        files.push_back(readRawFile(path, [&](std::uint64_t offset) {
            size = std::max(size, offset);
            progress.show(before + offset);
        }));
        before += size;
    }
    return files;
}

int run(const Options& options, const Common& common) {
    const LinePath line = linePath(options.line);
    // Everything is read before anything is written: a file that cannot be read leaves the line as it was.
    std::vector<RawFile> files = readFiles(options, common);
    cut(files, options);
    const ImportPlan plan = planImport(files, options.sensors, options.allowOverlap);
    const std::vector<const Family*> families = plan.families();
    if (!options.force) {
        refuseOverwriting(line, families);
        refuseOverwriting(line, plan.attributes);
        refuseOverwriting(line, plan.casts);
    }
    makeLine(line, false);
    {
        Progress progress(common, plan.records());
        progress.setLabel("writing");
        writeImport(line, plan, [&](std::uint64_t done) { progress.show(done); });
        writeAttributes(line, plan);
        writeCasts(line, plan.casts);
    }
    // Whoever picks sensors wants those and nothing else.
    const std::optional<ImportedVessel> vessel =
        options.sensors.empty() ? importVessel(line, files) : std::nullopt;

    const bool lost = plan.anyLoss() || std::ranges::any_of(files, [](const RawFile& file) {
                          return file.data.problems.anyLoss();
                      });
    const std::vector<std::string> said = remarks(plan);
    if (common.json)
        printJson(toJson(line, files, plan, said, vessel, lost));
    else
        printText(line, files, plan, said, vessel);
    return lost ? exitLoss : exitSuccess;
}

} // namespace

Run declareImport(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("FILE", options->files, "Raw files, of any of the formats below")->required();
    app.add_option("--line", options->line, "Line to write into: <root>/<project>/<vessel>/<day>/<line>")
        ->required();
    const auto sensors = importSensors();
    app.add_option("--sensors", options->sensors, "Write these only, separated by commas")
        ->delimiter(',')
        ->check(CLI::IsMember(std::vector<std::string>(sensors.begin(), sensors.end())));
    app.add_option("--from", options->from,
                   "Only records at or after this time, UTC or seconds of the store");
    app.add_option("--to", options->to, "Only records at or before this time");
    app.add_flag("--force", options->force, "Write over sensors that are in the line already");
    app.add_flag("--allow-overlap", options->allowOverlap,
                 "Write files that overlap in time one after the other");
    app.footer(
        "Formats: Kongsberg EM raw data (.all, .wcd), GSF, XTF, NMEA 0183 logs, semicolon text logs with a\n"
        "heading line, tide series. The content of a file tells its format, not its name.\n"
        "Every file becomes one line segment per sensor, in order of time. Directories of the line that\n"
        "are missing are made; its root must exist. Only systems that the file names as active are\n"
        "loaded. What a file holds beyond that is listed. Heave keeps the sign of its file, which the\n"
        "output states. Where the vessel has no file yet, the installation parameters of EM files make a\n"
        "first one, <root>/VesselConfig/<vessel>.skv; not with --sensors.\n"
        "Exit status 3: some of a file was damaged or without a date and is not in the line; the output\n"
        "says what and how much.");
    return [options](const Common& common) { return run(*options, common); };
}

} // namespace skar::tool
