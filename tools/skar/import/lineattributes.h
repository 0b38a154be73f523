#pragma once

#include "import/lineimport.h"

#include <array>

// The attribute files of an import: the index of each raw file, and the error figures.
namespace skar::tool {

inline constexpr std::array<const char*, 2> attributeNames{"RawDataIndex", "RMS"};

// Those among `wanted`, or all when nothing is named there, that the files give. The first raw file's index
// has the plain name, those of further ones are numbered.
std::vector<PlannedAttributes> planAttributes(std::span<const RawFile> files,
                                              std::span<const std::string> wanted);

// A ToolError naming the first of the files that is in the line already.
void refuseOverwriting(const LinePath& line, std::span<const PlannedAttributes> attributes);

// Writes the plan's attribute files, each anew, and reads back how many records they count.
void writeAttributes(const LinePath& line, const ImportPlan& plan);

} // namespace skar::tool
