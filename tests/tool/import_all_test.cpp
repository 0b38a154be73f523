#include "raw_bytes.h"

#include "import/kongsbergall.h"

#include <gtest/gtest.h>

using namespace skar::import;
using namespace skar::test;

namespace {

constexpr std::uint32_t tenOClock = 36'000'000;

RawData read(RawBytes bytes) {
    return readBytes(readKongsbergAll, bytes.bytes());
}
std::uint64_t count(const RawData& data, ProblemKind kind) {
    return data.problems[kind].count;
}
std::uint64_t leftOut(const RawData& data, const std::string& what) {
    for (const LeftOut& row : data.leftOut) {
        if (row.what == what) return row.count;
    }
    return 0;
}
std::vector<std::string> times(const std::vector<TimedValue>& records) {
    std::vector<std::string> texts;
    for (const TimedValue& record : records)
        texts.push_back(utcText(record.time));
    return texts;
}

// Three positions, a second apart.
RawBytes threePositions() {
    RawBytes file;
    for (std::uint32_t i = 0; i < 3; ++i)
        file.add(position(tenOClock + i * 1000, 20'000'000 * (50 + i), 0));
    return file;
}

// Written out by hand: position 51.5 N 3.25 E, quality 1.20 m, 2022-11-09 12:00:00.500, descriptor C1h.
constexpr unsigned char positionByHand[] = {
    0x29, 0x00, 0x00, 0x00,                                     // 41 bytes follow
    0x02, 0x50, 0xF8, 0x07, 0xB5, 0x8C, 0x34, 0x01,             // mark, 'P', model 2040, 20221109
    0xF4, 0x2F, 0x93, 0x02, 0x01, 0x00, 0xD4, 0x07,             // 43 200 500 ms, counter 1, serial 2004
    0x80, 0x8D, 0x64, 0x3D, 0x20, 0xE9, 0xEF, 0x01,             // 1 030 000 000 / 2e7, 32 500 000 / 1e7
    0x78, 0x00, 0x10, 0x00, 0x20, 0x00, 0x30, 0x00, 0xC1, 0x04, // 120 cm, speed, course, heading, descriptor
    0x47, 0x47, 0x41, 0x2C, 0x03, 0x98, 0x0B};                  // "GGA,", end mark, sum 0B98h

} // namespace

TEST(KongsbergPositions, AnActivePositionIsLoadedInRadiansWithItsAccuracy) {
    const RawData data = read(position(tenOClock + 250, -20'000'000 * 12 - 5'000'000, 1'797'500'000));
    ASSERT_EQ(data.navigation.records.size(), 1U);
    const PositionFix& fix = data.navigation.records[0];
    EXPECT_EQ(utcText(fix.time), "2014-02-19T10:00:00.250Z");
    EXPECT_NEAR(fix.latitude, -12.25 * degree, 1e-15);
    EXPECT_NEAR(fix.longitude, 179.75 * degree, 1e-14);
    EXPECT_DOUBLE_EQ(fix.accuracy, 1.5);
    EXPECT_FALSE(data.problems.anyLoss());
}

TEST(KongsbergPositions, OnlyTheActiveSystemIsLoadedAndTheOtherIsCounted) {
    RawBytes file;
    for (std::uint32_t i = 0; i < 4; ++i) {
        file.add(position(tenOClock + i * 1000, 20'000'000, 0, 0xC1));
        file.add(position(tenOClock + i * 1000 + 500, 40'000'000, 0, 3));
    }
    const RawData data = read(file);
    ASSERT_EQ(data.navigation.records.size(), 4U);
    for (const PositionFix& fix : data.navigation.records)
        EXPECT_NEAR(fix.latitude, degree, 1e-15);
    EXPECT_EQ(leftOut(data, "position of system 3"), 4U);
    EXPECT_EQ(data.navigation.origin, "position, system 1");
    EXPECT_FALSE(data.problems.anyLoss());
}

TEST(KongsbergPositions, AnInvalidOneIsNoFixAndOneOffTheGlobeIsABadValue) {
    RawBytes file = position(tenOClock, 0x7FFFFFFF, 0);
    file.add(position(tenOClock, 20'000'000 * 91LL, 0)).add(position(tenOClock, 0, 1'800'000'001));
    file.add(position(tenOClock, 0, 0, 0x81, 65535));
    const RawData data = read(file);
    EXPECT_EQ(count(data, ProblemKind::noFix), 1U);
    EXPECT_EQ(count(data, ProblemKind::badValue), 2U);
    ASSERT_EQ(data.navigation.records.size(), 1U);
    EXPECT_EQ(data.navigation.records[0].accuracy, 0.0);
}

TEST(KongsbergAttitude, EntriesCarryUnitsSignsAndTimesOfTheirOwn) {
    const RawData data = read(attitude(tenOClock, {{0, -250, 125, -11, 35999}, {10, 9000, -100, 27, 0}}));
    EXPECT_EQ(times(data[ScalarKind::roll].records),
              (std::vector<std::string>{"2014-02-19T10:00:00.000Z", "2014-02-19T10:00:00.010Z"}));
    EXPECT_NEAR(data[ScalarKind::roll].records[0].value, -2.5 * degree, 1e-15);
    EXPECT_NEAR(data[ScalarKind::pitch].records[0].value, 1.25 * degree, 1e-15);
    EXPECT_DOUBLE_EQ(data[ScalarKind::heave].records[0].value, -0.11);
    EXPECT_NEAR(data[ScalarKind::gyro].records[0].value, 359.99 * degree, 1e-14);
    EXPECT_NEAR(data[ScalarKind::roll].records[1].value, 90.0 * degree, 1e-15);
    EXPECT_EQ(data.heaveSign, "positive downwards");
}

TEST(KongsbergAttitude, AnEntryBehindMidnightBelongsToTheNextDay) {
    const RawData data = read(attitude(86'399'995, {{0}, {10}}, 1, 20141231));
    EXPECT_EQ(times(data[ScalarKind::heave].records),
              (std::vector<std::string>{"2014-12-31T23:59:59.995Z", "2015-01-01T00:00:00.005Z"}));
}

TEST(KongsbergAttitude, ASensorNotInUseIsLeftOutAndCounted) {
    RawBytes file = attitude(tenOClock, {{0, 100}}, 0x01);
    file.add(attitude(tenOClock + 5, {{0, 900}}, 0x1E));
    const RawData data = read(file);
    ASSERT_EQ(data[ScalarKind::roll].records.size(), 1U);
    EXPECT_NEAR(data[ScalarKind::roll].records[0].value, degree, 1e-15);
    EXPECT_EQ(leftOut(data, "attitude of motion sensor 2"), 1U);
    EXPECT_EQ(data[ScalarKind::roll].origin, "attitude, sensor 1");
}

TEST(KongsbergAttitude, EachQuantityFollowsItsOwnBitOfTheDescriptor) {
    // Roll off, pitch on, heave off, heading on; of sensor 3.
    const RawData data = read(attitude(tenOClock, {{0, 1, 2, 3, 4}}, 0x20 | 0x08 | 0x02 | 0x01));
    EXPECT_EQ(data[ScalarKind::roll].records.size(), 0U);
    EXPECT_EQ(data[ScalarKind::pitch].records.size(), 1U);
    EXPECT_EQ(data[ScalarKind::heave].records.size(), 0U);
    EXPECT_EQ(data[ScalarKind::gyro].records.size(), 1U);
    EXPECT_EQ(data[ScalarKind::pitch].origin, "attitude, sensor 3");
    EXPECT_EQ(data.heaveSign, "");
}

TEST(KongsbergAttitude, EntriesThatTheSensorDoesNotVouchForAreLeftOut) {
    const RawData data = read(attitude(
        tenOClock, {{0, 0, 0, 0, 0, 0x9099}, {1, 0, 0, 0, 0, 0x909A}, {2, 0, 0, 0, 0, 0x90A0}, {3, 32767}}));
    EXPECT_EQ(data[ScalarKind::roll].records.size(), 1U);
    EXPECT_EQ(data[ScalarKind::heave].records.size(), 2U);
    EXPECT_EQ(count(data, ProblemKind::noValue), 3U);
}

TEST(KongsbergAttitude, EntriesAreSortedAndTheStepsBackAreCounted) {
    RawBytes file = attitude(tenOClock + 1000, {{0, 1}, {20, 2}});
    file.add(attitude(tenOClock, {{0, 3}, {20, 4}}));
    const RawData data = read(file);
    const auto& roll = data[ScalarKind::roll];
    EXPECT_EQ(roll.stepsBack, 1U);
    ASSERT_EQ(roll.records.size(), 4U);
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_LT(roll.records[i - 1].time, roll.records[i].time);
    EXPECT_NEAR(roll.records[0].value, 0.03 * degree, 1e-15);
}

TEST(KongsbergHeading, TheActiveCompassServesWhenNoMotionSensorGivesTheHeading) {
    RawBytes content;
    content.u16(2).u16(0).u16(9000).u16(1000).u16(18000).u8(1);
    RawBytes file = datagram('H', someDate, tenOClock, content);
    EXPECT_EQ(read(file)[ScalarKind::gyro].records.size(), 2U);
    EXPECT_EQ(read(file)[ScalarKind::gyro].origin, "heading datagrams");
    file.add(attitude(tenOClock, {{0, 0, 0, 0, 4500}}));
    const RawData both = read(file);
    ASSERT_EQ(both[ScalarKind::gyro].records.size(), 1U);
    EXPECT_NEAR(both[ScalarKind::gyro].records[0].value, 45.0 * degree, 1e-15);
    EXPECT_EQ(leftOut(both, "active heading entries"), 2U);
}

TEST(KongsbergHeading, AnInactiveCompassIsLeftOut) {
    RawBytes content;
    content.u16(1).u16(0).u16(9000).u8(0);
    const RawData data = read(datagram('H', someDate, tenOClock, content));
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(leftOut(data, "heading"), 1U);
}

TEST(KongsbergClock, TheDistanceOfTheExternalClockIsStated) {
    RawBytes content;
    content.u32(someDate).u32(tenOClock + 1250).u8(1).zeros(1);
    const RawData data = read(datagram('C', someDate, tenOClock, content));
    ASSERT_EQ(data.conventions.size(), 1U);
    EXPECT_NE(data.conventions[0].find("+1.250 to +1.250 s"), std::string::npos) << data.conventions[0];
}

TEST(KongsbergFraming, TheByteOrderIsToldByTheFirstLengthWord) {
    RawBytes file(ByteOrder::big);
    file.add(position(tenOClock, 20'000'000, 30'000'000, 0x81, 100, someDate, ByteOrder::big));
    file.add(attitude(tenOClock, {{5, 100, 200, 300, 400}}, 1, someDate, ByteOrder::big));
    EXPECT_TRUE(looksLikeKongsbergAll(file.bytes()));
    const RawData data = read(file);
    ASSERT_EQ(data.navigation.records.size(), 1U);
    EXPECT_NEAR(data.navigation.records[0].longitude, 3.0 * degree, 1e-15);
    ASSERT_EQ(data[ScalarKind::heave].records.size(), 1U);
    EXPECT_DOUBLE_EQ(data[ScalarKind::heave].records[0].value, 3.0);
    EXPECT_FALSE(data.problems.anyLoss());
}

TEST(KongsbergFraming, ADatagramOfTheBytesOfTheFormatDescriptionIsUnderstood) {
    MemorySource source(std::as_bytes(std::span(positionByHand)));
    const RawData data = readKongsbergAll(source);
    ASSERT_EQ(data.navigation.records.size(), 1U);
    EXPECT_NEAR(data.navigation.records[0].latitude, 51.5 * degree, 1e-15);
    EXPECT_NEAR(data.navigation.records[0].longitude, 3.25 * degree, 1e-15);
    EXPECT_DOUBLE_EQ(data.navigation.records[0].accuracy, 1.2);
    EXPECT_EQ(utcText(data.navigation.records[0].time), "2022-11-09T12:00:00.500Z");
}

TEST(KongsbergFraming, AWrongChecksumDropsThatDatagramOnly) {
    RawBytes file = threePositions();
    const std::size_t one = file.size() / 3;
    file.bytes()[one + 4 + 20] ^= std::byte{0x10};
    const RawData data = read(file);
    EXPECT_EQ(data.navigation.records.size(), 2U);
    EXPECT_EQ(count(data, ProblemKind::checksum), 1U);
    EXPECT_EQ(data.problems[ProblemKind::checksum].offsets, (std::vector<std::uint64_t>{one}));
    EXPECT_EQ(data.problems[ProblemKind::checksum].bytes, one);
    EXPECT_TRUE(data.problems.anyLoss());
}

TEST(KongsbergFraming, AWrongLengthIsPassedOverUpToTheNextSoundDatagram) {
    for (const unsigned length : {0U, 1U, 40U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        RawBytes file = threePositions();
        const std::size_t one = file.size() / 3;
        RawBytes word;
        word.u32(length);
        std::copy(word.bytes().begin(), word.bytes().end(),
                  file.bytes().begin() + static_cast<std::ptrdiff_t>(one));
        const RawData data = read(file);
        EXPECT_EQ(data.navigation.records.size(), 2U) << length;
        EXPECT_EQ(count(data, ProblemKind::length), 1U) << length;
        EXPECT_EQ(data.problems[ProblemKind::length].bytes, one) << length;
    }
}

TEST(KongsbergFraming, StrayBytesBetweenDatagramsArePassedOver) {
    RawBytes file = position(tenOClock, 0, 0);
    file.text("not a datagram").add(position(tenOClock, 0, 0));
    const RawData data = read(file);
    EXPECT_EQ(data.navigation.records.size(), 2U);
    EXPECT_EQ(count(data, ProblemKind::framing), 1U);
    EXPECT_EQ(data.problems[ProblemKind::framing].bytes, 14U);
}

TEST(KongsbergFraming, StrayBytesAheadOfTheFirstDatagramDoNotHideTheByteOrder) {
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        RawBytes file;
        file.text("junk").add(position(tenOClock, 20'000'000, 0, 0x81, 100, someDate, order));
        const RawData data = read(file);
        ASSERT_EQ(data.navigation.records.size(), 1U);
        EXPECT_NEAR(data.navigation.records[0].latitude, degree, 1e-15);
        EXPECT_EQ(data.problems[ProblemKind::framing].bytes, 4U);
    }
}

TEST(KongsbergFraming, AFileCutAnywhereLoadsUpToTheCutAndSaysSo) {
    RawBytes whole = threePositions();
    const std::size_t one = whole.size() / 3;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const std::vector<std::byte> bytes(whole.bytes().begin(),
                                           whole.bytes().begin() + static_cast<std::ptrdiff_t>(size));
        const RawData data = readBytes(readKongsbergAll, bytes);
        EXPECT_EQ(data.navigation.records.size(), size / one) << size;
        EXPECT_EQ(count(data, ProblemKind::truncated), size % one == 0 ? 0U : 1U) << size;
        EXPECT_EQ(data.problems[ProblemKind::truncated].bytes, size % one) << size;
    }
}

TEST(KongsbergFraming, EveryByteTurnedOverCostsAtMostThatDatagram) {
    const RawBytes whole = threePositions();
    for (std::size_t i = 0; i < whole.size(); ++i) {
        RawBytes file = whole;
        file.bytes()[i] ^= std::byte{0xFF};
        const RawData data = read(file);
        EXPECT_EQ(data.navigation.records.size(), 2U) << i;
        EXPECT_TRUE(data.problems.anyLoss()) << i;
    }
}

TEST(KongsbergFraming, DatagramsBeyondTheReadingWindowAreFound) {
    RawBytes file = position(tenOClock, 0, 0);
    const RawBytes large = datagram('k', someDate, tenOClock, RawBytes().zeros(900'000));
    for (int i = 0; i < 12; ++i)
        file.add(large);
    file.add(position(tenOClock, 0, 0));
    const RawData data = read(file);
    EXPECT_EQ(data.navigation.records.size(), 2U);
    EXPECT_EQ(leftOut(data, "water column"), 12U);
    EXPECT_FALSE(data.problems.anyLoss());
}

TEST(KongsbergFraming, AFileThatClaimsADatagramEverywhereIsReadInNoTime) {
    // Behind the junk every eighth byte begins a datagram of half a mebibyte with both marks in place and a
    // wrong checksum; a reader that sums each anew would take minutes.
    RawBytes file;
    file.text("junk");
    while (file.size() < (std::size_t{8} << 20U))
        file.u32(0x080004).u8(2).u8(3).u8(0).u8(1);
    const RawData data = read(file);
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(data.problems[ProblemKind::framing].bytes, file.size());
}

TEST(KongsbergDatagrams, ACountThatDoesNotFitIsAWrongLength) {
    RawBytes content;
    content.u16(1000).zeros(12).u8(1);
    const RawData data = read(datagram('A', someDate, tenOClock, content));
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(count(data, ProblemKind::length), 1U);
}

TEST(KongsbergDatagrams, ADateThatIsNoneIsCounted) {
    RawBytes file = position(tenOClock, 0, 0, 0x81, 100, 20140231);
    file.add(position(tenOClock, 0, 0, 0x81, 100, 0)).add(position(90'000'000, 0, 0));
    const RawData data = read(file);
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(count(data, ProblemKind::noDate), 3U);
}

TEST(KongsbergDatagrams, WhatIsNotCarriedOverIsCountedByItsName) {
    RawBytes file = datagram('O', someDate, tenOClock, RawBytes().zeros(20));
    file.add(datagram('O', someDate, tenOClock, RawBytes().zeros(20)));
    file.add(datagram('\x7E', someDate, tenOClock, RawBytes().zeros(3)));
    const RawData data = read(file);
    EXPECT_EQ(leftOut(data, "quality factor 79"), 2U);
    EXPECT_EQ(leftOut(data, "type 7Eh"), 1U);
}

TEST(KongsbergDatagrams, DetectionNeedsMarkLengthAndDate) {
    EXPECT_TRUE(looksLikeKongsbergAll(position(tenOClock, 0, 0).bytes()));
    EXPECT_FALSE(looksLikeKongsbergAll(position(tenOClock, 0, 0, 0x81, 100, 7).bytes()));
    EXPECT_FALSE(looksLikeKongsbergAll({}));
}
