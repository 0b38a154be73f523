#pragma once

#include "vessel/legacy/tree.h"

#include <skar/vessel.h>

#include <string_view>

namespace skar::vessel::legacy {

// A text without the blanks, double quotes, tabs and line feeds at its ends; empty for null.
std::string_view cleaned(const char* text) noexcept;
// Whether an entry's class is "Sweep", in any case.
bool isSweep(const DepthEntry& entry);

// Adds the entries of a tree to a vessel, list by list, up to the first code. A class of depth sensor that
// there is not leaves the vessel as it was; any other code leaves what came before it.
long convert(const _vesselConfig& tree, SKARVessel& vessel);

// The outline in the comments at the top of a text; nothing if the first line is not its start.
std::optional<SKARVesselShape> readOutline(std::string_view text);

} // namespace skar::vessel::legacy
