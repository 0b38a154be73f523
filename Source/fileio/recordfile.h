#pragma once

#include "platform/positionedio.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>

// The data file of a handle as a run of bytes, read through a window and written through a buffer.
//
// Reads in order cost a system call per window; a read elsewhere costs one of just its size. The window is
// never a mapping: a file that was cut short under the handle gives a short read, not a signal. What is
// written is seen by the next read.
namespace skar::fileio {

class RecordFile {
public:
    explicit RecordFile(std::FILE* file) noexcept;

    // Where the next read or append goes.
    std::int64_t position() const noexcept { return position_ + static_cast<std::int64_t>(pending_); }
    // False, the position being left, when what was appended before could not be written or there is no such
    // position.
    bool seek(std::int64_t position) noexcept {
        if (position < 0) {
            errno = EINVAL;
            return false;
        }
        if (pending_ != 0 && !flushPending()) return false;
        position_ = position;
        ++seeks_;
        return true;
    }
    // Changes with every seek, so that who reads or appends in one run can tell that somebody else moved the
    // file.
    std::uint32_t seeks() const noexcept { return seeks_; }

    // The next `size` bytes, valid until the next call; null when they are not all there. Moves behind them
    // on success.
    const std::byte* read(std::size_t size) {
        const std::byte* const bytes = take(size);
        return bytes ? bytes : readBeyond(size, 0);
    }
    // As `read`, for who will want some of what follows: a read of the file takes that many bytes into the
    // window.
    const std::byte* readWith(std::size_t size, std::size_t together) {
        const std::byte* const bytes = take(size);
        return bytes ? bytes : readBeyond(size, together);
    }

    // Whether nothing has moved the file from there; not for files that are appended to.
    bool isAt(std::int64_t position) const noexcept { return position_ == position; }
    // As `read`, of what is in the window already; null for all else, and the position is left.
    [[gnu::always_inline]] const std::byte* take(std::size_t size) noexcept {
        const std::int64_t ahead = position_ - windowStart_;
        if (ahead < 0 || ahead + static_cast<std::int64_t>(size) > windowSize_) [[unlikely]]
            return nullptr;
        position_ += static_cast<std::int64_t>(size);
        return window_.get() + ahead;
    }

    // The next bytes, piece by piece, to where a caller wants them. Large ones go there without a stop in the
    // window. False when they are not all there; part of them may have been filled then.
    bool readInto(std::span<const platform::Piece> pieces);

    // Appends at the position through the buffer. False when the buffer could not be written; the bytes given
    // are then not taken.
    bool append(const void* bytes, std::size_t size) {
        if (size <= room_) [[likely]] {
            windowSize_ = 0; // a read that follows has to find the buffer
            std::memcpy(buffer_.get() + pending_, bytes, size);
            pending_ += size;
            room_ -= size;
            return true;
        }
        return appendBeyond(bytes, size);
    }
    // Forgets what was appended from that position on, so that the next append goes there.
    void takeBack(std::int64_t position) noexcept;
    // Overwrites in place at once and moves behind the bytes.
    bool write(const void* bytes, std::size_t size);
    // Hands everything on to the system.
    bool flush() noexcept;
    // Whether the stream or a read or write of this object failed, end of file aside.
    bool failed() const noexcept { return failed_ || std::ferror(file_); }

    // Bytes in the file, or -1.
    std::int64_t size() const noexcept;

private:
    const std::byte* readBeyond(std::size_t size, std::size_t together);
    bool appendBeyond(const void* bytes, std::size_t size);
    bool flushPending() noexcept;
    bool reserve(std::size_t size);
    void showWritten(std::int64_t from, const void* bytes, std::size_t size) noexcept;

    std::FILE* file_;
    std::int64_t position_ = 0;
    std::uint32_t seeks_ = 0;
    std::int64_t windowStart_ = 0;
    std::int64_t windowSize_ = 0;
    std::unique_ptr<std::byte[]> window_;
    std::size_t capacity_ = 0;
    std::size_t readAhead_ = 0;
    std::unique_ptr<std::byte[]> buffer_;
    std::size_t pending_ = 0; // bytes in the buffer, to go to the file at position_
    std::size_t room_ = 0;    // left in the buffer
    bool failed_ = false;
};

} // namespace skar::fileio
