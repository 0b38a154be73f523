#include "commands/command.h"

#include <vector>

namespace skar::tool {

std::span<const Command> commands() {
    static const std::vector<Command> table = {};
    return table;
}

} // namespace skar::tool
