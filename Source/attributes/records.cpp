#include "attributes/attributefile.h"

#include "fileio/coding.h"

#include <skar/codes.h>

#include <algorithm>
#include <new>

// Records: how they are sized, written and read.
namespace skar::attributes {

namespace {

constexpr int nextRecord = -999;
// A record up to this size is read together with its size word.
constexpr std::uint32_t mostAtOnce = 4096;
// A larger piece is held against the size of the file before there is memory for it.
constexpr std::size_t trustedSize = 64 * 1024;

std::uint64_t countOf(const std::vector<int>& counts, std::size_t i) {
    return static_cast<std::uint64_t>(std::max(counts[i], 0));
}

} // namespace

std::uint64_t AttributeFile::sizeOfRecord(const std::vector<int>& counts,
                                          const std::vector<dataValue>& values) const {
    std::uint64_t size = recordSize;
    if (values.empty()) return size;
    const std::size_t counted = std::min(counts.size(), dataAttributes.size());
    for (std::size_t i = 0; i < counted; ++i)
        if (dataAttributes[i].slot.isVariable())
            size += encodedSize(dataAttributes[i].slot, countOf(counts, i));
    return size;
}

bool AttributeFile::encodeAttribute(Encoder& to, std::size_t i, const std::vector<dataValue>& values,
                                    const std::vector<int>& counts) const {
    const Slot slot = slots_[i];
    if (slot.coding == valueCoding::none) return true;
    if (!slot.isVariable()) return i < values.size() && encodeScalar(to, slot, values[i]);
    if (i >= counts.size()) return true;
    if (counts[i] < 0 || i >= values.size()) return false;
    return encodeBlock(to, slot, values[i],
                       slot.coding == valueCoding::string ? textLength(values[i]) : countOf(counts, i));
}

int AttributeFile::writeRecord(double time, std::uint32_t recordStatus, const std::vector<dataValue>& values,
                               const std::vector<int>& counts) try {
    if (!writes()) return codes::attributeAccess;
    if (!file_) return codes::attributeFileCreate;
    if (registering)
        if (const int code = startRecords(time)) return code;

    const std::uint64_t size = variableRecords ? sizeOfRecord(counts, values) : recordSize;
    std::uint32_t timeWord = 0;
    if (size > std::numeric_limits<std::int32_t>::max() || !encodeTime(time, timeWord))
        return codes::attributeFileCreate;
    if (size > buffer_.size()) buffer_.resize(static_cast<std::size_t>(size));

    Encoder to(buffer_);
    bool coded = to.word(static_cast<std::uint32_t>(size)) && to.word(recordStatus) && to.word(timeWord);
    if (!variableRecords && values.size() >= slots_.size()) {
        std::byte* at = coded ? to.room(scalarBytes_) : nullptr;
        coded = at != nullptr;
        for (std::size_t i = 0; coded && i < slots_.size(); ++i)
            at = putScalar(at, slots_[i], values[i]);
    } else {
        for (std::size_t i = 0; coded && i < slots_.size(); ++i)
            coded = encodeAttribute(to, i, values, counts);
    }
    if (!coded) return codes::attributeFileCreate;
    // Behind a string that is shorter than its count nothing of an earlier record may stand.
    if (to.position() < size)
        std::fill(buffer_.begin() + static_cast<std::ptrdiff_t>(to.position()),
                  buffer_.begin() + static_cast<std::ptrdiff_t>(size), std::byte{0});

    if (enterInIndex(static_cast<std::int32_t>(timeWord)) != codes::success)
        return codes::attributeFileCreate;
    if (!file_->append(buffer_.data(), static_cast<std::size_t>(size))) {
        // A record that is not in the file must not shift the numbers of those after it.
        --lastSet->numRecords;
        return codes::attributeWrite;
    }
    ++records;
    largestRecord = std::max(largestRecord, static_cast<std::uint32_t>(size));
    minTime = std::min(minTime, time);
    maxTime = std::max(maxTime, time);
    return codes::success;
} catch (const std::bad_alloc&) {
    return codes::attributeFileCreate;
}

bool AttributeFile::readBytes(Place& place, std::size_t size, const std::byte*& bytes) {
    if (!file_) return false;
    if (file_->position() != place.position && !file_->seek(place.position)) return false;
    if (size > trustedSize && static_cast<std::int64_t>(size) > file_->size() - place.position) return false;
    bytes = file_->read(size);
    if (!bytes) return false;
    place.position += static_cast<std::int64_t>(size);
    return true;
}

int AttributeFile::readSizeWord(Place& place, std::uint32_t& size) {
    if (fileVersion != 2) {
        size = recordSize;
        return codes::success;
    }
    const std::byte* word = nullptr;
    if (!readBytes(place, wordSize, word)) return codes::attributeRead;
    size = loadWord(word) - static_cast<std::uint32_t>(wordSize);
    return codes::success;
}

int AttributeFile::reposition(Place& place, int number, int& offset) {
    if (!place.reposition) return codes::success;
    if (offsetOf(static_cast<std::uint32_t>(number), offset) != codes::success)
        return codes::attributeRecordRange;
    if (offset < 0) return codes::attributeRead;
    place.position = offset;
    return codes::success;
}

// The bytes behind the size word of the record at the place, which moves behind them.
const std::byte* AttributeFile::record(Place& place, std::uint32_t& size, int& code) {
    const std::byte* bytes = nullptr;
    const std::int64_t start = place.position;
    if (fileVersion == 2) {
        const std::uint32_t atOnce =
            std::clamp(largestRecord, static_cast<std::uint32_t>(wordSize), mostAtOnce);
        if (readBytes(place, atOnce, bytes)) {
            const std::uint32_t whole = loadWord(bytes);
            place.position = start + whole;
            size = whole - static_cast<std::uint32_t>(wordSize);
            if (whole >= wordSize && whole <= atOnce) [[likely]]
                return bytes + wordSize;
            place.position = start;
        }
    }
    code = readSizeWord(place, size);
    if (code == codes::success && size > largestRecord) code = codes::attributeRecordSize;
    if (code == codes::success && !readBytes(place, size, bytes)) code = codes::attributeRead;
    if (code == codes::success) return bytes;
    place.position = start;
    place.reposition = true;
    return nullptr;
}

int AttributeFile::readRecord(Place& place, double& time, std::uint32_t& recordStatus,
                              std::vector<dataValue>& values, std::vector<int>* counts, int number) try {
    if (writes()) return codes::attributeAccess;
    const std::int64_t wanted = number == nextRecord ? std::int64_t{place.record} + 1 : number;
    if (wanted < 1 || wanted > records || wanted > std::numeric_limits<std::int32_t>::max())
        return codes::attributeRecordRange;
    if (wanted != place.record && number != nextRecord) place.reposition = true;
    int code = codes::success;
    int offset = 0;
    if (place.reposition) code = reposition(place, static_cast<int>(wanted), offset);
    if (code != codes::success) return code;
    std::uint32_t size = 0;
    const std::byte* bytes = record(place, size, code);
    if (!bytes) return code;
    place.record = static_cast<std::uint32_t>(wanted);

    Decoder from(bytes, size);
    std::uint32_t word = 0;
    if (!from.word(word)) return codes::attributeRead;
    recordStatus = place.status = word;
    if (!from.word(word)) return codes::attributeRead;
    time = decodeTime(word);

    if (counts) counts->assign(slots_.size(), 0);
    if (!variableRecords && from.left() >= scalarBytes_) [[likely]] {
        values.resize(slots_.size());
        const std::byte* at = from.bytes(scalarBytes_);
        for (std::size_t i = 0; i < slots_.size(); ++i)
            at = takeScalar(at, slots_[i], values[i]);
        place.reposition = false;
        return codes::success;
    }
    values.assign(slots_.size(), dataValue{});
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        const Slot slot = slots_[i];
        if (!slot.isVariable()) {
            if (!decodeScalar(from, slot, values[i])) return codes::attributeFileCreate;
            continue;
        }
        int count = 0;
        if (!decodeBlock(from, slot, values[i], count, counts != nullptr)) return codes::attributeFileCreate;
        if (counts) (*counts)[i] = count;
    }
    place.reposition = false;
    return codes::success;
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

} // namespace skar::attributes
