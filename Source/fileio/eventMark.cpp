#include "fileio/flatrecords.h"
#include "fileio/formats.h"

#include <skar/eventmark.h>
#include <skar/paths.h>

#include <algorithm>
#include <cwchar>
#include <new>
#include <string>

// Event marks: three words, and a text that stands in the record as it is.
namespace skar::fileio {

namespace {

struct Mark {
    std::uint32_t status = 0;
    std::uint32_t number = 0;
    double time = 0.0;
};

constexpr auto recordLayout =
    layout<Mark>(field<Unsigned>("status", &Mark::status), field<Unsigned>("number", &Mark::number),
                 field<Time>("time", &Mark::time));

constexpr std::size_t textSize = 80; // narrow characters behind the words, the terminator included
static_assert(textSize == SKAR_EVENT_MARK_TEXT);

using Handle = _TELD_Sensor;
constexpr auto summaryLayout =
    layout<Handle>(field<Unsigned>("summaryStatus", &Handle::summaryStatus),
                   field<Unsigned>("numRecords", &Handle::numRecords),
                   field<Signed>("clockAccuracy", &Handle::clockAccuracy),
                   field<Signed>("referenceTime", &Handle::referenceTime),
                   field<Time>("minTime", &Handle::minTime), field<Time>("maxTime", &Handle::maxTime));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout =
    layout<Segment>(field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime));

constexpr std::uint32_t sensorId = 32;

struct EventMarkTraits {
    using Record = Mark;
    static constexpr auto& record = recordLayout;
    static constexpr std::size_t timeOffset = recordLayout.offsetOf("time");
    static constexpr Family family = {
        .name = "EM",
        .sensorId = sensorId,
        .storedType = sensorId,
        .base = codes::eventMarks,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = recordLayout.size + textSize,
        .nullHandle = codes::eventMarks + Offset::nullHandle,
        .testsSensor = true,
        .lastRecordAtOpen = -1,
        .streamErrorLog = "There is an error in the EventMark file stream before closing %d\n",
        .segmentOpen = {.fixedCode = codes::eventMarks + Offset::openFile,
                        .onWriting = codes::eventMarks + Offset::writeSegments},
    };

    static bool setReferences(_TELD_Sensor& sensor, const Mark& mark) {
        return setReferenceTime(sensor, mark.time);
    }
    static void widenExtents(_TELD_Sensor& sensor, const Mark& mark) { widenTime(sensor, mark.time); }
};
constexpr const Family& family = EventMarkTraits::family;

// The text of the record in the handle's buffer, whether or not it has its terminator.
std::wstring storedText(const _TELD_Sensor& sensor) {
    const auto* first = reinterpret_cast<const char*>(recordBuffer(sensor) + recordLayout.size);
    const std::string narrow(first, std::find(first, first + textSize - 1, '\0'));
    wchar_t* wide = SKARConvertASCIICharToWide(narrow.c_str());
    if (!wide) throw std::bad_alloc();
    std::wstring text = wide;
    SKARIO_free(wide);
    return text;
}

int handOut(const _TELD_Sensor& sensor, const Mark& mark, std::uint32_t* number, double* time, wchar_t* text,
            std::uint32_t* status) try {
    const std::wstring stored = storedText(sensor);
    text[stored.copy(text, SKAR_EVENT_MARK_TEXT - 1)] = L'\0';
    *number = mark.number;
    *time = mark.time;
    *status = mark.status;
    return codes::success;
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

// The narrow form with its terminator, in which it goes into the record.
std::string narrowText(const wchar_t* text) {
    char* narrow = SKARConvertWideCharToASCII(text);
    if (!narrow) throw std::bad_alloc();
    std::string bytes(narrow, std::strlen(narrow) + 1);
    SKARIO_free(narrow);
    return bytes;
}

} // namespace

FormatTables eventMarkFormat() {
    static constexpr FormatTable tables[] = {
        {"Event mark summary", pagesOf<summaryLayout, Handle>},
        {"Event mark record", pagesOf<recordLayout, Mark>},
        {"Event mark segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

_TELD_Sensor* EMOpenDir(const wchar_t* linePath, const wchar_t* accessToken, std::uint32_t* code) {
    return openFlat<EventMarkTraits>(linePath, sensorId, accessToken, code,
                                     [](_TELD_Sensor&) { return true; });
}

int EMClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int EMSummary(_TELD_Sensor* sensor, std::uint32_t* numLineSegments, std::uint32_t* numRecords,
              double* minTime, double* maxTime, std::uint32_t* summaryStatus) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    if (!(numLineSegments && numRecords && minTime && maxTime && summaryStatus)) return codes::failed;
    *numLineSegments = sensor->numLineSegments;
    *numRecords = sensor->numRecords;
    *minTime = sensor->minTime;
    *maxTime = sensor->maxTime;
    *summaryStatus = sensor->summaryStatus;
    return codes::success;
}

int EMLineSegment(_TELD_Sensor* sensor, std::uint32_t segmentNumber, wchar_t** sourceFileName,
                  std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime, double* maxTime,
                  std::uint32_t* status) {
    const _TELD_LineSegment* segment = nullptr;
    if (const int code =
            getSegment(family, sensor, segmentNumber, sourceFileName, beginIndex, endIndex, status, segment))
        return code;
    give(minTime, segment->minTime);
    give(maxTime, segment->maxTime);
    return codes::success;
}

int EMRead(_TELD_Sensor* sensor, std::uint32_t record, std::uint32_t* number, double* time, wchar_t* text,
           std::uint32_t* status) {
    Mark mark;
    if (const int code = readRecord<EventMarkTraits>(sensor, record, number && time && text && status, mark))
        return code;
    return handOut(*sensor, mark, number, time, text, status);
}

int EMReadSeq(_TELD_Sensor* sensor, std::uint32_t* number, double* time, wchar_t* text,
              std::uint32_t* status) {
    Mark mark;
    if (const int code = readInOrder<EventMarkTraits>(sensor, number && time && text && status, mark))
        return code;
    return handOut(*sensor, mark, number, time, text, status);
}

int EMBgnSeqWriteSummary(_TELD_Sensor* sensor) {
    return beginSummary(family, sensor);
}

int EMBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int EMSeqWrite(_TELD_Sensor* sensor, std::uint32_t number, double time, const wchar_t* text,
               std::uint32_t status) try {
    if (const int code = checkHandle(family, sensor, "SeqWrite", inCreate, Structure::needed)) return code;
    if (!text) return codes::failed;
    const std::string narrow = narrowText(text);
    if (narrow.size() > textSize) return family.code(Offset::encode);
    // What the text before left behind the terminator stays there.
    return writeRecord<EventMarkTraits>(sensor, {status, number, time}, [&](std::byte* stored) {
        std::memcpy(stored, narrow.data(), narrow.size());
    });
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

int EMEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int EMEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSummary(family, sensor, status);
}

int EMSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int EMSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int EMSetRecordStatus(_TELD_Sensor* sensor, std::uint32_t record, std::uint32_t status) {
    return setRecordStatus(family, sensor, record, status);
}

int EMSaveStatusToDisk(_TELD_Sensor* sensor) {
    return saveStatus(family, sensor);
}

int EMRemoveDir(const wchar_t* linePath) {
    return SensorRemoveDir(linePath, L"EventMark");
}
