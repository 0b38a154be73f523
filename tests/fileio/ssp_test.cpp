#include "fileio/family.h"
#include "fileio/xdr.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/errors.h>
#include <skar/paths.h>
#include <skar/simplesensor.h>
#include <skar/ssp.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <sstream>

// What SSP has of its own. What it shares with the other families is tested for all of them at once.
namespace {

using namespace skar::tests;
using SKAR::IO::SSP::ReadNext;
using Record = SKAR::IO::SSP::Record;

constexpr int ok = 0;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

Record made(double time, double value1, double value2, std::uint32_t status) {
    Record record;
    record.time = time;
    record.value1 = value1;
    record.value2 = value2;
    record.status = status;
    return record;
}

class Ssp : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(ok, SKARIO_Init(0)); }
    void TearDown() override {
        if (sensor) {
            EXPECT_EQ(ok, SspClose(sensor));
        }
    }

    Line line;
    std::uint32_t code = 0;
    _TELD_Sensor* sensor = nullptr;

    bool open(const wchar_t* token) {
        if (sensor) close();
        sensor = SspOpenDir(line.path().c_str(), token, &code);
        return sensor != nullptr;
    }
    int close() {
        _TELD_Sensor* ended = sensor;
        sensor = nullptr;
        return SspClose(ended);
    }
    int write(const Record& record) {
        return SspSeqWrite(sensor, record.time, record.value1, record.value2, record.status);
    }
    int read(std::uint32_t number, Record& record) {
        return SspRead(sensor, number, &record.time, &record.value1, &record.value2, &record.status);
    }
    int readSeq(Record& record) {
        return SspReadSeq(sensor, &record.time, &record.value1, &record.value2, &record.status);
    }
    void putGolden() {
        for (const char* file : {"SSP", "SSPLineSegments", "SSPTmIdx"})
            line.write(file, golden("ssp").bytes(file).string());
    }
    // A line of records with the values 1 to count.
    void putRecords(std::uint32_t count) {
        ASSERT_TRUE(open(L"create"));
        ASSERT_EQ(ok, SspBgnSeqWriteLineSegment(sensor, L"a"));
        for (std::uint32_t n = 1; n <= count; ++n)
            ASSERT_EQ(ok, write(made(6e8 + n, n, 2 * n, n)));
        ASSERT_EQ(ok, SspEndSeqWriteLineSegment(sensor, 0));
        ASSERT_EQ(ok, close());
    }
};

const Record goldenRecords[] = {made(1e9 + 12.345, 1500.2, 0.0, 1),
                                made(1e9 + 13.5, 1499.0, 6552.6, 0x80000000),
                                made(1e9 - 70.001, 6553.5, 0.0, 0xFFFFFFFF)};

TEST_F(Ssp, WritesTheGoldenSet) {
    ASSERT_TRUE(open(L"create"));
    EXPECT_EQ(ok, SspBgnSeqWriteSummary(sensor));
    EXPECT_EQ(ok, SspBgnSeqWriteLineSegment(sensor, L"0001.ssp"));
    EXPECT_EQ(ok, SspSeqWrite(sensor, 1e9 + 12.345, 1500.27, 0.0, 1));
    EXPECT_EQ(ok, SspSeqWrite(sensor, 1e9 + 13.5, 1499.0, -1.0, 0x80000000));
    EXPECT_EQ(ok, SspEndSeqWriteLineSegment(sensor, 0x40000000));
    EXPECT_EQ(ok, SspBgnSeqWriteLineSegment(sensor, L"\u00DCbung.ssp"));
    EXPECT_EQ(ok, SspSeqWrite(sensor, 1e9 - 70.001, 6553.5, 6553.6, 0xFFFFFFFF));
    EXPECT_EQ(ok, SspEndSeqWriteLineSegment(sensor, 9));
    EXPECT_EQ(ok, SspEndSeqWriteSummary(sensor, 11));
    ASSERT_EQ(ok, close());
    for (const char* file : {"SSP", "SSPLineSegments", "SSPTmIdx"})
        EXPECT_TRUE(same(golden("ssp").bytes(file), line.bytes(file))) << file;
}

TEST_F(Ssp, ReadsTheGoldenSet) {
    putGolden();
    for (const wchar_t* token : {L"query", L"update"}) {
        ASSERT_TRUE(open(token)) << code;
        EXPECT_EQ(54u, sensor->sensorType);
        Record record;
        for (const std::uint32_t n : {1u, 2u, 3u, 2u, 1u}) {
            ASSERT_EQ(ok, read(n, record));
            EXPECT_EQ(goldenRecords[n - 1], record) << n << ": " << record;
        }
        std::uint32_t segments = 0, records = 0, status = 0;
        double minTime = 0, maxTime = 0, least = 0, most = 0;
        ASSERT_EQ(ok, SspSummary(sensor, &segments, &records, &minTime, &maxTime, &least, &most, &status));
        EXPECT_EQ(2u, segments);
        EXPECT_EQ(3u, records);
        EXPECT_DOUBLE_EQ(1e9 - 70.001, minTime);
        EXPECT_DOUBLE_EQ(1e9 + 13.5, maxTime);
        EXPECT_EQ(1499.0, least);
        EXPECT_EQ(6553.5, most);
        EXPECT_EQ(11u, status);
        EXPECT_EQ(ok, SspSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));

        wchar_t* name = nullptr;
        std::uint32_t begin = 0, end = 0;
        ASSERT_EQ(ok,
                  SspLineSegment(sensor, 2, &name, &begin, &end, &minTime, &maxTime, &least, &most, &status));
        EXPECT_STREQ(L"\u00DCbung.ssp", name);
        SKARIO_free(name);
        EXPECT_EQ(3u, begin);
        EXPECT_EQ(3u, end);
        EXPECT_DOUBLE_EQ(1e9 - 70.001, minTime);
        EXPECT_DOUBLE_EQ(1e9 - 70.001, maxTime);
        EXPECT_EQ(6553.5, least);
        EXPECT_EQ(6553.5, most);
        EXPECT_EQ(9u, status);
    }
}

TEST_F(Ssp, AValueIsCutToTenthsAndToSixteenBits) {
    struct Case {
        double written;
        double read;
    };
    const Case cases[] = {{1500.27, 1500.2}, {0.09, 0.0},       {-0.09, 0.0},      {-1.0, 6552.6},
                          {6553.5, 6553.5},  {6553.59, 6553.5}, {6553.6, 0.0},     {6553.7, 0.1},
                          {-6553.6, 0.0},    {1e9, 5836.8},     {429496729.6, 0.0}};
    ASSERT_TRUE(open(L"create"));
    for (const Case& each : cases) {
        ASSERT_EQ(ok, SspSeqWrite(sensor, 60.0, each.written, 0.0, 0));
        ASSERT_EQ(ok, SspSeqWrite(sensor, 60.0, 0.0, each.written, 0));
    }
    ASSERT_TRUE(open(L"query"));
    for (const Case& each : cases) {
        Record record;
        ASSERT_EQ(ok, readSeq(record));
        EXPECT_EQ(each.read, record.value1) << each.written;
        EXPECT_EQ(0.0, record.value2) << "one value does not reach into the other";
        ASSERT_EQ(ok, readSeq(record));
        EXPECT_EQ(0.0, record.value1) << "one value does not reach into the other";
        EXPECT_EQ(each.read, record.value2) << each.written;
    }
}

TEST_F(Ssp, AValueThatHasNoCodingIsRefused) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    ASSERT_TRUE(open(L"create"));
    for (const double bad : {nan, inf, -inf, 9.3e17}) {
        EXPECT_EQ(5002822, SspSeqWrite(sensor, 60.0, bad, 1.0, 0)) << bad;
        EXPECT_EQ(5002822, SspSeqWrite(sensor, 60.0, 1.0, bad, 0)) << bad;
        EXPECT_EQ(5002822, SspSeqWrite(sensor, bad * 1e4, 1.0, 1.0, 0)) << bad;
    }
    EXPECT_EQ(ok, SspSeqWrite(sensor, 60.0, 1.0, 1.0, 0));
    ASSERT_EQ(ok, close());
    EXPECT_EQ(48u + 12u, line.bytes("SSP").size());
}

TEST_F(Ssp, ExtentsAreThoseOfTheTimeAndTheFirstValueAsWritten) {
    ASSERT_TRUE(open(L"create"));
    EXPECT_EQ(ok, SspBgnSeqWriteLineSegment(sensor, L"a"));
    EXPECT_EQ(ok, SspSeqWrite(sensor, 60.0004, -7.25, 9000.0, 0));
    EXPECT_EQ(ok, SspSeqWrite(sensor, 59.0, 12.125, -9000.0, 0));
    double minTime = 0, maxTime = 0, least = 0, most = 0;
    EXPECT_EQ(ok, SspSummary(sensor, nullptr, nullptr, &minTime, &maxTime, &least, &most, nullptr));
    EXPECT_EQ(59.0, minTime);
    EXPECT_EQ(60.0004, maxTime);
    EXPECT_EQ(-7.25, least);
    EXPECT_EQ(12.125, most);
    ASSERT_EQ(ok, close());
    EXPECT_EQ(static_cast<std::uint32_t>(-7250), wordAt(line.bytes("SSP"), 40));
    EXPECT_EQ(12125u, wordAt(line.bytes("SSP"), 44));
}

TEST_F(Ssp, AStatusSetInUpdateModeShowsBeforeAnySave) {
    putGolden();
    ASSERT_TRUE(open(L"update"));
    Record record;
    ASSERT_EQ(ok, read(2, record));
    EXPECT_EQ(ok, SspSetRecordStatus(sensor, 2, 77));
    ASSERT_EQ(ok, read(2, record));
    EXPECT_EQ(77u, record.status);
    ASSERT_EQ(ok, read(1, record));
    EXPECT_EQ(1u, record.status);
    EXPECT_TRUE(same(golden("ssp").bytes("SSP"), line.bytes("SSP")));
    EXPECT_EQ(ok, SspSaveStatusToDisk(sensor));
    EXPECT_EQ(withWord(golden("ssp").bytes("SSP").string(), 60, 77), line.bytes("SSP"));
}

TEST_F(Ssp, AReadAfterASequentialOneGetsTheRecordItAskedFor) {
    putRecords(6);
    ASSERT_TRUE(open(L"query"));
    Record record;
    ASSERT_EQ(ok, read(1, record));
    ASSERT_EQ(ok, readSeq(record));
    EXPECT_EQ(2.0, record.value1) << "goes on where the read by number left the file";
    ASSERT_EQ(ok, read(2, record));
    EXPECT_EQ(2.0, record.value1);
    Record next;
    ReadNext(*sensor, next);
    EXPECT_EQ(3.0, next.value1);
    ASSERT_EQ(ok, read(3, record));
    EXPECT_EQ(3.0, record.value1);
}

TEST_F(Ssp, TestsTheHandleInOrder) {
    Record r;
    EXPECT_EQ(5002812, SspClose(nullptr));
    EXPECT_EQ(5002812, SspSummary(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5002812, SspLineSegment(nullptr, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr));
    EXPECT_EQ(5002812, SspRead(nullptr, 1, &r.time, &r.value1, &r.value2, &r.status));
    EXPECT_EQ(5002812, SspReadSeq(nullptr, &r.time, &r.value1, &r.value2, &r.status));
    EXPECT_EQ(5002812, SspSeqWrite(nullptr, 0, 0, 0, 0));
    EXPECT_EQ(5002812, SspSetRecordStatus(nullptr, 1, 0));
    EXPECT_EQ(5002812, SspSaveStatusToDisk(nullptr));

    std::uint32_t opened = 0;
    _TELD_Sensor* heave = HeaveOpenDir(line.path().c_str(), L"create", &opened);
    ASSERT_TRUE(heave);
    LogCapture log;
    EXPECT_EQ(5002813, SspClose(heave));
    EXPECT_EQ(5002813, SspSummary(heave, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5002813, SspLineSegment(heave, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr));
    EXPECT_EQ(5002813, SspRead(heave, 1, &r.time, &r.value1, &r.value2, &r.status)) << "before the access";
    EXPECT_EQ(5002813, SspReadSeq(heave, &r.time, &r.value1, &r.value2, &r.status));
    EXPECT_EQ(5002813, SspBgnSeqWriteSummary(heave));
    EXPECT_EQ(5002813, SspBgnSeqWriteLineSegment(heave, L"a"));
    EXPECT_EQ(5002813, SspSeqWrite(heave, 0, 0, 0, 0));
    EXPECT_EQ(5002813, SspEndSeqWriteLineSegment(heave, 0));
    EXPECT_EQ(5002813, SspEndSeqWriteSummary(heave, 0));
    EXPECT_EQ(5002813, SspSetSummaryStatus(heave, 0));
    EXPECT_EQ(5002813, SspSetLineSegmentStatus(heave, 1, 0));
    EXPECT_EQ(5002813, SspSetRecordStatus(heave, 1, 0));
    EXPECT_EQ(5002813, SspSaveStatusToDisk(heave));
    EXPECT_EQ(Lines{}, log.lines());
    EXPECT_EQ(ok, HeaveClose(heave));
}

TEST_F(Ssp, AMissingReadStructureIsToldBehindSensorAndAccess) {
    putGolden();
    ASSERT_TRUE(open(L"query"));
    std::free(sensor->pReadStruct);
    sensor->pReadStruct = nullptr;
    Record record;
    EXPECT_EQ(-1, read(1, record));
    EXPECT_EQ(-1, readSeq(record));
    EXPECT_EQ(-1, SspClose(sensor));
    EXPECT_EQ(5002818, write(record));
    SensorFree(sensor);
    sensor = nullptr;
}

TEST_F(Ssp, NullOutputsThatAreNeededAreRefused) {
    putGolden();
    ASSERT_TRUE(open(L"query"));
    Record r;
    EXPECT_EQ(-1, SspRead(sensor, 1, nullptr, &r.value1, &r.value2, &r.status));
    EXPECT_EQ(-1, SspRead(sensor, 1, &r.time, nullptr, &r.value2, &r.status));
    EXPECT_EQ(-1, SspRead(sensor, 1, &r.time, &r.value1, nullptr, &r.status));
    EXPECT_EQ(-1, SspRead(sensor, 1, &r.time, &r.value1, &r.value2, nullptr));
    EXPECT_EQ(-1, SspReadSeq(sensor, nullptr, &r.value1, &r.value2, &r.status));
    EXPECT_EQ(-1, SspReadSeq(sensor, &r.time, nullptr, &r.value2, &r.status));
    EXPECT_EQ(-1, SspReadSeq(sensor, &r.time, &r.value1, nullptr, &r.status));
    EXPECT_EQ(-1, SspReadSeq(sensor, &r.time, &r.value1, &r.value2, nullptr));
    ASSERT_EQ(ok, readSeq(r));
    EXPECT_EQ(goldenRecords[0], r) << "a refused call does not move the file";
    // Of a segment none may be missing, whichever it is.
    for (int missing = 0; missing < 8; ++missing) {
        wchar_t* name = nullptr;
        std::uint32_t begin = 0, end = 0, status = 0;
        double values[4] = {};
        const auto unless = [missing](int which, auto* output) {
            return missing == which ? nullptr : output;
        };
        EXPECT_EQ(-1, SspLineSegment(sensor, 1, unless(0, &name), unless(1, &begin), unless(2, &end),
                                     unless(3, &values[0]), unless(4, &values[1]), unless(5, &values[2]),
                                     unless(6, &values[3]), unless(7, &status)))
            << missing;
        EXPECT_EQ(nullptr, name);
    }
}

TEST_F(Ssp, StreamsThatCannotCodeGiveTheirCodes) {
    putGolden();
    ASSERT_TRUE(open(L"query"));
    qon_xdr_destroy(&sensor->decodeXDRStream);
    Record record;
    EXPECT_EQ(5002821, read(1, record));
    EXPECT_EQ(5002821, readSeq(record));
    ASSERT_TRUE(open(L"create"));
    qon_xdr_destroy(&sensor->encodeXDRStream);
    EXPECT_EQ(5002822, write(made(60, 1, 1, 0)));
}

TEST_F(Ssp, TroubleWithTheIndexHasItsCodes) {
    putGolden();
    line.patch("SSPTmIdx", 24, 2); // entries in the only set
    line.patch("SSPTmIdx", 36, 2);
    line.cut("SSPTmIdx", 56);
    ASSERT_TRUE(open(L"query")) << code;
    Record record;
    EXPECT_EQ(5002808, read(3, record));
    ASSERT_EQ(ok, close());
    putGolden();
    line.patch("SSPTmIdx", 44, 0xFFFFFFF4); // offset of the first record
    ASSERT_TRUE(open(L"query")) << code;
    EXPECT_EQ(5002815, read(1, record));
    ASSERT_EQ(ok, read(2, record));
    EXPECT_EQ(goldenRecords[1], record);
    EXPECT_FALSE(open(L"update"));
    EXPECT_EQ(5002815u, code);
    ASSERT_TRUE(open(L"create"));
    // As if the file had reached the end of what an entry can hold.
    skar::fileio::flatState(*sensor).recordsWritten = 0x0FFFFFFF;
    sensor->state->file.seek(0);
    EXPECT_EQ(5002823, write(made(60, 1, 1, 0)));
    skar::fileio::flatState(*sensor).recordsWritten = 0;
}

TEST_F(Ssp, OpenFailuresOfTheSegmentsHaveTheFamilysCodes) {
    putGolden();
    std::filesystem::remove(line.folder() / "SSPLineSegments");
    LogCapture log;
    EXPECT_FALSE(open(L"query"));
    EXPECT_EQ(5002801u, code);
    std::filesystem::create_directory(line.folder() / "SSPLineSegments");
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, write(made(60, 1, 1, 0)));
    EXPECT_EQ(5002802, close());
    EXPECT_EQ(Lines{}, log.lines());
}

template <class Info, class Thrown>
auto detail(const Thrown& thrown) {
    const auto* found = boost::get_error_info<Info>(thrown);
    return found ? std::optional(*found) : std::nullopt;
}

TEST_F(Ssp, ReadNextThrowsWithTheKeysOfTheObservedDepths) {
    using Bathy = bathy::error::BathyException;
    struct Thrown {
        std::string key;
        long code = 0;
        std::optional<int> sensorId, access, error;
    };
    Record record = made(1, 2, 3, 4);
    const auto thrown = [&](_TELD_Sensor& handle) {
        Thrown seen;
        try {
            ReadNext(handle, record);
        } catch (const SKAR::IO::SSP::ReadError& caught) {
            seen.key = detail<Bathy::tag_additional_details>(caught).value_or("");
            seen.code = detail<Bathy::tag_error_code>(caught).value_or(0);
            seen.sensorId = detail<SKAR::tag_sensor_id>(caught);
            seen.access = detail<SKAR::tag_access_id_type>(caught);
            seen.error = detail<SKAR::stdio_error_info>(caught);
        }
        EXPECT_EQ(made(1, 2, 3, 4), record) << "what failed leaves the record alone";
        return seen;
    };
    putGolden();
    ASSERT_TRUE(open(L"update"));
    Thrown seen = thrown(*sensor);
    EXPECT_EQ("errorMessages/SKARio/ObservedDepths/invalidAccessType", seen.key);
    EXPECT_EQ(5002818, seen.code);
    EXPECT_EQ(TELD_UPDATE, seen.access);
    sensor->sensorType = 4;
    seen = thrown(*sensor);
    EXPECT_EQ("errorMessages/SKARio/ObservedDepths/incorrectSensorID", seen.key) << "before the access";
    EXPECT_EQ(5002813, seen.code);
    EXPECT_EQ(4, seen.sensorId);
    sensor->sensorType = 54;

    ASSERT_TRUE(open(L"query"));
    for (int i = 0; i < 3; ++i) {
        Record next;
        ReadNext(*sensor, next);
        EXPECT_EQ(goldenRecords[i], next);
    }
    seen = thrown(*sensor);
    EXPECT_EQ("errorMessages/SKARio/ObservedDepths/freadProfileFailed", seen.key);
    EXPECT_EQ(5002825, seen.code);
    EXPECT_EQ(0, seen.error) << "the end of the file is no error of the system";
    EXPECT_EQ(5002825, readSeq(record));

    ASSERT_TRUE(open(L"query"));
    qon_xdr_destroy(&sensor->decodeXDRStream);
    seen = thrown(*sensor);
    EXPECT_EQ("errorMessages/SKARio/ObservedDepths/XDR decode failed", seen.key);
    EXPECT_EQ(5002821, seen.code);

    ASSERT_TRUE(open(L"query"));
    std::free(sensor->pReadStruct);
    sensor->pReadStruct = nullptr;
    seen = thrown(*sensor);
    EXPECT_EQ("errorMessages/SKARio/ObservedDepths/internalReadStructInvalid", seen.key);
    EXPECT_EQ(-1, seen.code);
    SensorFree(sensor);
    sensor = nullptr;
}

TEST(SspRecord, ComparesAndPrintsItsFields) {
    const Record record = made(1.5, 1500.2, 7.25, 9);
    Record other;
    other = record;
    EXPECT_EQ(record, other);
    EXPECT_NE(record, made(1.5, 1500.2, 7.25, 8));
    EXPECT_NE(record, made(1.5, 1500.2, 7.5, 9));
    EXPECT_NE(record, made(1.5, 1500.3, 7.25, 9));
    EXPECT_NE(record, made(1.25, 1500.2, 7.25, 9));
    std::ostringstream text;
    text << record;
    EXPECT_EQ("1.5, 1500.2, 7.25, 9", text.str());
}

// Every write of the disk fails once.
TEST(SspFaults, ASaveThatCannotWriteTellsTheStep) {
    ASSERT_EQ(ok, SKARIO_Init(0));
    const std::string folder = "/p/v/d/l/";
    const std::wstring path = L"/p/v/d/l";
    std::vector<int> codes;
    for (std::size_t n = 1;; ++n) {
        FaultBackend disk;
        for (const char* file : {"SSP", "SSPLineSegments", "SSPTmIdx"})
            disk.put(folder + file, golden("ssp").bytes(file).string());
        std::uint32_t opened = 0;
        _TELD_Sensor* sensor = SspOpenDir(path.c_str(), L"update", &opened);
        ASSERT_TRUE(sensor) << opened;
        EXPECT_EQ(ok, SspSetRecordStatus(sensor, 2, 5));
        disk.resetCounts();
        disk.failAt(Op::write, n, ENOSPC);
        const int code = SspSaveStatusToDisk(sensor);
        disk.clearFaults();
        if (code == ok) {
            EXPECT_EQ(ok, SspClose(sensor));
            break;
        }
        codes.push_back(code);
        EXPECT_EQ(ok, SspSaveStatusToDisk(sensor)) << "what failed can be done again";
        EXPECT_EQ(withWord(golden("ssp").bytes("SSP").string(), 60, 5), disk.bytes(folder + "SSP"));
        LogCapture log;
        EXPECT_EQ(ok, SspClose(sensor));
        if (code != 5002802) {
            ASSERT_EQ(1u, log.lines().size());
            EXPECT_EQ(2, log.lines()[0].level);
            EXPECT_EQ(0u,
                      log.lines()[0].text.find("There is an error in the SSP file stream before closing "));
        }
        EXPECT_EQ(0, disk.openStreams());
    }
    EXPECT_EQ((std::vector<int>{5002805, 5002805, 5002802, 5002824}), codes);
}

TEST(SspFaults, ACloseThatCannotWriteTellsTheStepAndEndsTheHandle) {
    ASSERT_EQ(ok, SKARIO_Init(0));
    std::vector<int> codes;
    for (std::size_t n = 1;; ++n) {
        FaultBackend disk;
        disk.put("/p/v/d/l/other", "");
        std::uint32_t opened = 0;
        _TELD_Sensor* sensor = SspOpenDir(L"/p/v/d/l", L"create", &opened);
        ASSERT_TRUE(sensor) << opened;
        ASSERT_EQ(ok, SspSeqWrite(sensor, 60, 1, 2, 3));
        disk.resetCounts();
        disk.failAt(Op::write, n, ENOSPC);
        const int code = SspClose(sensor);
        EXPECT_EQ(0, disk.openStreams());
        if (code == ok) break;
        codes.push_back(code);
    }
    EXPECT_EQ((std::vector<int>{5002805, 5002805, 5002805, 5002802, 5002814}), codes);
}

} // namespace
