#include "support/flat_families.h"

#include <skar/paths.h>

#include <sstream>

// The sets under tests/golden that series.py makes: what the twin says is written gives those bytes, and
// those bytes give what the twin says is read.
namespace {

using namespace skar::tests;

struct TwinSegment {
    std::uint32_t status = 0;
    std::string name;
    std::vector<Sample> written;
    std::vector<Sample> read;
};

struct Twin {
    std::string family;
    std::uint32_t coordinateType = 0;
    std::uint32_t summaryStatus = 0;
    std::vector<TwinSegment> segments;
};

Twin parse(const std::string& text) {
    Twin twin;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == "family") words >> twin.family;
        if (kind == "coordinateType") words >> twin.coordinateType;
        if (kind == "summaryStatus") words >> twin.summaryStatus;
        if (kind == "segment") {
            TwinSegment segment;
            words >> segment.status >> std::ws;
            std::getline(words, segment.name);
            twin.segments.push_back(segment);
        }
        if (kind == "record") {
            const std::size_t values = flatFamily(twin.family).track ? 3 : 1;
            Sample written;
            words >> written.status;
            Sample read = written;
            for (Sample* each : {&written, &read}) {
                std::string direction;
                words >> direction >> each->time;
                for (std::size_t i = 0; i < values; ++i)
                    words >> each->values[i];
            }
            EXPECT_TRUE(words) << line;
            twin.segments.back().written.push_back(written);
            twin.segments.back().read.push_back(read);
        }
    }
    return twin;
}

class GoldenSeries : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override { ASSERT_EQ(0, SKARIO_Init(0)); }
    const Golden files = golden(GetParam());
    const Twin twin = parse(files.twin());
    const FlatFamily& family = flatFamily(twin.family);
    Line line;
};
INSTANTIATE_TEST_SUITE_P(Every, GoldenSeries,
                         testing::Values("gyro_beyond_the_word", "tide_saturated", "true_heave_minute",
                                         "navigation_two_segments", "sss_navigation", "navigation_new"),
                         [](const auto& row) { return std::string(row.param); });

TEST_P(GoldenSeries, WritingWhatTheTwinSaysGivesTheBytes) {
    Opened sensor(family, line.path(), L"create");
    ASSERT_TRUE(sensor) << sensor.code();
    ASSERT_EQ(0, family.beginSummary(sensor));
    if (family.track) sensor->summaryExtra = twin.coordinateType;
    for (const TwinSegment& segment : twin.segments) {
        wchar_t* name = SKARConvertASCIICharToWide(segment.name.c_str());
        ASSERT_EQ(0, family.beginSegment(sensor, name));
        SKARIO_free(name);
        for (const Sample& sample : segment.written)
            ASSERT_EQ(0, family.write(sensor, sample));
        ASSERT_EQ(0, family.endSegment(sensor, segment.status));
    }
    ASSERT_EQ(0, family.endSummary(sensor, twin.summaryStatus));
    ASSERT_EQ(0, sensor.close());
    for (const std::string& file : family.files())
        EXPECT_TRUE(same(files.bytes(file), line.bytes(file))) << file;
}

TEST_P(GoldenSeries, ReadingTheBytesGivesWhatTheTwinSays) {
    for (const std::string& file : family.files())
        line.write(file, files.bytes(file).string());
    for (const wchar_t* token : {L"query", L"update"}) {
        Opened sensor(family, line.path(), token);
        ASSERT_TRUE(sensor) << sensor.code();
        SummaryView summary;
        ASSERT_EQ(0, family.summary(sensor, summary));
        EXPECT_EQ(twin.summaryStatus, summary.status);
        EXPECT_EQ(twin.coordinateType, summary.coordinateType);
        EXPECT_EQ(twin.segments.size(), summary.segments);
        std::uint32_t record = 0;
        for (std::uint32_t n = 1; n <= twin.segments.size(); ++n) {
            const TwinSegment& expected = twin.segments[n - 1];
            SegmentView segment;
            ASSERT_EQ(0, family.segment(sensor, n, segment));
            char* name = SKARConvertWideCharToASCII(segment.name.c_str());
            EXPECT_EQ(expected.name, name);
            SKARIO_free(name);
            EXPECT_EQ(expected.status, segment.status);
            EXPECT_EQ(record + 1, segment.begin);
            for (const Sample& each : expected.read) {
                ++record;
                Sample random;
                ASSERT_EQ(0, family.read(sensor, record, random));
                EXPECT_DOUBLE_EQ(each.time, random.time) << record;
                for (std::size_t i = 0; i < 3; ++i)
                    EXPECT_DOUBLE_EQ(each.values[i], random.values[i]) << record << " value " << i;
                EXPECT_EQ(each.status, random.status) << record;
            }
            EXPECT_EQ(record, segment.end);
        }
        EXPECT_EQ(record, summary.records);
    }
}

TEST_P(GoldenSeries, ASaveWithoutAChangeKeepsEveryByte) {
    for (const std::string& file : family.files())
        line.write(file, files.bytes(file).string());
    Opened sensor(family, line.path(), L"update");
    ASSERT_TRUE(sensor) << sensor.code();
    for (std::uint32_t n = 1; n <= sensor->numRecords; ++n)
        ASSERT_EQ(0, family.setRecordStatus(sensor, n, sensor->statusShadow[n]));
    ASSERT_EQ(0, family.save(sensor));
    ASSERT_EQ(0, sensor.close());
    // A maximum that did not fit its word comes back as the word gives it, and is stored as that again.
    for (const std::string& file : family.files())
        EXPECT_TRUE(same(files.bytes(file), line.bytes(file))) << file;
}

} // namespace
