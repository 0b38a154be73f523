#include "shell.h"

#include <algorithm>

using namespace skar::test;

namespace {

class SkarUsage : public ToolTest {};

TEST_F(SkarUsage, HelpNamesEveryCommandAndTheExitStatuses) {
    const Outcome outcome = runSkar("--help");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    for (const char* const word : {"simulate", "info", "dump", "check", "--version", "Exit status"})
        EXPECT_NE(outcome.out.find(word), std::string::npos) << word;
}

TEST_F(SkarUsage, EveryCommandExplainsItselfWithAnExample) {
    for (const char* const command : {"simulate", "info", "dump", "check"}) {
        const Outcome outcome = runSkar(std::string(command) + " --help");
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_NE(outcome.out.find("LINE"), std::string::npos);
        EXPECT_NE(outcome.out.find("--json"), std::string::npos);
        EXPECT_NE(outcome.out.find(std::string("Example:  skar ") + command), std::string::npos);
    }
}

TEST_F(SkarUsage, VersionIsThatOfTheProject) {
    const Outcome outcome = runSkar("--version");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, std::string("skar ") + SKAR_VERSION + "\n");
}

TEST_F(SkarUsage, BadUsageIsOneLineAndStatusTwo) {
    simulate("--duration 2 --sensors Heave");
    const std::string path = line.string();
    const std::vector<std::string> wrong = {"",
                                            "nonsense",
                                            "info",
                                            "dump " + path,
                                            "info --nonsense " + path,
                                            "dump " + path + " Heave --first 0",
                                            "dump " + path + " Heave --first -1",
                                            "dump " + path + " Heave --count many",
                                            "dump " + path + " Heave --from yesterday",
                                            "dump " + path + " Heave --to 2024-02-30T00:00:00Z",
                                            "dump " + path + " Nonsense",
                                            "simulate " + path + " --records 0 --force",
                                            "simulate " + path + " --records 100000001 --force",
                                            "simulate " + path + " --records 10 --duration 10",
                                            "simulate " + path + " --sensors Nonsense",
                                            "simulate " + path + " --duration 60 --lines 50 --force",
                                            "simulate " + path + " --records 30000000 --rate 10 --force",
                                            "simulate " + path + " --start soon --force",
                                            "simulate /too/short --force",
                                            "info ''"};
    for (const std::string& arguments : wrong) {
        const Outcome outcome = runSkar(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_EQ(outcome.out, "") << arguments;
        EXPECT_EQ(outcome.err.substr(0, 6), "skar: ") << arguments;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
}

TEST_F(SkarUsage, AFullOutputDeviceIsAFailure) {
    simulate("--duration 60");
    for (const char* const command : {"info", "check"}) {
        const Outcome outcome = runSkar(std::string(command) + " " + line.string(), "/dev/full");
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_EQ(outcome.err, "skar: standard output could not be written\n");
    }
    const Outcome outcome = runSkar("dump " + line.string() + " Gyro", "/dev/full");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "skar: standard output could not be written\n");
}

TEST_F(SkarUsage, BackslashesInPathsAreSeparators) {
    simulate("--duration 2");
    std::string path = line.string();
    std::replace(path.begin(), path.end(), '/', '\\');
    const Outcome outcome = runSkar("info --json '" + path + "'");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["line"], line.string());
}

TEST_F(SkarUsage, PathsBeyondAsciiWorkThroughout) {
    const std::string path = (folder / "Prosjekt Ø" / "Fartøy" / "2024-153" / "linje å 測").string();
    EXPECT_EQ(runSkar("simulate '" + path + "' --duration 2").status, 0);
    EXPECT_EQ(runSkar("check '" + path + "'").status, 0);
    EXPECT_EQ(runSkar("info --json '" + path + "'").json()["vessel"], "Fartøy");
}

} // namespace
