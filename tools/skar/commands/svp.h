#pragma once

#include "commands/command.h"

namespace skar::tool {

Run declareSvp(CLI::App& app);

} // namespace skar::tool
