#pragma once

#include <skar/log.h>

#include <ctime>
#include <string>

namespace skar::platform {

// "2024-Mar-01 12:34:56" in local time. Throws std::runtime_error for a time that has no local form.
std::string localTimeText(std::time_t time);

} // namespace skar::platform
