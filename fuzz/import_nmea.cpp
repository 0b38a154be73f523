#include "import/nmea.h"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skar::import::MemorySource source(std::as_bytes(std::span(data, size)));
    skar::import::readNmea(source);
    return 0;
}
