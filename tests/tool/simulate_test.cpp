#include "shell.h"

#include <cmath>
#include <cstdlib>
#include <map>
#include <numbers>

using namespace skar::test;

namespace {

namespace fs = std::filesystem;

class SkarSimulate : public ToolTest {
protected:
    // One column of a sensor's records.
    std::vector<double> column(const std::string& sensor, std::size_t index, const fs::path& of) {
        std::vector<double> values;
        for (const std::string& row : runSkar("dump --no-header " + of.string() + " " + sensor).lines())
            values.push_back(std::strtod(split(row, ',').at(index).c_str(), nullptr));
        return values;
    }
    std::vector<double> column(const std::string& sensor, std::size_t index) {
        return column(sensor, index, line);
    }

    std::map<std::string, std::uint64_t> records() {
        std::map<std::string, std::uint64_t> counts;
        const Json json = runSkar("info --json " + line.string()).json();
        for (const Json& sensor : json["sensors"])
            counts[sensor["sensor"]] = sensor["records"];
        return counts;
    }
};

double deviation(const std::vector<double>& values) {
    double sum = 0.0;
    double squares = 0.0;
    for (const double value : values) {
        sum += value;
        squares += value * value;
    }
    const double mean = sum / static_cast<double>(values.size());
    return std::sqrt(squares / static_cast<double>(values.size()) - mean * mean);
}

TEST_F(SkarSimulate, TheUsualLineHasSixSensorsOverAnHour) {
    simulate("");
    EXPECT_EQ(records(), (std::map<std::string, std::uint64_t>{{"Navigation", 3600},
                                                               {"Gyro", 36000},
                                                               {"Heave", 36000},
                                                               {"Pitch", 36000},
                                                               {"Roll", 36000},
                                                               {"Tide", 61}}));
}

TEST_F(SkarSimulate, RecordsAndRatesSetTheSize) {
    simulate("--records 1234 --rate 20 --nav-rate 5");
    const auto counts = records();
    EXPECT_EQ(counts.at("Heave"), 1234U);
    EXPECT_EQ(counts.at("Navigation"), 309U);
    const std::vector<double> times = column("Heave", 1);
    EXPECT_NEAR(times[1] - times[0], 0.05, 1e-6);
}

TEST_F(SkarSimulate, TheSameSeedGivesTheSameBytes) {
    simulate("--duration 30 --seed 7");
    const fs::path again = line.parent_path() / "0002";
    const fs::path other = line.parent_path() / "0003";
    ASSERT_EQ(runSkar("simulate " + again.string() + " --duration 30 --seed 7").status, 0);
    ASSERT_EQ(runSkar("simulate " + other.string() + " --duration 30 --seed 8").status, 0);
    for (const char* const sensor : {"Navigation", "Gyro", "Heave", "Pitch", "Roll", "Tide"}) {
        for (const char* const suffix : {"", "LineSegments", "TmIdx"}) {
            const std::string name = std::string(sensor) + suffix;
            EXPECT_EQ(bytesOf(line / name), bytesOf(again / name)) << name;
        }
        EXPECT_NE(bytesOf(line / sensor), bytesOf(other / sensor)) << sensor;
    }
}

TEST_F(SkarSimulate, TheStartMayBeUtcOrSeconds) {
    simulate("--duration 2 --sensors Heave --start 2012-07-01T00:00:00Z");
    EXPECT_EQ(column("Heave", 1).front(), 1025568016.0);
    simulate("--duration 2 --sensors Heave --start 1000000000.5 --force");
    EXPECT_EQ(column("Heave", 1).front(), 1000000000.5);
}

TEST_F(SkarSimulate, TheShipSailsAtItsSpeedInItsDirection) {
    simulate(
        "--sensors NavigationNew,Gyro --duration 1000 --speed 5 --heading 90 --latitude 60 --longitude 5");
    const std::vector<double> latitudes = column("NavigationNew", 3);
    const std::vector<double> longitudes = column("NavigationNew", 4);
    const double east = (longitudes.back() - longitudes.front()) * 6'394'209.0 * 0.5;
    EXPECT_NEAR(east, 5.0 * 999, 5.0);
    EXPECT_NEAR((latitudes.back() - latitudes.front()) * 6'367'000.0, 0.0, 1.0);
    EXPECT_NEAR(latitudes.front(), std::numbers::pi / 3.0, 1e-9);
    for (const double heading : column("Gyro", 3))
        EXPECT_NEAR(heading, std::numbers::pi / 2.0, 0.08);
}

TEST_F(SkarSimulate, SurveyLinesAreJoinedByTurns) {
    simulate("--sensors NavigationNew,Gyro --duration 1800 --lines 3 --spacing 300 --heading 0 --speed 4");
    const Json info = runSkar("info --json " + line.string()).json();
    EXPECT_EQ(info["sensors"][0]["segments"].size(), 3U);
    const std::vector<double> latitudes = column("NavigationNew", 3);
    const std::vector<double> longitudes = column("NavigationNew", 4);
    for (std::size_t i = 1; i < latitudes.size(); ++i) {
        const double north = (latitudes[i] - latitudes[i - 1]) * 6'382'000.0;
        const double east = (longitudes[i] - longitudes[i - 1]) * 6'393'000.0 * std::cos(latitudes[i]);
        EXPECT_NEAR(std::hypot(north, east), 4.0, 0.05) << "no jump at record " << i + 1;
    }
    const double across = (longitudes.back() - longitudes.front()) * 6'393'000.0 * std::cos(latitudes.back());
    EXPECT_NEAR(across, 600.0, 2.0);
    std::size_t back = 0;
    for (const double heading : column("Gyro", 3)) {
        EXPECT_GE(heading, 0.0);
        EXPECT_LT(heading, 2.0 * std::numbers::pi);
        if (std::abs(heading - std::numbers::pi) < 0.1) ++back;
    }
    EXPECT_GT(back, 2000U) << "the second line is sailed the other way";
}

TEST_F(SkarSimulate, ALongWayIsCutIntoSurveyLines) {
    simulate("--duration 10000 --sensors Navigation");
    EXPECT_EQ(runSkar("info --json " + line.string()).json()["sensors"][0]["segments"].size(), 4U);
}

TEST_F(SkarSimulate, TheMotionGrowsWithTheWaves) {
    simulate("--duration 1800 --wave-height 1");
    const double heave = deviation(column("Heave", 3));
    // A sea of significant height 1 m moves by 0.25 m on average; the hull takes some of it.
    EXPECT_GT(heave, 0.15);
    EXPECT_LT(heave, 0.26);
    const double roll = deviation(column("Roll", 3));
    const double pitch = deviation(column("Pitch", 3));
    EXPECT_GT(roll, pitch);
    EXPECT_LT(roll, 0.12);
    EXPECT_GT(pitch, 0.003);
    simulate("--duration 1800 --wave-height 2 --force");
    EXPECT_NEAR(deviation(column("Heave", 3)) / heave, 2.0, 0.01);
    simulate("--duration 60 --wave-height 0 --force");
    EXPECT_EQ(deviation(column("Roll", 3)), 0.0);
}

TEST_F(SkarSimulate, TheWavesHaveTheirPeriod) {
    simulate("--duration 1800 --sensors Heave --wave-period 10");
    const std::vector<double> heave = column("Heave", 3);
    int crossings = 0;
    for (std::size_t i = 1; i < heave.size(); ++i)
        crossings += heave[i - 1] < 0.0 && heave[i] >= 0.0 ? 1 : 0;
    const double period = 1800.0 / crossings;
    EXPECT_GT(period, 6.5);
    EXPECT_LT(period, 10.5);
}

TEST_F(SkarSimulate, TheTideRisesAndFallsInHalfADay) {
    simulate("--duration 90000 --sensors Tide");
    const std::vector<double> tide = column("Tide", 3);
    EXPECT_EQ(tide.size(), 1501U);
    int turns = 0;
    double direction = 0.0;
    for (std::size_t i = 10; i < tide.size(); i += 10) {
        const double step = tide[i] - tide[i - 10];
        if (step * direction < 0.0) ++turns;
        if (step != 0.0) direction = step;
    }
    EXPECT_GE(turns, 3);
    EXPECT_LE(turns, 6);
}

TEST_F(SkarSimulate, SegmentsAreOfEqualTimeAndNamedAfterTheirStart) {
    simulate("--duration 60 --segments 3 --sensors Heave");
    const Json segments = runSkar("info --json " + line.string()).json()["sensors"][0]["segments"];
    ASSERT_EQ(segments.size(), 3U);
    EXPECT_EQ(segments[1]["beginRecord"], 201);
    EXPECT_EQ(segments[2]["endRecord"], 600);
    EXPECT_EQ(segments[2]["source"], "0003_20240601T080040.sim");
}

TEST_F(SkarSimulate, NothingIsOverwrittenWithoutForce) {
    simulate("--duration 2");
    const std::vector<std::uint8_t> before = bytesOf(line / "Gyro");
    const Outcome refused = runSkar("simulate " + line.string() + " --duration 4");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err,
              "skar: " + (line / "Navigation").string() + ": is there already; --force writes over it\n");
    EXPECT_EQ(bytesOf(line / "Gyro"), before);
    simulate("--duration 4 --force");
    EXPECT_EQ(records().at("Gyro"), 40U);
}

TEST_F(SkarSimulate, OtherSensorsOfTheLineStay) {
    simulate("--duration 2 --sensors Gyro");
    const std::vector<std::uint8_t> before = bytesOf(line / "Gyro");
    simulate("--duration 4 --sensors heave");
    EXPECT_EQ(bytesOf(line / "Gyro"), before);
    EXPECT_EQ(records().at("Heave"), 40U);
}

TEST_F(SkarSimulate, AMissingRootIsMadeAndNamedWhenItsParentExists) {
    line = folder / "store" / "project" / "vessel" / "2024-153" / "0001";
    const Outcome outcome = runSkar("simulate " + line.string() + " --duration 2");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.lines().front(), "Made the root directory " + (folder / "store").string());
    line = folder / "no" / "such" / "project" / "vessel" / "2024-153" / "0001";
    const Outcome refused = runSkar("simulate " + line.string() + " --duration 2");
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find((folder / "no" / "such").string() + ": the root cannot be made"),
              std::string::npos)
        << refused.err;
}

TEST_F(SkarSimulate, JsonSaysWhatWasWritten) {
    const Outcome outcome =
        runSkar("simulate --json " + line.string() + " --duration 10 --sensors Heave,Tide --seed 3");
    EXPECT_EQ(outcome.status, 0);
    const Json json = outcome.json();
    EXPECT_EQ(json["line"], line.string());
    EXPECT_EQ(json["seed"], 3);
    EXPECT_EQ(json["madeRoot"], false);
    EXPECT_EQ(json["startUtc"], "2024-06-01T08:00:00.000Z");
    EXPECT_EQ(json["endUtc"], "2024-06-01T08:00:10.000Z");
    EXPECT_EQ(json["sensors"][0],
              (Json{{"sensor", "Heave"}, {"records", 100}, {"segments", 1}, {"rate", 10.0}}));
    EXPECT_EQ(json["sensors"][1]["records"], 2);
}

TEST_F(SkarSimulate, AMillionRecordsAreWrittenAndChecked) {
    simulate("--records 1000000 --sensors Heave");
    EXPECT_EQ(fs::file_size(line / "Heave"), 12'000'048U);
    EXPECT_EQ(runSkar("check " + line.string()).status, 0);
}

} // namespace
