#include "casts.h"

#include <cerrno>

namespace {

using skar::tests::OnDisk;
using skar::tests::sectionAt;
using skar::tests::text;
using skar::tests::timeOn;
using skar::tests::Values;

using NativeSvp = OnDisk<SkarSvpFile>;

// 2026-045 is day 16846 from the start of 1980.
constexpr int day = 16846;
constexpr const char* header = "Section 2026-045 12:30:59 45:30:00 -063:15:00\n";

std::string with(const std::string& lines) {
    return header + lines;
}

TEST_F(NativeSvp, OfVersion2IsReadWithItsSource) {
    ASSERT_EQ(
        0, read("[SVP_VERSION_2]\nC:\\casts\\my cast.asvp\n" + with("  1.000000 1480.500000\n  2.5 1481\n")));
    EXPECT_EQ(2, file.getVersion());
    EXPECT_EQ(text("C:\\casts\\my cast.asvp"), file.getSourceFile());
    ASSERT_EQ(1u, file.GetRecordsInFile().count());
    const auto& section = sectionAt(file, 0);
    EXPECT_EQ(timeOn(day, 45059), section.time);
    EXPECT_EQ(text("45:30:00"), section.latitude);
    EXPECT_EQ(text("-063:15:00"), section.longitude);
    EXPECT_EQ(1u, section.status);
    EXPECT_TRUE(section.headerText.isEmpty());
    EXPECT_EQ(1u, section.values.head()->status);
    EXPECT_EQ((Values{{1.0, 1480.5}, {2.5, 1481.0}}), values());
}

TEST_F(NativeSvp, OfVersion2MayGoStraightToASection) {
    ASSERT_EQ(0, read("[SVP_VERSION_2]\n" + with("1 1500\n")));
    EXPECT_EQ(2, file.getVersion());
    EXPECT_TRUE(file.getSourceFile().isEmpty());
    EXPECT_EQ((Values{{1.0, 1500.0}}), values());
}

TEST_F(NativeSvp, IsKnownByTheFirst15CharactersOfItsFirstLine) {
    ASSERT_EQ(0, read("[SVP_VERSION_2] and more\nsource\n" + with("1 1500\n")));
    EXPECT_EQ(2, file.getVersion());
    EXPECT_EQ(text("source"), file.getSourceFile());
    // Read again from the start, such a line is a section of its own.
    EXPECT_EQ(5016009, read("[SVP_VERSION_2] Section\n" + with("1 1500\n")));
}

TEST_F(NativeSvp, OfVersion1StartsWithASection) {
    ASSERT_EQ(0, read(with("1 1500\n")));
    EXPECT_EQ(1, file.getVersion());
    EXPECT_TRUE(file.getSourceFile().isEmpty());
}

TEST_F(NativeSvp, OfVersion1IsWrittenAsVersion2UnderItsOwnName) {
    ASSERT_EQ(0, read(with("1 1500\n")));
    EXPECT_EQ("[SVP_VERSION_2]\n/line/cast\n" + with("  1.000000 1500.000000\n"), saved());
}

TEST_F(NativeSvp, HasOneSourceForEachReading) {
    ASSERT_EQ(0, read("[SVP_VERSION_2]\nsource\n" + with("1 1500\n")));
    ASSERT_EQ(0, read(with("2 1500\n")));
    EXPECT_TRUE(file.getSourceFile().isEmpty());
    EXPECT_EQ(1u, file.GetRecordsInFile().count());
    EXPECT_EQ((Values{{2.0, 1500.0}}), values());
}

TEST_F(NativeSvp, ThatDoesNotOpenOrIsEmptyHasItsCode) {
    EXPECT_EQ(5016011, file.ReadInData());
    EXPECT_EQ(-1, read(""));
    EXPECT_EQ(-1, read("[SVP_VERSION_2]\n"));
    EXPECT_EQ(-1, file.ReadSvpFile(nullptr));
    EXPECT_EQ(5016009, read("[SVP_VERSION_2]\nsource\n"));
    EXPECT_EQ(5016009, read("some words\nand more\n"));
    EXPECT_EQ(0, disk.openStreams());
}

TEST_F(NativeSvp, ThatCannotBeReadToItsEndFails) {
    std::string many = header;
    for (int i = 0; i < 20000; ++i)
        many += std::to_string(i) + " 1500\n";
    disk.put(path, many);
    disk.failAt(skar::tests::Op::read, 2, EIO, skar::tests::Repeat::forever);
    EXPECT_EQ(-1, file.ReadInData());
    EXPECT_EQ(0, disk.openStreams());
}

TEST_F(NativeSvp, ADataLineAheadOfTheFirstSectionFails) {
    EXPECT_EQ(5016009, read("[SVP_VERSION_2]\nsource\n1 1500\n" + with("2 1500\n")));
    EXPECT_EQ(5016009, read("-1 99999\n" + with("2 1500\n")));
    EXPECT_EQ(0, read("words\n\n" + with("2 1500\n")));
}

TEST_F(NativeSvp, DepthsThatAreNegativeOrDoNotIncreaseAreDropped) {
    ASSERT_EQ(0, read(with("1 1500\n2 1501\n2 1502\n1.5 1503\n3 1504\n")));
    EXPECT_EQ((Values{{1.0, 1500.0}, {2.0, 1501.0}, {3.0, 1504.0}}), values());
    ASSERT_EQ(0, read(with("-0.5 1500\n0 1501\n0.0 1502\n")));
    EXPECT_EQ((Values{{0.0, 1501.0}}), values());
}

TEST_F(NativeSvp, EachSectionHasDepthsOfItsOwn) {
    ASSERT_EQ(0, read(with("5 1500\n") + "Section 2026-046 00:00\n1 1500\n"));
    ASSERT_EQ(2u, file.GetRecordsInFile().count());
    EXPECT_EQ((Values{{1.0, 1500.0}}), values(1));
}

TEST_F(NativeSvp, VelocitiesFrom1400To2000AreKept) {
    ASSERT_EQ(0, read(with("1 1399.999\n2 1400.0\n3 2000.0\n4 2000.001\n3.5 1500\n")));
    EXPECT_EQ((Values{{2.0, 1400.0}, {3.0, 2000.0}, {3.5, 1500.0}}), values());
}

TEST_F(NativeSvp, SectionsStayInTheOrderOfTheFile) {
    ASSERT_EQ(0, read("Section 2026-046 00:00\n1 1500\nSection 2026-045 00:00\n1 1500\nSection 2026-045 "
                      "00:00\n1 1500\n"));
    ASSERT_EQ(3u, file.GetRecordsInFile().count());
    EXPECT_EQ(timeOn(day + 1, 0), sectionAt(file, 0).time);
    EXPECT_EQ(timeOn(day, 0), sectionAt(file, 1).time);
    EXPECT_EQ(timeOn(day, 0), sectionAt(file, 2).time);
}

TEST_F(NativeSvp, ASectionWithoutValuesIsReadAndNotWritten) {
    ASSERT_EQ(
        0, read("[SVP_VERSION_2]\nsource\n" + with("") + "Section 2026-046 01:02:03 1:2:3 4:5:6\n1 1500\n"));
    EXPECT_EQ(2u, file.GetRecordsInFile().count());
    EXPECT_EQ("[SVP_VERSION_2]\nsource\nSection 2026-046 01:02:03 1:2:3 4:5:6\n  1.000000 1500.000000\n",
              saved());
}

TEST_F(NativeSvp, WhatIsRemovedIsNotWritten) {
    ASSERT_EQ(
        0, read("[SVP_VERSION_2]\nsource\n" + with("1 1500\n2 1501\n") + "Section 2026-046 00:00\n1 1500\n"));
    ASSERT_EQ(0, file.RemoveSection(timeOn(day + 1, 0)));
    ASSERT_EQ(0, file.RemoveSvpValue(timeOn(day, 45059), 1.0));
    EXPECT_EQ("[SVP_VERSION_2]\nsource\n" + with("  2.000000 1501.000000\n"), saved());
    ASSERT_EQ(0, file.RemoveSvpValue(timeOn(day, 45059), 2.0));
    EXPECT_EQ("[SVP_VERSION_2]\nsource\n", saved());
}

TEST_F(NativeSvp, NewSectionsAreWrittenWithDefaultPositionsAndWholeSeconds) {
    file.setSourceFile(text("by hand"));
    ASSERT_EQ(0, file.AddSvpSection(timeOn(day, 3725) + 0.999, text(""), text("")));
    ASSERT_EQ(0, file.AddSvpValue(timeOn(day, 3725) + 0.999, 1.0 / 3, 1500.25));
    EXPECT_EQ("[SVP_VERSION_2]\nby hand\nSection 2026-045 01:02:05 00:00:0.00 000:00:0.00\n  0.333333 "
              "1500.250000\n",
              saved());
    ASSERT_EQ(0, file.ReadInData());
    EXPECT_EQ(timeOn(day, 3725), onlyTime());
}

TEST_F(NativeSvp, ATimeThatIsNoDateIsNotWritten) {
    disk.put(path, "kept");
    ASSERT_EQ(0, file.AddSvpSection(-1e18, text(""), text("")));
    ASSERT_EQ(0, file.AddSvpValue(-1e18, 1.0, 1500.0));
    EXPECT_EQ(-1, file.UpdateDataFile());
    EXPECT_EQ("kept", disk.bytes(path));
    ASSERT_NE(nullptr, MORVAErrorManager::instance().last());
    EXPECT_EQ(text("The time of a section is no date."), MORVAErrorManager::instance().last()->text());
}

TEST_F(NativeSvp, ASourceThatWouldSpoilTheFileIsShortened) {
    const auto second = [this](const std::string& source) {
        file.setSourceFile(text(source));
        const std::string bytes = saved();
        return bytes.substr(16, bytes.size() - 17);
    };
    EXPECT_EQ("cast.asvp", second("C:\\Sections\\cast.asvp"));
    EXPECT_EQ("source", second("/a/Section 3"));
    EXPECT_EQ("cast", second("/a/" + std::string(300, 'x') + "/cast"));
    EXPECT_EQ("source", second("two\nlines"));
    EXPECT_EQ("Søren", second("Søren"));
    disk.put("/Section/a", "");
    file.SetFileName(text("/Section/b"));
    file.setSourceFile(text(""));
    EXPECT_EQ(0, file.UpdateDataFile());
    EXPECT_EQ("[SVP_VERSION_2]\nb\n", disk.bytes("/Section/b"));
}

TEST_F(NativeSvp, APositionOfSeveralWordsIsNotWritten) {
    ASSERT_EQ(0, file.AddSvpSection(timeOn(day, 0), text("45 30 00"), text("4\n5")));
    ASSERT_EQ(0, file.AddSvpValue(timeOn(day, 0), 1.0, 1500.0));
    EXPECT_EQ("[SVP_VERSION_2]\n/line/cast\nSection 2026-045 00:00:00 00:00:0.00 000:00:0.00\n  1.000000 "
              "1500.000000\n",
              saved());
}

TEST_F(NativeSvp, LineEndsOfTwoCharactersAreReadAndNeverWritten) {
    ASSERT_EQ(
        0,
        read("[SVP_VERSION_2]\r\nsource\r\nSection 2026-045 12:30:59 45:30:00 -063:15:00\r\n  1 1500\r\n"));
    EXPECT_EQ("[SVP_VERSION_2]\nsource\n" + with("  1.000000 1500.000000\n"), saved());
}

TEST_F(NativeSvp, BytesThatAreNoUtf8ComeBack) {
    const std::string bytes = "[SVP_VERSION_2]\nQu\xE9"
                              "bec\n" +
                              with("  1.000000 1500.000000\n");
    ASSERT_EQ(0, read(bytes));
    EXPECT_EQ(bytes, saved());
}

TEST_F(NativeSvp, TheRestOfALongLineIsTheNextOne) {
    // The 255 characters end behind the value's first digits.
    ASSERT_EQ(0, read(with("1 1500\n" + std::string(255, ' ') + "2 1501\n")));
    EXPECT_EQ((Values{{1.0, 1500.0}, {2.0, 1501.0}}), values());
    ASSERT_EQ(0, read(with(std::string(250, ' ') + "3 1502\n")));
    EXPECT_EQ(Values{}, values());
}

TEST_F(NativeSvp, WhatFollowsAZeroInALineIsLost) {
    ASSERT_EQ(0, read(with(std::string("1 1500\0 words\n2 15\0", 19) + "00\n3 1501\n")));
    EXPECT_EQ((Values{{1.0, 1500.0}, {3.0, 1501.0}}), values());
}

struct HeaderCase {
    const char* line;
    int code;
    int seconds;
};
class SectionHeaders : public testing::TestWithParam<HeaderCase> {};

TEST_P(SectionHeaders, AreTakenApart) {
    SvpFile::SvpSections section(1.0, text("a"), text("b"));
    ASSERT_EQ(GetParam().code, SkarSvpFile::ParseSectionHeader(GetParam().line, section));
    EXPECT_EQ(GetParam().code == 0 ? timeOn(day, GetParam().seconds) : 1.0, section.time);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, SectionHeaders,
    testing::Values(
        HeaderCase{"Section 2026-045 12:30:59", 0, 45059},
        HeaderCase{"\t xSection \t2026-45\t 1:02", 0, 3720}, HeaderCase{"Section 2026-045 12:30:", 0, 45000},
        HeaderCase{"Section 2026-045 12:3059", 0, 45059}, HeaderCase{"Section 2026-045 12:30:5", 5016009, 0},
        HeaderCase{"Section 2026-045 12:30:599", 5016009, 0},
        HeaderCase{"Section 2026-045 123:30", 5016009, 0}, HeaderCase{"Section 2026-045 12:3", 5016009, 0},
        HeaderCase{"Section 2026-045 :30", 5016009, 0}, HeaderCase{"Section 2026-045 1230", 5016009, 0},
        HeaderCase{"Section 2026-0455 12:30", 5016009, 0}, HeaderCase{"Section 226-045 12:30", 5016009, 0},
        HeaderCase{"Section 2026- 12:30", 5016009, 0}, HeaderCase{"Section 2026-045x 12:30", 5016009, 0},
        HeaderCase{"Section 2026045 12:30", 5016009, 0}, HeaderCase{"Section 2026-045", 5016009, 0},
        HeaderCase{"Section", 5016009, 0}, HeaderCase{"", 5016009, 0}));

TEST(SectionHeader, TakesItsPositionFromExactlyFiveWords) {
    const auto position = [](const char* line) {
        SvpFile::SvpSections section;
        EXPECT_EQ(0, SkarSvpFile::ParseSectionHeader(line, section));
        return section.latitude.toUTF8() + ' ' + section.longitude.toUTF8();
    };
    EXPECT_EQ("1:2:3 4:5:6", position("Section 2026-045 12:30 1:2:3 4:5:6"));
    EXPECT_EQ("00:00:00.00 000:00:00.00", position("Section 2026-045 12:30"));
    EXPECT_EQ("00:00:00.00 000:00:00.00", position("Section 2026-045 12:30 1:2:3"));
    EXPECT_EQ("00:00:00.00 000:00:00.00", position("Section 2026-045 12:30 1:2:3 4:5:6 x"));
}

struct LineCase {
    const char* line;
    bool matches;
    double depth;
    double velocity;
};
class DataLines : public testing::TestWithParam<LineCase> {};

TEST_P(DataLines, HoldTwoNumbersAndNothingElse) {
    SvpFile::SvpValues value(7.0, 8.0, 1);
    ASSERT_EQ(GetParam().matches, SkarSvpFile::ParseSection(GetParam().line, value));
    EXPECT_EQ(GetParam().matches ? GetParam().depth : 7.0, value.depth);
    EXPECT_EQ(GetParam().matches ? GetParam().velocity : 8.0, value.velocity);
}

INSTANTIATE_TEST_SUITE_P(Lines, DataLines,
                         testing::Values(LineCase{"1 2", true, 1, 2},
                                         LineCase{"\t  +1.25\t -.5   ", true, 1.25, -0.5},
                                         LineCase{"001.10 0002", true, 1.1, 2}, LineCase{"1. 2", false, 0, 0},
                                         LineCase{"1 2.", false, 0, 0}, LineCase{"1 2\t", false, 0, 0},
                                         LineCase{"1 2 3", false, 0, 0}, LineCase{"1,2", false, 0, 0},
                                         LineCase{"1", false, 0, 0}, LineCase{"", false, 0, 0},
                                         LineCase{"1e3 2", false, 0, 0}, LineCase{"1 0x5", false, 0, 0},
                                         LineCase{"nan inf", false, 0, 0}, LineCase{"--1 2", false, 0, 0},
                                         LineCase{"1.2.3 4", false, 0, 0}, LineCase{". 1", false, 0, 0}));

TEST_F(NativeSvp, IsWrittenWholeOrNotAtAll) {
    ASSERT_EQ(0, read(with("1 1500\n2 1501\n")));
    expectIntactOnFailure();
}

TEST_F(NativeSvp, LongerThanABlockIsWrittenWholeOrNotAtAll) {
    std::string lines = header;
    for (int i = 0; i < 9000; ++i)
        lines += std::to_string(i) + " 1500\n";
    ASSERT_EQ(0, read(lines));
    EXPECT_EQ(9000u, sectionAt(file, 0).values.count());
    disk.noSpaceAfter(100000);
    EXPECT_EQ(-1, file.UpdateDataFile());
    EXPECT_EQ(lines, disk.bytes(path));
    EXPECT_EQ(text("There is not enough memory or disk space."),
              MORVAErrorManager::instance().last()->text());
    disk.clearFaults();
    ASSERT_EQ(0, file.UpdateDataFile());
    ASSERT_EQ(0, file.ReadInData());
    EXPECT_EQ(9000u, sectionAt(file, 0).values.count());
}

TEST_F(NativeSvp, ThatWasNotThereLeavesNothingWhenItCannotBeWritten) {
    ASSERT_EQ(0, file.AddSvpSection(timeOn(day, 0), text(""), text("")));
    ASSERT_EQ(0, file.AddSvpValue(timeOn(day, 0), 1.0, 1500.0));
    disk.noSpaceAfter(20);
    EXPECT_EQ(-1, file.UpdateDataFile());
    EXPECT_FALSE(disk.has(path));
    disk.clearFaults();
    EXPECT_EQ(0, file.UpdateDataFile());
    EXPECT_TRUE(disk.has(path));
}

TEST_F(NativeSvp, LeavesAFileUnderATemporaryNameAlone) {
    ASSERT_EQ(0, read(with("1 1500\n")));
    disk.put(std::string(path) + ".new", "somebody's");
    ASSERT_EQ(0, file.UpdateDataFile());
    EXPECT_EQ("somebody's", disk.bytes(std::string(path) + ".new"));
    EXPECT_EQ(3u, disk.files().size());
}

TEST_F(NativeSvp, WithoutANameCannotBeWritten) {
    file.SetFileName(text(""));
    EXPECT_EQ(-1, file.UpdateDataFile());
    EXPECT_EQ(5016011, file.ReadInData());
    file.SetFileName(text("/no/such/folder/file"));
    EXPECT_EQ(-1, file.UpdateDataFile());
}

} // namespace
