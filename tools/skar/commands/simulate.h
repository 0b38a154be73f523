#pragma once

#include "commands/command.h"

namespace skar::tool {

Run declareSimulate(CLI::App& app);

} // namespace skar::tool
