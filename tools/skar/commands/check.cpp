#include "commands/check.h"

#include "attributefile.h"
#include "check/attributecheck.h"
#include "check/contactcheck.h"
#include "commands/output.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <vector>

namespace skar::tool {

namespace {

struct Options {
    std::string line;
    std::uint64_t limit = 100;
};

struct Checked {
    std::string name;
    check::SetResult result;
    std::uint64_t errors = 0;
    std::uint64_t warnings = 0;
};

const char* severityText(check::Severity severity) {
    return severity == check::Severity::error ? "error" : "warning";
}

std::string counted(std::uint64_t count, const char* noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

void printText(const std::vector<Checked>& sets, const check::Report& report,
               const std::vector<std::string>& unchecked) {
    for (const check::Finding& finding : report.findings()) {
        fmt::print("{}:{}: {}: {}: {}\n", printable(finding.file), finding.offset,
                   severityText(finding.severity), finding.code, printable(finding.text));
    }
    if (report.unlisted() > 0) fmt::print("{} more not listed; --limit 0 lists all\n", report.unlisted());
    if (!report.findings().empty()) fmt::print("\n");

    if (!sets.empty()) {
        Table table({{"SENSOR"},
                     {"RECORDS", Align::right},
                     {"SEGMENTS", Align::right},
                     {"ERRORS", Align::right},
                     {"WARNINGS", Align::right}});
        for (const Checked& set : sets) {
            table.add({printable(set.name), fmt::to_string(set.result.records),
                       fmt::to_string(set.result.segments), fmt::to_string(set.errors),
                       fmt::to_string(set.warnings)});
        }
        table.print();
        fmt::print("\n");
    }
    for (const std::string& name : unchecked)
        fmt::print("Not checked: {}\n", printable(name));
    fmt::print("{} checked: {}, {}\n", counted(sets.size(), "sensor"), counted(report.errors(), "error"),
               counted(report.warnings(), "warning"));
}

Json toJson(const LinePath& line, const std::vector<Checked>& sets, const check::Report& report,
            const std::vector<std::string>& unchecked) {
    Json json = {{"line", line.native.string()},  {"errors", report.errors()},
                 {"warnings", report.warnings()}, {"unlisted", report.unlisted()},
                 {"sensors", Json::array()},      {"findings", Json::array()},
                 {"notChecked", unchecked}};
    for (const Checked& set : sets) {
        json["sensors"].push_back({{"sensor", set.name},
                                   {"records", set.result.records},
                                   {"segments", set.result.segments},
                                   {"errors", set.errors},
                                   {"warnings", set.warnings}});
    }
    for (const check::Finding& finding : report.findings()) {
        json["findings"].push_back({{"severity", severityText(finding.severity)},
                                    {"code", finding.code},
                                    {"sensor", finding.sensor},
                                    {"file", finding.file},
                                    {"offset", finding.offset},
                                    {"text", finding.text}});
    }
    return json;
}

bool hasAnyFile(const LinePath& line, const Family& family) {
    return std::ranges::any_of(family.kind->files(family), [&](const std::string& name) {
        std::error_code ignored;
        return std::filesystem::exists(std::filesystem::symlink_status(line.native / name, ignored));
    });
}

int run(const Options& options, const Common& common) {
    const LinePath line = existingLine(options.line);
    check::Report report(options.limit);
    std::vector<Checked> sets;
    const auto checkOne = [&](const std::string& name, auto look) {
        Progress progress(common, 100);
        progress.setLabel(fmt::format("checking {}", printable(name)));
        Checked set{name, {}, report.errors(), report.warnings()};
        set.result = look(progress);
        set.errors = report.errors() - set.errors;
        set.warnings = report.warnings() - set.warnings;
        sets.push_back(std::move(set));
    };
    std::vector<const Family*> known;
    for (const Family& family : families()) {
        if (family.kind->check == nullptr || !hasAnyFile(line, family)) continue;
        known.push_back(&family);
        checkOne(family.name,
                 [&](Progress& progress) { return family.kind->check(line, family, report, progress); });
    }
    std::vector<std::string> unchecked = otherFiles(line, known);
    const std::vector<std::string> attributes = attributeFiles(line);
    for (const std::string& name : attributes)
        checkOne(name,
                 [&](Progress& progress) { return check::checkAttributes(line, name, report, progress); });
    leaveOutAttributeFiles(unchecked, attributes);
    if (std::erase(unchecked, check::contactFile) != 0)
        checkOne(check::contactFile, [&](Progress&) { return check::checkContacts(line, report); });

    if (common.json)
        printJson(toJson(line, sets, report, unchecked));
    else
        printText(sets, report, unchecked);
    return report.errors() > 0 ? exitFailure : exitSuccess;
}

} // namespace

Run declareCheck(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("LINE", options->line, "Directory of the line")->required();
    app.add_option("--limit", options->limit,
                   "List at most that many findings of one kind in one file; 0: all")
        ->capture_default_str()
        ->type_name("N");
    app.footer("Reads every byte of every sensor and holds data file, LineSegments and TmIdx against each\n"
               "other. A finding is a line file:offset: severity: code: text. The exit status is 1 when "
               "there is an error;\n"
               "warnings, such as times that go back, leave it 0. Nothing is changed.\n"
               "Example:  skar check store/project/vessel/2024-153/0001");
    return [options](const Common& common) { return run(*options, common); };
}

} // namespace skar::tool
