#include "commands/svp.h"

#include "castpicture.h"
#include "casts.h"
#include "commands/output.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace skar::tool {

namespace {

using import::Cast;

struct Options {
    std::string in;
    std::string out;
    std::string format;
    std::size_t cast = 0; // from 1; 0 for all
    bool values = false;
};

constexpr const char* units =
    "depths in metres, positive down; sound speeds in m/s; positions in degrees, north and "
    "east positive; times UTC";

constexpr const char* outOfWater = "above the water or outside 1400 to 2000 m/s";

std::string timeText(const Cast& cast) {
    return import::utcText(cast.time).substr(0, 19) + "Z";
}

LoadedCasts load(const Options& options) {
    LoadedCasts loaded = loadCasts(options.in);
    if (options.cast == 0) return loaded;
    if (options.cast > loaded.casts.size())
        throw ToolError(fmt::format("{}: there is no cast {}, only {}", printable(options.in), options.cast,
                                    loaded.casts.size()),
                        exitUsage);
    loaded.casts = {loaded.casts[options.cast - 1]};
    loaded.timed = {loaded.timed[options.cast - 1]};
    return loaded;
}

std::string degreesText(const std::optional<double>& degrees) {
    return degrees ? fmt::format("{:.6f}", *degrees) : "-";
}

void showJson(const Options& options, const LoadedCasts& loaded) {
    Json json = {{"file", options.in},
                 {"format", loaded.format},
                 {"units", units},
                 {"remarks", loaded.remarks},
                 {"casts", Json::array()}};
    const auto orNull = [](const std::optional<double>& value) { return value ? Json(*value) : Json(); };
    for (std::size_t i = 0; i < loaded.casts.size(); ++i) {
        const Cast& cast = loaded.casts[i];
        Json row = {{"time", loaded.timed[i] ? Json(import::utcText(cast.time)) : Json()},
                    {"latitude", orNull(cast.latitude)},
                    {"longitude", orNull(cast.longitude)},
                    {"values", Json::array()}};
        for (const import::CastSample& sample : cast.samples)
            row["values"].push_back({sample.depth, sample.speed});
        json["casts"].push_back(std::move(row));
    }
    printJson(json);
}

int show(const Options& options, const Common& common) {
    const LoadedCasts loaded = load(options);
    if (common.json) {
        showJson(options, loaded);
        return exitSuccess;
    }
    fmt::print("File    {}\nFormat  {}\nUnits   {}\n\n", printable(options.in), loaded.format, units);
    Table table({{"CAST", Align::right},
                 {"TIME"},
                 {"LATITUDE", Align::right},
                 {"LONGITUDE", Align::right},
                 {"VALUES", Align::right},
                 {"DEPTHS", Align::right},
                 {"SOUND SPEEDS", Align::right}});
    for (std::size_t i = 0; i < loaded.casts.size(); ++i) {
        const Cast& cast = loaded.casts[i];
        const auto range = [&cast](double import::CastSample::*member) -> std::string {
            if (cast.samples.empty()) return "-";
            const auto [least, most] = std::ranges::minmax(cast.samples, {}, member);
            return fmt::format("{:.2f} to {:.2f}", least.*member, most.*member);
        };
        table.add({fmt::to_string(i + 1), loaded.timed[i] ? import::utcText(cast.time) : "-",
                   degreesText(cast.latitude), degreesText(cast.longitude),
                   fmt::to_string(cast.samples.size()), range(&import::CastSample::depth),
                   range(&import::CastSample::speed)});
    }
    table.print();
    for (const std::string& remark : loaded.remarks)
        fmt::print("{}\n", printable(remark));
    for (std::size_t i = 0; options.values && i < loaded.casts.size(); ++i) {
        fmt::print("\n{:>12}  {:>12}   cast {}\n", "DEPTH", "SOUND SPEED", i + 1);
        for (const import::CastSample& sample : loaded.casts[i].samples)
            fmt::print("{:12.3f}  {:12.3f}\n", sample.depth, sample.speed);
    }
    return exitSuccess;
}

// What a person should know of the way into the file, most of it nothing to worry about.
struct Note {
    bool loss;
    std::string text;
};
std::vector<Note> notesOf(const WrittenCasts& written) {
    // What the formats round: centimetres, tenths of metres, whole seconds of arc, whole minutes.
    constexpr double depthRounding = 0.0501;
    constexpr double positionRounding = 1.0 / 3600;
    constexpr double timeRounding = 60;
    std::vector<Note> notes;
    const auto add = [&notes](bool says, bool loss, std::string text) {
        if (says) notes.push_back({loss, std::move(text)});
    };
    add(written.outOfRange != 0, false,
        fmt::format("{} values {} were left out", written.outOfRange, outOfWater));
    add(written.notDeeper != 0, false,
        fmt::format("{} values not deeper than the one before were left out", written.notDeeper));
    add(written.missing != 0, true, fmt::format("{} values are not in the file", written.missing));
    add(written.depthsChanged != 0, written.largestDepthChange > depthRounding,
        fmt::format("{} depths changed, by up to {:.4g} m", written.depthsChanged,
                    written.largestDepthChange));
    add(written.largestSpeedChange > 1e-9, written.largestSpeedChange > 0.01,
        fmt::format("sound speeds changed by up to {:.4g} m/s", written.largestSpeedChange));
    add(written.largestPositionChange > 1e-9, written.largestPositionChange > positionRounding,
        fmt::format("the position changed by up to {:.4g} degrees", written.largestPositionChange));
    add(written.largestTimeChange > 1e-3, written.largestTimeChange >= timeRounding,
        fmt::format("the time changed by up to {:.4g} s", written.largestTimeChange));
    return notes;
}

int convert(const Options& options, const Common& common) {
    const LoadedCasts loaded = load(options);
    const auto target = std::ranges::find_if(
        castTargets(), [&](const CastTarget& row) { return row.name == options.format; });
    const WrittenCasts written =
        writeCasts(options.out, *target, loaded.casts, std::filesystem::path(options.in).filename().string());
    const std::vector<Note> notes = notesOf(written);
    const bool lost = std::ranges::any_of(notes, &Note::loss);
    if (common.json) {
        Json json = {{"file", options.out},    {"format", options.format},
                     {"casts", written.casts}, {"values", written.values},
                     {"lost", lost},           {"remarks", loaded.remarks},
                     {"notes", Json::array()}};
        for (const Note& note : notes)
            json["notes"].push_back({{"loss", note.loss}, {"text", note.text}});
        printJson(json);
    } else {
        fmt::print("{}: {} casts of {} values as {}\n", printable(options.out), written.casts, written.values,
                   options.format);
        for (const std::string& remark : loaded.remarks)
            fmt::print("  note  {}\n", printable(remark));
        for (const Note& note : notes)
            fmt::print("  {}  {}\n", note.loss ? "LOST" : "note", note.text);
    }
    return lost ? exitLoss : exitSuccess;
}

int plot(const Options& options, const Common& common) {
    const LoadedCasts loaded = load(options);
    const std::filesystem::path name = std::filesystem::path(options.in).filename();
    const std::string out = options.out.empty() ? name.string() + ".png" : options.out;
    std::vector<NamedCast> drawn;
    std::uint64_t values = 0;
    std::uint64_t notDrawn = 0;
    for (std::size_t i = 0; i < loaded.casts.size(); ++i) {
        Cast cast = loaded.casts[i];
        // Readings in air would press the curve to an edge.
        notDrawn += std::erase_if(cast.samples, [](const auto& sample) { return !isInWater(sample); });
        values += cast.samples.size();
        drawn.push_back({std::move(cast), loaded.timed[i] ? timeText(loaded.casts[i]) : "no time"});
    }
    drawCasts(out, drawn, name.string());
    if (common.json) {
        printJson({{"file", out},
                   {"casts", drawn.size()},
                   {"values", values},
                   {"notDrawn", notDrawn},
                   {"remarks", loaded.remarks}});
        return exitSuccess;
    }
    fmt::print("{}: {} casts of {} values\n", printable(out), drawn.size(), values);
    if (notDrawn != 0) fmt::print("  note  {} values {} are not drawn\n", notDrawn, outOfWater);
    return exitSuccess;
}

} // namespace

Run declareSvp(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.require_subcommand(1);
    app.fallthrough();
    const auto add = [&app, &options](const char* name, const char* about) {
        CLI::App* sub = app.add_subcommand(name, about);
        sub->add_option("FILE", options->in, "File of casts, of any of the formats below")->required();
        sub->add_option("--cast", options->cast, "This cast only, counted from 1")
            ->check(CLI::PositiveNumber);
        return sub;
    };
    CLI::App* showing = add("show", "Show the casts of a file");
    showing->add_flag("--values", options->values, "Print every depth with its sound speed");
    CLI::App* converting = add("convert", "Write the casts of a file in another format");
    converting->add_option("OUT", options->out, "File to write")->required();
    std::vector<std::string> names;
    for (const CastTarget& target : castTargets())
        names.emplace_back(target.name);
    converting->add_option("--format", options->format, "Format to write: native, chs, dat or edf")
        ->required()
        ->check(CLI::IsMember(names));
    CLI::App* plotting = add("plot", "Draw the casts of a file into a PNG picture");
    plotting->add_option("-o,--output", options->out,
                         "Picture to write; FILE.png in the working directory without it");
    app.footer(
        "Formats: the library's own (native), of the Canadian Hydrographic Service (chs), of the Royal\n"
        "Australian Navy (dat, edf), and exports of probes and profilers in nine layouts. The content of a\n"
        "file tells its format. What a file does not say (time zone, order of the date) and was taken for\n"
        "granted is printed.\n"
        "convert keeps the way down between 1400 and 2000 m/s and reads back what it wrote; the auxiliary\n"
        "value of dat and edf is 1.\n"
        "Exit status 3: the file lacks values, or they changed by more than its format rounds.\n"
        "Example:  skar svp convert drop_040.edf cast.svp --format native");
    return [options, showing, converting](const Common& common) {
        return showing->parsed()      ? show(*options, common)
               : converting->parsed() ? convert(*options, common)
                                      : plot(*options, common);
    };
}

} // namespace skar::tool
