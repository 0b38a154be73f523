#pragma once

#include "import/kongsbergframes.h"
#include "import/rawfile.h"

#include <cstdint>
#include <vector>

// The swath datagrams of Kongsberg EM raw data. Units and signs are the file's own here.
namespace skar::import {

struct KongsbergDepths { // 'X', XYZ 88
    struct Beam {
        float z = 0.0F; // below the transmit transducer, metres
        float y = 0.0F; // metres, positive to starboard
        float x = 0.0F; // metres, positive forward
        std::uint8_t detection = 0;
        std::int8_t cleaning = 0;

        bool valid() const { return (detection & 0x80U) == 0; }
        bool cleanedOut() const { return cleaning < 0; }
    };
    std::uint16_t heading = 0; // 0.01 degree
    bool headingStated() const { return heading < 36'000; }
    std::uint16_t soundSpeed = 0; // dm/s
    float transducerDepth = 0.0F; // below the water line, heave included, metres
    std::vector<Beam> beams;      // from port to starboard
};

struct KongsbergRanges { // 'N', raw range and angle 78
    struct Sector {
        std::int16_t tilt = 0; // 0.01 degree
        float delay = 0.0F;    // seconds after the first sector
    };
    struct Beam {
        std::int16_t angle = 0; // 0.01 degree; the sign depends on the mounting
        std::uint8_t sector = 0;
        std::uint8_t detection = 0;
        float travelTime = 0.0F; // two ways, seconds
        std::int8_t cleaning = 0;

        bool valid() const { return (detection & 0x80U) == 0; }
        bool cleanedOut() const { return cleaning < 0; }
    };
    std::uint16_t soundSpeed = 0; // dm/s
    std::vector<Sector> sectors;
    std::vector<Beam> beams;
};

struct KongsbergSeabedImage { // 'Y', seabed image 89
    static constexpr std::int16_t noValue = -32767;
    struct Beam {
        std::int8_t direction = 0; // 1: the nearest sample first, -1: the farthest first
        std::uint16_t samples = 0;
    };
    std::uint16_t counter = 0;         // of the ping
    float samplingRate = 0.0F;         // Hz
    std::uint16_t normalIncidence = 0; // range to it, samples
    std::vector<Beam> beams;           // from port to starboard
    std::vector<std::int16_t> samples; // of all beams in turn, 0.1 dB

    // Samples that lie to port: those of the beams up to where the ranges stop falling and begin to rise.
    std::size_t samplesToPort() const;
};

// Each gives false when the datagram is too short for what it claims to hold.
bool decode(const KongsbergFrame& frame, KongsbergDepths& depths);
bool decode(const KongsbergFrame& frame, KongsbergRanges& ranges);
bool decode(const KongsbergFrame& frame, KongsbergSeabedImage& image);

// Where the datagram stands, for a second look at it.
PingPlace placeOf(const KongsbergFrame& frame, Micros time);
bool readKongsbergDepths(ByteSource& source, const PingPlace& place, DepthPing& ping);
bool readKongsbergRanges(ByteSource& source, const PingPlace& place, RangePing& ping);
bool readKongsbergImage(ByteSource& source, const PingPlace& place, ImagePing& ping);

} // namespace skar::import
