#include "commands/info.h"

#include "commands/infoattributes.h"
#include "commands/output.h"
#include "contactlist.h"
#include "families.h"
#include "import/linevessel.h"
#include "progress.h"
#include "timetext.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <numbers>
#include <optional>
#include <vector>

namespace skar::tool {

namespace {

struct Options {
    std::string line;
    bool full = false;
};

// What only reading every record can tell.
struct Scan {
    Extent time;
    std::vector<Extent> values;  // of each quantity, then of those of the items
    std::uint32_t backwards = 0; // records with a time before that of the one ahead of them
    std::uint64_t marked = 0;    // records with a status other than 0
    std::uint64_t markedItems = 0;
    double largestStep = 0.0;
    double meanStep = 0.0;
};

struct SensorInfo {
    const Family* family = nullptr;
    std::string failure; // the rest is empty then
    std::uint32_t version = 0;
    Summary summary;
    std::vector<Segment> segments;
    std::optional<Scan> scan;
};

constexpr Extent nothing = {std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity()};

bool isKnown(const Extent& extent) {
    return extent.min <= extent.max;
}

void widen(Extent& extent, double value) {
    extent.min = std::min(extent.min, value);
    extent.max = std::max(extent.max, value);
}

std::vector<const Quantity*> allQuantities(const Family& family) {
    std::vector<const Quantity*> all;
    for (const auto& quantities : {family.quantities, family.items.quantities}) {
        for (const Quantity& quantity : quantities)
            all.push_back(&quantity);
    }
    return all;
}

Scan readAll(Reader& set, const Family& family, std::uint32_t records, Progress& progress) {
    Scan scan{nothing, std::vector<Extent>(allQuantities(family).size(), nothing)};
    Record record;
    Record item;
    const std::size_t own = family.quantities.size();
    double first = 0.0;
    double previous = 0.0;
    for (std::uint32_t number = 1; number <= records; ++number) {
        set.read(number, record);
        widen(scan.time, record.time);
        for (std::size_t i = 0; i < own; ++i) {
            if (!family.quantities[i].isText) widen(scan.values[i], record.values[i]);
        }
        if (record.status != 0) ++scan.marked;
        for (std::uint32_t beam = 0; beam < record.numItems; ++beam) {
            set.readItem(item);
            widen(scan.time, item.time);
            for (std::size_t i = own; i < scan.values.size(); ++i)
                widen(scan.values[i], item.values[i - own]);
            if (item.status != 0) ++scan.markedItems;
        }
        if (number == 1) {
            first = record.time;
        } else {
            if (record.time < previous) ++scan.backwards;
            scan.largestStep = std::max(scan.largestStep, record.time - previous);
        }
        previous = record.time;
        if (number % (family.hasItems() ? 64 : 65536) == 0) progress.show(number);
    }
    if (records > 1) scan.meanStep = (previous - first) / (records - 1.0);
    return scan;
}

SensorInfo inspect(const LinePath& line, const Family& family, bool full, const Common& common) {
    SensorInfo info;
    info.family = &family;
    try {
        const std::unique_ptr<Reader> set = family.kind->open(line, family);
        info.version = set->version();
        info.summary = set->summary();
        for (std::uint32_t i = 1; i <= info.summary.segments; ++i)
            info.segments.push_back(set->segment(i));
        if (full) {
            Progress progress(common, info.summary.records);
            progress.setLabel(fmt::format("reading {}", family.name));
            info.scan = readAll(*set, family, info.summary.records, progress);
        }
    } catch (const ToolError& error) {
        info.failure = error.what();
    }
    return info;
}

double degrees(double radians) {
    return radians * 180.0 / std::numbers::pi;
}

std::string inDegrees(const Quantity& quantity, const Extent& extent) {
    if (!quantity.isAngle()) return "";
    return fmt::format("{:.6f} to {:.6f} deg", degrees(extent.min), degrees(extent.max));
}

std::string number(double value) {
    return fmt::format("{:.9g}", value);
}

std::string seconds(double value) {
    return fmt::format("{:.3f}", value);
}

// Extents of what holds no record are the widest doubles there are, or what their coding made of them.
bool hasExtents(const SensorInfo& sensor) {
    return sensor.summary.records > 0;
}

std::string itemsText(const SensorInfo& sensor) {
    const Items& items = sensor.family->items;
    if (!sensor.family->hasItems() || !items.counted) return "";
    return fmt::format("{} {}s", sensor.summary.items, items.item);
}

void printOverview(const std::vector<SensorInfo>& sensors) {
    UtcWriter utc;
    Table table({{"SENSOR"},
                 {"RECORDS", Align::right},
                 {"ITEMS", Align::right},
                 {"SEGMENTS", Align::right},
                 {"VERSION", Align::right},
                 {"STATUS"},
                 {"FIRST (UTC)"},
                 {"LAST (UTC)"},
                 {"ABOUT"}});
    for (const SensorInfo& sensor : sensors) {
        if (!sensor.failure.empty()) {
            table.add({sensor.family->name, "unreadable"});
            continue;
        }
        const Summary& summary = sensor.summary;
        const bool any = hasExtents(sensor);
        table.add({sensor.family->name, fmt::to_string(summary.records), itemsText(sensor),
                   fmt::to_string(summary.segments), fmt::to_string(sensor.version),
                   fmt::format("0x{:08X}", summary.status), any ? utc.text(summary.time.min) : "-",
                   any ? utc.text(summary.time.max) : "-", sensor.family->about});
    }
    table.print();
}

void addExtent(Table& table, const char* sensor, const Quantity& quantity, const Extent& extent) {
    table.add({sensor, quantity.name, number(extent.min), number(extent.max), quantity.unit,
               inDegrees(quantity, extent), quantity.convention});
}

void printExtents(const std::vector<SensorInfo>& sensors, bool full) {
    Table table({{"SENSOR"},
                 {"QUANTITY"},
                 {"MIN", Align::right},
                 {"MAX", Align::right},
                 {"UNIT"},
                 {"IN DEGREES"},
                 {"CONVENTION"}});
    for (const SensorInfo& sensor : sensors) {
        if (!sensor.failure.empty() || !hasExtents(sensor)) continue;
        const Extent& time = full ? sensor.scan->time : sensor.summary.time;
        if (full && !isKnown(time)) continue;
        table.add({sensor.family->name, "time", seconds(time.min), seconds(time.max), "s"});
        if (full) {
            const std::vector<const Quantity*> quantities = allQuantities(*sensor.family);
            for (std::size_t i = 0; i < quantities.size(); ++i) {
                if (isKnown(sensor.scan->values[i]))
                    addExtent(table, "", *quantities[i], sensor.scan->values[i]);
            }
            continue;
        }
        for (std::size_t i = 0; i < sensor.family->extents.size(); ++i)
            addExtent(table, "", sensor.family->extents[i], sensor.summary.extents[i]);
    }
    if (table.empty()) return;
    fmt::print("\n{}; time is {}\n",
               full ? "Extents of the records as read" : "Extents as the summaries hold them", timeScale);
    table.print();
}

void printSettings(const std::vector<SensorInfo>& sensors) {
    Table table({{"SENSOR"}, {"SETTING"}, {"VALUE", Align::right}});
    for (const SensorInfo& sensor : sensors) {
        for (const Setting& setting : sensor.summary.settings)
            table.add({sensor.family->name, setting.name, fmt::to_string(setting.value)});
    }
    if (table.empty()) return;
    fmt::print("\nSettings, as their source numbers them\n");
    table.print();
}

void printSegments(const std::vector<SensorInfo>& sensors) {
    UtcWriter utc;
    Table table({{"SENSOR"},
                 {"SEGMENT", Align::right},
                 {"RECORDS", Align::right},
                 {"STATUS"},
                 {"FIRST (UTC)"},
                 {"LAST (UTC)"},
                 {"SOURCE FILE"}});
    for (const SensorInfo& sensor : sensors) {
        std::size_t index = 0;
        for (const Segment& segment : sensor.segments) {
            ++index;
            const bool any = segment.hasRecords();
            table.add({index == 1 ? sensor.family->name : "", fmt::to_string(index),
                       any ? fmt::format("{}-{}", segment.begin, segment.end) : "none",
                       fmt::format("0x{:08X}", segment.status), any ? utc.text(segment.time.min) : "-",
                       any ? utc.text(segment.time.max) : "-", printable(segment.source)});
        }
    }
    if (table.empty()) return;
    fmt::print("\nLine segments\n");
    table.print();
}

void printScans(const std::vector<SensorInfo>& sensors) {
    Table table({{"SENSOR"},
                 {"MEAN STEP [s]", Align::right},
                 {"LARGEST STEP [s]", Align::right},
                 {"TIMES GOING BACK", Align::right},
                 {"STATUS NOT 0", Align::right},
                 {"OF ITEMS", Align::right}});
    for (const SensorInfo& sensor : sensors) {
        if (!sensor.scan || (hasExtents(sensor) && !isKnown(sensor.scan->time))) continue;
        table.add({sensor.family->name, fmt::format("{:.6f}", sensor.scan->meanStep),
                   seconds(sensor.scan->largestStep), fmt::to_string(sensor.scan->backwards),
                   fmt::to_string(sensor.scan->marked),
                   sensor.family->hasItems() ? fmt::to_string(sensor.scan->markedItems) : ""});
    }
    if (table.empty()) return;
    fmt::print("\nEvery record read\n");
    table.print();
}

struct ContactInfo {
    std::string failure; // the rest is empty then
    int version = 0;
    std::size_t count = 0;
    std::size_t unreadable = 0;
    std::string colourMap;
};

// Nothing where the line has no file of them.
std::optional<ContactInfo> inspectContacts(const LinePath& line) {
    ContactInfo info;
    try {
        ContactList list(line);
        if (!list.isPresent()) return std::nullopt;
        info.version = list.version();
        info.count = list.contacts().size();
        info.unreadable = list.unreadable();
        info.colourMap = list.colourMap();
    } catch (const ToolError& error) {
        info.failure = error.what();
    }
    return info;
}

void printContacts(const std::optional<ContactInfo>& contacts) {
    if (!contacts || !contacts->failure.empty()) return;
    fmt::print("\nContacts  {}, file of version {}", contacts->count, contacts->version);
    if (!contacts->colourMap.empty()) fmt::print(", colour map {}", printable(contacts->colourMap));
    if (contacts->unreadable != 0) fmt::print(", {} more that do not decode", contacts->unreadable);
    fmt::print("\n");
}

Json contactsJson(const ContactInfo& contacts) {
    if (!contacts.failure.empty()) return {{"failure", contacts.failure}};
    return {{"count", contacts.count},
            {"version", contacts.version},
            {"colourMap", contacts.colourMap},
            {"unreadable", contacts.unreadable}};
}

// Empty where the vessel has none.
std::string vesselFile(const LinePath& line) {
    const std::filesystem::path file = vesselFileOf(line);
    std::error_code ignored;
    return std::filesystem::exists(file, ignored) ? file.string() : std::string();
}

void printText(const LinePath& line, const std::vector<SensorInfo>& sensors,
               const std::vector<AttributeInfo>& attributes, const std::optional<ContactInfo>& contacts,
               const std::vector<std::string>& others, bool full) {
    fmt::print("Line     {}\n", printable(line.native.string()));
    fmt::print("Project  {}\nVessel   {}\nDay      {}\nName     {}\n\n", printable(line.project()),
               printable(line.vessel()), printable(line.day()), printable(line.name()));
    if (sensors.empty()) {
        fmt::print("No sensors.\n");
    } else {
        printOverview(sensors);
        printExtents(sensors, full);
        printScans(sensors);
        printSettings(sensors);
        printSegments(sensors);
    }
    printAttributes(attributes);
    printContacts(contacts);
    if (const std::string file = vesselFile(line); !file.empty())
        fmt::print("\nVessel file  {}\n", printable(file));
    if (!others.empty()) {
        fmt::print("\nOther files\n");
        for (const std::string& name : others)
            fmt::print("{}\n", printable(name));
    }
}

Json extentJson(const Quantity& quantity, const Extent& extent) {
    Json json = {
        {"quantity", quantity.name}, {"unit", quantity.unit}, {"min", extent.min}, {"max", extent.max}};
    if (quantity.isAngle()) {
        json["minDegrees"] = degrees(extent.min);
        json["maxDegrees"] = degrees(extent.max);
    }
    json["convention"] = quantity.convention;
    return json;
}

Json timeJson(const Extent& time) {
    UtcWriter utc;
    return {{"unit", "s"},     {"scale", timeScale},           {"min", time.min},
            {"max", time.max}, {"minUtc", utc.text(time.min)}, {"maxUtc", utc.text(time.max)}};
}

Json extentsJson(std::span<const Quantity> quantities, std::span<const Extent> extents) {
    Json json = Json::array();
    for (std::size_t i = 0; i < quantities.size(); ++i)
        json.push_back(extentJson(quantities[i], extents[i]));
    return json;
}

Json scanExtentsJson(const Family& family, const Scan& scan) {
    Json json = Json::array();
    const std::vector<const Quantity*> quantities = allQuantities(family);
    for (std::size_t i = 0; i < quantities.size(); ++i) {
        if (!isKnown(scan.values[i])) continue;
        Json extent = extentJson(*quantities[i], scan.values[i]);
        if (family.hasItems())
            extent["of"] = i < family.quantities.size() ? family.items.record : family.items.item;
        json.push_back(extent);
    }
    return json;
}

Json segmentJson(const Family& family, const Segment& segment) {
    Json json = {{"source", segment.source},
                 {"beginRecord", segment.begin},
                 {"endRecord", segment.end},
                 {"status", segment.status}};
    if (!segment.hasRecords()) return json;
    json["time"] = timeJson(segment.time);
    json["extents"] = extentsJson(family.extents.first(family.numSegmentExtents), segment.extents);
    return json;
}

Json sensorJson(const SensorInfo& sensor) {
    const Family& family = *sensor.family;
    Json json = {{"sensor", family.name}, {"about", family.about}, {"id", family.id}};
    if (!sensor.failure.empty()) {
        json["failure"] = sensor.failure;
        return json;
    }
    json["coding"] = codingText(family.coding);
    json["version"] = sensor.version;
    json["records"] = sensor.summary.records;
    if (family.hasItems() && family.items.counted)
        json[fmt::format("{}s", family.items.item)] = sensor.summary.items;
    json["status"] = sensor.summary.status;
    for (const Setting& setting : sensor.summary.settings)
        json["settings"][setting.name] = setting.value;
    if (hasExtents(sensor)) {
        json["time"] = timeJson(sensor.summary.time);
        json["extents"] = extentsJson(family.extents, sensor.summary.extents);
    }
    json["segments"] = Json::array();
    for (const Segment& segment : sensor.segments)
        json["segments"].push_back(segmentJson(family, segment));
    if (sensor.scan && hasExtents(sensor) && isKnown(sensor.scan->time)) {
        json["read"] = {
            {"time", timeJson(sensor.scan->time)},      {"extents", scanExtentsJson(family, *sensor.scan)},
            {"meanStep", sensor.scan->meanStep},        {"largestStep", sensor.scan->largestStep},
            {"timesGoingBack", sensor.scan->backwards}, {"statusNotZero", sensor.scan->marked}};
        if (family.hasItems()) json["read"]["itemStatusNotZero"] = sensor.scan->markedItems;
    }
    return json;
}

int run(const Options& options, const Common& common) {
    const LinePath line = existingLine(options.line);
    std::vector<SensorInfo> sensors;
    for (const Family& family : families()) {
        if (isPresent(line, family)) sensors.push_back(inspect(line, family, options.full, common));
    }
    std::vector<const Family*> reported;
    for (const SensorInfo& sensor : sensors)
        reported.push_back(sensor.family);
    std::vector<std::string> others = otherFiles(line, reported);
    std::vector<AttributeInfo> attributes;
    const std::vector<std::string> names = attributeFiles(line);
    for (const std::string& name : names)
        attributes.push_back(inspectAttributes(line, name, options.full, common));
    leaveOutAttributeFiles(others, names);
    const std::optional<ContactInfo> contacts = inspectContacts(line);
    if (contacts) std::erase(others, "Contact");

    if (common.json) {
        Json json = {{"line", line.native.string()}, {"project", line.project()},
                     {"vessel", line.vessel()},      {"day", line.day()},
                     {"name", line.name()},          {"sensors", Json::array()},
                     {"otherFiles", others}};
        for (const SensorInfo& sensor : sensors)
            json["sensors"].push_back(sensorJson(sensor));
        json["attributeFiles"] = attributesJson(attributes);
        if (contacts) json["contacts"] = contactsJson(*contacts);
        if (const std::string file = vesselFile(line); !file.empty()) json["vesselFile"] = file;
        printJson(json);
    } else {
        printText(line, sensors, attributes, contacts, others, options.full);
    }

    std::vector<std::string> failures;
    for (const SensorInfo& sensor : sensors)
        failures.push_back(sensor.failure);
    for (const AttributeInfo& file : attributes)
        failures.push_back(file.failure);
    if (contacts) failures.push_back(contacts->failure);
    std::erase(failures, "");
    for (const std::string& failure : failures)
        printError(failure + "; skar check says more");
    return failures.empty() ? exitSuccess : exitFailure;
}

} // namespace

Run declareInfo(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("LINE", options->line, "Directory of the line")->required();
    app.add_flag(
        "--full", options->full,
        "Read every record: extents of all quantities, time steps, statuses (default: headers only)");
    app.footer("A sensor that cannot be read is listed as such and makes the exit status 1.\n"
               "Example:  skar info store/project/vessel/2024-153/0001");
    return [options](const Common& common) { return run(*options, common); };
}

} // namespace skar::tool
