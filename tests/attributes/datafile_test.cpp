#include "attributefiles.h"

#include "platform/file.h"

#include <cfloat>
#include <climits>
#include <cstring>
#include <limits>

// The object: registration, opening, closing, accessors, index, order of the virtual operations.
namespace skar::tests {
namespace {

using namespace SKARIOAttributes;

// What a pointer to a virtual member holds tells its slot, 1 behind the byte offset.
template <class Member>
std::size_t slotOf(Member member) {
    std::ptrdiff_t words[2];
    static_assert(sizeof member == sizeof words);
    std::memcpy(words, &member, sizeof member);
#if defined(__aarch64__) || defined(__arm__)
    return static_cast<std::size_t>(words[0]) / sizeof(void*);
#else
    return static_cast<std::size_t>(words[0] - 1) / sizeof(void*);
#endif
}

struct Slots : SKARDataFile {
    static std::vector<std::size_t> inOrder() {
        using U = unsigned;
        using S = const MORVAUString&;
        using Names = std::vector<MORVAUString>&;
        using Types = std::vector<dataType>&;
        using V = const dataValue&;
        using Index = const std::uint64_t&;
        using F = SKARDataFile;
        using Code = std::uint32_t;
        return {
            slotOf(&F::InitXDR),
            slotOf(&F::GetNumberOfAttributes),
            slotOf(&F::GetNumberOfSummaryAttributes),
            slotOf(&F::GetNumberOfRecords),
            slotOf(&F::GetFileVersionNumber),
            slotOf(&F::GetDataVersionNumber),
            slotOf(&F::GetSummeryRecordSize),
            slotOf(&F::GetDataRecordSize),
            slotOf<Code (F::*)(int, dataValue&, int*)>(&F::GetSummaryAttribute),
            slotOf<Code (F::*)(S, dataValue&, int*)>(&F::GetSummaryAttribute),
            slotOf(&F::GetAllSummaryAttributes),
            slotOf<Code (F::*)(Index, dataValue&)>(&F::GetDataAttribute),
            slotOf<Code (F::*)(S, dataValue&)>(&F::GetDataAttribute),
            slotOf<Code (F::*)(Names, Types, Values&)>(&F::GetAllDataAttributes),
            slotOf(&F::GetAttributesName),
            slotOf(&F::GetAttributeIndex),
            slotOf(&F::GetSummaryRecordStatus),
            slotOf(&F::GetDataRecordStatus),
            slotOf(&F::GetMinimumSummaryRecordSize),
            slotOf(&F::GetMinTime),
            slotOf(&F::GetMaxTime),
            slotOf(&F::GetSourceFileName),
            slotOf(&F::GetCurrentRecordSize),
            slotOf(&F::RecalcByteOffset),
            slotOf(&F::AddAttribute),
            slotOf(&F::AddSummaryAttribute),
            slotOf<Code (F::*)(int, V, int)>(&F::SetSummaryAttribute),
            slotOf<Code (F::*)(S, V, int)>(&F::SetSummaryAttribute),
            slotOf(&F::SetSummaryRecordStatus),
            slotOf<Code (F::*)(Index, V)>(&F::SetDataAttribute),
            slotOf<Code (F::*)(S, V)>(&F::SetDataAttribute),
            slotOf(&F::WriteRecord),
            slotOf<Code (F::*)(double&, U&, Values&, Counts&, int)>(&F::ReadRecord),
            slotOf<Code (F::*)(double&, U&, Values&, int)>(&F::ReadRecord),
            slotOf(&F::TELD_DecodeDepthPosition),
            slotOf(&F::TELD_EncodeDepthPosition),
            slotOf(&F::TELD_DecodeDepthTime),
            slotOf(&F::TELD_EncodeDepthTime),
            slotOf(&F::TELD_DecodeMeters),
            slotOf(&F::TELD_EncodeMeters),
            slotOf(&F::TELD_DecodePosition),
            slotOf(&F::TELD_EncodeRefPosition),
            slotOf(&F::TELD_EncodePosition),
            slotOf(&F::TELD_DecodeRadians),
            slotOf(&F::TELD_EncodeRadians),
            slotOf(&F::TELD_DecodeSeconds),
            slotOf(&F::TELD_EncodeSeconds),
            slotOf(&F::TELD_DecodeTime),
            slotOf(&F::TELD_DecodeRefTime),
            slotOf(&F::TELD_EncodeRefTime),
            slotOf(&F::TELD_EncodeTime),
            slotOf(&Slots::TELD_ReadDataValidationRecord),
            slotOf(&Slots::TELD_WriteDataValidationRecord),
            slotOf(&Slots::ReadSummary),
            slotOf(&Slots::WriteSummary),
            slotOf(&Slots::UpdateSummary),
            slotOf(&Slots::TmIdxSetAlloc),
            slotOf(&Slots::TmIdxRead),
            slotOf(&Slots::TmIdxWrite),
            slotOf(&Slots::TmIdxSetFree),
            slotOf(&Slots::TmIdxEntry),
            slotOf(&Slots::TmIdxMapIndexToByteOffset),
            slotOf(&Slots::CalculateSizeOfDataRecord),
        };
    }
};

TEST(AttributeFileSlots, TheSixtyFourOperationsStandInTheirOrder) {
    const auto slots = Slots::inOrder();
    ASSERT_EQ(63u, slots.size()) << "with the destructor 64";
    // The destructor takes two slots here: the one that destroys and the one that also frees.
    for (std::size_t i = 0; i < slots.size(); ++i)
        EXPECT_EQ(2 + i, slots[i]) << "operation " << 2 + i;
}

TEST(AttributeFileSlots, DeletingThroughTheBaseReachesTheSubclass) {
    SKARSetLastError(0);
    const Line line;
    long status = 77;
    SKARDataFile* file = new SKARTideError(line.path().c_str(), L"", SKARDataFile::create, status);
    EXPECT_TRUE(line.has("TideError"));
    delete file;
    EXPECT_TRUE(line.files().empty());
}

TEST_F(AttributeFiles, ACreatedFileHasItsHeadAtOnce) {
    const OpenDataFile file = create();
    EXPECT_TRUE(same(Bytes().validation(sensorNumber, 1, 2), line.bytes("Test")));
    EXPECT_EQ("", line.bytes("TestTmIdx"));
    EXPECT_EQ(2u, file.GetFileVersionNumber());
    EXPECT_EQ(4u, file.GetDataVersionNumber());
    EXPECT_EQ(0u, file.GetNumberOfRecords());
    EXPECT_EQ(DBL_MAX, file.GetMinTime());
    EXPECT_EQ(-DBL_MAX, file.GetMaxTime());
}

TEST_F(AttributeFiles, ACreatedFileWithoutARecordLeavesNothing) {
    {
        OpenDataFile file = create();
        EXPECT_EQ(0u, file.AddAttribute(typeFloat, L"Depth"));
        EXPECT_EQ(0u, file.AddSummaryAttribute(typeUInt32, L"Kind"));
        EXPECT_EQ(0u, file.SetSummaryAttribute(0, u32(5), 0));
    }
    EXPECT_TRUE(line.files().empty());
}

TEST_F(AttributeFiles, AnObjectThatOpenedNothingRemovesNothing) {
    writeThree();
    long status = 77;
    { OpenDataFile file(line.path().c_str(), L"Test", L"", 33, SKARDataFile::create, 4, status, false); }
    EXPECT_EQ(0, status);
    EXPECT_TRUE(line.has("Test"));
    EXPECT_TRUE(line.has("TestTmIdx"));
}

TEST_F(AttributeFiles, AFileOpensLaterAndOnce) {
    writeThree();
    long status = 77;
    OpenDataFile file(line.path().c_str(), L"Test", L"", 33, SKARDataFile::query, 4, status, false);
    EXPECT_EQ(0, status);
    EXPECT_EQ(0u, file.GetNumberOfRecords());
    file.InitXDR(SKARDataFile::query, status);
    EXPECT_EQ(0, status);
    EXPECT_EQ(3u, file.GetNumberOfRecords());
    file.InitXDR(SKARDataFile::query, status);
    EXPECT_EQ(-1, status);
    EXPECT_EQ(3u, file.GetNumberOfRecords());
}

TEST_F(AttributeFiles, RegistrationEndsWithTheFirstRecord) {
    OpenDataFile file = create();
    EXPECT_EQ(0u, file.AddAttribute(typeFloat, L"Depth"));
    EXPECT_EQ(0u, file.WriteRecord(1.0, 0, {real(1)}, {}));
    EXPECT_EQ(5000062u, file.AddAttribute(typeFloat, L"Late"));
    EXPECT_EQ(5000062u, file.AddSummaryAttribute(typeFloat, L"Late"));
    EXPECT_EQ(1u, file.GetNumberOfAttributes());
    EXPECT_EQ(0u, file.GetNumberOfSummaryAttributes());
}

TEST_F(AttributeFiles, ANameBeyond255BytesIsRefused) {
    OpenDataFile file = create();
    EXPECT_EQ(0u, file.AddAttribute(typeFloat, std::wstring(255, L'n').c_str()));
    EXPECT_EQ(5000062u, file.AddAttribute(typeFloat, std::wstring(256, L'n').c_str()));
    EXPECT_EQ(5000062u, file.AddSummaryAttribute(typeFloat, std::wstring(128, L'\u00e4').c_str()));
    EXPECT_EQ(1u, file.GetNumberOfAttributes());
}

TEST_F(AttributeFiles, WhatEachAccessAllows) {
    writeThree();
    for (const auto access : {SKARDataFile::query, SKARDataFile::update}) {
        const bool updates = access == SKARDataFile::update;
        const std::uint32_t change = updates ? 0 : 5000061;
        long status = 77;
        OpenDataFile file = open(access, status);
        EXPECT_EQ(0, status);
        EXPECT_EQ(5000061u, file.AddAttribute(typeFloat, L"x"));
        EXPECT_EQ(5000061u, file.AddSummaryAttribute(typeFloat, L"x"));
        EXPECT_EQ(5000061u, file.WriteRecord(1.0, 0, {real(1)}, {}));
        EXPECT_EQ(change, file.SetSummaryRecordStatus(9));
        EXPECT_EQ(updates ? noCode : 5000061u, file.SetSummaryAttribute(0, u32(1), 0));
        EXPECT_EQ(updates ? 5000063u : 5000061u, file.SetSummaryAttribute(L"x", u32(1), 0));
        EXPECT_EQ(change, file.SetDataAttribute(L"Depth", real(7)));
        EXPECT_EQ(0u, file.SetDataAttribute(std::uint64_t{0}, real(8))) << "in every access";
    }
    OpenDataFile file = create();
    double time = 0;
    unsigned status = 0;
    Values values;
    Counts counts;
    EXPECT_EQ(5000061u, file.ReadRecord(time, status, values, 1));
    EXPECT_EQ(5000061u, file.ReadRecord(time, status, values, counts, 1));
}

TEST_F(AttributeFiles, SummaryAttributesByIndexAndName) {
    OpenDataFile file = create();
    file.AddSummaryAttribute(typeUInt32, L"Kind");
    file.AddSummaryAttribute(typeString, L"Text");
    EXPECT_EQ(0u, file.SetSummaryAttribute(L"Kind", u32(41), 9));
    EXPECT_EQ(0u, file.SetSummaryAttribute(0, u32(42), 9));
    char text[] = "abcde";
    EXPECT_EQ(0u, file.SetSummaryAttribute(L"Text", block(text), 3));
    std::strcpy(text, "xxxxx");
    EXPECT_EQ(5000063u, file.SetSummaryAttribute(L"kind", u32(1), 0));
    EXPECT_EQ(noCode, file.SetSummaryAttribute(3, u32(1), 0));
    EXPECT_EQ(noCode, file.SetSummaryAttribute(2, u32(1), 0));
    EXPECT_EQ(noCode, file.SetSummaryAttribute(-1, u32(1), 0));

    dataValue value;
    int count = 77;
    EXPECT_EQ(0u, file.GetSummaryAttribute(L"Kind", value, &count));
    EXPECT_EQ(42u, value.uint32);
    EXPECT_EQ(0, count) << "a scalar has none";
    EXPECT_EQ(0u, file.GetSummaryAttribute(1, value, &count));
    EXPECT_STREQ("abc", value.string) << "a copy with a terminator";
    EXPECT_EQ(3, count);
    EXPECT_EQ(0u, file.GetSummaryAttribute(1, value, nullptr));
    EXPECT_EQ(5000063u, file.GetSummaryAttribute(L"None", value, &count));
    EXPECT_EQ(noCode, file.GetSummaryAttribute(3, value, &count));
    EXPECT_EQ(noCode, file.GetSummaryAttribute(2, value, &count));
    EXPECT_EQ(noCode, file.GetSummaryAttribute(-1, value, &count));

    std::vector<MORVAUString> names(9);
    std::vector<dataType> types;
    Values values;
    int counts[2] = {77, 77};
    EXPECT_EQ(0u, file.GetAllSummaryAttributes(names, types, values, counts));
    EXPECT_EQ((std::vector<MORVAUString>{L"Kind", L"Text"}), names);
    EXPECT_EQ((std::vector<dataType>{typeUInt32, typeString}), types);
    EXPECT_EQ(42u, values[0].uint32);
    EXPECT_EQ(value.string, values[1].string);
    EXPECT_EQ(0, counts[0]);
    EXPECT_EQ(3, counts[1]);
    EXPECT_EQ(0u, file.GetAllSummaryAttributes(names, types, values, nullptr));

    EXPECT_EQ(0u, file.SetSummaryAttribute(1, dataValue{}, 0));
    EXPECT_EQ(0u, file.GetSummaryAttribute(1, value, &count));
    EXPECT_EQ(nullptr, value.string) << "an empty one is null";
    EXPECT_EQ(0, count);
    EXPECT_EQ(noCode, file.SetSummaryAttribute(1, dataValue{}, 4));
    EXPECT_EQ(noCode, file.SetSummaryAttribute(1, block(text), -1));
    EXPECT_EQ(0u, file.SetSummaryAttribute(1, block(text), 7)) << "longer than the text: zeros";
    EXPECT_EQ(0u, file.GetSummaryAttribute(1, value, &count));
    EXPECT_EQ(0, std::memcmp(value.string, "xxxxx\0\0\0", 8));
}

TEST_F(AttributeFiles, ASummaryArrayIsCopiedByTheWidthOfItsType) {
    OpenDataFile file = create();
    std::uint8_t bytes[16];
    for (int i = 0; i < 16; ++i)
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    for (const typeRow& row : dataTypes) {
        if (!row.isVariable()) continue;
        const int index = static_cast<int>(file.GetNumberOfSummaryAttributes());
        ASSERT_EQ(0u, file.AddSummaryAttribute(row.type, row.name ? MORVAUString(row.name) : L""));
        ASSERT_EQ(0u, file.SetSummaryAttribute(index, block(bytes), 2));
        dataValue value;
        int count = 0;
        ASSERT_EQ(0u, file.GetSummaryAttribute(index, value, &count));
        EXPECT_EQ(2, count) << row.name;
        EXPECT_NE(bytes, value.byteArray);
        EXPECT_EQ(0, std::memcmp(bytes, value.byteArray, 2u * row.width)) << row.name;
    }
}

TEST_F(AttributeFiles, DataAttributesByIndexAndName) {
    OpenDataFile file = create();
    file.AddSummaryAttribute(typeUInt32, L"B");
    file.AddSummaryAttribute(typeUInt32, L"A");
    file.AddSummaryAttribute(typeUInt32, L"C");
    file.AddAttribute(typeUInt32, L"A");
    file.AddAttribute(typeDouble, L"Only");
    dataValue value = u32(77);
    EXPECT_EQ(0u, file.GetDataAttribute(std::uint64_t{1}, value));
    EXPECT_EQ(0u, value.uint64) << "nothing was set";
    EXPECT_EQ(0u, file.SetDataAttribute(L"A", u32(1)));
    EXPECT_EQ(0u, file.SetDataAttribute(std::uint64_t{1}, real64(2)));
    EXPECT_EQ(5000063u, file.SetDataAttribute(L"B", u32(1)));
    EXPECT_EQ(5000063u, file.SetDataAttribute(std::uint64_t{2}, u32(1)));
    EXPECT_EQ(5000063u, file.GetDataAttribute(std::uint64_t{2}, value));

    EXPECT_EQ(5000063u, file.GetDataAttribute(L"Only", value)) << "no attribute of the summary";
    EXPECT_EQ(0u, file.GetDataAttribute(L"A", value));
    EXPECT_EQ(2.0, value.float64) << "its place in the summary is the second";
    EXPECT_EQ(0u, file.GetDataAttribute(L"B", value));
    EXPECT_EQ(1u, value.uint32);
    EXPECT_EQ(5000063u, file.GetDataAttribute(L"C", value)) << "its place is beyond the data attributes";

    std::uint64_t index = 77;
    EXPECT_EQ(0u, file.GetAttributeIndex(index, L"Only"));
    EXPECT_EQ(1u, index);
    EXPECT_EQ(0u, file.GetAttributeIndex(index, L"B"));
    EXPECT_EQ(~std::uint64_t{0}, index);

    std::vector<MORVAUString> names;
    std::vector<dataType> types;
    Values values;
    EXPECT_EQ(0u, file.GetAllDataAttributes(names, types, values));
    EXPECT_EQ((std::vector<MORVAUString>{L"A", L"Only"}), names);
    EXPECT_EQ((std::vector<dataType>{typeUInt32, typeDouble}), types);
    EXPECT_EQ(2.0, values[1].float64);
    names.clear();
    EXPECT_EQ(0u, file.GetAttributesName(names, types));
    EXPECT_EQ(2u, names.size());
}

TEST_F(AttributeFiles, TheSmallestSummaryIsThatOfTheSourceName) {
    OpenDataFile file = create();
    EXPECT_EQ(56u + 4 + 8, file.GetMinimumSummaryRecordSize()) << "a.raw takes 8 bytes";
    long status = 0;
    OpenDataFile empty(line.path().c_str(), L"Other", L"", 33, SKARDataFile::create, 4, status, true);
    EXPECT_EQ(60u, empty.GetMinimumSummaryRecordSize());
    MORVAUString name;
    EXPECT_EQ(0u, file.GetSourceFileName(name));
    EXPECT_EQ(MORVAUString(L"a.raw"), name);
}

// Opening and the last error

TEST_F(AttributeFiles, MissingFilesAreNotFound) {
    EXPECT_EQ(5000046, codeOfQuery());
    writeThree();
    std::filesystem::remove(line.folder() / "TestTmIdx");
    SKARSetLastError(0);
    const LogCapture log;
    EXPECT_EQ(5000046, codeOfQuery()) << "the data file is there, its index is not";
    const std::string path = (line.folder() / "Test").string();
    ASSERT_EQ(1u, log.lines().size());
    EXPECT_EQ(2, log.lines()[0].level);
    std::string text = log.lines()[0].text;
    std::replace(text.begin(), text.end(), '\\', '/');
    EXPECT_EQ("SKAR IO was unable to find the data file '" + path + "'\n", text);
}

struct StaleError {
    std::uint32_t error;
    long code;
    const char* text;
};
constexpr StaleError staleErrors[] = {
    {0, 0, nullptr},
    {183, 0, nullptr},
    {2, 5000046, "SKAR IO was unable to find the data file 'PATH'\n"},
    {4, 5000015, "SKAR IO could not open 'PATH' because there are too many files open on the system.\n"},
    {5, 5000016, "SKAR IO could not open 'PATH' because access is denied by the system.\n"},
    {8, 5000014, "SKAR IO could not open 'PATH' because there is not enough disk space available.\n"},
    {31, 5000025,
     "SKAR IO could not open 'PATH'.  Windows returned the following error:\n\tThe system could not do what "
     "was asked.\n"},
    {3, 5000025,
     "SKAR IO could not open 'PATH'.  Windows returned the following error:\n\tA directory of the path does "
     "not exist.\n"},
};

TEST_F(AttributeFiles, AnErrorLeftFromBeforeTurnsAGoodOpen) {
    writeThree();
    for (const StaleError& row : staleErrors) {
        for (const auto access : {SKARDataFile::query, SKARDataFile::update}) {
            const LogCapture log;
            SKARSetLastError(row.error);
            long status = 77;
            OpenDataFile file = open(access, status);
            EXPECT_EQ(row.code, status) << row.error;
            ASSERT_EQ(row.text ? 1u : 0u, log.lines().size()) << row.error;
            double time = 0;
            unsigned recordStatus = 0;
            Values values;
            EXPECT_EQ(row.code == 0 ? 0u : 5000064u, file.ReadRecord(time, recordStatus, values, 1))
                << "without the index nothing is found";
            if (!row.text) continue;
            std::string text = log.lines()[0].text;
            std::replace(text.begin(), text.end(), '\\', '/');
            std::string expected = row.text;
            expected.replace(expected.find("PATH"), 4, (line.folder() / "Test").string());
            EXPECT_EQ(expected, text);
            EXPECT_EQ(2, log.lines()[0].level);
        }
    }
    SKARSetLastError(0);
}

TEST_F(AttributeFiles, CreatingForgetsAnErrorLeftFromBefore) {
    SKARSetLastError(31);
    writeThree();
    EXPECT_EQ(0u, SKARGetLastError());
    long status = 77;
    SKARSetLastError(31);
    { OpenDataFile file = open(SKARDataFile::create, status); }
    EXPECT_EQ(0, status);
}

TEST_F(AttributeFiles, AnErrorOfAnotherKindKeepsTheCodeOfTheOpen) {
    long status = 77;
    // The directory is missing: error 3, which stands for nothing of its own.
    OpenDataFile query(L"/nowhere/at/all", L"Test", L"", 33, SKARDataFile::query, 4, status, true);
    EXPECT_EQ(5000025, status);
    OpenDataFile create(L"/nowhere/at/all", L"Test", L"", 33, SKARDataFile::create, 4, status, true);
    EXPECT_EQ(5000026, status);
    EXPECT_EQ(5000026u, create.WriteRecord(1.0, 0, {}, {}));
}

TEST(AttributeFileOpen, EveryFailureOfTheSystemHasItsCode) {
    struct Row {
        int error;
        long query;
        long create;
    };
    for (const auto& [error, onQuery, onCreate] :
         {Row{ENOENT, 5000046, 5000046}, Row{EMFILE, 5000015, 5000015}, Row{EACCES, 5000016, 5000016},
          Row{ENOSPC, 5000014, 5000014}, Row{EIO, 5000025, 5000026}}) {
        for (std::size_t n : {1u, 2u}) {
            FaultBackend disk;
            disk.put("/survey/line/Test", SummaryWords().file());
            disk.put("/survey/line/TestTmIdx", indexBytes({}));
            for (const auto access : {SKARDataFile::query, SKARDataFile::update, SKARDataFile::create}) {
                disk.resetCounts();
                disk.failAt(Op::open, n, error);
                SKARSetLastError(0);
                long status = 77;
                {
                    OpenDataFile file(L"/survey/line", L"Test", L"", 33, access, 4, status, true);
                    EXPECT_EQ(access == SKARDataFile::create ? onCreate : onQuery, status)
                        << "errno " << error << ", open " << n;
                }
                EXPECT_EQ(0, disk.openStreams());
                disk.clearFaults();
            }
        }
    }
    SKARSetLastError(0);
}

TEST_F(AttributeFiles, AWrongHeadIsRefused) {
    const Bytes good = SummaryWords().file();
    line.write("TestTmIdx", indexBytes({}));
    line.write("Test", good);
    EXPECT_EQ(0, codeOfQuery());
    line.write("Test", withWord(good, 0, 0x54454C45));
    EXPECT_EQ(5000027, codeOfQuery()) << "token";
    line.write("Test", withWord(good, 8, 3));
    EXPECT_EQ(5000027, codeOfQuery()) << "file type";
    line.write("Test", withWord(good, 4, 999));
    EXPECT_EQ(0, codeOfQuery()) << "the sensor is not compared";
    line.write("Test", good.string().substr(0, 15));
    EXPECT_EQ(5000027, codeOfQuery()) << "short";
    line.write("Test", good.string().substr(0, 19));
    EXPECT_EQ(5000026, codeOfQuery()) << "no summary";
    line.write("Test", good.string().substr(0, good.size() - 1));
    EXPECT_EQ(5000026, codeOfQuery()) << "short summary";
}

// Closing

TEST_F(AttributeFiles, OnlyOneWordChangesWithAStatusThatIsUpdated) {
    writeThree();
    const std::string before = line.bytes("Test");
    const std::string indexBefore = line.bytes("TestTmIdx");
    {
        long status = 77;
        OpenDataFile file = open(SKARDataFile::update, status);
        ASSERT_EQ(0, status);
        EXPECT_EQ(0u, file.SetSummaryRecordStatus(0x01020304));
        EXPECT_EQ(0x01020304u, file.GetSummaryRecordStatus());
        EXPECT_EQ(0u, file.SetDataAttribute(std::uint64_t{0}, real(99)));
        EXPECT_EQ(before, line.bytes("Test")) << "until the object goes";
    }
    EXPECT_EQ(withWord(before, 16 + 24, 0x01020304), line.bytes("Test"));
    EXPECT_EQ(indexBefore, line.bytes("TestTmIdx"));
}

TEST_F(AttributeFiles, AnUpdateWithoutAChangeWritesNothing) {
    writeThree();
    // A scale that cannot be coded back would show.
    const std::string odd = withWord(line.bytes("Test"), 16 + 32, 0);
    line.write("Test", odd);
    long status = 77;
    { OpenDataFile file = open(SKARDataFile::update, status); }
    EXPECT_EQ(odd, line.bytes("Test"));
}

TEST_F(AttributeFiles, AFileWhoseWriterDiedHasNoRecords) {
    FaultBackend disk;
    disk.put("/survey/line/Other", "");
    {
        SKARSetLastError(0);
        long status = 77;
        OpenDataFile file(L"/survey/line", L"Test", L"a.raw", sensorNumber, SKARDataFile::create, 4, status,
                          true);
        file.AddAttribute(typeFloat, L"Depth");
        for (int i = 0; i < 6000; ++i)
            ASSERT_EQ(0u, file.WriteRecord(3725.5, 0, {real(1)}, {}));
        const Files left = disk.files();
        FaultBackend later;
        later.setFiles(left);
        EXPECT_GT(later.bytes("/survey/line/Test").size(), 16u * 1000) << "records are there";
        OpenDataFile reader(L"/survey/line", L"Test", L"", 0, SKARDataFile::query, 0, status, true);
        EXPECT_EQ(0, status);
        EXPECT_EQ(0u, reader.GetNumberOfRecords());
        EXPECT_EQ(0.0, reader.GetMinTime()) << "words of a file that was not closed";
        EXPECT_EQ(0.0, reader.GetMaxTime());
        EXPECT_EQ(1u, reader.GetNumberOfAttributes());
        double time = 0;
        unsigned recordStatus = 0;
        Values values;
        EXPECT_EQ(5000064u, reader.ReadRecord(time, recordStatus, values, 1));
        EXPECT_EQ(5000064u, reader.ReadRecord(time, recordStatus, values, -999));
    }
    EXPECT_EQ(0, disk.openStreams());
}

// Copies

TEST_F(AttributeFiles, CopiesShareTheFileAndTheLastOneClosesIt) {
    {
        auto* first = new OpenDataFile(create());
        first->AddAttribute(typeFloat, L"Depth");
        OpenDataFile second = *first;
        ASSERT_EQ(0u, first->WriteRecord(1.0, 0, {real(1)}, {}));
        delete first;
        EXPECT_EQ("", line.bytes("TestTmIdx")) << "not complete yet";
        ASSERT_EQ(0u, second.WriteRecord(2.0, 0, {real(2)}, {}));
    }
    EXPECT_EQ(2u, query().GetNumberOfRecords());
}

TEST_F(AttributeFiles, ACopyHasAPlaceOfItsOwn) {
    writeThree();
    OpenDataFile first = query();
    double time = 0;
    unsigned status = 0;
    Values values;
    ASSERT_EQ(0u, first.ReadRecord(time, status, values, 1));
    OpenDataFile second = first;
    EXPECT_EQ(11u, second.GetDataRecordStatus());
    ASSERT_EQ(0u, second.ReadRecord(time, status, values, -999));
    EXPECT_EQ(12u, status);
    ASSERT_EQ(0u, first.ReadRecord(time, status, values, -999));
    EXPECT_EQ(12u, status);
    ASSERT_EQ(0u, second.ReadRecord(time, status, values, -999));
    EXPECT_EQ(13u, status);
    second = first;
    ASSERT_EQ(0u, second.ReadRecord(time, status, values, -999));
    EXPECT_EQ(13u, status);
}

// The index

TEST_F(AttributeFiles, TheIndexHasItsOwnLayout) {
    {
        OpenDataFile file = create();
        file.AddAttribute(typeFloat, L"Depth");
        // 515 records: a set is full at 512. Times 5500 ms up, the 2nd is the earliest.
        for (int i = 0; i < 515; ++i)
            ASSERT_EQ(0u, file.WriteRecord(i == 1 ? 3720.0 : 3725.5 + i, 0, {real(1)}, {}));
    }
    std::vector<std::pair<std::int32_t, std::int32_t>> entries;
    const auto start = static_cast<std::int32_t>(SummaryWords().file().size());
    for (int i = 0; i < 515; ++i)
        entries.emplace_back(i == 1 ? 0 : 5500 + 1000 * i, start + 16 * i);
    EXPECT_TRUE(
        same(indexBytes({{entries.begin(), entries.begin() + 512}, {entries.begin() + 512, entries.end()}}),
             line.bytes("TestTmIdx")));
}

TEST_F(AttributeFiles, VersionAndCapacityAreThoseOfTheIndex) {
    // A file whose head says 2 and whose index says 1: records without a size word.
    SummaryWords words;
    words.records = 2;
    words.largest = 12;
    Bytes data = words.file();
    const auto start = static_cast<std::int32_t>(data.size());
    data.word("status", 5).word("time", 1500).word("depth", 0x3F800000);
    data.word("status", 6).word("time", 2500).word("depth", 0x40000000);
    line.write("Test", data);
    line.write("TestTmIdx", indexBytes({{{1500, start}}, {{2500, start + 12}}}, 1, 1));
    OpenDataFile file = query();
    EXPECT_EQ(1u, file.GetFileVersionNumber());
    double time = 0;
    unsigned status = 0;
    Values values;
    ASSERT_EQ(0u, file.ReadRecord(time, status, values, 2));
    EXPECT_EQ(6u, status);
    EXPECT_EQ(2.5, time);
    EXPECT_EQ(2.0f, values[0].float32);
    line.write("TestTmIdx", indexBytes({{{1500, start}, {2500, start + 12}}}, 1, 1));
    OpenDataFile beyond = query();
    EXPECT_EQ(5000064u, beyond.ReadRecord(time, status, values, 1)) << "two entries in a set of one";
}

TEST_F(AttributeFiles, LookingUpAndEnteringByHand) {
    writeThree();
    long status = 77;
    OpenDataFile file = open(SKARDataFile::update, status);
    const LogCapture log;
    int offset = 77;
    EXPECT_EQ(5000036u, file.TmIdxMapIndexToByteOffset(0, offset));
    EXPECT_EQ(5000037u, file.TmIdxMapIndexToByteOffset(4, offset));
    EXPECT_EQ(77, offset);
    EXPECT_EQ((Lines{{2, "TmIdxMapIndexToByteOffset: record number is invalid\n"},
                     {2, "TmIdxMapIndexToByteOffset: requested record number not found\n"}}),
              log.lines());
    EXPECT_EQ(0u, file.TmIdxMapIndexToByteOffset(2, offset));
    EXPECT_EQ(static_cast<int>(SummaryWords().file().size()) + 16, offset);
    EXPECT_EQ(5000039u, file.TmIdxRead()) << "the index is in memory, its file is closed";
    EXPECT_EQ(5000040u, file.TmIdxWrite());
}

TEST_F(AttributeFiles, SetsComeAndGo) {
    OpenDataFile file = create();
    _TELD_TmIdxSet* first = file.TmIdxSetAlloc();
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(0u, first->numRecords);
    EXPECT_EQ(INT_MAX, first->minTime);
    EXPECT_EQ(INT_MIN, first->maxTime);
    EXPECT_EQ(nullptr, first->next);
    EXPECT_EQ(0u, file.TmIdxEntry(-7));
    EXPECT_EQ(0u, file.TmIdxEntry(9));
    EXPECT_EQ(2u, first->numRecords);
    EXPECT_EQ(-7, first->minTime);
    EXPECT_EQ(9, first->maxTime);
    EXPECT_EQ(16, first->offsets[0].offset) << "behind the head";
    _TELD_TmIdxSet* second = file.TmIdxSetAlloc();
    EXPECT_EQ(second, first->next);
    file.TmIdxSetFree(first);
    int offset = 0;
    EXPECT_EQ(5000037u, file.TmIdxMapIndexToByteOffset(1, offset));
    EXPECT_EQ(0u, file.TmIdxEntry(3));
    EXPECT_EQ(1u, second->numRecords);
    EXPECT_EQ(0u, file.TmIdxMapIndexToByteOffset(1, offset));
    auto* own = static_cast<_TELD_TmIdxSet*>(std::calloc(1, sizeof(_TELD_TmIdxSet)));
    own->offsets = static_cast<_TELD_TmIdxPair*>(std::malloc(8));
    file.TmIdxSetFree(own);
    file.TmIdxSetFree(nullptr);
}

TEST_F(AttributeFiles, AnIndexThatCannotBeReadLeavesNoEntries) {
    writeThree();
    const std::string good = line.bytes("TestTmIdx");
    for (std::size_t size = 0; size < good.size(); ++size) {
        line.write("TestTmIdx", good.substr(0, size));
        OpenDataFile file = query();
        double time = 0;
        unsigned status = 0;
        Values values;
        EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, 1)) << size;
        EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, -999)) << size;
    }
    line.write("TestTmIdx", withWord(good, 0, 1));
    OpenDataFile file = query();
    double time = 0;
    unsigned status = 0;
    Values values;
    EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, 1)) << "token";
}

// The codings

TEST_F(AttributeFiles, EveryScaleCoderHasItsResult) {
    OpenDataFile file = create();
    EXPECT_EQ(INT_MAX, file.TELD_EncodeMeters(2000000.5));
    EXPECT_EQ(2000000000, file.TELD_EncodeMeters(2000000.0));
    EXPECT_EQ(INT_MIN, file.TELD_EncodeMeters(-2000000.5));
    EXPECT_EQ(-2000000000, file.TELD_EncodeMeters(-2000000.0));
    EXPECT_EQ(1235, file.TELD_EncodeMeters(1.2345678));
    EXPECT_EQ(-3, file.TELD_EncodeMeters(-0.0025)) << "half away from zero";
    EXPECT_EQ(-1.5, file.TELD_DecodeMeters(-1500));
    EXPECT_EQ(15000000, file.TELD_EncodeRadians(1.5));
    EXPECT_EQ(1.5, file.TELD_DecodeRadians(15000000));
    EXPECT_EQ(-2500000, file.TELD_EncodeSeconds(-2.5));
    EXPECT_EQ(-2.5, file.TELD_DecodeSeconds(-2500000));
    EXPECT_EQ(62, file.TELD_EncodeRefTime(3725.5));
    EXPECT_EQ(3720.0, file.TELD_DecodeRefTime(62));
    EXPECT_EQ(5500, file.TELD_EncodeTime(3725.5, 62, 1000));
    EXPECT_EQ(3725.5, file.TELD_DecodeTime(62, 1000, 5500));
    EXPECT_EQ(9000000, file.TELD_EncodeRefPosition(0.9));
    EXPECT_EQ(9000, file.TELD_EncodePosition(0.900009, 9000000, 1));
    EXPECT_DOUBLE_EQ(0.900009, file.TELD_DecodePosition(9000000, 1, 9000));
    EXPECT_DOUBLE_EQ(0.900018, file.TELD_DecodePosition(9000000, 2, 9000));
    EXPECT_EQ(500, file.TELD_EncodeDepthPosition(0.9000005, 0.9, 1));
    EXPECT_DOUBLE_EQ(0.900001, file.TELD_DecodeDepthPosition(0.9, 500, 2));
    EXPECT_DOUBLE_EQ(1.0 - 2147483648 * 1e-9, file.TELD_DecodeDepthPosition(1.0, 0x40000000, 2))
        << "the product has 32 bits";
    EXPECT_EQ(250, file.TELD_EncodeDepthTime(10.25, 10.0, 1000));
    EXPECT_EQ(10.25, file.TELD_DecodeDepthTime(10.0, 1000, 250));
    EXPECT_EQ(static_cast<int>(5'000'000'000LL), file.TELD_EncodeSeconds(5000.0)) << "the low 32 bits";
    EXPECT_EQ(0, file.TELD_EncodeSeconds(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(0, file.TELD_EncodeTime(DBL_MAX, 0, 1000));
}

} // namespace
} // namespace skar::tests
