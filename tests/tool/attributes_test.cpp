#include "raw_bytes.h"
#include "shell.h"

namespace skar::test {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t minute = 23361600; // with t the first record is at 2024-06-01T08:00:00Z
constexpr std::uint32_t t = 16000;

RawBytes words(std::initializer_list<std::uint32_t> values) {
    RawBytes bytes(import::ByteOrder::big);
    for (const std::uint32_t value : values)
        bytes.u32(value);
    return bytes;
}

void write(const fs::path& path, const std::vector<std::byte>& bytes) {
    std::vector<std::uint8_t> plain;
    for (const std::byte byte : bytes)
        plain.push_back(std::to_integer<std::uint8_t>(byte));
    writeBytes(path, plain);
}

// A file of a float, a string and an array of 16-bit integers in two records, with a boolean and a string for
// all of them.
struct Described {
    RawBytes data = words({0x54454C44, 58, 1, 2, 152, 1, 5, 5});
    RawBytes index = words({0x54454C44, 2, 1, 512, 2, t, t + 100, 2, t, 168, t + 100, 212});

    Described() {
        data.text("a.raw").zeros(3).add(words({7, 2, 1000, minute, t, t + 100, 2, 0, 3, 0}));
        data.add(words({4, 4})).text("GOOD").add(words({15, 3})).text("Why").zeros(1);
        data.add(words({1, 4, 4})).text("wind").add(words({44}));
        data.add(words({2, 5})).text("N_RMS").zeros(3).add(words({15, 4})).text("Note");
        data.add(words({12, 6})).text("Counts").zeros(2);
        data.add(words({44, 1, t, 0x3F000000, 2, 2})).text("ok").zeros(2).add(words({3, 6}));
        data.add(words({0x0100FEFF, 0x03000000})).add(words({24, 0, t + 100, 0x3FC00000, 0, 0}));
    }
    void write(const fs::path& line, const std::string& name = "Mine") {
        fs::create_directories(line);
        test::write(line / name, data.bytes());
        test::write(line / (name + "TmIdx"), index.bytes());
    }
};

class AttributeFiles : public ToolTest {
protected:
    Outcome run(const std::string& command, const std::string& more = "") {
        return runSkar(command + " " + line.string() + " " + more);
    }
};

TEST_F(AttributeFiles, InfoShowsAFileFromItsOwnDescription) {
    Described().write(line);
    const Outcome outcome = run("info --json");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const Json json = outcome.json();
    EXPECT_TRUE(json["otherFiles"].empty()) << json["otherFiles"];
    ASSERT_EQ(json["attributeFiles"].size(), 1U);
    const Json& file = json["attributeFiles"][0];
    EXPECT_EQ(file["file"], "Mine");
    EXPECT_EQ(file["sensorNumber"], 58);
    EXPECT_EQ(file["version"], 2);
    EXPECT_EQ(file["dataVersion"], 1);
    EXPECT_EQ(file["records"], 2);
    EXPECT_EQ(file["status"], 7);
    EXPECT_EQ(file["source"], "a.raw");
    EXPECT_EQ(file["time"]["minUtc"], "2024-06-01T08:00:00.000Z");
    EXPECT_EQ(file["time"]["maxUtc"], "2024-06-01T08:00:00.100Z");
    EXPECT_EQ(file["summary"], Json::parse(R"([{"name": "GOOD", "type": "boolean", "value": true},
                              {"name": "Why", "type": "string", "value": "wind"}])"));
    EXPECT_EQ(file["attributes"],
              Json::parse(R"([{"name": "N_RMS", "type": "float"}, {"name": "Note", "type": "string"},
                              {"name": "Counts", "type": "int16 array"}])"));
    EXPECT_FALSE(file.contains("read"));
    const Json read = run("info --json --full").json()["attributeFiles"][0];
    EXPECT_EQ(read["attributes"][0]["min"], 0.5);
    EXPECT_EQ(read["attributes"][0]["max"], 1.5);
    EXPECT_EQ(read["read"]["statusNotZero"], 1);
    EXPECT_EQ(read["read"]["timesGoingBack"], 0);
    EXPECT_EQ(read["read"]["time"]["maxUtc"], "2024-06-01T08:00:00.100Z");
}

TEST_F(AttributeFiles, InfoPrintsThemBehindTheSensors) {
    GyroWords().write(line);
    Described().write(line, "RMS");
    const Outcome outcome = run("info", "--full");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::size_t heading = outcome.out.find("Files that describe themselves");
    ASSERT_NE(heading, std::string::npos) << outcome.out;
    EXPECT_LT(outcome.out.find("Line segments"), heading);
    EXPECT_NE(outcome.out.find("error figures of position and motion", heading), std::string::npos);
    EXPECT_NE(outcome.out.find("wind", heading), std::string::npos);
    EXPECT_NE(outcome.out.find("int16 array", heading), std::string::npos);
    EXPECT_EQ(outcome.out.find("Other files"), std::string::npos) << outcome.out;
}

TEST_F(AttributeFiles, AFileThatCannotBeReadIsNamedAndTheOthersShown) {
    Described().write(line);
    Described damaged;
    damaged.data.bytes().resize(60);
    damaged.write(line, "TideError");
    const Outcome outcome = run("info --json");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("TideError"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("5000026"), std::string::npos) << outcome.err;
    const Json files = outcome.json()["attributeFiles"];
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0]["records"], 2);
    EXPECT_TRUE(files[1].contains("failure"));
}

TEST_F(AttributeFiles, OtherSetsOfThreeFilesAreNotTakenForThem) {
    GyroWords().write(line);
    for (const char* suffix : {"", "LineSegments", "TmIdx"})
        fs::rename(line / (std::string("Gyro") + suffix), line / (std::string("Unknown") + suffix));
    EXPECT_TRUE(run("info --json").json()["attributeFiles"].empty());
    fs::remove(line / "UnknownLineSegments");
    const Json json = run("info --json").json();
    EXPECT_TRUE(json["attributeFiles"].empty()) << "the index is that of a sensor";
    EXPECT_EQ(json["otherFiles"], Json::array({"Unknown", "UnknownTmIdx"}));
}

TEST_F(AttributeFiles, DumpPrintsEveryValueByItsType) {
    Described().write(line);
    const Outcome outcome = run("dump", "mine");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::vector<std::string> lines = outcome.lines();
    ASSERT_EQ(lines.size(), 10U) << outcome.out;
    EXPECT_EQ(lines[0], "# Mine of " + line.string() + ": 2 records");
    EXPECT_EQ(lines[2], "# GOOD of all: boolean, true");
    EXPECT_EQ(lines[3], "# Why of all: string, \"wind\"");
    EXPECT_EQ(lines[4], "# N_RMS: float");
    EXPECT_EQ(lines[7], "record,time,utc,N_RMS,Note,Counts,status");
    EXPECT_EQ(lines[8], "1,1401696016,2024-06-01T08:00:00.000Z,0.5,\"ok\",1 -2 3,1");
    EXPECT_EQ(lines[9], "2,1401696016.1,2024-06-01T08:00:00.100Z,1.5,\"\",,0");
    EXPECT_EQ(run("dump --no-header --first 2", "Mine").out, lines[9] + "\n");
    EXPECT_EQ(run("dump --no-header --count 1", "Mine").out, lines[8] + "\n");
    EXPECT_EQ(run("dump --no-header --from 2024-06-01T08:00:00.050Z", "Mine").out, lines[9] + "\n");
    EXPECT_EQ(run("dump --no-header --to 1401696016", "Mine").out, lines[8] + "\n");
}

TEST_F(AttributeFiles, DumpGivesJson) {
    Described().write(line);
    const std::vector<std::string> lines = run("dump --json", "Mine").lines();
    ASSERT_EQ(lines.size(), 3U);
    const Json header = Json::parse(lines[0])["header"];
    EXPECT_EQ(header["file"], "Mine");
    EXPECT_EQ(header["records"], 2);
    EXPECT_EQ(header["summary"][1]["value"], "wind");
    EXPECT_EQ(header["attributes"][2]["type"], "int16 array");
    const Json first = Json::parse(lines[1]);
    EXPECT_EQ(first["record"], 1);
    EXPECT_EQ(first["utc"], "2024-06-01T08:00:00.000Z");
    EXPECT_EQ(first["values"], Json::parse(R"({"N_RMS": 0.5, "Note": "ok", "Counts": [1, -2, 3]})"));
    EXPECT_EQ(first["status"], 1);
    EXPECT_EQ(Json::parse(lines[2])["values"]["Counts"], Json::array());
}

TEST_F(AttributeFiles, DumpSaysWhatItCannotDo) {
    Described().write(line);
    EXPECT_EQ(run("dump --degrees", "Mine").status, 2);
    EXPECT_EQ(run("dump --ping 1", "Mine").status, 2);
    const Outcome outcome = run("dump", "Yours");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("the line holds Mine"), std::string::npos) << outcome.err;
}

TEST_F(AttributeFiles, NumbersThatAreNoneAreEmptyAndNull) {
    Described described;
    described.data.bytes()[180] = std::byte{0x7F}; // the float becomes 0x7FC00000
    described.data.bytes()[181] = std::byte{0xC0};
    described.write(line);
    EXPECT_NE(run("dump --no-header --count 1", "Mine").out.find("Z,,\"ok\""), std::string::npos);
    EXPECT_EQ(Json::parse(run("dump --json --no-header --count 1", "Mine").out)["values"]["N_RMS"], Json());
    EXPECT_EQ(run("info --json --full").json()["attributeFiles"][0]["attributes"][0]["min"], 1.5);
}

enum class Of { data, index };

// One damage of one file and what the check has to say of it.
struct AttributeDamage {
    const char* name;
    Of file;
    std::vector<std::pair<std::size_t, std::uint32_t>> words; // byte offset and new value
    int grow;                                                 // bytes added or cut off at the end
    const char* code;
    std::uint64_t offset;
    Of named;
    const char* severity = "error";
    int status = 1;
};

const std::vector<AttributeDamage> damages = {
    {"Token", Of::data, {{0, 0}}, 0, "token", 0, Of::data},
    {"FileType", Of::data, {{8, 3}}, 0, "file-type", 8, Of::data},
    {"Version", Of::data, {{12, 3}}, 0, "version", 12, Of::data, "warning"},
    {"SummaryBeyondTheFile", Of::data, {{16, 0xFFFFFFFF}}, 0, "truncated", 16, Of::data},
    {"SummaryTooSmall", Of::data, {{16, 3}}, 0, "summary-size", 16, Of::data},
    {"SummaryOfAnotherSize", Of::data, {{16, 156}}, 0, "summary-size", 16, Of::data},
    {"SummaryCut", Of::data, {}, -100, "truncated", 16, Of::data},
    {"HeadCut", Of::data, {}, -226, "truncated", 8, Of::data},
    {"SourceLengths", Of::data, {{24, 6}}, 0, "value-length", 28, Of::data},
    {"SourceHuge", Of::data, {{24, 0xFFFFFFFF}, {28, 0xFFFFFFFF}}, 0, "value-length", 28, Of::data},
    {"SourcePadding", Of::data, {{36, 0x77000001}}, 0, "padding", 37, Of::data, "warning", 0},
    {"ScaleZero", Of::data, {{48, 0}}, 0, "scale", 48, Of::data},
    {"MinTime", Of::data, {{56, t - 1}}, 0, "summary-extent", 56, Of::data},
    {"MaxTime", Of::data, {{60, t + 101}}, 0, "summary-extent", 60, Of::data},
    {"ManySummaryAttributes", Of::data, {{64, 0x20000000}}, 0, "attribute-count", 64, Of::data},
    {"ManyAttributes", Of::data, {{72, 1000}}, 0, "attribute-count", 72, Of::data},
    {"OneAttributeLess", Of::data, {{72, 2}}, 0, "summary-size", 16, Of::data},
    {"UnknownType", Of::data, {{80, 20}}, 0, "attribute-type", 80, Of::data, "warning"},
    {"NameTooLong", Of::data, {{84, 257}}, 0, "attribute-name", 84, Of::data},
    {"NameBeyondTheSummary", Of::data, {{84, 200}}, 0, "value-length", 84, Of::data},
    {"SummaryValueLengths", Of::data, {{108, 5}}, 0, "value-length", 108, Of::data},
    {"LargestRecord", Of::data, {{120, 48}}, 0, "largest-record", 120, Of::data},
    {"RecordSizeZero", Of::data, {{168, 0}}, 0, "record-size", 168, Of::data},
    {"RecordTooLong", Of::data, {{168, 48}}, 0, "record-size", 168, Of::data},
    {"RecordBeyondTheFile", Of::data, {{212, 0xFFFFFFFF}}, 0, "truncated", 212, Of::data},
    {"ArrayBytes", Of::data, {{200, 8}}, 0, "value-length", 196, Of::data},
    {"ArrayElements", Of::data, {{196, 0x80000003}}, 0, "value-length", 196, Of::data},
    {"ArrayBeyondTheRecord", Of::data, {{196, 6}, {200, 12}}, 0, "value-length", 200, Of::data},
    {"StringLengths", Of::data, {{188, 3}}, 0, "value-length", 184, Of::data},
    {"ArrayPadding", Of::data, {{208, 0x03000001}}, 0, "padding", 210, Of::data, "warning", 0},
    {"TimeGoesBack", Of::data, {{176, t + 200}}, 0, "time-order", 220, Of::data, "warning"},
    {"CountTooSmall", Of::data, {{44, 1}}, 0, "trailing-bytes", 212, Of::data},
    {"CountZero", Of::data, {{44, 0}}, 0, "summary-count", 44, Of::data},
    {"CountTooLarge", Of::data, {{44, 3}}, 0, "truncated", 236, Of::data},
    {"Cut", Of::data, {}, -4, "truncated", 212, Of::data},
    {"Grown", Of::data, {}, 3, "trailing-bytes", 236, Of::data},
    {"IndexToken", Of::index, {{0, 1}}, 0, "token", 0, Of::index},
    {"IndexVersion", Of::index, {{4, 1}}, 0, "version", 4, Of::index, "warning", 0},
    {"IndexSets", Of::index, {{8, 0x10000000}}, 0, "index-size", 8, Of::index},
    {"IndexCapacity", Of::index, {{12, 1}}, 0, "index-size", 16, Of::index},
    {"IndexSetTime", Of::index, {{20, 1}}, 0, "index-set-time", 20, Of::index},
    {"IndexCounts", Of::index, {{28, 1}}, 0, "index-size", 28, Of::index},
    {"IndexTime", Of::index, {{32, t + 1}}, 0, "index-time", 32, Of::index},
    {"IndexOffset", Of::index, {{44, 210}}, 0, "index-offset", 44, Of::index},
    {"IndexBeyond", Of::index, {{44, 216}}, 0, "index-beyond", 44, Of::index},
    {"IndexFewer", Of::index, {{16, 1}, {28, 1}, {24, t}}, -8, "index-count", 8, Of::index},
    {"IndexOfAnotherFile", Of::index, {{32, 1}, {40, 2}, {20, 1}, {24, 2}}, 0, "mixed-set", 32, Of::index},
    {"IndexCut", Of::index, {}, -4, "truncated", 28, Of::index},
    {"IndexGrown", Of::index, {}, 1, "trailing-bytes", 48, Of::index},
};

class DamagedAttributes : public AttributeFiles, public testing::WithParamInterface<AttributeDamage> {};

TEST_P(DamagedAttributes, AreNamedWithFileAndOffset) {
    const AttributeDamage& damage = GetParam();
    Described described;
    auto& bytes = (damage.file == Of::data ? described.data : described.index).bytes();
    for (const auto& [offset, value] : damage.words) {
        for (std::size_t i = 0; i < 4; ++i)
            bytes.at(offset + i) = static_cast<std::byte>(value >> (24 - 8 * i));
    }
    bytes.resize(bytes.size() + static_cast<std::size_t>(damage.grow), std::byte{0xAB});
    described.write(line, "RMS");
    const auto now = fs::file_time_type::clock::now();
    for (const char* name : {"RMS", "RMSTmIdx"})
        fs::last_write_time(line / name, now);

    const Outcome outcome = run("check --json");
    EXPECT_EQ(outcome.status, damage.status) << outcome.out;
    const fs::path named = line / (damage.named == Of::data ? "RMS" : "RMSTmIdx");
    bool found = false;
    const Json json = outcome.json();
    for (const Json& finding : json["findings"]) {
        found = found || (finding["severity"] == damage.severity && finding["code"] == damage.code &&
                          finding["file"] == named.string() && finding["offset"] == damage.offset);
    }
    EXPECT_TRUE(found) << outcome.out;
    const auto page = bytesOf(fs::path(SKAR_SOURCE_DIR) / "docs/skar/check.md");
    EXPECT_NE(std::string(page.begin(), page.end()).find(std::string("`") + damage.code + "`"),
              std::string::npos)
        << "the page does not explain it";
}

INSTANTIATE_TEST_SUITE_P(Every, DamagedAttributes, testing::ValuesIn(damages),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(AttributeFiles, ACleanFileIsSilentlyClean) {
    Described().write(line);
    const Outcome outcome = run("check --json");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    const Json json = outcome.json();
    EXPECT_TRUE(json["findings"].empty()) << json["findings"];
    EXPECT_TRUE(json["notChecked"].empty());
    ASSERT_EQ(json["sensors"].size(), 1U);
    EXPECT_EQ(json["sensors"][0]["sensor"], "Mine");
    EXPECT_EQ(json["sensors"][0]["records"], 2);
}

TEST_F(AttributeFiles, AMissingIndexOfAKnownFileIsAFinding) {
    Described().write(line, "TrueHeaveRMS");
    fs::remove(line / "TrueHeaveRMSTmIdx");
    const Json json = run("check --json").json();
    ASSERT_EQ(json["findings"].size(), 1U) << json;
    EXPECT_EQ(json["findings"][0]["code"], "index-missing");
    fs::rename(line / "TrueHeaveRMS", line / "TrueHeaveRMSTmIdx");
    EXPECT_EQ(run("check --json").json()["findings"][0]["code"], "data-missing");
}

TEST_F(AttributeFiles, AFileOfTheFirstVersionIsCheckedWithoutSizeWords) {
    RawBytes data = words({0x54454C44, 58, 1, 1, 76, 1, 1});
    data.text("a").zeros(3).add(words({0, 2, 1000, minute, t, t + 100, 0, 0, 1, 0, 12, 2, 5}));
    data.text("N_RMS").zeros(3);
    data.add(words({1, t, 0x3F000000, 0, t + 100, 0x3FC00000}));
    const std::uint32_t start = 16 + 76;
    Described described;
    described.data = data;
    described.index = words({0x54454C44, 1, 1, 512, 2, t, t + 100, 2, t, start, t + 100, start + 12});
    described.write(line);
    const Outcome outcome = run("check --json");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(outcome.json()["sensors"][0]["records"], 2);
    EXPECT_EQ(run("dump --no-header --first 2", "Mine").out,
              "2,1401696016.1,2024-06-01T08:00:00.100Z,1.5,0\n");
}

} // namespace

} // namespace skar::test
