#pragma once

#include "access/imagery.h"
#include "import/lineimport.h"

#include <functional>

// The imagery of a raw file into SSSSideScan, one ping in memory at a time; docs/conventions.md tells what
// stands in the numbered parameters.
namespace skar::tool {

// Neighbouring samples are averaged until the longest side fits into the store.
void fitSamples(import::ImagePing& ping);

// Calls `ofPing` behind every ping. Throws ToolError when the file is no longer what was read.
void writeImages(SideScanWriter& writer, const RawFile& file, StoreClock& clock,
                 const std::function<void()>& ofPing);

} // namespace skar::tool
