#include "observeddepths.h"

#include "fileio/xdr.h"
#include "support/fault_backend.h"

#include <cerrno>
#include <functional>
#include <limits>
#include <random>

// Changes of beams in their place: the bytes that change and those that do not, what waits for a save, and
// reads in between, whatever comes before them.
namespace {

using namespace skar::tests;
using SKAR::IO::ObservedDepths::Profile;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
// Of the golden line: ping 1 has beams 1 to 3, ping 2 beams 2 and 3, ping 3 beam 1.
constexpr std::size_t beamAt(std::uint32_t ping, std::uint32_t beam) {
    return ping == 1   ? firstPing + 20 + (beam - 1) * 16
           : ping == 2 ? firstPing + 68 + 20 + (beam - 2) * 16
                       : firstPing + 68 + 52 + 20 + (beam - 1) * 16;
}
constexpr std::size_t summaryMinDepth = 52;
constexpr std::size_t summaryMaxDepth = 56;

using Updater = std::function<int(_TELD_Sensor*, std::uint32_t ping, std::uint32_t beam)>;
struct UpdateRow {
    const char* name;
    Updater update;
};
const std::vector<UpdateRow>& updaters() {
    static const std::vector<UpdateRow> rows = {
        {"Status", [](auto* s, auto p, auto b) { return ObservedDepthsUpdateStatus(s, p, b, 0x12340000); }},
        {"Rejection",
         [](auto* s, auto p, auto b) { return ObservedDepthsUpdateRejectionStatus(s, p, b, 0x10080000); }},
        {"Depth", [](auto* s, auto p, auto b) { return ObservedDepthsUpdateDepth(s, p, b, 3.5); }},
        {"DepthStatus",
         [](auto* s, auto p, auto b) { return ObservedDepthsUpdateDepthStatus(s, p, b, 3.5, 0x12340000); }},
        {"XYZStatus",
         [](auto* s, auto p, auto b) {
             const double z = 3.5;
             return ObservedDepthsUpdateXYZStatus(s, p, b, nullptr, nullptr, &z, nullptr);
         }},
    };
    return rows;
}

class ObservedDepthsUpdates : public testing::Test {
protected:
    void SetUp() override {
        SKARIO_Init(0);
        putDepths(line, 2);
    }
    std::string data() const { return line.bytes("ObservedDepths"); }
    Line line;
    const std::string before = goldenDepths(2).bytes("ObservedDepths").string();
};

// One write is what a change demands; the header of the ping and the beam as it stands have to be read
// before.
TEST_F(ObservedDepthsUpdates, OneCostsAWriteAndAtMostTwoReads) {
    FaultBackend disk;
    for (const char* const name : {"ObservedDepths", "ObservedDepthsLineSegments", "ObservedDepthsTmIdx"})
        disk.put(std::string("/survey/p/v/d/l/") + name, goldenDepths(2).bytes(name).string());
    std::uint32_t code = 77;
    _TELD_Sensor* const sensor = ObservedDepthsOpenDir(L"/survey/p/v/d/l", L"update", &code);
    ASSERT_NE(nullptr, sensor);
    for (const UpdateRow& row : updaters()) {
        SCOPED_TRACE(row.name);
        disk.resetCounts();
        ASSERT_EQ(0, row.update(sensor, 1, 2));
        EXPECT_LE(disk.operations(), 3u);
        EXPECT_EQ(1u, disk.operations(Op::write));
        disk.resetCounts();
        ASSERT_EQ(0, row.update(sensor, 1, 1));
        EXPECT_LE(disk.operations(), 2u) << "in the same ping";
        disk.resetCounts();
        ASSERT_EQ(0, row.update(sensor, 3, 1));
        EXPECT_LE(disk.operations(), 3u);
    }
    EXPECT_EQ(0, ObservedDepthsClose(sensor));
}

// Headers of pings that a reader has been to are kept; each beam counts from its own all the same.
TEST_F(ObservedDepthsUpdates, ReadsHereAndThereCountFromTheRightPing) {
    const Line here;
    const std::wstring path = here.path();
    constexpr std::uint32_t pings = 3, beams = 400;
    std::uint32_t code = 77;
    _TELD_Sensor* sensor = ObservedDepthsOpenDir(path.c_str(), L"create", &code);
    ASSERT_NE(nullptr, sensor);
    ObservedDepthsBgnSeqWriteSummary(sensor, 0);
    ObservedDepthsBgnSeqWriteLineSegment(sensor, L"raw");
    for (std::uint32_t ping = 1; ping <= pings; ++ping) {
        ObservedDepthsBgnSeqWriteProfile(sensor, beams, 1, 1e9 + ping, 0.5, 0.25, 0);
        for (std::uint32_t beam = 1; beam <= beams; ++beam)
            ObservedDepthsSeqWrite(sensor, 1e9 + ping, beam, 0.0, ping * 1000.0 + beam, 0.0, beam << 16);
        ObservedDepthsEndSeqWriteProfile(sensor);
    }
    ObservedDepthsEndSeqWriteLineSegment(sensor, 0);
    ObservedDepthsEndSeqWriteSummary(sensor, 0);
    ASSERT_EQ(0, ObservedDepthsClose(sensor));

    sensor = ObservedDepthsOpenDir(path.c_str(), L"query", &code);
    ASSERT_NE(nullptr, sensor);
    const auto expectBeam = [&](std::uint32_t ping, std::uint32_t beam) {
        double time = 0.0, y = 0.0, x = 0.0, z = 0.0;
        std::uint32_t status = 0;
        ASSERT_EQ(0, ObservedDepthsRead(sensor, ping, beam, &time, &y, &x, &z, nullptr, &status));
        EXPECT_EQ(1e9 + ping, time);
        EXPECT_EQ(beam, y);
        EXPECT_EQ(ping * 1000.0 + beam, z);
        EXPECT_EQ(beam << 16, status);
    };
    expectBeam(1, 399);
    for (const std::uint32_t ping : {3u, 1u, 2u})
        expectBeam(ping, 350);
    for (const auto& [ping, beam] : {std::pair{1u, 398u}, {3u, 300u}, {2u, 377u}, {1u, 300u}}) {
        expectBeam(ping, beam);
        expectBeam(ping, beam + 1);
    }
    double time = 0.0;
    EXPECT_EQ(5000219,
              ObservedDepthsRead(sensor, 2, 401, &time, nullptr, nullptr, nullptr, nullptr, nullptr));
    expectBeam(2, 400);
    expectBeam(3, 1);
    EXPECT_EQ(0, ObservedDepthsClose(sensor));
}

} // namespace

TEST_F(ObservedDepthsUpdates, ChangeTheirWordsAndNoOther) {
    const Observed sensor(line.path(), L"update");
    ASSERT_TRUE(sensor) << sensor.code();
    std::string expected = before;
    const auto expect = [&](std::size_t at, std::uint32_t word) {
        expected = withWord(expected, at, word);
        EXPECT_TRUE(same(Bytes().raw("", expected), data()));
    };
    ASSERT_EQ(0, ObservedDepthsUpdateStatus(sensor, 1, 3, 0x00050000));
    expect(beamAt(1, 3), 0x0005FFCE);
    ASSERT_EQ(0, ObservedDepthsUpdateDepth(sensor, 2, 3, -1.5));
    expect(beamAt(2, 3) + 4, static_cast<std::uint32_t>(-1500));
    ASSERT_EQ(0, ObservedDepthsUpdateDepthStatus(sensor, 3, 1, 2000001.0, 0x01000000));
    expected = withWord(expected, beamAt(3, 1), 0x01007FFF);
    expect(beamAt(3, 1) + 4, 0x7FFFFFFF);
    const double x = 1.25;
    const double y = -2000000.5;
    const double z = 0.0005;
    const std::uint32_t status = 0xABC00000;
    ASSERT_EQ(0, ObservedDepthsUpdateXYZStatus(sensor, 1, 1, &x, nullptr, nullptr, nullptr));
    expect(beamAt(1, 1) + 8, 1250);
    ASSERT_EQ(0, ObservedDepthsUpdateXYZStatus(sensor, 1, 1, nullptr, &y, nullptr, nullptr));
    expect(beamAt(1, 1) + 12, 0x80000000);
    ASSERT_EQ(0, ObservedDepthsUpdateXYZStatus(sensor, 1, 1, nullptr, nullptr, &z, nullptr));
    expect(beamAt(1, 1) + 4, 1);
    ASSERT_EQ(0, ObservedDepthsUpdateXYZStatus(sensor, 1, 2, nullptr, nullptr, nullptr, &status));
    expect(beamAt(1, 2), 0xABC0007D);
    ASSERT_EQ(0, ObservedDepthsUpdateXYZStatus(sensor, 1, 2, &x, &y, &z, &status));
    expected = withWord(expected, beamAt(1, 2) + 4, 1);
    expected = withWord(expected, beamAt(1, 2) + 8, 1250);
    expect(beamAt(1, 2) + 12, 0x80000000);
    ASSERT_EQ(0, ObservedDepthsUpdateXYZStatus(sensor, 1, 3, nullptr, nullptr, nullptr, nullptr));
    expect(beamAt(1, 2), 0xABC0007D);
}

TEST_F(ObservedDepthsUpdates, OfTheRejectionLeaveTheRestOfTheStatusAndTheOffset) {
    const struct {
        std::uint32_t stored;
        std::uint32_t bits;
        std::uint32_t result;
    } rows[] = {
        {0x00000000, 0x80000000, 0x80000000}, {0xFFFF1234, 0x00000000, 0x0C071234},
        {0x0C07FFFF, 0xF3F80000, 0xFFFFFFFF}, {0xF3F88000, 0x00080000, 0x00088000},
        {0x12345678, 0x10300000, 0x10345678}, {0x8C070001, 0x40000000, 0x4C070001},
    };
    for (const auto& row : rows) {
        line.write("ObservedDepths", withWord(before, beamAt(1, 2), row.stored));
        const Observed sensor(line.path(), L"update");
        ASSERT_EQ(0, ObservedDepthsUpdateRejectionStatus(sensor, 1, 2, row.bits));
        EXPECT_TRUE(same(Bytes().raw("", withWord(before, beamAt(1, 2), row.result)), data()));
    }
}

TEST_F(ObservedDepthsUpdates, OfARejectionThatIsThereWriteNothing) {
    FaultBackend disk;
    for (const std::string& file : observedFiles)
        disk.put("/survey/p/v/d/l/" + file, goldenDepths(2).bytes(file).string());
    Observed sensor(L"/survey/p/v/d/l", L"update");
    ASSERT_TRUE(sensor);
    disk.startJournal();
    EXPECT_EQ(0, ObservedDepthsUpdateRejectionStatus(sensor, 3, 1, rejected));
    EXPECT_EQ(0, ObservedDepthsUpdateRejectionStatus(sensor, 2, 3, 0));
    EXPECT_TRUE(disk.journal().empty());
    EXPECT_EQ(0, ObservedDepthsUpdateRejectionStatus(sensor, 2, 3, 0x00080000));
    ASSERT_EQ(1u, disk.journal().size());
    EXPECT_EQ(beamAt(2, 3), disk.journal()[0].offset);
    EXPECT_EQ(16u, disk.journal()[0].bytes.size());
    BeamView beam;
    ASSERT_EQ(0, ObservedDepthsUpdateRejectionStatus(sensor, 1, 2, 0));
    ASSERT_EQ(0, readBeam(sensor, 1, 2, beam));
    EXPECT_EQ(-45.679, beam.z) << "a read behind it finds its beam";
}

TEST_F(ObservedDepthsUpdates, OfDepthsWidenTheExtentsInMemoryAndOnDiskOnlyWithASave) {
    Observed sensor(line.path(), L"update");
    const auto extents = [&] {
        double least = 0, most = 0;
        EXPECT_EQ(0, ObservedDepthsSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           &least, &most, nullptr));
        return std::pair(least, most);
    };
    const SegmentExtents first = segmentOf(sensor, 1);
    ASSERT_EQ(0, ObservedDepthsUpdateDepth(sensor, 1, 1, -99.5));
    EXPECT_EQ(std::pair(-99.5, 2000000.0), extents());
    EXPECT_EQ(first, segmentOf(sensor, 1)) << "the profile lies there, but the last segment widens";
    EXPECT_EQ(-99.5, segmentOf(sensor, 2).minDepth);
    ASSERT_EQ(0, ObservedDepthsUpdateDepthStatus(sensor, 1, 1, 2000100.0, 0));
    EXPECT_EQ(std::pair(-99.5, 2000100.0), extents());
    ASSERT_EQ(0, ObservedDepthsUpdateDepth(sensor, 1, 1, 0.0));
    EXPECT_EQ(std::pair(-99.5, 2000100.0), extents()) << "never narrower";
    const double y = -5000;
    ASSERT_EQ(0, ObservedDepthsUpdateXYZStatus(sensor, 1, 1, &y, &y, nullptr, nullptr));
    EXPECT_EQ(std::pair(-99.5, 2000100.0), extents()) << "x and y are no depths";
    ASSERT_EQ(0, ObservedDepthsUpdateXYZStatus(sensor, 1, 1, nullptr, nullptr, &y, nullptr));
    EXPECT_EQ(std::pair(-5000.0, 2000100.0), extents());
    EXPECT_EQ(0, ObservedDepthsUpdateStatus(sensor, 1, 1, 0x40000000));
    EXPECT_EQ(wordAt(before, summaryMinDepth), wordAt(data(), summaryMinDepth));
    EXPECT_TRUE(same(goldenDepths(2).bytes(observedFiles[1]), line.bytes(observedFiles[1])));
    ASSERT_EQ(0, ObservedDepthsSaveStatusToDisk(sensor));
    EXPECT_EQ(static_cast<std::uint32_t>(-5000000), wordAt(data(), summaryMinDepth));
    EXPECT_EQ(0x7FFFFFFFu, wordAt(data(), summaryMaxDepth));
    const std::string side = line.bytes(observedFiles[1]);
    EXPECT_EQ(static_cast<std::uint32_t>(-5000000), wordAt(side, side.size() - 8));
    EXPECT_EQ(0x7FFFFFFFu, wordAt(side, side.size() - 4));
    BeamView beam;
    ASSERT_EQ(0, readBeam(sensor, 1, 1, beam));
    EXPECT_EQ(-5000.0, beam.z) << "after the save a read still finds its beam";
}

TEST_F(ObservedDepthsUpdates, WithoutASaveLeaveSummaryAndSegmentsAlone) {
    {
        Observed sensor(line.path(), L"update");
        ASSERT_EQ(0, ObservedDepthsUpdateDepth(sensor, 1, 1, -99.5));
        ASSERT_EQ(0, ObservedDepthsSetToolType(sensor, 99));
        ASSERT_EQ(0, ObservedDepthsSetSummaryStatus(sensor, 98));
        ASSERT_EQ(0, ObservedDepthsSetLineSegmentStatus(sensor, 2, 97));
        ASSERT_EQ(0, sensor.close());
    }
    EXPECT_TRUE(same(Bytes().raw("", withWord(before, beamAt(1, 1) + 4, static_cast<std::uint32_t>(-99500))),
                     data()));
    EXPECT_TRUE(same(goldenDepths(2).bytes(observedFiles[1]), line.bytes(observedFiles[1])));
    EXPECT_TRUE(same(goldenDepths(2).bytes(observedFiles[2]), line.bytes(observedFiles[2])));
}

TEST_F(ObservedDepthsUpdates, ASavePutsToolTypeAndStatusesOnDisk) {
    Observed sensor(line.path(), L"update");
    EXPECT_EQ(5000217, ObservedDepthsSetLineSegmentStatus(sensor, 0, 1));
    EXPECT_EQ(5000217, ObservedDepthsSetLineSegmentStatus(sensor, 3, 1));
    ASSERT_EQ(0, ObservedDepthsSetToolType(sensor, 99));
    ASSERT_EQ(0, ObservedDepthsSetSummaryStatus(sensor, 98));
    ASSERT_EQ(0, ObservedDepthsSetLineSegmentStatus(sensor, 2, 97));
    ASSERT_EQ(0, ObservedDepthsSaveStatusToDisk(sensor));
    EXPECT_TRUE(same(Bytes().raw("", withWord(withWord(before, 16, 98), 20, 99)), data()));
    const std::string side = line.bytes(observedFiles[1]);
    EXPECT_EQ(97u, wordAt(side, side.size() - 24 - 16 - 12)) << "before its two lengths and its name";
    EXPECT_EQ(side.size(), goldenDepths(2).bytes(observedFiles[1]).size());
}

TEST_F(ObservedDepthsUpdates, TheSourceNameGoesToEverySegmentAtOnce) {
    Observed sensor(line.path(), L"update");
    EXPECT_EQ(5000235, ObservedDepthsSetSourceFileName(sensor, nullptr));
    ASSERT_EQ(0, ObservedDepthsSetSourceFileName(sensor, L"neu ü.raw"));
    ASSERT_EQ(0, sensor.close());
    const Observed again(line.path(), L"query");
    EXPECT_EQ("neu ü.raw", segmentOf(again, 1).name);
    EXPECT_EQ("neu ü.raw", segmentOf(again, 2).name);
    EXPECT_EQ(1u, segmentOf(again, 1).begin);
    EXPECT_EQ(5000218, ObservedDepthsSetSourceFileName(again, L"a"));
    EXPECT_EQ(5000218, ObservedDepthsSetSourceFileName(again, nullptr)) << "access goes before the name";
    EXPECT_EQ(before, data());
}

TEST_F(ObservedDepthsUpdates, CheckStructureVersionSensorAccessProfileAndBeamInThatOrder) {
    for (const UpdateRow& row : updaters()) {
        SCOPED_TRACE(row.name);
        Observed sensor(line.path(), L"update");
        for (const auto& [ping, beam] : {std::pair(0u, 1u),
                                         {4u, 1u},
                                         {0xFFFFFFFFu, 1u},
                                         {1u, 0u},
                                         {1u, 4u},
                                         {1u, 0xFFFFFFFFu},
                                         {2u, 1u},
                                         {2u, 4u},
                                         {3u, 2u}})
            EXPECT_EQ(5000219, row.update(sensor, ping, beam)) << ping << ' ' << beam;
        sensor->accessType = 2;
        EXPECT_EQ(5000218, row.update(sensor, 9, 1));
        sensor->sensorType = 5;
        EXPECT_EQ(5000213, row.update(sensor, 9, 1));
        void* structure = std::exchange(sensor->pReadStruct, nullptr);
        EXPECT_EQ(-1, row.update(sensor, 9, 1));
        sensor->pReadStruct = structure;
        sensor->sensorType = 4;
        sensor->accessType = 3;
        EXPECT_EQ(0, sensor.close());
        EXPECT_EQ(before, data());
        Observed query(line.path(), L"query");
        EXPECT_EQ(5000218, row.update(query, 1, 1));
    }
}

TEST_F(ObservedDepthsUpdates, OfAnOldVersionSucceedAndChangeNothing) {
    putDepths(line, 1);
    for (const wchar_t* token : {L"update", L"query"}) {
        Observed sensor(line.path(), token);
        ASSERT_TRUE(sensor);
        double least = 0;
        for (const UpdateRow& row : updaters()) {
            EXPECT_EQ(0, row.update(sensor, 1, 1)) << row.name;
            EXPECT_EQ(0, row.update(sensor, 99, 1)) << row.name << ": the version is looked at first";
        }
        EXPECT_EQ(0, ObservedDepthsSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           &least, nullptr, nullptr));
        EXPECT_EQ(-45.679, least);
        EXPECT_EQ(0, sensor.close());
    }
    for (const std::string& file : observedFiles)
        EXPECT_TRUE(same(goldenDepths(1).bytes(file), line.bytes(file)));
}

TEST_F(ObservedDepthsUpdates, WithoutACodingAreRefusedWhole) {
    Observed sensor(line.path(), L"update");
    const double good = 1.0;
    const double bad = notANumber;
    const std::uint32_t status = 0x10000000;
    EXPECT_EQ(5000222, ObservedDepthsUpdateDepth(sensor, 1, 1, bad));
    EXPECT_EQ(5000222, ObservedDepthsUpdateDepthStatus(sensor, 1, 1, bad, status));
    EXPECT_EQ(5000222, ObservedDepthsUpdateXYZStatus(sensor, 1, 1, &good, &good, &bad, &status));
    EXPECT_EQ(5000222, ObservedDepthsUpdateXYZStatus(sensor, 1, 1, &bad, &good, &good, &status));
    EXPECT_EQ(5000222, ObservedDepthsUpdateXYZStatus(sensor, 1, 1, &good, &bad, &good, &status));
    EXPECT_EQ(before, data());
    double least = 0, most = 0;
    EXPECT_EQ(0, ObservedDepthsSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &least,
                                       &most, nullptr));
    EXPECT_EQ(-45.679, least);
    EXPECT_EQ(2000000.0, most);
}

TEST_F(ObservedDepthsUpdates, GiveTheCodeOfTheStepThatFailed) {
    const auto all = [&](const auto& damage, const auto& spoil, const std::vector<int>& codes) {
        for (std::size_t i = 0; i < codes.size(); ++i) {
            SCOPED_TRACE(updaters()[i].name);
            putDepths(line, 2);
            damage();
            const std::string held = data();
            Observed sensor(line.path(), L"update");
            ASSERT_TRUE(sensor) << sensor.code();
            spoil(*sensor);
            EXPECT_EQ(codes[i], updaters()[i].update(sensor, 2, 2));
            sensor.close();
            EXPECT_EQ(held, data());
        }
    };
    const auto nothing = [](const auto&...) {};
    const LogCapture log;
    all(nothing,
        [](_TELD_Sensor& s) {
            s.firstTmIdxSet->numRecords = 1;
            s.lastTmIdxSet = nullptr;
        },
        {5000208, 5000208, 5000208, 5000208, 5000208});
    EXPECT_EQ(log.lines().front(),
              (Logged{1, "TmIdxMapIndexToByteOffset: requested record number not found\n"}));
    all([&] { line.patch("ObservedDepthsTmIdx", 52, 0x80000000); }, nothing,
        {5000215, 5000215, 5000215, 5000215, 5000215});
    all([&] { line.patch("ObservedDepthsTmIdx", 52, 0x7FFFFFFF); }, nothing,
        {5000225, 5000225, 5000225, 5000225, 5000225});
    all([&] { line.cut("ObservedDepths", firstPing + 68 + 20 + 15); }, nothing,
        {5000225, 5000225, 5000225, 5000225, 5000225});
    all(nothing, [](_TELD_Sensor& s) { qon_xdr_destroy(&s.decodeXDRStream); },
        {5000227, 5000227, 5000227, 5000227, 5000222});
}

TEST_F(ObservedDepthsUpdates, ASaveGivesTheCodeOfItsStep) {
    const auto saved = [](const auto& fault) {
        FaultBackend disk;
        for (const std::string& file : observedFiles)
            disk.put("/survey/p/v/d/l/" + file, goldenDepths(2).bytes(file).string());
        int code = 0;
        {
            Observed sensor(L"/survey/p/v/d/l", L"update");
            EXPECT_TRUE(sensor);
            disk.resetCounts();
            fault(disk);
            code = ObservedDepthsSaveStatusToDisk(sensor);
            disk.clearFaults();
        }
        EXPECT_EQ(0, disk.openStreams());
        EXPECT_TRUE(
            same(goldenDepths(2).bytes(observedFiles[1]), disk.bytes("/survey/p/v/d/l/" + observedFiles[1])));
        return code;
    };
    const LogCapture log;
    EXPECT_EQ(0, saved([](FaultBackend&) {}));
    EXPECT_EQ(log.lines(), Lines{});
    EXPECT_EQ(5000205, saved([](FaultBackend& disk) { disk.failAt(Op::write, 1, EIO); }));
    EXPECT_EQ(5000202, saved([](FaultBackend& disk) { disk.failAt(Op::open, 1, EACCES); }));
    EXPECT_EQ(log.lines().back().level, 2);
    EXPECT_EQ(5000202, saved([](FaultBackend& disk) { disk.noSpaceAfter(70); }));
    const Observed query(line.path(), L"query");
    EXPECT_EQ(5000218, ObservedDepthsSaveStatusToDisk(query));
    EXPECT_EQ(5000218, ObservedDepthsSetLineSegmentStatus(query, 1, 0));
    EXPECT_EQ(0, ObservedDepthsSetToolType(query, 5)) << "in any access, as it stays in memory";
    EXPECT_EQ(0, ObservedDepthsSetSummaryStatus(query, 5));
}

// A model of the file: what a read has to give.
class Survey {
public:
    Survey(const Line& line, std::mt19937& random) : random_(random) {
        Observed sensor(line.path(), L"create");
        for (std::uint32_t p = 1; p <= 7; ++p) {
            PingView ping{std::uniform_int_distribution<std::uint32_t>(0, 6)(random),
                          p % 3 + 1,
                          1051920000.0 + p,
                          0.25,
                          -0.5,
                          p << 8};
            std::vector<BeamView> beams;
            EXPECT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, ping.numDepths, ping.startBeam, ping.time,
                                                          ping.latitude, ping.longitude, ping.status));
            for (std::uint32_t b = 0; b < ping.numDepths; ++b) {
                const BeamView beam{ping.time + 0.001 * b, 1.5 * b, -2.0 * p, p + 0.125 * b, 0.0, b << 20};
                EXPECT_EQ(0,
                          ObservedDepthsSeqWrite(sensor, beam.time, beam.y, beam.x, beam.z, 0, beam.status));
                beams.push_back(beam);
            }
            pings_.push_back(ping);
            beams_.push_back(beams);
        }
        EXPECT_EQ(0, sensor.close());
    }

    // One call of any kind, held against the model.
    void step(_TELD_Sensor* sensor, bool update) {
        const std::uint32_t ping = number(0, 8);
        const std::uint32_t beam = number(0, 8);
        switch (number(0, update ? 9 : 5)) {
        case 0:
        case 1:
            for (std::uint32_t b = beam; b < beam + number(1, 4); ++b)
                expectBeam(sensor, ping, b);
            break;
        case 2:
            expectPing(sensor, ping);
            break;
        case 3:
            expectProfile(sensor, ping);
            break;
        case 4: // the sequence goes on behind a profile
            if (!has(ping) || update) break;
            expectPing(sensor, ping);
            for (std::uint32_t b = 0; b < std::min(pings_[ping - 1].numDepths, number(0, 6)); ++b) {
                BeamView view;
                EXPECT_EQ(0, nextBeam(sensor, view));
                EXPECT_EQ(beams_[ping - 1][b], view);
            }
            break;
        case 5:
            if (update || !has(ping)) break;
            for (std::uint32_t b = 0; b < pings_[ping - 1].numDepths && b == 0; ++b)
                expectPing(sensor, ping);
            try {
                PingView view;
                nextPing(sensor, view); // beams for a header: whatever it gives, later reads are right
            } catch (const SKAR::ObsDepthReadError&) {
            }
            break;
        case 6:
            change(
                sensor, ping, beam, [&] { return ObservedDepthsUpdateStatus(sensor, ping, beam, 0x7 << 20); },
                [](BeamView& view) { view.status = 0x7 << 20; });
            break;
        case 7: {
            const double depth = number(0, 1000);
            change(
                sensor, ping, beam, [&] { return ObservedDepthsUpdateDepth(sensor, ping, beam, depth); },
                [&](BeamView& view) { view.z = depth; });
            break;
        }
        case 8: {
            const std::uint32_t bits = number(0, 1) << 31;
            change(
                sensor, ping, beam,
                [&] { return ObservedDepthsUpdateRejectionStatus(sensor, ping, beam, bits); },
                [&](BeamView& view) { view.status = (view.status & ~rejected) | bits; });
            break;
        }
        case 9:
            if (number(0, 1))
                EXPECT_EQ(0, ObservedDepthsSaveStatusToDisk(sensor));
            else
                EXPECT_EQ(0, ObservedDepthsSetSourceFileName(sensor, L"again"));
            break;
        }
    }

private:
    std::uint32_t number(std::uint32_t least, std::uint32_t most) {
        return std::uniform_int_distribution<std::uint32_t>(least, most)(random_);
    }
    bool has(std::uint32_t ping) const { return ping >= 1 && ping <= pings_.size(); }
    bool has(std::uint32_t ping, std::uint32_t beam) const {
        return has(ping) && beam >= pings_[ping - 1].startBeam &&
               beam < pings_[ping - 1].startBeam + pings_[ping - 1].numDepths;
    }
    bool shutOut(std::uint32_t ping) const { return pings_[ping - 1].startBeam > pings_[ping - 1].numDepths; }

    void expectBeam(_TELD_Sensor* sensor, std::uint32_t ping, std::uint32_t beam) {
        BeamView view;
        const int code = readBeam(sensor, ping, beam, view);
        const bool readable = has(ping, beam) && !shutOut(ping);
        EXPECT_EQ(readable ? 0 : 5000219, code) << ping << ' ' << beam;
        if (readable) {
            EXPECT_EQ(beams_[ping - 1][beam - pings_[ping - 1].startBeam], view) << ping << ' ' << beam;
        }
    }
    void expectPing(_TELD_Sensor* sensor, std::uint32_t ping) {
        PingView view;
        EXPECT_EQ(has(ping) ? 0 : 5000219, readPing(sensor, ping, view));
        if (has(ping)) {
            EXPECT_EQ(pings_[ping - 1], view);
        }
    }
    void expectProfile(_TELD_Sensor* sensor, std::uint32_t ping) {
        Profile profile;
        const Thrown thrown = thrownBy(
            [&] { SKAR::IO::ObservedDepths::ReadProfile(*sensor, static_cast<int>(ping), profile, true); });
        const bool readable = has(ping) && (pings_[ping - 1].numDepths == 0 || !shutOut(ping));
        EXPECT_EQ(readable ? 0 : 5000219, thrown.plain());
        if (!readable) return;
        ASSERT_EQ(beams_[ping - 1].size(), profile.depths.size());
        for (std::size_t i = 0; i < profile.depths.size(); ++i)
            EXPECT_EQ(beams_[ping - 1][i].z, profile.depths[i].z);
    }
    template <class Call, class Effect>
    void change(_TELD_Sensor*, std::uint32_t ping, std::uint32_t beam, Call call, Effect effect) {
        const bool there = has(ping, beam);
        EXPECT_EQ(there ? 0 : 5000219, call()) << ping << ' ' << beam;
        if (there) effect(beams_[ping - 1][beam - pings_[ping - 1].startBeam]);
    }

    std::mt19937& random_;
    std::vector<PingView> pings_;
    std::vector<std::vector<BeamView>> beams_;
};

TEST(ObservedDepthsAnyOrder, AReadGivesTheBeamItWasAskedForWhateverWasCalledBefore) {
    SKARIO_Init(0);
    for (unsigned seed = 1; seed <= 60 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const LogCapture log;
        const Line line;
        Survey survey(line, random);
        for (const wchar_t* token : {L"query", L"update", L"query", L"update"}) {
            Observed sensor(line.path(), token);
            ASSERT_TRUE(sensor);
            for (int call = 0; call < 150; ++call)
                survey.step(sensor, token[0] == L'u');
            EXPECT_EQ(0, sensor.close());
        }
    }
}
