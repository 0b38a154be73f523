#include "platform/file.h"

#include <skar/platform.h>

std::uint32_t SKARGetLastError(void) {
    return skar::platform::lastError();
}

void SKARSetLastError(std::uint32_t code) {
    skar::platform::setLastError(code);
}
