#pragma once

#include "import/bytes.h"
#include "import/rawfile.h"

#include <optional>
#include <vector>

// The frame of an eXtended Triton Format file: a file header with a record per channel, then packets that
// tell their type and size.
namespace skar::import {

struct XtfChannel {
    static constexpr std::uint8_t port = 1;
    static constexpr std::uint8_t starboard = 2;

    std::uint8_t type = 0;
    std::uint16_t bytesPerSample = 0;
    std::uint32_t samples = 0; // where a ping does not tell itself
};

struct XtfFileHeader {
    static constexpr std::size_t blockBytes = 1024;
    static constexpr std::uint16_t metres = 0;
    static constexpr std::uint16_t degrees = 3;

    std::uint64_t size = 0; // the packets follow
    std::uint16_t navigationUnits = 0;
    std::vector<XtfChannel> channels;
};

// Nothing when the source does not begin with such a header or ends within it.
std::optional<XtfFileHeader> readXtfFileHeader(ByteSource& source);

struct XtfPacket {
    static constexpr std::size_t headBytes = 14;
    static constexpr std::size_t pingBytes = 256;

    std::uint64_t offset = 0;
    std::uint32_t size = 0; // its header included
    std::uint8_t type = 0;
    std::uint16_t channels = 0;
    Bytes head; // its first bytes, as many as a ping's header has if there are; valid until the next packet

    Cursor cursor() const { return Cursor(head, ByteOrder::little); }
};

// Steps from packet to packet. There is no checksum: a packet is sound when another one follows it, or the
// end of the file. What is damaged is counted and passed over up to the next likely packet. Every byte is
// looked at a bounded number of times, and memory is bounded by the window.
class XtfPackets {
public:
    XtfPackets(ByteSource& source, std::uint64_t begin, Problems& problems);
    bool next(XtfPacket& packet);

private:
    struct Look {
        bool isHead = false; // mark and a size that a packet can have
        bool sound = false;  // and it ends where another one begins, or the file
        bool likely = false; // sound, or of a size that recorders write
        std::uint64_t end = 0;
    };

    // What the window has from there on: at least that many bytes, if the source has them.
    Bytes view(std::uint64_t offset, std::size_t atLeast);
    bool markAt(std::uint64_t offset);
    Look look(std::uint64_t offset);
    std::uint64_t nextLikely(std::uint64_t from);
    void deliver(std::uint64_t end, XtfPacket& packet);

    ByteSource& source_;
    Problems& problems_;
    std::uint64_t size_;
    std::uint64_t position_;
    std::vector<std::byte> window_;
    std::uint64_t windowStart_ = 0;
    std::uint64_t searchedFrom_ = 0; // no likely packet begins from here
    std::uint64_t found_ = 0;        // up to here
};

} // namespace skar::import
