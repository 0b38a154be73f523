#include "simulate/seafloor.h"

#include "simulate/waves.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace skar::tool {

namespace {

using std::numbers::pi;

constexpr std::uint32_t floorPurpose = 30;
constexpr double wreckLength = 62.0;
constexpr double wreckBeam = 11.0;
constexpr double wreckHeight = 5.5;

// 1 inside, 0 outside, a steep flank between.
double inside(double place, double halfWidth, double flank) {
    return std::clamp((halfWidth - std::abs(place)) / flank + 0.5, 0.0, 1.0);
}

} // namespace

SeaFloor::SeaFloor(std::uint64_t seed, double depth, double lineLength) : depth_(depth) {
    Dice dice(seed, floorPurpose);
    slopeAlong_ = dice.between(-0.004, 0.004);
    slopeStarboard_ = dice.between(-0.02, 0.02);
    // Sand waves grow with the water above them.
    waveHeight_ = std::min(0.05 * depth, 3.0);
    waveNumber_ = 2.0 * pi / (waveHeight_ * 40.0);
    constexpr int count = 6;
    for (int i = 0; i < count; ++i) {
        const double length = depth * 0.12 * std::pow(12.0, i / (count - 1.0));
        const double direction = dice.between(0.0, 2.0 * pi);
        ripples_.push_back({0.004 * length, 2.0 * pi / length * std::cos(direction),
                            2.0 * pi / length * std::sin(direction), dice.between(0.0, 2.0 * pi)});
    }
    hasWreck_ = lineLength > 5.0 * wreckLength;
    wreckAlong_ = lineLength * dice.between(0.45, 0.55);
    wreckStarboard_ = depth * dice.between(0.35, 0.6);
    const double heading = dice.between(0.1, 0.9) * pi;
    wreckCosine_ = std::cos(heading);
    wreckSine_ = std::sin(heading);
}

double SeaFloor::wreck(double along, double starboard) const {
    const double north = along - wreckAlong_;
    const double east = starboard - wreckStarboard_;
    const double x = north * wreckCosine_ + east * wreckSine_;
    const double y = east * wreckCosine_ - north * wreckSine_;
    if (!hasWreck_ || std::abs(x) > wreckLength || std::abs(y) > wreckLength) return 0.0;
    // The hull narrows towards bow and stern and is broken open behind the bridge.
    const double waist = std::max(0.0, 1.0 - std::pow(2.0 * x / wreckLength, 4.0));
    const double hull =
        wreckHeight * inside(x, wreckLength / 2.0, 3.0) * inside(y, wreckBeam / 2.0 * waist, 1.5);
    const double bridge = 3.0 * inside(x + 17.0, 4.0, 1.0) * inside(y, 3.5, 1.0);
    const double hold = 3.5 * inside(x - 6.0, 8.0, 2.0) * inside(y, 3.0, 1.0);
    // Dug by the current, deepest along the hull's foot.
    const double distance = std::hypot(x / wreckLength, y / (3.0 * wreckBeam)) * 2.0;
    const double scour = 1.2 * std::exp(-8.0 * (distance - 1.0) * (distance - 1.0));
    return std::max(hull + bridge - hold, hull > 0.0 ? 0.0 : -scour);
}

double SeaFloor::depth(double along, double starboard) const {
    double depth = depth_ + slopeAlong_ * along + slopeStarboard_ * starboard;
    // Crests lie across the line, bent a little, steep on one side.
    const double phase = waveNumber_ * (along + 0.25 * starboard + 12.0 * std::sin(starboard / 55.0));
    depth -= waveHeight_ / 2.0 * std::sin(phase + 0.4 * std::sin(phase));
    for (const Ripple& ripple : ripples_)
        depth += ripple.amplitude *
                 std::sin(ripple.alongNumber * along + ripple.starboardNumber * starboard + ripple.phase);
    return depth - wreck(along, starboard);
}

} // namespace skar::tool
