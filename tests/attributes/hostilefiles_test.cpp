#include "attributefiles.h"
#include "support/flat_families.h"
#include "support/largestblock.h"
#include "support/processortime.h"

#include "platform/file.h"

#include <cerrno>

// Damaged files and failing disks. A code, an end within reason and bounded memory are required of each.
namespace skar::tests {
namespace {

using namespace SKARIOAttributes;

// Reads all there is, in both forms, and gives the codes of the first and the last.
struct ReadAll {
    long open = 77;
    std::uint32_t first = 77;
    std::uint32_t last = 77;
    std::size_t whole = 0;
};

ReadAll readAll(const std::wstring& folder, SKARDataFile::AccessType access) {
    SKARSetLastError(0);
    ReadAll result;
    OpenDataFile file(folder.c_str(), L"Test", L"", 33, access, 4, result.open, true);
    std::vector<MORVAUString> names;
    std::vector<dataType> types;
    Values values;
    std::vector<int> counts(file.GetNumberOfSummaryAttributes() + 1);
    file.GetAllSummaryAttributes(names, types, values, counts.data());
    file.GetAllDataAttributes(names, types, values);
    const auto records = static_cast<int>(std::min<std::uint64_t>(file.GetNumberOfRecords(), 50));
    double time = 0;
    unsigned status = 0;
    for (const bool counted : {true, false}) {
        for (int number = 0; number <= records + 1; ++number) {
            values.clear();
            Counts elements;
            const std::uint32_t code = counted ? file.ReadRecord(time, status, values, elements, number)
                                               : file.ReadRecord(time, status, values, number);
            if (number == 1) result.first = code;
            if (number >= 1 && number <= records) result.last = code;
            result.whole += code == 0;
            for (std::size_t i = 0; counted && i < values.size(); ++i)
                if (rowOf(types[i]) && rowOf(types[i])->isVariable()) delete[] values[i].byteArray;
            unsigned size = 0;
            if (number % 2) file.GetCurrentRecordSize(size);
        }
        file.ReadRecord(time, status, values, -999);
    }
    if (access == SKARDataFile::update) file.SetSummaryRecordStatus(1);
    return result;
}

bool knownCode(std::uint32_t code) {
    for (const std::uint32_t known :
         {0u, 5000026u, 5000027u, 5000025u, 5000058u, 5000064u, 5000081u, 5000009u})
        if (code == known) return true;
    return false;
}

// A file with a value of each type in its summary and in its two records.
// In memory: thousands of files that are cut short and written anew would wait for a real disk.
class HostileFiles : public testing::Test {
protected:
    HostileFiles() {
        disk.put("/survey/line/Other", "");
        SKARSetLastError(0);
        {
            long status = 77;
            OpenDataFile file(folder, L"Test", L"a.raw", sensorNumber, SKARDataFile::create, 4, status, true);
            EXPECT_EQ(0, status);
            std::uint64_t elements[] = {0x0101010101010101, 2, 3};
            char text[] = "text";
            Values values;
            Counts counts;
            for (const typeRow& row : dataTypes) {
                const bool isText = row.type == typeString;
                values.push_back(!row.isVariable() ? real64(1.0) : isText ? block(text) : block(elements));
                counts.push_back(!row.isVariable() ? 0 : isText ? 4 : 3);
                file.AddSummaryAttribute(row.type, row.name ? MORVAUString(row.name) : L"");
                file.AddAttribute(row.type, MORVAUString(row.name));
                file.SetSummaryAttribute(static_cast<int>(row.type), values.back(), counts.back());
            }
            for (int i = 0; i < 2; ++i)
                EXPECT_EQ(0u, file.WriteRecord(100.0 + i, 0, values, counts));
        }
        data = disk.bytes("/survey/line/Test");
        index = disk.bytes("/survey/line/TestTmIdx");
    }
    // Opens in both accesses, within time and memory; what the query gave.
    ReadAll survive(const std::string& what) {
        ReadAll result;
        for (const auto access : {SKARDataFile::query, SKARDataFile::update}) {
            largestBlock = 0;
            const ProcessorTime spent;
            const ReadAll got = readAll(folder, access);
            if (access == SKARDataFile::query) result = got;
            EXPECT_LT(spent.seconds(), hostileLimit) << what;
            EXPECT_LE(largestBlock, mostMemory) << what;
            EXPECT_TRUE(knownCode(static_cast<std::uint32_t>(got.open))) << what << " gives " << got.open;
            EXPECT_TRUE(got.first == 77 || knownCode(got.first)) << what << " gives " << got.first;
        }
        return result;
    }

    void write(const std::string& name, std::string_view bytes) { disk.put("/survey/line/" + name, bytes); }

    static constexpr const wchar_t* folder = L"/survey/line";
    FaultBackend disk;
    const QuietOutput quiet;
    const LogCapture log{0};
    std::string data;
    std::string index;
};

TEST_F(HostileFiles, TheWholeFileReads) {
    const ReadAll all = survive("whole");
    EXPECT_EQ(0, all.open);
    EXPECT_EQ(4u, all.whole);
}

TEST_F(HostileFiles, CutAtEveryByte) {
    const std::size_t records = 16 + wordAt(data, 16);
    for (std::size_t size = 0; size < data.size(); ++size) {
        write("Test", std::string_view(data).substr(0, size));
        const ReadAll got = survive("cut to " + std::to_string(size));
        EXPECT_EQ(size < 16 ? 5000027 : size < records ? 5000026 : 0, got.open) << size;
        if (size >= records) {
            EXPECT_EQ(5000058u, got.last) << size;
        }
    }
    write("Test", data);
    for (std::size_t size = 0; size < index.size(); ++size) {
        write("TestTmIdx", std::string_view(index).substr(0, size));
        const ReadAll got = survive("index cut to " + std::to_string(size));
        EXPECT_EQ(0, got.open);
        EXPECT_EQ(5000064u, got.last) << size;
    }
}

TEST_F(HostileFiles, EveryWordAtItsExtremes) {
    for (const bool ofData : {true, false}) {
        const std::string& whole = ofData ? data : index;
        write("TestTmIdx", index);
        for (std::size_t at = 0; at + 4 <= whole.size(); at += 4) {
            for (const std::uint32_t word :
                 {0u, 3u, 20u, 0x3FFFFFFFu, 0x55555556u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
                if (!ofData) write("Test", data);
                write(ofData ? "Test" : "TestTmIdx", withWord(whole, at, word));
                survive((ofData ? "data word " : "index word ") + std::to_string(at) + " = " +
                        std::to_string(word));
                if (HasFailure()) return;
            }
        }
    }
}

// A file of one attribute with a single record, its words as a test wants them.
class HostileRecord : public AttributeFiles {
protected:
    void put(const SummaryWords& words, const Bytes& record, std::int32_t offsetFrom = 0) {
        SummaryWords all = words;
        all.records = 1;
        Bytes bytes = all.file();
        const auto start = static_cast<std::int32_t>(bytes.size());
        line.write("Test", bytes.then(record));
        line.write("TestTmIdx", indexBytes({{{0, start + offsetFrom}}}));
    }
    std::uint32_t codeOfRecord(const SummaryWords& words, const Bytes& record) {
        put(words, record);
        largestBlock = 0;
        const ProcessorTime spent;
        const ReadAll got = readAll(line.path(), SKARDataFile::query);
        EXPECT_EQ(0, got.open);
        EXPECT_LT(spent.seconds(), hostileLimit);
        EXPECT_LE(largestBlock, mostMemory);
        return got.first;
    }
    long codeOfOpen(const SummaryWords& words) {
        put(words, {});
        largestBlock = 0;
        const ProcessorTime spent;
        const ReadAll got = readAll(line.path(), SKARDataFile::query);
        EXPECT_LT(spent.seconds(), hostileLimit);
        EXPECT_LE(largestBlock, mostMemory);
        return got.open;
    }
    SummaryWords of(std::uint32_t type, std::uint32_t largest) {
        SummaryWords words;
        words.attributes = {{type, "V"}};
        words.largest = largest;
        return words;
    }
};

TEST_F(HostileRecord, SizeWords) {
    const SummaryWords words = of(typeUInt32, 16);
    const auto withSize = [](std::uint32_t size) {
        return Bytes().word("size", size).word("status", 1).word("time", 0).word("V", 7).zeros("rest", 32);
    };
    EXPECT_EQ(0u, codeOfRecord(words, withSize(16)));
    for (const std::uint32_t size : {0u, 1u, 3u})
        EXPECT_EQ(5000081u, codeOfRecord(words, withSize(size))) << "4 less is no size: " << size;
    for (const std::uint32_t size : {4u, 7u, 8u, 11u})
        EXPECT_EQ(5000058u, codeOfRecord(words, withSize(size))) << "no status and time: " << size;
    for (const std::uint32_t size : {12u, 15u})
        EXPECT_EQ(5000026u, codeOfRecord(words, withSize(size))) << "no value: " << size;
    for (const std::uint32_t size : {17u, 20u})
        EXPECT_EQ(0u, codeOfRecord(words, withSize(size))) << "4 less is not above the largest: " << size;
    for (const std::uint32_t size : {21u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(5000081u, codeOfRecord(words, withSize(size))) << size;
    SummaryWords huge = words;
    huge.largest = 0xFFFFFFFF;
    for (const std::uint32_t size : {0u, 1u, 3u})
        EXPECT_EQ(5000058u, codeOfRecord(huge, withSize(size))) << "no such bytes in the file: " << size;
    for (const std::uint32_t size : {1000u, 0x10000000u, 0xFFFFFFFFu})
        EXPECT_EQ(5000058u, codeOfRecord(huge, withSize(size))) << size;
}

TEST_F(HostileRecord, ARecordBeyondTheLargestReadsNothing) {
    SummaryWords words = of(typeUInt32, 16);
    words.records = 2;
    Bytes bytes = words.file();
    const auto start = static_cast<std::int32_t>(bytes.size());
    bytes.word("size", 99).word("status", 1).word("time", 0).word("V", 7);
    bytes.word("size", 16).word("status", 2).word("time", 0).word("V", 8);
    line.write("Test", bytes);
    line.write("TestTmIdx", indexBytes({{{0, start}, {0, start + 16}}}));
    OpenDataFile file = query();
    double time = 77;
    unsigned status = 77;
    Values values = {u32(77)};
    EXPECT_EQ(5000081u, file.ReadRecord(time, status, values, 1));
    EXPECT_EQ(77u, values[0].uint32);
    EXPECT_EQ(77u, status);
    EXPECT_EQ(5000081u, file.ReadRecord(time, status, values, -999)) << "the first is still the next";
    EXPECT_EQ(0u, file.ReadRecord(time, status, values, 2));
    EXPECT_EQ(2u, status);
}

TEST_F(HostileRecord, LengthsBeyondTheRecord) {
    struct Row {
        dataType type;
        std::uint32_t count;
        std::uint32_t bytes;
    };
    for (const auto& [type, count, bytes] :
         {Row{typeUInt32Array, 3, 12}, Row{typeUInt32Array, 0x40000001, 4}, Row{typeUInt32Array, 2, 4},
          Row{typeUInt32Array, 1, 8}, Row{typeFloatArray, 0xFFFFFFFF, 0xFFFFFFFC},
          Row{typeDoubleArray, 0x20000001, 8}, Row{typeInt64Array, 0xFFFFFFFF, 0xFFFFFFF8},
          Row{typeInt16Array, 0x80000002, 4}, Row{typeByteArray, 0xFFFFFFFF, 0xFFFFFFFF},
          Row{typeBooleanArray, 9, 9}, Row{typeString, 9, 9}, Row{typeString, 2, 4},
          Row{typeString, 0xFFFFFFFF, 0xFFFFFFFF}, Row{typeString, 0x7FFFFFFF, 4}}) {
        Bytes record;
        record.word("size", 28).word("status", 1).word("time", 0).word("n", count).word("bytes", bytes);
        record.word("V", 0x61626364).word("V", 0x61626364).zeros("behind", 4096);
        EXPECT_EQ(5000026u, codeOfRecord(of(type, 28), record)) << type << " " << count << " " << bytes;
    }
}

TEST_F(HostileRecord, NoBlockIsLostWhenALaterValueIsDamaged) {
    SummaryWords words = of(typeByteArray, 28);
    words.attributes.emplace_back(typeByteArray, "W");
    Bytes record;
    record.word("size", 28)
        .word("status", 1)
        .word("time", 0)
        .word("n", 1)
        .word("n", 1)
        .raw("V", "a")
        .zeros("", 3);
    record.word("n", 9);
    put(words, record);
    OpenDataFile file = query();
    double time = 0;
    unsigned status = 0;
    Values values(5);
    Counts counts;
    EXPECT_EQ(5000026u, file.ReadRecord(time, status, values, counts, 1));
    ASSERT_EQ(2u, values.size());
    ASSERT_NE(nullptr, values[0].byteArray);
    EXPECT_EQ('a', values[0].byteArray[0]);
    EXPECT_EQ(nullptr, values[1].byteArray);
    EXPECT_EQ((Counts{1, 0}), counts);
    delete[] values[0].byteArray;
}

TEST_F(HostileRecord, ADamagedRecordIsPassedByTheNextOne) {
    SummaryWords words = of(typeByteArray, 24);
    words.records = 3;
    Bytes bytes = words.file();
    const auto start = static_cast<std::int32_t>(bytes.size());
    bytes.word("size", 16).word("status", 1).word("time", 0).word("n", 0);
    bytes.word("size", 24).word("status", 2).word("time", 0).word("n", 9).word("n", 9).word("V", 0);
    bytes.word("size", 16).word("status", 3).word("time", 0).word("n", 0);
    line.write("Test", bytes);
    line.write("TestTmIdx", indexBytes({{{0, start}, {0, start + 16}, {0, start + 40}}}));
    for (const bool inOrder : {true, false}) {
        OpenDataFile file = query();
        double time = 0;
        unsigned status = 0;
        Values values;
        Counts counts;
        if (inOrder) {
            EXPECT_EQ(0u, file.ReadRecord(time, status, values, counts, -999));
        }
        EXPECT_EQ(5000026u, file.ReadRecord(time, status, values, counts, inOrder ? -999 : 2));
        EXPECT_EQ(2u, file.GetDataRecordStatus()) << "it was read as far as that";
        EXPECT_EQ(0u, file.ReadRecord(time, status, values, counts, -999));
        EXPECT_EQ(3u, status);
        EXPECT_EQ(5000064u, file.ReadRecord(time, status, values, counts, -999));
    }
}

TEST_F(HostileRecord, OffsetsOutsideTheFile) {
    const Bytes record = Bytes().word("size", 16).word("status", 1).word("time", 0).word("V", 7);
    for (const std::int32_t offset : {1'000'000, -1'000'000, 0x7FFF0000}) {
        put(of(typeUInt32, 16), record, offset);
        EXPECT_EQ(5000058u, readAll(line.path(), SKARDataFile::query).first) << offset;
    }
}

TEST_F(HostileRecord, SummariesThatClaimTooMuch) {
    const SummaryWords good = of(typeUInt32, 16);
    EXPECT_EQ(0, codeOfOpen(good));
    const std::size_t numSummary = 16 + 4 + 4 + 4 + 12 + 4 * 6;
    const Bytes bytes = good.file();
    ASSERT_EQ(0u, wordAt(bytes, numSummary));
    ASSERT_EQ(1u, wordAt(bytes, numSummary + 8));
    const auto opened = [&](std::size_t at, std::uint32_t word) {
        line.write("Test", withWord(bytes, at, word));
        return readAll(line.path(), SKARDataFile::query).open;
    };
    for (const std::uint32_t count : {1u, 2u, 0x10000000u, 0x20000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(5000026, opened(numSummary, count)) << "summary attributes";
        if (count != 1) {
            EXPECT_EQ(5000026, opened(numSummary + 8, count)) << "attributes";
        }
    }
    EXPECT_EQ(0, opened(numSummary + 4, 0xFFFFFFFF)) << "reserved";
    for (const std::uint32_t length : {4u, 256u, 257u, 0x7FFFFFFFu, 0xFFFFFFFDu, 0xFFFFFFFFu}) {
        EXPECT_EQ(5000026, opened(24, length == 256 ? 3 : 0)) << "the first length bounds the second";
        EXPECT_EQ(5000026, opened(28, length == 4 ? 6 : length)) << "length of the source";
        EXPECT_EQ(length == 4 ? 0 : 5000026, opened(bytes.size() - 8, length == 4 ? 1 : length)) << "name";
    }
    for (const std::uint32_t size : {0u, 3u, 4u, 8u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        EXPECT_EQ(5000026, opened(16, size)) << "size of the summary";
    EXPECT_EQ(0, opened(bytes.size() - 12, 20)) << "an attribute of no known type";
    EXPECT_EQ(0, opened(bytes.size() - 12, 0xFFFFFFFF));
}

TEST_F(HostileRecord, NamesUpTo256BytesAreRead) {
    SummaryWords words = of(typeUInt32, 16);
    for (const std::size_t length : {255u, 256u, 257u}) {
        words.attributes[0].second = std::string(length, 'n');
        EXPECT_EQ(length == 257 ? 5000026 : 0, codeOfOpen(words)) << length;
    }
}

TEST_F(HostileRecord, DamagedValuesOfASummary) {
    struct Row {
        dataType type;
        Bytes value;
    };
    const Row rows[] = {
        {typeUInt64, Bytes{1}},
        {typeUInt32Array, Bytes{0x40000000}},
        {typeUInt32Array, Bytes{0x40000000, 0}},
        {typeUInt32Array, Bytes{0xFFFFFFFF, 0xFFFFFFFC}},
        {typeDoubleArray, Bytes{0x20000000, 0}},
        {typeString, Bytes{0xFFFFFFFF, 0xFFFFFFFF}},
        {typeString, Bytes{0x7FFFFFFF, 1}},
        {typeString, Bytes{1, 2}},
        {typeBooleanArray, Bytes{200, 200}},
    };
    for (const Row& row : rows) {
        SummaryWords words = of(typeUInt32, 16);
        words.summaryAttributes = {{typeString, "first"}, {row.type, "second"}};
        words.summaryValues = Bytes().word("n", 3).text("first", "abc").then(row.value);
        EXPECT_EQ(5000026, codeOfOpen(words)) << row.type << " " << hex(row.value);
    }
}

// Failing disks

// Makes a file of some records, what is variable among them, and gives the first code that was none.
std::uint32_t writeSome(int records = 100, int size = 2000) {
    SKARSetLastError(0);
    long status = 77;
    OpenDataFile file(L"/survey/line", L"Test", L"a.raw", sensorNumber, SKARDataFile::create, 4, status,
                      true);
    if (status != 0) return static_cast<std::uint32_t>(status);
    file.AddAttribute(typeByteArray, L"Bytes");
    const std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size), 7);
    for (int i = 0; i < records; ++i)
        if (const auto code = file.WriteRecord(60.0 + i, static_cast<unsigned>(i),
                                               {block(const_cast<std::uint8_t*>(bytes.data()))}, {size}))
            return code;
    return 0;
}

// What of them can be read; each must be the one that was asked for.
std::uint64_t readSome() {
    SKARSetLastError(0);
    long status = 77;
    OpenDataFile file(L"/survey/line", L"Test", L"", 0, SKARDataFile::query, 0, status, true);
    if (status != 0) return 0;
    std::uint64_t read = 0;
    for (int number = 1; number <= static_cast<int>(file.GetNumberOfRecords()); ++number) {
        double time = 0;
        unsigned recordStatus = 0;
        Values values;
        Counts counts;
        const auto code = file.ReadRecord(time, recordStatus, values, counts, number);
        if (code != 0) continue;
        EXPECT_EQ(59.0 + number, time);
        EXPECT_EQ(static_cast<unsigned>(number - 1), recordStatus);
        EXPECT_EQ(7, values[0].byteArray[counts[0] - 1]);
        delete[] values[0].byteArray;
        ++read;
    }
    return read;
}

TEST(AttributeFileFaults, AtEveryOperationOfWriting) {
    std::size_t operations = 0;
    {
        FaultBackend disk;
        disk.put("/survey/line/Other", "");
        disk.resetCounts();
        EXPECT_EQ(0u, writeSome());
        operations = disk.operations();
        EXPECT_EQ(100u, readSome());
    }
    for (const Repeat repeat : {Repeat::once, Repeat::forever}) {
        for (std::size_t n = 1; n <= operations; ++n) {
            FaultBackend disk;
            disk.put("/survey/line/Other", "");
            disk.resetCounts();
            disk.failAt(n, EIO, repeat);
            const std::uint32_t code = writeSome();
            EXPECT_TRUE(code == 0 || code == 5000025 || code == 5000026 || code == 5000028 || code == 5000059)
                << code << " at " << n;
            EXPECT_EQ(0, disk.openStreams()) << n;
            disk.clearFaults();
            readSome();
        }
    }
}

TEST(AttributeFileFaults, AtEveryOperationOfReading) {
    FaultBackend disk;
    disk.put("/survey/line/Other", "");
    ASSERT_EQ(0u, writeSome(5, 20));
    disk.resetCounts();
    EXPECT_EQ(5u, readSome());
    const std::size_t operations = disk.operations();
    const QuietOutput quiet;
    for (std::size_t n = 1; n <= operations; ++n) {
        disk.resetCounts();
        disk.failAt(n, EIO, Repeat::once);
        EXPECT_LE(readSome(), 5u) << n;
        EXPECT_EQ(0, disk.openStreams()) << n;
        disk.clearFaults();
    }
    disk.shortReads(7);
    EXPECT_EQ(5u, readSome()) << "in small pieces";
}

TEST(AttributeFileFaults, AFullDiskKeepsWhatWasWritten) {
    std::size_t whole = 0;
    {
        FaultBackend disk;
        disk.put("/survey/line/Other", "");
        ASSERT_EQ(0u, writeSome());
        whole = disk.bytes("/survey/line/Test").size();
    }
    for (std::size_t room = 0; room < whole; room += 4001) {
        FaultBackend disk;
        disk.put("/survey/line/Other", "");
        disk.noSpaceAfter(room);
        const std::uint32_t code = writeSome();
        EXPECT_TRUE(code == 0 || code == 5000026 || code == 5000028 || code == 5000059)
            << code << " at " << room;
        EXPECT_EQ(0, disk.openStreams());
        disk.clearFaults();
        SKARSetLastError(0);
        long status = 77;
        OpenDataFile file(L"/survey/line", L"Test", L"", 0, SKARDataFile::query, 0, status, true);
        if (status != 0) continue;
        // Nothing counts that is not there.
        const std::size_t start = 16 + file.GetSummeryRecordSize();
        EXPECT_LE(start + 2020 * file.GetNumberOfRecords(), disk.bytes("/survey/line/Test").size()) << room;
    }
}

TEST(AttributeFileFaults, ASummaryThatCannotBeWrittenRefusesTheRecord) {
    FaultBackend disk;
    disk.put("/survey/line/Other", "");
    {
        SKARSetLastError(0);
        long status = 77;
        OpenDataFile file(L"/survey/line", L"Test", L"a.raw", sensorNumber, SKARDataFile::create, 4, status,
                          true);
        ASSERT_EQ(0, status);
        file.AddAttribute(typeUInt32, L"V");
        disk.failAt(Op::write, disk.operations(Op::write) + 1, ENOSPC);
        EXPECT_EQ(5000026u, file.WriteRecord(60.0, 0, {u32(1)}, {}));
        EXPECT_EQ(0u, file.GetNumberOfRecords());
        disk.clearFaults();
        EXPECT_EQ(0u, file.AddAttribute(typeUInt32, L"W")) << "nothing was closed by it";
        EXPECT_EQ(0u, file.WriteRecord(60.0, 0, {u32(1), u32(2)}, {}));
    }
    SKARSetLastError(0);
    long status = 77;
    OpenDataFile file(L"/survey/line", L"Test", L"", 0, SKARDataFile::query, 0, status, true);
    EXPECT_EQ(0, status);
    EXPECT_EQ(1u, file.GetNumberOfRecords());
    EXPECT_EQ(2u, file.GetNumberOfAttributes());
}

TEST(AttributeFileFaults, AHeadThatCannotBeWrittenIs5000028) {
    FaultBackend disk;
    disk.put("/survey/line/Other", "");
    disk.failAt(Op::write, 1, EIO);
    SKARSetLastError(0);
    long status = 77;
    { OpenDataFile file(L"/survey/line", L"Test", L"", 33, SKARDataFile::create, 4, status, true); }
    EXPECT_EQ(5000028, status);
    EXPECT_FALSE(disk.has("/survey/line/Test"));
    EXPECT_FALSE(disk.has("/survey/line/TestTmIdx"));
    EXPECT_EQ(0, disk.openStreams());
}

// Takes any number of bytes and keeps none.
class Sink : public platform::FileBackend {
public:
    Sink() : before_(platform::setFileBackend(this)) {}
    ~Sink() override { platform::setFileBackend(before_); }
    std::FILE* open(const std::string&, const char* mode, bool& existed) override {
        existed = false;
        cookie_io_functions_t functions{};
        functions.write = [](void*, const char*, std::size_t size) { return static_cast<ssize_t>(size); };
        functions.seek = [](void*, off64_t*, int) { return 0; };
        return fopencookie(this, mode, functions);
    }
    bool remove(const std::string&) override { return true; }

private:
    platform::FileBackend* before_;
};

TEST(AttributeFileFaults, ARecordThatWouldStartBeyondTwoGiBIsRefused) {
    const Sink sink;
    SKARSetLastError(0);
    long status = 77;
    OpenDataFile file(L"/survey/line", L"Test", L"", 33, SKARDataFile::create, 4, status, true);
    file.AddAttribute(typeByteArray, L"V");
    constexpr int size = 128 << 20;
    std::vector<std::uint8_t> bytes(size);
    for (int i = 0; i < 16; ++i)
        ASSERT_EQ(0u, file.WriteRecord(0.0, 0, {block(bytes.data())}, {size})) << i;
    EXPECT_EQ(5000026u, file.WriteRecord(0.0, 0, {block(bytes.data())}, {1}));
    EXPECT_EQ(noCode, file.TmIdxEntry(0));
    EXPECT_EQ(16u, file.GetNumberOfRecords());
}

TEST(AttributeFileFaults, ALongFileReads) {
    SKARSetLastError(0);
    const Line line;
    {
        long made = 77;
        SKARTideError file(line.path().c_str(), L"", SKARDataFile::create, made);
        ASSERT_EQ(0u, file.WriteRecord(60.0, 5, {real64(1.5)}, {}));
    }
    std::filesystem::resize_file(line.folder() / "TideError", std::uintmax_t{3} << 30);
    largestBlock = 0;
    long code = 77;
    SKAR::TideErrorFile file(line.path().c_str(), code);
    ASSERT_EQ(0, code);
    double time = 0;
    double value = 0;
    unsigned status = 0;
    EXPECT_EQ(0u, file.read(1, time, value, status));
    EXPECT_EQ(1.5, value);
    EXPECT_LE(largestBlock, mostMemory);
}

} // namespace
} // namespace skar::tests
