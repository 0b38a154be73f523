#pragma once

#include "commands/command.h"

namespace skar::tool {

Run declareInfo(CLI::App& app);

} // namespace skar::tool
