#pragma once

#include <skar/vessel.h>

#include <memory>

namespace skar::vessel {

// An empty entry of the kind that an element's name stands for, in exactly this case; null for any other
// name.
std::unique_ptr<SKARVesselSensorConfig> vesselEntryFactory(const wchar_t* kind);

} // namespace skar::vessel
