#pragma once

#include "fileio/profiles.h"
#include "fileio/segments.h"
#include "fileio/validation.h"

#include <skar/errors.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <span>

// What a step of a profile read looks like from outside: the key, the code and the details of the exception
// that the throwing interface gives for it, and by that the code of the plain interface.
namespace skar::fileio {

enum Details : unsigned {
    noDetails = 0,
    withErrno = 1,
    withProfile = 2,
    withMaxProfile = 4,
    withBeam = 8,
    withBeamRange = 16,
    withOffset = 32,
    withIndexCode = 64, // the code is that of the time index
};

struct StepRow {
    Step step;
    const char* key;
    int code; // 0: none
    unsigned details = noDetails;
};
using StepTable = std::span<const StepRow>;

struct StepContext {
    const _TELD_Sensor& sensor;
    std::uint32_t profile = 0;
    std::uint32_t beam = 0;
    int indexCode = 0;
    int error = 0; // errno at the failure
};

inline const StepRow& rowOf(StepTable table, Step step) {
    return *std::find_if(table.begin(), table.end() - 1,
                         [&](const StepRow& row) { return row.step == step; });
}

// The code of a step in the plain interface: -1 where the exception carries none.
inline int codeOfStep(StepTable table, Step step, int indexCode) {
    if (step == Step::done) return codes::success;
    const StepRow& row = rowOf(table, step);
    if (row.details & withIndexCode) return indexCode;
    return row.code != 0 ? row.code : codes::failed;
}

template <class Error>
[[noreturn]] void throwStep(StepTable table, Step step, const StepContext& context) {
    using bathy::error::BathyException;
    const StepRow& row = rowOf(table, step);
    Error error;
    error << BathyException::tag_additional_details(row.key)
          << SKAR::file_name_info(MORVAUString(context.sensor.dataFilePath.c_str()));
    if (row.details & withIndexCode)
        error << BathyException::tag_error_code(context.indexCode);
    else if (row.code != 0)
        error << BathyException::tag_error_code(row.code);
    if (row.details & withErrno) error << SKAR::stdio_error_info(context.error);
    if (row.details & withProfile) error << SKAR::profile_number_info(context.profile);
    if (row.details & withMaxProfile) error << SKAR::max_profile_number_info(context.sensor.numRecords);
    if (row.details & withBeam) error << SKAR::beam_number_info(context.beam);
    if (row.details & withBeamRange) {
        const BeamRange& range = profileState(context.sensor).refused;
        error << SKAR::start_beam_number_info(range.startBeam)
              << SKAR::max_beam_number_info(range.startBeam + range.numDepths - 1);
    }
    if (row.details & withOffset)
        error << SKAR::byte_offset_info(static_cast<int>(profileState(context.sensor).refusedOffset));
    BOOST_THROW_EXCEPTION(error);
}

// Keys of a throwing open.
struct OpenKeys {
    const char* seekSummary;
    const char* shortSummary;
    const char* undecodedSummary;
    const char* segmentsOpen;
    const char* segmentsValidation;
    const char* segmentsDecode;
    const char* timeIndex;
    // Where a family departs: a key under which what the common open throws is thrown on, with its code; a
    // key of a validation record that could not be written; one code for all failures of a step.
    const char* sensorOpen = nullptr;
    const char* writeValidation = nullptr;
    int summaryCode = 0;
    int segmentsCode = 0;
};

template <class Error>
[[noreturn]] void throwOpen(const _TELD_Sensor& sensor, const char* key, int code,
                            std::optional<int> error = std::nullopt) {
    Error thrown;
    thrown << SKAR::file_name_info(MORVAUString(sensor.dataFilePath.c_str()))
           << bathy::error::BathyException::tag_error_code(code);
    if (key) thrown << bathy::error::BathyException::tag_additional_details(key);
    if (error) thrown << SKAR::stdio_error_info(*error);
    BOOST_THROW_EXCEPTION(thrown);
}

// Ends a handle that its open did not complete.
struct FreeSensor {
    void operator()(_TELD_Sensor* sensor) const noexcept { SensorFree(sensor); }
};
using SensorGuard = std::unique_ptr<_TELD_Sensor, FreeSensor>;

// What the common open throws, under the key of a family where it has one for that.
template <class Error>
_TELD_Sensor* openSensor(const wchar_t* linePath, std::uint32_t id, const wchar_t* accessToken,
                         const char* key) {
    if (!key) return SKAR::IO::SensorOpen(linePath, id, accessToken);
    try {
        return SKAR::IO::SensorOpen(linePath, id, accessToken);
    } catch (const SKAR::IO::SensorOpenError& thrown) {
        auto error = errors::failure<Error>(errors::codeOf(thrown), key);
        if (const auto* file = boost::get_error_info<SKAR::file_name_info>(thrown))
            error << SKAR::file_name_info(*file);
        if (const auto* number = boost::get_error_info<SKAR::stdio_error_info>(thrown))
            error << SKAR::stdio_error_info(*number);
        BOOST_THROW_EXCEPTION(error);
    }
}

template <class Error>
void beginProfiles(_TELD_Sensor& sensor, const Family& family, std::uint32_t version, const OpenKeys& keys) {
    sensor.version = version;
    if (!keys.writeValidation)
        SKAR::IO::WriteDataValidationRecord(sensor);
    else if (const int code = TELD_WriteDataValidationRecord(&sensor))
        throwOpen<Error>(sensor, keys.writeValidation, code, errno);
    if (!sensor.state->file.seek(family.firstRecordOffset()))
        throwOpen<Error>(sensor, keys.seekSummary, family.code(Offset::seekSummary), errno);
}

template <class Error>
void readProfileSummary(_TELD_Sensor& sensor, const Family& family, const OpenKeys& keys) {
    const auto codeOr = [&](int code) { return keys.summaryCode != 0 ? keys.summaryCode : code; };
    if (keys.summaryCode == 0)
        SKAR::IO::ReadDataValidationRecord(sensor);
    else if (TELD_ReadDataValidationRecord(&sensor) != codes::success)
        throwOpen<Error>(sensor, keys.shortSummary, keys.summaryCode, errno);
    const std::byte* bytes = sensor.state->file.read(family.summary.size);
    if (!bytes) throwOpen<Error>(sensor, keys.shortSummary, codeOr(family.code(Offset::read)), errno);
    if (const int code = decodeSummary(sensor, family, bytes, family.summary.size))
        throwOpen<Error>(sensor, keys.undecodedSummary, codeOr(code));
}

template <class Error>
void readProfileSegments(_TELD_Sensor& sensor, const Family& family, const OpenKeys& keys) {
    const int code = readSegments(sensor, family);
    if (code == codes::success) return;
    const int error = errno;
    const int shown = keys.segmentsCode != 0 ? keys.segmentsCode : code;
    if (code == codes::outOfMemory) throwOpen<Error>(sensor, "errorMessages/General/outOfMemory", code);
    if (code == codes::segmentValidationRead) throwOpen<Error>(sensor, keys.segmentsValidation, shown);
    if (code == family.code(Offset::decodeSegments)) throwOpen<Error>(sensor, keys.segmentsDecode, shown);
    throwOpen<Error>(sensor, keys.segmentsOpen, shown, error);
}

// The throwing open of a profile family, but for the version it does not support.
template <class Traits, class OpenError, class ReadError>
_TELD_Sensor* openProfiles(const wchar_t* linePath, std::uint32_t id, const wchar_t* accessToken,
                           const OpenKeys& keys) {
    constexpr const Family& family = Traits::family;
    SensorGuard guard(openSensor<OpenError>(linePath, id, accessToken, keys.sensorOpen));
    if (!guard) return nullptr;
    _TELD_Sensor& sensor = *guard;
    errno = 0;
    if (sensor.accessType == TELD_CREATE) {
        beginProfiles<OpenError>(sensor, family, Traits::written, keys);
    } else {
        readProfileSummary<ReadError>(sensor, family, keys);
        readProfileSegments<ReadError>(sensor, family, keys);
        if (const int code = TmIdxRead(&sensor)) throwOpen<OpenError>(sensor, keys.timeIndex, code);
        if (!sensor.state->file.seek(family.firstRecordOffset()))
            throwOpen<OpenError>(sensor, keys.seekSummary, family.code(Offset::seek), errno);
    }
    if (attachProfileState(sensor, sensor.version, Traits::encodeSize, Traits::decodeSize(sensor.version)))
        throwOpen<OpenError>(sensor, "errorMessages/General/outOfMemory", codes::outOfMemory);
    return guard.release();
}

} // namespace skar::fileio
