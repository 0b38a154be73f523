#include "platform/positionedio.h"

#include "platform/file.h"

#include <array>
#include <cerrno>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace skar::platform {

namespace {

// A cookie stream has its own buffer; unbuffered, what is asked for reaches its functions as it is.
bool seekUnbuffered(std::FILE* file, std::int64_t offset) noexcept {
    std::setvbuf(file, nullptr, _IONBF, 0);
    return fseeko(file, offset, SEEK_SET) == 0;
}

} // namespace

bool readAt(std::FILE* file, std::int64_t offset, void* bytes, std::size_t size, std::size_t& got) noexcept {
    got = 0;
    const int descriptor = fileno(file);
    if (descriptor < 0) {
        if (!seekUnbuffered(file, offset)) return false;
        got = std::fread(bytes, 1, size, file);
        return got == size || !std::ferror(file);
    }
    while (got < size) {
        const ssize_t step = pread(descriptor, static_cast<char*>(bytes) + got, size - got,
                                   offset + static_cast<std::int64_t>(got));
        if (step == 0) return true;
        if (step < 0) {
            if (errno == EINTR) continue;
            setLastError(lastErrorFromErrno(errno));
            return false;
        }
        got += static_cast<std::size_t>(step);
    }
    return true;
}

bool readPiecesAt(std::FILE* file, std::int64_t offset, std::span<const Piece> pieces,
                  std::size_t& got) noexcept {
    got = 0;
    std::size_t wanted = 0;
    const int descriptor = fileno(file);
    if (descriptor >= 0 && pieces.size() <= mostPiecesAt) {
        std::array<struct iovec, mostPiecesAt> vectors;
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            vectors[i] = {pieces[i].to, pieces[i].size};
            wanted += pieces[i].size;
        }
        const ssize_t step = preadv(descriptor, vectors.data(), static_cast<int>(pieces.size()), offset);
        if (step > 0) got = static_cast<std::size_t>(step);
        if (got == wanted || step == 0) return true;
        // The plain form takes it from here, and tells what is wrong.
    }
    std::size_t before = 0; // bytes of the pieces up to this one
    for (const Piece& piece : pieces) {
        if (before + piece.size > got) {
            const std::size_t have = got - before;
            std::size_t more = 0;
            const bool good = readAt(file, offset + static_cast<std::int64_t>(got),
                                     static_cast<char*>(piece.to) + have, piece.size - have, more);
            got += more;
            if (!good) return false;
            if (have + more < piece.size) return true;
        }
        before += piece.size;
    }
    return true;
}

bool writeAt(std::FILE* file, std::int64_t offset, const void* bytes, std::size_t size) noexcept {
    const int descriptor = fileno(file);
    if (descriptor < 0)
        return seekUnbuffered(file, offset) && std::fwrite(bytes, 1, size, file) == size &&
               std::fflush(file) == 0;
    std::size_t done = 0;
    while (done < size) {
        const ssize_t step = pwrite(descriptor, static_cast<const char*>(bytes) + done, size - done,
                                    offset + static_cast<std::int64_t>(done));
        if (step < 0) {
            if (errno == EINTR) continue;
            setLastError(lastErrorFromErrno(errno));
            return false;
        }
        done += static_cast<std::size_t>(step);
    }
    return true;
}

std::int64_t streamSize(std::FILE* file) noexcept {
    const int descriptor = fileno(file);
    if (descriptor >= 0) {
        struct stat status {};
        return fstat(descriptor, &status) == 0 ? status.st_size : -1;
    }
    const off_t before = ftello(file);
    if (before < 0 || fseeko(file, 0, SEEK_END) != 0) return -1;
    const off_t size = ftello(file);
    return fseeko(file, before, SEEK_SET) == 0 ? size : -1;
}

} // namespace skar::platform
