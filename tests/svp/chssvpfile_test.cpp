#include "casts.h"

#include <skar/time.h>

#include <boost/date_time/c_time.hpp>

#include <ctime>

namespace {

using skar::tests::OnDisk;
using skar::tests::sectionAt;
using skar::tests::text;
using skar::tests::timeOn;
using skar::tests::Values;
using Header = CHSSvpFile::SectionHeader;

using ChsSvp = OnDisk<CHSSvpFile>;

// 2026-02-14 is day 16846 from the start of 1980.
constexpr int day = 16846;
constexpr const char* header =
    "( SoundVelocity 1.01 1 202602150800 45.5000000 -63.2500000 -1 202602141230 202602141231 SOURCE N 2 )\n";

TEST(ChsHeader, IsTakenApart) {
    Header parsed;
    ASSERT_EQ(0, parsed.readFrom(header, 0));
    EXPECT_EQ(1.01, parsed.getVersion());
    EXPECT_EQ(45.5, parsed.getLatitude());
    EXPECT_EQ(-63.25, parsed.getLongitude());
    EXPECT_EQ(timeOn(day, 45000), parsed.getTime());
    EXPECT_EQ(2u, parsed.getNumRecords());
}

TEST(ChsHeader, MayBeSpacedInAnyWay) {
    Header parsed;
    EXPECT_EQ(0, parsed.readFrom("(  SoundVelocity\t1.0 0 x +4.5e1 -6 a 202602141230 b c d 0035 )", 0));
    EXPECT_EQ(45.0, parsed.getLatitude());
    EXPECT_EQ(35u, parsed.getNumRecords());
}

TEST(ChsHeader, ThatIsNoneChangesNothing) {
    for (const char* line :
         {"", "( SoundVelocity 1.01 1 202602150800 45.5 -63.25 -1 202602141230 202602141230 SOURCE N 2",
          "( soundvelocity 1.01 1 202602150800 45.5 -63.25 -1 202602141230 202602141230 SOURCE N 2 )",
          "( SoundVelocity x 1 202602150800 45.5 -63.25 -1 202602141230 202602141230 SOURCE N 2 )",
          "( SoundVelocity 1.01 1 202602150800 north -63.25 -1 202602141230 202602141230 SOURCE N 2 )",
          "( SoundVelocity 1.01 1 202602150800 1e999 -63.25 -1 202602141230 202602141230 SOURCE N 2 )",
          "( SoundVelocity 1.01 1 202602150800 45.5 -63.25 -1 when 202602141230 SOURCE N 2 )",
          "( SoundVelocity 1.01 1 202602150800 45.5 -63.25 -1 202602141230 202602141230 SOURCE N many )"}) {
        Header parsed;
        ASSERT_EQ(0, parsed.readFrom(header, 0));
        EXPECT_EQ(-1, parsed.readFrom(line, 0)) << line;
        EXPECT_EQ(1.01, parsed.getVersion());
        EXPECT_EQ(2u, parsed.getNumRecords());
    }
    EXPECT_EQ(-1, Header().readFrom(nullptr, 0));
}

struct StampCase {
    const char* stamp;
    double time;
};
class ChsTimes : public testing::TestWithParam<StampCase> {};

TEST_P(ChsTimes, HaveLimits) {
    Header parsed;
    ASSERT_EQ(
        0, parsed.readFrom(
               (std::string("( SoundVelocity 1 1 x 1 1 -1 ") + GetParam().stamp + " x S N 0 )").c_str(), 0));
    EXPECT_EQ(GetParam().time, parsed.getTime());
}

INSTANTIATE_TEST_SUITE_P(Stamps, ChsTimes,
                         testing::Values(StampCase{"202602142359", timeOn(day, 86340)},
                                         StampCase{"202602142400", 0.0}, StampCase{"202602141260", 0.0},
                                         StampCase{"202600141230", 0.0}, StampCase{"202613141230", 0.0},
                                         StampCase{"202602001230", 0.0}, StampCase{"202602321230", 0.0},
                                         // A day beyond its month counts on, as long as it stays in the year.
                                         StampCase{"202602301230", timeOn(day + 16, 45000)},
                                         StampCase{"189912312359", 0.0}, StampCase{"300101010000", 0.0},
                                         StampCase{"0", 0.0}, StampCase{"-202602141230", 0.0},
                                         StampCase{"20260214123000", 0.0},
                                         StampCase{"99999999999999999999", 0.0},
                                         // 1020 years of 365 days and 247 leap days.
                                         StampCase{"300001010000", timeOn(1020 * 365 + 248, 0)}));

TEST(ChsHeader, GivesPositionsInWholeSeconds) {
    const auto position = [](const char* degrees) {
        std::string line =
            std::string("( SoundVelocity 1.5 1 x ") + degrees + " -0.5 -1 202602141230 x S N 7 )";
        double version = 0.0;
        double time = 0.0;
        MORVAUString latitude;
        MORVAUString longitude;
        int records = 0;
        CHSSvpFile::ParseHeader(line.data(), version, time, latitude, longitude, records);
        EXPECT_EQ(1.5, version);
        EXPECT_EQ(timeOn(day, 45000), time);
        EXPECT_EQ(text("-0:30:00"), longitude);
        EXPECT_EQ(7, records);
        return latitude.toUTF8();
    };
    EXPECT_EQ("45:30:00", position("45.5"));
    EXPECT_EQ("-45:30:00", position("-45.5"));
    EXPECT_EQ("-0:00:00", position("0"));
    EXPECT_EQ("1:02:03", position("1.03416667"));
    EXPECT_EQ("1:02:60", position("1.0499999"));
    EXPECT_EQ("0:00:00", position("0.0000001"));
    EXPECT_EQ("2147483647:2147483647:2147483647", position("1e300"));
}

TEST(ChsHeader, ThatIsNoneGivesOnlyTheVersion0) {
    std::string line = "( soundvelocity";
    double version = 1.0;
    double time = 2.0;
    MORVAUString latitude = text("a");
    MORVAUString longitude = text("b");
    int records = 3;
    CHSSvpFile::ParseHeader(line.data(), version, time, latitude, longitude, records);
    EXPECT_EQ(0.0, version);
    EXPECT_EQ(2.0, time);
    EXPECT_EQ(text("a"), latitude);
    EXPECT_EQ(text("b"), longitude);
    EXPECT_EQ(3, records);
}

// The date of a header is the local time of its making.
std::string stampAt(std::time_t time) {
    std::tm local{};
    boost::date_time::c_time::localtime(&time, &local);
    char stamp[32];
    std::strftime(stamp, sizeof(stamp), "%Y%m%d%H%M", &local);
    return stamp;
}

TEST(ChsHeader, IsGenerated) {
    const std::time_t before = std::time(nullptr);
    MORVAUString made;
    CHSSvpFile::GenerateHeader(made, timeOn(day, 45059), 45.5, -63.12345678, 12);
    const std::time_t after = std::time(nullptr);
    const std::string line = made.toUTF8();
    const auto expected = [](const std::string& stamp) {
        return "( SoundVelocity 1.01 1 " + stamp +
               " 45.5000000 -63.1234568 -1 202602141230 202602141230 SVPEDITOR N 12 )\n";
    };
    EXPECT_TRUE(line == expected(stampAt(before)) || line == expected(stampAt(after))) << line;
}

TEST(ChsHeader, TheFirstInstantOfAYearIsThatOfItsFirstDay) {
    for (const std::int32_t year : {1979, 1980, 1981, 1982, 2026}) {
        MORVAUString made;
        CHSSvpFile::GenerateHeader(made, TmYDStoUTCs80(year, 1, 0), 0, 0, 1);
        const std::string stamp = std::to_string(year) + "01010000";
        EXPECT_NE(made.toUTF8().find(stamp), std::string::npos) << made.toUTF8();
    }
}

TEST(ChsHeader, KeepsWhatAnUpdateDoesNotConcern) {
    MORVAUString line = text("(  a b  c\td 1 2 e f g h i 3 )\n");
    CHSSvpFile::UpdateHeader(line, -1.25, 2.0, 40);
    EXPECT_EQ(text("( a b c d -1.2500000 2.0000000 e f g h i 40 )\n"), line);
    MORVAUString shortLine = text("( a b c d 1 2 e f g h i 3");
    CHSSvpFile::UpdateHeader(shortLine, -1.25, 2.0, 40);
    EXPECT_EQ(text("( a b c d 1 2 e f g h i 3"), shortLine);
}

TEST_F(ChsSvp, IsRead) {
    ASSERT_EQ(0, read(std::string(header) + "1.00   1480.50\n0.5 900 and more\n-3e1 1.5\n"));
    const auto& section = sectionAt(file, 0);
    EXPECT_EQ(timeOn(day, 45000), section.time);
    EXPECT_EQ(text("45:30:00"), section.latitude);
    EXPECT_EQ(text("-63:15:00"), section.longitude);
    EXPECT_EQ(1u, section.status);
    EXPECT_EQ(text(header), section.headerText);
    EXPECT_EQ(1.01, file.getVersion());
    // Neither order nor range nor the stated number of records matters.
    EXPECT_EQ((Values{{1.0, 1480.5}, {0.5, 900.0}, {-30.0, 1.5}}), values());
}

TEST_F(ChsSvp, LinesThatAreNoValueAndThoseAheadOfTheFirstHeaderAreSkipped) {
    ASSERT_EQ(0, read("1 1500\n" + std::string(header) +
                      "\n  \nx 1\n1\n1 y\n1e999 1500\n( SoundVelocity\n2 1501\n"));
    ASSERT_EQ(2u, file.GetRecordsInFile().count());
    EXPECT_EQ(Values{}, values(0));
    EXPECT_EQ((Values{{2.0, 1501.0}}), values(1));
}

TEST_F(ChsSvp, AHeaderOf13FieldsKeepsItsSectionWithoutTime) {
    const std::string line =
        "( SoundVelocity 1.01 1 202602150800 45.5 -63.25 -1 202602141230 202602141230 SOURCE N 2\n";
    ASSERT_EQ(0, read(std::string(header) + "1 1500\n" + line + "2 1501\n"));
    EXPECT_EQ(0.0, file.getVersion());
    const auto& section = sectionAt(file, 1);
    EXPECT_EQ(0.0, section.time);
    EXPECT_TRUE(section.latitude.isEmpty());
    EXPECT_EQ((Values{{2.0, 1501.0}}), values(1));
    EXPECT_EQ(std::string(header).replace(97, 1, "1") + "1.00   1500.00\n" + line + "2.00   1501.00\n",
              saved());
}

TEST_F(ChsSvp, ThatDoesNotOpenOrCannotBeReadHasItsCode) {
    EXPECT_EQ(5016011, file.ReadInData());
    EXPECT_EQ(0, read(""));
    disk.put(path, header);
    disk.failAt(skar::tests::Op::read, 1, EIO, skar::tests::Repeat::forever);
    EXPECT_EQ(-1, file.ReadInData());
    EXPECT_EQ(0, disk.openStreams());
}

TEST_F(ChsSvp, IsEmptiedByTheNextReading) {
    ASSERT_EQ(0, read(std::string(header) + "1 1500\n"));
    ASSERT_EQ(0, read(std::string(header) + "2 1500\n"));
    EXPECT_EQ(1u, file.GetRecordsInFile().count());
    ASSERT_EQ(0, read("x\n"));
    EXPECT_EQ(0.0, file.getVersion());
}

TEST_F(ChsSvp, AnEditLeavesAllFieldsButPositionAndCount) {
    ASSERT_EQ(0, read(std::string(header) + "1 1500\n2 1501.005\n3 1502\n"));
    ASSERT_EQ(0, file.SetSvpValue(timeOn(day, 45000), 2.0, 1499.0));
    EXPECT_EQ(std::string(header).replace(97, 1, "3") + "1.00   1500.00\n2.00   1499.00\n3.00   1502.00\n",
              saved());
}

TEST_F(ChsSvp, TheCountIsThatOfTheLinesThatFollow) {
    ASSERT_EQ(0, read(std::string(header) + "1 1500\n2 1501\n3 1502\n"));
    ASSERT_EQ(0, file.RemoveSvpValue(timeOn(day, 45000), 1.0));
    ASSERT_EQ(0, file.RemoveSvpValue(timeOn(day, 45000), 3.0));
    ASSERT_EQ(0, file.SetSvpSection(timeOn(day, 45000), text("-1:30:00"), text("2:00:00")));
    EXPECT_EQ(
        "( SoundVelocity 1.01 1 202602150800 -1.5000000 2.0000000 -1 202602141230 202602141231 SOURCE N 1 )\n"
        "2.00   1501.00\n",
        saved());
}

TEST_F(ChsSvp, SectionsThatAreRemovedOrEmptyAreLeftOut) {
    ASSERT_EQ(0, read(std::string(header) + "1 1500\n" + header));
    EXPECT_EQ(2u, file.GetRecordsInFile().count());
    ASSERT_EQ(0, file.RemoveSection(timeOn(day, 45000)));
    EXPECT_EQ("", saved());
}

TEST_F(ChsSvp, ANewSectionGetsAHeader) {
    ASSERT_EQ(0, file.AddSvpSection(timeOn(day, 45000), text("45:30:00"), text("-063:15:00")));
    ASSERT_EQ(0, file.AddSvpValue(timeOn(day, 45000), 1.0, 1500.0));
    const std::string bytes = saved();
    ASSERT_EQ(std::string(header).size() + 3 + 15, bytes.size());
    EXPECT_EQ("( SoundVelocity 1.01 1 ", bytes.substr(0, 23));
    EXPECT_EQ(" 45.5000000 -63.2500000 -1 202602141230 202602141230 SVPEDITOR N 1 )\n1.00   1500.00\n",
              bytes.substr(35));
    EXPECT_FALSE(sectionAt(file, 0).headerText.isEmpty());
}

TEST_F(ChsSvp, LineEndsOfTwoCharactersAreReadAndNeverWritten) {
    std::string bytes = std::string(header) + "1.00   1500.00\n2.00   1501.00\n";
    std::string other;
    for (const char c : bytes)
        other += c == '\n' ? std::string("\r\n") : std::string(1, c);
    ASSERT_EQ(0, read(other));
    EXPECT_EQ(bytes, saved());
}

TEST_F(ChsSvp, BytesThatAreNoUtf8ComeBack) {
    std::string bytes = header;
    bytes.replace(bytes.find("SOURCE"), 6,
                  "Qu\xE9"
                  "bec");
    bytes += "1.00   1500.00\n2.00   1501.00\n";
    ASSERT_EQ(0, read(bytes));
    EXPECT_EQ(bytes, saved());
}

TEST_F(ChsSvp, IsWrittenWholeOrNotAtAll) {
    ASSERT_EQ(0, read(std::string(header) + "1 1500\n"));
    expectIntactOnFailure();
}

} // namespace
