#pragma once

#include "import/kongsbergframes.h"

#include <cstdint>
#include <vector>

// Kongsberg EM raw data, .all and .wcd: the datagrams' contents. Units and signs are the file's own here.
namespace skar::import {

// The beginning of every datagram.
struct KongsbergHeader {
    std::uint8_t type = 0;
    std::uint16_t model = 0;
    std::uint32_t date = 0;         // year * 10000 + month * 100 + day
    std::uint32_t milliseconds = 0; // since midnight
    std::uint16_t counter = 0;
    std::uint16_t serial = 0;

    // Nothing when the date or the time of day is none.
    std::optional<Micros> time() const;
};

struct KongsbergAttitude { // 'A'
    struct Entry {
        std::uint16_t offset = 0; // ms after the datagram's time
        std::uint16_t status = 0;
        std::int16_t roll = 0;     // 0.01 degree, positive port side up
        std::int16_t pitch = 0;    // 0.01 degree, positive bow up
        std::int16_t heave = 0;    // cm, positive downwards
        std::uint16_t heading = 0; // 0.01 degree
        // The sensor's own judgement; the low byte ranks from 90h good to 99h reduced.
        bool valid() const { return (status & 0xFFU) < 0x9AU; }
    };
    std::vector<Entry> entries;
    std::uint8_t descriptor = 0;

    int sensor() const { return (descriptor >> 4U & 3U) + 1; }
    bool headingInUse() const { return (descriptor & 1U) != 0; }
    bool rollInUse() const { return (descriptor & 2U) == 0; }
    bool pitchInUse() const { return (descriptor & 4U) == 0; }
    bool heaveInUse() const { return (descriptor & 8U) == 0; }
};

struct KongsbergHeading { // 'H'
    struct Entry {
        std::uint16_t offset = 0;  // ms after the datagram's time
        std::uint16_t heading = 0; // 0.01 degree
    };
    std::vector<Entry> entries;
    std::uint8_t indicator = 0;

    bool active() const { return indicator != 0; }
};

struct KongsbergPosition {      // 'P'
    std::int32_t latitude = 0;  // degrees * 20 000 000
    std::int32_t longitude = 0; // degrees * 10 000 000
    std::uint16_t quality = 0;  // cm
    std::uint8_t descriptor = 0;

    int system() const { return descriptor & 3U; }
    bool active() const { return (descriptor & 0x80U) != 0; }
    bool sentenceTime() const { return (descriptor & 0x40U) != 0; }
};

struct KongsbergClock { // 'C'
    std::uint32_t date = 0;
    std::uint32_t milliseconds = 0;
    std::uint8_t pulsePerSecond = 0;
};

struct KongsbergSoundProfile { // 'U'
    struct Entry {
        std::uint32_t depth = 0; // in steps of the resolution
        std::uint32_t speed = 0; // dm/s
    };
    std::uint32_t castDate = 0;    // year, month and day as in the header
    std::uint32_t castSeconds = 0; // since midnight
    std::uint16_t resolution = 0;  // cm
    std::vector<Entry> entries;
};

struct KongsbergSurfaceSpeed { // 'G'
    struct Entry {
        std::uint16_t offset = 0; // seconds after the datagram's time
        std::uint16_t speed = 0;  // dm/s
    };
    std::vector<Entry> entries;
};

// Each gives false when the datagram is too short for what it claims to hold.
bool decode(const KongsbergFrame& frame, KongsbergHeader& header);
bool decode(const KongsbergFrame& frame, KongsbergAttitude& attitude);
bool decode(const KongsbergFrame& frame, KongsbergHeading& heading);
bool decode(const KongsbergFrame& frame, KongsbergPosition& position);
bool decode(const KongsbergFrame& frame, KongsbergClock& clock);
bool decode(const KongsbergFrame& frame, KongsbergSoundProfile& profile);
bool decode(const KongsbergFrame& frame, KongsbergSurfaceSpeed& surface);

bool looksLikeKongsbergAll(Bytes head);
RawData readKongsbergAll(ByteSource& source);

} // namespace skar::import
