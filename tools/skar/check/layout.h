#pragma once

#include "families.h"

#include <span>

// What the check knows of the files themselves. It reads them on its own, so that a mistake of the library's
// reader or writer cannot hide itself; this is the one place that says how they are laid out.
//
// Every file is a run of big-endian 32-bit words.
//   data file      four words that identify it, the summary, then the records without gaps; a ping is a
//   record that
//                  its beams follow
//   LineSegments   four words, the number of segments, then per segment: status, length of the source file's
//   name, the
//                  same length again, the name padded to a multiple of four, first record, last record, the
//                  extents
//   TmIdx          four words, the number of sets, the capacity of a set, then for all sets: number of
//   entries,
//                  smallest time, largest time; then for all sets: number of entries and the entries, each a
//                  time and the offset of the record in the data file
namespace skar::tool::check {

inline constexpr std::uint32_t token = 0x54454C44; // "TELD"
enum FileType : std::uint32_t { dataFile = 1, segmentsFile = 2, indexFile = 3 };

inline constexpr std::uint64_t wordSize = 4;
inline constexpr std::uint64_t identityWords = 4;
inline constexpr std::uint64_t indexSetWords = 3;
inline constexpr std::uint64_t indexEntryWords = 2;
inline constexpr std::int32_t emptySetMin = 0x7FFFFFFF;

enum class Role {
    plain, // nothing that can contradict another word
    recordCount,
    sonar,     // 1, or the file holds no records
    itemCount, // over all records
    items,     // of the record: how many follow
    itemRange, // the same in the upper half, the number of the first in the lower
    width,     // of the record's samples: two bytes where bit 30 is set, otherwise one
    samples,   // of the record: how many follow, of one side in each half
    trace,     // of an item: how many bytes it has in the file of traces, in the upper half
    traceAt,   // and where they begin
    scale,     // a divisor, above 0
    time,
    minTime,
    maxTime,
    value,
    min,
    max,
};

struct Word {
    const char* name;
    Role role;
    std::size_t quantity = 0; // of the family, for value, min and max
};

struct Layout {
    std::span<const Word> summary;
    std::span<const Word> record;
    std::span<const Word> segmentExtents;
    std::span<const Word> item = {};
    bool isSampled = false; // samples follow a record

    bool isVariable() const { return isSampled || !item.empty(); }
    // Beams wrap their times and updates only widen the extents, so those of pings can but contain.
    bool extentsAreExact() const { return item.empty(); }
    std::uint64_t itemSize() const { return item.size() * wordSize; }
    std::uint64_t firstRecord() const { return (identityWords + summary.size()) * wordSize; }
    std::uint64_t recordSize() const { return record.size() * wordSize; }
};

inline constexpr Word seriesSummary[] = {
    {"status", Role::plain},          {"number of records", Role::recordCount},
    {"clock accuracy", Role::scale},  {"reference time", Role::plain},
    {"smallest time", Role::minTime}, {"largest time", Role::maxTime},
    {"smallest value", Role::min},    {"largest value", Role::max},
};
inline constexpr Word seriesRecord[] = {
    {"status", Role::plain},
    {"time", Role::time},
    {"value", Role::value},
};
inline constexpr Word seriesExtents[] = {
    {"smallest time", Role::minTime},
    {"largest time", Role::maxTime},
    {"smallest value", Role::min},
    {"largest value", Role::max},
};

inline constexpr Word trackSummary[] = {
    {"status", Role::plain},
    {"number of records", Role::recordCount},
    {"clock accuracy", Role::scale},
    {"reference time", Role::plain},
    {"smallest time", Role::minTime},
    {"largest time", Role::maxTime},
    {"coordinate type", Role::plain},
    {"position scale", Role::scale},
    {"reference latitude", Role::plain},
    {"smallest latitude", Role::min, 0},
    {"largest latitude", Role::max, 0},
    {"reference longitude", Role::plain},
    {"smallest longitude", Role::min, 1},
    {"largest longitude", Role::max, 1},
};
inline constexpr Word trackRecord[] = {
    {"status", Role::plain},       {"time", Role::time},          {"latitude", Role::value, 0},
    {"longitude", Role::value, 1}, {"auxiliary", Role::value, 2},
};
inline constexpr Word trackExtents[] = {
    {"smallest time", Role::minTime},     {"largest time", Role::maxTime},
    {"smallest latitude", Role::min, 0},  {"largest latitude", Role::max, 0},
    {"smallest longitude", Role::min, 1}, {"largest longitude", Role::max, 1},
};

// Files of a family that are of another sensor type, with layouts of their own.
struct OtherType {
    std::uint32_t storedType;
    std::span<const Layout> versions;
};

// The layouts of a family, from its first version on.
struct Formats {
    std::span<const Layout> versions;
    std::span<const OtherType> others = {};
    bool versionIsCallers = false; // it says nothing of the layout
};

extern const Formats observedDepthsFormats;
extern const Formats processedDepthsFormats;
extern const Formats slantRangeFormats;
extern const Formats uncertaintyFormats;
extern const Formats soundSpeedFormats;
extern const Formats sonarSettingsFormats;
extern const Formats eventMarkFormats;
extern const Formats multibeamImageryFormats;
extern const Formats towedImageryFormats;
extern const Formats processedImageryFormats;

// Whether a data file of the family may be of that sensor type.
bool acceptsType(const Family& family, std::uint32_t sensorType);
bool acceptsVersion(const Family& family, std::uint32_t version);

std::uint32_t newestVersion(const Family& family);

// That of the newest version for one that is not known.
const Layout& layoutOf(const Family& family, std::uint32_t version);

} // namespace skar::tool::check
