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

// Enters the record about to be written in the time index; 0, or the code of TmIdxEntry. A new set is the
// rare case.
int addIndexEntryInNewSet(_TELD_Sensor& sensor, std::int32_t encodedTime);
inline int addIndexEntry(_TELD_Sensor& sensor, std::int32_t encodedTime) {
    _TELD_TmIdxSet* set = sensor.lastTmIdxSet;
    const std::int64_t offset = sensor.state->file.position();
    if (!set || set->numRecords == fullTmIdxSet || offset < 0 || offset > INT32_MAX) [[unlikely]]
        return addIndexEntryInNewSet(sensor, encodedTime);
    if (encodedTime < set->minTime) set->minTime = encodedTime;
    if (encodedTime > set->maxTime) set->maxTime = encodedTime;
    set->offsets[set->numRecords++] = {encodedTime, static_cast<std::int32_t>(offset)};
    sensor.state->index.countEntry();
    return 0;
}

// Takes the entry of a record back unless the record was kept: one that could not be written must not shift
// the numbers of those after it.
class IndexEntryScope {
public:
    IndexEntryScope(_TELD_Sensor& sensor, std::int32_t encodedTime) : sensor_(sensor) {
        if (const _TELD_TmIdxSet* last = sensor.lastTmIdxSet; last && last->numRecords != fullTmIdxSet) {
            minTime_ = last->minTime;
            maxTime_ = last->maxTime;
        }
        added_ = addIndexEntry(sensor, encodedTime) == 0;
    }
    ~IndexEntryScope() {
        if (added_ && !kept_) sensor_.state->index.dropLast(sensor_, minTime_, maxTime_);
    }
    IndexEntryScope(const IndexEntryScope&) = delete;
    IndexEntryScope& operator=(const IndexEntryScope&) = delete;

    bool added() const noexcept { return added_; }
    void keep() noexcept { kept_ = true; }

private:
    _TELD_Sensor& sensor_;
    std::int32_t minTime_ = INT32_MAX;
    std::int32_t maxTime_ = INT32_MIN;
    bool added_ = false;
    bool kept_ = false;
};

} // namespace skar::fileio
