#include "casts.h"
#include "support/decimal_comma.h"
#include "support/processortime.h"
#include "support/realdata.h"
#include "support/temporary_directory.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>

// What holds for every format: strange bytes, many lines, other locales and files from instruments.
using namespace std::string_literals;

namespace {

using skar::tests::FaultBackend;
using skar::tests::hostileLimit;
using skar::tests::ProcessorTime;
using skar::tests::text;
using skar::tests::Values;
using skar::tests::valuesOf;

struct Format {
    const char* name;
    const char* path;
    std::string head;  // of a section
    std::string line;  // of a value, with the depth for %s
    bool manySections; // whether a file may hold more than one
    std::unique_ptr<SvpFile> (*make)();
};

template <class Type>
std::unique_ptr<SvpFile> make() {
    return std::make_unique<Type>();
}

const Format formats[] = {
    {"native", "/line/cast", "Section 2026-045 12:30:59 45:30:00 -063:15:00\n", "  %s.500000 1480.500000\n",
     true, make<SkarSvpFile>},
    {"chs", "/line/cast",
     "( SoundVelocity 1.01 1 202602150800 45.5000000 -63.2500000 -1 202602141230 202602141231 SOURCE N 1 )\n",
     "%s.50   1480.50\n", true, make<CHSSvpFile>},
    {"dat", "/line/cast", "", "+45.5000 ,-63.2500 ,%s.500 ,14/02/2026 12:30:59,  +1.0000 ,+1480.5000\n",
     false, make<RANSvpFile_Dat>},
    {"edf", "/line/cast.edf",
     "Date of Launch:  14/02/2026\nTime of Launch:  12:30:59\nLatitude      :  45 30.000N\n"
     "Longitude     :  63 15.000W\nDepth (m)\n\n",
     "%s.5 1.00 1480.50\n", false, make<RANSvpFile_Edf>},
};

class EveryFormat : public testing::TestWithParam<Format> {
protected:
    EveryFormat() : file(GetParam().make()) {
        file->SetFileName(text(GetParam().path));
        disk.put("/line/neighbour", "");
    }
    static std::string value(int depth) {
        std::string line = GetParam().line;
        return line.replace(line.find("%s"), 2, std::to_string(depth));
    }
    static std::string cast(int count) {
        std::string bytes = GetParam().head;
        for (int depth = 0; depth < count; ++depth)
            bytes += value(depth);
        return bytes;
    }
    int read(std::string_view bytes) {
        disk.put(GetParam().path, bytes);
        const int result = file->ReadInData();
        EXPECT_EQ(0, disk.openStreams());
        return result;
    }
    std::size_t valueCount() const {
        std::size_t count = 0;
        for (const auto& section : file->GetRecordsInFile())
            count += section.values.count();
        return count;
    }

    FaultBackend disk;
    std::unique_ptr<SvpFile> file;
};

std::string nameOf(const testing::TestParamInfo<Format>& format) {
    return format.param.name;
}
INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat, testing::ValuesIn(formats), nameOf);

class FormatWithSections : public EveryFormat {};
std::vector<Format> formatsWithSections() {
    std::vector<Format> some;
    std::copy_if(std::begin(formats), std::end(formats), std::back_inserter(some),
                 [](const Format& format) { return format.manySections; });
    return some;
}
INSTANTIATE_TEST_SUITE_P(Formats, FormatWithSections, testing::ValuesIn(formatsWithSections()), nameOf);

TEST_P(EveryFormat, ComesBackFromASave) {
    ASSERT_EQ(0, read(cast(50)));
    ASSERT_EQ(50u, valueCount());
    const auto before = file->GetRecordsInFile();
    ASSERT_EQ(0, file->UpdateDataFile());
    const std::string saved = disk.bytes(GetParam().path);
    ASSERT_EQ(0, file->ReadInData());
    const auto& after = file->GetRecordsInFile();
    ASSERT_EQ(before.count(), after.count());
    EXPECT_EQ(before.head()->time, after.head()->time);
    EXPECT_EQ(before.head()->latitude, after.head()->latitude);
    EXPECT_EQ(valuesOf(*before.head()), valuesOf(*after.head()));
    ASSERT_EQ(0, file->UpdateDataFile());
    EXPECT_EQ(saved, disk.bytes(GetParam().path));
}

#if defined(__SANITIZE_ADDRESS__)
constexpr int many = 50000;
#else
constexpr int many = 1000000;
#endif

TEST_P(EveryFormat, ReadsAMillionLines) {
    const std::string bytes = cast(many);
    disk.put(GetParam().path, bytes);
    const ProcessorTime time;
    ASSERT_EQ(0, file->ReadInData());
    EXPECT_LE(time.seconds(), 20 * hostileLimit);
    EXPECT_EQ(static_cast<std::size_t>(many), valueCount());
}

TEST_P(FormatWithSections, ReadsAndWritesAMillionSections) {
    const std::string section = cast(1);
    std::string bytes;
    for (int i = 0; i < many; ++i)
        bytes += section;
    disk.put(GetParam().path, bytes);
    ProcessorTime time;
    ASSERT_EQ(0, file->ReadInData());
    EXPECT_LE(time.seconds(), 100 * hostileLimit);
    EXPECT_EQ(static_cast<std::size_t>(many), file->GetRecordsInFile().count());
    time = {};
    ASSERT_EQ(0, file->UpdateDataFile());
    EXPECT_LE(time.seconds(), 100 * hostileLimit);
}

TEST_P(EveryFormat, TakesALineOfTenMegabytes) {
    for (const char filler : {' ', '1', 'x', '(', ':', ',', '\0', '\r'}) {
        SCOPED_TRACE(static_cast<int>(filler));
        const std::string longLine(10 << 20, filler);
        const ProcessorTime time;
        read(longLine);
        ASSERT_EQ(0, read(GetParam().head + longLine + "\n" + value(2000000)));
        EXPECT_LE(time.seconds(), 5 * hostileLimit);
        EXPECT_GE(valueCount(), 1u);
    }
}

TEST_P(EveryFormat, TakesEveryTruncation) {
    const std::string bytes = cast(3);
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        const int result = read(std::string_view(bytes).substr(0, size));
        EXPECT_TRUE(result == 0 || result == -1 || result == 5016009) << size << ": " << result;
        EXPECT_LE(valueCount(), 3u);
    }
}

TEST_P(EveryFormat, TakesAnyByteAnywhere) {
    const std::string bytes = cast(2);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (const char strange : {'\0', '\xFF', '-', '9', ':', ' ', '\n', 'e'}) {
            std::string changed = bytes;
            changed[at] = strange;
            const int result = read(changed);
            EXPECT_TRUE(result == 0 || result == -1 || result == 5016009) << at;
            const int saved = file->UpdateDataFile();
            EXPECT_TRUE(saved == 0 || saved == -1) << at;
        }
    }
}

TEST_P(EveryFormat, TakesRandomBytes) {
    const unsigned seed = 20260214;
    std::mt19937 random(seed);
    const auto alphabet = "Section ()0123456789-+.:,/eE\n\r\t \0\xB0Latitude Depth (m)"s;
    for (int i = 0; i < 300; ++i) {
        std::string bytes = i % 2 == 0 ? GetParam().head : std::string();
        for (auto size = random() % 2000; size > 0; --size)
            bytes += alphabet[random() % alphabet.size()];
        const int result = read(bytes);
        EXPECT_TRUE(result == 0 || result == -1 || result == 5016009) << "seed " << seed << ", " << i;
    }
}

TEST_P(EveryFormat, TakesNumbersBeyondADouble) {
    std::string line = GetParam().line;
    line.replace(line.find("%s"), 2, std::string(200, '9'));
    EXPECT_NO_FATAL_FAILURE(read(GetParam().head + line + value(1)));
    for (const auto& section : file->GetRecordsInFile())
        for (const auto& each : section.values)
            EXPECT_TRUE(std::isfinite(each.depth) && std::isfinite(each.velocity));
}

TEST_P(EveryFormat, HasThePointInEveryLocale) {
    const skar::tests::DecimalComma comma;
    if (!comma) GTEST_SKIP() << "no locale with a comma can be had";
    ASSERT_EQ(0, read(cast(2)));
    EXPECT_EQ((Values{{0.5, 1480.5}, {1.5, 1480.5}}), valuesOf(*file->GetRecordsInFile().head()));
    ASSERT_EQ(0, file->UpdateDataFile());
    const std::string bytes = disk.bytes(GetParam().path);
    EXPECT_NE(std::string::npos, bytes.find("1480.5"));
    EXPECT_EQ(std::string::npos, bytes.find("1480,5"));
    ASSERT_EQ(0, file->ReadInData());
    EXPECT_EQ((Values{{0.5, 1480.5}, {1.5, 1480.5}}), valuesOf(*file->GetRecordsInFile().head()));
}

struct RealCast {
    const char* name;
    int result;
    std::size_t values;
    Values::value_type last;
};

class RealCasts : public testing::TestWithParam<RealCast> {};

TEST_P(RealCasts, ReadSavedAndReadAgainAreTheSame) {
    const auto path = skar::tests::realData(SKAR_TEST_DATA "/..") / "svp" / GetParam().name;
    SKAR_SKIP_WITHOUT(path);
    int status = 7;
    const std::unique_ptr<SvpFile> file(SvpFile::GetSvpFormat(text(path.string()), status));
    ASSERT_EQ(GetParam().result, file->ReadInData());
    if (GetParam().result != 0) return;
    const MORVASList<SvpFile::SvpSections> before = file->GetRecordsInFile();
    ASSERT_EQ(1u, before.count());
    ASSERT_EQ(GetParam().values, before.head()->values.count());
    EXPECT_EQ(GetParam().last.depth, before.head()->values.last()->depth);
    EXPECT_EQ(GetParam().last.velocity, before.head()->values.last()->velocity);

    const skar::tests::TemporaryDirectory folder;
    file->SetFileName(MORVAUString(folder.wide(GetParam().name).c_str()));
    ASSERT_EQ(0, file->UpdateDataFile());
    const std::unique_ptr<SvpFile> again(SvpFile::GetSvpFormat(file->GetFileName(), status));
    const SvpFile& first = *file;
    const SvpFile& second = *again;
    ASSERT_EQ(typeid(first), typeid(second));
    ASSERT_EQ(0, again->ReadInData());
    const auto& after = again->GetRecordsInFile();
    ASSERT_EQ(1u, after.count());
    EXPECT_EQ(before.head()->time, after.head()->time);
    EXPECT_EQ(before.head()->GetLatitude(), after.head()->GetLatitude());
    EXPECT_EQ(before.head()->GetLongitude(), after.head()->GetLongitude());
    EXPECT_EQ(valuesOf(*before.head()), valuesOf(*after.head()));
}

INSTANTIATE_TEST_SUITE_P(All, RealCasts,
                         testing::Values(RealCast{"20120321_224205.asvp", 0, 35, {12000.0, 1675.82}},
                                         RealCast{"ssp1_051017.asvp", 0, 49, {12000.0, 1669.0}},
                                         RealCast{"EX1105_XBT40_110902.EDF", 0, 1183, {760.1, 1483.93}},
                                         RealCast{"EX1105_XBT40_110902_crlf.EDF", 0, 1183, {760.1, 1483.93}},
                                         RealCast{"T7_00070.EDF", 0, 1225, {760.4, 1570.92}},
                                         RealCast{"T5_00386.EDF", 0, 2906, {1830.5, 1587.14}},
                                         RealCast{"7-30cast2.csv", 5016009, 0, {}},
                                         RealCast{"hsrr_2017_s250_dn242_0004.calc", 5016009, 0, {}},
                                         RealCast{"00018_001241535.ssp", 5016009, 0, {}}),
                         skar::tests::namedAfterFile);

} // namespace
