#pragma once

#include <skar/sensortype.h>

#include <cstdint>

namespace skar::fileio {

// One kind of sensor. The name and version are what SensorType shows; the rest is for the open, without a
// file name for the kinds that only the attribute files know.
struct SensorRow {
    std::uint32_t id;
    const wchar_t* name;
    std::uint32_t version;
    const wchar_t* fileName;
    // The sensor type that the validation records hold.
    std::uint32_t storedType;
    bool hasTrace;
};

// Null for an id that is not in the table.
const SensorRow* sensorRow(std::uint32_t id) noexcept;
// The name of the data file; null if such a sensor cannot be opened.
const wchar_t* fileNameOf(std::uint32_t id) noexcept;
// The sensor type in the files of an id; an id without files stands for itself.
std::uint32_t storedTypeOf(std::uint32_t id) noexcept;

} // namespace skar::fileio
