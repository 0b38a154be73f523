#pragma once

#include "families.h"
#include "linepath.h"

#include <span>

// What the commands that write sensors into a line do first.
namespace skar::tool {

// Makes the directories of the line that are missing. A root that is missing is made too when `makeRoot` says
// so, and is a ToolError that tells what to do otherwise. True when the root had to be made.
bool makeLine(const LinePath& line, bool makeRoot);

// A ToolError naming the first of the sensors that is in the line already.
void refuseOverwriting(const LinePath& line, std::span<const Family* const> sensors);

} // namespace skar::tool
