#pragma once

#include <skar/sensor.h>

#include <cstddef>
#include <cstdint>
#include <vector>

// The read-ahead of the profile readers: a run of whole records is read at once and their fields are served
// from memory. Switched on by the environment variable SkarIOCacheSize, which counts the records of a block.
//
// The file stands where the current record does: whoever goes on in the file instead of the cache finds the
// same bytes. A block cannot disagree with the file: what is written through the handle shows in it, and a
// block that is not whole in the file is not kept.
namespace skar::fileio {

struct BlockCache {
    _TELD_Sensor* sensor = nullptr;
    std::int64_t fileSize = 0;     // when the cache was made; a file that grows while open is not followed
    std::uint32_t cacheSize = 0;   // records per block; 0: off
    std::uint32_t firstRecord = 0; // of the block, 0 for an empty one
    std::uint32_t lastRecord = 0;
    std::vector<std::uint8_t> flags;
    std::vector<std::int64_t> offsets; // of the records in the buffer
    std::vector<std::int64_t> sizes;
    std::vector<std::byte> buffer;
    std::int64_t blockBytes = 0;
    std::int64_t blockFileOffset = 0;
    std::int64_t positionInBuffer = 0; // of the current record
    std::uint32_t currentIndex = 0;
    std::int64_t positionInRecord = 0;
    std::uint32_t lastRecordAsked = 0;
};

// The place in the file of what the current record gives next; -1 without a current record.
std::int64_t filePosition(const BlockCache* cache);
// Whether the current record gives that many bytes from a place in the file on.
bool holds(const BlockCache* cache, std::int64_t position, std::size_t bytes);

inline BlockCache* cacheOf(const _TELD_Sensor& sensor) {
    return static_cast<BlockCache*>(sensor.auxiliary);
}

// Hangs a cache on the handle; a size of 0 or below leaves it without one. 0, or 5000009.
int initialiseCacheSize(_TELD_Sensor* sensor, std::int32_t size);
// The size that SkarIOCacheSize asks for, 0 when it is not set.
std::int32_t cacheSizeFromEnvironment();

// Changes the number of records per block and empties the block; the buffer stays.
void setCacheSize(BlockCache* cache, std::int32_t size);
std::uint32_t getCacheSize(const BlockCache* cache);
void getStartEndRecordNumber(const BlockCache* cache, std::uint32_t* first, std::uint32_t* last);

// Makes a record current, loading its block if it is not in memory. 0; 1 when the cache is off or cannot hold
// the record, so that the file is to be read; else the code of the time index.
int readRecord(BlockCache* cache, std::uint32_t record);
// The same for the record after the one asked for last.
int readRecordSeq(BlockCache* cache);

// Copies the next bytes of the current record. 1, or 0 when the cache is off or the record has too few left.
int BlockIOFread(BlockCache* cache, void* destination, std::size_t bytes);
// Moves within the current record. 1, or 0 when the cache is off or the record does not reach that far.
int setByteOffset(BlockCache* cache, std::uint32_t offset, int relative);

// Puts bytes that were written to the file into the block as well.
void showWritten(BlockCache* cache, std::int64_t position, const void* bytes, std::size_t size);
void clearBuffer(BlockCache* cache);
void destroy(BlockCache* cache);

} // namespace skar::fileio
