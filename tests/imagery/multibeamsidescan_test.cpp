#include "support/store.h"

#include <skar/multibeamsidescan.h>
#include <skar/processedsidescan.h>

#include <gtest/gtest.h>

using namespace skar::tests;

namespace {

TEST(MultibeamSideScan, TheEm1000KeepsItsWordsAsTheTableSays) {
    const Line line;
    SKARIO_Init(0);
    long code = 77;
    _TELD_Sensor* s = EM1000SideScanOpenDir(line.path().c_str(), L"create", &code);
    ASSERT_NE(nullptr, s);
    ASSERT_EQ(0, SideScanBgnSeqWriteLineSegment(s, L"a.all"));
    const std::int32_t first[] = {200, 1}, second[] = {-3, 2}, third[] = {127, 3}, fourth[] = {-128, 4};
    const std::int32_t counts[] = {3, 2}, values[] = {40000, 5};
    ASSERT_EQ(0, EM1000SideScanSeqWriteProfile(s, 2, 7, 1000000000.0, -12.37, 0x81, -2, 0x55, first, second,
                                               third, fourth, counts, values, 0x1234));
    ASSERT_EQ(0, EM1000SideScanSeqWriteTrace(s, 5, "abcde"));
    EXPECT_EQ(5001713,
              EM100SideScanSeqWriteProfile(s, 0, 1, 1e9, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr));
    ASSERT_EQ(0, SideScanEndSeqWriteLineSegment(s, 1));
    ASSERT_EQ(0, SideScanClose(s));

    // The reference minute of the time is 16666667, 20 s behind it.
    Bytes profile;
    profile.word("time", -20000).word("beams, firstBeam", 0x00020007).word("value", -123);
    profile.word("A, B, D", 0x81FE1234u);
    profile.word("bytes 1", 0xC8FD7F80u).word("count, value 1", 0x00039C40).word("trace 1", 0);
    profile.word("bytes 2", 0x01020304).word("count, value 2", 0x00020005).word("trace 2", 3);
    EXPECT_TRUE(same(profile, line.bytes("SideScan").substr(44)));
    EXPECT_EQ("abcde", line.bytes("SideScanTrace"));

    s = SideScanOpenDir(line.path().c_str(), L"query", &code);
    ASSERT_NE(nullptr, s) << code;
    std::uint32_t beams = 0, firstBeam = 0;
    double time = 0, value = 0;
    std::int32_t a = 0, b = 0, c = 0, d = 0;
    ASSERT_EQ(0, EM1000SideScanReadProfile(s, 1, &beams, &firstBeam, &time, &value, &a, &b, &c, &d));
    EXPECT_EQ(2u, beams);
    EXPECT_EQ(7u, firstBeam);
    EXPECT_EQ(1000000000.0, time);
    EXPECT_EQ(-12.3, value);
    EXPECT_EQ(0x81, a);
    EXPECT_EQ(-2, b);
    EXPECT_EQ(0x12, c) << "the upper half of D";
    EXPECT_EQ(0x1234, d);
    std::int32_t got[6][2] = {};
    std::string traces(5, '?');
    ASSERT_EQ(0,
              EM1000SideScanRead(s, 1, &time, got[0], got[1], got[2], got[3], got[4], got[5], traces.data()));
    EXPECT_EQ(200, got[0][0]);
    EXPECT_EQ(-3, got[1][0]);
    EXPECT_EQ(127, got[2][0]);
    EXPECT_EQ(-128, got[3][0]);
    EXPECT_EQ(3, got[4][0]);
    EXPECT_EQ(40000, got[5][0]);
    EXPECT_EQ("abcde", traces);
    EXPECT_EQ(5001713, EM100SideScanRead(s, 1, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5001719, EM1000SideScanRead(s, 2, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                          nullptr));
    EXPECT_EQ(0, SideScanClose(s));
    line.cut("SideScanTrace", 4);
    s = SideScanOpenDir(line.path().c_str(), L"query", &code);
    ASSERT_NE(nullptr, s);
    EXPECT_EQ(5001725, EM1000SideScanRead(s, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                          traces.data()));
    EXPECT_EQ(0, SideScanClose(s));
}

TEST(MultibeamSideScan, AFileWithoutProfilesLeavesNothing) {
    const Line line;
    SKARIO_Init(0);
    long code = 77;
    _TELD_Sensor* s = EM100SideScanOpenDir(line.path().c_str(), L"create", &code);
    ASSERT_NE(nullptr, s);
    EXPECT_EQ(0, SideScanClose(s));
    EXPECT_EQ(std::vector<std::string>{}, line.files());
}

TEST(ProcessedSideScan, AnUpdateReplacesTheSamplesAndHoldsTheCount) {
    const Line line;
    SKARIO_Init(0);
    long code = 77;
    _TELD_Sensor* s = SSSProcScratchOpenDir(line.path().c_str(), L"create", &code);
    ASSERT_NE(nullptr, s);
    ASSERT_EQ(0, SSSProcWriteProfile(s, 0, 1000000000.0, 3, 4, 5, 3, 2, "abc", "de"));
    ASSERT_EQ(0, SSSProcClose(s));
    EXPECT_EQ(19u, wordAt(line.bytes("NewSSSProcessedSideScan"), 4));
    s = SSSProcScratchOpenDir(line.path().c_str(), L"update", &code);
    ASSERT_NE(nullptr, s) << code;
    const std::string before = line.bytes("NewSSSProcessedSideScan");
    EXPECT_EQ(5002327, SSSProcUpdateProfile(s, 1, 9, 4, "xxxx", "yy"));
    EXPECT_EQ(before, line.bytes("NewSSSProcessedSideScan"));
    EXPECT_EQ(0, SSSProcUpdateProfile(s, 1, 9, 3, "ABC", "DE"));
    EXPECT_EQ(0, SSSProcClose(s));
    const std::string after = line.bytes("NewSSSProcessedSideScan");
    EXPECT_EQ(withWord(before, 44, 9).substr(0, 64) + "ABCDE", after);
    s = SSSProcScratchOpenDir(line.path().c_str(), L"query", &code);
    ASSERT_NE(nullptr, s);
    EXPECT_EQ(5002318, SSSProcUpdateProfile(s, 1, 9, 3, "ABC", "DE"));
    EXPECT_EQ(0, SSSProcClose(s));
}

} // namespace
