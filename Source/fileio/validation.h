#pragma once

#include <skar/sensor.h>

#include <boost/exception/error_info.hpp>

#include <cstddef>
#include <optional>
#include <span>
#include <string>

// The record of four words that every file of a set opens with, and tells what it is by.
namespace skar::fileio {

// The step at which reading or writing the record failed, in the order of the steps.
enum class ValidationStep {
    seek,
    transfer,
    decodeToken,
    token,
    decodeSensorType,
    sensorType,
    decodeFileType,
    fileType,
    decodeVersion,
};

// On the data file; nothing when all went well.
std::optional<ValidationStep> readDataValidation(_TELD_Sensor& sensor);
std::optional<ValidationStep> writeDataValidation(_TELD_Sensor& sensor);

// Takes the four words apart or puts them together. A record shorter than they need fails at the word it
// lacks.
std::optional<ValidationStep> decodeDataValidation(_TELD_Sensor& sensor, std::span<std::byte> bytes);
std::optional<ValidationStep> encodeDataValidation(const _TELD_Sensor& sensor, std::span<std::byte> bytes);

// What the namespaced interface throws for a step; `error` is errno at the failure.
[[noreturn]] void throwReadFailure(ValidationStep step, int error);
[[noreturn]] void throwWriteFailure(ValidationStep step);

// Names what could not be written of a validation record.
using xdr_encoding_failed = boost::error_info<struct xdr_encoding_failed_, std::string>;

} // namespace skar::fileio
