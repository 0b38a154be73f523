#include "import/kongsbergframes.h"

#include <algorithm>

namespace skar::import {

namespace {

constexpr std::byte startMark{0x02};
constexpr std::byte endMark{0x03};
constexpr std::size_t lengthBytes = 4;
constexpr std::size_t tailBytes = 3; // end mark and checksum
constexpr std::uint32_t smallestDatagram = KongsbergFrames::headerBytes + tailBytes;
constexpr std::size_t windowBytes = std::size_t{4} << 20U;

} // namespace

KongsbergFrames::KongsbergFrames(ByteSource& source, Problems& problems)
    : source_(source), problems_(problems), size_(source.size()) {}

bool KongsbergFrames::need(std::uint64_t offset, std::size_t count) {
    if (offset > size_ || count > size_ - offset) return false;
    if (offset >= start_ && offset + count <= start_ + window_.size()) return true;
    start_ = offset;
    window_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(windowBytes, size_ - offset)));
    const std::size_t got = source_.read(offset, window_);
    if (got < window_.size()) {
        // The file became shorter while it was read.
        window_.resize(got);
        size_ = offset + got;
    }
    sums_.resize(got + 1);
    for (std::size_t i = 0; i < got; ++i)
        sums_[i + 1] = static_cast<std::uint16_t>(sums_[i] + std::to_integer<unsigned>(window_[i]));
    return count <= got;
}

KongsbergFrames::Look KongsbergFrames::look(std::uint64_t offset, ByteOrder order) {
    if (!need(offset, lengthBytes + headerBytes)) {
        const bool cut = !need(offset, lengthBytes + 1) || at(offset + lengthBytes) == startMark;
        return {cut ? Verdict::pastEnd : Verdict::noFrame, 0};
    }
    Cursor cursor(Bytes(window_).subspan(static_cast<std::size_t>(offset - start_), lengthBytes), order);
    const auto length = cursor.read<std::uint32_t>();
    if (at(offset + lengthBytes) != startMark) return {Verdict::noFrame, length};
    if (length < smallestDatagram || length > largestDatagram) return {Verdict::length, length};
    if (!need(offset, lengthBytes + length)) return {Verdict::pastEnd, length};

    const std::uint64_t end = offset + lengthBytes + length;
    if (at(end - tailBytes) != endMark) return {Verdict::length, length};
    const auto summed = [&](std::uint64_t from) { return sums_[static_cast<std::size_t>(from - start_)]; };
    const auto sum = static_cast<std::uint16_t>(summed(end - tailBytes) - summed(offset + lengthBytes + 1));
    Cursor stored(Bytes(window_).subspan(static_cast<std::size_t>(end - 2 - start_), 2), order);
    return {stored.read<std::uint16_t>() == sum ? Verdict::sound : Verdict::checksum, length};
}

bool KongsbergFrames::looksLikeStart(std::uint64_t offset) {
    return offset == size_ || (need(offset, lengthBytes + 1) && at(offset + lengthBytes) == startMark);
}

bool KongsbergFrames::next(KongsbergFrame& frame) {
    while (position_ < size_) {
        ByteOrder order = ByteOrder::little;
        if (order_) {
            order = *order_;
        } else if (need(position_, lengthBytes)) {
            // The makers leave the byte order open; read both ways, the smaller length is the right one.
            const Bytes word =
                Bytes(window_).subspan(static_cast<std::size_t>(position_ - start_), lengthBytes);
            const auto little = Cursor(word, ByteOrder::little).read<std::uint32_t>();
            const auto big = Cursor(word, ByteOrder::big).read<std::uint32_t>();
            order = big < little ? ByteOrder::big : ByteOrder::little;
        }
        const Look found = look(position_, order);
        const std::uint64_t end = position_ + lengthBytes + found.length;
        if (found.verdict == Verdict::sound) {
            order_ = order;
            frame.offset = position_;
            frame.order = order;
            frame.size = static_cast<std::uint32_t>(lengthBytes + found.length);
            frame.body = Bytes(window_).subspan(static_cast<std::size_t>(position_ - start_) + lengthBytes,
                                                found.length - tailBytes);
            frame.type = std::to_integer<std::uint8_t>(frame.body[1]);
            position_ = end;
            return true;
        }
        if (found.verdict == Verdict::checksum && looksLikeStart(end)) {
            problems_.add(ProblemKind::checksum, position_, end - position_);
            position_ = end;
            continue;
        }
        resynchronise(found.verdict);
    }
    return false;
}

void KongsbergFrames::resynchronise(Verdict verdict) {
    const std::uint64_t damaged = position_;
    std::uint64_t candidate = damaged + 1;
    const auto soundAt = [&](ByteOrder order) {
        return (!order_ || *order_ == order) && look(candidate, order).verdict == Verdict::sound;
    };
    while (need(candidate, lengthBytes + smallestDatagram)) {
        if (at(candidate + lengthBytes) == startMark &&
            (soundAt(ByteOrder::little) || soundAt(ByteOrder::big)))
            break;
        ++candidate;
    }
    const bool found = need(candidate, lengthBytes + smallestDatagram);
    position_ = found ? candidate : size_;

    ProblemKind kind = ProblemKind::framing;
    if (verdict == Verdict::pastEnd && !found)
        kind = ProblemKind::truncated;
    else if (verdict == Verdict::checksum)
        kind = ProblemKind::checksum;
    else if (verdict != Verdict::noFrame)
        kind = ProblemKind::length;
    problems_.add(kind, damaged, position_ - damaged);
}

} // namespace skar::import
