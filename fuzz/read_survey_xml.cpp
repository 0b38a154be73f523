#include "support/fault_backend.h"

#include <skar/installation.h>
#include <skar/project.h>
#include <skar/smoothing.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The small XML files of a survey: installation, smoothing, accuracy standards and projects.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skar::tests::FaultBackend disk;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    for (const char* name : {"InstallationParameter.xml", "smoothCoefficients", "tables.xml", "registry.xml"})
        disk.put(std::string("/vessel/") + name, bytes);

    std::vector<std::vector<double>> transducers;
    if (ReadTransducerOffsetsFromXMLFile(L"/vessel", transducers) && transducers.size() > 6) __builtin_trap();
    int system = 0;
    ReadAntPositionFromXMLFile(L"/vessel", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, &system);
    getWaterlineFromXML(L"/vessel");
    for (const auto read : {SKARIOUtils::GetS44Values, SKARIOUtils::GetS57Values}) {
        long status = 1;
        read(L"/vessel/tables.xml", status);
        if (status == 1) __builtin_trap();
    }

    long status = 1;
    if (SmoothingCoefficients* list = GetAllSmoothingCoefficents(L"/vessel", &status)) {
        if (status != 0) __builtin_trap();
        if (SaveSmoothingCoefficents(L"/vessel", list) == 0) __builtin_trap();
        FreeSmoothingCoefficients(list);
        list = GetAllSmoothingCoefficents(L"/vessel", &status);
        if (list == nullptr) __builtin_trap();
        FreeSmoothingCoefficients(list);
    }

    SKAR::Project::PathRegistry registry(MORVAUString("/vessel/registry.xml"));
    if (registry.load() == 0 && !registry.getPaths().empty()) {
        const auto before = registry.getPaths();
        if (registry.save(nullptr) < 0) __builtin_trap();
        if (registry.load() != 0 || registry.getPaths() != before) __builtin_trap();
    }
    if (disk.openStreams() != 0) __builtin_trap();
    return 0;
}
