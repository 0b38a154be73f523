#pragma once

#include "support/store.h"

#include <skar/sensor.h>

#include <cstdint>
#include <string>

namespace skar::tests {

// A handle of the frame, without a family, ended with the object.
struct Handle {
    Handle(const std::wstring& linePath, std::uint32_t sensorId, const wchar_t* token) {
        SKARIO_Init(0);
        sensor = SensorOpenDir(linePath.c_str(), sensorId, token, &code);
    }
    ~Handle() { SensorFree(sensor); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    operator _TELD_Sensor*() const { return sensor; } // NOLINT: meant to stand for it
    _TELD_Sensor* operator->() const { return sensor; }

    _TELD_Sensor* sensor = nullptr;
    std::uint32_t code = 0xEEEEEEEE;
};

} // namespace skar::tests
