#include "vessel/entryfactory.h"

#include <skar/vesselsensors.h>

#include <cwchar>

namespace skar::vessel {
namespace {

using Entry = std::unique_ptr<SKARVesselSensorConfig>;

template <class Kind>
Entry make() {
    long status = 0;
    return std::make_unique<Kind>(0.0, status);
}

// Loading takes the class from the file.
template <>
Entry make<SKARDepthConfig>() {
    long status = 0;
    return std::make_unique<SKARDepthConfig>(0.0, nullptr, status);
}

struct Kind {
    const wchar_t* name;
    Entry (*make)();
};

constexpr Kind kinds[] = {
    {L"NavSensor", make<SKARNavConfig>},
    {L"SideScanNavSensor", make<SKARSideScanNavConfig>},
    {L"GyroSensor", make<SKARGyroConfig>},
    {L"SideScanGyroSensor", make<SKARSideScanGyroConfig>},
    {L"HeaveSensor", make<SKARHeaveConfig>},
    {L"SideScanHeaveSensor", make<SKARSideScanHeaveConfig>},
    {L"PitchSensor", make<SKARPitchConfig>},
    {L"RollSensor", make<SKARRollConfig>},
    {L"SideScanPitchSensor", make<SKARSideScanPitchConfig>},
    {L"SideScanRollSensor", make<SKARSideScanRollConfig>},
    {L"SideScanSensor", make<SKARSideScanConfig>},
    {L"TowedSensor", make<SKARTowedSSSConfig>},
    {L"SVPSensor", make<SKARSVPConfig>},
    {L"DraftSensor", make<SKARDraftConfig>},
    {L"WaterlineHeight", make<SKARWaterlineHeight>},
    {L"DepthSensor", make<SKARDepthConfig>},
    {L"TPEConfiguration", make<SKARTPEConfig>},
};

} // namespace

Entry vesselEntryFactory(const wchar_t* kind) {
    for (const Kind& each : kinds) {
        if (kind != nullptr && std::wcscmp(each.name, kind) == 0) return each.make();
    }
    return nullptr;
}

} // namespace skar::vessel
