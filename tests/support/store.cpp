#include "support/store.h"

#include <boost/smart_ptr/make_shared.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace skar::tests {

namespace {

constexpr std::size_t wordSize = 4;

std::string bigEndian(std::uint32_t word) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<char>(word >> shift & 0xFF));
    return bytes;
}

std::string read(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path.string());
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// A word in hex and in decimal, or the bytes of anything else.
std::string shown(std::string_view bytes, const Bytes::Field& field) {
    const std::string_view part = bytes.substr(std::min(field.offset, bytes.size()), field.size);
    std::string text = hex(part);
    if (part.size() == wordSize)
        text += " (" + std::to_string(static_cast<std::int32_t>(wordAt(part, 0))) + ")";
    return part.empty() ? "nothing" : text;
}

class CapturingLogger : public SKAR::DebugLogger {
public:
    explicit CapturingLogger(std::shared_ptr<Lines> lines) : lines_(std::move(lines)) {}
    boost::shared_ptr<SKAR::DebugLogger> clone() const override {
        return boost::make_shared<CapturingLogger>(*this);
    }
    bool passes(SKAR::DebugLogOutputLevel messageLevel) const override {
        of_ = messageLevel;
        return DebugLogger::passes(messageLevel);
    }

private:
    void write(const SKAR::Temporary::String& message) override {
        std::ostringstream text;
        text << message;
        lines_->push_back({of_, text.str()});
    }
    std::shared_ptr<Lines> lines_;
    mutable int of_ = 0;
};

} // namespace

Bytes& Bytes::add(std::string_view name, std::uint32_t word) {
    return raw(name, bigEndian(word));
}

Bytes& Bytes::raw(std::string_view name, std::string_view bytes) {
    fields_.push_back({bytes_.size(), bytes.size(), std::string(name)});
    bytes_ += bytes;
    return *this;
}

Bytes& Bytes::text(std::string_view name, std::string_view text) {
    word(std::string(name) + ".length", text.size());
    raw(name, text);
    if (const std::size_t over = text.size() % wordSize)
        zeros(std::string(name) + ".padding", wordSize - over);
    return *this;
}

Bytes& Bytes::then(const Bytes& more) {
    for (const Field& field : more.fields_)
        fields_.push_back({field.offset + bytes_.size(), field.size, field.name});
    bytes_ += more.bytes_;
    return *this;
}

Bytes& Bytes::validation(std::uint32_t sensorType, std::uint32_t fileType, std::uint32_t version) {
    return word("teldToken", 0x54454C44u)
        .word("sensorType", sensorType)
        .word("fileType", fileType)
        .word("versionNumber", version);
}

std::string hex(std::string_view bytes) {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        text << (i == 0 ? "" : " ") << std::setw(2) << int{static_cast<unsigned char>(bytes[i])};
    return text.str();
}

std::uint32_t wordAt(std::string_view bytes, std::size_t offset) {
    if (offset + wordSize > bytes.size()) return 0;
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < wordSize; ++i)
        word = word << 8 | static_cast<unsigned char>(bytes[offset + i]);
    return word;
}

std::string withWord(std::string bytes, std::size_t offset, std::uint32_t word) {
    return bytes.replace(offset, wordSize, bigEndian(word));
}

testing::AssertionResult same(const Bytes& expected, std::string_view actual) {
    const std::string_view wanted = expected.string();
    if (wanted == actual) return testing::AssertionSuccess();
    const auto at = static_cast<std::size_t>(
        std::mismatch(wanted.begin(), wanted.end(), actual.begin(), actual.end()).first - wanted.begin());
    auto failure = testing::AssertionFailure();
    failure << "sizes " << wanted.size() << " and " << actual.size() << ", first difference at byte " << at
            << '\n';
    for (const Bytes::Field& field : expected.fields())
        if (at >= field.offset && at < field.offset + field.size)
            failure << "field " << (field.name.empty() ? "(unnamed)" : field.name) << " at " << field.offset
                    << "\n  expected " << shown(wanted, field) << "\n  found    " << shown(actual, field)
                    << '\n';
    const std::size_t from = at < 16 ? 0 : (at - 8) / wordSize * wordSize;
    failure << "bytes from " << from << "\n  expected "
            << hex(wanted.substr(std::min(from, wanted.size()), 32)) << "\n  found    "
            << hex(actual.substr(std::min(from, actual.size()), 32));
    return failure;
}

Golden::Golden(const std::string& name, const std::string& testData)
    : folder_(std::filesystem::path(testData) / "golden" / name) {}

Bytes Golden::bytes(const std::string& file) const {
    std::istringstream lines(read(folder_ / (file + ".hex")));
    Bytes bytes;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.front() == '#') continue;
        std::istringstream parts(line);
        std::size_t offset = 0;
        std::string digits;
        std::string name;
        parts >> offset >> digits >> std::ws;
        std::getline(parts, name);
        if (!parts || offset != bytes.size()) throw std::runtime_error("golden line out of order: " + line);
        std::string decoded;
        for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
            decoded.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
        bytes.raw(name, decoded);
    }
    return bytes;
}

std::string Golden::twin() const {
    return read(folder_ / "twin.txt");
}

std::vector<std::string> Line::files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::ostream& operator<<(std::ostream& out, const Logged& line) {
    return out << line.level << ": \"" << line.text << '"';
}

LogCapture::LogCapture(int level)
    : lines_(std::make_shared<Lines>()), before_(SKAR::getDebugLogger().clone()) {
    CapturingLogger logger(lines_);
    logger.setDebuggingLevel(static_cast<SKAR::DebugLogOutputLevel>(level));
    SKAR::setDebugLogger(logger);
}

void inItsOwnProcess(const std::function<void()>& body) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto run = [&] {
        body();
        std::fflush(nullptr);
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

LogCapture::~LogCapture() {
    SKAR::setDebugLogger(*before_);
}

} // namespace skar::tests
