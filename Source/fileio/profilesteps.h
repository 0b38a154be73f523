#pragma once

#include "fileio/profiles.h"
#include "fileio/segments.h"
#include "fileio/validation.h"

#include <skar/errors.h>

#include <algorithm>
#include <memory>
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
    if (row.details & (withBeamRange | withOffset)) {
        const ProfileState& state = profileState(context.sensor);
        if (row.details & withBeamRange)
            error << SKAR::start_beam_number_info(state.startBeam)
                  << SKAR::max_beam_number_info(state.startBeam + state.numDepths - 1);
        if (row.details & withOffset)
            error << SKAR::byte_offset_info(static_cast<int>(context.sensor.state->file.position()));
    }
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
};

template <class Error>
[[noreturn]] void throwOpen(const _TELD_Sensor& sensor, const char* key, int code, int error = 0) {
    Error thrown;
    thrown << SKAR::file_name_info(MORVAUString(sensor.dataFilePath.c_str()))
           << bathy::error::BathyException::tag_error_code(code);
    if (key) thrown << bathy::error::BathyException::tag_additional_details(key);
    if (error != 0) thrown << SKAR::stdio_error_info(error);
    BOOST_THROW_EXCEPTION(thrown);
}

// Ends a handle that its open did not complete.
struct FreeSensor {
    void operator()(_TELD_Sensor* sensor) const noexcept { SensorFree(sensor); }
};
using SensorGuard = std::unique_ptr<_TELD_Sensor, FreeSensor>;

// The throwing open of a profile family, but for the version it does not support.
template <class Traits, class OpenError, class ReadError>
_TELD_Sensor* openProfiles(const wchar_t* linePath, std::uint32_t id, const wchar_t* accessToken,
                           const OpenKeys& keys) {
    constexpr const Family& family = Traits::family;
    SensorGuard guard(SKAR::IO::SensorOpen(linePath, id, accessToken));
    if (!guard) return nullptr;
    _TELD_Sensor& sensor = *guard;
    RecordFile& file = sensor.state->file;
    errno = 0;
    if (sensor.accessType == TELD_CREATE) {
        sensor.version = Traits::written;
        SKAR::IO::WriteDataValidationRecord(sensor);
        if (!file.seek(family.firstRecordOffset()))
            throwOpen<OpenError>(sensor, keys.seekSummary, family.code(Offset::seekSummary), errno);
    } else {
        SKAR::IO::ReadDataValidationRecord(sensor);
        const std::byte* bytes = file.read(family.summary.size);
        if (!bytes) throwOpen<ReadError>(sensor, keys.shortSummary, family.code(Offset::read), errno);
        if (const int code = decodeSummary(sensor, family, bytes, family.summary.size))
            throwOpen<ReadError>(sensor, keys.undecodedSummary, code);
        if (const int code = readSegments(sensor, family)) {
            const int error = errno;
            if (code == codes::segmentValidationRead)
                throwOpen<ReadError>(sensor, keys.segmentsValidation, code);
            if (code == family.code(Offset::decodeSegments))
                throwOpen<ReadError>(sensor, keys.segmentsDecode, code);
            if (code == codes::outOfMemory)
                throwOpen<ReadError>(sensor, "errorMessages/General/outOfMemory", code);
            throwOpen<ReadError>(sensor, keys.segmentsOpen, code, error);
        }
        if (const int code = TmIdxRead(&sensor)) throwOpen<OpenError>(sensor, keys.timeIndex, code);
        if (!file.seek(family.firstRecordOffset()))
            throwOpen<OpenError>(sensor, keys.seekSummary, family.code(Offset::seek), errno);
    }
    if (attachProfileState(sensor, sensor.version, Traits::encodeSize, Traits::decodeSize(sensor.version)))
        throwOpen<OpenError>(sensor, "errorMessages/General/outOfMemory", codes::outOfMemory);
    return guard.release();
}

} // namespace skar::fileio
