#include "commands/command.h"
#include "commands/output.h"

#include <cstdio>
#include <exception>
#include <vector>

using namespace skar::tool;

namespace {

// What was printed counts only once it has left the buffer: a full disk or a closed pipe is a failure.
int finish(int status) {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        printError("standard output could not be written");
        return exitFailure;
    }
    return status;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Reads and writes the data store of hydrographic surveys, line by line.\n"
        "A line is a directory <root>/<project>/<vessel>/<day>/<line> with one set of files per sensor.",
        "skar");
    app.set_version_flag("--version", std::string("skar ") + SKAR_VERSION);
    app.require_subcommand(1);
    app.footer("Exit status: 0 success, 1 failure or finding, 2 bad usage, 3 done but something was lost.\n"
               "skar COMMAND --help says more about a command.");

    Common common;
    std::vector<std::pair<CLI::App*, Run>> runs;
    for (const Command& command : commands()) {
        CLI::App* sub = app.add_subcommand(command.name, command.about);
        runs.emplace_back(sub, command.declare(*sub));
        sub->add_flag("--json", common.json, "Print JSON for machines instead of tables");
        sub->add_flag_callback(
            "--no-progress", [&common] { common.progress = false; }, "Never show progress on standard error");
    }

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
            return finish(app.exit(error));
        printError(std::string(error.what()) + " (--help shows the usage)");
        return exitUsage;
    }

    try {
        for (const auto& [sub, run] : runs) {
            if (sub->parsed()) return finish(run(common));
        }
    } catch (const ToolError& error) {
        std::fflush(stdout);
        printError(error.what());
        return error.status;
    } catch (const std::exception& error) {
        std::fflush(stdout);
        printError(error.what());
        return exitFailure;
    }
    return exitUsage;
}
