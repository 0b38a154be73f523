#pragma once

#include "import/lineimport.h"

#include <string>
#include <vector>

// The sound velocity file of a line from the casts of raw files.
namespace skar::tool {

inline constexpr const char* castFileName = "Svp";

// The casts of the files, each once, that hold a value the file can keep.
PlannedCasts planCasts(std::span<const RawFile> files, std::span<const std::string> wanted);

// A ToolError when the line has a sound velocity file, under any of its names.
void refuseOverwriting(const LinePath& line, const PlannedCasts& planned);

// Writes the plan's casts, over the sound velocity file that the line has or into a new one.
void writeCasts(const LinePath& line, const PlannedCasts& planned);

} // namespace skar::tool
