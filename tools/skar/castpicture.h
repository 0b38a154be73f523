#pragma once

#include "import/cast.h"

#include <span>
#include <string>

namespace skar::tool {

struct NamedCast {
    import::Cast cast;
    std::string name;
};

// Draws casts as curves of sound speed over depth into a PNG file. Throws ToolError when that cannot be
// written.
void drawCasts(const std::string& path, std::span<const NamedCast> casts, const std::string& title);

} // namespace skar::tool
