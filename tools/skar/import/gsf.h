#pragma once

#include "import/rawfile.h"

// Files in the Generic Sensor Format: records of pings with arrays by beam, attitude and sound speed
// profiles.
namespace skar::import {

bool looksLikeGsf(Bytes head);
RawData readGsf(ByteSource& source);
bool readGsfDepths(ByteSource& source, const PingPlace& place, DepthPing& ping);
bool readGsfRanges(ByteSource& source, const PingPlace& place, RangePing& ping);

} // namespace skar::import
