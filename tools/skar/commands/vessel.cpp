#include "commands/vessel.h"

#include "codetext.h"
#include "commands/output.h"
#include "linepath.h"
#include "timetext.h"
#include "vessel/check.h"
#include "vessel/sheet.h"

#include <skar/codes.h>
#include <skar/vessel.h>
#include <skar/vesselimport.h>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace skar::tool {

namespace {

struct Options {
    std::string file;
    std::string at;
    std::uint64_t limit = 100;
    bool force = false;
};

namespace fs = std::filesystem;

constexpr const char* noEnd = "-";

std::string counted(std::uint64_t count, const char* one, const char* many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

fs::path existingFile(const std::string& text) {
    // Both separators name the same file, as in the path of a line.
    const fs::path path = linePath(text).native;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status))
        throw ToolError(fmt::format("{}: there is no such file", printable(path.string())));
    if (!fs::is_regular_file(status))
        throw ToolError(fmt::format("{}: not a file", printable(path.string())));
    return path;
}

vessel::Document parsed(const fs::path& path) {
    const std::optional<std::string> bytes = vessel::readVessel(path.string());
    if (!bytes) throw ToolError(fmt::format("{}: cannot be read, or is too large", printable(path.string())));
    return vessel::parseVessel(*bytes);
}

std::string placeOf(const fs::path& path, std::uint64_t line) {
    return line == 0 ? printable(path.string()) : fmt::format("{}:{}", printable(path.string()), line);
}

// The library reads what a name stands for: with its own extension behind it where there is such a file.
fs::path withExtension(const fs::path& path) {
    return path.string() + narrowText(SKARVessel::getDefaultExtension());
}

bool isHidden(const fs::path& path) {
    std::string extension = path.extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    std::error_code ignored;
    return extension != narrowText(SKARVessel::getDefaultExtension()) &&
           fs::exists(withExtension(path), ignored);
}

std::unique_ptr<SKARVessel> loaded(const fs::path& path, bool legacy) {
    const std::wstring name = linePath(path.string()).store;
    long status = 0;
    const vessel::QuietXml quiet;
    std::unique_ptr<SKARVessel> vessel;
    if (legacy) {
        vessel = std::make_unique<SKARVessel>();
        status = SKARVesselImport(name.c_str(), vessel.get());
    } else {
        vessel = std::make_unique<SKARVessel>(name.c_str(), status);
    }
    if (status != 0) {
        throw ToolError(fmt::format("{}: the library does not load it, {}", printable(path.string()),
                                    codeText(static_cast<int>(status))));
    }
    return vessel;
}

// An entry with the time from which the next one is in force.
struct Valid {
    const SKARVesselSensorConfig* entry = nullptr;
    std::optional<double> until;
    vessel::Sheet sheet;
};

struct Kind {
    std::string name;
    std::vector<Valid> entries;
    std::optional<double> begins; // when none is in force yet at the time asked for
};

std::vector<Kind> kindsOf(const SKARVessel& vessel, const std::set<std::uint32_t>& numbers,
                          const std::optional<double>& at) {
    std::vector<Kind> kinds;
    for (const auto& list : vessel.getSensors()) {
        if (list.isNull() || list->empty()) continue;
        Kind kind{narrowText(list->getFirstConfig()->getName()), {}, {}};
        const SKARVesselSensorConfig* wanted = nullptr;
        if (at) {
            long status = 0;
            wanted = list->getConfig(*at, status);
            if (wanted == nullptr) kind.begins = list->getFirstConfig()->getTimeStamp();
        }
        for (const SKARVesselSensorConfig* entry = list->getFirstConfig();
             entry != nullptr && !kind.begins;) {
            const SKARVesselSensorConfig* next = list->getNextConfig(entry);
            if (!at || entry == wanted) {
                kind.entries.push_back({entry, {}, vessel::sheetOf(*entry, numbers)});
                if (next != nullptr) kind.entries.back().until = next->getTimeStamp();
            }
            entry = next;
        }
        kinds.push_back(std::move(kind));
    }
    return kinds;
}

std::string utcText(double seconds) {
    UtcWriter utc;
    const std::string text = utc.text(seconds);
    return text.empty() ? fmt::format("{} s", seconds) : text;
}

// Rows that share their columns; each belongs to an entry.
struct Block {
    std::string title;
    std::vector<std::pair<const Valid*, const vessel::Cells*>> rows;
};

// The entries' own cells, then those of their parts. Transducers of a sweep have more cells than others.
std::vector<Block> blocksOf(const Kind& kind) {
    std::vector<Block> blocks;
    const auto add = [&](const std::string& title, const Valid& valid, const vessel::Cells& cells) {
        auto found = std::ranges::find_if(blocks, [&](const Block& block) {
            return block.title == title && block.rows.front().second->size() == cells.size();
        });
        if (found == blocks.end()) found = blocks.insert(blocks.end(), {title, {}});
        found->rows.emplace_back(&valid, &cells);
    };
    for (const Valid& valid : kind.entries)
        add(kind.name, valid, valid.sheet.cells);
    for (const Valid& valid : kind.entries) {
        for (const vessel::Part& part : valid.sheet.parts) {
            for (const vessel::Cells& cells : part.rows)
                add(fmt::format("{}, {}", kind.name, part.title), valid, cells);
        }
    }
    return blocks;
}

void printBlock(const Block& block) {
    std::vector<Table::Column> columns{{"VALID FROM"}, {"VALID UNTIL"}};
    std::vector<std::size_t> shown;
    const vessel::Cells& first = *block.rows.front().second;
    for (std::size_t i = 0; i < first.size(); ++i) {
        const auto all = [&](auto holds) {
            return std::ranges::all_of(block.rows,
                                       [&](const auto& row) { return holds(row.second->at(i).value); });
        };
        // Texts that no entry has would only make the table wide.
        if (all([](const vessel::Value& value) { return vessel::textOf(value).empty(); })) continue;
        const bool isNumber = all([](const vessel::Value& value) {
            return std::holds_alternative<double>(value) || std::holds_alternative<std::int64_t>(value);
        });
        shown.push_back(i);
        columns.push_back({first[i].heading, isNumber ? Align::right : Align::left});
    }
    Table table(std::move(columns));
    const Valid* before = nullptr;
    for (const auto& [valid, cells] : block.rows) {
        std::vector<std::string> texts(2);
        if (valid != before)
            texts = {utcText(valid->entry->getTimeStamp()), valid->until ? utcText(*valid->until) : noEnd};
        before = valid;
        for (const std::size_t i : shown)
            texts.push_back(vessel::textOf(cells->at(i).value));
        table.add(std::move(texts));
    }
    fmt::print("\n{}\n", block.title);
    table.print();
}

void printKind(const Kind& kind) {
    if (kind.begins) {
        fmt::print("\n{}\nnone yet; the first is in force from {}\n", kind.name, utcText(*kind.begins));
        return;
    }
    for (const Block& block : blocksOf(kind))
        printBlock(block);
}

void printShape(SKARVesselShape& shape) {
    double length = 0;
    double width = 0;
    double height = 0;
    shape.getRP(length, width, height);
    const bool any = !shape.getPlanViewCoords().isEmpty() || !shape.getProfileViewCoords().isEmpty();
    if (!any && length == 0 && width == 0 && height == 0) return;
    fmt::print("\nVesselShape  length {:.6g} m, width {:.6g} m, height {:.6g} m\n", length, width, height);
    const auto print = [](const char* view, const char* first, const char* second,
                          const SKARVesselShape::Coordinates& points) {
        if (points.isEmpty()) return;
        Table table({{view, Align::right}, {first, Align::right}, {second, Align::right}});
        std::size_t number = 0;
        for (const MORVAArray<double>& point : points)
            table.add(
                {fmt::to_string(++number), fmt::format("{:.6g}", point[0]), fmt::format("{:.6g}", point[1])});
        table.print();
    };
    print("PLAN", "X [m]", "Y [m]", shape.getPlanViewCoords());
    print("PROFILE", "Y [m]", "Z [m]", shape.getProfileViewCoords());
}

Json valueJson(const vessel::Value& value) {
    return std::visit(
        [](const auto& held) {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::monostate>)
                return Json(nullptr);
            else
                return Json(held);
        },
        value);
}

void addJson(Json& json, const vessel::Cells& cells) {
    for (const vessel::Cell& cell : cells)
        json[cell.key] = valueJson(cell.value);
}

Json timeJson(double seconds) {
    UtcWriter utc;
    return {{"seconds", seconds}, {"utc", utc.text(seconds)}};
}

Json kindJson(const Kind& kind) {
    Json json = {{"sensor", kind.name}, {"entries", Json::array()}};
    if (kind.begins) json["noneUntil"] = timeJson(*kind.begins);
    for (const Valid& valid : kind.entries) {
        Json entry = {{"validFrom", timeJson(valid.entry->getTimeStamp())},
                      {"validUntil", valid.until ? timeJson(*valid.until) : Json(nullptr)}};
        addJson(entry, valid.sheet.cells);
        for (const vessel::Part& part : valid.sheet.parts) {
            Json& place = entry[part.key];
            place = part.many ? Json::array() : Json::object();
            for (const vessel::Cells& cells : part.rows) {
                if (part.many)
                    addJson(place.emplace_back(Json::object()), cells);
                else
                    addJson(place, cells);
            }
        }
        json["entries"].push_back(std::move(entry));
    }
    return json;
}

Json shapeJson(SKARVesselShape& shape) {
    double length = 0;
    double width = 0;
    double height = 0;
    shape.getRP(length, width, height);
    const auto points = [](const SKARVesselShape::Coordinates& all) {
        Json json = Json::array();
        for (const MORVAArray<double>& point : all)
            json.push_back({point[0], point[1]});
        return json;
    };
    return {{"length", length},
            {"width", width},
            {"height", height},
            {"plan", points(shape.getPlanViewCoords())},
            {"profile", points(shape.getProfileViewCoords())}};
}

int show(const Options& options, const Common& common) {
    std::optional<double> at;
    if (!options.at.empty()) {
        at = parseTime(options.at);
        if (!at)
            throw ToolError(fmt::format("--at {}: neither seconds nor a UTC time such as 2024-06-01T08:00:00",
                                        printable(options.at)),
                            exitUsage);
    }
    const fs::path path = existingFile(options.file);
    const vessel::Document document = parsed(path);
    check::Report report(0);
    const vessel::Checked checked = vessel::checkVessel(document, report);
    if (!checked.refusal.empty() && !document.legacy)
        throw ToolError(
            fmt::format("{}: {}", placeOf(path, checked.refusalLine), printable(checked.refusal)));
    if (!document.legacy && isHidden(path)) {
        throw ToolError(fmt::format("{}: the library would read {} in its place", printable(path.string()),
                                    printable(withExtension(path).string())));
    }
    const std::unique_ptr<SKARVessel> vessel = loaded(path, document.legacy);
    const std::vector<Kind> kinds = kindsOf(*vessel, checked.transducers, at);
    const std::uint64_t findings = document.legacy ? 0 : report.errors() + report.warnings();
    if (common.json) {
        Json json = {{"file", path.string()},
                     {"version", vessel->getFileVersion()},
                     {"timeScale", timeScale},
                     {"legacy", document.legacy},
                     {"findings", findings}};
        if (at) json["at"] = timeJson(*at);
        json["shape"] = shapeJson(vessel->getVesselShape());
        json["sensors"] = Json::array();
        for (const Kind& kind : kinds)
            json["sensors"].push_back(kindJson(kind));
        printJson(json);
        return exitSuccess;
    }
    fmt::print("File     {}\n", printable(path.string()));
    if (document.legacy)
        fmt::print("Version  1, a text file\n");
    else
        fmt::print("Version  {:.1f}\n", vessel->getFileVersion());
    if (at) fmt::print("At       {}\n", utcText(*at));
    fmt::print("Times are UTC; an entry is in force until the next one.\n");
    printShape(vessel->getVesselShape());
    for (const Kind& kind : kinds)
        printKind(kind);
    if (kinds.empty()) fmt::print("\nNo sensors.\n");
    if (findings != 0)
        fmt::print("\n{} in the file; skar vessel check tells more\n",
                   counted(findings, "finding", "findings"));
    return exitSuccess;
}

const char* severityText(check::Severity severity) {
    return severity == check::Severity::error ? "error" : "warning";
}

int checkFile(const Options& options, const Common& common) {
    const fs::path path = existingFile(options.file);
    const vessel::Document document = parsed(path);
    check::Report report(options.limit);
    report.enterFile(path.string());
    const vessel::Checked checked = vessel::checkVessel(document, report);
    // The library's own word, on what this command has nothing against.
    if (report.errors() == 0 && !isHidden(path)) {
        long status = 0;
        const vessel::QuietXml quiet;
        const SKARVessel vessel(linePath(path.string()).store.c_str(), status);
        if (status != 0)
            report.error("refused", 0,
                         fmt::format("the library does not load it, {}", codeText(static_cast<int>(status))));
    }
    if (common.json) {
        Json json = {{"file", path.string()},         {"lists", checked.lists},
                     {"entries", checked.entries},    {"errors", report.errors()},
                     {"warnings", report.warnings()}, {"unlisted", report.unlisted()},
                     {"findings", Json::array()}};
        for (const check::Finding& finding : report.findings()) {
            json["findings"].push_back({{"severity", severityText(finding.severity)},
                                        {"code", finding.code},
                                        {"line", finding.offset},
                                        {"text", finding.text}});
        }
        printJson(json);
    } else {
        for (const check::Finding& finding : report.findings()) {
            fmt::print("{}: {}: {}: {}\n", placeOf(path, finding.offset), severityText(finding.severity),
                       finding.code, printable(finding.text));
        }
        if (report.unlisted() > 0) fmt::print("{} more not listed; --limit 0 lists all\n", report.unlisted());
        if (document.legacy) fmt::print("A text file of version 1 is made XML by skar vessel convert.\n");
        fmt::print("{} with {} checked: {}, {}\n",
                   counted(checked.lists, "kind of sensor", "kinds of sensors"),
                   counted(checked.entries, "entry", "entries"), counted(report.errors(), "error", "errors"),
                   counted(report.warnings(), "warning", "warnings"));
    }
    return report.errors() > 0 ? exitFailure : exitSuccess;
}

int convert(const Options& options, const Common& common) {
    const fs::path path = existingFile(options.file);
    if (!parsed(path).legacy)
        throw ToolError(
            fmt::format("{}: begins as XML does; only text files are converted", printable(path.string())));
    const fs::path target = withExtension(path);
    std::error_code ignored;
    if (!options.force && fs::exists(fs::symlink_status(target, ignored)))
        throw ToolError(
            fmt::format("{}: is there already; --force writes over it", printable(target.string())));
    if (const long status = SKARVesselConvert(linePath(path.string()).store.c_str()); status != 0) {
        throw ToolError(fmt::format("{}: cannot be converted, {}", printable(path.string()),
                                    codeText(static_cast<int>(status))));
    }
    // What counts is what can be read back.
    const std::unique_ptr<SKARVessel> vessel = loaded(target, false);
    const std::vector<Kind> kinds = kindsOf(*vessel, {}, {});
    const SKARVesselShape& shape = vessel->getVesselShape();
    const std::size_t points = shape.getPlanViewCoords().count() + shape.getProfileViewCoords().count();
    if (common.json) {
        Json json = {
            {"file", target.string()}, {"of", path.string()}, {"points", points}, {"sensors", Json::array()}};
        for (const Kind& kind : kinds)
            json["sensors"].push_back({{"sensor", kind.name}, {"entries", kind.entries.size()}});
        printJson(json);
        return exitSuccess;
    }
    fmt::print("{}: written\n", printable(target.string()));
    Table table({{"SENSOR"}, {"ENTRIES", Align::right}, {"FIRST"}, {"LAST"}});
    for (const Kind& kind : kinds) {
        table.add({kind.name, fmt::to_string(kind.entries.size()),
                   utcText(kind.entries.front().entry->getTimeStamp()),
                   utcText(kind.entries.back().entry->getTimeStamp())});
    }
    table.print();
    fmt::print("{} of the outline\n", counted(points, "point", "points"));
    return exitSuccess;
}

} // namespace

Run declareVessel(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.require_subcommand(1);
    app.fallthrough();
    CLI::App* showing = app.add_subcommand("show", "Show the entries of a vessel file");
    showing->add_option("FILE", options->file, "Vessel file")->required();
    showing
        ->add_option("--at", options->at,
                     "Only what is in force at this time: seconds of the store or UTC, 2024-06-01T08:00:00")
        ->type_name("TIME");
    CLI::App* checking = app.add_subcommand("check", "Look for what is wrong in a vessel file");
    checking->add_option("FILE", options->file, "Vessel file")->required();
    checking->add_option("--limit", options->limit, "List at most that many findings of one kind; 0: all")
        ->capture_default_str()
        ->type_name("N");
    CLI::App* converting = app.add_subcommand("convert", "Write a vessel file from one of the text form");
    converting->add_option("LEGACY", options->file, "File of the text form")->required();
    converting->add_flag("--force", options->force, "Write over a vessel file that is there");
    app.footer(
        "Vessel files are <root>/VesselConfig/<vessel>.skv. Lengths are metres, angles degrees, latencies\n"
        "seconds. A finding is a line file:line: severity: code: text; the exit status of check is 1 when\n"
        "there is an error. convert writes LEGACY.skv; show and check change nothing.\n"
        "Example:  skar vessel show store/VesselConfig/vessel.skv --at 2024-06-01T08:00:00");
    return [options, showing, checking](const Common& common) {
        return showing->parsed()    ? show(*options, common)
               : checking->parsed() ? checkFile(*options, common)
                                    : convert(*options, common);
    };
}

} // namespace skar::tool
