#include "import/gsf.h"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skar::import::MemorySource source(std::as_bytes(std::span(data, size)));
    const skar::import::RawData file = skar::import::readGsf(source);
    skar::import::DepthPing depths;
    for (const skar::import::PingPlace& place : file.depthPings.records)
        skar::import::readGsfDepths(source, place, depths);
    skar::import::RangePing ranges;
    for (const skar::import::PingPlace& place : file.rangePings.records)
        skar::import::readGsfRanges(source, place, ranges);
    return 0;
}
