#include "fileio/formats.h"
#include "fileio/imagery.h"

#include <skar/sidescan.h>

#include <algorithm>

// The imagery of a towed side scan sonar.
namespace skar::fileio {

namespace {

struct Ping {
    std::uint32_t status = 0;
    double time = 0.0;
    std::uint16_t parameter3 = 0;
    std::uint16_t parameter4 = 0;
    std::uint16_t parameter5 = 0;
    std::uint16_t fishHeight = 0;
    std::uint32_t parameter7 = 0;
    std::uint16_t parameter8 = 0;
    std::int16_t parameter9 = 0;
    std::uint16_t parameter10 = 0;
    std::uint32_t parameter11 = 0;
    std::uint32_t sampleInterval = 0;
    std::int16_t parameter13 = 0;
    std::uint16_t parameter14 = 0;
    std::uint32_t portCount = 0;
    std::uint32_t starboardCount = 0;
    std::uint16_t parameter19 = 0;
    std::int16_t parameter20 = 0;
    std::uint16_t parameter21 = 0;
    std::uint32_t parameter22 = 0;
    std::uint32_t parameter23 = 0;
    std::uint16_t parameter24 = 0;
    std::uint16_t parameter25 = 0;
    std::uint32_t secondPortCount = 0;
    std::uint32_t secondStarboardCount = 0;
};

template <auto High, auto Low>
constexpr auto halves(const char* name) {
    return field<Halves<High, Low>>(name, Whole{});
}
template <auto High, auto Low>
constexpr auto signedHalves(const char* name) {
    return field<SignedHalves<High, Low>>(name, Whole{});
}
template <auto High, auto Low>
constexpr auto counts(const char* name) {
    return field<Counts<High, Low>>(name, Whole{});
}

constexpr auto headLayout = layout<Ping>(
    field<Unsigned>("status", &Ping::status), field<Time>("time", &Ping::time),
    halves<&Ping::parameter3, &Ping::parameter4>("parameter3, parameter4"),
    halves<&Ping::parameter5, &Ping::fishHeight>("parameter5, fishHeight"),
    field<Unsigned>("parameter7", &Ping::parameter7), field<LowHalf>("parameter8", &Ping::parameter8),
    signedHalves<&Ping::parameter9, &Ping::parameter10>("parameter9, parameter10"),
    field<Unsigned>("parameter11", &Ping::parameter11),
    field<Unsigned>("sampleInterval", &Ping::sampleInterval),
    signedHalves<&Ping::parameter13, &Ping::parameter14>("parameter13, parameter14"),
    counts<&Ping::portCount, &Ping::starboardCount>("portCount, starboardCount"),
    field<LowHalf>("parameter19", &Ping::parameter19),
    signedHalves<&Ping::parameter20, &Ping::parameter21>("parameter20, parameter21"),
    field<Unsigned>("parameter22", &Ping::parameter22), field<Unsigned>("parameter23", &Ping::parameter23),
    halves<&Ping::parameter24, &Ping::parameter25>("parameter24, parameter25"),
    counts<&Ping::secondPortCount, &Ping::secondStarboardCount>("secondPortCount, secondStarboardCount"));

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("summaryStatus", &Handle::summaryStatus),
    field<Unsigned>("numPings", &Handle::numRecords), field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime), field<Unsigned>("version", &Handle::version));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout =
    layout<Segment>(field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime));

constexpr codes::Block base = codes::sss;

struct Traits {
    using Ping = fileio::Ping;
    static constexpr auto& head = headLayout;
    static std::array<std::uint32_t, 4> counts(const Ping& ping) {
        return {ping.portCount, ping.starboardCount, ping.secondPortCount, ping.secondStarboardCount};
    }
    static constexpr Family family = {
        .name = "SSS",
        .sensorId = 13,
        .storedType = 13,
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
constexpr const Family& family = Traits::family;

constexpr std::uint32_t mostSamples = 6000;

// k counts how often the samples would fill a ping. The counts come down by the quotient and one more, and
// the samples themselves are not thinned out, so that the far end of a long ping is lost.
void shorten(Ping& ping) {
    const std::uint32_t k = std::max(ping.portCount, ping.starboardCount) / mostSamples;
    const auto shortened = [k](std::uint32_t count) {
        const double left = static_cast<double>(count) / k - 1.0;
        return left > 0.0 ? static_cast<std::uint32_t>(left) : 0;
    };
    ping.sampleInterval /= k;
    ping.portCount = shortened(ping.portCount);
    ping.starboardCount = shortened(ping.starboardCount);
}

void handOut(const Ping& ping, std::uint32_t* status, double* time, std::uint16_t* parameter3,
             std::uint16_t* parameter4, std::uint16_t* parameter5, std::uint16_t* fishHeight,
             std::uint32_t* parameter7, std::uint16_t* parameter8, std::int16_t* parameter9,
             std::uint16_t* parameter10, std::uint32_t* parameter11, std::uint32_t* sampleInterval,
             std::int16_t* parameter13, std::uint16_t* parameter14, std::uint32_t* portCount,
             std::uint32_t* starboardCount, std::uint16_t* parameter19, std::int16_t* parameter20,
             std::uint16_t* parameter21, std::uint32_t* parameter22, std::uint32_t* parameter23,
             std::uint16_t* parameter24, std::uint16_t* parameter25, std::uint32_t* secondPortCount,
             std::uint32_t* secondStarboardCount) {
    give(status, ping.status);
    give(time, ping.time);
    give(parameter3, ping.parameter3);
    give(parameter4, ping.parameter4);
    give(parameter5, ping.parameter5);
    give(fishHeight, ping.fishHeight);
    give(parameter7, ping.parameter7);
    give(parameter8, ping.parameter8);
    give(parameter9, ping.parameter9);
    give(parameter10, ping.parameter10);
    give(parameter11, ping.parameter11);
    give(sampleInterval, ping.sampleInterval);
    give(parameter13, ping.parameter13);
    give(parameter14, ping.parameter14);
    give(portCount, ping.portCount);
    give(starboardCount, ping.starboardCount);
    give(parameter19, ping.parameter19);
    give(parameter20, ping.parameter20);
    give(parameter21, ping.parameter21);
    give(parameter22, ping.parameter22);
    give(parameter23, ping.parameter23);
    give(parameter24, ping.parameter24);
    give(parameter25, ping.parameter25);
    give(secondPortCount, ping.secondPortCount);
    give(secondStarboardCount, ping.secondStarboardCount);
}

int update(_TELD_Sensor* sensor, const char* operation, std::uint32_t ping, const char* word,
           std::uint32_t keep, std::uint32_t bits) {
    return updateWord(sensor, family, operation, ping, headLayout.size, headLayout.offsetOf(word), keep,
                      bits);
}

} // namespace

FormatTables sssFormat() {
    static constexpr FormatTable tables[] = {
        {"Towed side scan summary", pagesOf<summaryLayout, Handle>},
        {"Towed side scan ping", pagesOf<headLayout, Ping>},
        {"Towed side scan segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

_TELD_Sensor* SSSOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code) {
    return openImagery(family, family.sensorId, linePath, accessToken, code);
}

int SSSClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int SSSSummary(_TELD_Sensor* sensor, std::uint32_t* numLineSegments, std::uint32_t* numPings, double* minTime,
               double* maxTime, std::uint32_t* version, std::uint32_t* status) {
    if (const int code = imagerySummary(family, sensor, numLineSegments, numPings, minTime, maxTime, status))
        return code;
    give(version, sensor->version);
    return codes::success;
}

int SSSLineSegment(_TELD_Sensor* sensor, std::uint32_t segment, wchar_t** sourceFileName,
                   std::uint32_t* firstPing, std::uint32_t* lastPing, double* minTime, double* maxTime,
                   std::uint32_t* status) {
    return imagerySegment(family, sensor, segment, sourceFileName, firstPing, lastPing, minTime, maxTime,
                          status);
}

int SSSBgnSeqWriteSummary(_TELD_Sensor* sensor) {
    return beginSummary(family, sensor);
}

int SSSBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int SSSWriteProfile(_TELD_Sensor* sensor, std::uint32_t status, double time, std::uint16_t parameter3,
                    std::uint16_t parameter4, std::uint16_t parameter5, std::uint16_t fishHeight,
                    std::uint32_t parameter7, std::uint16_t parameter8, std::int16_t parameter9,
                    std::uint16_t parameter10, std::uint32_t parameter11, std::uint32_t sampleInterval,
                    std::int16_t parameter13, std::uint16_t parameter14, std::uint32_t portCount,
                    std::uint32_t starboardCount, const void* port, const void* starboard,
                    std::uint16_t parameter19, std::int16_t parameter20, std::uint16_t parameter21,
                    std::uint32_t parameter22, std::uint32_t parameter23, std::uint16_t parameter24,
                    std::uint16_t parameter25, std::uint32_t secondPortCount,
                    std::uint32_t secondStarboardCount, const void* secondPort, const void* secondStarboard) {
    if (const int code = checkHandle(family, sensor, "WriteProfile", inCreate, Structure::needed))
        return code;
    Ping ping = {status,         time,           parameter3,  parameter4,      parameter5,
                 fishHeight,     parameter7,     parameter8,  parameter9,      parameter10,
                 parameter11,    sampleInterval, parameter13, parameter14,     portCount,
                 starboardCount, parameter19,    parameter20, parameter21,     parameter22,
                 parameter23,    parameter24,    parameter25, secondPortCount, secondStarboardCount};
    if (std::max(portCount, starboardCount) > mostSamples) shorten(ping);
    return writePing<Traits>(*sensor, ping, {port, starboard, secondPort, secondStarboard});
}

int SSSEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int SSSEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t version, std::uint32_t status) {
    if (const int code = endSummary(family, sensor, status)) return code;
    sensor->version = version;
    return codes::success;
}

int SSSReadProfile(_TELD_Sensor* sensor, std::uint32_t number, std::uint32_t* status, double* time,
                   std::uint16_t* parameter3, std::uint16_t* parameter4, std::uint16_t* parameter5,
                   std::uint16_t* fishHeight, std::uint32_t* parameter7, std::uint16_t* parameter8,
                   std::int16_t* parameter9, std::uint16_t* parameter10, std::uint32_t* parameter11,
                   std::uint32_t* sampleInterval, std::int16_t* parameter13, std::uint16_t* parameter14,
                   std::uint32_t* portCount, std::uint32_t* starboardCount, void** port, void** starboard,
                   std::uint16_t* parameter19, std::int16_t* parameter20, std::uint16_t* parameter21,
                   std::uint32_t* parameter22, std::uint32_t* parameter23, std::uint16_t* parameter24,
                   std::uint16_t* parameter25, std::uint32_t* secondPortCount,
                   std::uint32_t* secondStarboardCount, void** secondPort, void** secondStarboard) {
    Ping ping;
    if (const int code = readHead<Traits>(sensor, number, ping)) return code;
    const auto sizes = sizesOf<Traits>(ping);
    std::array<void*, 4> samples{};
    if (!reserveSamples(*sensor, sizes, samples)) return codes::outOfMemory;
    if (const int code = readSamples(*sensor, family, sizes, samples)) return code;
    handOut(ping, status, time, parameter3, parameter4, parameter5, fishHeight, parameter7, parameter8,
            parameter9, parameter10, parameter11, sampleInterval, parameter13, parameter14, portCount,
            starboardCount, parameter19, parameter20, parameter21, parameter22, parameter23, parameter24,
            parameter25, secondPortCount, secondStarboardCount);
    give(port, samples[0]);
    give(starboard, samples[1]);
    const bool second = ping.secondPortCount != 0 || ping.secondStarboardCount != 0;
    give(secondPort, second ? samples[2] : nullptr);
    give(secondStarboard, second ? samples[3] : nullptr);
    return codes::success;
}

int SSSReadProfile2(_TELD_Sensor* sensor, std::uint32_t number, std::uint32_t* status, double* time,
                    std::uint16_t* parameter3, std::uint16_t* parameter4, std::uint16_t* parameter5,
                    std::uint16_t* fishHeight, std::uint32_t* parameter7, std::uint16_t* parameter8,
                    std::int16_t* parameter9, std::uint16_t* parameter10, std::uint32_t* parameter11,
                    std::uint32_t* sampleInterval, std::int16_t* parameter13, std::uint16_t* parameter14,
                    std::uint32_t* portCount, std::uint32_t* starboardCount, void* port, void* starboard,
                    std::uint16_t* parameter19, std::int16_t* parameter20, std::uint16_t* parameter21,
                    std::uint32_t* parameter22, std::uint32_t* parameter23, std::uint16_t* parameter24,
                    std::uint16_t* parameter25, std::uint32_t* secondPortCount,
                    std::uint32_t* secondStarboardCount, void* secondPort, void* secondStarboard) {
    Ping ping;
    if (const int code = readHead<Traits>(sensor, number, ping)) return code;
    const std::array<void*, 4> samples = {port, starboard, secondPort, secondStarboard};
    if (const int code = readSamples(*sensor, family, sizesOf<Traits>(ping), samples)) return code;
    handOut(ping, status, time, parameter3, parameter4, parameter5, fishHeight, parameter7, parameter8,
            parameter9, parameter10, parameter11, sampleInterval, parameter13, parameter14, portCount,
            starboardCount, parameter19, parameter20, parameter21, parameter22, parameter23, parameter24,
            parameter25, secondPortCount, secondStarboardCount);
    return codes::success;
}

int SSSSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int SSSSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int SSSSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name) {
    return setSourceFileName(family, sensor, name, base, Offset::nullSourceName,
                             family.code(Offset::writeSegments));
}

int SSSUpdateStatus(_TELD_Sensor* sensor, std::uint32_t ping, std::uint32_t status) {
    return update(sensor, "UpdateStatus", ping, "status", 0, status);
}

int SSSUpdateFishHeight(_TELD_Sensor* sensor, std::uint32_t ping, unsigned short height) {
    return update(sensor, "UpdateFishHeight", ping, "parameter5, fishHeight", 0xFFFF0000, height);
}

int SSSUpdateSampleInterval(_TELD_Sensor* sensor, std::uint32_t ping, unsigned interval) {
    return update(sensor, "UpdateSampleInterval", ping, "sampleInterval", 0, interval);
}

int SSSRemoveDir(const wchar_t* linePath) {
    return SensorRemoveDir(linePath, L"SSSSideScan");
}
