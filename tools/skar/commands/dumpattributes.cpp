#include "commands/dumpattributes.h"

#include "attributefile.h"
#include "commands/output.h"
#include "commands/sink.h"
#include "progress.h"
#include "timetext.h"

#include <fmt/compile.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace skar::tool {

namespace {

// A name from a file as a cell of its own.
std::string cell(const std::string& name) {
    const std::string shown = printable(name);
    if (shown.find_first_of(",\"") == std::string::npos) return shown;
    std::string quoted = "\"";
    for (const char c : shown)
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + '"';
}

std::string quoted(const std::string& name) {
    return Json(name).dump(-1, ' ', false, Json::error_handler_t::replace);
}

class AttributeWriter {
public:
    AttributeWriter(OpenAttributes& file, const LinePath& line, const std::string& name)
        : file_(file), line_(line), name_(name) {
        for (const AttributeColumn& column : file_.columns())
            keys_.push_back(quoted(column.name));
    }

    void csvHeader(fmt::memory_buffer& out) const {
        auto to = std::back_inserter(out);
        const std::string about = aboutAttributeFile(name_);
        fmt::format_to(to, "# {} of {}: {}{}{} records\n# time: {}; utc: the same instant\n",
                       printable(name_), printable(line_.native.string()), about, about.empty() ? "" : ", ",
                       file_.file().GetNumberOfRecords(), timeScale);
        for (std::size_t i = 0; i < file_.summaryColumns().size(); ++i) {
            const AttributeColumn& column = file_.summaryColumns()[i];
            fmt::format_to(to, "# {} of all: {}, {}\n", printable(column.name), column.typeName(),
                           file_.summaryValue(i).text());
        }
        for (const AttributeColumn& column : file_.columns())
            fmt::format_to(to, "# {}: {}\n", printable(column.name), column.typeName());
        fmt::format_to(to, "record,time,utc");
        for (const AttributeColumn& column : file_.columns())
            fmt::format_to(to, ",{}", cell(column.name));
        fmt::format_to(to, ",status\n");
    }

    void csv(fmt::memory_buffer& out, std::uint32_t number, double time, std::uint32_t status) {
        auto to = std::back_inserter(out);
        fmt::format_to(to, FMT_COMPILE("{},"), number);
        if (!std::isnan(time)) fmt::format_to(to, FMT_COMPILE("{}"), time);
        out.push_back(',');
        utc_.append(out, time);
        for (std::size_t i = 0; i < keys_.size(); ++i) {
            out.push_back(',');
            file_.value(i).appendCsv(out);
        }
        fmt::format_to(to, FMT_COMPILE(",{}\n"), status);
    }

    void jsonHeader(fmt::memory_buffer& out) const {
        Json header = {{"file", name_},
                       {"line", line_.native.string()},
                       {"about", aboutAttributeFile(name_)},
                       {"records", file_.file().GetNumberOfRecords()}};
        header["time"] = {{"unit", "s"}, {"scale", timeScale}};
        header["summary"] = Json::array();
        for (std::size_t i = 0; i < file_.summaryColumns().size(); ++i) {
            const AttributeColumn& column = file_.summaryColumns()[i];
            fmt::memory_buffer value;
            file_.summaryValue(i).appendJson(value);
            header["summary"].push_back({{"name", column.name},
                                         {"type", column.typeName()},
                                         {"value", Json::parse(value.begin(), value.end())}});
        }
        header["attributes"] = Json::array();
        for (const AttributeColumn& column : file_.columns())
            header["attributes"].push_back({{"name", column.name}, {"type", column.typeName()}});
        const std::string text =
            Json({{"header", header}}).dump(-1, ' ', false, Json::error_handler_t::replace);
        fmt::format_to(std::back_inserter(out), "{}\n", text);
    }

    void json(fmt::memory_buffer& out, std::uint32_t number, double time, std::uint32_t status) {
        auto to = std::back_inserter(out);
        fmt::format_to(to, FMT_COMPILE("{{\"record\":{},\"time\":"), number);
        if (std::isfinite(time))
            fmt::format_to(to, FMT_COMPILE("{}"), time);
        else
            fmt::format_to(to, "null");
        fmt::format_to(to, FMT_COMPILE(",\"utc\":\""));
        utc_.append(out, time);
        fmt::format_to(to, FMT_COMPILE("\",\"values\":{{"));
        for (std::size_t i = 0; i < keys_.size(); ++i) {
            fmt::format_to(to, FMT_COMPILE("{}{}:"), i == 0 ? "" : ",", keys_[i]);
            file_.value(i).appendJson(out);
        }
        fmt::format_to(to, FMT_COMPILE("}},\"status\":{}}}\n"), status);
    }

private:
    OpenAttributes& file_;
    const LinePath& line_;
    const std::string& name_;
    std::vector<std::string> keys_;
    UtcWriter utc_;
};

} // namespace

int dumpAttributes(const LinePath& line, const std::string& name, const RecordChoice& choice,
                   const Common& common) {
    OpenAttributes file(line, name);
    AttributeWriter writer(file, line, name);
    Sink sink;
    if (choice.header) common.json ? writer.jsonHeader(sink.text()) : writer.csvHeader(sink.text());

    const std::uint64_t records = file.file().GetNumberOfRecords();
    Progress progress(common, records);
    progress.setLabel(fmt::format("printing {}", printable(name)));
    std::uint32_t left = choice.count;
    try {
        for (std::uint64_t number = choice.first; number <= records && left > 0; ++number) {
            double time = 0.0;
            std::uint32_t status = 0;
            file.read(static_cast<std::uint32_t>(number), time, status);
            if (number % 65536 == 0) progress.show(number);
            // Times may go back, so a range of them cannot end the reading.
            if (time < choice.from || time > choice.to) continue;
            --left;
            if (common.json)
                writer.json(sink.text(), static_cast<std::uint32_t>(number), time, status);
            else
                writer.csv(sink.text(), static_cast<std::uint32_t>(number), time, status);
            sink.flushWhenFull();
        }
    } catch (const ToolError&) {
        sink.flush();
        throw;
    }
    sink.flush();
    return exitSuccess;
}

} // namespace skar::tool
