#pragma once

#include "commands/command.h"

namespace skar::tool {

Run declareCheck(CLI::App& app);

} // namespace skar::tool
