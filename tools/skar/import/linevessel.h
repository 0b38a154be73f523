#pragma once

#include "import/lineimport.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>

// The vessel file that belongs to a line, and a first one from what raw files say of the installation.
namespace skar::tool {

// Where the library looks for it.
std::filesystem::path vesselFileOf(const LinePath& line);

struct ImportedVessel {
    std::filesystem::path file;
    bool isNew = false;      // otherwise there was one, which is left as it was
    std::size_t entries = 0; // of the new one
    std::string origin;      // raw files that it was made of
};

// Writes it where the files state an installation and there is none; nothing where they do not. An entry has
// the time of its datagram without the fraction, and there is one where something has changed. Throws
// ToolError.
std::optional<ImportedVessel> importVessel(const LinePath& line, std::span<const RawFile> files);

} // namespace skar::tool
