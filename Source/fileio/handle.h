#pragma once

#include "fileio/recordfile.h"
#include "fileio/tmidx.h"

#include <skar/sensor.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

// What stands behind a handle, and what all of its files share.
namespace skar::fileio {

inline constexpr std::uint32_t teldToken = 0x54454C44; // "TELD"
inline constexpr std::uint32_t fileTypeData = 1;
inline constexpr std::uint32_t fileTypeLineSegments = 2;
inline constexpr std::uint32_t fileTypeTmIdx = 3;

// What a profile's header said when a read by number went there.
struct VisitedProfile {
    std::uint32_t profile = 0; // 0 for none
    std::uint32_t numDepths = 0;
    std::uint32_t startBeam = 0;
    std::uint32_t status = 0;
    std::int64_t offset = 0;
    double time = 0.0;
    double latitude = 0.0;
    double longitude = 0.0;
};

struct HandleState {
    explicit HandleState(std::FILE* dataFile) : file(dataFile) {}

    RecordFile file;
    TimeIndexStore index;
    std::array<std::vector<std::byte>, 4> samples; // of the ping read last, in the imagery families
    std::vector<VisitedProfile> visited; // at its number modulo the size; empty until reads jump about
};

// Makes sure that the time index has room for the record that goes to the present position of the file. 0, or
// the code of TmIdxEntry.
int roomForIndexEntrySlow(_TELD_Sensor& sensor);
inline int roomForIndexEntry(_TELD_Sensor& sensor) {
    const bool room = sensor.state->index.takesEntry(sensor.lastTmIdxSet);
    return room && sensor.state->file.position() <= INT32_MAX ? 0 : roomForIndexEntrySlow(sensor);
}

// Enters a record in the room that was made. A record is entered once it was written: one that could not be
// must not shift the numbers of those after it.
inline void enterInIndex(_TELD_Sensor& sensor, std::int32_t encodedTime, std::int64_t offset) {
    sensor.state->index.enter(*sensor.lastTmIdxSet, encodedTime, static_cast<std::int32_t>(offset));
}

} // namespace skar::fileio
