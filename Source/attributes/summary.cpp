#include "attributes/attributefile.h"

#include "fileio/coding.h"

#include <skar/codes.h>

#include <new>

// The summary record: how it is laid out, read, written and kept up to date.
namespace skar::attributes {

namespace {

constexpr std::int64_t summaryStart = 16; // behind the validation record
constexpr std::size_t largestSummary = 1'000'000;
constexpr std::size_t longestStoredName = 256;
constexpr std::size_t smallestDescriptor = 2 * wordSize;

MORVAUString fromUTF8(std::string_view bytes) {
    return MORVAUString(
        icu::UnicodeString::fromUTF8({bytes.data(), static_cast<std::int32_t>(bytes.size())}));
}

bool encodeDescriptors(Encoder& to, const AttributeList& list) {
    for (const Attribute& attribute : list)
        if (!to.word(attribute.type) || !to.text(attribute.name.toUTF8())) return false;
    return true;
}

} // namespace

bool AttributeFile::encodeTime(double time, std::uint32_t& word) const noexcept {
    return fileio::TELD_EncodeTime(time, referenceTime, scale, word);
}
double AttributeFile::decodeTime(std::uint32_t word) const noexcept {
    return fileio::TELD_DecodeTime(static_cast<std::int32_t>(word), referenceTime, scale);
}

// Words of a record before its attributes: a file of version 1 has no size word.
std::uint32_t AttributeFile::fixedRecordSize() const noexcept {
    std::size_t size = (fileVersion == 2 ? 3 : 2) * wordSize;
    for (const Attribute& attribute : dataAttributes)
        size += attribute.slot.scalarSize;
    return static_cast<std::uint32_t>(size);
}

// Bytes of the summary, 0 when it does not fit the buffer.
std::size_t AttributeFile::encodeSummary(std::span<std::byte> buffer, Positions& at) const {
    Encoder to(buffer);
    const auto here = [&] { return static_cast<std::uint32_t>(to.position()); };
    const std::string name = source.toUTF8();
    bool fits = to.word(0) && (fileVersion != 2 || to.word(dataVersion)) &&
                to.word(static_cast<std::uint32_t>(name.size())) && to.text(name);
    at.status = here();
    fits = fits && to.word(status);
    at.records = here();
    fits = fits && to.word(records) && to.word(static_cast<std::uint32_t>(scale));
    at.reference = here();
    fits = fits && to.word(static_cast<std::uint32_t>(referenceTime));
    // Before the first record these times have no coding; what is written for them is replaced in the end.
    std::uint32_t minimum = 0;
    std::uint32_t maximum = 0;
    encodeTime(minTime, minimum);
    encodeTime(maxTime, maximum);
    at.minimum = here();
    fits = fits && to.word(minimum);
    at.maximum = here();
    fits = fits && to.word(maximum);
    for (const std::size_t count : {summaryAttributes.size(), dataAttributes.size()})
        fits = fits && to.word(static_cast<std::uint32_t>(count)) && to.word(0);
    fits = fits && encodeDescriptors(to, summaryAttributes);
    for (const Attribute& each : summaryAttributes) {
        fits = fits && (each.slot.isVariable()
                            ? encodeBlock(to, each.slot, each.value, static_cast<std::uint32_t>(each.count))
                            : encodeScalar(to, each.slot, each.value));
    }
    at.largest = here();
    fits = fits && to.word(recordSize) && encodeDescriptors(to, dataAttributes);
    if (!fits) return 0;
    storeWord(buffer.data(), here());
    return to.position();
}

int AttributeFile::writeSummary() try {
    if (!file_) return codes::attributeFileCreate;
    recordSize = fixedRecordSize();
    std::vector<std::byte> buffer(largestSummary);
    Positions at;
    const std::size_t size = encodeSummary(buffer, at);
    if (size == 0 || !file_->seek(summaryStart) || !file_->write(buffer.data(), size))
        return codes::attributeFileCreate;
    positions_ = at;
    hasSummary_ = true;
    summarySize = static_cast<std::uint32_t>(size);
    largestRecord = recordSize;
    return codes::success;
} catch (const std::bad_alloc&) {
    return codes::attributeFileCreate;
}

bool AttributeFile::decodeAttributes(Decoder& from, std::uint32_t count, AttributeList& list) {
    if (count > from.left() / smallestDescriptor) return false;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint32_t type = 0;
        std::string_view name;
        if (!from.word(type) || !from.text(longestStoredName, name)) return false;
        list.add(static_cast<dataType>(type), fromUTF8(name));
    }
    return true;
}

bool AttributeFile::decodeSummary(Decoder& from, Positions& at) {
    const auto here = [&] { return static_cast<std::uint32_t>(from.position()); };
    if (fileVersion == 1) dataVersion = 0;
    if (fileVersion == 2 && !from.word(dataVersion)) return false;
    std::uint32_t length = 0;
    std::string_view name;
    if (!from.word(length) || !from.text(length, name)) return false;
    source = fromUTF8(name);
    std::uint32_t ticks = 0;
    std::uint32_t reference = 0;
    std::uint32_t minimum = 0;
    std::uint32_t maximum = 0;
    at.status = here();
    if (!from.word(status)) return false;
    at.records = here();
    if (!from.word(records) || !from.word(ticks)) return false;
    at.reference = here();
    if (!from.word(reference)) return false;
    at.minimum = here();
    if (!from.word(minimum)) return false;
    at.maximum = here();
    if (!from.word(maximum)) return false;
    scale = static_cast<std::int32_t>(ticks);
    referenceTime = static_cast<std::int32_t>(reference);
    minTime = decodeTime(minimum);
    maxTime = decodeTime(maximum);

    std::uint32_t numSummary = 0;
    std::uint32_t numData = 0;
    std::uint32_t reserved = 0;
    if (!from.word(numSummary) || !from.word(reserved) || !from.word(numData) || !from.word(reserved))
        return false;
    if (!decodeAttributes(from, numSummary, summaryAttributes)) return false;
    for (Attribute& each : summaryAttributes) {
        const bool whole = each.slot.isVariable() ? decodeBlock(from, each.slot, each.value, each.count, true)
                                                  : decodeScalar(from, each.slot, each.value);
        if (!whole) return false;
    }
    at.largest = here();
    return from.word(largestRecord) && decodeAttributes(from, numData, dataAttributes);
}

int AttributeFile::readSummary(Place& place) try {
    if (readValidation(place) != codes::success) return codes::dataValidationRead;
    const std::byte* word = file_->read(wordSize);
    if (!word) return codes::attributeFileCreate;
    const std::uint32_t size = loadWord(word);
    // What the file claims is held against what it has before anything is allocated.
    if (size < wordSize || summaryStart + std::int64_t{size} > file_->size())
        return codes::attributeFileCreate;
    const std::byte* bytes = file_->read(size - wordSize);
    if (!bytes) return codes::attributeFileCreate;
    dropSummaryBlocks();
    summaryAttributes.clear();
    dataAttributes.clear();
    Decoder from(bytes, size - wordSize);
    Positions at;
    if (!decodeSummary(from, at)) return codes::attributeFileCreate;
    // The size word is not among the bytes that were decoded.
    for (auto* position : {&at.status, &at.records, &at.reference, &at.minimum, &at.maximum, &at.largest})
        *position += wordSize;
    positions_ = at;
    hasSummary_ = true;
    summarySize = size;
    recordSize = largestRecord;
    takeSlots();
    place.position = summaryStart + size;
    place.reposition = true;
    return codes::success;
} catch (const std::bad_alloc&) {
    return codes::attributeFileCreate;
}

void AttributeFile::takeSlots() {
    slots_.clear();
    scalarBytes_ = 0;
    variableRecords = false;
    for (const Attribute& attribute : dataAttributes) {
        slots_.push_back(attribute.slot);
        scalarBytes_ += attribute.slot.scalarSize;
        variableRecords = variableRecords || attribute.slot.isVariable();
    }
}

int AttributeFile::updateSummary() {
    if (!hasSummary_ || !file_) return codes::success;
    std::uint32_t minimum = 0;
    std::uint32_t maximum = 0;
    encodeTime(minTime, minimum);
    encodeTime(maxTime, maximum);
    const struct {
        std::uint32_t position;
        std::uint32_t word;
    } words[] = {{positions_.status, status},
                 {positions_.reference, static_cast<std::uint32_t>(referenceTime)},
                 {positions_.minimum, minimum},
                 {positions_.maximum, maximum},
                 {positions_.largest, largestRecord},
                 {positions_.records, records}};
    for (const auto& [position, value] : words) {
        std::byte bytes[wordSize];
        storeWord(bytes, value);
        if (!file_->seek(summaryStart + position) || !file_->write(bytes, wordSize))
            return codes::attributeFileCreate;
    }
    return codes::success;
}

// The summary goes to the disk as it is now; only the six words reach it later.
int AttributeFile::startRecords(double time) {
    std::uint32_t reference = 0;
    std::uint32_t word = 0;
    if (!fileio::TELD_EncodeRefTime(time, reference) ||
        !fileio::TELD_EncodeTime(time, static_cast<std::int32_t>(reference), scale, word))
        return codes::attributeFileCreate;
    if (const int code = writeSummary()) return code;
    takeSlots();
    buffer_.resize(recordSize);
    referenceTime = static_cast<std::int32_t>(reference);
    registering = false;
    return file_->seek(summaryStart + summarySize) ? codes::success : codes::attributeFileCreate;
}

} // namespace skar::attributes
