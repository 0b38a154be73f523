#include "fileio/blockcache.h"

#include "fileio/handle.h"

#include <skar/codes.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace skar::fileio {

namespace {

constexpr std::size_t firstCapacity = 100000;

bool isOff(const BlockCache* cache) {
    return !cache || cache->cacheSize == 0;
}

// Where a record begins in the file, -1 past the last one. Looking one record too far is how a block finds
// its end and is nothing to log.
std::int64_t offsetOf(const BlockCache& cache, std::uint32_t record) {
    const _TELD_TmIdxPair* entry =
        record == 0 ? nullptr : cache.sensor->state->index.find(*cache.sensor, record);
    return entry ? entry->offset : -1;
}

// Finds the records of the block that begins with a record. False when they do not follow each other within
// the file.
bool measureBlock(BlockCache& cache, std::uint32_t record) {
    std::int64_t previous = cache.blockFileOffset;
    cache.offsets[0] = 0;
    cache.flags[0] = 0;
    for (std::uint32_t i = 1;; ++i) {
        const std::int64_t found = offsetOf(cache, record + i);
        const bool last = found < 0;
        const std::int64_t end = last ? cache.fileSize : found;
        if (end < previous || end > cache.fileSize) return false;
        cache.sizes[i - 1] = end - previous;
        if (last || i == cache.cacheSize) {
            cache.firstRecord = record;
            cache.lastRecord = record + i - 1;
            cache.blockBytes = end - cache.blockFileOffset;
            return true;
        }
        cache.offsets[i] = end - cache.blockFileOffset;
        cache.flags[i] = 0;
        previous = end;
    }
}

void keepFileInStep(const BlockCache& cache) {
    cache.sensor->state->file.seek(filePosition(&cache));
}

bool loadBlock(BlockCache& cache) try {
    const auto bytes = static_cast<std::size_t>(cache.blockBytes);
    RecordFile& file = cache.sensor->state->file;
    if (!file.seek(cache.blockFileOffset)) return false;
    const std::byte* block = file.read(bytes);
    if (!block) return false;
    if (bytes > cache.buffer.size()) cache.buffer = std::vector<std::byte>(bytes);
    std::memcpy(cache.buffer.data(), block, bytes);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

} // namespace

std::int64_t filePosition(const BlockCache* cache) {
    if (isOff(cache) || cache->firstRecord == 0) return -1;
    return cache->blockFileOffset + cache->positionInBuffer + cache->positionInRecord;
}

bool holds(const BlockCache* cache, std::int64_t position, std::size_t bytes) {
    if (position < 0 || filePosition(cache) != position) return false;
    const std::int64_t left = cache->sizes[cache->currentIndex] - cache->positionInRecord;
    return left >= 0 && bytes <= static_cast<std::size_t>(left);
}

int initialiseCacheSize(_TELD_Sensor* sensor, std::int32_t size) try {
    if (!sensor || size <= 0) return codes::success;
    destroy(cacheOf(*sensor));
    sensor->auxiliary = nullptr;
    auto* cache = new BlockCache;
    sensor->auxiliary = cache;
    cache->sensor = sensor;
    // A run of reads past the cache ends here.
    sensor->state->file.seek(sensor->state->file.position());
    cache->fileSize = sensor->state->file.size();
    cache->buffer.resize(firstCapacity);
    setCacheSize(cache, size);
    return codes::success;
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

std::int32_t cacheSizeFromEnvironment() {
    const char* value = std::getenv("SkarIOCacheSize");
    return value ? static_cast<std::int32_t>(std::clamp<long>(std::strtol(value, nullptr, 10), 0, INT32_MAX))
                 : 0;
}

void setCacheSize(BlockCache* cache, std::int32_t size) {
    if (!cache) return;
    // A block is never longer than the index has records, so neither are the arrays.
    const std::uint32_t wanted = size > 0 ? static_cast<std::uint32_t>(size) : 0;
    std::uint64_t records = 0;
    for (const auto* set = cache->sensor->firstTmIdxSet; set; set = set->next)
        records += set->numRecords;
    const std::size_t entries =
        wanted == 0 ? 0 : static_cast<std::size_t>(std::min<std::uint64_t>(wanted, records)) + 1;
    cache->flags.assign(entries, 0);
    cache->offsets.assign(entries, 0);
    cache->sizes.assign(entries, 0);
    cache->cacheSize = wanted;
    clearBuffer(cache);
}

std::uint32_t getCacheSize(const BlockCache* cache) {
    return cache ? cache->cacheSize : 0;
}

void getStartEndRecordNumber(const BlockCache* cache, std::uint32_t* first, std::uint32_t* last) {
    if (first) *first = cache ? cache->firstRecord : 0;
    if (last) *last = cache ? cache->lastRecord : 0;
}

int readRecord(BlockCache* cache, std::uint32_t record) {
    if (isOff(cache)) return 1;
    if (record == 0) return codes::recordZero;
    const bool held = cache->firstRecord != 0 && record >= cache->firstRecord && record <= cache->lastRecord;
    if (!held) {
        clearBuffer(cache);
        const std::int64_t offset = offsetOf(*cache, record);
        if (offset < 0) return codes::recordNotIndexed;
        cache->blockFileOffset = offset;
        const std::int64_t before = cache->sensor->state->file.position();
        if (!measureBlock(*cache, record) || !loadBlock(*cache)) {
            clearBuffer(cache);
            cache->sensor->state->file.seek(before);
            cache->lastRecordAsked = record;
            return 1;
        }
    }
    cache->lastRecordAsked = record;
    cache->currentIndex = record - cache->firstRecord;
    cache->positionInBuffer = cache->offsets[cache->currentIndex];
    cache->positionInRecord = 0;
    keepFileInStep(*cache);
    return 0;
}

int readRecordSeq(BlockCache* cache) {
    return isOff(cache) ? 1 : readRecord(cache, cache->lastRecordAsked + 1);
}

int BlockIOFread(BlockCache* cache, void* destination, std::size_t bytes) {
    if (isOff(cache) || cache->firstRecord == 0) return 0;
    const std::int64_t left = cache->sizes[cache->currentIndex] - cache->positionInRecord;
    if (left < 0 || bytes > static_cast<std::size_t>(left)) return 0;
    std::memcpy(destination, cache->buffer.data() + cache->positionInBuffer + cache->positionInRecord, bytes);
    cache->positionInRecord += static_cast<std::int64_t>(bytes);
    keepFileInStep(*cache);
    return 1;
}

int setByteOffset(BlockCache* cache, std::uint32_t offset, int relative) {
    if (isOff(cache) || cache->firstRecord == 0) return 0;
    const std::int64_t position = std::int64_t{offset} + (relative ? cache->positionInRecord : 0);
    if (position > cache->sizes[cache->currentIndex] - 1) return 0;
    cache->positionInRecord = position;
    keepFileInStep(*cache);
    return 1;
}

void showWritten(BlockCache* cache, std::int64_t position, const void* bytes, std::size_t size) {
    if (isOff(cache) || cache->firstRecord == 0) return;
    const std::int64_t from = std::max(position, cache->blockFileOffset);
    const std::int64_t to =
        std::min(position + static_cast<std::int64_t>(size), cache->blockFileOffset + cache->blockBytes);
    if (from >= to) return;
    std::memcpy(cache->buffer.data() + (from - cache->blockFileOffset),
                static_cast<const std::byte*>(bytes) + (from - position),
                static_cast<std::size_t>(to - from));
}

void clearBuffer(BlockCache* cache) {
    if (!cache) return;
    cache->firstRecord = 0;
    cache->lastRecord = 0;
    cache->blockBytes = 0;
    cache->currentIndex = 0;
    cache->positionInBuffer = 0;
    cache->positionInRecord = 0;
}

void destroy(BlockCache* cache) {
    delete cache;
}

} // namespace skar::fileio
