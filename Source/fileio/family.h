#pragma once

#include "fileio/handle.h"
#include "fileio/layout.h"

#include <skar/codes.h>

#include <array>
#include <cstddef>
#include <cstdint>

// One family of sensors as the frame sees it: its layouts, its codes, and in what it departs from the others.
// The functions below are the Bgn/End protocol, the summary, the segments and the status shadow, once for all
// families.
namespace skar::fileio {

// What a family answers when its LineSegments file cannot be opened.
struct SegmentOpenFailure {
    int fixedCode = 0;     // this code whatever the cause, without a log line
    int onWriting = 0;     // the code while closing or saving, where it is not that of reading
    int firstOfTable = 0;  // code of "not found"; too many, denied and no space follow
    int otherCode = 0;     // any other cause
    bool logsOther = true; // whether that is logged as well
};

// Log lines of a family about its summary; null where it has none.
struct SummaryLog {
    const char* validation = nullptr;
    const char* shortRead = nullptr;
    const char* shortReadStates = nullptr; // the same as a format of ferror() and feof()
};

// Log lines about the loading of the status shadow.
struct ShadowLog {
    const char* allocate = nullptr;
    const char* map = nullptr;
    const char* seek = nullptr;
    const char* read = nullptr;
    const char* decode = nullptr;
};

// When a read by number moves the file to its record.
enum class Positioning {
    everyRead,
    unlessNext,    // not for the record behind the one read last
    unlessRepeated // not for the one read last, so that repeating it gives the record behind it
};

struct Family {
    const char* name; // as log lines say it
    std::uint32_t sensorId;
    std::uint32_t storedType; // as the validation records hold it
    codes::Block base;
    Block<_TELD_Sensor> summary;
    Block<_TELD_LineSegment> extents; // of a segment, behind its record numbers
    std::size_t recordSize; // the words of the layout, and bytes behind them where the family has such

    int nullHandle;                               // code of a null handle
    bool testsSensor;                             // whether a handle of another family is told apart
    std::array<std::uint32_t, 2> otherTypes = {}; // stored types that are of this family as well, 0 for none
    int noStructure = codes::failed;              // code of a handle without its read structure
    bool logsWrongSensor = false;                 // whether that leaves a log line
    bool structureBeforeAccess = false;           // which is tested first by reads and writes
    bool keepsStatusShadow = true;                // whether statuses are loaded for update
    Positioning positioning = Positioning::unlessNext;
    std::int32_t lastRecordAtOpen = 0;
    int wrongSensorOnSave = 0;  // code of a wrong sensor in SaveStatusToDisk, where it is not the usual one
    int wrongSensorOnClose = 0; // the same for Close
    Offset statusWriteFailure = Offset::writeStatus;
    Offset flushFailure = Offset::seek;
    const char* streamErrorLog = nullptr;                     // logged at close when the stream has an error
    const char* endSegmentLogName = "EndSeqWriteLineSegment"; // of that operation in log lines
    bool segmentOutputsOptional = false; // whether a segment's name and status may be left out
    bool closeKeepsCodes = false;        // whether Close gives what failed in it as it stands
    SegmentOpenFailure segmentOpen;
    const char* segmentWordLog = nullptr; // the reader that logs a segment's word which does not decode
    SummaryLog summaryLog = {};
    ShadowLog shadowLog = {};

    constexpr std::int64_t firstRecordOffset() const { return 16 + static_cast<std::int64_t>(summary.size); }
    constexpr int code(Offset offset) const { return base + offset; }
    constexpr bool has(std::uint32_t type) const {
        return type == storedType || (type != 0 && (type == otherTypes[0] || type == otherTypes[1]));
    }
};

// Access types that an operation allows.
enum Access : unsigned {
    inCreate = 1u << TELD_CREATE,
    inQuery = 1u << TELD_QUERY,
    inUpdate = 1u << TELD_UPDATE,
    inAny = inCreate | inQuery | inUpdate,
};
constexpr Access operator|(Access a, Access b) {
    return static_cast<Access>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

enum class Structure { unused, needed };

// Gives the code for a handle of another sensor, and logs it where the family does.
int wrongSensor(const Family& family, const char* operation);

// The tests that every plain function begins with. `operation` stands in the log line of a wrong sensor.
inline int checkHandle(const Family& family, const _TELD_Sensor* sensor, const char* operation, Access access,
                       Structure structure = Structure::unused) {
    if (!sensor) return family.nullHandle;
    if (family.testsSensor && !family.has(sensor->sensorType)) return wrongSensor(family, operation);
    const bool missing = structure == Structure::needed && !sensor->pReadStruct;
    const bool denied = (access & 1u << sensor->accessType) == 0;
    if (missing && (family.structureBeforeAccess || !denied)) return family.noStructure;
    return denied ? family.code(Offset::wrongAccess) : codes::success;
}

// The read state of a handle with flat records, the same in all such families: the simple sensors' functions
// take any handle. The record buffer of both streams follows it.
struct FlatState {
    std::uint32_t recordsWritten;
    std::uint32_t needSeek; // the next read by number must position the file
    std::int32_t lastRecordRead;
    std::uint32_t seeksSeen; // of the file, when a record was last found or written in its place
};
inline FlatState& flatState(const _TELD_Sensor& sensor) {
    return *static_cast<FlatState*>(sensor.pReadStruct);
}
inline std::byte* recordBuffer(const _TELD_Sensor& sensor) {
    return static_cast<std::byte*>(sensor.pReadStruct) + sizeof(FlatState);
}
// Allocates the read structure and makes both streams over its buffer. 0, or 5000009.
int attachFlatState(_TELD_Sensor& sensor, const Family& family);

// Opening: validation record and room for the summary (create), or summary, segments, time index and, in
// update mode, statuses. The code of what failed; the caller ends the handle.
int beginFile(_TELD_Sensor& sensor, const Family& family);
int loadFile(_TELD_Sensor& sensor, const Family& family);

// Logs a short read with what ferror() and feof() would say of the stream.
void logShortRead(const char* format, const RecordFile& file);

// Writes the validation record and the summary at the head of the data file.
int writeSummary(_TELD_Sensor& sensor, const Family& family);
// Takes a summary apart that may be short of bytes: the first word that is missing is logged and gives the
// code.
int decodeSummary(_TELD_Sensor& sensor, const Family& family, const void* bytes, std::size_t available);

// The operations of the protocol, without the family's name.
int beginSummary(const Family& family, _TELD_Sensor* sensor);
int beginSegment(const Family& family, _TELD_Sensor* sensor, const wchar_t* sourceFileName);
int endSegment(const Family& family, _TELD_Sensor* sensor, std::uint32_t status);
int endSummary(const Family& family, _TELD_Sensor* sensor, std::uint32_t status);
int setSummaryStatus(const Family& family, _TELD_Sensor* sensor, std::uint32_t status);
int setSegmentStatus(const Family& family, _TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status);
int setRecordStatus(const Family& family, _TELD_Sensor* sensor, std::uint32_t record, std::uint32_t status);
int getRecordStatus(const Family& family, _TELD_Sensor* sensor, std::uint32_t record, std::uint32_t* status);
int saveStatus(const Family& family, _TELD_Sensor* sensor);
// Rewrites the first word of a record in place; the rest of it stays as it is.
int writeRecordStatus(const Family& family, _TELD_Sensor& sensor, std::uint32_t record, std::uint32_t status);
// Gives every segment that source file name and rewrites the LineSegments file. The codes are those of a
// block that need not be the family's, as is that of a failed rewrite.
int setSourceFileName(const Family& family, _TELD_Sensor* sensor, const wchar_t* name, codes::Block block,
                      Offset nullName, int rewriteFailure = codes::observedDepths + Offset::writeSegments);
int closeSensor(const Family& family, _TELD_Sensor* sensor);

// Finds a segment and hands out what all families have of it. The name is a copy from wcsdup.
int getSegment(const Family& family, _TELD_Sensor* sensor, std::uint32_t number, wchar_t** name,
               std::uint32_t* beginIndex, std::uint32_t* endIndex, std::uint32_t* status,
               const _TELD_LineSegment*& segment);

template <class Value>
void give(Value* output, Value value) {
    if (output) *output = value;
}

// Widens the extents of the summary and of the segment being written.
inline void widen(double value, double& least, double& most) {
    if (value < least) least = value;
    if (value > most) most = value;
}
inline void widenTime(_TELD_Sensor& sensor, double time) {
    widen(time, sensor.minTime, sensor.maxTime);
    if (auto* segment = sensor.lastLineSegment) widen(time, segment->minTime, segment->maxTime);
}
inline void widenExtent(_TELD_Sensor& sensor, std::size_t quantity, double value) {
    widen(value, sensor.min[quantity], sensor.max[quantity]);
    if (auto* segment = sensor.lastLineSegment) widen(value, segment->min[quantity], segment->max[quantity]);
}

} // namespace skar::fileio
