#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <span>
#include <stdexcept>
#include <string>

namespace skar::tool {

// What the command's exit status says to a script.
enum ExitStatus : int {
    exitSuccess = 0,
    exitFailure = 1, // a failure, or a finding of a command that looks for some
    exitUsage = 2,
    exitLoss = 3, // done, but something was lost; the output says what and how much
};

// What every command takes.
struct Common {
    bool json = false;
    bool progress = true;
};

// Ends a command with one line on standard error: what failed, on which file, with which code, what to do.
class ToolError : public std::runtime_error {
public:
    explicit ToolError(const std::string& text, int exitStatus = exitFailure)
        : std::runtime_error(text), status(exitStatus) {}
    int status;
};

// A command declares its options on the parser it is given and returns what runs after parsing; the options'
// values live in what it returns. The result of the run is the exit status.
using Run = std::function<int(const Common&)>;

struct Command {
    const char* name;
    const char* about;
    Run (*declare)(CLI::App& app);
};

// All commands, in the order of the help text. One file and one row each.
std::span<const Command> commands();

} // namespace skar::tool
