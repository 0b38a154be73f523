#include "shell.h"

#include <chrono>
#include <regex>

using namespace skar::test;

namespace {

namespace fs = std::filesystem;

bool hasFinding(const Json& json, const std::string& severity, const std::string& code, const fs::path& file,
                std::uint64_t offset) {
    for (const Json& finding : json["findings"]) {
        if (finding["severity"] == severity && finding["code"] == code && finding["file"] == file.string() &&
            finding["offset"] == offset)
            return true;
    }
    return false;
}

class SkarCheck : public ToolTest {
protected:
    Json check(int expectedStatus) {
        const Outcome outcome = runSkar("check --json " + line.string());
        EXPECT_EQ(outcome.status, expectedStatus) << outcome.out;
        EXPECT_EQ(outcome.err, "");
        return outcome.json();
    }
};

enum class File { data, segments, index };

const char* nameOf(File file) {
    switch (file) {
    case File::data:
        return "Gyro";
    case File::segments:
        return "GyroLineSegments";
    case File::index:
        return "GyroTmIdx";
    }
    return "";
}

constexpr std::uint32_t t = 16000;

// One damage of one file and what the check has to say of it.
struct Damage {
    const char* name;
    File file;
    std::vector<std::pair<std::size_t, std::uint32_t>> words; // byte offset and new value
    int grow;                                                 // bytes added or cut off at the end
    const char* code;
    std::uint64_t offset;
    File named;
    const char* severity = "error";
    int status = 1;
};

const std::vector<Damage> damages = {
    {"DataToken", File::data, {{0, 0}}, 0, "token", 0, File::data},
    {"DataSensorType", File::data, {{4, 2}}, 0, "sensor-type", 4, File::data},
    {"DataFileType", File::data, {{8, 2}}, 0, "file-type", 8, File::data},
    {"DataVersion", File::data, {{12, 7}}, 0, "version", 12, File::data, "warning", 0},
    {"CountTooSmall", File::data, {{20, 3}}, 0, "summary-count", 20, File::data},
    {"CountTooSmallLeavesBytes", File::data, {{20, 3}}, 0, "trailing-bytes", 84, File::data},
    {"CountZero", File::data, {{20, 0}}, 0, "summary-count", 20, File::data},
    {"CountTooLarge", File::data, {{20, 5}}, 0, "truncated", 96, File::data},
    {"CountHuge", File::data, {{20, 0xFFFFFFFF}}, 0, "truncated", 96, File::data},
    {"ClockZero", File::data, {{24, 0}}, 0, "scale", 24, File::data},
    {"ClockNegative", File::data, {{24, 0x80000000}}, 0, "scale", 24, File::data},
    {"SummaryMinTime", File::data, {{32, t - 1}}, 0, "summary-extent", 32, File::data},
    {"SummaryMaxTime", File::data, {{36, t + 301}}, 0, "summary-extent", 36, File::data},
    {"SummaryMinValue", File::data, {{40, 6}}, 0, "summary-extent", 40, File::data},
    {"SummaryMaxValue", File::data, {{44, 41}}, 0, "summary-extent", 44, File::data},
    {"RecordTimeGoesBack", File::data, {{76, t + 50}}, 0, "time-order", 76, File::data, "warning"},
    {"RecordTimeAgainstIndex", File::data, {{76, t + 250}}, 0, "index-time", 56, File::index},
    {"RecordValueBeyondExtents", File::data, {{80, 50}}, 0, "segment-extent", 104, File::segments},
    {"DataCutInRecord", File::data, {}, -4, "truncated", 84, File::data},
    {"DataCutInHead", File::data, {}, -86, "truncated", 8, File::data},
    {"DataEmpty", File::data, {}, -96, "truncated", 0, File::data},
    {"DataGrown", File::data, {}, 5, "trailing-bytes", 96, File::data},
    {"SegmentsToken", File::segments, {{0, 1}}, 0, "token", 0, File::segments},
    {"SegmentsSensorType", File::segments, {{4, 5}}, 0, "sensor-type", 4, File::segments},
    {"SegmentsFileType", File::segments, {{8, 1}}, 0, "file-type", 8, File::segments},
    {"SegmentsVersion", File::segments, {{12, 2}}, 0, "version", 12, File::segments, "warning", 0},
    {"SegmentCountNegative", File::segments, {{16, 0xFFFFFFFF}}, 0, "segment-count", 16, File::segments},
    {"SegmentCountTooLarge", File::segments, {{16, 0x7FFFFFFF}}, 0, "truncated", 108, File::segments},
    {"SegmentCountTooSmall", File::segments, {{16, 1}}, 0, "trailing-bytes", 64, File::segments},
    {"SegmentCountTooSmallLeavesGap", File::segments, {{16, 1}}, 0, "segment-gap", 44, File::segments},
    {"SegmentNameLengths", File::segments, {{24, 6}}, 0, "segment-name", 28, File::segments},
    {"SegmentNameHuge",
     File::segments,
     {{24, 0xFFFFFFFF}, {28, 0xFFFFFFFF}},
     0,
     "truncated",
     32,
     File::segments},
    {"SegmentPadding", File::segments, {{36, 0x77000001}}, 0, "padding", 37, File::segments, "warning", 0},
    {"SegmentOverlap", File::segments, {{84, 2}}, 0, "segment-overlap", 84, File::segments},
    {"SegmentGap", File::segments, {{84, 4}}, 0, "segment-gap", 84, File::segments},
    {"SegmentGapAtEnd", File::segments, {{88, 3}}, 0, "segment-gap", 88, File::segments},
    {"SegmentBeyondRecords", File::segments, {{88, 9}}, 0, "segment-range", 88, File::segments},
    {"SegmentFromZero", File::segments, {{40, 0}}, 0, "segment-range", 40, File::segments},
    {"SegmentBackwards", File::segments, {{84, 4}, {88, 1}}, 0, "segment-range", 84, File::segments},
    {"SegmentMinTime", File::segments, {{48, t + 1}}, 0, "segment-extent", 48, File::segments},
    {"SegmentMaxValue", File::segments, {{60, 21}}, 0, "segment-extent", 60, File::segments},
    {"SegmentsOfAnotherSet",
     File::segments,
     {{48, 5}, {52, 6}, {92, 7}, {96, 8}},
     0,
     "mixed-set",
     20,
     File::segments},
    {"SegmentsCut", File::segments, {}, -4, "truncated", 104, File::segments},
    {"SegmentsCutInHead", File::segments, {}, -90, "truncated", 16, File::segments},
    {"SegmentsGrown", File::segments, {}, 1, "trailing-bytes", 108, File::segments},
    {"IndexToken", File::index, {{0, 0x54454C45}}, 0, "token", 0, File::index},
    {"IndexSensorType", File::index, {{4, 3}}, 0, "sensor-type", 4, File::index},
    {"IndexFileType", File::index, {{8, 2}}, 0, "file-type", 8, File::index},
    {"IndexVersion", File::index, {{12, 2}}, 0, "version", 12, File::index, "warning", 0},
    {"IndexClaimsManySets", File::index, {{16, 0x7FFFFFFF}}, 0, "index-size", 16, File::index},
    {"IndexCapacityTooSmall", File::index, {{20, 2}}, 0, "index-size", 24, File::index},
    {"IndexCapacityZero", File::index, {{20, 0}}, 0, "index-size", 20, File::index},
    {"IndexCountsDiffer", File::index, {{24, 3}}, 0, "index-size", 36, File::index},
    {"IndexSetMinTime", File::index, {{28, t + 1}}, 0, "index-set-time", 28, File::index},
    {"IndexSetMaxTime", File::index, {{32, t + 1}}, 0, "index-set-time", 28, File::index},
    {"IndexFewerEntries", File::index, {{24, 3}, {36, 3}, {32, t + 200}}, -8, "index-count", 16, File::index},
    {"IndexArrayHuge", File::index, {{36, 0xFFFFFFFF}}, 0, "truncated", 36, File::index},
    {"IndexTime", File::index, {{48, t + 101}}, 0, "index-time", 48, File::index},
    {"IndexOffsetWrong", File::index, {{52, 72}}, 0, "index-offset", 52, File::index},
    {"IndexOffsetBeyond", File::index, {{52, 4096}}, 0, "index-beyond", 52, File::index},
    {"IndexOffsetLastByteBeyond", File::index, {{52, 85}}, 0, "index-beyond", 52, File::index},
    {"IndexOffsetNegative", File::index, {{52, 0x80000000}}, 0, "index-beyond", 52, File::index},
    {"IndexOfAnotherSet",
     File::index,
     {{40, 1}, {48, 2}, {56, 3}, {64, 4}, {28, 1}, {32, 4}},
     0,
     "mixed-set",
     40,
     File::index},
    {"IndexCut", File::index, {}, -8, "truncated", 36, File::index},
    {"IndexCutInHead", File::index, {}, -58, "truncated", 12, File::index},
    {"IndexGrown", File::index, {}, 3, "trailing-bytes", 72, File::index},
};

class SkarCheckOfDamage : public SkarCheck, public testing::WithParamInterface<Damage> {};

TEST_P(SkarCheckOfDamage, IsNamedWithFileAndOffset) {
    const Damage& damage = GetParam();
    GyroWords().write(line);
    std::vector<std::uint8_t> bytes = bytesOf(line / nameOf(damage.file));
    for (const auto& [offset, value] : damage.words) {
        for (std::size_t i = 0; i < 4; ++i)
            bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    }
    bytes.resize(bytes.size() + static_cast<std::size_t>(damage.grow), 0xAB);
    // The same length of time for all, so that age tells nothing.
    writeBytes(line / nameOf(damage.file), bytes);
    const auto now = fs::file_time_type::clock::now();
    for (const File file : {File::data, File::segments, File::index})
        fs::last_write_time(line / nameOf(file), now);

    const Json json = check(damage.status);
    EXPECT_TRUE(hasFinding(json, damage.severity, damage.code, line / nameOf(damage.named), damage.offset))
        << json.dump(1);
}

INSTANTIATE_TEST_SUITE_P(Every, SkarCheckOfDamage, testing::ValuesIn(damages),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(SkarCheck, EveryCodeOfTheSourcesIsExplained) {
    const fs::path root = SKAR_SOURCE_DIR;
    const auto textOf = [](const fs::path& file) {
        const std::vector<std::uint8_t> bytes = bytesOf(file);
        return std::string(bytes.begin(), bytes.end());
    };
    const std::string page = textOf(root / "docs/skar/check.md");
    const std::regex finding(R"re((?:error|warning)\(\s*"([a-z-]+)")re");
    int codes = 0;
    for (const char* const source :
         {"attributecheck.cpp", "indexcheck.cpp", "segments.cpp", "setcheck.cpp", "timeindex.cpp"}) {
        const std::string text = textOf(root / "tools/skar/check" / source);
        for (std::sregex_iterator match(text.begin(), text.end(), finding), end; match != end; ++match) {
            ++codes;
            EXPECT_NE(page.find("`" + (*match)[1].str() + "`"), std::string::npos) << (*match)[1];
        }
    }
    EXPECT_GT(codes, 20);
    for (const Damage& damage : damages)
        EXPECT_NE(page.find(std::string("`") + damage.code + "`"), std::string::npos) << damage.code;
}

TEST_F(SkarCheck, ACleanSetIsSilentlyClean) {
    GyroWords().write(line);
    const Json json = check(0);
    EXPECT_EQ(json["errors"], 0);
    EXPECT_EQ(json["warnings"], 0);
    EXPECT_TRUE(json["findings"].empty());
    EXPECT_EQ(json["sensors"].size(), 1U);
    EXPECT_EQ(json["sensors"][0]["records"], 4);
    EXPECT_EQ(json["sensors"][0]["segments"], 2);
}

TEST_F(SkarCheck, EveryMissingFileIsNamed) {
    for (const File file : {File::data, File::segments, File::index}) {
        GyroWords().write(line);
        fs::remove(line / nameOf(file));
        const char* const codes[] = {"data-missing", "segments-missing", "index-missing"};
        const Json json = check(1);
        EXPECT_TRUE(hasFinding(json, "error", codes[static_cast<int>(file)], line / nameOf(file), 0))
            << json.dump(1);
    }
}

TEST_F(SkarCheck, AFileThatIsADirectoryIsUnreadable) {
    GyroWords().write(line);
    fs::remove(line / "GyroTmIdx");
    fs::create_directory(line / "GyroTmIdx");
    EXPECT_TRUE(hasFinding(check(1), "error", "unreadable", line / "GyroTmIdx", 0));
}

TEST_F(SkarCheck, AnIndexOlderThanTheDataThatItContradictsIsStale) {
    GyroWords words;
    for (const std::size_t entry : {10U, 12U, 14U, 16U})
        words.index[entry] += 60000;
    words.write(line);
    fs::last_write_time(line / "GyroTmIdx", fs::last_write_time(line / "Gyro") - std::chrono::hours(1));
    EXPECT_TRUE(hasFinding(check(1), "error", "stale", line / "GyroTmIdx", 40));
}

TEST_F(SkarCheck, AnIndexThatIsOnlyOlderIsFine) {
    GyroWords().write(line);
    fs::last_write_time(line / "GyroTmIdx", fs::last_write_time(line / "Gyro") - std::chrono::hours(1));
    EXPECT_EQ(check(0)["errors"], 0);
}

TEST_F(SkarCheck, TimesThatGoBackEverywhereAreAWarningOnly) {
    GyroWords words;
    for (const std::size_t record : {0U, 1U, 2U, 3U}) {
        const std::uint32_t time = t + 300 - 100 * static_cast<std::uint32_t>(record);
        words.data[13 + 3 * record] = time;
        words.index[10 + 2 * record] = time;
    }
    words.segments[12] = t + 200;
    words.segments[13] = t + 300;
    words.segments[23] = t;
    words.segments[24] = t + 100;
    words.write(line);
    const Json json = check(0);
    EXPECT_EQ(json["warnings"], 1) << "records in a row are one finding";
    EXPECT_TRUE(hasFinding(json, "warning", "time-order", line / "Gyro", 64)) << json.dump(1);
}

TEST_F(SkarCheck, ASegmentWithoutRecordsIsFine) {
    GyroWords words;
    words.segments[4] = 3;
    const std::vector<std::uint32_t> empty = {0, 0, 0, 5, 4, 0, 0, 0, 0};
    words.segments.insert(words.segments.end(), empty.begin(), empty.end());
    words.write(line);
    EXPECT_EQ(check(0)["errors"], 0);
}

TEST_F(SkarCheck, TheTextNamesFileOffsetAndCode) {
    GyroWords words;
    words.data[9] = t + 999;
    words.write(line);
    const Outcome outcome = runSkar("check " + line.string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.lines().at(0),
              (line / "Gyro").string() +
                  ":36: error: summary-extent: largest time is 16999 in the summary, 16300 in "
                  "the records");
    EXPECT_NE(outcome.out.find("1 sensor checked: 1 error, 0 warnings"), std::string::npos);
}

TEST_F(SkarCheck, TheLimitListsFewerButCountsAll) {
    GyroWords words;
    words.index[10] = 1;
    words.index[14] = 1;
    words.write(line);
    const Json all = runSkar("check --json --limit 0 " + line.string()).json();
    const Outcome outcome = runSkar("check --json --limit 1 " + line.string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.json()["errors"], all["errors"]);
    EXPECT_EQ(outcome.json()["unlisted"], 1);
    EXPECT_EQ(all["unlisted"], 0);
}

TEST_F(SkarCheck, EverySimulatedSensorIsClean) {
    simulate("--sensors all --duration 300 --segments 3");
    const Json json = check(0);
    EXPECT_EQ(json["sensors"].size(), 23U);
    EXPECT_EQ(json["warnings"], 0) << json.dump(1);
}

TEST_F(SkarCheck, EveryByteOfATrackMatters) {
    simulate("--sensors Navigation --duration 3 --segments 2");
    for (const char* const name : {"Navigation", "NavigationLineSegments", "NavigationTmIdx"}) {
        const std::vector<std::uint8_t> bytes = bytesOf(line / name);
        for (std::size_t size = 0; size < bytes.size(); size += cutStep) {
            writeBytes(line / name, {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)});
            EXPECT_EQ(runSkar("check " + line.string()).status, 1) << name << " cut to " << size << " bytes";
        }
        writeBytes(line / name, bytes);
    }
}

TEST_F(SkarCheck, ATrackWithWrongExtentsIsNamed) {
    simulate("--sensors Navigation --duration 3");
    std::vector<std::uint8_t> bytes = bytesOf(line / "Navigation");
    bytes[59] ^= 1; // largest latitude
    bytes[71] ^= 1; // largest longitude
    bytes[47] ^= 0xFF;
    bytes[44] ^= 0xFF; // position scale below 0
    writeBytes(line / "Navigation", bytes);
    const Json json = check(1);
    EXPECT_TRUE(hasFinding(json, "error", "summary-extent", line / "Navigation", 56)) << json.dump(1);
    EXPECT_TRUE(hasFinding(json, "error", "summary-extent", line / "Navigation", 68));
    EXPECT_TRUE(hasFinding(json, "error", "scale", line / "Navigation", 44));
}

TEST_F(SkarCheck, FilesOfOtherKindsAreListedAsNotChecked) {
    GyroWords().write(line);
    writeBytes(line / "notes.txt", {'x'});
    EXPECT_EQ(check(0)["notChecked"], Json::array({"notes.txt"}));
}

TEST_F(SkarCheck, ALineThatIsNotThereIsAnError) {
    const Outcome outcome = runSkar("check " + line.string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "skar: " + line.string() + ": there is no such line\n");
}

} // namespace
