#include "shell.h"

#include <cmath>

using namespace skar::test;

namespace {

class SkarInfo : public ToolTest {
protected:
    Json info(const std::string& options = "") {
        const Outcome outcome = runSkar("info --json " + options + " " + line.string());
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome.json();
    }
};

TEST_F(SkarInfo, ShowsWhatTheHeadersHold) {
    GyroWords().write(line);
    const Json json = info();
    EXPECT_EQ(json["line"], line.string());
    EXPECT_EQ(json["project"], "project");
    EXPECT_EQ(json["vessel"], "vessel");
    EXPECT_EQ(json["day"], "2024-153");
    EXPECT_EQ(json["name"], "0001");
    ASSERT_EQ(json["sensors"].size(), 1U);
    const Json& gyro = json["sensors"][0];
    EXPECT_EQ(gyro["sensor"], "Gyro");
    EXPECT_EQ(gyro["records"], 4);
    EXPECT_EQ(gyro["version"], 1);
    EXPECT_EQ(gyro["status"], 7);
    EXPECT_EQ(gyro["time"]["minUtc"], "2024-06-01T08:00:00.000Z");
    EXPECT_EQ(gyro["time"]["maxUtc"], "2024-06-01T08:00:00.300Z");
    EXPECT_NEAR(gyro["time"]["max"].get<double>(), 1401696016.3, 1e-6);
    EXPECT_EQ(gyro["extents"][0]["unit"], "rad");
    EXPECT_NEAR(gyro["extents"][0]["min"].get<double>(), 5e-7, 1e-15);
    EXPECT_NEAR(gyro["extents"][0]["maxDegrees"].get<double>(), 4e-6 * 57.29577951308232, 1e-12);
    ASSERT_EQ(gyro["segments"].size(), 2U);
    EXPECT_EQ(gyro["segments"][1]["source"], "b.raw");
    EXPECT_EQ(gyro["segments"][1]["beginRecord"], 3);
    EXPECT_EQ(gyro["segments"][1]["endRecord"], 4);
    EXPECT_EQ(gyro["segments"][1]["status"], 9);
    EXPECT_EQ(gyro["segments"][1]["time"]["minUtc"], "2024-06-01T08:00:00.200Z");
    EXPECT_FALSE(gyro.contains("read"));
}

TEST_F(SkarInfo, FullReadsWhatTheHeadersOnlyClaim) {
    GyroWords words;
    words.data[11] = 99;    // the summary's largest value
    words.data[16] = 15000; // the second record's time goes back
    words.write(line);
    EXPECT_NEAR(info()["sensors"][0]["extents"][0]["max"].get<double>(), 99e-7, 1e-15);
    const Json read = info("--full")["sensors"][0]["read"];
    EXPECT_NEAR(read["extents"][0]["max"].get<double>(), 40e-7, 1e-15);
    EXPECT_EQ(read["timesGoingBack"], 1);
    EXPECT_EQ(read["statusNotZero"], 1);
    EXPECT_NEAR(read["meanStep"].get<double>(), 0.1, 1e-6);
    EXPECT_NEAR(read["largestStep"].get<double>(), 1.2, 1e-6);
}

TEST_F(SkarInfo, TheTextIsForPeople) {
    GyroWords().write(line);
    const Outcome outcome = runSkar("info " + line.string());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    for (const char* const text :
         {"Vessel   vessel\n", "2024-06-01T08:00:00.300Z", "1401696016.300", "0x00000007",
          "heading of the ship", "clockwise from north", "a.raw", "b.raw", "3-4", "IN DEGREES"})
        EXPECT_NE(outcome.out.find(text), std::string::npos) << text;
    EXPECT_NE(runSkar("info --full " + line.string()).out.find("LARGEST STEP [s]"), std::string::npos);
}

TEST_F(SkarInfo, OneUnreadableSensorDoesNotHideTheOthers) {
    simulate("--duration 2 --sensors Heave,Gyro");
    std::filesystem::remove(line / "HeaveTmIdx");
    const Outcome outcome = runSkar("info --json " + line.string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "skar: " + (line / "Heave").string() +
                               ": cannot be opened: code 5000038 (the time index file could not be opened); "
                               "skar check says more\n");
    const Json json = outcome.json();
    EXPECT_EQ(json["sensors"][0]["records"], 20);
    EXPECT_TRUE(json["sensors"][1].contains("failure"));
    EXPECT_NE(runSkar("info " + line.string()).out.find("unreadable"), std::string::npos);
}

TEST_F(SkarInfo, FilesThatAreNoSensorAreListed) {
    GyroWords().write(line);
    writeBytes(line / "TideTmIdx", {});
    writeBytes(line / "Aardvark", {});
    EXPECT_EQ(info()["otherFiles"], (Json{"Aardvark", "TideTmIdx"}));
}

TEST_F(SkarInfo, AnEmptyLineHasNoSensors) {
    std::filesystem::create_directories(line);
    EXPECT_TRUE(info()["sensors"].empty());
    EXPECT_NE(runSkar("info " + line.string()).out.find("No sensors.\n"), std::string::npos);
}

TEST_F(SkarInfo, ALineThatIsNoDirectoryIsAnError) {
    std::filesystem::create_directories(line.parent_path());
    writeBytes(line, {'x'});
    const Outcome outcome = runSkar("info " + line.string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "skar: " + line.string() + ": not a directory; a line is a directory of sensor files\n");
}

TEST_F(SkarInfo, ControlCharactersOfANameDoNotReachTheTerminal) {
    GyroWords words;
    words.segments[8] = 0x1B5B324A;
    words.write(line);
    EXPECT_NE(runSkar("info " + line.string()).out.find("\\x1B[2Jw"), std::string::npos);
}

} // namespace
