#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// How the sensors stand on the vessel, as a raw file states it: metres in the vessel's frame, x to starboard,
// y forward, z down from the reference point; angles in degrees with the signs of the file, delays in
// seconds. What the file does not state is missing.
namespace skar::import {

struct Mounting {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double pitch = 0.0;
    double roll = 0.0;
    double heading = 0.0;
    bool operator==(const Mounting&) const = default;
};

// An array that receives or transmits; of a head that does both it stands for both.
struct SonarArray {
    Mounting mounting;
    std::string serial;
    std::uint32_t firstBeam = 1; // in the swath of all heads
    bool operator==(const SonarArray&) const = default;
};

struct Sonar {
    std::string manufacturer;
    std::string model;
    std::vector<SonarArray> receivers; // one for each head
    std::vector<SonarArray> transmitters;
    bool operator==(const Sonar&) const = default;
};

struct Antenna {
    int system = 0; // from 1
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double delay = 0.0;
    std::string datum;
    bool operator==(const Antenna&) const = default;
};

struct MotionSensor {
    int number = 0; // from 1
    Mounting mounting;
    double delay = 0.0;
    bool operator==(const MotionSensor&) const = default;
};

struct Installation {
    std::optional<Sonar> sonar;
    std::optional<Antenna> antenna;       // of the active positions
    std::optional<MotionSensor> attitude; // that roll and pitch come from
    std::optional<MotionSensor> heave;    // that heave comes from
    std::optional<double> headingOffset;
    std::optional<double> waterLine;
    bool operator==(const Installation&) const = default;
};

} // namespace skar::import
