#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace skar::import {

using Bytes = std::span<const std::byte>;

class ImportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Where a reader takes its bytes from, by offset, so that no file has to fit into memory.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual std::uint64_t size() const = 0;
    // Fills as much of `into` as the source holds from `offset` on and returns how much that was. Throws
    // ImportError when the source cannot be read.
    virtual std::size_t read(std::uint64_t offset, std::span<std::byte> into) = 0;
};

class MemorySource : public ByteSource {
public:
    explicit MemorySource(Bytes bytes) : bytes_(bytes) {}
    std::uint64_t size() const override { return bytes_.size(); }
    std::size_t read(std::uint64_t offset, std::span<std::byte> into) override;

private:
    Bytes bytes_;
};

class FileSource : public ByteSource {
public:
    // Throws ImportError when the path is not a readable file.
    explicit FileSource(const std::string& path);
    std::uint64_t size() const override { return size_; }
    std::size_t read(std::uint64_t offset, std::span<std::byte> into) override;

private:
    std::string path_;
    std::ifstream file_;
    std::uint64_t size_ = 0;
};

enum class ByteOrder { little, big };

// Reads numbers out of a span. A read that does not fit gives 0 and leaves the cursor failed for good, so
// that a decoder asks once, at its end, whether all of it was there.
class Cursor {
public:
    Cursor(Bytes bytes, ByteOrder order) : bytes_(bytes), order_(order) {}

    bool failed() const { return failed_; }
    std::size_t position() const { return position_; }
    std::size_t remaining() const { return failed_ ? 0 : bytes_.size() - position_; }

    void seek(std::size_t position) {
        if (position > bytes_.size())
            failed_ = true;
        else
            position_ = position;
    }
    void skip(std::size_t count) {
        if (count > remaining())
            failed_ = true;
        else
            position_ += count;
    }

    template <typename T>
    requires std::is_arithmetic_v<T> T read() {
        if constexpr (std::floating_point<T>) {
            using Word = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
            return std::bit_cast<T>(read<Word>());
        } else {
            using Word = std::make_unsigned_t<T>;
            if (sizeof(T) > remaining()) {
                failed_ = true;
                return 0;
            }
            std::uint64_t word = 0;
            for (std::size_t i = 0; i < sizeof(T); ++i) {
                const std::size_t at = order_ == ByteOrder::little ? sizeof(T) - 1 - i : i;
                word = word << 8U | std::to_integer<std::uint64_t>(bytes_[position_ + at]);
            }
            position_ += sizeof(T);
            return static_cast<T>(static_cast<Word>(word));
        }
    }
    template <typename T>
    T readAt(std::size_t position) {
        seek(position);
        return failed_ ? T{} : read<T>();
    }

private:
    Bytes bytes_;
    ByteOrder order_;
    std::size_t position_ = 0;
    bool failed_ = false;
};

} // namespace skar::import
