#include "xtf_bytes.h"

#include "import/kongsbergall.h"
#include "import/kongsbergswath.h"
#include "import/xtf.h"
#include "support/processortime.h"

#include <gtest/gtest.h>

#include <limits>

using namespace skar::import;
using namespace skar::test;

namespace {

const std::vector<XtfChannelBytes> twoSides{{1, 1}, {2, 1}};

RawData read(RawBytes file) {
    return readBytes(readXtf, file.bytes());
}

RawBytes threePings() {
    RawBytes file = xtfHeader(twoSides);
    for (unsigned second = 1; second <= 3; ++second)
        file.add(xtfBytePing(second, {second, 20, 30}, {40, 50, 60}));
    return file;
}

ImagePing imageOf(RawBytes file) {
    MemorySource source(file.bytes());
    const RawData data = readXtf(source);
    ImagePing ping;
    EXPECT_EQ(data.imagePings.records.size(), 1U);
    if (!data.imagePings.records.empty()) {
        EXPECT_TRUE(readXtfImage(source, data.imagePings.records[0], ping));
    }
    return ping;
}

std::size_t loaded(const RawData& data) {
    return data.imagePings.records.size();
}

using Samples = std::vector<std::uint16_t>;

} // namespace

TEST(Xtf, IsKnownByItsFirstPacketAndNotByABraceAlone) {
    EXPECT_TRUE(looksLikeXtf(threePings().bytes()));
    EXPECT_FALSE(looksLikeXtf(Bytes{}));
    EXPECT_FALSE(looksLikeXtf(xtfHeader(twoSides).bytes()));
    RawBytes json = RawBytes().text("{\"a\": 1}").zeros(4000);
    EXPECT_FALSE(looksLikeXtf(json.bytes()));
    RawBytes file = threePings();
    MemorySource named(file.bytes());
    EXPECT_STREQ(detectFormat(named, "x")->name, "XTF");
}

TEST(Xtf, SamplesOfBothSidesRunFromTheSonarOutwards) {
    const ImagePing ping = imageOf(xtfHeader(twoSides).add(xtfBytePing(1, {10, 20, 30}, {40, 50})));
    EXPECT_EQ(ping.port, (Samples{30, 20, 10}));
    EXPECT_EQ(ping.starboard, (Samples{40, 50}));
    EXPECT_TRUE(ping.secondPort.empty());
    EXPECT_EQ(ping.sampleBytes, 1U);
}

TEST(Xtf, PingsCarryTimeNumberIntervalHeightAndSpeed) {
    RawBytes file = xtfHeader(twoSides);
    file.add(xtfPing(34, {{0, RawBytes().u8(1).u8(2), 2, 75.0F, 0.1F, 0.05F}},
                     [](Fields& head) { head.u32(28, 4711).f32(32, 740.0F).f32(196, 17.5F); }));
    const RawData data = read(file);
    ASSERT_EQ(loaded(data), 1U);
    EXPECT_EQ(utcText(data.imagePings.records[0].time), "2009-11-08T12:36:34.500Z");
    EXPECT_EQ(data.imagePings.records[0].head, 1U);
    EXPECT_EQ(data.imagePings.records[0].samples, 2U);
    const ImagePing ping = imageOf(file);
    EXPECT_EQ(ping.number, 4711U);
    EXPECT_NEAR(ping.interval, 0.05, 1e-9);
    EXPECT_NEAR(ping.delay, 0.05, 1e-9);
    EXPECT_DOUBLE_EQ(ping.soundSpeed, 1480.0);
    EXPECT_DOUBLE_EQ(ping.height, 17.5);
    EXPECT_TRUE(ping.starboard.empty());
}

TEST(Xtf, ASpeedThatIsNotStatedComesFromRangeAndDuration) {
    EXPECT_NEAR(imageOf(xtfHeader(twoSides).add(xtfBytePing(1, {1}, {2}))).soundSpeed, 1500.0, 1e-3);
    const auto stated = [](float speed) {
        return imageOf(xtfHeader(twoSides).add(
            xtfPing(1, {{0, RawBytes().u8(1), 1, 75.0F, 0.0F}}, [&](Fields& head) { head.f32(32, speed); })));
    };
    // Without a duration the interval comes from the range.
    EXPECT_NEAR(stated(750.0F).interval, 0.1, 1e-9);
    EXPECT_EQ(stated(1480.0F).soundSpeed, 1480.0);
    EXPECT_EQ(stated(3.0F).soundSpeed, 0.0);
    EXPECT_NEAR(stated(3.0F).interval, 0.1, 1e-9);
}

TEST(Xtf, ASecondPairOfChannelsIsKeptBesideTheFirst) {
    const std::vector<XtfChannelBytes> channels{{1, 1}, {2, 1}, {1, 2}, {2, 2}, {3, 1}, {1, 1}};
    RawBytes file = xtfHeader(channels);
    file.add(xtfPing(1, {{0, RawBytes().u8(1).u8(2), 2},
                         {1, RawBytes().u8(3).u8(4), 2},
                         {2, RawBytes().u16(500).u16(600), 2, 75.0F, 0.2F},
                         {3, RawBytes().u16(700), 1},
                         {4, RawBytes().u8(9), 1},
                         {5, RawBytes().u8(9), 1}}));
    const ImagePing ping = imageOf(file);
    EXPECT_EQ(ping.port, (Samples{2, 1}));
    EXPECT_EQ(ping.starboard, (Samples{3, 4}));
    EXPECT_EQ(ping.secondPort, (Samples{600, 500}));
    EXPECT_EQ(ping.secondStarboard, Samples{700});
    EXPECT_EQ(ping.sampleBytes, 2U);
    EXPECT_NEAR(ping.interval, 0.05, 1e-9);
    EXPECT_NEAR(ping.secondInterval, 0.1, 1e-8);
    const RawData data = read(file);
    ASSERT_EQ(data.leftOut.size(), 1U);
    EXPECT_EQ(data.leftOut[0].what, "side scan channels");
    EXPECT_EQ(data.leftOut[0].count, 2U);
}

TEST(Xtf, MoreThanSixChannelsMakeTheHeaderLonger) {
    std::vector<XtfChannelBytes> channels(7, XtfChannelBytes{3, 1});
    channels[6] = {2, 1};
    RawBytes file = xtfHeader(channels);
    ASSERT_EQ(file.size(), 2048U);
    file.add(xtfPing(1, {{6, RawBytes().u8(8).u8(9), 2}}));
    EXPECT_EQ(imageOf(file).starboard, (Samples{8, 9}));
}

TEST(Xtf, APingThatClaimsMoreThanItHoldsIsNotLoaded) {
    for (const unsigned count : {4000U, 0xFFFFFFFFU}) {
        RawBytes file = xtfHeader(twoSides);
        file.add(xtfPing(1, {{0, RawBytes().u8(1), count}})).add(xtfBytePing(2, {1}, {2}));
        const RawData data = read(file);
        EXPECT_EQ(loaded(data), 1U);
        EXPECT_EQ(data.problems[ProblemKind::length].count, 1U);
        EXPECT_EQ(data.problems[ProblemKind::length].offsets, std::vector<std::uint64_t>{1024});
    }
}

TEST(Xtf, AChannelThatTheHeaderDoesNotNameIsNotLoaded) {
    const RawData data = read(xtfHeader(twoSides).add(xtfPing(1, {{2, RawBytes().u8(1), 1}})));
    EXPECT_EQ(loaded(data), 0U);
    EXPECT_EQ(data.problems[ProblemKind::length].count, 1U);
}

TEST(Xtf, APingWithoutADateIsNotLoaded) {
    RawBytes file = xtfHeader(twoSides);
    file.add(xtfPing(1, {{0, RawBytes().u8(1), 1}}, [](Fields& head) { head.u8(16, 13); }));
    file.add(xtfPing(1, {{0, RawBytes().u8(1), 1}}, [](Fields& head) { head.u8(21, 100); }));
    const RawData data = read(file);
    EXPECT_EQ(loaded(data), 0U);
    EXPECT_EQ(data.problems[ProblemKind::noDate].count, 2U);
}

TEST(Xtf, AWrongSizeLosesThatPacketOnly) {
    for (const std::uint64_t size : {13U, 100U, 700U, 0x7FFFFFFFU}) {
        RawBytes file = threePings();
        const std::size_t packet = (file.size() - 1024) / 3;
        const std::size_t second = 1024 + packet;
        for (unsigned i = 0; i < 4; ++i)
            file.bytes()[second + 10 + i] = static_cast<std::byte>(size >> (8 * i) & 0xFFU);
        const RawData data = read(file);
        EXPECT_EQ(loaded(data), 2U) << size;
        const Problem& framing = data.problems[ProblemKind::framing];
        const Problem& length = data.problems[ProblemKind::length];
        EXPECT_EQ(length.count, size < 14 ? 0U : 1U) << size;
        EXPECT_EQ((size < 14 ? framing : length).offsets, std::vector<std::uint64_t>{second}) << size;
        // What lies behind a packet that is too short for its content belongs to none.
        EXPECT_EQ(framing.bytes + length.bytes, size == 100 ? packet - size : packet) << size;
    }
}

TEST(Xtf, BytesBetweenPacketsAndBehindThemArePassedOver) {
    RawBytes file = xtfHeader(twoSides);
    file.zeros(5).add(xtfBytePing(1, {1}, {2})).text("noise").add(xtfBytePing(2, {1}, {2})).zeros(100);
    const RawData data = read(file);
    EXPECT_EQ(loaded(data), 2U);
    EXPECT_EQ(data.problems[ProblemKind::framing].count, 3U);
    EXPECT_EQ(data.problems[ProblemKind::framing].bytes, 5U + 5U + 100U);
}

TEST(Xtf, ACutFileIsLoadedUpToTheCut) {
    const RawBytes whole = threePings();
    const std::size_t packet = (whole.size() - 1024) / 3;
    for (std::size_t size = 1024; size < whole.size(); size += 7) {
        RawBytes file = whole;
        file.bytes().resize(size);
        const RawData data = read(file);
        EXPECT_EQ(loaded(data), (size - 1024) / packet) << size;
        const bool ragged = (size - 1024) % packet != 0;
        EXPECT_EQ(data.problems[ProblemKind::truncated].count + data.problems[ProblemKind::framing].count,
                  ragged ? 1U : 0U)
            << size;
    }
}

TEST(Xtf, ACutHeaderOrTooManyChannelsAreRefused) {
    RawBytes cut = threePings();
    cut.bytes().resize(1023);
    EXPECT_THROW(read(cut), ImportError);
    EXPECT_THROW(read(RawBytes()), ImportError);
    RawBytes many = threePings();
    many.bytes()[167] = std::byte{0xFF};
    EXPECT_THROW(read(many), ImportError);
}

TEST(Xtf, AFileFullOfFalseBeginningsIsReadInBoundedTime) {
    constexpr std::size_t size = 1U << 20U;
    // Marks alone; heads of packets that end nowhere; likely heads that overlap; the smallest sound ones.
    for (const unsigned claimed : {0U, 0x20001U, 0x20000U, 14U}) {
        RawBytes file = xtfHeader(twoSides);
        while (file.size() < size) {
            if (claimed == 0)
                file.u16(0xFACE);
            else
                file.u16(0xFACE).zeros(8).u32(claimed);
        }
        const skar::tests::ProcessorTime spent;
        const RawData data = read(file);
        EXPECT_LT(spent.seconds(), skar::tests::hostileLimit) << claimed;
        EXPECT_EQ(loaded(data), 0U);
    }
}

TEST(Xtf, ShipAndTowfishComeFromThePingHeadersWhereTheyAreNotZero) {
    RawBytes file = xtfHeader(twoSides);
    for (unsigned second = 1; second <= 2; ++second) {
        file.add(xtfPing(second, {{0, RawBytes().u8(1), 1}}, [&](Fields& head) {
            head.f32(124, 291.5F).f64(128, 42.5).f64(136, -73.5).f64(160, 42.25).f64(168, -73.25);
            head.u16(182, 130).u8(249, 25).f32(192, 8.0F).f32(196, second == 1 ? 0.0F : 12.5F);
        }));
    }
    const RawData data = read(file);
    ASSERT_EQ(data.navigation.records.size(), 2U);
    EXPECT_DOUBLE_EQ(data.navigation.records[0].latitude, 42.5 * degree);
    EXPECT_DOUBLE_EQ(data.navigation.records[0].longitude, -73.5 * degree);
    ASSERT_EQ(data.fishNavigation.records.size(), 2U);
    EXPECT_DOUBLE_EQ(data.fishNavigation.records[1].latitude, 42.25 * degree);
    EXPECT_DOUBLE_EQ(data[ScalarKind::gyro].records.at(0).value, 291.5 * degree);
    EXPECT_DOUBLE_EQ(data[ScalarKind::cableOut].records.at(1).value, 130.25);
    EXPECT_DOUBLE_EQ(data[ScalarKind::fishDepth].records.at(0).value, 8.0);
    // A height of 0 is none.
    ASSERT_EQ(data[ScalarKind::fishHeight].records.size(), 1U);
    EXPECT_DOUBLE_EQ(data[ScalarKind::fishHeight].records[0].value, 12.5);
    EXPECT_TRUE(data[ScalarKind::fishGyro].records.empty());
    EXPECT_TRUE(data[ScalarKind::heave].records.empty());
}

TEST(Xtf, PositionsInMetresAreCountedAndLeft) {
    RawBytes file = xtfHeader(twoSides, 0);
    file.add(xtfPing(1, {{0, RawBytes().u8(1), 1}},
                     [](Fields& head) { head.f64(160, 5181399.39).f64(168, 571019.83); }));
    const RawData data = read(file);
    EXPECT_TRUE(data.fishNavigation.records.empty());
    ASSERT_EQ(data.leftOut.size(), 1U);
    EXPECT_EQ(data.leftOut[0].what, "positions of the sensor");
    EXPECT_EQ(data.leftOut[0].count, 1U);
}

TEST(Xtf, ValuesBeyondTheirRangeAreCountedWithTheirPlace) {
    RawBytes file = xtfHeader(twoSides);
    file.add(xtfPing(1, {{0, RawBytes().u8(1), 1}}, [](Fields& head) {
        head.f32(212, 400.0F).f32(196, std::numeric_limits<float>::quiet_NaN()).f64(160, 91.0);
    }));
    const RawData data = read(file);
    EXPECT_EQ(loaded(data), 1U);
    EXPECT_EQ(data.problems[ProblemKind::badValue].count, 3U);
    EXPECT_EQ(data.problems[ProblemKind::badValue].offsets.front(), 1024U);
    EXPECT_EQ(imageOf(file).height, 0.0);
}

TEST(Xtf, AttitudesWithADateHaveTheirOwnTime) {
    RawBytes file = xtfHeader(twoSides);
    file.add(xtfAttitude(1, 2.0F, 2009, 250)).add(xtfAttitude(2, 3.0F, 2009, 750)).add(xtfAttitude(3, 4.0F));
    const RawData data = read(file);
    ASSERT_EQ(data[ScalarKind::roll].records.size(), 2U);
    EXPECT_EQ(utcText(data[ScalarKind::roll].records[0].time), "2009-11-08T12:36:07.250Z");
    EXPECT_DOUBLE_EQ(data[ScalarKind::roll].records[0].value, 2.0 * degree);
    EXPECT_DOUBLE_EQ(data[ScalarKind::pitch].records[0].value, 1.5 * degree);
    EXPECT_DOUBLE_EQ(data[ScalarKind::heave].records[0].value, 0.25);
    EXPECT_DOUBLE_EQ(data[ScalarKind::gyro].records[0].value, 90.0 * degree);
    EXPECT_EQ(data.heaveSign, "positive upwards");
    EXPECT_EQ(data.problems[ProblemKind::noDate].count, 1U);
}

TEST(Xtf, AttitudesWithoutADateAreTiedToThePingsByTheirTags) {
    const auto tagged = [](unsigned second, std::uint32_t tag) {
        return xtfPing(second, {{0, RawBytes().u8(1), 1}}, [&](Fields& head) { head.u32(224, tag); });
    };
    RawBytes file = xtfHeader(twoSides);
    // The clock stands 480 and 520 ms ahead of the tags: half way between them is taken.
    file.add(tagged(10, 10'020)).add(xtfAttitude(10'300, 2.0F)).add(tagged(11, 10'980));
    RawData data = read(file);
    ASSERT_EQ(data[ScalarKind::roll].records.size(), 1U);
    EXPECT_EQ(utcText(data[ScalarKind::roll].records[0].time), "2009-11-08T12:36:10.800Z");
    // Tags that were begun anew tell nothing.
    file.add(tagged(12, 100));
    data = read(file);
    EXPECT_TRUE(data[ScalarKind::roll].records.empty());
    EXPECT_EQ(data.problems[ProblemKind::noDate].count, 1U);
}

TEST(Xtf, NavigationPacketsComeBeforeThePositionsOfPings) {
    Fields packet = xtfPacketHead(107, 64, 64);
    packet.u16(14, 2015).u8(16, 7).u8(17, 8).u8(18, 23).u8(19, 52).u8(20, 15).u16(21, 9080);
    packet.f64(23, 37.5).f64(31, -122.25);
    RawBytes file = xtfHeader(twoSides);
    file.add(
        xtfPing(1, {{0, RawBytes().u8(1), 1}}, [](Fields& head) { head.f64(128, 42.5).f64(136, -73.5); }));
    file.add(packet.bytes());
    const RawData data = read(file);
    ASSERT_EQ(data.navigation.records.size(), 1U);
    EXPECT_EQ(utcText(data.navigation.records[0].time), "2015-07-08T23:52:15.908Z");
    EXPECT_DOUBLE_EQ(data.navigation.records[0].longitude, -122.25 * degree);
    EXPECT_EQ(data.navigation.origin, "navigation packets");
}

TEST(Xtf, OtherPacketsAreCountedByName) {
    RawBytes file = xtfHeader(twoSides);
    file.add(xtfPacketHead(1, 64, 64).bytes()).add(xtfPacketHead(200, 64, 64).bytes());
    const RawData data = read(file);
    ASSERT_EQ(data.leftOut.size(), 2U);
    EXPECT_EQ(data.leftOut[0].what, "note");
    EXPECT_EQ(data.leftOut[1].what, "type 200");
}

TEST(Xtf, APlaceThatIsNoPingAnyMoreIsRefused) {
    RawBytes file = threePings();
    const RawData data = read(file);
    RawBytes cut = file;
    cut.bytes().resize(1024 + 300);
    MemorySource source(cut.bytes());
    ImagePing ping;
    EXPECT_FALSE(readXtfImage(source, data.imagePings.records.at(2), ping));
    MemorySource empty(Bytes{});
    EXPECT_FALSE(readXtfImage(empty, data.imagePings.records.at(0), ping));
}

namespace {

struct Beam {
    int direction = 0;
    unsigned samples = 0;
};

RawBytes seabed(const std::vector<Beam>& beams, const std::vector<int>& samples, float rate = 1000.0F) {
    RawBytes content;
    content.u32(std::bit_cast<std::uint32_t>(rate)).u16(40).i16(-100).i16(-200).u16(10).u16(50);
    content.u16(static_cast<unsigned>(beams.size()));
    for (const Beam& beam : beams)
        content.u8(static_cast<unsigned>(beam.direction) & 0xFFU).u8(1).u16(beam.samples).u16(1);
    for (const int sample : samples)
        content.i16(sample);
    return datagram('Y', someDate, 5000, content.zeros(1));
}

ImagePing seabedPing(RawBytes file) {
    MemorySource source(file.bytes());
    const RawData data = readKongsbergAll(source);
    ImagePing ping;
    EXPECT_EQ(data.imagePings.records.size(), 1U);
    if (!data.imagePings.records.empty()) {
        EXPECT_TRUE(readKongsbergImage(source, data.imagePings.records[0], ping));
    }
    return ping;
}

} // namespace

TEST(SeabedImage, PortRunsFromTheNadirBackAndStarboardOn) {
    const ImagePing ping = seabedPing(seabed({{-1, 2}, {-1, 1}, {1, 2}}, {-10, -20, -30, -40, -50}));
    EXPECT_EQ(ping.port, (Samples{32768 - 30, 32768 - 20, 32768 - 10}));
    EXPECT_EQ(ping.starboard, (Samples{32768 - 40, 32768 - 50}));
    EXPECT_EQ(ping.sampleBytes, 2U);
    EXPECT_EQ(ping.number, 7U);
    EXPECT_DOUBLE_EQ(ping.interval, 0.001);
    EXPECT_DOUBLE_EQ(ping.delay, 0.040);
    EXPECT_EQ(ping.soundSpeed, 0.0);
}

TEST(SeabedImage, SingleBeamsTheOtherWayRoundDoNotMoveTheNadir) {
    const ImagePing ping = seabedPing(seabed(
        {{-1, 1}, {1, 1}, {-1, 1}, {-1, 1}, {1, 1}, {-1, 1}, {1, 1}, {1, 1}}, {1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(ping.port.size(), 4U);
    EXPECT_EQ(ping.starboard.size(), 4U);
}

TEST(SeabedImage, ASampleWithoutValueIsZero) {
    const ImagePing ping = seabedPing(seabed({{1, 3}}, {-32767, 32767, -32768}));
    EXPECT_EQ(ping.starboard, (Samples{0, 65535, 0}));
    EXPECT_TRUE(ping.port.empty());
}

TEST(SeabedImage, WhatClaimsMoreThanItHoldsOrHasNoRateIsNotLoaded) {
    RawBytes file = seabed({{1, 4}}, {1, 2});
    file.add(seabed({{1, 2}}, {1, 2}, 0.0F));
    file.add(seabed({{1, 2}}, {1, 2}, std::numeric_limits<float>::quiet_NaN()));
    file.add(seabed({}, {}));
    const RawData data = readBytes(readKongsbergAll, file.bytes());
    EXPECT_TRUE(data.imagePings.records.empty());
    EXPECT_EQ(data.problems[ProblemKind::length].count, 1U);
    EXPECT_EQ(data.problems[ProblemKind::badValue].count, 2U);
    ASSERT_EQ(data.leftOut.size(), 1U);
    EXPECT_EQ(data.leftOut[0].what, "seabed image 89");
}
