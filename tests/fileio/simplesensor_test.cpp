#include "support/flat_families.h"

#include <skar/errors.h>
#include <skar/simplesensor.h>

#include <sstream>

// What only the series of time, value and status have: their two codings, the sequential reader that does not
// know of the reader by number, the generic functions behind every family.
namespace {

using namespace skar::tests;
namespace SimpleSensor = SKAR::IO::SimpleSensor;

class SimpleSensors : public testing::TestWithParam<FlatFamily> {
protected:
    void SetUp() override { ASSERT_EQ(0, SKARIO_Init(0)); }
    const FlatFamily& family = GetParam();
    Line line;

    Opened query(const std::vector<std::uint32_t>& perSegment = {6}) {
        put(line, family, flatSet(family, perSegment));
        return {family, line.path(), L"query"};
    }
    double firstValue(double value) {
        {
            Opened sensor(family, line.path(), L"create");
            EXPECT_EQ(0, family.write(sensor, {100.0, {value}, 0}));
            EXPECT_EQ(0, sensor.close());
        }
        Opened sensor(family, line.path(), L"query");
        Sample read;
        EXPECT_EQ(0, family.read(sensor, 1, read));
        return read.values[0];
    }
};

std::vector<FlatFamily> simpleFamilies() {
    std::vector<FlatFamily> rows;
    for (const FlatFamily& family : flatFamilies())
        if (family.shape == Shape::value) rows.push_back(family);
    return rows;
}
INSTANTIATE_TEST_SUITE_P(Every, SimpleSensors, testing::ValuesIn(simpleFamilies()), familyName);

std::string assertionOf(_TELD_Sensor& sensor) {
    SimpleSensor::Record record;
    try {
        SimpleSensor::ReadNext(sensor, record);
    } catch (const Morva::Exception::AssertionError& failure) {
        EXPECT_EQ("MESSAGE_ID_INTERNAL_ERROR", failure.messageId());
        const auto* text = boost::get_error_info<Morva::Exception::errinfo_assertion_message>(failure);
        return text ? *text : "no text";
    }
    return "nothing thrown";
}

TEST_P(SimpleSensors, CodeTheirValuesBySensor) {
    if (family.fine) {
        EXPECT_DOUBLE_EQ(-129.4967296, firstValue(300.0)) << "the low 32 bits of what does not fit";
        EXPECT_DOUBLE_EQ(214.7483647, firstValue(214.7483647));
        EXPECT_DOUBLE_EQ(0.0000001, firstValue(0.00000006));
    } else {
        EXPECT_DOUBLE_EQ(2147483.647, firstValue(3e6)) << "saturates";
        EXPECT_DOUBLE_EQ(-2147483.648, firstValue(-3e6));
        EXPECT_DOUBLE_EQ(2e6, firstValue(2e6)) << "does not saturate yet";
        EXPECT_DOUBLE_EQ(-2e6, firstValue(-2e6));
        EXPECT_DOUBLE_EQ(2147483.647, firstValue(std::numeric_limits<double>::infinity()));
        EXPECT_DOUBLE_EQ(0.013, firstValue(0.0125)) << "half away from zero";
        EXPECT_DOUBLE_EQ(-0.013, firstValue(-0.0125));
    }
}

TEST_P(SimpleSensors, TakeTheReferenceMinuteFromTheFirstTime) {
    for (const auto& [time, minute] : {std::pair{89.9, 1}, {90.0, 2}, {-89.9, -1}, {-90.0, -2}, {0.0, 0}}) {
        Opened sensor(family, line.path(), L"create");
        ASSERT_EQ(0, family.write(sensor, {time, {1.0}, 0}));
        EXPECT_EQ(minute, sensor->referenceTime) << time;
        ASSERT_EQ(0, family.write(sensor, {time + 600, {1.0}, 0}));
        EXPECT_EQ(minute, sensor->referenceTime) << "only the first record sets it";
    }
}

TEST_P(SimpleSensors, SequentialReadingGoesOnWhereTheFileStands) {
    Opened sensor = query();
    ASSERT_TRUE(sensor);
    Sample sample;
    ASSERT_EQ(0, family.read(sensor, 3, sample));
    ASSERT_EQ(0, family.readSeq(sensor, sample));
    EXPECT_EQ(family.sample(4).status, sample.status);
}

// The sequential reader leaves no trace in the other's state, so that the next number in line is taken where
// the file stands, which is one record further.
TEST_P(SimpleSensors, AReadOfTheNextNumberAfterASequentialOneIsNotPositioned) {
    Opened sensor = query();
    ASSERT_TRUE(sensor);
    Sample sample;
    ASSERT_EQ(0, family.read(sensor, 1, sample));
    ASSERT_EQ(0, family.readSeq(sensor, sample));
    EXPECT_EQ(family.sample(2).status, sample.status);
    ASSERT_EQ(0, family.read(sensor, 2, sample));
    EXPECT_EQ(family.sample(3).status, sample.status) << "record 3 under the number 2";
    ASSERT_EQ(0, family.read(sensor, 5, sample));
    EXPECT_EQ(family.sample(5).status, sample.status) << "any other number is looked up";
}

TEST_P(SimpleSensors, TheFirstReadByNumberIsPositionedWhateverWasReadInOrder) {
    Opened sensor = query();
    ASSERT_TRUE(sensor);
    Sample sample;
    ASSERT_EQ(0, family.readSeq(sensor, sample));
    ASSERT_EQ(0, family.readSeq(sensor, sample));
    ASSERT_EQ(0, family.read(sensor, 1, sample));
    EXPECT_EQ(family.sample(1).status, sample.status);
}

TEST_P(SimpleSensors, ReadNextGivesWhatReadSeqGives) {
    Opened sensor = query();
    ASSERT_TRUE(sensor);
    SimpleSensor::Record record;
    for (std::uint32_t n = 1; n <= 6; ++n) {
        SimpleSensor::ReadNext(*sensor, record);
        EXPECT_NEAR(family.sample(n).time, record.time, 0.0005001);
        EXPECT_NEAR(family.sample(n).values[0], record.value, 0.51 * family.step(0));
        EXPECT_EQ(family.sample(n).status, record.status);
    }
    const SimpleSensor::Record last = record;
    EXPECT_EQ(
        "fread ((char *) &pReadStruct->sensorRecord, sizeof(SensorFileRecord), 1, sensor.dataFile) == 1",
        assertionOf(*sensor));
    EXPECT_EQ(last, record) << "a failed read leaves the record";
}

TEST_P(SimpleSensors, ReadNextNamesTheConditionThatFailed) {
    put(line, family, flatSet(family, {2}));
    {
        Opened sensor(family, line.path(), L"update");
        ASSERT_TRUE(sensor);
        EXPECT_EQ("sensor.accessType == TELD_QUERY", assertionOf(*sensor));
        Sample sample;
        EXPECT_EQ(140054, family.readSeq(sensor, sample));
    }
    {
        Opened sensor(family, line.path(), L"create");
        ASSERT_TRUE(sensor);
        EXPECT_EQ("sensor.accessType == TELD_QUERY", assertionOf(*sensor));
    }
    put(line, family, flatSet(family, {2}));
    std::uint32_t code = 1;
    _TELD_Sensor* bare = SensorOpenDir(line.path().c_str(), family.id, L"query", &code);
    ASSERT_NE(nullptr, bare);
    EXPECT_EQ("pReadStruct != NULL", assertionOf(*bare));
    Sample sample;
    EXPECT_EQ(140054, family.readSeq(bare, sample));
    EXPECT_EQ(-1, family.read(bare, 1, sample)) << "no read structure";
    EXPECT_EQ(-1, family.close(bare));
    EXPECT_EQ(0, SensorFree(bare));
    bare = SensorOpenDir(line.path().c_str(), family.id, L"create", &code);
    ASSERT_NE(nullptr, bare);
    EXPECT_EQ(-1, family.read(bare, 1, sample)) << "the read structure comes before the access type";
    EXPECT_EQ(-1, family.write(bare, sample));
    EXPECT_EQ(0, SensorFree(bare));
}

TEST_P(SimpleSensors, OutputsMayBeNullButForTheStatusOfAReadByNumber) {
    Opened sensor = query();
    ASSERT_TRUE(sensor);
    std::uint32_t status = 0;
    EXPECT_EQ(0, SimpleSensorRead(sensor, 2, nullptr, nullptr, &status));
    EXPECT_EQ(family.sample(2).status, status);
    double time = 0;
    EXPECT_EQ(-1, SimpleSensorRead(sensor, 2, &time, &time, nullptr));
    EXPECT_EQ(0, SimpleSensorReadSeq(sensor, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, SimpleSensorReadSeq(sensor, nullptr, nullptr, &status));
    EXPECT_EQ(family.sample(4).status, status);
    EXPECT_EQ(0, SimpleSensorSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    wchar_t* name = nullptr;
    const auto segment = [&](wchar_t** to, std::uint32_t* statusTo) {
        return SimpleSensorLineSegment(sensor, 1, to, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       statusTo);
    };
    EXPECT_EQ(-1, segment(nullptr, &status));
    EXPECT_EQ(-1, segment(&name, nullptr));
    EXPECT_EQ(0, segment(&name, &status));
    EXPECT_STREQ(L"a.raw", name);
    std::free(name);
}

TEST_P(SimpleSensors, TakeHandlesOfAnyFamily) {
    put(line, family, flatSet(family, {4}));
    Opened own(family, line.path(), L"query");
    ASSERT_TRUE(own);
    const FlatFamily& other = flatFamily(std::string_view(family.name) == "Tide" ? "Gyro" : "Tide");
    Sample sample;
    EXPECT_EQ(0, other.read(own, 4, sample));
    EXPECT_EQ(family.sample(4).status, sample.status);
    EXPECT_NEAR(family.sample(4).values[0], sample.values[0], family.step(0)) << "in the handle's coding";
    const FlatFamily& track = flatFamily("Navigation");
    put(line, track, flatSet(track, {4}));
    Opened foreign(track, line.path(), L"update");
    ASSERT_TRUE(foreign);
    LogCapture log;
    EXPECT_EQ(0, family.setRecordStatus(foreign, 3, 17));
    EXPECT_EQ(0, family.read(foreign, 3, sample));
    EXPECT_EQ(17u, sample.status);
    EXPECT_TRUE(log.lines().empty());
}

TEST(SimpleSensorOpen, ACodingThatIsNoneLeavesTheCodeOfTheFiles) {
    ASSERT_EQ(0, SKARIO_Init(0));
    const Line line;
    for (const std::uint32_t coding : {2u, 0xFFFFFFFFu}) {
        std::uint32_t code = 77;
        EXPECT_EQ(nullptr, SimpleSensorOpen(line.path().c_str(), L"create", 1, coding, &code));
        EXPECT_EQ(0u, code);
        EXPECT_EQ(nullptr, SimpleSensorOpen(line.path().c_str(), L"create", 1, coding, nullptr));
    }
}

TEST(SimpleSensorOpen, TakesAnySensorAndEitherCoding) {
    ASSERT_EQ(0, SKARIO_Init(0));
    const Line line;
    for (const auto& [coding, value] : {std::pair{0u, 1.235}, {1u, 1.2346}}) {
        std::uint32_t code = 77;
        _TELD_Sensor* sensor = SimpleSensorOpen(line.path().c_str(), L"create", 46, coding, &code);
        ASSERT_NE(nullptr, sensor);
        EXPECT_EQ(0, SimpleSensorSeqWrite(sensor, 5.0, 1.2346, 3));
        EXPECT_EQ(0, SimpleSensorClose(sensor));
        sensor = SimpleSensorOpen(line.path().c_str(), L"query", 46, coding, &code);
        ASSERT_NE(nullptr, sensor);
        double read = 0;
        std::uint32_t status = 0;
        EXPECT_EQ(0, SimpleSensorRead(sensor, 1, nullptr, &read, &status));
        EXPECT_DOUBLE_EQ(value, read);
        EXPECT_EQ(0, SimpleSensorClose(sensor));
    }
}

TEST(SimpleSensorOpen, GivesTheCodesOfTheFrame) {
    ASSERT_EQ(0, SKARIO_Init(0));
    const Line line;
    std::uint32_t code = 77;
    EXPECT_EQ(nullptr, GyroOpenDir(line.path().c_str(), L"query", &code));
    EXPECT_EQ(5000046u, code);
    EXPECT_EQ(nullptr, GyroOpenDir((line.path() + L"/none").c_str(), L"create", &code));
    EXPECT_EQ(5000025u, code);
    EXPECT_EQ(nullptr, GyroOpenDir(nullptr, L"create", &code));
    EXPECT_EQ(5000025u, code);
    EXPECT_EQ(nullptr, SimpleSensorOpen(line.path().c_str(), L"create", 58, 0, &code));
    EXPECT_EQ(5000022u, code);
    EXPECT_EQ(nullptr, GyroOpenDir(line.path().c_str(), L"Create", &code));
    EXPECT_EQ(5000046u, code) << "no token counts as not create";
}

TEST(SimpleSensorRecord, ComparesAndPrintsAllItsFields) {
    const SimpleSensor::Record record(1.5, -2.25, 7);
    SimpleSensor::Record copy;
    EXPECT_FALSE(copy == record);
    copy = record;
    EXPECT_EQ(record, copy);
    EXPECT_FALSE(record == SimpleSensor::Record(1.0, -2.25, 7));
    EXPECT_FALSE(record == SimpleSensor::Record(1.5, -2.0, 7));
    EXPECT_FALSE(record == SimpleSensor::Record(1.5, -2.25, 8));
    std::ostringstream out;
    out << record;
    EXPECT_LT(out.str().find("1.5"), out.str().find("-2.25"));
    EXPECT_LT(out.str().find("-2.25"), out.str().rfind("7"));
}

TEST(SimpleSensorRemovers, RemoveTheThreeFilesAndNoOther) {
    ASSERT_EQ(0, SKARIO_Init(0));
    const struct {
        const char* name;
        int (*remove)(const wchar_t*);
    } removers[] = {{"Gyro", GyroRemoveDir},
                    {"Heave", HeaveRemoveDir},
                    {"Pitch", PitchRemoveDir},
                    {"SSSGyro", SSSGyroRemoveDir},
                    {"TrueHeave", TrueHeaveRemoveDir}};
    for (const auto& [name, remove] : removers) {
        const Line line;
        line.write("Roll", "keep");
        EXPECT_EQ(0, remove(line.path().c_str())) << "nothing there";
        for (const std::string& file : flatFamily(name).files())
            line.write(file, "x");
        EXPECT_EQ(0, remove(line.path().c_str()));
        EXPECT_EQ(std::vector<std::string>{"Roll"}, line.files()) << name;
    }
}

} // namespace
