#include "attributefiles.h"

#include <cctype>
#include <cfloat>
#include <fstream>

// The raw data index and the files of error figures.
namespace skar::tests {
namespace {

using namespace SKARIOAttributes;

class ConcreteFiles : public testing::Test {
protected:
    ConcreteFiles() { SKARSetLastError(0); }
    Line line;
};

SummaryWords indexSummary() {
    SummaryWords words;
    words.dataVersion = 2;
    words.summaryAttributes = {{0, "DataType"}};
    words.largest = 40;
    words.attributes = {{0, "RecordType"},
                        {16, "RecordByteOffset"},
                        {0, "RecordLength"},
                        {0, "SKARProfileNumber"},
                        {3, "SKARTimestamp"}};
    return words;
}
Bytes withHead(std::uint32_t sensor, const SummaryWords& words) {
    return Bytes().validation(sensor, 1, 2).then(words.bytes());
}

TEST_F(ConcreteFiles, ARawDataIndexHasItsBytes) {
    {
        long status = 77;
        SKARRawDataIndex index(line.path().c_str(), L"a.raw", SKARDataFile::create, status, L"RawDataIndex");
        ASSERT_EQ(0, status);
        index.setSKARProfileNumber(9);
        EXPECT_TRUE(index.getRawDataIndexArray().empty()) << "there is none to number";
        index.addRawDataIndexArray(0x44, 0x123456789A, 700, 1.0);
        index.setSKARProfileNumber(1);
        index.addRawDataIndexArray(-2, 0x123456789A + 700, 30, -1.0);
        ASSERT_EQ(2u, index.getRawDataIndexArray().size());
        EXPECT_EQ(1, index.getRawDataIndexArray()[0].profileNumber);
        EXPECT_EQ(-1, index.getRawDataIndexArray()[1].profileNumber);
        EXPECT_EQ(0u, index.writeRawDataIndex(SKARRawDataIndex::rawDataNmea));
        EXPECT_EQ(2u, index.getRawDataIndexArray().size()) << "they stay";
        EXPECT_EQ(0u, index.writeRawDataIndex(SKARRawDataIndex::rawDataKongsbergAll));
    }
    SummaryWords words = indexSummary();
    words.records = 4;
    words.summaryValues.word("DataType", 2);
    Bytes expected = withHead(70, words);
    const auto start = static_cast<std::int32_t>(expected.size());
    for (int pass = 0; pass < 2; ++pass) {
        expected.word("size", 40).word("status", 0).word("time", 0).word("type", 0x44);
        expected.word("offset low", 0x3456789A)
            .word("offset high", 0x12)
            .word("length", 700)
            .word("profile", 1);
        expected.word("time low", 0).word("time high", 0x3FF00000);
        expected.word("size", 40).word("status", 0).word("time", 0).word("type", -2);
        expected.word("offset low", 0x34567B56).word("offset high", 0x12).word("length", 30);
        expected.word("profile", 0xFFFFFFFF).word("time low", 0).word("time high", 0xBFF00000);
    }
    EXPECT_TRUE(same(expected, line.bytes("RawDataIndex")));
    EXPECT_TRUE(same(indexBytes({{{0, start}, {0, start + 40}, {0, start + 80}, {0, start + 120}}}),
                     line.bytes("RawDataIndexTmIdx")));
    long status = 77;
    SKARRawDataIndex index(line.path().c_str(), L"", SKARDataFile::query, status, L"RawDataIndex");
    EXPECT_EQ(0, status);
    EXPECT_EQ(5u, index.GetNumberOfAttributes());
    EXPECT_EQ(1u, index.GetNumberOfSummaryAttributes());
    EXPECT_EQ(0.0, index.GetMinTime());
    EXPECT_EQ(0.0, index.GetMaxTime());
    std::vector<MORVAUString> names;
    std::vector<dataType> types;
    EXPECT_EQ(0u, index.GetAttributesName(names, types));
    EXPECT_EQ((std::vector<MORVAUString>{L"RecordType", L"RecordByteOffset", L"RecordLength",
                                         L"SKARProfileNumber", L"SKARTimestamp"}),
              names);
    EXPECT_EQ((std::vector<dataType>{typeUInt32, typeUInt64, typeUInt32, typeUInt32, typeDouble}), types);
    dataValue value;
    EXPECT_EQ(0u, index.GetSummaryAttribute(L"DataType", value, nullptr));
    EXPECT_EQ(2u, value.uint32);
    std::uint64_t at = 0;
    index.GetAttributeIndex(at, L"DataType");
    EXPECT_EQ(~std::uint64_t{0}, at) << "it belongs to the summary only";
}

TEST_F(ConcreteFiles, AnEmptyRawDataIndexHasOneRecordOfZeros) {
    {
        long status = 77;
        SKARRawDataIndex index(line.path().c_str(), L"a.raw", SKARDataFile::create, status, L"Other");
        EXPECT_EQ(0u, index.writeRawDataIndex(SKARRawDataIndex::rawDataUnknown));
    }
    SummaryWords words = indexSummary();
    words.records = 1;
    words.summaryValues.word("DataType", 0);
    Bytes expected = withHead(70, words);
    expected.word("size", 40).zeros("values", 36);
    EXPECT_TRUE(same(expected, line.bytes("Other")));
}

TEST_F(ConcreteFiles, ARawDataIndexThatCannotBeMadeStillHasItsAttributes) {
    long status = 77;
    SKARRawDataIndex index(L"/nowhere/at/all", L"a.raw", SKARDataFile::create, status, L"RawDataIndex");
    EXPECT_EQ(5000026, status);
    EXPECT_EQ(5u, index.GetNumberOfAttributes());
    index.addRawDataIndexArray(1, 2, 3, 4.0);
    EXPECT_EQ(5000026u, index.writeRawDataIndex(SKARRawDataIndex::rawDataUnknown));
}

TEST_F(ConcreteFiles, TheFirstRecordThatFailsEndsTheWriting) {
    FaultBackend disk;
    disk.put("/survey/line/Other", "");
    long status = 77;
    SKARRawDataIndex index(L"/survey/line", L"a.raw", SKARDataFile::create, status, L"RawDataIndex");
    ASSERT_EQ(0, status);
    for (int i = 0; i < 5000; ++i)
        index.addRawDataIndexArray(1, i, 3, 4.0);
    disk.noSpaceAfter(1000);
    EXPECT_EQ(5000059u, index.writeRawDataIndex(SKARRawDataIndex::rawDataUnknown));
}

template <class File>
void make(const Line& line, const Values& values, double time) {
    long status = 77;
    File file(line.path().c_str(), L"a.raw", SKARDataFile::create, status);
    ASSERT_EQ(0, status);
    dataValue flag;
    flag.boolean = true;
    for (unsigned i = 0; i < file.GetNumberOfSummaryAttributes(); i += 2)
        EXPECT_EQ(0u, file.SetSummaryAttribute(static_cast<int>(i), flag, 0));
    EXPECT_EQ(0u, file.WriteRecord(time, 7, values, {}));
}

TEST_F(ConcreteFiles, AnRmsFileHasItsBytes) {
    make<SKARRmsFile>(line, {real(1), real(2), real(3), real(4), real(5), real(6)}, 60.0);
    SummaryWords words;
    words.dataVersion = 1;
    words.records = 1;
    words.reference = 1;
    words.largest = 36;
    words.summaryAttributes = {
        {4, "POSITION_SET"}, {4, "HEAVE_SET"}, {4, "ROLL_SET"}, {4, "PITCH_SET"}, {4, "GYRO_SET"}};
    for (const int flag : {1, 0, 1, 0, 1})
        words.summaryValues.word("flag", flag);
    words.attributes = {{2, "N_RMS"},    {2, "E_RMS"},     {2, "HEAVE_RMS"},
                        {2, "ROLL_RMS"}, {2, "PITCH_RMS"}, {2, "GYRO_RMS"}};
    Bytes expected = withHead(58, words);
    expected.word("size", 36).word("status", 7).word("time", 0);
    for (const std::uint32_t bits : {0x3F800000, 0x40000000, 0x40400000, 0x40800000, 0x40A00000, 0x40C00000})
        expected.word("rms", bits);
    EXPECT_TRUE(same(expected, line.bytes("RMS")));
    EXPECT_TRUE(line.has("RMSTmIdx"));
}

TEST_F(ConcreteFiles, ATrueHeaveRmsFileHasItsBytes) {
    make<SKARTrueHeaveRmsFile>(line, {real(1)}, 60.0);
    SummaryWords words;
    words.dataVersion = 1;
    words.records = 1;
    words.reference = 1;
    words.summaryAttributes = {{4, "TRUEHEAVE_SET"}};
    words.summaryValues.word("flag", 1);
    words.attributes = {{2, "TRUEHEAVE_RMS"}};
    Bytes expected = withHead(75, words);
    expected.word("size", 16).word("status", 7).word("time", 0).word("rms", 0x3F800000);
    EXPECT_TRUE(same(expected, line.bytes("TrueHeaveRMS")));
}

TEST_F(ConcreteFiles, ATideErrorHasItsBytes) {
    make<SKARTideError>(line, {real64(1.0)}, 60.0);
    SummaryWords words;
    words.dataVersion = 1;
    words.records = 1;
    words.reference = 1;
    words.largest = 20;
    words.attributes = {{3, "Tide_Error"}};
    Bytes expected = withHead(59, words);
    expected.word("size", 20).word("status", 7).word("time", 0).word("low", 0).word("high", 0x3FF00000);
    EXPECT_TRUE(same(expected, line.bytes("TideError")));
}

// The bytes of the worked example: pairs of hex digits, one or two blanks apart, up to the words beside them.
std::string exampleOfThePage() {
    std::ifstream page(SKAR_TEST_DATA "/../docs/formats/attributes.md");
    std::string bytes;
    std::string text;
    bool isExample = false;
    while (std::getline(page, text)) {
        isExample = isExample || text == "## A worked example";
        if (!isExample || !text.starts_with("    ")) continue;
        for (std::size_t at = 4;
             at + 2 <= text.size() && std::isxdigit(static_cast<unsigned char>(text[at]));) {
            bytes.push_back(static_cast<char>(std::stoi(text.substr(at, 2), nullptr, 16)));
            at += text.compare(at + 2, 2, "  ") == 0 ? 4 : 3;
        }
    }
    return bytes;
}

TEST_F(ConcreteFiles, TheExampleOfThePageIsWhatIsWritten) {
    {
        long status = 77;
        SKAR::TideErrorFile file(line.path().c_str(), L"a.raw", status);
        ASSERT_EQ(0u, file.write(3725.5, 1.0, 9));
    }
    EXPECT_TRUE(same(Bytes().raw("example", exampleOfThePage()), line.bytes("TideError")));
}

TEST_F(ConcreteFiles, TheRmsReaderPicksAColumn) {
    {
        long status = 77;
        SKARRmsFile file(line.path().c_str(), L"a.raw", SKARDataFile::create, status);
        for (int i = 0; i < 3; ++i) {
            const float f = static_cast<float>(i) * 10;
            ASSERT_EQ(0u,
                      file.WriteRecord(
                          100.0 + i, static_cast<unsigned>(i),
                          {real(f), real(f + 1), real(f + 2), real(f + 3), real(f + 4), real(f + 5)}, {}));
        }
    }
    long code = 77;
    SKAR::RMSFile file(line.path().c_str(), code);
    ASSERT_EQ(0, code);
    EXPECT_EQ(3u, file.getNumberOfRecords());
    EXPECT_EQ(100.0, file.getMinTime());
    EXPECT_EQ(102.0, file.getMaxTime());
    double time = 0;
    double value = 0;
    unsigned status = 77;
    for (unsigned field = 0; field < 6; ++field) {
        SKAR::RMSFile other(line.path().c_str(), code);
        EXPECT_EQ(0u, other.read(static_cast<SKAR::RMSFile::dataField>(field), 2, time, value, status));
        EXPECT_EQ(10.0 + field, value);
        EXPECT_EQ(101.0, time);
        EXPECT_EQ(1u, status);
    }
    const auto next = static_cast<unsigned>(-999);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0u, file.read(SKAR::RMSFile::pitchRms, next, time, value, status));
        EXPECT_EQ(10.0 * i + 4, value);
    }
    EXPECT_EQ(5000064u, file.read(SKAR::RMSFile::pitchRms, next, time, value, status));
    SKAR::RMSFile again(line.path().c_str(), code);
    status = 77;
    EXPECT_EQ(noCode, again.read(static_cast<SKAR::RMSFile::dataField>(6), 1, time, value, status));
    EXPECT_EQ(0u, status) << "the record was read";
    EXPECT_EQ(0u, again.read(SKAR::RMSFile::northRms, next, time, value, status));
    EXPECT_EQ(10.0, value) << "and the place moved on";
    SKAR::RMSFile copy = again;
    again = file;
    EXPECT_EQ(0u, copy.read(SKAR::RMSFile::northRms, next, time, value, status));
    EXPECT_EQ(20.0, value);
    EXPECT_EQ(3u, again.getNumberOfRecords());
}

TEST_F(ConcreteFiles, AReaderWithoutAFileSaysSo) {
    long code = 77;
    SKAR::RMSFile rms(line.path().c_str(), code);
    EXPECT_EQ(5000046, code);
    double time = 0;
    double value = 0;
    unsigned status = 0;
    EXPECT_EQ(noCode, rms.read(SKAR::RMSFile::northRms, 1, time, value, status));
    EXPECT_EQ(0u, rms.getNumberOfRecords());
    SKARSetLastError(0);
    SKAR::TideErrorFile tide(line.path().c_str(), code);
    EXPECT_EQ(5000046, code);
    EXPECT_EQ(noCode, tide.read(1, time, value, status));
    EXPECT_EQ(noCode, tide.write(1.0, 2.0, 3));
}

TEST_F(ConcreteFiles, AFileThatSaysItHoldsSomethingElseGivesNoWrongFigures) {
    SummaryWords words;
    words.records = 1;
    words.attributes = {{1, "N_RMS"}};
    Bytes data = words.file();
    const auto start = static_cast<std::int32_t>(data.size());
    data.word("size", 16).word("status", 5).word("time", 1000).word("v", 7);
    for (const char* name : {"RMS", "TideError"}) {
        line.write(name, data);
        line.write(std::string(name) + "TmIdx", indexBytes({{{1000, start}}}));
    }
    long code = 77;
    double time = 0;
    double value = 77;
    unsigned status = 0;
    SKAR::RMSFile rms(line.path().c_str(), code);
    ASSERT_EQ(0, code);
    EXPECT_EQ(noCode, rms.read(SKAR::RMSFile::northRms, 1, time, value, status));
    SKAR::RMSFile again(line.path().c_str(), code);
    EXPECT_EQ(noCode, again.read(SKAR::RMSFile::eastRms, 1, time, value, status)) << "it has one column only";
    SKAR::TideErrorFile tide(line.path().c_str(), code);
    ASSERT_EQ(0, code);
    EXPECT_EQ(noCode, tide.read(1, time, value, status));
    EXPECT_EQ(77, value);
}

TEST_F(ConcreteFiles, TideErrorsAreWrittenAndRead) {
    long code = 77;
    {
        SKAR::TideErrorFile file(line.path().c_str(), L"a.raw", code);
        EXPECT_EQ(0, code);
    }
    EXPECT_TRUE(line.files().empty()) << "nothing was written";
    {
        SKAR::TideErrorFile file(line.path().c_str(), L"a.raw", code);
        EXPECT_EQ(0u, file.write(100.0, 0.25, 1));
        EXPECT_EQ(0u, file.write(101.0, -0.5, 2));
        EXPECT_EQ(0u, file.getNumberOfRecords());
        EXPECT_EQ(0.0, file.getMinTime());
        EXPECT_EQ(0.0, file.getMaxTime());
        double time = 0;
        double value = 0;
        unsigned status = 0;
        EXPECT_EQ(5000061u, file.read(1, time, value, status));
        SKAR::TideErrorFile copy = file;
        EXPECT_EQ(0u, copy.write(102.0, 1.0, 3));
    }
    SKAR::TideErrorFile file(line.path().c_str(), code);
    EXPECT_EQ(0, code);
    EXPECT_EQ(3u, file.getNumberOfRecords());
    EXPECT_EQ(100.0, file.getMinTime());
    EXPECT_EQ(102.0, file.getMaxTime());
    double time = 0;
    double value = 0;
    unsigned status = 0;
    EXPECT_EQ(0u, file.read(2, time, value, status));
    EXPECT_EQ(101.0, time);
    EXPECT_EQ(-0.5, value);
    EXPECT_EQ(2u, status);
    EXPECT_EQ(5000061u, file.write(1.0, 2.0, 3));
    EXPECT_EQ(5000064u, file.read(4, time, value, status));
}

} // namespace
} // namespace skar::tests
