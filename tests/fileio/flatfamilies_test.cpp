#include "support/flat_families.h"

#include <cfloat>
#include <functional>
#include <limits>

// What all families with records of a fixed size have in common: the protocol of writing, the order of tests,
// the codes, update mode. Names of tests say what holds for every one of them.
namespace {

using namespace skar::tests;

constexpr int ok = 0;
enum : int {
    atDecodeSegments = 3,
    atMapIndex = 8,
    atNoSegment = 17,
    atWrongAccess = 18,
    atOutOfRange = 19,
    atEncode = 22,
    atRead = 25,
};

class FlatFamilies : public testing::TestWithParam<FlatFamily> {
protected:
    void SetUp() override { ASSERT_EQ(ok, SKARIO_Init(0)); }

    const FlatFamily& family = GetParam();
    Line line;

    void putSet(const std::vector<std::uint32_t>& perSegment, std::uint32_t version = 1) {
        put(line, family, flatSet(family, perSegment, version));
    }
    Opened open(const wchar_t* token) const { return {family, line.path(), token}; }
    int openCode(const wchar_t* token) const { return open(token).code(); }

    void expectSample(std::uint32_t number, const Sample& got, std::uint32_t status) const {
        const Sample wanted = family.sample(number);
        EXPECT_NEAR(wanted.time, got.time, 0.0005001) << "record " << number;
        for (std::size_t i = 0; i < family.quantities; ++i)
            EXPECT_NEAR(wanted.values[i], got.values[i], 0.51 * family.step(i))
                << "record " << number << " value " << i;
        EXPECT_EQ(status, got.status) << "record " << number;
    }
    void expectSample(std::uint32_t number, const Sample& got) const {
        expectSample(number, got, family.sample(number).status);
    }
};
INSTANTIATE_TEST_SUITE_P(Every, FlatFamilies, testing::ValuesIn(flatFamilies()), familyName);

TEST(FlatFamilyTable, HoldsTheFourteenSeriesAndTheThreeTracksAsTheStoreNamesThem) {
    struct Row {
        const char* name;
        std::uint32_t id;
        std::uint32_t stored;
        bool fine;
    };
    const Row rows[] = {{"Gyro", 1, 1, true},
                        {"Heave", 2, 2, false},
                        {"Pitch", 5, 5, true},
                        {"Roll", 6, 6, true},
                        {"Tide", 7, 7, false},
                        {"SSSGyro", 11, 11, true},
                        {"SSSCableOut", 40, 40, false},
                        {"SSSSensorHeight", 41, 41, false},
                        {"SSSSensorDepth", 42, 42, false},
                        {"DeltaDraft", 45, 45, false},
                        {"SOW", 46, 46, false},
                        {"GPSHeight", 47, 47, false},
                        {"GPSTide", 48, 48, false},
                        {"TrueHeave", 55, 55, false},
                        {"Navigation", 3, 3, false},
                        {"SSSNavigation", 12, 12, false},
                        {"NavigationNew", 76, 3, false}};
    for (const Row& row : rows) {
        const FlatFamily& family = flatFamily(row.name);
        EXPECT_EQ(row.id, family.id) << row.name;
        EXPECT_EQ(row.stored, family.stored) << row.name;
        EXPECT_EQ(row.fine, family.fine) << row.name;
    }
}

TEST_P(FlatFamilies, WriteTheFilesByteForByte) {
    ASSERT_EQ(ok, writeLine(family, line.path(), {3, 2}));
    const FlatSet expected = flatSet(family, {3, 2});
    for (std::size_t which = 0; which < 3; ++which)
        EXPECT_TRUE(same(expected.file(which), line.bytes(family.files()[which]))) << family.files()[which];
    EXPECT_EQ(3u, line.files().size());
}

TEST_P(FlatFamilies, WriteAndReadIndexesOfMoreThanOneSet) {
    ASSERT_EQ(ok, writeLine(family, line.path(), {512, 513}));
    const FlatSet expected = flatSet(family, {512, 513});
    for (std::size_t which = 0; which < 3; ++which)
        EXPECT_TRUE(same(expected.file(which), line.bytes(family.files()[which]))) << family.files()[which];
    Opened sensor = open(L"query");
    ASSERT_TRUE(sensor) << sensor.code();
    for (const std::uint32_t n : {1025u, 512u, 513u, 1u, 1024u}) {
        Sample sample;
        ASSERT_EQ(ok, family.read(sensor, n, sample)) << n;
        expectSample(n, sample);
    }
}

TEST_P(FlatFamilies, ReadBackSummarySegmentsAndRecords) {
    putSet({3, 2});
    for (const wchar_t* token : {L"query", L"update"}) {
        Opened sensor = open(token);
        ASSERT_TRUE(sensor) << sensor.code();
        EXPECT_EQ(ok, sensor.code());
        SummaryView summary;
        ASSERT_EQ(ok, family.summary(sensor, summary));
        EXPECT_EQ(2u, summary.segments);
        EXPECT_EQ(5u, summary.records);
        EXPECT_EQ(0x5Au, summary.status);
        EXPECT_NEAR(family.sample(1).time, summary.minTime, 0.00051);
        EXPECT_NEAR(family.sample(5).time, summary.maxTime, 0.00051);
        for (std::size_t i = 0; i < family.ranged; ++i) {
            double least = DBL_MAX;
            double most = -DBL_MAX;
            for (std::uint32_t n = 1; n <= 5; ++n) {
                least = std::min(least, family.sample(n).values[i]);
                most = std::max(most, family.sample(n).values[i]);
            }
            EXPECT_NEAR(least, summary.min[i], 0.51 * family.step(i));
            EXPECT_NEAR(most, summary.max[i], 0.51 * family.step(i));
        }
        SegmentView segment;
        ASSERT_EQ(ok, family.segment(sensor, 2, segment));
        EXPECT_EQ(L"b.raw", segment.name);
        EXPECT_EQ(4u, segment.begin);
        EXPECT_EQ(5u, segment.end);
        EXPECT_EQ(0x104u, segment.status);
        EXPECT_NEAR(family.sample(4).time, segment.minTime, 0.00051);
        EXPECT_NEAR(family.sample(5).time, segment.maxTime, 0.00051);
        for (const std::uint32_t n : {1u, 2u, 3u, 5u, 4u, 5u, 1u}) {
            Sample sample;
            ASSERT_EQ(ok, family.read(sensor, n, sample));
            expectSample(n, sample);
        }
    }
}

TEST_P(FlatFamilies, ReadInOrderFromTheFirstRecordToTheLast) {
    putSet({3, 2});
    Opened sensor = open(L"query");
    ASSERT_TRUE(sensor);
    Sample sample;
    for (std::uint32_t n = 1; n <= 5; ++n) {
        ASSERT_EQ(ok, family.readSeq(sensor, sample));
        expectSample(n, sample);
    }
    EXPECT_EQ(family.overThrowing ? 140054 : family.code(atRead), family.readSeq(sensor, sample));
    EXPECT_EQ(ok, sensor.close());
}

TEST_P(FlatFamilies, RefuseNullHandles) {
    Sample sample;
    SummaryView summary;
    SegmentView segment;
    EXPECT_EQ(family.nullHandle, family.close(nullptr));
    EXPECT_EQ(family.nullHandle, family.beginSummary(nullptr));
    EXPECT_EQ(family.nullHandle, family.beginSegment(nullptr, L"a"));
    EXPECT_EQ(family.nullHandle, family.write(nullptr, sample));
    EXPECT_EQ(family.nullHandle, family.endSegment(nullptr, 0));
    EXPECT_EQ(family.nullHandle, family.endSummary(nullptr, 0));
    EXPECT_EQ(family.nullHandle, family.read(nullptr, 1, sample));
    EXPECT_EQ(family.nullHandle, family.readSeq(nullptr, sample));
    EXPECT_EQ(family.nullHandle, family.summary(nullptr, summary));
    EXPECT_EQ(family.nullHandle, family.segment(nullptr, 1, segment));
    EXPECT_EQ(family.nullHandle, family.setSummaryStatus(nullptr, 0));
    EXPECT_EQ(family.nullHandle, family.setSegmentStatus(nullptr, 1, 0));
    EXPECT_EQ(family.nullHandle, family.setRecordStatus(nullptr, 1, 0));
    EXPECT_EQ(family.nullHandle, family.save(nullptr));
}

TEST_P(FlatFamilies, AllowInCreateModeOnlyWhatWrites) {
    Opened sensor = open(L"create");
    ASSERT_TRUE(sensor);
    const int denied = family.code(atWrongAccess);
    Sample sample = family.sample(1);
    EXPECT_EQ(denied, family.read(sensor, 1, sample));
    EXPECT_EQ(denied, family.read(sensor, 0, sample)) << "access before range";
    EXPECT_EQ(family.overThrowing ? 140054 : denied, family.readSeq(sensor, sample));
    EXPECT_EQ(denied, family.setSegmentStatus(sensor, 1, 0));
    EXPECT_EQ(denied, family.setRecordStatus(sensor, 1, 0));
    EXPECT_EQ(denied, family.save(sensor));
    EXPECT_EQ(ok, family.beginSummary(sensor));
    EXPECT_EQ(ok, family.beginSegment(sensor, L"a"));
    EXPECT_EQ(ok, family.write(sensor, family.sample(1)));
    EXPECT_EQ(ok, family.endSegment(sensor, 7));
    EXPECT_EQ(ok, family.setSummaryStatus(sensor, 8));
    EXPECT_EQ(ok, family.endSummary(sensor, 9));
    SummaryView summary;
    EXPECT_EQ(ok, family.summary(sensor, summary));
    EXPECT_EQ(1u, summary.records);
    EXPECT_EQ(9u, summary.status);
    SegmentView segment;
    EXPECT_EQ(ok, family.segment(sensor, 1, segment));
    EXPECT_EQ(7u, segment.status);
    EXPECT_EQ(family.sample(1).time, segment.minTime) << "extents are the caller's values, unrounded";
}

TEST_P(FlatFamilies, RefuseWritingInQueryAndUpdateMode) {
    putSet({2});
    for (const wchar_t* token : {L"query", L"update"}) {
        Opened sensor = open(token);
        ASSERT_TRUE(sensor);
        const int denied = family.code(atWrongAccess);
        EXPECT_EQ(denied, family.beginSummary(sensor));
        EXPECT_EQ(denied, family.beginSegment(sensor, L"a"));
        EXPECT_EQ(denied, family.write(sensor, family.sample(3)));
        EXPECT_EQ(denied, family.endSegment(sensor, 0));
        EXPECT_EQ(denied, family.endSummary(sensor, 0));
        EXPECT_EQ(ok, family.setSummaryStatus(sensor, 3)) << "allowed in any mode";
        SummaryView summary;
        EXPECT_EQ(ok, family.summary(sensor, summary));
        EXPECT_EQ(3u, summary.status);
        EXPECT_EQ(2u, summary.records);
    }
}

TEST_P(FlatFamilies, RefuseUpdatesInQueryMode) {
    putSet({2});
    const auto before = flatSet(family, {2});
    {
        Opened sensor = open(L"query");
        ASSERT_TRUE(sensor);
        const int denied = family.code(atWrongAccess);
        EXPECT_EQ(denied, family.setSegmentStatus(sensor, 1, 0));
        EXPECT_EQ(denied, family.setRecordStatus(sensor, 1, 0));
        EXPECT_EQ(denied, family.setRecordStatus(sensor, 0, 0)) << "access before range";
        EXPECT_EQ(denied, family.save(sensor));
        family.setSummaryStatus(sensor, 77);
        EXPECT_EQ(ok, sensor.close());
    }
    for (std::size_t which = 0; which < 3; ++which)
        EXPECT_TRUE(same(before.file(which), line.bytes(family.files()[which])));
}

TEST_P(FlatFamilies, TellRecordsAndSegmentsThatAreNotThere) {
    putSet({2, 1});
    for (const wchar_t* token : {L"query", L"update"}) {
        Opened sensor = open(token);
        ASSERT_TRUE(sensor);
        Sample sample;
        SegmentView segment;
        for (const std::uint32_t n : {0u, 4u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
            EXPECT_EQ(family.code(atOutOfRange), family.read(sensor, n, sample)) << n;
        for (const std::uint32_t n : {0u, 3u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
            EXPECT_EQ(family.code(atNoSegment), family.segment(sensor, n, segment)) << n;
    }
    Opened sensor = open(L"update");
    for (const std::uint32_t n : {0u, 4u, 0xFFFFFFFFu})
        EXPECT_EQ(family.code(atOutOfRange), family.setRecordStatus(sensor, n, 5)) << n;
    for (const std::uint32_t n : {0u, 3u, 0xFFFFFFFFu})
        EXPECT_EQ(family.code(atNoSegment), family.setSegmentStatus(sensor, n, 5)) << n;
    EXPECT_FALSE(sensor->statusChanged) << "the shadow is left alone";
    for (std::uint32_t n = 1; n <= 3; ++n) {
        Sample sample;
        ASSERT_EQ(ok, family.read(sensor, n, sample));
        expectSample(n, sample);
    }
}

TEST_P(FlatFamilies, WithoutARecordLeaveNoFileEvenWhereAnOlderSetStood) {
    {
        Opened sensor = open(L"create");
        ASSERT_TRUE(sensor);
        EXPECT_TRUE(line.has(family.name));
        EXPECT_EQ(ok, family.beginSummary(sensor));
        EXPECT_EQ(ok, family.beginSegment(sensor, L"a"));
        EXPECT_EQ(ok, family.endSegment(sensor, 0));
        EXPECT_EQ(ok, family.endSummary(sensor, 0));
        EXPECT_EQ(ok, sensor.close());
    }
    EXPECT_TRUE(line.files().empty());
    putSet({2});
    {
        Opened sensor = open(L"create");
        ASSERT_TRUE(sensor);
        EXPECT_TRUE(line.has(family.segmentsFile())) << "side files stay until the close";
        EXPECT_TRUE(line.has(family.indexFile()));
        EXPECT_EQ(ok, sensor.close());
    }
    EXPECT_TRUE(line.files().empty());
}

TEST_P(FlatFamilies, CreatingTakesThePlaceOfALongerSet) {
    putSet({40, 40});
    ASSERT_EQ(ok, writeLine(family, line.path(), {1}));
    const FlatSet expected = flatSet(family, {1});
    for (std::size_t which = 0; which < 3; ++which)
        EXPECT_TRUE(same(expected.file(which), line.bytes(family.files()[which])));
}

TEST_P(FlatFamilies, AFileWithoutRecordsOpensForQueryAndNotForUpdate) {
    FlatSet set = flatSet(family, {1});
    Bytes data;
    data.raw("head", withWord(set.data.string().substr(0, family.firstRecord()), 20, 0));
    Bytes segments;
    segments.validation(family.stored, 2).word("numLineSegments", 0);
    Bytes index;
    index.validation(family.stored, 3).word("numTmIdxSets", 0).word("maxTmIdxSetSize", 512);
    put(line, family, {data, segments, index});
    {
        Opened sensor = open(L"query");
        ASSERT_TRUE(sensor) << sensor.code();
        Sample sample;
        EXPECT_EQ(family.code(atOutOfRange), family.read(sensor, 1, sample));
    }
    LogCapture log;
    const Opened sensor = open(L"update");
    EXPECT_FALSE(sensor);
    EXPECT_EQ(family.code(atMapIndex), sensor.code());
    Lines expected = {{1, "TmIdxMapIndexToByteOffset: requested record number not found\n"}};
    if (family.track) expected.push_back({1, "NavigationReadStatusShadow(): could not map time to index\n"});
    EXPECT_EQ(expected, log.lines());
}

TEST_P(FlatFamilies, ARecordWithoutASegmentIsWrittenAndOnlyItsSegmentIsMissing) {
    {
        Opened sensor = open(L"create");
        ASSERT_TRUE(sensor);
        EXPECT_EQ(ok, family.write(sensor, family.sample(1)));
        EXPECT_EQ(ok, family.beginSegment(sensor, L"later"));
        EXPECT_EQ(ok, family.write(sensor, family.sample(2)));
        EXPECT_EQ(ok, family.endSegment(sensor, 1));
        EXPECT_EQ(ok, sensor.close());
    }
    Opened sensor = open(L"query");
    ASSERT_TRUE(sensor);
    SegmentView segment;
    ASSERT_EQ(ok, family.segment(sensor, 1, segment));
    EXPECT_EQ(2u, segment.begin);
    EXPECT_EQ(2u, segment.end);
    EXPECT_NEAR(family.sample(2).time, segment.minTime, 0.00051);
    SummaryView summary;
    ASSERT_EQ(ok, family.summary(sensor, summary));
    EXPECT_EQ(1u, summary.segments);
    EXPECT_EQ(2u, summary.records);
    EXPECT_NEAR(family.sample(1).time, summary.minTime, 0.00051);
}

TEST_P(FlatFamilies, EndingASegmentThatWasNotBegunIsTold) {
    Opened sensor = open(L"create");
    ASSERT_TRUE(sensor);
    EXPECT_EQ(family.code(atNoSegment), family.endSegment(sensor, 1));
}

TEST_P(FlatFamilies, ASegmentWithoutRecordsKeepsExtentsThatNeverWidened) {
    {
        Opened sensor = open(L"create");
        ASSERT_TRUE(sensor);
        EXPECT_EQ(ok, family.beginSegment(sensor, L"x"));
        EXPECT_EQ(ok, family.endSegment(sensor, 1));
        SegmentView segment;
        ASSERT_EQ(ok, family.segment(sensor, 1, segment));
        EXPECT_EQ(1u, segment.begin);
        EXPECT_EQ(0u, segment.end);
        EXPECT_EQ(DBL_MAX, segment.minTime);
        EXPECT_EQ(-DBL_MAX, segment.maxTime);
        if (family.ranged > 0) {
            EXPECT_EQ(DBL_MAX, segment.min[0]);
            EXPECT_EQ(-DBL_MAX, segment.max[0]);
        }
        EXPECT_EQ(ok, family.write(sensor, family.sample(1)));
        EXPECT_EQ(ok, family.beginSegment(sensor, L"y"));
        EXPECT_EQ(ok, family.endSegment(sensor, 2));
        EXPECT_EQ(ok, sensor.close());
    }
    const std::string segments = line.bytes(family.segmentsFile());
    // Behind the first entry, which is as long as the second.
    const std::size_t entry = (segments.size() - 20) / 2;
    const std::size_t extents = 20 + entry + 4 + 4 + 4 + 4 + 8;
    EXPECT_EQ(0u, wordAt(segments, extents)) << "a time beyond the coding has a zero word";
    EXPECT_EQ(0u, wordAt(segments, extents + 4));
    const bool saturates = !family.track && !family.fine && family.ranged > 0;
    EXPECT_EQ(saturates ? 0x7FFFFFFFu : 0u, wordAt(segments, extents + 8));
    EXPECT_EQ(saturates ? 0x80000000u : 0u, wordAt(segments, extents + 12));
    EXPECT_TRUE(open(L"query"));
}

TEST_P(FlatFamilies, ValuesWithoutACodingAreRefusedAndWriteNothing) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    {
        Opened sensor = open(L"create");
        ASSERT_TRUE(sensor);
        EXPECT_EQ(ok, family.beginSegment(sensor, L"a.raw"));
        for (const double bad : {nan, inf, -inf, 1e300}) {
            Sample sample = family.sample(1);
            sample.time = bad;
            EXPECT_EQ(family.code(atEncode), family.write(sensor, sample)) << bad;
        }
        const auto refuseValue = [&](std::uint32_t number) {
            if (family.ranged == 0) return; // a number that is whole has a coding
            Sample sample = family.sample(number);
            sample.values[0] = nan;
            EXPECT_EQ(family.code(atEncode), family.write(sensor, sample));
        };
        refuseValue(1);
        EXPECT_EQ(ok, family.write(sensor, family.sample(1)));
        refuseValue(2);
        if (family.track || family.fine || family.shape == Shape::twoValues) {
            Sample sample = family.sample(2);
            sample.values[0] = 1e300;
            EXPECT_EQ(family.code(atEncode), family.write(sensor, sample));
        }
        EXPECT_EQ(ok, family.endSegment(sensor, 0x101));
        EXPECT_EQ(ok, family.beginSegment(sensor, L"b.raw"));
        EXPECT_EQ(ok, family.write(sensor, family.sample(2)));
        EXPECT_EQ(ok, family.endSegment(sensor, 0x102));
        EXPECT_EQ(ok, family.endSummary(sensor, 0x5A));
        EXPECT_EQ(ok, sensor.close());
    }
    const FlatSet expected = flatSet(family, {1, 1});
    std::string data = line.bytes(family.name);
    if (family.track) data = withWord(data, 40, 2); // this test left the coordinate type at 1
    EXPECT_TRUE(same(expected.data, data)) << "the first record that could be coded gives the references";
    EXPECT_TRUE(same(expected.segments, line.bytes(family.segmentsFile())));
    EXPECT_TRUE(same(expected.index, line.bytes(family.indexFile())));
}

TEST_P(FlatFamilies, ANewStatusShowsBeforeTheSaveAndReachesTheDiskOnlyByIt) {
    putSet({3, 2});
    const FlatSet before = flatSet(family, {3, 2});
    {
        Opened sensor = open(L"update");
        ASSERT_TRUE(sensor);
        Sample sample;
        ASSERT_EQ(ok, family.read(sensor, 1, sample));
        ASSERT_EQ(ok, family.setRecordStatus(sensor, 2, 0xDEADBEEF));
        ASSERT_EQ(ok, family.read(sensor, 2, sample));
        expectSample(2, sample, 0xDEADBEEF);
        ASSERT_EQ(ok, family.setSegmentStatus(sensor, 1, 0xCAFE));
        ASSERT_EQ(ok, family.setSummaryStatus(sensor, 0xF00D));
        SegmentView segment;
        ASSERT_EQ(ok, family.segment(sensor, 1, segment));
        EXPECT_EQ(0xCAFEu, segment.status);
        EXPECT_EQ(ok, sensor.close());
    }
    for (std::size_t which = 0; which < 3; ++which)
        EXPECT_TRUE(same(before.file(which), line.bytes(family.files()[which]))) << "close saves nothing";
}

TEST_P(FlatFamilies, ASaveChangesTheStatusesThatWereSetAndNoOtherByte) {
    putSet({3, 2}, 7);
    const FlatSet before = flatSet(family, {3, 2}, 7);
    std::string data = before.data;
    std::string segments = before.segments;
    {
        Opened sensor = open(L"update");
        ASSERT_TRUE(sensor);
        ASSERT_EQ(ok, family.setRecordStatus(sensor, 2, 0xDEADBEEF));
        ASSERT_EQ(ok, family.setRecordStatus(sensor, 5, 0));
        ASSERT_EQ(ok, family.setSegmentStatus(sensor, 2, 0xCAFE));
        ASSERT_EQ(ok, family.setSummaryStatus(sensor, 0xF00D));
        ASSERT_EQ(ok, family.save(sensor));
        EXPECT_FALSE(sensor->statusChanged);
        data = withWord(data, 16, 0xF00D);
        data = withWord(data, family.firstRecord() + family.recordSize(), 0xDEADBEEF);
        data = withWord(data, family.firstRecord() + 4 * family.recordSize(), 0);
        const std::size_t entry = (segments.size() - 20) / 2;
        segments = withWord(segments, 20 + entry, 0xCAFE);
        EXPECT_TRUE(same(Bytes().raw("data", data), line.bytes(family.name))) << "before the close";
        for (std::uint32_t n = 1; n <= 5; ++n) {
            Sample sample;
            ASSERT_EQ(ok, family.read(sensor, n, sample));
            expectSample(n, sample, n == 2 ? 0xDEADBEEF : n == 5 ? 0 : family.sample(n).status);
        }
        ASSERT_EQ(ok, family.save(sensor)) << "a second save changes nothing";
        EXPECT_EQ(ok, sensor.close());
    }
    EXPECT_TRUE(same(Bytes().raw("data", data), line.bytes(family.name)));
    EXPECT_TRUE(same(Bytes().raw("segments", segments), line.bytes(family.segmentsFile())));
    EXPECT_TRUE(same(before.index, line.bytes(family.indexFile())));
    EXPECT_EQ(3u, line.files().size()) << "no file is left beside the set";
}

TEST_P(FlatFamilies, ASaveBetweenReadsInOrderDoesNotMoveThem) {
    putSet({5});
    Opened sensor = open(L"update");
    ASSERT_TRUE(sensor);
    Sample sample;
    for (std::uint32_t n = 1; n <= 5; ++n) {
        ASSERT_EQ(ok, family.read(sensor, n, sample));
        expectSample(n, sample, family.sample(n).status);
        ASSERT_EQ(ok, family.setRecordStatus(sensor, 1, family.sample(1).status));
        ASSERT_EQ(ok, family.save(sensor));
    }
}

TEST_P(FlatFamilies, ReadingTheValidationRecordBetweenReadsDoesNotMoveThem) {
    putSet({5});
    for (const wchar_t* token : {L"query", L"update"}) {
        Opened sensor = open(token);
        ASSERT_TRUE(sensor);
        Sample sample;
        for (std::uint32_t n = 1; n <= 5; ++n) {
            ASSERT_EQ(ok, family.read(sensor, n, sample));
            expectSample(n, sample);
            ASSERT_EQ(ok, TELD_ReadDataValidationRecord(sensor));
        }
    }
}

TEST_P(FlatFamilies, WritingTheValidationRecordBetweenWritesDoesNotMoveThem) {
    {
        Opened sensor = open(L"create");
        ASSERT_TRUE(sensor);
        ASSERT_EQ(ok, family.beginSummary(sensor));
        if (family.track) sensor->summaryExtra = 2;
        ASSERT_EQ(ok, family.beginSegment(sensor, L"a.raw"));
        for (std::uint32_t n = 1; n <= 3; ++n) {
            ASSERT_EQ(ok, TELD_WriteDataValidationRecord(sensor));
            ASSERT_EQ(ok, family.write(sensor, family.sample(n)));
            EXPECT_EQ(5000027, TELD_ReadDataValidationRecord(sensor)) << "the file cannot be read yet";
        }
        ASSERT_EQ(ok, family.endSegment(sensor, 0x101));
        ASSERT_EQ(ok, family.endSummary(sensor, 0x5A));
        ASSERT_EQ(ok, sensor.close());
    }
    const FlatSet expected = flatSet(family, {3});
    for (std::size_t which = 0; which < 3; ++which)
        EXPECT_TRUE(same(expected.file(which), line.bytes(family.files()[which])));
}

TEST_P(FlatFamilies, TheHandleCountsARecordThatFailedAndTheFileDoesNot) {
    {
        Opened sensor = open(L"create");
        ASSERT_TRUE(sensor);
        Sample bad = family.sample(1);
        bad.time = std::numeric_limits<double>::infinity();
        ASSERT_EQ(ok, family.write(sensor, family.sample(1)));
        ASSERT_EQ(family.code(atEncode), family.write(sensor, bad));
        SummaryView summary;
        ASSERT_EQ(ok, family.summary(sensor, summary));
        EXPECT_EQ(2u, summary.records);
        ASSERT_EQ(ok, sensor.close());
    }
    Opened sensor = open(L"update");
    ASSERT_TRUE(sensor) << sensor.code();
    EXPECT_EQ(1u, sensor->numRecords);
}

TEST_P(FlatFamilies, AFailedReadDoesNotShiftTheNext) {
    putSet({5});
    Opened sensor = open(L"query");
    ASSERT_TRUE(sensor);
    Sample sample;
    ASSERT_EQ(ok, family.read(sensor, 1, sample));
    EXPECT_EQ(family.code(atOutOfRange), family.read(sensor, 9, sample));
    ASSERT_EQ(ok, family.read(sensor, 2, sample));
    expectSample(2, sample);
}

TEST_P(FlatFamilies, AFileCutShortUnderAHandleGivesACode) {
    putSet({600});
    Opened sensor = open(L"query");
    ASSERT_TRUE(sensor);
    line.cut(family.name, family.firstRecord() + 3 * family.recordSize() + 1);
    Sample sample;
    ASSERT_EQ(ok, family.read(sensor, 3, sample));
    expectSample(3, sample);
    EXPECT_EQ(family.code(atRead), family.read(sensor, 599, sample));
    ASSERT_EQ(ok, family.read(sensor, 1, sample));
    expectSample(1, sample);
}

TEST_P(FlatFamilies, AnyVersionOpensAndIsKept) {
    putSet({2}, 7);
    Opened sensor = open(L"update");
    ASSERT_TRUE(sensor) << sensor.code();
    EXPECT_EQ(7u, sensor->version);
    Sample sample;
    EXPECT_EQ(ok, family.read(sensor, 2, sample));
}

TEST_P(FlatFamilies, TheVersionsOfTheSideFilesAreDropped) {
    FlatSet set = flatSet(family, {2});
    put(line, family, set);
    line.patch(family.segmentsFile(), 12, 99);
    line.patch(family.indexFile(), 12, 77);
    const Opened sensor = open(L"query");
    ASSERT_TRUE(sensor) << sensor.code();
    EXPECT_EQ(1u, sensor->version);
}

TEST_P(FlatFamilies, FailedOpensTellTheStep) {
    const FlatSet set = flatSet(family, {2});
    const auto code = [&](const std::function<void()>& damage) {
        put(line, family, set);
        damage();
        const int query = openCode(L"query");
        EXPECT_EQ(query, openCode(L"update"));
        return query;
    };
    const std::string data = family.name;
    const std::string segments = family.segmentsFile();
    const std::string index = family.indexFile();
    EXPECT_EQ(5000046, code([&] { std::filesystem::remove(line.folder() / data); }));
    EXPECT_EQ(5000027, code([&] { line.cut(data, 15); }));
    EXPECT_EQ(5000027, code([&] { line.patch(data, 0, 1); }));
    EXPECT_EQ(5000027, code([&] { line.patch(data, 4, 99); }));
    EXPECT_EQ(5000027, code([&] { line.patch(data, 8, 2); }));
    EXPECT_EQ(family.code(atRead), code([&] { line.cut(data, family.firstRecord() - 1); }));
    EXPECT_EQ(family.segmentsMissing, code([&] { std::filesystem::remove(line.folder() / segments); }));
    EXPECT_EQ(5000029, code([&] { line.cut(segments, 15); }));
    EXPECT_EQ(5000029, code([&] { line.patch(segments, 0, 1); }));
    EXPECT_EQ(5000029, code([&] { line.patch(segments, 4, 99); }));
    EXPECT_EQ(5000029, code([&] { line.patch(segments, 8, 1); }));
    EXPECT_EQ(family.code(atDecodeSegments), code([&] { line.cut(segments, 19); }));
    EXPECT_EQ(family.code(atDecodeSegments), code([&] { line.patch(segments, 16, 0xFFFFFFFF); }));
    EXPECT_EQ(family.code(atDecodeSegments), code([&] { line.patch(segments, 16, 2); }));
    EXPECT_EQ(family.code(atDecodeSegments), code([&] { line.patch(segments, 28, 0xFFFFFFFF); }));
    EXPECT_EQ(5000038, code([&] { std::filesystem::remove(line.folder() / index); }));
    EXPECT_EQ(5000039, code([&] { line.cut(index, 15); }));
    EXPECT_EQ(5000039, code([&] { line.patch(index, 0, 1); }));
    EXPECT_EQ(5000039, code([&] { line.patch(index, 4, 99); }));
    EXPECT_EQ(5000039, code([&] { line.patch(index, 8, 1); }));
    EXPECT_EQ(5000039, code([&] { line.patch(index, 16, 0x7FFFFFFF); }));
    EXPECT_EQ(5000039, code([&] { line.patch(index, 20, 1); })) << "a count above the capacity";
}

TEST_P(FlatFamilies, AnUpdateOfACutFileFailsWhereTheStatusesAreLoaded) {
    put(line, family, flatSet(family, {3}));
    line.cut(family.name, family.firstRecord() + 3 * family.recordSize() - 1);
    EXPECT_EQ(ok, openCode(L"query"));
    LogCapture log;
    EXPECT_EQ(family.code(atRead), openCode(L"update"));
    if (family.track) {
        EXPECT_EQ((Lines{{1, "NavigationReadStatusShadow(): fread() failed\n"}}), log.lines());
    } else {
        EXPECT_TRUE(log.lines().empty());
    }
}

TEST_P(FlatFamilies, AnOpenThatWorksLogsNothing) {
    LogCapture log;
    ASSERT_EQ(ok, writeLine(family, line.path(), {3, 2}));
    for (const wchar_t* token : {L"query", L"update"}) {
        Opened sensor = open(token);
        ASSERT_TRUE(sensor);
        readAll(family, sensor);
        if (sensor->accessType == TELD_UPDATE) {
            EXPECT_EQ(ok, family.setRecordStatus(sensor, 1, 4));
            EXPECT_EQ(ok, family.save(sensor));
        }
        EXPECT_EQ(ok, sensor.close());
    }
    EXPECT_EQ(Lines{}, log.lines());
}

TEST_P(FlatFamilies, TextBeyondAsciiStandsInBytesInBothLengthsAndComesBack) {
    {
        Opened sensor = open(L"create");
        ASSERT_TRUE(sensor);
        EXPECT_EQ(ok, family.beginSegment(sensor, L"M\u00FCll\u00E9r \u2192 \U0001F6A2"));
        EXPECT_EQ(ok, family.write(sensor, family.sample(1)));
        EXPECT_EQ(ok, family.endSegment(sensor, 0));
        EXPECT_EQ(ok, sensor.close());
    }
    const std::string name = "M\u00FCll\u00E9r \u2192 \U0001F6A2";
    const std::string segments = line.bytes(family.segmentsFile());
    EXPECT_EQ(name.size(), wordAt(segments, 24));
    EXPECT_EQ(name.size(), wordAt(segments, 28));
    EXPECT_EQ(name, segments.substr(32, name.size()));
    Opened sensor = open(L"update");
    ASSERT_TRUE(sensor);
    SegmentView segment;
    ASSERT_EQ(ok, family.segment(sensor, 1, segment));
    EXPECT_EQ(L"M\u00FCll\u00E9r \u2192 \U0001F6A2", segment.name);
    ASSERT_EQ(ok, family.save(sensor));
    EXPECT_EQ(hex(segments), hex(line.bytes(family.segmentsFile())));
}

TEST_P(FlatFamilies, AnEmptySourceNameIsAName) {
    {
        Opened sensor = open(L"create");
        ASSERT_TRUE(sensor);
        EXPECT_EQ(-1, family.beginSegment(sensor, nullptr));
        EXPECT_EQ(ok, family.beginSegment(sensor, L""));
        EXPECT_EQ(ok, family.write(sensor, family.sample(1)));
        EXPECT_EQ(ok, family.endSegment(sensor, 0));
        EXPECT_EQ(ok, sensor.close());
    }
    Opened sensor = open(L"query");
    ASSERT_TRUE(sensor);
    SegmentView segment;
    ASSERT_EQ(ok, family.segment(sensor, 1, segment));
    EXPECT_EQ(L"", segment.name);
    EXPECT_EQ(1u, sensor->numLineSegments);
}

TEST_P(FlatFamilies, SideFilesOfAnotherLineOpenAsTheyStand) {
    put(line, family, flatSet(family, {4}));
    const FlatSet other = flatSet(family, {2, 1});
    line.write(family.segmentsFile(), other.segments.string());
    line.write(family.indexFile(), other.index.string());
    Opened sensor = open(L"query");
    ASSERT_TRUE(sensor) << sensor.code();
    Sample sample;
    EXPECT_EQ(family.code(atMapIndex), family.read(sensor, 4, sample)) << "not in that index";
    EXPECT_EQ(ok, family.read(sensor, 3, sample));
    expectSample(3, sample);
    SummaryView summary;
    EXPECT_EQ(ok, family.summary(sensor, summary));
    EXPECT_EQ(4u, summary.records);
    EXPECT_EQ(2u, summary.segments);
}

} // namespace
