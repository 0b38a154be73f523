#include "raw_bytes.h"
#include "shell.h"
#include "support/realdata.h"

#include <cstdlib>
#include <fstream>

namespace skar::test {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t tenOClock = 36'000'000;
constexpr std::uint32_t none = 0xFFFFFFFF;

class ImportedAttributes : public ToolTest {
protected:
    std::string raw(const std::string& name, RawBytes bytes) {
        std::ofstream stream(folder / name, std::ios::binary);
        stream.write(reinterpret_cast<const char*>(bytes.bytes().data()),
                     static_cast<std::streamsize>(bytes.size()));
        return (folder / name).string();
    }
    std::string raw(const std::string& name, const std::string& text) {
        RawBytes bytes;
        return raw(name, bytes.text(text));
    }
    Outcome importInto(const std::string& arguments) {
        return runSkar("import --line " + line.string() + " " + arguments);
    }
    // The header of a dump, then its records.
    std::vector<Json> dump(const std::string& name) {
        const Outcome outcome = runSkar("dump --json " + line.string() + " " + name);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        std::vector<Json> rows;
        for (const std::string& text : outcome.lines())
            rows.push_back(Json::parse(text));
        return rows;
    }
};

// A ping of one beam.
RawBytes ping(std::uint32_t milliseconds) {
    RawBytes content;
    content.u16(9000).u16(15000).u32(0).u16(1).u16(1).u32(0).zeros(4);
    content.u32(0x41200000).u32(0).u32(0).zeros(8); // 10 m below
    return datagram('X', someDate, milliseconds, content.zeros(1));
}

TEST_F(ImportedAttributes, AnIndexHasTheProfilesThatTheLineHas) {
    RawBytes later = position(tenOClock + 5000, 20'000'000, 0);
    later.add(ping(tenOClock + 6000)).add(ping(tenOClock + 5500));
    RawBytes earlier = ping(tenOClock);
    earlier.add(attitude(tenOClock, {{0}}));
    const Outcome outcome =
        importInto("--json " + raw("later.all", later) + " " + raw("earlier.all", earlier));
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Json files = outcome.json()["attributeFiles"];
    ASSERT_EQ(files.size(), 3U) << files;
    EXPECT_EQ(files[0]["file"], "RawDataIndex");
    EXPECT_EQ(files[0]["of"], Json::array({"later.all"}));
    EXPECT_EQ(files[0]["records"], 3);
    EXPECT_EQ(files[0]["firstUtc"], "2014-02-19T10:00:05.000Z");
    EXPECT_EQ(files[0]["lastUtc"], "2014-02-19T10:00:06.000Z");
    EXPECT_EQ(files[1]["file"], "RawDataIndex2");
    EXPECT_EQ(files[2]["file"], "RMS");

    const std::vector<Json> first = dump("RawDataIndex");
    ASSERT_EQ(first.size(), 4U);
    EXPECT_EQ(first[0]["header"]["summary"][0]["value"], 1) << "the kind of raw file";
    EXPECT_EQ(first[1]["values"]["SKARProfileNumber"], none);
    EXPECT_EQ(first[2]["values"]["SKARProfileNumber"], 3) << "behind the ping of the earlier file";
    EXPECT_EQ(first[3]["values"]["SKARProfileNumber"], 2);
    EXPECT_EQ(first[3]["values"]["RecordType"], 'X');
    EXPECT_EQ(first[3]["values"]["RecordByteOffset"], position(0, 0, 0).size() + ping(0).size());
    EXPECT_EQ(first[3]["values"]["RecordLength"], ping(0).size());
    // 12468 days, 10 hours and 16 leap seconds after the start of 1980.
    EXPECT_EQ(first[3]["values"]["SKARTimestamp"], 12468 * 86400.0 + 36000.0 + 16.0 + 5.5);
    EXPECT_EQ(dump("RawDataIndex2")[1]["values"]["SKARProfileNumber"], 1);
    const Outcome info = runSkar("info --json " + line.string());
    EXPECT_EQ(info.json()["attributeFiles"][2]["source"], "earlier.all");
    EXPECT_EQ(runSkar("check " + line.string()).status, 0);
}

TEST_F(ImportedAttributes, WithoutPingsInTheLineThereAreNoProfiles) {
    ASSERT_EQ(importInto("--sensors RawDataIndex " + raw("a.all", ping(tenOClock))).status, 0);
    EXPECT_EQ(dump("RawDataIndex")[1]["values"]["SKARProfileNumber"], none);
    EXPECT_FALSE(fs::exists(line / "ObservedDepths"));
    EXPECT_FALSE(fs::exists(line / "RMS"));
}

TEST_F(ImportedAttributes, TheFigureOfAPositionIsItsErrorNorthAndEast) {
    RawBytes file = position(tenOClock, 20'000'000, 0, 0x81, 150);
    file.add(position(tenOClock + 1000, 20'000'000, 0, 0x81, 25));
    const Outcome outcome = importInto(raw("a.all", file));
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("error both north and east"), std::string::npos) << outcome.out;
    const std::vector<Json> rows = dump("RMS");
    ASSERT_EQ(rows.size(), 3U);
    const Json flags = rows[0]["header"]["summary"];
    for (const Json& flag : flags)
        EXPECT_EQ(flag["value"], flag["name"] == "POSITION_SET") << flag;
    EXPECT_EQ(rows[1]["utc"], "2014-02-19T10:00:00.000Z");
    EXPECT_EQ(rows[1]["values"]["N_RMS"], 1.5);
    EXPECT_EQ(rows[1]["values"]["E_RMS"], 1.5);
    EXPECT_EQ(rows[1]["values"]["ROLL_RMS"], Json()) << "not stated";
    EXPECT_EQ(rows[2]["values"]["N_RMS"], 0.25);
}

TEST_F(ImportedAttributes, AreNotWrittenOverUnlessForced) {
    const std::string first = raw("a.all", position(tenOClock, 20'000'000, 0));
    const std::string second =
        raw("b.all", position(tenOClock, 20'000'000, 0).add(attitude(tenOClock, {{0}})));
    ASSERT_EQ(importInto("--sensors RawDataIndex " + first).status, 0);
    const Outcome refused = importInto(second);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("RawDataIndex: is there already; --force"), std::string::npos) << refused.err;
    EXPECT_FALSE(fs::exists(line / "Navigation")) << "nothing is written then";
    EXPECT_EQ(importInto("--force " + second).status, 0);
    EXPECT_EQ(dump("RawDataIndex").size(), 3U);
}

TEST_F(ImportedAttributes, AloneTheyMakeNoLineUnlessTheyAreAskedFor) {
    const std::string file = raw("a.all", datagram('O', someDate, tenOClock, RawBytes().zeros(20)));
    const Outcome refused = importInto(file);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("no records"), std::string::npos) << refused.err;
    EXPECT_FALSE(fs::exists(line));
    EXPECT_EQ(importInto("--sensors RawDataIndex " + file).status, 0);
    EXPECT_EQ(dump("RawDataIndex").size(), 2U);
    EXPECT_EQ(importInto("--force --sensors RMS " + file).status, 1) << "it states none";
}

TEST_F(ImportedAttributes, OfSeveralFilesTheErrorsFollowEachOther) {
    const auto gst = [](const std::string& time) {
        return sentence("GPZDA," + time + ",19,02,2014,00,00") +
               sentence("GPGST," + time + ",1.2,0.9,0.5,40.0,0.5,0.75,1.9");
    };
    const std::string files =
        raw("b.log", gst("100005.00")) + " " + raw("a.all", position(tenOClock, 20'000'000, 0));
    ASSERT_EQ(importInto(files).status, 0);
    const std::vector<Json> rows = dump("RMS");
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[1]["values"]["E_RMS"], 1.5);
    EXPECT_EQ(rows[2]["values"]["E_RMS"], 0.75);
    const Json info = runSkar("info --json " + line.string()).json();
    EXPECT_EQ(info["attributeFiles"][0]["source"], "a.all, b.log");
}

// The comparison itself is that of independent_index.py; what it prints says how much there was to compare.
struct IndexedFile {
    const char* name;
    const char* compared;
};

constexpr IndexedFile indexedFiles[] = {
    {"all/0001_20140213_052736_Yolla.all", "699 records, 699 with a time, 549 profiles, 9 errors"},
    {"all/0200_MBES_EM122_20150203_010431_Supporter_GA4430.all",
     "223 records, 223 with a time, 0 profiles, 60 errors"},
    {"all/0243_P007_MBES_EM122_20150207_044356_Supporter_GA4430.all",
     "1318 records, 1318 with a time, 34 profiles, 387 errors"},
    {"all-mpl/0077_20221109_123655_Belgica.all", "141 records, 141 with a time, 28 profiles, 4 errors"},
    {"all-mpl/0077_20221109_123655_Belgica.wcd", "38 records, 38 with a time, 0 profiles, 4 errors"},
    {"all-mpl/EM710_3092155654265012286.all", "68 records, 68 with a time, 30 profiles, 2 errors"},
    {"all-mpl/EM710_7041029013895133878.all", "116 records, 116 with a time, 30 profiles, 5 errors"},
    {"gsf/0059_20181102_212138_EX1811_MB_EM302.gsf.mb121", "73748 records, 73746 with a time, 50 profiles"},
    {"xtf/000_1236.xtf", "1446 records, 1446 with a time, 1446 profiles"},
    {"xtf/Demowreck.xtf", "4702 records, 4702 with a time, 1033 profiles"},
    {"xtf/0009_150708_R2Testing_0001.xtf", "3330 records, 3330 with a time, 0 profiles"},
    {"nmea/bundg_zeus_9.log", "4999 records, 4985 with a time, 0 profiles"},
    {"nmea/humminbird-M37.log", "98 records, 97 with a time, 0 profiles"},
    {"nmea/hemi.log", "753 records, 750 with a time, 0 profiles"},
    {"nmea/rst39.log", "152 records, 152 with a time, 0 profiles, 100 errors"},
    {"nmea/saab-r4.log", "122 records, 119 with a time, 0 profiles"},
    {"log/2022.05.30_201358_gnss.txt", "3601 records, 3601 with a time, 0 profiles"},
};

class RealIndexes : public ToolTest, public testing::WithParamInterface<IndexedFile> {};

TEST_P(RealIndexes, AreThoseThatAnIndependentReaderFinds) {
    expectIndependentReaderAgrees("independent_index.py", GetParam().name, GetParam().compared, true);
}

INSTANTIATE_TEST_SUITE_P(All, RealIndexes, testing::ValuesIn(indexedFiles), skar::tests::namedAfterFile);

} // namespace

} // namespace skar::test
