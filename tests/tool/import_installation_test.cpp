#include "raw_bytes.h"

#include "import/kongsbergall.h"

#include <gtest/gtest.h>

using namespace skar::import;
using namespace skar::test;

namespace {

constexpr std::uint32_t tenOClock = 36'000'000;

struct Datagram {
    std::uint32_t model = 710;
    unsigned serial = 210;
    unsigned secondSerial = 0;
    std::uint32_t milliseconds = tenOClock;
    char type = 'I';
    ByteOrder order = ByteOrder::little;
};

RawBytes installation(const std::string& text, const Datagram& header = {}) {
    RawBytes inner(header.order);
    inner.u8(static_cast<unsigned char>(header.type))
        .u16(header.model)
        .u32(someDate)
        .u32(header.milliseconds);
    inner.u16(1).u16(header.serial).u16(header.secondSerial).text(text);
    unsigned sum = 0;
    for (const std::byte b : inner.bytes())
        sum += std::to_integer<unsigned>(b);
    RawBytes whole(header.order);
    whole.u32(inner.size() + 4).u8(2).add(inner).u8(3).u16(sum & 0xFFFFU);
    return whole;
}

RawData read(RawBytes bytes) {
    return readBytes(readKongsbergAll, bytes.bytes());
}

Installation layout(const std::string& text, const Datagram& header = {}) {
    const RawData data = read(installation(text, header));
    EXPECT_EQ(data.installations.size(), 1U) << text;
    return data.installations.empty() ? Installation() : data.installations[0].installation;
}

// The place and the angles of one array: forward, starboard, down, heading, pitch, roll count up from a
// digit.
std::string array(const std::string& prefix, int first) {
    std::string text;
    for (const char* field : {"X", "Y", "Z", "H", "P", "R"})
        text += prefix + field + "=" + std::to_string(first++) + ".5,";
    return text;
}

Mounting mounted(int first) {
    const double x = first + 0.5;
    return {x + 1, x, x + 2, x + 4, x + 5, x + 3};
}

TEST(KongsbergInstallations, ArraysThatSendAndReceiveApartMakeOneHead) {
    for (const char* stated : {"", "STC=0,"}) {
        const Installation found = layout(stated + array("S1", 10) + array("S2", 20) + "TXS=7,");
        ASSERT_TRUE(found.sonar);
        EXPECT_EQ(found.sonar->manufacturer, "Kongsberg");
        EXPECT_EQ(found.sonar->model, "EM 710");
        EXPECT_EQ(found.sonar->transmitters, std::vector<SonarArray>({{mounted(10), "7"}}));
        EXPECT_EQ(found.sonar->receivers, std::vector<SonarArray>({{mounted(20), "210"}}));
    }
}

TEST(KongsbergInstallations, HeadsThatSendAndReceiveStandForBoth) {
    const std::vector<SonarArray> one{{mounted(10), "210"}};
    EXPECT_EQ(layout(array("S1", 10)).sonar->receivers, one);
    EXPECT_EQ(layout(array("S1", 10)).sonar->transmitters, one);
    EXPECT_EQ(layout("STC=1," + array("S1", 10)).sonar->receivers, one);
    const std::vector<SonarArray> two{{mounted(10), "210"}, {mounted(20), "211"}};
    const Datagram dual{3002, 210, 211};
    EXPECT_EQ(layout(array("S1", 10) + array("S2", 20), dual).sonar->receivers, two);
    EXPECT_EQ(layout("STC=2," + array("S1", 10) + array("S2", 20), {2040, 210, 211}).sonar->transmitters,
              two);
}

TEST(KongsbergInstallations, TwoReceiversMayShareATransmitter) {
    const Installation found =
        layout("STC=3," + array("S1", 10) + array("S2", 20) + array("S3", 30) + "R1S=5,R2S=6,TXS=7,");
    EXPECT_EQ(found.sonar->transmitters, std::vector<SonarArray>({{mounted(10), "7"}}));
    EXPECT_EQ(found.sonar->receivers, std::vector<SonarArray>({{mounted(20), "5"}, {mounted(30), "6"}}));
}

TEST(KongsbergInstallations, AnArrangementThatIsNotKnownIsLeftOut) {
    const RawData data = read(installation("STC=4,WLZ=1," + array("S1", 10) + array("S2", 20)));
    ASSERT_EQ(data.installations.size(), 1U);
    EXPECT_FALSE(data.installations[0].installation.sonar);
    EXPECT_EQ(data.installations[0].installation.waterLine, 1.0);
    ASSERT_EQ(data.leftOut.size(), 1U);
    EXPECT_EQ(data.leftOut[0].what, "installation parameters of transducers");
}

TEST(KongsbergInstallations, TheBeamsOfTheSecondHeadFollowThoseOfTheFirst) {
    RawBytes file = installation("STC=2," + array("S1", 10) + array("S2", 20), {2040, 2004, 2031});
    // A ping of the first head with two beams.
    RawBytes ping;
    ping.u16(9000).u16(15000).u32(0).u16(2).u16(2).u32(0).u32(0).zeros(40).u8(0);
    file.add(datagram('X', someDate, tenOClock, ping));
    const RawData data = read(file);
    ASSERT_EQ(data.depthPings.records.size(), 1U);
    ASSERT_EQ(data.installations.size(), 1U);
    const auto& receivers = data.installations[0].installation.sonar->receivers;
    ASSERT_EQ(receivers.size(), 2U);
    EXPECT_EQ(receivers[0].firstBeam, 1U);
    EXPECT_EQ(receivers[1].firstBeam, 3U);
}

std::string antennas() {
    return "P1X=1,P1Y=2,P1Z=3,P1D=0,P1G=WGS84,P2X=4,P2Y=5,P2Z=-6,P2D=0.25,P2G=ED50,";
}

TEST(KongsbergInstallations, TheAntennaIsThatOfTheActiveSystem) {
    EXPECT_EQ(layout(antennas() + "APS=0,").antenna, (Antenna{1, 2, 1, 3, 0, "WGS84"}));
    EXPECT_EQ(layout(antennas() + "APS=1,").antenna, (Antenna{2, 5, 4, -6, 0.25, "ED50"}));
    EXPECT_EQ(layout(antennas()).antenna->system, 1);
    EXPECT_FALSE(layout("WLZ=1,APS=2," + antennas()).antenna);
}

std::string motionSensors() {
    return "MSX=1,MSY=2,MSZ=3,MSR=4,MSP=5,MSG=6,MSD=20,NSX=11,NSY=12,NSZ=13,NSR=14,NSP=15,NSG=16,NSD=0,";
}

TEST(KongsbergInstallations, MotionComesFromTheActiveSensors) {
    const MotionSensor first{1, {2, 1, 3, 5, 4, 6}, 0.02};
    const MotionSensor second{2, {12, 11, 13, 15, 14, 16}, 0.0};
    const auto expect = [](const std::string& text, const MotionSensor& attitude, const MotionSensor& heave) {
        const Installation found = layout(motionSensors() + text);
        EXPECT_EQ(found.attitude, attitude) << text;
        EXPECT_EQ(found.heave, heave) << text;
    };
    expect("", first, first);
    expect("ARO=2,AHE=2,", first, first);
    expect("ARO=3,AHE=2,", second, first);
    expect("ARO=2,AHE=3,", first, second);
    expect("ARO=8,AHE=9,VSN=2,", second, second);
    EXPECT_FALSE(layout(motionSensors() + "WLZ=1,ARO=5,").attitude);
    EXPECT_FALSE(layout(motionSensors() + "WLZ=1,ARO=9,VSN=0,").attitude);
}

TEST(KongsbergInstallations, WhatIsNotStatedIsMissing) {
    const Installation found = layout("GCG=-0.5,S1X=1,S1Y=2,P1X=1,MSZ=1,");
    EXPECT_EQ(found.headingOffset, -0.5);
    EXPECT_FALSE(found.sonar);
    EXPECT_FALSE(found.antenna);
    EXPECT_FALSE(found.attitude);
    EXPECT_FALSE(found.heave);
    EXPECT_FALSE(found.waterLine);
}

TEST(KongsbergInstallations, FieldsStandInAnyOrderBetweenBlanksAndAmongOthers) {
    EXPECT_EQ(layout("SID=a survey,WLZ= 1.5 ,no field,=,XYZ,GCG=2,COM=a=b,\r\n").waterLine, 1.5);
    // Of a field that is there twice the first counts.
    EXPECT_EQ(layout("WLZ=1,WLZ=2,").waterLine, 1.0);
    EXPECT_EQ(layout("WLZ=1").waterLine, 1.0);
    EXPECT_EQ(layout(std::string("WLZ=1\0\0", 7)).waterLine, 1.0);
}

TEST(KongsbergInstallations, WhatIsNoNumberOrBeyondReasonIsABadValue) {
    for (const char* bad :
         {"WLZ=one,", "WLZ=1m,", "WLZ=1e9,", "WLZ=nan,", "WLZ=inf,", "WLZ=10001,", "GCG=361,WLZ="}) {
        const RawData data = read(installation(std::string("P1X=1,P1Y=1,P1Z=1,") + bad));
        ASSERT_EQ(data.installations.size(), 1U) << bad;
        EXPECT_FALSE(data.installations[0].installation.waterLine) << bad;
        EXPECT_EQ(data.problems[ProblemKind::badValue].count, 1U) << bad;
        EXPECT_TRUE(data.problems.anyLoss()) << bad;
    }
    EXPECT_FALSE(read(installation("WLZ=,GCG=1,")).problems.anyLoss());
}

TEST(KongsbergInstallations, RepetitionsAreOne) {
    RawBytes file = installation("WLZ=1,RFN=a,");
    for (const char type : {'I', 'i', 'r'})
        file.add(installation("WLZ=1,RFN=b,", {710, 210, 0, tenOClock + 1000, type}));
    file.add(installation("WLZ=2,", {710, 210, 0, tenOClock + 2000, 'i'}));
    const RawData data = read(file);
    ASSERT_EQ(data.installations.size(), 2U);
    EXPECT_EQ(utcText(data.installations[0].time), "2014-02-19T10:00:00.000Z");
    EXPECT_EQ(utcText(data.installations[1].time), "2014-02-19T10:00:02.000Z");
    EXPECT_TRUE(data.leftOut.empty());
}

TEST(KongsbergInstallations, BothByteOrdersAreRead) {
    const Installation found = layout(array("S1", 10), {710, 210, 0, tenOClock, 'I', ByteOrder::big});
    EXPECT_EQ(found.sonar->model, "EM 710");
    EXPECT_EQ(found.sonar->receivers[0].serial, "210");
}

TEST(KongsbergInstallations, ADatagramWithoutFieldsIsDamaged) {
    EXPECT_EQ(read(installation("")).problems[ProblemKind::length].count, 1U);
    EXPECT_EQ(read(installation("nothing here")).problems[ProblemKind::length].count, 1U);
    const RawData other = read(installation("SID=x,"));
    EXPECT_TRUE(other.installations.empty());
    ASSERT_EQ(other.leftOut.size(), 1U);
    EXPECT_EQ(other.leftOut[0].what, "installation parameters");
    RawBytes cut;
    EXPECT_EQ(read(datagram('I', someDate, tenOClock, cut)).problems[ProblemKind::length].count, 1U);
}

} // namespace
