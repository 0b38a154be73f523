#pragma once

#include "support/fault_backend.h"

#include <skar/codes.h>
#include <skar/errors.h>
#include <skar/soundvelocity.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

// The words of the tests of sound velocity files. Files lie on a disk in memory.
namespace skar::tests {

inline MORVAUString text(std::string_view utf8) {
    return {utf8.data(), static_cast<std::int32_t>(utf8.size()), MORVAUString::Converter()};
}

// Seconds since 1980 of a time after the last leap second the library knows, counted in days from 1980.
constexpr double timeOn(int day, int seconds) {
    return day * 86400.0 + seconds + 16;
}

struct Value {
    double depth;
    double velocity;
    bool operator==(const Value&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Value& value) {
        return out << value.depth << ' ' << value.velocity;
    }
};
using Values = std::vector<Value>;

inline Values valuesOf(const SvpFile::SvpSections& section) {
    Values values;
    for (const SvpFile::SvpValues& value : section.values)
        values.push_back({value.depth, value.velocity});
    return values;
}

inline const SvpFile::SvpSections& sectionAt(const SvpFile& file, std::size_t index) {
    auto section = file.GetRecordsInFile().begin();
    std::advance(section, static_cast<std::ptrdiff_t>(index));
    return *section;
}

// A file of one format on that disk.
template <class Format>
class OnDisk : public testing::Test {
protected:
    static constexpr const char* path = "/line/cast";

    OnDisk() : file(text(path)) {
        disk.put("/line/neighbour", "");
        MORVAErrorManager::instance().clear();
    }

    int read(std::string_view bytes) {
        disk.put(path, bytes);
        return file.ReadInData();
    }
    // What a save leaves on disk.
    std::string saved() {
        EXPECT_EQ(0, file.UpdateDataFile());
        return disk.bytes(path);
    }
    Values values(std::size_t section = 0) const { return valuesOf(sectionAt(file, section)); }
    double onlyTime() const { return sectionAt(file, 0).time; }

    // Fails every operation of a save in turn, and every amount of room: the file must stay as it was and
    // nothing be left over.
    void expectIntactOnFailure() {
        const std::string before = disk.bytes(path);
        const Files files = disk.files();
        disk.resetCounts();
        ASSERT_EQ(0, file.UpdateDataFile());
        const std::size_t operations = disk.operations();
        const std::string after = disk.bytes(path);
        ASSERT_NE(before, after);
        for (std::size_t n = 1; n <= operations; ++n) {
            SCOPED_TRACE("operation " + std::to_string(n));
            disk.setFiles(files);
            disk.resetCounts();
            disk.failAt(n, EIO);
            expectOldOrNew(before, after);
        }
        for (std::size_t room = 0; room < after.size(); room += 1 + after.size() / 50) {
            SCOPED_TRACE("room for " + std::to_string(room) + " bytes");
            disk.setFiles(files);
            disk.noSpaceAfter(room);
            expectOldOrNew(before, after);
            EXPECT_EQ(files, disk.files());
        }
    }

    FaultBackend disk;
    Format file;

private:
    void expectOldOrNew(const std::string& before, const std::string& after) {
        MORVAErrorManager::instance().clear();
        const int result = file.UpdateDataFile();
        disk.clearFaults();
        EXPECT_EQ(0, disk.openStreams());
        if (result == 0) {
            EXPECT_EQ(after, disk.bytes(path));
            return;
        }
        EXPECT_EQ(-1, result);
        EXPECT_EQ(before, disk.bytes(path));
        ASSERT_NE(nullptr, MORVAErrorManager::instance().last());
        EXPECT_EQ(-1, MORVAErrorManager::instance().last()->number());
        EXPECT_FALSE(MORVAErrorManager::instance().last()->text().isEmpty());
    }
};

} // namespace skar::tests
