#include "raw_bytes.h"

#include "import/textlines.h"

#include <gtest/gtest.h>

using namespace skar::import;
using namespace skar::test;

TEST(Cursor, ReadsBothByteOrdersAndStaysFailedPastTheEnd) {
    const std::vector<std::byte> bytes{std::byte{0x80}, std::byte{0x01}, std::byte{0x02}, std::byte{0xFF}};
    EXPECT_EQ(Cursor(bytes, ByteOrder::little).read<std::uint32_t>(), 0xFF020180U);
    EXPECT_EQ(Cursor(bytes, ByteOrder::big).read<std::int16_t>(), -32767);
    EXPECT_EQ(Cursor(bytes, ByteOrder::big).readAt<std::int8_t>(3), -1);
    Cursor in(bytes, ByteOrder::little);
    in.skip(2);
    EXPECT_EQ(in.read<std::uint32_t>(), 0U);
    EXPECT_TRUE(in.failed());
    EXPECT_EQ(in.read<std::uint8_t>(), 0U);
    Cursor beyond(bytes, ByteOrder::little);
    beyond.seek(5);
    EXPECT_TRUE(beyond.failed());
    Cursor single(bytes, ByteOrder::big);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(single.read<float>()), 0x800102FFU);
}

TEST(CalendarTimes, DaysThatTheCalendarDoesNotHaveAreRefused) {
    EXPECT_EQ(midnight(2000, 2, 29).value(), Micros{951'782'400} * microsPerSecond);
    EXPECT_FALSE(midnight(2001, 2, 29));
    EXPECT_FALSE(midnight(1979, 12, 31));
    EXPECT_FALSE(midnight(2001, 13, 1));
    EXPECT_FALSE(midnight(2001, 1, 0));
    EXPECT_EQ(utcText(midnight(2000, 2, 29).value() - 1), "2000-02-28T23:59:59.999Z");
}

TEST(Decimal, TakesPlainNumbersOnly) {
    EXPECT_EQ(decimal("+00.41"), 0.41);
    EXPECT_EQ(decimal("-3"), -3.0);
    for (const char* text :
         {"", "+", "-", "+-3", "--3", "1e3", "nan", "inf", "0x10", "1,5", " 1", "1 ", "1.2.3"})
        EXPECT_FALSE(decimal(text)) << text;
}

TEST(TextLines, LinesLongerThanTheWindowAndAcrossItsEdgesAreKeptApart) {
    std::string text;
    std::vector<std::uint64_t> offsets;
    while (text.size() < 600'000) {
        offsets.push_back(text.size());
        text += std::string(offsets.size() % 4096, 'a') + "\n";
    }
    const std::size_t before = offsets.size();
    const std::uint64_t longOffset = text.size();
    text += std::string(700'000, 'b') + "\nlast";
    MemorySource source(std::as_bytes(std::span(text)));
    TextLines lines(source);
    TextLine line;
    for (std::size_t i = 0; i < before; ++i) {
        ASSERT_TRUE(lines.next(line));
        EXPECT_EQ(line.offset, offsets[i]);
        EXPECT_EQ(line.text.size(), (i + 1) % 4096);
        EXPECT_FALSE(line.overlong);
    }
    ASSERT_TRUE(lines.next(line));
    EXPECT_TRUE(line.overlong);
    EXPECT_EQ(line.offset, longOffset);
    ASSERT_TRUE(lines.next(line));
    EXPECT_EQ(line.text, "last");
    EXPECT_TRUE(line.unfinished);
    EXPECT_FALSE(lines.next(line));
}

TEST(FormatDetection, ContentComesBeforeTheName) {
    const std::string log = "Timestamp;Depth\n";
    MemorySource source(std::as_bytes(std::span(log)));
    ASSERT_NE(detectFormat(source, "line.all"), nullptr);
    EXPECT_STREQ(detectFormat(source, "line.all")->name, "semicolon text log");
}

TEST(FormatDetection, TheNameDecidesWhereTheContentTellsNothing) {
    MemorySource source({});
    ASSERT_NE(detectFormat(source, "empty.WCD"), nullptr);
    EXPECT_STREQ(detectFormat(source, "empty.WCD")->name, "Kongsberg EM raw data");
    EXPECT_EQ(detectFormat(source, "empty.txt"), nullptr);
    EXPECT_EQ(detectFormat(source, "noname"), nullptr);
    EXPECT_EQ(detectFormat(source, "dot."), nullptr);
}

TEST(FileSource, AFolderOrAMissingFileIsRefusedByName) {
    EXPECT_THROW(FileSource("/"), ImportError);
    try {
        FileSource source("/nonexistent/file.all");
        FAIL();
    } catch (const ImportError& error) {
        EXPECT_NE(std::string(error.what()).find("/nonexistent/file.all"), std::string::npos);
    }
}
