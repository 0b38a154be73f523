#pragma once

#include "import/rawfile.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

// The vocabulary of the tests of raw file readers: bytes made one by one, and what a reader makes of them.
namespace skar::test {

class RawBytes {
public:
    explicit RawBytes(import::ByteOrder order = import::ByteOrder::little) : order_(order) {}

    RawBytes& u8(unsigned value) { return word(value, 1); }
    RawBytes& u16(unsigned value) { return word(value, 2); }
    RawBytes& i16(int value) { return word(static_cast<std::uint16_t>(value), 2); }
    RawBytes& u32(std::uint64_t value) { return word(value, 4); }
    RawBytes& i32(std::int64_t value) { return word(static_cast<std::uint32_t>(value), 4); }
    RawBytes& text(const std::string& value) {
        for (const char c : value)
            u8(static_cast<unsigned char>(c));
        return *this;
    }
    RawBytes& zeros(std::size_t count) {
        bytes_.resize(bytes_.size() + count);
        return *this;
    }
    RawBytes& add(const RawBytes& other) {
        bytes_.insert(bytes_.end(), other.bytes_.begin(), other.bytes_.end());
        return *this;
    }

    std::vector<std::byte>& bytes() { return bytes_; }
    std::size_t size() const { return bytes_.size(); }

private:
    RawBytes& word(std::uint64_t value, unsigned count) {
        for (unsigned i = 0; i < count; ++i) {
            const unsigned shift = 8 * (order_ == import::ByteOrder::little ? i : count - 1 - i);
            bytes_.push_back(static_cast<std::byte>(value >> shift & 0xFFU));
        }
        return *this;
    }

    import::ByteOrder order_;
    std::vector<std::byte> bytes_;
};

constexpr std::uint32_t someDate = 20140219;
constexpr double degree = 3.141592653589793 / 180.0;

// A datagram around the given content: length word, header, end mark and checksum.
inline RawBytes datagram(char type, std::uint32_t date, std::uint32_t milliseconds, RawBytes content,
                         import::ByteOrder order = import::ByteOrder::little) {
    RawBytes inner(order);
    inner.u8(static_cast<unsigned char>(type)).u16(2040).u32(date).u32(milliseconds).u16(7).u16(2004);
    inner.add(content);
    unsigned sum = 0;
    for (const std::byte b : inner.bytes())
        sum += std::to_integer<unsigned>(b);
    RawBytes whole(order);
    whole.u32(inner.size() + 4).u8(2).add(inner).u8(3).u16(sum & 0xFFFFU);
    return whole;
}

struct MotionEntry {
    unsigned offset = 0;
    int roll = 0;
    int pitch = 0;
    int heave = 0;
    unsigned heading = 0;
    unsigned status = 0x9090;
};

inline RawBytes attitude(std::uint32_t milliseconds, const std::vector<MotionEntry>& entries,
                         unsigned descriptor = 1, std::uint32_t date = someDate,
                         import::ByteOrder order = import::ByteOrder::little) {
    RawBytes content(order);
    content.u16(static_cast<unsigned>(entries.size()));
    for (const MotionEntry& entry : entries) {
        content.u16(entry.offset).u16(entry.status).i16(entry.roll).i16(entry.pitch).i16(entry.heave);
        content.u16(entry.heading);
    }
    content.u8(descriptor);
    return datagram('A', date, milliseconds, content, order);
}

inline RawBytes position(std::uint32_t milliseconds, std::int64_t latitude, std::int64_t longitude,
                         unsigned descriptor = 0x81, unsigned quality = 150, std::uint32_t date = someDate,
                         import::ByteOrder order = import::ByteOrder::little) {
    RawBytes content(order);
    content.i32(latitude).i32(longitude).u16(quality).u16(65535).u16(65535).u16(9000).u8(descriptor);
    content.u8(3).text("GGA").zeros(1);
    return datagram('P', date, milliseconds, content, order);
}

inline import::RawData readBytes(import::RawData (*read)(import::ByteSource&),
                                 const std::vector<std::byte>& bytes) {
    import::MemorySource source(bytes);
    return read(source);
}
inline import::RawData readText(import::RawData (*read)(import::ByteSource&), const std::string& text) {
    import::MemorySource source(std::as_bytes(std::span(text)));
    return read(source);
}

inline std::string sentence(const std::string& body) {
    unsigned sum = 0;
    for (const char c : body)
        sum ^= static_cast<unsigned char>(c);
    const char* hex = "0123456789ABCDEF";
    return "$" + body + "*" + hex[sum / 16] + hex[sum % 16] + "\r\n";
}

} // namespace skar::test
