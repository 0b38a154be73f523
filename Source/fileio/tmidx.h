#pragma once

#include <skar/sensor.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <vector>

namespace skar::fileio {

// A set is full at this count, whatever capacity the handle names for new ones.
inline constexpr std::uint32_t fullTmIdxSet = 512;

// The list of sets, where its owner shows it.
struct TmIdxList {
    TmIdxList(std::uint32_t& numSets, _TELD_TmIdxSet*& firstSet, _TELD_TmIdxSet*& lastSet)
        : number(numSets), first(firstSet), last(lastSet) {}
    TmIdxList(_TELD_Sensor& sensor)
        : TmIdxList(sensor.numTmIdxSets, sensor.firstTmIdxSet, sensor.lastTmIdxSet) {}

    std::uint32_t& number;
    _TELD_TmIdxSet*& first;
    _TELD_TmIdxSet*& last;
};

// Owns the blocks of a time index and finds an entry in the same time whatever their number. The list of
// blocks is what the interface shows; should somebody have changed it, it is walked instead.
class TimeIndexStore {
public:
    // Makes an empty set of that capacity at the end of the list. Null when memory is short.
    _TELD_TmIdxSet* append(TmIdxList list, std::uint32_t capacity);
    // Makes `count` empty sets without room for entries at the end of the list.
    bool appendMany(TmIdxList list, std::uint32_t count);
    // Takes a set out of the list and frees it. False for one that is not in it.
    bool remove(TmIdxList list, const _TELD_TmIdxSet* set);
    // Keeps memory that entries of sets lie in.
    void adopt(void* memory);
    // To be called when the counts of the sets have changed.
    void count();
    // Puts an entry into the room behind the others of the last set.
    void enter(_TELD_TmIdxSet& set, std::int32_t encodedTime, std::int32_t offset) {
        if (encodedTime < set.minTime) set.minTime = encodedTime;
        if (encodedTime > set.maxTime) set.maxTime = encodedTime;
        set.offsets[set.numRecords++] = {encodedTime, offset};
        // A set that is filled to the full count keeps its place; any other change moves what comes after.
        if (uniform_ != fullTmIdxSet) count();
    }

    // Whether an entry can be added to the set: one that was read has no room behind its entries.
    bool takesEntry(const _TELD_TmIdxSet* set) const {
        return set && set == growing_ && set->numRecords < fullTmIdxSet;
    }

    const _TELD_TmIdxPair* find(std::uint32_t numSets, const _TELD_TmIdxSet* first,
                                const _TELD_TmIdxSet* last, std::uint32_t recordNumber) const;
    const _TELD_TmIdxPair* find(const _TELD_Sensor& sensor, std::uint32_t recordNumber) const {
        return find(sensor.numTmIdxSets, sensor.firstTmIdxSet, sensor.lastTmIdxSet, recordNumber);
    }

private:
    struct Free {
        void operator()(void* memory) const noexcept { std::free(memory); }
    };
    void link(TmIdxList list, _TELD_TmIdxSet* set);

    std::vector<std::unique_ptr<_TELD_TmIdxSet[]>> blocks_;
    std::vector<std::unique_ptr<void, Free>> memory_;
    std::vector<const _TELD_TmIdxSet*> sets_; // in order
    const _TELD_TmIdxSet* growing_ = nullptr; // has room for the full count
    // All sets but the last hold this many entries; 0 when they differ, and `ends_` has the records up to and
    // with each.
    std::uint32_t uniform_ = 0;
    std::vector<std::uint64_t> ends_;
};

// What could not be read of the sets of an index file: a word of a set's header, its entries, or there was no
// memory for them.
enum class TmIdxStep { done, count, minTime, maxTime, entries, memory };

// Reads the sets behind the header of an index file to the end of the list. What the file claims is held
// against what it has before anything is allocated. After a failure no set claims entries that it has not.
TmIdxStep readTmIdxSets(TmIdxList list, TimeIndexStore& store, std::uint32_t numSets,
                        std::uint32_t maxEntries, std::FILE* file, qon_XDR& stream);

// Writes the words of a header and the sets of a list in large writes.
bool writeTmIdxSets(std::FILE* file, std::initializer_list<std::uint32_t> header,
                    const _TELD_TmIdxSet* first);

} // namespace skar::fileio
