#include "fileio/imagery.h"

#include <skar/errors.h>
#include <skar/paths.h>

#include <cstdlib>
#include <new>

namespace skar::fileio {

namespace {

_TELD_Sensor* openFiles(std::uint32_t sensorId, const wchar_t* linePath, const wchar_t* accessToken,
                        long& code) {
    // A sensor without a name never exists to SensorOpenDir.
    if (SKARIOUtils::sensorIDToName(sensorId).isEmpty())
        return errors::guardedOpen(&code,
                                   [&] { return SKAR::IO::SensorOpen(linePath, sensorId, accessToken); });
    std::uint32_t opened = 0;
    _TELD_Sensor* sensor = SensorOpenDir(linePath, sensorId, accessToken, &opened);
    code = static_cast<std::int32_t>(opened);
    return sensor;
}

int attachImageryState(_TELD_Sensor& sensor, const Family& family) {
    sensor.pReadStruct = std::calloc(1, sizeof(ImageryState) + family.recordSize);
    if (!sensor.pReadStruct) return codes::outOfMemory;
    std::byte* buffer = static_cast<std::byte*>(sensor.pReadStruct) + sizeof(ImageryState);
    const auto size = static_cast<std::uint32_t>(family.recordSize);
    qon_xdrmem_create(&sensor.encodeXDRStream, buffer, size, XDR_ENCODE);
    qon_xdrmem_create(&sensor.decodeXDRStream, buffer, size, XDR_DECODE);
    return codes::success;
}

} // namespace

_TELD_Sensor* openImagery(const Family& family, std::uint32_t sensorId, const wchar_t* linePath,
                          const wchar_t* accessToken, long* code) {
    long ignored = 0;
    long& result = code ? *code : ignored;
    _TELD_Sensor* sensor = openFiles(sensorId, linePath, accessToken, result);
    if (!sensor) return nullptr;
    int failure = attachImageryState(*sensor, family);
    if (failure == codes::success)
        failure = sensor->accessType == TELD_CREATE ? beginFile(*sensor, family) : loadFile(*sensor, family);
    if (failure != codes::success) {
        SensorFree(sensor);
        result = failure;
        return nullptr;
    }
    imageryState(*sensor).end = sensor->state->file.position();
    result = codes::success;
    return sensor;
}

int imagerySummary(const Family& family, _TELD_Sensor* sensor, std::uint32_t* numLineSegments,
                   std::uint32_t* numRecords, double* minTime, double* maxTime, std::uint32_t* status) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    give(numLineSegments, sensor->numLineSegments);
    give(numRecords, sensor->numRecords);
    give(minTime, sensor->minTime);
    give(maxTime, sensor->maxTime);
    give(status, sensor->summaryStatus);
    return codes::success;
}

int imagerySegment(const Family& family, _TELD_Sensor* sensor, std::uint32_t number, wchar_t** name,
                   std::uint32_t* first, std::uint32_t* last, double* minTime, double* maxTime,
                   std::uint32_t* status) {
    const _TELD_LineSegment* segment = nullptr;
    if (const int code = getSegment(family, sensor, number, name, first, last, status, segment)) return code;
    give(minTime, segment->minTime);
    give(maxTime, segment->maxTime);
    return codes::success;
}

bool setReferences(_TELD_Sensor& sensor, double time) {
    return setReferenceTime(sensor, time);
}

int appendImage(_TELD_Sensor& sensor, const Family& family, double time, std::int32_t encodedTime,
                std::span<const std::byte> head, std::span<const Samples> arrays) {
    ImageryState& state = imageryState(sensor);
    RecordFile& file = sensor.state->file;
    if (file.seeks() != state.common.seeksSeen) [[unlikely]] {
        if (!file.seek(state.end)) return family.code(Offset::write);
        state.common.seeksSeen = file.seeks();
    }
    if (roomForIndexEntry(sensor) != codes::success) return family.code(Offset::timeIndexEntry);
    const RecordSpan span = recordSpan(sensor.encodeXDRStream, XDR_ENCODE);
    if (span.size < head.size()) return family.code(Offset::encode);
    std::memcpy(span.bytes, head.data(), head.size());
    const std::int64_t offset = file.position();
    bool written = file.append(head.data(), head.size());
    for (const Samples& each : arrays)
        written = written && (each.size == 0 || file.append(each.bytes, each.size));
    if (!written) {
        file.takeBack(offset);
        return family.code(Offset::write);
    }
    state.end = file.position();
    enterInIndex(sensor, encodedTime, offset);
    widenTime(sensor, time);
    ++state.common.recordsWritten;
    return codes::success;
}

int seekImage(_TELD_Sensor& sensor, const Family& family, std::uint32_t number) {
    if (number < 1 || number > sensor.numRecords) return family.code(Offset::outOfRange);
    return seekRecord(sensor, family, number);
}

bool reserveSamples(_TELD_Sensor& sensor, std::span<const std::size_t> sizes, std::span<void*> into) try {
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        auto& room = sensor.state->samples[i];
        if (room.size() < sizes[i]) room.resize(sizes[i]);
        into[i] = room.data();
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

int readSamples(_TELD_Sensor& sensor, const Family& family, std::span<const std::size_t> sizes,
                std::span<void* const> into) {
    RecordFile& file = sensor.state->file;
    std::array<platform::Piece, 4> run;
    std::size_t pieces = 0;
    for (std::size_t i = 0; i <= sizes.size(); ++i) {
        const bool end = i == sizes.size();
        if (!end && sizes[i] == 0) continue;
        if (!end && into[i]) {
            run[pieces++] = {into[i], sizes[i]};
            continue;
        }
        if (pieces != 0 && !file.readInto({run.data(), pieces})) return family.code(Offset::read);
        pieces = 0;
        if (!end && !file.seek(file.position() + static_cast<std::int64_t>(sizes[i])))
            return family.code(Offset::seek);
    }
    return codes::success;
}

int headForUpdate(_TELD_Sensor* sensor, const Family& family, const char* operation, std::uint32_t number,
                  std::size_t headSize, std::int64_t& offset, std::byte*& head) {
    if (const int code = checkHandle(family, sensor, operation, inUpdate, Structure::needed)) return code;
    if (const int code = seekImage(*sensor, family, number)) return code;
    RecordFile& file = sensor->state->file;
    offset = file.position();
    // A damaged index must not get a word written over the head of the file.
    if (offset < family.firstRecordOffset()) return family.code(Offset::mapIndex);
    const std::byte* stored = file.read(headSize);
    if (!stored) return family.code(Offset::read);
    // Both streams lie over one buffer: what is encoded over a word stands among those that were decoded.
    const RecordSpan span = recordSpan(sensor->decodeXDRStream, XDR_DECODE);
    if (span.size < headSize || recordSpan(sensor->encodeXDRStream, XDR_ENCODE).size < headSize)
        return family.code(Offset::decodeForUpdate);
    std::memcpy(span.bytes, stored, headSize);
    head = span.bytes;
    return codes::success;
}

int updateWord(_TELD_Sensor* sensor, const Family& family, const char* operation, std::uint32_t number,
               std::size_t headSize, std::size_t wordOffset, std::uint32_t keep, std::uint32_t bits) {
    std::int64_t offset = 0;
    std::byte* head = nullptr;
    if (const int code = headForUpdate(sensor, family, operation, number, headSize, offset, head))
        return code;
    storeWord(head + wordOffset, (loadWord(head + wordOffset) & keep) | bits);
    RecordFile& file = sensor->state->file;
    if (!file.seek(offset)) return family.code(Offset::seek);
    return file.write(head, headSize) ? codes::success : family.code(Offset::write);
}

} // namespace skar::fileio
