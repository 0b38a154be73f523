#include "check/contactcheck.h"

#include <skar/contact.h>

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <fstream>
#include <optional>
#include <set>
#include <string>

namespace skar::tool::check {

namespace {

// The lines of a file, as long as the store reads them in one.
class Lines {
public:
    explicit Lines(const std::string& path) : in_(path, std::ios::binary) {}
    bool isOpen() const { return in_.is_open(); }
    bool failed() const { return in_.bad(); }
    std::uint64_t offset() const { return offset_; }
    bool next(std::string& line) {
        offset_ += taken_;
        std::array<char, 8192> buffer;
        in_.getline(buffer.data(), buffer.size());
        taken_ = static_cast<std::uint64_t>(in_.gcount());
        if (taken_ == 0) return false;
        // The line feed is counted and not kept; at the end of the file and in a line too long there is none.
        const bool whole = !in_.fail() && !in_.eof();
        line.assign(buffer.data(), static_cast<std::size_t>(taken_) - (whole ? 1 : 0));
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (in_.fail() && !in_.eof()) in_.clear();
        return true;
    }

private:
    std::ifstream in_;
    std::uint64_t offset_ = 0;
    std::uint64_t taken_ = 0;
};

std::optional<int> versionOf(const std::string& line) {
    constexpr std::string_view word = "VERSION ";
    if (!line.starts_with(word)) return std::nullopt;
    int version = 0;
    const char* const end = line.data() + line.size();
    const auto [stop, error] = std::from_chars(line.data() + word.size(), end, version);
    if (error != std::errc() ||
        line.find_first_not_of(' ', static_cast<std::size_t>(stop - line.data())) != std::string::npos)
        return std::nullopt;
    return version;
}

} // namespace

SetResult checkContacts(const LinePath& line, Report& report) {
    const std::string path = (line.native / contactFile).string();
    report.enterSensor(contactFile);
    report.enterFile(path);
    SetResult result;
    Lines lines(path);
    if (!lines.isOpen()) {
        report.error("unreadable", 0, "cannot be opened");
        return result;
    }
    std::string text;
    if (!lines.next(text)) {
        report.error("contact-head", 0, "the file is empty");
        return result;
    }
    const bool second = lines.next(text);
    const std::optional<int> version = second ? versionOf(text) : std::nullopt;
    if (!version) {
        report.error("contact-head", lines.offset(), "the second line does not state a version");
        return result;
    }
    constexpr int newest = 4;
    if (*version < 1 || *version > newest)
        report.error("version", lines.offset(), fmt::format("version {} is not known", *version));
    std::set<int> numbers;
    bool first = true;
    while (lines.next(text)) {
        const bool colourMap = first && text.starts_with("Colour Map = ");
        first = false;
        if (colourMap) continue;
        Contact contact = {};
        contact.number = -1;
        DecodeContactRecord(*version, wideText(text).c_str(), &contact);
        if (contact.number == -1) {
            report.error("contact-line", lines.offset(), "the line does not decode");
            continue;
        }
        ++result.records;
        if (!numbers.insert(contact.number).second)
            report.warning("contact-number", lines.offset(),
                           fmt::format("contact {} is there more than once", contact.number));
    }
    if (lines.failed()) report.error("unreadable", lines.offset(), "cannot be read on");
    return result;
}

} // namespace skar::tool::check
