#include "support/largestblock.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace skar::tests {
std::atomic<std::size_t> largestBlock{0};
}

namespace {

using skar::tests::largestBlock;

std::atomic<std::size_t> refusedFrom{std::numeric_limits<std::size_t>::max()};

// False for a request that is refused.
bool noteBlock(std::size_t size) {
    std::size_t seen = largestBlock.load(std::memory_order_relaxed);
    while (size > seen && !largestBlock.compare_exchange_weak(seen, size, std::memory_order_relaxed)) {
    }
    return size < refusedFrom.load(std::memory_order_relaxed);
}

} // namespace

namespace skar::tests {
RefusedMemory::RefusedMemory(std::size_t from) {
    refusedFrom = from;
}
RefusedMemory::~RefusedMemory() {
    refusedFrom = std::numeric_limits<std::size_t>::max();
}
} // namespace skar::tests

// Every request for memory that this program's objects make goes through one of these, by the linker's
// --wrap; only its size counts.
#define SKAR_TESTS_WRAP(symbol, ...)                                                                         \
    void* __real_##symbol(__VA_ARGS__);                                                                      \
    void* __wrap_##symbol(__VA_ARGS__);
extern "C" {
SKAR_TESTS_WRAP(malloc, std::size_t)
SKAR_TESTS_WRAP(calloc, std::size_t, std::size_t)
SKAR_TESTS_WRAP(realloc, void*, std::size_t)
SKAR_TESTS_WRAP(_Znwm, std::size_t)
SKAR_TESTS_WRAP(_Znam, std::size_t)
SKAR_TESTS_WRAP(_ZnwmRKSt9nothrow_t, std::size_t, const std::nothrow_t&)
SKAR_TESTS_WRAP(_ZnamRKSt9nothrow_t, std::size_t, const std::nothrow_t&)

void* __wrap_malloc(std::size_t size) {
    return noteBlock(size) ? __real_malloc(size) : nullptr;
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return noteBlock(count * size) ? __real_calloc(count, size) : nullptr;
}
void* __wrap_realloc(void* block, std::size_t size) {
    return noteBlock(size) ? __real_realloc(block, size) : nullptr;
}
void* __wrap__Znwm(std::size_t size) {
    if (!noteBlock(size)) throw std::bad_alloc();
    return __real__Znwm(size);
}
void* __wrap__Znam(std::size_t size) {
    if (!noteBlock(size)) throw std::bad_alloc();
    return __real__Znam(size);
}
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
    return noteBlock(size) ? __real__ZnwmRKSt9nothrow_t(size, tag) : nullptr;
}
void* __wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
    return noteBlock(size) ? __real__ZnamRKSt9nothrow_t(size, tag) : nullptr;
}
}
