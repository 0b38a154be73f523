#include "raw_bytes.h"

#include "import/georeference.h"
#include "import/gsf.h"
#include "import/kongsbergall.h"
#include "import/kongsbergswath.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <numbers>

using namespace skar::import;
using namespace skar::test;

namespace {

std::uint32_t word(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

// The content of an XYZ 88 datagram that claims that many beams and holds two.
RawBytes twoDepths(unsigned claimed) {
    RawBytes content;
    content.u16(27'000).u16(14'997).u32(word(4.5F)).u16(claimed).u16(1).u32(word(1000.0F)).zeros(4);
    content.u32(word(10.25F)).u32(word(-7.5F)).u32(word(0.5F)).u16(9).u8(3).u8(0).u8(1).u8(0).i16(-200);
    content.u32(word(11.0F)).u32(word(8.0F)).u32(word(-0.5F)).u16(9).u8(3).u8(0).u8(0x81).u8(0xFF).i16(-200);
    return content.zeros(1);
}

// A raw range and angle datagram of one sector and one beam that claims those numbers.
RawBytes oneRange(unsigned sectors, unsigned beams) {
    RawBytes content;
    content.u16(15'012).u16(sectors).u16(beams).u16(1).u32(word(1000.0F)).u32(0);
    content.i16(-150).zeros(6).u32(word(0.002F)).zeros(12);
    content.i16(5850).u8(0).u8(0x80).zeros(4).u32(word(0.125F)).i16(-200).u8(0xFE).zeros(1);
    return content.zeros(1);
}

template <typename Swath>
bool decoded(char type, const RawBytes& content, Swath& swath) {
    RawBytes file = datagram(type, someDate, 0, content);
    MemorySource source(file.bytes());
    Problems problems;
    KongsbergFrames frames(source, problems);
    KongsbergFrame frame;
    return frames.next(frame) && decode(frame, swath);
}

} // namespace

TEST(KongsbergSwath, DepthBeamsCarryOffsetsDetectionAndCleaning) {
    KongsbergDepths depths;
    ASSERT_TRUE(decoded('X', twoDepths(2), depths));
    EXPECT_EQ(depths.heading, 27'000);
    EXPECT_EQ(depths.soundSpeed, 14'997);
    EXPECT_EQ(depths.transducerDepth, 4.5F);
    ASSERT_EQ(depths.beams.size(), 2U);
    EXPECT_EQ(depths.beams[0].z, 10.25F);
    EXPECT_EQ(depths.beams[0].y, -7.5F);
    EXPECT_EQ(depths.beams[0].x, 0.5F);
    EXPECT_TRUE(depths.beams[0].valid());
    EXPECT_FALSE(depths.beams[0].cleanedOut());
    EXPECT_EQ(depths.beams[1].y, 8.0F);
    EXPECT_FALSE(depths.beams[1].valid());
    EXPECT_TRUE(depths.beams[1].cleanedOut());
}

TEST(KongsbergSwath, MoreDepthBeamsThanTheDatagramHoldsAreRefused) {
    KongsbergDepths depths;
    EXPECT_FALSE(decoded('X', twoDepths(3), depths));
    EXPECT_FALSE(decoded('X', twoDepths(65535), depths));
    EXPECT_FALSE(decoded('X', RawBytes().zeros(19), depths));
}

TEST(KongsbergSwath, RangeBeamsCarryTimeAngleAndSector) {
    KongsbergRanges ranges;
    ASSERT_TRUE(decoded('N', oneRange(1, 1), ranges));
    EXPECT_EQ(ranges.soundSpeed, 15'012);
    ASSERT_EQ(ranges.sectors.size(), 1U);
    EXPECT_EQ(ranges.sectors[0].tilt, -150);
    EXPECT_EQ(ranges.sectors[0].delay, 0.002F);
    ASSERT_EQ(ranges.beams.size(), 1U);
    EXPECT_EQ(ranges.beams[0].angle, 5850);
    EXPECT_EQ(ranges.beams[0].travelTime, 0.125F);
    EXPECT_FALSE(ranges.beams[0].valid());
    EXPECT_TRUE(ranges.beams[0].cleanedOut());
}

TEST(KongsbergSwath, MoreSectorsOrRangeBeamsThanTheDatagramHoldsAreRefused) {
    KongsbergRanges ranges;
    EXPECT_FALSE(decoded('N', oneRange(2, 1), ranges));
    EXPECT_FALSE(decoded('N', oneRange(1, 2), ranges));
    EXPECT_FALSE(decoded('N', oneRange(65535, 65535), ranges));
}

namespace {

// A range datagram of one sector and two beams with those angles.
RawBytes twoRanges(int first, int last, unsigned sector = 0) {
    RawBytes content;
    content.u16(15'000).u16(1).u16(2).u16(2).u32(word(1000.0F)).u32(0);
    content.i16(-150).zeros(6).u32(word(0.002F)).zeros(12);
    for (const int angle : {first, last})
        content.i16(angle).u8(sector).u8(1).zeros(4).u32(word(0.125F)).i16(-200).u8(0).zeros(1);
    return content.zeros(1);
}

template <typename Ping>
Ping pingOf(RawBytes file, Series<PingPlace> RawData::*series,
            bool (*read)(ByteSource&, const PingPlace&, Ping&)) {
    MemorySource source(file.bytes());
    const RawData data = readKongsbergAll(source);
    Ping ping;
    EXPECT_EQ((data.*series).records.size(), 1U);
    if (!(data.*series).records.empty()) {
        EXPECT_TRUE(read(source, (data.*series).records[0], ping));
    }
    return ping;
}

} // namespace

TEST(SwathPings, DepthsAreBelowTheWaterLineAndKeepTheirDetection) {
    const DepthPing ping =
        pingOf(datagram('X', someDate, 0, twoDepths(2)), &RawData::depthPings, readKongsbergDepths);
    ASSERT_EQ(ping.beams.size(), 2U);
    EXPECT_NEAR(ping.heading, 270.0 * degree, 1e-12);
    EXPECT_DOUBLE_EQ(ping.beams[0].z, 14.75);
    EXPECT_DOUBLE_EQ(ping.beams[0].y, -7.5);
    EXPECT_DOUBLE_EQ(ping.beams[0].x, 0.5);
    EXPECT_EQ(ping.beams[0].status, beam::phaseDetection);
    EXPECT_EQ(ping.beams[1].status, beam::notDetected | beam::cleanedOut);
}

TEST(SwathPings, ADepthThatIsNoneBecomesZeroAndSaysSo) {
    DepthBeam nan{1.0, 2.0, std::numeric_limits<double>::quiet_NaN(), beam::cleanedOut};
    nan.refuseNonsense();
    EXPECT_EQ(nan.y, 0.0);
    EXPECT_EQ(nan.z, 0.0);
    EXPECT_EQ(nan.status, beam::cleanedOut | beam::noNumber);
    DepthBeam far{1e30, 0.0, 0.0, 0};
    far.refuseNonsense();
    EXPECT_EQ(far.status, beam::noNumber);
    DepthBeam good{-100'000.0, 0.0, 11'000.0, 0};
    good.refuseNonsense();
    EXPECT_EQ(good.status, 0U);
}

TEST(SwathPings, AnglesArePositiveToStarboardHoweverTheArrayIsMounted) {
    for (const int port : {5850, -5850}) {
        const RangePing ping = pingOf(datagram('N', someDate, 0, twoRanges(port, -port)),
                                      &RawData::rangePings, readKongsbergRanges);
        ASSERT_EQ(ping.beams.size(), 2U);
        EXPECT_NEAR(ping.beams[0].angle, -58.5 * degree, 1e-12);
        EXPECT_NEAR(ping.beams[1].angle, 58.5 * degree, 1e-12);
        EXPECT_NEAR(ping.beams[0].tilt, -1.5 * degree, 1e-12);
        EXPECT_DOUBLE_EQ(ping.beams[0].travel, 0.125);
        EXPECT_DOUBLE_EQ(ping.beams[0].range, 93.75);
        EXPECT_EQ(ping.beams[0].delay, double{0.002F});
        EXPECT_EQ(ping.beams[0].status, beam::phaseDetection);
    }
}

TEST(SwathPings, ABeamOfASectorThatIsNotThereHasNoNumbers) {
    const RangePing ping = pingOf(datagram('N', someDate, 0, twoRanges(-5850, 5850, 1)), &RawData::rangePings,
                                  readKongsbergRanges);
    ASSERT_EQ(ping.beams.size(), 2U);
    EXPECT_EQ(ping.beams[0].status, beam::phaseDetection | beam::noNumber);
    EXPECT_EQ(ping.beams[0].range, 0.0);
}

TEST(SwathPings, HeadsCountFromOneInOrderOfTheirSerialNumbersAndSortWithinAPing) {
    const auto head = [](unsigned serial, std::uint32_t milliseconds) {
        RawBytes file = datagram('X', someDate, milliseconds, twoDepths(2));
        auto& bytes = file.bytes();
        unsigned sum = 0;
        bytes[18] = static_cast<std::byte>(serial & 0xFFU);
        bytes[19] = static_cast<std::byte>(serial >> 8U);
        for (std::size_t i = 5; i < bytes.size() - 3; ++i)
            sum += std::to_integer<unsigned>(bytes[i]);
        bytes[bytes.size() - 2] = static_cast<std::byte>(sum & 0xFFU);
        bytes[bytes.size() - 1] = static_cast<std::byte>(sum >> 8U & 0xFFU);
        return file;
    };
    RawBytes file = head(2031, 2000);
    file.add(head(2004, 2000)).add(head(2031, 1000)).add(head(2004, 1000));
    const RawData data = readBytes(readKongsbergAll, file.bytes());
    const auto& pings = data.depthPings.records;
    ASSERT_EQ(pings.size(), 4U);
    for (std::size_t i = 0; i < pings.size(); ++i) {
        EXPECT_EQ(pings[i].head, i % 2 + 1);
        EXPECT_EQ(pings[i].time, pings[i / 2 * 2].time);
    }
    EXPECT_LT(pings[0].time, pings[2].time);
    EXPECT_EQ(data.depthPings.stepsBack, 1U);
    EXPECT_EQ(data.depthPings.origin, "XYZ 88, serial number 2004, 2031");
}

TEST(SwathPings, APlaceThatHoldsAnotherDatagramIsRefused) {
    RawBytes file = datagram('X', someDate, 0, twoDepths(2));
    const RawData data = readBytes(readKongsbergAll, file.bytes());
    ASSERT_EQ(data.depthPings.records.size(), 1U);
    RawBytes other = datagram('N', someDate, 0, twoDepths(2));
    MemorySource source(other.bytes());
    DepthPing ping;
    EXPECT_FALSE(readKongsbergDepths(source, data.depthPings.records[0], ping));
    MemorySource empty(Bytes{});
    EXPECT_FALSE(readKongsbergDepths(empty, data.depthPings.records[0], ping));
}

TEST(SoundSpeeds, AProfileStopsWhereTheSensorDoesAndRoundsToItsSteps) {
    RawBytes content;
    content.u32(19'920'101).u32(0).u16(3).u16(1).u32(0).u32(15'180).u32(1'236).u32(15'199);
    content.u32(1'200'000).u32(16'000).zeros(1);
    RawBytes file = datagram('U', someDate, 5000, content);
    file.add(datagram('G', someDate, 6000, RawBytes().u16(2).u16(0).u16(15'012).u16(2).u16(65'535).zeros(1)));
    const RawData data = readBytes(readKongsbergAll, file.bytes());
    const auto& speeds = data.soundSpeeds.records;
    ASSERT_EQ(speeds.size(), 3U);
    EXPECT_EQ(utcText(speeds[0].time), "2014-02-19T00:00:05.000Z");
    EXPECT_EQ(speeds[1].speed, 1519.9);
    EXPECT_EQ(speeds[1].depth, 12.4);
    EXPECT_EQ(speeds[1].status, SoundSpeed::inProfile);
    EXPECT_EQ(utcText(speeds[2].time), "2014-02-19T00:00:06.000Z");
    EXPECT_EQ(speeds[2].speed, 1501.2);
    EXPECT_EQ(speeds[2].depth, 0.0);
    EXPECT_EQ(speeds[2].status, SoundSpeed::atTransducer);
    EXPECT_EQ(data.problems[ProblemKind::noValue].count, 1U);
    ASSERT_EQ(data.leftOut.size(), 1U);
    EXPECT_EQ(data.leftOut[0].count, 1U);
}

TEST(Georeference, ThePositionLiesBetweenTwoFixesAndNeverBeyondThem) {
    const double near = std::numbers::pi - 0.001;
    const std::vector<PositionFix> track{{1000, 0.5, near, 0.0}, {3000, 0.6, -near, 0.0}};
    EXPECT_FALSE(positionAt(track, 999));
    EXPECT_FALSE(positionAt(track, 3001));
    EXPECT_FALSE(positionAt({}, 1000));
    EXPECT_EQ(positionAt(track, 1000)->latitude, 0.5);
    EXPECT_EQ(positionAt(track, 3000)->latitude, 0.6);
    EXPECT_NEAR(positionAt(track, 2000)->latitude, 0.55, 1e-12);
    EXPECT_NEAR(positionAt(track, 2000)->longitude, std::numbers::pi, 1e-12);
}

TEST(Georeference, ABeamLiesByItsHeadingOnTheEllipsoid) {
    // At the equator a metre east is 1 / a, a metre north 1 / (a (1 - e2)) radians.
    constexpr double semiMajor = 6378137.0;
    constexpr double northRadius = semiMajor * (1.0 - 0.00669437999014);
    const ShipFrame east(0.0, 3.0, 90.0 * degree);
    const auto ahead = east.below(100.0, 0.0, 0.0);
    EXPECT_NEAR(ahead.longitude, 3.0 + 100.0 / semiMajor, 1e-12);
    EXPECT_NEAR(ahead.latitude, 0.0, 1e-12);
    const auto starboard = east.below(0.0, 100.0, 0.0);
    EXPECT_NEAR(starboard.latitude, -100.0 / northRadius, 1e-12);
    EXPECT_NEAR(starboard.longitude, 3.0, 1e-12);
    const auto deep = east.below(100.0, 0.0, 5000.0);
    EXPECT_NEAR(deep.longitude, 3.0 + 100.0 / (semiMajor - 5000.0), 1e-12);
    const ShipFrame high(1.2, -2.0, 0.3);
    const auto under = high.below(0.0, 0.0, 8000.0);
    EXPECT_NEAR(under.latitude, 1.2, 1e-11);
    EXPECT_NEAR(under.longitude, -2.0, 1e-12);
}

namespace {

// A file of a header and one ping of two beams, depths scaled by 100 in two bytes and the rest likewise.
RawBytes gsfFile(unsigned beams = 2) {
    RawBytes ping(ByteOrder::big);
    ping.i32(1'541'193'704).u32(500'000'000).i32(-645'970'738).i32(178'471'517);
    ping.u16(beams).u16(1).u16(1).u16(0).i16(0).i32(0).u16(27'000).zeros(56 - 32);
    ping.u32(100U << 24U | 64U).u32(5);
    for (const unsigned array : {1U, 2U, 4U, 19U, 20U})
        ping.u8(array).u8(0x20).u16(0).u32(array == 4 ? 1000 : 100).i32(array == 1 ? -1000 : 0);
    ping.u32(19U << 24U | 4U).u16(25).u16(65535).u32(20U << 24U | 4U).u16(150).u16(0);
    ping.u32(1U << 24U | 4U).u16(1050).u16(2000).u32(2U << 24U | 4U).i16(-700).i16(800);
    ping.u32(4U << 24U | 4U).u16(100).u16(200).u32(16U << 24U | 2U).u8(0).u8(5);
    ping.u32(134U << 24U | 11U).u16(302).u16(1).u16(101).u16(15'000).zeros(2);
    RawBytes file(ByteOrder::big);
    file.u32(12).u32(1).text("GSF-v03.07").zeros(2);
    return file.u32(ping.size()).u32(2).add(ping);
}

} // namespace

TEST(Gsf, APingIsScaledFlaggedAndClippedWhereItsLastPartClaimsTooMuch) {
    RawBytes file = gsfFile();
    ASSERT_TRUE(looksLikeGsf(file.bytes()));
    MemorySource source(file.bytes());
    const RawData data = readGsf(source);
    ASSERT_EQ(data.depthPings.records.size(), 1U);
    ASSERT_EQ(data.rangePings.records.size(), 1U);
    EXPECT_EQ(utcText(data.depthPings.records[0].time), "2018-11-02T21:21:44.500Z");
    ASSERT_EQ(data.navigation.records.size(), 1U);
    EXPECT_NEAR(data.navigation.records[0].longitude, -64.5970738 * degree, 1e-12);
    DepthPing depths;
    ASSERT_TRUE(readGsfDepths(source, data.depthPings.records[0], depths));
    ASSERT_EQ(depths.beams.size(), 2U);
    EXPECT_DOUBLE_EQ(depths.beams[0].z, 1010.5);
    EXPECT_DOUBLE_EQ(depths.beams[0].y, -7.0);
    EXPECT_EQ(depths.beams[0].status, beam::pingFlagged);
    EXPECT_EQ(depths.beams[1].status, beam::pingFlagged | beam::notDetected);
    ASSERT_EQ(data.uncertainPings.records.size(), 1U);
    EXPECT_DOUBLE_EQ(depths.beams[0].depthError, 0.25);
    EXPECT_DOUBLE_EQ(depths.beams[0].positionError, 1.5);
    EXPECT_DOUBLE_EQ(depths.beams[1].depthError, 655.35);
    RangePing ranges;
    ASSERT_TRUE(readGsfRanges(source, data.rangePings.records[0], ranges));
    EXPECT_DOUBLE_EQ(ranges.beams[0].travel, 0.1);
    EXPECT_DOUBLE_EQ(ranges.beams[0].range, 75.0);
}

TEST(Gsf, EveryCutAndMoreBeamsThanTheArraysHoldAreTaken) {
    RawBytes whole = gsfFile();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        MemorySource source(Bytes(whole.bytes()).first(size));
        EXPECT_TRUE(readGsf(source).depthPings.records.empty()) << size;
    }
    RawBytes many = gsfFile(3);
    MemorySource source(many.bytes());
    const RawData data = readGsf(source);
    EXPECT_TRUE(data.depthPings.records.empty());
    EXPECT_EQ(data.leftOut.size(), 2U);
}
