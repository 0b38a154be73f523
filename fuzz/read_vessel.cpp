#include "support/fault_backend.h"

#include <skar/vesselsensors.h>
#include <skar/vesseltmidx.h>

#include <libxml/xmlerror.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void saysNothing(void*, const char*, ...) {}

// Every kind is asked for what is in force at a time.
void ask(SKARVessel& vessel, double time) {
    const auto free = [](auto*... blocks) { (std::free(blocks), ...); };
    double* arrays[4] = {};
    wchar_t* texts[6] = {};
    int counts[2] = {};
    VesselDepthSensorTmIdxConfig(&vessel, time, nullptr, &texts[0], &counts[0], &counts[1], &arrays[0],
                                 &arrays[1], &arrays[2], &arrays[3], &texts[1], &texts[2], &texts[3], nullptr,
                                 nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &texts[4],
                                 &texts[5]);
    free(texts[0], texts[1], texts[2], texts[3], texts[4], texts[5], arrays[0], arrays[1], arrays[2],
         arrays[3]);
    int* fixed = nullptr;
    for (double*& each : arrays)
        each = nullptr;
    VesselSweepTPETmIdxConfig(&vessel, time, nullptr, &counts[0], nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, &fixed, &arrays[0], &arrays[1], &arrays[2], &arrays[3]);
    free(fixed, arrays[0], arrays[1], arrays[2], arrays[3]);
    for (double*& each : arrays)
        each = nullptr;
    VesselDraftTmIdxConfig(&vessel, time, nullptr, &counts[0], &arrays[0], &arrays[1], nullptr, nullptr,
                           nullptr);
    free(arrays[0], arrays[1]);
    double offset = 0;
    VesselGyroSensorTmIdxConfig(&vessel, time, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, &offset, nullptr, nullptr, nullptr);
}

std::size_t entriesOf(const SKARVessel& vessel) {
    std::size_t entries = 0;
    for (const auto& list : vessel.getSensors()) {
        entries += list->getCount();
    }
    return entries;
}

} // namespace

// Reads a made-up vessel file. What could be read is asked about, stored and read again: with the same
// entries in the same kinds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = [] {
        xmlSetGenericErrorFunc(nullptr, saysNothing);
        return std::freopen("/dev/null", "w", stdout) != nullptr;
    }();
    if (!quiet) return 0;
    skar::tests::FaultBackend disk;
    disk.put("/vessels/v.skv", std::string(reinterpret_cast<const char*>(data), size));
    {
        long status = -1;
        SKARVessel vessel(L"/vessels/v.skv", status);
        for (const auto& list : vessel.getSensors()) {
            for (const auto* each = list->getFirstConfig(); each != nullptr;
                 each = list->getNextConfig(each)) {
                ask(vessel, each->getTimeStamp());
            }
        }
        if (status == 0 && vessel.store() == 0) {
            long again = -1;
            const SKARVessel second(L"/vessels/v.skv", again);
            if (again != 0 || second.getSensors().count() != vessel.getSensors().count() ||
                entriesOf(second) != entriesOf(vessel)) {
                __builtin_trap();
            }
        }
    }
    if (disk.openStreams() != 0) __builtin_trap();
    return 0;
}
