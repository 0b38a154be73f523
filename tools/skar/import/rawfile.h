#pragma once

#include "import/bytes.h"
#include "import/installation.h"

#include <array>
#include <compare>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What the readers of raw files hand over: series of timed values in the units of the store, what was wrong
// with the file, and what it holds beyond that. Nothing here knows the library.
namespace skar::import {

// UTC as microseconds since 1970-01-01, every day 86400 seconds long, as all these files count.
using Micros = std::int64_t;
constexpr Micros microsPerSecond = 1'000'000;
constexpr Micros microsPerDay = 86'400 * microsPerSecond;

// Midnight of a calendar day; nothing for a day that the calendar does not have.
std::optional<Micros> midnight(int year, int month, int day);
struct CalendarDay {
    int year = 0;
    int month = 0;
    int day = 0;
};
CalendarDay calendarDay(Micros time);
// "2022-11-09T12:36:54.649Z"
std::string utcText(Micros time);

struct PositionFix {
    Micros time = 0;
    double latitude = 0.0;  // radians, north positive
    double longitude = 0.0; // radians, east positive
    double accuracy = 0.0;  // metres as the source states it, 0 when it states none
};

struct TimedValue {
    Micros time = 0;
    double value = 0.0; // radians; heave, tide, cable, height and depth in metres
};

struct SoundSpeed {
    static constexpr std::uint32_t atTransducer = 0;
    static constexpr std::uint32_t inProfile = 1;

    Micros time = 0;
    double speed = 0.0; // m/s
    double depth = 0.0; // metres, 0 for a speed at the transducer
    std::uint32_t status = atTransducer;
};

struct CastSample {
    double depth = 0.0; // metres
    double speed = 0.0; // m/s
    auto operator<=>(const CastSample&) const = default;
};

// A cast of sound speed, samples in the order of the file.
struct Cast {
    Micros time = 0;
    std::optional<double> latitude;  // degrees, north positive
    std::optional<double> longitude; // degrees, east positive
    std::vector<CastSample> samples;
    auto operator<=>(const Cast&) const = default;
};

// Where a ping stands in its file. Pings are read one at a time, so that a file's beams need not fit into
// memory.
struct PingPlace {
    Micros time = 0;
    std::uint64_t offset = 0;
    std::uint64_t aside = 0; // of what the format keeps apart from the ping and is needed to read it
    std::uint32_t length = 0;
    std::uint32_t head = 0;    // while a file is read its serial number, then from 1 in order of these
    std::uint32_t samples = 0; // of an image, on its longer side
    ByteOrder order = ByteOrder::little;
    bool oriented = true; // the heading is known
};

// The bits of a beam's status are those that a rejection may set in observed and in processed depths alike.
namespace beam {
constexpr std::uint32_t notDetected = 1U << 31U; // or flagged by a later hand
constexpr std::uint32_t cleanedOut = 1U << 30U;
constexpr std::uint32_t pingFlagged = 1U << 29U;
constexpr std::uint32_t noNumber = 1U << 28U; // the file states none
constexpr std::uint32_t phaseDetection = 1U << 16U;
} // namespace beam

struct DepthBeam {
    double y = 0.0; // metres, positive to starboard
    double x = 0.0; // metres, positive forward
    double z = 0.0; // below the water line, metres
    std::uint32_t status = 0;
    // Metres, as the source estimates them; 0 where it does not.
    double depthError = 0.0;
    double positionError = 0.0;

    // Where one of the numbers is none or lies beyond the reach of any sounder, all are 0 and the status says
    // so.
    void refuseNonsense();
};
struct DepthPing {
    double heading = 0.0; // radians
    std::vector<DepthBeam> beams;
};

struct RangeBeam {
    double delay = 0.0;  // seconds after the ping's time
    double range = 0.0;  // metres
    double travel = 0.0; // two ways, seconds
    double angle = 0.0;  // radians, positive to starboard
    double tilt = 0.0;   // of the transmit sector, radians, positive forward
    std::uint32_t status = 0;

    void refuseNonsense();
};
struct RangePing {
    std::vector<RangeBeam> beams;
};

// The imagery of a ping. On both sides samples run from the sonar outwards; the second pair is that of
// another frequency.
struct ImagePing {
    std::vector<std::uint16_t> port;
    std::vector<std::uint16_t> starboard;
    std::vector<std::uint16_t> secondPort;
    std::vector<std::uint16_t> secondStarboard;
    unsigned sampleBytes = 1;
    std::uint32_t number = 0;    // as the source counts
    double interval = 0.0;       // between samples, seconds
    double secondInterval = 0.0; // of the second pair
    double delay = 0.0;          // from the transmission to the first sample, seconds
    double soundSpeed = 0.0;     // m/s, 0 when not stated
    double height = 0.0;         // of the sonar above the sea floor, metres, 0 when not stated
};

// Where a record of the file stands, whatever becomes of it.
struct RawRecord {
    static constexpr Micros untimed = INT64_MIN;

    std::uint64_t offset = 0;
    Micros time = untimed;
    std::uint32_t type = 0; // as the format numbers its records; letters of a name, the last one lowest
    std::uint32_t length = 0;
};

// Root mean square errors at one time, no number where the file states none.
enum class ErrorKind { north, east, heave, roll, pitch, heading };
constexpr std::size_t errorKinds = 6;
struct ErrorFigures {
    Micros time = 0;
    std::array<double, errorKinds> values = {missing, missing, missing, missing, missing, missing};

    static constexpr double missing = std::numeric_limits<double>::quiet_NaN();
    double& operator[](ErrorKind kind) { return values[static_cast<std::size_t>(kind)]; }
};

enum class ScalarKind { gyro, heave, pitch, roll, fishGyro, cableOut, fishHeight, fishDepth, tide };
constexpr std::size_t scalarKinds = 9;

template <typename Record>
struct Series {
    std::vector<Record> records;
    std::string origin;          // what in the file it was taken from
    std::uint64_t stepsBack = 0; // places where the file's own order is not the order of time
};

enum class ProblemKind {
    checksum,
    length,
    framing,
    truncated,
    unparsable,
    noDate,
    badValue,
    noFix,
    noValue,
    datedLater,
    clockJump,
};
constexpr std::size_t problemKinds = 11;

struct ProblemMeaning {
    const char* key;
    const char* text;
    bool loss; // measurements that the file may hold did not come through
};
const ProblemMeaning& meaning(ProblemKind kind);

struct Problem {
    std::uint64_t count = 0;
    std::uint64_t bytes = 0;            // of the file that were passed over
    std::vector<std::uint64_t> offsets; // of the first few
};

class Problems {
public:
    static constexpr std::size_t offsetsKept = 5;
    void add(ProblemKind kind, std::uint64_t offset, std::uint64_t bytes = 0);
    const Problem& operator[](ProblemKind kind) const { return table_[static_cast<std::size_t>(kind)]; }
    bool anyLoss() const;

private:
    std::array<Problem, problemKinds> table_;
};

// Something of the file that was read and stays behind.
struct LeftOut {
    std::string what;
    std::uint64_t count = 0;
    std::string reason;
};

// How the vessel was fitted out from a time on.
struct TimedInstallation {
    Micros time = 0;
    Installation installation;
};

struct RawData {
    std::string format;
    Series<PositionFix> navigation;
    std::array<Series<TimedValue>, scalarKinds> scalars;
    Series<SoundSpeed> soundSpeeds;
    std::vector<Cast> casts; // in the order of the file
    Series<PingPlace> depthPings;
    Series<PingPlace> rangePings;
    Series<PingPlace> uncertainPings; // those of the depth pings with errors of their beams
    Series<PositionFix> fishNavigation;
    Series<PingPlace> imagePings;
    Series<ErrorFigures> errorFigures;
    std::vector<RawRecord> index;                 // in the order of the file
    std::vector<TimedInstallation> installations; // in the order of the file, without repetitions
    Problems problems;
    std::vector<LeftOut> leftOut;
    std::vector<std::string> conventions; // signs, frames and time scale, a sentence each
    std::string heaveSign;                // "positive downwards" and the like; empty without heave

    Series<TimedValue>& operator[](ScalarKind kind) { return scalars[static_cast<std::size_t>(kind)]; }
    const Series<TimedValue>& operator[](ScalarKind kind) const {
        return scalars[static_cast<std::size_t>(kind)];
    }
    std::uint64_t records() const;
};

// Counts things left behind while a file is read; the rows come out in the order of their first sight.
class LeftOutCounter {
public:
    void add(std::string_view what, std::string_view reason, std::uint64_t count = 1);
    std::vector<LeftOut> take() { return std::move(rows_); }

private:
    std::vector<LeftOut> rows_;
};

// Puts every series in order of time, records of one time in the order of the file, and counts the steps
// back.
void sortByTime(RawData& data);

// Takes the records of every series off that lie outside of those times, ends included, and returns how many
// that were. Casts and the index stay, which are not of the line's time but of the file.
std::uint64_t keepBetween(RawData& data, Micros from, Micros to);

constexpr double radiansFromDegrees(double degrees) {
    return degrees * 3.141592653589793 / 180.0;
}

// A file format. One row per format in the table behind formats().
struct RawFormat {
    const char* name;
    const char* extensions; // separated by blanks, lower case
    bool (*matches)(Bytes head);
    RawData (*read)(ByteSource& source);
    // The ping at a place that `read` gave; false when it is not there any more. Null without pings.
    bool (*readDepths)(ByteSource& source, const PingPlace& place, DepthPing& ping);
    bool (*readRanges)(ByteSource& source, const PingPlace& place, RangePing& ping);
    bool (*readImage)(ByteSource& source, const PingPlace& place, ImagePing& ping);
};
std::span<const RawFormat> formats();

// By content, and where that tells nothing by the extension of the name; null when neither does.
const RawFormat* detectFormat(ByteSource& source, std::string_view fileName);

} // namespace skar::import
