#pragma once

#include "check/report.h"
#include "families.h"
#include "progress.h"

namespace skar::tool::check {

struct SetResult {
    std::uint64_t records = 0; // that the data file holds and its summary counts
    std::uint64_t segments = 0;
};

// Holds the three files of a sensor against each other and against what the format asks of each.
SetResult checkSet(const LinePath& line, const Family& family, Report& report, Progress& progress);

} // namespace skar::tool::check
