#include "simulate/imagery.h"

#include <algorithm>
#include <cmath>

namespace skar::tool {

namespace {

constexpr double soundSpeed = 1490.0;
constexpr double sampleLength = SideScanSonar::range / SideScanSonar::samplesPerSide;

constexpr std::uint32_t heightPurpose = 17;
constexpr std::uint32_t specklePurpose = 40;

// What a piece of sea floor sends back, made even over the range as a receiver's gain does it, which is set
// for a level floor and leaves some falling off.
double echo(double across, double below, double slope, double height) {
    const double slant = std::hypot(across, below);
    const double facing = (below - across * slope) / (slant * std::sqrt(1.0 + slope * slope));
    if (facing <= 0.0) return 0.0;
    const double mirror = 2.0 * std::exp(-(1.0 - facing) / 0.01);
    const double gain = std::pow(slant / height, 0.8);
    constexpr double fallOff = 90.0;
    return (facing + mirror) * gain * std::exp(-slant / fallOff);
}

} // namespace

Waves towHeightWaves(std::uint64_t seed) {
    return wander(seed, heightPurpose, 1.5, 20.0, 600.0);
}

SideScanSonar::SideScanSonar(const Voyage& voyage)
    : voyage_(voyage), track_(voyage), floor_(voyage.seed, voyage.swath.depth, voyage.lineLength()),
      heights_(towHeightWaves(voyage.seed)), dice_(voyage.seed, specklePurpose) {
    constexpr double nanosecond = 1e-9;
    constexpr std::uint32_t head = 1;
    ping_.status = head;
    ping_.parameter3 = static_cast<std::uint16_t>(soundSpeed * 10.0);
    ping_.sampleInterval =
        static_cast<std::uint32_t>(std::lround(2.0 * sampleLength / soundSpeed / nanosecond));
}

// From below the fish outwards: what lies lower than the line of sight over something nearer is in its
// shadow.
void SideScanSonar::listen(double time, double height, int side, std::vector<std::uint8_t>& samples) {
    const Track::Local fish = track_.localAt(time, towLayback);
    const double sine = std::sin(fish.turned);
    const double cosine = std::cos(fish.turned);
    const auto place = [&](double across) {
        const double y = side * across;
        return std::pair(fish.along - y * sine, fish.starboard + y * cosine);
    };
    // The fish keeps its height above the floor, not above a wreck it passes over.
    const double surface =
        floor_.depth(fish.along, fish.starboard) + floor_.wreck(fish.along, fish.starboard) - height;

    strengths_.assign(samplesPerSide, 0.0);
    hits_.assign(samplesPerSide, 0);
    double steepest = -1.0; // tangent of the angle from below, of all nearer places
    double before = height;
    for (double across = 0.0; across < range; across += sampleLength) {
        const auto [along, starboard] = place(across);
        const double below = std::max(0.1, floor_.depth(along, starboard) - surface);
        const double slope = (below - before) / sampleLength;
        before = below;
        const double tangent = across / below;
        const auto sample = static_cast<std::size_t>(std::hypot(across, below) / sampleLength);
        if (tangent < steepest || sample >= samplesPerSide) continue;
        steepest = tangent;
        constexpr double steel = 2.0;
        const double material = floor_.wreck(along, starboard) > 0.3 ? steel : 1.0;
        strengths_[sample] += material * echo(across, below, slope, height);
        ++hits_[sample];
    }

    samples.resize(samplesPerSide);
    constexpr double noise = 3.0;
    constexpr double floorLevel = 55.0;
    constexpr std::size_t pulse = 4;
    for (std::size_t i = 0; i < samplesPerSide; ++i) {
        // Many scatterers in one sample: their sum is spread as Rayleigh has it.
        const double speckle = std::sqrt(-2.0 * std::log(dice_.between(1e-9, 1.0))) / 1.2533;
        const double mean = hits_[i] != 0 ? strengths_[i] / hits_[i] : 0.0;
        const double level = i < pulse ? 255.0 : (noise + floorLevel * mean) * speckle;
        samples[i] = static_cast<std::uint8_t>(std::lround(std::min(255.0, level)));
    }
}

const SideScanPing& SideScanSonar::ping(double time) {
    const double height = std::max(1.0, towHeight + valueAt(heights_, time - voyage_.start));
    ++ping_.parameter7;
    ping_.time = time;
    ping_.fishHeight = static_cast<std::uint16_t>(std::lround(height * 100.0));
    for (std::size_t side = 0; side < samples_.size(); ++side) {
        listen(time, height, side == 0 ? -1 : 1, samples_[side]);
        ping_.counts[side] = samplesPerSide;
        ping_.samples[side] = samples_[side].data();
    }
    return ping_;
}

} // namespace skar::tool
