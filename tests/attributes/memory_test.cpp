#include "attributefiles.h"
#include "support/largestblock.h"

#include <algorithm>
#include <random>

// What an open file asks for in memory, and what it says when there is none.
namespace skar::tests {
namespace {

using namespace SKARIOAttributes;

constexpr std::size_t windowSize = 64 * 1024; // of the data file

class AttributeFileMemory : public AttributeFiles {
protected:
    // Records of six floats, as the files of error figures have them.
    void writeFloats(int records) const {
        OpenDataFile file = create();
        for (int i = 0; i < 6; ++i)
            ASSERT_EQ(0u, file.AddAttribute(typeFloat, std::to_wstring(i).c_str()));
        Values values(6, real(0.5F));
        for (int i = 0; i < records; ++i)
            ASSERT_EQ(0u, file.WriteRecord(60.0 + i, 0, values, {}));
    }
};

TEST_F(AttributeFileMemory, ReadingScalarsAsksForNoneOnceTheWindowHasGrown) {
    constexpr int records = 20'000;
    writeFloats(records);
    std::vector<int> numbers(records);
    for (int i = 0; i < records; ++i)
        numbers[static_cast<std::size_t>(i)] = i + 1;
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(20260101));

    OpenDataFile file = query();
    double time = 0;
    unsigned status = 0;
    Values values;
    for (int number = 1; number <= records / 2; ++number)
        ASSERT_EQ(0u, file.ReadRecord(time, status, values, number));
    std::uint32_t codes = 0;
    largestBlock = 0;
    for (int number = records / 2 + 1; number <= records; ++number)
        codes |= file.ReadRecord(time, status, values, number);
    for (const int number : numbers)
        codes |= file.ReadRecord(time, status, values, number);
    EXPECT_EQ(0u, largestBlock.load());
    EXPECT_EQ(0u, codes);
}

TEST_F(AttributeFileMemory, AnOpenFileTakesItsIndexAndAWindow) {
    for (const int records : {100, 40'000}) {
        writeFloats(records);
        const std::size_t indexSize = line.bytes("TestTmIdx").size();
        largestBlock = 0;
        OpenDataFile file = query();
        double time = 0;
        unsigned status = 0;
        Values values;
        std::uint32_t codes = 0;
        for (int number = 1; number <= records; ++number)
            codes |= file.ReadRecord(time, status, values, number);
        EXPECT_EQ(0u, codes);
        EXPECT_LE(largestBlock.load(), std::max(indexSize, windowSize)) << records << " records";
    }
}

TEST_F(AttributeFileMemory, WithoutMemoryForASetTheIndexTakesNoEntry) {
    OpenDataFile file = create();
    file.AddAttribute(typeFloat, L"Depth");
    const LogCapture log;
    {
        const RefusedMemory none(512 * 8); // the entries of a set
        EXPECT_EQ(nullptr, file.TmIdxSetAlloc());
        EXPECT_EQ(5000009u, file.TmIdxEntry(0));
    }
    const std::string set = "TmIdxSetAlloc: malloc() returned NULL.  No memory available.\n";
    EXPECT_EQ(log.lines(), (Lines{{2, set}, {2, set}, {2, "TmIdxEntry: out of memory\n"}}));
}

TEST_F(AttributeFileMemory, ARecordThatTheIndexCannotTakeIsRefused) {
    {
        OpenDataFile file = create();
        file.AddAttribute(typeFloat, L"Depth");
        for (int i = 0; i < 512; ++i)
            ASSERT_EQ(0u, file.WriteRecord(60.0, 0, {real(1)}, {}));
        const LogCapture quiet;
        {
            const RefusedMemory none(512 * 8);
            EXPECT_EQ(5000026u, file.WriteRecord(60.0, 0, {real(2)}, {}));
        }
        EXPECT_EQ(512u, file.GetNumberOfRecords());
        EXPECT_EQ(0u, file.WriteRecord(61.0, 0, {real(3)}, {}));
    }
    OpenDataFile file = query();
    double time = 0;
    unsigned status = 0;
    Values values;
    EXPECT_EQ(513u, file.GetNumberOfRecords());
    EXPECT_EQ(0u, file.ReadRecord(time, status, values, 513));
    EXPECT_EQ(3.0f, values[0].float32);
}

TEST_F(AttributeFileMemory, AValueThereIsNoMemoryForLeavesTheOneBefore) {
    OpenDataFile file = create();
    file.AddSummaryAttribute(typeByteArray, L"S");
    std::vector<std::uint8_t> bytes(100'000, 7);
    ASSERT_EQ(0u, file.SetSummaryAttribute(0, block(bytes.data()), 1));
    {
        const RefusedMemory none(bytes.size());
        EXPECT_EQ(5000009u, file.SetSummaryAttribute(0, block(bytes.data()), 100'000));
    }
    dataValue value;
    int count = 0;
    EXPECT_EQ(0u, file.GetSummaryAttribute(0, value, &count));
    EXPECT_EQ(1, count);
    EXPECT_EQ(7, value.byteArray[0]);
}

} // namespace
} // namespace skar::tests
