#include "shell.h"

#include <algorithm>
#include <cstdlib>

using namespace skar::test;

namespace {

// Lines whose bytes and meanings were worked out apart from the library.
class SkarOfPings : public ToolTest {
protected:
    void take(const std::string& golden) {
        std::filesystem::remove_all(line);
        std::filesystem::create_directories(line);
        writeGolden(golden, line);
    }
    std::vector<std::string> dump(const std::string& arguments) {
        const Outcome outcome = runSkar("dump " + line.string() + " " + arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome.lines();
    }
    // The rows, without the column of UTC, number by number; angles and lengths are read to a billionth.
    void expectRows(const std::string& arguments, const std::vector<std::string>& wanted) {
        SCOPED_TRACE(arguments);
        const std::vector<std::string> rows = dump(arguments + " --no-header");
        ASSERT_EQ(rows.size(), wanted.size());
        const bool items = arguments.find("--pings") == std::string::npos;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            std::vector<std::string> cells = split(rows[i], ',');
            ASSERT_GT(cells.size(), 3U);
            cells.erase(cells.begin() + (items ? 3 : 2));
            const std::vector<std::string> values = split(wanted[i], ',');
            ASSERT_EQ(cells.size(), values.size()) << rows[i];
            for (std::size_t c = 0; c < cells.size(); ++c) {
                EXPECT_EQ(cells[c].empty(), values[c].empty()) << rows[i];
                const double number = std::strtod(values[c].c_str(), nullptr);
                EXPECT_NEAR(std::strtod(cells[c].c_str(), nullptr), number, number > 1e9 ? 1e-6 : 1e-10)
                    << rows[i] << ", number " << c;
            }
        }
    }
    std::string columns(const std::string& arguments) {
        const std::vector<std::string> lines = dump(arguments);
        const auto header =
            std::find_if(lines.begin(), lines.end(), [](const std::string& l) { return l[0] != '#'; });
        return header == lines.end() ? "" : *header;
    }
    Json sensor(const std::string& options = "") {
        const Outcome outcome = runSkar("info --json " + options + " " + line.string());
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const Json json = outcome.json();
        EXPECT_EQ(json["sensors"].size(), 1U);
        EXPECT_TRUE(json["otherFiles"].empty());
        return json["sensors"][0];
    }
};

void expectExtent(const Json& json, const char* quantity, double min, double max) {
    EXPECT_EQ(json["quantity"], quantity);
    EXPECT_NEAR(json["min"].get<double>(), min, 1e-8) << quantity;
    EXPECT_NEAR(json["max"].get<double>(), max, 1e-8) << quantity;
}

TEST_F(SkarOfPings, ObservedDepthsOfTheFirstVersionHaveWholeStatusesAndAnExtra) {
    take("observed_depths_1");
    EXPECT_EQ(columns("ObservedDepths"), "ping,beam,time,utc,y,x,z,extra,status");
    expectRows("ObservedDepths",
               {"1,1,1051920000.25,-12.346,0,45.679,1.5,2147488308",
                "1,2,1051920000.375,0.001,-0.001,-45.679,-2.25,65536",
                "1,3,1051920000.2,2147483.647,-2147483.648,2000000,2147483.647,4294906420",
                "2,1,1051920033.75,1,2,3,0,66584576", "2,2,1051919967.75,-1,-2,-3.25,0.125,0",
                "3,1,1051920122.83,7,8,9.999,0,4093116416"});
    expectRows("ObservedDepths --pings",
               {"1,1051920000.25,1,3,0.8765432,-1.2345679,2147483649", "2,1051920000.75,1,2,-0.5,0,0",
                "3,1051920090.063,1,1,1.5707963,3.1415927,7"});
}

TEST_F(SkarOfPings, ObservedDepthsOfTheSecondVersionNumberBeamsFromTheirFirst) {
    take("observed_depths_2");
    expectRows("ObservedDepths", {"1,1,1051920000.25,-12.346,0,45.679,,2147483648",
                                  "1,2,1051920000.375,0.001,-0.001,-45.679,,65536",
                                  "1,3,1051920000.2,2147483.647,-2147483.648,2000000,,4294901760",
                                  "2,2,1051919968.214,1,2,3,,66584576", "2,3,1051920033.286,-1,-2,-3.25,,0",
                                  "3,1,1051920122.83,7,8,9.999,,4093116416"});
    EXPECT_EQ(columns("ObservedDepths --pings"), "ping,time,utc,first_beam,beams,latitude,longitude,status");
    expectRows("ObservedDepths --pings",
               {"1,1051920000.25,1,3,0.8765432,-1.2345679,2147483649", "2,1051920000.75,2,2,-0.5,0,0",
                "3,1051920090.063,1,1,1.5707963,3.1415927,7"});
}

TEST_F(SkarOfPings, PingsAndBeamsArePicked) {
    take("observed_depths_2");
    const auto picked = [&](const std::string& options) {
        std::vector<std::string> names;
        for (const std::string& row : dump("ObservedDepths --no-header " + options))
            names.push_back(row.substr(0, 3));
        return names;
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(picked("--ping 2"), (Names{"2,2", "2,3"}));
    EXPECT_EQ(picked("--ping 2-3"), (Names{"2,2", "2,3", "3,1"}));
    EXPECT_EQ(picked("--ping 2-"), (Names{"2,2", "2,3", "3,1"}));
    EXPECT_EQ(picked("--beam 2"), (Names{"1,2", "2,2"}));
    EXPECT_EQ(picked("--beam 2-3 --ping 1"), (Names{"1,2", "1,3"}));
    EXPECT_EQ(picked("--first 2 --count 1"), (Names{"2,2", "2,3"}));
    EXPECT_EQ(picked("--pings --ping 3"), (Names{"3,1"}));
    EXPECT_EQ(picked("--beam 9"), Names{});
}

TEST_F(SkarOfPings, WhatIsNoPingOrBeamIsRefused) {
    take("observed_depths_2");
    const auto refused = [&](const std::string& options, int status) {
        const Outcome outcome = runSkar("dump " + line.string() + " ObservedDepths " + options);
        EXPECT_EQ(outcome.status, status) << options;
        EXPECT_EQ(outcome.out, "") << options;
        return outcome.err;
    };
    EXPECT_EQ(refused("--ping 4", 1), "skar: ObservedDepths: has 3 pings, not 4\n");
    for (const char* const range : {"x", "3-2", "1-x", "1,2", "-", "99999999999"}) {
        EXPECT_NE(refused(std::string("--ping=") + range, 2).find("not a number or a range"),
                  std::string::npos)
            << range;
    }
    take("ssp");
    const Outcome outcome = runSkar("dump " + line.string() + " SSP --beam 1");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "skar: SSP: has no pings; --first and --count pick its records\n");
}

TEST_F(SkarOfPings, JsonNamesPingAndBeam) {
    take("observed_depths_2");
    const std::vector<std::string> lines = dump("ObservedDepths --json --ping 1 --beam 2");
    ASSERT_EQ(lines.size(), 2U);
    const Json header = Json::parse(lines[0])["header"];
    EXPECT_EQ(header["pings"], 3);
    EXPECT_EQ(header["beams"], 6);
    EXPECT_EQ(header["quantities"][0]["convention"], "across track, to starboard positive");
    EXPECT_EQ(Json::parse(lines[1]), (Json{{"ping", 1},
                                           {"beam", 2},
                                           {"time", 1051920000.375},
                                           {"utc", "2013-05-01T23:59:44.375Z"},
                                           {"y", 0.001},
                                           {"x", -0.001},
                                           {"z", -45.679},
                                           {"extra", nullptr},
                                           {"status", 65536}}));
    EXPECT_EQ(Json::parse(dump("ObservedDepths --json --pings --no-header --ping 2").at(0)),
              (Json{{"ping", 2},
                    {"time", 1051920000.75},
                    {"utc", "2013-05-01T23:59:44.750Z"},
                    {"first_beam", 2},
                    {"beams", 2},
                    {"latitude", -0.5},
                    {"longitude", 0.0},
                    {"status", 0}}));
}

TEST_F(SkarOfPings, ProcessedDepthsOfTheFirstVersionShowTheOldAnglesAndLengths) {
    take("processed_depths_1");
    EXPECT_EQ(columns("ProcessedDepths"), "ping,beam,time,utc,depth,latitude,longitude,y,x,extra,status");
    expectRows("ProcessedDepths --ping 1",
               {"1,1,1051920000.25,45.679,0.876543214,-1.234567893,-12.346,0,1.5,2147488308",
                "1,2,1051920000.375,-45.679,0.876543802,-1.234567002,0.001,-0.001,-2.25,65536",
                "1,3,1051919999.8,2000000,0.876000001,-1.234000101,2147483.647,-2147483.648,2147483.647,"
                "4294709812"});
    expectRows("ProcessedDepths --pings --ping 1",
               {"1,1051920000.25,1,3,0.876543214,-1.234567893,0.876543214,0.876543214,-1.234567893,"
                "-1.234567893,0.1,1.25,-0.2,0.3000001,-4.568,2147483.647,3.1415927,-1e-07,2147483649"});
}

TEST_F(SkarOfPings, ProcessedDepthsOfTheSecondVersionShowTheBoundsOfAPing) {
    take("processed_depths_2");
    expectRows("ProcessedDepths",
               {"1,1,1051920000.25,45.679,0.876543212,-1.234567892,-12.346,0,1.5,2147488308",
                "1,2,1051920000.376,-45.679,0.876543795,-1.234567001,0.001,-0.001,-2.25,65536",
                "1,3,1051919999.8,2000000,0.875999999,-1.234000105,2147483.647,-2147483.648,2147483.647,"
                "4294709812",
                "2,1,1051920033.75,3,0.876543699,-1.234567101,1,2,0,3932160",
                "2,2,1051920000.5,-3.25,0.876543501,-1.234567398,-1,-2,0.125,0",
                "4,1,1051920090.1245,9.999,0.900000495,-1.200000495,7,8,10,4282122240"});
    expectRows("ProcessedDepths --pings --ping 1-2",
               {"1,1051920000.25,1,3,0.876543212,-1.234567892,0.8765,0.8766,-1.2346,-1.2345,0.1,1.25,-0.2,"
                "0.3000001,-4.568,2147483.647,3.1415927,-1e-07,2147483649",
                "2,1051920000.75,1,2,0.8765436,-1.2345672,0.87,0.88,-1.24,-1.23,0,0,0,0,12.125,0,0,0,0"});
}

TEST_F(SkarOfPings, ProcessedDepthsOfTheThirdVersionLeaveOutWhatTheyNoLongerHold) {
    take("processed_depths_3");
    expectRows("ProcessedDepths", {"1,1,1051920000.25,45.679,0.876543212,-1.234567891,,,,2147483648",
                                   "1,2,1051920000.375,-45.679,0.8765438,-1.234567,,,,65536",
                                   "1,3,1051919999.8,2000000,0.876,-1.2340001,,,,4294705152",
                                   "2,4,1051919968.214,3,0.8765437,-1.2345671,,,,3932160",
                                   "2,5,1051920000.5,-3.25,0.8765435,-1.2345674,,,,0",
                                   "4,1,1051920090.126,9.999,0.9000005,-1.2000005,,,,4282122240"});
    expectRows("ProcessedDepths --pings --ping 3-",
               {"3,1051920001,2,0,0.8765441,-1.2345665,0.8,0.9,-1.3,-1.2,,,,,-0.001,,,,9",
                "4,1051920090.063,1,1,0.9,-1.2,0.9,0.9,-1.2,-1.2,,,,,5,,,,7"});
    EXPECT_TRUE(dump("ProcessedDepths --no-header --ping 3").empty()) << "a ping without beams";
}

TEST_F(SkarOfPings, RangesShowTravelAndAngles) {
    take("slant_range");
    EXPECT_EQ(columns("SLRange"), "ping,beam,time,utc,range,travel,angle1,angle2,status");
    expectRows("SLRange",
               {"1,1,1000000000.35,12.346,0.000001,0.5,-0.0001,65536",
                "1,2,1000000000,-0.001,-0.000001,-3.2768,3.2536,4294901760",
                "1,3,999999967.714,2147483.647,1.5,0,0.1235,0",
                "2,20,1000000001.5,-2147483.648,0.25,-1.5,1.5,524288", "2,21,1000000001.501,50,0,0,0,0"});
    expectRows("SLRange --pings", {"1,1000000000.25,1,3,0.7853982,-1.25,2147483649",
                                   "2,1000000001.5,20,2,0,3.1415927,0", "3,1000000002,1,0,-0.5,0.5,7"});
}

TEST_F(SkarOfPings, UncertaintiesShowTheTagOfThePing) {
    take("tpe");
    expectRows("TPE", {"1,1,1000000000.35,0.001,-0.001,65536", "1,2,1000000000,12.5,0,4294901760",
                       "2,20,999999968.964,-3,2.25,524288", "2,21,1000000001.501,0.25,-2147483.546,0",
                       "2,22,1000000001.502,0,0,0", "3,3,1000000002,0.5,-0.5,536870912"});
    EXPECT_EQ(columns("TPE --pings"), "ping,time,utc,first_beam,beams,tag,status");
    expectRows("TPE --pings", {"1,1000000000.25,1,2,3735928559,2147483649", "2,1000000001.5,20,3,0,0",
                               "3,1000000002,3,1,1,7"});
}

TEST_F(SkarOfPings, InfoCountsPingsAndBeams) {
    struct Line {
        const char* golden;
        const char* sensor;
        int version, pings, beams;
        unsigned status;
    };
    for (const Line& known :
         {Line{"observed_depths_1", "ObservedDepths", 1, 3, 6, 5},
          Line{"observed_depths_2", "ObservedDepths", 2, 3, 6, 5},
          Line{"processed_depths_1", "ProcessedDepths", 1, 4, 6, 0x80000003},
          Line{"processed_depths_2", "ProcessedDepths", 2, 4, 6, 0x80000003},
          Line{"processed_depths_3", "ProcessedDepths", 3, 4, 6, 0x80000003},
          Line{"slant_range", "SLRange", 2, 3, 5, 0x55}, Line{"tpe", "TPE", 1, 3, 6, 0x66}}) {
        SCOPED_TRACE(known.golden);
        take(known.golden);
        const Json json = sensor();
        EXPECT_EQ(json["sensor"], known.sensor);
        EXPECT_EQ(json["version"], known.version);
        EXPECT_EQ(json["records"], known.pings);
        EXPECT_EQ(json["beams"], known.beams);
        EXPECT_EQ(json["status"], known.status);
        EXPECT_EQ(json["segments"].size(), 2U);
        const std::string text = runSkar("info " + line.string()).out;
        EXPECT_NE(text.find(std::to_string(known.beams) + " beams"), std::string::npos) << text;
        EXPECT_NE(text.find("Settings"), std::string::npos) << text;
    }
}

TEST_F(SkarOfPings, InfoShowsExtentsAndSettings) {
    take("observed_depths_2");
    Json json = sensor();
    EXPECT_EQ(json["settings"], (Json{{"toolType", 17}}));
    expectExtent(json["extents"][0], "depth", -45.679, 2000000);
    EXPECT_EQ(json["time"]["minUtc"], "2013-05-01T23:59:11.750Z");
    EXPECT_EQ(json["segments"][1]["source"], "Übung €.raw");

    take("processed_depths_3");
    json = sensor();
    EXPECT_EQ(json["settings"], (Json{{"toolType", 17}, {"summaryExtra", 5}}));
    expectExtent(json["extents"][1], "latitude", 0.876, 0.9000005);
    expectExtent(json["extents"][2], "longitude", -1.234567891, -1.2);
    ASSERT_EQ(json["segments"][0]["extents"].size(), 3U);
    expectExtent(json["segments"][0]["extents"][1], "latitude", 0.876, 0.8765441);

    take("tpe");
    json = sensor();
    EXPECT_EQ(json["settings"], (Json{{"toolType1", 3}, {"toolType2", 4}}));
    expectExtent(json["extents"][0], "tpe1", -3, 12.5);
    EXPECT_TRUE(json["segments"][0]["extents"].empty());
}

TEST_F(SkarOfPings, FullInfoReadsEveryBeam) {
    take("observed_depths_2");
    const Json read = sensor("--full")["read"];
    EXPECT_EQ(read["statusNotZero"], 2);
    EXPECT_EQ(read["itemStatusNotZero"], 5);
    ASSERT_EQ(read["extents"].size(), 5U) << "files of this version have no extra";
    expectExtent(read["extents"][0], "latitude", -0.5, 1.5707963);
    EXPECT_EQ(read["extents"][0]["of"], "ping");
    expectExtent(read["extents"][4], "z", -45.679, 2000000);
    EXPECT_EQ(read["extents"][4]["of"], "beam");
}

TEST_F(SkarOfPings, ABeamThatIsCutOffEndsWithItsPing) {
    take("observed_depths_2");
    std::vector<std::uint8_t> bytes = bytesOf(line / "ObservedDepths");
    bytes.resize(bytes.size() - 4);
    writeBytes(line / "ObservedDepths", bytes);
    const Outcome outcome = runSkar("dump --no-header " + line.string() + " ObservedDepths");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.lines().size(), 5U) << "what could be read is printed";
    EXPECT_NE(outcome.err.find("reading in ping 3 failed"), std::string::npos) << outcome.err;
}

TEST_F(SkarOfPings, SpeedsOfSound) {
    take("ssp");
    EXPECT_EQ(dump("SSP --no-header"),
              (std::vector<std::string>{"1,1000000012.345,2011-09-09T01:46:37.345Z,1500.2,0,1",
                                        "2,1000000013.5,2011-09-09T01:46:38.500Z,1499,6552.6,2147483648",
                                        "3,999999929.999,2011-09-09T01:45:14.999Z,6553.5,0,4294967295"}));
    const Json json = sensor("--full");
    EXPECT_EQ(json["records"], 3);
    EXPECT_FALSE(json.contains("beams"));
    expectExtent(json["extents"][0], "value1", 1499, 6553.5);
    EXPECT_EQ(json["read"]["timesGoingBack"], 1);
    EXPECT_EQ(json["segments"][1]["source"], "Übung.ssp");
}

TEST_F(SkarOfPings, MarksShowTheirText) {
    take("event_marks");
    const std::vector<std::string> rows = dump("EventMark --no-header");
    ASSERT_EQ(rows.size(), 5U);
    EXPECT_EQ(rows[0], "1,1000000000.001,2011-09-09T01:46:25.001Z,7,\"start of line, buoy to port\",1");
    EXPECT_EQ(rows[2], "3,1000000002,2011-09-09T01:46:27.000Z,4294967295,\"Größe 5 →\",3");
    EXPECT_EQ(rows[3], "4,1000000003,2011-09-09T01:46:28.000Z,0,\"\",4");
    EXPECT_EQ(Json::parse(dump("EventMark --json --no-header").at(1)),
              (Json{{"record", 2},
                    {"time", 1000000001.0},
                    {"utc", "2011-09-09T01:46:26.000Z"},
                    {"number", 8.0},
                    {"text", "wreck"},
                    {"status", 2}}));
    const Json json = sensor("--full");
    EXPECT_EQ(json["records"], 5);
    EXPECT_EQ(json["read"]["extents"].size(), 1U) << "a text has no extent";
}

TEST_F(SkarOfPings, AQuoteInATextIsDoubledAndControlCharactersAreSpeltOut) {
    take("event_marks");
    std::vector<std::uint8_t> bytes = bytesOf(line / "EventMark");
    bytes.at(144) = '"';
    bytes.at(145) = 0x1B;
    writeBytes(line / "EventMark", bytes);
    EXPECT_EQ(dump("EventMark --no-header").at(1),
              "2,1000000001,2011-09-09T01:46:26.000Z,8,\"\"\"\\x1Beck\",2");
}

TEST_F(SkarOfPings, SettingsOfASonar) {
    take("sensor_parameters_reson8100");
    const std::vector<std::string> rows = dump("SensorParameters --no-header");
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0],
              "1,1000000030.5,2011-09-09T01:46:55.500Z,1001,1002,1003,1004,1005,1.23,1007,1008,1009,1010,"
              "1011,1012,1013,1014,1015,-1.23,0,1018,1019,2.5,99.99,0,1234567.89,1024,1025,21");
    EXPECT_EQ(split(rows[2], ',').at(3), "4294967294");
    EXPECT_EQ(split(rows[2], ',').back(), "23");
    EXPECT_EQ(sensor()["settings"], (Json{{"sonarType", 1}, {"sonarVersion", 1}}));
}

TEST_F(SkarOfPings, ASonarWhoseSettingsAreUnknownHasNoValues) {
    take("sensor_parameters_other_sonar");
    EXPECT_EQ(dump("SensorParameters --no-header").at(2), "3," + std::string(27, ',') + "0");
    const Json json = sensor("--full");
    EXPECT_EQ(json["settings"], (Json{{"sonarType", 2}, {"sonarVersion", 0}}));
    EXPECT_FALSE(json.contains("read"));
    EXPECT_EQ(runSkar("info --full " + line.string()).out.find("inf "), std::string::npos);
}

} // namespace
