#include "shell.h"

#include <algorithm>

namespace skar::test {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t teld = 0x54454C44;
// 2024-06-01T08:00:00Z is 16 s into this minute.
constexpr std::uint32_t referenceMinute = 23361600;
constexpr std::uint32_t t = 16000;
constexpr std::uint32_t twoBytes = 1U << 30U;

class Bytes {
public:
    Bytes& words(const std::vector<std::uint32_t>& values) {
        for (const std::uint32_t value : values) {
            for (const unsigned shift : {24U, 16U, 8U, 0U})
                bytes.push_back(static_cast<std::uint8_t>(value >> shift));
        }
        return *this;
    }
    Bytes& raw(const std::vector<std::uint8_t>& values) {
        bytes.insert(bytes.end(), values.begin(), values.end());
        return *this;
    }
    void setWord(std::size_t offset, std::uint32_t value) {
        for (unsigned i = 0; i < 4; ++i)
            bytes[offset + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    }
    std::vector<std::uint8_t> bytes;
};

class Imagery : public ToolTest {
protected:
    // A set of two records at t and t + 100 ms, the second one at that offset.
    void store(const std::string& name, std::uint32_t type, const Bytes& data, std::uint32_t secondOffset) {
        fs::create_directories(line);
        writeBytes(line / name, data.bytes);
        Bytes segments;
        segments.words({teld, type, 2, 1, 1, 0, 5, 5, 0x612E7261, 0x77000000, 1, 2, t, t + 100});
        writeBytes(line / (name + "LineSegments"), segments.bytes);
        Bytes index;
        index.words({teld, type, 3, 1, 1, 512, 2, t, t + 100, 2, t, 44, t + 100, secondOffset});
        writeBytes(line / (name + "TmIdx"), index.bytes);
    }

    // A ping of three port and two starboard bytes with a second pair of one, and a ping of one and two
    // samples of two bytes.
    static Bytes towed() {
        Bytes data;
        data.words({teld, 13, 1, 1, 7, 2, 1000, referenceMinute, t, t + 100, 1});
        data.words({5, t, 3 << 16 | 4, 50 << 16 | 1234, 70, 8, 0xFFF70000 | 10, 110, 97656, 0xFFF30000 | 14,
                    3 << 16 | 2, 19, 0xFFEC0000 | 21, 220, 230, 24 << 16 | 25, 1 << 16 | 1});
        data.raw({11, 12, 13, 21, 22, 31, 41});
        data.words({twoBytes, t + 100, 0, 0, 0, 0, 0, 0, 0, 0, 1 << 16 | 2, 0, 0, 0, 0, 0, 0});
        return data.raw({0x01, 0x02, 0xFF, 0xFF, 0x00, 0x01});
    }
    static constexpr std::uint32_t secondTowed = 44 + 68 + 7;
    void storeTowed(const Bytes& data = towed()) { store("SSSSideScan", 13, data, secondTowed); }

    // Two beams and none, with a trace of three and one samples.
    void storeTraced(const std::vector<std::uint8_t>& traces = {1, 2, 3, 4}) {
        Bytes data;
        data.words({teld, 10, 1, 1, 0, 2, 2, 1000, referenceMinute, t, t + 100});
        data.words({t, 2 << 16 | 7, 125, 0xF0830201});
        data.words({0xF00180FF, 3 << 16 | 9, 0, 0x01020304, 1 << 16 | 0xFFFF, 3});
        data.words({t + 100, 1, 0, 0});
        store("SideScan", 10, data, 44 + 16 + 24);
        writeBytes(line / "SideScanTrace", traces);
    }
    void storeAmplitudes(std::uint32_t type) {
        Bytes data;
        data.words({teld, type, 1, 1, 0, 2, 1, 1000, referenceMinute, t, t + 100});
        data.words({t, 1 << 16 | 7, 0xF0830201, 0xFE, 0xF0018003});
        data.words({t + 100, 1, 0, 0});
        store("SideScan", type, data, 44 + 16 + 4);
        if (type == 9) writeBytes(line / "SideScanTrace", {});
    }
    Outcome dump(const std::string& arguments) {
        return runSkar("dump --no-header " + line.string() + " " + arguments);
    }
    std::vector<std::string> findings() {
        std::vector<std::string> all;
        const Json json = runSkar("check --json " + line.string()).json();
        for (const Json& finding : json["findings"]) {
            all.push_back(fs::path(finding["file"].get<std::string>()).filename().string() + ":" +
                          std::to_string(finding["offset"].get<std::uint64_t>()) + " " +
                          finding["code"].get<std::string>());
        }
        return all;
    }
    bool names(const std::string& finding) {
        const std::vector<std::string> all = findings();
        return std::ranges::find(all, finding) != all.end();
    }
};

const std::string first = "1401696016,2024-06-01T08:00:00.000Z";
const std::string second = "1401696016.1,2024-06-01T08:00:00.100Z";
using Lines = std::vector<std::string>;

TEST_F(Imagery, OfATowedSonarIsDumpedByPingAndBySample) {
    storeTowed();
    const Outcome heads = dump("ssssidescan --pings");
    ASSERT_EQ(heads.status, 0) << heads.err;
    EXPECT_EQ(heads.lines(),
              (Lines{"1," + first +
                         ",1,3,3,4,50,1234,70,8,-9,10,110,97656,-13,14,3,2,19,-20,21,220,230,24,25,1,1,5",
                     "2," + second + ",1,2,0,0,0,0,0,0,0,0,0,0,0,0,1,2,0,0,0,0,0,0,0,0,0,1073741824"}));
    EXPECT_EQ(
        dump("SSSSideScan").lines(),
        (Lines{"1,1," + first + ",11,21,31,41,0", "1,2," + first + ",12,22,,,0", "1,3," + first + ",13,,,,0",
               "2,1," + second + ",513,65535,,,0", "2,2," + second + ",,256,,,0"}));
    EXPECT_EQ(dump("SSSSideScan --ping 1 --beam 2").lines(), (Lines{"1,2," + first + ",12,22,,,0"}));
}

TEST_F(Imagery, OfATowedSonarIsShown) {
    storeTowed();
    const Json sensor = runSkar("info --full --json " + line.string()).json()["sensors"][0];
    EXPECT_EQ(sensor["sensor"], "SSSSideScan");
    EXPECT_EQ(sensor["records"], 2);
    EXPECT_EQ(sensor["status"], 7);
    EXPECT_FALSE(sensor.contains("samples"));
    const Json extents = sensor["read"]["extents"];
    const Json starboard = extents.at(extents.size() - 3);
    EXPECT_EQ(starboard["quantity"], "starboard");
    EXPECT_EQ(starboard["of"], "sample");
    EXPECT_EQ(starboard["min"], 21);
    EXPECT_EQ(starboard["max"], 65535);
    EXPECT_EQ(findings(), Lines());
}

TEST_F(Imagery, OfATowedSonarIsCheckedForItsLength) {
    Bytes data = towed();
    data.bytes.pop_back();
    storeTowed(data);
    EXPECT_EQ(findings(), (Lines{"SSSSideScan:" + std::to_string(secondTowed + 64) + " truncated"}));
    data = towed();
    data.raw({0});
    storeTowed(data);
    EXPECT_EQ(findings(), (Lines{"SSSSideScan:" + std::to_string(secondTowed + 68 + 6) + " trailing-bytes"}));
    // Two bytes a sample instead of one, and the head of the next ping is looked for 7 bytes too far.
    data = towed();
    data.setWord(44, twoBytes);
    storeTowed(data);
    EXPECT_TRUE(names("SSSSideScan:190 truncated"));
    data = towed();
    data.setWord(20, 0);
    storeTowed(data);
    EXPECT_TRUE(names("SSSSideScan:20 summary-count"));
}

TEST_F(Imagery, AnyVersionOfATowedSonarIsTheCallers) {
    Bytes data = towed();
    data.setWord(12, 9);
    data.setWord(40, 9);
    store("SSSSideScan", 13, data, secondTowed);
    for (const std::string& found : findings())
        EXPECT_NE(found, "SSSSideScan:12 version");
    EXPECT_EQ(findings(), (Lines{"SSSSideScanLineSegments:12 version", "SSSSideScanTmIdx:12 version"}));
}

TEST_F(Imagery, AfterProcessingHasFiveValuesAPing) {
    Bytes data;
    data.words({teld, 19, 1, 1, 0, 2, 1000, referenceMinute, t, t + 100, 1});
    data.words({1, t, 3 << 16 | 4, 500'000, 1 << 16 | 2}).raw({10, 20, 30});
    data.words({twoBytes, t + 100, 0, 0, 1 << 16}).raw({0x34, 0x12});
    for (const char* name : {"SSSProcessedSideScan", "NewSSSProcessedSideScan"}) {
        store(name, 19, data, 44 + 20 + 3);
        EXPECT_EQ(
            dump(std::string(name) + " --pings").lines(),
            (Lines{"1," + first + ",1,2,3,4,500000,1,2,1", "2," + second + ",1,1,0,0,0,1,0,1073741824"}));
        EXPECT_EQ(dump(name).lines(), (Lines{"1,1," + first + ",10,20,0", "1,2," + first + ",,30,0",
                                             "2,1," + second + ",4660,,0"}));
    }
    EXPECT_EQ(findings(), Lines());
    EXPECT_EQ(runSkar("info --json " + line.string()).json()["otherFiles"], Json::array());
}

TEST_F(Imagery, OfAnEM1000HasTracesInAFileOfTheirOwn) {
    storeTraced();
    EXPECT_EQ(dump("sidescan --pings").lines(),
              (Lines{"1," + first + ",7,2,12.5,240,-125,2,513,,0", "2," + second + ",1,0,0,0,0,0,0,,0"}));
    EXPECT_EQ(dump("sidescan").lines(),
              (Lines{"1,7," + first + ",240,1,-128,-1,3,9,0", "1,8," + first + ",1,2,3,4,1,65535,0"}));
    const Json info = runSkar("info --json " + line.string()).json();
    EXPECT_EQ(info["sensors"][0]["beams"], 2);
    EXPECT_EQ(info["sensors"][0]["settings"]["sensorType"], 10);
    EXPECT_EQ(info["otherFiles"], Json::array());
    EXPECT_EQ(findings(), Lines());
    storeTraced({1, 2, 3});
    EXPECT_EQ(findings(), (Lines{"SideScan:80 trace-beyond"}));
    fs::remove(line / "SideScanTrace");
    EXPECT_EQ(findings(), (Lines{"SideScan:68 trace-beyond", "SideScan:80 trace-beyond"}));
}

TEST_F(Imagery, OfAnEM100AndAnELACHaveTheirOwnColumns) {
    storeAmplitudes(9);
    ASSERT_EQ(dump("sidescan").err, "");
    EXPECT_EQ(dump("sidescan --pings").lines().at(0), "1," + first + ",7,1,,240,-125,2,1,-2,0");
    EXPECT_EQ(dump("sidescan").lines(), (Lines{"1,7," + first + ",240,1,-128,3,,,0"}));
    EXPECT_EQ(findings(), Lines());
    storeAmplitudes(20);
    EXPECT_EQ(dump("sidescan --pings").lines().at(0), "1," + first + ",7,1,,240,-125,2,-2,,0");
    EXPECT_EQ(dump("sidescan").lines(), (Lines{"1,7," + first + ",240,98307,,,,,0"}));
    EXPECT_EQ(runSkar("info --json " + line.string()).json()["sensors"][0]["settings"]["sensorType"], 20);
    EXPECT_EQ(findings(), Lines());
}

TEST_F(Imagery, OfAnotherTypeThanItsSideFilesIsNamed) {
    storeAmplitudes(20);
    std::vector<std::uint8_t> index = bytesOf(line / "SideScanTmIdx");
    index[7] = 9;
    writeBytes(line / "SideScanTmIdx", index);
    EXPECT_EQ(findings(), (Lines{"SideScanTmIdx:4 sensor-type"}));
}

} // namespace

} // namespace skar::test
