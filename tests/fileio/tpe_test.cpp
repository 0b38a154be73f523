#include "fileio/handle.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/codes.h>
#include <skar/errors.h>
#include <skar/files.h>
#include <skar/paths.h>
#include <skar/tpe.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace skar::tests;
namespace TPU = SKAR::IO::TPU;

namespace {

const std::vector<std::string> files = {"TPE", "TPELineSegments", "TPETmIdx"};
constexpr std::size_t firstRecord = 88;

// Sets the size of the block cache for the opens in its scope.
struct CacheSize {
    explicit CacheSize(const char* size) {
        if (size)
            setenv("SkarIOCacheSize", size, 1);
        else
            unsetenv("SkarIOCacheSize");
    }
    ~CacheSize() { unsetenv("SkarIOCacheSize"); }
};

struct Opened {
    _TELD_Sensor* sensor;
    std::uint32_t code = 0xEEEEEEEE;
    Opened(const std::wstring& path, const wchar_t* token) {
        SKARIO_Init(0);
        sensor = TPEOpenDir(path.c_str(), token, &code);
    }
    ~Opened() {
        if (sensor) TPEClose(sensor);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    operator _TELD_Sensor*() const { return sensor; } // NOLINT: stands for the handle
    _TELD_Sensor* operator->() const { return sensor; }
    int close() { return TPEClose(std::exchange(sensor, nullptr)); }
};

void putGolden(const Line& line) {
    for (const std::string& file : files)
        line.write(file, golden("tpe").bytes(file).string());
}

int writeGolden(_TELD_Sensor* sensor) {
    int first = 0;
    const auto note = [&](int code) {
        if (first == 0) first = code;
    };
    note(TPEBgnSeqWriteSummary(sensor, 3, 4));
    note(TPEBgnSeqWriteLineSegment(sensor, L"0001.all"));
    note(TPEBgnSeqWriteProfile(sensor, 2, 1, 1000000000.25, 0xDEADBEEF, 0x80000001));
    note(TPESeqWrite(sensor, 1000000000.35, 0.0019, -0.0019, 0x00010000));
    note(TPESeqWrite(sensor, 1000000000.0, 12.5, 0.0, 0xFFFF0000));
    note(TPEEndSeqWriteProfile(sensor));
    note(TPEBgnSeqWriteProfile(sensor, 3, 20, 1000000001.5, 0, 0));
    note(TPESeqWrite(sensor, 1000000034.5, -3.0, 2.25, 0x00080000));
    note(TPESeqWrite(sensor, 1000000001.501, 0.25, 2147483.75, 0));
    note(TPESeqWrite(sensor, 1000000001.502, 0.0, 0.0, 0));
    note(TPEEndSeqWriteLineSegment(sensor, 4));
    note(TPEBgnSeqWriteLineSegment(sensor, L"b"));
    note(TPEBgnSeqWriteProfile(sensor, 1, 3, 1000000002.0, 1, 7));
    note(TPESeqWrite(sensor, 1000000002.0, 0.5, -0.5, 0x20000000));
    note(TPEEndSeqWriteLineSegment(sensor, 0xFFFFFFFF));
    note(TPEEndSeqWriteSummary(sensor, 0x66));
    return first;
}

TPU::Record made(double time, double tpe1, double tpe2, std::uint32_t status) {
    TPU::Record record;
    record.time = time;
    record.tpe1 = tpe1;
    record.tpe2 = tpe2;
    record.status = status;
    return record;
}
const std::vector<std::uint32_t> starts = {1, 20, 3};
const std::vector<std::vector<TPU::Record>> stored = {
    {made(1000000000.35, 0.001, -0.001, 0x00010000), made(1000000000.0, 12.5, 0.0, 0xFFFF0000)},
    {made(999999968.964, -3.0, 2.25, 0x00080000), made(1000000001.501, 0.25, -2147483.546, 0),
     made(1000000001.502, 0.0, 0.0, 0)},
    {made(1000000002.0, 0.5, -0.5, 0x20000000)}};

void expectRecord(const TPU::Record& wanted, const TPU::Record& got) {
    EXPECT_NEAR(wanted.time, got.time, 1e-6);
    EXPECT_DOUBLE_EQ(wanted.tpe1, got.tpe1);
    EXPECT_DOUBLE_EQ(wanted.tpe2, got.tpe2);
    EXPECT_EQ(wanted.status, got.status);
}

int read(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam, TPU::Record& r) {
    return TPERead(sensor, profile, beam, &r.time, &r.tpe1, &r.tpe2, &r.status);
}
int readCode(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam) {
    TPU::Record unused;
    return read(sensor, profile, beam, unused);
}
int readSeq(_TELD_Sensor* sensor, TPU::Record& r) {
    return TPEReadSeq(sensor, &r.time, &r.tpe1, &r.tpe2, &r.status);
}
int readProfile(_TELD_Sensor* sensor, std::uint32_t number, TPU::Profile& p) {
    return TPEReadProfile(sensor, number, &p.numDepths, &p.startBeam, &p.time, &p.profileTag, &p.status);
}
int profileCode(_TELD_Sensor* sensor, std::uint32_t number) {
    TPU::Profile unused;
    return readProfile(sensor, number, unused);
}
int readProfileSeq(_TELD_Sensor* sensor, TPU::Profile& p) {
    return TPEReadProfileSeq(sensor, &p.numDepths, &p.startBeam, &p.time, &p.profileTag, &p.status);
}

struct Failure {
    std::string key;
    long code = 0;
    bool operator==(const Failure&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Failure& failure) {
    return out << failure.key << ' ' << failure.code;
}
Failure failureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const TPU::ReadError& error) {
        const std::string* key =
            boost::get_error_info<bathy::error::BathyException::tag_additional_details>(error);
        const std::string prefix = "errorMessages/SKARio/TPU/";
        std::string text = key ? *key : "";
        if (text.starts_with(prefix)) text.erase(0, prefix.size());
        return {text, skar::errors::codeOf(error)};
    }
    return {"nothing thrown", 0};
}
Failure readFailure(_TELD_Sensor* sensor, unsigned profile, unsigned beam) {
    return failureOf([&] {
        TPU::Record record;
        TPU::Read(*sensor, profile, beam, record);
    });
}
Failure profileFailure(_TELD_Sensor* sensor, unsigned profile, bool withDepths = false) {
    return failureOf([&] {
        TPU::Profile result;
        TPU::ReadProfile(*sensor, profile, result, withDepths);
    });
}
Failure nextFailure(_TELD_Sensor* sensor) {
    return failureOf([&] {
        TPU::Record record;
        TPU::ReadNext(*sensor, record);
    });
}
std::string shortRead(const std::string& start) {
    return start + "  fread() failed.  ferror() returned 0, feof() returned 1\n";
}

// Every read gives the same with the block cache off and on.
class Uncertainties : public testing::TestWithParam<const char*> {
protected:
    CacheSize cacheSize{GetParam()};
    Line line;
};
INSTANTIATE_TEST_SUITE_P(CacheSizes, Uncertainties,
                         testing::Values(nullptr, "0", "-3", "1", "2", "7", "1000"));

TEST_P(Uncertainties, AreWrittenByteForByteWithZerosBehindTheSummary) {
    Opened sensor(line.path(), L"create");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    EXPECT_EQ(nullptr, sensor->auxiliary);
    ASSERT_EQ(0, writeGolden(sensor));
    ASSERT_EQ(0, sensor.close());
    for (const std::string& file : files)
        EXPECT_TRUE(same(golden("tpe").bytes(file), line.bytes(file))) << file;
}

TEST_P(Uncertainties, ReadByNumberInEveryOrder) {
    putGolden(line);
    for (const wchar_t* token : {L"query", L"update"}) {
        const Opened sensor(line.path(), token);
        ASSERT_TRUE(sensor.sensor) << sensor.code;
        const std::vector<std::pair<std::uint32_t, std::uint32_t>> order = {
            {1, 1}, {1, 2}, {2, 20}, {2, 21}, {2, 22}, {3, 3}, {1, 2}, {1, 2}, {2, 22}, {3, 3}, {1, 1}};
        for (const auto& [profile, beam] : order) {
            TPU::Record got;
            ASSERT_EQ(0, read(sensor, profile, beam, got)) << profile << ' ' << beam;
            expectRecord(stored[profile - 1][beam - starts[profile - 1]], got);
            TPU::Record thrown;
            TPU::Read(*sensor, profile, beam, thrown);
            EXPECT_EQ(got, thrown);
        }
        EXPECT_EQ(0, TPERead(sensor, 1, 1, nullptr, nullptr, nullptr, nullptr));
    }
}

TEST_P(Uncertainties, ReadProfilesAndGoOnWithTheirRecords) {
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    for (const std::uint32_t n : {2u, 1u, 3u}) {
        TPU::Profile profile;
        ASSERT_EQ(0, readProfile(sensor, n, profile));
        EXPECT_EQ(stored[n - 1].size(), profile.numDepths);
        EXPECT_EQ(starts[n - 1], profile.startBeam);
        for (const TPU::Record& wanted : stored[n - 1]) {
            TPU::Record got;
            ASSERT_EQ(0, readSeq(sensor, got));
            expectRecord(wanted, got);
        }
        TPU::ReadProfile(*sensor, n, profile, true);
        ASSERT_EQ(stored[n - 1].size(), profile.records.size());
        for (std::size_t i = 0; i < profile.records.size(); ++i)
            expectRecord(stored[n - 1][i], profile.records[i]);
        TPU::Record next;
        TPU::ReadProfile(*sensor, n, profile, false);
        TPU::ReadNext(*sensor, next);
        expectRecord(stored[n - 1][0], next);
    }
    TPU::Profile profile;
    ASSERT_EQ(0, readProfile(sensor, 1, profile));
    EXPECT_EQ(0xDEADBEEFu, profile.profileTag);
    EXPECT_EQ(0x80000001u, profile.status);
    EXPECT_NEAR(1000000000.25, profile.time, 1e-6);
}

TEST_P(Uncertainties, ReadInOrderToTheEnd) {
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    const LogCapture log;
    for (std::size_t n = 0; n < stored.size(); ++n) {
        TPU::Profile profile;
        ASSERT_EQ(0, readProfileSeq(sensor, profile));
        EXPECT_EQ(starts[n], profile.startBeam);
        for (const TPU::Record& wanted : stored[n]) {
            TPU::Record got;
            ASSERT_EQ(0, readSeq(sensor, got));
            expectRecord(wanted, got);
        }
    }
    EXPECT_TRUE(log.lines().empty());
    TPU::Record record;
    TPU::Profile none;
    EXPECT_EQ(5002725, readProfileSeq(sensor, none));
    EXPECT_EQ(5002725, readSeq(sensor, record));
    EXPECT_EQ((Failure{"freadProfileFailed", 5002725}), nextFailure(sensor));
    EXPECT_EQ((Lines{{1, shortRead("TPEReadProfileSeq(): Unable to read TPE Profile Header record.")},
                     {1, shortRead("TPEReadSeq(): Unable to read TPE record.")}}),
              log.lines());
    ASSERT_EQ(0, read(sensor, 2, 20, record));
    expectRecord(stored[1][0], record);
}

TEST_P(Uncertainties, TheNextHeaderIsThatOfTheNextProfileHoweverManyBeamsWereRead) {
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    TPU::Profile profile;
    TPU::Record record;
    ASSERT_EQ(0, readProfileSeq(sensor, profile));
    ASSERT_EQ(0, readSeq(sensor, record));
    ASSERT_EQ(0, readProfileSeq(sensor, profile));
    EXPECT_EQ(20u, profile.startBeam);
    ASSERT_EQ(0, readSeq(sensor, record));
    expectRecord(stored[1][0], record);
    ASSERT_EQ(0, readProfileSeq(sensor, profile));
    EXPECT_EQ(3u, profile.startBeam);
    ASSERT_EQ(0, read(sensor, 1, 2, record));
    ASSERT_EQ(0, readProfileSeq(sensor, profile));
    EXPECT_EQ(20u, profile.startBeam);
}

TEST_P(Uncertainties, ARefusedReadHasNoEffectOnTheNext) {
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    TPU::Profile profile;
    TPU::Record record;
    ASSERT_EQ(0, readProfileSeq(sensor, profile));
    ASSERT_EQ(0, readSeq(sensor, record));
    EXPECT_EQ(5002728, readCode(sensor, 3, 2));
    EXPECT_EQ(5002728, readCode(sensor, 2, 23));
    EXPECT_EQ(5002708, readCode(sensor, 4, 1));
    EXPECT_EQ(5002708, profileCode(sensor, 6));
    EXPECT_EQ(5002719, profileCode(sensor, 7));
    EXPECT_EQ(5002719, readCode(sensor, 0, 1));
    ASSERT_EQ(0, readSeq(sensor, record));
    expectRecord(stored[0][1], record);
    EXPECT_EQ(5002708, readCode(sensor, 5, 1));
    ASSERT_EQ(0, readProfileSeq(sensor, profile));
    EXPECT_EQ(20u, profile.startBeam);
}

TEST_P(Uncertainties, FailWithTheKeysOfTheThrowingReads) {
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    EXPECT_EQ((Failure{"Profile index out of range.", 5002719}), readFailure(sensor, 7, 1));
    EXPECT_EQ((Failure{"Profile index out of range.", 5002719}), profileFailure(sensor, 0));
    EXPECT_EQ((Failure{"Profile index out of range.", 5002728}), readFailure(sensor, 2, 19));
    EXPECT_EQ((Failure{"TmIdxMapIndexToByteOffset() failed", 5002708}), readFailure(sensor, 4, 1));
    EXPECT_EQ((Failure{"TmIdxMapIndexToByteOffset() failed", 5002708}), profileFailure(sensor, 6));
    sensor->decodeXDRStream.x_op = 0;
    EXPECT_EQ((Failure{"XDR decode failed", 5002721}), readFailure(sensor, 1, 1));
    EXPECT_EQ((Failure{"XDR decode failed", 5002721}), profileFailure(sensor, 1));
    EXPECT_EQ((Failure{"XDR decode failed", 5002721}), nextFailure(sensor));
    EXPECT_EQ(5002721, readCode(sensor, 1, 1));
    sensor->decodeXDRStream.x_op = 1;
    void* structure = std::exchange(sensor->pReadStruct, nullptr);
    for (const Failure& failure : {readFailure(sensor, 1, 1), profileFailure(sensor, 1), nextFailure(sensor)})
        EXPECT_EQ((Failure{"internalReadStructInvalid", -1}), failure);
    EXPECT_EQ(-1, readCode(sensor, 1, 1));
    sensor->accessType = TELD_CREATE;
    for (const Failure& failure : {readFailure(sensor, 1, 1), profileFailure(sensor, 1), nextFailure(sensor)})
        EXPECT_EQ((Failure{"invalidAccessType", 5002718}), failure);
    sensor->sensorType = 30;
    for (const Failure& failure : {readFailure(sensor, 1, 1), profileFailure(sensor, 1), nextFailure(sensor)})
        EXPECT_EQ((Failure{"incorrectSensorID", 5002713}), failure);
    sensor->sensorType = 52;
    sensor->accessType = TELD_QUERY;
    sensor->pReadStruct = structure;
}

TEST_P(Uncertainties, ReadFilesThatEndTooSoon) {
    putGolden(line);
    line.cut("TPE", firstRecord + 16 + 12 + 8);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    const LogCapture log;
    EXPECT_EQ(0, readCode(sensor, 1, 1));
    EXPECT_EQ(5002725, readCode(sensor, 1, 2));
    EXPECT_EQ(5002725, readCode(sensor, 2, 20));
    EXPECT_EQ(5002725, profileCode(sensor, 2));
    EXPECT_EQ((Lines{{1, shortRead("TPERead(): Unable to read TPE record.")},
                     {1, shortRead("TPERead(): Unable to read TPE Header record.")},
                     {1, shortRead("TPEReadProfile(): Unable to read TPE Profile Header record.")}}),
              log.lines());
    EXPECT_EQ((Failure{"fread() failed", 5002725}), readFailure(sensor, 1, 2));
    EXPECT_EQ((Failure{"fread() failed", 5002725}), profileFailure(sensor, 1, true));
    EXPECT_EQ((Failure{"fread() failed", 5002725}), profileFailure(sensor, 2));
}

TEST_P(Uncertainties, OffsetsThatAreNoPlaceFailAsSeeks) {
    putGolden(line);
    line.patch("TPETmIdx", 52, 0x80000000);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    EXPECT_EQ(5002715, readCode(sensor, 2, 20));
    EXPECT_EQ(5002715, profileCode(sensor, 2));
    EXPECT_EQ((Failure{"fseek() failed", 5002715}), readFailure(sensor, 2, 20));
    TPU::Record record;
    ASSERT_EQ(0, read(sensor, 3, 3, record));
    expectRecord(stored[2][0], record);
}

TEST_P(Uncertainties, RecordsOutOfOrderInTheFileAreReadAllTheSame) {
    putGolden(line);
    const std::string index = line.bytes("TPETmIdx");
    line.patch("TPETmIdx", 44, wordAt(index, 52));
    line.patch("TPETmIdx", 52, wordAt(index, 44));
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    TPU::Record record;
    ASSERT_EQ(0, read(sensor, 1, 21, record));
    expectRecord(stored[1][1], record);
    ASSERT_EQ(0, readSeq(sensor, record));
    expectRecord(stored[1][2], record);
    ASSERT_EQ(0, read(sensor, 2, 2, record));
    expectRecord(stored[0][1], record);
    ASSERT_EQ(0, read(sensor, 3, 3, record));
    expectRecord(stored[2][0], record);
}

TEST(TpeFiles, ReadBackSummaryAndSegments) {
    const Line line;
    putGolden(line);
    // What stands behind the summary's words has no meaning.
    for (std::size_t at = 72; at < firstRecord; at += 4)
        line.patch("TPE", at, 0xCCCCCCCC);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    EXPECT_EQ(0u, sensor.code);
    std::uint32_t segments = 0, profiles = 0, beams = 0, tool1 = 0, tool2 = 0, status = 0;
    double least = 0, most = 0, min1 = 0, max1 = 0, min2 = 0, max2 = 0;
    ASSERT_EQ(0, TPESummary(sensor, &segments, &profiles, &beams, &least, &most, &tool1, &tool2, &min1, &max1,
                            &min2, &max2, &status));
    EXPECT_EQ((std::vector<std::uint32_t>{2, 3, 6, 3, 4, 0x66}),
              (std::vector<std::uint32_t>{segments, profiles, beams, tool1, tool2, status}));
    EXPECT_NEAR(1000000000.0, least, 1e-6);
    EXPECT_NEAR(1000000034.5, most, 1e-6);
    EXPECT_EQ((std::vector<double>{-3.0, 12.5, -0.5, -2147483.546}),
              (std::vector<double>{min1, max1, min2, max2}));
    EXPECT_EQ(0, TPESummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr));
    wchar_t* name = nullptr;
    std::uint32_t first = 0, last = 0;
    ASSERT_EQ(0, TPELineSegment(sensor, 2, &name, &first, &last, &least, &most, &status));
    EXPECT_STREQ(L"b", name);
    SKARIO_free(name);
    EXPECT_EQ((std::vector<std::uint32_t>{3, 3, 0xFFFFFFFF}),
              (std::vector<std::uint32_t>{first, last, status}));
    EXPECT_NEAR(1000000002.0, most, 1e-6);
    EXPECT_EQ(0, TPELineSegment(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5002717, TPELineSegment(sensor, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST(TpeFiles, ExtentsAreRoundedAndRecordsAreCut) {
    const Line line;
    Opened sensor(line.path(), L"create");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    ASSERT_EQ(0, TPEBgnSeqWriteProfile(sensor, 1, 1, 60.0, 0, 0));
    ASSERT_EQ(0, TPESeqWrite(sensor, 60.0, 0.0019, -0.0019, 0));
    ASSERT_EQ(0, sensor.close());
    const std::string bytes = line.bytes("TPE");
    EXPECT_EQ(2u, wordAt(bytes, 56));
    EXPECT_EQ(2u, wordAt(bytes, 60));
    EXPECT_EQ(0xFFFFFFFEu, wordAt(bytes, 64));
    EXPECT_EQ(1u, wordAt(bytes, firstRecord + 20));
    EXPECT_EQ(0xFFFFFFFFu, wordAt(bytes, firstRecord + 24));
}

TEST(TpeFiles, ToldTheirCacheSizeAndOnlyWhenThereIsOne) {
    const Line line;
    putGolden(line);
    for (const char* size : {static_cast<const char*>(nullptr), "0", "-1", "words"}) {
        const CacheSize cacheSize(size);
        const LogCapture log;
        const Opened sensor(line.path(), L"query");
        ASSERT_TRUE(sensor.sensor) << sensor.code;
        EXPECT_EQ(nullptr, sensor->auxiliary);
        EXPECT_TRUE(log.lines().empty());
    }
    const CacheSize cacheSize("7");
    for (const wchar_t* token : {L"query", L"update"}) {
        const LogCapture log;
        const Opened sensor(line.path(), token);
        ASSERT_TRUE(sensor.sensor) << sensor.code;
        EXPECT_NE(nullptr, sensor->auxiliary);
        EXPECT_EQ((Lines{{1, "Block reading enabled.  Block size = 7\n"}}), log.lines());
    }
}

TEST(TpeFiles, EveryFunctionTestsHandleSensorAndAccess) {
    TPU::Record r;
    TPU::Profile p;
    struct Call {
        const char* name;
        std::function<int(_TELD_Sensor*)> call;
        std::wstring allowed;
    };
    const std::vector<Call> calls = {
        {"Summary", [](auto* s) { return TPESummary(s, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0); }, L"cqu"},
        {"LineSegment", [](auto* s) { return TPELineSegment(s, 9, 0, 0, 0, 0, 0, 0); }, L"cqu"},
        {"Read", [](auto* s) { return readCode(s, 1, 1); }, L"qu"},
        {"ReadProfile", [](auto* s) { return profileCode(s, 1); }, L"qu"},
        {"ReadProfileSeq", [&](auto* s) { return readProfileSeq(s, p); }, L"q"},
        {"ReadSeq", [&](auto* s) { return readSeq(s, r); }, L"q"},
        {"BgnSummary", [](auto* s) { return TPEBgnSeqWriteSummary(s, 1, 2); }, L"c"},
        {"BgnSegment", [](auto* s) { return TPEBgnSeqWriteLineSegment(s, L"a"); }, L"c"},
        {"BgnProfile", [](auto* s) { return TPEBgnSeqWriteProfile(s, 0, 1, 0, 0, 0); }, L"c"},
        {"SeqWrite", [](auto* s) { return TPESeqWrite(s, 0, 0, 0, 0); }, L"c"},
        {"EndProfile", [](auto* s) { return TPEEndSeqWriteProfile(s); }, L"c"},
        {"EndSegment", [](auto* s) { return TPEEndSeqWriteLineSegment(s, 0); }, L"c"},
        {"EndSummary", [](auto* s) { return TPEEndSeqWriteSummary(s, 0); }, L"c"},
        {"SetToolType", [](auto* s) { return TPESetToolType(s, 1, 2); }, L"cqu"},
        {"SetSummaryStatus", [](auto* s) { return TPESetSummaryStatus(s, 1); }, L"cqu"},
        {"SetSegmentStatus", [](auto* s) { return TPESetLineSegmentStatus(s, 1, 1); }, L"u"},
    };
    for (const wchar_t* token : {L"create", L"query", L"update"}) {
        const Line line;
        putGolden(line);
        for (const Call& each : calls) {
            const Opened sensor(line.path(), token);
            ASSERT_TRUE(sensor.sensor) << sensor.code;
            EXPECT_EQ(5002712, each.call(nullptr)) << each.name;
            const bool allowed = each.allowed.find(token[0]) != std::wstring::npos;
            EXPECT_EQ(allowed, each.call(sensor) != 5002718) << each.name;
            sensor->sensorType = 4;
            EXPECT_EQ(5002713, each.call(sensor)) << each.name;
            sensor->sensorType = 52;
            if (token[0] == L'c') putGolden(line);
        }
    }
    EXPECT_EQ(5002712, TPEClose(nullptr));
}

TEST(TpeFiles, SetToolTypesAndStatusesInMemory) {
    const Line line;
    putGolden(line);
    const std::string before = line.bytes("TPE");
    {
        const Opened sensor(line.path(), L"update");
        ASSERT_TRUE(sensor.sensor) << sensor.code;
        EXPECT_EQ(0, TPESetToolType(sensor, 11, 12));
        EXPECT_EQ(0, TPESetSummaryStatus(sensor, 13));
        EXPECT_EQ(0, TPESetLineSegmentStatus(sensor, 2, 14));
        EXPECT_EQ(5002717, TPESetLineSegmentStatus(sensor, 3, 14));
        std::uint32_t tool1 = 0, tool2 = 0, status = 0, segment = 0;
        TPESummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, &tool1, &tool2, nullptr, nullptr,
                   nullptr, nullptr, &status);
        TPELineSegment(sensor, 2, nullptr, nullptr, nullptr, nullptr, nullptr, &segment);
        EXPECT_EQ((std::vector<std::uint32_t>{11, 12, 13, 14}),
                  (std::vector<std::uint32_t>{tool1, tool2, status, segment}));
    }
    EXPECT_EQ(before, line.bytes("TPE"));
}

TEST(TpeFiles, ReadersNeedAllOutputs) {
    const Line line;
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    double v = 0;
    std::uint32_t u = 0;
    EXPECT_EQ(-1, TPEReadProfile(sensor, 1, &u, &u, &v, nullptr, &u));
    EXPECT_EQ(-1, TPEReadProfileSeq(sensor, &u, nullptr, &v, &u, &u));
    EXPECT_EQ(-1, TPEReadSeq(sensor, &v, nullptr, &v, &u));
}

TEST(TpeFiles, ValuesWithoutACodingAreRefusedAndNothingIsWritten) {
    const Line line;
    Opened sensor(line.path(), L"create");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(5002722, TPEBgnSeqWriteProfile(sensor, 1, 1, inf, 0, 0));
    EXPECT_EQ(5002722, TPEBgnSeqWriteProfile(sensor, 0x10000, 1, 60.0, 0, 0));
    EXPECT_EQ(5002722, TPEBgnSeqWriteProfile(sensor, 1, 0x10000, 60.0, 0, 0));
    ASSERT_EQ(0, TPEBgnSeqWriteProfile(sensor, 1, 1, 60.0, 0, 0));
    EXPECT_EQ(5002722, TPESeqWrite(sensor, nan, 0, 0, 0));
    EXPECT_EQ(5002722, TPESeqWrite(sensor, 60.0, inf, 0, 0));
    EXPECT_EQ(5002722, TPESeqWrite(sensor, 60.0, 0, nan, 0));
    ASSERT_EQ(0, TPESeqWrite(sensor, 60.0, 1, 2, 0));
    ASSERT_EQ(0, sensor.close());
    EXPECT_EQ(firstRecord + 28, line.bytes("TPE").size());
    EXPECT_EQ(1000u, wordAt(line.bytes("TPE"), 60));
}

TEST(TpeFiles, OpensFailWithTheCodesOfTheirSteps) {
    const Line line;
    EXPECT_EQ(5000046u, Opened(line.path(), L"query").code);
    putGolden(line);
    line.cut("TPE", 80);
    {
        const LogCapture log;
        EXPECT_EQ(5002725u, Opened(line.path(), L"query").code);
        EXPECT_EQ((Lines{{1, shortRead("TPEReadSummary(): Unable to read TPE Header record.")}}),
                  log.lines());
    }
    putGolden(line);
    line.patch("TPE", 4, 4);
    EXPECT_EQ(5000027u, Opened(line.path(), L"query").code);
    putGolden(line);
    line.patch("TPELineSegments", 4, 4);
    EXPECT_EQ(5000029u, Opened(line.path(), L"query").code);
    putGolden(line);
    line.cut("TPELineSegments", 30);
    EXPECT_EQ(5002703u, Opened(line.path(), L"query").code);
    std::filesystem::remove(line.folder() / "TPELineSegments");
    {
        const LogCapture log;
        EXPECT_EQ(5002731u, Opened(line.path(), L"query").code);
        ASSERT_EQ(1u, log.lines().size());
        EXPECT_TRUE(log.lines()[0].text.starts_with("SKAR IO was unable to find the data file '"));
    }
    putGolden(line);
    line.cut("TPETmIdx", 30);
    EXPECT_EQ(5000039u, Opened(line.path(), L"update").code);
    std::filesystem::remove(line.folder() / "TPETmIdx");
    EXPECT_EQ(5000038u, Opened(line.path(), L"update").code);
    EXPECT_EQ(nullptr, TPEOpenDir(line.path().c_str(), L"query", nullptr));
}

TEST(TpeFiles, TheCloseGivesTheCodesOfItsPartsAsTheyStand) {
    const auto closeAfter = [](const std::function<void(FaultBackend&)>& fault) {
        FaultBackend disk;
        disk.put("/survey/p/v/d/l/keep", "");
        Opened sensor(L"/survey/p/v/d/l", L"create");
        EXPECT_TRUE(sensor.sensor) << sensor.code;
        EXPECT_EQ(0, writeGolden(sensor));
        disk.resetCounts();
        fault(disk);
        const LogCapture log;
        const int code = sensor.close();
        for (const Logged& each : log.lines())
            EXPECT_EQ(std::string::npos, each.text.find("file stream before closing"));
        EXPECT_EQ(0, disk.openStreams());
        return code;
    };
    EXPECT_EQ(0, closeAfter([](FaultBackend&) {}));
    EXPECT_EQ(5000028,
              closeAfter([](FaultBackend& disk) { disk.failAt(Op::write, 1, ENOSPC, Repeat::forever); }));
    EXPECT_EQ(5002724,
              closeAfter([](FaultBackend& disk) { disk.failAt(Op::write, 3, ENOSPC, Repeat::once); }));
    EXPECT_EQ(5002733,
              closeAfter([](FaultBackend& disk) { disk.failAt(Op::open, 1, EACCES, Repeat::forever); }));
    EXPECT_EQ(5000038,
              closeAfter([](FaultBackend& disk) { disk.failAt(Op::open, 2, EACCES, Repeat::forever); }));
}

TEST(TpeFiles, ALineWithoutProfilesLeavesNoFile) {
    const Line line;
    Opened sensor(line.path(), L"create");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    ASSERT_EQ(0, sensor.close());
    EXPECT_TRUE(line.files().empty());
    putGolden(line);
    EXPECT_EQ(0, TPERemoveDir(line.path().c_str()));
    EXPECT_TRUE(line.files().empty());
}

TEST(TpeFiles, RecordsCompareAssignAndPrint) {
    const TPU::Record record = made(1.5, 2.25, -3.5, 4);
    TPU::Record other;
    EXPECT_FALSE(record == other);
    other = record;
    EXPECT_TRUE(record == other);
    other.status = 5;
    EXPECT_TRUE(record != other);
    std::ostringstream text;
    text << record;
    EXPECT_EQ("1.5, 2.25, -3.5, 4", text.str());
}

} // namespace
