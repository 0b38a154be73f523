#include "commands/plot.h"

#include "commands/output.h"
#include "plot/lineplot.h"
#include "plot/waterfall.h"
#include "progress.h"

#include <fmt/format.h>

#include <memory>

namespace skar::tool {

namespace {

struct Options {
    std::string line;
    std::string output;
    int width = 1400;
    bool waterfall = false;
};

void printText(const Pictured& pictured, const std::string& picture) {
    Table table({{"SENSOR"}, {"RECORDS", Align::right}, {"BEAMS", Align::right}, {"LEFT OUT", Align::right}});
    for (const Pictured::Sensor& sensor : pictured.sensors) {
        const bool beams = sensor.items > 0;
        table.add({sensor.name, fmt::to_string(sensor.records), beams ? fmt::to_string(sensor.items) : "",
                   beams ? fmt::to_string(sensor.rejected) : ""});
    }
    table.print();
    fmt::print("\nPicture of {} x {} pixels: {}\n", pictured.width, pictured.height, printable(picture));
}

Json panelJson(const Pictured::Panel& panel) {
    return {{"panel", panel.name},
            {"left", panel.left},
            {"top", panel.top},
            {"width", panel.width},
            {"height", panel.height}};
}

Json toJson(const Pictured& pictured, const std::string& picture) {
    Json json = {{"picture", picture},
                 {"width", pictured.width},
                 {"height", pictured.height},
                 {"sensors", Json::array()},
                 {"panels", Json::array()}};
    for (const Pictured::Sensor& sensor : pictured.sensors) {
        json["sensors"].push_back({{"sensor", sensor.name},
                                   {"records", sensor.records},
                                   {"beams", sensor.items},
                                   {"rejectedBeams", sensor.rejected}});
    }
    for (const Pictured::Panel& panel : pictured.panels)
        json["panels"].push_back(panelJson(panel));
    return json;
}

void printText(const Waterfall& shown, const std::string& picture) {
    fmt::print("Sensor   {}\n", shown.family->name);
    fmt::print("Pings    {}, {} to a row\n", shown.pings, shown.pingsPerRow);
    fmt::print("Columns  {} to a side, {:.4g} {} each{}\n", shown.columnsPerSide, shown.columnWidth,
               shown.unit, shown.speedAssumed ? ", sound speed taken as 1500 m/s" : "");
    fmt::print("Greys    from {:.6g} to {:.6g}, the 1st and 99th percentile\n", shown.black, shown.white);
    fmt::print("\nPicture of {} x {} pixels: {}\n", shown.width, shown.height, printable(picture));
}

Json toJson(const Waterfall& shown, const std::string& picture) {
    Json json = {{"picture", picture},
                 {"width", shown.width},
                 {"height", shown.height},
                 {"sensor", shown.family->name},
                 {"pings", shown.pings},
                 {"pingsPerRow", shown.pingsPerRow},
                 {"columnsPerSide", shown.columnsPerSide},
                 {"columnWidth", shown.columnWidth},
                 {"unit", shown.unit}};
    if (shown.soundSpeed != 0.0) {
        json["soundSpeed"] = shown.soundSpeed;
        json["soundSpeedAssumed"] = shown.speedAssumed;
    }
    json["black"] = shown.black;
    json["white"] = shown.white;
    json["panels"] = {panelJson(shown.image)};
    return json;
}

int runWaterfall(const LinePath& line, const Options& options, const Common& common) {
    const std::string picture =
        options.output.empty() ? line.native.filename().string() + "_waterfall.png" : options.output;
    Progress progress(common, 0);
    const Waterfall shown = drawWaterfall(line, picture, options.width, progress);
    if (common.json)
        printJson(toJson(shown, picture));
    else
        printText(shown, picture);
    return exitSuccess;
}

int run(const Options& options, const Common& common) {
    const LinePath line = existingLine(options.line);
    if (options.waterfall) return runWaterfall(line, options, common);
    const std::string picture =
        options.output.empty() ? line.native.filename().string() + ".png" : options.output;
    Progress progress(common, 0);
    const Pictured pictured = drawLine(line, picture, options.width, progress);
    if (common.json)
        printJson(toJson(pictured, picture));
    else
        printText(pictured, picture);
    return exitSuccess;
}

} // namespace

Run declarePlot(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("LINE", options->line, "Directory of the line")->required();
    app.add_option("--output,-o", options->output,
                   "PNG file to write (default: the line's name with .png, here)")
        ->type_name("FILE");
    app.add_option("--width", options->width, "Width of the picture in pixels; its height follows the line")
        ->check(CLI::Range(400, 8000))
        ->capture_default_str()
        ->type_name("PIXELS");
    app.add_flag("--waterfall", options->waterfall,
                 "Draw the side scan imagery instead: port to the left, time down the page");
    app.footer(
        "Draws the track and the processed depths from above, turned so that the line runs from left to\n"
        "right, the observed depths over time, and heave, pitch, roll, heading and tide. Beams that were\n"
        "rejected are left out; depths beyond the 1st and 99th percentile have the colours of these.\n"
        "Example:  skar plot store/project/vessel/2024-153/0001 -o line.png");
    return [options](const Common& common) { return run(*options, common); };
}

} // namespace skar::tool
