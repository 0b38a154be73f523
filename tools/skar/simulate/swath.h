#pragma once

#include "simulate/voyage.h"

#include <memory>

namespace skar::tool {

// The sensors of a swath; all of one voyage tell of the same pings.
std::unique_ptr<Source> observedDepthsOf(const Voyage& voyage);
// The observed depths without the tide, placed on the earth.
std::unique_ptr<Source> processedDepthsOf(const Voyage& voyage);
std::unique_ptr<Source> rangesOf(const Voyage& voyage);
std::unique_ptr<Source> uncertaintyOf(const Voyage& voyage);
// The speed of sound at the sounder's transducer.
std::unique_ptr<Source> soundSpeedOf(const Voyage& voyage);

} // namespace skar::tool
