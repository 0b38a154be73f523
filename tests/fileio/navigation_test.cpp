#include "support/fault_backend.h"
#include "support/flat_families.h"

#include <skar/errors.h>
#include <skar/navigation.h>

#include <cerrno>
#include <functional>
#include <sstream>

// What only the tracks have: positions around a reference, the tests of the handle with their log lines, the
// source names, the set that takes another's place.
namespace {

using namespace skar::tests;
namespace Navigation = SKAR::IO::Navigation;

class Tracks : public testing::TestWithParam<FlatFamily> {
protected:
    void SetUp() override { ASSERT_EQ(0, SKARIO_Init(0)); }
    const FlatFamily& family = GetParam();
    const bool towfish = family.stored == 12;
    const char* prefix = towfish ? "SSSNavigation" : "Navigation";
    Line line;

    Opened open(const wchar_t* token, const std::vector<std::uint32_t>& perSegment = {3, 2}) {
        put(line, family, flatSet(family, perSegment));
        return {family, line.path(), token};
    }
    int getStatus(_TELD_Sensor* sensor, std::uint32_t n, std::uint32_t* status) const {
        return (towfish ? SSSNavigationGetRecordStatus : NavigationGetRecordStatus)(sensor, n, status);
    }
    int setName(_TELD_Sensor* sensor, const wchar_t* name) const {
        return (towfish ? SSSNavigationSetSourceFileName : NavigationSetSourceFileName)(sensor, name);
    }
    int beginSummary(_TELD_Sensor* sensor, std::uint32_t type) const {
        return (towfish ? SSSNavigationBgnSeqWriteSummary : NavigationBgnSeqWriteSummary)(sensor, type);
    }
};

std::vector<FlatFamily> trackFamilies() {
    return {flatFamily("Navigation"), flatFamily("SSSNavigation"), flatFamily("NavigationNew")};
}
INSTANTIATE_TEST_SUITE_P(Every, Tracks, testing::ValuesIn(trackFamilies()), familyName);

TEST_P(Tracks, RefuseAnotherSensorsHandleAndSayWhichFunction) {
    const FlatFamily& other = flatFamily(towfish ? "Navigation" : "SSSNavigation");
    put(line, other, flatSet(other, {2}));
    Opened foreign(other, line.path(), L"update");
    ASSERT_TRUE(foreign);
    Sample sample;
    SummaryView summary;
    SegmentView segment;
    std::uint32_t status = 0;
    const auto refused = [&](const std::string& function, const std::function<int()>& call,
                             int code = 5000113) {
        LogCapture log;
        EXPECT_EQ(code, call()) << function;
        EXPECT_EQ((Lines{{1, prefix + function + "(): invalid sensor type\n"}}), log.lines());
    };
    refused("Close", [&] { return family.close(foreign); });
    refused("Summary", [&] { return family.summary(foreign, summary); });
    refused("LineSegment", [&] { return family.segment(foreign, 1, segment); });
    refused("Read", [&] { return family.read(foreign, 1, sample); });
    refused("ReadSeq", [&] { return family.readSeq(foreign, sample); });
    refused("BgnSeqWriteSummary", [&] { return family.beginSummary(foreign); });
    refused("BgnSeqWriteLineSegment", [&] { return family.beginSegment(foreign, L"a"); });
    refused("SeqWrite", [&] { return family.write(foreign, sample); });
    refused(towfish ? "EndSeqWriteLineSegment" : "EndWriteLineSegment",
            [&] { return family.endSegment(foreign, 0); });
    refused("EndSeqWriteSummary", [&] { return family.endSummary(foreign, 0); });
    refused("SetSummaryStatus", [&] { return family.setSummaryStatus(foreign, 0); });
    refused("SetLineSegmentStatus", [&] { return family.setSegmentStatus(foreign, 1, 0); });
    refused("SetRecordStatus", [&] { return family.setRecordStatus(foreign, 1, 0); });
    refused("GetRecordStatus", [&] { return getStatus(foreign, 1, &status); });
    EXPECT_EQ(5000112, family.save(foreign)) << "a save tells no wrong sensor from none";
    EXPECT_EQ(5000213, setName(foreign, L"x"));
    ASSERT_EQ(0, other.read(foreign, 2, sample)) << "the handle is unharmed";
}

TEST_P(Tracks, TestTheAccessTypeBeforeTheReadStructure) {
    put(line, family, flatSet(family, {2}));
    std::uint32_t code = 0;
    _TELD_Sensor* bare = SensorOpenDir(line.path().c_str(), family.id, L"query", &code);
    ASSERT_NE(nullptr, bare);
    Sample sample;
    EXPECT_EQ(-1, family.read(bare, 1, sample));
    EXPECT_EQ(-1, family.readSeq(bare, sample));
    EXPECT_EQ(5000118, family.write(bare, sample));
    EXPECT_EQ(-1, family.close(bare));
    EXPECT_EQ(0, SensorFree(bare));
}

TEST_P(Tracks, ReadTheRecordAskedForWhateverWasReadInOrder) {
    Opened sensor = open(L"query");
    ASSERT_TRUE(sensor);
    Sample sample;
    Navigation::Record record;
    const auto expect = [&](std::uint32_t number) { EXPECT_EQ(family.sample(number).status, sample.status); };
    ASSERT_EQ(0, family.read(sensor, 1, sample));
    expect(1);
    ASSERT_EQ(0, family.readSeq(sensor, sample));
    expect(2);
    ASSERT_EQ(0, family.read(sensor, 2, sample));
    expect(2);
    Navigation::ReadNext(*sensor, record);
    EXPECT_EQ(family.sample(3).status, record.status);
    EXPECT_NEAR(family.sample(3).values[0], record.latitude, 0.51e-9);
    EXPECT_NEAR(family.sample(3).values[1], record.longitude, 0.51e-9);
    EXPECT_DOUBLE_EQ(family.sample(3).values[2], record.auxiliaryValue);
    ASSERT_EQ(0, family.read(sensor, 3, sample));
    expect(3);
    EXPECT_EQ(5000119, family.read(sensor, 0, sample));
    ASSERT_EQ(0, family.readSeq(sensor, sample));
    expect(4);
}

TEST_P(Tracks, ReadSeqWorksInQueryModeOnly) {
    Opened sensor = open(L"update");
    ASSERT_TRUE(sensor);
    Sample sample;
    EXPECT_EQ(5000118, family.readSeq(sensor, sample));
}

TEST_P(Tracks, ReadNextThrowsWithTheKeyOfTheTest) {
    const auto thrown = [](_TELD_Sensor& sensor) {
        Navigation::Record record;
        record.time = 1;
        try {
            Navigation::ReadNext(sensor, record);
        } catch (const Navigation::ReadError& failure) {
            using bathy::error::BathyException;
            const auto* key = boost::get_error_info<BathyException::tag_additional_details>(failure);
            const auto* access = boost::get_error_info<SKAR::tag_access_id_type>(failure);
            const auto* id = boost::get_error_info<SKAR::tag_sensor_id>(failure);
            const auto* error = boost::get_error_info<SKAR::stdio_error_info>(failure);
            EXPECT_EQ(1.0, record.time);
            return (key ? *key : "") + (access ? " access " + std::to_string(*access) : "") +
                   (id ? " id " + std::to_string(*id) : "") + (error ? " errno" : "");
        }
        return std::string("nothing");
    };
    const std::string keys = "errorMessages/SKARio/Navigation/";
    {
        Opened sensor = open(L"update");
        EXPECT_EQ(keys + "invalidAccessType access 3", thrown(*sensor));
    }
    {
        Opened sensor = open(L"query", {1});
        Navigation::Record record;
        Navigation::ReadNext(*sensor, record);
        EXPECT_EQ(keys + "freadProfileFailed errno", thrown(*sensor));
    }
    std::uint32_t code = 0;
    _TELD_Sensor* bare = SensorOpenDir(line.path().c_str(), family.id, L"query", &code);
    ASSERT_NE(nullptr, bare);
    EXPECT_EQ(keys + "internalReadStructInvalid", thrown(*bare));
    SensorFree(bare);
    const FlatFamily& gyro = flatFamily("Gyro");
    put(line, gyro, flatSet(gyro, {1}));
    Opened heading(gyro, line.path(), L"query");
    EXPECT_EQ(keys + "incorrectSensorID id 1", thrown(*heading));
}

TEST_P(Tracks, GiveStatusesFromTheShadowInUpdateModeOnly) {
    std::uint32_t status = 0;
    {
        Opened sensor = open(L"query");
        EXPECT_EQ(5000118, getStatus(sensor, 1, &status));
    }
    {
        Opened sensor(family, line.path(), L"create");
        EXPECT_EQ(5000118, getStatus(sensor, 1, &status));
    }
    Opened sensor = open(L"update");
    EXPECT_EQ(5000112, getStatus(nullptr, 1, &status));
    EXPECT_EQ(5000119, getStatus(sensor, 0, &status));
    EXPECT_EQ(5000119, getStatus(sensor, 6, &status));
    EXPECT_EQ(-1, getStatus(sensor, 1, nullptr));
    for (std::uint32_t n = 1; n <= 5; ++n) {
        EXPECT_EQ(0, getStatus(sensor, n, &status));
        EXPECT_EQ(family.sample(n).status, status);
    }
    EXPECT_EQ(0, family.setRecordStatus(sensor, 4, 99));
    EXPECT_EQ(0, getStatus(sensor, 4, &status));
    EXPECT_EQ(99u, status);
}

TEST_P(Tracks, TheCoordinateTypeIsOneUnlessItIsGiven) {
    const auto stored = [&](const std::function<void(_TELD_Sensor*)>& begin) {
        Opened sensor(family, line.path(), L"create");
        begin(sensor);
        EXPECT_EQ(0, family.write(sensor, family.sample(1)));
        EXPECT_EQ(0, sensor.close());
        return wordAt(line.bytes(family.name), 40);
    };
    EXPECT_EQ(1u, stored([](_TELD_Sensor*) {}));
    EXPECT_EQ(5u, stored([&](_TELD_Sensor* sensor) { EXPECT_EQ(0, beginSummary(sensor, 5)); }));
    Opened sensor(family, line.path(), L"query");
    SummaryView summary;
    ASSERT_EQ(0, family.summary(sensor, summary));
    EXPECT_EQ(5u, summary.coordinateType);
}

TEST_P(Tracks, APositionNearTheReferenceIsExactToItsStep) {
    {
        Opened sensor(family, line.path(), L"create");
        for (int i = 0; i < 50; ++i)
            ASSERT_EQ(0,
                      family.write(sensor, {60.0 + i, {0.8 + i * 1.2345e-9, -3.1 - i * 7e-8, -0.0005}, 0}));
        ASSERT_EQ(0, sensor.close());
    }
    Opened sensor(family, line.path(), L"query");
    Sample sample;
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(0, family.readSeq(sensor, sample));
        EXPECT_NEAR(0.8 + i * 1.2345e-9, sample.values[0], 0.51e-9);
        EXPECT_NEAR(-3.1 - i * 7e-8, sample.values[1], 0.51e-9);
        EXPECT_DOUBLE_EQ(-0.001, sample.values[2]);
    }
}

TEST_P(Tracks, TheAuxiliaryValueSaturates) {
    {
        Opened sensor(family, line.path(), L"create");
        ASSERT_EQ(0, family.write(sensor, {0.0, {0.0, 0.0, 3e6}, 0}));
        ASSERT_EQ(0, family.write(sensor, {0.0, {0.0, 0.0, -3e6}, 0}));
        ASSERT_EQ(0, sensor.close());
    }
    Opened sensor(family, line.path(), L"query");
    Sample sample;
    ASSERT_EQ(0, family.read(sensor, 1, sample));
    EXPECT_DOUBLE_EQ(2147483.647, sample.values[2]);
    ASSERT_EQ(0, family.read(sensor, 2, sample));
    EXPECT_DOUBLE_EQ(-2147483.648, sample.values[2]);
}

TEST_P(Tracks, ASourceNameIsGivenToEverySegmentAndWrittenAtOnce) {
    {
        Opened sensor = open(L"query");
        EXPECT_EQ(5000218, setName(sensor, L"x"));
    }
    Opened sensor = open(L"update");
    const std::string data = line.bytes(family.name);
    EXPECT_EQ(5000212, setName(nullptr, L"x"));
    EXPECT_EQ(5000235, setName(sensor, nullptr));
    EXPECT_EQ(0, setName(sensor, L"n\u00E9w.all"));
    for (std::uint32_t n = 1; n <= 2; ++n) {
        SegmentView segment;
        ASSERT_EQ(0, family.segment(sensor, n, segment));
        EXPECT_EQ(L"n\u00E9w.all", segment.name);
    }
    EXPECT_EQ(8u, wordAt(line.bytes(family.segmentsFile()), 24)) << "bytes, not characters";
    EXPECT_EQ(hex(data), hex(line.bytes(family.name))) << "the data file is not touched";
    EXPECT_EQ(0, setName(sensor, L""));
    Opened again(family, line.path(), L"query");
    ASSERT_TRUE(again) << again.code();
    SegmentView segment;
    ASSERT_EQ(0, family.segment(again, 2, segment));
    EXPECT_EQ(L"", segment.name);
    EXPECT_EQ(4u, segment.begin);
}

TEST_P(Tracks, OpenFailuresOfTheSummaryAreLogged) {
    const auto logged = [&](const std::function<void()>& damage) {
        put(line, family, flatSet(family, {2}));
        damage();
        LogCapture log;
        EXPECT_FALSE(Opened(family, line.path(), L"query"));
        return log.lines();
    };
    EXPECT_EQ((Lines{{1, "NavigationReadSummary(): could not validate header \n"}}),
              logged([&] { line.patch(family.name, 0, 0); }));
    EXPECT_EQ((Lines{{1, "NavigationReadSummary(): could not validate header \n"}}),
              logged([&] { line.cut(family.name, 3); }));
    EXPECT_EQ((Lines{{1, "NavigationReadSummary(): unable to decode header \n"}}),
              logged([&] { line.cut(family.name, 71); }));
}

// The words of the log tell the cause, which the system names; a disk in memory can name any.
TEST_P(Tracks, TellWhyTheSegmentsCouldNotBeOpened) {
    const struct {
        int error;
        int code;
        const char* text;
    } rows[] = {
        {ENOENT, 5000132, "SKAR IO was unable to find the data file '%s'\n"},
        {EMFILE, 5000133,
         "SKAR IO could not open '%s' because there are too many files open on the system.\n"},
        {EACCES, 5000134, "SKAR IO could not open '%s' because access is denied by the system.\n"},
        {ENOMEM, 5000135, "SKAR IO could not open '%s' because there is not enough disk space available.\n"},
        {EIO, 5000101, nullptr},
    };
    const std::string folder = "/survey/p/v/d/l/";
    const FlatSet set = flatSet(family, {2});
    for (const auto& [error, code, text] : rows) {
        FaultBackend disk;
        for (std::size_t which = 0; which < 3; ++which)
            disk.put(folder + family.files()[which], set.file(which).string());
        disk.failAt(Op::open, 2, error);
        LogCapture log;
        const Opened sensor(family, L"/survey/p/v/d/l", L"query");
        EXPECT_EQ(code, sensor.code());
        Lines expected;
        if (text) {
            std::string shown = text;
            const std::string path = log.lines().empty() ? "" : log.lines()[0].text;
            const std::size_t from = path.find('\'') + 1;
            const std::string name = path.substr(from, path.rfind('\'') - from);
            EXPECT_TRUE(name.ends_with(family.segmentsFile())) << name;
            expected = {{2, shown.replace(shown.find("%s"), 2, name)}};
        }
        EXPECT_EQ(expected, log.lines());
        EXPECT_EQ(0, disk.openStreams());
    }
}

TEST_P(Tracks, AStreamWithAnErrorIsLoggedAtTheClose) {
    const FlatSet set = flatSet(family, {9000});
    FaultBackend disk;
    for (std::size_t which = 0; which < 3; ++which)
        disk.put("/survey/p/v/d/l/" + family.files()[which], set.file(which).string());
    Opened sensor(family, L"/survey/p/v/d/l", L"query");
    ASSERT_TRUE(sensor);
    disk.failAt(Op::read, 1, EIO, Repeat::forever);
    disk.resetCounts();
    Sample sample;
    EXPECT_EQ(5000125, family.read(sensor, 9000, sample));
    LogCapture log;
    EXPECT_EQ(0, sensor.close()) << "goes on";
    ASSERT_EQ(1u, log.lines().size());
    EXPECT_EQ(2, log.lines()[0].level);
    const std::string start =
        std::string("There is an error in the ") + prefix + " file stream before closing ";
    EXPECT_TRUE(log.lines()[0].text.starts_with(start)) << log.lines()[0].text;
}

TEST(NavigationFiles, AreRemovedTogether) {
    for (const auto& [name, remove] :
         {std::pair{"Navigation", &NavigationRemoveDir}, {"SSSNavigation", &SSSNavigationRemoveDir}}) {
        const Line line;
        line.write("NavigationNew", "keep");
        EXPECT_EQ(0, remove(line.path().c_str()));
        for (const std::string& file : flatFamily(name).files())
            line.write(file, "x");
        EXPECT_EQ(0, remove(line.path().c_str()));
        EXPECT_EQ(std::vector<std::string>{"NavigationNew"}, line.files());
    }
    EXPECT_EQ(-1, NavigationRemoveDir(nullptr));
}

TEST(NavigationNewRestoreBackupDir, PutsTheReprocessedTrackInTheOthersPlace) {
    ASSERT_EQ(0, SKARIO_Init(0));
    const Line line;
    const FlatFamily& merged = flatFamily("NavigationNew");
    const FlatFamily& old = flatFamily("Navigation");
    const FlatSet set = flatSet(merged, {4});
    put(line, old, flatSet(old, {1, 1}));
    put(line, merged, set);
    EXPECT_EQ(0, NavigationNewRestoreBackupDir(line.path().c_str()));
    EXPECT_EQ((std::vector<std::string>{"Navigation", "NavigationLineSegments", "NavigationTmIdx"}),
              line.files());
    EXPECT_TRUE(same(set.data, line.bytes("Navigation")));
    Opened sensor(old, line.path(), L"query");
    EXPECT_TRUE(sensor);
}

TEST(NavigationNewRestoreBackupDir, ThrowsForWhatIsNotThereAndUndoesNothing) {
    const Line line;
    const auto code = [&] {
        try {
            NavigationNewRestoreBackupDir(line.path().c_str());
        } catch (const SKAR::NavigationIOError& failure) {
            const auto* found = boost::get_error_info<bathy::error::BathyException::tag_error_code>(failure);
            return found ? *found : -2;
        }
        return 0L;
    };
    for (const std::string& file : flatFamily("Navigation").files())
        line.write(file, "old");
    EXPECT_EQ(5000139, code());
    EXPECT_TRUE(line.files().empty()) << "the old set was removed first";
    line.write("NavigationNew", "new");
    line.write("NavigationNewTmIdx", "new");
    EXPECT_EQ(5000139, code());
    EXPECT_EQ((std::vector<std::string>{"Navigation", "NavigationNewTmIdx"}), line.files());
    EXPECT_EQ(-1, NavigationNewRestoreBackupDir(nullptr));
}

TEST(NavigationRecord, ComparesAllFieldsAndPrintsThemInTheirOrder) {
    Navigation::Record record;
    record.time = 1.5;
    record.latitude = 2.5;
    record.longitude = 3.5;
    record.auxiliaryValue = 4.5;
    record.status = 5;
    Navigation::Record copy;
    copy = record;
    EXPECT_EQ(record, copy);
    for (double Navigation::Record::*field :
         {&Navigation::Record::time, &Navigation::Record::latitude, &Navigation::Record::longitude,
          &Navigation::Record::auxiliaryValue}) {
        Navigation::Record changed = record;
        changed.*field += 1;
        EXPECT_FALSE(changed == record);
    }
    copy.status = 6;
    EXPECT_FALSE(copy == record);
    std::ostringstream out;
    out << record;
    std::size_t at = 0;
    for (const char* part : {"1.5", "2.5", "3.5", "4.5", "5"}) {
        at = out.str().find(part, at);
        ASSERT_NE(std::string::npos, at) << out.str();
        at += std::string_view(part).size();
    }
}

} // namespace
