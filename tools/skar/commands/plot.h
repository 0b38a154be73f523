#pragma once

#include "commands/command.h"

namespace skar::tool {

Run declarePlot(CLI::App& app);

} // namespace skar::tool
