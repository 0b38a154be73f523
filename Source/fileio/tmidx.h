#pragma once

#include <skar/sensor.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace skar::fileio {

// A set is full at this count, whatever capacity the handle names for new ones.
inline constexpr std::uint32_t fullTmIdxSet = 512;

// Owns the blocks of a handle's time index and finds an entry in the same time whatever their number. The
// list of blocks in the handle is what the interface shows; should somebody have changed it, it is walked
// instead.
class TimeIndexStore {
public:
    // Makes an empty set of that capacity at the end of the list. Null when memory is short.
    _TELD_TmIdxSet* append(_TELD_Sensor& sensor, std::uint32_t capacity);
    // Makes `count` empty sets without room for entries at the end of the list.
    bool appendMany(_TELD_Sensor& sensor, std::uint32_t count);
    // Keeps memory that entries of sets lie in.
    void adopt(void* memory);
    // To be called when the counts of the sets have changed.
    void count();
    // To be called when an entry was added to the last set.
    void countEntry() {
        // A set that is filled to the full count keeps its place; any other change moves what comes after.
        if (uniform_ != fullTmIdxSet) count();
    }

    // Whether an entry can be added to the set: one that was read has no room behind its entries.
    bool takesEntry(const _TELD_TmIdxSet* set) const {
        return set && set == growing_ && set->numRecords < fullTmIdxSet;
    }

    const _TELD_TmIdxPair* find(const _TELD_Sensor& sensor, std::uint32_t recordNumber) const;

private:
    struct Free {
        void operator()(void* memory) const noexcept { std::free(memory); }
    };
    void link(_TELD_Sensor& sensor, _TELD_TmIdxSet* set);

    std::vector<std::unique_ptr<_TELD_TmIdxSet[]>> blocks_;
    std::vector<std::unique_ptr<void, Free>> memory_;
    std::vector<const _TELD_TmIdxSet*> sets_; // in order
    const _TELD_TmIdxSet* growing_ = nullptr; // has room for the full count
    // All sets but the last hold this many entries; 0 when they differ, and `ends_` has the records up to and
    // with each.
    std::uint32_t uniform_ = 0;
    std::vector<std::uint64_t> ends_;
};

} // namespace skar::fileio
