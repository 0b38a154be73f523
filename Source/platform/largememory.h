#pragma once

#include <cstddef>

// Memory for arrays of many megabytes that are filled at once: asked for in large pages, where the system has them, so
// that filling it does not cost a page fault every 4 KiB.
namespace skar::platform {

// To be freed with std::free. Null when memory is short.
void* allocateLarge(std::size_t size) noexcept;

} // namespace skar::platform
