#include "fileio/validation.h"

#include "fileio/bytes.h"
#include "fileio/handle.h"
#include "fileio/xdr.h"

#include <skar/codes.h>
#include <skar/errors.h>
#include <skar/log.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace skar::fileio {

namespace {
constexpr std::size_t validationWords = 4;
constexpr std::size_t validationSize = validationWords * wordSize;
} // namespace

std::optional<ValidationStep> decodeDataValidation(_TELD_Sensor& sensor, std::span<std::byte> bytes) {
    qon_XDR stream;
    qon_xdrmem_create(&stream, bytes.data(), static_cast<std::uint32_t>(bytes.size()), XDR_DECODE);
    const XdrScope scope(stream);
    std::uint32_t word = 0;
    if (!qon_xdr_u_int(&stream, &word)) return ValidationStep::decodeToken;
    if (word != teldToken) return ValidationStep::token;
    if (!qon_xdr_u_int(&stream, &word)) return ValidationStep::decodeSensorType;
    if (word != sensor.sensorType) return ValidationStep::sensorType;
    if (!qon_xdr_u_int(&stream, &word)) return ValidationStep::decodeFileType;
    if (word != fileTypeData) return ValidationStep::fileType;
    if (!qon_xdr_u_int(&stream, &word)) return ValidationStep::decodeVersion;
    sensor.version = word;
    return std::nullopt;
}

std::optional<ValidationStep> encodeDataValidation(const _TELD_Sensor& sensor, std::span<std::byte> bytes) {
    qon_XDR stream;
    qon_xdrmem_create(&stream, bytes.data(), static_cast<std::uint32_t>(bytes.size()), XDR_ENCODE);
    const XdrScope scope(stream);
    const struct {
        std::uint32_t word;
        ValidationStep step;
    } words[] = {{teldToken, ValidationStep::decodeToken},
                 {sensor.sensorType, ValidationStep::decodeSensorType},
                 {fileTypeData, ValidationStep::decodeFileType},
                 {sensor.version, ValidationStep::decodeVersion}};
    for (auto [word, step] : words)
        if (!qon_xdr_u_int(&stream, &word)) return step;
    return std::nullopt;
}

std::optional<ValidationStep> readDataValidation(_TELD_Sensor& sensor) {
    RecordFile& file = sensor.state->file;
    if (!file.seek(0)) return ValidationStep::seek;
    const std::byte* stored = file.read(validationSize);
    if (!stored) return ValidationStep::transfer;
    std::array<std::byte, validationSize> bytes;
    std::memcpy(bytes.data(), stored, bytes.size());
    return decodeDataValidation(sensor, bytes);
}

std::optional<ValidationStep> writeDataValidation(_TELD_Sensor& sensor) {
    std::array<std::byte, validationSize> bytes;
    if (const auto failure = encodeDataValidation(sensor, bytes)) return failure;
    RecordFile& file = sensor.state->file;
    if (!file.seek(0)) return ValidationStep::seek;
    if (!file.write(bytes.data(), bytes.size())) return ValidationStep::transfer;
    return std::nullopt;
}

namespace {

const char* keyOf(ValidationStep step) {
    switch (step) {
    case ValidationStep::seek:
        return "errorMessages/SKARio/fseekBeginError";
    case ValidationStep::transfer:
        return "errorMessages/SKARio/freadValidationError";
    case ValidationStep::decodeToken:
        return "errorMessages/SKARio/decodeTokenError";
    case ValidationStep::token:
        return "errorMessages/SKARio/tokenMismatch";
    case ValidationStep::decodeSensorType:
        return "errorMessages/SKARio/decodeSensorType";
    case ValidationStep::sensorType:
        return "errorMessages/SKARio/sensorTypeMismatch";
    case ValidationStep::decodeFileType:
        return "errorMessages/SKARio/decodeFileType";
    case ValidationStep::fileType:
        return "errorMessages/SKARio/fileTypeMismatch";
    case ValidationStep::decodeVersion:
        break;
    }
    return "errorMessages/SKARio/decodeVersion";
}

const char* writeFailure(ValidationStep step) {
    switch (step) {
    case ValidationStep::seek:
        return "fseek() failed";
    case ValidationStep::transfer:
        return "fwrite() failed";
    case ValidationStep::decodeToken:
        return "TELD token";
    case ValidationStep::decodeSensorType:
        return "Sensor type";
    case ValidationStep::decodeFileType:
        return "File type";
    default:
        return "Version number";
    }
}

} // namespace

void throwReadFailure(ValidationStep step, int error) {
    auto failure = errors::failure<SKAR::IO::SensorReadError>(codes::dataValidationRead, keyOf(step));
    if (step == ValidationStep::seek || step == ValidationStep::transfer)
        failure << SKAR::stdio_error_info(error);
    BOOST_THROW_EXCEPTION(failure);
}

void throwWriteFailure(ValidationStep step) {
    Morva::Exception::Error failure("MESSAGE_ID_INTERNAL_ERROR");
    failure << xdr_encoding_failed(writeFailure(step));
    BOOST_THROW_EXCEPTION(failure);
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

int TELD_ReadDataValidationRecord(_TELD_Sensor* sensor) {
    if (!sensor) return codes::failed;
    return readDataValidation(*sensor) ? codes::dataValidationRead : codes::success;
}

int TELD_WriteDataValidationRecord(_TELD_Sensor* sensor) {
    if (!sensor) return codes::failed;
    return writeDataValidation(*sensor) ? codes::dataValidationWrite : codes::success;
}

void SKAR::IO::ReadDataValidationRecord(_TELD_Sensor& sensor) {
    errno = 0;
    if (const auto step = readDataValidation(sensor)) throwReadFailure(*step, errno);
}

void SKAR::IO::WriteDataValidationRecord(_TELD_Sensor& sensor) {
    if (const auto step = writeDataValidation(sensor)) throwWriteFailure(*step);
}

int TELD_ReadLnSegValidationRecord(_TELD_Sensor* sensor, qon_XDR* stream) {
    if (!sensor || !stream) return codes::failed;
    std::uint32_t word = 0;
    if (!qon_xdr_u_int(stream, &word)) {
        skarDebugLog(1, "TELD_ReadLnSegValidationRecord() failed, unable to decode teldToken.  "
                        "qon_xdr_u_int() failed()\n");
        return codes::segmentValidationRead;
    }
    if (word != teldToken) {
        skarDebugLog(1, "TELD_ReadLnSegValidationRecord() failed, unable to verify teldToken (%x)\n", word);
        return codes::segmentValidationRead;
    }
    if (!qon_xdr_u_int(stream, &word)) {
        skarDebugLog(1, "TELD_ReadLnSegValidationRecord() failed, unable to decode sensorType.  "
                        "qon_xdr_u_int() failed()\n");
        return codes::segmentValidationRead;
    }
    if (word != sensor->sensorType) {
        skarDebugLog(
            1, "TELD_ReadLnSegValidationRecord() failed, unable to match sensor type (%d, expected %d)\n",
            word, sensor->sensorType);
        return codes::segmentValidationRead;
    }
    if (!qon_xdr_u_int(stream, &word)) {
        skarDebugLog(1, "TELD_ReadLnSegValidationRecord() failed, unable to decode fileType\n");
        return codes::segmentValidationRead;
    }
    if (word != fileTypeLineSegments) {
        skarDebugLog(1, "TELD_ReadLnSegValidationRecord() failed, unable to match file type (%d)\n", word);
        return codes::segmentValidationRead;
    }
    if (!qon_xdr_u_int(stream, &word)) {
        skarDebugLog(1, "TELD_ReadLnSegValidationRecord() failed, unable to decode versionNumber\n");
        return codes::segmentValidationRead;
    }
    return codes::success;
}

int TELD_WriteLnSegValidationRecord(_TELD_Sensor* sensor, qon_XDR* stream) {
    if (!sensor || !stream) return codes::failed;
    for (std::uint32_t word : {teldToken, sensor->sensorType, fileTypeLineSegments, sensor->version})
        if (!qon_xdr_u_int(stream, &word)) return codes::segmentValidationWrite;
    return codes::success;
}
