#pragma once

#include "commands/command.h"

namespace skar::tool {

Run declareImport(CLI::App& app);

} // namespace skar::tool
