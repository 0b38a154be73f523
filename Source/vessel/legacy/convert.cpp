#include "vessel/legacy/convert.h"

#include "vessel/fields.h"
#include "xml/nodes.h"

#include <skar/codes.h>
#include <skar/vesselsensors.h>

#include <algorithm>
#include <unordered_set>
#include <vector>

namespace skar::vessel::legacy {
namespace {

using Handle = MORVAType<SKARVesselSensorConfig>;

// Calls a setter with a cleaned text, unless that is empty.
template <class Setter>
void give(const char* text, Setter set) {
    const std::string_view clean = cleaned(text);
    if (!clean.empty()) set(xml::wideOf(clean).c_str());
}

template <class Config>
void setEquipment(Config& config, const EquipmentTexts& texts) {
    give(texts.manufacturer, [&](const wchar_t* text) { config.setManufacturer(text); });
    give(texts.model, [&](const wchar_t* text) { config.setModel(text); });
    give(texts.serialNumber, [&](const wchar_t* text) { config.setSerialNumber(text); });
}

template <class Config>
void setPosition(Config& config, const Offsets& offsets) {
    config.setPositionOffsets(offsets.x, offsets.y, offsets.z);
}

SKARTransducerConfig transducer(const DepthEntry& entry, std::uint32_t number, std::uint32_t startBeam,
                                const Offsets& position, double latency) {
    SKARTransducerConfig made(number, startBeam, false);
    made.setPositionOffset(position.x, position.y, position.z);
    made.setLatency(latency);
    setEquipment(made, entry.equipment);
    return made;
}

void fill(SKARDepthConfig& config, const DepthEntry& entry) {
    if (isSweep(entry)) {
        config.setNavigationToBoomOffset(0, 0, 0);
        config.setMRUToBoomOffset(0, 0, 0);
        for (std::uint32_t beam = 1; beam <= entry.numberOfBeams; ++beam) {
            const std::size_t row = beam - 1;
            const Offsets position = {entry.sweepBeamOffsetX[row], entry.sweepBeamOffsetY[row],
                                      entry.sweepBeamOffsetZ[row]};
            SKARTransducerConfig made = transducer(entry, beam, beam, position, entry.latency);
            made.setSweepTPEParameters(true, 0, 0, 100, 100);
            config.addTransducer(made);
        }
        return;
    }
    SKARTransducerConfig first = transducer(entry, 1, entry.startBeam, entry.position, entry.latency);
    first.setMountAngle(entry.mount.pitch, entry.mount.roll, entry.mount.azimuth);
    config.addTransducer(first);
    if (entry.startBeam2 != 0) {
        SKARTransducerConfig second = transducer(entry, 2, entry.startBeam2, entry.position2, entry.latency2);
        second.setMountAngle(entry.mount2.pitch, entry.mount2.roll, entry.mount2.azimuth);
        config.addTransducer(second);
    }
}

void fill(SKARTowedSSSConfig& config, const TowedEntry& entry) {
    setEquipment(config, entry.equipment);
    config.setLatency(entry.latency);
    setPosition(config, entry.position);
    config.setLaybackOffset(entry.layback);
}

void fill(SKARDraftConfig& config, const DraftEntry& entry) {
    std::vector<SKARDraftConfig::vesselDraft> rows;
    rows.reserve(entry.rows);
    for (std::size_t row = 0; row < entry.rows; ++row)
        rows.push_back({entry.vesselSpeed[row], entry.vesselDraft[row]});
    setDrafts(config, std::move(rows));
    config.setApplyFlag(entry.apply);
}

void fill(SKARNavConfig& config, const NavigationEntry& entry) {
    setEquipment(config, entry.equipment);
    give(entry.ellipse, [&](const wchar_t* text) { config.setEllipseName(text); });
    config.setLatency(entry.latency);
    setPosition(config, entry.position);
}

void fill(SKARWaterlineHeight& config, const WaterlineEntry& entry) {
    config.setWaterLine(entry.height);
    config.setApplyFlag(entry.apply);
}

// Both heads, whether or not the text has anything on the second: the entry becomes one of a dual head.
void fill(SKARSVPConfig& config, const SoundVelocityEntry& entry) {
    config.setPositionOffsets(entry.position.x, entry.position.y, entry.position.z, false);
    config.setPositionOffsets(entry.position2.x, entry.position2.y, entry.position2.z, true);
    config.setMountAngle(entry.mount.pitch, entry.mount.roll, entry.mount.azimuth, false);
    config.setMountAngle(entry.mount2.pitch, entry.mount2.roll, entry.mount2.azimuth, true);
}

void fill(SKARHeaveConfig& config, const HeaveEntry& entry) {
    setEquipment(config, entry.equipment);
    config.setLatency(entry.latency);
    setPosition(config, entry.position);
    config.setHeaveOffset(entry.offset);
    config.setApplyFlag(entry.apply);
}

void setAngleOffset(SKARGyroConfig& config, double offset) {
    config.setGyroOffset(offset);
}

void setAngleOffset(SKARPitchConfig& config, double offset) {
    config.setPitchOffset(offset);
}

void setAngleOffset(SKARRollConfig& config, double offset) {
    config.setRollOffset(offset);
}

template <class Config>
void fill(Config& config, const AngleEntry& entry) {
    setEquipment(config, entry.equipment);
    config.setLatency(entry.latency);
    setAngleOffset(config, entry.offset);
    config.setApplyFlag(entry.apply);
}

template <class Config, class Entry>
std::unique_ptr<Config> make(const Entry& entry, long& status) {
    if constexpr (std::is_same_v<Config, SKARDepthConfig>) {
        const std::wstring sensorClass = xml::wideOf(cleaned(entry.sensorClass));
        return std::make_unique<Config>(entry.time, sensorClass.c_str(), status);
    } else {
        return std::make_unique<Config>(entry.time, status);
    }
}

// Entries up to the first whose time is taken are added in the order of time, in which a list takes each in
// one step, however the file has them. That first one gets its code from the vessel.
long addInOrder(std::vector<Handle>& entries, const SKARVesselSensorList* before, SKARVessel& vessel) {
    std::unordered_set<double> taken;
    if (before != nullptr) {
        const SKARVesselSensorConfig* each = before->getFirstConfig();
        for (; each != nullptr; each = before->getNextConfig(each))
            taken.insert(each->getTimeStamp());
    }
    const auto repeated = std::find_if(entries.begin(), entries.end(), [&taken](const Handle& entry) {
        return !taken.insert(entry->getTimeStamp()).second;
    });
    std::sort(entries.begin(), repeated, [](const Handle& left, const Handle& right) {
        return left->getTimeStamp() < right->getTimeStamp();
    });
    const auto end = repeated == entries.end() ? repeated : repeated + 1;
    for (auto entry = entries.begin(); entry != end; ++entry) {
        if (const long result = vessel.addSensor(*entry); result != 0) return result;
    }
    return 0;
}

template <class Config, class Entry>
long addList(const Entry* entry, SKARVessel& vessel) {
    std::vector<Handle> made;
    for (; entry != nullptr; entry = entry->next) {
        long status = 0;
        std::unique_ptr<Config> config = make<Config>(*entry, status);
        if (status != 0) return status;
        fill(*config, *entry);
        give(entry->remarks.comment, [&](const wchar_t* text) { config->setComment(text); });
        give(entry->remarks.authorization, [&](const wchar_t* text) { config->setAuthorization(text); });
        made.emplace_back(std::move(config));
    }
    return addInOrder(made, vessel.getSensorList(typeid(Config)), vessel);
}

} // namespace

std::string_view cleaned(const char* text) noexcept {
    constexpr const char* ends = " \"\t\n";
    std::string_view clean = text == nullptr ? std::string_view() : std::string_view(text);
    clean.remove_prefix(std::min(clean.find_first_not_of(ends), clean.size()));
    return clean.substr(0, clean.find_last_not_of(ends) + 1);
}

// The parser asks as well: nothing here may throw.
bool isSweep(const DepthEntry& entry) noexcept {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(cleaned(entry.sensorClass), std::string_view("sweep"), {}, lower);
}

long convert(const Tree& tree, std::string_view text, SKARVessel& vessel) {
    if (tree == nullptr) return codes::vesselImportUnreadable;
    if (tree->navigation == nullptr) return codes::vesselImportNoNavigation;
    long result = addList<SKARDepthConfig>(tree->depth, vessel);
    if (result == 0) result = addList<SKARTowedSSSConfig>(tree->towed, vessel);
    if (result == 0) result = addList<SKARDraftConfig>(tree->draft, vessel);
    if (result == 0) result = addList<SKARNavConfig>(tree->navigation, vessel);
    if (result == 0) result = addList<SKARWaterlineHeight>(tree->waterline, vessel);
    if (result == 0) result = addList<SKARSVPConfig>(tree->soundVelocity, vessel);
    if (result == 0) result = addList<SKARGyroConfig>(tree->gyro, vessel);
    if (result == 0) result = addList<SKARHeaveConfig>(tree->heave, vessel);
    if (result == 0) result = addList<SKARPitchConfig>(tree->pitch, vessel);
    if (result == 0) result = addList<SKARRollConfig>(tree->roll, vessel);
    if (result != 0) return result;
    if (std::optional<SKARVesselShape> shape = readOutline(text)) vessel.setVesselShape(*shape);
    return 0;
}

} // namespace skar::vessel::legacy
