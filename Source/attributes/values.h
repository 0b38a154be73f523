#pragma once

#include "fileio/bytes.h"

#include <skar/attributetypes.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

// Values of the attribute types in the bytes of a summary or a record, by the rows of the type table.
namespace skar::attributes {

using fileio::loadWord;
using fileio::storeWord;
using fileio::wordSize;
using SKARIOAttributes::dataValue;
using SKARIOAttributes::typeRow;
using SKARIOAttributes::valueCoding;

constexpr std::uint64_t padded(std::uint64_t size) noexcept {
    return (size + wordSize - 1) / wordSize * wordSize;
}

// Puts words and bytes into a buffer. What does not fit fails, and so does all after it.
class Encoder {
public:
    explicit Encoder(std::span<std::byte> buffer) noexcept
        : start_(buffer.data()), at_(buffer.data()), end_(buffer.data() + buffer.size()) {}

    std::size_t position() const noexcept { return static_cast<std::size_t>(at_ - start_); }
    bool word(std::uint32_t value) noexcept {
        if (!has(wordSize)) return false;
        storeWord(at_, value);
        at_ += wordSize;
        return true;
    }
    // The bytes and zeros up to a multiple of four.
    bool bytes(const void* from, std::size_t size) noexcept {
        if (!has(static_cast<std::size_t>(padded(size)))) return false;
        if (size != 0) std::memcpy(at_, from, size);
        at_ += size;
        return pad(size);
    }
    // Room for that many bytes, which the caller fills; null when there is not as much.
    std::byte* room(std::size_t size) noexcept {
        if (!has(size)) return nullptr;
        std::byte* here = at_;
        at_ += size;
        return here;
    }
    bool byte(bool truth) noexcept {
        if (!has(1)) return false;
        *at_++ = std::byte{truth};
        return true;
    }
    // Zeros behind that many bytes.
    bool pad(std::size_t size) noexcept {
        const auto zeros = static_cast<std::size_t>(padded(size) - size);
        if (!has(zeros)) return false;
        std::memset(at_, 0, zeros);
        at_ += zeros;
        return true;
    }
    // A length word and the bytes.
    bool text(std::string_view text) noexcept {
        return word(static_cast<std::uint32_t>(text.size())) && bytes(text.data(), text.size());
    }

private:
    bool has(std::size_t size) noexcept {
        if (static_cast<std::size_t>(end_ - at_) >= size) [[likely]]
            return true;
        end_ = at_;
        return false;
    }

    std::byte* start_;
    std::byte* at_;
    std::byte* end_;
};

// Takes words and bytes from a buffer, never from beyond it.
class Decoder {
public:
    Decoder(const void* bytes, std::size_t size) noexcept
        : start_(static_cast<const std::byte*>(bytes)), at_(start_), end_(start_ + size) {}

    std::size_t position() const noexcept { return static_cast<std::size_t>(at_ - start_); }
    std::size_t left() const noexcept { return static_cast<std::size_t>(end_ - at_); }
    bool word(std::uint32_t& value) noexcept {
        if (left() < wordSize) return false;
        value = loadWord(at_);
        at_ += wordSize;
        return true;
    }
    // Where the bytes lie, the padding passed over; null when they are not all there.
    const std::byte* bytes(std::uint64_t size) noexcept {
        if (padded(size) > left()) return nullptr;
        const std::byte* here = at_;
        at_ += padded(size);
        return here;
    }
    // A length word and that many bytes.
    bool text(std::uint64_t longest, std::string_view& text) noexcept {
        std::uint32_t length = 0;
        if (!word(length) || length > longest) return false;
        const std::byte* here = bytes(length);
        text = {reinterpret_cast<const char*>(here), here ? length : 0};
        return here != nullptr;
    }

private:
    const std::byte* start_;
    const std::byte* at_;
    const std::byte* end_;
};

// How the values of one attribute are coded; of a type that is not known nothing is.
struct Slot {
    valueCoding coding = valueCoding::none;
    std::uint8_t width = 0;
    std::uint8_t scalarSize = 0; // bytes in the file of what is not variable
    bool isVariable() const noexcept { return coding >= valueCoding::array; }
};
inline Slot slotOf(SKARIOAttributes::dataType type) noexcept {
    const typeRow* row = SKARIOAttributes::rowOf(type);
    return row ? Slot{row->coding, row->width, static_cast<std::uint8_t>(row->scalarSize())} : Slot{};
}

// Puts a scalar where there is room for it. What follows goes behind it.
inline std::byte* putScalar(std::byte* to, Slot slot, const dataValue& value) noexcept {
    switch (slot.coding) {
    case valueCoding::word:
        storeWord(to, value.uint32);
        break;
    case valueCoding::lowHalfFirst:
        storeWord(to, static_cast<std::uint32_t>(value.uint64));
        storeWord(to + wordSize, static_cast<std::uint32_t>(value.uint64 >> 32));
        break;
    case valueCoding::signedHalf:
        storeWord(to, static_cast<std::uint32_t>(std::int32_t{value.int16}));
        break;
    case valueCoding::unsignedHalf:
        storeWord(to, value.uint16);
        break;
    case valueCoding::boolean: {
        unsigned char byte; // a caller's byte may be other than 0 and 1
        std::memcpy(&byte, &value, 1);
        storeWord(to, byte != 0);
        break;
    }
    default:
        break;
    }
    return to + slot.scalarSize;
}

// Takes a scalar from where it is whole.
inline const std::byte* takeScalar(const std::byte* from, Slot slot, dataValue& value) noexcept {
    value.uint64 = 0;
    switch (slot.coding) {
    case valueCoding::word:
        value.uint32 = loadWord(from);
        break;
    case valueCoding::lowHalfFirst:
        value.uint64 = std::uint64_t{loadWord(from + wordSize)} << 32 | loadWord(from);
        break;
    case valueCoding::signedHalf:
        value.int16 = static_cast<std::int16_t>(loadWord(from));
        break;
    case valueCoding::unsignedHalf:
        value.uint16 = static_cast<std::uint16_t>(loadWord(from));
        break;
    case valueCoding::boolean:
        value.boolean = loadWord(from) != 0;
        break;
    default:
        break;
    }
    return from + slot.scalarSize;
}

inline bool encodeScalar(Encoder& to, Slot slot, const dataValue& value) noexcept {
    std::byte* room = to.room(slot.scalarSize);
    if (room) putScalar(room, slot, value);
    return room != nullptr;
}
inline bool decodeScalar(Decoder& from, Slot slot, dataValue& value) noexcept {
    value.uint64 = 0;
    const std::byte* here = from.bytes(slot.scalarSize);
    if (here) takeScalar(here, slot, value);
    return here != nullptr;
}

// Bytes that `count` elements take in the file.
std::uint64_t encodedSize(Slot slot, std::uint64_t count) noexcept;

// An array or a string. False when it does not fit and for a null block that has elements.
bool encodeBlock(Encoder& to, Slot slot, const dataValue& value, std::uint64_t count) noexcept;

// Makes a block from array-new for the elements; null and a count of 0 where there are none. Without `keep`
// the value is passed over and stays null. False, without a block, for a value that is not whole.
bool decodeBlock(Decoder& from, Slot slot, dataValue& value, int& count, bool keep) noexcept;

// A copy in a block from array-new; of a text shorter than the count what is missing is zeros. False without
// memory.
bool copyBlock(Slot slot, const dataValue& value, std::uint64_t count, dataValue& copy) noexcept;

void freeBlock(dataValue& value) noexcept;

// Length of a record's string, which may be null.
std::uint64_t textLength(const dataValue& value) noexcept;

} // namespace skar::attributes
