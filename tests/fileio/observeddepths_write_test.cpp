#include "observeddepths.h"

#include "fileio/xdr.h"

#include <cfloat>
#include <cmath>
#include <limits>

// Writing observed depths: the bytes, the order of the checks, and what is refused before anything shows.
namespace {

using namespace skar::tests;

constexpr double minute = 17532000 * 60.0;
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double endless = std::numeric_limits<double>::infinity();

// One ping with one beam.
int writeOne(_TELD_Sensor* sensor, double time, double beamTime, double z, std::uint32_t status = 0) {
    if (const int code = ObservedDepthsBgnSeqWriteProfile(sensor, 1, 1, time, 0.5, -0.5, 0)) return code;
    return ObservedDepthsSeqWrite(sensor, beamTime, 0, 0, z, 0, status);
}

BeamView written(double time, double beamTime, double z, std::uint32_t status = 0) {
    const Line line;
    Observed sensor(line.path(), L"create");
    EXPECT_EQ(0, writeOne(sensor, time, beamTime, z, status));
    EXPECT_EQ(0, sensor.close());
    const Observed again(line.path(), L"query");
    BeamView beam;
    EXPECT_EQ(0, readBeam(again, 1, 1, beam));
    return beam;
}

} // namespace

TEST(ObservedDepthsWriting, GivesTheGoldenBytesOfVersionTwo) {
    const Line line;
    const LogCapture log;
    Observed sensor(line.path(), L"create");
    ASSERT_TRUE(sensor) << sensor.code();
    EXPECT_EQ(0, sensor.code());
    EXPECT_EQ(2u, sensor->version);
    ASSERT_EQ(0, writeDepths(sensor, depthsTwin(goldenDepths(2).twin())));
    ASSERT_EQ(0, sensor.close());
    for (const std::string& file : observedFiles)
        EXPECT_TRUE(same(goldenDepths(2).bytes(file), line.bytes(file))) << file;
    EXPECT_EQ(observedFiles, line.files());
    EXPECT_EQ(log.lines(), Lines{});
}

TEST(ObservedDepthsWriting, TheNewSetHasTheSameBytesUnderItsOwnNames) {
    const Line line;
    SKARIO_Init(0);
    std::uint32_t code = 99;
    _TELD_Sensor* sensor = ObservedDepthsNewOpenDir(line.path().c_str(), L"create", &code);
    ASSERT_NE(nullptr, sensor);
    EXPECT_EQ(0u, code);
    EXPECT_EQ(4u, sensor->sensorType);
    ASSERT_EQ(0, writeDepths(sensor, depthsTwin(goldenDepths(2).twin())));
    ASSERT_EQ(0, ObservedDepthsClose(sensor));
    for (const std::string suffix : {"", "LineSegments", "TmIdx"})
        EXPECT_TRUE(
            same(goldenDepths(2).bytes("ObservedDepths" + suffix), line.bytes("ObservedDepthsNew" + suffix)));
    EXPECT_EQ(3u, line.files().size());
}

TEST(ObservedDepthsWriting, WithoutAProfileLeavesNoFile) {
    const Line line;
    Observed sensor(line.path(), L"create");
    EXPECT_EQ(0, ObservedDepthsBgnSeqWriteSummary(sensor, 1));
    EXPECT_EQ(0, ObservedDepthsBgnSeqWriteLineSegment(sensor, L"a"));
    EXPECT_EQ(0, ObservedDepthsEndSeqWriteLineSegment(sensor, 0));
    EXPECT_EQ(0, ObservedDepthsEndSeqWriteSummary(sensor, 0));
    EXPECT_EQ(0, sensor.close());
    EXPECT_EQ(line.files(), std::vector<std::string>{});
}

TEST(ObservedDepthsWriting, AProfileWithoutBeamsIsAProfile) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 0, 5, minute, 0, 0, 3));
    ASSERT_EQ(0, writeOne(sensor, minute + 1, minute + 1, 8.0));
    ASSERT_EQ(0, sensor.close());
    EXPECT_EQ(firstPing + 20 + 36, line.bytes("ObservedDepths").size());
    const Observed again(line.path(), L"query");
    PingView ping;
    ASSERT_EQ(0, readPing(again, 1, ping));
    EXPECT_EQ(0u, ping.numDepths);
    EXPECT_EQ(5u, ping.startBeam);
    SKAR::IO::ObservedDepths::Profile profile;
    profile.depths.resize(3);
    EXPECT_NO_THROW(SKAR::IO::ObservedDepths::ReadProfile(*again, 1, profile, true));
    EXPECT_TRUE(profile.depths.empty());
    BeamView beam;
    EXPECT_EQ(5000219, readBeam(again, 1, 5, beam));
    EXPECT_EQ(0, readBeam(again, 2, 1, beam));
}

TEST(ObservedDepthsWriting, ARecordBeforeAnySegmentIsWrittenWithoutExtentsOfOne) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, writeOne(sensor, minute, minute, 4.0));
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteLineSegment(sensor, L"late"));
    ASSERT_EQ(0, writeOne(sensor, minute + 2, minute + 2, 6.0));
    ASSERT_EQ(0, ObservedDepthsEndSeqWriteLineSegment(sensor, 1));
    ASSERT_EQ(0, sensor.close());
    const Observed again(line.path(), L"query");
    EXPECT_EQ(segmentOf(again, 1), (SegmentExtents{"late", 2, 2, minute + 2, minute + 2, 6.0, 6.0, 1}));
}

TEST(ObservedDepthsWriting, OffsetsOfMoreThan32SecondsWrap) {
    EXPECT_DOUBLE_EQ(minute + 32.767, written(minute, minute + 32.767, 1).time);
    EXPECT_DOUBLE_EQ(minute - 32.768, written(minute, minute - 32.768, 1).time);
    EXPECT_DOUBLE_EQ(minute - 32.536, written(minute, minute + 33.0, 1).time);
    EXPECT_DOUBLE_EQ(minute + 32.536, written(minute, minute - 33.0, 1).time);
}

TEST(ObservedDepthsWriting, MetersSaturateAndEverythingElseRoundsHalfAwayFromZero) {
    EXPECT_EQ(2147483.647, written(minute, minute, 2000000.5).z);
    EXPECT_EQ(-2147483.648, written(minute, minute, -2000000.5).z);
    EXPECT_EQ(2000000.0, written(minute, minute, 2000000.0).z);
    EXPECT_EQ(-2000000.0, written(minute, minute, -2000000.0).z);
    EXPECT_EQ(0.001, written(minute, minute, 0.0005).z);
    EXPECT_EQ(-0.001, written(minute, minute, -0.0005).z);
    EXPECT_EQ(0.0, written(minute, minute, -0.0004).z);
    // Saturation is what the coding gives for the infinite as well.
    EXPECT_EQ(2147483.647, written(minute, minute, endless).z);
    EXPECT_EQ(-2147483.648, written(minute, minute, -endless).z);
}

TEST(ObservedDepthsWriting, PositionsBeyondTheWordKeepTheirLowBits) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 0, 1, minute, 300.0, -300.0, 0));
    ASSERT_EQ(0, sensor.close());
    const std::string bytes = line.bytes("ObservedDepths");
    EXPECT_EQ(static_cast<std::uint32_t>(3000000000LL), wordAt(bytes, firstPing + 12));
    EXPECT_EQ(static_cast<std::uint32_t>(-3000000000LL), wordAt(bytes, firstPing + 16));
}

TEST(ObservedDepthsWriting, TheReferenceIsTheNearestMinuteOfTheFirstPing) {
    for (const auto& [time, reference] :
         {std::pair(90.0, 2u), {89.9, 1u}, {29.0, 0u}, {-90.0, 0xFFFFFFFEu}}) {
        const Line line;
        Observed sensor(line.path(), L"create");
        ASSERT_EQ(0, writeOne(sensor, time, time, 1));
        ASSERT_EQ(0, writeOne(sensor, time + 600, time + 600, 1));
        ASSERT_EQ(0, sensor.close());
        EXPECT_EQ(reference, wordAt(line.bytes("ObservedDepths"), 40)) << time;
        const Observed again(line.path(), L"query");
        PingView ping;
        ASSERT_EQ(0, readPing(again, 2, ping));
        EXPECT_DOUBLE_EQ(time + 600, ping.time);
    }
}

TEST(ObservedDepthsWriting, LowBitsOfAStatusAreNotMasked) {
    const BeamView beam = written(minute, minute + 0.004, 1, 0x00010003);
    EXPECT_EQ(0x00010000u, beam.status);
    EXPECT_DOUBLE_EQ(minute + 0.007, beam.time);
}

TEST(ObservedDepthsWriting, AHeaderWithoutACodingIsRefusedAndNothingShows) {
    const struct {
        std::uint32_t count;
        std::uint32_t start;
        double time;
        double latitude;
        double longitude;
    } refused[] = {
        {65536, 1, minute, 0, 0},      {1, 65536, minute, 0, 0},      {0xFFFFFFFF, 1, minute, 0, 0},
        {1, 0xFFFFFFFF, minute, 0, 0}, {1, 1, notANumber, 0, 0},      {1, 1, endless, 0, 0},
        {1, 1, -endless, 0, 0},        {1, 1, 1e300, 0, 0},           {1, 1, minute, notANumber, 0},
        {1, 1, minute, endless, 0},    {1, 1, minute, 0, notANumber}, {1, 1, minute, 0, -endless},
        {1, 1, minute, 1e30, 0},
    };
    for (const bool first : {true, false}) {
        const Line line;
        Observed sensor(line.path(), L"create");
        ASSERT_EQ(0, ObservedDepthsBgnSeqWriteLineSegment(sensor, L"a"));
        if (!first) {
            ASSERT_EQ(0, writeOne(sensor, minute, minute, 5));
        }
        const SegmentExtents before = segmentOf(sensor, 1);
        for (const auto& row : refused) {
            EXPECT_EQ(5000222, ObservedDepthsBgnSeqWriteProfile(sensor, row.count, row.start, row.time,
                                                                row.latitude, row.longitude, 0));
            std::uint32_t pings = 9, depths = 9;
            EXPECT_EQ(0, ObservedDepthsSummary(sensor, nullptr, nullptr, &pings, &depths, nullptr, nullptr,
                                               nullptr, nullptr, nullptr));
            EXPECT_EQ(first ? 0u : 1u, pings);
            EXPECT_EQ(first ? 0u : 1u, depths);
            EXPECT_EQ(before, segmentOf(sensor, 1));
        }
        if (first) {
            ASSERT_EQ(0, writeOne(sensor, minute, minute, 5));
        }
        ASSERT_EQ(0, sensor.close());
        EXPECT_EQ(firstPing + 36, line.bytes("ObservedDepths").size());
        EXPECT_EQ(17532000u, wordAt(line.bytes("ObservedDepths"), 40))
            << "the reference of the first ping kept";
    }
}

TEST(ObservedDepthsWriting, TheLargestCountAndFirstBeamFit) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 65535, 65535, minute, 0, 0, 0));
    ASSERT_EQ(0, sensor.close());
    EXPECT_EQ(0xFFFFFFFFu, wordAt(line.bytes("ObservedDepths"), firstPing + 4));
    const Observed again(line.path(), L"query");
    PingView ping;
    ASSERT_EQ(0, readPing(again, 1, ping));
    EXPECT_EQ(65535u, ping.numDepths);
    EXPECT_EQ(65535u, ping.startBeam);
}

TEST(ObservedDepthsWriting, ABeamWithoutACodingIsRefusedAndNothingShows) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteLineSegment(sensor, L"a"));
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 1, 1, minute, 0, 0, 0));
    const SegmentExtents before = segmentOf(sensor, 1);
    const double values[][4] = {
        {notANumber, 0, 0, 0},      {endless, 0, 0, 0},         {-endless, 0, 0, 0},       {1e300, 0, 0, 0},
        {minute, notANumber, 0, 0}, {minute, 0, notANumber, 0}, {minute, 0, 0, notANumber}};
    for (const auto& [time, y, x, z] : values) {
        EXPECT_EQ(5000222, ObservedDepthsSeqWrite(sensor, time, y, x, z, 0, 0));
        EXPECT_EQ(before, segmentOf(sensor, 1));
    }
    EXPECT_EQ(0, ObservedDepthsSeqWrite(sensor, minute, 0, 0, 5, notANumber, 0)) << "extra is not looked at";
    ASSERT_EQ(0, sensor.close());
    EXPECT_EQ(firstPing + 36, line.bytes("ObservedDepths").size());
}

TEST(ObservedDepthsWriting, CountsWhatTheHeadersSay) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 3, 1, minute, 0, 0, 0));
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 400, 1, minute, 0, 0, 0));
    ASSERT_EQ(0, sensor.close());
    EXPECT_EQ(403u, wordAt(line.bytes("ObservedDepths"), 28));
}

TEST(ObservedDepthsWriting, ReadsInBetweenFindTheirWayBackToTheEnd) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 2, 1, minute, 0, 0, 0));
    BeamView beam;
    PingView ping;
    EXPECT_EQ(-1, readBeam(sensor, 1, 1, beam));
    EXPECT_EQ(-1, readPing(sensor, 1, ping));
    TELD_ReadDataValidationRecord(sensor); // moves the file, whatever it gives for one that is written
    ASSERT_EQ(0, ObservedDepthsSeqWrite(sensor, minute, 1, 2, 3, 0, 0));
    ASSERT_EQ(0, ObservedDepthsSeqWrite(sensor, minute, 4, 5, 6, 0, 0));
    ASSERT_EQ(0, sensor.close());
    const std::string bytes = line.bytes("ObservedDepths");
    ASSERT_EQ(firstPing + 20 + 32, bytes.size());
    EXPECT_EQ(3000u, wordAt(bytes, firstPing + 24));
    EXPECT_EQ(6000u, wordAt(bytes, firstPing + 40));
}

TEST(ObservedDepthsWriting, ChecksReadStructureBeforeSensorBeforeAccess) {
    const Line line;
    putDepths(line, 2);
    Observed query(line.path(), L"query");
    Observed update(line.path(), L"update");
    for (Observed* each : {&query, &update}) {
        EXPECT_EQ(5000218, ObservedDepthsBgnSeqWriteSummary(*each, 1));
        EXPECT_EQ(5000218, ObservedDepthsBgnSeqWriteLineSegment(*each, L"a"));
        EXPECT_EQ(5000218, ObservedDepthsBgnSeqWriteProfile(*each, 1, 1, 0, 0, 0, 0));
        EXPECT_EQ(5000218, ObservedDepthsSeqWrite(*each, 0, 0, 0, 0, 0, 0));
        EXPECT_EQ(5000218, ObservedDepthsEndSeqWriteProfile(*each));
        EXPECT_EQ(5000218, ObservedDepthsEndSeqWriteLineSegment(*each, 0));
        EXPECT_EQ(5000218, ObservedDepthsEndSeqWriteSummary(*each, 0));
    }
    query->sensorType = 5;
    EXPECT_EQ(5000213, ObservedDepthsBgnSeqWriteSummary(query, 1));
    EXPECT_EQ(5000213, ObservedDepthsBgnSeqWriteLineSegment(query, L"a"));
    EXPECT_EQ(5000213, ObservedDepthsBgnSeqWriteProfile(query, 1, 1, 0, 0, 0, 0));
    EXPECT_EQ(5000213, ObservedDepthsSeqWrite(query, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(5000213, ObservedDepthsEndSeqWriteProfile(query));
    EXPECT_EQ(5000213, ObservedDepthsEndSeqWriteLineSegment(query, 0));
    EXPECT_EQ(5000213, ObservedDepthsEndSeqWriteSummary(query, 0));
    EXPECT_EQ(5000213, ObservedDepthsSetToolType(query, 0));
    EXPECT_EQ(5000213, ObservedDepthsSetSummaryStatus(query, 0));
    EXPECT_EQ(5000213, ObservedDepthsClose(query));
    void* structure = std::exchange(query->pReadStruct, nullptr);
    EXPECT_EQ(-1, ObservedDepthsBgnSeqWriteProfile(query, 1, 1, 0, 0, 0, 0));
    EXPECT_EQ(-1, ObservedDepthsSeqWrite(query, 0, 0, 0, 0, 0, 0));
    query->pReadStruct = structure;
    query->sensorType = 4;
}

TEST(ObservedDepthsWriting, ANullHandleGivesItsCodeEverywhere) {
    EXPECT_EQ(5000212, ObservedDepthsClose(nullptr));
    EXPECT_EQ(5000212, ObservedDepthsBgnSeqWriteSummary(nullptr, 1));
    EXPECT_EQ(5000212, ObservedDepthsBgnSeqWriteLineSegment(nullptr, L"a"));
    EXPECT_EQ(5000212, ObservedDepthsEndSeqWriteProfile(nullptr));
    EXPECT_EQ(5000212, ObservedDepthsEndSeqWriteLineSegment(nullptr, 0));
    EXPECT_EQ(5000212, ObservedDepthsEndSeqWriteSummary(nullptr, 0));
    EXPECT_EQ(5000212, ObservedDepthsSetToolType(nullptr, 0));
    EXPECT_EQ(5000212, ObservedDepthsSetSummaryStatus(nullptr, 0));
    EXPECT_EQ(5000212, ObservedDepthsSetLineSegmentStatus(nullptr, 1, 0));
    EXPECT_EQ(5000212, ObservedDepthsSetSourceFileName(nullptr, L"a"));
    EXPECT_EQ(5000212, ObservedDepthsSaveStatusToDisk(nullptr));
    EXPECT_EQ(5000212, ObservedDepthsSummary(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr));
    EXPECT_EQ(5000212, ObservedDepthsLineSegment(nullptr, 1, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                 nullptr, nullptr, nullptr));
    EXPECT_EQ(5000212,
              ObservedDepthsRead(nullptr, 1, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5000212,
              ObservedDepthsReadProfile(nullptr, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST(ObservedDepthsWriting, ASegmentEndsOnlyWhereOneBegan) {
    const Line line;
    Observed sensor(line.path(), L"create");
    EXPECT_EQ(5000217, ObservedDepthsEndSeqWriteLineSegment(sensor, 0));
    EXPECT_EQ(-1, ObservedDepthsBgnSeqWriteLineSegment(sensor, nullptr));
    EXPECT_EQ(0u, sensor->numLineSegments);
}

TEST(ObservedDepthsWriting, AStreamWithoutRoomGivesTheEncodeCode) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, writeOne(sensor, minute, minute, 1));
    void* buffer = sensor->encodeXDRStream.x_base;
    qon_xdr_destroy(&sensor->encodeXDRStream);
    qon_xdrmem_create(&sensor->encodeXDRStream, buffer, 16, XDR_ENCODE);
    EXPECT_EQ(5000222, ObservedDepthsBgnSeqWriteProfile(sensor, 1, 1, minute, 0, 0, 0));
    EXPECT_EQ(0, ObservedDepthsSeqWrite(sensor, minute, 0, 0, 0, 0, 0)) << "a beam has 16 bytes";
    qon_xdr_destroy(&sensor->encodeXDRStream);
    EXPECT_EQ(5000222, ObservedDepthsSeqWrite(sensor, minute, 0, 0, 0, 0, 0));
    EXPECT_EQ(5000222, ObservedDepthsBgnSeqWriteProfile(sensor, 1, 1, minute, 0, 0, 0));
}

TEST(ObservedDepthsWriting, TheToolTypeCanBeSetUntilTheClose) {
    const Line line;
    Observed sensor(line.path(), L"create");
    EXPECT_EQ(0, ObservedDepthsBgnSeqWriteSummary(sensor, 11));
    EXPECT_EQ(11u, sensor->toolType);
    ASSERT_EQ(0, writeOne(sensor, minute, minute, 1));
    EXPECT_EQ(0, ObservedDepthsSetToolType(sensor, 12));
    EXPECT_EQ(0, ObservedDepthsSetSummaryStatus(sensor, 13));
    ASSERT_EQ(0, sensor.close());
    EXPECT_EQ(13u, wordAt(line.bytes("ObservedDepths"), 16));
    EXPECT_EQ(12u, wordAt(line.bytes("ObservedDepths"), 20));
}
