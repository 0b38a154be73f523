#include "support/processortime.h"
#include "vessel/check.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace skar::test {

namespace {

using tool::check::Report;
using tool::check::Severity;
using tool::vessel::Checked;
using tool::vessel::Document;

struct Found {
    std::vector<std::string> findings; // "line severity code", in the order of the file
    std::vector<std::string> texts;
    Checked checked;
};

Found check(const std::string& xml) {
    Found found;
    Report report(0);
    found.checked = tool::vessel::checkVessel(tool::vessel::parseVessel(xml), report);
    for (const auto& finding : report.findings()) {
        found.findings.push_back(std::to_string(finding.offset) +
                                 (finding.severity == Severity::error ? " error " : " warning ") +
                                 finding.code);
        found.texts.push_back(finding.text);
    }
    return found;
}

std::string vessel(const std::string& content) {
    return "<SKARVesselConfig Version=\"2.0\">\n" + content + "\n</SKARVesselConfig>\n";
}

std::string entry(const std::string& content, const std::string& kind = "NavSensor") {
    return vessel("<" + kind + ">\n<TimeStamp value=\"2012-183 07:05:09\">\n" + content +
                  "\n</TimeStamp>\n</" + kind + ">");
}

using Findings = std::vector<std::string>;

TEST(VesselCheck, AWholeVesselHasNoFindings) {
    const std::string everything = vessel(R"(<MetaData/><EditHistory/>
<VesselShape><PlanCoordinates><Entry X="1" Y="-2.5"/><Entry X="1e1" Y="+2"/></PlanCoordinates>
<ProfileCoordinates><Entry Y="1" Z="2"/></ProfileCoordinates><RP Length="10" Width="4" Height="3"/></VesselShape>
<NavSensor><TimeStamp value="2012-183 07:05:09"><Comment value="c"/><Authorization value="a"/><Manufacturer value="m"/>
<Model value="m"/><SerialNumber value="s"/><Ellipse value="WG84"/><Latency value="0.1"/><Offsets X="1" Y="2" Z="3"/>
</TimeStamp></NavSensor>
<GyroSensor><TimeStamp value="2012-183 07:05:09"><ApplyFlag value="Yes"/><Offsets><Gyro><Entry Azimuth="0" Offset="1"/>
<Entry Azimuth="90" Offset="2"/></Gyro></Offsets></TimeStamp></GyroSensor>
<HeaveSensor><TimeStamp value="2012-183 07:05:09"><ApplyFlag value="no"/><Offsets X="1" Y="2" Z="3" Heave="4"/></TimeStamp>
</HeaveSensor>
<PitchSensor><TimeStamp value="2012-183 07:05:09"><ApplyFlag value="TRUE"/><Offsets Pitch="1"/></TimeStamp></PitchSensor>
<RollSensor><TimeStamp value="2012-183 07:05:09"><Offsets Roll="1"/></TimeStamp></RollSensor>
<SVPSensor><TimeStamp value="2012-183 07:05:09"><DualHead value="Yes"/><Offsets X="1" Y="2" Z="3" X2="1" Y2="2" Z2="3"/>
<MountAngle Pitch="1" Roll="2" Azimuth="3" Pitch2="1" Roll2="2" Azimuth2="3"/></TimeStamp></SVPSensor>
<DepthSensor><TimeStamp value="2012-183 07:05:09"><SensorClass value="Sweep"/><TPENavigationToBoomOffset X="1" Y="2" Z="3"/>
<TPEMRUToBoomOffset X="1" Y="2" Z="3"/><TransducerEntries><Transducer Number="1" StartBeam="1" Model="m">
<Manufacturer value="m"/><SerialNumber value="s"/><TransducerFixed value="No"/><SquatPercFactor value="1"/>
<HeavePercAmplitude value="1"/><MRUAlignment Gyro="1" Roll="2"/><Offsets X="1" Y="2" Z="3" Latency="4"/>
<MountAngle Pitch="1" Roll="2" Azimuth="3"/></Transducer></TransducerEntries></TimeStamp></DepthSensor>
<DraftSensor><TimeStamp value="2012-183 07:05:09"><DraftEntries><Entry Speed="0" Draft="1"/></DraftEntries></TimeStamp>
</DraftSensor>
<TowedSensor><TimeStamp value="2012-183 07:05:09"><offsets X="1" Y="2" Z="3" Layback="4"/></TimeStamp></TowedSensor>
<WaterlineHeight><TimeStamp value="2012-183 07:05:09"><WaterLine value="1"/><StdDev Waterline="2"/></TimeStamp>
</WaterlineHeight>
<SideScanSensor><TimeStamp value="2012-183 07:05:09"><Model value="m"/></TimeStamp></SideScanSensor>
<SideScanNavSensor><TimeStamp value="2012-183 07:05:09"><Offsets X="1"/></TimeStamp></SideScanNavSensor>
<SideScanGyroSensor><TimeStamp value="2012-183 07:05:09"><StdDev Gyro="1"/></TimeStamp></SideScanGyroSensor>
<SideScanHeaveSensor><TimeStamp value="2012-183 07:05:09"><Offsets Heave="1"/></TimeStamp></SideScanHeaveSensor>
<SideScanPitchSensor><TimeStamp value="2012-183 07:05:09"><StdDev Pitch="1"/></TimeStamp></SideScanPitchSensor>
<SideScanRollSensor><TimeStamp value="2012-183 07:05:09"><StdDev Roll="1"/></TimeStamp></SideScanRollSensor>
<TPEConfiguration><TimeStamp value="2012-183 07:05:09"><Offsets><MRUtoTransducer X="1" Y="2" Z="3" X2="1" Y2="2" Z2="3"/>
<NavigationToTransducer X="1" Y="2" Z="3" X2="1" Y2="2" Z2="3"/><Transducer Roll="1" Roll2="2"/><Navigation Latency="1"/>
</Offsets><StandardDeviation><Motion Gyro="1" Heave="1" HeavePercAmplitude="1" Pitch="1" Roll="1" PitchStablized="1"/>
<Position Navigation="1"/><Timing Transducer="1" Navigation="1" Gyro="1" Heave="1" Pitch="1" Roll="1"/>
<SoundVelocity Measured="1" Surface="1"/><Tide Measured="1" Zoning="1"/><Offsets X="1" Y="1" Z="1"/>
<MRUAlignment Gyro="1" Pitch="1" Roll="1"/><Vessel Speed="1" Loading="1" Draft="1" DeltaDraft="1">
<StDevComment value="c"/></Vessel></StandardDeviation></TimeStamp></TPEConfiguration>)");
    const Found found = check(everything);
    EXPECT_EQ(found.findings, Findings()) << (found.texts.empty() ? "" : found.texts[0]);
    EXPECT_EQ(found.checked.lists, 17U);
    EXPECT_EQ(found.checked.entries, 17U);
    EXPECT_EQ(found.checked.transducers, std::set<std::uint32_t>{1});
    EXPECT_EQ(found.checked.refusal, "");
}

TEST(VesselCheck, WhatIsNoVesselIsToldByItsLine) {
    EXPECT_EQ(check("<a>\n<b></a>").findings, Findings({"2 error xml"}));
    EXPECT_EQ(check("").findings, Findings({"1 error xml"}));
    EXPECT_EQ(check("\n<Ship Version=\"2\"/>").findings, Findings({"2 error root"}));
    EXPECT_EQ(check("<SKARVesselConfig/>").findings, Findings({"1 error version-missing"}));
    EXPECT_EQ(check("<SKARVesselConfig Version=\"\"/>").findings, Findings({"1 error version-missing"}));
    EXPECT_EQ(check("<skarvesselconfig Version=\"1.5\"/>").findings, Findings());
    EXPECT_EQ(check("<SKARVesselConfig Version=\"two\"/>").findings, Findings({"1 error number"}));
    for (const char* refused : {"<a>\n<b></a>", "", "<Ship Version=\"2\"/>", "<SKARVesselConfig/>"})
        EXPECT_NE(check(refused).checked.refusal, "") << refused;
}

TEST(VesselCheck, UnknownThingsAreFoundAtEveryLevel) {
    EXPECT_EQ(check("<SKARVesselConfig Version=\"2\" Owner=\"x\"/>").findings,
              Findings({"1 warning unknown-attribute"}));
    EXPECT_EQ(check(vessel("<Crew/>")).findings, Findings({"2 warning unknown-element"}));
    EXPECT_EQ(check(vessel("<MetaData>\n<Owner/></MetaData>")).findings,
              Findings({"3 warning unknown-element"}));
    EXPECT_EQ(check(vessel("<NavSensor colour=\"red\"><TimeStamp value=\"2012-183 07:05:09\"/></NavSensor>"))
                  .findings,
              Findings({"2 warning unknown-attribute"}));
    EXPECT_EQ(check(entry("<Offsets X=\"1\" W=\"2\"/>\n<Deck/>")).findings,
              Findings({"4 warning unknown-attribute", "5 warning unknown-element"}));
    EXPECT_EQ(check(entry("<Offsets>7</Offsets>")).findings, Findings({"4 warning unknown-text"}));
    EXPECT_EQ(check(entry("<Offsets x=\"1\"/>")).findings, Findings({"4 warning unknown-attribute"}));
    EXPECT_EQ(check(entry("<OFFSETS X=\"1\"/>")).findings, Findings());
    EXPECT_EQ(check(entry("<SensorClass value=\"Sweep\"/><TransducerEntries><Transducer Number=\"1\">\n"
                          "<Deck/></Transducer></TransducerEntries>",
                          "DepthSensor"))
                  .findings,
              Findings({"5 warning unknown-element"}));
    EXPECT_EQ(check(entry("<Offsets><Gyro><Entry Azimuth=\"0\" Offset=\"1\" Sign=\"-\"/></Gyro></Offsets>",
                          "GyroSensor"))
                  .findings,
              Findings({"4 warning unknown-attribute"}));
}

TEST(VesselCheck, TheNameOfAListCountsWithItsCase) {
    const Found found = check(vessel("<navsensor/>"));
    EXPECT_EQ(found.findings, Findings({"2 error unknown-element"}));
    EXPECT_NE(found.texts.at(0).find("NavSensor"), std::string::npos);
}

TEST(VesselCheck, WhatTheLoadDropsIsAnError) {
    const std::string twice = "<TimeStamp value=\"2012-183 07:05:09\"/>\n";
    EXPECT_EQ(check(vessel("<NavSensor>" + twice + twice + "</NavSensor>")).findings,
              Findings({"3 error entry-twice"}));
    // Day 366 of a year without is the first day of the next.
    EXPECT_EQ(check(vessel("<NavSensor><TimeStamp value=\"2014-001 00:00:00\"/>\n"
                           "<TimeStamp value=\"2013-366 00:00:00\"/></NavSensor>"))
                  .findings,
              Findings({"3 warning time-text", "3 error entry-twice"}));
    EXPECT_EQ(
        check(vessel("<NavSensor>" + twice + "</NavSensor>\n<NavSensor>" + twice + "</NavSensor>")).findings,
        Findings({"4 error repeated"}));
    EXPECT_EQ(check(vessel("<NavSensor/>\n<NavSensor>" + twice + "</NavSensor>")).findings,
              Findings({"2 warning empty-list"}));
    EXPECT_EQ(check(entry("<Offsets X=\"1\"/>\n<offsets X=\"2\"/>")).findings,
              Findings({"5 error repeated"}));
    EXPECT_EQ(check(vessel("<VesselShape/>\n<VesselShape/>")).findings, Findings({"3 error repeated"}));
}

TEST(VesselCheck, NumbersAreHeldAgainstTheirWholeText) {
    for (const char* good : {"1", "-1.5", "+1.5", " 1.5 ", "1e-3", ".5"})
        EXPECT_EQ(check(entry(std::string("<Offsets X=\"") + good + "\"/>")).findings, Findings()) << good;
    for (const char* bad :
         {"", " ", "1,5", "1.5m", "abc", "0x10", "--1", "+-1", "nan", "inf", "1e999", "1 2"})
        EXPECT_EQ(check(entry(std::string("<Offsets X=\"") + bad + "\"/>")).findings,
                  Findings({"4 error number"}))
            << bad;
}

TEST(VesselCheck, FlagsAreThoseThatTheLoadKnows) {
    for (const char* good : {"Yes", "no", "TRUE", "false"})
        EXPECT_EQ(check(entry(std::string("<ApplyFlag value=\"") + good + "\"/>", "HeaveSensor")).findings,
                  Findings());
    for (const char* bad : {"", "1", "on", " yes"})
        EXPECT_EQ(check(entry(std::string("<ApplyFlag value=\"") + bad + "\"/>", "HeaveSensor")).findings,
                  Findings({"4 error flag"}));
    const auto fixed = [](const std::string& value) {
        return check(entry("<SensorClass value=\"Sweep\"/><TransducerEntries><Transducer Number=\"1\">"
                           "<TransducerFixed value=\"" +
                               value + "\"/></Transducer></TransducerEntries>",
                           "DepthSensor"))
            .findings;
    };
    EXPECT_EQ(fixed("Yes"), Findings());
    EXPECT_EQ(fixed("No"), Findings());
    EXPECT_EQ(fixed("yes"), Findings({"4 error flag"}));
}

TEST(VesselCheck, ATimeThatDoesNotDecodeEndsTheLoad) {
    for (const char* bad :
         {"", "2012-183 07:05:0", "2012/183 07:05:09", "2012-183T07:05:09", "2012-183 07.05:09",
          "2012-183 07:05.09", "1899-183 07:05:09", "3001-183 07:05:09", "2012-367 07:05:09",
          "2012--03 07:05:09", "2012-183 24:05:09", "2012-183 07:60:09", "2012-183 07:05:60",
          "abcd-183 07:05:09"}) {
        const Found found = check(vessel(std::string("<NavSensor>\n<TimeStamp value=\"") + bad +
                                         "\"/>\n<TimeStamp value=\"nothing\"/></NavSensor><Crew/>"));
        EXPECT_EQ(found.findings, Findings({"3 error time"})) << bad;
        EXPECT_NE(found.checked.refusal, "") << bad;
        EXPECT_EQ(found.checked.refusalLine, 3U) << bad;
    }
    EXPECT_EQ(check(vessel("<NavSensor>\n<TimeStamp/></NavSensor>")).findings, Findings({"3 error time"}));
    for (const char* good : {"1900-001 00:00:00", "3000-365 23:59:59", "2012-366 07:05:09"})
        EXPECT_EQ(
            check(vessel(std::string("<NavSensor><TimeStamp value=\"") + good + "\"/></NavSensor>")).findings,
            Findings())
            << good;
    for (const char* odd : {"2012-183 07:05:09.5", "2012-000 07:05:09", "2013-366 07:05:09",
                            "2012-1a3 07:05:09", "2012-xyz 07:05:09", "2012-183 07:05: 9"}) {
        const Found found =
            check(vessel(std::string("<NavSensor><TimeStamp value=\"") + odd + "\"/></NavSensor>"));
        EXPECT_EQ(found.findings, Findings({"2 warning time-text"})) << odd;
        EXPECT_EQ(found.checked.refusal, "") << odd;
    }
}

TEST(VesselCheck, EntriesAndRowsOutOfOrderAreWarnedOf) {
    EXPECT_EQ(check(vessel("<NavSensor><TimeStamp value=\"2012-183 07:05:09\"/>\n"
                           "<TimeStamp value=\"2011-183 07:05:09\"/></NavSensor>"))
                  .findings,
              Findings({"3 warning entry-order"}));
    EXPECT_EQ(
        check(
            entry("<Offsets><Gyro><Entry Azimuth=\"9\" Offset=\"1\"/>\n<Entry Azimuth=\"5\" Offset=\"1\"/>\n"
                  "<Entry Azimuth=\"5\" Offset=\"1\"/>\n<Entry Offset=\"1\"/></Gyro></Offsets>",
                  "GyroSensor"))
            .findings,
        Findings({"5 warning row-order", "6 warning row-twice", "7 error missing"}));
    EXPECT_EQ(check(entry("<DraftEntries><Entry Speed=\"9\" Draft=\"1\"/>\n<Entry Speed=\"5\" Draft=\"1\"/>\n"
                          "<Entry Speed=\"5\" Draft=\"1\"/>\n<Entry Speed=\"6\"/></DraftEntries>",
                          "DraftSensor"))
                  .findings,
              Findings({"5 warning row-order", "6 error row-twice", "7 error missing"}));
}

TEST(VesselCheck, RowsOfAnotherNameCountAsRows) {
    EXPECT_EQ(check(vessel("<NavSensor>\n<Stamp value=\"2012-183 07:05:09\"/></NavSensor>")).findings,
              Findings({"3 warning row-name"}));
    EXPECT_EQ(
        check(entry("<DraftEntries><Row Speed=\"9\" Draft=\"1\"/></DraftEntries>", "DraftSensor")).findings,
        Findings({"4 warning row-name"}));
}

Findings depth(const std::string& transducers, const std::string& sensorClass = "Swath") {
    return check(entry("<SensorClass value=\"" + sensorClass + "\"/><TransducerEntries>" + transducers +
                           "</TransducerEntries>",
                       "DepthSensor"))
        .findings;
}

TEST(VesselCheck, TransducersNeedNumbersOfTheirOwn) {
    EXPECT_EQ(depth("<Transducer Number=\"1\" StartBeam=\"1\"/><Transducer Number=\"2\"/>"), Findings());
    EXPECT_EQ(depth("<Transducer/>"), Findings({"4 error transducer-number"}));
    EXPECT_EQ(depth("<Transducer Number=\"0\"/>"), Findings({"4 error transducer-number"}));
    EXPECT_EQ(depth("<Transducer Number=\"one\"/>"), Findings({"4 error transducer-number"}));
    EXPECT_EQ(depth("<Transducer Number=\"4294967296\"/>"), Findings({"4 error transducer-number"}));
    EXPECT_EQ(depth("<Transducer Number=\"" + std::string(1000, '9') + "\"/>"),
              Findings({"4 error transducer-number"}));
    EXPECT_EQ(depth("<Transducer Number=\"1\" StartBeam=\"0\"/>"), Findings({"4 error start-beam"}));
    EXPECT_EQ(depth("<Transducer Number=\"1\"/>\n<Transducer Number=\"1\"/>"),
              Findings({"5 error transducer-twice"}));
    EXPECT_EQ(depth("<Transducer Number=\"1x\"/>"), Findings({"4 error number"}));
    EXPECT_EQ(depth("<!-- the first -->\n<Transducer Number=\"1\"/>"),
              Findings({"4 error transducer-number"}));
}

TEST(VesselCheck, TheClassOfADepthSensorIsOneOfTwo) {
    EXPECT_EQ(depth("", "Sweep"), Findings());
    EXPECT_EQ(depth("", "sweep"), Findings({"4 error sensor-class"}));
    EXPECT_EQ(depth("", "Multi"), Findings({"4 error sensor-class"}));
    EXPECT_EQ(check(entry("", "DepthSensor")).findings, Findings({"3 error sensor-class"}));
    EXPECT_EQ(depth("<Transducer Number=\"1\">\n<MRUAlignment Gyro=\"1\"/></Transducer>"),
              Findings({"5 warning not-in-force"}));
    EXPECT_EQ(depth("<Transducer Number=\"1\">\n<MRUAlignment Gyro=\"1\"/></Transducer>", "Sweep"),
              Findings());
    EXPECT_EQ(
        check(entry("<SensorClass value=\"Swath\"/>\n<TPEMRUToBoomOffset X=\"1\"/>", "DepthSensor")).findings,
        Findings({"5 warning not-in-force"}));
}

TEST(VesselCheck, ASecondHeadThatIsNoneIsWarnedOf) {
    const std::string offsets = "<Offsets X=\"1\" X2=\"2\"/>";
    EXPECT_EQ(check(entry(offsets, "SVPSensor")).findings, Findings({"4 warning not-in-force"}));
    EXPECT_EQ(check(entry(offsets + "<DualHead value=\"No\"/>", "SVPSensor")).findings,
              Findings({"4 warning not-in-force"}));
    EXPECT_EQ(check(entry(offsets + "<DualHead value=\"true\"/>", "SVPSensor")).findings, Findings());
}

TEST(VesselCheck, WhatTheLoadOfAShapePassesOverIsAnError) {
    const std::string plan = "<PlanCoordinates/>\n";
    const std::string profile = "<ProfileCoordinates/>\n";
    const std::string extent = "<RP Length=\"1\" Width=\"2\" Height=\"3\"/>\n";
    const auto shape = [](const std::string& content) {
        return check(vessel("<VesselShape>\n" + content + "</VesselShape>")).findings;
    };
    EXPECT_EQ(shape(plan + profile + extent), Findings());
    EXPECT_EQ(shape(""), Findings());
    EXPECT_EQ(shape(profile + extent), Findings({"3 error passed-over", "4 error passed-over"}));
    EXPECT_EQ(shape(plan + extent), Findings({"4 error passed-over"}));
    EXPECT_EQ(shape(plan + profile + "<RP Length=\"1\"/>\n" + extent), Findings({"5 error passed-over"}));
    EXPECT_EQ(shape(plan + profile + extent + extent), Findings({"6 error repeated"}));
    // The extent is known by its attributes.
    EXPECT_EQ(shape(plan + profile + "<Hull Length=\"1\" Width=\"2\" Height=\"3\"/>"), Findings());
    EXPECT_EQ(shape("<PlanCoordinates><Entry X=\"1\"/></PlanCoordinates>" + profile),
              Findings({"3 error missing"}));
}

TEST(VesselCheck, LinesBeyondSixteenBitsAreTold) {
    EXPECT_EQ(check(vessel(std::string(70000, '\n') + "<Crew/>\n<Deck/>")).findings,
              Findings({"70002 warning unknown-element", "70003 warning unknown-element"}));
}

TEST(VesselCheck, LongTextsOfTheFileAreCutInFindings) {
    const Found found = check(entry("<Offsets X=\"" + std::string(5000, 'x') + "\"/>"));
    ASSERT_EQ(found.texts.size(), 1U);
    EXPECT_LT(found.texts[0].size(), 200U);
    EXPECT_NE(found.texts[0].find("5000 bytes"), std::string::npos);
}

struct Hostile {
    const char* name;
    std::string xml;
};

void PrintTo(const Hostile& hostile, std::ostream* out) {
    *out << hostile.name;
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

std::string bomb(const std::string& where) {
    std::string entities = "<!ENTITY e0 \"" + std::string(50, 'a') + "\">";
    for (int i = 1; i < 10; ++i) {
        entities += "<!ENTITY e" + std::to_string(i) + " \"" +
                    repeated("&e" + std::to_string(i - 1) + ";", 10) + "\">";
    }
    return "<!DOCTYPE r [" + entities + "]>" + where;
}

class HostileVessels : public testing::TestWithParam<Hostile> {};

TEST_P(HostileVessels, EndInAnError) {
    const tests::ProcessorTime spent;
    const Found found = check(GetParam().xml);
    EXPECT_LT(spent.seconds(), tests::hostileLimit);
    ASSERT_EQ(found.findings.size(), 1U);
    EXPECT_NE(found.findings[0].find(" error "), std::string::npos) << found.findings[0];
    EXPECT_LT(found.texts.at(0).size(), 200U);
    EXPECT_EQ(found.texts.at(0).find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    All, HostileVessels,
    testing::Values(
        Hostile{"Nesting", vessel(repeated("<a>", 100'000) + repeated("</a>", 100'000))},
        Hostile{"OpenNesting", vessel(repeated("<NavSensor>", 100'000))},
        Hostile{"HugeAttribute", "<SKARVesselConfig Version=\"" + std::string(10'000'001, '2') + "\"/>"},
        Hostile{"BombInElement", bomb(vessel("<NavSensor>&e9;</NavSensor>"))},
        Hostile{"BombInAttribute", bomb(entry("<Comment value=\"&e9;\"/>"))},
        Hostile{"ExternalEntity", "<!DOCTYPE r [<!ENTITY x SYSTEM \"file:///etc/hostname\">]>" +
                                      vessel("<NavSensor>&x;</NavSensor>")},
        Hostile{"Null", vessel(std::string("<a\0/>", 5))}, Hostile{"NullFirst", std::string(100, '\0')},
        Hostile{"BadUtf8", entry("<Comment value=\"\xFF\xFE\"/>")},
        Hostile{"CutUtf8", entry("<Comment value=\"\xE2\x82\"/>")}, Hostile{"Cut", vessel("").substr(0, 20)},
        Hostile{"MarkupAsText", vessel("&lt;NavSensor&gt; &amp;") + "<"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(VesselCheck, ManyFindingsAreCountedAndListedUpToALimit) {
    const std::string crowd = vessel(repeated("<Crew/>", 20'000));
    Report report(10);
    const tests::ProcessorTime spent;
    tool::vessel::checkVessel(tool::vessel::parseVessel(crowd), report);
    EXPECT_LT(spent.seconds(), tests::hostileLimit);
    EXPECT_EQ(report.findings().size(), 10U);
    EXPECT_EQ(report.warnings(), 20'000U);
}

TEST(VesselCheck, AnExternalDocumentTypeIsNotFetched) {
    EXPECT_EQ(check("<!DOCTYPE SKARVesselConfig SYSTEM \"file:///etc/hostname\">" + vessel("")).findings,
              Findings());
}

} // namespace

} // namespace skar::test
