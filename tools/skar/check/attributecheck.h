#pragma once

#include "check/setcheck.h"

#include <string>

namespace skar::tool::check {

// Holds an attribute file against what it says of itself and against its index.
SetResult checkAttributes(const LinePath& line, const std::string& name, Report& report, Progress& progress);

} // namespace skar::tool::check
