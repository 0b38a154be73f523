#pragma once

#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/codes.h>
#include <skar/datafile.h>
#include <skar/platform.h>
#include <skar/rawdataindex.h>
#include <skar/rmsfiles.h>
#include <skar/sensor.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// What the tests of the attribute files share: bytes of such files put together by hand, and a file in a
// line.
namespace skar::tests {

using SKARIOAttributes::dataType;
using SKARIOAttributes::dataValue;
using Values = std::vector<dataValue>;
using Counts = std::vector<int>;

inline constexpr std::uint32_t noCode = 0xFFFFFFFF;
inline constexpr std::uint32_t sensorNumber = 33;

inline dataValue u32(std::uint32_t number) {
    dataValue value;
    value.uint32 = number;
    return value;
}
inline dataValue real(float number) {
    dataValue value;
    value.float32 = number;
    return value;
}
inline dataValue real64(double number) {
    dataValue value;
    value.float64 = number;
    return value;
}
template <class Element>
dataValue block(Element* elements) {
    dataValue value;
    value.byteArray = reinterpret_cast<std::uint8_t*>(elements);
    return value;
}

// The words of a summary; what a test does not name is that of a file of one float "Depth" without records.
struct SummaryWords {
    std::uint32_t version = 2;
    std::uint32_t dataVersion = 4;
    std::string source = "a.raw";
    std::uint32_t status = 0;
    std::uint32_t records = 0;
    std::uint32_t scale = 1000;
    std::uint32_t reference = 0;
    std::int32_t minimum = 0;
    std::int32_t maximum = 0;
    std::vector<std::pair<std::uint32_t, std::string>> summaryAttributes;
    Bytes summaryValues;
    std::uint32_t largest = 16;
    std::vector<std::pair<std::uint32_t, std::string>> attributes = {{2, "Depth"}};

    // From byte 16 of the file on.
    Bytes bytes() const;
    // Behind the validation record.
    Bytes file() const;
};

// An index with sets of (time, offset) entries.
Bytes indexBytes(const std::vector<std::vector<std::pair<std::int32_t, std::int32_t>>>& sets,
                 std::uint32_t version = 2, std::uint32_t capacity = 512);

// Reaches what is protected.
class OpenDataFile : public SKARDataFile {
public:
    using SKARDataFile::CalculateSizeOfDataRecord;
    using SKARDataFile::ReadSummary;
    using SKARDataFile::SKARDataFile;
    using SKARDataFile::TELD_ReadDataValidationRecord;
    using SKARDataFile::TELD_WriteDataValidationRecord;
    using SKARDataFile::TmIdxEntry;
    using SKARDataFile::TmIdxMapIndexToByteOffset;
    using SKARDataFile::TmIdxRead;
    using SKARDataFile::TmIdxSetAlloc;
    using SKARDataFile::TmIdxSetFree;
    using SKARDataFile::TmIdxWrite;
    using SKARDataFile::UpdateSummary;
    using SKARDataFile::WriteSummary;
};

// A line of a test with the file "Test" in it. Nothing that failed before shows in its opens.
class AttributeFiles : public testing::Test {
protected:
    AttributeFiles() { SKARSetLastError(0); }

    OpenDataFile open(SKARDataFile::AccessType access, long& status) const {
        return {line.path().c_str(), L"Test", L"a.raw", sensorNumber, access, 4, status, true};
    }
    OpenDataFile create() const {
        long status = 77;
        OpenDataFile file = open(SKARDataFile::create, status);
        EXPECT_EQ(0, status);
        return file;
    }
    OpenDataFile query() const {
        long status = 77;
        OpenDataFile file = open(SKARDataFile::query, status);
        EXPECT_EQ(0, status);
        return file;
    }
    long codeOfQuery() const {
        long status = 77;
        open(SKARDataFile::query, status);
        return status;
    }
    // Three records of the float "Depth" at 3725.5, 3726.5 and 3727.5 s, values 1 to 3, statuses 11 to 13.
    void writeThree() const;

    Line line;
};

} // namespace skar::tests
