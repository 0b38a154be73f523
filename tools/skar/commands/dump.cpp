#include "commands/dump.h"

#include "commands/output.h"
#include "families.h"
#include "progress.h"
#include "timetext.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>
#include <optional>

namespace skar::tool {

namespace {

struct Options {
    std::string line;
    std::string sensor;
    std::uint32_t first = 1;
    std::optional<std::uint32_t> count;
    std::string from;
    std::string to;
    bool degrees = false;
    bool header = true;
};

constexpr std::size_t bufferSize = 1U << 18U;

// Standard output by large blocks; a reader that has gone away ends the command.
class Sink {
public:
    fmt::memory_buffer& text() { return text_; }
    void flushWhenFull() {
        if (text_.size() >= bufferSize) flush();
    }
    void flush() {
        if (std::fwrite(text_.data(), 1, text_.size(), stdout) != text_.size())
            throw ToolError("standard output could not be written");
        text_.clear();
    }

private:
    fmt::memory_buffer text_;
};

const Family& presentFamily(const LinePath& line, const std::string& name) {
    std::string present;
    for (const Family& family : families()) {
        if (isPresent(line, family)) present += fmt::format("{}{}", present.empty() ? "" : ", ", family.name);
    }
    const std::string hint = present.empty() ? "the line holds no sensor" : "the line holds " + present;
    const Family* const family = findFamily(name);
    if (family == nullptr)
        throw ToolError(fmt::format("{}: no such sensor; {}", printable(name), hint), exitUsage);
    if (!isPresent(line, *family))
        throw ToolError(
            fmt::format("{}: not in {}; {}", family->name, printable(line.native.string()), hint));
    return *family;
}

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

// How the numbers of one sensor are printed.
class Writer {
public:
    Writer(const Family& family, bool inDegrees) : family_(family), inDegrees_(inDegrees) {}

    void csvHeader(fmt::memory_buffer& out, const LinePath& line, std::uint32_t records) const {
        auto to = std::back_inserter(out);
        fmt::format_to(to, "# {} of {}: {}, {} records\n", family_.name, printable(line.native.string()),
                       family_.about, records);
        fmt::format_to(to, "# time: {}; utc: the same instant\n", timeScale);
        for (const Quantity& quantity : family_.quantities)
            fmt::format_to(to, "# {}: {}{}{}\n", quantity.name, unit(quantity),
                           *unit(quantity) != '\0' ? ", " : "", quantity.convention);
        fmt::format_to(to, "record,time,utc");
        for (const Quantity& quantity : family_.quantities)
            fmt::format_to(to, ",{}", quantity.name);
        fmt::format_to(to, ",status\n");
    }

    void csv(fmt::memory_buffer& out, std::uint32_t number, const Record& record) {
        auto to = std::back_inserter(out);
        fmt::format_to(to, FMT_COMPILE("{},{},"), number, record.time);
        utc_.append(out, record.time);
        for (std::size_t i = 0; i < family_.quantities.size(); ++i)
            fmt::format_to(to, FMT_COMPILE(",{}"), value(i, record));
        fmt::format_to(to, FMT_COMPILE(",{}\n"), record.status);
    }

    void jsonHeader(fmt::memory_buffer& out, const LinePath& line, std::uint32_t records) const {
        Json header = {{"sensor", family_.name},
                       {"line", line.native.string()},
                       {"about", family_.about},
                       {"records", records},
                       {"time", {{"unit", "s"}, {"scale", timeScale}}},
                       {"quantities", Json::array()}};
        for (const Quantity& quantity : family_.quantities) {
            header["quantities"].push_back(
                {{"name", quantity.name}, {"unit", unit(quantity)}, {"convention", quantity.convention}});
        }
        const std::string text =
            Json({{"header", header}}).dump(-1, ' ', false, Json::error_handler_t::replace);
        fmt::format_to(std::back_inserter(out), "{}\n", text);
    }

    void json(fmt::memory_buffer& out, std::uint32_t number, const Record& record) {
        auto to = std::back_inserter(out);
        fmt::format_to(to, FMT_COMPILE("{{\"record\":{},\"time\":"), number);
        jsonNumber(out, record.time);
        fmt::format_to(to, FMT_COMPILE(",\"utc\":\""));
        utc_.append(out, record.time);
        out.push_back('"');
        for (std::size_t i = 0; i < family_.quantities.size(); ++i) {
            fmt::format_to(to, FMT_COMPILE(",\"{}\":"), family_.quantities[i].name);
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

    bool turned(const Quantity& quantity) const { return inDegrees_ && quantity.isAngle(); }
    const char* unit(const Quantity& quantity) const { return turned(quantity) ? "deg" : quantity.unit; }
    double value(std::size_t i, const Record& record) const {
        return turned(family_.quantities[i]) ? record.values[i] * 180.0 / std::numbers::pi : record.values[i];
    }

    const Family& family_;
    bool inDegrees_;
    UtcWriter utc_;
};

int run(const Options& options, const Common& common) {
    const double from = timeOption(options.from, "--from", -std::numeric_limits<double>::infinity());
    const double to = timeOption(options.to, "--to", std::numeric_limits<double>::infinity());
    const LinePath line = existingLine(options.line);
    const Family& family = presentFamily(line, options.sensor);
    OpenSet set(line, family, L"query");
    const std::uint32_t records = set.summary().records;

    Sink sink;
    Writer writer(family, options.degrees);
    if (options.header) {
        if (common.json)
            writer.jsonHeader(sink.text(), line, records);
        else
            writer.csvHeader(sink.text(), line, records);
    }

    Progress progress(common, records);
    progress.setLabel(fmt::format("printing {}", family.name));
    std::uint32_t left = options.count.value_or(std::numeric_limits<std::uint32_t>::max());
    Record record;
    try {
        for (std::uint64_t i = options.first; i <= records && left > 0; ++i) {
            const auto number = static_cast<std::uint32_t>(i);
            set.read(number, record);
            if (i % 65536 == 0) progress.show(i);
            // Times may go back, so the range cannot end the reading.
            if (record.time < from || record.time > to) continue;
            if (common.json)
                writer.json(sink.text(), number, record);
            else
                writer.csv(sink.text(), number, record);
            sink.flushWhenFull();
            --left;
        }
    } catch (const ToolError&) {
        sink.flush();
        throw;
    }
    sink.flush();
    return exitSuccess;
}

} // namespace

Run declareDump(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("LINE", options->line, "Directory of the line")->required();
    app.add_option("SENSOR", options->sensor, "Name of the sensor, in any case: Navigation, Gyro, Heave ...")
        ->required();
    app.add_option("--first", options->first, "Number of the first record, from 1")
        ->check(CLI::Range(std::uint32_t(1), std::numeric_limits<std::uint32_t>::max()).description(""))
        ->type_name("N");
    app.add_option("--count", options->count, "Print at most that many records")->type_name("N");
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
