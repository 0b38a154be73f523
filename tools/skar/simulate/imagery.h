#pragma once

#include "access/imagery.h"
#include "simulate/seafloor.h"
#include "simulate/track.h"
#include "simulate/voyage.h"
#include "simulate/waves.h"

#include <array>
#include <cstdint>
#include <vector>

namespace skar::tool {

// How far behind the ship the towfish is, and how high above the sea floor: 12 m and what waves() adds.
inline constexpr double towLayback = 120.0;
inline constexpr double towHeight = 12.0;
Waves towHeightWaves(std::uint64_t seed);

// A towed side scan sonar over the simulated sea floor. Its numbered parameters are those of imported
// imagery.
class SideScanSonar {
public:
    explicit SideScanSonar(const Voyage& voyage);
    // The next ping. Its samples are the sonar's until the one after it.
    const SideScanPing& ping(double time);

    static constexpr std::uint32_t samplesPerSide = 1024;
    static constexpr double range = 75.0; // slant, metres

private:
    void listen(double time, double height, int side, std::vector<std::uint8_t>& samples);

    Voyage voyage_;
    Track track_;
    SeaFloor floor_;
    Waves heights_;
    Dice dice_;
    std::array<std::vector<std::uint8_t>, 2> samples_;
    std::vector<double> strengths_; // of a side by range, summed
    std::vector<unsigned> hits_;
    SideScanPing ping_;
};

} // namespace skar::tool
