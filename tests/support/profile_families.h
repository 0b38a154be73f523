#pragma once

#include "support/store.h"

#include <skar/sensor.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

// Every family whose data file is a run of profiles with beams, behind one interface: a test written over
// profileFamilies() runs for each, and a further family gets all of them by its row.
namespace skar::tests {

struct ProfileFamily {
    const char* name; // of the data file
    int base;         // of its codes

    _TELD_Sensor* (*open)(const wchar_t*, const wchar_t*, std::uint32_t*);
    int (*close)(_TELD_Sensor*);
    // The small line, up to and without the close: three profiles of 3, 3 and 1 beams in two segments. The
    // first code that is not 0.
    int (*write)(_TELD_Sensor*) = nullptr;
    // The status of a beam by number.
    int (*read)(_TELD_Sensor*, std::uint32_t profile, std::uint32_t beam, std::uint32_t& status) = nullptr;
    // Everything by number, whole and in order through both interfaces, a bounded number of profiles. How
    // many reads succeeded.
    std::size_t (*readAll)(_TELD_Sensor*) = nullptr;
    // Gives the beam that status in its place.
    int (*update)(_TELD_Sensor*, std::uint32_t profile, std::uint32_t beam,
                  std::uint32_t status) = nullptr; // null where there is none
    // Every other change there is of a beam. The worst code does not matter.
    void (*updateAll)(_TELD_Sensor*, std::uint32_t profile, std::uint32_t beam) = nullptr;
    int (*save)(_TELD_Sensor*) = nullptr; // null where there is none

    std::vector<std::string> files() const {
        return {name, std::string(name) + "LineSegments", std::string(name) + "TmIdx"};
    }
    int code(int offset) const { return base + offset; }
    static std::uint32_t status(std::uint32_t profile, std::uint32_t beam) {
        return (profile << 4 | beam) << 16;
    }
};
inline std::ostream& operator<<(std::ostream& out, const ProfileFamily& family) {
    return out << family.name;
}
inline std::string profileFamilyName(const testing::TestParamInfo<ProfileFamily>& info) {
    return info.param.name;
}

const std::vector<ProfileFamily>& profileFamilies();

// The three files of the small line, as the family writes them.
std::vector<std::string> smallLine(const ProfileFamily& family);

} // namespace skar::tests
