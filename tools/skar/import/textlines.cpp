#include "import/textlines.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace skar::import {

namespace {

constexpr std::size_t windowBytes = 256 * 1024;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

} // namespace

TextLines::TextLines(ByteSource& source) : source_(source) {
    fill();
    if (std::string_view(window_.data(), window_.size()).starts_with(byteOrderMark))
        position_ = byteOrderMark.size();
}

// Keeps what is unread and adds what follows; false when nothing does.
bool TextLines::fill() {
    if (atEnd_) return false;
    window_.erase(window_.begin(), window_.begin() + static_cast<std::ptrdiff_t>(position_));
    start_ += position_;
    position_ = 0;
    const std::size_t kept = window_.size();
    const std::uint64_t rest = source_.size() - std::min(source_.size(), start_ + kept);
    window_.resize(kept + static_cast<std::size_t>(std::min<std::uint64_t>(windowBytes, rest)));
    const auto space = std::span<char>(window_).subspan(kept);
    const std::size_t got = source_.read(start_ + kept, std::as_writable_bytes(space));
    window_.resize(kept + got);
    atEnd_ = got == 0;
    return got != 0;
}

bool TextLines::next(TextLine& line) {
    line = {};
    const char* end = nullptr;
    for (;;) {
        const std::size_t left = window_.size() - position_;
        if (left != 0) end = static_cast<const char*>(std::memchr(window_.data() + position_, '\n', left));
        if (end != nullptr) break;
        if (left > longestLine && !line.overlong) {
            line.overlong = true;
            line.offset = start_ + position_;
        }
        // The rest of an overlong line is passed over, not gathered.
        if (line.overlong) position_ = window_.size();
        if (!fill()) break;
    }
    const std::size_t left = window_.size() - position_;
    if (end == nullptr && left == 0 && !line.overlong) return false;

    const char* const begin = window_.data() + position_;
    const std::size_t length = end != nullptr ? static_cast<std::size_t>(end - begin) : left;
    line.unfinished = end == nullptr;
    if (!line.overlong) {
        line.offset = start_ + position_;
        line.overlong = length > longestLine;
        if (!line.overlong) {
            line.text = std::string_view(begin, length);
            while (line.text.ends_with('\r'))
                line.text.remove_suffix(1);
        }
    }
    position_ += length + (end != nullptr ? 1 : 0);
    return true;
}

std::optional<double> decimal(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    const bool plain = !text.empty() && text.size() <= 40 &&
                       text.find_first_not_of("0123456789.-") == std::string_view::npos &&
                       text.find('-', 1) == std::string_view::npos;
    if (!plain) return std::nullopt;
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<int> digits(std::string_view text) {
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string_view::npos)
        return std::nullopt;
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::vector<std::string_view> fields(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t end = text.find(separator, begin);
        parts.push_back(text.substr(begin, end - begin));
        if (end == std::string_view::npos) return parts;
        begin = end + 1;
    }
}

} // namespace skar::import
