#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

// A vessel of the text form as the parser finds it. Texts stand as they do in the file, with their quotes;
// null for one that is not given. Every block in the tree comes from an allocator whose blocks std::free
// takes.
namespace skar::vessel::legacy {

struct Offsets {
    double x = 0;
    double y = 0;
    double z = 0;
};

struct Angles {
    double pitch = 0;
    double roll = 0;
    double azimuth = 0;
};

struct EquipmentTexts {
    char* manufacturer = nullptr;
    char* model = nullptr;
    char* serialNumber = nullptr;
};

struct Remarks {
    char* comment = nullptr;
    char* authorization = nullptr;
};

struct DepthEntry {
    double time = 0;
    char* sensorClass = nullptr;
    std::uint32_t numberOfBeams = 0;
    std::uint32_t startBeam = 1;
    // 0 without a second head.
    std::uint32_t startBeam2 = 0;
    EquipmentTexts equipment;
    Offsets position;
    Offsets position2;
    Angles mount;
    Angles mount2;
    double latency = 0;
    double latency2 = 0;
    // One element per beam, as many as there are rows.
    std::size_t rows = 0;
    bool* beamDisabled = nullptr;
    double* sweepBeamOffsetX = nullptr;
    double* sweepBeamOffsetY = nullptr;
    double* sweepBeamOffsetZ = nullptr;
    Remarks remarks;
    DepthEntry* next = nullptr;
};

// Gyro, pitch and roll.
struct AngleEntry {
    double time = 0;
    EquipmentTexts equipment;
    double latency = 0;
    double offset = 0;
    bool apply = false;
    Remarks remarks;
    AngleEntry* next = nullptr;
};

struct HeaveEntry {
    double time = 0;
    EquipmentTexts equipment;
    double latency = 0;
    Offsets position;
    double offset = 0;
    bool apply = false;
    Remarks remarks;
    HeaveEntry* next = nullptr;
};

struct NavigationEntry {
    double time = 0;
    EquipmentTexts equipment;
    char* ellipse = nullptr;
    double latency = 0;
    Offsets position;
    Remarks remarks;
    NavigationEntry* next = nullptr;
};

struct DraftEntry {
    double time = 0;
    std::size_t rows = 0;
    double* vesselSpeed = nullptr;
    double* vesselDraft = nullptr;
    bool apply = false;
    Remarks remarks;
    DraftEntry* next = nullptr;
};

struct SoundVelocityEntry {
    double time = 0;
    Offsets position;
    Offsets position2;
    Angles mount;
    Angles mount2;
    Remarks remarks;
    SoundVelocityEntry* next = nullptr;
};

struct WaterlineEntry {
    double time = 0;
    double height = 0;
    bool apply = false;
    Remarks remarks;
    WaterlineEntry* next = nullptr;
};

struct TowedEntry {
    double time = 0;
    EquipmentTexts equipment;
    double latency = 0;
    Offsets position;
    double layback = 0;
    Remarks remarks;
    TowedEntry* next = nullptr;
};

struct _vesselConfig {
    DepthEntry* depth = nullptr;
    AngleEntry* gyro = nullptr;
    HeaveEntry* heave = nullptr;
    NavigationEntry* navigation = nullptr;
    AngleEntry* pitch = nullptr;
    AngleEntry* roll = nullptr;
    DraftEntry* draft = nullptr;
    SoundVelocityEntry* soundVelocity = nullptr;
    WaterlineEntry* waterline = nullptr;
    TowedEntry* towed = nullptr;
};

using Tree = std::shared_ptr<_vesselConfig>;

// An owner that frees the record and all that hangs from it.
Tree ownTree(_vesselConfig* tree);

} // namespace skar::vessel::legacy
