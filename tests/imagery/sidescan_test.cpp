#include "imagery/sidescan.h"

#include <gtest/gtest.h>

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

} // namespace
