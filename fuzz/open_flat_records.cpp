#include "open_set.h"

#include <skar/eventmark.h>
#include <skar/paths.h>
#include <skar/sensorparameters.h>
#include <skar/ssp.h>

namespace {

constexpr std::uint32_t most = 1000;

// Calls `read` with the numbers of all records, and of those on either side of them.
template <class Read>
void everyNumber(std::uint32_t count, Read read) {
    for (std::uint32_t n = 0; n <= std::min(count, most); ++n)
        read(n);
    for (const std::uint32_t n : {count, count + 1, 0xFFFFFFFFu})
        read(n);
}

void readSsp(_TELD_Sensor* sensor) {
    SKAR::IO::SSP::Record r;
    for (std::uint32_t n = 0; n < most && SspReadSeq(sensor, &r.time, &r.value1, &r.value2, &r.status) == 0;
         ++n) {
    }
    everyNumber(sensor->numRecords,
                [&](std::uint32_t n) { SspRead(sensor, n, &r.time, &r.value1, &r.value2, &r.status); });
    everyNumber(sensor->numLineSegments, [&](std::uint32_t n) {
        wchar_t* name = nullptr;
        std::uint32_t index = 0;
        SspLineSegment(sensor, n, &name, &index, &index, &r.time, &r.time, &r.value1, &r.value1, &r.status);
        SKARIO_free(name);
    });
    SspSetRecordStatus(sensor, 1, 5);
    SspSaveStatusToDisk(sensor);
    SspClose(sensor);
}

void readMarks(_TELD_Sensor* sensor) {
    std::uint32_t number = 0;
    std::uint32_t status = 0;
    double time = 0.0;
    wchar_t text[SKAR_EVENT_MARK_TEXT];
    for (std::uint32_t n = 0; n < most && EMReadSeq(sensor, &number, &time, text, &status) == 0; ++n) {
    }
    everyNumber(sensor->numRecords,
                [&](std::uint32_t n) { EMRead(sensor, n, &number, &time, text, &status); });
    EMSetRecordStatus(sensor, 1, 5);
    EMSaveStatusToDisk(sensor);
    EMClose(sensor);
}

void readParameters(_TELD_Sensor* sensor) {
    std::uint32_t status = 0;
    double time = 0.0;
    for (std::uint32_t n = 0; n < most && SensorParametersReadSeq(sensor, &time, &status) == 0; ++n) {
    }
    everyNumber(sensor->numRecords, [&](std::uint32_t n) {
        std::uint32_t p = 0;
        double c = 0.0;
        SensorParametersRead(sensor, n, &time, &status);
        SensorParametersDecodeReson8100_V1(sensor, &time, &status, &p, &p, &p, &p, &p, &c, &p, &p, &p, &p, &p,
                                           &p, &p, &p, &p, &c, &c, &p, &p, &c, &c, &c, &c, &p, &p);
    });
    SensorParametersUpdateStatus(sensor, 1, 5);
    SensorParametersSaveStatusToDisk(sensor);
    SensorParametersClose(sensor);
}

} // namespace

// The sensor type in the files says which of the three it is; the others refuse it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skar::fuzz::openSet(data, size, "SSP", SspOpenDir, readSsp);
    skar::fuzz::openSet(data, size, "EventMark", EMOpenDir, readMarks);
    skar::fuzz::openSet(
        data, size, "SensorParameters",
        [](const wchar_t* line, const wchar_t* token, std::uint32_t* code) {
            return SensorParametersOpenDir(line, token, 1, code);
        },
        readParameters);
    return 0;
}
