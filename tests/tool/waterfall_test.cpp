#include "picture.h"
#include "shell.h"
#include "xtf_bytes.h"

namespace skar::test {

namespace {

namespace fs = std::filesystem;

class SkarWaterfall : public ToolTest {
protected:
    fs::path file() const { return folder / "imagery.png"; }

    void importFile(RawBytes bytes) {
        const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.bytes().data());
        writeBytes(folder / "a.xtf", {first, first + bytes.size()});
        ASSERT_EQ(runSkar("import --line " + line.string() + " " + (folder / "a.xtf").string()).status, 0);
    }
    Json plot(const std::string& options = "") {
        const Outcome outcome =
            runSkar("plot --waterfall --json " + line.string() + " -o " + file().string() + " " + options);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.status == 0 ? outcome.json() : Json();
    }
    // The grey at a part of the image's width and height.
    int grey(const Json& json, double across, double down) const {
        const Json& panel = json["panels"][0];
        const Picture picture(file());
        const Pixel pixel = picture.at(panel["left"].get<double>() + across * panel["width"].get<double>(),
                                       panel["top"].get<double>() + down * panel["height"].get<double>());
        EXPECT_EQ(pixel.red, pixel.green);
        EXPECT_EQ(pixel.red, pixel.blue);
        return pixel.red;
    }
};

// In the order of the file: port from the far end.
RawBytes pings(unsigned count, const std::vector<unsigned>& port, const std::vector<unsigned>& starboard) {
    RawBytes all;
    for (unsigned i = 0; i < count; ++i)
        all.add(xtfBytePing(i * 59 / count, port, starboard));
    return all;
}

TEST_F(SkarWaterfall, PutsThePortSideToTheLeftAndTheSonarInTheMiddle) {
    importFile(xtfHeader({{1, 1}, {2, 1}}).add(pings(20, {250, 250, 10, 10}, {250, 130, 130, 10})));
    const Json json = plot();
    EXPECT_EQ(json["sensor"], "SSSSideScan");
    EXPECT_EQ(json["pings"], 20);
    EXPECT_EQ(json["columnsPerSide"], 4);
    EXPECT_EQ(json["black"], 10.0);
    EXPECT_EQ(json["white"], 250.0);
    EXPECT_EQ(grey(json, 0.06, 0.5), 255);
    EXPECT_EQ(grey(json, 0.44, 0.5), 0);
    EXPECT_EQ(grey(json, 0.56, 0.5), 255);
    EXPECT_EQ(grey(json, 0.69, 0.5), 128);
    EXPECT_EQ(grey(json, 0.94, 0.5), 0);
    const Picture picture(file());
    EXPECT_EQ(picture.width(), json["width"]);
    EXPECT_EQ(picture.height(), json["height"]);
}

TEST_F(SkarWaterfall, RunsDownThePageInTime) {
    importFile(xtfHeader({{1, 1}, {2, 1}})
                   .add(xtfBytePing(1, {200, 200}, {200, 200}))
                   .add(xtfBytePing(2, {0, 0}, {0, 0}))
                   .add(xtfBytePing(3, {100, 100}, {100, 100})));
    const Json json = plot();
    EXPECT_EQ(grey(json, 0.5, 0.1), 255);
    EXPECT_EQ(grey(json, 0.5, 0.5), 0);
    EXPECT_EQ(grey(json, 0.5, 0.9), 128);
}

TEST_F(SkarWaterfall, ScalesSlantRangeByIntervalAndSpeedOfSound) {
    // 75 m in 0.1 s are 1500 m/s; the second ping reaches half as far.
    importFile(xtfHeader({{2, 1}})
                   .add(xtfPing(1, {{0, RawBytes().u8(90).u8(90).u8(90).u8(90), 4}}))
                   .add(xtfPing(2, {{0, RawBytes().u8(90).u8(90).u8(90).u8(90), 4, 37.5F, 0.05F}})));
    const Json json = plot();
    EXPECT_EQ(json["unit"], "m");
    EXPECT_EQ(json["soundSpeed"], 1500.0);
    EXPECT_EQ(json["soundSpeedAssumed"], false);
    EXPECT_NEAR(json["columnWidth"].get<double>(), 75.0 / 4, 1e-3);
    // One strength throughout is the darkest there is, and so is what no ping reached.
    EXPECT_EQ(json["black"], 90.0);
    EXPECT_EQ(json["white"], 91.0);
}

TEST_F(SkarWaterfall, LeavesBlackWhatAPingDidNotReach) {
    importFile(xtfHeader({{2, 1}})
                   .add(xtfPing(1, {{0, RawBytes().u8(10).u8(90).u8(90).u8(90), 4}}))
                   .add(xtfPing(2, {{0, RawBytes().u8(10).u8(90).u8(90).u8(90), 4, 37.5F, 0.05F}})));
    const Json json = plot();
    EXPECT_EQ(grey(json, 0.95, 0.25), 255);
    EXPECT_EQ(grey(json, 0.70, 0.75), 255);
    EXPECT_EQ(grey(json, 0.95, 0.75), 0);
    EXPECT_EQ(grey(json, 0.25, 0.25), 0);
}

TEST_F(SkarWaterfall, OfALongLineHasRowsOfManyPings) {
    importFile(xtfHeader({{1, 1}, {2, 1}}).add(pings(4801, {1, 2}, {3, 4})));
    const Json json = plot("--width 400");
    EXPECT_EQ(json["pings"], 4801);
    EXPECT_EQ(json["pingsPerRow"], 3);
    EXPECT_EQ(json["panels"][0]["height"], 1601.0);
}

TEST_F(SkarWaterfall, OfManySamplesAveragesThemIntoColumns) {
    RawBytes samples;
    for (unsigned i = 0; i < 1450; ++i)
        samples.u8(i % 2 == 0 ? 0 : 100);
    importFile(xtfHeader({{1, 1}, {2, 1}}).add(xtfPing(1, {{0, samples, 1450}, {1, samples, 1450}})));
    const Json json = plot("--width 400");
    EXPECT_EQ(json["columnsPerSide"], 145);
    EXPECT_EQ(json["black"], 50.0);
    EXPECT_EQ(json["width"], 400);
}

TEST_F(SkarWaterfall, NeedsImagery) {
    simulate("--duration 10");
    const Outcome outcome = runSkar("plot --waterfall " + line.string() + " -o " + file().string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("no side scan imagery"), std::string::npos) << outcome.err;
    EXPECT_FALSE(fs::exists(file()));
}

TEST_F(SkarWaterfall, ThatCannotBeWrittenSaysSo) {
    importFile(xtfHeader({{1, 1}, {2, 1}}).add(pings(2, {1, 2}, {3, 4})));
    const Outcome outcome =
        runSkar("plot --waterfall " + line.string() + " -o " + (folder / "no/p.png").string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("no/p.png"), std::string::npos) << outcome.err;
}

} // namespace

} // namespace skar::test
