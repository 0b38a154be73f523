#include "raw_bytes.h"

#include "import/nmea.h"

#include <gtest/gtest.h>

using namespace skar::import;
using namespace skar::test;

namespace {

const std::string zda = sentence("GPZDA,120000.00,19,02,2014,00,00");

std::string gga(const std::string& time, const std::string& quality = "1") {
    return sentence("GPGGA," + time + ",5130.000,N,00315.000,W," + quality + ",08,1.0,10.0,M,,M,,");
}
RawData read(const std::string& text) {
    return readText(readNmea, text);
}
std::uint64_t count(const RawData& data, ProblemKind kind) {
    return data.problems[kind].count;
}
std::vector<std::string> fixTimes(const RawData& data) {
    std::vector<std::string> texts;
    for (const PositionFix& fix : data.navigation.records)
        texts.push_back(utcText(fix.time));
    return texts;
}
std::uint64_t leftOut(const RawData& data, const std::string& what) {
    for (const LeftOut& row : data.leftOut) {
        if (row.what == what) return row.count;
    }
    return 0;
}
using Texts = std::vector<std::string>;

} // namespace

TEST(NmeaPositions, APositionIsLoadedInRadians) {
    // A sentence with the checksum as a receiver sent it.
    const RawData data = read(zda + "$GPGGA,130711,5012.790800,N,00806.879600,W,2,,,,,,,*6A\r\n");
    ASSERT_EQ(data.navigation.records.size(), 1U);
    EXPECT_EQ(fixTimes(data), Texts{"2014-02-19T13:07:11.000Z"});
    EXPECT_NEAR(data.navigation.records[0].latitude, (50.0 + 12.7908 / 60.0) * degree, 1e-15);
    EXPECT_NEAR(data.navigation.records[0].longitude, -(8.0 + 6.8796 / 60.0) * degree, 1e-15);
    EXPECT_EQ(data.navigation.origin, "GPGGA");
    EXPECT_FALSE(data.problems.anyLoss());
}

TEST(NmeaPositions, APositionWithQualityZeroIsNoFix) {
    const RawData data = read(zda + gga("120001", "0") + sentence("GPGGA,,,,,,0,,,,M,,M,,"));
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(count(data, ProblemKind::noFix), 2U);
    EXPECT_FALSE(data.problems.anyLoss());
}

TEST(NmeaPositions, OfSeveralSentencesTheOneWithQualityIsPreferred) {
    const std::string gll = sentence("GPGLL,5130.000,N,00315.000,W,120001,A,D");
    const std::string rmc = sentence("GPRMC,120001,A,5130.000,N,00315.000,W,5.2,77.3,190214,,,A");
    const RawData all = read(zda + gll + gll + gll + rmc + rmc + gga("120001"));
    EXPECT_EQ(all.navigation.records.size(), 1U);
    EXPECT_EQ(leftOut(all, "position of GPGLL"), 3U);
    EXPECT_EQ(leftOut(all, "position of GPRMC"), 2U);
    EXPECT_EQ(read(zda + gll + rmc + rmc).navigation.origin, "GPRMC");
    EXPECT_EQ(read(zda + gll).navigation.origin, "GPGLL");
    const std::string gns = sentence("GNGNS,120001,5130.000,N,00315.000,W,AN,08,1.0,10.0,1.0,,");
    EXPECT_EQ(read(zda + rmc + gns).navigation.origin, "GNGNS");
}

TEST(NmeaPositions, OfSeveralTalkersTheOneWithMostSentencesIsPreferred) {
    const std::string other = sentence("INGGA,120001,5130.000,N,00315.000,W,1,08,1.0,10.0,M,,M,,");
    const RawData data = read(zda + gga("120001") + other + other);
    EXPECT_EQ(data.navigation.origin, "INGGA");
    EXPECT_EQ(data.navigation.records.size(), 2U);
    EXPECT_EQ(leftOut(data, "position of GPGGA"), 1U);
}

TEST(NmeaPositions, APositionMarkedAsVoidIsNoFix) {
    const RawData data = read(zda + sentence("GPGLL,5130.000,N,00315.000,W,120001,V,N") +
                              sentence("GPRMC,120001,V,5130.000,N,00315.000,W,,,190214,,,N") +
                              sentence("GNGNS,120001,,,,,NN,00,,,,,"));
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(count(data, ProblemKind::noFix), 3U);
}

TEST(NmeaAngles, DegreesAndMinutesAreHeldToTheirRange) {
    EXPECT_NEAR(nmeaAngle("9000.000", "S", 90).value(), -90.0 * degree, 1e-15);
    EXPECT_NEAR(nmeaAngle("18000", "E", 180).value(), 180.0 * degree, 1e-15);
    for (const char* text : {"9000.001", "5160.0", "51-1.0", "", "1", ".5", "51a0.0", "5130.0.0", "1e3"})
        EXPECT_FALSE(nmeaAngle(text, "N", 90)) << text;
    for (const char* side : {"", "E", "n", "NS"})
        EXPECT_FALSE(nmeaAngle("5130.0", side, 90)) << side;
}

TEST(NmeaTimes, TheTimeOfDayIsHeldToItsRange) {
    EXPECT_EQ(nmeaTimeOfDay("235959.5").value(), Micros{86'399'500'000});
    EXPECT_EQ(nmeaTimeOfDay("235960").value(), microsPerDay);
    for (const char* text : {"", "12000", "240000", "126000", "120061", "12000a", "120000,5", "1200000"})
        EXPECT_FALSE(nmeaTimeOfDay(text)) << text;
}

TEST(NmeaDates, ATimePastMidnightBelongsToTheNextDay) {
    const RawData data =
        read(sentence("GPZDA,235959,31,12,2014,00,00") + gga("235959.50") + gga("000000.50") +
             sentence("GPZDA,000001,01,01,2015,00,00") + gga("000001.50"));
    EXPECT_EQ(fixTimes(data),
              (Texts{"2014-12-31T23:59:59.500Z", "2015-01-01T00:00:00.500Z", "2015-01-01T00:00:01.500Z"}));
    EXPECT_EQ(count(data, ProblemKind::clockJump), 0U);
}

TEST(NmeaDates, ATimeJustBeforeMidnightBehindTheNewDateBelongsToTheOldDay) {
    const RawData data = read(sentence("GPZDA,000000,01,01,2015,00,00") + gga("235959.90"));
    EXPECT_EQ(fixTimes(data), Texts{"2014-12-31T23:59:59.900Z"});
}

TEST(NmeaDates, WhatComesBeforeTheFirstDateIsDatedByIt) {
    const RawData data = read(gga("235959") + gga("000000") + sentence("GPZDA,000001,01,01,2015,00,00"));
    EXPECT_EQ(fixTimes(data), (Texts{"2014-12-31T23:59:59.000Z", "2015-01-01T00:00:00.000Z"}));
    EXPECT_EQ(count(data, ProblemKind::datedLater), 2U);
    EXPECT_FALSE(data.problems.anyLoss());
}

TEST(NmeaDates, WithoutAnyDateNothingIsLoadedAndAllIsCounted) {
    const RawData data = read(gga("120000") + gga("120001") + sentence("HEHDT,10.0,T"));
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(count(data, ProblemKind::noDate), 3U);
    EXPECT_EQ(data.problems[ProblemKind::noDate].offsets.front(), 0U);
    EXPECT_TRUE(data.problems.anyLoss());
}

TEST(NmeaDates, TheRecommendedMinimumGivesADateToo) {
    const RawData data = read(
        "$GPRMC,204132.00,A,4205.733476,N,08802.041110,W,9.415,21.404,190214,,,D*7C\r\n" + gga("204133"));
    EXPECT_EQ(fixTimes(data), Texts{"2014-02-19T20:41:33.000Z"});
    const RawData old = read(sentence("GPRMC,120000,A,5130.0,N,00315.0,W,,,190298,,"));
    EXPECT_EQ(fixTimes(old), Texts{"1998-02-19T12:00:00.000Z"});
}

TEST(NmeaDates, AReceiverThatWarnsGivesNoDate) {
    const RawData data = read(sentence("GPRMC,120000,V,,,,,,,060180,,") +
                              sentence("GPRMC,120001,V,,,,,,,060180,,") + gga("120001"));
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(count(data, ProblemKind::noDate), 1U);
}

TEST(NmeaDates, AJumpOfTheClockIsCounted) {
    const RawData data =
        read(zda + gga("120001") + sentence("GPZDA,120002,21,02,2014,00,00") + gga("120003"));
    EXPECT_EQ(fixTimes(data), (Texts{"2014-02-19T12:00:01.000Z", "2014-02-21T12:00:03.000Z"}));
    EXPECT_EQ(count(data, ProblemKind::clockJump), 1U);
}

TEST(NmeaDates, AStepBackIsKeptSortedAndCounted) {
    const RawData data = read(zda + gga("120024") + gga("120011") + gga("120012"));
    EXPECT_EQ(fixTimes(data),
              (Texts{"2014-02-19T12:00:11.000Z", "2014-02-19T12:00:12.000Z", "2014-02-19T12:00:24.000Z"}));
    EXPECT_EQ(data.navigation.stepsBack, 1U);
}

TEST(NmeaHeadings, ATrueHeadingIsPreferredToAMagneticOne) {
    const RawData data = read(zda + sentence("SDHDG,100.0,,,1.3,E") + sentence("HEHDT,4.0,T"));
    ASSERT_EQ(data[ScalarKind::gyro].records.size(), 1U);
    EXPECT_NEAR(data[ScalarKind::gyro].records[0].value, 4.0 * degree, 1e-15);
    EXPECT_EQ(utcText(data[ScalarKind::gyro].records[0].time), "2014-02-19T12:00:00.000Z");
    EXPECT_EQ(leftOut(data, "heading of SDHDG"), 1U);
}

TEST(NmeaHeadings, VariationAndDeviationMakeAMagneticHeadingTrue) {
    const RawData data = read(zda + sentence("SDHDG,359.5,0.2,W,1.3,E") + sentence("SDHDG,0.5,,,1.5,W"));
    const auto& gyro = data[ScalarKind::gyro];
    ASSERT_EQ(gyro.records.size(), 2U);
    EXPECT_NEAR(gyro.records[0].value, 0.6 * degree, 1e-12);
    EXPECT_NEAR(gyro.records[1].value, 359.0 * degree, 1e-12);
    EXPECT_EQ(gyro.origin, "SDHDG");
}

TEST(NmeaHeadings, AHeadingWithoutVariationIsSaidToBeMagnetic) {
    const RawData data = read(zda + sentence("SDHDG,100.0,,,,") + sentence("SDHDM,101.0,M"));
    EXPECT_EQ(data[ScalarKind::gyro].records.size(), 2U);
    bool said = false;
    for (const std::string& text : data.conventions)
        said = said || text.find("are magnetic:") != text.npos;
    EXPECT_TRUE(said);
}

TEST(NmeaHeadings, AHeadingBeforeAnyTimeIsCounted) {
    const RawData data = read(sentence("HEHDT,4.0,T") + zda);
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(count(data, ProblemKind::noDate), 1U);
}

TEST(NmeaHeadings, EmptyOutOfRangeAndRejectedHeadingsAreToldApart) {
    const RawData data = read(zda + sentence("GPHDT,,T") + sentence("GPHDT,360.1,T") +
                              sentence("GPHDT,-1.0,T") + sentence("GPHDT,abc,T") + sentence("GPTHS,10.0,V"));
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(count(data, ProblemKind::noValue), 2U);
    EXPECT_EQ(count(data, ProblemKind::badValue), 2U);
    EXPECT_EQ(count(data, ProblemKind::unparsable), 1U);
}

TEST(NmeaMotion, MotionComesWithItsOwnTime) {
    const RawData data =
        read(zda + "$PASHR,204132.040,010.99,T,+00.41,-00.75,-00.84,0.151,0.088,0.569,1,0*0D\r\n" +
             sentence("HEHDT,4.0,T"));
    ASSERT_EQ(data[ScalarKind::roll].records.size(), 1U);
    EXPECT_EQ(utcText(data[ScalarKind::roll].records[0].time), "2014-02-19T20:41:32.040Z");
    EXPECT_NEAR(data[ScalarKind::roll].records[0].value, 0.41 * degree, 1e-15);
    EXPECT_NEAR(data[ScalarKind::pitch].records[0].value, -0.75 * degree, 1e-15);
    EXPECT_DOUBLE_EQ(data[ScalarKind::heave].records[0].value, -0.84);
    EXPECT_NEAR(data[ScalarKind::gyro].records[0].value, 10.99 * degree, 1e-15);
    EXPECT_EQ(data[ScalarKind::gyro].origin, "PASHR");
    EXPECT_EQ(leftOut(data, "heading of HEHDT"), 1U);
}

TEST(NmeaMotion, OtherMessagesOfTheMakerAreLeftOut) {
    const RawData data = read(zda + sentence("PASHR,POS,0,8,120000.00,5130.0,N,00315.0,W"));
    EXPECT_EQ(data.records(), 0U);
    EXPECT_EQ(leftOut(data, "PASHR of other content"), 1U);
}

TEST(NmeaLines, AWrongChecksumIsCountedAndNotLoaded) {
    std::string bad = gga("120001");
    bad[bad.find("5130")] = '4';
    const RawData data = read(zda + bad + gga("120002"));
    EXPECT_EQ(data.navigation.records.size(), 1U);
    EXPECT_EQ(count(data, ProblemKind::checksum), 1U);
    EXPECT_EQ(data.problems[ProblemKind::checksum].offsets, std::vector<std::uint64_t>{zda.size()});
}

TEST(NmeaLines, ASentenceWithoutChecksumIsTakenAndSaid) {
    const RawData data = read(zda + "$GPGGA,120001,5130.0,N,00315.0,W,1,08,1.0,10.0,M,,M,,\n");
    EXPECT_EQ(data.navigation.records.size(), 1U);
    EXPECT_NE(data.conventions[1].find("1 sentences came without"), std::string::npos) << data.conventions[1];
}

TEST(NmeaLines, CommentsOtherSystemsAndRubbishAreToldApart) {
    const RawData data = read("# a comment\n\n!AIVDM,1,1,,B,13aGhtw0R<OJf=6LgQ?Ad1FF05`L,0*24\n" +
                              sentence("SDDPT,5.3,0.4,") + "rubbish\n$\n$,*2C\n" + std::string(5000, 'x') +
                              "\n" + zda + "2014-02-19 12:00:00 " + gga("120001"));
    EXPECT_EQ(leftOut(data, "!AIVDM"), 1U);
    EXPECT_EQ(leftOut(data, "SDDPT"), 1U);
    EXPECT_EQ(count(data, ProblemKind::unparsable), 4U);
    EXPECT_EQ(data.navigation.records.size(), 1U);
}

TEST(NmeaLines, AFileCutAnywhereLoadsUpToTheCutAndSaysSo) {
    const std::string one = gga("120001");
    const std::string whole = zda + one + gga("120002");
    for (std::size_t size = zda.size(); size <= whole.size(); ++size) {
        const RawData data = read(whole.substr(0, size));
        // A sentence is whole with the last digit of its checksum; what is left of its line end does not
        // matter.
        const std::size_t within = (size - zda.size()) % one.size();
        const bool cut = within != 0 && within < one.size() - 2;
        EXPECT_EQ(data.navigation.records.size(),
                  (size - zda.size()) / one.size() + (within >= one.size() - 2 ? 1 : 0))
            << size;
        EXPECT_EQ(count(data, ProblemKind::truncated), cut ? 1U : 0U) << size;
    }
}

TEST(NmeaLines, LinesEndWithOrWithoutACarriageReturn) {
    std::string text = zda + gga("120001") + gga("120002");
    std::erase(text, '\r');
    EXPECT_EQ(read(text).navigation.records.size(), 2U);
}

TEST(NmeaLines, DetectionNeedsOneSoundSentence) {
    const auto looks = [](const std::string& text) { return looksLikeNmea(std::as_bytes(std::span(text))); };
    EXPECT_TRUE(looks("# header\n\nnoise\n" + zda));
    EXPECT_FALSE(looks("$GPZDA,120000.00,19,02,2014,00,00*00\n"));
    EXPECT_FALSE(looks("$100, please\n"));
    EXPECT_FALSE(looks(""));
}
