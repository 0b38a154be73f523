#pragma once

#include "fileio/family.h"

// The LineSegments file of a set.
namespace skar::fileio {

// 0 or the family's code. What was read before a failure stays in the handle.
int readSegments(_TELD_Sensor& sensor, const Family& family);
// Replaces the file; the one before stays until the new one is whole.
int writeSegments(_TELD_Sensor& sensor, const Family& family);

} // namespace skar::fileio
