#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace skar::tool::check {

// Thrown where a file ends inside of what is read, or cannot be read on.
struct Truncated {
    std::uint64_t offset; // of what could not be read whole
};

// Reads big-endian words of a file from front to back, through a window of fixed size. Never goes beyond the
// file.
class WordFile {
public:
    // Throws std::filesystem::filesystem_error when the file cannot be opened or is no regular file.
    explicit WordFile(const std::filesystem::path& path);

    std::uint64_t size() const { return size_; }
    std::uint64_t position() const { return position_; }
    std::uint64_t left() const { return size_ - position_; }
    std::uint32_t word();
    std::string text(std::uint64_t length);
    void skip(std::uint64_t count);

private:
    // Makes the next count bytes available at the returned address; count is at most a word's.
    const unsigned char* take(std::size_t count);

    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Closer> file_;
    std::uint64_t size_;
    std::uint64_t position_ = 0;
    std::vector<unsigned char> window_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

} // namespace skar::tool::check
