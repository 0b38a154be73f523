#include "raw_bytes.h"

#include "import/recorderlog.h"

#include <gtest/gtest.h>

using namespace skar::import;
using namespace skar::test;

namespace {

const std::string heading = "Timestamp;Longitude;Latitude;EllipsoidalHeight;Status;Service\n";
const std::string row = "2022-05-30 20:13:58.000000;-68.5146746670;48.4788570000;20.900;2;1\n";

RawData read(const std::string& text) {
    return readText(readRecorderLog, text);
}
std::uint64_t count(const RawData& data, ProblemKind kind) {
    return data.problems[kind].count;
}

} // namespace

TEST(RecorderLog, APositionIsLoadedInRadians) {
    const RawData data = read(heading + row);
    ASSERT_EQ(data.navigation.records.size(), 1U);
    EXPECT_EQ(utcText(data.navigation.records[0].time), "2022-05-30T20:13:58.000Z");
    EXPECT_NEAR(data.navigation.records[0].latitude, 48.478857 * degree, 1e-15);
    EXPECT_NEAR(data.navigation.records[0].longitude, -68.514674667 * degree, 1e-15);
    EXPECT_EQ(data.leftOut.size(), 3U);
    EXPECT_NE(data.conventions[0].find("taken as UTC"), std::string::npos);
    EXPECT_FALSE(data.problems.anyLoss());
}

TEST(RecorderLog, ColumnsAreFoundByTheirNames) {
    const RawData data = read("Timestamp;Latitude;Other;Longitude\r\n2022-05-30 20:13:58;10.0;x;20.0\r\n");
    ASSERT_EQ(data.navigation.records.size(), 1U);
    EXPECT_NEAR(data.navigation.records[0].latitude, 10.0 * degree, 1e-15);
    EXPECT_NEAR(data.navigation.records[0].longitude, 20.0 * degree, 1e-15);
}

TEST(RecorderLog, DepthsAreCountedAsLeftOut) {
    const RawData data = read("Timestamp;Depth\n2022-05-30 20:14:00.952522;4.800\n");
    EXPECT_EQ(data.records(), 0U);
    ASSERT_EQ(data.leftOut.size(), 1U);
    EXPECT_EQ(data.leftOut[0].what, "column Depth");
    EXPECT_EQ(data.leftOut[0].count, 1U);
    EXPECT_FALSE(data.problems.anyLoss());
}

TEST(RecorderLog, DamagedRowsAreCountedByKind) {
    const RawData data = read(heading + "2022-02-30 20:13:58;1;1;1;2;1\n" + "2022-05-30 20:13:58;1;1\n" +
                              "2022-05-30 20:13:58;x;1;1;2;1\n" + "2022-05-30 20:13:58;181;1;1;2;1\n" +
                              "2022-05-30 20:13:58;1;-90.1;1;2;1\n" + "2022-05-30 20:13:58;;1;1;2;1\n" +
                              "2022-05-30 20:13:58;1;1;1;-1;1\n" + std::string(5000, '1') + "\n" + row);
    EXPECT_EQ(count(data, ProblemKind::unparsable), 4U);
    EXPECT_EQ(count(data, ProblemKind::badValue), 2U);
    EXPECT_EQ(count(data, ProblemKind::noValue), 1U);
    EXPECT_EQ(count(data, ProblemKind::noFix), 1U);
    EXPECT_EQ(data.navigation.records.size(), 1U);
}

TEST(RecorderLog, ACutRowIsSaidToBeCut) {
    const RawData data = read(heading + row + row.substr(0, 40));
    EXPECT_EQ(data.navigation.records.size(), 1U);
    EXPECT_EQ(count(data, ProblemKind::truncated), 1U);
    EXPECT_EQ(data.problems[ProblemKind::truncated].offsets,
              std::vector<std::uint64_t>{heading.size() + row.size()});
}

TEST(RecorderLog, TheTimeStampIsHeldToItsForm) {
    EXPECT_EQ(utcText(recorderTime("2022-12-31 23:59:59.999499").value()), "2022-12-31T23:59:59.999Z");
    for (const char* text :
         {"", "2022-05-30", "2022-05-30T20:13:58", "2022-05-30 24:00:00", "2022-05-30 20:60:00",
          "2022-05-30 20:00:61", "2022-05-30 20:00:00,5", "2022-5-30  20:00:00", "1979-12-31 00:00:00"})
        EXPECT_FALSE(recorderTime(text)) << text;
}

TEST(RecorderLog, AnotherHeadingIsRefused) {
    EXPECT_THROW(read("Time;Depth\n"), ImportError);
    const auto looks = [](const std::string& text) {
        return looksLikeRecorderLog(std::as_bytes(std::span(text)));
    };
    EXPECT_TRUE(looks(heading));
    EXPECT_TRUE(looks("\xEF\xBB\xBF" + heading));
    EXPECT_FALSE(looks("Timestamps;Depth\n"));
    EXPECT_FALSE(looks(""));
}
