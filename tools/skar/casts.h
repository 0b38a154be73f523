#pragma once

#include "import/cast.h"
#include "linepath.h"

#include <skar/soundvelocity.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

// Casts between the files of instruments and the sound velocity files of the library.
namespace skar::tool {

// The casts of a file, however it was read.
struct LoadedCasts {
    std::string format;
    std::vector<import::Cast> casts;
    std::vector<bool> timed; // whether the file gives a cast's time
    std::vector<std::string> remarks;
};

// Reads a file in the layout of an instrument, or in one of the library's formats. Throws ToolError naming
// the file.
LoadedCasts loadCasts(const std::string& path);

// A format that casts can be written in.
struct CastTarget {
    const char* name;
    std::unique_ptr<SvpFile> (*make)(const MORVAUString& file);
    // Of a format that can be written only into a file that was read: such a file. Else null.
    std::string (*seed)(const import::Cast& cast);
};
std::span<const CastTarget> castTargets();

// What became of the casts on their way into a file, found by reading it again.
struct WrittenCasts {
    std::uint64_t casts = 0;
    std::uint64_t values = 0;
    std::uint64_t outOfRange = 0;
    std::uint64_t notDeeper = 0;
    std::uint64_t missing = 0; // values that the format did not keep
    std::uint64_t depthsChanged = 0;
    double largestDepthChange = 0.0;    // m
    double largestSpeedChange = 0.0;    // m/s
    double largestPositionChange = 0.0; // degrees
    double largestTimeChange = 0.0;     // s
};
// Writes the casts in order of time. Throws ToolError when they cannot be written; the file is then as it
// was.
WrittenCasts writeCasts(const std::string& path, const CastTarget& target, std::vector<import::Cast> casts,
                        const std::string& source);

// Degrees as the files have them, "-063:15:00.25".
std::string positionText(double degrees, int degreeDigits);

} // namespace skar::tool
