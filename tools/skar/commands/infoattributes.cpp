#include "commands/infoattributes.h"

#include "progress.h"
#include "timetext.h"

#include <algorithm>
#include <limits>

namespace skar::tool {

namespace {

constexpr Extent nothing = {std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity()};

void widen(Extent& extent, double value) {
    extent.min = std::min(extent.min, value);
    extent.max = std::max(extent.max, value);
}

AttributeScan readAll(OpenAttributes& file, std::uint64_t records, Progress& progress) {
    AttributeScan scan{nothing, std::vector<Extent>(file.columns().size(), nothing)};
    double previous = 0.0;
    for (std::uint64_t number = 1; number <= records; ++number) {
        double time = 0.0;
        std::uint32_t status = 0;
        file.read(static_cast<std::uint32_t>(number), time, status);
        widen(scan.time, time);
        if (number > 1 && time < previous) ++scan.backwards;
        previous = time;
        if (status != 0) ++scan.marked;
        for (std::size_t i = 0; i < scan.values.size(); ++i) {
            if (const auto value = file.value(i).number()) widen(scan.values[i], *value);
        }
        if (number % 65536 == 0) progress.show(number);
    }
    return scan;
}

Json jsonOf(const AttributeValue& value) {
    fmt::memory_buffer text;
    value.appendJson(text);
    return Json::parse(text.begin(), text.end());
}

bool isKnown(const Extent& extent) {
    return extent.min <= extent.max;
}

Json timeJson(const Extent& time) {
    UtcWriter utc;
    return {{"unit", "s"},     {"scale", timeScale},           {"min", time.min},
            {"max", time.max}, {"minUtc", utc.text(time.min)}, {"maxUtc", utc.text(time.max)}};
}

void printColumns(std::span<const AttributeInfo> files) {
    const bool full =
        std::ranges::any_of(files, [](const AttributeInfo& file) { return file.scan.has_value(); });
    std::vector<Table::Column> columns = {{"FILE"}, {"OF"}, {"ATTRIBUTE"}, {"TYPE"}, {"VALUE"}};
    if (full) columns.insert(columns.end(), {{"MIN", Align::right}, {"MAX", Align::right}});
    Table table(std::move(columns));
    for (const AttributeInfo& file : files) {
        std::string name = printable(file.name);
        for (const AttributeInfo::Column& column : file.summary)
            table.add(
                {std::exchange(name, ""), "all", printable(column.name), column.typeName(), column.value});
        for (std::size_t i = 0; i < file.columns.size(); ++i) {
            const AttributeInfo::Column& column = file.columns[i];
            std::vector<std::string> cells = {std::exchange(name, ""), "record", printable(column.name),
                                              column.typeName(), ""};
            if (file.scan && isKnown(file.scan->values[i])) {
                // As many digits as the type holds.
                const int digits = column.type == SKARIOAttributes::typeFloat ? 6 : 15;
                cells.push_back(fmt::format("{:.{}g}", file.scan->values[i].min, digits));
                cells.push_back(fmt::format("{:.{}g}", file.scan->values[i].max, digits));
            }
            table.add(std::move(cells));
        }
    }
    if (table.empty()) return;
    fmt::print("\nAttributes\n");
    table.print();
}

void printScans(std::span<const AttributeInfo> files) {
    UtcWriter utc;
    Table table({{"FILE"},
                 {"FIRST READ (UTC)"},
                 {"LAST READ (UTC)"},
                 {"TIMES GOING BACK", Align::right},
                 {"STATUS NOT 0", Align::right}});
    for (const AttributeInfo& file : files) {
        if (!file.scan || !isKnown(file.scan->time)) continue;
        table.add({printable(file.name), utc.text(file.scan->time.min), utc.text(file.scan->time.max),
                   fmt::to_string(file.scan->backwards), fmt::to_string(file.scan->marked)});
    }
    if (table.empty()) return;
    fmt::print("\n");
    table.print();
}

Json columnsJson(std::span<const AttributeInfo::Column> columns, bool ofSummary, const AttributeScan* scan) {
    Json json = Json::array();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        Json row = {{"name", columns[i].name}, {"type", columns[i].typeName()}};
        if (ofSummary) row["value"] = columns[i].json;
        if (scan != nullptr && isKnown(scan->values[i])) {
            row["min"] = scan->values[i].min;
            row["max"] = scan->values[i].max;
        }
        json.push_back(std::move(row));
    }
    return json;
}

} // namespace

AttributeInfo inspectAttributes(const LinePath& line, const std::string& name, bool full,
                                const Common& common) {
    AttributeInfo info;
    info.name = name;
    try {
        OpenAttributes open(line, name);
        SKARDataFile& file = open.file();
        info.sensorNumber = open.sensorNumber();
        info.fileVersion = file.GetFileVersionNumber();
        info.dataVersion = file.GetDataVersionNumber();
        info.status = file.GetSummaryRecordStatus();
        info.records = file.GetNumberOfRecords();
        info.time = {file.GetMinTime(), file.GetMaxTime()};
        info.source = open.source();
        for (std::size_t i = 0; i < open.summaryColumns().size(); ++i) {
            const AttributeValue value = open.summaryValue(i);
            info.summary.push_back({open.summaryColumns()[i], value.text(), jsonOf(value)});
        }
        for (const AttributeColumn& column : open.columns())
            info.columns.push_back({column, "", {}});
        if (full) {
            Progress progress(common, info.records);
            progress.setLabel(fmt::format("reading {}", printable(name)));
            info.scan = readAll(open, info.records, progress);
        }
    } catch (const ToolError& error) {
        info.failure = error.what();
    }
    return info;
}

void printAttributes(std::span<const AttributeInfo> files) {
    if (files.empty()) return;
    UtcWriter utc;
    Table table({{"FILE"},
                 {"RECORDS", Align::right},
                 {"SENSOR", Align::right},
                 {"VERSION", Align::right},
                 {"DATA VERSION", Align::right},
                 {"STATUS"},
                 {"FIRST (UTC)"},
                 {"LAST (UTC)"},
                 {"SOURCE FILE"},
                 {"ABOUT"}});
    for (const AttributeInfo& file : files) {
        if (!file.failure.empty()) {
            table.add({printable(file.name), "unreadable"});
            continue;
        }
        const bool any = file.records > 0;
        table.add({printable(file.name), fmt::to_string(file.records), fmt::to_string(file.sensorNumber),
                   fmt::to_string(file.fileVersion), fmt::to_string(file.dataVersion),
                   fmt::format("0x{:08X}", file.status), any ? utc.text(file.time.min) : "-",
                   any ? utc.text(file.time.max) : "-", printable(file.source),
                   aboutAttributeFile(file.name)});
    }
    fmt::print("\nFiles that describe themselves\n");
    table.print();
    printColumns(files);
    printScans(files);
}

Json attributesJson(std::span<const AttributeInfo> files) {
    Json json = Json::array();
    for (const AttributeInfo& file : files) {
        Json row = {{"file", file.name}, {"about", aboutAttributeFile(file.name)}};
        if (!file.failure.empty()) {
            row["failure"] = file.failure;
            json.push_back(std::move(row));
            continue;
        }
        row["sensorNumber"] = file.sensorNumber;
        row["version"] = file.fileVersion;
        row["dataVersion"] = file.dataVersion;
        row["records"] = file.records;
        row["status"] = file.status;
        row["source"] = file.source;
        if (file.records > 0) row["time"] = timeJson(file.time);
        const AttributeScan* const scan = file.scan ? &*file.scan : nullptr;
        row["summary"] = columnsJson(file.summary, true, nullptr);
        row["attributes"] = columnsJson(file.columns, false, scan);
        if (scan != nullptr && isKnown(scan->time)) {
            row["read"] = {{"time", timeJson(scan->time)},
                           {"timesGoingBack", scan->backwards},
                           {"statusNotZero", scan->marked}};
        }
        json.push_back(std::move(row));
    }
    return json;
}

} // namespace skar::tool
