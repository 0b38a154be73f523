#pragma once

#include "raw_bytes.h"

#include <bit>
#include <cstdint>
#include <vector>

// XTF files made word by word.
namespace skar::test {

struct XtfChannelBytes {
    unsigned type = 1; // 1 port, 2 starboard
    unsigned bytesPerSample = 1;
};

// Puts values at their places among zeros.
class Fields {
public:
    explicit Fields(std::size_t size) : bytes_(size) {}
    Fields& at(std::size_t offset, RawBytes value) {
        std::copy(value.bytes().begin(), value.bytes().end(),
                  bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
        return *this;
    }
    Fields& u8(std::size_t offset, unsigned value) { return at(offset, RawBytes().u8(value)); }
    Fields& u16(std::size_t offset, unsigned value) { return at(offset, RawBytes().u16(value)); }
    Fields& u32(std::size_t offset, std::uint64_t value) { return at(offset, RawBytes().u32(value)); }
    Fields& f32(std::size_t offset, float value) { return u32(offset, std::bit_cast<std::uint32_t>(value)); }
    Fields& f64(std::size_t offset, double value) {
        const auto word = std::bit_cast<std::uint64_t>(value);
        return u32(offset, word & 0xFFFFFFFFU).u32(offset + 4, word >> 32U);
    }
    RawBytes bytes() const {
        RawBytes all;
        all.bytes() = bytes_;
        return all;
    }

private:
    std::vector<std::byte> bytes_;
};

inline RawBytes xtfHeader(const std::vector<XtfChannelBytes>& channels, unsigned navigationUnits = 3) {
    const std::size_t beyond = channels.size() > 6 ? channels.size() - 6 : 0;
    Fields header(1024 * (1 + (beyond + 7) / 8));
    header.u8(0, 0x7B).u16(164, navigationUnits).u16(166, static_cast<unsigned>(channels.size()));
    for (std::size_t i = 0; i < channels.size(); ++i)
        header.u8(256 + 128 * i, channels[i].type).u16(256 + 128 * i + 6, channels[i].bytesPerSample);
    return header.bytes();
}

inline Fields xtfPacketHead(unsigned type, std::size_t headSize, std::size_t size, unsigned channels = 0) {
    Fields head(headSize);
    head.u16(0, 0xFACE).u8(2, type).u16(4, channels).u32(10, size);
    return head;
}

struct XtfSamples {
    unsigned channel = 0;
    RawBytes samples;
    unsigned count = 0;
    float slantRange = 75.0F;
    float duration = 0.1F;
    float delay = 0.0F;
};

// A side scan ping at 2009-11-08T12:36:SS.50; `more` may set further fields of its header.
template <typename More>
RawBytes xtfPing(unsigned second, std::vector<XtfSamples> channels, More more) {
    RawBytes content;
    for (XtfSamples& channel : channels) {
        Fields head(64);
        head.u16(0, channel.channel).f32(4, channel.slantRange).f32(12, channel.delay);
        head.f32(16, channel.duration).u32(42, channel.count);
        content.add(head.bytes()).add(channel.samples);
    }
    content.zeros((64 - content.size() % 64) % 64);
    Fields head = xtfPacketHead(0, 256, 256 + content.size(), static_cast<unsigned>(channels.size()));
    head.u16(14, 2009).u8(16, 11).u8(17, 8).u8(18, 12).u8(19, 36).u8(20, second).u8(21, 50);
    more(head);
    return head.bytes().add(content);
}
inline RawBytes xtfPing(unsigned second, const std::vector<XtfSamples>& channels) {
    return xtfPing(second, channels, [](Fields&) {});
}

// Port and starboard samples of a byte each, in the order of the file.
inline RawBytes xtfBytePing(unsigned second, const std::vector<unsigned>& port,
                            const std::vector<unsigned>& starboard) {
    RawBytes left, right;
    for (const unsigned value : port)
        left.u8(value);
    for (const unsigned value : starboard)
        right.u8(value);
    return xtfPing(second, {{0, left, static_cast<unsigned>(port.size())},
                            {1, right, static_cast<unsigned>(starboard.size())}});
}

inline RawBytes xtfAttitude(std::uint32_t tag, float roll, unsigned year = 0, unsigned milliseconds = 0) {
    Fields packet = xtfPacketHead(3, 64, 64);
    packet.f32(30, 1.5F).f32(34, roll).f32(38, 0.25F).u32(46, tag).f32(50, 90.0F).u16(54, year);
    if (year != 0) packet.u8(56, 11).u8(57, 8).u8(58, 12).u8(59, 36).u8(60, 7).u16(61, milliseconds);
    return packet.bytes();
}

} // namespace skar::test
