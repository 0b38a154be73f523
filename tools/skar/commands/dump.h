#pragma once

#include "commands/command.h"

namespace skar::tool {

Run declareDump(CLI::App& app);

} // namespace skar::tool
