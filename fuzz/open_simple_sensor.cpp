#include "open_set.h"

#include <skar/paths.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skar::fuzz::openSet(data, size, "Tide", TideOpenDir, [](_TELD_Sensor* sensor) {
        constexpr std::uint32_t most = 1000;
        double time = 0.0;
        double value = 0.0;
        std::uint32_t status = 0;
        for (std::uint32_t n = 0; n < most && TideReadSeq(sensor, &time, &value, &status) == 0; ++n) {
        }
        for (std::uint32_t n = 0; n <= std::min(sensor->numRecords, most); ++n)
            TideRead(sensor, n, &time, &value, &status);
        for (std::uint32_t n = 0; n <= std::min(sensor->numLineSegments, most) + 1; ++n) {
            wchar_t* name = nullptr;
            std::uint32_t index = 0;
            TideLineSegment(sensor, n, &name, &index, &index, &time, &time, &value, &value, &status);
            SKARIO_free(name);
        }
        if (sensor->accessType == TELD_UPDATE) {
            TideSetRecordStatus(sensor, 1, 5);
            TideSaveStatusToDisk(sensor);
        }
        TideClose(sensor);
    });
    return 0;
}
