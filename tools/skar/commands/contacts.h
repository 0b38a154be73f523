#pragma once

#include "commands/command.h"

namespace skar::tool {

Run declareContacts(CLI::App& app);

} // namespace skar::tool
