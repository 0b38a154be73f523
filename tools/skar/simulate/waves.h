#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace skar::tool {

// A sum of cosines.
struct Wave {
    double amplitude = 0.0;
    double frequency = 0.0; // radians per second
    double phase = 0.0;
};
using Waves = std::vector<Wave>;

// Random numbers that are the same on every machine: each purpose has a sequence of its own.
class Dice {
public:
    Dice(std::uint64_t seed, std::uint32_t purpose);
    double between(double low, double high);

private:
    std::mt19937_64 engine_;
};

// The surface at a place in a wind sea, by Bretschneider's spectrum.
Waves windSea(std::uint64_t seed, double significantHeight, double peakPeriod);

// What a ship makes of the surface.
Waves heaveOf(const Waves& sea);
Waves pitchOf(const Waves& sea);
Waves rollOf(const Waves& sea);

// Slow wandering, as of a helm, a towed body or a satellite fix: periods in seconds.
Waves wander(std::uint64_t seed, std::uint32_t purpose, double amplitude, double shortest, double longest);

// Lunar and solar tides of half a day and a day.
Waves astronomicalTide(std::uint64_t seed);

double valueAt(const Waves& waves, double time);

// The sum at equal steps from time 0 on, by turning each component's pointer a step further.
class Sampler {
public:
    Sampler(const Waves& waves, double step);
    double next();

private:
    void aim();

    Waves waves_;
    double step_;
    std::uint64_t sample_ = 0;
    std::vector<double> current_;
    std::vector<double> previous_;
    std::vector<double> twiceCosine_;
};

} // namespace skar::tool
