#pragma once

#include "import/rawfile.h"

// eXtended Triton Format: side scan pings, the track and attitude of ship and towfish.
namespace skar::import {

bool looksLikeXtf(Bytes head);
RawData readXtf(ByteSource& source);
bool readXtfImage(ByteSource& source, const PingPlace& place, ImagePing& ping);

} // namespace skar::import
