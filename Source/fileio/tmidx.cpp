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

void TimeIndexStore::link(_TELD_Sensor& sensor, _TELD_TmIdxSet* set) {
    if (sensor.lastTmIdxSet)
        sensor.lastTmIdxSet->next = set;
    else
        sensor.firstTmIdxSet = set;
    sensor.lastTmIdxSet = set;
    ++sensor.numTmIdxSets;
}

void TimeIndexStore::adopt(void* memory) {
    memory_.emplace_back(memory);
}

_TELD_TmIdxSet* TimeIndexStore::append(_TELD_Sensor& sensor, std::uint32_t capacity) try {
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
    link(sensor, set);
    if (sets_.size() == 1) uniform_ = fullTmIdxSet;
    const bool afterFull = sets_.size() == 1 || sets_[sets_.size() - 2]->numRecords == fullTmIdxSet;
    if (uniform_ != fullTmIdxSet || !afterFull) count();
    return set;
} catch (const std::bad_alloc&) {
    return nullptr;
}

bool TimeIndexStore::appendMany(_TELD_Sensor& sensor, std::uint32_t count) try {
    auto block = std::make_unique<_TELD_TmIdxSet[]>(count);
    sets_.reserve(sets_.size() + count);
    for (std::uint32_t i = 0; i < count; ++i) {
        clear(block[i]);
        link(sensor, &block[i]);
        sets_.push_back(&block[i]);
    }
    blocks_.push_back(std::move(block));
    growing_ = nullptr;
    return true;
} catch (const std::bad_alloc&) {
    return false;
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

const _TELD_TmIdxPair* TimeIndexStore::find(const _TELD_Sensor& sensor, std::uint32_t recordNumber) const {
    const std::uint64_t wanted = std::uint64_t{recordNumber} - 1;
    if (sets_.size() != sensor.numTmIdxSets || (!sets_.empty() && sets_.back() != sensor.lastTmIdxSet)) {
        std::uint64_t left = wanted;
        for (const auto* set = sensor.firstTmIdxSet; set; set = set->next) {
            if (left < set->numRecords) return set->offsets + left;
            left -= set->numRecords;
        }
        return nullptr;
    }
    if (sets_.empty()) return nullptr;
    if (uniform_ != 0) {
        const std::uint64_t which = wanted / uniform_;
        const std::uint64_t entry = wanted % uniform_;
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

// Lets the stream fail where the file ends, so that it tells about it as it does for any word.
void readPastEnd(qon_XDR& stream, std::FILE* file, std::int64_t end, std::int64_t start) {
    std::fseek(file, static_cast<long>(end - (end - start) % static_cast<std::int64_t>(wordSize)), SEEK_SET);
    std::uint32_t word;
    qon_xdr_u_int(&stream, &word);
}

int undecodedSetHeader(std::int64_t wholeWords) {
    switch (wholeWords % setHeaderWords) {
    case 1:
        skarDebugLog(1, "TmIdxRead() failed.  Unable to decode the minTime.  qon_xdr_u_int() failed\n");
        break;
    case 2:
        skarDebugLog(1, "TmIdxRead() failed.  Unable to decode the maxTime.  qon_xdr_u_int() failed\n");
        break;
    default: // nothing is said of a count
        break;
    }
    return codes::timeIndexRead;
}

int undecodedArray() {
    skarDebugLog(1, "TmIdxRead() failed.  Unable to decode the offset records.  qon_xdr_array() failed\n");
    return codes::timeIndexRead;
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

    // What the file claims is held against what it has before anything is allocated.
    const std::int64_t start = std::ftell(file);
    const std::int64_t end = platform::streamSize(file);
    const std::int64_t wholeWords =
        std::max<std::int64_t>(0, end - start) / static_cast<std::int64_t>(wordSize);
    const std::int64_t headerWords = std::int64_t{numSets} * setHeaderWords;
    if (headerWords > wholeWords) {
        readPastEnd(stream, file, end, start);
        return undecodedSetHeader(wholeWords);
    }
    if (headerWords + numSets > wholeWords) {
        readPastEnd(stream, file, end, start);
        return undecodedArray();
    }

    const std::size_t arrayWords = static_cast<std::size_t>(wholeWords - headerWords);
    auto* arrays = static_cast<std::uint32_t*>(platform::allocateLarge(arrayWords * wordSize));
    if (!arrays) return codes::outOfMemory;
    sensor.state->index.adopt(arrays);
    _TELD_TmIdxSet* const before = sensor.lastTmIdxSet;
    if (!sensor.state->index.appendMany(sensor, numSets)) return codes::outOfMemory;

    std::array<std::uint32_t, setHeaderWords * 1024> headers;
    _TELD_TmIdxSet* const first = before ? before->next : sensor.firstTmIdxSet;
    _TELD_TmIdxSet* set = first;
    for (std::uint32_t left = numSets; left > 0;) {
        const std::uint32_t step = std::min<std::uint32_t>(left, headers.size() / setHeaderWords);
        if (!readWords(file, headers.data(), std::size_t{step} * setHeaderWords)) return codes::timeIndexRead;
        for (std::uint32_t i = 0; i < step; ++i, set = set->next) {
            set->numRecords = headers[i * setHeaderWords];
            set->minTime = static_cast<std::int32_t>(headers[i * setHeaderWords + 1]);
            set->maxTime = static_cast<std::int32_t>(headers[i * setHeaderWords + 2]);
        }
        left -= step;
    }
    if (!readWords(file, arrays, arrayWords)) return undecodedArray();

    std::size_t at = 0;
    for (set = first; set; set = set->next) {
        const std::uint32_t claimed = set->numRecords;
        set->numRecords = 0;
        if (at == arrayWords) {
            readPastEnd(stream, file, end, start);
            return undecodedArray();
        }
        const std::uint32_t count = arrays[at++];
        if (claimed > sensor.maxTmIdxSetSize || count > sensor.maxTmIdxSetSize) return undecodedArray();
        if (count > (arrayWords - at) / 2) {
            readPastEnd(stream, file, end, start);
            return undecodedArray();
        }
        set->numRecords = count;
        set->offsets = reinterpret_cast<_TELD_TmIdxPair*>(arrays + at);
        at += std::size_t{count} * 2;
    }
    sensor.state->index.count();
    return codes::success;
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
    WordWriter words(file);
    for (const std::uint32_t word : {teldToken, sensor->sensorType, fileTypeTmIdx, sensor->version,
                                     sensor->numTmIdxSets, sensor->maxTmIdxSetSize})
        words.put(word);
    for (const auto* set = sensor->firstTmIdxSet; set; set = set->next) {
        words.put(set->numRecords);
        words.put(static_cast<std::uint32_t>(set->minTime));
        words.put(static_cast<std::uint32_t>(set->maxTime));
    }
    for (const auto* set = sensor->firstTmIdxSet; set; set = set->next) {
        words.put(set->numRecords);
        for (std::uint32_t i = 0; i < set->numRecords; ++i) {
            words.put(static_cast<std::uint32_t>(set->offsets[i].time));
            words.put(static_cast<std::uint32_t>(set->offsets[i].offset));
        }
    }
    const bool written = words.flush();
    // Only a close that succeeds says that the words are with the system.
    return std::fclose(file) == 0 && written ? codes::success : codes::timeIndexWrite;
}
