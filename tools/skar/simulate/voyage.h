#pragma once

#include "families.h"

#include <cstdint>
#include <memory>

namespace skar::tool {

// What a multibeam echo sounder hears of the sea floor.
struct Swath {
    double pingRate = 2.0; // per second
    std::uint32_t beams = 256;
    double openingAngle = 0.0; // of the whole swath, radians
    double depth = 0.0;        // of the sea floor below the datum at the first position, metres
    double outliers = 0.002;   // share of the beams that are false, and rejected
};

// What a simulated line is made of. Angles are radians, times the store's.
struct Voyage {
    std::uint64_t seed = 1;
    double start = 0.0;
    double duration = 0.0;
    double latitude = 0.0; // of the first position
    double longitude = 0.0;
    double heading = 0.0; // of the first survey line, from north
    double speed = 0.0;
    std::uint32_t lines = 1; // parallel survey lines, joined by half circles
    double spacing = 0.0;    // between survey lines
    double waveHeight = 0.0; // significant
    double wavePeriod = 0.0; // of the peak of the spectrum
    Swath swath;

    double distance() const { return speed * duration; }
    // Of each survey line; not positive when the turns alone are longer than the way sailed.
    double lineLength() const;
};

// One sensor's view of a voyage, at the times start + i / rate in their order.
class Source {
public:
    virtual ~Source() = default;
    virtual void next(double time, Record& record) = 0;
    // An item of the record that next() gave, where the family has items.
    virtual void item(std::size_t /*index*/, Record& /*item*/) {}
};

// Whether there is a source for that family.
bool isSimulated(const Family& family);

enum class Pace { motion, position, ping, slow };

// How often a sensor of that family is sampled.
Pace paceOf(const Family& family);

// Seconds between two samples at the slow pace, that of tides and drafts.
inline constexpr double slowStep = 60.0;

// step: seconds between the samples. The imagery has its own sonar, SideScanSonar.
std::unique_ptr<Source> makeSource(const Family& family, const Voyage& voyage, double step);

} // namespace skar::tool
