#pragma once

#include "import/lineimport.h"
#include "openset.h"

#include <functional>
#include <optional>

// The pings of a raw file into the sensors of a line, one ping in memory at a time. A ping's status is the
// number of its head, and a bit where the file has no position for it; docs/conventions.md has the rest.
namespace skar::tool {

// The ship at a ping whose beams can be placed on the earth.
std::optional<import::PositionFix> placedShip(const import::RawData& data, const import::PingPlace& ping);

// Each calls `ofPing` behind every ping. Throws ToolError when the file is no longer what was read.
void writeDepths(OpenSet& set, const RawFile& file, StoreClock& clock, const std::function<void()>& ofPing);
// Longitudes go on from that of `first`.
void writePlacedDepths(OpenSet& set, const RawFile& file, const import::PositionFix& first, StoreClock& clock,
                       const std::function<void()>& ofPing);
void writeRanges(OpenSet& set, const RawFile& file, StoreClock& clock, const std::function<void()>& ofPing);
void writeUncertainties(OpenSet& set, const RawFile& file, StoreClock& clock,
                        const std::function<void()>& ofPing);

} // namespace skar::tool
