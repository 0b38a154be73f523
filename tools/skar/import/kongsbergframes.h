#pragma once

#include "import/bytes.h"
#include "import/rawfile.h"

#include <optional>
#include <vector>

// The framing that all datagrams of Kongsberg EM raw data share: a length word, a start mark, the type, the
// content, an end mark and a checksum.
namespace skar::import {

struct KongsbergFrame {
    std::uint64_t offset = 0; // of the length word
    std::uint8_t type = 0;
    ByteOrder order = ByteOrder::little;
    std::uint32_t size = 0; // length word and checksum included
    Bytes body;             // from the start mark up to the end mark; valid until the next frame is asked for

    Cursor cursor() const { return Cursor(body, order); }
};

// Steps from datagram to datagram and gives the sound ones only. What is damaged is counted, and the reader
// goes on with the next sound datagram. Every byte is looked at a bounded number of times, whatever the file
// claims, and memory is bounded by the window.
class KongsbergFrames {
public:
    // The makers send datagrams over the network, 64 KiB at most; the limit leaves room for recorders that
    // join.
    static constexpr std::uint32_t largestDatagram = 1U << 20U;
    static constexpr std::size_t headerBytes = 16;

    KongsbergFrames(ByteSource& source, Problems& problems);
    bool next(KongsbergFrame& frame);

private:
    enum class Verdict { sound, checksum, length, noFrame, pastEnd };
    struct Look {
        Verdict verdict = Verdict::noFrame;
        std::uint32_t length = 0; // the length word
    };

    Look look(std::uint64_t offset, ByteOrder order);
    bool need(std::uint64_t offset, std::size_t count);
    std::byte at(std::uint64_t offset) const { return window_[static_cast<std::size_t>(offset - start_)]; }
    bool looksLikeStart(std::uint64_t offset);
    void resynchronise(Verdict verdict);

    ByteSource& source_;
    Problems& problems_;
    std::uint64_t size_;
    std::uint64_t position_ = 0;
    std::optional<ByteOrder> order_; // known once a sound datagram was seen
    std::vector<std::byte> window_;
    std::vector<std::uint16_t> sums_; // sums_[i]: sum of the window's bytes before i
    std::uint64_t start_ = 0;
};

} // namespace skar::import
