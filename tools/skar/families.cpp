#include "families.h"

#include "access/access.h"
#include "access/imagery.h"
#include "check/layout.h"
#include "commands/command.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace skar::tool {

namespace {

constexpr const char* asRecorded = "zero and sign as its source recorded it";

constexpr Quantity heading[] = {{"heading", "rad", "clockwise from north"}};
constexpr Quantity heave[] = {{"heave", "m", asRecorded}};
constexpr Quantity pitch[] = {{"pitch", "rad", asRecorded}};
constexpr Quantity roll[] = {{"roll", "rad", asRecorded}};
constexpr Quantity tide[] = {{"tide", "m", "height of the water above the datum, up positive"}};
constexpr Quantity cable[] = {{"cable_out", "m", "length paid out"}};
constexpr Quantity altitude[] = {{"height", "m", "above the sea floor, up positive"}};
constexpr Quantity depth[] = {{"depth", "m", "below the surface, down positive"}};
constexpr Quantity draft[] = {{"delta_draft", "m", asRecorded}};
constexpr Quantity speed[] = {{"speed", "m/s", "through the water"}};
constexpr Quantity height[] = {{"height", "m", "above the ellipsoid, up positive"}};
constexpr Quantity position[] = {{"latitude", "rad", "north positive"},
                                 {"longitude", "rad", "east positive"},
                                 {"auxiliary", "", "as its source recorded it"}};

constexpr Quantity soundSpeed[] = {{"value1", "m/s", "speed of sound at the transducer"},
                                   {"value2", "", asRecorded}};
constexpr Quantity eventMark[] = {{"number", "", "of the mark"}, {"text", "", "of the mark", true}};
constexpr const char* sonarsOwn = "as the documentation of the sonar has it";
constexpr Quantity sonarSettings[] = {
    {"param1", "", sonarsOwn},  {"param2", "", sonarsOwn},  {"param3", "", sonarsOwn},
    {"param4", "", sonarsOwn},  {"param5", "", sonarsOwn},  {"param6", "", sonarsOwn},
    {"param7", "", sonarsOwn},  {"param8", "", sonarsOwn},  {"param9", "", sonarsOwn},
    {"param10", "", sonarsOwn}, {"param11", "", sonarsOwn}, {"param12", "", sonarsOwn},
    {"param13", "", sonarsOwn}, {"param14", "", sonarsOwn}, {"param15", "", sonarsOwn},
    {"param16", "", sonarsOwn}, {"param17", "", sonarsOwn}, {"param18", "", sonarsOwn},
    {"param19", "", sonarsOwn}, {"param20", "", sonarsOwn}, {"param21", "", sonarsOwn},
    {"param22", "", sonarsOwn}, {"param23", "", sonarsOwn}, {"param24", "", sonarsOwn},
    {"param25", "", sonarsOwn}};

constexpr const char* north = "north positive";
constexpr const char* east = "east positive";
constexpr Quantity ping[] = {{"latitude", "rad", north}, {"longitude", "rad", east}};
constexpr const char* olderFilesOnly = "as its source recorded it; files of older versions only";
constexpr Quantity processedPing[] = {
    {"latitude", "rad", north},        {"longitude", "rad", east},        {"min_latitude", "rad", north},
    {"max_latitude", "rad", north},    {"min_longitude", "rad", east},    {"max_longitude", "rad", east},
    {"angle1", "rad", olderFilesOnly}, {"length1", "m", olderFilesOnly},  {"angle2", "rad", olderFilesOnly},
    {"angle3", "rad", olderFilesOnly}, {"length2", "m", asRecorded},      {"length3", "m", olderFilesOnly},
    {"angle4", "rad", olderFilesOnly}, {"angle5", "rad", olderFilesOnly},
};
constexpr Quantity uncertaintyPing[] = {{"tag", "", asRecorded}};
constexpr const char* acrossTrack = "across track, to starboard positive";
constexpr const char* alongTrack = "along track, forward positive";
constexpr const char* downward = "depth, down positive";
constexpr Quantity observedBeam[] = {
    {"y", "m", acrossTrack}, {"x", "m", alongTrack}, {"z", "m", downward}, {"extra", "m", olderFilesOnly}};
constexpr Quantity processedBeam[] = {{"depth", "m", downward},   {"latitude", "rad", north},
                                      {"longitude", "rad", east}, {"y", "m", olderFilesOnly},
                                      {"x", "m", olderFilesOnly}, {"extra", "m", olderFilesOnly}};
constexpr Quantity rangeBeam[] = {{"range", "m", "from the transducer"},
                                  {"travel", "", "as its source recorded it, steps of 1e-6"},
                                  {"angle1", "", "as its source recorded it, steps of 1e-4"},
                                  {"angle2", "", "as its source recorded it, steps of 1e-4"}};
constexpr Quantity uncertainty[] = {{"tpe1", "", "as its source estimated it, steps of 0.001"},
                                    {"tpe2", "", "as its source estimated it, steps of 0.001"}};
constexpr Quantity processedExtents[] = {
    {"depth", "m", downward}, {"latitude", "rad", north}, {"longitude", "rad", east}};

constexpr const char* callers = "the recorder's own";
constexpr const char* perSide = "samples";
constexpr Quantity towedPing[] = {{"parameter3", "", callers},
                                  {"parameter4", "", callers},
                                  {"parameter5", "", callers},
                                  {"fish_height", "", callers},
                                  {"parameter7", "", callers},
                                  {"parameter8", "", callers},
                                  {"parameter9", "", callers},
                                  {"parameter10", "", callers},
                                  {"parameter11", "", callers},
                                  {"sample_interval", "", callers},
                                  {"parameter13", "", callers},
                                  {"parameter14", "", callers},
                                  {"port_count", "", perSide},
                                  {"starboard_count", "", perSide},
                                  {"parameter19", "", callers},
                                  {"parameter20", "", callers},
                                  {"parameter21", "", callers},
                                  {"parameter22", "", callers},
                                  {"parameter23", "", callers},
                                  {"parameter24", "", callers},
                                  {"parameter25", "", callers},
                                  {"second_port_count", "", perSide},
                                  {"second_starboard_count", "", perSide}};
constexpr Quantity processedImage[] = {{"parameter3", "", callers},
                                       {"parameter4", "", callers},
                                       {"parameter5", "", callers},
                                       {"port_count", "", perSide},
                                       {"starboard_count", "", perSide}};
constexpr Quantity samples[] = {{"port", "", asRecorded},
                                {"starboard", "", asRecorded},
                                {"second_port", "", asRecorded},
                                {"second_starboard", "", asRecorded}};
constexpr Quantity amplitudePing[] = {{"value", "", asRecorded}, {"A", "", asRecorded},
                                      {"B", "", asRecorded},     {"C", "", asRecorded},
                                      {"D", "", asRecorded},     {"E", "", asRecorded}};
constexpr Quantity amplitudes[] = {{"first", "", asRecorded},
                                   {"second", "", asRecorded},
                                   {"third", "", asRecorded},
                                   {"fourth", "", asRecorded},
                                   {"count", "", "samples of the beam's trace"},
                                   {"value", "", asRecorded}};

constexpr Family series(const char* name, std::uint32_t id, Coding coding, const char* about,
                        std::span<const Quantity> quantity) {
    return {.name = name,
            .about = about,
            .kind = &sensorKind,
            .quantities = quantity,
            .items = {},
            .extents = quantity,
            .numSegmentExtents = 1,
            .id = id,
            .storedType = id,
            .coding = coding,
            .access = &seriesAccess};
}

// A sensor with functions of its own.
constexpr Family sensor(const char* name, std::uint32_t id, std::uint32_t storedType, const char* about,
                        const Access& access, std::span<const Quantity> quantities,
                        std::span<const Quantity> extents) {
    return {.name = name,
            .about = about,
            .kind = &sensorKind,
            .quantities = quantities,
            .items = {},
            .extents = extents,
            .numSegmentExtents = extents.size(),
            .id = id,
            .storedType = storedType,
            .access = &access};
}

constexpr Family track(const char* name, std::uint32_t id, std::uint32_t storedType, const char* about,
                       const Access& access) {
    return sensor(name, id, storedType, about, access, position, std::span(position).first(2));
}

constexpr Family laidOut(Family family, const check::Formats& formats) {
    family.formats = &formats;
    return family;
}

constexpr Family pings(Family family, std::span<const Quantity> beam, const check::Formats& formats) {
    family.items = {"ping", "beam", beam};
    return laidOut(family, formats);
}

constexpr Family withSegmentExtents(Family family, std::size_t count) {
    family.numSegmentExtents = count;
    return family;
}

constexpr Family imagery(const char* name, std::uint32_t id, std::uint32_t storedType, const char* about,
                         const Kind& kind, std::span<const Quantity> head, const Items& items,
                         const check::Formats& formats) {
    return {.name = name,
            .about = about,
            .kind = &kind,
            .quantities = head,
            .items = items,
            .extents = {},
            .numSegmentExtents = 0,
            .id = id,
            .storedType = storedType,
            .formats = &formats};
}

constexpr Family withCompanion(Family family, const char* name) {
    family.companion = name;
    return family;
}

constexpr Items twoSides = {"ping", "sample", std::span(samples).first(2), false};

constexpr auto depthExtent = std::span(processedExtents).first(1);

constexpr Family table[] = {
    track("Navigation", 3, 3, "track of the ship", shipTrackAccess),
    track("NavigationNew", 76, 3, "reprocessed track of the ship", reprocessedTrackAccess),
    series("Gyro", 1, Coding::fine, "heading of the ship", heading),
    series("Heave", 2, Coding::millis, "vertical motion of the ship", heave),
    series("TrueHeave", 55, Coding::millis, "delayed heave of the motion sensor", heave),
    series("Pitch", 5, Coding::fine, "pitch of the ship", pitch),
    series("Roll", 6, Coding::fine, "roll of the ship", roll),
    series("Tide", 7, Coding::millis, "tide", tide),
    series("GPSTide", 48, Coding::millis, "tide from satellite heights", tide),
    series("GPSHeight", 47, Coding::millis, "height of the antenna", height),
    series("DeltaDraft", 45, Coding::millis, "change of draft", draft),
    series("SOW", 46, Coding::millis, "speed over water", speed),
    track("SSSNavigation", 12, 12, "track of the towfish", towfishTrackAccess),
    series("SSSGyro", 11, Coding::fine, "heading of the towfish", heading),
    series("SSSCableOut", 40, Coding::millis, "cable of the towfish", cable),
    series("SSSSensorHeight", 41, Coding::millis, "height of the towfish", altitude),
    series("SSSSensorDepth", 42, Coding::millis, "depth of the towfish", depth),
    pings(sensor("ObservedDepths", 4, 4, "depths as recorded", observedDepthsAccess, ping, depthExtent),
          observedBeam, check::observedDepthsFormats),
    pings(sensor("ObservedDepthsNew", 53, 4, "depths recomputed", newObservedDepthsAccess, ping, depthExtent),
          observedBeam, check::observedDepthsFormats),
    pings(sensor("ProcessedDepths", 0, 0, "depths after merging", processedDepthsAccess, processedPing,
                 processedExtents),
          processedBeam, check::processedDepthsFormats),
    pings(sensor("SLRange", 30, 30, "ranges and angles as measured", slantRangeAccess, ping, {}), rangeBeam,
          check::slantRangeFormats),
    withSegmentExtents(pings(sensor("TPE", 52, 52, "uncertainty of the depths", uncertaintyAccess,
                                    uncertaintyPing, uncertainty),
                             uncertainty, check::uncertaintyFormats),
                       0),
    laidOut(
        sensor("SSP", 54, 54, "speed of sound", soundSpeedAccess, soundSpeed, std::span(soundSpeed).first(1)),
        check::soundSpeedFormats),
    laidOut(
        sensor("SensorParameters", 57, 57, "settings of the sonar", sonarSettingsAccess, sonarSettings, {}),
        check::sonarSettingsFormats),
    withCompanion(imagery("SideScan", 9, 9, "amplitudes of the beams", multibeamImageryKind, amplitudePing,
                          {"ping", "beam", amplitudes}, check::multibeamImageryFormats),
                  "SideScanTrace"),
    imagery("SSSSideScan", 13, 13, "imagery of the towfish", sideScanKind, towedPing,
            {"ping", "sample", samples, false}, check::towedImageryFormats),
    imagery("SSSProcessedSideScan", 19, 19, "imagery after processing", sideScanKind, processedImage,
            twoSides, check::processedImageryFormats),
    imagery("NewSSSProcessedSideScan", 32787, 19, "imagery being processed", sideScanKind, processedImage,
            twoSides, check::processedImageryFormats),
    laidOut(sensor("EventMark", 32, 32, "notes", eventMarkAccess, eventMark, {}), check::eventMarkFormats),
};

} // namespace

bool sameName(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(a, b, {}, lower, lower);
}

std::span<const Family> families() {
    return table;
}

const Family* findFamily(std::string_view name) {
    const auto found =
        std::ranges::find_if(table, [&](const Family& row) { return sameName(row.name, name); });
    return found != std::end(table) ? &*found : nullptr;
}

const char* codingText(Coding coding) {
    switch (coding) {
    case Coding::millis:
        return "steps of 0.001";
    case Coding::fine:
        return "steps of 1e-7";
    case Coding::byQuantity:
        return "by quantity";
    }
    return "";
}

std::vector<std::string> otherFiles(const LinePath& line, std::span<const Family* const> known) {
    std::set<std::string> names;
    for (const Family* family : known) {
        for (std::string& name : family->kind->files(*family))
            names.insert(std::move(name));
    }
    std::vector<std::string> others;
    std::error_code error;
    for (auto entry = std::filesystem::directory_iterator(line.native, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (!names.contains(name)) others.push_back(name);
    }
    if (error) throw ToolError(fmt::format("{}: {}", printable(line.native.string()), error.message()));
    std::ranges::sort(others);
    return others;
}

bool isPresent(const LinePath& line, const Family& family) {
    std::error_code ignored;
    return std::filesystem::exists(line.native / family.kind->files(family).front(), ignored);
}

} // namespace skar::tool
