#include "shell.h"

#include <algorithm>
#include <cstdlib>

namespace skar::test {

namespace {

// Behind the head of the file are pings of 68 bytes and twice 1024 samples.
constexpr std::size_t head = 44;
constexpr std::size_t pingHead = 68;
constexpr std::size_t perSide = 1024;

class SimulatedImagery : public ToolTest {
protected:
    // A line of 800 m with the wreck beside its middle.
    void simulateTow(const std::string& options = "") {
        simulate("--sensors sidescan --duration 200 --ping-rate 2 " + options);
        bytes = bytesOf(line / "SSSSideScan");
    }
    std::size_t pings() const { return (bytes.size() - head) / (pingHead + 2 * perSide); }
    const std::uint8_t* ping(std::size_t number) const {
        return bytes.data() + head + number * (pingHead + 2 * perSide);
    }
    double height(std::size_t number) const { return (ping(number)[14] << 8 | ping(number)[15]) / 100.0; }
    static std::size_t sampleOf(double range) { return static_cast<std::size_t>(range / 75.0 * perSide); }
    double mean(std::size_t number, int side, double from, double to) const {
        const std::uint8_t* const samples =
            ping(number) + pingHead + static_cast<std::size_t>(side) * perSide;
        double sum = 0.0;
        for (std::size_t i = sampleOf(from); i < sampleOf(to); ++i)
            sum += samples[i];
        return sum / static_cast<double>(sampleOf(to) - sampleOf(from));
    }
    // Metres of the longest stretch without echo behind the first return.
    double longestShadow(std::size_t number, int side) const {
        const std::uint8_t* const samples =
            ping(number) + pingHead + static_cast<std::size_t>(side) * perSide;
        std::size_t longest = 0;
        std::size_t current = 0;
        for (std::size_t i = sampleOf(height(number) + 2.0); i < perSide; ++i) {
            current = samples[i] < 12 ? current + 1 : 0;
            longest = std::max(longest, current);
        }
        return static_cast<double>(longest) * 75.0 / perSide;
    }

    std::vector<std::uint8_t> bytes;
};

TEST_F(SimulatedImagery, HasPingsOfTwoSidesAndPassesTheCheck) {
    simulateTow();
    EXPECT_EQ((bytes.size() - head) % (pingHead + 2 * perSide), 0U);
    EXPECT_EQ(pings(), 400U);
    EXPECT_EQ(runSkar("check " + line.string()).status, 0);
    const Outcome heads = runSkar("dump --no-header " + line.string() + " SSSSideScan --pings --count 2");
    const std::vector<std::string> second = split(heads.lines().at(1), ',');
    EXPECT_EQ(second.at(2), "2024-06-01T08:00:00.500Z");
    EXPECT_EQ(second.at(5), "14900");
    EXPECT_EQ(second.at(9), "2");
    // 75 m in 1024 samples, there and back at 1490 m/s.
    EXPECT_EQ(second.at(14), "98312");
}

TEST_F(SimulatedImagery, HasTheHeightThatItsSensorTells) {
    simulateTow();
    const Outcome heights = runSkar("dump --no-header " + line.string() + " SSSSensorHeight");
    const std::vector<std::string> rows = heights.lines();
    ASSERT_EQ(rows.size(), 200U);
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_NEAR(height(2 * i), std::strtod(split(rows[i], ',').at(3).c_str(), nullptr), 0.006) << i;
}

TEST_F(SimulatedImagery, HasAWaterColumnAFirstReturnAndAFloorThatFallsOff) {
    simulateTow();
    double near = 0.0;
    double far = 0.0;
    for (std::size_t i = 0; i < 100; ++i) {
        for (const int side : {0, 1}) {
            EXPECT_LT(mean(i, side, 1.0, height(i) - 0.8), 6.0) << i;
            EXPECT_GT(mean(i, side, height(i), height(i) + 3.0), 30.0) << i;
            near += mean(i, side, 20.0, 30.0) / 200.0;
            far += mean(i, side, 62.0, 72.0) / 200.0;
        }
    }
    EXPECT_GT(near, 1.3 * far);
    EXPECT_GT(far, 10.0);
}

TEST_F(SimulatedImagery, ShowsTheShadowOfTheWreckInTheMiddleOnly) {
    simulateTow();
    double longest = 0.0;
    for (std::size_t i = 0; i < pings(); ++i) {
        const double shadow = std::max(longestShadow(i, 0), longestShadow(i, 1));
        // The fish is 120 m astern of a ship that makes 4 m/s: it passes the middle after 130 s.
        if (i < 160 || i > 360)
            EXPECT_LT(shadow, 3.0) << i;
        else
            longest = std::max(longest, shadow);
    }
    EXPECT_GT(longest, 5.0);
}

TEST_F(SimulatedImagery, IsTheSameForTheSameSeed) {
    simulateTow();
    const std::vector<std::uint8_t> first = bytes;
    simulateTow("--force");
    EXPECT_EQ(bytes, first);
    simulateTow("--force --seed 2");
    EXPECT_NE(bytes, first);
    EXPECT_EQ(bytes.size(), first.size());
}

TEST_F(SimulatedImagery, HasASegmentPerSurveyLine) {
    simulateTow("--lines 2 --spacing 50");
    const Json info = runSkar("info --json " + line.string()).json();
    for (const Json& sensor : info["sensors"])
        EXPECT_EQ(sensor["segments"].size(), 2U) << sensor["sensor"];
}

} // namespace

} // namespace skar::test
