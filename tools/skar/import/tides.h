#pragma once

#include "import/rawfile.h"

// Series of water levels.
namespace skar::import {

// Quoted, comma-separated values under a heading line that names the unit: "Date","Time (GMT)","Predicted
// (ft)", "Preliminary (ft)","Verified (ft)". The verified level is taken, the preliminary one where there is
// none.
bool looksLikeTideTable(Bytes head);
RawData readTideTable(ByteSource& source);

// Lines of a day number, counted from the start of 1700, and a level in millimetres.
bool looksLikeTideDays(Bytes head);
RawData readTideDays(ByteSource& source);

} // namespace skar::import
