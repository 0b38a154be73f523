#pragma once

#include "openset.h"

// The groups of families with functions of one form.
namespace skar::tool {

extern const Access seriesAccess;
extern const Access shipTrackAccess;
extern const Access reprocessedTrackAccess;
extern const Access towfishTrackAccess;

extern const Access observedDepthsAccess;
extern const Access newObservedDepthsAccess;
extern const Access processedDepthsAccess;
extern const Access slantRangeAccess;
extern const Access uncertaintyAccess;

extern const Access soundSpeedAccess;
extern const Access sonarSettingsAccess;
extern const Access eventMarkAccess;

// Takes over a name that the library made.
void takeName(wchar_t* name, std::string& text);

} // namespace skar::tool
