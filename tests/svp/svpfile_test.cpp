#include "casts.h"

#include <skar/soundvelocity.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <type_traits>

namespace {

using skar::tests::FaultBackend;
using skar::tests::text;
using skar::tests::Value;
using skar::tests::Values;
using skar::tests::valuesOf;

static_assert(std::has_virtual_destructor_v<SvpFile::SvpSections>);
static_assert(std::has_virtual_destructor_v<SvpFile>);

const MORVAUString latitude = text("45:30:00");
const MORVAUString longitude = text("-063:15:00");

class SvpFileModel : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(0, file.AddSvpSection(100.0, latitude, longitude));
        ASSERT_EQ(0, file.AddSvpValue(100.0, 10.0, 1500.0));
    }
    SvpFile::SvpSections& section() { return *file.GetRecordsInFile().head(); }

    SvpFile file;
};

TEST(SvpFile, HasNoSectionsNameAndADepthToleranceOf9Millimetres) {
    SvpFile file;
    EXPECT_TRUE(file.GetRecordsInFile().isEmpty());
    EXPECT_TRUE(file.GetFileName().isEmpty());
    file.SetFileName(text("a"));
    EXPECT_EQ(text("a"), file.GetFileName());
    EXPECT_EQ(0, file.ReadInData());
    EXPECT_EQ(0, file.UpdateDataFile());
}

TEST(SvpFile, SectionsAndValuesMadeByTheirConstructorsCountAsRead) {
    EXPECT_EQ(1u, SvpFile::SvpSections().GetStatus());
    EXPECT_EQ(1u, SvpFile::SvpValues().status);
}

TEST_F(SvpFileModel, ASectionThatIsAddedIsNewAndHasItsTexts) {
    EXPECT_EQ(100.0, section().GetTime());
    EXPECT_EQ(0u, section().GetStatus());
    EXPECT_EQ(latitude, section().latitude);
    EXPECT_EQ(longitude, section().longitude);
    EXPECT_EQ(45.5, section().GetLatitude());
    EXPECT_EQ(-63.25, section().GetLongitude());
    EXPECT_EQ(0u, section().GetValues().head()->status);
}

TEST_F(SvpFileModel, SectionsStandInTheOrderOfTime) {
    for (const double time : {300.0, 50.0, 200.0})
        ASSERT_EQ(0, file.AddSvpSection(time, latitude, longitude));
    std::vector<double> times;
    for (const auto& each : file.GetRecordsInFile())
        times.push_back(each.time);
    EXPECT_EQ((std::vector<double>{50.0, 100.0, 200.0, 300.0}), times);
}

TEST_F(SvpFileModel, ASecondSectionOfATimeIsRefused) {
    EXPECT_EQ(5016007, file.AddSvpSection(100.0, latitude, longitude));
    EXPECT_EQ(1u, file.GetRecordsInFile().count());
}

TEST_F(SvpFileModel, ASectionIsFoundByItsExactTime) {
    EXPECT_EQ(&section(), file.GetSection(100.0));
    EXPECT_EQ(nullptr, file.GetSection(std::nextafter(100.0, 200.0)));
}

TEST_F(SvpFileModel, ThePositionOfASectionIsSetAndGot) {
    EXPECT_EQ(0, file.SetSvpSection(100.0, text("1:2:3"), text("4:5:6")));
    MORVAUString lat;
    MORVAUString lon;
    EXPECT_EQ(0, file.GetSvpSection(100.0, lat, lon));
    EXPECT_EQ(text("1:2:3"), lat);
    EXPECT_EQ(text("4:5:6"), lon);
}

TEST_F(SvpFileModel, ThePositionOfASectionThatIsNotThereHasNoneButACode) {
    MORVAUString lat = text("kept");
    MORVAUString lon = text("kept");
    EXPECT_EQ(5016008, file.SetSvpSection(1.0, latitude, longitude));
    EXPECT_EQ(5016008, file.GetSvpSection(1.0, lat, lon));
    ASSERT_EQ(0, file.RemoveSection(100.0));
    EXPECT_EQ(5016003, file.SetSvpSection(100.0, text("x"), text("x")));
    EXPECT_EQ(5016003, file.GetSvpSection(100.0, lat, lon));
    EXPECT_EQ(text("kept"), lat);
    EXPECT_EQ(latitude, section().latitude);
}

TEST_F(SvpFileModel, RemovingASectionOnlyMarksIt) {
    EXPECT_EQ(5016005, file.RemoveSection(1.0));
    EXPECT_EQ(0, file.RemoveSection(100.0));
    EXPECT_EQ(2u, section().GetStatus());
    EXPECT_EQ(1u, section().values.count());
    EXPECT_NE(nullptr, file.GetSection(100.0));
    EXPECT_EQ(5016007, file.AddSvpSection(100.0, latitude, longitude));
}

TEST_F(SvpFileModel, ValuesStandInTheOrderOfDepth) {
    for (const double depth : {30.0, 5.0, 20.0})
        ASSERT_EQ(0, file.AddSvpValue(100.0, depth, 1500.0 + depth));
    EXPECT_EQ((Values{{5.0, 1505.0}, {10.0, 1500.0}, {20.0, 1520.0}, {30.0, 1530.0}}), valuesOf(section()));
}

TEST_F(SvpFileModel, AValueWantsItsSectionAndADepthOfItsOwn) {
    EXPECT_EQ(5016002, file.AddSvpValue(1.0, 10.0, 1500.0));
    EXPECT_EQ(5016001, file.AddSvpValue(100.0, 10.0, 1501.0));
    EXPECT_EQ(5016001, file.AddSvpValue(100.0, 10.009 - 1e-9, 1501.0));
    EXPECT_EQ(0, file.AddSvpValue(100.0, 10.01, 1501.0));
}

TEST_F(SvpFileModel, ARemovedValueIsRevivedByTheSameDepth) {
    ASSERT_EQ(0, file.RemoveSvpValue(100.0, 10.0));
    EXPECT_EQ(2u, section().values.head()->status);
    EXPECT_EQ(0, file.AddSvpValue(100.0, 10.004, 1499.0));
    ASSERT_EQ(1u, section().values.count());
    EXPECT_EQ((Values{{10.004, 1499.0}}), valuesOf(section()));
    EXPECT_EQ(0u, section().values.head()->status);
}

TEST_F(SvpFileModel, AValueIsFoundWithinTheToleranceOnly) {
    double velocity = 0.0;
    EXPECT_EQ(0, file.GetSvpValue(100.0, 10.005, velocity));
    EXPECT_EQ(1500.0, velocity);
    velocity = 7.0;
    EXPECT_EQ(5016006, file.GetSvpValue(100.0, 10.01, velocity));
    EXPECT_EQ(7.0, velocity);
    file.SetEpsilon(0.5);
    EXPECT_EQ(0, file.GetSvpValue(100.0, 10.5, velocity));
    EXPECT_EQ(5016006, file.GetSvpValue(100.0, 10.51, velocity));
}

TEST_F(SvpFileModel, AVelocityIsSet) {
    EXPECT_EQ(0, file.SetSvpValue(100.0, 9.995, 1480.0));
    EXPECT_EQ((Values{{10.0, 1480.0}}), valuesOf(section()));
}

TEST_F(SvpFileModel, AValueThatCannotBeGotOrSetHasTheCodeOfItsReason) {
    double velocity = 0.0;
    const auto both = [&](double time, double depth) {
        const int got = file.GetSvpValue(time, depth, velocity);
        EXPECT_EQ(got, file.SetSvpValue(time, depth, 1.0));
        return got;
    };
    EXPECT_EQ(5016005, both(1.0, 10.0));
    EXPECT_EQ(5016006, both(100.0, 11.0));
    ASSERT_EQ(0, file.RemoveSvpValue(100.0, 10.0));
    EXPECT_EQ(5016004, both(100.0, 10.0));
    ASSERT_EQ(0, file.RemoveSection(100.0));
    EXPECT_EQ(5016003, both(100.0, 10.0));
    EXPECT_EQ((Values{{10.0, 1500.0}}), valuesOf(section()));
}

TEST_F(SvpFileModel, ASectionWithoutValuesHasNone) {
    double velocity = 0.0;
    ASSERT_EQ(0, file.AddSvpSection(200.0, latitude, longitude));
    EXPECT_EQ(5016006, file.GetSvpValue(200.0, 10.0, velocity));
}

TEST_F(SvpFileModel, RemovingAValueAsksNeitherForItsStatusNorTheSections) {
    EXPECT_EQ(5016005, file.RemoveSvpValue(1.0, 10.0));
    EXPECT_EQ(5016006, file.RemoveSvpValue(100.0, 11.0));
    ASSERT_EQ(0, file.RemoveSection(100.0));
    EXPECT_EQ(0, file.RemoveSvpValue(100.0, 10.0));
    EXPECT_EQ(0, file.RemoveSvpValue(100.0, 10.0));
}

TEST_F(SvpFileModel, TheFirstValueWithinTheToleranceIsTheOne) {
    file.SetEpsilon(0.001);
    ASSERT_EQ(0, file.AddSvpValue(100.0, 10.005, 1510.0));
    file.SetEpsilon(1.0);
    double velocity = 0.0;
    EXPECT_EQ(0, file.GetSvpValue(100.0, 10.005, velocity));
    EXPECT_EQ(1500.0, velocity);
}

TEST_F(SvpFileModel, ValidateTellsWhetherAnythingWouldBeWritten) {
    EXPECT_EQ(0, file.validate());
    ASSERT_EQ(0, file.RemoveSvpValue(100.0, 10.0));
    EXPECT_NE(0, file.validate());
    ASSERT_EQ(0, file.AddSvpValue(100.0, 10.0, 1500.0));
    EXPECT_EQ(0, file.validate());
    ASSERT_EQ(0, file.RemoveSection(100.0));
    EXPECT_NE(0, file.validate());
    EXPECT_NE(0, SvpFile().validate());
}

TEST(SvpSections, AreEqualByAllButTheirValues) {
    const SvpFile::SvpSections one(1.0, latitude, longitude, 1);
    SvpFile::SvpSections other = one;
    other.values.append(SvpFile::SvpValues(1.0, 1500.0, 0));
    EXPECT_TRUE(one == other);
    for (int change = 0; change < 5; ++change) {
        SvpFile::SvpSections changed = one;
        if (change == 0) changed.time = 2.0;
        if (change == 1) changed.latitude = longitude;
        if (change == 2) changed.longitude = latitude;
        if (change == 3) changed.status = 2;
        if (change == 4) changed.headerText = latitude;
        EXPECT_FALSE(one == changed) << change;
    }
}

TEST(SvpPositions, AreTextsOfDegreesMinutesAndSeconds) {
    const auto degrees = [](const char* position) { return SvpFile::LLDGStringToDouble(text(position)); };
    EXPECT_EQ(-45.5, degrees("-45:30:00"));
    EXPECT_EQ(45.5, degrees("45:30:00"));
    EXPECT_EQ(0.0, degrees("45"));
    EXPECT_EQ(0.0, degrees("45:30"));
    EXPECT_EQ(0.0, degrees(""));
    EXPECT_EQ(-(12.0 + (15.0 + 36.5 / 60) / 60), degrees("012:-15:36.5"));
    EXPECT_EQ(1.0 + 1.0 / 60, degrees("1:00:60"));
    // Behind the second colon is the text of the seconds, whatever it holds.
    EXPECT_EQ(1.0 + (2.0 + 3.0 / 60) / 60, degrees("1:2:3:4"));
    EXPECT_EQ(0.0, degrees("x:y:z"));
    EXPECT_EQ(1.5, degrees(" 1 : 30 : 0 N"));
}

class SvpFormats : public testing::Test {
protected:
    template <class Format>
    bool gives(const std::string& path) {
        int status = 7;
        const std::unique_ptr<SvpFile> file(SvpFile::GetSvpFormat(text(path), status));
        EXPECT_EQ(0, status);
        EXPECT_EQ(text(path), file->GetFileName());
        EXPECT_TRUE(file->GetRecordsInFile().isEmpty());
        const SvpFile& found = *file;
        return typeid(found) == typeid(Format);
    }
    FaultBackend disk;
};

constexpr const char* datLine = "+45.5000 ,-63.2500 ,+001.000 ,14/02/2026 12:30:00,  +1.0000 ,+1480.0000\n";

TEST_F(SvpFormats, AreToldByNameFirst) {
    disk.put("/a/x.EDF.bak", "( SoundVelocity");
    EXPECT_TRUE(gives<RANSvpFile_Edf>("/a/x.EDF.bak"));
    EXPECT_TRUE(gives<RANSvpFile_Edf>("/not/there.edf"));
    EXPECT_TRUE(gives<RANSvpFile_Edf>("C:\\data\\T5.eDf"));
    EXPECT_TRUE(gives<SkarSvpFile>("/casts.edf/notes.txt"));
}

TEST_F(SvpFormats, AreToldByTheParenthesisThen) {
    disk.put("/a/cast", std::string("(\n") + datLine);
    EXPECT_TRUE(gives<CHSSvpFile>("/a/cast"));
    disk.put("/a/cast", " ( SoundVelocity");
    EXPECT_TRUE(gives<SkarSvpFile>("/a/cast"));
}

TEST_F(SvpFormats, AreToldByTheSecondLineThen) {
    disk.put("/a/cast", std::string("heading\n") + datLine);
    EXPECT_TRUE(gives<RANSvpFile_Dat>("/a/cast"));
    disk.put("/a/cast", datLine);
    EXPECT_TRUE(gives<SkarSvpFile>("/a/cast"));
    disk.put("/a/cast", "heading\n+45.5 ,-63.25 ,1 ,14/02/2026 12:30:00, 1 ,999.9\n");
    EXPECT_TRUE(gives<SkarSvpFile>("/a/cast"));
}

TEST_F(SvpFormats, OfTheLibraryTakeWhatIsLeft) {
    disk.put("/a/empty", "");
    EXPECT_TRUE(gives<SkarSvpFile>("/a/empty"));
    EXPECT_TRUE(gives<SkarSvpFile>("/a/missing"));
    EXPECT_EQ(0, disk.openStreams());
}

TEST_F(SvpFormats, ALongFirstLineCountsAsTwo) {
    disk.put("/a/cast", std::string(255, 'x') + datLine);
    EXPECT_TRUE(gives<RANSvpFile_Dat>("/a/cast"));
}

class SvpOfALine : public testing::Test {
protected:
    std::FILE* open(const wchar_t* mode) { return OpenSVPFileDir(L"\\line", mode, path); }
    wchar_t path[64] = L"before";
    FaultBackend disk;
};

TEST_F(SvpOfALine, HasItsNameUnderTheDirectory) {
    wchar_t name[32];
    EXPECT_EQ(0, getSVPFileNameDir(L"C:\\a\\line", name));
    EXPECT_STREQ(L"C:\\a\\line\\Svp", name);
    EXPECT_EQ(5016029, getSVPFileNameDir(nullptr, name));
    EXPECT_EQ(5016029, getSVPFileNameDir(L"x", nullptr));
}

TEST_F(SvpOfALine, IsTheFirstOfThreeThatOpens) {
    for (const char* name : {"SVP", "Svp", "SoundSpeedProfile"}) {
        disk.put(std::string("/line/") + name, name);
        std::FILE* stream = open(L"rb");
        ASSERT_NE(nullptr, stream);
        EXPECT_EQ(L"\\line\\" + std::wstring(name, name + std::char_traits<char>::length(name)), path);
        std::fclose(stream);
    }
}

TEST_F(SvpOfALine, IsWrittenUnderOneNameOnly) {
    disk.put("/line/SoundSpeedProfile", "kept");
    std::FILE* stream = open(L"wb");
    ASSERT_NE(nullptr, stream);
    std::fclose(stream);
    EXPECT_STREQ(L"\\line\\Svp", path);
    EXPECT_TRUE(disk.has("/line/Svp"));
    EXPECT_EQ("kept", disk.bytes("/line/SoundSpeedProfile"));
}

TEST_F(SvpOfALine, IsNullWhereThereIsNone) {
    EXPECT_EQ(nullptr, open(L"r"));
    EXPECT_STREQ(L"", path);
    disk.put("/line/Svp", "");
    EXPECT_EQ(nullptr, OpenSVPFileDir(nullptr, L"r", path));
    EXPECT_EQ(nullptr, OpenSVPFileDir(L"\\line", nullptr, path));
    EXPECT_EQ(nullptr, OpenSVPFileDir(L"\\line", L"r", nullptr));
    EXPECT_EQ(0, disk.openStreams());
}

TEST(SvpCodes, SayWhatTheyMean) {
    for (const int code :
         {5016001, 5016002, 5016003, 5016004, 5016005, 5016006, 5016007, 5016008, 5016009, 5016011, 5016029})
        EXPECT_FALSE(skar::errors::meaningOf(code).empty()) << code;
    EXPECT_EQ("there is no value at that depth", skar::errors::meaningOf(5016006));
}

} // namespace
