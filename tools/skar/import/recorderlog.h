#pragma once

#include "import/rawfile.h"

// The semicolon text logs of a small recorder: a heading line names the columns, the first is the time stamp.
namespace skar::import {

// "yyyy-mm-dd hh:mm:ss.ffffff"
std::optional<Micros> recorderTime(std::string_view text);

bool looksLikeRecorderLog(Bytes head);
RawData readRecorderLog(ByteSource& source);

} // namespace skar::import
