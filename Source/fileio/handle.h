#pragma once

#include "fileio/recordfile.h"
#include "fileio/tmidx.h"

#include <skar/sensor.h>

#include <cstdint>

// What stands behind a handle, and what all of its files share.
namespace skar::fileio {

inline constexpr std::uint32_t teldToken = 0x54454C44; // "TELD"
inline constexpr std::uint32_t fileTypeData = 1;
inline constexpr std::uint32_t fileTypeLineSegments = 2;
inline constexpr std::uint32_t fileTypeTmIdx = 3;

struct HandleState {
    explicit HandleState(std::FILE* dataFile) : file(dataFile) {}

    RecordFile file;
    TimeIndexStore index;
};

// Enters the record about to be written in the time index and takes the entry back unless the record was
// kept: a record that could not be written must not shift the numbers of those after it.
class IndexEntryScope {
public:
    explicit IndexEntryScope(_TELD_Sensor& sensor) noexcept : sensor_(sensor) {}
    ~IndexEntryScope();
    IndexEntryScope(const IndexEntryScope&) = delete;
    IndexEntryScope& operator=(const IndexEntryScope&) = delete;

    bool add(std::int32_t encodedTime);
    void keep() noexcept { kept_ = true; }

private:
    _TELD_Sensor& sensor_;
    std::int32_t minTime_ = INT32_MAX;
    std::int32_t maxTime_ = INT32_MIN;
    bool added_ = false;
    bool kept_ = false;
};

} // namespace skar::fileio
