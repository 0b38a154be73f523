#include "simulate/waves.h"

#include <cmath>
#include <numbers>

namespace skar::tool {

namespace {

using std::numbers::pi;

constexpr double gravity = 9.80665;

// The sea comes from 40 degrees off the bow, so that it rolls and pitches the ship.
const double alongShare = std::cos(40.0 * pi / 180.0);
const double acrossShare = std::sin(40.0 * pi / 180.0);
constexpr double shipLength = 40.0;
constexpr double rollPeriod = 7.0;
constexpr double rollDamping = 0.15;

constexpr std::uint32_t seaPurpose = 1;
constexpr std::uint32_t tidePurpose = 2;

double waveNumber(const Wave& wave) {
    return wave.frequency * wave.frequency / gravity;
}

// A hull averages over waves shorter than itself.
double hullShare(const Wave& wave) {
    const double ratio = waveNumber(wave) * shipLength / (2.0 * pi);
    return 1.0 / (1.0 + ratio * ratio);
}

} // namespace

Dice::Dice(std::uint64_t seed, std::uint32_t purpose) {
    std::seed_seq sequence{static_cast<std::uint32_t>(seed), static_cast<std::uint32_t>(seed >> 32U),
                           purpose};
    engine_.seed(sequence);
}

double Dice::between(double low, double high) {
    return low + (high - low) * (static_cast<double>(engine_() >> 11U) * 0x1p-53);
}

Waves windSea(std::uint64_t seed, double significantHeight, double peakPeriod) {
    constexpr int components = 24;
    constexpr double lowest = 0.55;
    constexpr double highest = 2.6;
    const double peak = 2.0 * pi / peakPeriod;
    const double width = peak * (highest - lowest) / components;
    Dice dice(seed, seaPurpose);
    Waves sea;
    for (int i = 0; i < components; ++i) {
        // Within its band, so that the sum does not repeat.
        const double frequency = peak * lowest + width * (i + dice.between(0.0, 1.0));
        const double ratio = std::pow(peak / frequency, 4.0);
        const double density =
            5.0 / 16.0 * significantHeight * significantHeight * ratio / frequency * std::exp(-1.25 * ratio);
        sea.push_back({std::sqrt(2.0 * density * width), frequency, dice.between(0.0, 2.0 * pi)});
    }
    return sea;
}

Waves heaveOf(const Waves& sea) {
    Waves motion = sea;
    for (Wave& wave : motion)
        wave.amplitude *= hullShare(wave);
    return motion;
}

Waves pitchOf(const Waves& sea) {
    Waves motion = sea;
    for (Wave& wave : motion) {
        wave.amplitude *= hullShare(wave) * waveNumber(wave) * alongShare;
        wave.phase += pi / 2.0;
    }
    return motion;
}

Waves rollOf(const Waves& sea) {
    Waves motion = sea;
    for (Wave& wave : motion) {
        const double ratio = wave.frequency * rollPeriod / (2.0 * pi);
        const double stiff = 1.0 - ratio * ratio;
        const double damped = 2.0 * rollDamping * ratio;
        wave.amplitude *= waveNumber(wave) * acrossShare / std::hypot(stiff, damped);
        wave.phase += pi / 2.0 - std::atan2(damped, stiff);
    }
    return motion;
}

Waves wander(std::uint64_t seed, std::uint32_t purpose, double amplitude, double shortest, double longest) {
    constexpr int components = 8;
    Dice dice(seed, purpose);
    Waves waves;
    for (int i = 0; i < components; ++i) {
        const double period =
            shortest * std::pow(longest / shortest, (i + dice.between(0.0, 1.0)) / components);
        waves.push_back({amplitude * dice.between(0.3, 1.0) / std::sqrt(components / 2.0), 2.0 * pi / period,
                         dice.between(0.0, 2.0 * pi)});
    }
    return waves;
}

Waves astronomicalTide(std::uint64_t seed) {
    struct Constituent {
        double hours;
        double amplitude;
    };
    constexpr Constituent constituents[] = {
        {12.4206012, 0.62}, {12.0, 0.21}, {12.65834751, 0.12}, {23.93447213, 0.08}, {25.81933871, 0.06}};
    Dice dice(seed, tidePurpose);
    Waves tide;
    for (const Constituent& constituent : constituents) {
        tide.push_back(
            {constituent.amplitude, 2.0 * pi / (constituent.hours * 3600.0), dice.between(0.0, 2.0 * pi)});
    }
    return tide;
}

double valueAt(const Waves& waves, double time) {
    double sum = 0.0;
    for (const Wave& wave : waves)
        sum += wave.amplitude * std::cos(wave.frequency * time + wave.phase);
    return sum;
}

Sampler::Sampler(const Waves& waves, double step) : waves_(waves), step_(step) {
    for (const Wave& wave : waves_)
        twiceCosine_.push_back(2.0 * std::cos(wave.frequency * step));
    current_.resize(waves_.size());
    previous_.resize(waves_.size());
}

void Sampler::aim() {
    const double time = static_cast<double>(sample_) * step_;
    for (std::size_t i = 0; i < waves_.size(); ++i) {
        const Wave& wave = waves_[i];
        current_[i] = wave.amplitude * std::cos(wave.frequency * time + wave.phase);
        previous_[i] = wave.amplitude * std::cos(wave.frequency * (time - step_) + wave.phase);
    }
}

double Sampler::next() {
    // The recurrence drifts slowly; a fresh start now and then keeps it exact.
    constexpr std::uint64_t samplesPerAim = 1024;
    if (sample_ % samplesPerAim == 0) aim();
    ++sample_;
    double sum = 0.0;
    for (std::size_t i = 0; i < current_.size(); ++i) {
        const double value = current_[i];
        sum += value;
        current_[i] = twiceCosine_[i] * value - previous_[i];
        previous_[i] = value;
    }
    return sum;
}

} // namespace skar::tool
