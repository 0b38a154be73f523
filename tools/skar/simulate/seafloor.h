#pragma once

#include <cstdint>
#include <vector>

namespace skar::tool {

// A sea floor that is the same for the same seed: a slope, sand waves that wander, roughness, and a wreck
// with the scour that the current has dug around it. Metres in the plane of the first survey line: along it
// from the first position, and to starboard of it.
class SeaFloor {
public:
    // depth: below the datum, where the first line starts. The wreck lies beside the middle of a line that
    // long.
    SeaFloor(std::uint64_t seed, double depth, double lineLength);

    double depth(double along, double starboard) const;
    // Height of the wreck above the floor around it.
    double wreck(double along, double starboard) const;

private:
    struct Ripple {
        double amplitude = 0.0;
        double alongNumber = 0.0; // radians per metre
        double starboardNumber = 0.0;
        double phase = 0.0;
    };
    double depth_;
    double slopeAlong_;
    double slopeStarboard_;
    double waveHeight_;
    double waveNumber_;
    std::vector<Ripple> ripples_;
    bool hasWreck_;
    double wreckAlong_;
    double wreckStarboard_;
    double wreckCosine_;
    double wreckSine_;
};

} // namespace skar::tool
