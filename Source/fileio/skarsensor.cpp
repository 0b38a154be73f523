#include "fileio/blockcache.h"
#include "fileio/coding.h"
#include "fileio/handle.h"
#include "fileio/sensortype.h"
#include "fileio/xdr.h"
#include "platform/environment.h"
#include "platform/file.h"

#include <skar/codes.h>
#include <skar/errors.h>
#include <skar/log.h>
#include <skar/paths.h>

#include <atomic>
#include <cerrno>
#include <cfloat>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace skar;
using namespace skar::fileio;

namespace {

std::atomic<bool> initialised{false};
std::atomic<bool> environmentSet{false};

__attribute__((destructor)) void clearInitialised() {
    initialised = false;
}

struct AccessType {
    const wchar_t* token;
    std::uint32_t number;
    const char* mode;
};
constexpr AccessType accessTypes[] = {
    {L"create", TELD_CREATE, "wb"},
    {L"query", TELD_QUERY, "rb"},
    {L"update", TELD_UPDATE, "rb+"},
};

const AccessType& accessTypeOf(std::uint32_t number) {
    return accessTypes[number - TELD_CREATE];
}

[[noreturn]] void throwFileFailure(long code, const char* key, int error, const std::wstring& path) {
    BOOST_THROW_EXCEPTION(errors::failure<SKAR::IO::SensorOpenError>(
        code, key, SKAR::stdio_error_info(error), SKAR::file_name_info(MORVAUString(path.c_str()))));
}

// Closes a file unless it was handed over.
struct FileGuard {
    std::FILE* file = nullptr;
    ~FileGuard() {
        if (file) std::fclose(file);
    }
    std::FILE* release() { return std::exchange(file, nullptr); }
};

// A field left at the zero of value initialisation has that as its default.
_TELD_Sensor* makeHandle(std::FILE* dataFile) {
    auto sensor = std::make_unique<_TELD_Sensor>();
    sensor->state = new HandleState(dataFile);
    sensor->version = 1;
    sensor->maxTmIdxSetSize = 512;
    sensor->clockAccuracy = 1000;
    sensor->secondaryClockAccuracy = 1000;
    sensor->positionScale = 1;
    sensor->secondaryPositionScale = 1;
    sensor->firstRecord = 1;
    sensor->minTime = DBL_MAX;
    sensor->maxTime = -DBL_MAX;
    for (double& least : sensor->min)
        least = DBL_MAX;
    for (double& most : sensor->max)
        most = -DBL_MAX;
    sensor->encodeValue = encodeMillis;
    sensor->decodeValue = TELD_DecodeMeters;
    return sensor.release();
}

} // namespace

int SKARIO_Init(unsigned char setUpEnvironment) {
    if (setUpEnvironment && !environmentSet) {
        if (const int code = platform::setUpEnvironment()) {
            std::printf("Unable to read the SKAR registry.\n");
            return code;
        }
        environmentSet = true;
    }
    initialised = true;
    return codes::success;
}

unsigned int GetHeader(void) {
    return initialised;
}

int isDataUpdated(const void*, const void*) {
    return 0;
}

int TELD_DecodeAccessTypeToken(const wchar_t* token) {
    if (!token || !*token) {
        skarDebugLog(1, "TELD_DecodeAccessTypeToken: supplied token type is invalid (empty).\n");
        return codes::accessToken;
    }
    for (const AccessType& type : accessTypes)
        if (std::wcscmp(type.token, token) == 0) return static_cast<int>(type.number);
    skarDebugLog(1, "TELD_DecodeAccessTypeToken: token type invalid (unknown)\n");
    return codes::accessToken;
}

_TELD_Sensor* SensorOpenDir(const wchar_t* linePath, std::uint32_t sensorId, const wchar_t* accessToken,
                            std::uint32_t* returnCode) {
    // An invalid token counts as one of an existing sensor here; SensorOpen tells what is wrong with it.
    if (TELD_DecodeAccessTypeToken(accessToken) != TELD_CREATE &&
        !SKARIOUtils::sensorExists(MORVAUString(linePath), sensorId)) {
        if (returnCode) *returnCode = codes::sensorMissing;
        return nullptr;
    }
    return errors::guardedOpen(returnCode,
                               [&] { return SKAR::IO::SensorOpen(linePath, sensorId, accessToken); });
}

_TELD_Sensor* SKAR::IO::SensorOpen(const wchar_t* linePath, unsigned int sensorId,
                                   const wchar_t* accessToken) {
    using errors::failure;
    if (!initialised)
        BOOST_THROW_EXCEPTION(
            failure<SensorOpenError>(codes::notInitialised, "errorMessages/SKARio/subsystemNotInitialized"));
    if (!linePath)
        BOOST_THROW_EXCEPTION(failure<SensorOpenError>(codes::lineOpen, "errorMessages/SKARio/lineIsEmpty"));
    const int access = TELD_DecodeAccessTypeToken(accessToken);
    if (access == codes::accessToken)
        BOOST_THROW_EXCEPTION(failure<SensorOpenError>(codes::accessTypeMismatch,
                                                       "errorMessages/SKARio/accessTypeMismatch",
                                                       tag_access_type(MORVAUString(accessToken))));
    if (!platform::pathAccessible(linePath))
        BOOST_THROW_EXCEPTION(failure<SensorOpenError>(codes::lineOpen,
                                                       "errorMessages/SKARio/lineDoesNotExist",
                                                       line_name_info(MORVAUString(linePath))));
    const SensorRow* row = sensorRow(sensorId);
    if (!row || !row->fileName)
        BOOST_THROW_EXCEPTION(failure<SensorOpenError>(
            codes::unknownSensor, "errorMessages/SKARio/translateSensorType",
            line_name_info(MORVAUString(linePath)), tag_sensor_id(static_cast<int>(sensorId))));

    MORVAUString joined(linePath);
    SKARIOUtils::appendPath(joined, MORVAUString(row->fileName));
    const std::wstring dataPath = joined.toWide();
    const std::wstring tracePath = row->hasTrace ? dataPath + L"Trace" : std::wstring();

    const AccessType& type = accessTypeOf(static_cast<std::uint32_t>(access));
    if (access != TELD_CREATE && !platform::pathAccessible(dataPath.c_str()))
        throwFileFailure(codes::sensorMissing, "errorMessages/SKARio/sensorDoesNotExist", errno, dataPath);
    FileGuard trace;
    if (row->hasTrace && !(trace.file = platform::openFile(tracePath.c_str(), type.mode)))
        throwFileFailure(codes::traceOpen, "errorMessages/SKARio/sidescanDoesNotExist", errno, tracePath);
    FileGuard data;
    if (!(data.file = platform::openFile(dataPath.c_str(), type.mode)))
        throwFileFailure(codes::lineOpen, "errorMessages/SKARio/sensorDataOpenFailed", errno, dataPath);

    _TELD_Sensor* sensor = makeHandle(data.file);
    sensor->dataFile = data.release();
    sensor->traceFile = trace.release();
    try {
        sensor->sensorType = row->storedType;
        sensor->accessType = static_cast<std::uint32_t>(access);
        sensor->linePath = linePath;
        sensor->dataFilePath = dataPath;
        sensor->traceFilePath = tracePath;
        sensor->lineSegmentsPath = dataPath + L"LineSegments";
        sensor->tmIdxPath = dataPath + L"TmIdx";
        MORVAUString root, project, vessel, day, line;
        SKARIOUtils::pathToPVDL(MORVAUString(linePath), root, project, vessel, day, line);
        sensor->project = project.toWide();
        sensor->vessel = vessel.toWide();
        sensor->day = day.toWide();
        sensor->line = line.toWide();
    } catch (...) {
        SensorFree(sensor);
        throw;
    }
    return sensor;
}

int SensorFree(_TELD_Sensor* sensor) {
    if (!sensor) return codes::success;
    while (_TELD_LineSegment* segment = sensor->firstLineSegment) {
        sensor->firstLineSegment = segment->next;
        --sensor->numLineSegments;
        std::free(segment->name);
        delete segment;
    }
    int code = codes::success;
    for (std::FILE* file : {sensor->dataFile, sensor->traceFile})
        if (file && std::fclose(file) != 0) code = codes::failed;
    destroy(cacheOf(*sensor));
    qon_xdr_destroy(&sensor->encodeXDRStream);
    qon_xdr_destroy(&sensor->decodeXDRStream);
    std::free(sensor->statusShadowChanged);
    std::free(sensor->statusShadow);
    std::free(sensor->pReadStruct);
    delete sensor->state;
    delete sensor;
    return code;
}

int SensorRemoveDir(const wchar_t* linePath, const wchar_t* sensorFileName) {
    if (!linePath || !sensorFileName) return codes::success;
    MORVAUString joined(linePath);
    SKARIOUtils::appendPath(joined, MORVAUString(sensorFileName));
    const std::wstring path = joined.toWide();
    for (const wchar_t* suffix : {L"", L"LineSegments", L"TmIdx"})
        platform::removeFile((path + suffix).c_str());
    return codes::success;
}

int LineExists(const wchar_t* linePath) {
    platform::FileStatus status;
    return linePath && platform::fileStatus(linePath, status) && status.directory;
}

int LineCreateHierarchy(const wchar_t* linePath) {
    MORVAUString root, project, vessel, day, line;
    return linePath && SKARIOUtils::pathToPVDL(MORVAUString(linePath), root, project, vessel, day, line) &&
                   SKARIOUtils::createLineDirectory(root, project, vessel, day, line)
               ? codes::success
               : codes::lineCreate;
}
