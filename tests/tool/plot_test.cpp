#include "picture.h"
#include "shell.h"

using namespace skar::test;

namespace {

class SkarPlot : public ToolTest {
protected:
    std::filesystem::path file() const { return folder / "line.png"; }
    Json plot(const std::string& options = "") {
        const Outcome outcome =
            runSkar("plot --json " + line.string() + " -o " + file().string() + " " + options);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.json();
    }
    static Json panel(const Json& json, const std::string& name) {
        for (const Json& panel : json["panels"]) {
            if (panel["panel"] == name) return panel;
        }
        ADD_FAILURE() << "no panel " << name;
        return {};
    }
    double meanDepth(const std::string& pings) {
        const auto rows =
            runSkar("dump --no-header " + line.string() + " ObservedDepths --ping " + pings).lines();
        double sum = 0.0;
        for (const std::string& row : rows)
            sum += std::strtod(split(row, ',').at(6).c_str(), nullptr);
        return sum / static_cast<double>(rows.size());
    }
};

TEST_F(SkarPlot, ThePictureHasTheSizeAndThePanelsItSays) {
    simulate("--duration 60 --beams 64 --sensors series,swath");
    const Json json = plot("--width 900");
    const Picture picture(file());
    ASSERT_TRUE(picture.isGood());
    EXPECT_EQ(picture.width(), 900);
    EXPECT_EQ(json["width"], 900);
    EXPECT_EQ(picture.height(), json["height"]);
    std::vector<std::string> names;
    double bottom = 0.0;
    for (const Json& panel : json["panels"]) {
        names.push_back(panel["panel"]);
        EXPECT_GT(panel["top"].get<double>(), bottom) << panel;
        bottom = panel["top"].get<double>() + panel["height"].get<double>();
        EXPECT_GT(picture.colours(panel), 0U) << panel;
    }
    EXPECT_LT(bottom, picture.height());
    EXPECT_EQ(names, (std::vector<std::string>{"map", "swath", "Heave", "Pitch", "Roll", "Gyro", "Tide"}));
    EXPECT_GT(picture.colours(json["panels"][0]), 100U);
    EXPECT_GT(picture.colours(json["panels"][1]), 100U);
}

TEST_F(SkarPlot, ShallowIsRedAndDeepIsBlue) {
    simulate("--duration 400 --ping-rate 1 --beams 64 --outliers 0 --sensors ObservedDepths --speed 6");
    const double start = meanDepth("1");
    const double end = meanDepth("400");
    ASSERT_GT(std::abs(start - end), 1.0);
    const Json swath = panel(plot(), "swath");
    const Picture picture(file());
    const double y = swath["top"].get<double>() + swath["height"].get<double>() / 2.0;
    const double left = swath["left"].get<double>();
    const Pixel first = picture.at(left + 2.0, y);
    const Pixel last = picture.at(left + swath["width"].get<double>() - 3.0, y);
    const Pixel& shallow = start < end ? first : last;
    const Pixel& deep = start < end ? last : first;
    EXPECT_GT(shallow.red, shallow.blue + 50);
    EXPECT_GT(deep.blue, deep.red + 50);
}

TEST_F(SkarPlot, RejectedBeamsAreCountedAndLeftOut) {
    simulate("--pings 40 --beams 100 --outliers 0.2 --sensors ObservedDepths,ProcessedDepths");
    std::size_t rejected = 0;
    for (const std::string& row : runSkar("dump --no-header " + line.string() + " ObservedDepths").lines())
        rejected += (std::strtoul(split(row, ',').back().c_str(), nullptr, 0) & 0xF0000000UL) != 0 ? 1 : 0;
    ASSERT_GT(rejected, 0U);
    const Json json = plot();
    ASSERT_EQ(json["sensors"].size(), 2U);
    for (const Json& sensor : json["sensors"]) {
        EXPECT_EQ(sensor["beams"], 4000);
        EXPECT_EQ(sensor["rejectedBeams"], rejected);
    }
}

TEST_F(SkarPlot, ATrackAloneIsAMapInBlack) {
    simulate("--duration 60 --sensors Navigation");
    const Json json = plot();
    ASSERT_EQ(json["panels"].size(), 1U);
    const Picture picture(file());
    EXPECT_EQ(picture.colours(json["panels"][0]), 0U);
    const Json map = json["panels"][0];
    // Turned so that it runs from left to right, the track crosses the middle.
    int dark = 0;
    for (double y = 1; y < map["height"]; ++y) {
        if (picture
                .at(map["left"].get<double>() + map["width"].get<double>() / 2.0,
                    map["top"].get<double>() + y)
                .red < 128)
            ++dark;
    }
    EXPECT_GE(dark, 1);
    EXPECT_LE(dark, 12);
}

TEST_F(SkarPlot, ALineWithNothingToDrawIsAnErrorAndLeavesNoFile) {
    simulate("--duration 60 --sensors SOW");
    const Outcome outcome = runSkar("plot " + line.string() + " -o " + file().string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("neither track nor depths nor motion to draw"), std::string::npos)
        << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(SkarPlot, APictureThatCannotBeWrittenIsAnError) {
    simulate("--duration 60 --sensors Heave");
    const Outcome outcome = runSkar("plot " + line.string() + " -o " + (folder / "no" / "such.png").string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("such.png"), std::string::npos) << outcome.err;
}

TEST_F(SkarPlot, ADamagedSensorIsNamed) {
    simulate("--duration 60 --sensors Heave,Pitch");
    writeBytes(line / "Heave", {1, 2, 3});
    const Outcome outcome = runSkar("plot " + line.string() + " -o " + file().string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("Heave"), std::string::npos) << outcome.err;
}

} // namespace
