#pragma once

#include "linepath.h"

#include <skar/skario.h>

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The files of a line that name their attributes themselves.
namespace skar::tool {

// Those of the line by their own heads, and the ones every program knows by name, sorted. Damaged files are
// among them.
std::vector<std::string> attributeFiles(const LinePath& line);
// The one of that name in any case; nothing when it is not there.
std::optional<std::string> findAttributeFile(const LinePath& line, std::string_view name);
// What a file of that name holds; empty for a name that is not known.
const char* aboutAttributeFile(std::string_view name);
// Takes the names of these files and their indexes off a list of names.
void leaveOutAttributeFiles(std::vector<std::string>& names, const std::vector<std::string>& files);

struct AttributeColumn {
    std::string name;
    SKARIOAttributes::dataType type;

    const char* typeName() const;
};

// A value with its number of elements.
struct AttributeValue {
    SKARIOAttributes::dataType type = SKARIOAttributes::typeUInt32;
    SKARIOAttributes::dataValue value;
    int count = 0;

    // As JSON has it; null for a number that is none and for a type that is not known.
    void appendJson(fmt::memory_buffer& out) const;
    // As comma separated values have it: elements of an array between blanks, nothing for a number that is
    // none.
    void appendCsv(fmt::memory_buffer& out) const;
    std::string text() const;
    // Of a scalar that is a number.
    std::optional<double> number() const;
};

// Every failure is a ToolError that names the file and the library's code.
class OpenAttributes {
public:
    OpenAttributes(const LinePath& line, const std::string& name);
    ~OpenAttributes();
    OpenAttributes(const OpenAttributes&) = delete;
    OpenAttributes& operator=(const OpenAttributes&) = delete;

    SKARDataFile& file() { return *file_; }
    std::uint32_t sensorNumber() const { return sensorNumber_; }
    std::string source() const;
    const std::vector<AttributeColumn>& summaryColumns() const { return summaryColumns_; }
    AttributeValue summaryValue(std::size_t column) const;
    const std::vector<AttributeColumn>& columns() const { return columns_; }

    // Records count from 1, and each is read once before another. The values stay until then.
    void read(std::uint32_t number, double& time, std::uint32_t& status);
    AttributeValue value(std::size_t column) const;

private:
    void freeBlocks();

    std::string path_;
    std::uint32_t sensorNumber_ = 0;
    std::optional<SKARDataFile> file_;
    std::vector<AttributeColumn> summaryColumns_;
    std::vector<SKARIOAttributes::dataValue> summaryValues_;
    std::vector<int> summaryCounts_;
    std::vector<AttributeColumn> columns_;
    std::vector<SKARIOAttributes::dataValue> values_;
    std::vector<int> counts_;
};

} // namespace skar::tool
