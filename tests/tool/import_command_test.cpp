#include "raw_bytes.h"
#include "shell.h"
#include "support/realdata.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace skar::test {

namespace {

namespace fs = std::filesystem;
using import::Bytes;

constexpr std::uint32_t tenOClock = 36'000'000;
// 2014-02-19T10:00:00Z: 12468 days and 10 hours after the start of 1980, and 16 leap seconds.
constexpr double tenOClockStore = 12468 * 86400.0 + 36000.0 + 16.0;

RawBytes motionFile(std::uint32_t start, int roll) {
    RawBytes file = attitude(start, {{0, roll, 200, -11, 9000}, {500, roll, 300, 27, 18000}});
    return file.add(position(start + 250, 20'000'000 * 50LL, 10'000'000 * 3LL));
}

class SkarImport : public ToolTest {
protected:
    fs::path raw(const std::string& name, RawBytes bytes) { return raw(name, bytes.bytes()); }
    fs::path raw(const std::string& name, const std::string& text) {
        const Bytes bytes = std::as_bytes(std::span(text));
        return raw(name, std::vector<std::byte>(bytes.begin(), bytes.end()));
    }
    fs::path raw(const std::string& name, const std::vector<std::byte>& bytes) {
        std::ofstream stream(folder / name, std::ios::binary);
        stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return folder / name;
    }
    Outcome importInto(const std::string& arguments) {
        return runSkar("import --line " + line.string() + " " + arguments);
    }
    std::vector<std::vector<double>> records(const std::string& sensor) {
        std::vector<std::vector<double>> rows;
        const Outcome outcome = runSkar("dump --no-header " + line.string() + " " + sensor);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        for (const std::string& text : outcome.lines()) {
            std::vector<double> row;
            for (const std::string& cell : split(text, ','))
                row.push_back(std::strtod(cell.c_str(), nullptr));
            rows.push_back(row);
        }
        return rows;
    }
    std::string check() { return runSkar("check " + line.string()).out; }
    static std::size_t countLines(const std::string& text) { return split(text, '\n').size(); }
};

// Columns of a dump behind record, time and UTC.
constexpr std::size_t timeColumn = 1;
constexpr std::size_t valueColumn = 3;

TEST_F(SkarImport, AFileBecomesFiveSensorsInTheUnitsOfTheStore) {
    const Outcome outcome = importInto(raw("a.all", motionFile(tenOClock, -250)).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");

    const auto track = records("Navigation");
    ASSERT_EQ(track.size(), 1U);
    EXPECT_DOUBLE_EQ(track[0][timeColumn], tenOClockStore + 0.25);
    EXPECT_NEAR(track[0][valueColumn], 50.0 * degree, 1e-9);
    EXPECT_NEAR(track[0][valueColumn + 1], 3.0 * degree, 1e-9);
    EXPECT_DOUBLE_EQ(track[0][valueColumn + 2], 1.5);

    const auto heave = records("Heave");
    ASSERT_EQ(heave.size(), 2U);
    EXPECT_DOUBLE_EQ(heave[0][timeColumn], tenOClockStore);
    EXPECT_DOUBLE_EQ(heave[1][timeColumn], tenOClockStore + 0.5);
    EXPECT_DOUBLE_EQ(heave[0][valueColumn], -0.11);
    EXPECT_NEAR(records("Roll")[0][valueColumn], -2.5 * degree, 1e-7);
    EXPECT_NEAR(records("Pitch")[1][valueColumn], 3.0 * degree, 1e-7);
    EXPECT_NEAR(records("Gyro")[1][valueColumn], 180.0 * degree, 1e-7);
    EXPECT_EQ(runSkar("check " + line.string()).status, 0) << check();
}

TEST_F(SkarImport, EveryFileIsASegmentInOrderOfTime) {
    const fs::path later = raw("later.all", motionFile(tenOClock + 5000, 100));
    const fs::path earlier = raw("earlier.all", motionFile(tenOClock, 200));
    const Outcome outcome = importInto("--json " + later.string() + " " + earlier.string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Json segments = outcome.json()["segments"];
    ASSERT_EQ(segments.size(), 10U);
    EXPECT_EQ(segments[0]["sensor"], "Navigation");
    EXPECT_EQ(segments[0]["file"], "earlier.all");
    EXPECT_EQ(segments[1]["file"], "later.all");
    EXPECT_EQ(segments[1]["segment"], 2);
    EXPECT_EQ(segments[8]["records"], 2);
    EXPECT_EQ(segments[8]["firstUtc"], "2014-02-19T10:00:00.000Z");
    EXPECT_DOUBLE_EQ(segments[8]["first"], tenOClockStore);
    const auto roll = records("Roll");
    ASSERT_EQ(roll.size(), 4U);
    EXPECT_NEAR(roll[0][valueColumn], 2.0 * degree, 1e-7);
    EXPECT_NEAR(roll[3][valueColumn], 1.0 * degree, 1e-7);
    for (std::size_t i = 1; i < roll.size(); ++i)
        EXPECT_LT(roll[i - 1][timeColumn], roll[i][timeColumn]);
    EXPECT_EQ(runSkar("check " + line.string()).status, 0) << check();
}

TEST_F(SkarImport, TheOutputStatesSignsTimesAndWhatStaysBehind) {
    RawBytes file = motionFile(tenOClock, 0);
    file.add(datagram('O', someDate, tenOClock, RawBytes().zeros(20)));
    const fs::path path = raw("a.all", file);
    const Outcome text = importInto(path.string());
    EXPECT_NE(text.out.find("Heave is positive downwards"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("1 x quality factor 79: datagram not carried over"), std::string::npos)
        << text.out;
    EXPECT_NE(text.out.find("UTC"), std::string::npos) << text.out;
    const Json json = importInto("--json --force " + path.string()).json();
    EXPECT_EQ(json["files"][0]["heaveSign"], "positive downwards");
    EXPECT_EQ(json["files"][0]["leftOut"][0]["what"], "quality factor 79");
    EXPECT_EQ(json["lost"], false);
}

TEST_F(SkarImport, ADamagedDatagramIsReportedAndTheStatusIsThree) {
    RawBytes file = motionFile(tenOClock, 0);
    file.bytes()[30] ^= std::byte{1};
    const Outcome outcome = importInto("--json " + raw("a.all", file).string());
    EXPECT_EQ(outcome.status, 3) << outcome.err;
    const Json problem = outcome.json()["files"][0]["problems"][0];
    EXPECT_EQ(problem["kind"], "checksum");
    EXPECT_EQ(problem["count"], 1);
    EXPECT_EQ(problem["offsets"], Json::array({0}));
    EXPECT_EQ(problem["loss"], true);
    EXPECT_EQ(records("Navigation").size(), 1U);
    EXPECT_FALSE(fs::exists(line / "Roll"));
}

TEST_F(SkarImport, ATruncatedFileLoadsUpToTheCutAndSaysSo) {
    std::vector<std::byte> bytes = motionFile(tenOClock, 0).bytes();
    bytes.resize(bytes.size() - 5);
    const Outcome outcome = importInto(raw("a.all", bytes).string());
    EXPECT_EQ(outcome.status, 3) << outcome.err;
    EXPECT_NE(outcome.out.find("the file ends within a datagram"), std::string::npos) << outcome.out;
    EXPECT_EQ(records("Roll").size(), 2U);
}

TEST_F(SkarImport, SensorsThatAreThereAreNotWrittenOverUnlessForced) {
    const fs::path path = raw("a.all", motionFile(tenOClock, 100));
    ASSERT_EQ(importInto(path.string()).status, 0);
    const fs::path other = raw("b.all", motionFile(tenOClock + 60'000, 500));
    const Outcome refused = importInto(other.string());
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(countLines(refused.err), 1U);
    EXPECT_NE(refused.err.find("--force"), std::string::npos) << refused.err;
    EXPECT_NEAR(records("Roll")[0][valueColumn], 1.0 * degree, 1e-7);
    EXPECT_EQ(importInto("--force " + other.string()).status, 0);
    EXPECT_NEAR(records("Roll")[0][valueColumn], 5.0 * degree, 1e-7);
    EXPECT_EQ(runSkar("check " + line.string()).status, 0) << check();
}

TEST_F(SkarImport, TheRootMustExistAndTheMessageSaysSo) {
    const fs::path path = raw("a.all", motionFile(tenOClock, 0));
    const Outcome outcome =
        runSkar("import " + path.string() + " --line " + (folder / "no/p/v/d/l").string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(countLines(outcome.err), 1U);
    EXPECT_NE(outcome.err.find("make that directory first"), std::string::npos) << outcome.err;
    EXPECT_FALSE(fs::exists(folder / "no"));
}

TEST_F(SkarImport, FilesThatOverlapInTimeAreRefusedUnlessAllowed) {
    const std::string files = raw("a.all", motionFile(tenOClock, 0)).string() + " " +
                              raw("b.all", motionFile(tenOClock + 100, 0)).string();
    const Outcome refused = importInto(files);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("overlap in time"), std::string::npos) << refused.err;
    EXPECT_FALSE(fs::exists(line));
    EXPECT_EQ(importInto("--allow-overlap " + files).status, 0);
    EXPECT_EQ(records("Roll").size(), 4U);
}

TEST_F(SkarImport, SensorsCanBeChosen) {
    const fs::path path = raw("a.all", motionFile(tenOClock, 0));
    ASSERT_EQ(importInto("--sensors Heave,Roll " + path.string()).status, 0);
    EXPECT_TRUE(fs::exists(line / "Heave"));
    EXPECT_TRUE(fs::exists(line / "Roll"));
    EXPECT_FALSE(fs::exists(line / "Navigation"));
    ASSERT_EQ(importInto("--sensors Navigation " + path.string()).status, 0);
    EXPECT_TRUE(fs::exists(line / "Navigation"));
    EXPECT_EQ(importInto("--sensors EventMark " + path.string()).status, 2);
}

TEST_F(SkarImport, AFileThatCannotBeReadLeavesTheLineAsItWas) {
    const fs::path good = raw("a.all", motionFile(tenOClock, 0));
    for (const std::string& bad : {(folder / "missing.all").string(), folder.string(),
                                   raw("text.dat", std::string("nothing known\n")).string(),
                                   raw("empty.xtf", std::string()).string()}) {
        const Outcome outcome = importInto(good.string() + " " + bad);
        EXPECT_EQ(outcome.status, 1) << bad;
        EXPECT_EQ(countLines(outcome.err), 1U) << outcome.err;
        EXPECT_NE(outcome.err.find(bad), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_FALSE(fs::exists(line));
    }
}

TEST_F(SkarImport, AFileWithoutRecordsOfASensorIsAFailure) {
    const Outcome outcome =
        importInto(raw("depth.txt", std::string("Timestamp;Depth\n2022-05-30 20:14:00;4.8\n")).string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("no records"), std::string::npos) << outcome.err;
    const Outcome undated = importInto(
        raw("undated.log", sentence("GPGGA,100001.00,5130.000,N,00315.000,W,1,08,1.0,10.0,M,,M,,")).string());
    EXPECT_EQ(undated.status, 1);
    EXPECT_NE(undated.err.find("1 x no date or time"), std::string::npos) << undated.err;
}

TEST_F(SkarImport, BadUsageIsStatusTwo) {
    EXPECT_EQ(runSkar("import").status, 2);
    EXPECT_EQ(runSkar("import --line " + line.string()).status, 2);
    EXPECT_EQ(runSkar("import " + raw("a.all", motionFile(tenOClock, 0)).string()).status, 2);
    EXPECT_EQ(runSkar("import a.all --line short").status, 1);
    EXPECT_EQ(runSkar("import --help").status, 0);
}

TEST_F(SkarImport, ATrackAcrossTheDateLineStaysInOnePiece) {
    RawBytes file = position(tenOClock, 0, 1'799'999'000);
    file.add(position(tenOClock + 1000, 0, -1'799'999'000));
    const Outcome outcome = importInto(raw("a.all", file).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("crosses the date line"), std::string::npos) << outcome.out;
    const auto track = records("Navigation");
    ASSERT_EQ(track.size(), 2U);
    EXPECT_NEAR(track[0][valueColumn + 1], 179.9999 * degree, 1e-9);
    EXPECT_NEAR(track[1][valueColumn + 1], 180.0001 * degree, 1e-9);
}

TEST_F(SkarImport, APositionTooFarForTheCodingIsLostAndSaid) {
    RawBytes file = position(tenOClock, 20'000'000 * 50LL, 0);
    file.add(position(tenOClock + 1000, 20'000'000 * -80LL, 0))
        .add(position(tenOClock + 2000, 20'000'000 * 50LL, 0));
    const Outcome outcome = importInto("--json " + raw("a.all", file).string());
    EXPECT_EQ(outcome.status, 3) << outcome.err;
    const Json problem = outcome.json()["files"][0]["problems"][0];
    EXPECT_EQ(problem["kind"], "outOfReach");
    EXPECT_EQ(problem["count"], 1);
    EXPECT_EQ(outcome.json()["segments"][0]["records"], 2);
    EXPECT_EQ(records("Navigation").size(), 2U);
}

TEST_F(SkarImport, TimesFurtherApartThanASensorCanHoldAreRefused) {
    RawBytes file = attitude(tenOClock, {{0}}, 1, 20140101);
    const fs::path within = raw("within.all", RawBytes(file).add(attitude(tenOClock, {{0}}, 1, 20140125)));
    const fs::path beyond = raw("beyond.all", file.add(attitude(tenOClock, {{0}}, 1, 20140126)));
    const Outcome refused = importInto(beyond.string());
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("24 days"), std::string::npos) << refused.err;
    EXPECT_FALSE(fs::exists(line));
    ASSERT_EQ(importInto(within.string()).status, 0);
    const auto roll = records("Roll");
    ASSERT_EQ(roll.size(), 2U);
    EXPECT_DOUBLE_EQ(roll[1][timeColumn] - roll[0][timeColumn], 24 * 86400.0);
}

TEST_F(SkarImport, TheLeapSecondBetweenTwoDaysIsCounted) {
    RawBytes file = attitude(86'399'000, {{0}, {2000}}, 1, 20120630);
    ASSERT_EQ(importInto(raw("a.all", file).string()).status, 0);
    const auto roll = records("Roll");
    ASSERT_EQ(roll.size(), 2U);
    EXPECT_DOUBLE_EQ(roll[1][timeColumn] - roll[0][timeColumn], 3.0);
}

TEST_F(SkarImport, LogsOfOtherKindsFillOneLineTogether) {
    const std::string nmea = sentence("GPZDA,100000.00,19,02,2014,00,00") +
                             sentence("GPGGA,100001.00,5130.000,N,00315.000,W,1,08,1.0,10.0,M,,M,,");
    RawBytes motion = attitude(tenOClock, {{0, 1, 2, 3, 4}});
    const Outcome outcome =
        importInto("--json " + raw("nav.log", nmea).string() + " " + raw("m.all", motion).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["files"][0]["format"], "NMEA 0183 log");
    EXPECT_EQ(outcome.json()["segments"].size(), 5U);
    EXPECT_EQ(records("Navigation").size(), 1U);
    EXPECT_EQ(records("Heave").size(), 1U);
}

TEST_F(SkarImport, RealFilesGiveTheRecordsThatAnIndependentReaderFinds) {
    const fs::path data = skar::tests::realData(SKAR_SOURCE_DIR);
    SKAR_SKIP_WITHOUT(data);
    const struct {
        const char* file;
        int status;
        std::size_t positions;
        std::size_t motion;
    } cases[] = {
        {"all/0001_20140213_052736_Yolla.all", 0, 9, 1012},
        {"all-mpl/0077_20221109_123655_Belgica.all", 0, 4, 404},
        {"nmea/rst39.log", 0, 40, 100},
        {"log/2022.05.30_201358_gnss.txt", 0, 3601, 0},
    };
    for (const auto& expected : cases) {
        const Outcome outcome = importInto("--force " + (data / expected.file).string());
        EXPECT_EQ(outcome.status, expected.status) << expected.file << outcome.err;
        EXPECT_EQ(records("Navigation").size(), expected.positions) << expected.file;
        if (expected.motion != 0) {
            EXPECT_EQ(records("Heave").size(), expected.motion) << expected.file;
        }
        EXPECT_EQ(runSkar("check " + line.string()).status, 0) << expected.file << check();
    }
}

} // namespace

} // namespace skar::test
