#include "import/xtfpackets.h"

#include <algorithm>
#include <array>

namespace skar::import {

namespace {

constexpr std::byte fileMark{0x7B};
constexpr std::byte markLow{0xCE};
constexpr std::byte markHigh{0xFA};
constexpr std::uint32_t paddedTo = 64; // recorders fill their packets up
constexpr std::size_t windowBytes = 64UL * 1024;

constexpr std::size_t firstChannel = 256;
constexpr std::size_t channelBytes = 128;
constexpr std::uint32_t channelsInFirstBlock = 6;
constexpr std::uint32_t channelsInBlock = 8;
constexpr std::uint32_t mostChannels = 254; // no sonar comes near it; the header is read again for every ping

} // namespace

std::optional<XtfFileHeader> readXtfFileHeader(ByteSource& source) {
    std::vector<std::byte> bytes(XtfFileHeader::blockBytes);
    if (source.read(0, bytes) != bytes.size() || bytes[0] != fileMark) return std::nullopt;
    Cursor in(bytes, ByteOrder::little);
    XtfFileHeader header;
    header.navigationUnits = in.readAt<std::uint16_t>(164);
    const std::uint32_t channels =
        std::uint32_t{in.readAt<std::uint16_t>(166)} + in.readAt<std::uint16_t>(168);
    if (channels > mostChannels) return std::nullopt;
    const std::uint32_t beyond = channels > channelsInFirstBlock ? channels - channelsInFirstBlock : 0;
    const std::uint32_t blocks = 1 + (beyond + channelsInBlock - 1) / channelsInBlock;
    header.size = std::uint64_t{blocks} * XtfFileHeader::blockBytes;
    if (header.size > source.size()) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(header.size));
    if (source.read(0, bytes) != bytes.size()) return std::nullopt;
    in = Cursor(bytes, ByteOrder::little);
    header.channels.resize(channels);
    for (std::size_t i = 0; i < channels; ++i) {
        in.seek(firstChannel + i * channelBytes);
        XtfChannel& channel = header.channels[i];
        channel.type = in.read<std::uint8_t>();
        in.skip(5); // number, correction, polarity
        channel.bytesPerSample = in.read<std::uint16_t>();
        channel.samples = in.read<std::uint32_t>();
    }
    return in.failed() ? std::nullopt : std::optional(header);
}

XtfPackets::XtfPackets(ByteSource& source, std::uint64_t begin, Problems& problems)
    : source_(source), problems_(problems), size_(source.size()), position_(begin) {}

Bytes XtfPackets::view(std::uint64_t offset, std::size_t atLeast) {
    const std::uint64_t windowEnd = windowStart_ + window_.size();
    if (offset < windowStart_ || offset + atLeast > windowEnd) {
        window_.resize(windowBytes);
        window_.resize(source_.read(offset, window_));
        windowStart_ = offset;
    }
    return Bytes(window_).subspan(static_cast<std::size_t>(offset - windowStart_));
}

// Outside of the window, the window stays: the search goes on from it.
bool XtfPackets::markAt(std::uint64_t offset) {
    std::array<std::byte, 2> mark{};
    if (offset >= windowStart_ && offset + mark.size() <= windowStart_ + window_.size()) {
        const auto at = static_cast<std::size_t>(offset - windowStart_);
        mark = {window_[at], window_[at + 1]};
    } else if (source_.read(offset, mark) != mark.size()) {
        return false;
    }
    return mark[0] == markLow && mark[1] == markHigh;
}

XtfPackets::Look XtfPackets::look(std::uint64_t offset) {
    Look look;
    const Bytes head = view(offset, XtfPacket::headBytes);
    if (head.size() < XtfPacket::headBytes || head[0] != markLow || head[1] != markHigh) return look;
    const auto size = Cursor(head, ByteOrder::little).readAt<std::uint32_t>(10);
    look.isHead = size >= XtfPacket::headBytes;
    look.end = offset + size;
    look.sound =
        look.isHead && look.end <= size_ && (look.end + XtfPacket::headBytes > size_ || markAt(look.end));
    look.likely = look.sound || (look.isHead && look.end <= size_ && size % paddedTo == 0);
    return look;
}

std::uint64_t XtfPackets::nextLikely(std::uint64_t from) {
    if (from >= searchedFrom_ && from <= found_) return found_;
    searchedFrom_ = from;
    while (from + XtfPacket::headBytes <= size_) {
        const Bytes bytes = view(from, XtfPacket::headBytes);
        const auto mark = std::find(bytes.begin(), bytes.end(), markLow);
        from += static_cast<std::uint64_t>(mark - bytes.begin());
        if (mark == bytes.end()) continue;
        if (look(from).likely) return found_ = from;
        ++from;
    }
    return found_ = size_;
}

void XtfPackets::deliver(std::uint64_t end, XtfPacket& packet) {
    packet.offset = position_;
    packet.size = static_cast<std::uint32_t>(end - position_);
    const std::size_t head = std::min<std::size_t>(packet.size, XtfPacket::pingBytes);
    const Bytes bytes = view(position_, head);
    packet.head = bytes.first(std::min(head, bytes.size()));
    Cursor in = packet.cursor();
    packet.type = in.readAt<std::uint8_t>(2);
    packet.channels = in.readAt<std::uint16_t>(4);
    position_ = end;
}

bool XtfPackets::next(XtfPacket& packet) {
    while (position_ < size_) {
        const Look here = look(position_);
        if (here.sound) {
            deliver(here.end, packet);
            return true;
        }
        const std::uint64_t likely = nextLikely(position_ + 1);
        if (here.isHead && here.end <= size_ && likely >= here.end) {
            // What follows it is damaged, not the packet.
            deliver(here.end, packet);
            return true;
        }
        const bool cut = likely == size_ && (here.isHead || markAt(position_));
        problems_.add(cut           ? ProblemKind::truncated
                      : here.isHead ? ProblemKind::length
                                    : ProblemKind::framing,
                      position_, likely - position_);
        position_ = likely;
    }
    return false;
}

} // namespace skar::import
