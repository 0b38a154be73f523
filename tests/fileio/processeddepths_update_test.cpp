#include "processeddepths.h"

#include <algorithm>
#include <limits>
#include <random>

// Changes in place, and every way of reading with and without a block cache held against a model.
namespace {

using namespace skar::tests;
using namespace skar::tests::processed;
using SKAR::IO::ProcessedDepths::PD_Profile;
namespace reads = SKAR::IO::ProcessedDepths;

constexpr std::uint32_t rejected = 0xFF3C0000;
constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t secondPing = 96 + 40 + 3 * 16; // its first beam is beam 4

class ProcessedDepthsUpdates : public testing::Test {
protected:
    void SetUp() override {
        SKARIO_Init(0);
        put(line, 3);
        before = line.bytes(file);
    }
    // The file after a change is the one before with these words.
    void expectWords(std::initializer_list<std::pair<std::size_t, std::uint32_t>> words) {
        std::string expected = before;
        for (const auto& [at, word] : words)
            expected = withWord(expected, at, word);
        Bytes bytes;
        bytes.raw("whole", expected);
        EXPECT_TRUE(same(bytes, line.bytes(file)));
        before = expected;
    }
    const std::string file = "ProcessedDepths";
    Line line;
    std::string before;
};

} // namespace

TEST_F(ProcessedDepthsUpdates, AStatusReplacesTheHighHalfAndKeepsTheTime) {
    const Depths sensor(line.path(), L"update");
    const std::size_t at = secondPing + 40 + 16;
    const std::uint32_t low = wordAt(before, at) & 0xFFFF;
    ASSERT_NE(0u, low);
    ASSERT_EQ(0, ProcessedDepthsUpdateStatus(sensor, 2, 5, 0xABCD0000));
    expectWords({{at, 0xABCD0000 | low}});
    Beam beam;
    ASSERT_EQ(0, readBeam(sensor, 2, 5, beam));
    EXPECT_EQ(0xABCD0000, beam.status);
    for (const auto& [p, b] : {std::pair(2u, 3u), {2, 6}, {2, 0}, {0, 1}, {5, 1}, {3, 2}, {2, 0xFFFFFFFF}})
        EXPECT_EQ(5001319, ProcessedDepthsUpdateStatus(sensor, p, b, 0x10000)) << p << ' ' << b;
    expectWords({});
}

TEST_F(ProcessedDepthsUpdates, RejectionTouchesItsBitsAlone) {
    const Depths sensor(line.path(), L"update");
    const std::size_t at = secondPing + 40 + 16;
    const std::uint32_t low = wordAt(before, at) & 0xFFFF;
    ASSERT_EQ(0, ProcessedDepthsUpdateStatus(sensor, 2, 5, 0x55FF0000));
    ASSERT_EQ(0, ProcessedDepthsUpdateRejectionStatus(sensor, 2, 5, 0x80040000));
    expectWords({{at, ((0x55FF0000u & ~rejected) | 0x80040000u) | low}});
    ASSERT_EQ(0, ProcessedDepthsUpdateRejectionStatus(sensor, 2, 5, 0x80040000));
    expectWords({});
    ASSERT_EQ(0, ProcessedDepthsUpdateRejectionStatus(sensor, 2, 5, 0));
    expectWords({{at, (0x55FF0000u & ~rejected) | low}});
    ASSERT_EQ(0, ProcessedDepthsUpdateRejectionStatus(sensor, 2, 5, rejected));
    expectWords({{at, (0x55FF0000u | rejected) | low}});
}

TEST_F(ProcessedDepthsUpdates, APositionIsCodedAgainstTheStoredPositionOfItsProfileAndWidensTheExtents) {
    Depths sensor(line.path(), L"update");
    Ping ping;
    ASSERT_EQ(0, readPing(sensor, 1, ping)) << "another profile's position must not be the base";
    ASSERT_EQ(0, readPing(sensor, 2, ping));
    const double latitude = ping.place[1] + 1e-6, longitude = ping.place[4] - 0.25, depth = -1000.125;
    const std::uint32_t status = 0x12340000;
    const std::size_t at = secondPing + 40 + 16;
    const std::uint32_t low = wordAt(before, at) & 0xFFFF;
    ASSERT_EQ(0, readPing(sensor, 1, ping));
    ASSERT_EQ(0, ProcessedDepthsUpdateXYZStatus(sensor, 2, 5, &longitude, nullptr, nullptr, nullptr));
    expectWords({{at + 12, static_cast<std::uint32_t>(-250000000)}});
    ASSERT_EQ(0, ProcessedDepthsUpdateXYZStatus(sensor, 2, 5, nullptr, &latitude, nullptr, nullptr));
    expectWords({{at + 8, 1000}});
    ASSERT_EQ(0, ProcessedDepthsUpdateXYZStatus(sensor, 2, 5, nullptr, nullptr, &depth, nullptr));
    expectWords({{at + 4, static_cast<std::uint32_t>(-1000125)}});
    ASSERT_EQ(0, ProcessedDepthsUpdateXYZStatus(sensor, 2, 5, nullptr, nullptr, nullptr, &status));
    expectWords({{at, status | low}});
    for (const double* bad : {&noNumber}) {
        EXPECT_EQ(5001322, ProcessedDepthsUpdateXYZStatus(sensor, 2, 5, bad, nullptr, nullptr, nullptr));
        EXPECT_EQ(5001322, ProcessedDepthsUpdateXYZStatus(sensor, 2, 5, nullptr, bad, nullptr, nullptr));
        EXPECT_EQ(5001322, ProcessedDepthsUpdateXYZStatus(sensor, 2, 5, nullptr, nullptr, bad, nullptr));
    }
    expectWords({});
    EXPECT_EQ(depth, sensor->min[0]);
    EXPECT_EQ(longitude, sensor->min[2]);
    const auto& last = *sensor->lastLineSegment;
    EXPECT_EQ(std::tuple(depth, longitude, latitude), std::tuple(last.min[0], last.min[2], last.min[1]));
    // In memory until they are saved.
    ASSERT_EQ(0, ProcessedDepthsSaveStatusToDisk(sensor));
    EXPECT_EQ(static_cast<std::uint32_t>(-1000125), wordAt(line.bytes(file), 88));
    EXPECT_EQ(0, sensor.close());
    const Depths again(line.path(), L"query");
    EXPECT_NEAR(longitude, again->min[2], 1e-9);
    EXPECT_EQ(depth, again->lastLineSegment->min[0]);
}

TEST_F(ProcessedDepthsUpdates, StatusOfTheSummaryChangesItsWordAlone) {
    const Depths sensor(line.path(), L"update");
    ASSERT_EQ(0, ProcessedDepthsSetToolType(sensor, 99));
    ASSERT_EQ(0, ProcessedDepthsSetSummaryStatus(sensor, 0x01020304));
    expectWords({});
    ASSERT_EQ(0, ProcessedDepthsUpdateSummaryStatus(sensor));
    expectWords({{16, 0x01020304}});
    ASSERT_EQ(0, ProcessedDepthsSaveStatusToDisk(sensor));
    expectWords({{20, 99}});
    line.patch(file, 0, 1);
    EXPECT_EQ(5000027, ProcessedDepthsUpdateSummaryStatus(sensor));
}

TEST_F(ProcessedDepthsUpdates, TheHeadOfTheFileMayBeWrittenBetweenSequentialReads) {
    const auto pings = twinOf(3).pings();
    for (const char* cache : {"0", "2"}) {
        const Depths sensor(line.path(), L"update", cache);
        Ping ping;
        Beam beam;
        ASSERT_EQ(0, readPing(sensor, 1, ping));
        ASSERT_EQ(0, nextBeam(sensor, beam));
        ASSERT_EQ(0, ProcessedDepthsUpdateSummaryStatus(sensor));
        ASSERT_EQ(0, nextBeam(sensor, beam));
        EXPECT_EQ(pings[0].readBeams[1], beam);
        ASSERT_EQ(0, ProcessedDepthsSaveStatusToDisk(sensor));
        ASSERT_EQ(0, nextBeam(sensor, beam));
        EXPECT_EQ(pings[0].readBeams[2], beam);
    }
}

TEST_F(ProcessedDepthsUpdates, ARefusedChangeLeavesTheReadersWhereTheyAre) {
    const auto pings = twinOf(3).pings();
    for (const char* cache : {"0", "1", "2"}) {
        const Depths sensor(line.path(), L"update", cache);
        Ping ping;
        Beam beam;
        ASSERT_EQ(0, readPing(sensor, 1, ping));
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(5001319, ProcessedDepthsUpdateStatus(sensor, 2, 99, 0));
            EXPECT_EQ(5001319, ProcessedDepthsUpdateStatus(sensor, 1, 99, 0));
            EXPECT_EQ(5001322,
                      ProcessedDepthsUpdateXYZStatus(sensor, 2, 4, &noNumber, nullptr, nullptr, nullptr));
            EXPECT_EQ(5001319, readBeam(sensor, 2, 99, beam));
            EXPECT_EQ(5001319, readPing(sensor, 99, ping));
            auto& entry = sensor->firstTmIdxSet->offsets[3].offset;
            const std::int32_t offset = std::exchange(entry, 100000);
            EXPECT_EQ("ProcDepthReadError", thrownBy([&] { readPing(sensor, 4, ping); }).kind);
            EXPECT_EQ(5001325, ProcessedDepthsUpdateStatus(sensor, 4, 1, 0));
            entry = -4;
            EXPECT_EQ(5001315, ProcessedDepthsUpdateStatus(sensor, 4, 1, 0));
            entry = offset;
            ASSERT_EQ(0, nextBeam(sensor, beam));
            EXPECT_EQ(pings[0].readBeams[i], beam) << cache;
        }
    }
}

TEST(ProcessedDepthsOldVersions, ChangesSucceedWithoutChangingAnything) {
    for (const int version : {1, 2}) {
        Line line;
        put(line, version);
        const std::string before = line.bytes("ProcessedDepths");
        const double value = 1.0;
        const std::uint32_t status = 0xFFFF0000;
        for (const wchar_t* token : {L"update", L"query"}) {
            const Depths sensor(line.path(), token);
            ASSERT_EQ(0, ProcessedDepthsSetSummaryStatus(sensor, 77));
            EXPECT_EQ(0, ProcessedDepthsUpdateStatus(sensor, 1, 1, status));
            EXPECT_EQ(0, ProcessedDepthsUpdateStatus(sensor, 99, 99, status));
            EXPECT_EQ(0, ProcessedDepthsUpdateRejectionStatus(sensor, 1, 1, rejected));
            EXPECT_EQ(0, ProcessedDepthsUpdateXYZStatus(sensor, 1, 1, &value, &value, &value, &status));
            EXPECT_EQ(0, ProcessedDepthsUpdateSummaryStatus(sensor));
        }
        EXPECT_EQ(before, line.bytes("ProcessedDepths"));
    }
}

TEST_F(ProcessedDepthsUpdates, SegmentsTakeAStatusAndANewSource) {
    Depths sensor(line.path(), L"update");
    EXPECT_EQ(5001317, ProcessedDepthsSetLineSegmentStatus(sensor, 3, 1));
    ASSERT_EQ(0, ProcessedDepthsSetLineSegmentStatus(sensor, 2, 0xCAFE));
    ASSERT_EQ(0, ProcessedDepthsSetSourceFileName(sensor, L"other.raw"));
    ASSERT_EQ(0, sensor.close());
    const Depths again(line.path(), L"query");
    EXPECT_STREQ(L"other.raw", again->firstLineSegment->name);
    EXPECT_STREQ(L"other.raw", again->lastLineSegment->name);
    EXPECT_EQ(0xCAFEu, again->lastLineSegment->status);
    Depths third(line.path(), L"update");
    std::filesystem::remove(line.folder() / "ProcessedDepthsLineSegments");
    std::filesystem::create_directories(line.folder() / "ProcessedDepthsLineSegments/in the way");
    EXPECT_EQ(5000202, ProcessedDepthsSetSourceFileName(third, L"x")) << "the code of another family";
    EXPECT_EQ(5001302, ProcessedDepthsSaveStatusToDisk(third));
}

namespace {

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}
    std::uint32_t operator()() { return static_cast<std::uint32_t>(engine_()); }

private:
    std::mt19937 engine_;
};

// A line of random profiles as a fresh handle without a cache reads it, and where a handle stands in it.
struct Model {
    struct Profile {
        Ping header;
        std::vector<Beam> beams;
    };
    std::vector<Profile> profiles;
    std::uint32_t at = 0;    // the profile whose beams come next, 0 before any
    std::uint32_t taken = 0; // of its beams

    const Profile& current() const { return profiles[at - 1]; }
    void stand(std::uint32_t profile, std::uint32_t beams) {
        at = profile;
        taken = beams;
    }
};

void writeRandom(const Line& line, Random& random) {
    Depths sensor(line.path(), L"create");
    const auto count = random() % 12 + 1;
    for (std::uint32_t p = 1; p <= count; ++p) {
        const std::uint32_t beams = random() % 5;
        const std::uint32_t start = random() % 4;
        const double time = 6000.0 + p;
        ASSERT_EQ(0, ProcessedDepthsBgnSeqWriteProfile(sensor, beams, start, time, p * 1e-6, 0, 1e-3,
                                                       p * -2e-6, -1e-3, 0, 0, 0, 0, 0, p, 0, 0, 0, p << 8));
        for (std::uint32_t b = 0; b < beams; ++b)
            ASSERT_EQ(0, ProcessedDepthsSeqWrite(sensor, time + b * 0.25, 0, 0, p * 1e-6 + b * 1e-8,
                                                 p * -2e-6 - b * 1e-8, p * 100.0 + b, 0, (p << 4 | b) << 16));
    }
    ASSERT_EQ(0, sensor.close());
}

Model modelOf(const Line& line) {
    Model model;
    const Depths sensor(line.path(), L"query");
    model.profiles.resize(sensor->numRecords);
    for (std::uint32_t p = 1; p <= sensor->numRecords; ++p) {
        auto& profile = model.profiles[p - 1];
        EXPECT_EQ(0, readPing(sensor, p, profile.header));
        profile.beams.resize(profile.header.numDepths);
        for (std::uint32_t b = 0; b < profile.header.numDepths; ++b)
            EXPECT_EQ(0, readBeam(sensor, p, profile.header.startBeam + b, profile.beams[b]));
    }
    return model;
}

// One call of any reader or change with any arguments; what it gives is what the model says.
void step(_TELD_Sensor* sensor, Model& model, Random& random) {
    const auto number = static_cast<std::uint32_t>(model.profiles.size());
    const std::uint32_t p = random() % (number + 2);
    const bool there = p >= 1 && p <= number;
    Model::Profile* profile = there ? &model.profiles[p - 1] : nullptr;
    const std::uint32_t start = there ? profile->header.startBeam : 0;
    const std::uint32_t beams = there ? profile->header.numDepths : 0;
    const std::uint32_t b = start - 1 + random() % (beams + 2);
    const bool beamThere = there && b - start < beams;
    Ping ping;
    Beam beam;
    switch (random() % 11) {
    case 0:
    case 1: {
        ASSERT_EQ(beamThere ? 0 : 5001319, readBeam(sensor, p, b, beam));
        if (!beamThere) return;
        EXPECT_EQ(profile->beams[b - start], beam);
        model.stand(p, b - start + 1);
        return;
    }
    case 2: {
        ASSERT_EQ(there ? 0 : 5001319, readPing(sensor, p, ping));
        if (!there) return;
        EXPECT_EQ(profile->header, ping);
        model.stand(p, 0);
        return;
    }
    case 3: {
        const bool withDepths = random() % 2;
        reads::Profile whole;
        const Thrown thrown = thrownBy([&] { reads::ReadProfile(*sensor, p, whole, withDepths); });
        ASSERT_EQ(there ? 0 : 5001319, thrown.plain());
        if (!there) return;
        EXPECT_EQ(profile->header.status, whole.status);
        EXPECT_EQ(profile->header.place[1], whole.latitude);
        ASSERT_EQ(withDepths ? beams : 0u, whole.depths.size());
        for (std::size_t i = 0; i < whole.depths.size(); ++i)
            EXPECT_EQ(profile->beams[i], viewOf(whole.depths[i]));
        model.stand(p, withDepths ? beams : 0);
        return;
    }
    case 4:
    case 5: {
        if (sensor->accessType != TELD_QUERY) return;
        if (model.at == number) {
            ASSERT_EQ(key("freadProfileFailed"), thrownBy([&] { nextPing(sensor, ping); }).key);
            return;
        }
        ASSERT_EQ(0, nextPing(sensor, ping));
        model.stand(model.at + 1, 0);
        EXPECT_EQ(model.current().header, ping);
        return;
    }
    case 6:
    case 7: {
        if (model.at == 0 || model.current().beams.empty()) {
            ASSERT_EQ(140054, nextBeam(sensor, beam));
            return;
        }
        if (model.taken == model.current().beams.size()) return;
        ASSERT_EQ(0, nextBeam(sensor, beam));
        EXPECT_EQ(model.current().beams[model.taken++], beam);
        return;
    }
    case 8: {
        const std::uint32_t most = random() % 6;
        std::array<double, 6> depths{};
        std::array<std::uint32_t, 6> statuses{};
        std::uint32_t error = 0;
        const std::uint32_t expected = std::min(most, beams);
        ASSERT_EQ(expected, pdReadProfileDepths(sensor, p, nullptr, nullptr, depths.data(), statuses.data(),
                                                nullptr, most, &error));
        ASSERT_EQ(there ? 0u : 5001319u, error);
        for (std::uint32_t i = 0; i < expected; ++i) {
            EXPECT_EQ(profile->beams[i].status, statuses[i]);
            EXPECT_EQ(profile->beams[i].values[5], depths[i]);
        }
        if (there) model.stand(p, expected);
        return;
    }
    case 9: {
        std::vector<PD_Profile> bulk;
        const int count = static_cast<int>(random() % 5) + 1;
        ASSERT_EQ(p == 0 ? 5001319 : 0,
                  reads::ProcessedDepthsReadProfiles(sensor, static_cast<int>(p), count, bulk));
        if (p == 0) return;
        ASSERT_EQ(std::min<std::size_t>(static_cast<std::size_t>(count), number + 1 - p), bulk.size());
        for (std::size_t i = 0; i < bulk.size(); ++i) {
            const auto& expected = model.profiles[p - 1 + i];
            EXPECT_EQ(expected.header.status, bulk[i].status);
            ASSERT_EQ(expected.beams.size(), bulk[i].depths.size());
            for (std::size_t each = 0; each < bulk[i].depths.size(); ++each) {
                EXPECT_EQ(expected.beams[each].status, bulk[i].depths[each].status);
                EXPECT_TRUE(near(expected.beams[each].values[3], bulk[i].depths[each].latitude));
            }
        }
        if (!bulk.empty()) {
            const auto last = p - 1 + static_cast<std::uint32_t>(bulk.size());
            model.stand(last, static_cast<std::uint32_t>(model.profiles[last - 1].beams.size()));
        }
        return;
    }
    default: {
        if (sensor->accessType != TELD_UPDATE) return;
        const std::uint32_t bits = random() & 0xFFFF0000;
        const double x = (random() % 1000) * 1e-9, z = (random() % 100) * 0.125;
        const auto kind = random() % 5;
        if (kind == 3) {
            ASSERT_EQ(0, ProcessedDepthsUpdateSummaryStatus(sensor));
            return;
        }
        if (kind == 4) {
            ASSERT_EQ(0, ProcessedDepthsSaveStatusToDisk(sensor));
            return;
        }
        const int code = kind == 0   ? ProcessedDepthsUpdateStatus(sensor, p, b, bits)
                         : kind == 1 ? ProcessedDepthsUpdateRejectionStatus(sensor, p, b, bits & rejected)
                                     : ProcessedDepthsUpdateXYZStatus(sensor, p, b, &x, nullptr, &z, nullptr);
        ASSERT_EQ(beamThere ? 0 : 5001319, code);
        if (!beamThere) return;
        Beam& changed = profile->beams[b - start];
        if (kind == 0) changed.status = bits;
        if (kind == 1) changed.status = (changed.status & ~rejected) | (bits & rejected);
        if (kind == 2) {
            changed.values[4] = x;
            changed.values[5] = z;
        }
    }
    }
}

} // namespace

TEST(ProcessedDepthsCache, AnySizeGivesWhatTheFileGivesWhateverIsCalledInBetween) {
    for (std::uint32_t seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Line line;
        Random random(seed);
        writeRandom(line, random);
        for (const char* cache : {"0", "1", "2", "7", "1000", "-3"}) {
            SCOPED_TRACE("cache of " + std::string(cache));
            for (const wchar_t* token : {L"update", L"query"}) {
                Model model = modelOf(line);
                const Depths sensor(line.path(), token, cache);
                ASSERT_EQ(std::string(cache) > "0", sensor->auxiliary != nullptr);
                for (int n = 0; n < 120 && !testing::Test::HasFailure(); ++n)
                    step(sensor, model, random);
                if (testing::Test::HasFailure()) return;
            }
        }
    }
}

TEST(ProcessedDepthsCache, OldVersionsGiveTheTwinThroughIt) {
    for (const int version : {1, 2, 3}) {
        Line line;
        put(line, version);
        const auto pings = twinOf(version).pings();
        for (const char* cache : {"1", "2", "7", "1000"}) {
            const Depths sensor(line.path(), L"query", cache);
            for (const TwinPing& expected : pings) {
                Ping ping;
                Beam beam;
                ASSERT_EQ(0, nextPing(sensor, ping));
                EXPECT_EQ(expected.read, ping) << version << ' ' << cache;
                for (const Beam& each : expected.readBeams) {
                    ASSERT_EQ(0, nextBeam(sensor, beam));
                    EXPECT_EQ(each, beam);
                }
            }
            for (std::uint32_t p = 4; p > 0; --p) {
                reads::Profile profile;
                reads::ReadProfile(*sensor, p, profile, true);
                ASSERT_EQ(pings[p - 1].readBeams.size(), profile.depths.size());
                for (std::size_t i = 0; i < profile.depths.size(); ++i)
                    EXPECT_EQ(pings[p - 1].readBeams[i], viewOf(profile.depths[i]));
            }
        }
    }
}
