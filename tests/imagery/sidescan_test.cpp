#include "imagery/sidescan.h"

#include <gtest/gtest.h>

#include <random>

using namespace skar::tests;

namespace {

TEST(TowedSideScan, WhatIsWrittenIsRead) {
    const Line line;
    std::vector<SssPing> pings(20);
    for (unsigned i = 0; i < pings.size(); ++i) {
        SssPing& p = pings[i];
        p.status = i % 2 ? 0x40000001 : 1;
        p.time = 1000000000.0 + i * 0.125;
        p.p3 = 0xFFFE;
        p.p4 = static_cast<std::uint16_t>(i);
        p.p5 = 5;
        p.fishHeight = 0x8123;
        p.p7 = 0xDEADBEEF;
        p.p8 = 0x8008;
        p.p9 = -9;
        p.p10 = 0xFFF0;
        p.p11 = 11;
        p.sampleInterval = 0x80000012;
        p.p13 = -32768;
        p.p14 = 0x800E;
        p.p19 = 0xFF13;
        p.p20 = -20;
        p.p21 = 0x8015;
        p.p22 = 22;
        p.p23 = 0xFFFFFFFF;
        p.p24 = 0x8018;
        p.p25 = 0x8019;
        p.port = samples(i * 300, i);
        p.starboard = samples(2 * i, i + 50);
        if (i % 3 == 0) p.secondPort = samples(8 * i, i + 70);
        if (i % 5 == 0) p.secondStarboard = samples(10 * i, i + 90);
    }
    {
        OpenSss sss(line.path(), L"create");
        ASSERT_NE(nullptr, sss.sensor);
        ASSERT_EQ(0, SSSBgnSeqWriteSummary(sss));
        ASSERT_EQ(0, SSSBgnSeqWriteLineSegment(sss, L"a.xtf"));
        for (const SssPing& p : pings)
            ASSERT_EQ(0, writeSss(sss, p));
        ASSERT_EQ(0, SSSEndSeqWriteLineSegment(sss, 3));
        ASSERT_EQ(0, SSSEndSeqWriteSummary(sss, 2, 4));
        ASSERT_EQ(0, sss.close());
    }
    OpenSss sss(line.path(), L"query");
    ASSERT_NE(nullptr, sss.sensor);
    std::uint32_t segments = 0, count = 0, version = 0, status = 0;
    double first = 0, last = 0;
    ASSERT_EQ(0, SSSSummary(sss, &segments, &count, &first, &last, &version, &status));
    EXPECT_EQ(1u, segments);
    EXPECT_EQ(20u, count);
    EXPECT_EQ(2u, version);
    EXPECT_EQ(4u, status);
    EXPECT_EQ(1000000000.0, first);
    EXPECT_EQ(1000000002.375, last);
    for (unsigned i = 0; i < pings.size(); ++i) {
        SCOPED_TRACE(i);
        const SssRead read = readSss(sss, i + 1);
        ASSERT_EQ(0, read.code);
        EXPECT_EQ(pings[i], read.ping);
    }
    for (unsigned i = static_cast<unsigned>(pings.size()); i-- > 0;) {
        SCOPED_TRACE(i);
        const SssRead read = readSssInto(sss, i + 1);
        ASSERT_EQ(0, read.code);
        EXPECT_EQ(pings[i], read.ping);
    }
}

// A ping of so many one-byte samples a side, written and read back.
SssRead shortened(std::uint32_t port, std::uint32_t starboard, std::uint32_t interval = 1000,
                  SssCounts second = {}) {
    const Line line;
    SssPing ping;
    ping.sampleInterval = interval;
    const SssCounts given = {port, starboard, second.secondPort, second.secondStarboard};
    const std::uint32_t all[] = {port, starboard, second.secondPort, second.secondStarboard};
    std::string* const runs[] = {&ping.port, &ping.starboard, &ping.secondPort, &ping.secondStarboard};
    for (unsigned i = 0; i < 4; ++i)
        *runs[i] = samples(all[i], i + 1);
    {
        OpenSss sss(line.path(), L"create");
        EXPECT_EQ(0, writeSss(sss, ping, given));
        EXPECT_EQ(0, sss.close());
    }
    OpenSss sss(line.path(), L"query");
    SssRead read = readSss(sss, 1);
    EXPECT_EQ(0, read.code);
    // What is kept are the first samples of each side.
    EXPECT_EQ(ping.port.substr(0, read.counts.port), read.ping.port);
    EXPECT_EQ(ping.starboard.substr(0, read.counts.starboard), read.ping.starboard);
    EXPECT_EQ(ping.secondPort, read.ping.secondPort);
    EXPECT_EQ(ping.secondStarboard, read.ping.secondStarboard);
    EXPECT_EQ(44u + 68 + read.counts.port + read.counts.starboard + all[2] + all[3],
              line.bytes("SSSSideScan").size());
    return read;
}

TEST(TowedSideScan, LongPingsAreShortenedAndNotThinnedOut) {
    struct Case {
        std::uint32_t port, starboard, interval, keptPort, keptStarboard, keptInterval;
    };
    for (const Case& c : {Case{6000, 6000, 1000, 6000, 6000, 1000},
                          {6000, 0, 1000, 6000, 0, 1000},
                          {6001, 6001, 1000, 6000, 6000, 1000},
                          {7000, 100, 1000, 6999, 99, 1000},
                          {100, 7000, 1000, 99, 6999, 1000},
                          {7000, 1, 1000, 6999, 0, 1000},
                          {7000, 0, 1000, 6999, 0, 1000},
                          {11999, 11999, 999, 11998, 11998, 999},
                          {12000, 12000, 1000, 5999, 5999, 500},
                          {12000, 3, 999, 5999, 0, 499},
                          {12001, 12001, 1, 5999, 5999, 0},
                          {12002, 5, 7, 6000, 1, 3},
                          {18000, 17999, 0xFFFFFFFF, 5999, 5998, 0x55555555},
                          {400000, 66, 660, 6059, 0, 10}}) {
        SCOPED_TRACE(std::to_string(c.port) + " and " + std::to_string(c.starboard));
        const SssRead read = shortened(c.port, c.starboard, c.interval);
        EXPECT_EQ((SssCounts{c.keptPort, c.keptStarboard, 0, 0}), read.counts);
        EXPECT_EQ(c.keptInterval, read.ping.sampleInterval);
    }
}

TEST(TowedSideScan, TheSecondSamplesAreNeverShortened) {
    const SssRead read = shortened(6000, 100, 1000, {0, 0, 65535, 7000});
    EXPECT_EQ((SssCounts{6000, 100, 65535, 7000}), read.counts);
    EXPECT_EQ(1000u, read.ping.sampleInterval);
}

TEST(TowedSideScan, SecondSamplesAreWrittenWhenOneSideHasThem) {
    EXPECT_EQ((SssCounts{100, 100, 0, 9}), shortened(100, 100, 1, {0, 0, 0, 9}).counts);
    EXPECT_EQ((SssCounts{100, 100, 9, 0}), shortened(100, 100, 1, {0, 0, 9, 0}).counts);
    const SssRead none = shortened(100, 100);
    EXPECT_EQ(nullptr, none.arrays[2]);
    EXPECT_EQ(nullptr, none.arrays[3]);
}

TEST(TowedSideScan, TheSecondOutputsAreNullOnlyWithoutSecondSamples) {
    const Line line;
    {
        OpenSss sss(line.path(), L"create");
        SssPing ping;
        ping.port = "port";
        ping.secondPort = "p";
        ping.secondStarboard = "s";
        ASSERT_EQ(0, writeSss(sss, ping));
        ping.secondPort = ping.secondStarboard = "";
        ASSERT_EQ(0, writeSss(sss, ping));
    }
    OpenSss sss(line.path(), L"query");
    const SssRead both = readSss(sss, 1);
    EXPECT_EQ("p", both.ping.secondPort);
    EXPECT_EQ("s", both.ping.secondStarboard);
    const SssRead none = readSss(sss, 2);
    EXPECT_EQ("port", none.ping.port);
    EXPECT_EQ(nullptr, none.arrays[2]);
    EXPECT_EQ(nullptr, none.arrays[3]);
}

TEST(TowedSideScan, BuffersAreNeededOnlyForSamplesThatAreThere) {
    const Line line;
    OpenSss sss(line.path(), L"create");
    const auto write = [&](std::uint32_t port, std::uint32_t second, const void* bytes) {
        return SSSWriteProfile(sss, 0, 1e9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, port, 0, bytes, nullptr, 0, 0,
                               0, 0, 0, 0, 0, second, 0, nullptr, nullptr);
    };
    EXPECT_EQ(-1, write(1, 0, nullptr));
    EXPECT_EQ(-1, write(0, 1, "x"));
    EXPECT_EQ(0, write(0, 0, nullptr));
    EXPECT_EQ(0, write(1, 0, "x"));
    EXPECT_EQ(0, sss.close());
    EXPECT_EQ(44u + 68 + 68 + 1, line.bytes("SSSSideScan").size());
}

TEST(TowedSideScan, CountsWithoutRoomAreRefusedAndNothingIsWritten) {
    const Line line;
    const std::string many(65536, 'x');
    SssPing ping;
    ping.secondPort = many;
    OpenSss sss(line.path(), L"create");
    EXPECT_EQ(5002122, writeSss(sss, ping));
    ping.secondPort = "";
    ping.secondStarboard = many;
    EXPECT_EQ(5002122, writeSss(sss, ping));
    ping.secondStarboard = "last";
    EXPECT_EQ(0, writeSss(sss, ping));
    EXPECT_EQ(0, sss.close());
    EXPECT_EQ(44u + 68 + 4, line.bytes("SSSSideScan").size());
    EXPECT_EQ(1u, wordAt(line.bytes("SSSSideScan"), 20));
    EXPECT_EQ(0, OpenSss(line.path(), L"query").code);
}

TEST(TowedSideScan, TheCallersBuffersGetWhatTheyAreWantedFor) {
    const Line line;
    SssPing ping;
    ping.status = 0x40000000;
    ping.port = samples(9000, 1);
    ping.starboard = samples(8002, 2);
    ping.secondPort = samples(4, 3);
    ping.secondStarboard = samples(10000, 4);
    SssPing next = ping;
    next.port = samples(20, 5);
    {
        OpenSss sss(line.path(), L"create");
        ASSERT_EQ(0, writeSss(sss, ping));
        ASSERT_EQ(0, writeSss(sss, next));
    }
    OpenSss sss(line.path(), L"query");
    for (unsigned wanted = 0; wanted < 16; ++wanted) {
        SssPing expected = ping;
        if (!(wanted & 1)) expected.port.clear();
        if (!(wanted & 2)) expected.starboard.clear();
        if (!(wanted & 4)) expected.secondPort.clear();
        if (!(wanted & 8)) expected.secondStarboard.clear();
        const SssRead read = readSssInto(sss, 1, wanted);
        EXPECT_EQ(0, read.code) << wanted;
        EXPECT_EQ(expected, read.ping) << wanted;
        EXPECT_EQ((SssCounts{4500, 4001, 2, 5000}), read.counts) << wanted;
        EXPECT_EQ(next, readSssInto(sss, 2).ping);
    }
}

TEST(TowedSideScan, SamplesBelongToTheHandleUntilTheNextRead) {
    const Line line;
    SssPing large, small;
    large.port = samples(5000, 1);
    small.port = samples(10, 2);
    {
        OpenSss sss(line.path(), L"create");
        ASSERT_EQ(0, writeSss(sss, small));
        ASSERT_EQ(0, writeSss(sss, large));
    }
    OpenSss sss(line.path(), L"query");
    ASSERT_EQ(0, readSss(sss, 2).code);
    const SssRead first = readSss(sss, 1);
    const SssRead second = readSssInto(sss, 2);
    EXPECT_EQ(large, second.ping);
    EXPECT_EQ(small.port, std::string(static_cast<char*>(first.arrays[0]), 10))
        << "a read into buffers leaves it";
    EXPECT_EQ(first.arrays[0], readSss(sss, 2).arrays[0]) << "room only grows";
}

TEST(TowedSideScan, ChangesTakeTheirWordAndLeaveTheRest) {
    const Line line;
    const std::string before = [&] {
        OpenSss sss(line.path(), L"create");
        SssPing ping;
        ping.p5 = 0xAAAA;
        ping.fishHeight = 0xBBBB;
        ping.status = 1;
        ping.sampleInterval = 5;
        ping.port = "samples";
        EXPECT_EQ(0, writeSss(sss, ping));
        EXPECT_EQ(0, writeSss(sss, ping));
        EXPECT_EQ(0, sss.close());
        return line.bytes("SSSSideScan");
    }();
    constexpr std::size_t second = 44 + 68 + 7;
    OpenSss sss(line.path(), L"update");
    ASSERT_NE(nullptr, sss.sensor);
    std::string expected = withWord(before, second, 0x80000009);
    EXPECT_EQ(0, SSSUpdateStatus(sss, 2, 0x80000009));
    EXPECT_EQ(hex(expected), hex(line.bytes("SSSSideScan"))) << "on disk at once";
    expected = withWord(expected, second + 12, 0xAAAA0123);
    EXPECT_EQ(0, SSSUpdateFishHeight(sss, 2, 0x0123));
    EXPECT_EQ(hex(expected), hex(line.bytes("SSSSideScan")));
    expected = withWord(expected, second + 32, 0xFEDCBA98);
    EXPECT_EQ(0, SSSUpdateSampleInterval(sss, 2, 0xFEDCBA98));
    EXPECT_EQ(hex(expected), hex(line.bytes("SSSSideScan")));
    expected = withWord(expected, 44 + 12, 0xAAAAFFFF);
    EXPECT_EQ(0, SSSUpdateFishHeight(sss, 1, 0xFFFF));
    EXPECT_EQ(0, sss.close());
    EXPECT_EQ(hex(expected), hex(line.bytes("SSSSideScan")));
}

TEST(TowedSideScan, AStatusOfAnotherWidthMakesThePingReadWrong) {
    const Line line;
    SssPing ping;
    ping.port = "abcd";
    {
        OpenSss sss(line.path(), L"create");
        ASSERT_EQ(0, writeSss(sss, ping));
        ASSERT_EQ(0, writeSss(sss, ping));
    }
    {
        OpenSss sss(line.path(), L"update");
        ASSERT_EQ(0, SSSUpdateStatus(sss, 1, 0x40000000));
        ASSERT_EQ(0, SSSUpdateStatus(sss, 2, 0x40000000));
    }
    OpenSss sss(line.path(), L"query");
    const SssRead first = readSss(sss, 1);
    EXPECT_EQ(0, first.code);
    EXPECT_EQ("abcd", first.ping.port.substr(0, 4));
    EXPECT_EQ(8u, first.ping.port.size()) << "four bytes of the next ping";
    EXPECT_EQ(5002125, readSss(sss, 2).code) << "the file has not that many";
}

TEST(TowedSideScan, AnIndexThatPointsIntoTheHeadOfTheFileIsNotWrittenThrough) {
    const Line line;
    {
        OpenSss sss(line.path(), L"create");
        ASSERT_EQ(0, writeSss(sss, SssPing{}));
    }
    line.patch("SSSSideScanTmIdx", 44, 16);
    const std::string before = line.bytes("SSSSideScan");
    OpenSss sss(line.path(), L"update");
    ASSERT_NE(nullptr, sss.sensor);
    EXPECT_EQ(5002108, SSSUpdateStatus(sss, 1, 5));
    EXPECT_EQ(before, line.bytes("SSSSideScan"));
}

// More pings than a set of the index takes, of every length, read in every order by both readers.
TEST(TowedSideScan, ManyPingsOfAnyLengthAreFoundInAnyOrder) {
    constexpr unsigned seed = 20240607;
    SCOPED_TRACE(seed);
    std::mt19937 generator(seed);
    const auto upTo = [&](std::uint32_t most) {
        return std::uniform_int_distribution<std::uint32_t>(0, most)(generator);
    };
    const Line line;
    std::vector<SssPing> pings(1100);
    {
        OpenSss sss(line.path(), L"create");
        for (SssPing& p : pings) {
            p.status = upTo(1) << 30 | upTo(0xFFFF);
            p.time = 1e9 + upTo(100000) * 0.125;
            p.p11 = upTo(0xFFFFFFFF);
            const std::uint32_t most = upTo(20) == 0 ? 6000 : 300;
            for (std::string* side : {&p.port, &p.starboard})
                *side = samples(upTo(most) * p.width(), upTo(1000));
            if (upTo(3) == 0) p.secondPort = samples(upTo(9000) * p.width(), upTo(1000));
            if (upTo(3) == 0) p.secondStarboard = samples(upTo(most) * p.width(), upTo(1000));
            ASSERT_EQ(0, writeSss(sss, p));
        }
        ASSERT_EQ(0, sss.close());
    }
    OpenSss sss(line.path(), L"query");
    ASSERT_NE(nullptr, sss.sensor);
    std::uint32_t next = 1;
    for (int i = 0; i < 1500; ++i) {
        if (upTo(2) == 0) next = 1 + upTo(1099);
        const SssRead read = upTo(1) ? readSss(sss, next) : readSssInto(sss, next);
        ASSERT_EQ(0, read.code) << next;
        ASSERT_TRUE(pings[next - 1] == read.ping) << next;
        next = next % 1100 + 1;
    }
}

} // namespace
