#include "import/tides.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace skar::import;
    const auto bytes = std::as_bytes(std::span(data, size));
    looksLikeTideTable(bytes);
    looksLikeTideDays(bytes);
    for (const auto read : {readTideTable, readTideDays}) {
        MemorySource source(bytes);
        try {
            const RawData levels = read(source);
            for (const TimedValue& record : levels[ScalarKind::tide].records)
                if (!(std::abs(record.value) <= 30.0)) __builtin_trap();
        } catch (const ImportError&) {
            // Headings without a column of levels, or of no unit.
        }
    }
    return 0;
}
