#include "fileio/tmidx.h"

#include "fileio/bytes.h"
#include "fileio/handle.h"
#include "fileio/xdr.h"
#include "platform/file.h"
#include "platform/largememory.h"
#include "platform/positionedio.h"

#include <skar/codes.h>
#include <skar/log.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>

namespace skar::fileio {

namespace {

constexpr std::uint32_t setHeaderWords = 3;
constexpr std::size_t chunk = 256 * 1024;

void clear(_TELD_TmIdxSet& set) {
    set.numRecords = 0;
    set.minTime = std::numeric_limits<std::int32_t>::max();
    set.maxTime = std::numeric_limits<std::int32_t>::min();
    set.offsets = nullptr;
    set.next = nullptr;
}

} // namespace

void TimeIndexStore::link(TmIdxList list, _TELD_TmIdxSet* set) {
    if (list.last)
        list.last->next = set;
    else
        list.first = set;
    list.last = set;
    ++list.number;
}

void TimeIndexStore::adopt(void* memory) {
    memory_.emplace_back(memory);
}

_TELD_TmIdxSet* TimeIndexStore::append(TmIdxList list, std::uint32_t capacity) try {
    std::unique_ptr<void, Free> entries(std::malloc(std::size_t{capacity} * sizeof(_TELD_TmIdxPair)));
    if (!entries) return nullptr;
    auto block = std::make_unique<_TELD_TmIdxSet[]>(1);
    _TELD_TmIdxSet* set = block.get();
    clear(*set);
    set->offsets = static_cast<_TELD_TmIdxPair*>(entries.get());
    memory_.push_back(std::move(entries));
    blocks_.push_back(std::move(block));
    sets_.push_back(set);
    growing_ = set;
    link(list, set);
    if (sets_.size() == 1) uniform_ = fullTmIdxSet;
    const bool afterFull = sets_.size() == 1 || sets_[sets_.size() - 2]->numRecords == fullTmIdxSet;
    if (uniform_ != fullTmIdxSet || !afterFull) count();
    return set;
} catch (const std::bad_alloc&) {
    return nullptr;
}

bool TimeIndexStore::appendMany(TmIdxList list, std::uint32_t count) try {
    auto block = std::make_unique<_TELD_TmIdxSet[]>(count);
    sets_.reserve(sets_.size() + count);
    for (std::uint32_t i = 0; i < count; ++i) {
        clear(block[i]);
        link(list, &block[i]);
        sets_.push_back(&block[i]);
    }
    blocks_.push_back(std::move(block));
    growing_ = nullptr;
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool TimeIndexStore::remove(TmIdxList list, const _TELD_TmIdxSet* set) {
    const auto at = std::find(sets_.begin(), sets_.end(), set);
    if (at == sets_.end()) return false;
    _TELD_TmIdxSet* before = nullptr;
    for (_TELD_TmIdxSet** link = &list.first; *link; link = &(*link)->next) {
        if (*link == set) {
            *link = set->next;
            if (list.last == set) list.last = before;
            --list.number;
            break;
        }
        before = *link;
    }
    sets_.erase(at);
    if (growing_ == set) growing_ = nullptr;
    std::erase_if(memory_, [&](const auto& each) { return each.get() == set->offsets; });
    count();
    return true;
}

void TimeIndexStore::count() {
    ends_.clear();
    uniform_ = sets_.empty() ? 0 : sets_.front()->numRecords;
    const bool same = std::all_of(sets_.begin(), sets_.empty() ? sets_.end() : sets_.end() - 1,
                                  [&](const auto* set) { return set->numRecords == uniform_; });
    if (same && (sets_.empty() || sets_.back()->numRecords <= uniform_)) return;
    uniform_ = 0;
    std::uint64_t total = 0;
    ends_.reserve(sets_.size());
    for (const auto* set : sets_)
        ends_.push_back(total += set->numRecords);
}

const _TELD_TmIdxPair* TimeIndexStore::find(std::uint32_t numSets, const _TELD_TmIdxSet* first,
                                            const _TELD_TmIdxSet* last, std::uint32_t recordNumber) const {
    const std::uint64_t wanted = std::uint64_t{recordNumber} - 1;
    if (sets_.size() != numSets || (!sets_.empty() && sets_.back() != last)) {
        std::uint64_t left = wanted;
        for (const auto* set = first; set; set = set->next) {
            if (left < set->numRecords) return set->offsets + left;
            left -= set->numRecords;
        }
        return nullptr;
    }
    if (sets_.empty()) return nullptr;
    if (uniform_ != 0) {
        // Of sets as the store fills them the division is a shift.
        const bool full = uniform_ == fullTmIdxSet;
        const std::uint64_t which = full ? wanted / fullTmIdxSet : wanted / uniform_;
        const std::uint64_t entry = full ? wanted % fullTmIdxSet : wanted % uniform_;
        return which < sets_.size() && entry < sets_[which]->numRecords ? sets_[which]->offsets + entry
                                                                        : nullptr;
    }
    const auto end = std::upper_bound(ends_.begin(), ends_.end(), wanted);
    if (end == ends_.end()) return nullptr;
    const auto* set = sets_[static_cast<std::size_t>(end - ends_.begin())];
    return set->offsets + (wanted - (*end - set->numRecords));
}

int roomForIndexEntrySlow(_TELD_Sensor& sensor) {
    const std::int64_t offset = sensor.state->file.position();
    if (offset < 0 || offset > std::numeric_limits<std::int32_t>::max()) return codes::failed;
    if (sensor.state->index.takesEntry(sensor.lastTmIdxSet)) return codes::success;
    if (!sensor.state->index.append(sensor, std::max(sensor.maxTmIdxSetSize, fullTmIdxSet))) {
        skarDebugLog(1, "TmIdxEntry: out of memory\n");
        return codes::outOfMemory;
    }
    return codes::success;
}

namespace {

// Lets the stream fail where the file ends, so that it tells about it as it does for any word.
void readPastEnd(qon_XDR& stream, std::FILE* file, std::int64_t end, std::int64_t start) {
    std::fseek(file, static_cast<long>(end - (end - start) % static_cast<std::int64_t>(wordSize)), SEEK_SET);
    std::uint32_t word;
    qon_xdr_u_int(&stream, &word);
}

// Reads words and turns them while they are still near.
bool readWords(std::FILE* file, std::uint32_t* words, std::size_t count) {
    auto* to = reinterpret_cast<std::byte*>(words);
    for (std::size_t left = count * wordSize; left > 0;) {
        const std::size_t step = std::min(left, chunk);
        if (std::fread(to, 1, step, file) != step) return false;
        swapWords(to, step / wordSize);
        to += step;
        left -= step;
    }
    return true;
}

// Collects words and hands them on in large writes.
class WordWriter {
public:
    explicit WordWriter(std::FILE* file) : file_(file) {}
    void put(std::uint32_t word) {
        if (used_ == words_.size()) flush();
        storeWord(&words_[used_++], word);
    }
    bool flush() {
        good_ = good_ && std::fwrite(words_.data(), wordSize, used_, file_) == used_;
        used_ = 0;
        return good_;
    }

private:
    std::FILE* file_;
    std::array<std::uint32_t, 16 * 1024> words_;
    std::size_t used_ = 0;
    bool good_ = true;
};

// The sets as they are made for what the file claims, filled in order. Stops at the first that is not whole.
TmIdxStep fillTmIdxSets(_TELD_TmIdxSet* first, std::uint32_t numSets, std::uint32_t maxEntries,
                        std::uint32_t* arrays, std::size_t arrayWords, std::FILE* file, bool& pastEnd) {
    std::array<std::uint32_t, setHeaderWords * 1024> headers;
    _TELD_TmIdxSet* set = first;
    for (std::uint32_t left = numSets; left > 0;) {
        const std::uint32_t step = std::min<std::uint32_t>(left, headers.size() / setHeaderWords);
        if (!readWords(file, headers.data(), std::size_t{step} * setHeaderWords)) return TmIdxStep::count;
        for (std::uint32_t i = 0; i < step; ++i, set = set->next) {
            set->numRecords = headers[i * setHeaderWords];
            set->minTime = static_cast<std::int32_t>(headers[i * setHeaderWords + 1]);
            set->maxTime = static_cast<std::int32_t>(headers[i * setHeaderWords + 2]);
        }
        left -= step;
    }
    if (!readWords(file, arrays, arrayWords)) return TmIdxStep::entries;

    std::size_t at = 0;
    for (set = first; set; set = set->next) {
        const bool counted = at < arrayWords;
        const std::uint32_t count = counted ? arrays[at++] : 0;
        const bool allowed = set->numRecords <= maxEntries && count <= maxEntries;
        pastEnd = !counted || (allowed && count > (arrayWords - at) / 2);
        if (pastEnd || !allowed) return TmIdxStep::entries;
        set->numRecords = count;
        set->offsets = reinterpret_cast<_TELD_TmIdxPair*>(arrays + at);
        at += std::size_t{count} * 2;
    }
    return TmIdxStep::done;
}

} // namespace

TmIdxStep readTmIdxSets(TmIdxList list, TimeIndexStore& store, std::uint32_t numSets,
                        std::uint32_t maxEntries, std::FILE* file, qon_XDR& stream) {
    const std::int64_t start = std::ftell(file);
    const std::int64_t end = platform::streamSize(file);
    const std::int64_t wholeWords =
        std::max<std::int64_t>(0, end - start) / static_cast<std::int64_t>(wordSize);
    const std::int64_t headerWords = std::int64_t{numSets} * setHeaderWords;
    if (headerWords > wholeWords) {
        readPastEnd(stream, file, end, start);
        constexpr TmIdxStep words[] = {TmIdxStep::count, TmIdxStep::minTime, TmIdxStep::maxTime};
        return words[wholeWords % setHeaderWords];
    }
    if (headerWords + numSets > wholeWords) {
        readPastEnd(stream, file, end, start);
        return TmIdxStep::entries;
    }

    const std::size_t arrayWords = static_cast<std::size_t>(wholeWords - headerWords);
    auto* arrays = static_cast<std::uint32_t*>(platform::allocateLarge(arrayWords * wordSize));
    if (!arrays) return TmIdxStep::memory;
    store.adopt(arrays);
    _TELD_TmIdxSet* const before = list.last;
    if (!store.appendMany(list, numSets)) return TmIdxStep::memory;
    _TELD_TmIdxSet* const first = before ? before->next : list.first;
    bool pastEnd = false;
    const TmIdxStep step = fillTmIdxSets(first, numSets, maxEntries, arrays, arrayWords, file, pastEnd);
    for (_TELD_TmIdxSet* set = first; set; set = set->next)
        if (!set->offsets) set->numRecords = 0;
    store.count();
    if (pastEnd) readPastEnd(stream, file, end, start);
    return step;
}

bool writeTmIdxSets(std::FILE* file, std::initializer_list<std::uint32_t> header,
                    const _TELD_TmIdxSet* first) {
    WordWriter words(file);
    for (const std::uint32_t word : header)
        words.put(word);
    for (const auto* set = first; set; set = set->next) {
        words.put(set->numRecords);
        words.put(static_cast<std::uint32_t>(set->minTime));
        words.put(static_cast<std::uint32_t>(set->maxTime));
    }
    for (const auto* set = first; set; set = set->next) {
        words.put(set->numRecords);
        for (std::uint32_t i = 0; i < set->numRecords; ++i) {
            words.put(static_cast<std::uint32_t>(set->offsets[i].time));
            words.put(static_cast<std::uint32_t>(set->offsets[i].offset));
        }
    }
    return words.flush();
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

int TmIdxEntry(_TELD_Sensor* sensor, std::int32_t encodedTime) {
    if (!sensor) return codes::failed;
    if (const int code = roomForIndexEntry(*sensor)) return code;
    enterInIndex(*sensor, encodedTime, sensor->state->file.position());
    return codes::success;
}

int TmIdxMapIndexToByteOffset(_TELD_Sensor* sensor, std::uint32_t recordNumber, std::int32_t* offset) {
    if (!sensor) {
        skarDebugLog(1, "TmIdxMapIndexToByteOffset: sensor is invalid (empty)\n");
        return codes::failed;
    }
    if (!offset) {
        skarDebugLog(1, "TmIdxMapIndexToByteOffset: input variable 'offset' is invalid (empty)\n");
        return codes::failed;
    }
    if (recordNumber == 0) {
        skarDebugLog(1, "TmIdxMapIndexToByteOffset: record number is invalid\n");
        return codes::recordZero;
    }
    const _TELD_TmIdxPair* entry = sensor->state->index.find(*sensor, recordNumber);
    if (!entry) {
        skarDebugLog(1, "TmIdxMapIndexToByteOffset: requested record number not found\n");
        return codes::recordNotIndexed;
    }
    *offset = entry->offset;
    return codes::success;
}

namespace {

struct HeaderWord {
    std::uint32_t* value;
    const char* undecoded;
};

int readIndex(_TELD_Sensor& sensor, std::FILE* file, qon_XDR& stream) {
    const struct {
        std::uint32_t expected;
        const char* undecoded;
        const char* mismatch;
    } validation[] = {
        {teldToken, "TmIdxRead() failed.  Unable to decode the teldToken.  qon_xdr_u_int() failed\n",
         "TmIdxRead() failed.  Unable to match the teldToken (%x).  qon_xdr_u_int() failed\n"},
        {sensor.sensorType, "TmIdxRead() failed.  Unable to decode the sensorType.  qon_xdr_u_int() failed\n",
         nullptr},
        {fileTypeTmIdx, "TmIdxRead() failed.  Unable to decode the fileType.  qon_xdr_u_int() failed\n",
         nullptr},
    };
    for (const auto& [expected, undecoded, mismatch] : validation) {
        std::uint32_t word = 0;
        if (!qon_xdr_u_int(&stream, &word)) {
            skarDebugLog(1, "%s", undecoded);
            return codes::timeIndexRead;
        }
        if (word != expected) {
            if (mismatch) skarDebugLog(1, mismatch, word);
            return codes::timeIndexRead;
        }
    }
    std::uint32_t version = 0;
    std::uint32_t numSets = 0;
    const HeaderWord header[] = {
        {&version, "TmIdxRead() failed.  Unable to decode the versionNumber.  qon_xdr_u_int() failed\n"},
        {&numSets, "TmIdxRead() failed.  Unable to decode the numTmIdxSets.  qon_xdr_u_int() failed\n"},
        {&sensor.maxTmIdxSetSize,
         "TmIdxRead() failed.  Unable to decode the maxTmIdxSetSize.  qon_xdr_u_int() failed\n"},
    };
    for (const auto& [value, undecoded] : header) {
        if (!qon_xdr_u_int(&stream, value)) {
            skarDebugLog(1, "%s", undecoded);
            return codes::timeIndexRead;
        }
    }

    switch (readTmIdxSets(sensor, sensor.state->index, numSets, sensor.maxTmIdxSetSize, file, stream)) {
    case TmIdxStep::done:
        return codes::success;
    case TmIdxStep::memory:
        return codes::outOfMemory;
    case TmIdxStep::count: // nothing is said of it
        break;
    case TmIdxStep::minTime:
        skarDebugLog(1, "TmIdxRead() failed.  Unable to decode the minTime.  qon_xdr_u_int() failed\n");
        break;
    case TmIdxStep::maxTime:
        skarDebugLog(1, "TmIdxRead() failed.  Unable to decode the maxTime.  qon_xdr_u_int() failed\n");
        break;
    case TmIdxStep::entries:
        skarDebugLog(1,
                     "TmIdxRead() failed.  Unable to decode the offset records.  qon_xdr_array() failed\n");
        break;
    }
    return codes::timeIndexRead;
}

} // namespace

int TmIdxRead(_TELD_Sensor* sensor) {
    if (!sensor) {
        skarDebugLog(1, "TmIdxRead: sensor is invalid (empty)\n");
        return codes::success;
    }
    std::FILE* file = platform::openFile(sensor->tmIdxPath.c_str(), "rb");
    if (!file) return codes::timeIndexOpen;
    qon_XDR stream;
    qon_xdrstdio_create(&stream, file, XDR_DECODE);
    int code = codes::outOfMemory;
    try {
        code = readIndex(*sensor, file, stream);
    } catch (const std::bad_alloc&) {
    }
    qon_xdr_destroy(&stream);
    std::fclose(file);
    return code;
}

int TmIdxWrite(_TELD_Sensor* sensor) {
    if (!sensor) {
        skarDebugLog(1, "TmIdxWrite: sensor is invalid (empty)\n");
        return codes::success;
    }
    std::FILE* file = platform::openFile(sensor->tmIdxPath.c_str(), "wb");
    if (!file) return codes::timeIndexOpen;
    const bool written = writeTmIdxSets(file,
                                        {teldToken, sensor->sensorType, fileTypeTmIdx, sensor->version,
                                         sensor->numTmIdxSets, sensor->maxTmIdxSetSize},
                                        sensor->firstTmIdxSet);
    // Only a close that succeeds says that the words are with the system.
    return std::fclose(file) == 0 && written ? codes::success : codes::timeIndexWrite;
}
