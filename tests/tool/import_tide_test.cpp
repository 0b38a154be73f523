#include "raw_bytes.h"

#include "import/tides.h"
#include "support/processortime.h"
#include "support/realdata.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

using namespace skar::import;
using namespace skar::test;

namespace {

std::uint64_t count(const RawData& data, ProblemKind kind) {
    return data.problems[kind].count;
}

bool says(const RawData& data, const char* part) {
    return std::ranges::any_of(data.conventions, [part](const std::string& sentence) {
        return sentence.find(part) != std::string::npos;
    });
}

const RawFormat* formatOf(const std::string& text) {
    MemorySource source(std::as_bytes(std::span(text)));
    return detectFormat(source, "tide");
}

std::string table(const std::string& unit, const std::string& rows) {
    return "\"Date\",\"Time (GMT)\",\"Predicted (" + unit + ")\",\"Preliminary (" + unit +
           ")\",\"Verified (" + unit + ")\"\n" + rows;
}

} // namespace

TEST(TideTable, FeetAndMetresAreToldApart) {
    const std::string row = "\"2021/10/01\",\"00:06\",\"4.0\",\"-\",\"10\"\n";
    const RawData feet = readText(readTideTable, table("ft", row));
    ASSERT_EQ(feet[ScalarKind::tide].records.size(), 1U);
    EXPECT_EQ(feet[ScalarKind::tide].records[0].value, 10 * 0.3048);
    EXPECT_EQ(utcText(feet[ScalarKind::tide].records[0].time), "2021-10-01T00:06:00.000Z");
    EXPECT_TRUE(says(feet, "in feet"));
    EXPECT_FALSE(says(feet, "in metres."));
    const RawData metres = readText(readTideTable, table("m", row));
    EXPECT_EQ(metres[ScalarKind::tide].records.at(0).value, 10.0);
    EXPECT_TRUE(says(metres, "in metres."));
}

TEST(TideTable, WithoutAUnitIsRefused) {
    for (const char* unit : {"", "fathoms", "FT"})
        EXPECT_THROW(readText(readTideTable, table(unit, "")), ImportError) << unit;
    EXPECT_THROW(readText(readTideTable, "\"Date\",\"Time (GMT)\",\"Preliminary (m)\",\"Verified (ft)\"\n"),
                 ImportError);
    EXPECT_THROW(readText(readTideTable, "\"Date\",\"Time (GMT)\",\"Predicted (m)\"\n"), ImportError);
}

TEST(TideTable, VerifiedLevelsComeBeforePreliminaryOnes) {
    const RawData data = readText(readTideTable, table("m", "\"2021/10/01\",\"00:00\",\"1\",\"2\",\"3\"\n"
                                                            "\"2021/10/01\",\"00:06\",\"1\",\"2\",\"-\"\n"
                                                            "\"2021/10/01\",\"00:12\",\"1\",\"-\",\"-\"\n"
                                                            "\"2021/10/01\",\"00:18\",\"1\",\"-\",\"\"\n"));
    ASSERT_EQ(data[ScalarKind::tide].records.size(), 2U);
    EXPECT_EQ(data[ScalarKind::tide].records[0].value, 3.0);
    EXPECT_EQ(data[ScalarKind::tide].records[1].value, 2.0);
    EXPECT_EQ(count(data, ProblemKind::noValue), 2U);
    ASSERT_EQ(data.leftOut.size(), 1U);
    EXPECT_EQ(data.leftOut[0].what, "predicted levels");
}

TEST(TideTable, ATimeZoneThatIsNotNamedIsTakenAsUtcAndSaidSo) {
    const std::string row = "2021/10/01,00:06:30,1\n";
    EXPECT_FALSE(says(readText(readTideTable, "Date,Time (GMT),Verified (m)\n" + row), "taken as UTC"));
    const RawData data = readText(readTideTable, "Date,Time (LST),Verified (m)\n" + row);
    EXPECT_TRUE(says(data, "taken as UTC"));
    EXPECT_EQ(utcText(data[ScalarKind::tide].records.at(0).time), "2021-10-01T00:06:30.000Z");
}

TEST(TideTable, DamagedRowsAreCountedByKind) {
    const RawData data =
        readText(readTideTable, table("m", "\"2021/02/30\",\"00:00\",\"1\",\"2\",\"3\"\n"
                                           "\"2021/10/01\",\"24:00\",\"1\",\"2\",\"3\"\n"
                                           "\"2021/10/01\",\"00:00\",\"1\",\"2\"\n"
                                           "\"2021/10/01\",\"00:00\",\"1\",\"2\",\"x\"\n"
                                           "\"2021/10/01\",\"00:00\",\"1\",\"2\",\"-99.99\"\n\n" +
                                               std::string(5000, '1') + "\n" +
                                               "\"2021/10/01\",\"00:06\",\"1\",\"2\",\"3\"\n\"2021/10/0"));
    EXPECT_EQ(count(data, ProblemKind::unparsable), 5U);
    EXPECT_EQ(count(data, ProblemKind::badValue), 1U);
    EXPECT_EQ(count(data, ProblemKind::truncated), 1U);
    EXPECT_EQ(data[ScalarKind::tide].records.size(), 1U);
}

TEST(TideDays, AreDaysSince1700AndMillimetres) {
    const std::string text = "113225.0000000  1237\n113225.0416667  -290\n102267.0000000  1\n";
    ASSERT_NE(formatOf(text), nullptr);
    EXPECT_EQ(formatOf(text)->read, readTideDays);
    const RawData data = readText(readTideDays, text);
    const auto& records = data[ScalarKind::tide].records;
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(utcText(records[0].time), "1980-01-01T00:00:00.000Z");
    EXPECT_EQ(utcText(records[1].time), "2010-01-01T00:00:00.000Z");
    EXPECT_EQ(utcText(records[2].time), "2010-01-01T01:00:00.000Z");
    EXPECT_EQ(records[1].value, 1.237);
    EXPECT_EQ(records[2].value, -0.29);
    EXPECT_TRUE(says(data, "millimetres"));
    EXPECT_TRUE(says(data, "1700-01-01"));
    EXPECT_EQ(data[ScalarKind::tide].stepsBack, 1U);
}

TEST(TideDays, DamagedRowsAreCountedByKind) {
    const RawData data =
        readText(readTideDays, "113225.0000000  1237\n113225.0416667\n102266.9999999 1\n113225.0 9999999\n"
                               "x 1\n1 2 3\n113225.5 y\n" +
                                   std::string(5000, '1') + "\n113225.04");
    EXPECT_EQ(data[ScalarKind::tide].records.size(), 1U);
    EXPECT_EQ(count(data, ProblemKind::unparsable), 6U);
    EXPECT_EQ(count(data, ProblemKind::badValue), 1U);
    EXPECT_EQ(count(data, ProblemKind::truncated), 1U);
}

TEST(TideFiles, AreToldFromOtherTables) {
    EXPECT_EQ(formatOf(table("ft", ""))->read, readTideTable);
    for (const char* text : {"113225.0000000  1237 1\n", "1.0 2\n", "113225.0000000  12.37\n",
                             "9999999.0000000 1\n", "\"Date\",\"Level\"\n", "Date,Time,Depth\n"}) {
        const RawFormat* format = formatOf(text);
        EXPECT_TRUE(format == nullptr || (format->read != readTideTable && format->read != readTideDays))
            << text;
    }
}

TEST(TideFiles, OfAMillionLinesOrOneOfTenMegabytesTakeTimeInProportion) {
    std::string days;
    std::string rows;
    for (int i = 0; i < 1'000'000; ++i) {
        days += "113225.0416667 1290\n";
        rows += "\"2021/10/01\",\"00:06\",\"4.6\",\"-\",\"4.72\"\n";
    }
    for (const char filling : {'9', ' ', ',', '"', '\0'}) {
        const std::string endless(10'000'000, filling);
        skar::tests::ProcessorTime time;
        EXPECT_EQ(readText(readTideDays, endless).records(), 0U);
        EXPECT_EQ(readText(readTideTable, table("m", endless)).records(), 0U);
        EXPECT_LE(time.seconds(), 2 * skar::tests::hostileLimit);
    }
    skar::tests::ProcessorTime time;
    EXPECT_EQ(readText(readTideDays, days)[ScalarKind::tide].records.size(), 1'000'000U);
    EXPECT_LE(time.seconds(), 20 * skar::tests::hostileLimit);
    time = {};
    EXPECT_EQ(readText(readTideTable, table("m", rows))[ScalarKind::tide].records.size(), 1'000'000U);
    EXPECT_LE(time.seconds(), 20 * skar::tests::hostileLimit);
}

TEST(TideFiles, CutAnywhereOrWithAnyByteChangedDoNoHarm) {
    const std::string texts[] = {table("ft", "\"2021/10/01\",\"00:06\",\"4.664\",\"-\",\"4.72\"\n"),
                                 "113225.0000000  1237\n113225.0416667  1290\n"};
    for (const std::string& text : texts) {
        for (const auto read : {readTideTable, readTideDays}) {
            const auto take = [read](const std::string& changed) {
                try {
                    const RawData data = readText(read, changed);
                    for (const TimedValue& record : data[ScalarKind::tide].records)
                        EXPECT_LE(std::abs(record.value), 30.0);
                } catch (const ImportError& error) {
                    EXPECT_STRNE(error.what(), "");
                }
            };
            for (std::size_t at = 0; at < text.size(); ++at) {
                take(text.substr(0, at));
                for (const char strange : {'\0', '\xFF', '-', '9', '.', ',', '\n', '"'}) {
                    std::string changed = text;
                    changed[at] = strange;
                    take(changed);
                }
            }
        }
    }
}

TEST(RecordTimes, OutsideOfASpanAreTakenOffEverySeries) {
    RawData data;
    for (int i = 0; i < 5; ++i) {
        data.navigation.records.push_back({.time = i});
        data[ScalarKind::tide].records.push_back({.time = i});
        data.soundSpeeds.records.push_back({.time = i});
        data.depthPings.records.push_back({.time = i});
        data.errorFigures.records.push_back({.time = i});
    }
    data.casts.emplace_back();
    EXPECT_EQ(keepBetween(data, 1, 3), 10U);
    EXPECT_EQ(data.navigation.records.size(), 3U);
    EXPECT_EQ(data[ScalarKind::tide].records.front().time, 1);
    EXPECT_EQ(data.depthPings.records.back().time, 3);
    EXPECT_EQ(data.casts.size(), 1U);
}

namespace {

// Sums of the levels as a script of a few lines adds up the column of the file.
struct RealTide {
    const char* name;
    std::size_t records;
    const char* first;
    const char* last;
    double sum; // metres
};
class RealTides : public testing::TestWithParam<RealTide> {};

} // namespace

TEST_P(RealTides, GiveWhatIsKnownOfThem) {
    const auto path = skar::tests::realData(SKAR_SOURCE_DIR) / "tide" / GetParam().name;
    SKAR_SKIP_WITHOUT(path);
    FileSource source(path.string());
    const RawFormat* format = detectFormat(source, path.filename().string());
    ASSERT_NE(format, nullptr);
    const RawData data = format->read(source);
    const auto& records = data[ScalarKind::tide].records;
    ASSERT_EQ(records.size(), GetParam().records);
    EXPECT_EQ(utcText(records.front().time), GetParam().first);
    EXPECT_EQ(utcText(records.back().time), GetParam().last);
    double sum = 0.0;
    for (const TimedValue& record : records)
        sum += record.value;
    EXPECT_NEAR(sum, GetParam().sum, 1e-6);
    EXPECT_FALSE(data.problems.anyLoss());
    EXPECT_EQ(data.records(), records.size());
}

INSTANTIATE_TEST_SUITE_P(All, RealTides,
                         testing::Values(RealTide{"CO-OPS_9413450_wl_NAVD_2021-10.csv", 7440,
                                                  "2021-10-01T00:00:00.000Z", "2021-10-31T23:54:00.000Z",
                                                  7373.654544},
                                         RealTide{"HNL2010.asc", 8760, "2010-01-01T00:00:00.000Z",
                                                  "2010-12-31T23:00:00.000Z", 12417.393}),
                         [](const auto& file) { return std::string(file.param.name).substr(0, 2); });
