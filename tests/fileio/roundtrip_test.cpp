#include "support/flat_families.h"

#include <algorithm>
#include <cmath>
#include <random>

// Properties on random series: what is written comes back, in any order of reading, whatever the order of
// times.
namespace {

using namespace skar::tests;

std::uint32_t word(std::mt19937& engine) {
    return static_cast<std::uint32_t>(engine());
}

class RoundTrip : public testing::TestWithParam<FlatFamily> {
protected:
    void SetUp() override { ASSERT_EQ(0, SKARIO_Init(0)); }
    const FlatFamily& family = GetParam();

    // Within what the codings hold: times to 24 days of the first, positions to 2.1 radians of it.
    Sample random(std::mt19937& engine) const {
        const auto within = [&](double most) {
            return std::uniform_real_distribution<double>(-most, most)(engine);
        };
        Sample sample;
        sample.time = 1.0e9 + within(1.0e6);
        switch (family.shape) {
        case Shape::position:
            sample.values = {within(1.0), within(1.0), within(1.9e6)};
            break;
        case Shape::twoValues:
            sample.values = {std::abs(within(6553.0)), std::abs(within(6553.0))};
            break;
        case Shape::mark:
            sample.values[0] = word(engine) % 1'000'000;
            break;
        case Shape::value:
            sample.values[0] = within(family.fine ? 214.0 : 1.9e6);
        }
        sample.status = word(engine);
        return sample;
    }
    void expectSame(const Sample& wanted, const Sample& got) const {
        EXPECT_NEAR(wanted.time, got.time, 0.0005001);
        // Values that are cut to a tenth lose up to all of it, those that are rounded half a step.
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(wanted.values[i], got.values[i],
                        family.shape == Shape::twoValues ? 0.1 : 0.51 * family.step(i) + 1e-9 * (i == 2));
        EXPECT_EQ(wanted.status, got.status);
    }
};
INSTANTIATE_TEST_SUITE_P(Every, RoundTrip, testing::ValuesIn(flatFamilies()), familyName);

TEST_P(RoundTrip, WhatIsWrittenComesBackInAnyOrder) {
    for (std::uint32_t seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 engine(seed);
        const Line line;
        std::vector<Sample> written(1 + word(engine) % 1500);
        std::generate(written.begin(), written.end(), [&] { return random(engine); });
        {
            Opened sensor(family, line.path(), L"create");
            ASSERT_TRUE(sensor);
            for (const Sample& sample : written) {
                if (word(engine) % 100 == 0) {
                    ASSERT_EQ(0, family.beginSegment(sensor, L"next"));
                }
                ASSERT_EQ(0, family.write(sensor, sample));
            }
            ASSERT_EQ(0, sensor.close());
        }
        for (const wchar_t* token : {L"query", L"update"}) {
            Opened sensor(family, line.path(), token);
            ASSERT_TRUE(sensor) << sensor.code();
            ASSERT_EQ(written.size(), sensor->numRecords);
            Sample sample;
            for (std::size_t i = 0; token[0] == L'q' && i < written.size(); ++i) {
                ASSERT_EQ(0, family.readSeq(sensor, sample));
                expectSame(written[i], sample);
            }
            std::vector<std::uint32_t> order(written.size());
            for (std::uint32_t i = 0; i < order.size(); ++i)
                order[i] = i + 1;
            std::shuffle(order.begin(), order.end(), engine);
            for (const std::uint32_t number : order) {
                ASSERT_EQ(0, family.read(sensor, number, sample));
                expectSame(written[number - 1], sample);
            }
            for (std::uint32_t number = 1; number <= written.size(); ++number) {
                ASSERT_EQ(0, family.read(sensor, number, sample));
                expectSame(written[number - 1], sample);
            }
        }
    }
}

TEST_P(RoundTrip, StatusesThatWereSavedAreTheOnesRead) {
    for (std::uint32_t seed = 11; seed <= 13; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 engine(seed);
        const Line line;
        const std::uint32_t count = 1 + word(engine) % 700;
        const FlatSet set = flatSet(family, {count});
        put(line, family, set);
        std::vector<std::uint32_t> expected(count + 1);
        for (std::uint32_t n = 1; n <= count; ++n)
            expected[n] = family.sample(n).status;
        {
            Opened sensor(family, line.path(), L"update");
            ASSERT_TRUE(sensor) << sensor.code();
            for (int change = 0; change < 200; ++change) {
                const std::uint32_t n = 1 + word(engine) % count;
                expected[n] = word(engine);
                ASSERT_EQ(0, family.setRecordStatus(sensor, n, expected[n]));
                if (word(engine) % 20 == 0) {
                    ASSERT_EQ(0, family.save(sensor));
                }
                Sample sample;
                const std::uint32_t other = 1 + word(engine) % count;
                ASSERT_EQ(0, family.read(sensor, other, sample));
                ASSERT_EQ(expected[other], sample.status);
            }
            ASSERT_EQ(0, family.save(sensor));
        }
        std::string data = set.data;
        for (std::uint32_t n = 1; n <= count; ++n)
            data = withWord(data, family.firstRecord() + (n - 1) * family.recordSize(), expected[n]);
        EXPECT_TRUE(same(Bytes().raw("data", data), line.bytes(family.name)));
    }
}

} // namespace
