#pragma once

#include "support/temporary_directory.h"

#include <skar/time.h>
#include <skar/vesselimport.h>
#include <skar/vesselsensors.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace skar::tests {

struct LegacyKind {
    const char* keyword;
    const wchar_t* element;
};
// In the order of conversion.
constexpr LegacyKind legacyKinds[] = {
    {"DEPTH", L"DepthSensor"},    {"TOWED", L"TowedSensor"},         {"DRAFT", L"DraftSensor"},
    {"NAVIGATION", L"NavSensor"}, {"WATERLINE", L"WaterlineHeight"}, {"SOUNDVELOCITY", L"SVPSensor"},
    {"GYRO", L"GyroSensor"},      {"HEAVE", L"HeaveSensor"},         {"PITCH", L"PitchSensor"},
    {"ROLL", L"RollSensor"},
};

// A statement with nothing in it that need not be.
inline std::string statement(const std::string& keyword, const std::string& time = "2001-002-03:04",
                             const std::string& fields = {}) {
    return keyword + " " + time + (keyword == "DEPTH" ? " CLASS \"Swath\" " : " ") + fields + " ;\n";
}

inline const std::string someNavigation = "NAVIGATION 2001-002-03:04 ;\n";

// 2001, day 2, 03:04.
inline double someTime() {
    return TmYDStoUTCs80(2001, 2, 3 * 3600 + 4 * 60);
}

// Imports texts into a vessel, without a place for trace files.
class LegacyTest : public testing::Test {
protected:
    LegacyTest() { leaveTrace(); }
    // What a test sets is not for the directory of the next.
    ~LegacyTest() override { leaveTrace(); }
    static void leaveTrace() {
        ::unsetenv("TMP");
        ::unsetenv("TEMP");
    }
    long import(const std::string& text) {
        directory.write("boat", text);
        testing::internal::CaptureStderr();
        const long result = SKARVesselImport(directory.wide("boat").c_str(), &vessel);
        messages = testing::internal::GetCapturedStderr();
        return result;
    }
    // The first entry of a kind.
    template <class Config>
    const Config& first() const {
        long status = -1;
        const auto* found = dynamic_cast<const Config*>(vessel.getFirstSensor(typeid(Config), status));
        if (found == nullptr) throw std::runtime_error("no entry of the kind");
        return *found;
    }
    std::size_t count(const wchar_t* element) const {
        std::size_t found = 0;
        for (const auto& list : vessel.getSensors()) {
            if (std::wstring(list->getFirstConfig()->getName()) == element) found += list->getCount();
        }
        return found;
    }

    TemporaryDirectory directory;
    SKARVessel vessel;
    std::string messages;
};

} // namespace skar::tests
