#pragma once

#include "vessel/legacy/tree.h"

#include <skar/vessel.h>

#include <string_view>

namespace skar::vessel::legacy {

// A text without the blanks, double quotes, tabs and line feeds at its ends; empty for null.
std::string_view cleaned(const char* text) noexcept;
// Whether an entry's class is "Sweep", in any case.
bool isSweep(const DepthEntry& entry) noexcept;

// Adds the entries of a tree to a vessel, list by list, up to the first code, and with them the outline of
// the text that the tree was parsed from. A class of depth sensor that there is not leaves the vessel as it
// was; any other code leaves what came before it. 5000401 for no tree, 5000402 for one without a navigation
// list.
long convert(const Tree& tree, std::string_view text, SKARVessel& vessel);

// The outline in the comments at the top of a text; nothing if the first line is not its start.
std::optional<SKARVesselShape> readOutline(std::string_view text);

} // namespace skar::vessel::legacy
