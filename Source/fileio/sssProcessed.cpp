#include "fileio/formats.h"
#include "fileio/imagery.h"

#include <skar/processedsidescan.h>
#include <skar/sensortype.h>

// Side scan imagery after its processing.
namespace skar::fileio {

namespace {

struct ProcessedPing {
    std::uint32_t status = 0;
    double time = 0.0;
    std::uint16_t parameter3 = 0;
    std::uint16_t parameter4 = 0;
    std::uint32_t parameter5 = 0;
    std::uint32_t portCount = 0;
    std::uint32_t starboardCount = 0;
};

using Parameters = Halves<&ProcessedPing::parameter3, &ProcessedPing::parameter4>;
using SampleCounts = Counts<&ProcessedPing::portCount, &ProcessedPing::starboardCount>;
constexpr auto headLayout = layout<ProcessedPing>(field<Unsigned>("status", &ProcessedPing::status),
                                                  field<Time>("time", &ProcessedPing::time),
                                                  field<Parameters>("parameter3, parameter4", Whole{}),
                                                  field<Unsigned>("parameter5", &ProcessedPing::parameter5),
                                                  field<SampleCounts>("portCount, starboardCount", Whole{}));

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("summaryStatus", &Handle::summaryStatus),
    field<Unsigned>("numPings", &Handle::numRecords), field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime), field<Unsigned>("version", &Handle::version));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout =
    layout<Segment>(field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime));

constexpr codes::Block base = codes::sssProcessed;

struct ProcessedTraits {
    using Ping = ProcessedPing;
    static constexpr auto& head = headLayout;
    static std::array<std::uint32_t, 2> counts(const Ping& ping) {
        return {ping.portCount, ping.starboardCount};
    }
    static constexpr Family family = {
        .name = "SSSProc",
        .sensorId = 19,
        .storedType = 19,
        .base = base,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = headLayout.size,
        .nullHandle = base + Offset::nullHandle,
        .testsSensor = true,
        .keepsStatusShadow = false,
        .segmentOutputsOptional = true,
        .segmentOpen = {.fixedCode = base + Offset::openFile, .onWriting = base + Offset::writeSegments},
    };
};
constexpr const Family& family = ProcessedTraits::family;
constexpr std::uint32_t scratchId = SKAR::IO::SensorType::ID::NewSSSProcessedSideScan;

} // namespace

FormatTables sssProcFormat() {
    static constexpr FormatTable tables[] = {
        {"Processed side scan summary", pagesOf<summaryLayout, Handle>},
        {"Processed side scan ping", pagesOf<headLayout, ProcessedPing>},
        {"Processed side scan segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

_TELD_Sensor* SSSProcOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code) {
    return openImagery(family, family.sensorId, linePath, accessToken, code);
}

_TELD_Sensor* SSSProcScratchOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code) {
    return openImagery(family, scratchId, linePath, accessToken, code);
}

int SSSProcClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int SSSProcSummary(_TELD_Sensor* sensor, std::uint32_t* numLineSegments, std::uint32_t* numPings,
                   double* minTime, double* maxTime, std::uint32_t* version, std::uint32_t* status) {
    if (const int code = imagerySummary(family, sensor, numLineSegments, numPings, minTime, maxTime, status))
        return code;
    give(version, sensor->version);
    return codes::success;
}

int SSSProcLineSegment(_TELD_Sensor* sensor, std::uint32_t segment, wchar_t** sourceFileName,
                       std::uint32_t* firstPing, std::uint32_t* lastPing, double* minTime, double* maxTime,
                       std::uint32_t* status) {
    return imagerySegment(family, sensor, segment, sourceFileName, firstPing, lastPing, minTime, maxTime,
                          status);
}

int SSSProcBgnSeqWriteSummary(_TELD_Sensor* sensor) {
    return beginSummary(family, sensor);
}

int SSSProcBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int SSSProcWriteProfile(_TELD_Sensor* sensor, std::uint32_t status, double time, std::uint16_t parameter3,
                        std::uint16_t parameter4, std::uint32_t parameter5, std::uint32_t portCount,
                        std::uint32_t starboardCount, const void* port, const void* starboard) {
    if (const int code = checkHandle(family, sensor, "WriteProfile", inCreate, Structure::needed))
        return code;
    const ProcessedPing ping = {status, time, parameter3, parameter4, parameter5, portCount, starboardCount};
    return writePing<ProcessedTraits>(*sensor, ping, {port, starboard});
}

int SSSProcEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int SSSProcEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t version, std::uint32_t status) {
    if (const int code = endSummary(family, sensor, status)) return code;
    sensor->version = version;
    return codes::success;
}

int SSSProcReadProfile(_TELD_Sensor* sensor, std::uint32_t number, std::uint32_t* status, double* time,
                       std::uint16_t* parameter3, std::uint16_t* parameter4, std::uint32_t* parameter5,
                       std::uint32_t* portCount, std::uint32_t* starboardCount, void** port,
                       void** starboard) {
    ProcessedPing ping;
    if (const int code = readHead<ProcessedTraits>(sensor, number, ping)) return code;
    const auto sizes = sizesOf<ProcessedTraits>(ping);
    std::array<void*, 2> samples{};
    if (!reserveSamples(*sensor, sizes, samples)) return codes::outOfMemory;
    if (const int code = readSamples(*sensor, family, sizes, samples)) return code;
    give(status, ping.status);
    give(time, ping.time);
    give(parameter3, ping.parameter3);
    give(parameter4, ping.parameter4);
    give(parameter5, ping.parameter5);
    give(portCount, ping.portCount);
    give(starboardCount, ping.starboardCount);
    give(port, samples[0]);
    give(starboard, samples[1]);
    return codes::success;
}

int SSSProcSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int SSSProcSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int SSSProcSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name) {
    return setSourceFileName(family, sensor, name, base, Offset::nullSourceName,
                             family.code(Offset::writeSegments));
}

int SSSProcUpdateStatus(_TELD_Sensor* sensor, std::uint32_t ping, std::uint32_t status) {
    return updateWord(sensor, family, "UpdateStatus", ping, headLayout.size, headLayout.offsetOf("status"), 0,
                      status);
}

int SSSProcUpdateProfile(_TELD_Sensor* sensor, std::uint32_t number, std::uint32_t status,
                         std::uint32_t portCount, const void* port, const void* starboard) {
    std::int64_t offset = 0;
    std::byte* head = nullptr;
    if (const int code =
            headForUpdate(sensor, family, "UpdateProfile", number, headLayout.size, offset, head))
        return code;
    ProcessedPing ping;
    headLayout.decode(*sensor, head, ping);
    if ((portCount != 0 && !port) || (ping.starboardCount != 0 && !starboard)) return codes::failed;
    const int fault = family.code(Offset::decodeForUpdate);
    if (portCount != ping.portCount) return fault;
    // The width is that of the new status: samples that became wider run into the ping behind this one.
    ping.status = status;
    const auto sizes = sizesOf<ProcessedTraits>(ping);
    RecordFile& file = sensor->state->file;
    const std::int64_t samples = offset + static_cast<std::int64_t>(headLayout.size);
    if (samples + static_cast<std::int64_t>(sizes[0] + sizes[1]) > file.size()) return fault;
    storeWord(head + headLayout.offsetOf("status"), status);
    if (!file.seek(offset)) return family.code(Offset::seek);
    if (!file.write(head, headLayout.size)) return family.code(Offset::write);
    return file.write(port, sizes[0]) && file.write(starboard, sizes[1]) ? codes::success : fault;
}

int SSSProcRemoveDir(const wchar_t* linePath) {
    return SensorRemoveDir(linePath, L"SSSProcessedSideScan");
}
