#include "fileio/family.h"
#include "fileio/xdr.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/eventmark.h>
#include <skar/paths.h>
#include <skar/simplesensor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>

// What the event marks have of their own. What they share with the other families is tested for all of them
// at once.
namespace {

using namespace skar::tests;

constexpr int ok = 0;
constexpr std::size_t firstRecord = 40;
constexpr std::size_t recordSize = 92;
constexpr std::size_t textAt = 12;

struct Mark {
    std::uint32_t number = 0;
    double time = 0.0;
    std::wstring text;
    std::uint32_t status = 0;
    bool operator==(const Mark&) const = default;
};

const std::vector<Mark> goldenMarks = {{7, 1e9 + 0.001, L"start of line, buoy to port", 1},
                                       {8, 1e9 + 1, L"wreck", 2},
                                       {0xFFFFFFFF, 1e9 + 2, L"Gr\u00F6\u00DFe 5 \u2192", 3},
                                       {0, 1e9 + 3, L"", 4},
                                       {9, 1e9 + 4, std::wstring(78, L'x') + L'y', 5}};

class EventMarks : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(ok, SKARIO_Init(0)); }
    void TearDown() override {
        if (sensor) {
            EXPECT_EQ(ok, close());
        }
    }

    Line line;
    std::uint32_t code = 0;
    _TELD_Sensor* sensor = nullptr;

    bool open(const wchar_t* token) {
        if (sensor) close();
        sensor = EMOpenDir(line.path().c_str(), token, &code);
        return sensor != nullptr;
    }
    int close() {
        _TELD_Sensor* ended = sensor;
        sensor = nullptr;
        return EMClose(ended);
    }
    int write(const Mark& mark) {
        return EMSeqWrite(sensor, mark.number, mark.time, mark.text.c_str(), mark.status);
    }
    // Holds the caller's buffer to its 80 characters.
    template <class Read>
    int take(Mark& mark, Read read) {
        constexpr wchar_t guard = L'\u2620';
        std::array<wchar_t, SKAR_EVENT_MARK_TEXT + 8> buffer;
        buffer.fill(guard);
        const int result = read(buffer.data(), mark);
        EXPECT_TRUE(std::all_of(buffer.begin() + SKAR_EVENT_MARK_TEXT, buffer.end(),
                                [](wchar_t each) { return each == guard; }));
        if (result == ok) mark.text = buffer.data();
        return result;
    }
    int read(std::uint32_t record, Mark& mark) {
        return take(mark, [&](wchar_t* text, Mark& m) {
            return EMRead(sensor, record, &m.number, &m.time, text, &m.status);
        });
    }
    int readSeq(Mark& mark) {
        return take(mark, [&](wchar_t* text, Mark& m) {
            return EMReadSeq(sensor, &m.number, &m.time, text, &m.status);
        });
    }
    void putGolden() {
        for (const char* file : {"EventMark", "EventMarkLineSegments", "EventMarkTmIdx"})
            line.write(file, golden("event_marks").bytes(file).string());
    }
    // The golden set with other bytes in the place of the second mark's text.
    void putText(std::string_view bytes) {
        putGolden();
        std::string data = line.bytes("EventMark");
        line.write("EventMark", data.replace(firstRecord + recordSize + textAt, bytes.size(), bytes));
    }
    std::string storedText(std::size_t record) {
        return line.bytes("EventMark").substr(firstRecord + (record - 1) * recordSize + textAt, 80);
    }
};

TEST_F(EventMarks, WriteTheGoldenSet) {
    ASSERT_TRUE(open(L"create"));
    EXPECT_EQ(ok, EMBgnSeqWriteSummary(sensor));
    EXPECT_EQ(ok, EMBgnSeqWriteLineSegment(sensor, L"0001.evt"));
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(ok, write(goldenMarks[i]));
    EXPECT_EQ(ok, EMEndSeqWriteLineSegment(sensor, 5));
    EXPECT_EQ(ok, EMBgnSeqWriteLineSegment(sensor, L"0002.evt"));
    for (std::size_t i = 2; i < 5; ++i)
        EXPECT_EQ(ok, write(goldenMarks[i]));
    EXPECT_EQ(ok, EMEndSeqWriteLineSegment(sensor, 6));
    EXPECT_EQ(ok, EMEndSeqWriteSummary(sensor, 12));
    ASSERT_EQ(ok, close());
    for (const char* file : {"EventMark", "EventMarkLineSegments", "EventMarkTmIdx"})
        EXPECT_TRUE(same(golden("event_marks").bytes(file), line.bytes(file))) << file;
}

TEST_F(EventMarks, ReadTheGoldenSet) {
    putGolden();
    for (const wchar_t* token : {L"query", L"update"}) {
        ASSERT_TRUE(open(token)) << code;
        EXPECT_EQ(32u, sensor->sensorType);
        EXPECT_EQ(-1, skar::fileio::flatState(*sensor).lastRecordRead);
        for (const std::uint32_t n : {1u, 2u, 3u, 4u, 5u, 5u, 1u}) {
            Mark mark;
            ASSERT_EQ(ok, read(n, mark));
            EXPECT_EQ(goldenMarks[n - 1], mark) << n;
        }
        std::uint32_t segments = 0, records = 0, status = 0;
        double minTime = 0, maxTime = 0;
        ASSERT_EQ(ok, EMSummary(sensor, &segments, &records, &minTime, &maxTime, &status));
        EXPECT_EQ(2u, segments);
        EXPECT_EQ(5u, records);
        EXPECT_DOUBLE_EQ(1e9 + 0.001, minTime);
        EXPECT_DOUBLE_EQ(1e9 + 4, maxTime);
        EXPECT_EQ(12u, status);
        wchar_t* name = nullptr;
        std::uint32_t begin = 0, end = 0;
        ASSERT_EQ(ok, EMLineSegment(sensor, 2, &name, &begin, &end, &minTime, &maxTime, &status));
        EXPECT_STREQ(L"0002.evt", name);
        SKARIO_free(name);
        EXPECT_EQ(3u, begin);
        EXPECT_EQ(5u, end);
        EXPECT_DOUBLE_EQ(1e9 + 2, minTime);
        EXPECT_DOUBLE_EQ(1e9 + 4, maxTime);
        EXPECT_EQ(6u, status);
    }
    ASSERT_TRUE(open(L"query"));
    for (const Mark& wanted : goldenMarks) {
        Mark mark;
        ASSERT_EQ(ok, readSeq(mark));
        EXPECT_EQ(wanted, mark);
    }
    Mark mark;
    EXPECT_EQ(5000725, readSeq(mark));
}

TEST_F(EventMarks, ATextOfSeventyNineCharactersRoundTripsAndIsTerminated) {
    const std::wstring text = std::wstring(40, L'a') + std::wstring(39, L'b');
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, write({1, 60, std::wstring(79, L'z'), 0}));
    ASSERT_EQ(ok, write({1, 60, text, 0}));
    ASSERT_TRUE(open(L"query"));
    Mark mark;
    ASSERT_EQ(ok, read(2, mark));
    EXPECT_EQ(text, mark.text);
    EXPECT_EQ(std::string(40, 'a') + std::string(39, 'b') + '\0', storedText(2));
}

TEST_F(EventMarks, ALongerTextIsRefusedAndNothingIsWritten) {
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, EMBgnSeqWriteLineSegment(sensor, L"a"));
    EXPECT_EQ(5000722, write({1, 60, std::wstring(80, L'z'), 0}));
    EXPECT_EQ(5000722, write({1, 60, std::wstring(100000, L'z'), 0}));
    EXPECT_EQ(5000722, write({1, 60, std::wstring(40, L'\u00E9'), 0})) << "80 bytes in UTF-8";
    EXPECT_EQ(5000722, write({1, 60, std::wstring(20, L'\U0001F6A2'), 0})) << "80 bytes in UTF-8";
    EXPECT_EQ(ok, write({2, 90, std::wstring(39, L'\u00E9') + L'e', 0})) << "79 bytes";
    EXPECT_EQ(5000722, write({1, 60, std::wstring(80, L'z'), 0}));
    EXPECT_EQ(ok, write({3, 91, L"", 0}));
    ASSERT_EQ(ok, EMEndSeqWriteLineSegment(sensor, 0));
    ASSERT_EQ(ok, close());
    EXPECT_EQ(firstRecord + 2 * recordSize, line.bytes("EventMark").size());
    std::string left = std::string(1, '\0') + std::string("\xA9");
    for (int i = 1; i < 39; ++i)
        left += "\u00E9";
    EXPECT_EQ(hex(left + "e" + '\0'), hex(storedText(2))) << "a refused text leaves nothing behind";
    ASSERT_TRUE(open(L"query"));
    EXPECT_EQ(2u, sensor->numRecords);
    Mark mark;
    ASSERT_EQ(ok, read(1, mark));
    EXPECT_EQ((Mark{2, 90, std::wstring(39, L'\u00E9') + L'e', 0}), mark);
    ASSERT_EQ(ok, read(2, mark));
    EXPECT_EQ((Mark{3, 91, L"", 0}), mark);
    wchar_t* name = nullptr;
    std::uint32_t begin = 0, end = 0, status = 0;
    ASSERT_EQ(ok, EMLineSegment(sensor, 1, &name, &begin, &end, nullptr, nullptr, &status));
    SKARIO_free(name);
    EXPECT_EQ(1u, begin);
    EXPECT_EQ(2u, end);
}

TEST_F(EventMarks, AShorterTextLeavesTheRestOfTheOneBefore) {
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, write({1, 60, L"anchor lost", 0}));
    ASSERT_EQ(ok, write({2, 61, L"no", 0}));
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(5000722, write({2, nan, L"REFUSED", 0})) << "nor does this show";
    ASSERT_EQ(ok, write({3, 62, L"", 0}));
    ASSERT_EQ(ok, close());
    using namespace std::string_literals;
    EXPECT_EQ(hex("anchor lost"s + std::string(69, '\0')), hex(storedText(1)));
    EXPECT_EQ(hex("no\0hor lost"s + std::string(69, '\0')), hex(storedText(2)));
    EXPECT_EQ(hex("\0o\0hor lost"s + std::string(69, '\0')), hex(storedText(3)));
}

TEST_F(EventMarks, AStoredTextWithoutATerminatorReadsAsSeventyNineCharacters) {
    putText(std::string(80, 'q'));
    ASSERT_TRUE(open(L"query"));
    Mark mark;
    ASSERT_EQ(ok, read(2, mark));
    EXPECT_EQ(std::wstring(79, L'q'), mark.text);
    ASSERT_EQ(ok, read(3, mark));
    EXPECT_EQ(goldenMarks[2], mark);
}

TEST_F(EventMarks, AStoredTextThatIsNoTextStaysWithinTheBuffer) {
    for (const char byte : {'\xFF', '\x80', '\xC3', '\xF0', '\x01'}) {
        putText(std::string(80, byte));
        ASSERT_TRUE(open(L"query"));
        Mark mark;
        EXPECT_EQ(ok, read(2, mark));
        EXPECT_LE(mark.text.size(), 79u);
        EXPECT_FALSE(mark.text.empty());
        ASSERT_EQ(ok, readSeq(mark));
        EXPECT_EQ(goldenMarks[2], mark);
    }
}

TEST_F(EventMarks, AStatusSetShowsBeforeTheSaveWhichLeavesTheTextAlone) {
    putText("wreck\0behind the end");
    ASSERT_TRUE(open(L"update"));
    EXPECT_EQ(ok, EMSetRecordStatus(sensor, 2, 0xABCD));
    Mark mark;
    ASSERT_EQ(ok, read(2, mark));
    EXPECT_EQ((Mark{8, 1e9 + 1, L"wreck", 0xABCD}), mark);
    const std::string before = line.bytes("EventMark");
    EXPECT_EQ(ok, EMSaveStatusToDisk(sensor));
    EXPECT_EQ(withWord(before, firstRecord + recordSize, 0xABCD), line.bytes("EventMark"));
    ASSERT_EQ(ok, read(3, mark));
    EXPECT_EQ(goldenMarks[2], mark);
}

TEST_F(EventMarks, AReadAfterASequentialOneGetsTheRecordItAskedFor) {
    putGolden();
    ASSERT_TRUE(open(L"query"));
    Mark mark;
    ASSERT_EQ(ok, read(1, mark));
    ASSERT_EQ(ok, readSeq(mark));
    EXPECT_EQ(goldenMarks[1], mark);
    ASSERT_EQ(ok, read(2, mark));
    EXPECT_EQ(goldenMarks[1], mark);
}

TEST_F(EventMarks, TestTheHandleInOrder) {
    Mark m;
    wchar_t text[SKAR_EVENT_MARK_TEXT];
    EXPECT_EQ(5000712, EMClose(nullptr));
    EXPECT_EQ(5000712, EMSummary(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5000712, EMLineSegment(nullptr, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5000712, EMRead(nullptr, 1, &m.number, &m.time, text, &m.status));
    EXPECT_EQ(5000712, EMReadSeq(nullptr, &m.number, &m.time, text, &m.status));
    EXPECT_EQ(5000712, EMSeqWrite(nullptr, 1, 1, nullptr, 1));
    EXPECT_EQ(5000712, EMSetRecordStatus(nullptr, 1, 0));
    EXPECT_EQ(5000712, EMSaveStatusToDisk(nullptr));

    std::uint32_t opened = 0;
    _TELD_Sensor* heave = HeaveOpenDir(line.path().c_str(), L"create", &opened);
    ASSERT_TRUE(heave);
    EXPECT_EQ(5000713, EMClose(heave));
    EXPECT_EQ(5000713, EMSummary(heave, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5000713, EMLineSegment(heave, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(5000713, EMRead(heave, 1, &m.number, &m.time, text, &m.status)) << "before the access";
    EXPECT_EQ(5000713, EMReadSeq(heave, &m.number, &m.time, text, &m.status));
    EXPECT_EQ(5000713, EMBgnSeqWriteSummary(heave));
    EXPECT_EQ(5000713, EMBgnSeqWriteLineSegment(heave, L"a"));
    EXPECT_EQ(5000713, EMSeqWrite(heave, 1, 1, L"a", 1));
    EXPECT_EQ(5000713, EMEndSeqWriteLineSegment(heave, 0));
    EXPECT_EQ(5000713, EMEndSeqWriteSummary(heave, 0));
    EXPECT_EQ(5000713, EMSetSummaryStatus(heave, 0));
    EXPECT_EQ(5000713, EMSetLineSegmentStatus(heave, 1, 0));
    EXPECT_EQ(5000713, EMSetRecordStatus(heave, 1, 0));
    EXPECT_EQ(5000713, EMSaveStatusToDisk(heave));
    EXPECT_EQ(ok, HeaveClose(heave));
}

TEST_F(EventMarks, NullArgumentsThatAreNeededAreRefused) {
    ASSERT_TRUE(open(L"create"));
    EXPECT_EQ(-1, EMSeqWrite(sensor, 1, 1, nullptr, 1));
    ASSERT_EQ(ok, close());
    putGolden();
    ASSERT_TRUE(open(L"query"));
    Mark m;
    wchar_t text[SKAR_EVENT_MARK_TEXT];
    for (int missing = 0; missing < 5; ++missing) {
        const auto unless = [missing](int which, auto* output) {
            return missing == which ? nullptr : output;
        };
        std::uint32_t segments = 0, records = 0, status = 0;
        double minTime = 0, maxTime = 0;
        EXPECT_EQ(-1, EMSummary(sensor, unless(0, &segments), unless(1, &records), unless(2, &minTime),
                                unless(3, &maxTime), unless(4, &status)));
        if (missing == 4) break;
        EXPECT_EQ(-1, EMRead(sensor, 1, unless(0, &m.number), unless(1, &m.time), unless(2, text),
                             unless(3, &m.status)));
        EXPECT_EQ(-1, EMReadSeq(sensor, unless(0, &m.number), unless(1, &m.time), unless(2, text),
                                unless(3, &m.status)));
    }
    wchar_t* name = nullptr;
    std::uint32_t status = 0;
    EXPECT_EQ(-1, EMLineSegment(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, &status));
    EXPECT_EQ(-1, EMLineSegment(sensor, 1, &name, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(nullptr, name);
    EXPECT_EQ(ok, EMLineSegment(sensor, 1, &name, nullptr, nullptr, nullptr, nullptr, &status));
    SKARIO_free(name);
    ASSERT_EQ(ok, readSeq(m));
    EXPECT_EQ(goldenMarks[0], m) << "a refused call does not move the file";
}

TEST_F(EventMarks, AMissingReadStructureIsToldBehindTheAccess) {
    putGolden();
    ASSERT_TRUE(open(L"query"));
    std::free(sensor->pReadStruct);
    sensor->pReadStruct = nullptr;
    Mark mark;
    EXPECT_EQ(-1, read(1, mark));
    EXPECT_EQ(-1, readSeq(mark));
    EXPECT_EQ(-1, EMClose(sensor));
    EXPECT_EQ(5000718, write(mark));
    SensorFree(sensor);
    sensor = nullptr;
}

TEST_F(EventMarks, StreamsThatCannotCodeGiveTheirCodes) {
    putGolden();
    ASSERT_TRUE(open(L"query"));
    qon_xdr_destroy(&sensor->decodeXDRStream);
    Mark mark;
    EXPECT_EQ(5000721, read(1, mark));
    EXPECT_EQ(5000721, readSeq(mark));
    ASSERT_TRUE(open(L"create"));
    qon_xdr_destroy(&sensor->encodeXDRStream);
    EXPECT_EQ(5000722, write({1, 60, L"a", 0}));
}

TEST_F(EventMarks, TroubleWithTheIndexHasItsCodes) {
    putGolden();
    line.patch("EventMarkTmIdx", 44, 0xFFFFFFF4); // offset of the first record
    ASSERT_TRUE(open(L"query")) << code;
    Mark mark;
    EXPECT_EQ(5000715, read(1, mark));
    ASSERT_EQ(ok, read(2, mark));
    EXPECT_EQ(goldenMarks[1], mark);
    EXPECT_FALSE(open(L"update"));
    EXPECT_EQ(5000715u, code);
    ASSERT_TRUE(open(L"create"));
    // As if the file had reached the end of what an entry can hold.
    skar::fileio::flatState(*sensor).recordsWritten = 0x01FFFFFF;
    sensor->state->file.seek(0);
    EXPECT_EQ(5000723, write({1, 60, L"a", 0}));
    skar::fileio::flatState(*sensor).recordsWritten = 0;
}

TEST_F(EventMarks, OpenFailuresOfTheSegmentsHaveTheFamilysCodes) {
    putGolden();
    std::filesystem::remove(line.folder() / "EventMarkLineSegments");
    EXPECT_FALSE(open(L"query"));
    EXPECT_EQ(5000701u, code);
    std::filesystem::create_directory(line.folder() / "EventMarkLineSegments");
    ASSERT_TRUE(open(L"create"));
    ASSERT_EQ(ok, write({1, 60, L"a", 0}));
    EXPECT_EQ(5000702, close());
}

TEST_F(EventMarks, AreRemovedWithTheirSideFiles) {
    putGolden();
    line.write("SSP", "stays");
    EXPECT_EQ(ok, EMRemoveDir(line.path().c_str()));
    EXPECT_EQ(std::vector<std::string>{"SSP"}, line.files());
    EXPECT_EQ(ok, EMRemoveDir(line.path().c_str())) << "also where there are none";
}

TEST(EventMarkFaults, ASaveThatCannotWriteTellsTheStep) {
    ASSERT_EQ(ok, SKARIO_Init(0));
    const std::string folder = "/p/v/d/l/";
    std::vector<int> codes;
    for (std::size_t n = 1;; ++n) {
        FaultBackend disk;
        for (const char* file : {"EventMark", "EventMarkLineSegments", "EventMarkTmIdx"})
            disk.put(folder + file, golden("event_marks").bytes(file).string());
        std::uint32_t opened = 0;
        _TELD_Sensor* sensor = EMOpenDir(L"/p/v/d/l", L"update", &opened);
        ASSERT_TRUE(sensor) << opened;
        EXPECT_EQ(ok, EMSetRecordStatus(sensor, 2, 5));
        disk.resetCounts();
        disk.failAt(Op::write, n, ENOSPC);
        const int code = EMSaveStatusToDisk(sensor);
        disk.clearFaults();
        LogCapture log;
        EXPECT_EQ(ok, EMClose(sensor));
        EXPECT_EQ(0, disk.openStreams());
        if (code == ok) break;
        codes.push_back(code);
        if (code != 5000702) {
            ASSERT_EQ(1u, log.lines().size());
            EXPECT_EQ(2, log.lines()[0].level);
            EXPECT_EQ(0u, log.lines()[0].text.find(
                              "There is an error in the EventMark file stream before closing "));
        }
    }
    EXPECT_EQ((std::vector<int>{5000705, 5000705, 5000702, 5000710}), codes);
}

} // namespace
