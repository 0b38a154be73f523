#pragma once

#include "support/temporary_directory.h"

#include <skar/log.h>

#include <gtest/gtest.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

// The words that all tests of the sensor store speak.
namespace skar::tests {

// Bytes of a file, built word by word in big-endian order, that know what each word is called.
//
//     Bytes expected;
//     expected.word("status", 7).word("encodedTime", -500).text("sourceFileName", "a.raw");
//     EXPECT_TRUE(same(expected, line.bytes("Gyro")));
//
// A failure shows offset, field, both values and the bytes around the difference in hex.
class Bytes {
public:
    struct Field {
        std::size_t offset;
        std::size_t size;
        std::string name;
    };

    Bytes() = default;
    // Plain words without names.
    Bytes(std::initializer_list<std::int64_t> words) {
        for (const auto each : words)
            word({}, each);
    }

    template <std::integral Value>
    Bytes& word(std::string_view name, Value value) {
        return add(name, static_cast<std::uint32_t>(value));
    }
    // A length word, the bytes and zeros up to a multiple of four.
    Bytes& text(std::string_view name, std::string_view text);
    Bytes& raw(std::string_view name, std::string_view bytes);
    Bytes& zeros(std::string_view name, std::size_t count) { return raw(name, std::string(count, '\0')); }
    // Puts another run of bytes behind this one.
    Bytes& then(const Bytes& more);
    // The token, sensor type, file type (1 data, 2 segments, 3 index) and version that every file opens with.
    Bytes& validation(std::uint32_t sensorType, std::uint32_t fileType, std::uint32_t version = 1);

    const std::string& string() const { return bytes_; }
    operator const std::string&() const { return bytes_; } // NOLINT: meant to stand for its bytes
    operator std::string_view() const { return bytes_; }   // NOLINT
    std::size_t size() const { return bytes_.size(); }
    const std::vector<Field>& fields() const { return fields_; }

private:
    Bytes& add(std::string_view name, std::uint32_t word);
    std::string bytes_;
    std::vector<Field> fields_;
};

// "00 00 00 07 54 45": for a file cut anywhere.
std::string hex(std::string_view bytes);
// The word at a byte offset; 0 beyond the end.
std::uint32_t wordAt(std::string_view bytes, std::size_t offset);
// A copy with the word at that offset replaced.
std::string withWord(std::string bytes, std::size_t offset, std::uint32_t word);

testing::AssertionResult same(const Bytes& expected, std::string_view actual);

// A case under tests/golden: for each file of a set "<file>.hex", a line per field with its offset, its
// bytes, its name and its value, and "twin.txt", which says the same for people.
class Golden {
public:
    explicit Golden(const std::string& name, const std::string& testData);
    Bytes bytes(const std::string& file) const;
    std::string twin() const;

private:
    std::filesystem::path folder_;
};
#ifdef SKAR_TEST_DATA
inline Golden golden(const std::string& name) {
    return Golden(name, SKAR_TEST_DATA);
}
#endif

// A line directory <root>/project/vessel/day/line on the real disk, gone with the object.
class Line {
public:
    Line() { std::filesystem::create_directories(folder()); }

    std::filesystem::path folder() const { return root_ / "project/vessel/day/line"; }
    std::wstring path() const { return folder().wstring(); }
    const TemporaryDirectory& root() const { return root_; }

    void write(const std::string& file, std::string_view bytes) const { root_.write(relative(file), bytes); }
    std::string bytes(const std::string& file) const { return root_.read(relative(file)); }
    bool has(const std::string& file) const { return root_.has(relative(file)); }
    // Leaves the first `size` bytes of a file.
    void cut(const std::string& file, std::size_t size) const {
        std::filesystem::resize_file(folder() / file, size);
    }
    // Replaces one word of a file.
    void patch(const std::string& file, std::size_t offset, std::uint32_t word) const {
        write(file, withWord(bytes(file), offset, word));
    }
    // Names of the files in it, sorted.
    std::vector<std::string> files() const;

private:
    static std::string relative(const std::string& file) { return "project/vessel/day/line/" + file; }
    TemporaryDirectory root_;
};

// One line of the log and the level it was logged at.
struct Logged {
    int level = 0;
    std::string text;
    bool operator==(const Logged&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Logged& line);

// Takes the process's log from construction to destruction. It lets through what a logger of that level does.
//
//     LogCapture log;
//     ...
//     EXPECT_EQ(log.lines(), (Lines{{1, "LnSegIndexSearch: sensor is invalid (empty)\n"}}));
using Lines = std::vector<Logged>;
class LogCapture {
public:
    explicit LogCapture(int level = SKAR::debugLogMost);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const Lines& lines() const { return *lines_; }
    void clear() { lines_->clear(); }

private:
    std::shared_ptr<Lines> lines_;
    boost::shared_ptr<SKAR::DebugLogger> before_;
};

// Runs a body in a fresh process, for what a process does only once or must not do to the tests after it.
void inItsOwnProcess(const std::function<void()>& body);

} // namespace skar::tests
