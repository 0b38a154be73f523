#include "raw_bytes.h"
#include "support/realdata.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

using namespace skar::import;
using namespace skar::test;

namespace {

// Counts, first times and sums as an independent reader of the same files gives them: independent_raw.py.
struct RealFile {
    const char* name;
    std::size_t positions;
    const char* firstPosition;
    double latitudeSum;  // degrees
    double longitudeSum; // degrees
    std::size_t motion;  // records each of heave, pitch and roll
    const char* firstMotion;
    double rollSum;  // degrees
    double pitchSum; // degrees
    double heaveSum; // metres
    std::size_t headings;
    double headingSum; // degrees
};

constexpr RealFile realFiles[] = {
    {"all/0001_20140213_052736_Yolla.all", 9, "2014-02-13T05:27:42.352Z", -345.609058, 1282.353781, 1012,
     "2014-02-13T05:27:40.842Z", -2198.89, 927.21, 110.84, 1012, 203578.91},
    {"all/0200_MBES_EM122_20150203_010431_Supporter_GA4430.all", 60, "2015-02-03T01:04:31.498Z", -2493.177333,
     4901.702975, 119, "2015-02-03T01:04:31.403Z", 249.43, -0.18, 4.91, 119, 28716.84},
    {"all/0243_P007_MBES_EM122_20150207_044356_Supporter_GA4430.all", 387, "2015-02-07T04:43:56.783Z",
     -15070.227514, 33553.606411, 406, "2015-02-07T04:43:55.703Z", -421.34, -25.27, -17.22, 406, 44409.10},
    {"all-mpl/0077_20221109_123655_Belgica.all", 4, "2022-11-09T12:36:56.642Z", 205.473946, 12.557236, 404,
     "2022-11-09T12:36:56.574Z", 67.36, 86.33, -30.70, 404, 125820.11},
    {"all-mpl/0077_20221109_123655_Belgica.wcd", 4, "2022-11-09T12:36:56.642Z", 205.473946, 12.557236, 404,
     "2022-11-09T12:36:56.574Z", 67.36, 86.33, -30.70, 404, 125820.11},
    {"all-mpl/EM710_3092155654265012286.all", 2, "2012-08-21T17:09:43.011Z", 157.053594, 20.576721, 23,
     "2012-08-21T17:09:42.629Z", -10.60, 25.94, -15.08, 23, 7707.74},
    {"all-mpl/EM710_7041029013895133878.all", 5, "2017-12-14T16:50:50.091Z", 220.820049, 153.258074, 406,
     "2017-12-14T16:50:49.840Z", -6.63, 3.30, -2.79, 406, 84242.77},
    {"nmea/bundg_zeus_9.log", 138, "2018-08-20T09:47:36.000Z", 0, 0, 0, nullptr, 0, 0, 0, 1451, 0},
    {"nmea/hemi.log", 21, "2018-09-07T19:40:50.000Z", 0, 0, 0, nullptr, 0, 0, 0, 4, 1096.34},
    {"nmea/humminbird-M37.log", 8, "2006-09-16T19:41:04.000Z", 0, 0, 0, nullptr, 0, 0, 0, 0, 0},
    {"nmea/rst39.log", 40, "2014-02-19T20:41:32.100Z", 0, 0, 100, "2014-02-19T20:41:32.000Z", 0, 0, 0, 100,
     0},
    {"nmea/saab-r4.log", 12, "2011-06-01T13:07:11.000Z", 0, 0, 0, nullptr, 0, 0, 0, 12, 0},
    {"nmea/sounder.log", 0, nullptr, 0, 0, 0, nullptr, 0, 0, 0, 0, 0},
    {"log/2022.05.30_201358_gnss.txt", 3601, "2022-05-30T20:13:58.000Z", 0, 0, 0, nullptr, 0, 0, 0, 0, 0},
    {"log/2022.05.30_201358_sonar.txt", 0, nullptr, 0, 0, 0, nullptr, 0, 0, 0, 0, 0},
};

class RealFiles : public testing::TestWithParam<RealFile> {};

double degreesSum(const Series<TimedValue>& series) {
    double sum = 0.0;
    for (const TimedValue& record : series.records)
        sum += record.value / degree;
    return sum;
}

} // namespace

TEST_P(RealFiles, GiveWhatAnIndependentReaderFinds) {
    const RealFile& expected = GetParam();
    const auto path = skar::tests::realData(SKAR_SOURCE_DIR) / expected.name;
    SKAR_SKIP_WITHOUT(path);

    FileSource source(path.string());
    const RawFormat* format = detectFormat(source, path.filename().string());
    ASSERT_NE(format, nullptr);
    const RawData data = format->read(source);

    const auto& fixes = data.navigation.records;
    ASSERT_EQ(fixes.size(), expected.positions);
    if (expected.firstPosition != nullptr) {
        EXPECT_EQ(utcText(fixes.front().time), expected.firstPosition);
    }
    if (expected.latitudeSum != 0.0) {
        double latitude = 0.0;
        double longitude = 0.0;
        for (const PositionFix& fix : fixes) {
            latitude += fix.latitude / degree;
            longitude += fix.longitude / degree;
        }
        EXPECT_NEAR(latitude, expected.latitudeSum, 1e-6);
        EXPECT_NEAR(longitude, expected.longitudeSum, 1e-6);
    }
    for (const ScalarKind kind : {ScalarKind::heave, ScalarKind::pitch, ScalarKind::roll}) {
        const auto& records = data[kind].records;
        ASSERT_EQ(records.size(), expected.motion);
        if (expected.firstMotion != nullptr) {
            EXPECT_EQ(utcText(records.front().time), expected.firstMotion);
        }
    }
    if (expected.rollSum != 0.0) {
        EXPECT_NEAR(degreesSum(data[ScalarKind::roll]), expected.rollSum, 1e-6);
        EXPECT_NEAR(degreesSum(data[ScalarKind::pitch]), expected.pitchSum, 1e-6);
        EXPECT_NEAR(degreesSum(data[ScalarKind::heave]) * degree, expected.heaveSum, 1e-6);
    }
    EXPECT_EQ(data[ScalarKind::gyro].records.size(), expected.headings);
    if (expected.headingSum != 0.0) {
        EXPECT_NEAR(degreesSum(data[ScalarKind::gyro]), expected.headingSum, 1e-6);
    }
    for (const ProblemKind kind :
         {ProblemKind::checksum, ProblemKind::length, ProblemKind::framing, ProblemKind::truncated})
        EXPECT_EQ(data.problems[kind].count, 0U) << meaning(kind).key;
}

INSTANTIATE_TEST_SUITE_P(All, RealFiles, testing::ValuesIn(realFiles), skar::tests::namedAfterFile);
