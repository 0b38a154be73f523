#pragma once

#include "import/bytes.h"
#include "import/rawfile.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Casts of sound speed as the exports of instruments hold them. Nothing here knows the library.
namespace skar::import {

// A file of casts in the layout of an instrument or its program.
struct CastFile {
    std::string format;
    std::vector<Cast> casts;
    // What the file does not say and was taken for granted, a sentence each.
    std::vector<std::string> assumptions;
    std::uint64_t unparsable = 0; // lines where a sample should be and none could be read
};

struct CastFormat {
    const char* name;
    bool (*matches)(std::span<const std::string_view> lines);
    void (*read)(std::span<const std::string_view> lines, CastFile& file);
};
std::span<const CastFormat> castFormats();

// The largest file that is taken for one of casts, and its lines.
inline constexpr std::uint64_t longestCastFile = std::uint64_t{64} << 20;
inline constexpr std::size_t mostCastLines = 2'000'000;

// Reads a file of any of these layouts, which its content tells; nothing for any other file. Throws
// ImportError when the source cannot be read, or when the file lacks what makes a cast of it.
std::optional<CastFile> readCastFile(ByteSource& source);

// Below the surface, and of a speed that sound has in water.
bool isInWater(const CastSample& sample);

// The samples of the way down within the range that sound has in water, each deeper than the one before, and
// how many that leaves out.
struct WayDown {
    std::vector<CastSample> samples;
    std::uint64_t outOfRange = 0;
    std::uint64_t notDeeper = 0;
};
WayDown wayDown(const Cast& cast);

} // namespace skar::import
