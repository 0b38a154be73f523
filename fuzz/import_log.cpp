#include "import/recorderlog.h"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skar::import::MemorySource source(std::as_bytes(std::span(data, size)));
    try {
        skar::import::readRecorderLog(source);
    } catch (const skar::import::ImportError&) {
        // A heading line of another kind is refused, and only so.
    }
    return 0;
}
