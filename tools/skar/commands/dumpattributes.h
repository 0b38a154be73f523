#pragma once

#include "commands/command.h"
#include "linepath.h"

#include <cstdint>
#include <string>

namespace skar::tool {

struct RecordChoice {
    std::uint32_t first;
    std::uint32_t count;
    double from; // seconds of the store, both ends included
    double to;
    bool header;
};

// Prints the records of an attribute file as it describes them.
int dumpAttributes(const LinePath& line, const std::string& name, const RecordChoice& choice,
                   const Common& common);

} // namespace skar::tool
