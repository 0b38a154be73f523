#include "sensoroutput.h"

#include "commands/command.h"
#include "openset.h"

#include <fmt/format.h>

#include <filesystem>

namespace skar::tool {

bool makeLine(const LinePath& line, bool makeRoot) {
    if (line.project().empty() || line.root().empty()) {
        throw ToolError(fmt::format("{}: too short; a line is <root>/<project>/<vessel>/<day>/<line>",
                                    printable(line.native.string())),
                        exitUsage);
    }
    const std::filesystem::path root = line.root();
    bool made = false;
    std::error_code error;
    if (!std::filesystem::exists(root, error)) {
        if (!makeRoot) {
            throw ToolError(fmt::format("{}: the root of the line does not exist; make that directory first",
                                        printable(root.string())));
        }
        if (!std::filesystem::create_directory(root, error)) {
            throw ToolError(fmt::format("{}: the root cannot be made: {}", printable(root.string()),
                                        error ? error.message() : "unknown cause"));
        }
        made = true;
    }
    startLibrary();
    if (LineCreateHierarchy(line.store.c_str()) != 0) {
        throw ToolError(
            fmt::format("{}: the directories of the line cannot be made", printable(line.native.string())));
    }
    return made;
}

void refuseOverwriting(const LinePath& line, std::span<const Family* const> sensors) {
    for (const Family* family : sensors) {
        if (isPresent(line, *family)) {
            throw ToolError(fmt::format("{}: is there already; --force writes over it",
                                        printable((line.native / family->name).string())));
        }
    }
}

} // namespace skar::tool
