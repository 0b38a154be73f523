#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>

// Reading and writing a stream at a byte offset. On a real file these are single system calls that leave the
// position of the stream alone; on a stream without a descriptor (a test's backend) they seek first. A stream
// used through these must not be read or written through its own buffer as well.
namespace skar::platform {

// Reads up to `size` bytes; `got` tells how many came. False on an error; reaching the end of the file is
// none.
bool readAt(std::FILE* file, std::int64_t offset, void* bytes, std::size_t size, std::size_t& got) noexcept;
// The same for one run of bytes that goes to several places.
struct Piece {
    void* to = nullptr;
    std::size_t size = 0;
};
inline constexpr std::size_t mostPiecesAt = 8;
bool readPiecesAt(std::FILE* file, std::int64_t offset, std::span<const Piece> pieces,
                  std::size_t& got) noexcept;
// Writes all bytes, or gives false with errno set.
bool writeAt(std::FILE* file, std::int64_t offset, const void* bytes, std::size_t size) noexcept;
// Bytes in the file behind a stream, or -1.
std::int64_t streamSize(std::FILE* file) noexcept;

} // namespace skar::platform
