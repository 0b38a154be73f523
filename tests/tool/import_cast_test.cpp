#include "raw_bytes.h"

#include "import/cast.h"
#include "support/processortime.h"
#include "support/realdata.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

using namespace skar::import;
using namespace skar::test;

namespace {

std::optional<CastFile> read(const std::string& text) {
    MemorySource source(std::as_bytes(std::span(text)));
    return readCastFile(source);
}

// A layout as its instrument writes it, and what is to be found in it.
struct Layout {
    const char* name;
    const char* format;
    std::string text;
    const char* time;
    std::optional<double> latitude;
    std::optional<double> longitude;
    std::vector<CastSample> samples;
    std::vector<const char*> assumptions; // a part of each
    std::uint64_t unparsable = 0;

    friend std::ostream& operator<<(std::ostream& out, const Layout& layout) { return out << layout.name; }
};

constexpr const char* utc = "no time zone";
constexpr const char* placeless = "no position";

const std::vector<Layout>& layouts() {
    static const std::vector<Layout> all = {
        {"probeOfThreeColumns",
         "probe export",
         "// EXPORT DATA FILE\n//\nDate of Launch:  09/02/2011\nTime of Launch:  23:35:54\n"
         "Latitude      :  26 30.00000N\nLongitude     :  84 45.00000W\n//\n"
         "Depth (m) - Temperature (\xB0"
         "C) - Sound Velocity (m/s)\n0.0\t28.81\t1542.87\n0.7\t28.80\t1542.85\n",
         "2011-09-02T23:35:54.000Z",
         26.5,
         -84.75,
         {{0.0, 1542.87}, {0.7, 1542.85}},
         {"09/02/2011 is taken as month/day/year", utc}},
        {"probeOfTwoColumnsInTheSouthEast",
         "probe export",
         "Date of Launch:  05/31/2009\r\nTime of Launch:  01:02:03\r\nLatitude      :  21 15.0S\r\n"
         "Longitude     :  150 30.0E\r\nDepth (m) - Sound Velocity "
         "(m/s)\r\n3.8\t1545.22\r\n4.1\t1545.33\r\n\r\nx\r\n",
         "2009-05-31T01:02:03.000Z",
         -21.25,
         150.5,
         {{3.8, 1545.22}, {4.1, 1545.33}},
         {utc},
         1},
        {"probeThatWritesTheDayFirst",
         "probe export",
         "Date of Launch:  28/04/2020\nTime of Launch:  21:06:17\nLatitude      :  \nLongitude     :  \n"
         "Depth (m) - Temperature (C) - Sound Velocity (m/s)\n0.68 28.3 1542.67\n",
         "2020-04-28T21:06:17.000Z",
         std::nullopt,
         std::nullopt,
         {{0.68, 1542.67}},
         {utc, placeless}},
        {"probeWithAListOfFields",
         "probe export",
         "Date of Launch   :  01/05/2016\nTime of Launch   :  23:42:56\nLatitude         :  21 07.5N\n"
         "Longitude        :  158 30.0W\n// Data Fields\nNum Data Fields   :  4\n"
         "Field1            :  Time (sec)\nField2            :  Frequency (Hz)\nField3            :  Depth "
         "(m)\n"
         "Field4            :  Sound Velocity (m/s)\n// Data\n0.1 300.0 0.00 1537.40\n0.2 301.0 0.56 "
         "1537.30\n",
         "2016-01-05T23:42:56.000Z",
         21.125,
         -158.5,
         {{0.0, 1537.4}, {0.56, 1537.3}},
         {"01/05/2016 is taken as month/day/year", utc}},
        {"percentTable",
         "table below % lines",
         "% Device,11E1\n% Cast time (UTC),2012-08-21 12:28:17\n% Start latitude,43.5\n% Start "
         "longitude,-70.25\n% \n"
         "Pressure (Decibar),Depth (Meter),Temperature (Celsius),Sound velocity (Meters per Second)\n"
         "0.15,0.149,18.3,1512.6\n0.45,0.4489,18.2\n",
         "2012-08-21T12:28:17.000Z",
         43.5,
         -70.25,
         {{0.149, 1512.6}},
         {"start of the cast"},
         1},
        {"castHeader",
         "cast header and data",
         "[cast header]\n\ndate=08/16/17\ntime=17:47:28\n[data]\nDate,Time,SV(m/s),Depth(m),Battery(V)\n"
         "08/16/17,17:47:30,1545.50,0.11,8.1\n",
         "2017-08-16T17:47:28.000Z",
         std::nullopt,
         std::nullopt,
         {{0.11, 1545.5}},
         {"month/day/year", utc, placeless}},
        {"sectioned",
         "header, columns and data",
         "[HEADER]\nLatitude=38.25\nLongitude=-76.5\nDataStartTime=2019/03/29 "
         "19:00:22\n[COLUMNS]\nx\n[DATA]\n"
         "Date/Time\tDepth\tPressure\tSound Velocity\tTemperature\n\tm\tdbar\tm/s\tC\n"
         "2019-03-29 19:00:25\t0.498\t0.502\t1457.91\t10.1\n",
         "2019-03-29T19:00:22.000Z",
         38.25,
         -76.5,
         {{0.498, 1457.91}},
         {utc}},
        {"logger",
         "logger table",
         "Model Name :\tX\nTime Stamp :\t09/10/2016 19:41:29\n"
         "Date / Time\tSOUND VELOCITY;M/SEC\tPRESSURE;M\tTEMPERATURE;C\n"
         "09/10/2016 19:41:30\t0.000\t-0.019\t18.0\n09/10/2016 19:41:31\t1480.5\t0.250\t18.0\n",
         "2016-10-09T19:41:29.000Z",
         std::nullopt,
         std::nullopt,
         {{-0.019, 0.0}, {0.25, 1480.5}},
         {"day/month/year", "in metres, is taken as the depth", utc, placeless}},
        {"namedColumnsOfDepth",
         "table with named columns",
         "* Data File:\n# name 0 = prdM: Pressure, Strain Gauge [db]\n# name 1 = depSM: Depth [m]\n"
         "# name 2 = svCM: Sound Velocity [m/s]\n# start_time = Jul 11 2013 18:33:00\n*END*\n"
         "  0.1  0.0992  1515.90\n",
         "2013-07-11T18:33:00.000Z",
         std::nullopt,
         std::nullopt,
         {{0.0992, 1515.9}},
         {utc, placeless}},
        {"sentence",
         "profiler sentence",
         "$AAS10,00018,0013,153500,03,05,2000,0.69,1486.80,,,,\n1.81,1481.35,,,,\n\\\n",
         "2000-05-03T15:35:00.000Z",
         std::nullopt,
         std::nullopt,
         {{0.69, 1486.8}, {1.81, 1481.35}},
         {utc, placeless}},
        {"calculated",
         "calculated profile",
         "CALC,0004,08-30-2017,1,meters\nDATE:17242 TIME:2334\nDEPTH (M) VELOCITY (M/S) TEMP (C)\n"
         "    1.4  1544.60  29.142 \n    3.5  1544.64  29.144 \n 0  0  0 \n*** NAV ****\n"
         "LAT ( ddmm.mmmmmmm,N):  3030.0000000,S\nLON (dddmm.mmmmmmm,E): 08115.0000000,W\n"
         "Time [hh:mm:ss.ss]: 23:34:05.60\nDate [dd/mm/yyyy]:  30/08/2017\n",
         "2017-08-30T23:34:05.000Z",
         -30.5,
         -81.25,
         {{1.4, 1544.6}, {3.5, 1544.64}},
         {utc}},
        {"datedTable",
         "dated table without headings",
         "7-30-13, 9:26:2, 1504.30, 0.90, 16.38, 4.20\n7-30-13, 9:26:3, 1504.20, 1.40, 16.38, 4.22\n",
         "2013-07-30T09:26:02.000Z",
         std::nullopt,
         std::nullopt,
         {{0.9, 1504.3}, {1.4, 1504.2}},
         {"no headings", utc, placeless}},
    };
    return all;
}

class CastLayouts : public testing::TestWithParam<Layout> {};

TEST_P(CastLayouts, AreReadAndSayWhatTheyTookForGranted) {
    const Layout& layout = GetParam();
    const auto file = read(layout.text);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->format, layout.format);
    EXPECT_EQ(file->unparsable, layout.unparsable);
    ASSERT_EQ(file->casts.size(), 1U);
    const Cast& cast = file->casts.front();
    EXPECT_EQ(utcText(cast.time), layout.time);
    EXPECT_EQ(cast.latitude, layout.latitude);
    EXPECT_EQ(cast.longitude, layout.longitude);
    EXPECT_TRUE(cast.samples == layout.samples);
    ASSERT_EQ(file->assumptions.size(), layout.assumptions.size());
    for (std::size_t i = 0; i < layout.assumptions.size(); ++i)
        EXPECT_NE(file->assumptions[i].find(layout.assumptions[i]), std::string::npos)
            << file->assumptions[i];
}

TEST_P(CastLayouts, WithNumbersBeyondAnyCastKeepTheRest) {
    std::string text = GetParam().text;
    const std::string number = std::to_string(GetParam().samples.back().speed).substr(0, 6);
    const std::size_t at = text.rfind(number);
    ASSERT_NE(at, std::string::npos);
    text.insert(at, std::string(400, '9'));
    const auto file = read(text);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->casts.front().samples.size(), GetParam().samples.size() - 1);
    EXPECT_EQ(file->unparsable, GetParam().unparsable + 1);
}

// Whatever of the layout is left: a cast, a refusal or another kind of file.
void take(const std::string& text) {
    try {
        const auto file = read(text);
        if (!file) return;
        EXPECT_LE(file->casts.size(), 1U);
        for (const Cast& cast : file->casts) {
            for (const CastSample& sample : cast.samples)
                EXPECT_TRUE(std::abs(sample.depth) <= 20000.0 && std::abs(sample.speed) <= 20000.0);
            EXPECT_TRUE(!cast.latitude || std::abs(*cast.latitude) <= 90.0);
        }
    } catch (const ImportError& error) {
        EXPECT_STRNE(error.what(), "");
    }
}

TEST_P(CastLayouts, CutAnywhereDoNoHarm) {
    const std::string& text = GetParam().text;
    for (std::size_t size = 0; size < text.size(); ++size)
        take(text.substr(0, size));
}

TEST_P(CastLayouts, WithAnyByteChangedDoNoHarm) {
    const std::string& text = GetParam().text;
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (const char strange : {'\0', '\xFF', '-', '9', ':', ' ', '\n', '='}) {
            std::string changed = text;
            changed[at] = strange;
            take(changed);
        }
    }
}

TEST_P(CastLayouts, WithoutAnyColonOrCommaDoNoHarm) {
    for (const char mark : {':', ',', '=', '\t', ' ', '/'}) {
        std::string changed = GetParam().text;
        std::erase(changed, mark);
        take(changed);
    }
}

TEST_P(CastLayouts, WithALineOfTenMegabytesReadTheOthers) {
    for (const char filling : {'9', ' ', ',', '\0', '\t', '='}) {
        const std::string text = GetParam().text + std::string(10'000'000, filling) + "\n1 2 3 4 5\n";
        const skar::tests::ProcessorTime time;
        const auto file = read(text);
        EXPECT_LE(time.seconds(), 2 * skar::tests::hostileLimit);
        ASSERT_TRUE(file);
        EXPECT_GE(file->unparsable, GetParam().unparsable + 1);
        EXPECT_GE(file->casts.front().samples.size(), GetParam().samples.size());
    }
}

TEST_P(CastLayouts, OfManyLinesTakeTimeInProportion) {
    std::string text = GetParam().text;
    const bool ended = std::string(GetParam().name) == "calculated";
    const std::size_t behind = text.find('\n', text.find_last_of("0123456789"));
    const std::size_t start = text.rfind('\n', behind - 1) + 1;
    const std::string last = ended ? "3.5  1544.64  29.144\n" : text.substr(start, behind + 1 - start);
    std::string lines;
    const int count = ended ? 1'000'000 : 100'000;
    for (int i = 0; i < count; ++i)
        lines += last;
    text.insert(ended ? text.find(" 0  0  0") : behind + 1, lines);
    const skar::tests::ProcessorTime time;
    const auto file = read(text);
    EXPECT_LE(time.seconds(), count / 50'000 * skar::tests::hostileLimit);
    ASSERT_TRUE(file);
    EXPECT_GE(file->casts.front().samples.size() + file->unparsable, static_cast<std::size_t>(count));
}

INSTANTIATE_TEST_SUITE_P(All, CastLayouts, testing::ValuesIn(layouts()),
                         [](const auto& layout) { return std::string(layout.param.name); });

TEST(CastFiles, OfTheLibrarysOwnFormatsAndAnythingElseAreNone) {
    for (const char* text :
         {"", "\n\n\n", "[SVP_VERSION_2]\nsource\nSection 2026-045 12:30:00\n  1.0 1480.0\n",
          "( SoundVelocity 1.0 0 201203212242 22.5 -156.5 -1 0 0 OMS01 P 0035 )\n0.00 1531.40\n",
          "+45.1234 ,-063.1234 ,+001.000 ,14/02/2026 12:30:00, +1.0 ,+1480.0\n",
          "Date of Launch:  14/02/2026\nTime of Launch:  12:30:00\nDepth (m) - x\n\n1.0 1.0 1480.0\n",
          "\"Date\",\"Time (GMT)\",\"Verified (m)\"\n", "once upon a time\n"})
        EXPECT_FALSE(read(text)) << text;
}

TEST(CastFiles, OfMoreLinesThanACastHasAreNone) {
    const skar::tests::ProcessorTime time;
    EXPECT_FALSE(read("* \n# name 0 = x\n" + std::string(mostCastLines, '\n')));
    EXPECT_LE(time.seconds(), 5 * skar::tests::hostileLimit);
}

TEST(CastFiles, WithoutATimeAreRefused) {
    for (const char* date : {"13/32/2011", "02/30/2011", "1/1", "", "99999999999/1/1", "a/b/c"}) {
        try {
            read(std::string("Date of Launch:  ") + date +
                 "\nTime of Launch:  23:35:54\nDepth (m) - Sound Velocity (m/s)\n0.0 1540.0\n");
            ADD_FAILURE() << date;
        } catch (const ImportError& error) {
            EXPECT_STREQ(error.what(), "no date and time of the cast");
        }
    }
    for (const char* time : {"24:00:00", "12:60:00", "12:00:61", "12", ""})
        EXPECT_THROW(read(std::string("Date of Launch:  01/01/2011\nTime of Launch:  ") + time +
                          "\nDepth (m) - Sound Velocity (m/s)\n0.0 1540.0\n"),
                     ImportError)
            << time;
}

TEST(CastFiles, YearsOfTwoDigitsAreOf1980To2079) {
    const auto timeOf = [](const char* year) {
        const auto file = read(std::string("7-30-") + year + ", 9:26:2, 1504.30, 0.90\n");
        return utcText(file->casts.front().time).substr(0, 4);
    };
    EXPECT_EQ(timeOf("80"), "1980");
    EXPECT_EQ(timeOf("99"), "1999");
    EXPECT_EQ(timeOf("00"), "2000");
    EXPECT_EQ(timeOf("79"), "2079");
}

TEST(CastFiles, WithoutTheirColumnsAreRefused) {
    EXPECT_THROW(read("[cast header]\ndate=08/16/17\ntime=17:47:28\n[data]\nDate,Time,Depth(m)\n1,2,3\n"),
                 ImportError);
    EXPECT_THROW(read("[cast header]\ndate=08/16/17\ntime=17:47:28\n"), ImportError);
    EXPECT_THROW(read("CALC,0004,08-30-2017,1,feet\nDEPTH (M) VELOCITY (M/S)\n1 1500\n"), ImportError);
    EXPECT_THROW(read("* x\n# name 0 = t090C: Temperature\n# start_time = Jul 11 2013 18:33:00\n"),
                 ImportError);
    EXPECT_THROW(read("$AAS10,1,2\n"), ImportError);
}

TEST(CastFiles, OfPressureGetDepthsForTheMiddleLatitude) {
    const auto file = read("* x\n# name 0 = prdM: Pressure [db]\n# name 1 = svCM: Sound Velocity [m/s]\n"
                           "# start_time = Jul 11 2013 18:33:00\n*END*\n10000 1600\n0 1500\n");
    ASSERT_TRUE(file);
    // The formula's own check value is 9712.653 m for 10000 dbar at 30 degrees; gravity is 0.13 % more at 45.
    EXPECT_NEAR(file->casts.front().samples[0].depth, 9712.653 * 9.7933 / 9.8062, 1.0);
    EXPECT_EQ(file->casts.front().samples[1].depth, 0.0);
    EXPECT_NE(file->assumptions.back().find("45 degrees"), std::string::npos);
}

TEST(CastFiles, PositionsOffTheEarthAreNone) {
    const auto file = read("[HEADER]\nLatitude=90.5\nLongitude=0\nDataStartTime=2019/03/29 19:00:22\n[DATA]\n"
                           "Depth\tSound Velocity\nm\tm/s\n1.0\t1480.0\n");
    ASSERT_TRUE(file);
    EXPECT_FALSE(file->casts.front().latitude);
}

TEST(WayDown, HasDepthsThatIncreaseAndSpeedsOfWater) {
    Cast cast;
    cast.samples = {{-0.1, 1500}, {0, 1399.9}, {0, 1400}, {1, 2000}, {1, 1500},
                    {2, 2000.1},  {3, 1500},   {2, 1500}, {4, 1500}, {std::nan(""), 1500}};
    const WayDown way = wayDown(cast);
    EXPECT_TRUE(way.samples == (std::vector<CastSample>{{0, 1400}, {1, 2000}, {3, 1500}, {4, 1500}}));
    EXPECT_EQ(way.outOfRange, 4U);
    EXPECT_EQ(way.notDeeper, 2U);
}

// Numbers of values and ranges as those who collected the files counted them.
struct RealCast {
    const char* name;
    const char* format;
    std::size_t values;
    double leastDepth;
    double mostDepth;
    double leastSpeed;
    double mostSpeed;
};

constexpr RealCast realCasts[] = {
    {"00018_001241535.ssp", "profiler sentence", 13, 0.69, 100.0, 1475.18, 1486.8},
    {"11E101663_20120821_122817.csv", "table below % lines", 75, 0.14965, 22.35661, 1491.54, 1512.65},
    {"6291663_718905_160909_1941_34_59.000", "logger table", 70, -0.019, 15.977, 0.0, 1481.11},
    {"7-30cast2.csv", "dated table without headings", 48, 0.9, 24.4, 1497.4, 1504.3},
    {"EX1105_XBT40_110902.EDF", "probe export", 1184, 0.0, 760.1, 1483.93, 1543.93},
    {"EX1105_XBT40_110902_crlf.EDF", "probe export", 1184, 0.0, 760.1, 1483.93, 1543.93},
    {"S1_00008.EDF", "probe export", 1650, 3.8, 848.3, 1486.38, 1545.22},
    {"S2_00004.edf", "probe export", 1661, 0.0, 850.25, 1421.13, 1537.4},
    {"T5_00386.EDF", "probe export", 2907, 0.0, 1830.5, 1463.82, 1587.14},
    {"T5_XBT1_CAST_06.edf", "probe export", 602, 0.68, 404.45, 1490.92, 1542.67},
    {"T7_00070.EDF", "probe export", 1226, 0.0, 760.4, 1541.41, 1570.92},
    {"VL_68630_190329190022.vp2", "header, columns and data", 21, 0.498, 2.481, 1457.91, 1466.98},
    {"down_cast_08-16-17_17_47_28.csv", "cast header and data", 54, 0.11, 8.23, 1539.99, 1545.5},
    {"hsrr_2017_s250_dn242_0004.calc", "calculated profile", 13, 1.4, 11.2, 1543.68, 1544.64},
};

class RealCastFiles : public testing::TestWithParam<RealCast> {};

TEST_P(RealCastFiles, GiveWhatIsKnownOfThem) {
    const auto path = skar::tests::realData(SKAR_SOURCE_DIR) / "svp" / GetParam().name;
    SKAR_SKIP_WITHOUT(path);
    FileSource source(path.string());
    const auto file = readCastFile(source);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->format, GetParam().format);
    EXPECT_EQ(file->unparsable, 0U);
    ASSERT_EQ(file->casts.size(), 1U);
    const auto& samples = file->casts.front().samples;
    ASSERT_EQ(samples.size(), GetParam().values);
    const auto [leastDepth, mostDepth] = std::ranges::minmax(samples, {}, &CastSample::depth);
    const auto [leastSpeed, mostSpeed] = std::ranges::minmax(samples, {}, &CastSample::speed);
    EXPECT_NEAR(leastDepth.depth, GetParam().leastDepth, 5e-4);
    EXPECT_NEAR(mostDepth.depth, GetParam().mostDepth, 5e-4);
    EXPECT_NEAR(leastSpeed.speed, GetParam().leastSpeed, 6e-3);
    EXPECT_NEAR(mostSpeed.speed, GetParam().mostSpeed, 6e-3);
}

INSTANTIATE_TEST_SUITE_P(All, RealCastFiles, testing::ValuesIn(realCasts), skar::tests::namedAfterFile);

} // namespace
