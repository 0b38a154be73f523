#include "fileio/handle.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/codes.h>
#include <skar/errors.h>
#include <skar/files.h>
#include <skar/paths.h>
#include <skar/slantrange.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

using namespace skar::tests;
namespace SlantRange = SKAR::IO::SlantRange;

namespace {

const std::vector<std::string> files = {"SLRange", "SLRangeLineSegments", "SLRangeTmIdx"};
constexpr std::size_t firstRecord = 52;

struct Opened {
    _TELD_Sensor* sensor;
    std::uint32_t code = 0xEEEEEEEE;
    Opened(const std::wstring& path, const wchar_t* token) {
        SKARIO_Init(0);
        sensor = SLRangeOpenDir(path.c_str(), token, &code);
    }
    ~Opened() {
        if (sensor) SLRangeClose(sensor);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    operator _TELD_Sensor*() const { return sensor; } // NOLINT: stands for the handle
    _TELD_Sensor* operator->() const { return sensor; }
    int close() { return SLRangeClose(std::exchange(sensor, nullptr)); }
};

void putGolden(const Line& line) {
    for (const std::string& file : files)
        line.write(file, golden("slant_range").bytes(file).string());
}

// Writes the golden line; the first code that is not 0.
int writeGolden(_TELD_Sensor* sensor) {
    int first = 0;
    const auto note = [&](int code) {
        if (first == 0) first = code;
    };
    note(SLRangeBgnSeqWriteSummary(sensor, 9));
    note(SLRangeBgnSeqWriteLineSegment(sensor, L"0001.all"));
    note(SLRangeBgnSeqWriteProfile(sensor, 3, 1, 1000000000.25, 0.7853982, -1.25, 0x80000001));
    note(SLRangeSeqWrite(sensor, 1000000000.35, 12.3456, 0.0000019, 0.5, -0.00005, 0x00010000));
    note(SLRangeSeqWrite(sensor, 1000000000.0, -0.0005, -0.0000019, 3.2768, -3.3, 0xFFFF0000));
    note(SLRangeSeqWrite(sensor, 1000000033.25, 2000000.5, 1.5, 0.0, 0.12345, 0));
    note(SLRangeEndSeqWriteProfile(sensor));
    note(SLRangeBgnSeqWriteProfile(sensor, 2, 20, 1000000001.5, 0.0, 3.1415927, 0));
    note(SLRangeSeqWrite(sensor, 1000000001.5, -2000000.5, 0.25, -1.5, 1.5, 0x00080000));
    note(SLRangeSeqWrite(sensor, 1000000001.501, 50.0, 0.0, 0.0, 0.0, 0));
    note(SLRangeEndSeqWriteLineSegment(sensor, 4));
    note(SLRangeBgnSeqWriteLineSegment(sensor, L"b"));
    note(SLRangeBgnSeqWriteProfile(sensor, 0, 1, 1000000002.0, -0.5, 0.5, 7));
    note(SLRangeEndSeqWriteLineSegment(sensor, 0xFFFFFFFF));
    note(SLRangeEndSeqWriteSummary(sensor, 0x55));
    return first;
}

// What comes back of the golden beams, profile by profile.
const std::vector<std::vector<SlantRange::Range>> stored = {
    {{1000000000.35, 12.346, 0.000001, 0.5, -0.0001, 0x00010000},
     {1000000000.0, -0.001, -0.000001, -3.2768, 3.2536, 0xFFFF0000},
     {999999967.714, 2147483.647, 1.5, 0.0, 0.1235, 0}},
    {{1000000001.5, -2147483.648, 0.25, -1.5, 1.5, 0x00080000}, {1000000001.501, 50.0, 0.0, 0.0, 0.0, 0}},
    {}};

void expectRange(const SlantRange::Range& wanted, const SlantRange::Range& got) {
    EXPECT_NEAR(wanted.time, got.time, 1e-6);
    EXPECT_DOUBLE_EQ(wanted.range, got.range);
    EXPECT_DOUBLE_EQ(wanted.travel, got.travel);
    EXPECT_DOUBLE_EQ(wanted.angle1, got.angle1);
    EXPECT_DOUBLE_EQ(wanted.angle2, got.angle2);
    EXPECT_EQ(wanted.status, got.status);
}

int read(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam, SlantRange::Range& r) {
    return SLRangeRead(sensor, profile, beam, &r.time, &r.range, &r.travel, &r.angle1, &r.angle2, &r.status);
}
int readSeq(_TELD_Sensor* sensor, SlantRange::Range& r) {
    return SLRangeReadSeq(sensor, &r.time, &r.range, &r.travel, &r.angle1, &r.angle2, &r.status);
}
int readProfileSeq(_TELD_Sensor* sensor, SlantRange::Profile& p) {
    return SLRangeReadProfileSeq(sensor, &p.numDepths, &p.startBeam, &p.time, &p.latitude, &p.longitude,
                                 &p.status);
}
int readProfile(_TELD_Sensor* sensor, std::uint32_t profile) {
    return SLRangeReadProfile(sensor, profile, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}
int readCode(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam) {
    SlantRange::Range unused;
    return read(sensor, profile, beam, unused);
}

struct Failure {
    std::string key;
    long code = 0;
    bool operator==(const Failure&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Failure& failure) {
    return out << failure.key << ' ' << failure.code;
}
template <class Error>
Failure failureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const Error& error) {
        const std::string* key =
            boost::get_error_info<bathy::error::BathyException::tag_additional_details>(error);
        const std::string prefix = "errorMessages/SKARio/SlantRange/";
        std::string text = key ? *key : "";
        if (text.starts_with(prefix)) text.erase(0, prefix.size());
        return {text, skar::errors::codeOf(error)};
    }
    return {"nothing thrown", 0};
}
Failure readFailure(_TELD_Sensor* sensor, int profile, int beam) {
    return failureOf<SKAR::SlantRangeReadError>([&] {
        SlantRange::Range range;
        SlantRange::Read(*sensor, profile, beam, range);
    });
}
Failure profileFailure(_TELD_Sensor* sensor, int profile, bool withDepths = false) {
    return failureOf<SKAR::SlantRangeReadError>([&] {
        SlantRange::Profile result;
        SlantRange::ReadProfile(*sensor, profile, result, withDepths);
    });
}
Failure openFailure(const std::wstring& path, const wchar_t* token) {
    SKARIO_Init(0);
    return failureOf<SKAR::SlantRangeOpenError>([&] { SLRangeClose(SlantRange::Open(path.c_str(), token)); });
}

TEST(SlantRanges, AreWrittenByteForByte) {
    const Line line;
    Opened sensor(line.path(), L"create");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    ASSERT_EQ(0, writeGolden(sensor));
    ASSERT_EQ(0, sensor.close());
    for (const std::string& file : files)
        EXPECT_TRUE(same(golden("slant_range").bytes(file), line.bytes(file))) << file;
}

TEST(SlantRanges, ReadBackSummaryAndSegments) {
    const Line line;
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    EXPECT_EQ(0u, sensor.code);
    std::uint32_t tool = 0, segments = 0, profiles = 0, beams = 0, status = 0;
    double least = 0, most = 0;
    ASSERT_EQ(0, SLRangeSummary(sensor, &tool, &segments, &profiles, &beams, &least, &most, &status));
    EXPECT_EQ((std::vector<std::uint32_t>{9, 2, 3, 5, 0x55}),
              (std::vector<std::uint32_t>{tool, segments, profiles, beams, status}));
    EXPECT_NEAR(1000000000.0, least, 1e-6);
    EXPECT_NEAR(1000000033.25, most, 1e-6);
    EXPECT_EQ(0, SLRangeSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));

    wchar_t* name = nullptr;
    std::uint32_t first = 0, last = 0;
    ASSERT_EQ(0, SLRangeLineSegment(sensor, 1, &name, &first, &last, &least, &most, &status));
    EXPECT_STREQ(L"0001.all", name);
    SKARIO_free(name);
    EXPECT_EQ((std::vector<std::uint32_t>{1, 2, 4}), (std::vector<std::uint32_t>{first, last, status}));
    EXPECT_NEAR(1000000000.0, least, 1e-6);
    EXPECT_NEAR(1000000033.25, most, 1e-6);
    EXPECT_EQ(0, SLRangeLineSegment(sensor, 2, nullptr, &first, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(3u, first);
    EXPECT_EQ(5001917, SLRangeLineSegment(sensor, 3, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST(SlantRanges, ReadByNumberInEveryOrder) {
    const Line line;
    putGolden(line);
    for (const wchar_t* token : {L"query", L"update"}) {
        const Opened sensor(line.path(), token);
        ASSERT_TRUE(sensor.sensor) << sensor.code;
        const std::vector<std::pair<std::uint32_t, std::uint32_t>> order = {
            {1, 1}, {1, 2}, {1, 3}, {2, 20}, {2, 21}, {1, 3}, {1, 3}, {2, 21}, {1, 1}};
        for (const auto& [profile, beam] : order) {
            SlantRange::Range got;
            ASSERT_EQ(0, read(sensor, profile, beam, got)) << profile << ' ' << beam;
            expectRange(stored[profile - 1][beam - (profile == 2 ? 20 : 1)], got);
            SlantRange::Range thrown;
            SlantRange::Read(*sensor, static_cast<int>(profile), static_cast<int>(beam), &thrown.time,
                             &thrown.range, &thrown.travel, &thrown.angle1, &thrown.angle2, &thrown.status);
            expectRange(got, thrown);
        }
        EXPECT_EQ(0, SLRangeRead(sensor, 1, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    }
}

TEST(SlantRanges, ReadProfilesWithAndWithoutTheirBeams) {
    const Line line;
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    SlantRange::Profile profile;
    SlantRange::ReadProfile(*sensor, 2, profile, true);
    ASSERT_EQ(2u, profile.ranges.size());
    for (std::size_t i = 0; i < 2; ++i)
        expectRange(stored[1][i], profile.ranges[i]);
    SlantRange::ReadProfile(*sensor, 1, profile, false);
    EXPECT_EQ(2u, profile.ranges.size());
    EXPECT_EQ(3u, profile.numDepths);
    EXPECT_EQ(1u, profile.startBeam);
    EXPECT_DOUBLE_EQ(0.7853982, profile.latitude);
    EXPECT_DOUBLE_EQ(-1.25, profile.longitude);
    EXPECT_NEAR(1000000000.25, profile.time, 1e-6);
    EXPECT_EQ(0x80000001u, profile.status);
    int beams = 0, start = 0;
    double longitude = 0;
    SlantRange::ReadProfile(*sensor, 2, &beams, &start, nullptr, nullptr, &longitude, nullptr);
    EXPECT_EQ(2, beams);
    EXPECT_EQ(20, start);
    EXPECT_DOUBLE_EQ(3.1415927, longitude);
    std::uint32_t count = 9, status = 0;
    EXPECT_EQ(0, SLRangeReadProfile(sensor, 3, &count, nullptr, nullptr, nullptr, nullptr, &status));
    EXPECT_EQ(0u, count);
    EXPECT_EQ(7u, status);
}

TEST(SlantRanges, ReadInOrderAndThenByNumber) {
    const Line line;
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    for (const auto& beams : stored) {
        SlantRange::Profile profile;
        ASSERT_EQ(0, readProfileSeq(sensor, profile));
        ASSERT_EQ(beams.size(), profile.numDepths);
        for (const auto& wanted : beams) {
            SlantRange::Range got;
            ASSERT_EQ(0, readSeq(sensor, got));
            expectRange(wanted, got);
        }
    }
    SlantRange::Profile none;
    SlantRange::Range range;
    EXPECT_EQ(5001925, readProfileSeq(sensor, none));
    EXPECT_EQ(5001925, readSeq(sensor, range));
    ASSERT_EQ(0, read(sensor, 1, 1, range));
    ASSERT_EQ(0, readSeq(sensor, range));
    expectRange(stored[0][1], range);
    ASSERT_EQ(0, read(sensor, 1, 2, range));
    expectRange(stored[0][1], range);
    ASSERT_EQ(0, readProfile(sensor, 2));
    ASSERT_EQ(0, readSeq(sensor, range));
    expectRange(stored[1][0], range);
}

TEST(SlantRanges, ARefusedReadByNumberLeavesTheSequentialReadersInPlace) {
    const Line line;
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    SlantRange::Profile profile;
    SlantRange::Range range;
    ASSERT_EQ(0, readProfileSeq(sensor, profile));
    ASSERT_EQ(0, readSeq(sensor, range));
    EXPECT_EQ(5001919, readCode(sensor, 2, 22));
    EXPECT_EQ(5001919, readCode(sensor, 0, 1));
    EXPECT_EQ(5000037, readProfile(sensor, 4));
    ASSERT_EQ(0, readSeq(sensor, range));
    expectRange(stored[0][1], range);
}

TEST(SlantRanges, TestTheAccessBeforeTheStructure) {
    const Line line;
    Opened sensor(line.path(), L"create");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    void* structure = std::exchange(sensor->pReadStruct, nullptr);
    EXPECT_EQ((Failure{"invalidAccessType", 5001918}), readFailure(sensor, 1, 1));
    sensor->accessType = TELD_QUERY;
    EXPECT_EQ((Failure{"internalReadStructInvalid", -1}), readFailure(sensor, 1, 1));
    EXPECT_EQ((Failure{"internalReadStructInvalid", -1}), profileFailure(sensor, 1));
    sensor->sensorType = 4;
    EXPECT_EQ((Failure{"incorrectSensorID", 5001913}), readFailure(sensor, 1, 1));
    sensor->sensorType = 30;
    SlantRange::Range range;
    EXPECT_EQ(-1, readSeq(sensor, range));
    EXPECT_EQ(-1, SLRangeBgnSeqWriteProfile(sensor, 1, 1, 0, 0, 0, 0));
    EXPECT_EQ(-1, SLRangeUpdateStatus(sensor, 1, 1, 0));
    sensor->pReadStruct = structure;
    sensor->accessType = TELD_CREATE;
}

TEST(SlantRanges, HoldTheProfileAgainstTheNumberOfBeams) {
    const Line line;
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    EXPECT_EQ((Failure{"computeByteOffsetFailed", 5000037}), readFailure(sensor, 4, 1));
    EXPECT_EQ((Failure{"computeByteOffsetFailed", 5000037}), profileFailure(sensor, 5));
    EXPECT_EQ((Failure{"profileIndexRange", 5001919}), readFailure(sensor, 6, 1));
    EXPECT_EQ((Failure{"profileIndexRange", 5001919}), readFailure(sensor, 0, 1));
    EXPECT_EQ((Failure{"profileIndexRange", 5001919}), profileFailure(sensor, -1));
    EXPECT_EQ((Failure{"depthIndexRange", 5001919}), readFailure(sensor, 1, 0));
    EXPECT_EQ((Failure{"depthIndexRange", 5001919}), readFailure(sensor, 1, 4));
    EXPECT_EQ((Failure{"depthIndexRange", 5001919}), readFailure(sensor, 2, 19));
    EXPECT_EQ((Failure{"depthIndexRange", 5001919}), readFailure(sensor, 3, 1));
    EXPECT_EQ(5000037, readCode(sensor, 4, 1));
    EXPECT_EQ(5001919, readCode(sensor, 1, 4));
}

TEST(SlantRanges, ARefusedBeamTellsTheProfilesBeams) {
    const Line line;
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    try {
        SlantRange::Range range;
        SlantRange::Read(*sensor, 2, 25, range);
        FAIL() << "nothing thrown";
    } catch (const SKAR::SlantRangeReadError& error) {
        EXPECT_EQ(2u, *boost::get_error_info<SKAR::profile_number_info>(error));
        EXPECT_EQ(25u, *boost::get_error_info<SKAR::beam_number_info>(error));
        EXPECT_EQ(20u, *boost::get_error_info<SKAR::start_beam_number_info>(error));
        EXPECT_EQ(21u, *boost::get_error_info<SKAR::max_beam_number_info>(error));
    }
}

TEST(SlantRanges, ReadFilesThatEndTooSoon) {
    const Line line;
    putGolden(line);
    line.cut("SLRange", firstRecord + 20 + 16 + 8);
    {
        const Opened sensor(line.path(), L"query");
        ASSERT_TRUE(sensor.sensor) << sensor.code;
        EXPECT_EQ((Failure{"nothing thrown", 0}), readFailure(sensor, 1, 1));
        EXPECT_EQ((Failure{"freadRecordFailed", 5001925}), readFailure(sensor, 1, 2));
        EXPECT_EQ((Failure{"freadRecordFailed", 5001925}), profileFailure(sensor, 1, true));
        EXPECT_EQ((Failure{"freadProfileFailed", 5001925}), readFailure(sensor, 2, 20));
        EXPECT_EQ((Failure{"freadProfileFailed", 5001925}), profileFailure(sensor, 2));
    }
    Opened update(line.path(), L"update");
    ASSERT_TRUE(update.sensor) << update.code;
    EXPECT_EQ(5001925, SLRangeUpdateStatus(update, 1, 2, 0));
    EXPECT_EQ(5001925, SLRangeUpdateStatus(update, 2, 20, 0));
}

TEST(SlantRanges, OffsetsThatAreNoPlaceFailAsSeeks) {
    const Line line;
    putGolden(line);
    line.patch("SLRangeTmIdx", 44, 0x80000000);
    const Opened sensor(line.path(), L"update");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    EXPECT_EQ((Failure{"fseekProfileFailed", 5001915}), readFailure(sensor, 1, 1));
    EXPECT_EQ((Failure{"fseekProfileFailed", 5001915}), profileFailure(sensor, 1));
    EXPECT_EQ(5001915, SLRangeUpdateStatus(sensor, 1, 1, 0));
}

TEST(SlantRanges, UndecodedRecordsHaveTheirOwnKeys) {
    const Line line;
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    ASSERT_EQ(0, readCode(sensor, 1, 1));
    sensor->decodeXDRStream.x_op = 0;
    EXPECT_EQ((Failure{"decodeRecordFailed", 5001921}), readFailure(sensor, 1, 2));
    EXPECT_EQ((Failure{"decodeProfileFailed", 5001921}), readFailure(sensor, 1, 1));
    SlantRange::Profile profile;
    EXPECT_EQ(5001921, readProfileSeq(sensor, profile));
    sensor->decodeXDRStream.x_op = 1;
}

TEST(SlantRanges, AStatusChangesInItsPlaceAndKeepsTheTimeOffset) {
    const Line line;
    putGolden(line);
    Bytes expected = golden("slant_range").bytes("SLRange");
    {
        Opened sensor(line.path(), L"update");
        ASSERT_TRUE(sensor.sensor) << sensor.code;
        ASSERT_EQ(0, readCode(sensor, 1, 1));
        EXPECT_EQ(0, SLRangeUpdateStatus(sensor, 1, 2, 0x12340000));
        SlantRange::Range range;
        ASSERT_EQ(0, read(sensor, 1, 2, range));
        EXPECT_EQ(0x12340000u, range.status);
        EXPECT_NEAR(1000000000.0, range.time, 1e-6);
        EXPECT_EQ(0, SLRangeUpdateStatus(sensor, 2, 21, 0xABCD0000));
        EXPECT_EQ(5001919, SLRangeUpdateStatus(sensor, 0, 1, 0));
        EXPECT_EQ(5001919, SLRangeUpdateStatus(sensor, 4, 1, 0));
        EXPECT_EQ(5001919, SLRangeUpdateStatus(sensor, 2, 22, 0));
        EXPECT_EQ(5001919, SLRangeUpdateStatus(sensor, 2, 19, 0));
        EXPECT_EQ(0, sensor.close());
    }
    std::string bytes = expected.string();
    bytes = withWord(bytes, firstRecord + 20 + 16, 0x1234FF06);
    bytes = withWord(bytes, firstRecord + 20 + 48 + 20 + 16, 0xABCD0001);
    EXPECT_EQ(hex(bytes), hex(line.bytes("SLRange")));
}

TEST(SlantRanges, OtherVersionsAreReadButNotUpdated) {
    const Line line;
    putGolden(line);
    line.patch("SLRange", 12, 7);
    const std::string before = line.bytes("SLRange");
    {
        const Opened sensor(line.path(), L"update");
        ASSERT_TRUE(sensor.sensor) << sensor.code;
        SlantRange::Range range;
        ASSERT_EQ(0, read(sensor, 2, 20, range));
        expectRange(stored[1][0], range);
        EXPECT_EQ(0, SLRangeUpdateStatus(sensor, 1, 1, 0x55550000));
        EXPECT_EQ(0, SLRangeUpdateStatus(sensor, 99, 1, 0));
    }
    EXPECT_EQ(before, line.bytes("SLRange"));
}

TEST(SlantRanges, EveryFunctionTestsHandleSensorAndAccess) {
    SlantRange::Range r;
    SlantRange::Profile p;
    struct Call {
        const char* name;
        std::function<int(_TELD_Sensor*)> call;
        std::wstring allowed;
    };
    const std::vector<Call> calls = {
        {"Summary", [](auto* s) { return SLRangeSummary(s, 0, 0, 0, 0, 0, 0, 0); }, L"cqu"},
        {"LineSegment", [](auto* s) { return SLRangeLineSegment(s, 9, 0, 0, 0, 0, 0, 0); }, L"cqu"},
        {"Read", [](auto* s) { return readCode(s, 1, 1); }, L"qu"},
        {"ReadProfile", [](auto* s) { return readProfile(s, 1); }, L"qu"},
        {"ReadProfileSeq", [&](auto* s) { return readProfileSeq(s, p); }, L"q"},
        {"ReadSeq", [&](auto* s) { return readSeq(s, r); }, L"q"},
        {"BgnSummary", [](auto* s) { return SLRangeBgnSeqWriteSummary(s, 1); }, L"c"},
        {"BgnSegment", [](auto* s) { return SLRangeBgnSeqWriteLineSegment(s, L"a"); }, L"c"},
        {"BgnProfile", [](auto* s) { return SLRangeBgnSeqWriteProfile(s, 0, 1, 0, 0, 0, 0); }, L"c"},
        {"SeqWrite", [](auto* s) { return SLRangeSeqWrite(s, 0, 0, 0, 0, 0, 0); }, L"c"},
        {"EndProfile", [](auto* s) { return SLRangeEndSeqWriteProfile(s); }, L"c"},
        {"EndSegment", [](auto* s) { return SLRangeEndSeqWriteLineSegment(s, 0); }, L"c"},
        {"EndSummary", [](auto* s) { return SLRangeEndSeqWriteSummary(s, 0); }, L"c"},
        {"SetToolType", [](auto* s) { return SLRangeSetToolType(s, 1); }, L"cqu"},
        {"SetSummaryStatus", [](auto* s) { return SLRangeSetSummaryStatus(s, 1); }, L"cqu"},
        {"SetSegmentStatus", [](auto* s) { return SLRangeSetLineSegmentStatus(s, 1, 1); }, L"u"},
        {"SetSourceFileName", [](auto* s) { return SLRangeSetSourceFileName(s, L"x"); }, L"u"},
        {"UpdateStatus", [](auto* s) { return SLRangeUpdateStatus(s, 1, 1, 0); }, L"u"},
    };
    for (const wchar_t* token : {L"create", L"query", L"update"}) {
        const Line line;
        putGolden(line);
        for (const Call& each : calls) {
            const Opened sensor(line.path(), token);
            ASSERT_TRUE(sensor.sensor) << sensor.code;
            EXPECT_EQ(5001912, each.call(nullptr)) << each.name;
            const bool allowed = each.allowed.find(token[0]) != std::wstring::npos;
            EXPECT_EQ(allowed, each.call(sensor) != 5001918) << each.name;
            sensor->sensorType = 4;
            EXPECT_EQ(5001913, each.call(sensor)) << each.name;
            sensor->sensorType = 30;
            if (token[0] == L'c') putGolden(line);
        }
    }
    EXPECT_EQ(5001912, SLRangeClose(nullptr));
}

TEST(SlantRanges, SequentialReadersNeedAllOutputs) {
    const Line line;
    putGolden(line);
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    double v = 0;
    std::uint32_t u = 0;
    EXPECT_EQ(-1, SLRangeReadProfileSeq(sensor, &u, &u, &v, nullptr, &v, &u));
    EXPECT_EQ(-1, SLRangeReadSeq(sensor, &v, &v, nullptr, &v, &v, &u));
    SlantRange::Profile profile;
    ASSERT_EQ(0, readProfileSeq(sensor, profile));
    EXPECT_EQ(3u, profile.numDepths);
}

TEST(SlantRanges, ValuesWithoutACodingAreRefusedAndNothingIsWritten) {
    const Line line;
    Opened sensor(line.path(), L"create");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(5001922, SLRangeBgnSeqWriteProfile(sensor, 1, 1, nan, 0, 0, 0));
    EXPECT_EQ(5001922, SLRangeBgnSeqWriteProfile(sensor, 1, 1, 60.0, inf, 0, 0));
    EXPECT_EQ(5001922, SLRangeBgnSeqWriteProfile(sensor, 0x10000, 1, 60.0, 0, 0, 0));
    EXPECT_EQ(5001922, SLRangeBgnSeqWriteProfile(sensor, 1, 0x10000, 60.0, 0, 0, 0));
    ASSERT_EQ(0, SLRangeBgnSeqWriteProfile(sensor, 1, 0xFFFF, 60.0, 0, 0, 0));
    EXPECT_EQ(5001922, SLRangeSeqWrite(sensor, inf, 0, 0, 0, 0, 0));
    EXPECT_EQ(5001922, SLRangeSeqWrite(sensor, 60.0, nan, 0, 0, 0, 0));
    EXPECT_EQ(5001922, SLRangeSeqWrite(sensor, 60.0, 0, 1e300, 0, 0, 0));
    EXPECT_EQ(5001922, SLRangeSeqWrite(sensor, 60.0, 0, 0, nan, 0, 0));
    EXPECT_EQ(5001922, SLRangeSeqWrite(sensor, 60.0, 0, 0, 0, -inf, 0));
    // Travel has no clamp: what goes beyond the word keeps its low 32 bits.
    ASSERT_EQ(0, SLRangeSeqWrite(sensor, 60.0, 0, 4294.967297, 0, 0, 0));
    ASSERT_EQ(0, sensor.close());
    const std::string bytes = line.bytes("SLRange");
    EXPECT_EQ(firstRecord + 36, bytes.size());
    EXPECT_EQ(1u, wordAt(bytes, 24));
    EXPECT_EQ(1u, wordAt(bytes, 28));
    EXPECT_EQ(1u, wordAt(bytes, firstRecord + 20 + 8));
}

TEST(SlantRanges, ALineWithoutProfilesLeavesNoFile) {
    const Line line;
    Opened sensor(line.path(), L"create");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    ASSERT_EQ(0, SLRangeBgnSeqWriteSummary(sensor, 1));
    ASSERT_EQ(0, sensor.close());
    EXPECT_TRUE(line.files().empty());
}

TEST(SlantRanges, TheSourceFileNameOfAllSegmentsIsReplacedOnDisk) {
    const Line line;
    putGolden(line);
    {
        const Opened sensor(line.path(), L"update");
        ASSERT_TRUE(sensor.sensor) << sensor.code;
        EXPECT_EQ(5001930, SLRangeSetSourceFileName(sensor, nullptr));
        EXPECT_EQ(5001917, SLRangeSetLineSegmentStatus(sensor, 3, 1));
        EXPECT_EQ(0, SLRangeSetLineSegmentStatus(sensor, 2, 0x77));
        EXPECT_EQ(0, SLRangeSetSourceFileName(sensor, L"neu.all"));
    }
    const Opened sensor(line.path(), L"query");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    for (std::uint32_t n = 1; n <= 2; ++n) {
        wchar_t* name = nullptr;
        std::uint32_t status = 0;
        ASSERT_EQ(0, SLRangeLineSegment(sensor, n, &name, nullptr, nullptr, nullptr, nullptr, &status));
        EXPECT_STREQ(L"neu.all", name);
        EXPECT_EQ(n == 1 ? 4u : 0x77u, status);
        SKARIO_free(name);
    }
}

TEST(SlantRanges, OpensFailUnderTheKeysOfTheFamily) {
    const Line line;
    EXPECT_EQ((Failure{"openFailed", 5000025}), openFailure(L"/nowhere/at/all", L"query"));
    EXPECT_EQ((Failure{"openFailed", 5000046}), openFailure(line.path(), L"query"));
    EXPECT_EQ((Failure{"openFailed", 5000021}), openFailure(line.path(), L"append"));
    putGolden(line);
    line.cut("SLRange", 40);
    EXPECT_EQ((Failure{"", 5001906}), openFailure(line.path(), L"query"));
    putGolden(line);
    line.patch("SLRange", 4, 4);
    EXPECT_EQ((Failure{"", 5001906}), openFailure(line.path(), L"query"));
    putGolden(line);
    line.patch("SLRangeLineSegments", 4, 4);
    EXPECT_EQ((Failure{"validationReadFailed", 5001903}), openFailure(line.path(), L"query"));
    putGolden(line);
    line.cut("SLRangeLineSegments", 30);
    EXPECT_EQ((Failure{"validationReadFailed", 5001903}), openFailure(line.path(), L"update"));
    std::filesystem::remove(line.folder() / "SLRangeLineSegments");
    EXPECT_EQ((Failure{"validationReadFailed", 5001903}), openFailure(line.path(), L"query"));
    putGolden(line);
    line.cut("SLRangeTmIdx", 30);
    EXPECT_EQ((Failure{"timeIndexReadFailed", 5000039}), openFailure(line.path(), L"query"));
    std::filesystem::remove(line.folder() / "SLRangeTmIdx");
    EXPECT_EQ((Failure{"timeIndexReadFailed", 5000038}), openFailure(line.path(), L"query"));
    EXPECT_EQ(5000038u, Opened(line.path(), L"query").code);
}

TEST(SlantRanges, AValidationRecordThatCannotBeWrittenFailsTheOpen) {
    FaultBackend disk;
    disk.put("/survey/p/v/d/l/keep", "");
    disk.failAt(Op::write, 1, ENOSPC, Repeat::forever);
    EXPECT_EQ((Failure{"writeValidationFailed", 5000028}), openFailure(L"/survey/p/v/d/l", L"create"));
    EXPECT_EQ(0, disk.openStreams());
}

TEST(SlantRanges, WhatCannotBeWrittenIsReportedByTheClose) {
    const std::wstring path = L"/survey/p/v/d/l";
    const std::string data = "/survey/p/v/d/l/SLRange";
    std::size_t operations = 0;
    for (std::size_t n = 0; n == 0 || n <= operations; ++n) {
        FaultBackend disk;
        disk.put("/survey/p/v/d/l/keep", "");
        if (n != 0) disk.failAt(n, EIO);
        int code = 0;
        {
            Opened sensor(path, L"create");
            if (!sensor.sensor) {
                EXPECT_NE(0u, sensor.code);
                EXPECT_EQ(0, disk.openStreams());
                continue;
            }
            code = writeGolden(sensor);
            const int closed = sensor.close();
            if (code == 0) code = closed;
        }
        EXPECT_EQ(0, disk.openStreams()) << n;
        if (n == 0) operations = disk.operations();
        if (code == 0) {
            for (const std::string& file : files)
                EXPECT_EQ(golden("slant_range").bytes(file).string(), disk.bytes("/survey/p/v/d/l/" + file))
                    << n << file;
        }
    }
    EXPECT_GT(operations, 5u);
}

TEST(SlantRanges, TheStreamErrorIsLoggedBeforeClosing) {
    FaultBackend disk;
    disk.put("/survey/p/v/d/l/keep", "");
    Opened sensor(L"/survey/p/v/d/l", L"create");
    ASSERT_TRUE(sensor.sensor) << sensor.code;
    ASSERT_EQ(0, writeGolden(sensor));
    disk.failAt(Op::write, 1, ENOSPC, Repeat::forever);
    const LogCapture log;
    EXPECT_EQ(5001905, sensor.close());
    bool found = false;
    for (const Logged& each : log.lines())
        found |= each.level == 2 &&
                 each.text.starts_with("There is an error in the SLRange file stream before closing ");
    EXPECT_TRUE(found);
}

TEST(SlantRanges, RemovingTakesTheWholeSet) {
    const Line line;
    putGolden(line);
    EXPECT_EQ(0, SLRangeRemoveDir(line.path().c_str()));
    EXPECT_TRUE(line.files().empty());
    EXPECT_EQ(0, SLRangeRemoveDir(line.path().c_str()));
}

} // namespace
