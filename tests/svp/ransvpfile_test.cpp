#include "casts.h"

namespace {

using skar::tests::OnDisk;
using skar::tests::sectionAt;
using skar::tests::text;
using skar::tests::timeOn;
using skar::tests::Value;
using skar::tests::Values;

using DatSvp = OnDisk<RANSvpFile_Dat>;
using EdfSvp = OnDisk<RANSvpFile_Edf>;

// 2026-02-14 is day 16846 from the start of 1980.
constexpr int day = 16846;
constexpr double castTime = timeOn(day, 45059);

std::string datLine(const std::string& depth, const std::string& auxiliary = " +1.0000",
                    const std::string& velocity = "+1480.5000") {
    return "+45.5000 ,-63.2500 ," + depth + " ,14/02/2026 12:30:59, " + auxiliary + " ," + velocity + "\n";
}

struct DatFields {
    double numbers[5] = {-1, -2, -3, -4, -5};
    MORVAUString date = text("date");
    MORVAUString time = text("time");

    bool decode(std::string line) {
        return RANSvpFile_Dat::DecodeData(line.data(), numbers[0], numbers[1], numbers[2], date, time,
                                          numbers[3], numbers[4]);
    }
};

TEST(DatLine, HasSevenFields) {
    DatFields fields;
    ASSERT_TRUE(fields.decode(datLine("+001.250")));
    EXPECT_EQ(45.5, fields.numbers[0]);
    EXPECT_EQ(-63.25, fields.numbers[1]);
    EXPECT_EQ(1.25, fields.numbers[2]);
    EXPECT_EQ(text("14/02/2026"), fields.date);
    EXPECT_EQ(text("12:30:59"), fields.time);
    EXPECT_EQ(1.0, fields.numbers[3]);
    EXPECT_EQ(1480.5, fields.numbers[4]);
}

TEST(DatLine, MayBeParedByCommasOrBlanksAndHaveDepth0) {
    EXPECT_TRUE(DatFields().decode("1,2,0,d,t,3,1000.0"));
    EXPECT_TRUE(DatFields().decode(" 1\t2  0 d t 3 2000.0 \n"));
}

TEST(DatLine, ThatIsNoneLeavesTheOutputs) {
    for (const char* line : {"", "1,2,3,d,t,3", "1,2,3,d,t,3,1500,x", "0,2,3,d,t,3,1500", "1,0,3,d,t,3,1500",
                             "1,2,3,d,t,0,1500", "1,2,3,d,t,3,0", "1,2,3,d,t,3,999.9", "1,2,3,d,t,3,2000.1",
                             "x,2,3,d,t,3,1500", "1,2,1e999,d,t,3,1500", "1e999,2,3,d,t,3,1500"}) {
        DatFields fields;
        EXPECT_FALSE(fields.decode(line)) << line;
        EXPECT_EQ(-1.0, fields.numbers[0]);
        EXPECT_EQ(-5.0, fields.numbers[4]);
        EXPECT_EQ(text("date"), fields.date);
    }
    DatFields fields;
    EXPECT_FALSE(RANSvpFile_Dat::DecodeData(nullptr, fields.numbers[0], fields.numbers[1], fields.numbers[2],
                                            fields.date, fields.time, fields.numbers[3], fields.numbers[4]));
}

TEST(DatTime, IsOfDayMonthAndYear) {
    const auto time = [](const char* date, const char* timeOfDay) {
        return RANSvpFile_Dat::DecodeTimeStamp(text(date), text(timeOfDay));
    };
    EXPECT_EQ(castTime, time("14/02/2026", "12:30:59"));
    EXPECT_EQ(castTime, time("14.2.2026", "12:30:59"));
    EXPECT_EQ(timeOn(day, 0), time("14:02:2026", ""));
    EXPECT_EQ(timeOn(day, 3600), time("14/02/2026", "1"));
    // Such a month has no days: it is the last day of the year before.
    EXPECT_EQ(timeOn(day - 45, 0), time("14/13/2026", "0:0:0"));
    EXPECT_NO_FATAL_FAILURE(
        time("99999999999/99999999999/99999999999", "99999999999:99999999999:99999999999"));
}

TEST_F(DatSvp, IsRead) {
    ASSERT_EQ(0, read("a heading\n" + datLine("+001.000") + "words\n" + datLine("+002.000", "2.5", "1481")));
    ASSERT_EQ(1u, file.GetRecordsInFile().count());
    const auto& section = sectionAt(file, 0);
    EXPECT_EQ(castTime, section.time);
    EXPECT_TRUE(section.latitude.isEmpty());
    EXPECT_TRUE(section.longitude.isEmpty());
    EXPECT_TRUE(section.headerText.isEmpty());
    EXPECT_EQ(1u, section.status);
    EXPECT_EQ(1u, section.values.head()->status);
    EXPECT_EQ((Values{{1.0, 1480.5}, {2.0, 1481.0}}), values());
    ASSERT_EQ(2u, file.GetDataList().size());
    const auto& record = file.GetDataList().back();
    EXPECT_EQ(45.5, record.latitude);
    EXPECT_EQ(-63.25, record.longitude);
    EXPECT_EQ(2.0, record.depth);
    EXPECT_EQ(text("14/02/2026"), record.date);
    EXPECT_EQ(text("12:30:59"), record.time);
    EXPECT_EQ(2.5, record.auxiliary);
    EXPECT_EQ(1481.0, record.velocity);
}

TEST_F(DatSvp, DepthsAreWholeCentimetresThatIncrease) {
    ASSERT_EQ(0, read(datLine("-2") + datLine("-1.5") + datLine("1.001") + datLine("1.009") + datLine("1.5") +
                      datLine("1.2") + datLine("7.129")));
    EXPECT_EQ((Values{{-2.0, 1480.5}, {-1.5, 1480.5}, {1.0, 1480.5}, {1.5, 1480.5}, {7.12, 1480.5}}),
              values());
    EXPECT_EQ(5u, file.GetDataList().size());
    EXPECT_EQ(1.0, std::next(file.GetDataList().begin(), 2)->depth);
}

TEST_F(DatSvp, ADepthJustBelowItsCentimetresInBinaryLosesOne) {
    // 0.29 * 100 is below 29.
    ASSERT_EQ(0, read(datLine("0.29")));
    EXPECT_EQ((Values{{0.28, 1480.5}}), values());
}

TEST_F(DatSvp, DepthsBelowTheSmallestAreDropped) {
    ASSERT_EQ(0, read(datLine("-21474836.47") + datLine("-21474836.46")));
    EXPECT_EQ((Values{{-21474836.46, 1480.5}}), values());
}

TEST_F(DatSvp, WithoutALineHasNoSection) {
    EXPECT_EQ(5016011, file.ReadInData());
    EXPECT_EQ(5016009, read(""));
    EXPECT_EQ(5016009, read("words\n"));
    EXPECT_TRUE(file.GetRecordsInFile().isEmpty());
}

TEST_F(DatSvp, IsEmptiedByTheNextReading) {
    ASSERT_EQ(0, read(datLine("1")));
    EXPECT_EQ(5016009, read("words\n"));
    EXPECT_TRUE(file.GetRecordsInFile().isEmpty());
    EXPECT_TRUE(file.GetDataList().empty());
}

TEST_F(DatSvp, IsWrittenLineByLine) {
    ASSERT_EQ(0, read("a heading\n1,-2,3.456,1/2/2026,1:2:3,4,1500\n"));
    EXPECT_EQ(" +1.0000 , -2.0000 ,+003.450 ,1/2/2026 1:2:3,  +4.0000 ,+1500.0000\n", saved());
    ASSERT_EQ(0, read("-100.12345,200,-3,1/2/2026,1:2:3,-40000.5,1500.00005\n"));
    EXPECT_EQ("-100.1235 ,+200.0000 ,-003.000 ,1/2/2026 1:2:3, -40000.5000 ,+1500.0001\n", saved());
}

std::string auxiliaryOf(const std::string& bytes) {
    std::string all;
    for (std::size_t at = 0; at < bytes.size(); at = bytes.find('\n', at) + 1) {
        DatFields fields;
        EXPECT_TRUE(fields.decode(bytes.substr(at, bytes.find('\n', at) - at)));
        all += std::to_string(static_cast<int>(fields.numbers[2])) + ':' +
               std::to_string(static_cast<int>(fields.numbers[3])) + ' ';
    }
    return all;
}

TEST_F(DatSvp, ANewValueInheritsTheFieldsOfTheOneBefore) {
    ASSERT_EQ(0, read(datLine("10", "1") + datLine("20", "2") + datLine("30", "3")));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 15, 1500));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 16, 1500));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 40, 1500));
    EXPECT_EQ("10:1 15:1 16:1 20:2 30:3 40:3 ", auxiliaryOf(saved()));
}

TEST_F(DatSvp, AValueAheadOfTheFirstRecordTakesItsFields) {
    ASSERT_EQ(0, read(datLine("10", "1") + datLine("20", "2")));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 5, 1500));
    EXPECT_EQ("5:1 10:1 20:2 ", auxiliaryOf(saved()));
}

TEST_F(DatSvp, ARemovedValueTakesItsRecordAlong) {
    ASSERT_EQ(0, read(datLine("10", "1") + datLine("20", "2") + datLine("30", "3")));
    ASSERT_EQ(0, file.RemoveSvpValue(castTime, 20));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 25, 1500));
    EXPECT_EQ("10:1 25:1 30:3 ", auxiliaryOf(saved()));
}

TEST_F(DatSvp, ARevivedValueHasItsRecordAndANewOneThatWentAgainHasNone) {
    ASSERT_EQ(0, read(datLine("10", "1") + datLine("20", "2") + datLine("30", "3")));
    ASSERT_EQ(0, file.RemoveSvpValue(castTime, 20));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 20, 1500));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 25, 1500));
    ASSERT_EQ(0, file.RemoveSvpValue(castTime, 25));
    EXPECT_EQ("10:1 20:2 30:3 ", auxiliaryOf(saved()));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 25, 1500));
    EXPECT_EQ("10:1 20:2 25:2 30:3 ", auxiliaryOf(saved()));
}

TEST_F(DatSvp, TheWrittenDepthAndVelocityAreTheValues) {
    ASSERT_EQ(0, read(datLine("10")));
    ASSERT_EQ(0, file.SetSvpValue(castTime, 10, 1499.5));
    EXPECT_EQ(datLine("+010.000", " +1.0000", "+1499.5000"), saved());
}

TEST_F(DatSvp, WithoutRecordsCannotBeWritten) {
    disk.put(path, "kept");
    ASSERT_EQ(0, file.AddSvpSection(castTime, text("1:0:0"), text("2:0:0")));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 10, 1500));
    EXPECT_EQ(-1, file.UpdateDataFile());
    EXPECT_EQ("kept", disk.bytes(path));
    EXPECT_FALSE(MORVAErrorManager::instance().last()->text().isEmpty());
}

TEST_F(DatSvp, ARemovedSectionIsLeftOutAndAHeaderTextWritten) {
    ASSERT_EQ(0, read(datLine("+010.000")));
    file.GetRecordsInFile().head()->headerText = text("heading\n");
    EXPECT_EQ("heading\n" + datLine("+010.000"), saved());
    ASSERT_EQ(0, file.RemoveSection(castTime));
    EXPECT_EQ("", saved());
}

TEST_F(DatSvp, LineEndsOfTwoCharactersAreReadAndNeverWritten) {
    const std::string line = datLine("+010.000");
    ASSERT_EQ(0, read(line.substr(0, line.size() - 1) + "\r\n"));
    EXPECT_EQ(line, saved());
}

TEST_F(DatSvp, IsWrittenWholeOrNotAtAll) {
    ASSERT_EQ(0, read("heading\n" + datLine("10")));
    expectIntactOnFailure();
}

constexpr const char* edfBefore = "// header\nDate of Launch:  14/02/2026\nTime of Launch:  12:30:59\n";
constexpr const char* edfAfter = "Serial #      :  1\nDepth (m) - Temperature (\xB0"
                                 "C)\nfirst line is skipped\n";

std::string edf(const std::string& position, const std::string& data) {
    return edfBefore + position + edfAfter + data;
}
constexpr const char* position = "Latitude      :  45 30.000N\nLongitude     :  63 15.500W\n";

TEST(EdfLine, HasThreeNumbers) {
    double auxiliary = -1;
    double depth = -2;
    double velocity = -3;
    for (const char* line :
         {"", "1 2", "1 0 1500", "1 2 0", "1 2 999.9", "1 2 2000.1", "1 x 1500", "1,2,1500"}) {
        EXPECT_FALSE(RANSvpFile_Edf::DecodeData(line, auxiliary, depth, velocity)) << line;
        EXPECT_EQ(-1, auxiliary);
        EXPECT_EQ(-2, depth);
        EXPECT_EQ(-3, velocity);
    }
    EXPECT_FALSE(RANSvpFile_Edf::DecodeData(nullptr, auxiliary, depth, velocity));
    EXPECT_TRUE(RANSvpFile_Edf::DecodeData("0 -2.5 1000", auxiliary, depth, velocity));
    EXPECT_TRUE(RANSvpFile_Edf::DecodeData("\t0.5\t12.25\t2000.0 more", auxiliary, depth, velocity));
    EXPECT_EQ(12.25, auxiliary);
    EXPECT_EQ(0.5, depth);
    EXPECT_EQ(2000.0, velocity);
}

TEST_F(EdfSvp, IsRead) {
    ASSERT_EQ(0, read(edf(position, "0.5\t12.25\t1500.5\nwords\n1.5 12 1501\n")));
    const auto& section = sectionAt(file, 0);
    EXPECT_EQ(castTime, section.time);
    EXPECT_EQ(text("45:30:00"), section.latitude);
    EXPECT_EQ(text("-063:15:30"), section.longitude);
    EXPECT_EQ(1u, section.status);
    EXPECT_EQ((Values{{0.5, 1500.5}, {1.5, 1501.0}}), values());
    ASSERT_EQ(2u, file.GetDataList().size());
    EXPECT_EQ(12.25, file.GetDataList().front().auxiliary);
    EXPECT_EQ(0.5, file.GetDataList().front().depth);
    EXPECT_EQ(1500.5, file.GetDataList().front().velocity);
}

TEST_F(EdfSvp, LabelsAreReadInAnyCase) {
    ASSERT_EQ(
        0,
        read("DATE OF Launch:  14/02/2026\ntime of launch:  1:2:3\nLATITUDE      :  1 2.5S\nlongitude     :  "
             "3 4.25e\nDepth (m)\n\n1 1 1500\n"));
    EXPECT_EQ(timeOn(day, 3723), onlyTime());
    EXPECT_EQ(text("-01:02:30"), sectionAt(file, 0).latitude);
    EXPECT_EQ(text("003:04:15"), sectionAt(file, 0).longitude);
}

TEST_F(EdfSvp, PositionsAreInWholeSeconds) {
    const auto latitude = [this](const std::string& value) {
        EXPECT_EQ(0, read(edf("Latitude      :  " + value + "\n", "1 1 1500\n")));
        return sectionAt(file, 0).latitude.toUTF8();
    };
    EXPECT_EQ("26:28:37", latitude("26 28.62012N"));
    EXPECT_EQ("-21:11:50", latitude("21 11.8374S"));
    EXPECT_EQ("10:59:60", latitude("10 59.9999N"));
    EXPECT_EQ("05:00:00", latitude("5 0N"));
    EXPECT_EQ("05:12:00", latitude("5 12"));
    EXPECT_EQ("-05:12:00", latitude("-5 12S"));
    EXPECT_EQ("00:00:00", latitude(""));
    EXPECT_EQ("00:00:00", latitude("5"));
    EXPECT_EQ("00:00:00", latitude("N"));
    EXPECT_EQ("05:1000000000:00", latitude("5 1e300N"));
}

TEST_F(EdfSvp, WithoutPositionIsAtZero) {
    ASSERT_EQ(0, read(edf("", "1 1 1500\n")));
    EXPECT_EQ(text("00:00:00"), sectionAt(file, 0).latitude);
    EXPECT_EQ(text("00:00:00"), sectionAt(file, 0).longitude);
    EXPECT_EQ(edfBefore +
                  std::string("Serial #      :  1\nLatitude      :  0  0.000N\nLongitude     :  0  0.000E\n"
                              "Depth (m) - Temperature (\xB0"
                              "C)\nfirst line is skipped\n1.0 1.00 1500.00\n"),
              saved());
}

TEST_F(EdfSvp, WithoutDateOrTimeHasItsCode) {
    EXPECT_EQ(5016011, file.ReadInData());
    for (const char* bytes : {"", "Date of Launch:  14/02/2026\nDepth (m)\n\n1 1 1500\n",
                              "Time of Launch:  1:2:3\nDepth (m)\n\n1 1 1500\n",
                              "Date of Launch:  14/02\nTime of Launch:  1:2:3\nDepth (m)\n\n1 1 1500\n",
                              "Date of Launch:  14/02/2026\nTime of Launch:  1h\nDepth (m)\n\n1 1 1500\n",
                              "Date of Launch\nTime of Launch\n"}) {
        EXPECT_EQ(5016009, read(bytes)) << bytes;
        EXPECT_TRUE(file.GetRecordsInFile().isEmpty());
    }
    EXPECT_EQ(0, disk.openStreams());
}

TEST_F(EdfSvp, WithoutTheDepthLineHasNoValues) {
    ASSERT_EQ(0, read(std::string(edfBefore) + "1 1 1500\n2 1 1500\n"));
    EXPECT_EQ(Values{}, values());
}

TEST_F(EdfSvp, TheLineBehindTheDepthLineIsNoValue) {
    ASSERT_EQ(0, read(std::string(edfBefore) + "Depth (m)\n1 1 1500\n2 1 1501\n"));
    EXPECT_EQ((Values{{2.0, 1501.0}}), values());
}

TEST_F(EdfSvp, DepthsAreWholeCentimetresThatIncrease) {
    ASSERT_EQ(0, read(edf(position, "-1 1 1500\n1.001 1 1500\n1.009 1 1500\n0.5 1 1500\n1.239 1 1500\n")));
    EXPECT_EQ((Values{{-1.0, 1500.0}, {1.0, 1500.0}, {1.23, 1500.0}}), values());
}

TEST_F(EdfSvp, IsWrittenWithItsHeader) {
    const std::string bytes = edf("Latitude      :  45 30.000N\nLongitude     :  63 15.500W\n",
                                  "0.5 12.25 1500.50\n1.5 -0.75 1501.00\n");
    ASSERT_EQ(0, read(bytes));
    EXPECT_EQ(bytes, saved());
    ASSERT_EQ(0, file.SetSvpSection(castTime, text("-00:30:00"), text("170:00:30")));
    EXPECT_EQ(edf("Latitude      :  0 30.000S\nLongitude     :  170  0.500E\n",
                  "0.5 12.25 1500.50\n1.5 -0.75 1501.00\n"),
              saved());
}

TEST_F(EdfSvp, AHeaderIsGeneratedForAnyPosition) {
    ASSERT_EQ(0, read(edf(position, "1 1 1500\n")));
    MORVAUString header;
    file.GenerateHeader(header, -1.75, 0.0);
    SvpFile::SvpSections section;
    const icu::UnicodeString& units = header.unicode();
    EXPECT_GE(
        units.indexOf(icu::UnicodeString(u"Latitude      :  1 45.000S\nLongitude     :  0  0.000E\nSerial")),
        0);
    EXPECT_TRUE(units.startsWith(icu::UnicodeString(u"// header\nDate of")));
}

TEST_F(EdfSvp, LinesBetweenAndAroundThePositionSurvive) {
    ASSERT_EQ(0,
              read(edf("Longitude     :  63 15.500W\nbetween\nLatitude      :  45 30.000N\n", "1 1 1500\n")));
    EXPECT_EQ(edf(std::string(position) + "between\n", "1.0 1.00 1500.00\n"), saved());
}

TEST_F(EdfSvp, ValuesAndRecordsAreWalkedSideBySide) {
    ASSERT_EQ(0, read(edf(position, "10 1 1500\n20 2 1500\n30 3 1500\n")));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 5, 1501));
    ASSERT_EQ(0, file.RemoveSvpValue(castTime, 20));
    ASSERT_EQ(0, file.AddSvpValue(castTime, 25, 1502));
    EXPECT_EQ(edf(position, "5.0 1.00 1501.00\n10.0 1.00 1500.00\n25.0 1.00 1502.00\n30.0 3.00 1500.00\n"),
              saved());
}

TEST_F(EdfSvp, WithoutRecordsCannotBeWritten) {
    ASSERT_EQ(0, read(edf(position, "")));
    EXPECT_EQ(-1, file.UpdateDataFile());
    EXPECT_EQ(edf(position, ""), disk.bytes(path));
}

TEST_F(EdfSvp, ARemovedSectionIsLeftOut) {
    ASSERT_EQ(0, read(edf(position, "1 1 1500\n")));
    ASSERT_EQ(0, file.RemoveSection(castTime));
    EXPECT_EQ("", saved());
}

TEST_F(EdfSvp, LineEndsOfTwoCharactersAreReadAndNeverWritten) {
    const std::string bytes = edf(position, "0.5 12.25 1500.50\n");
    std::string other;
    for (const char c : bytes)
        other += c == '\n' ? std::string("\r\n") : std::string(1, c);
    ASSERT_EQ(0, read(other));
    EXPECT_EQ(bytes, saved());
}

TEST_F(EdfSvp, IsWrittenWholeOrNotAtAll) {
    ASSERT_EQ(0, read(edf(position, "1 1 1500\n")));
    expectIntactOnFailure();
}

} // namespace
