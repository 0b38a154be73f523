#include "shell.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>

using namespace skar::test;

namespace {

constexpr unsigned long cleanedOut = 1UL << 30U;

class SkarSimulateSwath : public ToolTest {
protected:
    struct Beam {
        double time = 0.0;
        std::vector<double> values;
        unsigned long status = 0;
    };
    // Of all pings in their order: ping, beam, time, UTC, the values, status.
    std::vector<Beam> beams(const std::string& sensor) {
        std::vector<Beam> all;
        for (const std::string& row : runSkar("dump --no-header " + line.string() + " " + sensor).lines()) {
            const std::vector<std::string> cells = split(row, ',');
            Beam beam;
            beam.time = std::strtod(cells.at(2).c_str(), nullptr);
            for (std::size_t i = 4; i + 1 < cells.size(); ++i)
                beam.values.push_back(std::strtod(cells[i].c_str(), nullptr));
            beam.status = std::strtoul(cells.back().c_str(), nullptr, 0);
            all.push_back(beam);
        }
        return all;
    }
};

TEST_F(SkarSimulateSwath, EverySensorTellsOfTheSamePings) {
    simulate("--pings 20 --beams 64 --ping-rate 4 --sensors swath");
    const Json json = runSkar("info --json " + line.string()).json();
    int swaths = 0;
    for (const Json& sensor : json["sensors"]) {
        if (sensor["sensor"] == "SSP") continue;
        ++swaths;
        EXPECT_EQ(sensor["records"], 20);
        EXPECT_EQ(sensor["beams"], 20 * 64);
    }
    EXPECT_EQ(swaths, 4);
    const auto observed = beams("ObservedDepths");
    ASSERT_EQ(observed.size(), 20U * 64U);
    EXPECT_NEAR(observed[64].time - observed[0].time, 0.25, 1e-6);
    const auto ranges = beams("SLRange");
    ASSERT_EQ(ranges.size(), observed.size());
    for (std::size_t i = 0; i < observed.size(); ++i) {
        const double range = std::hypot(observed[i].values[0], observed[i].values[2]);
        ASSERT_NEAR(ranges[i].values[0], range, 0.01) << i;
        ASSERT_NEAR(ranges[i].values[1], 2.0 * ranges[i].values[0] / 1490.0, 1e-5) << i;
        ASSERT_EQ(ranges[i].time, observed[i].time);
        ASSERT_EQ(ranges[i].status, observed[i].status) << i;
    }
}

TEST_F(SkarSimulateSwath, TheFanOpensAsFarAsItIsToldTo) {
    simulate("--pings 4 --beams 101 --swath-angle 90 --outliers 0 --sensors ObservedDepths,SLRange");
    const auto ranges = beams("SLRange");
    ASSERT_EQ(ranges.size(), 404U);
    EXPECT_NEAR(ranges.front().values[2], -std::numbers::pi / 4.0, 1e-4);
    EXPECT_NEAR(ranges[50].values[2], 0.0, 1e-4);
    EXPECT_NEAR(ranges[100].values[2], std::numbers::pi / 4.0, 1e-4);
    const auto observed = beams("ObservedDepths");
    for (const std::size_t outer : {std::size_t(0), std::size_t(100)}) {
        const double angle = std::atan2(observed[outer].values[0], observed[outer].values[2]);
        EXPECT_NEAR(angle, ranges[outer].values[2], 0.02);
    }
}

TEST_F(SkarSimulateSwath, ProcessedDepthsAreWithoutTheTideAndWhereTheShipWas) {
    simulate("--pings 10 --beams 32 --heading 90 --latitude 0 --longitude 5 --speed 4 --ping-rate 1 "
             "--sensors ObservedDepths,ProcessedDepths,Tide");
    const std::vector<std::string> tides = runSkar("dump --no-header " + line.string() + " Tide").lines();
    const double tide = std::strtod(split(tides.at(0), ',').at(3).c_str(), nullptr);
    const auto observed = beams("ObservedDepths");
    const auto processed = beams("ProcessedDepths");
    ASSERT_EQ(observed.size(), processed.size());
    constexpr double metres = 6378137.0;
    for (std::size_t i = 0; i < observed.size(); ++i) {
        ASSERT_NEAR(processed[i].values[0], observed[i].values[2] - tide, 0.012) << i;
        // Sailing east along the equator, starboard is south.
        ASSERT_NEAR(processed[i].values[1] * metres, -observed[i].values[0] * 1.00674, 0.5) << i;
        const double sailed = 4.0 * static_cast<double>(i / 32);
        ASSERT_NEAR((processed[i].values[2] - 5.0 * std::numbers::pi / 180.0) * metres, sailed, 0.5) << i;
    }
}

TEST_F(SkarSimulateSwath, FalseBeamsAreRejectedAndTheRestIsNearTheFloor) {
    simulate("--pings 50 --beams 200 --outliers 0.1 --sensors ObservedDepths --depth 40");
    std::size_t out = 0;
    std::size_t far = 0;
    const auto all = beams("ObservedDepths");
    for (std::size_t i = 0; i < all.size(); ++i) {
        const bool isOut = (all[i].status & cleanedOut) != 0;
        if (isOut) ++out;
        // Against the nearest accepted beam of the same ping.
        std::size_t near = i;
        for (near = i % 200 == 0 ? i + 1 : i - 1;
             near / 200 == i / 200 && (all[near].status & cleanedOut) != 0;)
            near = near > i ? near + 1 : near - 1;
        if (near / 200 != i / 200 || near >= all.size()) continue;
        const double off = std::abs(all[i].values[2] - all[near].values[2]);
        if (isOut && off > 0.5) ++far;
        if (!isOut) {
            ASSERT_LT(off, 4.0) << i;
        }
    }
    EXPECT_NEAR(static_cast<double>(out) / static_cast<double>(all.size()), 0.1, 0.015);
    EXPECT_GT(far, out * 8 / 10);

    simulate("--pings 50 --beams 200 --outliers 0 --sensors ObservedDepths --depth 40 --force");
    for (const Beam& beam : beams("ObservedDepths"))
        ASSERT_EQ(beam.status & cleanedOut, 0U);
}

TEST_F(SkarSimulateSwath, AWreckLiesOnTheFloorBesideTheMiddleOfTheLine) {
    simulate("--duration 300 --ping-rate 1 --beams 128 --outliers 0 --sensors ProcessedDepths --speed 4");
    const auto all = beams("ProcessedDepths");
    ASSERT_EQ(all.size(), 300U * 128U);
    const auto highest = std::ranges::min_element(all, {}, [&](const Beam& beam) {
        // Against the slope and the waves along the line, by the ping's own median.
        const auto place = static_cast<std::size_t>(&beam - all.data()) / 128 * 128;
        std::vector<double> ping;
        if (beam.values[0] > 33.0) return 0.0;
        for (std::size_t i = 0; i < 128; ++i)
            ping.push_back(all[place + i].values[0]);
        std::ranges::nth_element(ping, ping.begin() + 64);
        return beam.values[0] - ping[64];
    });
    const auto index = static_cast<std::size_t>(highest - all.begin());
    EXPECT_GT(index / 128, 100U);
    EXPECT_LT(index / 128, 200U);
    EXPECT_GT(index % 128, 64U) << "to starboard";
}

TEST_F(SkarSimulateSwath, ASwathIsCheckedWithoutAFinding) {
    simulate("--pings 100 --beams 33 --segments 3 --sensors series,swath");
    const Outcome outcome = runSkar("check " + line.string());
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_NE(outcome.out.find("11 sensors checked: 0 errors, 0 warnings"), std::string::npos) << outcome.out;
}

TEST_F(SkarSimulateSwath, TheSameSeedGivesTheSameSwath) {
    simulate("--pings 10 --beams 50 --seed 5 --sensors ObservedDepths");
    const auto first = bytesOf(line / "ObservedDepths");
    simulate("--pings 10 --beams 50 --seed 5 --sensors swath --force");
    EXPECT_EQ(bytesOf(line / "ObservedDepths"), first);
    simulate("--pings 10 --beams 50 --seed 6 --sensors ObservedDepths --force");
    EXPECT_NE(bytesOf(line / "ObservedDepths"), first);
}

TEST_F(SkarSimulateSwath, MoreBeamsThanAreSupportedAreRefused) {
    const Outcome outcome =
        runSkar("simulate " + line.string() + " --pings 1000000 --beams 101 --sensors swath");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("ObservedDepths would have more than 100000000 beams"), std::string::npos)
        << outcome.err;
    EXPECT_EQ(runSkar("simulate " + line.string() + " --pings 5 --duration 5").status, 2);
    EXPECT_FALSE(std::filesystem::exists(line));
}

} // namespace
