#include "fileio/flatrecords.h"
#include "fileio/formats.h"
#include "fileio/setnames.h"

#include <skar/errors.h>
#include <skar/navigation.h>

#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <new>
#include <ostream>
#include <string>

// Tracks. The ship's and the towfish's differ in what the table below says; the reprocessed track is a ship's
// one under another file name.
namespace skar::fileio {

namespace {

using Record = SKAR::IO::Navigation::Record;
constexpr auto recordLayout =
    layout<Record>(field<Unsigned>("status", &Record::status), field<Time>("encodedTime", &Record::time),
                   field<Latitude>("encodedLatitude", &Record::latitude),
                   field<Longitude>("encodedLongitude", &Record::longitude),
                   field<Meters>("encodedAuxiliary", &Record::auxiliaryValue));

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("status", &Handle::summaryStatus, "NavigationReadSummary(): unable to decode status \n"),
    field<Unsigned>("numberOfDataSamples", &Handle::numRecords,
                    "NavigationReadSummary(): unable to decode number of data samples \n"),
    field<Signed>("clockAccuracy", &Handle::clockAccuracy,
                  "NavigationReadSummary(): unable to decode clock accuracy \n"),
    field<Signed>("referenceTime", &Handle::referenceTime,
                  "NavigationReadSummary(): unable to decode reference time \n"),
    field<Time>("minTime", &Handle::minTime, "NavigationReadSummary(): unable to decode min time \n"),
    field<Time>("maxTime", &Handle::maxTime, "NavigationReadSummary(): unable to decode max time\n"),
    field<Unsigned>("coordinateType", &Handle::summaryExtra,
                    "NavigationReadSummary(): unable to decode coordinate type\n"),
    field<Signed>("positionScale", &Handle::positionScale,
                  "NavigationReadSummary(): unable to decode position scale \n"),
    field<Signed>("referenceLatitude", &Handle::referenceLatitude,
                  "NavigationReadSummary(): unable to decode reference latitude \n"),
    element<Latitude>("minLat", &Handle::min, 0, "NavigationReadSummary(): unable to decode min lat \n"),
    element<Latitude>("maxLat", &Handle::max, 0, "NavigationReadSummary(): unable to decode max lat \n"),
    field<Signed>("referenceLongitude", &Handle::referenceLongitude,
                  "NavigationReadSummary(): unable to decode reference longitude\n"),
    element<Longitude>("minLong", &Handle::min, 1, "NavigationReadSummary(): unable to decode min long \n"),
    element<Longitude>("maxLong", &Handle::max, 1, "NavigationReadSummary(): unable to decode max long\n"));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout = layout<Segment>(
    field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime),
    element<Latitude>("minLat", &Segment::min, 0), element<Latitude>("maxLat", &Segment::max, 0),
    element<Longitude>("minLong", &Segment::min, 1), element<Longitude>("maxLong", &Segment::max, 1));

constexpr std::uint32_t shipTrack = 3;
constexpr std::uint32_t towfishTrack = 12;
constexpr std::uint32_t reprocessedTrack = 76;

constexpr Family navigationFamily(const char* name, std::uint32_t id, const char* streamErrorLog,
                                  const char* endSegmentLogName) {
    return {
        .name = name,
        .sensorId = id,
        .storedType = id,
        .base = codes::navigation,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = recordLayout.size,
        .nullHandle = codes::navigation + Offset::nullHandle,
        .testsSensor = true,
        .logsWrongSensor = true,
        .positioning = Positioning::everyRead,
        .wrongSensorOnSave = codes::navigation + Offset::nullHandle,
        .streamErrorLog = streamErrorLog,
        .endSegmentLogName = endSegmentLogName,
        .segmentOpen = {.onWriting = codes::navigation + Offset::writeSegments,
                        .firstOfTable = codes::navigation + Offset::openNotFound,
                        .otherCode = codes::navigation + Offset::openFile,
                        .logsOther = false},
        .summaryLog = {"NavigationReadSummary(): could not validate header \n",
                       "NavigationReadSummary(): unable to decode header \n"},
        .shadowLog = {"NavigationReadStatusShadow(): unable to allocate navigation sensor \n",
                      "NavigationReadStatusShadow(): could not map time to index\n",
                      "NavigationReadStatusShadow(): fseek() failed\n",
                      "NavigationReadStatusShadow(): fread() failed\n",
                      "NavigationReadStatusShadow(): initialization failed \n"},
    };
}

struct TrackTraits {
    using Record = skar::fileio::Record;
    static constexpr auto& record = recordLayout;
    static constexpr std::size_t timeOffset = recordLayout.offsetOf("encodedTime");

    static bool setReferences(_TELD_Sensor& sensor, const Record& record) {
        std::uint32_t minutes = 0;
        std::uint32_t latitude = 0;
        std::uint32_t longitude = 0;
        const bool coded = TELD_EncodeRefTime(record.time, minutes) &&
                           TELD_EncodeRefPosition(record.latitude, latitude) &&
                           TELD_EncodeRefPosition(record.longitude, longitude);
        sensor.referenceTime = static_cast<std::int32_t>(minutes);
        sensor.referenceLatitude = static_cast<std::int32_t>(latitude);
        sensor.referenceLongitude = static_cast<std::int32_t>(longitude);
        return coded;
    }
    static void widenExtents(_TELD_Sensor& sensor, const Record& record) {
        widenTime(sensor, record.time);
        widenExtent(sensor, 0, record.latitude);
        widenExtent(sensor, 1, record.longitude);
    }
};

struct NavigationTraits : TrackTraits {
    static constexpr Family family = navigationFamily(
        "Navigation", shipTrack, "There is an error in the Navigation file stream before closing %d\n",
        "EndWriteLineSegment");
};
struct SSSNavigationTraits : TrackTraits {
    static constexpr Family family = navigationFamily(
        "SSSNavigation", towfishTrack,
        "There is an error in the SSSNavigation file stream before closing %d\n", "EndSeqWriteLineSegment");
};

template <class Traits>
_TELD_Sensor* open(const wchar_t* linePath, const wchar_t* accessToken, std::uint32_t id,
                   std::uint32_t* code) {
    return openFlat<Traits>(linePath, id, accessToken, code, [](_TELD_Sensor& sensor) {
        sensor.summaryExtra = 1;
        return true;
    });
}

int summary(const Family& family, _TELD_Sensor* sensor, std::uint32_t* numLineSegments,
            std::uint32_t* numRecords, std::uint32_t* coordinateType, double* minTime, double* maxTime,
            double* minLat, double* maxLat, double* minLong, double* maxLong, std::uint32_t* status) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    give(numLineSegments, sensor->numLineSegments);
    give(numRecords, sensor->numRecords);
    give(coordinateType, sensor->summaryExtra);
    give(minTime, sensor->minTime);
    give(maxTime, sensor->maxTime);
    give(minLat, sensor->min[0]);
    give(maxLat, sensor->max[0]);
    give(minLong, sensor->min[1]);
    give(maxLong, sensor->max[1]);
    give(status, sensor->summaryStatus);
    return codes::success;
}

int lineSegment(const Family& family, _TELD_Sensor* sensor, std::uint32_t number, wchar_t** name,
                std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime, double* maxTime,
                double* minLat, double* maxLat, double* minLong, double* maxLong, std::uint32_t* status) {
    const _TELD_LineSegment* segment = nullptr;
    if (const int code = getSegment(family, sensor, number, name, beginIndex, endIndex, status, segment))
        return code;
    give(minTime, segment->minTime);
    give(maxTime, segment->maxTime);
    give(minLat, segment->min[0]);
    give(maxLat, segment->max[0]);
    give(minLong, segment->min[1]);
    give(maxLong, segment->max[1]);
    return codes::success;
}

int handOut(const Record& record, double* time, double* latitude, double* longitude, double* auxiliary,
            std::uint32_t* status) {
    *time = record.time;
    *latitude = record.latitude;
    *longitude = record.longitude;
    *auxiliary = record.auxiliaryValue;
    *status = record.status;
    return codes::success;
}

template <class Traits>
int read(_TELD_Sensor* sensor, std::uint32_t number, double* time, double* latitude, double* longitude,
         double* auxiliary, std::uint32_t* status) {
    const bool outputsGiven = time && latitude && longitude && auxiliary && status;
    Record record;
    if (const int code = readRecord<Traits>(sensor, number, outputsGiven, record)) return code;
    return handOut(record, time, latitude, longitude, auxiliary, status);
}

template <class Traits>
int readSeq(_TELD_Sensor* sensor, double* time, double* latitude, double* longitude, double* auxiliary,
            std::uint32_t* status) {
    const bool outputsGiven = time && latitude && longitude && auxiliary && status;
    Record record;
    if (const int code = readInOrder<Traits>(sensor, outputsGiven, record)) return code;
    return handOut(record, time, latitude, longitude, auxiliary, status);
}

int beginTrackSummary(const Family& family, _TELD_Sensor* sensor, std::uint32_t coordinateType) {
    if (const int code = beginSummary(family, sensor)) return code;
    sensor->summaryExtra = coordinateType;
    return codes::success;
}

int removeTrack(const wchar_t* linePath, const wchar_t* fileName) try {
    if (!linePath) return codes::failed;
    removeFiles(linePath, fileName, L"");
    return codes::success;
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

// The codes of the observed depths are meant.
int renameSource(const Family& family, _TELD_Sensor* sensor, const wchar_t* name) {
    return setSourceFileName(family, sensor, name, codes::observedDepths, Offset::openNoSpace);
}

} // namespace

FormatTables navigationFormat() {
    static constexpr FormatTable tables[] = {
        {"Navigation summary", pagesOf<summaryLayout, Handle>},
        {"Navigation record", pagesOf<recordLayout, Record>},
        {"Navigation segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;
using SKAR::IO::Navigation::Record;

std::ostream& SKAR::IO::Navigation::operator<<(std::ostream& stream, const Record& record) {
    return stream << record.time << ", " << record.latitude << ", " << record.longitude << ", "
                  << record.auxiliaryValue << ", " << record.status;
}

void SKAR::IO::Navigation::ReadNext(_TELD_Sensor& sensor, Record& record) {
    using errors::failure;
    if (sensor.sensorType != shipTrack && sensor.sensorType != towfishTrack)
        BOOST_THROW_EXCEPTION(failure<ReadError>("errorMessages/SKARio/Navigation/incorrectSensorID",
                                                 tag_sensor_id(static_cast<int>(sensor.sensorType))));
    if (sensor.accessType != TELD_QUERY)
        BOOST_THROW_EXCEPTION(failure<ReadError>("errorMessages/SKARio/Navigation/invalidAccessType",
                                                 tag_access_id_type(static_cast<int>(sensor.accessType))));
    if (!sensor.pReadStruct)
        BOOST_THROW_EXCEPTION(
            failure<ReadError>("errorMessages/SKARio/Navigation/internalReadStructInvalid"));
    errno = 0;
    Record next;
    const int code = nextRecord<NavigationTraits>(sensor, next);
    if (code == NavigationTraits::family.code(Offset::read))
        BOOST_THROW_EXCEPTION(failure<ReadError>("errorMessages/SKARio/Navigation/freadProfileFailed",
                                                 stdio_error_info(errno)));
    if (code != codes::success) {
        ReadError undecoded;
        undecoded << bathy::error::BathyException::tag_error_code(code);
        BOOST_THROW_EXCEPTION(undecoded);
    }
    record = next;
}

#define SKAR_NAVIGATION(Family)                                                                              \
    int Family##Close(_TELD_Sensor* sensor) {                                                                \
        return closeSensor(Family##Traits::family, sensor);                                                  \
    }                                                                                                        \
    int Family##Summary(_TELD_Sensor* sensor, std::uint32_t* numLineSegments, std::uint32_t* numRecords,     \
                        std::uint32_t* coordinateType, double* minTime, double* maxTime, double* minLat,     \
                        double* maxLat, double* minLong, double* maxLong, std::uint32_t* status) {           \
        return summary(Family##Traits::family, sensor, numLineSegments, numRecords, coordinateType, minTime, \
                       maxTime, minLat, maxLat, minLong, maxLong, status);                                   \
    }                                                                                                        \
    int Family##LineSegment(_TELD_Sensor* sensor, std::uint32_t segmentNumber, wchar_t** name,               \
                            std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime,             \
                            double* maxTime, double* minLat, double* maxLat, double* minLong,                \
                            double* maxLong, std::uint32_t* status) {                                        \
        return lineSegment(Family##Traits::family, sensor, segmentNumber, name, beginIndex, endIndex,        \
                           minTime, maxTime, minLat, maxLat, minLong, maxLong, status);                      \
    }                                                                                                        \
    int Family##Read(_TELD_Sensor* sensor, std::uint32_t recordNumber, double* time, double* latitude,       \
                     double* longitude, double* auxiliary, std::uint32_t* status) {                          \
        return read<Family##Traits>(sensor, recordNumber, time, latitude, longitude, auxiliary, status);     \
    }                                                                                                        \
    int Family##ReadSeq(_TELD_Sensor* sensor, double* time, double* latitude, double* longitude,             \
                        double* auxiliary, std::uint32_t* status) {                                          \
        return readSeq<Family##Traits>(sensor, time, latitude, longitude, auxiliary, status);                \
    }                                                                                                        \
    int Family##BgnSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t coordinateType) {                     \
        return beginTrackSummary(Family##Traits::family, sensor, coordinateType);                            \
    }                                                                                                        \
    int Family##BgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {                \
        return beginSegment(Family##Traits::family, sensor, sourceFileName);                                 \
    }                                                                                                        \
    int Family##SeqWrite(_TELD_Sensor* sensor, double time, double latitude, double longitude,               \
                         double auxiliary, std::uint32_t status) {                                           \
        Record record;                                                                                       \
        record.time = time;                                                                                  \
        record.latitude = latitude;                                                                          \
        record.longitude = longitude;                                                                        \
        record.auxiliaryValue = auxiliary;                                                                   \
        record.status = status;                                                                              \
        return writeRecord<Family##Traits>(sensor, record);                                                  \
    }                                                                                                        \
    int Family##EndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {                         \
        return endSegment(Family##Traits::family, sensor, status);                                           \
    }                                                                                                        \
    int Family##EndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {                             \
        return endSummary(Family##Traits::family, sensor, status);                                           \
    }                                                                                                        \
    int Family##SetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {                               \
        return setSummaryStatus(Family##Traits::family, sensor, status);                                     \
    }                                                                                                        \
    int Family##SetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segmentNumber,                      \
                                     std::uint32_t status) {                                                 \
        return setSegmentStatus(Family##Traits::family, sensor, segmentNumber, status);                      \
    }                                                                                                        \
    int Family##GetRecordStatus(_TELD_Sensor* sensor, std::uint32_t recordNumber, std::uint32_t* status) {   \
        return getRecordStatus(Family##Traits::family, sensor, recordNumber, status);                        \
    }                                                                                                        \
    int Family##SetRecordStatus(_TELD_Sensor* sensor, std::uint32_t recordNumber, std::uint32_t status) {    \
        return setRecordStatus(Family##Traits::family, sensor, recordNumber, status);                        \
    }                                                                                                        \
    int Family##SaveStatusToDisk(_TELD_Sensor* sensor) {                                                     \
        return saveStatus(Family##Traits::family, sensor);                                                   \
    }                                                                                                        \
    int Family##SetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name) {                               \
        return renameSource(Family##Traits::family, sensor, name);                                           \
    }                                                                                                        \
    int Family##RemoveDir(const wchar_t* linePath) {                                                         \
        return removeTrack(linePath, L## #Family);                                                           \
    }                                                                                                        \
    _TELD_Sensor* Family##OpenDir(const wchar_t* linePath, const wchar_t* accessToken,                       \
                                  std::uint32_t* code) {                                                     \
        return open<Family##Traits>(linePath, accessToken, Family##Traits::family.sensorId, code);           \
    }

SKAR_NAVIGATION(Navigation)
SKAR_NAVIGATION(SSSNavigation)

_TELD_Sensor* NavigationNewOpenDir(const wchar_t* linePath, const wchar_t* accessToken, std::uint32_t* code) {
    return open<NavigationTraits>(linePath, accessToken, reprocessedTrack, code);
}

int NavigationNewRestoreBackupDir(const wchar_t* linePath) {
    if (!linePath) return codes::failed;
    NavigationRemoveDir(linePath);
    if (!renameFiles(linePath, L"NavigationNew", L"", L"Navigation", L"")) {
        SKAR::NavigationIOError failure;
        failure << bathy::error::BathyException::tag_error_code(codes::navigation + Offset::rename)
                << SKAR::stdio_error_info(errno) << SKAR::line_name_info(MORVAUString(linePath));
        BOOST_THROW_EXCEPTION(failure);
    }
    return codes::success;
}
