#include "fileio/family.h"
#include "fileio/xdr.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/paths.h>
#include <skar/sensorparameters.h>
#include <skar/simplesensor.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <limits>

namespace {

using namespace skar::tests;

constexpr int ok = 0;
constexpr std::uint32_t reson8100 = 1;
constexpr std::size_t firstRecord = 48;
constexpr std::size_t recordSize = 116;
constexpr std::size_t firstWord = 12;

// Whole numbers and hundredths by the number of the parameter.
struct Settings {
    double time = 0.0;
    std::uint32_t status = 0;
    std::uint32_t whole[26] = {};
    double cents[26] = {};
    bool operator==(const Settings&) const = default;
};
constexpr int centsNumbers[] = {6, 16, 17, 20, 21, 22, 23};

int write(_TELD_Sensor* sensor, const Settings& s) {
    const auto& w = s.whole;
    const auto& c = s.cents;
    return SensorParametersSeqWriteReson8100_V1(
        sensor, s.time, s.status, w[1], w[2], w[3], w[4], w[5], c[6], w[7], w[8], w[9], w[10], w[11], w[12],
        w[13], w[14], w[15], c[16], c[17], w[18], w[19], c[20], c[21], c[22], c[23], w[24], w[25]);
}
// `missing`: which output is null, 0 for the time; -1 for none.
int decode(_TELD_Sensor* sensor, Settings& s, int missing = -1) {
    auto& w = s.whole;
    auto& c = s.cents;
    int output = 0;
    const auto at = [&](auto& place) { return output++ == missing ? nullptr : &place; };
    double* time = at(s.time);
    std::uint32_t* status = at(s.status);
    std::uint32_t *p1 = at(w[1]), *p2 = at(w[2]), *p3 = at(w[3]), *p4 = at(w[4]), *p5 = at(w[5]);
    double* p6 = at(c[6]);
    std::uint32_t *p7 = at(w[7]), *p8 = at(w[8]), *p9 = at(w[9]), *p10 = at(w[10]), *p11 = at(w[11]),
                  *p12 = at(w[12]), *p13 = at(w[13]), *p14 = at(w[14]), *p15 = at(w[15]);
    double *p16 = at(c[16]), *p17 = at(c[17]);
    std::uint32_t *p18 = at(w[18]), *p19 = at(w[19]);
    double *p20 = at(c[20]), *p21 = at(c[21]), *p22 = at(c[22]), *p23 = at(c[23]);
    std::uint32_t *p24 = at(w[24]), *p25 = at(w[25]);
    return SensorParametersDecodeReson8100_V1(sensor, time, status, p1, p2, p3, p4, p5, p6, p7, p8, p9, p10,
                                              p11, p12, p13, p14, p15, p16, p17, p18, p19, p20, p21, p22, p23,
                                              p24, p25);
}

// The records of the golden set as written and, with `read`, as they come back.
Settings goldenSettings(int which, bool read = false) {
    Settings s;
    s.time = which == 1 ? 1e9 + 30.5 : which == 2 ? 1e9 + 31 : 1e9 + 32;
    s.status = static_cast<std::uint32_t>(20 + which);
    for (std::uint32_t n = 1; n <= 25; ++n)
        s.whole[n] = which == 1 ? 1000 + n : 0xFFFFFFFF - n;
    const double firstWritten[] = {1.239, -1.239, 0.0, 2.5, 99.999, -0.009, 1234567.891};
    const double firstRead[] = {1.23, -1.23, 0.0, 2.5, 99.99, 0.0, 1234567.89};
    int at = 0;
    for (const int n : centsNumbers) {
        s.cents[n] = which != 1 ? n + 0.25 : read ? firstRead[at] : firstWritten[at];
        s.whole[n] = 0;
        ++at;
    }
    return s;
}

class SensorParameters : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(ok, SKARIO_Init(0)); }
    void TearDown() override {
        if (sensor) {
            EXPECT_EQ(ok, close());
        }
    }

    Line line;
    std::uint32_t code = 0;
    _TELD_Sensor* sensor = nullptr;
    double time = 0.0;
    std::uint32_t status = 0;

    bool open(const wchar_t* token, std::uint32_t sonarType = reson8100) {
        if (sensor) close();
        sensor = SensorParametersOpenDir(line.path().c_str(), token, sonarType, &code);
        return sensor != nullptr;
    }
    int close() {
        _TELD_Sensor* ended = sensor;
        sensor = nullptr;
        return SensorParametersClose(ended);
    }
    int read(std::uint32_t record) { return SensorParametersRead(sensor, record, &time, &status); }
    void putGolden(const char* name = "sensor_parameters_reson8100") {
        for (const char* file : {"SensorParameters", "SensorParametersLineSegments", "SensorParametersTmIdx"})
            line.write(file, golden(name).bytes(file).string());
    }
    void expectGolden(const char* name) {
        for (const char* file : {"SensorParameters", "SensorParametersLineSegments", "SensorParametersTmIdx"})
            EXPECT_TRUE(same(golden(name).bytes(file), line.bytes(file))) << file;
    }
    // Records of the statuses 1 to count.
    void putRecords(std::uint32_t count) {
        ASSERT_TRUE(open(L"create"));
        for (std::uint32_t n = 1; n <= count; ++n)
            ASSERT_EQ(ok, SensorParametersSeqWrite(sensor, 6e8 + n, n));
        ASSERT_EQ(ok, close());
    }
};

TEST_F(SensorParameters, WriteTheGoldenSet) {
    ASSERT_TRUE(open(L"create"));
    EXPECT_EQ(ok, SensorParametersBgnSeqWriteLineSegment(sensor, L"8100.raw"));
    EXPECT_EQ(ok, write(sensor, goldenSettings(1)));
    EXPECT_EQ(ok, write(sensor, goldenSettings(2)));
    EXPECT_EQ(ok, SensorParametersEndSeqWriteLineSegment(sensor, 3));
    EXPECT_EQ(ok, SensorParametersBgnSeqWriteLineSegment(sensor, L"b"));
    EXPECT_EQ(ok, SensorParametersSeqWrite(sensor, 1e9 + 32, 23)) << "with the parameters of the one before";
    EXPECT_EQ(ok, SensorParametersEndSeqWriteLineSegment(sensor, 4));
    EXPECT_EQ(ok, SensorParametersEndSeqWriteSummary(sensor, 13));
    ASSERT_EQ(ok, close());
    expectGolden("sensor_parameters_reson8100");
}

TEST_F(SensorParameters, ReadTheGoldenSet) {
    putGolden();
    for (const wchar_t* token : {L"query", L"update"}) {
        ASSERT_TRUE(open(token, 99)) << "the type counts on create only: " << code;
        EXPECT_EQ(-1, skar::fileio::flatState(*sensor).lastRecordRead);
        for (const int n : {3, 1, 2, 3, 1}) {
            const Settings wanted = goldenSettings(n, true);
            ASSERT_EQ(ok, read(static_cast<std::uint32_t>(n)));
            EXPECT_DOUBLE_EQ(wanted.time, time);
            EXPECT_EQ(wanted.status, status);
            Settings got;
            ASSERT_EQ(ok, decode(sensor, got));
            EXPECT_DOUBLE_EQ(wanted.time, got.time);
            got.time = wanted.time;
            EXPECT_EQ(wanted, got) << n;
            for (const int each : centsNumbers)
                EXPECT_EQ(wanted.cents[each], got.cents[each]) << "param" << each;
            for (int each = 1; each <= 25; ++each)
                EXPECT_EQ(wanted.whole[each], got.whole[each]) << "param" << each;
        }
        std::uint32_t type = 0, version = 0, segments = 0, records = 0;
        double minTime = 0, maxTime = 0;
        ASSERT_EQ(ok, SensorParametersSummary(sensor, &type, &version, &segments, &records, &minTime,
                                              &maxTime, &status));
        EXPECT_EQ(1u, type);
        EXPECT_EQ(1u, version);
        EXPECT_EQ(2u, segments);
        EXPECT_EQ(3u, records);
        EXPECT_EQ(1e9 + 30.5, minTime);
        EXPECT_EQ(1e9 + 32, maxTime);
        EXPECT_EQ(13u, status);
        wchar_t* name = nullptr;
        std::uint32_t begin = 0, end = 0;
        ASSERT_EQ(ok,
                  SensorParametersLineSegment(sensor, 1, &name, &begin, &end, &minTime, &maxTime, &status));
        EXPECT_STREQ(L"8100.raw", name);
        SKARIO_free(name);
        EXPECT_EQ(1u, begin);
        EXPECT_EQ(2u, end);
        EXPECT_EQ(1e9 + 30.5, minTime);
        EXPECT_EQ(1e9 + 31, maxTime);
        EXPECT_EQ(3u, status);
    }
    ASSERT_TRUE(open(L"query"));
    for (const int n : {1, 2, 3}) {
        ASSERT_EQ(ok, SensorParametersReadSeq(sensor, &time, &status));
        EXPECT_EQ(static_cast<std::uint32_t>(20 + n), status);
    }
    EXPECT_EQ(5003025, SensorParametersReadSeq(sensor, &time, &status));
}

TEST_F(SensorParameters, TheThirdParameterHasTwoWordsOfWhichTheLaterOneIsRead) {
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, write(sensor, goldenSettings(1)));
    ASSERT_EQ(ok, close());
    const std::string data = line.bytes("SensorParameters");
    EXPECT_EQ(1003u, wordAt(data, firstRecord + 4 * 4));
    EXPECT_EQ(1003u, wordAt(data, firstRecord + 7 * 4));
    line.patch("SensorParameters", firstRecord + 7 * 4, 77);
    ASSERT_TRUE(open(L"query"));
    ASSERT_EQ(ok, read(1));
    Settings got;
    ASSERT_EQ(ok, decode(sensor, got));
    EXPECT_EQ(77u, got.whole[3]);
}

TEST_F(SensorParameters, ASonarWithoutALayoutHasNoRecordBytes) {
    ASSERT_TRUE(open(L"create", 2));
    EXPECT_EQ(ok, SensorParametersBgnSeqWriteLineSegment(sensor, L"8100.raw"));
    EXPECT_EQ(5003022, write(sensor, goldenSettings(1))) << "there is nothing to put the parameters in";
    EXPECT_EQ(ok, SensorParametersSeqWrite(sensor, 1e9 + 30.5, 21));
    EXPECT_EQ(ok, SensorParametersSeqWrite(sensor, 1e9 + 31, 22));
    EXPECT_EQ(5003022, SensorParametersSeqWrite(sensor, std::numeric_limits<double>::quiet_NaN(), 22));
    EXPECT_EQ(ok, SensorParametersEndSeqWriteLineSegment(sensor, 3));
    EXPECT_EQ(ok, SensorParametersBgnSeqWriteLineSegment(sensor, L"b"));
    EXPECT_EQ(ok, TELD_WriteDataValidationRecord(sensor)) << "moves the file";
    EXPECT_EQ(ok, SensorParametersSeqWrite(sensor, 1e9 + 32, 23));
    EXPECT_EQ(ok, SensorParametersEndSeqWriteLineSegment(sensor, 4));
    EXPECT_EQ(ok, SensorParametersEndSeqWriteSummary(sensor, 13));
    ASSERT_EQ(ok, close());
    expectGolden("sensor_parameters_other_sonar");
    EXPECT_EQ(firstRecord, line.bytes("SensorParameters").size());

    for (const wchar_t* token : {L"query", L"update"}) {
        ASSERT_TRUE(open(token)) << code;
        EXPECT_EQ(2u, sensor->sonarType);
        EXPECT_EQ(0u, sensor->sonarVersion);
        EXPECT_EQ(3u, sensor->numRecords);
        time = -5.0;
        status = 55;
        EXPECT_EQ(ok, read(3));
        EXPECT_EQ(5003019, read(4));
        EXPECT_EQ(-5.0, time) << "there is none to give";
        EXPECT_EQ(55u, status);
        Settings got;
        EXPECT_EQ(5003021, decode(sensor, got));
    }
    EXPECT_EQ(ok, SensorParametersUpdateStatus(sensor, 2, 5));
    EXPECT_EQ(5003019, SensorParametersUpdateStatus(sensor, 4, 5));
    ASSERT_EQ(ok, close());
    expectGolden("sensor_parameters_other_sonar");
    ASSERT_TRUE(open(L"query"));
    EXPECT_EQ(ok, SensorParametersReadSeq(sensor, &time, &status));
}

TEST_F(SensorParameters, TheVersionIsOneForTheFirstSonarOnly) {
    for (const std::uint32_t type : {0u, 1u, 2u, 0xFFFFFFFFu}) {
        ASSERT_TRUE(open(L"create", type));
        EXPECT_EQ(type, sensor->sonarType);
        EXPECT_EQ(type == 1 ? 1u : 0u, sensor->sonarVersion);
    }
    ASSERT_EQ(ok, close());
    putGolden();
    line.patch("SensorParameters", 24, 2); // a later version of the same sonar
    ASSERT_TRUE(open(L"query"));
    EXPECT_EQ(2u, sensor->sonarVersion);
    Settings got;
    EXPECT_EQ(ok, read(1));
    EXPECT_EQ(5003021, decode(sensor, got));
}

TEST_F(SensorParameters, ReadingARecordAgainGivesTheOneBehindIt) {
    putRecords(5);
    ASSERT_TRUE(open(L"query"));
    for (const std::uint32_t wanted : {2u, 3u, 4u, 5u}) {
        ASSERT_EQ(ok, read(2));
        EXPECT_EQ(wanted, status);
    }
    EXPECT_EQ(5003025, read(2)) << "behind the last record";
    ASSERT_EQ(ok, read(2)) << "a failed read does not shift the next";
    EXPECT_EQ(2u, status);
    for (const std::uint32_t n : {1u, 2u, 3u, 4u, 5u, 1u}) {
        ASSERT_EQ(ok, read(n));
        EXPECT_EQ(n, status) << "in order every record is looked up";
    }
}

TEST_F(SensorParameters, WhateverElseMovedTheFileTheRecordAskedForIsRead) {
    putRecords(5);
    ASSERT_TRUE(open(L"query"));
    ASSERT_EQ(ok, read(2));
    ASSERT_EQ(ok, SensorParametersReadSeq(sensor, &time, &status));
    EXPECT_EQ(3u, status);
    ASSERT_EQ(ok, read(2));
    EXPECT_EQ(2u, status);
    ASSERT_TRUE(open(L"update"));
    ASSERT_EQ(ok, read(2));
    ASSERT_EQ(ok, SensorParametersUpdateStatus(sensor, 4, 44));
    ASSERT_EQ(ok, read(2));
    EXPECT_EQ(2u, status);
    ASSERT_EQ(ok, SensorParametersSaveStatusToDisk(sensor));
    ASSERT_EQ(ok, read(2));
    EXPECT_EQ(2u, status);
    ASSERT_EQ(ok, read(4));
    EXPECT_EQ(44u, status);
}

TEST_F(SensorParameters, AStatusIsRewrittenInItsPlaceAtOnce) {
    putGolden();
    std::string expected = golden("sensor_parameters_reson8100").bytes("SensorParameters");
    ASSERT_TRUE(open(L"update"));
    EXPECT_EQ(ok, SensorParametersUpdateStatus(sensor, 2, 0xF00D));
    EXPECT_EQ(expected = withWord(expected, firstRecord + recordSize, 0xF00D),
              line.bytes("SensorParameters"));
    Settings got;
    ASSERT_EQ(ok, decode(sensor, got));
    EXPECT_EQ(0xF00Du, got.status) << "the record is in the handle now";
    EXPECT_EQ(5003019, SensorParametersUpdateStatus(sensor, 0, 1));
    EXPECT_EQ(5003019, SensorParametersUpdateStatus(sensor, 4, 1));
    EXPECT_EQ(ok, SensorParametersSetSummaryStatus(sensor, 90));
    EXPECT_EQ(ok, SensorParametersSetLineSegmentStatus(sensor, 2, 91));
    EXPECT_EQ(5003017, SensorParametersSetLineSegmentStatus(sensor, 3, 91));
    EXPECT_EQ(expected, line.bytes("SensorParameters"));
    EXPECT_EQ(ok, SensorParametersSaveStatusToDisk(sensor));
    EXPECT_EQ(withWord(expected, 16, 90), line.bytes("SensorParameters"));
    ASSERT_TRUE(open(L"query"));
    EXPECT_EQ(91u, LnSegIndexSearch(sensor, 2)->status);
}

TEST_F(SensorParameters, HundredthsAreCut) {
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, write(sensor, goldenSettings(1)));
    Settings got;
    ASSERT_EQ(ok, decode(sensor, got)) << "decodes the record just written";
    EXPECT_EQ(goldenSettings(1, true), got);
    ASSERT_EQ(ok, close());
    EXPECT_EQ(123u, wordAt(line.bytes("SensorParameters"), firstRecord + 8 * 4));
    EXPECT_EQ(static_cast<std::uint32_t>(-123), wordAt(line.bytes("SensorParameters"), firstRecord + 18 * 4));
}

TEST_F(SensorParameters, ValuesWithoutACodingAreRefusedAndLeaveNothingBehind) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, write(sensor, goldenSettings(1)));
    for (const double bad : {inf, -inf, inf - inf, 1e17}) {
        for (const int n : centsNumbers) {
            Settings settings = goldenSettings(2);
            settings.cents[n] = bad;
            EXPECT_EQ(5003022, write(sensor, settings)) << n;
        }
        Settings settings = goldenSettings(2);
        settings.time = bad * 1e4;
        EXPECT_EQ(5003022, write(sensor, settings));
        EXPECT_EQ(5003022, SensorParametersSeqWrite(sensor, bad * 1e4, 0));
    }
    EXPECT_EQ(ok, SensorParametersSeqWrite(sensor, 1e9 + 30.5, 21));
    ASSERT_EQ(ok, close());
    const std::string data = line.bytes("SensorParameters");
    ASSERT_EQ(firstRecord + 2 * recordSize, data.size());
    EXPECT_EQ(hex(data.substr(firstRecord, recordSize)), hex(data.substr(firstRecord + recordSize)));
}

TEST_F(SensorParameters, AnEmptyFileOpensForUpdateAsThereAreNoStatusesToLoad) {
    putGolden();
    line.patch("SensorParameters", 28, 0);
    line.write("SensorParametersTmIdx",
               Bytes().validation(57, 3).word("sets", 0).word("capacity", 512).string());
    ASSERT_TRUE(open(L"update")) << code;
    EXPECT_EQ(nullptr, sensor->statusShadow);
    EXPECT_EQ(5003019, read(1));
}

TEST_F(SensorParameters, NothingWrittenLeavesNoFile) {
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, close());
    EXPECT_TRUE(line.files().empty());
}

TEST_F(SensorParameters, AccessIsHeldToTheOperation) {
    ASSERT_TRUE(open(L"create"));
    EXPECT_EQ(5003018, read(1));
    EXPECT_EQ(5003018, SensorParametersReadSeq(sensor, &time, &status));
    EXPECT_EQ(5003018, SensorParametersUpdateStatus(sensor, 1, 0));
    EXPECT_EQ(5003018, SensorParametersSetLineSegmentStatus(sensor, 1, 0));
    EXPECT_EQ(5003018, SensorParametersSaveStatusToDisk(sensor));
    EXPECT_EQ(5003017, SensorParametersEndSeqWriteLineSegment(sensor, 0));
    EXPECT_EQ(-1, SensorParametersBgnSeqWriteLineSegment(sensor, nullptr));
    ASSERT_EQ(ok, close());
    putGolden();
    for (const wchar_t* token : {L"query", L"update"}) {
        ASSERT_TRUE(open(token));
        EXPECT_EQ(5003018, write(sensor, goldenSettings(1)));
        EXPECT_EQ(5003018, SensorParametersSeqWrite(sensor, 1, 1));
        EXPECT_EQ(5003018, SensorParametersBgnSeqWriteLineSegment(sensor, L"a"));
        EXPECT_EQ(5003018, SensorParametersEndSeqWriteLineSegment(sensor, 0));
        EXPECT_EQ(5003018, SensorParametersEndSeqWriteSummary(sensor, 0));
    }
    EXPECT_EQ(5003018, SensorParametersReadSeq(sensor, &time, &status)) << "query only";
    ASSERT_TRUE(open(L"query"));
    EXPECT_EQ(5003018, SensorParametersUpdateStatus(sensor, 0, 0)) << "access before range";
    EXPECT_EQ(5003018, SensorParametersSaveStatusToDisk(sensor));
    EXPECT_EQ(5003018, SensorParametersSetLineSegmentStatus(sensor, 1, 0));
    EXPECT_EQ(ok, SensorParametersSetSummaryStatus(sensor, 1));
    for (const std::uint32_t n : {0u, 4u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(5003019, read(n)) << n;
}

TEST_F(SensorParameters, AnotherSensorsHandleIsToldAndDifferentlyByCloseAndSave) {
    const auto expectAll = [&](_TELD_Sensor* handle, int usual, int closeAndSave) {
        Settings s;
        EXPECT_EQ(closeAndSave, SensorParametersClose(handle));
        EXPECT_EQ(closeAndSave, SensorParametersSaveStatusToDisk(handle));
        EXPECT_EQ(usual, SensorParametersSummary(handle, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                 nullptr));
        EXPECT_EQ(usual, SensorParametersLineSegment(handle, 1, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                     nullptr));
        EXPECT_EQ(usual, SensorParametersRead(handle, 1, &time, &status));
        EXPECT_EQ(usual, SensorParametersReadSeq(handle, &time, &status));
        EXPECT_EQ(usual, decode(handle, s));
        EXPECT_EQ(usual, write(handle, s));
        EXPECT_EQ(usual, SensorParametersSeqWrite(handle, 1, 1));
        EXPECT_EQ(usual, SensorParametersBgnSeqWriteLineSegment(handle, L"a"));
        EXPECT_EQ(usual, SensorParametersEndSeqWriteLineSegment(handle, 0));
        EXPECT_EQ(usual, SensorParametersEndSeqWriteSummary(handle, 0));
        EXPECT_EQ(usual, SensorParametersUpdateStatus(handle, 1, 0));
        EXPECT_EQ(usual, SensorParametersSetSummaryStatus(handle, 0));
        EXPECT_EQ(usual, SensorParametersSetLineSegmentStatus(handle, 1, 0));
    };
    expectAll(nullptr, 5003012, 5003012);
    std::uint32_t opened = 0;
    _TELD_Sensor* heave = HeaveOpenDir(line.path().c_str(), L"create", &opened);
    ASSERT_TRUE(heave);
    expectAll(heave, 5003013, 5003005);
    EXPECT_EQ(ok, HeaveClose(heave));
}

TEST_F(SensorParameters, AMissingReadStructureIsToldBeforeTheAccess) {
    putGolden();
    ASSERT_TRUE(open(L"query"));
    std::free(sensor->pReadStruct);
    sensor->pReadStruct = nullptr;
    Settings s;
    EXPECT_EQ(-1, read(1));
    EXPECT_EQ(-1, SensorParametersReadSeq(sensor, &time, &status));
    EXPECT_EQ(-1, decode(sensor, s));
    EXPECT_EQ(-1, write(sensor, s));
    EXPECT_EQ(-1, SensorParametersUpdateStatus(sensor, 1, 1));
    EXPECT_EQ(-1, SensorParametersClose(sensor));
    SensorFree(sensor);
    sensor = nullptr;
}

TEST_F(SensorParameters, NullOutputsThatAreNeededAreRefused) {
    putGolden();
    ASSERT_TRUE(open(L"query"));
    EXPECT_EQ(-1, SensorParametersRead(sensor, 1, nullptr, &status));
    EXPECT_EQ(-1, SensorParametersRead(sensor, 1, &time, nullptr));
    EXPECT_EQ(-1, SensorParametersReadSeq(sensor, nullptr, &status));
    EXPECT_EQ(-1, SensorParametersReadSeq(sensor, &time, nullptr));
    ASSERT_EQ(ok, read(1));
    Settings s;
    for (int missing = 0; missing < 27; ++missing)
        EXPECT_EQ(-1, decode(sensor, s, missing)) << missing;
    EXPECT_EQ(ok, decode(sensor, s));
    for (int missing = 0; missing < 7; ++missing) {
        const auto unless = [missing](int which, auto* output) {
            return missing == which ? nullptr : output;
        };
        std::uint32_t counts[5];
        double times[2];
        EXPECT_EQ(-1,
                  SensorParametersSummary(sensor, unless(0, &counts[0]), unless(1, &counts[1]),
                                          unless(2, &counts[2]), unless(3, &counts[3]), unless(4, &times[0]),
                                          unless(5, &times[1]), unless(6, &counts[4])))
            << missing;
    }
    wchar_t* name = nullptr;
    EXPECT_EQ(-1,
              SensorParametersLineSegment(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, &status));
    EXPECT_EQ(-1, SensorParametersLineSegment(sensor, 1, &name, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(nullptr, name);
    EXPECT_EQ(ok, SensorParametersLineSegment(sensor, 1, &name, nullptr, nullptr, nullptr, nullptr, &status));
    SKARIO_free(name);
    EXPECT_EQ(5003017,
              SensorParametersLineSegment(sensor, 3, &name, nullptr, nullptr, nullptr, nullptr, &status));
}

TEST_F(SensorParameters, StreamsThatCannotCodeGiveTheirCodes) {
    putGolden();
    ASSERT_TRUE(open(L"query"));
    qon_xdr_destroy(&sensor->decodeXDRStream);
    Settings s;
    EXPECT_EQ(5003021, read(1));
    EXPECT_EQ(5003021, SensorParametersReadSeq(sensor, &time, &status));
    EXPECT_EQ(5003021, decode(sensor, s));
    ASSERT_TRUE(open(L"create"));
    qon_xdr_destroy(&sensor->encodeXDRStream);
    EXPECT_EQ(5003022, write(sensor, goldenSettings(1)));
    EXPECT_EQ(5003022, SensorParametersSeqWrite(sensor, 60, 1));
}

TEST_F(SensorParameters, TroubleWithFilesAndIndexHasItsCodes) {
    putGolden();
    line.cut("SensorParameters", firstRecord - 1);
    EXPECT_FALSE(open(L"query"));
    EXPECT_EQ(5003025u, code);
    putGolden();
    std::filesystem::remove(line.folder() / "SensorParametersLineSegments");
    EXPECT_FALSE(open(L"query"));
    EXPECT_EQ(5003001u, code);
    putGolden();
    line.patch("SensorParametersTmIdx", 44, 0xFFFFFFF4); // offset of the first record
    line.cut("SensorParameters", firstRecord + 2 * recordSize + 1);
    ASSERT_TRUE(open(L"update")) << code;
    EXPECT_EQ(5003015, read(1));
    EXPECT_NE(ok, SensorParametersUpdateStatus(sensor, 1, 1));
    EXPECT_EQ(ok, read(2));
    EXPECT_EQ(5003025, read(3));
    EXPECT_EQ(5003025, SensorParametersUpdateStatus(sensor, 3, 1));
    sensor->numRecords = 4;
    EXPECT_EQ(5003008, read(4));
    EXPECT_EQ(5003008, SensorParametersUpdateStatus(sensor, 4, 1));
    std::filesystem::remove(line.folder() / "SensorParametersLineSegments");
    std::filesystem::create_directory(line.folder() / "SensorParametersLineSegments");
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, SensorParametersSeqWrite(sensor, 60, 1));
    EXPECT_EQ(5003002, close());
    ASSERT_TRUE(open(L"create"));
    // As if the file had reached the end of what an entry can hold.
    skar::fileio::flatState(*sensor).recordsWritten = 0x01FFFFFF;
    sensor->state->file.seek(0);
    EXPECT_EQ(5003023, SensorParametersSeqWrite(sensor, 60, 1));
    skar::fileio::flatState(*sensor).recordsWritten = 0;
}

TEST(SensorParametersFaults, AnUpdateOrSaveThatCannotWriteTellsTheStep) {
    ASSERT_EQ(ok, SKARIO_Init(0));
    const std::string folder = "/p/v/d/l/";
    const auto codesOf = [&](auto work) {
        std::vector<int> codes;
        for (std::size_t n = 1;; ++n) {
            FaultBackend disk;
            for (const char* file :
                 {"SensorParameters", "SensorParametersLineSegments", "SensorParametersTmIdx"})
                disk.put(folder + file, golden("sensor_parameters_reson8100").bytes(file).string());
            std::uint32_t opened = 0;
            _TELD_Sensor* sensor = SensorParametersOpenDir(L"/p/v/d/l", L"update", 1, &opened);
            if (!sensor) return std::vector<int>{static_cast<int>(opened)};
            disk.resetCounts();
            disk.failAt(Op::write, n, ENOSPC);
            const int code = work(sensor);
            disk.clearFaults();
            LogCapture log;
            EXPECT_EQ(ok, SensorParametersClose(sensor));
            EXPECT_EQ(0, disk.openStreams());
            if (code == ok) return codes;
            codes.push_back(code);
            if (code == 5003002) continue;
            EXPECT_EQ(1u, log.lines().size());
            EXPECT_EQ(0u, log.lines()[0].text.find(
                              "There is an error in the SensorParameters file stream before closing "));
        }
    };
    EXPECT_EQ((std::vector<int>{5003024}),
              codesOf([](_TELD_Sensor* sensor) { return SensorParametersUpdateStatus(sensor, 2, 9); }));
    EXPECT_EQ((std::vector<int>{5003005, 5003005, 5003002}), codesOf(SensorParametersSaveStatusToDisk));
}

TEST(SensorParametersFaults, ACloseThatCannotWriteTellsTheStepAndEndsTheHandle) {
    ASSERT_EQ(ok, SKARIO_Init(0));
    std::vector<int> codes;
    for (std::size_t n = 1;; ++n) {
        FaultBackend disk;
        disk.put("/p/v/d/l/other", "");
        std::uint32_t opened = 0;
        _TELD_Sensor* sensor = SensorParametersOpenDir(L"/p/v/d/l", L"create", 1, &opened);
        ASSERT_TRUE(sensor) << opened;
        ASSERT_EQ(ok, SensorParametersSeqWrite(sensor, 60, 1));
        disk.resetCounts();
        disk.failAt(Op::write, n, ENOSPC);
        const int code = SensorParametersClose(sensor);
        EXPECT_EQ(0, disk.openStreams());
        if (code == ok) break;
        codes.push_back(code);
    }
    EXPECT_EQ((std::vector<int>{5003005, 5003005, 5003005, 5003002, 5003014}), codes);
}

// Bytes that stand in the stream itself meet the disk when the handle is closed.
TEST(SensorParametersFaults, ACloseThatCannotFlushHasTheCodeOfThatAndEndsTheHandle) {
    ASSERT_EQ(ok, SKARIO_Init(0));
    std::array<char, 4096> buffer; // outlives the stream
    FaultBackend disk;
    for (const char* file : {"SensorParameters", "SensorParametersLineSegments", "SensorParametersTmIdx"})
        disk.put(std::string("/p/v/d/l/") + file, golden("sensor_parameters_reson8100").bytes(file).string());
    std::uint32_t opened = 0;
    _TELD_Sensor* sensor = SensorParametersOpenDir(L"/p/v/d/l", L"update", 1, &opened);
    ASSERT_TRUE(sensor) << opened;
    ASSERT_EQ(0, std::setvbuf(sensor->dataFile, buffer.data(), _IOFBF, buffer.size()));
    ASSERT_EQ(0, std::fseek(sensor->dataFile, 16, SEEK_SET));
    ASSERT_EQ(1u, std::fwrite("a", 1, 1, sensor->dataFile));
    disk.failAt(Op::write, disk.operations(Op::write) + 1, ENOSPC, Repeat::forever);
    EXPECT_EQ(5003015, SensorParametersClose(sensor));
    EXPECT_EQ(0, disk.openStreams());
}

} // namespace
