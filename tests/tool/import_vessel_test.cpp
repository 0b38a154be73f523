#include "raw_bytes.h"
#include "shell.h"
#include "support/realdata.h"

#include <fstream>

namespace skar::test {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t tenOClock = 36'000'000;

RawBytes installation(const std::string& text, std::uint32_t milliseconds = tenOClock, char type = 'I') {
    RawBytes content;
    content.u16(0).text(text).zeros(1);
    return datagram(type, someDate, milliseconds, content);
}

// With a position, so that there is a line to write.
RawBytes fileOf(const RawBytes& installation) {
    RawBytes file = installation;
    return file.add(position(tenOClock + 250, 20'000'000 * 50LL, 10'000'000 * 3LL));
}

const std::string oneHead = "WLZ=-0.600,SMH=2004,S1X=1.5,S1Y=-2.5,S1Z=3.5,S1H=359.6,S1P=0.25,S1R=-0.5,"
                            "P1X=4.0,P1Y=5.0,P1Z=-6.0,P1D=0.125,P1G=WGS84,MSX=7.0,MSY=8.0,MSZ=9.0,MSD=20,"
                            "MSR=-0.17,MSP=-0.5,MSG=1.0,GCG=-0.083,APS=0,ARO=2,AHE=2,";

class ImportVessel : public ToolTest {
protected:
    fs::path vesselFile() const { return folder / "VesselConfig" / "vessel.skv"; }
    fs::path raw(const std::string& name, RawBytes bytes) const {
        std::ofstream stream(folder / name, std::ios::binary);
        stream.write(reinterpret_cast<const char*>(bytes.bytes().data()),
                     static_cast<std::streamsize>(bytes.size()));
        return folder / name;
    }
    Outcome imported(const std::string& arguments) const {
        return runSkar("import --json --force --line " + line.string() + " " + arguments);
    }
    // The entries of a kind in the vessel file.
    Json entries(const std::string& kind) const {
        const Outcome outcome = runSkar("vessel show --json " + vesselFile().string());
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const Json vessel = outcome.json();
        for (const Json& sensor : vessel["sensors"]) {
            if (sensor["sensor"] == kind) return sensor["entries"];
        }
        return Json::array();
    }
};

TEST_F(ImportVessel, AFirstVesselFileIsMadeOfInstallationParameters) {
    const Outcome outcome = imported(raw("a.all", fileOf(installation(oneHead, tenOClock + 999))).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["vesselFile"],
              Json({{"file", vesselFile().string()}, {"new", true}, {"entries", 8}, {"of", "a.all"}}));

    const Json depth = entries("DepthSensor").at(0);
    EXPECT_EQ(depth["validFrom"]["utc"], "2014-02-19T10:00:00.000Z");
    EXPECT_EQ(depth["validUntil"], nullptr);
    EXPECT_EQ(depth["sensorClass"], "Swath");
    ASSERT_EQ(depth["transducers"].size(), 1U);
    EXPECT_EQ(depth["transducers"][0],
              Json::parse(R"({"number": 1, "startBeam": 1, "x": -2.5, "y": 1.5, "z": 3.5,
        "pitch": 0.25, "roll": -0.5, "azimuth": 359.6, "latency": 0.0, "manufacturer": "Kongsberg",
        "model": "EM 2040", "serialNumber": "2004"})"));
    EXPECT_EQ(entries("SVPSensor").at(0)["heads"], Json::parse(R"([{"head": 1, "x": -2.5, "y": 1.5, "z": 3.5,
        "pitch": 0.25, "roll": -0.5, "azimuth": 359.6}])"));
    const Json navigation = entries("NavSensor").at(0);
    EXPECT_EQ(navigation["x"], 5.0);
    EXPECT_EQ(navigation["y"], 4.0);
    EXPECT_EQ(navigation["z"], -6.0);
    EXPECT_EQ(navigation["latency"], 0.125);
    EXPECT_EQ(navigation["ellipse"], "WGS84");
    EXPECT_EQ(navigation["comment"], "Position system 1");
    const Json heave = entries("HeaveSensor").at(0);
    EXPECT_EQ(heave["x"], 8.0);
    EXPECT_EQ(heave["y"], 7.0);
    EXPECT_EQ(heave["z"], 9.0);
    EXPECT_EQ(heave["latency"], 0.02);
    EXPECT_EQ(heave["apply"], false);
    EXPECT_EQ(entries("PitchSensor").at(0)["pitchOffset"], -0.5);
    EXPECT_EQ(entries("PitchSensor").at(0)["apply"], false);
    EXPECT_EQ(entries("RollSensor").at(0)["rollOffset"], -0.17);
    EXPECT_EQ(entries("RollSensor").at(0)["comment"], "Motion sensor 1, mounted at heading 1.000 deg");
    EXPECT_EQ(entries("GyroSensor").at(0)["offsets"], Json::parse(R"([{"azimuth": 0.0, "offset": -0.083}])"));
    EXPECT_EQ(entries("WaterlineHeight").at(0)["waterLine"], -0.6);

    EXPECT_EQ(runSkar("vessel check " + vesselFile().string()).status, 0);
    EXPECT_EQ(runSkar("info --json " + line.string()).json()["vesselFile"], vesselFile().string());
    EXPECT_NE(runSkar("info " + line.string()).out.find("Vessel file  " + vesselFile().string()),
              std::string::npos);
}

TEST_F(ImportVessel, AVesselFileThatIsThereIsLeftAlone) {
    fs::create_directories(vesselFile().parent_path());
    std::ofstream(vesselFile()) << "precious";
    const std::string file = raw("a.all", fileOf(installation(oneHead))).string();
    const Outcome outcome = imported(file);
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["vesselFile"]["new"], false);
    std::string text;
    std::ifstream(vesselFile()) >> text;
    EXPECT_EQ(text, "precious");
    EXPECT_NE(
        runSkar("import --force --line " + line.string() + " " + file).out.find("was there, left as it is"),
        std::string::npos);
}

TEST_F(ImportVessel, ALinkThatLeadsNowhereIsLeftAlone) {
    fs::create_directories(vesselFile().parent_path());
    fs::create_symlink("nowhere", vesselFile());
    const Outcome outcome = imported(raw("a.all", fileOf(installation(oneHead))).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["vesselFile"]["new"], false);
    EXPECT_FALSE(fs::exists(folder / "VesselConfig" / "nowhere"));
}

TEST_F(ImportVessel, WithoutInstallationParametersThereIsNone) {
    const Outcome outcome = imported(raw("a.all", position(tenOClock, 20'000'000 * 50LL, 0)).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["vesselFile"], nullptr);
    EXPECT_FALSE(fs::exists(vesselFile().parent_path()));
    EXPECT_FALSE(runSkar("info --json " + line.string()).json().contains("vesselFile"));
}

TEST_F(ImportVessel, WhoPicksSensorsGetsNone) {
    const Outcome outcome =
        imported("--sensors Navigation -- " + raw("a.all", fileOf(installation(oneHead))).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["vesselFile"], nullptr);
    EXPECT_FALSE(fs::exists(vesselFile()));
}

TEST_F(ImportVessel, AnEntryIsMadeWhereSomethingChanges) {
    RawBytes file = fileOf(installation(oneHead));
    file.add(installation(oneHead, tenOClock + 5000, 'i'));
    file.add(installation("WLZ=-0.700," + oneHead.substr(oneHead.find(',') + 1), tenOClock + 10'000, 'r'));
    const Outcome outcome = imported(raw("a.all", file).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["vesselFile"]["entries"], 9);
    const Json waterLines = entries("WaterlineHeight");
    ASSERT_EQ(waterLines.size(), 2U);
    EXPECT_EQ(waterLines[0]["waterLine"], -0.6);
    EXPECT_EQ(waterLines[0]["validUntil"]["utc"], "2014-02-19T10:00:10.000Z");
    EXPECT_EQ(waterLines[1]["waterLine"], -0.7);
    EXPECT_EQ(entries("NavSensor").size(), 1U);
}

TEST_F(ImportVessel, FilesOfOneImportAreTakenInOrderOfTime) {
    const fs::path later = raw("later.all", fileOf(installation("WLZ=2,", tenOClock + 100'000)));
    const fs::path earlier = raw("earlier.all", fileOf(installation("WLZ=1,")));
    const Outcome outcome = imported("--allow-overlap " + later.string() + " " + earlier.string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Json waterLines = entries("WaterlineHeight");
    ASSERT_EQ(waterLines.size(), 2U);
    EXPECT_EQ(waterLines[0]["waterLine"], 1.0);
    EXPECT_EQ(waterLines[1]["waterLine"], 2.0);
}

TEST_F(ImportVessel, AFolderThatCannotBeMadeIsAFailure) {
    std::ofstream(vesselFile().parent_path()) << "in the way";
    const Outcome outcome = imported(raw("a.all", fileOf(installation(oneHead))).string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("VesselConfig"), std::string::npos) << outcome.err;
}

struct RealVessel {
    const char* name;
    const char* compared;
};

// Every value of the vessel files, as independent_vessel.py reads the installation parameters.
constexpr RealVessel realVessels[] = {
    {"all/0001_20140213_052736_Yolla.all", "47 values of 8 kinds, from 2014-02-13 05:27:41"},
    {"all/0200_MBES_EM122_20150203_010431_Supporter_GA4430.all",
     "47 values of 8 kinds, from 2015-02-03 01:04:31"},
    {"all/0243_P007_MBES_EM122_20150207_044356_Supporter_GA4430.all",
     "47 values of 8 kinds, from 2015-02-07 04:43:56"},
    {"all-mpl/0077_20221109_123655_Belgica.all", "59 values of 8 kinds, from 2022-11-09 12:36:55"},
    {"all-mpl/0077_20221109_123655_Belgica.wcd", "59 values of 8 kinds, from 2022-11-09 12:36:55"},
    {"all-mpl/EM710_3092155654265012286.all", "47 values of 8 kinds, from 2012-08-21 17:09:42"},
    {"all-mpl/EM710_7041029013895133878.all", "47 values of 8 kinds, from 2017-12-14 16:50:49"},
};

class RealVessels : public ToolTest, public testing::WithParamInterface<RealVessel> {};

void PrintTo(const RealVessel& vessel, std::ostream* out) {
    *out << vessel.name;
}

TEST_P(RealVessels, HoldWhatAnIndependentReaderFinds) {
    expectIndependentReaderAgrees("independent_vessel.py", GetParam().name, GetParam().compared);
}

INSTANTIATE_TEST_SUITE_P(All, RealVessels, testing::ValuesIn(realVessels), skar::tests::namedAfterFile);

} // namespace

} // namespace skar::test
