#pragma once

#include "attributefile.h"
#include "commands/command.h"
#include "commands/output.h"
#include "families.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace skar::tool {

struct AttributeScan {
    Extent time;
    std::vector<Extent> values;  // of each column, where it is a number
    std::uint64_t backwards = 0; // records with a time before that of the one ahead of them
    std::uint64_t marked = 0;    // records with a status other than 0
};

// What an attribute file says of itself.
struct AttributeInfo {
    std::string name;
    std::string failure; // the rest is empty then
    std::uint32_t sensorNumber = 0;
    std::uint32_t fileVersion = 0;
    std::uint32_t dataVersion = 0;
    std::uint32_t status = 0;
    std::uint64_t records = 0;
    Extent time;
    std::string source;
    struct Column : AttributeColumn {
        std::string value; // of the summary, as text
        Json json;
    };
    std::vector<Column> summary;
    std::vector<Column> columns;
    std::optional<AttributeScan> scan;
};

// With `full` every record is read.
AttributeInfo inspectAttributes(const LinePath& line, const std::string& name, bool full,
                                const Common& common);
void printAttributes(std::span<const AttributeInfo> files);
Json attributesJson(std::span<const AttributeInfo> files);

} // namespace skar::tool
