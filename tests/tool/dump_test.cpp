#include "shell.h"

#include <cmath>
#include <cstdlib>

using namespace skar::test;

namespace {

class SkarDump : public ToolTest {
protected:
    std::vector<std::string> dump(const std::string& arguments) {
        const Outcome outcome = runSkar("dump " + line.string() + " " + arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome.lines();
    }
    void writeGyro() { GyroWords().write(line); }
};

TEST_F(SkarDump, PrintsEveryRecordWithTimeValueAndStatus) {
    writeGyro();
    EXPECT_EQ(dump("Gyro --no-header"),
              (std::vector<std::string>{"1,1401696016,2024-06-01T08:00:00.000Z,1e-06,0",
                                        "2,1401696016.1,2024-06-01T08:00:00.100Z,2e-06,0",
                                        "3,1401696016.2,2024-06-01T08:00:00.200Z,5e-07,3",
                                        "4,1401696016.3,2024-06-01T08:00:00.300Z,4e-06,0"}));
}

TEST_F(SkarDump, TheHeaderSaysUnitsConventionAndTimeScale) {
    writeGyro();
    const std::vector<std::string> lines = dump("Gyro");
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[0], "# Gyro of " + line.string() + ": heading of the ship, 4 records");
    EXPECT_EQ(
        lines[1],
        "# time: seconds since 1980-01-01T00:00:00Z, leap seconds counted (UTCs80); utc: the same instant");
    EXPECT_EQ(lines[2], "# heading: rad, clockwise from north");
    EXPECT_EQ(lines[3], "record,time,utc,heading,status");
}

TEST_F(SkarDump, JsonIsAnObjectPerLineWithTheHeaderFirst) {
    writeGyro();
    const std::vector<std::string> lines = dump("Gyro --json");
    ASSERT_EQ(lines.size(), 5U);
    const Json header = Json::parse(lines[0])["header"];
    EXPECT_EQ(header["sensor"], "Gyro");
    EXPECT_EQ(header["records"], 4);
    EXPECT_EQ(header["quantities"][0]["unit"], "rad");
    EXPECT_EQ(Json::parse(lines[3]), (Json{{"record", 3},
                                           {"time", 1401696016.2},
                                           {"utc", "2024-06-01T08:00:00.200Z"},
                                           {"heading", 5e-07},
                                           {"status", 3}}));
    EXPECT_EQ(dump("Gyro --json --no-header").size(), 4U);
}

TEST_F(SkarDump, TheSensorIsFoundInAnyCase) {
    writeGyro();
    EXPECT_EQ(dump("gYRO --no-header").size(), 4U);
}

TEST_F(SkarDump, ASensorThatIsNotThereComesWithThoseThatAre) {
    simulate("--duration 2 --sensors Heave,Gyro");
    const Outcome outcome = runSkar("dump " + line.string() + " pitch");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "skar: Pitch: not in " + line.string() + "; the line holds Gyro, Heave\n");
    EXPECT_NE(
        runSkar("dump " + line.string() + " sonar").err.find("no such sensor; the line holds Gyro, Heave"),
        std::string::npos);
}

TEST_F(SkarDump, RangesOfNumbersAreKept) {
    writeGyro();
    EXPECT_EQ(dump("Gyro --no-header --first 3").size(), 2U);
    EXPECT_EQ(dump("Gyro --no-header --first 2 --count 2").front().substr(0, 2), "2,");
    EXPECT_EQ(dump("Gyro --no-header --first 2 --count 2").back().substr(0, 2), "3,");
    EXPECT_TRUE(dump("Gyro --no-header --count 0").empty());
    EXPECT_TRUE(dump("Gyro --no-header --first 5").empty());
    EXPECT_TRUE(dump("Gyro --no-header --first 4294967295").empty());
}

TEST_F(SkarDump, RangesOfTimeIncludeBothEnds) {
    writeGyro();
    const auto between = [&](const std::string& from, const std::string& to) {
        return dump("Gyro --no-header --from " + from + " --to " + to).size();
    };
    EXPECT_EQ(between("2024-06-01T08:00:00.100Z", "2024-06-01T08:00:00.200"), 2U);
    EXPECT_EQ(between("1401696016.1", "1401696016.2"), 2U);
    EXPECT_EQ(between("2024-06-01", "2024-06-02"), 4U);
    EXPECT_EQ(between("2024-06-01T08:01", "2024-06-02"), 0U);
    EXPECT_EQ(dump("Gyro --no-header --from 1401696016.05 --count 1").front().substr(0, 2), "2,");
}

TEST_F(SkarDump, TimesThatGoBackDoNotEndTheRange) {
    GyroWords words;
    words.data[16] = 116000;
    words.write(line);
    EXPECT_EQ(dump("Gyro --no-header --to 1401696020").size(), 3U);
}

TEST_F(SkarDump, AnglesComeInDegreesWhenAsked) {
    GyroWords words;
    words.data[14] = 31415927;
    words.write(line);
    const std::vector<std::string> lines = dump("Gyro --degrees");
    EXPECT_EQ(lines[2], "# heading: deg, clockwise from north");
    EXPECT_NEAR(std::strtod(split(lines[4], ',')[3].c_str(), nullptr), 180.0, 1e-5);
}

TEST_F(SkarDump, NumbersReadBackAsTheSameRecord) {
    simulate("--sensors Navigation --duration 20");
    const std::vector<std::string> lines = dump("Navigation --json --no-header");
    const std::vector<std::string> rows = dump("Navigation --no-header");
    ASSERT_EQ(lines.size(), 20U);
    ASSERT_EQ(rows.size(), 20U);
    const std::vector<std::uint8_t> bytes = bytesOf(line / "Navigation");
    const auto word = [&](std::size_t offset) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i)
            value = value << 8U | bytes.at(offset + i);
        return static_cast<double>(static_cast<std::int32_t>(value));
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::vector<std::string> cells = split(rows[i], ',');
        const Json json = Json::parse(lines[i]);
        const std::size_t record = 72 + 20 * i;
        const double latitude = word(record + 8) * 1e-9 + word(48) * 1e-7;
        EXPECT_NEAR(std::strtod(cells[3].c_str(), nullptr), latitude, 1e-15);
        EXPECT_EQ(json["latitude"], std::strtod(cells[3].c_str(), nullptr));
        EXPECT_EQ(json["longitude"], std::strtod(cells[4].c_str(), nullptr));
        EXPECT_NEAR(json["time"].get<double>(), word(record + 4) / 1000.0 + word(28) * 60.0, 1e-6);
    }
}

TEST_F(SkarDump, ADamagedScaleStillGivesJson) {
    GyroWords words;
    words.data[6] = 0;
    words.write(line);
    const std::vector<std::string> lines = dump("--json Gyro");
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(Json::parse(lines[1])["time"], nullptr);
    EXPECT_EQ(Json::parse(lines[1])["utc"], "");
}

TEST_F(SkarDump, ARecordThatIsCutOffEndsWithItsNumberAndCode) {
    writeGyro();
    std::vector<std::uint8_t> bytes = bytesOf(line / "Gyro");
    bytes.resize(bytes.size() - 4);
    writeBytes(line / "Gyro", bytes);
    const Outcome outcome = runSkar("dump --no-header " + line.string() + " Gyro");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.lines().size(), 3U) << "what could be read is printed";
    EXPECT_EQ(outcome.err,
              "skar: " + (line / "Gyro").string() +
                  ": reading record 4 failed: code 5001225 (time series: reading from the file failed)\n");
}

TEST_F(SkarDump, ASetWithoutIndexCannotBeOpened) {
    writeGyro();
    std::filesystem::remove(line / "GyroTmIdx");
    const Outcome outcome = runSkar("dump " + line.string() + " Gyro");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "skar: " + (line / "Gyro").string() +
                  ": cannot be opened: code 5000038 (the time index file could not be opened)\n");
}

TEST_F(SkarDump, ALeapSecondIsShownAsSuch) {
    GyroWords words;
    // 2012-07-01T00:00:00Z is 1025568016.
    words.data[7] = 17092800;
    words.data[13] = 14000;
    words.data[16] = 15000;
    words.data[19] = 15500;
    words.data[22] = 16000;
    words.write(line);
    std::vector<std::string> times;
    for (const std::string& row : dump("Gyro --no-header"))
        times.push_back(split(row, ',')[2]);
    EXPECT_EQ(times, (std::vector<std::string>{"2012-06-30T23:59:59.000Z", "2012-06-30T23:59:60.000Z",
                                               "2012-06-30T23:59:60.500Z", "2012-07-01T00:00:00.000Z"}));
}

} // namespace
