#include "fileio/flatrecords.h"
#include "fileio/formats.h"

#include <skar/errors.h>
#include <skar/ssp.h>

#include <cerrno>
#include <ostream>
#include <tuple>

// The SSP series: two small values share a word of each record.
namespace skar::fileio {

namespace {

using Record = SKAR::IO::SSP::Record;

struct Tenths {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning =
        "value1 in bits 16 to 31, value2 in bits 0 to 15: value * 10, cut to 16 bits, unsigned";
    static bool encode(const Scale&, const std::tuple<double, double>& values, std::uint32_t& word) noexcept {
        std::uint32_t high = 0;
        std::uint32_t low = 0;
        const bool coded =
            lowWord(std::get<0>(values) * 10.0, high) && lowWord(std::get<1>(values) * 10.0, low);
        word = high << 16 | (low & 0xFFFF);
        return coded;
    }
    static std::tuple<double, double> decode(const Scale&, std::uint32_t word) noexcept {
        return {(word >> 16) / 10.0, (word & 0xFFFF) / 10.0};
    }
};

// Both values of a record, as what the word is made of and what it is taken apart into.
struct Values {
    std::tuple<double, double> operator()(const Record& record) const noexcept {
        return {record.value1, record.value2};
    }
    std::tuple<double&, double&> operator()(Record& record) const noexcept {
        return {record.value1, record.value2};
    }
};

constexpr auto recordLayout =
    layout<Record>(field<Unsigned>("status", &Record::status), field<Time>("time", &Record::time),
                   field<Tenths>("values", Values{}));

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("summaryStatus", &Handle::summaryStatus),
    field<Unsigned>("numRecords", &Handle::numRecords),
    field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime), element<Meters>("minValue1", &Handle::min, 0),
    element<Meters>("maxValue1", &Handle::max, 0));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout = layout<Segment>(
    field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime),
    element<Meters>("minValue1", &Segment::min, 0), element<Meters>("maxValue1", &Segment::max, 0));

constexpr std::uint32_t sensorId = 54;

struct SspTraits {
    using Record = skar::fileio::Record;
    static constexpr auto& record = recordLayout;
    static constexpr std::size_t timeOffset = recordLayout.offsetOf("time");
    static constexpr Family family = {
        .name = "Ssp",
        .sensorId = sensorId,
        .storedType = sensorId,
        .base = codes::ssp,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = recordLayout.size,
        .nullHandle = codes::ssp + Offset::nullHandle,
        .testsSensor = true,
        .statusWriteFailure = Offset::write,
        .flushFailure = Offset::write,
        .streamErrorLog = "There is an error in the SSP file stream before closing %d\n",
        .segmentOpen = {.fixedCode = codes::ssp + Offset::openFile,
                        .onWriting = codes::ssp + Offset::writeSegments},
    };

    static bool setReferences(_TELD_Sensor& sensor, const Record& record) {
        return setReferenceTime(sensor, record.time);
    }
    static void widenExtents(_TELD_Sensor& sensor, const Record& record) {
        widenTime(sensor, record.time);
        widenExtent(sensor, 0, record.value1);
    }
};
constexpr const Family& family = SspTraits::family;

// The keys of the observed depths are meant.
constexpr struct {
    int code;
    const char* key;
} readFailures[] = {
    {family.code(Offset::wrongSensor), "errorMessages/SKARio/ObservedDepths/incorrectSensorID"},
    {family.code(Offset::wrongAccess), "errorMessages/SKARio/ObservedDepths/invalidAccessType"},
    {codes::failed, "errorMessages/SKARio/ObservedDepths/internalReadStructInvalid"},
    {family.code(Offset::read), "errorMessages/SKARio/ObservedDepths/freadProfileFailed"},
    {family.code(Offset::decode), "errorMessages/SKARio/ObservedDepths/XDR decode failed"},
};

[[noreturn]] void throwReadError(const _TELD_Sensor& sensor, int code) {
    const int error = errno;
    const char* key = "";
    for (const auto& each : readFailures)
        if (each.code == code) key = each.key;
    auto thrown = errors::failure<SKAR::IO::SSP::ReadError>(code, key);
    if (code == family.code(Offset::wrongSensor))
        thrown << SKAR::tag_sensor_id(static_cast<int>(sensor.sensorType));
    if (code == family.code(Offset::wrongAccess))
        thrown << SKAR::tag_access_id_type(static_cast<int>(sensor.accessType));
    if (code == family.code(Offset::read)) thrown << SKAR::stdio_error_info(error);
    BOOST_THROW_EXCEPTION(thrown);
}

int handOut(const Record& record, double* time, double* value1, double* value2, std::uint32_t* status) {
    *time = record.time;
    *value1 = record.value1;
    *value2 = record.value2;
    *status = record.status;
    return codes::success;
}

} // namespace

FormatTables sspFormat() {
    static constexpr FormatTable tables[] = {
        {"SSP summary", pagesOf<summaryLayout, Handle>},
        {"SSP record", pagesOf<recordLayout, Record>},
        {"SSP segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;
using SKAR::IO::SSP::Record;

std::ostream& SKAR::IO::SSP::operator<<(std::ostream& stream, const Record& record) {
    return stream << record.time << ", " << record.value1 << ", " << record.value2 << ", " << record.status;
}

void SKAR::IO::SSP::ReadNext(_TELD_Sensor& sensor, Record& record) {
    errno = 0;
    Record next;
    if (const int code = readInOrder<SspTraits>(&sensor, true, next)) throwReadError(sensor, code);
    record = next;
}

_TELD_Sensor* SspOpenDir(const wchar_t* linePath, const wchar_t* accessToken, std::uint32_t* code) {
    return openFlat<SspTraits>(linePath, sensorId, accessToken, code, [](_TELD_Sensor&) { return true; });
}

int SspClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int SspSummary(_TELD_Sensor* sensor, std::uint32_t* numLineSegments, std::uint32_t* numRecords,
               double* minTime, double* maxTime, double* minValue1, double* maxValue1,
               std::uint32_t* summaryStatus) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    give(numLineSegments, sensor->numLineSegments);
    give(numRecords, sensor->numRecords);
    give(minTime, sensor->minTime);
    give(maxTime, sensor->maxTime);
    give(minValue1, sensor->min[0]);
    give(maxValue1, sensor->max[0]);
    give(summaryStatus, sensor->summaryStatus);
    return codes::success;
}

int SspLineSegment(_TELD_Sensor* sensor, std::uint32_t segmentNumber, wchar_t** sourceFileName,
                   std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime, double* maxTime,
                   double* minValue1, double* maxValue1, std::uint32_t* status) {
    if (const int code = checkHandle(family, sensor, "LineSegment", inAny)) return code;
    if (!(beginIndex && endIndex && minTime && maxTime && minValue1 && maxValue1)) return codes::failed;
    const _TELD_LineSegment* segment = nullptr;
    if (const int code =
            getSegment(family, sensor, segmentNumber, sourceFileName, beginIndex, endIndex, status, segment))
        return code;
    *minTime = segment->minTime;
    *maxTime = segment->maxTime;
    *minValue1 = segment->min[0];
    *maxValue1 = segment->max[0];
    return codes::success;
}

int SspRead(_TELD_Sensor* sensor, std::uint32_t recordNumber, double* time, double* value1, double* value2,
            std::uint32_t* status) {
    Record record;
    if (const int code =
            readRecord<SspTraits>(sensor, recordNumber, time && value1 && value2 && status, record))
        return code;
    return handOut(record, time, value1, value2, status);
}

int SspReadSeq(_TELD_Sensor* sensor, double* time, double* value1, double* value2, std::uint32_t* status) {
    Record record;
    if (const int code = readInOrder<SspTraits>(sensor, time && value1 && value2 && status, record))
        return code;
    return handOut(record, time, value1, value2, status);
}

int SspBgnSeqWriteSummary(_TELD_Sensor* sensor) {
    return beginSummary(family, sensor);
}

int SspBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int SspSeqWrite(_TELD_Sensor* sensor, double time, double value1, double value2, std::uint32_t status) {
    Record record;
    record.time = time;
    record.value1 = value1;
    record.value2 = value2;
    record.status = status;
    return writeRecord<SspTraits>(sensor, record);
}

int SspEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int SspEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSummary(family, sensor, status);
}

int SspSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int SspSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int SspSetRecordStatus(_TELD_Sensor* sensor, std::uint32_t record, std::uint32_t status) {
    return setRecordStatus(family, sensor, record, status);
}

int SspSaveStatusToDisk(_TELD_Sensor* sensor) {
    return saveStatus(family, sensor);
}
