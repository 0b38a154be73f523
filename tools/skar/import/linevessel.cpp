#include "import/linevessel.h"

#include "codetext.h"
#include "commands/command.h"

#include <skar/paths.h>
#include <skar/vesselsensors.h>

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace skar::tool {

namespace {

namespace fs = std::filesystem;
using import::Installation;
using import::MotionSensor;
using import::Mounting;
using import::SonarArray;

// Null for an empty text, which the entry does not have then.
const wchar_t* textOrNull(const std::wstring& text) {
    return text.empty() ? nullptr : text.c_str();
}

std::string motionText(const MotionSensor& sensor) {
    return fmt::format("Motion sensor {}, mounted at heading {:.3f} deg", sensor.number,
                       sensor.mounting.heading);
}

// What the sounder has applied already is not to be applied again, so no entry asks for it.
class VesselWriter {
public:
    void add(double time, const Installation& now) {
        if (now.sonar && now.sonar != before_.sonar) addSonar(time, *now.sonar);
        if (now.antenna && now.antenna != before_.antenna) {
            auto entry = make<SKARNavConfig>(time);
            entry->setPositionOffsets(now.antenna->x, now.antenna->y, now.antenna->z);
            setLatency(*entry, now.antenna->delay);
            if (!now.antenna->datum.empty()) entry->setEllipseName(wideText(now.antenna->datum).c_str());
            comment(*entry, fmt::format("Position system {}", now.antenna->system));
            put(std::move(entry));
        }
        if (now.headingOffset && now.headingOffset != before_.headingOffset) {
            auto entry = make<SKARGyroConfig>(time);
            entry->setGyroOffset(0.0, *now.headingOffset);
            put(std::move(entry));
        }
        if (now.attitude && now.attitude != before_.attitude) {
            auto pitch = make<SKARPitchConfig>(time);
            pitch->setPitchOffset(now.attitude->mounting.pitch);
            auto roll = make<SKARRollConfig>(time);
            roll->setRollOffset(now.attitude->mounting.roll);
            setLatency(*pitch, now.attitude->delay);
            setLatency(*roll, now.attitude->delay);
            comment(*pitch, motionText(*now.attitude));
            comment(*roll, motionText(*now.attitude));
            put(std::move(pitch));
            put(std::move(roll));
        }
        if (now.heave && now.heave != before_.heave) {
            const Mounting& place = now.heave->mounting;
            auto entry = make<SKARHeaveConfig>(time);
            entry->setPositionOffsets(place.x, place.y, place.z);
            setLatency(*entry, now.heave->delay);
            comment(*entry, motionText(*now.heave));
            put(std::move(entry));
        }
        if (now.waterLine && now.waterLine != before_.waterLine) {
            auto entry = make<SKARWaterlineHeight>(time);
            entry->setWaterLine(*now.waterLine);
            put(std::move(entry));
        }
        before_ = now;
    }

    std::size_t entries() const { return entries_; }

    void store(const fs::path& file) {
        vessel_.setFileName(linePath(file.string()).store.c_str(), false);
        if (const long status = vessel_.store(); status != 0) {
            throw ToolError(fmt::format("{}: the vessel file cannot be written, {}", printable(file.string()),
                                        codeText(static_cast<int>(status))));
        }
    }

private:
    template <class Config>
    static std::unique_ptr<Config> make(double time) {
        long status = 0;
        return std::make_unique<Config>(time, status);
    }

    // The latency that the file gets is that of the class; that of the base is kept in step.
    template <class Config>
    static void setLatency(Config& entry, double seconds) {
        entry.setLatency(seconds);
        entry.SKARVesselSensorConfig::setLatency(seconds);
    }

    static void comment(SKARVesselSensorConfig& entry, const std::string& text) {
        entry.setComment(wideText(text).c_str());
    }

    void addSonar(double time, const import::Sonar& sonar) {
        long status = 0;
        auto depth = std::make_unique<SKARDepthConfig>(time, L"Swath", status);
        std::uint32_t number = 0;
        for (const SonarArray& array : sonar.receivers) {
            const Mounting& place = array.mounting;
            SKARTransducerConfig transducer(++number, array.firstBeam, false);
            transducer.setPositionOffset(place.x, place.y, place.z);
            transducer.setMountAngle(place.pitch, place.roll, place.heading);
            transducer.setManufacturer(textOrNull(wideText(sonar.manufacturer)));
            transducer.setModel(textOrNull(wideText(sonar.model)));
            transducer.setSerialNumber(textOrNull(wideText(array.serial)));
            depth->addTransducer(transducer);
        }
        put(std::move(depth));

        auto sound = make<SKARSVPConfig>(time);
        bool second = false;
        std::vector<std::string> serials;
        for (const SonarArray& array : sonar.transmitters) {
            const Mounting& place = array.mounting;
            sound->setPositionOffsets(place.x, place.y, place.z, second);
            sound->setMountAngle(place.pitch, place.roll, place.heading, second);
            if (!array.serial.empty()) serials.push_back(array.serial);
            second = true;
        }
        if (!serials.empty())
            comment(*sound, fmt::format("Transmitting, serial number {}", fmt::join(serials, ", ")));
        put(std::move(sound));
    }

    // Of two datagrams within one second the first one stays.
    void put(std::unique_ptr<SKARVesselSensorConfig> entry) {
        MORVAType<SKARVesselSensorConfig> handle(std::move(entry));
        if (vessel_.addSensor(handle) == 0) ++entries_;
    }

    SKARVessel vessel_;
    Installation before_;
    std::size_t entries_ = 0;
};

bool isThere(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

} // namespace

fs::path vesselFileOf(const LinePath& line) {
    std::string path = narrowText(
        SKARIOUtils::getVesselFileName(MORVAPP::MORVAUString(line.store.c_str())).toWide().c_str());
    std::ranges::replace(path, '\\', '/');
    return path;
}

std::optional<ImportedVessel> importVessel(const LinePath& line, std::span<const RawFile> files) {
    std::vector<const import::TimedInstallation*> all;
    ImportedVessel vessel{vesselFileOf(line), false, 0, {}};
    for (const RawFile& file : files) {
        for (const import::TimedInstallation& each : file.data.installations)
            all.push_back(&each);
        if (!file.data.installations.empty())
            vessel.origin += (vessel.origin.empty() ? "" : ", ") + file.name;
    }
    if (all.empty()) return std::nullopt;
    if (isThere(vessel.file)) return vessel;
    std::ranges::stable_sort(all, {}, &import::TimedInstallation::time);
    StoreClock clock;
    VesselWriter writer;
    for (const import::TimedInstallation* each : all)
        writer.add(clock.seconds(each->time - each->time % import::microsPerSecond), each->installation);
    std::error_code error;
    fs::create_directories(vessel.file.parent_path(), error);
    if (error) {
        throw ToolError(fmt::format("{}: cannot be made: {}", printable(vessel.file.parent_path().string()),
                                    error.message()));
    }
    writer.store(vessel.file);
    vessel.isNew = true;
    vessel.entries = writer.entries();
    return vessel;
}

} // namespace skar::tool
