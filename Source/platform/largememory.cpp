#include "platform/largememory.h"

#include <cstdlib>
#include <sys/mman.h>

namespace skar::platform {

void* allocateLarge(std::size_t size) noexcept {
    constexpr std::size_t largePage = std::size_t{2} << 20;
    if (size < 2 * largePage) return std::malloc(size == 0 ? 1 : size);
    const std::size_t rounded = (size + largePage - 1) / largePage * largePage;
    void* memory = std::aligned_alloc(largePage, rounded);
    if (memory) madvise(memory, rounded, MADV_HUGEPAGE);
    return memory;
}

} // namespace skar::platform
