#include "imagery/families.h"

#include <skar/amplitude.h>
#include <skar/multibeamsidescan.h>

#include <utility>

using namespace skar::tests;

namespace {

const ImageryFamily& em100 = imageryFamilies()[0];
const ImageryFamily& em1000 = imageryFamilies()[1];
const ImageryFamily& elac = imageryFamilies()[2];

constexpr double start = 1000000000.0;
constexpr std::uint32_t notOpened = 0xFFFFFFFF;
constexpr std::uint32_t noSensor = 0xFFFFFFFE;
using Elements = std::vector<std::int32_t>;

struct Gains {
    std::int32_t c = 0, d = 0, e = 20;
};

void writeEM100(_TELD_Sensor* s, const Gains& g, const Elements& first, std::uint32_t firstBeam = 1) {
    const Elements zero(first.size());
    ASSERT_EQ(0, EM100SideScanSeqWriteProfile(s, static_cast<std::uint32_t>(first.size()), firstBeam, start,
                                              0, 0, g.c, g.d, g.e, first.data(), zero.data(), zero.data(),
                                              zero.data()));
}

int amplitudeOf(SKARAmplitudeIO& reader, unsigned profile, unsigned beam) {
    long status = 77;
    EXPECT_EQ(0u, reader.read(profile, beam)) << profile << ' ' << beam;
    const unsigned char amplitude = reader.getAmplitude(status);
    EXPECT_EQ(0, status) << profile << ' ' << beam;
    return amplitude;
}

// Worked out by hand, with twenty digits: 255 log10(1.412537^(20 - E) a 3.162277^D 3.162277^C), cut to a
// byte.
TEST(BeamAmplitudes, OfAnEm100FollowItsGains) {
    struct Row {
        std::int32_t a;
        Gains gains;
        int amplitude;
    };
    const Row rows[] = {
        {1, {0, 0, 20}, 0},       {2, {0, 0, 20}, 76},    {10, {0, 0, 20}, 255}, {100, {0, 0, 20}, 254},
        {200, {0, 0, 20}, 74},    {0, {0, 0, 20}, 0},     {0, {0, 0, 0}, 0},     {1, {0, -10, 20}, 127},
        {1, {0, -20, 20}, 254},   {1, {0, -30, 20}, 126}, {1, {0, -40, 20}, 21}, {1, {0, 1, 20}, 127},
        {1, {-10, 0, 20}, 127},   {1, {-20, 0, 20}, 254}, {1, {-30, 0, 20}, 16}, {1, {5, 0, 20}, 125},
        {3, {0, 0, 10}, 248},     {3, {0, 0, -5}, 53},    {3, {0, 0, 40}, 125},  {255, {-20, -30, 0}, 224},
        {77, {-10, -20, 15}, 30}, {1, {0, -11, 20}, 134}, {1, {0, 127, 20}, 64}};
    const Line line;
    {
        OpenImagery sensor(em100, line.path(), L"create");
        for (const Row& row : rows)
            writeEM100(sensor, row.gains, {row.a});
    }
    SKARAmplitudeIO reader;
    ASSERT_EQ(0u, reader.open(line.path().c_str()));
    unsigned profile = 0;
    for (const Row& row : rows)
        EXPECT_EQ(row.amplitude, amplitudeOf(reader, ++profile, 1))
            << row.a << ' ' << row.gains.c << ' ' << row.gains.d << ' ' << row.gains.e;
}

TEST(BeamAmplitudes, OfAnEm1000AreTwiceTheSecondArrayFromItsMiddle) {
    const Line line;
    const Elements second = {-64, -63, 0, 31, 63, 64, 127, -65, -128};
    const Elements amplitudes = {0, 2, 128, 190, 254, 255, 255, 254, 128};
    const Elements zero(second.size());
    {
        OpenImagery sensor(em1000, line.path(), L"create");
        ASSERT_EQ(0,
                  EM1000SideScanSeqWriteProfile(sensor, 9, 10, start, 0, 0, 0, 0, zero.data(), second.data(),
                                                zero.data(), zero.data(), zero.data(), zero.data(), 0));
    }
    SKARAmplitudeIO reader;
    ASSERT_EQ(0u, reader.open(line.path().c_str()));
    for (unsigned i = 0; i < second.size(); ++i)
        EXPECT_EQ(amplitudes[i], amplitudeOf(reader, 1, 10 + i)) << second[i];
    EXPECT_EQ(SKARAmplitudeIO::firstBelow128, reader.getDetectType());
}

TEST(BeamAmplitudes, OfAnElacAreTheFirstArray) {
    const Line line;
    const Elements first = {0, 127, 200, 0x1FF}, second(4, 5);
    {
        OpenImagery sensor(elac, line.path(), L"create");
        ASSERT_EQ(0,
                  ELACSideScanSeqWriteProfile(sensor, 4, 1, start, 0, 0, 0, 0, first.data(), second.data()));
    }
    SKARAmplitudeIO reader;
    ASSERT_EQ(0u, reader.open(line.path().c_str()));
    ASSERT_NE(nullptr, reader.getSensor());
    EXPECT_EQ(20u, reader.getSensor()->sensorType);
    EXPECT_EQ(0, amplitudeOf(reader, 1, 1));
    EXPECT_EQ(127, amplitudeOf(reader, 1, 2));
    EXPECT_EQ(200, amplitudeOf(reader, 1, 3));
    EXPECT_EQ(255, amplitudeOf(reader, 1, 4));
    EXPECT_EQ(SKARAmplitudeIO::unknown, reader.getDetectType());
}

TEST(BeamAmplitudes, TheFirstArrayTellsTheDetection) {
    const Line line;
    {
        OpenImagery sensor(em100, line.path(), L"create");
        writeEM100(sensor, {}, {127, 128, 255, 0}, 5);
    }
    SKARAmplitudeIO reader;
    EXPECT_EQ(2, reader.getDetectType());
    ASSERT_EQ(0u, reader.open(line.path().c_str()));
    EXPECT_EQ(2, reader.getDetectType()) << "nothing was read";
    for (const auto& [beam, type] : {std::pair(5u, 1), {6u, 0}, {7u, 0}, {8u, 1}, {4u, 2}, {9u, 2}}) {
        EXPECT_EQ(0u, reader.read(1, beam));
        EXPECT_EQ(type, reader.getDetectType()) << beam;
    }
}

TEST(BeamAmplitudes, BeamsThatTheProfileHasNot) {
    const Line line;
    {
        OpenImagery sensor(em100, line.path(), L"create");
        writeEM100(sensor, {}, {10, 10}, 5);
        writeEM100(sensor, {}, {}, 1);
        writeEM100(sensor, {}, {10}, 0);
    }
    SKARAmplitudeIO reader;
    long status = 77;
    EXPECT_EQ(0, reader.getAmplitude(status));
    EXPECT_EQ(-1, status);
    ASSERT_EQ(0u, reader.open(line.path().c_str()));
    for (const auto& [profile, beam] :
         {std::pair(1u, 0u), {1u, 4u}, {1u, 7u}, {1u, 0xFFFFFFFFu}, {2u, 1u}, {2u, 0u}, {3u, 0u}, {3u, 1u}}) {
        EXPECT_EQ(0u, reader.read(profile, beam));
        status = 77;
        EXPECT_EQ(0, reader.getAmplitude(status)) << profile << ' ' << beam;
        EXPECT_EQ(-1, status) << profile << ' ' << beam;
    }
    EXPECT_EQ(255, amplitudeOf(reader, 1, 6));
}

TEST(BeamAmplitudes, AnotherBeamOfTheProfileInMemoryReadsNothing) {
    const Line line;
    {
        OpenImagery sensor(em100, line.path(), L"create");
        writeEM100(sensor, {}, {1, 2, 10});
        writeEM100(sensor, {}, {100});
    }
    SKARAmplitudeIO reader;
    ASSERT_EQ(0u, reader.open(line.path().c_str()));
    EXPECT_EQ(0, amplitudeOf(reader, 1, 1));
    line.cut("SideScan", 44);
    EXPECT_EQ(76, amplitudeOf(reader, 1, 2));
    EXPECT_EQ(255, amplitudeOf(reader, 1, 3));
    reader.close();
    ASSERT_EQ(0u, reader.open(line.path().c_str()));
    EXPECT_EQ(5001725u, reader.read(1, 1));
    long status = 77;
    EXPECT_EQ(0, reader.getAmplitude(status));
    EXPECT_EQ(-1, status) << "no profile is in memory";
    EXPECT_EQ(5001725u, reader.read(1, 1)) << "and it is tried again";
    EXPECT_EQ(0u, reader.read(0, 1)) << "0 stands for none, as none is in memory";
    EXPECT_EQ(5001719u, reader.read(3, 1));
}

TEST(BeamAmplitudes, EverySystemOpensAndNoFileDoesNot) {
    for (const ImageryFamily* family : {&em100, &em1000, &elac}) {
        const Line line;
        put(line, *family);
        SKARIO_Init(0);
        SKARAmplitudeIO reader;
        ASSERT_EQ(0u, reader.open(line.path().c_str())) << *family;
        ASSERT_NE(nullptr, reader.getSensor());
        EXPECT_EQ(family->stored, reader.getSensor()->sensorType);
        EXPECT_EQ(0u, reader.read(1, 1));
        reader.close();
        EXPECT_EQ(nullptr, reader.getSensor());
        EXPECT_EQ(noSensor, reader.read(1, 1));
    }
    SKARAmplitudeIO reader;
    EXPECT_EQ(noSensor, reader.read(1, 1));
    const Line empty;
    EXPECT_EQ(notOpened, reader.open(empty.path().c_str()));
    EXPECT_EQ(notOpened, reader.open(nullptr));
    EXPECT_EQ(nullptr, reader.getSensor());
}

TEST(BeamAmplitudes, CopiesHaveTheirOwnProfileAndOutliveTheOriginal) {
    const Line line;
    {
        OpenImagery sensor(em100, line.path(), L"create");
        writeEM100(sensor, {}, {1, 2});
        writeEM100(sensor, {}, {10});
    }
    SKARAmplitudeIO assigned;
    long status = 77;
    {
        SKARAmplitudeIO original;
        ASSERT_EQ(0u, original.open(line.path().c_str()));
        EXPECT_EQ(76, amplitudeOf(original, 1, 2));
        SKARAmplitudeIO copy(original);
        EXPECT_EQ(255, amplitudeOf(original, 2, 1));
        EXPECT_EQ(76, copy.getAmplitude(status));
        EXPECT_EQ(0, status);
        assigned = copy;
        assigned = *&assigned;
        copy.close();
        original.close();
    }
    EXPECT_EQ(76, assigned.getAmplitude(status));
    EXPECT_EQ(255, amplitudeOf(assigned, 2, 1));
    EXPECT_EQ(0, amplitudeOf(assigned, 1, 1));
}

TEST(BeamAmplitudes, OfAHandleOfAnotherSensorAreNone) {
    const Line line;
    put(line, em100);
    SKARIO_Init(0);
    SKARAmplitudeIO reader;
    ASSERT_EQ(0u, reader.open(line.path().c_str()));
    reader.getSensor()->sensorType = 4;
    EXPECT_EQ(0u, reader.read(1, 1));
    long status = 0;
    EXPECT_EQ(0, reader.getAmplitude(status));
    EXPECT_EQ(-1, status);
    reader.getSensor()->sensorType = 9;
}

} // namespace
