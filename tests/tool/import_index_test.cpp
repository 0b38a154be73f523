#include "raw_bytes.h"
#include "xtf_bytes.h"

#include "import/gsf.h"
#include "import/kongsbergall.h"
#include "import/nmea.h"
#include "import/recorderlog.h"
#include "import/xtf.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace skar::import;
using namespace skar::test;

namespace {

constexpr Micros second = microsPerSecond;

Micros at(int hour, int minute, int secondOfMinute) {
    return *midnight(2014, 2, 19) + (Micros{hour} * 3600 + minute * 60 + secondOfMinute) * second;
}

void expectRecord(const RawRecord& record, std::uint64_t offset, std::uint32_t length, std::uint32_t type,
                  Micros time) {
    EXPECT_EQ(record.offset, offset);
    EXPECT_EQ(record.length, length);
    EXPECT_EQ(record.type, type);
    EXPECT_EQ(record.time, time);
}

double value(const ErrorFigures& figures, ErrorKind kind) {
    return figures.values[static_cast<std::size_t>(kind)];
}

constexpr std::uint32_t tenOClock = 36'000'000;

TEST(IndexOfEmRawData, HasEverySoundDatagramInTheOrderOfTheFile) {
    const RawBytes first = position(tenOClock, 20'000'000, 10'000'000);
    const RawBytes inactive = position(tenOClock + 1000, 20'000'000, 10'000'000, 3);
    const RawBytes unknown = datagram('z', someDate, tenOClock, RawBytes().zeros(4));
    const RawBytes undated = datagram('C', 20141301, 0, RawBytes().zeros(9));
    RawBytes file = first;
    file.add(inactive).add(unknown).add(undated).add(position(tenOClock - 1000, 0, 0));
    file.bytes()[first.size() + inactive.size() + 12] ^= std::byte{1}; // damages the third
    const RawData data = readBytes(readKongsbergAll, file.bytes());
    ASSERT_EQ(data.index.size(), 4U);
    std::uint64_t offset = 0;
    expectRecord(data.index[0], offset, static_cast<std::uint32_t>(first.size()), 'P', at(10, 0, 0));
    offset += first.size();
    expectRecord(data.index[1], offset, static_cast<std::uint32_t>(inactive.size()), 'P', at(10, 0, 1));
    offset += inactive.size() + unknown.size();
    expectRecord(data.index[2], offset, static_cast<std::uint32_t>(undated.size()), 'C', RawRecord::untimed);
    EXPECT_EQ(data.index[3].time, at(9, 59, 59)) << "in the order of the file, not of time";
}

TEST(ErrorsOfEmRawData, AreTheFixQualityOfTheActivePositions) {
    RawBytes file = position(tenOClock, 20'000'000, 10'000'000, 0x81, 150);
    file.add(position(tenOClock + 1000, 20'000'000, 10'000'000, 0x03, 10));
    file.add(position(tenOClock + 2000, 20'000'000, 10'000'000, 0x81, 65535));
    file.add(position(tenOClock + 3000, 20'000'000, 10'000'000, 0xC1, 7));
    const RawData data = readBytes(readKongsbergAll, file.bytes());
    const auto& errors = data.errorFigures.records;
    ASSERT_EQ(errors.size(), 2U) << "one is inactive, one states none";
    EXPECT_EQ(errors[0].time, at(10, 0, 0));
    EXPECT_EQ(value(errors[0], ErrorKind::north), 1.5);
    EXPECT_EQ(value(errors[0], ErrorKind::east), 1.5);
    EXPECT_TRUE(std::isnan(value(errors[0], ErrorKind::roll)));
    EXPECT_EQ(errors[1].time, at(10, 0, 3));
    EXPECT_EQ(value(errors[1], ErrorKind::north), 0.07);
}

TEST(IndexOfNmea, HasEverySoundSentenceWithTheTimeThatHoldsForIt) {
    const std::string heading = sentence("HEHDT,90.0,T");
    const std::string fix = sentence("GPGGA,235959.00,5130.000,N,00315.000,W,1,08,1.0,10.0,M,,M,,");
    const std::string date = sentence("GPZDA,000001.00,19,02,2014,00,00");
    const std::string ship = "!" + sentence("AIVDM,1,1,,A,13u?etPv2;0n:dDPwUM1U1Cb069D,0").substr(1);
    const std::string text =
        heading + fix + heading + "# a remark\n" + date + ship + "$GPGGA,broken*00\n" + fix;
    const RawData data = readText(readNmea, text);
    ASSERT_EQ(data.index.size(), 6U);
    const auto length = [](const std::string& line) {
        return static_cast<std::uint32_t>(line.find_first_of("\r\n"));
    };
    const Micros midnightBefore = *midnight(2014, 2, 19);
    constexpr std::uint32_t hdt = 0x484454;
    constexpr std::uint32_t gga = 0x474741;
    constexpr std::uint32_t zda = 0x5A4441;
    constexpr std::uint32_t vdm = 0x56444D;
    std::uint64_t offset = 0;
    expectRecord(data.index[0], offset, length(heading), hdt, RawRecord::untimed);
    offset += heading.size();
    expectRecord(data.index[1], offset, length(fix), gga, midnightBefore - second);
    offset += fix.size();
    expectRecord(data.index[2], offset, length(heading), hdt, midnightBefore - second);
    offset += heading.size() + 11;
    expectRecord(data.index[3], offset, length(date), zda, midnightBefore + second);
    offset += date.size();
    expectRecord(data.index[4], offset, length(ship), vdm, midnightBefore + second);
    offset += ship.size() + 17;
    expectRecord(data.index[5], offset, length(fix), gga, midnightBefore - second);
}

TEST(IndexOfNmea, WithoutADateHasNoTimes) {
    const RawData data =
        readText(readNmea, sentence("GPGGA,100001.00,5130.000,N,00315.000,W,1,08,1.0,10.0,M,,M,,"));
    ASSERT_EQ(data.index.size(), 1U);
    EXPECT_EQ(data.index[0].time, RawRecord::untimed);
}

TEST(IndexOfNmea, NumbersAMakersSentenceByFourLetters) {
    const RawData data = readText(readNmea, sentence("PASHR,204132.000,010.51,T,,,,,,,1,0"));
    ASSERT_EQ(data.index.size(), 1U);
    EXPECT_EQ(data.index[0].type, 0x41534852U);
}

const std::string zda = sentence("GPZDA,100000.00,19,02,2014,00,00");

TEST(ErrorsOfNmea, AreThoseOfPositionSentences) {
    const RawData data = readText(readNmea, zda + sentence("GPGST,100001.00,1.2,0.9,0.5,40.0,0.25,0.75,1.9") +
                                                sentence("GPGST,100002.00,1.2,,,,,,1.9") +
                                                sentence("GPGST,100003.00,1.2,0.9,0.5,40.0,-0.25,0.75,1.9"));
    ASSERT_EQ(data.errorFigures.records.size(), 1U);
    const ErrorFigures& figures = data.errorFigures.records[0];
    EXPECT_EQ(figures.time, at(10, 0, 1));
    EXPECT_EQ(value(figures, ErrorKind::north), 0.25);
    EXPECT_EQ(value(figures, ErrorKind::east), 0.75);
    EXPECT_TRUE(std::isnan(value(figures, ErrorKind::heave)));
    EXPECT_EQ(data.errorFigures.origin, "GPGST");
    EXPECT_EQ(data.problems[ProblemKind::noValue].count, 1U);
    EXPECT_EQ(data.problems[ProblemKind::badValue].count, 1U);
}

TEST(ErrorsOfNmea, AreThoseOfMotionSentences) {
    const RawData data = readText(
        readNmea, zda + sentence("PASHR,100000.000,010.51,T,+00.39,-00.79,-00.84,0.151,0.075,0.555,1,0"));
    ASSERT_EQ(data.errorFigures.records.size(), 1U);
    const ErrorFigures& figures = data.errorFigures.records[0];
    EXPECT_TRUE(std::isnan(value(figures, ErrorKind::north)));
    EXPECT_TRUE(std::isnan(value(figures, ErrorKind::heave)));
    EXPECT_DOUBLE_EQ(value(figures, ErrorKind::roll), 0.151 * degree);
    EXPECT_DOUBLE_EQ(value(figures, ErrorKind::pitch), 0.075 * degree);
    EXPECT_DOUBLE_EQ(value(figures, ErrorKind::heading), 0.555 * degree);
}

TEST(ErrorsOfNmea, OfTwoSourcesHoldUntilTheNextOfTheirKind) {
    const auto motion = [](const std::string& time, const std::string& roll) {
        return sentence("PASHR," + time + ",010.51,T,+00.39,-00.79,-00.84," + roll + ",0.075,0.555,1,0");
    };
    const auto fix = [](const std::string& time, const std::string& north) {
        return sentence("GPGST," + time + ",1.2,0.9,0.5,40.0," + north + ",0.75,1.9");
    };
    const RawData data = readText(readNmea, zda + motion("100000.000", "1.0") + fix("100000.500", "0.5") +
                                                motion("100001.000", "2.0") + fix("100001.000", "0.7"));
    const auto& errors = data.errorFigures.records;
    ASSERT_EQ(errors.size(), 3U);
    EXPECT_TRUE(std::isnan(value(errors[0], ErrorKind::north)));
    EXPECT_EQ(value(errors[1], ErrorKind::north), 0.5);
    EXPECT_DOUBLE_EQ(value(errors[1], ErrorKind::roll), 1.0 * degree);
    EXPECT_EQ(value(errors[2], ErrorKind::north), 0.7);
    EXPECT_DOUBLE_EQ(value(errors[2], ErrorKind::roll), 2.0 * degree);
    EXPECT_EQ(data.errorFigures.origin, "GPGST, PASHR");
}

TEST(IndexOfARecorderLog, HasEveryLineThatCouldBeRead) {
    const RawData data = readText(
        readRecorderLog, "Timestamp;Depth\n2014-02-19 10:00:00;4.8\r\nno line;1\n2014-02-19 10:00:01;4.9\n");
    ASSERT_EQ(data.index.size(), 2U);
    expectRecord(data.index[0], 16, 23, 0, at(10, 0, 0));
    expectRecord(data.index[1], 51, 23, 0, at(10, 0, 1));
}

TEST(IndexOfXtf, HasEveryPacketWithTheTimeThatItsKindTells) {
    const RawBytes first = xtfPing(1, {{0, RawBytes().u8(7), 1}}, [](Fields& head) { head.u32(224, 5000); });
    const RawBytes undated = xtfAttitude(4000, 2.0F);
    const RawBytes unknown = xtfPacketHead(99, 64, 64).bytes();
    RawBytes file = xtfHeader({{1, 1}, {2, 1}});
    const std::size_t start = file.size();
    const RawData data = readBytes(readXtf, file.add(first).add(undated).add(unknown).bytes());
    ASSERT_EQ(data.index.size(), 3U);
    const Micros time = *midnight(2009, 11, 8) + (12 * 3600 + 36 * 60 + 1) * second + second / 2;
    expectRecord(data.index[0], start, static_cast<std::uint32_t>(first.size()), 0, time);
    expectRecord(data.index[1], start + first.size(), 64, 3, time - second);
    expectRecord(data.index[2], start + first.size() + 64, 64, 99, RawRecord::untimed);
}

TEST(IndexOfGsf, HasEveryRecordFromItsSizeWordOn) {
    const auto record = [](std::uint32_t type, RawBytes content) {
        return RawBytes(ByteOrder::big).u32(content.size()).u32(type).add(content);
    };
    RawBytes attitude(ByteOrder::big);
    attitude.u32(1392804000).u32(500'000'000).u16(1).u16(0).i16(1).i16(2).i16(3).u16(4);
    RawBytes file = record(1, RawBytes().text("GSF-v03.07").zeros(2));
    const RawData data = readBytes(readGsf, file.add(record(12, attitude)).add(record(6, attitude)).bytes());
    ASSERT_EQ(data.index.size(), 3U);
    expectRecord(data.index[0], 0, 20, 1, RawRecord::untimed);
    expectRecord(data.index[1], 20, 28, 12, at(10, 0, 0) + second / 2);
    expectRecord(data.index[2], 48, 28, 6, RawRecord::untimed);
}

} // namespace
