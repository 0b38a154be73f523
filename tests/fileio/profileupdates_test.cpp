#include "fileio/blockcache.h"
#include "fileio/handle.h"
#include "support/store.h"

#include <skar/processeddepths.h>
#include <skar/sensor.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

// An update between two reads in order must neither move nor spoil the second, with and without a block
// cache.
namespace {

using namespace skar::tests;
namespace ProcessedDepths = SKAR::IO::ProcessedDepths;

constexpr std::uint32_t profiles = 4;
constexpr std::uint32_t beams = 6;

double latitudeOf(std::uint32_t profile) {
    return 0.5 + 0.01 * profile;
}
double latitudeOf(std::uint32_t profile, std::uint32_t beam) {
    return latitudeOf(profile) + 1e-5 * beam;
}

void writeLine(const Line& line) {
    std::uint32_t code = 0;
    SKARIO_Init(0);
    _TELD_Sensor* sensor = ProcessedDepthsOpenDir(line.path().c_str(), L"create", &code);
    ASSERT_NE(nullptr, sensor) << code;
    for (std::uint32_t p = 1; p <= profiles; ++p) {
        ASSERT_EQ(0, ProcessedDepthsBgnSeqWriteProfile(sensor, beams, 1, 600.0 * p, latitudeOf(p),
                                                       latitudeOf(p), latitudeOf(p) + 1e-4, 0.25, 0.25, 0.25,
                                                       0, 0, 0, 0, 0, 0, 0, 0, 0));
        for (std::uint32_t b = 1; b <= beams; ++b)
            ASSERT_EQ(0, ProcessedDepthsSeqWrite(sensor, 600.0 * p + 0.1 * b, 0, 0, latitudeOf(p, b), 0.25,
                                                 10.0 * p + b, 0, 0));
    }
    ASSERT_EQ(0, ProcessedDepthsClose(sensor));
}

class UpdatesBetweenReads : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        writeLine(line);
        setenv("SkarIOCacheSize", GetParam(), 1);
        std::uint32_t code = 0;
        sensor = ProcessedDepthsOpenDir(line.path().c_str(), L"update", &code);
        ASSERT_NE(nullptr, sensor) << code;
        ASSERT_EQ(0, skar::fileio::initialiseCacheSize(sensor, std::atoi(GetParam())));
    }
    void TearDown() override {
        EXPECT_EQ(0, ProcessedDepthsClose(sensor));
        unsetenv("SkarIOCacheSize");
    }
    void begin(std::uint32_t profile) {
        ProcessedDepths::Profile header;
        ProcessedDepths::ReadProfile(*sensor, static_cast<int>(profile), header, false);
    }
    void expectNext(std::uint32_t profile, std::uint32_t beam, std::uint32_t status = 0) {
        ProcessedDepths::Depth depth;
        ProcessedDepths::ReadNext(*sensor, depth);
        EXPECT_NEAR(600.0 * profile + 0.1 * beam, depth.time, 0.002);
        EXPECT_NEAR(latitudeOf(profile, beam), depth.latitude, 1e-7);
        EXPECT_NEAR(10.0 * profile + beam, depth.depth, 0.001);
        EXPECT_EQ(status, depth.status);
    }
    Line line;
    _TELD_Sensor* sensor = nullptr;
};
INSTANTIATE_TEST_SUITE_P(CacheSizes, UpdatesBetweenReads, testing::Values("0", "1", "2", "7", "1000"));

TEST_P(UpdatesBetweenReads, OfTheSameProfileLeaveTheReaderInPlaceAndShowAtOnce) {
    begin(2);
    expectNext(2, 1);
    ASSERT_EQ(0, ProcessedDepthsUpdateStatus(sensor, 2, 5, 0x00010000));
    expectNext(2, 2);
    expectNext(2, 3);
    ASSERT_EQ(0, ProcessedDepthsUpdateStatus(sensor, 2, 4, 0x00020000));
    expectNext(2, 4, 0x00020000);
    expectNext(2, 5, 0x00010000);
    expectNext(2, 6);
}

TEST_P(UpdatesBetweenReads, OfAnotherProfileLeaveTheReaderItsPlaceAndItsBase) {
    begin(1);
    expectNext(1, 1);
    const double y = latitudeOf(3, 2);
    ASSERT_EQ(0, ProcessedDepthsUpdateXYZStatus(sensor, 3, 6, nullptr, &y, nullptr, nullptr));
    expectNext(1, 2);
    ASSERT_EQ(0, ProcessedDepthsUpdateStatus(sensor, 4, 1, 0x00040000));
    expectNext(1, 3);
    begin(4);
    expectNext(4, 1, 0x00040000);
    // The position counts from the profile it was given for.
    ProcessedDepths::Depth depth;
    ProcessedDepths::Read(*sensor, 3, 6, depth);
    EXPECT_NEAR(y, depth.latitude, 1e-7);
}

TEST_P(UpdatesBetweenReads, ThatAreRefusedLeaveTheReaderInPlace) {
    begin(1);
    expectNext(1, 1);
    EXPECT_NE(0, ProcessedDepthsUpdateStatus(sensor, 3, beams + 1, 0));
    expectNext(1, 2);
    EXPECT_NE(0, ProcessedDepthsUpdateStatus(sensor, profiles + 1, 1, 0));
    expectNext(1, 3);
}

} // namespace
