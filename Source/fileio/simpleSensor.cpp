#include "fileio/flatrecords.h"
#include "fileio/formats.h"

#include <skar/errors.h>
#include <skar/simplesensor.h>

#include <ostream>

// Series of time, value and status. One implementation serves all sensors; what tells them apart is the list
// in the header.
namespace skar::fileio {

namespace {

using Record = SKAR::IO::SimpleSensor::Record;

// The value by the coding that the handle was opened with.
struct Value {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "value * 1000, saturating beyond +-2e6, or * 1e7 (fine); rounded";
    static bool encode(const Scale& scale, double value, std::uint32_t& word) noexcept {
        if (scale.encodeValue == encodeFine) return TELD_EncodeRadians(value, word);
        if (scale.encodeValue == encodeMillis) return TELD_EncodeMeters(value, word);
        word = static_cast<std::uint32_t>(scale.encodeValue(value));
        return true;
    }
    static double decode(const Scale& scale, std::uint32_t word) noexcept {
        const auto value = static_cast<std::int32_t>(word);
        if (scale.decodeValue == TELD_DecodeRadians) return TELD_DecodeRadians(value);
        if (scale.decodeValue == TELD_DecodeMeters) return TELD_DecodeMeters(value);
        return scale.decodeValue(value);
    }
};

constexpr auto recordLayout =
    layout<Record>(field<Unsigned>("status", &Record::status), field<Time>("encodedTime", &Record::time),
                   field<Value>("encodedValue", &Record::value));

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("status", &Handle::summaryStatus), field<Unsigned>("numRecords", &Handle::numRecords),
    field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime), element<Value>("minValue", &Handle::min, 0),
    element<Value>("maxValue", &Handle::max, 0));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout = layout<Segment>(
    field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime),
    element<Value>("minValue", &Segment::min, 0), element<Value>("maxValue", &Segment::max, 0));

// The foreign code that this family gives for its LineSegments file is meant.
constexpr int segmentsNotOpened = codes::pathRegistry;

struct SimpleSensorTraits {
    using Record = skar::fileio::Record;
    static constexpr auto& record = recordLayout;
    static constexpr std::size_t timeOffset = recordLayout.offsetOf("encodedTime");
    static constexpr Family family = {
        .name = "SimpleSensor",
        .sensorId = 0,
        .storedType = 0,
        .base = codes::simpleSensor,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = recordLayout.size,
        .nullHandle = codes::simpleSensorNull,
        .testsSensor = false,
        .structureBeforeAccess = true,
        .segmentOpen = {.fixedCode = segmentsNotOpened},
    };

    static bool setReferences(_TELD_Sensor& sensor, const Record& record) {
        return setReferenceTime(sensor, record.time);
    }
    static void widenExtents(_TELD_Sensor& sensor, const Record& record) {
        widenTime(sensor, record.time);
        widenExtent(sensor, 0, record.value);
    }
};
constexpr const Family& family = SimpleSensorTraits::family;

// By value coding.
constexpr struct {
    std::int32_t (*encode)(double);
    double (*decode)(std::int32_t);
} valueCodings[] = {{encodeMillis, TELD_DecodeMeters}, {encodeFine, TELD_DecodeRadians}};

// What the sequential reader holds to be true, in the order in which it does.
enum Condition : int {
    structureThere = 1,
    isQuery,
    wasRead,
    wasPositioned,
    statusDecoded,
    timeDecoded,
    valueDecoded
};
constexpr const char* conditionTexts[] = {
    "pReadStruct != NULL",
    "sensor.accessType == TELD_QUERY",
    "fread ((char *) &pReadStruct->sensorRecord, sizeof(SensorFileRecord), 1, sensor.dataFile) == 1",
    "qon_xdr_setpos (&(sensor.decodeXDRStream), 0)",
    "qon_xdr_u_int (&(sensor.decodeXDRStream), &record.status)",
    "qon_xdr_int (&(sensor.decodeXDRStream), &encodedTime)",
    "qon_xdr_int (&(sensor.decodeXDRStream), &encodedValue)",
};

// 0, or the condition that does not hold.
[[gnu::always_inline]] inline int tryNext(_TELD_Sensor& sensor, Record& record) {
    if (!sensor.pReadStruct) return structureThere;
    if (sensor.accessType != TELD_QUERY) return isQuery;
    const int code = nextRecord<SimpleSensorTraits>(sensor, record);
    if (code == codes::success) [[likely]]
        return codes::success;
    if (code == family.code(Offset::read)) return wasRead;
    const RecordSpan span = recordSpan(sensor.decodeXDRStream, XDR_DECODE);
    return span.bytes ? statusDecoded + static_cast<int>(span.size / wordSize) : wasPositioned;
}

[[noreturn]] void throwAssertion(int condition) {
    Morva::Exception::AssertionError failure;
    failure << Morva::Exception::errinfo_assertion_message(conditionTexts[condition - 1]);
    BOOST_THROW_EXCEPTION(failure);
}

} // namespace

FormatTables simpleSensorFormat() {
    static constexpr FormatTable tables[] = {
        {"Simple sensor summary", pagesOf<summaryLayout, Handle>},
        {"Simple sensor record", pagesOf<recordLayout, Record>},
        {"Simple sensor segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;
using SKAR::IO::SimpleSensor::Record;

std::ostream& SKAR::IO::SimpleSensor::operator<<(std::ostream& stream, const Record& record) {
    return stream << record.time << ", " << record.value << ", " << record.status;
}

void SKAR::IO::SimpleSensor::ReadNext(_TELD_Sensor& sensor, Record& record) {
    Record next;
    if (const int condition = tryNext(sensor, next)) throwAssertion(condition);
    record = next;
}

_TELD_Sensor* SimpleSensorOpen(const wchar_t* linePath, const wchar_t* accessToken, std::uint32_t sensorId,
                               std::uint32_t valueCoding, std::uint32_t* code) {
    return openFlat<SimpleSensorTraits>(linePath, sensorId, accessToken, code, [&](_TELD_Sensor& sensor) {
        if (valueCoding >= std::size(valueCodings)) return false;
        sensor.encodeValue = valueCodings[valueCoding].encode;
        sensor.decodeValue = valueCodings[valueCoding].decode;
        return true;
    });
}

int SimpleSensorClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int SimpleSensorSummary(_TELD_Sensor* sensor, std::uint32_t* numLineSegments, std::uint32_t* numRecords,
                        double* minTime, double* maxTime, double* minValue, double* maxValue,
                        std::uint32_t* status) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    give(numLineSegments, sensor->numLineSegments);
    give(numRecords, sensor->numRecords);
    give(minTime, sensor->minTime);
    give(maxTime, sensor->maxTime);
    give(minValue, sensor->min[0]);
    give(maxValue, sensor->max[0]);
    give(status, sensor->summaryStatus);
    return codes::success;
}

int SimpleSensorLineSegment(_TELD_Sensor* sensor, std::uint32_t segmentNumber, wchar_t** name,
                            std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime,
                            double* maxTime, double* minValue, double* maxValue, std::uint32_t* status) {
    const _TELD_LineSegment* segment = nullptr;
    if (const int code =
            getSegment(family, sensor, segmentNumber, name, beginIndex, endIndex, status, segment))
        return code;
    give(minTime, segment->minTime);
    give(maxTime, segment->maxTime);
    give(minValue, segment->min[0]);
    give(maxValue, segment->max[0]);
    return codes::success;
}

int SimpleSensorRead(_TELD_Sensor* sensor, std::uint32_t recordNumber, double* time, double* value,
                     std::uint32_t* status) {
    Record record;
    if (const int code = readRecord<SimpleSensorTraits>(sensor, recordNumber, status != nullptr, record))
        return code;
    give(time, record.time);
    give(value, record.value);
    *status = record.status;
    return codes::success;
}

int SimpleSensorReadSeq(_TELD_Sensor* sensor, double* time, double* value, std::uint32_t* status) {
    if (!sensor) return family.nullHandle;
    Record record;
    // The throwing reader's way, without the cost of an exception barrier on each record.
    if (const int condition = tryNext(*sensor, record)) [[unlikely]]
        return errors::translated([&] { throwAssertion(condition); });
    give(time, record.time);
    give(value, record.value);
    give(status, record.status);
    return codes::success;
}

int SimpleSensorBgnSeqWriteSummary(_TELD_Sensor* sensor) {
    return beginSummary(family, sensor);
}

int SimpleSensorBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int SimpleSensorSeqWrite(_TELD_Sensor* sensor, double time, double value, std::uint32_t status) {
    return writeRecord<SimpleSensorTraits>(sensor, {time, value, status});
}

int SimpleSensorEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int SimpleSensorEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSummary(family, sensor, status);
}

int SimpleSensorSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int SimpleSensorSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segmentNumber,
                                     std::uint32_t status) {
    return setSegmentStatus(family, sensor, segmentNumber, status);
}

int SimpleSensorSetRecordStatus(_TELD_Sensor* sensor, std::uint32_t recordNumber, std::uint32_t status) {
    return setRecordStatus(family, sensor, recordNumber, status);
}

int SimpleSensorSaveStatusToDisk(_TELD_Sensor* sensor) {
    return saveStatus(family, sensor);
}

// The exported families are these functions with the sensor's own row of the list.
#define SKAR_FORWARD_FAMILY(Family, id, coding)                                                              \
    _TELD_Sensor* Family##OpenDir(const wchar_t* linePath, const wchar_t* accessToken,                       \
                                  std::uint32_t* code) {                                                     \
        return SimpleSensorOpen(linePath, accessToken, id, coding, code);                                    \
    }                                                                                                        \
    int Family##Close(_TELD_Sensor* sensor) {                                                                \
        return SimpleSensorClose(sensor);                                                                    \
    }                                                                                                        \
    int Family##Summary(_TELD_Sensor* sensor, std::uint32_t* numLineSegments, std::uint32_t* numRecords,     \
                        double* minTime, double* maxTime, double* minValue, double* maxValue,                \
                        std::uint32_t* status) {                                                             \
        return SimpleSensorSummary(sensor, numLineSegments, numRecords, minTime, maxTime, minValue,          \
                                   maxValue, status);                                                        \
    }                                                                                                        \
    int Family##LineSegment(_TELD_Sensor* sensor, std::uint32_t segmentNumber, wchar_t** name,               \
                            std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime,             \
                            double* maxTime, double* minValue, double* maxValue, std::uint32_t* status) {    \
        return SimpleSensorLineSegment(sensor, segmentNumber, name, beginIndex, endIndex, minTime, maxTime,  \
                                       minValue, maxValue, status);                                          \
    }                                                                                                        \
    int Family##Read(_TELD_Sensor* sensor, std::uint32_t recordNumber, double* time, double* value,          \
                     std::uint32_t* status) {                                                                \
        return SimpleSensorRead(sensor, recordNumber, time, value, status);                                  \
    }                                                                                                        \
    int Family##ReadSeq(_TELD_Sensor* sensor, double* time, double* value, std::uint32_t* status) {          \
        return SimpleSensorReadSeq(sensor, time, value, status);                                             \
    }                                                                                                        \
    int Family##BgnSeqWriteSummary(_TELD_Sensor* sensor) {                                                   \
        return SimpleSensorBgnSeqWriteSummary(sensor);                                                       \
    }                                                                                                        \
    int Family##BgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {                \
        return SimpleSensorBgnSeqWriteLineSegment(sensor, sourceFileName);                                   \
    }                                                                                                        \
    int Family##SeqWrite(_TELD_Sensor* sensor, double time, double value, std::uint32_t status) {            \
        return SimpleSensorSeqWrite(sensor, time, value, status);                                            \
    }                                                                                                        \
    int Family##EndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {                         \
        return SimpleSensorEndSeqWriteLineSegment(sensor, status);                                           \
    }                                                                                                        \
    int Family##EndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {                             \
        return SimpleSensorEndSeqWriteSummary(sensor, status);                                               \
    }                                                                                                        \
    int Family##SetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {                               \
        return SimpleSensorSetSummaryStatus(sensor, status);                                                 \
    }                                                                                                        \
    int Family##SetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segmentNumber,                      \
                                     std::uint32_t status) {                                                 \
        return SimpleSensorSetLineSegmentStatus(sensor, segmentNumber, status);                              \
    }                                                                                                        \
    int Family##SetRecordStatus(_TELD_Sensor* sensor, std::uint32_t recordNumber, std::uint32_t status) {    \
        return SimpleSensorSetRecordStatus(sensor, recordNumber, status);                                    \
    }                                                                                                        \
    int Family##SaveStatusToDisk(_TELD_Sensor* sensor) {                                                     \
        return SimpleSensorSaveStatusToDisk(sensor);                                                         \
    }
#define SKAR_FORWARD_REMOVER(Family, id)                                                                     \
    int Family##RemoveDir(const wchar_t* linePath) {                                                         \
        return SensorRemoveDir(linePath, L## #Family);                                                       \
    }

SKAR_SIMPLE_SENSORS(SKAR_FORWARD_FAMILY)
SKAR_SIMPLE_SENSORS_WITH_REMOVER(SKAR_FORWARD_REMOVER)
