#include "support/fault_backend.h"

#include <skar/observeddepths.h>
#include <skar/processeddepths.h>
#include <skar/sensor.h>
#include <skar/slantrange.h>
#include <skar/tpe.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

// Opens the file sets of the profile families from made-up bytes, reads them in every way and updates them in
// place. An input is a byte that picks family, access and block cache, then data file, segments and index,
// each behind its length in two bytes, big-endian.
namespace {

using skar::tests::FaultBackend;

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}
    std::size_t byte() {
        if (rest_.empty()) return 0;
        const auto value = static_cast<unsigned char>(rest_.front());
        rest_.remove_prefix(1);
        return value;
    }
    std::string_view part() {
        const std::size_t high = byte();
        const std::size_t stated = high << 8 | byte();
        const std::string_view taken = rest_.substr(0, stated);
        rest_.remove_prefix(taken.size());
        return taken;
    }

private:
    std::string_view rest_;
};

constexpr std::uint32_t profiles[] = {0, 1, 2, 3, 513, 0x7FFFFFFF, 0xFFFFFFFF};
constexpr std::uint32_t beams[] = {0, 1, 2, 20, 65535, 131069, 0xFFFFFFFF};

struct Values {
    double d[5];
    std::uint32_t u[4];
};

void readObserved(_TELD_Sensor* sensor) {
    Values v{};
    for (const std::uint32_t profile : profiles) {
        ObservedDepthsReadProfile(sensor, profile, &v.u[0], &v.u[1], &v.d[0], &v.d[1], &v.d[2], &v.u[2]);
        for (const std::uint32_t beam : beams) {
            ObservedDepthsRead(sensor, profile, beam, &v.d[0], &v.d[1], &v.d[2], &v.d[3], &v.d[4], &v.u[0]);
            ObservedDepthsUpdateRejectionStatus(sensor, profile, beam, 0x80000000);
            ObservedDepthsUpdateDepthStatus(sensor, profile, beam, 12.5, 0x00010000);
        }
        try {
            SKAR::IO::ObservedDepths::Profile all;
            SKAR::IO::ObservedDepths::ReadProfile(*sensor, static_cast<int>(profile), all, true);
        } catch (const std::exception&) {
            // A read that was refused; the next one goes on.
        }
    }
    try {
        for (int i = 0; i < 1000; ++i)
            if (ObservedDepthsReadProfileSeq(sensor, &v.u[0], &v.u[1], &v.d[0], &v.d[1], &v.d[2], &v.u[2]) !=
                    0 ||
                ObservedDepthsReadSeq(sensor, &v.d[0], &v.d[1], &v.d[2], &v.d[3], &v.d[4], &v.u[3]) != 0)
                break;
    } catch (const std::exception&) {
        // The end of the file.
    }
    ObservedDepthsSaveStatusToDisk(sensor);
}

void readSlantRanges(_TELD_Sensor* sensor) {
    Values v{};
    for (const std::uint32_t profile : profiles) {
        SLRangeReadProfile(sensor, profile, &v.u[0], &v.u[1], &v.d[0], &v.d[1], &v.d[2], &v.u[2]);
        for (const std::uint32_t beam : beams) {
            SLRangeRead(sensor, profile, beam, &v.d[0], &v.d[1], &v.d[2], &v.d[3], &v.d[4], &v.u[0]);
            SLRangeUpdateStatus(sensor, profile, beam, 0x00010000);
        }
        try {
            SKAR::IO::SlantRange::Profile all;
            SKAR::IO::SlantRange::ReadProfile(*sensor, static_cast<int>(profile), all, true);
        } catch (const std::exception&) {
            // A read that was refused; the next one goes on.
        }
    }
    for (int i = 0; i < 1000; ++i)
        if (SLRangeReadProfileSeq(sensor, &v.u[0], &v.u[1], &v.d[0], &v.d[1], &v.d[2], &v.u[2]) != 0 ||
            SLRangeReadSeq(sensor, &v.d[0], &v.d[1], &v.d[2], &v.d[3], &v.d[4], &v.u[3]) != 0)
            break;
    SLRangeSetSourceFileName(sensor, L"fuzzed");
}

void readUncertainties(_TELD_Sensor* sensor) {
    Values v{};
    for (const std::uint32_t profile : profiles) {
        TPEReadProfile(sensor, profile, &v.u[0], &v.u[1], &v.d[0], &v.u[2], &v.u[3]);
        for (const std::uint32_t beam : beams)
            TPERead(sensor, profile, beam, &v.d[0], &v.d[1], &v.d[2], &v.u[0]);
        try {
            SKAR::IO::TPU::Profile all;
            SKAR::IO::TPU::ReadProfile(*sensor, profile, all, true);
        } catch (const std::exception&) {
            // A read that was refused; the next one goes on.
        }
    }
    for (int i = 0; i < 1000; ++i)
        if (TPEReadProfileSeq(sensor, &v.u[0], &v.u[1], &v.d[0], &v.u[2], &v.u[3]) != 0 ||
            TPEReadSeq(sensor, &v.d[0], &v.d[1], &v.d[2], &v.u[0]) != 0)
            break;
}

void readProcessed(_TELD_Sensor* sensor) {
    Values v{};
    double d[14] = {};
    try {
        for (const std::uint32_t profile : profiles) {
            ProcessedDepthsReadProfile(sensor, profile, &v.u[0], &v.u[1], &d[0], &d[1], &d[2], &d[3], &d[4],
                                       &d[5], &d[6], &d[7], &d[8], &d[9], &d[10], &d[11], &d[12], &d[13],
                                       nullptr, &v.u[2]);
            for (const std::uint32_t beam : beams) {
                ProcessedDepthsRead(sensor, profile, beam, &d[0], &d[1], &d[2], &d[3], &d[4], &d[5], &d[6],
                                    &v.u[0]);
                ProcessedDepthsUpdateRejectionStatus(sensor, profile, beam, 0x80000000);
                const double depth = 12.5;
                ProcessedDepthsUpdateXYZStatus(sensor, profile, beam, nullptr, nullptr, &depth, nullptr);
            }
            double latitudes[8], longitudes[8], depths[8];
            std::uint32_t statuses[8], numbers[8], error = 0;
            pdReadProfileDepths(sensor, profile, latitudes, longitudes, depths, statuses, numbers, 8, &error);
        }
    } catch (const std::exception&) {
        // A read that was refused.
    }
    try {
        std::vector<SKAR::IO::ProcessedDepths::PD_Profile> all;
        SKAR::IO::ProcessedDepths::ProcessedDepthsReadProfiles(sensor, 1, 100, all);
        for (int i = 0; i < 1000; ++i)
            if (ProcessedDepthsReadProfileSeq(sensor, &v.u[0], &v.u[1], &d[0], &d[1], &d[2], &d[3], &d[4],
                                              &d[5], &d[6], &d[7], &d[8], &d[9], &d[10], &d[11], &d[12],
                                              &d[13], nullptr, &v.u[2]) != 0 ||
                ProcessedDepthsReadSeq(sensor, &d[0], &d[1], &d[2], &d[3], &d[4], &d[5], &d[6], &v.u[3]) != 0)
                break;
    } catch (const std::exception&) {
        // The end of the file.
    }
    ProcessedDepthsUpdateSummaryStatus(sensor);
    ProcessedDepthsSaveStatusToDisk(sensor);
}

struct Family {
    const char* name;
    _TELD_Sensor* (*open)(const wchar_t*, const wchar_t*, std::uint32_t*);
    int (*close)(_TELD_Sensor*);
    void (*read)(_TELD_Sensor*);
};
constexpr Family families[] = {
    {"SLRange", SLRangeOpenDir, SLRangeClose, readSlantRanges},
    {"TPE", TPEOpenDir, TPEClose, readUncertainties},
    {"ObservedDepths", ObservedDepthsOpenDir, ObservedDepthsClose, readObserved},
    {"ProcessedDepths", ProcessedDepthsOpenDir, ProcessedDepthsClose, readProcessed}};
constexpr const char* cacheSizes[] = {"0", "1", "7", "1000"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SKARIO_Init(0);
    Input input(data, size);
    const std::size_t choice = input.byte();
    const Family& family = families[choice % 4];
    setenv("SkarIOCacheSize", cacheSizes[choice / 8 % 4], 1);
    FaultBackend disk;
    const std::string path = std::string("/survey/p/v/d/l/") + family.name;
    for (const char* side : {"", "LineSegments", "TmIdx"})
        disk.put(path + side, input.part());
    std::uint32_t code = 0;
    if (_TELD_Sensor* sensor =
            family.open(L"/survey/p/v/d/l", choice / 4 % 2 == 0 ? L"query" : L"update", &code)) {
        family.read(sensor);
        family.close(sensor);
    }
    if (disk.openStreams() != 0) std::abort();
    return 0;
}
