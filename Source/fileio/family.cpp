#include "fileio/family.h"

#include "fileio/flatrecords.h"
#include "fileio/segments.h"
#include "fileio/xdr.h"
#include "platform/file.h"

#include <skar/errors.h>
#include <skar/log.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace skar::fileio {

namespace {

constexpr std::size_t largestSummary = 128;

// The first code stands; a later failure does not cover it.
void keepFirst(int& code, bool failed, int failure) {
    if (failed && code == codes::success) code = failure;
}

int offsetOf(_TELD_Sensor& sensor, const Family& family, std::uint32_t record, std::int32_t& offset) {
    return TmIdxMapIndexToByteOffset(&sensor, record, &offset) == codes::success
               ? codes::success
               : family.code(Offset::mapIndex);
}

void log(const char* line) {
    if (line) skarDebugLog(1, "%s", line);
}

// The statuses stand in one unbroken run of records, the first of which the time index gives.
int loadStatuses(_TELD_Sensor& sensor, const Family& family) {
    const ShadowLog& texts = family.shadowLog;
    std::int32_t offset = 0;
    if (const int code = offsetOf(sensor, family, 1, offset)) {
        log(texts.map);
        return code;
    }
    RecordFile& file = sensor.state->file;
    if (!file.seek(offset)) {
        log(texts.seek);
        return family.code(Offset::seek);
    }
    // A count that the file cannot have is not worth the memory for it.
    const std::int64_t there = (file.size() - offset) / static_cast<std::int64_t>(family.recordSize);
    if (there < std::int64_t{sensor.numRecords}) {
        log(texts.read);
        return family.code(Offset::read);
    }
    if (SensorAllocStatusShadow(&sensor) != codes::success) {
        log(texts.allocate);
        return codes::outOfMemory;
    }
    for (std::uint32_t record = 1; record <= sensor.numRecords; ++record) {
        const std::byte* bytes = file.read(family.recordSize);
        if (!bytes) {
            log(texts.read);
            return family.code(Offset::read);
        }
        if (recordSpan(sensor.decodeXDRStream, XDR_DECODE).size < wordSize) {
            log(texts.decode);
            return family.code(Offset::decodeShadow);
        }
        sensor.statusShadow[record] = loadWord(bytes);
    }
    return file.seek(family.firstRecordOffset()) ? codes::success : family.code(Offset::seek);
}

} // namespace

int wrongSensor(const Family& family, const char* operation) {
    if (family.logsWrongSensor) skarDebugLog(1, "%s%s(): invalid sensor type\n", family.name, operation);
    return family.code(Offset::wrongSensor);
}

int seekRecord(_TELD_Sensor& sensor, const Family& family, std::uint32_t number) {
    std::int32_t offset = 0;
    if (const int code = offsetOf(sensor, family, number, offset)) return code;
    return sensor.state->file.seek(offset) ? codes::success : family.code(Offset::seek);
}

int attachFlatState(_TELD_Sensor& sensor, const Family& family) {
    sensor.pReadStruct = std::calloc(1, sizeof(FlatState) + family.recordSize);
    if (!sensor.pReadStruct) return codes::outOfMemory;
    std::byte* buffer = recordBuffer(sensor);
    flatState(sensor).needSeek = 1;
    flatState(sensor).lastRecordRead = family.lastRecordAtOpen;
    const auto size = static_cast<std::uint32_t>(family.recordSize);
    qon_xdrmem_create(&sensor.encodeXDRStream, buffer, size, XDR_ENCODE);
    qon_xdrmem_create(&sensor.decodeXDRStream, buffer, size, XDR_DECODE);
    return codes::success;
}

int beginFile(_TELD_Sensor& sensor, const Family& family) {
    if (const int code = TELD_WriteDataValidationRecord(&sensor)) return code;
    RecordFile& file = sensor.state->file;
    if (!file.seek(family.firstRecordOffset())) return family.code(Offset::seekSummary);
    flatState(sensor).seeksSeen = file.seeks();
    return codes::success;
}

int decodeSummary(_TELD_Sensor& sensor, const Family& family, const void* bytes, std::size_t available) {
    if (available < family.summary.size) {
        log(family.summary.pages[available / wordSize].complaint);
        return family.code(Offset::readSummary);
    }
    family.summary.decode(sensor, bytes, sensor);
    return codes::success;
}

int loadFile(_TELD_Sensor& sensor, const Family& family) {
    if (const int code = TELD_ReadDataValidationRecord(&sensor)) {
        log(family.summaryLog.validation);
        return code;
    }
    const std::byte* bytes = sensor.state->file.read(family.summary.size);
    if (!bytes) {
        log(family.summaryLog.shortRead);
        if (const char* format = family.summaryLog.shortReadStates) logShortRead(format, sensor.state->file);
        return family.code(Offset::read);
    }
    if (const int code = decodeSummary(sensor, family, bytes, family.summary.size)) return code;
    if (const int code = readSegments(sensor, family)) return code;
    if (const int code = TmIdxRead(&sensor)) return code;
    const bool loads = sensor.accessType == TELD_UPDATE && family.keepsStatusShadow;
    return loads ? loadStatuses(sensor, family) : codes::success;
}

int writeSummary(_TELD_Sensor& sensor, const Family& family) {
    std::array<std::byte, largestSummary> bytes;
    family.summary.encode(sensor, sensor, bytes.data());
    int code = TELD_WriteDataValidationRecord(&sensor);
    if (code == codes::success && !sensor.state->file.write(bytes.data(), family.summary.size))
        code = family.code(Offset::write);
    return code == codes::success || family.closeKeepsCodes ? code : family.code(Offset::writeSummary);
}

void logShortRead(const char* format, const RecordFile& file) {
    const int error = file.failed();
    skarDebugLog(1, format, error, !error);
}

namespace {

// The records that are in the file: a segment counts these, as the handle's number has those that failed too.
std::uint32_t recordsSoFar(const _TELD_Sensor& sensor) {
    return sensor.pReadStruct ? flatState(sensor).recordsWritten : sensor.numRecords;
}

} // namespace

int beginSummary(const Family& family, _TELD_Sensor* sensor) {
    return checkHandle(family, sensor, "BgnSeqWriteSummary", inCreate);
}

int beginSegment(const Family& family, _TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    if (const int code = checkHandle(family, sensor, "BgnSeqWriteLineSegment", inCreate)) return code;
    if (!sourceFileName) return codes::failed;
    wchar_t* name = wcsdup(sourceFileName);
    _TELD_LineSegment* segment = name ? LnSegAlloc(sensor) : nullptr;
    if (!segment) {
        std::free(name);
        return codes::outOfMemory;
    }
    segment->name = name;
    segment->nameLength = static_cast<std::uint32_t>(std::wcslen(name));
    segment->beginIndex = recordsSoFar(*sensor) + 1;
    return codes::success;
}

int endSegment(const Family& family, _TELD_Sensor* sensor, std::uint32_t status) {
    if (const int code = checkHandle(family, sensor, family.endSegmentLogName, inCreate)) return code;
    _TELD_LineSegment* segment = sensor->lastLineSegment;
    if (!segment) return family.code(Offset::noSegment);
    segment->endIndex = recordsSoFar(*sensor);
    segment->status = status;
    return codes::success;
}

int endSummary(const Family& family, _TELD_Sensor* sensor, std::uint32_t status) {
    if (const int code = checkHandle(family, sensor, "EndSeqWriteSummary", inCreate)) return code;
    sensor->summaryStatus = status;
    return codes::success;
}

int setSummaryStatus(const Family& family, _TELD_Sensor* sensor, std::uint32_t status) {
    if (const int code = checkHandle(family, sensor, "SetSummaryStatus", inAny)) return code;
    sensor->summaryStatus = status;
    return codes::success;
}

int setSegmentStatus(const Family& family, _TELD_Sensor* sensor, std::uint32_t number, std::uint32_t status) {
    if (const int code = checkHandle(family, sensor, "SetLineSegmentStatus", inUpdate)) return code;
    _TELD_LineSegment* segment = LnSegIndexSearch(sensor, static_cast<std::int32_t>(number));
    if (!segment) return family.code(Offset::noSegment);
    segment->status = status;
    return codes::success;
}

int setRecordStatus(const Family& family, _TELD_Sensor* sensor, std::uint32_t record, std::uint32_t status) {
    if (const int code = checkHandle(family, sensor, "SetRecordStatus", inUpdate)) return code;
    if (record < 1 || record > sensor->numRecords) return family.code(Offset::outOfRange);
    if (!sensor->statusShadow || !sensor->statusShadowChanged) return codes::failed;
    sensor->statusShadow[record] = status;
    sensor->statusShadowChanged[record] = 1;
    sensor->statusChanged = 1;
    return codes::success;
}

int getRecordStatus(const Family& family, _TELD_Sensor* sensor, std::uint32_t record, std::uint32_t* status) {
    if (const int code = checkHandle(family, sensor, "GetRecordStatus", inUpdate)) return code;
    if (record < 1 || record > sensor->numRecords) return family.code(Offset::outOfRange);
    if (!status || !sensor->statusShadow) return codes::failed;
    *status = sensor->statusShadow[record];
    return codes::success;
}

int getSegment(const Family& family, _TELD_Sensor* sensor, std::uint32_t number, wchar_t** name,
               std::uint32_t* beginIndex, std::uint32_t* endIndex, std::uint32_t* status,
               const _TELD_LineSegment*& segment) {
    if (const int code = checkHandle(family, sensor, "LineSegment", inAny)) return code;
    if (!family.segmentOutputsOptional && (!name || !status)) return codes::failed;
    segment = LnSegIndexSearch(sensor, static_cast<std::int32_t>(number));
    if (!segment) return family.code(Offset::noSegment);
    if (name && !(*name = wcsdup(segment->name ? segment->name : L""))) return codes::outOfMemory;
    give(beginIndex, segment->beginIndex);
    give(endIndex, segment->endIndex);
    give(status, segment->status);
    return codes::success;
}

int writeRecordStatus(const Family& family, _TELD_Sensor& sensor, std::uint32_t record,
                      std::uint32_t status) {
    std::int32_t offset = 0;
    if (const int code = offsetOf(sensor, family, record, offset)) return code;
    // A damaged index must not get a status written over the head of the file.
    if (offset < family.firstRecordOffset()) return family.code(Offset::mapIndex);
    RecordFile& file = sensor.state->file;
    if (!file.seek(offset)) return family.code(Offset::seek);
    const std::byte* stored = file.read(family.recordSize);
    if (!stored) return family.code(Offset::read);
    const RecordSpan span = recordSpan(sensor.encodeXDRStream, XDR_ENCODE);
    if (span.size < family.recordSize) return family.code(family.statusWriteFailure);
    std::memcpy(span.bytes, stored, family.recordSize);
    storeWord(span.bytes, status);
    if (!file.seek(offset)) return family.code(Offset::seek);
    return file.write(span.bytes, family.recordSize) ? codes::success
                                                     : family.code(family.statusWriteFailure);
}

int saveStatus(const Family& family, _TELD_Sensor* sensor) {
    if (family.wrongSensorOnSave != 0 && sensor && sensor->sensorType != family.storedType)
        return family.wrongSensorOnSave;
    if (const int code = checkHandle(family, sensor, "SaveStatusToDisk", inUpdate, Structure::needed))
        return code;
    if (const int code = writeSummary(*sensor, family)) return code;
    if (const int code = writeSegments(*sensor, family)) return code;
    if (sensor->statusChanged) {
        for (std::uint32_t record = 1; record <= sensor->numRecords; ++record) {
            if (!sensor->statusShadowChanged[record]) continue;
            if (const int code = writeRecordStatus(family, *sensor, record, sensor->statusShadow[record]))
                return code;
            sensor->statusShadowChanged[record] = 0;
        }
        sensor->statusChanged = 0;
    }
    return sensor->state->file.flush() ? codes::success : family.code(family.flushFailure);
}

int setSourceFileName(const Family& family, _TELD_Sensor* sensor, const wchar_t* name, codes::Block block,
                      Offset nullName, int rewriteFailure) {
    if (!sensor) return block + Offset::nullHandle;
    if (sensor->sensorType != family.storedType) return block + Offset::wrongSensor;
    if (sensor->accessType != TELD_UPDATE) return block + Offset::wrongAccess;
    if (!name) return block + nullName;
    for (auto* segment = sensor->firstLineSegment; segment; segment = segment->next) {
        wchar_t* copy = wcsdup(name);
        if (!copy) return codes::outOfMemory;
        std::free(segment->name);
        segment->name = copy;
        segment->nameLength = static_cast<std::uint32_t>(std::wcslen(copy));
    }
    return writeSegments(*sensor, family) == codes::success ? codes::success : rewriteFailure;
}

namespace {

// The trace file of a side scan, where there is one.
int closeTrace(_TELD_Sensor& sensor, const Family& family) {
    if (!sensor.traceFile) return codes::success;
    int code = codes::success;
    keepFirst(code, sensor.accessType == TELD_CREATE && std::fflush(sensor.traceFile) != 0,
              family.code(family.flushFailure));
    keepFirst(code, std::fclose(sensor.traceFile) != 0, family.code(Offset::specific26));
    sensor.traceFile = nullptr;
    return code;
}

} // namespace

int closeSensor(const Family& family, _TELD_Sensor* sensor) {
    if (family.wrongSensorOnClose != 0 && sensor && sensor->sensorType != family.storedType)
        return family.wrongSensorOnClose;
    if (const int code = checkHandle(family, sensor, "Close", inAny, Structure::needed)) return code;
    RecordFile& file = sensor->state->file;
    const bool creating = sensor->accessType == TELD_CREATE;
    const std::uint32_t records = flatState(*sensor).recordsWritten;
    const bool written = creating && records != 0;
    int code = codes::success;
    if (written) {
        // A record that failed is counted in the handle; the files say how many they have.
        sensor->numRecords = records;
        code = writeSummary(*sensor, family);
    }
    if (sensor->accessType != TELD_QUERY) keepFirst(code, !file.flush(), family.code(family.flushFailure));
    if (family.streamErrorLog && file.failed()) skarDebugLog(2, family.streamErrorLog, errno);
    keepFirst(code, std::fclose(sensor->dataFile) != 0 && creating, family.code(family.flushFailure));
    sensor->dataFile = nullptr;
    if (written && code == codes::success) {
        const int segments = writeSegments(*sensor, family);
        keepFirst(code, segments != codes::success, segments);
        const int index = TmIdxWrite(sensor);
        keepFirst(code, index != codes::success,
                  family.closeKeepsCodes ? index : family.code(Offset::writeTimeIndex));
    } else if (creating) {
        // Side files of a set that was here before belong to records that are gone. With them a data file
        // without its summary would open as a series of no records at times that are none.
        for (const std::wstring& path : {sensor->lineSegmentsPath, sensor->tmIdxPath})
            platform::removeFile(path.c_str());
        if (!written) platform::removeFile(sensor->dataFilePath.c_str());
    }
    const bool traced = sensor->traceFile;
    const int trace = closeTrace(*sensor, family);
    keepFirst(code, trace != codes::success, trace);
    if (traced && creating && !written) platform::removeFile(sensor->traceFilePath.c_str());
    keepFirst(code, SensorFree(sensor) != codes::success, family.code(Offset::freeSensor));
    return code;
}

} // namespace skar::fileio

using namespace skar;

int SensorAllocStatusShadow(_TELD_Sensor* sensor) {
    if (!sensor) {
        skarDebugLog(1, "SenosrAllocStatusShadow: sensor is invalid (empty)\n");
        return codes::failed;
    }
    const std::size_t entries = std::size_t{sensor->numRecords} + 1;
    std::free(sensor->statusShadow);
    std::free(sensor->statusShadowChanged);
    sensor->statusShadow = static_cast<std::uint32_t*>(std::calloc(entries, sizeof(std::uint32_t)));
    sensor->statusShadowChanged = static_cast<std::uint8_t*>(std::calloc(entries, sizeof(std::uint8_t)));
    return sensor->statusShadow && sensor->statusShadowChanged ? codes::success : codes::failed;
}
