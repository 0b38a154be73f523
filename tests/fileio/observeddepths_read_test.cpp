#include "observeddepths.h"

#include "fileio/handle.h"
#include "fileio/xdr.h"
#include "support/fault_backend.h"

#include <cerrno>
#include <functional>
#include <limits>
#include <memory>

// Reading observed depths by number and in order, what the opening finds wrong, and both interfaces held
// against each other.
namespace {

using namespace skar::tests;
using SKAR::IO::ObservedDepths::Depth;
using SKAR::IO::ObservedDepths::ObservedSummary;
using SKAR::IO::ObservedDepths::Profile;

constexpr double minute = 17532000 * 60.0;

// Pings of the given first beam and number of beams, a second apart; z is ping * 100 + beam.
void writePings(const Line& line, const std::vector<std::pair<std::uint32_t, std::uint32_t>>& pings) {
    Observed sensor(line.path(), L"create");
    ASSERT_TRUE(sensor);
    for (std::size_t p = 0; p < pings.size(); ++p) {
        const auto [start, count] = pings[p];
        const double time = minute + static_cast<double>(p + 1);
        ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, count, start, time, 0.1, 0.2, 0));
        for (std::uint32_t beam = start; beam < start + count; ++beam)
            ASSERT_EQ(0, ObservedDepthsSeqWrite(sensor, time + 0.001 * beam, 0, 0,
                                                static_cast<double>((p + 1) * 100 + beam), 0, beam << 16));
    }
    ASSERT_EQ(0, sensor.close());
}

class BothVersions : public testing::TestWithParam<int> {
protected:
    void SetUp() override {
        SKARIO_Init(0);
        putDepths(line, GetParam());
    }
    Line line;
    const TwinOfDepths twin = depthsTwin(goldenDepths(GetParam()).twin());
};
INSTANTIATE_TEST_SUITE_P(Each, BothVersions, testing::Values(1, 2),
                         [](const auto& row) { return "Version" + std::to_string(row.param); });

std::uint32_t openCode(const Line& line, const wchar_t* token = L"query") {
    SKARIO_Init(0);
    std::uint32_t code = 77;
    _TELD_Sensor* sensor = ObservedDepthsOpenDir(line.path().c_str(), token, &code);
    EXPECT_EQ(code == 0, sensor != nullptr);
    if (sensor) ObservedDepthsClose(sensor);
    return code;
}
Thrown opening(const Line& line, const wchar_t* token = L"query") {
    SKARIO_Init(0);
    return thrownBy([&] {
        _TELD_Sensor* sensor = SKAR::IO::ObservedDepths::Open(line.path().c_str(), token, false);
        ObservedDepthsClose(sensor);
    });
}

} // namespace

TEST_P(BothVersions, GivesTheTwinByNumber) {
    for (const wchar_t* token : {L"query", L"update"}) {
        const Observed sensor(line.path(), token);
        ASSERT_TRUE(sensor) << sensor.code();
        EXPECT_EQ(static_cast<std::uint32_t>(GetParam()), sensor->version);
        const auto pings = twin.pings();
        ASSERT_EQ(pings.size(), sensor->numRecords);
        for (std::uint32_t p = 1; p <= pings.size(); ++p) {
            const TwinPing& ping = pings[p - 1];
            PingView header;
            ASSERT_EQ(0, readPing(sensor, p, header));
            EXPECT_EQ(ping.read, header);
            for (std::uint32_t i = 0; i < ping.read.numDepths; ++i) {
                BeamView beam;
                if (ping.read.startBeam > ping.read.numDepths) continue;
                ASSERT_EQ(0, readBeam(sensor, p, ping.read.startBeam + i, beam)) << p << ' ' << i;
                EXPECT_EQ(ping.readBeams[i], beam);
            }
        }
    }
}

TEST_P(BothVersions, GivesTheTwinInOrder) {
    const Observed sensor(line.path(), L"query");
    ASSERT_TRUE(sensor);
    for (const TwinPing& ping : twin.pings()) {
        PingView header;
        ASSERT_EQ(0, nextPing(sensor, header));
        EXPECT_EQ(ping.read, header);
        for (const BeamView& expected : ping.readBeams) {
            BeamView beam;
            ASSERT_EQ(0, nextBeam(sensor, beam));
            EXPECT_EQ(expected, beam);
        }
    }
}

TEST_P(BothVersions, GivesTheTwinByWholeProfiles) {
    const Observed sensor(line.path(), L"query");
    const auto pings = twin.pings();
    for (int p = 1; p <= static_cast<int>(pings.size()); ++p) {
        Profile profile;
        SKAR::IO::ObservedDepths::ReadProfile(*sensor, p, profile, true);
        const TwinPing& ping = pings[static_cast<std::size_t>(p) - 1];
        EXPECT_EQ(ping.read, (PingView{profile.numDepths, profile.startBeam, profile.time, profile.latitude,
                                       profile.longitude, profile.status}));
        ASSERT_EQ(ping.readBeams.size(), profile.depths.size());
        for (std::size_t i = 0; i < profile.depths.size(); ++i) {
            const Depth& depth = profile.depths[i];
            EXPECT_EQ(ping.readBeams[i],
                      (BeamView{depth.time, depth.y, depth.x, depth.z, depth.extra, depth.status}));
        }
    }
}

TEST_P(BothVersions, GivesSummaryAndSegmentsInBothInterfaces) {
    const Observed sensor(line.path(), L"query");
    std::uint32_t tool = 0, segments = 0, pings = 0, depths = 0, status = 0;
    double minTime = 0, maxTime = 0, minDepth = 0, maxDepth = 0;
    ASSERT_EQ(0, ObservedDepthsSummary(sensor, &tool, &segments, &pings, &depths, &minTime, &maxTime,
                                       &minDepth, &maxDepth, &status));
    EXPECT_EQ(17u, tool);
    EXPECT_EQ(2u, segments);
    EXPECT_EQ(3u, pings);
    EXPECT_EQ(6u, depths);
    EXPECT_DOUBLE_EQ(1051919967.75, minTime);
    EXPECT_DOUBLE_EQ(1051920122.83, maxTime);
    EXPECT_DOUBLE_EQ(-45.679, minDepth);
    EXPECT_DOUBLE_EQ(2000000.0, maxDepth);
    EXPECT_EQ(5u, status);

    ObservedSummary whole;
    SKAR::IO::ObservedDepths::Summary(*sensor, whole);
    int tools = 0, numSegments = 0, numPings = 0, numDepths = 0;
    double times[2] = {}, extents[2] = {};
    unsigned wholeStatus = 0;
    SKAR::IO::ObservedDepths::Summary(*sensor, &tools, &numSegments, &numPings, &numDepths, &times[0],
                                      &times[1], &extents[0], &extents[1], &wholeStatus);
    EXPECT_EQ(std::tuple(17u, 2u, 3u, 6u, minTime, maxTime, minDepth, maxDepth, 5u),
              std::tuple(whole.toolType, whole.numLineSegments, whole.numProfiles, whole.numDepths,
                         whole.minTime, whole.maxTime, whole.minDepth, whole.maxDepth, whole.summaryStatus));
    EXPECT_EQ(std::tuple(17, 2, 3, 6, minTime, maxTime, minDepth, maxDepth, 5u),
              std::tuple(tools, numSegments, numPings, numDepths, times[0], times[1], extents[0], extents[1],
                         wholeStatus));
    EXPECT_EQ(0, ObservedDepthsSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr, nullptr));
    EXPECT_NO_THROW(SKAR::IO::ObservedDepths::Summary(*sensor, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                      nullptr, nullptr, nullptr, nullptr));

    EXPECT_EQ(segmentOf(sensor, 1), (SegmentExtents{"0001_20240607.all", 1, 2, 1051919967.75, 1051920033.75,
                                                    -45.679, 2000000.0, 4}));
    EXPECT_EQ(segmentOf(sensor, 2),
              (SegmentExtents{"Übung €.raw", 3, 3, 1051920090.063, 1051920122.83, 9.999, 9.999, 0}));
}

TEST_P(BothVersions, EveryOutputMayBeNull) {
    const Observed sensor(line.path(), L"query");
    EXPECT_EQ(0, ObservedDepthsLineSegment(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr));
    std::uint32_t status = 0;
    EXPECT_EQ(0, ObservedDepthsLineSegment(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, &status));
    EXPECT_EQ(4u, status);
    for (const std::uint32_t none : {0u, 3u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(5000217, ObservedDepthsLineSegment(sensor, none, nullptr, nullptr, nullptr, nullptr,
                                                     nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, ObservedDepthsRead(sensor, 1, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, ObservedDepthsReadProfile(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_NO_THROW(
        SKAR::IO::ObservedDepths::Read(*sensor, 1, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_NO_THROW(SKAR::IO::ObservedDepths::ReadProfile(*sensor, 1, nullptr, nullptr, nullptr, nullptr,
                                                          nullptr, nullptr));
    double d = 0;
    std::uint32_t u = 0;
    EXPECT_EQ(-1, ObservedDepthsReadProfileSeq(sensor, nullptr, &u, &d, &d, &d, &u)) << "but here none may";
    EXPECT_EQ(-1, ObservedDepthsReadSeq(sensor, &d, &d, &d, &d, nullptr, &u));
}

TEST(ObservedDepthsReading, TheSequenceTakesTheBaseTimeOfTheLastHeader) {
    const Line line;
    writePings(line, {{1, 1}, {1, 1}});
    const Observed sensor(line.path(), L"query");
    PingView ping;
    BeamView beam;
    ASSERT_EQ(0, nextPing(sensor, ping));
    ASSERT_EQ(0, nextBeam(sensor, beam));
    EXPECT_DOUBLE_EQ(minute + 1.001, beam.time);
    // The header of the second ping taken for a beam, short of its longitude, and then that beam.
    ASSERT_EQ(0, nextBeam(sensor, beam));
    EXPECT_DOUBLE_EQ(minute + 1.0, beam.time) << "the status of the header has no offset";
}

TEST(ObservedDepthsReading, AShortSequentialReadThrowsWithErrno) {
    const Line line;
    writePings(line, {{1, 2}});
    const Observed sensor(line.path(), L"query");
    PingView ping;
    BeamView beam;
    ASSERT_EQ(0, nextPing(sensor, ping));
    ASSERT_EQ(0, nextBeam(sensor, beam));
    ASSERT_EQ(0, nextBeam(sensor, beam));
    for (int time = 0; time < 2; ++time) {
        errno = ENOTTY;
        const Thrown noPing = thrownBy([&] { nextPing(sensor, ping); });
        EXPECT_EQ("ObsDepthReadError", noPing.kind);
        EXPECT_EQ(depthKey("freadProfileFailed"), noPing.key);
        EXPECT_EQ(0, noPing.error.value_or(-1)) << "the end of a file is no error of the system";
        EXPECT_FALSE(noPing.code);
        errno = ENOTTY;
        const Thrown noBeam = thrownBy([&] { nextBeam(sensor, beam); });
        EXPECT_EQ("ObsDepthReadError", noBeam.kind);
        EXPECT_EQ(depthKey("freadDepthFailed"), noBeam.key);
        EXPECT_EQ(0, noBeam.error.value_or(-1));
        EXPECT_FALSE(noBeam.code);
    }
    EXPECT_EQ(0, readBeam(sensor, 1, 2, beam)) << "the handle goes on";
    EXPECT_EQ(102.0, beam.z);
}

TEST(ObservedDepthsReading, TheSequenceIsForQueriesAloneAndChecksTheStructureFirst) {
    const Line line;
    writePings(line, {{1, 2}, {1, 2}});
    PingView ping;
    BeamView beam;
    {
        const Observed update(line.path(), L"update");
        EXPECT_EQ(5000218, nextPing(update, ping));
        EXPECT_EQ(5000218, nextBeam(update, beam));
    }
    const Observed query(line.path(), L"query");
    query->sensorType = 5;
    EXPECT_EQ(5000213, nextPing(query, ping));
    EXPECT_EQ(5000213, nextBeam(query, beam));
    void* structure = std::exchange(query->pReadStruct, nullptr);
    EXPECT_EQ(-1, nextPing(query, ping));
    EXPECT_EQ(-1, nextBeam(query, beam));
    query->pReadStruct = structure;
    query->sensorType = 4;
    EXPECT_EQ(0, nextPing(query, ping));
    qon_xdr_destroy(&query->decodeXDRStream);
    EXPECT_EQ(5000221, nextBeam(query, beam));
    EXPECT_EQ(5000221, nextPing(query, ping));
}

TEST(ObservedDepthsReading, APingThatBeginsBehindItsCountIsShutOutOfOneWayOnly) {
    const Line line;
    writePings(line, {{1, 2}, {20, 10}, {10, 10}, {11, 10}, {0, 3}});
    const Observed sensor(line.path(), L"query");
    BeamView beam;
    PingView ping;
    EXPECT_EQ(5000219, readBeam(sensor, 2, 20, beam));
    Depth depth;
    const Thrown late = thrownBy([&] { SKAR::IO::ObservedDepths::Read(*sensor, 2, 20, depth); });
    EXPECT_EQ(depthKey("startDepthIndexRange"), late.key);
    EXPECT_EQ(5000219, late.code.value_or(0));
    ASSERT_EQ(0, readPing(sensor, 2, ping));
    EXPECT_EQ(20u, ping.startBeam);
    EXPECT_EQ(10u, ping.numDepths);
    ASSERT_EQ(0, nextBeam(sensor, beam)) << "the sequence goes on with that profile";
    EXPECT_EQ(220.0, beam.z);
    EXPECT_DOUBLE_EQ(minute + 2.02, beam.time);
    Profile profile;
    EXPECT_NO_THROW(SKAR::IO::ObservedDepths::ReadProfile(*sensor, 2, profile, false));
    EXPECT_EQ(depthKey("startDepthIndexRange"),
              thrownBy([&] { SKAR::IO::ObservedDepths::ReadProfile(*sensor, 2, profile, true); }).key);
    // The first beam that is the count is still read, the next is not.
    EXPECT_EQ(0, readBeam(sensor, 3, 19, beam));
    EXPECT_EQ(319.0, beam.z);
    EXPECT_EQ(5000219, readBeam(sensor, 4, 11, beam));
    const Thrown zero = thrownBy([&] { SKAR::IO::ObservedDepths::Read(*sensor, 5, 1, depth); });
    EXPECT_EQ(depthKey("startDepthInvalid"), zero.key);
    EXPECT_EQ(5000219, zero.code.value_or(0));
    EXPECT_EQ(depthKey("startDepthInvalid"),
              thrownBy([&] { SKAR::IO::ObservedDepths::ReadProfile(*sensor, 5, profile, true); }).key);
}

TEST(ObservedDepthsReading, AProfileWithoutDepthsLeavesTheVectorAlone) {
    const Line line;
    writePings(line, {{1, 2}});
    const Observed sensor(line.path(), L"query");
    Profile profile;
    profile.depths.resize(5);
    profile.depths[4].z = 12.5;
    SKAR::IO::ObservedDepths::ReadProfile(*sensor, 1, profile, false);
    ASSERT_EQ(5u, profile.depths.size());
    EXPECT_EQ(12.5, profile.depths[4].z);
    SKAR::IO::ObservedDepths::ReadProfile(*sensor, 1, profile, true);
    EXPECT_EQ(2u, profile.depths.size());
}

TEST(ObservedDepthsReading, BeamsInOrderSeekOnceAndRepeatsGoThroughTheHeaderAgain) {
    const Line line;
    writePings(line, {{1, 50}, {1, 50}});
    const Observed sensor(line.path(), L"query");
    const auto& file = sensor->state->file;
    BeamView beam;
    ASSERT_EQ(0, readBeam(sensor, 1, 1, beam));
    const auto positioned = file.seeks();
    for (std::uint32_t b = 2; b <= 50; ++b) {
        ASSERT_EQ(0, readBeam(sensor, 1, b, beam));
        EXPECT_EQ(100.0 + b, beam.z);
    }
    EXPECT_EQ(positioned, file.seeks());
    ASSERT_EQ(0, readBeam(sensor, 1, 3, beam));
    const auto again = file.seeks();
    EXPECT_NE(positioned, again);
    ASSERT_EQ(0, readBeam(sensor, 1, 3, beam));
    EXPECT_EQ(103.0, beam.z);
    EXPECT_NE(again, file.seeks());
    ASSERT_EQ(0, readBeam(sensor, 2, 4, beam)) << "the next number, but of another profile";
    EXPECT_EQ(204.0, beam.z);
    EXPECT_EQ(5000219, readBeam(sensor, 2, 51, beam));
    ASSERT_EQ(0, readBeam(sensor, 2, 50, beam));
    EXPECT_EQ(5000219, readBeam(sensor, 2, 51, beam)) << "the next in order, behind the last";
    ASSERT_EQ(0, readBeam(sensor, 2, 1, beam));
    EXPECT_EQ(201.0, beam.z);
}

// A failure of a read: how it comes about and what both interfaces make of it.
struct ReadFailure {
    const char* name;
    std::function<void(const Line&)> damage;  // of the files, before the open
    std::function<void(_TELD_Sensor&)> spoil; // of the open handle
    int ping;
    int beam;
    const char* key; // of Read; null where Read works
    std::optional<long> code;
    const char* profileKey; // of ReadProfile without depths
    std::optional<long> profileCode;
    unsigned details; // of Read
    unsigned profileDetails;
};
enum : unsigned { errnoGiven = 1, pingGiven = 2, mostGiven = 4, beamGiven = 8, rangeGiven = 16 };

const std::vector<ReadFailure>& readFailures() {
    static const auto nothing = [](const auto&) {};
    static const std::optional<long> none;
    static const std::vector<ReadFailure> rows = {
        {"Another sensor", nothing, [](_TELD_Sensor& s) { s.sensorType = 3; }, 1, 1, "incorrectSensorID",
         5000213, "incorrectSensorID", 5000213, 0, 0},
        {"No structure", nothing, [](_TELD_Sensor& s) { std::free(std::exchange(s.pReadStruct, nullptr)); },
         1, 1, "internalReadStructInvalid", -1, "internalReadStructInvalid", -1, 0, 0},
        {"Another sensor goes before no structure", nothing,
         [](_TELD_Sensor& s) {
             s.sensorType = 3;
             std::free(std::exchange(s.pReadStruct, nullptr));
         },
         1, 1, "incorrectSensorID", 5000213, "incorrectSensorID", 5000213, 0, 0},
        {"No structure goes before the access", nothing,
         [](_TELD_Sensor& s) {
             s.accessType = 1;
             std::free(std::exchange(s.pReadStruct, nullptr));
         },
         1, 1, "internalReadStructInvalid", -1, "internalReadStructInvalid", -1, 0, 0},
        {"Access goes before the range", nothing, [](_TELD_Sensor& s) { s.accessType = 1; }, 9, 1,
         "invalidAccessType", -1, "invalidAccessType", -1, 0, 0},
        {"Profile zero", nothing, nothing, 0, 1, "profileIndexRange", 5000219, "profileIndexRange", 5000219,
         pingGiven | mostGiven, pingGiven | mostGiven},
        {"Profile below", nothing, nothing, -1, 1, "profileIndexRange", 5000219, "profileIndexRange", 5000219,
         mostGiven, mostGiven},
        {"Profile beyond", nothing, nothing, 3, 1, "profileIndexRange", 5000219, "profileIndexRange", 5000219,
         pingGiven | mostGiven, pingGiven | mostGiven},
        {"Profile not in the index", nothing, [](_TELD_Sensor& s) { s.numRecords = 5; }, 4, 1,
         "computeByteOffsetFailed", 5000037, "computeByteOffsetFailed", none, pingGiven, pingGiven},
        {"Offset below the file", [](const Line& l) { l.patch("ObservedDepthsTmIdx", 44, 0x80000000); },
         nothing, 1, 1, "fseekDepthFailed", 5000215, "fseekHeaderFailed", none, errnoGiven, errnoGiven},
        {"Offset behind the file", [](const Line& l) { l.patch("ObservedDepthsTmIdx", 44, 0x7FFFFFFF); },
         nothing, 1, 1, "freadDepthFailed", 5001325, "freadProfileFailed", none, errnoGiven,
         errnoGiven | pingGiven},
        {"Stream gone", nothing, [](_TELD_Sensor& s) { qon_xdr_destroy(&s.decodeXDRStream); }, 2, 1,
         "decodeInitFailed", 5000221, "decodeInitFailed", 5000221, pingGiven | beamGiven, 0},
        {"Beam zero", nothing, nothing, 1, 0, "depthIndexRange", 5000219, nullptr, none,
         pingGiven | beamGiven | rangeGiven, 0},
        {"Beam beyond", nothing, nothing, 2, 3, "depthIndexRange", 5000219, nullptr, none,
         pingGiven | beamGiven | rangeGiven, 0},
        {"Beam far beyond", nothing, nothing, 2, 0x7FFFFFFF, "depthIndexRange", 5000219, nullptr, none,
         pingGiven | beamGiven | rangeGiven, 0},
        {"Beam missing", [](const Line& l) { l.cut("ObservedDepths", firstPing + 20 + 32 + 20 + 31); },
         nothing, 2, 2, "freadDepthFailed", none, nullptr, none, errnoGiven, 0},
        {"Stream too small", nothing,
         [](_TELD_Sensor& s) {
             void* buffer = s.decodeXDRStream.x_base;
             qon_xdr_destroy(&s.decodeXDRStream);
             qon_xdrmem_create(&s.decodeXDRStream, buffer, 8, 1);
         },
         1, 1, "decodeDepthFailed", 5000221, "decodeProfileFailed", 5000221, 0, 0},
    };
    return rows;
}

void expectDetails(const Thrown& thrown, unsigned details, int ping, int beam, const Line& line) {
    EXPECT_EQ(line.folder().string() + "\\ObservedDepths", thrown.file);
    EXPECT_EQ((details & errnoGiven) != 0, thrown.error.has_value());
    if (details & pingGiven) {
        EXPECT_EQ(static_cast<unsigned long>(ping), thrown.profile.value_or(99));
    }
    if (details & mostGiven) {
        EXPECT_EQ(2u, thrown.maxProfile.value_or(99));
    }
    if (details & beamGiven) {
        EXPECT_EQ(static_cast<unsigned>(beam), thrown.beam.value_or(99));
    }
    if (details & rangeGiven) {
        EXPECT_EQ(1u, thrown.startBeam.value_or(99));
        EXPECT_EQ(2u, thrown.maxBeam.value_or(99));
    }
}

TEST(ObservedDepthsReading, BothInterfacesAgreeOnEveryFailure) {
    for (const ReadFailure& row : readFailures()) {
        SCOPED_TRACE(row.name);
        const auto over = [&](const auto& work) {
            const Line line;
            writePings(line, {{1, 2}, {1, 2}});
            row.damage(line);
            Observed sensor(line.path(), L"query");
            ASSERT_TRUE(sensor) << sensor.code();
            row.spoil(*sensor);
            work(sensor, line);
            SensorFree(sensor.release());
        };
        const auto ping = static_cast<std::uint32_t>(row.ping);
        const auto beam = static_cast<std::uint32_t>(row.beam);
        over([&](Observed& sensor, const Line& line) {
            Depth depth;
            const Thrown thrown =
                thrownBy([&] { SKAR::IO::ObservedDepths::Read(*sensor, row.ping, row.beam, depth); });
            EXPECT_EQ("ObsDepthReadError", thrown.kind);
            EXPECT_EQ(depthKey(row.key), thrown.key);
            EXPECT_EQ(row.code, thrown.code);
            expectDetails(thrown, row.details, row.ping, row.beam, line);
        });
        over([&](Observed& sensor, const Line&) {
            const Thrown thrown = thrownBy([&] {
                SKAR::IO::ObservedDepths::Read(*sensor, row.ping, row.beam, nullptr, nullptr, nullptr,
                                               nullptr, nullptr, nullptr);
            });
            EXPECT_EQ(depthKey(row.key), thrown.key);
        });
        over([&](Observed& sensor, const Line&) {
            BeamView view;
            EXPECT_EQ(row.code.value_or(-1), readBeam(sensor, ping, beam, view));
            EXPECT_EQ(BeamView{}, view) << "a refused read leaves what it was given";
        });
        over([&](Observed& sensor, const Line& line) {
            Profile profile;
            const Thrown thrown =
                thrownBy([&] { SKAR::IO::ObservedDepths::ReadProfile(*sensor, row.ping, profile, false); });
            EXPECT_EQ(row.profileKey ? depthKey(row.profileKey) : "", thrown.key);
            EXPECT_EQ(row.profileCode, thrown.code);
            if (row.profileKey) expectDetails(thrown, row.profileDetails, row.ping, row.beam, line);
        });
        over([&](Observed& sensor, const Line&) {
            PingView view;
            EXPECT_EQ(row.profileKey ? row.profileCode.value_or(-1) : 0, readPing(sensor, ping, view));
        });
    }
}

TEST(ObservedDepthsReading, CreatorsReadNothing) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 1, 1, minute, 0, 0, 0));
    BeamView beam;
    PingView ping;
    EXPECT_EQ(-1, readBeam(sensor, 1, 1, beam));
    EXPECT_EQ(-1, readPing(sensor, 1, ping));
    EXPECT_EQ(5000218, nextPing(sensor, ping));
    EXPECT_EQ(5000218, nextBeam(sensor, beam));
}

TEST(ObservedDepthsReading, TheSummaryOfAnotherSensorIsRefused) {
    const Line line;
    writePings(line, {{1, 1}});
    const Observed sensor(line.path(), L"query");
    sensor->sensorType = 3;
    EXPECT_EQ(5000213, ObservedDepthsSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr));
    EXPECT_EQ(5000213, ObservedDepthsLineSegment(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                 nullptr, nullptr, nullptr));
    sensor->sensorType = 4;
}

TEST(ObservedDepthsReading, WholeProfilesTellOfBeamsThatAreNotThere) {
    const Line line;
    writePings(line, {{1, 2}, {1, 2}});
    line.cut("ObservedDepths", firstPing + 52 + 20 + 31);
    const Observed sensor(line.path(), L"query");
    Profile profile;
    const Thrown thrown = thrownBy([&] { SKAR::IO::ObservedDepths::ReadProfile(*sensor, 2, profile, true); });
    EXPECT_EQ(depthKey("freadDepthFailed"), thrown.key);
    EXPECT_FALSE(thrown.code);
    EXPECT_TRUE(thrown.error);
    EXPECT_NO_THROW(SKAR::IO::ObservedDepths::ReadProfile(*sensor, 1, profile, true));
    EXPECT_EQ(2u, profile.depths.size());
}

struct OpenFailure {
    const char* name;
    std::function<void(const Line&)> damage;
    const char* kind;
    std::string key;
    std::optional<long> code;
    std::optional<int> error;
};

TEST(ObservedDepthsOpening, NamesWhatIsWrong) {
    const auto without = [](const char* file) {
        return [file](const Line& l) { std::filesystem::remove(l.folder() / file); };
    };
    const auto cut = [](const char* file, std::size_t size) {
        return [=](const Line& l) { l.cut(file, size); };
    };
    const auto patch = [](const char* file, std::size_t at, std::uint32_t word) {
        return [=](const Line& l) { l.patch(file, at, word); };
    };
    constexpr const char* data = "ObservedDepths";
    constexpr const char* side = "ObservedDepthsLineSegments";
    constexpr const char* index = "ObservedDepthsTmIdx";
    const std::string frame = "errorMessages/SKARio/";
    const OpenFailure rows[] = {
        {"no data file", without(data), "SensorOpenError", frame + "sensorDoesNotExist", 5000046, ENOENT},
        {"no validation record", cut(data, 15), "SensorReadError", frame + "freadValidationError", 5000027,
         0},
        {"another token", patch(data, 0, 7), "SensorReadError", frame + "tokenMismatch", 5000027, {}},
        {"another sensor", patch(data, 4, 53), "SensorReadError", frame + "sensorTypeMismatch", 5000027, {}},
        {"another file", patch(data, 8, 2), "SensorReadError", frame + "fileTypeMismatch", 5000027, {}},
        {"no summary", cut(data, 16), "ObsDepthReadError", depthKey("freadHeaderFailed"), 5000225, 0},
        {"short summary", cut(data, 59), "ObsDepthReadError", depthKey("freadHeaderFailed"), 5000225, 0},
        {"no segments", without(side), "ObsDepthReadError", depthKey("fopenSegmentFailed"), 5000231, ENOENT},
        {"segments of another sensor",
         patch(side, 4, 5),
         "ObsDepthReadError",
         depthKey("freadSegmentFailed"),
         5000029,
         {}},
        {"empty segments", cut(side, 0), "ObsDepthReadError", depthKey("freadSegmentFailed"), 5000029, {}},
        {"count of segments missing",
         cut(side, 19),
         "ObsDepthReadError",
         depthKey("headerDecodeFailed"),
         5000203,
         {}},
        {"negative count of segments",
         patch(side, 16, 0xFFFFFFFF),
         "ObsDepthReadError",
         depthKey("headerDecodeFailed"),
         5000203,
         {}},
        {"last word of the segments missing",
         cut(side, 127),
         "ObsDepthReadError",
         depthKey("headerDecodeFailed"),
         5000203,
         {}},
        {"no index", without(index), "ObsDepthOpenError", depthKey("timeIndexReadFailed"), 5000038, {}},
        {"index of another sensor",
         patch(index, 4, 5),
         "ObsDepthOpenError",
         depthKey("timeIndexReadFailed"),
         5000039,
         {}},
        {"empty index", cut(index, 0), "ObsDepthOpenError", depthKey("timeIndexReadFailed"), 5000039, {}},
        {"version 0", patch(data, 12, 0), "ObsDepthOpenError", "", {}, {}},
        {"version 3", patch(data, 12, 3), "ObsDepthOpenError", "", {}, {}},
        {"segments before the index",
         [&](const Line& l) {
             without(side)(l);
             without(index)(l);
         },
         "ObsDepthReadError", depthKey("fopenSegmentFailed"), 5000231, ENOENT},
        {"everything before the version",
         [&](const Line& l) {
             patch(data, 12, 3)(l);
             without(index)(l);
         },
         "ObsDepthOpenError",
         depthKey("timeIndexReadFailed"),
         5000038,
         {}},
    };
    for (const OpenFailure& row : rows) {
        SCOPED_TRACE(row.name);
        const LogCapture log;
        const Line line;
        putDepths(line, 2);
        row.damage(line);
        for (const wchar_t* token : {L"query", L"update"}) {
            testing::internal::CaptureStdout(); // the streams tell there of words that are missing
            errno = ENOTTY;
            const Thrown thrown = opening(line, token);
            const std::uint32_t plain = openCode(line, token);
            testing::internal::GetCapturedStdout();
            EXPECT_EQ(row.kind, thrown.kind);
            EXPECT_EQ(row.key, thrown.key);
            EXPECT_EQ(row.code, thrown.code);
            EXPECT_EQ(row.error, thrown.error);
            EXPECT_EQ(static_cast<std::uint32_t>(row.code.value_or(-1)), plain);
        }
    }
    const Line empty;
    EXPECT_EQ(5000046u, openCode(empty));
    const Thrown mode = opening(empty, L"append");
    EXPECT_EQ("SensorOpenError", mode.kind);
    EXPECT_EQ(5000021, mode.code.value_or(0));
}

TEST(ObservedDepthsOpening, AVersionOfTheFutureIsNamedAndLeavesNothingBehind) {
    FaultBackend disk;
    for (const std::string& file : observedFiles)
        disk.put("/survey/p/v/d/l/" + file, goldenDepths(2).bytes(file).string());
    disk.put("/survey/p/v/d/l/ObservedDepths",
             withWord(goldenDepths(2).bytes("ObservedDepths").string(), 12, 3));
    SKARIO_Init(0);
    const Thrown thrown =
        thrownBy([] { SKAR::IO::ObservedDepths::Open(L"/survey/p/v/d/l", L"query", false); });
    EXPECT_EQ("ObsDepthOpenError", thrown.kind);
    const auto at = thrown.all.find("unsupported_observed_depths_version");
    ASSERT_NE(std::string::npos, at) << thrown.all;
    EXPECT_NE(std::string::npos, thrown.all.find("= 3\n", at)) << thrown.all;
    EXPECT_EQ(0, disk.openStreams());
    std::uint32_t code = 0;
    EXPECT_EQ(nullptr, ObservedDepthsOpenDir(L"/survey/p/v/d/l", L"update", &code));
    EXPECT_EQ(0xFFFFFFFF, code);
    EXPECT_EQ(0, disk.openStreams());
}

TEST(ObservedDepthsOpening, WithoutAPlaceForTheCodeStillOpens) {
    const Line line;
    putDepths(line, 2, "ObservedDepthsNew");
    SKARIO_Init(0);
    _TELD_Sensor* sensor = ObservedDepthsNewOpenDir(line.path().c_str(), L"query", nullptr);
    ASSERT_NE(nullptr, sensor);
    BeamView beam;
    EXPECT_EQ(0, readBeam(sensor, 3, 1, beam));
    EXPECT_EQ(0, ObservedDepthsClose(sensor));
    EXPECT_EQ(5000046u, openCode(line)) << "the other names";
}

TEST(ObservedDepthsOpening, SegmentsThatCannotBeOpenedAreLoggedByTheirCause) {
    const struct {
        int error;
        int code;
        const char* text;
    } causes[] = {
        {ENOENT, 5000231, "SKAR IO was unable to find the data file '%s'\n"},
        {EMFILE, 5000232,
         "SKAR IO could not open '%s' because there are too many files open on the system.\n"},
        {EACCES, 5000233, "SKAR IO could not open '%s' because access is denied by the system.\n"},
        {ENOMEM, 5000234, "SKAR IO could not open '%s' because there is not enough disk space available.\n"},
        {EIO, 5000201, "SKAR IO could not open '%s'.  Windows returned the following error:\n\t"},
    };
    const std::string folder = "/survey/p/v/d/l/";
    SKARIO_Init(0);
    for (const auto& cause : causes) {
        SCOPED_TRACE(cause.code);
        FaultBackend disk;
        for (const std::string& file : observedFiles)
            disk.put(folder + file, goldenDepths(2).bytes(file).string());
        disk.failAt(Op::open, 2, cause.error);
        LogCapture log;
        const Thrown thrown =
            thrownBy([] { SKAR::IO::ObservedDepths::Open(L"/survey/p/v/d/l", L"query", false); });
        EXPECT_EQ(depthKey("fopenSegmentFailed"), thrown.key);
        EXPECT_EQ(cause.code, thrown.code.value_or(0));
        EXPECT_EQ(cause.error, thrown.error.value_or(0));
        std::string text = cause.text;
        text.replace(text.find("%s"), 2, "/survey/p/v/d/l\\ObservedDepthsLineSegments");
        ASSERT_EQ(1u, log.lines().size());
        EXPECT_EQ(2, log.lines()[0].level);
        if (cause.code == 5000201) {
            EXPECT_EQ(0u, log.lines()[0].text.find(text)) << log.lines()[0].text;
        } else {
            EXPECT_EQ(text, log.lines()[0].text);
        }
        EXPECT_EQ(0, disk.openStreams());
    }
}

TEST(ObservedDepthsNumbers, StandInTheDiagnosticsWithTheirWords) {
    const Line line;
    writePings(line, {{1, 2}});
    const Observed sensor(line.path(), L"query");
    Depth depth;
    const Thrown beam = thrownBy([&] { SKAR::IO::ObservedDepths::Read(*sensor, 1, 3, depth); });
    for (const char* text : {"SKAR Profile number: 1", "SKAR beam number: 3", "Start SKAR beam number: 1",
                             "Maximum SKAR beam number: 2"})
        EXPECT_NE(std::string::npos, beam.all.find(text)) << beam.all;
    const Thrown ping = thrownBy([&] { SKAR::IO::ObservedDepths::Read(*sensor, 2, 1, depth); });
    EXPECT_NE(std::string::npos, ping.all.find("Maximum SKAR Profile number: 1")) << ping.all;
    EXPECT_NE(std::string::npos, ping.all.find("MESSAGE_ID_INTERNAL_ERROR")) << ping.all;
}
