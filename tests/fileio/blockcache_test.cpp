#include "fileio/blockcache.h"
#include "fileio/handle.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/codes.h>
#include <skar/sensor.h>
#include <skar/tpe.h>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace skar::tests;
using namespace skar::fileio;

namespace {

constexpr std::size_t firstRecord = 88;

std::uint32_t beamsOf(std::uint32_t profile) {
    return profile % 5; // from no beam at all to four
}

// An uncertainty file of that many profiles on an in-memory disk, written through the library; its layout is
// proved by the golden bytes elsewhere.
class TpeLine {
public:
    explicit TpeLine(std::uint32_t profiles) {
        unsetenv("SkarIOCacheSize");
        SKARIO_Init(0);
        disk.put("/survey/p/v/d/l/keep", "");
        std::uint32_t code = 0;
        _TELD_Sensor* sensor = TPEOpenDir(path.c_str(), L"create", &code);
        EXPECT_EQ(0u, code);
        for (std::uint32_t n = 1; n <= profiles; ++n) {
            EXPECT_EQ(0, TPEBgnSeqWriteProfile(sensor, beamsOf(n), n, 60.0 + n, n, n << 16));
            for (std::uint32_t b = 0; b < beamsOf(n); ++b)
                EXPECT_EQ(0, TPESeqWrite(sensor, 60.0 + n + 0.125 * b, n, b, b << 16));
        }
        EXPECT_EQ(0, TPEClose(sensor));
    }
    FaultBackend disk;
    const std::wstring path = L"/survey/p/v/d/l";
    const std::string file = "/survey/p/v/d/l/TPE";
};

struct Opened {
    _TELD_Sensor* sensor = nullptr;
    explicit Opened(const TpeLine& line, std::int32_t cacheSize = 0, const wchar_t* token = L"query") {
        std::uint32_t code = 0;
        sensor = TPEOpenDir(line.path.c_str(), token, &code);
        EXPECT_EQ(0u, code);
        EXPECT_EQ(0, initialiseCacheSize(sensor, cacheSize));
    }
    ~Opened() { TPEClose(sensor); }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    BlockCache* cache() const { return cacheOf(*sensor); }
};

std::pair<std::uint32_t, std::uint32_t> held(const BlockCache* cache) {
    std::uint32_t first = 99;
    std::uint32_t last = 99;
    getStartEndRecordNumber(cache, &first, &last);
    return {first, last};
}
using Range = std::pair<std::uint32_t, std::uint32_t>;

std::size_t recordSize(std::uint32_t profile) {
    return 16 + 12 * beamsOf(profile);
}
std::size_t recordOffset(std::uint32_t profile) {
    std::size_t at = firstRecord;
    for (std::uint32_t n = 1; n < profile; ++n)
        at += recordSize(n);
    return at;
}
// The whole of the current record, one byte at a time.
std::string rest(BlockCache* cache) {
    std::string bytes;
    for (char each = 0; BlockIOFread(cache, &each, 1);)
        bytes.push_back(each);
    return bytes;
}

TEST(BlockCacheOff, GivesOneAndTouchesNothing) {
    const TpeLine line(3);
    for (const std::int32_t size : {0, -1, -2147483647}) {
        const Opened file(line, size);
        EXPECT_EQ(nullptr, file.cache());
    }
    std::uint32_t word = 0x12345678;
    EXPECT_EQ(0u, getCacheSize(nullptr));
    EXPECT_EQ(1, readRecord(nullptr, 1));
    EXPECT_EQ(1, readRecordSeq(nullptr));
    EXPECT_EQ(0, BlockIOFread(nullptr, &word, 4));
    EXPECT_EQ(0, setByteOffset(nullptr, 0, 0));
    EXPECT_EQ((Range{0, 0}), held(nullptr));
    setCacheSize(nullptr, 3);
    clearBuffer(nullptr);
    destroy(nullptr);
    EXPECT_EQ(0x12345678u, word);
    EXPECT_EQ(0, initialiseCacheSize(nullptr, 3));

    const Opened file(line, 2);
    ASSERT_EQ(0, readRecord(file.cache(), 1));
    setCacheSize(file.cache(), 0);
    EXPECT_EQ(0u, getCacheSize(file.cache()));
    EXPECT_EQ(1, readRecord(file.cache(), 1));
    EXPECT_EQ(1, readRecordSeq(file.cache()));
    EXPECT_EQ(0, BlockIOFread(file.cache(), &word, 4));
    EXPECT_EQ(0, setByteOffset(file.cache(), 0, 0));
    EXPECT_EQ((Range{0, 0}), held(file.cache()));
    setCacheSize(file.cache(), -5);
    EXPECT_EQ(0u, getCacheSize(file.cache()));
    setCacheSize(file.cache(), 3);
    EXPECT_EQ(3u, getCacheSize(file.cache()));
    EXPECT_EQ(0, readRecord(file.cache(), 1));
    EXPECT_EQ((Range{1, 3}), held(file.cache()));
}

TEST(BlockCacheRecords, AreTheBytesOfTheFileForEverySizeOfBlock) {
    const TpeLine line(10);
    const std::string bytes = line.disk.bytes(line.file);
    for (const std::int32_t size : {1, 2, 3, 7, 10, 11, 1000, 2147483647}) {
        const Opened file(line, size);
        EXPECT_EQ(static_cast<std::uint32_t>(size), getCacheSize(file.cache()));
        for (const std::uint32_t n : {1u, 2u, 3u, 10u, 9u, 1u, 10u, 4u}) {
            ASSERT_EQ(0, readRecord(file.cache(), n)) << size << ' ' << n;
            EXPECT_EQ(hex(bytes.substr(recordOffset(n), recordSize(n))), hex(rest(file.cache()))) << n;
        }
    }
}

TEST(BlockCacheRecords, FormBlocksFromTheRecordAskedFor) {
    const TpeLine line(10);
    const Opened file(line, 4);
    EXPECT_EQ((Range{0, 0}), held(file.cache()));
    ASSERT_EQ(0, readRecord(file.cache(), 3));
    EXPECT_EQ((Range{3, 6}), held(file.cache()));
    ASSERT_EQ(0, readRecord(file.cache(), 6));
    EXPECT_EQ((Range{3, 6}), held(file.cache()));
    ASSERT_EQ(0, readRecordSeq(file.cache()));
    EXPECT_EQ((Range{7, 10}), held(file.cache()));
    ASSERT_EQ(0, readRecord(file.cache(), 9));
    ASSERT_EQ(0, readRecord(file.cache(), 2));
    EXPECT_EQ((Range{2, 5}), held(file.cache()));
    ASSERT_EQ(0, readRecord(file.cache(), 8));
    EXPECT_EQ((Range{8, 10}), held(file.cache()));
    EXPECT_EQ(static_cast<std::int64_t>(line.disk.bytes(line.file).size() - recordOffset(8)),
              file.cache()->blockBytes);
    getStartEndRecordNumber(file.cache(), nullptr, nullptr);
    clearBuffer(file.cache());
    EXPECT_EQ((Range{0, 0}), held(file.cache()));
    char byte = 0;
    EXPECT_EQ(0, BlockIOFread(file.cache(), &byte, 1));
    EXPECT_EQ(0, setByteOffset(file.cache(), 0, 0));
}

TEST(BlockCacheRecords, OfBlocksOfOneAreMeasuredByTheNextOffsetOrTheEndOfTheFile) {
    const TpeLine line(4);
    const Opened file(line, 1);
    for (std::uint32_t n = 1; n <= 4; ++n) {
        ASSERT_EQ(0, readRecord(file.cache(), n));
        EXPECT_EQ((Range{n, n}), held(file.cache()));
        EXPECT_EQ(static_cast<std::int64_t>(recordSize(n)), file.cache()->sizes[0]);
    }
}

TEST(BlockCacheRecords, TheLastOneReachesToTheEndOfTheFile) {
    TpeLine line(3);
    line.disk.put(line.file, line.disk.bytes(line.file) + "spare bytes");
    for (const std::int32_t size : {1, 2, 7}) {
        const Opened file(line, size);
        ASSERT_EQ(0, readRecord(file.cache(), 3));
        EXPECT_EQ(recordSize(3) + 11, rest(file.cache()).size());
        ASSERT_EQ(0, readRecord(file.cache(), 2));
        EXPECT_EQ(recordSize(2), rest(file.cache()).size());
    }
}

TEST(BlockCacheRecords, ThatAreNotThereGiveTheCodesOfTheIndexAndKeepTheCurrentOne) {
    const TpeLine line(3);
    const Opened file(line, 2);
    EXPECT_EQ(5000036, readRecord(file.cache(), 0));
    ASSERT_EQ(0, readRecord(file.cache(), 2));
    EXPECT_EQ(5000036, readRecord(file.cache(), 0));
    EXPECT_EQ(recordSize(2), rest(file.cache()).size());
    EXPECT_EQ(5000037, readRecord(file.cache(), 4));
    EXPECT_EQ(5000037, readRecord(file.cache(), 0xFFFFFFFF));
    ASSERT_EQ(0, readRecordSeq(file.cache()));
    EXPECT_EQ(recordSize(3), rest(file.cache()).size());
    EXPECT_EQ(5000037, readRecordSeq(file.cache()));
}

TEST(BlockCacheRecords, InOrderBeginWithTheFirst) {
    const TpeLine line(5);
    const Opened file(line, 2);
    for (std::uint32_t n = 1; n <= 5; ++n) {
        ASSERT_EQ(0, readRecordSeq(file.cache()));
        EXPECT_EQ(recordSize(n), rest(file.cache()).size());
    }
    EXPECT_EQ(5000037, readRecordSeq(file.cache()));
}

TEST(BlockCacheBytes, BeyondTheRecordAreRefusedAndNothingMoves) {
    const TpeLine line(3);
    const Opened file(line, 3);
    ASSERT_EQ(0, readRecord(file.cache(), 1)); // 28 bytes
    std::array<char, 64> bytes{};
    EXPECT_EQ(1, BlockIOFread(file.cache(), bytes.data(), 16));
    EXPECT_EQ(0, BlockIOFread(file.cache(), bytes.data(), 13));
    EXPECT_EQ(0, BlockIOFread(file.cache(), bytes.data(), static_cast<std::size_t>(-1)));
    EXPECT_EQ(1, BlockIOFread(file.cache(), bytes.data(), 12));
    EXPECT_EQ(0, BlockIOFread(file.cache(), bytes.data(), 1));
    EXPECT_EQ(1, BlockIOFread(file.cache(), bytes.data(), 0));
}

TEST(BlockCacheOffsets, ReachTheLastByteOfTheRecordAndNoFurther) {
    const TpeLine line(3);
    const Opened file(line, 3);
    const std::string all = line.disk.bytes(line.file);
    ASSERT_EQ(0, readRecord(file.cache(), 2)); // 40 bytes
    char byte = 0;
    EXPECT_EQ(0, setByteOffset(file.cache(), 40, 0));
    EXPECT_EQ(1, setByteOffset(file.cache(), 39, 0));
    EXPECT_EQ(1, BlockIOFread(file.cache(), &byte, 1));
    EXPECT_EQ(all[recordOffset(2) + 39], byte);
    EXPECT_EQ(0, setByteOffset(file.cache(), 0, 1));
    EXPECT_EQ(1, setByteOffset(file.cache(), 4, 0));
    EXPECT_EQ(1, setByteOffset(file.cache(), 3, 1));
    EXPECT_EQ(1, BlockIOFread(file.cache(), &byte, 1));
    EXPECT_EQ(all[recordOffset(2) + 7], byte);
    EXPECT_EQ(1, setByteOffset(file.cache(), 31, 1));
    EXPECT_EQ(0, setByteOffset(file.cache(), 1, 1));
    EXPECT_EQ(0, setByteOffset(file.cache(), 0xFFFFFFFF, 1));
    EXPECT_EQ(1, BlockIOFread(file.cache(), &byte, 1));
}

TEST(BlockCacheBlocks, AreOneReadEach) {
    TpeLine line(40);
    const Opened file(line, 10);
    ASSERT_EQ(0, readRecord(file.cache(), 1));
    line.disk.resetCounts();
    for (std::uint32_t n = 2; n <= 10; ++n)
        ASSERT_EQ(0, readRecord(file.cache(), n));
    EXPECT_EQ(0u, line.disk.operations(Op::read));
    for (std::uint32_t n = 11; n <= 20; ++n)
        ASSERT_EQ(0, readRecord(file.cache(), n));
    EXPECT_LE(line.disk.operations(Op::read), 2u);
}

TEST(BlockCacheBlocks, LargerThanTheFirstBufferAreHeldWhole) {
    unsetenv("SkarIOCacheSize");
    SKARIO_Init(0);
    const Line line;
    std::uint32_t code = 0;
    _TELD_Sensor* sensor = TPEOpenDir(line.path().c_str(), L"create", &code);
    for (std::uint32_t n = 1; n <= 4; ++n) {
        ASSERT_EQ(0, TPEBgnSeqWriteProfile(sensor, 5000, 1, 60.0 + n, n, 0));
        for (std::uint32_t b = 0; b < 5000; ++b)
            ASSERT_EQ(0, TPESeqWrite(sensor, 60.0 + n, b * 0.5, n, 0));
    }
    ASSERT_EQ(0, TPEClose(sensor));
    sensor = TPEOpenDir(line.path().c_str(), L"query", &code);
    ASSERT_NE(nullptr, sensor);
    ASSERT_EQ(0, initialiseCacheSize(sensor, 4));
    for (const std::uint32_t n : {4u, 1u, 3u}) {
        double tpe1 = 0, tpe2 = 0;
        ASSERT_EQ(0, TPERead(sensor, n, 5000, nullptr, &tpe1, &tpe2, nullptr));
        EXPECT_EQ(2499.5, tpe1);
        EXPECT_EQ(n, tpe2);
    }
    EXPECT_EQ((Range{1, 4}), held(cacheOf(*sensor)));
    EXPECT_GE(cacheOf(*sensor)->buffer.size(), 4u * (16 + 12 * 5000));
    EXPECT_EQ(0, TPEClose(sensor));
}

TEST(BlockCacheBlocks, ThatCannotBeReadWholeAreNotKept) {
    TpeLine line(3000);
    const Opened file(line, 10);
    line.disk.resetCounts();
    line.disk.failAt(Op::read, 1, EIO, Repeat::forever);
    EXPECT_EQ(1, readRecord(file.cache(), 2900));
    EXPECT_EQ((Range{0, 0}), held(file.cache()));
    line.disk.clearFaults();
    EXPECT_EQ(0, readRecord(file.cache(), 2900));
}

TEST(BlockCacheBlocks, ACacheIsReplacedByTheNextOne) {
    const TpeLine line(3);
    const Opened file(line, 2);
    ASSERT_EQ(0, readRecord(file.cache(), 1));
    ASSERT_EQ(0, initialiseCacheSize(file.sensor, 3));
    EXPECT_EQ((Range{0, 0}), held(file.cache()));
    EXPECT_EQ(3u, getCacheSize(file.cache()));
}

TEST(BlockCacheSize, ComesFromTheEnvironment) {
    const std::pair<const char*, std::int32_t> rows[] = {{"", 0},
                                                         {"0", 0},
                                                         {"-4", 0},
                                                         {"12", 12},
                                                         {" 7x", 7},
                                                         {"words", 0},
                                                         {"99999999999999999999", 2147483647}};
    for (const auto& [text, size] : rows) {
        setenv("SkarIOCacheSize", text, 1);
        EXPECT_EQ(size, cacheSizeFromEnvironment()) << text;
    }
    unsetenv("SkarIOCacheSize");
    EXPECT_EQ(0, cacheSizeFromEnvironment());
}

// Any order of calls gives the same values and codes whatever the size of the block.
std::string transcript(const TpeLine& line, std::int32_t cacheSize, unsigned seed) {
    const LogCapture log;
    const Opened file(line, cacheSize);
    std::mt19937 random(seed);
    const auto below = [&](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
    std::ostringstream text;
    for (int i = 0; i < 400; ++i) {
        double time = 0, tpe1 = 0, tpe2 = 0;
        std::uint32_t beams = 0, start = 0, tag = 0, status = 0;
        int code = 0;
        const std::uint32_t profile = below(27);
        switch (below(6)) {
        case 0:
            code = TPERead(file.sensor, profile, profile + below(5), &time, &tpe1, &tpe2, &status);
            break;
        case 1:
            code = TPEReadProfile(file.sensor, profile, &beams, &start, &time, &tag, &status);
            break;
        case 2:
            code = TPEReadProfileSeq(file.sensor, &beams, &start, &time, &tag, &status);
            break;
        default:
            code = TPEReadSeq(file.sensor, &time, &tpe1, &tpe2, &status);
            break;
        }
        text << i << ": " << code << ' ' << time << ' ' << tpe1 << ' ' << tpe2 << ' ' << beams << ' ' << start
             << ' ' << tag << ' ' << status << '\n';
    }
    for (const Logged& each : log.lines())
        text << each;
    return text.str();
}

TEST(BlockCacheOnAndOff, GiveTheSameValuesForEveryOrderOfCalls) {
    const TpeLine line(23);
    for (unsigned seed = 1; seed <= 25; ++seed) {
        const std::string wanted = transcript(line, 0, seed);
        for (const std::int32_t size : {1, 2, 7, 1000})
            ASSERT_EQ(wanted, transcript(line, size, seed)) << "seed " << seed << ", size " << size;
    }
}

TEST(BlockCacheOnAndOff, GiveTheSameValuesOnFilesCutAnywhereInTheLastBlock) {
    TpeLine line(8);
    const std::string whole = line.disk.bytes(line.file);
    for (std::size_t size = recordOffset(7); size < whole.size(); ++size) {
        line.disk.put(line.file, whole.substr(0, size));
        const std::string wanted = transcript(line, 0, 5);
        for (const std::int32_t block : {1, 2, 7, 1000})
            ASSERT_EQ(wanted, transcript(line, block, 5)) << "bytes " << size << ", size " << block;
    }
}

TEST(BlockCacheOnAndOff, GiveTheSameValuesWhereTheIndexLies) {
    TpeLine line(8);
    const std::string index = line.disk.bytes("/survey/p/v/d/l/TPETmIdx");
    for (const std::uint32_t word : {0u, 16u, 88u, 100u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        for (std::uint32_t entry = 0; entry < 8; ++entry) {
            line.disk.put("/survey/p/v/d/l/TPETmIdx", withWord(index, 44 + 8 * entry, word));
            const std::string wanted = transcript(line, 0, 6);
            for (const std::int32_t block : {1, 2, 7, 1000})
                ASSERT_EQ(wanted, transcript(line, block, 6)) << "offset " << word << " of " << entry;
        }
}

} // namespace
