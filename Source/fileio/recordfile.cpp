#include "fileio/recordfile.h"

#include "platform/positionedio.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>

namespace skar::fileio {

namespace {

constexpr std::size_t bufferSize = 64 * 1024;
constexpr std::size_t largestReadAhead = 64 * 1024;
constexpr std::size_t firstReadAhead = 4 * 1024;
// Below this a copy out of the window costs less than a call of its own.
constexpr std::size_t smallRead = 4 * 1024;
constexpr std::size_t headAhead = 128;
constexpr std::size_t mostPieces = 4;

} // namespace

RecordFile::RecordFile(std::FILE* file) noexcept : file_(file) {}

std::int64_t RecordFile::size() const noexcept {
    return platform::streamSize(file_);
}

bool RecordFile::reserve(std::size_t size) {
    if (size <= capacity_) return true;
    std::unique_ptr<std::byte[]> larger(new (std::nothrow) std::byte[size]);
    if (!larger) return false;
    window_ = std::move(larger);
    capacity_ = size;
    return true;
}

const std::byte* RecordFile::readBeyond(std::size_t size, std::size_t together) {
    errno = 0; // what it says behind a short read is of this read
    if (pending_ != 0 && !flushPending()) return nullptr;
    // Whoever goes on where the window ends is reading in order and gets more each time; whoever jumps gets
    // the record alone.
    const bool inOrder =
        windowSize_ > 0 && position_ > windowStart_ && position_ <= windowStart_ + windowSize_;
    readAhead_ = inOrder ? std::clamp(readAhead_ * 4, firstReadAhead, largestReadAhead) : 0;
    const std::size_t wanted = std::max({size, readAhead_, together});
    windowSize_ = 0;
    if (!reserve(wanted)) return nullptr;
    std::size_t got = 0;
    if (!platform::readAt(file_, position_, window_.get(), wanted, got)) failed_ = true;
    windowStart_ = position_;
    windowSize_ = static_cast<std::int64_t>(got);
    if (got < size) return nullptr;
    position_ += static_cast<std::int64_t>(size);
    return window_.get();
}

bool RecordFile::readInto(std::span<const platform::Piece> pieces) {
    std::size_t wanted = 0;
    for (const platform::Piece& piece : pieces)
        wanted += piece.size;
    if (wanted <= smallRead || pieces.size() > mostPieces) {
        const std::byte* bytes = read(wanted);
        if (!bytes) return false;
        for (const platform::Piece& piece : pieces) {
            if (piece.size != 0) std::memcpy(piece.to, bytes, piece.size);
            bytes += piece.size;
        }
        return true;
    }
    errno = 0;
    if (pending_ != 0 && !flushPending()) return false;
    if (!reserve(headAhead)) return false;
    // What the window has, then straight from the file what is left; the window gets the head of the next
    // record with the same call.
    std::array<platform::Piece, mostPieces + 1> rest;
    std::size_t parts = 0;
    std::size_t left = 0;
    for (const platform::Piece& piece : pieces) {
        const std::int64_t ahead = position_ - windowStart_;
        const std::size_t there = ahead >= 0 && ahead < windowSize_ && left == 0
                                      ? std::min(piece.size, static_cast<std::size_t>(windowSize_ - ahead))
                                      : 0;
        if (there != 0) std::memcpy(piece.to, window_.get() + ahead, there);
        position_ += static_cast<std::int64_t>(there);
        if (there == piece.size) continue;
        rest[parts++] = {static_cast<std::byte*>(piece.to) + there, piece.size - there};
        left += piece.size - there;
    }
    if (left == 0) return true;
    rest[parts++] = {window_.get(), headAhead};
    windowSize_ = 0;
    std::size_t got = 0;
    if (!platform::readPiecesAt(file_, position_, {rest.data(), parts}, got)) failed_ = true;
    if (got < left) return false;
    position_ += static_cast<std::int64_t>(left);
    windowStart_ = position_;
    windowSize_ = static_cast<std::int64_t>(got - left);
    return true;
}

void RecordFile::takeBack(std::int64_t position) noexcept {
    if (position >= position_) {
        pending_ = static_cast<std::size_t>(position - position_);
    } else {
        pending_ = 0;
        position_ = position;
    }
    if (buffer_) room_ = bufferSize - pending_;
}

bool RecordFile::appendBeyond(const void* bytes, std::size_t size) {
    if (!buffer_) {
        buffer_.reset(new (std::nothrow) std::byte[bufferSize]);
        if (!buffer_) return false;
        room_ = bufferSize;
    }
    if (!flushPending()) return false;
    return size > bufferSize ? write(bytes, size) : append(bytes, size);
}

bool RecordFile::flushPending() noexcept {
    if (pending_ == 0) return true;
    if (!platform::writeAt(file_, position_, buffer_.get(), pending_)) {
        failed_ = true;
        windowSize_ = 0; // part of it may have been written
        return false;
    }
    showWritten(position_, buffer_.get(), pending_);
    position_ += static_cast<std::int64_t>(pending_);
    pending_ = 0;
    room_ = bufferSize;
    return true;
}

bool RecordFile::write(const void* bytes, std::size_t size) {
    if (!flushPending()) return false;
    if (!platform::writeAt(file_, position_, bytes, size)) {
        failed_ = true;
        windowSize_ = 0; // part of it may have been written
        return false;
    }
    showWritten(position_, bytes, size);
    position_ += static_cast<std::int64_t>(size);
    return true;
}

bool RecordFile::flush() noexcept {
    if (!flushPending()) return false;
    if (std::fflush(file_) == 0) return true;
    failed_ = true;
    return false;
}

// What is written shows in the window: a part that lies within it is put there, any other overlap empties it.
void RecordFile::showWritten(std::int64_t from, const void* bytes, std::size_t size) noexcept {
    const std::int64_t end = from + static_cast<std::int64_t>(size);
    const std::int64_t windowEnd = windowStart_ + windowSize_;
    if (from >= windowStart_ && end <= windowEnd)
        std::memcpy(window_.get() + (from - windowStart_), bytes, size);
    else if (from < windowEnd && end > windowStart_)
        windowSize_ = 0;
}

} // namespace skar::fileio
