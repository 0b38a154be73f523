#include "processeddepths.h"

#include "fileio/xdr.h"
#include "support/fault_backend.h"

#include <algorithm>
#include <cfloat>
#include <filesystem>
#include <limits>
#include <tuple>

// Processed depths held to golden bytes in all versions, every code and key of the reads and the opening.
namespace {

using namespace skar::tests;
using namespace skar::tests::processed;
using SKAR::IO::ProcessedDepths::Depth;
using SKAR::IO::ProcessedDepths::PD_Profile;
using SKAR::IO::ProcessedDepths::Profile;
namespace reads = SKAR::IO::ProcessedDepths;

constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

class EachVersion : public testing::TestWithParam<int> {
protected:
    void SetUp() override {
        SKARIO_Init(0);
        put(line, GetParam());
    }
    Line line;
    const Twin twin = twinOf(GetParam());
    const std::vector<TwinPing> pings = twin.pings();
};
INSTANTIATE_TEST_SUITE_P(OfProcessedDepths, EachVersion, testing::Values(1, 2, 3),
                         [](const auto& row) { return "Version" + std::to_string(row.param); });

class NewestVersion : public testing::Test {
protected:
    void SetUp() override {
        SKARIO_Init(0);
        put(line, 3);
    }
    Line line;
    const std::vector<TwinPing> pings = twinOf(3).pings();
};
using ProcessedDepthsReading = NewestVersion;
using ProcessedDepthsOpening = NewestVersion;

Thrown opening(const Line& line) {
    return thrownBy([&] { ProcessedDepthsClose(reads::Open(line.path().c_str(), L"query")); });
}

} // namespace

TEST_P(EachVersion, GivesTheTwinByNumberAndInOrder) {
    for (const wchar_t* token : {L"query", L"update"}) {
        const Depths sensor(line.path(), token);
        ASSERT_TRUE(sensor) << sensor.code();
        EXPECT_EQ(static_cast<std::uint32_t>(GetParam()), sensor->version);
        ASSERT_EQ(pings.size(), sensor->numRecords);
        for (std::uint32_t p = 1; p <= pings.size(); ++p) {
            const TwinPing& ping = pings[p - 1];
            Ping header;
            ASSERT_EQ(0, token[0] == L'q' ? nextPing(sensor, header) : readPing(sensor, p, header));
            EXPECT_EQ(ping.read, header) << p;
            for (const Beam& expected : ping.readBeams) {
                Beam beam;
                ASSERT_EQ(0, nextBeam(sensor, beam));
                EXPECT_EQ(expected, beam) << p;
            }
        }
        for (std::uint32_t p = static_cast<std::uint32_t>(pings.size()); p > 0; --p) {
            const TwinPing& ping = pings[p - 1];
            for (std::uint32_t i = 0; i < ping.read.numDepths; ++i) {
                Beam beam;
                ASSERT_EQ(0, readBeam(sensor, p, ping.read.startBeam + i, beam));
                EXPECT_EQ(ping.readBeams[i], beam) << p << ' ' << i;
            }
        }
    }
}

TEST_P(EachVersion, GivesTheTwinInWholeProfiles) {
    const Depths sensor(line.path(), L"query");
    for (std::uint32_t p = 1; p <= pings.size(); ++p) {
        const TwinPing& ping = pings[p - 1];
        Profile profile;
        profile.depths.resize(99);
        reads::ReadProfile(*sensor, p, profile, false);
        EXPECT_EQ(99u, profile.depths.size()) << "left alone";
        reads::ReadProfile(*sensor, p, profile, true);
        EXPECT_EQ(ping.read,
                  (Ping{profile.status,
                        profile.startBeam,
                        profile.numDepths,
                        {profile.time, profile.latitude, profile.minLatitude, profile.maxLatitude,
                         profile.longitude, profile.minLongitude, profile.maxLongitude},
                        {ping.read.eight[0], ping.read.eight[1], ping.read.eight[2], ping.read.eight[3],
                         profile.length2, ping.read.eight[5], ping.read.eight[6], ping.read.eight[7]}}));
        ASSERT_EQ(ping.readBeams.size(), profile.depths.size());
        for (std::size_t i = 0; i < profile.depths.size(); ++i)
            EXPECT_EQ(ping.readBeams[i], viewOf(profile.depths[i]));
    }
}

TEST_P(EachVersion, GivesSummaryAndSegments) {
    const Depths sensor(line.path(), L"query");
    std::uint32_t tool = 0, extra = 0, segments = 0, profiles = 0, depths = 0, status = 0;
    double e[8] = {};
    ASSERT_EQ(0, ProcessedDepthsSummary(sensor, &tool, &extra, &segments, &profiles, &depths, &e[0], &e[1],
                                        &e[2], &e[3], &e[4], &e[5], &e[6], &e[7], &status));
    EXPECT_EQ(std::tuple(17u, 5u, 2u, 4u, 6u, 0x80000003u),
              std::tuple(tool, extra, segments, profiles, depths, status));
    const auto& a = twin.segments[0].extents;
    const auto& b = twin.segments[1].extents;
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_PRED2([](double x, double y) { return near(x, y); },
                     i % 2 ? std::max(a[i], b[i]) : std::min(a[i], b[i]), e[i])
            << i;
    EXPECT_EQ(0, ProcessedDepthsSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    for (std::uint32_t n = 1; n <= 2; ++n) {
        const TwinSegment& segment = twin.segments[n - 1];
        wchar_t* name = nullptr;
        std::uint32_t begin = 0, end = 0;
        std::array<double, 8> x{};
        ASSERT_EQ(0, ProcessedDepthsLineSegment(sensor, n, &name, &begin, &end, &x[0], &x[1], &x[2], &x[3],
                                                &x[4], &x[5], &x[6], &x[7], &status));
        wchar_t* expected = SKARConvertASCIICharToWide(segment.name.c_str());
        EXPECT_STREQ(expected, name);
        SKARIO_free(expected);
        SKARIO_free(name);
        EXPECT_EQ(std::tuple(segment.begin, segment.end, segment.status), std::tuple(begin, end, status));
        EXPECT_TRUE(near(segment.extents, x)) << n;
    }
    for (const std::uint32_t none : {0u, 3u, 0xFFFFFFFFu})
        EXPECT_EQ(5001317,
                  ProcessedDepthsLineSegment(sensor, none, nullptr, nullptr, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST_P(EachVersion, EveryOutputMayBeNullAndTheBaseOfTheBeamsIsSetAllTheSame) {
    const Depths sensor(line.path(), L"query");
    const auto noProfile = [&](std::uint32_t p) {
        return ProcessedDepthsReadProfile(sensor, p, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                          nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                          nullptr, nullptr, nullptr, nullptr, nullptr);
    };
    Beam beam;
    ASSERT_EQ(0, noProfile(2));
    ASSERT_EQ(0, nextBeam(sensor, beam));
    EXPECT_EQ(pings[1].readBeams[0], beam);
    ASSERT_EQ(0, noProfile(1));
    ASSERT_EQ(0, ProcessedDepthsReadSeq(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                        nullptr));
    ASSERT_EQ(0, nextBeam(sensor, beam));
    EXPECT_EQ(pings[0].readBeams[1], beam);
    EXPECT_EQ(0, ProcessedDepthsRead(sensor, 1, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, nullptr));
}

TEST_P(EachVersion, DepthsOfAProfileComeIntoArraysOfTheCaller) {
    const Depths sensor(line.path(), L"update");
    std::array<double, 4> lat{}, lon{}, z{};
    std::array<std::uint32_t, 4> status{}, beams{};
    for (std::uint32_t most = 0; most <= 4; ++most) {
        beams.fill(77);
        std::uint32_t error = 55;
        const std::uint32_t expected = std::min(most, 3u);
        ASSERT_EQ(expected, pdReadProfileDepths(sensor, 1, lat.data(), lon.data(), z.data(), status.data(),
                                                beams.data(), most, &error));
        EXPECT_EQ(0u, error);
        for (std::uint32_t i = 0; i < expected; ++i) {
            const Beam& b = pings[0].readBeams[i];
            EXPECT_EQ(std::tuple(b.status, i + 1), std::tuple(status[i], beams[i]));
            EXPECT_TRUE(near(b.values[3], lat[i]) && near(b.values[4], lon[i]) && near(b.values[5], z[i]));
        }
        EXPECT_EQ(77u, beams[expected == 4 ? 3 : expected]) << "nothing behind the count";
    }
    EXPECT_EQ(0u, pdReadProfileDepths(sensor, 3, nullptr, nullptr, nullptr, nullptr, nullptr, 9, nullptr));
    EXPECT_EQ(2u,
              pdReadProfileDepths(sensor, 2, nullptr, nullptr, nullptr, nullptr, beams.data(), 9, nullptr));
    EXPECT_EQ(GetParam() == 3 ? 5u : 2u, beams[1]);
}

TEST_P(EachVersion, ProfilesAreReadInBulk) {
    for (const wchar_t* token : {L"query", L"update"}) {
        const Depths sensor(line.path(), token);
        for (int first = 1; first <= 6; ++first) {
            for (const int count : {1, 2, 4, 1000, 0x7FFFFFFF}) {
                std::vector<PD_Profile> profiles(7);
                ASSERT_EQ(0, reads::ProcessedDepthsReadProfiles(sensor, first, count, profiles));
                ASSERT_EQ(static_cast<std::size_t>(std::clamp(5 - first, 0, count)), profiles.size());
                for (std::size_t i = 0; i < profiles.size(); ++i) {
                    const TwinPing& ping = pings[static_cast<std::size_t>(first) - 1 + i];
                    const PD_Profile& p = profiles[i];
                    EXPECT_EQ(std::tuple(ping.read.status, ping.read.startBeam, ping.readBeams.size()),
                              std::tuple(p.status, p.startBeam, p.depths.size()));
                    EXPECT_TRUE(
                        near(ping.read.place, std::array{p.time, p.latitude, p.minLatitude, p.maxLatitude,
                                                         p.longitude, p.minLongitude, p.maxLongitude}));
                    EXPECT_TRUE(near(ping.read.eight[0], p.angle1));
                    for (std::size_t b = 0; b < p.depths.size(); ++b) {
                        const Beam& beam = ping.readBeams[b];
                        EXPECT_EQ(beam.status, p.depths[b].status);
                        EXPECT_EQ(static_cast<float>(beam.values[5]), p.depths[b].depth);
                        EXPECT_TRUE(
                            near(std::array{beam.values[0], beam.values[3], beam.values[4]},
                                 std::array{p.depths[b].time, p.depths[b].latitude, p.depths[b].longitude}));
                    }
                }
            }
        }
    }
}

TEST(ProcessedDepthsVersions, TheOldestTakesTheExtentsOfItsPositionAndTheNewestHasNoAngles) {
    Line line;
    Ping ping;
    put(line, 1);
    {
        const Depths sensor(line.path(), L"query");
        ASSERT_EQ(0, readPing(sensor, 2, ping));
        EXPECT_EQ(1u, ping.startBeam);
        EXPECT_EQ(std::tuple(ping.place[1], ping.place[1], ping.place[4], ping.place[4]),
                  std::tuple(ping.place[2], ping.place[3], ping.place[5], ping.place[6]));
        EXPECT_EQ(0.0, ping.eight[0]);
    }
    put(line, 3);
    const Depths sensor(line.path(), L"query");
    ASSERT_EQ(0, readPing(sensor, 2, ping));
    EXPECT_EQ((std::array{DBL_MAX, DBL_MAX, DBL_MAX, DBL_MAX, 12.125, DBL_MAX, DBL_MAX, DBL_MAX}),
              ping.eight);
}

TEST(ProcessedDepthsVersions, TheProductOfOffsetAndScaleIsCutTo32Bits) {
    Line line;
    put(line, 3);
    line.patch("ProcessedDepths", 60, 0x10001); // secondaryPositionScale
    line.patch("ProcessedDepths", 96 + 40 + 8, 0x00018000);
    const Depths sensor(line.path(), L"query");
    Ping ping;
    Beam beam;
    ASSERT_EQ(0, readPing(sensor, 1, ping));
    ASSERT_EQ(0, readBeam(sensor, 1, 1, beam));
    const double product = -2147483648.0 + 0x18000; // 0x00018000 * 0x00010001 = 0x1'8001'8000
    EXPECT_DOUBLE_EQ(product * 1e-9 + ping.place[1], beam.values[3]);
}

TEST(ProcessedDepthsWriting, WritesTheGoldenBytes) {
    Line line;
    const Twin twin = twinOf(3);
    Depths sensor(line.path(), L"create");
    ASSERT_TRUE(sensor);
    EXPECT_EQ(3u, sensor->version);
    EXPECT_EQ(1u, sensor->summaryExtra);
    ASSERT_EQ(0, write(sensor, twin));
    ASSERT_EQ(0, sensor.close());
    for (const std::string& file : files)
        EXPECT_TRUE(same(golden(goldenName(3)).bytes(file), line.bytes(file))) << file;
    EXPECT_EQ(0, ProcessedDepthsRemoveDir(line.path().c_str()));
    EXPECT_TRUE(line.files().empty());
}

TEST(ProcessedDepthsWriting, ALineOfNoProfilesLeavesNoFile) {
    Line line;
    Depths sensor(line.path(), L"create");
    EXPECT_EQ(0, ProcessedDepthsBgnSeqWriteSummary(sensor, 1, 1));
    EXPECT_EQ(0, sensor.close());
    EXPECT_TRUE(line.files().empty());
}

TEST(ProcessedDepthsWriting, RefusesWhatNoCodingHoldsAndGoesOn) {
    Line line;
    const Twin twin = twinOf(3);
    Depths sensor(line.path(), L"create");
    const auto header = [&](std::uint32_t count, std::uint32_t start, double time, double lat, double side,
                            double lon, double length2) {
        return ProcessedDepthsBgnSeqWriteProfile(sensor, count, start, time, lat, side, side, lon, side, side,
                                                 noNumber, noNumber, noNumber, noNumber, length2, noNumber,
                                                 noNumber, noNumber, 0);
    };
    EXPECT_EQ(5001322, header(65536, 1, 0, 0, 0, 0, 0));
    EXPECT_EQ(5001322, header(1, 65536, 0, 0, 0, 0, 0));
    for (const double bad : {noNumber, infinity, -infinity}) {
        EXPECT_EQ(5001322, header(1, 1, bad, 0, 0, 0, 0));
        EXPECT_EQ(5001322, header(1, 1, 0, bad, 0, 0, 0));
        EXPECT_EQ(5001322, header(1, 1, 0, 0, bad, 0, 0));
        EXPECT_EQ(5001322, header(1, 1, 0, 0, 0, bad, 0));
        EXPECT_EQ(5001322, ProcessedDepthsSeqWrite(sensor, bad, 0, 0, 0, 0, 0, 0, 0));
        EXPECT_EQ(5001322, ProcessedDepthsSeqWrite(sensor, 0, 0, 0, bad, 0, 0, 0, 0));
        EXPECT_EQ(5001322, ProcessedDepthsSeqWrite(sensor, 0, 0, 0, 0, bad, 0, 0, 0));
    }
    EXPECT_EQ(5001322, header(1, 1, 0, 0, 0, 0, noNumber));
    EXPECT_EQ(5001322, ProcessedDepthsSeqWrite(sensor, 0, 0, 0, 0, 0, noNumber, 0, 0));
    ASSERT_EQ(0, write(sensor, twin));
    ASSERT_EQ(0, sensor.close());
    for (const std::string& file : files)
        EXPECT_TRUE(same(golden(goldenName(3)).bytes(file), line.bytes(file))) << file;
}

TEST_F(ProcessedDepthsReading, ThePlainFunctionsTestHandleSensorAndAccess) {
    Ping ping;
    Beam beam;
    std::vector<PD_Profile> profiles;
    std::uint32_t error = 0;
    const auto depthsInto = [&](_TELD_Sensor* s, std::uint32_t p) {
        error = 77;
        EXPECT_EQ(0u, pdReadProfileDepths(s, p, nullptr, nullptr, nullptr, nullptr, nullptr, 5, &error));
        return static_cast<int>(error);
    };
    EXPECT_EQ(5001312, readPing(nullptr, 1, ping));
    EXPECT_EQ(5001312, readBeam(nullptr, 1, 1, beam));
    EXPECT_EQ(5001312, nextPing(nullptr, ping));
    EXPECT_EQ(5001312, nextBeam(nullptr, beam));
    EXPECT_EQ(5001312, depthsInto(nullptr, 1));
    EXPECT_EQ(5001312, reads::ProcessedDepthsReadProfiles(nullptr, 1, 1, profiles));
    EXPECT_EQ(5001312, ProcessedDepthsClose(nullptr));
    EXPECT_EQ(5001312, ProcessedDepthsSaveStatusToDisk(nullptr));
    EXPECT_EQ(5001312, ProcessedDepthsUpdateSummaryStatus(nullptr));
    EXPECT_EQ(5001312, ProcessedDepthsUpdateStatus(nullptr, 1, 1, 0));
    EXPECT_EQ(5001312, ProcessedDepthsSetToolType(nullptr, 0));
    EXPECT_EQ(5001312, ProcessedDepthsSetSourceFileName(nullptr, L"x"));

    const Depths query(line.path(), L"query");
    for (const std::uint32_t p : {0u, 5u, 0xFFFFFFFFu}) {
        EXPECT_EQ(5001319, readPing(query, p, ping));
        EXPECT_EQ(5001319, readBeam(query, p, 1, beam));
        EXPECT_EQ(5001319, depthsInto(query, p));
    }
    for (const auto& [first, count] : {std::pair(0, 1), {1, 0}, {-1, 5}, {1, -1}})
        EXPECT_EQ(5001319, reads::ProcessedDepthsReadProfiles(query, first, count, profiles));
    EXPECT_EQ(5001318, ProcessedDepthsUpdateStatus(query, 1, 1, 0));
    EXPECT_EQ(5001318, ProcessedDepthsUpdateRejectionStatus(query, 1, 1, 0));
    EXPECT_EQ(5001318, ProcessedDepthsUpdateXYZStatus(query, 1, 1, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5001318, ProcessedDepthsUpdateSummaryStatus(query));
    EXPECT_EQ(5001318, ProcessedDepthsSaveStatusToDisk(query));
    EXPECT_EQ(5001318, ProcessedDepthsSetSourceFileName(query, nullptr));
    EXPECT_EQ(5001318, ProcessedDepthsSetLineSegmentStatus(query, 1, 0));
    EXPECT_EQ(5001318, ProcessedDepthsBgnSeqWriteSummary(query, 1, 1));
    EXPECT_EQ(5001318, ProcessedDepthsSeqWrite(query, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(5001318, ProcessedDepthsEndSeqWriteProfile(query));
    query->sensorType = 4;
    EXPECT_EQ(5001313, readPing(query, 1, ping));
    EXPECT_EQ(5001313, readBeam(query, 1, 1, beam));
    EXPECT_EQ(5001313, nextPing(query, ping));
    EXPECT_EQ(5001313, nextBeam(query, beam));
    EXPECT_EQ(5001313, depthsInto(query, 1));
    EXPECT_EQ(5001313, reads::ProcessedDepthsReadProfiles(query, 1, 1, profiles));
    EXPECT_EQ(5001313, ProcessedDepthsUpdateStatus(query, 1, 1, 0));
    query->sensorType = 0;
    void* structure = std::exchange(query->pReadStruct, nullptr);
    EXPECT_EQ(-1, readPing(query, 1, ping));
    EXPECT_EQ(-1, nextPing(query, ping));
    EXPECT_EQ(-1, nextBeam(query, beam));
    EXPECT_EQ(-1, ProcessedDepthsUpdateStatus(query, 1, 1, 0));
    EXPECT_EQ(-1, ProcessedDepthsSeqWrite(query, 0, 0, 0, 0, 0, 0, 0, 0));
    query->pReadStruct = structure;

    const Depths update(line.path(), L"update");
    EXPECT_EQ(5001318, nextPing(update, ping));
    EXPECT_EQ(5001335, ProcessedDepthsSetSourceFileName(update, nullptr));
    Line other;
    const Depths create(other.path(), L"create");
    EXPECT_EQ(5001318, readPing(create, 1, ping));
    EXPECT_EQ(-1, nextBeam(create, beam));
    EXPECT_EQ(-1, readBeam(create, 1, 1, beam));
    EXPECT_EQ(5001318, reads::ProcessedDepthsReadProfiles(create, 1, 1, profiles));
    EXPECT_EQ(5001318, depthsInto(create, 1));
}

TEST_F(ProcessedDepthsReading, TheThrowingReadsSayWhy) {
    const Depths sensor(line.path(), L"query");
    Depth depth;
    Profile profile;
    const auto read = [&](unsigned p, unsigned b) {
        return thrownBy([&] { reads::Read(*sensor, p, b, depth); });
    };
    const auto whole = [&](unsigned p, bool withDepths = false) {
        return thrownBy([&] { reads::ReadProfile(*sensor, p, profile, withDepths); });
    };
    const auto next = [&] { return thrownBy([&] { reads::ReadNext(*sensor, depth); }); };
    const std::string data = (line.folder() / "ProcessedDepths").string();
    const auto is = [&](const Thrown& thrown, const std::string& name, int code) {
        EXPECT_EQ("ProcDepthReadError", thrown.kind);
        EXPECT_EQ(key(name), thrown.key);
        EXPECT_EQ(code, thrown.code.value_or(0)) << name;
        EXPECT_NE(std::string::npos, thrown.file.find("ProcessedDepths")) << thrown.file;
    };
    const Thrown before = next();
    is(before, "freadDepthFailed", 0);
    EXPECT_TRUE(before.error) << "whatever errno says before any header";
    for (const unsigned p : {0u, 5u}) {
        for (const Thrown& thrown : {read(p, 1), whole(p), whole(p, true)}) {
            is(thrown, "profileIndexRange", 5001319);
            EXPECT_EQ(std::tuple(p, 4u), std::tuple(*thrown.profile, *thrown.maxProfile));
        }
    }
    for (const unsigned b : {0u, 3u, 6u, 0xFFFFFFFFu}) {
        const Thrown thrown = read(2, b);
        is(thrown, "depthIndexRange.", 5001319);
        EXPECT_EQ(std::tuple(2u, b, 4u, 5u),
                  std::tuple(*thrown.profile, *thrown.beam, *thrown.startBeam, *thrown.maxBeam));
        EXPECT_EQ(5001319, thrown.plain());
    }
    ASSERT_EQ("nothing", read(2, 5).kind);
    is(read(2, 6), "depthIndexRange.", 5001319);

    sensor->sensorType = 4;
    for (const Thrown& thrown : {read(1, 1), whole(1), next()})
        is(thrown, "incorrectSensorID", 5001313);
    sensor->sensorType = 0;
    void* structure = std::exchange(sensor->pReadStruct, nullptr);
    for (const Thrown& thrown : {read(1, 1), whole(1), next()})
        is(thrown, "internalReadStructInvalid", -1);
    sensor->pReadStruct = structure;
    sensor->accessType = TELD_CREATE;
    for (const Thrown& thrown : {read(1, 1), whole(1), next()})
        is(thrown, "invalidAccessType", -1);
    sensor->accessType = TELD_QUERY;

    sensor->numRecords = 9;
    for (const Thrown& thrown : {read(9, 1), whole(9), whole(9, true)}) {
        is(thrown, "computeByteOffsetFailed", 5000037);
        EXPECT_EQ(9u, *thrown.profile);
    }
    sensor->numRecords = 4;

    auto* entries = sensor->firstTmIdxSet->offsets;
    const std::int32_t offset = std::exchange(entries[1].offset, -8);
    for (const auto& [thrown, code] : {std::pair(read(2, 4), 5001315), {whole(2), 0}, {whole(2, true), 0}}) {
        is(thrown, "fseekProfileFailed", code);
        EXPECT_TRUE(thrown.error);
        EXPECT_EQ(-8, thrown.offset.value_or(0)) << "the place it should have moved to";
    }
    entries[1].offset = 100000;
    const Thrown header = read(2, 4);
    is(header, "freadDepthFailed", 0);
    EXPECT_TRUE(header.error && header.plain() == -1);
    is(whole(2), "freadProfileFailed", 0);
    const Thrown plain = thrownBy([&] {
        Ping ping;
        readPing(sensor, 2, ping);
    });
    is(plain, "freadProfileFailed", 0);
    entries[1].offset = offset;

    std::array<std::byte, 68> small{};
    const auto room = [&](std::uint32_t bytes) {
        qon_xdr_destroy(&sensor->decodeXDRStream);
        if (bytes) qon_xdrmem_create(&sensor->decodeXDRStream, small.data(), bytes, XDR_DECODE);
    };
    Ping ping;
    room(36);
    is(read(1, 1), "decodeDepthFailed", 5001321);
    is(whole(1), "decodeProfileFailed", 5001321);
    EXPECT_EQ(5001321, readPing(sensor, 1, ping));
    room(40);
    ASSERT_EQ(0, readPing(sensor, 1, ping));
    room(12);
    is(next(), "decodeDepthFailed", 5001321);
    Beam beam;
    room(40);
    ASSERT_EQ("nothing", read(1, 1).kind);
    room(12);
    is(read(1, 2), "decodeDepthFailed.", 5001321);
    room(40);
    ASSERT_EQ("nothing", read(1, 1).kind);
    room(0);
    const Thrown unset = read(1, 2);
    EXPECT_EQ("Decode set up for depth record failed.", unset.key);
    EXPECT_EQ(5001321, *unset.code);
    is(read(1, 1), "decodeDepthFailed", 5001321);
    EXPECT_EQ(5001321, nextPing(sensor, ping));
    room(40);

    line.cut("ProcessedDepths", 96 + 40 + 20);
    for (const Thrown& thrown : {read(1, 2), whole(1, true)}) {
        is(thrown, "freadDepthFailed.", 0);
        EXPECT_TRUE(thrown.error);
    }
    ASSERT_EQ(0, readPing(sensor, 1, ping));
    ASSERT_EQ(0, nextBeam(sensor, beam));
    EXPECT_EQ(140054, nextBeam(sensor, beam)) << "an exception without a code";
    is(next(), "freadDepthFailed", 0);
    std::uint32_t error = 0;
    EXPECT_EQ(1u, pdReadProfileDepths(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, 3, &error));
    EXPECT_EQ(140054u, error);
    std::vector<PD_Profile> profiles;
    EXPECT_EQ(140054, reads::ProcessedDepthsReadProfiles(sensor, 1, 4, profiles));
    EXPECT_EQ(4u, profiles.size()) << "as it stands";
    is(thrownBy([&] { nextPing(sensor, ping); }), "freadProfileFailed", 0);
}

TEST(ProcessedDepthsOldVersions, AWholeProfileThatThePlainFunctionRefusesComesWithItsCode) {
    Line line;
    put(line, 1);
    const Depths sensor(line.path(), L"query");
    sensor->numRecords = 9;
    Profile profile;
    const Thrown thrown = thrownBy([&] { reads::ReadProfile(*sensor, 9, profile, true); });
    EXPECT_EQ(std::tuple("ProcDepthReadError", 5001308L), std::tuple(thrown.kind, thrown.code.value_or(0)));
}

TEST_F(ProcessedDepthsOpening, EveryFailureHasItsKindAndCode) {
    line.patch("ProcessedDepths", 12, 4);
    const Thrown version = opening(line);
    EXPECT_EQ(std::tuple("ProcDepthOpenError", 4, -1),
              std::tuple(version.kind, version.version.value_or(0), version.plain()));
    EXPECT_EQ(-1, Depths(line.path(), L"query").code());
    line.patch("ProcessedDepths", 12, 0);
    EXPECT_EQ(0, opening(line).version.value_or(-1));
    put(line, 3);

    line.patch("ProcessedDepths", 4, 4);
    const Thrown type = opening(line);
    EXPECT_EQ(std::tuple("SensorReadError", "errorMessages/SKARio/sensorTypeMismatch", 5000027),
              std::tuple(type.kind, type.key, type.plain()));
    put(line, 3);
    for (const std::size_t size : {16, 50, 95}) {
        line.cut("ProcessedDepths", size);
        const Thrown summary = opening(line);
        EXPECT_EQ(std::tuple("ProcDepthReadError", key("freadHeaderFailed"), 5001325),
                  std::tuple(summary.kind, summary.key, summary.plain()));
        put(line, 3);
    }
    line.patch("ProcessedDepthsTmIdx", 0, 1);
    const Thrown index = opening(line);
    EXPECT_EQ(std::tuple("ProcDepthOpenError", key("timeIndexReadFailed"), 5000039),
              std::tuple(index.kind, index.key, index.plain()));
    put(line, 3);
    line.patch("ProcessedDepthsLineSegments", 8, 3);
    EXPECT_EQ(5000029, opening(line).plain());
    std::filesystem::remove(line.folder() / "ProcessedDepthsLineSegments");
    EXPECT_EQ(5001331, opening(line).plain()) << "the segments are not there";
    std::filesystem::remove(line.folder() / "ProcessedDepths");
    const Depths missing(line.path(), L"query");
    EXPECT_FALSE(missing);
    EXPECT_EQ(5000046, missing.code());
}

TEST_F(ProcessedDepthsOpening, EachWordOfTheSegmentsThatIsMissingLeavesItsLine) {
    const std::string whole = line.bytes("ProcessedDepthsLineSegments");
    const auto of = [](const std::string& word, const std::string& coder) {
        return Logged{1, "ProcessedDepthsReadLineSegmentFile() failed, unable to decode " + word +
                             ".   qon_xdr_" + coder + "() failed.\n"};
    };
    // Behind the validation record: the count, and the first segment with a name of 17 bytes.
    const struct {
        std::size_t at;
        const char* word;
        const char* coder;
    } words[] = {{16, "number of line segments", "int"},
                 {20, "number of segment status", "u_int"},
                 {24, "sourceFileNameLength", "u_int"},
                 {28, "sourceFileName", "string"},
                 {48, "sourceFileName", "string"},
                 {52, "beginIndex", "u_int"},
                 {56, "endIndex", "u_int"},
                 {60, "min time", "int"},
                 {64, "max time", "int"},
                 {68, "min depth", "int"},
                 {72, "max depth", "int"},
                 {76, "min lat", "int"},
                 {80, "max lat", "int"},
                 {84, "min lng", "int"},
                 {88, "max lng", "int"},
                 {92, "number of segment status", "u_int"}};
    for (const auto& each : words) {
        line.write("ProcessedDepthsLineSegments", whole.substr(0, each.at));
        LogCapture log;
        testing::internal::CaptureStdout();
        const Thrown thrown = opening(line);
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(std::tuple("ProcDepthReadError", 5001303), std::tuple(thrown.kind, thrown.plain()))
            << each.at;
        EXPECT_EQ(log.lines(), (Lines{of(each.word, each.coder)})) << each.at;
    }
}
