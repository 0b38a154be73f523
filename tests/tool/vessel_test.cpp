#include "shell.h"

#include <fstream>

namespace skar::test {

namespace {

namespace fs = std::filesystem;

const std::string content = R"(
<VesselShape>
<PlanCoordinates><Entry X="-2" Y="-10"/><Entry X="2" Y="10.5"/></PlanCoordinates>
<ProfileCoordinates><Entry Y="-10" Z="1.5"/></ProfileCoordinates>
<RP Length="20" Width="4" Height="6"/>
</VesselShape>
<NavSensor>
<TimeStamp value="2013-001 00:00:00"><Offsets X="1" Y="2" Z="-3.25"/><Latency value="0.5"/></TimeStamp>
<TimeStamp value="2013-002 00:00:00"><Offsets X="1.5"/><Ellipse value="WG84"/><Model value="M"/><Comment value="moved"/>
</TimeStamp>
</NavSensor>
<GyroSensor><TimeStamp value="2013-001 00:00:00"><ApplyFlag value="Yes"/><Offsets><Gyro>
<Entry Azimuth="0" Offset="1.5"/><Entry Azimuth="180" Offset="-0.5"/></Gyro></Offsets></TimeStamp></GyroSensor>
<HeaveSensor><TimeStamp value="2013-001 00:00:00"><Offsets X="1" Y="2" Z="3" Heave="4"/></TimeStamp></HeaveSensor>
<PitchSensor><TimeStamp value="2013-001 00:00:00"><Offsets Pitch="1.25"/></TimeStamp></PitchSensor>
<RollSensor><TimeStamp value="2013-001 00:00:00"><Offsets Roll="-1.25"/></TimeStamp></RollSensor>
<SVPSensor>
<TimeStamp value="2013-001 00:00:00"><DualHead value="Yes"/><Offsets X="1" Y="2" Z="3" X2="4" Y2="5" Z2="6"/>
<MountAngle Pitch="1" Roll="2" Azimuth="3" Pitch2="4" Roll2="5" Azimuth2="6"/></TimeStamp></SVPSensor>
<DepthSensor>
<TimeStamp value="2013-001 00:00:00"><SensorClass value="Swath"/><TransducerEntries><Transducer Number="3" Model="X">
<Offsets X="1" Y="2" Z="3" Latency="0.5"/><MountAngle Pitch="1" Roll="2" Azimuth="3"/></Transducer></TransducerEntries>
</TimeStamp>
<TimeStamp value="2013-002 00:00:00"><SensorClass value="Sweep"/><TPEMRUToBoomOffset X="7"/><TransducerEntries>
<Transducer Number="1"><SquatPercFactor value="90"/></Transducer><Transducer Number="70000"/></TransducerEntries></TimeStamp>
</DepthSensor>
<DraftSensor><TimeStamp value="2013-001 00:00:00"><DraftEntries><Entry Speed="0" Draft="1"/><Entry Speed="5" Draft="1.2"/>
</DraftEntries></TimeStamp></DraftSensor>
<TowedSensor><TimeStamp value="2013-001 00:00:00"><Offsets X="1" Y="2" Z="3" Layback="40"/></TimeStamp></TowedSensor>
<TPEConfiguration><TimeStamp value="2013-001 00:00:00"><Offsets><MRUtoTransducer X="1" X2="2"/><Navigation Latency="3"/>
</Offsets><StandardDeviation><Motion Gyro="0.02" HeavePercAmplitude="5"/><Vessel Speed="6"><StDevComment value="guessed"/>
</Vessel></StandardDeviation></TimeStamp></TPEConfiguration>
<WaterlineHeight><TimeStamp value="2013-003 00:00:00"><WaterLine value="-1.2"/><StdDev Waterline="0.1"/></TimeStamp>
</WaterlineHeight>
<SideScanGyroSensor><TimeStamp value="2013-001 00:00:00"><StdDev Gyro="0.1"/></TimeStamp></SideScanGyroSensor>
<SideScanPitchSensor><TimeStamp value="2013-001 00:00:00"><StdDev Pitch="0.2"/></TimeStamp></SideScanPitchSensor>
<SideScanRollSensor><TimeStamp value="2013-001 00:00:00"><StdDev Roll="0.3"/></TimeStamp></SideScanRollSensor>
)";

class SkarVessel : public ToolTest {
protected:
    fs::path file() const { return folder / "vessel.skv"; }
    void write(const std::string& inner) const {
        std::ofstream(file()) << "<SKARVesselConfig Version=\"1.5\">" << inner << "</SKARVesselConfig>\n";
    }
    void writeAll(const std::string& text) const { std::ofstream(file(), std::ios::binary) << text; }
    Outcome show(const std::string& options = "") const {
        return runSkar("vessel show " + file().string() + " " + options);
    }
    Outcome check(const std::string& options = "") const {
        return runSkar("vessel check " + file().string() + " " + options);
    }
    static Json sensor(const Json& vessel, const std::string& name) {
        for (const Json& each : vessel["sensors"]) {
            if (each["sensor"] == name) return each;
        }
        return {};
    }
    static Json entry(const Json& vessel, const std::string& name, std::size_t index = 0) {
        return sensor(vessel, name)["entries"][index];
    }
};

TEST_F(SkarVessel, EntriesAreShownWithTheirValidity) {
    write(content);
    const Outcome outcome = show("--json");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const Json vessel = outcome.json();
    EXPECT_EQ(vessel["version"], 1.5);
    EXPECT_EQ(vessel["legacy"], false);
    EXPECT_EQ(vessel["findings"], 0);
    EXPECT_EQ(vessel["sensors"].size(), 14U);
    const Json first = entry(vessel, "NavSensor");
    // 12054 days and 16 leap seconds after the start of 1980; the library's table of them ends with the 15th.
    EXPECT_EQ(first["validFrom"]["utc"], "2013-01-01T00:00:00.000Z");
    EXPECT_EQ(first["validUntil"]["utc"], "2013-01-02T00:00:00.000Z");
    EXPECT_EQ(first["validUntil"]["seconds"].get<double>() - first["validFrom"]["seconds"].get<double>(),
              86400.0);
    EXPECT_EQ(first["x"], 1.0);
    EXPECT_EQ(first["z"], -3.25);
    EXPECT_EQ(first["latency"], 0.5);
    EXPECT_EQ(first["model"], nullptr);
    const Json second = entry(vessel, "NavSensor", 1);
    EXPECT_EQ(second["validUntil"], nullptr);
    EXPECT_EQ(second["ellipse"], "WG84");
    EXPECT_EQ(second["model"], "M");
    EXPECT_EQ(second["comment"], "moved");
    EXPECT_EQ(vessel["shape"], Json::parse(R"({"length": 20.0, "width": 4.0, "height": 6.0,
        "plan": [[-2.0, -10.0], [2.0, 10.5]], "profile": [[-10.0, 1.5]]})"));
}

TEST_F(SkarVessel, EveryKindShowsItsOwnFields) {
    write(content);
    const Json vessel = show("--json").json();
    EXPECT_EQ(entry(vessel, "GyroSensor")["apply"], true);
    EXPECT_EQ(entry(vessel, "GyroSensor")["offsets"],
              Json::parse(R"([{"azimuth": 0.0, "offset": 1.5}, {"azimuth": 180.0, "offset": -0.5}])"));
    EXPECT_EQ(entry(vessel, "HeaveSensor")["heaveOffset"], 4.0);
    EXPECT_EQ(entry(vessel, "HeaveSensor")["y"], 2.0);
    EXPECT_EQ(entry(vessel, "PitchSensor")["pitchOffset"], 1.25);
    EXPECT_EQ(entry(vessel, "RollSensor")["rollOffset"], -1.25);
    EXPECT_EQ(entry(vessel, "TowedSensor")["layback"], 40.0);
    EXPECT_EQ(entry(vessel, "TowedSensor")["x"], 1.0);
    EXPECT_EQ(entry(vessel, "WaterlineHeight")["waterLine"], -1.2);
    EXPECT_EQ(entry(vessel, "WaterlineHeight")["waterlineStdDev"], 0.1);
    EXPECT_EQ(entry(vessel, "SideScanGyroSensor")["gyroError"], 0.1);
    EXPECT_EQ(entry(vessel, "SideScanPitchSensor")["pitchError"], 0.2);
    EXPECT_EQ(entry(vessel, "SideScanRollSensor")["rollError"], 0.3);
    EXPECT_EQ(entry(vessel, "SVPSensor")["heads"], Json::parse(R"([
        {"head": 1, "x": 1.0, "y": 2.0, "z": 3.0, "pitch": 1.0, "roll": 2.0, "azimuth": 3.0},
        {"head": 2, "x": 4.0, "y": 5.0, "z": 6.0, "pitch": 4.0, "roll": 5.0, "azimuth": 6.0}])"));
    EXPECT_EQ(entry(vessel, "DraftSensor")["drafts"],
              Json::parse(R"([{"speed": 0.0, "draft": 1.0}, {"speed": 5.0, "draft": 1.2}])"));
    const Json tpe = entry(vessel, "TPEConfiguration");
    EXPECT_EQ(tpe["navigationLatency"], 3.0);
    EXPECT_EQ(tpe["offsets"][0]["mruX"], 1.0);
    EXPECT_EQ(tpe["offsets"][1]["mruX"], 2.0);
    EXPECT_EQ(tpe["motion"]["gyro"], 0.02);
    EXPECT_EQ(tpe["motion"]["heavePercentOfAmplitude"], 5.0);
    EXPECT_EQ(tpe["environment"]["speedOverGround"], 6.0);
    EXPECT_EQ(tpe["environment"]["comment"], "guessed");
}

TEST_F(SkarVessel, TransducersAreShownWhateverTheirNumbers) {
    write(content);
    const Json vessel = show("--json").json();
    const Json swath = entry(vessel, "DepthSensor");
    EXPECT_EQ(swath["transducers"],
              Json::parse(R"([{"number": 3, "startBeam": 1, "x": 1.0, "y": 2.0, "z": 3.0,
        "pitch": 1.0, "roll": 2.0, "azimuth": 3.0, "latency": 0.5, "manufacturer": null, "model": "X",
        "serialNumber": null}])"));
    EXPECT_FALSE(swath.contains("booms"));
    const Json sweep = entry(vessel, "DepthSensor", 1);
    ASSERT_EQ(sweep["transducers"].size(), 2U);
    EXPECT_EQ(sweep["transducers"][0]["squatPercentage"], 90.0);
    EXPECT_EQ(sweep["transducers"][1]["number"], 70000);
    EXPECT_EQ(sweep["transducers"][1]["fixed"], true);
    EXPECT_EQ(sweep["booms"]["mruX"], 7.0);
}

TEST_F(SkarVessel, TablesHaveUnitsAndOneRowPerEntry) {
    write(content);
    const std::string out = show().out;
    EXPECT_NE(
        out.find(
            "NavSensor\n"
            "VALID FROM                VALID UNTIL               X [m]  Y [m]  Z [m]  LATENCY [s]  ELLIPSE  "
            "MODEL  COMMENT\n"
            "2013-01-01T00:00:00.000Z  2013-01-02T00:00:00.000Z      1      2  -3.25          0.5\n"
            "2013-01-02T00:00:00.000Z  -                           1.5      0      0            0  WG84     "
            "M      moved\n"),
        std::string::npos)
        << out;
    EXPECT_NE(out.find("GyroSensor, offsets by azimuth\n"
                       "VALID FROM                VALID UNTIL  AZIMUTH [deg]  OFFSET [deg]\n"
                       "2013-01-01T00:00:00.000Z  -                        0           1.5\n"
                       "                                                 180          -0.5\n"),
              std::string::npos)
        << out;
    for (const char* heading : {"SQUAT [%]", "HEAVE [% of amplitude]", "SOUND SPEED [m/s]", "LAYBACK [m]"})
        EXPECT_NE(out.find(heading), std::string::npos) << heading;
    EXPECT_NE(out.find("VesselShape  length 20 m, width 4 m, height 6 m"), std::string::npos) << out;
}

TEST_F(SkarVessel, AtATimeTheEntryInForceIsShownOrThatThereIsNone) {
    write(content);
    for (const char* time : {"2013-01-02", "2013-01-02T00:00:00Z", "2015-01-01T12:00"}) {
        const Json vessel = show(std::string("--json --at ") + time).json();
        ASSERT_EQ(sensor(vessel, "NavSensor")["entries"].size(), 1U) << time;
        EXPECT_EQ(entry(vessel, "NavSensor")["comment"], "moved") << time;
    }
    const Json vessel = show("--json --at 2013-01-01T23:59:59").json();
    EXPECT_EQ(vessel["at"]["utc"], "2013-01-01T23:59:59.000Z");
    EXPECT_EQ(entry(vessel, "NavSensor")["x"], 1.0);
    EXPECT_EQ(entry(vessel, "NavSensor")["validUntil"]["utc"], "2013-01-02T00:00:00.000Z");
    EXPECT_EQ(sensor(vessel, "WaterlineHeight")["entries"], Json::array());
    EXPECT_EQ(sensor(vessel, "WaterlineHeight")["noneUntil"]["utc"], "2013-01-03T00:00:00.000Z");
    // Seconds of the store are taken as well.
    const std::string seconds = std::to_string(vessel["at"]["seconds"].get<double>());
    EXPECT_EQ(entry(show("--json --at " + seconds).json(), "NavSensor")["x"], 1.0);
    EXPECT_NE(
        show("--at 2013-01-01")
            .out.find("WaterlineHeight\nnone yet; the first is in force from 2013-01-03T00:00:00.000Z\n"),
        std::string::npos);
    const Outcome wrong = show("--at yesterday");
    EXPECT_EQ(wrong.status, 2);
    EXPECT_NE(wrong.err.find("--at yesterday"), std::string::npos);
}

TEST_F(SkarVessel, ShowTellsOfFindings) {
    write("<Crew/><NavSensor/>");
    const Outcome outcome = show();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.out.find("No sensors."), std::string::npos);
    EXPECT_NE(outcome.out.find("2 findings in the file; skar vessel check tells more"), std::string::npos);
    EXPECT_EQ(show("--json").json()["findings"], 2);
}

TEST_F(SkarVessel, ControlCharactersOfTheFileDoNotReachTheScreen) {
    write("<NavSensor><TimeStamp value=\"2013-001 00:00:00\"><Comment "
          "value=\"a&#9;b&#127;\"/></TimeStamp></NavSensor>");
    EXPECT_NE(show().out.find("a\\x09b\\x7F"), std::string::npos);
    EXPECT_EQ(entry(show("--json").json(), "NavSensor")["comment"], "a\tb\x7F");
}

TEST_F(SkarVessel, FindingsComeWithTheLineOfTheFile) {
    write("\n<NavSensor>\n<TimeStamp value=\"2013-001 00:00:00\"><Offsets X=\"1,5\" "
          "W=\"1\"/></TimeStamp>\n</NavSensor>");
    const Outcome outcome = check();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, file().string() + ":3: error: number: X of Offsets is \"1,5\": no number\n" +
                               file().string() +
                               ":3: warning: unknown-attribute: \"W\" of Offsets is not known\n" +
                               "1 kind of sensor with 1 entry checked: 1 error, 1 warning\n");
    const Json json = check("--json").json();
    EXPECT_EQ(json["lists"], 1);
    EXPECT_EQ(json["entries"], 1);
    EXPECT_EQ(json["errors"], 1);
    EXPECT_EQ(json["warnings"], 1);
    EXPECT_EQ(json["findings"][0], Json({{"severity", "error"},
                                         {"code", "number"},
                                         {"line", 3},
                                         {"text", "X of Offsets is \"1,5\": no number"}}));
}

TEST_F(SkarVessel, WarningsAloneAreNoFailure) {
    write("<Crew/><Crew/><Crew/>");
    EXPECT_EQ(check().status, 0);
    const Outcome limited = check("--limit 1");
    EXPECT_NE(limited.out.find("2 more not listed; --limit 0 lists all\n"), std::string::npos);
    EXPECT_EQ(check("--json --limit 1").json()["unlisted"], 2);
    EXPECT_EQ(check("--json --limit 0").json()["findings"].size(), 3U);
}

TEST_F(SkarVessel, AFileThatIsNoneIsAFailureOfBoth) {
    for (const char* command : {"show", "check"}) {
        const std::string start = std::string("vessel ") + command + " ";
        const Outcome missing = runSkar(start + (folder / "none.skv").string());
        EXPECT_EQ(missing.status, 1);
        EXPECT_NE(missing.err.find("there is no such file"), std::string::npos) << missing.err;
        EXPECT_EQ(runSkar(start + folder.string()).status, 1);
        EXPECT_EQ(runSkar(start).status, 2);
    }
    EXPECT_EQ(runSkar("vessel").status, 2);
    EXPECT_EQ(runSkar("vessel launch").status, 2);
}

struct Bad {
    const char* name;
    std::string text;
    const char* said;
    bool isXml = true;
};

void PrintTo(const Bad& bad, std::ostream* out) {
    *out << bad.name;
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

const std::string begin = "<SKARVesselConfig Version=\"2.0\">";

class BadVessels : public SkarVessel, public testing::WithParamInterface<Bad> {};

TEST_P(BadVessels, EndWithOneClearLine) {
    writeAll(GetParam().text);
    const Outcome checked = check();
    EXPECT_EQ(checked.status, 1);
    EXPECT_NE(checked.out.find(GetParam().said), std::string::npos) << checked.out.substr(0, 500);
    EXPECT_EQ(checked.err, "");
    const Outcome shown = show();
    EXPECT_EQ(shown.status, 1);
    EXPECT_EQ(shown.out, "");
    // The parser of the text form has a line of its own.
    EXPECT_LE(split(shown.err, '\n').size(), GetParam().isXml ? 1U : 2U) << shown.err.substr(0, 500);
    EXPECT_NE(shown.err.find("vessel.skv"), std::string::npos) << shown.err.substr(0, 500);
    EXPECT_LT(shown.err.size(), 500U);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadVessels,
    testing::Values(
        Bad{"Malformed", begin + "\n<NavSensor></SKARVesselConfig>", "vessel.skv:2: error: xml"},
        Bad{"Root", "<Ship Version=\"2\"/>", "vessel.skv:1: error: root"},
        Bad{"Version", "<SKARVesselConfig/>", "vessel.skv:1: error: version-missing"},
        Bad{"Time", begin + "\n<NavSensor><TimeStamp value=\"today\"/></NavSensor></SKARVesselConfig>",
            "vessel.skv:2: error: time"},
        Bad{"Transducer",
            begin + "<DepthSensor><TimeStamp value=\"2013-001 00:00:00\">\n<SensorClass value=\"Swath\"/>"
                    "<TransducerEntries><Transducer Number=\"0\"/></TransducerEntries></TimeStamp>"
                    "</DepthSensor></SKARVesselConfig>",
            "vessel.skv:2: error: transducer-number"},
        Bad{"Nesting", begin + repeated("<a>", 100'000), "too deep"},
        Bad{"HugeAttribute", "<SKARVesselConfig Version=\"" + std::string(10'000'001, '2') + "\"/>",
            "error: xml"},
        Bad{"Bomb",
            "<!DOCTYPE r [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"" + repeated("&a;", 1000) +
                "\"><!ENTITY c \"" + repeated("&b;", 1000) + "\">]>" + begin +
                "<NavSensor><TimeStamp value=\"&c;\"/></NavSensor></SKARVesselConfig>",
            "error: "},
        Bad{"Null", begin + std::string("\0", 1) + "</SKARVesselConfig>", "error: xml"},
        Bad{"BadUtf8", begin + "\xFF\xFE</SKARVesselConfig>", "error: xml"},
        Bad{"NoXml", "just some words\n", "A text file of version 1", false},
        Bad{"Empty", "", "error: xml", false}),
    [](const auto& test) { return std::string(test.param.name); });

const std::string legacyText =
    "#\tStart Shape\n#\t0.0\t18.5\n#\t-4.0\t-16.5\n#\t;\n#\t18.5\t0.0\n#\t;\n"
    "#\t35.0\t8.0\t6.4\n#\tEnd Shape\n"
    "NAVIGATION 1996-123-00:00 ELLIPSE \"WG84\" POSITION 0.25 -1.50 -11.00 LATENCY 0.120 ;\n"
    "GYRO 1996-123-00:00 OFFSET -1.25 APPLY YES ;\n"
    "GYRO 1996-200-06:30 OFFSET 0.50 APPLY YES ;\n";

class LegacyVessel : public SkarVessel {
protected:
    LegacyVessel() { std::ofstream(legacy()) << legacyText; }
    fs::path legacy() const { return folder / "launch"; }
    fs::path converted() const { return folder / "launch.skv"; }
    Outcome convert(const std::string& options = "") const {
        return runSkar("vessel convert " + legacy().string() + " " + options);
    }
};

TEST_F(LegacyVessel, IsShownAsItIs) {
    const Outcome outcome = runSkar("vessel show --json " + legacy().string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Json vessel = outcome.json();
    EXPECT_EQ(vessel["legacy"], true);
    EXPECT_EQ(vessel["shape"]["length"], 35.0);
    EXPECT_EQ(entry(vessel, "NavSensor")["z"], -11.0);
    EXPECT_EQ(entry(vessel, "GyroSensor", 1)["validFrom"]["utc"], "1996-07-18T06:30:00.000Z");
    EXPECT_FALSE(fs::exists(converted()));
    EXPECT_NE(runSkar("vessel show " + legacy().string()).out.find("Version  1, a text file"),
              std::string::npos);
}

TEST_F(LegacyVessel, IsConvertedAndTheResultToldOf) {
    const Outcome outcome = convert();
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, converted().string() +
                               ": written\n"
                               "SENSOR      ENTRIES  FIRST                     LAST\n"
                               "GyroSensor        2  1996-05-02T00:00:00.000Z  1996-07-18T06:30:00.000Z\n"
                               "NavSensor         1  1996-05-02T00:00:00.000Z  1996-05-02T00:00:00.000Z\n"
                               "3 points of the outline\n");
    EXPECT_EQ(runSkar("vessel check " + converted().string()).status, 0);
    const Json before = runSkar("vessel show --json " + legacy().string()).json();
    const Json after = runSkar("vessel show --json " + converted().string()).json();
    EXPECT_EQ(before["sensors"], after["sensors"]);
    EXPECT_EQ(before["shape"], after["shape"]);
    const Json json = convert("--force --json").json();
    EXPECT_EQ(json, Json({{"file", converted().string()},
                          {"of", legacy().string()},
                          {"points", 3},
                          {"sensors", Json::array({Json({{"sensor", "GyroSensor"}, {"entries", 2}}),
                                                   Json({{"sensor", "NavSensor"}, {"entries", 1}})})}}));
}

TEST_F(LegacyVessel, AFileThatIsThereIsKeptUnlessForced) {
    for (const char* other : {"file", "link"}) {
        fs::remove(converted());
        if (std::string(other) == "file")
            std::ofstream(converted()) << "precious";
        else
            fs::create_symlink("nowhere", converted());
        const Outcome refused = convert();
        EXPECT_EQ(refused.status, 1) << other;
        EXPECT_NE(refused.err.find("launch.skv: is there already; --force"), std::string::npos)
            << refused.err;
        EXPECT_FALSE(fs::exists(folder / "nowhere"));
    }
    fs::remove(converted());
    std::ofstream(converted()) << "precious";
    EXPECT_EQ(convert("--force").status, 0);
    EXPECT_EQ(runSkar("vessel check " + converted().string()).status, 0);
}

TEST_F(LegacyVessel, WhatIsNoTextFormIsNotConverted) {
    std::ofstream(legacy()) << begin << "</SKARVesselConfig>";
    EXPECT_NE(convert().err.find("only text files are converted"), std::string::npos);
    std::ofstream(legacy()) << "some words";
    const Outcome words = convert();
    EXPECT_EQ(words.status, 1);
    EXPECT_NE(words.err.find("5000401"), std::string::npos) << words.err;
    std::ofstream(legacy()) << legacyText << "DEPTH 1996-123-00:00 CLASS \"Fan\" ;\n";
    const Outcome fan = convert();
    EXPECT_EQ(fan.status, 1);
    EXPECT_NE(fan.err.find("5100103"), std::string::npos) << fan.err;
    EXPECT_FALSE(fs::exists(converted()));
    fs::remove(legacy());
    EXPECT_NE(convert().err.find("there is no such file"), std::string::npos);
}

TEST_F(LegacyVessel, AFileThatAnotherOneHidesIsNotMistakenForIt) {
    write("<NavSensor><TimeStamp value=\"2013-001 00:00:00\"/></NavSensor>");
    fs::copy(file(), folder / "launch.xml");
    EXPECT_EQ(runSkar("vessel show " + (folder / "launch.xml").string()).status, 0);
    fs::copy(file(), folder / "launch.xml.skv");
    const Outcome hidden = runSkar("vessel show " + (folder / "launch.xml").string());
    EXPECT_EQ(hidden.status, 1);
    EXPECT_NE(hidden.err.find("launch.xml.skv in its place"), std::string::npos) << hidden.err;
    EXPECT_EQ(runSkar("vessel check " + (folder / "launch.xml").string()).status, 0);
}

TEST_F(SkarVessel, NothingOutsideTheFileIsRead) {
    std::ofstream(folder / "secret") << "<NavSensor/>";
    writeAll("<!DOCTYPE r [<!ENTITY x SYSTEM \"" + (folder / "secret").string() + "\">]>" + begin +
             "&x;</SKARVesselConfig>");
    EXPECT_EQ(show().out.find("NavSensor"), std::string::npos);
    EXPECT_EQ(check().status, 1);
}

} // namespace

} // namespace skar::test
