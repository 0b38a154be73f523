#include "commands/dump.h"

#include "attributefile.h"
#include "commands/dumpattributes.h"
#include "commands/output.h"
#include "commands/sink.h"
#include "families.h"
#include "progress.h"
#include "timetext.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>
#include <optional>
#include <vector>

namespace skar::tool {

namespace {

struct Options {
    std::string line;
    std::string sensor;
    std::uint32_t first = 1;
    std::optional<std::uint32_t> count;
    std::string ping;
    std::string beam;
    bool heads = false;
    std::string from;
    std::string to;
    bool degrees = false;
    bool header = true;
};

const Family& presentFamily(const LinePath& line, const std::string& name) {
    std::vector<std::string> present;
    for (const Family& family : families()) {
        if (isPresent(line, family)) present.emplace_back(family.name);
    }
    std::ranges::move(attributeFiles(line), std::back_inserter(present));
    const std::string hint = present.empty()
                                 ? "the line holds no sensor"
                                 : printable(fmt::format("the line holds {}", fmt::join(present, ", ")));
    const Family* const family = findFamily(name);
    if (family == nullptr)
        throw ToolError(fmt::format("{}: no such sensor; {}", printable(name), hint), exitUsage);
    if (!isPresent(line, *family))
        throw ToolError(
            fmt::format("{}: not in {}; {}", family->name, printable(line.native.string()), hint));
    return *family;
}

constexpr double latest = std::numeric_limits<double>::infinity();
constexpr double earliest = -latest;

double timeOption(const std::string& text, const char* option, double missing) {
    if (text.empty()) return missing;
    const std::optional<double> time = parseTime(text);
    if (!time) {
        throw ToolError(fmt::format("{} {}: not a time; give UTC as 2024-06-01T08:00:00Z or {}", option,
                                    printable(text), timeScale),
                        exitUsage);
    }
    return *time;
}

// "7" or "7-9"; a missing end is open.
struct Range {
    std::uint32_t first = 1;
    std::uint32_t last = std::numeric_limits<std::uint32_t>::max();

    bool contains(std::uint32_t number) const { return first <= number && number <= last; }
};

Range rangeOption(const std::string& text, const char* option) {
    Range range;
    if (text.empty()) return range;
    const char* const end = text.data() + text.size();
    auto [after, error] = std::from_chars(text.data(), end, range.first);
    bool right = error == std::errc();
    if (right && after == end) {
        range.last = range.first;
    } else if (right && *after == '-') {
        ++after;
        if (after != end) {
            const auto last = std::from_chars(after, end, range.last);
            right = last.ec == std::errc() && last.ptr == end;
        }
    } else {
        right = false;
    }
    if (!right || range.first > range.last)
        throw ToolError(
            fmt::format("{} {}: not a number or a range such as 7-9 or 7-", option, printable(text)),
            exitUsage);
    return range;
}

// What a row of the output stands for: a record, or an item of one.
class Writer {
public:
    Writer(const Family& family, bool items, bool inDegrees)
        : family_(family), quantities_(items ? family.items.quantities : family.quantities), items_(items),
          inDegrees_(inDegrees) {}

    void csvHeader(fmt::memory_buffer& out, const LinePath& line, const Summary& summary) const {
        auto to = std::back_inserter(out);
        fmt::format_to(to, "# {} of {}: {}, {} {}s", family_.name, printable(line.native.string()),
                       family_.about, summary.records, family_.items.record);
        if (family_.hasItems() && family_.items.counted)
            fmt::format_to(to, " of {} {}s", summary.items, family_.items.item);
        fmt::format_to(to, "\n# time: {}; utc: the same instant\n", timeScale);
        for (const Quantity& quantity : quantities_)
            fmt::format_to(to, "# {}: {}{}{}\n", quantity.name, unit(quantity),
                           *unit(quantity) != '\0' ? ", " : "", quantity.convention);
        fmt::format_to(to, "{}", family_.items.record);
        if (items_) fmt::format_to(to, ",{}", family_.items.item);
        fmt::format_to(to, ",time,utc");
        if (showsCount()) fmt::format_to(to, ",first_{0},{0}s", family_.items.item);
        for (const Quantity& quantity : quantities_)
            fmt::format_to(to, ",{}", quantity.name);
        fmt::format_to(to, ",status\n");
    }

    // item: its number, where the row is one.
    void csv(fmt::memory_buffer& out, std::uint32_t number, std::uint32_t item, const Record& record) {
        auto to = std::back_inserter(out);
        fmt::format_to(to, FMT_COMPILE("{},"), number);
        if (items_) fmt::format_to(to, FMT_COMPILE("{},"), item);
        if (!std::isnan(record.time)) fmt::format_to(to, FMT_COMPILE("{}"), record.time);
        out.push_back(',');
        utc_.append(out, record.time);
        if (showsCount()) fmt::format_to(to, FMT_COMPILE(",{},{}"), record.firstItem, record.numItems);
        for (std::size_t i = 0; i < quantities_.size(); ++i) {
            out.push_back(',');
            if (quantities_[i].isText)
                csvText(out, record.texts[i]);
            else if (!std::isnan(record.values[i]))
                fmt::format_to(to, FMT_COMPILE("{}"), value(i, record));
        }
        fmt::format_to(to, FMT_COMPILE(",{}\n"), record.status);
    }

    void jsonHeader(fmt::memory_buffer& out, const LinePath& line, const Summary& summary) const {
        Json header = {{"sensor", family_.name},
                       {"line", line.native.string()},
                       {"about", family_.about},
                       {fmt::format("{}s", family_.items.record), summary.records}};
        if (family_.hasItems() && family_.items.counted)
            header[fmt::format("{}s", family_.items.item)] = summary.items;
        header["time"] = {{"unit", "s"}, {"scale", timeScale}};
        header["quantities"] = Json::array();
        for (const Quantity& quantity : quantities_) {
            header["quantities"].push_back(
                {{"name", quantity.name}, {"unit", unit(quantity)}, {"convention", quantity.convention}});
        }
        const std::string text =
            Json({{"header", header}}).dump(-1, ' ', false, Json::error_handler_t::replace);
        fmt::format_to(std::back_inserter(out), "{}\n", text);
    }

    void json(fmt::memory_buffer& out, std::uint32_t number, std::uint32_t item, const Record& record) {
        auto to = std::back_inserter(out);
        fmt::format_to(to, FMT_COMPILE("{{\"{}\":{},"), family_.items.record, number);
        if (items_) fmt::format_to(to, FMT_COMPILE("\"{}\":{},"), family_.items.item, item);
        fmt::format_to(to, FMT_COMPILE("\"time\":"));
        jsonNumber(out, record.time);
        fmt::format_to(to, FMT_COMPILE(",\"utc\":\""));
        utc_.append(out, record.time);
        out.push_back('"');
        if (showsCount())
            fmt::format_to(to, FMT_COMPILE(",\"first_{0}\":{1},\"{0}s\":{2}"), family_.items.item,
                           record.firstItem, record.numItems);
        for (std::size_t i = 0; i < quantities_.size(); ++i) {
            fmt::format_to(to, FMT_COMPILE(",\"{}\":"), quantities_[i].name);
            if (quantities_[i].isText)
                fmt::format_to(to, "{}",
                               Json(record.texts[i]).dump(-1, ' ', false, Json::error_handler_t::replace));
            else
                jsonNumber(out, value(i, record));
        }
        fmt::format_to(to, FMT_COMPILE(",\"status\":{}}}\n"), record.status);
    }

private:
    // A damaged scale in a file makes infinities, for which JSON has no number.
    static void jsonNumber(fmt::memory_buffer& out, double number) {
        if (std::isfinite(number))
            fmt::format_to(std::back_inserter(out), FMT_COMPILE("{}"), number);
        else
            fmt::format_to(std::back_inserter(out), "null");
    }
    static void csvText(fmt::memory_buffer& out, const std::string& text) {
        out.push_back('"');
        for (const char c : printable(text)) {
            if (c == '"') out.push_back(c);
            out.push_back(c);
        }
        out.push_back('"');
    }

    bool showsCount() const { return family_.hasItems() && !items_; }
    bool turned(const Quantity& quantity) const { return inDegrees_ && quantity.isAngle(); }
    const char* unit(const Quantity& quantity) const { return turned(quantity) ? "deg" : quantity.unit; }
    double value(std::size_t i, const Record& record) const {
        return turned(quantities_[i]) ? record.values[i] * 180.0 / std::numbers::pi : record.values[i];
    }

    const Family& family_;
    std::span<const Quantity> quantities_;
    bool items_;
    bool inDegrees_;
    UtcWriter utc_;
};

// Prints what the options ask for, row by row.
class Printing {
public:
    Printing(const Options& options, const Common& common, const Family& family)
        : json_(common.json), items_(family.hasItems() && !options.heads),
          beams_(rangeOption(options.beam, "--beam")), from_(timeOption(options.from, "--from", earliest)),
          to_(timeOption(options.to, "--to", latest)),
          left_(options.count.value_or(std::numeric_limits<std::uint32_t>::max())),
          writer_(family, items_, options.degrees) {}

    void header(const LinePath& line, const Summary& summary) {
        if (json_)
            writer_.jsonHeader(sink_.text(), line, summary);
        else
            writer_.csvHeader(sink_.text(), line, summary);
    }
    bool isFull() const { return left_ == 0; }
    // Times may go back, so a range of them cannot end the reading.
    void record(Reader& set, std::uint32_t number) {
        set.read(number, record_);
        if (record_.time < from_ || record_.time > to_) return;
        --left_;
        if (!items_) return row(number, 0, record_);
        for (std::uint32_t i = 0; i < record_.numItems; ++i) {
            const std::uint32_t beam = record_.firstItem + i;
            if (beam > beams_.last) break;
            set.readItem(item_);
            if (beams_.contains(beam)) row(number, beam, item_);
        }
    }
    void flush() { sink_.flush(); }

private:
    void row(std::uint32_t number, std::uint32_t item, const Record& record) {
        if (json_)
            writer_.json(sink_.text(), number, item, record);
        else
            writer_.csv(sink_.text(), number, item, record);
        sink_.flushWhenFull();
    }

    bool json_;
    bool items_;
    Range beams_;
    double from_;
    double to_;
    std::uint32_t left_;
    Writer writer_;
    Sink sink_;
    Record record_;
    Record item_;
};

// The attribute file that is meant; nothing where a sensor has the name.
std::optional<std::string> attributeFileOf(const LinePath& line, const Options& options) {
    if (findFamily(options.sensor) != nullptr) return std::nullopt;
    const std::optional<std::string> file = findAttributeFile(line, options.sensor);
    if (file && (!options.beam.empty() || !options.ping.empty() || options.heads || options.degrees)) {
        throw ToolError(
            fmt::format("{}: has no pings and names no angles; --first and --count pick its records",
                        printable(*file)),
            exitUsage);
    }
    return file;
}

int run(const Options& options, const Common& common) {
    const LinePath line = existingLine(options.line);
    if (const auto file = attributeFileOf(line, options)) {
        return dumpAttributes(line, *file,
                              {.first = options.first,
                               .count = options.count.value_or(std::numeric_limits<std::uint32_t>::max()),
                               .from = timeOption(options.from, "--from", earliest),
                               .to = timeOption(options.to, "--to", latest),
                               .header = options.header},
                              common);
    }
    const Family& family = presentFamily(line, options.sensor);
    if (!family.hasItems() && (!options.beam.empty() || !options.ping.empty() || options.heads)) {
        throw ToolError(fmt::format("{}: has no pings; --first and --count pick its records", family.name),
                        exitUsage);
    }
    Range records = rangeOption(options.ping, "--ping");
    records.first = std::max(records.first, options.first);
    Printing printing(options, common, family);
    const std::unique_ptr<Reader> set = family.kind->open(line, family);
    const Summary summary = set->summary();
    if (!options.ping.empty() && records.first > summary.records) {
        throw ToolError(fmt::format("{}: has {} {}s, not {}", family.name, summary.records,
                                    family.items.record, records.first));
    }
    if (options.header) printing.header(line, summary);

    Progress progress(common, summary.records);
    progress.setLabel(fmt::format("printing {}", family.name));
    const std::uint32_t last = std::min(records.last, summary.records);
    try {
        for (std::uint64_t i = records.first; i <= last && !printing.isFull(); ++i) {
            printing.record(*set, static_cast<std::uint32_t>(i));
            if (i % (family.hasItems() ? 64 : 65536) == 0) progress.show(i);
        }
    } catch (const ToolError&) {
        printing.flush();
        throw;
    }
    printing.flush();
    return exitSuccess;
}

} // namespace

Run declareDump(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("LINE", options->line, "Directory of the line")->required();
    app.add_option("SENSOR", options->sensor,
                   "Name of the sensor, in any case: Navigation, Gyro, Heave ... or of a "
                   "file that describes itself: RMS, RawDataIndex ...")
        ->required();
    app.add_option("--first", options->first, "Number of the first record, from 1")
        ->check(CLI::Range(std::uint32_t(1), std::numeric_limits<std::uint32_t>::max()).description(""))
        ->type_name("N");
    app.add_option("--count", options->count,
                   "Print at most that many records (of pings: with all their beams)")
        ->type_name("N");
    app.add_option("--ping", options->ping, "Only that ping, or those of a range: 7, 7-9 or 7-")
        ->type_name("RANGE");
    app.add_option("--beam", options->beam, "Of each ping only that beam or range of beams")
        ->type_name("RANGE");
    app.add_flag("--pings", options->heads, "A row per ping with its position, instead of one per beam");
    app.add_option("--from", options->from, "Only records at or after this time, UTC or seconds of the store")
        ->type_name("TIME");
    app.add_option("--to", options->to, "Only records at or before this time")->type_name("TIME");
    app.add_flag("--degrees", options->degrees, "Print angles in degrees instead of radians");
    app.add_flag_callback(
        "--no-header", [options] { options->header = false; }, "Leave out the header");
    app.footer("Prints comma separated values; lines that begin with # say units and conventions. With "
               "--json every\n"
               "line is an object, the first one holds the header. Numbers are printed with as many digits "
               "as it takes\n"
               "to read the same number back.\n"
               "Example:  skar dump store/project/vessel/2024-153/0001 heave --from 2024-06-01T08:10:00Z "
               "--count 100");
    return [options](const Common& common) { return run(*options, common); };
}

} // namespace skar::tool
