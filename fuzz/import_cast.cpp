#include "import/cast.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skar::import::MemorySource source(std::as_bytes(std::span(data, size)));
    try {
        const auto file = skar::import::readCastFile(source);
        if (!file) return 0;
        for (const skar::import::Cast& cast : file->casts) {
            double deepest = -1.0;
            for (const auto& sample : skar::import::wayDown(cast).samples) {
                if (!(sample.depth > deepest) || !isInWater(sample)) __builtin_trap();
                deepest = sample.depth;
            }
        }
    } catch (const skar::import::ImportError&) {
        // A file of a known layout that lacks what makes a cast of it.
    }
    return 0;
}
