#include "shell.h"

using namespace skar::test;

namespace {

namespace fs = std::filesystem;

// One damage of one file of a line made by hand, and what the check has to say of it.
struct Damage {
    const char* name;
    const char* golden;
    const char* file;
    std::size_t at;
    std::uint32_t word;
    const char* code;
    std::uint64_t offset;
    const char* named;
    const char* severity = "error";
};

constexpr const char* depths = "ObservedDepths";
constexpr const char* depthsIndex = "ObservedDepthsTmIdx";
constexpr const char* processed = "ProcessedDepths";

const std::vector<Damage> damages = {
    {"BeamsPastTheEnd", "observed_depths_2", depths, 184, 0x00020001, "truncated", 184, depths},
    {"BeamsAndStartAtTheirMost", "observed_depths_2", depths, 184, 0xFFFFFFFF, "truncated", 184, depths},
    {"BeamsBeyondTheLastNumber", "observed_depths_2", depths, 132, 0x0002FFFF, "beam-range", 132, depths},
    {"BeamsOfTheFirstVersionPastTheEnd", "observed_depths_1", depths, 64, 0xFFFFFFFF, "truncated", 64,
     depths},
    {"FewerPingsLeaveBytes", "observed_depths_2", depths, 24, 2, "trailing-bytes", 180, depths},
    {"FewerPingsHaveFewerBeams", "observed_depths_2", depths, 24, 2, "summary-count", 28, depths},
    {"NoPingsCounted", "observed_depths_2", depths, 24, 0, "summary-count", 24, depths},
    {"MorePings", "observed_depths_2", depths, 24, 0xFFFFFFFF, "truncated", 216, depths},
    {"MoreBeams", "observed_depths_2", depths, 28, 7, "summary-count", 28, depths},
    {"ClockOfBeamsZero", "observed_depths_2", depths, 36, 0, "scale", 36, depths},
    {"SummaryDepthTooNarrow", "observed_depths_2", depths, 52, 0xFFFF4D92, "summary-extent", 52, depths,
     "warning"},
    {"BeamBeyondTheExtents", "observed_depths_2", depths, 204, 0x7FFFFFFF, "summary-extent", 56, depths,
     "warning"},
    {"PingTimeAgainstIndex", "observed_depths_2", depths, 188, 0x00015FD0, "index-time", 56, depthsIndex},
    {"PingTimeGoesBack", "observed_depths_2", depths, 188, 0, "time-order", 188, depths, "warning"},
    {"IndexIntoTheHeader", "observed_depths_2", depthsIndex, 52, 0, "index-offset", 52, depthsIndex},
    {"IndexBackwards", "observed_depths_2", depthsIndex, 52, 60, "index-offset", 52, depthsIndex},
    {"IndexPastTheEnd", "observed_depths_2", depthsIndex, 52, 216, "index-beyond", 52, depthsIndex},
    {"IndexNegative", "observed_depths_2", depthsIndex, 52, 0x80000000, "index-beyond", 52, depthsIndex},
    {"SegmentTimeTooNarrow", "observed_depths_1", "ObservedDepthsLineSegments", 112, 0x00015FD0,
     "segment-extent", 112, "ObservedDepthsLineSegments", "warning"},
    {"SegmentPastThePings", "observed_depths_1", "ObservedDepthsLineSegments", 108, 4, "segment-range", 108,
     "ObservedDepthsLineSegments"},
    {"ProcessedCountMovesTheNextPing", "processed_depths_3", processed, 100, 0x00020001, "index-offset", 52,
     "ProcessedDepthsTmIdx"},
    {"ProcessedOfTheFirstVersionMovesTheNextPing", "processed_depths_1", processed, 100, 2, "index-offset",
     52, "ProcessedDepthsTmIdx"},
    {"ProcessedOfTheSecondVersionPastTheEnd", "processed_depths_2", processed, 100, 99, "truncated", 100,
     processed},
    {"ProcessedPositionScaleNegative", "processed_depths_3", processed, 60, 0x80000000, "scale", 60,
     processed},
    {"RangesOfTooManyBeams", "slant_range", "SLRange", 176, 0x00010001, "truncated", 176, "SLRange"},
    {"RangesWithAnotherType", "slant_range", "SLRange", 4, 4, "sensor-type", 4, "SLRange"},
    {"UncertaintiesOfFewerBeams", "tpe", "TPE", 32, 5, "summary-count", 32, "TPE"},
    {"SoundSpeedTime", "ssp", "SSP", 32, 0, "summary-extent", 32, "SSP"},
    {"MarksLeftOver", "event_marks", "EventMark", 20, 4, "trailing-bytes", 408, "EventMark"},
    {"MarksMissing", "event_marks", "EventMark", 20, 6, "truncated", 500, "EventMark"},
    {"SettingsMissing", "sensor_parameters_reson8100", "SensorParameters", 28, 4, "truncated", 396,
     "SensorParameters"},
    {"SettingsOfASonarThatKeepsNone", "sensor_parameters_reson8100", "SensorParameters", 20, 2,
     "trailing-bytes", 48, "SensorParameters"},
    {"SettingsCountedAgainstTheIndex", "sensor_parameters_other_sonar", "SensorParameters", 28, 4,
     "index-count", 16, "SensorParametersTmIdx"},
};

class SkarCheckOfPings : public ToolTest, public testing::WithParamInterface<Damage> {
protected:
    void take(const std::string& golden) {
        fs::create_directories(line);
        writeGolden(golden, line);
    }
    Json check() {
        const Outcome outcome = runSkar("check --json " + line.string());
        EXPECT_EQ(outcome.err, "");
        const Json json = outcome.json();
        EXPECT_EQ(outcome.status, json["errors"] == 0 ? 0 : 1);
        return json;
    }
};

TEST_P(SkarCheckOfPings, NamesTheDamage) {
    const Damage& damage = GetParam();
    take(damage.golden);
    std::vector<std::uint8_t> bytes = bytesOf(line / damage.file);
    for (std::size_t i = 0; i < 4; ++i)
        bytes.at(damage.at + i) = static_cast<std::uint8_t>(damage.word >> (24 - 8 * i));
    writeBytes(line / damage.file, bytes);
    const auto now = fs::file_time_type::clock::now();
    for (const fs::directory_entry& entry : fs::directory_iterator(line))
        fs::last_write_time(entry.path(), now);
    const Json json = check();
    bool found = false;
    for (const Json& finding : json["findings"])
        found = found ||
                (finding["severity"] == damage.severity && finding["code"] == damage.code &&
                 finding["file"] == (line / damage.named).string() && finding["offset"] == damage.offset);
    EXPECT_TRUE(found) << json.dump(1);
}

INSTANTIATE_TEST_SUITE_P(Every, SkarCheckOfPings, testing::ValuesIn(damages),
                         [](const auto& test) { return std::string(test.param.name); });

using SkarCheckOfLines = SkarCheckOfPings;

TEST_F(SkarCheckOfLines, WhatIsWholeHasNoErrors) {
    for (const char* const golden :
         {"observed_depths_1", "observed_depths_2", "processed_depths_1", "processed_depths_2",
          "processed_depths_3", "slant_range", "tpe", "event_marks", "sensor_parameters_reson8100",
          "sensor_parameters_other_sonar", "ssp"}) {
        fs::remove_all(line);
        take(golden);
        const Json json = check();
        EXPECT_EQ(json["errors"], 0) << golden << json.dump(1);
        EXPECT_EQ(json["warnings"], golden == std::string("ssp") ? 1 : 0) << golden << json.dump(1);
        EXPECT_TRUE(json["notChecked"].empty());
        ASSERT_EQ(json["sensors"].size(), 1U);
        EXPECT_EQ(json["sensors"][0]["segments"], 2);
    }
}

TEST_F(SkarCheckOfLines, EveryByteOfALineOfPingsMatters) {
    take("processed_depths_3");
    for (const char* const name :
         {"ProcessedDepths", "ProcessedDepthsLineSegments", "ProcessedDepthsTmIdx"}) {
        const std::vector<std::uint8_t> bytes = bytesOf(line / name);
        for (std::size_t size = 0; size < bytes.size(); size += cutStep) {
            writeBytes(line / name, {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)});
            EXPECT_EQ(runSkar("check " + line.string()).status, 1) << name << " cut to " << size << " bytes";
        }
        writeBytes(line / name, bytes);
    }
}

} // namespace
