#include "raw_bytes.h"

#include "import/kongsbergswath.h"

#include <gtest/gtest.h>

#include <bit>

using namespace skar::import;
using namespace skar::test;

namespace {

std::uint32_t word(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

// The content of an XYZ 88 datagram that claims that many beams and holds two.
RawBytes twoDepths(unsigned claimed) {
    RawBytes content;
    content.u16(27'000).u16(14'997).u32(word(4.5F)).u16(claimed).u16(1).u32(word(1000.0F)).zeros(4);
    content.u32(word(10.25F)).u32(word(-7.5F)).u32(word(0.5F)).u16(9).u8(3).u8(0).u8(1).u8(0).i16(-200);
    content.u32(word(11.0F)).u32(word(8.0F)).u32(word(-0.5F)).u16(9).u8(3).u8(0).u8(0x81).u8(0xFF).i16(-200);
    return content.zeros(1);
}

// A raw range and angle datagram of one sector and one beam that claims those numbers.
RawBytes oneRange(unsigned sectors, unsigned beams) {
    RawBytes content;
    content.u16(15'012).u16(sectors).u16(beams).u16(1).u32(word(1000.0F)).u32(0);
    content.i16(-150).zeros(6).u32(word(0.002F)).zeros(12);
    content.i16(5850).u8(0).u8(0x80).zeros(4).u32(word(0.125F)).i16(-200).u8(0xFE).zeros(1);
    return content.zeros(1);
}

template <typename Swath>
bool decoded(char type, const RawBytes& content, Swath& swath) {
    RawBytes file = datagram(type, someDate, 0, content);
    MemorySource source(file.bytes());
    Problems problems;
    KongsbergFrames frames(source, problems);
    KongsbergFrame frame;
    return frames.next(frame) && decode(frame, swath);
}

} // namespace

TEST(KongsbergSwath, DepthBeamsCarryOffsetsDetectionAndCleaning) {
    KongsbergDepths depths;
    ASSERT_TRUE(decoded('X', twoDepths(2), depths));
    EXPECT_EQ(depths.heading, 27'000);
    EXPECT_EQ(depths.soundSpeed, 14'997);
    EXPECT_EQ(depths.transducerDepth, 4.5F);
    ASSERT_EQ(depths.beams.size(), 2U);
    EXPECT_EQ(depths.beams[0].z, 10.25F);
    EXPECT_EQ(depths.beams[0].y, -7.5F);
    EXPECT_EQ(depths.beams[0].x, 0.5F);
    EXPECT_TRUE(depths.beams[0].valid());
    EXPECT_FALSE(depths.beams[0].cleanedOut());
    EXPECT_EQ(depths.beams[1].y, 8.0F);
    EXPECT_FALSE(depths.beams[1].valid());
    EXPECT_TRUE(depths.beams[1].cleanedOut());
}

TEST(KongsbergSwath, MoreDepthBeamsThanTheDatagramHoldsAreRefused) {
    KongsbergDepths depths;
    EXPECT_FALSE(decoded('X', twoDepths(3), depths));
    EXPECT_FALSE(decoded('X', twoDepths(65535), depths));
    EXPECT_FALSE(decoded('X', RawBytes().zeros(19), depths));
}

TEST(KongsbergSwath, RangeBeamsCarryTimeAngleAndSector) {
    KongsbergRanges ranges;
    ASSERT_TRUE(decoded('N', oneRange(1, 1), ranges));
    EXPECT_EQ(ranges.soundSpeed, 15'012);
    ASSERT_EQ(ranges.sectors.size(), 1U);
    EXPECT_EQ(ranges.sectors[0].tilt, -150);
    EXPECT_EQ(ranges.sectors[0].delay, 0.002F);
    ASSERT_EQ(ranges.beams.size(), 1U);
    EXPECT_EQ(ranges.beams[0].angle, 5850);
    EXPECT_EQ(ranges.beams[0].travelTime, 0.125F);
    EXPECT_FALSE(ranges.beams[0].valid());
    EXPECT_TRUE(ranges.beams[0].cleanedOut());
}

TEST(KongsbergSwath, MoreSectorsOrRangeBeamsThanTheDatagramHoldsAreRefused) {
    KongsbergRanges ranges;
    EXPECT_FALSE(decoded('N', oneRange(2, 1), ranges));
    EXPECT_FALSE(decoded('N', oneRange(1, 2), ranges));
    EXPECT_FALSE(decoded('N', oneRange(65535, 65535), ranges));
}
