#include "imagery/families.h"

#include <skar/multibeamsidescan.h>

#include <cmath>
#include <limits>

using namespace skar::tests;

namespace {

const ImageryFamily& em100 = imageryFamilies()[0];
const ImageryFamily& em1000 = imageryFamilies()[1];
const ImageryFamily& elac = imageryFamilies()[2];

constexpr double start = 1000000000.0; // the reference minute is 16666667, 20 s later

int writeEM100(_TELD_Sensor* s, std::uint32_t beams, std::uint32_t first, double time,
               const std::vector<std::int32_t>& each) {
    return EM100SideScanSeqWriteProfile(s, beams, first, time, 1, 2, 3, 4, 5, each.data(), each.data(),
                                        each.data(), each.data());
}

TEST(MultibeamSideScan, OneOpenTakesTheFileOfEverySystem) {
    for (const ImageryFamily* family : {&em100, &em1000, &elac}) {
        const Line line;
        put(line, *family);
        SKARIO_Init(0);
        for (const wchar_t* token : {L"query", L"update"}) {
            long code = 77;
            _TELD_Sensor* s = SideScanOpenDir(line.path().c_str(), token, &code);
            ASSERT_NE(nullptr, s) << *family << ' ' << code;
            EXPECT_EQ(0, code);
            EXPECT_EQ(family->stored, s->sensorType);
            if (token[0] == L'q') {
                EXPECT_EQ(family->twin("read"), family->readAll(s));
            }
            EXPECT_EQ(0, SideScanClose(s));
        }
    }
}

TEST(MultibeamSideScan, TheOpenOfASystemRefusesTheFilesOfTheOthers) {
    for (const ImageryFamily* family : {&em100, &em1000, &elac}) {
        const Line line;
        put(line, *family);
        line.write("SideScanTrace", "");
        for (const ImageryFamily* other : {&em100, &em1000, &elac}) {
            const OpenImagery sensor(*other, line.path(), L"query");
            EXPECT_EQ(family == other, static_cast<bool>(sensor)) << *family << " opened as " << *other;
            EXPECT_EQ(family == other ? 0 : 5000027, sensor.code());
        }
    }
}

TEST(MultibeamSideScan, TheReadersOfASystemRefuseTheHandlesOfTheOthers) {
    for (const ImageryFamily* family : {&em100, &em1000, &elac}) {
        const Line line;
        put(line, *family);
        const OpenImagery sensor(*family, line.path(), L"query");
        ASSERT_TRUE(sensor);
        for (const ImageryFamily* other : {&em100, &em1000, &elac}) {
            if (family != other) {
                EXPECT_EQ("code 5001713", other->record(sensor, 1));
            }
        }
    }
}

TEST(MultibeamSideScan, TheFirstProfileMakesTheFileOneOfItsSystem) {
    for (const ImageryFamily* family : {&em100, &em1000, &elac}) {
        const Line line;
        SKARIO_Init(0);
        long code = 77;
        _TELD_Sensor* s = SideScanOpenDir(line.path().c_str(), L"create", &code);
        ASSERT_NE(nullptr, s) << code;
        EXPECT_EQ(9u, s->sensorType);
        ASSERT_EQ(0, family->writeAll(s));
        EXPECT_EQ(family->stored, s->sensorType);
        for (const ImageryFamily* other : {&em100, &em1000, &elac}) {
            if (family != other) {
                EXPECT_EQ(5001713, other->write(s, other->twin("write")[1]));
            }
        }
        ASSERT_EQ(0, SideScanClose(s));
        const auto set = family->set();
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_TRUE(same(set[i], line.bytes(family->files()[i])));
    }
}

TEST(MultibeamSideScan, OnlyTheEchoSoundersWithTracesNeedTheTraceFile) {
    for (const ImageryFamily* family : {&em100, &em1000, &elac}) {
        const Line line;
        put(line, *family);
        if (family->trace) std::filesystem::remove(line.folder() / "SideScanTrace");
        for (const auto open : {family->open, SideScanOpenDir}) {
            long code = 77;
            SKARIO_Init(0);
            _TELD_Sensor* s = open(line.path().c_str(), L"query", &code);
            EXPECT_EQ(!family->trace, s != nullptr) << *family << ' ' << code;
            EXPECT_EQ(family->trace, code != 0);
            if (s) SideScanClose(s);
        }
    }
}

TEST(MultibeamSideScan, AFileThatIsMissingOrTooShortToTellItsSystem) {
    const Line line;
    SKARIO_Init(0);
    long code = 77;
    EXPECT_EQ(nullptr, SideScanOpenDir(line.path().c_str(), L"query", &code));
    EXPECT_EQ(5000046, code);
    EXPECT_EQ(nullptr, SideScanOpenDir(nullptr, L"query", nullptr));
    EXPECT_EQ(nullptr, SideScanOpenDir(line.path().c_str(), L"open", &code));
    EXPECT_NE(0, code);
    line.write("SideScan", "TELD");
    line.write("SideScanTrace", "");
    EXPECT_EQ(nullptr, SideScanOpenDir(line.path().c_str(), L"query", &code));
    EXPECT_EQ(5000027, code);
}

TEST(MultibeamSideScan, ABeamCountBeyondItsHalfWordComesBackWrong) {
    const Line line;
    OpenImagery sensor(em100, line.path(), L"create");
    ASSERT_TRUE(sensor);
    const std::vector<std::int32_t> each(65537, 7);
    ASSERT_EQ(0, writeEM100(sensor, 65536, 3, start, each));
    ASSERT_EQ(0, writeEM100(sensor, 65537, 4, start, each));
    ASSERT_EQ(0, writeEM100(sensor, 65535, 0x12345, start, each));
    ASSERT_EQ(0, sensor.close());
    EXPECT_EQ(44 + 3 * 16 + 4 * (65536 + 65537 + 65535), static_cast<int>(line.bytes("SideScan").size()));
    EXPECT_EQ(65536u + 65537 + 65535, wordAt(line.bytes("SideScan"), 24));
    OpenImagery query(em100, line.path(), L"query");
    ASSERT_TRUE(query);
    // No beam of the first is walked: its word is below 65536.
    EXPECT_EQ("profile 0 3 1000000000.000 0.0 1 2 3 4 5 -", em100.record(query, 1));
    EXPECT_EQ("profile 1 4 1000000000.000 0.0 1 2 3 4 5 7 7 7 7 -", em100.record(query, 2));
    EXPECT_TRUE(em100.record(query, 3).starts_with("profile 65535 9029 1000000000.000 "));
}

TEST(MultibeamSideScan, EveryOutputMayBeLeftOut) {
    const Line line;
    put(line, em1000);
    const OpenImagery sensor(em1000, line.path(), L"query");
    ASSERT_TRUE(sensor);
    EXPECT_EQ(0, EM1000SideScanReadProfile(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr));
    EXPECT_EQ(0, EM1000SideScanRead(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr));
    EXPECT_EQ(0, SideScanSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, SideScanLineSegment(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    std::int32_t values[3] = {};
    EXPECT_EQ(0, EM1000SideScanRead(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, values,
                                    nullptr));
    EXPECT_EQ(40000, values[0]);
    EXPECT_EQ(65535, values[1]);
    EXPECT_EQ(5, values[2]);
}

TEST(MultibeamSideScan, TracesStandWhereTheFirstBeamSays) {
    const Line line;
    put(line, em1000);
    // The counts of the first profile are 3, 0 and 2; only the first offset counts.
    line.patch("SideScan", 68, 4);
    line.patch("SideScan", 92, 0xFFFFFFFF);
    const auto readFirst = [&] { return em1000.record(OpenImagery(em1000, line.path(), L"query"), 1); };
    EXPECT_TRUE(readFirst().ends_with(" 6500FF807A")) << readFirst();
    line.patch("SideScan", 68, 5);
    EXPECT_EQ("code 5001725", readFirst()) << "four bytes are left";
    for (const std::uint32_t offset : {9u, 10u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        line.patch("SideScan", 68, offset);
        EXPECT_EQ("code 5001725", readFirst()) << offset;
    }
    line.patch("SideScan", 64, 0xFFFF9C40);
    EXPECT_EQ("code 5001725", readFirst()) << "the sum is beyond the file";
    line.patch("SideScan", 68, 0);
    // What the file has of them would not fit either where a caller trusted the sum of before.
    std::string room(9, '?');
    EXPECT_EQ(5001725, EM1000SideScanRead(OpenImagery(em1000, line.path(), L"query"), 1, nullptr, nullptr,
                                          nullptr, nullptr, nullptr, nullptr, nullptr, room.data()));
    EXPECT_EQ("?????????", room);
    // Without samples the trace file is not asked.
    line.patch("SideScan", 64, 0);
    line.patch("SideScan", 88, 0);
    EXPECT_TRUE(readFirst().ends_with(" -")) << readFirst();
}

TEST(MultibeamSideScan, TheTracesOffsetGrowsByTheSamplesAndNotByWhatIsWritten) {
    const Line line;
    OpenImagery sensor(em1000, line.path(), L"create");
    ASSERT_TRUE(sensor);
    const std::int32_t zero[2] = {}, counts[2] = {65535, 1}, refused[2] = {65536, 1}, negative[2] = {0, -1};
    const auto write = [&](const std::int32_t* c) {
        return EM1000SideScanSeqWriteProfile(sensor, 2, 1, start, 0, 0, 0, 0, zero, zero, zero, zero, c, zero,
                                             0);
    };
    EXPECT_EQ(0, write(counts));
    EXPECT_EQ(5001722, write(refused));
    EXPECT_EQ(5001722, write(negative));
    EXPECT_EQ(0, write(counts));
    EXPECT_EQ(0, sensor.close());
    const std::string data = line.bytes("SideScan");
    EXPECT_EQ(44u + 2 * 40, data.size());
    EXPECT_EQ(2u, wordAt(data, 20)) << "a profile that was refused is not counted";
    EXPECT_EQ(4u, wordAt(data, 24));
    EXPECT_EQ((std::vector<std::uint32_t>{0, 65535, 65536, 131071}),
              (std::vector<std::uint32_t>{wordAt(data, 68), wordAt(data, 80), wordAt(data, 108),
                                          wordAt(data, 120)}));
    EXPECT_EQ("", line.bytes("SideScanTrace"));
}

TEST(MultibeamSideScan, TracesAreWrittenInTheirOrderAndOnlyWhereThereIsAFile) {
    const Line line;
    {
        OpenImagery sensor(em1000, line.path(), L"create");
        ASSERT_TRUE(sensor);
        EXPECT_EQ(0, EM1000SideScanSeqWriteTrace(sensor, 3, "abc"));
        EXPECT_EQ(0, EM1000SideScanSeqWriteTrace(sensor, 0, nullptr));
        EXPECT_EQ(-1, EM1000SideScanSeqWriteTrace(sensor, 1, nullptr));
        EXPECT_EQ(0, EM1000SideScanSeqWriteTrace(sensor, 2, "\0d"));
        ASSERT_EQ(0, em1000.write(sensor, em1000.twin("write")[1]));
    }
    EXPECT_EQ(std::string("abc\0d", 5), line.bytes("SideScanTrace"));
    OpenImagery sensor(elac, line.path(), L"create");
    ASSERT_TRUE(sensor);
    EXPECT_EQ(5001724, EM1000SideScanSeqWriteTrace(sensor, 3, "abc"));
}

TEST(MultibeamSideScan, ValuesThatNoCodingHasAreRefusedAndNothingIsWritten) {
    const Line line;
    OpenImagery sensor(em1000, line.path(), L"create");
    ASSERT_TRUE(sensor);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto write = [&](double time, double value) {
        return EM1000SideScanSeqWriteProfile(sensor, 0, 1, time, value, 0, 0, 0, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, 0);
    };
    for (const double bad : {nan, HUGE_VAL, -HUGE_VAL, 1e300}) {
        EXPECT_EQ(5001722, write(bad, 0.0)) << bad;
        EXPECT_EQ(5001722, write(start, bad)) << bad;
    }
    EXPECT_EQ(0, write(start, 429496729.6 + 1.25));
    EXPECT_EQ(-1, EM1000SideScanSeqWriteProfile(sensor, 1, 1, start, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                                                nullptr, nullptr, nullptr, 0));
    EXPECT_EQ(0, sensor.close());
    EXPECT_EQ(44u + 16, line.bytes("SideScan").size());
    EXPECT_EQ(12u, wordAt(line.bytes("SideScan"), 52)) << "the low 32 bits";
    EXPECT_EQ(16666667u, wordAt(line.bytes("SideScan"), 32)) << "of the first time that has a coding";
}

TEST(MultibeamSideScan, AProfileBeforeAnySegmentIsWritten) {
    const Line line;
    OpenImagery sensor(elac, line.path(), L"create");
    ASSERT_TRUE(sensor);
    EXPECT_EQ(5001717, SideScanEndSeqWriteLineSegment(sensor, 1));
    ASSERT_EQ(0, elac.write(sensor, elac.twin("write")[1]));
    ASSERT_EQ(0, SideScanBgnSeqWriteLineSegment(sensor, L"late"));
    EXPECT_EQ(-1, SideScanBgnSeqWriteLineSegment(sensor, nullptr));
    ASSERT_EQ(0, elac.write(sensor, elac.twin("write")[2]));
    ASSERT_EQ(0, SideScanEndSeqWriteLineSegment(sensor, 1));
    ASSERT_EQ(0, sensor.close());
    const OpenImagery query(elac, line.path(), L"query");
    ASSERT_TRUE(query);
    EXPECT_EQ("summary 1 2 3 999999970.000 1000000000.250 0 0", elac.summary(query));
    EXPECT_EQ("segment 1 2 2 999999970.000 999999970.000 1 late", elac.segment(query, 1));
}

} // namespace
