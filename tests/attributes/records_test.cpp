#include "attributefiles.h"

#include <cmath>
#include <cstring>
#include <limits>

// What records and summaries look like in the file, how they are sized, written and read.
namespace skar::tests {
namespace {

using namespace SKARIOAttributes;

std::string unhex(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += text[i] == ' ' ? 1 : 2)
        if (text[i] != ' ')
            bytes.push_back(static_cast<char>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16)));
    return bytes;
}

// A value of each type with its bytes in the file, written out by hand.
struct TypeCase {
    dataType type;
    int count; // elements, 0 for a scalar
    const char* memory;
    const char* file;
    const char* back; // what is read, where it is not what was written
};
constexpr TypeCase typeCases[] = {
    {typeUInt32, 0, "EF BE AD DE 00 00 00 00", "DE AD BE EF", nullptr},
    {typeInt32, 0, "FE FF FF FF 00 00 00 00", "FF FF FF FE", nullptr},
    {typeFloat, 0, "00 00 C0 BF 00 00 00 00", "BF C0 00 00", nullptr},              // -1.5
    {typeDouble, 0, "00 00 00 00 00 00 F0 3F", "00 00 00 00 3F F0 00 00", nullptr}, // 1.0
    {typeBoolean, 0, "01 00 00 00 00 00 00 00", "00 00 00 01", nullptr},
    {typeBoolean, 0, "00 00 00 00 00 00 00 00", "00 00 00 00", nullptr},
    {typeBoolean, 0, "07 00 00 00 00 00 00 00", "00 00 00 01", "01 00 00 00 00 00 00 00"},
    {typeInt16, 0, "FE FF 00 00 00 00 00 00", "FF FF FF FE", nullptr},
    {typeUInt16, 0, "FE FF 00 00 00 00 00 00", "00 00 FF FE", nullptr},
    {typeUInt32Array, 2, "01 02 03 04 05 06 07 08", "00 00 00 02 00 00 00 08 01 02 03 04 05 06 07 08",
     nullptr},
    {typeInt32Array, 1, "FE FF FF FF", "00 00 00 01 00 00 00 04 FE FF FF FF", nullptr},
    {typeFloatArray, 1, "00 00 C0 BF", "00 00 00 01 00 00 00 04 00 00 C0 BF", nullptr},
    {typeDoubleArray, 1, "00 00 00 00 00 00 F0 3F", "00 00 00 01 00 00 00 08 00 00 00 00 00 00 F0 3F",
     nullptr},
    {typeBooleanArray, 5, "00 01 02 FF 00", "00 00 00 05 00 00 00 05 00 01 01 01 00 00 00 00",
     "00 01 01 01 00"},
    {typeBooleanArray, 4, "80 00 00 01", "00 00 00 04 00 00 00 04 01 00 00 01", "01 00 00 01"},
    {typeInt16Array, 3, "01 00 FE FF 03 00", "00 00 00 03 00 00 00 06 01 00 FE FF 03 00 00 00", nullptr},
    {typeUInt16Array, 2, "01 00 FE FF", "00 00 00 02 00 00 00 04 01 00 FE FF", nullptr},
    {typeByteArray, 1, "AA", "00 00 00 01 00 00 00 01 AA 00 00 00", nullptr},
    {typeByteArray, 2, "AA BB", "00 00 00 02 00 00 00 02 AA BB 00 00", nullptr},
    {typeByteArray, 3, "AA BB CC", "00 00 00 03 00 00 00 03 AA BB CC 00", nullptr},
    {typeByteArray, 4, "AA BB CC DD", "00 00 00 04 00 00 00 04 AA BB CC DD", nullptr},
    {typeString, 1, "61 00", "00 00 00 01 00 00 00 01 61 00 00 00", nullptr},
    {typeString, 2, "61 62 00", "00 00 00 02 00 00 00 02 61 62 00 00", nullptr},
    {typeString, 3, "61 62 63 00", "00 00 00 03 00 00 00 03 61 62 63 00", nullptr},
    {typeString, 4, "61 62 63 64 00", "00 00 00 04 00 00 00 04 61 62 63 64", nullptr},
    {typeUInt64, 0, "08 07 06 05 04 03 02 01", "05 06 07 08 01 02 03 04", nullptr},
    {typeInt64, 0, "FE FF FF FF FF FF FF FF", "FF FF FF FE FF FF FF FF", nullptr},
    {typeUInt64Array, 1, "08 07 06 05 04 03 02 01", "00 00 00 01 00 00 00 08 08 07 06 05 04 03 02 01",
     nullptr},
    {typeInt64Array, 1, "FE FF FF FF FF FF FF FF", "00 00 00 01 00 00 00 08 FE FF FF FF FF FF FF FF",
     nullptr},
};

dataValue valueOf(const TypeCase& row, std::string& memory) {
    dataValue value;
    memory = unhex(row.memory);
    if (row.count == 0)
        std::memcpy(&value, memory.data(), 8);
    else
        value.string = memory.data();
    return value;
}

void expectValue(const TypeCase& row, const dataValue& value) {
    const std::string expected = unhex(row.back ? row.back : row.memory);
    if (row.count == 0) {
        const std::string got(reinterpret_cast<const char*>(&value), 8);
        EXPECT_EQ(hex(expected), hex(got)) << rowOf(row.type)->name;
        return;
    }
    ASSERT_NE(nullptr, value.byteArray);
    EXPECT_EQ(hex(expected), hex({value.string, expected.size()})) << rowOf(row.type)->name;
}

TEST_F(AttributeFiles, EveryTypeInARecord) {
    for (const TypeCase& row : typeCases) {
        SCOPED_TRACE(std::string(rowOf(row.type)->name) + " " + row.memory);
        std::string memory;
        const dataValue value = valueOf(row, memory);
        const std::string coded = unhex(row.file);
        {
            OpenDataFile file = create();
            ASSERT_EQ(0u, file.AddAttribute(row.type, L"V"));
            ASSERT_EQ(0u, file.WriteRecord(3725.5, 9, {value}, {row.count}));
        }
        const auto size = static_cast<std::uint32_t>(12 + coded.size());
        SummaryWords words;
        words.records = 1;
        words.reference = 62;
        words.minimum = words.maximum = 5500;
        words.largest = size;
        words.attributes = {{row.type, "V"}};
        Bytes expected = words.file();
        expected.word("size", size).word("status", 9).word("time", 5500).raw("value", coded);
        ASSERT_TRUE(same(expected, line.bytes("Test")));

        OpenDataFile file = query();
        EXPECT_EQ(3725.5, file.GetMinTime());
        EXPECT_EQ(3725.5, file.GetMaxTime());
        EXPECT_EQ(size, file.GetDataRecordSize());
        double time = 0;
        unsigned status = 0;
        Values values;
        Counts counts;
        ASSERT_EQ(0u, file.ReadRecord(time, status, values, counts, 1));
        EXPECT_EQ(3725.5, time);
        EXPECT_EQ(9u, status);
        EXPECT_EQ(9u, file.GetDataRecordStatus());
        EXPECT_EQ(Counts{row.count}, counts);
        expectValue(row, values[0]);
        if (row.count != 0) delete[] values[0].byteArray;

        OpenDataFile again = query();
        ASSERT_EQ(0u, again.ReadRecord(time, status, values, 1));
        ASSERT_EQ(1u, values.size());
        if (row.count == 0)
            expectValue(row, values[0]);
        else
            EXPECT_EQ(nullptr, values[0].byteArray) << "without counts what is variable is passed over";
    }
}

TEST_F(AttributeFiles, EveryTypeInASummary) {
    SummaryWords words;
    words.records = 1;
    words.attributes.clear();
    words.largest = 12;
    {
        OpenDataFile file = create();
        int index = 0;
        for (const TypeCase& row : typeCases) {
            std::string memory;
            const dataValue value = valueOf(row, memory);
            const std::string name = std::to_string(index);
            ASSERT_EQ(0u, file.AddSummaryAttribute(row.type, MORVAUString(name.c_str())));
            ASSERT_EQ(0u, file.SetSummaryAttribute(index++, value, row.count));
            words.summaryAttributes.emplace_back(row.type, name);
            words.summaryValues.raw(name, unhex(row.file));
        }
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {}, {}));
        ASSERT_EQ(0u, file.SetSummaryAttribute(0, u32(1), 0)) << "allowed, but too late for the file";
    }
    Bytes expected = words.file();
    expected.word("size", 12).word("status", 0).word("time", 0);
    ASSERT_TRUE(same(expected, line.bytes("Test")));
    OpenDataFile file = query();
    EXPECT_EQ(words.bytes().size(), file.GetSummeryRecordSize());
    ASSERT_EQ(std::size(typeCases), file.GetNumberOfSummaryAttributes());
    for (int i = 0; i < static_cast<int>(std::size(typeCases)); ++i) {
        dataValue value;
        int count = 77;
        ASSERT_EQ(0u, file.GetSummaryAttribute(i, value, &count));
        EXPECT_EQ(typeCases[i].count, count);
        expectValue(typeCases[i], value);
    }
}

TEST_F(AttributeFiles, AnEmptyArrayOrStringIsOneWord) {
    for (const typeRow& row : dataTypes) {
        if (!row.isVariable()) continue;
        {
            OpenDataFile file = create();
            file.AddSummaryAttribute(row.type, L"S");
            file.AddAttribute(row.type, L"V");
            ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {dataValue{}}, {0}));
        }
        SummaryWords words;
        words.records = 1;
        words.summaryAttributes = {{row.type, "S"}};
        words.summaryValues.word("count", 0);
        words.attributes = {{row.type, "V"}};
        Bytes expected = words.file();
        expected.word("size", 16).word("status", 0).word("time", 0).word("count", 0);
        EXPECT_TRUE(same(expected, line.bytes("Test"))) << row.name;
        OpenDataFile file = query();
        double time = 0;
        unsigned status = 0;
        Values values = {u32(77)};
        Counts counts = {77};
        ASSERT_EQ(0u, file.ReadRecord(time, status, values, counts, 1)) << row.name;
        EXPECT_EQ(nullptr, values[0].byteArray);
        EXPECT_EQ(Counts{0}, counts);
    }
}

TEST_F(AttributeFiles, TypesBeyondTheTableAreSkipped) {
    {
        OpenDataFile file = create();
        file.AddSummaryAttribute(static_cast<dataType>(20), L"S");
        file.AddAttribute(static_cast<dataType>(77), L"U");
        file.AddAttribute(typeUInt32, L"V");
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {u32(1), u32(2)}, {}));
    }
    SummaryWords words;
    words.records = 1;
    words.summaryAttributes = {{20, "S"}};
    words.attributes = {{77, "U"}, {0, "V"}};
    Bytes expected = words.file();
    expected.word("size", 16).word("status", 0).word("time", 0).word("V", 2);
    EXPECT_TRUE(same(expected, line.bytes("Test")));
    OpenDataFile file = query();
    double time = 0;
    unsigned status = 0;
    Values values;
    ASSERT_EQ(0u, file.ReadRecord(time, status, values, 1));
    EXPECT_EQ(0u, values[0].uint64);
    EXPECT_EQ(2u, values[1].uint32);
}

// What `count` elements add to a record, from the table of sizes.
TEST_F(AttributeFiles, TheSizeOfARecordIsCalculated) {
    struct Row {
        dataType type;
        unsigned added[6]; // for 0 to 5 elements
    };
    constexpr Row rows[] = {
        {typeUInt32Array, {4, 12, 16, 20, 24, 28}},  {typeInt32Array, {4, 12, 16, 20, 24, 28}},
        {typeFloatArray, {4, 12, 16, 20, 24, 28}},   {typeDoubleArray, {4, 16, 24, 32, 40, 48}},
        {typeBooleanArray, {4, 12, 12, 12, 12, 16}}, {typeInt16Array, {4, 12, 12, 16, 16, 20}},
        {typeUInt16Array, {4, 12, 12, 16, 16, 20}},  {typeByteArray, {4, 12, 12, 12, 12, 16}},
        {typeString, {4, 12, 12, 12, 12, 16}},       {typeUInt64Array, {4, 16, 24, 32, 40, 48}},
        {typeInt64Array, {4, 16, 24, 32, 40, 48}},
    };
    for (const auto& [type, added] : rows) {
        OpenDataFile file = create();
        file.AddAttribute(typeDouble, L"D");
        file.AddAttribute(typeUInt16, L"H");
        file.AddAttribute(type, L"V");
        ASSERT_EQ(0u, file.WriteSummary());
        EXPECT_EQ(24u, file.GetDataRecordSize());
        const Values three(3);
        for (int n = 0; n < 6; ++n)
            EXPECT_EQ(24 + added[n], file.CalculateSizeOfDataRecord({0, 0, n}, three)) << type << " " << n;
        EXPECT_EQ(24u, file.CalculateSizeOfDataRecord({}, three));
        EXPECT_EQ(24u, file.CalculateSizeOfDataRecord({0, 0, 3}, {}));
        EXPECT_EQ(24u, file.CalculateSizeOfDataRecord({0, 0}, three)) << "no count for it";
        const unsigned most = file.CalculateSizeOfDataRecord({0, 0, std::numeric_limits<int>::max()}, three);
        EXPECT_GE(most, 0x7FFFFFFFu) << "the largest count";
        if (added[1] == 16) {
            EXPECT_EQ(0xFFFFFFFFu, most) << "beyond 32 bits";
        }
    }
    OpenDataFile none = create();
    EXPECT_EQ(0u, none.CalculateSizeOfDataRecord({1}, {u32(1)})) << "before the summary, without attributes";
}

TEST_F(AttributeFiles, WhatAFileIsFromTheFirstRecordOn) {
    {
        OpenDataFile file = create();
        file.AddAttribute(typeFloat, L"Depth");
        file.SetSummaryRecordStatus(3);
        ASSERT_EQ(0u, file.WriteRecord(3725.5, 1, {real(1)}, {}));
        SummaryWords first; // as a reader meets it until the file is closed
        first.status = 3;
        EXPECT_TRUE(same(first.file(), line.bytes("Test")));
        EXPECT_EQ(16u, file.GetDataRecordSize());
        EXPECT_EQ(first.bytes().size(), file.GetSummeryRecordSize());
        EXPECT_EQ(1u, file.GetNumberOfRecords());
        EXPECT_EQ(1u, file.GetDataRecordStatus());
        file.SetSummaryRecordStatus(4);
        ASSERT_EQ(0u, file.WriteRecord(3700.0, 2, {real(2)}, {}));
        EXPECT_EQ(3700.0, file.GetMinTime());
        EXPECT_EQ(3725.5, file.GetMaxTime());
    }
    SummaryWords words;
    words.status = 4;
    words.records = 2;
    words.reference = 62;
    words.minimum = -20000;
    words.maximum = 5500;
    Bytes expected = words.file();
    expected.word("size", 16).word("status", 1).word("time", 5500).word("depth", 0x3F800000);
    expected.word("size", 16).word("status", 2).word("time", -20000).word("depth", 0x40000000);
    EXPECT_TRUE(same(expected, line.bytes("Test")));
}

TEST_F(AttributeFiles, TheLargestRecordIsNoted) {
    char text[] = "0123456789";
    {
        OpenDataFile file = create();
        file.AddAttribute(typeString, L"T");
        for (const int n : {3, 10, 0, 5}) {
            const std::string part(text, static_cast<std::size_t>(n));
            ASSERT_EQ(0u, file.WriteRecord(60.0, 0, {block(const_cast<char*>(part.c_str()))}, {n}));
        }
    }
    OpenDataFile file = query();
    EXPECT_EQ(12u + 8 + 12, file.GetDataRecordSize());
    const char* expected[] = {"012", "0123456789", nullptr, "01234"};
    for (const int n : {4, 2, 1, 3}) {
        double time = 0;
        unsigned status = 0;
        Values values;
        Counts counts;
        ASSERT_EQ(0u, file.ReadRecord(time, status, values, counts, n));
        EXPECT_STREQ(expected[n - 1], values[0].string);
        delete[] values[0].string;
    }
    unsigned size = 0;
    EXPECT_EQ(0u, OpenDataFile(query()).GetCurrentRecordSize(size));
    EXPECT_EQ(12u + 8 + 4 - 4, size) << "that of the first, without its size word";
}

TEST_F(AttributeFiles, AStringIsAsLongAsItIs) {
    char text[] = "abcdef";
    {
        OpenDataFile file = create();
        file.AddAttribute(typeString, L"T");
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {block(text)}, {6}));
        // A count beyond the text leaves room behind it, in which nothing of the record before stands.
        text[1] = 0;
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {block(text)}, {5}));
        // A null is empty whatever the count says.
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {dataValue{}}, {5}));
        // A count below it cuts the record as sized; what does not fit any record is refused.
        text[1] = 'b';
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {block(text)}, {1}));
        std::string tooLong(100, 'x');
        EXPECT_EQ(5000026u, file.WriteRecord(0.0, 0, {block(tooLong.data())}, {1}));
    }
    Bytes expected;
    expected.word("size", 28).word("status", 0).word("time", 0).word("n", 6).text("T", "abcdef");
    expected.word("size", 28).word("status", 0).word("time", 0).word("n", 1).text("T", "a").word("rest", 0);
    expected.word("size", 28).word("status", 0).word("time", 0).word("n", 0).zeros("rest", 12);
    expected.word("size", 24).word("status", 0).word("time", 0).word("n", 6).word("n", 6).raw("T", "abcd");
    const std::string bytes = line.bytes("Test");
    EXPECT_TRUE(same(expected, std::string_view(bytes).substr(bytes.size() - expected.size())));
    OpenDataFile file = query();
    double time = 0;
    unsigned status = 0;
    Values values;
    Counts counts;
    EXPECT_EQ(0u, file.ReadRecord(time, status, values, counts, 2));
    EXPECT_STREQ("a", values[0].string);
    EXPECT_EQ(Counts{1}, counts);
    delete[] values[0].string;
    EXPECT_EQ(5000026u, file.ReadRecord(time, status, values, counts, 4)) << "its string is not whole";
    EXPECT_EQ(nullptr, values[0].string);
}

TEST_F(AttributeFiles, AVariableAttributeWithoutACountIsLeftOut) {
    std::uint16_t numbers[] = {1, 2};
    {
        OpenDataFile file = create();
        file.AddAttribute(typeUInt16Array, L"A");
        file.AddAttribute(typeUInt32, L"B");
        file.AddAttribute(typeUInt16Array, L"C");
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {block(numbers), u32(7), block(numbers)}, {2, 0}));
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {block(numbers), u32(8), block(numbers)}, {}));
    }
    Bytes expected;
    expected.word("size", 28).word("status", 0).word("time", 0).word("n", 2).word("bytes", 4);
    expected.raw("A", unhex("01 00 02 00")).word("B", 7);
    expected.word("size", 16).word("status", 0).word("time", 0).word("B", 8);
    const std::string bytes = line.bytes("Test");
    EXPECT_TRUE(same(expected, std::string_view(bytes).substr(bytes.size() - expected.size())));
}

TEST_F(AttributeFiles, WhatCannotBeCodedIsRefusedAndWritesNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::uint8_t byte = 1;
    {
        OpenDataFile file = create();
        file.AddAttribute(typeByteArray, L"A");
        file.AddAttribute(typeUInt32, L"B");
        const Values good = {block(&byte), u32(1)};
        EXPECT_EQ(5000026u, file.WriteRecord(nan, 0, good, {1, 0}));
        EXPECT_EQ(0u, file.AddSummaryAttribute(typeUInt32, L"K")) << "no record has been written";
        ASSERT_EQ(0u, file.WriteRecord(60.0, 0, good, {1, 0}));
        EXPECT_EQ(5000026u, file.WriteRecord(nan, 0, good, {1, 0}));
        EXPECT_EQ(5000026u, file.WriteRecord(1e300, 0, good, {1, 0}));
        EXPECT_EQ(5000026u, file.WriteRecord(61.0, 0, good, {-1, 0}));
        EXPECT_EQ(5000026u, file.WriteRecord(61.0, 0, {dataValue{}, u32(1)}, {1, 0}));
        EXPECT_EQ(5000026u, file.WriteRecord(61.0, 0, {block(&byte)}, {1, 0}));
        EXPECT_EQ(5000026u, file.WriteRecord(61.0, 0, {}, {1, 0}));
        EXPECT_EQ(1u, file.GetNumberOfRecords());
        EXPECT_EQ(60.0, file.GetMaxTime());
        ASSERT_EQ(0u, file.WriteRecord(62.0, 5, good, {1, 0}));
    }
    OpenDataFile file = query();
    EXPECT_EQ(2u, file.GetNumberOfRecords());
    EXPECT_EQ(62.0, file.GetMaxTime());
    EXPECT_EQ(12u + 12 + 4, file.GetDataRecordSize());
    double time = 0;
    unsigned status = 0;
    Values values;
    EXPECT_EQ(0u, file.ReadRecord(time, status, values, 2));
    EXPECT_EQ(5u, status);
    EXPECT_EQ(1u, values[1].uint32);
}

TEST_F(AttributeFiles, ASummaryBeyondAMillionBytesIsRefused) {
    std::vector<std::uint8_t> bytes(1'000'000);
    OpenDataFile file = create();
    file.AddAttribute(typeUInt32, L"B");
    file.AddSummaryAttribute(typeByteArray, L"S");
    ASSERT_EQ(0u, file.SetSummaryAttribute(0, block(bytes.data()), 1'000'000));
    EXPECT_EQ(5000026u, file.WriteRecord(0.0, 0, {u32(1)}, {}));
    EXPECT_EQ(0u, file.GetNumberOfRecords());
    EXPECT_EQ(16u, line.bytes("Test").size());
    ASSERT_EQ(0u, file.SetSummaryAttribute(0, block(bytes.data()), 999'000));
    EXPECT_EQ(0u, file.WriteRecord(0.0, 0, {u32(1)}, {}));
}

// Reading

TEST_F(AttributeFiles, RecordsInAnyOrder) {
    writeThree();
    OpenDataFile file = query();
    double time = 0;
    unsigned status = 0;
    Values values;
    const auto read = [&](int number, unsigned expected) {
        EXPECT_EQ(0u, file.ReadRecord(time, status, values, number)) << number;
        EXPECT_EQ(expected, status) << number;
        EXPECT_EQ(3714.5 + expected, time);
        EXPECT_EQ(static_cast<float>(expected - 10), values[0].float32);
    };
    read(3, 13);
    EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, -999));
    EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, -999)) << "and the place stays";
    read(1, 11);
    read(-999, 12);
    read(-999, 13);
    EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, 4));
    EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, 0));
    EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, -1));
    EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, std::numeric_limits<int>::min()));
    read(2, 12);
    read(-999, 13);
    OpenDataFile fresh = query();
    EXPECT_EQ(0u, fresh.ReadRecord(time, status, values, -999));
    EXPECT_EQ(11u, status) << "the first is the next";
}

TEST_F(AttributeFiles, AskingTwiceForARecordGivesTheBytesBehindIt) {
    writeThree();
    OpenDataFile file = query();
    double time = 0;
    unsigned status = 0;
    Values values;
    for (const unsigned expected : {11u, 12u, 13u}) {
        EXPECT_EQ(0u, file.ReadRecord(time, status, values, 1));
        EXPECT_EQ(expected, status);
    }
    EXPECT_EQ(5000058u, file.ReadRecord(time, status, values, 1)) << "the file ends";
    EXPECT_EQ(0u, file.ReadRecord(time, status, values, -999));
    EXPECT_EQ(12u, status) << "the number that was asked for counts";
}

TEST_F(AttributeFiles, LookingAtTheSizeDoesNotMislead) {
    writeThree();
    OpenDataFile file = query();
    double time = 0;
    unsigned status = 0;
    unsigned size = 0;
    Values values;
    EXPECT_EQ(0u, file.GetCurrentRecordSize(size));
    EXPECT_EQ(12u, size);
    EXPECT_EQ(0u, file.ReadRecord(time, status, values, -999));
    EXPECT_EQ(11u, status);
    EXPECT_EQ(0u, file.GetCurrentRecordSize(size));
    EXPECT_EQ(12u, size);
    EXPECT_EQ(0u, file.ReadRecord(time, status, values, -999));
    EXPECT_EQ(12u, status);
    int number = 1;
    int offset = 77;
    EXPECT_EQ(0u, file.RecalcByteOffset(number, offset));
    EXPECT_EQ(77, offset) << "nothing is to be established anew";
    EXPECT_EQ(0u, file.GetCurrentRecordSize(size));
    EXPECT_EQ(0u, file.RecalcByteOffset(number, offset));
    EXPECT_EQ(static_cast<int>(SummaryWords().file().size()), offset);
    number = 9;
    EXPECT_EQ(5000064u, file.RecalcByteOffset(number, offset));
    EXPECT_EQ(0u, file.ReadRecord(time, status, values, 3));
    EXPECT_EQ(5000058u, file.GetCurrentRecordSize(size)) << "the file ends";
}

TEST_F(AttributeFiles, AFileOfVersionOneReads) {
    std::vector<std::pair<std::uint32_t, std::string>> attributes = {{2, "Depth"}, {16, "Big"}};
    SummaryWords words;
    words.version = 1;
    words.records = 2;
    words.scale = 100;
    words.reference = 2;
    words.minimum = -50;
    words.maximum = 150;
    words.summaryAttributes = {{6, "Half"}, {15, "Text"}};
    words.summaryValues.word("Half", 0xFFFE).word("n", 3).text("Text", "abc");
    words.largest = 20;
    words.attributes = attributes;
    Bytes data = words.file();
    const auto start = static_cast<std::int32_t>(data.size());
    data.word("status", 5).word("time", -50).word("depth", 0x3F800000).word("low", 2).word("high", 1);
    data.word("status", 6).word("time", 150).word("depth", 0x40000000).word("low", 4).word("high", 3);
    line.write("Test", data);
    line.write("TestTmIdx", indexBytes({{{-50, start}, {150, start + 20}}}, 1));
    {
        long code = 77;
        OpenDataFile file = open(SKARDataFile::update, code);
        ASSERT_EQ(0, code);
        EXPECT_EQ(1u, file.GetFileVersionNumber());
        EXPECT_EQ(0u, file.GetDataVersionNumber()) << "it has none";
        EXPECT_EQ(119.5, file.GetMinTime());
        EXPECT_EQ(121.5, file.GetMaxTime());
        EXPECT_EQ(20u, file.GetDataRecordSize());
        dataValue value;
        EXPECT_EQ(0u, file.GetSummaryAttribute(L"Half", value, nullptr));
        EXPECT_EQ(0xFFFE, value.uint16);
        double time = 0;
        unsigned status = 0;
        Values values;
        for (const int number : {2, 1, -999}) {
            ASSERT_EQ(0u, file.ReadRecord(time, status, values, number));
            EXPECT_EQ(number == 1 ? 5u : 6u, status);
        }
        EXPECT_EQ(121.5, time);
        EXPECT_EQ(2.0f, values[0].float32);
        EXPECT_EQ(0x300000004u, values[1].uint64);
        unsigned size = 0;
        EXPECT_EQ(0u, file.GetCurrentRecordSize(size));
        EXPECT_EQ(20u, size) << "without a look at the file";
        file.SetSummaryRecordStatus(8);
    }
    words.status = 8;
    EXPECT_EQ(words.file().string(), line.bytes("Test").substr(0, words.file().size()))
        << "the words of this version stand a word earlier";
}

TEST_F(AttributeFiles, AnotherVersionReadsAsItCan) {
    SummaryWords words;
    words.version = 7;
    words.records = 1;
    words.largest = 12;
    Bytes data = words.file();
    const auto start = static_cast<std::int32_t>(data.size());
    data.word("status", 5).word("time", 1000).word("depth", 0x3F800000);
    line.write("Test", data);
    line.write("TestTmIdx", indexBytes({{{1000, start}}}, 7));
    OpenDataFile file = query();
    EXPECT_EQ(4u, file.GetDataVersionNumber()) << "as the object was made";
    double time = 0;
    unsigned status = 0;
    Values values;
    EXPECT_EQ(0u, file.ReadRecord(time, status, values, 1));
    EXPECT_EQ(5u, status);
    EXPECT_EQ(1.0f, values[0].float32);
}

TEST_F(AttributeFiles, NamesBeyondAsciiComeBack) {
    {
        long status = 77;
        OpenDataFile file(line.path().c_str(), L"Test", L"Fj\u00f6rd\U0001F6A2.raw", 33, SKARDataFile::create,
                          4, status, true);
        file.AddAttribute(typeUInt32, L"Tiefe \u00fc. NN");
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {u32(1)}, {}));
    }
    OpenDataFile file = query();
    MORVAUString name;
    file.GetSourceFileName(name);
    EXPECT_EQ(MORVAUString(L"Fj\u00f6rd\U0001F6A2.raw"), name);
    std::uint64_t index = 77;
    file.GetAttributeIndex(index, L"Tiefe \u00fc. NN");
    EXPECT_EQ(0u, index);
}

} // namespace
} // namespace skar::tests
