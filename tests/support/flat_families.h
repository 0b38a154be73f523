#pragma once

#include "support/store.h"

#include <skar/codes.h>
#include <skar/eventmark.h>
#include <skar/navigation.h>
#include <skar/sensor.h>
#include <skar/simplesensor.h>
#include <skar/ssp.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// Every family whose data file is a run of records of a fixed size, behind one interface: a test written over
// flatFamilies() runs for each, and a further sensor gets all of them by its row.
namespace skar::tests {

// One record. A simple sensor has one value; a track has latitude, longitude and the auxiliary value; SSP has
// two values; of an event mark the number is the value, and the text follows from it.
struct Sample {
    double time = 0.0;
    std::array<double, 3> values{};
    std::uint32_t status = 0;
};

struct SummaryView {
    std::uint32_t segments = 0;
    std::uint32_t records = 0;
    std::uint32_t coordinateType = 0; // tracks only
    double minTime = 0.0;
    double maxTime = 0.0;
    std::array<double, 2> min{}; // one quantity for a simple sensor
    std::array<double, 2> max{};
    std::uint32_t status = 0;
};

struct SegmentView {
    std::wstring name;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    double minTime = 0.0;
    double maxTime = 0.0;
    std::array<double, 2> min{};
    std::array<double, 2> max{};
    std::uint32_t status = 0;
};

// What stands in a record behind its status.
enum class Shape { value, position, twoValues, mark };

struct FlatFamily {
    const char* name;     // prefix of the functions and name of the data file
    std::uint32_t id;     // as SensorOpenDir takes it
    std::uint32_t stored; // as the validation records hold it
    int base;             // of its codes
    int nullHandle;
    int segmentsMissing; // code of an open without its LineSegments file
    bool track;
    bool fine; // steps of 1e-7; tracks aside, else 0.001
    Shape shape = Shape::value;
    std::size_t head = 48; // bytes before the first record
    std::size_t record = 12;
    std::size_t quantities = 1;  // values of a record
    std::size_t ranged = 1;      // of these, how many have extents
    bool overThrowing = false;   // whether the sequential reader passes on what a throwing one gives
    int segmentsNotWritten = -1; // code of a close whose LineSegments file cannot be opened

    _TELD_Sensor* (*open)(const wchar_t*, const wchar_t*, std::uint32_t*);
    int (*close)(_TELD_Sensor*);
    int (*beginSummary)(_TELD_Sensor*);
    int (*beginSegment)(_TELD_Sensor*, const wchar_t*);
    int (*write)(_TELD_Sensor*, const Sample&);
    int (*endSegment)(_TELD_Sensor*, std::uint32_t);
    int (*endSummary)(_TELD_Sensor*, std::uint32_t);
    int (*read)(_TELD_Sensor*, std::uint32_t, Sample&);
    int (*readSeq)(_TELD_Sensor*, Sample&);
    int (*summary)(_TELD_Sensor*, SummaryView&);
    int (*segment)(_TELD_Sensor*, std::uint32_t, SegmentView&);
    int (*setSummaryStatus)(_TELD_Sensor*, std::uint32_t);
    int (*setSegmentStatus)(_TELD_Sensor*, std::uint32_t, std::uint32_t);
    int (*setRecordStatus)(_TELD_Sensor*, std::uint32_t, std::uint32_t);
    int (*save)(_TELD_Sensor*);

    std::string segmentsFile() const { return std::string(name) + "LineSegments"; }
    std::string indexFile() const { return std::string(name) + "TmIdx"; }
    std::vector<std::string> files() const { return {name, segmentsFile(), indexFile()}; }
    std::size_t recordSize() const { return record; }
    std::size_t firstRecord() const { return head; }
    int code(int offset) const { return base + offset; }
    // The step in which a value is kept: what comes back is within half of it.
    double step(std::size_t value) const { return track && value < 2 ? 1e-9 : fine ? 1e-7 : 1e-3; }
    // A record that the family can hold, different for each number.
    Sample sample(std::uint32_t number) const;
    // What the file holds for a time and for one of the values, without the library.
    std::int32_t codedTime(double time, std::int32_t referenceMinute) const;
    std::int32_t codedValue(std::size_t value, double physical, std::int32_t reference = 0) const;
};
std::ostream& operator<<(std::ostream& out, const FlatFamily& family);

// All of them, in the order of the headers.
const std::vector<FlatFamily>& flatFamilies();
const FlatFamily& flatFamily(std::string_view name);
// The name of a test's instance.
inline std::string familyName(const testing::TestParamInfo<FlatFamily>& info) {
    return info.param.name;
}

// The three files of a set, built from the layout without the library: `perSegment` records in each segment,
// named "<letter>.raw".
struct FlatSet {
    Bytes data;
    Bytes segments;
    Bytes index;
    const Bytes& file(std::size_t which) const { return which == 0 ? data : which == 1 ? segments : index; }
};
FlatSet flatSet(const FlatFamily& family, const std::vector<std::uint32_t>& perSegment,
                std::uint32_t version = 1);
// Writes a set into a line.
template <class Disk>
void put(const Disk& line, const FlatFamily& family, const FlatSet& set) {
    for (std::size_t which = 0; which < 3; ++which)
        line.write(family.files()[which], set.file(which).string());
}

// A handle that is closed, if it still is open, when the test leaves.
class Opened {
public:
    Opened(const FlatFamily& family, const std::wstring& line, const wchar_t* token)
        : family_(&family), sensor_(family.open(line.c_str(), token, &code_)) {}
    ~Opened() {
        if (sensor_) family_->close(sensor_);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    explicit operator bool() const { return sensor_ != nullptr; }
    operator _TELD_Sensor*() const { return sensor_; } // NOLINT: stands for the handle
    _TELD_Sensor* operator->() const { return sensor_; }
    int code() const { return static_cast<int>(code_); }
    int close() {
        _TELD_Sensor* ended = sensor_;
        sensor_ = nullptr;
        return family_->close(ended);
    }

private:
    const FlatFamily* family_;
    std::uint32_t code_ = 0xAAAAAAAA;
    _TELD_Sensor* sensor_;
};

// Keeps the messages of the stream codecs off the standard output, where thousands of them say nothing; all
// other lines come through in the end.
class QuietOutput {
public:
    QuietOutput() { testing::internal::CaptureStdout(); }
    ~QuietOutput();
    QuietOutput(const QuietOutput&) = delete;
    QuietOutput& operator=(const QuietOutput&) = delete;
};

// Writes samples 1 to the sum of `perSegment` through the family's functions, up to and with the close. The
// first code that is not 0.
int writeLine(const FlatFamily& family, const std::wstring& line,
              const std::vector<std::uint32_t>& perSegment);

// Reads all that can be read of a handle: summary, segments, every record by number and, in query mode, in
// order. How many records came in both ways.
struct ReadAll {
    std::uint32_t byNumber = 0;
    std::uint32_t inOrder = 0;
};
ReadAll readAll(const FlatFamily& family, _TELD_Sensor* sensor);

} // namespace skar::tests
