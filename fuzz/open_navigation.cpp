#include "open_set.h"

#include <skar/navigation.h>
#include <skar/paths.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skar::fuzz::openSet(data, size, "Navigation", NavigationOpenDir, [](_TELD_Sensor* sensor) {
        constexpr std::uint32_t most = 1000;
        double time = 0.0;
        std::array<double, 4> v{};
        std::uint32_t status = 0;
        for (std::uint32_t n = 0;
             n < most && NavigationReadSeq(sensor, &time, &v[0], &v[1], &v[2], &status) == 0; ++n) {
        }
        for (std::uint32_t n = 0; n <= std::min(sensor->numRecords, most); ++n)
            NavigationRead(sensor, n, &time, &v[0], &v[1], &v[2], &status);
        for (std::uint32_t n = 0; n <= std::min(sensor->numLineSegments, most) + 1; ++n) {
            wchar_t* name = nullptr;
            std::uint32_t index = 0;
            NavigationLineSegment(sensor, n, &name, &index, &index, &time, &time, &v[0], &v[1], &v[2], &v[3],
                                  &status);
            SKARIO_free(name);
        }
        if (sensor->accessType == TELD_UPDATE) {
            NavigationSetRecordStatus(sensor, 1, 5);
            NavigationSaveStatusToDisk(sensor);
            NavigationSetSourceFileName(sensor, L"renamed");
        }
        NavigationClose(sensor);
    });
    return 0;
}
