#include "shell.h"
#include "support/realdata.h"
#include "xtf_bytes.h"

#include <cstdlib>

namespace skar::test {

namespace {

namespace fs = std::filesystem;

void writeFile(const fs::path& path, RawBytes bytes) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.bytes().data());
    writeBytes(path, {first, first + bytes.size()});
}

// The comparison itself is that of independent_image.py; what it prints says how much there was to compare.
struct ImageFile {
    const char* name;
    const char* compared;
};

constexpr ImageFile imageFiles[] = {
    {"xtf/000_1236.xtf", "1446 pings, 512 to 512 and 512 to 512 samples, from 4 to 255"},
    {"xtf/Demowreck.xtf", "1033 pings, 1024 to 1024 and 1024 to 1024 samples, from 0 to 207"},
    {"xtf/0009_150708_R2Testing_0001.xtf", "0 pings"},
    {"all/0001_20140213_052736_Yolla.all",
     "183 pings, 764 to 1341 and 911 to 1218 samples, from 31858 to 32750"},
    {"all/0200_MBES_EM122_20150203_010431_Supporter_GA4430.all", "0 pings"},
    {"all/0243_P007_MBES_EM122_20150207_044356_Supporter_GA4430.all",
     "11 pings, 882 to 1321 and 1119 to 1454 samples, from 31801 to 32737"},
    {"all-mpl/0077_20221109_123655_Belgica.all",
     "9 pings, 237 to 731 and 292 to 726 samples, from 32181 to 32793"},
    {"all-mpl/EM710_3092155654265012286.all",
     "10 pings, 2951 to 3039 and 2744 to 2915 samples, from 0 to 32802"},
    {"all-mpl/EM710_7041029013895133878.all",
     "10 pings, 3582 to 3620 and 3513 to 3564 samples, from 31992 to 32676"},
};

class RealImages : public ToolTest, public testing::WithParamInterface<ImageFile> {};

TEST_P(RealImages, AreInTheLineAsAnIndependentReaderFindsThem) {
    expectIndependentReaderAgrees("independent_image.py", GetParam().name, GetParam().compared);
}

INSTANTIATE_TEST_SUITE_P(All, RealImages, testing::ValuesIn(imageFiles), skar::tests::namedAfterFile);

class ImportImages : public ToolTest {
protected:
    Outcome imported(RawBytes file, const std::string& options = "") {
        writeFile(folder / "a.xtf", std::move(file));
        return runSkar("import --json --line " + line.string() + " " + (folder / "a.xtf").string() + " " +
                       options);
    }
    std::string rows(const std::string& options) {
        const Outcome dumped = runSkar("dump --no-header " + line.string() + " SSSSideScan " + options);
        EXPECT_EQ(dumped.status, 0) << dumped.err;
        return dumped.out;
    }
};

TEST_F(ImportImages, BecomePingsWithTheirParametersAndSamples) {
    RawBytes file = xtfHeader({{1, 1}, {2, 1}, {1, 2}, {2, 2}});
    file.add(xtfPing(34,
                     {{0, RawBytes().u8(30).u8(20).u8(10), 3, 75.0F, 0.003F, 0.002F},
                      {1, RawBytes().u8(40).u8(50), 2, 75.0F, 0.003F, 0.002F},
                      {2, RawBytes().u16(900).u16(800), 2, 75.0F, 0.003F, 0.0F}},
                     [](Fields& head) { head.u32(28, 4711).f32(32, 740.0F).f32(196, 12.34F); }));
    const Outcome outcome = imported(file);
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const std::string time = "942151009.5,2009-11-08T12:36:34.500Z";
    EXPECT_EQ(rows("--pings"), "1," + time +
                                   ",1,3,14800,0,0,1234,4711,2,0,0,0,1000000,0,0,3,2,0,0,0,1500000,0,0,0,2,0,"
                                   "1073741825\n");
    EXPECT_EQ(rows(""),
              "1,1," + time + ",10,40,800,,0\n1,2," + time + ",20,50,900,,0\n1,3," + time + ",30,,,,0\n");
}

TEST_F(ImportImages, AreAveragedWhereTheStoreWouldCutThem) {
    const auto ramp = [](unsigned count) {
        RawBytes samples;
        for (unsigned i = 0; i < count; ++i)
            samples.u16(i);
        return samples;
    };
    RawBytes file = xtfHeader({{2, 2}});
    file.add(xtfPing(1, {{0, ramp(6000), 6000, 75.0F, 0.06F}}));
    file.add(xtfPing(2, {{0, ramp(12001), 12001, 75.0F, 0.12001F}}));
    const Outcome outcome = imported(file);
    ASSERT_EQ(outcome.status, 3) << outcome.err;
    const Json problem = outcome.json()["files"][0]["problems"][0];
    EXPECT_EQ(problem["kind"], "averaged");
    EXPECT_EQ(problem["count"], 1);
    EXPECT_TRUE(problem["loss"]);
    const std::vector<std::string> heads = split(rows("--pings"), '\n');
    EXPECT_EQ(split(heads.at(0), ',').at(4), "6000");
    EXPECT_EQ(split(heads.at(0), ',').at(14), "10000");
    // Three at a time: 12001 samples make 4001.
    EXPECT_EQ(split(heads.at(1), ',').at(4), "4001");
    EXPECT_EQ(split(heads.at(1), ',').at(14), "30000");
    const std::vector<std::string> samples = split(rows("--ping 2"), '\n');
    EXPECT_EQ(split(samples.at(0), ',').at(5), "1");
    EXPECT_EQ(split(samples.at(3999), ',').at(5), "11998");
    EXPECT_EQ(split(samples.at(4000), ',').at(5), "12000");
}

TEST_F(ImportImages, ThatAreDamagedAreCountedAndLeaveTheRest) {
    RawBytes file = xtfHeader({{1, 1}, {2, 1}});
    file.add(xtfBytePing(1, {1}, {2})).add(xtfPing(2, {{0, RawBytes().u8(1), 4000}}));
    file.add(xtfBytePing(3, {1}, {2})).add(xtfPing(4, {{0, RawBytes().u8(1), 1}}, [](Fields& head) {
        head.u8(16, 0);
    }));
    RawBytes cut = xtfBytePing(5, {1}, {2});
    cut.bytes().resize(200);
    const Outcome outcome = imported(file.add(cut));
    ASSERT_EQ(outcome.status, 3) << outcome.err;
    const Json json = outcome.json();
    std::vector<std::string> kinds;
    for (const Json& problem : json["files"][0]["problems"]) {
        kinds.push_back(problem["kind"]);
        EXPECT_EQ(problem["count"], 1) << problem;
    }
    EXPECT_EQ(kinds, (std::vector<std::string>{"length", "truncated", "noDate"}));
    EXPECT_EQ(json["segments"][0]["sensor"], "SSSSideScan");
    EXPECT_EQ(json["segments"][0]["records"], 2);
    EXPECT_EQ(runSkar("check " + line.string()).status, 0);
}

TEST_F(ImportImages, OfTwoFilesBecomeTwoSegments) {
    const RawBytes header = xtfHeader({{1, 1}, {2, 1}});
    writeFile(folder / "late.xtf", RawBytes(header).add(xtfBytePing(9, {1, 2}, {3})));
    writeFile(folder / "early.xtf", RawBytes(header).add(xtfBytePing(3, {4}, {5})));
    ASSERT_EQ(runSkar("import --line " + line.string() + " " + (folder / "late.xtf").string() + " " +
                      (folder / "early.xtf").string())
                  .status,
              0);
    const Json info = runSkar("info --json " + line.string()).json();
    const Json segments = info["sensors"][0]["segments"];
    ASSERT_EQ(segments.size(), 2U);
    EXPECT_EQ(segments[0]["source"], "early.xtf");
    EXPECT_EQ(segments[1]["source"], "late.xtf");
    EXPECT_EQ(segments[1]["beginRecord"], 2);
}

} // namespace

} // namespace skar::test
