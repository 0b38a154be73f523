#pragma once

#include "import/installation.h"
#include "import/kongsbergframes.h"

#include <cstdint>
#include <map>
#include <string>

// The installation parameters of Kongsberg EM raw data: a text of fields, KEY=value, in any order.
namespace skar::import {

struct KongsbergInstallation { // 'I', 'i', 'r'
    std::uint16_t model = 0;
    std::uint16_t serial = 0;
    std::uint16_t secondSerial = 0; // 0 without a second head
    std::map<std::string, std::string> fields;
};

// False when the datagram is too short, or is no text of fields.
bool decode(const KongsbergFrame& frame, KongsbergInstallation& installation);

// What the fields say of the vessel. `beams` are those of the pings of each head, by its serial number; `bad`
// counts fields that are no number, or one beyond reason.
Installation layoutOf(const KongsbergInstallation& installation,
                      const std::map<std::uint32_t, std::uint32_t>& beams, std::uint64_t& bad);

} // namespace skar::import
