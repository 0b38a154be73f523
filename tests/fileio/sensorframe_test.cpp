#include "storehandle.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/errors.h>
#include <skar/sensor.h>
#include <skar/simplesensor.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cfloat>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

using namespace skar::tests;
using bathy::error::BathyException;
using MORVAPP::MORVAUString;

namespace {

constexpr std::uint32_t gyro = 1;
constexpr const char* keys = "errorMessages/SKARio/";

struct Refusal {
    std::string key = "nothing thrown";
    long code = 0;
    std::optional<std::wstring> token, line, file;
    std::optional<int> sensorId, error;
};
template <class Details>
auto detail(const boost::exception& thrown) {
    const auto* found = boost::get_error_info<Details>(thrown);
    return found ? std::optional(*found) : std::nullopt;
}
template <class Details>
std::optional<std::wstring> text(const boost::exception& thrown) {
    const auto* found = boost::get_error_info<Details>(thrown);
    return found ? std::optional(found->toWide()) : std::nullopt;
}

Refusal refusal(const wchar_t* line, unsigned int id, const wchar_t* token) {
    const LogCapture quiet;
    try {
        SensorFree(SKAR::IO::SensorOpen(line, id, token));
    } catch (const SKAR::IO::SensorOpenError& thrown) {
        return {detail<BathyException::tag_additional_details>(thrown).value_or("no key"),
                detail<BathyException::tag_error_code>(thrown).value_or(0),
                text<SKAR::tag_access_type>(thrown),
                text<SKAR::line_name_info>(thrown),
                text<SKAR::file_name_info>(thrown),
                detail<SKAR::tag_sensor_id>(thrown),
                detail<SKAR::stdio_error_info>(thrown)};
    }
    return {};
}

std::wstring dataPath(const Line& line, const std::wstring& file) {
    return line.path() + L"\\" + file;
}

} // namespace

TEST(Initialisation, IsAskedForBeforeAnythingElse) {
    inItsOwnProcess([] {
        EXPECT_EQ(GetHeader(), 0u);
        const Refusal refused = refusal(nullptr, 8, L"none");
        EXPECT_EQ(refused.key, std::string(keys) + "subsystemNotInitialized");
        EXPECT_EQ(refused.code, 5000020);
        std::uint32_t code = 0;
        EXPECT_EQ(SensorOpenDir(nullptr, gyro, L"create", &code), nullptr);
        EXPECT_EQ(code, 5000020u);
        EXPECT_EQ(SKARIO_Init(0), 0);
        EXPECT_NE(GetHeader(), 0u);
        EXPECT_EQ(refusal(nullptr, gyro, L"create").code, 5000025);
        EXPECT_EQ(SKARIO_Init(0), 0);
    });
}

TEST(Initialisation, ThatCannotReadTheRegistryPrintsAndLeavesTheLibraryUnready) {
    inItsOwnProcess([] {
        const TemporaryDirectory nothing;
        ::setenv("XDG_CONFIG_DIRS", nothing.path().c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", nothing.path().c_str(), 1);
        testing::internal::CaptureStdout();
        EXPECT_EQ(SKARIO_Init(1), 5028700);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "Unable to read the SKAR registry.\n");
        EXPECT_EQ(GetHeader(), 0u);
    });
}

TEST(Initialisation, SetsTheEnvironmentUpOnceAndAlsoAfterAReadyLibrary) {
    inItsOwnProcess([] {
        const TemporaryDirectory config;
        ::setenv("XDG_CONFIG_DIRS", config.path().c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", config.path().c_str(), 1);
        EXPECT_EQ(SKARIO_Init(0), 0);
        config.write("skar/registry.ini",
                     "[Software\\MORVA\\SKAR]\nVersion=11.3\n"
                     "[Software\\MORVA\\SKAR\\11.3\\environment variables]\nSKAR_TEST_SETUP=done\n");
        EXPECT_EQ(SKARIO_Init(1), 0);
        EXPECT_STREQ(std::getenv("SKAR_TEST_SETUP"), "done");
        ::unsetenv("SKAR_TEST_SETUP");
        EXPECT_EQ(SKARIO_Init(1), 0);
        EXPECT_EQ(std::getenv("SKAR_TEST_SETUP"), nullptr) << "an earlier call has completed it";
        EXPECT_NE(GetHeader(), 0u);
    });
}

TEST(AccessToken, IsComparedExactly) {
    const LogCapture log(1);
    EXPECT_EQ(TELD_DecodeAccessTypeToken(L"create"), 1);
    EXPECT_EQ(TELD_DecodeAccessTypeToken(L"query"), 2);
    EXPECT_EQ(TELD_DecodeAccessTypeToken(L"update"), 3);
    EXPECT_TRUE(log.lines().empty());
    for (const wchar_t* token : {L"Create", L"creat", L"create ", L"UPDATE", L"q"})
        EXPECT_EQ(TELD_DecodeAccessTypeToken(token), 5000035);
    const Logged unknown{1, "TELD_DecodeAccessTypeToken: token type invalid (unknown)\n"};
    EXPECT_EQ(log.lines(), Lines(5, unknown));
}

TEST(AccessToken, ThatIsEmptyOrNullHasALineOfItsOwn) {
    const LogCapture log(1);
    EXPECT_EQ(TELD_DecodeAccessTypeToken(L""), 5000035);
    EXPECT_EQ(TELD_DecodeAccessTypeToken(nullptr), 5000035);
    const Logged empty{1, "TELD_DecodeAccessTypeToken: supplied token type is invalid (empty).\n"};
    EXPECT_EQ(log.lines(), Lines(2, empty));
}

TEST(SensorOpening, RefusesInTheOrderOfItsTests) {
    SKARIO_Init(0);
    const Line line;
    const std::wstring path = line.path();

    Refusal refused = refusal(nullptr, 8, L"none");
    EXPECT_EQ(refused.key, std::string(keys) + "lineIsEmpty");
    EXPECT_EQ(refused.code, 5000025);
    EXPECT_FALSE(refused.line);

    refused = refusal(L"/nowhere/at/all", 8, L"Create");
    EXPECT_EQ(refused.key, std::string(keys) + "accessTypeMismatch");
    EXPECT_EQ(refused.code, 5000021);
    EXPECT_EQ(refused.token, L"Create");

    refused = refusal(L"/nowhere/at/all", 8, L"query");
    EXPECT_EQ(refused.key, std::string(keys) + "lineDoesNotExist");
    EXPECT_EQ(refused.code, 5000025);
    EXPECT_EQ(refused.line, L"/nowhere/at/all");

    refused = refusal(path.c_str(), 8, L"query");
    EXPECT_EQ(refused.key, std::string(keys) + "translateSensorType");
    EXPECT_EQ(refused.code, 5000022);
    EXPECT_EQ(refused.line, path);
    EXPECT_EQ(refused.sensorId, 8);

    for (const wchar_t* token : {L"query", L"update"}) {
        refused = refusal(path.c_str(), gyro, token);
        EXPECT_EQ(refused.key, std::string(keys) + "sensorDoesNotExist");
        EXPECT_EQ(refused.code, 5000046);
        EXPECT_EQ(refused.error, ENOENT);
        EXPECT_EQ(refused.file, dataPath(line, L"Gyro"));
    }

    line.write("SideScan", "");
    refused = refusal(path.c_str(), 9, L"query");
    EXPECT_EQ(refused.key, std::string(keys) + "sidescanDoesNotExist");
    EXPECT_EQ(refused.code, 5000024);
    EXPECT_EQ(refused.error, ENOENT);
    EXPECT_EQ(refused.file, dataPath(line, L"SideScanTrace"));

    std::filesystem::create_directory(line.folder() / "Heave");
    refused = refusal(path.c_str(), 2, L"create");
    EXPECT_EQ(refused.key, std::string(keys) + "sensorDataOpenFailed");
    EXPECT_EQ(refused.code, 5000025);
    EXPECT_EQ(refused.error, EISDIR);
    EXPECT_EQ(refused.file, dataPath(line, L"Heave"));
}

TEST(SensorOpening, ThroughThePlainLayerGivesTheCodes) {
    const Line line;
    const LogCapture quiet;
    const auto code = [](const wchar_t* path, std::uint32_t id, const wchar_t* token) {
        SKARIO_Init(0);
        std::uint32_t result = 77;
        SensorFree(SensorOpenDir(path, id, token, &result));
        return result;
    };
    const std::wstring path = line.path();
    EXPECT_EQ(code(nullptr, gyro, L"create"), 5000025u);
    EXPECT_EQ(code(nullptr, gyro, L"query"), 5000046u);
    EXPECT_EQ(code(nullptr, gyro, L"update"), 5000046u);
    EXPECT_EQ(code(path.c_str(), gyro, L""), 5000046u) << "an invalid token counts as not create";
    EXPECT_EQ(code(path.c_str(), gyro, nullptr), 5000046u);
    line.write("Gyro", "");
    EXPECT_EQ(code(path.c_str(), gyro, L""), 5000021u);
    EXPECT_EQ(code(path.c_str(), gyro, nullptr), 5000021u);
    EXPECT_EQ(code(path.c_str(), gyro, L"Create"), 5000021u);
    EXPECT_EQ(code(path.c_str(), gyro, L"query"), 0u);
    EXPECT_EQ(code(L"/nowhere", gyro, L"create"), 5000025u);
    EXPECT_EQ(code(L"", gyro, L"create"), 5000025u);
    EXPECT_EQ(code((path + L"/Gyro").c_str(), gyro, L"create"), 5000025u) << "a file in place of a line";
    EXPECT_EQ(SensorOpenDir(L"/nowhere", gyro, L"create", nullptr), nullptr) << "no place for the code";
}

TEST(SensorOpening, RejectsEveryIdWithoutARoute) {
    SKARIO_Init(0);
    const Line line;
    for (const std::uint32_t id :
         {8u, 14u, 18u, 21u, 29u, 31u, 43u, 56u, 58u, 59u, 60u, 70u, 71u, 75u, 77u, 0xFFFFFFFFu}) {
        std::uint32_t code = 0;
        EXPECT_EQ(SensorOpenDir(line.path().c_str(), id, L"create", &code), nullptr);
        EXPECT_EQ(code, 5000022u) << id;
    }
    // An attribute file that is there passes the first test only.
    line.write("RMS", "");
    std::uint32_t code = 0;
    EXPECT_EQ(SensorOpenDir(line.path().c_str(), 58, L"query", &code), nullptr);
    EXPECT_EQ(code, 5000022u);
    EXPECT_EQ(line.files(), std::vector<std::string>{"RMS"});
}

TEST(SensorOpening, GivesEachIdItsFileAndStoredType) {
    const struct {
        std::uint32_t id;
        const char* file;
        std::uint32_t stored;
    } rows[] = {{0, "ProcessedDepths", 0},
                {1, "Gyro", 1},
                {2, "Heave", 2},
                {3, "Navigation", 3},
                {4, "ObservedDepths", 4},
                {5, "Pitch", 5},
                {6, "Roll", 6},
                {7, "Tide", 7},
                {9, "SideScan", 9},
                {10, "SideScan", 10},
                {11, "SSSGyro", 11},
                {12, "SSSNavigation", 12},
                {13, "SSSSideScan", 13},
                {19, "SSSProcessedSideScan", 19},
                {20, "SideScan", 20},
                {30, "SLRange", 30},
                {32, "EventMark", 32},
                {40, "SSSCableOut", 40},
                {41, "SSSSensorHeight", 41},
                {42, "SSSSensorDepth", 42},
                {45, "DeltaDraft", 45},
                {46, "SOW", 46},
                {47, "GPSHeight", 47},
                {48, "GPSTide", 48},
                {52, "TPE", 52},
                {53, "ObservedDepthsNew", 4},
                {54, "SSP", 54},
                {55, "TrueHeave", 55},
                {57, "SensorParameters", 57},
                {76, "NavigationNew", 3},
                {32787, "NewSSSProcessedSideScan", 19}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.id);
        const Line line;
        const Handle sensor(line.path(), row.id, L"create");
        ASSERT_EQ(sensor.code, 0u);
        const bool trace = row.id == 9 || row.id == 10;
        const std::string name = row.file;
        const std::wstring path = dataPath(line, std::wstring(name.begin(), name.end()));
        EXPECT_EQ(line.files(),
                  trace ? (std::vector<std::string>{name, name + "Trace"}) : std::vector<std::string>{name});
        EXPECT_EQ(sensor->sensorType, row.stored);
        EXPECT_EQ(sensor->dataFilePath, path);
        EXPECT_EQ(sensor->lineSegmentsPath, path + L"LineSegments");
        EXPECT_EQ(sensor->tmIdxPath, path + L"TmIdx");
        EXPECT_EQ(sensor->traceFilePath, trace ? path + L"Trace" : std::wstring());
        EXPECT_EQ(sensor->traceFile != nullptr, trace);
    }
}

TEST(SensorOpening, OfTheReplacementSideScanWorksByNameOnlyToCreate) {
    const Line line;
    line.write("NewSSSProcessedSideScan", "");
    const Handle plain(line.path(), 32787, L"query");
    EXPECT_EQ(plain.code, 5000046u) << "the id has no name to look for";
    for (const wchar_t* token : {L"query", L"update"}) {
        _TELD_Sensor* sensor = SKAR::IO::SensorOpen(line.path().c_str(), 32787, token);
        ASSERT_NE(sensor, nullptr);
        EXPECT_EQ(sensor->sensorType, 19u);
        SensorFree(sensor);
    }
}

TEST(SensorOpening, FillsTheHandleWithItsDefaults) {
    const Line line;
    const Handle sensor(line.path(), gyro, L"create");
    EXPECT_EQ(sensor->version, 1u);
    EXPECT_EQ(sensor->accessType, std::uint32_t{TELD_CREATE});
    EXPECT_EQ(sensor->project, L"project");
    EXPECT_EQ(sensor->vessel, L"vessel");
    EXPECT_EQ(sensor->day, L"day");
    EXPECT_EQ(sensor->line, L"line");
    EXPECT_EQ(sensor->linePath, line.path());
    EXPECT_EQ(sensor->pReadStruct, nullptr);
    EXPECT_EQ(sensor->auxiliary, nullptr);
    EXPECT_NE(sensor->dataFile, nullptr);
    EXPECT_EQ(sensor->maxTmIdxSetSize, 512u);
    EXPECT_EQ(sensor->clockAccuracy, 1000);
    EXPECT_EQ(sensor->secondaryClockAccuracy, 1000);
    EXPECT_EQ(sensor->positionScale, 1);
    EXPECT_EQ(sensor->secondaryPositionScale, 1);
    EXPECT_EQ(sensor->firstRecord, 1u);
    for (const std::uint32_t zero :
         {sensor->summaryExtra, sensor->summaryStatus, sensor->toolType, sensor->sonarType,
          sensor->sonarVersion, sensor->numRecords, sensor->numLineSegments, sensor->numTmIdxSets,
          std::uint32_t{sensor->statusChanged}})
        EXPECT_EQ(zero, 0u);
    EXPECT_EQ(sensor->minTime, DBL_MAX);
    EXPECT_EQ(sensor->maxTime, -DBL_MAX);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(sensor->min[i], DBL_MAX);
        EXPECT_EQ(sensor->max[i], -DBL_MAX);
    }
    EXPECT_EQ(sensor->encodeValue(1.5), 1500) << "the millis encoder";
    EXPECT_EQ(sensor->decodeValue(1500), 1.5);
    EXPECT_EQ(sensor->firstLineSegment, nullptr);
    EXPECT_EQ(sensor->firstTmIdxSet, nullptr);
    EXPECT_EQ(sensor->statusShadow, nullptr);
}

TEST(SensorOpening, KeepsPathElementsOfAnyLength) {
    const TemporaryDirectory root;
    const std::wstring longName(200, L'n');
    const std::wstring path =
        root.wide() + L"\\" + longName + L"\\v" + longName + L"\\d" + longName + L"\\l" + longName;
    ASSERT_EQ(LineCreateHierarchy(path.c_str()), 0);
    ASSERT_EQ(LineExists(path.c_str()), 1);
    const Handle sensor(path, gyro, L"create");
    ASSERT_EQ(sensor.code, 0u);
    EXPECT_EQ(sensor->project, longName);
    EXPECT_EQ(sensor->vessel, L"v" + longName);
    EXPECT_EQ(sensor->day, L"d" + longName);
    EXPECT_EQ(sensor->line, L"l" + longName);
}

TEST(SensorOpening, AnUnsplitPathLeavesTheNamesAsFarAsTheyWereFilled) {
    const TemporaryDirectory root;
    const std::wstring before = std::filesystem::current_path().wstring();
    std::filesystem::current_path(root.path());
    std::filesystem::create_directory("only");
    {
        const Handle sensor(L"only", gyro, L"create");
        EXPECT_EQ(sensor.code, 0u) << "the split is not tested";
        EXPECT_TRUE(root.has("only/Gyro"));
    }
    std::filesystem::current_path(before);
}

TEST(SensorOpening, ForCreateTruncatesAndForUpdateKeeps) {
    const Line line;
    line.write("Gyro", "old");
    line.write("GyroTmIdx", "old");
    {
        const Handle sensor(line.path(), gyro, L"update");
        EXPECT_EQ(sensor->accessType, std::uint32_t{TELD_UPDATE});
    }
    EXPECT_EQ(line.bytes("Gyro"), "old");
    const Handle sensor(line.path(), gyro, L"create");
    EXPECT_EQ(line.bytes("Gyro"), "");
    EXPECT_EQ(line.bytes("GyroTmIdx"), "old");
}

TEST(SensorOpening, AtAnyFailingOperationLeavesNoStreamOpen) {
    SKARIO_Init(0);
    const std::wstring survey = L"/survey/project/vessel/day/line";
    for (const wchar_t* token : {L"create", L"query", L"update"})
        for (const Repeat repeat : {Repeat::once, Repeat::forever})
            for (std::size_t n = 1; n <= 6; ++n) {
                FaultBackend disk;
                disk.put("/survey/project/vessel/day/line/SideScan", "");
                disk.put("/survey/project/vessel/day/line/SideScanTrace", "");
                disk.failAt(n, EMFILE, repeat);
                std::uint32_t code = 77;
                _TELD_Sensor* sensor = SensorOpenDir(survey.c_str(), 9, token, &code);
                EXPECT_EQ(sensor == nullptr, code != 0);
                EXPECT_TRUE(code == 0 || code == 5000024 || code == 5000025 || code == 5000046) << code;
                disk.clearFaults();
                SensorFree(sensor);
                EXPECT_EQ(disk.openStreams(), 0);
            }
}

TEST(SensorEnding, OfANullHandleIsASuccess) {
    EXPECT_EQ(SensorFree(nullptr), 0);
}

TEST(SensorEnding, WritesNoFile) {
    const Line line;
    std::uint32_t code = 0;
    SKARIO_Init(0);
    _TELD_Sensor* sensor = HeaveOpenDir(line.path().c_str(), L"create", &code);
    ASSERT_EQ(HeaveBgnSeqWriteLineSegment(sensor, L"a"), 0);
    ASSERT_EQ(HeaveSeqWrite(sensor, 60, 1, 0), 0);
    EXPECT_EQ(SensorFree(sensor), 0);
    EXPECT_EQ(line.files(), std::vector<std::string>{"Heave"});
}

TEST(SensorRemoval, TakesTheThreeFilesAndAlwaysSucceeds) {
    const Line line;
    for (const char* file : {"Gyro", "GyroLineSegments", "GyroTmIdx", "GyroTrace", "GyroX", "Heave"})
        line.write(file, "x");
    EXPECT_EQ(SensorRemoveDir(line.path().c_str(), L"Gyro"), 0);
    EXPECT_EQ(line.files(), (std::vector<std::string>{"GyroTrace", "GyroX", "Heave"}));
    EXPECT_EQ(SensorRemoveDir(line.path().c_str(), L"Gyro"), 0) << "there is nothing to remove";
    EXPECT_EQ(SensorRemoveDir(L"/nowhere", L"Gyro"), 0);
    EXPECT_EQ(SensorRemoveDir(nullptr, L"Gyro"), 0);
    EXPECT_EQ(SensorRemoveDir(line.path().c_str(), nullptr), 0);
}

TEST(LineDirectory, ExistsIfItIsADirectory) {
    const Line line;
    line.write("Gyro", "");
    EXPECT_EQ(LineExists(line.path().c_str()), 1);
    EXPECT_EQ(LineExists((line.path() + L"\\Gyro").c_str()), 0);
    EXPECT_EQ(LineExists((line.path() + L"\\none").c_str()), 0);
    EXPECT_EQ(LineExists(nullptr), 0);
    EXPECT_EQ(LineExists(L""), 0);
}

TEST(LineDirectory, IsMadeWithAllThatIsMissingAboveItBelowARoot) {
    const TemporaryDirectory root;
    const std::wstring line = root.wide() + L"\\p\\v\\d\\l";
    EXPECT_EQ(LineCreateHierarchy(line.c_str()), 0);
    EXPECT_TRUE(std::filesystem::is_directory(root.path() / "p/v/d/l"));
    EXPECT_EQ(LineCreateHierarchy(line.c_str()), 0) << "all are there";
    EXPECT_EQ(LineCreateHierarchy((root.wide() + L"\\p\\v\\d\\other").c_str()), 0);
    EXPECT_EQ(LineCreateHierarchy((root.wide() + L"\\none\\p\\v\\d\\l").c_str()), 5000034) << "no such root";
    EXPECT_EQ(LineCreateHierarchy(L"v\\d\\l"), 5000034) << "cannot be split";
    EXPECT_EQ(LineCreateHierarchy(L""), 5000034);
    EXPECT_EQ(LineCreateHierarchy(nullptr), 5000034);
    root.write("file", "x");
    EXPECT_EQ(LineCreateHierarchy((root.wide() + L"\\file\\v\\d\\l").c_str()), 5000034)
        << "a directory cannot be made";
}

TEST(Data, IsNeverUpdated) {
    int something = 0;
    EXPECT_EQ(isDataUpdated(nullptr, nullptr), 0);
    EXPECT_EQ(isDataUpdated(&something, nullptr), 0);
}
