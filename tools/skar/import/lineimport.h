#pragma once

#include "import/rawfile.h"
#include "linepath.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

// From the readers' model to the sensors of a line, through the library's exported functions.
namespace skar::tool {

struct Family;

// A raw file that has been read.
struct RawFile {
    std::string path;
    std::string name; // without its folders; the segments carry it
    import::RawData data;
    const import::RawFormat* format = nullptr;
};

// Reads a raw file of any format that is known. `watch` is told how far the reading has come, in bytes.
// Throws ToolError naming the file.
RawFile readRawFile(const std::string& path, const std::function<void(std::uint64_t)>& watch);

// For a second look at it. Throws ToolError.
import::FileSource reopened(const RawFile& file);

// Seconds in the store's scale. Keeps the start of the last day, so that a run of times asks the calendar
// once.
class StoreClock {
public:
    double seconds(import::Micros time);

private:
    import::Micros day_ = INT64_MIN;
    double dayStart_ = 0.0;
};

// A time of the store as those of the readers, which know no leap seconds; nothing before the start of 1980.
std::optional<import::Micros> microsOf(double seconds);

// What an import can write, in the order in which it is shown.
std::span<const char* const> importSensors();

// One line segment to be: a sensor's records of one file.
struct PlannedSegment {
    const Family* family = nullptr;
    const RawFile* file = nullptr;
    std::uint32_t number = 0; // of the sensor's segments, from 1
    std::uint64_t records = 0;
    import::Micros first = 0;
    import::Micros last = 0;
    std::string origin;
    std::uint64_t stepsBack = 0;
    // Positions so far from the first one of the sensor that the coding cannot hold them.
    std::uint64_t outOfReach = 0;
    // Pings whose beams cannot be placed: the track does not reach them or their heading is not known.
    std::uint64_t unplaced = 0;
    // Pings with more samples than the store keeps of a side: they are averaged.
    std::uint64_t averaged = 0;
};

// A file that describes itself, to be made of raw files.
struct PlannedAttributes {
    std::string name; // in the line
    std::vector<const RawFile*> files;
    std::uint64_t records = 0;
    import::Micros first = import::RawRecord::untimed;
    import::Micros last = import::RawRecord::untimed;
    std::string origin;
};

// The casts of the raw files, for the sound velocity file of the line.
struct PlannedCasts {
    std::vector<const RawFile*> files;
    std::vector<import::Cast> casts; // in order of time
    std::uint64_t values = 0;        // that the file will keep
};

// What an import will write, sensor by sensor, segments in order of their first time.
struct ImportPlan {
    std::vector<PlannedSegment> segments;
    std::vector<PlannedAttributes> attributes;
    PlannedCasts casts;
    bool acrossDateLine = false; // longitudes go on beyond 180 degrees

    std::vector<const Family*> families() const;
    std::uint64_t records() const;
    bool anyLoss() const;
};

// Lays out the wanted sensors of the files. Throws ToolError where files overlap in time and may not, where a
// sensor's times lie further apart than its coding can hold, and where there is nothing to write.
ImportPlan planImport(std::span<const RawFile> files, std::span<const std::string> wanted, bool mayOverlap);

// Writes the plan's sensors, each of them anew. `watch` is told how many records are done.
void writeImport(const LinePath& line, const ImportPlan& plan,
                 const std::function<void(std::uint64_t)>& watch);

} // namespace skar::tool
