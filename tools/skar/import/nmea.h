#pragma once

#include "import/rawfile.h"

#include <optional>
#include <string_view>
#include <vector>

// NMEA 0183 logs: a sentence a line, anything else between them.
namespace skar::import {

struct NmeaSentence {
    std::string_view talker;                  // "GP"; empty for a maker's own sentence
    std::string_view type;                    // "GGA", "PASHR"
    std::vector<std::string_view> parameters; // [0] is the first field behind the type
    bool encapsulated = false;                // began with "!"

    std::string_view parameter(std::size_t index) const {
        return index < parameters.size() ? parameters[index] : std::string_view();
    }
};

enum class NmeaVerdict { sound, checksum, unparsable };
// Takes a sentence apart that begins with "$" or "!". A sentence without a checksum is sound.
NmeaVerdict parseNmea(std::string_view text, NmeaSentence& sentence, bool& hasChecksum);

// "hhmmss.sss" as microseconds of the day; second 60 is a leap second.
std::optional<Micros> nmeaTimeOfDay(std::string_view text);
// The type of a sentence as a number: up to four letters behind the talker or the maker's P, the last one
// lowest.
std::uint32_t nmeaTypeNumber(const NmeaSentence& sentence);

// "ddmm.mmm" with N, S, E or W as radians, within the limit in degrees.
std::optional<double> nmeaAngle(std::string_view text, std::string_view hemisphere, int limit);

bool looksLikeNmea(Bytes head);
RawData readNmea(ByteSource& source);

} // namespace skar::import
