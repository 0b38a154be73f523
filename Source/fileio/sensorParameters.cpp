#include "fileio/flatrecords.h"
#include "fileio/formats.h"

#include <skar/sensorparameters.h>

#include <algorithm>

// The settings of a sonar. The frame sees the two words that every record begins with; the parameters behind
// them stay in the handle's buffer until they are asked for.
namespace skar::fileio {

namespace {

struct Head {
    std::uint32_t status = 0;
    double time = 0.0;
};

constexpr auto headLayout =
    layout<Head>(field<Unsigned>("status", &Head::status), field<Time>("time", &Head::time));

struct Reson8100 {
    std::uint32_t param1, param2, param3, param4, param5;
    double param6;
    std::uint32_t param7, param8, param9, param10, param11, param12, param13, param14, param15;
    double param16, param17;
    std::uint32_t param18, param19;
    double param20, param21, param22, param23;
    std::uint32_t param24, param25;
};

struct Cents {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "value * 100, cut";
    static bool encode(const Scale&, double value, std::uint32_t& word) noexcept {
        return lowWord(value * 100.0, word);
    }
    static double decode(const Scale&, std::uint32_t word) noexcept {
        return static_cast<std::int32_t>(word) / 100.0;
    }
};

using P = Reson8100;
// param3 has two words; on reading the later one holds.
constexpr auto parametersLayout =
    layout<P>(field<Unsigned>("param1", &P::param1), field<Unsigned>("param2", &P::param2),
              field<Unsigned>("param3", &P::param3), field<Unsigned>("param4", &P::param4),
              field<Unsigned>("param5", &P::param5), field<Unsigned>("param3 again", &P::param3),
              field<Cents>("param6", &P::param6), field<Unsigned>("param7", &P::param7),
              field<Unsigned>("param8", &P::param8), field<Unsigned>("param9", &P::param9),
              field<Unsigned>("param10", &P::param10), field<Unsigned>("param11", &P::param11),
              field<Unsigned>("param12", &P::param12), field<Unsigned>("param13", &P::param13),
              field<Unsigned>("param14", &P::param14), field<Unsigned>("param15", &P::param15),
              field<Cents>("param16", &P::param16), field<Cents>("param17", &P::param17),
              field<Unsigned>("param18", &P::param18), field<Unsigned>("param19", &P::param19),
              field<Cents>("param20", &P::param20), field<Cents>("param21", &P::param21),
              field<Cents>("param22", &P::param22), field<Cents>("param23", &P::param23),
              field<Unsigned>("param24", &P::param24), field<Unsigned>("param25", &P::param25));

constexpr std::size_t spareSize = wordSize; // ends the record; zero

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("summaryStatus", &Handle::summaryStatus),
    field<Unsigned>("sonarType", &Handle::sonarType), field<Unsigned>("sonarVersion", &Handle::sonarVersion),
    field<Unsigned>("numRecords", &Handle::numRecords),
    field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout =
    layout<Segment>(field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime));

constexpr std::uint32_t sensorId = 57;
constexpr std::uint32_t reson8100 = 1;

struct SensorParametersTraits {
    using Record = Head;
    static constexpr auto& record = headLayout;
    static constexpr std::size_t timeOffset = headLayout.offsetOf("time");
    static constexpr Family family = {
        .name = "SensorParameters",
        .sensorId = sensorId,
        .storedType = sensorId,
        .base = codes::sensorParameters,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = headLayout.size + parametersLayout.size + spareSize,
        .nullHandle = codes::sensorParameters + Offset::nullHandle,
        .testsSensor = true,
        .structureBeforeAccess = true,
        .keepsStatusShadow = false,
        .positioning = Positioning::unlessRepeated,
        .lastRecordAtOpen = -1,
        .wrongSensorOnSave = codes::sensorParameters + Offset::writeSummary,
        .wrongSensorOnClose = codes::sensorParameters + Offset::writeSummary,
        .statusWriteFailure = Offset::write,
        .streamErrorLog = "There is an error in the SensorParameters file stream before closing %d\n",
        .segmentOpen = {.fixedCode = codes::sensorParameters + Offset::openFile,
                        .onWriting = codes::sensorParameters + Offset::writeSegments},
    };

    static bool setReferences(_TELD_Sensor& sensor, const Head& head) {
        return setReferenceTime(sensor, head.time);
    }
    static void widenExtents(_TELD_Sensor& sensor, const Head& head) { widenTime(sensor, head.time); }
    static bool isStored(const _TELD_Sensor& sensor) {
        return sensor.sonarType == reson8100 && sensor.sonarVersion == 1;
    }
};
constexpr const Family& family = SensorParametersTraits::family;
static_assert(family.recordSize == 116);

int handOut(const _TELD_Sensor& sensor, const Head& head, double* time, std::uint32_t* status) {
    if (SensorParametersTraits::isStored(sensor)) {
        *time = head.time;
        *status = head.status;
    }
    return codes::success;
}

template <class... Outputs>
bool allGiven(const Outputs*... outputs) {
    return (outputs && ...);
}

} // namespace

FormatTables sensorParametersFormat() {
    static constexpr FormatTable tables[] = {
        {"Sensor parameters summary", pagesOf<summaryLayout, Handle>},
        {"Sensor parameters record head", pagesOf<headLayout, Head>},
        {"Sensor parameters, Reson 8100", pagesOf<parametersLayout, P>},
        {"Sensor parameters segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

_TELD_Sensor* SensorParametersOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                      std::uint32_t sonarType, std::uint32_t* code) {
    _TELD_Sensor* sensor =
        openFlat<SensorParametersTraits>(linePath, sensorId, accessToken, code, [&](_TELD_Sensor& made) {
            if (made.accessType == TELD_CREATE) {
                made.sonarType = sonarType;
                if (sonarType == reson8100) made.sonarVersion = 1;
            }
            return true;
        });
    // Records without a layout have nothing to code.
    if (sensor && !SensorParametersTraits::isStored(*sensor)) {
        qon_xdr_destroy(&sensor->encodeXDRStream);
        qon_xdr_destroy(&sensor->decodeXDRStream);
    }
    return sensor;
}

int SensorParametersClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int SensorParametersSummary(_TELD_Sensor* sensor, std::uint32_t* sonarType, std::uint32_t* sonarVersion,
                            std::uint32_t* numLineSegments, std::uint32_t* numRecords, double* minTime,
                            double* maxTime, std::uint32_t* summaryStatus) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    if (!allGiven(sonarType, sonarVersion, numLineSegments, numRecords, minTime, maxTime, summaryStatus))
        return codes::failed;
    *sonarType = sensor->sonarType;
    *sonarVersion = sensor->sonarVersion;
    *numLineSegments = sensor->numLineSegments;
    *numRecords = sensor->numRecords;
    *minTime = sensor->minTime;
    *maxTime = sensor->maxTime;
    *summaryStatus = sensor->summaryStatus;
    return codes::success;
}

int SensorParametersLineSegment(_TELD_Sensor* sensor, std::uint32_t segmentNumber, wchar_t** sourceFileName,
                                std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime,
                                double* maxTime, std::uint32_t* status) {
    const _TELD_LineSegment* segment = nullptr;
    if (const int code =
            getSegment(family, sensor, segmentNumber, sourceFileName, beginIndex, endIndex, status, segment))
        return code;
    give(minTime, segment->minTime);
    give(maxTime, segment->maxTime);
    return codes::success;
}

int SensorParametersRead(_TELD_Sensor* sensor, std::uint32_t record, double* time, std::uint32_t* status) {
    Head head;
    if (const int code = readRecord<SensorParametersTraits>(sensor, record, time && status, head))
        return code;
    return handOut(*sensor, head, time, status);
}

int SensorParametersReadSeq(_TELD_Sensor* sensor, double* time, std::uint32_t* status) {
    Head head;
    if (const int code = readInOrder<SensorParametersTraits>(sensor, time && status, head)) return code;
    return handOut(*sensor, head, time, status);
}

int SensorParametersDecodeReson8100_V1(_TELD_Sensor* sensor, double* time, std::uint32_t* status,
                                       std::uint32_t* param1, std::uint32_t* param2, std::uint32_t* param3,
                                       std::uint32_t* param4, std::uint32_t* param5, double* param6,
                                       std::uint32_t* param7, std::uint32_t* param8, std::uint32_t* param9,
                                       std::uint32_t* param10, std::uint32_t* param11, std::uint32_t* param12,
                                       std::uint32_t* param13, std::uint32_t* param14, std::uint32_t* param15,
                                       double* param16, double* param17, std::uint32_t* param18,
                                       std::uint32_t* param19, double* param20, double* param21,
                                       double* param22, double* param23, std::uint32_t* param24,
                                       std::uint32_t* param25) {
    if (const int code = checkHandle(family, sensor, "Decode", inAny, Structure::needed)) return code;
    if (!allGiven(time, status, param1, param2, param3, param4, param5, param6, param7, param8, param9,
                  param10, param11, param12, param13, param14, param15, param16, param17, param18, param19,
                  param20, param21, param22, param23, param24, param25))
        return codes::failed;
    const RecordSpan span = recordSpan(sensor->decodeXDRStream, XDR_DECODE);
    if (span.size < family.recordSize) return family.code(Offset::decode);
    Head head;
    headLayout.decode(*sensor, span.bytes, head);
    Reson8100 settings;
    parametersLayout.decode(*sensor, span.bytes + headLayout.size, settings);
    *time = head.time;
    *status = head.status;
    *param1 = settings.param1;
    *param2 = settings.param2;
    *param3 = settings.param3;
    *param4 = settings.param4;
    *param5 = settings.param5;
    *param6 = settings.param6;
    *param7 = settings.param7;
    *param8 = settings.param8;
    *param9 = settings.param9;
    *param10 = settings.param10;
    *param11 = settings.param11;
    *param12 = settings.param12;
    *param13 = settings.param13;
    *param14 = settings.param14;
    *param15 = settings.param15;
    *param16 = settings.param16;
    *param17 = settings.param17;
    *param18 = settings.param18;
    *param19 = settings.param19;
    *param20 = settings.param20;
    *param21 = settings.param21;
    *param22 = settings.param22;
    *param23 = settings.param23;
    *param24 = settings.param24;
    *param25 = settings.param25;
    return codes::success;
}

int SensorParametersBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int SensorParametersSeqWriteReson8100_V1(
    _TELD_Sensor* sensor, double time, std::uint32_t status, std::uint32_t param1, std::uint32_t param2,
    std::uint32_t param3, std::uint32_t param4, std::uint32_t param5, double param6, std::uint32_t param7,
    std::uint32_t param8, std::uint32_t param9, std::uint32_t param10, std::uint32_t param11,
    std::uint32_t param12, std::uint32_t param13, std::uint32_t param14, std::uint32_t param15,
    double param16, double param17, std::uint32_t param18, std::uint32_t param19, double param20,
    double param21, double param22, double param23, std::uint32_t param24, std::uint32_t param25) {
    if (const int code = checkHandle(family, sensor, "SeqWrite", inCreate, Structure::needed)) return code;
    if (!SensorParametersTraits::isStored(*sensor)) return family.code(Offset::encode);
    const Reson8100 settings = {param1,  param2,  param3,  param4,  param5,  param6,  param7,
                                param8,  param9,  param10, param11, param12, param13, param14,
                                param15, param16, param17, param18, param19, param20, param21,
                                param22, param23, param24, param25};
    std::array<std::byte, parametersLayout.size> bytes;
    if (!parametersLayout.encode(*sensor, settings, bytes.data())) return family.code(Offset::encode);
    return writeRecord<SensorParametersTraits>(
        sensor, {status, time}, [&](std::byte* stored) { std::copy(bytes.begin(), bytes.end(), stored); });
}

int SensorParametersSeqWrite(_TELD_Sensor* sensor, double time, std::uint32_t status) {
    return writeRecord<SensorParametersTraits>(sensor, {status, time});
}

int SensorParametersEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int SensorParametersEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSummary(family, sensor, status);
}

int SensorParametersUpdateStatus(_TELD_Sensor* sensor, std::uint32_t record, std::uint32_t status) {
    if (const int code = checkHandle(family, sensor, "UpdateStatus", inUpdate, Structure::needed))
        return code;
    if (record < 1 || record > sensor->numRecords) return family.code(Offset::outOfRange);
    if (!SensorParametersTraits::isStored(*sensor)) return codes::success;
    return writeRecordStatus(family, *sensor, record, status);
}

int SensorParametersSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int SensorParametersSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int SensorParametersSaveStatusToDisk(_TELD_Sensor* sensor) {
    return saveStatus(family, sensor);
}
