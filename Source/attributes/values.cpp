#include "attributes/values.h"

#include <algorithm>
#include <limits>
#include <new>

namespace skar::attributes {

namespace {

// One byte more, so that a text has its terminator.
std::uint8_t* makeBlock(Slot slot, std::uint64_t bytes) noexcept {
    const bool isText = slot.coding == valueCoding::string;
    return new (std::nothrow) std::uint8_t[static_cast<std::size_t>(bytes) + (isText ? 1 : 0)]();
}

void makeTruths(std::uint8_t* bytes, std::uint64_t count) noexcept {
    std::transform(bytes, bytes + count, bytes, [](std::uint8_t byte) -> std::uint8_t { return byte != 0; });
}

} // namespace

std::uint64_t encodedSize(Slot slot, std::uint64_t count) noexcept {
    return count == 0 ? wordSize : 2 * wordSize + padded(count * slot.width);
}

bool encodeBlock(Encoder& to, Slot slot, const dataValue& value, std::uint64_t count) noexcept {
    if (count > std::numeric_limits<std::uint32_t>::max() / slot.width) return false;
    if (!to.word(static_cast<std::uint32_t>(count))) return false;
    if (count == 0) return true;
    if (!value.byteArray) return false;
    const auto bytes = static_cast<std::uint32_t>(count * slot.width);
    if (!to.word(bytes)) return false;
    if (slot.coding != valueCoding::booleanArray) return to.bytes(value.byteArray, bytes);
    for (std::uint32_t i = 0; i < bytes; ++i)
        if (!to.byte(value.byteArray[i] != 0)) return false;
    return to.pad(bytes);
}

bool decodeBlock(Decoder& from, Slot slot, dataValue& value, int& count, bool keep) noexcept {
    value.uint64 = 0;
    count = 0;
    std::uint32_t elements = 0;
    if (!from.word(elements)) return false;
    if (elements == 0) return true;
    const std::uint64_t bytes = std::uint64_t{elements} * slot.width;
    std::uint32_t stored = 0;
    if (!from.word(stored)) return false;
    // A string may be shorter than its count says; an array whose two lengths differ is damaged.
    if (slot.coding == valueCoding::string ? stored > bytes : stored != bytes) return false;
    if (bytes > from.left() || bytes > std::uint64_t{std::numeric_limits<std::int32_t>::max()}) return false;
    const std::byte* here = from.bytes(stored);
    if (!here) return false;
    if (keep) {
        std::uint8_t* block = makeBlock(slot, bytes);
        if (!block) return false;
        std::memcpy(block, here, stored);
        if (slot.coding == valueCoding::booleanArray) makeTruths(block, bytes);
        value.byteArray = block;
    }
    count = static_cast<int>(elements);
    return true;
}

bool copyBlock(Slot slot, const dataValue& value, std::uint64_t count, dataValue& copy) noexcept {
    const std::uint64_t bytes = count * slot.width;
    std::uint8_t* block = makeBlock(slot, bytes);
    if (!block) return false;
    const std::uint64_t present = slot.coding == valueCoding::string ? strnlen(value.string, bytes) : bytes;
    std::memcpy(block, value.byteArray, static_cast<std::size_t>(present));
    copy.byteArray = block;
    return true;
}

void freeBlock(dataValue& value) noexcept {
    delete[] value.byteArray;
    value.uint64 = 0;
}

std::uint64_t textLength(const dataValue& value) noexcept {
    return value.string ? std::strlen(value.string) : 0;
}

} // namespace skar::attributes
