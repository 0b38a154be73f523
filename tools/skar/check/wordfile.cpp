#include "check/wordfile.h"

#include <boost/endian/conversion.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace skar::tool::check {

namespace {

constexpr std::size_t windowSize = 1U << 18U;

} // namespace

WordFile::WordFile(const std::filesystem::path& path) {
    namespace fs = std::filesystem;
    if (!fs::is_regular_file(path))
        throw fs::filesystem_error("not a regular file", path,
                                   std::make_error_code(std::errc::invalid_argument));
    size_ = fs::file_size(path);
    file_.reset(std::fopen(path.c_str(), "rb"));
    if (!file_) throw fs::filesystem_error("cannot be opened", path, {errno, std::generic_category()});
    std::setvbuf(file_.get(), nullptr, _IONBF, 0);
    window_.resize(windowSize);
}

const unsigned char* WordFile::take(std::size_t count) {
    if (left() < count) throw Truncated{position_};
    if (end_ - begin_ < count) {
        std::memmove(window_.data(), window_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
        end_ += std::fread(window_.data() + end_, 1, window_.size() - end_, file_.get());
        if (end_ < count) throw Truncated{position_};
    }
    const unsigned char* const bytes = window_.data() + begin_;
    begin_ += count;
    position_ += count;
    return bytes;
}

std::uint32_t WordFile::word() {
    return boost::endian::load_big_u32(take(sizeof(std::uint32_t)));
}

void WordFile::skip(std::uint64_t count) {
    if (left() < count) throw Truncated{position_};
    while (count > 0) {
        if (begin_ == end_) {
            take(1);
            --count;
        }
        const auto step = static_cast<std::size_t>(std::min<std::uint64_t>(count, end_ - begin_));
        begin_ += step;
        position_ += step;
        count -= step;
    }
}

std::string WordFile::text(std::uint64_t length) {
    if (left() < length) throw Truncated{position_};
    std::string text;
    while (text.size() < length)
        text += static_cast<char>(*take(1));
    return text;
}

} // namespace skar::tool::check
