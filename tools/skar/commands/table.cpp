#include "commands/check.h"
#include "commands/command.h"
#include "commands/contacts.h"
#include "commands/dump.h"
#include "commands/import.h"
#include "commands/info.h"
#include "commands/plot.h"
#include "commands/simulate.h"
#include "commands/svp.h"
#include "commands/vessel.h"

#include <vector>

namespace skar::tool {

std::span<const Command> commands() {
    static const std::vector<Command> table = {
        {"info", "Show what a line holds", declareInfo},
        {"dump", "Print the records of a sensor", declareDump},
        {"check", "Look for inconsistencies in the files of a line", declareCheck},
        {"contacts", "List, add and remove the contacts of a line", declareContacts},
        {"import", "Write the sensors of raw files into a line", declareImport},
        {"plot", "Draw track, depths and motion of a line", declarePlot},
        {"vessel", "Show, check and convert the configuration of a vessel", declareVessel},
        {"svp", "Show, convert and draw casts of sound speed", declareSvp},
        {"simulate", "Write a line with a simulated vessel", declareSimulate},
    };
    return table;
}

} // namespace skar::tool
