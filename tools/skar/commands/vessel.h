#pragma once

#include "commands/command.h"

namespace skar::tool {

Run declareVessel(CLI::App& app);

} // namespace skar::tool
