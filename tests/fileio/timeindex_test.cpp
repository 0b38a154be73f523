#include "fileio/handle.h"
#include "storehandle.h"
#include "support/fault_backend.h"
#include "support/processortime.h"
#include "support/store.h"

#include <skar/sensor.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <sys/resource.h>

using namespace skar::tests;

namespace {

constexpr std::uint32_t heave = 2;
constexpr const char* indexFile = "HeaveTmIdx";

// A created heave whose index is built and written without any record.
struct Index {
    Line line;
    Handle sensor{line.path(), heave, L"create"};

    Index() { sensor->version = 1; }
    int add(std::int32_t time, std::int64_t offset) {
        sensor->state->file.seek(offset);
        return TmIdxEntry(sensor, time);
    }
    int read(std::string_view bytes) {
        line.write(indexFile, bytes);
        return TmIdxRead(sensor);
    }
    // The offset of a record, or the code as a negative number.
    std::int64_t offset(std::uint32_t record) {
        std::int32_t found = 0;
        const int code = TmIdxMapIndexToByteOffset(sensor, record, &found);
        return code == 0 ? found : -code;
    }
    std::string twin() const {
        std::ostringstream out;
        out << "maxTmIdxSetSize = " << sensor->maxTmIdxSetSize << '\n';
        int n = 0;
        for (const auto* set = sensor->firstTmIdxSet; set; set = set->next, ++n)
            out << "sets[" << n << "].numRecords = " << set->numRecords << "\nsets[" << n
                << "].minTime = " << set->minTime << "\nsets[" << n << "].maxTime = " << set->maxTime << '\n';
        n = 0;
        for (const auto* set = sensor->firstTmIdxSet; set; set = set->next, ++n)
            for (std::uint32_t e = 0; e < set->numRecords; ++e)
                out << "sets[" << n << "].offsets[" << e << "] = " << set->offsets[e].time << " at "
                    << set->offsets[e].offset << '\n';
        return out.str();
    }
};

// The twin lists each set's entries behind its own head.
std::string sorted(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    std::string all;
    for (const auto& line : lines)
        all += line + '\n';
    return all;
}

// A file whose sets hold that many entries each; the entry of record n is at 48 + 12 n.
Bytes indexOf(const std::vector<std::uint32_t>& counts, std::uint32_t capacity) {
    Bytes bytes;
    bytes.validation(heave, 3).word("numTmIdxSets", counts.size()).word("maxTmIdxSetSize", capacity);
    for (const auto count : counts)
        bytes.word("numRecords", count).word("minTime", 0).word("maxTime", 1000);
    std::uint32_t record = 0;
    for (const auto count : counts) {
        bytes.word("count", count);
        for (std::uint32_t i = 0; i < count; ++i, ++record)
            bytes.word("time", record).word("offset", 48 + 12 * record);
    }
    return bytes;
}

std::string unable(const std::string& what, const std::string& codec = "qon_xdr_u_int") {
    return "TmIdxRead() failed.  Unable to decode the " + what + ".  " + codec + "() failed\n";
}

} // namespace

TEST(TimeIndexEntry, OpensANewSetWhenTheLastHolds512) {
    Index index;
    for (std::int32_t n = 0; n < 512; ++n)
        ASSERT_EQ(index.add(n * 20, 48 + 12 * n), 0);
    EXPECT_EQ(index.sensor->numTmIdxSets, 1u);
    ASSERT_EQ(index.add(512 * 20, 48 + 12 * 512), 0);
    ASSERT_EQ(index.sensor->numTmIdxSets, 2u);
    EXPECT_EQ(index.sensor->firstTmIdxSet->numRecords, 512u);
    EXPECT_EQ(index.sensor->firstTmIdxSet->next, index.sensor->lastTmIdxSet);
    EXPECT_EQ(index.sensor->lastTmIdxSet->numRecords, 1u);
    EXPECT_EQ(index.sensor->lastTmIdxSet->minTime, 512 * 20);
    EXPECT_EQ(index.sensor->lastTmIdxSet->next, nullptr);
    EXPECT_EQ(index.offset(512), 48 + 12 * 511) << "the last of the first set";
    EXPECT_EQ(index.offset(513), 48 + 12 * 512) << "the first of the second set";
    EXPECT_EQ(index.offset(514), -5000037);
}

TEST(TimeIndexEntry, FillsASetTo512WhateverCapacityTheHandleNames) {
    for (const std::uint32_t capacity : {1u, 100u, 2000u}) {
        Index index;
        index.sensor->maxTmIdxSetSize = capacity;
        for (std::int32_t n = 0; n < 513; ++n)
            ASSERT_EQ(index.add(n, n), 0);
        EXPECT_EQ(index.sensor->firstTmIdxSet->numRecords, 512u) << capacity;
        EXPECT_EQ(index.sensor->numTmIdxSets, 2u) << capacity;
    }
}

TEST(TimeIndexEntry, WidensTheTimesOfItsSetAndKeepsTheOrderOfWriting) {
    Index index;
    for (const std::int32_t time : {5, -7, 3})
        ASSERT_EQ(index.add(time, 100 + time), 0);
    EXPECT_EQ(index.sensor->firstTmIdxSet->minTime, -7);
    EXPECT_EQ(index.sensor->firstTmIdxSet->maxTime, 5);
    EXPECT_EQ(index.offset(1), 105);
    EXPECT_EQ(index.offset(2), 93);
    EXPECT_EQ(index.offset(3), 103);
}

TEST(TimeIndexEntry, OfANullHandleIsMinusOne) {
    EXPECT_EQ(TmIdxEntry(nullptr, 0), -1);
}

TEST(TimeIndexEntry, RefusesAnOffsetThatDoesNotFitAndStaysAsItWas) {
    Index index;
    ASSERT_EQ(index.add(1, 2147483647), 0);
    EXPECT_EQ(index.add(9, 2147483648), -1);
    EXPECT_EQ(index.sensor->firstTmIdxSet->numRecords, 1u);
    EXPECT_EQ(index.sensor->firstTmIdxSet->maxTime, 1);
    EXPECT_EQ(index.offset(1), 2147483647);
    EXPECT_EQ(index.offset(2), -5000037);
}

TEST(TimeIndexEntry, OnAHandleThatHasReadItsIndexComesBehindWhatWasRead) {
    Index index;
    ASSERT_EQ(index.read(indexOf({512, 100}, 512)), 0);
    for (std::int32_t n = 0; n < 600; ++n)
        ASSERT_EQ(index.add(n, 100000 + n), 0);
    EXPECT_EQ(index.offset(612), 48 + 12 * 611);
    EXPECT_EQ(index.offset(613), 100000);
    EXPECT_EQ(index.offset(1212), 100599);
    EXPECT_EQ(index.offset(1213), -5000037);
}

#ifndef __SANITIZE_ADDRESS__
TEST(TimeIndexEntry, WithoutMemoryIs5000009WithALogLine) {
    inItsOwnProcess([] {
        Index index;
        index.sensor->maxTmIdxSetSize = 0x20000000; // 4 GiB of entries
        const rlimit limit{1u << 30, 1u << 30};
        ::setrlimit(RLIMIT_AS, &limit);
        const LogCapture log;
        EXPECT_EQ(index.add(1, 1), 5000009);
        EXPECT_EQ(log.lines(), (Lines{{1, "TmIdxEntry: out of memory\n"}}));
        EXPECT_EQ(index.sensor->numTmIdxSets, 0u);
    });
}
#endif

TEST(TimeIndexLookup, TellsWhatItCannotFind) {
    Index index;
    ASSERT_EQ(index.add(0, 48), 0);
    std::int32_t offset = 77;
    const LogCapture log(1);
    EXPECT_EQ(TmIdxMapIndexToByteOffset(nullptr, 1, &offset), -1);
    EXPECT_EQ(TmIdxMapIndexToByteOffset(index.sensor, 1, nullptr), -1);
    EXPECT_EQ(TmIdxMapIndexToByteOffset(index.sensor, 0, &offset), 5000036);
    EXPECT_EQ(TmIdxMapIndexToByteOffset(index.sensor, 2, &offset), 5000037);
    EXPECT_EQ(TmIdxMapIndexToByteOffset(index.sensor, 0xFFFFFFFF, &offset), 5000037);
    EXPECT_EQ(offset, 77);
    EXPECT_EQ(log.lines(),
              (Lines{{1, "TmIdxMapIndexToByteOffset: sensor is invalid (empty)\n"},
                     {1, "TmIdxMapIndexToByteOffset: input variable 'offset' is invalid (empty)\n"},
                     {1, "TmIdxMapIndexToByteOffset: record number is invalid\n"},
                     {1, "TmIdxMapIndexToByteOffset: requested record number not found\n"},
                     {1, "TmIdxMapIndexToByteOffset: requested record number not found\n"}}));
}

TEST(TimeIndexLookup, SaysNothingWhenItFinds) {
    Index index;
    ASSERT_EQ(index.add(0, 48), 0);
    const LogCapture log;
    EXPECT_EQ(index.offset(1), 48);
    EXPECT_TRUE(log.lines().empty());
}

TEST(TimeIndexLookup, GoesByTheCountsOfTheSetsThatAreThere) {
    constexpr unsigned seed = 512;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 engine(seed);
    const auto below = [&](std::uint32_t limit) { return static_cast<std::uint32_t>(engine() % limit); };
    for (int round = 0; round < 60; ++round) {
        std::vector<std::uint32_t> counts(below(8));
        // Sets of one size are told apart from sets of many.
        const std::uint32_t common = below(700);
        for (auto& count : counts)
            count = round % 3 == 0 ? below(700) : common;
        if (round % 3 == 2 && !counts.empty()) counts.back() = below(common + 2);
        std::uint32_t total = 0;
        for (const auto count : counts)
            total += count;
        Index index;
        ASSERT_EQ(index.read(indexOf(counts, 1000)), 0);
        for (std::uint32_t record = 1; record <= total; ++record)
            ASSERT_EQ(index.offset(record), 48 + 12 * (std::int64_t{record} - 1)) << "round " << round;
        const LogCapture quiet;
        EXPECT_EQ(index.offset(total + 1), -5000037);
    }
}

TEST(TimeIndexFile, IsWrittenAsTheGoldenBytes) {
    Index index;
    index.sensor->version = 9;
    ASSERT_EQ(index.add(5, 48), 0);
    ASSERT_EQ(index.add(-7, 60), 0);
    ASSERT_EQ(index.add(2147483647, 2147483647), 0);
    // Sets that are not full come from files only.
    ASSERT_NE(index.sensor->state->index.append(*index.sensor, 512), nullptr);
    ASSERT_EQ(index.add(-2147483647 - 1, 72), 0);
    ASSERT_NE(index.sensor->state->index.append(*index.sensor, 512), nullptr);
    ASSERT_EQ(TmIdxWrite(index.sensor), 0);
    EXPECT_TRUE(same(golden("time_index").bytes("TmIdx"), index.line.bytes(indexFile)));
    EXPECT_EQ(index.offset(4), 72);
    EXPECT_EQ(index.offset(5), -5000037);
}

TEST(TimeIndexFile, OfTwoSetsIsWrittenAsTheGoldenBytes) {
    Index index;
    for (std::int32_t n = 0; n < 513; ++n)
        ASSERT_EQ(index.add(n * 20, 48 + 12 * n), 0);
    ASSERT_EQ(TmIdxWrite(index.sensor), 0);
    EXPECT_TRUE(same(golden("time_index_two_sets").bytes("TmIdx"), index.line.bytes(indexFile)));
}

TEST(TimeIndexFile, ReadsAsTheGoldenTwinSays) {
    for (const char* name : {"time_index", "time_index_two_sets"}) {
        Index index;
        const LogCapture log;
        ASSERT_EQ(index.read(golden(name).bytes("TmIdx")), 0) << name;
        EXPECT_EQ(sorted(index.twin()), sorted(golden(name).twin())) << name;
        EXPECT_EQ(index.sensor->version, 1u) << "the version of an index is dropped";
        EXPECT_TRUE(log.lines().empty());
        ASSERT_EQ(TmIdxWrite(index.sensor), 0);
        EXPECT_TRUE(same(Bytes().raw("file", withWord(golden(name).bytes("TmIdx"), 12, 1)),
                         index.line.bytes(indexFile)));
    }
}

TEST(TimeIndexFile, WithoutSetsReadsAndHasNoRecord) {
    Index index;
    ASSERT_EQ(index.read(indexOf({}, 512)), 0);
    EXPECT_EQ(index.sensor->numTmIdxSets, 0u);
    EXPECT_EQ(index.offset(1), -5000037);
}

TEST(TimeIndexFile, TakesTheCapacityFromTheFile) {
    Index index;
    ASSERT_EQ(index.read(indexOf({3, 1}, 7)), 0);
    EXPECT_EQ(index.sensor->maxTmIdxSetSize, 7u);
}

TEST(TimeIndexFile, CutAtAnyByteIs5000039AndTellsTheWord) {
    const Bytes whole = golden("time_index").bytes("TmIdx");
    const char* heads[] = {"teldToken",     "sensorType",   "fileType",
                           "versionNumber", "numTmIdxSets", "maxTmIdxSetSize"};
    const char* setHeads[] = {nullptr, "minTime", "maxTime"};
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(std::to_string(size) + " bytes");
        Index index;
        const LogCapture log(1);
        testing::internal::CaptureStdout();
        EXPECT_EQ(index.read(whole.string().substr(0, size)), 5000039);
        const std::string out = testing::internal::GetCapturedStdout();
        const std::size_t word = size / 4;
        Lines expected;
        if (word < 6)
            expected = {{1, unable(heads[word])}};
        else if (word >= 15)
            expected = {{1, unable("offset records", "qon_xdr_array")}};
        else if (const char* head = setHeads[(word - 6) % 3])
            expected = {{1, unable(head)}};
        EXPECT_EQ(log.lines(), expected);
        EXPECT_EQ(out.find("qon_xdrstdio_getlong() failed.  fread() returned 0.  errno set to "), 0u) << out;
        const auto second =
            out.find("qon_xdrstdio_getlong() failed (second attempt).  fread() returned 0.  errno set to ");
        EXPECT_NE(second, std::string::npos) << out;
        EXPECT_NE(out.find(", ferror returned 0, feof returned 1 %\n"), std::string::npos) << out;
        EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 2) << out;
    }
}

TEST(TimeIndexFile, OfAnotherKindIs5000039) {
    const Bytes whole = indexOf({2}, 512);
    const struct {
        std::size_t offset;
        std::uint32_t word;
        Lines lines;
    } cases[] = {
        {0,
         0x1a2b3c4d,
         {{1, "TmIdxRead() failed.  Unable to match the teldToken (1a2b3c4d).  qon_xdr_u_int() failed\n"}}},
        {4, 3, {}},
        {8, 2, {}},
    };
    for (const auto& each : cases) {
        Index index;
        const LogCapture log;
        EXPECT_EQ(index.read(withWord(whole, each.offset, each.word)), 5000039);
        EXPECT_EQ(log.lines(), each.lines);
    }
}

TEST(TimeIndexFile, WithASetAboveTheCapacityIs5000039) {
    Index index;
    const LogCapture log;
    EXPECT_EQ(index.read(indexOf({3}, 2)), 5000039);
    EXPECT_EQ(log.lines(), (Lines{{1, unable("offset records", "qon_xdr_array")}}));
}

TEST(TimeIndexFile, HasTheCountThatStandsBeforeTheArray) {
    // The second of the two counts is the one that the array is read by.
    Index index;
    ASSERT_EQ(index.read(withWord(indexOf({2}, 512), 24, 1)), 0);
    EXPECT_EQ(index.sensor->firstTmIdxSet->numRecords, 2u);
}

TEST(TimeIndexFile, WithAnyWordAtItsExtremesGivesACodeAtOnce) {
    const Bytes whole = indexOf({2, 1}, 512);
    for (std::size_t offset = 0; offset < whole.size(); offset += 4)
        for (const std::uint32_t word : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
            Index index;
            const LogCapture log;
            testing::internal::CaptureStdout();
            const skar::tests::ProcessorTime time;
            const int code = index.read(withWord(whole, offset, word));
            const double spent = time.seconds();
            testing::internal::GetCapturedStdout();
            EXPECT_TRUE(code == 0 || code == 5000039) << code << " at " << offset << " with " << word;
            EXPECT_LT(spent, skar::tests::hostileLimit);
            std::uint32_t records = 0;
            for (const auto* set = index.sensor->firstTmIdxSet; set; set = set->next)
                records += set->numRecords;
            for (std::uint32_t record = 1; code == 0 && record <= records; ++record)
                EXPECT_GE(index.offset(record), std::numeric_limits<std::int32_t>::min());
        }
}

TEST(TimeIndexFile, ThatIsReadTwiceIsListedTwice) {
    Index index;
    ASSERT_EQ(index.read(indexOf({2}, 512)), 0);
    ASSERT_EQ(index.read(indexOf({3}, 512)), 0);
    EXPECT_EQ(index.sensor->numTmIdxSets, 2u);
    EXPECT_EQ(index.offset(2), 60);
    EXPECT_EQ(index.offset(3), 48);
    EXPECT_EQ(index.offset(5), 72);
    EXPECT_EQ(index.offset(6), -5000037);
}

TEST(TimeIndexFile, ThatCannotBeOpenedIs5000038WithoutALogLine) {
    Index index;
    const LogCapture log;
    EXPECT_EQ(TmIdxRead(index.sensor), 5000038);
    index.sensor->tmIdxPath = index.line.path() + L"/none/HeaveTmIdx";
    EXPECT_EQ(TmIdxWrite(index.sensor), 5000038);
    index.sensor->tmIdxPath = index.line.path();
    EXPECT_EQ(TmIdxRead(index.sensor), 5000038) << "a directory";
    EXPECT_EQ(TmIdxWrite(index.sensor), 5000038);
    EXPECT_TRUE(log.lines().empty());
}

TEST(TimeIndexFile, OfANullHandleIsASuccessWithALogLine) {
    const LogCapture log(1);
    EXPECT_EQ(TmIdxRead(nullptr), 0);
    EXPECT_EQ(TmIdxWrite(nullptr), 0);
    EXPECT_EQ(log.lines(), (Lines{{1, "TmIdxRead: sensor is invalid (empty)\n"},
                                  {1, "TmIdxWrite: sensor is invalid (empty)\n"}}));
}

namespace {

const std::wstring survey = L"/survey/project/vessel/day/line";
const std::string surveyIndex = "/survey/project/vessel/day/line/HeaveTmIdx";

// Writes an index of several blocks of the stream; the operations it took.
std::size_t writeIndex(FaultBackend& disk, std::size_t failing, Repeat repeat, int& code) {
    disk.put("/survey/project/vessel/day/line/x", "");
    Handle sensor(survey, heave, L"create");
    for (std::uint32_t n = 0; n < 20000; ++n)
        EXPECT_EQ(TmIdxEntry(sensor, 0), 0);
    disk.resetCounts();
    if (failing != 0) disk.failAt(failing, ENOSPC, repeat);
    code = TmIdxWrite(sensor);
    disk.clearFaults();
    return disk.operations();
}

} // namespace

TEST(TimeIndexFault, AtAnyOperationOfWritingGivesItsCodeAndLeavesNoStreamOpen) {
    std::size_t operations = 0;
    {
        FaultBackend disk;
        int code = -1;
        operations = writeIndex(disk, 0, Repeat::once, code);
        ASSERT_EQ(code, 0);
    }
    ASSERT_GT(operations, 3u);
    for (const Repeat repeat : {Repeat::once, Repeat::forever})
        for (std::size_t n = 1; n <= operations; ++n) {
            FaultBackend disk;
            const LogCapture log;
            int code = 0;
            writeIndex(disk, n, repeat, code);
            EXPECT_EQ(code, n == 1 ? 5000038 : 5000040) << "operation " << n;
            EXPECT_EQ(disk.openStreams(), 0);
            EXPECT_TRUE(log.lines().empty());
        }
}

TEST(TimeIndexFault, AtAnyOperationOfReadingGivesACodeOrTheIndex) {
    const Bytes whole = golden("time_index_two_sets").bytes("TmIdx");
    std::size_t operations = 4;
    for (std::size_t n = 1; n <= operations; ++n)
        for (const Repeat repeat : {Repeat::once, Repeat::forever}) {
            FaultBackend disk;
            disk.put(surveyIndex, whole);
            const LogCapture log;
            testing::internal::CaptureStdout();
            {
                Handle sensor(survey, heave, L"create");
                disk.resetCounts();
                disk.failAt(n, EIO, repeat);
                const int code = TmIdxRead(sensor);
                operations = std::max(operations, disk.operations());
                disk.clearFaults();
                EXPECT_TRUE(n == 1 ? code == 5000038 : code == 0 || code == 5000039)
                    << code << " at operation " << n;
                std::int32_t offset = 0;
                if (code == 0) {
                    EXPECT_EQ(TmIdxMapIndexToByteOffset(sensor, 513, &offset), 0);
                    EXPECT_EQ(offset, 48 + 12 * 512);
                }
            }
            testing::internal::GetCapturedStdout();
            EXPECT_EQ(disk.openStreams(), 0);
        }
    EXPECT_GT(operations, 4u);
}

TEST(TimeIndexFault, ShortReadsAndWritesChangeNothing) {
    FaultBackend disk;
    disk.put("/survey/project/vessel/day/line/x", "");
    disk.shortReads(7);
    Handle sensor(survey, heave, L"create");
    disk.put(surveyIndex, golden("time_index_two_sets").bytes("TmIdx"));
    ASSERT_EQ(TmIdxRead(sensor), 0);
    std::int32_t offset = 0;
    EXPECT_EQ(TmIdxMapIndexToByteOffset(sensor, 513, &offset), 0);
    EXPECT_EQ(offset, 48 + 12 * 512);
    disk.shortWrites(100);
    EXPECT_EQ(TmIdxWrite(sensor), 5000040) << "what is short on the disk is not reported as written";
}

TEST(TimeIndexFault, AFullDiskIs5000040) {
    FaultBackend disk;
    disk.put("/survey/project/vessel/day/line/x", "");
    Handle sensor(survey, heave, L"create");
    ASSERT_EQ(TmIdxEntry(sensor, 0), 0);
    for (const std::size_t space : {0u, 1u, 23u, 47u}) {
        disk.noSpaceAfter(space);
        EXPECT_EQ(TmIdxWrite(sensor), 5000040) << space;
        disk.clearFaults();
    }
    EXPECT_EQ(TmIdxWrite(sensor), 0);
    EXPECT_EQ(disk.bytes(surveyIndex).size(), 48u);
}
