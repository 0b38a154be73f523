#include "import/bytes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace skar::import {

std::size_t MemorySource::read(std::uint64_t offset, std::span<std::byte> into) {
    if (offset >= bytes_.size()) return 0;
    const Bytes rest = bytes_.subspan(static_cast<std::size_t>(offset));
    const std::size_t count = std::min(rest.size(), into.size());
    std::copy_n(rest.begin(), count, into.begin());
    return count;
}

FileSource::FileSource(const std::string& path) : path_(path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) throw ImportError(path + ": does not exist");
    if (!std::filesystem::is_regular_file(status)) throw ImportError(path + ": is not a file");
    size_ = std::filesystem::file_size(path, error);
    if (error) throw ImportError(path + ": " + error.message());
    errno = 0;
    file_.open(path, std::ios::binary);
    if (!file_) throw ImportError(path + ": cannot be opened: " + std::strerror(errno));
}

std::size_t FileSource::read(std::uint64_t offset, std::span<std::byte> into) {
    if (into.empty()) return 0;
    errno = 0;
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(offset));
    file_.read(reinterpret_cast<char*>(into.data()), static_cast<std::streamsize>(into.size()));
    if (file_.bad()) throw ImportError(path_ + ": cannot be read: " + std::strerror(errno));
    return static_cast<std::size_t>(file_.gcount());
}

} // namespace skar::import
